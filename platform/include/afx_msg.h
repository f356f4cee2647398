// afx_msg.h - message maps: which member function handles which message.
//
//     class CMyDialog : public CDialog { ... DECLARE_MESSAGE_MAP() };
//     BEGIN_MESSAGE_MAP(CMyDialog, CDialog)
//         ON_WM_PAINT()
//         ON_BN_CLICKED(IDC_START, OnStart)
//     END_MESSAGE_MAP()
//
// Threads    maps are constants: any thread.
// Errors     a handler of another signature than its macro's does not compile.
//
// The class's map is searched first, then its base's; the first entry that fits counts. A handler is named with or
// without "&CMyDialog::". Handles arrive as objects, which may be temporary.
#ifndef AFX_MSG_H
#define AFX_MSG_H

#include "afx_controls.h"
#include "afx_dc.h"
#include "afx_menu.h"
#include "afx_wnd.h"

#define BEGIN_MESSAGE_MAP(theClass, baseClass)                                                                         \
    const AFX_MSGMAP* theClass::GetMessageMap() const                                                                  \
    {                                                                                                                  \
        return GetThisMessageMap();                                                                                    \
    }                                                                                                                  \
    const AFX_MSGMAP* PASCAL theClass::GetThisMessageMap()                                                             \
    {                                                                                                                  \
        typedef theClass ThisClass;                                                                                    \
        typedef baseClass TheBaseClass;                                                                                \
        static const AFX_MSGMAP_ENTRY entries[] = {

// The lambda is there so that a map of no entries uses ThisClass too.
#define END_MESSAGE_MAP()                                                                                              \
    {                                                                                                                  \
        0, 0, 0, 0, [](CCmdTarget* pTarget, AFX_MSGCALL&) -> BOOL { return !static_cast<ThisClass*>(pTarget); }, NULL  \
    }                                                                                                                  \
    }                                                                                                                  \
    ;                                                                                                                  \
    static const AFX_MSGMAP map = {&TheBaseClass::GetThisMessageMap, entries};                                         \
    return &map;                                                                                                       \
    }

// How a message's parameters become a handler's arguments, and its result the message's.
struct AfxUnpack
{
#define AFX_UNPACK(name, ...)                                                                                          \
    template <class Class, class Handler>                                                                              \
    static BOOL name(Class& target, Handler pfn, [[maybe_unused]] AFX_MSGCALL& call)                                   \
    {                                                                                                                  \
        __VA_ARGS__;                                                                                                   \
        return TRUE;                                                                                                   \
    }
    static CWnd* Window(WPARAM wParam)
    {
        return CWnd::FromHandle(reinterpret_cast<HWND>(wParam));
    }
    static CWnd* Window(LPARAM lParam)
    {
        return CWnd::FromHandle(reinterpret_cast<HWND>(lParam));
    }
    template <class Parameter> static CMenu* Menu(Parameter handle)
    {
        return CMenu::FromHandle(reinterpret_cast<HMENU>(handle));
    }
    static CPoint Point(LPARAM lParam)
    {
        return CPoint(static_cast<DWORD>(lParam));
    }
    static int Low(LPARAM lParam)
    {
        return static_cast<short>(LOWORD(lParam));
    }
    static int High(LPARAM lParam)
    {
        return static_cast<short>(HIWORD(lParam));
    }
    // A control's object is taken for one of its kind even if it is a plain window's: it has no members of its own.
    template <class Kind> static Kind* Control(LPARAM lParam)
    {
        return static_cast<Kind*>(Window(lParam));
    }
    template <class Record> static Record* At(LPARAM lParam)
    {
        return reinterpret_cast<Record*>(lParam);
    }

