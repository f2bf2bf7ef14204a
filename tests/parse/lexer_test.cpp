// Terminals of the lexer: classification, split operators, the outer-join triple, literals
// opened into their parts, keywords, one-step backup, and position save and restore used
// the way the backtracking parser uses them.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "grammar_support.h"
#include "kolib/lexer.h"

namespace {

using Terms = std::vector<std::pair<short, std::string>>;

// Reads n terminals (all up to the end when n is negative).
Terms read(KoLexer& lexer, int n = -1) {
    Terms out;
    for (int i = 0; n < 0 || i < n; ++i) {
        short type = RED_NONE;
        unsigned char* text = nullptr;
        EXPECT_EQ(0u, lexer.nextToken(&type, &text));
        out.emplace_back(type, reinterpret_cast<char*>(text));
        if (type == RED_EOS) break;
    }
    return out;
}

Terms lex(const char* text, KoKeywordList* keywords = nullptr) {
    KoLexer lexer(text, keywords);
    return read(lexer);
}

TEST(Lexer, ClassifiesAndSplitsOperators) {
    EXPECT_EQ((Terms{{RED_IDENT, "a"},
                     {RED_LESS_THAN, "<"},
                     {RED_GREATER_THAN, ">"},
                     {RED_IDENT, "b"},
                     {RED_BANG, "!"},
                     {RED_EQUAL, "="},
                     {RED_OR, "|"},
                     {RED_OR, "|"},
                     {RED_EOS, ""}}),
              lex("a<>b != ||"));
    // The outer-join mark is delivered as "(", "*", "(" on purpose.
    EXPECT_EQ((Terms{{RED_IDENT, "x"},
                     {RED_OPEN_PAREN, "("},
                     {RED_STAR, "+"},
                     {RED_OPEN_PAREN, ")"},
                     {RED_EOS, ""}}),
              lex("x(+)"));
    EXPECT_EQ((Terms{{RED_NUMBER, "1"}, {RED_PERIOD, "."}, {RED_NUMBER, "5"}, {RED_EOS, ""}}),
              lex("1.5"));
    EXPECT_EQ((Terms{{RED_OPEN_BRACKET, "["},
                     {RED_BACKWARD_SLASH, "\\"},
                     {RED_CARET, "^"},
                     {RED_TILDE, "~"},
                     {RED_CLOSE_BRACKET, "]"},
                     {RED_OPEN_BRACE, "{"},
                     {RED_HOOK, "?"},
                     {RED_EOS, ""}}),
              lex("[\\^~]{?"));

    KoLexer bad("a \x7F", nullptr);
    short type;
    EXPECT_EQ(0u, bad.nextToken(&type, nullptr));
    EXPECT_EQ(1u, bad.nextToken(&type, nullptr)); // a symbol without a terminal

    // One step back re-delivers the same terminal, inside a split operator too.
    KoLexer lexer("a<>b", nullptr);
    EXPECT_EQ((Terms{{RED_IDENT, "a"}, {RED_LESS_THAN, "<"}}), read(lexer, 2));
    lexer.backup();
    EXPECT_EQ((Terms{{RED_LESS_THAN, "<"}, {RED_GREATER_THAN, ">"}}), read(lexer, 2));
    lexer.backup();
    EXPECT_EQ((Terms{{RED_GREATER_THAN, ">"}, {RED_IDENT, "b"}}), read(lexer, 2));
    lexer.backup();
    EXPECT_EQ((Terms{{RED_IDENT, "b"}, {RED_EOS, ""}}), read(lexer));
}

TEST(Lexer, KeywordsByTable) {
    std::string packed = kotest::pack({{"SELECT", 100}, {"FROM", 101}, {"select", 102}});
    KoKeywordList keywords(packed.data());
    EXPECT_EQ((Terms{{100, "select"}, {RED_IDENT, "x"}, {101, "From"}, {RED_EOS, ""}}),
              lex("select x From", &keywords));
    keywords.setCaseSensitiveCompare(1);
    EXPECT_EQ((Terms{{102, "select"}, {RED_IDENT, "From"}, {RED_EOS, ""}}),
              lex("select From", &keywords));
    short number = 0;
    EXPECT_EQ(1u, keywords.lookup("WHERE", &number));
}

TEST(Lexer, LiteralsOpenIntoQuoteContentsAndQuote) {
    EXPECT_EQ((Terms{{RED_QUOTE, "'"},
                     {RED_IDENT, "a"},
                     {RED_IDENT, "b"},
                     {RED_QUOTE, "'"},
                     {RED_EQUAL, "="},
                     {RED_QUOTE, "\""},
                     {RED_IDENT, ""},
                     {RED_QUOTE, "\""},
                     {RED_QUOTE, "'"},
                     {RED_IDENT, " "},
                     {RED_QUOTE, "'"},
                     {RED_EOS, ""}}),
              lex("'a b' = \"\" ' '"));
    // Doubled quotes stay in the inner text, where they are plain characters; numbers in
    // literals take no point.
    EXPECT_EQ((Terms{{RED_QUOTE, "'"},
                     {RED_IDENT, "it"},
                     {RED_SINGLE_QUOTE, "'"},
                     {RED_SINGLE_QUOTE, "'"},
                     {RED_IDENT, "s"},
                     {RED_NUMBER, "1"},
                     {RED_PERIOD, "."},
                     {RED_NUMBER, "5"},
                     {RED_QUOTE, "'"},
                     {RED_EOS, ""}}),
              lex("'it''s 1.5'"));
    EXPECT_EQ((Terms{{RED_LITERAL_UNCLOSED, "'open"}, {RED_EOS, ""}}), lex("'open"));

    KoLexer lexer("'%a b%' x", nullptr);
    EXPECT_EQ((Terms{{RED_QUOTE, "'"}}), read(lexer, 1));
    EXPECT_TRUE(lexer.tokenIsLiteral());
    unsigned char* contents = nullptr;
    ASSERT_EQ(0u, lexer.getLiteralContents(&contents));
    EXPECT_STREQ("%a b%", reinterpret_cast<char*>(contents));
    EXPECT_EQ((Terms{{RED_QUOTE, "'"}, {RED_IDENT, "x"}, {RED_EOS, ""}}), read(lexer));
    EXPECT_EQ(1u, lexer.getLiteralContents(&contents)); // no literal open

    // A backup right after the contents steps back over their last terminal only.
    struct Case {
        const char* Text;
        Terms After;
    } cases[] = {{"'x y' z", {{RED_IDENT, "y"}, {RED_QUOTE, "'"}, {RED_IDENT, "z"}}},
                 {"'a <>' z", {{RED_GREATER_THAN, ">"}, {RED_QUOTE, "'"}, {RED_IDENT, "z"}}},
                 {"' ' z", {{RED_IDENT, " "}, {RED_QUOTE, "'"}, {RED_IDENT, "z"}}}};
    // A position taken after backing up over an opening quote returns there.
    KoLexer quote("b 'x' c", nullptr);
    read(quote, 2);
    quote.backup();
    KoToken* token = nullptr;
    short index = 0;
    KoScanner* literal = nullptr;
    KoToken literalToken;
    quote.getPosition(&token, &index, &literal, &literalToken);
    quote.setPosition(token, index, literal, &literalToken);
    delete token;
    delete literal;
    EXPECT_EQ((Terms{{RED_QUOTE, "'"}, {RED_IDENT, "x"}, {RED_QUOTE, "'"}}), read(quote, 3));

    for (const Case& c : cases) {
        KoLexer back(c.Text, nullptr);
        read(back, 1);
        ASSERT_EQ(0u, back.getLiteralContents(&contents));
        back.backup();
        EXPECT_EQ(c.After, read(back, 3)) << c.Text;
    }

    // Character sets reach the literals opened later; quotes can be turned off.
    KoLexer sets("'first-name' a-b", nullptr);
    sets.setValidChars(nullptr, "-", nullptr);
    EXPECT_EQ((Terms{{RED_QUOTE, "'"},
                     {RED_IDENT, "first-name"},
                     {RED_QUOTE, "'"},
                     {RED_IDENT, "a-b"},
                     {RED_EOS, ""}}),
              read(sets));
    KoLexer plain("'a'", nullptr);
    plain.setLiteralQuoteChars(0, 0, 0);
    EXPECT_EQ(
        (Terms{{RED_SINGLE_QUOTE, "'"}, {RED_IDENT, "a"}, {RED_SINGLE_QUOTE, "'"}, {RED_EOS, ""}}),
        read(plain));
}

TEST(Lexer, RestoredPositionRepeatsTheTerminals) {
    const char* statement = "SELECT 'it''s <> ok', '' , x(+) <= 1.5 FROM t WHERE a != 'b'";
    Terms all = lex(statement);
    ASSERT_EQ(RED_EOS, all.back().first);
    for (std::size_t k = 0; k < all.size(); ++k) {
        KoLexer lexer(statement, nullptr);
        Terms head = read(lexer, static_cast<int>(k));
        KoToken* token = nullptr;
        short index = 0;
        KoScanner* literal = nullptr;
        KoToken literalToken;
        lexer.getPosition(&token, &index, &literal, &literalToken);
        Terms ahead = read(lexer); // read ahead to the end, then go back
        lexer.setPosition(token, index, literal, &literalToken);
        Terms again = read(lexer);
        delete token;
        delete literal;
        EXPECT_EQ(ahead, again) << "restored after " << k << " terminals";
        head.insert(head.end(), again.begin(), again.end());
        EXPECT_EQ(all, head) << k;

        // One backup at the same place re-delivers the last terminal.
        if (k == 0) continue;
        KoLexer back(statement, nullptr);
        Terms first = read(back, static_cast<int>(k));
        back.backup();
        EXPECT_EQ(first.back(), read(back, 1).front()) << "backup after " << k;
        // A position taken right after a backup returns there too.
        back.backup();
        {
            KoToken* saved = nullptr;
            short savedIndex = 0;
            KoScanner* savedLiteral = nullptr;
            KoToken savedLiteralToken;
            back.getPosition(&saved, &savedIndex, &savedLiteral, &savedLiteralToken);
            Terms rest = read(back);
            back.setPosition(saved, savedIndex, savedLiteral, &savedLiteralToken);
            delete saved;
            delete savedLiteral;
            EXPECT_EQ(rest, read(back)) << "position after backup after " << k;
        }
    }
}

} // namespace
