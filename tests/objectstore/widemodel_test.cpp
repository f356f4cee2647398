// Long runs of random operations in two processes, ten handles each, on every kind of order, held answer by answer
// against the model of widemodel.h.
#include "child.h"
#include "widemodel.h"

#include <iterator>
#include <memory>
#include <random>

namespace {

constexpr int kSteps = 1500, kLongSteps = 20000;
constexpr size_t kMostRecords = 60;
const std::vector<CEPROPID> kAll = {kWideNumber, kWideText, kWideGroup, kWideKey};

struct CFlags
{
    DWORD dwNumber, dwText, dwSecond;
};

class WideModelTest : public VolumeTest, public testing::WithParamInterface<CFlags>
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        const CFlags& flags = GetParam();
        m_random.seed(flags.dwNumber * 31 + flags.dwText * 7 + flags.dwSecond);
        m_orders = {Order({{kWideNumber, flags.dwNumber}}), Order({{kWideText, flags.dwText}}),
                    Order({{kWideKey, flags.dwSecond & CEDB_SORT_DESCENDING}}, CEDB_SORT_UNIQUE),
                    Order({{kWideGroup, CEDB_SORT_NONNULL}, {kWideText, flags.dwSecond}, {kWideNumber, 0}})};
        MakeDatabase(m_guid, L"wide", m_orders);
        const std::vector<CWideHandle> handles = WideHandles(m_orders);
        std::vector<CWideOrder> orders = {CWideOrder()};
        for (const SORTORDERSPECEX& order : m_orders) orders.emplace_back(order);
        m_pModel = std::make_unique<CWideModel>(orders, 2 * handles.size());
        for (size_t i = 0; i < m_pModel->pointers.size(); ++i) {
            m_pModel->pointers[i].nOrder = i % handles.size() / 2;
            m_pModel->pointers[i].bAuto = i % 2;
        }
        m_nHandles = handles.size();
        m_pHere = std::make_unique<CPerformer>(m_guid, m_orders);
        m_pThere = std::make_unique<CChild>(L"performer", CArguments{m_strPath});
    }
    void TearDown() override
    {
        m_pThere.reset();
        m_pHere.reset();
        VolumeTest::TearDown();
    }
    unsigned Roll(unsigned nBelow) { return m_random() % nBelow; }
    // The handle's number is the model's: the second half is the other process's.
    std::string Do(const std::string& strVerb, size_t nPointer, const std::string& strRest)
    {
        const std::string strLine = strVerb + " " + std::to_string(nPointer % m_nHandles) + strRest;
        if (nPointer >= m_nHandles) m_pThere->Send(strLine);
        const std::string strAnswer = nPointer < m_nHandles ? m_pHere->Do(strLine) : m_pThere->ReadLine();
        m_nDone += strAnswer.compare(0, 5, "error") != 0;
        return strAnswer;
    }
    CEOID AnyOid()
    {
        if (m_pModel->records.empty() || Roll(30) == 0) return 1 + Roll(2000); // mostly of no record
        return std::next(m_pModel->records.begin(), Roll(static_cast<unsigned>(m_pModel->records.size())))->first;
    }
    std::wstring AnyText()
    {
        // Letters with and without case and accent, kana of both kinds, a wide letter, a symbol.
        static const wchar_t kLetters[] = L"abAB\x00e4\x00c4\x3042\x30a2\xff21-";
        std::wstring str(Roll(12) ? 0 : 260, L'k'); // some keys are longer than the engine's
        for (unsigned n = Roll(4); n > 0; --n) str += kLetters[Roll(10)];
        return str;
    }
    CFields AnyFields(unsigned nWhat)
    {
        CFields fields;
        if (nWhat & 1) fields.n = static_cast<long>(Roll(30)) - 15;
        if (nWhat & 2) fields.s = AnyText();
        if (nWhat & 4) fields.g = static_cast<long>(Roll(4)) - 2;
        if (nWhat & 8) fields.u = static_cast<long>(Roll(10) ? Roll(200) : 0x7FFFFFF0 + Roll(15));
        return fields;
    }
    void WriteOne(size_t nPointer, bool bNew)
    {
        const CEOID oid = bNew ? 0 : AnyOid();
        const CFields given = AnyFields(bNew && Roll(10) ? 12 + Roll(4) : 1 + Roll(15));
        std::vector<CEPROPID> removed;
        for (const CEPROPID propid : kAll)
            if (!given.Has(propid) && !bNew && Roll(6) == 0) removed.push_back(propid);
        const std::string strAnswer = Do("write", nPointer, " " + std::to_string(oid) + given.Say(kAll, removed));
        const auto found = m_pModel->records.find(oid);
        if (!bNew && found == m_pModel->records.end()) {
            ASSERT_EQ("error 87", strAnswer);
            return;
        }
        CFields result = bNew ? CFields() : found->second;
        if (given.n) result.n = given.n;
        if (given.s) result.s = given.s;
        if (given.g) result.g = given.g;
        if (given.u) result.u = given.u;
        for (const CEPROPID propid : removed) {
            if (propid == kWideNumber) result.n.reset();
            if (propid == kWideText) result.s.reset();
            if (propid == kWideGroup) result.g.reset();
            if (propid == kWideKey) result.u.reset();
        }
        if (const DWORD dwRefusal = m_pModel->Refusal(oid, result)) {
            ASSERT_EQ("error " + std::to_string(dwRefusal), strAnswer);
            return;
        }
        const CEOID oidWritten = std::strtoul(strAnswer.c_str(), nullptr, 10);
        if (bNew) {
            ASSERT_GT(oidWritten, m_oidLast) << strAnswer << ": OIDs rise, whichever process creates";
            m_oidLast = oidWritten;
        } else {
            ASSERT_EQ(oid, oidWritten) << strAnswer;
        }
        m_pModel->Wrote(nPointer, oidWritten, result);
    }
    void DeleteOne(size_t nPointer)
    {
        const CEOID oid = AnyOid();
        const std::string strAnswer = Do("delete", nPointer, " " + std::to_string(oid));
        if (!m_pModel->records.count(oid)) {
            ASSERT_EQ("error 87", strAnswer);
            return;
        }
        ASSERT_EQ("1", strAnswer);
        m_pModel->Deleted(nPointer, oid);
    }
    void SeekPlace(size_t nPointer, bool bAbsolute)
    {
        const DWORD kTypes[] = {CEDB_SEEK_BEGINNING, CEDB_SEEK_END, CEDB_SEEK_CEOID, CEDB_SEEK_CURRENT};
        const DWORD dwType = kTypes[bAbsolute ? Roll(2) : Roll(4)];
        const unsigned nCount = static_cast<unsigned>(m_pModel->records.size());
        const DWORD dwValue = dwType == CEDB_SEEK_CEOID     ? AnyOid()
                              : dwType == CEDB_SEEK_CURRENT ? static_cast<DWORD>(static_cast<long>(Roll(9)) - 4)
                              : bAbsolute                   ? 0
                              : dwType == CEDB_SEEK_END && Roll(8) == 0
                                  ? static_cast<DWORD>(-static_cast<long>(1 + Roll(5)))
                                  : Roll(nCount + 3);
        const std::string strAnswer =
            Do("seek", nPointer, " " + std::to_string(dwType) + " " + std::to_string(dwValue));
        ASSERT_EQ(m_pModel->Seek(nPointer, dwType, dwValue), strAnswer) << "type " << dwType << " value " << dwValue;
    }
    void SeekValue(size_t nPointer)
    {
        const SORTORDERSPECEX& spec = m_pModel->OrderOf(m_pModel->pointers[nPointer]).Spec();
        if (spec.wNumProps == 0) return;
        const WORD nParts = static_cast<WORD>(1 + Roll(spec.wNumProps));
        const std::vector<CEPROPID> sought(spec.rgPropID, spec.rgPropID + nParts);
        CFields value = AnyFields(15);
        const auto at = m_pModel->records.find(AnyOid());
        if (at != m_pModel->records.end() && Roll(2)) { // one that is there
            if (at->second.n) value.n = at->second.n;
            if (at->second.s) value.s = at->second.s;
            value.g = at->second.g;
            value.u = at->second.u;
        }
        const DWORD dwType = 0x10 << Roll(4);
        const std::string strAnswer = Do("find", nPointer, " " + std::to_string(dwType) + value.Say(sought));
        ASSERT_EQ(m_pModel->Find(nPointer, dwType, value, nParts), strAnswer)
            << "type " << dwType << " value" << value.Say(sought);
    }
    void Step()
    {
        // The other process does not see what a batch of this one has done: it waits for the end.
        if (m_nBatchSteps > 0 && --m_nBatchSteps == 0) {
            ASSERT_WORKS(::CeCommitBatch(&m_guid));
        } else if (m_nBatchSteps == 0 && Roll(80) == 0) {
            ASSERT_WORKS(::CeBeginBatch(&m_guid));
            m_nBatchSteps = 1 + Roll(40);
        }
        const size_t nPointer = Roll(static_cast<unsigned>(m_nBatchSteps > 0 ? m_nHandles : 2 * m_nHandles));
        const unsigned nWhat = Roll(100);
        SCOPED_TRACE("handle " + std::to_string(nPointer));
        const CWidePointer& pointer = m_pModel->pointers[nPointer];
        if (nWhat < 15 && m_pModel->records.size() < kMostRecords) return WriteOne(nPointer, true);
        if (nWhat < 30) return WriteOne(nPointer, false);
        if (nWhat < 40) return DeleteOne(nPointer);
        if (pointer.place == CWidePointer::kGap && pointer.bUncertain) {
            if (!m_pModel->records.empty()) SeekPlace(nPointer, true);
            return;
        }
        if (nWhat < 60) return SeekPlace(nPointer, false);
        if (nWhat < 80) return SeekValue(nPointer);
        const std::string strAnswer = Do("read", nPointer, "");
        ASSERT_EQ(m_pModel->Read(nPointer), strAnswer);
    }

    std::mt19937 m_random;
    std::vector<SORTORDERSPECEX> m_orders;
    std::unique_ptr<CWideModel> m_pModel;
    std::unique_ptr<CPerformer> m_pHere;
    std::unique_ptr<CChild> m_pThere;
    size_t m_nHandles = 0;
    unsigned m_nBatchSteps = 0; // that the present batch has yet to take; 0: there is none
    int m_nDone = 0;            // answers that are no errors
    CEOID m_oidLast = 0;
};

