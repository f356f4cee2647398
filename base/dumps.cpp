#include "base/dumps.h"

#include "base/errorutil.h"
#include "base/timedumps.h"

#include <stdlib.h>

#include <cstddef>
#include <cwchar>

namespace {

struct FlagName
{
    DWORD dwFlag;
    const char* pszText;
};

// A field's text with an end: one that fills its array has no terminator.
template <std::size_t kUnits> class CFieldText
{
public:
    explicit CFieldText(const wchar_t (&field)[kUnits])
    {
        std::wmemcpy(m_text, field, kUnits);
        m_text[kUnits] = L'\0';
    }
    operator const wchar_t*() const { return m_text; }

private:
    wchar_t m_text[kUnits + 1];
};

template <std::size_t kFlags>
void WriteFlags(CStreamWriter& rWriter, const char* label, DWORD dwFlags, const FlagName (&names)[kFlags])
{
    rWriter << label;
    for (const FlagName& name : names) {
        if (dwFlags & name.dwFlag) rWriter << name.pszText;
    }
    rWriter << "]";
}

void WriteOids(CStreamWriter& rWriter, const UINT* pOid, UINT cOids)
{
    for (; cOids > 0; --cOids) rWriter << "\n" << *pOid++;
}

void WriteFileFields(CStreamWriter& rWriter, const CEFILEINFO& rFile)
{
    rWriter << "\ndwAttributes = " << rFile.dwAttributes << "\noidParent = " << rFile.oidParent
            << "\nszFileName = " << CFieldText(rFile.szFileName) << "\nftLastChanged = " << rFile.ftLastChanged
            << "\ndwLength = " << rFile.dwLength;
}

void WriteDirectoryFields(CStreamWriter& rWriter, const CEDIRINFO& rDirectory)
{
    rWriter << "\ndwAttributes = " << rDirectory.dwAttributes << "\noidParent = " << rDirectory.oidParent
            << "\nszDirName = " << CFieldText(rDirectory.szDirName);
}

void WriteDatabaseFields(CStreamWriter& rWriter, const CEDBASEINFO& rDatabase)
{
    static constexpr FlagName kFlags[] = {
        {CEDB_VALIDMODTIME, " CEDB_VALIDMODTIME"}, {CEDB_VALIDNAME, " CEDB_VALIDNAME"},
        {CEDB_VALIDTYPE, " CEDB_VALIDTYPE"},       {CEDB_VALIDSORTSPEC, " CEDB_VALIDSORTSPEC"},
        {CEDB_VALIDDBFLAGS, " CEDB_VALIDDBFLAGS"}, {CEDB_NOCOMPRESS, " CEDB_NOCOMPRESS"},
    };
    WriteFlags(rWriter, "\ndwFlags = [", rDatabase.dwFlags, kFlags);
    rWriter << "\nszDbaseName = " << CFieldText(rDatabase.szDbaseName) << "\ndwDbaseType = " << rDatabase.dwDbaseType
            << "\nwNumRecords = " << rDatabase.wNumRecords << "\nwNumSortOrder = " << rDatabase.wNumSortOrder
            << "\ndwSize = " << rDatabase.dwSize << "\nftLastModified = " << rDatabase.ftLastModified;
}

} // namespace

CStreamWriter& operator<<(CStreamWriter& rWriter, const tagObjNotify& rNotify)
{
    static constexpr FlagName kFlags[] = {
        {ONF_FILE, " ONF_FILE"},
        {ONF_DIRECTORY, " ONF_DIRECTORY"},
        {ONF_DATABASE, " ONF_DATABASE"},
        {ONF_RECORD, " ONF_RECORD"},
        {ONF_CHANGED, " ONF_CHANGED"},
        {ONF_DELETED, " ONF_DELETED"},
        {ONF_CLEAR_CHANGE, " ONF_CLEAR_CHANGE"},
        {ONF_CALL_BACK, " ONF_CALL_BACK"},
        {ONF_CALLING_BACK, " ONF_CALLING_BACK"},
    };
    rWriter << "\nT : OBJNOTIFY {";
    rWriter.IncTabs();
    rWriter << "\ncbStruct = " << rNotify.cbStruct << "\nszObjType = " << CFieldText(rNotify.szObjType);
    WriteFlags(rWriter, "\nuFlags = [", rNotify.uFlags, kFlags);
    rWriter << "\nuPartnerBit = " << rNotify.uPartnerBit << "\noidObject = " << rNotify.oidObject;
    KORVANE_TRACE(L"base/logutil", 185, "Notify.oidInfo", rNotify.oidInfo);
    rWriter << "\ncOidChg = " << rNotify.cOidChg << "\ncOidDel = " << rNotify.cOidDel;
    rWriter.DecTabs();
    return rWriter << "\n}\n";
}

