// Soak: volumes, records, the registry, streams, pictures, icons and windows, in turn and over each other, in one
// process. What it holds at the end is what it held after the first minute.
#include "../controls/controls_ids.h"
#include "../korvanedb/db_fixture.h"

#include <korvanelib.h>

#include "base/bytestream.h"
#include "base/numparse.h"
#include "base/path.h"
#include "base/split.h"
#include "controls/flatcombobox.h"
#include "controls/floatedit.h"
#include "controls/hyperlink.h"
#include "controls/tooltip.h"
#include "graphics/icon.h"
#include "graphics/image.h"
#include "registry/registrykey.h"
#include "support/gdi_objects.h"
#include "support/handle_count.h"
#include "support/heap_blocks.h"
#include "support/png_file.h"
#include "support/user_objects.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kItems = 40;

struct CHeld
{
    int handles, gdiObjects, userObjects, heapBlocks;
};

class CControls : public CDialog
{
public:
    BOOL Make() { return Create(IDD_CONTROLS); }
    CFloatEdit m_number;
    CHyperLink m_link;
    CCJFlatComboBox m_combo;
    CToolTip m_tip;

protected:
    BOOL OnInitDialog() override
    {
        CDialog::OnInitDialog();
        m_number.Subclass(IDC_NUMBER, this);
        m_link.SubclassDlgItem(IDC_LINK, this);
        m_combo.SubclassDlgItem(IDC_COMBO, this);
        m_tip.Create(L"a tip", this, 40, 200, 99);
        return TRUE;
    }
};

class SoakTest : public testing::Test
{
protected:
    SoakTest()
        : m_volume(m_folder.File(L"soak.vol")),
          m_key(L"Software\\korvane-test-" + std::to_wstring(::GetCurrentProcessId()))
    {
        ::WritePng(m_folder.File(L"picture.png"), 60, 40, std::vector<DWORD>(60 * 40, 0x336699));
        WriteIcon();
    }
    ~SoakTest() override { ::RegDeleteTreeW(HKEY_CURRENT_USER, m_key.c_str()); }

