// Notes of modes on the disk.
#include "host/ModeFile.h"

#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <mutex>

#include "Scratch.h"

namespace {

std::mutex mutex;  // of what follows, which cards that are restored side by side share
std::vector<std::string> synchronised;

}  // namespace

// In the place of libc's: what is synchronised, in order.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's are reserved names
extern "C" int fsync(int file) {
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    {
        const std::lock_guard lock(mutex);
        synchronised.push_back(std::filesystem::read_symlink(link));
    }
    return static_cast<int>(syscall(SYS_fsync, file));
}

namespace zelhealth {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

ModeNote Note(const std::string& pcie = "0000:02:00.0") {
    return {.pcie = pcie,
            .uuid = "00112233-4455-6677-8899-aabbccddeeff",
            .found = "normal",
            .ours = {"offline", "memdiag"},
            .time = "2026-11-21T20:15:04.123Z",
            .boot = "b",
            .run = "zelhealth run --plan thorough"};
}

class ModeFileTest : public testing::Test {
protected:
    Scratch scratch_;
    std::filesystem::path folder_ = scratch_ / "lib/zeldiag/modes";
    ModeFiles files_{folder_};
};

TEST_F(ModeFileTest, WhatIsWrittenIsRead) {
    ASSERT_EQ(files_.Write(Note()), "");
    ASSERT_EQ(files_.Write(Note("0000:03:00.0")), "");
    const auto stored = files_.Read("0000:02:00.0");
    ASSERT_TRUE(stored && stored->note);
    EXPECT_EQ(*stored->note, Note());
    EXPECT_THAT(files_.ReadAll(), SizeIs(2));
}

// What is not on the disk is lost with the host's power: the text has to be there before the name, and
// the name before the card moves.
TEST_F(ModeFileTest, IsOnTheDiskTextFirst) {
    std::filesystem::create_directories(folder_);
    synchronised.clear();
    ASSERT_EQ(files_.Write(Note()), "");
    EXPECT_THAT(synchronised, testing::ElementsAre(testing::StartsWith(folder_.string() + "/"),
                                                   folder_.string()));
    synchronised.clear();
    ASSERT_EQ(files_.Remove("0000:02:00.0"), "");
    EXPECT_THAT(synchronised, testing::ElementsAre(folder_.string()));
}

TEST_F(ModeFileTest, TheFolderIsOnTheDiskToo) {
    synchronised.clear();
    ASSERT_EQ(files_.Write(Note()), "");
    EXPECT_THAT(synchronised,
                testing::ElementsAre(scratch_.Path().string(), scratch_ / "lib",
                                     scratch_ / "lib/zeldiag", testing::_, folder_.string()));
}

TEST_F(ModeFileTest, NoneIsNoFault) {
    EXPECT_FALSE(files_.Read("0000:02:00.0"));
    EXPECT_THAT(files_.ReadAll(), IsEmpty());
    EXPECT_EQ(files_.Remove("0000:02:00.0"), "");
}

TEST_F(ModeFileTest, OneThatIsRemovedIsGone) {
    ASSERT_EQ(files_.Write(Note()), "");
    EXPECT_EQ(files_.Remove("0000:02:00.0"), "");
    EXPECT_FALSE(files_.Read("0000:02:00.0"));
}

// A host that lost its power while the file was written has the one beside it, and nothing has moved yet.
TEST_F(ModeFileTest, OneThatWasNotFinishedIsNone) {
    scratch_.Write("lib/zeldiag/modes/0000:02:00.0.json.new", "{\"pcie\":");
    EXPECT_FALSE(files_.Read("0000:02:00.0"));
    EXPECT_THAT(files_.ReadAll(), IsEmpty());
    EXPECT_EQ(files_.Write(Note()), "");
    EXPECT_TRUE(files_.Read("0000:02:00.0")->note);
}

class WrongModeFile : public ModeFileTest, public testing::WithParamInterface<const char*> {};

TEST_P(WrongModeFile, IsSaid) {
    scratch_.Write("lib/zeldiag/modes/0000:02:00.0.json", GetParam());
    const auto stored = files_.Read("0000:02:00.0");
    ASSERT_TRUE(stored);
    EXPECT_FALSE(stored->note);
    EXPECT_THAT(stored->error, HasSubstr("modes/0000:02:00.0.json"));
    EXPECT_THAT(files_.ReadAll(), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, WrongModeFile,
    testing::Values("", "{", "[]", "{}", "null", "{\"version\":1,\"pcie\":\"0000:02:00.0\"}",
                    R"({"version":2,"pcie":"0000:02:00.0","uuid":"","found":"normal","ours":[],)"
                    R"("time":"","boot":"","run":""})",
                    R"({"version":1,"pcie":"0000:03:00.0","uuid":"","found":"normal","ours":[],)"
                    R"("time":"","boot":"","run":""})",
                    R"({"version":1,"pcie":"0000:02:00.0","uuid":"","found":"normal","ours":[7],)"
                    R"("time":"","boot":"","run":""})"));

TEST_F(ModeFileTest, AFolderThatCannotBeReadIsSaid) {
    scratch_.Write("file", "");
    const auto notes = ModeFiles(scratch_ / "file").ReadAll();
    ASSERT_THAT(notes, SizeIs(1));
    EXPECT_THAT(notes[0].error, HasSubstr((scratch_ / "file").string()));
}

TEST_F(ModeFileTest, ANoteThatCannotBeWrittenIsSaid) {
    scratch_.Write("file", "");
    EXPECT_THAT(ModeFiles(scratch_ / "file/modes").Write(Note()), HasSubstr("file"));
    std::filesystem::create_directories(folder_ / "0000:02:00.0.json");
    EXPECT_THAT(files_.Write(Note()), HasSubstr("0000:02:00.0.json"));
}

TEST(BootIdTest, IsTold) {
    EXPECT_EQ(BootId().size(), 36U);
}

}  // namespace

}  // namespace zelhealth
