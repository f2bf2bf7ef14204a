// The SQL-oriented tokeniser (buttoken) and the growth helper butxpand. A token is written
// as a kind byte followed by its text; the writer below applies the length limit of the
// output buffer and, when the caller asks for it, moves an over-long token once into an
// allocated buffer whose address it leaves in the output (layout in kolib/tokenizer.h).
#include <cstring>
#include "kolib/errors.h"
#include "kolib/mbchar.h"
#include "kolib/memory.h"
#include "kolib/tokenizer.h"
#include "text/text_chars.h"

using namespace kotext;

namespace {

enum { MAX_DIALECT = 6 };

inline bool isDigit(unsigned char c) {
    return c >= '0' && c <= '9';
}
inline bool isAsciiLetter(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Collects the token text, enforcing the output's size.
class TokenWriter {
public:
    TokenWriter(char* out, unsigned long outSize, unsigned short flags, bool unlimited)
        : Out(out), OutSize(outSize), Flags(flags), Text(out + 1), Unlimited(unlimited) {}
    ~TokenWriter() { ramFree(Extension); }
    TokenWriter(const TokenWriter&) = delete;
    TokenWriter& operator=(const TokenWriter&) = delete;

    // Appends the n bytes at `at`; `rest` is the input not yet consumed (it bounds the size of
    // an extension). False after an error has been added.
    bool put(const unsigned char* at, unsigned n, const unsigned char* rest) {
        if (Unlimited || Length + n + 2 <= OutSize) {
            std::memcpy(Text + Length, at, n);
            Length += n;
            return true;
        }
        if (Skipping) return true;
        if ((Flags & BUT_TOKEN_EXTEND) && OutSize >= 2 + sizeof(char*)) {
            unsigned long size = std::strlen(reinterpret_cast<const char*>(rest)) + OutSize + 1;
            Extension = static_cast<char*>(ramMalloc(size));
            if (!Extension) {
                KoErrorKeeper::addMemoryError();
                return false;
            }
            std::memcpy(Extension, Text, Length);
            Text = Extension;
            Unlimited = true; // the extension holds the rest of the input: no further limit
            std::memcpy(Text + Length, at, n);
            Length += n;
            return true;
        }
        if (Flags & BUT_TOKEN_TRUNCATE) {
            Skipping = true;
            return true;
        }
        fail(2700);
        return false;
    }

    // Adds error `number` with the token so far as its parameter.
    void fail(unsigned short number) {
        Text[Length] = 0;
        addError(number) << static_cast<const char*>(Text);
    }

    void finish(unsigned char kind) {
        Text[Length] = 0;
        if (kind <= MAX_DIALECT && !(Flags & BUT_TOKEN_KEEP_CASE)) strUpper(Text);
        Out[0] = static_cast<char>(kind);
        bool pointerRoom = (Flags & BUT_TOKEN_EXTEND) && OutSize >= 2 + sizeof(char*);
        if (Extension) {
            Out[1] = 0;
            std::memcpy(Out + 2, &Extension, sizeof(char*)); // handed to the caller
            Extension = nullptr;
        } else if (Length == 0 && pointerRoom) {
            char* none = nullptr;
            std::memcpy(Out + 2, &none, sizeof(char*));
        }
    }

private:
    char* Out;
    unsigned long OutSize;
    unsigned short Flags;
    char* Text;
    unsigned long Length = 0;
    bool Unlimited;
    bool Skipping = false;
    char* Extension = nullptr;
};

class Tokenizer {
public:
    Tokenizer(const unsigned char* input, unsigned dialect, TokenWriter& w)
        : P(input), Dialect(dialect), W(w) {}

    // Scans one token; false after an error. Sets Kind and leaves P behind the token.
    bool scan();

    const unsigned char* P;
    unsigned char Kind = BUT_KIND_END;

private:
    unsigned size(const unsigned char* s) { return charSize(Mode, s); }
    bool copy(unsigned n) {
        bool ok = W.put(P, n, P);
        P += n;
        return ok;
    }
    bool copyChar() { return copy(size(P)); }
    bool isMultiByte(const unsigned char* s) { return *s >= 0x80 && size(s) > 1; }
    // A single-byte letter of the locale, or "_".
    bool isNameStart(const unsigned char* s) {
        if (*s < 0x80) return isAsciiLetter(*s) || *s == '_';
        return size(s) == 1 && koIsAlpha(s);
    }
    bool isNameChar(const unsigned char* s) {
        return isNameStart(s) || isDigit(*s) || isMultiByte(s);
    }
    bool copyName(const char* extra) {
        while (*P && (isNameChar(P) || (extra && *P < 0x80 && std::strchr(extra, *P))))
            if (!copyChar()) return false;
        return true;
    }
    bool scanWord();
    bool scanLiteral();
    bool scanNumber();
    bool scanHashName();
    bool scanEscapeClause();

    unsigned Dialect;
    TokenWriter& W;
    LazyCharMode Mode;
};

bool Tokenizer::scanWord() {
    Kind = BUT_KIND_WORD;
    bool quoted = false;
    while (*P) {
        unsigned char c = *P;
        if (!quoted && (c < 33 || std::strchr(",()|", c))) break;
        if (c == '`') quoted = !quoted;
        if (!copyChar()) return false;
    }
    return true;
}

bool Tokenizer::scanLiteral() {
    Kind = BUT_KIND_LITERAL;
    unsigned char quote = *P;
    if (!copy(1)) return false;
    for (;;) {
        if (!*P) {
            W.fail(2703);
            return false;
        }
        if (*P == quote) {
            if (P[1] == quote) { // a doubled quote stands for one
                if (!W.put(&quote, 1, P)) return false;
                P += 2;
                continue;
            }
            return copy(1);
        }
        if (!copyChar()) return false;
    }
}

bool Tokenizer::scanNumber() {
    Kind = Dialect == 4 ? 4 : BUT_KIND_INTEGER;
    bool decimal = false;
    if (*P == '.') { // "." followed by a digit
        Kind = BUT_KIND_DECIMAL;
        decimal = true;
        if (!copy(1)) return false;
    }
    for (;;) {
        if (isDigit(*P)) {
            if (!copy(1)) return false;
        } else if (*P == '.' && !decimal) {
            // In dialect 3 a "." before a letter starts the next (dotted) token.
            if (Dialect == 3 && isNameStart(P + 1)) break;
            Kind = BUT_KIND_DECIMAL;
            decimal = true;
            if (!copy(1)) return false;
        } else {
            break;
        }
    }
    return true;
}

bool Tokenizer::scanHashName() {
    Kind = static_cast<unsigned char>(Dialect);
    while (*P) {
        if (*P == '\\' && P[1] && std::strchr("-+*/", P[1])) {
            ++P; // the backslash is dropped, the escaped character kept
            if (!copy(1)) return false;
        } else if (*P == '#' || *P == '$' || isNameChar(P)) {
            if (!copyChar()) return false;
        } else {
            break;
        }
    }
    return true;
}

bool Tokenizer::scanEscapeClause() {
    Kind = BUT_KIND_ESCAPE_CLAUSE;
    for (;;) {
        if (!*P) {
            W.fail(2703);
            return false;
        }
        bool closing = *P == '}';
        if (!copyChar()) return false;
        if (closing) return true;
    }
}

bool Tokenizer::scan() {
    while (*P && koIsWhiteSpace(P)) P += size(P);
    unsigned char c = *P;
    if (!c) {
        Kind = BUT_KIND_END;
        return true;
    }
    // A control byte that is not white space would end a word before it starts: it is a
    // one-character token of its own, as in every other dialect.
    if (Dialect == 1 && c >= 33 && !std::strchr(",()|", c)) return scanWord();
    if (c == '\'' || c == '`' || c == '"') return scanLiteral();
    if (isDigit(c) || (c == '.' && isDigit(P[1]))) return scanNumber();
    if (isNameStart(P)) {
        Kind = static_cast<unsigned char>(Dialect);
        return copyName(nullptr);
    }
    if (c == '#' && (Dialect == 2 || Dialect == 6)) return scanHashName();
    if (c == '.' && Dialect == 3) {
        Kind = 3;
        return copy(1) && copyName(".");
    }
    if (c == ':' && Dialect == 4) {
        Kind = 4;
        return copy(1) && copyName(":.");
    }
    if (c == '{') return scanEscapeClause();
    static const char* const PAIRS[] = {"||", "<>", "<=", ">=", "!=", "!<", "!>", "**", "*=", "=*"};
    for (const char* pair : PAIRS)
        if (c == static_cast<unsigned char>(pair[0]) &&
            P[1] == static_cast<unsigned char>(pair[1])) {
            Kind = BUT_KIND_OPERATOR;
            return copy(2);
        }
    if (c == '(' && P[1] == '+' && P[2] == ')') {
        Kind = BUT_KIND_OUTER_JOIN;
        return copy(3);
    }
    if (c == '?') {
        Kind = BUT_KIND_PARAMETER;
        if (!copy(1)) return false;
        return isNameStart(P) ? copyName(nullptr) : true;
    }
    if (isMultiByte(P)) {
        Kind = 0;
        return copyName(nullptr);
    }
    Kind = BUT_KIND_CHARACTER;
    return copyChar(); // at least one byte: every call makes progress
}

} // namespace

unsigned buttoken(char* out, const char** cursor, unsigned short flags, unsigned long outSize) {
    if (!out || outSize < 2) return 1;
    unsigned dialect = flags & BUT_TOKEN_DIALECT_MASK;
    if (dialect > MAX_DIALECT) dialect = 0;
    const unsigned char* input = bytes(cursor && *cursor ? *cursor : "");
    // Dialects 4 and 6 apply no limit: the caller sizes out for the whole token there.
    TokenWriter writer(out, outSize, flags, dialect == 4 || dialect == 6);
    Tokenizer tokenizer(input, dialect, writer);
    if (!tokenizer.scan()) return 1;
    writer.finish(tokenizer.Kind);
    if (cursor && *cursor) *cursor = reinterpret_cast<const char*>(tokenizer.P);
    return 0;
}

unsigned butxpand(char** buffer, char** cursor, unsigned short* size, unsigned short need) {
    // 16-bit arithmetic: a step or size past 65535 wraps, intended.
    uint16_t step = static_cast<uint16_t>(need / 512 * 512 + 512);
    if (!*buffer) {
        char* block = static_cast<char*>(ramMalloc(step));
        if (!block) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        *buffer = block;
        *cursor = block;
        *size = step;
        return 0;
    }
    long used = *cursor - *buffer;
    if (static_cast<long>(*size) - used >= static_cast<long>(need)) return 0;
    uint16_t grown = static_cast<uint16_t>(*size + step);
    void* block = *buffer;
    if (ramResize(&block, grown)) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    *buffer = static_cast<char*>(block);
    *cursor = *buffer + used;
    *size = grown;
    return 0;
}
