#include "fleet/CallNames.h"

#include <gtest/gtest.h>

#include <set>

namespace simulated {
namespace {

TEST(CallNames, EveryNameIsThereOnceAndFitsTheState) {
    const std::set<std::string> unique(CallNames().begin(), CallNames().end());
    EXPECT_EQ(unique.size(), CallNames().size());
    for (const std::string& name : CallNames())
        EXPECT_LE(name.size(), kMaxCallLength) << name;
}

TEST(CallNames, BothLibrariesAreThereWhole) {
    std::size_t access = 0;
    std::size_t communication = 0;
    for (const std::string& name : CallNames()) {
        access += name.starts_with("Zel");
        communication += name.starts_with("vorl_");
    }
    EXPECT_EQ(access, 22U);
    EXPECT_EQ(communication, 14U);
}

TEST(CallNames, NothingElseIsACall) {
    for (const char* name : {"", "Zel", "zelgetuuid", "ZelGetUUID ", "vorl_opens"})
        EXPECT_FALSE(IsCall(name)) << '"' << name << '"';
    // It returns a text that is never missing, so it cannot fail.
    EXPECT_FALSE(IsCall("ZelGetErrorString"));
}

TEST(CallNames, OnlyOpeningAndClosingTheLibraryComeBeforeACard) {
    for (const std::string& name : CallNames())
        EXPECT_EQ(IsHostCall(name), name == "ZelInitAPI" || name == "ZelCloseAPI") << name;
}

}  // namespace
}  // namespace simulated
