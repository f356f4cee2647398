// The library as a file: how large it is, and what loading it costs beside an empty DLL.
//
// This program is not linked with the library: else it would be loaded before anything can be measured.
#include "harness.h"

#include <cstring>

namespace {

struct Library
{
    const wchar_t* name;
    std::vector<HMODULE> imports; // held, so that loading the library loads nothing else
};

std::wstring Beside(const wchar_t* name)
{
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder = path;
    return folder.substr(0, folder.rfind(L'\\') + 1) + name;
}

// 0 for one that is not there.
uint64_t SizeOf(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return 0;
    return data.nFileSizeLow;
}

bool LoadOnce(const wchar_t* name)
{
    const HMODULE module = ::LoadLibraryW(name);
    return module && ::FreeLibrary(module) && !::GetModuleHandleW(name);
}

// The modules named in a module's import table.
std::vector<std::wstring> ImportsOf(HMODULE module)
{
    const BYTE* const base = reinterpret_cast<const BYTE*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const DWORD place = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    std::vector<std::wstring> names;
    for (const auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + place); import->Name; ++import) {
        const char* const name = reinterpret_cast<const char*>(base + import->Name);
        names.emplace_back(name, name + std::strlen(name));
    }
    return names;
}

} // namespace

int main(int argc, char** argv)
{
    bench::Start(argc, argv);
    bench::PrintText("## The library itself\n\n"
                     "Loading is `LoadLibrary` and `FreeLibrary`. The modules that it imports are the host's as well, "
                     "and are there already;\nthe second table loads them along with it, as the first loading in a "
                     "process does.\n");
    constexpr const wchar_t *kOurs = L"korvaneLib.dll", *kEmpty = L"bench_empty.dll";
    const uint64_t size = SizeOf(Beside(L"korvaneLib.stripped"));
    if (size == 0) bench::Fail("the stripped library is not there");
    std::printf("\nkorvaneLib.dll, stripped: %.1f KB.\n", size / 1e3);
    bench::Judge("korvaneLib.dll, stripped", "korvaneLib.dll", "600 KB", size, 600e3, "bytes", bench::AtMost(1));

    const auto compare = [&](const char* title, bool isWhole) {
        bench::Comparison loading(title, "us a loading", 1e6);
        loading.Add("korvaneLib.dll", "the library", [&] { return LoadOnce(kOurs); });
        loading.Add("empty", "a DLL with nothing but its entry point", [&] { return LoadOnce(kEmpty); });
        if (isWhole) {
            loading.Add("automation", "a DLL that imports one function of the system's automation, as the library must",
                        [&] { return LoadOnce(L"bench_automation.dll"); });
            loading.Add("system",
                        "a DLL that imports a function of each of the system's modules that the library needs",
                        [&] { return LoadOnce(L"bench_system.dll"); });
        }
        loading.Run();
        return loading.Results();
    };
    const bench::Table whole = compare("Loading with everything that it imports", true);
    std::vector<HMODULE> imports;
    if (const HMODULE module = ::LoadLibraryW(kOurs)) {
        for (const std::wstring& name : ImportsOf(module)) imports.push_back(::LoadLibraryW(name.c_str()));
        ::FreeLibrary(module);
    }
    const bench::Table alone = compare("Loading alone", false);
    for (const HMODULE module : imports) ::FreeLibrary(module);
    bench::Judge(alone, "load, its imports being there", "korvaneLib.dll", "empty", bench::AtMost(2));
    bench::Judge(whole, "load, with all its imports", "korvaneLib.dll", "empty", bench::AtMost(2));
}
