// The memory streams: positions, ends, bulk operations, arrays, and that their short cuts change nothing.
#include "korvanelib.h"

#include "stream_support.h"
#include "support/import_patch.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using KorvaneIO::CByteInputStream;

TEST(ByteStreamTest, ANewStreamStandsAtTheStartWithoutError)
{
    unsigned char block[4] = {};
    CByteOutputStream out(block, sizeof block);
    CByteInputStream in(block, sizeof block);
    long position = -1;
    EXPECT_EQ(out.getCurrentStreamPosition(position), 1);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(out.getError(), 0);
    EXPECT_EQ(out.getDataSize(), 0u);
    position = -1;
    EXPECT_EQ(in.getCurrentStreamPosition(position), 1);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(in.getError(), 0);
    EXPECT_EQ(in.eof(), 0);
}

TEST(ByteStreamTest, ReadingPastTheEndGivesZeroAndDoesNotMove)
{
    unsigned char data[] = {7};
    CByteInputStream in(data, sizeof data);
    EXPECT_EQ(in.ReadByte(), 7);
    EXPECT_EQ(in.eof(), 0);
    EXPECT_EQ(in.ReadByte(), 0);
    EXPECT_EQ(in.eof(), 1);
    EXPECT_EQ(in.getError(), STREAM_E_EOF);
    long position = 0;
    in.getCurrentStreamPosition(position);
    EXPECT_EQ(position, 1);
}

TEST(ByteStreamTest, WritingPastTheCapacityLosesTheByteAndCountsIt)
{
    unsigned char block[] = {0, 0xEE};
    CByteOutputStream out(block, 1);
    out.WriteByte(1);
    EXPECT_EQ(out.getError(), 0);
    out.WriteByte(2);
    out.WriteByte(3);
    EXPECT_EQ(out.getError(), STREAM_E_EOF);
    EXPECT_EQ(out.getDataSize(), 3u);
    EXPECT_EQ(Hex(block, 2), "01 EE");
}

TEST(ByteStreamTest, RestartClearsPositionAndError)
{
    unsigned char data[] = {7};
    CByteInputStream in(data, sizeof data);
    unsigned long value = 0;
    in >> value;
    ASSERT_EQ(in.eof(), 1);
    in.Restart();
    EXPECT_EQ(in.eof(), 0);
    EXPECT_EQ(in.getError(), 0);
    EXPECT_EQ(in.ReadByte(), 7);
}

TEST(ByteStreamTest, ThePositionCanBeSetBelowTheSizeOnly)
{
    unsigned char block[4] = {1, 2, 3, 4};
    CByteInputStream in(block, sizeof block);
    CByteOutputStream out(block, sizeof block);
    EXPECT_EQ(in.setCurrentPosition(3), 1);
    EXPECT_EQ(in.setCurrentPosition(4), 0);
    EXPECT_EQ(in.setCurrentPosition(-1), 0);
    EXPECT_EQ(in.setCurrentPosition(LONG_MIN), 0);
    EXPECT_EQ(in.ReadByte(), 4);
    EXPECT_EQ(out.setCurrentPosition(3), 1);
    EXPECT_EQ(out.setCurrentPosition(4), 0);
    EXPECT_EQ(out.setCurrentPosition(-1), 0);
    long position = 0;
    EXPECT_EQ(out.getCurrentStreamPosition(position), 1);
    EXPECT_EQ(position, 3);
    EXPECT_EQ(out.getDataSize(), 3u);
}

TEST(ByteStreamTest, SeekingDoesNotClearAnError)
{
    unsigned char data[2] = {1, 2};
    CByteInputStream in(data, sizeof data);
    unsigned long value = 0;
    in >> value;
    EXPECT_EQ(in.setCurrentPosition(0), 1);
    EXPECT_EQ(in.eof(), 1);
    EXPECT_EQ(in.ReadByte(), 1);
}

