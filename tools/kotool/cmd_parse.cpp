// kotool tokens TEXT: the scanner's tokens, one a line as "<type>\t<offset>\t<text>", with
// comments, bracket and paren groups recognised.
// kotool connstr [-s SEPARATOR] STRING: the KEY=value pairs of an attribute string, one a
// line, then the string rebuilt from them; or the worded error (with its offset).
// Exit status: 0 parsed, 1 the string has an error, 2 usage error.
#include <cstdio>
#include <cstring>
#include "commands.h"
#include "kolib/errors.h"
#include "kolib/scanner.h"
#include "kolib/value_parser.h"

namespace {
struct TypeName {
    ScanCode Code;
    const char* Name;
};

const TypeName TYPE_NAMES[] = {
    {C_NONE, "NONE"},
    {C_EOS, "EOS"},
    {C_IDENTIFIER, "IDENTIFIER"},
    {C_LITERAL, "LITERAL"},
    {C_LITERAL_NOT_CLOSED, "LITERAL_NOT_CLOSED"},
    {C_NUMBER, "NUMBER"},
    {C_PATH, "PATH"},
    {C_SQLWORD, "SQLWORD"},
    {C_VALUE, "VALUE"},
    {C_FRACTION, "FRACTION"},
    {C_SYMBOL, "SYMBOL"},
    {C_COMMENT, "COMMENT"},
    {C_OUTER_JOIN, "OUTER_JOIN"},
    {C_SEMICOLON, "SEMICOLON"},
    {C_COLON, "COLON"},
    {C_OPEN_BRACKET, "OPEN_BRACKET"},
    {C_CLOSE_BRACKET, "CLOSE_BRACKET"},
    {C_DOLLAR, "DOLLAR"},
    {C_PERIOD, "PERIOD"},
    {C_POUND, "POUND"},
    {C_LEFT_PAREN, "LEFT_PAREN"},
    {C_RIGHT_PAREN, "RIGHT_PAREN"},
    {C_PERCENT, "PERCENT"},
    {C_AT, "AT"},
    {C_QUESTION, "QUESTION"},
    {C_COMMA, "COMMA"},
    {C_DOUBLE_QUOTE, "DOUBLE_QUOTE"},
    {C_SINGLE_QUOTE, "SINGLE_QUOTE"},
    {C_BACK_QUOTE, "BACK_QUOTE"},
    {C_PLUS, "PLUS"},
    {C_PLUS_PLUS, "PLUS_PLUS"},
    {C_MINUS, "MINUS"},
    {C_MINUS_MINUS, "MINUS_MINUS"},
    {C_DIVIDE, "DIVIDE"},
    {C_DIVIDE_DIVIDE, "DIVIDE_DIVIDE"},
    {C_MULT, "MULT"},
    {C_MULT_MULT, "MULT_MULT"},
    {C_MULT_EQUAL, "MULT_EQUAL"},
    {C_GREATER, "GREATER"},
    {C_GREATER_EQUAL, "GREATER_EQUAL"},
    {C_LESS, "LESS"},
    {C_LESS_EQUAL, "LESS_EQUAL"},
    {C_LESS_GREATER, "LESS_GREATER"},
    {C_EQUAL, "EQUAL"},
    {C_EQUAL_EQUAL, "EQUAL_EQUAL"},
    {C_EQUAL_MULT, "EQUAL_MULT"},
    {C_EQUAL_LESS, "EQUAL_LESS"},
    {C_EQUAL_GREATER, "EQUAL_GREATER"},
    {C_NOT, "NOT"},
    {C_NOT_EQUAL, "NOT_EQUAL"},
    {C_NOT_LESS, "NOT_LESS"},
    {C_NOT_GREATER, "NOT_GREATER"},
    {C_OR, "OR"},
    {C_OR_OR, "OR_OR"},
    {C_AND, "AND"},
    {C_AND_AND, "AND_AND"},
};

const char* typeName(ScanCode code) {
    for (const TypeName& t : TYPE_NAMES)
        if (t.Code == code) return t.Name;
    return "?";
}

void printText(const char* text, unsigned long length) {
    for (unsigned long i = 0; i < length; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '\n')
            std::fputs("\\n", stdout);
        else if (c < 0x20 || c == 0x7F)
            std::printf("\\x%02X", c);
        else
            std::putchar(c);
    }
}
} // namespace

int cmdTokens(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kotool tokens TEXT\n");
        return 2;
    }
    KoScanner scanner(argv[1]);
    scanner.setParseComments();
    scanner.setMatchBrackets();
    KoToken token;
    while (scanner.getToken(token) != C_EOS) {
        std::printf("%-18s %4lu  ", typeName(token.TokenType), token.getBegOfToken());
        printText(token.Buf, token.CurSize);
        std::putchar('\n');
    }
    return 0;
}

int cmdConnstr(int argc, char** argv) {
    char separator = ';';
    int first = 1;
    if (argc > 1 && !std::strcmp(argv[1], "-s")) {
        if (argc > 2 && std::strlen(argv[2]) == 1) separator = argv[2][0];
        first = 3;
    }
    if (argc - first != 1 || (first == 3 && std::strlen(argv[2]) != 1)) {
        std::fprintf(stderr, "usage: kotool connstr [-s SEPARATOR] STRING\n");
        return 2;
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    int status = 0;
    {
        KoValueParser parser(argv[first], separator, nullptr, 0);
        KoString rebuilt;
        if (parser.initialize() || parser.buildString(&rebuilt)) {
            KoError* error = KoErrorKeeper::getLastError();
            std::fprintf(stderr, "kotool connstr: error: %s\n",
                         error ? error->getErrorText() : "the string could not be parsed");
            status = 1;
        } else {
            for (unsigned long i = 0; i < parser.getCount(); ++i) {
                KoSubString* key = parser.getAttributeKey(i);
                KoSubString* value = parser.getAttributeValue(*key);
                std::printf("%.*s = %.*s\n", static_cast<int>(key->CurSize), key->Buf,
                            static_cast<int>(value->CurSize), value->Buf);
            }
            std::printf("rebuilt: %s\n", rebuilt.asCStr());
        }
    }
    list.popOffErrorKeeper();
    return status;
}
