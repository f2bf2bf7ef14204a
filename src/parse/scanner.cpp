// KoScanner: construction, character reading and getToken. The scanner walks the counted
// text one character at a time through getSymbol, which never steps past StrLen (a
// multi-byte character cut by the end is taken as the bytes that are left). Classification
// of ASCII bytes is by table; other characters are converted to wide characters from
// exactly their own bytes and tested in the current locale. Most tokens of real text start
// with an ASCII byte and need no character set of the client's: getToken reads those bytes
// directly (a byte below 0x80 is a whole character in every locale, and only bytes from
// 0x80 up are sized by the locale), and leaves everything else to the walk.
#include <cstring>
#include <cwchar>
#include <cwctype>
#include "kolib/errors.h"
#include "kolib/mbchar.h"
#include "kolib/scanner.h"
#include "text/text_chars.h"

namespace {
enum : unsigned char { ASCII_WHITE = 1, ASCII_ALPHA = 2, ASCII_DIGIT = 4 };

struct AsciiClasses {
    unsigned char Bits[128];
    constexpr AsciiClasses() : Bits() {
        for (int c = 9; c <= 13; ++c) Bits[c] = ASCII_WHITE;
        Bits[' '] = ASCII_WHITE;
        for (int c = 'a'; c <= 'z'; ++c) Bits[c] = Bits[c - 32] = ASCII_ALPHA;
        Bits['_'] = ASCII_ALPHA;
        for (int c = '0'; c <= '9'; ++c) Bits[c] = ASCII_DIGIT;
    }
};
constexpr AsciiClasses ASCII;

// Byte classes of the fast path in getToken; bytes of 0x80 and above are left to the walk.
enum : unsigned char { BYTE_WALK = 0, BYTE_WHITE, BYTE_LETTER, BYTE_DIGIT, BYTE_OTHER };
struct ByteClasses {
    unsigned char Of[256];
    constexpr ByteClasses() : Of() {
        for (int c = 0; c < 128; ++c)
            Of[c] = ASCII.Bits[c] & ASCII_WHITE   ? BYTE_WHITE
                    : ASCII.Bits[c] & ASCII_ALPHA ? BYTE_LETTER
                    : ASCII.Bits[c] & ASCII_DIGIT ? BYTE_DIGIT
                                                  : BYTE_OTHER;
    }
};
constexpr ByteClasses BYTES;
// Letters, digits and "_" (ASCII only): what continues an identifier without further tests.
struct WordBytes {
    bool In[256];
    constexpr WordBytes() : In() {
        for (int c = 0; c < 128; ++c) In[c] = ASCII.Bits[c] & (ASCII_ALPHA | ASCII_DIGIT);
    }
};
constexpr WordBytes WORD;

// The wide character of the `size` bytes at p, or WEOF.
std::wint_t wideOf(const char* p, unsigned size) {
    wchar_t wc;
    std::mbstate_t state{};
    std::size_t r = std::mbrtowc(&wc, p, size, &state);
    return r == 0 || r > size ? WEOF : static_cast<std::wint_t>(wc);
}

inline bool isDigitByte(unsigned char c) {
    return c >= '0' && c <= '9';
}

// Characters that end a path.
inline bool isPathStop(unsigned c) {
    return c == ',' || c == '(' || c == ')' || c == '|';
}

const char EMPTY_TEXT[] = "";
} // namespace

