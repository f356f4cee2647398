#include "db_fixture.h"

#include <cstdio>
#include <cstring>

namespace {

CEPROPVAL Prop(CEPROPID propid)
{
    CEPROPVAL prop = {};
    prop.propid = propid;
    return prop;
}

std::string Narrow(const std::wstring& text)
{
    std::string narrow;
    for (wchar_t c : text) {
        char sz[8];
        std::snprintf(sz, sizeof sz, c >= 32 && c < 127 ? "%c" : "\\%04X", c);
        narrow += sz;
    }
    return narrow;
}

std::string AnsiPath(const std::wstring& path)
{
    char sz[MAX_PATH] = "";
    ::WideCharToMultiByte(CP_ACP, 0, path.c_str(), -1, sz, MAX_PATH, nullptr, nullptr);
    return sz;
}

} // namespace

CEPROPVAL I4(CEPROPID propid, long lValue)
{
    CEPROPVAL prop = Prop(propid);
    prop.val.lVal = lValue;
    return prop;
}

CEPROPVAL I2(CEPROPID propid, short iValue)
{
    CEPROPVAL prop = Prop(propid);
    prop.val.iVal = iValue;
    return prop;
}

CEPROPVAL Text(CEPROPID propid, const wchar_t* pszValue)
{
    CEPROPVAL prop = Prop(propid);
    prop.val.lpwstr = const_cast<wchar_t*>(pszValue);
    return prop;
}

_variant_t Null()
{
    return OfType(VT_NULL);
}

_variant_t OfType(VARTYPE vt)
{
    _variant_t value;
    V_VT(&value) = vt;
    return value;
}

_variant_t Bstr(const wchar_t* pszValue)
{
    return _variant_t(pszValue);
}

std::string Describe(const _variant_t& value)
{
    char sz[64];
    switch (V_VT(&value)) {
    case VT_EMPTY:
        return "EMPTY";
    case VT_NULL:
        return "NULL";
    case VT_I2:
        std::snprintf(sz, sizeof sz, "I2:%d", V_I2(&value));
        return sz;
    case VT_UI2:
        std::snprintf(sz, sizeof sz, "UI2:%u", V_UI2(&value));
        return sz;
    case VT_I4:
        std::snprintf(sz, sizeof sz, "I4:%ld", V_I4(&value));
        return sz;
    case VT_UI4:
        std::snprintf(sz, sizeof sz, "UI4:%lu", V_UI4(&value));
        return sz;
    case VT_R8:
        std::snprintf(sz, sizeof sz, "R8:%.17g", V_R8(&value));
        return sz;
    case VT_BOOL:
        std::snprintf(sz, sizeof sz, "BOOL:%d", V_BOOL(&value));
        return sz;
    case VT_DATE:
        std::snprintf(sz, sizeof sz, "DATE:%.17g", V_DATE(&value));
        return sz;
    case VT_BSTR:
        return "BSTR:" + Narrow(V_BSTR(&value) ? std::wstring(V_BSTR(&value), ::SysStringLen(V_BSTR(&value))) : L"");
    default:
        std::snprintf(sz, sizeof sz, "type %d", V_VT(&value));
        return sz;
    }
}

CVolume::CVolume(const std::wstring& path) : m_path(path)
{
    if (!::CeMountDBVol(&m_guid, m_path.data(), OPEN_ALWAYS)) ADD_FAILURE() << "mount: " << ::GetLastError();
}

CVolume::~CVolume()
{
    if (!::CeUnmountDBVol(&m_guid)) ADD_FAILURE() << "unmount: " << ::GetLastError();
}

CEOID CVolume::Create(const wchar_t* pszName, const std::vector<CSort>& sorts)
{
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    wcscpy(info.szDbaseName, pszName);
    for (const CSort& sort : sorts) info.rgSortSpecs[info.wNumSortOrder++] = {sort.propid, sort.dwFlags};
    const CEOID oid = ::CeCreateDatabaseEx(&m_guid, &info);
    if (!oid) ADD_FAILURE() << "create: " << ::GetLastError();
    return oid;
}

CEOID CVolume::Add(CEOID oidDatabase, std::vector<CEPROPVAL> props)
{
    const HANDLE hDatabase = ::CeOpenDatabaseEx(&m_guid, &oidDatabase, nullptr, 0, 0, nullptr);
    const CEOID oid = ::CeWriteRecordProps(hDatabase, 0, static_cast<WORD>(props.size()), props.data());
    if (!oid) ADD_FAILURE() << "write: " << ::GetLastError();
    ::CloseHandle(hDatabase);
    return oid;
}

void CVolume::Remove(CEOID oidDatabase)
{
    if (!::CeDeleteDatabaseEx(&m_guid, oidDatabase)) ADD_FAILURE() << "delete: " << ::GetLastError();
}

void CVolume::CreateCatalogues()
{
    m_oidTables = Create(L"MSysTables");
    m_oidFields = Create(L"MSysFields");
    m_oidIndexes = Create(L"MSysIndexes");
}

void CVolume::CatalogueTable(const wchar_t* pszName, CEOID oidDatabase)
{
    Add(m_oidTables, {Text(0x0000001F, pszName), I4(0x00010003, oidDatabase)});
}

void CVolume::CatalogueField(CEOID oidDatabase, const wchar_t* pszName, CEPROPID propid, short iLen, short iType)
{
    Add(m_oidFields, {I4(0x00000003, oidDatabase), Text(0x0001001F, pszName), I4(0x00020003, propid),
                      I2(0x00030002, iLen), I2(0x00040002, iType)});
}

