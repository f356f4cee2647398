// The store's own check of a volume.
#include "support.h"
#include "volume_image.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);

class CheckTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        const CDb db = OpenDb(m_guid, MakeDatabase(m_guid, L"checked", {Order({{kNumber}}), Order({{kName}})}));
        for (int i = 0; i < 300; ++i)
            Write(db, 0,
                  CProps()
                      .I4(1, 1000 + i)
                      .Text(2, L"name " + std::to_wstring(i))
                      .Blob(3, {0xA5, 0x5A, 0xC3, 0x3C, static_cast<BYTE>(i)}));
    }
    // The check's answer on the file with one sequence of bytes replaced wherever it stands.
    std::wstring ProblemAfter(const std::vector<BYTE>& from, const std::vector<BYTE>& to)
    {
        EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
        m_guid = InvalidGuid();
        CImage image = ReadWholeFile(m_strPath);
        int nFound = 0; // free pages still hold older copies
        for (auto at = image.begin() + 4 * kPageBytes;; ++at, ++nFound) {
            at = std::search(at, image.end(), from.begin(), from.end());
            if (at == image.end()) break;
            std::copy(to.begin(), to.end(), at);
        }
        EXPECT_GT(nFound, 0) << "the bytes are not in the file";
        WriteWholeFile(m_strPath, image);
        m_guid = MountVolume(m_strPath, OPEN_EXISTING);
        wchar_t szProblem[300] = L"";
        EXPECT_FAILS(ERROR_FILE_CORRUPT, ::CeCheckDBVol(&m_guid, szProblem, 300));
        return szProblem;
    }
};

TEST_F(CheckTest, ASoundVolumeIsClean)
{
    wchar_t szProblem[300] = L"untouched";
    EXPECT_WORKS(::CeCheckDBVol(&m_guid, szProblem, 300));
    EXPECT_WORKS(::CeCheckDBVol(&m_guid, nullptr, 0));
    Remount();
    EXPECT_WORKS(::CeCheckDBVol(&m_guid, nullptr, 0));
    CEGUID store = SystemGuid();
    EXPECT_WORKS(::CeCheckDBVol(&store, nullptr, 0));
}

TEST_F(CheckTest, UnknownVolumesAreRefused)
{
    CEGUID unknown = {1, 2, 3, 4};
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCheckDBVol(&unknown, nullptr, 0));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCheckDBVol(nullptr, nullptr, 0));
}

TEST_F(CheckTest, ARecordThatItsIndexDoesNotKnowIsFound)
{
    // A text as its record keeps it, in bytes, followed by nothing that an index key could have.
    EXPECT_NE(L"", ProblemAfter({'n', 'a', 'm', 'e', ' ', '1', '2', '3', 0xA5, 0x5A},
                                {'n', 'a', 'm', 'e', ' ', '1', '2', '4'}));
}

TEST_F(CheckTest, ADamagedPageIsFound)
{
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    const CImage image = ReadWholeFile(m_strPath);
    // The kind of each page, and the place of its first entry.
    int nFound = 0;
    for (size_t nPage = 4; nPage < image.size() / kPageBytes; ++nPage) {
        for (const size_t nOffset : {size_t(4), size_t(12)}) {
            CImage damaged = image;
            SetImageWord(damaged, nPage, nOffset, ImageWord(image, nPage, nOffset) ^ 0x00010001);
            WriteWholeFile(m_strPath, damaged);
            CEGUID guid;
            if (!::CeMountDBVol(&guid, m_strPath.data(), OPEN_EXISTING)) {
                EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_CORRUPT), ::GetLastError());
                ++nFound;
                continue;
            }
            wchar_t szProblem[300] = L"";
            if (!::CeCheckDBVol(&guid, szProblem, 300)) {
                EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_CORRUPT), ::GetLastError());
                EXPECT_NE(L'\0', szProblem[0]) << "no sentence";
                ++nFound;
            }
            EXPECT_WORKS(::CeUnmountDBVol(&guid));
        }
    }
    EXPECT_GT(nFound, 10) << "of " << 2 * (image.size() / kPageBytes - 4) << " damages, some in free pages";
    WriteWholeFile(m_strPath, image);
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ("", CheckVolume(m_guid));
}

