// LIKE matching: the documented cases, agreement with a plain recursive matcher on random
// texts and patterns, whole multi-byte characters, and counted texts that end at a page
// boundary.
#include <gtest/gtest.h>

#include <cctype>
#include <random>
#include <string>
#include <vector>

#include "kolib/strlike.h"
#include "kolib/testing.h"
#include "text_test_support.h"

namespace {

bool like(const std::string& text, const std::string& pattern, unsigned caseSensitive = 0,
          unsigned exact = 0) {
    return strLike(text.data(), text.size(), pattern.data(), pattern.size(), '%', '_', '\\',
                   caseSensitive, exact) == 1;
}

// Reference: straightforward recursion over single bytes with exact lengths.
bool reference(const char* t, const char* te, const char* p, const char* pe, bool ci) {
    if (p == pe) return t == te;
    if (*p == '%')
        return reference(t, te, p + 1, pe, ci) || (t < te && reference(t + 1, te, p, pe, ci));
    if (t == te) return false;
    if (*p == '_') return reference(t + 1, te, p + 1, pe, ci);
    if (*p == '\\') {
        if (p + 1 == pe) return false;
        ++p;
    }
    bool same = ci ? std::toupper(*p) == std::toupper(*t) : *p == *t;
    return same && reference(t + 1, te, p + 1, pe, ci);
}

TEST(StrLike, DocumentedCases) {
    EXPECT_TRUE(like("ABC", "A%C"));
    EXPECT_FALSE(like("ABC", "A_"));
    EXPECT_TRUE(like("ABC", "%%"));
    EXPECT_TRUE(like("", "%"));
    EXPECT_TRUE(like("", "%%%"));
    EXPECT_FALSE(like("", "_"));
    EXPECT_FALSE(like("", "a"));
    EXPECT_TRUE(like("", ""));
    EXPECT_FALSE(like("a", ""));
    // Trailing blanks are ignored unless the lengths are exact.
    EXPECT_TRUE(like("AB  ", "AB"));
    EXPECT_FALSE(like("AB  ", "AB", 0, 1));
    EXPECT_TRUE(like("AB", "AB   ", 0, 0));
    // An escaped wild card matches only itself; a trailing escape never matches.
    EXPECT_TRUE(like("50%", "50\\%"));
    EXPECT_FALSE(like("500", "50\\%"));
    EXPECT_TRUE(like("a_b", "a\\_b"));
    EXPECT_FALSE(like("axb", "a\\_b"));
    EXPECT_TRUE(like("a\\b", "a\\\\b"));
    EXPECT_FALSE(like("a\\", "a\\", 0, 1));
    // anyOne after anyMany needs a character of its own.
    EXPECT_FALSE(like("a", "%__"));
    EXPECT_TRUE(like("ab", "%__"));
    EXPECT_TRUE(like("xaybzc", "%a%b%c"));
    EXPECT_FALSE(like("xaybz", "%a%b%c"));
    EXPECT_TRUE(like("mississippi", "%iss%pi"));
}

TEST(StrLike, CaseAndCustomWildCards) {
    EXPECT_TRUE(like("Hello", "hE%O"));
    EXPECT_FALSE(like("Hello", "hE%O", 1));
    EXPECT_TRUE(like("Hello", "H%o", 1));
    EXPECT_EQ(1, strLike("a*b", "a?*", '*', '?', '!', 1, 1));
    EXPECT_EQ(1, strLike("a*b", "a!*b", '*', '?', '!', 1, 1));
    EXPECT_EQ(0, strLike("axb", "a!*b", '*', '?', '!', 1, 1));
    EXPECT_EQ(1, strLike(nullptr, "*", '*', '?', '!', 1, 1));
    EXPECT_EQ(0, strLike(nullptr, 5, "a", 1, '%', '_', '\\', 0, 0));
    EXPECT_TRUE(isCharEqual("a", "A", 0));
    EXPECT_FALSE(isCharEqual("a", "A", 1));
}

TEST(StrLike, AgreesWithReferenceOnRandomInput) {
    // Long texts too, so that the block-wise skipping after "%" is exercised.
    std::mt19937 rng(12345);
    const char textChars[] = "abcAB";
    const char patternChars[] = "abAB%%_\\";
    for (int round = 0; round < 40000; ++round) {
        std::string text, pattern;
        int tl = rng() % (round % 4 ? 10 : 60), pl = rng() % 7;
        for (int i = 0; i < tl; ++i) text += textChars[rng() % 5];
        for (int i = 0; i < pl; ++i) pattern += patternChars[rng() % 8];
        bool ci = round % 2;
        bool expected =
            reference(text.data(), text.data() + tl, pattern.data(), pattern.data() + pl, ci);
        ASSERT_EQ(expected, like(text, pattern, ci ? 0 : 1, 1)) << text << " LIKE " << pattern;
        ASSERT_EQ(expected,
                  strLike(text.c_str(), pattern.c_str(), '%', '_', '\\', ci ? 0 : 1, 1) == 1)
            << text << " LIKE " << pattern;
    }
}

TEST(StrLike, CountedTextsEndingAtAPageBoundary) {
    kotest::EdgeBuffer text("abcabc"), pattern("%c_b%");
    EXPECT_EQ(1, strLike(text.data(), 6, pattern.data(), 5, '%', '_', '\\', 0, 0));
    kotest::EdgeBuffer pending("ab\\"), longer("%x");
    EXPECT_EQ(0, strLike(text.data(), 6, pending.data(), 3, '%', '_', '\\', 0, 1));
    EXPECT_EQ(0, strLike(text.data(), 6, longer.data(), 2, '%', '_', '\\', 0, 0));
    // A lead byte as the last counted byte is not completed from beyond the length.
    kotest::LocaleGuard utf8("C.utf8");
    ASSERT_TRUE(utf8.Ok);
    kotest::EdgeBuffer cut("a\xC3");
    EXPECT_EQ(1, strLike(cut.data(), 2, "a_", 2, '%', '_', '\\', 0, 1));
    kotest::Utf8Mode mode;
    kotest::EdgeBuffer cut3("a\xE2\x82");
    EXPECT_EQ(1, strLike(cut3.data(), 3, "a_", 2, '%', '_', '\\', 0, 1));
}

TEST(StrLike, MultiByteCharactersMatchWhole) {
    kotest::LocaleGuard utf8("C.utf8");
    ASSERT_TRUE(utf8.Ok);
    // In the locale, a two-byte character is one character for "_".
    EXPECT_TRUE(like("caf\xC3\xA9", "caf_"));
    EXPECT_FALSE(like("caf\xC3\xA9", "caf__"));
    EXPECT_TRUE(like("\xC3\xA9t\xC3\xA9", "%t\xC3\xA9"));
    // Skipping ahead after "%" steps whole characters in long texts too.
    std::string accents;
    for (int i = 0; i < 20; ++i) accents += "\xC3\xA9";
    EXPECT_TRUE(like(accents + "a", "%A"));
    EXPECT_FALSE(like(accents, "%\xA9"));
    EXPECT_TRUE(like(accents, "%\xC3\xA9"));
    // Three-byte characters are one character only in UTF-8 mode.
    EXPECT_FALSE(like("\xE2\x82\xAC", "_"));
    kotest::Utf8Mode mode;
    EXPECT_TRUE(like("\xE2\x82\xAC", "_"));
    EXPECT_TRUE(like("x\xE2\x82\xAC"
                     "y",
                     "x_y"));
    // A pattern byte never matches part of a longer text character.
    EXPECT_FALSE(like("\xC3\xA9", "\xC3%"));
}

} // namespace

