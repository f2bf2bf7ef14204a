// KoValueParser: a small recursive-descent reader over the scanner. Keywords are runs of
// identifier tokens; values are the scanner's delimited tokens (quotes and surrounding
// blanks handled there), or brace groups read here. Keys and values are owned KoString
// copies held by Order; KeySlots indexes Order by key; MarkArray keeps one "fetched" bit per
// pair, in the pairs' order.
#include <cctype>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/mbchar.h"
#include "kolib/memory.h"
#include "kolib/value_parser.h"

namespace {
KoString* copyOf(const char* text, unsigned long length) {
    KoString* copy = new KoString;
    if (copy && copy->initialize(text ? text : "", text ? length : 0)) {
        delete copy;
        copy = nullptr;
    }
    if (!copy) KoErrorKeeper::addMemoryError();
    return copy;
}

// Keys equal under isEqualCi hash alike: equal keys hold, byte for byte, either the same
// byte or bytes with the same upper case.
uint32_t hashKey(const KoSubString& key) {
    uint32_t h = 2166136261u;
    for (unsigned long i = 0; i < key.CurSize; ++i) {
        h ^= static_cast<unsigned char>(std::toupper(static_cast<unsigned char>(key.Buf[i])));
        h *= 16777619u;
    }
    return h;
}

// Reads values the way the parser does, over any text, with the parser's quote characters.
class ValueReader : public KoScanner {
public:
    ValueReader(const KoScanner& like, const char* text, unsigned long length, bool braces)
        : KoScanner(text, length), Braces(braces) {
        setQuotingChars(like.Quote1, like.Quote2, like.Quote3);
    }

    // From offset `from`, white space skipped: when the value opens with "{" closed by a "}"
    // that is not doubled, stores the "{"'s offset in begin and returns the offset behind the
    // "}"; else 0.
    unsigned long braceEnd(unsigned long from, unsigned long* begin) {
        if (!Braces) return 0;
        NextIndex = static_cast<uint32_t>(from);
        EndOfString = 0;
        const char* p;
        while ((p = getSymbol()) && isWhite(p)) {
        }
        if (!p || symbolCode(p) != '{') return 0;
        *begin = NextIndex - SymbolLength;
        while ((p = getSymbol())) {
            if (symbolCode(p) != '}') continue;
            const char* next = getSymbol();
            if (next && symbolCode(next) == '}') continue; // "}}" stands for "}"
            if (next) unGetSymbol();
            return NextIndex;
        }
        return 0;
    }

    // Whether the whole text, written behind "=" and followed by the separator, reads back as
    // exactly itself. `special` tells whether a quote character or the separator stands
    // outside a leading brace group.
    bool readsBack(unsigned separator, bool* special) {
        *special = false;
        NextIndex = 0;
        EndOfString = 0;
        const char* p = getSymbol();
        if (!p) return true;
        if (isWhite(p)) return false;
        unsigned long from = 0, begin = 0;
        if (symbolCode(p) == '{' && Braces) {
            from = braceEnd(0, &begin);
            if (!from) return false; // a later "}" would close it
            if (from == StrLen) return true;
        }
        NextIndex = static_cast<uint32_t>(from);
        EndOfString = 0;
        unsigned open = 0;
        bool lastWhite = false;
        const char* last = nullptr;
        unsigned lastSize = 0;
        while ((p = getSymbol())) {
            unsigned c = symbolCode(p);
            last = p;
            lastSize = SymbolLength;
            lastWhite = isWhite(p);
            if (isOpenQuote(c) || c == separator) *special = true;
            if (open && c == open)
                open = 0;
            else if (isOpenQuote(c))
                open = c;
            else if (!open && c == separator)
                return false;
        }
        return !open && !lastWhite && !(last && swallows(last, lastSize, separator));
    }

    // Whether a character cut short by the end of its text takes `next` into it when the
    // text goes on (a lead byte without its trail bytes).
    static bool swallows(const char* p, unsigned size, unsigned next) {
        if (static_cast<unsigned char>(*p) < 0x80 || size > 6) return false;
        char probe[8];
        std::memcpy(probe, p, size);
        probe[size] = probe[size + 1] = static_cast<char>(next);
        return koCharSizeWithin(probe, size + 2) > size;
    }

    // Appends the text in braces to out, each "}" doubled (out has room for it).
    void braced(KoString* out) {
        NextIndex = 0;
        EndOfString = 0;
        out->concat('{');
        while (const char* p = getSymbol()) {
            out->concat(p, SymbolLength);
            if (symbolCode(p) == '}') out->concat('}');
        }
        out->concat('}');
    }

