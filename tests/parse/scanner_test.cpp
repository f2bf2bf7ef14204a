// Token streams of the scanner over realistic text, its character-class overrides, the
// delimited values and lists, phrase matching, editing, and bad input at the edge of a
// readable page.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../text/text_test_support.h"
#include "kolib/array.h"
#include "kolib/scanner.h"
#include "kolib/testing.h"

namespace {

struct Tok {
    ScanCode Type;
    std::string Text;
    unsigned long Offset;
    bool operator==(const Tok& o) const {
        return Type == o.Type && Text == o.Text && Offset == o.Offset;
    }
};

std::ostream& operator<<(std::ostream& out, const Tok& t) {
    return out << "{" << t.Type << ", \"" << t.Text << "\", " << t.Offset << "}";
}

std::vector<Tok> scanAll(KoScanner& s, SearchType search = TOKEN_NORMAL) {
    std::vector<Tok> out;
    KoToken t;
    while (s.getToken(t, search) != C_EOS)
        out.push_back({t.TokenType, std::string(t.Buf, t.CurSize), t.BegOfToken});
    EXPECT_EQ(s.getStrLen(), t.BegOfToken); // the end token sits at the end
    return out;
}

std::vector<Tok> scanAll(const std::string& text) {
    KoScanner s(text.data(), text.size());
    return scanAll(s);
}

TEST(Scanner, SqlStatementWithCommentsLiteralsAndOuterJoin) {
    std::string sql = "SELECT a.x, 'it''s' /* c */ FROM t1 a -- tail\n"
                      "WHERE a.id(+) = b.id AND a.v <> 2.5 OR a.w>=:p";
    KoScanner s(sql.data(), sql.size());
    s.setParseComments();
    std::vector<Tok> want = {
        {C_IDENTIFIER, "SELECT", 0}, {C_IDENTIFIER, "a", 7},     {C_PERIOD, ".", 8},
        {C_IDENTIFIER, "x", 9},      {C_COMMA, ",", 10},         {C_LITERAL, "'it''s'", 12},
        {C_COMMENT, "/* c */", 20},  {C_IDENTIFIER, "FROM", 28}, {C_IDENTIFIER, "t1", 33},
        {C_IDENTIFIER, "a", 36},     {C_COMMENT, "-- tail", 38}, {C_IDENTIFIER, "WHERE", 46},
        {C_IDENTIFIER, "a", 52},     {C_PERIOD, ".", 53},        {C_IDENTIFIER, "id", 54},
        {C_OUTER_JOIN, "(+)", 56},   {C_EQUAL, "=", 60},         {C_IDENTIFIER, "b", 62},
        {C_PERIOD, ".", 63},         {C_IDENTIFIER, "id", 64},   {C_IDENTIFIER, "AND", 67},
        {C_IDENTIFIER, "a", 71},     {C_PERIOD, ".", 72},        {C_IDENTIFIER, "v", 73},
        {C_LESS_GREATER, "<>", 75},  {C_NUMBER, "2.5", 78},      {C_IDENTIFIER, "OR", 82},
        {C_IDENTIFIER, "a", 85},     {C_PERIOD, ".", 86},        {C_IDENTIFIER, "w", 87},
        {C_GREATER_EQUAL, ">=", 88}, {C_COLON, ":", 90},         {C_IDENTIFIER, "p", 91}};
    EXPECT_EQ(want, scanAll(s));

    // Without comment parsing the markers are operators; "(+ )" is no outer join; unlisted
    // characters are symbols.
    EXPECT_EQ((std::vector<Tok>{{C_MINUS_MINUS, "--", 0},
                                {C_IDENTIFIER, "x", 2},
                                {C_DIVIDE, "/", 4},
                                {C_MULT_MULT, "**", 5},
                                {C_DIVIDE, "/", 7}}),
              scanAll("--x /**/"));
    EXPECT_EQ((std::vector<Tok>{{C_LEFT_PAREN, "(", 0},
                                {C_PLUS, "+", 1},
                                {C_RIGHT_PAREN, ")", 3},
                                {C_SYMBOL, "[", 4},
                                {C_IDENTIFIER, "x", 5},
                                {C_SYMBOL, "]", 6},
                                {C_LESS, "<", 8},
                                {C_GREATER, ">", 10},
                                {C_NOT_EQUAL, "!=", 11},
                                {C_OR_OR, "||", 13},
                                {C_EQUAL_MULT, "=*", 15}}),
              scanAll("(+ )[x] < >!=||=*"));
}

TEST(Scanner, CommentsEndAtTheirMarks) {
    std::string text = "/*/ x */y--z";
    KoScanner s(text.data(), text.size());
    s.setParseComments();
    EXPECT_EQ((std::vector<Tok>{
                  {C_COMMENT, "/*/ x */", 0}, {C_IDENTIFIER, "y", 8}, {C_COMMENT, "--z", 9}}),
              scanAll(s));
    std::string open = "a /* never closed";
    KoScanner u(open.data(), open.size());
    u.setParseComments();
    EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "a", 0}, {C_COMMENT, "/* never closed", 2}}),
              scanAll(u));
}