    // Messages.
    AFX_UNPACK(Nothing, (target.*pfn)(); call.lResult = 0)
    AFX_UNPACK(Message, call.lResult = (target.*pfn)(call.wParam, call.lParam))
    AFX_UNPACK(Activate, (target.*pfn)(LOWORD(call.wParam), Window(call.lParam), HIWORD(call.wParam)); call.lResult = 0)
    AFX_UNPACK(OtherWindow, (target.*pfn)(Window(call.wParam)); call.lResult = 0)
    AFX_UNPACK(LastWindow, (target.*pfn)(Window(call.lParam)); call.lResult = 0)
    AFX_UNPACK(Flag, (target.*pfn)(static_cast<BOOL>(call.wParam)); call.lResult = 0)
    AFX_UNPACK(Number, (target.*pfn)(static_cast<UINT>(call.wParam)); call.lResult = 0)
    AFX_UNPACK(ShowWindow, (target.*pfn)(static_cast<BOOL>(call.wParam), static_cast<UINT>(call.lParam));
               call.lResult = 0)
    AFX_UNPACK(EnterIdle, (target.*pfn)(static_cast<UINT>(call.wParam), Window(call.lParam)); call.lResult = 0)
    AFX_UNPACK(EraseBkgnd, call.lResult = (target.*pfn)(CDC::FromHandle(reinterpret_cast<HDC>(call.wParam))))
    AFX_UNPACK(Result, call.lResult = (target.*pfn)())
    AFX_UNPACK(Position, (target.*pfn)(At<WINDOWPOS>(call.lParam)); call.lResult = 0)
    AFX_UNPACK(MinMaxInfo, (target.*pfn)(At<MINMAXINFO>(call.lParam)); call.lResult = 0)
    AFX_UNPACK(DrawItem, (target.*pfn)(static_cast<int>(call.wParam), At<DRAWITEMSTRUCT>(call.lParam));
               call.lResult = TRUE)
    AFX_UNPACK(MeasureItem, (target.*pfn)(static_cast<int>(call.wParam), At<MEASUREITEMSTRUCT>(call.lParam));
               call.lResult = TRUE)
    AFX_UNPACK(DeleteItem, (target.*pfn)(static_cast<int>(call.wParam), At<DELETEITEMSTRUCT>(call.lParam));
               call.lResult = TRUE)
    AFX_UNPACK(CompareItem,
               call.lResult = (target.*pfn)(static_cast<int>(call.wParam), At<COMPAREITEMSTRUCT>(call.lParam)))
    AFX_UNPACK(Create, call.lResult = (target.*pfn)(At<CREATESTRUCT>(call.lParam)))
    AFX_UNPACK(MenuPopup, (target.*pfn)(Menu(call.wParam), LOWORD(call.lParam), HIWORD(call.lParam)); call.lResult = 0)
    AFX_UNPACK(MenuChar, call.lResult = (target.*pfn)(LOWORD(call.wParam), HIWORD(call.wParam), Menu(call.lParam)))
    AFX_UNPACK(MenuSelect,
               (target.*pfn)(LOWORD(call.wParam), HIWORD(call.wParam), reinterpret_cast<HMENU>(call.lParam));
               call.lResult = 0)
    AFX_UNPACK(Size, (target.*pfn)(static_cast<UINT>(call.wParam), Low(call.lParam), High(call.lParam));
               call.lResult = 0)
    AFX_UNPACK(Move, (target.*pfn)(Low(call.lParam), High(call.lParam)); call.lResult = 0)
    AFX_UNPACK(Key, (target.*pfn)(static_cast<UINT>(call.wParam), LOWORD(call.lParam), HIWORD(call.lParam));
               call.lResult = 0)
    AFX_UNPACK(Mouse, (target.*pfn)(static_cast<UINT>(call.wParam), Point(call.lParam)); call.lResult = 0)
    AFX_UNPACK(Wheel, call.lResult = (target.*pfn)(LOWORD(call.wParam), static_cast<short>(HIWORD(call.wParam)),
                                                   Point(call.lParam)))
    AFX_UNPACK(ContextMenu, (target.*pfn)(Window(call.wParam), Point(call.lParam)); call.lResult = 0)
    AFX_UNPACK(SetCursor, call.lResult = (target.*pfn)(Window(call.wParam), LOWORD(call.lParam), HIWORD(call.lParam)))
    AFX_UNPACK(SysCommand, (target.*pfn)(static_cast<UINT>(call.wParam), call.lParam); call.lResult = 0)
    AFX_UNPACK(Scroll, (target.*pfn)(LOWORD(call.wParam), HIWORD(call.wParam), Control<CScrollBar>(call.lParam));
               call.lResult = 0)
    AFX_UNPACK(Section, (target.*pfn)(At<const TCHAR>(call.lParam)); call.lResult = 0)
    AFX_UNPACK(CtlColor, const AFX_CTLCOLOR& ctl = *At<AFX_CTLCOLOR>(call.lParam);
               call.lResult = reinterpret_cast<LRESULT>((target.*pfn)(CDC::FromHandle(ctl.hDC),
                                                                      CWnd::FromHandle(ctl.hWnd), ctl.nCtlType)))
    AFX_UNPACK(ItemKey,
               call.lResult = (target.*pfn)(LOWORD(call.wParam), Control<CListBox>(call.lParam), HIWORD(call.wParam)))
    // Reflected messages.
    AFX_UNPACK(ReflectedColor, const AFX_CTLCOLOR& ctl = *At<AFX_CTLCOLOR>(call.lParam);
               call.lResult = reinterpret_cast<LRESULT>((target.*pfn)(CDC::FromHandle(ctl.hDC), ctl.nCtlType)))
    AFX_UNPACK(ReflectedScroll, (target.*pfn)(LOWORD(call.wParam), HIWORD(call.wParam)); call.lResult = 0)
    AFX_UNPACK(ReflectedKey, call.lResult = (target.*pfn)(LOWORD(call.wParam), HIWORD(call.wParam)))
    AFX_UNPACK(ReflectedDraw, (target.*pfn)(At<DRAWITEMSTRUCT>(call.lParam)); call.lResult = TRUE)
    AFX_UNPACK(ReflectedMeasure, (target.*pfn)(At<MEASUREITEMSTRUCT>(call.lParam)); call.lResult = TRUE)
    AFX_UNPACK(ReflectedDelete, (target.*pfn)(At<DELETEITEMSTRUCT>(call.lParam)); call.lResult = TRUE)
    AFX_UNPACK(ReflectedCompare, call.lResult = (target.*pfn)(At<COMPAREITEMSTRUCT>(call.lParam)))
    AFX_UNPACK(ReflectedParent, (target.*pfn)(LOWORD(call.wParam), static_cast<LPARAM>(call.lParam)); call.lResult = 0)
    AFX_UNPACK(ThreadMessage, (target.*pfn)(call.wParam, call.lParam))
    // Commands.
    AFX_UNPACK(Command, (target.*pfn)())
    AFX_UNPACK(CommandRange, (target.*pfn)(call.nID))
    AFX_UNPACK(CommandEx, return (target.*pfn)(call.nID))
    AFX_UNPACK(Reflected, return (target.*pfn)())
    AFX_UNPACK(Update, CCmdUI& ui = *static_cast<CCmdUI*>(call.pExtra); ui.m_bContinueRouting = FALSE;
               (target.*pfn)(&ui); return !ui.m_bContinueRouting)
    AFX_UNPACK(Notify, const AFX_NOTIFY& n = *static_cast<AFX_NOTIFY*>(call.pExtra); (target.*pfn)(n.pNMHDR, n.pResult))
    AFX_UNPACK(NotifyEx, const AFX_NOTIFY& n = *static_cast<AFX_NOTIFY*>(call.pExtra);
               return (target.*pfn)(call.nID, n.pNMHDR, n.pResult))
    AFX_UNPACK(NotifyRange, const AFX_NOTIFY& n = *static_cast<AFX_NOTIFY*>(call.pExtra);
               (target.*pfn)(call.nID, n.pNMHDR, n.pResult))
    AFX_UNPACK(NotifyReflectEx, const AFX_NOTIFY& n = *static_cast<AFX_NOTIFY*>(call.pExtra);
               return (target.*pfn)(n.pNMHDR, n.pResult))
#undef AFX_UNPACK
};

