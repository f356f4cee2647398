#include "infer.h"

#include "value.h"

namespace kvol {

namespace {

struct Candidate
{
    WORD wType;
    bool bDays;
    short odbc;
};

constexpr Candidate kCandidates[] = {
    {CEVT_BOOL, false, kOdbcBit},  {CEVT_I4, false, kOdbcInteger},   {CEVT_UI4, false, kOdbcInteger},
    {CEVT_R8, false, kOdbcDouble}, {CEVT_FILETIME, true, kOdbcDate}, {CEVT_FILETIME, false, kOdbcTimestamp},
};

bool Fits(const Candidate& candidate, const Cell& cell, bool bJson)
{
    const bool bNumeric = candidate.wType == CEVT_I4 || candidate.wType == CEVT_UI4 || candidate.wType == CEVT_R8;
    switch (cell.kind) {
    case Cell::Kind::Absent:
        return true;
    case Cell::Kind::Bool:
        return candidate.wType == CEVT_BOOL;
    case Cell::Kind::Number:
        if (!bNumeric) return false;
        // A fraction or an exponent makes it a real number however it is spelt; a whole number must keep its digits.
        if (candidate.wType == CEVT_R8 && cell.text.find_first_of(".eE") != std::string::npos) {
            _variant_t value;
            std::string why;
            return ParseValue(CEVT_R8, cell.text, value, why);
        }
        break;
    case Cell::Kind::Text:
        if (bJson && candidate.wType != CEVT_FILETIME) return false;
        break;
    }
    // Midnight alone is a day; "2004-03-05" and "2004-03-05T00:00:00Z" are told apart by how they are written.
    return IsWritten(candidate.wType, cell.text, candidate.bDays) && (!candidate.bDays || cell.text.size() == 10);
}

} // namespace

ColumnType InferType(const Source& source, size_t column)
{
    bool bAny = false;
    for (const Row& row : source.rows) bAny = bAny || row.cells[column].kind != Cell::Kind::Absent;
    if (bAny) {
        for (const Candidate& candidate : kCandidates) {
            bool bAll = true;
            for (const Row& row : source.rows) {
                bAll = Fits(candidate, row.cells[column], source.bJson);
                if (!bAll) break;
            }
            if (bAll) return ColumnType{candidate.wType, candidate.odbc};
        }
    }
    return ColumnType{CEVT_LPWSTR, kOdbcVarchar};
}

} // namespace kvol
