// Calendar time stamps: the local wall-clock time broken into fields (bosdate), its text forms
// for logs and stamps, a parser for the full form, and coarse tests of whether a new hour or
// day has begun, used to age cached data.
//
// Text forms, every number with a fixed count of digits and leading zeros:
//   full       MM:DD:YYYY:hh:mm:ss.ff   e.g. 07:04:1999:13:05:09.25   (22 bytes)
//   time only  hh:mm:ss.ff              e.g. 13:05:09.25              (11 bytes)
// The two fraction digits are milli / 100 and (milli / 10) mod 10: tenths and hundredths of a
// second when milli counts milliseconds.
#pragma once

#include <cstdint>
#include "kolib/export.h"

struct os_time {
    uint16_t day;   // 1-31
    uint16_t month; // 1-12 as bosdate fills it
    uint16_t year;  // four digits
    uint16_t hour;  // 0-23
    uint16_t minute;
    uint16_t second;
    uint16_t milli; // fraction of a second
};

// Fills day, month, year, hour, minute and second from the current local time. `milli` is
// left as it was.
KO_API void bosdate(os_time* time);

class KO_API KoTime {
public:
    enum { DAY_TIME_LENGTH = 22, TIME_LENGTH = 11 };

    KoTime() : ostime() {}

    // Parses the full form: month, day, year, hour, minute and second each followed by ":"
    // (the last by "."), then the fraction, taken as `milli` as written. Each number runs to
    // its first non-digit (no digits read as 0). Limits: month <= 11, day <= 31,
    // year <= 2100, hour <= 23, minute and second <= 59, milli <= 99. 0 on success; 1 with
    // every field zero and error 2751 for a missing separator or a field out of range.
    unsigned initialize(const char* text);
    // The current local time, with `milli` in milliseconds.
    void captureCurrentTimeStamp();

    // Componentwise on purpose, not chronological: == when all seven fields are equal, < (>)
    // only when every field is strictly smaller (greater).
    int operator==(const KoTime& other) const;
    int operator<(const KoTime& other) const;
    int operator>(const KoTime& other) const;
    // This stamp's (year, month, day, hour) later than the other's; minutes do not count, so
    // 10:59 to 11:00 is an hour and 10:00 to 10:59 is not.
    int anHourElapsed(const KoTime& other) const;
    // This stamp's (year, month, day) later than the other's.
    int aDayElapsed(const KoTime& other) const;

    // The stamp in the full form (23 bytes with the terminating zero); returns 22.
    unsigned formatDayTime(char* buffer) const;
    // The stamp in the time-only form (12 bytes with the terminating zero); returns 11.
    unsigned formatTime(char* buffer) const;
    // The current time in the time-only form; returns 11.
    static unsigned getCurrentTimeStamp(char* buffer);
    // The current date and time in the full form; returns 22.
    static unsigned getCurrentDayTimeStamp(char* buffer);

    os_time ostime;
};
