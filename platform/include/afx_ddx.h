// afx_ddx.h - the exchange of data between a dialog's members and its controls, in DoDataExchange.
//
// Ownership  nothing is kept beyond the call.
// Threads    the dialog's.
// Errors     what a person entered that is not valid: a message box says so, the control gets the focus and
//            CUserException* is thrown, which UpdateData turns into FALSE. A control that is not there throws
//            CNotSupportedException*.
//
// The messages are the host's string resources of the identifiers below, if it has them.
#ifndef AFX_DDX_H
#define AFX_DDX_H

#include "afx_wnd.h"

#define AFX_IDP_PARSE_INT 0xF110         // "Please enter an integer."
#define AFX_IDP_PARSE_REAL 0xF111        // "Please enter a number."
#define AFX_IDP_PARSE_INT_RANGE 0xF112   // %1 smallest, %2 largest
#define AFX_IDP_PARSE_REAL_RANGE 0xF113  // likewise
#define AFX_IDP_PARSE_STRING_SIZE 0xF114 // %1 characters
#define AFX_IDP_PARSE_BYTE 0xF116
#define AFX_IDP_PARSE_UINT 0xF117

class AFX_API CDataExchange
{
public:
    CDataExchange(CWnd* pDlgWnd, BOOL bSaveAndValidate);

    BOOL m_bSaveAndValidate; // TRUE: controls to members
    CWnd* m_pDlgWnd;         // the dialog
    HWND m_hWndLastControl;  // the last one prepared: gets the focus when something is not valid
    BOOL m_bEditLastControl; // it is an edit control: its text is selected too

    HWND PrepareCtrl(int nIDC);
    HWND PrepareEditCtrl(int nIDC);
    [[noreturn]] void Fail();
};

// The control gets the object, unless it has one already.
AFX_API void AFXAPI DDX_Control(CDataExchange* pDX, int nIDC, CWnd& rControl);

// Numbers are decimal, with spaces around them; nothing else may be in the control.
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, BYTE& value);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, short& value);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, int& value);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, UINT& value);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, long& value);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, DWORD& value);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, CString& value);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, LPTSTR pszValue, int nMaxLen);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, float& value);
AFX_API void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, double& value);

// 0, 1 or 2. A radio button's value is the place of the checked one in its group, -1 for none.
AFX_API void AFXAPI DDX_Check(CDataExchange* pDX, int nIDC, int& value);
AFX_API void AFXAPI DDX_Radio(CDataExchange* pDX, int nIDC, int& value);
// The selected item's text; it selects the first item that begins with it, or with Exact is it. A combo box without
// such an item gets it as its edit text.
AFX_API void AFXAPI DDX_LBString(CDataExchange* pDX, int nIDC, CString& value);
AFX_API void AFXAPI DDX_LBStringExact(CDataExchange* pDX, int nIDC, CString& value);
AFX_API void AFXAPI DDX_CBString(CDataExchange* pDX, int nIDC, CString& value);
AFX_API void AFXAPI DDX_CBStringExact(CDataExchange* pDX, int nIDC, CString& value);
// The selected item's index, -1 for none.
AFX_API void AFXAPI DDX_LBIndex(CDataExchange* pDX, int nIDC, int& index);
AFX_API void AFXAPI DDX_CBIndex(CDataExchange* pDX, int nIDC, int& index);
AFX_API void AFXAPI DDX_Scroll(CDataExchange* pDX, int nIDC, int& value);

// After the DDX_Text of the same control. They check when data is saved, and a text's length also limits the control.
AFX_API void AFXAPI DDV_MinMaxByte(CDataExchange* pDX, BYTE value, BYTE minVal, BYTE maxVal);
AFX_API void AFXAPI DDV_MinMaxShort(CDataExchange* pDX, short value, short minVal, short maxVal);
AFX_API void AFXAPI DDV_MinMaxInt(CDataExchange* pDX, int value, int minVal, int maxVal);
AFX_API void AFXAPI DDV_MinMaxLong(CDataExchange* pDX, long value, long minVal, long maxVal);
AFX_API void AFXAPI DDV_MinMaxUInt(CDataExchange* pDX, UINT value, UINT minVal, UINT maxVal);
AFX_API void AFXAPI DDV_MinMaxDWord(CDataExchange* pDX, DWORD value, DWORD minVal, DWORD maxVal);
AFX_API void AFXAPI DDV_MinMaxFloat(CDataExchange* pDX, const float& value, float minVal, float maxVal);
AFX_API void AFXAPI DDV_MinMaxDouble(CDataExchange* pDX, const double& value, double minVal, double maxVal);
AFX_API void AFXAPI DDV_MaxChars(CDataExchange* pDX, const CString& value, int nChars);

#endif
