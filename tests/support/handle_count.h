// How many handles this process has open.
#ifndef KORVANE_TESTS_SUPPORT_HANDLE_COUNT_H
#define KORVANE_TESTS_SUPPORT_HANDLE_COUNT_H

#include <windows.h>

#include <vector>

namespace handle_count_detail {

// An entry of the system's list of all handles.
struct Entry
{
    ULONG process;
    BYTE type, flags;
    USHORT handle;
    void* object;
    ULONG access;
};
static_assert(sizeof(Entry) == 16, "the system's record");

constexpr int kSystemHandles = 16; // SystemHandleInformation
constexpr LONG kTooSmall = static_cast<LONG>(0xC0000004);

} // namespace handle_count_detail

// GetProcessHandleCount is always 0 under Wine, but the system's list is right. 0 when it cannot be had.
inline int CountHandles()
{
    using namespace handle_count_detail;
    using Query = LONG(WINAPI*)(int kind, void* pv, ULONG cb, ULONG* pcbNeeded);
    const auto query = reinterpret_cast<Query>(
        reinterpret_cast<INT_PTR>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<BYTE> list(64 << 10); // the number of entries, then the entries
    LONG status;
    while ((status = query(kSystemHandles, list.data(), list.size(), nullptr)) == kTooSmall) {
        list.resize(2 * list.size());
    }
    if (status < 0) return 0;
    const ULONG n = *reinterpret_cast<const ULONG*>(list.data());
    const auto* entries = reinterpret_cast<const Entry*>(list.data() + sizeof(ULONG));
    int count = 0;
    for (ULONG i = 0; i < n; ++i) count += entries[i].process == ::GetCurrentProcessId();
    return count;
}

#endif
