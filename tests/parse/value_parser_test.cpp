// Attribute strings as drivers receive them: pairs, multi-word keys, braces and quotes,
// repeats, synonyms, the used marks, rebuilding, the worded errors and exhausted memory.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "../text/text_test_support.h"
#include "kolib/testing.h"
#include "kolib/value_parser.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

std::string str(const KoSubString* s) {
    return s ? std::string(s->Buf, s->CurSize) : "<null>";
}

Pairs pairsOf(const KoValueParser& p) {
    Pairs out;
    for (unsigned long i = 0; i < p.getCount(); ++i)
        out.emplace_back(str(p.getAttributeKey(i)),
                         str(static_cast<KoSubString*>(p.Order.getPtrDataAtIndex(i))));
    return out;
}

TEST(ValueParser, ConnectionStringsAsDriversReceiveThem) {
    kotest::PushedList errors;
    KoValueParser dsn("DSN=sales;UID=ann;PWD=s3cr3t", ';');
    ASSERT_EQ(0u, dsn.initialize());
    EXPECT_EQ((Pairs{{"DSN", "sales"}, {"UID", "ann"}, {"PWD", "s3cr3t"}}), pairsOf(dsn));
    EXPECT_EQ("ann", str(dsn.getAttributeValue("uid"))); // keys ignore case
    EXPECT_EQ(nullptr, dsn.getAttributeValue("SERVER"));

    KoValueParser full("ODBC; DRIVER={Ko Driver 2.0};Data  Source = /srv/db ;;"
                       "PWD='a;b''c';Opt=\"x;y\";Empty=;Last=1;",
                       ';');
    ASSERT_EQ(0u, full.initialize());
    EXPECT_EQ((Pairs{{"DRIVER", "{Ko Driver 2.0}"},
                     {"Data  Source", "/srv/db"},
                     {"PWD", "'a;b''c'"},
                     {"Opt", "\"x;y\""},
                     {"Empty", ""},
                     {"Last", "1"}}),
              pairsOf(full));
    // "==" and "=>" serve as "=", the value starting behind the first "=".
    KoValueParser eq("A==b;B=>c", ';');
    ASSERT_EQ(0u, eq.initialize());
    EXPECT_EQ((Pairs{{"A", "=b"}, {"B", ">c"}}), pairsOf(eq));
    KoValueParser empty(";", ';');
    EXPECT_EQ(0u, empty.initialize());
    EXPECT_EQ(0u, empty.getCount());
    EXPECT_FALSE(KoErrorKeeper::isExistingError());
}

TEST(ValueParser, RepeatedKeys) {
    {
        kotest::PushedList errors;
        KoValueParser p("DSN=a;dsn=b", ';');
        EXPECT_EQ(1u, p.initialize());
        EXPECT_EQ(2704, errors.lastNumber());
        EXPECT_EQ("Syntax error at offset 9; the keyword is given twice: dsn", errors.lastText());
    }
    kotest::PushedList errors;
    KoValueParser allowed("DSN=a;DSN=b", ';', nullptr, 1);
    ASSERT_EQ(0u, allowed.initialize());
    EXPECT_EQ((Pairs{{"DSN", "a"}}), pairsOf(allowed));
    KoValueParser driver("Driver=x;DRIVER=y", ';');
    ASSERT_EQ(0u, driver.initialize());
    EXPECT_EQ((Pairs{{"Driver", "x"}}), pairsOf(driver));
}

TEST(ValueParser, MalformedStringsGiveWordedErrors) {
    struct Case {
        const char* Text;
        const char* Message;
    } cases[] = {{"=", "Syntax error at offset 0"},
                 {"==", "Syntax error at offset 0"},
                 {"DSN", "Syntax error at offset 3"},
                 {"DSN=a;UID", "Syntax error at offset 9"},
                 {"DSN=a b c;'x'=1", "Syntax error at offset 10"},
                 {"DSN=a;5=x", "Syntax error at offset 6"}};
    for (const Case& c : cases) {
        kotest::PushedList errors;
        KoValueParser p(c.Text, ';');
        EXPECT_EQ(1u, p.initialize()) << c.Text;
        EXPECT_EQ(c.Message, errors.lastText()) << c.Text;
    }
    kotest::PushedList errors;
    KoValueParser named("DSN", ';', "the connection string");
    EXPECT_EQ(1u, named.initialize());
    EXPECT_EQ(2705, errors.lastNumber());
    EXPECT_EQ("Syntax error at offset 3 in the connection string", errors.lastText());
}