const OperatorInfo KoScanner::Operators[] = {
    {C_QUESTION},      {C_COMMA},        {C_LEFT_PAREN},   {C_RIGHT_PAREN}, {C_PERIOD},
    {C_EQUAL},         {C_EQUAL_EQUAL},  {C_EQUAL_MULT},   {C_EQUAL_LESS},  {C_EQUAL_GREATER},
    {C_PLUS},          {C_PLUS_PLUS},    {C_AND},          {C_AND_AND},     {C_OR},
    {C_OR_OR},         {C_MINUS},        {C_MINUS_MINUS},  {C_DIVIDE},      {C_DIVIDE_DIVIDE},
    {C_MULT},          {C_MULT_MULT},    {C_MULT_EQUAL},   {C_GREATER},     {C_GREATER_EQUAL},
    {C_LESS},          {C_LESS_EQUAL},   {C_LESS_GREATER}, {C_NOT},         {C_NOT_EQUAL},
    {C_NOT_LESS},      {C_NOT_GREATER},  {C_SEMICOLON},    {C_COLON},       {C_OPEN_BRACKET},
    {C_CLOSE_BRACKET}, {C_DOLLAR},       {C_POUND},        {C_PERCENT},     {C_AT},
    {C_DOUBLE_QUOTE},  {C_SINGLE_QUOTE}, {C_BACK_QUOTE},   {C_NONE}};
const unsigned KoScanner::OperatorCount = 44;

namespace {
// The operator table by first byte: the one-character operator of each byte (C_NONE for
// none) and the two-character operators standing right behind it in the table, in order.
struct OperatorsByByte {
    struct Entry {
        uint16_t One;
        unsigned char Count;
        unsigned char Second[4];
        uint16_t Two[4];
    } At[256];
    OperatorsByByte() : At() {
        const OperatorInfo* ops = KoScanner::Operators;
        for (unsigned i = KoScanner::OperatorCount; i-- > 0;) {
            unsigned code = ops[i].TheScanCode;
            if (ops[i].getOpLen() != 1 || code == C_NONE) continue;
            Entry& e = At[code];
            e.One = static_cast<uint16_t>(code);
            e.Count = 0;
            for (unsigned k = i + 1; k < KoScanner::OperatorCount && ops[k].getOpLen() == 2 &&
                                     ops[k].getFirstSymbol() == code && e.Count < 4;
                 ++k) {
                e.Second[e.Count] = static_cast<unsigned char>(ops[k].getSecondSymbol());
                e.Two[e.Count++] = static_cast<uint16_t>(ops[k].TheScanCode);
            }
        }
    }
};

const OperatorsByByte& operatorsByByte() {
    static const OperatorsByByte table; // built on first use: safe during static init
    return table;
}
} // namespace

KoScanner::KoScanner() {
    init();
}

KoScanner::KoScanner(const char* text, unsigned long length) {
    init();
    setScanString(text, length);
}

KoScanner::KoScanner(const char* text) {
    init();
    setScanString(text, text ? std::strlen(text) : 0);
}

KoScanner::KoScanner(const KoSubString* text) {
    init();
    if (text) setScanString(text->Buf, text->CurSize);
}

KoScanner::KoScanner(const KoSubString& text) {
    init();
    setScanString(text.Buf, text.CurSize);
}

KoScanner::KoScanner(KoString* text) {
    init();
    setScanString(text);
}

KoScanner::~KoScanner() = default;

void KoScanner::init() {
    Str = EMPTY_TEXT;
    StrLen = 0;
    NextIndex = 0;
    ChangeString = nullptr;
    DecimalOk = 1;
    EndOfString = 0;
    SymbolLength = 0;
    setDefaultQuotes();
}

void KoScanner::setScanString(const char* text, unsigned long length) {
    Str = text ? text : EMPTY_TEXT;
    StrLen = text ? static_cast<uint32_t>(length) : 0;
    NextIndex = 0;
    DecimalOk = 1;
    EndOfString = 0;
    SymbolLength = 0;
    ChangeString = nullptr;
}

void KoScanner::setScanString(KoString* text) {
    if (text)
        setScanString(text->Buf, text->CurSize);
    else
        setScanString(nullptr, 0);
    ChangeString = text;
}

void KoScanner::setDefaultQuotes() {
    setQuotingChars('\'', '"', '`');
    MatchBrackets = 0;
    MatchParens = 0;
    ParseComments = 0;
    OpenCharacter = 0xFFFF;
    CloseCharacter = 0xFFFF;
}

