// Files, characters and time.
#include "SI/cm_stub1.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

#include "Fixture.h"

namespace {

class Time : public fakes::Fixture {
protected:
    Time() { SetZone("UTC"); }
    ~Time() override { SetZone("UTC"); }
    static void SetZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
};

TEST_F(Time, FillsTheRecord) {
    // 2024-01-02 03:04:05, a Tuesday.
    cmSDate date{};
    cmGetSysTimeStr(&date);
    EXPECT_STREQ(date.sDay, "2");
    EXPECT_STREQ(date.sMonth, "1");
    EXPECT_STREQ(date.sYear, "2024");
    EXPECT_STREQ(date.sHour, "03");
    EXPECT_STREQ(date.sMin, "04");
    EXPECT_STREQ(date.sSec, "05");
    EXPECT_STREQ(date.sWDay, "Tu");
    EXPECT_STREQ(date.sTime, "03:04:05");
    EXPECT_STREQ(date.sDate, "Tu, 1-2-2024");
}

TEST_F(Time, FillsTheLongestDate) {
    fakes::Clock().Advance((1735430399LL - 1704164645LL) * 1000000);
    cmSDate date{};
    cmGetSysTimeStr(&date);
    EXPECT_STREQ(date.sTime, "23:59:59");
    EXPECT_STREQ(date.sDate, "Sa, 12-28-2024");
}

TEST_F(Time, IsLocal) {
    SetZone("XYZ-5:30");
    cmSDate date{};
    cmGetSysTimeStr(&date);
    EXPECT_STREQ(date.sTime, "08:34:05");
}

TEST_F(Time, CountsSeconds) {
    EXPECT_EQ(cmGetSysTimeInSec(), 1704164645U);
    fakes::Clock().Advance(2500000);
    EXPECT_EQ(cmGetSysTimeInSec(), 1704164647U);
}

TEST(DayNames, BeginWithSunday) {
    const char* names[] = {"Su", "Mo", "Tu", "We", "Th", "Fr", "Sa"};
    for (int i = 0; i < 7; ++i)
        EXPECT_STREQ(cmStrDOW[i], names[i]);
}

TEST(Files, ReadCharacters) {
    FILE* file = cmOpenFile("/proc/self/comm", "r");
    ASSERT_NE(file, nullptr);
    EXPECT_NE(cmGetSChar(file), EOF);
    while (cmGetSChar(file) != EOF) {
    }
    EXPECT_EQ(cmGetSChar(file), EOF);
    EXPECT_EQ(cmCloseFile(file), 0);
    EXPECT_EQ(cmOpenFile("/nonexistent", "r"), nullptr);
}

// Each of the others would keep a reader for ever: by waiting for a writer, or without an end.
TEST(Files, OnlyRegularOnesAreOpened) {
    const auto folder =
        std::filesystem::temp_directory_path() / ("zeldiag-files-" + std::to_string(getpid()));
    ASSERT_TRUE(std::filesystem::create_directory(folder));
    std::ofstream(folder / "regular") << "x";
    std::filesystem::create_symlink("regular", folder / "link");
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", folder / "endless");
    for (const char* const name : {"regular", "link"}) {
        FILE* const file = cmOpenRegularFile((folder / name).c_str());
        ASSERT_NE(file, nullptr) << name;
        EXPECT_EQ(cmGetSChar(file), 'x') << name;
        EXPECT_EQ(cmGetSChar(file), EOF) << name;
        EXPECT_EQ(cmCloseFile(file), 0) << name;
    }
    for (const char* const name : {"fifo", "endless", ".", "missing"})
        EXPECT_EQ(cmOpenRegularFile((folder / name).c_str()), nullptr) << name;
    std::filesystem::remove_all(folder);
}

TEST(Files, WriteCharacters) {
    fakes::CaptureOutput capture;
    EXPECT_EQ(cmPutSChar('x'), 'x');
    EXPECT_EQ(capture.Out(), "x");
}

}  // namespace
