// The grammar compiler: what compiles into what, every failure it reports through isOK
// (without leaking), FIRST sets, goal finding, and the guard against left recursion.
#include <gtest/gtest.h>

#include <set>

#include "grammar_support.h"
#include "kolib/testing.h"
#include "test_support.h"

namespace {

using kotest::pack;

const std::string KEYWORDS =
    pack({{"SELECT", 100}, {"WHERE", 101}, {"A", 102}, {"B", 103}, {"C", 104}, {"FROM", 105}});

struct Compiled {
    explicit Compiled(const std::string& packed)
        : Keywords(KEYWORDS.data()), Grammar(packed.data(), &Keywords) {}
    KoKeywordList Keywords;
    KoGrammar Grammar;
};

bool compiles(const std::vector<std::pair<std::string, short>>& productions) {
    long before = ramLiveBlocks();
    bool ok;
    {
        Compiled c(pack(productions));
        ok = c.Grammar.isOK();
    }
    EXPECT_EQ(before, ramLiveBlocks()) << productions.front().first;
    return ok;
}

std::set<short> firstOf(const KoProduction* p) {
    std::set<short> out;
    for (const KoTokenNode* n = p->getFirstList(); n; n = n->nextNode())
        out.insert(n->getTokenType());
    return out;
}

TEST(Grammar, CompilesTheNotationIntoElements) {
    Compiled c(pack({{"goal ::= SELECT { alphanum , }* alphanum [ WHERE cond ]", 1000},
                     {"cond ::= \\[ alphanum \\] | ~count ( ) | number literal-contents", 1001}}));
    ASSERT_TRUE(c.Grammar.isOK());
    KoProduction* goal = nullptr;
    ASSERT_EQ(0u, c.Grammar.getParseTable(&goal));
    EXPECT_STREQ("goal", goal->getName());
    EXPECT_EQ(1000, goal->getNumber());

    const KoBNFElement* e = goal->getCompiledProduction();
    EXPECT_EQ(100, e->getTokenType());
    EXPECT_STREQ("SELECT", e->getTokenString());
    e = e->getNextSequential();
    EXPECT_EQ(BRACKET_CURLY, e->getBracket());
    EXPECT_EQ(CLOSURE_KLEENE, e->getClosure());
    EXPECT_EQ(RED_IDENT, e->getContains()->getTokenType());
    EXPECT_EQ(nullptr, e->getContains()->getTokenString()); // the built-in class
    EXPECT_EQ(RED_COMMA, e->getContains()->getNextSequential()->getTokenType());
    e = e->getNextSequential()->getNextSequential();
    EXPECT_EQ(BRACKET_SQUARE, e->getBracket());
    EXPECT_EQ(101, e->getContains()->getTokenType());
    const KoBNFElement* ref = e->getContains()->getNextSequential();
    EXPECT_STREQ("cond", ref->getTokenString());
    EXPECT_EQ(goal->getNextProduction(), ref->getNonTerminal());
    EXPECT_EQ(nullptr, e->getNextSequential());

    // Escaped brackets are terminals; "~" makes a literal word; classes have no text.
    const KoBNFElement* alt = goal->getNextProduction()->getCompiledProduction();
    EXPECT_EQ(RED_OPEN_BRACKET, alt->getTokenType());
    EXPECT_EQ(RED_IDENT, alt->getNextSequential()->getTokenType());
    EXPECT_EQ(RED_CLOSE_BRACKET, alt->getNextSequential()->getNextSequential()->getTokenType());
    alt = alt->getNextAlternation();
    EXPECT_EQ(RED_IDENT, alt->getTokenType());
    EXPECT_TRUE(alt->getLiteral());
    EXPECT_STREQ("count", alt->getTokenString());
    EXPECT_EQ(nullptr, alt->getNonTerminal());
    alt = alt->getNextAlternation();
    EXPECT_EQ(RED_NUMBER, alt->getTokenType());
    EXPECT_EQ(RED_LITERAL_CONTENTS, alt->getNextSequential()->getTokenType());
    EXPECT_STREQ("goal", goal->numberToName(1000));
    EXPECT_STREQ("cond", goal->numberToName(1001));
    EXPECT_EQ(nullptr, goal->numberToName(1002));
}

TEST(Grammar, FailuresLeaveItNotOkWithoutLeaks) {
    kotest::PushedList errors;
    EXPECT_FALSE(compiles({{"goal ::= a", 1000}})); // unknown reference
    EXPECT_TRUE(compiles({{"goal ::= a", 1000}, {"a ::= alphanum", 1001}}));
    EXPECT_FALSE(compiles({{"Goal ::= x", 1000}}));   // capital in the name
    EXPECT_FALSE(compiles({{"goal2 ::= x", 1000}}));  // digit in the name
    EXPECT_FALSE(compiles({{"goal_x ::= x", 1000}})); // underscore in the name
    EXPECT_FALSE(compiles({{"goal = x", 1000}}));     // no "::="
    EXPECT_FALSE(compiles({{"goal :: x", 1000}}));
    EXPECT_TRUE(compiles({{"goal : : = SELECT", 1000}}));    // blanks between are allowed
    EXPECT_FALSE(compiles({{"goal ::= [ SELECT", 1000}}));   // unbalanced
    EXPECT_FALSE(compiles({{"goal ::= { SELECT ]", 1000}})); // mismatched
    EXPECT_FALSE(compiles({{"goal ::= SELECT ]", 1000}}));
    EXPECT_FALSE(compiles({{"goal ::= SELECT |", 1000}})); // empty alternative
    EXPECT_FALSE(compiles({{"goal ::= | SELECT", 1000}}));
    EXPECT_FALSE(compiles({{"goal ::=", 1000}}));
    EXPECT_FALSE(compiles({{"goal ::= [ ] SELECT", 1000}}));    // empty group
    EXPECT_FALSE(compiles({{"goal ::= SELECT Select", 1000}})); // neither keyword nor lower
    EXPECT_FALSE(compiles({{"start ::= SELECT", 1000}}));       // no goal
    long before = ramLiveBlocks();
    {
        KoKeywordList keywords(KEYWORDS.data());
        KoGrammar empty("", &keywords);
        EXPECT_FALSE(empty.isOK());
        KoGrammar none(static_cast<const char*>(nullptr), &keywords);
        EXPECT_FALSE(none.isOK());
    }
    EXPECT_EQ(before, ramLiveBlocks());
}

TEST(Grammar, NestingDeeperThanTheLimitFailsToCompile) {
    auto nested = [](int depth) {
        std::string text = "goal ::= ";
        for (int i = 0; i < depth; ++i) text += i % 2 ? "{ " : "[ ";
        text += "SELECT";
        for (int i = depth - 1; i >= 0; --i) text += i % 2 ? " }" : " ]";
        return text;
    };
    EXPECT_TRUE(compiles({{nested(KO_GRAMMAR_MAX_NESTING), 1000}}));
    EXPECT_FALSE(compiles({{nested(KO_GRAMMAR_MAX_NESTING + 1), 1000}}));
    EXPECT_FALSE(compiles({{nested(20000), 1000}})); // far past what the stack would hold
}

TEST(Grammar, LeftRecursionFailsInsteadOfHanging) {
    EXPECT_FALSE(compiles({{"goal ::= goal SELECT | SELECT", 1000}}));
    EXPECT_FALSE(compiles(
        {{"goal ::= expr", 1000}, {"expr ::= [ A ] term B", 1001}, {"term ::= expr C | C", 1002}}));
    // Recursion behind a first terminal is fine.
    EXPECT_TRUE(compiles({{"goal ::= ( goal ) | A", 1000}}));
}

TEST(Grammar, FirstSetsAndKeywordSpelling) {
    Compiled c(pack(
        {{"goal ::= x { B }*", 1000}, {"x ::= [ A ] B | C | { WHERE | SELECT }* FROM", 1001}}));
    ASSERT_TRUE(c.Grammar.isOK());
    const KoProduction* x = c.Grammar.getCompiledGrammar()->getNextProduction();
    EXPECT_EQ((std::set<short>{102, 103, 104, 101, 100, 105}), firstOf(x));
    EXPECT_EQ(firstOf(x), firstOf(c.Grammar.getCompiledGrammar()));
    // The keyword list is searched case-insensitively again once compiled...
    short number = 0;
    EXPECT_EQ(0u, c.Keywords.lookup("select", &number));
    // ...but grammar text must spell keywords as the list does: "Select" is no keyword.
    EXPECT_FALSE(compiles({{"goal ::= Select", 1000}}));

    KoTokenNode list(RED_IDENT, nullptr);
    EXPECT_EQ(0u, list.addToList(RED_IDENT, "other")); // same number: not added
    EXPECT_EQ(0u, list.addToList(RED_COMMA, ","));
    EXPECT_EQ(0u, list.addToList(RED_NUMBER, nullptr));
    KoTokenNode copy(&list);
    int count = 0;
    for (const KoTokenNode* n = &copy; n; n = n->nextNode()) ++count;
    EXPECT_EQ(3, count);
    EXPECT_EQ(RED_NUMBER, list.nextNode()->getTokenType()); // inserted behind the head
}

TEST(Grammar, GoalsAndRecompiling) {
    KoKeywordList keywords(KEYWORDS.data());
    std::string text = pack({{"start ::= SELECT", 1000}, {"other ::= FROM", 1001}});
    KoGrammar g(text.data(), &keywords);
    EXPECT_FALSE(g.isOK()); // no "goal"
    EXPECT_EQ(0u, g.changeGoal("other"));
    KoProduction* goal = nullptr;
    ASSERT_EQ(0u, g.getParseTable(&goal));
    EXPECT_EQ(1001, goal->getNumber());
    EXPECT_EQ(1u, g.changeGoal("missing"));
    EXPECT_EQ(1u, g.getParseTable(&goal));

    // A second compile keeps the first productions and appends: "start" now has two
    // definitions and references resolve to the first one.
    EXPECT_EQ(0u, g.changeGoal("start"));
    std::string more = pack({{"start ::= WHERE", 1002}});
    EXPECT_EQ(0u, g.compile(more.data()));
    int count = 0;
    for (KoProduction* p = g.getCompiledGrammar(); p; p = p->getNextProduction()) ++count;
    EXPECT_EQ(3, count);
    ASSERT_EQ(0u, g.getParseTable(&goal));
    EXPECT_EQ(1000, goal->getNumber());

    // The array form packs to the same text.
    resourceElement rows[] = {{"goal ::= SELECT x", 1000}, {"x ::= alphanum", 1001}};
    KoGrammar fromArray(rows, 2, &keywords);
    EXPECT_TRUE(fromArray.isOK());
}

TEST(Grammar, AllocationFailuresFailCleanly) {
    kotest::PushedList errors;
    std::string text = pack({{"goal ::= SELECT { x , }* [ WHERE ~count ] y", 1000},
                             {"x ::= alphanum | number | ( x )", 1001},
                             {"y ::= A | B [ C ]", 1002}});
    KoKeywordList keywords(KEYWORDS.data());
    long before = ramLiveBlocks();
    bool ok = false;
    for (long n = 1; !ok && n < 2000; ++n) {
        {
            ramFailAfter(n);
            KoGrammar g(text.data(), &keywords);
            ramFailAfter(0);
            ok = g.isOK();
        }
        EXPECT_EQ(before, ramLiveBlocks()) << n;
        errors.List.resetOutOfMemory();
    }
    EXPECT_TRUE(ok);
}

} // namespace
