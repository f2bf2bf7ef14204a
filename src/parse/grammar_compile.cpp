// KoGrammar: compiles packed grammar text. Each production text is read through its own
// KoLexer with literal quoting off (quotes are plain symbols in grammar text) and the keyword
// list compared case-sensitively, so keywords must be spelt as the list spells them. The
// compiling steps return 0 for success and 1 for failure; the first failure ends the
// compilation and the only report is isOK().
#include <cstring>
#include "kolib/errors.h"
#include "kolib/grammar.h"
#include "kolib/parse_states.h"

namespace {
// Lower-case letters and "-" only.
bool isLowerWord(const unsigned char* text) {
    if (!text || !*text) return false;
    for (; *text; ++text)
        if (!((*text >= 'a' && *text <= 'z') || *text == '-')) return false;
    return true;
}

bool isLowerRun(const unsigned char* text) {
    if (!text || !*text) return false;
    for (; *text; ++text)
        if (!(*text >= 'a' && *text <= 'z')) return false;
    return true;
}

KoBNFElement* newElement(short type, const char* text) {
    KoBNFElement* element = new KoBNFElement;
    if (element && element->setTokenString(text)) {
        delete element;
        return nullptr;
    }
    if (!element) KoErrorKeeper::addMemoryError();
    if (element) element->TokenType = type;
    return element;
}

void append(KoBNFElement** first, KoBNFElement* element) {
    if (*first)
        (*first)->addToSequentialEnd(element);
    else
        *first = element;
}
} // namespace

KoGrammar::KoGrammar(const char* packedText, KoKeywordList* keywords)
    : IsOK(0), CompiledGrammar(nullptr), ParseTable(nullptr), GoalProduction(nullptr),
      KeywordList(keywords) {
    IsOK = compile(packedText) == 0;
}

KoGrammar::KoGrammar(const resourceElement* elements, unsigned count, KoKeywordList* keywords)
    : IsOK(0), CompiledGrammar(nullptr), ParseTable(nullptr), GoalProduction(nullptr),
      KeywordList(keywords) {
    char* packed = elements ? koPackResources(elements, count) : nullptr;
    IsOK = packed && compile(packed) == 0;
    ramFree(packed);
}

KoGrammar::~KoGrammar() {
    delete CompiledGrammar;
    ramFree(GoalProduction);
}

unsigned KoGrammar::compile(const char* packedText) {
    if (!KeywordList) return 1;
    KeywordList->setCaseSensitiveCompare(1);
    if (compGoal(packedText)) return 1; // the list stays case-sensitive, as it always has
    KeywordList->setCaseSensitiveCompare(0);
    return createParseTree();
}

unsigned KoGrammar::getParseTable(KoProduction** goal) const {
    *goal = ParseTable;
    return ParseTable ? 0 : 1;
}

unsigned KoGrammar::changeGoal(const char* name) {
    char* copy = ramAllocStr(name);
    if (!copy) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    ramFree(GoalProduction);
    GoalProduction = copy;
    return findGoal();
}

// Intended: a recompile keeps the old productions and appends the new ones behind them.
void KoGrammar::freeGrammar() {}

unsigned KoGrammar::compGoal(const char* packedText) {
    if (!packedText || !*packedText) return 1;
    if (CompiledGrammar) freeGrammar();
    for (const char* entry = packedText; *entry;) {
        KoLexer* lexer = new KoLexer(entry, KeywordList);
        if (!lexer || !lexer->MainScanner) {
            if (!lexer) KoErrorKeeper::addMemoryError();
            delete lexer;
            return 1;
        }
        lexer->setLiteralQuoteChars(0, 0, 0);
        KoProduction* production = nullptr;
        unsigned failed = compReduct(lexer, &production);
        if (production) {
            if (CompiledGrammar)
                CompiledGrammar->addToEnd(production);
            else
                CompiledGrammar = production;
        }
        delete lexer;
        if (failed) {
            freeGrammar();
            return 1;
        }
        unsigned long length = std::strlen(entry);
        int16_t number;
        std::memcpy(&number, entry + length + 1, sizeof number);
        production->Number = number;
        entry += length + 3;
    }
    return resolveNonTerminals();
}

