// KoScanner: delimited values and lists. A value runs to the first delimiter that stands
// outside quotes and matched groups; quotes do not nest (a second kind of quote inside an
// open one takes over), and with MatchBrackets a "(" opens a group closed by "}" on purpose.
#include "kolib/array.h"
#include "kolib/errors.h"
#include "kolib/mbchar.h"
#include "kolib/scanner.h"

ScanCode KoScanner::getDelimitedToken(KoToken& token, unsigned short delimiter) {
    const char* p;
    while ((p = getSymbol()) && isWhite(p)) {
    }
    if (!p) {
        getToken(token, NextIndex, 0);
        return token.TokenType = C_EOS;
    }
    unsigned long begin = NextIndex - SymbolLength;
    if (symbolCode(p) == delimiter) {
        unGetSymbol();
        getToken(token, begin, 0);
        return C_NONE;
    }
    getToken(token, begin, 0);
    token.TokenType = C_VALUE;
    // The first character goes through the same rules as the rest, so a value may open with
    // a quote or a group.
    unGetSymbol();
    unsigned openQuote = 0;
    while ((p = getSymbol())) {
        unsigned c = symbolCode(p);
        if (c == '(' && MatchParens) {
            readGroup(token, '(', ')', 1);
        } else if (c == '(' && MatchBrackets) {
            // A parenthesis opens a brace group: intended.
            readGroup(token, '{', '}', 1);
        } else if (openQuote && c == openQuote) {
            openQuote = 0;
        } else if (isOpenQuote(c)) {
            openQuote = c;
        } else if (!openQuote && c == delimiter) {
            unGetSymbol();
            break;
        }
    }
    token.TokenType = C_VALUE; // an unclosed group inside a value is still a value
    token.setTokenSize(NextIndex - begin);
    trimTrailingWhite(token);
    return C_VALUE;
}

void KoScanner::trimTrailingWhite(KoToken& token) const {
    const char* text = token.Buf;
    unsigned long length = token.CurSize;
    while (length && (text[length - 1] == ' ' || (text[length - 1] >= 9 && text[length - 1] <= 13)))
        --length;
    // A multi-byte character may end the text, or hold the bytes just passed (a lead byte
    // whose trail bytes are not checked): then walk the text once by whole characters and cut
    // behind the last one that is not white space.
    bool nearMultiByte = false;
    for (unsigned long k = 1; k <= 3 && k <= length; ++k)
        if (static_cast<unsigned char>(text[length - k]) >= 0x80) nearMultiByte = true;
    if (nearMultiByte) {
        KoScanner probe(text, token.CurSize);
        unsigned long keep = 0;
        while (const char* p = probe.getSymbol())
            if (!probe.isWhite(p)) keep = probe.NextIndex;
        length = keep;
    }
    token.setTokenSize(length);
}

unsigned KoScanner::addListItem(KoArray* array, const KoToken& token, int copyText) {
    KoSubString* item;
    if (copyText) {
        KoString* text = new KoString;
        if (text && text->initialize(token.Buf, token.CurSize)) {
            delete text;
            text = nullptr;
        }
        item = text;
    } else {
        item = new KoSubString(token.Buf, token.CurSize);
    }
    if (!item || array->add(item)) {
        delete item;
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    return 0;
}

unsigned KoScanner::parseAnyList(KoArray* array, unsigned short delimiter, int copyText) {
    array->deleteContents();
    KoToken token;
    do {
        getDelimitedToken(token, delimiter);
        if (addListItem(array, token, copyText)) return 1;
        getToken(token, TOKEN_NORMAL); // the delimiter
    } while (token.TokenType != C_EOS);
    return 0;
}

unsigned KoScanner::parseList(KoArray* array, unsigned short delimiter) {
    return parseAnyList(array, delimiter, 0);
}

unsigned KoScanner::parseListKoString(KoArray* array, unsigned short delimiter) {
    return parseAnyList(array, delimiter, 1);
}
