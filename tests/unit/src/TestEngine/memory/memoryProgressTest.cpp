// Marks and times of a memory test.
#include "TestEngine/memory/memoryProgress.h"

#include "MemoryFixture.h"

namespace {

class Progress : public MemoryFixture {
protected:
    std::string Difference(timeval start, timeval end, bool print = true) {
        Printing([&] {
            diffTime(start, end, "took:", print);
            return 0;
        });
        return out;
    }
};

TEST_F(Progress, MarksEverySixteenthCallThatHasATick) {
    updateUser(true, true);
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG1), Texts{}) << "a reset prints nothing";
    for (int i = 0; i < 32; ++i)
        updateUser(false, true);
    Texts expected(32, ".");
    expected[15] = expected[31] = "||";
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG1), expected);
}

TEST_F(Progress, MarksWithoutATickAreAlike) {
    updateUser(true, false);
    for (int i = 0; i < 20; ++i)
        updateUser(false, false);
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG1), Texts(20, "."));
}

TEST_F(Progress, PrintsMinutesAndSecondsOrMilliseconds) {
    EXPECT_EQ(Difference({10, 0}, {10, 999999}), "took:  999 msec  \n");
    EXPECT_EQ(Difference({10, 999999}, {11, 0}), "took:  0 min  1 sec  \n")
        << "only whole seconds are compared";
    EXPECT_EQ(Difference({10, 0}, {135, 5}), "took:  2 min  5 sec  \n");
    EXPECT_EQ(Difference({10, 0}, {135, 5}, false), "");
    ifstSetupParams.bQuietMode = 1;
    EXPECT_EQ(Difference({10, 0}, {10, 5}), "");
}

TEST_F(Progress, ReadsTheClock) {
    timeval now{};
    EXPECT_EQ(markTime(now), 1);
    EXPECT_EQ(now.tv_sec, fakes::FakeClock::kStartMicroseconds / 1000000);
}

TEST_F(Progress, TellsOfAClockThatDoesNotAnswer) {
    fakes::Clock().Break();
    timeval now{};
    EXPECT_EQ(Printing([&] { return markTime(now); }), 0);
    EXPECT_TRUE(out.starts_with("ZelDiag::gettimeofday failed with err 0x")) << out;
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: 'gettimeofday' failed"});
}

}  // namespace
