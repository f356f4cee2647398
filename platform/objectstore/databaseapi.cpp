// The calls that create, change and delete databases.
#include "apiedge.h"
#include "mounts.h"
#include "resort.h"
#include "spec.h"

using namespace store;

namespace {

constexpr size_t kCatalogueBytes = 512; // keys and values of a database's entries in the catalogue, at most

DWORD PutName(CWriteAccess& access, COpenVolume& volume, const wchar_t* pszName, CEOID oid)
{
    volume.scratchKey.Clear();
    AppendNameKey(volume.scratchKey, pszName);
    BYTE rgb[sizeof oid];
    Store(rgb, oid);
    return access.Put(volume.scratchKey.Bytes(), {rgb, sizeof rgb});
}

DWORD Create(const CEGUID* pguid, const CDatabaseSpec& spec, CEOID& oid)
{
    CVolumeRef volume;
    DWORD dwError = FindVolume(pguid, volume);
    if (dwError != ERROR_SUCCESS) return dwError;
    if (!(spec.dwValid & CEDB_VALIDNAME)) return ERROR_INVALID_PARAMETER;
    CChange change(*volume);
    CWriteAccess& access = change.Access();
    dwError = change.Error();
    if (dwError != ERROR_SUCCESS) return dwError;
    if (volume->FindDatabase(access, spec.szName)) return ERROR_DUP_NAME;
    dwError = change.Begin(kCatalogueBytes);
    CEOID oidNew = 0;
    if (dwError == ERROR_SUCCESS) dwError = volume->TakeOid(access, oidNew);
    if (dwError != ERROR_SUCCESS) return dwError;
    CDatabase& database = volume->Remember(oidNew);
    database.MakeEmpty();
    memcpy(database.szName, spec.szName, sizeof database.szName);
    database.dwType = spec.dwValid & CEDB_VALIDTYPE ? spec.dwType : 0;
    database.dwFlags = spec.dwFlags;
    database.orders = spec.orders;
    for (size_t i = 0; i < database.orders.size(); ++i) database.orders[i].bId = static_cast<BYTE>(i + 1);
    database.Touch();
    dwError = database.Save(access, volume->scratchValue);
    if (dwError == ERROR_SUCCESS) dwError = PutName(access, *volume, spec.szName, oidNew);
    if (dwError == ERROR_SUCCESS) dwError = change.Commit();
    if (dwError == ERROR_SUCCESS) oid = oidNew;
    return dwError;
}

bool AreEqual(const SORTORDERSPECEX& left, const SORTORDERSPECEX& right)
{
    return memcmp(&left, &right, sizeof left) == 0;
}

// Gives the new orders their numbers: an order that stays as it is keeps its own and its entries.
void NumberOrders(std::vector<COrder>& orders, const std::vector<COrder>& oldOrders)
{
    bool rgUsed[256] = {};
    for (const COrder& old : oldOrders) {
        rgUsed[old.bId] = true;
        for (COrder& order : orders)
            if (AreEqual(order.spec, old.spec)) order.bId = old.bId;
    }
    BYTE bNext = 1;
    for (COrder& order : orders) {
        if (order.bId) continue;
        while (rgUsed[bNext]) ++bNext;
        order.bId = bNext;
        rgUsed[bNext] = true;
    }
}

bool HasOrder(const std::vector<COrder>& orders, BYTE bId)
{
    for (const COrder& order : orders)
        if (order.bId == bId) return true;
    return false;
}

DWORD Change(const CEGUID* pguid, CEOID oid, CDatabaseSpec& spec)
{
    CVolumeRef volume;
    DWORD dwError = FindVolume(pguid, volume);
    if (dwError != ERROR_SUCCESS) return dwError;
    const bool bSort = spec.dwValid & CEDB_VALIDSORTSPEC;
    CChange change(*volume);
    CWriteAccess& access = change.Access();
    dwError = change.Error();
    CDatabase* pDatabase = nullptr;
    if (dwError == ERROR_SUCCESS) dwError = volume->Database(access, oid, pDatabase);
    if (dwError == ERROR_FILE_NOT_FOUND) return ERROR_INVALID_PARAMETER;
    if (dwError != ERROR_SUCCESS) return dwError;
    CDatabase& database = *pDatabase;
    if (bSort && volume->Engine().IsDatabaseOpen(access, oid)) return ERROR_SHARING_VIOLATION;
    if (spec.dwValid & CEDB_VALIDNAME) {
        const CEOID oidNamed = volume->FindDatabase(access, spec.szName);
        if (oidNamed && oidNamed != oid) return ERROR_DUP_NAME;
    }
    std::vector<COrderBuilder> builders;
    size_t cbChanged = 2 * kCatalogueBytes;
    if (bSort) {
        NumberOrders(spec.orders, database.orders);
        builders.reserve(spec.orders.size());
        for (const COrder& order : spec.orders) {
            if (HasOrder(database.orders, order.bId)) continue;
            builders.emplace_back(order);
            dwError = builders.back().Collect(access, *volume, database, volume->Record().lcid, true);
            if (dwError != ERROR_SUCCESS) return dwError;
            cbChanged += 2 * builders.back().Size();
        }
    }
    dwError = change.Begin(cbChanged);
    if (dwError != ERROR_SUCCESS) return dwError;
    if (bSort) {
        for (const COrder& old : database.orders)
            if (dwError == ERROR_SUCCESS && !HasOrder(spec.orders, old.bId))
                dwError = DeletePrefix(access, volume->Engine(), IndexPrefix(oid, old.bId));
        for (const COrderBuilder& builder : builders)
            if (dwError == ERROR_SUCCESS) dwError = builder.Write(access, *volume, oid);
        database.orders = spec.orders;
    }
    if (dwError == ERROR_SUCCESS && spec.dwValid & CEDB_VALIDNAME) {
        volume->scratchKey.Clear();
        AppendNameKey(volume->scratchKey, database.szName);
        dwError = access.Delete(volume->scratchKey.Bytes());
        if (dwError == ERROR_FILE_NOT_FOUND) dwError = ERROR_FILE_CORRUPT;
        if (dwError == ERROR_SUCCESS) dwError = PutName(access, *volume, spec.szName, oid);
        memcpy(database.szName, spec.szName, sizeof database.szName);
    }
    if (spec.dwValid & CEDB_VALIDTYPE) database.dwType = spec.dwType;
    if (spec.dwValid & CEDB_VALIDDBFLAGS) database.dwFlags = spec.dwFlags;
    if (spec.dwValid & CEDB_VALIDMODTIME)
        database.ftModified = spec.ftModified;
    else
        database.Touch();
    if (dwError == ERROR_SUCCESS) dwError = database.Save(access, volume->scratchValue);
    if (dwError == ERROR_SUCCESS) dwError = change.Commit();
    volume->Forget(oid); // handles hold on to the orders that it had
    return dwError;
}

DWORD Remove(const CEGUID* pguid, CEOID oid)
{
    CVolumeRef volume;
    DWORD dwError = FindVolume(pguid, volume);
    if (dwError != ERROR_SUCCESS) return dwError;
    CChange change(*volume);
    CWriteAccess& access = change.Access();
    dwError = change.Error();
    CDatabase* pDatabase = nullptr;
    if (dwError == ERROR_SUCCESS) dwError = volume->Database(access, oid, pDatabase);
    if (dwError == ERROR_FILE_NOT_FOUND) return ERROR_INVALID_PARAMETER;
    if (dwError != ERROR_SUCCESS) return dwError;
    if (volume->Engine().IsDatabaseOpen(access, oid)) return ERROR_SHARING_VIOLATION;
    CVolumeRecord record = volume->Record();
    ++record.nDeletions;
    // Taking an entry out can copy its page before it frees it.
    dwError = change.Begin(kCatalogueBytes + static_cast<size_t>(pDatabase->cbRecords) / 4 + pDatabase->nRecords * 16);
    volume->scratchKey.Clear();
    AppendNameKey(volume->scratchKey, pDatabase->szName);
    if (dwError == ERROR_SUCCESS) dwError = access.Delete(volume->scratchKey.Bytes());
    if (dwError == ERROR_SUCCESS) dwError = access.Delete(DatabaseKey(oid));
    if (dwError == ERROR_FILE_NOT_FOUND) dwError = ERROR_FILE_CORRUPT;
    for (const COrder& order : pDatabase->orders)
        if (dwError == ERROR_SUCCESS) dwError = DeletePrefix(access, volume->Engine(), IndexPrefix(oid, order.bId));
    if (dwError == ERROR_SUCCESS) dwError = DeletePrefix(access, volume->Engine(), RecordPrefix(oid));
    if (dwError == ERROR_SUCCESS) dwError = DeletePrefix(access, volume->Engine(), ShapePrefix(oid));
    if (dwError == ERROR_SUCCESS) dwError = volume->SaveRecord(access, record);
    if (dwError == ERROR_SUCCESS) dwError = change.Commit();
    volume->Forget(oid);
    return dwError;
}

} // namespace

