// KoFileByLine over fuzzed files and buffer sizes. Unscrambled, the lines read (with their
// line feeds, long lines in pieces) put together must give the file back byte for byte; a
// line read again after ungetLine must be the same line; every read must move on. Scrambled
// reads (types 1 to 3) must not fault on any input.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "fuzz_support.h"
#include "kolib/file_by_line.h"

namespace {
const std::string& scratchFile() {
    static std::string path = [] {
        std::string pattern = "/dev/shm/kofuzz-lines-XXXXXX";
        int fd = mkstemp(&pattern[0]);
        if (fd >= 0) close(fd);
        return pattern;
    }();
    return path;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    kofuzz::TextMode mode(false);
    unsigned long bufferSize = 1 + data[0] % 64;
    if (data[0] & 0x80) bufferSize = 1 + data[0] * 37;
    unsigned short cryptType = data[1] % 4;
    unsigned ungetEvery = 2 + data[2] % 5;
    const uint8_t* body = data + 3;
    size_t bodySize = size - 3;

    const std::string& path = scratchFile();
    FILE* out = std::fopen(path.c_str(), "wb");
    if (!out) return 0;
    if (bodySize) std::fwrite(body, 1, bodySize, out);
    std::fclose(out);

    KoFileByLine reader;
    if (reader.openFile(path.c_str(), bufferSize)) std::abort();
    reader.setCryptType(cryptType);
    std::string rebuilt;
    KoSubString line;
    for (unsigned long n = 0;; ++n) {
        if (n > bodySize + 1) std::abort(); // no progress
        if (reader.getNextLine(line)) std::abort();
        if (reader.isEndOfFile()) break;
        if (line.getLength() == 0) std::abort();
        std::string text(line.asPascalStr(), line.getLength());
        if (n % ungetEvery == 0) {
            reader.ungetLine();
            if (reader.getNextLine(line)) std::abort();
            if (std::string(line.asPascalStr(), line.getLength()) != text) std::abort();
        }
        rebuilt += text;
    }
    if (!cryptType && rebuilt != std::string(reinterpret_cast<const char*>(body), bodySize))
        std::abort();

    // From the start again, skipping blank lines, then back to the furthest point read.
    if (reader.getFirstLine(line)) std::abort();
    for (unsigned long n = 0; !reader.isEndOfFile(); ++n) {
        if (n > bodySize + 1) std::abort();
        if (reader.getNextNonBlankLine(line)) std::abort();
    }
    reader.seekToUnread();
    if (reader.getNextLine(line) || !reader.isEndOfFile()) std::abort();
    return 0;
}
