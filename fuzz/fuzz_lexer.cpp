// The lexer over the input, NUL-terminated right before an inaccessible page, driven the way
// the parser drives it: terminals, literal contents, one-step backups, and positions saved
// and restored (the terminal read after a restore must be the one read after the save).
// Byte 0 seeds the choice of steps and the text mode.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_support.h"
#include "kolib/keyword_list.h"
#include "kolib/lexer.h"

namespace {
std::string keywordTable() {
    std::string table;
    short number = 100;
    for (const char* word : {"SELECT", "FROM", "WHERE", "AND", "OR", "NOT", "NULL"}) {
        table += word;
        table += '\0';
        table.append(reinterpret_cast<const char*>(&number), sizeof number);
        ++number;
    }
    table += '\0';
    return table;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    static const std::string KEYWORDS = keywordTable();
    kofuzz::TextMode mode(data[0] & 1);
    uint32_t steps = data[0] * 2654435761u;
    const char* text = reinterpret_cast<const char*>(data + 1);
    size_t length = strnlen(text, size - 1);
    kofuzz::EdgeBuffer input(text, length, true);
    KoKeywordList keywords(KEYWORDS.c_str());
    KoLexer lexer(input.data(), &keywords);
    if (data[0] & 2) lexer.setValidChars(nullptr, "-", nullptr);

    for (size_t i = 0; i < 4 * length + 8; ++i) {
        steps = steps * 1103515245u + 12345u;
        unsigned choice = (steps >> 16) % 16;
        short type = RED_NONE;
        unsigned char* word = nullptr;
        if (choice == 0) {
            lexer.backup();
            continue;
        }
        if (choice == 1 && lexer.tokenIsLiteral()) {
            lexer.getLiteralContents(&word);
            continue;
        }
        if (choice == 2) {
            KoToken* token = nullptr;
            short index = 0;
            KoScanner* literal = nullptr;
            KoToken literalToken;
            lexer.getPosition(&token, &index, &literal, &literalToken);
            unsigned failed = lexer.nextToken(&type, &word);
            std::string ahead = word ? reinterpret_cast<char*>(word) : "";
            lexer.setPosition(token, index, literal, &literalToken);
            delete token;
            delete literal;
            // Back at the saved position the same terminal comes again.
            short again = RED_NONE;
            if (lexer.nextToken(&again, &word) != failed || again != type ||
                ahead != (word ? reinterpret_cast<char*>(word) : ""))
                std::abort();
            continue;
        }
        lexer.nextToken(&type, &word);
        if (type == RED_EOS) break;
    }
    return 0;
}
