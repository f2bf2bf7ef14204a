// KoSubString: a read-only view of bytes. Searches step over whole characters of the current
// code page (koCharSizeWithin never reads past the view); comparisons go to the byte-string
// and wide-string families.
#include <cctype>
#include <cstring>
#include <cwctype>
#include "kolib/array.h"
#include "kolib/kostring.h"
#include "kolib/mbchar.h"
#include "kolib/strcompare.h"
#include "kolib/strlike.h"
#include "kolib/strutil.h"
#include "kolib/substring.h"
#include "kolib/unicode.h"

namespace {
const unsigned short* wide(const char* p) {
    return reinterpret_cast<const unsigned short*>(p);
}

unsigned long textLength(const char* text) {
    return text ? std::strlen(text) : 0;
}

// Compares the bytes of two texts as if each byte were a wide character, case-insensitively.
int16_t compareBytesAsWideCi(const char* a, unsigned long aLength, const char* b,
                             unsigned long bLength) {
    unsigned long n = aLength < bLength ? aLength : bLength;
    for (unsigned long i = 0; i < n; ++i) {
        wint_t x = std::towupper(static_cast<unsigned char>(a[i]));
        wint_t y = std::towupper(static_cast<unsigned char>(b[i]));
        if (x != y) return x < y ? -1 : 1;
    }
    return aLength == bLength ? 0 : (aLength < bLength ? -1 : 1);
}
} // namespace

KoSubString::KoSubString(const char* text) : DataIsWcs(0) {
    initialize(text, textLength(text));
}

int16_t KoSubString::compare(const KoObject* other) const {
    return compareCi(*static_cast<const KoSubString*>(other));
}

int16_t KoSubString::compare(const KoSubString& other) const {
    if (DataIsWcs) return wcsCompare(wide(Buf), CurSize, wide(other.Buf), other.CurSize);
    return strCompare(Buf, CurSize, other.Buf, other.CurSize);
}

int16_t KoSubString::compare(const char* text, unsigned long length) const {
    if (DataIsWcs) return wcsCompare(wide(Buf), CurSize, wide(text), length);
    return strCompare(Buf, CurSize, text, length);
}

int16_t KoSubString::compare(const char* text) const {
    if (DataIsWcs) return wcsCompare(wide(Buf), CurSize, wide(text), omUCS2Len(wide(text)));
    return strCompare(Buf, CurSize, text, textLength(text));
}

int16_t KoSubString::compareCi(const KoSubString& other) const {
    // Intended inversion: this form compares a narrow view with the wide comparison (each
    // byte taken as a wide character) and a wide view with the narrow one (over its bytes).
    if (!DataIsWcs) return compareBytesAsWideCi(Buf, CurSize, other.Buf, other.CurSize);
    return strCompareCi(Buf, CurByteSize, other.Buf, other.CurByteSize);
}

int16_t KoSubString::compareCi(const char* text, unsigned long length) const {
    if (DataIsWcs) return wcsCompareCi(wide(Buf), CurSize, wide(text), length);
    return strCompareCi(Buf, CurSize, text, length);
}

int16_t KoSubString::compareCi(const char* text) const {
    if (DataIsWcs) return wcsCompareCi(wide(Buf), CurSize, wide(text), omUCS2Len(wide(text)));
    return strCompareCi(Buf, CurSize, text, textLength(text));
}

int16_t KoSubString::compareIntl(const KoSubString& other) const {
    return strCompareIntl(Buf, CurSize, other.Buf, other.CurSize);
}

int16_t KoSubString::compareIntl(const char* text, unsigned long length) const {
    return strCompareIntl(Buf, CurSize, text, length);
}

int16_t KoSubString::compareIntl(const char* text) const {
    return strCompareIntl(Buf, CurSize, text, textLength(text));
}

int KoSubString::isEqual(const KoSubString& other) const {
    if (DataIsWcs) return wcsEqual(wide(Buf), CurSize, wide(other.Buf), other.CurSize);
    return strEqual(Buf, CurSize, other.Buf, other.CurSize);
}

int KoSubString::isEqual(const char* text, unsigned long length) const {
    if (DataIsWcs) return wcsEqual(wide(Buf), CurSize, wide(text), length);
    return strEqual(Buf, CurSize, text, length);
}

int KoSubString::isEqual(const char* text) const {
    return isEqual(text, textLength(text));
}

int KoSubString::isEqual(const char* text, unsigned long length, unsigned long ownLength) const {
    return strEqual(Buf, ownLength < CurSize ? ownLength : CurSize, text, length);
}

int KoSubString::isEqualCi(const KoSubString& other) const {
    if (DataIsWcs) return wcsEqualCi(wide(Buf), CurSize, wide(other.Buf), other.CurSize);
    return strEqualCi(Buf, CurSize, other.Buf, other.CurSize);
}

int KoSubString::isEqualCi(const char* text, unsigned long length) const {
    if (DataIsWcs) return wcsEqualCi(wide(Buf), CurSize, wide(text), length);
    return strEqualCi(Buf, CurSize, text, length);
}

int KoSubString::isEqualCi(const char* text) const {
    return isEqualCi(text, textLength(text));
}

int KoSubString::isEqualCi(const char* text, unsigned long length, unsigned long ownLength) const {
    return strEqualCi(Buf, ownLength < CurSize ? ownLength : CurSize, text, length);
}

