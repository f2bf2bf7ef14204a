// kotool parse GRAMMAR KEYWORDS TEXT: compiles a readable grammar file (one production a
// line, "1000 goal ::= ...") with a keyword file ("SELECT 100" a line), parses TEXT and
// prints the reduction tree with production names, or where the parse failed and what was
// expected there. Blank lines and lines starting with "#" are skipped in both files.
// Exit status: 0 parsed, 1 the text does not parse, 2 usage error or a grammar or keyword file
// that cannot be read or compiled.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include "commands.h"
#include "kolib/parser.h"

namespace {
void addEntry(std::string& packed, const std::string& text, long number) {
    int16_t n = static_cast<int16_t>(number);
    packed += text;
    packed += '\0';
    packed.append(reinterpret_cast<const char*>(&n), sizeof n);
}

// Reads "NUMBER TEXT" (grammar) or "WORD NUMBER" (keywords) lines into packed text.
bool loadTable(const char* path, bool numberFirst, std::string* packed) {
    std::ifstream in(path);
    if (!in) {
        std::fprintf(stderr, "kotool parse: error: cannot read %s\n", path);
        return false;
    }
    std::string line;
    for (int lineNo = 1; std::getline(in, line); ++lineNo) {
        std::size_t at = line.find_first_not_of(" \t\r");
        if (at == std::string::npos || line[at] == '#') continue;
        std::istringstream fields(line.substr(at));
        std::string first;
        fields >> first;
        std::string rest;
        std::getline(fields, rest);
        rest.erase(0, rest.find_first_not_of(" \t"));
        rest.erase(rest.find_last_not_of(" \t\r") + 1);
        char* end = nullptr;
        const std::string& numberText = numberFirst ? first : rest;
        long number = std::strtol(numberText.c_str(), &end, 10);
        if (numberText.empty() || *end || rest.empty()) {
            std::fprintf(stderr, "kotool parse: error: %s:%d: expected %s\n", path, lineNo,
                         numberFirst ? "NUMBER PRODUCTION" : "KEYWORD NUMBER");
            return false;
        }
        addEntry(*packed, numberFirst ? rest : first, number);
    }
    *packed += '\0';
    return true;
}

const char* terminalName(const KoStateTransition* t) {
    if (t->TokenString) return t->TokenString;
    switch (t->TokenType) {
    case RED_IDENT:
        return "identifier";
    case RED_NUMBER:
        return "number";
    case RED_LITERAL_CONTENTS:
        return "literal contents";
    case RED_EOS:
        return "end of text";
    default:
        return "?";
    }
}

class PrintingParser : public KoParser {
public:
    PrintingParser(const std::string& grammar, const std::string& keywords)
        : KoParser(grammar.data(), keywords.data()) {}

    int FailProc(short, const unsigned char* text, short number, const unsigned char* name,
                 KoStateTransition* expected) override {
        if (!Reported++) {
            std::printf("parse failed at \"%s\"\n",
                        text ? reinterpret_cast<const char*>(text) : "");
            Expected = expected;
        }
        std::printf("  in %s (%d)\n", name ? reinterpret_cast<const char*>(name) : "?", number);
        return 0;
    }

    void printExpected() const {
        std::set<std::string> seen;
        std::printf("  expected:");
        for (const KoStateTransition* t = Expected; t; t = t->getNextTransition())
            if (seen.insert(terminalName(t)).second) std::printf(" %s", terminalName(t));
        std::printf(seen.empty() ? " end of text\n" : "\n");
    }

    void print(const KoReduction* r, int depth) const {
        const KoProduction* productions = ParsedGrammar->getCompiledGrammar();
        for (; r; r = r->getNextSibling()) {
            if (r->terminal()) {
                std::printf("%*s%s\n", depth * 2, "", r->string() ? r->string() : "");
            } else {
                const char* name = productions->numberToName(r->reductNumber());
                std::printf("%*s%s (%d)\n", depth * 2, "", name ? name : "?", r->reductNumber());
                print(r->getFirstChild(), depth + 1);
            }
        }
    }

    int Reported = 0;
    const KoStateTransition* Expected = nullptr;
};
} // namespace

int cmdGrammarParse(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: kotool parse GRAMMAR KEYWORDS TEXT\n");
        return 2;
    }
    std::string grammar, keywords;
    if (!loadTable(argv[1], true, &grammar) || !loadTable(argv[2], false, &keywords)) return 2;
    PrintingParser parser(grammar, keywords);
    if (!parser.isOK()) {
        std::fprintf(stderr, "kotool parse: error: the grammar in %s does not compile\n", argv[1]);
        return 2;
    }
    KoReduction* tree = nullptr;
    if (parser.parse(argv[3], &tree)) {
        if (parser.Reported)
            parser.printExpected();
        else
            std::printf("parse failed\n");
        return 1;
    }
    parser.print(tree, 0);
    delete tree;
    return 0;
}
