// The volumes that are damaged: each with what the others lack, and as few pages as that takes.
#include "volume_edits.h"

#include <korvanebatch.h>

#include <string>

namespace {

constexpr CEPROPID Prop(WORD wNumber, WORD wType)
{
    return static_cast<CEPROPID>(wNumber) << 16 | wType;
}
constexpr CEPROPID kNumber = Prop(1, CEVT_I4), kName = Prop(2, CEVT_LPWSTR), kBytes = Prop(3, CEVT_BLOB),
                   kTime = Prop(4, CEVT_FILETIME), kRatio = Prop(5, CEVT_R8);

class CMaker
{
public:
    explicit CMaker(const wchar_t* pszPath) : m_strPath(pszPath)
    {
        if (!::CeMountDBVol(&m_guid, m_strPath.data(), CREATE_ALWAYS)) fuzz::Fail("a volume can be made");
    }

    // Sorted by a number, in falling order, and by name.
    CEOID Database(const wchar_t* pszName, bool bByName, DWORD dwNameFlags = CEDB_SORT_CASEINSENSITIVE)
    {
        CEDBASEINFOEX info = {};
        info.wVersion = CEDBASEINFOEX_VERSION;
        info.dwFlags = CEDB_VALIDCREATE;
        info.wNumSortOrder = bByName ? 2 : 1;
        for (size_t i = 0; pszName[i]; ++i) info.szDbaseName[i] = pszName[i];
        for (SORTORDERSPECEX& spec : info.rgSortSpecs) {
            spec.wVersion = SORTORDERSPECEX_VERSION;
            spec.wNumProps = 1;
        }
        info.rgSortSpecs[0].rgPropID[0] = kNumber;
        info.rgSortSpecs[0].rgdwFlags[0] = CEDB_SORT_DESCENDING;
        info.rgSortSpecs[1].rgPropID[0] = kName;
        info.rgSortSpecs[1].rgdwFlags[0] = dwNameFlags;
        if (bByName && (dwNameFlags & CEDB_SORT_GENERICORDER)) {
            info.rgSortSpecs[1].wNumProps = 2;
            info.rgSortSpecs[1].wKeyFlags = CEDB_SORT_UNIQUE;
            info.rgSortSpecs[1].rgPropID[1] = kNumber;
        }
        return ::CeCreateDatabaseEx2(&m_guid, &info);
    }

    // Records with texts of some of these lengths, now and then a blob, a time, a property of its own.
    void Fill(CEOID oid, int nCount, size_t cchText, size_t cbLarge = 0)
    {
        const HANDLE h = ::CeOpenDatabaseEx(&m_guid, &oid, nullptr, 0, 0, nullptr);
        for (int i = 0; i < nCount; ++i) {
            std::wstring strText(i % 5 == 4 ? cchText / 3 : cchText, static_cast<wchar_t>(L'a' + i % 26));
            strText += std::to_wstring(i);
            if (i % 7 == 3) strText[0] = 0x3B1;
            std::string strBlob(i % 9 == 5 ? cbLarge : i, 'b');
            CEPROPVAL props[8] = {};
            props[0].propid = kNumber;
            props[0].val.lVal = i * 7 % nCount;
            props[1].propid = kName;
            props[1].val.lpwstr = strText.data();
            WORD n = 2;
            if (i % 2) {
                props[n].propid = kBytes;
                props[n++].val.blob = {static_cast<DWORD>(strBlob.size()), reinterpret_cast<BYTE*>(strBlob.data())};
            }
            if (i % 3 == 1) {
                props[n].propid = kTime;
                props[n++].val.filetime = {static_cast<DWORD>(i), 0x01D00000};
            }
            if (i % 4 == 2) {
                props[n].propid = kRatio;
                props[n++].val.dblVal = i / 4.0;
            }
            if (i % 6 == 5) {
                props[n].propid = Prop(static_cast<WORD>(100 + i), CEVT_BOOL);
                props[n++].val.boolVal = 1;
            }
            if (!::CeWriteRecordProps(h, 0, n, props)) fuzz::Fail("a record can be written");
        }
        for (int i = 0; i < nCount / 8; ++i) ::CeDeleteRecord(h, ::CeSeekDatabase(h, CEDB_SEEK_BEGINNING, i, nullptr));
        ::CeCloseHandle(h);
    }

    PCEGUID Guid() { return &m_guid; }

    std::vector<uint8_t> Image()
    {
        const HANDLE h = ::CreateFileW(m_strPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, 0, nullptr);
        std::vector<uint8_t> image(::GetFileSize(h, nullptr));
        DWORD cbRead = 0;
        ::ReadFile(h, image.data(), static_cast<DWORD>(image.size()), &cbRead, nullptr);
        ::CeCloseHandle(h);
        return image;
    }

    std::vector<uint8_t> Finish(bool bInUse)
    {
        std::vector<uint8_t> image;
        if (bInUse) image = Image(); // as a process leaves it that is killed
        ::CeUnmountDBVol(&m_guid);
        if (!bInUse) image = Image();
        ::DeleteFileW(m_strPath.c_str());
        return image;
    }

private:
    std::wstring m_strPath;
    CEGUID m_guid;
};

std::vector<uint8_t> Make(unsigned nVolume)
{
    static const uint8_t kNothing = 0;
    CMaker maker(fuzz::PutFile(&kNothing, 0));
    switch (nVolume) {
    case 0: // a few pages: large values in pages of their own, and a text order
        maker.Fill(maker.Database(L"small", false), 6, 10);
        maker.Fill(maker.Database(L"big", true), 24, 40, 5000);
        return maker.Finish(false);
    case 1: // changed since the last flush by a process that was killed
        maker.Fill(maker.Database(L"flushed", true), 20, 30, 4500);
        ::CeFlushDBVol(maker.Guid());
        maker.Fill(maker.Database(L"later", false), 20, 60);
        return maker.Finish(true);
    case 2: // a list of free pages, several short batches old
    {
        const CEOID oidGone = maker.Database(L"gone", true);
        maker.Fill(oidGone, 40, 200);
        maker.Fill(maker.Database(L"kept", true, CEDB_SORT_GENERICORDER), 12, 20, 9000);
        ::CeFlushDBVol(maker.Guid());
        ::CeDeleteDatabaseEx(maker.Guid(), oidGone);
        ::CeFlushDBVol(maker.Guid());
        maker.Fill(maker.Database(L"new", false), 4, 5);
        return maker.Finish(false);
    }
    default: // keys of the greatest length: trees of many levels
        maker.Fill(maker.Database(L"deep", true, 0), 56, 240);
        maker.Fill(maker.Database(L"twin", true, 0), 9, 300);
        return maker.Finish(false);
    }
}

} // namespace

const std::vector<uint8_t>& fuzz::Volume(unsigned nVolume)
{
    static std::vector<uint8_t> s_volumes[kVolumes];
    std::vector<uint8_t>& image = s_volumes[nVolume % kVolumes];
    if (image.empty()) image = Make(nVolume % kVolumes);
    return image;
}
