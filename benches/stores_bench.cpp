// The record store beside LMDB and SQLite: the same records, indexes and jobs for all.
#include "stores_bench.h"

#include "harness.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace stores {

namespace {

constexpr uint32_t kImported = 60000;
constexpr uint32_t kSeeks = 2000; // in a pass
constexpr uint32_t kWrites = 250; // in a pass

// A subject's store with the records that must be in it, kept beside it.
struct Contents
{
    std::unique_ptr<Store> store;
    std::wstring path;
    std::vector<uint32_t> numbers; // of the records, in step with `records`
    std::vector<Record> records;
    uint32_t nextSerial = 0;
    uint32_t random = 1;
    uint64_t fileSize = 0, compactSize = 0;

    uint32_t Pick()
    {
        random = random * 1664525 + 1013904223;
        return static_cast<uint32_t>(static_cast<uint64_t>(random) * records.size() >> 32);
    }
    Form OwnForm() const { return store->CanRead(Form::kColumns) ? Form::kColumns : Form::kVariants; }
};

// The jobs of one number of records, each a table with a line for each subject that does it.
class Jobs
{
public:
    explicit Jobs(uint32_t count) : m_nCount(count)
    {
        for (uint32_t serial = 0; serial < count; ++serial) m_source.push_back(MakeRecord(serial));
        for (const Record& record : m_source) Add(m_sums, record);
        for (const SubjectInfo& info : kSubjects) {
            Contents contents;
            contents.store = info.make();
            contents.path = TemporaryFile(info.fileName);
            m_contents.push_back(std::move(contents));
        }
    }
    ~Jobs()
    {
        for (Contents& contents : m_contents) {
            contents.store->Close();
            RemoveFiles(contents.path);
        }
    }
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    void Round(int round)
    {
        const auto each = [&](auto job) {
            for (size_t turn = 0; turn < m_contents.size(); ++turn) {
                const size_t subject = (turn + static_cast<size_t>(round)) % m_contents.size();
                job(subject, m_contents[subject]);
            }
        };
        each([&](size_t subject, Contents& contents) { Import(subject, contents); });
        for (const Form form : {Form::kColumns, Form::kVariants}) {
            for (const Order order : kOrders) {
                each([&](size_t subject, Contents& contents) {
                    if (contents.store->CanRead(form)) Walk(subject, contents, order, form);
                });
            }
            each([&](size_t subject, Contents& contents) {
                if (contents.store->CanRead(form)) Seek(subject, contents, form);
            });
        }
        each([&](size_t subject, Contents& contents) { Update(subject, contents); });
        each([&](size_t subject, Contents& contents) { InsertAndDelete(subject, contents); });
        each([&](size_t, Contents& contents) { CheckContents(contents); });
    }

    // The files as they are after an import, and after half of the records were deleted and the space given back.
    void MeasureFiles()
    {
        for (size_t subject = 0; subject < m_contents.size(); ++subject) {
            Contents& contents = m_contents[subject];
            Refill(contents);
            contents.store->Close();
            contents.fileSize = contents.store->FileSize(contents.path.c_str());

            contents.store->Open(contents.path.c_str(), 1);
            std::vector<uint32_t> half;
            for (size_t i = 0; i < contents.numbers.size(); i += 2) half.push_back(contents.numbers[i]);
            contents.store->DeleteAll(half);
            contents.store->Close();
            if (contents.store->Compact(contents.path.c_str())) {
                contents.compactSize = contents.store->FileSize(contents.path.c_str());
            }
        }
    }
    uint64_t FileSize(size_t subject) const { return m_contents[subject].fileSize; }
    uint64_t CompactSize(size_t subject) const { return m_contents[subject].compactSize; } // 0: cannot be had

    const bench::Table& Results(const char* job) { return m_tables.at(job); }

private:
    static void Add(Digest& digest, const Record& record)
    {
        digest.Add(record.id, record.kind, record.measure, record.name, kNameUnits, record.note, kNoteUnits,
                   record.stamp);
    }

    static double LeastSeconds() { return bench::IsQuick() ? 0.02 : 0.08; }

