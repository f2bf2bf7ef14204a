// The bundled SQL grammar: the whole corpus parses, near-misses fail with the report a
// client would word, and hostile input (1 MB, deep nesting, nothing but keywords) ends with
// a result.
#include <gtest/gtest.h>

#include "grammar_support.h"
#include "kolib/testing.h"
#include "test_support.h"

namespace {

using kotest::loadTable;

const std::string DIR = KOTEST_EXAMPLES;

class SqlParser : public kotest::RecordingParser {
public:
    SqlParser()
        : RecordingParser(loadTable(DIR + "/sql_grammar.txt", true),
                          loadTable(DIR + "/sql_keywords.txt", false)) {}
};

// Counts reductions and keeps no tree: for inputs whose tree would be needlessly large.
class CountingParser : public KoParser {
public:
    CountingParser(const std::string& g, const std::string& k) : KoParser(g.data(), k.data()) {}
    KoReduction* ReductProc(short, KoReduction* first) override {
        ++Reductions;
        KoReduction::deleteSiblings(first);
        return nullptr;
    }
    long Reductions = 0;
};

TEST(SqlGrammar, TheCorpusParses) {
    SqlParser p;
    ASSERT_TRUE(p.isOK());
    std::vector<std::string> corpus = kotest::loadLines(DIR + "/sql_corpus.txt");
    EXPECT_GE(corpus.size(), 50u);
    for (const std::string& statement : corpus) {
        p.Calls.clear();
        KoReduction* r = nullptr;
        EXPECT_EQ(0u, p.parse(statement.c_str(), &r)) << statement;
        ASSERT_NE(nullptr, r) << statement;
        EXPECT_EQ(1000, r->reductNumber());
        // The goal is delivered once, last, over the one statement.
        EXPECT_EQ(0u, p.Calls.empty() ? 1 : p.Calls.back().rfind("R1000(<1001>", 0));
        delete r;
    }
}

TEST(SqlGrammar, NearMissesReportWhereTheyFail) {
    struct Case {
        const char* Text;
        const char* Terminal;  // text of the terminal reported
        const char* Innermost; // the last production reported
    };
    const Case cases[] = {
        {"SELECT FROM t", "FROM", "query-spec"},
        {"SELECT a, FROM t", "FROM", "select-list"},
        {"SELECT a FROM t WHERE", "", "where-clause"},
        {"SELECT a FROM t WHERE a = 1 AND", "", "bool-term"},
        {"SELECT a FROM t ORDER name", "name", "order-clause"},
        {"SELECT a FROM t WHERE a BETWEEN 1", "", "pred-tail"},
        {"SELECT a FROM t WHERE a IS NOT 5", "5", "pred-tail"},
        {"SELECT a FROM t alias junk", "junk", "goal"},
        {"INSERT customers VALUES (1)", "customers", "insert-stmt"},
        {"UPDATE t SET WHERE a = 1", "WHERE", "update-stmt"},
        {"DELETE t", "t", "delete-stmt"},
        {"CREATE TABLE t (id)", ")", "column-def"},
        {"DROP TABLE t", "DROP", "goal"},
    };
    SqlParser p;
    for (const Case& c : cases) {
        p.Calls.clear();
        KoReduction* r = nullptr;
        ASSERT_EQ(1u, p.parse(c.Text, &r)) << c.Text;
        std::vector<std::string> reports;
        for (const std::string& call : p.Calls)
            if (call[0] == 'F') reports.push_back(call);
        ASSERT_FALSE(reports.empty()) << c.Text;
        EXPECT_NE(std::string::npos,
                  reports.front().find(":" + std::string(c.Terminal) + "@1000:goal"))
            << c.Text << ": " << reports.front();
        std::string last = reports.back();
        EXPECT_EQ(c.Innermost, last.substr(last.rfind(':') + 1)) << c.Text;
    }
}

TEST(SqlGrammar, HostileInputEndsWithAResult) {
    std::string g = loadTable(DIR + "/sql_grammar.txt", true);
    std::string k = loadTable(DIR + "/sql_keywords.txt", false);
    CountingParser p(g, k);
    ASSERT_TRUE(p.isOK());
    KoReduction* r = nullptr;

    std::string big = "SELECT a FROM t WHERE a = 1";
    while (big.size() < (1u << 20)) big += " OR t.a = 'x' AND b <> 2";
    EXPECT_EQ(0u, p.parse(big.c_str(), &r));
    EXPECT_GT(p.Reductions, 100000);
    EXPECT_EQ(1u, p.parse((big + " OR").c_str(), &r));

    std::string nested =
        "SELECT a FROM t WHERE " + std::string(60, '(') + "a = 1" + std::string(60, ')');
    EXPECT_EQ(0u, p.parse(nested.c_str(), &r));
    EXPECT_EQ(1u, p.parse(nested.substr(0, nested.size() - 1).c_str(), &r));

    std::string keywords;
    while (keywords.size() < (1u << 20)) keywords += "SELECT FROM WHERE GROUP BY ORDER ";
    EXPECT_EQ(1u, p.parse(keywords.c_str(), &r));

    // Nesting far deeper than any call stack would allow: the parser, the tree and the
    // failure report all work without recursion.
    KoParser deep(kotest::pack({{"goal ::= ( goal ) | alphanum", 1000}}).data(), k.data());
    ASSERT_TRUE(deep.isOK());
    std::string parens = std::string(200000, '(') + "x" + std::string(200000, ')');
    ASSERT_EQ(0u, deep.parse(parens.c_str(), &r));
    delete r;
    EXPECT_EQ(1u, deep.parse(parens.substr(0, parens.size() - 1).c_str(), &r));
}

// A deep search (many remembered decisions, reused stack nodes and decisions) running out of
// memory at every allocation in turn fails cleanly.
TEST(SqlGrammar, AllocationFailuresInADeepSearchFailCleanly) {
    kotest::PushedList errors;
    SqlParser p;
    std::string text = "SELECT a FROM t WHERE " + std::string(12, '(') + "a = 'x' OR b IN (1, 2)" +
                       std::string(12, ')');
    long before = ramLiveBlocks();
    bool ok = false;
    for (long n = 1; !ok && n < 20000; ++n) {
        KoReduction* r = nullptr;
        ramFailAfter(n);
        ok = p.parse(text.c_str(), &r) == 0;
        ramFailAfter(0);
        delete r;
        ASSERT_EQ(before, ramLiveBlocks()) << n;
        errors.List.resetOutOfMemory();
    }
    EXPECT_TRUE(ok);
}

TEST(SqlGrammar, RepeatedParsesHoldNoMemory) {
    SqlParser p;
    std::vector<std::string> corpus = kotest::loadLines(DIR + "/sql_corpus.txt");
    long before = ramLiveBlocks();
    for (int round = 0; round < 20; ++round)
        for (const std::string& statement : corpus) {
            KoReduction* r = nullptr;
            p.parse(statement.c_str(), &r);
            delete r;
            p.parse((statement + " )").c_str(), &r);
        }
    EXPECT_EQ(before, ramLiveBlocks());
}

} // namespace
