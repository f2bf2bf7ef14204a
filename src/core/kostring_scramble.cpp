// Scrambling of a KoString's bytes in place, for texts written to files that should not be
// read at a glance. The caller stores the type beside the text. Type 1 complements every
// byte, type 2 does the same but keeps line feeds (and 0xF5, their complement) so that line
// structure survives, type 3 is a byte-wide variant of the TEA cipher keyed by four bytes.
#include <cstring>
#include "kolib/kostring.h"

namespace {
// The built-in key of type 3; files scrambled with one key can only be read with it.
const unsigned char DEFAULT_KEY[16] = {0x5b, 0xc3, 0x17, 0x8e, 0x42, 0xd9, 0x6a, 0x21,
                                       0xf0, 0x3c, 0x95, 0x7e, 0x08, 0xb4, 0x61, 0xcd};
const uint8_t DELTA = 0x9E;

void makeKey(unsigned char key[16], const char* given) {
    std::memcpy(key, DEFAULT_KEY, sizeof DEFAULT_KEY);
    if (!given) return;
    size_t n = 0;
    while (n < 15 && given[n]) ++n;
    std::memcpy(key, given, n);
    key[n] = '\0';
}

void complement(char* bytes, unsigned long n, bool keepLineFeeds) {
    for (unsigned long i = 0; i < n; ++i) {
        unsigned char c = static_cast<unsigned char>(bytes[i]);
        if (keepLineFeeds && (c == '\n' || c == 0xF5)) continue;
        bytes[i] = static_cast<char>(~c);
    }
}

// One pair (y, z) with all arithmetic on unsigned 8-bit values.
void encipher(uint8_t& y, uint8_t& z, const unsigned char* k) {
    uint8_t sum = 0;
    for (int round = 0; round < 32; ++round) {
        sum = static_cast<uint8_t>(sum + DELTA);
        y = static_cast<uint8_t>(
            y + ((static_cast<uint8_t>(z << 4) + k[0]) ^ (z + sum) ^ ((z >> 5) + k[1])));
        z = static_cast<uint8_t>(
            z + ((static_cast<uint8_t>(y << 4) + k[2]) ^ (y + sum) ^ ((y >> 5) + k[3])));
    }
}

void decipher(uint8_t& y, uint8_t& z, const unsigned char* k) {
    uint8_t sum = static_cast<uint8_t>(DELTA * 32);
    for (int round = 0; round < 32; ++round) {
        z = static_cast<uint8_t>(
            z - ((static_cast<uint8_t>(y << 4) + k[2]) ^ (y + sum) ^ ((y >> 5) + k[3])));
        y = static_cast<uint8_t>(
            y - ((static_cast<uint8_t>(z << 4) + k[0]) ^ (z + sum) ^ ((z >> 5) + k[1])));
        sum = static_cast<uint8_t>(sum - DELTA);
    }
}

// Pairs are the bytes at 0 and 1, 2 and 3, ...; an odd last byte pairs with byte 0.
void tea(char* text, unsigned long n, const char* given, bool forward) {
    unsigned char key[16];
    makeKey(key, given);
    uint8_t* bytes = reinterpret_cast<uint8_t*>(text);
    if (n == 1) {
        bytes[0] ^= key[0];
        return;
    }
    if (n == 0) return;
    unsigned long last = (n - 1) & ~1ul; // the last even offset
    if (forward) {
        for (unsigned long i = 0; i <= last; i += 2)
            encipher(bytes[i], bytes[i + 1 < n ? i + 1 : 0], key);
    } else {
        for (unsigned long i = last + 2; i >= 2; i -= 2)
            decipher(bytes[i - 2], bytes[i - 1 < n ? i - 1 : 0], key);
    }
}
} // namespace

namespace {
void scramble(char* bytes, unsigned long n, unsigned short type, const char* key, bool forward) {
    if (!bytes) return;
    switch (type) {
    case 1:
        complement(bytes, n, false);
        break; // its own inverse
    case 2:
        complement(bytes, n, true);
        break;
    case 3:
        tea(bytes, n, key, forward);
        break;
    default:
        break;
    }
}
} // namespace

void KoString::encrypt(unsigned short type, const char* key) {
    scramble(Buf, CurSize, type, key, true);
}

void KoString::decrypt(unsigned short type, const char* key) {
    scramble(Buf, CurSize, type, key, false);
}
