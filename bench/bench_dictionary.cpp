// KoDictionary look-ups beside std::unordered_map on the same keys, in the same run: integer
// keys and text keys, hits and misses, at several table sizes (tables are 16-bit, so 60,000 is
// near the top). Text keys hash on their first five characters only; the "prefixed" key set
// (KEY000000, KEY000001, ...) shows the cost when every key shares that prefix, the "names"
// set shows identifier-like keys of varied spelling.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>
#include "kolib/dictionary.h"
#include "kolib/substring.h"

namespace {

const size_t Lookups = 1024; // keys visited round-robin by every benchmark

// Sizes the table for n keys: above 49,151 keys the default fill limit of 75 % would need more
// than the 65,535 slots a table may have.
void prepare(KoDictionary& dict, int n) {
    if (n > 49000) dict.setPercentFull(92);
    dict.initialize(static_cast<unsigned short>(n));
}

// Hit probes are a random sample of all keys, so early and late insertions weigh alike.
template <typename T> std::vector<T> sample(const std::vector<T>& keys, std::mt19937& gen) {
    std::vector<T> out;
    std::uniform_int_distribution<size_t> pick(0, keys.size() - 1);
    for (size_t i = 0; i < Lookups; ++i) out.push_back(keys[pick(gen)]);
    return out;
}

// Integer keys: random 32-bit values; the misses are drawn apart from them. Built once per size.
struct IntSetup {
    std::vector<unsigned long> Hits, Misses;
    KoDictionary Dict;
    std::unordered_map<unsigned long, unsigned long> Map;

    explicit IntSetup(int n) {
        std::mt19937 gen(42);
        std::vector<unsigned long> present;
        std::unordered_map<unsigned long, int> seen;
        while (static_cast<int>(present.size()) < n) {
            unsigned long key = gen();
            if (seen.emplace(key, 0).second) present.push_back(key);
        }
        while (Misses.size() < Lookups) {
            unsigned long key = gen();
            if (seen.emplace(key, 0).second) Misses.push_back(key);
        }
        Hits = sample(present, gen);
        prepare(Dict, n);
        Map.reserve(n);
        for (unsigned long key : present) {
            Dict.addAssoc(key, key + 1);
            Map.emplace(key, key + 1);
        }
    }
    static IntSetup& get(int n) {
        static std::map<int, std::unique_ptr<IntSetup>> cache;
        auto& slot = cache[n];
        if (!slot) slot.reset(new IntSetup(n));
        return *slot;
    }
};

std::string identifier(std::mt19937& gen) {
    static const char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";
    std::uniform_int_distribution<int> length(4, 16), letter(0, 51), any(0, 62);
    std::string text(1, letters[letter(gen)]);
    for (int i = length(gen); i > 1; --i) text += letters[any(gen)];
    return text;
}

// Text keys: identifier-like names, or KEY000000, KEY000001, ... Built once per size and set.
struct TextSetup {
    std::vector<std::string> Present, Hits, Misses;
    std::vector<KoSubString> PresentViews, HitViews, MissViews;
    KoDictionary Dict;
    std::unordered_map<std::string, void*> Map;

    TextSetup(int n, bool prefixed) {
        std::mt19937 gen(7);
        std::unordered_map<std::string, int> seen;
        auto make = [&](int i) {
            return prefixed ? "KEY" + std::to_string(1000000 + i).substr(1) : identifier(gen);
        };
        for (int i = 0; static_cast<int>(Present.size()) < n; ++i) {
            std::string key = make(i);
            if (seen.emplace(key, 0).second) Present.push_back(key);
        }
        for (int i = n; Misses.size() < Lookups; ++i) {
            std::string key = make(i);
            if (seen.emplace(key, 0).second) Misses.push_back(key);
        }
        Hits = sample(Present, gen);
        for (auto& s : Present) PresentViews.emplace_back(s.data(), s.size());
        for (auto& s : Hits) HitViews.emplace_back(s.data(), s.size());
        for (auto& s : Misses) MissViews.emplace_back(s.data(), s.size());
        prepare(Dict, n);
        Map.reserve(n);
        for (size_t i = 0; i < Present.size(); ++i) {
            Dict.addAssoc(&PresentViews[i], nullptr);
            Map.emplace(Present[i], nullptr);
        }
    }
    static TextSetup& get(int n, bool prefixed) {
        static std::map<std::pair<int, bool>, std::unique_ptr<TextSetup>> cache;
        auto& slot = cache[{n, prefixed}];
        if (!slot) slot.reset(new TextSetup(n, prefixed));
        return *slot;
    }
};

void BM_KoDictInt(benchmark::State& state) {
    IntSetup& setup = IntSetup::get(static_cast<int>(state.range(0)));
    const std::vector<unsigned long>& probe = state.range(1) ? setup.Hits : setup.Misses;
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(setup.Dict.getIntForKey(probe[i]));
        if (++i == Lookups) i = 0;
    }
}

void BM_StdMapInt(benchmark::State& state) {
    IntSetup& setup = IntSetup::get(static_cast<int>(state.range(0)));
    const std::vector<unsigned long>& probe = state.range(1) ? setup.Hits : setup.Misses;
    size_t i = 0;
    for (auto _ : state) {
        auto found = setup.Map.find(probe[i]);
        benchmark::DoNotOptimize(found == setup.Map.end() ? 0 : found->second);
        if (++i == Lookups) i = 0;
    }
}

void BM_KoDictText(benchmark::State& state) {
    TextSetup& setup = TextSetup::get(static_cast<int>(state.range(0)), state.range(2) != 0);
    const std::vector<KoSubString>& probe = state.range(1) ? setup.HitViews : setup.MissViews;
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(setup.Dict.doesExist(&probe[i]));
        if (++i == Lookups) i = 0;
    }
}

void BM_StdMapText(benchmark::State& state) {
    TextSetup& setup = TextSetup::get(static_cast<int>(state.range(0)), state.range(2) != 0);
    const std::vector<std::string>& probe = state.range(1) ? setup.Hits : setup.Misses;
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(setup.Map.find(probe[i]) != setup.Map.end());
        if (++i == Lookups) i = 0;
    }
}

void intArgs(benchmark::internal::Benchmark* b) {
    b->ArgNames({"size", "hit"});
    for (int n : {100, 10000, 60000})
        for (int hit : {1, 0}) b->Args({n, hit});
}

void textArgs(benchmark::internal::Benchmark* b) {
    b->ArgNames({"size", "hit", "prefixed"});
    for (int prefixed : {0, 1})
        for (int n : {100, 1000, 10000, 60000})
            for (int hit : {1, 0}) b->Args({n, hit, prefixed});
}

} // namespace

BENCHMARK(BM_KoDictInt)->Apply(intArgs);
BENCHMARK(BM_StdMapInt)->Apply(intArgs);
BENCHMARK(BM_KoDictText)->Apply(textArgs);
BENCHMARK(BM_StdMapText)->Apply(textArgs);

BENCHMARK_MAIN();
