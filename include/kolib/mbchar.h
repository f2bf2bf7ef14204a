// Stepping over multi-byte characters, character tests and case changes. Text is bytes in
// the process's locale, at most two bytes per character; a thread whose koUnicodeInfo
// (per-thread slot MDS_UNICODE_INFO) has DBMSCodePage 2 is in UTF-8 mode, where the first
// byte of a character alone decides its size. None of these functions fails: a byte the
// locale rejects counts as one character of one byte.
#pragma once

#include "kolib/export.h"

// Byte size of the character at s: 1 or 2 by the locale (2 when s starts a two-byte
// character); in UTF-8 mode 3 for a first byte 224-239, 2 for 192-223, else 1.
KO_API unsigned koCharSize(const unsigned char* s);
// koCharSize, but never more than `available` bytes and never reading beyond them (0 when
// available is 0).
KO_API unsigned koCharSizeWithin(const unsigned char* s, unsigned long available);
// s + koCharSize(s).
KO_API const unsigned char* koCharNext(const unsigned char* s);
// offset + koCharSize(s + offset).
KO_API unsigned long koCharNext(const unsigned char* s, unsigned long offset);
// The character before s, never before start (except in UTF-8 mode, where s equal to start
// gives s - 1).
KO_API const unsigned char* koCharPrev(const unsigned char* start, const unsigned char* s);
// The same as an offset from s: koCharPrev(s, s + offset) - s.
KO_API unsigned long koCharPrev(const unsigned char* s, unsigned long offset);
// 1 when s starts a two-byte character of the locale (mblen(s, 2) is 2).
KO_API int koIsLeadByte(const unsigned char* s);
KO_API int koIsLeadByte(const unsigned char* s, unsigned long offset);
// Number of characters before the NUL.
KO_API unsigned long koCharLen(const unsigned char* s);
// Number of characters within `length` bytes, counted by a running sum that adds the size of
// the character reached rather than the one passed (exact for single-byte text).
KO_API unsigned long koCharLen(const unsigned char* s, unsigned long length);
// The last character before the NUL (s for an empty text).
KO_API const unsigned char* koCharLast(const unsigned char* s);
// Offset of the last character within `length` bytes, by the same running sum.
KO_API unsigned long koCharLast(const unsigned char* s, unsigned long length);
// Character tests of the character at s (iswspace, iswalpha, iswalnum); 0 for an invalid
// character or the NUL.
KO_API int koIsWhiteSpace(const unsigned char* s);
KO_API int koIsAlpha(const unsigned char* s);
KO_API int koIsAlphaNumeric(const unsigned char* s);
// Case changes in place up to the NUL, or within `length` bytes. A character whose other
// case has a different byte length is left as it is. A null text does nothing.
KO_API void strUpper(unsigned char* s);
KO_API void strUpper(unsigned char* s, unsigned long length);
KO_API void strLower(unsigned char* s);
KO_API void strLower(unsigned char* s, unsigned long length);

// The same for plain char text.
inline unsigned koCharSize(const char* s) {
    return koCharSize(reinterpret_cast<const unsigned char*>(s));
}
inline unsigned koCharSizeWithin(const char* s, unsigned long available) {
    return koCharSizeWithin(reinterpret_cast<const unsigned char*>(s), available);
}
inline const char* koCharNext(const char* s) {
    return s + koCharSize(s);
}
inline char* koCharNext(char* s) {
    return s + koCharSize(s);
}
inline unsigned long koCharNext(const char* s, unsigned long offset) {
    return offset + koCharSize(s + offset);
}
inline const char* koCharPrev(const char* start, const char* s) {
    return reinterpret_cast<const char*>(koCharPrev(reinterpret_cast<const unsigned char*>(start),
                                                    reinterpret_cast<const unsigned char*>(s)));
}
inline int koIsLeadByte(const char* s) {
    return koIsLeadByte(reinterpret_cast<const unsigned char*>(s));
}
inline int koIsWhiteSpace(const char* s) {
    return koIsWhiteSpace(reinterpret_cast<const unsigned char*>(s));
}
inline int koIsAlpha(const char* s) {
    return koIsAlpha(reinterpret_cast<const unsigned char*>(s));
}
inline int koIsAlphaNumeric(const char* s) {
    return koIsAlphaNumeric(reinterpret_cast<const unsigned char*>(s));
}
inline unsigned long koCharLen(const char* s) {
    return koCharLen(reinterpret_cast<const unsigned char*>(s));
}
inline unsigned long koCharLen(const char* s, unsigned long length) {
    return koCharLen(reinterpret_cast<const unsigned char*>(s), length);
}
inline void strUpper(char* s) {
    strUpper(reinterpret_cast<unsigned char*>(s));
}
inline void strUpper(char* s, unsigned long length) {
    strUpper(reinterpret_cast<unsigned char*>(s), length);
}
inline void strLower(char* s) {
    strLower(reinterpret_cast<unsigned char*>(s));
}
inline void strLower(char* s, unsigned long length) {
    strLower(reinterpret_cast<unsigned char*>(s), length);
}
