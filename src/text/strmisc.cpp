// Trimming, the truth test of configuration values and the menu-accelerator helpers. In a
// dialog text "&" marks the following character as the accelerator key and "&&" stands for a
// plain "&"; multi-byte characters are stepped whole, so a trail byte is never a mark.
#include <cstring>
#include "kolib/mbchar.h"
#include "kolib/strutil.h"
#include "text/text_chars.h"

using namespace kotext;

namespace {
inline bool isTrimSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}
inline bool isBlank(char c) {
    return c == ' ';
}

template <bool (*Trimmed)(char)>
unsigned long trimmedLength(const char* text, unsigned long length) {
    if (!text) return 0;
    while (length && Trimmed(text[length - 1])) --length;
    return length;
}

template <bool (*Trimmed)(char)> unsigned long trimInPlace(char* text) {
    if (!text) return 0;
    unsigned long length = trimmedLength<Trimmed>(text, std::strlen(text));
    text[length] = 0;
    return length;
}

const unsigned char AMP = '&';

// The marking "&" of a terminated text, or null.
const unsigned char* findMark(const unsigned char* s) {
    LazyCharMode mode;
    while (*s) {
        if (*s == AMP) {
            if (s[1] == AMP) {
                s += 2;
                continue;
            }
            return s[1] ? s : nullptr;
        }
        s += charSize(mode, s);
    }
    return nullptr;
}
} // namespace

unsigned long strRightTrim(const char* text, unsigned long length) {
    return trimmedLength<isTrimSpace>(text, length);
}
unsigned long strRightTrim(char* text) {
    return trimInPlace<isTrimSpace>(text);
}
unsigned long strRightTrimBlanks(const char* text, unsigned long length) {
    return trimmedLength<isBlank>(text, length);
}
unsigned long strRightTrimBlanks(char* text) {
    return trimInPlace<isBlank>(text);
}

int isTrueStr(const char* text) {
    if (!text) return 0;
    char c = text[0];
    if (c == '1' || c == 'T' || c == 't') return 1;
    return (c == 'O' || c == 'o') && (text[1] == 'N' || text[1] == 'n');
}

const char* findMenuAccelerator(const char* text) {
    if (!text) return nullptr;
    return reinterpret_cast<const char*>(findMark(bytes(text)));
}

unsigned short getMenuAccelerator(const char* text) {
    const char* mark = findMenuAccelerator(text);
    if (!mark) return 0;
    const unsigned char* c = bytes(mark + 1);
    if (koCharSize(c) == 2 && c[1]) return static_cast<unsigned short>((c[0] << 8) | c[1]);
    return upperByte(*c);
}

unsigned long makeDialogText(char* out, const char* text) {
    const unsigned char* s = bytes(text ? text : "");
    unsigned long o = 0;
    LazyCharMode mode;
    while (*s) {
        if (*s == AMP) {
            if (s[1] == AMP) out[o++] = '&';
            s += s[1] == AMP ? 2 : 1;
            continue;
        }
        unsigned size = charSize(mode, s);
        std::memmove(out + o, s, size);
        o += size;
        s += size;
    }
    out[o] = 0;
    return o;
}

unsigned setAcceleratorKey(char* text, unsigned long size, unsigned short ch) {
    if (!text || ch == 0) return 1;
    // First pass: find the character and the length of the text without its marks ("&&"
    // stays two bytes).
    unsigned long length = std::strlen(text);
    const unsigned char* s = bytes(text);
    LazyCharMode mode;
    unsigned long target = 0; // offset in `text` of the character to mark
    bool found = false;
    unsigned long finalLength = 0;
    for (unsigned long i = 0; i < length;) {
        if (s[i] == AMP) {
            if (i + 1 < length && s[i + 1] == AMP) {
                finalLength += 2;
                i += 2;
            } else {
                ++i; // a mark: dropped
            }
            continue;
        }
        unsigned n = charSize(mode, s + i);
        if (!found) {
            unsigned short value = n == 2 ? static_cast<unsigned short>((s[i] << 8) | s[i + 1])
                                          : static_cast<unsigned short>(s[i]);
            bool equal = n == 1 && ch < 256
                             ? upperByte(s[i]) == upperByte(static_cast<unsigned char>(ch))
                             : value == ch;
            if (equal) {
                found = true;
                target = i;
            }
        }
        finalLength += n;
        i += n;
    }
    if (!found || finalLength + 2 > size) return 1;
    // Strip the marks in place (the text only shrinks), then open a gap for the new mark.
    char* result = text;
    unsigned long o = 0, markAt = 0;
    for (unsigned long i = 0; i < length;) {
        if (s[i] == AMP) {
            bool literal = i + 1 < length && s[i + 1] == AMP;
            if (literal) {
                result[o++] = '&';
                result[o++] = '&';
            }
            i += literal ? 2 : 1;
            continue;
        }
        unsigned n = charSize(mode, s + i);
        if (i == target) markAt = o;
        std::memmove(result + o, s + i, n);
        o += n;
        i += n;
    }
    std::memmove(result + markAt + 1, result + markAt, o - markAt);
    result[markAt] = '&';
    result[o + 1] = 0;
    return 0;
}
