// KoScanner: cuts a counted byte string (single- or multi-byte text in the current locale)
// into tokens, one getToken at a time, without copying: every token is a view into the
// scanned text plus its scan code. The scanner never reads past the given length, keeps byte
// offsets only, and reports nothing by message: an unclosed quote or group is
// C_LITERAL_NOT_CLOSED, an unknown character C_SYMBOL, the end C_EOS (repeatedly).
#pragma once

#include <cstdint>
#include "kolib/kostring.h"
#include "kolib/token.h"

class KoArray;

class KO_API KoScanner : public KoObject {
public:
    KoScanner();
    KoScanner(const char* text, unsigned long length);
    explicit KoScanner(const char* text); // NUL-terminated
    explicit KoScanner(const KoSubString* text);
    explicit KoScanner(const KoSubString& text);
    // Scans the string's text; the editing operations work on it.
    explicit KoScanner(KoString* text);
    ~KoScanner() override;
    KoScanner(const KoScanner&) = delete;
    KoScanner& operator=(const KoScanner&) = delete;

    // New text from offset 0, DecimalOk on; quotes and character sets are kept.
    void setScanString(const char* text, unsigned long length);
    void setScanString(KoString* text);
    void resetToBeginning() {
        NextIndex = 0;
        EndOfString = 0;
    }
    // Quotes ', " and `; bracket and paren matching, comments and the client pair off.
    void setDefaultQuotes();
    // A 0 disables its slot.
    void setQuotingChars(unsigned short q1, unsigned short q2, unsigned short q3) {
        Quote1 = q1;
        Quote2 = q2;
        Quote3 = q3;
    }

    unsigned long getCurrentPosition() const { return NextIndex; }
    // 1 (nothing changes) unless pos is below the length; EndOfString is not touched.
    unsigned setCurrentPosition(unsigned long pos);
    unsigned long getStrLen() const { return StrLen; }
    const char* getString() const { return Str; }

    // Reads the next token and returns its type.
    ScanCode getToken(KoToken& token, SearchType search = TOKEN_NORMAL);
    // Makes token the C_NONE token over `length` bytes at `offset`, without moving.
    void getToken(KoToken& token, unsigned long offset, unsigned long length);
    // Moves back to the start of token.
    void unGetToken(const KoToken& token) {
        NextIndex = token.BegOfToken;
        EndOfString = 0;
    }
    // The next value up to an unquoted, ungrouped delimiter (not consumed), trailing white
    // space cut: C_VALUE; an empty C_NONE token when the delimiter comes first; C_EOS at the
    // end.
    ScanCode getDelimitedToken(KoToken& token, unsigned short delimiter);
    // Empties `array` (deleting its contents) and adds one new KoSubString view (KoString
    // copy) per delimited value of the rest of the text: an empty text gives one empty item,
    // "a,,b" gives "a", "" and "b". 1 when memory runs out (the items so far stay).
    unsigned parseList(KoArray* array, unsigned short delimiter);
    unsigned parseListKoString(KoArray* array, unsigned short delimiter);

    // Editing of the KoString the scanner was built on; the token is re-aimed at its new
    // text and the scan position moves with the change. Nonzero on failure (also when the
    // scanner is not on a KoString).
    unsigned changeToken(KoToken& token, const char* text);
    unsigned insertToken(KoToken& token, const char* text);
    unsigned removeToken(KoToken& token) { return changeToken(token, ""); }

    // Phrase matching: the phrase's words (split at single blanks) against token and the
    // tokens after it. On a match token is extended over the words read and the scanner
    // stays behind them; otherwise nothing moves.
    int isEqual(KoToken& token, const char* phrase);
    int isEqualCi(KoToken& token, const char* phrase);
    // `list` is NUL-terminated phrases ended by an empty one; tried in order.
    int isInSet(KoToken& token, const char* list);
    int isInSetCi(KoToken& token, const char* list);
    // Reads tokens until one matches the phrase (1) or the text ends (0); they stay read.
    int isTokenWithin(const char* phrase);
    int isTokenWithinCi(const char* phrase);
    // Where text occurs in the whole scanned string, or null.
    char* isSubString(const char* text) const;
    char* isSubStringCi(const char* text) const;

