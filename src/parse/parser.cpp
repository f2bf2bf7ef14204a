// The parser driver. One parse runs in a KoParseRun: the lexer, the parse stack, the current
// reduction (the node of the production on top of the stack, under construction) and the
// open decisions, newest first. A transition marked Duplicate opens a decision; while any is
// open nothing is built or delivered. When the production on whose stack node the newest
// decision was taken is reduced, that decision is settled: the only open one makes the parser
// rewind to it and parse the stretch again with the choice fixed, this time for real.
//
// How a decision ends depends only on where it was taken: the state, the lexer position and
// the terminal (and whether its node is the bottom one, where a reduce needs the end of the
// text). Everything between the decision and the reduce that settles it happens above its
// node, and nothing is delivered meanwhile. So the run remembers each outcome (the
// alternative that was settled, or that none worked) and, meeting the same decision again,
// takes the settled alternative at once without opening it, or backtracks at once when none
// worked and an older decision is open to take the failure. The client sees the same calls:
// a decision taken at once is one the run would have rewound to (or dropped) and parsed
// along the same path, and a failure with no older decision open still runs its course, so
// that it is reported where it happens. Without such a memory nested groups are explored
// again at every level and after every rewind, which costs time growing with the cube of
// the nesting depth.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/parser.h"

namespace {
// Where a decision is taken.
struct DecisionKey {
    const KoParseState* State;
    uint32_t Main;    // main scanner offset
    uint32_t Literal; // literal scanner offset + 1, or 0 outside literals
    int16_t TokenIndex;
    int16_t Type;
    uint16_t ScanType; // scan code of the lexer's current token
    uint16_t Bottom;   // the decision's node is the bottom one

    bool operator==(const DecisionKey& o) const {
        return State == o.State && Main == o.Main && Literal == o.Literal &&
               TokenIndex == o.TokenIndex && Type == o.Type && ScanType == o.ScanType &&
               Bottom == o.Bottom;
    }
    unsigned long hash() const {
        unsigned long h = reinterpret_cast<unsigned long>(State) >> 4;
        h = h * 31 + Main;
        h = h * 31 + Literal;
        h = h * 31 + static_cast<uint16_t>(TokenIndex);
        h = h * 31 + static_cast<uint16_t>(Type);
        h = h * 31 + ScanType + Bottom;
        return h ^ (h >> 15);
    }
};

const int16_t FAILED = -1; // no alternative of the decision worked

// Outcomes of decisions, open addressing; an entry with a null State is free. The first
// entries live in the object itself: most parses need no more.
class DecisionMemo {
public:
    DecisionMemo() : Inline() {}
    ~DecisionMemo() {
        if (Entries != Inline) ramFree(Entries);
    }
    DecisionMemo(const DecisionMemo&) = delete;
    DecisionMemo& operator=(const DecisionMemo&) = delete;

    // The remembered outcome, or 0 when there is none.
    const int16_t* find(const DecisionKey& key) const {
        for (unsigned long i = key.hash() & (Size - 1);; i = (i + 1) & (Size - 1)) {
            if (!Entries[i].Key.State) return nullptr;
            if (Entries[i].Key == key) return &Entries[i].Outcome;
        }
    }
    // 1 when memory runs out (the error is on the list).
    unsigned remember(const DecisionKey& key, int16_t outcome) {
        if ((Used + 1) * 2 > Size && grow()) return 1;
        Entry* e = slot(Entries, Size, key);
        if (!e->Key.State) {
            e->Key = key;
            ++Used;
        }
        e->Outcome = outcome;
        return 0;
    }

private:
    struct Entry {
        DecisionKey Key;
        int16_t Outcome;
    };
    static Entry* slot(Entry* entries, unsigned long size, const DecisionKey& key) {
        unsigned long i = key.hash() & (size - 1);
        while (entries[i].Key.State && !(entries[i].Key == key)) i = (i + 1) & (size - 1);
        return &entries[i];
    }
    unsigned grow() {
        unsigned long size = Size * 2;
        Entry* entries = static_cast<Entry*>(ramCalloc(size * sizeof(Entry)));
        if (!entries) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        for (unsigned long i = 0; i < Size; ++i)
            if (Entries[i].Key.State) *slot(entries, size, Entries[i].Key) = Entries[i];
        if (Entries != Inline) ramFree(Entries);
        Entries = entries;
        Size = size;
        return 0;
    }

