// Enabled cores, threads and CPU id.
#include "TestEngine/RunningTest.h"

namespace {

class EnabledCores : public RunningTest {
protected:
    static constexpr char kFile[] = "TestEngine/core/CoreDiagGetEnabledCores";
    EnabledCores() : RunningTest("-core", "-gec") {}
};

TEST_F(EnabledCores, ShowsTheCountAndPasses) {
    Run();
    EXPECT_EQ(out_, "Number of cores found: 60\nTest 1 Passed \n\n");
    ExpectPassed();
}

TEST_F(EnabledCores, PassesWithNone) {
    Card().cores = 0;
    ifstSetupParams.bQuietMode = 1;
    Run();
    EXPECT_EQ(out_, "Number of cores found: 0\n") << "shown in quiet mode too";
    EXPECT_EQ(err_, "");
}

TEST_F(EnabledCores, FailsWhenItCannotRead) {
    fakes::ZelAccess().Fail("ZelGetNumCores", 13);
    Run();
    ExpectFailed(kFile, 26, "Could not get number of cores.\n",
                 "CoreDiag.Cores: Could not get number of cores");
}

TEST_F(EnabledCores, FailsWhenTheLibraryIsNotOpen) {
    RunWithoutHandle();
    ExpectFailed(kFile, 37, "Access handle is NULL\n",
                 "CoreDiag.Cores: Test execution failed for unknown reason");
}

TEST_F(EnabledCores, GivesTheVerdictBeforeItTellsTheSummary) {
    fakes::ZelAccess().Fail("ZelGetNumCores", 13);
    EXPECT_EQ(ErrorsBeforeVerdict(), 0);
    EXPECT_EQ(SummaryErrors().size(), 1U);
}

class Threads : public RunningTest {
protected:
    static constexpr char kFile[] = "TestEngine/core/CoreDiagGetNumThreads";
    Threads() : RunningTest("-core", "-gnt") {}
};

TEST_F(Threads, PassesWithFourOnEveryCore) {
    for (const U32 mask : {0xFU, 0xFFFFFFFFU, 0xABCDEF0FU}) {
        fakes::Trace().Reset();
        Card().registers[0x1AB30] = mask;
        Run();
        ExpectPassed();
        EXPECT_EQ(Traced(DLVL_DIAG1),
                  (Texts{"Number of threads per core: 4\n", "Number of total threads: 240\n"}));
    }
}

TEST_F(Threads, FailsWithAnyOtherMask) {
    for (U32 mask = 0; mask < 0xF; ++mask) {
        BeginSummary();
        Card().registers[0x1AB30] = mask;
        Run();
        ExpectFailed(kFile, 57, "Invalid number of threads found.\n",
                     "CoreDiag.Threads: Invalid number of threads found");
    }
    EXPECT_EQ(fakes::ZelAccess().CountOf("ZelGetNumCores"), 0U);
}

TEST_F(Threads, FailsWhenTheRegisterCannotBeRead) {
    fakes::ZelAccess().Fail("ZelReadMMIOReg", 13);
    Run();
    ExpectFailed(kFile, 28, "Could not get number of threads.\n",
                 "CoreDiag.Threads: Could not get number of threads");
    EXPECT_EQ(fakes::ZelAccess().Calls().back(), "ZelReadMMIOReg(0x1AB30)");
}

TEST_F(Threads, FailsWhenTheCoresCannotBeRead) {
    fakes::ZelAccess().Fail("ZelGetNumCores", 13);
    Run();
    ExpectFailed(kFile, 65, "Could not get number of cores.\n",
                 "CoreDiag.Threads: Could not get number of cores");
}

TEST_F(Threads, FailsWhenTheLibraryIsNotOpen) {
    RunWithoutHandle();
    ExpectFailed(kFile, 77, "Access handle is NULL\n",
                 "CoreDiag.Threads: Test execution failed for unknown reason");
}

class CpuId : public RunningTest {
protected:
    static constexpr char kFile[] = "TestEngine/core/CoreDiagGetCPUID";
    CpuId() : RunningTest("-core", "-gid") {}
};

TEST_F(CpuId, DecodesTheRegister) {
    Card().registers[0x1AB54] = 0x0B9EBA98;
    Run();
    ExpectPassed();
    EXPECT_EQ(
        Traced(DLVL_DIAG1),
        (Texts{"Extended Family id: 0x0b\n", "Extended Model id: 0x9\n", "Processor Type: 0x2\n",
               "Family id: 0xb\n", "Model: 0xa\n", "Stepping id: 0x9\n", "Sub Stepping: 0x8\n"}));
}

TEST_F(CpuId, FailsWithAnotherFamily) {
    Card().registers[0x1AB54] = 0xFFFFAFFF;
    Run();
    ExpectFailed(kFile, 43, "FAILED to find Coprocessor Family ID \n",
                 "CoreDiag.CPUID: Failed to find Coprocessor Family ID");
    EXPECT_EQ(Traced(DLVL_DIAG1).size(), 7U) << "the fields are shown before the verdict";
}

TEST_F(CpuId, FailsWhenItCannotRead) {
    fakes::ZelAccess().Fail("ZelReadMMIOReg", 13);
    Run();
    ExpectFailed(kFile, 27, "Could not get CPU information\n",
                 "CoreDiag.CPUID: Could not get CPU information");
    EXPECT_EQ(fakes::ZelAccess().Calls().back(), "ZelReadMMIOReg(0x1AB54)");
}

TEST_F(CpuId, FailsWhenTheLibraryIsNotOpen) {
    RunWithoutHandle();
    ExpectFailed(kFile, 53, "Access handle is NULL\n",
                 "CoreDiag.CPUID: Test execution failed for unknown reason");
}

}  // namespace
