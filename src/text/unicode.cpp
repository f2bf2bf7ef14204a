// Conversions between UTF-8 and UCS-2, the lengths and copies of Unicode texts, and the
// mapping of the code-page conversion library's results. UCS-2 units are encoded in one to
// three bytes, surrogates like any other unit; decoding does not validate continuation bytes.
#include <cstring>
#include "kolib/memory.h"
#include "kolib/unicode.h"

namespace {
// The UTF-8 bytes of one unit into seq; returns their count.
inline long encodeUnit(unsigned short c, unsigned char* seq) {
    if (c < 0x80) {
        seq[0] = static_cast<unsigned char>(c);
        return 1;
    }
    if (c <= 0x7FF) {
        seq[0] = static_cast<unsigned char>(0xC0 | (c >> 6));
        seq[1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        return 2;
    }
    seq[0] = static_cast<unsigned char>(0xE0 + (c >> 12));
    seq[1] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
    seq[2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
    return 3;
}
} // namespace

KoConvertReturn omUCS2ToUTF8(unsigned char* dst, long dstBytes, unsigned short* src, long srcUnits,
                             long* outBytes) {
    if (outBytes) *outBytes = 0;
    if (!dst || !src || !outBytes || dstBytes <= 0 || srcUnits <= 0) return KO_CONVERSION_ERROR;
    for (long i = 0; i < srcUnits; ++i) {
        unsigned char seq[3];
        long size = encodeUnit(src[i], seq);
        if (*outBytes + size > dstBytes) return KO_CONVERSION_TRUNCATION;
        std::memcpy(dst + *outBytes, seq, static_cast<std::size_t>(size));
        if (src[i] == 0) break; // the terminator is written but not counted
        *outBytes += size;
    }
    return KO_CONVERSION_SUCCESS;
}

KoConvertReturn omUTF8ToUCS2(unsigned short* dst, long dstUnits, unsigned char* src, long srcBytes,
                             long* outUnits) {
    if (outUnits) *outUnits = 0;
    if (!dst || !src || !outUnits || dstUnits <= 0 || srcBytes <= 0) return KO_CONVERSION_ERROR;
    long i = 0;
    while (i < srcBytes) {
        unsigned b0 = src[i];
        unsigned unit = b0;
        long used = 1;
        unsigned nibble = b0 >> 4;
        if ((nibble == 0xC || nibble == 0xD) && srcBytes - i >= 2) {
            unit = (b0 - 0xC0) * 64 + (src[i + 1] - 0x80u);
            used = 2;
        } else if (nibble == 0xE && srcBytes - i >= 3) {
            unit = ((b0 - 0xE0) << 12) + ((src[i + 1] - 0x80u) * 64) + (src[i + 2] - 0x80u);
            used = 3;
        }
        if (*outUnits + 1 > dstUnits) return KO_CONVERSION_TRUNCATION;
        dst[*outUnits] = static_cast<unsigned short>(unit);
        if (dst[*outUnits] == 0) break; // stored, not counted
        ++*outUnits;
        i += used;
    }
    return KO_CONVERSION_SUCCESS;
}

unsigned long omUnicodeLen(const unsigned char* s) {
    return s ? std::strlen(reinterpret_cast<const char*>(s)) : 0;
}

unsigned long omAsciiLenOfUnicodeStr(const unsigned char* s) {
    return omUnicodeLen(s);
}

unsigned long omUCS2Len(const unsigned short* s) {
    unsigned long n = 0;
    if (s)
        while (s[n]) ++n;
    return n;
}

unsigned char* omUnicodeDup(const unsigned char* s) {
    if (!s) return nullptr;
    unsigned long length = omUnicodeLen(s);
    unsigned char* copy = static_cast<unsigned char*>(ramCalloc(length + 2));
    if (copy) std::memcpy(copy, s, length);
    return copy;
}

unsigned long omUnicodeCopy(unsigned char* dst, const unsigned char* src) {
    unsigned long length = omUnicodeLen(src);
    if (!dst || length == 0) return 0;
    std::memcpy(dst, src, length);
    return length;
}

KoConvertReturn mapUNILIBreturn(int result) {
    switch (result) {
    case 1:
        return KO_CONVERSION_SUCCESS;
    case -1327:
        return KO_CONVERSION_TRUNCATION;
    case -1328:
        return KO_CONVERSION_SUBSTITUTION;
    case -1342:
        return KO_CONVERSION_TRUNC_AND_SUBSTITUTION;
    case -1339:
        return KO_CONVERSION_TABLE_CORRUPT;
    default: // -1333 and everything else
        return KO_CONVERSION_ERROR;
    }
}

long setConversionReturnLength(KoConvertReturn r, long length) {
    return r <= KO_CONVERSION_TRUNC_AND_SUBSTITUTION ? length : 0;
}
