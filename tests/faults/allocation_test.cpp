// Each allocation that an operation makes fails in turn: malloc, new, HeapAlloc and SysAllocString alike, by way of the
// memory checker's hooks. The operation says so or does without, leaves nothing behind, and works the next time.
#include "base/bytestream.h"
#include "base/ownerinfo.h"
#include "base/path.h"
#include "base/split.h"
#include "db_fixture.h"
#include "registry/registrykey.h"
#include "support/guard/guard.h"
#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <afx.h>

#include <functional>
#include <new>
#include <set>
#include <string>

namespace {

// The allocation that fails, counted down; below zero none does.
int g_nUntil = -1;
int g_nCounted = 0;

bool FailOne()
{
    ++g_nCounted;
    return g_nUntil >= 0 && g_nUntil-- == 0;
}

enum class EOutcome
{
    kDone,     // it did without
    kCode,     // a negative code, or the object's error
    kMemory,   // the framework's CMemoryException
    kBadAlloc, // the C++ library's
    kComError, // _com_error, by which the automation types say it
};

EOutcome Attempt(const std::function<long()>& operation, int nFails)
{
    EOutcome outcome = EOutcome::kDone;
    g_nCounted = 0;
    g_nUntil = nFails;
    guard::SetFail(&FailOne);
    try {
        if (operation() < 0) outcome = EOutcome::kCode;
    } catch (CMemoryException* pException) {
        outcome = EOutcome::kMemory;
        pException->Delete();
    } catch (const std::bad_alloc&) {
        outcome = EOutcome::kBadAlloc;
    } catch (const _com_error&) {
        outcome = EOutcome::kComError;
    }
    guard::SetFail(nullptr);
    g_nUntil = -1;
    return outcome;
}

// Lets each allocation of `operation` fail.
void FailEach(const char* pszName, const std::function<long()>& operation)
{
    SCOPED_TRACE(pszName);
    // What is made on first use is made now.
    for (int i = 0; i < 2; ++i) ASSERT_EQ(EOutcome::kDone, Attempt(operation, -1));
    const int nAllocations = g_nCounted;
    EXPECT_GT(nAllocations, 0) << "there is nothing to fail";
    // The unwinder keeps what it has found out about each module that an exception passed through.
    for (int i = 0; i < nAllocations; ++i) Attempt(operation, i);
    int nReported = 0;
    for (int i = 0; i < nAllocations; ++i) {
        SCOPED_TRACE("allocation " + std::to_string(i) + " of " + std::to_string(nAllocations));
        gErrHRESULT = 0;
        const ULONGLONG ullBefore = guard::LastBlock();
        EOutcome outcome = Attempt(operation, i);
        // Where there is no result to give, the record takes the failure.
        if (gErrHRESULT < 0) outcome = EOutcome::kCode;
        gErrHRESULT = 0;
        nReported += outcome != EOutcome::kDone;
        if (const DWORD n = guard::CountOurs(ullBefore)) {
            ADD_FAILURE() << n << " blocks left behind";
            guard::TellOurs(ullBefore);
        }
        EXPECT_EQ(EOutcome::kDone, Attempt(operation, -1)) << "it has not recovered";
    }
    EXPECT_GT(nReported, 0) << "no failure was noticed at all";
    std::printf("%s: %d allocations failed in turn, %d reported\n", pszName, nAllocations, nReported);
}

// An opening that fails while it reads a catalogue leaves the catalogues' handles open. This closes the handles of
// databases that the library opened in its life and did not close.
class CDatabaseHandles
{
public:
    ~CDatabaseHandles()
    {
        for (HANDLE hDatabase : s_open) ::CeCloseHandle(hDatabase);
        s_open.clear();
    }

private:
    static HANDLE WINAPI Open(PCEGUID pGuid, PCEOID pOid, LPWSTR pszName, CEPROPID propid, DWORD dwFlags,
                              CENOTIFYREQUEST* pRequest)
    {
        const HANDLE hDatabase = ::CeOpenDatabaseEx(pGuid, pOid, pszName, propid, dwFlags, pRequest);
        if (hDatabase != INVALID_HANDLE_VALUE) s_open.insert(hDatabase);
        return hDatabase;
    }
    static BOOL WINAPI Close(HANDLE hDatabase)
    {
        s_open.erase(hDatabase);
        return ::CeCloseHandle(hDatabase);
    }

