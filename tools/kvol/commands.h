// commands.h - the commands of kvol, one function each, and what they are given.
//
// Each returns when it has done its work and throws CFailure when it could not; check returns false when it found
// faults, recover when something was lost. A command that changes the volume changes all that it was asked to or nothing.
#ifndef KVOL_COMMANDS_H
#define KVOL_COMMANDS_H

#include "source.h"

#include <windows.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kvol {

// --field NAME:TYPE
struct FieldOption
{
    std::string name;
    WORD wType = 0;
};

// --index NAME=FIELD[,desc][,nocase]
struct IndexOption
{
    std::string name;
    std::string field; // with the words behind it: only the file's columns tell where a name with commas ends
};

enum class Format
{
    Table,
    Csv,
    Json,
};

// All texts are UTF-8. A command uses the members that its usage names.
struct Options
{
    std::string volume;
    std::string table;
    std::string file;
    std::vector<FieldOption> fields;
    std::vector<IndexOption> indexes;
    bool bAppend = false;
    bool bReplace = false;
    std::optional<std::string> index; // of dump only when it is given
    std::optional<std::string> equal;
    std::optional<unsigned long> limit;
    Format format = Format::Table;
    std::string value;
    std::vector<std::string> changes; // FIELD=VALUE
    bool bAll = false;
};

void RunImport(const Options& options);
void RunTables(const Options& options);
void RunSchema(const Options& options);
void RunDump(const Options& options);
void RunSeek(const Options& options);
void RunSet(const Options& options);
void RunDelete(const Options& options);
bool RunCheck(const Options& options);
void RunDrop(const Options& options);
void RunCompact(const Options& options);
void RunExport(const Options& options);
void RunImportSqlite(const Options& options);
bool RunRecover(const Options& options);

} // namespace kvol

#endif
