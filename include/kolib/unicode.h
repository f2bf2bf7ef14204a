// The per-thread text mode and the conversions between UTF-8 and UCS-2. UCS-2 text is arrays
// of unsigned 16-bit units; "Unicode" text in the functions without a number in their name is
// UTF-8 bytes. Conversions report through KoConvertReturn and an out length; nothing here
// adds to the error list.
#pragma once

#include <cstdint>
#include "kolib/export.h"

// The calling thread's text mode, held in per-thread slot MDS_UNICODE_INFO. Only
// DBMSCodePage is read by the library: KO_CODE_PAGE_UTF8 puts the character functions in
// UTF-8 mode.
struct koUnicodeInfo {
    uint32_t DBMSCodePage;
    uint32_t AppCodePage;
    uint32_t IsWFunction;
};

enum { KO_CODE_PAGE_UTF8 = 2 };

// The result of every conversion. Values up to KO_CONVERSION_TRUNC_AND_SUBSTITUTION mean that
// output was produced.
enum KoConvertReturn {
    KO_CONVERSION_SUCCESS = 0,
    KO_CONVERSION_TRUNCATION = 1,
    KO_CONVERSION_SUBSTITUTION = 2,
    KO_CONVERSION_TRUNC_AND_SUBSTITUTION = 3,
    KO_CONVERSION_ERROR = 4,
    KO_CONVERSION_TABLE_CORRUPT = 5
};

// UCS-2 to UTF-8: one to three bytes per unit (surrogates encoded like any unit). Stops after
// writing (but not counting) a 0 unit. *outBytes counts the bytes written. A sequence that
// does not fit ends with KO_CONVERSION_TRUNCATION. Any null pointer or zero length gives
// KO_CONVERSION_ERROR.
KO_API KoConvertReturn omUCS2ToUTF8(unsigned char* dst, long dstBytes, unsigned short* src,
                                    long srcUnits, long* outBytes);
// UTF-8 to UCS-2 without validating continuation bytes: lead bytes 0xC0-0xDF take two bytes,
// 0xE0-0xEF three, every other byte is one unit of its own value; a lead byte whose sequence
// is cut by the end of the source is one unit of its own value too. Stops after storing (not
// counting) a 0 unit. Any null pointer or zero length gives KO_CONVERSION_ERROR.
KO_API KoConvertReturn omUTF8ToUCS2(unsigned short* dst, long dstUnits, unsigned char* src,
                                    long srcBytes, long* outUnits);

// Byte length of a UTF-8 text (0 for null); omAsciiLenOfUnicodeStr gives the same value.
KO_API unsigned long omUnicodeLen(const unsigned char* s);
KO_API unsigned long omAsciiLenOfUnicodeStr(const unsigned char* s);
// Units before the 0 unit; 0 for null.
KO_API unsigned long omUCS2Len(const unsigned short* s);
// A zeroed copy of omUnicodeLen(s) + 2 bytes holding the text, from ramCalloc (release with
// ramFree); null on failure or for a null text.
KO_API unsigned char* omUnicodeDup(const unsigned char* s);
// Copies omUnicodeLen(src) bytes without a terminator and returns that length; 0 without
// copying when dst is null or the length is 0.
KO_API unsigned long omUnicodeCopy(unsigned char* dst, const unsigned char* src);

// Maps a result of the code-page conversion library: 1 success, -1327 truncation, -1328
// substitution, -1342 both, -1339 table corrupt, anything else error.
KO_API KoConvertReturn mapUNILIBreturn(int result);
// `length` when r says output was produced, else 0.
KO_API long setConversionReturnLength(KoConvertReturn r, long length);
