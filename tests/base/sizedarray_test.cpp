#include "base/sizedarray.h"

#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <new>
#include <numeric>

namespace {

constexpr unsigned long kTooMuch = 0xFFFFFFFF;

static_assert(sizeof(CSizedArray) == sizeof(CRefCntBase) + 8, "size and data follow the count");

void Fill(CSizedArray& rArray)
{
    std::iota(rArray.getData(), rArray.getData() + rArray.getSize(), static_cast<unsigned char>(1));
}

bool Starts(const CSizedArray& rArray, unsigned cb)
{
    for (unsigned i = 0; i < cb; ++i) {
        if (rArray.getData()[i] != static_cast<unsigned char>(i + 1)) return false;
    }
    return true;
}

TEST(SizedArrayTest, StartsEmpty)
{
    const CSizedArray array;
    EXPECT_EQ(0u, array.getSize());
    EXPECT_EQ(nullptr, array.getData());
    EXPECT_EQ(1, array.isEmpty());
}

TEST(SizedArrayTest, InitAllocates)
{
    CSizedArray array;
    EXPECT_EQ(1, array.init(10));
    EXPECT_EQ(10u, array.getSize());
    EXPECT_NE(nullptr, array.getData());
    EXPECT_EQ(0, array.isEmpty());
    Fill(array);
    EXPECT_EQ(1, array.init(20));
    EXPECT_EQ(20u, array.getSize());
}

TEST(SizedArrayTest, InitOfZeroBytesHasNoData)
{
    CSizedArray array;
    ASSERT_EQ(1, array.init(10));
    EXPECT_EQ(1, array.init(0));
    EXPECT_EQ(0u, array.getSize());
    EXPECT_EQ(nullptr, array.getData());
    EXPECT_EQ(1, array.isEmpty());
}

TEST(SizedArrayTest, AFailedInitKeepsTheSizeWithoutData)
{
    for (unsigned long size : {kTooMuch, 0x80000000ul, kTooMuch - 16}) {
        CSizedArray array;
        ASSERT_EQ(1, array.init(10));
        EXPECT_EQ(0, array.init(size));
        EXPECT_EQ(size, array.getSize());
        EXPECT_EQ(nullptr, array.getData());
        EXPECT_EQ(1, array.isEmpty());
    }
}

TEST(SizedArrayTest, WithoutMemoryASmallSizeFailsLikeALargeOne)
{
    CSizedArray array;
    CSizedArray target;
    ASSERT_EQ(1, array.init(10));
    ASSERT_EQ(1, target.init(5));
    const CWithoutMemory without;
    unsigned char* const pBlock = array.getData();
    EXPECT_EQ(0, array.setSize(11));
    EXPECT_EQ(10u, array.getSize());
    EXPECT_EQ(pBlock, array.getData());
    EXPECT_EQ(0, target.copyFrom(array));
    EXPECT_EQ(10u, target.getSize());
    EXPECT_EQ(1, target.isEmpty());
    EXPECT_EQ(0, array.init(100));
    EXPECT_EQ(100u, array.getSize());
    EXPECT_EQ(1, array.isEmpty());
}

TEST(SizedArrayTest, SetSizeUpToTheCurrentSizeKeepsTheBlock)
{
    CSizedArray array;
    ASSERT_EQ(1, array.init(10));
    Fill(array);
    unsigned char* const pBlock = array.getData();
    EXPECT_EQ(1, array.setSize(10));
    EXPECT_EQ(1, array.setSize(5));
    EXPECT_EQ(5u, array.getSize());
    EXPECT_EQ(pBlock, array.getData());
    EXPECT_TRUE(Starts(array, 10)) << "the bytes beyond the new size are left alone";
    EXPECT_EQ(1, array.setSize(0));
    EXPECT_EQ(0, array.isEmpty()) << "the block is still there";
}

TEST(SizedArrayTest, SetSizeBeyondTheCurrentSizeMovesTheContentToANewBlock)
{
    CSizedArray array;
    ASSERT_EQ(1, array.init(10));
    Fill(array);
    ASSERT_EQ(1, array.setSize(5));
    unsigned char* const pBlock = array.getData();
    EXPECT_EQ(1, array.setSize(10));
    EXPECT_EQ(10u, array.getSize());
    EXPECT_NE(pBlock, array.getData());
    EXPECT_TRUE(Starts(array, 5));
}

TEST(SizedArrayTest, SetSizeOfAnEmptyArrayAllocates)
{
    CSizedArray array;
    EXPECT_EQ(1, array.setSize(3));
    EXPECT_EQ(3u, array.getSize());
    EXPECT_EQ(0, array.isEmpty());
    CSizedArray empty;
    EXPECT_EQ(1, empty.setSize(0));
    EXPECT_EQ(1, empty.isEmpty());
}

TEST(SizedArrayTest, AFailedSetSizeChangesNothing)
{
    CSizedArray array;
    ASSERT_EQ(1, array.init(10));
    Fill(array);
    unsigned char* const pBlock = array.getData();
    EXPECT_EQ(0, array.setSize(kTooMuch));
    EXPECT_EQ(10u, array.getSize());
    EXPECT_EQ(pBlock, array.getData());
    EXPECT_TRUE(Starts(array, 10));
}

TEST(SizedArrayTest, SetSizeAfterAFailedInitIsSafe)
{
    CSizedArray array;
    ASSERT_EQ(0, array.init(0x80000000));
    EXPECT_EQ(0, array.setSize(kTooMuch));
    EXPECT_EQ(0x80000000, array.getSize());
    EXPECT_EQ(1, array.setSize(100)) << "smaller: only the size changes";
    EXPECT_EQ(1, array.isEmpty());
    EXPECT_EQ(1, array.setSize(200));
    EXPECT_EQ(0, array.isEmpty());
}

TEST(SizedArrayTest, CopyFromMakesABlockOfItsOwn)
{
    CSizedArray source;
    ASSERT_EQ(1, source.init(10));
    Fill(source);
    CSizedArray target;
    ASSERT_EQ(1, target.init(100));
    EXPECT_EQ(1, target.copyFrom(source));
    EXPECT_EQ(10u, target.getSize());
    EXPECT_NE(source.getData(), target.getData());
    EXPECT_TRUE(Starts(target, 10));
}

TEST(SizedArrayTest, CopyFromAnEmptyArrayEmptiesTheTarget)
{
    CSizedArray source;
    CSizedArray target;
    ASSERT_EQ(1, target.init(100));
    EXPECT_EQ(1, target.copyFrom(source));
    EXPECT_EQ(0u, target.getSize());
    EXPECT_EQ(nullptr, target.getData());
}

TEST(SizedArrayTest, CopyFromAnArrayTooLargeFailsAsInitDoes)
{
    CSizedArray source;
    ASSERT_EQ(0, source.init(kTooMuch));
    CSizedArray target;
    ASSERT_EQ(1, target.init(1));
    EXPECT_EQ(0, target.copyFrom(source));
    EXPECT_EQ(kTooMuch, target.getSize());
    EXPECT_EQ(1, target.isEmpty());
}

TEST(SizedArrayTest, CopyFromAnArrayWithASizeButNoDataIsSafe)
{
    CSizedArray source;
    ASSERT_EQ(0, source.init(0x80000000));
    ASSERT_EQ(1, source.setSize(100));
    CSizedArray target;
    EXPECT_EQ(1, target.copyFrom(source));
    EXPECT_EQ(100u, target.getSize());
    EXPECT_EQ(0, target.isEmpty());
}

TEST(SizedArrayTest, CopyFromItselfKeepsSizeAndContent)
{
    CSizedArray array;
    ASSERT_EQ(1, array.init(10));
    Fill(array);
    EXPECT_EQ(1, array.copyFrom(array));
    EXPECT_EQ(10u, array.getSize());
    EXPECT_TRUE(Starts(array, 10));
    CSizedArray empty;
    EXPECT_EQ(1, empty.copyFrom(empty));
    EXPECT_EQ(0u, empty.getSize());
}

// Makes a copy that shares the block and is never destroyed, as only one of the two may be.
class CSharingCopy
{
public:
    explicit CSharingCopy(const CSizedArray& rSource) : m_pCopy(new (m_place) CSizedArray(rSource)) {}
    CSizedArray& Get() { return *m_pCopy; }

private:
    alignas(CSizedArray) unsigned char m_place[sizeof(CSizedArray)];
    CSizedArray* m_pCopy;
};

TEST(SizedArrayTest, ACopyRefersToTheSameBlockAndHasTheCount)
{
    CSizedArray source;
    ASSERT_EQ(1, source.init(10));
    source.AddRef();
    CSharingCopy copy(source);
    EXPECT_EQ(10u, copy.Get().getSize());
    EXPECT_EQ(source.getData(), copy.Get().getData());
    EXPECT_EQ(1, copy.Get().AddRef());
}

TEST(SizedArrayTest, CopyFromAnArrayThatSharesTheBlockTakesTheSizeOnly)
{
    CSizedArray source;
    ASSERT_EQ(1, source.init(10));
    Fill(source);
    CSharingCopy copy(source);
    ASSERT_EQ(1, copy.Get().setSize(4));
    EXPECT_EQ(1, source.copyFrom(copy.Get()));
    EXPECT_EQ(4u, source.getSize());
    EXPECT_EQ(copy.Get().getData(), source.getData());
    EXPECT_TRUE(Starts(source, 4));
}

TEST(SizedArrayTest, DoneFreesAndCanBeRepeated)
{
    CSizedArray array;
    ASSERT_EQ(1, array.init(10));
    array.done();
    EXPECT_EQ(0u, array.getSize());
    EXPECT_EQ(1, array.isEmpty());
    array.done();
    EXPECT_EQ(1, array.isEmpty());
}

TEST(SizedArrayTest, LivesThroughCountedReferences)
{
    CRefCntBase* const pArray = new CSizedArray;
    EXPECT_EQ(0, pArray->AddRef());
    EXPECT_EQ(1, static_cast<CSizedArray*>(pArray)->init(1000));
    EXPECT_EQ(0, pArray->Release());
}

} // namespace
