// Ordering and equality of byte strings (plain, case-insensitive, padded, by collation) and of
// wide UCS-2 strings. Case-insensitive walks step whole characters: a multi-byte character is
// compared byte for byte, a single byte by its upper case. The character mode is looked up
// only when a non-ASCII byte is met, so ASCII comparisons never touch the per-thread record.
#include <cmath>
#include <cstring>
#include <cwctype>
#include "kolib/memory.h"
#include "kolib/mbchar.h"
#include "kolib/strcompare.h"
#include "text/text_chars.h"

using namespace kotext;

int16_t kotext::compareCiBytes(const unsigned char* a, const unsigned char* b, unsigned long n,
                               bool stopAtNul) {
    LazyCharMode mode;
    unsigned long i = 0;
    while (i < n) {
        unsigned char ca = a[i], cb = b[i];
        if (ca < 0x80 && cb < 0x80) {
            if (ca != cb) {
                unsigned char ua = upperByte(ca), ub = upperByte(cb);
                if (ua != ub) return sign(static_cast<long>(ua) - ub);
            } else if (!ca && stopAtNul) {
                return 0;
            }
            ++i;
            continue;
        }
        unsigned size = charSize(mode, a + i, n - i);
        if (size > 1) {
            int r = std::memcmp(a + i, b + i, size);
            if (r) return sign(r);
        } else if (upperByte(ca) != upperByte(cb)) {
            return sign(static_cast<long>(upperByte(ca)) - upperByte(cb));
        }
        i += size;
    }
    return 0;
}

namespace {
const char EMPTY[] = "";
inline const char* orEmpty(const char* s) {
    return s ? s : EMPTY;
}

// Copies a counted text into local (or, when longer, allocated) terminated storage.
class TerminatedCopy {
public:
    TerminatedCopy(const char* text, unsigned long length, bool upper) : Text(Local) {
        if (!text) length = 0;
        if (length >= sizeof Local) {
            Text = static_cast<char*>(ramMalloc(length + 1));
            if (!Text) return;
        }
        std::memcpy(Text, orEmpty(text), length);
        Text[length] = 0;
        if (upper) strUpper(Text);
    }
    ~TerminatedCopy() {
        if (Text != Local) ramFree(Text);
    }
    TerminatedCopy(const TerminatedCopy&) = delete;
    TerminatedCopy& operator=(const TerminatedCopy&) = delete;
    const char* get() const { return Text; }

private:
    char Local[512];
    char* Text;
};

int16_t collate(const char* a, unsigned long aLength, const char* b, unsigned long bLength,
                bool upper) {
    TerminatedCopy ca(a, aLength, upper), cb(b, bLength, upper);
    if (!ca.get() || !cb.get()) {
        // Out of memory for the copies: order by bytes instead.
        return upper ? strCompareCi(a, aLength, b, bLength) : strCompare(a, aLength, b, bLength);
    }
    return sign(std::strcoll(ca.get(), cb.get()));
}

inline unsigned long lengthOf(const char* s) {
    return s ? std::strlen(s) : 0;
}
} // namespace

int16_t strCompare(const char* a, const char* b) {
    return sign(std::strcmp(orEmpty(a), orEmpty(b)));
}

int16_t strCompareCi(const char* a, const char* b) {
    a = orEmpty(a);
    b = orEmpty(b);
    // Walk until the shorter text's NUL: both hold that many bytes plus a NUL.
    unsigned long n = 0;
    while (a[n] && b[n]) ++n;
    return compareCiBytes(bytes(a), bytes(b), n + 1, true);
}

int16_t strCompare(const char* a, unsigned long aLength, const char* b, unsigned long bLength) {
    unsigned long common = aLength < bLength ? aLength : bLength;
    if (common) {
        int r = std::memcmp(a, b, common);
        if (r) return sign(r);
    }
    return aLength < bLength ? -1 : aLength > bLength ? 1 : 0;
}

int16_t strCompareCi(const char* a, unsigned long aLength, const char* b, unsigned long bLength) {
    unsigned long common = aLength < bLength ? aLength : bLength;
    if (common) {
        int16_t r = compareCiBytes(bytes(a), bytes(b), common, false);
        if (r) return r;
    }
    return aLength < bLength ? -1 : aLength > bLength ? 1 : 0;
}

int16_t strComparePad(const char* a, unsigned long aLength, const char* b, unsigned long bLength) {
    unsigned long common = aLength < bLength ? aLength : bLength;
    if (common) {
        int r = std::memcmp(a, b, common);
        if (r) return sign(r);
    }
    const char* rest = aLength > bLength ? a : b;
    unsigned long end = aLength > bLength ? aLength : bLength;
    for (unsigned long i = common; i < end; ++i)
        if (rest[i] != ' ') return aLength > bLength ? 1 : -1;
    return 0;
}

