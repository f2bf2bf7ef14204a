// Attribute strings per second: parsing a typical connection string, fetching its values
// and rebuilding it.
#include <benchmark/benchmark.h>

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

BENCHMARK(BM_parse)->DenseRange(0, 1);
BENCHMARK(BM_parseAndRebuild)->DenseRange(0, 1);

} // namespace

BENCHMARK_MAIN();
