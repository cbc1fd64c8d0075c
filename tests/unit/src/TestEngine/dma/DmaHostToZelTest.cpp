#include <gmock/gmock.h>
#include <sched.h>

#include <cerrno>

#include "CommonException.h"
#include "DmaTest.h"
#include "TestEngine/dma/Dma.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kFile[] = "TestEngine/dma/DmaHostToZel";
constexpr char kConnectFailed[] = " Failed -- vorl_connect_dma returned error  \n";
constexpr char kConnectSummary[] = "DmaDiag.HostToZel: 'vorl_connect_dma' returned error";
constexpr char kWorkerFailed[] =
    "Failed -- threadFuncVorlAccept retval threadFuncVorlAccept returned non zero value\n";
constexpr char kWorkerSummary[] =
    "DmaDiag.HostToZel: 'threadFuncVorlAccept' returned non zero value";
constexpr char kEr1x[] = "vorl_accept_dma_zel_er1x";
constexpr char kEv1x[] = "vorl_accept_dma_zel_ev1x";

class DmaHostToZel : public DmaTest {
protected:
    DmaHostToZel() : DmaTest("-vdh2l", "vorl_accept_dma_zel", "ZelVorlAcceptDMA Test success") {
        pollSeconds_ = 3;
    }

    // The exchange passed, and then the worker failed: both are told, the last decides.
    void ExpectPassedThenFailed() {
        EXPECT_THAT(out_, HasSubstr(PassLine()));
        EXPECT_EQ(err_, FailLine(kFile, 182, kWorkerFailed));
        EXPECT_THAT(SummaryErrors(), ElementsAre(kWorkerSummary));
        EXPECT_EQ(group_.tstList[group_.curTest].result, 1);
        EXPECT_EQ(EventCount(), 0);
    }
};

TEST_F(DmaHostToZel, PassesWhenBothHalvesDo) {
    Run();
    ExpectPassed();
    EXPECT_THAT(out_, HasSubstr("HostToZelDMA::VorlConnect Test success\n\n"));
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEr1x), Execution(kEr1x)));
    EXPECT_THAT(done_, Contains("vorl_connect(3, 1:130)"));
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), IsEmpty());
}

TEST_F(DmaHostToZel, ConnectsToTheNodeBehindTheCards) {
    Card().node = 4;
    Run();
    ExpectPassed();
    EXPECT_THAT(done_, Contains("vorl_connect(3, 5:130)"));
}

TEST_F(DmaHostToZel, RunsTheProgramOfTheOlderGenerationThere) {
    Card() = fakes::Card::OlderGeneration();
    Run();
    ExpectPassed();
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEv1x), Execution(kEv1x)));
}

TEST_F(DmaHostToZel, ANameThatBeginsWithTheBrandTextIsOfTheCurrentGeneration) {
    Card().name += " 7120";
    Run();
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEr1x), Execution(kEr1x)));
}

TEST_F(DmaHostToZel, ABeginningOfTheBrandTextIsNotOfTheCurrentGeneration) {
    Card().name.pop_back();
    Run();
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEv1x), Execution(kEv1x)));
}

TEST_F(DmaHostToZel, WithoutAnOpenCardTakesTheOlderProgramAndTheHostsNode) {
    OpenLibrary();
    Run();
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre(Upload(kEv1x, -1), Execution(kEv1x, -1)));
    EXPECT_THAT(done_, Contains("vorl_connect(3, 0:130)"));
}

TEST_F(DmaHostToZel, AsksForTheHandleBeforeAnythingElse) {
    group_.frontEnd->gen->valid = 0;
    EXPECT_THROW(Dma_DmaHostToZel(Block()), CommonException);
    EXPECT_EQ(NameInSummary(), "DmaDiag.<none>");
    EXPECT_EQ(EventCount(), 77);
}

TEST_F(DmaHostToZel, DoesNothingWhileTheGroupIsNotValid) {
    group_.frontEnd->gen->valid = 0;
    Run(0);
    EXPECT_EQ(NameInSummary(), "DmaDiag.HostToZel");
    EXPECT_EQ(EventCount(), 77);
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
    EXPECT_THAT(done_, IsEmpty());
}

