// The settings that are shipped: whoever opens the file is told what is invented in it.
#include <gtest/gtest.h>

#include <string>

#include "Pages.h"

namespace {

TEST(Settings, CallEachSectionProvisional) {
    std::string comment;
    int sections = 0;
    for (const std::string& line : SplitLines(ReadProjectFile("src/Settings.ini"))) {
        if (line.starts_with(";")) {
            comment += line;
        } else if (line.starts_with("[")) {
            ++sections;
            EXPECT_NE(comment.find("rovisional"), comment.npos) << line;
            comment.clear();
        } else if (!line.empty()) {
            comment.clear();
        }
    }
    EXPECT_EQ(sections, 2);
}

}  // namespace