#define AFX_ENTRY(nMessage, nCode, nID, nLastID, pRegistered, memberFxn, unpack, result, ...)                          \
    {static_cast<UINT>(nMessage),                                                                                      \
     static_cast<UINT>(nCode),                                                                                         \
     static_cast<UINT>(nID),                                                                                           \
     static_cast<UINT>(nLastID),                                                                                       \
     [](CCmdTarget* pTarget, AFX_MSGCALL& call) -> BOOL {                                                              \
         return AfxUnpack::unpack(*static_cast<ThisClass*>(pTarget),                                                   \
                                  static_cast<result (ThisClass::*)(__VA_ARGS__)>(memberFxn), call);                   \
     },                                                                                                                \
     pRegistered},
#define AFX_ON_WM(nMessage, name, unpack, result, ...)                                                                 \
    AFX_ENTRY(nMessage, 0, 0, 0, NULL, &ThisClass::name, unpack, result, __VA_ARGS__)
#define AFX_CODE(code) static_cast<WORD>(static_cast<int>(code))

// LRESULT f(WPARAM, LPARAM). The variable of a registered message is read when a message arrives.
#define ON_MESSAGE(message, f) AFX_ENTRY(message, 0, 0, 0, NULL, f, Message, LRESULT, WPARAM, LPARAM)
#define ON_REGISTERED_MESSAGE(variable, f) AFX_ENTRY(0xC000, 0, 0, 0, &variable, f, Message, LRESULT, WPARAM, LPARAM)