    // One image of 16 x 16 pixels, 24 bits, all zero.
    void WriteIcon()
    {
        constexpr DWORD kImageBytes = 40 + 16 * 48 + 16 * 4;
        std::vector<BYTE> file(22 + kImageBytes);
        const WORD header[] = {0, 1, 1};
        const DWORD entry[] = {kImageBytes, 22}, image[] = {40, 16, 32, 1 | 24 << 16};
        std::memcpy(&file[0], header, sizeof header);
        file[6] = file[7] = 16;
        std::memcpy(&file[14], entry, sizeof entry);
        std::memcpy(&file[22], image, sizeof image);
        const HANDLE hFile =
            ::CreateFileW(m_folder.File(L"icon.ico").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD cbWritten = 0;
        ::WriteFile(hFile, file.data(), static_cast<DWORD>(file.size()), &cbWritten, nullptr);
        ::CloseHandle(hFile);
    }

    std::string Record() const
    {
        return "round " + std::to_string(m_nRound) + ", line " + std::to_string(gErrLinenumber) + ", last error " +
               std::to_string(::GetLastError());
    }

    void Database()
    {
        CConnection connection;
        ASSERT_EQ(0, connection.Open(m_volume.Path())) << Record();
        CSmartPtr<CRow> row, other;
        ASSERT_EQ(0, connection.OpenTable(L"Items", row));
        ASSERT_EQ(0, connection.OpenTable(L"Items", other));
        EXPECT_LT(connection.OpenTable(L"Nothing", other), 0);
        gErrHRESULT = 0;
        ASSERT_EQ(0, row->SetIndex(L"ById"));
        const long id = m_nRound % kItems;
        _variant_t value(id);
        if (row->Seek(KorvaneDB::SeekValueFirstEqual, value) == 0) {
            ASSERT_EQ(0, row->ReadFromDB());
            if (m_nRound % 3 == 0) {
                ASSERT_EQ(0, row->Delete());
                return;
            }
        } else {
            ASSERT_EQ(0, row->AddNew());
            ASSERT_EQ(0, row->setVal(L"Id", value));
        }
        _variant_t name(std::wstring(m_nRound % 300, L'a' + m_nRound % 26).c_str());
        ASSERT_EQ(0, row->setVal(L"Name", name));
        ASSERT_EQ(0, row->WriteToDB());
        int nFound = 0;
        ASSERT_EQ(0, other->SetIndex(L"ByName"));
        ASSERT_EQ(0, other->MoveFirst());
        for (; !other->IsEOF(); other->MoveNext(), ++nFound) {
            ASSERT_EQ(0, other->ReadFromDB());
            ASSERT_EQ(0, other->getVal(L"Name", value));
        }
        ASSERT_TRUE(nFound >= 1 && nFound <= kItems) << nFound;
    }
    void Registry()
    {
        CSmartPtr<CRegistryKey> key = CRegistryKey::HK_CURRENT_USER->CreateKey(m_key.c_str(), KEY_ALL_ACCESS);
        CSmartPtr<CRegistryKey> below = key->CreateKey(L"below", KEY_ALL_ACCESS);
        below->PutVals(L"text", std::to_wstring(m_nRound).c_str());
        const CString text = below->GetVals(L"text");
        ASSERT_STREQ(std::to_wstring(m_nRound).c_str(), text);
        CSmartPtr<CRegistryKey> none = key->OpenKey(L"none", KEY_READ);
        EXPECT_FALSE(none->GetVals(L"text").IsPresent());
        below = nullptr;
        key->Delete(L"below");
        gErrHRESULT = 0;
    }
    void Streams()
    {
        unsigned char block[512];
        CByteOutputStream out(block, sizeof block);
        out << _variant_t(L"a text") << _variant_t(static_cast<long>(m_nRound)) << CString(L"another") << 1.5;
        KorvaneIO::CByteInputStream in(block, m_nRound % 2 ? out.getDataSize() : m_nRound % 60);
        _variant_t text, number;
        CString other;
        double real = 0;
        in >> text >> number >> other >> real;
        if (m_nRound % 2) {
            ASSERT_EQ(1.5, real);
        }
        CSizedArray array;
        in.Restart();
        in.readArray(array);
        float single = 0;
        ASSERT_EQ(CONV_OK, _ttof(L"12.5", single));
        CString way;
        getRelPath(L"\\a\\b\\c.txt", L"\\a\\d.txt", way);
        ASSERT_EQ(3u, Split(L"a;b;c", L";", 0, -1).size());
        ASSERT_FALSE(CTime(1100000000 + m_nRound).Format(L"%c").IsEmpty());
    }
    void Pictures()
    {
        const HDC hdc = ::GetDC(nullptr);
        {
            CVOImage image;
            ASSERT_EQ(1, image.Load(hdc, m_folder.File(L"picture.png").c_str()));
            ASSERT_TRUE(image.IsLoaded());
            image.Draw(hdc, 0, 0, 30, 20);
            ::DeleteObject(image.CreateBitmap(20, 20));
            CVOImage damaged;
            damaged.Load(hdc, m_folder.File(L"icon.ico").c_str());
        }
        ::ReleaseDC(nullptr, hdc);
        CIconLoader icon;
        ASSERT_TRUE(icon.ReadIconFromICOFile(m_folder.File(L"icon.ico").c_str()));
        const HICON hIcon = icon.MakeIconFromResource(0);
        ASSERT_TRUE(hIcon);
        ::DestroyIcon(hIcon);
        ASSERT_FALSE(icon.ReadIconFromICOFile(m_folder.File(L"picture.png").c_str()));
    }
    void Windows()
    {
        CControls dialog;
        ASSERT_TRUE(dialog.Make());
        dialog.ShowWindow(SW_SHOW);
        dialog.m_combo.AddString(L"one");
        dialog.m_number.SetWindowText(L"12.5");
        dialog.SendDlgItemMessage(IDC_NUMBER, WM_CHAR, L'7', 1);
        dialog.m_link.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(3, 3));
        dialog.UpdateWindow();
        Pump();
        dialog.DestroyWindow();
    }
    static void Pump()
    {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            ::TranslateMessage(&message);
            ::DispatchMessageW(&message);
        }
    }
    // The windows come and go while a connection is open, and so on: no two rounds are alike.
    void Round()
    {
        CConnection connection;
        if (m_nRound % 2) {
            ASSERT_EQ(0, connection.Open(m_volume.Path())) << Record();
        }
        ASSERT_NO_FATAL_FAILURE(Streams());
        ASSERT_NO_FATAL_FAILURE(Database());
        if (m_nRound % 4 == 0) {
            ASSERT_NO_FATAL_FAILURE(Registry());
        }
        if (m_nRound % 4 == 1) {
            ASSERT_NO_FATAL_FAILURE(Pictures());
        }
        if (m_nRound % 4 == 2) {
            ASSERT_NO_FATAL_FAILURE(Windows());
        }
        ++m_nRound;
        ASSERT_EQ(0, gErrHRESULT);
    }
    // So long, and so many rounds: a busy machine takes longer.
    void RunUntil(DWORD dwStart, DWORD dwMilliseconds, int nRounds)
    {
        while (::GetTickCount() - dwStart < dwMilliseconds || m_nRound < nRounds) ASSERT_NO_FATAL_FAILURE(Round());
    }
    static CHeld Held()
    {
        Pump();
        CGdiObject::DeleteTempMap();
        CDC::DeleteTempMap();
        CWnd::DeleteTempMap();
        return {CountHandles(), CountGdiObjects(), CountUserObjects(), CountHeapBlocks()};
    }
    static void Tell(const char* pszWhen, const CHeld& held, int nRounds)
    {
        std::printf("%s: %d rounds, %d handles, %d GDI objects, %d USER objects, %d blocks of memory\n", pszWhen,
                    nRounds, held.handles, held.gdiObjects, held.userObjects, held.heapBlocks);
    }

    CTempFolder m_folder;
    CItemsVolume m_volume;
    const std::wstring m_key;
    int m_nRound = 0;
};