    // Identifier overrides: characters that may start (continue) an identifier besides
    // letters, digits and "_". A first character is never skipped as white space. 1 when
    // the set cannot be copied (the old one is then empty).
    unsigned setValidFirstChars(const char* set);
    unsigned setValidMiddleChars(const char* set);
    unsigned setValidChars(const char* set);
    void resetValidChars();
    // A non-empty invalid set turns the rule around: every character not in it starts and
    // continues an identifier.
    unsigned setInvalidChars(const char* set);
    void resetInvalidChars() { InvalidChars.unInitialize(); }

    // A client pair read as a balanced group (open 0xFFFF: none).
    void setMatchingChars(unsigned short open, unsigned short close) {
        OpenCharacter = open;
        CloseCharacter = close;
    }
    void resetMatchingChars() { OpenCharacter = 0xFFFF; }
    void setMatchBrackets() { MatchBrackets = 1; }
    void resetMatchBrackets() { MatchBrackets = 0; }
    void setMatchParens() { MatchParens = 1; }
    void resetMatchParens() { MatchParens = 0; }
    void setParseComments() { ParseComments = 1; }
    void resetParseComments() { ParseComments = 0; }
    void setDecimalOk() { DecimalOk = 1; }
    void resetDecimalOk() { DecimalOk = 0; }

    // The operator table; each two-character operator stands right behind the one-character
    // operator that is its first character, and the lookup relies on that order.
    static const OperatorInfo Operators[];
    static const unsigned OperatorCount;

    const char* Str; // not owned
    uint32_t StrLen;
    uint16_t Quote1;
    uint16_t Quote2;
    uint16_t Quote3;
    uint32_t NextIndex;
    uint32_t MatchBrackets : 1;
    uint32_t MatchParens : 1;
    KoString* ChangeString; // not owned
    KoString FirstChars;
    KoString MiddleChars;
    KoString InvalidChars;
    uint16_t OpenCharacter;
    uint16_t CloseCharacter;
    uint32_t ParseComments : 1;
    uint32_t DecimalOk : 1;
    uint32_t EndOfString : 1;
    uint16_t SymbolLength; // bytes of the character last read; 0 after the end

protected:
    // One character: its address, advancing past it; null (EndOfString set) at the end.
    const char* getSymbol();
    void unGetSymbol() {
        NextIndex -= SymbolLength;
        SymbolLength = 0;
        EndOfString = 0;
    }
    // The byte at NextIndex + n - 1, or 0 past the end.
    unsigned char lookAhead(unsigned n) const {
        unsigned long at = NextIndex + n - 1;
        return at < StrLen ? static_cast<unsigned char>(Str[at]) : 0;
    }
    // Tests of the character last read by getSymbol, at p.
    int isAlpha(const char* p) const;
    int isAlphaNum(const char* p) const;
    int isWhite(const char* p) const;
    int isOpenQuote(unsigned c) const { return c && (c == Quote1 || c == Quote2 || c == Quote3); }
    // The character last read as a number: its byte, or lead * 256 + trail.
    unsigned symbolCode(const char* p) const;

private:
    void init();
    int inSet(const KoString& set, const char* p) const;
    int continuesIdentifier(const char* p) const;
    // getToken character by character through getSymbol: every case.
    ScanCode walkToken(KoToken& token, SearchType search);
    // Pieces of getToken's byte-wise fast path.
    void endOfWord(uint32_t j);
    uint32_t quotedEnd(uint32_t j, unsigned quote);
    ScanCode commentFrom(KoToken& token, uint32_t j);
    // The steps of getToken; each adds what it reads to the token's extent.
    void readQuoted(KoToken& token, unsigned quote);
    void readGroup(KoToken& token, unsigned open, unsigned close, unsigned depth);
    void readComment(KoToken& token);
    void extend(KoToken& token);
    void readOperator(KoToken& token, unsigned c);
    void trimTrailingWhite(KoToken& token) const;
    unsigned phraseMatch(KoToken& token, const char* phrase, int ci);
    unsigned addListItem(KoArray* array, const KoToken& token, int copyText);
    unsigned parseAnyList(KoArray* array, unsigned short delimiter, int copyText);
};
