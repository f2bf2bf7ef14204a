// Attribute strings per second: parsing a typical connection string, fetching its values
// and rebuilding it; and parsing strings of 10, 1,000 and 100,000 distinct pairs (items are
// pairs, so the time per item shows whether the cost stays linear), beside a peer written
// with the standard library (split at ";" and "=", keys folded into an unordered_map beside a
// vector that keeps the order) in the same run.
#include <benchmark/benchmark.h>

#include <cctype>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kolib/errors.h"
#include "kolib/value_parser.h"

namespace {

const char* const STRINGS[] = {
    "DSN=sales;UID=ann;PWD=s3cr3t",
    "ODBC;DRIVER={Ko Driver 2.0};Data Source=/srv/db/sales;UID=ann;PWD='se;cret';"
    "Port=5432;Connect Timeout=30;Application Name=reports;ReadOnly=1"};

void BM_parse(benchmark::State& state) {
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    const char* text = STRINGS[state.range(0)];
    for (auto _ : state) {
        KoValueParser parser(text, ';');
        unsigned failed = parser.initialize();
        KoSubString* dsn = parser.getAttributeValue("UID");
        benchmark::DoNotOptimize(failed);
        benchmark::DoNotOptimize(dsn);
    }
    state.SetItemsProcessed(state.iterations());
    list.popOffErrorKeeper();
}

void BM_parseAndRebuild(benchmark::State& state) {
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    const char* text = STRINGS[state.range(0)];
    for (auto _ : state) {
        KoValueParser parser(text, ';');
        KoString built;
        unsigned failed = parser.initialize() | parser.buildString(&built);
        benchmark::DoNotOptimize(failed);
        benchmark::DoNotOptimize(built.Buf);
    }
    state.SetItemsProcessed(state.iterations());
    list.popOffErrorKeeper();
}

std::string manyPairs(long n) {
    std::string text;
    for (long i = 0; i < n; ++i)
        text += "Key" + std::to_string(i) + "=value" + std::to_string(i) + ";";
    return text;
}

void BM_parsePairs(benchmark::State& state) {
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    std::string text = manyPairs(state.range(0));
    for (auto _ : state) {
        KoValueParser parser(KoSubString(text.data(), text.size()), ';');
        unsigned failed = parser.initialize();
        benchmark::DoNotOptimize(failed);
        benchmark::DoNotOptimize(parser.getAttributeValue("Key0"));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    list.popOffErrorKeeper();
}

void BM_peerPairs(benchmark::State& state) {
    std::string text = manyPairs(state.range(0));
    for (auto _ : state) {
        std::vector<std::pair<std::string, std::string>> order;
        std::unordered_map<std::string, size_t> index;
        size_t at = 0;
        while (at < text.size()) {
            size_t end = text.find(';', at);
            if (end == std::string::npos) end = text.size();
            size_t eq = text.find('=', at);
            if (eq < end) {
                std::string key = text.substr(at, eq - at), folded = key;
                for (char& c : folded)
                    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
                if (index.emplace(folded, order.size()).second)
                    order.emplace_back(std::move(key), text.substr(eq + 1, end - eq - 1));
            }
            at = end + 1;
        }
        benchmark::DoNotOptimize(index.find("KEY0"));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(BM_parse)->DenseRange(0, 1);
BENCHMARK(BM_parsePairs)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_peerPairs)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_parseAndRebuild)->DenseRange(0, 1);

} // namespace

BENCHMARK_MAIN();
