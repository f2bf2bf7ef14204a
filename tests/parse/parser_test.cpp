// The parser's contract with its client, proven by a client that records every ReductProc
// and FailProc call: abandoned alternatives are never delivered, nested decisions settle and
// rewind, groups, null reductions, literal contents, and the failure report.
#include <gtest/gtest.h>

#include "grammar_support.h"
#include "kolib/testing.h"
#include "test_support.h"

namespace {

using kotest::pack;
using kotest::RecordingParser;
using kotest::tree;
using Calls = std::vector<std::string>;

const std::string KEYWORDS =
    pack({{"A", 100}, {"B", 101}, {"C", 102}, {"D", 103}, {"E", 104}, {"SELECT", 105}});

// Parses and returns the tree as text, or "FAIL".
std::string run(RecordingParser& p, const char* text) {
    p.Calls.clear();
    KoReduction* r = nullptr;
    if (p.parse(text, &r)) return "FAIL";
    std::string out = tree(r);
    delete r;
    return out;
}

TEST(Parser, AbandonedAlternativesAreNeverDelivered) {
    RecordingParser p(pack({{"goal ::= left | right", 1000},
                            {"left ::= A B C D ~p", 1001},
                            {"right ::= A B C D ~q", 1002}}),
                      KEYWORDS);
    ASSERT_TRUE(p.isOK());
    const KoStateTransition* t =
        p.ParsedGrammar->getCompiledGrammar()->getParseTop()->getTransitionList();
    ASSERT_NE(nullptr, t->getNextTransition());
    EXPECT_TRUE(t->Duplicate && t->getNextTransition()->Duplicate);

    EXPECT_EQ("1000[1002[a,b,C,d,Q]]", run(p, "a b C d Q"));
    EXPECT_EQ((Calls{"R1002(a,b,C,d,Q)", "R1000(<1002>)"}), p.Calls);
    EXPECT_EQ("1000[1001[A,B,C,D,p]]", run(p, "A B C D p"));
    EXPECT_EQ((Calls{"R1001(A,B,C,D,p)", "R1000(<1001>)"}), p.Calls);
    // A literal word needs the whole identifier.
    EXPECT_EQ("FAIL", run(p, "A B C D pq"));
}

TEST(Parser, NestedDecisionsSettleAndRewind) {
    RecordingParser p(pack({{"goal ::= pair | pair C", 1000},
                            {"pair ::= item item | item", 1001},
                            {"item ::= A B | A", 1002}}),
                      KEYWORDS);
    ASSERT_TRUE(p.isOK());
    EXPECT_EQ("1000[1001[1002[A],1002[A,B]],C]", run(p, "A A B C"));
    EXPECT_EQ((Calls{"R1002(A)", "R1002(A,B)", "R1001(<1002>,<1002>)", "R1000(<1001>,C)"}),
              p.Calls);
    EXPECT_EQ("1000[1001[1002[A,B]]]", run(p, "A B"));
    EXPECT_EQ((Calls{"R1002(A,B)", "R1001(<1002>)", "R1000(<1001>)"}), p.Calls);
    // A decision is settled when the production that holds it is reduced: once "item"
    // has taken "A B", the parser does not come back to try "A" alone.
    EXPECT_EQ("FAIL", run(p, "A B B"));
}

TEST(Parser, OptionalAndRepeatedGroups) {
    RecordingParser p(
        pack({{"goal ::= A [ B ] { C }* { D | E }+ [ x ]", 1000}, {"x ::= ~end", 1001}}), KEYWORDS);
    ASSERT_TRUE(p.isOK());
    EXPECT_EQ("1000[A,D]", run(p, "A D"));
    EXPECT_EQ("1000[A,B,C,C,D,E,D,1001[end]]", run(p, "A B C C D E D end"));
    EXPECT_EQ("FAIL", run(p, "A B C")); // "+" needs one pass
    EXPECT_EQ((Calls{"F1:@1000:goal"}), p.Calls);
    EXPECT_EQ((std::vector<short>{103, 104}), p.Expected);
    EXPECT_EQ("FAIL", run(p, "A B B D"));
    EXPECT_EQ((Calls{"F101:B@1000:goal"}), p.Calls);
}

TEST(Parser, NullReductionsLeaveNoNode) {
    RecordingParser p(pack({{"goal ::= A x B", 1000}, {"x ::= C | D", 1001}}), KEYWORDS);
    p.DropNumber = 1001;
    EXPECT_EQ("1000[A,B]", run(p, "A C B"));
    EXPECT_EQ((Calls{"R1001(C)", "R1000(A,<>)"}).size(), p.Calls.size());
    p.DropNumber = 1000;
    EXPECT_EQ("-", run(p, "A D B")); // success with a null result
    EXPECT_EQ((Calls{"R1001(D)", "R1000(A,<1001>,B)"}), p.Calls);
}

TEST(Parser, LiteralContentsInsideAndOutsideQuotes) {
    RecordingParser p(pack({{"goal ::= ' literal-contents ' [ \" literal-contents \" ]", 1000}}),
                      KEYWORDS);
    ASSERT_TRUE(p.isOK());
    EXPECT_EQ("1000[',it''s a SELECT,',\",,\"]", run(p, "'it''s a SELECT' \"\""));
    EXPECT_EQ("1000[',,']", run(p, "''"));
    // The quote characters must agree: a double-quoted literal is no single-quoted one.
    EXPECT_EQ("FAIL", run(p, "\"x\""));

    // Outside quotes the contents cannot be taken: failure without a report.
    RecordingParser outside(pack({{"goal ::= A literal-contents", 1000}}), KEYWORDS);
    ASSERT_TRUE(outside.isOK());
    EXPECT_EQ("FAIL", run(outside, "A B"));
    EXPECT_TRUE(outside.Calls.empty());
    // The quote-character class compiles but never matches.
    RecordingParser quote(pack({{"goal ::= literal-quote-char alphanum ' ", 1000}}), KEYWORDS);
    ASSERT_TRUE(quote.isOK());
    EXPECT_EQ("FAIL", run(quote, "'x'"));
}

TEST(Parser, FailuresAreReportedFromTheGoalUp) {
    RecordingParser p(pack({{"goal ::= SELECT list", 1000},
                            {"list ::= item { , item }*", 1001},
                            {"item ::= alphanum [ ( number ) ]", 1002}}),
                      KEYWORDS);
    ASSERT_TRUE(p.isOK());
    EXPECT_EQ("FAIL", run(p, "SELECT f, g(x)"));
    // Settled productions have been delivered before the failure shows.
    EXPECT_EQ((Calls{"R1002(f)", "F2:x@1000:goal", "F2:x@1001:list", "F2:x@1002:item"}), p.Calls);
    EXPECT_EQ((std::vector<short>{RED_NUMBER}), p.Expected);
    p.StopAfter = 2;
    p.Reported = 0;
    EXPECT_EQ("FAIL", run(p, "SELECT f, g(x)"));
    EXPECT_EQ(3u, p.Calls.size());
    // Input left after a complete goal: the goal and the terminal that was left.
    p.StopAfter = 0;
    EXPECT_EQ("FAIL", run(p, "SELECT f g"));
    EXPECT_EQ((Calls{"R1002(f)", "R1001(<1002>)", "F2:g@1000:goal"}), p.Calls);
    // Unknown symbols reach the report as terminal 0.
    EXPECT_EQ("FAIL", run(p, "SELECT \x7F"));
    EXPECT_EQ((Calls{"F0:\x7F@1000:goal"}), p.Calls);

    // The default FailProc and ReductProc, and a parser that is not OK.
    std::string g = pack({{"goal ::= SELECT alphanum", 1000}});
    KoParser plain(g.data(), KEYWORDS.data());
    KoReduction* r = nullptr;
    ASSERT_EQ(0u, plain.parse("select x", &r));
    EXPECT_EQ("1000[select,x]", tree(r));
    EXPECT_EQ(r, r->getFirstChild()->getParent());
    EXPECT_EQ(r, r->getFirstChild()->getNextSibling()->getGoal());
    delete r;
    EXPECT_EQ(1u, plain.parse("select", &r));
    std::string bad = pack({{"goal ::= missing", 1000}});
    KoParser broken(bad.data(), KEYWORDS.data());
    EXPECT_FALSE(broken.isOK());
    r = &*reinterpret_cast<KoReduction*>(&bad);
    EXPECT_EQ(1u, broken.parse("x", &r));
    EXPECT_EQ(nullptr, r);
}

TEST(Parser, SettingsAndArrayForm) {
    resourceElement grammar[] = {{"goal ::= alphanum [ ' alphanum ' ]", 1000}};
    resourceElement keywords[] = {{"SELECT", 100}};
    KoParser p(grammar, 1, keywords, 1);
    ASSERT_TRUE(p.isOK());
    KoReduction* r = nullptr;
    EXPECT_EQ(1u, p.parse("first-name", &r));
    ASSERT_EQ(0u, p.setValidMiddleChars("-"));
    ASSERT_EQ(0u, p.parse("first-name", &r));
    EXPECT_EQ("1000[first-name]", tree(r));
    delete r;
    p.setLiteralQuoteChars(0, 0, 0); // quotes become plain symbols
    ASSERT_EQ(0u, p.parse("a 'b'", &r));
    EXPECT_EQ("1000[a,',b,']", tree(r));
    delete r;
    EXPECT_EQ(1u, p.changeGoal("nothing"));
}

TEST(Parser, AllocationFailuresFailCleanly) {
    kotest::PushedList errors;
    RecordingParser p(pack({{"goal ::= pair | pair C", 1000},
                            {"pair ::= item item | item", 1001},
                            {"item ::= A B | A | ' literal-contents '", 1002}}),
                      KEYWORDS);
    ASSERT_TRUE(p.isOK());
    long before = ramLiveBlocks();
    bool ok = false;
    for (long n = 1; !ok && n < 5000; ++n) {
        KoReduction* r = nullptr;
        ramFailAfter(n);
        ok = p.parse("A 'x y' C", &r) == 0;
        ramFailAfter(0);
        delete r;
        EXPECT_EQ(before, ramLiveBlocks()) << n;
        errors.List.resetOutOfMemory();
    }
    EXPECT_TRUE(ok);
}

} // namespace