TEST(ValueParser, SynonymsAndUsedMarks) {
    kotest::PushedList errors;
    KoValueParser p("DSN=a;USER=u;X=1;Y=2", ';');
    ASSERT_EQ(0u, p.initialize());
    KoSubString* value = nullptr;
    EXPECT_EQ(0u, p.getAttributeValue("UID", "USER", value));
    EXPECT_EQ("u", str(value));
    EXPECT_EQ(0u, p.getAttributeValue("PWD", "PASSWORD", value));
    EXPECT_EQ(nullptr, value);
    EXPECT_TRUE(p.isAttributeValue("dsn"));
    EXPECT_EQ(3u, p.getUnusedCount()); // isAttributeValue marks nothing
    p.getAttributeValue("DSN");
    EXPECT_EQ(2u, p.getUnusedCount());
    EXPECT_EQ("X", str(p.getUnusedAttribute()));
    EXPECT_EQ("Y", str(p.getUnusedAttribute()));
    EXPECT_EQ(nullptr, p.getUnusedAttribute());
    p.resetUnused();
    EXPECT_EQ("X", str(p.getUnusedAttribute()));

    // Removing a pair keeps the marks of the others; an added pair starts unused.
    EXPECT_EQ(0u, p.removeAttribute("dsn"));
    EXPECT_EQ(0u, p.addAttribute("Z", "3"));
    p.resetUnused();
    EXPECT_EQ("X", str(p.getUnusedAttribute()));
    EXPECT_EQ("Y", str(p.getUnusedAttribute()));
    EXPECT_EQ("Z", str(p.getUnusedAttribute()));
    EXPECT_EQ(nullptr, p.getUnusedAttribute());

    KoValueParser both("UID=a;USER=b", ';');
    ASSERT_EQ(0u, both.initialize());
    EXPECT_EQ(1u, both.getAttributeValue("UID", "USER", value));
    EXPECT_EQ("Syntax error at offset 12; UID and USER must not both be given", errors.lastText());
}

TEST(ValueParser, EditedPairsRebuildAndReparse) {
    kotest::PushedList errors;
    const char* inputs[] = {"DSN=sales;UID=ann;PWD=s3cr3t",
                            "ODBC;DRIVER={Ko Driver};Data Source=srv;;PWD='a;b'",
                            "A=;B=\"q;r\";C=x y z", "Driver=x;Driver=y;Port=5432"};
    for (const char* input : inputs) {
        KoValueParser p(input, ';');
        ASSERT_EQ(0u, p.initialize()) << input;
        KoString built;
        ASSERT_EQ(0u, p.buildString(&built));
        KoValueParser again(KoSubString(built.Buf, built.CurSize), ';');
        ASSERT_EQ(0u, again.initialize()) << built.asCStr();
        EXPECT_EQ(pairsOf(p), pairsOf(again)) << input;
    }
    KoValueParser p("DSN=a;UID=b", ';');
    ASSERT_EQ(0u, p.initialize());
    EXPECT_EQ(0u, p.addAttribute("PWD", "x;y'z"));
    EXPECT_EQ(0u, p.addAttribute("USER", "c", "UID")); // found by the alternative key
    EXPECT_EQ(0u, p.addAttribute("Server", "plain"));
    EXPECT_EQ(0u, p.removeAttribute("DSN"));
    EXPECT_EQ(0u, p.removeAttribute("absent"));
    KoString built;
    ASSERT_EQ(0u, p.buildString(&built));
    EXPECT_EQ("UID=c;PWD={x;y'z};Server=plain", std::string(built.Buf, built.CurSize));
    KoValueParser again(KoSubString(built.Buf, built.CurSize), ';');
    ASSERT_EQ(0u, again.initialize());
    EXPECT_EQ(pairsOf(p), pairsOf(again));
}

// Parses `text`; the pairs, or a one-pair marker of the failure.
Pairs parsed(const std::string& text) {
    KoValueParser p(KoSubString(text.data(), text.size()), ';');
    if (p.initialize()) return {{"<failed>", text}};
    return pairsOf(p);
}

std::string built(const KoValueParser& p) {
    KoString out;
    EXPECT_EQ(0u, p.buildString(&out));
    return std::string(out.Buf, out.CurSize);
}

