// Records from the inside: what is encoded is decoded, and damaged bytes are refused.
#include "record.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace store;

namespace {

constexpr CEPROPID PropOf(WORD wNumber, WORD wType)
{
    return static_cast<CEPROPID>(wNumber) << 16 | wType;
}

CField Number(WORD wNumber, WORD wType, ULONGLONG ullBits)
{
    CField field;
    field.propid = PropOf(wNumber, wType);
    field.ullBits = ullBits;
    return field;
}

CField Text(WORD wNumber, const wchar_t* psz)
{
    CField field;
    field.propid = PropOf(wNumber, CEVT_LPWSTR);
    EXPECT_TRUE(MeasureText(psz, 100000, field));
    return field;
}

CField Blob(WORD wNumber, const std::string& bytes)
{
    CField field;
    field.propid = PropOf(wNumber, CEVT_BLOB);
    field.form = CField::kBlob;
    field.p = reinterpret_cast<const BYTE*>(bytes.data());
    field.cch = static_cast<DWORD>(bytes.size());
    return field;
}

std::wstring TextOf(const CField& field)
{
    std::wstring str(field.cch + 1, L'?');
    ExpandText(str.data(), field);
    EXPECT_EQ(0, str.back());
    str.pop_back();
    return str;
}

std::vector<BYTE> Encode(const std::vector<CField>& fields, CShape& shape, WORD wId)
{
    shape.Assign(fields.data(), fields.size());
    shape.SetId(wId);
    std::vector<BYTE> bytes(RecordSize(fields.data(), shape));
    EncodeRecord(fields.data(), shape, bytes.data());
    return bytes;
}

TEST(RecordCodecTest, TheDocumentedExampleIsWhatIsWritten)
{
    CShape shape;
    const std::vector<BYTE> bytes =
        Encode({Number(1, CEVT_I4, 1001), Text(2, L"Z\x00FCrich"), Number(3, CEVT_BOOL, 1)}, shape, 0);
    const std::vector<BYTE> expected = {0x00, 0x00, 0xE9, 0x03, 0x00, 0x00, 0x06, 0x00, 0x00,
                                        0x00, 0x01, 'Z',  0xFC, 'r',  'i',  'c',  'h'};
    EXPECT_EQ(expected, bytes);
}

TEST(RecordCodecTest, EveryTypeComesBackAsItWentIn)
{
    const std::string blob("\0\1\2", 3);
    const std::vector<CField> fields = {Number(1, CEVT_I2, 0x8001),
                                        Number(1, CEVT_I4, 0x80000001),
                                        Number(1, CEVT_R8, 0x8000000000000001),
                                        Number(1, CEVT_BOOL, 0xFFFFFFFF),
                                        Number(1, CEVT_UI2, 0xFFFE),
                                        Number(1, CEVT_UI4, 0xFFFFFFFE),
                                        Text(1, L"wide \x4E2D\xD800 text"),
                                        Number(1, CEVT_FILETIME, 0xFEDCBA9876543210),
                                        Blob(1, blob),
                                        Text(2, L"narrow \x00FF text of more than sixteen"),
                                        Blob(2, ""),
                                        Text(3, L"")};
    for (const WORD wId : {WORD{7}, kInlineShape}) {
        CShape shape;
        const std::vector<BYTE> bytes = Encode(fields, shape, wId);
        CRecordView record;
        ASSERT_TRUE(record.Attach({bytes.data(), bytes.size()}, shape));
        CField field;
        for (size_t i = 0; i < fields.size(); ++i) {
            ASSERT_TRUE(record.Find(fields[i].propid, field));
            EXPECT_EQ(fields[i].propid, field.propid);
            if (TypeFromPropID(field.propid) == CEVT_LPWSTR)
                EXPECT_EQ(TextOf(fields[i]), TextOf(field));
            else if (TypeFromPropID(field.propid) == CEVT_BLOB)
                EXPECT_EQ(std::string(reinterpret_cast<const char*>(fields[i].p), fields[i].cch),
                          std::string(reinterpret_cast<const char*>(field.p), field.cch));
            else
                EXPECT_EQ(fields[i].ullBits, field.ullBits) << TypeFromPropID(field.propid);
        }
        ASSERT_TRUE(record.Find(PropOf(9, CEVT_I4), field));
        EXPECT_EQ(0u, field.propid) << "what a record lacks has no property id";
    }
}

TEST(RecordCodecTest, TextsBelow256TakeOneByteACharacter)
{
    CShape shape;
    const size_t cbNarrow = Encode({Text(1, L"\x00FF\x00FF\x00FF\x00FF")}, shape, 0).size();
    EXPECT_EQ(cbNarrow + 4, Encode({Text(1, L"\x0100\x00FF\x00FF\x00FF")}, shape, 0).size());
}

TEST(RecordCodecTest, TextsOfEveryLengthExpand)
{
    for (size_t cch = 0; cch < 70; ++cch) {
        std::wstring str;
        for (size_t i = 0; i < cch; ++i) str += static_cast<wchar_t>(1 + i * 3);
        CShape shape;
        const std::vector<CField> fields = {Text(1, str.c_str())};
        const std::vector<BYTE> bytes = Encode(fields, shape, 0);
        EXPECT_EQ(6 + cch, bytes.size());
        CRecordView record;
        CField field;
        ASSERT_TRUE(record.Attach({bytes.data(), bytes.size()}, shape) && record.Get(0, field));
        EXPECT_EQ(str, TextOf(field));
    }
}

TEST(RecordCodecTest, ABooleanIsKeptAsItsSmallNumber)
{
    static constexpr struct
    {
        DWORD dwIn, dwOut;
    } kCases[] = {{0, 0}, {1, 1}, {0xFFFFFFFF, 0xFFFFFFFF}, {127, 127}, {128, 1}, {0x80000000, 1}};
    for (const auto& c : kCases) {
        CShape shape;
        const std::vector<BYTE> bytes = Encode({Number(1, CEVT_BOOL, c.dwIn)}, shape, 0);
        CRecordView record;
        CField field;
        ASSERT_TRUE(record.Attach({bytes.data(), bytes.size()}, shape) && record.Get(0, field));
        EXPECT_EQ(c.dwOut, field.ullBits);
    }
}

TEST(RecordCodecTest, ATextLongerThanAllowedIsNotMeasuredToItsEnd)
{
    CField field;
    EXPECT_TRUE(MeasureText(L"abc", 3, field));
    EXPECT_EQ(3u, field.cch);
    EXPECT_FALSE(MeasureText(L"abcd", 3, field));
}

TEST(RecordCodecTest, AShapeIsAnAscendingListOfKnownTypes)
{
    const auto isShape = [](const std::vector<CEPROPID>& list) {
        CShape shape;
        return shape.Assign({reinterpret_cast<const BYTE*>(list.data()), list.size() * sizeof(CEPROPID)});
    };
    EXPECT_TRUE(isShape({}));
    EXPECT_TRUE(isShape({PropOf(1, CEVT_I4), PropOf(1, CEVT_LPWSTR), PropOf(2, CEVT_I2)}));
    EXPECT_FALSE(isShape({PropOf(2, CEVT_I4), PropOf(1, CEVT_I4)}));
    EXPECT_FALSE(isShape({PropOf(1, CEVT_I4), PropOf(1, CEVT_I4)}));
    EXPECT_FALSE(isShape({PropOf(1, 4)}));
    CShape shape;
    const BYTE rgHalf[] = {1, 2, 3};
    EXPECT_FALSE(shape.Assign({rgHalf, sizeof rgHalf}));
}

// Every truncation and many wrong bytes: the fields that are handed out lie inside the record.
TEST(RecordCodecTest, DamagedRecordsNeverPointOutside)
{
    const std::vector<CField> fields = {Number(1, CEVT_I4, 5), Text(2, L"narrow"), Text(3, L"w\x4E2D"),
                                        Blob(4, "blob")};
    CShape shape;
    const std::vector<BYTE> sound = Encode(fields, shape, 3);
    const auto look = [&](const std::vector<BYTE>& bytes) {
        CRecordView record;
        if (!record.Attach({bytes.data(), bytes.size()}, shape)) return;
        for (size_t i = 0; i < shape.Count(); ++i) {
            CField field;
            if (!record.Get(i, field) || field.form == CField::kNumber) continue;
            EXPECT_GE(field.p, bytes.data());
            EXPECT_LE(field.p + (field.form == CField::kWide ? field.cch * 2 : field.cch), bytes.data() + bytes.size());
        }
    };
    for (size_t cb = 0; cb < sound.size(); ++cb) look({sound.begin(), sound.begin() + cb});
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        std::vector<BYTE> bytes = sound;
        for (unsigned n = 1 + random() % 3; n > 0; --n) bytes[random() % bytes.size()] = static_cast<BYTE>(random());
        look(bytes);
    }
    WORD wShape;
    CBytes list;
    const BYTE rgInline[] = {0xFF, 0xFF, 0x02, 0x00, 1, 2, 3, 4};
    EXPECT_FALSE(CRecordView::ShapeOf({rgInline, 1}, wShape, list));
    EXPECT_FALSE(CRecordView::ShapeOf({rgInline, 3}, wShape, list));
    EXPECT_FALSE(CRecordView::ShapeOf({rgInline, 8}, wShape, list)) << "two properties need eight bytes";
}

} // namespace