    unsigned long closingBraces() {
        NextIndex = 0;
        EndOfString = 0;
        unsigned long n = 0;
        while (const char* p = getSymbol())
            if (symbolCode(p) == '}') ++n;
        return n;
    }

private:
    bool Braces;
};
} // namespace

KoValueParser::KoValueParser(const KoSubString& text, char separator, const char* errorString,
                             int allowDuplicates)
    : Separator(separator), ErrorString(errorString), Scanner(text), Keyword(nullptr),
      SearchIndex(0), AllowDuplicates(allowDuplicates ? 1 : 0), Leading(1), KeySlots(nullptr),
      SlotCount(0) {
    Order.setCaseInsensitive();
}

KoValueParser::~KoValueParser() {
    Order.deleteKeyAndData();
    delete Keyword;
    ramFree(KeySlots);
}

unsigned long KoValueParser::findKey(const KoSubString& key) const {
    unsigned long count = Order.getCount();
    if (!SlotCount) return Order.getIndexForKey(key);
    // Every key equal to this one lies in its probe run: take the first pair among them, as
    // a search from the first pair would.
    unsigned long found = count;
    uint32_t mask = SlotCount - 1;
    for (uint32_t at = hashKey(key) & mask; KeySlots[at]; at = (at + 1) & mask) {
        unsigned long index = KeySlots[at] - 1;
        if (index < found && index < count && Order.getSubKeyAtIndex(index)->isEqualCi(key))
            found = index;
    }
    return found;
}

void KoValueParser::indexKey(unsigned long index) {
    uint32_t mask = SlotCount - 1;
    uint32_t at = hashKey(*Order.getSubKeyAtIndex(index)) & mask;
    while (KeySlots[at]) at = (at + 1) & mask;
    KeySlots[at] = static_cast<uint32_t>(index + 1);
}

void KoValueParser::reindexKeys() {
    if (!SlotCount) return;
    std::memset(KeySlots, 0, SlotCount * sizeof(uint32_t));
    for (unsigned long i = 0; i < Order.getCount(); ++i) indexKey(i);
}

unsigned KoValueParser::reserveKey() {
    unsigned long need = (Order.getCount() + 1) * 2; // at most half the slots in use
    if (need <= SlotCount) return 0;
    unsigned long size = SlotCount ? SlotCount : 16;
    while (size < need) size *= 2;
    if (size > 0x40000000ul) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    uint32_t* slots = static_cast<uint32_t*>(ramCalloc(size * sizeof(uint32_t)));
    if (!slots) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    ramFree(KeySlots);
    KeySlots = slots;
    SlotCount = static_cast<uint32_t>(size);
    reindexKeys();
    return 0;
}

// A parsed value has no white space at either end and, without quotes, no separator: it
// reads back as itself unless it holds a quote character, opens with "{" or ends near a
// multi-byte character (which may be cut short).
static bool plainParsedValue(const KoScanner& scanner, const char* text, unsigned long length) {
    if (length && text[0] == '{') return false;
    for (unsigned long k = 1; k <= 3 && k <= length; ++k)
        if (static_cast<unsigned char>(text[length - k]) >= 0x80) return false;
    unsigned short quotes[] = {scanner.Quote1, scanner.Quote2, scanner.Quote3};
    for (unsigned short quote : quotes) {
        if (quote >= 0x80) return false;
        if (quote && std::memchr(text, quote, length)) return false;
    }
    return true;
}

KoString* KoValueParser::storedValue(const char* text, unsigned long length, int parsed) {
    if (parsed && plainParsedValue(Scanner, text, length)) return copyOf(text, length);
    bool braces = Separator != '{' && Separator != '}';
    ValueReader reader(Scanner, text, length, braces);
    bool special = false;
    if (reader.readsBack(static_cast<unsigned char>(Separator), &special) && (parsed || !special))
        return copyOf(text, length);
    KoString* quoted = new KoString;
    if (!quoted || quoted->initialize(length + 2 + reader.closingBraces(), 0)) {
        delete quoted;
        KoErrorKeeper::addMemoryError();
        return nullptr;
    }
    reader.braced(quoted);
    // A text ending in a cut multi-byte character may take the closing "}" into it.
    ValueReader check(Scanner, quoted->Buf, quoted->CurSize, braces);
    unsigned long begin = 0;
    if (!braces || check.braceEnd(0, &begin) != quoted->CurSize) {
        delete quoted;
        raiseParseError();
        return nullptr;
    }
    return quoted;
}

void KoValueParser::dropKeyword() {
    delete Keyword;
    Keyword = nullptr;
}

