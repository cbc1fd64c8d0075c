// What the host is asked: files, and the version of the installed software stack.
#include "CommonTool/Utils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <new>
#include <string>

#include "Fixture.h"

namespace {

constexpr char kQuery[] = "rpm -qi hosk-daemon | grep Version";

class HostQuery : public fakes::Fixture {
protected:
    static std::string VersionFrom(fakes::ShellAnswer answer) {
        fakes::Shell().Answer(kQuery, std::move(answer));
        return Utils::GetHOSKVersion();
    }
};

TEST_F(HostQuery, FindsFilesThatCanBeRead) {
    EXPECT_TRUE(Utils::FileExists("/proc/self/exe"));
    EXPECT_TRUE(Utils::FileExists("/dev/null"));
    EXPECT_FALSE(Utils::FileExists("/no/such/file"));
    EXPECT_FALSE(Utils::FileExists(""));
}

TEST_F(HostQuery, TakesAFolderAsTheStreamDoes) {
    EXPECT_TRUE(Utils::FileExists("/proc")) << "a folder can be opened; reading it would fail";
}

TEST_F(HostQuery, TakesTheThirdWord) {
    EXPECT_EQ(VersionFrom({"Version     : 3.1.2      Vendor: X\n", 0}), "3.1.2");
    EXPECT_EQ(VersionFrom({"Version : 3.1.2", 0}), "3.1.2");
    EXPECT_EQ(VersionFrom({"a b c d", 0}), "c");
    EXPECT_EQ(VersionFrom({"Version :\n3.1.2\nVersion : 9", 0}), "3.1.2") << "across lines";
}

TEST_F(HostQuery, IsNotAvailableWithoutAThirdWord) {
    EXPECT_EQ(VersionFrom({"", fakes::ShellAnswer::Exit(1)}), "NotAvailable");
    EXPECT_EQ(VersionFrom({" \n\t\n", 0}), "NotAvailable");
    EXPECT_EQ(VersionFrom({"Version", 0}), "NotAvailable");
    EXPECT_EQ(VersionFrom({"Version:  3.1.2", 0}), "NotAvailable");
}

TEST_F(HostQuery, DoesNotLookAtTheStatus) {
    EXPECT_EQ(VersionFrom({"Version : 3.1.2", fakes::ShellAnswer::Exit(1)}), "3.1.2");
}

TEST_F(HostQuery, IsNotAvailableWithoutAShell) {
    fakes::Shell().Refuse(kQuery);
    EXPECT_EQ(Utils::GetHOSKVersion(), "NotAvailable");
}

TEST_F(HostQuery, IsNotAvailableWithoutMemory) {
    fakes::Shell().OnCommand(
        [](const std::string&) -> fakes::ShellAnswer { throw std::bad_alloc(); });
    std::string version;
    EXPECT_NO_THROW(version = Utils::GetHOSKVersion());
    EXPECT_EQ(version, "NotAvailable");
}

TEST_F(HostQuery, FindsFilesWithoutMemoryForAStream) {
    fakes::Memory().FailArray();
    EXPECT_NO_THROW(EXPECT_TRUE(Utils::FileExists("/dev/null")));
    fakes::Memory().Reset();
}

TEST_F(HostQuery, IsSilentWhileItAsks) {
    fakes::CaptureOutput capture;
    fakes::Shell().OnCommand([](const std::string&) {
        std::fputs("sh: 1: rpm: not found\n", stderr);
        return fakes::ShellAnswer{};
    });
    EXPECT_EQ(Utils::GetHOSKVersion(), "NotAvailable");
    std::fputs("heard again\n", stderr);
    EXPECT_EQ(capture.Out(), "");
    EXPECT_EQ(capture.Err(), "heard again\n");
}

TEST_F(HostQuery, AsksWithoutAStandardError) {
    const int saved = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    EXPECT_EQ(VersionFrom({"Version : 3.1.2", 0}), "3.1.2");
    dup2(saved, STDERR_FILENO);
    close(saved);
}

}  // namespace
