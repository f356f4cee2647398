#include "bootmark.h"

#include <cstring>
#include <winternl.h>

namespace store {

namespace {

// Under Wine the run that counts is the Linux kernel's: its own mark is a file of 36 characters. Wine's clock-based
// boot time would not do, it moves with each correction of the clock.
bool LinuxMark(CBootMark& mark)
{
    HANDLE file = ::CreateFileW(L"\\\\?\\unix\\proc\\sys\\kernel\\random\\boot_id", GENERIC_READ, FILE_SHARE_READ,
                                nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    char text[36];
    DWORD read = 0;
    const bool ok = ::ReadFile(file, text, sizeof text, &read, nullptr) && read == sizeof text;
    ::CloseHandle(file);
    if (!ok) return false;
    // FNV-1a, two lanes: the mark need only differ between runs.
    ULONGLONG lanes[2] = {0xcbf29ce484222325u, 0x84222325cbf29ce4u};
    for (char c : text) {
        for (ULONGLONG& lane : lanes) lane = (lane ^ static_cast<BYTE>(c)) * 0x100000001b3u;
    }
    std::memcpy(mark.data(), lanes, sizeof lanes);
    return true;
}

// On Windows the kernel keeps the time of the start; what setting the clock adds to it is kept beside it.
bool WindowsMark(CBootMark& mark)
{
    struct CTimeOfDay
    {
        LARGE_INTEGER liBootTime, liCurrentTime, liTimeZoneBias;
        ULONG ulTimeZoneId, ulReserved;
        ULONGLONG ullBootTimeBias, ullSleepTimeBias;
    } times = {};
    constexpr int kSystemTimeOfDayInformation = 3;
    using QueryFunction = LONG(WINAPI*)(int, void*, ULONG, ULONG*);
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    const auto query = reinterpret_cast<QueryFunction>(
        reinterpret_cast<void*>(ntdll ? ::GetProcAddress(ntdll, "NtQuerySystemInformation") : nullptr));
    if (!query || query(kSystemTimeOfDayInformation, &times, sizeof times, nullptr) < 0) return false;
    const ULONGLONG start = static_cast<ULONGLONG>(times.liBootTime.QuadPart) - times.ullBootTimeBias;
    mark.fill(0);
    std::memcpy(mark.data(), &start, sizeof start);
    return true;
}

CBootMark FindMark()
{
    CBootMark mark{};
    // Neither known: every run is taken for a new one, and a volume falls back to its last flush. That loses more than
    // it must, but trusts nothing that it should not.
    if (!LinuxMark(mark) && !WindowsMark(mark)) {
        LARGE_INTEGER now;
        ::QueryPerformanceCounter(&now);
        std::memcpy(mark.data(), &now, sizeof now);
    }
    return mark;
}

} // namespace

const CBootMark& PresentBoot()
{
    static const CBootMark mark = FindMark();
    return mark;
}

} // namespace store
