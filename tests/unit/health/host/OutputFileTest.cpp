// Files that are there as a whole or not at all.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <csignal>
#include <cstddef>

#include "host/DurableFile.h"
#include "host/OutputFile.h"
#include "host/Scratch.h"

namespace zelhealth {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

std::size_t FilesIn(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

void WriteFile(const fs::path& file, const std::string& text) {
    OutputFile out(file);
    out.Write(text);
    out.Commit();
}

// From here on no file system of this process knows files without a name.
void ForbidUnnamedFiles() {
    constexpr auto kFlags = static_cast<std::uint32_t>(offsetof(seccomp_data, args[2]));
    constexpr std::uint32_t kUnnamed = O_TMPFILE & ~O_DIRECTORY;
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kFlags),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kUnnamed, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {std::size(steps), steps};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        _exit(2);
    }
}

TEST(OutputFile, IsThereOnceItIsWhole) {
    const Scratch scratch;
    const fs::path file = scratch.Write("out", "old", fs::perms(0600));
    {
        OutputFile discarded(file);
        discarded.Write(std::string(200000, 'x'));
        EXPECT_EQ(ReadText(file), "old");
    }
    EXPECT_EQ(ReadText(file), "old");
    OutputFile out(file);
    out.Write("new");
    out.Commit();
    EXPECT_EQ(ReadText(file), "new");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    EXPECT_EQ(FilesIn(scratch.Path()), 1U);
}

TEST(OutputFile, IsForAllToReadAndFollowsLinks) {
    const Scratch scratch;
    fs::create_symlink("folder/place", scratch / "link");
    fs::create_directory(scratch / "folder");
    const mode_t mask = umask(077);
    WriteFile(scratch / "link", "text");
    umask(mask);
    EXPECT_TRUE(fs::is_symlink(scratch / "link"));
    EXPECT_EQ(ReadText(scratch / "folder" / "place"), "text");
    EXPECT_EQ(fs::status(scratch / "folder" / "place").permissions(), fs::perms(0644));
}

TEST(OutputFile, LeavesNothingBehindWhenItsWriterIsKilled) {
    const Scratch scratch;
    scratch.Write("out", "old");
    EXPECT_EXIT(
        {
            OutputFile out(scratch / "out");
            out.Write(std::string(200000, 'x'));
            (void)raise(SIGKILL);
        },
        ::testing::KilledBySignal(SIGKILL), "");
    EXPECT_EQ(ReadText(scratch / "out"), "old");
    EXPECT_EQ(FilesIn(scratch.Path()), 1U);
}

TEST(OutputFile, HasANameWhereItCannotBeWithout) {
    const Scratch scratch;
    scratch.Write("out", "old", fs::perms(0600));
    EXPECT_EXIT(
        {
            ForbidUnnamedFiles();
            {
                OutputFile discarded(scratch / "out");
                discarded.Write("x");
                if (FilesIn(scratch.Path()) != 2) {
                    _exit(1);
                }
            }
            WriteFile(scratch / "out", "new");
            _exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(ReadText(scratch / "out"), "new");
    EXPECT_EQ(fs::status(scratch / "out").permissions(), fs::perms(0600));
    EXPECT_EQ(FilesIn(scratch.Path()), 1U);
}

// What is there already in the file that a descriptor is of stays.
TEST(OutputFile, WritesToDescriptorsAsTheyAre) {
    const Scratch scratch;
    scratch.Write("log", "before\n");
    const Descriptor log(open((scratch / "log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    ASSERT_TRUE(log.IsOpen());
    const std::string name = "/dev/fd/" + std::to_string(log.Get());
    WriteFile(name, "text\n");
    fs::create_symlink(name, scratch / "link");
    WriteFile(scratch / "link", "more\n");
    EXPECT_EQ(ReplaceDurably(name, "last\n"), "");
    EXPECT_EQ(ReadText(scratch / "log"), "before\ntext\nmore\nlast\n");
    EXPECT_TRUE(fs::is_symlink(scratch / "link"));
    EXPECT_THROW(OutputFile("/dev/fd/999999"), std::runtime_error);
}

TEST(OutputFile, SaysWhatCannotBeWritten) {
    EXPECT_THROW(OutputFile("/nowhere/x"), std::runtime_error);
    EXPECT_THROW(OutputFile("/proc/x"), std::runtime_error);
    const Scratch scratch;
    EXPECT_THROW(OutputFile(scratch.Path()), std::runtime_error);
    OutputFile full("/dev/full");
    full.Write("x");
    try {
        full.Commit();
        ADD_FAILURE() << "nothing was said";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "/dev/full: cannot be written: No space left on device");
    }
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST(OutputFile, StaysAsItWasWhereItCannotGrow) {
    const Scratch scratch;
    scratch.Write("out", "old");
    EXPECT_EXIT(
        {
            rlimit few{};
            few.rlim_cur = few.rlim_max = 1000;
            (void)std::signal(SIGXFSZ, SIG_IGN);
            (void)setrlimit(RLIMIT_FSIZE, &few);
            const std::string fault = ReplaceDurably(scratch / "out", std::string(200000, 'x'));
            _exit(fault.ends_with("/out: cannot be written: File too large") ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(ReadText(scratch / "out"), "old");
    EXPECT_EQ(FilesIn(scratch.Path()), 1U);
}

// What is in the way of the name at the end is told, and the name that it had for a moment goes.
TEST(OutputFile, LeavesNothingBehindWhereItsPlaceIsTaken) {
    const Scratch scratch;
    {
        OutputFile out(scratch / "out");
        fs::create_directories(scratch / "out" / "folder");
        EXPECT_THROW(out.Commit(), std::runtime_error);
    }
    EXPECT_EQ(FilesIn(scratch.Path()), 1U);
}

TEST(DurableFile, IsReplacedAsAWhole) {
    const Scratch scratch;
    const auto file = scratch / "new" / "folder" / "file";
    ASSERT_EQ(ReplaceDurably(file, "one"), "");
    const std::string large(1UL << 20U, 'x');
    ASSERT_EQ(ReplaceDurably(file, large), "");
    EXPECT_EQ(ReadText(file), large);
    EXPECT_EQ(FilesIn(file.parent_path()), 1U);
    EXPECT_EQ(RemoveDurably(file), "");
    EXPECT_EQ(RemoveDurably(file), "");
    EXPECT_THAT(ReplaceDurably("/dev/null/file", "x"), HasSubstr("/dev/null"));
}

TEST(DurableFile, MayBeNamedWithoutAFolder) {
    const Scratch scratch;
    const fs::path before = fs::current_path();
    fs::current_path(scratch.Path());
    EXPECT_EQ(ReplaceDurably("file", "one"), "");
    EXPECT_EQ(ReplaceDurably("new/file", "two"), "");
    fs::current_path(before);
    EXPECT_EQ(ReadText(scratch / "file"), "one");
    EXPECT_EQ(ReadText(scratch / "new" / "file"), "two");
}

}  // namespace
}  // namespace zelhealth
