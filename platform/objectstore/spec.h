// spec.h - descriptions of databases as callers give and get them: CEDBASEINFO and CEDBASEINFOEX.
//
// Errors     ERROR_INVALID_PARAMETER for what windbase.h refuses.
#ifndef KORVANESTORE_SPEC_H
#define KORVANESTORE_SPEC_H

#include "database.h"

namespace store {

// What a caller asked for, of either form. dwValid: CEDB_VALID bits.
struct CDatabaseSpec
{
    DWORD dwValid = 0;
    WCHAR szName[CEDB_MAXDBASENAMELEN] = {};
    DWORD dwType = 0;
    DWORD dwFlags = 0;
    FILETIME ftModified = {};
    std::vector<COrder> orders; // without numbers
};

DWORD ReadSpec(const CEDBASEINFO* pInfo, CDatabaseSpec& spec);
DWORD ReadSpec(const CEDBASEINFOEX* pInfo, CDatabaseSpec& spec);

void Describe(const CDatabase& database, CEDBASEINFO& info);
void Describe(const CDatabase& database, CEDBASEINFOEX& info);

bool HaveSameProperties(const SORTORDERSPECEX& left, const SORTORDERSPECEX& right);

} // namespace store

#endif
