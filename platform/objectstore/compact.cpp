// CeCompactDBVol: a volume written anew without its free space, and put in the old one's place.
#include "apiedge.h"
#include "check.h"
#include "mounts.h"
#include "newfile.h"
#include "station.h"
#include "volumefile.h"

#include <korvanebatch.h>

namespace store {

namespace {

constexpr wchar_t kNewSuffix[] = L".compacting";
constexpr size_t kBytesOfOneCommit = 4 << 20;

// Appends what a walk brings to a volume, a few megabytes a commit: nobody sees the file before it is complete.
class CCopySink : public IWalkSink
{
public:
    CCopySink(CVolume& volume, std::wstring& strProblem) : m_volume(volume), m_strProblem(strProblem) {}

    DWORD Entry(CBytes key, CBytes value) override
    {
        if (!m_strProblem.empty()) return ERROR_FILE_CORRUPT;
        if (!m_pAccess) m_pAccess = std::make_unique<CWriteAccess>(m_volume);
        if (m_pAccess->Error() != ERROR_SUCCESS) return m_pAccess->Error();
        const DWORD dwError = m_pAccess->Append(key, value);
        if (dwError == ERROR_FILE_CORRUPT) m_strProblem = L"the keys of the map are not in order";
        if (dwError != ERROR_SUCCESS) return dwError;
        m_cb += key.cb + value.cb;
        return m_cb < kBytesOfOneCommit ? ERROR_SUCCESS : Commit();
    }

    void Lost(DWORD dwPage, const CKeyRange&) override
    {
        if (m_strProblem.empty()) m_strProblem = L"page " + std::to_wstring(dwPage) + L" is damaged, or used twice";
    }

    DWORD Commit()
    {
        if (!m_strProblem.empty()) return ERROR_FILE_CORRUPT;
        const DWORD dwError = m_pAccess ? m_pAccess->Commit() : ERROR_SUCCESS;
        m_pAccess.reset();
        m_cb = 0;
        return dwError;
    }

private:
    CVolume& m_volume;
    std::wstring& m_strProblem;
    std::unique_ptr<CWriteAccess> m_pAccess;
    size_t m_cb = 0; // in m_pAccess
};

DWORD Copy(CVolumeFile& file, const wchar_t* pszNew, std::wstring& strProblem)
{
    kv_state state;
    DWORD dwError = StateToOpen(file, state);
    if (dwError != ERROR_SUCCESS) return dwError;
    std::unique_ptr<CVolume> volume;
    bool bExisted;
    dwError = CVolume::Open(pszNew, CREATE_ALWAYS, volume, bExisted);
    if (dwError != ERROR_SUCCESS) return dwError;
    CCopySink sink(*volume, strProblem);
    CTreeWalk walk(file, state.last_page + 1);
    dwError = walk.Run(kv_tree_of(&state, KV_MAP_TREE), KV_MAP_TREE, sink);
    if (dwError == ERROR_SUCCESS) dwError = sink.Commit();
    return dwError == ERROR_SUCCESS ? volume->Flush() : dwError;
}

// The copy is opened as any volume and checked as a whole before it may replace the original.
DWORD Check(const wchar_t* pszNew, std::wstring& strProblem)
{
    std::unique_ptr<COpenVolume> volume;
    bool bExisted;
    DWORD dwError = COpenVolume::Open(pszNew, OPEN_EXISTING, volume, bExisted);
    if (dwError == ERROR_SUCCESS) dwError = CheckVolume(*volume, strProblem);
    return dwError == ERROR_SUCCESS ? volume->Engine().Flush() : dwError;
}

DWORD Compact(const wchar_t* pszPath, std::wstring& strProblem)
{
    wchar_t szPath[MAX_PATH];
    const DWORD cch = ::GetFullPathNameW(pszPath, MAX_PATH, szPath, nullptr);
    if (cch == 0) return ::GetLastError();
    if (cch + ARRAYSIZE(kNewSuffix) > MAX_PATH) return ERROR_INVALID_PARAMETER;
    const std::wstring strNew = std::wstring(szPath) + kNewSuffix;
    // Whoever has the volume open has it open for writing: this handle is refused then, and while it lives nobody else
    // gets one.
    CVolumeFile file;
    DWORD dwError = file.Open(szPath, FILE_SHARE_READ);
    if (dwError != ERROR_SUCCESS) return dwError;
    CNewFile newFile(strNew.c_str());
    dwError = Copy(file, strNew.c_str(), strProblem);
    // What the disk did not give is not damaged.
    if (dwError == ERROR_FILE_CORRUPT && file.ReadError() != ERROR_SUCCESS) {
        strProblem.clear();
        return file.ReadError();
    }
    if (dwError == ERROR_SUCCESS) dwError = Check(strNew.c_str(), strProblem);
    if (dwError == ERROR_SUCCESS) {
        // Between the closing of this handle and the renaming nobody gets further than to a handle of his own, which
        // makes the renaming fail: without a place in the station none is opened.
        const CStation::CBan ban;
        dwError = ban.Error();
        if (dwError == ERROR_SUCCESS) {
            file.Close();
            if (!::MoveFileExW(strNew.c_str(), szPath, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
                dwError = ::GetLastError();
        }
    }
    newFile.SetDelete(dwError != ERROR_SUCCESS);
    return dwError;
}

} // namespace

} // namespace store

using namespace store;

BOOL WINAPI CeCompactDBVol(LPCWSTR lpszDBVol, LPWSTR lpProblem, DWORD dwNumChars)
{
    return AnswerBool([&]() -> DWORD {
        if (lpProblem && dwNumChars) *lpProblem = L'\0';
        if (!lpszDBVol || !*lpszDBVol) return ERROR_INVALID_PARAMETER;
        std::wstring strProblem;
        const DWORD dwError = Compact(lpszDBVol, strProblem);
        if (lpProblem && dwNumChars) lstrcpynW(lpProblem, strProblem.c_str(), static_cast<int>(dwNumChars));
        return dwError;
    });
}
