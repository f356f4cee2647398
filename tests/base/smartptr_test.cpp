#include "base/smartptr.h"

#include "base/refcount.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

namespace {

// Writes down what happens to it.
class CSpy
{
public:
    CSpy(std::string& rLog, const char* name) : m_rLog(rLog), m_name(name) {}
    long AddRef()
    {
        m_rLog += "+" + m_name;
        return m_lRefs++;
    }
    long Release()
    {
        m_rLog += "-" + m_name;
        return --m_lRefs;
    }
    long Refs() const { return m_lRefs; }

private:
    std::string& m_rLog;
    std::string m_name;
    long m_lRefs = 0;
};

class SmartPtrTest : public testing::Test
{
protected:
    std::string m_log;
    CSpy m_a{m_log, "a"};
    CSpy m_b{m_log, "b"};
};

static_assert(sizeof(CSmartPtr<CSpy>) == sizeof(void*));
static_assert(std::is_convertible_v<CSpy*, CSmartPtr<CSpy>> && std::is_convertible_v<CSmartPtr<CSpy>, CSpy*>);

// An initialiser that runs before the pointer's would run: what it sets must last.
struct CEarly
{
    CEarly();
};
const CEarly s_early;
CSmartPtr<CRefCntBase> s_static;
CEarly::CEarly()
{
    s_static = new CRefCntBase;
}

TEST_F(SmartPtrTest, StartsNull)
{
    const CSmartPtr<CSpy> p;
    EXPECT_EQ(nullptr, static_cast<CSpy*>(p));
    EXPECT_FALSE(p);
}

TEST_F(SmartPtrTest, AStaticOneIsThereBeforeItsOwnInitialiser)
{
    EXPECT_TRUE(s_static) << "set by an initialiser that ran before";
}

TEST_F(SmartPtrTest, TakingAnObjectCountsOnceAndLettingGoReleasesIt)
{
    {
        CSmartPtr<CSpy> p(&m_a);
        EXPECT_EQ(1, m_a.Refs());
        EXPECT_EQ(&m_a, p.operator->());
        EXPECT_EQ(&m_a, &*p);
    }
    EXPECT_EQ("+a-a", m_log);
}

TEST_F(SmartPtrTest, ACopyTakesAReferenceOfItsOwn)
{
    const CSmartPtr<CSpy> p(&m_a);
    const CSmartPtr<CSpy> q(p);
    EXPECT_EQ(2, m_a.Refs());
}

TEST_F(SmartPtrTest, AssigningReleasesTheOldObjectBeforeItTouchesTheNewOne)
{
    CSmartPtr<CSpy> p(&m_a);
    m_log.clear();
    p = &m_b;
    EXPECT_EQ("-a+b", m_log);
    EXPECT_EQ(&m_b, static_cast<CSpy*>(p));
}

TEST_F(SmartPtrTest, AssigningAnotherPointerDoesTheSame)
{
    CSmartPtr<CSpy> p(&m_a);
    const CSmartPtr<CSpy> q(&m_b);
    m_log.clear();
    p = q;
    EXPECT_EQ("-a+b", m_log);
    EXPECT_EQ(2, m_b.Refs());
}

TEST_F(SmartPtrTest, AssigningTheSameObjectChangesNoCount)
{
    CSmartPtr<CSpy> p(&m_a);
    const CSmartPtr<CSpy> q(p);
    CSmartPtr<CSpy>& rSelf = p;
    m_log.clear();
    p = rSelf;
    p = &m_a;
    p = q;
    EXPECT_EQ("", m_log);
}

TEST_F(SmartPtrTest, AssigningItselfKeepsTheLastReferenceAlive)
{
    CSmartPtr<CRefCntBase> p(new CRefCntBase);
    CSmartPtr<CRefCntBase>& rSelf = p;
    p = rSelf;
    EXPECT_EQ(1, p->AddRef());
    EXPECT_EQ(1, p->Release());
}

TEST_F(SmartPtrTest, AssigningNullReleases)
{
    CSmartPtr<CSpy> p(&m_a);
    p = nullptr;
    EXPECT_EQ("+a-a", m_log);
    EXPECT_FALSE(p);
    p = nullptr;
    EXPECT_EQ("+a-a", m_log);
}

TEST_F(SmartPtrTest, AReturnedPointerCostsNoExtraCount)
{
    const auto make = [this] { return CSmartPtr<CSpy>(&m_a); };
    CSmartPtr<CSpy> p = make();
    CSmartPtr<CSpy> q(std::move(p));
    CSmartPtr<CSpy> r;
    r = std::move(q);
    EXPECT_EQ("+a", m_log);
    EXPECT_EQ(1, m_a.Refs());
}

TEST_F(SmartPtrTest, MovingOverAHeldObjectReleasesThatOne)
{
    CSmartPtr<CSpy> p(&m_a);
    m_log.clear();
    p = CSmartPtr<CSpy>(&m_b);
    EXPECT_EQ("+b-a", m_log);
    p = std::move(p);
    EXPECT_EQ(&m_b, static_cast<CSpy*>(p));
}

TEST_F(SmartPtrTest, MovingTheSameObjectLeavesBothHolding)
{
    CSmartPtr<CSpy> p(&m_a);
    CSmartPtr<CSpy> q(&m_a);
    p = std::move(q);
    EXPECT_EQ(2, m_a.Refs());
    EXPECT_EQ(&m_a, static_cast<CSpy*>(q));
}

} // namespace