TEST(ValueParser, BracedValuesHoldSeparatorsAndQuotes) {
    kotest::PushedList errors;
    EXPECT_EQ((Pairs{{"Driver", "{Bob's;driver}"}, {"DSN", "x"}}),
              parsed("Driver={Bob's;driver};DSN=x"));
    // "}}" stands for "}"; what follows the group up to the separator belongs to the value;
    // an unclosed "{" is read as before, and kept in braces (as an open quote is).
    EXPECT_EQ((Pairs{{"A", "{a}};b}"}, {"B", "{x} y"}, {"C", "{{z}"}, {"D", "1"}}),
              parsed("A={a}};b};B= {x} y ;C={z;D=1"));

    // Values that once added, swallowed or merged pairs, added behind "DSN=a" and then UID=u.
    const char* values[] = {"\"';UID=admin", "p\"q", "\"", "a`b;UID=x", "`", "{x", " y", "z\t"};
    for (const char* value : values) {
        KoValueParser p("DSN=a", ';');
        ASSERT_EQ(0u, p.initialize());
        ASSERT_EQ(0u, p.addAttribute("PWD", value));
        ASSERT_EQ(0u, p.addAttribute("UID", "u"));
        EXPECT_EQ(pairsOf(p), parsed(built(p))) << value << " -> " << built(p);
        EXPECT_EQ(3u, p.getCount());
    }
    KoValueParser p("DSN=a", ';');
    ASSERT_EQ(0u, p.initialize());
    ASSERT_EQ(0u, p.addAttribute("PWD", "a}b;'"));
    ASSERT_EQ(0u, p.addAttribute("Driver", "{Ko Driver}")); // a braced value stays as given
    EXPECT_EQ("DSN=a;PWD={a}}b;'};Driver={Ko Driver}", built(p));

    // A parsed value whose quote stayed open is kept in braces, so pairs added behind it
    // stay pairs.
    KoValueParser open("DSN=x;PWD=ab'c", ';');
    ASSERT_EQ(0u, open.initialize());
    EXPECT_EQ("{ab'c}", str(open.getAttributeValue("PWD")));
    ASSERT_EQ(0u, open.addAttribute("UID", "u"));
    EXPECT_EQ((Pairs{{"DSN", "x"}, {"PWD", "{ab'c}"}, {"UID", "u"}}), parsed(built(open)));
}

TEST(ValueParser, OdbcKeywordOnlyLeadsTheString) {
    kotest::PushedList errors;
    EXPECT_EQ((Pairs{{"DSN", "a"}}), parsed("ODBC;DSN=a"));
    EXPECT_EQ((Pairs{{"ODBC", "1"}, {"DSN", "a"}}), parsed("ODBC=1;DSN=a"));
    EXPECT_EQ("<failed>", parsed("DSN=a;ODBC").front().first);
    KoValueParser p("DSN=a", ';');
    ASSERT_EQ(0u, p.initialize());
    ASSERT_EQ(0u, p.addAttribute("ODBC", "x"));
    EXPECT_EQ(pairsOf(p), parsed(built(p)));
}

TEST(ValueParser, ManyPairsAndLongWhiteTails) {
    kotest::PushedList errors;
    // More pairs than a 16-bit cursor counts.
    std::string text;
    for (int i = 0; i < 70000; ++i) text += "K" + std::to_string(i) + "=" + std::to_string(i) + ";";
    KoValueParser p(KoSubString(text.data(), text.size()), ';');
    ASSERT_EQ(0u, p.initialize());
    ASSERT_EQ(70000u, p.getCount());
    EXPECT_EQ("69999", str(p.getAttributeValue("k69999")));
    EXPECT_EQ("0", str(p.getAttributeValue("K0")));
    unsigned long unused = 0;
    while (p.getUnusedAttribute()) ++unused;
    EXPECT_EQ(69998u, unused);
    EXPECT_EQ(0u, p.removeAttribute("K1"));
    EXPECT_EQ("2", str(p.getAttributeValue("K2")));
    EXPECT_EQ(nullptr, p.getAttributeValue("K1"));

    // Ideographic spaces behind a value are cut by whole characters.
    kotest::LocaleGuard locale("C.utf8");
    ASSERT_TRUE(locale.Ok);
    kotest::Utf8Mode mode;
    std::string tail = "A=x\xE3\x80\x80y";
    for (int i = 0; i < 32000; ++i) tail += "\xE3\x80\x80";
    EXPECT_EQ((Pairs{{"A", "x\xE3\x80\x80y"}}), parsed(tail + " ;"));

    // A lead byte cut off by the end would take the separator behind it when rebuilt.
    EXPECT_EQ("<failed>", parsed("A=1;B=x\xE3").front().first);
    EXPECT_EQ(2704, errors.lastNumber());
    KoValueParser p2("A=1", ';');
    ASSERT_EQ(0u, p2.initialize());
    EXPECT_EQ(1u, p2.addAttribute("B", "x\xE3"));
    EXPECT_EQ(0u, p2.addAttribute("B", "x\xE3\x80\x80"));
    // In UTF-8 mode a lead byte takes the next bytes whatever they are: a blank held that
    // way is no trailing white space.
    EXPECT_EQ((Pairs{{"A", "x\xE3S "}, {"B", "1"}}), parsed("A=x\xE3S ;B=1"));
}

