// The grammar compiler over grammar text from the input: one production per line, numbered
// from 1000, with a fixed keyword table. Whatever compiles or fails must leave nothing behind
// (LeakSanitizer checks) and stay within the stack.
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_support.h"
#include "kolib/grammar.h"

namespace {
void addEntry(std::string& packed, const std::string& text, short number) {
    packed += text;
    packed += '\0';
    packed.append(reinterpret_cast<const char*>(&number), sizeof number);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static std::string keywords = [] {
        std::string table;
        short number = 100;
        for (const char* word : {"SELECT", "FROM", "WHERE", "AND", "OR", "A", "B", "C"})
            addEntry(table, word, number++);
        return table + '\0';
    }();
    kofuzz::TextMode mode(false);
    std::string packed;
    short number = 1000;
    const char* text = reinterpret_cast<const char*>(data);
    for (size_t at = 0; at < size && number < 1100;) {
        const void* end = std::memchr(text + at, '\n', size - at);
        size_t stop = end ? static_cast<const char*>(end) - text : size;
        std::string line(text + at, stop - at);
        line = line.c_str(); // a NUL ends the production's text
        if (!line.empty()) addEntry(packed, line, number++);
        at = stop + 1;
    }
    packed += '\0';
    KoKeywordList list(keywords.c_str());
    KoGrammar grammar(packed.c_str(), &list);
    (void)grammar.isOK();
    return 0;
}