    Entry Inline[32];
    Entry* Entries = Inline;
    unsigned long Size = 32;
    unsigned long Used = 0;
};

// An open decision and where it was taken. Token points at Saved (or is null), and
// TokenName is a buffer of NameSize bytes, so that a decision can be used again.
struct RunDecision : KoBacktrackPosition {
    ~RunDecision() override {
        if (Token == &Saved) Token = nullptr;
    }
    DecisionKey Key;
    KoToken Saved;
    unsigned long NameSize = 0;
};

// Copies text into the growing buffer *buffer of *size bytes; 1 when memory runs out.
unsigned copyInto(char** buffer, unsigned long* size, const char* text) {
    unsigned long length = text ? std::strlen(text) : 0;
    if (length + 1 > *size) {
        void* grown = *buffer;
        if (ramResize(&grown, length + 1)) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        *buffer = static_cast<char*>(grown);
        *size = length + 1;
    }
    if (length) std::memcpy(*buffer, text, length);
    (*buffer)[length] = '\0';
    return 0;
}
} // namespace

struct KoParseRun {
    explicit KoParseRun(KoParser* parser) : P(parser) {}
    ~KoParseRun();
    KoParseRun(const KoParseRun&) = delete;
    KoParseRun& operator=(const KoParseRun&) = delete;

    unsigned run(const char* text, KoReduction** result);

private:
    unsigned start(const char* text);
    void read();
    KoStateTransition* choose(int alternative) const;
    unsigned restore(KoBacktrackPosition* d);
    DecisionKey keyHere() const;
    unsigned openDecision(const DecisionKey& key);
    unsigned settle(int16_t outcome) {
        return Memo.remember(static_cast<RunDecision*>(Decisions)->Key, outcome);
    }
    unsigned push(const KoStateTransition* t);
    unsigned shift();
    unsigned reduce(bool* rewind);
    void dropDecision();
    // Empty reductions and stack nodes are kept for reuse within the run: a parse pushes and
    // pops far more often than its stack grows.
    KoReduction* freshReduction();
    void recycle(KoReduction* r);
    KoParseStackNode* freshNode(KoParseState* state, short number, KoReduction* parked);
    void recycle(KoParseStackNode* n);

    KoParser* P;
    KoLexer* Lexer = nullptr;
    // The state under the goal, whose only way on is to accept.
    KoParseState Bottom;
    KoStateTransition Accept{RED_NONE, nullptr, ACTION_ACCEPT, nullptr};
    KoParseStackNode* Top = nullptr;
    KoReduction* Current = nullptr;
    KoBacktrackPosition* Decisions = nullptr;
    KoParseState* State = nullptr;
    short Type = RED_NONE;
    const char* Text = nullptr;
    char* TextCopy = nullptr; // the terminal's text after a restore
    unsigned long TextCopySize = 0;
    RunDecision* SpareDecisions = nullptr; // linked by NextPosition
    DecisionMemo Memo;
    KoReduction* SpareReductions = nullptr; // linked by NextSibling
    KoParseStackNode* SpareNodes = nullptr; // linked by NextNode
};

KoParseRun::~KoParseRun() {
    while (Decisions) dropDecision();
    while (KoParseStackNode* n = Top) {
        Top = n->NextNode;
        delete n->PartialReduction;
        delete n;
    }
    delete Current;
    delete Lexer;
    Bottom.OthersState = nullptr; // Accept is not the state's to delete
    ramFree(TextCopy);
    while (KoBacktrackPosition* d = SpareDecisions) {
        SpareDecisions = static_cast<RunDecision*>(d->NextPosition);
        delete d;
    }
    KoReduction::deleteSiblings(SpareReductions);
    while (KoParseStackNode* n = SpareNodes) {
        SpareNodes = n->NextNode;
        delete n;
    }
}

KoReduction* KoParseRun::freshReduction() {
    KoReduction* r = SpareReductions;
    if (!r) return new KoReduction(0, nullptr);
    SpareReductions = r->NextSibling;
    r->NextSibling = nullptr;
    return r;
}

// Only the run's own empty reductions come here, never a client's node.
void KoParseRun::recycle(KoReduction* r) {
    if (!r) return;
    KoReduction::deleteSiblings(r->FirstChild);
    r->setFirstChild(nullptr);
    r->Parent = r->PrevSibling = nullptr;
    r->NextSibling = SpareReductions;
    SpareReductions = r;
}

KoParseStackNode* KoParseRun::freshNode(KoParseState* state, short number, KoReduction* parked) {
    KoParseStackNode* n = SpareNodes;
    if (!n) return new KoParseStackNode(state, number, parked);
    SpareNodes = n->NextNode;
    n->ParseState = state;
    n->ReductionNumber = number;
    n->PartialReduction = parked;
    n->NextNode = nullptr;
    return n;
}

