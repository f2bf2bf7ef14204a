// Parse states: transitions, matching, and the building of each production's states from
// its element tree. Alternatives are processed in grammar order and transitions appended at
// the end of a state's list, so list order is the parser's tie-break; a transition that
// fires on the same input as an earlier one marks both Duplicate, which is where the parser
// opens a decision.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/grammar.h"
#include "kolib/lexer.h"
#include "kolib/parse_states.h"
#include "kolib/strcompare.h"

KoStateTransition::KoStateTransition(short type, const char* text, ActionType action,
                                     KoParseState* next)
    : TokenType(type), TokenString(text ? ramAllocStr(text) : nullptr), NextParseState(next),
      Action(action), PushState(nullptr), ProductionNumber(0), Duplicate(0),
      PrevTransition(nullptr), NextTransition(nullptr), TextFailed(text && !TokenString) {}

KoStateTransition::~KoStateTransition() {
    ramFree(TokenString);
    KoStateTransition* next = NextTransition;
    while (next) {
        KoStateTransition* after = next->NextTransition;
        next->NextTransition = nullptr;
        delete next;
        next = after;
    }
}

int KoStateTransition::matches(short type, const char* text) const {
    if (TokenType == RED_LITERAL_CONTENTS) return 1;
    if (type == RED_QUOTE) {
        // A literal's quote matches the grammar's own quote symbol of the same character.
        if (!text || !TokenString || std::strcmp(text, TokenString)) return 0;
        return TokenType == RED_ACC_GRAVE || TokenType == RED_DOUBLE_QUOTE ||
               TokenType == RED_SINGLE_QUOTE;
    }
    if (type != TokenType) return 0;
    if (type != RED_IDENT || !TokenString) return 1;
    return text && strEqualCi(text, TokenString);
}

int KoStateTransition::overlaps(const KoStateTransition* other) const {
    if (TokenType == RED_LITERAL_CONTENTS || other->TokenType == RED_LITERAL_CONTENTS) return 1;
    if (TokenType != other->TokenType) return 0;
    if (TokenType != RED_IDENT || !TokenString || !other->TokenString) return 1;
    return strEqualCi(TokenString, other->TokenString);
}

KoParseState::KoParseState()
    : TransitionList(nullptr), NextState(nullptr), PrevState(nullptr), OthersState(nullptr),
      LastTransition(nullptr) {}

KoParseState::~KoParseState() {
    delete TransitionList;
    delete OthersState;
}

