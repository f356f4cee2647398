// CString: sharing of records, direct writing, locking, BSTRs.
#include "afx_print.h"

#include <gtest/gtest.h>

#include <oleauto.h>
#include <climits>
#include <thread>
#include <vector>

TEST(StringSharingTest, AStringIsOnePointerAtItsCharacters)
{
    const CString str(L"abc");
    EXPECT_EQ(sizeof(void*), sizeof(CString));
    EXPECT_EQ(static_cast<LPCTSTR>(str), *reinterpret_cast<const LPCTSTR*>(&str));
    EXPECT_EQ(1, RecordOf(str).nRefs);
    EXPECT_EQ(3, RecordOf(str).nDataLength);
    EXPECT_EQ(str.GetAllocLength(), RecordOf(str).nAllocLength);
    EXPECT_GE(str.GetAllocLength(), 3);
}

TEST(StringSharingTest, AllEmptyStringsOfTheProcessShareOneLockedRecord)
{
    CString strEmptied(L"abc");
    strEmptied.Empty();
    for (const CString& str :
         {CString(), CString(L""), CString(""), strEmptied, CString(strEmptied), CString(L"abc").Left(0)}) {
        EXPECT_EQ(_afxPchNil, static_cast<LPCTSTR>(str));
    }
    // The framework's own module made this one, with the same record.
    EXPECT_EQ(_afxPchNil, static_cast<LPCTSTR>(CTime(-1).Format(L"%Y")));
    EXPECT_EQ(-1, RecordOf(CString()).nRefs);
    EXPECT_EQ(0, RecordOf(CString()).nDataLength);
    EXPECT_EQ(0, RecordOf(CString()).nAllocLength);
}

TEST(StringSharingTest, CopiesShareUntilOneIsWritten)
{
    CString str(L"abc");
    {
        const CString strCopy(str);
        CString strAssigned;
        strAssigned = str;
        EXPECT_EQ(static_cast<LPCTSTR>(str), static_cast<LPCTSTR>(strCopy));
        EXPECT_EQ(static_cast<LPCTSTR>(str), static_cast<LPCTSTR>(strAssigned));
        EXPECT_EQ(3, RecordOf(str).nRefs);
        strAssigned.SetAt(0, L'x');
        EXPECT_EQ(2, RecordOf(str).nRefs);
        EXPECT_EQ(1, RecordOf(strAssigned).nRefs);
        EXPECT_EQ(L"abc", strCopy);
        EXPECT_EQ(L"xbc", strAssigned);
    }
    EXPECT_EQ(1, RecordOf(str).nRefs);
}

TEST(StringSharingTest, AWriterThatIsAloneWritesInPlace)
{
    CString str(L"abc");
    const LPCTSTR pch = str;
    str.SetAt(0, L'x');
    str.MakeUpper();
    str.Delete(0);
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str));
    EXPECT_EQ(L"BC", str);
}

TEST(StringSharingTest, TheCountIsRightWithTwoThreads)
{
    const CString str(L"shared");
    const auto copyOften = [&] {
        for (int i = 0; i < 50000; ++i) {
            CString strCopy(str);
            CString strOther;
            strOther = strCopy;
        }
    };
    std::thread other(copyOften);
    copyOften();
    other.join();
    EXPECT_EQ(1, RecordOf(str).nRefs);
    EXPECT_EQ(L"shared", str);
}

TEST(StringSharingTest, AVectorOfStringsGrowsWithoutCopyingText)
{
    std::vector<CString> strings;
    strings.emplace_back(L"first");
    const LPCTSTR pch = strings[0];
    for (int i = 0; i < 100; ++i) strings.emplace_back(L"next");
    EXPECT_EQ(pch, static_cast<LPCTSTR>(strings[0]));
    EXPECT_EQ(1, RecordOf(strings[0]).nRefs);
}

TEST(StringBufferTest, GetBufferIsPrivateKeepsTheTextAndHasTheRoom)
{
    CString str(L"abc");
    const CString strSharer(str);
    LPTSTR pch = str.GetBuffer(100);
    EXPECT_NE(static_cast<LPCTSTR>(strSharer), pch);
    EXPECT_STREQ(L"abc", pch);
    EXPECT_GE(str.GetAllocLength(), 100);
    std::wmemset(pch, L'x', 100);
    pch[100] = 0;
    str.ReleaseBuffer();
    EXPECT_EQ(CString(L'x', 100), str);
    EXPECT_EQ(L"abc", strSharer);
}

