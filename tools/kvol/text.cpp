#include "text.h"

#include "failure.h"

#include <cstdio>

namespace kvol {

namespace {

// Decodes the character at pos and moves pos behind it; false when it is not well formed (overlong forms, surrogates
// and values above U+10FFFF included).
bool Decode(std::string_view text, size_t& pos, char32_t& character)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(pos);
    if (lead < 0x80) {
        character = lead;
        ++pos;
        return true;
    }
    const size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || text.size() - pos <= more) return false;
    char32_t value = lead & (0x3F >> more);
    for (size_t i = 1; i <= more; ++i) {
        if ((byte(pos + i) & 0xC0) != 0x80) return false;
        value = value << 6 | (byte(pos + i) & 0x3F);
    }
    static constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (value < kSmallest[more] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return false;
    character = value;
    pos += more + 1;
    return true;
}

void Encode(char32_t character, std::string& out)
{
    if (character < 0x80) {
        out += static_cast<char>(character);
        return;
    }
    const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    static constexpr unsigned char kLead[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kLead[more] | character >> 6 * more);
    for (int i = more - 1; i >= 0; --i) out += static_cast<char>(0x80 | (character >> 6 * i & 0x3F));
}

} // namespace

std::string SystemText(DWORD dwError)
{
    wchar_t text[512] = L"";
    DWORD cch = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, dwError, 0, text,
                                 ARRAYSIZE(text), nullptr);
    while (cch && (text[cch - 1] <= L' ' || text[cch - 1] == L'.')) --cch;
    const std::string number = "error " + std::to_string(dwError);
    return cch ? ToUtf8(std::wstring_view(text, cch)) + " (" + number + ")" : number;
}

bool ToWide(std::string_view utf8, std::wstring& wide)
{
    std::wstring out;
    out.reserve(utf8.size());
    for (size_t pos = 0; pos < utf8.size();) {
        char32_t character;
        if (!Decode(utf8, pos, character)) return false;
        if (character >= 0x10000) {
            out += static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
            out += static_cast<wchar_t>(0xDC00 + (character & 0x3FF));
        } else {
            out += static_cast<wchar_t>(character);
        }
    }
    wide = std::move(out);
    return true;
}

std::wstring Wide(std::string_view utf8)
{
    std::wstring wide;
    if (!ToWide(utf8, wide)) throw CFailure(Quoted(utf8) + " is not UTF-8 text");
    return wide;
}

std::string ToUtf8(std::wstring_view wide)
{
    std::string out;
    out.reserve(wide.size());
    for (size_t i = 0; i < wide.size(); ++i) {
        const wchar_t unit = wide[i];
        const bool bHigh = unit >= 0xD800 && unit <= 0xDBFF;
        if (bHigh && i + 1 < wide.size() && wide[i + 1] >= 0xDC00 && wide[i + 1] <= 0xDFFF) {
            Encode(0x10000 + ((unit - 0xD800) << 10) + (wide[i + 1] - 0xDC00), out);
            ++i;
        } else {
            Encode(unit >= 0xD800 && unit <= 0xDFFF ? 0xFFFD : unit, out);
        }
    }
    return out;
}

size_t CharacterCount(std::string_view utf8)
{
    size_t count = 0;
    for (const char c : utf8) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return count;
}

std::string OneLine(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size());
    for (const char c : utf8) {
        switch (c) {
        case '\t':
            out += "\\t";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\\':
            out += "\\\\";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(c));
                out += escape;
            } else {
                out += c;
            }
        }
    }
    return out;
}

std::string Quoted(std::string_view utf8)
{
    constexpr size_t kMost = 60;
    size_t characters = 0;
    size_t end = 0;
    for (; end < utf8.size(); ++end) {
        const bool bStarts = (static_cast<unsigned char>(utf8[end]) & 0xC0) != 0x80;
        if (bStarts && characters++ == kMost) break;
    }
    return "\"" + OneLine(utf8.substr(0, end)) + (end < utf8.size() ? "...\"" : "\"");
}

std::string Quoted(std::wstring_view wide)
{
    return Quoted(ToUtf8(wide));
}

std::string Counted(unsigned long long value)
{
    std::string digits = std::to_string(value);
    for (size_t at = digits.size(); at > 3;) {
        at -= 3;
        digits.insert(at, ",");
    }
    return digits;
}

std::string Counted(unsigned long long value, const char* pszNoun)
{
    std::string noun = pszNoun;
    if (value != 1) {
        if (noun.size() > 1 && noun.back() == 'y') {
            noun.replace(noun.size() - 1, 1, "ies");
        } else {
            noun += noun.back() == 'x' ? "es" : "s";
        }
    }
    return Counted(value) + " " + noun;
}

} // namespace kvol
