// Stepping over characters in the locale and in the per-thread UTF-8 mode, the counting
// walks with their running sum, character tests and in-place case changes.
#include <gtest/gtest.h>

#include <string>

#include "kolib/mbchar.h"
#include "text_test_support.h"

namespace {

const unsigned char* u(const char* s) {
    return reinterpret_cast<const unsigned char*>(s);
}

TEST(MbChar, SizesInUtf8ModeFollowTheFirstByte) {
    kotest::Utf8Mode mode; // in the "C" locale: the mode alone decides
    EXPECT_EQ(1u, koCharSize(u("\xF0\x9F\x98\x80")));
    EXPECT_EQ(3u, koCharSize(u("\xE3\x81\x82")));
    EXPECT_EQ(2u, koCharSize(u("\xC3\xA9")));
    EXPECT_EQ(1u, koCharSize(u("\x80")));
    EXPECT_EQ(1u, koCharSize(u("a")));
    EXPECT_EQ(2u, koCharSizeWithin(u("\xE3\x81"), 2));
    EXPECT_EQ(0u, koCharSizeWithin(u("a"), 0));
    const unsigned char* text = u("a\xC3\xA9\xE2\x82\xAC"
                                  "b");
    EXPECT_EQ(text + 1, koCharNext(text));
    EXPECT_EQ(3u, koCharNext(text, 1));
    EXPECT_EQ(6u, koCharNext(text, 3));
    EXPECT_EQ(text + 3, koCharPrev(text, text + 6));
    EXPECT_EQ(text + 1, koCharPrev(text, text + 3));
    EXPECT_EQ(text, koCharPrev(text, text + 1));
    EXPECT_EQ(1u, koCharPrev(text, 3));
    // At the start the previous character is the byte before it: intended.
    EXPECT_EQ(text - 1, koCharPrev(text, text));
}

TEST(MbChar, LocaleModeAndCounting) {
    const unsigned char* ascii = u("abc");
    EXPECT_EQ(2u, koCharLen(ascii, 2));
    EXPECT_EQ(1u, koCharLast(u("ab"), 2));
    EXPECT_EQ(3u, koCharLen(ascii));
    EXPECT_EQ(ascii + 2, koCharLast(ascii));
    EXPECT_EQ(0, koIsLeadByte(u("\xC3\xA9")));  // "C" has no multi-byte characters
    EXPECT_EQ(ascii, koCharPrev(ascii, ascii)); // never before start outside UTF-8 mode

    kotest::LocaleGuard utf8("C.utf8");
    ASSERT_TRUE(utf8.Ok);
    const unsigned char* text = u("a\xC3\xA9z");
    EXPECT_EQ(1, koIsLeadByte(text, 1));
    EXPECT_EQ(2u, koCharSize(text + 1));
    EXPECT_EQ(1u, koCharSize(u("\xE2\x82\xAC"))); // not two bytes: stepped bytewise
    EXPECT_EQ(3u, koCharLen(text));
    EXPECT_EQ(text + 3, koCharLast(text));
    // The byte at s decides in koCharPrev: s at a lead byte steps back two.
    EXPECT_EQ(text, koCharPrev(text, text + 1));
    EXPECT_EQ(text + 2, koCharPrev(text, text + 3)); // lands on the trail byte: intended
    // Running sums: the size of the character reached is added.
    // "a" passes with sum 0; reaching é makes the sum 2, and 2 + 2 exceeds 3.
    EXPECT_EQ(1u, koCharLen(text, 3));
    EXPECT_EQ(2u, koCharLast(text, 4)); // not 3, the offset of "z"
    EXPECT_EQ(1u, koCharLen(u("\xC3\xA9"), 2));
    // An invalid byte ends the walks.
    EXPECT_EQ(1u, koCharLen(u("a\xFFz")));
    EXPECT_EQ(1u, koCharLen(u("a\xFFz"), 3));
    // Counted walks stop at the length, even at a page boundary.
    kotest::EdgeBuffer edge("a\xC3\xA9");
    EXPECT_EQ(1u, koCharLen(u(edge.data()), 3));
    kotest::EdgeBuffer cut("ab\xC3");
    EXPECT_EQ(2u, koCharLen(u(cut.data()), 3));
    EXPECT_EQ(1u, koCharLast(u(cut.data()), 3));
    kotest::EdgeBuffer plain("xyz");
    EXPECT_EQ(3u, koCharLen(u(plain.data()), 3));
    EXPECT_EQ(2u, koCharLast(u(plain.data()), 3));
    koCharLast(u(edge.data()), 3); // only that it stays inside
}

TEST(MbChar, CharacterTestsAndCaseChanges) {
    EXPECT_TRUE(koIsWhiteSpace(u("\t")));
    EXPECT_FALSE(koIsWhiteSpace(u("")));
    EXPECT_TRUE(koIsAlpha(u("q")));
    EXPECT_FALSE(koIsAlpha(u("1")));
    EXPECT_TRUE(koIsAlphaNumeric(u("1")));
    char ascii[] = "MiXed 1";
    strUpper(ascii);
    EXPECT_STREQ("MIXED 1", ascii);
    strLower(ascii, 3);
    EXPECT_STREQ("mixED 1", ascii);
    strUpper(static_cast<char*>(nullptr));

    kotest::LocaleGuard utf8("C.utf8");
    ASSERT_TRUE(utf8.Ok);
    EXPECT_TRUE(koIsAlpha(u("\xC3\xA9")));
    EXPECT_TRUE(koIsWhiteSpace(u("\xE2\x80\x83"))); // em space
    char text[] = "caf\xC3\xA9 \xC3\xBF\xC4\xB1!";
    strUpper(text);
    // é becomes É and ÿ becomes Ÿ (two bytes each); dotless ı would become I, one byte
    // shorter, so it is kept.
    EXPECT_STREQ("CAF\xC3\x89 \xC5\xB8\xC4\xB1!", text);
    strLower(text);
    EXPECT_STREQ("caf\xC3\xA9 \xC3\xBF\xC4\xB1!", text);
    // The counted form does not convert a character that does not fit the length.
    char counted[] = "\xC3\xA9\xC3\xA9";
    strUpper(counted, 3);
    EXPECT_STREQ("\xC3\x89\xC3\xA9", counted);
}

} // namespace
