// Icons: each allocation and each call of the platform fails in turn, in reading a file and in making bitmaps and icons.
#include "faults.h"
#include "graphics/icon.h"
#include "icon_file.h"
#include "support/temp_folder.h"

#include <afxwin.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

struct Box
{
    std::wstring text, title;
};
std::vector<Box> g_boxes;

int WINAPI AnswerBox(HWND, LPCWSTR pszText, LPCWSTR pszTitle, UINT)
{
    g_boxes.push_back({pszText ? pszText : L"(null)", pszTitle ? pszTitle : L"(null)"});
    return IDOK;
}

HBITMAP WINAPI NoSection(HDC, const BITMAPINFO*, UINT, void**, HANDLE, DWORD)
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

DWORD WINAPI NoText(DWORD, LPCVOID, DWORD, DWORD, LPWSTR, DWORD, va_list*)
{
    return 0;
}

constexpr long kNull = -1;
constexpr wchar_t kNoMask[] = L"Fail to allocate memory for BITMAPINFO!";

class IconFaultTest : public CFaultTest
{
protected:
    IconFaultTest()
    {
        WriteFileTo(m_path, MakeIconFile({MakeImage(16, 16, 4), MakeImage(32, 32, 8)}));
        EXPECT_TRUE(m_loader.ReadIconFromICOFile(m_path.c_str()));
    }

    long Read()
    {
        CIconLoader loader;
        const bool bRead = loader.ReadIconFromICOFile(m_path.c_str());
        EXPECT_EQ(bRead, loader.IsValid());
        EXPECT_EQ(bRead ? 2u : 0u, loader.GetIconsCount());
        return bRead ? 0 : kNull;
    }
    static long Delete(HBITMAP hBitmap)
    {
        if (!hBitmap) return kNull;
        EXPECT_TRUE(::DeleteObject(hBitmap));
        return 0;
    }
    // A failure leaves the header's height halved, so that each try has a record of its own.
    long MakeBitmap()
    {
        g_boxes.clear();
        CIconLoader loader;
        EXPECT_TRUE(loader.ReadIconFromICOFile(m_path.c_str()));
        return Delete(loader.MakeBitmapFromResource(0));
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.File(L"icon.ico");
    CIconLoader m_loader;
    const CImportPatch m_box{kLibrary, "MessageBoxW", &AnswerBox};
    const CImportPatch m_frameworkBox{kFramework, "MessageBoxW", &AnswerBox};
};

} // namespace

TEST_F(IconFaultTest, AFileThatMemoryIsOutForIsNotRead)
{
    FailEachAllocation(
        "read an icon file", [this] { return Read(); }, EAfterwards::kNothingLeft,
        [](EOutcome outcome, long lCode) {
            EXPECT_EQ(EOutcome::kCode, outcome);
            EXPECT_EQ(kNull, lCode);
        });
}

TEST_F(IconFaultTest, AReadThatFailsLeavesTheLoaderEmpty)
{
    const CFailing<&::CreateFileW> create(kLibrary, "CreateFileW", INVALID_HANDLE_VALUE, ERROR_FILE_NOT_FOUND);
    const CFailing<&::ReadFile> read(kLibrary, "ReadFile", FALSE, ERROR_READ_FAULT);
    const CFailing<&::SetFilePointer> seek(kLibrary, "SetFilePointer", INVALID_SET_FILE_POINTER, ERROR_SEEK);
    const CFailing<&::GetFileSize> size(kLibrary, "GetFileSize", INVALID_FILE_SIZE, ERROR_INVALID_HANDLE);
    const CFailing<&::CloseHandle> close(kLibrary, "CloseHandle", FALSE, ERROR_INVALID_HANDLE, EWork::kDone);
    FailEachCall(
        "read an icon file", [this] { return Read(); },
        [](const char* pszFunction, int, long lResult) {
            // The size only keeps entries from claiming more than there can be, and a file that was read is read.
            const bool bDoesWithout = IsOneOf(pszFunction, {"GetFileSize", "CloseHandle"});
            EXPECT_EQ(bDoesWithout ? 0 : kNull, lResult);
        });
    FailEachCall(
        "read over what was read",
        [this] {
            CIconLoader loader;
            loader.ReadIconFromICOFile(m_path.c_str());
            const bool bRead = loader.ReadIconFromICOFile(m_path.c_str());
            EXPECT_EQ(bRead, loader.IsValid()) << "what was loaded before is gone";
            return bRead ? 0 : kNull;
        },
        [](const char*, int, long) {});
}

