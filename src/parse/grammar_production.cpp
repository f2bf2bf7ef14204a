// KoProduction: one production of a compiled grammar with its FIRST set. Productions form a
// chain in text order; the first owns the rest. FIRST sets are worked out on demand, a
// referenced production's set before the referencing one's.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/grammar.h"
#include "kolib/parse_states.h"

KoProduction::KoProduction()
    : Name(nullptr), Number(0), CompiledProduction(nullptr), FirstList(nullptr),
      NextProduction(nullptr), ParseStateTop(nullptr), LastState(nullptr), FirstInProgress(0) {}

KoProduction::~KoProduction() {
    ramFree(Name);
    delete CompiledProduction;
    delete FirstList;
    for (KoParseState* s = ParseStateTop; s;) {
        KoParseState* next = s->NextState;
        delete s;
        s = next;
    }
    // The chain is walked here rather than by recursion: grammars can be long.
    KoProduction* next = NextProduction;
    while (next) {
        KoProduction* after = next->NextProduction;
        next->NextProduction = nullptr;
        delete next;
        next = after;
    }
}

void KoProduction::setName(char* name) {
    ramFree(Name);
    Name = name;
}

void KoProduction::addToEnd(KoProduction* production) {
    KoProduction* last = this;
    while (last->NextProduction) last = last->NextProduction;
    last->NextProduction = production;
}

KoParseState* KoProduction::addParseState() {
    KoParseState* state = new KoParseState;
    if (!state) {
        KoErrorKeeper::addMemoryError();
        return nullptr;
    }
    if (!ParseStateTop) {
        ParseStateTop = state;
    } else {
        LastState->NextState = state;
        state->PrevState = LastState;
    }
    LastState = state;
    return state;
}

const char* KoProduction::numberToName(short number) const {
    for (const KoProduction* p = this; p; p = p->NextProduction)
        if (p->Number == number) return p->Name;
    return nullptr;
}

unsigned KoProduction::addFirst(short type, const char* text) {
    if (FirstList) return FirstList->addToList(type, text);
    FirstList = new KoTokenNode(type, text);
    if (FirstList && (!text || FirstList->TokenString)) return 0;
    delete FirstList;
    FirstList = nullptr;
    KoErrorKeeper::addMemoryError();
    return 1;
}

unsigned KoProduction::calculateFirst() {
    // Deliberate guard: a production reached again while its own FIRST set is being worked
    // out is left-recursive, which has no finite FIRST set. Fail instead of recursing forever.
    if (FirstInProgress) return 1;
    if (FirstList) return 0;
    FirstInProgress = 1;
    unsigned failed = addFirstOfElement(CompiledProduction);
    FirstInProgress = 0;
    if (failed) {
        delete FirstList;
        FirstList = nullptr;
    }
    return failed;
}

unsigned KoProduction::addFirstOfElement(KoBNFElement* element) {
    for (; element; element = element->NextAlternation) {
        if (KoProduction* callee = element->NonTerminal) {
            if (callee->calculateFirst()) return 1;
            for (KoTokenNode* n = callee->FirstList; n; n = n->NextToken)
                if (addFirst(n->TokenType, n->TokenString)) return 1;
        } else if (element->Bracket != BRACKET_NONE) {
            if (addFirstOfElement(element->Contains)) return 1;
            if ((element->Bracket == BRACKET_SQUARE || element->Closure == CLOSURE_KLEENE) &&
                addFirstOfElement(element->NextSequential))
                return 1;
        } else if (addFirst(element->TokenType, element->TokenString)) {
            return 1;
        }
    }
    return 0;
}
