// Whether something that is done over and over leaves anything behind.
#ifndef KORVANE_TESTS_CONTROLS_LEAK_SUPPORT_H
#define KORVANE_TESTS_CONTROLS_LEAK_SUPPORT_H

#include "screen_support.h"

#include "support/gdi_objects.h"
#include "support/heap_blocks.h"
#include "support/user_objects.h"

#include <gtest/gtest.h>

struct CHoldings
{
    int gdiObjects, userObjects, heapBlocks;
};

// What this process holds once its queue is empty and the framework's temporary objects are gone.
inline CHoldings CountHoldings()
{
    PumpQueue();
    CGdiObject::DeleteTempMap();
    CDC::DeleteTempMap();
    CWnd::DeleteTempMap();
    const CHoldings holdings = {CountGdiObjects(), CountUserObjects(), CountHeapBlocks()};
    return holdings;
}

// Does it 500 times. The system fills caches of its own at some time, so that the counts may rise a little; a single
// object or block that is lost each time would be 500.
template <class Function> void ExpectNothingLeftBehind(Function function)
{
    for (int i = 0; i < 10; ++i) function();
    const CHoldings before = CountHoldings();
    for (int i = 0; i < 500; ++i) function();
    const CHoldings after = CountHoldings();
    EXPECT_GT(before.heapBlocks, 0);
    EXPECT_LT(after.gdiObjects, before.gdiObjects + 50);
    EXPECT_EQ(before.userObjects, after.userObjects);
    EXPECT_LT(after.heapBlocks, before.heapBlocks + 250);
}

#endif
