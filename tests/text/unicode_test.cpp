// UTF-8 and UCS-2 conversions: the documented byte sequences, truncation, the round trip of
// every non-zero UCS-2 unit, the argument checks, and the Unicode text helpers.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kolib/memory.h"
#include "kolib/testing.h"
#include "kolib/unicode.h"

namespace {

TEST(Unicode, Ucs2ToUtf8) {
    unsigned short src[] = {0x41, 0x00E9, 0x20AC, 0, 0x42};
    unsigned char dst[16] = {};
    long out = -1;
    EXPECT_EQ(KO_CONVERSION_SUCCESS, omUCS2ToUTF8(dst, sizeof dst, src, 5, &out));
    EXPECT_EQ(6, out);
    const unsigned char expected[] = {0x41, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0x00};
    EXPECT_EQ(0, std::memcmp(expected, dst, sizeof expected));

    unsigned short euro[] = {0x20AC};
    EXPECT_EQ(KO_CONVERSION_TRUNCATION, omUCS2ToUTF8(dst, 2, euro, 1, &out));
    EXPECT_EQ(0, out);
    EXPECT_EQ(KO_CONVERSION_TRUNCATION, omUCS2ToUTF8(dst, 3, src, 3, &out));
    EXPECT_EQ(3, out); // "A" and "é" stay written
    unsigned short surrogate[] = {0xD83D};
    EXPECT_EQ(KO_CONVERSION_SUCCESS, omUCS2ToUTF8(dst, 3, surrogate, 1, &out));
    EXPECT_EQ(0xED, dst[0]);

    EXPECT_EQ(KO_CONVERSION_ERROR, omUCS2ToUTF8(nullptr, 4, src, 1, &out));
    EXPECT_EQ(KO_CONVERSION_ERROR, omUCS2ToUTF8(dst, 4, src, 0, &out));
    EXPECT_EQ(KO_CONVERSION_ERROR, omUCS2ToUTF8(dst, 4, src, 1, nullptr));
}

TEST(Unicode, Utf8ToUcs2) {
    unsigned char four[] = {0xF0, 0x9F, 0x98, 0x80};
    unsigned short dst[8];
    long out = -1;
    EXPECT_EQ(KO_CONVERSION_SUCCESS, omUTF8ToUCS2(dst, 8, four, 4, &out));
    ASSERT_EQ(4, out); // one unit per byte
    EXPECT_EQ(0xF0, dst[0]);
    EXPECT_EQ(0x80, dst[3]);
    unsigned char text[] = {'a', 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0, 'z'};
    EXPECT_EQ(KO_CONVERSION_SUCCESS, omUTF8ToUCS2(dst, 8, text, 8, &out));
    EXPECT_EQ(3, out);
    EXPECT_EQ(0x20AC, dst[2]);
    EXPECT_EQ(0, dst[3]);
    EXPECT_EQ(KO_CONVERSION_TRUNCATION, omUTF8ToUCS2(dst, 2, text, 6, &out));
    EXPECT_EQ(2, out);
    // A sequence cut by the end of the source is not completed from beyond it.
    unsigned char cut[] = {'a', 0xE2, 0x82};
    EXPECT_EQ(KO_CONVERSION_SUCCESS, omUTF8ToUCS2(dst, 8, cut, 3, &out));
    EXPECT_EQ(3, out);
    EXPECT_EQ(0xE2, dst[1]);
    EXPECT_EQ(KO_CONVERSION_ERROR, omUTF8ToUCS2(dst, 0, text, 3, &out));
}

TEST(Unicode, EveryUnitRoundTrips) {
    std::vector<unsigned short> units;
    for (unsigned u = 1; u <= 0xFFFF; ++u) units.push_back(static_cast<unsigned short>(u));
    std::vector<unsigned char> utf8(units.size() * 3);
    long bytes = 0, back = 0;
    ASSERT_EQ(KO_CONVERSION_SUCCESS,
              omUCS2ToUTF8(utf8.data(), utf8.size(), units.data(), units.size(), &bytes));
    EXPECT_EQ(0x7F + 2 * (0x7FF - 0x7F) + 3 * (0xFFFF - 0x7FF), bytes);
    std::vector<unsigned short> again(units.size());
    ASSERT_EQ(KO_CONVERSION_SUCCESS,
              omUTF8ToUCS2(again.data(), again.size(), utf8.data(), bytes, &back));
    EXPECT_EQ(units, again);
}

TEST(Unicode, TextHelpersAndResultMapping) {
    const unsigned char* text = reinterpret_cast<const unsigned char*>("h\xC3\xA9");
    EXPECT_EQ(3u, omUnicodeLen(text));
    EXPECT_EQ(3u, omAsciiLenOfUnicodeStr(text));
    EXPECT_EQ(0u, omUnicodeLen(nullptr));
    const unsigned short wide[] = {1, 2, 0};
    EXPECT_EQ(2u, omUCS2Len(wide));
    EXPECT_EQ(0u, omUCS2Len(nullptr));

    unsigned char* copy = omUnicodeDup(text);
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(0, std::memcmp(copy, "h\xC3\xA9\0\0", 5));
    ramFree(copy);
    ramFailAfter(1);
    EXPECT_EQ(nullptr, omUnicodeDup(text));
    ramFailAfter(0);

    unsigned char dst[8] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(3u, omUnicodeCopy(dst, text));
    EXPECT_EQ('x', dst[3]); // no terminator
    EXPECT_EQ(0u, omUnicodeCopy(nullptr, text));
    EXPECT_EQ(0u, omUnicodeCopy(dst, reinterpret_cast<const unsigned char*>("")));

    EXPECT_EQ(KO_CONVERSION_SUCCESS, mapUNILIBreturn(1));
    EXPECT_EQ(KO_CONVERSION_TRUNCATION, mapUNILIBreturn(-1327));
    EXPECT_EQ(KO_CONVERSION_SUBSTITUTION, mapUNILIBreturn(-1328));
    EXPECT_EQ(KO_CONVERSION_TRUNC_AND_SUBSTITUTION, mapUNILIBreturn(-1342));
    EXPECT_EQ(KO_CONVERSION_TABLE_CORRUPT, mapUNILIBreturn(-1339));
    EXPECT_EQ(KO_CONVERSION_ERROR, mapUNILIBreturn(-1333));
    EXPECT_EQ(KO_CONVERSION_ERROR, mapUNILIBreturn(0));
    EXPECT_EQ(40, setConversionReturnLength(KO_CONVERSION_TRUNC_AND_SUBSTITUTION, 40));
    EXPECT_EQ(0, setConversionReturnLength(KO_CONVERSION_ERROR, 40));
}

} // namespace
