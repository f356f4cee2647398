// kvol - the volume tool. docs/kvol.md is its manual.

#include "failure.h"
#include "options.h"
#include "output.h"
#include "text.h"

#include <korvanelib.h>

#include <shellapi.h>

#include <new>

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// The command line as UTF-8: main's own arguments have lost what the ANSI code page lacks.
std::vector<std::string> Arguments()
{
    int nArguments = 0;
    LPWSTR* ppArguments = ::CommandLineToArgvW(::GetCommandLineW(), &nArguments);
    std::vector<std::string> arguments;
    for (int i = 1; ppArguments && i < nArguments; ++i) arguments.push_back(kvol::ToUtf8(ppArguments[i]));
    ::LocalFree(ppArguments);
    return arguments;
}

int Run(const kvol::Request& request)
{
    using Command = kvol::Request::Command;
    const kvol::Options& options = request.options;
    bool bDone = true;
    if (request.command != Command::Answered) InitLib(""); // the library writes trace lines; nobody reads a tool's
    switch (request.command) {
    case Command::Answered:
        kvol::Out(request.text);
        break;
    case Command::Import:
        kvol::RunImport(options);
        break;
    case Command::Tables:
        kvol::RunTables(options);
        break;
    case Command::Schema:
        kvol::RunSchema(options);
        break;
    case Command::Dump:
        kvol::RunDump(options);
        break;
    case Command::Seek:
        kvol::RunSeek(options);
        break;
    case Command::Set:
        kvol::RunSet(options);
        break;
    case Command::Delete:
        kvol::RunDelete(options);
        break;
    case Command::Check:
        bDone = kvol::RunCheck(options);
        break;
    case Command::Drop:
        kvol::RunDrop(options);
        break;
    case Command::Compact:
        kvol::RunCompact(options);
        break;
    case Command::Export:
        kvol::RunExport(options);
        break;
    case Command::ImportSqlite:
        kvol::RunImportSqlite(options);
        break;
    case Command::Recover:
        bDone = kvol::RunRecover(options);
        break;
    }
    kvol::FlushOut();
    return bDone ? kDone : kFailed;
}

} // namespace

int main()
{
    const kvol::CUtf8Streams streams;
    try {
        return Run(kvol::ParseCommandLine(Arguments()));
    } catch (const kvol::CUsageError& error) {
        kvol::Err(std::string("kvol: ") + error.what() +
                  "\nkvol: \"kvol --help\" and \"kvol COMMAND --help\" tell what can be said\n");
        return kWrongUsage;
    } catch (const kvol::CFailure& failure) {
        kvol::Err(std::string("kvol: ") + failure.what() + "\n");
    } catch (const std::bad_alloc&) {
        kvol::Err("kvol: out of memory: the file or the table is too large for a 32-bit program\n");
    } catch (const _com_error& error) {
        kvol::Err("kvol: a value could not be copied: " + kvol::SystemText(static_cast<DWORD>(error.Error())) + "\n");
    } catch (const std::exception& error) {
        kvol::Err(std::string("kvol: ") + error.what() + "\n");
    }
    return kFailed;
}
