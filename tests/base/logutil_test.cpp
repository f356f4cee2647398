#include "base/logutil.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

namespace {

template <class T, class = void> struct Writable : std::false_type
{
};
template <class T>
struct Writable<T, std::void_t<decltype(std::declval<CStreamWriter&>() << std::declval<T>())>> : std::true_type
{
};

static_assert(std::has_virtual_destructor_v<CStreamWriter>);
static_assert(sizeof(CStreamWriter) == 4 * sizeof(void*), "one table, the file, the name, the depth");
static_assert(Writable<CString>::value && Writable<TCHAR*>::value && Writable<wchar_t>::value);
static_assert(!Writable<void*>::value && !Writable<HKEY>::value && !Writable<const unsigned short*>::value,
              "a pointer that is no text must not be written as anything");
static_assert(!Writable<double>::value && !Writable<long long>::value, "nothing is cut without a word");

// A writer on a file of the test's own.
class LogWriterTest : public testing::Test
{
protected:
    std::string Bytes() const { return m_log.Bytes(); }

    CLogToFile m_log;
    CStreamWriter& m_writer = m_log.Writer();
};

// A writer made with the relative name " log.txt": the blank belongs to the first opening only, so which of the two
// files has a text tells whether the log has been reopened.
class ReopenTest : public testing::Test
{
protected:
    ReopenTest()
    {
        ::GetCurrentDirectoryW(MAX_PATH, m_old);
        ::SetCurrentDirectoryW(m_folder.Path().c_str());
        m_writer = new CStreamWriter(" log.txt");
    }
    ~ReopenTest() override
    {
        delete m_writer;
        ::SetCurrentDirectoryW(m_old);
    }
    std::string First() const { return ReadBytes(m_folder.File(L" log.txt")); }
    std::string Second() const { return ReadBytes(m_folder.File(L"log.txt")); }
    bool IsReopened() const { return FileExists(m_folder.File(L"log.txt")); }

    CTempFolder m_folder;
    wchar_t m_old[MAX_PATH + 1];
    CStreamWriter* m_writer;
};

using Texts = std::vector<std::wstring>;

TEST_F(LogWriterTest, AnEightBitTabGetsFourBlanksAndALineFeedBecomesThreeCharacters)
{
    m_writer << "a\tb\n";
    // In the stream: a TAB four blanks b LF LF CR. Text mode makes CR LF of each LF.
    EXPECT_EQ("a\t    b\r\n\r\n\r", Bytes());
}

TEST_F(LogWriterTest, AnEightBitTabGetsFourBlanksAtAnyDepth)
{
    m_writer << "\t";
    m_writer.IncTabs();
    m_writer.IncTabs();
    m_writer << "\t";
    EXPECT_EQ("\t    \t    ", Bytes());
}

TEST_F(LogWriterTest, AUtf16TabGetsFourBlanksForEachLevel)
{
    static constexpr struct
    {
        int nDepth;
        const char* pszExpected;
    } kCases[] = {{-1, "\t"}, {0, "\t"}, {1, "\t    "}, {2, "\t        "}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.nDepth);
        CLogToFile log;
        for (int i = 0; i < c.nDepth; ++i) log.Writer().IncTabs();
        for (int i = 0; i > c.nDepth; --i) log.Writer().DecTabs();
        log.Writer() << L"\t";
        EXPECT_EQ(c.pszExpected, log.Bytes());
    }
}

TEST_F(LogWriterTest, AUtf16LineFeedBecomesThreeCharacters)
{
    m_writer << L"x\ny";
    EXPECT_EQ("x\r\n\r\n\ry", Bytes());
}

TEST_F(LogWriterTest, ACarriageReturnStaysAsItIs)
{
    m_writer << "1\r2" << L"3\r4";
    EXPECT_EQ("1\r23\r4", Bytes());
}

TEST_F(LogWriterTest, TheTabPrefixFollowsTheDepthAndIsEmptyAtZeroAndBelow)
{
    m_writer.WriteTabPrefix();
    m_writer.DecTabs();
    m_writer.WriteTabPrefix();
    EXPECT_EQ("", Bytes());
    for (int i = 0; i < 3; ++i) m_writer.IncTabs(); // from -1
    m_writer.WriteTabPrefix();
    EXPECT_EQ(std::string(8, ' '), Bytes());
}

TEST_F(LogWriterTest, NumbersAreSignedDecimalsOfTheir32Bits)
{
    m_writer << 0l << "," << 1 << "," << -1l << "," << LONG_MAX << "," << LONG_MIN << "," << INT_MIN;
    EXPECT_EQ("0,1,-1,2147483647,-2147483648,-2147483648", Bytes());
}

TEST_F(LogWriterTest, UnsignedNumbersFromTheTopBitOnPrintNegative)
{
    m_writer << 4294967295ul << "," << 4294967295u << "," << 0x80000000ul << "," << 0x7FFFFFFFul;
    EXPECT_EQ("-1,-1,-2147483648,2147483647", Bytes());
}

