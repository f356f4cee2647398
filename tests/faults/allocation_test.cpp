// Each allocation of rows, connections and registry keys fails in turn, those of the store below them too.
#include "database_fixture.h"
#include "registry/registrykey.h"
#include "support/guard/guard.h"

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

TEST_F(AllocationTest, AValueThatCannotBeCopiedIsAComErrorAndTheTargetIsWhole)
{
    AddItem(1, L"one");
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(0, m_row->ReadFromDB());
    int nComErrors = 0;
    const auto check = [&](EOutcome outcome, long lCode) {
        if (outcome == EOutcome::kMemory) return; // the name's text
        EXPECT_EQ(EOutcome::kComError, outcome);
        EXPECT_EQ(E_OUTOFMEMORY, lCode);
        ++nComErrors;
    };
    FailEachAllocation(
        "getVal by name",
        [this] {
            _variant_t value;
            V_VT(&value) = VT_I4;
            V_I4(&value) = 5;
            const std::string before = Describe(value);
            try {
                return m_row->getVal(L"Name", value);
            } catch (const _com_error&) {
                EXPECT_TRUE(V_VT(&value) == VT_EMPTY || Describe(value) == before);
                throw;
            }
        },
        EAfterwards::kNothingLeft, check);
    FailEachAllocation(
        "setVal by name",
        [this] {
            CSmartPtr<CRow> row;
            if (const long hr = m_connection.OpenTable(L"Items", row); hr < 0) return hr;
            const _variant_t text = Bstr(L"another one");
            _variant_t value = text;
            return row->setVal(L"Name", value);
        },
        EAfterwards::kNothingLeft,
        [](EOutcome outcome, long lCode) {
            EXPECT_TRUE(outcome != EOutcome::kCode || lCode == E_FAIL) << lCode;
            EXPECT_TRUE(outcome != EOutcome::kComError || lCode == E_OUTOFMEMORY) << lCode;
            EXPECT_NE(EOutcome::kRecord, outcome);
        });
    EXPECT_GT(nComErrors, 0);
}

TEST_F(AllocationTest, AnOpeningThatSucceedsWithoutSomeMemoryKnowsEverything)
{
    {
        CItemsVolume volume(m_folder.File(L"other.vol"));
    }
    std::wstring path = m_folder.File(L"other.vol");
    int nFields = 0, nIndexes = 0;
    const auto open = [&] {
        nFields = nIndexes = 0;
        const CNoteOpened note;
        COpenConnection connection;
        const long hr = connection.Open(path.data());
        EXPECT_EQ(hr == 0, connection.m_bOpen != 0);
        if (hr < 0) return hr;
        for (const auto& entry : connection.m_tables) {
            nFields += entry.second->m_nFields;
            nIndexes += entry.second->m_nIndexes;
        }
        return hr;
    };
    FailEachAllocation("Open", open, EAfterwards::kNothingLeft, [&](EOutcome outcome, long lCode) {
        if (outcome == EOutcome::kDone) {
            EXPECT_EQ(kItemFields, nFields);
            EXPECT_EQ(4, nIndexes);
        } else if (outcome == EOutcome::kCode) {
            EXPECT_EQ(E_FAIL, lCode);
        } else if (outcome == EOutcome::kComError) {
            EXPECT_EQ(E_OUTOFMEMORY, lCode);
        } else {
            EXPECT_NE(EOutcome::kRecord, outcome);
        }
    });
}

TEST_F(AllocationTest, ATableThatMemoryIsOutForIsACodeOrAnException)
{
    AddItem(1, L"one");
    const auto check = [](EOutcome outcome, long lCode) {
        if (outcome == EOutcome::kCode) {
            EXPECT_EQ(E_FAIL, lCode);
        } else if (outcome == EOutcome::kComError) {
            EXPECT_EQ(E_OUTOFMEMORY, lCode);
        } else {
            EXPECT_NE(EOutcome::kRecord, outcome);
        }
    };
    const auto fail = [&](const char* pszName, const Operation& operation) {
        FailEachAllocation(pszName, operation, EAfterwards::kNothingLeft, check);
    };
    fail("OpenTable", [this] {
        CSmartPtr<CRow> row = m_row;
        const long hr = m_connection.OpenTable(L"Items", row);
        EXPECT_EQ(hr < 0, row == m_row);
        return hr;
    });
    fail("SetIndex", [this] {
        CSmartPtr<CRow> row;
        const long hr = m_connection.OpenTable(L"Items", row);
        return hr < 0 ? hr : row->SetIndex(L"ByName");
    });
    fail("ReadFromDB", [this] {
        CSmartPtr<CRow> row;
        const long hr = m_connection.OpenTable(L"Items", row);
        if (hr < 0) return hr;
        EXPECT_EQ(0, row->MoveFirst());
        if (row->IsEOF()) return E_FAIL; // the store says no more than that
        const long hrRead = row->ReadFromDB();
        _variant_t value;
        if (hrRead == 0 && row->getVal(L"Name", value) == 0) {
            EXPECT_EQ("BSTR:one", Describe(value));
        }
        return hrRead;
    });
    fail("WriteToDB", [this] {
        const long hr = m_row->MoveFirst();
        if (hr < 0) return hr;
        if (m_row->IsEOF()) return E_FAIL;
        return m_row->WriteToDB();
    });
}

