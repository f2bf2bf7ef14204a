// KoKeywordList: a client's packed keyword table. Each entry is a NUL-terminated keyword
// followed directly by its 16-bit number (host byte order, unaligned); an empty keyword (a
// lone NUL) ends the table. Numbers lie in 100 to 999 (RED_KEYWORD_START .. RED_KEYWORD_END).
#pragma once

#include <cstdint>
#include "kolib/object.h"

class KO_API KoKeywordList : public KoObject {
public:
    // Copies the table; a failed copy leaves the list empty (lookup finds nothing).
    explicit KoKeywordList(const char* table);
    ~KoKeywordList() override;
    KoKeywordList(const KoKeywordList&) = delete;
    KoKeywordList& operator=(const KoKeywordList&) = delete;

    // Replaces the table by a copy of `table`: 0, or 1 when the copy cannot be allocated.
    unsigned init(const char* table);
    // 0 with the number of the first keyword equal to `word` (case-insensitive unless
    // CaseSensitiveCompare), or 1 when none is.
    unsigned lookup(const char* word, short* number) const;
    void setCaseSensitiveCompare(int flag) { CaseSensitiveCompare = flag; }

    char* Keywords; // owned
    int CaseSensitiveCompare;

private:
    // Keywords of length 0 to GROUPS - 2 have a group each; the last takes all longer ones.
    static const unsigned GROUPS = 33;
    static unsigned groupOf(unsigned long length) {
        return length < GROUPS - 1 ? static_cast<unsigned>(length) : GROUPS - 1;
    }
    uint32_t* ByLength;              // owned: entry offsets grouped by length, each in table order
    uint32_t GroupStart[GROUPS + 1]; // where each group begins in ByLength
};