TEST_F(IconFaultTest, ABitmapThatCannotBeMadeIsNullWithABox)
{
    {
        const CFailing<&::CreateCompatibleDC> context(kLibrary, "CreateCompatibleDC", nullptr, ERROR_NOT_ENOUGH_MEMORY);
        const CFailing<&::CreateDIBSection> section(kLibrary, "CreateDIBSection", nullptr, ERROR_NOT_ENOUGH_MEMORY);
        const CFailing<&::GetObjectW> object(kLibrary, "GetObjectW", 0, ERROR_NOT_ENOUGH_MEMORY);
        FailEachCall(
            "MakeBitmapFromResource", [this] { return MakeBitmap(); },
            [](const char* pszFunction, int, long lResult) {
                // A section needs no context.
                const bool bDoesWithout = IsOneOf(pszFunction, {"CreateCompatibleDC"});
                EXPECT_EQ(bDoesWithout ? 0 : kNull, lResult);
                ASSERT_EQ(bDoesWithout ? 0u : 1u, g_boxes.size());
                if (bDoesWithout) return;
                EXPECT_EQ(L"Error", g_boxes[0].title);
                EXPECT_NE(L"", g_boxes[0].text);
            });
        FailEachCall(
            "MakeMaskBitmapFromResource",
            [this] {
                g_boxes.clear();
                return Delete(m_loader.MakeMaskBitmapFromResource(0));
            },
            [](const char* pszFunction, int, long lResult) {
                EXPECT_EQ(IsOneOf(pszFunction, {"CreateCompatibleDC"}) ? 0 : kNull, lResult);
                EXPECT_TRUE(g_boxes.empty());
            });
    }
    const CImportPatch section(kLibrary, "CreateDIBSection", &NoSection);
    const CImportPatch text(kLibrary, "FormatMessageW", &NoText);
    EXPECT_EQ(kNull, MakeBitmap());
    ASSERT_EQ(1u, g_boxes.size());
    EXPECT_EQ(L"", g_boxes[0].text) << "the system has no text";
}

TEST_F(IconFaultTest, AnIconThatCannotBeMadeLeavesNoBitmap)
{
    const CFailing<&::CreateDIBSection> section(kLibrary, "CreateDIBSection", nullptr, ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::GetObjectW> object(kLibrary, "GetObjectW", 0, ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::CreateIconIndirect> icon(kLibrary, "CreateIconIndirect", nullptr, ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::DeleteDC> context(kLibrary, "DeleteDC", FALSE, ERROR_INVALID_HANDLE, EWork::kDone);
    const CFailing<&::DeleteObject> object2(kLibrary, "DeleteObject", FALSE, ERROR_INVALID_HANDLE, EWork::kDone);
    FailEachCall(
        "MakeIconFromResource",
        [this] {
            CIconLoader loader;
            EXPECT_TRUE(loader.ReadIconFromICOFile(m_path.c_str()));
            const HICON hIcon = loader.MakeIconFromResource(1);
            if (!hIcon) return kNull;
            EXPECT_TRUE(::DestroyIcon(hIcon));
            return 0L;
        },
        [](const char* pszFunction, int, long lResult) {
            EXPECT_EQ(IsOneOf(pszFunction, {"DeleteDC", "DeleteObject"}) ? 0 : kNull, lResult);
        });
}

TEST_F(IconFaultTest, MemoryThatIsOutForABitmapIsToldInABox)
{
    const auto null = [](EOutcome outcome, long lCode) {
        EXPECT_EQ(EOutcome::kCode, outcome);
        EXPECT_EQ(kNull, lCode);
    };
    FailEachAllocation(
        "read and MakeBitmapFromResource",
        [this] {
            g_boxes.clear();
            CIconLoader loader;
            if (!loader.ReadIconFromICOFile(m_path.c_str())) return kNull;
            const long lResult = Delete(loader.MakeBitmapFromResource(0));
            EXPECT_EQ(lResult == kNull ? 1u : 0u, g_boxes.size());
            return lResult;
        },
        EAfterwards::kNothingLeft, null);
    FailEachAllocation(
        "MakeMaskBitmapFromResource",
        [this] {
            g_boxes.clear();
            return Delete(m_loader.MakeMaskBitmapFromResource(0));
        },
        EAfterwards::kNothingLeft,
        [&](EOutcome outcome, long lCode) {
            null(outcome, lCode);
            ASSERT_EQ(1u, g_boxes.size());
            EXPECT_EQ(kNoMask, g_boxes[0].text);
        });
}
