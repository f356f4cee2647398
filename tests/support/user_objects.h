// How many objects of the window system this process has.
#ifndef KORVANE_TESTS_SUPPORT_USER_OBJECTS_H
#define KORVANE_TESTS_SUPPORT_USER_OBJECTS_H

#include <windows.h>

namespace user_objects_detail {

constexpr unsigned int kFirst = 0x20, kLast = 0xFFEF, kStep = 2; // the numbers that handles have

inline bool IsIcon(HANDLE handle)
{
    ICONINFO info = {};
    if (!::GetIconInfo(static_cast<HICON>(handle), &info)) return false;
    if (info.hbmMask) ::DeleteObject(info.hbmMask);
    if (info.hbmColor) ::DeleteObject(info.hbmColor);
    return true;
}

inline BOOL CALLBACK CountOne(HWND, LPARAM count)
{
    ++*reinterpret_cast<int*>(count);
    return TRUE;
}

inline BOOL CALLBACK CountWithChildren(HWND window, LPARAM count)
{
    ::EnumChildWindows(window, CountOne, count);
    return CountOne(window, count);
}

// Windows that only get messages belong to no list of windows to see.
inline void CountMessageWindows(int& count)
{
    for (HWND window = nullptr; (window = ::FindWindowExW(HWND_MESSAGE, window, nullptr, nullptr));) {
        if (::GetWindowThreadProcessId(window, nullptr) == ::GetCurrentThreadId())
            CountWithChildren(window, reinterpret_cast<LPARAM>(&count));
    }
}

} // namespace user_objects_detail

// The windows of this thread, and all windows in them.
inline int CountThreadWindows()
{
    int count = 0;
    ::EnumThreadWindows(::GetCurrentThreadId(), user_objects_detail::CountWithChildren,
                        reinterpret_cast<LPARAM>(&count));
    return count;
}

// Wine does not count the objects for GetGuiResources. It takes a handle's number alone for the handle, so that all
// menus, icons, cursors and accelerator tables can be asked for; the windows are those of this thread.
inline int CountUserObjects()
{
    if (const DWORD counted = ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS))
        return static_cast<int>(counted);
    using namespace user_objects_detail;
    int count = CountThreadWindows();
    CountMessageWindows(count);
    for (unsigned int number = kFirst; number <= kLast; number += kStep) {
        const auto handle = reinterpret_cast<HANDLE>(number);
        count += ::IsMenu(static_cast<HMENU>(handle)) || IsIcon(handle) ||
                 ::CopyAcceleratorTableW(static_cast<HACCEL>(handle), nullptr, 0) > 0;
    }
    return count;
}

#endif
