// no_memory.h - memory that runs out inside the store: while one of these lives, its allocations fail.
#ifndef KORVANE_TESTS_OBJECTSTORE_NO_MEMORY_H
#define KORVANE_TESTS_OBJECTSTORE_NO_MEMORY_H

#include "support/import_patch.h"

#include <new>

namespace no_memory {

[[noreturn]] inline void* __cdecl Throw(std::size_t)
{
    throw std::bad_alloc();
}
inline void* __cdecl Nothing(std::size_t, const std::nothrow_t&)
{
    return nullptr;
}

} // namespace no_memory

// Of buffers for keys and values.
class CNoRoom
{
private:
    const CImportPatch m_array{L"korvanestore.dll", "_Znaj", &no_memory::Throw};
    const CImportPatch m_arrayOrNull{L"korvanestore.dll", "_ZnajRKSt9nothrow_t", &no_memory::Nothing};
};

// Of anything.
class CNoMemory : private CNoRoom
{
private:
    const CImportPatch m_object{L"korvanestore.dll", "_Znwj", &no_memory::Throw};
    const CImportPatch m_objectOrNull{L"korvanestore.dll", "_ZnwjRKSt9nothrow_t", &no_memory::Nothing};
};

#endif
