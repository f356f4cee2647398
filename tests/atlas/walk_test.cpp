// Atlas as a person uses it.
#include "favouritesfile.h"
#include "ids.h"
#include "person.h"
#include "settings.h"
#include "volume.h"

#include "support/log_capture.h"
#include "support/start_recorder.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

bool IsGold(COLORREF colour)
{
    return colour == RGB(255, 200, 0);
}

[[maybe_unused]] bool IsRed(COLORREF colour)
{
    return GetRValue(colour) > 180 && GetGValue(colour) < 90 && GetBValue(colour) < 90;
}

bool IsBlue(COLORREF colour)
{
    return GetBValue(colour) > GetRValue(colour) + 60;
}

class WalkTest : public testing::Test
{
protected:
    void SetUp() override
    {
        InitLib("");
        ASSERT_TRUE(CopyVolume(m_volume));
    }
    // Alt+F4.
    bool Close()
    {
        INPUT keys[4] = {};
        for (INPUT& key : keys) key.type = INPUT_KEYBOARD;
        keys[0].ki.wVk = keys[3].ki.wVk = VK_MENU;
        keys[1].ki.wVk = keys[2].ki.wVk = VK_F4;
        keys[2].ki.dwFlags = keys[3].ki.dwFlags = KEYEVENTF_KEYUP;
        ::SendInput(4, keys, sizeof(*keys));
        return m_person.HasEnded();
    }
    void ChooseInMenu(const wchar_t* letter)
    {
        m_person.Click(m_person.Item(m_person.Main(), IDC_MENU));
        ASSERT_TRUE(m_person.WaitFor([] { return ::FindWindowW(L"#32768", nullptr) != nullptr; })) << "no menu";
        m_person.Type(letter);
    }
    // Replaces what the dialog proposes.
    void EnterPath(const wchar_t* caption, const std::wstring& path)
    {
        const HWND dialog = m_person.WaitForWindow(caption);
        ASSERT_TRUE(dialog) << "no dialog";
        m_person.Type(path);
        ASSERT_TRUE(m_person.WaitFor([&] { return CPerson::TextOf(CPerson::Item(dialog, IDC_PATH)) == path; }))
            << ToNarrow(CPerson::TextOf(CPerson::Item(dialog, IDC_PATH)));
        m_person.Key(VK_RETURN);
        ASSERT_TRUE(m_person.WaitForNoWindow(dialog));
    }
    std::string Favourites()
    {
        CWorld world;
        std::vector<CFavourite> favourites;
        EXPECT_EQ(0u, world.Open(m_volume.c_str()));
        EXPECT_EQ(0, world.ReadFavourites(favourites));
        return Listed(favourites);
    }
    static std::string Listed(const std::vector<CFavourite>& favourites)
    {
        std::string text;
        for (const CFavourite& favourite : favourites) {
            char part[40];
            std::snprintf(part, sizeof part, "%ls %g;", static_cast<LPCTSTR>(favourite.country), favourite.sum);
            text += part;
        }
        return text;
    }
    CSettings Settings()
    {
        CSettings settings;
        settings.Load(m_person.RegistryPath().substr(m_person.RegistryPath().find_last_of(L'\\') + 1).c_str());
        return settings;
    }

    CTempFolder m_folder;
    const std::wstring m_volume = m_folder.File(L"w.vol");
    CPerson m_person;
};

