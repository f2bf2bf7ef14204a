// KoString appends beside std::string on the same data. KoString grows to the exact need on
// every append (a fixed policy); these figures document what that costs against the
// standard library's geometric growth.
#include <benchmark/benchmark.h>

#include <string>

#include "kolib/kostring.h"

namespace {
const char CHUNK[17] = "0123456789abcdef";

void KoStringBytes(benchmark::State& state) {
    const long total = state.range(0);
    for (auto _ : state) {
        KoString s;
        for (long i = 0; i < total; ++i) s.concat(static_cast<char>('a' + (i & 15)));
        benchmark::DoNotOptimize(s.Buf);
    }
    state.SetBytesProcessed(state.iterations() * total);
}

void StdStringBytes(benchmark::State& state) {
    const long total = state.range(0);
    for (auto _ : state) {
        std::string s;
        for (long i = 0; i < total; ++i) s.push_back(static_cast<char>('a' + (i & 15)));
        benchmark::DoNotOptimize(s.data());
    }
    state.SetBytesProcessed(state.iterations() * total);
}

void KoStringChunks(benchmark::State& state) {
    const long total = state.range(0);
    for (auto _ : state) {
        KoString s;
        for (long i = 0; i < total; i += 16) s.concat(CHUNK, 16);
        benchmark::DoNotOptimize(s.Buf);
    }
    state.SetBytesProcessed(state.iterations() * total);
}

void StdStringChunks(benchmark::State& state) {
    const long total = state.range(0);
    for (auto _ : state) {
        std::string s;
        for (long i = 0; i < total; i += 16) s.append(CHUNK, 16);
        benchmark::DoNotOptimize(s.data());
    }
    state.SetBytesProcessed(state.iterations() * total);
}
} // namespace

BENCHMARK(KoStringBytes)->Arg(1024)->Arg(65536);
BENCHMARK(StdStringBytes)->Arg(1024)->Arg(65536);
BENCHMARK(KoStringChunks)->Arg(1024)->Arg(65536);
BENCHMARK(StdStringChunks)->Arg(1024)->Arg(65536);

BENCHMARK_MAIN();