    // Repeats a pass that says how many things it did, and notes down the nanoseconds for one.
    template <class Pass> void Measure(const char* job, size_t subject, Form form, Pass pass)
    {
        uint64_t things = 0;
        double seconds = 0;
        for (const double started = bench::Seconds(); seconds < LeastSeconds(); seconds = bench::Seconds() - started) {
            things += pass();
        }
        Note(job, subject, form, seconds * 1e9 / things);
    }

    void Note(const char* job, size_t subject, Form form, double nanoseconds)
    {
        const SubjectInfo& info = kSubjects[subject];
        const bool convertsByHand = form == Form::kVariants && info.variantsName;
        const char* const name = convertsByHand ? info.variantsName : info.name;
        bench::Table& table = m_tables[job];
        for (bench::Subject& line : table.subjects) {
            if (line.name == name) return line.times.push_back(nanoseconds);
        }
        table.subjects.push_back({name, convertsByHand ? info.variantsHow : info.how, {nanoseconds}});
    }

    // A new file with all records in it; the seconds that importing them took.
    double Refill(Contents& contents)
    {
        contents.store->Close();
        contents.store->Create(contents.path.c_str(), 1);
        contents.numbers.clear();
        contents.numbers.reserve(m_nCount + kWrites);
        const double started = bench::Seconds();
        contents.store->Import(m_source.data(), m_nCount, contents.numbers);
        const double seconds = bench::Seconds() - started;
        contents.records = m_source;
        contents.nextSerial = m_nCount;
        return seconds;
    }

    void Import(size_t subject, Contents& contents)
    {
        Note(kImport, subject, contents.OwnForm(), Refill(contents) * 1e9 / m_nCount);
    }

    void Walk(size_t subject, Contents& contents, Order order, Form form)
    {
        static constexpr const char* kWalks[] = {kWalk, kNameWalk, kIdWalk};
        Digest digest;
        Measure(kWalks[static_cast<int>(order)], subject, form, [&] {
            digest = Digest();
            contents.store->Walk(order, form, digest);
            return m_nCount;
        });
        // All that read the same things must have read the same.
        const auto known = m_digests.emplace(std::make_pair(order, form), digest).first;
        if (digest != known->second || !digest.HasSums(m_sums)) {
            bench::Fail(std::string(kSubjects[subject].name) + " reads wrong records");
        }
    }

    void Seek(size_t subject, Contents& contents, Form form)
    {
        Measure(kSeek, subject, form, [&] {
            Digest read, due;
            for (uint32_t i = 0; i < kSeeks; ++i) {
                const Record& record = contents.records[contents.Pick()];
                contents.store->Seek(record.name, form, read);
                Add(due, record);
            }
            if (!read.HasSums(due)) bench::Fail(std::string(kSubjects[subject].name) + " finds wrong records");
            return kSeeks;
        });
    }

    void Update(size_t subject, Contents& contents)
    {
        Measure(kUpdate, subject, contents.OwnForm(), [&] {
            for (uint32_t i = 0; i < kWrites; ++i) {
                const uint32_t place = contents.Pick();
                contents.records[place].measure = contents.random / 1024.0;
                contents.store->Update(contents.numbers[place], contents.records[place].measure);
            }
            return kWrites;
        });
    }

    // As many as came go again, so that every pass finds as many records.
    void InsertAndDelete(size_t subject, Contents& contents)
    {
        double inserting = 0, deleting = 0;
        uint32_t count = 0;
        std::vector<Record> records(kWrites);
        std::vector<uint32_t> numbers(kWrites);
        while (inserting < LeastSeconds()) {
            for (Record& record : records) record = MakeRecord(contents.nextSerial++);
            const double started = bench::Seconds();
            for (uint32_t i = 0; i < kWrites; ++i) numbers[i] = contents.store->Insert(records[i]);
            inserting += bench::Seconds() - started;
            contents.records.insert(contents.records.end(), records.begin(), records.end());
            contents.numbers.insert(contents.numbers.end(), numbers.begin(), numbers.end());

            for (uint32_t& number : numbers) {
                const uint32_t place = contents.Pick();
                number = contents.numbers[place];
                contents.numbers[place] = contents.numbers.back();
                contents.records[place] = contents.records.back();
                contents.numbers.pop_back();
                contents.records.pop_back();
            }
            const double deletingStarted = bench::Seconds();
            for (const uint32_t number : numbers) contents.store->Delete(number);
            deleting += bench::Seconds() - deletingStarted;
            count += kWrites;
        }
        Note(kInsert, subject, contents.OwnForm(), inserting * 1e9 / count);
        Note(kDelete, subject, contents.OwnForm(), deleting * 1e9 / count);
    }