TEST_P(WideModelTest, TwoProcessesAgreeWithTheModel)
{
    // A new handle stands on the first record: here there is none, it is at the end.
    const int nSteps = IsLongRun() ? kLongSteps : kSteps;
    for (int i = 0; i < nSteps; ++i) {
        SCOPED_TRACE("step " + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(Step());
        if (i % 500 == 499) {
            ASSERT_EQ("1", i % 1000 == 499 ? m_pHere->Do("flush") : (m_pThere->Send("flush"), m_pThere->ReadLine()));
        }
    }
    if (m_nBatchSteps > 0) {
        EXPECT_WORKS(::CeCommitBatch(&m_guid));
    }
    EXPECT_GT(m_nDone, nSteps / 2);
    EXPECT_EQ("", CheckVolume(m_guid));
    m_pThere->Finish();
    m_pHere.reset();
    Remount();
    CEOID oid = 0;
    const CDb db(::CeOpenDatabaseEx(&m_guid, &oid, const_cast<LPWSTR>(L"wide"), 0, 0, nullptr));
    EXPECT_EQ(m_pModel->Sorted(0), WalkForward(db));
    for (size_t i = 0; i < m_orders.size(); ++i)
        EXPECT_EQ(m_pModel->Sorted(i + 1), WalkForward(OpenDb(m_guid, oid, m_orders[i]))) << i;
}

constexpr DWORD kDown = CEDB_SORT_DESCENDING, kFirst = CEDB_SORT_UNKNOWNFIRST, kCase = CEDB_SORT_CASEINSENSITIVE;

INSTANTIATE_TEST_SUITE_P(Flags, WideModelTest,
                         testing::Values(CFlags{0, 0, 0}, CFlags{kDown, kCase, kDown},
                                         CFlags{kFirst, kDown | kFirst, CEDB_SORT_GENERICORDER},
                                         CFlags{kDown | kFirst, CEDB_SORT_IGNORENONSPACE, kFirst},
                                         CFlags{0, CEDB_SORT_IGNORESYMBOLS | kDown, kCase | kDown | kFirst},
                                         CFlags{kDown, CEDB_SORT_IGNOREKANATYPE | CEDB_SORT_IGNOREWIDTH,
                                                CEDB_SORT_STRINGSORT},
                                         CFlags{0, CEDB_SORT_STRINGSORT | kFirst,
                                                CEDB_SORT_IGNORENONSPACE | CEDB_SORT_IGNORESYMBOLS |
                                                    CEDB_SORT_IGNOREKANATYPE | CEDB_SORT_IGNOREWIDTH | kCase},
                                         CFlags{0, CEDB_SORT_GENERICORDER | kDown, CEDB_SORT_IGNOREWIDTH}));

} // namespace
