#include "kvol_process.h"

#include "text.h"

#include <cstdio>
#include <map>
#include <thread>

namespace {

constexpr DWORD kHung = 99; // exit code of one that had to be ended

// One argument as CommandLineToArgvW reads it back: backslashes before a quote are doubled, the quote is escaped.
std::wstring QuotedArgument(const std::wstring& argument)
{
    std::wstring out = L"\"";
    size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        out.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        out += c;
    }
    out.append(backslashes * 2, L'\\');
    return out + L"\"";
}

std::wstring BesideThisProgram(const wchar_t* pszName)
{
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring whole = path;
    return whole.substr(0, whole.find_last_of(L'\\') + 1) + pszName;
}

struct Pipe
{
    HANDLE hRead = nullptr;
    HANDLE hWrite = nullptr;
    Pipe()
    {
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        ::CreatePipe(&hRead, &hWrite, &inherited, 0);
        ::SetHandleInformation(hRead, HANDLE_FLAG_INHERIT, 0);
    }
    ~Pipe()
    {
        CloseWrite();
        ::CloseHandle(hRead);
    }
    void CloseWrite()
    {
        if (hWrite) ::CloseHandle(hWrite);
        hWrite = nullptr;
    }
    void ReadAll(std::string& text) const
    {
        char buffer[4096];
        DWORD cb = 0;
        while (::ReadFile(hRead, buffer, sizeof buffer, &cb, nullptr) && cb) text.append(buffer, cb);
    }
};

// Starts kvol; with handles for its output it inherits them. Null, and a failed test, when it cannot be started.
HANDLE Start(const std::vector<std::string>& arguments, DWORD dwFlags, STARTUPINFOW startup = {})
{
    const std::wstring program = BesideThisProgram(L"kvol.exe");
    std::wstring line = QuotedArgument(program);
    for (const std::string& argument : arguments) line += L" " + QuotedArgument(kvol::Wide(argument));
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, (startup.dwFlags & STARTF_USESTDHANDLES) != 0,
                          dwFlags, nullptr, nullptr, &startup, &process)) {
        ADD_FAILURE() << "kvol.exe cannot be started: error " << ::GetLastError();
        return nullptr;
    }
    ::CloseHandle(process.hThread);
    return process.hProcess;
}

// Waits for the end, ends the process when that does not come, and gives its exit code.
DWORD ExitCodeOf(HANDLE hProcess)
{
    constexpr DWORD kMilliseconds = 60000;
    if (::WaitForSingleObject(hProcess, kMilliseconds) == WAIT_TIMEOUT) ::TerminateProcess(hProcess, kHung);
    ::WaitForSingleObject(hProcess, INFINITE);
    DWORD dwCode = kHung;
    ::GetExitCodeProcess(hProcess, &dwCode);
    ::CloseHandle(hProcess);
    return dwCode;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome)
{
    return stream << "exit code " << outcome.code << "\nstdout: " << outcome.out << "\nstderr: " << outcome.err;
}

Outcome Kvol(const std::vector<std::string>& arguments)
{
    Outcome outcome;
    Pipe out;
    Pipe err;
    STARTUPINFOW startup = {};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.hWrite;
    startup.hStdError = err.hWrite;
    const HANDLE hProcess = Start(arguments, 0, startup);
    if (!hProcess) return outcome;
    out.CloseWrite();
    err.CloseWrite();
    // Waiting beside the reading: a program that hangs keeps its pipes open.
    std::thread watch([&] { outcome.code = ExitCodeOf(hProcess); });
    std::thread errors([&] { err.ReadAll(outcome.err); });
    out.ReadAll(outcome.out);
    errors.join();
    watch.join();
    EXPECT_NE(kHung, outcome.code) << "kvol did not end within a minute";
    return outcome;
}

DWORD KvolOnConsole(const std::vector<std::string>& arguments)
{
    const HANDLE hProcess = Start(arguments, CREATE_NO_WINDOW);
    return hProcess ? ExitCodeOf(hProcess) : kHung;
}

bool KvolKilledAfter(const std::vector<std::string>& arguments, DWORD dwMilliseconds)
{
    const HANDLE hProcess = Start(arguments, DETACHED_PROCESS);
    if (!hProcess) return false;
    const bool bRunning = ::WaitForSingleObject(hProcess, dwMilliseconds) == WAIT_TIMEOUT;
    if (bRunning) ::TerminateProcess(hProcess, 98);
    ::WaitForSingleObject(hProcess, INFINITE);
    ::CloseHandle(hProcess);
    return bRunning;
}

