// The string classes as callers rely on them: exact growth, editing, quoting, line breaking,
// parameter marks, scrambling, the in-place rewriter, and what happens when memory runs out.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "kolib/array.h"
#include "kolib/errors.h"
#include "kolib/kostring.h"
#include "kolib/param_string.h"
#include "kolib/replace_string.h"
#include "kolib/testing.h"

namespace {
std::string str(KoString& s) {
    return std::string(s.asCStr(), s.getLength());
}

std::string made(const char* text) {
    KoString s;
    s.initialize(text);
    return str(s);
}
} // namespace

TEST(KoStringGrowth, ExactSizesAndOwnership) {
    KoString empty;
    ASSERT_EQ(empty.initialize(""), 0u);
    EXPECT_EQ(empty.BufferLength, 1u);
    EXPECT_EQ(empty.Buf[0], '\0');

    KoString s;
    ASSERT_EQ(s.concat("ab"), 0u);
    EXPECT_EQ(s.BufferLength, 3u); // exactly the text and a terminator
    s.concat('c');
    EXPECT_EQ(s.BufferLength, 4u);
    s.concat(42ul);
    s.concat(-7l);
    EXPECT_EQ(str(s), "abc42-7");
    EXPECT_EQ(s.trim(), 0u);
    EXPECT_EQ(s.BufferLength, s.getLength() + 1);

    // Appending a piece of the string to itself survives the reallocation.
    KoSubString piece(s.Buf, 3);
    ASSERT_EQ(s.concat(piece), 0u);
    EXPECT_EQ(str(s), "abc42-7abc");

    char* given = s.giveUpString();
    EXPECT_STREQ(given, "abc42-7abc");
    EXPECT_EQ(s.Buf, nullptr);
    std::free(given); // the caller owns it now (the layer no longer counts it)

    // An adopted buffer is never grown: error 2716.
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    char fixed[4] = "xy";
    KoString adopted;
    adopted.initializeWithBuffer(fixed, sizeof fixed, 2);
    EXPECT_EQ(adopted.concat('z'), 0u); // fits
    EXPECT_EQ(adopted.concat("more"), 1u);
    EXPECT_EQ(KoErrorKeeper::getLastErrorNumber(), 2716);
    EXPECT_STREQ(fixed, "xyz");
    list.popOffErrorKeeper();
}

TEST(KoStringEdit, ReplaceChangeAndQuote) {
    KoString s;
    s.initialize("aXa");
    ASSERT_EQ(s.replaceSubString("a", "aa"), 0u); // inserted text is not searched again
    EXPECT_EQ(str(s), "aaXaa");
    s.replaceSubString("aa", nullptr); // a null text deletes
    EXPECT_EQ(str(s), "X");

    s.unInitialize();
    s.initialize("hello world");
    s.changeBytes(0, 5, "goodbye", 0);
    EXPECT_EQ(str(s), "goodbye world");
    s.changeBytes(7, 6, "", 0);
    EXPECT_EQ(str(s), "goodbye");
    KoSubString bye(s.Buf + 4, 3);
    s.replaceSubString(bye, " night");
    EXPECT_EQ(str(s), "good night");

    s.unInitialize();
    s.initialize("O'Neil");
    ASSERT_EQ(s.addQuotes('\''), 0u);
    EXPECT_EQ(str(s), "'O''Neil'");
    KoString unquoted;
    EXPECT_EQ(KoSubString(s.Buf, s.getLength()).copyQuotedStr(&unquoted), 0u);
    EXPECT_EQ(str(unquoted), "O'Neil");
    s.removeQuotes();
    EXPECT_EQ(str(s), "O'Neil");
    char out[32];
    KoSubString("a\"b").getCopyQuoted(out, '"'); // always the apostrophe
    EXPECT_STREQ(out, "'a\"b'");
    s.addQuotedBytes(KoSubString("x'y"), '\'');
    EXPECT_EQ(str(s), "O'Neil'x''y'");
}

TEST(KoStringEdit, LineEndsAndBreaks) {
    KoString s;
    s.initialize("x\n");
    s.forceEol(2);
    EXPECT_EQ(str(s), "x\n\n");
    s.forceEol(1); // never removes
    EXPECT_EQ(str(s), "x\n\n");

    s.unInitialize();
    s.initialize("aaa bbb ccc");
    ASSERT_EQ(s.insertLineBreaks(5, 0, 0, 0), 0u);
    EXPECT_EQ(str(s), "aaa\nbbb\nccc");

    // A blank inside quotes is never a break point.
    s.unInitialize();
    s.initialize("x 'a b c d' y");
    s.insertLineBreaks(4, '\'', 0, 0);
    EXPECT_EQ(str(s), "x\n'a b c d'\ny");

    s.unInitialize();
    s.initialize("one\ntwo\n\nthree 'in\nside'\n");
    s.removeLineBreaks('\'', 0, 0);
    EXPECT_EQ(str(s), "one two three 'in\nside'");
}