// How long: KORVANE_SOAK_SECONDS, else 30 minutes in the long form and 20 seconds in the short one.
DWORD SoakMilliseconds()
{
    if (const wchar_t* const psz = ::_wgetenv(L"KORVANE_SOAK_SECONDS")) return 1000 * std::wcstoul(psz, nullptr, 10);
    return ::_wgetenv(L"KORVANE_LONG") ? 30 * 60 * 1000 : 20 * 1000;
}

TEST_F(SoakTest, HoldsAtTheEndWhatItHeldAfterTheFirstMinute)
{
    const DWORD dwStart = ::GetTickCount(), dwAll = SoakMilliseconds();
    ASSERT_NO_FATAL_FAILURE(RunUntil(dwStart, std::min<DWORD>(60 * 1000, dwAll / 3), 400));
    const CHeld early = Held();
    const int nEarly = m_nRound;
    ASSERT_NO_FATAL_FAILURE(RunUntil(dwStart, dwAll, 1000));
    const CHeld late = Held();
    Tell("after the first minute", early, nEarly);
    Tell("at the end", late, m_nRound);
    // Each kind of round has come a hundred and fifty times or more since.
    // The system fills caches of its own, a few objects at any time.
    EXPECT_GT(early.heapBlocks, 0);
    EXPECT_GT(early.handles, 0);
    EXPECT_LE(late.handles, early.handles + 5);
    EXPECT_LE(late.gdiObjects, early.gdiObjects + 5);
    EXPECT_LE(late.userObjects, early.userObjects);
    EXPECT_LE(late.heapBlocks, early.heapBlocks + 100);
}

} // namespace
