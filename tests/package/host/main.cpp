// Walks the table "towns" of the volume towns.vol in the current folder.
#include <korvanelib.h>

#include <cstdio>

int main()
{
    CSmartPtr<KorvaneDB::CConnection> db = new KorvaneDB::CConnection;
    CSmartPtr<KorvaneDB::CRow> row;
    TCHAR volume[] = L"towns.vol";
    if (db->Open(volume) < 0 || db->OpenTable(L"towns", row) < 0) return 1;
    for (long hr = row->MoveFirst(); hr >= 0 && !row->IsEOF(); hr = row->MoveNext()) {
        _variant_t name;
        if (row->ReadFromDB() >= 0 && row->getVal(L"name", name) >= 0) std::printf("%ls\n", name.bstrVal);
    }
    return db->Close() < 0;
}
