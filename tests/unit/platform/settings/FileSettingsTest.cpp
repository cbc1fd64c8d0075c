#include "FileSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

class FileSettingsTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = ::testing::TempDir() + "settingsXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        directory_ = pattern;
        path_ = directory_ + "/Settings.ini";
    }

    void TearDown() override { std::filesystem::remove_all(directory_); }

    void Write(std::string_view text) { std::ofstream(path_, std::ios::binary) << text; }

    int Load() { return settings_.Load(directory_.c_str()); }

    // Loads `text`, which must be good.
    void LoadText(std::string_view text) {
        Write(text);
        ASSERT_EQ(Load(), 0);
    }

    // The one line that a failing load prints.
    std::string LoadFault() {
        CaptureStderr();
        const int status = Load();
        std::string fault = GetCapturedStderr();
        EXPECT_NE(status, 0);
        EXPECT_EQ(std::count(fault.begin(), fault.end(), '\n'), 1) << fault;
        EXPECT_THAT(fault, EndsWith("\n"));
        return fault;
    }

    std::string directory_;
    std::string path_;
    FileSettings settings_;
};

TEST_F(FileSettingsTest, ReadsWords) {
    LoadText("[pcieConfigReg]\ndeviceID = 0x00501F5A, 42\n");
    std::array<U32, 50> values{};
    int count = 50;
    EXPECT_EQ(settings_.GetWords("pcieConfigReg", "deviceID", &count, values.data()), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(values[0], 0x00501F5AU);
    EXPECT_EQ(values[1], 42U);
    EXPECT_EQ(values[2], 0U);
}

TEST_F(FileSettingsTest, FillsOnlyTheCapacityAndCountsAll) {
    LoadText("[s]\na = 1, 2, 3, 4\n");
    std::array<U32, 4> values = {9, 9, 9, 9};
    int count = 2;
    EXPECT_EQ(settings_.GetWords("s", "a", &count, values.data()), 0);
    EXPECT_EQ(count, 4);
    EXPECT_THAT(values, ElementsAre(1, 2, 9, 9));

    std::array<const char*, 2> texts = {nullptr, nullptr};
    count = 1;
    EXPECT_EQ(settings_.GetStrings("s", "a", &count, texts.data()), 0);
    EXPECT_EQ(count, 4);
    EXPECT_STREQ(texts[0], "1");
    EXPECT_EQ(texts[1], nullptr);
}

TEST_F(FileSettingsTest, CapacityZeroOnlyCounts) {
    LoadText("[s]\na = 1, 2\n");
    for (const int capacity : {0, -1, -2147483647}) {
        int count = capacity;
        EXPECT_EQ(settings_.GetWords("s", "a", &count, nullptr), 0) << capacity;
        EXPECT_EQ(count, 2);
        count = capacity;
        EXPECT_EQ(settings_.GetStrings("s", "a", &count, nullptr), 0) << capacity;
        EXPECT_EQ(count, 2);
    }
}

TEST_F(FileSettingsTest, AKeyWithoutValuesSucceedsWithNone) {
    LoadText("[s]\na =\n");
    U32 value = 9;
    int count = 1;
    EXPECT_EQ(settings_.GetWords("s", "a", &count, &value), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(value, 9U);
}

TEST_F(FileSettingsTest, MissingSectionOrKeyFailsInSilence) {
    LoadText("[s]\na = 1\n");
    CaptureStderr();
    U32 value = 9;
    const char* text = nullptr;
    for (const auto& [section, key] : {std::pair{"s", "b"}, {"t", "a"}, {"", "a"}, {"s", ""}}) {
        int count = 1;
        EXPECT_NE(settings_.GetWords(section, key, &count, &value), 0);
        EXPECT_EQ(count, 0);
        count = 1;
        EXPECT_NE(settings_.GetStrings(section, key, &count, &text), 0);
        EXPECT_EQ(count, 0);
    }
    EXPECT_EQ(value, 9U);
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST_F(FileSettingsTest, ABadNumberNamesItsLine) {
    LoadText("[s]\n\na = 1, 2, zwei, 4\n");
    CaptureStderr();
    U32 value = 0;
    int count = 1;
    EXPECT_NE(settings_.GetWords("s", "a", &count, &value), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(GetCapturedStderr(),
              path_ +
                  ":3: \"zwei\" is not a number of at most 32 bits; write it in decimal, or in "
                  "hexadecimal after \"0x\"\n");

    const char* text = nullptr;
    count = 1;
    EXPECT_EQ(settings_.GetStrings("s", "a", &count, &text), 0) << "as texts they are good";
    EXPECT_EQ(count, 4);
}

TEST_F(FileSettingsTest, NullArgumentsFail) {
    LoadText("[s]\na = 1\n");
    U32 value = 0;
    const char* text = nullptr;
    int count = 1;
    EXPECT_NE(settings_.GetWords(nullptr, "a", &count, &value), 0);
    EXPECT_NE(settings_.GetWords("s", nullptr, &count, &value), 0);
    EXPECT_NE(settings_.GetWords("s", "a", nullptr, &value), 0);
    count = 1;
    EXPECT_NE(settings_.GetWords("s", "a", &count, nullptr), 0);
    count = 1;
    EXPECT_NE(settings_.GetStrings("s", "a", &count, nullptr), 0);
    EXPECT_NE(settings_.GetStrings(nullptr, nullptr, nullptr, &text), 0);
    EXPECT_NE(settings_.Load(nullptr), 0);
}

TEST_F(FileSettingsTest, ReadsBeforeAnyLoadFail) {
    U32 value = 0;
    int count = 1;
    EXPECT_NE(settings_.GetWords("s", "a", &count, &value), 0);
    EXPECT_EQ(count, 0);
}

TEST_F(FileSettingsTest, TheDirectoryMayEndInASlash) {
    Write("[s]\na = 1\n");
    EXPECT_EQ(settings_.Load((directory_ + "/").c_str()), 0);
    EXPECT_EQ(settings_.Load(directory_.c_str()), 0);
}

TEST_F(FileSettingsTest, ALoadReplacesAndAFailedOneLeavesNothing) {
    LoadText("[s]\na = 1\n");
    LoadText("[s]\nb = 2\n");
    int count = 0;
    EXPECT_NE(settings_.GetWords("s", "a", &count, nullptr), 0);
    EXPECT_EQ(settings_.GetWords("s", "b", &count, nullptr), 0);
    Write("[s]\nb = 2\nrubbish\n");
    LoadFault();
    EXPECT_NE(settings_.GetWords("s", "b", &count, nullptr), 0);
}

TEST_F(FileSettingsTest, TextsStayValidUntilTheNextLoad) {
    LoadText("[s]\na = one, two\nb = three\n");
    std::array<const char*, 2> first{};
    int count = 2;
    ASSERT_EQ(settings_.GetStrings("s", "a", &count, first.data()), 0);
    const char* second = nullptr;
    count = 1;
    ASSERT_EQ(settings_.GetStrings("s", "b", &count, &second), 0);
    EXPECT_STREQ(first[0], "one");
    EXPECT_STREQ(first[1], "two");
    EXPECT_STREQ(second, "three");
}

TEST_F(FileSettingsTest, AParseFaultNamesFileAndLine) {
    Write("[s]\na = 1\na = 2\n");
    EXPECT_EQ(LoadFault(),
              path_ + ":3: the key \"a\" is given twice, first in line 2; remove one of them\n");
}

TEST_F(FileSettingsTest, RefusesWhatIsNoReadableFile) {
    EXPECT_THAT(LoadFault(),
                HasSubstr("Settings.ini: cannot be opened: No such file or directory;"));

    ASSERT_EQ(mkdir(path_.c_str(), 0755), 0);
    EXPECT_THAT(LoadFault(), HasSubstr("Settings.ini: is not a regular file;"));
    ASSERT_EQ(rmdir(path_.c_str()), 0);

    ASSERT_EQ(mkfifo(path_.c_str(), 0644), 0);
    EXPECT_THAT(LoadFault(), HasSubstr("is not a regular file;")) << "a pipe must not block";
    ASSERT_EQ(unlink(path_.c_str()), 0);

    ASSERT_EQ(symlink("Settings.ini", path_.c_str()), 0);
    EXPECT_THAT(LoadFault(), HasSubstr("cannot be opened: Too many levels of symbolic links;"));
}

TEST_F(FileSettingsTest, RefusesAnUnreadableFile) {
    Write("[s]\na = 1\n");
    ASSERT_EQ(chmod(path_.c_str(), 0), 0);
    ASSERT_EQ(chmod(directory_.c_str(), 0755), 0);
    const uid_t user = geteuid();
    constexpr uid_t kNobody = 65534;
    ASSERT_TRUE(user != 0 || seteuid(kNobody) == 0) << "root reads every file";
    const std::string fault = LoadFault();
    ASSERT_EQ(seteuid(user), 0);
    EXPECT_THAT(fault, HasSubstr("cannot be opened: Permission denied;"));
}

TEST_F(FileSettingsTest, RefusesBinaryAndHugeFiles) {
    std::string binary(4096, '\0');
    for (std::size_t i = 0; i < binary.size(); ++i) {
        binary[i] = static_cast<char>(i * 37);
    }
    Write(binary);
    EXPECT_THAT(LoadFault(), HasSubstr(":1: the line holds bytes that are not text"));
    Write(std::string(1000000, 'x'));
    EXPECT_THAT(LoadFault(), HasSubstr(":1: the line is longer than 8192 bytes"));
    Write(std::string(1024 * 1024 + 1, '\n'));
    EXPECT_THAT(LoadFault(), HasSubstr("is larger than 1 MiB"));
    Write(std::string(1024 * 1024, '\n'));
    EXPECT_EQ(Load(), 0);
}

}  // namespace
