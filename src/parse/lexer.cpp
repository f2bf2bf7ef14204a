// KoLexer: scanner tokens to terminal numbers. CurToken is the scanner token being
// delivered; for a split operator TokenIndex counts its characters delivered so far. While a
// literal is open, Scanner is a second scanner over the literal's inner text (no quotes, no
// decimal point) and LiteralToken the whole literal in the main text; the main scanner then
// stands behind the literal.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/lexer.h"

namespace {
// The terminal of a single character, or RED_NONE.
short terminalOf(unsigned char c) {
    switch (c) {
    case '!':
        return RED_BANG;
    case '#':
        return RED_POUND;
    case '$':
        return RED_DOLLAR;
    case '%':
        return RED_PERCENT;
    case '&':
        return RED_AMPERSAND;
    case '(':
        return RED_OPEN_PAREN;
    case ')':
        return RED_CLOSE_PAREN;
    case '*':
        return RED_STAR;
    case '+':
        return RED_PLUS;
    case ',':
        return RED_COMMA;
    case '-':
        return RED_MINUS;
    case '.':
        return RED_PERIOD;
    case '/':
        return RED_FOREWARD_SLASH;
    case ':':
        return RED_COLON;
    case ';':
        return RED_SEMICOLON;
    case '<':
        return RED_LESS_THAN;
    case '=':
        return RED_EQUAL;
    case '>':
        return RED_GREATER_THAN;
    case '?':
        return RED_HOOK;
    case '@':
        return RED_AT;
    case '`':
        return RED_ACC_GRAVE;
    case '{':
        return RED_OPEN_BRACE;
    case '|':
        return RED_OR;
    case '}':
        return RED_CLOSE_BRACE;
    case '"':
        return RED_DOUBLE_QUOTE;
    case '\'':
        return RED_SINGLE_QUOTE;
    default:
        return RED_NONE;
    }
}

// The terminal of a C_SYMBOL by its first byte, or RED_NONE.
short symbolTerminal(unsigned char c) {
    switch (c) {
    case '[':
        return RED_OPEN_BRACKET;
    case '\\':
        return RED_BACKWARD_SLASH;
    case ']':
        return RED_CLOSE_BRACKET;
    case '^':
        return RED_CARET;
    case '_':
        return RED_UNDERSCORE;
    case '~':
        return RED_TILDE;
    default:
        return RED_NONE;
    }
}

// Tokens delivered one character at a time.
inline bool isSplit(const KoToken& token) {
    return token.TokenType >= 256 || token.TokenType == C_OUTER_JOIN;
}

char* copyOrNull(const char* text) {
    return text ? ramAllocStr(text) : nullptr;
}

inline unsigned long endOf(const KoToken& token) {
    return token.BegOfToken + token.CurSize;
}
} // namespace

KoLexer::KoLexer(const char* text, KoKeywordList* keywords)
    : Scanner(nullptr), MainScanner(nullptr), LiteralScanner(nullptr), TokenString(nullptr),
      TokenIndex(0), KeywordList(keywords), FirstChars(nullptr), MiddleChars(nullptr),
      ValidChars(nullptr), TokenStringSize(0) {
    MainScanner = new KoScanner(text);
    if (!MainScanner) {
        KoErrorKeeper::addMemoryError();
        return;
    }
    MainScanner->resetDecimalOk();
    Scanner = MainScanner;
}

KoLexer::~KoLexer() {
    delete LiteralScanner;
    delete MainScanner;
    ramFree(TokenString);
    ramFree(FirstChars);
    ramFree(MiddleChars);
    ramFree(ValidChars);
}

void KoLexer::newString(const char* text) {
    closeLiteral();
    if (!MainScanner) return;
    MainScanner->setScanString(text, text ? std::strlen(text) : 0);
    MainScanner->resetDecimalOk();
    CurToken = KoToken();
    TokenIndex = 0;
}

void KoLexer::closeLiteral() {
    delete LiteralScanner;
    LiteralScanner = nullptr;
    Scanner = MainScanner;
}

unsigned KoLexer::setTokenString(const char* text, unsigned long length) {
    if (length + 1 > TokenStringSize) {
        void* grown = TokenString;
        if (ramResize(&grown, length + 1)) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        TokenString = static_cast<char*>(grown);
        TokenStringSize = length + 1;
    }
    if (length) std::memcpy(TokenString, text, length); // an empty token may have no text
    TokenString[length] = '\0';
    return 0;
}

KoScanner* KoLexer::newLiteralScanner(const KoToken& literal) {
    KoScanner* scanner = new KoScanner(literal.Buf + 1, literal.CurSize - 2);
    if (!scanner) return nullptr;
    scanner->resetDecimalOk();
    scanner->setQuotingChars(0, 0, 0);
    if ((FirstChars && scanner->setValidFirstChars(FirstChars)) ||
        (MiddleChars && scanner->setValidMiddleChars(MiddleChars)) ||
        (ValidChars && scanner->setValidChars(ValidChars))) {
        delete scanner;
        return nullptr;
    }
    return scanner;
}