TEST_F(AllocationTest, ARowThatGotNoBufferMakesOneWhenItIsWritten)
{
    CSmartPtr<CRow> row;
    const auto open = [&] { return m_connection.OpenTable(L"Items", row); };
    // Whichever of its allocations fails, a row that there is nevertheless can be written.
    int nWritten = 0;
    for (int i = 0; i < 20; ++i) {
        row = nullptr;
        if (Attempt(open, i) != EOutcome::kDone) continue;
        _variant_t name = Bstr(L"one");
        EXPECT_EQ(0, row->AddNew());
        EXPECT_EQ(0, row->setVal(L"Name", name));
        EXPECT_EQ(0, row->WriteToDB());
        EXPECT_EQ(0, row->Delete());
        ++nWritten;
    }
    EXPECT_GT(nWritten, 0);
}

TEST_F(AllocationTest, ARegistryKeyThatCannotBeMadeIsNullAndATextIsTheKeysError)
{
    CSmartPtr<CRegistryKey> root = CRegistryKey::HK_CURRENT_USER;
    const std::wstring name = L"Software\\korvane-faults-" + std::to_wstring(::GetCurrentProcessId());
    FailEachAllocation(
        "OpenKey",
        [&root] {
            const CSmartPtr<CRegistryKey> key = root->OpenKey(L"Software", KEY_READ);
            return key ? key->GetError() : -1L;
        },
        EAfterwards::kNothingLeft,
        [](EOutcome outcome, long lCode) {
            EXPECT_EQ(EOutcome::kCode, outcome);
            EXPECT_EQ(-1, lCode) << "the pointer is null";
        });
    FailEachAllocation(
        "CreateKey",
        [&] {
            const CSmartPtr<CRegistryKey> key = root->CreateKey(name.c_str(), KEY_ALL_ACCESS);
            return key ? key->GetError() : -1L;
        },
        EAfterwards::kNothingLeft,
        [](EOutcome outcome, long lCode) {
            EXPECT_EQ(EOutcome::kCode, outcome);
            EXPECT_EQ(-1, lCode);
        });
    const CSmartPtr<CRegistryKey> key = root->CreateKey(name.c_str(), KEY_ALL_ACCESS);
    key->PutVals(L"Text", L"a text");
    int nErrors = 0;
    FailEachAllocation(
        "a text of a key",
        [&] {
            const CString text = key->GetVals(L"Text");
            const long lError = key->GetError();
            key->CleareError();
            EXPECT_TRUE(lError < 0 ? text.IsEmpty() : text == L"a text");
            return lError;
        },
        EAfterwards::kNothingLeft,
        [&](EOutcome outcome, long lCode) {
            if (outcome == EOutcome::kMemory) return; // the name's or the text's own
            EXPECT_EQ(EOutcome::kCode, outcome);
            EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_OUTOFMEMORY), lCode);
            ++nErrors;
        });
    EXPECT_EQ(1, nErrors);
    FailEachAllocation(
        "write a text of a key",
        [&] {
            key->PutVals(L"Text", L"a text");
            return key->GetError();
        },
        EAfterwards::kNothingLeft, [](EOutcome outcome, long) { EXPECT_EQ(EOutcome::kMemory, outcome); });
    root->Delete(name.c_str());
}

TEST_F(AllocationTest, AVolumeThatCannotBeOpenedCanBeOpenedTheNextTime)
{
    {
        CItemsVolume volume(m_folder.File(L"other.vol"));
    }
    std::wstring path = m_folder.File(L"other.vol");
    const auto open = [&path] {
        const CNoteOpened note;
        CConnection connection;
        return connection.Open(path.data());
    };
    Attempt(open, 14); // while the volume is locked
    EXPECT_EQ(EOutcome::kDone, Attempt(open, -1));
}
