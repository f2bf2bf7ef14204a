// The SQL example grammar over arbitrary statements: every parse ends, with a result or a
// failure, and leaves nothing behind (the sanitizers check memory; -timeout catches input
// whose search would explode).
#include <cstdint>
#include <string>

#include "../tests/parse/grammar_support.h"

namespace {
KoParser& parser() {
    static std::string grammar = kotest::loadTable(KOFUZZ_EXAMPLES "/sql_grammar.txt", true);
    static std::string keywords = kotest::loadTable(KOFUZZ_EXAMPLES "/sql_keywords.txt", false);
    static KoParser p(grammar.data(), keywords.data());
    return p;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    KoReduction* r = nullptr;
    if (!parser().parse(text.c_str(), &r)) delete r;
    return 0;
}