TEST(KoSubStringView, SearchCompareHash) {
    KoSubString v("abcabc", 6);
    EXPECT_EQ(v.findChar('c'), 2u);
    EXPECT_EQ(v.findChar('c', 3), 5u);
    EXPECT_EQ(v.findChar('c', 99), 6u); // past the end: CurSize
    EXPECT_EQ(v.findSubString("ca"), 2u);
    EXPECT_EQ(v.findSubString("zz"), 6u);
    EXPECT_EQ(v.countChar('a'), 2u);
    EXPECT_EQ(KoSubString("abcdefg").hash(), KoSubString("ABCDExyz").hash());
    EXPECT_TRUE(KoSubString("Data").isEqualCi("DATA"));
    EXPECT_FALSE(KoSubString("Data").isEqual("DATA"));
    EXPECT_EQ(KoSubString("Data").compareCi(KoSubString("dATA")), 0);
    EXPECT_LT(KoSubString("abc").compare("abd"), 0);
    EXPECT_TRUE(KoSubString("Orders  ").isLikeCi("ord%", 4, '%', '_', '\\'));
    const char* set[] = {"ODBC", "DSN", "UID"};
    EXPECT_EQ(KoSubString("dsn").indexInSetCi(set, 3), 1);
    EXPECT_EQ(KoSubString("dsn").indexInSet(set, 3), 3);
    unsigned short port = 0;
    EXPECT_EQ(KoSubString("5432").getAsU16(&port), 0u);
    EXPECT_EQ(port, 5432);
    EXPECT_NE(KoSubString("70000").getAsU16(&port), 0u);

    KoArray lines;
    lines.setDeleteContentsOnDestruct();
    ASSERT_EQ(KoSubString("a\n\nbc\n").getLines(&lines), 0u);
    ASSERT_EQ(lines.getCount(), 2u);
    EXPECT_STREQ(static_cast<KoString*>(lines.at(1))->asCStr(), "bc");
}

TEST(KoParamString, MarksAreFilledInOrder) {
    KoParamString p;
    p.initialize("%s1 has %n2 rows (%s1), %sx10");
    p << "t1" << 5ul;
    EXPECT_EQ(std::string(p.asCStr()), "t1 has 5 rows (t1), %sx10");
    for (int i = 3; i <= 9; ++i) p << "-";
    p << "ten";
    EXPECT_EQ(std::string(p.asCStr()), "t1 has 5 rows (t1), ten");
    EXPECT_TRUE(p.isOk());
    char mark[16];
    p.resetParamCount();
    p.buildMatchString(mark, 'n');
    EXPECT_STREQ(mark, "%n1");

    KoParamString q;
    q.initialize("name=%s1");
    q.setQuotedParam("O'Neil", '\'');
    EXPECT_EQ(std::string(q.asCStr()), "name='O''Neil'");
}

TEST(KoStringScramble, RoundTripsAndKeepsLines) {
    for (unsigned short type = 1; type <= 3; ++type) {
        for (size_t n = 0; n <= 40; ++n) {
            std::string plain;
            for (size_t i = 0; i < n; ++i) plain += static_cast<char>('a' + (i * 7) % 26);
            if (n > 3) plain[n / 2] = '\n';
            for (const char* key : {static_cast<const char*>(nullptr), "secret"}) {
                KoString s;
                s.initialize(plain.data(), plain.size());
                s.encrypt(type, key);
                if (n > 1) EXPECT_NE(str(s), plain) << type << " " << n;
                if (type == 2 && n > 3) EXPECT_EQ(s.Buf[n / 2], '\n');
                s.decrypt(type, key);
                EXPECT_EQ(str(s), plain) << "type " << type << " length " << n;
            }
        }
    }
    // One byte: XOR with the first key byte only.
    KoString one;
    one.initialize("A");
    one.encrypt(3, "k");
    EXPECT_EQ(one.Buf[0], 'A' ^ 'k');
    // Other types leave the bytes alone.
    KoString same;
    same.initialize("text");
    same.encrypt(9);
    EXPECT_EQ(str(same), "text");
}

