#include "performer.h"

#include "child.h"

#include <cstdio>
#include <sstream>

namespace {

std::string Answer(ULONG nResult)
{
    const DWORD dwLast = ::GetLastError();
    return nResult ? std::to_string(nResult) : "error " + std::to_string(dwLast);
}

std::wstring ReadUnits(const std::string& str)
{
    std::wstring strOut;
    std::istringstream units(str);
    for (std::string strUnit; std::getline(units, strUnit, '.');)
        strOut += static_cast<wchar_t>(std::strtoul(strUnit.c_str(), nullptr, 16));
    return strOut;
}

CProps ReadProps(std::istringstream& words)
{
    CProps props;
    for (std::string strWord; words >> strWord;) {
        const std::string strValue = strWord.size() > 2 ? strWord.substr(2) : std::string();
        const long nValue = static_cast<long>(std::strtoll(strValue.c_str(), nullptr, 10));
        const bool bRemove = strWord.size() == 1;
        switch (strWord[0]) {
        case 'n':
            bRemove ? props.Remove(kWideNumber) : props.I4(1, nValue);
            break;
        case 's':
            bRemove ? props.Remove(kWideText) : props.Text(2, ReadUnits(strValue));
            break;
        case 'g':
            bRemove ? props.Remove(kWideGroup) : props.I2(3, static_cast<short>(nValue));
            break;
        default:
            bRemove ? props.Remove(kWideKey) : props.UI4(4, static_cast<ULONG>(nValue));
            break;
        }
    }
    return props;
}

// Arguments: the volume. The database has the orders; the handles are made from them.
int RunPerformer(const CArguments& arguments)
{
    CEGUID guid = MountVolume(arguments.at(0), OPEN_EXISTING);
    {
        CEOID oid = 0;
        const CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(L"wide"), 0, 0, nullptr));
        BY_HANDLE_DB_INFORMATION info = {};
        info.wVersion = BY_HANDLE_DB_INFORMATION_VERSION;
        if (!::CeGetDBInformationByHandle(db, &info)) return 1;
        const CEDBASEINFOEX& base = info.infDatabase;
        CPerformer performer(guid, {base.rgSortSpecs, base.rgSortSpecs + base.wNumSortOrder});
        std::string strLine;
        while (Hear(strLine)) Say(performer.Do(strLine));
    }
    ::CeUnmountDBVol(&guid);
    return 0;
}

const CRole g_role(L"performer", RunPerformer);

} // namespace

bool CFields::Has(CEPROPID propid) const
{
    return propid == kWideNumber ? n.has_value()
           : propid == kWideText ? s.has_value()
                                 : (propid == kWideGroup ? g : u).has_value();
}

std::string CFields::Say(const std::vector<CEPROPID>& order, const std::vector<CEPROPID>& removed) const
{
    std::string strOut;
    for (const CEPROPID propid : order) {
        if (!Has(propid)) continue;
        if (propid == kWideNumber) strOut += " n=" + std::to_string(*n);
        if (propid == kWideGroup) strOut += " g=" + std::to_string(*g);
        if (propid == kWideKey) strOut += " u=" + std::to_string(*u);
        if (propid != kWideText) continue;
        strOut += " s=";
        char szUnit[8];
        for (const wchar_t c : *s) {
            std::snprintf(szUnit, sizeof szUnit, "%04x.", static_cast<unsigned>(c));
            strOut += szUnit;
        }
    }
    for (const CEPROPID propid : removed) strOut += std::string(" ") + "?nsgu"[HIWORD(propid)];
    return strOut;
}

std::string CFields::Render() const
{
    CProps props;
    if (n) props.I4(1, *n);
    if (s) props.Text(2, *s);
    if (g) props.I2(3, static_cast<short>(*g));
    if (u) props.UI4(4, static_cast<ULONG>(*u));
    return props.Render();
}

std::vector<CWideHandle> WideHandles(const std::vector<SORTORDERSPECEX>& orders)
{
    std::vector<CWideHandle> handles = {{{}, 0}, {{}, CEDB_AUTOINCREMENT}};
    for (const SORTORDERSPECEX& order : orders) {
        handles.push_back({order, 0});
        handles.push_back({order, CEDB_AUTOINCREMENT});
    }
    return handles;
}

CPerformer::CPerformer(CEGUID guid, const std::vector<SORTORDERSPECEX>& orders) : m_guid(guid)
{
    for (CWideHandle& handle : WideHandles(orders)) {
        CEOID oid = 0;
        m_dbs.emplace_back(::CeOpenDatabaseEx2(&m_guid, &oid, const_cast<LPWSTR>(L"wide"),
                                               handle.order.wNumProps ? &handle.order : nullptr, handle.dwFlags,
                                               nullptr));
    }
}

std::string CPerformer::Do(const std::string& strLine)
{
    std::istringstream words(strLine);
    std::string strVerb;
    size_t nHandle = 0;
    DWORD dwFirst = 0;
    words >> strVerb;
    if (strVerb == "flush") return Answer(::CeFlushDBVol(&m_guid));
    words >> nHandle;
    const HANDLE hDb = m_dbs.at(nHandle);
    if (strVerb == "read") {
        const CRecord record = ::Read(hDb);
        return record.oid ? std::to_string(record.oid) + " " + record.strContent
                          : "error " + std::to_string(record.dwError);
    }
    words >> dwFirst;
    if (strVerb == "delete") return Answer(::CeDeleteRecord(hDb, dwFirst));
    if (strVerb == "write") return Answer(::Write(hDb, dwFirst, ReadProps(words)));
    DWORD dwIndex = 0;
    CEOID oid;
    if (strVerb == "seek") {
        DWORD dwValue = 0;
        words >> dwValue;
        oid = ::CeSeekDatabase(hDb, dwFirst, dwValue, &dwIndex);
    } else {
        const CProps props = ReadProps(words);
        oid = ::CeSeekDatabaseEx(hDb, dwFirst, props.Address(), props.Count(), &dwIndex);
    }
    return oid ? std::to_string(oid) + " " + std::to_string(dwIndex) : Answer(0);
}