namespace {

// Random texts and patterns over an alphabet that holds the wild cards, the escape, blanks,
// case pairs and bytes of 0x80 and above (parts of two- and three-byte sequences and stray
// bytes), in counted and terminated form, for several wild-card choices.
void compareWithGeneralMatcher(unsigned seed, int rounds) {
    std::mt19937 rng(seed);
    const std::vector<std::string> pieces = {"a",
                                             "b",
                                             "A",
                                             "B",
                                             "i",
                                             "I",
                                             "%",
                                             "_",
                                             "\\",
                                             " ",
                                             "*",
                                             "?",
                                             "!",
                                             "\xC3\xA9",
                                             "\xC3",
                                             "\xA9",
                                             "\xE2\x82\xAC",
                                             "\xFF",
                                             "\xA7"};
    struct Specials {
        unsigned char AnyMany, AnyOne, Escape;
    };
    const Specials specials[] = {
        {'%', '_', '\\'}, {'*', '?', '!'}, {'%', '_', '%'}, {'%', '%', '\\'}, {0xA7, '_', 0xA9}};
    for (int round = 0; round < rounds; ++round) {
        std::string text, pattern;
        int tl = rng() % (round % 8 ? 12 : 90), pl = rng() % 9;
        while (static_cast<int>(text.size()) < tl)
            text += pieces[rng() % 7 == 0 ? rng() % 19 : rng() % 6];
        while (static_cast<int>(pattern.size()) < pl) pattern += pieces[rng() % 19];
        // Often make the pattern a piece of the text, so that matches are common.
        if (round % 3 == 0 && !text.empty()) {
            size_t from = rng() % text.size();
            pattern = "%" + text.substr(from, rng() % 6) + (rng() % 2 ? "%" : "");
        }
        const Specials& s = specials[round % 5];
        unsigned caseSensitive = round % 2, exact = (round / 2) % 2;
        int expected = strLikeGeneral(text.data(), text.size(), pattern.data(), pattern.size(),
                                      s.AnyMany, s.AnyOne, s.Escape, caseSensitive, exact);
        ASSERT_EQ(expected, strLike(text.data(), text.size(), pattern.data(), pattern.size(),
                                    s.AnyMany, s.AnyOne, s.Escape, caseSensitive, exact))
            << "[" << text << "] LIKE [" << pattern << "] specials " << round % 5;
        ASSERT_EQ(expected, strLike(text.c_str(), pattern.c_str(), s.AnyMany, s.AnyOne, s.Escape,
                                    caseSensitive, exact))
            << "[" << text << "] LIKE [" << pattern << "] terminated, specials " << round % 5;
    }
}

} // namespace

// The byte-wise shortcuts give the general matcher's answer in every character mode.
TEST(StrLike, ShortcutsAgreeWithTheGeneralMatcher) {
    compareWithGeneralMatcher(1, 60000);
    kotest::LocaleGuard utf8("C.utf8");
    ASSERT_TRUE(utf8.Ok);
    compareWithGeneralMatcher(2, 60000);
    kotest::Utf8Mode mode;
    compareWithGeneralMatcher(3, 60000);
}