TEST_F(DmaHostToZel, ReportsAWorkerThatDoesNotStart) {
    fakes::Threads().Fail("pthread_create", EAGAIN);
    Run();
    ExpectFailed(kFile, 133, " Failed -- threadFuncVorlAccept returned error  \n",
                 "DmaDiag.HostToZel: 'threadFuncVorlAccept' returned error");
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

TEST_F(DmaHostToZel, GivesUpAfter36SecondsOfUpload) {
    Door released;
    waitForUpload_ = false;
    upload_ = [&](const std::string&) {
        released.Await();
        return ShellAnswer{};
    };
    Run();
    ExpectFailed(kFile, 153, kConnectFailed, kConnectSummary);
    EXPECT_EQ(LinesWith("sleep(3)").size(), 12U);
    EXPECT_EQ(fakes::Vorl().CountOf("vorl_open"), 0U);
    released.Open();
    AwaitWorkers();
}

TEST_F(DmaHostToZel, TakesAnUploadThatEndsInTheLastPause) {
    Door released;
    waitForUpload_ = false;
    upload_ = [&](const std::string&) {
        released.Await();
        return ShellAnswer{};
    };
    unsigned pauses = 0;
    onSleep_ = [&](unsigned) {
        if (++pauses == 12) {
            released.Open();
            executing_.Await();
        }
    };
    Run();
    ExpectPassed();
    EXPECT_EQ(pauses, 12U);
}

// What a worker does that was given up must not count for the pass after it.
TEST_F(DmaHostToZel, AnUploadOfThePassBeforeIsNotTakenForThisOne) {
    Door first;
    Door second;
    std::atomic<int> uploads{0};
    waitForUpload_ = false;
    upload_ = [&](const std::string&) {
        (uploads++ == 0 ? first : second).Await();
        return ShellAnswer{};
    };
    onSleep_ = [&](unsigned) {
        while (uploads == 0)
            sched_yield();
    };
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 153, kConnectFailed));
    onSleep_ = [&](unsigned) {
        first.Open();
        executing_.Await();
    };
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 153, kConnectFailed));
    EXPECT_EQ(LinesWith("sleep(3)").size(), 12U);
    second.Open();
    AwaitWorkers();
}

TEST_F(DmaHostToZel, ReportsAnExchangeThatFailed) {
    fakes::Vorl().Fail("vorl_bind", EADDRINUSE);
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 167, kConnectFailed));
    EXPECT_THAT(SummaryErrors(),
                ElementsAre("DmaDiag.HostToZel: 'vorl_bind' failed", kConnectSummary));
    EXPECT_THAT(out_, Not(HasSubstr("Passed")));
    EXPECT_EQ(EventCount(), 0);
}

TEST_F(DmaHostToZel, LeavesTheWorkerRunningWhenTheExchangeFailed) {
    Door released;
    execute_ = [&](const std::string&) {
        released.Await();
        return ShellAnswer{.output = "too late"};
    };
    fakes::Vorl().Fail("vorl_connect", ECONNREFUSED, 0, 2);
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 167, kConnectFailed));
    released.Open();
    AwaitWorkers();
}

TEST_F(DmaHostToZel, ReportsAWorkerThatCannotBeJoined) {
    fakes::Threads().Fail("pthread_join", EINVAL);
    Run();
    EXPECT_THAT(out_, HasSubstr(PassLine()));
    EXPECT_EQ(err_, FailLine(kFile, 175, "could not join the thread.\n"));
    EXPECT_THAT(SummaryErrors(), ElementsAre("DmaDiag.HostToZel: Could not join the thread"));
    EXPECT_EQ(EventCount(), 0);
}

TEST_F(DmaHostToZel, FailsAfterAllWhenTheProgramDoesNotSayThatItSucceeded) {
    execute_ = [](const std::string&) { return ShellAnswer{.output = "ZelVorlAcceptDMA Test"}; };
    Run();
    ExpectPassedThenFailed();
    EXPECT_THAT(out_, HasSubstr("\nAn error occurred in executing  vorl_accept_dma_zel_er1x : \n"
                                "ZelVorlAcceptDMA Test success  not found in command output \n"
                                "Output from vorl_accept_dma_zel_er1x :: \n"
                                "ZelVorlAcceptDMA Test\n\n"));
}

TEST_F(DmaHostToZel, TheOtherProgramsSuccessIsNone) {
    execute_ = [](const std::string&) {
        return ShellAnswer{.output = "ZelVorlConnectDMA Test success"};
    };
    Run();
    ExpectPassedThenFailed();
}

