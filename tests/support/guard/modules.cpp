#include "modules.h"

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <map>
#include <string>

namespace guard {
namespace {

struct CKnown
{
    const wchar_t* pszName;
    EKind kind;
};

constexpr CKnown kKnown[] = {
    {L"korvaneLib.dll", EKind::kOurs},
    {L"korvaneafx.dll", EKind::kOurs},
    {L"korvanestore.dll", EKind::kOurs},
    {L"imgdecmp.dll", EKind::kOurs},
    {L"aygshell.dll", EKind::kOurs},
    {L"kvol_faults.dll", EKind::kOurs},
    {L"msvcrt.dll", EKind::kRuntime},
    {L"ucrtbase.dll", EKind::kRuntime},
    {L"libstdc++-6.dll", EKind::kRuntime},
    {L"libgcc_s_dw2-1.dll", EKind::kUnwinder},
    {L"libwinpthread-1.dll", EKind::kUnwinder},
    {L"oleaut32.dll", EKind::kSystem},
    {L"ole32.dll", EKind::kSystem},
    {L"combase.dll", EKind::kSystem},
    {L"windowscodecs.dll", EKind::kSystem},
};

constexpr size_t kMost = 32;
CModule g_modules[kMost];
size_t g_nModules = 0;
BYTE g_byAddress[0x10000]; // the module that has some of these 64 KB, plus 1: modules begin at multiples of them
const CHook* g_hooks = nullptr;
size_t g_nHooks = 0;

const IMAGE_NT_HEADERS* Headers(const BYTE* pBase)
{
    return reinterpret_cast<const IMAGE_NT_HEADERS*>(pBase +
                                                     reinterpret_cast<const IMAGE_DOS_HEADER*>(pBase)->e_lfanew);
}

void PatchSlot(DWORD* pSlot, DWORD dwAddress)
{
    DWORD dwOld = 0;
    ::VirtualProtect(pSlot, sizeof(*pSlot), PAGE_READWRITE, &dwOld);
    *pSlot = dwAddress;
    ::VirtualProtect(pSlot, sizeof(*pSlot), dwOld, &dwOld);
}

void PatchImports(BYTE* pBase, EKind kind)
{
    const IMAGE_DATA_DIRECTORY& imports = Headers(pBase)->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (!imports.VirtualAddress) return;
    const auto isHere = [kind](EPatched where) {
        if (where == EPatched::kOurs) return kind == EKind::kOurs || kind == EKind::kProgram;
        return where == EPatched::kAll || kind == EKind::kUnwinder;
    };
    const auto* pFrom = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(pBase + imports.VirtualAddress);
    for (; pFrom->Name; ++pFrom) {
        const auto* pEntry = reinterpret_cast<const IMAGE_THUNK_DATA*>(pBase + pFrom->OriginalFirstThunk);
        auto* pSlot = reinterpret_cast<IMAGE_THUNK_DATA*>(pBase + pFrom->FirstThunk);
        for (; pEntry->u1.AddressOfData; ++pEntry, ++pSlot) {
            if (IMAGE_SNAP_BY_ORDINAL(pEntry->u1.Ordinal)) continue;
            const char* pszName = reinterpret_cast<const char*>(
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(pBase + pEntry->u1.AddressOfData)->Name);
            for (size_t i = 0; i < g_nHooks; ++i) {
                if (!isHere(g_hooks[i].where)) continue;
                if (std::strcmp(pszName, g_hooks[i].pszName) != 0) continue;
                PatchSlot(&pSlot->u1.Function, reinterpret_cast<DWORD>(g_hooks[i].pvReplacement));
            }
        }
    }
}

void Add(BYTE* pBase, EKind kind)
{
    for (size_t i = 0; i < g_nModules; ++i) {
        if (g_modules[i].pBase == pBase) {
            // Unloaded and loaded again: its imports are new.
            PatchImports(pBase, kind);
            return;
        }
    }
    if (g_nModules == kMost) return;
    const IMAGE_NT_HEADERS* pHeaders = Headers(pBase);
    CModule module = {pBase, pBase + pHeaders->OptionalHeader.SizeOfImage, pBase + pHeaders->OptionalHeader.SizeOfImage,
                      pBase, kind};
    const IMAGE_SECTION_HEADER* pSection = IMAGE_FIRST_SECTION(pHeaders);
    for (WORD i = 0; i < pHeaders->FileHeader.NumberOfSections; ++i, ++pSection) {
        if (!(pSection->Characteristics & IMAGE_SCN_MEM_EXECUTE)) continue;
        const BYTE* pFirst = pBase + pSection->VirtualAddress;
        const BYTE* pLast = pFirst + pSection->Misc.VirtualSize;
        if (pFirst < module.pCode) module.pCode = pFirst;
        if (pLast > module.pCodeEnd) module.pCodeEnd = pLast;
    }
    g_modules[g_nModules] = module;
    ++g_nModules;
    for (DWORD dw = reinterpret_cast<DWORD>(pBase) >> 16; dw <= (reinterpret_cast<DWORD>(module.pEnd) - 1) >> 16;
         ++dw) {
        g_byAddress[dw] = static_cast<BYTE>(g_nModules);
    }
    PatchImports(pBase, kind);
}

struct CLoadedData
{
    ULONG ulFlags;
    const void* pFullName;
    const struct CUnicodeString
    {
        USHORT cb, cbMost;
        const wchar_t* pwch;
    } * pName;
    void* pBase;
    ULONG cbImage;
};

constexpr ULONG kLoaded = 1; // LDR_DLL_NOTIFICATION_REASON_LOADED

void CALLBACK OnModule(ULONG ulReason, const CLoadedData* pData, void*)
{
    if (ulReason != kLoaded) return;
    for (const CKnown& known : kKnown) {
        if (_wcsnicmp(pData->pName->pwch, known.pszName, pData->pName->cb / sizeof(wchar_t)) == 0 &&
            known.pszName[pData->pName->cb / sizeof(wchar_t)] == 0) {
            Add(static_cast<BYTE*>(pData->pBase), known.kind);
        }
    }
}

// The function's name from the symbol table that the linker leaves in the module's file; empty when there is none.
void FindSymbol(const CModule& module, DWORD dwOffset, char* psz, size_t cch)
{
    *psz = 0;
    wchar_t szPath[MAX_PATH] = L"";
    ::GetModuleFileNameW(reinterpret_cast<HMODULE>(const_cast<BYTE*>(module.pBase)), szPath, MAX_PATH);
    const IMAGE_NT_HEADERS* pHeaders = Headers(module.pBase);
    const DWORD nSymbols = pHeaders->FileHeader.NumberOfSymbols;
    if (nSymbols == 0) return;
    const HANDLE hFile = ::CreateFileW(szPath, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return;
    const DWORD cbFile = ::GetFileSize(hFile, nullptr);
    const HANDLE hMapping = ::CreateFileMappingW(hFile, nullptr, PAGE_READONLY, 0, 0, nullptr);
    const auto* pFile =
        static_cast<const BYTE*>(hMapping ? ::MapViewOfFile(hMapping, FILE_MAP_READ, 0, 0, 0) : nullptr);
    const DWORD dwTable = pHeaders->FileHeader.PointerToSymbolTable;
    if (pFile && dwTable < cbFile && nSymbols <= (cbFile - dwTable) / IMAGE_SIZEOF_SYMBOL) {
        const IMAGE_SECTION_HEADER* pSections = IMAGE_FIRST_SECTION(pHeaders);
        const BYTE* pBest = nullptr;
        DWORD dwBest = 0;
        for (DWORD i = 0; i < nSymbols; ++i) {
            IMAGE_SYMBOL symbol;
            const BYTE* pSymbol = pFile + dwTable + i * IMAGE_SIZEOF_SYMBOL;
            std::memcpy(&symbol, pSymbol, IMAGE_SIZEOF_SYMBOL);
            i += symbol.NumberOfAuxSymbols;
            if (symbol.SectionNumber < 1 || symbol.SectionNumber > pHeaders->FileHeader.NumberOfSections) continue;
            if (symbol.Type >> 4 != IMAGE_SYM_DTYPE_FUNCTION) continue;
            const DWORD dwAt = pSections[symbol.SectionNumber - 1].VirtualAddress + symbol.Value;
            if (dwAt > dwOffset || dwAt < dwBest) continue;
            dwBest = dwAt;
            pBest = pSymbol;
        }
        if (pBest) {
            IMAGE_SYMBOL symbol;
            std::memcpy(&symbol, pBest, IMAGE_SIZEOF_SYMBOL);
            char szShort[IMAGE_SIZEOF_SHORT_NAME + 1] = "";
            std::memcpy(szShort, symbol.N.ShortName, IMAGE_SIZEOF_SHORT_NAME);
            const DWORD dwLong = dwTable + nSymbols * IMAGE_SIZEOF_SYMBOL + symbol.N.Name.Long;
            const char* pszName =
                symbol.N.Name.Short || dwLong >= cbFile ? szShort : reinterpret_cast<const char*>(pFile + dwLong);
            int nStatus = 0;
            // A C name has one more underscore on this target.
            char* pszPlain = abi::__cxa_demangle(*pszName == '_' ? pszName + 1 : pszName, nullptr, nullptr, &nStatus);
            std::snprintf(psz, cch, "%s", nStatus == 0 ? pszPlain : pszName);
            std::free(pszPlain);
        }
    }
    if (pFile) ::UnmapViewOfFile(pFile);
    if (hMapping) ::CloseHandle(hMapping);
    ::CloseHandle(hFile);
}

} // namespace

void PatchModules(const CHook* hooks, size_t nHooks)
{
    g_hooks = hooks;
    g_nHooks = nHooks;
    Add(reinterpret_cast<BYTE*>(::GetModuleHandleW(nullptr)), EKind::kProgram);
    for (const CKnown& known : kKnown) {
        if (const HMODULE hModule = ::GetModuleHandleW(known.pszName)) {
            Add(reinterpret_cast<BYTE*>(hModule), known.kind);
        }
    }
    using Register = LONG(WINAPI*)(ULONG flags, void* function, void* context, void** cookie);
    const auto registerOnModule = reinterpret_cast<Register>(
        reinterpret_cast<INT_PTR>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification")));
    void* pvCookie = nullptr;
    if (registerOnModule) registerOnModule(0, reinterpret_cast<void*>(&OnModule), nullptr, &pvCookie);
}

const CModule* FindModule(const void* pv)
{
    const BYTE nModule = g_byAddress[reinterpret_cast<DWORD>(pv) >> 16];
    return nModule ? &g_modules[nModule - 1] : nullptr;
}

bool IsReturnAddress(const void* pv)
{
    const auto* p = static_cast<const BYTE*>(pv);
    const CModule* pModule = FindModule(pv);
    if (!pModule || p < pModule->pCode + 7 || p > pModule->pCodeEnd) return false;
    if (p[-5] == 0xE8) return true;
    // call r/m32: FF /2, two to seven bytes long.
    const auto isCall = [p](int cb) { return p[-cb] == 0xFF && (p[-cb + 1] & 0x38) == 0x10; };
    return isCall(2) || isCall(3) || isCall(4) || isCall(6) || isCall(7);
}

void Describe(const void* pv, char* psz, size_t cch)
{
    const CModule* pModule = FindModule(pv);
    wchar_t szPath[MAX_PATH] = L"?";
    HMODULE hModule = nullptr;
    if (!::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              static_cast<const wchar_t*>(pv), &hModule)) {
        std::snprintf(psz, cch, "%p", pv);
        return;
    }
    ::GetModuleFileNameW(hModule, szPath, MAX_PATH);
    const wchar_t* pszFile = std::wcsrchr(szPath, L'\\') ? std::wcsrchr(szPath, L'\\') + 1 : szPath;
    const auto dwOffset = static_cast<DWORD>(static_cast<const BYTE*>(pv) - reinterpret_cast<const BYTE*>(hModule));
    // Looking for a name takes milliseconds, and the same are asked for again and again.
    static auto& names = *new std::map<const void*, std::string>;
    std::string& name = names[pv];
    if (name.empty()) {
        char szSymbol[200] = "";
        if (pModule) FindSymbol(*pModule, dwOffset, szSymbol, sizeof(szSymbol));
        name = szSymbol;
    }
    std::snprintf(psz, cch, "%ls+0x%lX %s", pszFile, static_cast<unsigned long>(dwOffset), name.c_str());
}

} // namespace guard
