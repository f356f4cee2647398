#include "agent.h"

#include <cstdio>
#include <sstream>

namespace {

class CAgentState
{
public:
    explicit CAgentState(const std::wstring& strPath) : m_strPath(strPath) {}
    std::string Do(const std::string& strLine);

private:
    std::string OnVolume(const std::string& strVerb, CEOID oid);
    std::string OnHandle(const std::string& strVerb, CEOID oid, long nValue);
    std::string Database(const std::string& strName);
    std::string List();
    std::string Watch(const std::string& strName);

    std::wstring m_strPath;
    CEGUID m_guid = InvalidGuid();
    CDb m_db, m_watched;
};

std::string Answer(ULONG nResult)
{
    const DWORD dwLast = ::GetLastError();
    return nResult ? std::to_string(nResult) : "error " + std::to_string(dwLast);
}

std::wstring Widen(const std::string& str)
{
    return std::wstring(str.begin(), str.end());
}

std::string CAgentState::Do(const std::string& strLine)
{
    std::istringstream words(strLine);
    std::string strVerb, strName;
    words >> strVerb;
    if (strVerb == "mount") {
        DWORD dwFlags = 0;
        words >> dwFlags;
        if (!::CeMountDBVol(&m_guid, m_strPath.data(), dwFlags)) return Answer(0);
        return RenderGuid(m_guid);
    }
    if (strVerb == "database" || strVerb == "open") {
        CEPROPID propid = 0;
        words >> strName >> propid;
        if (strVerb == "database") return Database(strName);
        CEOID oid = 0;
        m_db = CDb(::CeOpenDatabaseEx(&m_guid, &oid, Widen(strName).data(), propid, 0, nullptr));
        return m_db.IsOpen() ? std::to_string(oid) : Answer(0);
    }
    if (strVerb == "watch") {
        words >> strName;
        return Watch(strName);
    }
    CEOID oid = 0;
    long nValue = 0;
    words >> oid >> nValue;
    const std::string strAnswer = OnVolume(strVerb, oid);
    return strAnswer.empty() ? OnHandle(strVerb, oid, nValue) : strAnswer;
}

std::string CAgentState::OnVolume(const std::string& strVerb, CEOID oid)
{
    if (strVerb == "unmount") return Answer(::CeUnmountDBVol(&m_guid));
    if (strVerb == "flush") return Answer(::CeFlushDBVol(&m_guid));
    if (strVerb == "drop") return Answer(::CeDeleteDatabaseEx(&m_guid, oid));
    if (strVerb == "begin") return Answer(::CeBeginBatch(&m_guid));
    if (strVerb == "commit") return Answer(::CeCommitBatch(&m_guid));
    if (strVerb == "abandon") return Answer(::CeAbandonBatch(&m_guid));
    if (strVerb == "check") return "check " + CheckVolume(m_guid);
    if (strVerb == "reorder") {
        CEDBASEINFOEX info = {};
        info.wVersion = CEDBASEINFOEX_VERSION;
        info.dwFlags = CEDB_VALIDSORTSPEC;
        return Answer(::CeSetDatabaseInfoEx2(&m_guid, oid, &info));
    }
    return {};
}

std::string CAgentState::OnHandle(const std::string& strVerb, CEOID oid, long nValue)
{
    if (strVerb == "write") return Answer(Write(m_db, oid, CProps().I4(1, nValue)));
    if (strVerb == "fill" || strVerb == "grow") {
        for (CEOID n = 0; n < oid; ++n) {
            CProps props;
            props.I4(1, static_cast<long>(n));
            if (strVerb == "grow") props.Blob(2, std::vector<BYTE>(30000, static_cast<BYTE>(n)));
            if (!Write(m_db, 0, props)) return Answer(0);
        }
        return "done";
    }
    if (strVerb == "remove") return Answer(::CeDeleteRecord(m_db, oid));
    if (strVerb == "list") return List();
    if (strVerb == "read") {
        const CRecord record = ReadOid(m_db, oid);
        return record.oid ? record.strContent : "error " + std::to_string(record.dwError);
    }
    if (strVerb == "shut") return Answer(CloseHandle(m_db.Detach()));
    return "unknown command " + strVerb;
}

std::string CAgentState::Database(const std::string& strName)
{
    CEDBASEINFOEX info = BaseInfo(Widen(strName), {Order({{Prop(1, CEVT_I4)}})});
    return Answer(::CeCreateDatabaseEx2(&m_guid, &info));
}

std::string CAgentState::List()
{
    std::string strOut = "list";
    for (const CEOID oid : WalkForward(m_db)) strOut += " " + ReadOid(m_db, oid).strContent;
    return strOut;
}

std::string CAgentState::Watch(const std::string& strName)
{
    const HWND hwnd = ::CreateWindowW(L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    CENOTIFYREQUEST request = {sizeof request, hwnd, CEDB_EXNOTIFICATION, nullptr, 0};
    CEOID oid = 0;
    m_watched = CDb(::CeOpenDatabaseEx(&m_guid, &oid, Widen(strName).data(), 0, 0, &request));
    return m_watched.IsOpen() ? std::to_string(oid) : Answer(0);
}

int RunAgent(const CArguments& arguments)
{
    CAgentState state(arguments.at(0));
    std::string strLine;
    while (Hear(strLine)) Say(state.Do(strLine));
    return 0;
}

const CRole g_role(L"agent", RunAgent);

} // namespace

std::string RenderGuid(const CEGUID& guid)
{
    char szOut[48];
    std::snprintf(szOut, sizeof szOut, "%08lx-%08lx-%08lx-%08lx", guid.Data1, guid.Data2, guid.Data3, guid.Data4);
    return szOut;
}
