#include "threadstate.h"

IMPLEMENT_DYNCREATE(CGdiObject, CObject)

namespace {

CRuntimeClass* ClassOf(HGDIOBJ hObject)
{
    switch (::GetObjectType(hObject)) {
    case OBJ_PEN:
    case OBJ_EXTPEN:
        return RUNTIME_CLASS(CPen);
    case OBJ_BRUSH:
        return RUNTIME_CLASS(CBrush);
    case OBJ_FONT:
        return RUNTIME_CLASS(CFont);
    case OBJ_BITMAP:
        return RUNTIME_CLASS(CBitmap);
    case OBJ_REGION:
        return RUNTIME_CLASS(CRgn);
    }
    return RUNTIME_CLASS(CGdiObject);
}

} // namespace

CGdiObject::~CGdiObject()
{
    DeleteObject();
}

CGdiObject* PASCAL CGdiObject::FromHandle(HGDIOBJ hObject)
{
    if (!hObject) return NULL;
    CHandleMap<CGdiObject>& map = CThreadState::Get().m_gdiObjects;
    CGdiObject* const pOwner = map.FindPermanent(hObject);
    return pOwner ? pOwner : map.FromHandle(hObject, ClassOf(hObject));
}

CGdiObject* PASCAL CGdiObject::FromHandle(HGDIOBJ hObject, CRuntimeClass* pClass)
{
    return hObject ? CThreadState::Get().m_gdiObjects.FromHandle(hObject, pClass) : NULL;
}

void PASCAL CGdiObject::DeleteTempMap()
{
    if (CThreadState* const pState = CThreadState::GetIfAny()) pState->m_gdiObjects.DeleteTemporaries();
}

BOOL CGdiObject::Attach(HGDIOBJ hObject)
{
    ASSERT(m_hObject == NULL);
    if (!hObject) return FALSE;
    Detach();
    CThreadState::Get().m_gdiObjects.SetPermanent(hObject, this);
    m_hObject = hObject;
    return TRUE;
}

HGDIOBJ CGdiObject::Detach()
{
    const HGDIOBJ hObject = m_hObject;
    if (hObject) {
        if (CThreadState* const pState = CThreadState::GetIfAny()) pState->m_gdiObjects.RemovePermanent(hObject, this);
    }
    m_hObject = NULL;
    return hObject;
}

BOOL CGdiObject::DeleteObject()
{
    const HGDIOBJ hObject = Detach();
    return hObject ? ::DeleteObject(hObject) : FALSE;
}

BOOL CGdiObject::CreateStockObject(int nIndex)
{
    return Attach(::GetStockObject(nIndex));
}

HGDIOBJ CGdiObject::GetSafeHandle() const
{
    return this ? m_hObject : NULL;
}

int CGdiObject::GetObject(int nCount, LPVOID pObject) const
{
    return ::GetObjectW(m_hObject, nCount, pObject);
}

UINT CGdiObject::GetObjectType() const
{
    return ::GetObjectType(m_hObject);
}
