// A person at the screen: starts Atlas, moves the pointer, types, and looks at what is there.
//
// Atlas is a process of its own: keys and pointer reach it through the system's queue, and its windows are asked for
// their texts and places only.
#ifndef KORVANE_TESTS_ATLAS_PERSON_H
#define KORVANE_TESTS_ATLAS_PERSON_H

#include <windows.h>

#include <functional>
#include <string>

class CPerson
{
public:
    // A copy of the program under a name of its own, and so with settings of its own; removed with them at the end.
    CPerson();
    ~CPerson();
    CPerson(const CPerson&) = delete;
    CPerson& operator=(const CPerson&) = delete;

    std::wstring RegistryPath() const { return L"Software\\korvaneLib\\" + m_name; }

    // Atlas's first window, whichever it is: true when it is there, in the foreground.
    bool Start(const std::wstring& volume);
    // True when Atlas has ended, with the exit code 0.
    bool HasEnded();
    HWND Main() const { return m_main; }

    static bool WaitFor(const std::function<bool()>& predicate);
    // The visible top-level window of Atlas with this caption; null when it does not come.
    HWND WaitForWindow(const std::wstring& caption);
    bool WaitForNoWindow(HWND window);
    // The text of a message box that comes up, without its line breaks; it is then answered with Enter.
    std::wstring AnswerBox();

    static HWND Item(HWND window, int id) { return ::GetDlgItem(window, id); }
    static std::wstring TextOf(HWND window);
    std::wstring Text(int id) const { return TextOf(Item(m_main, id)); }
    bool WaitForText(int id, const std::wstring& text);
    // The identifier of the control with the focus; of a combo box also when its edit field has it.
    int Focus() const;
    bool WaitForFocus(int id);
    // How many pixels of the control have that colour, on the screen.
    static int CountPixels(HWND window, const std::function<bool(COLORREF)>& isIt);

    static void Key(WORD key);
    static void Type(const std::wstring& text);
    // Screen coordinates.
    void Point(int x, int y);
    void Point(HWND window);
    void Press();
    void Release();
    void Click(HWND window);

private:
    const std::wstring m_name;
    std::wstring m_program;
    PROCESS_INFORMATION m_process = {}; // owned
    HWND m_main = nullptr;
};

#endif
