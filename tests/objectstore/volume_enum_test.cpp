// Enumerating mounted volumes, and the locale of a volume.
#include "agent.h"

#include <algorithm>
#include <map>

namespace {

class VolumeEnumTest : public VolumeTest
{
protected:
    // Path by GUID, of all volumes mounted on this machine.
    static std::map<std::string, std::wstring> MountedVolumes()
    {
        std::map<std::string, std::wstring> volumes;
        CEGUID guid = InvalidGuid();
        wchar_t szPath[MAX_PATH] = L"";
        ::SetLastError(kNoLastError);
        while (::CeEnumDBVolumes(&guid, szPath, MAX_PATH)) {
            EXPECT_TRUE(volumes.emplace(RenderGuid(guid), szPath).second) << "a volume came twice";
            ::SetLastError(kNoLastError);
        }
        const DWORD dwLast = ::GetLastError();
        // Volumes of programs outside this test may come and go meanwhile.
        EXPECT_TRUE(dwLast == ERROR_NO_MORE_ITEMS || dwLast == ERROR_KEY_DELETED) << dwLast;
        return volumes;
    }
};

TEST_F(VolumeEnumTest, EveryMountedVolumeComesOnceWithItsPath)
{
    CEGUID other = MountVolume(m_folder.File(L"other.vol"), CREATE_NEW);
    const auto volumes = MountedVolumes();
    EXPECT_EQ(1u, volumes.count(RenderGuid(m_guid)));
    EXPECT_EQ(1u, volumes.count(RenderGuid(other)));
    EXPECT_EQ(0u, volumes.count(RenderGuid(SystemGuid()))) << "the object store is not listed";
    if (volumes.count(RenderGuid(m_guid))) {
        EXPECT_EQ(0, ::lstrcmpiW(m_strPath.c_str(), volumes.at(RenderGuid(m_guid)).c_str()));
    }
    EXPECT_WORKS(::CeUnmountDBVol(&other));
    EXPECT_EQ(0u, MountedVolumes().count(RenderGuid(other)));
}

TEST_F(VolumeEnumTest, AVolumeOfAnotherProcessIsSeen)
{
    const std::wstring strOther = m_folder.File(L"theirs.vol");
    CAgent agent(strOther);
    const std::string strGuid = agent.Do("mount 1");
    EXPECT_EQ(1u, MountedVolumes().count(strGuid));
    EXPECT_EQ("1", agent.Do("unmount"));
    EXPECT_EQ(0u, MountedVolumes().count(strGuid));
}

TEST_F(VolumeEnumTest, AVolumeOfAKilledProcessIsForgotten)
{
    CAgent agent(m_folder.File(L"killed.vol"));
    const std::string strGuid = agent.Do("mount 1");
    EXPECT_EQ(1u, MountedVolumes().count(strGuid));
    agent.Kill();
    EXPECT_EQ(0u, MountedVolumes().count(strGuid));
}

TEST_F(VolumeEnumTest, ASmallBufferLeavesTheGuidAsItWas)
{
    CEGUID guid = InvalidGuid();
    wchar_t szPath[MAX_PATH] = L"";
    szPath[3] = L'#';
    EXPECT_FAILS(ERROR_INSUFFICIENT_BUFFER, ::CeEnumDBVolumes(&guid, szPath, 3));
    EXPECT_TRUE(IsInvalidGuid(guid));
    EXPECT_EQ(L'#', szPath[3]) << "written behind the buffer";
    EXPECT_FAILS(ERROR_INSUFFICIENT_BUFFER, ::CeEnumDBVolumes(&guid, szPath, 0));
    EXPECT_WORKS(::CeEnumDBVolumes(&guid, szPath, MAX_PATH));
}

TEST_F(VolumeEnumTest, TheBufferThatJustFitsIsEnough)
{
    CEGUID guid = InvalidGuid(), before = guid;
    wchar_t szPath[MAX_PATH] = L"";
    while (::CeEnumDBVolumes(&guid, szPath, MAX_PATH) && !SameGuid(guid, m_guid)) before = guid;
    ASSERT_TRUE(SameGuid(guid, m_guid));
    const DWORD cch = static_cast<DWORD>(wcslen(szPath));
    CEGUID again = before;
    EXPECT_FAILS(ERROR_INSUFFICIENT_BUFFER, ::CeEnumDBVolumes(&again, szPath, cch));
    EXPECT_TRUE(SameGuid(before, again));
    EXPECT_WORKS(::CeEnumDBVolumes(&again, szPath, cch + 1));
    EXPECT_TRUE(SameGuid(m_guid, again));
}

TEST_F(VolumeEnumTest, BadArgumentsAreRefused)
{
    wchar_t szPath[MAX_PATH];
    CEGUID guid = InvalidGuid();
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeEnumDBVolumes(nullptr, szPath, MAX_PATH));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeEnumDBVolumes(&guid, nullptr, MAX_PATH));
}

TEST_F(VolumeEnumTest, GoingOnFromAVolumeThatIsGoneSaysSo)
{
    CEGUID other = MountVolume(m_folder.File(L"other.vol"), CREATE_NEW);
    CEGUID at = other;
    EXPECT_WORKS(::CeUnmountDBVol(&other));
    wchar_t szPath[MAX_PATH] = L"";
    EXPECT_FAILS(ERROR_KEY_DELETED, ::CeEnumDBVolumes(&at, szPath, MAX_PATH));
}

TEST_F(VolumeEnumTest, AChangedLocaleSortsTextsAnew)
{
    const CEPROPID kName = Prop(1, CEVT_LPWSTR);
    const CEOID oidDatabase = MakeDatabase(m_guid, L"names", {Order({{kName, CEDB_SORT_CASEINSENSITIVE}})});
    {
        const CDb db = OpenDb(m_guid, oidDatabase, kName);
        for (const wchar_t* psz : {L"m", L"B", L"a", L"\x00e4", L"z"})
            EXPECT_WORKS(Write(db, 0, CProps().Text(1, psz)));
    }
    ::CeChangeDatabaseLCID(&m_guid, MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT));
    const CDb db = OpenDb(m_guid, oidDatabase, kName);
    EXPECT_EQ(5u, WalkForward(db).size());
    EXPECT_EQ("", CheckVolume(m_guid));
    for (const wchar_t* psz : {L"M", L"b", L"A", L"\x00c4", L"Z"})
        EXPECT_WORKS(::CeSeekDatabase(db, CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Text(1, psz).Address(), nullptr));
}

TEST_F(VolumeEnumTest, ALocaleForNoVolumeDoesNothing)
{
    CEGUID guid = {1, 2, 3, 4};
    ::CeChangeDatabaseLCID(&guid, LOCALE_SYSTEM_DEFAULT);
    ::CeChangeDatabaseLCID(nullptr, LOCALE_SYSTEM_DEFAULT);
    EXPECT_EQ("", CheckVolume(m_guid));
}

} // namespace
