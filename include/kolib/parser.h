// KoParser: runs a compiled grammar over input text with a KoLexer. Where a terminal allows
// more than one transition the alternatives are tried in grammar order, the default last;
// while such a decision is open nothing reaches the client, and once the production that
// holds it is reduced the parser rewinds and parses that stretch again for real, so
// ReductProc only ever sees the chosen alternative. Clients derive from KoParser and override
// ReductProc (build the tree) and FailProc (word the failure).
#pragma once

#include <cstdint>
#include "kolib/grammar.h"
#include "kolib/parse_states.h"

// A node of the client's parse tree: a terminal (number 1 to 999, with its text) or a
// production. A node owns its children.
class KO_API KoReduction : public KoObject {
public:
    KoReduction(short number, const char* text);
    ~KoReduction() override; // deletes the whole subtree, without recursion
    KoReduction(const KoReduction&) = delete;
    KoReduction& operator=(const KoReduction&) = delete;

    int copyFailed() const { return TextFailed; }
    KoReduction* getParent() const { return Parent; }
    void setParent(KoReduction* r) { Parent = r; }
    KoReduction* getFirstChild() const { return FirstChild; }
    void setFirstChild(KoReduction* r) {
        FirstChild = r;
        LastChild = nullptr;
    }
    KoReduction* getNextSibling() const { return NextSibling; }
    void setNextSibling(KoReduction* r) { NextSibling = r; }
    KoReduction* getPrevSibling() const { return PrevSibling; }
    void setPrevSibling(KoReduction* r) { PrevSibling = r; }
    KoReduction* getNextReduction() const { return NextSibling; }
    // Deletes `first` and the siblings behind it, with their subtrees.
    static void deleteSiblings(KoReduction* first);
    // The root above this node.
    KoReduction* getGoal();
    // Appends `child` behind the last child; null is ignored. The last child linked here is
    // remembered, so a client that unlinks children by hand resets them with setFirstChild.
    void addChild(KoReduction* child);

    int terminal() const { return Terminal; }
    void setTerminal(int flag) { Terminal = flag; }
    short reductNumber() const { return ReductNumber; }
    void setReductNumber(short number) { ReductNumber = number; }
    const char* string() const { return String; }
    // Keeps a copy; 1 when the copy fails (the old text stays).
    unsigned setString(const char* text);

    int Terminal;
    int16_t ReductNumber;
    char* String; // owned or null
    KoReduction* Parent;
    KoReduction* FirstChild;
    KoReduction* NextSibling;
    KoReduction* PrevSibling;

private:
    int TextFailed;
    KoReduction* LastChild;
};

typedef KoReduction* (*REDUCTPROC)(short number, KoReduction* firstChild);

// One node of the parse stack: the production being recognised and where to return.
class KO_API KoParseStackNode : public KoObject {
public:
    KoParseStackNode(KoParseState* state, short number, KoReduction* parked)
        : ParseState(state), ReductionNumber(number), PartialReduction(parked), NextNode(nullptr) {}
    // From this node down, the node whose NextNode is `node` (null: the bottom node).
    KoParseStackNode* getNodeBefore(KoParseStackNode* node);

    KoParseState* ParseState;
    int16_t ReductionNumber;
    KoReduction* PartialReduction; // the caller's node under construction, parked
    KoParseStackNode* NextNode;    // the node below
};

// One open decision: where to come back to and which alternative was taken there.
class KO_API KoBacktrackPosition : public KoObject {
public:
    KoBacktrackPosition();
    ~KoBacktrackPosition() override;
    KoBacktrackPosition(const KoBacktrackPosition&) = delete;
    KoBacktrackPosition& operator=(const KoBacktrackPosition&) = delete;

    KoToken* Token; // owned, or null at the start of the text
    int16_t TokenIndex;
    KoScanner* LiteralScanner; // owned, or null outside literals
    KoToken LiteralToken;
    KoParseStackNode* ParseStackNode;
    KoParseState* ParseState;
    KoReduction* Reduction;
    int16_t TokenType;
    char* TokenName; // owned
    int16_t Alternative;
    KoBacktrackPosition* NextPosition; // the older decision
};

class KO_API KoParser : public KoObject {
public:
    // Both tables packed: the grammar as KoGrammar reads it, keywords as KoKeywordList does.
    KoParser(const char* grammarText, const char* keywordText);
    KoParser(const resourceElement* grammar, unsigned grammarCount, const resourceElement* keywords,
             unsigned keywordCount);
    ~KoParser() override;
    KoParser(const KoParser&) = delete;
    KoParser& operator=(const KoParser&) = delete;

    // Compiles the grammar afresh; 0, or 1 when the keyword list or the grammar failed.
    unsigned init(const char* grammarText, const char* keywordText);
    unsigned init(const resourceElement* grammar, unsigned grammarCount,
                  const resourceElement* keywords, unsigned keywordCount);
    int isOK() const { return IsOK; }

    // Settings for the lexer of every later parse. Each returns 1 when its copy fails.
    void setLiteralQuoteChars(unsigned short q1, unsigned short q2, unsigned short q3);
    unsigned setValidFirstChars(const char* set);
    unsigned setValidMiddleChars(const char* set);
    unsigned setValidChars(const char* set);
    unsigned changeGoal(const char* name);

    // 0 with the goal's tree in *result (the caller deletes it; it may be null), or 1 with
    // *result untouched (set to null on a parser that is not OK).
    unsigned parse(const char* text, KoReduction** result);

    // One call per recognised production, bottom-up, never for abandoned alternatives.
    // What it returns becomes a child of the enclosing production's node (or the result).
    // The default makes a node of that number over the children.
    virtual KoReduction* ReductProc(short number, KoReduction* firstChild);
    // One call per production on the stack, from the goal upwards, until it returns nonzero.
    // `expected` lists the transitions of the state where matching failed. The default
    // returns 1 at once.
    virtual int FailProc(short tokenType, const unsigned char* tokenText, short productionNumber,
                         const unsigned char* productionName, KoStateTransition* expected);

    int IsOK;
    KoGrammar* ParsedGrammar;   // owned
    KoKeywordList* KeywordList; // owned
    int QuotesChanged;
    uint16_t Quote1, Quote2, Quote3;
    char* FirstChars; // owned copies or null
    char* MiddleChars;
    char* ValidChars;

private:
    void release();
    // After making KeywordList: false (everything released) when it could not be made.
    bool keywordsReady();
    // After making ParsedGrammar: sets IsOK; 1 (everything released) when it is not OK.
    unsigned settle();
    unsigned keepSet(char** field, const char* set);
    void parseFailed(KoParseStackNode* top, KoBacktrackPosition* decision, short tokenType,
                     const char* tokenText, KoStateTransition* expected);
    int ReductFailed; // the default ReductProc ran out of memory
    friend struct KoParseRun;
};
