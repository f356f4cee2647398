// A long run of random operations, held step by step against a plain model in memory.
#include "support.h"

#include <algorithm>
#include <map>
#include <random>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr int kSteps = 20000;
constexpr size_t kMostRecords = 120;

struct CModelRecord
{
    bool bNumber = false, bName = false, bBlob = false;
    long nNumber = 0;
    std::wstring strName, strLower;
    std::vector<BYTE> blob;
    std::string Render() const
    {
        CProps props;
        if (bNumber) props.I4(1, nNumber);
        if (bName) props.Text(2, strName);
        if (bBlob) props.Blob(3, blob);
        return props.Render();
    }
};

using CModel = std::map<CEOID, CModelRecord>;

std::wstring Lower(std::wstring str)
{
    for (wchar_t& c : str) c = static_cast<wchar_t>(::towlower(c));
    return str;
}

// One handle on one order: descending numbers, records without one last; or names without case, records without one
// first. Names are of letters only, so that every locale sorts them alike.
class COrderModel
{
public:
    COrderModel(const CModel& model, bool bByName) : m_model(model), m_bByName(bByName) {}
    bool IsKnown(CEOID oid) const { return m_bByName ? m_model.at(oid).bName : m_model.at(oid).bNumber; }
    // Negative, 0, positive: the record's key against another, in the order's direction.
    int Compare(const CModelRecord& a, const CModelRecord& b) const
    {
        if (!m_bByName) return a.nNumber == b.nNumber ? 0 : a.nNumber > b.nNumber ? -1 : 1;
        return a.strLower.compare(b.strLower);
    }
    std::vector<CEOID> Sorted() const
    {
        std::vector<CEOID> oids;
        for (const auto& entry : m_model) oids.push_back(entry.first);
        std::stable_sort(oids.begin(), oids.end(), [&](CEOID a, CEOID b) {
            if (IsKnown(a) != IsKnown(b)) return m_bByName ? !IsKnown(a) : IsKnown(a);
            return IsKnown(a) && Compare(m_model.at(a), m_model.at(b)) < 0;
        });
        return oids;
    }
    CEOID FirstEqual(const CModelRecord& key) const
    {
        for (const CEOID oid : Sorted()) {
            if (IsKnown(oid) && Compare(m_model.at(oid), key) == 0) return oid;
        }
        return 0;
    }
    CEOID Greater(const CModelRecord& key) const
    {
        for (const CEOID oid : Sorted()) {
            if (IsKnown(oid) && Compare(m_model.at(oid), key) >= 0) return oid;
        }
        return 0;
    }
    CEOID Smaller(const CModelRecord& key) const
    {
        CEOID oidFound = 0;
        for (const CEOID oid : Sorted()) {
            if (IsKnown(oid) && Compare(m_model.at(oid), key) < 0) oidFound = oid;
        }
        return oidFound;
    }

private:
    const CModel& m_model;
    bool m_bByName;
};

