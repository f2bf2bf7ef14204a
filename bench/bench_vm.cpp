// Page-cache reads beside plain pread on the same file in the same run: hits (every page
// cached), random reads of a full cache (straight to the file), and a sequential scan that
// loads and evicts a page per 8 KB. The file sits in the system's page cache throughout, so
// pread is at its fastest.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>
#include "kolib/vm_pages.h"

namespace {

struct DataFile {
    explicit DataFile(unsigned pages) : Size(pages * VM_PAGE_SIZE) {
        const char* dir = std::getenv("TMPDIR");
        std::string name = std::string(dir ? dir : "/tmp") + "/kobenchvmXXXXXX";
        Fd = mkstemp(&name[0]);
        unlink(name.c_str());
        std::mt19937 random(pages);
        std::vector<char> bytes(Size);
        for (char& b : bytes) b = static_cast<char>(random());
        if (pwrite(Fd, bytes.data(), Size, 0) != static_cast<ssize_t>(Size)) std::abort();
    }
    ~DataFile() { close(Fd); }
    int Fd;
    uint32_t Size;
};

std::vector<uint32_t> offsets(uint32_t size, uint32_t length) {
    std::mt19937 random(length);
    std::vector<uint32_t> out(4096);
    for (uint32_t& o : out) o = random() % (size - length);
    return out;
}

// The peer: pread at the same offsets.
void readPread(benchmark::State& state, unsigned pages) {
    DataFile file(pages);
    uint32_t length = static_cast<uint32_t>(state.range(0));
    std::vector<uint32_t> at = offsets(file.Size, length);
    std::vector<char> buffer(length);
    size_t i = 0;
    for (auto _ : state) {
        ssize_t got = pread(file.Fd, buffer.data(), length, at[i++ & 4095]);
        benchmark::DoNotOptimize(got);
    }
    state.SetBytesProcessed(state.iterations() * length);
}

void readCache(benchmark::State& state, unsigned pages, uint16_t pools, VmHintType hint) {
    DataFile file(pages);
    void* cache = bvmInit(pools);
    uint32_t length = static_cast<uint32_t>(state.range(0));
    std::vector<uint32_t> at = offsets(file.Size, length);
    std::vector<char> buffer(length);
    uint32_t count = 0;
    for (uint32_t o = 0; o < file.Size; o += VM_PAGE_SIZE) // fill the cache
        bvmFileRead(cache, file.Fd, o, buffer.data(), 1, &count, VM_READ_SEQUENTIAL);
    size_t i = 0;
    for (auto _ : state) {
        bvmFileRead(cache, file.Fd, at[i++ & 4095], buffer.data(), length, &count, hint);
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(state.iterations() * length);
    bvmFlush(cache, file.Fd);
    bvmTerm(cache);
}

// Hits: 64 pages, all cached.
void BM_HitCache(benchmark::State& state) {
    readCache(state, 64, 8, VM_READ_SEQUENTIAL);
}
void BM_HitPread(benchmark::State& state) {
    readPread(state, 64);
}
// Random reads of 256 pages through a full cache of 8: mostly read straight from the file.
void BM_RandomFullCache(benchmark::State& state) {
    readCache(state, 256, 1, VM_READ_RANDOM);
}
void BM_RandomPread(benchmark::State& state) {
    readPread(state, 256);
}

// A sequential scan of 256 pages in 8 KB reads through a cache of 8 pages: every read loads
// a page and evicts one.
void BM_ScanEvictingCache(benchmark::State& state) {
    DataFile file(256);
    void* cache = bvmInit(1);
    std::vector<char> buffer(VM_PAGE_SIZE);
    uint32_t count = 0, at = 0;
    for (auto _ : state) {
        bvmFileRead(cache, file.Fd, at, buffer.data(), VM_PAGE_SIZE, &count, VM_READ_SEQUENTIAL);
        at = (at + VM_PAGE_SIZE) % file.Size;
    }
    state.SetBytesProcessed(state.iterations() * VM_PAGE_SIZE);
    bvmFlush(cache, file.Fd);
    bvmTerm(cache);
}
void BM_ScanPread(benchmark::State& state) {
    DataFile file(256);
    std::vector<char> buffer(VM_PAGE_SIZE);
    uint32_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pread(file.Fd, buffer.data(), VM_PAGE_SIZE, at));
        at = (at + VM_PAGE_SIZE) % file.Size;
    }
    state.SetBytesProcessed(state.iterations() * VM_PAGE_SIZE);
}

} // namespace

BENCHMARK(BM_HitCache)->Arg(64)->Arg(512)->Arg(8192);
BENCHMARK(BM_HitPread)->Arg(64)->Arg(512)->Arg(8192);
BENCHMARK(BM_RandomFullCache)->Arg(512);
BENCHMARK(BM_RandomPread)->Arg(512);
BENCHMARK(BM_ScanEvictingCache);
BENCHMARK(BM_ScanPread);

BENCHMARK_MAIN();
