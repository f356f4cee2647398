// failure.h - what ends a command: a sentence for the person who gave it.
//
// A failure says what went wrong, on what, and where there is something to do, what to do. main prints it and ends the
// program: with 1 for a CFailure, with 2 for a CUsageError.
#ifndef KVOL_FAILURE_H
#define KVOL_FAILURE_H

#include <windows.h>

#include <stdexcept>
#include <string>

namespace kvol {

class CFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class CUsageError : public CFailure
{
public:
    using CFailure::CFailure;
};

// The system's words for a last error, in UTF-8, with its number: "The disk is full (error 112)".
std::string SystemText(DWORD dwError);

} // namespace kvol

#endif