unsigned KoParseState::addTransition(short type, const char* text, ActionType action,
                                     KoParseState* next, KoParseState* pushState,
                                     short productionNumber) {
    KoStateTransition* t = new KoStateTransition(type, text, action, next);
    if (!t || t->copyFailed()) {
        delete t;
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    t->PushState = pushState;
    t->ProductionNumber = productionNumber;
    for (KoStateTransition* old = TransitionList; old; old = old->NextTransition)
        if (old->overlaps(t)) old->Duplicate = t->Duplicate = 1;
    if (LastTransition) {
        LastTransition->NextTransition = t;
        t->PrevTransition = LastTransition;
    } else {
        TransitionList = t;
    }
    LastTransition = t;
    return 0;
}

unsigned KoParseState::setDefault(ActionType action, KoParseState* next) {
    KoStateTransition* t = new KoStateTransition(RED_NONE, nullptr, action, next);
    if (!t) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    delete OthersState;
    OthersState = t;
    return 0;
}

unsigned KoParseState::nextState(short type, const char* text, KoStateTransition** chosen,
                                 int alternative) const {
    int matching = 0;
    for (KoStateTransition* t = TransitionList; t; t = t->NextTransition)
        if (t->matches(type, text) && matching++ == alternative) {
            *chosen = t;
            return 0;
        }
    if (OthersState && alternative == matching) {
        *chosen = OthersState;
        return 0;
    }
    return 1;
}

namespace {
// Builds the states of one production; every new state goes on that production's list.
class StateBuilder {
public:
    explicit StateBuilder(KoProduction* owner) : Owner(owner) {}

    unsigned alternatives(KoParseState* s, KoBNFElement* first, KoParseState* f, bool noDefault,
                          bool loop);

private:
    unsigned sequence(KoParseState* s, KoBNFElement* element, KoParseState* f);
    unsigned element(KoParseState* s, KoBNFElement* element, KoParseState* f);
    unsigned setExit(KoParseState* s, KoParseState* f) {
        return f ? s->setDefault(ACTION_NONE, f) : s->setDefault(ACTION_REDUCE, nullptr);
    }
    // A new state whose default reduces: the target of a transition at a production's end.
    KoParseState* reducing() {
        KoParseState* s = Owner->addParseState();
        if (s && s->setDefault(ACTION_REDUCE, nullptr)) return nullptr;
        return s;
    }
    static unsigned copyAsNone(KoParseState* to, const KoParseState* from, KoParseState* next) {
        for (KoStateTransition* t = from->TransitionList; t; t = t->NextTransition)
            if (to->addTransition(t->TokenType, t->TokenString, ACTION_NONE, next)) return 1;
        return 0;
    }

    KoProduction* Owner;
};

unsigned StateBuilder::alternatives(KoParseState* s, KoBNFElement* first, KoParseState* f,
                                    bool noDefault, bool loop) {
    if (!noDefault && setExit(s, f)) return 1;
    KoParseState* l = s;
    if (loop && noDefault) {
        if (!(l = Owner->addParseState()) || setExit(l, f)) return 1;
    }
    for (KoBNFElement* alt = first; alt; alt = alt->NextAlternation) {
        KoParseState* a = Owner->addParseState();
        if (!a || sequence(a, alt, loop ? l : f) || copyAsNone(s, a, a)) return 1;
        // An alternative that opens with optional parts can also start with what follows
        // them. The walk stops where it comes back round (a loop) or at the state itself.
        KoParseState* reached = nullptr;
        const KoParseState* at = a;
        for (int steps = 0; at->OthersState && at->OthersState->Action == ACTION_NONE &&
                            at->OthersState->NextParseState && steps < 64;
             ++steps) {
            at = at->OthersState->NextParseState;
            if (at == s || at == a) break;
            if (!reached) reached = const_cast<KoParseState*>(at);
            if (copyAsNone(s, at, reached)) return 1;
        }
    }
    if (loop && l != s) {
        for (KoStateTransition* t = s->TransitionList; t; t = t->NextTransition)
            if (l->addTransition(t->TokenType, t->TokenString, t->Action, t->NextParseState,
                                 t->PushState, t->ProductionNumber))
                return 1;
    }
    return 0;
}

unsigned StateBuilder::sequence(KoParseState* s, KoBNFElement* e, KoParseState* f) {
    for (; e->NextSequential; e = e->NextSequential) {
        KoParseState* n = Owner->addParseState();
        if (!n || element(s, e, n)) return 1;
        s = n;
    }
    return element(s, e, f);
}

unsigned StateBuilder::element(KoParseState* s, KoBNFElement* e, KoParseState* f) {
    if (e->Bracket == BRACKET_SQUARE) return alternatives(s, e->Contains, f, false, false);
    if (e->Bracket == BRACKET_CURLY)
        return alternatives(s, e->Contains, f, e->Closure != CLOSURE_KLEENE,
                            e->Closure != CLOSURE_NONE);
    if (!f && !(f = reducing())) return 1;
    if (KoProduction* callee = e->NonTerminal) {
        if (!callee->getParseTop() && !callee->addParseState()) return 1;
        for (KoTokenNode* n = callee->FirstList; n; n = n->NextToken)
            if (s->addTransition(n->TokenType, n->TokenString, ACTION_PUSH, callee->getParseTop(),
                                 f, callee->Number))
                return 1;
        return 0;
    }
    return s->addTransition(e->TokenType, e->TokenString, ACTION_SHIFT, f);
}
} // namespace

unsigned KoProduction::createParseStates() {
    if (!ParseStateTop && !addParseState()) return 1;
    StateBuilder builder(this);
    return builder.alternatives(ParseStateTop, CompiledProduction, nullptr, true, false);
}
