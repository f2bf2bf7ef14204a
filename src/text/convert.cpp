// Decimal conversion: numbers to text (free-form and in fixed-width fields) and text to
// numbers of 8, 16 and 32 bits. The parsers accept blanks around an optionally signed run of
// digits and nothing else, and reject values outside the target's range.
#include <cstdint>
#include <cstring>
#include "kolib/strutil.h"

namespace {
// Digits of v, terminated, at out; returns their count.
unsigned writeDigits(char* out, unsigned long v) {
    char digits[24];
    unsigned n = 0;
    do {
        digits[n++] = static_cast<char>('0' + v % 10);
        v /= 10;
    } while (v);
    for (unsigned i = 0; i < n; ++i) out[i] = digits[n - 1 - i];
    out[n] = 0;
    return n;
}

unsigned writeSigned(char* out, long v) {
    if (v >= 0) return writeDigits(out, static_cast<unsigned long>(v));
    out[0] = '-';
    // Negate in unsigned arithmetic so that the most negative value works.
    return 1 + writeDigits(out + 1, 0UL - static_cast<unsigned long>(v));
}

// Parses length bytes of text; *negative tells the sign. 0 on success.
unsigned parse(const char* text, unsigned long length, bool allowMinus, unsigned long limit,
               unsigned long* magnitude, bool* negative) {
    if (!text) return 1;
    unsigned long i = 0;
    while (i < length && text[i] == ' ') ++i;
    *negative = false;
    if (i < length && (text[i] == '+' || text[i] == '-')) {
        if (text[i] == '-') {
            if (!allowMinus) return 1;
            *negative = true;
        }
        ++i;
    }
    unsigned long start = i;
    // 64-bit accumulation: with a 32-bit long, value * 10 would wrap before the range test.
    uint64_t value = 0;
    while (i < length && text[i] >= '0' && text[i] <= '9') {
        value = value * 10 + static_cast<uint64_t>(text[i] - '0');
        if (value > limit) return 1;
        ++i;
    }
    if (i == start) return 1;
    while (i < length && text[i] == ' ') ++i;
    if (i != length) return 1;
    *magnitude = static_cast<unsigned long>(value);
    return 0;
}

inline unsigned long lengthOf(const char* text) {
    return text ? std::strlen(text) : 0;
}

template <typename T>
unsigned parseUnsigned(T* value, const char* text, unsigned long length, unsigned long max) {
    unsigned long magnitude;
    bool negative;
    if (!value || parse(text, length, false, max, &magnitude, &negative)) return 1;
    *value = static_cast<T>(magnitude);
    return 0;
}

template <typename T>
unsigned parseSigned(T* value, const char* text, unsigned long length, unsigned long maxPositive) {
    unsigned long magnitude;
    bool negative;
    // The negative range is one larger than the positive one.
    if (!value || parse(text, length, true, maxPositive + 1, &magnitude, &negative)) return 1;
    if (!negative && magnitude > maxPositive) return 1;
    long v = static_cast<long>(negative ? 0UL - magnitude : magnitude);
    *value = static_cast<T>(v);
    return 0;
}
} // namespace

unsigned convert(char* out, unsigned long value) {
    return writeDigits(out, value);
}
unsigned convert(char* out, long value) {
    return writeSigned(out, value);
}
unsigned convert(char* out, unsigned int value) {
    return writeDigits(out, value);
}
unsigned convert(char* out, int value) {
    return writeSigned(out, value);
}
unsigned convert(char* out, unsigned short value) {
    return writeDigits(out, value);
}
unsigned convert(char* out, short value) {
    return writeSigned(out, value);
}
unsigned convert(char* out, unsigned char value) {
    return writeDigits(out, value);
}
unsigned convert(char* out, signed char value) {
    return writeSigned(out, value);
}

unsigned convert(char* out, unsigned short width, unsigned long value, unsigned leftJustify) {
    std::memset(out, ' ', width);
    out[width] = 0;
    unsigned columns = width < 10 ? width : 10;
    char digits[24];
    unsigned n = writeDigits(digits, value);
    if (n > columns) {
        std::memset(out, '*', width);
        return width;
    }
    if (leftJustify) {
        std::memcpy(out, digits, n);
    } else {
        // The number's columns are the last `columns` of the field; leading zeros are blanks.
        std::memcpy(out + width - n, digits, n);
    }
    return width;
}

unsigned convert(unsigned long* value, const char* text, unsigned long length) {
    return parseUnsigned(value, text, length, UINT32_MAX);
}
unsigned convert(unsigned long* value, const char* text) {
    return convert(value, text, lengthOf(text));
}
unsigned convert(long* value, const char* text, unsigned long length) {
    return parseSigned(value, text, length, INT32_MAX);
}
unsigned convert(long* value, const char* text) {
    return convert(value, text, lengthOf(text));
}
unsigned convert(unsigned int* value, const char* text, unsigned long length) {
    return parseUnsigned(value, text, length, UINT32_MAX);
}
unsigned convert(unsigned int* value, const char* text) {
    return convert(value, text, lengthOf(text));
}
unsigned convert(int* value, const char* text, unsigned long length) {
    return parseSigned(value, text, length, INT32_MAX);
}
unsigned convert(int* value, const char* text) {
    return convert(value, text, lengthOf(text));
}
unsigned convert(unsigned short* value, const char* text, unsigned long length) {
    return parseUnsigned(value, text, length, UINT16_MAX);
}
unsigned convert(unsigned short* value, const char* text) {
    return convert(value, text, lengthOf(text));
}
unsigned convert(short* value, const char* text, unsigned long length) {
    return parseSigned(value, text, length, INT16_MAX);
}
unsigned convert(short* value, const char* text) {
    return convert(value, text, lengthOf(text));
}
unsigned convert(unsigned char* value, const char* text, unsigned long length) {
    return parseUnsigned(value, text, length, UINT8_MAX);
}
unsigned convert(unsigned char* value, const char* text) {
    return convert(value, text, lengthOf(text));
}
unsigned convert(signed char* value, const char* text, unsigned long length) {
    return parseSigned(value, text, length, INT8_MAX);
}
unsigned convert(signed char* value, const char* text) {
    return convert(value, text, lengthOf(text));
}
