// cesync.h: the synchronisation records and interfaces that a device-side provider exchanges with the sync manager.
//
// Sizes and offsets are the device's (32-bit, natural packing) and are asserted below.
#ifndef KORVANE_PLATFORM_CESYNC_H
#define KORVANE_PLATFORM_CESYNC_H

#include <windows.h>
#include <objbase.h>
#include <windbase.h>

#include <cstddef>

#define MAX_OBJTYPE_NAME 100
#define MAX_PACKET_SIZE 260000
#define MAX_ACTIVE_VOL 16

typedef char OBJTYPENAMEA[MAX_OBJTYPE_NAME];
typedef WCHAR OBJTYPENAMEW[MAX_OBJTYPE_NAME];
typedef TCHAR OBJTYPENAME[MAX_OBJTYPE_NAME];

// OBJNOTIFY::uFlags
#define ONF_FILE 0x00000001
#define ONF_DIRECTORY 0x00000002
#define ONF_DATABASE 0x00000004
#define ONF_RECORD 0x00000008
#define ONF_CHANGED 0x00000010
#define ONF_DELETED 0x00000020
#define ONF_CLEAR_CHANGE 0x00000040
#define ONF_CALL_BACK 0x00000080    // out: call again in about two seconds
#define ONF_CALLING_BACK 0x00000100 // in: this is that call

// A change in the object store, put to the provider.
typedef struct tagObjNotify
{
    UINT cbStruct;
    OBJTYPENAME szObjType;
    UINT uFlags;      // ONF_
    UINT uPartnerBit; // 1 or 2
    CEOID oidObject;
    CEOIDINFO oidInfo;  // means nothing for a deleted object
    UINT cOidChg;       // out
    UINT cOidDel;       // out
    UINT* poid;         // out; stays the provider's
    LPBYTE lpbVolumeID; // volume of the objects; NULL: the object store
    UINT cbVolumeID;
} OBJNOTIFY, *POBJNOTIFY;

// What the provider says about an object type.
typedef struct tagObjTypeInfo
{
    UINT cbStruct;
    OBJTYPENAMEW szObjType;
    UINT uFlags;
    WCHAR szName[80]; // file-system object that stores the type
    UINT cObjects;
    UINT cbAllObj;
    FILETIME ftLastModified;
} OBJTYPEINFO, *POBJTYPEINFO;

// FINDOBJINFO::uFlags
#define FO_MORE_VOLUME 0x00000001  // set by the provider: more volumes follow
#define FO_DONE_ONE_VOL 0x00000002 // set by the manager: free what was allocated

// The objects of a type on one volume.
typedef struct tagFindObjInfo
{
    UINT uFlags; // FO_
    OBJTYPENAME szObjType;
    UINT* poid; // the unchanged ones, then the changed ones
    UINT cUnChg;
    UINT cChg;
    LPBYTE lpbVolumeID;
    UINT cbVolumeID;
    LPVOID lpvUser; // the provider's own
} FINDOBJINFO, *PFINDOBJINFO;

// REPLSETUP::dwFlags
#define RSF_CONFLICT_OBJECT 0x00000001
#define RSF_NEW_OBJECT 0x00000002
#define RSF_DUPLICATED_OBJECT 0x00000004
#define RSF_COMBINE 0x00000008
#define RSF_SYNC_DEVICE_ONLY 0x00000010
#define RSF_SYNC_DESKTOP_ONLY 0x00000020
#define RSF_UPDATED_HANDLE 0x00000040
#define RSF_DISCARDED_OBJ 0x00000080
#define RSF_NEW_VOLUME 0x00000100
#define RSF_AUTO_COMBINE 0x00000200
#define RSF_RESERVED1 0x00100000
#define RSF_RESERVED2 0x00200000
#define RSF_RESERVED3 0x00400000
#define RSF_RESERVED4 0x00800000

struct IReplNotify;

// One object on its way in or out.
typedef struct _tagReplSetup
{
    UINT cbStruct;
    BOOL fRead;
    DWORD dwFlags; // RSF_
    HRESULT hr;
    OBJTYPENAME szObjType;
    IReplNotify* pNotify;
    DWORD oid;
    DWORD oidNew;
    LPBYTE lpbVolumeID;
    UINT cbVolumeID;
} REPLSETUP, *PREPLSETUP;

// A request of the desktop's provider to the device's.
typedef struct tagSDRequest
{
    OBJTYPENAME szObjType;
    BOOL fSet;
    UINT uCode; // below 8 when reading
    LPBYTE lpbData;
    UINT cbData;
} SDREQUEST, *PSDREQUEST;

static_assert(sizeof(OBJNOTIFY) == 780 && offsetof(OBJNOTIFY, oidInfo) == 216 && offsetof(OBJNOTIFY, poid) == 768,
              "OBJNOTIFY as on the device");
static_assert(sizeof(OBJTYPEINFO) == 384 && offsetof(OBJTYPEINFO, szName) == 208 &&
                  offsetof(OBJTYPEINFO, ftLastModified) == 376,
              "OBJTYPEINFO as on the device");
