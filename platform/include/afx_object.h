// afx_object.h - CObject, the root of the framework's classes, and CRuntimeClass, what a class knows about itself.
//
// Ownership  CreateObject makes its object with new: the caller deletes it.
// Threads    the descriptions are constants: any thread.
// Errors     CreateObject gives NULL, the casts give NULL or assert; nothing is thrown.
#ifndef AFX_OBJECT_H
#define AFX_OBJECT_H

#include "afx_api.h"

class CObject;
class CArchive;

// The description of one class, made by the macros below: DECLARE_DYNAMIC in the class, IMPLEMENT_DYNAMIC in its
// source.
struct AFX_API CRuntimeClass
{
    LPCSTR m_lpszClassName;                      // 8-bit, also in a UTF-16 build
    int m_nObjectSize;                           // bytes
    UINT m_wSchema;                              // 0xFFFF: not serializable
    CObject*(PASCAL* m_pfnCreateObject)();       // NULL without DECLARE_DYNCREATE
    CRuntimeClass*(PASCAL* m_pfnGetBaseClass)(); // NULL in CObject's
    CRuntimeClass* m_pNextClass;                 // not used

    // A new object; NULL if the class has no creator, if memory is out or if the constructor threw a CException.
    CObject* CreateObject();
    // TRUE for the class itself and everything above it.
    BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const;
};
static_assert(sizeof(CRuntimeClass) == 24, "the device's record");

// The root. Not copyable; derived classes that want DYNAMIC_DOWNCAST name themselves with the macros below.
class AFX_API CObject
{
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject();
    // TRUE if the object's class is pClass or derived from it. A class without the macros counts as its nearest base
    // that has them.
    BOOL IsKindOf(const CRuntimeClass* pClass) const;
    BOOL IsSerializable() const;
    virtual void Serialize(CArchive& ar);

    static const CRuntimeClass classCObject;

protected:
    CObject() {}

private:
    CObject(const CObject&) = delete;
    void operator=(const CObject&) = delete;
};

// pObject if it is a pClass, else NULL; NULL for NULL.
AFX_API CObject* AFXAPI AfxDynamicDownCast(CRuntimeClass* pClass, CObject* pObject);
// pObject, after an assertion that it is NULL or a pClass.
AFX_API CObject* AFXAPI AfxStaticDownCast(CRuntimeClass* pClass, CObject* pObject);

#define RUNTIME_CLASS(class_name) (const_cast<CRuntimeClass*>(&class_name::class##class_name))

#define DYNAMIC_DOWNCAST(class_name, object)                                                                           \
    (static_cast<class_name*>(::AfxDynamicDownCast(RUNTIME_CLASS(class_name), object)))
#ifdef NDEBUG
#define STATIC_DOWNCAST(class_name, object) (static_cast<class_name*>(object))
#else
#define STATIC_DOWNCAST(class_name, object)                                                                            \
    (static_cast<class_name*>(::AfxStaticDownCast(RUNTIME_CLASS(class_name), object)))
#endif

// The base is found through a function, because the address of a class in another module is no constant and the
// descriptions must be complete before any constructor of a static object runs.
#define DECLARE_DYNAMIC(class_name)                                                                                    \
protected:                                                                                                             \
    static CRuntimeClass* PASCAL _GetBaseClass();                                                                      \
                                                                                                                       \
public:                                                                                                                \
    static const CRuntimeClass class##class_name;                                                                      \
    virtual CRuntimeClass* GetRuntimeClass() const;

#define DECLARE_DYNCREATE(class_name)                                                                                  \
    DECLARE_DYNAMIC(class_name)                                                                                        \
    static CObject* PASCAL CreateObject();

#define IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, schema, creator)                                           \
    CRuntimeClass* PASCAL class_name::_GetBaseClass()                                                                  \
    {                                                                                                                  \
        return RUNTIME_CLASS(base_class_name);                                                                         \
    }                                                                                                                  \
    const CRuntimeClass class_name::class##class_name = {#class_name, sizeof(class_name),         schema,              \
                                                         creator,     &class_name::_GetBaseClass, NULL};               \
    CRuntimeClass* class_name::GetRuntimeClass() const                                                                 \
    {                                                                                                                  \
        return RUNTIME_CLASS(class_name);                                                                              \
    }

// REQUIRES: base_class_name is the nearest base with DECLARE_DYNAMIC, or CObject.
#define IMPLEMENT_DYNAMIC(class_name, base_class_name) IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, NULL)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name)                                                               \
    CObject* PASCAL class_name::CreateObject()                                                                         \
    {                                                                                                                  \
        return new class_name;                                                                                         \
    }                                                                                                                  \
    IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, &class_name::CreateObject)

#endif
