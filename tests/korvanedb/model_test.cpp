// A row against the model: 5,000 random operations, compared after each one.
#include "model.h"

#include <random>

using namespace KorvaneDB;

class ModelTest : public CDbTest, public testing::WithParamInterface<unsigned>
{
protected:
    ModelTest() : m_volume(m_folder.File(L"model.vol")), m_random(GetParam())
    {
        std::list<CTableDefinition> definitions = {
            {L"Items",
             {{{L"Id", CEVT_I4}, {L"Name", CEVT_LPWSTR}, {L"Small", CEVT_I2}},
              {{L"0", {kId, 0}}, {L"1", {kName, 0}}, {L"2", {kSmall, CEDB_SORT_DESCENDING}}}}}};
        m_volume.Create(L"Items", {{kId}, {kName}, {kSmall, CEDB_SORT_DESCENDING}});
        EXPECT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), definitions));
        EXPECT_EQ(0, m_connection.OpenTable(L"Items", m_row));
        EXPECT_EQ(0, m_connection.OpenTable(L"Items", m_other));
    }

    int Random(int nBelow) { return static_cast<int>(m_random() % nBelow); }

    CModelValue RandomValue(int nField)
    {
        CModelValue value;
        if (nField == 1) {
            value.kind = CModelValue::String;
            value.text.assign(Random(3), static_cast<wchar_t>(L'a' + Random(4)));
            if (Random(100) == 0) value.text.assign(4500, L'q');
        } else {
            value.kind = CModelValue::Number;
            value.lNumber = Random(12) - 4;
        }
        return value;
    }

    static _variant_t Variant(const CModelValue& value, int nField)
    {
        switch (value.kind) {
        case CModelValue::None:
            return Null();
        case CModelValue::String:
            return Bstr(value.text.c_str());
        default:
            return nField == 2 ? _variant_t(static_cast<short>(value.lNumber)) : _variant_t(value.lNumber);
        }
    }

    CEOID RandomOid()
    {
        if (Random(8) == 0 || m_model.records.empty())
            return m_oidsGone.empty() ? 0 : m_oidsGone[Random(m_oidsGone.size())];
        return m_model.records[Random(static_cast<int>(m_model.records.size()))].oid;
    }

    long SetRandomValues(CRow& row, CModelFields& fields)
    {
        long hr = 0;
        const bool bNothing = Random(12) == 0; // a record that cannot be read
        for (int i = 0; i < 3; ++i) {
            fields[i] = bNothing || Random(6) == 0 ? CModelValue() : RandomValue(i);
            _variant_t value = Variant(fields[i], i);
            hr |= row.setVal(i, value);
        }
        return hr;
    }

    // Something happens to the table through the other row.
    void ChangeThroughTheOtherRow()
    {
        const CEOID oid = m_model.records.empty() ? 0 : m_model.records[Random(m_model.records.size())].oid;
        CModelFields fields;
        switch (oid ? Random(3) : 0) {
        case 0:
            m_strStep += " add";
            ASSERT_EQ(0, m_other->AddNew());
            ASSERT_EQ(0, SetRandomValues(*m_other, fields));
            ASSERT_EQ(0, m_other->WriteToDB());
            m_model.records.push_back({m_other->getBookmark(), fields});
            break;
        case 1:
            m_strStep += " change";
            ASSERT_EQ(0, m_other->setBookmark(oid));
            ASSERT_EQ(0, SetRandomValues(*m_other, fields));
            ASSERT_EQ(0, m_other->WriteToDB());
            m_model.Find(oid)->fields = fields;
            break;
        default:
            // Which gap a record leaves that was first changed and then deleted behind a handle is nobody's promise.
            if (m_model.records.size() < 2 || m_model.ChangedUnderTheHandle(oid)) break;
            m_strStep += " delete";
            ASSERT_EQ(0, m_other->setBookmark(oid));
            ASSERT_EQ(0, m_other->Delete());
            m_model.DeleteOther(oid);
            m_oidsGone.push_back(oid);
        }
    }

    void WriteBoth(long& lModel, long& lRow)
    {
        lRow = m_row->WriteToDB();
        lModel = m_model.Write(m_row->getBookmark());
    }

    void Step()
    {
        long lModel = 0, lRow = 0;
        // Where a handle stands in a table that had become empty is nobody's promise: the row itself fills it again.
        const int nOperation = m_model.records.empty() ? 100 : Random(22);
        m_strStep = "operation " + std::to_string(nOperation);
        switch (nOperation) {
        case 100:
            lModel = lRow = m_row->AddNew();
            m_model.oid = 0;
            EXPECT_EQ(0, SetRandomValues(*m_row, m_model.values));
            WriteBoth(lModel, lRow);
            break;
        case 0:
            lModel = m_model.MoveFirst(), lRow = m_row->MoveFirst();
            break;
        case 1:
        case 2:
        case 3:
            lModel = m_model.MoveNext(), lRow = m_row->MoveNext();
            break;
        case 4:
        case 5:
            lModel = m_model.MovePrev(), lRow = m_row->MovePrev();
            break;
        case 6:
            lModel = m_model.MoveLast(), lRow = m_row->MoveLast();
            break;
        case 7:
        case 8:
            lModel = m_model.Read(), lRow = m_row->ReadFromDB();
            break;
        case 9:
            EXPECT_EQ(0, SetRandomValues(*m_row, m_model.values));
            break;
        case 10:
        case 11:
            WriteBoth(lModel, lRow);
            break;
        case 12:
            lRow = m_row->AddNew();
            m_model.oid = 0;
            break;
        case 13: {
            const CEOID oid = m_model.oid;
            lModel = m_model.Delete(), lRow = m_row->Delete();
            if (lModel == 0) m_oidsGone.push_back(oid);
            break;
        }
        case 14: {
            const int nIndex = Random(4) - 1;
            lModel = m_model.SetIndex(nIndex);
            lRow = m_row->SetIndex(nIndex < 0 ? L"none" : std::to_wstring(nIndex).c_str());
            if (m_model.oid == 0 && !m_model.filter) { // a fresh handle's place is settled by a move
                m_model.MoveFirst();
                EXPECT_EQ(0, m_row->MoveFirst());
            } else if (m_model.oid == 0) {
                m_model.filter.reset();
                EXPECT_EQ(0, m_row->SetFilter(_variant_t()));
                m_model.MoveFirst();
                EXPECT_EQ(0, m_row->MoveFirst());
            }
            break;
        }
        case 15:
        case 16: {
            static constexpr SeekEnum kTypes[] = {SeekValueFirstEqual, SeekValueNextEqual, SeekValueSmaller,
                                                  SeekValueGreater};
            const SeekEnum type = kTypes[Random(4)];
            const int nField = Random(10) == 0 || m_model.nIndex < 0 ? 1 : m_model.nIndex;
            const CModelValue value = RandomValue(nField);
            m_strStep += " type " + std::to_string(type) + ", index " + std::to_string(m_model.nIndex) + ", value " +
                         Describe(Variant(value, nField)).substr(0, 12);
            lModel = m_model.Seek(type, value), lRow = m_row->Seek(type, Variant(value, nField));
            break;
        }
        case 17: {
            const CEOID oid = Random(20) ? RandomOid() : 0;
            lModel = m_model.SetBookmark(oid), lRow = m_row->setBookmark(oid);
            break;
        }
        case 18: {
            m_model.filter.reset();
            _variant_t filter;
            if (m_model.nIndex >= 0 && Random(2)) {
                m_model.filter = RandomValue(m_model.nIndex);
                filter = Variant(*m_model.filter, m_model.nIndex);
            }
            lRow = m_row->SetFilter(filter);
            break;
        }
        default:
            ChangeThroughTheOtherRow();
        }
        EXPECT_EQ(lModel, lRow);
    }

    void Compare()
    {
        EXPECT_EQ(m_model.oid, m_row->getBookmark());
        EXPECT_EQ(m_model.bEof, m_row->IsEOF());
        EXPECT_EQ(m_model.bBof, m_row->IsBOF());
        unsigned long ulRows = 0;
        EXPECT_EQ(0, m_row->getNumRows(ulRows));
        EXPECT_EQ(m_model.records.size(), ulRows);
        _variant_t value;
        for (int i = 0; i < 3; ++i) {
            if (!m_model.oid) {
                EXPECT_EQ(E_FAIL, m_row->getVal(i, value));
                continue;
            }
            EXPECT_EQ(0, m_row->getVal(i, value));
            EXPECT_EQ(Describe(Variant(m_model.values[i], i)), Describe(value));
        }
    }

    // The whole table, through a row of its own.
    void CompareTable()
    {
        CSmartPtr<CRow> row;
        ASSERT_EQ(0, m_connection.OpenTable(L"Items", row));
        ASSERT_EQ(0, row->MoveFirst());
        for (const CModelRecord& record : m_model.records) {
            ASSERT_EQ(record.oid, row->getBookmark());
            const long hr = row->ReadFromDB();
            _variant_t value;
            for (int i = 0; i < 3 && hr == 0; ++i) {
                ASSERT_EQ(0, row->getVal(i, value));
                ASSERT_EQ(Describe(Variant(record.fields[i], i)), Describe(value));
            }
            ASSERT_EQ(0, row->MoveNext());
        }
        ASSERT_EQ(1, row->IsEOF());
    }

    CVolume m_volume;
    CConnection m_connection;
    CSmartPtr<CRow> m_row, m_other;
    CModel m_model;
    std::mt19937 m_random;
    std::vector<CEOID> m_oidsGone;
    std::string m_strStep;
};

TEST_P(ModelTest, FiveThousandRandomOperationsAgree)
{
    std::string history;
    for (int nStep = 0; nStep < 5000 && !HasFailure(); ++nStep) {
        Step();
        Compare();
        if (nStep % 500 == 499) CompareTable();
        history += std::to_string(nStep) + ": " + m_strStep + "\n";
        if (history.size() > 600) history.erase(0, history.find('\n') + 1);
    }
    if (HasFailure()) ADD_FAILURE() << "seed " << GetParam() << ", the last steps:\n" << history;
    EXPECT_GT(m_oidsGone.size(), 100u) << "the operations were no fair mixture";
}

INSTANTIATE_TEST_SUITE_P(Seeds, ModelTest, testing::Values(1u, 20021u, 4000000007u));
