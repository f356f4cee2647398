// The framework's files and archives: each allocation and each call of the system fails in turn. What the system refuses
// is a CFileException with the system's error, the file is closed when its object ends, and it opens again.
#include "faults.h"
#include "support/temp_folder.h"

#include <afx.h>

#include <cstring>
#include <string>

namespace {

constexpr long kThrown = -1;
constexpr long kNotOpened = -2;
constexpr DWORD kErrors[] = {ERROR_ACCESS_DENIED, ERROR_DISK_FULL, ERROR_CRC, ERROR_NOT_ENOUGH_MEMORY};

class FileFaultTest : public CFaultTest
{
protected:
    // Runs what may throw, and keeps what it threw.
    template <class Call> long Try(Call call)
    {
        m_lOsError = 0;
        m_cause = CFileException::none;
        try {
            call();
            return 0;
        } catch (CFileException* pException) {
            m_lOsError = pException->m_lOsError;
            m_cause = pException->m_cause;
            m_strName = pException->m_strFileName;
            pException->Delete();
            return kThrown;
        }
    }
    // Everything that a file does, and what it reads.
    void Use()
    {
        CFile file(m_path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
        file.Write("0123456789", 10);
        file.Flush();
        file.SetLength(8);
        file.SeekToBegin();
        char text[20] = {};
        EXPECT_EQ(8u, file.Read(text, 10));
        EXPECT_STREQ("01234567", text);
        EXPECT_EQ(8u, file.GetPosition());
        EXPECT_EQ(8u, file.GetLength());
        file.Close();
    }
    void Archive()
    {
        CFile file(m_path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
        {
            CArchive archive(&file, CArchive::store, 128);
            archive << CString(L'x', 500) << CString(L"a text") << 5L;
            archive.Close();
        }
        file.SeekToBegin();
        CArchive archive(&file, CArchive::load, 128);
        CString text, other;
        LONG lValue = 0;
        archive >> text >> other >> lValue;
        EXPECT_EQ(500, text.GetLength());
        EXPECT_TRUE(other == L"a text");
        EXPECT_EQ(5, lValue);
        archive.Close();
        file.Close();
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.File(L"file.bin");
    LONG m_lOsError = 0;
    int m_cause = CFileException::none;
    CString m_strName;
};

class CFailingFile
{
public:
    explicit CFailingFile(DWORD dwError)
        : m_create(kFramework, "CreateFileW", INVALID_HANDLE_VALUE, dwError),
          m_read(kFramework, "ReadFile", FALSE, dwError), m_write(kFramework, "WriteFile", FALSE, dwError),
          m_seek(kFramework, "SetFilePointer", INVALID_SET_FILE_POINTER, dwError),
          m_end(kFramework, "SetEndOfFile", FALSE, dwError),
          m_size(kFramework, "GetFileSize", INVALID_FILE_SIZE, dwError),
          m_flush(kFramework, "FlushFileBuffers", FALSE, dwError),
          m_close(kFramework, "CloseHandle", FALSE, dwError, EWork::kDone)
    {
    }

private:
    const CFailing<&::CreateFileW> m_create;
    const CFailing<&::ReadFile> m_read;
    const CFailing<&::WriteFile> m_write;
    const CFailing<&::SetFilePointer> m_seek;
    const CFailing<&::SetEndOfFile> m_end;
    const CFailing<&::GetFileSize> m_size;
    const CFailing<&::FlushFileBuffers> m_flush;
    const CFailing<&::CloseHandle> m_close;
};

} // namespace

TEST_F(FileFaultTest, WhatTheSystemRefusesIsThrownWithItsError)
{
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        Try([&] { AfxThrowFileException(CFileException::generic, 0); }); // made for the first exception
        const CFailingFile system(dwError);
        const auto thrown = [&](const char*, int, long lResult) {
            EXPECT_EQ(kThrown, lResult);
            EXPECT_EQ(static_cast<LONG>(dwError), m_lOsError);
            EXPECT_EQ(CFileException::OsErrorToException(dwError), m_cause);
            EXPECT_TRUE(m_strName == m_path.c_str());
            m_strName.Empty();
        };
        FailEachCall(
            "a file", [this] { return Try([this] { Use(); }); }, thrown);
        FailEachCall(
            "an archive", [this] { return Try([this] { Archive(); }); }, thrown);
    }
}

TEST_F(FileFaultTest, AnOpeningThatFailsIsReportedInTheGivenException)
{
    const CFailingFile system(ERROR_SHARING_VIOLATION);
    FailEachCall(
        "Open",
        [&] {
            CFileException error;
            CFile file;
            if (file.Open(m_path.c_str(), CFile::modeCreate | CFile::modeWrite, &error)) {
                const long lResult = Try([&] { file.Close(); });
                EXPECT_EQ(INVALID_HANDLE_VALUE, file.m_hFile);
                m_strName.Empty();
                return lResult;
            }
            EXPECT_EQ(INVALID_HANDLE_VALUE, file.m_hFile) << "it can be opened again";
            EXPECT_EQ(CFileException::sharingViolation, error.m_cause);
            EXPECT_EQ(ERROR_SHARING_VIOLATION, error.m_lOsError);
            EXPECT_TRUE(error.m_strFileName == m_path.c_str());
            return kNotOpened;
        },
        [](const char* pszFunction, int, long lResult) {
            EXPECT_EQ(IsOneOf(pszFunction, {"CreateFileW"}) ? kNotOpened : kThrown, lResult);
        });
}

TEST_F(FileFaultTest, MemoryThatIsOutLeavesNoFileOpen)
{
    const auto memory = [](EOutcome outcome, long) {
        EXPECT_TRUE(outcome == EOutcome::kMemory || outcome == EOutcome::kBadAlloc) << outcome;
    };
    FailEachAllocation(
        "a file", [this] { return Try([this] { Use(); }); }, EAfterwards::kNothingLeft, memory);
    FailEachAllocation(
        "an archive", [this] { return Try([this] { Archive(); }); }, EAfterwards::kNothingLeft, memory);
    CFile file;
    FailEachAllocation(
        "Open",
        [&] {
            EXPECT_EQ(INVALID_HANDLE_VALUE, file.m_hFile) << "what threw is not open";
            const BOOL bOpen = file.Open(m_path.c_str(), CFile::modeCreate | CFile::modeWrite);
            if (bOpen) file.Close();
            return bOpen ? 0L : kNotOpened;
        },
        EAfterwards::kNothingLeft, memory);
}

TEST_F(FileFaultTest, AFileInMemoryKeepsWhatItHas)
{
    CMemFile kept;
    kept.Write("0123456789", 10);
    FailEachAllocation(
        "a file in memory",
        [&] {
            CMemFile file;
            file.Write("0123456789", 10);
            try {
                file.SetLength(100);
            } catch (CMemoryException*) {
                EXPECT_EQ(10u, file.GetLength());
                EXPECT_EQ(10u, file.GetPosition());
                throw;
            }
            return file.GetLength() == 100 ? 0L : kThrown;
        },
        EAfterwards::kNothingLeft, [](EOutcome outcome, long) { EXPECT_EQ(EOutcome::kMemory, outcome); });
    EXPECT_EQ(10u, kept.GetLength());
}