void CVolume::CatalogueIndex(CEOID oidDatabase, const wchar_t* pszName, CEPROPID propid, long lFlags)
{
    Add(m_oidIndexes,
        {I4(0x00000003, oidDatabase), Text(0x0001001F, pszName), I4(0x00020003, propid), I4(0x00030003, lFlags)});
}

CItemsVolume::CItemsVolume(const std::wstring& path) : CVolume(path)
{
    CreateCatalogues();
    m_oidItems = Create(L"Items", {{kId}, {kName}, {kSmall, CEDB_SORT_DESCENDING}, {kFlag}});
    CatalogueTable(L"Items", m_oidItems);
    CatalogueField(m_oidItems, L"Id", kId, 4, 4);
    CatalogueField(m_oidItems, L"Name", kName, 255, 12);
    CatalogueField(m_oidItems, L"Small", kSmall, 2, 5);
    CatalogueField(m_oidItems, L"USmall", kUSmall, 2, 5);
    CatalogueField(m_oidItems, L"ULong", kULong, 4, 4);
    CatalogueField(m_oidItems, L"Real", kReal, 8, 8);
    CatalogueField(m_oidItems, L"Flag", kFlag, 1, -7);
    CatalogueField(m_oidItems, L"When", kWhen, 8, 11);
    CatalogueIndex(m_oidItems, L"ById", kId);
    CatalogueIndex(m_oidItems, L"ByName", kName);
    CatalogueIndex(m_oidItems, L"BySmall", kSmall, CEDB_SORT_DESCENDING);
    CatalogueIndex(m_oidItems, L"ByFlag", kFlag);
}

std::list<KorvaneDB::CTableDefinition> ItemsDefinition()
{
    const std::list<KorvaneDB::CFieldDefinition> fields = {
        {L"Id", CEVT_I4},     {L"Name", CEVT_LPWSTR}, {L"Small", CEVT_I2},  {L"USmall", CEVT_UI2},
        {L"ULong", CEVT_UI4}, {L"Real", CEVT_R8},     {L"Flag", CEVT_BOOL}, {L"When", CEVT_FILETIME}};
    const std::list<KorvaneDB::CIndexDefinition> indexes = {
        {L"ById", {kId, 0}}, {L"ByName", {kName, 0}}, {L"BySmall", {kSmall, CEDB_SORT_DESCENDING}}};
    return {{L"Items", {fields, indexes}}};
}

CDbTest::CDbTest() : m_logPath(AnsiPath(m_folder.File(L"trace.log")))
{
    gErrHRESULT = 0;
    m_pWriter = theLogStream = new CStreamWriter(m_logPath.c_str());
}

CDbTest::~CDbTest()
{
    theLogStream = nullptr;
    delete m_pWriter;
}

void CDbTest::TearDown()
{
    EXPECT_EQ(0, gErrHRESULT) << "an error stayed parked";
    gErrHRESULT = 0;
}

std::string CDbTest::Log() const
{
    std::string text;
    if (FILE* const pFile = std::fopen(m_logPath.c_str(), "rb")) {
        char rgRead[4096];
        for (size_t cb; (cb = std::fread(rgRead, 1, sizeof rgRead, pFile)) > 0;) text.append(rgRead, cb);
        std::fclose(pFile);
    }
    return text;
}

void CDbTest::CheckRaise(const char* pszSource, unsigned long ulLine, long lCode, const char* pszMessage, long hr,
                         size_t cbBefore)
{
    EXPECT_EQ(lCode, hr);
#ifdef KORVANE_DIAGNOSTIC
    char sz[256];
    std::snprintf(sz, sizeof sz, "%s(%lu) : raised 0x%08lX \"%s\"", pszSource, ulLine, lCode, pszMessage);
    const std::string news = Log().substr(cbBefore);
    const size_t at = news.rfind(" : raised ");
    ASSERT_NE(std::string::npos, at) << "nothing was raised";
    const size_t first = news.rfind('\n', at);
    std::string last = news.substr(first == std::string::npos ? 0 : first);
    last.erase(0, last.find_first_not_of("\r\n"));
    EXPECT_EQ(sz, last.substr(0, std::strlen(sz)));
#else
    (void)pszSource, (void)ulLine, (void)pszMessage, (void)cbBefore;
#endif
}

CItemsTest::CItemsTest() : m_volume(m_folder.File(L"items.vol"))
{
    EXPECT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(0, m_connection.OpenTable(L"Items", m_row));
}

CItemsTest::~CItemsTest() = default;

CEOID CItemsTest::AddItem(long lId, const wchar_t* pszName, short iSmall)
{
    return m_volume.Add(m_volume.m_oidItems, {I4(kId, lId), Text(kName, pszName), I2(kSmall, iSmall)});
}

long CItemsTest::ReadId(CRow& row)
{
    _variant_t value;
    if (row.ReadFromDB() < 0 || row.getVal(L"Id", value) < 0 || V_VT(&value) != VT_I4) return -1;
    return V_I4(&value);
}

std::vector<long> CItemsTest::Walk(CRow& row)
{
    std::vector<long> ids;
    EXPECT_EQ(0, row.MoveFirst());
    while (!row.IsEOF() && ids.size() < 1000) {
        ids.push_back(ReadId(row));
        EXPECT_EQ(0, row.MoveNext());
    }
    return ids;
}
