// Time stamps: the text forms against strftime, the current time against localtime_r, the
// parser's limits and malformed texts, and the componentwise comparisons.
#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include "kolib/time_stamp.h"
#include "test_support.h"

namespace {

KoTime stamp(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute,
             uint16_t second = 0, uint16_t milli = 0) {
    KoTime t;
    t.ostime = os_time{day, month, year, hour, minute, second, milli};
    return t;
}

std::string dayTime(const KoTime& t) {
    char buffer[KoTime::DAY_TIME_LENGTH + 1];
    EXPECT_EQ(t.formatDayTime(buffer), 22u);
    return buffer;
}

} // namespace

TEST(TimeStamp, TextFormsAgainstStrftime) {
    char time[KoTime::TIME_LENGTH + 1];
    EXPECT_EQ(stamp(1999, 7, 4, 13, 5, 9, 250).formatTime(time), 11u);
    EXPECT_EQ(std::string(time), "13:05:09.25");
    EXPECT_EQ(dayTime(stamp(5, 1, 2, 0, 0, 0, 9)), "01:02:0005:00:00:00.00");
    // Broken down by localtime_r in the caller's zone, as bosdate does.
    for (time_t t : {time_t(0), time_t(951782400), time_t(2147483647), std::time(nullptr)}) {
        std::tm parts{};
        localtime_r(&t, &parts);
        char expected[64];
        std::strftime(expected, sizeof expected, "%m:%d:%Y:%H:%M:%S.37", &parts);
        EXPECT_EQ(dayTime(stamp(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
                                parts.tm_hour, parts.tm_min, parts.tm_sec, 370)),
                  expected);
    }
    // The current time: bosdate agrees with localtime_r and leaves milli alone.
    time_t before;
    KoTime now;
    char full[KoTime::DAY_TIME_LENGTH + 1];
    do { // again when a second began meanwhile
        before = std::time(nullptr);
        now.ostime.milli = 777;
        bosdate(&now.ostime);
        KoTime::getCurrentDayTimeStamp(full);
    } while (std::time(nullptr) != before);
    std::tm parts{};
    localtime_r(&before, &parts);
    char expected[64];
    std::strftime(expected, sizeof expected, "%m:%d:%Y:%H:%M:%S.77", &parts);
    EXPECT_EQ(dayTime(now), expected);
    EXPECT_EQ(std::string(full, 19), std::string(expected, 19));
    EXPECT_EQ(KoTime::getCurrentTimeStamp(full), 11u);
}

TEST(TimeStamp, Parsing) {
    kotest::PushedList errors;
    KoTime t;
    ASSERT_EQ(t.initialize("11:30:2000:23:59:59.99"), 0u);
    EXPECT_TRUE(t == stamp(2000, 11, 30, 23, 59, 59, 99));
    // The fraction is taken as milli as written and written back as tenths and hundredths of
    // a second: .25 comes back as .02.
    ASSERT_EQ(t.initialize("7:4:1999:13:5:9.25xyz"), 0u);
    EXPECT_EQ(dayTime(t), "07:04:1999:13:05:09.02");
    for (const char* bad :
         {"12:01:2000:00:00:00.00", "01:01:2101:00:00:00.00", "01:01:2000:00:00:60.00",
          "01:01:2000:00:00:00.100", "01:01:2000:00:00:00", "65537:01:2000:00:00:00.00", ""}) {
        t = stamp(2000, 1, 1, 1, 1, 1, 1);
        EXPECT_EQ(t.initialize(bad), 1u) << bad;
        EXPECT_TRUE(t == KoTime()) << bad;
        EXPECT_EQ(errors.lastNumber(), 2751u);
    }
    EXPECT_EQ(t.initialize(nullptr), 1u);
}

TEST(TimeStamp, ComparisonsAreComponentwise) {
    KoTime newYearsEve = stamp(1999, 12, 31, 23, 59), newYear = stamp(2000, 1, 1, 0, 0);
    EXPECT_TRUE(newYear.aDayElapsed(newYearsEve));
    EXPECT_TRUE(newYear.anHourElapsed(newYearsEve));
    EXPECT_FALSE(newYearsEve.aDayElapsed(newYear));
    EXPECT_FALSE(newYearsEve < newYear); // the later month is smaller
    EXPECT_TRUE(stamp(1999, 1, 1, 1, 1, 1, 1) < stamp(2000, 2, 2, 2, 2, 2, 2));
    EXPECT_TRUE(stamp(2000, 2, 2, 2, 2, 2, 2) > stamp(1999, 1, 1, 1, 1, 1, 1));
    EXPECT_FALSE(stamp(1999, 1, 1, 1, 1, 1, 1) < stamp(2000, 2, 2, 2, 2, 2, 1));
    EXPECT_FALSE(stamp(2000, 1, 1, 1, 1) == stamp(2000, 1, 1, 1, 1, 0, 1));
    EXPECT_TRUE(stamp(2000, 5, 5, 11, 0).anHourElapsed(stamp(2000, 5, 5, 10, 59)));
    EXPECT_FALSE(stamp(2000, 5, 5, 10, 59).anHourElapsed(stamp(2000, 5, 5, 10, 0)));
    EXPECT_FALSE(stamp(2000, 5, 5, 23, 0).anHourElapsed(stamp(2000, 5, 6, 1, 0)));
}
