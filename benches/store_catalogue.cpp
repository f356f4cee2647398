#include "store_catalogue.h"

#include "targets.h"

#include <korvanebatch.h>

#include <cstdio>
#include <cwchar>
#include <initializer_list>
#include <string>

namespace stores {

namespace {

constexpr struct
{
    const wchar_t* name;
    long type, length;
} kFieldTable[] = {{L"id", CEVT_I4, 4},       {L"kind", CEVT_UI2, 2},    {L"measure", CEVT_R8, 8},
                   {L"name", CEVT_LPWSTR, 0}, {L"note", CEVT_LPWSTR, 0}, {L"stamp", CEVT_FILETIME, 8}};

CEOID MakeDatabase(CEGUID& volume, const wchar_t* name, std::initializer_list<CEPROPID> orders)
{
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    std::wcscpy(info.szDbaseName, name);
    for (const CEPROPID property : orders) info.rgSortSpecs[info.wNumSortOrder++] = {property, 0};
    const CEOID oid = ::CeCreateDatabaseEx(&volume, &info);
    Must(oid != 0, "cannot make a database");
    return oid;
}

// One of the catalogue databases, to add records to.
class Catalogue
{
public:
    Catalogue(CEGUID& volume, const wchar_t* name)
    {
        CEOID oid = MakeDatabase(volume, name, {});
        m_hDatabase = ::CeOpenDatabaseEx(&volume, &oid, nullptr, 0, 0, nullptr);
        Must(m_hDatabase != INVALID_HANDLE_VALUE, "cannot open a catalogue");
    }
    ~Catalogue() { CloseHandle(m_hDatabase); }
    Catalogue(const Catalogue&) = delete;
    Catalogue& operator=(const Catalogue&) = delete;

    void Add(std::initializer_list<CEPROPVAL> values)
    {
        Must(::CeWriteRecordProps(m_hDatabase, 0, static_cast<WORD>(values.size()),
                                  const_cast<CEPROPVAL*>(values.begin())) != 0,
             "cannot write to a catalogue");
    }

private:
    HANDLE m_hDatabase;
};

CEPROPVAL Number(WORD number, WORD type, long value)
{
    CEPROPVAL property = {};
    property.propid = MAKELONG(type, number);
    if (type == CEVT_I2) property.val.iVal = static_cast<short>(value);
    if (type == CEVT_I4) property.val.lVal = value;
    return property;
}

CEPROPVAL Text(WORD number, const wchar_t* text)
{
    CEPROPVAL property = {};
    property.propid = MAKELONG(CEVT_LPWSTR, number);
    property.val.lpwstr = const_cast<wchar_t*>(text);
    return property;
}

} // namespace

void Must(bool succeeded, const char* what)
{
    if (!succeeded) bench::Fail(std::string(what) + ": error " + std::to_string(::GetLastError()));
}

void TableName(uint32_t table, wchar_t* name)
{
    std::wcscpy(name, L"records");
    if (table != 0) ::_snwprintf(name, CEDB_MAXDBASENAMELEN, L"records%u", table);
}

void MakeVolume(const wchar_t* path, uint32_t tables)
{
    CEGUID volume;
    Must(::CeMountDBVol(&volume, const_cast<wchar_t*>(path), CREATE_ALWAYS), "cannot make a volume");
    Must(::CeBeginBatch(&volume), "cannot begin a batch");
    {
        Catalogue tableList(volume, L"MSysTables"), fieldList(volume, L"MSysFields"), indexList(volume, L"MSysIndexes");
        for (uint32_t table = 0; table < tables; ++table) {
            wchar_t name[CEDB_MAXDBASENAMELEN];
            TableName(table, name);
            const long oid = static_cast<long>(MakeDatabase(volume, name, {kNameProperty, kIdProperty}));
            tableList.Add({Text(0, name), Number(1, CEVT_I4, oid)});
            for (WORD i = 0; i < kFields; ++i) {
                fieldList.Add({Number(0, CEVT_I4, oid), Text(1, kFieldTable[i].name),
                               Number(2, CEVT_I4, static_cast<long>(kProperties[i])),
                               Number(3, CEVT_I2, kFieldTable[i].length), Number(4, CEVT_I2, kFieldTable[i].type)});
            }
            for (const WORD i : {WORD(3), WORD(0)}) {
                indexList.Add({Number(0, CEVT_I4, oid), Text(1, kFieldTable[i].name),
                               Number(2, CEVT_I4, static_cast<long>(kProperties[i])), Number(3, CEVT_I4, 0)});
            }
        }
    }
    Must(::CeCommitBatch(&volume), "cannot commit the catalogues");
    Must(::CeUnmountDBVol(&volume), "cannot unmount a volume");
}

void CompactVolume(const wchar_t* path)
{
    Must(::CeCompactDBVol(path, nullptr, 0), "cannot compact a volume");
}

uint64_t SizeOf(const wchar_t* path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    Must(::GetFileAttributesExW(path, GetFileExInfoStandard, &data), "cannot measure a file");
    return data.nFileSizeLow | static_cast<uint64_t>(data.nFileSizeHigh) << 32;
}

} // namespace stores
