// Private pieces of LIKE matching shared by the general matcher (strlike.cpp) and the segment
// matcher (strlike_segments.cpp): the upper-case table, the block-wise byte skip, and the
// segment matcher's entry point.
#pragma once

#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif
#include "text/text_chars.h"

namespace kotext {

// toupper as a table lookup, valid for every unsigned char.
class UpperTable {
public:
    UpperTable() {
#ifdef __GLIBC__
        Table = *__ctype_toupper_loc();
#endif
    }
    unsigned char operator()(unsigned char c) const {
#ifdef __GLIBC__
        return static_cast<unsigned char>(Table[c]);
#else
        return upperByte(c);
#endif
    }

private:
#ifdef __GLIBC__
    const int32_t* Table = nullptr;
#endif
};

// From t, skips the bytes among the next `readable` that are ASCII and neither a nor b, as far
// as whole blocks allow; returns the first position that needs a closer look.
inline unsigned long skipPlain(const unsigned char* s, unsigned long t, unsigned long readable,
                               unsigned char a, unsigned char b) {
    const unsigned long end = t + readable;
#ifdef __SSE2__
    const __m128i va = _mm_set1_epi8(static_cast<char>(a));
    const __m128i vb = _mm_set1_epi8(static_cast<char>(b));
    while (end - t >= 32) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + t));
        __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + t + 16));
        __m128i hv = _mm_or_si128(v, _mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb)));
        __m128i hw = _mm_or_si128(w, _mm_or_si128(_mm_cmpeq_epi8(w, va), _mm_cmpeq_epi8(w, vb)));
        unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(hv)) |
                        (static_cast<unsigned>(_mm_movemask_epi8(hw)) << 16);
        if (mask) return t + static_cast<unsigned>(__builtin_ctz(mask));
        t += 32;
    }
    while (end - t >= 16) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + t));
        __m128i hit = _mm_or_si128(v, _mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb)));
        if (int mask = _mm_movemask_epi8(hit))
            return t + static_cast<unsigned>(__builtin_ctz(mask));
        t += 16;
    }
#endif
    const uint64_t ones = 0x0101010101010101ULL, highs = 0x8080808080808080ULL;
    const uint64_t wa = ones * a, wb = ones * b;
    while (end - t >= 8) {
        uint64_t w;
        std::memcpy(&w, s + t, 8);
        uint64_t xa = w ^ wa, xb = w ^ wb;
        uint64_t flags = (w | ((xa - ones) & ~xa) | ((xb - ones) & ~xb)) & highs;
        // The lowest flagged byte is exact (borrows only spill upwards); little-endian only.
        if (flags)
            return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? t + __builtin_ctzll(flags) / 8 : t;
        t += 8;
    }
    return t;
}

// Decides a LIKE match byte by byte where that gives the character-wise answer: the pattern
// is split at its anyMany runs into segments of literal bytes and anyOne places; the first
// segment is anchored at the start, the last at the end, those between are found leftmost.
// Works when every character involved is one byte: a single-byte locale, or pattern and the
// text bytes that decide all below 0x80. Returns 1 (match), 0 (no match) or -1 when the
// general matcher must decide.
template <bool Terminated>
int matchSegments(const unsigned char* text, unsigned long textLength, const unsigned char* pattern,
                  unsigned long patternLength, unsigned char anyMany, unsigned char anyOne,
                  unsigned char escape, bool ci, UpperTable upper, LazyCharMode& mode);

// (Inline so that a short call settles in the caller's frame; a length is ignored when
// Terminated.)
template <bool Terminated>
inline int likeBySegments(const unsigned char* text, unsigned long textLength,
                          const unsigned char* pattern, unsigned long patternLength,
                          unsigned char anyMany, unsigned char anyOne, unsigned char escape,
                          bool ci, LazyCharMode& mode) {
    // The part before the first anyMany is anchored and needs no search: while pattern and
    // text are ASCII it is settled here, byte against byte; what follows is the same question
    // about the rest of both.
    UpperTable upper;
    auto textEnded = [=](unsigned long i) { return Terminated ? !text[i] : i == textLength; };
    auto patternEnded = [=](unsigned long j) {
        return Terminated ? !pattern[j] : j == patternLength;
    };
    unsigned long i = 0, j = 0; // text and pattern positions
    for (;; ++i, ++j) {
        if (patternEnded(j)) return textEnded(i) ? 1 : 0;
        unsigned char pc = pattern[j];
        if ((pc == anyMany) | (pc == anyOne) | (pc == escape) | (pc >= 0x80)) {
            if (pc == anyMany || pc >= 0x80) break;
            if (pc == anyOne) {
                if (textEnded(i)) return 0;
                if (text[i] >= 0x80) break;
                continue;
            }
            // The escape: the next pattern byte is a literal, whatever it is.
            if (patternEnded(j + 1) || pattern[j + 1] >= 0x80) break;
            if (textEnded(i)) return 0;
            unsigned char tc = text[i], lc = pattern[j + 1];
            if (tc != lc) {
                if (tc >= 0x80) break;
                if (!ci || upper(tc) != upper(lc)) return 0;
            }
            ++j;
            continue;
        }
        if (textEnded(i)) return 0;
        unsigned char tc = text[i];
        if (tc != pc) {
            if (tc >= 0x80) break;
            if (!ci || upper(tc) != upper(pc)) return 0;
        }
    }
    if (pattern[j] == anyMany) { // a prefix: nothing but anyMany may follow
        unsigned long k = j + 1;
        while (!patternEnded(k) && pattern[k] == anyMany) ++k;
        if (patternEnded(k)) return 1;
    }
    return matchSegments<Terminated>(text + i, textLength - i, pattern + j, patternLength - j,
                                     anyMany, anyOne, escape, ci, upper, mode);
}

} // namespace kotext
