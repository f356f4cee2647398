// The corpus of every target, as it is and mutated, fed to the readers from between pages that cannot be touched.
#include "target.h"

#include "support/import_patch.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

// From the program's start: a test leaves no block behind.
const CTempFolder g_folder;
const std::wstring g_strInput = g_folder.File(L"input");

struct CTarget
{
    const char* pszName;
    void (*pfnFeed)(const uint8_t* data, size_t size);
    int nMutations;   // of the short form; the long form has fifty times as many
    int nTruncations; // of each input
};

constexpr CTarget kTargets[] = {
    {"numbers", fuzz::numbers, 20000, 64}, {"streams", fuzz::streams, 20000, 64},
    {"paths", fuzz::paths, 10000, 64},     {"times", fuzz::times, 2000, 64},
    {"icons", fuzz::icons, 300, 6},        {"pictures", fuzz::pictures, 10000, 64},
    {"records", fuzz::records, 20000, 64}, {"templates", fuzz::templates, 20000, 64},
    {"tables", fuzz::tables, 3000, 64},    {"volumes", fuzz::volumes, 200, 2},
};

void PrintTo(const CTarget& target, std::ostream* pStream)
{
    *pStream << target.pszName;
}

constexpr size_t kPage = 4096;
constexpr size_t kMostBytes = 64 * kPage;

// Room for an input that ends where the memory does.
class CGuardedInput
{
public:
    CGuardedInput()
        : m_pStart(static_cast<uint8_t*>(::VirtualAlloc(nullptr, kMostBytes + kPage, MEM_RESERVE, PAGE_NOACCESS)))
    {
        if (!m_pStart || !::VirtualAlloc(m_pStart, kMostBytes, MEM_COMMIT, PAGE_READWRITE)) std::abort();
    }
    ~CGuardedInput() { ::VirtualFree(m_pStart, 0, MEM_RELEASE); }
    CGuardedInput(const CGuardedInput&) = delete;
    CGuardedInput& operator=(const CGuardedInput&) = delete;

    const uint8_t* Put(const Bytes& bytes)
    {
        uint8_t* const p = m_pStart + kMostBytes - bytes.size();
        std::copy(bytes.begin(), bytes.end(), p);
        return p;
    }

private:
    uint8_t* const m_pStart; // owned
};

Bytes ReadFileBytes(const std::wstring& path)
{
    const HANDLE hFile = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return {};
    Bytes bytes(::GetFileSize(hFile, nullptr));
    DWORD cbRead = 0;
    ::ReadFile(hFile, bytes.data(), static_cast<DWORD>(bytes.size()), &cbRead, nullptr);
    ::CloseHandle(hFile);
    bytes.resize(cbRead);
    return bytes;
}

std::vector<Bytes> Corpus(const char* pszTarget)
{
    const std::wstring folder =
        std::wstring(KORVANE_FUZZ_CORPUS L"/") + std::wstring(pszTarget, pszTarget + std::strlen(pszTarget));
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found;
    const HANDLE hFind = ::FindFirstFileW((folder + L"/*").c_str(), &found);
    if (hFind == INVALID_HANDLE_VALUE) return {};
    do {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(found.cFileName);
    } while (::FindNextFileW(hFind, &found));
    ::FindClose(hFind);
    std::sort(names.begin(), names.end()); // so that every run mutates the same
    std::vector<Bytes> corpus;
    for (const std::wstring& name : names) corpus.push_back(ReadFileBytes(folder + L"/" + name));
    return corpus;
}