// Entries lie on even addresses. A page whose room ends at an odd one looks sound until an entry is put into it.
TEST_F(CheckTest, APageWithAnOddBoundIsDamaged)
{
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    const CImage image = ReadWholeFile(m_strPath);
    int nFound = 0;
    for (size_t nPage = 4; nPage < image.size() / kPageBytes; ++nPage) {
        CImage damaged = image;
        SetImageWord(damaged, nPage, 8, ImageWord(image, nPage, 8) - 0x00010000); // the upper of its two bounds
        WriteWholeFile(m_strPath, damaged);
        CEGUID guid;
        const bool bMounted = ::CeMountDBVol(&guid, m_strPath.data(), OPEN_EXISTING);
        if (!bMounted || !::CeCheckDBVol(&guid, nullptr, 0)) {
            EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_CORRUPT), ::GetLastError());
            ++nFound;
        }
        if (bMounted) {
            EXPECT_WORKS(::CeUnmountDBVol(&guid));
        }
    }
    EXPECT_GT(nFound, 5) << "of " << image.size() / kPageBytes << " pages, some of them free";
    WriteWholeFile(m_strPath, image);
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ("", CheckVolume(m_guid));
}

// A branch where a leaf belongs would be read beyond its end; branches that lead to the same page over and over make a
// walk that takes a lifetime.
TEST_F(CheckTest, AWalkStopsWhereATreeLeadsToAWrongPage)
{
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    const CImage image = ReadWholeFile(m_strPath);
    const auto half = [&](size_t nPage, size_t nOffset) { return ImageHalf(image, nPage, nOffset); };
    const auto child = [&](size_t nPage, size_t nEntry) { return half(nPage, half(nPage, 12 + 2 * nEntry)); };
    int nDamaged = 0;
    for (size_t nPage = 4; nPage < image.size() / kPageBytes; ++nPage) {
        if (half(nPage, 6) != 1 || half(nPage, 8) < 18) continue; // no branch, or one of two entries
        for (const size_t nWrong : {nPage, size_t(child(nPage, 0)), size_t(child(nPage, 2))}) {
            CImage damaged = image;
            const size_t nSecond = half(nPage, 14);
            SetImageWord(damaged, nPage, nSecond, (ImageWord(image, nPage, nSecond) & 0xFFFF0000) | nWrong);
            WriteWholeFile(m_strPath, damaged);
            CEGUID guid = MountVolume(m_strPath, OPEN_EXISTING);
            if (!::CeCheckDBVol(&guid, nullptr, 0)) { // else it is free
                ++nDamaged;
                int nStopped = 0;
                for (const CEPROPID propid : {CEPROPID(0), kNumber, kName}) {
                    CEOID oid = 0;
                    const CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(L"checked"), propid, 0, nullptr));
                    DWORD dwHow = CEDB_SEEK_BEGINNING;
                    while (::CeSeekDatabase(db, dwHow, dwHow == CEDB_SEEK_CURRENT, nullptr)) dwHow = CEDB_SEEK_CURRENT;
                    if (::GetLastError() == ERROR_FILE_CORRUPT) ++nStopped;
                }
                EXPECT_GT(nStopped, 0) << "page " << nPage << " leads to " << nWrong;
            }
            EXPECT_WORKS(::CeUnmountDBVol(&guid));
        }
    }
    EXPECT_GT(nDamaged, 0);
    WriteWholeFile(m_strPath, image);
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ("", CheckVolume(m_guid));
}

// Reads the records of a database one by one. How many there were, and what it ended with.
DWORD ReadThrough(CEGUID guid, const wchar_t* pszName, DWORD& dwError)
{
    CEOID oid = 0;
    const CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(pszName), 0, CEDB_AUTOINCREMENT, nullptr));
    dwError = ::GetLastError();
    DWORD n = 0;
    while (db.IsOpen()) {
        const CRecord record = Read(db);
        dwError = record.dwError;
        if (!record.oid) break;
        ++n;
    }
    return n;
}

