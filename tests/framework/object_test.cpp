// CObject, CRuntimeClass, the casts, and the exceptions.
#include "afx_print.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

namespace {

class CShape : public CObject
{
    DECLARE_DYNAMIC(CShape)
};

class CCircle : public CShape
{
    DECLARE_DYNCREATE(CCircle)

public:
    ~CCircle() override { ++s_nDestroyed; }

    int m_nRadius = 7;
    static int s_nDestroyed;
};

class CPlainCircle : public CCircle
{
};

class CFailing : public CObject
{
    DECLARE_DYNCREATE(CFailing)

public:
    CFailing()
    {
        if (s_bBadAlloc) throw std::bad_alloc();
        AfxThrowMemoryException();
    }
    static bool s_bBadAlloc;
};

class COwnException : public CException
{
    DECLARE_DYNAMIC(COwnException)

public:
    ~COwnException() override { ++s_nDestroyed; }
    static int s_nDestroyed;
};

int CCircle::s_nDestroyed;
bool CFailing::s_bBadAlloc;
int COwnException::s_nDestroyed;

IMPLEMENT_DYNAMIC(CShape, CObject)
IMPLEMENT_DYNCREATE(CCircle, CShape)
IMPLEMENT_DYNCREATE(CFailing, CObject)
IMPLEMENT_DYNAMIC(COwnException, CException)

} // namespace

TEST(RuntimeClassTest, TheRecordIsTheDevices)
{
    EXPECT_EQ(24u, sizeof(CRuntimeClass));
    EXPECT_EQ(0u, offsetof(CRuntimeClass, m_lpszClassName));
    EXPECT_EQ(4u, offsetof(CRuntimeClass, m_nObjectSize));
    EXPECT_EQ(8u, offsetof(CRuntimeClass, m_wSchema));
    EXPECT_EQ(12u, offsetof(CRuntimeClass, m_pfnCreateObject));
    EXPECT_EQ(16u, offsetof(CRuntimeClass, m_pfnGetBaseClass));
    EXPECT_EQ(20u, offsetof(CRuntimeClass, m_pNextClass));
}

TEST(RuntimeClassTest, AClassDescribesItself)
{
    const CRuntimeClass* pClass = RUNTIME_CLASS(CCircle);
    EXPECT_STREQ("CCircle", pClass->m_lpszClassName);
    EXPECT_EQ(static_cast<int>(sizeof(CCircle)), pClass->m_nObjectSize);
    EXPECT_EQ(0xFFFFu, pClass->m_wSchema);
    EXPECT_EQ(RUNTIME_CLASS(CShape), pClass->m_pfnGetBaseClass());
    EXPECT_EQ(nullptr, RUNTIME_CLASS(CShape)->m_pfnCreateObject);
    EXPECT_STREQ("CObject", RUNTIME_CLASS(CObject)->m_lpszClassName);
    EXPECT_EQ(nullptr, RUNTIME_CLASS(CObject)->m_pfnGetBaseClass);
}

