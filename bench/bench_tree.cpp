// KoTree beside std::map and an SQLite in-memory table with a primary-key index, on the same
// random keys of 8 and 32 bytes: building with N keys, and look-ups of existing keys in a
// structure of N keys. The tree's node store keeps 32 KB in memory, so from about 2,000 keys
// on it spills to its temporary file (in KO_TMPDIR when set).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <sqlite3.h>
#include <string>
#include <vector>
#include "kolib/tree.h"

namespace {

const std::vector<std::string>& keys(long count, int length) {
    static std::map<std::pair<long, int>, std::vector<std::string>> made;
    std::vector<std::string>& out = made[{count, length}];
    if (out.empty()) {
        std::mt19937_64 random(static_cast<uint64_t>(count * 100 + length));
        out.reserve(static_cast<std::size_t>(count));
        for (long i = 0; i < count; ++i) {
            std::string key(static_cast<std::size_t>(length), '\0');
            for (char& byte : key) byte = static_cast<char>(random());
            std::memcpy(&key[0], &i, sizeof i < key.size() ? sizeof i : key.size()); // distinct
            out.push_back(key);
        }
    }
    return out;
}

std::unique_ptr<KoTree> buildTree(const std::vector<std::string>& k, int length) {
    std::unique_ptr<KoTree> tree(new KoTree(static_cast<uint16_t>(length), 8, nullptr, 0, 0));
    for (std::size_t i = 0; i < k.size(); ++i) tree->add(k[i].data(), &i);
    return tree;
}

struct Sqlite {
    sqlite3* Db = nullptr;
    sqlite3_stmt* Insert = nullptr;
    sqlite3_stmt* Select = nullptr;
    Sqlite() {
        sqlite3_open(":memory:", &Db);
        sqlite3_exec(Db, "CREATE TABLE t(k BLOB PRIMARY KEY, v INTEGER) WITHOUT ROWID", nullptr,
                     nullptr, nullptr);
        sqlite3_prepare_v2(Db, "INSERT INTO t VALUES(?, ?)", -1, &Insert, nullptr);
        sqlite3_prepare_v2(Db, "SELECT v FROM t WHERE k = ?", -1, &Select, nullptr);
    }
    ~Sqlite() {
        sqlite3_finalize(Insert);
        sqlite3_finalize(Select);
        sqlite3_close(Db);
    }
    void fill(const std::vector<std::string>& k) {
        sqlite3_exec(Db, "BEGIN", nullptr, nullptr, nullptr);
        for (std::size_t i = 0; i < k.size(); ++i) {
            sqlite3_bind_blob(Insert, 1, k[i].data(), static_cast<int>(k[i].size()), SQLITE_STATIC);
            sqlite3_bind_int64(Insert, 2, static_cast<sqlite3_int64>(i));
            sqlite3_step(Insert);
            sqlite3_reset(Insert);
        }
        sqlite3_exec(Db, "COMMIT", nullptr, nullptr, nullptr);
    }
    int64_t find(const std::string& key) {
        sqlite3_bind_blob(Select, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
        int64_t value = sqlite3_step(Select) == SQLITE_ROW ? sqlite3_column_int64(Select, 0) : -1;
        sqlite3_reset(Select);
        return value;
    }
};

void args(benchmark::internal::Benchmark* b) {
    for (long n : {10000L, 100000L, 1000000L})
        for (int length : {8, 32})
            if (n < 1000000 || length == 8) b->Args({n, length});
}

void BM_TreeInsert(benchmark::State& state) {
    const auto& k = keys(state.range(0), static_cast<int>(state.range(1)));
    for (auto _ : state) benchmark::DoNotOptimize(buildTree(k, static_cast<int>(state.range(1))));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_TreeInsert)->Apply(args)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_MapInsert(benchmark::State& state) {
    const auto& k = keys(state.range(0), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        std::map<std::string, uint64_t> map;
        for (std::size_t i = 0; i < k.size(); ++i) map.emplace(k[i], i);
        benchmark::DoNotOptimize(map);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_MapInsert)->Apply(args)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_SqliteInsert(benchmark::State& state) {
    const auto& k = keys(state.range(0), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        Sqlite db;
        db.fill(k);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SqliteInsert)->Apply(args)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_TreeLookup(benchmark::State& state) {
    const auto& k = keys(state.range(0), static_cast<int>(state.range(1)));
    std::unique_ptr<KoTree> tree = buildTree(k, static_cast<int>(state.range(1)));
    std::mt19937 random(1);
    uint64_t value = 0;
    unsigned found = 0;
    for (auto _ : state) {
        std::size_t i = random() % k.size();
        tree->getData(k[i].data(), &value, &found);
        if (!found || value != i) state.SkipWithError("wrong value");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_TreeLookup)->Apply(args);

void BM_MapLookup(benchmark::State& state) {
    const auto& k = keys(state.range(0), static_cast<int>(state.range(1)));
    std::map<std::string, uint64_t> map;
    for (std::size_t i = 0; i < k.size(); ++i) map.emplace(k[i], i);
    std::mt19937 random(1);
    for (auto _ : state) {
        std::size_t i = random() % k.size();
        if (map.find(k[i])->second != i) state.SkipWithError("wrong value");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MapLookup)->Apply(args);

void BM_SqliteLookup(benchmark::State& state) {
    const auto& k = keys(state.range(0), static_cast<int>(state.range(1)));
    Sqlite db;
    db.fill(k);
    std::mt19937 random(1);
    for (auto _ : state) {
        std::size_t i = random() % k.size();
        if (db.find(k[i]) != static_cast<int64_t>(i)) state.SkipWithError("wrong value");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SqliteLookup)->Apply(args);

} // namespace

BENCHMARK_MAIN();