void KoParseRun::recycle(KoParseStackNode* n) {
    n->PartialReduction = nullptr;
    n->NextNode = SpareNodes;
    SpareNodes = n;
}

void KoParseRun::dropDecision() {
    RunDecision* d = static_cast<RunDecision*>(Decisions);
    Decisions = d->NextPosition;
    delete d->LiteralScanner;
    d->LiteralScanner = nullptr;
    d->NextPosition = SpareDecisions;
    SpareDecisions = d;
}

unsigned KoParseRun::start(const char* text) {
    KoProduction* goal = nullptr;
    if (P->ParsedGrammar->getParseTable(&goal)) return 1;
    Bottom.OthersState = &Accept;
    Lexer = new KoLexer(text, P->KeywordList);
    Current = new KoReduction(0, nullptr);
    Top = new KoParseStackNode(&Bottom, goal->Number, nullptr);
    if (!Lexer || !Lexer->MainScanner || !Current || !Top) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    if (P->QuotesChanged) Lexer->setLiteralQuoteChars(P->Quote1, P->Quote2, P->Quote3);
    if ((P->FirstChars || P->MiddleChars || P->ValidChars) &&
        Lexer->setValidChars(P->FirstChars, P->MiddleChars, P->ValidChars))
        return 1;
    State = goal->getParseTop();
    read();
    return 0;
}

// A token without a terminal is kept as RED_NONE: no transition matches it, so it ends up
// in the failure report like any unexpected terminal.
void KoParseRun::read() {
    unsigned char* text = nullptr;
    Lexer->nextToken(&Type, &text);
    Text = reinterpret_cast<const char*>(text);
}

KoStateTransition* KoParseRun::choose(int alternative) const {
    KoStateTransition* t = nullptr;
    if (State->nextState(Type, Text, &t, alternative)) return nullptr;
    // Reducing the goal with input left over is no way on.
    if (t->Action == ACTION_REDUCE && Top && !Top->NextNode && Type != RED_EOS) return nullptr;
    return t;
}

unsigned KoParseRun::restore(KoBacktrackPosition* d) {
    Lexer->setPosition(d->Token, d->TokenIndex, d->LiteralScanner, &d->LiteralToken);
    while (Top && Top != d->ParseStackNode) {
        KoParseStackNode* n = Top;
        Top = n->NextNode;
        if (n->PartialReduction != d->Reduction) recycle(n->PartialReduction);
        recycle(n);
    }
    if (Current != d->Reduction) recycle(Current);
    Current = d->Reduction;
    State = d->ParseState;
    Type = d->TokenType;
    if (copyInto(&TextCopy, &TextCopySize, d->TokenName)) return 1;
    Text = TextCopy;
    return 0;
}

DecisionKey KoParseRun::keyHere() const {
    DecisionKey key;
    key.State = State;
    key.Main = static_cast<uint32_t>(Lexer->MainScanner->getCurrentPosition());
    key.Literal = Lexer->tokenIsLiteral()
                      ? static_cast<uint32_t>(Lexer->LiteralScanner->getCurrentPosition() + 1)
                      : 0;
    key.TokenIndex = Lexer->TokenIndex;
    key.Type = Type;
    key.ScanType = static_cast<uint16_t>(Lexer->CurToken.TokenType);
    key.Bottom = Top && !Top->NextNode;
    return key;
}

unsigned KoParseRun::openDecision(const DecisionKey& key) {
    RunDecision* d = SpareDecisions;
    if (d) {
        SpareDecisions = static_cast<RunDecision*>(d->NextPosition);
    } else if (!(d = new RunDecision)) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    d->Key = key;
    d->Alternative = 0;
    d->NextPosition = Decisions;
    Decisions = d;
    // The lexer's position as getPosition takes it, into the decision's own token.
    const KoScanner* scanner = Lexer->getScanner();
    bool atStart = scanner->getCurrentPosition() == 0 && Lexer->CurToken.TokenType != C_EOS;
    if (Lexer->tokenIsLiteral()) {
        KoToken* token = nullptr;
        Lexer->getPosition(&token, &d->TokenIndex, &d->LiteralScanner, &d->LiteralToken);
        if (token) d->Saved = *token;
        delete token;
        if ((!atStart && !token) || !d->LiteralScanner) return 1;
    } else {
        d->TokenIndex = Lexer->TokenIndex;
        d->LiteralToken = Lexer->LiteralToken;
        if (!atStart) d->Saved = Lexer->CurToken;
    }
    d->Token = atStart ? nullptr : &d->Saved;
    d->ParseStackNode = Top;
    d->ParseState = State;
    d->Reduction = Current;
    d->TokenType = Type;
    return copyInto(&d->TokenName, &d->NameSize, Text);
}