TEST_F(WalkTest, ACountryIsFoundKeptAsAFavouriteAndThereAgainNextTime)
{
    ASSERT_TRUE(m_person.Start(m_volume));
    EXPECT_TRUE(m_person.WaitForText(IDC_NAME, L"Republic of Iceland"));
    EXPECT_EQ(L"Iceland", m_person.Text(IDC_COUNTRY));
    EXPECT_EQ(L"IS, ISL, 352", m_person.Text(IDC_CODES));
    EXPECT_EQ(L"Icelandic", m_person.Text(IDC_LANGUAGES));
    EXPECT_EQ(L"Iceland Krona", m_person.Text(IDC_CURRENCY));
    EXPECT_EQ(L"Municipality (1), Region (2)", m_person.Text(IDC_DIVISIONS));
    EXPECT_EQ(L"ISO's page on Iceland", m_person.Text(IDC_LINK));
    EXPECT_FALSE(::IsWindowEnabled(m_person.Item(m_person.Main(), IDC_SUM)));
#ifdef ATLAS_HAS_FLAGS
    const HWND flag = m_person.Item(m_person.Main(), IDC_FLAG);
    EXPECT_TRUE(m_person.WaitFor([&] { return CPerson::CountPixels(flag, IsRed) > 60; }));
    EXPECT_TRUE(m_person.WaitFor([&] { return CPerson::CountPixels(flag, IsBlue) > 300; }));
#endif

    // The beginning of a name is enough.
    ASSERT_TRUE(m_person.WaitForFocus(IDC_COUNTRY));
    m_person.Type(L"ir");
    EXPECT_TRUE(m_person.WaitForText(IDC_NAME, L"Ireland"));
    EXPECT_TRUE(m_person.WaitForText(IDC_COUNTRY, L"Ireland"));
    EXPECT_EQ(L"English, Irish", m_person.Text(IDC_LANGUAGES));

    // The star, with the keyboard.
    m_person.Key(VK_TAB);
    ASSERT_TRUE(m_person.WaitForFocus(IDC_STAR));
    const HWND star = m_person.Item(m_person.Main(), IDC_STAR);
    EXPECT_EQ(0, CPerson::CountPixels(star, IsGold));
    m_person.Key(VK_SPACE);
    EXPECT_TRUE(m_person.WaitForText(IDC_SUM, L"0.00"));
    EXPECT_TRUE(m_person.WaitFor([&] { return CPerson::CountPixels(star, IsGold) > 40; }));

    // A sum beyond its bounds does not let the focus go, another one does.
    m_person.Key(VK_TAB);
    ASSERT_TRUE(m_person.WaitForFocus(IDC_SUM));
    m_person.Type(L"2000000");
    ASSERT_TRUE(m_person.WaitForText(IDC_SUM, L"2000000"));
    m_person.Key(VK_TAB);
    EXPECT_EQ(L"The number must be smaller than 1000000", m_person.AnswerBox());
    ASSERT_TRUE(m_person.WaitForFocus(IDC_SUM));
    for (int i = 0; i < 7; ++i) m_person.Key(VK_BACK);
    m_person.Type(L"12x34.5"); // letters are no part of a number
    ASSERT_TRUE(m_person.WaitForText(IDC_SUM, L"1234.5"));
    m_person.Key(VK_TAB);
    EXPECT_TRUE(m_person.WaitForFocus(IDC_DETAILS));
    EXPECT_TRUE(m_person.WaitForText(IDC_SUM, L"1234.50"));

    EXPECT_TRUE(Close());
    EXPECT_EQ("IE 1234.5;", Favourites());
    EXPECT_EQ(CString(L"IE"), Settings().country);
    EXPECT_NE(std::string::npos, ReadBytes(m_volume + L".log").find("'code'IE"));

    ASSERT_TRUE(m_person.Start(m_volume));
    EXPECT_TRUE(m_person.WaitForText(IDC_COUNTRY, L"Ireland"));
    EXPECT_TRUE(m_person.WaitForText(IDC_SUM, L"1234.50"));
    // Once more the star, with the stylus.
    m_person.Click(m_person.Item(m_person.Main(), IDC_STAR));
    EXPECT_TRUE(m_person.WaitForText(IDC_SUM, L""));
    EXPECT_TRUE(Close());
    EXPECT_EQ("", Favourites());
}

TEST_F(WalkTest, ATipSaysWhatTheStarDoes)
{
    ASSERT_TRUE(m_person.Start(m_volume));
    const HWND star = m_person.Item(m_person.Main(), IDC_STAR);
    m_person.Point(star);
    EXPECT_TRUE(m_person.WaitForText(IDC_TIP, L"Add to favourites"));
    m_person.Press();
    m_person.Release();
    EXPECT_TRUE(m_person.WaitForText(IDC_TIP, L"Remove from favourites"));
    m_person.Point(m_person.Item(m_person.Main(), IDC_CODES));
    EXPECT_TRUE(m_person.WaitFor([this] { return !m_person.Item(m_person.Main(), IDC_TIP); }));
    EXPECT_TRUE(Close());
}

