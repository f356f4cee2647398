// What must be measured in processes of their own: opening, and memory. And the subjects of the bench.
#include "harness.h"
#include "stores_bench.h"

#include <psapi.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace stores {

namespace {

std::unique_ptr<Store> MakeSqlite(const wchar_t* library)
{
    using Make = Store* (*)();
    const HMODULE module = ::LoadLibraryW(library);
    // By way of void*: the compiler has its doubts about every other cast of a procedure's address.
    const auto make =
        module ? reinterpret_cast<Make>(reinterpret_cast<void*>(::GetProcAddress(module, "MakeSqliteStore"))) : nullptr;
    if (!make) bench::Fail("a SQLite library of the bench is not there");
    return std::unique_ptr<Store>(make());
}

constexpr uint32_t kCatalogues[] = {1, 10, 100, 1000};
constexpr uint32_t kMemoryRecords = 60000, kMemorySeeks = 10000;

// Runs this program again and returns the figures that it leaves in a file.
std::vector<double> RunAgain(const char* what, size_t subject, const std::wstring& path)
{
    const std::wstring result = path + L".result";
    wchar_t program[MAX_PATH] = L"", line[3 * MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    ::_snwprintf(line, std::size(line), L"\"%ls\" --child %hs %u \"%ls\"", program, what,
                 static_cast<unsigned>(subject), path.c_str());
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION process;
    if (!::CreateProcessW(program, line, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process)) {
        bench::Fail("cannot start a process");
    }
    DWORD code = 1;
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::GetExitCodeProcess(process.hProcess, &code);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    double first = 0, second = 0;
    FILE* const file = ::_wfopen(result.c_str(), L"rt");
    const bool right = code == 0 && file && std::fscanf(file, "%lf %lf", &first, &second) == 2;
    if (file) std::fclose(file);
    ::DeleteFileW(result.c_str());
    if (!right) bench::Fail(std::string("a process of its own failed for ") + kSubjects[subject].name);
    return {first, second};
}

} // namespace

const std::vector<SubjectInfo> kSubjects = {
    {kKorvaneDb, nullptr, "`CRow`, values as variants", nullptr, L"korvane", MakeKorvaneStore,
     "the library over `korvanestore.dll`", "kept", "the volume is sound, at its last flush or later"},
    {kCeCalls, nullptr, "`CeReadRecordProps` and the like, fields in the caller's block", nullptr, L"ce", MakeCeStore,
     "`korvanestore.dll` alone", "kept", "the volume is sound, at its last flush or later"},
    {kLmdb, nullptr, "a cursor by hand, fields copied out of the map", nullptr, L"lmdb", MakeLmdbStore,
     "0.9.24 as it comes; `MDB_WRITEMAP`, `MDB_NOSYNC`, `MDB_NOLOCK`, a map of 128 MiB: one process at a time",
     "kept, but for an instruction or two of each commit", "the file may be lost"},
    {kSqlite, kSqliteVariants, "prepared statements, columns copied", "prepared statements, columns made VARIANTs",
     L"sqlite", [] { return MakeSqlite(L"bench_sqlite_best.dll"); },
     "WAL, `synchronous=NORMAL`, `locking_mode=EXCLUSIVE`: one process at a time; built with "
     "`SQLITE_WIN32_NO_OVERLAPPED` and its recommended options, page cache of 64 MiB, UTF-16",
     "kept", "the database is sound, at its last checkpoint or later"},
    {kStockSqlite, nullptr, "the same statements", nullptr, L"stock",
     [] { return MakeSqlite(L"bench_sqlite_stock.dll"); },
     "WAL, `synchronous=NORMAL`, shared locking; stock build, page cache of 64 MiB, UTF-16", "kept",
     "the database is sound, at its last checkpoint or later"},
};

std::wstring TemporaryFile(const wchar_t* name)
{
    static unsigned s_count = 0;
    wchar_t temp[MAX_PATH] = L"", path[2 * MAX_PATH];
    ::GetTempPathW(MAX_PATH, temp);
    ::_snwprintf(path, std::size(path), L"%lskorvane-bench-%lu-%u-%ls", temp, ::GetCurrentProcessId(), ++s_count, name);
    return path;
}

void RemoveFiles(const std::wstring& path)
{
    for (const wchar_t* suffix : {L"", L"-wal", L"-shm"}) ::DeleteFileW((path + suffix).c_str());
}

int RunChild(const char* what, const char* subject, const char* path)
{
    wchar_t wide[MAX_PATH] = L"";
    ::MultiByteToWideChar(CP_ACP, 0, path, -1, wide, MAX_PATH);
    const size_t index = std::strtoul(subject, nullptr, 10);
    if (index >= kSubjects.size()) bench::Fail("no such subject");
    const auto store = kSubjects[index].make();
    double first = 0, second = 0;
    if (std::strncmp(what, "open", 4) == 0) {
        const uint32_t tables = std::strtoul(what + 4, nullptr, 10);
        const double started = bench::Seconds();
        store->Open(wide, tables);
        first = bench::Seconds() - started;
    } else {
        const Form form = store->CanRead(Form::kColumns) ? Form::kColumns : Form::kVariants;
        store->Open(wide, 1);
        Digest walked, sought;
        store->Walk(Order::kCreation, form, walked);
        for (uint32_t i = 0; i < kMemorySeeks; ++i) {
            store->Seek(MakeRecord(i * 7919u % kMemoryRecords).name, form, sought);
        }
        PROCESS_MEMORY_COUNTERS counters = {};
        if (!::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters)) {
            bench::Fail("cannot measure the memory");
        }
        first = static_cast<double>(counters.PagefileUsage);
        second = static_cast<double>(counters.PeakWorkingSetSize);
    }
    store->Close();
    FILE* const file = ::_wfopen((std::wstring(wide) + L".result").c_str(), L"wt");
    return !file || std::fprintf(file, "%.9f %.9f", first, second) < 0 || std::fclose(file) != 0;
}

