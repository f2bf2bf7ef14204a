// Stepping over multi-byte characters, character tests and case changes. The locale decides
// character sizes (at most two bytes assumed) unless the calling thread's koUnicodeInfo puts
// it in UTF-8 mode, where the first byte alone decides. Bytes below 0x80 are single
// characters in every mode and take the fast path; mblen/mbtowc/wctomb are used through
// their restartable forms with local state, so threads do not share hidden state.
#include <climits>
#include <cstring>
#include <cwctype>
#include "kolib/frame.h"
#include "kolib/mbchar.h"
#include "kolib/unicode.h"
#include "text/text_chars.h"

namespace kotext {

static bool isUtf8Mode() {
    const koUnicodeInfo* info =
        static_cast<const koUnicodeInfo*>(mdsGetPerThreadData(MDS_UNICODE_INFO));
    return info && info->DBMSCodePage == KO_CODE_PAGE_UTF8;
}

CharMode currentCharMode() {
    if (isUtf8Mode()) return CHARS_UTF8;
    return MB_CUR_MAX == 1 ? CHARS_SINGLE : CHARS_LOCALE;
}

} // namespace kotext

using namespace kotext;

namespace {
inline const unsigned char* maxPtr(const unsigned char* a, const unsigned char* b) {
    return a > b ? a : b;
}
} // namespace

unsigned koCharSize(const unsigned char* s) {
    if (*s < 0x80) return 1;
    if (isUtf8Mode()) {
        // Four-byte sequences (240 and above) are stepped one byte at a time: intended.
        unsigned char c = *s;
        return c >= 240 ? 1 : c >= 224 ? 3 : c >= 192 ? 2 : 1;
    }
    if (MB_CUR_MAX == 1) return 1;
    return mbSize(s, 2) == 2 ? 2 : 1;
}

unsigned koCharSizeWithin(const unsigned char* s, unsigned long available) {
    if (available == 0) return 0;
    if (*s < 0x80) return 1;
    return charSize(currentCharMode(), s, available);
}

const unsigned char* koCharNext(const unsigned char* s) {
    return s + koCharSize(s);
}

unsigned long koCharNext(const unsigned char* s, unsigned long offset) {
    return offset + koCharSize(s + offset);
}

const unsigned char* koCharPrev(const unsigned char* start, const unsigned char* s) {
    if (isUtf8Mode()) {
        // At start this yields s - 1, before the text: intended. Positions are tested before
        // any byte is read, so nothing before start is touched.
        const unsigned char* candidate = s - 1;
        if (candidate > start && koCharSize(candidate) == 1) {
            if (koCharSize(s - 2) != 1) return s - 2;
            if (s - 2 > start && koCharSize(s - 3) > 1) return s - 3;
        }
        return candidate;
    }
    if (s <= start) return start;
    // The byte at s itself is examined, not the one before it: intended.
    if (koIsLeadByte(s)) return maxPtr(s - 2, start);
    return maxPtr(s - 1, start);
}

unsigned long koCharPrev(const unsigned char* s, unsigned long offset) {
    return static_cast<unsigned long>(koCharPrev(s, s + offset) - s);
}

int koIsLeadByte(const unsigned char* s) {
    if (*s < 0x80 || MB_CUR_MAX == 1) return 0;
    return mbSize(s, 2) == 2;
}

int koIsLeadByte(const unsigned char* s, unsigned long offset) {
    return koIsLeadByte(s + offset);
}

unsigned long koCharLen(const unsigned char* s) {
    if (!s) return 0;
    std::size_t max = MB_CUR_MAX;
    unsigned long count = 0;
    for (int size; (size = mbSize(s, max)) > 0; s += size) ++count;
    return count;
}

namespace {
// mblen at the locale's maximum, limited to the bytes left; 0 at or past the end.
inline int sizeWithin(const unsigned char* base, unsigned long pos, unsigned long length,
                      std::size_t max) {
    if (pos >= length) return 0;
    unsigned long left = length - pos;
    return mbSize(base + pos, left < max ? left : max);
}
} // namespace

unsigned long koCharLen(const unsigned char* s, unsigned long length) {
    if (!s) return 0;
    std::size_t max = MB_CUR_MAX;
    // The running sum adds the size of the character reached, not of the one passed:
    // intended (exact for single-byte text).
    unsigned long pos = 0, count = 0, sum = 0;
    int size = sizeWithin(s, pos, length, max);
    while (size > 0 && sum + size <= length) {
        pos += size;
        ++count;
        size = sizeWithin(s, pos, length, max);
        if (size > 0) sum += size;
    }
    return count;
}