TEST(RuntimeClassTest, DerivationIsFollowedToTheRoot)
{
    EXPECT_TRUE(RUNTIME_CLASS(CCircle)->IsDerivedFrom(RUNTIME_CLASS(CCircle)));
    EXPECT_TRUE(RUNTIME_CLASS(CCircle)->IsDerivedFrom(RUNTIME_CLASS(CShape)));
    EXPECT_TRUE(RUNTIME_CLASS(CCircle)->IsDerivedFrom(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(RUNTIME_CLASS(CShape)->IsDerivedFrom(RUNTIME_CLASS(CCircle)));
    EXPECT_FALSE(RUNTIME_CLASS(CShape)->IsDerivedFrom(RUNTIME_CLASS(CException)));
    EXPECT_FALSE(RUNTIME_CLASS(CShape)->IsDerivedFrom(NULL));
}

TEST(RuntimeClassTest, CreateObjectMakesObjectsOfTheClass)
{
    CObject* pObject = RUNTIME_CLASS(CCircle)->CreateObject();
    ASSERT_NE(nullptr, pObject);
    EXPECT_TRUE(pObject->IsKindOf(RUNTIME_CLASS(CCircle)));
    EXPECT_EQ(7, static_cast<CCircle*>(pObject)->m_nRadius);
    CCircle::s_nDestroyed = 0;
    delete pObject;
    EXPECT_EQ(1, CCircle::s_nDestroyed);
    pObject = CCircle::CreateObject();
    EXPECT_NE(nullptr, pObject);
    delete pObject;
}

TEST(RuntimeClassTest, CreateObjectGivesNullWithoutCreatorOrMemory)
{
    EXPECT_EQ(nullptr, RUNTIME_CLASS(CShape)->CreateObject());
    EXPECT_EQ(nullptr, RUNTIME_CLASS(CObject)->CreateObject());
    for (const bool bBadAlloc : {false, true}) {
        CFailing::s_bBadAlloc = bBadAlloc;
        EXPECT_EQ(nullptr, RUNTIME_CLASS(CFailing)->CreateObject());
    }
}

TEST(ObjectTest, IsKindOfLooksAtTheNearestDescribedClass)
{
    CPlainCircle circle;
    const CObject& object = circle;
    EXPECT_TRUE(object.IsKindOf(RUNTIME_CLASS(CCircle)));
    EXPECT_TRUE(object.IsKindOf(RUNTIME_CLASS(CShape)));
    EXPECT_FALSE(object.IsKindOf(RUNTIME_CLASS(CException)));
    EXPECT_EQ(RUNTIME_CLASS(CCircle), object.GetRuntimeClass());
    EXPECT_FALSE(object.IsSerializable());
    static_assert(!std::is_copy_constructible_v<CShape> && !std::is_copy_assignable_v<CShape>);
}

TEST(ObjectTest, DowncastsFollowTheClass)
{
    CCircle circle;
    CShape shape;
    CObject* pCircle = &circle;
    CObject* pShape = &shape;
    CObject* pNothing = NULL;
    EXPECT_EQ(&circle, DYNAMIC_DOWNCAST(CCircle, pCircle));
    EXPECT_EQ(&circle, DYNAMIC_DOWNCAST(CShape, pCircle));
    EXPECT_EQ(nullptr, DYNAMIC_DOWNCAST(CCircle, pShape));
    EXPECT_EQ(nullptr, DYNAMIC_DOWNCAST(CCircle, pNothing));
    EXPECT_EQ(&circle, STATIC_DOWNCAST(CCircle, pCircle));
    EXPECT_EQ(nullptr, STATIC_DOWNCAST(CCircle, pNothing));
    EXPECT_EQ(pCircle, ::AfxStaticDownCast(RUNTIME_CLASS(CShape), pCircle));
}

TEST(ExceptionTest, TheThrowersThrowTheirClass)
{
    EXPECT_TRUE(Throws<CMemoryException>([] { AfxThrowMemoryException(); }));
    EXPECT_TRUE(Throws<CNotSupportedException>([] { AfxThrowNotSupportedException(); }));
    EXPECT_TRUE(Throws<CResourceException>([] { AfxThrowResourceException(); }));
    EXPECT_TRUE(Throws<CUserException>([] { AfxThrowUserException(); }));
    EXPECT_TRUE(Throws<CInvalidArgException>([] { AfxThrowInvalidArgException(); }));
    EXPECT_TRUE(Throws<CException>([] { AfxThrowMemoryException(); }));
}

TEST(ExceptionTest, AMessageIsCutToTheRoom)
{
    try {
        AfxThrowMemoryException();
    } catch (CException* e) {
        EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CMemoryException)));
        TCHAR sz[32] = L"################";
        UINT nHelp = 5;
        EXPECT_TRUE(e->GetErrorMessage(sz, ARRAYSIZE(sz), &nHelp));
        EXPECT_STREQ(L"Out of memory.", sz);
        EXPECT_EQ(0u, nHelp);
        EXPECT_TRUE(e->GetErrorMessage(sz, 4));
        EXPECT_STREQ(L"Out", sz);
        EXPECT_TRUE(e->GetErrorMessage(sz, 0));
        EXPECT_STREQ(L"Out", sz);
        e->Delete();
    }
}

TEST(ExceptionTest, AnExceptionWithoutMessageSaysSo)
{
    COwnException exception;
    TCHAR sz[8] = L"###";
    EXPECT_FALSE(exception.GetErrorMessage(sz, ARRAYSIZE(sz)));
    EXPECT_STREQ(L"", sz);
}

TEST(ExceptionTest, DeleteFreesWhatWasMadeWithNew)
{
    COwnException::s_nDestroyed = 0;
    EXPECT_TRUE(Throws<COwnException>([] { throw new COwnException; }));
    EXPECT_EQ(1, COwnException::s_nDestroyed);
}

TEST(ExceptionTest, TheMacrosCatchAndDelete)
{
    COwnException::s_nDestroyed = 0;
    int nCaught = 0;
    TRY
    {
        THROW(new COwnException);
    }
    CATCH(CMemoryException, e)
    {
        nCaught = e->IsKindOf(RUNTIME_CLASS(CMemoryException)) ? 1 : -1;
    }
    AND_CATCH(COwnException, e)
    {
        nCaught = e->IsKindOf(RUNTIME_CLASS(COwnException)) ? 2 : -1;
    }
    END_CATCH
    EXPECT_EQ(2, nCaught);
    EXPECT_EQ(1, COwnException::s_nDestroyed);
}

TEST(ExceptionTest, ThrowLastPassesTheExceptionOn)
{
    COwnException::s_nDestroyed = 0;
    TRY
    {
        TRY
        {
            THROW(new COwnException);
        }
        CATCH_ALL(e)
        {
            EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(COwnException)));
            THROW_LAST();
        }
        END_CATCH_ALL
        ADD_FAILURE() << "not passed on";
    }
    END_TRY
    EXPECT_EQ(1, COwnException::s_nDestroyed);
}

TEST(DiagnosticsTest, VerifyAlwaysEvaluates)
{
    int nEvaluated = 0;
    VERIFY(++nEvaluated);
    EXPECT_EQ(1, nEvaluated);
#ifdef NDEBUG
    ASSERT(++nEvaluated == -1);
    EXPECT_EQ(1, nEvaluated);
#else
    EXPECT_DEATH(ASSERT(nEvaluated == -1), "assertion failed");
#endif
}

TEST(DiagnosticsTest, TraceTakesStringsAndKeepsTheLastError)
{
    const CString str(L"text");
    ::SetLastError(1234);
    TRACE(L"%s %d\n", str, 5);
    TRACE1("%s\n", str);
    AfxTrace(L"%s\n", str);
    EXPECT_EQ(1234u, ::GetLastError());
}