unsigned KoParseRun::push(const KoStateTransition* t) {
    KoParseStackNode* node = freshNode(t->PushState, t->ProductionNumber, Current);
    KoReduction* fresh = node ? freshReduction() : nullptr;
    if (!fresh) {
        if (node) recycle(node);
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    node->NextNode = Top;
    Top = node;
    Current = fresh;
    State = t->NextParseState;
    return 0;
}

unsigned KoParseRun::shift() {
    if (!Decisions) {
        KoReduction* leaf = new KoReduction(Type, Text);
        if (!leaf || leaf->copyFailed()) {
            delete leaf;
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        Current->addChild(leaf);
    }
    read();
    return 0;
}

unsigned KoParseRun::reduce(bool* rewind) {
    KoParseStackNode* t = Top;
    // Decisions taken on this production's node are settled now.
    while (Decisions && Decisions->ParseStackNode == t) {
        if (settle(Decisions->Alternative)) return 1;
        if (!Decisions->NextPosition) {
            *rewind = true;
            return 0;
        }
        dropDecision();
    }
    if (!t) return 1;
    KoReduction* children = Current->FirstChild;
    Current->setFirstChild(nullptr);
    for (KoReduction* c = children; c; c = c->NextSibling) c->Parent = nullptr;
    KoReduction* made = nullptr;
    if (!Decisions) {
        P->ReductFailed = 0;
        made = P->ReductProc(t->ReductionNumber, children);
        if (P->ReductFailed) return 1;
    } else {
        KoReduction::deleteSiblings(children); // nothing is built while undecided
    }
    Top = t->NextNode;
    State = t->ParseState;
    recycle(Current);
    if (!Top) {
        Current = made;
    } else {
        Current = t->PartialReduction;
        Current->addChild(made);
    }
    recycle(t);
    return 0;
}

unsigned KoParseRun::run(const char* text, KoReduction** result) {
    if (start(text)) return 1;
    bool rewind = false;
    for (;;) {
        int index = 0;
        bool restored = false;
        if (rewind) {
            rewind = false;
            if (restore(Decisions)) return 1;
            index = Decisions->Alternative;
            dropDecision();
            restored = true;
        }
        KoStateTransition* t = choose(index);
        DecisionKey key;
        bool open = false;
        if (t && t->Duplicate && !restored && t->TokenType != RED_LITERAL_CONTENTS) {
            key = keyHere();
            const int16_t* outcome = Memo.find(key);
            if (!outcome) {
                open = true;
            } else if (*outcome != FAILED) {
                // Settled here before: take that alternative without opening the decision.
                KoStateTransition* settled = choose(*outcome);
                if (settled) t = settled;
                open = !settled;
            } else if (Decisions) {
                t = nullptr; // nothing here works: straight back to the open decision
            } else {
                open = true; // let it fail where it fails, for the report
            }
        }
        if (!t) {
            if (!Decisions) {
                P->parseFailed(Top, nullptr, Type, Text, State->TransitionList);
                return 1;
            }
            for (;;) { // back to the newest decision with an alternative left
                if (restore(Decisions)) return 1;
                t = choose(++Decisions->Alternative);
                if (t) break;
                if (!Decisions->NextPosition) {
                    P->parseFailed(Top, Decisions, Type, Text, State->TransitionList);
                    return 1;
                }
                if (settle(FAILED)) return 1;
                dropDecision();
            }
            open = false;
        }
        if (t->TokenType == RED_LITERAL_CONTENTS) {
            unsigned char* contents = nullptr;
            if (!Lexer->tokenIsLiteral() || Lexer->getLiteralContents(&contents)) return 1;
            Type = RED_LITERAL_CONTENTS;
            Text = reinterpret_cast<const char*>(contents);
        } else if (open && openDecision(key)) {
            return 1;
        }
        unsigned failed = 0;
        switch (t->Action) {
        case ACTION_SHIFT:
            failed = shift();
            State = t->NextParseState;
            break;
        case ACTION_PUSH:
            failed = push(t);
            break;
        case ACTION_NONE:
            State = t->NextParseState;
            break;
        case ACTION_REDUCE:
            failed = reduce(&rewind);
            break;
        case ACTION_ACCEPT:
            *result = Current;
            Current = nullptr;
            return 0;
        }
        if (failed) return 1;
    }
}

unsigned KoParser::parse(const char* text, KoReduction** result) {
    if (!IsOK || !ParsedGrammar) {
        *result = nullptr;
        return 1;
    }
    KoParseRun run(this);
    return run.run(text ? text : "", result);
}
