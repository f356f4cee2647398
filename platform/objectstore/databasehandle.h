// databasehandle.h - an open database: its sort order and its seek pointer.
//
// The seek pointer stands on a record, in the gap that a deleted record left, or at the end. It is remembered by the
// record's OID and sort key, so it holds whatever others write; while nothing was written, the cursor stands there too
// and a step costs no search.
//
// Ownership  keeps its volume open, and the database noted as open in it.
// Threads    everything but the constructor and the destructor needs an access to the volume, and Begin first.
// Errors     Win32 codes.
#ifndef KORVANESTORE_DATABASEHANDLE_H
#define KORVANESTORE_DATABASEHANDLE_H

#include "handles.h"
#include "index.h"
#include "mounts.h"
#include "readplan.h"

#include <optional>

namespace store {

struct CVolumeState;

class CDatabaseHandle : public CHandleObject
{
public:
    // Notes the database as open; dwError tells whether that worked.
    CDatabaseHandle(CVolumeRef volume, const CEGUID& guid, CEOID oidDatabase, DWORD dwFlags, DWORD& dwError);
    ~CDatabaseHandle() override;

    COpenVolume& Volume() { return *m_volume; }
    const CEGUID& Guid() const { return m_guid; }
    CEOID DatabaseOid() const { return m_oidDatabase; }
    bool IsAutoIncrement() const { return m_dwFlags & CEDB_AUTOINCREMENT; }
    void SetOrder(const COrder& order) // of Database(); before that it is the order of creation
    {
        m_index.bOrder = order.bId;
        m_pOrder = &order;
    }

    // Has the window told of what others change in the database, until the handle is closed (watches.h).
    DWORD Watch(const CENOTIFYREQUEST& request);

    // Brings the catalogue up to date. ERROR_INVALID_HANDLE when the database is gone.
    DWORD Begin(CAccess& access)
    {
        const DWORD dwError = m_volume->Sync(access);
        return dwError != ERROR_SUCCESS ? dwError : Refresh(access);
    }
    CDatabase& Database() { return *m_pDatabase; }
    const COrder* Order() const { return m_pOrder; } // null: the order of creation

    // The moves of CeSeekDatabase. True: the pointer stands on a record. False: there is none, and the pointer is where
    // windbase.h says.
    bool SeekOid(CAccess& access, CEOID oid);
    bool SeekFromStart(CAccess& access, DWORD n);
    bool SeekFromEnd(CAccess& access, DWORD n); // 0: the last record
    bool Step(CAccess& access, long n);
    bool SeekValue(CAccess& access, DWORD dwSeekType, CBytes sortKey, WORD nProps);

    bool IsInGap() const { return m_place == kInGap; }
    // What there is to say of the end.
    DWORD EndError() const
    {
        return m_place == kAtEnd && m_dwEndError != ERROR_SUCCESS ? m_dwEndError : ERROR_NO_MORE_ITEMS;
    }
    CEOID Current() const { return m_oid; } // after a successful move, or CurrentRecord
    DWORD CurrentIndex(CAccess& access);    // likewise; a walk to the start

    // The record under the pointer. ERROR_NO_MORE_ITEMS, ERROR_KEY_DELETED, ERROR_FILE_CORRUPT; at an end that is none,
    // what kept the read before from going on.
    DWORD CurrentRecord(CAccess& access, CBytes& record);
    // What a read does to the pointer of an auto-increment handle.
    void Advance(CAccess& access);

    // The same for the steps of a walk, almost all of which need nothing that the last one has not looked up: a read of the
    // record under the pointer, with what that does to the pointer of an auto-increment handle, and a step forward, which
    // gives 0 at the end. They take the volume's lock themselves. False: nothing was done, it takes the long way.
    bool ReadQuickly(const CEPROPID* rgPropID, WORD nCount, BYTE* pBuffer, DWORD& cbBuffer, CEOID& oid);
    bool StepQuickly(CEOID& oid);

    // Puts the pointer on a record just written, or into the gap of one just deleted if it stood there.
    void PlaceOn(CEOID oid, CBytes sortKey);
    void NoteDeleted(CEOID oid, CBytes sortKey);

    // How the properties asked for are read from records of a shape; null: all of the shape's. Good until the next call.
    const CReadPlan& PlanFor(const CShape& shape, const CEPROPID* rgPropID, WORD nCount);

