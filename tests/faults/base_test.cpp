// Texts, paths, times, arrays, streams and the owner's record: each allocation and each call of the platform fails in
// turn. Memory that is out is the framework's exception, or the result that the header says, and nothing is half done.
#include "base/bytestream.h"
#include "base/errorutil.h"
#include "base/ownerinfo.h"
#include "base/path.h"
#include "base/pockettime.h"
#include "base/refcount.h"
#include "base/sizedarray.h"
#include "base/split.h"
#include "base/stringext.h"
#include "faults.h"

#include <comdef.h>

#include <cstring>
#include <string>

namespace {

constexpr long kNo = -1;

void ExpectMemory(EOutcome outcome, long)
{
    EXPECT_TRUE(outcome == EOutcome::kMemory || outcome == EOutcome::kBadAlloc) << outcome;
}

void ExpectCode(EOutcome outcome, long lCode)
{
    EXPECT_EQ(EOutcome::kCode, outcome);
    EXPECT_EQ(kNo, lCode);
}

void Fail(const char* pszName, const Operation& operation, const OutcomeCheck& check)
{
    FailEachAllocation(pszName, operation, EAfterwards::kNothingLeft, check);
}

class BaseFaultTest : public CFaultTest
{
};

class OwnerFaultTest : public CFaultTest
{
protected:
    OwnerFaultTest() : m_path(L"Software\\korvane-faults-owner-" + std::to_wstring(::GetCurrentProcessId()))
    {
        ::RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hRoot, nullptr);
        HKEY hKey = nullptr;
        ::RegCreateKeyExW(m_hRoot, L"ControlPanel\\Owner", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &hKey, nullptr);
        wchar_t record[100] = L"A name";
        std::wcscpy(record + 36, L"A company");
        EXPECT_EQ(ERROR_SUCCESS, ::RegSetValueExW(hKey, L"Owner", 0, REG_BINARY, reinterpret_cast<const BYTE*>(record),
                                                  sizeof(record)));
        ::RegCloseKey(hKey);
        ::RegOverridePredefKey(HKEY_CURRENT_USER, m_hRoot);
    }
    ~OwnerFaultTest() override
    {
        ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        ::RegDeleteKeyW(m_hRoot, L"ControlPanel\\Owner");
        ::RegDeleteKeyW(m_hRoot, L"ControlPanel");
        ::RegCloseKey(m_hRoot);
        ::RegDeleteKeyW(HKEY_CURRENT_USER, m_path.c_str());
    }

    const std::wstring m_path;
    HKEY m_hRoot = nullptr;
};

// Writes a value and reads it back, with what is left of the value as the result.
long ReadVariant(unsigned char* data, unsigned long cb, VARTYPE vt)
{
    KorvaneIO::CByteInputStream reader(data, cb);
    _variant_t value;
    reader >> value;
    return V_VT(&value) == vt && !reader.eof() ? 0 : kNo;
}

} // namespace

TEST_F(BaseFaultTest, APathThatMemoryIsOutForLeavesTheResultAlone)
{
    const CString base(L"\\maps\\city\\index.txt"), target(L"\\sounds\\bell.wav"), relative(L"..\\..\\c.txt");
    const auto into = [](auto make) {
        CString result(L"as it was");
        try {
            return make(result) ? 0L : kNo;
        } catch (CMemoryException*) {
            EXPECT_TRUE(result == L"as it was");
            throw;
        }
    };
    Fail(
        "getRelPath", [&] { return into([&](CString& result) { return getRelPath(base, target, result); }); },
        &ExpectMemory);
    Fail(
        "buildFullPath", [&] { return into([&](CString& result) { return buildFullPath(base, relative, result); }); },
        &ExpectMemory);
    Fail(
        "AppendPath",
        [] {
            CString path(L"\\maps");
            CUtil::AppendPath(path, L"city.idx");
            return path == L"\\maps\\city.idx" ? 0L : kNo;
        },
        &ExpectMemory);
}

TEST_F(BaseFaultTest, TextsAndTimesThrowTheFrameworksException)
{
    Fail(
        "Split",
        [] {
            const auto pieces = Split(CString(L"a,b,c"), CString(L","), 0, -1);
            return pieces.size() == 3 ? 0L : kNo;
        },
        &ExpectMemory);
    Fail(
        "GetFloat",
        [] {
            float result = 0;
            return CStringExt(L"12.25").GetFloat(result) && result == 12.25f ? 0L : kNo;
        },
        &ExpectMemory);
    Fail(
        "CStringExt of 8 bits", [] { return CStringExt("48 pages").GetUnsigned() == 48 ? 0L : kNo; }, &ExpectMemory);
    Fail(
        "CPocketPCTime::Format",
        [] {
            const CPocketPCTime time(2004, 3, 5, 14, 7, 9, -1);
            return time.Format(L"%d %b %Y %B %H:%M:%S") == L"5 mar 2004 march 14:07:09" ? 0L : kNo;
        },
        &ExpectMemory);
}

