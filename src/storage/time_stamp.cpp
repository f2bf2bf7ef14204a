// bosdate and KoTime: local time broken into 16-bit fields, written with fixed digit counts
// and read back by a small parser whose limits are kept as they always were (see the header).
#include "kolib/time_stamp.h"

#include <ctime>
#include "kolib/errors.h"

namespace {

// The local time now; `milli` only when asked for.
void localNow(os_time* out, bool withMilli) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm parts{};
    time_t seconds = now.tv_sec;
    localtime_r(&seconds, &parts);
    out->day = static_cast<uint16_t>(parts.tm_mday);
    out->month = static_cast<uint16_t>(parts.tm_mon + 1);
    out->year = static_cast<uint16_t>(parts.tm_year + 1900);
    out->hour = static_cast<uint16_t>(parts.tm_hour);
    out->minute = static_cast<uint16_t>(parts.tm_min);
    out->second = static_cast<uint16_t>(parts.tm_sec);
    if (withMilli) out->milli = static_cast<uint16_t>(now.tv_nsec / 1000000);
}

// `digits` decimal digits of value (its low ones), then `separator` unless it is 0.
char* put(char* out, unsigned value, int digits, char separator) {
    for (int i = digits - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    out += digits;
    if (separator) *out++ = separator;
    return out;
}

char* putTime(char* out, const os_time& t) {
    out = put(out, t.hour, 2, ':');
    out = put(out, t.minute, 2, ':');
    out = put(out, t.second, 2, '.');
    out = put(out, (t.milli / 100u) % 10u, 1, 0);
    out = put(out, (t.milli / 10u) % 10u, 1, 0);
    *out = '\0';
    return out;
}

// Reads the digits at *at (none read as 0), capped just above the 16-bit range so that a long
// run of digits is out of range instead of wrapping into it.
uint32_t readNumber(const char** at) {
    uint32_t value = 0;
    for (; **at >= '0' && **at <= '9'; ++*at)
        if (value <= 65536) value = value * 10 + static_cast<uint32_t>(**at - '0');
    return value;
}

} // namespace

void bosdate(os_time* time) {
    localNow(time, false);
}

unsigned KoTime::initialize(const char* text) {
    ostime = os_time();
    // In order: month, day, year, hour, minute, second, milli, with their upper limits. The
    // month limit of 11 is intended: a stamp written in December does not parse.
    static const uint32_t LIMITS[7] = {11, 31, 2100, 23, 59, 59, 99};
    static const char SEPARATORS[7] = {':', ':', ':', ':', ':', '.', 0};
    uint32_t values[7];
    const char* at = text ? text : "";
    bool ok = text != nullptr;
    for (int i = 0; ok && i < 7; ++i) {
        values[i] = readNumber(&at);
        ok = values[i] <= LIMITS[i];
        if (ok && SEPARATORS[i]) ok = *at++ == SEPARATORS[i];
    }
    if (!ok) {
        addError(2751) << (text ? text : "");
        return 1;
    }
    ostime.month = static_cast<uint16_t>(values[0]);
    ostime.day = static_cast<uint16_t>(values[1]);
    ostime.year = static_cast<uint16_t>(values[2]);
    ostime.hour = static_cast<uint16_t>(values[3]);
    ostime.minute = static_cast<uint16_t>(values[4]);
    ostime.second = static_cast<uint16_t>(values[5]);
    ostime.milli = static_cast<uint16_t>(values[6]);
    return 0;
}

void KoTime::captureCurrentTimeStamp() {
    localNow(&ostime, true);
}

int KoTime::operator==(const KoTime& o) const {
    const os_time &a = ostime, &b = o.ostime;
    return a.month == b.month && a.day == b.day && a.year == b.year && a.hour == b.hour &&
           a.minute == b.minute && a.second == b.second && a.milli == b.milli;
}

int KoTime::operator<(const KoTime& o) const {
    const os_time &a = ostime, &b = o.ostime;
    return a.month < b.month && a.day < b.day && a.year < b.year && a.hour < b.hour &&
           a.minute < b.minute && a.second < b.second && a.milli < b.milli;
}

int KoTime::operator>(const KoTime& o) const {
    return o < *this;
}

int KoTime::aDayElapsed(const KoTime& o) const {
    const os_time &a = ostime, &b = o.ostime;
    if (a.year != b.year) return a.year > b.year;
    if (a.month != b.month) return a.month > b.month;
    return a.day > b.day;
}

int KoTime::anHourElapsed(const KoTime& o) const {
    const os_time &a = ostime, &b = o.ostime;
    if (a.year != b.year || a.month != b.month || a.day != b.day) return aDayElapsed(o);
    return a.hour > b.hour;
}

unsigned KoTime::formatDayTime(char* buffer) const {
    char* out = put(buffer, ostime.month, 2, ':');
    out = put(out, ostime.day, 2, ':');
    out = put(out, ostime.year, 4, ':');
    return static_cast<unsigned>(putTime(out, ostime) - buffer);
}

unsigned KoTime::formatTime(char* buffer) const {
    return static_cast<unsigned>(putTime(buffer, ostime) - buffer);
}

unsigned KoTime::getCurrentTimeStamp(char* buffer) {
    KoTime now;
    now.captureCurrentTimeStamp();
    return now.formatTime(buffer);
}

unsigned KoTime::getCurrentDayTimeStamp(char* buffer) {
    KoTime now;
    now.captureCurrentTimeStamp();
    return now.formatDayTime(buffer);
}
