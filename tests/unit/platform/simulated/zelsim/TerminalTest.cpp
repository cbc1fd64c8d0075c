// Who is shown colours.
#include "zelsim/Terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "PseudoTerminal.h"

namespace simulated {
namespace {

class Colours : public testing::Test {
protected:
    void SetUp() override {
        setenv("TERM", "xterm", 1);
        unsetenv("NO_COLOR");
    }

    const PseudoTerminal terminal_;
};

TEST_F(Colours, AreForTerminals) {
    EXPECT_TRUE(ShowsColours(terminal_.Get()));
    EXPECT_EQ(Styled(terminal_.Get(), Style::Good, "normal"), "\033[32mnormal\033[0m");
    const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
    EXPECT_FALSE(ShowsColours(file));
    EXPECT_EQ(Styled(file, Style::Good, "normal"), "normal");
    close(file);
}

TEST_F(Colours, AreNotForWhoDoesNotWantThem) {
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(ShowsColours(terminal_.Get()));
    EXPECT_TRUE(CanRewriteLines(terminal_.Get()));
    setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(ShowsColours(terminal_.Get()));
}

TEST_F(Colours, AreNotForTerminalsThatKnowNone) {
    for (const char* type : {"dumb", ""}) {
        setenv("TERM", type, 1);
        EXPECT_FALSE(ShowsColours(terminal_.Get())) << type;
        EXPECT_FALSE(CanRewriteLines(terminal_.Get())) << type;
    }
    unsetenv("TERM");
    EXPECT_FALSE(ShowsColours(terminal_.Get()));
}

}  // namespace
}  // namespace simulated