TEST(KoReplaceString, RewritesInOnePass) {
    KoString target;
    target.initialize("a-b-c");
    KoReplaceString r;
    r.initialize(&target);
    while (r.getLength()) {
        if (r[0] == '-') {
            r.discardBytes(1);
            ASSERT_EQ(r.addBytes(" -> ", 4), 0u); // longer than the gap: the target grows
        } else {
            r.replaceByte(static_cast<char>(r[0] - 32));
        }
    }
    KoSubString done;
    r.getInsertedSubString(&done);
    EXPECT_EQ(std::string(done.Buf, done.getLength()), "A -> B -> C");
}

// For n = 1, 2, ...: the n-th allocation fails. A failing run returns 1 and leaves the string
// as it was; no run leaks.
TEST(KoStringMemory, EveryGrowingOperationSurvivesFailure) {
    struct Op {
        const char* Name;
        const char* Start;
        std::function<unsigned(KoString&)> Run;
    } ops[] = {
        {"concat", "abc", [](KoString& s) { return s.concat("defghij"); }},
        {"number", "n=", [](KoString& s) { return s.concat(123456ul); }},
        {"changeBytes", "abc", [](KoString& s) { return s.changeBytes(1, 1, "XYZXYZ", 0); }},
        {"replace", "a.b.c.d", [](KoString& s) { return s.replaceSubString(".", "::"); }},
        {"addQuotes", "it's", [](KoString& s) { return s.addQuotes('\''); }},
        {"lineBreaks", "aaa bbb ccc ddd",
         [](KoString& s) { return s.insertLineBreaks(4, 0, 0, 0); }},
        {"forceEol", "x", [](KoString& s) { return s.forceEol(3); }},
    };
    for (const Op& op : ops) {
        long before = ramLiveBlocks();
        for (long n = 1;; ++n) {
            ASSERT_LT(n, 100) << op.Name;
            KoString s;
            ASSERT_EQ(s.initialize(op.Start), 0u);
            std::string old = str(s);
            ramFailAfter(n);
            unsigned failed = op.Run(s);
            ramFailAfter(0);
            if (!failed) break;
            // Replacements already made may stay; everything else keeps the old text.
            if (std::string(op.Name) != "replace") EXPECT_EQ(str(s), old) << op.Name << " " << n;
        }
        EXPECT_EQ(ramLiveBlocks(), before) << op.Name;
    }

    KoParamString p;
    p.initialize("value %s1 and %s2");
    ramFailAfter(1);
    p << "first";
    ramFailAfter(0);
    EXPECT_FALSE(p.isOk());
    p << "second"; // skipped after the failure
    EXPECT_EQ(std::string(p.asCStr()), "value %s1 and %s2");
}

// The byte size follows clearing and shortening, so the wide view's byte comparison in
// compareCi never reads past a trimmed buffer; appends leave it where it was.
TEST(KoSubStringView, ByteSizeFollowsClearingAndShortening) {
    KoString cleared, empty, cut, hello;
    ASSERT_EQ(cleared.initialize("HELLO WORLD"), 0u);
    ASSERT_EQ(empty.initialize(""), 0u);
    ASSERT_EQ(cut.initialize("Hello world"), 0u);
    ASSERT_EQ(hello.initialize("hello"), 0u);
    for (KoString* s : {&cleared, &empty, &cut, &hello}) s->setDataAsWcs();
    cleared.clear();
    ASSERT_EQ(cleared.trim(), 0u); // one byte of buffer left
    EXPECT_EQ(cleared.getByteSize(), 0u);
    EXPECT_EQ(cleared.compareCi(empty), 0);
    cut.truncateAt(5);
    ASSERT_EQ(cut.trim(), 0u);
    EXPECT_EQ(cut.getByteSize(), 5u);
    EXPECT_EQ(cut.compareCi(hello), 0);
    cut.removeLastChar();
    EXPECT_EQ(cut.getByteSize(), 4u);
    ASSERT_EQ(cut.concat("p!"), 0u);
    EXPECT_EQ(cut.getByteSize(), 4u);                            // appends do not keep it up
    ASSERT_EQ(cut.clearAndSet(KoSubString(cut.Buf + 1, 3)), 0u); // in place: "ell"
    EXPECT_STREQ(cut.asCStr(), "ell");
    EXPECT_EQ(cut.getByteSize(), 3u);
    ASSERT_EQ(cut.clearAndSet(KoSubString("other")), 0u); // cleared, then appended
    EXPECT_EQ(cut.getByteSize(), 0u);
}
