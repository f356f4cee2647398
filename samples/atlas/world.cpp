#include "world.h"
#include "ids.h"

using KorvaneDB::CRow;

namespace {

struct CTableNeeded
{
    LPCTSTR name;
    CSmartPtr<CRow>* row;
    std::vector<std::pair<LPCTSTR, WORD>> fields; // name, CEVT_ type
    std::vector<LPCTSTR> indexes;
};

bool HasAllOf(KorvaneDB::CTable& table, const CTableNeeded& needed)
{
    for (const auto& [name, type] : needed.fields) {
        const auto found = table.m_mapFields.find(name);
        if (found == table.m_mapFields.end() || LOWORD(table.m_pFields[found->second].m_propid) != type) return false;
    }
    for (const LPCTSTR name : needed.indexes) {
        if (table.m_mapIndexes.count(name) == 0) return false;
    }
    return true;
}

// An absent value is an empty text, or 0.
long GetText(CRow& row, LPCTSTR field, CString& text)
{
    _variant_t value;
    KORVANE_CHECK(row.getVal(field, value));
    text = V_VT(&value) == VT_BSTR ? CString(V_BSTR(&value)) : CString();
    return S_OK;
}

long GetNumber(CRow& row, LPCTSTR field, double& number)
{
    _variant_t value;
    KORVANE_CHECK(row.getVal(field, value));
    number = V_VT(&value) == VT_R8 ? V_R8(&value) : 0;
    return S_OK;
}

// Goes to the first record with the value and reads it: 0, or 1 when there is none.
long Find(CRow& row, LPCTSTR index, const CString& value)
{
    KORVANE_CHECK(row.SetIndex(index));
    const long found = row.Seek(KorvaneDB::SeekValueFirstEqual, _variant_t(value));
    KORVANE_CHECK(found);
    if (found != S_OK) return found;
    KORVANE_CHECK(row.ReadFromDB());
    return S_OK;
}

// Reads the records that have the value in the index (VT_EMPTY: all, in its order), and calls visit after each.
template <class Visit> long ForEach(CRow& row, LPCTSTR index, const _variant_t& value, Visit visit)
{
    KORVANE_CHECK(row.SetIndex(index));
    KORVANE_CHECK(row.SetFilter(value));
    for (long moved = row.MoveFirst();; moved = row.MoveNext()) {
        KORVANE_CHECK(moved);
        if (row.IsEOF()) return S_OK;
        KORVANE_CHECK(row.ReadFromDB());
        KORVANE_CHECK(visit());
    }
}

const _variant_t kAll;

} // namespace

UINT CWorld::Open(const CString& path)
{
    if (::GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES) return IDS_VOLUME_MISSING;
    if (KorvaneCheckpoint(m_connection.Open(path)) < 0) {
        switch (::GetLastError()) {
        case ERROR_ACCESS_DENIED:
        case ERROR_WRITE_PROTECT:
        case ERROR_SHARING_VIOLATION:
            return IDS_VOLUME_LOCKED;
        default:
            return IDS_VOLUME_DAMAGED;
        }
    }
    const CTableNeeded tables[] = {
        {L"countries",
         &m_countries,
         {{L"alpha_2", CEVT_LPWSTR},
          {L"alpha_3", CEVT_LPWSTR},
          {L"numeric", CEVT_LPWSTR},
          {L"name", CEVT_LPWSTR},
          {L"official_name", CEVT_LPWSTR},
          {L"common_name", CEVT_LPWSTR}},
         {L"ByCode", L"ByName"}},
        {L"subdivisions",
         &m_subdivisions,
         {{L"code", CEVT_LPWSTR}, {L"name", CEVT_LPWSTR}, {L"type", CEVT_LPWSTR}},
         {L"ByCode"}},
        {L"currencies", &m_currencies, {{L"alpha_3", CEVT_LPWSTR}, {L"name", CEVT_LPWSTR}}, {L"ByCode"}},
        {L"languages",
         &m_languages,
         {{L"alpha_3", CEVT_LPWSTR}, {L"alpha_2", CEVT_LPWSTR}, {L"name", CEVT_LPWSTR}},
         {L"ByCode", L"ByCode2"}},
        {L"country_currencies",
         &m_currenciesOf,
         {{L"country", CEVT_LPWSTR}, {L"currency", CEVT_LPWSTR}},
         {L"ByCountry"}},
        {L"country_languages",
         &m_languagesOf,
         {{L"country", CEVT_LPWSTR}, {L"language", CEVT_LPWSTR}, {L"status", CEVT_LPWSTR}, {L"share", CEVT_R8}},
         {L"ByCountry"}},
        {L"favourites", &m_favourites, {{L"country", CEVT_LPWSTR}, {L"sum", CEVT_R8}}, {L"ByCountry"}},
    };
    for (const CTableNeeded& needed : tables) {
        if (KorvaneCheckpoint(m_connection.OpenTable(needed.name, *needed.row)) < 0) return IDS_VOLUME_OTHER;
        if (!HasAllOf(*(*needed.row)->getTable(), needed)) return IDS_VOLUME_OTHER;
    }
    return 0;
}

