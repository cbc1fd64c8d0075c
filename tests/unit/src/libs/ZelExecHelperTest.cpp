// Copy and run in one call: the order, the joined output, what is left when either fails.
#include "libs/ZelExecHelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"
#include "FakeLinks.h"
#include "Fixture.h"

namespace {

using ::testing::IsEmpty;

constexpr char kCopy[] = "/usr/bin/scp /opt/tools/prog  zel2:/  2>&1";
constexpr char kRun[] = "/usr/bin/ssh zel2  /prog 1 2";

// A helper that takes the reserved way.
class Launching : public ZelExecHelper {
public:
    Launching() { ZelExecHelperTool = RUXEXECTOOL; }
};

class ZelExec : public fakes::Fixture {
protected:
    ZelExec() {
        fakes::SetLink("/proc/self/exe", "/opt/tools/zeldiag");
        ShellExecuter::SetAppDirAccessPath();
        for (const char* file : {"/usr/bin/ssh", "/usr/bin/scp", "/opt/tools/prog"})
            fakes::Shell().SetFile(file, true);
        fakes::Shell().OnCommand(nullptr);
    }

    // The text of the exception; empty without one.
    std::string Execute(ZelExecHelper&& helper = ZelExecHelper()) {
        try {
            helper.Execute("prog", output_, "1 2", 2);
        } catch (const CommonException& failure) {
            return failure.what();
        }
        return "";
    }

    std::string output_ = "from before";
};

TEST_F(ZelExec, CopiesThenRuns) {
    fakes::Shell().Answer(kCopy, {"copied\n", 0});
    fakes::Shell().Answer(kRun, {"ran\n", 0});
    EXPECT_EQ(Execute(), "");
    EXPECT_EQ(output_, "copiedran");
}

TEST_F(ZelExec, DoesNotRunWhatWasNotCopied) {
    fakes::Shell().Answer(kCopy, {"refused", fakes::ShellAnswer::Exit(1)});
    EXPECT_EQ(Execute(), "upload command failed for the Card binary ::  prog");
    EXPECT_EQ(output_, "from before");
}

TEST_F(ZelExec, KeepsTheTextOfTheCopyWhenTheRunFails) {
    fakes::Shell().Answer(kCopy, {"copied", 0});
    fakes::Shell().Answer(kRun, {"crashed", fakes::ShellAnswer::Signal(11)});
    EXPECT_EQ(Execute(), "crashed");
    EXPECT_EQ(output_, "copied");
}

TEST_F(ZelExec, NeedsBothClientsBeforeAnyCommand) {
    fakes::Shell().SetFile("/usr/bin/ssh", false);
    EXPECT_EQ(Execute(), "Could not find ZelCmd path");
    fakes::Shell().SetFile("/usr/bin/scp", false);
    EXPECT_EQ(Execute(), "Upload tool not found in: /usr/bin/scp");
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

TEST_F(ZelExec, TheReservedWayDoesNothing) {
    for (const char* file : {"/usr/bin/ssh", "/usr/bin/scp", "/opt/tools/prog"})
        fakes::Shell().SetFile(file, false);
    EXPECT_EQ(Execute(Launching()), "");
    EXPECT_EQ(output_, "from before");
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

}  // namespace