Bytes Mutate(const std::vector<Bytes>& corpus, std::mt19937& random)
{
    static constexpr uint32_t kSpecial[] = {0,      1,          2,          0x7F,       0x80,       0xFF,      0x7FFF,
                                            0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF0, 0xFFFFFFFE, 0xFFFFFFFF};
    Bytes bytes = corpus[random() % corpus.size()];
    for (unsigned n = 1 + random() % 4; n > 0; --n) {
        const size_t at = bytes.empty() ? 0 : random() % bytes.size();
        switch (random() % 6) {
        case 0:
            if (!bytes.empty()) bytes[at] ^= 1 << random() % 8;
            break;
        case 1:
            if (!bytes.empty()) bytes[at] = static_cast<uint8_t>(random());
            break;
        case 2: { // a number in the middle
            const uint32_t value = kSpecial[random() % std::size(kSpecial)];
            const size_t cb = std::min<size_t>(size_t(1) << random() % 3, bytes.size() - at);
            if (cb) std::memcpy(&bytes[at], &value, cb);
            break;
        }
        case 3:
            bytes.resize(at);
            break;
        case 4: // the rest of another one
        {
            const Bytes& other = corpus[random() % corpus.size()];
            const size_t from = other.empty() ? 0 : random() % other.size();
            bytes.resize(at);
            bytes.insert(bytes.end(), other.begin() + from, other.end());
            break;
        }
        default: // a part twice
        {
            const Bytes part(bytes.begin() + at, bytes.begin() + std::min(bytes.size(), at + 1 + random() % 16));
            bytes.insert(bytes.begin() + at, part.begin(), part.end());
        }
        }
    }
    if (bytes.size() > kMostBytes) bytes.resize(kMostBytes);
    return bytes;
}

std::string InHex(const Bytes& bytes)
{
    std::string strHex;
    for (size_t i = 0; i < bytes.size() && i < 256; ++i)
        for (const int nShift : {4, 0}) strHex += "0123456789abcdef"[bytes[i] >> nShift & 15];
    return strHex;
}

// The icon reader tells the user what the system refused; nobody is there to press OK.
int WINAPI PressOk(HWND, LPCWSTR, LPCWSTR, UINT)
{
    return IDOK;
}

class CorpusTest : public testing::TestWithParam<CTarget>
{
protected:
    void SetUp() override { ASSERT_FALSE(m_corpus.empty()) << "no corpus in " << GetParam().pszName; }
    void Feed(const Bytes& bytes) { GetParam().pfnFeed(m_guarded.Put(bytes), bytes.size()); }

    const std::vector<Bytes> m_corpus = Corpus(GetParam().pszName);
    CGuardedInput m_guarded;

private:
    CImportPatch m_boxes{L"korvaneLib.dll", "MessageBoxW", &PressOk};
};

TEST_P(CorpusTest, EveryInputAndEveryTruncationOfItIsBorne)
{
    for (const Bytes& bytes : m_corpus) {
        ASSERT_LE(bytes.size(), kMostBytes);
        Feed(bytes);
        const size_t nStep = std::max<size_t>(1, bytes.size() / GetParam().nTruncations);
        for (size_t cb = 0; cb < bytes.size(); cb += nStep) Feed(Bytes(bytes.begin(), bytes.begin() + cb));
        if (HasFailure()) return;
    }
}

TEST_P(CorpusTest, EveryMutationIsBorne)
{
    const bool bLong = ::GetEnvironmentVariableW(L"KORVANE_LONG", nullptr, 0) != 0;
    const int nMutations = GetParam().nMutations * (bLong ? 50 : 1);
    std::mt19937 random(4711);
    for (int i = 0; i < nMutations; ++i) {
        const Bytes bytes = Mutate(m_corpus, random);
        Feed(bytes);
        ASSERT_FALSE(HasFailure()) << "mutation " << i << ": " << InHex(bytes);
    }
    RecordProperty("mutations", nMutations);
}

INSTANTIATE_TEST_SUITE_P(Readers, CorpusTest, testing::ValuesIn(kTargets),
                         [](const auto& info) { return std::string(info.param.pszName); });

} // namespace

void fuzz::Fail(const char* pszWhat)
{
    ADD_FAILURE() << "does not hold: " << pszWhat;
}

const wchar_t* fuzz::PutFile(const uint8_t* data, size_t size)
{
    const HANDLE hFile = ::CreateFileW(g_strInput.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD cbWritten = 0;
    ::WriteFile(hFile, data, static_cast<DWORD>(size), &cbWritten, nullptr);
    ::CloseHandle(hFile);
    return g_strInput.c_str();
}
