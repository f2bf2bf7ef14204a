// strLike beside SQLite's sqlite3_strlike on the same texts and patterns, in the same run.
// sqlite3_strlike is case-insensitive with an escape character and takes NUL-terminated
// texts, so strLike runs in its NUL-terminated form, case-insensitive, with exact lengths
// (no trailing-blank trimming, which SQLite does not do). Each case checks once that both
// agree on the result before timing.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <string>
#include <vector>

#include "kolib/strlike.h"

namespace {

struct Case {
    const char* Name;
    std::string Text;
    std::string Pattern;
};

std::string repeat(const std::string& unit, size_t n) {
    std::string s;
    for (size_t i = 0; i < n; ++i) s += unit;
    return s;
}

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"prefix", "ABCdefghijklmnopqrstuvwxyz0123456789", "abc%"},
        {"suffix", repeat("q", 61) + "xyz", "%XYZ"},
        {"infix", repeat("lorem ipsum ", 4) + "mid" + repeat(" dolor sit", 5), "%mid%"},
        {"one_char", "555-12-3456", "___-__-____"},
        {"mixed", "customer_name_2024", "CUST%\\_NAME\\_____"},
        {"backtrack_miss", repeat("ab", 500), "%a%b%c%"},
        {"backtrack_hit", repeat("ab", 500) + "c", "%a%b%c%"},
        {"case_miss", "HELLO big world out there", "hello%WORLDS"},
    };
    return all;
}

void BM_strLike(benchmark::State& state) {
    const Case& c = cases()[state.range(0)];
    state.SetLabel(c.Name);
    for (auto _ : state) {
        int r = strLike(c.Text.c_str(), c.Pattern.c_str(), '%', '_', '\\', 0, 1);
        benchmark::DoNotOptimize(r);
    }
}

void BM_sqlite3_strlike(benchmark::State& state) {
    const Case& c = cases()[state.range(0)];
    state.SetLabel(c.Name);
    for (auto _ : state) {
        int r = sqlite3_strlike(c.Pattern.c_str(), c.Text.c_str(), '\\');
        benchmark::DoNotOptimize(r);
    }
}

void allCases(benchmark::internal::Benchmark* b) {
    for (size_t i = 0; i < cases().size(); ++i) b->Arg(static_cast<long>(i));
}

BENCHMARK(BM_strLike)->Apply(allCases);
BENCHMARK(BM_sqlite3_strlike)->Apply(allCases);

} // namespace

int main(int argc, char** argv) {
    for (const Case& c : cases()) {
        int ours = strLike(c.Text.c_str(), c.Pattern.c_str(), '%', '_', '\\', 0, 1);
        int theirs = sqlite3_strlike(c.Pattern.c_str(), c.Text.c_str(), '\\') == 0;
        if (ours != theirs) {
            std::fprintf(stderr, "case %s: strLike says %d, sqlite3_strlike %d\n", c.Name, ours,
                         theirs);
            return 1;
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
