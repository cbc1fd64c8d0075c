// How a test joins its group: its own source file ends with its row, and its group's list of tests
// (GROUPTests.def) names it in one line. Selection, numbering, usage, help, report and the shells'
// completion follow from that.
#pragma once

#include <iterator>

#include "TestEngine/te_main_records.h"

// What a test is known by.
struct ifstTestRow {
    const char* description;  // the title behind "Test N: "
    const char* longNm;
    const char* shortNm;
    const char* brief;  // what the shells' completion says beside the names
    const char* help = nullptr;
};

// What every test declares, and the engine fills: the address of its group's control block and its
// index in the group.
inline constexpr TaskArg k_TestArgs[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
inline constexpr U32 k_EngineArgs = std::size(k_TestArgs) - 1;

// What the engine calls a test through.
template <auto test>
I16 ifstMarshal(ActualArg* list) {
    return test(Get_U64(*list));
}

// A row as the group's table begins with it.
constexpr ifstTstCb ifstMakeTest(const ifstTestRow& row, ifstTest entry, const TaskArg* args) {
    ifstTstCb test{};
    test.tstDescr1 = row.description;
    test.tstDescr2 = "";
    test.longNm = row.longNm;
    test.shortNm = row.shortNm;
    test.brief = row.brief;
    test.help = row.help;
    test.tst = entry;
    test.Args = args;
    test.state = IFST_TEST_IDLE;
    return test;
}

// The two meanings of a line IFST_TEST(test) of a group's list. In the group's header it declares the
// test, which takes the address of the control block and returns k_TestFinished when it has finished,
// with its row, its entry and its arguments; in the group's table it is the test's place.
#define IFST_DECLARE_TEST(test)                               \
    I16 test(U64 tstSpecCb);                                  \
    extern const ifstTestRow k_Row_##test;                    \
    inline constexpr auto Marshal_##test = ifstMarshal<test>; \
    inline constexpr auto& Args_##test = k_TestArgs;
#define IFST_PLACE_TEST(test) ifstMakeTest(k_Row_##test, Marshal_##test, Args_##test),
