// Copying, quoting and unquoting of byte strings. Quoting doubles each quote character inside
// the text; a multi-byte character is copied whole, so its trail byte is never taken for a
// quote. Unquoting takes the first byte as the quote character.
#include <cstring>
#include "kolib/strutil.h"
#include "text/text_chars.h"

using namespace kotext;

unsigned long strCopy(char* out, const char* text) {
    unsigned long length = text ? std::strlen(text) : 0;
    if (length) std::memcpy(out, text, length);
    out[length] = 0;
    return length;
}

unsigned long strCopy(char* out, const char* text, unsigned long length) {
    if (length) std::memmove(out, text, length);
    out[length] = 0;
    return length;
}

unsigned long strCopyQuoted(char* out, const char* text, unsigned long length,
                            unsigned short quote) {
    const unsigned char* in = bytes(text);
    if (!in) length = 0;
    char q = static_cast<char>(quote);
    LazyCharMode mode;
    unsigned long o = 0;
    out[o++] = q;
    for (unsigned long i = 0; i < length;) {
        unsigned size = charSize(mode, in + i, length - i);
        if (size == 1 && in[i] == static_cast<unsigned char>(q)) out[o++] = q;
        std::memcpy(out + o, in + i, size);
        o += size;
        i += size;
    }
    out[o++] = q;
    out[o] = 0;
    return o;
}

unsigned long strCopyQuoted(char* out, const char* text, unsigned short quote) {
    return strCopyQuoted(out, text, text ? std::strlen(text) : 0, quote);
}

unsigned long strCatQuoted(char* out, const char* text, unsigned short quote) {
    unsigned long start = std::strlen(out);
    return start + strCopyQuoted(out + start, text, quote);
}

unsigned long strCopyUnquoted(char* out, const char* text, unsigned long length) {
    const unsigned char* in = bytes(text);
    unsigned long o = 0;
    if (in && length) {
        unsigned char q = in[0];
        LazyCharMode mode;
        for (unsigned long i = 1; i < length;) {
            unsigned size = charSize(mode, in + i, length - i);
            if (size == 1 && in[i] == q) {
                if (i + 1 < length && in[i + 1] == q) {
                    out[o++] = static_cast<char>(q);
                    i += 2;
                    continue;
                }
                break; // the closing quote
            }
            std::memmove(out + o, in + i, size);
            o += size;
            i += size;
        }
    }
    out[o] = 0;
    return o;
}

unsigned long strCopyUnquoted(char* out, const char* text) {
    return strCopyUnquoted(out, text, text ? std::strlen(text) : 0);
}

unsigned long strRemoveQuotes(char* text, unsigned long length) {
    if (!text) return 0;
    if (length < 2) {
        text[0] = 0;
        return 0;
    }
    unsigned char* s = reinterpret_cast<unsigned char*>(text);
    unsigned char q = s[0];
    unsigned long end = length - 1; // the last byte is dropped whatever it is
    LazyCharMode mode;
    unsigned long o = 0;
    for (unsigned long i = 1; i < end;) {
        unsigned size = charSize(mode, s + i, end - i);
        if (size == 1 && s[i] == q && i + 1 < end && s[i + 1] == q) {
            s[o++] = q;
            i += 2;
            continue;
        }
        std::memmove(s + o, s + i, size);
        o += size;
        i += size;
    }
    s[o] = 0;
    return o;
}

unsigned long strRemoveQuotes(char* text) {
    return strRemoveQuotes(text, text ? std::strlen(text) : 0);
}
