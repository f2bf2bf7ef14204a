// KoParser outside the parse itself: building the keyword list and the grammar, the settings
// kept for the lexer of every parse, the default client procedures and the failure report.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/parser.h"

namespace {
// The keyword table packed from an array. Its size is worked out in 16 bits, so a table of
// more than 65,535 bytes is refused.
char* packKeywords(const resourceElement* keywords, unsigned count) {
    unsigned long real = static_cast<unsigned long>(count) * 3 + 1;
    for (unsigned i = 0; i < count; ++i)
        real += keywords[i].resourceText ? std::strlen(keywords[i].resourceText) : 0;
    uint16_t size = static_cast<uint16_t>(real);
    if (size != real) return nullptr;
    return koPackResources(keywords, count);
}
} // namespace

KoParser::KoParser(const char* grammarText, const char* keywordText)
    : IsOK(0), ParsedGrammar(nullptr), KeywordList(nullptr), QuotesChanged(0), Quote1(0), Quote2(0),
      Quote3(0), FirstChars(nullptr), MiddleChars(nullptr), ValidChars(nullptr), ReductFailed(0) {
    init(grammarText, keywordText);
}

KoParser::KoParser(const resourceElement* grammar, unsigned grammarCount,
                   const resourceElement* keywords, unsigned keywordCount)
    : IsOK(0), ParsedGrammar(nullptr), KeywordList(nullptr), QuotesChanged(0), Quote1(0), Quote2(0),
      Quote3(0), FirstChars(nullptr), MiddleChars(nullptr), ValidChars(nullptr), ReductFailed(0) {
    init(grammar, grammarCount, keywords, keywordCount);
}

KoParser::~KoParser() {
    release();
    ramFree(FirstChars);
    ramFree(MiddleChars);
    ramFree(ValidChars);
}

void KoParser::release() {
    delete ParsedGrammar;
    delete KeywordList;
    ParsedGrammar = nullptr;
    KeywordList = nullptr;
    IsOK = 0;
}

unsigned KoParser::init(const char* grammarText, const char* keywordText) {
    release();
    KeywordList = new KoKeywordList(keywordText);
    if (!keywordsReady()) return 1;
    ParsedGrammar = new KoGrammar(grammarText, KeywordList);
    return settle();
}

unsigned KoParser::init(const resourceElement* grammar, unsigned grammarCount,
                        const resourceElement* keywords, unsigned keywordCount) {
    release();
    char* table = packKeywords(keywords, keywordCount);
    if (!table) return 1;
    KeywordList = new KoKeywordList(table);
    ramFree(table);
    if (!keywordsReady()) return 1;
    ParsedGrammar = new KoGrammar(grammar, grammarCount, KeywordList);
    return settle();
}

bool KoParser::keywordsReady() {
    if (KeywordList && KeywordList->Keywords) return true;
    if (!KeywordList) KoErrorKeeper::addMemoryError();
    release();
    return false;
}

unsigned KoParser::settle() {
    if (!ParsedGrammar) KoErrorKeeper::addMemoryError();
    IsOK = ParsedGrammar && ParsedGrammar->isOK();
    if (IsOK) return 0;
    release();
    return 1;
}

void KoParser::setLiteralQuoteChars(unsigned short q1, unsigned short q2, unsigned short q3) {
    Quote1 = q1;
    Quote2 = q2;
    Quote3 = q3;
    QuotesChanged = 1;
}

unsigned KoParser::keepSet(char** field, const char* set) {
    char* copy = nullptr;
    if (set && !(copy = ramAllocStr(set))) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    ramFree(*field);
    *field = copy;
    return 0;
}

unsigned KoParser::setValidFirstChars(const char* set) {
    return keepSet(&FirstChars, set);
}

unsigned KoParser::setValidMiddleChars(const char* set) {
    return keepSet(&MiddleChars, set);
}

unsigned KoParser::setValidChars(const char* set) {
    return keepSet(&ValidChars, set);
}

unsigned KoParser::changeGoal(const char* name) {
    return ParsedGrammar ? ParsedGrammar->changeGoal(name) : 1;
}

KoReduction* KoParser::ReductProc(short number, KoReduction* firstChild) {
    KoReduction* node = new KoReduction(number, nullptr);
    if (!node) {
        KoErrorKeeper::addMemoryError();
        ReductFailed = 1;
        KoReduction::deleteSiblings(firstChild);
        return nullptr;
    }
    node->setFirstChild(firstChild);
    for (KoReduction* c = firstChild; c; c = c->NextSibling) c->Parent = node;
    return node;
}

int KoParser::FailProc(short, const unsigned char*, short, const unsigned char*,
                       KoStateTransition*) {
    return 1;
}

void KoParser::parseFailed(KoParseStackNode* top, KoBacktrackPosition*, short tokenType,
                           const char* tokenText, KoStateTransition* expected) {
    // The stack links run downwards; the report runs from the goal up, so the nodes are
    // gathered first (a deep stack would make repeated getNodeBefore walks quadratic).
    unsigned long depth = 0;
    for (KoParseStackNode* n = top; n; n = n->NextNode) ++depth;
    KoParseStackNode** nodes =
        static_cast<KoParseStackNode**>(ramMalloc(depth * sizeof(KoParseStackNode*)));
    const KoProduction* productions = ParsedGrammar->getCompiledGrammar();
    const unsigned char* text = reinterpret_cast<const unsigned char*>(tokenText);
    KoParseStackNode* n = nodes ? top : top->getNodeBefore(nullptr);
    for (unsigned long i = depth; nodes && n; n = n->NextNode) nodes[--i] = n;
    for (unsigned long i = 0; i < depth; ++i) {
        n = nodes ? nodes[i] : (i ? top->getNodeBefore(n) : n);
        const char* name = productions->numberToName(n->ReductionNumber);
        if (FailProc(tokenType, text, n->ReductionNumber,
                     reinterpret_cast<const unsigned char*>(name), expected))
            break;
    }
    ramFree(nodes);
}
