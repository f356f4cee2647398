// Damaged volumes: whatever the bytes of the file, the store answers with results or errors. It never crashes or hangs.
//
// A child does the opening, so that a crash is told from an error: it says the number of each case before it begins.
#include "child.h"
#include "support.h"
#include "volume_image.h"

#include <algorithm>
#include <cstdio>
#include <random>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr unsigned kMutations = 2000;
constexpr int kMostSteps = 5000; // far more than the volume has records

DWORD AnyWord(std::mt19937& random, const CImage& image)
{
    static const DWORD kSpecial[] = {0,          1,          2,          3,          0x7F, 0xFF, 0xFFFF,
                                     0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF, 4095, 4096};
    if (random() % 3 == 0) return random();
    if (random() % 2) return random() % static_cast<DWORD>(image.size() / kPageBytes + 2);
    return kSpecial[random() % (sizeof kSpecial / sizeof *kSpecial)];
}

// One way of damaging a volume, from its number alone.
CImage Mutate(CImage image, unsigned nCase)
{
    std::mt19937 random(nCase * 7919 + 1);
    const size_t nPages = image.size() / kPageBytes;
    const auto at = [&](size_t nPage, size_t nOffset) { return image.begin() + nPage * kPageBytes + nOffset; };
    for (unsigned nTimes = 1 + random() % 3; nTimes > 0; --nTimes) {
        const size_t nPage = random() % nPages, nOther = random() % nPages;
        switch (random() % 10) {
        case 0:
            image[random() % image.size()] ^= 1 << random() % 8;
            break;
        case 1:
            image[random() % image.size()] = static_cast<BYTE>(random());
            break;
        case 2:
            SetImageWord(image, nPage, random() % 1023 * 4, AnyWord(random, image));
            break;
        case 3:
            SetImageWord(image, nPage, random() % 8 * 4, AnyWord(random, image));
            break; // page headers
        case 4:
            SetImageWord(image, nPage, random() % 60 * 2, AnyWord(random, image));
            break; // their tables of entries
        case 5:
            std::fill_n(at(nPage, 0), kPageBytes, random() % 2 ? 0 : 0xFF);
            break;
        case 6:
            std::copy_n(at(nOther, 0), kPageBytes, at(nPage, 0));
            break;
        case 7:
            std::generate_n(at(nPage, random() % 3840), 256, [&] { return static_cast<BYTE>(random()); });
            break;
        case 8:
            SetImageWord(image, random() % 2, random() % 40 * 4, AnyWord(random, image));
            break; // the engine's metas
        default:
            for (const size_t nHeader : kHeaderPages)
                SetImageWord(image, nHeader, 12 + random() % 23 * 4, AnyWord(random, image));
            break;
        }
    }
    // As a stranger would hand it over: with headers that look sound.
    if (random() % 2) {
        for (const size_t nHeader : kHeaderPages) FixChecksum(image, nHeader);
    }
    return image;
}

// Everything that can be done with a database that may be damaged. False when a walk does not end.
bool UseDatabase(CEGUID guid, CEOID oid, bool bWrite)
{
    CEOIDINFOEX info = {};
    info.wVersion = CEOIDINFOEX_VERSION;
    ::CeOidGetInfoEx2(&guid, oid, &info);
    for (const CEPROPID propid : {CEPROPID(0), kNumber, kName}) {
        const CDb db(::CeOpenDatabaseEx(&guid, &oid, nullptr, propid, 0, nullptr));
        if (!db.IsOpen()) continue;
        int nSteps = 0;
        for (CEOID at = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr); at;
             at = ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr)) {
            Read(db);
            if (++nSteps > kMostSteps) return false;
        }
        for (CEOID at = ::CeSeekDatabase(db, CEDB_SEEK_END, 0, nullptr); at;
             at = ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), nullptr)) {
            if (++nSteps > 2 * kMostSteps) return false;
        }
        DWORD dwIndex = 0;
        ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 77, &dwIndex);
        for (const long n : {-5, 50, 500}) {
            const CProps value = propid == kName ? std::move(CProps().Text(2, std::wstring(n < 0 ? 0 : n, L'm')))
                                                 : std::move(CProps().I4(1, n));
            for (const DWORD dwType : {CEDB_SEEK_VALUEFIRSTEQUAL, CEDB_SEEK_VALUEGREATER, CEDB_SEEK_VALUESMALLER,
                                       CEDB_SEEK_VALUENEXTEQUAL}) {
                ::CeSeekDatabase(db, dwType, value.Address(), &dwIndex);
                Read(db);
            }
        }
        if (!bWrite) continue;
        const CEOID oidNew = Write(db, 0, CProps().I4(1, 60).Text(2, std::wstring(700, L'n')));
        for (const CEOID at : {oidNew, oid + 5, oid + 90}) {
            Write(db, at, CProps().I4(1, 61).Text(2, L"changed"));
            ::CeDeleteRecord(db, at);
        }
    }
    return true;
}

