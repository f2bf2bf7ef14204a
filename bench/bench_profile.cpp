// Cached profile look-ups on a file of 200 data sources, beside unixODBC's
// SQLGetPrivateProfileString on the same file in the same run. Each iteration reads the
// "Database" entry of the next data source in turn.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <odbcinst.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#include "kolib/profile.h"

namespace {

const int SOURCES = 200;

struct SampleFile {
    std::string Dir, Path;
    std::vector<std::string> Sections;
    SampleFile() {
        char pattern[] = "/tmp/kolib-bench-XXXXXX";
        Dir = mkdtemp(pattern);
        Path = Dir + "/odbc.ini";
        FILE* out = std::fopen(Path.c_str(), "w");
        std::fprintf(out, "[ODBC Data Sources]\n");
        for (int i = 0; i < SOURCES; ++i) std::fprintf(out, "dsn%03d=Flat-file driver\n", i);
        for (int i = 0; i < SOURCES; ++i) {
            Sections.push_back("dsn" +
                               std::string(i < 10    ? "00"
                                           : i < 100 ? "0"
                                                     : "") +
                               std::to_string(i));
            std::fprintf(out,
                         "\n[%s]\nDriver=/opt/drivers/lib/libflat17.so\nDescription=Data "
                         "source %d\nDatabase=/srv/data/db%03d\nServerName=host%d\nPort=%d\n"
                         "Trace=0\nTraceFile=/tmp/trace%d.log\n",
                         Sections.back().c_str(), i, i, i % 7, 5000 + i, i);
        }
        std::fclose(out);
        setenv("ODBCINI", Path.c_str(), 1);
        setenv("HOME", Dir.c_str(), 1);
    }
    ~SampleFile() {
        unlink(Path.c_str());
        rmdir(Dir.c_str());
    }
};

SampleFile& sample() {
    static SampleFile file;
    return file;
}

void checkValue(benchmark::State& state, const char* value, int index) {
    char expected[32];
    std::snprintf(expected, sizeof expected, "/srv/data/db%03d", index);
    if (std::string(value) != expected) state.SkipWithError("wrong value");
}

void BM_KoHeldCache(benchmark::State& state) {
    SampleFile& file = sample();
    KoIniFileCache* cache = koPrivateProfileInit(file.Path.c_str());
    char value[256];
    int i = 0;
    for (auto _ : state) {
        koGetPrivateProfileString(file.Sections[i].c_str(), "Database", "", value, sizeof value,
                                  cache);
        benchmark::DoNotOptimize(value);
        if (++i == SOURCES) i = 0;
    }
    checkValue(state, value, i == 0 ? SOURCES - 1 : i - 1);
    koPrivateProfileTerm(cache);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_KoHeldCache);

// The in-memory part of a held-cache look-up alone: section and entry search, without the
// file check (one stat call) that every get makes first.
void BM_KoLookupOnly(benchmark::State& state) {
    SampleFile& file = sample();
    KoIniFileCache* cache = koPrivateProfileInit(file.Path.c_str());
    std::vector<std::string> headers;
    for (const std::string& s : file.Sections) headers.push_back("[" + s + "]");
    int i = 0;
    std::string value;
    for (auto _ : state) {
        char *start = nullptr, *end = nullptr, *valueStart = nullptr, *valueEnd = nullptr;
        cache->getSection(headers[i].c_str(), &start, &end);
        cache->getEntry("Database", &start, &valueStart, &valueEnd);
        benchmark::DoNotOptimize(valueStart);
        if (state.iterations() == 1) value.assign(valueStart, valueEnd);
        if (++i == SOURCES) i = 0;
    }
    koPrivateProfileTerm(cache);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_KoLookupOnly);

void BM_KoByName(benchmark::State& state) {
    SampleFile& file = sample();
    char value[256];
    int i = 0;
    for (auto _ : state) {
        koGetProfileString(file.Sections[i].c_str(), "Database", "", value, sizeof value,
                           "ODBC.INI");
        benchmark::DoNotOptimize(value);
        if (++i == SOURCES) i = 0;
    }
    checkValue(state, value, i == 0 ? SOURCES - 1 : i - 1);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_KoByName);

void BM_UnixOdbcByPath(benchmark::State& state) {
    SampleFile& file = sample();
    char value[256];
    int i = 0;
    for (auto _ : state) {
        SQLGetPrivateProfileString(file.Sections[i].c_str(), "Database", "", value, sizeof value,
                                   file.Path.c_str());
        benchmark::DoNotOptimize(value);
        if (++i == SOURCES) i = 0;
    }
    checkValue(state, value, i == 0 ? SOURCES - 1 : i - 1);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_UnixOdbcByPath);

void BM_UnixOdbcByName(benchmark::State& state) {
    sample();
    SQLSetConfigMode(ODBC_USER_DSN);
    char value[256];
    int i = 0;
    for (auto _ : state) {
        SQLGetPrivateProfileString(sample().Sections[i].c_str(), "Database", "", value,
                                   sizeof value, "ODBC.INI");
        benchmark::DoNotOptimize(value);
        if (++i == SOURCES) i = 0;
    }
    checkValue(state, value, i == 0 ? SOURCES - 1 : i - 1);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_UnixOdbcByName);

// The floor under every get: the stat call of the file check.
void BM_StatOfTheFile(benchmark::State& state) {
    SampleFile& file = sample();
    struct stat info;
    for (auto _ : state) benchmark::DoNotOptimize(stat(file.Path.c_str(), &info));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_StatOfTheFile);

} // namespace

BENCHMARK_MAIN();
