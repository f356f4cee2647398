#include "base/refcount.h"

CRefCntBase::~CRefCntBase() = default;

long CRefCntBase::AddRef()
{
    return m_lRefs++;
}

long CRefCntBase::Release()
{
    const long lLeft = --m_lRefs;
    if (lLeft <= 0) delete this;
    return lLeft;
}

IMPLEMENT_DYNAMIC(CRefCntBaseObj, CObject)

CRefCntBaseObj::CRefCntBaseObj(const CRefCntBaseObj& rOther) : CRefCntBase(rOther), CObject() {}

CRefCntBaseObj& CRefCntBaseObj::operator=(const CRefCntBaseObj& rOther)
{
    CRefCntBase::operator=(rOther);
    return *this;
}

CRefCntBaseObj::~CRefCntBaseObj() = default;
