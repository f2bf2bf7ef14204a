// kotool time [TEXT]: without TEXT the current local time in both stamp forms; with TEXT the
// fields of the stamp MM:DD:YYYY:hh:mm:ss.ff, the stamp written back, and whether an hour and
// a day have passed since it. Exit status: 0 done, 1 TEXT is not a stamp, 2 usage error.
#include <cstdio>
#include "commands.h"
#include "kolib/errors.h"
#include "kolib/time_stamp.h"

int cmdTime(int argc, char** argv) {
    if (argc > 2) {
        std::fprintf(stderr, "usage: kotool time [MM:DD:YYYY:hh:mm:ss.ff]\n");
        return 2;
    }
    char full[KoTime::DAY_TIME_LENGTH + 1], time[KoTime::TIME_LENGTH + 1];
    KoTime now;
    now.captureCurrentTimeStamp();
    now.formatDayTime(full);
    now.formatTime(time);
    if (argc == 1) {
        std::printf("now: %s\ntime of day: %s\n", full, time);
        return 0;
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    KoTime stamp;
    int status = 0;
    if (stamp.initialize(argv[1])) {
        KoError* e = list.getFirstNode();
        std::fprintf(stderr, "kotool time: error %u: %s\n", e ? e->getErrorNumber() : 0,
                     e ? e->getErrorText() : "not a time stamp");
        std::fprintf(stderr, "(months run from 0 to 11, years to 2100, fractions to 99)\n");
        status = 1;
    } else {
        const os_time& t = stamp.ostime;
        std::printf("month %u, day %u, year %u, hour %u, minute %u, second %u, fraction %u\n",
                    t.month, t.day, t.year, t.hour, t.minute, t.second, t.milli);
        stamp.formatDayTime(full);
        std::printf("written back: %s (the fraction reads as milliseconds and is written as "
                    "tenths and hundredths of a second)\n",
                    full);
        std::printf("since then: %s hour, %s day\n", now.anHourElapsed(stamp) ? "a new" : "no new",
                    now.aDayElapsed(stamp) ? "a new" : "no new");
    }
    list.popOffErrorKeeper();
    return status;
}