TEST_F(WalkTest, DetailsAreScrolled)
{
    ASSERT_TRUE(m_person.Start(m_volume));
    m_person.Type(L"ire");
    EXPECT_TRUE(m_person.WaitForText(IDC_NAME, L"Ireland"));
    m_person.Key(VK_RETURN);
    const HWND details = m_person.WaitForWindow(L"Ireland");
    ASSERT_TRUE(details);
    std::wstring all;
    for (HWND text = ::GetWindow(details, GW_CHILD); text; text = ::GetWindow(text, GW_HWNDNEXT))
        all += CPerson::TextOf(text) + L"|";
    EXPECT_EQ(0u, all.find(L"Languages|English: official, 98 %\nIrish: official, 22 %|Currency|Euro, EUR|County (14)|"))
        << ToNarrow(all);
    EXPECT_NE(std::wstring::npos, all.find(L"Province (4)|C  Connaught\nL  Leinster\nM  Munster\nU  Ulster|"));
    EXPECT_TRUE(::GetWindowLongW(details, GWL_STYLE) & WS_VSCROLL);
    EXPECT_FALSE(::GetWindowLongW(details, GWL_STYLE) & WS_HSCROLL);
    RECT before = {}, after = {};
    const HWND first = ::GetWindow(details, GW_CHILD);
    ::GetWindowRect(first, &before);
    m_person.Key(VK_DOWN);
    EXPECT_TRUE(m_person.WaitFor([&] { return ::GetWindowRect(first, &after) && after.top == before.top - 20; }));
    m_person.Key(VK_ESCAPE);
    EXPECT_TRUE(m_person.WaitForNoWindow(details));
    EXPECT_TRUE(Close());
}

TEST_F(WalkTest, FavouritesAreExportedAndImported)
{
    const std::wstring path = m_folder.File(L"a.fav");
    ASSERT_TRUE(m_person.Start(m_volume));
    m_person.Click(m_person.Item(m_person.Main(), IDC_STAR));
    EXPECT_TRUE(m_person.WaitForText(IDC_SUM, L"0.00"));
    ChooseInMenu(L"e");
    EnterPath(L"Export favourites", path);
    EXPECT_EQ(L"The favourites are in " + path + L".", m_person.AnswerBox());
    std::vector<CFavourite> exported;
    EXPECT_EQ(0u, ImportFavourites(path.c_str(), exported));
    EXPECT_EQ("IS 0;", Listed(exported));

    ASSERT_EQ(0u, ExportFavourites(path.c_str(), {{L"CH", 20}, {L"IS", 30}}));
    ChooseInMenu(L"i");
    EnterPath(L"Import favourites", path);
    EXPECT_EQ(L"The favourites were taken from " + path + L".", m_person.AnswerBox());
    EXPECT_TRUE(m_person.WaitForText(IDC_SUM, L"30.00"));

    // They are in the menu, in the order of their codes.
    m_person.Click(m_person.Item(m_person.Main(), IDC_MENU));
    ASSERT_TRUE(m_person.WaitFor([] { return ::FindWindowW(L"#32768", nullptr) != nullptr; }));
    m_person.Key(VK_DOWN);
    m_person.Key(VK_RETURN);
    EXPECT_TRUE(m_person.WaitForText(IDC_NAME, L"Swiss Confederation"));
    EXPECT_TRUE(Close());
    EXPECT_EQ("CH 20;IS 30;", Favourites());
    EXPECT_EQ(CString(path.c_str()), Settings().file);
}

TEST_F(WalkTest, AFileThatIsNotToBeTrustedChangesNothing)
{
    const std::wstring path = m_folder.File(L"a.fav");
    ASSERT_TRUE(m_person.Start(m_volume));
    ASSERT_EQ(0u, ExportFavourites(path.c_str(), {{L"CH", 20}, {L"XX", 30}})); // no such country
    ChooseInMenu(L"i");
    EnterPath(L"Import favourites", path);
    EXPECT_NE(std::wstring::npos, m_person.AnswerBox().find(L"names a country that this volume does not have"));

    FILE* const file = ::_wfopen(path.c_str(), L"r+b");
    std::fputs("BtlF", file);
    std::fclose(file);
    ChooseInMenu(L"i");
    EnterPath(L"Import favourites", path);
    EXPECT_NE(std::wstring::npos, m_person.AnswerBox().find(L"is damaged, or holds no favourites of Atlas"));
    EXPECT_TRUE(Close());
    EXPECT_EQ("", Favourites());
}

