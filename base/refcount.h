// CRefCntBase: a reference count inside the object. CRefCntBaseObj: the same for a class that must also be a CObject.
//
// Ownership  an object is created with new and has no owner and count 0 until a CSmartPtr or an AddRef takes it; the
//            Release that brings the count to 0 or below deletes it. Objects with members of a counted type, and such
//            on the stack, are destroyed the ordinary way and their count plays no part.
// Threads    the count is a plain number: one thread at a time.
// Errors     none.
//
// Copying and assigning copy the count with the rest: a copy starts with its source's count, not with 0.
// Two objects that hold each other by counted pointers are never deleted: one of them has to let go.
#ifndef KORVANE_BASE_REFCOUNT_H
#define KORVANE_BASE_REFCOUNT_H

#include "base/api.h"

#include <afx.h>

class KORVANE_API CRefCntBase
{
public:
    CRefCntBase() = default;
    CRefCntBase(const CRefCntBase&) = default;
    CRefCntBase& operator=(const CRefCntBase&) = default;

    // Adds one. Returns the count as it was before: 0 for the first reference.
    virtual long AddRef();
    // Takes one away and returns the new count; deletes the object when that is 0 or negative.
    virtual long Release();
    virtual ~CRefCntBase();

protected:
    // For a derived class that has to keep itself from being deleted while it hands out references to itself.
    long m_lRefs = 0;
};

// Its run-time class has the name "CRefCntBaseObj", the schema 0xFFFF, no creator and the base CObject.
class KORVANE_API CRefCntBaseObj : public CRefCntBase, public CObject
{
    DECLARE_DYNAMIC(CRefCntBaseObj)

public:
    CRefCntBaseObj() = default;
    // CObject refuses to be copied and has no data: a copy has the other one's count.
    CRefCntBaseObj(const CRefCntBaseObj& rOther);
    CRefCntBaseObj& operator=(const CRefCntBaseObj& rOther);
    ~CRefCntBaseObj() override;
};

#endif