unsigned KoScanner::setCurrentPosition(unsigned long pos) {
    if (pos >= StrLen) return 1;
    NextIndex = static_cast<uint32_t>(pos);
    return 0;
}

void KoScanner::getToken(KoToken& token, unsigned long offset, unsigned long length) {
    token.initialize(Str + offset, length);
    token.TokenType = C_NONE;
    token.BegOfToken = static_cast<uint32_t>(offset);
}

const char* KoScanner::getSymbol() {
    if (NextIndex < StrLen) {
        const char* p = Str + NextIndex;
        unsigned size =
            static_cast<unsigned char>(*p) < 0x80 ? 1 : koCharSizeWithin(p, StrLen - NextIndex);
        SymbolLength = static_cast<uint16_t>(size);
        NextIndex += size;
        return p;
    }
    EndOfString = 1;
    SymbolLength = 0;
    return nullptr;
}

int KoScanner::isAlpha(const char* p) const {
    if (!p) return 0;
    unsigned char c = static_cast<unsigned char>(*p);
    if (c < 0x80) return ASCII.Bits[c] & ASCII_ALPHA;
    std::wint_t wc = wideOf(p, SymbolLength);
    return wc != WEOF && std::iswalpha(wc);
}

int KoScanner::isAlphaNum(const char* p) const {
    if (!p) return 0;
    unsigned char c = static_cast<unsigned char>(*p);
    if (c < 0x80) return ASCII.Bits[c] & (ASCII_ALPHA | ASCII_DIGIT);
    std::wint_t wc = wideOf(p, SymbolLength);
    return wc != WEOF && std::iswalnum(wc);
}

int KoScanner::isWhite(const char* p) const {
    unsigned char c = static_cast<unsigned char>(*p);
    if (c < 0x80) return ASCII.Bits[c] & ASCII_WHITE;
    std::wint_t wc = wideOf(p, SymbolLength);
    return wc != WEOF && std::iswspace(wc);
}

unsigned KoScanner::symbolCode(const char* p) const {
    const unsigned char* b = reinterpret_cast<const unsigned char*>(p);
    if (SymbolLength <= 1) return b[0];
    if (SymbolLength == 2) return (static_cast<unsigned>(b[0]) << 8) | b[1];
    return 0x10000; // longer characters equal no 16-bit character
}

int KoScanner::inSet(const KoString& set, const char* p) const {
    if (!set.Buf || !set.CurSize) return 0;
    if (SymbolLength == 1) {
        // A lone byte never matches a trail byte of a set member: step the set by characters.
        for (unsigned long i = 0; i < set.CurSize;) {
            unsigned size = koCharSizeWithin(set.Buf + i, set.CurSize - i);
            if (size == 1 && set.Buf[i] == *p) return 1;
            i += size;
        }
        return 0;
    }
    for (unsigned long i = 0; i < set.CurSize;) {
        unsigned size = koCharSizeWithin(set.Buf + i, set.CurSize - i);
        if (size == SymbolLength && !std::memcmp(set.Buf + i, p, size)) return 1;
        i += size;
    }
    return 0;
}

int KoScanner::continuesIdentifier(const char* p) const {
    if (InvalidChars.CurSize) return !inSet(InvalidChars, p);
    return isAlphaNum(p) || inSet(MiddleChars, p);
}