unsigned KoValueParser::initialize() {
    Leading = 1;
    do {
        Scanner.getToken(Token);
        if (Token.TokenType == C_EOS) break;
        if (!isSeparator(Token) && attributeParse()) return 1;
    } while (isSeparator(Token));
    if (Token.TokenType != C_EOS) {
        raiseParseError();
        return 1;
    }
    return syncMarks(~0ul);
}

void KoValueParser::raiseParseError() {
    unsigned long offset = Token.BegOfToken;
    if (ErrorString)
        addError(2705) << offset << ErrorString;
    else
        addError(2704) << offset;
}

unsigned KoValueParser::attributeParse() {
    if (keywordParse()) return 1;
    int leading = Leading;
    Leading = 0;
    int equals = Token.CurSize && Token.Buf[0] == '=';
    if (leading && !equals && Keyword->isEqualCi("ODBC")) {
        dropKeyword(); // a bare leading keyword of the string; nothing follows it
        return 0;
    }
    if (!equals) {
        dropKeyword();
        raiseParseError();
        return 1;
    }
    // "==", "=>" and the like serve as "=": the value starts behind the first "=".
    if (Token.CurSize > 1) Scanner.setCurrentPosition(Token.BegOfToken + 1);
    readValue();
    unsigned failed = valueParse();
    dropKeyword();
    return failed;
}

void KoValueParser::readValue() {
    unsigned char separator = static_cast<unsigned char>(Separator);
    const char* text = Scanner.getString();
    unsigned long at = Scanner.getCurrentPosition();
    while (at < Scanner.getStrLen() && (text[at] == ' ' || (text[at] >= 9 && text[at] <= 13))) ++at;
    if (at >= Scanner.getStrLen() ||
        (text[at] != '{' && static_cast<unsigned char>(text[at]) < 0x80)) {
        Scanner.getDelimitedToken(Token, separator); // no brace group here
        return;
    }
    ValueReader reader(Scanner, Scanner.getString(), Scanner.getStrLen(),
                       separator != '{' && separator != '}');
    unsigned long begin = 0;
    unsigned long end = reader.braceEnd(Scanner.getCurrentPosition(), &begin);
    if (!end) {
        Scanner.getDelimitedToken(Token, separator);
        return;
    }
    // What follows the brace group up to the separator belongs to the value.
    Scanner.NextIndex = static_cast<uint32_t>(end);
    Scanner.EndOfString = 0;
    KoToken rest;
    if (Scanner.getDelimitedToken(rest, separator) == C_VALUE) end = rest.BegOfToken + rest.CurSize;
    Scanner.getToken(Token, begin, end - begin);
}

unsigned KoValueParser::keywordParse() {
    if (Token.TokenType != C_IDENTIFIER) {
        raiseParseError();
        return 1;
    }
    unsigned long begin = Token.BegOfToken;
    unsigned long end = begin + Token.CurSize;
    while (Scanner.getToken(Token) == C_IDENTIFIER) end = Token.BegOfToken + Token.CurSize;
    Keyword = copyOf(Scanner.getString() + begin, end - begin);
    if (!Keyword) return 1;
    if (findKey(*Keyword) < Order.getCount() && !AllowDuplicates && !Keyword->isEqualCi("Driver")) {
        raiseParseError();
        appendTextToLastError(2706);
        if (KoError* error = KoErrorKeeper::getLastError()) *error << *Keyword;
        dropKeyword();
        return 1;
    }
    return 0;
}