    void CheckContents(Contents& contents)
    {
        Digest due;
        for (const Record& record : contents.records) Add(due, record);
        for (const Order order : kOrders) {
            Digest read;
            contents.store->Walk(order, contents.OwnForm(), read);
            if (!read.HasSums(due)) bench::Fail("a store does not hold what was written to it");
        }
    }

    uint32_t m_nCount;
    std::vector<Record> m_source;
    Digest m_sums; // of all of them
    std::map<std::pair<Order, Form>, Digest> m_digests;
    std::vector<Contents> m_contents; // one a subject
    std::map<std::string, bench::Table> m_tables;
};

void PrintTable(bench::Table table, const std::string& title, const char* first)
{
    const auto line = std::find_if(table.subjects.begin(), table.subjects.end(),
                                   [&](const bench::Subject& subject) { return subject.name == first; });
    if (line != table.subjects.end()) std::rotate(table.subjects.begin(), line, line + 1);
    table.title = title;
    table.unit = "ns a record";
    bench::Print(table);
}

void JudgeJobs(Jobs& jobs)
{
    const auto judge = [&](const char* job, const char* subject, const char* peer, bench::Aim aim) {
        bench::Table table = jobs.Results(job);
        table.unit = "ns";
        bench::Judge(table, job, subject, peer, aim);
    };
    using bench::AtLeast;
    judge(kWalk, kCeCalls, kSqlite, AtLeast(2.5));
    judge(kWalk, kCeCalls, kLmdb, bench::AtMost(1.2));
    judge(kWalk, kKorvaneDb, kSqliteVariants, AtLeast(2));
    judge(kNameWalk, kKorvaneDb, kSqliteVariants, AtLeast(1.6));
    judge(kIdWalk, kKorvaneDb, kSqliteVariants, AtLeast(1.6));
    judge(kSeek, kKorvaneDb, kSqlite, AtLeast(1.4));
    judge(kSeek, kKorvaneDb, kStockSqlite, AtLeast(20));
    judge(kInsert, kKorvaneDb, kSqlite, AtLeast(8));
    judge(kInsert, kKorvaneDb, kStockSqlite, AtLeast(40));
    judge(kImport, kKorvaneDb, kSqlite, AtLeast(2));
    judge(kUpdate, kKorvaneDb, kSqlite, AtLeast(5));
    judge(kUpdate, kKorvaneDb, kStockSqlite, AtLeast(40));
    judge(kDelete, kKorvaneDb, kSqlite, AtLeast(3));
    judge(kDelete, kKorvaneDb, kStockSqlite, AtLeast(15));
}

std::string Thousands(uint32_t number)
{
    std::string text = std::to_string(number);
    if (text.size() > 3) text.insert(text.size() - 3, ",");
    return text;
}

void PrintGrowth(const std::map<uint32_t, std::unique_ptr<Jobs>>& sizes)
{
    std::printf("\n### How the cost grows with the number of records\n\nMedians in ns for one record.\n\n| |");
    for (const auto& size : sizes) std::printf(" %s records |", Thousands(size.first).c_str());
    std::printf("\n| --- |");
    for (size_t i = 0; i < sizes.size(); ++i) std::printf(" ---: |");
    std::printf("\n");
    for (const char* job : {kWalk, kNameWalk, kSeek, kInsert, kUpdate, kDelete}) {
        for (const char* name : {kKorvaneDb, kCeCalls, kLmdb, kSqlite, kStockSqlite}) {
            std::printf("| %s, %s |", job, name);
            for (const auto& size : sizes) {
                std::printf(" %.0f |", bench::SpreadOf(size.second->Results(job)[name].times).median);
            }
            std::printf("\n");
        }
    }
    static constexpr struct
    {
        const char* job;
        double limit;
    } kLimits[] = {{kWalk, 1.5}, {kNameWalk, 1.5}, {kSeek, 2}, {kInsert, 2}};
    Jobs &least = *sizes.begin()->second, &most = *sizes.rbegin()->second;
    const std::string small = std::string(kKorvaneDb) + ", " + Thousands(sizes.begin()->first) + " records",
                      large = std::string(kKorvaneDb) + ", " + Thousands(sizes.rbegin()->first) + " records";
    for (const auto& limit : kLimits) {
        bench::Judge(std::string("growth: ") + limit.job, large, small,
                     bench::SpreadOf(most.Results(limit.job)[kKorvaneDb].times).median,
                     bench::SpreadOf(least.Results(limit.job)[kKorvaneDb].times).median, "ns",
                     bench::AtMost(limit.limit));
    }
}

void RunJobs()
{
    std::map<uint32_t, std::unique_ptr<Jobs>> sizes;
    for (const uint32_t count : {1000u, 10000u, kImported}) {
        if (!bench::IsQuick() || count != 10000) sizes[count] = std::make_unique<Jobs>(count);
    }
    const int rounds = bench::IsQuick() ? 3 : 9;
    for (int round = 0; round < rounds; ++round) {
        for (const auto& size : sizes) size.second->Round(round);
    }
    Jobs& jobs = *sizes.at(kImported);
    for (const char* job : kJobs) PrintTable(jobs.Results(job), job, kKorvaneDb);
    JudgeJobs(jobs);
    PrintGrowth(sizes);

    jobs.MeasureFiles();
    std::printf("\n### The file of %s records\n\n"
                "| | after the import, MB | half of them deleted, and compacted, MB |\n| --- | ---: | ---: |\n",
                Thousands(kImported).c_str());
    for (size_t subject = 0; subject < kSubjects.size(); ++subject) {
        if (kSubjects[subject].name == kCeCalls) continue; // the same file
        std::printf("| %s | %.1f |", kSubjects[subject].name, jobs.FileSize(subject) / 1e6);
        if (jobs.CompactSize(subject) != 0) std::printf(" %.1f", jobs.CompactSize(subject) / 1e6);
        std::printf(" |\n");
    }
    bench::Judge("file after the import", kKorvaneDb, kSqlite, jobs.FileSize(kKorvaneDbIndex),
                 jobs.FileSize(kSqliteIndex), "bytes", bench::AtMost(1.2));
    bench::Judge("file, half deleted and compacted", kKorvaneDb, std::string(kKorvaneDb) + ", after the import",
                 jobs.CompactSize(kKorvaneDbIndex), jobs.FileSize(kKorvaneDbIndex), "bytes", bench::AtMost(0.6));
}

} // namespace

} // namespace stores

int main(int argc, char** argv)
{
    using namespace stores;
    if (argc == 5 && std::strcmp(argv[1], "--child") == 0) return RunChild(argv[2], argv[3], argv[4]);
    bench::Start(argc, argv);
    bench::PrintText(
        "## Record store\n\n"
        "Records of {I4, UI2, R8, text of 20 units, text of 60, FILETIME}; indexes on the first text and on the I4, "
        "whose values\n"
        "are random. Reading is taking all fields, both texts copied. Every reading pass is compared with the other "
        "subjects'\n"
        "and with what was stored; after the writing passes of a round everything is read through each order again.\n\n"
        "What each one promises for a write that has returned:\n\n"
        "| | how it is used | the process dies | the power goes |\n| --- | --- | --- | --- |\n");
    for (const SubjectInfo& info : kSubjects) {
        std::printf("| %s | %s | %s | %s |\n", info.name, info.use, info.processDeath, info.powerCut);
    }
    std::printf("\n\"%s\" is the same database with each column made a VARIANT of the types that `KorvaneDB` gives: "
                "what a host would\nwrite by hand. A host's own %s or LMDB gives fields instead.\n",
                kSqliteVariants, kCeCalls);
    RunJobs();
    MeasureOpening();
    MeasureMemory();
}
