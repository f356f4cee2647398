// run.h - what the program does, from its arguments to its exit code.
#ifndef KVOL_RUN_H
#define KVOL_RUN_H

#include "options.h"

namespace kvol {

// Does what the arguments (UTF-8, without the program's name) ask for. What fails is told on standard error, in one
// sentence. Returns the exit code: 0 done, 1 failed, 2 wrong usage. Throws nothing, whatever memory is out for.
int RunArguments(const std::vector<std::string>& arguments);

// The same for arguments that have been read.
int RunRequest(const Request& request);

} // namespace kvol

#endif