unsigned KoLexer::setValidChars(const char* first, const char* middle, const char* valid) {
    ramFree(FirstChars);
    ramFree(MiddleChars);
    ramFree(ValidChars);
    FirstChars = copyOrNull(first);
    MiddleChars = copyOrNull(middle);
    ValidChars = copyOrNull(valid);
    unsigned failed = (first && !FirstChars) || (middle && !MiddleChars) || (valid && !ValidChars);
    if (failed) KoErrorKeeper::addMemoryError();
    if (MainScanner) {
        if (first) failed |= MainScanner->setValidFirstChars(first);
        if (middle) failed |= MainScanner->setValidMiddleChars(middle);
        if (valid) failed |= MainScanner->setValidChars(valid);
    }
    return failed;
}

unsigned KoLexer::thisToken(short* type, unsigned char** text, int advance) {
    short terminal = RED_NONE;
    unsigned failed = 0;
    if (isSplit(CurToken)) {
        unsigned long at = static_cast<unsigned long>(TokenIndex);
        if (at >= CurToken.CurSize) at = CurToken.CurSize - 1;
        unsigned char c = static_cast<unsigned char>(CurToken.Buf[at]);
        failed = setTokenString(CurToken.Buf + at, 1);
        if (CurToken.TokenType == C_OUTER_JOIN)
            // "(+)" is delivered as "(", "*", "(": a settled sequence, intended.
            terminal = at == 1 ? RED_STAR : RED_OPEN_PAREN;
        else
            terminal = terminalOf(c);
        TokenIndex = static_cast<int16_t>(at + 1);
        if (!advance && TokenIndex >= 1) --TokenIndex;
    } else {
        failed = setTokenString(CurToken.Buf, CurToken.CurSize);
        switch (CurToken.TokenType) {
        case C_NONE:
            terminal = RED_NONE;
            break;
        case C_EOS:
            terminal = RED_EOS;
            break;
        case C_LITERAL:
            terminal = RED_LITERAL;
            break;
        case C_LITERAL_NOT_CLOSED:
            terminal = RED_LITERAL_UNCLOSED;
            break;
        case C_NUMBER:
            terminal = RED_NUMBER;
            break;
        case C_IDENTIFIER:
            terminal = RED_IDENT;
            if (KeywordList && !failed) {
                short number;
                if (!KeywordList->lookup(TokenString, &number)) terminal = number;
            }
            break;
        case C_SYMBOL:
            terminal = symbolTerminal(static_cast<unsigned char>(CurToken.Buf[0]));
            if (terminal == RED_NONE) failed = 1;
            break;
        case C_PATH:
        case C_SQLWORD:
        case C_VALUE:
        case C_FRACTION:
        case C_COMMENT:
            failed = 1;
            break;
        default:
            terminal = CurToken.TokenType < 256
                           ? terminalOf(static_cast<unsigned char>(CurToken.TokenType))
                           : static_cast<short>(RED_NONE);
            if (terminal == RED_NONE) failed = 1;
            break;
        }
    }
    if (type) *type = terminal;
    if (text) *text = reinterpret_cast<unsigned char*>(TokenString);
    return failed;
}

unsigned KoLexer::nextToken(short* type, unsigned char** text) {
    if (!Scanner) {
        if (type) *type = RED_NONE;
        return 1;
    }
    bool inLiteral = tokenIsLiteral();
    bool firstRead = inLiteral && CurToken.TokenType != C_EOS && Scanner->getCurrentPosition() == 0;
    if (!(TokenIndex != 0 && static_cast<unsigned long>(TokenIndex) < CurToken.CurSize)) {
        Scanner->getToken(CurToken, TOKEN_NORMAL);
        TokenIndex = 0;
    }
    if (CurToken.TokenType == C_EOS && inLiteral) {
        unsigned failed;
        if (firstRead) {
            // An empty (or blank) literal yields an empty identifier before its closing quote.
            failed = setTokenString(LiteralToken.Buf + 1, LiteralToken.CurSize - 2);
            if (type) *type = RED_IDENT;
        } else {
            closeLiteral();
            CurToken = LiteralToken;
            TokenIndex = static_cast<int16_t>(CurToken.CurSize);
            failed = setTokenString(CurToken.Buf + CurToken.CurSize - 1, 1);
            if (type) *type = RED_QUOTE;
        }
        if (text) *text = reinterpret_cast<unsigned char*>(TokenString);
        return failed;
    }
    if (CurToken.TokenType != C_LITERAL || LiteralScanner) return thisToken(type, text, 1);

    // A literal on the main scanner opens: its quote now, its inner tokens next.
    KoScanner* literal = newLiteralScanner(CurToken);
    if (!literal) return thisToken(type, text, 1); // delivered whole: not reported
    LiteralScanner = literal;
    LiteralToken = CurToken;
    Scanner = LiteralScanner;
    unsigned failed = setTokenString(CurToken.Buf, 1);
    if (type) *type = RED_QUOTE;
    if (text) *text = reinterpret_cast<unsigned char*>(TokenString);
    return failed;
}

