#include "spec.h"

namespace store {

namespace {

constexpr DWORD kDatabaseFlags = CEDB_NOCOMPRESS | CEDB_SYSTEMDB;
constexpr DWORD kSortFlags =
    kSortTextFlags | CEDB_SORT_DESCENDING | CEDB_SORT_UNKNOWNFIRST | CEDB_SORT_UNIQUE | CEDB_SORT_NONNULL;

DWORD CheckOrders(const std::vector<COrder>& orders)
{
    for (size_t n = 0; n < orders.size(); ++n) {
        const SORTORDERSPECEX& spec = orders[n].spec;
        if (spec.wVersion != SORTORDERSPECEX_VERSION || spec.wNumProps == 0 || spec.wNumProps > CEDB_MAXSORTPROP ||
            (spec.wKeyFlags & ~CEDB_SORT_UNIQUE))
            return ERROR_INVALID_PARAMETER;
        for (WORD i = 0; i < spec.wNumProps; ++i) {
            if (!IsKnownType(spec.rgPropID[i]) || TypeFromPropID(spec.rgPropID[i]) == CEVT_BLOB ||
                (spec.rgdwFlags[i] & ~kSortFlags))
                return ERROR_INVALID_PARAMETER;
            for (WORD j = 0; j < i; ++j)
                if (spec.rgPropID[i] == spec.rgPropID[j]) return ERROR_INVALID_PARAMETER;
        }
        for (size_t nOther = 0; nOther < n; ++nOther)
            if (HaveSameProperties(spec, orders[nOther].spec)) return ERROR_INVALID_PARAMETER;
    }
    return ERROR_SUCCESS;
}

SORTORDERSPECEX Extend(const SORTORDERSPEC& old)
{
    SORTORDERSPECEX spec = {};
    spec.wVersion = SORTORDERSPECEX_VERSION;
    spec.wNumProps = 1;
    spec.rgPropID[0] = old.propid;
    spec.rgdwFlags[0] = old.dwFlags;
    return spec;
}

// What the two forms have in common.
template <class TInfo> DWORD ReadCommon(const TInfo& info, CDatabaseSpec& spec)
{
    spec.dwValid = info.dwFlags & 0xFFFF;
    spec.dwFlags = spec.dwValid & CEDB_VALIDDBFLAGS ? info.dwFlags & kDatabaseFlags : 0;
    spec.dwType = info.dwDbaseType;
    spec.ftModified = info.ftLastModified;
    if (spec.dwValid & CEDB_VALIDNAME) {
        DWORD cch = 0;
        while (cch < CEDB_MAXDBASENAMELEN && info.szDbaseName[cch]) ++cch;
        if (cch == 0 || cch == CEDB_MAXDBASENAMELEN) return ERROR_INVALID_PARAMETER;
        memcpy(spec.szName, info.szDbaseName, cch * sizeof(WCHAR));
    }
    if ((spec.dwValid & CEDB_VALIDSORTSPEC) && info.wNumSortOrder > CEDB_MAXSORTORDER) return ERROR_INVALID_PARAMETER;
    return ERROR_SUCCESS;
}

template <class TInfo> void DescribeCommon(const CDatabase& database, TInfo& info)
{
    info.dwFlags = CEDB_VALIDCREATE | CEDB_VALIDMODTIME | database.dwFlags;
    memcpy(info.szDbaseName, database.szName, sizeof info.szDbaseName);
    info.dwDbaseType = database.dwType;
    info.wNumSortOrder = static_cast<WORD>(database.orders.size());
    info.dwSize = database.cbRecords > 0xFFFFFFFF ? 0xFFFFFFFF : static_cast<DWORD>(database.cbRecords);
    info.ftLastModified = database.ftModified;
}

} // namespace

bool HaveSameProperties(const SORTORDERSPECEX& left, const SORTORDERSPECEX& right)
{
    if (left.wNumProps != right.wNumProps) return false;
    for (WORD i = 0; i < left.wNumProps; ++i)
        if (left.rgPropID[i] != right.rgPropID[i]) return false;
    return true;
}

DWORD ReadSpec(const CEDBASEINFO* pInfo, CDatabaseSpec& spec)
{
    if (!pInfo) return ERROR_INVALID_PARAMETER;
    const DWORD dwError = ReadCommon(*pInfo, spec);
    if (dwError != ERROR_SUCCESS || !(spec.dwValid & CEDB_VALIDSORTSPEC)) return dwError;
    spec.orders.resize(pInfo->wNumSortOrder);
    for (WORD i = 0; i < pInfo->wNumSortOrder; ++i) spec.orders[i].spec = Extend(pInfo->rgSortSpecs[i]);
    return CheckOrders(spec.orders);
}

DWORD ReadSpec(const CEDBASEINFOEX* pInfo, CDatabaseSpec& spec)
{
    if (!pInfo || pInfo->wVersion != CEDBASEINFOEX_VERSION) return ERROR_INVALID_PARAMETER;
    const DWORD dwError = ReadCommon(*pInfo, spec);
    if (dwError != ERROR_SUCCESS || !(spec.dwValid & CEDB_VALIDSORTSPEC)) return dwError;
    spec.orders.resize(pInfo->wNumSortOrder);
    for (WORD i = 0; i < pInfo->wNumSortOrder; ++i) {
        SORTORDERSPECEX& order = spec.orders[i].spec = pInfo->rgSortSpecs[i];
        order.wReserved = 0;
        for (WORD j = order.wNumProps; j < CEDB_MAXSORTPROP; ++j) order.rgPropID[j] = order.rgdwFlags[j] = 0;
    }
    return CheckOrders(spec.orders);
}

void Describe(const CDatabase& database, CEDBASEINFO& info)
{
    memset(&info, 0, sizeof info);
    DescribeCommon(database, info);
    info.wNumRecords = static_cast<WORD>(database.nRecords);
    for (size_t i = 0; i < database.orders.size(); ++i) {
        const SORTORDERSPECEX& order = database.orders[i].spec;
        info.rgSortSpecs[i].propid = order.rgPropID[0];
        info.rgSortSpecs[i].dwFlags = order.rgdwFlags[0] | (order.wNumProps == 1 ? order.wKeyFlags : 0);
    }
}

void Describe(const CDatabase& database, CEDBASEINFOEX& info)
{
    memset(&info, 0, sizeof info);
    info.wVersion = CEDBASEINFOEX_VERSION;
    DescribeCommon(database, info);
    info.dwNumRecords = database.nRecords;
    for (size_t i = 0; i < database.orders.size(); ++i) info.rgSortSpecs[i] = database.orders[i].spec;
}

} // namespace store
