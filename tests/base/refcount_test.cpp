#include "base/refcount.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

static_assert(sizeof(CRefCntBase) == 8, "the table and the count");
static_assert(std::has_virtual_destructor_v<CRefCntBase>);
static_assert(std::is_base_of_v<CRefCntBase, CRefCntBaseObj> && std::is_base_of_v<CObject, CRefCntBaseObj>);
static_assert(sizeof(CRefCntBaseObj) == sizeof(CRefCntBase) + sizeof(CObject), "no members of its own");

template <class Base> class CWatched : public Base
{
public:
    explicit CWatched(int& rnGone) : m_rnGone(rnGone) {}
    CWatched(const CWatched&) = default;
    ~CWatched() override { ++m_rnGone; }

private:
    int& m_rnGone;
};

using Counted = CWatched<CRefCntBase>;

TEST(RefCountTest, AddRefReturnsTheCountBeforeIt)
{
    int nGone = 0;
    Counted* const p = new Counted(nGone);
    EXPECT_EQ(0, p->AddRef());
    EXPECT_EQ(1, p->AddRef());
    EXPECT_EQ(1, p->Release());
    EXPECT_EQ(0, nGone);
    EXPECT_EQ(0, p->Release());
    EXPECT_EQ(1, nGone);
}

TEST(RefCountTest, ReleasingAnObjectWithoutReferencesDeletesItAndReturnsTheNegativeCount)
{
    int nGone = 0;
    EXPECT_EQ(-1, (new Counted(nGone))->Release());
    EXPECT_EQ(1, nGone);
}

TEST(RefCountTest, ACopyStartsWithItsSourcesCount)
{
    int nGone = 0;
    Counted source(nGone);
    source.AddRef();
    source.AddRef();
    Counted* const pCopy = new Counted(source);
    EXPECT_EQ(1, pCopy->Release());
    EXPECT_EQ(0, nGone);
    EXPECT_EQ(0, pCopy->Release());
    EXPECT_EQ(1, nGone);
}

TEST(RefCountTest, AssigningCopiesTheCount)
{
    CRefCntBase source;
    source.AddRef();
    source.AddRef();
    CRefCntBase* const pTarget = new CRefCntBase;
    *pTarget = source;
    EXPECT_EQ(2, pTarget->AddRef());
    EXPECT_EQ(2, pTarget->Release());
    EXPECT_EQ(1, pTarget->Release());
    EXPECT_EQ(0, pTarget->Release());
}

TEST(RefCountTest, TheSlotsAreAddRefReleaseAndTheDestructor)
{
    CRefCntBase object;
    using Method = long(__thiscall*)(CRefCntBase*);
    Method const* const pSlots = *reinterpret_cast<Method* const*>(&object);
    EXPECT_EQ(0, pSlots[0](&object));
    EXPECT_EQ(1, pSlots[0](&object));
    EXPECT_EQ(1, pSlots[1](&object));
}

TEST(RefCountObjTest, TheRunTimeClassIsAsItsMacroMakesIt)
{
    const CRuntimeClass& rClass = *RUNTIME_CLASS(CRefCntBaseObj);
    EXPECT_STREQ("CRefCntBaseObj", rClass.m_lpszClassName);
    EXPECT_EQ(0xFFFFu, rClass.m_wSchema);
    EXPECT_EQ(static_cast<int>(sizeof(CRefCntBaseObj)), rClass.m_nObjectSize);
    EXPECT_EQ(nullptr, rClass.m_pfnCreateObject);
    EXPECT_TRUE(rClass.IsDerivedFrom(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(RUNTIME_CLASS(CObject)->IsDerivedFrom(&rClass));
}

TEST(RefCountObjTest, IsACObjectWithACount)
{
    int nGone = 0;
    auto* const p = new CWatched<CRefCntBaseObj>(nGone);
    CObject* const pObject = p;
    EXPECT_EQ(RUNTIME_CLASS(CRefCntBaseObj), pObject->GetRuntimeClass());
    EXPECT_FALSE(pObject->IsSerializable());
    EXPECT_EQ(p, DYNAMIC_DOWNCAST(CRefCntBaseObj, pObject));
    EXPECT_EQ(static_cast<void*>(p), static_cast<void*>(static_cast<CRefCntBase*>(p))) << "the count comes first";
    EXPECT_EQ(0, p->AddRef());
    EXPECT_EQ(0, p->Release());
    EXPECT_EQ(1, nGone);
}

TEST(RefCountObjTest, DeletingItThroughCObjectWorks)
{
    int nGone = 0;
    CObject* const pObject = new CWatched<CRefCntBaseObj>(nGone);
    delete pObject;
    EXPECT_EQ(1, nGone);
}

TEST(RefCountObjTest, CopiesAndAssignmentsTakeTheCount)
{
    CRefCntBaseObj source;
    source.AddRef();
    CRefCntBaseObj copy(source);
    EXPECT_EQ(1, copy.AddRef());
    copy = source;
    EXPECT_EQ(1, copy.AddRef());
}

} // namespace
