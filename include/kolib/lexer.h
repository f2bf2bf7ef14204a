// KoLexer: the grammar machinery's terminals (ReductType) read from text through KoScanner.
// Identifiers are looked up in a KoKeywordList; two-character operators are delivered one
// character at a time; a quoted literal opens into RED_QUOTE, the terminals of its inner text
// and a closing RED_QUOTE, so that a grammar can describe what stands inside quotes. The
// lexer can step back one terminal (backup) and save and restore its whole position
// (getPosition / setPosition), which the backtracking parser relies on.
#pragma once

#include <cstdint>
#include "kolib/keyword_list.h"
#include "kolib/scanner.h"

// Terminal numbers shared by the lexer, compiled grammars, the parser and its clients.
// Keywords carry 100 to 999 and client productions 1000 to 32000; a number travels as a
// signed 16-bit value.
enum ReductType {
    RED_NONE = 0,
    RED_EOS = 1,
    RED_IDENT = 2,
    RED_LITERAL = 3,
    RED_LITERAL_UNCLOSED = 4,
    RED_NUMBER = 5,
    RED_SYMBOL = 6,
    RED_COMMENT = 7,
    RED_TILDE = 8,
    RED_ACC_GRAVE = 9,
    RED_BANG = 10,
    RED_AT = 11,
    RED_POUND = 12,
    RED_DOLLAR = 13,
    RED_PERCENT = 14,
    RED_CARET = 15,
    RED_AMPERSAND = 16,
    RED_STAR = 17,
    RED_OPEN_PAREN = 18,
    RED_CLOSE_PAREN = 19,
    RED_MINUS = 20,
    RED_UNDERSCORE = 21,
    RED_PLUS = 22,
    RED_EQUAL = 23,
    RED_OR = 24,
    RED_BACKWARD_SLASH = 25,
    RED_OPEN_BRACE = 26,
    RED_OPEN_BRACKET = 27,
    RED_CLOSE_BRACE = 28,
    RED_CLOSE_BRACKET = 29,
    RED_COLON = 30,
    RED_SEMICOLON = 31,
    RED_DOUBLE_QUOTE = 32,
    RED_SINGLE_QUOTE = 33,
    RED_LESS_THAN = 34,
    RED_COMMA = 35,
    RED_GREATER_THAN = 36,
    RED_PERIOD = 37,
    RED_HOOK = 38,
    RED_FOREWARD_SLASH = 39,
    RED_QUOTE = 40,
    RED_LITERAL_CONTENTS = 41,
    RED_ALPHANUM = 42,
    RED_PUNCTUATION_END = 99,
    RED_KEYWORD_START = 100,
    RED_KEYWORD_END = 999,
    RED_USER_START = 1000,
    RED_USER_END = 32000
};

class KO_API KoLexer : public KoObject {
public:
    // Reads NUL-terminated text (not copied; it must outlive the lexer). `keywords` is not
    // owned and may be null. Numbers never take a ".": "1.5" is 1, ".", 5.
    KoLexer(const char* text, KoKeywordList* keywords);
    ~KoLexer() override;
    KoLexer(const KoLexer&) = delete;
    KoLexer& operator=(const KoLexer&) = delete;

    // Re-aims the lexer at new text, closing any open literal.
    void newString(const char* text);
    void setKeywordList(KoKeywordList* keywords) { KeywordList = keywords; }

    // The next terminal: its number in *type, its text in *text (null allowed; valid until
    // the next call). 1 for a token without a terminal (a path, comment, fraction or an
    // unlisted symbol) or when memory runs out.
    unsigned nextToken(short* type, unsigned char** text);
    // Classifies CurToken; with advance 0 a split operator is only looked at.
    unsigned thisToken(short* type, unsigned char** text, int advance);
    // Steps back one terminal; only one step can be undone.
    void backup();

    KoScanner* getScanner() const { return Scanner; }
    // Quote characters of the current scanner; (0, 0, 0) turns literals off.
    void setLiteralQuoteChars(unsigned short q1, unsigned short q2, unsigned short q3) {
        if (Scanner) Scanner->setQuotingChars(q1, q2, q3);
    }
    // Character sets for identifiers (a null argument clears that set), applied to the main
    // scanner at once and to every literal opened later. 1 when a copy fails.
    unsigned setValidChars(const char* first, const char* middle, const char* valid);
    int tokenIsLiteral() const { return LiteralScanner && Scanner == LiteralScanner; }
    // The open literal's inner text (without quotes) in *text; the literal is then read to
    // its end, so the next terminal is the closing RED_QUOTE. 1 when no literal is open or
    // the copy fails.
    unsigned getLiteralContents(unsigned char** text);

    // Snapshot of the position; the caller owns *token and *literalScanner (either may be
    // null) and passes them back to setPosition, after which the lexer delivers the same
    // terminals again.
    void getPosition(KoToken** token, short* tokenIndex, KoScanner** literalScanner,
                     KoToken* literalToken);
    void setPosition(KoToken* token, short tokenIndex, KoScanner* literalScanner,
                     KoToken* literalToken);

    KoScanner* Scanner;        // the main or the literal scanner
    KoScanner* MainScanner;    // owned
    KoScanner* LiteralScanner; // owned; null unless a literal is open
    KoToken CurToken;
    KoToken LiteralToken; // the whole literal, quotes included, while one is open
    char* TokenString;    // owned copy of the last terminal's text
    int16_t TokenIndex;   // characters of a split operator delivered so far
    KoKeywordList* KeywordList;
    char* FirstChars; // owned copies, or null
    char* MiddleChars;
    char* ValidChars;

private:
    unsigned setTokenString(const char* text, unsigned long length);
    KoScanner* newLiteralScanner(const KoToken& literal);
    void closeLiteral();
    unsigned long TokenStringSize; // bytes allocated for TokenString
};