unsigned KoGrammar::compReduct(KoLexer* lexer, KoProduction** production) {
    KoProduction* p = new KoProduction;
    if (!p) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    char* name = nullptr;
    bool failed = compReductName(lexer, &name, nullptr) || compValidateToken(lexer, RED_COLON) ||
                  compValidateToken(lexer, RED_COLON) || compValidateToken(lexer, RED_EQUAL);
    p->setName(name);
    while (!failed) {
        KoBNFElement* alternative = nullptr;
        if (compReductElement(lexer, &alternative, 0)) {
            failed = true;
            break;
        }
        if (p->CompiledProduction)
            p->CompiledProduction->addToAlternationEnd(alternative);
        else
            p->CompiledProduction = alternative;
        short type;
        if (lexer->nextToken(&type, nullptr) || (type != RED_OR && type != RED_EOS))
            failed = true;
        else if (type == RED_EOS)
            break;
    }
    if (failed) {
        delete p;
        return 1;
    }
    *production = p;
    return 0;
}

unsigned KoGrammar::compReductName(KoLexer* lexer, char** name, short* type) {
    KoScanner* scanner = lexer->getScanner();
    if (scanner->setValidMiddleChars("-")) return 1;
    short terminal;
    unsigned char* text;
    unsigned failed = lexer->nextToken(&terminal, &text);
    scanner->resetValidChars();
    if (failed || terminal != RED_IDENT || !isLowerWord(text)) return 1;
    const char* word = reinterpret_cast<const char*>(text);
    short kind = RED_IDENT;
    *name = nullptr;
    if (!std::strcmp(word, "alphanum"))
        kind = RED_IDENT;
    else if (!std::strcmp(word, "number"))
        kind = RED_NUMBER;
    else if (!std::strcmp(word, "literal-contents"))
        kind = RED_LITERAL_CONTENTS;
    else if (!std::strcmp(word, "literal-quote-char"))
        kind = RED_QUOTE;
    else if (!(*name = ramAllocStr(word))) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    if (type) *type = kind;
    return 0;
}

unsigned KoGrammar::compValidateToken(KoLexer* lexer, short expected) {
    short type;
    return lexer->nextToken(&type, nullptr) || type != expected;
}

int KoGrammar::isLegalReductTerm(short type) const {
    return type != RED_OPEN_BRACKET && type != RED_CLOSE_BRACKET && type != RED_OPEN_BRACE &&
           type != RED_CLOSE_BRACE && type != RED_OR && type != RED_EOS &&
           type != RED_LITERAL_UNCLOSED;
}

unsigned KoGrammar::compReductElement(KoLexer* lexer, KoBNFElement** first, unsigned depth) {
    KoBNFElement* sequence = nullptr;
    short type;
    if (lexer->nextToken(&type, nullptr)) return 1;
    for (;;) {
        if (type == RED_OPEN_BRACE || type == RED_OPEN_BRACKET) {
            bool curly = type == RED_OPEN_BRACE;
            if (depth >= KO_GRAMMAR_MAX_NESTING) break; // nested too deep
            KoBNFElement* group = newElement(RED_NONE, nullptr);
            if (!group) break;
            append(&sequence, group);
            group->Bracket = curly ? BRACKET_CURLY : BRACKET_SQUARE;
            if (compBraceContents(lexer, &group->Contains, depth + 1)) break;
            if (lexer->nextToken(&type, nullptr) ||
                type != (curly ? RED_CLOSE_BRACE : RED_CLOSE_BRACKET))
                break;
            if (curly) {
                if (lexer->nextToken(&type, nullptr)) break;
                if (type == RED_STAR)
                    group->Closure = CLOSURE_KLEENE;
                else if (type == RED_PLUS)
                    group->Closure = CLOSURE_POSITIVE;
                else
                    lexer->backup();
            }
        } else {
            lexer->backup();
            KoBNFElement* run = nullptr;
            if (compReductTerm(lexer, &run)) break;
            append(&sequence, run);
        }
        if (lexer->nextToken(&type, nullptr)) break;
        if (type == RED_EOS || type == RED_OR || type == RED_CLOSE_BRACE ||
            type == RED_CLOSE_BRACKET) {
            lexer->backup();
            *first = sequence;
            return 0;
        }
    }
    delete sequence;
    return 1;
}