TEST_F(DmaHostToZel, FailsAfterAllWhenTheProgramEndsWithAnError) {
    execute_ = [](const std::string&) {
        return ShellAnswer{.output = "word 3 is wrong", .status = ShellAnswer::Exit(1)};
    };
    Run();
    ExpectPassedThenFailed();
    EXPECT_THAT(out_, HasSubstr("\nAn error occurred in executing  vorl_accept_dma_zel_er1x : \n"
                                "word 3 is wrong\n"
                                "Output from vorl_accept_dma_zel_er1x :: \n\n\n"));
}

TEST_F(DmaHostToZel, ShowsAnUploadThatFailedAndWaitsForItInVain) {
    waitForUpload_ = false;
    upload_ = [](const std::string&) {
        return ShellAnswer{.output = "no route", .status = ShellAnswer::Exit(1)};
    };
    onSleep_ = [this](unsigned) { AwaitWorkers(); };
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 153, kConnectFailed));
    EXPECT_THAT(out_,
                HasSubstr("\nAn error occurred in uploading  vorl_accept_dma_zel_er1x : \n"
                          "upload command failed for the Card binary ::  vorl_accept_dma_zel_er1x\n"
                          "Output from vorl_accept_dma_zel_er1x :: \n"
                          "no route\n\n"));
}

// The clients and the program are looked for within the worker.
TEST_F(DmaHostToZel, ShowsWhatIsMissingOnTheHost) {
    const std::pair<const char*, const char*> cases[] = {
        {"/usr/bin/scp", "Upload tool not found in: /usr/bin/scp"},
        {"/usr/bin/ssh", "Could not find ZelCmd path"},
        {"/opt/tools/vorl_accept_dma_zel_er1x", "File to upload was not found"}};
    waitForUpload_ = false;
    onSleep_ = [this](unsigned) { AwaitWorkers(); };
    for (const auto& [file, text] : cases) {
        fakes::Shell().SetFile(file, false);
        Run();
        EXPECT_EQ(err_, FailLine(kFile, 153, kConnectFailed)) << file;
        EXPECT_THAT(
            out_,
            HasSubstr("\nAn error occurred in uploading  vorl_accept_dma_zel_er1x : \n" +
                      std::string(text) + "\nOutput from vorl_accept_dma_zel_er1x :: \n\n\n"));
        fakes::Shell().SetFile(file, true);
    }
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

TEST_F(DmaHostToZel, LooksForTheClientsBeforeItAllowsCancellation) {
    waitForUpload_ = false;
    onSleep_ = [this](unsigned) { AwaitWorkers(); };
    fakes::Shell().SetFile("/usr/bin/ssh", false);
    fakes::Threads().Fail("pthread_setcanceltype", EINVAL);
    Run();
    EXPECT_THAT(out_, HasSubstr("Could not find ZelCmd path"));
    EXPECT_EQ(err_, FailLine(kFile, 153, kConnectFailed));
    fakes::Threads().Reset();  // the failure that nothing met
}

TEST_F(DmaHostToZel, ReportsAWorkerWhoseCancellationCannotBeSet) {
    waitForUpload_ = false;
    onSleep_ = [this](unsigned) { AwaitWorkers(); };
    fakes::Threads().Fail("pthread_setcanceltype", EINVAL);
    Run();
    EXPECT_EQ(err_, FailLine(kFile, 43,
                             "Failed to detach the thread in Host to Ostrel(R) Vimbra(TM) "
                             "Coprocessor DMA \n") +
                        FailLine(kFile, 153, kConnectFailed));
    EXPECT_THAT(Traced(DLVL_ERROR),
                ElementsAre("Failed to set cancel type of the thread in Host to  Ostrel(R) "
                            "Vimbra(TM) Coprocessor DMA \n"));

    fakes::Trace().Reset();
    fakes::Threads().Fail("pthread_setcancelstate", EINVAL);
    Run();
    EXPECT_EQ(err_,
              FailLine(kFile, 53, "Failed to detach the thread in Host to  Coprocessor DMA \n") +
                  FailLine(kFile, 153, kConnectFailed));
    EXPECT_THAT(
        Traced(DLVL_ERROR),
        ElementsAre("Failed to set cancel state of the thread in Host to Coprocessor DMA \n"));
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

TEST_F(DmaHostToZel, PassesHundredsOfTimesInARow) {
    for (int pass = 0; pass < 300; ++pass) {
        Run();
        ASSERT_EQ(group_.tstList[0].result, 0) << "pass " << pass << "\n" << err_;
    }
    EXPECT_EQ(group_.tstList[0].passCnt, 300);
    EXPECT_THAT(SummaryErrors(), IsEmpty());
}

}  // namespace