int16_t strCompareIntl(const char* a, const char* b) {
    return sign(std::strcoll(orEmpty(a), orEmpty(b)));
}

int16_t strCompareIntl(const char* a, unsigned long aLength, const char* b, unsigned long bLength) {
    return collate(a, aLength, b, bLength, false);
}

int16_t strCompareCiIntl(const char* a, const char* b) {
    return collate(a, lengthOf(a), b, lengthOf(b), true);
}

int16_t strCompareCiIntl(const char* a, unsigned long aLength, const char* b,
                         unsigned long bLength) {
    return collate(a, aLength, b, bLength, true);
}

int16_t strCompareWithMaxLength(const char* a, const char* b, unsigned long maxLength) {
    return sign(std::strncmp(orEmpty(a), orEmpty(b), maxLength));
}

int strEqual(const char* a, const char* b) {
    return strCompare(a, b) == 0;
}

int strEqual(const char* a, unsigned long aLength, const char* b, unsigned long bLength) {
    return aLength == bLength && (aLength == 0 || std::memcmp(a, b, aLength) == 0);
}

int strEqualCi(const char* a, const char* b) {
    return strCompareCi(a, b) == 0;
}

int strEqualCi(const char* a, unsigned long aLength, const char* b, unsigned long bLength) {
    return aLength == bLength && strCompareCi(a, aLength, b, bLength) == 0;
}

int16_t floatCompare(double a, double b) {
    bool na = std::isnan(a), nb = std::isnan(b);
    if (na || nb) return na && nb ? 0 : na ? -1 : 1;
    if (a == b) return 0;
    double scale = std::fabs(a) > std::fabs(b) ? std::fabs(a) : std::fabs(b);
    if (std::isfinite(scale) && std::fabs(a - b) <= scale * 1e-12) return 0;
    return a < b ? -1 : 1;
}

int16_t memCompareHuge(const void* a, const void* b, unsigned long length) {
    return length ? sign(std::memcmp(a, b, length)) : 0;
}

// ---- Wide strings ---------------------------------------------------------------------------

namespace {
inline unsigned long unitsOf(const unsigned short* s) {
    unsigned long n = 0;
    if (s)
        while (s[n]) ++n;
    return n;
}

inline unsigned upperUnit(unsigned short u) {
    std::wint_t w = std::towupper(u);
    return w <= 0xFFFF ? static_cast<unsigned>(w) : u;
}

int16_t wideCompare(const unsigned short* a, unsigned long aLength, const unsigned short* b,
                    unsigned long bLength, bool ci) {
    unsigned long common = aLength < bLength ? aLength : bLength;
    for (unsigned long i = 0; i < common; ++i) {
        unsigned ua = a[i], ub = b[i];
        if (ua != ub && ci) {
            ua = upperUnit(a[i]);
            ub = upperUnit(b[i]);
        }
        if (ua != ub) return ua < ub ? -1 : 1;
    }
    return aLength < bLength ? -1 : aLength > bLength ? 1 : 0;
}
} // namespace

int16_t wcsCompare(const unsigned short* a, const unsigned short* b) {
    return wideCompare(a, unitsOf(a), b, unitsOf(b), false);
}

int16_t wcsCompare(const unsigned short* a, unsigned long aLength, const unsigned short* b,
                   unsigned long bLength) {
    return wideCompare(a, aLength, b, bLength, false);
}

int16_t wcsCompareCi(const unsigned short* a, const unsigned short* b) {
    return wideCompare(a, unitsOf(a), b, unitsOf(b), true);
}

int16_t wcsCompareCi(const unsigned short* a, unsigned long aLength, const unsigned short* b,
                     unsigned long bLength) {
    return wideCompare(a, aLength, b, bLength, true);
}

int wcsEqual(const unsigned short* a, const unsigned short* b) {
    return wcsCompare(a, b) == 0;
}

int wcsEqual(const unsigned short* a, unsigned long aLength, const unsigned short* b,
             unsigned long bLength) {
    return aLength == bLength && wcsCompare(a, aLength, b, bLength) == 0;
}

int wcsEqualCi(const unsigned short* a, const unsigned short* b) {
    return wcsCompareCi(a, b) == 0;
}

int wcsEqualCi(const unsigned short* a, unsigned long aLength, const unsigned short* b,
               unsigned long bLength) {
    return aLength == bLength && wcsCompareCi(a, aLength, b, bLength) == 0;
}