class ModelTest : public VolumeTest, public testing::WithParamInterface<unsigned>
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_random.seed(GetParam());
        m_oidDatabase = MakeDatabase(m_guid, L"model",
                                     {Order({{kNumber, CEDB_SORT_DESCENDING}}),
                                      Order({{kName, CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_UNKNOWNFIRST}})});
        OpenHandles();
    }
    void TearDown() override
    {
        m_dbs.clear();
        VolumeTest::TearDown();
    }
    void OpenHandles()
    {
        m_dbs.clear();
        m_dbs.push_back(OpenDb(m_guid, m_oidDatabase, kNumber));
        m_dbs.push_back(OpenDb(m_guid, m_oidDatabase, kName));
    }
    unsigned Roll(unsigned nBelow) { return m_random() % nBelow; }
    CEOID AnyOid()
    {
        auto at = m_model.begin();
        std::advance(at, Roll(static_cast<unsigned>(m_model.size())));
        return at->first;
    }
    CModelRecord AnyKey()
    {
        CModelRecord key;
        key.nNumber = static_cast<long>(Roll(40)) - 20;
        // Some share a long beginning, longer than an engine's key.
        const wchar_t* const pszLetters = L"abcABC";
        if (Roll(8) == 0) key.strName.assign(700, L'k');
        for (unsigned n = Roll(4); n > 0; --n) key.strName += pszLetters[Roll(6)];
        key.strLower = Lower(key.strName);
        return key;
    }
    void WriteOne(bool bNew)
    {
        CEOID oid = bNew ? 0 : AnyOid();
        CModelRecord record = bNew ? CModelRecord() : m_model.at(oid);
        const CModelRecord key = AnyKey();
        CProps props;
        const unsigned nWhat = 1 + Roll(7);
        const bool bRemove = !bNew && Roll(5) == 0;
        if (nWhat & 1) {
            record.bNumber = !bRemove;
            record.nNumber = key.nNumber;
            if (bRemove)
                props.Remove(kNumber);
            else
                props.I4(1, key.nNumber);
        }
        if (nWhat & 2) {
            record.bName = true;
            record.strName = key.strName;
            record.strLower = key.strLower;
            props.Text(2, key.strName);
        }
        if (nWhat & 4) {
            record.bBlob = true;
            record.blob.assign(Roll(20) ? Roll(200) : Roll(9000), static_cast<BYTE>(Roll(256)));
            props.Blob(3, record.blob);
        }
        const HANDLE hDb = m_dbs[Roll(2)];
        const CEOID oidWritten = Write(hDb, oid, props);
        ASSERT_WORKS(oidWritten);
        if (bNew) {
            ASSERT_EQ(0u, m_model.count(oidWritten));
        } else {
            ASSERT_EQ(oid, oidWritten);
        }
        m_model[oidWritten] = record;
        ASSERT_EQ(record.Render(), Read(hDb).strContent) << "a write leaves the pointer on its record";
    }
    void DeleteOne()
    {
        const CEOID oid = AnyOid();
        ASSERT_WORKS(::CeDeleteRecord(m_dbs[Roll(2)], oid));
        m_model.erase(oid);
    }
    void SeekValue()
    {
        const bool bByName = Roll(2);
        const COrderModel order(m_model, bByName);
        const CModelRecord key = AnyKey();
        const CProps value =
            bByName ? std::move(CProps().Text(2, key.strName)) : std::move(CProps().I4(1, key.nNumber));
        const auto found = [&](DWORD dwType) {
            return ::CeSeekDatabase(m_dbs[bByName], dwType, value.Address(), nullptr);
        };
        CEOID oid = 0;
        switch (Roll(3)) {
        case 0:
            ASSERT_EQ(oid = order.FirstEqual(key), found(CEDB_SEEK_VALUEFIRSTEQUAL));
            break;
        case 1:
            ASSERT_EQ(oid = order.Greater(key), found(CEDB_SEEK_VALUEGREATER));
            break;
        default:
            ASSERT_EQ(oid = order.Smaller(key), found(CEDB_SEEK_VALUESMALLER));
            break;
        }
        if (oid == 0) return;
        ASSERT_EQ(m_model.at(oid).Render(), Read(m_dbs[bByName]).strContent);
    }
    // A place, then a few steps in both directions.
    void SeekPlace()
    {
        const bool bByName = Roll(2);
        const std::vector<CEOID> sorted = COrderModel(m_model, bByName).Sorted();
        const HANDLE hDb = m_dbs[bByName];
        int nAt = static_cast<int>(Roll(static_cast<unsigned>(sorted.size())));
        DWORD dwIndex = 0;
        ASSERT_EQ(sorted[nAt], ::CeSeekDatabase(hDb, CEDB_SEEK_BEGINNING, nAt, &dwIndex));
        for (int i = 0; i < 4; ++i) {
            const int nStep = static_cast<int>(Roll(9)) - 4;
            if (nAt + nStep < 0 || nAt + nStep >= static_cast<int>(sorted.size())) continue;
            nAt += nStep;
            ASSERT_EQ(sorted[nAt], ::CeSeekDatabase(hDb, CEDB_SEEK_CURRENT, static_cast<DWORD>(nStep), &dwIndex));
            ASSERT_EQ(static_cast<DWORD>(nAt), dwIndex);
        }
    }
    void WalkBoth()
    {
        for (const bool bByName : {false, true})
            ASSERT_EQ(COrderModel(m_model, bByName).Sorted(), WalkForward(m_dbs[bByName]));
        for (const auto& entry : m_model) {
            const CRecord record = ReadOid(m_dbs[0], entry.first);
            ASSERT_EQ(entry.second.Render(), record.strContent);
        }
        ASSERT_EQ(m_model.size(), CountRecords(m_guid, m_oidDatabase));
    }
    // Begins a batch now and then, and ends one after some steps.
    void ChangeBatch()
    {
        if (!m_bInBatch && Roll(50) == 0) {
            ASSERT_WORKS(::CeBeginBatch(&m_guid));
            m_bInBatch = true;
            m_before = m_model;
        } else if (m_bInBatch && Roll(60) == 0) {
            EndBatch(Roll(3) != 0);
        }
    }
    void EndBatch(bool bCommit)
    {
        if (!m_bInBatch) return;
        m_bInBatch = false;
        if (bCommit) {
            ASSERT_WORKS(::CeCommitBatch(&m_guid));
        } else {
            ASSERT_WORKS(::CeAbandonBatch(&m_guid));
            m_model = m_before;
        }
    }
    void Step()
    {
        const unsigned nWhat = Roll(100);
        if (m_model.empty() || (nWhat < 22 && m_model.size() < kMostRecords)) return WriteOne(true);
        if (nWhat < 45) return WriteOne(false);
        if (nWhat < 62) return DeleteOne();
        if (nWhat < 85) return SeekValue();
        return SeekPlace();
    }

    std::mt19937 m_random;
    CModel m_model;
    CModel m_before; // as it was when the batch began
    bool m_bInBatch = false;
    CEOID m_oidDatabase = 0;
    std::vector<CDb> m_dbs; // by number, by name
};

TEST_P(ModelTest, TwentyThousandOperationsAgreeWithTheModel)
{
    for (int i = 0; i < kSteps; ++i) {
        SCOPED_TRACE(i);
        ASSERT_NO_FATAL_FAILURE(ChangeBatch());
        ASSERT_NO_FATAL_FAILURE(Step());
        if (i % 250 == 0) {
            ASSERT_NO_FATAL_FAILURE(WalkBoth());
        }
        if (i % 1000 == 500) {
            ASSERT_WORKS(::CeFlushDBVol(&m_guid));
        }
        if (i % 4000 == 3999) {
            ASSERT_NO_FATAL_FAILURE(EndBatch(true));
            m_dbs.clear();
            ASSERT_NO_FATAL_FAILURE(Remount());
            OpenHandles();
        }
    }
    EndBatch(true);
    WalkBoth();
    EXPECT_EQ("", CheckVolume(m_guid));
}

INSTANTIATE_TEST_SUITE_P(Seeds, ModelTest, testing::Values(1u, 20021121u, 0xBADC0DEu));

} // namespace