TEST_F(BaseFaultTest, AnArrayThatMemoryIsOutForSaysSo)
{
    Fail(
        "init",
        [] {
            CSizedArray array;
            const int nDone = array.init(100);
            EXPECT_EQ(100u, array.getSize()) << "the size stands";
            EXPECT_EQ(!nDone, array.isEmpty() != 0);
            return nDone ? 0L : kNo;
        },
        &ExpectCode);
    CSizedArray array;
    ASSERT_TRUE(array.init(10));
    std::memcpy(array.getData(), "123456789", 10);
    Fail(
        "setSize",
        [] {
            CSizedArray kept;
            if (!kept.init(10)) return kNo;
            std::memcpy(kept.getData(), "123456789", 10);
            const void* const pvBefore = kept.getData();
            const int nDone = kept.setSize(20);
            EXPECT_EQ(0, std::memcmp("123456789", kept.getData(), 10));
            EXPECT_EQ(nDone ? 20u : 10u, kept.getSize());
            EXPECT_EQ(!nDone, kept.getData() == pvBefore) << "nothing has changed";
            return nDone ? 0L : kNo;
        },
        &ExpectCode);
    Fail(
        "copyFrom",
        [&] {
            CSizedArray copy;
            const int nDone = copy.copyFrom(array);
            EXPECT_EQ(array.getSize(), copy.getSize());
            EXPECT_EQ(!nDone, copy.isEmpty() != 0);
            return nDone ? 0L : kNo;
        },
        &ExpectCode);
}

TEST_F(BaseFaultTest, ATextOfAStreamThrowsAndAVariantsTextIsRecorded)
{
    unsigned char data[200] = {};
    {
        CByteOutputStream writer(data, sizeof(data));
        writer << CString(L"a text of some length");
    }
    Fail(
        "read a text",
        [&] {
            KorvaneIO::CByteInputStream reader(data, sizeof(data));
            CString text;
            reader >> text;
            return text == L"a text of some length" ? 0L : kNo;
        },
        &ExpectMemory);
    {
        CByteOutputStream writer(data, sizeof(data));
        writer << _variant_t(L"a text of some length");
    }
    int nRecorded = 0;
    Fail(
        "read a variant of a text", [&] { return ReadVariant(data, sizeof(data), VT_BSTR); },
        [&](EOutcome outcome, long lCode) {
            if (outcome == EOutcome::kMemory) return; // the text that was read
            EXPECT_EQ(EOutcome::kRecord, outcome);
            EXPECT_EQ(E_OUTOFMEMORY, lCode);
            EXPECT_STREQ(L"base/errorutil", gErrFilename);
            EXPECT_EQ(61, gErrLinenumber);
            ++nRecorded;
        });
    EXPECT_EQ(1, nRecorded);
    CSizedArray array;
    ASSERT_TRUE(array.init(50));
    {
        CByteOutputStream writer(data, sizeof(data));
        ASSERT_TRUE(writer << array);
    }
    Fail(
        "readArray",
        [&] {
            KorvaneIO::CByteInputStream reader(data, sizeof(data));
            CSizedArray read;
            return reader.readArray(read) ? 0L : kNo;
        },
        &ExpectCode);
}

TEST_F(BaseFaultTest, AVariantThatCannotBeCopiedOrClearedIsRecorded)
{
    constexpr HRESULT kBadType = DISP_E_BADVARTYPE;
    const CFailing<&::VariantCopy> copy(kLibrary, "VariantCopy", kBadType, 0);
    const CFailing<&::VariantClear> clear(kLibrary, "VariantClear", kBadType, 0, EWork::kDone);
    unsigned char data[200] = {};
    const auto recorded = [](const char*, int, long lResult) {
        EXPECT_EQ(DISP_E_BADVARTYPE, lResult);
        EXPECT_STREQ(L"base/errorutil", gErrFilename);
        EXPECT_EQ(61, gErrLinenumber);
    };
    const auto record = [] {
        const long lCode = gErrHRESULT;
        gErrHRESULT = 0;
        return lCode;
    };
    FailEachCall(
        "write a variant",
        [&] {
            CByteOutputStream writer(data, sizeof(data));
            writer << _variant_t(5L);
            return record();
        },
        recorded);
    FailEachCall(
        "read a variant",
        [&] {
            ReadVariant(data, sizeof(data), VT_I4);
            return record();
        },
        recorded);
}

TEST_F(OwnerFaultTest, AnOwnersRecordThatCannotBeReadLeavesBothTextsAlone)
{
    const auto read = [] {
        CString name, company;
        try {
            const bool bRead = GetOwnerInfo(name, company);
            EXPECT_TRUE(bRead ? name == L"A name" && company == L"A company" : name.IsEmpty() && company.IsEmpty());
            return bRead ? 0L : kNo;
        } catch (CMemoryException*) {
            EXPECT_TRUE(name.IsEmpty() && company.IsEmpty()) << "one without the other";
            throw;
        }
    };
    {
        const CFailing<&::RegOpenKeyExW> open(kLibrary, "RegOpenKeyExW", ERROR_ACCESS_DENIED, 0);
        const CFailing<&::RegQueryValueExW> query(kLibrary, "RegQueryValueExW", ERROR_FILE_NOT_FOUND, 0);
        const CFailing<&::RegCloseKey> close(kLibrary, "RegCloseKey", ERROR_INVALID_HANDLE, 0, EWork::kDone);
        FailEachCall("GetOwnerInfo", read, [](const char* pszFunction, int, long lResult) {
            EXPECT_EQ(IsOneOf(pszFunction, {"RegCloseKey"}) ? 0 : kNo, lResult);
        });
    }
    Fail("GetOwnerInfo", read, &ExpectMemory);
}