const unsigned char* koCharLast(const unsigned char* s) {
    if (!s) return s;
    std::size_t max = MB_CUR_MAX;
    const unsigned char* last = s;
    for (int size; (size = mbSize(s, max)) > 0; s += size) last = s;
    return last;
}

unsigned long koCharLast(const unsigned char* s, unsigned long length) {
    if (!s) return 0;
    std::size_t max = MB_CUR_MAX;
    // Same running sum as koCharLen, with a strict bound: intended.
    unsigned long pos = 0, sum = 0;
    int size = sizeWithin(s, pos, length, max);
    while (size > 0 && sum + size < length) {
        pos += size;
        size = sizeWithin(s, pos, length, max);
        if (size > 0) sum += size;
    }
    return sum;
}

namespace {
// The wide character at s, or WEOF for the NUL and invalid sequences.
inline std::wint_t wideAt(const unsigned char* s) {
    if (*s < 0x80) return *s ? static_cast<std::wint_t>(*s) : WEOF;
    wchar_t wc;
    std::mbstate_t state{};
    std::size_t r = std::mbrtowc(&wc, reinterpret_cast<const char*>(s), MB_CUR_MAX, &state);
    return r == 0 || r > MB_LEN_MAX ? WEOF : static_cast<std::wint_t>(wc);
}
} // namespace

int koIsWhiteSpace(const unsigned char* s) {
    std::wint_t wc = wideAt(s);
    return wc != WEOF && std::iswspace(wc) ? 1 : 0;
}

int koIsAlpha(const unsigned char* s) {
    std::wint_t wc = wideAt(s);
    return wc != WEOF && std::iswalpha(wc) ? 1 : 0;
}

int koIsAlphaNumeric(const unsigned char* s) {
    std::wint_t wc = wideAt(s);
    return wc != WEOF && std::iswalnum(wc) ? 1 : 0;
}

namespace {
// Converts the character of `size` bytes at s in place when its other case has the same
// byte length (a longer one would overwrite what follows).
void changeCase(unsigned char* s, std::size_t size, bool upper) {
    if (*s < 0x80) {
        std::wint_t w = upper ? std::towupper(*s) : std::towlower(*s);
        if (w < 0x80) {
            *s = static_cast<unsigned char>(w);
            return;
        }
    }
    wchar_t wc;
    std::mbstate_t in{};
    std::size_t n = std::mbrtowc(&wc, reinterpret_cast<const char*>(s), size, &in);
    if (n == 0 || n > size) return;
    std::wint_t other = upper ? std::towupper(wc) : std::towlower(wc);
    if (other == static_cast<std::wint_t>(wc)) return;
    char buffer[MB_LEN_MAX];
    std::mbstate_t out{};
    std::size_t m = std::wcrtomb(buffer, static_cast<wchar_t>(other), &out);
    if (m == n) std::memcpy(s, buffer, n);
}

void changeCaseTerminated(unsigned char* s, bool upper) {
    if (!s) return;
    CharMode mode = currentCharMode();
    std::size_t max = MB_CUR_MAX;
    while (*s) {
        // mbtowc sees up to the locale's maximum; it stops at the NUL by itself.
        changeCase(s, max, upper);
        s += charSize(mode, s);
    }
}

void changeCaseCounted(unsigned char* s, unsigned long length, bool upper) {
    if (!s) return;
    CharMode mode = currentCharMode();
    std::size_t max = MB_CUR_MAX;
    unsigned long pos = 0, total = 0;
    while (pos < length) {
        int size = sizeWithin(s, pos, length, max);
        total += size > 0 ? static_cast<unsigned long>(size) : 1;
        if (total > length) break;
        unsigned long left = length - pos;
        changeCase(s + pos, left < max ? left : max, upper);
        pos += charSize(mode, s + pos, left);
    }
}
} // namespace

void strUpper(unsigned char* s) {
    changeCaseTerminated(s, true);
}
void strUpper(unsigned char* s, unsigned long length) {
    changeCaseCounted(s, length, true);
}
void strLower(unsigned char* s) {
    changeCaseTerminated(s, false);
}
void strLower(unsigned char* s, unsigned long length) {
    changeCaseCounted(s, length, false);
}
