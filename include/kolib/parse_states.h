// Parse states: the pushdown automaton built from a compiled grammar. Each production owns a
// list of states; a state holds a list of transitions (shift a terminal, push a production,
// move without input) and one default transition taken when none of them fires.
#pragma once

#include <cstdint>
#include "kolib/object.h"

enum ActionType {
    ACTION_PUSH = 0,
    ACTION_REDUCE = 1,
    ACTION_SHIFT = 2,
    ACTION_NONE = 3,
    ACTION_ACCEPT = 4
};

class KoParseState;

class KO_API KoStateTransition : public KoObject {
public:
    // TokenString is a copy of `text` (null allowed); check copyFailed() after construction.
    KoStateTransition(short type, const char* text, ActionType action, KoParseState* next);
    ~KoStateTransition() override; // deletes the transitions behind it too
    KoStateTransition(const KoStateTransition&) = delete;
    KoStateTransition& operator=(const KoStateTransition&) = delete;

    int copyFailed() const { return TextFailed; }
    // Whether this transition fires on the terminal (number, text).
    int matches(short type, const char* text) const;
    // Whether this transition and `other` fire on some input in common.
    int overlaps(const KoStateTransition* other) const;
    KoStateTransition* getNextTransition() const { return NextTransition; }

    int16_t TokenType;
    char* TokenString; // owned or null
    KoParseState* NextParseState;
    ActionType Action;
    KoParseState* PushState;
    int16_t ProductionNumber;
    int Duplicate; // another transition of the state fires on the same input
    KoStateTransition* PrevTransition;
    KoStateTransition* NextTransition;

private:
    int TextFailed;
};

class KO_API KoParseState : public KoObject {
public:
    KoParseState();
    ~KoParseState() override; // deletes its transitions and its default, not NextState
    KoParseState(const KoParseState&) = delete;
    KoParseState& operator=(const KoParseState&) = delete;

    // Appends a transition; both it and any earlier one firing on the same input become
    // Duplicate. 1 when memory runs out.
    unsigned addTransition(short type, const char* text, ActionType action, KoParseState* next,
                           KoParseState* pushState = nullptr, short productionNumber = 0);
    // Replaces the default transition. 1 when memory runs out.
    unsigned setDefault(ActionType action, KoParseState* next);
    // The transition for a terminal: the matching ones counted from 0 in list order, the
    // default counted after them. 0 with *chosen set, or 1 when there is none at that index.
    unsigned nextState(short type, const char* text, KoStateTransition** chosen,
                       int alternative) const;
    KoStateTransition* getTransitionList() const { return TransitionList; }
    KoStateTransition* getDefault() const { return OthersState; }
    KoParseState* getNextState() const { return NextState; }

    KoStateTransition* TransitionList; // owned
    KoParseState* NextState;
    KoParseState* PrevState;
    KoStateTransition* OthersState; // owned; the default transition or null

private:
    KoStateTransition* LastTransition;
};
