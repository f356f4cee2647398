#include "check.h"

#include "apiedge.h"
#include "mounts.h"
#include "resort.h"

#include <korvanebatch.h>

#include <algorithm>
#include <string>

namespace store {

namespace {

class CChecker
{
public:
    CChecker(COpenVolume& volume, CReadAccess& access, std::wstring& strProblem)
        : m_volume(volume), m_access(access), m_strProblem(strProblem)
    {
    }

    DWORD Run()
    {
        DWORD dwError = ERROR_SUCCESS;
        for (CEOID oid = 0; dwError == ERROR_SUCCESS && (oid = m_volume.NextDatabase(m_access, oid)) != 0;) {
            m_oids.push_back(oid);
            dwError = CheckDatabase(oid);
        }
        return dwError == ERROR_SUCCESS ? CheckKeys() : dwError;
    }

private:
    DWORD Report(const std::wstring& strProblem)
    {
        // A page that could not be read is behind whatever was found missing.
        if (m_access.Error() != ERROR_SUCCESS && m_access.Error() != ERROR_FILE_CORRUPT) return m_access.Error();
        m_strProblem = strProblem;
        return ERROR_FILE_CORRUPT;
    }

    DWORD CheckDatabase(CEOID oid)
    {
        CDatabase* pDatabase = nullptr;
        DWORD dwError = m_volume.Database(m_access, oid, pDatabase);
        if (dwError != ERROR_SUCCESS)
            return Report(L"database " + std::to_wstring(oid) + L": its description is damaged");
        const std::wstring strName = L"database \"" + std::wstring(pDatabase->szName) + L"\": ";
        if (m_volume.FindDatabase(m_access, pDatabase->szName) != oid)
            return Report(strName + L"its name does not lead to it");
        dwError = CheckRecords(*pDatabase, strName);
        for (size_t i = 0; dwError == ERROR_SUCCESS && i < pDatabase->orders.size(); ++i) {
            const COrder& order = pDatabase->orders[i];
            COrderBuilder builder(order);
            dwError = builder.Collect(m_access, m_volume, *pDatabase, m_volume.Record().lcid, false);
            if (dwError == ERROR_SUCCESS && !builder.Matches(m_access, m_volume, oid)) {
                dwError = Report(strName + L"sort order " + std::to_wstring(i) + L" does not agree with the records");
            }
        }
        return dwError;
    }

    DWORD CheckRecords(CDatabase& database, const std::wstring& strName)
    {
        CTreeCursor cursor(m_volume.Engine());
        CRecordView record;
        CField field;
        DWORD nRecords = 0;
        const CSmallKey<5> prefix = RecordPrefix(database.Oid());
        for (bool bOn = cursor.SeekAtLeast(m_access, prefix); bOn && StartsWith(cursor.Key(), prefix);
             bOn = cursor.Next(m_access)) {
            if (cursor.Key().cb != 9) return Report(strName + L"a record's key is damaged");
            const CEOID oidRecord = GetBig32(cursor.Key().p + 5);
            const CShape* pShape = database.ShapeOf(m_access, cursor.Value());
            bool bSound = pShape && record.Attach(cursor.Value(), *pShape);
            for (size_t i = 0; bSound && i < pShape->Count(); ++i) bSound = record.Get(i, field);
            if (!bSound) return Report(strName + L"record " + std::to_wstring(oidRecord) + L" is damaged");
            if (m_volume.Record().oidNext && oidRecord >= m_volume.Record().oidNext) {
                return Report(strName + L"record " + std::to_wstring(oidRecord) + L" has a number not given out yet");
            }
            ++nRecords;
        }
        if (m_access.Error() != ERROR_SUCCESS || nRecords != database.nRecords) {
            return Report(strName + std::to_wstring(nRecords) + L" records, but a count of " +
                          std::to_wstring(database.nRecords));
        }
        return ERROR_SUCCESS;
    }

    // Every key of the map belongs to something.
    DWORD CheckKeys()
    {
        CTreeCursor cursor(m_volume.Engine());
        const BYTE rgFirst[1] = {0};
        for (bool bOn = cursor.SeekAtLeast(m_access, {rgFirst, 1}); bOn; bOn = cursor.Next(m_access)) {
            const CBytes key = cursor.Key();
            switch (key.p[0]) {
            case kVolumeSpace:
                continue;
            case kNameSpace:
                if (cursor.Value().cb == 4 && IsDatabase(Load<CEOID>(cursor.Value().p))) continue;
                return Report(L"the name of a database that is not there");
            case kDatabaseSpace:
            case kShapeSpace:
            case kRecordSpace:
            case kIndexSpace:
                if (key.cb >= 5 && IsDatabase(GetBig32(key.p + 1))) continue;
                return Report(L"the volume holds something of a database that is not there");
            default:
                return Report(L"the volume holds a key of no known kind");
            }
        }
        return m_access.Error() == ERROR_SUCCESS ? ERROR_SUCCESS : Report(L"the map cannot be walked to its end");
    }

    bool IsDatabase(CEOID oid) const { return std::binary_search(m_oids.begin(), m_oids.end(), oid); }

    COpenVolume& m_volume;
    CReadAccess& m_access;
    std::wstring& m_strProblem;
    std::vector<CEOID> m_oids; // ascending
};

} // namespace

DWORD CheckVolume(COpenVolume& volume, std::wstring& strProblem)
{
    DWORD dwError = volume.Engine().CheckPages(strProblem);
    if (dwError != ERROR_SUCCESS) return dwError;
    CReadAccess access(volume.Engine());
    dwError = access.Error();
    if (dwError == ERROR_SUCCESS) dwError = volume.Sync(access);
    if (dwError == ERROR_FILE_CORRUPT) strProblem = L"the volume's own record is damaged";
    return dwError == ERROR_SUCCESS ? CChecker(volume, access, strProblem).Run() : dwError;
}

} // namespace store

using namespace store;

BOOL WINAPI CeCheckDBVol(PCEGUID pceguid, LPWSTR lpProblem, DWORD dwNumChars)
{
    return AnswerBool([&]() -> DWORD {
        if (lpProblem && dwNumChars) *lpProblem = L'\0';
        CVolumeRef volume;
        DWORD dwError = FindVolume(pceguid, volume);
        if (dwError != ERROR_SUCCESS) return dwError;
        std::wstring strProblem;
        dwError = CheckVolume(*volume, strProblem);
        if (lpProblem && dwNumChars) lstrcpynW(lpProblem, strProblem.c_str(), static_cast<int>(dwNumChars));
        return dwError;
    });
}
