#include "base/dumps.h"

#include "base/timedumps.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <utility>

namespace {

// Dumps to a writer that is not theLogStream.
class DumpTest : public testing::Test
{
protected:
    template <class Record> std::string Dump(const Record& rRecord)
    {
        const std::wstring path = m_folder.File(L"dump.txt");
        CStreamWriter writer(ToNarrow(path).c_str());
        EXPECT_EQ(&writer, &(writer << rRecord));
        // The depth is back where it was.
        writer << L"\t";
        return ReadBytes(path);
    }

    CTempFolder m_folder;
    CLogToFile m_log;
};

std::string Expected(const std::string& text)
{
    return OnDisk(text) + "\t";
}

FILETIME FileTimeOf(const SYSTEMTIME& rTime)
{
    FILETIME ft = {};
    EXPECT_TRUE(::SystemTimeToFileTime(&rTime, &ft));
    return ft;
}

constexpr SYSTEMTIME kMarch5 = {2004, 3, 5, 5, 14, 7, 9, 45};
const char* const kMarch5Body = "\n5/3/2004  14:7:9:45\n\n}\n";

TEST_F(DumpTest, ASystemTimeHasDayMonthYearWithoutPadding)
{
    EXPECT_EQ(Expected(std::string("T : SYSTEMTIME {") + kMarch5Body), Dump(kMarch5));
}

TEST_F(DumpTest, AFileTimeHasTheBodyOfItsSystemTime)
{
    EXPECT_EQ(Expected(std::string("T : FILETIME {") + kMarch5Body), Dump(FileTimeOf(kMarch5)));
}

TEST_F(DumpTest, AFileTimeThatIsNoneIsZeros)
{
    EXPECT_EQ(Expected("T : FILETIME {\n0/0/0  0:0:0:0\n\n}\n"), Dump(FILETIME{0xFFFFFFFF, 0xFFFFFFFF}));
}

TEST_F(DumpTest, AnObjectInfoOfTypeInvalidHasItsNameOnly)
{
    EXPECT_EQ(Expected("T : OBJNOTIFY {\nwObjType = OBJTYPE_INVALID\n}\n"), Dump(CEOIDINFO{}));
}

TEST_F(DumpTest, AnObjectInfoOfAnUnknownTypeHasTheLabelOnly)
{
    CEOIDINFO info = {};
    info.wObjType = 7;
    EXPECT_EQ(Expected("T : OBJNOTIFY {\nwObjType = \n}\n"), Dump(info));
}

TEST_F(DumpTest, AnObjectInfoOfAFileHasTheFileFields)
{
    CEOIDINFO info = {};
    info.wObjType = OBJTYPE_FILE;
    info.infFile.dwAttributes = 0x20;
    info.infFile.oidParent = 0x80000001;
    std::wcscpy(info.infFile.szFileName, L"map.kvl");
    info.infFile.ftLastChanged = FileTimeOf(kMarch5);
    info.infFile.dwLength = 4096;
    EXPECT_EQ(
        Expected(std::string("T : OBJNOTIFY {\nwObjType = OBJTYPE_FILE\ndwAttributes = 32\noidParent = -2147483647"
                             "\nszFileName = map.kvl\nftLastChanged = T : FILETIME {") +
                 kMarch5Body + "\ndwLength = 4096\n}\n"),
        Dump(info));
}

TEST_F(DumpTest, AnObjectInfoOfADirectoryHasTheDirectoryFields)
{
    CEOIDINFO info = {};
    info.wObjType = OBJTYPE_DIRECTORY;
    info.infDirectory.dwAttributes = 16;
    info.infDirectory.oidParent = 5;
    std::wcscpy(info.infDirectory.szDirName, L"Maps");
    EXPECT_EQ(Expected("T : OBJNOTIFY {\nwObjType = OBJTYPE_DIRECTORY\ndwAttributes = 16\noidParent = 5"
                       "\nszDirName = Maps\n}\n"),
              Dump(info));
}

TEST_F(DumpTest, AnObjectInfoOfADatabaseHasTheDatabaseFields)
{
    CEOIDINFO info = {};
    info.wObjType = OBJTYPE_DATABASE;
    info.infDatabase.dwFlags = 0xFFFFFFFF;
    std::wcscpy(info.infDatabase.szDbaseName, L"MSysTables");
    info.infDatabase.dwDbaseType = 24;
    info.infDatabase.wNumRecords = 65535;
    info.infDatabase.wNumSortOrder = 4;
    info.infDatabase.dwSize = 1000;
    info.infDatabase.ftLastModified = FileTimeOf(kMarch5);
    EXPECT_EQ(Expected(std::string("T : OBJNOTIFY {\nwObjType = OBJTYPE_DATABASE"
                                   "\ndwFlags = [ CEDB_VALIDMODTIME CEDB_VALIDNAME CEDB_VALIDTYPE CEDB_VALIDSORTSPEC"
                                   " CEDB_VALIDDBFLAGS CEDB_NOCOMPRESS]\nszDbaseName = MSysTables\ndwDbaseType = 24"
                                   "\nwNumRecords = 65535\nwNumSortOrder = 4\ndwSize = 1000"
                                   "\nftLastModified = T : FILETIME {") +
                       kMarch5Body + "\n}\n"),
              Dump(info));
}

TEST_F(DumpTest, EachDatabaseFlagHasItsOwnText)
{
    static constexpr struct
    {
        DWORD dwFlags;
        const char* pszTexts;
    } kCases[] = {
        {0, "[]"},
        {0x1, "[ CEDB_VALIDNAME]"},
        {0x2, "[ CEDB_VALIDTYPE]"},
        {0x4, "[ CEDB_VALIDSORTSPEC]"},
        {0x8, "[ CEDB_VALIDMODTIME]"},
        {0x10, "[ CEDB_VALIDDBFLAGS]"},
        {0x10000, "[ CEDB_NOCOMPRESS]"},
        {0x9, "[ CEDB_VALIDMODTIME CEDB_VALIDNAME]"},
        {0x20, "[]"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszTexts);
        CEOIDINFO info = {};
        info.wObjType = OBJTYPE_DATABASE;
        info.infDatabase.dwFlags = c.dwFlags;
        EXPECT_NE(std::string::npos,
                  Dump(info).find(OnDisk(std::string("\ndwFlags = ") + c.pszTexts + "\nszDbaseName")));
    }
}

TEST_F(DumpTest, AnObjectInfoOfARecordHasItsParent)
{
    CEOIDINFO info = {};
    info.wObjType = OBJTYPE_RECORD;
    info.infRecord.oidParent = 12;
    EXPECT_EQ(Expected("T : OBJNOTIFY {\nwObjType = OBJTYPE_RECORD\noidParent = 12\n}\n"), Dump(info));
}

TEST_F(DumpTest, ATextThatFillsItsFieldIsWrittenWholeAndNoFurther)
{
    CEOIDINFO info = {};
    info.wObjType = OBJTYPE_DATABASE;
    std::wmemset(info.infDatabase.szDbaseName, L'n', CEDB_MAXDBASENAMELEN);
    info.infDatabase.dwDbaseType = 0x00410041; // would be "AA" behind the name
    const std::string text = "\nszDbaseName = " + std::string(CEDB_MAXDBASENAMELEN, 'n') + "\ndwDbaseType";
    EXPECT_NE(std::string::npos, Dump(info).find(OnDisk(text)));
}

TEST_F(DumpTest, ATabInATextIsIndentedByTheDepthOfTheFields)
{
    OBJTYPEINFO info = {};
    std::wcscpy(info.szName, L"\tx");
    EXPECT_NE(std::string::npos, Dump(info).find(OnDisk("\nszName = \t    x\n")));
}

OBJNOTIFY MakeNotify()
{
    OBJNOTIFY notify = {};
    notify.cbStruct = sizeof(notify);
    std::wcscpy(notify.szObjType, L"Appointment");
    notify.uFlags = ONF_FILE | ONF_DELETED;
    notify.uPartnerBit = 2;
    notify.oidObject = 99;
    notify.oidInfo.wObjType = OBJTYPE_RECORD;
    notify.oidInfo.infRecord.oidParent = 12;
    notify.cOidChg = 3;
    notify.cOidDel = 4;
    return notify;
}

TEST_F(DumpTest, ANotificationGoesToTheGivenWriterAndItsObjectInfoToTheLog)
{
    EXPECT_EQ(Expected("\nT : OBJNOTIFY {\ncbStruct = 780\nszObjType = Appointment\nuFlags = [ ONF_FILE ONF_DELETED]"
                       "\nuPartnerBit = 2\noidObject = 99\ncOidChg = 3\ncOidDel = 4\n}\n"),
              Dump(MakeNotify()));
    EXPECT_EQ(OnDisk("\nbase/logutil(185) : 'Notify.oidInfo'"
                     "T : OBJNOTIFY {\nwObjType = OBJTYPE_RECORD\noidParent = 12\n}\n"),
              m_log.Bytes());
}

TEST_F(DumpTest, ANotificationWrittenToTheLogHasItsObjectInfoInTheMiddle)
{
    m_log.Writer() << MakeNotify();
    EXPECT_NE(std::string::npos,
              m_log.Bytes().find(OnDisk("\noidObject = 99\nbase/logutil(185) : 'Notify.oidInfo'T : ")));
}

TEST_F(DumpTest, ANotificationWithoutALogLosesOnlyItsObjectInfo)
{
    CStreamWriter* const pLog = std::exchange(theLogStream, nullptr);
    const std::string bytes = Dump(MakeNotify());
    theLogStream = pLog;
    EXPECT_NE(std::string::npos, bytes.find(OnDisk("\noidObject = 99\ncOidChg = 3")));
}

TEST_F(DumpTest, EachNotificationFlagHasItsOwnText)
{
    static constexpr struct
    {
        UINT uFlags;
        const char* pszTexts;
    } kCases[] = {
        {0, "[]"},
        {0x1, "[ ONF_FILE]"},
        {0x2, "[ ONF_DIRECTORY]"},
        {0x4, "[ ONF_DATABASE]"},
        {0x8, "[ ONF_RECORD]"},
        {0x10, "[ ONF_CHANGED]"},
        {0x20, "[ ONF_DELETED]"},
        {0x40, "[ ONF_CLEAR_CHANGE]"},
        {0x80, "[ ONF_CALL_BACK]"},
        {0x100, "[ ONF_CALLING_BACK]"},
        {0xFFFFFFFF, "[ ONF_FILE ONF_DIRECTORY ONF_DATABASE ONF_RECORD ONF_CHANGED ONF_DELETED ONF_CLEAR_CHANGE"
                     " ONF_CALL_BACK ONF_CALLING_BACK]"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszTexts);
        OBJNOTIFY notify = {};
        notify.uFlags = c.uFlags;
        EXPECT_NE(std::string::npos,
                  Dump(notify).find(OnDisk(std::string("\nuFlags = ") + c.pszTexts + "\nuPartnerBit")));
    }
}

TEST_F(DumpTest, ATypeInfoHasItsFields)
{
    OBJTYPEINFO info = {};
    info.cbStruct = sizeof(info);
    std::wcscpy(info.szObjType, L"Task");
    info.uFlags = 0x21;
    std::wcscpy(info.szName, L"Tasks Database");
    info.cObjects = 7;
    info.cbAllObj = 0xFFFFFFFF;
    info.ftLastModified = FileTimeOf(kMarch5);
    EXPECT_EQ(Expected(std::string("T : OBJTYPEINFO {\ncbStruct = 384\nszObjType = Task\nuFlags = 33"
                                   "\nszName = Tasks Database\ncObjects = 7\ncbAllObj = -1"
                                   "\nftLastModified = T : FILETIME {") +
                       kMarch5Body + "\n}\n"),
              Dump(info));
}

TEST_F(DumpTest, AnObjectListHasUnchangedThenChangedOnesAndTheVolume)
{
    UINT oids[] = {11, 12, 0x80000000};
    BYTE volume[] = {0x0A, 0xFF, 0x00};
    FINDOBJINFO info = {};
    info.uFlags = FO_MORE_VOLUME | FO_DONE_ONE_VOL;
    std::wcscpy(info.szObjType, L"Task");
    info.poid = oids;
    info.cUnChg = 2;
    info.cChg = 1;
    info.lpbVolumeID = volume;
    info.cbVolumeID = 3;
    EXPECT_EQ(
        Expected("T : FINDOBJINFO {\nuFlags = [ FO_MORE_VOLUME FO_DONE_ONE_VOL]\nszObjType = Task\ncUnChg = 2\ncChg = 1"
                 "\npoid = {\n11\n12\n//Changed objects :\n-2147483648\n}"
                 "\ncbVolumeID = 3\nlpbVolumeID = 0xa0xff0x0\n}\n"),
        Dump(info));
}

TEST_F(DumpTest, AnObjectListWithoutObjectsHasNoClosingBraceForThem)
{
    FINDOBJINFO info = {};
    info.uFlags = FO_DONE_ONE_VOL;
    info.cUnChg = 5;
    info.cbVolumeID = 6;
    EXPECT_EQ(Expected("T : FINDOBJINFO {\nuFlags = [ FO_DONE_ONE_VOL]\nszObjType = \ncUnChg = 5\ncChg = 0"
                       "\npoid = {(NULL)\ncbVolumeID = 6\nlpbVolumeID = (NULL)\n}\n"),
              Dump(info));
}

TEST_F(DumpTest, AnEmptyObjectListHasTheHeadingOfTheChangedOnes)
{
    UINT none = 0;
    BYTE volume = 0;
    FINDOBJINFO info = {};
    info.poid = &none;
    info.lpbVolumeID = &volume;
    EXPECT_EQ(
        Expected("T : FINDOBJINFO {\nuFlags = []\nszObjType = \ncUnChg = 0\ncChg = 0\npoid = {\n//Changed objects :\n}"
                 "\ncbVolumeID = 0\nlpbVolumeID = \n}\n"),
        Dump(info));
}

TEST_F(DumpTest, AReplicationSetupHasItsFields)
{
    REPLSETUP setup = {};
    setup.cbStruct = sizeof(setup);
    setup.fRead = TRUE;
    setup.dwFlags = RSF_COMBINE;
    setup.hr = E_FAIL;
    std::wcscpy(setup.szObjType, L"Contact");
    setup.oid = 21;
    setup.oidNew = 22;
    EXPECT_EQ(Expected("T : REPLSETUP {\ncbStruct = 236\nfRead = 1\ndwFlags = 8\nhr = -2147467259\nszObjType = Contact"
                       "\noid = 21\noidNew = 22\n}\n"),
              Dump(setup));
}

} // namespace