CEOID WINAPI CeCreateDatabaseEx2(PCEGUID pceguid, CEDBASEINFOEX* lpCEDBInfo)
{
    return Answer(CEOID{0}, [&](CEOID& oid) {
        CDatabaseSpec spec;
        const DWORD dwError = ReadSpec(lpCEDBInfo, spec);
        return dwError == ERROR_SUCCESS ? Create(pceguid, spec, oid) : dwError;
    });
}

CEOID WINAPI CeCreateDatabaseEx(PCEGUID pceguid, CEDBASEINFO* lpCEDBInfo)
{
    return Answer(CEOID{0}, [&](CEOID& oid) {
        CDatabaseSpec spec;
        const DWORD dwError = ReadSpec(lpCEDBInfo, spec);
        return dwError == ERROR_SUCCESS ? Create(pceguid, spec, oid) : dwError;
    });
}

CEOID WINAPI CeCreateDatabase(LPWSTR lpszName, DWORD dwDbaseType, WORD wNumSortOrder, SORTORDERSPEC* rgSortSpecs)
{
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
    for (DWORD i = 0; lpszName && i < CEDB_MAXDBASENAMELEN - 1 && lpszName[i]; ++i) info.szDbaseName[i] = lpszName[i];
    info.dwDbaseType = dwDbaseType;
    // Too many orders, or none where there should be: refused below.
    info.wNumSortOrder = wNumSortOrder && !rgSortSpecs ? 0xFFFF : wNumSortOrder;
    for (WORD i = 0; i < wNumSortOrder && i < CEDB_MAXSORTORDER && rgSortSpecs; ++i)
        info.rgSortSpecs[i] = rgSortSpecs[i];
    CEGUID guid = SystemGuid();
    return CeCreateDatabaseEx(&guid, &info);
}

