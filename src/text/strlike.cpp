// LIKE matching with one back-track point: after each run of anyMany the matcher remembers
// where text and pattern stood; on a mismatch it moves that text position on by one character
// and tries again from the remembered pattern position. That suffices because anyMany can
// absorb everything a later attempt skips. Characters are taken whole (multi-byte ones byte
// for byte); counted texts are never read beyond their lengths.
//
// Most calls never get here: the segment matcher (strlike_segments.cpp) answers byte-wise
// whenever that gives the same answer, and hands the rest to this matcher.
//
// Speed: when the pattern resumes with a literal byte, the text positions that cannot start a
// match are skipped eight bytes at a time (a byte-parallel test for "non-ASCII or one of the
// literal's case variants"); the skip visits exactly the positions the plain back-track would
// try and reject. Case folding reads the C library's upper-case table once per call.
#include <cstdint>
#include <cstring>
#include "kolib/strlike.h"
#include "kolib/testing.h"
#include "text/strlike_internal.h"
#include "text/text_chars.h"

using namespace kotext;

namespace {

// The end of a counted text is its length; the end of a terminated text is its NUL.
struct Counted {
    unsigned long Length;
    bool atEnd(const unsigned char*, unsigned long i) const { return i >= Length; }
    unsigned size(LazyCharMode& mode, const unsigned char* s, unsigned long i) const {
        return charSize(mode, s + i, Length - i);
    }
    // Bytes that may be read from i on without passing the end.
    unsigned long readable(const unsigned char*, unsigned long i) { return Length - i; }
};

struct Terminated {
    bool atEnd(const unsigned char* s, unsigned long i) const { return s[i] == 0; }
    unsigned size(LazyCharMode& mode, const unsigned char* s, unsigned long i) const {
        return charSize(mode, s + i);
    }
    // The length is found (once) only when a skip needs it.
    unsigned long readable(const unsigned char* s, unsigned long i) {
        if (!Known) {
            Length = std::strlen(reinterpret_cast<const char*>(s));
            Known = true;
        }
        return Length - i;
    }
    unsigned long Length = 0;
    bool Known = false;
};

template <typename TextEnd, typename PatternEnd> class Matcher {
public:
    Matcher(const unsigned char* text, TextEnd textEnd, const unsigned char* pattern,
            PatternEnd patternEnd, unsigned char anyMany, unsigned char anyOne,
            unsigned char escape, bool ci, LazyCharMode mode)
        : T(text), TE(textEnd), P(pattern), PE(patternEnd), AnyMany(anyMany), AnyOne(anyOne),
          Escape(escape), Ci(ci), Mode(mode) {}

    int run();

private:
    bool textEnd(unsigned long t) const { return TE.atEnd(T, t); }
    bool patternEnd(unsigned long p) const { return PE.atEnd(P, p); }
    unsigned textSize(unsigned long t) { return TE.size(Mode, T, t); }
    bool sameByte(unsigned char a, unsigned char b) const {
        return a == b || (Ci && Upper(a) == Upper(b));
    }
    bool matchChar(unsigned long& t, unsigned long& p);
    unsigned long skipToCandidate(unsigned long t, unsigned long p);

    const unsigned char* T;
    TextEnd TE;
    const unsigned char* P;
    PatternEnd PE;
    unsigned char AnyMany, AnyOne, Escape;
    bool Ci;
    UpperTable Upper;
    LazyCharMode Mode;
};

// Compares the text character at t with the pattern character at p; on a match advances both.
template <typename TE, typename PE>
bool Matcher<TE, PE>::matchChar(unsigned long& t, unsigned long& p) {
    unsigned char a = T[t], b = P[p];
    if (a < 0x80 && b < 0x80) {
        if (!sameByte(a, b)) return false;
        ++t;
        ++p;
        return true;
    }
    unsigned ts = textSize(t), ps = PE.size(Mode, P, p);
    if (ts != ps) return false;
    if (ts == 1 ? !sameByte(a, b) : std::memcmp(T + t, P + p, ts) != 0) return false;
    t += ts;
    p += ps;
    return true;
}

// From text position t (a character start), the first character position at or after t at
// which the pattern character at p could match, or the end of the text. Only literal ASCII
// pattern characters narrow the search; anything else returns t.
template <typename TE, typename PE>
unsigned long Matcher<TE, PE>::skipToCandidate(unsigned long t, unsigned long p) {
    unsigned char lit = P[p];
    if (lit == AnyMany || lit == AnyOne) return t;
    if (lit == Escape) {
        if (patternEnd(p + 1)) return t;
        lit = P[p + 1];
    }
    if (lit >= 0x80) return t;
    // The ASCII bytes that match lit: itself and, ignoring case, its other case when that
    // folds alike. Non-ASCII text bytes are left to the careful test below.
    unsigned char other = lit;
    if (Ci && ((lit | 0x20) >= 'a' && (lit | 0x20) <= 'z') && Upper(lit ^ 0x20) == Upper(lit))
        other = lit ^ 0x20;
    for (;;) {
        t = skipPlain(T, t, TE.readable(T, t), lit, other);
        if (textEnd(t)) return t;
        unsigned char c = T[t];
        if (c < 0x80) {
            if (c == lit || c == other) return t;
            if (Ci && Upper(c) == Upper(lit)) return t;
            ++t;
        } else {
            // A non-ASCII character may still fold to lit in a single-byte locale.
            unsigned size = textSize(t);
            if (size == 1 && sameByte(c, lit)) return t;
            t += size;
        }
    }
}

template <typename TE, typename PE> int Matcher<TE, PE>::run() {
    unsigned long t = 0, p = 0;
    bool haveBack = false;
    unsigned long backT = 0, backP = 0;

    while (!textEnd(t)) {
        unsigned char pc = patternEnd(p) ? 0 : P[p];
        bool patternLeft = !patternEnd(p);
        if (patternLeft && pc == AnyMany) {
            for (;;) {
                while (!patternEnd(p) && P[p] == AnyMany) ++p;
                while (!patternEnd(p) && P[p] == AnyOne && !textEnd(t)) {
                    t += textSize(t);
                    ++p;
                }
                if (patternEnd(p) || P[p] != AnyMany) break;
            }
            if (patternEnd(p)) return 1;
            haveBack = true;
            backT = t = skipToCandidate(t, p);
            backP = p;
            continue;
        }
        if (patternLeft && pc == AnyOne) {
            t += textSize(t);
            ++p;
            continue;
        }
        if (patternLeft) {
            unsigned long q = p;
            if (pc == Escape) ++q; // the next character is literal, whatever it is
            if (!patternEnd(q) && matchChar(t, q)) {
                p = q;
                continue;
            }
        }
        // Mismatch, or pattern exhausted with text left.
        if (!haveBack) return 0;
        backT += textSize(backT);
        backT = skipToCandidate(backT, backP);
        t = backT;
        p = backP;
    }
    while (!patternEnd(p) && P[p] == AnyMany) ++p;
    return patternEnd(p) ? 1 : 0;
}

inline unsigned long withoutTrailingBlanks(const char* s, unsigned long length) {
    while (length && s[length - 1] == ' ') --length;
    return length;
}

// Both lengths as given, after the blank trimming of exactLength 0.
int likeCounted(const char* text, unsigned long textLength, const char* pattern,
                unsigned long patternLength, unsigned char anyMany, unsigned char anyOne,
                unsigned char escape, unsigned caseSensitive, bool bySegments) {
    LazyCharMode mode;
    if (bySegments) {
        int r = likeBySegments<false>(bytes(text), textLength, bytes(pattern), patternLength,
                                      anyMany, anyOne, escape, caseSensitive == 0, mode);
        if (r >= 0) return r;
    }
    Matcher<Counted, Counted> m(bytes(text), Counted{textLength}, bytes(pattern),
                                Counted{patternLength}, anyMany, anyOne, escape, caseSensitive == 0,
                                mode);
    return m.run();
}

} // namespace