TEST(StringBufferTest, GetBufferOfAnEmptyStringIsWritable)
{
    CString str;
    for (const int nMinLength : {0, -1, INT_MIN}) {
        LPTSTR pch = str.GetBuffer(nMinLength);
        EXPECT_NE(_afxPchNil, pch);
        *pch = 0;
        str.ReleaseBuffer();
        EXPECT_TRUE(str.IsEmpty());
    }
}

TEST(StringBufferTest, GetBufferBeyondMemoryThrowsAndLeavesTheText)
{
    CString str(L"abc");
    EXPECT_TRUE(Throws<CMemoryException>([&] { str.GetBuffer(INT_MAX); }));
    EXPECT_TRUE(Throws<CMemoryException>([&] { str.GetBuffer(INT_MAX / 2 - 8); }));
    EXPECT_TRUE(Throws<CMemoryException>([&] { str.GetBufferSetLength(INT_MAX); }));
    EXPECT_EQ(L"abc", str);
}

TEST(StringBufferTest, ReleaseBufferTakesTheLengthOrLooksForTheTerminator)
{
    CString str;
    std::wcscpy(str.GetBuffer(20), L"abc\0def");
    str.ReleaseBuffer();
    EXPECT_TRUE(Same(str, L"abc", 3));
    std::wmemcpy(str.GetBuffer(20), L"abc\0def", 7);
    str.ReleaseBuffer(7);
    EXPECT_TRUE(Same(str, L"abc\0def", 7));
    str.GetBuffer(20);
    str.ReleaseBuffer(2);
    EXPECT_TRUE(Same(str, L"ab", 2));
    str.ReleaseBuffer(0);
    EXPECT_TRUE(str.IsEmpty());
}

TEST(StringBufferTest, ReleaseBufferStaysInsideTheBuffer)
{
    CString str;
    std::wmemset(str.GetBuffer(8), L'x', 8);
    const int nRoom = str.GetAllocLength();
    std::wmemset(str.GetBuffer(8), L'x', nRoom + 1); // over the terminator, which there is room for
    str.ReleaseBuffer();
    EXPECT_TRUE(Same(str, CString(L'x', nRoom), nRoom));
    str.GetBuffer(8);
    EXPECT_ASSERTION_OR(str.ReleaseBuffer(nRoom + 100), str.ReleaseBuffer(nRoom + 100));
    EXPECT_EQ(nRoom, str.GetLength());
    CString strEmpty;
    strEmpty.ReleaseBuffer();
    EXPECT_EQ(_afxPchNil, static_cast<LPCTSTR>(strEmpty));
}

TEST(StringBufferTest, ReleaseBufferOfASharedStringLeavesTheSharerAlone)
{
    CString str(L"abc");
    const CString strSharer(str);
    str.ReleaseBuffer(1);
    EXPECT_EQ(L"a", str);
    EXPECT_EQ(L"abc", strSharer);
}

TEST(StringBufferTest, GetBufferSetLengthSetsTheLengthAtOnce)
{
    CString str(L"abcdef");
    LPTSTR pch = str.GetBufferSetLength(3);
    EXPECT_TRUE(Same(str, L"abc", 3));
    pch = str.GetBufferSetLength(5);
    EXPECT_EQ(5, str.GetLength());
    EXPECT_EQ(L'\0', pch[5]);
    EXPECT_EQ(0, std::wmemcmp(pch, L"abc", 3));
    str.GetBufferSetLength(-4);
    EXPECT_TRUE(str.IsEmpty());
}

TEST(StringBufferTest, FreeExtraReallocatesToTheLength)
{
    CString str(L"abc");
    str.GetBuffer(1000);
    str.ReleaseBuffer();
    EXPECT_GE(str.GetAllocLength(), 1000);
    str.FreeExtra();
    EXPECT_EQ(3, str.GetAllocLength());
    EXPECT_EQ(L"abc", str);
    str.Delete(0, 3);
    str.FreeExtra();
    EXPECT_EQ(_afxPchNil, static_cast<LPCTSTR>(str));
}

