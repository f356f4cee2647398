#include "killed.h"

namespace killed {

namespace {

bool Removes(DWORD dwVersion)
{
    return Mix(dwVersion ^ 0x55) % 6 == 0;
}

} // namespace

DWORD Mix(DWORD n)
{
    n = (n ^ (n >> 16)) * 0x45D9F3B;
    n = (n ^ (n >> 16)) * 0x45D9F3B;
    return n ^ (n >> 16);
}

CProps Content(DWORD dwSlot, DWORD dwVersion)
{
    const size_t cch = Mix(dwVersion + 1) % 20 ? Mix(dwVersion) % 60 : 3000;
    return std::move(CProps().I4(1, dwSlot).UI4(2, dwVersion).Text(3, std::wstring(cch, L'a' + dwVersion % 26)));
}

std::vector<SORTORDERSPECEX> Orders()
{
    return {Order({{kSlot}}, CEDB_SORT_UNIQUE),
            Order({{kText, CEDB_SORT_CASEINSENSITIVE}, {kVersion, CEDB_SORT_DESCENDING}})};
}

void Apply(CState& state, DWORD dwSlot, DWORD dwVersion)
{
    if (state.count(dwSlot) && Removes(dwVersion)) {
        state.erase(dwSlot);
    } else {
        state[dwSlot] = dwVersion;
    }
}

BOOL Perform(HANDLE hDb, DWORD dwSlot, DWORD dwVersion)
{
    const CEOID oid = ::CeSeekDatabase(hDb, CEDB_SEEK_VALUEFIRSTEQUAL, CProps().I4(1, dwSlot).Address(), nullptr);
    if (oid && Removes(dwVersion)) return ::CeDeleteRecord(hDb, oid);
    return Write(hDb, oid, Content(dwSlot, dwVersion)) != 0;
}

CState ReadState(CEGUID guid, CEOID oidDatabase)
{
    CState state;
    const CDb db = OpenDb(guid, oidDatabase, kSlot);
    for (CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr); oid;
         oid = ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr)) {
        LPBYTE pBuffer = nullptr;
        DWORD cb = 0;
        WORD wCount = 0;
        EXPECT_WORKS(::CeReadRecordProps(db, CEDB_ALLOWREALLOC, &wCount, nullptr, &pBuffer, &cb));
        CEPROPVAL* const p = reinterpret_cast<CEPROPVAL*>(pBuffer);
        DWORD dwSlot = 0, dwVersion = 0;
        for (WORD i = 0; i < wCount; ++i) {
            if (p[i].propid == kSlot) dwSlot = p[i].val.lVal;
            if (p[i].propid == kVersion) dwVersion = p[i].val.ulVal;
        }
        EXPECT_EQ(Content(dwSlot, dwVersion).Render(), Render(p, wCount)) << "a record of two writes";
        state[dwSlot] = dwVersion;
        ::LocalFree(pBuffer);
    }
    return state;
}

CSharedNumbers::CSharedNumbers(const std::wstring& strName, size_t nCount)
    : m_hMap(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                  static_cast<DWORD>(nCount * sizeof(DWORD)), strName.c_str())),
      m_pNumbers(static_cast<volatile DWORD*>(
          ::MapViewOfFile(m_hMap, FILE_MAP_WRITE, 0, 0, static_cast<DWORD>(nCount * sizeof(DWORD)))))
{
}

CSharedNumbers::~CSharedNumbers()
{
    if (m_pNumbers) ::UnmapViewOfFile(const_cast<DWORD*>(m_pNumbers));
    if (m_hMap) ::CloseHandle(m_hMap);
}

} // namespace killed
