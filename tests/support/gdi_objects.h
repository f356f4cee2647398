// How many GDI objects this process has.
#ifndef KORVANE_TESTS_SUPPORT_GDI_OBJECTS_H
#define KORVANE_TESTS_SUPPORT_GDI_OBJECTS_H

#include <windows.h>

#include <cstdint>

namespace gdi_objects_detail {

// An entry of the table of GDI handles that the system maps into every process.
struct Entry
{
    std::uint64_t object;
    std::uint32_t owner;
    std::uint16_t unique;
    std::uint8_t type; // 0: free
    std::uint8_t flags;
    std::uint64_t user;
};
static_assert(sizeof(Entry) == 24, "the system's record");

constexpr int kEntries = 16384;
constexpr int kOffsetInProcessBlock = 0x94;

} // namespace gdi_objects_detail

// Wine does not count the objects for GetGuiResources, but it has the table.
inline int CountGdiObjects()
{
    if (const DWORD counted = ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS)) return static_cast<int>(counted);
    using namespace gdi_objects_detail;
    const BYTE* process;
    asm("movl %%fs:0x30, %0" : "=r"(process));
    const auto* table = *reinterpret_cast<const Entry* const*>(process + kOffsetInProcessBlock);
    int count = 0;
    for (int i = 0; table && i < kEntries; ++i) count += table[i].type != 0;
    return count;
}

#endif
