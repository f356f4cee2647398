// Mounting, unmounting, flushing and enumerating volumes.
#include "agent.h"
#include "support/import_patch.h"
#include "volume_image.h"

#include <algorithm>
#include <cctype>

namespace {

class MountTest : public VolumeTest
{
protected:
    // A mount that may fail; GUID and last error are kept.
    BOOL Mount(const std::wstring& strPath, DWORD dwFlags)
    {
        m_other = {1, 2, 3, 4};
        ::SetLastError(kNoLastError);
        const BOOL bResult = ::CeMountDBVol(&m_other, const_cast<LPWSTR>(strPath.c_str()), dwFlags);
        m_dwLast = ::GetLastError();
        return bResult;
    }
    void ExpectRefusal(const std::wstring& strPath, DWORD dwFlags, DWORD dwError)
    {
        const BOOL bMounted = Mount(strPath, dwFlags);
        EXPECT_FALSE(bMounted);
        EXPECT_EQ(dwError, m_dwLast);
        EXPECT_EQ(!bMounted, IsInvalidGuid(m_other));
        if (bMounted) Unmount();
    }
    // Every flag that opens refuses the bytes, and leaves them as they are.
    void ExpectUntouched(const std::vector<BYTE>& bytes, DWORD dwError)
    {
        const std::wstring strPath = m_folder.File(L"refused");
        WriteWholeFile(strPath, bytes);
        for (const DWORD dwFlags : {OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING}) {
            SCOPED_TRACE(dwFlags);
            ExpectRefusal(strPath, dwFlags, dwError);
            EXPECT_TRUE(bytes == ReadWholeFile(strPath));
        }
        EXPECT_TRUE(::DeleteFileW(strPath.c_str())) << "the refused file is still held";
    }
    void Unmount() { EXPECT_WORKS(::CeUnmountDBVol(&m_other)); }
    CEOID FindByName(CEGUID guid, const wchar_t* pszName)
    {
        CEOID oid = 0;
        const CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(pszName), 0, 0, nullptr));
        return db.IsOpen() ? oid : 0;
    }

    CEGUID m_other = InvalidGuid();
    DWORD m_dwLast = 0;
};

TEST_F(MountTest, EachFlagOnAMissingFile)
{
    static const struct
    {
        DWORD dwFlags, dwError;
    } kCases[] = {{CREATE_NEW, 0},
                  {CREATE_ALWAYS, 0},
                  {OPEN_ALWAYS, 0},
                  {OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
                  {TRUNCATE_EXISTING, ERROR_FILE_NOT_FOUND}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.dwFlags);
        const std::wstring strPath = m_folder.File(L"new" + std::to_wstring(c.dwFlags));
        EXPECT_EQ(c.dwError == 0, Mount(strPath, c.dwFlags));
        EXPECT_EQ(c.dwError, m_dwLast);
        EXPECT_EQ(c.dwError == 0, FileExists(strPath));
        EXPECT_EQ(c.dwError != 0, IsInvalidGuid(m_other));
        if (c.dwError == 0) Unmount();
    }
}

TEST_F(MountTest, EachFlagOnAVolumeThatIsThere)
{
    static const struct
    {
        DWORD dwFlags;
        BOOL bWorks;
        DWORD dwLast;
        bool bKeepsContent;
    } kCases[] = {{CREATE_NEW, FALSE, ERROR_FILE_EXISTS, true},
                  {CREATE_ALWAYS, TRUE, ERROR_ALREADY_EXISTS, false},
                  {OPEN_EXISTING, TRUE, 0, true},
                  {OPEN_ALWAYS, TRUE, ERROR_ALREADY_EXISTS, true},
                  {TRUNCATE_EXISTING, TRUE, 0, false}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.dwFlags);
        const std::wstring strPath = m_folder.File(L"there" + std::to_wstring(c.dwFlags));
        ASSERT_TRUE(Mount(strPath, CREATE_NEW));
        const CEOID oid = MakeDatabase(m_other, L"kept");
        Unmount();
        EXPECT_EQ(c.bWorks, Mount(strPath, c.dwFlags));
        EXPECT_EQ(c.dwLast, m_dwLast);
        if (!c.bWorks) {
            EXPECT_TRUE(IsInvalidGuid(m_other));
            ASSERT_TRUE(Mount(strPath, OPEN_EXISTING));
        }
        EXPECT_EQ(c.bKeepsContent ? oid : 0, FindByName(m_other, L"kept"));
        EXPECT_WORKS(MakeDatabase(m_other, L"another")) << "the volume cannot be written";
        Unmount();
    }
}

