// strLike over fuzzed texts and patterns, each copied to the very end of a readable page so a
// read past either length faults at once. The answer must equal the general character-wise
// matcher's, counted and (for texts without NULs) terminated, in C and in UTF-8 mode.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_support.h"
#include "kolib/strlike.h"
#include "kolib/testing.h"

namespace {
struct Specials {
    unsigned char AnyMany, AnyOne, Escape;
};
const Specials SPECIALS[] = {
    {'%', '_', '\\'}, {'*', '?', '!'}, {'%', '_', '%'}, {'%', '%', '\\'}, {0xA7, '_', 0xA9}};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    unsigned caseSensitive = data[0] & 1, exact = (data[0] >> 1) & 1;
    const Specials& s = SPECIALS[(data[0] >> 2) % 5];
    kofuzz::TextMode mode(data[0] & 0x80);
    const char* rest = reinterpret_cast<const char*>(data + 2);
    size_t restSize = size - 2;
    size_t textSize = restSize ? data[1] % (restSize + 1) : 0;
    size_t patternSize = restSize - textSize;

    kofuzz::EdgeBuffer text(rest, textSize, false), pattern(rest + textSize, patternSize, false);
    int expected = strLikeGeneral(text.data(), textSize, pattern.data(), patternSize, s.AnyMany,
                                  s.AnyOne, s.Escape, caseSensitive, exact);
    int counted = strLike(text.data(), textSize, pattern.data(), patternSize, s.AnyMany,
                          s.AnyOne, s.Escape, caseSensitive, exact);
    if (counted != expected) std::abort();

    if (!std::memchr(rest, 0, restSize)) {
        kofuzz::EdgeBuffer t(rest, textSize, true), p(rest + textSize, patternSize, true);
        int terminated =
            strLike(t.data(), p.data(), s.AnyMany, s.AnyOne, s.Escape, caseSensitive, exact);
        if (terminated != expected) std::abort();
    }
    return 0;
}