TEST(StringBufferTest, EmptyGivesTheMemoryBack)
{
    CString str(L"abc");
    const CString strSharer(str);
    str.Empty();
    EXPECT_EQ(_afxPchNil, static_cast<LPCTSTR>(str));
    EXPECT_EQ(1, RecordOf(strSharer).nRefs);
}

TEST(StringLockTest, ALockedRecordIsNotShared)
{
    CString str(L"abc");
    LPTSTR pch = str.LockBuffer();
    EXPECT_EQ(-1, RecordOf(str).nRefs);
    const CString strCopy(str);
    CString strAssigned;
    strAssigned = str;
    EXPECT_NE(pch, static_cast<LPCTSTR>(strCopy));
    EXPECT_NE(pch, static_cast<LPCTSTR>(strAssigned));
    EXPECT_EQ(-1, RecordOf(str).nRefs);
    EXPECT_EQ(1, RecordOf(strCopy).nRefs);
    EXPECT_EQ(L"abc", strCopy);
    str.UnlockBuffer();
    EXPECT_EQ(1, RecordOf(str).nRefs);
    EXPECT_EQ(pch, static_cast<LPCTSTR>(CString(str)));
}

TEST(StringLockTest, LockingASharedStringMakesItPrivateFirst)
{
    CString str(L"abc");
    const CString strSharer(str);
    EXPECT_NE(static_cast<LPCTSTR>(strSharer), str.LockBuffer());
    EXPECT_EQ(1, RecordOf(strSharer).nRefs);
}

TEST(StringLockTest, AssignmentsCopyIntoALockedString)
{
    CString str(L"abcdef");
    LPTSTR pch = str.LockBuffer();
    const CString strOther(L"xyz");
    str = strOther;
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str));
    EXPECT_EQ(1, RecordOf(strOther).nRefs);
    str = CString(L"moved");
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str));
    EXPECT_EQ(L"moved", str);
    str = L"";
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str));
    str.Empty();
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str));
    str = L"longer than there is room for";
    EXPECT_EQ(-1, RecordOf(str).nRefs) << "a new buffer is locked as well";
    EXPECT_EQ(L"longer than there is room for", str);
    str += L'!';
    str.Format(L"%d", 5);
    EXPECT_EQ(-1, RecordOf(str).nRefs);
    EXPECT_EQ(L"5", str);
}

TEST(StringLockTest, AnEmptyStringCanBeLocked)
{
    CString str;
    str.LockBuffer();
    EXPECT_NE(_afxPchNil, static_cast<LPCTSTR>(str));
    EXPECT_EQ(-1, RecordOf(str).nRefs);
    str.UnlockBuffer();
    EXPECT_EQ(1, RecordOf(str).nRefs);
    CString strNil;
    strNil.UnlockBuffer();
    EXPECT_EQ(-1, RecordOf(strNil).nRefs);
}

TEST(StringBstrTest, AllocSysStringCopiesTheWholeLength)
{
    const CString str(L"a\0b", 3);
    BSTR bstr = str.AllocSysString();
    EXPECT_EQ(3u, ::SysStringLen(bstr));
    EXPECT_EQ(0, std::wmemcmp(bstr, L"a\0b", 4));
    ::SysFreeString(bstr);
    bstr = CString().AllocSysString();
    EXPECT_NE(nullptr, bstr);
    EXPECT_EQ(0u, ::SysStringLen(bstr));
    ::SysFreeString(bstr);
}

TEST(StringBstrTest, SetSysStringReplacesTheOldOne)
{
    BSTR bstr = ::SysAllocString(L"old text that is longer");
    const CString str(L"new\0x", 5);
    EXPECT_EQ(str.SetSysString(&bstr), bstr);
    EXPECT_EQ(5u, ::SysStringLen(bstr));
    EXPECT_EQ(0, std::wmemcmp(bstr, L"new\0x", 6));
    ::SysFreeString(bstr);
    bstr = NULL;
    str.SetSysString(&bstr);
    EXPECT_EQ(5u, ::SysStringLen(bstr));
    ::SysFreeString(bstr);
}
