// Notes of processes that cannot be ended.
#include "host/Wedged.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "Scratch.h"

namespace zelhealth {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(WedgedTest, IsToldUntilTheProcessIsGone) {
    const Scratch scratch;
    const WedgedNotes notes(scratch / "wedged");
    EXPECT_THAT(notes.Living(), IsEmpty());
    const pid_t process = fork();
    if (process == 0) {
        pause();
        _exit(0);
    }
    ASSERT_EQ(notes.Add("zel1", "dma.vdh2l", {"dma_port"}, process), "");
    const auto living = notes.Living();
    ASSERT_THAT(living, SizeIs(1));
    EXPECT_EQ(living[0].card, "zel1");
    EXPECT_THAT(living[0].resources, ElementsAre("dma_port"));
    EXPECT_THAT(living[0].Text(),
                testing::MatchesRegex("zel1 is wedged since 2.*Z, pid " + std::to_string(process) +
                                      " \\(dma\\.vdh2l\\)"));
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    EXPECT_THAT(notes.Living(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(scratch / "wedged"));
}

TEST(WedgedTest, APidThatIsGivenOutAgainIsNotWedged) {
    const Scratch scratch;
    const WedgedNotes notes(scratch / "wedged");
    const ProcessId self = ThisProcess();
    scratch.Write("wedged/1.json", R"({"card":"zel1","test":"","resources":[],"since":"s","pid":)" +
                                       std::to_string(self.pid) + R"(,"start_time":)" +
                                       std::to_string(self.startTime + 1) + "}");
    EXPECT_THAT(notes.Living(), IsEmpty());
}

TEST(WedgedTest, AProcessThatHasGoneNeedsNoNote) {
    const Scratch scratch;
    const pid_t process = fork();
    if (process == 0)
        _exit(0);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT);
    EXPECT_EQ(WedgedNotes(scratch / "wedged").Add("zel1", "", {}, process), "");
    EXPECT_FALSE(std::filesystem::exists(scratch / "wedged"));
    waitpid(process, nullptr, 0);
}

TEST(WedgedTest, WhatIsNoNoteIsPassedOver) {
    const Scratch scratch;
    scratch.Write("wedged/a.json", "{");
    scratch.Write("wedged/b.json", "[]");
    EXPECT_THAT(WedgedNotes(scratch / "wedged").Living(), IsEmpty());
}

TEST(WedgedTest, ANoteThatCannotBeWrittenIsSaid) {
    const Scratch scratch;
    scratch.Write("file", "");
    EXPECT_NE(WedgedNotes(scratch / "file").Add("zel1", "", {}, getpid()), "");
}

}  // namespace

}  // namespace zelhealth
