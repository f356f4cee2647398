// Each allocation of texts, streams, rows, connections and registry keys fails in turn.
#include "base/bytestream.h"
#include "base/ownerinfo.h"
#include "base/path.h"
#include "base/split.h"
#include "db_fixture.h"
#include "faults.h"
#include "registry/registrykey.h"
#include "support/guard/guard.h"
#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <afx.h>

#include <string>

namespace {

class AllocationTest : public CItemsTest
{
protected:
    AllocationTest() { guard::TurnOn(guard::EPlace::kBehind); }
};

} // namespace

TEST_F(AllocationTest, TextOperationsReportTheFrameworksException)
{
    FailEachAllocation("join", [] {
        const CString text = CString(L"one") + L" and another";
        return text.GetLength() ? 0L : -1L;
    });
    FailEachAllocation("split", [] { return Split(CString(L"a,b,c"), CString(L","), 0, -1).empty() ? -1L : 0L; });
    FailEachAllocation("buildFullPath", [] {
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
    FailEachAllocation("read a text", [&data] {
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
    FailEachAllocation("read a variant", [&data] {
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
    FailEachAllocation("getVal by name", [this] {
        _variant_t value;
        return m_row->getVal(L"Name", value);
    });
    FailEachAllocation("setVal by name", [this] {
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
    };
    // An opening that fails while it reads a catalogue leaves the catalogues' handles open.
    FailEachAllocation("Open", open, EAfterwards::kHandlesKept);
    FailEachAllocation("OpenTable", [this] {
        CSmartPtr<CRow> row;
        return m_connection.OpenTable(L"Items", row);
    });
    FailEachAllocation("SetIndex", [this] {
        CSmartPtr<CRow> row;
        const long hr = m_connection.OpenTable(L"Items", row);
        return hr < 0 ? hr : row->SetIndex(L"ByName");
    });
    FailEachAllocation("ReadFromDB", [this] {
        CSmartPtr<CRow> row;
        const long hr = m_connection.OpenTable(L"Items", row);
        return hr < 0 ? hr : KorvaneCheckpoint(row->MoveFirst()) + row->ReadFromDB();
    });
    FailEachAllocation("WriteToDB", [this] {
        const long hr = m_row->MoveFirst();
        return hr < 0 ? hr : m_row->WriteToDB();
    });
}

TEST_F(AllocationTest, ARegistryKeyThatCannotBeMadeIsNull)
{
    CSmartPtr<CRegistryKey> root = CRegistryKey::HK_CURRENT_USER;
    FailEachAllocation("OpenKey", [&root] {
        CSmartPtr<CRegistryKey> key = root->OpenKey(L"Software", KEY_READ);
        return key ? key->GetError() : -1L;
    });
    FailEachAllocation("GetVals", [&root] {
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
