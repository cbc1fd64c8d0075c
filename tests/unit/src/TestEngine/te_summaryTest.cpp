// The run summary, and the two options in front of the command line.
#include "TestEngine/te_summary.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Fixture.h"

namespace {

using TE::TESummary;

const std::string kRule(78, '=');

class Summary : public fakes::Fixture {
protected:
    Summary() {
        for (const char* card : {"0", "1", "2", "12"})
            fakes::SetLink(std::string("/sys/class/zel/zel") + card,
                           std::string("../../devices/pci0000:00/0000:00:02.0/0000:0") + card +
                               ":00.0/zel/zel" + card);
    }

    // The words behind the program's name; the result and what was consumed.
    std::pair<int, int> Parse(std::vector<std::string> words) {
        words.insert(words.begin(), "ZelDiag");
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        int consumed = -1;
        const int rest =
            summary.ProcessGlobalOptions(static_cast<int>(words.size()), argv.data(), &consumed);
        return {rest, consumed};
    }

    std::string Send() {
        testing::internal::CaptureStdout();
        summary.SendSummaryToConsole();
        return testing::internal::GetCapturedStdout();
    }

    TESummary summary;
};

using Taken = std::pair<int, int>;

TEST_F(Summary, TakesLeadingOptions) {
    EXPECT_EQ(Parse({}), Taken(1, 0));
    EXPECT_EQ(Parse({"-core", "-summary"}), Taken(3, 0));
    EXPECT_EQ(Parse({"-Summary", "-core"}), Taken(3, 0));
    EXPECT_EQ(Parse({"-summary"}), Taken(1, 1));
    EXPECT_EQ(Parse({"-summary", "Core"}), Taken(2, 1));
    EXPECT_EQ(Parse({"-devicelist", "0", "-core", "-gec"}), Taken(3, 2));
    EXPECT_EQ(Parse({"-summary", "-devicelist", "0", "-core", "-gec"}), Taken(3, 3));
    EXPECT_EQ(Parse({"-devicelist", "0", "-summary", "-core", "-gec"}), Taken(3, 3));
}

TEST_F(Summary, StopsWhereCountAndIndexMeet) {
    EXPECT_EQ(Parse({"-devicelist", "0,1", "-summary", "Core"}), Taken(3, 2));
    EXPECT_EQ(Send(), "") << "-summary behind that place is not taken";
}

TEST_F(Summary, CountsAnArgumentListOfNothing) {
    int consumed = -1;
    EXPECT_EQ(summary.ProcessGlobalOptions(0, nullptr, &consumed), 0);
    EXPECT_EQ(consumed, 0);
}

TEST_F(Summary, RefusesMisuse) {
    // An exit from a death test prints on its standard error only what the test sends there.
    const auto onStderr = [](auto&& action) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        action();
    };
    EXPECT_EXIT(
        onStderr([&] {
            Parse({"-summary", "-summary", "Core"});
        }),
        testing::ExitedWithCode(1),
        "^ERROR: Global option '-summary' is allowed on the command line once pre execution "
        "of ZelDiag!\n$");
    EXPECT_EXIT(onStderr([&] {
                    Parse({"-devicelist", "0", "-devicelist", "1", "Core"});
                }),
                testing::ExitedWithCode(1),
                "^ERROR: Global option '-devicelist' cannot appear more than once per execution of "
                "ZelDiag!\n$");
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"-devicelist", "1a"}, {"-devicelist"}, {"-devicelist", "0 1"}})
        EXPECT_EXIT(
            onStderr([&] { Parse(words); }), testing::ExitedWithCode(1),
            "^ERROR: The argument to global option '-devicelist' must contain only commas or "
            "decimal digits!\n$");
}

TEST_F(Summary, SelectsCardsByList) {
    EXPECT_TRUE(summary.TestSpecifiedDeviceNumber(5)) << "no list selects all";
    Parse({"-devicelist", ",,3,,12", "x", "y"});
    EXPECT_TRUE(summary.TestSpecifiedDeviceNumber(3));
    EXPECT_TRUE(summary.TestSpecifiedDeviceNumber(12));
    EXPECT_FALSE(summary.TestSpecifiedDeviceNumber(0));
    EXPECT_FALSE(summary.TestSpecifiedDeviceNumber(1));
}

TEST_F(Summary, ListOfCommasSelectsAll) {
    Parse({"-devicelist", ",", "x", "y"});
    EXPECT_TRUE(summary.TestSpecifiedDeviceNumber(0));
}

TEST_F(Summary, NumberTooLargeForACardSelectsNone) {
    Parse({"-devicelist", "4294967296", "x", "y"});
    EXPECT_FALSE(summary.TestSpecifiedDeviceNumber(0));
}

TEST_F(Summary, ValidatesLists) {
    for (const auto& [text, valid] : std::vector<std::pair<const char*, bool>>{
             {"", true}, {",", true}, {"0,1", true}, {"1a", false}, {"-1", false}, {"1 ", false}})
        EXPECT_EQ(summary.validateCommaSeperatedListofDevices(text), valid) << text;
    EXPECT_FALSE(summary.validateCommaSeperatedListofDevices(nullptr));
}

TEST_F(Summary, FindsTheAddressInTheLink) {
    EXPECT_EQ(summary.GetPCIeFromDeviceNo(1), "0000:01:00.0");
    EXPECT_EQ(summary.GetPCIeFromDeviceNo(77), "PCIeNotFoundError");
    fakes::SetLink("/sys/class/zel/zel5", std::string(5000, 'x'));
    EXPECT_EQ(summary.GetPCIeFromDeviceNo(5), "PCIeNotFoundError");
    fakes::SetLink("/sys/class/zel/zel5", std::string(4096, 'x'));
    EXPECT_EQ(summary.GetPCIeFromDeviceNo(5), "PCIeNotFoundError");
    fakes::SetLink("/sys/class/zel/zel5", "a/zel/zel5");
    EXPECT_EQ(summary.GetPCIeFromDeviceNo(5), "a");
    fakes::SetLink("/sys/class/zel/zel5", "/zel/zel5");
    EXPECT_EQ(summary.GetPCIeFromDeviceNo(5), "");
}

