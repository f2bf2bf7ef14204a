// The segment matcher: LIKE decided byte by byte for the common shapes (a plain text, "abc%",
// "%abc", "%abc%", "a%b%c", with or without anyOne places). The pattern is parsed once into
// segments: runs of literal bytes (escapes resolved, folded to upper case when case is
// ignored) and anyOne places, separated by anyMany. Texts are read in place.
//
// Byte-wise answers equal the character-wise ones when every character involved is one byte.
// In a multi-byte mode that holds for an ASCII pattern over text bytes below 0x80, since such
// bytes are single characters in every mode; so each answer is checked against the text bytes
// it rests on, and any byte of 0x80 or above there sends the call to the general matcher. The
// mode is asked for only then, so ASCII work never touches the per-thread data.
#include <climits>
#include <cstring>
#include "text/strlike_internal.h"

namespace kotext {

namespace {

const unsigned MAX_BYTES = 256;     // longer patterns go to the general matcher
const unsigned MAX_SEGMENTS = 32;   // likewise patterns with more segments
const uint16_t NO_LITERAL = 0xFFFF; // a segment made of anyOne places only
const unsigned long NOT_FOUND = ULONG_MAX;
const unsigned long UNDECIDED = ULONG_MAX - 1;

struct Segment {
    uint16_t Start;        // into Bytes and Any
    uint16_t Length;       // bytes (each one character)
    uint16_t FirstLiteral; // offset of the first literal byte, or NO_LITERAL
    unsigned char Raw;     // that byte as written in the pattern
    bool HasAny;
};

// True when one of the first n bytes is 0x80 or above.
bool anyHighByte(const unsigned char* s, unsigned long n) {
    unsigned long i = 0;
#ifdef __SSE2__
    for (; n - i >= 32; i += 32) {
        __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
        __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 16));
        if (_mm_movemask_epi8(_mm_or_si128(a, b))) return true;
    }
#endif
    for (; n - i >= 8; i += 8) {
        uint64_t w;
        std::memcpy(&w, s + i, 8);
        if (w & 0x8080808080808080ULL) return true;
    }
    for (; i < n; ++i)
        if (s[i] & 0x80) return true;
    return false;
}

// Like skipPlain, for a byte pair: skips the positions p whose byte is not a or b or whose
// next byte is not c or d, as long as both bytes are below 0x80. The byte after `end` - 1 must
// be readable.
inline unsigned long skipPair(const unsigned char* s, unsigned long t, unsigned long end,
                              unsigned char a, unsigned char b, unsigned char c, unsigned char d) {
#ifdef __SSE2__
    const __m128i va = _mm_set1_epi8(static_cast<char>(a)),
                  vb = _mm_set1_epi8(static_cast<char>(b));
    const __m128i vc = _mm_set1_epi8(static_cast<char>(c)),
                  vd = _mm_set1_epi8(static_cast<char>(d));
    while (end - t >= 16) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + t));
        __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + t + 1));
        __m128i first = _mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb));
        __m128i second = _mm_or_si128(_mm_cmpeq_epi8(w, vc), _mm_cmpeq_epi8(w, vd));
        __m128i hit = _mm_or_si128(_mm_and_si128(first, second), _mm_or_si128(v, w));
        if (int mask = _mm_movemask_epi8(hit))
            return t + static_cast<unsigned>(__builtin_ctz(mask));
        t += 16;
    }
#else
    (void)c;
    (void)d;
#endif
    return skipPlain(s, t, end - t, a, b);
}

class SegmentMatcher {
public:
    SegmentMatcher(const unsigned char* text, bool ci, UpperTable upper, LazyCharMode& mode)
        : T(text), Ci(ci), Mode(mode), Upper(upper) {}

    template <bool Terminated>
    int parse(const unsigned char* p, unsigned long length, unsigned char anyMany,
              unsigned char anyOne, unsigned char escape);
    template <bool Terminated> int match(unsigned long textLength);

private:
    bool singleByteMode() { return Mode.get() == CHARS_SINGLE; }
    bool same(unsigned char textByte, unsigned char literal) const {
        return Ci ? Upper(textByte) == literal : textByte == literal;
    }
    bool verify(const Segment& s, unsigned long at) const;
    unsigned long find(const Segment& s, unsigned long from, unsigned long limit);
    unsigned long nextCandidate(const Segment& s, unsigned long t, unsigned long end);
    // `result`, unless it rests on a byte of 0x80 or above among the first `decidedBy` text
    // bytes outside a single-byte locale: then -1.
    int decide(int result, unsigned long decidedBy) {
        if (decidedBy <= Clean) return result;
        if (!anyHighByte(T + Clean, decidedBy - Clean)) {
            Clean = decidedBy;
            return result;
        }
        return singleByteMode() ? result : -1;
    }
    // Bytes [from, to) were seen to be below 0x80 (or the locale is single-byte).
    void seenClean(unsigned long from, unsigned long to) {
        if (from <= Clean && to > Clean) Clean = to;
    }

