// Cached profile look-ups on a file of 200 data sources, beside unixODBC's
// SQLGetPrivateProfileString on the same file in the same run. Each iteration reads the
// "Database" entry of the next data source in turn.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
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

// Reads "Database" of each data source in turn through `get(section, buffer, size)` and
// checks the last value read.
template <typename Get> void cycle(benchmark::State& state, Get get) {
    SampleFile& file = sample();
    char value[256] = "";
    int i = 0;
    for (auto _ : state) {
        get(file.Sections[i], value, sizeof value);
        benchmark::DoNotOptimize(value);
        if (++i == SOURCES) i = 0;
    }
    char expected[32];
    std::snprintf(expected, sizeof expected, "/srv/data/db%03d", i == 0 ? SOURCES - 1 : i - 1);
    if (std::string(value) != expected) state.SkipWithError("wrong value");
    state.SetItemsProcessed(state.iterations());
}

void BM_KoHeldCache(benchmark::State& state) {
    KoIniFileCache* cache = koPrivateProfileInit(sample().Path.c_str());
    cycle(state, [&](const std::string& section, char* value, unsigned long size) {
        koGetPrivateProfileString(section.c_str(), "Database", "", value, size, cache);
    });
    koPrivateProfileTerm(cache);
}
BENCHMARK(BM_KoHeldCache);

// The in-memory part of a held-cache look-up alone: section and entry search, without the
// file check (one stat call) that every get makes first.
void BM_KoLookupOnly(benchmark::State& state) {
    KoIniFileCache* cache = koPrivateProfileInit(sample().Path.c_str());
    std::string header;
    cycle(state, [&](const std::string& section, char* value, unsigned long size) {
        header.assign("[").append(section).append("]");
        char *start = nullptr, *end = nullptr, *valueStart = nullptr, *valueEnd = nullptr;
        cache->getSection(header.c_str(), &start, &end);
        cache->getEntry("Database", &start, &valueStart, &valueEnd);
        unsigned long length = static_cast<unsigned long>(valueEnd - valueStart);
        if (length >= size) length = size - 1;
        std::memcpy(value, valueStart, length);
        value[length] = '\0';
    });
    koPrivateProfileTerm(cache);
}
BENCHMARK(BM_KoLookupOnly);

void BM_KoByName(benchmark::State& state) {
    cycle(state, [](const std::string& section, char* value, unsigned long size) {
        koGetProfileString(section.c_str(), "Database", "", value, size, "ODBC.INI");
    });
}
BENCHMARK(BM_KoByName);

void BM_UnixOdbcByPath(benchmark::State& state) {
    const std::string& path = sample().Path;
    cycle(state, [&](const std::string& section, char* value, unsigned long size) {
        SQLGetPrivateProfileString(section.c_str(), "Database", "", value, static_cast<int>(size),
                                   path.c_str());
    });
}
BENCHMARK(BM_UnixOdbcByPath);

void BM_UnixOdbcByName(benchmark::State& state) {
    sample();
    SQLSetConfigMode(ODBC_USER_DSN);
    cycle(state, [](const std::string& section, char* value, unsigned long size) {
        SQLGetPrivateProfileString(section.c_str(), "Database", "", value, static_cast<int>(size),
                                   "ODBC.INI");
    });
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

// One write (an entry's value changed back and forth, so the size stays) of a file of about
// 2 KB or 2 MB: through a held cache, and through unixODBC's write on the same file.
struct WriteFile {
    std::string Dir, Path;
    explicit WriteFile(long bytes) {
        char pattern[] = "/tmp/kolib-bench-XXXXXX";
        Dir = mkdtemp(pattern);
        Path = Dir + "/write.ini";
        FILE* out = std::fopen(Path.c_str(), "w");
        std::fprintf(out, "[Target]\nValue=a\n");
        for (long written = 18, i = 0; written < bytes; ++i)
            written += std::fprintf(out, "[S%ld]\nDatabase=/srv/data/db%06ld\n", i, i);
        std::fclose(out);
    }
    ~WriteFile() {
        unlink(Path.c_str());
        rmdir(Dir.c_str());
    }
};

void BM_KoWrite(benchmark::State& state) {
    WriteFile file(state.range(0));
    KoIniFileCache* cache = koPrivateProfileInit(file.Path.c_str());
    bool flip = false;
    for (auto _ : state)
        if (koWritePrivateProfileString("Target", "Value", (flip = !flip) ? "b" : "a", cache) != 1)
            state.SkipWithError("write failed");
    koPrivateProfileTerm(cache);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_KoWrite)->Arg(2 << 10)->Arg(2 << 20)->Unit(benchmark::kMicrosecond);

void BM_UnixOdbcWrite(benchmark::State& state) {
    WriteFile file(state.range(0));
    bool flip = false;
    for (auto _ : state)
        if (!SQLWritePrivateProfileString("Target", "Value", (flip = !flip) ? "b" : "a",
                                          file.Path.c_str()))
            state.SkipWithError("write failed");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_UnixOdbcWrite)->Arg(2 << 10)->Arg(2 << 20)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
