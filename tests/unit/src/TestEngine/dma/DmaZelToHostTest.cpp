#include <gmock/gmock.h>

#include <cerrno>

#include "CommonException.h"
#include "DmaTest.h"
#include "TestEngine/dma/Dma.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kFile[] = "TestEngine/dma/DmaZelToHost";
constexpr char kThreadsFailed[] = "Test failed. Threads did not succeed.\n";
constexpr char kThreadsSummary[] = "DmaDiag.ZelToHost: Threads did not succeed";
constexpr char kUploadFailed[] = " Failed -- vorl_connect_dma returned error  \n";
constexpr char kHalfFailed[] =
    "Failed -- vorl_accept_dma returned error in DMA Host to  Coprocessor \n";
constexpr char kEr1x[] = "vorl_connect_dma_zel_er1x";
constexpr char kEv1x[] = "vorl_connect_dma_zel_ev1x";
constexpr unsigned kListenSeconds = 3;

class DmaZelToHost : public DmaTest {
protected:
    DmaZelToHost() : DmaTest("-vdl2h", "vorl_connect_dma_zel", "ZelVorlConnectDMA Test success") {
        pollSeconds_ = 5;
        execute_ = [this](const std::string&) {
            AwaitOtherWorker();
            return ShellAnswer{.output = successText_};
        };
    }
    ~DmaZelToHost() override { fakes::Vorl().Unblock(); }

    // One worker is left: in the uploading one, the host's half has ended, and the other way round.
    void AwaitOtherWorker() const { fakes::FakeThreads::AwaitCount(threadsBefore_ + 1); }

    // The host's half waits for the card when the upload begins.
    void BlockHostHalf() {
        fakes::Vorl().BlockAccept();
        onSleep_ = [](unsigned seconds) {
            if (seconds == kListenSeconds)
                fakes::Vorl().AwaitBlocked();
        };
        execute_ = [this](const std::string&) { return ShellAnswer{.output = successText_}; };
    }
};

TEST_F(DmaZelToHost, PassesWhenBothHalvesDo) {
    Run();
    ExpectPassed();
    EXPECT_THAT(out_, HasSubstr("ZelToHostDMA::VorlAccept Test success\n\n"));
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEr1x), Execution(kEr1x)));
    EXPECT_EQ(LinesWith("sleep(3)").size(), 1U);
    EXPECT_THAT(Traced(DLVL_ERROR), IsEmpty());
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), IsEmpty());
}

TEST_F(DmaZelToHost, OnlyTheExactNameIsOfTheCurrentGeneration) {
    Card().name += " 7120";
    Run();
    ExpectPassed();
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEv1x), Execution(kEv1x)));
}

TEST_F(DmaZelToHost, ABeginningOfTheBrandTextIsNotOfTheCurrentGeneration) {
    Card().name.pop_back();
    Run();
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEv1x), Execution(kEv1x)));
}

TEST_F(DmaZelToHost, WithoutAnOpenCardTakesTheOlderProgram) {
    OpenLibrary();
    Run();
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEv1x, -1), Execution(kEv1x, -1)));
}

TEST_F(DmaZelToHost, AsksForTheHandleBeforeItNamesItself) {
    group_.frontEnd->gen->valid = 0;
    EXPECT_THROW(Dma_DmaZelToHost(Block()), CommonException);
    EXPECT_EQ(NameInSummary(), "DmaDiag.<none>");
    EXPECT_EQ(EventCount(), 77);
}

TEST_F(DmaZelToHost, DoesNothingWhileTheGroupIsNotValid) {
    group_.frontEnd->gen->valid = 0;
    Run(0);
    EXPECT_EQ(NameInSummary(), "DmaDiag.ZelToHost");
    EXPECT_EQ(EventCount(), 77);
    EXPECT_THAT(done_, IsEmpty());
}

TEST_F(DmaZelToHost, ReportsAHostHalfThatDoesNotStart) {
    fakes::Threads().Fail("pthread_create", EAGAIN);
    Run();
    ExpectFailed(kFile, 157, " Failed -- threadFuncVorlAccept returned error\n",
                 "DmaDiag.ZelToHost: 'threadFuncVorlAccept' returned error");
}

TEST_F(DmaZelToHost, ReportsAnUploadingWorkerThatDoesNotStart) {
    fakes::Threads().Fail("pthread_create", EAGAIN, 1);
    fakes::Vorl().BlockAccept();
    Run();
    ExpectFailed(kFile, 166, " Failed -- threadFuncVorlConnect returned error\n",
                 "DmaDiag.ZelToHost: 'threadFuncVorlConnect' returned error");
    fakes::Vorl().Unblock();
    AwaitWorkers();
}