unsigned KoValueParser::valueParse() {
    if (findKey(*Keyword) >= Order.getCount()) {
        // The first occurrence wins; a tolerated repeat is dropped.
        KoString* value = storedValue(Token.Buf, Token.CurSize, 1);
        if (!value) return 1;
        if (reserveKey()) {
            delete value;
            return 1;
        }
        if (Order.addAssoc(Keyword, value)) {
            delete value;
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        indexKey(Order.getCount() - 1);
        Keyword = nullptr; // Order owns it now
    }
    Scanner.getToken(Token);
    return 0;
}

void KoValueParser::markUsed(unsigned long index) {
    if (index < MarkArray.NumberOfBits) MarkArray.set(index);
}

unsigned KoValueParser::syncMarks(unsigned long removedIndex) {
    KoBitArray marks;
    unsigned long count = Order.getCount() - (removedIndex < Order.getCount() ? 1 : 0);
    if (marks.initialize(count)) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    for (unsigned long i = 0; i < count; ++i) {
        unsigned long old = i < removedIndex ? i : i + 1;
        if (MarkArray.isInitialized() && old < MarkArray.NumberOfBits && MarkArray.isSet(old))
            marks.set(i);
    }
    uint8_t* bits = marks.BitString;
    marks.BitString = MarkArray.BitString;
    marks.NumberOfBits = MarkArray.NumberOfBits;
    MarkArray.BitString = bits;
    MarkArray.NumberOfBits = static_cast<uint32_t>(count);
    return 0;
}

KoSubString* KoValueParser::getAttributeValue(const KoSubString& key) {
    unsigned long index = findKey(key);
    if (index >= Order.getCount()) return nullptr;
    markUsed(index);
    return static_cast<KoSubString*>(Order.getPtrDataAtIndex(index));
}

KoSubString* KoValueParser::getAttributeValue(const char* key) {
    return getAttributeValue(KoSubString(key ? key : ""));
}

unsigned KoValueParser::getAttributeValue(const char* key1, const char* key2, KoSubString*& value) {
    if (!isAttributeValue(key1)) {
        value = getAttributeValue(key2);
        return 0;
    }
    if (isAttributeValue(key2)) {
        value = nullptr;
        raiseParseError();
        appendTextToLastError(2707);
        if (KoError* error = KoErrorKeeper::getLastError()) *error << key1 << key2;
        return 1;
    }
    value = getAttributeValue(key1);
    return 0;
}

int KoValueParser::isAttributeValue(const char* key) const {
    KoSubString k(key ? key : "");
    return findKey(k) < Order.getCount();
}

unsigned long KoValueParser::getUnusedCount() const {
    unsigned long unused = 0;
    for (unsigned long i = 0; i < Order.getCount(); ++i)
        if (i >= MarkArray.NumberOfBits || !MarkArray.isSet(i)) ++unused;
    return unused;
}

KoSubString* KoValueParser::getUnusedAttribute() {
    while (SearchIndex < Order.getCount()) {
        unsigned long i = SearchIndex++;
        if (i >= MarkArray.NumberOfBits || !MarkArray.isSet(i)) return Order.getSubKeyAtIndex(i);
    }
    return nullptr;
}

KoSubString* KoValueParser::getAttributeKey(unsigned long index) const {
    return index < Order.getCount() ? Order.getSubKeyAtIndex(index) : nullptr;
}

unsigned KoValueParser::addAttribute(const char* key, const char* value,
                                     const char* alternativeKey) {
    KoSubString k(key ? key : "");
    unsigned long index = findKey(k);
    if (index >= Order.getCount() && alternativeKey) index = findKey(KoSubString(alternativeKey));
    KoString* copy = storedValue(value ? value : "", value ? std::strlen(value) : 0, 0);
    if (!copy) return 1;
    if (index < Order.getCount()) {
        KoAssociation* pair = Order.getAssocAtIndex(index);
        delete pair->getPtrData();
        pair->changeData(copy);
        return 0;
    }
    KoString* newKey = copyOf(k.Buf, k.CurSize);
    if (!newKey || reserveKey()) {
        delete newKey;
        delete copy;
        return 1;
    }
    if (Order.addAssoc(newKey, copy)) {
        KoErrorKeeper::addMemoryError();
        delete newKey;
        delete copy;
        return 1;
    }
    if (syncMarks(~0ul)) {
        Order.deleteKeyAndDataAtIndex(Order.getCount() - 1);
        return 1;
    }
    indexKey(Order.getCount() - 1);
    return 0;
}

unsigned KoValueParser::removeAttribute(const char* key) {
    unsigned long index = findKey(KoSubString(key ? key : ""));
    if (index >= Order.getCount()) return 0;
    // The marks move first, so that a failure leaves the pairs untouched.
    if (syncMarks(index)) return 1;
    Order.deleteKeyAndDataAtIndex(index);
    reindexKeys(); // the pairs behind it moved down by one
    if (SearchIndex > index) --SearchIndex;
    return 0;
}

unsigned KoValueParser::buildString(KoString* out) const {
    out->clear();
    unsigned long total = 0;
    for (unsigned long i = 0; i < Order.getCount(); ++i)
        total += Order.getSubKeyAtIndex(i)->CurSize + 2 +
                 static_cast<KoSubString*>(Order.getPtrDataAtIndex(i))->CurSize;
    if (out->assureSpace(total)) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    for (unsigned long i = 0; i < Order.getCount(); ++i) {
        if (i) out->concat(Separator);
        out->concat(*Order.getSubKeyAtIndex(i));
        out->concat('=');
        out->concat(*static_cast<KoSubString*>(Order.getPtrDataAtIndex(i)));
    }
    return 0;
}
