// Byte-string utilities as callers use them: orderings (plain, case-insensitive, padded, by
// collation, wide), quoting round trips, character-wise search, trimming, decimal and
// hexadecimal conversion, the memory helpers, the exchanges under contention, and the
// dialog-text helpers.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "kolib/strutil.h"
#include "kolib/testing.h"
#include "text_test_support.h"

namespace {

TEST(StrCompare, OrderingsAgreeOnSignAndStopAtLengths) {
    EXPECT_EQ(0, strCompare("abc", "abc"));
    EXPECT_EQ(-1, strCompare("abc", "abd"));
    EXPECT_EQ(1, strCompare("\xE9", "z")); // unsigned bytes
    EXPECT_EQ(-1, strCompare(nullptr, "a"));
    EXPECT_EQ(0, strCompareCi("Hello", "hELLO"));
    EXPECT_EQ(-1, strCompareCi("abc", "ABD"));
    EXPECT_EQ(-1, strCompareCi("ab", "ABC"));
    EXPECT_EQ(1, strCompareCi("b", "A"));
    EXPECT_EQ(0, strCompare("abcX", 3, "abcY", 3));
    EXPECT_EQ(-1, strCompare("ab", 2, "abc", 3));
    EXPECT_EQ(1, strCompareCi("ABC", 3, "ab", 2));
    EXPECT_EQ(0, strComparePad("ab  ", 4, "ab", 2));
    EXPECT_EQ(1, strComparePad("ab x", 4, "ab", 2));
    EXPECT_EQ(-1, strComparePad("ab", 2, "ab x", 4));
    EXPECT_EQ(-1, strComparePad("aa  ", 4, "ab", 2));
    EXPECT_EQ(0, strCompareWithMaxLength("abcX", "abcY", 3));
    EXPECT_TRUE(strEqual("ab", 2, "abc", 2));
    EXPECT_FALSE(strEqual("ab", 2, "abc", 3));
    EXPECT_TRUE(strEqualCi("ABC", "abc"));
    EXPECT_EQ(0, floatCompare(0.1 + 0.2, 0.3));
    EXPECT_EQ(-1, floatCompare(1.0, 1.0001));
    EXPECT_EQ(-1, memCompareHuge("\x01", "\x02", 1));

    // Counted forms never read past their lengths.
    kotest::EdgeBuffer a("Abc"), b("aBc ");
    EXPECT_EQ(0, strCompareCi(a.data(), 3, b.data(), 3));
    EXPECT_EQ(-1, strCompare(a.data(), 3, b.data(), 4));
    EXPECT_EQ(0, strComparePad(a.data(), 3, "Abc", 3));
    EXPECT_EQ(0, strCompareCiIntl(a.data(), 3, b.data(), 3));
}

TEST(StrCompare, CollationCopiesLongTextsAndSurvivesMemoryFailure) {
    std::string longA(2000, 'a'), longB(2000, 'a');
    longB.back() = 'b';
    EXPECT_EQ(-1, strCompareIntl(longA.data(), longA.size(), longB.data(), longB.size()));
    EXPECT_EQ(0, strCompareCiIntl("ABC", "abc"));
    EXPECT_EQ(1, strCompareIntl("b", 1, "a", 1));
    long before = ramLiveBlocks();
    ramFailFrom(1);
    EXPECT_EQ(-1, strCompareIntl(longA.data(), longA.size(), longB.data(), longB.size()));
    EXPECT_EQ(0, strCompareCiIntl(longA.data(), longA.size(), longA.data(), longA.size()));
    ramFailAfter(0);
    EXPECT_EQ(before, ramLiveBlocks());
}

TEST(StrCompare, WideStrings) {
    const unsigned short a[] = {'a', 0x00E9, 0}, b[] = {'A', 0x00C9, 0}, c[] = {'a', 0x0100, 0};
    EXPECT_EQ(-1, wcsCompare(a, c));
    EXPECT_EQ(1, wcsCompare(a, b));
    kotest::LocaleGuard utf8("C.utf8");
    ASSERT_TRUE(utf8.Ok);
    EXPECT_EQ(0, wcsCompareCi(a, b));
    EXPECT_TRUE(wcsEqualCi(a, 2, b, 2));
    EXPECT_FALSE(wcsEqual(a, 1, a, 2));
    EXPECT_EQ(-1, wcsCompare(a, 1, a, 2));
}

TEST(StrQuote, QuotingRoundTrips) {
    char out[64];
    EXPECT_EQ(9u, strCopyQuoted(out, "O'Neil", '\''));
    EXPECT_STREQ("'O''Neil'", out);
    EXPECT_EQ(6u, strCopyUnquoted(out, "'O''Neil' rest"));
    EXPECT_STREQ("O'Neil", out);
    EXPECT_EQ(2u, strCopyQuoted(out, "", '"'));
    EXPECT_STREQ("\"\"", out);
    std::strcpy(out, "x=");
    EXPECT_EQ(8u, strCatQuoted(out, "a\"b", '"'));
    EXPECT_STREQ("x=\"a\"\"b\"", out);
    char text[] = "'O''Neil'";
    EXPECT_EQ(6u, strRemoveQuotes(text));
    EXPECT_STREQ("O'Neil", text);
    char tiny[] = "'";
    EXPECT_EQ(0u, strRemoveQuotes(tiny));
    EXPECT_EQ(0u, strCopyUnquoted(out, ""));
    EXPECT_EQ(3u, strCopy(out, "abcdef", 3));
    EXPECT_STREQ("abc", out);
    // A trail byte that equals the quote is not doubled (two-byte character in the locale).
    kotest::LocaleGuard utf8("C.utf8");
    kotest::Utf8Mode mode;
    EXPECT_EQ(4u, strCopyQuoted(out, "\xC3\xA9", 0xA9));
    kotest::EdgeBuffer edge("'a''b");
    EXPECT_EQ(3u, strCopyUnquoted(out, edge.data(), 5));
    EXPECT_STREQ("a'b", out);
}

TEST(StrSearch, StepsWholeCharacters) {
    const char* text = "abcabc";
    EXPECT_EQ(text + 1, strFind(text, 'b'));
    EXPECT_EQ(text + 4, strFindReverse(text, 'b'));
    EXPECT_EQ(nullptr, strFind(text, 2, 'c'));
    EXPECT_EQ(text + 2, strFind(text, "ca"));
    EXPECT_EQ(text, strFindCi(text, "ABC"));
    EXPECT_EQ(text, strFind(text, 4, "abc", 3));
    EXPECT_EQ(nullptr, strFind(text + 1, 4, "abc", 3));
    EXPECT_EQ(text + 2, strFind(text, 'x', 'c', 0));
    EXPECT_EQ(text + 2, strContains(text, "xc"));
    EXPECT_EQ(text + 2, strDoesNotContain(text, "ab"));
    EXPECT_EQ(nullptr, strDoesNotContain(text, "abc"));
    EXPECT_EQ(text + 1, strFindAnsi(text, "bca"));
    kotest::EdgeBuffer edge("xyz");
    EXPECT_EQ(nullptr, strFind(edge.data(), 3, "za", 2));
    EXPECT_EQ(edge.data() + 2, strFindReverse(edge.data(), 3, 'z'));

    kotest::LocaleGuard utf8("C.utf8");
    ASSERT_TRUE(utf8.Ok);
    const char* accented = "\xC3\xA9\xA9";
    // The trail byte of the two-byte character is not a character of its own.
    EXPECT_EQ(accented + 2, strFind(accented, 0xA9));
    EXPECT_EQ(accented, strFind(accented, 0xC3A9));
    EXPECT_EQ(nullptr, strFind(accented, "\xA9\xA9"));
}

TEST(StrTrim, TrailingSpaceAndBlanks) {
    EXPECT_EQ(2u, strRightTrim("ab \t\n", 5));
    EXPECT_EQ(4u, strRightTrimBlanks("ab \t ", 5));
    EXPECT_EQ(0u, strRightTrim("   ", 3));
    char text[] = "x  ";
    EXPECT_EQ(1u, strRightTrimBlanks(text));
    EXPECT_STREQ("x", text);
}

TEST(Convert, NumbersToTextAndBack) {
    char out[32];
    EXPECT_EQ(1u, convert(out, 0UL));
    EXPECT_STREQ("0", out);
    EXPECT_EQ(10u, convert(out, 4294967295UL));
    EXPECT_STREQ("4294967295", out);
    EXPECT_EQ(6u, convert(out, -32768L));
    EXPECT_STREQ("-32768", out);
    EXPECT_EQ(4u, convert(out, static_cast<signed char>(-128)));

    EXPECT_EQ(6u, convert(out, 6, 42UL, 0));
    EXPECT_STREQ("    42", out);
    EXPECT_EQ(6u, convert(out, 6, 42UL, 1));
    EXPECT_STREQ("42    ", out);
    convert(out, 12, 7UL, 0);
    EXPECT_STREQ("           7", out);
    convert(out, 3, 12345UL, 0);
    EXPECT_STREQ("***", out);
    convert(out, 2, 0UL, 1);
    EXPECT_STREQ("0 ", out);

    unsigned long ul = 99;
    EXPECT_EQ(0u, convert(&ul, " 4294967295 "));
    EXPECT_EQ(4294967295UL, ul);
    EXPECT_EQ(1u, convert(&ul, "4294967296"));
    EXPECT_EQ(1u, convert(&ul, "-1"));
    EXPECT_EQ(1u, convert(&ul, "12a"));
    EXPECT_EQ(1u, convert(&ul, ""));
    EXPECT_EQ(4294967295UL, ul); // untouched by failures
    short s;
    EXPECT_EQ(0u, convert(&s, "-32768"));
    EXPECT_EQ(-32768, s);
    EXPECT_EQ(1u, convert(&s, "32768"));
    unsigned char u8;
    EXPECT_EQ(1u, convert(&u8, "256"));
    long l;
    EXPECT_EQ(0u, convert(&l, "-2147483648"));
    EXPECT_EQ(-2147483648L, l);
    kotest::EdgeBuffer edge("123");
    unsigned short u16;
    EXPECT_EQ(0u, convert(&u16, edge.data(), 3));
    EXPECT_EQ(123, u16);
}

TEST(Hexify, EncodesInPlaceAndDecodes) {
    kotest::PushedList list;
    char buffer[16] = "\x01\xAB\xFF";
    EXPECT_EQ(6, hexify(buffer, buffer, 3));
    EXPECT_EQ("01ABFF", std::string(buffer, 6));
    EXPECT_EQ(0u, dehexify(buffer, "01abFF", 6));
    EXPECT_EQ("\x01\xAB\xFF", std::string(buffer, 3));
    EXPECT_EQ(1u, dehexify(buffer, "01xx", 4));
    EXPECT_EQ(2708, list.lastNumber());
    char digits[16];
    EXPECT_EQ(4, hexify(digits, 0xBEEFUL, 2));
    EXPECT_STREQ("BEEF", digits);
    EXPECT_EQ(4, hexify(digits, 0x1FUL, 4));
    EXPECT_STREQ("001F", digits);
    EXPECT_EQ(1, hexify(digits, 0UL, 0));
    EXPECT_STREQ("0", digits);
    EXPECT_TRUE(isHexString("09afAF"));
    EXPECT_FALSE(isHexString("0g"));
    EXPECT_FALSE(isHexString("12", 3)); // the NUL is not a digit
    kotest::EdgeBuffer edge("ABCD");
    EXPECT_TRUE(isHexString(edge.data(), 4));

    unsigned short wide[8];
    std::memcpy(wide, "\x5A\xC3", 2);
    EXPECT_EQ(4u, wideHexify(wide, reinterpret_cast<char*>(wide), 2));
    const unsigned short expected[] = {'5', 'A', 'C', '3'};
    EXPECT_EQ(0, std::memcmp(expected, wide, sizeof expected));
    EXPECT_EQ(0u, wideDehexify(digits, wide, 4));
    EXPECT_EQ("\x5A\xC3", std::string(digits, 2));
    wide[1] = 0x141; // not a digit, though its low byte is 'A'
    EXPECT_EQ(1u, wideDehexify(digits, wide, 4));
}

TEST(FastMem, CopySwapFillAndExchange) {
    char block[] = "abcdef";
    BUTMMCPD(block + 1, block, 4); // moving up within one buffer
    EXPECT_STREQ("aabcdf", block);
    BUTMEMCP(block, block + 1, 4);
    EXPECT_STREQ("abcddf", block);
    char x[300], y[300];
    BUTU8FIL(x, sizeof x, 'x');
    BUTU8FIL(y, sizeof y, 'y');
    BUTMMSWP(x, y, sizeof x);
    EXPECT_EQ('y', x[299]);
    EXPECT_EQ('x', y[0]);
    EXPECT_EQ(-1, BUTMMCMP(x, "z", 1));
    char s[16] = "ab";
    BUTSTCAT(s, "cd");
    EXPECT_EQ(4u, BUTSTLEN(s));
    EXPECT_EQ(0, BUTSTCMP(s, "abcd"));
    EXPECT_EQ(0u, BUTSTLEN(nullptr));
    unsigned char units[] = {1, 2, 3, 4, 5};
    butswap(units, 5);
    EXPECT_EQ(2, units[0]);
    EXPECT_EQ(3, units[3]);
    EXPECT_EQ(5, units[4]);

    // Each exchange hands every value out exactly once, however the threads interleave.
    for (auto exchange : {atomicTaskExchange, atomicThreadExchange}) {
        uint32_t slot = 0;
        std::vector<uint64_t> sums(4);
        std::vector<std::thread> threads;
        for (unsigned t = 0; t < 4; ++t)
            threads.emplace_back([&, t] {
                for (uint32_t i = 1; i <= 2000; ++i) sums[t] += exchange(&slot, t * 10000 + i);
            });
        for (auto& th : threads) th.join();
        uint64_t total = exchange(&slot, 0);
        for (uint64_t v : sums) total += v;
        uint64_t expected = 0;
        for (unsigned t = 0; t < 4; ++t)
            for (uint32_t i = 1; i <= 2000; ++i) expected += t * 10000 + i;
        EXPECT_EQ(expected, total);
    }
}

TEST(StrMisc, TruthAndAccelerators) {
    for (const char* yes : {"1", "True", "t", "ON", "on", "oNward"}) EXPECT_EQ(1, isTrueStr(yes));
    for (const char* no : {"0", "false", "o", "", "yes"}) EXPECT_EQ(0, isTrueStr(no));
    EXPECT_EQ(0, isTrueStr(nullptr));

    const char* text = "Save && &exit";
    EXPECT_EQ(text + 8, findMenuAccelerator(text));
    EXPECT_EQ('E', getMenuAccelerator(text));
    EXPECT_EQ(nullptr, findMenuAccelerator("a && b&"));
    EXPECT_EQ(0, getMenuAccelerator("none"));
    char out[32];
    EXPECT_EQ(11u, makeDialogText(out, text));
    EXPECT_STREQ("Save & exit", out);
    char edit[32] = "&Open && close";
    EXPECT_EQ(0u, setAcceleratorKey(edit, sizeof edit, 'C'));
    EXPECT_STREQ("Open && &close", edit);
    EXPECT_EQ(1u, setAcceleratorKey(edit, sizeof edit, 'z'));
    EXPECT_STREQ("Open && &close", edit);
    char tight[] = "ab";
    EXPECT_EQ(1u, setAcceleratorKey(tight, sizeof tight, 'b'));
    EXPECT_STREQ("ab", tight);
}

} // namespace
