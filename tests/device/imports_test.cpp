// The library's five folders call only what the device has: the undefined symbols of its object files against the
// export lists of the device's system libraries (data/README.md says where these come from).
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace {

using Names = std::set<std::string>;

Names DeviceExports(const char* library)
{
    std::ifstream file(std::string(DEVICE_DATA "/") + library + ".txt");
    Names names;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        names.insert(line);
    }
    return names;
}

// "__imp__CloseHandle@4" is CloseHandle.
std::string PlainName(std::string symbol)
{
    if (symbol.rfind("__imp_", 0) == 0) symbol.erase(0, 6);
    if (symbol.rfind("_", 0) == 0) symbol.erase(0, 1);
    const size_t at = symbol.find('@');
    return at == std::string::npos || at == 0 ? symbol : symbol.substr(0, at);
}

struct Symbols
{
    Names defined, needed;
};

// The lines of nm: a name, the letter of its kind, and for a defined symbol its value.
Symbols ReadSymbols(std::istream& lines)
{
    Symbols symbols;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name, kind;
        if (!(words >> name >> kind) || kind.size() != 1) continue;
        (kind == "U" ? symbols.needed : symbols.defined).insert(PlainName(name));
    }
    return symbols;
}

Symbols ReadSymbolsOf(const char* what)
{
    std::ifstream file(std::string(SYMBOLS ".") + what);
    return ReadSymbols(file);
}

// Not in the device's lists, and right all the same.
const std::map<std::string, const char*> kSuppliedByTheSdk = {
    {"CeCloseHandle", "the desktop's stand-in for CloseHandle, which on the device closes databases too"},
    {"CeCreateProcessW", "the desktop's stand-in for CreateProcessW, which on the device looks a name up"},
};

// What the compiler itself brings: its exception runtime and C++ library are linked into the program on either side.
bool IsTheCompilers(const std::string& name)
{
    static const char* const prefixes[] = {"_Unwind_", "__cxa_", "__gxx_", "__ImageBase", "_ZSt", "_ZNSt",
                                           "_ZNKSt",   "_Znw",   "_Zna",   "_Zdl",        "_Zda", "_ZTVN10__cxxabiv1",
                                           "_ZTVSt",   "_ZTISt", "atexit", "__stack_chk_"};
    for (const char* const prefix : prefixes)
        if (name.rfind(prefix, 0) == 0) return true;
    return false;
}

Names MissingOnTheDevice(const Symbols& library)
{
    Names has = library.defined;
    for (const char* const list : {"coredll", "oleaut32", "commctrl"}) has.merge(DeviceExports(list));
    for (const char* const dll : {"framework", "imgdecmp"}) has.merge(ReadSymbolsOf(dll).defined);
    Names missing;
    for (const std::string& name : library.needed)
        if (!has.count(name) && !kSuppliedByTheSdk.count(name) && !IsTheCompilers(name)) missing.insert(name);
    return missing;
}

std::string Listed(const Names& names)
{
    std::string text;
    for (const std::string& name : names) text += name + "\n";
    return text;
}

TEST(DeviceImportsTest, EveryFunctionThatTheLibraryCallsExistsOnTheDevice)
{
    const Symbols library = ReadSymbolsOf("library");
    ASSERT_TRUE(library.needed.count("CeMountDBVol"));
    ASSERT_TRUE(library.needed.count("RegCloseKey"));
    EXPECT_EQ("", Listed(MissingOnTheDevice(library)));
}

TEST(DeviceImportsTest, AFunctionThatOnlyTheDesktopHasIsFound)
{
    std::istringstream lines(
        "__imp__GetFullPathNameW@16 U\n__imp__CreateFileW@28 U\n_lstrcpynW@12 U\n_helper T 0 4\n_helper U\n");
    EXPECT_EQ("GetFullPathNameW\nlstrcpynW\n", Listed(MissingOnTheDevice(ReadSymbols(lines))));
}

TEST(DeviceImportsTest, AnExceptionThatNothingNeedsAnyMoreIsGone)
{
    const Names needed = ReadSymbolsOf("library").needed;
    for (const auto& [name, reason] : kSuppliedByTheSdk) EXPECT_TRUE(needed.count(name)) << name << ": " << reason;
}

TEST(DeviceImportsTest, TheDevicesListsAreWhole)
{
    EXPECT_EQ(1659u, DeviceExports("coredll").size());
    EXPECT_EQ(224u, DeviceExports("oleaut32").size());
    EXPECT_EQ(83u, DeviceExports("commctrl").size());
}

} // namespace