long CWorld::ListCountries(std::vector<std::pair<CString, CString>>& countries)
{
    countries.clear();
    return ForEach(*m_countries, L"ByName", kAll, [&] {
        countries.emplace_back();
        KORVANE_CHECK(GetText(*m_countries, L"alpha_2", countries.back().first));
        return GetText(*m_countries, L"name", countries.back().second);
    });
}

long CWorld::ReadCountry(const CString& code, CCountry& country)
{
    const long found = Find(*m_countries, L"ByCode", code);
    if (found != S_OK) return found;
    CCountry read;
    read.code = code;
    KORVANE_CHECK(GetText(*m_countries, L"alpha_3", read.code3));
    KORVANE_CHECK(GetText(*m_countries, L"numeric", read.number));
    KORVANE_CHECK(GetText(*m_countries, L"name", read.name));
    KORVANE_CHECK(GetText(*m_countries, L"official_name", read.officialName));
    KORVANE_CHECK(GetText(*m_countries, L"common_name", read.commonName));
    KORVANE_CHECK(ReadLanguages(read));
    KORVANE_CHECK(ReadCurrencies(read));
    country = std::move(read);
    return S_OK;
}

long CWorld::ReadLanguages(CCountry& country)
{
    return ForEach(*m_languagesOf, L"ByCountry", _variant_t(country.code), [&] {
        CLanguage language;
        CString code;
        KORVANE_CHECK(GetText(*m_languagesOf, L"language", code));
        KORVANE_CHECK(GetText(*m_languagesOf, L"status", language.status));
        KORVANE_CHECK(GetNumber(*m_languagesOf, L"share", language.share));
        language.name = code; // if the list has no other
        const bool isShort = code.GetLength() == 2;
        const long found = Find(*m_languages, isShort ? L"ByCode2" : L"ByCode", code);
        KORVANE_CHECK(found);
        if (found == S_OK) KORVANE_CHECK(GetText(*m_languages, L"name", language.name));
        country.languages.push_back(language);
        return 0L;
    });
}

long CWorld::ReadCurrencies(CCountry& country)
{
    return ForEach(*m_currenciesOf, L"ByCountry", _variant_t(country.code), [&] {
        CCurrency currency;
        KORVANE_CHECK(GetText(*m_currenciesOf, L"currency", currency.code));
        currency.name = currency.code;
        const long found = Find(*m_currencies, L"ByCode", currency.code);
        KORVANE_CHECK(found);
        if (found == S_OK) KORVANE_CHECK(GetText(*m_currencies, L"name", currency.name));
        country.currencies.push_back(currency);
        return 0L;
    });
}

// The codes of a country's subdivisions begin with its own: they stand together behind "IS-".
long CWorld::ReadSubdivisions(const CString& country, std::vector<CSubdivision>& subdivisions)
{
    subdivisions.clear();
    const CString prefix = country + L"-";
    KORVANE_CHECK(m_subdivisions->SetIndex(L"ByCode"));
    const long found = m_subdivisions->Seek(KorvaneDB::SeekValueGreater, _variant_t(prefix));
    KORVANE_CHECK(found);
    while (!m_subdivisions->IsEOF()) {
        CSubdivision subdivision;
        KORVANE_CHECK(m_subdivisions->ReadFromDB());
        KORVANE_CHECK(GetText(*m_subdivisions, L"code", subdivision.code));
        if (subdivision.code.Left(prefix.GetLength()) != prefix) break;
        KORVANE_CHECK(GetText(*m_subdivisions, L"name", subdivision.name));
        KORVANE_CHECK(GetText(*m_subdivisions, L"type", subdivision.type));
        subdivisions.push_back(subdivision);
        KORVANE_CHECK(m_subdivisions->MoveNext());
    }
    return S_OK;
}

long CWorld::ReadFavourites(std::vector<CFavourite>& favourites)
{
    favourites.clear();
    return ForEach(*m_favourites, L"ByCountry", kAll, [&] {
        favourites.emplace_back();
        KORVANE_CHECK(GetText(*m_favourites, L"country", favourites.back().country));
        return GetNumber(*m_favourites, L"sum", favourites.back().sum);
    });
}

long CWorld::ReadFavourite(const CString& country, CFavourite& favourite)
{
    const long found = Find(*m_favourites, L"ByCountry", country);
    if (found != S_OK) return found;
    favourite.country = country;
    return GetNumber(*m_favourites, L"sum", favourite.sum);
}

long CWorld::StoreFavourite(const CFavourite& favourite)
{
    const long found = Find(*m_favourites, L"ByCountry", favourite.country);
    KORVANE_CHECK(found);
    if (found != S_OK) KORVANE_CHECK(m_favourites->AddNew());
    _variant_t country(favourite.country), sum(favourite.sum);
    KORVANE_CHECK(m_favourites->setVal(L"country", country));
    KORVANE_CHECK(m_favourites->setVal(L"sum", sum));
    return m_favourites->WriteToDB();
}

long CWorld::RemoveFavourite(const CString& country)
{
    const long found = Find(*m_favourites, L"ByCountry", country);
    if (found != S_OK) return found;
    return m_favourites->Delete();
}