void KoLexer::backup() {
    if (!Scanner) return;
    if (tokenIsLiteral() && CurToken.TokenType == C_EOS) {
        // Back before the empty identifier of an empty literal.
        LiteralScanner->resetToBeginning();
        CurToken = LiteralToken;
        return;
    }
    if (tokenIsLiteral() && CurToken.TokenType == C_LITERAL) {
        // Back before the opening quote: the literal is read again from the main text.
        closeLiteral();
        MainScanner->unGetToken(LiteralToken);
        // An empty token at the literal's start, so that a position taken here returns here.
        MainScanner->getToken(CurToken, LiteralToken.BegOfToken, 0);
        TokenIndex = 0;
        return;
    }
    if (!LiteralScanner && CurToken.TokenType == C_LITERAL &&
        static_cast<unsigned long>(TokenIndex) == CurToken.CurSize) {
        // Back before the closing quote: the literal is open again, read to its end.
        KoScanner* literal = newLiteralScanner(CurToken);
        if (!literal) return;
        LiteralScanner = literal;
        LiteralToken = CurToken;
        Scanner = literal;
        literal->NextIndex = literal->StrLen;
        literal->getToken(CurToken, TOKEN_NORMAL);
        TokenIndex = 0;
        return;
    }
    if (TokenIndex > 0) --TokenIndex;
    if (TokenIndex == 0) {
        // Nothing of the token counts as read: an empty token at its start stands for that,
        // so that a position taken now also returns before the token.
        Scanner->unGetToken(CurToken);
        Scanner->getToken(CurToken, CurToken.BegOfToken, 0);
    }
}

unsigned KoLexer::getLiteralContents(unsigned char** text) {
    if (!tokenIsLiteral()) return 1;
    if (setTokenString(LiteralToken.Buf + 1, LiteralToken.CurSize - 2)) return 1;
    // Pass the inner terminals, leaving the lexer where reading them one by one would: on
    // the last of them, so that backup steps back exactly one terminal, with the closing
    // quote next. A blank literal ends as after its empty identifier.
    bool started = LiteralScanner->getCurrentPosition() != 0 && CurToken.TokenType != C_EOS;
    KoToken token, last;
    bool any = false;
    while (LiteralScanner->getToken(token, TOKEN_NORMAL) != C_EOS) {
        last = token;
        any = true;
    }
    if (any || started) {
        if (any) CurToken = last;
        TokenIndex = static_cast<int16_t>(isSplit(CurToken) ? CurToken.CurSize : 0);
        LiteralScanner->NextIndex = static_cast<uint32_t>(CurToken.BegOfToken + CurToken.CurSize);
        LiteralScanner->EndOfString = 0;
    } else {
        CurToken = token;
        TokenIndex = 0;
    }
    if (text) *text = reinterpret_cast<unsigned char*>(TokenString);
    return 0;
}

void KoLexer::getPosition(KoToken** token, short* tokenIndex, KoScanner** literalScanner,
                          KoToken* literalToken) {
    // At offset 0 nothing has been read from the current scanner yet. The end of an empty
    // literal is at offset 0 too, but there the empty identifier has been delivered.
    bool atStart = !Scanner || (Scanner->getCurrentPosition() == 0 && CurToken.TokenType != C_EOS);
    *token = atStart ? nullptr : new KoToken(CurToken);
    if (!atStart && !*token) KoErrorKeeper::addMemoryError();
    *tokenIndex = TokenIndex;
    *literalScanner = nullptr;
    if (tokenIsLiteral()) {
        *literalScanner = newLiteralScanner(LiteralToken);
        if (*literalScanner)
            (*literalScanner)->NextIndex = LiteralScanner->NextIndex;
        else
            KoErrorKeeper::addMemoryError();
    }
    if (literalToken) *literalToken = LiteralToken;
}

void KoLexer::setPosition(KoToken* token, short tokenIndex, KoScanner* literalScanner,
                          KoToken* literalToken) {
    closeLiteral();
    if (!MainScanner) return;
    if (literalScanner && literalToken) {
        LiteralScanner = newLiteralScanner(*literalToken);
        if (LiteralScanner) {
            LiteralToken = *literalToken;
            Scanner = LiteralScanner;
            MainScanner->NextIndex = static_cast<uint32_t>(endOf(LiteralToken));
            MainScanner->EndOfString = 0;
        }
    }
    TokenIndex = 0;
    if (!token) {
        Scanner->resetToBeginning();
        if (tokenIsLiteral()) {
            CurToken = LiteralToken;
            setTokenString(LiteralToken.Buf, 1); // the opening quote
        } else {
            CurToken = KoToken();
        }
        return;
    }
    // The scanner stands right behind the token last read.
    CurToken = *token;
    Scanner->NextIndex = static_cast<uint32_t>(endOf(CurToken));
    Scanner->EndOfString = 0;
    TokenIndex = tokenIndex;
    if (isSplit(CurToken) && TokenIndex > 0)
        setTokenString(CurToken.Buf + TokenIndex - 1, 1);
    else
        setTokenString(CurToken.Buf, CurToken.CurSize);
}
