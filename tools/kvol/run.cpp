#include "run.h"

#include "failure.h"
#include "output.h"
#include "text.h"
#include "translated.h"

#include <korvanelib.h>

#include <new>

namespace kvol {

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int Run(const Request& request)
{
    using Command = Request::Command;
    const Options& options = request.options;
    bool bDone = true;
    switch (request.command) {
    case Command::Answered:
        Out(request.text);
        break;
    case Command::Import:
        RunImport(options);
        break;
    case Command::Tables:
        RunTables(options);
        break;
    case Command::Schema:
        RunSchema(options);
        break;
    case Command::Dump:
        RunDump(options);
        break;
    case Command::Seek:
        RunSeek(options);
        break;
    case Command::Set:
        RunSet(options);
        break;
    case Command::Delete:
        RunDelete(options);
        break;
    case Command::Check:
        bDone = RunCheck(options);
        break;
    case Command::Drop:
        RunDrop(options);
        break;
    case Command::Compact:
        RunCompact(options);
        break;
    case Command::Export:
        RunExport(options);
        break;
    case Command::ImportSqlite:
        RunImportSqlite(options);
        break;
    case Command::Recover:
        bDone = RunRecover(options);
        break;
    }
    FlushOut();
    return bDone ? kDone : kFailed;
}

// Piece by piece: memory may be what is out, and nothing may be thrown any more.
int Fail(int nExitCode, const char* pszWhy, const char* pszMore = "")
{
    Err("kvol: ");
    Err(pszWhy);
    Err(pszMore);
    Err("\n");
    return nExitCode;
}

template <class Action> int Reported(Action action)
{
    try {
        return Translated(action);
    } catch (const CUsageError& error) {
        return Fail(kWrongUsage, error.what(),
                    "\nkvol: \"kvol --help\" and \"kvol COMMAND --help\" tell what can be said");
    } catch (const std::bad_alloc&) {
        return Fail(kFailed, "out of memory: the file or the table is too large for a 32-bit program");
    } catch (const std::exception& error) {
        return Fail(kFailed, error.what());
    }
}

} // namespace

int RunRequest(const Request& request)
{
    return Reported([&] { return Run(request); });
}

int RunArguments(const std::vector<std::string>& arguments)
{
    return Reported([&] {
        const Request request = ParseCommandLine(arguments);
        // The library writes trace lines; nobody reads a tool's.
        if (request.command != Request::Command::Answered) InitLib("");
        return Run(request);
    });
}

} // namespace kvol