    // Reusable, so that a call allocates nothing once they have grown.
    std::vector<CField> scratchFields;
    std::vector<CGiven> scratchGiven;

private:
    enum EPlace : BYTE
    {
        kAtEnd,
        kOnRecord,
        kInGap
    };

    bool IsFresh() const { return m_ullEpoch == m_volume->Epoch() && m_pDatabase->ullEpoch == m_ullEpoch; }
    DWORD Refresh(CAccess& access);
    bool IsInOrder(CBytes key) const;
    void RememberKey(CBytes sortKey);
    bool Take();
    bool Restore(CAccess& access);
    bool FindAgain(CAccess& access);
    bool SeekFirst(CAccess& access);
    bool SeekLast(CAccess& access);
    bool SeekAtLeastPlace(CAccess& access);
    bool SeekBeforePlace(CAccess& access);
    void IntoGap();
    bool HasValues(CAccess& access, const CIndexEntry& entry, WORD nProps);
    bool AtEnd()
    {
        m_place = kAtEnd;
        m_dwEndError = ERROR_SUCCESS;
        return false;
    }
    // The same after a look that may have failed: then the pointer stays where it was.
    bool AtEnd(const CAccess& access) { return access.Error() == ERROR_SUCCESS && AtEnd(); }

    // The page that has a record, as long as the version is the volume's.
    struct CLeafOf
    {
        CEOID oid = 0;
        const void* pLeaf = nullptr;
        ULONGLONG ullVersion = 0;
    };
    bool IsAtHand(const CVolumeState& state) const;
    bool AdvanceInPage(CVolumeState& state);
    void LookAhead(CVolumeState& state);
    void FetchRecord();
    const void* LeafOf(const CVolumeState& state, CEOID oid) const;
    bool RecordAtHand(const CVolumeState& state, CBytes& record) const;

    struct CPlan : CReadPlan
    {
        bool bValid = false;
        WORD wShape = 0;
        DWORD cbFixed = 0;
        ULONGLONG ullShapeEpoch = 0;
    };
    bool IsPlanned(const CEPROPID* rgPropID, WORD nCount) const
    {
        if (m_planned.size() != nCount) return false;
        for (WORD i = 0; i < nCount; ++i)
            if (m_planned[i] != rgPropID[i]) return false;
        return true;
    }
    // The plan for a shape of the dictionary, if there is one for these properties.
    const CPlan* KnownPlan(WORD wShape, const CEPROPID* rgPropID, WORD nCount) const
    {
        const CPlan& plan = m_rgPlans[wShape % ARRAYSIZE(m_rgPlans)];
        const bool bKnown = plan.bValid && plan.wShape == wShape && plan.ullShapeEpoch == m_pDatabase->ullShapeEpoch &&
                            IsPlanned(rgPropID, nCount);
        return bKnown ? &plan : nullptr;
    }

    CVolumeRef m_volume;
    const CEGUID m_guid; // under which it was opened
    const CEOID m_oidDatabase;
    const DWORD m_dwFlags;
    bool m_bNoted = false;
    bool m_bWatched = false;
    CIndexName m_index;
    CDatabase* m_pDatabase = nullptr; // belongs to the volume
    const COrder* m_pOrder = nullptr; // belongs to the database, good while the epoch is
    ULONGLONG m_ullEpoch = 0;

    std::optional<CTreeCursor> m_cursor; // emptied under an access
    bool m_bCursorThere = false;         // if it is placed, then on the record of the pointer
    EPlace m_place = kAtEnd;
    DWORD m_dwEndError = ERROR_SUCCESS; // why a read could not go on to the next record, when it is at the end for that
    DWORD m_nAbandoned = 0;             // batches, when it came into its gap: the record may be back since
    bool m_bByIncrement = false;        // got there by a read: should the record vanish, the next one takes its place
    CEOID m_oid = 0;                    // of the record, or of the one that was there
    CByteBuffer m_sortKey;              // likewise; empty in the order of creation
    CEOID m_oidSteppedTo = 0;           // by the last quick step
    CLeafOf m_here, m_ahead, m_afterNext; // of a walk through an index: this record and the next two

    std::vector<CEPROPID> m_planned; // properties that the plans are for
    CPlan m_rgPlans[8];              // by the low bits of the shape's number
    CReadPlan m_planForAll;
    CField m_rgVarying[8]; // room of ReadQuickly, which clearing each time would cost a tenth of its time
};

} // namespace store

#endif
