// salvage.h - what can still be read of a damaged volume file, put into a new one.
//
// Two steps. CSalvageReader (salvage.cpp) takes the map's entries from the file's sound pages: by the trees as far as
// they can be walked, and where a branch of the map is lost by looking at each leaf page that no tree and no list of
// free pages accounts for. MendVolume (salvage_mend.cpp) makes a volume of these entries: it takes out what cannot be
// read, counts anew, describes databases whose description is lost, and sorts all orders anew.
//
// Errors     Win32 codes; ERROR_FILE_CORRUPT when there is nothing of a volume in the file.
#ifndef KORVANESTORE_SALVAGE_H
#define KORVANESTORE_SALVAGE_H

#include "openvolume.h"

#include <korvanebatch.h>

#include <string>

namespace store {

// Where the findings go.
class CFindings
{
public:
    CFindings(CESALVAGEPROC pfnFound, LPVOID lpParam, CESALVAGEINFO& info)
        : info(info), m_pfnFound(pfnFound), m_lpParam(lpParam)
    {
    }
    void Say(const std::wstring& strFinding) const
    {
        if (m_pfnFound) m_pfnFound(strFinding.c_str(), m_lpParam);
    }
    CESALVAGEINFO& info;

private:
    CESALVAGEPROC m_pfnFound;
    LPVOID m_lpParam;
};

// bRecordLost: the volume record was not among the entries.
DWORD MendVolume(COpenVolume& volume, bool bRecordLost, CFindings& findings);

} // namespace store

#endif
