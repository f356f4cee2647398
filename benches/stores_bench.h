// The subjects and jobs of the record-store bench, and the parts of it that need processes of their own.
#ifndef KORVANE_BENCHES_STORES_BENCH_H
#define KORVANE_BENCHES_STORES_BENCH_H

#include "store.h"

#include <string>

namespace stores {

constexpr const char* kKorvaneDb = "`KorvaneDB`";
constexpr const char* kCeCalls = "Ce… calls";
constexpr const char* kLmdb = "LMDB";
constexpr const char* kSqlite = "SQLite";
constexpr const char* kStockSqlite = "stock SQLite";
constexpr const char* kSqliteVariants = "SQLite to VARIANT";

struct SubjectInfo
{
    const char* name;
    const char* variantsName; // when its columns are made VARIANTs by hand; null: never
    const char* how;
    const char* variantsHow;
    const wchar_t* fileName;
    std::unique_ptr<Store> (*make)();
    const char *use, *processDeath, *powerCut;
};
constexpr size_t kKorvaneDbIndex = 0, kSqliteIndex = 3;
extern const std::vector<SubjectInfo> kSubjects;

constexpr const char* kImport = "insert in one batch";
constexpr const char* kInsert = "insert, each its own transaction";
constexpr const char* kUpdate = "update one field, own transaction";
constexpr const char* kDelete = "delete, own transaction";
constexpr const char* kWalk = "walk in order of creation";
constexpr const char* kNameWalk = "walk in order of the text index";
constexpr const char* kIdWalk = "walk in order of the number index";
constexpr const char* kSeek = "seek by text and read";
constexpr const char* kJobs[] = {kImport, kInsert, kUpdate, kDelete, kWalk, kNameWalk, kIdWalk, kSeek};

// A file in the temporary folder, of this process's own; and away with it and what SQLite lays beside it.
std::wstring TemporaryFile(const wchar_t* name);
void RemoveFiles(const std::wstring& path);

// Both start this program again for each subject and round.
void MeasureOpening();
void MeasureMemory();
// The other end: what is "open" or "memory"; the process's exit code.
int RunChild(const char* what, const char* subject, const char* path);

} // namespace stores

#endif
