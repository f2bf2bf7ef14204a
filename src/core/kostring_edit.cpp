// Editing operations of KoString: replacing ranges and occurrences, quoting, line ends and
// line breaking. Each one either completes or returns 1 leaving the text as it was (the
// occurrences that replaceSubString already replaced stay replaced).
#include <cstring>
#include "kolib/kostring.h"
#include "kolib/mbchar.h"
#include "kolib/strutil.h"

namespace {
unsigned charSizeAt(const char* text, unsigned long at, unsigned long length) {
    unsigned size =
        koCharSizeWithin(reinterpret_cast<const unsigned char*>(text) + at, length - at);
    return size ? size : 1;
}

// Number of single-byte quote characters in the text (bytes of multi-byte characters are
// never taken for a quote).
unsigned long countQuotes(const char* text, unsigned long length, unsigned char quote) {
    unsigned long count = 0;
    for (unsigned long i = 0; i < length;) {
        unsigned size = charSizeAt(text, i, length);
        if (size == 1 && static_cast<unsigned char>(text[i]) == quote) ++count;
        i += size;
    }
    return count;
}

// Tracks whether a walk stands inside a quoted run: a run opens at any of the three quote
// characters and closes at the same one. Nothing is tracked when the first quote is 0.
class QuoteTracker {
public:
    QuoteTracker(unsigned char q1, unsigned char q2, unsigned char q3) : Q1(q1), Q2(q2), Q3(q3) {}
    // Feeds one single-byte character; true while inside quotes (the quotes included).
    bool feed(unsigned char c) {
        if (!Q1) return false;
        if (Open) {
            if (c == Open) Open = 0;
            return true;
        }
        if (c == Q1 || (Q2 && c == Q2) || (Q3 && c == Q3)) {
            Open = c;
            return true;
        }
        return false;
    }
    bool inside() const { return Open != 0; }

private:
    unsigned char Q1, Q2, Q3, Open = 0;
};
} // namespace

unsigned KoString::changeBytes(unsigned long offset, unsigned long oldLength, const char* text,
                               unsigned long newLength) {
    if (text && newLength == 0) newLength = std::strlen(text);
    if (offset > CurSize) return 1;
    if (oldLength > CurSize - offset) oldLength = CurSize - offset;
    if (newLength > oldLength) {
        unsigned long textOffset =
            text && Buf && text >= Buf && text < Buf + BufferLength ? text - Buf : ~0ul;
        if (assureSpace(newLength - oldLength)) return 1;
        if (textOffset != ~0ul) text = Buf + textOffset;
    }
    if (!Buf) return 0; // nothing held and nothing to insert
    // The tail move and the copy take 16-bit lengths: a limit of the format, kept on purpose.
    uint16_t tail = static_cast<uint16_t>(CurSize - offset - oldLength);
    if (newLength != oldLength && tail)
        std::memmove(Buf + offset + newLength, Buf + offset + oldLength, tail);
    if (text) std::memmove(Buf + offset, text, static_cast<uint16_t>(newLength));
    CurSize = static_cast<uint32_t>(CurSize - oldLength + newLength);
    limitByteSize();
    Buf[CurSize] = '\0';
    return 0;
}

unsigned KoString::replaceSubString(const char* match, unsigned long matchLength, const char* text,
                                    unsigned long textLength) {
    if (!match || !matchLength || !Buf) return 0;
    if (!text) textLength = 0;
    unsigned long pos = 0;
    while (pos + matchLength <= CurSize) {
        if (std::memcmp(Buf + pos, match, matchLength) == 0) {
            if (changeBytes(pos, matchLength, textLength ? text : nullptr, textLength)) return 1;
            pos += textLength; // the inserted text is never searched again
        } else {
            pos += charSizeAt(Buf, pos, CurSize);
        }
    }
    return 0;
}

unsigned KoString::replaceSubString(const char* match, const char* text) {
    return replaceSubString(match, match ? std::strlen(match) : 0, text,
                            text ? std::strlen(text) : 0);
}

unsigned KoString::replaceSubString(const KoSubString& place, const char* text) {
    if (!Buf || place.Buf < Buf || place.Buf + place.CurSize > Buf + CurSize) return 1;
    unsigned long length = text ? std::strlen(text) : 0;
    return changeBytes(place.Buf - Buf, place.CurSize, length ? text : nullptr, length);
}

