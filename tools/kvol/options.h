// options.h - the command line.
#ifndef KVOL_OPTIONS_H
#define KVOL_OPTIONS_H

#include "commands.h"

namespace kvol {

// What the command line asks for.
struct Request
{
    enum class Command
    {
        Answered, // help or the version: text is all there is to print
        Import,
        Tables,
        Schema,
        Dump,
        Seek,
        Set,
        Delete,
        Check,
        Drop,
        Compact,
        Export,
        ImportSqlite,
        Recover,
    };
    Command command = Command::Answered;
    Options options;
    std::string text;
};

// Reads the arguments (UTF-8, without the program's name). Throws CUsageError with the sentence for the user.
Request ParseCommandLine(std::vector<std::string> arguments);

} // namespace kvol

#endif
