// Hexadecimal text: bytes to pairs of upper-case digits and back, numbers to digits, and the
// same with wide (16-bit) digit units.
#pragma once

#include <cstdint>
#include "kolib/export.h"

// Writes two digits per byte from "0123456789ABCDEF", high nibble first, and returns 2n. No
// terminator is written. `out` may be `bytes` itself: the expansion then runs from the end
// backwards, in place (the buffer must hold 2n bytes).
KO_API unsigned short hexify(char* out, const char* bytes, unsigned short n);
KO_API unsigned long hexifyHuge(char* out, const char* bytes, unsigned long n);
// Writes `value` in upper-case hexadecimal with at least minDigits digits (a single 0 for
// zero), terminates it and returns the digit count.
KO_API unsigned short hexify(char* out, unsigned long value, unsigned short minDigits);
// Reads `n` digits (0-9, A-F, a-f) as n / 2 bytes into `out`, which may be `digits` itself.
// On any other character adds error 2708 and returns 1 (bytes before it are written);
// returns 0 on success. An odd last digit is checked and otherwise ignored.
KO_API unsigned dehexify(char* out, const char* digits, unsigned short n);
KO_API unsigned dehexifyHuge(char* out, const char* digits, unsigned long n);
// 1 when every one of the `length` characters (or every character before the NUL) is a
// hexadecimal digit; an empty text counts as hexadecimal. A null text gives 0.
KO_API int isHexString(const char* text, unsigned long length);
KO_API int isHexString(const char* text);
// As hexify, writing each digit as one 16-bit unit; returns 2n. `out` may start at `bytes`
// (in-place expansion into a buffer of 4n bytes).
KO_API unsigned long wideHexify(unsigned short* out, const char* bytes, unsigned long n);
// As dehexify, reading `n` 16-bit digit units (units above 0xFF are not digits).
KO_API unsigned wideDehexify(char* out, const unsigned short* digits, unsigned long n);