TEST_F(MountTest, AnUnknownFlagOrNoArgumentIsRefused)
{
    for (const DWORD dwFlags : {0ul, 6ul, 0xFFFFFFFFul})
        ExpectRefusal(m_folder.File(L"x"), dwFlags, ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(FileExists(m_folder.File(L"x")));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeMountDBVol(&m_other, nullptr, OPEN_ALWAYS));
    EXPECT_TRUE(IsInvalidGuid(m_other));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeMountDBVol(nullptr, m_strPath.data(), OPEN_ALWAYS));
}

TEST_F(MountTest, AMissingFolderIsAPathError)
{
    for (const DWORD dwFlags : {CREATE_NEW, CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING})
        ExpectRefusal(m_folder.File(L"nowhere\\x.vol"), dwFlags, ERROR_PATH_NOT_FOUND);
}

// The user the tests run as may well be one who may do everything, so the system's answer is put in.
bool g_bDenyNew = false;

HANDLE WINAPI DeniedCreate(LPCWSTR pszPath, DWORD dwAccess, DWORD dwShare, LPSECURITY_ATTRIBUTES pSecurity, DWORD dwHow,
                           DWORD dwAttributes, HANDLE hTemplate)
{
    const bool bNew = dwHow != OPEN_EXISTING && !FileExists(pszPath);
    if (!(dwAccess & GENERIC_WRITE) || (g_bDenyNew && !bNew))
        return ::CreateFileW(pszPath, dwAccess, dwShare, pSecurity, dwHow, dwAttributes, hTemplate);
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

TEST_F(MountTest, AVolumeThatMayNotBeWrittenIsRefusedAndLeftAlone)
{
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    const std::vector<BYTE> bytes = ReadWholeFile(m_strPath);
    {
        g_bDenyNew = false;
        const CImportPatch denied(L"korvanestore.dll", "CreateFileW", &DeniedCreate);
        for (const DWORD dwFlags : {CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING})
            ExpectRefusal(m_strPath, dwFlags, ERROR_ACCESS_DENIED);
        ExpectRefusal(m_folder.File(L"new.vol"), CREATE_NEW, ERROR_ACCESS_DENIED);
    }
    EXPECT_TRUE(bytes == ReadWholeFile(m_strPath));
    EXPECT_FALSE(FileExists(m_folder.File(L"new.vol")));
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
}

TEST_F(MountTest, AFolderThatTakesNoNewFilesIsEnough)
{
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    g_bDenyNew = true;
    const CImportPatch denied(L"korvanestore.dll", "CreateFileW", &DeniedCreate);
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    const CEOID oid = MakeDatabase(m_guid, L"inside");
    EXPECT_WORKS(Write(OpenDb(m_guid, oid), 0, CProps().I4(1, 1).Blob(2, std::vector<BYTE>(60000))));
    EXPECT_WORKS(::CeFlushDBVol(&m_guid));
    Remount();
    EXPECT_EQ(oid, FindByName(m_guid, L"inside"));
    ExpectRefusal(m_folder.File(L"new.vol"), OPEN_ALWAYS, ERROR_ACCESS_DENIED);
}

TEST_F(MountTest, AFolderIsNoVolume)
{
    const std::wstring strFolder = m_folder.File(L"folder");
    ASSERT_TRUE(::CreateDirectoryW(strFolder.c_str(), nullptr));
    for (const DWORD dwFlags : {CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING}) {
        SCOPED_TRACE(dwFlags);
        ExpectRefusal(strFolder, dwFlags, ERROR_ACCESS_DENIED);
    }
    EXPECT_TRUE(FileExists(strFolder));
}

TEST_F(MountTest, APathOfMaxPathUnitsIsTooLong)
{
    const std::wstring strLong(MAX_PATH, L'x');
    ExpectRefusal(strLong, OPEN_ALWAYS, ERROR_INVALID_PARAMETER);
    ExpectRefusal(std::wstring(5000, L'x'), CREATE_NEW, ERROR_INVALID_PARAMETER);
}

TEST_F(MountTest, ThePathMayHave259Units)
{
    std::wstring strPath = m_folder.Path();
    while (strPath.size() < MAX_PATH - 1 - 60) {
        strPath += L"\\" + std::wstring(20, L'd');
        ASSERT_TRUE(::CreateDirectoryW(strPath.c_str(), nullptr));
    }
    strPath += L"\\" + std::wstring(MAX_PATH - 2 - strPath.size(), L'f');
    ASSERT_EQ(MAX_PATH - 1u, strPath.size());
    ASSERT_TRUE(Mount(strPath, CREATE_NEW)) << m_dwLast;
    Unmount();
    EXPECT_TRUE(FileExists(strPath));
}

TEST_F(MountTest, AnyExtensionOrNoneWillDo)
{
    for (const wchar_t* pszName : {L"plain", L"a.cdb", L"b.tar.gz", L"mit Umlaut \x00e4 und \x4e2d"}) {
        ASSERT_TRUE(Mount(m_folder.File(pszName), CREATE_NEW)) << m_dwLast;
        Unmount();
        EXPECT_TRUE(FileExists(m_folder.File(pszName)));
    }
}

TEST_F(MountTest, ATextFileIsRefusedAndLeftAlone)
{
    const std::string strText = "Dear diary,\r\n";
    ExpectUntouched({strText.begin(), strText.end()}, ERROR_FILE_CORRUPT);
    std::vector<BYTE> longText;
    while (longText.size() < 40000) longText.insert(longText.end(), strText.begin(), strText.end());
    ExpectUntouched(longText, ERROR_FILE_CORRUPT);
}

TEST_F(MountTest, CreateAlwaysReplacesWhateverFileIsThere)
{
    const std::wstring strPath = m_folder.File(L"text.txt");
    WriteWholeFile(strPath, CImage(20000, 'x'));
    EXPECT_TRUE(Mount(strPath, CREATE_ALWAYS));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), m_dwLast);
    EXPECT_WORKS(MakeDatabase(m_other, L"first"));
    EXPECT_EQ("", CheckVolume(m_other));
    Unmount();
}

