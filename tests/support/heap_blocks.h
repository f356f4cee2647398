// How many blocks of memory this process has allocated.
#ifndef KORVANE_TESTS_SUPPORT_HEAP_BLOCKS_H
#define KORVANE_TESTS_SUPPORT_HEAP_BLOCKS_H

#include "support/guard/guard.h"

#include <windows.h>

#include <algorithm>
#include <vector>

inline int CountHeapBlocks()
{
    std::vector<HANDLE> heaps(::GetProcessHeaps(0, nullptr));
    heaps.resize(std::min<size_t>(heaps.size(), ::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data())));
    int count = static_cast<int>(guard::CountLive()); // the memory checker's are in no heap
    for (const HANDLE heap : heaps) {
        PROCESS_HEAP_ENTRY entry = {};
        while (::HeapWalk(heap, &entry)) count += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
    }
    return count;
}

#endif
