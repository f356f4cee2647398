// tour - shows the database layer on a volume of the ISO lists, as scripts/import_iso.sh makes it.
//
// Opens the volume, lists its tables, walks one in the order of an index, looks values up, changes a record, proves
// after closing and opening again that the change is there, puts the old value back, and ends with the log.

#include <korvanelib.h>

#include "korvanedb/connection.h"
#include "korvanedb/row.h"

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using KorvaneDB::CConnection;
using KorvaneDB::CRow;
using KorvaneDB::CTable;

std::string Utf8(const wchar_t* pszText)
{
    const int cb = ::WideCharToMultiByte(CP_UTF8, 0, pszText, -1, nullptr, 0, nullptr, nullptr);
    std::string text(cb > 0 ? cb : 1, '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, pszText, -1, text.data(), cb, nullptr, nullptr);
    text.pop_back();
    return text;
}

// Every call of the library ends here: a failure parked in the last-error record counts before the call's own result.
long Must(long hr, const char* pszWhat)
{
    if (gErrHRESULT < 0) {
        hr = gErrHRESULT;
        gErrHRESULT = 0;
    }
    if (hr >= 0) return hr;
    char code[16];
    std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(hr));
    throw std::runtime_error(std::string(pszWhat) + " (" + code + ")");
}

void Trace(const wchar_t* pszText)
{
    if (theLogStream) *theLogStream << "\n" << L"tour: " << pszText;
}

std::string Text(CRow& row, const wchar_t* pszField)
{
    _variant_t value;
    Must(row.getVal(CString(pszField), value), "cannot take a value");
    return V_VT(&value) == VT_BSTR && V_BSTR(&value) ? Utf8(V_BSTR(&value)) : "-";
}

CSmartPtr<CRow> OpenTable(CConnection& connection, const wchar_t* pszTable)
{
    CSmartPtr<CRow> row;
    Must(connection.OpenTable(CString(pszTable), row),
         "the volume has not the tables of the ISO lists: make it with scripts/import_iso.sh");
    return row;
}

void ShowTables(CConnection& connection)
{
    std::puts("Tables");
    for (const auto& [name, oid] : connection.GetTableNames()) {
        const CSmartPtr<CRow> row = OpenTable(connection, name);
        const CSmartPtr<CTable> table = row->getTable();
        unsigned long nRecords = 0;
        Must(row->getNumRows(nRecords), "cannot count the records");
        std::printf("  %s (database %lu): %lu records\n    fields ", Utf8(name).c_str(), oid, nRecords);
        for (int i = 0; i < table->m_nFields; ++i) std::printf(" %s", Utf8(table->m_pFields[i].m_sName).c_str());
        std::printf("\n    indexes");
        for (int i = 0; i < table->m_nIndexes; ++i) std::printf(" %s", Utf8(table->m_pIndexes[i].m_sName).c_str());
        std::puts("");
    }
}

void PrintCountry(CRow& row)
{
    Must(row.ReadFromDB(), "cannot read the record");
    std::printf("  %s  %s  %s\n", Text(row, L"alpha_2").c_str(), Text(row, L"flag").c_str(),
                Text(row, L"name").c_str());
}

void Walk(CConnection& connection)
{
    constexpr unsigned long kShown = 3;
    const CSmartPtr<CRow> row = OpenTable(connection, L"countries");
    Must(row->SetIndex(L"ByName"), "cannot order the countries by name");
    std::puts("\nA walk through countries in the order of the index ByName");
    unsigned long nRecords = 0;
    for (Must(row->MoveFirst(), "cannot move"); !row->IsEOF(); Must(row->MoveNext(), "cannot move")) {
        if (nRecords++ < kShown) PrintCountry(*row);
    }
    std::printf("  ... %lu records in all, and from the end:\n", nRecords);
    Must(row->MoveLast(), "cannot move");
    for (unsigned long n = 0; n < kShown && !row->IsBOF(); ++n, Must(row->MovePrev(), "cannot move"))
        PrintCountry(*row);
}

void Seek(CConnection& connection)
{
    std::puts("\nSeeks by value");
    const CSmartPtr<CRow> currency = OpenTable(connection, L"currencies");
    Must(currency->SetIndex(L"ByCode"), "cannot order the currencies by code");
    for (const wchar_t* pszCode : {L"ISK", L"QQQ"}) {
        if (Must(currency->Seek(KorvaneDB::SeekValueFirstEqual, _variant_t(pszCode)), "cannot seek") == 0) {
            Must(currency->ReadFromDB(), "cannot read the record");
            std::printf("  currencies ByCode = %s: %s\n", Utf8(pszCode).c_str(), Text(*currency, L"name").c_str());
        } else {
            std::printf("  currencies ByCode = %s: not found\n", Utf8(pszCode).c_str());
        }
    }
    const CSmartPtr<CRow> part = OpenTable(connection, L"subdivisions");
    Must(part->SetIndex(L"ByType"), "cannot order the subdivisions by type");
    Must(part->SetFilter(_variant_t(L"Canton")), "cannot set the filter");
    unsigned long nFound = 0;
    std::string names;
    for (Must(part->MoveFirst(), "cannot move"); !part->IsEOF(); Must(part->MoveNext(), "cannot move")) {
        Must(part->ReadFromDB(), "cannot read the record");
        if (nFound++ < 3) names += " " + Text(*part, L"name") + ",";
    }
    std::printf("  subdivisions ByType = Canton: %lu records:%s ...\n", nFound, names.c_str());
}

