// While it lives, one function that a loaded module imports is replaced for that module.
#ifndef KORVANE_TESTS_SUPPORT_IMPORT_PATCH_H
#define KORVANE_TESTS_SUPPORT_IMPORT_PATCH_H

#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

class CImportPatch
{
public:
    // REQUIRES: `replacement` has the imported function's signature. A module without that import ends the program.
    template <class Function> CImportPatch(const wchar_t* module, const char* function, Function* replacement)
    {
        Find(module, [&](const char*, const IMAGE_IMPORT_BY_NAME* name, WORD) {
            return name && std::strcmp(reinterpret_cast<const char*>(name->Name), function) == 0;
        });
        Replace(function, reinterpret_cast<DWORD>(replacement));
    }
    // A function that is imported from `library` by its ordinal.
    template <class Function>
    CImportPatch(const wchar_t* module, const char* library, WORD ordinal, Function* replacement)
    {
        Find(module, [&](const char* from, const IMAGE_IMPORT_BY_NAME* name, WORD number) {
            return !name && number == ordinal && ::lstrcmpiA(from, library) == 0;
        });
        Replace(library, reinterpret_cast<DWORD>(replacement));
    }
    ~CImportPatch() { Set(m_old); }
    CImportPatch(const CImportPatch&) = delete;
    CImportPatch& operator=(const CImportPatch&) = delete;

    // The address of the function that was replaced.
    DWORD Original() const { return m_old; }

private:
    // `isIt(library, name, ordinal)` knows the import; without a name it is one by ordinal.
    template <class Predicate> void Find(const wchar_t* module, Predicate isIt)
    {
        BYTE* const base = reinterpret_cast<BYTE*>(::GetModuleHandleW(module));
        if (!base) return;
        const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
        const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
        const IMAGE_DATA_DIRECTORY& imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
        const auto* from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
        for (; from->Name && !m_slot; ++from) {
            const auto* entry = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + from->OriginalFirstThunk);
            auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + from->FirstThunk);
            for (; entry->u1.AddressOfData; ++entry, ++slot) {
                const bool byOrdinal = IMAGE_SNAP_BY_ORDINAL(entry->u1.Ordinal);
                const auto* name =
                    byOrdinal ? nullptr : reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + entry->u1.AddressOfData);
                const WORD ordinal = byOrdinal ? static_cast<WORD>(IMAGE_ORDINAL(entry->u1.Ordinal)) : 0;
                if (isIt(reinterpret_cast<const char*>(base + from->Name), name, ordinal)) m_slot = &slot->u1.Function;
            }
        }
    }
    void Replace(const char* what, DWORD address)
    {
        if (!m_slot) {
            std::fprintf(stderr, "the module does not import %s\n", what);
            std::abort();
        }
        m_old = *m_slot;
        Set(address);
    }
    void Set(DWORD address)
    {
        DWORD old = 0;
        ::VirtualProtect(m_slot, sizeof(*m_slot), PAGE_READWRITE, &old);
        *m_slot = address;
        ::VirtualProtect(m_slot, sizeof(*m_slot), old, &old);
    }

    DWORD* m_slot = nullptr;
    DWORD m_old = 0;
};

// While it lives, those allocations of korvaneLib.dll that do not throw give nothing.
class CWithoutMemory
{
private:
    static void* __cdecl AllocateNothing(std::size_t, const std::nothrow_t&) { return nullptr; }

    CImportPatch m_object{L"korvaneLib.dll", "_ZnwjRKSt9nothrow_t", &CWithoutMemory::AllocateNothing};
    CImportPatch m_array{L"korvaneLib.dll", "_ZnajRKSt9nothrow_t", &CWithoutMemory::AllocateNothing};
};

#endif