TEST_F(CheckTest, ADamagedPageEndsTheWalksThroughItWithItsErrorAndNoOthers)
{
    {
        const CDb db = OpenDb(m_guid, MakeDatabase(m_guid, L"other"));
        for (int i = 0; i < 300; ++i) EXPECT_WORKS(Write(db, 0, CProps().I4(1, i).Text(2, L"other")));
    }
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    const CImage image = ReadWholeFile(m_strPath);
    int nEnded = 0, nOthers = 0;
    for (size_t nPage = 4; nPage < image.size() / kPageBytes; ++nPage) {
        if (ImageHalf(image, nPage, 6) != 2) continue; // no leaf
        SCOPED_TRACE(nPage);
        CImage damaged = image;
        SetImageWord(damaged, nPage, 4, 0);
        WriteWholeFile(m_strPath, damaged);
        DWORD dwError;
        CEGUID guid;
        if (!::CeMountDBVol(&guid, m_strPath.data(), OPEN_EXISTING)) continue; // the volume's own record is there
        const bool bOtherIsSound = ReadThrough(guid, L"other", dwError) == 300;
        EXPECT_WORKS(::CeUnmountDBVol(&guid));
        guid = MountVolume(m_strPath, OPEN_EXISTING);
        if (ReadThrough(guid, L"checked", dwError) == 300) {
            EXPECT_EQ(DWORD{ERROR_NO_MORE_ITEMS}, dwError);
        } else {
            ++nEnded;
            EXPECT_EQ(DWORD{ERROR_FILE_CORRUPT}, dwError);
            nOthers += bOtherIsSound;
            EXPECT_EQ(bOtherIsSound, ReadThrough(guid, L"other", dwError) == 300);
        }
        EXPECT_WORKS(::CeUnmountDBVol(&guid));
    }
    EXPECT_GT(nEnded, 1);
    EXPECT_GT(nOthers, 1);
    WriteWholeFile(m_strPath, image);
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
}

// All pages are there, and a walk meets every record; but a search is led past some.
TEST_F(CheckTest, ASeparatorThatLeadsAstrayIsFound)
{
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    const CImage image = ReadWholeFile(m_strPath);
    const auto half = [&](size_t nPage, size_t nOffset) { return ImageHalf(image, nPage, nOffset); };
    int nFound = 0;
    for (size_t nPage = 4; nPage < image.size() / kPageBytes; ++nPage) {
        if (half(nPage, 6) != 1) continue; // no branch
        for (size_t nEntry = 1; nEntry < (half(nPage, 8) - 12) / 2; ++nEntry) {
            const size_t nOffset = half(nPage, 12 + 2 * nEntry), cbKey = half(nPage, nOffset + 6);
            if (cbKey != 9) continue; // no record's
            CImage damaged = image;
            --damaged[nPage * kPageBytes + nOffset + 8 + cbKey - 1];
            WriteWholeFile(m_strPath, damaged);
            CEGUID guid = MountVolume(m_strPath, OPEN_EXISTING);
            if (!::CeCheckDBVol(&guid, nullptr, 0)) {
                EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_CORRUPT), ::GetLastError());
                ++nFound;
            }
            EXPECT_WORKS(::CeUnmountDBVol(&guid));
        }
    }
    EXPECT_GT(nFound, 0);
    WriteWholeFile(m_strPath, image);
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(CheckTest, ALongSentenceIsCutToTheBuffer)
{
    EXPECT_NE(L"", ProblemAfter({'n', 'a', 'm', 'e', ' ', '7', '7', 0xA5}, {'N'}));
    wchar_t szProblem[20];
    std::fill_n(szProblem, 20, L'#');
    EXPECT_FAILS(ERROR_FILE_CORRUPT, ::CeCheckDBVol(&m_guid, szProblem, 10));
    EXPECT_LT(wcslen(szProblem), 10u);
    for (int i = 10; i < 20; ++i) EXPECT_EQ(L'#', szProblem[i]) << "written behind the buffer";
    EXPECT_FAILS(ERROR_FILE_CORRUPT, ::CeCheckDBVol(&m_guid, nullptr, 0));
}

} // namespace