    const unsigned char* T;
    bool Ci;
    LazyCharMode& Mode;
    UpperTable Upper;
    unsigned char Bytes[MAX_BYTES]; // literal bytes, upper case when Ci
    bool Any[MAX_BYTES];
    Segment Segments[MAX_SEGMENTS];
    unsigned NumSegments = 0;
    unsigned TotalBytes = 0;
    bool LeadingMany = false, TrailingMany = false, SawMany = false;
    unsigned long Clean = 0; // the text bytes before this are all below 0x80
};

// Splits the pattern; the same precedence as the general matcher: anyMany, then anyOne, then
// escape. Returns 1 to go on, 0 when the pattern can never match, -1 when undecided here.
template <bool Terminated>
int SegmentMatcher::parse(const unsigned char* p, unsigned long length, unsigned char anyMany,
                          unsigned char anyOne, unsigned char escape) {
    auto ended = [p, length](unsigned long i) { return Terminated ? p[i] == 0 : i == length; };
    unsigned n = 0, segments = 0, segmentStart = 0;
    uint16_t firstLiteral = NO_LITERAL;
    unsigned char firstRaw = 0, high = 0;
    bool hasAny = false, trailingMany = false, danglingEscape = false;
    auto close = [&]() {
        if (n > segmentStart) {
            if (segments == MAX_SEGMENTS) return false;
            Segments[segments++] =
                Segment{static_cast<uint16_t>(segmentStart),
                        static_cast<uint16_t>(n - segmentStart), firstLiteral, firstRaw, hasAny};
        }
        segmentStart = n;
        firstLiteral = NO_LITERAL;
        hasAny = false;
        return true;
    };
    LeadingMany = !ended(0) && p[0] == anyMany;
    for (unsigned long i = 0; !ended(i);) {
        unsigned char c = p[i];
        high |= c;
        if (c == anyMany) {
            SawMany = trailingMany = true;
            if (!close()) return -1;
            ++i;
            continue;
        }
        trailingMany = false;
        if (n == MAX_BYTES) return -1;
        if (c == anyOne) {
            Any[n] = true;
            Bytes[n++] = 0;
            hasAny = true;
            ++i;
            continue;
        }
        if (c == escape) {
            if (ended(i + 1)) {
                danglingEscape = true;
                break;
            }
            c = p[i + 1];
            high |= c;
            i += 2;
        } else {
            ++i;
        }
        if (firstLiteral == NO_LITERAL) {
            firstLiteral = static_cast<uint16_t>(n - segmentStart);
            firstRaw = c;
        }
        Any[n] = false;
        Bytes[n++] = Ci ? Upper(c) : c;
    }
    if (!close()) return -1;
    NumSegments = segments;
    TotalBytes = n;
    TrailingMany = trailingMany;
    // Pattern characters are single bytes only in a single-byte locale or below 0x80.
    if ((high & 0x80) && !singleByteMode()) return -1;
    // An escape with nothing behind it never matches anything.
    return danglingEscape ? 0 : 1;
}

bool SegmentMatcher::verify(const Segment& s, unsigned long at) const {
    const unsigned char* t = T + at;
    const unsigned char* b = Bytes + s.Start;
    if (!Ci && !s.HasAny) return std::memcmp(t, b, s.Length) == 0;
    const bool* any = Any + s.Start;
    for (unsigned i = 0; i < s.Length; ++i)
        if (!any[i] && !same(t[i], b[i])) return false;
    return true;
}

// The first position in [t, end) whose byte matches the segment's first literal byte, `end`
// when there is none, UNDECIDED when a byte of 0x80 or above turns up outside a single-byte
// locale.
unsigned long SegmentMatcher::nextCandidate(const Segment& s, unsigned long t, unsigned long end) {
    const unsigned char raw = s.Raw;
    const unsigned char folded = Bytes[s.Start + s.FirstLiteral];
    if (!Ci) {
        const void* hit = std::memchr(T + t, raw, end - t);
        return hit ? static_cast<unsigned long>(static_cast<const unsigned char*>(hit) - T) : end;
    }
    if (raw >= 0x80) { // only reached in a single-byte locale
        while (t < end && Upper(T[t]) != folded) ++t;
        return t;
    }
    // ASCII bytes that fold alike: the byte and its other case, when that folds the same.
    unsigned char other = raw;
    if (((raw | 0x20) >= 'a' && (raw | 0x20) <= 'z') && Upper(raw ^ 0x20) == folded)
        other = raw ^ 0x20;
    // With a second literal byte the skip tests pairs. Its ASCII bytes that fold alike are
    // found from the folded byte; a case that does not fold back keeps the single-byte skip.
    bool pair = false;
    unsigned char second = 0, secondOther = 0;
    const unsigned next = s.Start + s.FirstLiteral + 1u;
    if (s.FirstLiteral + 1u < s.Length && !Any[next] && Bytes[next] < 0x80 &&
        Upper(Bytes[next]) == Bytes[next]) {
        pair = true;
        second = secondOther = Bytes[next];
        if (((second | 0x20) >= 'a' && (second | 0x20) <= 'z') && Upper(second ^ 0x20) == second)
            secondOther = second ^ 0x20;
    }
    // The skips stop at every byte of 0x80 or above, so what they pass is clean.
    const unsigned long start = t;
    for (;;) {
        t = pair ? skipPair(T, t, end, raw, other, second, secondOther)
                 : skipPlain(T, t, end - t, raw, other);
        if (t == end) {
            seenClean(start, end);
            return end;
        }
        unsigned char c = T[t];
        if (c >= 0x80 && !singleByteMode()) return UNDECIDED;
        if (c == raw || c == other || Upper(c) == folded) {
            seenClean(start, c < 0x80 ? t + 1 : t);
            return t;
        }
        ++t;
    }
}

