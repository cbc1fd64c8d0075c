// Files, characters and time.
#include "SI/cm_stub1.h"

#include <cstdlib>
#include <ctime>

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

TEST(Files, WriteCharacters) {
    fakes::CaptureOutput capture;
    EXPECT_EQ(cmPutSChar('x'), 'x');
    EXPECT_EQ(capture.Out(), "x");
}

}  // namespace
