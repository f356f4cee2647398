// CheckVolume of support.h: the store's own check, and every order of every database, walked in every way, tells the
// same story.
#include "support.h"

#include <algorithm>

namespace {

std::string CheckOrder(HANDLE hDb, const std::vector<CEOID>& byCreation)
{
    const std::vector<CEOID> forward = WalkForward(hDb);
    std::vector<CEOID> other = WalkBackward(hDb);
    std::reverse(other.begin(), other.end());
    if (other != forward) return "a walk backward does not see what a walk forward sees";
    other = forward;
    std::sort(other.begin(), other.end());
    if (other != byCreation) return "an order does not have the records of the database";
    // Indexes cost a walk each, so a few of them stand for all.
    const DWORD dwStep = static_cast<DWORD>(std::max<size_t>(forward.size() / 8, 1));
    for (DWORD i = 0; i < forward.size(); i += dwStep) {
        DWORD dwIndex = 0xFFFFFFFF;
        if (::CeSeekDatabase(hDb, CEDB_SEEK_BEGINNING, i, &dwIndex) != forward[i] || dwIndex != i)
            return "BEGINNING n is not the n-th record of the walk";
        if (::CeSeekDatabase(hDb, CEDB_SEEK_CEOID, forward[i], &dwIndex) != forward[i] || dwIndex != i)
            return "a record found by its OID is not where the walk has it";
    }
    return {};
}

std::string CheckDatabase(CEGUID guid, CEOID oidDatabase)
{
    CEOIDINFOEX info = {};
    info.wVersion = CEOIDINFOEX_VERSION;
    if (!::CeOidGetInfoEx2(&guid, oidDatabase, &info) || info.wObjType != OBJTYPE_DATABASE)
        return "a database that is enumerated cannot be described";
    const CDb db(::CeOpenDatabaseEx(&guid, &oidDatabase, nullptr, 0, 0, nullptr));
    if (!db.IsOpen()) return "a database cannot be opened";
    const std::vector<CEOID> oids = WalkForward(db);
    if (!std::is_sorted(oids.begin(), oids.end())) return "the order of creation is not that of the OIDs";
    if (oids.size() != info.infDatabase.dwNumRecords) return "the count of records is not what a walk finds";
    std::string strProblem = CheckOrder(db, oids);
    for (const CEOID oid : oids) {
        const CRecord record = ReadOid(db, oid);
        if (record.oid != oid && record.dwError != ERROR_NO_DATA) return "a record cannot be read";
    }
    for (WORD i = 0; i < info.infDatabase.wNumSortOrder && strProblem.empty(); ++i) {
        SORTORDERSPECEX order = info.infDatabase.rgSortSpecs[i];
        const CDb sorted(::CeOpenDatabaseEx2(&guid, &oidDatabase, nullptr, &order, 0, nullptr));
        if (!sorted.IsOpen()) return "a sort order cannot be opened";
        strProblem = CheckOrder(sorted, oids);
    }
    return strProblem;
}

} // namespace

std::string CheckVolume(CEGUID guid)
{
    wchar_t szProblem[300] = L"";
    if (!::CeCheckDBVol(&guid, szProblem, 300)) {
        const DWORD dwLast = ::GetLastError();
        std::string strProblem = "CeCheckDBVol: error " + std::to_string(dwLast) + ", ";
        for (const wchar_t* psz = szProblem; *psz; ++psz) strProblem += static_cast<char>(*psz);
        return strProblem;
    }
    const CDb search(::CeFindFirstDatabaseEx(&guid, 0));
    if (!search.IsOpen()) return "the databases cannot be enumerated";
    while (const CEOID oid = ::CeFindNextDatabaseEx(search, nullptr)) {
        const std::string strProblem = CheckDatabase(guid, oid);
        if (!strProblem.empty()) return "database " + std::to_string(oid) + ": " + strProblem;
    }
    return ::GetLastError() == ERROR_NO_MORE_ITEMS ? std::string() : "the enumeration of databases broke off";
}
