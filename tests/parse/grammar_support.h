// Helpers of the grammar and parser tests: packed tables from literals, and a parser client
// that records every ReductProc and FailProc call.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kolib/parser.h"

namespace kotest {

// Packed text: each entry's text, NUL, 16-bit number; an empty text ends it. The keyword
// table has the same layout.
inline std::string pack(const std::vector<std::pair<std::string, short>>& entries) {
    std::string out;
    for (const auto& e : entries) {
        out += e.first;
        out += '\0';
        out.append(reinterpret_cast<const char*>(&e.second), sizeof e.second);
    }
    out += '\0';
    return out;
}

// Records the calls as text: "R1000(a,b)" for a reduction over the node texts of its
// children, "F<terminal>:<text>@<number>:<name>" for a failure report line.
class RecordingParser : public KoParser {
public:
    RecordingParser(const std::string& grammar, const std::string& keywords)
        : KoParser(grammar.data(), keywords.data()) {}

    KoReduction* ReductProc(short number, KoReduction* first) override {
        std::string line = "R" + std::to_string(number) + "(";
        for (KoReduction* c = first; c; c = c->getNextSibling())
            line += (c == first ? "" : ",") + describe(c);
        Calls.push_back(line + ")");
        if (number == DropNumber) {
            KoReduction::deleteSiblings(first);
            return nullptr;
        }
        return KoParser::ReductProc(number, first);
    }
    int FailProc(short type, const unsigned char* text, short number, const unsigned char* name,
                 KoStateTransition* expected) override {
        std::string line =
            "F" + std::to_string(type) + ":" + (text ? reinterpret_cast<const char*>(text) : "") +
            "@" + std::to_string(number) + ":" + (name ? reinterpret_cast<const char*>(name) : "");
        Calls.push_back(line);
        Expected.clear();
        for (KoStateTransition* t = expected; t; t = t->getNextTransition())
            Expected.push_back(t->TokenType);
        return StopAfter && ++Reported >= StopAfter;
    }

    // A reduction as text: a terminal's text, or "<number>" for a production.
    static std::string describe(const KoReduction* r) {
        if (r->terminal()) return r->string() ? r->string() : "";
        return "<" + std::to_string(r->reductNumber()) + ">";
    }

    std::vector<std::string> Calls;
    std::vector<short> Expected; // terminals expected where matching failed
    short DropNumber = 0;        // ReductProc returns null for this production
    int StopAfter = 0;           // FailProc returns nonzero after this many lines
    int Reported = 0;
};

// The tree as one line: "1000[SELECT,1001[x]]".
inline std::string tree(const KoReduction* r) {
    if (!r) return "-";
    if (r->terminal()) return r->string() ? r->string() : "";
    std::string out = std::to_string(r->reductNumber());
    if (!r->getFirstChild()) return out;
    out += "[";
    for (const KoReduction* c = r->getFirstChild(); c; c = c->getNextSibling())
        out += (c == r->getFirstChild() ? "" : ",") + tree(c);
    return out + "]";
}

} // namespace kotest

#include <fstream>
#include <sstream>

namespace kotest {

// Reads a readable table file into packed text: "NUMBER PRODUCTION" lines for a grammar,
// "KEYWORD NUMBER" lines for keywords; blank lines and "#" lines are skipped.
inline std::string loadTable(const std::string& path, bool numberFirst) {
    std::ifstream in(path);
    std::vector<std::pair<std::string, short>> entries;
    std::string line;
    while (std::getline(in, line)) {
        std::size_t at = line.find_first_not_of(" \t");
        if (at == std::string::npos || line[at] == '#') continue;
        std::istringstream fields(line.substr(at));
        std::string first, rest;
        fields >> first;
        std::getline(fields, rest);
        rest.erase(0, rest.find_first_not_of(" \t"));
        if (numberFirst)
            entries.emplace_back(rest, static_cast<short>(std::stoi(first)));
        else
            entries.emplace_back(first, static_cast<short>(std::stoi(rest)));
    }
    return pack(entries);
}

// The non-comment lines of a text file.
inline std::vector<std::string> loadLines(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> out;
    std::string line;
    while (std::getline(in, line))
        if (!line.empty() && line[0] != '#') out.push_back(line);
    return out;
}

} // namespace kotest