TEST(ByteStreamTest, AnOutputStreamPositionedBackOverwritesAndReportsTheSmallerSize)
{
    unsigned char block[8];
    CByteOutputStream out(block, sizeof block);
    out << 0x11111111ul << 0x22222222ul;
    ASSERT_EQ(out.setCurrentPosition(2), 1);
    out << static_cast<unsigned short>(0x3333);
    EXPECT_EQ(out.getDataSize(), 4u);
    EXPECT_EQ(Hex(block, 8), "11 11 33 33 22 22 22 22");
}

TEST(ByteStreamTest, ReadBytesCountsTheReadThatHitsTheEnd)
{
    unsigned char data[] = {1, 2, 3};
    unsigned char buffer[10];
    std::memset(buffer, 0xEE, sizeof buffer);
    CByteInputStream in(data, sizeof data);
    EXPECT_EQ(in.ReadBytes(buffer, 10), 4);
    EXPECT_EQ(Hex(buffer, 10), "01 02 03 00 EE EE EE EE EE EE");
    EXPECT_EQ(in.eof(), 1);
    EXPECT_EQ(in.ReadBytes(buffer, 10), 0);
}

TEST(ByteStreamTest, BulkOperationsDoNothingForACountBelowOneOrNoData)
{
    unsigned char block[4] = {};
    CByteInputStream in(block, sizeof block);
    CByteOutputStream out(block, sizeof block);
    for (int count : {0, -1, INT_MIN}) {
        EXPECT_EQ(in.ReadBytes(block, count), 0);
        EXPECT_EQ(out.WriteBytes(block, count), 0);
    }
    EXPECT_EQ(in.ReadBytes(nullptr, 3), 0);
    EXPECT_EQ(out.WriteBytes(nullptr, 3), 0);
    EXPECT_EQ(out.getDataSize(), 0u);
}

