// The compatible reading: a line-by-line walk over the cached text with explicit ends.
#include "config/ini_compat.h"

#include <cstring>
#include "config/ini_index.h"

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

const char* trimEnd(const char* start, const char* end) {
    while (end > start && isBlank(end[-1])) --end;
    return end;
}

} // namespace

bool koIniNextLine(const char* p, const char* limit, KoIniLine* line) {
    if (p >= limit) return false;
    const char* lineFeed =
        static_cast<const char*>(std::memchr(p, '\n', static_cast<std::size_t>(limit - p)));
    const char* end = lineFeed ? lineFeed : limit;
    line->Start = p;
    line->Next = lineFeed ? lineFeed + 1 : limit;
    line->ContentEnd = end > p && end[-1] == '\r' ? end - 1 : end;
    const char* content = p;
    while (content < line->ContentEnd && isBlank(*content)) ++content;
    line->Content = content;
    return true;
}

bool koIniHeaderLine(const KoIniLine& line, const char** open, const char** close) {
    if (line.Content >= line.ContentEnd || *line.Content != '[') return false;
    const char* bracket = static_cast<const char*>(
        std::memchr(line.Content, ']', static_cast<std::size_t>(line.ContentEnd - line.Content)));
    if (!bracket) return false;
    *open = line.Content;
    *close = bracket;
    return true;
}

bool koIniCompatFindSection(const char* text, const char* limit, const char* header,
                            std::size_t headerLength, const char** start, const char** end) {
    KoIniLine line;
    const char *open = nullptr, *close = nullptr;
    const char* found = nullptr;
    for (const char* p = text; koIniNextLine(p, limit, &line); p = line.Next) {
        if (!koIniHeaderLine(line, &open, &close)) continue;
        if (found) {
            *end = line.Start;
            return true;
        }
        if (static_cast<std::size_t>(close - open) + 1 == headerLength &&
            koIniSameName(open, header, static_cast<uint32_t>(headerLength))) {
            found = open;
            *start = open;
        }
    }
    if (found) *end = limit;
    return found != nullptr;
}

// Calls visit(line, nameEnd, equals) for each entry line after the header line.
template <typename Visit> void walkEntries(const char* section, const char* end, Visit visit) {
    KoIniLine line;
    if (!koIniNextLine(section, end, &line)) return;
    for (const char* p = line.Next; koIniNextLine(p, end, &line); p = line.Next) {
        if (line.Content >= line.ContentEnd || *line.Content == ';' || *line.Content == '#')
            continue;
        const char* equals = static_cast<const char*>(std::memchr(
            line.Content, '=', static_cast<std::size_t>(line.ContentEnd - line.Content)));
        if (!equals) continue;
        if (!visit(line, trimEnd(line.Content, equals), equals)) return;
    }
}

bool koIniCompatFindEntry(const char* section, const char* end, const char* name,
                          const char** lineStart, const char** valueStart, const char** valueEnd,
                          const char** lineNext) {
    std::size_t nameLength =
        static_cast<std::size_t>(trimEnd(name, name + std::strlen(name)) - name);
    bool found = false;
    walkEntries(section, end, [&](const KoIniLine& line, const char* nameEnd, const char* equals) {
        if (static_cast<std::size_t>(nameEnd - line.Content) != nameLength ||
            !koIniSameName(line.Content, name, static_cast<uint32_t>(nameLength)))
            return true;
        const char* value = equals + 1;
        while (value < line.ContentEnd && isBlank(*value)) ++value;
        *lineStart = line.Start;
        *valueStart = value;
        *valueEnd = trimEnd(value, line.ContentEnd);
        *lineNext = line.Next;
        found = true;
        return false;
    });
    return found;
}

unsigned long koIniCompatEntryNames(const char* section, const char* end, char* buffer,
                                    unsigned long size) {
    if (!size) return 0;
    unsigned long used = 0;
    walkEntries(section, end, [&](const KoIniLine& line, const char* nameEnd, const char*) {
        unsigned long length = static_cast<unsigned long>(nameEnd - line.Content);
        if (used + length + 2 > size) return false; // the name and the final zero must fit
        std::memcpy(buffer + used, line.Content, length);
        used += length;
        buffer[used++] = '\0';
        return true;
    });
    if (!used) return 0;
    buffer[used] = '\0';
    return used + 1;
}

const char* koIniLineEnding(const char* text, const char* limit) {
    const char* lineFeed =
        static_cast<const char*>(std::memchr(text, '\n', static_cast<std::size_t>(limit - text)));
    return lineFeed && lineFeed > text && lineFeed[-1] == '\r' ? "\r\n" : "\n";
}

const char* koIniLineStart(const char* text, const char* p) {
    while (p > text && p[-1] != '\n') --p;
    return p;
}
