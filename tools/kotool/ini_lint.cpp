// The linter's reading of an INI text. It follows the strict rules where they bite:
// - a name runs to the first "=" with its blanks; after "=" blanks and further "=" are
//   skipped; the value runs to the line feed, a carriage return and trailing blanks included;
// - a section ends at the next "[" anywhere, so a "[" in a value or a comment ends it early;
// - a line without "=" (also one of blanks only, or a lone carriage return) runs into the next
//   line, whose entry is then not found;
// - listing a section's entries keeps the leading blanks of every line but the first;
// - the first of two headers of one name (case ignored) is the one found;
// - lines before the first header are never read;
// - a look-up returns at most KO_INI_WORK_BUFFER_SIZE - 1 bytes of a value.
#include "ini_lint.h"

#include <map>
#include "kolib/ini_cache.h"

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string folded(const std::string& text) {
    std::string out = text;
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return out;
}

class Linter {
public:
    explicit Linter(std::vector<IniFinding>* out) : Out(out) {}

    void line(unsigned long number, std::string body) {
        Number = number;
        bool carriageReturn = !body.empty() && body.back() == '\r';
        if (carriageReturn) body.pop_back();
        bool firstAfterHeader = FirstAfterHeader;
        FirstAfterHeader = false;
        size_t lead = body.find_first_not_of(" \t");
        if (body.empty()) {
            if (carriageReturn && InSection)
                add("a lone carriage return: the strict rules run this line into the next one, "
                    "whose entry is then not found");
            return;
        }
        if (lead == std::string::npos) {
            if (InSection)
                add("blanks only: the strict rules run this line into the next one, whose entry "
                    "is then not found");
            return;
        }
        if (body[0] == '[') {
            header(body);
            return;
        }
        brackets(body, lead);
        char first = body[lead];
        if (first == ';' || first == '#') {
            if (InSection && lead > 0 && !firstAfterHeader)
                add("indented comment: a list of the section's entries reads it as part of the "
                    "next entry name");
            return;
        }
        if (!InSection) {
            add("outside any section: never read");
            return;
        }
        size_t equals = body.find('=', lead);
        if (equals == std::string::npos) {
            add("no \"=\": the strict rules run this line into the next one, whose entry is then "
                "not found");
            return;
        }
        entry(body, lead, equals, carriageReturn, firstAfterHeader);
    }

private:
    void add(const std::string& message) { Out->push_back({Number, message}); }

    void header(const std::string& body) {
        size_t close = body.find(']');
        InSection = true;
        FirstAfterHeader = true;
        if (close == std::string::npos) {
            Section = body;
            add("no \"]\" on the header line: the strict rules run the header on to the next "
                "\"]\"");
            return;
        }
        Section = body.substr(0, close + 1);
        auto seen = Headers.emplace(folded(Section), Number);
        if (!seen.second)
            add("section " + Section + " again (first at line " +
                std::to_string(seen.first->second) + "): the strict rules read only the first");
        if (body.find('[', 1) != std::string::npos)
            add("\"[\" after the header: the strict rules end section " + Section + " there");
    }

    // A "[" that does not start the line: not a header, but the end of the current section.
    void brackets(const std::string& body, size_t lead) {
        if (body.find('[', 1) == std::string::npos) return;
        std::string what = body[lead] == '[' ? "\"[\" after blanks is no section header under "
                                               "the strict rules"
                                             : "\"[\" inside the line";
        if (InSection)
            add(what + ": the strict rules end section " + Section +
                " there, and the entries after it are not found");
        else if (body[lead] == '[')
            add(what);
    }

    void entry(const std::string& body, size_t lead, size_t equals, bool carriageReturn,
               bool firstAfterHeader) {
        std::string name = body.substr(lead, equals - lead);
        if (!name.empty() && isBlank(name.back())) {
            std::string bare = name.substr(0, name.find_last_not_of(" \t") + 1);
            add("blank before \"=\": the strict rules read the name \"" + name +
                "\", so a look-up of \"" + bare + "\" does not find it");
        }
        if (lead > 0 && !firstAfterHeader)
            add("indented entry: a list of the section's entries reads its name with the blanks");
        size_t value = equals;
        while (value < body.size() && (isBlank(body[value]) || body[value] == '=')) ++value;
        if (carriageReturn)
            add("carriage return before the line feed: the strict rules keep it in the value");
        if (value < body.size() && isBlank(body.back()))
            add("blank at the end of the value: the strict rules keep it in the value");
        size_t length = body.size() - value;
        if (length > KO_INI_WORK_BUFFER_SIZE - 1)
            add("value of " + std::to_string(length) + " bytes: a look-up returns at most " +
                std::to_string(KO_INI_WORK_BUFFER_SIZE - 1));
    }

    std::vector<IniFinding>* Out;
    unsigned long Number = 0;
    bool InSection = false;
    bool FirstAfterHeader = false;
    std::string Section;
    std::map<std::string, unsigned long> Headers; // folded header -> first line
};

} // namespace

std::vector<IniFinding> lintIniText(const std::string& text) {
    std::vector<IniFinding> findings;
    Linter linter(&findings);
    unsigned long number = 0;
    for (size_t start = 0; start < text.size();) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        linter.line(++number, text.substr(start, end - start));
        start = end + 1;
    }
    return findings;
}

unsigned long countLintedLines(const std::vector<IniFinding>& findings) {
    unsigned long lines = 0, last = 0;
    for (const IniFinding& finding : findings)
        if (finding.Line != last) {
            ++lines;
            last = finding.Line;
        }
    return lines;
}