TEST_F(LogWriterTest, ShortsAreExtendedByTheirSignedness)
{
    m_writer << static_cast<short>(-1) << "," << static_cast<short>(0x7FFF) << ","
             << static_cast<unsigned short>(0xFFFF);
    EXPECT_EQ("-1,32767,65535", Bytes());
}

TEST_F(LogWriterTest, CharactersAreWrittenAsNumbers)
{
    m_writer << 'A' << "," << static_cast<char>(0xFF) << "," << static_cast<unsigned char>(0xFF);
    EXPECT_EQ("65,-1,255", Bytes());
}

TEST_F(LogWriterTest, AWideCharacterIsWrittenAsAnUnsignedShort)
{
    m_writer << L'A' << "," << static_cast<wchar_t>(0xFFFE);
    EXPECT_EQ("65,65534", Bytes());
}

TEST_F(LogWriterTest, WideTextInEveryFormGoesToTheUtf16Operator)
{
    TCHAR buffer[] = L"buffer\t";
    m_writer << L"literal\t" << buffer << CString(L"string\t");
    // At depth 0 a UTF-16 tab has no blanks behind it; an 8-bit one would have four.
    EXPECT_EQ("literal\tbuffer\tstring\t", Bytes());
}

TEST_F(LogWriterTest, EveryOperatorReturnsTheWriter)
{
    EXPECT_EQ(&m_writer, &(m_writer << "a"));
    EXPECT_EQ(&m_writer, &(m_writer << L"a"));
    EXPECT_EQ(&m_writer, &(m_writer << 1l));
    EXPECT_EQ(&m_writer, &(m_writer << L'a'));
}

TEST_F(LogWriterTest, EightBitTextIsOnDiskAtOnce)
{
    m_writer << "now";
    EXPECT_EQ("now", Bytes());
}

TEST_F(LogWriterTest, WideTextIsInTheAnsiCodePageAndWhatThePageLacksIsAQuestionMark)
{
    ASSERT_EQ(1252u, ::GetACP());
    m_writer << L"a\u00E9\u20AC|\u4E2D|\u0100|\xD800|\uFF80|b";
    EXPECT_EQ("a\xE9\x80|?|?|?|?|b", Bytes());
}

TEST_F(LogWriterTest, EightBitBytesFrom80AreSignExtendedAndSoBecomeQuestionMarks)
{
    ASSERT_EQ(1252u, ::GetACP());
    m_writer << "a\x7F\x80\xE9\xFF"
                "b";
    EXPECT_EQ("a\x7F???b", Bytes());
}

TEST_F(LogWriterTest, NullTextsAreEmpty)
{
    m_writer << "a" << static_cast<const char*>(nullptr) << static_cast<const wchar_t*>(nullptr) << "b";
    EXPECT_EQ("ab", Bytes());
}

TEST_F(LogWriterTest, TextIsAsLongAsItNeedsToBe)
{
    const std::string narrow(8191, 'n');
    const std::wstring wide(100000, L'\n');
    m_writer << narrow.c_str() << std::string(8193, 't').c_str() << wide.c_str();
    EXPECT_EQ(narrow + std::string(8193, 't') + OnDisk(std::string(100000, '\n')), Bytes());
}

TEST_F(LogWriterTest, ADeepTabPrefixIsAsLongAsItNeedsToBe)
{
    for (int i = 0; i < 5000; ++i) m_writer.IncTabs();
    m_writer.WriteTabPrefix();
    m_writer << L"\t";
    EXPECT_EQ(std::string(20000, ' ') + "\t" + std::string(20000, ' '), Bytes());
}

TEST_F(LogWriterTest, WritingLeavesTheLastErrorAlone)
{
    ::SetLastError(1234);
    m_writer << "a" << L"b" << 1l;
    m_writer.WriteTabPrefix();
    EXPECT_EQ(1234u, ::GetLastError());
    CStreamWriter debugger("");
    debugger << "a" << L"b";
    EXPECT_EQ(1234u, ::GetLastError());
    {
        CStreamWriter unopenable("Q:\\no such folder\\log.txt");
    }
    EXPECT_EQ(1234u, ::GetLastError());
}

TEST_F(LogWriterTest, ACopySharesFileNameAndDepth)
{
    m_writer.IncTabs();
    {
        CStreamWriter copy(m_writer);
        copy << L"1";
        m_writer << L"2" << "3";
        copy << "4" << L"\t";
    }
    m_writer << L"5";
    EXPECT_EQ("1234\t    5", Bytes());
}

TEST_F(LogWriterTest, AssigningGivesUpTheOwnFile)
{
    CTempFolder folder;
    CStreamWriter other(ToNarrow(folder.File(L"other.txt")).c_str());
    other << "before";
    other = m_writer;
    other << "after";
    EXPECT_EQ("before", ReadBytes(folder.File(L"other.txt")));
    EXPECT_EQ("after", Bytes());
    EXPECT_TRUE(::DeleteFileW(folder.File(L"other.txt").c_str()));
}

