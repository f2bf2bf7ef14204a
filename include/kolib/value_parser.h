// KoValueParser: attribute strings of KEY=value pairs separated by a caller-chosen character
// ("DSN=sales;UID=ann;PWD='a;b'"). Pairs are kept in input order under case-insensitive keys;
// a key may be several words ("Data Source"); a leading bare "ODBC" is ignored; a repeated
// key is an error unless duplicates are allowed, except "Driver", whose repeats are always
// tolerated (the first value wins). Values keep their text as written, quotes included.
// A value that opens with "{" runs to the next "}" that is not doubled ("}}" stands for one
// "}"), separators and quote characters inside included; what follows the "}" up to the
// separator belongs to the value too. Elsewhere quotes work as in the scanner: a quote opens,
// the same quote closes, another quote character inside takes over.
// Look-ups go through an index beside the ordered pairs; the answers are the ones of a search
// from the first pair. Order is changed only through this class.
// The parser remembers which attributes the caller fetched, so that unknown or unused ones
// can be listed. Failures return 1 with the reason on the thread's error list: 2704 (syntax
// error at an offset), 2705 (the same in the string named by ErrorString), with 2706 (a
// repeated keyword) or 2707 (two synonymous keywords both given) appended.
#pragma once

#include <cstdint>
#include "kolib/bit_array.h"
#include "kolib/kostring.h"
#include "kolib/scanner.h"
#include "kolib/seq_dictionary.h"

class KO_API KoValueParser : public KoObject {
public:
    // Nothing is parsed yet; the text must outlive initialize. `errorString` (not owned)
    // names the string in error messages, or is null.
    KoValueParser(const KoSubString& text, char separator, const char* errorString = nullptr,
                  int allowDuplicates = 0);
    ~KoValueParser() override;
    KoValueParser(const KoValueParser&) = delete;
    KoValueParser& operator=(const KoValueParser&) = delete;

    // Parses the whole text: 0, or 1 with the error on the list. A value that ends in a
    // multi-byte character cut short by the end of the text, so that it would take the
    // separator into it when rebuilt, is a syntax error (2704/2705) at that value.
    unsigned initialize();

    void setQuotingChars(unsigned short q1, unsigned short q2, unsigned short q3) {
        Scanner.setQuotingChars(q1, q2, q3);
    }
    // Extra characters for keywords (first and middle), e.g. "-".
    unsigned setValidChars(const char* set) { return Scanner.setValidChars(set); }
    void resetValidChars() { Scanner.resetValidChars(); }

    // The value, or null when the key is absent; a found attribute is marked used.
    KoSubString* getAttributeValue(const KoSubString& key);
    KoSubString* getAttributeValue(const char* key);
    // Synonyms: the value of key1, else of key2 (null when neither is given). Both given:
    // error 2704/2705 with 2707 appended, and 1.
    unsigned getAttributeValue(const char* key1, const char* key2, KoSubString*& value);
    // Presence only; nothing is marked.
    int isAttributeValue(const char* key) const;

    unsigned long getCount() const { return Order.getCount(); }
    unsigned long getUnusedCount() const;
    void resetUnused() { SearchIndex = 0; }
    // The key of the next unused pair from the cursor on, or null at the end.
    KoSubString* getUnusedAttribute();
    // The key at index, or null past the end.
    KoSubString* getAttributeKey(unsigned long index) const;

    // Sets the value of key (or, when absent, of alternativeKey), else appends a new pair.
    // A value holding a quote character or the separator outside a leading brace group, or
    // one that would not read back as itself (an unclosed "{" at its start, white space at
    // either end), is stored in braces, each "}" doubled: "a;b}" becomes "{a;b}}}". A value
    // that is a closed brace group already ("{Ko Driver}") is stored as given. Fails (2704)
    // for a value ending in a multi-byte character cut short, and when memory runs out.
    unsigned addAttribute(const char* key, const char* value, const char* alternativeKey = nullptr);
    // Removes the pair (an absent key is no error).
    unsigned removeAttribute(const char* key);
    // Replaces out's text by KEY=value pairs in order, joined by the separator. Parsing the
    // result gives back exactly these pairs, for every value addAttribute took and every
    // parsed one (a parsed value whose quote or brace stayed open is stored in braces). This
    // holds for separators other than white space, quote characters, braces, "=" and
    // characters of keywords.
    unsigned buildString(KoString* out) const;

    void raiseParseError();
    unsigned attributeParse();
    unsigned keywordParse();
    unsigned valueParse();

    char Separator;
    const char* ErrorString; // not owned
    KoScanner Scanner;
    KoSeqDictionary Order; // KoString keys and values, owned
    KoToken Token;
    KoString* Keyword; // owned until handed to Order
    KoBitArray MarkArray;
    uint32_t SearchIndex; // as wide as the count
    uint32_t AllowDuplicates : 1;

private:
    uint32_t Leading : 1; // no attribute read yet: a bare "ODBC" here is dropped
    uint32_t* KeySlots;   // open-addressed index of Order: pair index + 1, 0 for a free slot
    uint32_t SlotCount;   // a power of two, or 0 before the first pair

    // The index of the first pair with the key (case-insensitive), or the count.
    unsigned long findKey(const KoSubString& key) const;
    // Room in the index for one more pair (memory error and 1 when it cannot grow).
    unsigned reserveKey();
    void indexKey(unsigned long index);
    void reindexKeys();
    // The stored form of a value: the text itself, or braced when it would not read back.
    KoString* storedValue(const char* text, unsigned long length, int parsed);
    // Reads the value behind "=" into Token, the scanner left on what follows it.
    void readValue();
    int isSeparator(const KoToken& token) const {
        return token.CurSize == 1 && token.Buf[0] == Separator;
    }
    void dropKeyword();
    void markUsed(unsigned long index);
    // Resizes MarkArray to one bit per pair (less the pair at removedIndex, when that is a
    // valid index), keeping the marks of the pairs that stay.
    unsigned syncMarks(unsigned long removedIndex);
};