// In the map of a CWinThread: void f(WPARAM, LPARAM), for what is posted to the thread and not to a window.
#define ON_THREAD_MESSAGE(message, f) AFX_ENTRY(message, 0, 0, 0, NULL, f, ThreadMessage, void, WPARAM, LPARAM)
#define ON_REGISTERED_THREAD_MESSAGE(variable, f)                                                                      \
    AFX_ENTRY(0xC000, 0, 0, 0, &variable, f, ThreadMessage, void, WPARAM, LPARAM)

// void f(); EX: BOOL f(UINT nID), FALSE passes it on; RANGE: void f(UINT nID); update: void f(CCmdUI*).
#define ON_COMMAND(id, f) AFX_ENTRY(WM_COMMAND, CN_COMMAND, id, id, NULL, f, Command, void, )
#define ON_COMMAND_EX(id, f) AFX_ENTRY(WM_COMMAND, CN_COMMAND, id, id, NULL, f, CommandEx, BOOL, UINT)
#define ON_COMMAND_RANGE(id, idLast, f) AFX_ENTRY(WM_COMMAND, CN_COMMAND, id, idLast, NULL, f, CommandRange, void, UINT)
#define ON_COMMAND_EX_RANGE(id, idLast, f) AFX_ENTRY(WM_COMMAND, CN_COMMAND, id, idLast, NULL, f, CommandEx, BOOL, UINT)
#define ON_UPDATE_COMMAND_UI(id, f) AFX_ENTRY(WM_COMMAND, CN_UPDATE_COMMAND_UI, id, id, NULL, f, Update, void, CCmdUI*)
#define ON_UPDATE_COMMAND_UI_RANGE(id, idLast, f)                                                                      \
    AFX_ENTRY(WM_COMMAND, CN_UPDATE_COMMAND_UI, id, idLast, NULL, f, Update, void, CCmdUI*)

// A control's notification by its code: void f(); RANGE: void f(UINT nID).
#define ON_CONTROL(code, id, f) AFX_ENTRY(WM_COMMAND, AFX_CODE(code), id, id, NULL, f, Command, void, )
#define ON_CONTROL_RANGE(code, id, idLast, f)                                                                          \
    AFX_ENTRY(WM_COMMAND, AFX_CODE(code), id, idLast, NULL, f, CommandRange, void, UINT)
