// KoValueParser: attribute strings of KEY=value pairs separated by a caller-chosen character
// ("DSN=sales;UID=ann;PWD='a;b'"). Pairs are kept in input order under case-insensitive keys;
// a key may be several words ("Data Source"); a leading bare "ODBC" is ignored; a repeated
// key is an error unless duplicates are allowed, except "Driver", whose repeats are always
// tolerated (the first value wins). Values keep their text as written, quotes included.
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

    // Parses the whole text: 0, or 1 with the error on the list.
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
    // A value holding "'", the double quote or the separator is stored in single quotes.
    unsigned addAttribute(const char* key, const char* value, const char* alternativeKey = nullptr);
    // Removes the pair (an absent key is no error).
    unsigned removeAttribute(const char* key);
    // Replaces out's text by KEY=value pairs in order, joined by the separator.
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
    uint16_t SearchIndex;
    uint32_t AllowDuplicates : 1;

private:
    int isSeparator(const KoToken& token) const {
        return token.CurSize == 1 && token.Buf[0] == Separator;
    }
    void dropKeyword();
    void markUsed(unsigned long index);
    // Resizes MarkArray to one bit per pair (less the pair at removedIndex, when that is a
    // valid index), keeping the marks of the pairs that stay.
    unsigned syncMarks(unsigned long removedIndex);
};
