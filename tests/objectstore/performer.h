// performer.h - a process's handles on one database, worked by lines of text: in this process, or in another one.
//
//   seek HANDLE TYPE VALUE             "oid index", or "error N"
//   find HANDLE TYPE FIELDS            the same, by the values of the order's leading properties in their order
//   write HANDLE OID FIELDS            "oid"; a field that is only a letter is removed
//   delete HANDLE OID                  "1"
//   read HANDLE                        "oid content"
//   flush                              "1"
// Fields are n (I4), s (text), g (I2), u (UI4), "n=5 s=0061.0062": texts in hexadecimal units, each with a point behind.
#ifndef KORVANE_TESTS_OBJECTSTORE_PERFORMER_H
#define KORVANE_TESTS_OBJECTSTORE_PERFORMER_H

#include "support.h"

#include <optional>

constexpr CEPROPID kWideNumber = Prop(1, CEVT_I4), kWideText = Prop(2, CEVT_LPWSTR), kWideGroup = Prop(3, CEVT_I2),
                   kWideKey = Prop(4, CEVT_UI4);

struct CFields
{
    std::optional<long> n, g, u;
    std::optional<std::wstring> s;
    bool Has(CEPROPID propid) const;
    std::string Say(const std::vector<CEPROPID>& order, const std::vector<CEPROPID>& removed = {}) const;
    std::string Render() const; // as a read renders the record
};

struct CWideHandle
{
    SORTORDERSPECEX order; // no properties: the order of creation
    DWORD dwFlags;
};
std::vector<CWideHandle> WideHandles(const std::vector<SORTORDERSPECEX>& orders);

class CPerformer
{
public:
    // Opens all of WideHandles on the database "wide" of a mounted volume.
    CPerformer(CEGUID guid, const std::vector<SORTORDERSPECEX>& orders);
    std::string Do(const std::string& strLine);

private:
    CEGUID m_guid;
    std::vector<CDb> m_dbs;
};

#endif
