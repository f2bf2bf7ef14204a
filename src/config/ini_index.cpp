// The section index: an open-addressing table of header positions keyed by an ASCII
// case-folded FNV-1a hash; the table has at least twice as many slots as headers.
#include "ini_index.h"

#include "ini_compat.h"

#include <cstring>
#include "kolib/memory.h"

struct KoIniSectionIndex {
    uint32_t Mask;     // slots - 1
    uint32_t* Slots;   // header number + 1, 0 = empty
    uint32_t* Starts;  // offset of each header's "["
    uint32_t* Lengths; // header length with its brackets
    uint32_t* Ends;    // offset of the section's end
    uint32_t* Hashes;
};

namespace {

// Beyond this many headers the walk is left as it is rather than spending the memory.
const uint32_t MAX_HEADERS = 1u << 20;

inline unsigned char fold(unsigned char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

uint32_t hashName(const char* text, uint32_t length) {
    uint32_t hash = 2166136261u;
    for (uint32_t i = 0; i < length; ++i) {
        hash ^= fold(static_cast<unsigned char>(text[i]));
        hash *= 16777619u;
    }
    return hash;
}

// Walks the header lines of the compatible reading: a section ends where the next one starts.
template <typename Visit> void walkHeaderLines(const char* text, uint32_t length, Visit visit) {
    const char* limit = text + length;
    KoIniLine line;
    const char *open = nullptr, *close = nullptr, *lastOpen = nullptr, *lastClose = nullptr;
    for (const char* p = text; koIniNextLine(p, limit, &line); p = line.Next) {
        if (!koIniHeaderLine(line, &open, &close)) continue;
        if (lastOpen && !visit(static_cast<uint32_t>(lastOpen - text),
                               static_cast<uint32_t>(lastClose - lastOpen) + 1,
                               static_cast<uint32_t>(line.Start - text)))
            return;
        lastOpen = open;
        lastClose = close;
    }
    if (lastOpen)
        visit(static_cast<uint32_t>(lastOpen - text),
              static_cast<uint32_t>(lastClose - lastOpen) + 1, length);
}

// Walks the headers the section search accepts, calling visit(start, length, end) for each.
template <typename Visit>
void walkHeaders(const char* text, uint32_t length, bool compatible, Visit visit) {
    if (compatible) {
        walkHeaderLines(text, length, visit);
        return;
    }
    const char* limit = text + length;
    for (const char* p = text; p < limit;) {
        const char* open =
            static_cast<const char*>(std::memchr(p, '[', static_cast<std::size_t>(limit - p)));
        if (!open) return;
        const char* close = static_cast<const char*>(
            std::memchr(open, ']', static_cast<std::size_t>(limit - open)));
        if (!close) return;
        bool commented = open > text && (open[-1] == ';' || open[-1] == '#');
        bool atLineStart = open == p || open[-1] == '\n';
        if (!commented && atLineStart) {
            const char* next = static_cast<const char*>(
                std::memchr(close + 1, '[', static_cast<std::size_t>(limit - close - 1)));
            if (!visit(static_cast<uint32_t>(open - text), static_cast<uint32_t>(close - open) + 1,
                       static_cast<uint32_t>((next ? next : limit) - text)))
                return;
        }
        p = close + 1;
    }
}

} // namespace

bool koIniSameName(const char* a, const char* b, uint32_t length) {
    for (uint32_t i = 0; i < length; ++i)
        if (fold(static_cast<unsigned char>(a[i])) != fold(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

KoIniSectionIndex* koIniBuildIndex(const char* text, uint32_t length, bool compatible) {
    uint32_t headers = 0;
    walkHeaders(text, length, compatible,
                [&](uint32_t, uint32_t, uint32_t) { return ++headers <= MAX_HEADERS; });
    if (headers > MAX_HEADERS) return nullptr;
    uint32_t slots = 16;
    while (slots < headers * 2) slots <<= 1;
    KoIniSectionIndex* index =
        static_cast<KoIniSectionIndex*>(ramCalloc(sizeof(KoIniSectionIndex)));
    if (!index) return nullptr;
    index->Mask = slots - 1;
    index->Slots = static_cast<uint32_t*>(ramCalloc(sizeof(uint32_t) * slots));
    uint32_t columns = headers ? headers : 1;
    index->Starts = static_cast<uint32_t*>(ramMalloc(sizeof(uint32_t) * columns));
    index->Lengths = static_cast<uint32_t*>(ramMalloc(sizeof(uint32_t) * columns));
    index->Ends = static_cast<uint32_t*>(ramMalloc(sizeof(uint32_t) * columns));
    index->Hashes = static_cast<uint32_t*>(ramMalloc(sizeof(uint32_t) * columns));
    if (!index->Slots || !index->Starts || !index->Lengths || !index->Ends || !index->Hashes) {
        koIniFreeIndex(index);
        return nullptr;
    }
    uint32_t count = 0;
    walkHeaders(text, length, compatible, [&](uint32_t start, uint32_t headerLength, uint32_t end) {
        uint32_t hash = hashName(text + start, headerLength);
        uint32_t slot = hash & index->Mask;
        for (; index->Slots[slot]; slot = (slot + 1) & index->Mask) {
            uint32_t other = index->Slots[slot] - 1;
            if (index->Hashes[other] == hash && index->Lengths[other] == headerLength &&
                koIniSameName(text + index->Starts[other], text + start, headerLength))
                return true; // the first header of a name is the one the search finds
        }
        index->Starts[count] = start;
        index->Lengths[count] = headerLength;
        index->Ends[count] = end;
        index->Hashes[count] = hash;
        index->Slots[slot] = ++count;
        return true;
    });
    return index;
}

void koIniFreeIndex(KoIniSectionIndex* index) {
    if (!index) return;
    ramFree(index->Slots);
    ramFree(index->Starts);
    ramFree(index->Lengths);
    ramFree(index->Ends);
    ramFree(index->Hashes);
    ramFree(index);
}

bool koIniFindSection(const KoIniSectionIndex* index, const char* text, const char* header,
                      uint32_t headerLength, uint32_t* start, uint32_t* end) {
    uint32_t hash = hashName(header, headerLength);
    for (uint32_t slot = hash & index->Mask; index->Slots[slot]; slot = (slot + 1) & index->Mask) {
        uint32_t i = index->Slots[slot] - 1;
        if (index->Hashes[i] == hash && index->Lengths[i] == headerLength &&
            koIniSameName(text + index->Starts[i], header, headerLength)) {
            *start = index->Starts[i];
            *end = index->Ends[i];
            return true;
        }
    }
    return false;
}