TEST_F(WalkTest, TheLinkStartsTheBrowserAndAboutOpensAndCloses)
{
    const CProgramInTheWay browser(L"iexplore.exe");
    ASSERT_TRUE(m_person.Start(m_volume));
    m_person.Click(m_person.Item(m_person.Main(), IDC_LINK));
    EXPECT_EQ(browser.CommandLine(L"https://www.iso.org/obp/ui/#iso:code:3166:IS"), browser.WaitForStart());
    ChooseInMenu(L"a");
    const HWND about = m_person.WaitForWindow(L"About Atlas");
    ASSERT_TRUE(about);
    EXPECT_TRUE(m_person.WaitFor([&] { return CPerson::CountPixels(about, IsBlue) > 2000; })) << "no picture";
    m_person.Key(VK_RETURN);
    EXPECT_TRUE(m_person.WaitForNoWindow(about));
    EXPECT_TRUE(Close());
}

TEST_F(WalkTest, TheWindowsPlaceIsRememberedAndOnTheScreen)
{
    ASSERT_TRUE(m_person.Start(m_volume));
    m_person.Point(100, 10); // its caption
    m_person.Press();
    m_person.Point(80, 40);
    m_person.Release();
    RECT area = {};
    EXPECT_TRUE(m_person.WaitFor([&] { return ::GetWindowRect(m_person.Main(), &area) && area.left == -20; }));
    EXPECT_TRUE(Close());
    EXPECT_EQ(-20, Settings().position.x);
    EXPECT_EQ(30, Settings().position.y);
    ASSERT_TRUE(m_person.Start(m_volume));
    ::GetWindowRect(m_person.Main(), &area);
    EXPECT_EQ(0, area.left);
    EXPECT_EQ(0, area.top);
    EXPECT_TRUE(Close());
}

TEST_F(WalkTest, AVolumeThatCannotBeUsedIsToldInASentence)
{
    const std::wstring missing = m_folder.File(L"none.vol");
    ASSERT_TRUE(m_person.Start(missing));
    EXPECT_EQ(L"There is no volume " + missing +
                  L". Start Atlas with the path of one, or make it with scripts/import_iso.sh.",
              m_person.AnswerBox());
    EXPECT_TRUE(m_person.HasEnded());

    const std::wstring other = m_folder.File(L"other.txt");
    std::fclose(::_wfopen(other.c_str(), L"wb"));
    ASSERT_TRUE(m_person.Start(other));
    EXPECT_NE(std::wstring::npos, m_person.AnswerBox().find(other + L" is damaged, or is no volume."));
    EXPECT_TRUE(m_person.HasEnded());
}

TEST_F(WalkTest, SettingsOfOtherTypesDoNotKeepItFromStarting)
{
    HKEY key = nullptr;
    ASSERT_EQ(0, ::RegCreateKeyExW(HKEY_CURRENT_USER, m_person.RegistryPath().c_str(), 0, nullptr, 0, KEY_WRITE,
                                   nullptr, &key, nullptr));
    const DWORD number = 0x7FFFFFFF;
    ::RegSetValueExW(key, L"Country", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    ::RegSetValueExW(key, L"Left", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    ::RegSetValueExW(key, L"Top", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"wrong"), 12);
    ::RegCloseKey(key);
    ASSERT_TRUE(m_person.Start(m_volume));
    EXPECT_TRUE(m_person.WaitForText(IDC_COUNTRY, L"Iceland"));
    RECT area = {};
    ::GetWindowRect(m_person.Main(), &area);
    EXPECT_EQ(0, area.left);
    EXPECT_EQ(0, area.top);
    EXPECT_TRUE(Close());
}

} // namespace
