// What a client of the SQL example sees, call by call, compared with a recorded trace: every
// ReductProc and FailProc call (with the expected terminals) and the final tree, over the
// corpus, every word-boundary prefix of it, trailing junk and nested parentheses. The file
// keeps one hash of that text per input; any change to how the parser searches must leave
// every hash as it is.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "grammar_support.h"

namespace {

const std::string DIR = KOTEST_EXAMPLES;
const std::string TRACE =
    std::string(__FILE__).substr(0, std::string(__FILE__).rfind('/')) + "/sql_parse_trace.txt";

std::vector<std::string> inputs() {
    std::vector<std::string> out;
    for (const std::string& s : kotest::loadLines(DIR + "/sql_corpus.txt")) {
        out.push_back(s);
        for (std::size_t at = s.find(' '); at != std::string::npos; at = s.find(' ', at + 1))
            out.push_back(s.substr(0, at));
        out.push_back(s + " )");
        out.push_back(s + " junk");
    }
    for (const char* text :
         {"SELECT a FROM t WHERE (name = 'x''y') OR (\"c d\" LIKE ('a' || 'b'))",
          "SELECT a FROM t WHERE (('(' = a) AND (\"(\" <> ')'))",
          "SELECT a FROM t WHERE ((a = 'x) OR (b = 1))", "SELECT (((a))) FROM t WHERE ((b(+)))",
          "SELECT a FROM t WHERE ((a <> 1) AND (b >= 2)) OR ((c != 3))"})
        out.push_back(text);
    for (int depth : {1, 2, 3, 4, 5, 6, 11, 20}) {
        std::string open(depth, '('), close(depth, ')');
        out.push_back("SELECT a FROM t WHERE " + open + "a = 1" + close);
        out.push_back("SELECT a FROM t WHERE " + open + "a = 1" + close.substr(1));
        out.push_back("SELECT a FROM t WHERE " + open + "a" + close + " = 1");
        out.push_back("SELECT " + open + "a + 1" + close + " FROM t");
        out.push_back("SELECT a FROM t WHERE x IN " + open + "SELECT b FROM u" + close);
        out.push_back("SELECT a FROM t WHERE " + open + "a = 1) AND (b = 2" + close);
    }
    return out;
}

// Everything the client saw while parsing text, as lines.
std::string trace(kotest::RecordingParser& p, const std::string& text) {
    p.Calls.clear();
    KoReduction* r = nullptr;
    unsigned failed = p.parse(text.c_str(), &r);
    std::string out;
    for (const std::string& call : p.Calls) out += call + "\n";
    if (!p.Calls.empty() && p.Calls.back()[0] == 'F') {
        out += "expected";
        for (short t : p.Expected) out += " " + std::to_string(t);
        out += "\n";
    }
    out += failed ? "= FAIL\n" : "= " + kotest::tree(r) + "\n";
    delete r;
    return out;
}

std::string fnv(const std::string& s) {
    unsigned long long h = 1469598103934665603ull;
    for (unsigned char c : s) h = (h ^ c) * 1099511628211ull;
    char buf[17];
    std::snprintf(buf, sizeof buf, "%016llx", h);
    return buf;
}

TEST(ParseTrace, ClientSeesTheRecordedCalls) {
    kotest::RecordingParser p(kotest::loadTable(DIR + "/sql_grammar.txt", true),
                              kotest::loadTable(DIR + "/sql_keywords.txt", false));
    std::string now;
    for (const std::string& text : inputs()) now += fnv(trace(p, text)) + " " + text + "\n";
    // KOTEST_RECORD_TRACE=1 writes the file instead (after a deliberate grammar change).
    if (std::getenv("KOTEST_RECORD_TRACE")) {
        std::ofstream(TRACE) << now;
        GTEST_SKIP() << "recorded " << TRACE;
    }
    std::ifstream in(TRACE);
    ASSERT_TRUE(in) << TRACE;
    std::istringstream got(now);
    std::string w, g;
    while (std::getline(in, w)) {
        ASSERT_TRUE(std::getline(got, g)) << "fewer inputs than recorded";
        std::string text = w.substr(17);
        ASSERT_EQ(text, g.substr(17));
        EXPECT_EQ(w.substr(0, 16), g.substr(0, 16)) << text << "\n" << trace(p, text);
    }
    EXPECT_FALSE(std::getline(got, g)) << "more inputs than recorded: " << g;
}

} // namespace