KvolTest::KvolTest() : m_volume(Path("test.vol"))
{
    // Wine starts its desktop with the first program that comes near one, and that program's pipes would be the
    // desktop's for as long as it runs: so not with one of ours.
    static const HWND s_hDesktop = ::GetDesktopWindow();
    EXPECT_NE(nullptr, s_hDesktop);
    ::SetEnvironmentVariableW(L"KORVANE_OBJECTSTORE", m_folder.Path().c_str());
}

std::string KvolTest::Path(const std::string& name) const
{
    return kvol::ToUtf8(m_folder.File(kvol::Wide(name)));
}

std::string KvolTest::Write(const std::string& name, const std::string& bytes) const
{
    FILE* pFile = ::_wfopen(m_folder.File(kvol::Wide(name)).c_str(), L"wb");
    if (!pFile || std::fwrite(bytes.data(), 1, bytes.size(), pFile) != bytes.size())
        ADD_FAILURE() << "cannot write " << name;
    if (pFile) std::fclose(pFile);
    return Path(name);
}

std::string KvolTest::Read(const std::string& name) const
{
    std::string bytes;
    FILE* pFile = ::_wfopen(m_folder.File(kvol::Wide(name)).c_str(), L"rb");
    if (!pFile) return bytes;
    char buffer[4096];
    while (const size_t cb = std::fread(buffer, 1, sizeof buffer, pFile)) bytes.append(buffer, cb);
    std::fclose(pFile);
    return bytes;
}

bool KvolTest::Exists(const std::string& name) const
{
    return ::GetFileAttributesW(m_folder.File(kvol::Wide(name)).c_str()) != INVALID_FILE_ATTRIBUTES;
}