#define ON_EN_SETFOCUS(id, f) ON_CONTROL(EN_SETFOCUS, id, f)
#define ON_EN_KILLFOCUS(id, f) ON_CONTROL(EN_KILLFOCUS, id, f)
#define ON_EN_CHANGE(id, f) ON_CONTROL(EN_CHANGE, id, f)
#define ON_EN_UPDATE(id, f) ON_CONTROL(EN_UPDATE, id, f)
#define ON_EN_ERRSPACE(id, f) ON_CONTROL(EN_ERRSPACE, id, f)
#define ON_EN_MAXTEXT(id, f) ON_CONTROL(EN_MAXTEXT, id, f)
#define ON_EN_HSCROLL(id, f) ON_CONTROL(EN_HSCROLL, id, f)
#define ON_EN_VSCROLL(id, f) ON_CONTROL(EN_VSCROLL, id, f)
#define ON_BN_CLICKED(id, f) ON_CONTROL(BN_CLICKED, id, f)
#define ON_BN_DOUBLECLICKED(id, f) ON_CONTROL(BN_DOUBLECLICKED, id, f)
#define ON_BN_SETFOCUS(id, f) ON_CONTROL(BN_SETFOCUS, id, f)
#define ON_BN_KILLFOCUS(id, f) ON_CONTROL(BN_KILLFOCUS, id, f)
#define ON_LBN_ERRSPACE(id, f) ON_CONTROL(LBN_ERRSPACE, id, f)
#define ON_LBN_SELCHANGE(id, f) ON_CONTROL(LBN_SELCHANGE, id, f)
#define ON_LBN_DBLCLK(id, f) ON_CONTROL(LBN_DBLCLK, id, f)
#define ON_LBN_SELCANCEL(id, f) ON_CONTROL(LBN_SELCANCEL, id, f)
#define ON_LBN_SETFOCUS(id, f) ON_CONTROL(LBN_SETFOCUS, id, f)
#define ON_LBN_KILLFOCUS(id, f) ON_CONTROL(LBN_KILLFOCUS, id, f)
#define ON_CBN_ERRSPACE(id, f) ON_CONTROL(CBN_ERRSPACE, id, f)
#define ON_CBN_SELCHANGE(id, f) ON_CONTROL(CBN_SELCHANGE, id, f)
#define ON_CBN_DBLCLK(id, f) ON_CONTROL(CBN_DBLCLK, id, f)
#define ON_CBN_SETFOCUS(id, f) ON_CONTROL(CBN_SETFOCUS, id, f)
#define ON_CBN_KILLFOCUS(id, f) ON_CONTROL(CBN_KILLFOCUS, id, f)
#define ON_CBN_EDITCHANGE(id, f) ON_CONTROL(CBN_EDITCHANGE, id, f)
#define ON_CBN_EDITUPDATE(id, f) ON_CONTROL(CBN_EDITUPDATE, id, f)
#define ON_CBN_DROPDOWN(id, f) ON_CONTROL(CBN_DROPDOWN, id, f)
#define ON_CBN_CLOSEUP(id, f) ON_CONTROL(CBN_CLOSEUP, id, f)
#define ON_CBN_SELENDOK(id, f) ON_CONTROL(CBN_SELENDOK, id, f)
#define ON_CBN_SELENDCANCEL(id, f) ON_CONTROL(CBN_SELENDCANCEL, id, f)
#define ON_STN_CLICKED(id, f) ON_CONTROL(STN_CLICKED, id, f)
#define ON_STN_DBLCLK(id, f) ON_CONTROL(STN_DBLCLK, id, f)
#define ON_STN_ENABLE(id, f) ON_CONTROL(STN_ENABLE, id, f)
#define ON_STN_DISABLE(id, f) ON_CONTROL(STN_DISABLE, id, f)

// void f(NMHDR*, LRESULT*); EX: BOOL f(UINT nID, NMHDR*, LRESULT*); RANGE: void f(UINT nID, NMHDR*, LRESULT*).
#define ON_NOTIFY(code, id, f) AFX_ENTRY(WM_NOTIFY, AFX_CODE(code), id, id, NULL, f, Notify, void, NMHDR*, LRESULT*)
#define ON_NOTIFY_EX(code, id, f)                                                                                      \
    AFX_ENTRY(WM_NOTIFY, AFX_CODE(code), id, id, NULL, f, NotifyEx, BOOL, UINT, NMHDR*, LRESULT*)
#define ON_NOTIFY_RANGE(code, id, idLast, f)                                                                           \
    AFX_ENTRY(WM_NOTIFY, AFX_CODE(code), id, idLast, NULL, f, NotifyRange, void, UINT, NMHDR*, LRESULT*)
#define ON_NOTIFY_EX_RANGE(code, id, idLast, f)                                                                        \
    AFX_ENTRY(WM_NOTIFY, AFX_CODE(code), id, idLast, NULL, f, NotifyEx, BOOL, UINT, NMHDR*, LRESULT*)

