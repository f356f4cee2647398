#include "afx.h"

#include <new>

CObject* CRuntimeClass::CreateObject()
{
    if (!m_pfnCreateObject) return NULL;
    try {
        return m_pfnCreateObject();
    } catch (CException* e) {
        e->Delete();
    } catch (const std::bad_alloc&) {
        TRACE(L"No memory to create an object of %d bytes.\n", m_nObjectSize);
    }
    return NULL;
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* pBaseClass) const
{
    for (const CRuntimeClass* pClass = this; pClass;
         pClass = pClass->m_pfnGetBaseClass ? pClass->m_pfnGetBaseClass() : NULL) {
        if (pClass == pBaseClass) return TRUE;
    }
    return FALSE;
}

const CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), 0xFFFF, NULL, NULL, NULL};

CObject::~CObject() {}

CRuntimeClass* CObject::GetRuntimeClass() const
{
    return RUNTIME_CLASS(CObject);
}

BOOL CObject::IsKindOf(const CRuntimeClass* pClass) const
{
    return GetRuntimeClass()->IsDerivedFrom(pClass);
}

BOOL CObject::IsSerializable() const
{
    return GetRuntimeClass()->m_wSchema != 0xFFFF;
}

void CObject::Serialize(CArchive&) {}

CObject* AFXAPI AfxDynamicDownCast(CRuntimeClass* pClass, CObject* pObject)
{
    return pObject && pObject->IsKindOf(pClass) ? pObject : NULL;
}

CObject* AFXAPI AfxStaticDownCast(CRuntimeClass* pClass, CObject* pObject)
{
    // This is called by hosts with assertions, whether or not the framework itself was built with them.
    if (pObject && !pObject->IsKindOf(pClass)) ::AfxAssertFailedLine(pClass->m_lpszClassName, 0);
    return pObject;
}
