// Scanner tokens: the scan codes and KoToken, a view into the scanned text with its type and
// byte offset. A token never owns text; it stays valid while the scanned text does not move.
#pragma once

#include <cstdint>
#include "kolib/substring.h"

// The type of a token. Two-character operators are first character * 256 + second.
enum ScanCode {
    C_NONE = 0,
    C_EOS = 1,
    C_IDENTIFIER = 2,
    C_LITERAL = 3,
    C_LITERAL_NOT_CLOSED = 4,
    C_NUMBER = 5,
    C_PATH = 6,
    C_SQLWORD = 7,
    C_VALUE = 8,
    C_FRACTION = 9,
    C_SYMBOL = 10,
    C_COMMENT = 11,
    C_OUTER_JOIN = 12,
    C_SEMICOLON = 59,
    C_COLON = 58,
    C_OPEN_BRACKET = 123,
    C_CLOSE_BRACKET = 125,
    C_DOLLAR = 36,
    C_PERIOD = 46,
    C_POUND = 35,
    C_LEFT_PAREN = 40,
    C_RIGHT_PAREN = 41,
    C_PERCENT = 37,
    C_AT = 64,
    C_QUESTION = 63,
    C_COMMA = 44,
    C_DOUBLE_QUOTE = 34,
    C_SINGLE_QUOTE = 39,
    C_BACK_QUOTE = 96,
    C_PLUS = 43,
    C_PLUS_PLUS = 11051,
    C_MINUS = 45,
    C_MINUS_MINUS = 11565,
    C_DIVIDE = 47,
    C_DIVIDE_DIVIDE = 12079,
    C_MULT = 42,
    C_MULT_MULT = 10794,
    C_MULT_EQUAL = 10813,
    C_GREATER = 62,
    C_GREATER_EQUAL = 15933,
    C_LESS = 60,
    C_LESS_EQUAL = 15421,
    C_LESS_GREATER = 15422,
    C_EQUAL = 61,
    C_EQUAL_EQUAL = 15677,
    C_EQUAL_MULT = 15658,
    C_EQUAL_LESS = 15676,
    C_EQUAL_GREATER = 15678,
    C_NOT = 33,
    C_NOT_EQUAL = 8509,
    C_NOT_LESS = 8508,
    C_NOT_GREATER = 8510,
    C_OR = 124,
    C_OR_OR = 31868,
    C_AND = 38,
    C_AND_AND = 9766
};

// What getToken looks for besides ordinary tokens.
enum SearchType { TOKEN_NORMAL = 0, TOKEN_PATH = 1, TOKEN_SQLWORD = 2 };

class KO_API KoToken : public KoSubString {
public:
    // An empty C_NONE token.
    KoToken() : TokenType(C_NONE), BegOfToken(0) {}
    // A C_NONE token over `length` bytes of text that start at byte `offset` of the scan.
    KoToken(const char* text, unsigned long length, unsigned long offset)
        : KoSubString(text, length), TokenType(C_NONE), BegOfToken(static_cast<uint32_t>(offset)) {}

    int hasToken() const { return TokenType != C_EOS; }
    ScanCode getTokenType() const { return TokenType; }
    unsigned long getBegOfToken() const { return BegOfToken; }
    operator ScanCode() const { return TokenType; }
    void incTokenSize(unsigned long n) {
        CurSize = CurByteSize = CurSize + static_cast<uint32_t>(n);
    }
    void setTokenSize(unsigned long n) { CurSize = CurByteSize = static_cast<uint32_t>(n); }

    ScanCode TokenType;
    uint32_t BegOfToken; // offset of the first byte in the scanned text
};

// One entry of the scanner's operator table: a one-character code (below 256) or a
// two-character code (first * 256 + second).
struct KO_API OperatorInfo {
    ScanCode TheScanCode;

    unsigned getOpLen() const { return TheScanCode < 256 ? 1 : 2; }
    unsigned getFirstSymbol() const {
        return getOpLen() == 1 ? static_cast<unsigned>(TheScanCode)
                               : static_cast<unsigned>(TheScanCode) >> 8;
    }
    unsigned getSecondSymbol() const { return static_cast<unsigned>(TheScanCode) & 0xFF; }
    ScanCode getScanCode() const { return TheScanCode; }
};