int KoSubString::isLike(const char* pattern, unsigned long patternLength, unsigned char anyMany,
                        unsigned char anyOne, unsigned char escape) const {
    return strLike(Buf ? Buf : "", CurSize, pattern ? pattern : "", pattern ? patternLength : 0,
                   anyMany, anyOne, escape, 1, 0);
}

int KoSubString::isLikeCi(const char* pattern, unsigned long patternLength, unsigned char anyMany,
                          unsigned char anyOne, unsigned char escape) const {
    return strLike(Buf ? Buf : "", CurSize, pattern ? pattern : "", pattern ? patternLength : 0,
                   anyMany, anyOne, escape, 0, 0);
}

unsigned char KoSubString::getLastChar() const {
    return CurSize && Buf ? static_cast<unsigned char>(Buf[CurSize - 1]) : 0;
}

void KoSubString::rightBlankTrim() {
    while (CurSize && std::isspace(static_cast<unsigned char>(Buf[CurSize - 1]))) --CurSize;
    limitByteSize();
}

unsigned long KoSubString::findChar(unsigned short ch, unsigned long from) const {
    if (!Buf || from >= CurSize) return CurSize;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(Buf);
    for (unsigned long i = from; i < CurSize;) {
        unsigned size = koCharSizeWithin(p + i, CurSize - i);
        if (size == 1 && ch < 256 && p[i] == ch) return i;
        if (size == 2 && ch > 255 && ((p[i] << 8) | p[i + 1]) == ch) return i;
        i += size ? size : 1;
    }
    return CurSize;
}

unsigned long KoSubString::findSubString(const char* text, unsigned long from) const {
    unsigned long length = textLength(text);
    if (!Buf || from > CurSize) return CurSize;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(Buf);
    for (unsigned long i = from; i + length <= CurSize;) {
        if (std::memcmp(p + i, text, length) == 0) return i;
        if (i == CurSize) break;
        unsigned size = koCharSizeWithin(p + i, CurSize - i);
        i += size ? size : 1;
    }
    return CurSize;
}

unsigned long KoSubString::countChar(unsigned short ch) const {
    unsigned long count = 0;
    if (!Buf) return 0;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(Buf);
    for (unsigned long i = 0; i < CurSize && p[i];) {
        unsigned size = koCharSizeWithin(p + i, CurSize - i);
        if ((size == 1 && ch < 256 && p[i] == ch) ||
            (size == 2 && ch > 255 && ((p[i] << 8) | p[i + 1]) == ch))
            ++count;
        i += size ? size : 1;
    }
    return count;
}

unsigned short KoSubString::indexInSet(const char** set, unsigned short count) const {
    for (unsigned short i = 0; i < count; ++i)
        if (set[i] && isEqual(set[i])) return i;
    return count;
}

unsigned short KoSubString::indexInSetCi(const char** set, unsigned short count) const {
    for (unsigned short i = 0; i < count; ++i)
        if (set[i] && isEqualCi(set[i])) return i;
    return count;
}

unsigned KoSubString::getAsU16(unsigned short* value) const {
    return convert(value, Buf ? Buf : "", Buf ? CurSize : 0);
}

unsigned KoSubString::getAsU32(unsigned long* value) const {
    return convert(value, Buf ? Buf : "", Buf ? CurSize : 0);
}

void KoSubString::getCopyQuoted(char* out, unsigned short) const {
    // Intended: the apostrophe is always the quote, whatever the caller asks for.
    strCopyQuoted(out, Buf ? Buf : "", Buf ? CurSize : 0, static_cast<unsigned short>('\''));
}

void KoSubString::getCopyUnquoted(char* out) const {
    strCopyUnquoted(out, Buf ? Buf : "", Buf ? CurSize : 0);
}

unsigned KoSubString::copyQuotedStr(KoString* out) const {
    if (!Buf || !CurSize) return 0;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(Buf);
    unsigned char quote = p[0];
    unsigned long i = 1, runStart = 1;
    while (i < CurSize) {
        unsigned size = koCharSizeWithin(p + i, CurSize - i);
        if (size == 1 && p[i] == quote) {
            // A doubled quote stands for one; a single one closes the text.
            if (out->concat(Buf + runStart, i - runStart)) return 1;
            if (i + 1 < CurSize && p[i + 1] == quote) {
                if (out->concat(static_cast<char>(quote))) return 1;
                i += 2;
                runStart = i;
                continue;
            }
            return 0;
        }
        i += size ? size : 1;
    }
    return out->concat(Buf + runStart, CurSize - runStart);
}

unsigned long KoSubString::hash() const {
    unsigned long sum = 0;
    unsigned long n = CurSize < 5 ? CurSize : 5;
    for (unsigned long i = 0; i < n; ++i)
        sum += static_cast<unsigned char>(std::toupper(static_cast<unsigned char>(Buf[i])));
    return sum;
}

unsigned KoSubString::getLines(KoArray* array) const {
    unsigned long start = 0;
    for (unsigned long i = 0; i <= CurSize; ++i) {
        if (i < CurSize && Buf[i] != '\n') continue;
        if (i > start) { // empty lines are skipped
            KoString* line = new KoString;
            if (!line) return 1;
            if (line->initialize(Buf + start, i - start) || array->add(line)) {
                delete line;
                return 1;
            }
        }
        start = i + 1;
    }
    return 0;
}