TEST(ByteStreamTest, WriteBytesStopsOneByteBehindTheCapacity)
{
    unsigned char block[5] = {0, 0, 0, 0, 0xEE}, data[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    CByteOutputStream out(block, 4);
    EXPECT_EQ(out.WriteBytes(data, 10), 5);
    EXPECT_EQ(out.getDataSize(), 5u);
    EXPECT_EQ(out.getError(), STREAM_E_EOF);
    EXPECT_EQ(Hex(block, 5), "01 02 03 04 EE");
}

TEST(ByteStreamTest, WriteBytesThatFitExactlyLeaveNoError)
{
    unsigned char block[4], data[4] = {1, 2, 3, 4};
    CByteOutputStream out(block, sizeof block);
    EXPECT_EQ(out.WriteBytes(data, 4), 4);
    EXPECT_EQ(out.getError(), 0);
    EXPECT_EQ(out.WriteBytes(data, 1), 1);
    EXPECT_EQ(out.getError(), STREAM_E_EOF);
}

TEST(ByteStreamTest, TypedWritesGoOnCountingBehindTheCapacity)
{
    unsigned char block[3] = {0xEE, 0xEE, 0xEE};
    CByteOutputStream out(block, 2);
    out << 0x04030201ul << 1.0 << L"ab";
    EXPECT_EQ(out.getDataSize(), 4u + 8 + 8);
    EXPECT_EQ(Hex(block, 3), "01 02 EE");
}

TEST(ByteStreamTest, AStreamOverNothingOnlyCounts)
{
    CByteOutputStream out(nullptr, 0);
    CSizedArray array;
    ASSERT_EQ(array.init(5), 1);
    EXPECT_EQ(out << array, 0);
    EXPECT_EQ(out.getError(), STREAM_E_EOF);
    EXPECT_EQ(out.getDataSize(), 4u);
    EXPECT_EQ(out.setCurrentPosition(0), 0);
    out << L"text" << "text" << CString() << L"";
    EXPECT_EQ(out.getDataSize(), 4u + 12 + 12 + 4 + 4);

    CByteInputStream in(nullptr, 0);
    unsigned char buffer[2] = {9, 9};
    EXPECT_EQ(in.setCurrentPosition(0), 0);
    EXPECT_EQ(in.ReadBytes(buffer, 2), 1);
    EXPECT_EQ(Hex(buffer, 2), "00 09");
    EXPECT_EQ(in.eof(), 1);
}

TEST(ByteStreamTest, AnArrayTravelsAsItsSizeAndItsBytes)
{
    unsigned char block[16];
    CByteOutputStream out(block, sizeof block);
    CSizedArray array;
    ASSERT_EQ(array.init(3), 1);
    std::memcpy(array.getData(), "\x0A\x00\xFF", 3);
    EXPECT_EQ(out << array, 1);
    EXPECT_EQ(Hex(block, out.getDataSize()), "03 00 00 00 0A 00 FF");

    CByteInputStream in(block, out.getDataSize());
    CSizedArray read;
    EXPECT_EQ(in.readArray(read), 1);
    ASSERT_EQ(read.getSize(), 3u);
    EXPECT_EQ(Hex(read.getData(), 3), "0A 00 FF");
    EXPECT_EQ(in.getError(), 0);
}

TEST(ByteStreamTest, AnEmptyArrayIsItsSizeAlone)
{
    unsigned char block[8];
    CByteOutputStream out(block, sizeof block);
    CSizedArray array;
    EXPECT_EQ(out << array, 1);
    EXPECT_EQ(Hex(block, out.getDataSize()), "00 00 00 00");
    CByteInputStream in(block, 4);
    ASSERT_EQ(array.init(9), 1);
    EXPECT_EQ(in.readArray(array), 1);
    EXPECT_EQ(array.getSize(), 0u);
    EXPECT_EQ(array.isEmpty(), 1);
}

TEST(ByteStreamTest, AnEmptyArrayOnAStreamInErrorGivesZero)
{
    unsigned char block[8];
    CByteOutputStream out(block, sizeof block);
    out.setError(-1);
    CSizedArray array;
    EXPECT_EQ(out << array, 0);
    EXPECT_EQ(out.getDataSize(), 4u);
}

TEST(ByteStreamTest, AnArrayWhoseInitFailedIsItsSizeAndAFailure)
{
    unsigned char block[8];
    CByteOutputStream out(block, sizeof block);
    CSizedArray array;
    {
        const CWithoutMemory without;
        ASSERT_EQ(array.init(5), 0);
    }
    EXPECT_EQ(out << array, 0);
    EXPECT_EQ(Hex(block, out.getDataSize()), "05 00 00 00");
    EXPECT_EQ(out.getError(), 0);
}

TEST(ByteStreamTest, AnArrayWhoseSizeIsANegativeCountIsItsSizeAndASuccess)
{
    unsigned char block[8];
    CByteOutputStream out(block, sizeof block);
    CSizedArray array;
    ASSERT_EQ(array.init(0xFFFFFFFE), 0);
    EXPECT_EQ(out << array, 1);
    EXPECT_EQ(Hex(block, out.getDataSize()), "FE FF FF FF");
    EXPECT_EQ(out.getError(), 0);
}

TEST(ByteStreamTest, AnArrayThatDoesNotFitGivesZeroAndStopsOneByteBehindTheCapacity)
{
    unsigned char block[6];
    CByteOutputStream out(block, sizeof block);
    CSizedArray array;
    ASSERT_EQ(array.init(5), 1);
    EXPECT_EQ(out << array, 0);
    EXPECT_EQ(out.getDataSize(), 7u);
}

TEST(ByteStreamTest, AnArrayCutShortIsSizedAndFails)
{
    unsigned char data[] = {5, 0, 0, 0};
    CByteInputStream in(data, sizeof data);
    CSizedArray array;
    EXPECT_EQ(in.readArray(array), 0);
    EXPECT_EQ(in.eof(), 1);
    EXPECT_EQ(array.getSize(), 5u);
    EXPECT_EQ(array.getData()[0], 0);
}

TEST(ByteStreamTest, AnArrayWhoseSizeIsCutShortStaysAsItIs)
{
    unsigned char data[] = {5, 0, 0};
    CByteInputStream in(data, sizeof data);
    CSizedArray array;
    ASSERT_EQ(array.init(2), 1);
    EXPECT_EQ(in.readArray(array), 0);
    EXPECT_EQ(array.getSize(), 2u);
}

TEST(ByteStreamTest, AnArrayOnAStreamInErrorIsNotRead)
{
    unsigned char data[] = {6, 0, 1, 0, 0, 0, 9};
    CByteInputStream in(data, sizeof data);
    _variant_t unsupported;
    in >> unsupported;
    ASSERT_EQ(in.getError(), DISP_E_BADVARTYPE);
    CSizedArray array;
    ASSERT_EQ(array.init(2), 1);
    EXPECT_EQ(in.readArray(array), 0);
    EXPECT_EQ(array.getSize(), 2u);
}

TEST(ByteStreamTest, ACopySharesTheBlockAndGoesOnFromThere)
{
    unsigned char block[8] = {};
    CByteOutputStream out(block, sizeof block);
    out << static_cast<unsigned short>(0x0101);
    CByteOutputStream second(out);
    second << static_cast<unsigned short>(0x0202);
    EXPECT_EQ(out.getDataSize(), 2u);
    EXPECT_EQ(second.getDataSize(), 4u);
    EXPECT_EQ(Hex(block, 4), "01 01 02 02");

    CByteInputStream in(block, 3);
    unsigned long value = 0;
    in >> value;
    CByteInputStream copy(nullptr, 0);
    copy = in;
    EXPECT_EQ(copy.eof(), 1);
    copy.Restart();
    EXPECT_EQ(copy.ReadByte(), 1);
    EXPECT_EQ(in.eof(), 1);
}

TEST(ByteStreamTest, DumpingWritesNothingAnywhere)
{
    CLogToFile log;
    CGuardedBlock guarded(4096);
    CByteOutputStream out(guarded.AtRear(3), 3);
    out << 1.0 << 2.0;
    ASSERT_EQ(out.getDataSize(), 16u);
    out.DUMP_CONTENT();
    EXPECT_EQ(out.getDataSize(), 16u);
    EXPECT_EQ(out.getError(), STREAM_E_EOF);
    CByteOutputStream(nullptr, 0).DUMP_CONTENT();
    Bytes large(100000, 0xFF);
    CByteOutputStream big(large.data(), large.size());
    big.WriteBytes(large.data() + 1, 1);
    ASSERT_EQ(big.setCurrentPosition(99999), 1);
    big.DUMP_CONTENT();
    EXPECT_EQ(big.getError(), 0);
    EXPECT_EQ(log.Bytes(), "");
}

TEST(ByteStreamTest, WhatLiesInTheBlockItselfIsReadWhileItIsWritten)
{
    // Byte by byte from front to back, each source byte is read after the ones before it were written.
    unsigned char plain[16] = {1, 2, 3, 4, 5, 6, 7, 8}, slow[16];
    std::memcpy(slow, plain, sizeof slow);
    CByteOutputStream out(plain, sizeof plain);
    CBytewiseOutput reference(slow, sizeof slow);
    ASSERT_TRUE(out.setCurrentPosition(2) && reference.setCurrentPosition(2));
    EXPECT_EQ(out.WriteBytes(plain, 6), 6);
    EXPECT_EQ(reference.WriteBytes(slow, 6), 6);
    EXPECT_EQ(Hex(plain, 16), "01 02 01 02 01 02 01 02 00 00 00 00 00 00 00 00");
    EXPECT_EQ(Hex(plain, 16), Hex(slow, 16));

    CByteInputStream in(plain, sizeof plain);
    EXPECT_EQ(in.ReadBytes(plain + 1, 4), 4);
    EXPECT_EQ(Hex(plain, 6), "01 01 01 01 01 02");
}

// Writes one value of the kind `what`, with the static type that the stream was given as.
template <class Stream> int WriteSome(Stream& out, unsigned what, unsigned long value, CSizedArray& array)
{
    const CString text(L'x', value % 9);
    switch (what) {
    case 0:
        out << static_cast<unsigned char>(value);
        break;
    case 1:
        out << static_cast<char>(value);
        break;
    case 2:
        out << static_cast<unsigned short>(value);
        break;
    case 3:
        out << static_cast<short>(value);
        break;
    case 4:
        out << static_cast<bool>(value & 1);
        break;
    case 5:
        out << static_cast<unsigned int>(value);
        break;
    case 6:
        out << static_cast<int>(value);
        break;
    case 7:
        out << value;
        break;
    case 8:
        out << static_cast<long>(value);
        break;
    case 9:
        out << static_cast<float>(value);
        break;
    case 10:
        out << static_cast<double>(value) / 3;
        break;
    case 11:
        out << text;
        break;
    case 12:
        out << &L"\u20AC\u0101wide"[value % 7];
        break;
    case 13:
        out << &"narrow\xE9"[value % 8];
        break;
    case 14:
        out << _variant_t(static_cast<double>(value));
        break;
    case 15:
        return out << array;
    case 16:
        return out.WriteBytes(array.getData(), static_cast<int>(value % 13) - 1);
    case 17:
        out << static_cast<unsigned short>(value) << text << static_cast<char>(value) << static_cast<double>(value);
        break;
    default:
        return out.setCurrentPosition(value % 64);
    }
    return 0;
}

// A subclass that overrides nothing goes byte by byte. Whatever is written, wherever it ends, and whether the class of
// the stream is known or not, all agree.
TEST(ByteStreamTest, WritingAtOnceAndBytewiseAgreeOnBytesPositionAndError)
{
    std::mt19937 random(20040305);
    CSizedArray array;
    ASSERT_EQ(array.init(11), 1);
    for (unsigned i = 0; i < 11; ++i) array.getData()[i] = static_cast<unsigned char>(i + 1);
    for (int round = 0; round < 20000; ++round) {
        unsigned char known[64], unknown[64], slow[64];
        for (unsigned char* block : {known, unknown, slow}) std::memset(block, 0xEE, sizeof slow);
        const unsigned long capacity = random() % 60;
        CByteOutputStream plain(known, capacity), other(unknown, capacity);
        COutputStream& handedOn = other;
        CBytewiseOutput bytewise(slow, capacity);
        for (int step = 0; step < 8; ++step) {
            const unsigned what = random() % 19;
            const unsigned long value = random();
            const int result = WriteSome(bytewise, what, value, array);
            ASSERT_EQ(WriteSome(plain, what, value, array), result) << what;
            ASSERT_EQ(WriteSome(handedOn, what, value, array), result) << what;
            for (CByteOutputStream* out : {&plain, &other}) {
                ASSERT_EQ(out->getDataSize(), bytewise.getDataSize()) << what;
                ASSERT_EQ(out->getError(), bytewise.getError()) << what;
            }
        }
        ASSERT_EQ(Hex(known, sizeof known), Hex(slow, sizeof slow));
        ASSERT_EQ(Hex(unknown, sizeof unknown), Hex(slow, sizeof slow));
    }
}

// Reads one value of the kind `what`, with the static type that the stream was given as; returns what was read.
template <class Stream> std::string ReadSome(Stream& in, unsigned what, CString& text)
{
    const auto read = [&in](auto value) {
        in >> value;
        return Hex(reinterpret_cast<const unsigned char*>(&value), sizeof value);
    };
    switch (what) {
    case 0:
        return read(static_cast<unsigned char>(1));
    case 1:
        return read('\1');
    case 2:
        return read(static_cast<unsigned short>(1));
    case 3:
        return read(static_cast<short>(1));
    case 4:
        return read(false);
    case 5:
        return read(1u);
    case 6:
        return read(1);
    case 7:
        return read(1ul);
    case 8:
        return read(1l);
    case 9:
        return read(1.0f);
    case 10:
        return read(1.0);
    case 11: {
        unsigned short number = 0;
        double measure = 0;
        in >> number >> text >> measure;
        const auto* const bytes = reinterpret_cast<const unsigned char*>(static_cast<const wchar_t*>(text));
        return std::to_string(number) + " " + Hex(bytes, 2 * text.GetLength()) + " " + std::to_string(measure != 0);
    }
    default:
        in.Restart();
        return "";
    }
}

TEST(ByteStreamTest, ReadingAtOnceAndBytewiseAgreeOnValuesPositionAndError)
{
    std::mt19937 random(20040306);
    for (int round = 0; round < 20000; ++round) {
        unsigned char data[64] = {};
        const unsigned long size = random() % 60;
        // Many small bytes, so that counts of texts are short, long and far too long.
        for (unsigned long i = 0; i < size; ++i)
            data[i] = static_cast<unsigned char>(random() % 4 ? 0 : random() % 300);
        CByteInputStream plain(data, size), other(data, size);
        KorvaneIO::CInputStream& handedOn = other;
        CBytewiseInput bytewise(data, size);
        CString texts[] = {L"what was there", L"what was there", L"what was there"};
        for (int step = 0; step < 8; ++step) {
            const unsigned what = random() % 13;
            const std::string value = ReadSome(bytewise, what, texts[0]);
            ASSERT_EQ(ReadSome(plain, what, texts[1]), value) << what;
            ASSERT_EQ(ReadSome(handedOn, what, texts[2]), value) << what;
            long due = 0;
            bytewise.getCurrentStreamPosition(due);
            for (CByteInputStream* in : {&plain, &other}) {
                long position = -1;
                in->getCurrentStreamPosition(position);
                ASSERT_EQ(position, due) << what;
                ASSERT_EQ(in->getError(), bytewise.getError()) << what;
            }
        }
    }
}

// Texts are copied in blocks; every length and every place of a zero is compared with going byte by byte.
TEST(ByteStreamTest, TextsOfEveryLengthAreWrittenUpToTheirFirstZeroAndReadBack)
{
    for (int length = 0; length <= 70; ++length) {
        for (int zero = 0; zero <= length; ++zero) {
            SCOPED_TRACE(testing::Message() << length << " units, zero at " << zero);
            CString text;
            for (int i = 0; i < length; ++i) text += static_cast<wchar_t>(i == zero ? 0 : 0x100 * (i + 1));

            unsigned char fast[160], slow[160];
            std::memset(fast, 0xEE, sizeof fast);
            std::memset(slow, 0xEE, sizeof slow);
            CByteOutputStream plain(fast, sizeof fast);
            CBytewiseOutput bytewise(slow, sizeof slow);
            plain << text;
            bytewise << text;
            ASSERT_EQ(plain.getDataSize(), 4u + 2 * zero);
            ASSERT_EQ(bytewise.getDataSize(), plain.getDataSize());
            ASSERT_EQ(std::memcmp(fast, slow, sizeof fast), 0);

            CByteInputStream in(fast, plain.getDataSize());
            CString read = L"what was there before";
            in >> read;
            ASSERT_EQ(in.getError(), 0);
            ASSERT_EQ(read.GetLength(), zero);
            ASSERT_EQ(std::wmemcmp(read, text, zero + 1), 0);
        }
    }
}

// The text fits as far as its zero, but would not without it.
TEST(ByteStreamTest, ATextWithAZeroInItNeedsRoomUpToTheZeroOnly)
{
    const CString text(L"abcdefghij\0klmnopqrst", 21);
    unsigned char block[25];
    std::memset(block, 0xEE, sizeof block);
    CByteOutputStream out(block, 24);
    out << text;
    EXPECT_EQ(out.getError(), 0);
    EXPECT_EQ(out.getDataSize(), 24u);
    EXPECT_EQ(block[24], 0xEE);
}

// The sample in base/bytestream.h.
TEST(ByteStreamTest, TheSampleOfTheHeaderReadsBackWhatItWrote)
{
    unsigned char record[64];
    CByteOutputStream out(record, sizeof record);
    out << 1234 << 98.5 << true << L"Main Street";
    ASSERT_EQ(out.getError(), 0);

    KorvaneIO::CByteInputStream in(record, out.getDataSize());
    int number = 0;
    double length = 0;
    bool paved = false;
    CString name;
    in >> number >> length >> paved >> name;
    ASSERT_FALSE(in.eof());

    EXPECT_EQ(number, 1234);
    EXPECT_EQ(length, 98.5);
    EXPECT_TRUE(paved);
    EXPECT_TRUE(name == L"Main Street");
}