TEST_F(DmaZelToHost, GivesUpAfter60SecondsOfUpload) {
    Door released;
    BlockHostHalf();
    waitForUpload_ = false;
    upload_ = [&](const std::string&) {
        released.Await();
        return ShellAnswer{};
    };
    Run();
    ExpectFailed(kFile, 183, kUploadFailed, "DmaDiag.ZelToHost: 'vorl_connect_dma' returned error");
    EXPECT_EQ(LinesWith("sleep(5)").size(), 12U);
    fakes::Vorl().Unblock();
    released.Open();
    AwaitWorkers();
}

TEST_F(DmaZelToHost, ShowsAnUploadThatFailedAndWaitsForItInVain) {
    BlockHostHalf();
    waitForUpload_ = false;
    upload_ = [](const std::string&) {
        return ShellAnswer{.output = "refused", .status = ShellAnswer::Exit(255)};
    };
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 183, kUploadFailed));
    fakes::Vorl().Unblock();
    AwaitWorkers();
}

TEST_F(DmaZelToHost, ReportsAnUploadingWorkerThatCannotBeJoined) {
    fakes::Threads().Fail("pthread_join", EINVAL);
    Run();
    ExpectFailed(kFile, 192, "could not join the thread.\n",
                 "DmaDiag.ZelToHost: Could not join the thread");
}

TEST_F(DmaZelToHost, CancelsAHostHalfThatStillRuns) {
    BlockHostHalf();
    Run();
    ExpectFailed(kFile, 200, "Thread canceled.\n", "DmaDiag.ZelToHost: Thread canceled");
    AwaitWorkers();
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), IsEmpty());
    EXPECT_THAT(out_, Not(HasSubstr("ZelToHostDMA::VorlAccept")));
}

// The callback of the trace library has no argument for it.
struct InTrace {
    static inline Door reached;
    static inline Door released;
    static inline std::atomic<bool> passed{false};

    static void Begin() {
        reached.Close();
        released.Close();
        passed = false;
    }
    static void Pass(const char*, ...) {
        reached.Open();
        released.Await();
        passed = true;
    }
};

// The worker whose half has failed says so: a cancellation in the middle of that would leave a lock.
TEST_F(DmaZelToHost, CancelsNoWorkerInTheMiddleOfItsTrace) {
    fakes::Vorl().Fail("vorl_listen", EINVAL);
    InTrace::Begin();
    fakes::Trace().SetPrintCallback(InTrace::Pass);
    execute_ = [this](const std::string&) {
        InTrace::reached.Await();
        return ShellAnswer{.output = successText_};
    };
    Run();
    ExpectFailed(kFile, 200, "Thread canceled.\n", "DmaDiag.ZelToHost: Thread canceled");
    InTrace::released.Open();
    AwaitWorkers();
    EXPECT_TRUE(InTrace::passed);
    EXPECT_THAT(Traced(DLVL_ERROR), ElementsAre(kHalfFailed));
}

TEST_F(DmaZelToHost, RunsAgainAfterACancelledPass) {
    BlockHostHalf();
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 200, "Thread canceled.\n"));
    AwaitWorkers();
    fakes::Vorl().Unblock();
    onSleep_ = nullptr;
    execute_ = [this](const std::string&) {
        AwaitOtherWorker();
        return ShellAnswer{.output = successText_};
    };
    Run();
    EXPECT_EQ(err_, "");
    EXPECT_THAT(out_, HasSubstr(PassLine()));
}

// As on a library that knows no ended thread: there is nothing to cancel, so the test goes on.
TEST_F(DmaZelToHost, JoinsAHostHalfThatCannotBeCancelled) {
    BlockHostHalf();
    fakes::Threads().Fail("pthread_cancel", ESRCH);
    execute_ = [this](const std::string&) {
        fakes::Vorl().Unblock();
        return ShellAnswer{.output = successText_};
    };
    // The half may end before it is asked for; then nothing is cancelled at all.
    Run();
    ExpectPassed();
    fakes::Threads().Reset();
}

TEST_F(DmaZelToHost, ReportsAHostHalfThatCannotBeJoined) {
    fakes::Threads().Fail("pthread_join", EINVAL, 1);
    Run();
    ExpectFailed(kFile, 207, "Could not join Accept thread.\n",
                 "DmaDiag.ZelToHost: Could not join 'Accept' thread");
}

// The error of the host's half stands before what follows from it.
TEST_F(DmaZelToHost, ReportsAHostHalfThatFailed) {
    fakes::Vorl().Fail("vorl_listen", EINVAL);
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 214, kThreadsFailed));
    EXPECT_THAT(SummaryErrors(),
                ElementsAre("DmaDiag.ZelToHost: 'vorl_listen' failed", kThreadsSummary));
    EXPECT_THAT(out_, HasSubstr("Listen ioctl failed with error 22\n"
                                "ZelToHostDMA::VorlAccept Test failed\n\n"));
    EXPECT_THAT(Traced(DLVL_ERROR), ElementsAre(kHalfFailed));
}