// The leftmost position p in [from, limit - length] where the segment matches; NOT_FOUND or
// UNDECIDED.
unsigned long SegmentMatcher::find(const Segment& s, unsigned long from, unsigned long limit) {
    if (limit < from || limit - from < s.Length) return NOT_FOUND;
    const unsigned long lastStart = limit - s.Length;
    if (s.FirstLiteral == NO_LITERAL) return from;
    if (!Ci && !s.HasAny) {
        const void* hit = memmem(T + from, limit - from, Bytes + s.Start, s.Length);
        return hit ? static_cast<unsigned long>(static_cast<const unsigned char*>(hit) - T)
                   : NOT_FOUND;
    }
    const unsigned f = s.FirstLiteral;
    for (unsigned long q = from + f; q <= lastStart + f; ++q) {
        q = nextCandidate(s, q, lastStart + f + 1);
        if (q == UNDECIDED) return UNDECIDED;
        if (q > lastStart + f) break;
        if (verify(s, q - f)) return q - f;
    }
    return NOT_FOUND;
}

template <bool Terminated> int SegmentMatcher::match(unsigned long textLength) {
    if (NumSegments == 0) {
        // Only anyMany (anything matches) or an empty pattern (only the empty text).
        if (SawMany) return 1;
        return (Terminated ? T[0] == 0 : textLength == 0) ? 1 : 0;
    }
    if (Terminated && !LeadingMany && TrailingMany && NumSegments == 1) {
        // A prefix: compare up to the terminator without measuring the text.
        const Segment& s = Segments[0];
        for (unsigned i = 0; i < s.Length; ++i) {
            unsigned char c = T[i];
            if (!c) return 0; // fewer bytes than the pattern has characters
            if (!Any[i] && !same(c, Bytes[i])) return decide(0, i + 1);
        }
        return decide(1, s.Length);
    }
    const unsigned long length =
        Terminated ? std::strlen(reinterpret_cast<const char*>(T)) : textLength;
    // Too few bytes for the pattern's characters: no match in any mode.
    if (length < TotalBytes) return 0;
    if (!SawMany) return decide(length == TotalBytes && verify(Segments[0], 0), length);
    unsigned long pos = 0, limit = length;
    unsigned first = 0, end = NumSegments;
    if (!LeadingMany) {
        const Segment& s = Segments[0];
        if (!verify(s, 0)) return decide(0, s.Length);
        pos = s.Length;
        first = 1;
    }
    if (!TrailingMany) limit = length - Segments[--end].Length;
    for (unsigned i = first; i < end; ++i) {
        unsigned long at = find(Segments[i], pos, limit);
        if (at == UNDECIDED) return -1;
        if (at == NOT_FOUND) return decide(0, length);
        pos = at + Segments[i].Length;
    }
    if (TrailingMany) return decide(1, pos);
    return decide(verify(Segments[end], limit) ? 1 : 0, length);
}

} // namespace

// The rest of a call that the leading literals did not settle.
template <bool Terminated>
int matchSegments(const unsigned char* text, unsigned long textLength, const unsigned char* pattern,
                  unsigned long patternLength, unsigned char anyMany, unsigned char anyOne,
                  unsigned char escape, bool ci, UpperTable upper, LazyCharMode& mode) {
    SegmentMatcher m(text, ci, upper, mode);
    int parsed = m.parse<Terminated>(pattern, patternLength, anyMany, anyOne, escape);
    if (parsed <= 0) return parsed;
    return m.match<Terminated>(textLength);
}

template int matchSegments<false>(const unsigned char*, unsigned long, const unsigned char*,
                                  unsigned long, unsigned char, unsigned char, unsigned char, bool,
                                  UpperTable, LazyCharMode&);
template int matchSegments<true>(const unsigned char*, unsigned long, const unsigned char*,
                                 unsigned long, unsigned char, unsigned char, unsigned char, bool,
                                 UpperTable, LazyCharMode&);

} // namespace kotext
