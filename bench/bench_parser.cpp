// The grammar-driven parser over the bundled SQL example: statements per second over the
// corpus, one statement whose nested parentheses force deep backtracking (depth 128 is a
// 283-byte statement a fuzzer found), and the memory a parse takes (allocations per parse,
// and blocks still held after 100,000 parses). Compare bytes_per_second across depths: the
// time per byte should stay roughly flat.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "../tests/parse/grammar_support.h"
#include "kolib/testing.h"

namespace {

const std::string DIR =
    std::string(__FILE__).substr(0, std::string(__FILE__).rfind('/')) + "/../examples";

KoParser& sqlParser() {
    static std::string grammar = kotest::loadTable(DIR + "/sql_grammar.txt", true);
    static std::string keywords = kotest::loadTable(DIR + "/sql_keywords.txt", false);
    static KoParser parser(grammar.data(), keywords.data());
    return parser;
}

const std::vector<std::string>& corpus() {
    static std::vector<std::string> lines = kotest::loadLines(DIR + "/sql_corpus.txt");
    return lines;
}

void parseOnce(KoParser& p, const std::string& text, benchmark::State& state) {
    KoReduction* r = nullptr;
    if (p.parse(text.c_str(), &r)) state.SkipWithError(("no parse: " + text).c_str());
    delete r;
}

void BM_SqlCorpus(benchmark::State& state) {
    KoParser& p = sqlParser();
    long allocations = 0;
    for (auto _ : state) {
        long before = ramAllocationCount();
        for (const std::string& s : corpus()) parseOnce(p, s, state);
        allocations += ramAllocationCount() - before;
    }
    long parses = static_cast<long>(state.iterations() * corpus().size());
    state.SetItemsProcessed(parses);
    state.counters["allocs/parse"] = static_cast<double>(allocations) / parses;
}
BENCHMARK(BM_SqlCorpus);

void BM_DeepBacktracking(benchmark::State& state) {
    KoParser& p = sqlParser();
    int depth = static_cast<int>(state.range(0));
    std::string text =
        "SELECT a FROM t WHERE " + std::string(depth, '(') + "a = 1" + std::string(depth, ')');
    for (auto _ : state) parseOnce(p, text, state);
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_DeepBacktracking)->Arg(4)->Arg(8)->Arg(16)->Arg(32)->Arg(128);

// 100,000 parses of corpus statements; the counter shows the blocks held afterwards.
void BM_NoLeakAcross100k(benchmark::State& state) {
    KoParser& p = sqlParser();
    long held = 0;
    for (auto _ : state) {
        long before = ramLiveBlocks();
        for (int i = 0; i < 100000; ++i) parseOnce(p, corpus()[i % corpus().size()], state);
        held = ramLiveBlocks() - before;
    }
    state.SetItemsProcessed(state.iterations() * 100000);
    state.counters["blocks_held"] = static_cast<double>(held);
}
BENCHMARK(BM_NoLeakAcross100k)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