namespace {
// The counted form, with or without the byte-wise shortcuts.
int likeTrimmed(const char* text, unsigned long textLength, const char* pattern,
                unsigned long patternLength, unsigned char anyMany, unsigned char anyOne,
                unsigned char escape, unsigned caseSensitive, unsigned exactLength,
                bool shortcuts) {
    if (!text) textLength = 0;
    if (!pattern) patternLength = 0;
    if (!exactLength) {
        textLength = withoutTrailingBlanks(text, textLength);
        patternLength = withoutTrailingBlanks(pattern, patternLength);
    }
    return likeCounted(text, textLength, pattern, patternLength, anyMany, anyOne, escape,
                       caseSensitive, shortcuts);
}
} // namespace

int strLike(const char* text, unsigned long textLength, const char* pattern,
            unsigned long patternLength, unsigned char anyMany, unsigned char anyOne,
            unsigned char escape, unsigned caseSensitive, unsigned exactLength) {
    return likeTrimmed(text, textLength, pattern, patternLength, anyMany, anyOne, escape,
                       caseSensitive, exactLength, true);
}

int strLike(const char* text, const char* pattern, unsigned char anyMany, unsigned char anyOne,
            unsigned char escape, unsigned caseSensitive, unsigned exactLength) {
    if (!text) text = "";
    if (!pattern) pattern = "";
    if (!exactLength)
        return strLike(text, std::strlen(text), pattern, std::strlen(pattern), anyMany, anyOne,
                       escape, caseSensitive, 0);
    LazyCharMode mode;
    int r = likeBySegments<true>(bytes(text), 0, bytes(pattern), 0, anyMany, anyOne, escape,
                                 caseSensitive == 0, mode);
    if (r >= 0) return r;
    // Exact lengths need no length up front: walk to the NULs.
    Matcher<Terminated, Terminated> m(bytes(text), Terminated{}, bytes(pattern), Terminated{},
                                      anyMany, anyOne, escape, caseSensitive == 0, mode);
    return m.run();
}

int strLikeGeneral(const char* text, unsigned long textLength, const char* pattern,
                   unsigned long patternLength, unsigned char anyMany, unsigned char anyOne,
                   unsigned char escape, unsigned caseSensitive, unsigned exactLength) {
    return likeTrimmed(text, textLength, pattern, patternLength, anyMany, anyOne, escape,
                       caseSensitive, exactLength, false);
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
