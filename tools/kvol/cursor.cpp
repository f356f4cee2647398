#include "database.h"

#include "value.h"

namespace kvol {

_variant_t KeyOf(const TableInfo& table, const IndexInfo& index, const std::string& text, const char* pszWhere)
{
    _variant_t value;
    std::string why;
    if (!ParseValue(TypeFromPropID(index.propid), text, value, why)) {
        const FieldInfo* pField = table.FieldOf(index.propid);
        throw CFailure(pszWhere + Quoted(text) + " " + why + "; that is the type of the field " +
                       (pField ? Quoted(pField->name) : std::string("that the index is on")));
    }
    return value;
}

CTableCursor::CTableCursor(CVolume& volume, const TableInfo& table) : m_volume(volume), m_table(table)
{
    try {
        Call("cannot open the volume " + Quoted(volume.Path()), [&] { return m_connection.Open(volume.WidePath()); });
    } catch (...) {
        m_connection.ReleaseSystemTables();
        throw;
    }
    Call("cannot open the table " + Quoted(table.name) + " of " + Quoted(volume.Path()) +
             " (\"kvol check\" says what is wrong with a volume)",
         [&] { return m_connection.OpenTable(CString(table.name.c_str()), m_row); });
    const CSmartPtr<KorvaneDB::CTable> definition = m_row->getTable();
    bool bSame = definition->m_nFields == static_cast<int>(table.fields.size());
    for (int i = 0; bSame && i < definition->m_nFields; ++i) {
        bSame = definition->m_pFields[i].m_propid == table.fields[i].propid;
    }
    if (!bSame) throw CFailure("the table " + Quoted(table.name) + " was changed meanwhile; try again");
    m_values.resize(table.fields.size());
}

std::string CTableCursor::Place() const
{
    return "table " + Quoted(m_table.name) + ", record " + std::to_string(m_row->getBookmark());
}

bool CTableCursor::First()
{
    return Walk("cannot go to the first record of " + Quoted(m_table.name), *m_row, [&] { return m_row->MoveFirst(); });
}

bool CTableCursor::Next()
{
    return Walk([&] { return Place() + ": cannot go to the next record"; }, *m_row, [&] { return m_row->MoveNext(); });
}

void CTableCursor::UseIndex(const IndexInfo& index)
{
    Call("table " + Quoted(m_table.name) + ": cannot use the index " + Quoted(index.name) +
             " (\"kvol check\" says what is wrong with a volume)",
         [&] { return m_row->SetIndex(CString(index.name.c_str())); });
}

void CTableCursor::UseFilter(const _variant_t& value)
{
    Call("table " + Quoted(m_table.name) + ": cannot limit the walk", [&] { return m_row->SetFilter(value); });
}

bool CTableCursor::Seek(const _variant_t& value)
{
    return Call("table " + Quoted(m_table.name) + ": cannot seek",
                [&] { return m_row->Seek(KorvaneDB::SeekValueFirstEqual, value); }) == 0;
}

bool CTableCursor::SeekNext(const _variant_t& value)
{
    return Call("table " + Quoted(m_table.name) + ": cannot seek",
                [&] { return m_row->Seek(KorvaneDB::SeekValueNextEqual, value); }) == 0;
}

bool CTableCursor::Read()
{
    bool bNothing = false;
    Call([&] { return Place() + ": cannot read the record"; },
         [&] {
             const long hr = m_row->ReadFromDB();
             bNothing = hr < 0 && ::GetLastError() == ERROR_NO_DATA;
             return bNothing ? 0 : hr;
         });
    if (bNothing) {
        m_values.assign(m_values.size(), Absent());
        return false;
    }
    for (int i = 0; i < static_cast<int>(m_values.size()); ++i) {
        Call([&] { return Place() + ": cannot take a value"; }, [&] { return m_row->getVal(i, m_values[i]); });
    }
    return true;
}

} // namespace kvol