TEST(LogFileTest, TheConstructorEmptiesTheFile)
{
    CTempFolder folder;
    const std::string name = ToNarrow(folder.File(L"log.txt"));
    CStreamWriter(name.c_str()) << "old text";
    ASSERT_EQ("old text", ReadBytes(folder.File(L"log.txt")));
    CStreamWriter writer(name.c_str());
    EXPECT_EQ("", ReadBytes(folder.File(L"log.txt")));
    EXPECT_TRUE(FileExists(folder.File(L"log.txt")));
}

TEST(LogFileTest, TheDestructorClosesTheFile)
{
    CTempFolder folder;
    const std::wstring path = folder.File(L"log.txt");
    {
        CStreamWriter writer(ToNarrow(path).c_str());
        writer << L"text";
        EXPECT_FALSE(::DeleteFileW(path.c_str())) << "open files cannot be deleted";
    }
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
}

TEST_F(ReopenTest, TheFirstOpeningTakesTheNameWithItsBlanks)
{
    *m_writer << "x";
    EXPECT_EQ("x", First());
    EXPECT_FALSE(IsReopened());
}

TEST_F(ReopenTest, EightBitTextAndTheTabPrefixOnlyFlush)
{
    m_writer->IncTabs();
    *m_writer << "x\n"
              << "";
    m_writer->WriteTabPrefix();
    EXPECT_FALSE(IsReopened());
    EXPECT_EQ("x\r\n\r\n\r    ", First());
}

TEST_F(ReopenTest, WideTextIsWrittenBeforeTheReopeningUnderTheTrimmedName)
{
    *m_writer << L"one" << L"two" << "three";
    EXPECT_EQ("one", First());
    EXPECT_EQ("twothree", Second());
}

TEST_F(ReopenTest, AnEmptyWideTextReopensToo)
{
    *m_writer << L"";
    EXPECT_TRUE(IsReopened());
}

TEST_F(ReopenTest, ANumberReopensToo)
{
    *m_writer << 5;
    EXPECT_TRUE(IsReopened());
    EXPECT_EQ("5", First());
}

TEST_F(ReopenTest, AReopeningAppends)
{
    ::SetCurrentDirectoryW(m_folder.Path().c_str());
    CStreamWriter("log.txt") << "there,";
    *m_writer << L"" << L"more";
    EXPECT_EQ("there,more", Second());
}

TEST_F(ReopenTest, AFailedReopeningTurnsTheWriterToTheDebuggerForGood)
{
    const std::wstring inTheWay = m_folder.File(L"log.txt");
    ASSERT_TRUE(::CreateDirectoryW(inTheWay.c_str(), nullptr));
    CDebugOutput output;
    *m_writer << L"last";
    EXPECT_EQ("last", First());
    EXPECT_TRUE(output.Texts().empty());
    ASSERT_TRUE(::RemoveDirectoryW(inTheWay.c_str()));
    *m_writer << "a" << L"b";
    EXPECT_EQ((Texts{L"a", L"b"}), output.Texts());
    EXPECT_FALSE(IsReopened());
    EXPECT_EQ("last", First());
}

TEST(LogToDebuggerTest, NamesThatAreEmptyOrBlankOrCannotBeOpenedGoThere)
{
    static constexpr const char* kNames[] = {"", "   ", " \t\r\n ", nullptr, "Q:\\no such folder\\log.txt"};
    for (const char* name : kNames) {
        SCOPED_TRACE(name ? name : "null");
        CDebugOutput output;
        CStreamWriter writer(name);
        writer << "text";
        EXPECT_EQ(Texts{L"text"}, output.Texts());
    }
}

TEST(LogToDebuggerTest, WithoutMemoryForItsFileAWriterGoesThereAndTheFileIsClosed)
{
    CTempFolder folder;
    const std::wstring path = folder.File(L"log.txt");
    const CWithoutMemory without;
    CDebugOutput output;
    CStreamWriter writer(ToNarrow(path).c_str());
    writer << "text";
    EXPECT_EQ(Texts{L"text"}, output.Texts());
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
}

TEST(LogToDebuggerTest, EachWriteIsOneMessageWithTheExpansions)
{
    CDebugOutput output;
    CStreamWriter writer("");
    writer.IncTabs();
    writer.IncTabs();
    writer << "a\tb\n" << L"\t\n" << -7 << "";
    writer.WriteTabPrefix();
    EXPECT_EQ((Texts{L"a\t    b\n\n\r", L"\t        \n\n\r", L"-7", L"", L"        "}), output.Texts());
}

TEST(LogToDebuggerTest, TextStaysUtf16)
{
    CDebugOutput output;
    CStreamWriter writer("");
    writer << L"\u4E2D" << "\xE9";
    EXPECT_EQ((Texts{L"\u4E2D", L"\xFFE9"}), output.Texts());
}

} // namespace