void KvolTest::Import(const std::string& table, const std::string& csv, const std::vector<std::string>& options)
{
    std::vector<std::string> arguments = {"import", Volume(), table, Write(table + ".csv", csv)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = Kvol(arguments);
    ASSERT_EQ(0u, outcome.code) << outcome;
}

std::string KvolTest::Dump(const std::string& table)
{
    const Outcome outcome = Kvol({"dump", Volume(), table, "--format", "csv"});
    EXPECT_EQ(0u, outcome.code) << outcome;
    return outcome.out;
}

CMounted::CMounted(const std::string& path)
{
    std::wstring wide = kvol::Wide(path);
    EXPECT_TRUE(::CeMountDBVol(&m_guid, wide.data(), OPEN_EXISTING)) << ::GetLastError();
}

CMounted::~CMounted()
{
    EXPECT_TRUE(::CeUnmountDBVol(&m_guid)) << ::GetLastError();
}

HANDLE CMounted::Open(const wchar_t* pszName)
{
    CEOID oid = 0;
    std::wstring name = pszName;
    const HANDLE h = ::CeOpenDatabaseEx(&m_guid, &oid, name.data(), 0, 0, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, h) << kvol::ToUtf8(name) << " " << ::GetLastError();
    return h;
}

CEOID CMounted::DatabaseOid(const wchar_t* pszName)
{
    CEOID oid = 0;
    std::wstring name = pszName;
    const HANDLE h = ::CeOpenDatabaseEx(&m_guid, &oid, name.data(), 0, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE) return 0;
    ::CloseHandle(h);
    return oid;
}

CEOID CMounted::Put(const wchar_t* pszDatabase, CEOID oid, std::vector<CEPROPVAL> values)
{
    const HANDLE h = Open(pszDatabase);
    const CEOID written = ::CeWriteRecordProps(h, oid, static_cast<WORD>(values.size()), values.data());
    EXPECT_NE(0u, written) << ::GetLastError();
    ::CloseHandle(h);
    return written;
}

std::vector<CEOID> CMounted::Records(const wchar_t* pszDatabase)
{
    const HANDLE h = Open(pszDatabase);
    std::vector<CEOID> records;
    for (CEOID oid = ::CeSeekDatabase(h, CEDB_SEEK_BEGINNING, 0, nullptr); oid;
         oid = ::CeSeekDatabase(h, CEDB_SEEK_CURRENT, 1, nullptr)) {
        records.push_back(oid);
    }
    ::CloseHandle(h);
    return records;
}

std::string CMounted::Get(const wchar_t* pszDatabase, CEOID oid)
{
    const HANDLE h = Open(pszDatabase);
    EXPECT_EQ(oid, ::CeSeekDatabase(h, CEDB_SEEK_CEOID, oid, nullptr));
    LPBYTE pBuffer = nullptr;
    DWORD cbBuffer = 0;
    WORD nValues = 0;
    std::map<CEPROPID, std::string> values;
    if (::CeReadRecordPropsEx(h, CEDB_ALLOWREALLOC, &nValues, nullptr, &pBuffer, &cbBuffer, nullptr)) {
        const CEPROPVAL* pValues = reinterpret_cast<const CEPROPVAL*>(pBuffer);
        for (WORD i = 0; i < nValues; ++i) {
            std::string& value = values[pValues[i].propid];
            switch (TypeFromPropID(pValues[i].propid)) {
            case CEVT_LPWSTR:
                value = kvol::Quoted(std::wstring_view(pValues[i].val.lpwstr));
                break;
            case CEVT_I2:
                value = std::to_string(pValues[i].val.iVal);
                break;
            case CEVT_I4:
                value = std::to_string(pValues[i].val.lVal);
                break;
            default:
                value = "?";
                break;
            }
        }
    }
    if (pBuffer) ::LocalFree(pBuffer);
    ::CloseHandle(h);
    std::string text;
    for (const auto& [propid, value] : values) {
        char name[16];
        std::snprintf(name, sizeof name, "0x%08lX=", propid);
        text += (text.empty() ? "" : " ") + (name + value);
    }
    return text;
}

std::string RecordBytes(HANDLE h)
{
    LPBYTE pBuffer = nullptr;
    DWORD cbBuffer = 0;
    WORD nValues = 0;
    std::map<CEPROPID, std::string> values;
    if (::CeReadRecordPropsEx(h, CEDB_ALLOWREALLOC, &nValues, nullptr, &pBuffer, &cbBuffer, nullptr)) {
        const CEPROPVAL* pValues = reinterpret_cast<const CEPROPVAL*>(pBuffer);
        for (WORD i = 0; i < nValues; ++i) {
            const CEVALUNION& val = pValues[i].val;
            const auto* pBytes = reinterpret_cast<const char*>(&val);
            size_t cb = sizeof val;
            switch (TypeFromPropID(pValues[i].propid)) {
            case CEVT_LPWSTR:
                pBytes = reinterpret_cast<const char*>(val.lpwstr);
                cb = ::wcslen(val.lpwstr) * sizeof(wchar_t);
                break;
            case CEVT_BLOB:
                pBytes = reinterpret_cast<const char*>(val.blob.lpb);
                cb = val.blob.dwCount;
                break;
            case CEVT_I2:
            case CEVT_UI2:
                cb = 2;
                break;
            case CEVT_R8:
            case CEVT_FILETIME:
                break;
            default:
                cb = 4;
                break;
            }
            values[pValues[i].propid].assign(pBytes, cb);
        }
    }
    if (pBuffer) ::LocalFree(pBuffer);
    std::string text;
    for (const auto& [propid, value] : values) text += std::to_string(propid) + "=" + value + ";";
    return text;
}

std::string CMounted::Bytes(const wchar_t* pszDatabase, CEOID oid)
{
    const HANDLE h = Open(pszDatabase);
    EXPECT_EQ(oid, ::CeSeekDatabase(h, CEDB_SEEK_CEOID, oid, nullptr));
    const std::string bytes = RecordBytes(h);
    ::CloseHandle(h);
    return bytes;
}

bool CMounted::Remove(const wchar_t* pszDatabase, CEOID oid)
{
    const HANDLE h = Open(pszDatabase);
    const bool bDone = ::CeDeleteRecord(h, oid) != FALSE;
    ::CloseHandle(h);
    return bDone;
}

CEPROPVAL TextProperty(CEPROPID propid, const wchar_t* pszText)
{
    CEPROPVAL value = {};
    value.propid = propid;
    value.val.lpwstr = const_cast<wchar_t*>(pszText); // the store only reads it
    return value;
}

CEPROPVAL NumberProperty(CEPROPID propid, long value)
{
    CEPROPVAL property = {};
    property.propid = propid;
    if (TypeFromPropID(propid) == CEVT_I2) {
        property.val.iVal = static_cast<short>(value);
    } else {
        property.val.lVal = value;
    }
    return property;
}

CEPROPVAL NoProperty(CEPROPID propid)
{
    CEPROPVAL property = {};
    property.propid = propid;
    property.wFlags = CEDB_PROPDELETE;
    return property;
}