TEST(Scanner, NumbersAndFractionsAtTheEndOfText) {
    EXPECT_EQ((std::vector<Tok>{{C_NUMBER, "1.5", 0}}), scanAll("1.5 "));
    // A fraction that runs up to the very end stays C_FRACTION.
    EXPECT_EQ((std::vector<Tok>{{C_FRACTION, "1.5", 0}}), scanAll("1.5"));
    EXPECT_EQ((std::vector<Tok>{{C_FRACTION, "7.", 0}}), scanAll("7."));
    EXPECT_EQ((std::vector<Tok>{{C_NUMBER, ".5", 0}}), scanAll(".5 "));
    EXPECT_EQ((std::vector<Tok>{{C_NUMBER, "12", 0}, {C_IDENTIFIER, "ab", 2}}), scanAll("12ab"));
    std::string text = "1.5";
    KoScanner s(text.data(), text.size());
    s.resetDecimalOk();
    EXPECT_EQ((std::vector<Tok>{{C_NUMBER, "1", 0}, {C_PERIOD, ".", 1}, {C_NUMBER, "5", 2}}),
              scanAll(s));
    s.setScanString(text.data(), text.size()); // turns DecimalOk back on
    EXPECT_EQ((std::vector<Tok>{{C_FRACTION, "1.5", 0}}), scanAll(s));
}

TEST(Scanner, CharacterClassOverrides) {
    std::string text = "first-name $x a.b+c";
    KoScanner s(text.data(), text.size());
    s.setValidMiddleChars("-");
    s.setValidFirstChars("$");
    EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "first-name", 0},
                                {C_IDENTIFIER, "$x", 11},
                                {C_IDENTIFIER, "a", 14},
                                {C_PERIOD, ".", 15},
                                {C_IDENTIFIER, "b", 16},
                                {C_PLUS, "+", 17},
                                {C_IDENTIFIER, "c", 18}}),
              scanAll(s));
    // A blank among the first characters is never skipped as white space.
    s.setScanString(text.data(), text.size());
    s.setValidChars(" -");
    EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "first-name ", 0},
                                {C_DOLLAR, "$", 11},
                                {C_IDENTIFIER, "x a", 12},
                                {C_PERIOD, ".", 15},
                                {C_IDENTIFIER, "b", 16},
                                {C_PLUS, "+", 17},
                                {C_IDENTIFIER, "c", 18}}),
              scanAll(s));
    s.resetValidChars();
    s.setInvalidChars(" ,");
    s.setScanString(text.data(), text.size());
    EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "first-name", 0},
                                {C_IDENTIFIER, "$x", 11},
                                {C_IDENTIFIER, "a.b+c", 14}}),
              scanAll(s));
    s.resetInvalidChars();

    // Paths run to a blank or one of ",()|"; SQL words take "#" and "$".
    std::string path = "/usr/lib/x.so,#tmp$1 y";
    s.setScanString(path.data(), path.size());
    EXPECT_EQ((std::vector<Tok>{{C_PATH, "/usr/lib/x.so", 0},
                                {C_COMMA, ",", 13},
                                {C_PATH, "#tmp$1", 14},
                                {C_PATH, "y", 21}}),
              scanAll(s, TOKEN_PATH));
    s.setScanString(path.data() + 14, path.size() - 14);
    EXPECT_EQ((std::vector<Tok>{{C_SQLWORD, "#tmp$1", 0}, {C_SQLWORD, "y", 7}}),
              scanAll(s, TOKEN_SQLWORD));
}

