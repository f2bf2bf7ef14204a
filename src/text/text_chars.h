// Private helpers of the text functions: the character mode of the calling thread, taken
// once per call, and a bounded character size for walks over counted text. Bytes below 0x80
// are single characters in every mode, so the common case needs neither the per-thread
// record nor the locale.
#pragma once

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cwchar>

namespace kotext {

enum CharMode {
    CHARS_SINGLE = 0, // single-byte locale, not in UTF-8 mode
    CHARS_LOCALE = 1, // multi-byte locale: two-byte characters by mblen
    CHARS_UTF8 = 2    // the thread's koUnicodeInfo selects UTF-8
};

// The calling thread's mode (reads per-thread slot MDS_UNICODE_INFO and MB_CUR_MAX).
CharMode currentCharMode();

// mblen(s, n) without mblen's hidden shared state: 0 for the NUL, -1 for an invalid or
// incomplete sequence, else the byte count.
inline int mbSize(const unsigned char* s, std::size_t n) {
    if (*s < 0x80) return *s ? 1 : 0;
    std::mbstate_t state{};
    std::size_t r = std::mbrlen(reinterpret_cast<const char*>(s), n, &state);
    return r > n ? -1 : static_cast<int>(r);
}

// koCharSize by `mode`, never more than `available` bytes and never reading beyond them.
inline unsigned charSize(CharMode mode, const unsigned char* s, unsigned long available) {
    if (available == 0) return 0;
    unsigned char c = *s;
    if (c < 0x80 || mode == CHARS_SINGLE) return 1;
    if (mode == CHARS_UTF8) {
        // Four-byte sequences (240 and above) are stepped one byte at a time: intended.
        unsigned n = c >= 240 ? 1 : c >= 224 ? 3 : c >= 192 ? 2 : 1;
        return n <= available ? n : static_cast<unsigned>(available);
    }
    if (available < 2) return 1;
    return mbSize(s, 2) == 2 ? 2 : 1;
}

// The same over NUL-terminated text: a sequence never runs over the NUL.
inline unsigned charSize(CharMode mode, const unsigned char* s) {
    unsigned char c = *s;
    if (c < 0x80 || mode == CHARS_SINGLE) return 1;
    if (mode == CHARS_UTF8) {
        // Four-byte sequences are stepped one byte at a time: intended.
        unsigned n = c >= 240 ? 1 : c >= 224 ? 3 : c >= 192 ? 2 : 1;
        if (n > 1 && !s[1]) return 1;
        if (n > 2 && !s[2]) return 2;
        return n;
    }
    return mbSize(s, 2) == 2 ? 2 : 1;
}

// Upper case of a single byte, as isCharEqual compares them.
inline unsigned char upperByte(unsigned char c) {
    return static_cast<unsigned char>(std::toupper(c));
}

} // namespace kotext

namespace kotext {

// The mode, looked up only when a walk first meets a byte of 0x80 or above.
class LazyCharMode {
public:
    CharMode get() {
        if (Mode < 0) Mode = currentCharMode();
        return static_cast<CharMode>(Mode);
    }

private:
    int Mode = -1;
};

// Size of the character at s within `available` bytes, looking the mode up lazily.
inline unsigned charSize(LazyCharMode& mode, const unsigned char* s, unsigned long available) {
    if (available == 0) return 0;
    if (*s < 0x80) return 1;
    return charSize(mode.get(), s, available);
}

inline unsigned charSize(LazyCharMode& mode, const unsigned char* s) {
    if (*s < 0x80) return 1;
    return charSize(mode.get(), s);
}

// Case-insensitive comparison of the first n bytes of both texts (both hold at least n), by
// whole characters. With stopAtNul, equal NULs end the comparison.
int16_t compareCiBytes(const unsigned char* a, const unsigned char* b, unsigned long n,
                       bool stopAtNul);

inline int16_t sign(long v) {
    return v < 0 ? -1 : v > 0 ? 1 : 0;
}

inline const unsigned char* bytes(const char* s) {
    return reinterpret_cast<const unsigned char*>(s);
}

} // namespace kotext