BOOL WINAPI CeSetDatabaseInfoEx2(PCEGUID pceguid, CEOID oidDbase, CEDBASEINFOEX* pNewInfo)
{
    return AnswerBool([&] {
        CDatabaseSpec spec;
        const DWORD dwError = ReadSpec(pNewInfo, spec);
        return dwError == ERROR_SUCCESS ? Change(pceguid, oidDbase, spec) : dwError;
    });
}

BOOL WINAPI CeSetDatabaseInfoEx(PCEGUID pceguid, CEOID oidDbase, CEDBASEINFO* pNewInfo)
{
    return AnswerBool([&] {
        CDatabaseSpec spec;
        const DWORD dwError = ReadSpec(pNewInfo, spec);
        return dwError == ERROR_SUCCESS ? Change(pceguid, oidDbase, spec) : dwError;
    });
}

BOOL WINAPI CeSetDatabaseInfo(CEOID oidDbase, CEDBASEINFO* pNewInfo)
{
    CEGUID guid = SystemGuid();
    return CeSetDatabaseInfoEx(&guid, oidDbase, pNewInfo);
}

BOOL WINAPI CeDeleteDatabaseEx(PCEGUID pceguid, CEOID oidDbase)
{
    return AnswerBool([&] { return Remove(pceguid, oidDbase); });
}

BOOL WINAPI CeDeleteDatabase(CEOID oidDbase)
{
    CEGUID guid = SystemGuid();
    return CeDeleteDatabaseEx(&guid, oidDbase);
}