// bWrite: changes it too; a flush costs much more than all the rest.
bool UseVolume(const std::wstring& strPath, bool bWrite)
{
    CEGUID guid;
    if (!::CeMountDBVol(&guid, const_cast<LPWSTR>(strPath.c_str()), OPEN_EXISTING)) return true;
    bool bEnds = true;
    wchar_t szProblem[64];
    ::CeCheckDBVol(&guid, szProblem, 64);
    {
        const CDb search(::CeFindFirstDatabaseEx(&guid, 0));
        for (int i = 0; search.IsOpen() && bEnds; ++i) {
            const CEOID oid = ::CeFindNextDatabaseEx(search, nullptr);
            if (!oid) break;
            bEnds = i < 1000 && UseDatabase(guid, oid, bWrite);
        }
        for (const wchar_t* pszName : {L"small", L"big", L"none"}) {
            CEOID oid = 0;
            const CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(pszName), 0, 0, nullptr));
        }
        if (!bWrite) {
            ::CeUnmountDBVol(&guid);
            return bEnds;
        }
        CEDBASEINFOEX info = BaseInfo(L"new", {Order({{kNumber}})});
        ::CeCreateDatabaseEx2(&guid, &info);
    }
    ::CeFlushDBVol(&guid);
    CEOID oid = 0;
    CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(L"big"), 0, 0, nullptr));
    db.Close();
    ::CeDeleteDatabaseEx(&guid, oid);
    ::CeUnmountDBVol(&guid);
    return bEnds;
}

// All records of all databases as one text.
std::string Contents(const std::wstring& strPath)
{
    CEGUID guid;
    if (!::CeMountDBVol(&guid, const_cast<LPWSTR>(strPath.c_str()), OPEN_EXISTING)) return "refused";
    std::string strAll;
    {
        const CDb search(::CeFindFirstDatabaseEx(&guid, 0));
        while (CEOID oidDatabase = ::CeFindNextDatabaseEx(search, nullptr)) {
            const CDb db(::CeOpenDatabaseEx(&guid, &oidDatabase, nullptr, 0, 0, nullptr));
            strAll += "database " + std::to_string(oidDatabase) + "\n";
            for (const CEOID oid : WalkForward(db)) strAll += ReadOid(db, oid).strContent + "\n";
        }
    }
    ::CeUnmountDBVol(&guid);
    return strAll;
}

