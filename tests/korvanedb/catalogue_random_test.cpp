// Catalogues of random records: properties of any type under any id, tables that lead anywhere, indexes on nothing. The
// library may refuse whatever it likes, but everything that it opens can be walked, read and written, and the volume
// stays sound.
#include "db_fixture.h"

#include <korvanebatch.h>

#include <random>

namespace {

// From the program's start: a test leaves no block behind.
const std::wstring g_texts[] = {
    L"", L"A", L"a", L"T", L"MSysTables", L"F%s%n", std::wstring(300, L'x'), std::wstring(9000, L'\xD800')};

class RandomCatalogueTest : public CDbTest
{
protected:
    CEPROPID AnyProperty()
    {
        static constexpr WORD kTypes[] = {CEVT_I2,  CEVT_I4,     CEVT_R8,       CEVT_BOOL, CEVT_UI2,
                                          CEVT_UI4, CEVT_LPWSTR, CEVT_FILETIME, CEVT_BLOB};
        // Mostly what the catalogues have themselves.
        static constexpr CEPROPID kOwn[] = {0x0000001F, 0x00010003, 0x00000003, 0x0001001F,
                                            0x00020003, 0x00030002, 0x00040002, 0x00030003};
        if (m_random() % 4) return kOwn[m_random() % std::size(kOwn)];
        return m_random() % 6 << 16 | kTypes[m_random() % std::size(kTypes)];
    }
    long AnyNumber()
    {
        static constexpr DWORD kNumbers[] = {0,          1,          3,          0x0000001F, 0x00010003, 0x0002001F,
                                             0x00030005, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFF0041, 0x00010041};
        if (m_random() % 2 && !m_oids.empty()) return static_cast<long>(m_oids[m_random() % m_oids.size()]);
        return static_cast<long>(m_random() % 3 ? kNumbers[m_random() % std::size(kNumbers)] : m_random());
    }
    CEOID AnyDatabase() { return m_random() % 2 ? m_oids.back() : static_cast<CEOID>(AnyNumber()); }
    const wchar_t* AnyText() { return g_texts[m_random() % std::size(g_texts)].c_str(); }
    void AddAnyRecord(CVolume& volume, CEOID oidDatabase)
    {
        std::vector<CEPROPVAL> values;
        for (unsigned n = m_random() % 6; n > 0 || values.empty(); n -= n > 0) {
            CEPROPVAL value = {};
            value.propid = AnyProperty();
            bool bNew = true;
            for (const CEPROPVAL& other : values) bNew = bNew && other.propid != value.propid;
            if (!bNew) continue;
            switch (TypeFromPropID(value.propid)) {
            case CEVT_LPWSTR:
                value.val.lpwstr = const_cast<LPWSTR>(AnyText());
                break;
            case CEVT_BLOB:
                value.val.blob = {sizeof m_blob, m_blob};
                break;
            case CEVT_R8:
                value.val.dblVal = AnyNumber() / 3.0;
                break;
            case CEVT_FILETIME:
                value.val.filetime = {static_cast<DWORD>(AnyNumber()), static_cast<DWORD>(AnyNumber())};
                break;
            default:
                value.val.lVal = AnyNumber();
            }
            values.push_back(value);
        }
        volume.Add(oidDatabase, values);
    }
    void UseTable(CConnection& connection, const CString& name)
    {
        CSmartPtr<CRow> row;
        if (connection.OpenTable(name, row) < 0 || !row) return;
        ++m_nOpened;
        const CSmartPtr<CTable> table = row->getTable();
        for (int nIndex = -1; nIndex < table->m_nIndexes; ++nIndex) {
            if (nIndex >= 0 && row->SetIndex(table->m_pIndexes[nIndex].m_sName) < 0) return;
            int nSeen = 0;
            for (long hr = row->MoveFirst(); hr >= 0 && !row->IsEOF() && nSeen < 20; hr = row->MoveNext(), ++nSeen) {
                row->ReadFromDB();
                for (int i = -1; i <= table->m_nFields; ++i) {
                    _variant_t value;
                    if (row->getVal(i, value) >= 0) ++m_nRead;
                    row->setVal(i, value);
                }
                row->WriteToDB();
                gErrHRESULT = 0;
            }
        }
        _variant_t value(AnyNumber());
        row->Seek(KorvaneDB::SeekValueFirstEqual, value);
        if (row->AddNew() >= 0) row->WriteToDB();
    }

    std::mt19937 m_random{20261};
    std::vector<CEOID> m_oids;
    BYTE m_blob[20] = {1, 2, 3};
    int m_nOpened = 0, m_nRead = 0;
};

TEST_F(RandomCatalogueTest, WhatItsRecordsSayIsRefusedOrUsedAndDamagesNothing)
{
    const int nRounds = ::GetEnvironmentVariableW(L"KORVANE_LONG", nullptr, 0) ? 3000 : 150;
    for (int nRound = 0; nRound < nRounds; ++nRound) {
        SCOPED_TRACE(nRound);
        const std::wstring path = m_folder.File(L"random" + std::to_wstring(nRound) + L".vol");
        {
            CVolume volume(path);
            volume.CreateCatalogues();
            m_oids = {volume.m_oidTables, volume.m_oidFields, volume.m_oidIndexes,
                      volume.Create(L"Data", {{0x00010003}, {0x0000001F}})};
            for (unsigned n = 1 + m_random() % 5; n > 0; --n) AddAnyRecord(volume, m_oids.back());
            volume.CatalogueTable(L"Data", m_oids.back());
            // Some of the records have the right form, whatever they say.
            for (unsigned n = m_random() % 6; n > 0; --n)
                volume.CatalogueField(AnyDatabase(), AnyText(), AnyProperty(), static_cast<short>(m_random()),
                                      static_cast<short>(m_random() % 14));
            for (unsigned n = m_random() % 3; n > 0; --n)
                volume.CatalogueIndex(AnyDatabase(), AnyText(), AnyProperty(), AnyNumber());
            // One record of none of a catalogue's properties, and the library refuses the volume.
            for (const CEOID oid : {volume.m_oidTables, volume.m_oidFields, volume.m_oidIndexes})
                for (unsigned n = nRound % 3 ? 0 : m_random() % 4; n > 0; --n) AddAnyRecord(volume, oid);
            {
                COpenConnection connection;
                if (connection.Open(volume.Path()) >= 0) {
                    for (const auto& [name, oid] : connection.GetTableNames()) UseTable(connection, name);
                } else {
                    connection.ReleaseSystemTables(); // they stay open when one cannot be read
                }
            }
            gErrHRESULT = 0;
            wchar_t problem[200] = L"";
            ASSERT_TRUE(::CeCheckDBVol(volume.Guid(), problem, 200)) << std::string(problem, problem + 80);
        }
        ::DeleteFileW(path.c_str());
    }
    RecordProperty("opened", m_nOpened);
    RecordProperty("read", m_nRead);
    EXPECT_GT(m_nOpened, nRounds / 2);
    EXPECT_GT(m_nRead, nRounds);
}

} // namespace
