// text.h - UTF-8 outside, UTF-16 inside, and text made fit for a message or a table.
//
// Errors     none are raised: a conversion that can fail says so by its result.
#ifndef KVOL_TEXT_H
#define KVOL_TEXT_H

#include <string>
#include <string_view>

namespace kvol {

// UTF-8 to UTF-16. False, with wide left alone, when the bytes are not well-formed UTF-8.
bool ToWide(std::string_view utf8, std::wstring& wide);

// The same where the bytes are known to be well formed; throws CFailure otherwise.
std::wstring Wide(std::string_view utf8);

// UTF-16 to UTF-8. A lone surrogate, which UTF-8 has no form for, becomes U+FFFD.
std::string ToUtf8(std::wstring_view wide);

// Characters (code points) of well-formed UTF-8.
size_t CharacterCount(std::string_view utf8);

// The text on one line: tab, line feed, carriage return and backslash as \t \n \r \\, other control characters as \xNN.
std::string OneLine(std::string_view utf8);

// The text for a message: on one line, in double quotes, cut behind 60 characters.
std::string Quoted(std::string_view utf8);
std::string Quoted(std::wstring_view wide);

// 1234567 as "1,234,567".
std::string Counted(unsigned long long value);

// "1 record", "2 records".
std::string Counted(unsigned long long value, const char* pszNoun);

} // namespace kvol

#endif
