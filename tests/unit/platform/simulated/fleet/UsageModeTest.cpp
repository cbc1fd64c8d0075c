// A mode, and the way to one.
#include "fleet/UsageMode.h"

#include <gtest/gtest.h>

#include "fleet/Fleet.h"

namespace simulated {
namespace {

constexpr U64 kArrives = (U64{1} << 56) - 1;  // centuries

TEST(UsageMode, IsInTransitionUntilItArrives) {
    for (const ModeName& row : kModeNames) {
        UsageMode mode;
        mode.Store({.mode = row.value, .arrives = kArrives});
        EXPECT_EQ(mode.Load().arrives, kArrives) << row.name;
        EXPECT_EQ(mode.Load().At(0), ZEL_USAGE_MODE_IN_TRANSITION) << row.name;
        EXPECT_EQ(mode.Load().At(kArrives - 1), ZEL_USAGE_MODE_IN_TRANSITION) << row.name;
        EXPECT_EQ(mode.Load().At(kArrives), row.value);
        mode.Store({.mode = row.value});
        EXPECT_EQ(mode.Load().At(0), row.value);
    }
}

TEST(UsageMode, SettlesWhereItWasSeen) {
    UsageMode mode;
    mode.Store({.mode = ZEL_USAGE_MODE_OFFLINE, .arrives = 5});
    mode.Settle(mode.Load());
    EXPECT_EQ(mode.Load().mode, ZEL_USAGE_MODE_OFFLINE);
    EXPECT_EQ(mode.Load().arrives, 0U);
}

TEST(UsageMode, DoesNotSettleWhenItHasBeenMovedSince) {
    UsageMode mode;
    mode.Store({.mode = ZEL_USAGE_MODE_OFFLINE, .arrives = 5});
    const UsageMode::Value seen = mode.Load();
    mode.Store({.mode = ZEL_USAGE_MODE_NORMAL, .arrives = 9});
    mode.Settle(seen);
    EXPECT_EQ(mode.Load().mode, ZEL_USAGE_MODE_NORMAL);
    EXPECT_EQ(mode.Load().arrives, 9U);
}

}  // namespace
}  // namespace simulated