TEST(Scanner, MultiByteTextInUtf8LocaleAndUtf8Mode) {
    kotest::LocaleGuard locale("C.utf8");
    ASSERT_TRUE(locale.Ok);
    // Two-byte letters belong to identifiers and literals.
    EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "na\xC3\xAFve", 0},
                                {C_IDENTIFIER, "\xC3\xA9t\xC3\xA9", 7},
                                {C_LITERAL, "'\xC3\xA0'", 13}}),
              scanAll("na\xC3\xAFve \xC3\xA9t\xC3\xA9 '\xC3\xA0'"));
    // Three-byte characters are whole only in the thread's UTF-8 mode; the ideographic
    // space is white space there.
    std::string jp = "\xE5\x90\x8D\xE5\x89\x8D\xE3\x80\x80=\xE2\x82\xAC";
    {
        kotest::Utf8Mode mode;
        EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "\xE5\x90\x8D\xE5\x89\x8D", 0},
                                    {C_EQUAL, "=", 9},
                                    {C_SYMBOL, "\xE2\x82\xAC", 10}}),
                  scanAll(jp));
    }
    std::vector<Tok> bytewise = scanAll(jp);
    ASSERT_EQ(13u, bytewise.size());
    EXPECT_EQ((Tok{C_SYMBOL, "\xE5", 0}), bytewise[0]);
}

TEST(Scanner, UnclosedQuotesAndGroups) {
    EXPECT_EQ((std::vector<Tok>{{C_LITERAL_NOT_CLOSED, "'abc", 0}}), scanAll("'abc"));
    EXPECT_EQ((std::vector<Tok>{{C_LITERAL_NOT_CLOSED, "\"a\"\"", 0}}), scanAll("\"a\"\""));
    std::string text = "f(a, ')', (b)) {x {y}} <q<r>> (z";
    KoScanner s(text.data(), text.size());
    s.setMatchParens();
    s.setMatchBrackets();
    s.setMatchingChars('<', '>');
    EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "f", 0},
                                {C_LITERAL, "(a, ')', (b))", 1},
                                {C_LITERAL, "{x {y}}", 15},
                                {C_LITERAL, "<q<r>>", 23},
                                {C_LITERAL_NOT_CLOSED, "(z", 30}}),
              scanAll(s));
    // A quote disabled with 0 is an ordinary operator.
    s.setDefaultQuotes();
    s.setQuotingChars('"', 0, 0);
    std::string q = "'a'";
    s.setScanString(q.data(), q.size());
    EXPECT_EQ((std::vector<Tok>{
                  {C_SINGLE_QUOTE, "'", 0}, {C_IDENTIFIER, "a", 1}, {C_SINGLE_QUOTE, "'", 2}}),
              scanAll(s));
}

TEST(Scanner, NeverReadsPastTheGivenLength) {
    // Each text ends right before an inaccessible page.
    const char* texts[] = {"'abc", "(+", "x(", "a<", "1.", "--", "/*", "ab\xC3", "\"x\"", "a,"};
    for (const char* text : texts) {
        kotest::EdgeBuffer edge(text);
        KoScanner s(edge.data(), std::strlen(text));
        s.setParseComments();
        s.setMatchParens();
        KoToken t;
        int guard = 0;
        while (s.getToken(t) != C_EOS && ++guard < 20) {
        }
        s.resetToBeginning();
        while (s.getDelimitedToken(t, ',') != C_EOS && ++guard < 40) s.getToken(t);
    }
    {
        kotest::LocaleGuard locale("C.utf8");
        kotest::Utf8Mode mode;
        kotest::EdgeBuffer edge("x\xE2\x82");
        KoScanner s(edge.data(), 3);
        EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "x", 0}, {C_SYMBOL, "\xE2\x82", 1}}),
                  scanAll(s));
    }
    // A NUL inside the length is a symbol of its own.
    EXPECT_EQ((std::vector<Tok>{{C_IDENTIFIER, "a", 0},
                                {C_SYMBOL, std::string(1, '\0'), 1},
                                {C_IDENTIFIER, "b", 2}}),
              scanAll(std::string("a\0b", 3)));
    // A megabyte of "(" with paren matching is one unclosed literal.
    std::string parens(1 << 20, '(');
    kotest::EdgeBuffer edge(parens);
    KoScanner s(edge.data(), parens.size());
    s.setMatchParens();
    KoToken t;
    EXPECT_EQ(C_LITERAL_NOT_CLOSED, s.getToken(t));
    EXPECT_EQ(parens.size(), t.CurSize);
    EXPECT_EQ(C_EOS, s.getToken(t));
}