// Values from pieces that matter to the reader: every quote character, the separator,
// braces, "=", white space and multi-byte text.
TEST(ValueParser, EveryValueRebuildsToTheSamePairs) {
    kotest::PushedList errors;
    const char* pieces[] = {"'",     "\"", "`",  ";", "{",  "}",        "}}",
                            "=",     " ",  "\t", "a", "Zz", "\xC3\xA9", "\xE3\x80\x80",
                            "UID=x", "(",  ")"};
    std::mt19937 random(20261125);
    auto value = [&] {
        std::string v;
        for (int n = random() % 7; n > 0; --n)
            v += pieces[random() % (sizeof pieces / sizeof *pieces)];
        return v;
    };
    for (int round = 0; round < 4000; ++round) {
        // Strings as they come, when they parse at all, and then values added to them.
        std::string text = "DSN=" + value() + ";PWD=" + value() + ";X=" + value();
        KoValueParser p(KoSubString(text.data(), text.size()), ';');
        if (p.initialize()) {
            errors.List.clearErrors();
            continue;
        }
        EXPECT_EQ(pairsOf(p), parsed(built(p))) << text;
        std::string a = value(), b = value();
        ASSERT_EQ(0u, p.addAttribute("PWD", a.c_str()));
        ASSERT_EQ(0u, p.addAttribute("Opt", b.c_str()));
        ASSERT_EQ(0u, p.addAttribute("UID", "u"));
        EXPECT_EQ(pairsOf(p), parsed(built(p))) << text << " + " << a << " + " << b;
    }
}

TEST(ValueParser, ExhaustedMemoryFailsCleanly) {
    kotest::PushedList errors;
    long before = ramLiveBlocks();
    unsigned result = 1;
    for (long n = 1; result && n < 100; ++n) {
        {
            KoValueParser p("DSN=a;Data Source=b;PWD='c;d'", ';');
            ramFailAfter(n);
            result = p.initialize();
            ramFailAfter(0);
            if (result) EXPECT_TRUE(errors.List.isOutOfMemory()) << n;
            KoString built;
            if (!result) EXPECT_EQ(0u, p.buildString(&built));
        }
        EXPECT_EQ(before, ramLiveBlocks()) << n;
        errors.List.resetOutOfMemory();
    }
    EXPECT_EQ(0u, result);

    // Adding pairs (braced values, a growing key index) fails whole or not at all.
    result = 1;
    for (long n = 1; result && n < 100; ++n) {
        {
            KoValueParser p("A=1;B=2;C=3;D=4;E=5;F=6;G=7", ';');
            ASSERT_EQ(0u, p.initialize());
            ramFailAfter(n);
            result = 0;
            for (int i = 0; i < 12 && !result; ++i)
                result = p.addAttribute(("K" + std::to_string(i)).c_str(), "x;'y'}");
            ramFailAfter(0);
            KoString out;
            ASSERT_EQ(0u, p.buildString(&out));
            EXPECT_EQ(pairsOf(p), parsed(std::string(out.Buf, out.CurSize))) << n;
        }
        EXPECT_EQ(before, ramLiveBlocks()) << n;
        errors.List.resetOutOfMemory();
        errors.List.clearErrors();
    }
    EXPECT_EQ(0u, result);
}

} // namespace
