// The smallest host: opens a volume and walks a table. The README shows it.
#include <korvanelib.h>

#include <cstdio>
#include <fcntl.h>
#include <io.h>

int main()
{
    _setmode(_fileno(stdout), _O_U8TEXT);
    InitLib("host.log");
    CSmartPtr<KorvaneDB::CConnection> db = new KorvaneDB::CConnection;
    CSmartPtr<KorvaneDB::CRow> row;
    TCHAR volume[] = L"build/run/iso.vol";
    if (db->Open(volume) < 0 || db->OpenTable(L"countries", row) < 0) return 1;
    for (long hr = row->MoveFirst(); hr >= 0 && !row->IsEOF(); hr = row->MoveNext()) {
        _variant_t name;
        if (row->ReadFromDB() >= 0 && row->getVal(L"name", name) >= 0) std::wprintf(L"%ls\n", name.bstrVal);
    }
    return db->Close() < 0;
}
