// KoScanner: phrase matching and searching. A phrase is words separated by single blanks,
// matched word by word against consecutive tokens; a failed match leaves the scanner where
// it was.
#include <cstring>
#include "kolib/scanner.h"
#include "kolib/strutil.h"

unsigned KoScanner::phraseMatch(KoToken& token, const char* phrase, int ci) {
    if (!phrase) return 0;
    uint32_t entry = NextIndex;
    uint32_t entryEnd = EndOfString;
    const char* word = phrase;
    const char* blank = std::strchr(word, ' ');
    unsigned long length = blank ? static_cast<unsigned long>(blank - word) : std::strlen(word);
    if (!(ci ? token.isEqualCi(word, length) : token.isEqual(word, length))) return 0;
    unsigned long end = token.BegOfToken + token.CurSize;
    while (blank) {
        word = blank + 1;
        blank = std::strchr(word, ' ');
        length = blank ? static_cast<unsigned long>(blank - word) : std::strlen(word);
        KoToken next;
        getToken(next, TOKEN_NORMAL);
        if (!(ci ? next.isEqualCi(word, length) : next.isEqual(word, length))) {
            NextIndex = entry;
            EndOfString = entryEnd;
            return 0;
        }
        end = next.BegOfToken + next.CurSize;
    }
    token.setTokenSize(end - token.BegOfToken);
    return 1;
}

int KoScanner::isEqual(KoToken& token, const char* phrase) {
    return phraseMatch(token, phrase, 0);
}

int KoScanner::isEqualCi(KoToken& token, const char* phrase) {
    return phraseMatch(token, phrase, 1);
}

int KoScanner::isInSet(KoToken& token, const char* list) {
    for (const char* phrase = list; phrase && *phrase; phrase += std::strlen(phrase) + 1)
        if (phraseMatch(token, phrase, 0)) return 1;
    return 0;
}

int KoScanner::isInSetCi(KoToken& token, const char* list) {
    for (const char* phrase = list; phrase && *phrase; phrase += std::strlen(phrase) + 1)
        if (phraseMatch(token, phrase, 1)) return 1;
    return 0;
}

int KoScanner::isTokenWithin(const char* phrase) {
    KoToken token;
    while (getToken(token, TOKEN_NORMAL) != C_EOS)
        if (phraseMatch(token, phrase, 0)) return 1;
    return 0;
}

int KoScanner::isTokenWithinCi(const char* phrase) {
    KoToken token;
    while (getToken(token, TOKEN_NORMAL) != C_EOS)
        if (phraseMatch(token, phrase, 1)) return 1;
    return 0;
}

char* KoScanner::isSubString(const char* text) const {
    if (!text) return nullptr;
    return strFind(Str, StrLen, text, std::strlen(text));
}

char* KoScanner::isSubStringCi(const char* text) const {
    if (!text) return nullptr;
    return strFindCi(Str, StrLen, text, std::strlen(text));
}
