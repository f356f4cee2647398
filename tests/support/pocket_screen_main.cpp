// main for the test programs that need a Pocket PC screen: a desktop of 240 x 320 pixels of their own.
#include "support/pocket_screen.h"

#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (CPocketScreen::IsOtherRole()) return CPocketScreen::RunOtherRole();
    testing::InitGoogleTest(&argc, argv);
    const CPocketScreen screen;
    if (!screen.IsThere()) {
        std::fprintf(stderr, "There is no screen of 240 x 320 pixels to test on.\n");
        return 1;
    }
    return RUN_ALL_TESTS();
}