// Finds Iceland and gives its common name; with pNew also stores that as the new one.
_variant_t CommonName(const std::wstring& path, const _variant_t* pNew)
{
    CConnection connection;
    Must(connection.Open(path.c_str()), "cannot open the volume");
    const CSmartPtr<CRow> row = OpenTable(connection, L"countries");
    Must(row->SetIndex(L"ByCode"), "cannot order the countries by code");
    if (Must(row->Seek(KorvaneDB::SeekValueFirstEqual, _variant_t(L"IS")), "cannot seek") != 0) {
        throw std::runtime_error("the country IS is missing");
    }
    Must(row->ReadFromDB(), "cannot read the record");
    _variant_t old;
    Must(row->getVal(L"common_name", old), "cannot take a value");
    if (pNew) {
        _variant_t value = *pNew;
        Must(row->setVal(L"common_name", value), "cannot change the value");
        Must(row->WriteToDB(), "cannot write the record");
    }
    return old; // the connection closes the volume
}

void Update(const std::wstring& path)
{
    const auto shown = [](const _variant_t& value) {
        return V_VT(&value) == VT_BSTR ? "\"" + Utf8(V_BSTR(&value)) + "\"" : std::string("absent");
    };
    std::puts("\nAn update: the common name of the country IS");
    const _variant_t changed(L"Land of fire and ice");
    const _variant_t old = CommonName(path, &changed);
    std::printf("  was %s, written %s, volume closed\n", shown(old).c_str(), shown(changed).c_str());
    const _variant_t kept = CommonName(path, &old);
    std::printf("  after opening again: %s; the old value is put back\n", shown(kept).c_str());
    if (shown(kept) != shown(changed)) throw std::runtime_error("the update is lost");
    if (shown(CommonName(path, nullptr)) != shown(old)) throw std::runtime_error("the old value is not back");
}

void ShowLog(const std::wstring& path)
{
    constexpr size_t kShown = 5;
    std::printf("\nThe log is %s; its last lines:\n", Utf8(path.c_str()).c_str());
    FILE* pFile = ::_wfopen(path.c_str(), L"rb");
    if (!pFile) throw std::runtime_error("there is no log");
    std::vector<std::string> lines(1);
    for (int c = std::fgetc(pFile); c != EOF; c = std::fgetc(pFile)) {
        if (c == '\n' || c == '\r') {
            if (!lines.back().empty()) lines.emplace_back();
        } else {
            lines.back() += static_cast<char>(c);
        }
    }
    std::fclose(pFile);
    if (lines.back().empty()) lines.pop_back();
    for (size_t i = lines.size() > kShown ? lines.size() - kShown : 0; i < lines.size(); ++i)
        std::printf("  %s\n", lines[i].c_str());
}

void Tour(const std::wstring& volume, const std::wstring& log)
{
    {
        CConnection connection;
        Must(connection.Open(volume.c_str()), "cannot open the volume");
        Trace(L"the volume is open");
        ShowTables(connection);
        Walk(connection);
        Trace(L"walked through the countries");
        Seek(connection);
        Trace(L"looked for currencies and subdivisions");
    }
    Update(volume);
    Trace(L"changed a country and put it back");
    {
        // Opening from definitions writes trace lines of its own: the path and the mount's error number.
        CConnection connection;
        std::list<KorvaneDB::CTableDefinition> none;
        Must(connection.OpenFromDef(volume.c_str(), none), "cannot open the volume without its catalogues");
    }
    ShowLog(log);
}

} // namespace

int main()
{
    int nArguments = 0;
    const std::unique_ptr<LPWSTR, decltype(&::LocalFree)> arguments(
        ::CommandLineToArgvW(::GetCommandLineW(), &nArguments), ::LocalFree);
    if (nArguments != 2) {
        std::fputs("usage: tour VOLUME\nThe log goes to the file of the same name with .log behind it.\n", stderr);
        return 2;
    }
    ::_setmode(::_fileno(stdout), _O_BINARY);
    ::SetConsoleOutputCP(CP_UTF8);
    const std::wstring volume = arguments.get()[1];
    wchar_t log[MAX_PATH] = L"";
    const DWORD cch = ::GetFullPathNameW((volume + L".log").c_str(), MAX_PATH, log, nullptr);
    char narrow[MAX_PATH * 2] = "";
    BOOL bLost = FALSE;
    // The library takes the log's path in the ANSI code page.
    ::WideCharToMultiByte(CP_ACP, 0, log, -1, narrow, sizeof narrow, nullptr, &bLost);
    if (cch == 0 || cch >= MAX_PATH || bLost) {
        std::fputs("tour: the path of the volume is too long, or not in the ANSI code page\n", stderr);
        return 1;
    }
    InitLib(narrow);
    try {
        Tour(volume, log);
        return 0;
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "tour: %s: %s\n", Utf8(volume.c_str()).c_str(), error.what());
    } catch (const _com_error& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "tour: a value could not be copied (0x%08lX)\n",
                     static_cast<unsigned long>(error.Error()));
    }
    return 1;
}