// Tells the parent where, instead of starting a debugger.
LONG WINAPI TellCrash(EXCEPTION_POINTERS* pInfo)
{
    HMODULE hModule = nullptr;
    const void* const pAt = pInfo->ExceptionRecord->ExceptionAddress;
    char szModule[MAX_PATH] = "?", szLine[MAX_PATH + 100];
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<LPCWSTR>(pAt), &hModule);
    ::GetModuleFileNameA(hModule, szModule, MAX_PATH);
    std::snprintf(szLine, sizeof szLine, "exception %08lx at %s + 0x%x", pInfo->ExceptionRecord->ExceptionCode,
                  szModule, static_cast<unsigned>(static_cast<const BYTE*>(pAt) - reinterpret_cast<BYTE*>(hModule)));
    Say(szLine);
    ::TerminateProcess(::GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

int RunMutations(const CArguments& arguments)
{
    ::SetUnhandledExceptionFilter(TellCrash);
    const CImage image = ReadWholeFile(arguments.at(0));
    for (unsigned i = _wtoi(arguments.at(2).c_str()); i < kMutations; ++i) {
        Say("case " + std::to_string(i));
        WriteWholeFile(arguments.at(1), Mutate(image, i));
        if (!UseVolume(arguments.at(1), i % 5 == 0)) Say("endless");
    }
    Say("done");
    return 0;
}

int RunTruncations(const CArguments& arguments)
{
    ::SetUnhandledExceptionFilter(TellCrash);
    const CImage image = ReadWholeFile(arguments.at(0));
    for (size_t cb = (_wtoi(arguments.at(2).c_str()) + 511) / 512 * 512; cb < image.size(); cb += 512) {
        Say("case " + std::to_string(cb));
        const CImage cut(image.begin(), image.begin() + cb);
        WriteWholeFile(arguments.at(1), cut);
        CEGUID guid;
        ::SetLastError(kNoLastError);
        if (::CeMountDBVol(&guid, const_cast<LPWSTR>(arguments.at(1).c_str()), OPEN_EXISTING)) {
            Say("opened");
            ::CeUnmountDBVol(&guid);
            continue;
        }
        const DWORD dwLast = ::GetLastError();
        if (dwLast != ERROR_FILE_CORRUPT) Say("error " + std::to_string(dwLast));
        if (ReadWholeFile(arguments.at(1)) != cut) Say("changed");
    }
    Say("done");
    return 0;
}

// One byte changed, or the end cut off at a page; from the number of the case alone.
CImage Flip(CImage image, unsigned nCase, bool& bInHeader)
{
    std::mt19937 random(nCase * 104729 + 7);
    bInHeader = false;
    if (random() % 10 == 0) {
        image.resize(random() % (image.size() / kPageBytes) * kPageBytes);
        return image;
    }
    // Mostly where there is structure: the engine's metas, headers, the first bytes of a page.
    const size_t nPage = random() % 8 ? random() % (image.size() / kPageBytes) : random() % 4;
    const size_t nOffset = random() % 2 ? random() % 128 : random() % kPageBytes;
    image[nPage * kPageBytes + nOffset] ^= static_cast<BYTE>(1 + random() % 255);
    bInHeader = nPage == kHeaderPages[0] || nPage == kHeaderPages[1];
    return image;
}

// Arguments: the volume, the file to damage, the first case, their number. What the headers' checksums can tell must not
// change what is read.
int RunFlips(const CArguments& arguments)
{
    ::SetUnhandledExceptionFilter(TellCrash);
    const CImage image = ReadWholeFile(arguments.at(0));
    const std::wstring& strTarget = arguments.at(1);
    WriteWholeFile(strTarget, image);
    const std::string strGood = Contents(strTarget);
    const unsigned nCount = _wtoi(arguments.at(3).c_str());
    for (unsigned i = _wtoi(arguments.at(2).c_str()); i < nCount; ++i) {
        Say("case " + std::to_string(i));
        bool bInHeader;
        WriteWholeFile(strTarget, Flip(image, i, bInHeader));
        if (bInHeader && Contents(strTarget) != strGood) Say("another state, for a damage that a checksum tells");
        if (bInHeader) WriteWholeFile(strTarget, Flip(image, i, bInHeader));
        if (!UseVolume(strTarget, i % 25 == 0)) Say("endless");
    }
    Say("done");
    return 0;
}

const CRole g_flips(L"flips", RunFlips);
const CRole g_mutations(L"mutations", RunMutations), g_truncations(L"truncations", RunTruncations);

class RobustnessTest : public VolumeTest
{
protected:
    // A volume with two databases, long texts, blobs, deleted records: every kind of page.
    void SetUp() override
    {
        VolumeTest::SetUp();
        const CEOID small = MakeDatabase(m_guid, L"small", {Order({{kNumber}})});
        const CEOID big = MakeDatabase(
            m_guid, L"big", {Order({{kNumber, CEDB_SORT_DESCENDING}}), Order({{kName, CEDB_SORT_CASEINSENSITIVE}})});
        Fill(small, 12);
        Fill(big, 80);
        ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
        m_guid = InvalidGuid();
    }
    void Fill(CEOID oidDatabase, int nCount)
    {
        const CDb db = OpenDb(m_guid, oidDatabase);
        for (int i = 0; i < nCount; ++i) {
            const size_t cch = i % 9 == 0 ? 700 : i % 50;
            ASSERT_WORKS(Write(db, 0,
                               CProps()
                                   .I4(1, i * 7 % nCount)
                                   .Text(2, std::wstring(cch, L'a' + i % 26))
                                   .Blob(3, std::vector<BYTE>(i % 40 == 7 ? 9000 : 20))));
        }
        for (int i = 0; i < nCount / 8; ++i)
            ASSERT_WORKS(::CeDeleteRecord(db, ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, i, nullptr)));
    }
    // Runs the role from the first case on; after a death it goes on with the case behind it.
    void Run(const wchar_t* pszRole, int nCount = 0)
    {
        std::string strCase = "none";
        for (int nFirst = 0, nDeaths = 0; nDeaths < 10; ++nDeaths) {
            CChild child(pszRole,
                         {m_strPath, m_folder.File(L"damaged"), std::to_wstring(nFirst), std::to_wstring(nCount)});
            std::string strLine;
            while ((strLine = child.ReadLine()) != "done" && strLine != "(gone)") {
                if (strLine.compare(0, 5, "case ") == 0)
                    strCase = strLine;
                else
                    ADD_FAILURE() << strCase << ": " << strLine;
            }
            if (strLine == "done") return;
            ADD_FAILURE() << strCase << ": the process died with " << child.Finish() << " (99: it hung)";
            nFirst = std::atoi(strCase.c_str() + 5) + 1;
        }
    }
};

