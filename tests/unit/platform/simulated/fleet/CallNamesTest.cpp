#include "fleet/CallNames.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "Calls.h"

namespace simulated {
namespace {

TEST(CallNames, EveryNameIsThereOnceAndFitsTheState) {
    const std::set<std::string> unique(CallNames().begin(), CallNames().end());
    EXPECT_EQ(unique.size(), CallNames().size());
    for (const std::string& name : CallNames())
        EXPECT_LE(name.size(), kMaxCallLength) << name;
}

// The functions that a header declares, each on a line that begins with its type.
std::set<std::string> DeclaredIn(const std::string& header) {
    std::ifstream file(INTERFACES + header);
    std::set<std::string> names;
    static const std::regex declaration(R"(^[a-zA-Z][\w ]*[ *]+(Zel\w+|vorl_\w+)\(.*)");
    std::smatch found;
    for (std::string line; std::getline(file, line);) {
        if (std::regex_match(line, found, declaration))
            names.insert(found[1]);
    }
    return names;
}

TEST(CallNames, EveryFunctionOfTheInterfacesHasARow) {
    std::set<std::string> declared = DeclaredIn("ZelAccessApi.h");
    declared.merge(DeclaredIn("vorl.h"));
    EXPECT_GT(declared.size(), 30U);
    std::set<std::string> rows;
    for (const PlatformCall& call : kPlatformCalls)
        rows.emplace(call.name);
    EXPECT_EQ(rows, declared);
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