TEST_F(DmaZelToHost, TellsTheHostHalfsErrorAlsoWhenTheUploadIsLate) {
    Door released;
    waitForUpload_ = false;
    fakes::Vorl().Fail("vorl_bind", EADDRINUSE);
    upload_ = [&](const std::string&) {
        released.Await();
        return ShellAnswer{};
    };
    execute_ = [this](const std::string&) { return ShellAnswer{.output = successText_}; };
    onSleep_ = [this](unsigned seconds) {
        if (seconds == pollSeconds_)
            AwaitOtherWorker();
    };
    Run();
    EXPECT_THAT(SummaryErrors(),
                ElementsAre("DmaDiag.ZelToHost: 'vorl_bind' failed",
                            "DmaDiag.ZelToHost: 'vorl_connect_dma' returned error"));
    released.Open();
    AwaitWorkers();
}

TEST_F(DmaZelToHost, FailsWhenTheProgramDoesNotSayThatItSucceeded) {
    execute_ = [this](const std::string&) {
        AwaitOtherWorker();
        return ShellAnswer{.output = "nothing"};
    };
    Run();
    ExpectFailed(kFile, 214, kThreadsFailed, kThreadsSummary);
    EXPECT_THAT(out_, HasSubstr("\nAn error occurred in executing  vorl_connect_dma_zel_er1x : \n"
                                "ZelVorlConnectDMA Test success  not found in command output\n"
                                "Output from vorl_connect_dma_zel_er1x :: \n"
                                "nothing\n\n"));
}

TEST_F(DmaZelToHost, TheOtherProgramsSuccessIsNone) {
    execute_ = [this](const std::string&) {
        AwaitOtherWorker();
        return ShellAnswer{.output = "ZelVorlAcceptDMA Test success"};
    };
    Run();
    ExpectFailed(kFile, 214, kThreadsFailed, kThreadsSummary);
}

TEST_F(DmaZelToHost, AHalfThatEndedWithNothingMovedPasses) {
    fakes::Vorl().Return("vorl_recv", 0, 0, 4);
    Run();
    ExpectPassed();
}

TEST_F(DmaZelToHost, ReportsWorkersWhoseCancellationCannotBeSet) {
    constexpr char kType[] =
        "Failed to set cancel type of the thread in Host to Ostrel(R) Vimbra(TM) Coprocessor DMA "
        "\n";
    onSleep_ = [this](unsigned seconds) {
        if (seconds == kListenSeconds)
            AwaitWorkers();
    };
    fakes::Threads().Fail("pthread_setcanceltype", EINVAL);
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 214, kThreadsFailed));
    EXPECT_THAT(Traced(DLVL_ERROR), ElementsAre(kType));
    EXPECT_EQ(fakes::Vorl().CountOf("vorl_open"), 0U);

    fakes::Trace().Reset();
    fakes::Threads().Fail("pthread_setcancelstate", EINVAL);
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 214, kThreadsFailed));
    EXPECT_THAT(
        Traced(DLVL_ERROR),
        ElementsAre("Failed to set cancel state of the thread in Host to Coprocessor DMA \n"));
}

TEST_F(DmaZelToHost, ReportsAnUploadingWorkerWhoseCancellationCannotBeSet) {
    const std::pair<const char*, const char*> cases[] = {
        {"pthread_setcanceltype",
         "Failed to set cancel type of the thread in Host to Ostrel(R) Vimbra(TM) Coprocessor DMA "
         "\n"},
        {"pthread_setcancelstate",
         "Failed to set cancel state of the thread in Host to Ostrel(R) Vimbra(TM) Coprocessor "
         "DMA \n"}};
    waitForUpload_ = false;
    for (const auto& [function, text] : cases) {
        fakes::Trace().Reset();
        fakes::Vorl().BlockAccept();
        onSleep_ = [this, function = function](unsigned seconds) {
            if (seconds != kListenSeconds) {
                AwaitOtherWorker();
                return;
            }
            fakes::Vorl().AwaitBlocked();
            fakes::Threads().Fail(function, EINVAL);
        };
        Run();
        EXPECT_EQ(err_, FailLine(kFile, 183, kUploadFailed));
        EXPECT_THAT(Traced(DLVL_ERROR), ElementsAre(text));
        fakes::Vorl().Unblock();
        AwaitWorkers();
    }
}

TEST_F(DmaZelToHost, PassesHundredsOfTimesInARow) {
    for (int pass = 0; pass < 300; ++pass) {
        Run();
        ASSERT_EQ(group_.tstList[1].result, 0) << "pass " << pass << "\n" << err_;
    }
    EXPECT_EQ(group_.tstList[1].passCnt, 300);
}

}  // namespace
