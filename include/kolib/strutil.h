// Byte-string utilities: copying and quoting, search, trimming, decimal conversion and a few
// helpers for dialog texts. Texts are bytes of the current code page; functions that step
// over characters take multi-byte characters whole (koCharNext). A character argument
// (`unsigned short ch`) is a single byte below 256, or a two-byte character as
// (lead << 8) | trail. Including this header also gives the comparison, hexadecimal and
// fast-memory families.
#pragma once

#include <cstdint>
#include "kolib/export.h"
#include "kolib/fastmem.h"
#include "kolib/hexify.h"
#include "kolib/strcompare.h"

// ---- Copying and quoting ------------------------------------------------------------------
// Copies the text (null is empty) and its NUL; returns the length copied.
KO_API unsigned long strCopy(char* out, const char* text);
// Copies exactly `length` bytes and terminates them; returns length.
KO_API unsigned long strCopy(char* out, const char* text, unsigned long length);
// Writes quote, the text with every quote character in it doubled, quote, NUL; returns the
// length written without the NUL. A lead byte and its trail byte are copied together and are
// never taken for a quote. `out` needs length + quotes inside + 3 bytes.
KO_API unsigned long strCopyQuoted(char* out, const char* text, unsigned short quote);
KO_API unsigned long strCopyQuoted(char* out, const char* text, unsigned long length,
                                   unsigned short quote);
// Appends the quoted text behind the text already in `out`; returns the new total length.
KO_API unsigned long strCatQuoted(char* out, const char* text, unsigned short quote);
// Undoes quoting: the first byte is the quote character; a doubled quote gives one, and the
// first single quote ends the text. Writes the contents and a NUL and returns their length.
// An empty text gives an empty result.
KO_API unsigned long strCopyUnquoted(char* out, const char* text);
KO_API unsigned long strCopyUnquoted(char* out, const char* text, unsigned long length);
// Undoes quoting in place: the first byte is the quote character, the last byte is dropped,
// and of each doubled quote inside only one is kept. Terminates the result and returns its
// length. Texts shorter than 2 bytes become empty.
KO_API unsigned long strRemoveQuotes(char* text);
KO_API unsigned long strRemoveQuotes(char* text, unsigned long length);

// ---- Search (whole characters; null when there is no occurrence) ---------------------------
KO_API char* strFind(const char* text, unsigned short ch);
KO_API char* strFind(const char* text, unsigned long length, unsigned short ch);
KO_API char* strFind(const char* text, const char* match);
KO_API char* strFind(const char* text, unsigned long length, const char* match,
                     unsigned long matchLength);
// The first character that is one of the three (a 0 among them matches nothing).
KO_API char* strFind(const char* text, unsigned short c1, unsigned short c2, unsigned short c3);
// Byte search that does not step over multi-byte characters (strstr).
KO_API char* strFindAnsi(const char* text, const char* match);
// The last occurrence.
KO_API char* strFindReverse(const char* text, unsigned short ch);
KO_API char* strFindReverse(const char* text, unsigned long length, unsigned short ch);
// Case-insensitive search of a text.
KO_API char* strFindCi(const char* text, const char* match);
KO_API char* strFindCi(const char* text, unsigned long length, const char* match,
                       unsigned long matchLength);
// The first character of `text` that is (is not) one of the characters of `set`.
KO_API char* strContains(const char* text, const char* set);
KO_API char* strDoesNotContain(const char* text, const char* set);

// ---- Trimming -----------------------------------------------------------------------------
// Length without trailing white space (blank, tab, line feed, carriage return, form feed,
// vertical tab). The terminated forms also write a NUL at that length.
KO_API unsigned long strRightTrim(const char* text, unsigned long length);
KO_API unsigned long strRightTrim(char* text);
// Length without trailing blanks (' ' only).
KO_API unsigned long strRightTrimBlanks(const char* text, unsigned long length);
KO_API unsigned long strRightTrimBlanks(char* text);

// ---- Decimal conversion -------------------------------------------------------------------
// Writes the digits (a leading "-" for negative values, no leading zeros, a single 0 for
// zero), terminates them and returns their count.
KO_API unsigned convert(char* out, unsigned long value);
KO_API unsigned convert(char* out, long value);
KO_API unsigned convert(char* out, unsigned int value);
KO_API unsigned convert(char* out, int value);
KO_API unsigned convert(char* out, unsigned short value);
KO_API unsigned convert(char* out, short value);
KO_API unsigned convert(char* out, unsigned char value);
KO_API unsigned convert(char* out, signed char value);
// Fixed width: fills `width` columns and terminates at `width`. The number takes at most 10
// columns (the last 10 of a wider field when right-justified, the first 10 when
// left-justified). Right-justified, leading zeros show as blanks; left-justified, the digits
// start at the field's first column. A value with more digits than its columns fills the
// field with "*". Returns width.
KO_API unsigned convert(char* out, unsigned short width, unsigned long value, unsigned leftJustify);
// Text to number: optional leading and trailing blanks, an optional sign ("-" only for the
// signed targets), at least one digit, nothing else; the value must fit the target (32 bits
// for long and unsigned long, whatever their width). Returns 0 and stores the value, or 1
// and leaves *value untouched. The counted forms read `length` bytes at most.
KO_API unsigned convert(unsigned long* value, const char* text);
KO_API unsigned convert(unsigned long* value, const char* text, unsigned long length);
KO_API unsigned convert(long* value, const char* text);
KO_API unsigned convert(long* value, const char* text, unsigned long length);
KO_API unsigned convert(unsigned int* value, const char* text);
KO_API unsigned convert(unsigned int* value, const char* text, unsigned long length);
KO_API unsigned convert(int* value, const char* text);
KO_API unsigned convert(int* value, const char* text, unsigned long length);
KO_API unsigned convert(unsigned short* value, const char* text);
KO_API unsigned convert(unsigned short* value, const char* text, unsigned long length);
KO_API unsigned convert(short* value, const char* text);
KO_API unsigned convert(short* value, const char* text, unsigned long length);
KO_API unsigned convert(unsigned char* value, const char* text);
KO_API unsigned convert(unsigned char* value, const char* text, unsigned long length);
KO_API unsigned convert(signed char* value, const char* text);
KO_API unsigned convert(signed char* value, const char* text, unsigned long length);

// ---- Miscellaneous ------------------------------------------------------------------------
// 1 for a text beginning with 1, with T or t, or with ON in any case; else 0 (also for null).
KO_API int isTrueStr(const char* text);
// Menu accelerators: in a dialog text an "&" marks the following character as the
// accelerator key, and "&&" stands for a plain "&".
// The marking "&", or null when the text has none.
KO_API const char* findMenuAccelerator(const char* text);
// The marked character in upper case, or 0.
KO_API unsigned short getMenuAccelerator(const char* text);
// Removes every mark and marks the first occurrence of ch (in any case) instead. The text
// must fit `size` bytes with its NUL. Returns 0, or 1 (text unchanged) when ch does not occur
// or the marked text would not fit.
KO_API unsigned setAcceleratorKey(char* text, unsigned long size, unsigned short ch);
// Copies the text without its marks ("&&" becomes "&"); returns the length written.
KO_API unsigned long makeDialogText(char* out, const char* text);