void MeasureOpening()
{
    const size_t subjects[] = {0, 1, 3, 4};
    const int rounds = bench::IsQuick() ? 3 : 11;
    double oursOfTen = 0;
    for (const uint32_t tables : kCatalogues) {
        if (bench::IsQuick() && tables == 100) continue;
        bench::Table table;
        table.title = "open, and read the schema: " + std::to_string(tables) + (tables == 1 ? " table" : " tables");
        table.unit = "us";
        std::vector<std::wstring> paths;
        for (const size_t subject : subjects) {
            paths.push_back(TemporaryFile(kSubjects[subject].fileName));
            const auto store = kSubjects[subject].make();
            store->Create(paths.back().c_str(), tables);
            store->Close();
            table.subjects.push_back({kSubjects[subject].name, "", {}});
        }
        table.subjects[0].how = "`CConnection::Open` and `OpenTable`, in a process that has just begun";
        table.subjects[1].how = "mounts, describes every database, opens one in three orders; no field names";
        table.subjects[2].how = table.subjects[3].how = "opens, counts the tables, prepares a statement on one";
        const std::string what = "open" + std::to_string(tables);
        for (int round = 0; round < rounds; ++round) {
            for (size_t turn = 0; turn < std::size(subjects); ++turn) {
                const size_t i = (turn + static_cast<size_t>(round)) % std::size(subjects);
                table.subjects[i].times.push_back(RunAgain(what.c_str(), subjects[i], paths[i])[0] * 1e6);
            }
        }
        for (const std::wstring& path : paths) RemoveFiles(path);
        bench::Print(table);
        const double ours = bench::SpreadOf(table.subjects[0].times).median * 1e3;
        if (tables == 10) {
            bench::Judge(table, table.title, kKorvaneDb, kSqlite, bench::AtLeast(1.5));
            oursOfTen = ours;
        }
        if (tables == 1000) {
            bench::Judge("growth: open, and read the schema", std::string(kKorvaneDb) + ", 1,000 tables",
                         std::string(kKorvaneDb) + ", 10 tables", ours, oursOfTen, "ns", bench::AtMost(20));
        }
    }
}

void MeasureMemory()
{
    std::vector<Record> records;
    for (uint32_t serial = 0; serial < kMemoryRecords; ++serial) records.push_back(MakeRecord(serial));
    std::printf(
        "\n### Memory of walking %u records and %u seeks\n\nOf a process that does nothing else, medians; mapped "
        "pages of the file count as resident.\n\n| | private, MB | resident at most, MB |\n| --- | ---: | "
        "---: |\n",
        kMemoryRecords, kMemorySeeks);
    std::vector<double> privates, residents;
    for (size_t subject = 0; subject < kSubjects.size(); ++subject) {
        const std::wstring path = TemporaryFile(kSubjects[subject].fileName);
        const auto store = kSubjects[subject].make();
        std::vector<uint32_t> numbers;
        store->Create(path.c_str(), 1);
        store->Import(records.data(), kMemoryRecords, numbers);
        store->Close();
        std::vector<double> own, resident;
        for (int round = 0; round < 3; ++round) {
            const std::vector<double> figures = RunAgain("memory", subject, path);
            own.push_back(figures[0]);
            resident.push_back(figures[1]);
        }
        RemoveFiles(path);
        privates.push_back(bench::SpreadOf(own).median);
        residents.push_back(bench::SpreadOf(resident).median);
        std::printf("| %s | %.1f | %.1f |\n", kSubjects[subject].name, privates.back() / 1e6, residents.back() / 1e6);
    }
    bench::Judge("private memory of walk and seek", kKorvaneDb, kSqlite, privates[kKorvaneDbIndex],
                 privates[kSqliteIndex], "bytes", bench::AtMost(1));
    bench::Judge("resident memory of walk and seek", kKorvaneDb, kSqlite, residents[kKorvaneDbIndex],
                 residents[kSqliteIndex], "bytes", bench::AtMost(1.6));
}

} // namespace stores