TEST_F(Summary, EndsTheRunWithoutAnAddress) {
    fakes::SetLink("/sys/class/zel/zel5", "/zel/zel5");
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            summary.SetZelNumberAndVersions(5, "NA", "NA");
        },
        testing::ExitedWithCode(1),
        "^ERROR: The 'zel' driver module is not loaded! Was 'service hosk start' not run before "
        "'ZelDiag'!\n$");
}

TEST_F(Summary, ReportsCardsAndTheirErrors) {
    Parse({"-summary", "x"});
    summary.SetHOSKVersion("3.1");
    summary.SetZelNumberAndVersions(0, "2.1.02.0390", "1.16");
    summary.SetGroupName("CoreDiag");
    summary.SetZelNumberAndVersions(1, "NA", "1.17");
    summary.LogError("early");
    summary.SetGroupName("SmcDiag");
    summary.LogError("before a test");
    summary.SetTestName("Uuid");
    summary.LogError("Failed to get SMC UUID");
    summary.SetZelNumberAndVersions(12, "2", "3");
    summary.LogError("x");
    EXPECT_EQ(Send(), "\nHOSK Version: 3.1\n" + kRule +
                          "\nzel0 (0000:00:00.0; Flash=2.1.02.0390; SMC=1.16): PASSED\n"
                          "zel1 (0000:01:00.0; Flash=NA; SMC=1.17): FAILED (3)\n"
                          "  <none>.<none>: early\n"
                          "  SmcDiag.<none>: before a test\n"
                          "  SmcDiag.Uuid: Failed to get SMC UUID\n"
                          "zel12 (0000:012:00.0; Flash=2; SMC=3): FAILED (1)\n"
                          "  <none>.<none>: x\n" +
                          kRule + "\nZEL Card Numbers with Errors: 1,12\n");
}

TEST_F(Summary, SaysThatNothingFailed) {
    Parse({"-summary", "x"});
    EXPECT_EQ(Send(),
              "\nHOSK Version: \n" + kRule + "\n" + kRule + "\nNo ZEL Cards with Errors.\n");
}

TEST_F(Summary, ForgetsTheRunButNotTheOptions) {
    Parse({"-summary", "-devicelist", "0", "x", "y"});
    summary.SetHOSKVersion("3.1");
    summary.SetZelNumberAndVersions(0, "f", "s");
    summary.LogError("e");
    Send();
    EXPECT_EQ(Send(),
              "\nHOSK Version: \n" + kRule + "\n" + kRule + "\nNo ZEL Cards with Errors.\n");
    EXPECT_FALSE(summary.TestSpecifiedDeviceNumber(1));
}

TEST_F(Summary, ForgetsTheNamesOfTheRun) {
    Parse({"-summary", "x"});
    summary.SetZelNumberAndVersions(0, "f", "s");
    summary.SetGroupName("SmcDiag");
    summary.SetTestName("Uuid");
    Send();
    summary.LogError("m");
    summary.SetZelNumberAndVersions(0, "f", "s");
    EXPECT_NE(Send().find("FAILED (1)\n  .: m\n"), std::string::npos);
}

TEST_F(Summary, PrintsNothingUnlessAsked) {
    summary.SetZelNumberAndVersions(0, "f", "s");
    summary.LogError("e");
    EXPECT_EQ(Send(), "");
    Parse({"-summary", "x"});
    EXPECT_EQ(Send(),
              "\nHOSK Version: \n" + kRule + "\n" + kRule + "\nNo ZEL Cards with Errors.\n");
}

TEST_F(Summary, CutsErrorLines) {
    Parse({"-summary", "x"});
    summary.SetZelNumberAndVersions(0, "f", "s");
    summary.SetGroupName("G");
    summary.SetTestName("T");
    summary.LogError(std::string(1000, 'e').c_str());
    summary.LogError(std::string(248, 'e').c_str());
    const std::string longest = "  G.T: " + std::string(248, 'e');
    ASSERT_EQ(longest.size(), 255U);
    EXPECT_NE(Send().find("\n" + longest + "\n" + longest + "\n"), std::string::npos);
}

TEST_F(Summary, KeepsEqualLinesApartFromOthers) {
    Parse({"-summary", "x"});
    summary.SetZelNumberAndVersions(0, "f", "s");
    for (const char* error : {"a", "a", "b", "a", "a", "a"})
        summary.LogError(error);
    EXPECT_EQ(Send(), "\nHOSK Version: \n" + kRule +
                          "\nzel0 (0000:00:00.0; Flash=f; SMC=s): FAILED (6)\n"
                          "  <none>.<none>: a\n  <none>.<none>: a\n  <none>.<none>: b\n"
                          "  <none>.<none>: a\n  <none>.<none>: a\n  <none>.<none>: a\n" +
                          kRule + "\nZEL Card Numbers with Errors: 0\n");
}

TEST_F(Summary, TakesNoMemoryForLinesThatAreAlike) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's allocator does not tell what is in use";
#endif
    summary.SetZelNumberAndVersions(0, "f", "s");
    const auto before = mallinfo2().uordblks;
    for (int i = 0; i < 1000000; ++i)
        summary.LogError("Memory write verify failure");
    summary.SetZelNumberAndVersions(1, "f", "s");
    EXPECT_LT(mallinfo2().uordblks, before + 10000);
}

}  // namespace
