// The registry of groups and tests: as many as promised, named once, complete.
#include "TestEngine/TestGroups.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "TestEngine/te_main.h"
#include "TestEngine/te_main_frontend.h"

namespace {

std::string Lower(const char* text) {
    std::string lower(text);
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

TEST(Registry, HoldsFiveGroupsInRunOrder) {
    ASSERT_EQ(ifstNumTstGroups, 5U);
    const char* names[] = {"PCIE Diagnostics", "Coprocessor memory test group", "Core Diagnostics",
                           "DMA Diagnostics",
                           "SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only)"};
    const char* longNames[] = {"-PcieDiag", "-MemDiag", "-CoreDiag", "-DmaDiag", "-SmcDiag"};
    const char* shortNames[] = {"-pcie", "-mem", "-core", "-dma", "-smc"};
    const char* summaryNames[] = {"PcieDiag", "MemDiag", "CoreDiag", "DmaDiag", "SmcDiag"};
    const U16 counts[] = {6, 3, 5, 2, 3};  // at least: a group may grow
    for (U32 i = 0; i < IFST_NUM_TESTGROUPS; ++i) {
        EXPECT_STREQ(ifstTstGrps[i].name, names[i]);
        EXPECT_STREQ(ifstTstGrps[i].longNm, longNames[i]);
        EXPECT_STREQ(ifstTstGrps[i].shortNm, shortNames[i]);
        EXPECT_STREQ(ifstTstGrps[i].frontEnd->summaryName, summaryNames[i]);
        EXPECT_GE(ifstTstGrps[i].frontEnd->numTests, counts[i]);
    }
}

TEST(Registry, HasNoIncompleteRow) {
    for (const ifstTstGroup& group : ifstTstGrps) {
        EXPECT_NE(group.init, nullptr);
        EXPECT_NE(group.cfg, nullptr);
        EXPECT_EQ(group.engine, &ifstTstGrpEngine0);
        EXPECT_NE(group.clean, nullptr);
        EXPECT_NE(group.parse, nullptr);
        for (U16 i = 0; i < group.frontEnd->numTests; ++i) {
            const ifstTstCb& test = group.frontEnd->tests[i];
            EXPECT_STRNE(test.tstDescr1, "") << test.longNm;
            EXPECT_STREQ(test.tstDescr2, "") << test.longNm;
            ASSERT_NE(test.brief, nullptr) << test.longNm;
            EXPECT_STRNE(test.brief, "") << test.longNm;
            EXPECT_NE(test.tst, nullptr) << test.longNm;
            ASSERT_NE(test.Args, nullptr) << test.longNm;
            EXPECT_EQ(test.Args[0].Type, ARGTYPE_U64) << test.longNm;
            EXPECT_STREQ(test.Args[0].DefaultValue, "0") << test.longNm;
            EXPECT_EQ(test.Args[1].Type, ARGTYPE_INT) << test.longNm;
            EXPECT_STREQ(test.Args[1].DefaultValue, "-1") << test.longNm;
            EXPECT_EQ(test.Args[2].Type, ARGTYPE_END) << test.longNm;
        }
    }
}

TEST(Registry, NamesEverythingOnce) {
    std::set<std::string> names;
    std::set<ifstTest> entries;
    for (const ifstTstGroup& group : ifstTstGrps) {
        EXPECT_TRUE(names.insert(Lower(group.longNm)).second) << group.longNm;
        EXPECT_TRUE(names.insert(Lower(group.shortNm)).second) << group.shortNm;
        for (U16 i = 0; i < group.frontEnd->numTests; ++i) {
            const ifstTstCb& test = group.frontEnd->tests[i];
            EXPECT_TRUE(names.insert(Lower(test.longNm)).second) << test.longNm;
            EXPECT_TRUE(names.insert(Lower(test.shortNm)).second) << test.shortNm;
            EXPECT_TRUE(entries.insert(test.tst).second) << test.longNm;
        }
    }
}

}  // namespace