TEST_F(MountTest, AnEmptyFileIsRefusedAndLeftAlone)
{
    ExpectUntouched({}, ERROR_FILE_CORRUPT);
}

TEST_F(MountTest, ZerosAndOnesAreRefusedAndLeftAlone)
{
    for (const size_t cb : {1u, 511u, 4096u, 16384u, 65536u}) {
        SCOPED_TRACE(cb);
        ExpectUntouched(std::vector<BYTE>(cb, 0x00), ERROR_FILE_CORRUPT);
        ExpectUntouched(std::vector<BYTE>(cb, 0xFF), ERROR_FILE_CORRUPT);
    }
}

// The two meta pages of an empty file of the same engine, as another program would have made it.
TEST_F(MountTest, AFileOfTheSameEngineButNotOursIsRefusedAndLeftAlone)
{
    for (const size_t cb : {8192u, 16384u, 65536u}) {
        std::vector<BYTE> bytes(cb, 0);
        for (DWORD dwPage = 0; dwPage < 2; ++dwPage) {
            // page: number, pad, flags (meta), bounds; meta: magic, version, address, map size, two trees, last page,
            // id
            const DWORD rgWords[] = {dwPage, 0x00080000, 0, 0xBEEFC0DE, 1, 0, 1048576, 4096, 0,          0, 0,     0,
                                     0,      0xFFFFFFFF, 0, 0,          0, 0, 0,       0,    0xFFFFFFFF, 1, dwPage};
            std::copy_n(reinterpret_cast<const BYTE*>(rgWords), sizeof rgWords, bytes.begin() + dwPage * 4096);
        }
        SCOPED_TRACE(cb);
        ExpectUntouched(bytes, ERROR_FILE_CORRUPT);
    }
}

TEST_F(MountTest, AVolumeCutShortIsRefusedAndLeftAlone)
{
    CDb db = OpenDb(m_guid, MakeDatabase(m_guid, L"notes"));
    for (int i = 0; i < 200; ++i) ASSERT_WORKS(Write(db, 0, CProps().I4(1, i).Text(2, std::wstring(100, L'n'))));
    db.Close();
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    const std::vector<BYTE> whole = ReadWholeFile(m_strPath);
    m_guid = InvalidGuid();
    for (const size_t cb :
         {whole.size() - 1, whole.size() - 4096, whole.size() / 2, size_t(8192), size_t(4096), size_t(100)}) {
        SCOPED_TRACE(cb);
        ExpectUntouched({whole.begin(), whole.begin() + cb}, ERROR_FILE_CORRUPT);
    }
}

