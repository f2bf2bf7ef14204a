// Hexadecimal encoding and decoding. Encoding writes two upper-case digits per byte, high
// nibble first; when the output overlaps the input it runs from the last byte backwards, so a
// buffer can be expanded in place. Decoding reports a non-digit as error 2708.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/hexify.h"

namespace {
const char DIGITS[] = "0123456789ABCDEF";

// Value of a hexadecimal digit, or -1.
inline int digitValue(unsigned c) {
    if (c >= '0' && c <= '9') return static_cast<int>(c - '0');
    if (c >= 'A' && c <= 'F') return static_cast<int>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f') return static_cast<int>(c - 'a' + 10);
    return -1;
}

// Writes 2n digits of the n bytes at in to out (units of type Out). Backwards from the end,
// so that out may start at in: digit pair i lands at or after byte i.
template <typename Out> unsigned long encode(Out* out, const unsigned char* in, unsigned long n) {
    for (unsigned long i = n; i-- > 0;) {
        unsigned char b = in[i];
        out[2 * i + 1] = static_cast<Out>(DIGITS[b & 0x0F]);
        out[2 * i] = static_cast<Out>(DIGITS[b >> 4]);
    }
    return 2 * n;
}

// Reads n digit units from in as n / 2 bytes into out (forwards, so out may start at in).
template <typename In> unsigned decode(char* out, const In* in, unsigned long n) {
    for (unsigned long i = 0; i < n; i += 2) {
        int high = digitValue(in[i]);
        int low = i + 1 < n ? digitValue(in[i + 1]) : 0;
        if (high < 0 || low < 0) {
            addError(2708);
            return 1;
        }
        if (i + 1 < n) out[i / 2] = static_cast<char>((high << 4) | low);
    }
    return 0;
}
} // namespace

unsigned short hexify(char* out, const char* bytes, unsigned short n) {
    return static_cast<unsigned short>(
        encode(out, reinterpret_cast<const unsigned char*>(bytes), n));
}

unsigned long hexifyHuge(char* out, const char* bytes, unsigned long n) {
    return encode(out, reinterpret_cast<const unsigned char*>(bytes), n);
}

unsigned short hexify(char* out, unsigned long value, unsigned short minDigits) {
    char digits[2 * sizeof(unsigned long)];
    unsigned short n = 0;
    do {
        digits[n++] = DIGITS[value & 0x0F];
        value >>= 4;
    } while (value);
    unsigned short total = n > minDigits ? n : minDigits;
    unsigned short o = 0;
    for (; o < total - n; ++o) out[o] = '0';
    while (n) out[o++] = digits[--n];
    out[o] = 0;
    return o;
}

unsigned dehexify(char* out, const char* digits, unsigned short n) {
    return decode(out, reinterpret_cast<const unsigned char*>(digits), n);
}

unsigned dehexifyHuge(char* out, const char* digits, unsigned long n) {
    return decode(out, reinterpret_cast<const unsigned char*>(digits), n);
}

int isHexString(const char* text, unsigned long length) {
    if (!text) return 0;
    for (unsigned long i = 0; i < length; ++i)
        if (digitValue(static_cast<unsigned char>(text[i])) < 0) return 0;
    return 1;
}

int isHexString(const char* text) {
    return text ? isHexString(text, std::strlen(text)) : 0;
}

unsigned long wideHexify(unsigned short* out, const char* bytes, unsigned long n) {
    // Backwards: unit pair i covers bytes 4i to 4i+3, so out may start at the input.
    return encode(out, reinterpret_cast<const unsigned char*>(bytes), n);
}

unsigned wideDehexify(char* out, const unsigned short* digits, unsigned long n) {
    return decode(out, digits, n);
}
