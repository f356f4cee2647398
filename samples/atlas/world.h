// CWorld: the countries of the world, and a person's favourites among them, in a volume that scripts/import_iso.sh made.
//
// Ownership  the volume is open as long as the object lives.
// Threads    one.
// Errors     Open gives the sentence to tell. The others give 0 or a negative code, as the library does; those that look
//            something up give 1 when it is not there, with their results as they were.
#ifndef KORVANE_SAMPLES_ATLAS_WORLD_H
#define KORVANE_SAMPLES_ATLAS_WORLD_H

#include "korvanelib.h"

#include <utility>
#include <vector>

struct CLanguage
{
    CString name, status; // "official", "official_regional" or "de_facto_official"
    double share = 0;     // percent of the people
};

struct CCurrency
{
    CString code, name;
};

struct CCountry
{
    CString code, code3, number; // "IS", "ISL", "352"
    CString name, officialName, commonName;
    std::vector<CLanguage> languages;  // the most spoken first
    std::vector<CCurrency> currencies; // the most usual first
};

struct CSubdivision
{
    CString code, name, type; // "CH-ZH", "Zürich", "Canton"
};

struct CFavourite
{
    CString country; // its code
    double sum = 0;  // of money to spend there, in its currency: 0 to kLargestSum
};

constexpr double kLargestSum = 1000000;

class CWorld
{
public:
    // Opens the volume and looks whether it has what Atlas needs. 0, or the string resource of the sentence that says
    // why not; %1 in it is the path.
    UINT Open(const CString& path);

    // All countries in the order of their names: code and name.
    long ListCountries(std::vector<std::pair<CString, CString>>& countries);
    long ReadCountry(const CString& code, CCountry& country);
    // In the order of their codes.
    long ReadSubdivisions(const CString& country, std::vector<CSubdivision>& subdivisions);

    // In the order of their codes.
    long ReadFavourites(std::vector<CFavourite>& favourites);
    long ReadFavourite(const CString& country, CFavourite& favourite);
    // A new one, or one in place of the country's own. After a failure GetLastError() has the reason.
    long StoreFavourite(const CFavourite& favourite);
    long RemoveFavourite(const CString& country);

private:
    long ReadLanguages(CCountry& country);
    long ReadCurrencies(CCountry& country);

    KorvaneDB::CConnection m_connection;
    CSmartPtr<KorvaneDB::CRow> m_countries, m_subdivisions, m_currencies, m_languages;
    CSmartPtr<KorvaneDB::CRow> m_currenciesOf, m_languagesOf, m_favourites;
};

#endif
