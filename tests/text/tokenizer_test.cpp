// The tokeniser over SQL-like input in its dialects, its length handling (error, truncation,
// moving to an allocated buffer), its errors, and the buffer-growth helper.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "kolib/memory.h"
#include "kolib/testing.h"
#include "kolib/tokenizer.h"
#include "text_test_support.h"

namespace {

using Token = std::pair<int, std::string>;

// All tokens of the input up to the end token; stops at the first failure.
std::vector<Token> tokens(const char* input, unsigned short flags = 0, unsigned long size = 64) {
    std::vector<Token> result;
    std::vector<char> out(size);
    const char* cursor = input;
    for (int guard = 0; guard < 100; ++guard) {
        if (buttoken(out.data(), &cursor, flags, size)) {
            result.emplace_back(-1, "");
            break;
        }
        if (out[0] == BUT_KIND_END) break;
        result.emplace_back(out[0], std::string(out.data() + 1));
    }
    return result;
}

TEST(Buttoken, SqlTokensInTheDefaultDialect) {
    std::vector<Token> expected = {{0, "A"}, {BUT_KIND_OPERATOR, "<>"}, {0, "B"}};
    EXPECT_EQ(expected, tokens("a<>b"));
    expected = {{0, "SELECT"},
                {0, "X_1"},
                {BUT_KIND_CHARACTER, ","},
                {BUT_KIND_DECIMAL, "12.5"},
                {BUT_KIND_DECIMAL, ".5"},
                {BUT_KIND_INTEGER, "7"},
                {0, "FROM"},
                {0, "T"},
                {BUT_KIND_OUTER_JOIN, "(+)"},
                {BUT_KIND_OPERATOR, ">="},
                {BUT_KIND_PARAMETER, "?"},
                {BUT_KIND_PARAMETER, "?p1"}};
    EXPECT_EQ(expected, tokens("select x_1, 12.5 .5 7\tfrom\nt (+)>= ? ?p1"));
    // Literals keep their quotes; a doubled inner quote is kept once.
    expected = {
        {BUT_KIND_LITERAL, "'O'Neil'"}, {BUT_KIND_LITERAL, "\"a b\""}, {BUT_KIND_LITERAL, "''"}};
    EXPECT_EQ(expected, tokens("'O''Neil' \"a b\" ''"));
    expected = {{BUT_KIND_ESCAPE_CLAUSE, "{fn ucase('x')}"}, {0, "Y"}};
    EXPECT_EQ(expected, tokens("{fn ucase('x')} y"));
    expected = {{0, "Mixed"}};
    EXPECT_EQ(expected, tokens("Mixed", BUT_TOKEN_KEEP_CASE));
    EXPECT_TRUE(tokens("   ").empty());
    EXPECT_TRUE(tokens("").empty());
}

TEST(Buttoken, DialectRules) {
    std::vector<Token> expected = {{BUT_KIND_WORD, "A.B-C"},
                                   {BUT_KIND_CHARACTER, ","},
                                   {BUT_KIND_WORD, "`X Y`Z"},
                                   {BUT_KIND_CHARACTER, "("}};
    EXPECT_EQ(expected, tokens("a.b-c, `x y`z(", 1));
    expected = {{2, "#TMP$1-X"}, {BUT_KIND_CHARACTER, "-"}, {2, "Y"}};
    EXPECT_EQ(expected, tokens("#tmp$1\\-x-y", 2));
    expected = {{BUT_KIND_CHARACTER, "#"}, {0, "TMP"}};
    EXPECT_EQ(expected, tokens("#tmp", 0));
    // Dialect 3 leaves ".name" after a number for a dotted name.
    expected = {{BUT_KIND_INTEGER, "1"}, {3, ".COL.X"}, {BUT_KIND_DECIMAL, "2.5"}};
    EXPECT_EQ(expected, tokens("1.col.x 2.5", 3));
    expected = {{4, "1"}, {4, ":HOST.VAR:2"}};
    EXPECT_EQ(expected, tokens("1 :host.var:2", 4));
}

TEST(Buttoken, AdvancesTheCursorAndReportsErrors) {
    kotest::PushedList list;
    char out[16];
    const char* cursor = "abc def";
    ASSERT_EQ(0u, buttoken(out, &cursor, 0, sizeof out));
    EXPECT_STREQ(" def", cursor);

    cursor = "'open";
    EXPECT_EQ(1u, buttoken(out, &cursor, 0, sizeof out));
    EXPECT_EQ(2703, list.lastNumber());
    EXPECT_NE(std::string::npos, list.lastText().find("'open"));
    EXPECT_STREQ("'open", cursor);
    cursor = "{fn x";
    EXPECT_EQ(1u, buttoken(out, &cursor, 0, sizeof out));
    EXPECT_EQ(2703, list.lastNumber());

    // Six bytes of out hold the kind, four characters and the NUL.
    cursor = "abcdefgh";
    EXPECT_EQ(1u, buttoken(out, &cursor, 0, 6));
    EXPECT_EQ(2700, list.lastNumber());
    EXPECT_NE(std::string::npos, list.lastText().find("abcd"));
    ASSERT_EQ(0u, buttoken(out, &cursor, BUT_TOKEN_TRUNCATE, 6));
    EXPECT_STREQ("ABCD", out + 1);
    EXPECT_STREQ("", cursor);
    cursor = "abcd";
    ASSERT_EQ(0u, buttoken(out, &cursor, 0, 6));
    EXPECT_STREQ("ABCD", out + 1);
    // Dialects 4 and 6 trust the caller's size.
    char wide[32];
    cursor = "abcdefgh";
    ASSERT_EQ(0u, buttoken(wide, &cursor, 6, 6));
    EXPECT_STREQ("ABCDEFGH", wide + 1);
}

TEST(Buttoken, EveryByteMakesProgressInEveryDialect) {
    kotest::PushedList list;
    for (unsigned short dialect = 0; dialect <= 6; ++dialect)
        for (int byte = 1; byte < 256; ++byte) {
            const char input[] = {static_cast<char>(byte), 'x', 0};
            // Two bytes make at most two tokens (a hang would run into the helper's guard).
            EXPECT_LE(tokens(input, dialect).size(), 2u) << dialect << " " << byte;
        }
    std::vector<Token> expected = {{BUT_KIND_CHARACTER, "\x01"}, {1, "A"}};
    EXPECT_EQ(expected, tokens("\x01"
                               "a",
                               1));
}

TEST(Buttoken, Dialects4And6WriteNoFurtherThanTheRestOfTheInput) {
    // out sized exactly for the rest of the input (kind, text, NUL) before a guard page;
    // outSize claims less.
    const char* inputs[] = {"abcdefghijklmnopqrstuvwxyz",
                            "#a\\-b$c#d",
                            ":a.b:c.d",
                            "1234567890",
                            "'a literal'",
                            "{fn escape}"};
    for (unsigned short dialect : {4, 6})
        for (const char* input : inputs) {
            kotest::EdgeBuffer out(std::string(std::strlen(input) + 2, '\xAA'));
            const char* cursor = input;
            for (int guard = 0; guard < 20; ++guard) {
                ASSERT_EQ(0u, buttoken(out.data(), &cursor, dialect, 4)) << input;
                if (out.data()[0] == BUT_KIND_END) break;
            }
            EXPECT_EQ('\0', *cursor) << input;
        }
}

TEST(Buttoken, MovesALongTokenToAnAllocatedBuffer) {
    { kotest::PushedList warmUp; } // registers the thread once
    long before = ramLiveBlocks();
    {
        kotest::PushedList list;
        char out[2 + sizeof(char*)];
        const char* cursor = "'it''s a long literal' next";
        ASSERT_EQ(0u, buttoken(out, &cursor, BUT_TOKEN_EXTEND, sizeof out));
        EXPECT_EQ(BUT_KIND_LITERAL, out[0]);
        EXPECT_EQ(0, out[1]);
        char* moved;
        std::memcpy(&moved, out + 2, sizeof moved);
        ASSERT_NE(nullptr, moved);
        EXPECT_STREQ("'it's a long literal'", moved);
        EXPECT_STREQ(" next", cursor);
        ramFree(moved);
        // A short token leaves no pointer behind; an empty one says so with a null pointer.
        ASSERT_EQ(0u, buttoken(out, &cursor, BUT_TOKEN_EXTEND, sizeof out));
        EXPECT_STREQ("NEXT", out + 1);
        ASSERT_EQ(0u, buttoken(out, &cursor, BUT_TOKEN_EXTEND, sizeof out));
        std::memcpy(&moved, out + 2, sizeof moved);
        EXPECT_EQ(nullptr, moved);
        // Allocation failure and an unterminated literal after the move leak nothing.
        cursor = "averyveryverylongname";
        ramFailAfter(1);
        EXPECT_EQ(1u, buttoken(out, &cursor, BUT_TOKEN_EXTEND, sizeof out));
        ramFailAfter(0);
        EXPECT_EQ(30190, list.lastNumber());
        list.List.resetOutOfMemory();
        cursor = "'averyveryverylongname";
        EXPECT_EQ(1u, buttoken(out, &cursor, BUT_TOKEN_EXTEND, sizeof out));
        EXPECT_EQ(2703, list.lastNumber());
    }
    EXPECT_EQ(before, ramLiveBlocks());
}

TEST(Butxpand, GrowsInStepsOf512) {
    kotest::PushedList list;
    char* buffer = nullptr;
    char* cursor = nullptr;
    unsigned short size = 0;
    ASSERT_EQ(0u, butxpand(&buffer, &cursor, &size, 100));
    EXPECT_EQ(512, size);
    EXPECT_EQ(buffer, cursor);
    cursor += 500;
    std::memcpy(buffer, "keep", 4);
    ASSERT_EQ(0u, butxpand(&buffer, &cursor, &size, 12)); // 12 bytes remain: enough
    EXPECT_EQ(512, size);
    ASSERT_EQ(0u, butxpand(&buffer, &cursor, &size, 600));
    EXPECT_EQ(512 + 1024, size);
    EXPECT_EQ(buffer + 500, cursor);
    EXPECT_EQ(0, std::memcmp(buffer, "keep", 4));
    char* const old = buffer;
    ramFailAfter(1);
    EXPECT_EQ(1u, butxpand(&buffer, &cursor, &size, 2000));
    ramFailAfter(0);
    EXPECT_EQ(old, buffer);
    EXPECT_EQ(512 + 1024, size);
    ramFree(buffer);

    char* fresh = nullptr;
    char* at = nullptr;
    size = 0;
    ASSERT_EQ(0u, butxpand(&fresh, &at, &size, 600));
    EXPECT_EQ(1024, size);
    ramFree(fresh);
}

} // namespace
