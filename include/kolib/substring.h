// KoSubString: a non-owning view of bytes (not necessarily NUL-terminated) with comparison,
// search and hashing. Narrow views hold bytes of the current code page, stepped over whole
// characters with koCharNext; a view may be marked as holding wide (two-byte) characters.
#pragma once

#include <cstdint>
#include "kolib/object.h"

class KoString;
class KoArray;

class KO_API KoSubString : public KoObject {
public:
    KoSubString() : CurSize(0), CurByteSize(0), Buf(nullptr), DataIsWcs(0) {}
    KoSubString(const char* text);
    KoSubString(const char* text, unsigned long length) : DataIsWcs(0) { initialize(text, length); }

    void initialize(const char* text, unsigned long length) {
        Buf = const_cast<char*>(text);
        CurSize = CurByteSize = static_cast<uint32_t>(length);
    }

    // The ordering used by sorted containers: compareCi against the other view.
    int16_t compare(const KoObject* other) const override;

    // Ordering and equality. Narrow views compare bytes, wide views wide characters.
    int16_t compare(const KoSubString& other) const;
    int16_t compare(const char* text, unsigned long length) const;
    int16_t compare(const char* text) const;
    // The form taking a KoSubString uses the wide comparison for a narrow view and the narrow
    // one for a wide view (intended; see substring.cpp); the other forms do not.
    int16_t compareCi(const KoSubString& other) const;
    int16_t compareCi(const char* text, unsigned long length) const;
    int16_t compareCi(const char* text) const;
    // By the locale's collation.
    int16_t compareIntl(const KoSubString& other) const;
    int16_t compareIntl(const char* text, unsigned long length) const;
    int16_t compareIntl(const char* text) const;

    int isEqual(const KoSubString& other) const;
    int isEqual(const char* text, unsigned long length) const;
    int isEqual(const char* text) const;
    // The first `ownLength` bytes of the view against `length` bytes of text.
    int isEqual(const char* text, unsigned long length, unsigned long ownLength) const;
    int isEqualCi(const KoSubString& other) const;
    int isEqualCi(const char* text, unsigned long length) const;
    int isEqualCi(const char* text) const;
    int isEqualCi(const char* text, unsigned long length, unsigned long ownLength) const;

    // LIKE matching of the whole view against a pattern (trailing blanks ignored).
    int isLike(const char* pattern, unsigned long patternLength, unsigned char anyMany,
               unsigned char anyOne, unsigned char escape) const;
    int isLikeCi(const char* pattern, unsigned long patternLength, unsigned char anyMany,
                 unsigned char anyOne, unsigned char escape) const;

    // Access.
    unsigned long getLength() const { return CurSize; }
    unsigned long getByteSize() const { return CurByteSize; }
    int isNull() const { return Buf == nullptr || CurSize == 0; }
    int isDataWcs() const { return DataIsWcs; }
    void setDataAsWcs() { DataIsWcs = 1; }
    // Buf + offset; no terminator is written.
    char* asPascalStr(unsigned long offset = 0) const { return Buf + offset; }
    // The view's bytes; a view writes no terminator (KoString's operators do).
    operator char*() const { return Buf; }
    char& operator[](unsigned long index) const { return Buf[index]; }
    // 0 for an empty view.
    unsigned char getLastChar() const;
    // Shortening never leaves CurByteSize above CurSize, so it never covers bytes that a
    // trimmed buffer no longer holds.
    void removeLastChar() {
        if (CurSize) --CurSize;
        limitByteSize();
    }
    void truncateAt(unsigned long length) {
        CurSize = static_cast<uint32_t>(length);
        limitByteSize();
    }
    // Drops trailing characters that the C library classes as blanks.
    void rightBlankTrim();

    // Search: offset of the first match at or after `from`, stepping whole characters, or
    // CurSize when there is none (also for a null Buf or `from` past the end).
    unsigned long findChar(unsigned short ch, unsigned long from = 0) const;
    unsigned long findSubString(const char* text, unsigned long from = 0) const;
    int isCharInStr(unsigned short ch) const { return findChar(ch) < CurSize; }
    // Occurrences of ch before the first NUL or the end.
    unsigned long countChar(unsigned short ch) const;
    // Index of the first entry equal to the view, or count.
    unsigned short indexInSet(const char** set, unsigned short count) const;
    unsigned short indexInSetCi(const char** set, unsigned short count) const;

    // Decimal conversion of the view: 0 success, 1 not a number or out of range.
    unsigned getAsU16(unsigned short* value) const;
    unsigned getAsU32(unsigned long* value) const;

    // Quoting. getCopyQuoted always quotes with the apostrophe, whatever `quote` says
    // (intended). getCopyUnquoted undoes quoting into `out`; copyQuotedStr appends the
    // unquoted contents of a quoted view to `out`, stopping at the closing quote.
    void getCopyQuoted(char* out, unsigned short quote) const;
    void getCopyUnquoted(char* out) const;
    unsigned copyQuotedStr(KoString* out) const;

    // Sum of the upper-cased values of the first min(CurSize, 5) bytes: case-insensitive keys
    // hash alike.
    unsigned long hash() const;
    void limitByteSize() {
        if (CurByteSize > CurSize) CurByteSize = CurSize;
    }
    // Appends an owned KoString per non-empty line to `array`; 1 on the first failure.
    unsigned getLines(KoArray* array) const;

    uint32_t CurSize;     // length in characters (bytes for narrow text)
    uint32_t CurByteSize; // length in bytes; set with CurSize on initialisation and clearing,
                          // lowered with it by shortening, not kept up by appends
    char* Buf;            // never owned by the view
    uint32_t DataIsWcs : 1;
};