// A control's own notifications, in its own map. EX: BOOL, FALSE lets the parent see it too.
#define AFX_REFLECTED(message) (WM_REFLECT_BASE + (message))
#define ON_CONTROL_REFLECT(code, f) AFX_ENTRY(AFX_REFLECTED(WM_COMMAND), AFX_CODE(code), 0, 0, NULL, f, Command, void, )
#define ON_CONTROL_REFLECT_EX(code, f)                                                                                 \
    AFX_ENTRY(AFX_REFLECTED(WM_COMMAND), AFX_CODE(code), 0, 0, NULL, f, Reflected, BOOL, )
#define ON_NOTIFY_REFLECT(code, f)                                                                                     \
    AFX_ENTRY(AFX_REFLECTED(WM_NOTIFY), AFX_CODE(code), 0, 0, NULL, f, Notify, void, NMHDR*, LRESULT*)
#define ON_NOTIFY_REFLECT_EX(code, f)                                                                                  \
    AFX_ENTRY(AFX_REFLECTED(WM_NOTIFY), AFX_CODE(code), 0, 0, NULL, f, NotifyReflectEx, BOOL, NMHDR*, LRESULT*)
#define ON_UPDATE_COMMAND_UI_REFLECT(f)                                                                                \
    AFX_ENTRY(AFX_REFLECTED(WM_COMMAND), CN_UPDATE_COMMAND_UI, 0, 0, NULL, f, Update, void, CCmdUI*)
#define ON_WM_CTLCOLOR_REFLECT() AFX_ON_WM(AFX_REFLECTED(WM_CTLCOLOR), CtlColor, ReflectedColor, HBRUSH, CDC*, UINT)
#define ON_WM_DRAWITEM_REFLECT() AFX_ON_WM(AFX_REFLECTED(WM_DRAWITEM), DrawItem, ReflectedDraw, void, LPDRAWITEMSTRUCT)
#define ON_WM_MEASUREITEM_REFLECT()                                                                                    \
    AFX_ON_WM(AFX_REFLECTED(WM_MEASUREITEM), MeasureItem, ReflectedMeasure, void, LPMEASUREITEMSTRUCT)
#define ON_WM_DELETEITEM_REFLECT()                                                                                     \
    AFX_ON_WM(AFX_REFLECTED(WM_DELETEITEM), DeleteItem, ReflectedDelete, void, LPDELETEITEMSTRUCT)
#define ON_WM_COMPAREITEM_REFLECT()                                                                                    \
    AFX_ON_WM(AFX_REFLECTED(WM_COMPAREITEM), CompareItem, ReflectedCompare, int, LPCOMPAREITEMSTRUCT)
#define ON_WM_CHARTOITEM_REFLECT() AFX_ON_WM(AFX_REFLECTED(WM_CHARTOITEM), CharToItem, ReflectedKey, int, UINT, UINT)
#define ON_WM_VKEYTOITEM_REFLECT() AFX_ON_WM(AFX_REFLECTED(WM_VKEYTOITEM), VKeyToItem, ReflectedKey, int, UINT, UINT)
#define ON_WM_HSCROLL_REFLECT() AFX_ON_WM(AFX_REFLECTED(WM_HSCROLL), HScroll, ReflectedScroll, void, UINT, UINT)
#define ON_WM_VSCROLL_REFLECT() AFX_ON_WM(AFX_REFLECTED(WM_VSCROLL), VScroll, ReflectedScroll, void, UINT, UINT)
#define ON_WM_PARENTNOTIFY_REFLECT()                                                                                   \
    AFX_ON_WM(AFX_REFLECTED(WM_PARENTNOTIFY), ParentNotify, ReflectedParent, void, UINT, LPARAM)

