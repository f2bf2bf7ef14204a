// Search in byte strings. Every search steps whole characters, so a match never starts inside
// a multi-byte character and a single-byte character never matches a trail byte. A character
// argument is a byte below 256 or a two-byte character (lead << 8) | trail.
#include <cstring>
#include "kolib/strutil.h"
#include "text/text_chars.h"

using namespace kotext;

namespace {
// The bytes of a character argument; returns their count (0 for the character 0).
inline unsigned charBytes(unsigned short ch, unsigned char* out) {
    if (ch == 0) return 0;
    if (ch < 256) {
        out[0] = static_cast<unsigned char>(ch);
        return 1;
    }
    out[0] = static_cast<unsigned char>(ch >> 8);
    out[1] = static_cast<unsigned char>(ch & 0xFF);
    return 2;
}

inline char* mutableText(const unsigned char* p) {
    return const_cast<char*>(reinterpret_cast<const char*>(p));
}

// First (or last) character within length bytes equal to `want` of `wantSize` bytes.
const unsigned char* findCharacter(const unsigned char* s, unsigned long length,
                                   const unsigned char* want, unsigned wantSize, bool last) {
    if (!s || !wantSize) return nullptr;
    LazyCharMode mode;
    const unsigned char* found = nullptr;
    for (unsigned long i = 0; i < length;) {
        unsigned size = charSize(mode, s + i, length - i);
        if (size == wantSize && s[i] == want[0] && (size == 1 || !std::memcmp(s + i, want, size))) {
            found = s + i;
            if (!last) break;
        }
        i += size;
    }
    return found;
}

// The same over a terminated text.
const unsigned char* findCharacter(const unsigned char* s, const unsigned char* want,
                                   unsigned wantSize, bool last) {
    if (!s || !wantSize) return nullptr;
    LazyCharMode mode;
    const unsigned char* found = nullptr;
    while (*s) {
        unsigned size = charSize(mode, s);
        if (size == wantSize && *s == want[0] && (size == 1 || !std::memcmp(s, want, size))) {
            found = s;
            if (!last) break;
        }
        s += size;
    }
    return found;
}

// First character boundary at which `match` occurs (case-insensitively with ci).
const unsigned char* findText(const unsigned char* s, unsigned long length,
                              const unsigned char* match, unsigned long matchLength, bool ci) {
    if (!s || (!match && matchLength)) return nullptr;
    if (matchLength == 0) return s;
    LazyCharMode mode;
    for (unsigned long i = 0; i + matchLength <= length;) {
        bool equal = ci ? compareCiBytes(s + i, match, matchLength, false) == 0
                        : s[i] == match[0] && !std::memcmp(s + i, match, matchLength);
        if (equal) return s + i;
        i += charSize(mode, s + i, length - i);
    }
    return nullptr;
}

// 1 when the character of `size` bytes at c is one of the characters of the terminated set.
bool inSet(const unsigned char* set, const unsigned char* c, unsigned size, LazyCharMode& mode) {
    while (*set) {
        unsigned n = charSize(mode, set);
        if (n == size && !std::memcmp(set, c, size)) return true;
        set += n;
    }
    return false;
}

char* spanSet(const char* text, const char* set, bool wantMember) {
    if (!text) return nullptr;
    const unsigned char* s = bytes(text);
    const unsigned char* members = bytes(set ? set : "");
    LazyCharMode mode;
    while (*s) {
        unsigned size = charSize(mode, s);
        if (inSet(members, s, size, mode) == wantMember) return mutableText(s);
        s += size;
    }
    return nullptr;
}
} // namespace

char* strFind(const char* text, unsigned short ch) {
    unsigned char want[2];
    unsigned n = charBytes(ch, want);
    return mutableText(findCharacter(bytes(text), want, n, false));
}

char* strFind(const char* text, unsigned long length, unsigned short ch) {
    unsigned char want[2];
    unsigned n = charBytes(ch, want);
    return mutableText(findCharacter(bytes(text), length, want, n, false));
}

char* strFind(const char* text, const char* match) {
    if (!text || !match) return nullptr;
    return mutableText(
        findText(bytes(text), std::strlen(text), bytes(match), std::strlen(match), false));
}

char* strFind(const char* text, unsigned long length, const char* match,
              unsigned long matchLength) {
    return mutableText(findText(bytes(text), length, bytes(match), matchLength, false));
}

char* strFind(const char* text, unsigned short c1, unsigned short c2, unsigned short c3) {
    if (!text) return nullptr;
    unsigned char want[3][2];
    unsigned sizes[3] = {charBytes(c1, want[0]), charBytes(c2, want[1]), charBytes(c3, want[2])};
    const unsigned char* s = bytes(text);
    LazyCharMode mode;
    while (*s) {
        unsigned size = charSize(mode, s);
        for (int k = 0; k < 3; ++k)
            if (sizes[k] == size && !std::memcmp(s, want[k], size)) return mutableText(s);
        s += size;
    }
    return nullptr;
}

char* strFindAnsi(const char* text, const char* match) {
    if (!text || !match) return nullptr;
    return const_cast<char*>(std::strstr(text, match));
}

char* strFindReverse(const char* text, unsigned short ch) {
    unsigned char want[2];
    unsigned n = charBytes(ch, want);
    return mutableText(findCharacter(bytes(text), want, n, true));
}

char* strFindReverse(const char* text, unsigned long length, unsigned short ch) {
    unsigned char want[2];
    unsigned n = charBytes(ch, want);
    return mutableText(findCharacter(bytes(text), length, want, n, true));
}

char* strFindCi(const char* text, const char* match) {
    if (!text || !match) return nullptr;
    return mutableText(
        findText(bytes(text), std::strlen(text), bytes(match), std::strlen(match), true));
}

char* strFindCi(const char* text, unsigned long length, const char* match,
                unsigned long matchLength) {
    return mutableText(findText(bytes(text), length, bytes(match), matchLength, true));
}

char* strContains(const char* text, const char* set) {
    return spanSet(text, set, true);
}

char* strDoesNotContain(const char* text, const char* set) {
    return spanSet(text, set, false);
}
