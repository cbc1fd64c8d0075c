// Lists of nodes, without Slurm.
#include "fleet/NodeList.h"

#include <fmt/ranges.h>
#include <gmock/gmock.h>

namespace zelhealth {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

TEST(NodeList, IsWhatSlurmMakesOfIt) {
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {"n1", "n1"},
        {"n1,,n2,", "n1 n2"},
        {"n[1-3]", "n1 n2 n3"},
        {"n[3]", "n3"},
        {"n[1-2,5],m,k[9-11]", "n1 n2 n5 m k9 k10 k11"},
        {"n[008-011]", "n008 n009 n010 n011"},
        {"n[0-10]x", "n0x n1x n2x n3x n4x n5x n6x n7x n8x n9x n10x"},
        {"r[1-2]n[01-02]", "r1n01 r1n02 r2n01 r2n02"},
        {"[1-2]", "1 2"},
        {"a-b.c_d[2-2]", "a-b.c_d2"},
    };
    for (const auto& [list, names] : rows) {
        EXPECT_EQ(fmt::format("{}", fmt::join(NamesOf(list), " ")), names) << list;
    }
    EXPECT_THAT(NamesOf("n[1-10000]"), SizeIs(10000));
}

TEST(NodeList, IsRefusedWhereItIsNone) {
    const std::pair<const char*, const char*> rows[] = {
        {"n[1-8", "n[1-8: a bracket is missing"},
        {"n1-8]", "n1-8]: a bracket is missing"},
        {"m,n[1-2]]", "n[1-2]]: a bracket is missing"},
        {"n[]", "n[]: in brackets stand numbers"},
        {"n[1-]", "n[1-]: in brackets stand numbers"},
        {"n[1,,2]", "n[1,,2]: in brackets stand numbers"},
        {"n[a-c]", "n[a-c]: in brackets stand numbers"},
        {"n[1-2-3]", "n[1-2-3]: in brackets stand numbers"},
        {"n[[1-2]]", "n[[1-2]]: "},
        {"n[5-3]", "n[5-3]: a range begins with the smaller number"},
        {"n[1-999999999]", "n[1-999999999]: too many nodes"},
        {"n[1-9999999999]", "n[1-9999999999]: in brackets stand numbers"},
        {"n[1-1000]m[1-1000]", "n[1-1000]m[1-1000]: too many nodes"},
        {"n[1-150000],m[1-150000]", "m[1-150000]: too many nodes"},
    };
    for (const auto& [list, why] : rows) {
        try {
            NamesOf(list);
            ADD_FAILURE() << list << " is taken";
        } catch (const NodeListError& error) {
            EXPECT_THAT(error.what(), HasSubstr(why)) << list;
        }
    }
}

}  // namespace
}  // namespace zelhealth
