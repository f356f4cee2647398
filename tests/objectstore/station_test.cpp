// How processes find each other at a volume: files that look alike or cannot be looked at, many volumes, and rows that a
// killed process left.
#include "agent.h"
#include "support/import_patch.h"

#include <optional>
#include <winternl.h>

namespace {

// As on two disks, where files may have the same index.
NTSTATUS NTAPI QuerySameIndex(HANDLE hFile, PIO_STATUS_BLOCK pStatus, PVOID p, ULONG cb, FILE_INFORMATION_CLASS what)
{
    const NTSTATUS status = ::NtQueryInformationFile(hFile, pStatus, p, cb, what);
    if (status >= 0 && what == FileInternalInformation)
        static_cast<FILE_INTERNAL_INFORMATION*>(p)->IndexNumber.QuadPart = 4711;
    return status;
}

class CSameIndexes
{
private:
    CImportPatch m_patch{L"korvanestore.dll", "NtQueryInformationFile", &QuerySameIndex};
};

// Arguments: "same", for files of one index, or "own"; volumes. Mounts them and says their GUIDs.
int RunMounter(const CArguments& arguments)
{
    std::optional<CSameIndexes> same;
    if (arguments.at(0) == L"same") same.emplace();
    for (size_t i = 1; i < arguments.size(); ++i) Say(RenderGuid(MountVolume(arguments[i], OPEN_ALWAYS)));
    std::string strLine;
    Hear(strLine);
    return 0;
}

const CRole g_mounter(L"mounter", RunMounter);

class StationTest : public VolumeTest
{
protected:
    std::wstring File(int n) { return m_folder.File((std::to_wstring(n) + L".vol").c_str()); }
    static std::string DatabasesOf(CEGUID guid)
    {
        std::string strNames;
        const CDb all(::CeFindFirstDatabaseEx(&guid, 0));
        CEOIDINFO info;
        while (const CEOID oid = ::CeFindNextDatabaseEx(all, nullptr)) {
            if (!::CeOidGetInfoEx(&guid, oid, &info)) return "?";
            for (const wchar_t* p = info.infDatabase.szDbaseName; *p; ++p) strNames += static_cast<char>(*p);
        }
        return strNames;
    }
};

TEST_F(StationTest, FilesWithTheSameIndexAreVolumesOfTheirOwn)
{
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    const CSameIndexes same;
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    CEGUID second = MountVolume(File(2), CREATE_NEW);
    EXPECT_FALSE(SameGuid(m_guid, second));
    MakeDatabase(m_guid, L"A");
    MakeDatabase(second, L"B");
    CChild child(L"mounter", {L"same", File(2), File(3), m_strPath});
    EXPECT_EQ(RenderGuid(second), child.ReadLine());
    const std::string strThird = child.ReadLine();
    EXPECT_NE(RenderGuid(second), strThird);
    EXPECT_NE(RenderGuid(m_guid), strThird);
    EXPECT_EQ(RenderGuid(m_guid), child.ReadLine());
    CEGUID third = MountVolume(File(3), OPEN_EXISTING);
    EXPECT_EQ(strThird, RenderGuid(third));
    MakeDatabase(third, L"C");
    EXPECT_EQ("A", DatabasesOf(m_guid));
    EXPECT_EQ("B", DatabasesOf(second));
    EXPECT_EQ("C", DatabasesOf(third));
    child.Kill();
    EXPECT_WORKS(::CeUnmountDBVol(&second));
    second = MountVolume(File(2), OPEN_EXISTING);
    EXPECT_EQ("B", DatabasesOf(second));
    EXPECT_WORKS(::CeUnmountDBVol(&second));
    EXPECT_WORKS(::CeUnmountDBVol(&third));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(StationTest, AnotherNameOfAFileIsTheSameVolumeWhateverItsIndex)
{
    const std::wstring strLink = m_folder.File(L"link.vol");
    ASSERT_TRUE(::CreateHardLinkW(strLink.c_str(), m_strPath.c_str(), nullptr));
    CEGUID other = MountVolume(File(2), CREATE_NEW);
    CAgent agent(strLink);
    EXPECT_EQ(RenderGuid(m_guid), agent.Do("mount 3"));
    EXPECT_EQ("1", agent.Do("unmount"));
    EXPECT_WORKS(::CeUnmountDBVol(&other));
}

BOOL WINAPI RefuseLock(HANDLE, DWORD, DWORD, DWORD, DWORD, LPOVERLAPPED)
{
    ::SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
}

std::wstring g_strRefused;

HANDLE WINAPI RefuseFile(LPCWSTR pszPath, DWORD dwAccess, DWORD dwShare, LPSECURITY_ATTRIBUTES pSecurity, DWORD dwHow,
                         DWORD dwFlags, HANDLE hTemplate)
{
    if (g_strRefused != pszPath) return ::CreateFileW(pszPath, dwAccess, dwShare, pSecurity, dwHow, dwFlags, hTemplate);
    ::SetLastError(ERROR_TOO_MANY_OPEN_FILES);
    return INVALID_HANDLE_VALUE;
}

TEST_F(StationTest, AFileThatMayBeOneThatIsOpenUnderAnotherNameIsRefused)
{
    // As a second volume it would be the end of both.
    const std::wstring strLink = m_folder.File(L"link.vol");
    ASSERT_TRUE(::CreateHardLinkW(strLink.c_str(), m_strPath.c_str(), nullptr));
    CEGUID guid;
    {
        const CImportPatch patch(L"korvanestore.dll", "LockFileEx", &RefuseLock);
        EXPECT_FAILS(ERROR_SHARING_VIOLATION,
                     ::CeMountDBVol(&guid, const_cast<LPWSTR>(strLink.c_str()), OPEN_EXISTING));
    }
    CAgent agent(m_strPath);
    EXPECT_EQ(RenderGuid(m_guid), agent.Do("mount 3"));
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    {
        g_strRefused = m_strPath;
        const CImportPatch patch(L"korvanestore.dll", "CreateFileW", &RefuseFile);
        EXPECT_FAILS(ERROR_SHARING_VIOLATION,
                     ::CeMountDBVol(&guid, const_cast<LPWSTR>(strLink.c_str()), OPEN_EXISTING));
    }
    m_guid = MountVolume(strLink, OPEN_EXISTING);
    EXPECT_EQ(RenderGuid(m_guid), agent.Do("mount 3"));
}

TEST_F(StationTest, AnOpenVolumeHasNoLockOnItsFile)
{
    // Wine keeps each closed handle of a file for as long as there is a lock on it: mounting again and again would use up
    // what it has.
    for (int i = 0; i < 3; ++i) {
        CEGUID again = MountVolume(m_strPath, OPEN_EXISTING);
        EXPECT_WORKS(::CeUnmountDBVol(&again));
    }
    const HANDLE hFile = ::CreateFileW(m_strPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, hFile);
    OVERLAPPED start = {};
    EXPECT_TRUE(::LockFileEx(hFile, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, MAXDWORD, 0, &start));
    ::CloseHandle(hFile);
}

TEST_F(StationTest, ManyVolumesAtOnceAndAgainBehindAKilledProcess)
{
    constexpr int kVolumes = 24;
    CArguments arguments = {L"own"}, paths;
    for (int i = 0; i < kVolumes; ++i) paths.push_back(File(i));
    arguments.insert(arguments.end(), paths.begin(), paths.end());
    std::vector<std::string> killed;
    for (int nRound = 0; nRound < 3; ++nRound) {
        CChild child(L"mounter", arguments);
        std::vector<std::string> names;
        for (int i = 0; i < kVolumes; ++i) names.push_back(child.ReadLine());
        std::vector<CEGUID> guids;
        for (int i = 0; i < kVolumes; ++i) {
            guids.push_back(MountVolume(paths[i], OPEN_EXISTING));
            EXPECT_EQ(names[i], RenderGuid(guids.back())) << i;
            if (nRound > 0) {
                EXPECT_NE(killed[i], names[i]) << "nobody had it open meanwhile";
            }
        }
        // What nobody else has open is gone with the child; the rest stays.
        for (int i = 0; i < kVolumes; i += 2) EXPECT_WORKS(::CeUnmountDBVol(&guids[i]));
        child.Kill();
        for (int i = 1; i < kVolumes; i += 2) {
            CEGUID again = MountVolume(paths[i], OPEN_EXISTING);
            EXPECT_EQ(names[i], RenderGuid(again)) << i;
            EXPECT_WORKS(::CeUnmountDBVol(&again));
            EXPECT_WORKS(::CeUnmountDBVol(&guids[i]));
        }
        killed = names;
    }
}

} // namespace
