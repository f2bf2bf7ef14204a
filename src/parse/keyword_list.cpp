// KoKeywordList: an owned copy of the packed keyword table, searched linearly in table
// order (the first equal keyword wins). Entries are keyword, NUL, two bytes of number.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/keyword_list.h"
#include "kolib/strcompare.h"

KoKeywordList::KoKeywordList(const char* table) : Keywords(nullptr), CaseSensitiveCompare(0) {
    init(table);
}

KoKeywordList::~KoKeywordList() {
    ramFree(Keywords);
}

unsigned KoKeywordList::init(const char* table) {
    unsigned long size = 1; // the end mark
    if (table)
        for (const char* p = table; *p;) {
            unsigned long length = std::strlen(p);
            size += length + 3;
            p += length + 3;
        }
    char* copy = static_cast<char*>(ramMalloc(size));
    if (!copy) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    if (table)
        std::memcpy(copy, table, size);
    else
        copy[0] = '\0';
    ramFree(Keywords);
    Keywords = copy;
    return 0;
}

unsigned KoKeywordList::lookup(const char* word, short* number) const {
    if (!Keywords || !word) return 1;
    unsigned long wordLength = std::strlen(word);
    for (const char* p = Keywords; *p;) {
        unsigned long length = std::strlen(p);
        bool equal = CaseSensitiveCompare ? length == wordLength && !std::memcmp(p, word, length)
                                          : strEqualCi(p, length, word, wordLength);
        if (equal) {
            int16_t value;
            std::memcpy(&value, p + length + 1, sizeof value);
            *number = value;
            return 0;
        }
        p += length + 3;
    }
    return 1;
}
