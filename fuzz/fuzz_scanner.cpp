// The scanner's byte-wise fast path against its character-by-character walk. A first
// character set holding only a byte that the input never contains sends every token through
// the walk without changing what any token is, so both scanners must agree on every token,
// offset and flag. The first input byte picks the settings and the locale.
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "kolib/scanner.h"

namespace {
void configure(KoScanner& s, unsigned char how) {
    if (how & 1) s.setParseComments();
    if (how & 2) s.resetDecimalOk();
    if (how & 4) s.setMatchParens();
    if (how & 8) s.setValidMiddleChars("-\xC3\xA9");
    if (how & 16) s.setQuotingChars('"', '#', 0);
    if (how & 32) s.setMatchingChars('<', '>');
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    unsigned char how = data[0];
    std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    for (char& c : text)
        if (c == '\x01') c = '\x02';
    std::setlocale(LC_ALL, how & 64 ? "C.utf8" : "C");
    KoScanner fast(text.data(), text.size()), walk(text.data(), text.size());
    configure(fast, how);
    configure(walk, how);
    walk.setValidFirstChars("\x01");
    KoToken a, b;
    for (size_t guard = 0; guard <= text.size() + 1; ++guard) {
        ScanCode ca = fast.getToken(a), cb = walk.getToken(b);
        if (ca != cb || a.BegOfToken != b.BegOfToken || a.CurSize != b.CurSize ||
            fast.getCurrentPosition() != walk.getCurrentPosition() ||
            fast.SymbolLength != walk.SymbolLength || fast.EndOfString != walk.EndOfString)
            std::abort();
        if (ca == C_EOS) return 0;
    }
    std::abort(); // every token takes at least one byte
}
