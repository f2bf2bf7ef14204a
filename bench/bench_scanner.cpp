// Scanner throughput over a large SQL script beside a plain memchr pass over the same bytes
// (the memory-speed ceiling), in the "C" locale, in the "C.utf8" locale and in "C.utf8" with
// the thread's UTF-8 mode. Compare the bytes_per_second columns: scanner / memchr is the
// ratio to note.
#include <benchmark/benchmark.h>

#include <clocale>
#include <cstring>
#include <string>

#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/scanner.h"
#include "kolib/unicode.h"

namespace {

const std::string& script() {
    static const std::string text = [] {
        const char* statements[] = {
            "SELECT o.id, o.total, c.name AS \"Customer\" FROM orders o, customers c\n"
            "  WHERE o.cust_id = c.id(+) AND o.total >= 100.25 AND c.name <> 'O''Neil'\n"
            "  ORDER BY o.total DESC;\n",
            "-- monthly figures\nINSERT INTO stats (month, amount, note) VALUES "
            "(12, 4711.5, 'caf\xC3\xA9 cr\xC3\xA8me');\n",
            "/* r\xC3\xA9sum\xC3\xA9 of the \xE6\x9D\xB1\xE4\xBA\xAC branch */ UPDATE t SET "
            "x = x + 1, y = y || 'z' WHERE k != 42 AND v <= 7;\n",
            "DELETE FROM log WHERE stamp < {ts '2024-01-01 00:00:00'} OR level = :lvl;\n"};
        std::string s;
        while (s.size() < (4u << 20))
            for (const char* st : statements) s += st;
        return s;
    }();
    return text;
}

const char* const LOCALES[] = {"C", "C.utf8", "C.utf8"};

class Setting {
public:
    explicit Setting(int which) : List(nullptr, 1) {
        std::setlocale(LC_ALL, LOCALES[which]);
        if (which == 2) {
            List.pushOnErrorKeeper(); // registers the thread for its per-thread slot
            Info.DBMSCodePage = KO_CODE_PAGE_UTF8;
            mdsSetPerThreadData(MDS_UNICODE_INFO, &Info);
            Pushed = true;
        }
    }
    ~Setting() {
        if (Pushed) {
            mdsSetPerThreadData(MDS_UNICODE_INFO, nullptr);
            List.popOffErrorKeeper();
        }
        std::setlocale(LC_ALL, "C");
    }

private:
    KoErrorList List;
    koUnicodeInfo Info{};
    bool Pushed = false;
};

const char* label(int which) {
    return which == 0 ? "C" : which == 1 ? "C.utf8" : "C.utf8+utf8mode";
}

void BM_memchr(benchmark::State& state) {
    Setting setting(static_cast<int>(state.range(0)));
    const std::string& text = script();
    for (auto _ : state) {
        // Every line feed: the whole text is touched once.
        long lines = 0;
        const char* p = text.data();
        const char* end = p + text.size();
        while ((p = static_cast<const char*>(std::memchr(p, '\n', end - p)))) {
            ++lines;
            ++p;
        }
        benchmark::DoNotOptimize(lines);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * text.size());
    state.SetLabel(label(static_cast<int>(state.range(0))));
}

void BM_scanner(benchmark::State& state) {
    Setting setting(static_cast<int>(state.range(0)));
    const std::string& text = script();
    KoScanner scanner(text.data(), text.size());
    scanner.setParseComments();
    KoToken token;
    long tokens = 0;
    for (auto _ : state) {
        scanner.resetToBeginning();
        while (scanner.getToken(token) != C_EOS) ++tokens;
        benchmark::DoNotOptimize(tokens);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * text.size());
    state.counters["tokens"] = static_cast<double>(tokens) / state.iterations();
    state.SetLabel(label(static_cast<int>(state.range(0))));
}

BENCHMARK(BM_memchr)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_scanner)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
