// The companion's catalogue of tests, compared with the tool's own tables: no test lacks a row, no row a
// test.
#include "catalogue/Catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "Words.h"

namespace {

using zelhealth::Catalogue;
using zelhealth::TestRow;

std::vector<TestRow> RowsOf(const std::string& groupWord) {
    std::vector<TestRow> rows;
    for (const TestRow& row : Catalogue::BuiltIn().Tests()) {
        if (row.groupWord == groupWord) {
            rows.push_back(row);
        }
    }
    return rows;
}

TEST(Catalogue, HasARowForEachTestOfTheTool) {
    for (const DocGroup& group : Groups()) {
        const std::vector<TestRow> rows = RowsOf(group.shortName);
        ASSERT_EQ(rows.size(), group.tests.size()) << group.shortName;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::set<std::string> names = {"-" + rows[i].name, "-" + rows[i].also};
            EXPECT_EQ(names,
                      (std::set<std::string>{group.tests[i].shortName, group.tests[i].longName}));
            EXPECT_EQ(rows[i].title, group.testTitles[i]);
            EXPECT_EQ(rows[i].groupTitle, group.title);
            EXPECT_EQ(rows[i].number, static_cast<int>(i) + 1);
        }
    }
}

TEST(Catalogue, HasNoRowForAnotherGroup) {
    for (const TestRow& row : Catalogue::BuiltIn().Tests()) {
        EXPECT_TRUE(std::any_of(Groups().begin(), Groups().end(), [&row](const DocGroup& group) {
            return group.shortName == row.groupWord;
        })) << row.Id();
    }
}

}  // namespace