// The handlers that CWnd names: the class has one of the same name and signature.
#define ON_WM_ACTIVATE() AFX_ON_WM(WM_ACTIVATE, OnActivate, Activate, void, UINT, CWnd*, BOOL)
#define ON_WM_CANCELMODE() AFX_ON_WM(WM_CANCELMODE, OnCancelMode, Nothing, void, )
#define ON_WM_CAPTURECHANGED() AFX_ON_WM(WM_CAPTURECHANGED, OnCaptureChanged, LastWindow, void, CWnd*)
#define ON_WM_CHAR() AFX_ON_WM(WM_CHAR, OnChar, Key, void, UINT, UINT, UINT)
#define ON_WM_CHARTOITEM() AFX_ON_WM(WM_CHARTOITEM, OnCharToItem, ItemKey, int, UINT, CListBox*, UINT)
#define ON_WM_CLOSE() AFX_ON_WM(WM_CLOSE, OnClose, Nothing, void, )
#define ON_WM_COMPAREITEM() AFX_ON_WM(WM_COMPAREITEM, OnCompareItem, CompareItem, int, int, LPCOMPAREITEMSTRUCT)
#define ON_WM_CONTEXTMENU() AFX_ON_WM(WM_CONTEXTMENU, OnContextMenu, ContextMenu, void, CWnd*, CPoint)
#define ON_WM_CREATE() AFX_ON_WM(WM_CREATE, OnCreate, Create, int, LPCREATESTRUCT)
#define ON_WM_CTLCOLOR() AFX_ON_WM(WM_CTLCOLOR, OnCtlColor, CtlColor, HBRUSH, CDC*, CWnd*, UINT)
#define ON_WM_DEADCHAR() AFX_ON_WM(WM_DEADCHAR, OnDeadChar, Key, void, UINT, UINT, UINT)
#define ON_WM_DELETEITEM() AFX_ON_WM(WM_DELETEITEM, OnDeleteItem, DeleteItem, void, int, LPDELETEITEMSTRUCT)
#define ON_WM_DESTROY() AFX_ON_WM(WM_DESTROY, OnDestroy, Nothing, void, )
#define ON_WM_DRAWITEM() AFX_ON_WM(WM_DRAWITEM, OnDrawItem, DrawItem, void, int, LPDRAWITEMSTRUCT)
#define ON_WM_ENABLE() AFX_ON_WM(WM_ENABLE, OnEnable, Flag, void, BOOL)
#define ON_WM_ENTERIDLE() AFX_ON_WM(WM_ENTERIDLE, OnEnterIdle, EnterIdle, void, UINT, CWnd*)
#define ON_WM_ERASEBKGND() AFX_ON_WM(WM_ERASEBKGND, OnEraseBkgnd, EraseBkgnd, BOOL, CDC*)
#define ON_WM_GETDLGCODE() AFX_ON_WM(WM_GETDLGCODE, OnGetDlgCode, Result, UINT, )
#define ON_WM_GETMINMAXINFO() AFX_ON_WM(WM_GETMINMAXINFO, OnGetMinMaxInfo, MinMaxInfo, void, MINMAXINFO*)
#define ON_WM_HSCROLL() AFX_ON_WM(WM_HSCROLL, OnHScroll, Scroll, void, UINT, UINT, CScrollBar*)
#define ON_WM_INITMENUPOPUP() AFX_ON_WM(WM_INITMENUPOPUP, OnInitMenuPopup, MenuPopup, void, CMenu*, UINT, BOOL)
#define ON_WM_KEYDOWN() AFX_ON_WM(WM_KEYDOWN, OnKeyDown, Key, void, UINT, UINT, UINT)
#define ON_WM_KEYUP() AFX_ON_WM(WM_KEYUP, OnKeyUp, Key, void, UINT, UINT, UINT)
#define ON_WM_KILLFOCUS() AFX_ON_WM(WM_KILLFOCUS, OnKillFocus, OtherWindow, void, CWnd*)
#define ON_WM_LBUTTONDBLCLK() AFX_ON_WM(WM_LBUTTONDBLCLK, OnLButtonDblClk, Mouse, void, UINT, CPoint)
#define ON_WM_LBUTTONDOWN() AFX_ON_WM(WM_LBUTTONDOWN, OnLButtonDown, Mouse, void, UINT, CPoint)
#define ON_WM_LBUTTONUP() AFX_ON_WM(WM_LBUTTONUP, OnLButtonUp, Mouse, void, UINT, CPoint)
#define ON_WM_MEASUREITEM() AFX_ON_WM(WM_MEASUREITEM, OnMeasureItem, MeasureItem, void, int, LPMEASUREITEMSTRUCT)
#define ON_WM_MENUCHAR() AFX_ON_WM(WM_MENUCHAR, OnMenuChar, MenuChar, LRESULT, UINT, UINT, CMenu*)
#define ON_WM_MENUSELECT() AFX_ON_WM(WM_MENUSELECT, OnMenuSelect, MenuSelect, void, UINT, UINT, HMENU)
#define ON_WM_MOUSEMOVE() AFX_ON_WM(WM_MOUSEMOVE, OnMouseMove, Mouse, void, UINT, CPoint)
#define ON_WM_MOUSEWHEEL() AFX_ON_WM(WM_MOUSEWHEEL, OnMouseWheel, Wheel, BOOL, UINT, short, CPoint)
#define ON_WM_MOVE() AFX_ON_WM(WM_MOVE, OnMove, Move, void, int, int)
#define ON_WM_NCDESTROY() AFX_ON_WM(WM_NCDESTROY, OnNcDestroy, Nothing, void, )
#define ON_WM_NCPAINT() AFX_ON_WM(WM_NCPAINT, OnNcPaint, Nothing, void, )
#define ON_WM_PAINT() AFX_ON_WM(WM_PAINT, OnPaint, Nothing, void, )
#define ON_WM_PARENTNOTIFY() AFX_ON_WM(WM_PARENTNOTIFY, OnParentNotify, SysCommand, void, UINT, LPARAM)
#define ON_WM_RBUTTONDBLCLK() AFX_ON_WM(WM_RBUTTONDBLCLK, OnRButtonDblClk, Mouse, void, UINT, CPoint)
#define ON_WM_RBUTTONDOWN() AFX_ON_WM(WM_RBUTTONDOWN, OnRButtonDown, Mouse, void, UINT, CPoint)
#define ON_WM_RBUTTONUP() AFX_ON_WM(WM_RBUTTONUP, OnRButtonUp, Mouse, void, UINT, CPoint)
#define ON_WM_SETCURSOR() AFX_ON_WM(WM_SETCURSOR, OnSetCursor, SetCursor, BOOL, CWnd*, UINT, UINT)
#define ON_WM_SETFOCUS() AFX_ON_WM(WM_SETFOCUS, OnSetFocus, OtherWindow, void, CWnd*)
#define ON_WM_SHOWWINDOW() AFX_ON_WM(WM_SHOWWINDOW, OnShowWindow, ShowWindow, void, BOOL, UINT)
#define ON_WM_SIZE() AFX_ON_WM(WM_SIZE, OnSize, Size, void, UINT, int, int)
#define ON_WM_SYSCHAR() AFX_ON_WM(WM_SYSCHAR, OnSysChar, Key, void, UINT, UINT, UINT)
#define ON_WM_SYSCOLORCHANGE() AFX_ON_WM(WM_SYSCOLORCHANGE, OnSysColorChange, Nothing, void, )
#define ON_WM_SYSCOMMAND() AFX_ON_WM(WM_SYSCOMMAND, OnSysCommand, SysCommand, void, UINT, LPARAM)
#define ON_WM_SYSKEYDOWN() AFX_ON_WM(WM_SYSKEYDOWN, OnSysKeyDown, Key, void, UINT, UINT, UINT)
#define ON_WM_SYSKEYUP() AFX_ON_WM(WM_SYSKEYUP, OnSysKeyUp, Key, void, UINT, UINT, UINT)
#define ON_WM_TIMER() AFX_ON_WM(WM_TIMER, OnTimer, Number, void, UINT)
#define ON_WM_VKEYTOITEM() AFX_ON_WM(WM_VKEYTOITEM, OnVKeyToItem, ItemKey, int, UINT, CListBox*, UINT)
#define ON_WM_VSCROLL() AFX_ON_WM(WM_VSCROLL, OnVScroll, Scroll, void, UINT, UINT, CScrollBar*)
#define ON_WM_WINDOWPOSCHANGED() AFX_ON_WM(WM_WINDOWPOSCHANGED, OnWindowPosChanged, Position, void, WINDOWPOS*)
#define ON_WM_WINDOWPOSCHANGING() AFX_ON_WM(WM_WINDOWPOSCHANGING, OnWindowPosChanging, Position, void, WINDOWPOS*)
#define ON_WM_WININICHANGE() AFX_ON_WM(WM_WININICHANGE, OnWinIniChange, Section, void, LPCTSTR)

#endif
