// KoKeywordList: an owned copy of the packed keyword table (entries: keyword, NUL, two bytes
// of number). The first equal keyword in table order wins. Only keywords of the word's own
// length can be equal to it (in either comparison), so the list keeps the entries' offsets
// grouped by length, each group in table order, and compares a word with its group alone.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/keyword_list.h"
#include "kolib/strcompare.h"

KoKeywordList::KoKeywordList(const char* table)
    : Keywords(nullptr), CaseSensitiveCompare(0), ByLength(nullptr), GroupStart() {
    init(table);
}

KoKeywordList::~KoKeywordList() {
    ramFree(Keywords);
    ramFree(ByLength);
}

unsigned KoKeywordList::init(const char* table) {
    unsigned long size = 1; // the end mark
    unsigned long count = 0;
    if (table)
        for (const char* p = table; *p; ++count) {
            unsigned long length = std::strlen(p);
            size += length + 3;
            p += length + 3;
        }
    char* copy = static_cast<char*>(ramMalloc(size));
    uint32_t* byLength = static_cast<uint32_t*>(ramMalloc((count ? count : 1) * sizeof(uint32_t)));
    if (!copy || !byLength) {
        ramFree(copy);
        ramFree(byLength);
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    if (table)
        std::memcpy(copy, table, size);
    else
        copy[0] = '\0';
    // Counting sort of the entries by length (the last group takes all longer ones).
    uint32_t start[GROUPS + 1] = {};
    for (const char* p = copy; *p; p += std::strlen(p) + 3) ++start[groupOf(std::strlen(p)) + 1];
    for (unsigned g = 0; g < GROUPS; ++g) start[g + 1] += start[g];
    std::memcpy(GroupStart, start, sizeof start);
    for (const char* p = copy; *p; p += std::strlen(p) + 3)
        byLength[start[groupOf(std::strlen(p))]++] = static_cast<uint32_t>(p - copy);
    ramFree(Keywords);
    ramFree(ByLength);
    Keywords = copy;
    ByLength = byLength;
    return 0;
}

unsigned KoKeywordList::lookup(const char* word, short* number) const {
    if (!Keywords || !word) return 1;
    unsigned long wordLength = std::strlen(word);
    unsigned group = groupOf(wordLength);
    for (uint32_t i = GroupStart[group]; i < GroupStart[group + 1]; ++i) {
        const char* p = Keywords + ByLength[i];
        unsigned long length = group < GROUPS - 1 ? wordLength : std::strlen(p);
        bool equal = CaseSensitiveCompare ? length == wordLength && !std::memcmp(p, word, length)
                                          : strEqualCi(p, length, word, wordLength);
        if (equal) {
            int16_t value;
            std::memcpy(&value, p + length + 1, sizeof value);
            *number = value;
            return 0;
        }
    }
    return 1;
}
