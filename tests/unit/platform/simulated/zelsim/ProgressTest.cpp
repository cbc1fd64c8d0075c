// When progress is shown, and that nothing of it stays on the screen.
#include "zelsim/Progress.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "PseudoTerminal.h"

namespace simulated {
namespace {

using namespace std::chrono_literals;

Progress::Clock::time_point now;

class ProgressTest : public testing::Test {
protected:
    void SetUp() override {
        setenv("TERM", "xterm", 1);
        now = Progress::Clock::time_point(1h);
        saved_ = dup(STDERR_FILENO);
        dup2(terminal_.Get(), STDERR_FILENO);
    }
    void TearDown() override {
        dup2(saved_, STDERR_FILENO);
        close(saved_);
    }

    static std::unique_ptr<Progress> StartingCards() {
        return std::make_unique<Progress>("starting cards", 4, [] { return now; });
    }

    PseudoTerminal terminal_;

private:
    int saved_ = -1;
};

TEST_F(ProgressTest, QuickStepIsSilent) {
    auto progress = StartingCards();
    for (int i = 0; i < 4; ++i) {
        now += 100ms;
        progress->Step();
    }
    progress.reset();
    EXPECT_EQ(terminal_.Read(), "");
}

TEST_F(ProgressTest, LongStepIsShownInOneLineThatGoes) {
    auto progress = StartingCards();
    now += 500ms;
    progress->Step();
    EXPECT_EQ(terminal_.Read(), "\r\033[Kzelsim: starting cards: 1 of 4");
    now += 100ms;
    progress->Step();
    EXPECT_EQ(terminal_.Read(), "\r\033[Kzelsim: starting cards: 2 of 4");
    progress.reset();
    EXPECT_EQ(terminal_.Read(), "\r\033[K");
}

TEST_F(ProgressTest, LineIsNotWrittenFasterThanItIsRead) {
    auto progress = StartingCards();
    now += 500ms;
    progress->Step();
    terminal_.Read();
    now += 99ms;
    progress->Step();
    EXPECT_EQ(terminal_.Read(), "");
}

TEST_F(ProgressTest, FileHoldsNoProgress) {
    char path[] = "/tmp/progress-test-XXXXXX";
    const int file = mkstemp(path);
    dup2(file, STDERR_FILENO);
    auto progress = StartingCards();
    now += 1h;
    progress->Step();
    progress.reset();
    EXPECT_EQ(lseek(file, 0, SEEK_END), 0);
    close(file);
    unlink(path);
}

TEST_F(ProgressTest, TerminalThatCannotRewriteALineShowsNone) {
    setenv("TERM", "dumb", 1);
    auto progress = StartingCards();
    now += 1h;
    progress->Step();
    progress.reset();
    EXPECT_EQ(terminal_.Read(), "");
}

}  // namespace
}  // namespace simulated