// The common case in one pass over the bytes: an ASCII first character, no identifier
// character sets, a plain search. It yields exactly what the character-by-character walk
// below yields (token, NextIndex, SymbolLength and EndOfString alike) and hands every other
// case to that walk, positioned on the token's first character.
ScanCode KoScanner::getToken(KoToken& token, SearchType search) {
    if (search != TOKEN_NORMAL || FirstChars.CurSize || InvalidChars.CurSize)
        return walkToken(token, search);
    const unsigned char* s = reinterpret_cast<const unsigned char*>(Str);
    uint32_t n = StrLen, i = NextIndex;
    while (i < n && BYTES.Of[s[i]] == BYTE_WHITE) ++i;
    NextIndex = i;
    if (i >= n) return walkToken(token, search);
    unsigned c = s[i];
    unsigned char kind = BYTES.Of[c];
    if (kind == BYTE_WALK || c == OpenCharacter) return walkToken(token, search);
    uint32_t j = i + 1; // behind the token so far
    getToken(token, i, 1);
    if (isOpenQuote(c)) {
        j = quotedEnd(j, c);
        token.TokenType = EndOfString ? C_LITERAL_NOT_CLOSED : C_LITERAL;
    } else if (kind == BYTE_LETTER) {
        token.TokenType = C_IDENTIFIER;
        while (j < n && WORD.In[s[j]]) ++j;
        if (j < n && (s[j] >= 0x80 || MiddleChars.CurSize)) {
            // What follows may still belong to the identifier: the walk decides.
            NextIndex = j;
            extend(token);
            j = NextIndex;
        } else {
            endOfWord(j);
        }
    } else if (kind == BYTE_DIGIT) {
        token.TokenType = C_NUMBER;
        while (j < n && BYTES.Of[s[j]] == BYTE_DIGIT) ++j;
        if (j < n && s[j] == '.' && DecimalOk) {
            NextIndex = j;
            extend(token); // a fraction
            j = NextIndex;
        } else {
            endOfWord(j);
        }
    } else {
        unsigned char next = j < n ? s[j] : 0;
        if ((c == '(' && MatchParens) || (c == '{' && MatchBrackets) ||
            (c == '.' && DecimalOk && isDigitByte(next))) {
            return walkToken(token, search);
        } else if (ParseComments && ((c == '-' && next == '-') || (c == '/' && next == '*'))) {
            token.TokenType = C_COMMENT;
            return commentFrom(token, j + 1);
        } else if (c == '(' && next == '+' && j + 1 < n && s[j + 1] == ')') {
            token.TokenType = C_OUTER_JOIN;
            j += 2;
            SymbolLength = 1;
        } else {
            // readOperator, with the next byte at hand
            SymbolLength = 1;
            const OperatorsByByte::Entry& e = operatorsByByte().At[c];
            token.TokenType = e.One == C_NONE ? C_SYMBOL : static_cast<ScanCode>(e.One);
            for (unsigned k = 0; k < e.Count; ++k)
                if (e.Second[k] == next) {
                    ++j;
                    token.TokenType = static_cast<ScanCode>(e.Two[k]);
                    break;
                }
        }
    }
    NextIndex = j;
    token.setTokenSize(j - i);
    return token.TokenType;
}

// A word (identifier or number) that ended at j: the walk read the character there (or met
// the end) and put it back.
void KoScanner::endOfWord(uint32_t j) {
    EndOfString = j >= StrLen;
    SymbolLength = 0;
}

// Where the quoted text that opened with quote (an ASCII byte) before `from` ends. A
// doubled quote stands for one quote inside; an unclosed text runs to the end and leaves
// EndOfString set.
uint32_t KoScanner::quotedEnd(uint32_t j, unsigned quote) {
    const unsigned char* s = reinterpret_cast<const unsigned char*>(Str);
    uint32_t n = StrLen;
    kotext::LazyCharMode mode;
    SymbolLength = 0;
    for (;;) {
        if (j >= n) {
            EndOfString = 1;
            return n;
        }
        unsigned char b = s[j];
        if (b >= 0x80) {
            j += kotext::charSize(mode, s + j, n - j);
        } else if (b != quote) {
            ++j;
        } else if (j + 1 < n && s[j + 1] == quote) {
            j += 2;
        } else {
            EndOfString = 0;
            return j + 1;
        }
    }
}