TEST_F(RobustnessTest, TwoThousandDamagedVolumesAreResultsOrErrors)
{
    Run(L"mutations");
}

// Three volumes with a byte changed here or a page cut off there: 400 tries each, 10,000 in the long run.
int Tries()
{
    return IsLongRun() ? 10000 : 400;
}

TEST_F(RobustnessTest, AFlippedByteIsAResultOrAnError)
{
    Run(L"flips", Tries());
}

// As a process that was killed left it: pages put aside, headers that say "in use".
TEST_F(RobustnessTest, AFlippedByteInAVolumeThatWasNotClosedIsAResultOrAnError)
{
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    Fill(MakeDatabase(m_guid, L"flushed", {Order({{kNumber}})}), 50);
    EXPECT_WORKS(::CeFlushDBVol(&m_guid));
    Fill(MakeDatabase(m_guid, L"later", {Order({{kName}})}), 50);
    const CImage image = ReadWholeFile(m_strPath);
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    WriteWholeFile(m_strPath, image);
    Run(L"flips", Tries());
}

// Keys longer than the engine's, records that bring their shapes along, a long list of free pages, no text orders.
TEST_F(RobustnessTest, AFlippedByteInAVolumeWithAPastIsAResultOrAnError)
{
    m_guid = MountVolume(m_strPath, TRUNCATE_EXISTING);
    const CEOID gone = MakeDatabase(m_guid, L"gone", {Order({{kName}})});
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    Fill(gone, 300);
    for (int n = 0; n < 3; ++n) {
        const CDb db =
            OpenDb(m_guid, MakeDatabase(m_guid, L"long" + std::to_wstring(n),
                                        {Order({{kName, CEDB_SORT_GENERICORDER}, {kNumber}}, CEDB_SORT_UNIQUE),
                                         Order({{kNumber, CEDB_SORT_UNKNOWNFIRST}})}));
        for (int i = 0; i < 25; ++i) {
            CProps props;
            props.I4(1, i).Text(2, std::wstring(500 + i % 3, L'l'));
            for (int k = 0; k < i; ++k) props.UI2(static_cast<WORD>(100 + k + i * 30), static_cast<USHORT>(k));
            ASSERT_WORKS(Write(db, 0, props));
        }
    }
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_WORKS(::CeFlushDBVol(&m_guid));
    EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, gone));
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    Run(L"flips", Tries());
}

TEST_F(RobustnessTest, AVolumeCutAnywhereIsRefusedAndLeftAlone)
{
    Run(L"truncations");
}

TEST_F(RobustnessTest, TheUndamagedVolumeOpens)
{
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ("", CheckVolume(m_guid));
}

} // namespace
