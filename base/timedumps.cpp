#include "base/timedumps.h"

namespace {

void WriteBody(CStreamWriter& rWriter, const SYSTEMTIME& rTime)
{
    rWriter.IncTabs();
    rWriter << "\n"
            << rTime.wDay << "/" << rTime.wMonth << "/" << rTime.wYear << "  " << rTime.wHour << ":" << rTime.wMinute
            << ":" << rTime.wSecond << ":" << rTime.wMilliseconds << "\n";
    rWriter.DecTabs();
    rWriter << "\n}\n";
}

} // namespace

CStreamWriter& operator<<(CStreamWriter& rWriter, const FILETIME& rTime)
{
    rWriter << "T : FILETIME {";
    SYSTEMTIME st = {};
    if (!::FileTimeToSystemTime(&rTime, &st)) st = {};
    WriteBody(rWriter, st);
    return rWriter;
}

CStreamWriter& operator<<(CStreamWriter& rWriter, const SYSTEMTIME& rTime)
{
    rWriter << "T : SYSTEMTIME {";
    WriteBody(rWriter, rTime);
    return rWriter;
}