// A comment whose opening pair ends before j: "--" to the line feed (read, not part of
// it), "/*" to the first "*/" after the pair, or to the end of the text.
ScanCode KoScanner::commentFrom(KoToken& token, uint32_t j) {
    const unsigned char* s = reinterpret_cast<const unsigned char*>(Str);
    uint32_t n = StrLen;
    bool line = s[token.BegOfToken] == '-';
    kotext::LazyCharMode mode;
    uint32_t end = 0; // where a closed comment ends
    while (j < n && !end) {
        unsigned char b = s[j];
        if (b >= 0x80)
            j += kotext::charSize(mode, s + j, n - j);
        else if (line && b == '\n')
            end = j++;
        else if (!line && b == '*' && j + 1 < n && s[j + 1] == '/')
            end = j += 2;
        else
            ++j;
    }
    if (end) {
        SymbolLength = 1;
    } else {
        end = j;
        EndOfString = 1;
        SymbolLength = 0;
    }
    NextIndex = j;
    token.setTokenSize(end - token.BegOfToken);
    return token.TokenType;
}

ScanCode KoScanner::walkToken(KoToken& token, SearchType search) {
    const char* p;
    while ((p = getSymbol()) && isWhite(p) && !inSet(FirstChars, p)) {
    }
    if (!p) {
        getToken(token, NextIndex, 0);
        return token.TokenType = C_EOS;
    }
    unsigned long begin = NextIndex - SymbolLength;
    getToken(token, begin, SymbolLength);
    unsigned c = symbolCode(p);
    unsigned char next = lookAhead(1);

    if (isOpenQuote(c)) {
        token.TokenType = C_LITERAL;
        readQuoted(token, c);
    } else if (c == '(' && MatchParens) {
        token.TokenType = C_LITERAL;
        readGroup(token, '(', ')', 1);
    } else if (c == '{' && MatchBrackets) {
        token.TokenType = C_LITERAL;
        readGroup(token, '{', '}', 1);
    } else if (c == OpenCharacter) {
        token.TokenType = C_LITERAL;
        readGroup(token, OpenCharacter, CloseCharacter, 1);
    } else if (ParseComments && ((c == '-' && next == '-') || (c == '/' && next == '*'))) {
        token.TokenType = C_COMMENT;
        readComment(token);
        return token.TokenType;
    } else {
        if (search == TOKEN_PATH && !isPathStop(c))
            token.TokenType = C_PATH;
        else if (search == TOKEN_SQLWORD && (isAlpha(p) || c == '#'))
            token.TokenType = C_SQLWORD;
        else if (InvalidChars.CurSize && !inSet(InvalidChars, p))
            token.TokenType = C_IDENTIFIER;
        else if (isAlpha(p) || inSet(FirstChars, p))
            token.TokenType = C_IDENTIFIER;
        else if (isDigitByte(static_cast<unsigned char>(c)) && c < 0x80)
            token.TokenType = C_NUMBER;
        else if (c == '.' && DecimalOk && isDigitByte(next))
            token.TokenType = C_FRACTION;
        else if (c == '(' && next == '+' && lookAhead(2) == ')') {
            NextIndex += 2;
            token.TokenType = C_OUTER_JOIN;
        } else {
            readOperator(token, c);
        }
        if (token.TokenType >= C_IDENTIFIER && token.TokenType <= C_FRACTION) extend(token);
    }
    token.setTokenSize(NextIndex - begin);
    return token.TokenType;
}

void KoScanner::readQuoted(KoToken& token, unsigned quote) {
    for (;;) {
        const char* p = getSymbol();
        if (!p) {
            token.TokenType = C_LITERAL_NOT_CLOSED;
            return;
        }
        if (symbolCode(p) != quote) continue;
        // A doubled quote stands for one quote inside the literal.
        const char* again = getSymbol();
        if (again && symbolCode(again) == quote) continue;
        if (again) unGetSymbol();
        EndOfString = 0;
        return;
    }
}

void KoScanner::readGroup(KoToken& token, unsigned open, unsigned close, unsigned depth) {
    while (depth) {
        const char* p = getSymbol();
        if (!p) {
            token.TokenType = C_LITERAL_NOT_CLOSED;
            return;
        }
        unsigned c = symbolCode(p);
        if (isOpenQuote(c)) {
            readQuoted(token, c);
            if (token.TokenType == C_LITERAL_NOT_CLOSED) return;
        } else if (c == close) {
            --depth;
        } else if (c == open) {
            ++depth;
        }
    }
}

