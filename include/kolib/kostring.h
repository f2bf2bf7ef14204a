// KoString: a KoSubString that owns and grows its buffer. Growth is exact: the buffer holds
// the text plus one byte for a terminator and nothing more, so appending byte by byte
// reallocates each time (the chosen policy). Operations that can run out of memory return
// 0 for success and 1 for failure, keeping the previous contents on failure.
#pragma once

#include "kolib/substring.h"

class KO_API KoString : public KoSubString {
public:
    KoString() : BufferLength(0), MyBuffer(1) {}
    ~KoString() override;
    KoString(const KoString&) = delete;
    KoString& operator=(const KoString&) = delete;

    // Each initialize allocates a cleared buffer of exactly length + 1 bytes (capacity + 1 for
    // the last form, leaving the string empty) and sets MyBuffer. They drop nothing: call
    // unInitialize first when reusing a string.
    unsigned initialize(const char* text);
    unsigned initialize(const char* text, unsigned long length);
    unsigned initialize(const KoSubString& text);
    unsigned initialize(const KoSubString* text);
    unsigned initialize(unsigned long capacity, int);
    // Adopts a caller's buffer without owning it; growing it later fails with error 2716.
    void initializeWithBuffer(char* buffer, unsigned long bufferLength, unsigned long curSize);
    // Frees an owned buffer; Buf, CurSize, CurByteSize and BufferLength become 0.
    void unInitialize();

    // Makes room for n more bytes plus a terminator (exactly, no spare).
    unsigned assureSpace(unsigned long n);
    int isEnoughSpace(unsigned long n) const {
        return Buf != nullptr && BufferLength >= CurSize + n + 1;
    }
    // Reallocates to newLength bytes; CurSize is not changed.
    unsigned resize(unsigned long newLength);
    // Reallocates to exactly CurSize + 1 bytes.
    unsigned trim();

    void clear() { CurSize = CurByteSize = 0; }
    unsigned clearAndSet(const KoSubString& text);
    void setCurSize(unsigned long size) {
        CurSize = static_cast<uint32_t>(size);
        limitByteSize();
    }

    // Writes a NUL at CurSize and returns Buf + offset.
    char* asCStr(unsigned long offset = 0);
    operator char*() { return asCStr(0); }
    operator const char*() { return asCStr(0); }
    // Hands the terminated buffer to the caller (who frees it with free) and forgets it.
    char* giveUpString();

    // Appending.
    unsigned concat(char ch);
    unsigned concat(const char* text);
    unsigned concat(const char* text, unsigned long length);
    unsigned concat(const KoSubString& text);
    unsigned concat(const KoSubString* text);
    unsigned concat(unsigned long value); // decimal
    unsigned concat(long value);          // decimal
    unsigned concat(int value) { return concat(static_cast<long>(value)); }
    unsigned concat(unsigned int value) { return concat(static_cast<unsigned long>(value)); }
    unsigned addByte(char ch) { return concat(ch); }
    unsigned concatSpace() { return concat(' '); }
    unsigned addBytes(const char* text) { return concat(text); }
    unsigned addBytes(const char* text, unsigned long length) { return concat(text, length); }
    unsigned addBytes(const KoSubString& text) { return concat(text); }

    // Editing. changeBytes replaces oldLength bytes at offset by newLength bytes of text (a
    // newLength of 0 with a text means the text's length). Lengths of the moves are 16-bit
    // counts, a limit that is kept.
    unsigned changeBytes(unsigned long offset, unsigned long oldLength, const char* text,
                         unsigned long newLength);
    // Replaces every occurrence of match; inserted text is never searched again.
    unsigned replaceSubString(const char* match, unsigned long matchLength, const char* text,
                              unsigned long textLength);
    unsigned replaceSubString(const char* match, const char* text); // null text deletes
    // Replaces the place of `inside` (a view into this string) with text.
    unsigned replaceSubString(const KoSubString& inside, const char* text);
    unsigned addQuotes(unsigned short quote);
    void removeQuotes();
    unsigned addQuotedBytes(const KoSubString& text, unsigned short quote);
    // Appends line feeds until the string ends in `count` of them; never removes any.
    unsigned forceEol(int count);
    unsigned insertLineBreaks(unsigned long width, unsigned char quote1, unsigned char quote2,
                              unsigned char quote3);
    unsigned removeLineBreaks(unsigned char quote1, unsigned char quote2, unsigned char quote3);

    // Scrambles CurSize bytes in place. Type 1: complement; type 2: complement but line feeds
    // and 0xF5; type 3: byte-wide TEA with `key` (or a built-in key). Other types: no change.
    void encrypt(unsigned short type, const char* key = nullptr);
    void decrypt(unsigned short type, const char* key = nullptr);

    uint32_t BufferLength; // allocated bytes; meaningless while Buf is null
    uint32_t MyBuffer;     // the string owns Buf
};