CStreamWriter& operator<<(CStreamWriter& rWriter, const _CEOIDINFO& rInfo)
{
    rWriter << "T : OBJNOTIFY {";
    rWriter.IncTabs();
    rWriter << "\nwObjType = ";
    switch (rInfo.wObjType) {
    case OBJTYPE_INVALID:
        rWriter << "OBJTYPE_INVALID";
        break;
    case OBJTYPE_FILE:
        rWriter << "OBJTYPE_FILE";
        WriteFileFields(rWriter, rInfo.infFile);
        break;
    case OBJTYPE_DIRECTORY:
        rWriter << "OBJTYPE_DIRECTORY";
        WriteDirectoryFields(rWriter, rInfo.infDirectory);
        break;
    case OBJTYPE_DATABASE:
        rWriter << "OBJTYPE_DATABASE";
        WriteDatabaseFields(rWriter, rInfo.infDatabase);
        break;
    case OBJTYPE_RECORD:
        rWriter << "OBJTYPE_RECORD\noidParent = " << rInfo.infRecord.oidParent;
        break;
    default:
        break;
    }
    rWriter.DecTabs();
    return rWriter << "\n}\n";
}

CStreamWriter& operator<<(CStreamWriter& rWriter, const tagObjTypeInfo& rInfo)
{
    rWriter << "T : OBJTYPEINFO {";
    rWriter.IncTabs();
    rWriter << "\ncbStruct = " << rInfo.cbStruct << "\nszObjType = " << CFieldText(rInfo.szObjType)
            << "\nuFlags = " << rInfo.uFlags << "\nszName = " << CFieldText(rInfo.szName)
            << "\ncObjects = " << rInfo.cObjects << "\ncbAllObj = " << rInfo.cbAllObj
            << "\nftLastModified = " << rInfo.ftLastModified;
    rWriter.DecTabs();
    return rWriter << "\n}\n";
}

CStreamWriter& operator<<(CStreamWriter& rWriter, const tagFindObjInfo& rInfo)
{
    static constexpr FlagName kFlags[] = {{FO_MORE_VOLUME, " FO_MORE_VOLUME"}, {FO_DONE_ONE_VOL, " FO_DONE_ONE_VOL"}};
    rWriter << "T : FINDOBJINFO {";
    rWriter.IncTabs();
    WriteFlags(rWriter, "\nuFlags = [", rInfo.uFlags, kFlags);
    rWriter << "\nszObjType = " << CFieldText(rInfo.szObjType) << "\ncUnChg = " << rInfo.cUnChg
            << "\ncChg = " << rInfo.cChg << "\npoid = {";
    if (!rInfo.poid) {
        rWriter << "(NULL)";
    } else {
        rWriter.IncTabs();
        WriteOids(rWriter, rInfo.poid, rInfo.cUnChg);
        rWriter << "\n//Changed objects :";
        WriteOids(rWriter, rInfo.poid + rInfo.cUnChg, rInfo.cChg);
        rWriter.DecTabs();
        rWriter << "\n}";
    }
    rWriter << "\ncbVolumeID = " << rInfo.cbVolumeID << "\nlpbVolumeID = ";
    if (!rInfo.lpbVolumeID) {
        rWriter << "(NULL)";
    } else {
        for (UINT i = 0; i < rInfo.cbVolumeID; ++i) {
            wchar_t digits[33];
            rWriter << "0x" << ::_itow(rInfo.lpbVolumeID[i], digits, 16);
        }
    }
    rWriter.DecTabs();
    return rWriter << "\n}\n";
}

CStreamWriter& operator<<(CStreamWriter& rWriter, const _tagReplSetup& rSetup)
{
    rWriter << "T : REPLSETUP {";
    rWriter.IncTabs();
    rWriter << "\ncbStruct = " << rSetup.cbStruct << "\nfRead = " << rSetup.fRead << "\ndwFlags = " << rSetup.dwFlags
            << "\nhr = " << rSetup.hr << "\nszObjType = " << CFieldText(rSetup.szObjType) << "\noid = " << rSetup.oid
            << "\noidNew = " << rSetup.oidNew;
    rWriter.DecTabs();
    return rWriter << "\n}\n";
}
