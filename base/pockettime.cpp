#include "base/pockettime.h"

#include <windows.h>

#include <ctime>
#include <cwchar>

const int CPocketPCTime::maxTimeBufferSize;

const TCHAR* CPocketPCTime::SHORT_MOUNTS_NAMES[12] = {L"jan", L"feb", L"mar", L"apr", L"may", L"jun",
                                                      L"jul", L"aug", L"sep", L"oct", L"nov", L"dec"};

const TCHAR* CPocketPCTime::LONG_MOUNTS_NAMES[12] = {L"january",  L"february", L"march",   L"april",
                                                     L"may",      L"juny",     L"july",    L"august",
                                                     L"septeber", L"october",  L"noveber", L"deceber"};

namespace {

bool IsField(TCHAR specifier)
{
    return specifier != 0 && std::wcschr(L"yYmbBdHMS", specifier) != nullptr;
}

CString Number(const wchar_t* format, int value)
{
    wchar_t text[16];
    ::wsprintfW(text, format, value);
    return text;
}

CString Field(TCHAR specifier, const tm& local)
{
    switch (specifier) {
    case L'y':
        return Number(L"%02d", (local.tm_year + 1900) % 100);
    case L'Y':
        return Number(L"%02d", local.tm_year + 1900);
    case L'm':
        return Number(L"%02d", local.tm_mon + 1);
    case L'b':
        return CPocketPCTime::SHORT_MOUNTS_NAMES[local.tm_mon];
    case L'B':
        return CPocketPCTime::LONG_MOUNTS_NAMES[local.tm_mon];
    case L'd':
        return Number(L"%ld", local.tm_mday);
    case L'H':
        return Number(L"%02d", local.tm_hour);
    case L'M':
        return Number(L"%02d", local.tm_min);
    default:
        return Number(L"%02d", local.tm_sec);
    }
}

} // namespace

CPocketPCTime::CPocketPCTime() : CTime() {}

CPocketPCTime::CPocketPCTime(unsigned long t) : CTime(static_cast<time_t>(t)) {}

CPocketPCTime::CPocketPCTime(int year, int month, int day, int hour, int min, int sec, int nDST)
    : CTime(year, month, day, hour, min, sec, nDST)
{
}

CPocketPCTime::CPocketPCTime(unsigned short dosDate, unsigned short dosTime, int nDST) : CTime(dosDate, dosTime, nDST)
{
}

CPocketPCTime::CPocketPCTime(const SYSTEMTIME& time, int nDST) : CTime(time, nDST) {}

CPocketPCTime::CPocketPCTime(const FILETIME& time, int nDST) : CTime(time, nDST) {}

CPocketPCTime& CPocketPCTime::operator=(const CTime& other)
{
    CTime::operator=(other);
    return *this;
}

CString CPocketPCTime::Format(const TCHAR* format) const
{
    CString text;
    if (format == nullptr) return text;
    for (; *format != 0 && text.GetLength() < maxTimeBufferSize; ++format) {
        if (*format != L'%') {
            text += *format;
            continue;
        }
        if (*++format == 0) break;
        if (!IsField(*format)) {
            text += *format;
            continue;
        }
        const tm* local = GetLocalTm(nullptr);
        if (local == nullptr || local->tm_mon < 0 || local->tm_mon > 11) return CString();
        text += Field(*format, *local);
    }
    return text.Left(maxTimeBufferSize - 1);
}

CString CPocketPCTime::Format(const CTime& time, const TCHAR* format)
{
    CPocketPCTime value(0UL);
    value = time;
    return value.Format(format);
}