TEST_F(MountTest, AVolumeOfAnotherVersionIsRefusedAndLeftAlone)
{
    MakeDatabase(m_guid, L"notes");
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    const CImage image = ReadWholeFile(m_strPath);
    ASSERT_EQ(0, std::memcmp(&image[2 * kPageBytes], "KORVANEV", 8));
    for (const DWORD dwVersion : {0ul, 2ul, 0xFFFFFFFFul}) {
        CImage other = image;
        for (const size_t nPage : kHeaderPages) {
            SetImageWord(other, nPage, kHeaderVersion, dwVersion);
            FixChecksum(other, nPage);
        }
        ExpectUntouched(other, ERROR_REVISION_MISMATCH);
    }
}

// What a killed process, or a power cut, has left is put in order only once the volume is accepted.
TEST_F(MountTest, AVolumeWithContentOfAnotherVersionIsLeftAsItWasLeft)
{
    MakeDatabase(m_guid, L"flushed");
    ASSERT_WORKS(::CeFlushDBVol(&m_guid));
    const CDb db = OpenDb(m_guid, MakeDatabase(m_guid, L"later"));
    for (int i = 0; i < 50; ++i) ASSERT_WORKS(Write(db, 0, CProps().I4(1, i)));
    CImage image = ReadWholeFile(m_strPath); // in use
    // The volume record's entry: its size, flags, the length of its key, the key, the version.
    const std::vector<BYTE> entry = {20, 0, 0, 0, 0, 0, 1, 0, 1, 1, 0, 0, 0};
    int nFound = 0;
    for (auto at = image.begin();; ++nFound) {
        at = std::search(at, image.end(), entry.begin(), entry.end());
        if (at == image.end()) break;
        at[9] = 2;
    }
    ASSERT_GT(nFound, 0);
    CImage ofEarlierRun = image;
    ChangeBootMark(ofEarlierRun);
    const std::wstring strPath = m_folder.File(L"refused");
    for (const CImage& one : {image, ofEarlierRun}) {
        WriteWholeFile(strPath, one);
        for (const DWORD dwFlags : {OPEN_EXISTING, OPEN_ALWAYS}) {
            ExpectRefusal(strPath, dwFlags, ERROR_REVISION_MISMATCH);
            EXPECT_TRUE(one == ReadWholeFile(strPath));
        }
    }
}

TEST_F(MountTest, OneSoundHeaderIsEnough)
{
    const CEOID oid = MakeDatabase(m_guid, L"notes");
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    const CImage image = ReadWholeFile(m_strPath);
    // The older copy may be damaged without harm; both damaged is no volume.
    const size_t nOlder = ImageWord(image, 2, 16) > ImageWord(image, 3, 16) ? 3 : 2;
    CImage damaged = image;
    damaged[nOlder * kPageBytes + 50] ^= 1;
    WriteWholeFile(m_strPath, damaged);
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ(oid, FindByName(m_guid, L"notes"));
    EXPECT_EQ("", CheckVolume(m_guid));
    damaged[(5 - nOlder) * kPageBytes + 50] ^= 1;
    ExpectUntouched(damaged, ERROR_FILE_CORRUPT);
}

TEST_F(MountTest, EverySpellingOfAPathIsOneVolume)
{
    std::wstring strUpper = m_strPath, strForward = m_strPath;
    std::transform(strUpper.begin(), strUpper.end(), strUpper.begin(), ::towupper);
    std::replace(strForward.begin(), strForward.end(), L'\\', L'/');
    wchar_t szOld[MAX_PATH] = L"";
    ::GetCurrentDirectoryW(MAX_PATH, szOld);
    ASSERT_TRUE(::SetCurrentDirectoryW(m_folder.Path().c_str()));
    ASSERT_TRUE(::CreateDirectoryW(L"sub", nullptr));
    const std::wstring spellings[] = {m_strPath,
                                      strUpper,
                                      strForward,
                                      m_folder.File(L".\\test.vol"),
                                      L"test.vol",
                                      L".\\TEST.VOL",
                                      m_folder.File(L"sub\\..\\test.vol"),
                                      m_folder.File(L"\\test.vol"),
                                      L"\\\\?\\" + m_strPath};
    for (const std::wstring& strPath : spellings) {
        SCOPED_TRACE(::testing::PrintToString(strPath));
        EXPECT_TRUE(Mount(strPath, OPEN_EXISTING)) << m_dwLast;
        EXPECT_TRUE(SameGuid(m_guid, m_other));
        Unmount();
    }
    ::SetCurrentDirectoryW(szOld);
}

TEST_F(MountTest, ASecondNameOfAFileIsTheSameVolume)
{
    const std::wstring strLink = m_folder.File(L"link.vol");
    ASSERT_TRUE(::CreateHardLinkW(strLink.c_str(), m_strPath.c_str(), nullptr));
    EXPECT_TRUE(Mount(strLink, OPEN_EXISTING)) << m_dwLast;
    EXPECT_TRUE(SameGuid(m_guid, m_other));
    Unmount();
}