    static inline std::set<HANDLE> s_open;
    const CImportPatch m_openPatch{L"korvaneLib.dll", "CeOpenDatabaseEx@24", &CDatabaseHandles::Open};
    const CImportPatch m_closePatch{L"korvaneLib.dll", "CeCloseHandle@4", &CDatabaseHandles::Close};
};

class AllocationTest : public CItemsTest
{
protected:
    AllocationTest() { guard::TurnOn(guard::EPlace::kBehind); }
};

} // namespace

TEST_F(AllocationTest, TextOperationsReportTheFrameworksException)
{
    FailEach("join", [] {
        const CString text = CString(L"one") + L" and another";
        return text.GetLength() ? 0L : -1L;
    });
    FailEach("split", [] { return Split(CString(L"a,b,c"), CString(L","), 0, -1).empty() ? -1L : 0L; });
    FailEach("buildFullPath", [] {
        CString result;
        buildFullPath(CString(L"\\a\\b\\"), CString(L"..\\c"), result);
        return result == L"\\a\\c" ? 0L : -1L;
    });
}

TEST_F(AllocationTest, AStreamOfTextReportsOrThrows)
{
    unsigned char data[100] = {};
    CByteOutputStream writer(data, sizeof(data));
    writer << CString(L"a text of some length");
    FailEach("read a text", [&data] {
        KorvaneIO::CByteInputStream reader(data, sizeof(data));
        CString text;
        reader >> text;
        return text == L"a text of some length" ? 0L : -1L;
    });
}

TEST_F(AllocationTest, AVariantOfAStreamReportsOrThrows)
{
    unsigned char data[100] = {};
    CByteOutputStream writer(data, sizeof(data));
    const _variant_t text = Bstr(L"a text of some length");
    writer << text;
    FailEach("read a variant", [&data] {
        KorvaneIO::CByteInputStream reader(data, sizeof(data));
        _variant_t value;
        reader >> value;
        return V_VT(&value) == VT_BSTR ? 0L : -1L;
    });
}

TEST_F(AllocationTest, RowsReportACodeOrAnException)
{
    AddItem(1, L"one");
    ASSERT_EQ(0, m_row->MoveFirst());
    FailEach("getVal by name", [this] {
        _variant_t value;
        return m_row->getVal(L"Name", value);
    });
    FailEach("setVal by name", [this] {
        _variant_t value = Null();
        return m_row->setVal(L"Name", value);
    });
}

TEST_F(AllocationTest, ConnectionsReportACodeOrAnException)
{
    AddItem(1, L"one");
    {
        CItemsVolume volume(m_folder.File(L"other.vol"));
    }
    std::wstring path = m_folder.File(L"other.vol");
    FailEach("Open", [&path] {
        const CDatabaseHandles handles;
        CConnection connection;
        return connection.Open(path.data());
    });
    FailEach("OpenTable", [this] {
        CSmartPtr<CRow> row;
        return m_connection.OpenTable(L"Items", row);
    });
    FailEach("SetIndex", [this] {
        CSmartPtr<CRow> row;
        const long hr = m_connection.OpenTable(L"Items", row);
        return hr < 0 ? hr : row->SetIndex(L"ByName");
    });
    FailEach("ReadFromDB", [this] {
        CSmartPtr<CRow> row;
        const long hr = m_connection.OpenTable(L"Items", row);
        return hr < 0 ? hr : KorvaneCheckpoint(row->MoveFirst()) + row->ReadFromDB();
    });
    FailEach("WriteToDB", [this] {
        const long hr = m_row->MoveFirst();
        return hr < 0 ? hr : m_row->WriteToDB();
    });
}

TEST_F(AllocationTest, ARegistryKeyThatCannotBeMadeIsNull)
{
    CSmartPtr<CRegistryKey> root = CRegistryKey::HK_CURRENT_USER;
    FailEach("OpenKey", [&root] {
        CSmartPtr<CRegistryKey> key = root->OpenKey(L"Software", KEY_READ);
        return key ? key->GetError() : -1L;
    });
    FailEach("GetVals", [&root] {
        CSmartPtr<CRegistryKey> key = root->OpenKey(L"Software", KEY_READ);
        if (!key) return -1L;
        const CString text = key->GetVals(L"there is none");
        return 0L;
    });
}

TEST_F(AllocationTest, AVolumeThatCannotBeOpenedCanBeOpenedTheNextTime)
{
    {
        CItemsVolume volume(m_folder.File(L"other.vol"));
    }
    std::wstring path = m_folder.File(L"other.vol");
    const auto open = [&path] {
        const CDatabaseHandles handles;
        CConnection connection;
        return connection.Open(path.data());
    };
    Attempt(open, 14); // while the volume is locked
    EXPECT_EQ(EOutcome::kDone, Attempt(open, -1));
}