void KoScanner::readComment(KoToken& token) {
    unsigned long begin = token.BegOfToken;
    bool line = Str[begin] == '-';
    ++NextIndex; // the second character of the opening pair
    for (;;) {
        const char* p = getSymbol();
        if (!p) break;
        if (line && *p == '\n') {
            // The line feed is consumed but not part of the comment.
            token.setTokenSize(NextIndex - 1 - begin);
            return;
        }
        if (!line && *p == '*' && lookAhead(1) == '/') {
            ++NextIndex;
            break;
        }
    }
    token.setTokenSize(NextIndex - begin);
}

void KoScanner::extend(KoToken& token) {
    // Plain ASCII letters and digits continue identifiers and numbers whatever the character
    // sets say (the invalid set aside): step over them without the general tests.
    if ((token.TokenType == C_IDENTIFIER && !InvalidChars.CurSize) || token.TokenType == C_NUMBER) {
        unsigned char wanted =
            token.TokenType == C_NUMBER ? ASCII_DIGIT : (ASCII_ALPHA | ASCII_DIGIT);
        while (NextIndex < StrLen) {
            unsigned char c = static_cast<unsigned char>(Str[NextIndex]);
            if (c >= 0x80 || !(ASCII.Bits[c] & wanted)) break;
            ++NextIndex;
        }
    }
    for (;;) {
        const char* p = getSymbol();
        if (!p) return;
        unsigned char c = static_cast<unsigned char>(*p);
        bool single = SymbolLength == 1;
        bool goesOn;
        switch (token.TokenType) {
        case C_IDENTIFIER:
            goesOn = continuesIdentifier(p);
            break;
        case C_NUMBER:
            if (single && c == '.' && DecimalOk) {
                token.TokenType = C_FRACTION;
                goesOn = true;
            } else {
                goesOn = single && isDigitByte(c);
            }
            break;
        case C_FRACTION:
            goesOn = single && isDigitByte(c);
            // A fraction running up to the end of the text stays C_FRACTION: intended.
            if (!goesOn) token.TokenType = C_NUMBER;
            break;
        case C_PATH:
            goesOn = !(single && (c < 0x21 || isPathStop(c)));
            break;
        default: // C_SQLWORD
            goesOn = (single && (c == '#' || c == '$')) || isAlphaNum(p) || continuesIdentifier(p);
            break;
        }
        if (!goesOn) {
            unGetSymbol();
            return;
        }
    }
}

void KoScanner::readOperator(KoToken& token, unsigned c) {
    token.TokenType = C_SYMBOL;
    if (c >= 256) return;
    const OperatorsByByte::Entry& e = operatorsByByte().At[c];
    if (e.One == C_NONE) return; // also the table's end mark: no operator
    token.TokenType = static_cast<ScanCode>(e.One);
    unsigned char next = lookAhead(1);
    for (unsigned k = 0; k < e.Count; ++k)
        if (e.Second[k] == next) {
            ++NextIndex;
            token.TokenType = static_cast<ScanCode>(e.Two[k]);
            return;
        }
}

namespace {
unsigned copySet(KoString& set, const char* chars) {
    set.unInitialize();
    if (!chars || !*chars) return 0;
    if (set.initialize(chars)) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    return 0;
}
} // namespace

unsigned KoScanner::setValidFirstChars(const char* set) {
    return copySet(FirstChars, set);
}

unsigned KoScanner::setValidMiddleChars(const char* set) {
    return copySet(MiddleChars, set);
}

unsigned KoScanner::setValidChars(const char* set) {
    unsigned failed = copySet(FirstChars, set);
    return copySet(MiddleChars, set) | failed;
}

void KoScanner::resetValidChars() {
    FirstChars.unInitialize();
    MiddleChars.unInitialize();
}

unsigned KoScanner::setInvalidChars(const char* set) {
    return copySet(InvalidChars, set);
}