unsigned KoString::addQuotes(unsigned short quote) {
    unsigned char q = static_cast<unsigned char>(quote);
    unsigned long length = CurSize;
    char* copy = ramAllocStr(Buf ? Buf : "", Buf ? length : 0);
    if (!copy) return 1;
    if (assureSpace(countQuotes(copy, length, q) + 2)) {
        ramFree(copy);
        return 1;
    }
    CurSize = static_cast<uint32_t>(strCopyQuoted(Buf, copy, length, quote));
    ramFree(copy);
    return 0;
}

void KoString::removeQuotes() {
    if (!Buf) return;
    CurSize = static_cast<uint32_t>(strRemoveQuotes(Buf, CurSize));
}

unsigned KoString::addQuotedBytes(const KoSubString& text, unsigned short quote) {
    const char* source = text.Buf ? text.Buf : "";
    unsigned long length = text.Buf ? text.CurSize : 0;
    unsigned long sourceOffset =
        Buf && source >= Buf && source < Buf + BufferLength ? source - Buf : ~0ul;
    if (assureSpace(length + countQuotes(source, length, static_cast<unsigned char>(quote)) + 2))
        return 1;
    if (sourceOffset != ~0ul) source = Buf + sourceOffset;
    CurSize += static_cast<uint32_t>(strCopyQuoted(Buf + CurSize, source, length, quote));
    return 0;
}

unsigned KoString::forceEol(int count) {
    long have = 0;
    while (have < static_cast<long>(CurSize) && Buf[CurSize - 1 - have] == '\n') ++have;
    if (have >= count) return 0;
    if (assureSpace(count - have)) return 1;
    while (have++ < count) Buf[CurSize++] = '\n';
    Buf[CurSize] = '\0';
    return 0;
}

unsigned KoString::insertLineBreaks(unsigned long width, unsigned char quote1, unsigned char quote2,
                                    unsigned char quote3) {
    if (CurSize <= width) return 0;
    KoString out;
    if (out.initialize(static_cast<unsigned long>(CurSize) + 100, 0)) return 1;
    QuoteTracker quotes(quote1, quote2, quote3);
    unsigned long lineStart = 0, lastBlank = ~0ul, chars = 0;
    for (unsigned long i = 0; i < CurSize;) {
        unsigned size = charSizeAt(Buf, i, CurSize);
        if (size == 1) {
            unsigned char c = static_cast<unsigned char>(Buf[i]);
            bool quoted = quotes.feed(c);
            if (c == ' ' && !quoted) lastBlank = i;
        }
        i += size;
        ++chars;
        if (chars > width && lastBlank != ~0ul && lastBlank > lineStart) {
            if (out.concat(Buf + lineStart, lastBlank - lineStart) || out.concat('\n')) return 1;
            lineStart = lastBlank + 1; // the blank is dropped
            lastBlank = ~0ul;
            chars = 0;
            for (unsigned long j = lineStart; j < i; j += charSizeAt(Buf, j, CurSize)) ++chars;
        }
    }
    if (out.concat(Buf + lineStart, CurSize - lineStart)) return 1;
    if (!MyBuffer) { // an adopted buffer keeps its place if the result fits
        if (out.CurSize >= BufferLength) return resize(out.CurSize + 1);
        std::memcpy(Buf, out.Buf, out.CurSize + 1);
        CurSize = out.CurSize;
        return 0;
    }
    ramFree(Buf);
    Buf = out.Buf;
    CurSize = out.CurSize;
    BufferLength = out.BufferLength;
    out.Buf = nullptr;
    return 0;
}

unsigned KoString::removeLineBreaks(unsigned char quote1, unsigned char quote2,
                                    unsigned char quote3) {
    // The result is never longer than the text, so the work is done in place and cannot fail;
    // a text without line feeds outside quotes is left untouched.
    if (!Buf) return 0;
    QuoteTracker quotes(quote1, quote2, quote3);
    unsigned long out = 0;
    for (unsigned long i = 0; i < CurSize;) {
        unsigned size = charSizeAt(Buf, i, CurSize);
        if (size == 1) {
            unsigned char c = static_cast<unsigned char>(Buf[i]);
            bool quoted = quotes.feed(c);
            if (c == '\n' && !quoted) {
                if (i + 1 < CurSize && Buf[i + 1] != '\n') Buf[out++] = ' ';
                ++i;
                continue;
            }
        }
        std::memmove(Buf + out, Buf + i, size);
        out += size;
        i += size;
    }
    CurSize = static_cast<uint32_t>(out);
    Buf[CurSize] = '\0';
    return 0;
}
