// KoScanner: editing the KoString the scanner was built on. After a change the scanner takes
// the string's (possibly moved) text again; only the token passed in is re-aimed, other
// tokens into the old text are stale.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/scanner.h"

unsigned KoScanner::changeToken(KoToken& token, const char* text) {
    if (!ChangeString) return 1;
    if (!text) text = "";
    unsigned long oldLength = token.CurSize;
    unsigned long newLength = std::strlen(text);
    if (ChangeString->changeBytes(token.BegOfToken, oldLength, text, newLength)) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    Str = ChangeString->Buf;
    StrLen = ChangeString->CurSize;
    NextIndex = static_cast<uint32_t>(NextIndex + newLength - oldLength);
    token.initialize(ChangeString->Buf + token.BegOfToken, newLength);
    return 0;
}

unsigned KoScanner::insertToken(KoToken& token, const char* text) {
    if (!ChangeString) return 1;
    unsigned long length = text ? std::strlen(text) : 0;
    if (!length) return 0;
    if (ChangeString->changeBytes(token.BegOfToken, 0, text, length)) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    Str = ChangeString->Buf;
    StrLen = ChangeString->CurSize;
    NextIndex = static_cast<uint32_t>(NextIndex + length);
    token.BegOfToken = static_cast<uint32_t>(token.BegOfToken + length);
    token.Buf = ChangeString->Buf + token.BegOfToken;
    return 0;
}