unsigned KoGrammar::compBraceContents(KoLexer* lexer, KoBNFElement** first, unsigned depth) {
    if (compReductElement(lexer, first, depth)) return 1;
    for (;;) {
        short type;
        if (lexer->nextToken(&type, nullptr)) return 1;
        if (type != RED_OR) {
            lexer->backup();
            return 0;
        }
        KoBNFElement* alternative = nullptr;
        if (compReductElement(lexer, &alternative, depth)) return 1;
        (*first)->addToAlternationEnd(alternative);
    }
}

unsigned KoGrammar::compReductTerm(KoLexer* lexer, KoBNFElement** first) {
    KoBNFElement* run = nullptr;
    short type;
    unsigned char* text;
    if (lexer->nextToken(&type, &text)) return 1;
    while (isLegalReductTerm(type)) {
        KoBNFElement* element = nullptr;
        if (type == RED_IDENT) {
            if (!isLowerRun(text)) break; // neither keyword nor a lower-case word
            lexer->backup();
            char* name = nullptr;
            short kind;
            if (compReductName(lexer, &name, &kind)) break;
            element = newElement(kind, nullptr);
            if (element)
                element->TokenString = name;
            else
                ramFree(name);
        } else if (type == RED_BACKWARD_SLASH || type == RED_TILDE) {
            bool literal = type == RED_TILDE;
            if (lexer->nextToken(&type, &text) || type == RED_EOS) break;
            element = newElement(literal ? static_cast<short>(RED_IDENT) : type,
                                 reinterpret_cast<char*>(text));
            if (element) element->Literal = literal;
        } else {
            element = newElement(type, reinterpret_cast<char*>(text));
        }
        if (!element) break;
        append(&run, element);
        if (lexer->nextToken(&type, &text)) {
            type = RED_NONE; // forces the failure below
            break;
        }
    }
    if (!run || isLegalReductTerm(type)) {
        // An empty run (an empty alternative or group) or a word that cannot be a term.
        delete run;
        return 1;
    }
    lexer->backup();
    *first = run;
    return 0;
}

unsigned KoGrammar::resolveNonTerminals() {
    for (KoProduction* p = CompiledGrammar; p; p = p->NextProduction)
        if (resolve(p->CompiledProduction)) return 1;
    return 0;
}

unsigned KoGrammar::resolve(KoBNFElement* element) {
    for (; element; element = element->NextSequential) {
        if (element->TokenType == RED_IDENT && element->TokenString && !element->Literal &&
            element->TokenString[0] >= 'a' && element->TokenString[0] <= 'z') {
            element->NonTerminal = getNonTerminalProduction(element->TokenString);
            if (!element->NonTerminal) return 1;
        }
        if (resolve(element->Contains) || resolve(element->NextAlternation)) return 1;
    }
    return 0;
}

KoProduction* KoGrammar::getNonTerminalProduction(const char* name) const {
    for (KoProduction* p = CompiledGrammar; p; p = p->NextProduction)
        if (p->Name && !std::strcmp(p->Name, name)) return p;
    return nullptr;
}

unsigned KoGrammar::createParseTree() {
    if (calculateFirst()) return 1;
    for (KoProduction* p = CompiledGrammar; p; p = p->NextProduction)
        if (p->createParseStates()) return 1;
    return findGoal();
}

unsigned KoGrammar::calculateFirst() {
    for (KoProduction* p = CompiledGrammar; p; p = p->NextProduction)
        if (p->calculateFirst()) return 1;
    return 0;
}

unsigned KoGrammar::findGoal() {
    const char* goal = GoalProduction ? GoalProduction : "goal";
    ParseTable = getNonTerminalProduction(goal);
    return ParseTable ? 0 : 1;
}
