// The INI cache over fuzzed files, read the strict and the compatible way: section and entry
// look-ups, entry-name lists into small and exact buffers, an integer, and a write (in the
// compatible way, which keeps line ends) that must read back. Byte 0 picks the names looked
// up and the mode; the rest is the file. Files live in /dev/shm, so a write is cheap.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

#include "fuzz_support.h"
#include "kolib/profile.h"

namespace {

std::string scratchFile() {
    char pattern[] = "/dev/shm/kofuzz-ini-XXXXXX";
    int fd = mkstemp(pattern);
    if (fd >= 0) close(fd);
    return pattern;
}

const char* const SECTIONS[] = {"S", "ODBC Data Sources", "a", "[x", "Sales", ""};
const char* const ENTRIES[] = {"k", "Port", "=", "a b", "", ";c"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    kofuzz::errorList();
    static const std::string PATH = scratchFile();
    FILE* out = std::fopen(PATH.c_str(), "wb");
    if (!out) return 0;
    std::fwrite(data + 1, 1, size - 1, out);
    std::fclose(out);
    koIniSetCompatible(data[0] & 1);
    const char* section = SECTIONS[(data[0] >> 1) % 6];
    const char* entry = ENTRIES[(data[0] >> 4) % 6];
    KoIniFileCache cache(PATH.c_str());
    char buffer[64];
    for (unsigned long bufferSize : {1ul, 2ul, 7ul, sizeof buffer}) {
        unsigned long got = cache.bosGetProfileString(section, entry, "dflt", buffer, bufferSize);
        if (got >= bufferSize) __builtin_trap(); // a value never fills the buffer
        got = cache.bosGetProfileString(section, nullptr, "", buffer, bufferSize);
        if (got > bufferSize) __builtin_trap();
    }
    cache.bosGetProfileInt(section, entry, 7);
    if (data[0] & 0x80) {
        // A write that is accepted must read back exactly in the compatible reading; the
        // strict one has its known blind spots (a "[" inside a value hides what follows).
        if (cache.bosPutProfileString(section, "written", "value 1") == 1 && (data[0] & 1)) {
            unsigned long got = cache.bosGetProfileString(section, "written", "", buffer, 64);
            if (got != 7 || std::memcmp(buffer, "value 1", 7) != 0) __builtin_trap();
        }
    }
    kofuzz::errorList().clearErrors();
    return 0;
}
