#include "Rows.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <iterator>

#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main_frontend.h"

namespace {

template <typename Rows>
std::ptrdiff_t Find(Rows& rows, std::string_view shortName) {
    const auto row = std::ranges::find_if(
        rows, [shortName](const auto& other) { return shortName == other.shortNm; });
    if (row == std::end(rows)) {
        std::cerr << "no row \"" << shortName << "\"\n";
        std::abort();
    }
    return row - std::begin(rows);
}

}  // namespace

U32 GroupIndex(std::string_view shortName) {
    return static_cast<U32>(Find(ifstTstGrps, shortName));
}

ifstTstGroup& GroupRow(std::string_view shortName) {
    return ifstTstGrps[GroupIndex(shortName)];
}

U16 TestIndex(std::string_view group, std::string_view shortName) {
    const auto tests = GroupRow(group).frontEnd->Tests();
    return static_cast<U16>(Find(tests, shortName));
}

ifstTstCb& TestRow(std::string_view group, std::string_view shortName) {
    return GroupRow(group).frontEnd->tests[TestIndex(group, shortName)];
}