static_assert(sizeof(FINDOBJINFO) == 228 && offsetof(FINDOBJINFO, poid) == 204, "FINDOBJINFO as on the device");
static_assert(sizeof(REPLSETUP) == 236 && offsetof(REPLSETUP, pNotify) == 216, "REPLSETUP as on the device");
static_assert(sizeof(SDREQUEST) == 216 && offsetof(SDREQUEST, uCode) == 204, "SDREQUEST as on the device");

struct IReplNotify : public IUnknown
{
    STDMETHOD(OnItemCompleted)(PREPLSETUP pSetup) = 0;
};

// Serialises the objects of a type.
struct IReplObjHandler : public IUnknown
{
    STDMETHOD(Setup)(PREPLSETUP pSetup) = 0;
    STDMETHOD(Reset)(PREPLSETUP pSetup) = 0;
    STDMETHOD(GetPacket)(LPBYTE* lppbData, DWORD* pcbData, DWORD cbRecommend) = 0;
    STDMETHOD(SetPacket)(LPBYTE lpbData, DWORD cbData) = 0;
    STDMETHOD(DeleteObj)(PREPLSETUP pSetup) = 0;
};

// What a provider exports.
typedef BOOL (*PINITOBJPROC)(LPWSTR lpszObjType, IReplObjHandler** ppObjHandler, UINT uPartnerBit);
typedef BOOL (*POBJNOTIFYPROC)(POBJNOTIFY pNotify);
typedef BOOL (*PGETOBJTYPEINFO)(POBJTYPEINFO pInfo);
typedef BOOL (*PREPORTSTATUS)(LPWSTR lpszObjType, UINT uCode, UINT uParam);
typedef HRESULT (*PFINDOBJECTS)(PFINDOBJINFO pInfo);
typedef HRESULT (*PSYNCDATA)(PSDREQUEST pRequest);

#define FACILITY_CESYNC 0x14

// GetPacket: this was the last one.
#define RWRN_LAST_PACKET ((HRESULT)0x00140001L)

#define RERR_SHUT_DOWN ((HRESULT)0x80140001L)
#define RERR_STORE_REPLACED ((HRESULT)0x80140002L)
#define RERR_CANCEL ((HRESULT)0x80140003L)
#define RERR_RESTART ((HRESULT)0x80140004L)
#define RERR_IGNORE ((HRESULT)0x80140005L)
#define RERR_UNLOAD ((HRESULT)0x80140006L)
#define RERR_OBJECT_DELETED ((HRESULT)0x80140007L)
#define RERR_CORRUPT ((HRESULT)0x80140008L)
#define RERR_NO_DEVICE ((HRESULT)0x80140009L)
#define RERR_NO_ERR_PROMPT ((HRESULT)0x80140010L)
#define RERR_DISCARD ((HRESULT)0x80140011L)
#define RERR_DISCARD_LOCAL ((HRESULT)0x80140012L)
#define RERR_VOL_INACTIVE ((HRESULT)0x80140013L)
#define RERR_BIG_OBJ_TYPE ((HRESULT)0x80140014L)
#define RERR_BIG_CODE ((HRESULT)0x80140015L)
#define RERR_UNMATCHED ((HRESULT)0x80140016L)
#define RERR_DEVICE_WIN ((HRESULT)0x80140017L)
#define RERR_DESKTOP_WIN ((HRESULT)0x80140018L)
#define RERR_SKIP_ALL_OBJ ((HRESULT)0x80140019L)
#define RERR_SKIP_ALL ((HRESULT)0x80140100L)
#define RERR_BAD_OBJECT ((HRESULT)0x80140101L)
#define RERR_TRY_AGAIN ((HRESULT)0x80140102L)
#define RERR_USER_SKIP ((HRESULT)0x80140103L)

// ReportStatus
#define RSC_BEGIN_SYNC 1
#define RSC_END_SYNC 2
#define RSC_BEGIN_CHECK 3
#define RSC_END_CHECK 4
#define RSC_DATE_CHANGED 5
#define RSC_RELEASE 6
#define RSC_REMOTE_SYNC 7
#define RSC_INTERRUPT 8
#define RSC_BEGIN_SYNC_OBJ 9
#define RSC_END_SYNC_OBJ 10
#define RSC_OBJ_TYPE_ENABLED 11
#define RSC_OBJ_TYPE_DISABLED 12
#define RSC_BEGIN_BATCH_WRITE 13
#define RSC_END_BATCH_WRITE 14
#define RSC_CONNECTION_CHG 15
#define RSC_WRITE_OBJ_FAILED 16
#define RSC_DELETE_OBJ_FAILED 17
#define RSC_WRITE_OBJ_SUCCESS 18
#define RSC_DELETE_OBJ_SUCCESS 19
#define RSC_READ_OBJ_FAILED 20
#define RSC_TIME_CHANGED 21
#define RSC_BEGIN_BACKUP 22
#define RSC_END_BACKUP 23
#define RSC_BEGIN_RESTORE 24
#define RSC_PREPARE_SYNC_FLD 26

#endif
