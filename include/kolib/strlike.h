// LIKE matching of a text against a pattern with caller-chosen wild cards: anyMany stands for
// any run of characters, anyOne for one character, and escape makes the next pattern
// character literal. Multi-byte characters are matched whole.
#pragma once

#include "kolib/export.h"

// 1 when the text matches the pattern, else 0. With exactLength 0 trailing blanks of both
// are ignored first. Case is ignored for single bytes unless caseSensitive is non-zero.
// Never reads beyond either length; null texts are taken as empty.
KO_API int strLike(const char* text, unsigned long textLength, const char* pattern,
                   unsigned long patternLength, unsigned char anyMany, unsigned char anyOne,
                   unsigned char escape, unsigned caseSensitive, unsigned exactLength);
// The same for NUL-terminated texts.
KO_API int strLike(const char* text, const char* pattern, unsigned char anyMany,
                   unsigned char anyOne, unsigned char escape, unsigned caseSensitive,
                   unsigned exactLength);
// 1 when the characters at a and b are equal: multi-byte characters byte for byte, single
// bytes exactly or, with caseSensitive 0, after conversion to upper case.
KO_API int isCharEqual(const char* a, const char* b, unsigned short caseSensitive);
