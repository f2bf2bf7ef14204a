// Time stamps: any text either parses or leaves every field zero, and never reads past its
// terminating zero; a parsed stamp written back parses again to the same fields, the fraction
// as its two written digits.
#include <cstdint>
#include <cstdlib>

#include "fuzz_support.h"
#include "kolib/time_stamp.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kofuzz::errorList();
    kofuzz::EdgeBuffer text(data, size, true);
    KoTime stamp;
    if (stamp.initialize(static_cast<const char*>(text.data()))) {
        if (!(stamp == KoTime())) std::abort();
    } else {
        char written[KoTime::DAY_TIME_LENGTH + 1];
        if (stamp.formatDayTime(written) != KoTime::DAY_TIME_LENGTH) std::abort();
        KoTime again;
        if (again.initialize(written)) std::abort();
        uint16_t milli = stamp.ostime.milli;
        stamp.ostime.milli = static_cast<uint16_t>((milli / 100) % 10 * 10 + (milli / 10) % 10);
        if (!(again == stamp)) std::abort();
    }
    kofuzz::errorList().clearErrors();
    return 0;
}
