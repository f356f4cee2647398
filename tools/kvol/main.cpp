// kvol - the volume tool. docs/kvol.md is its manual.

#include "output.h"
#include "run.h"
#include "text.h"

#include <windows.h>

#include <shellapi.h>

namespace {

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

} // namespace

int main()
{
    const kvol::CUtf8Streams streams;
    return kvol::RunArguments(Arguments());
}
