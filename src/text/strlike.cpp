// LIKE matching with one back-track point: after each run of anyMany the matcher remembers
// where text and pattern stood; on a mismatch it moves that text position on by one character
// and tries again from the remembered pattern position. That suffices because anyMany can
// absorb everything a later attempt skips. Characters are taken whole (multi-byte ones byte
// for byte); counted texts are never read beyond their lengths.
#include <cstring>
#include "kolib/strlike.h"
#include "text/text_chars.h"

using namespace kotext;

namespace {
struct Matcher {
    const unsigned char* T;
    unsigned long TL;
    const unsigned char* P;
    unsigned long PL;
    bool Ci;
    LazyCharMode Mode;

    unsigned textSize(unsigned long t) { return charSize(Mode, T + t, TL - t); }

    // Compares the text character at t with the pattern character at p; on a match returns
    // true and advances both.
    bool matchChar(unsigned long& t, unsigned long& p) {
        unsigned char a = T[t], b = P[p];
        if (a < 0x80 && b < 0x80) {
            if (a != b && (!Ci || upperByte(a) != upperByte(b))) return false;
            ++t;
            ++p;
            return true;
        }
        unsigned ts = textSize(t), ps = charSize(Mode, P + p, PL - p);
        if (ts != ps) return false;
        if (ts == 1) {
            if (a != b && (!Ci || upperByte(a) != upperByte(b))) return false;
        } else if (std::memcmp(T + t, P + p, ts)) {
            return false;
        }
        t += ts;
        p += ps;
        return true;
    }
};

inline unsigned long withoutTrailingBlanks(const char* s, unsigned long length) {
    while (length && s[length - 1] == ' ') --length;
    return length;
}
} // namespace

int strLike(const char* text, unsigned long textLength, const char* pattern,
            unsigned long patternLength, unsigned char anyMany, unsigned char anyOne,
            unsigned char escape, unsigned caseSensitive, unsigned exactLength) {
    if (!text) textLength = 0;
    if (!pattern) patternLength = 0;
    if (!exactLength) {
        textLength = withoutTrailingBlanks(text, textLength);
        patternLength = withoutTrailingBlanks(pattern, patternLength);
    }
    Matcher m{bytes(text), textLength, bytes(pattern), patternLength, caseSensitive == 0, {}};
    const unsigned char* P = m.P;
    const unsigned long TL = textLength, PL = patternLength;
    unsigned long t = 0, p = 0;
    bool haveBack = false;
    unsigned long backT = 0, backP = 0;

    while (t < TL) {
        if (p < PL && P[p] == anyMany) {
            for (;;) {
                while (p < PL && P[p] == anyMany) ++p;
                while (p < PL && P[p] == anyOne && t < TL) {
                    t += m.textSize(t);
                    ++p;
                }
                if (!(p < PL && P[p] == anyMany)) break;
            }
            if (p >= PL) return 1;
            haveBack = true;
            backT = t;
            backP = p;
            continue;
        }
        if (p < PL && P[p] == anyOne) {
            t += m.textSize(t);
            ++p;
            continue;
        }
        if (p < PL) {
            unsigned long q = p;
            if (P[q] == escape) ++q; // the next character is literal, whatever it is
            if (q < PL && m.matchChar(t, q)) {
                p = q;
                continue;
            }
        }
        // Mismatch, or pattern exhausted with text left.
        if (!haveBack) return 0;
        backT += m.textSize(backT);
        t = backT;
        p = backP;
    }
    while (p < PL && P[p] == anyMany) ++p;
    return p >= PL ? 1 : 0;
}

int strLike(const char* text, const char* pattern, unsigned char anyMany, unsigned char anyOne,
            unsigned char escape, unsigned caseSensitive, unsigned exactLength) {
    return strLike(text, text ? std::strlen(text) : 0, pattern, pattern ? std::strlen(pattern) : 0,
                   anyMany, anyOne, escape, caseSensitive, exactLength);
}

int isCharEqual(const char* a, const char* b, unsigned short caseSensitive) {
    const unsigned char* x = bytes(a);
    const unsigned char* y = bytes(b);
    LazyCharMode mode;
    unsigned xs = charSize(mode, x), ys = charSize(mode, y);
    if (xs != ys) return 0;
    if (xs > 1) return std::memcmp(x, y, xs) == 0;
    return *x == *y || (!caseSensitive && upperByte(*x) == upperByte(*y));
}