TEST(Scanner, DelimitedValuesAndLists) {
    std::string text = " ,x";
    KoScanner s(text.data(), text.size());
    KoToken t;
    EXPECT_EQ(C_NONE, s.getDelimitedToken(t, ','));
    EXPECT_EQ(0u, t.CurSize);
    EXPECT_EQ(1u, t.BegOfToken);
    EXPECT_EQ(1u, s.getCurrentPosition()); // the comma stays unread

    auto list = [](const std::string& in, bool parens, bool brackets) {
        KoScanner sc(in.data(), in.size());
        if (parens) sc.setMatchParens();
        if (brackets) sc.setMatchBrackets();
        KoArray items;
        items.setDeleteContentsOnDestruct();
        EXPECT_EQ(0u, sc.parseListKoString(&items, ','));
        std::vector<std::string> out;
        for (unsigned long i = 0; i < items.getCount(); ++i) {
            auto* item = static_cast<KoString*>(items.at(i));
            out.emplace_back(item->Buf, item->CurSize);
        }
        return out;
    };
    using V = std::vector<std::string>;
    EXPECT_EQ((V{"a b", "c"}), list("a b , c", false, false));
    EXPECT_EQ((V{""}), list("", false, false));
    EXPECT_EQ((V{"a", "", "b", ""}), list("a,,b,", false, false));
    // Quotes do not nest: a second kind of quote inside an open one takes over.
    EXPECT_EQ((V{"'x,y' z", "'open,"}), list("'x,y' z,'open,", false, false));
    EXPECT_EQ((V{"\"q,'r\",x"}), list("\"q,'r\",x", false, false));
    EXPECT_EQ((V{"f(a,b)", "(c,d)"}), list("f(a,b),(c,d)", true, false));
    // With bracket matching a parenthesis opens a group that a brace closes.
    EXPECT_EQ((V{"(a,b}", "c)", "d"}), list("(a,b},c),d", false, true));

    KoArray views;
    views.setDeleteContentsOnDestruct();
    std::string csv = "k1, k2";
    KoScanner sv(csv.data(), csv.size());
    EXPECT_EQ(0u, sv.parseList(&views, ','));
    ASSERT_EQ(2u, views.getCount());
    EXPECT_EQ(csv.data() + 4, static_cast<KoSubString*>(views.at(1))->Buf); // views, not copies
}

TEST(Scanner, PhraseMatching) {
    std::string text = "group  by x order by y";
    KoScanner s(text.data(), text.size());
    KoToken t;
    s.getToken(t);
    EXPECT_FALSE(s.isEqual(t, "GROUP BY"));
    EXPECT_EQ(5u, s.getCurrentPosition());
    EXPECT_TRUE(s.isEqualCi(t, "GROUP BY"));
    EXPECT_EQ("group  by", std::string(t.Buf, t.CurSize));
    EXPECT_EQ(9u, s.getCurrentPosition());
    s.getToken(t);
    EXPECT_FALSE(s.isInSetCi(t, "ORDER BY\0GROUP BY\0"));
    EXPECT_TRUE(s.isInSet(t, "y\0x\0"));
    EXPECT_TRUE(s.isTokenWithinCi("ORDER BY"));
    EXPECT_EQ(20u, s.getCurrentPosition());
    EXPECT_FALSE(s.isTokenWithin("order"));
    EXPECT_EQ(text.data() + 12, s.isSubStringCi("ORDER"));
    EXPECT_EQ(nullptr, s.isSubString("ORDER"));
}

TEST(Scanner, EditingTheScannedString) {
    KoString text;
    ASSERT_EQ(0u, text.initialize("SELECT a FROM t"));
    KoScanner s(&text);
    KoToken t;
    s.getToken(t);
    s.getToken(t); // "a"
    ASSERT_EQ(0u, s.changeToken(t, "alpha, beta"));
    EXPECT_EQ("SELECT alpha, beta FROM t", std::string(text.Buf, text.CurSize));
    EXPECT_EQ("alpha, beta", std::string(t.Buf, t.CurSize));
    s.getToken(t);
    EXPECT_EQ("FROM", std::string(t.Buf, t.CurSize));
    ASSERT_EQ(0u, s.insertToken(t, "/*x*/ "));
    EXPECT_EQ("FROM", std::string(t.Buf, t.CurSize));
    EXPECT_EQ(25u, t.BegOfToken);
    s.getToken(t);
    ASSERT_EQ(0u, s.removeToken(t));
    EXPECT_EQ("SELECT alpha, beta /*x*/ FROM ", std::string(text.Buf, text.CurSize));
    EXPECT_EQ(C_EOS, s.getToken(t));

    KoScanner plain("abc");
    s.getToken(t);
    EXPECT_NE(0u, plain.changeToken(t, "x")); // not built on a KoString

    // A failed growth leaves the string as it was.
    kotest::PushedList errors;
    KoScanner again(&text);
    again.getToken(t);
    ramFailAfter(1);
    EXPECT_NE(0u, again.insertToken(t, "a much longer prefix that needs room "));
    ramFailAfter(0);
    EXPECT_EQ("SELECT alpha, beta /*x*/ FROM ", std::string(text.Buf, text.CurSize));
    EXPECT_TRUE(errors.List.isOutOfMemory());
}

} // namespace
