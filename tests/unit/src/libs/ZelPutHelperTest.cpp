// Copies to a card: the command line, what becomes of its output, what is refused before it runs.
#include "libs/ZelPutHelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"
#include "FakeLinks.h"
#include "Fixture.h"

namespace {

using ::testing::IsEmpty;
using Files = std::vector<std::string>;

class ZelPut : public fakes::Fixture {
protected:
    ZelPut() {
        fakes::SetLink("/proc/self/exe", "/opt/tools/zeldiag");
        ShellExecuter::SetAppDirAccessPath();
        fakes::Shell().SetFile("/usr/bin/scp", true);
        for (const char* name : {"prog", "one", "two", "three"})
            fakes::Shell().SetFile(std::string("/opt/tools/") + name, true);
        // Scripted from the start: no test of these reaches a real shell.
        fakes::Shell().OnCommand(nullptr);
    }

    // The text of the exception; empty without one.
    template <typename What>
    std::string Upload(const What& what, const std::string& folder = "/", short device = 0) {
        ZelPutHelper helper;
        try {
            helper.Upload(what, output_, device, folder);
        } catch (const CommonException& failure) {
            return failure.what();
        }
        return "";
    }

    std::string output_ = "from before";
};

TEST_F(ZelPut, NeedsTheSecureCopy) {
    EXPECT_NO_THROW(ZelPutHelper());
    fakes::Shell().SetFile("/usr/bin/scp", false);
    EXPECT_THAT([] { ZelPutHelper(); },
                testing::ThrowsMessage<CommonException>("Upload tool not found in: /usr/bin/scp"));
}

TEST_F(ZelPut, CopiesAFileBesideTheTool) {
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/prog  zel0:/  2>&1", {"copied \n", 0});
    EXPECT_EQ(Upload(std::string("prog")), "");
    EXPECT_EQ(output_, "copied");
}

TEST_F(ZelPut, NamesCardAndFolder) {
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/prog  zel12:/some/folder/  2>&1");
    EXPECT_EQ(Upload(std::string("prog"), "/some/folder/", 12), "");
    EXPECT_EQ(output_, "") << "a copy that says nothing leaves nothing of before";
}

TEST_F(ZelPut, RefusesAMissingFileBeforeAnyCommand) {
    fakes::Shell().SetFile("/opt/tools/prog", false);
    EXPECT_EQ(Upload(std::string("prog")), "File to upload was not found");
    EXPECT_EQ(output_, "from before");
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

TEST_F(ZelPut, LooksBesideTheToolOnly) {
    fakes::Shell().SetFile("/tmp/prog", true);
    EXPECT_EQ(Upload(std::string("/tmp/prog")), "File to upload was not found");
}

TEST_F(ZelPut, TellsTheShortNameOfACopyThatFails) {
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/prog  zel0:/  2>&1",
                          {"No space left on device\n", fakes::ShellAnswer::Exit(1)});
    EXPECT_EQ(Upload(std::string("prog")), "upload command failed for the Card binary ::  prog");
    EXPECT_EQ(output_, "No space left on device");
}

TEST_F(ZelPut, ACopyKilledByASignalFails) {
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/prog  zel0:/  2>&1",
                          {"", fakes::ShellAnswer::Signal(15)});
    EXPECT_EQ(Upload(std::string("prog")), "upload command failed for the Card binary ::  prog");
    EXPECT_EQ(output_, "");
}

TEST_F(ZelPut, ThrowsWhenNoCommandCanBeStarted) {
    const std::string command = "/usr/bin/scp /opt/tools/prog  zel0:/  2>&1";
    fakes::Shell().Refuse(command);
    EXPECT_EQ(Upload(std::string("prog")), "Could not open file descriptor to " + command);
    EXPECT_EQ(output_, "from before");
}

TEST_F(ZelPut, CopiesAListInItsOrder) {
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/two  zel1:/  2>&1", {"2", 0});
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/one  zel1:/  2>&1", {"1", 0});
    EXPECT_EQ(Upload(Files{"two", "one"}, "/", 1), "");
    EXPECT_EQ(output_, "from before21");
}

TEST_F(ZelPut, AnEmptyListDoesNothing) {
    EXPECT_EQ(Upload(Files{}), "");
    EXPECT_EQ(output_, "from before");
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

TEST_F(ZelPut, AListEndsAtItsFirstFailure) {
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/one  zel0:/  2>&1", {"1", 0});
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/two  zel0:/  2>&1",
                          {"refused", fakes::ShellAnswer::Exit(1)});
    EXPECT_EQ(Upload(Files{"one", "two", "three"}),
              "upload command failed for the Card binary ::  two");
    EXPECT_EQ(output_, "from before1") << "the text of the copy that failed is not added";
}

TEST_F(ZelPut, AListEndsAtAMissingFile) {
    fakes::Shell().SetFile("/opt/tools/two", false);
    fakes::Shell().Answer("/usr/bin/scp /opt/tools/one  zel0:/  2>&1", {"1", 0});
    EXPECT_EQ(Upload(Files{"one", "two", "three"}), "File to upload was not found");
    EXPECT_EQ(output_, "from before1");
}

}  // namespace