TEST_F(MountTest, MountsAreCounted)
{
    ASSERT_TRUE(Mount(m_strPath, OPEN_ALWAYS));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), m_dwLast);
    EXPECT_TRUE(SameGuid(m_guid, m_other));
    Unmount();
    EXPECT_WORKS(MakeDatabase(m_guid, L"still here"));
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeUnmountDBVol(&m_guid));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFlushDBVol(&m_guid));
    CEDBASEINFOEX info = BaseInfo(L"too late");
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabaseEx2(&m_guid, &info));
    m_guid = InvalidGuid();
}

TEST_F(MountTest, AMountedVolumeIsNeitherReplacedNorEmptied)
{
    MakeDatabase(m_guid, L"kept");
    ExpectRefusal(m_strPath, CREATE_ALWAYS, ERROR_SHARING_VIOLATION);
    ExpectRefusal(m_strPath, TRUNCATE_EXISTING, ERROR_SHARING_VIOLATION);
    ExpectRefusal(m_strPath, CREATE_NEW, ERROR_FILE_EXISTS);
    EXPECT_NE(0u, FindByName(m_guid, L"kept"));
    CAgent agent(m_strPath);
    EXPECT_EQ("error 32", agent.Do("mount 2"));
    EXPECT_EQ("error 32", agent.Do("mount 5"));
    EXPECT_EQ("error 80", agent.Do("mount 1"));
    EXPECT_NE(0u, FindByName(m_guid, L"kept"));
}

TEST_F(MountTest, AnotherProcessGetsTheSameGuid)
{
    CAgent agent(m_strPath);
    EXPECT_EQ(RenderGuid(m_guid), agent.Do("mount 3"));
    EXPECT_EQ("1", agent.Do("unmount"));
    EXPECT_EQ("error 87", agent.Do("unmount")) << "its mounts are its own";
}

TEST_F(MountTest, UnmountingWithOpenHandlesKeepsTheHandlesWorking)
{
    const CEOID oid = MakeDatabase(m_guid, L"open");
    CDb db = OpenDb(m_guid, oid);
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFlushDBVol(&m_guid));
    m_guid = InvalidGuid();
    const CEOID oidRecord = Write(db, 0, CProps().I4(1, 77));
    EXPECT_WORKS(oidRecord);
    EXPECT_EQ("1:I4=77", Read(db).strContent);
    db.Close();
    EXPECT_TRUE(::MoveFileW(m_strPath.c_str(), m_folder.File(L"moved").c_str())) << "the file was not let go";
    m_strPath = m_folder.File(L"moved");
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ("1:I4=77", ReadOid(OpenDb(m_guid, oid), oidRecord).strContent);
}

TEST_F(MountTest, TheFileIsLetGoWithTheLastMount)
{
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    EXPECT_TRUE(::DeleteFileW(m_strPath.c_str()));
    EXPECT_FALSE(FileExists(m_strPath));
    WIN32_FIND_DATAW found;
    const HANDLE hSearch = ::FindFirstFileW(m_folder.File(L"test*").c_str(), &found);
    EXPECT_EQ(INVALID_HANDLE_VALUE, hSearch) << "something else was left beside the volume";
}

TEST_F(MountTest, TheVolumeIsOneFileInProportionToItsContent)
{
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    EXPECT_LE(ReadWholeFile(m_strPath).size(), 128u * 1024) << "an empty volume";
}

TEST_F(MountTest, UnmountAndFlushRefuseWhatIsNotMounted)
{
    CEGUID guid = InvalidGuid();
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeUnmountDBVol(&guid));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFlushDBVol(&guid));
    guid = {1, 2, 3, 4};
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeUnmountDBVol(&guid));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFlushDBVol(&guid));
    guid = SystemGuid();
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeUnmountDBVol(&guid)) << "the object store is always mounted";
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeUnmountDBVol(nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFlushDBVol(nullptr));
    EXPECT_WORKS(::CeFlushDBVol(&m_guid));
}

TEST_F(MountTest, TheObjectStoreNeedsNoMountAndFlushes)
{
    CEGUID guid = SystemGuid();
    const CEOID oid = MakeDatabase(guid, L"mount test");
    EXPECT_WORKS(oid);
    EXPECT_WORKS(::CeFlushDBVol(&guid));
    EXPECT_WORKS(::CeDeleteDatabaseEx(&guid, oid));
}

} // namespace
