// What a test expects of the names that the library shares with the C library: they are the library's functions, and no
// macros for others. Include it behind both headers, in whichever order those come.
#ifndef KORVANE_TESTS_BASE_LIBRARY_NAMES_H
#define KORVANE_TESTS_BASE_LIBRARY_NAMES_H

#include <gtest/gtest.h>

#define KORVANE_NAME_OF(name) KORVANE_TEXT_OF(name)
#define KORVANE_TEXT_OF(name) #name

static void ExpectTheLibrarysNames()
{
    EXPECT_STREQ(KORVANE_NAME_OF(_tsplitpath), "_tsplitpath");
    EXPECT_STREQ(KORVANE_NAME_OF(_ttof), "_ttof");
    EXPECT_STREQ(KORVANE_NAME_OF(_ttod), "_ttod");
    EXPECT_NE(&::_tsplitpath, &::_wsplitpath);
    TCHAR name[256];
    ::_tsplitpath(L"C:\\a\\b.c", nullptr, nullptr, name, nullptr);
    EXPECT_STREQ(name, L"b");
    float value = 0;
    EXPECT_EQ(::_ttof(L"1.5", value), CONV_OK);
    EXPECT_EQ(value, 1.5f);
}

#endif
