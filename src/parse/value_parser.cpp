// KoValueParser: a small recursive-descent reader over the scanner. Keywords are runs of
// identifier tokens; values are the scanner's delimited tokens (quotes and surrounding
// blanks handled there). Keys and values are owned KoString copies held by Order; MarkArray
// keeps one "fetched" bit per pair, in the pairs' order.
#include <cstring>
#include "kolib/errors.h"
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
} // namespace

KoValueParser::KoValueParser(const KoSubString& text, char separator, const char* errorString,
                             int allowDuplicates)
    : Separator(separator), ErrorString(errorString), Scanner(text), Keyword(nullptr),
      SearchIndex(0), AllowDuplicates(allowDuplicates ? 1 : 0) {
    Order.setCaseInsensitive();
}

KoValueParser::~KoValueParser() {
    Order.deleteKeyAndData();
    delete Keyword;
}

void KoValueParser::dropKeyword() {
    delete Keyword;
    Keyword = nullptr;
}

unsigned KoValueParser::initialize() {
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
    if (Keyword->isEqualCi("ODBC")) {
        dropKeyword(); // a bare leading keyword of the string; nothing follows it
        return 0;
    }
    if (Token.CurSize == 0 || Token.Buf[0] != '=') {
        dropKeyword();
        raiseParseError();
        return 1;
    }
    // "==", "=>" and the like serve as "=": the value starts behind the first "=".
    if (Token.CurSize > 1) Scanner.setCurrentPosition(Token.BegOfToken + 1);
    Scanner.getDelimitedToken(Token, static_cast<unsigned char>(Separator));
    unsigned failed = valueParse();
    dropKeyword();
    return failed;
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
    if (Order.doesExist(Keyword) && !AllowDuplicates && !Keyword->isEqualCi("Driver")) {
        raiseParseError();
        appendTextToLastError(2706);
        if (KoError* error = KoErrorKeeper::getLastError()) *error << *Keyword;
        dropKeyword();
        return 1;
    }
    return 0;
}

unsigned KoValueParser::valueParse() {
    if (!Order.doesExist(Keyword)) {
        // The first occurrence wins; a tolerated repeat is dropped.
        KoString* value = copyOf(Token.Buf, Token.CurSize);
        if (!value) return 1;
        if (Order.addAssoc(Keyword, value)) {
            delete value;
            KoErrorKeeper::addMemoryError();
            return 1;
        }
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
    unsigned long index = Order.getIndexForKey(key);
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
    return Order.getIndexForKey(k) < Order.getCount();
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
    unsigned long index = Order.getIndexForKey(k);
    if (index >= Order.getCount() && alternativeKey)
        index = Order.getIndexForKey(KoSubString(alternativeKey));
    KoString* copy = copyOf(value, value ? std::strlen(value) : 0);
    if (!copy) return 1;
    if (copy->isCharInStr('\'') || copy->isCharInStr('"') ||
        copy->isCharInStr(static_cast<unsigned char>(Separator))) {
        if (copy->addQuotes('\'')) {
            delete copy;
            KoErrorKeeper::addMemoryError();
            return 1;
        }
    }
    if (index < Order.getCount()) {
        KoAssociation* pair = Order.getAssocAtIndex(index);
        delete pair->getPtrData();
        pair->changeData(copy);
        return 0;
    }
    KoString* newKey = copyOf(k.Buf, k.CurSize);
    if (!newKey || Order.addAssoc(newKey, copy)) {
        if (newKey) KoErrorKeeper::addMemoryError();
        delete newKey;
        delete copy;
        return 1;
    }
    if (syncMarks(~0ul)) {
        Order.deleteKeyAndDataAtIndex(Order.getCount() - 1);
        return 1;
    }
    return 0;
}

unsigned KoValueParser::removeAttribute(const char* key) {
    unsigned long index = Order.getIndexForKey(KoSubString(key ? key : ""));
    if (index >= Order.getCount()) return 0;
    // The marks move first, so that a failure leaves the pairs untouched.
    if (syncMarks(index)) return 1;
    Order.deleteKeyAndDataAtIndex(index);
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
