// The grammar compiler: a client's grammar in a compact BNF, compiled at run time into
// productions (KoProduction), their elements (KoBNFElement), FIRST sets (KoTokenNode) and
// parse states (parse_states.h). Input is packed text: entries of a NUL-terminated production
// text followed directly by its 16-bit number (host byte order, unaligned), ended by an empty
// text. Compilation reports nothing but isOK(): no message, no position.
#pragma once

#include <cstdint>
#include "kolib/keyword_list.h"
#include "kolib/lexer.h"
#include "kolib/object.h"

class KoParseState;

enum BracketType { BRACKET_NONE = 0, BRACKET_SQUARE = 1, BRACKET_CURLY = 2 };
enum ClosureType { CLOSURE_NONE = 0, CLOSURE_KLEENE = 1, CLOSURE_POSITIVE = 2 };

// One production text with its number: the array form of the packed text.
struct KO_API resourceElement {
    const char* resourceText;
    uint16_t resourceNumber;
};

// Packs `count` entries into one new buffer of count * 3 + 1 + the texts' lengths bytes, in
// array order (release with ramFree). Null when the buffer cannot be allocated.
KO_API char* koPackResources(const resourceElement* elements, unsigned count);

// One element of a production. It owns its text, the alternatives behind it (NextAlternation),
// the elements after it (NextSequential) and a group's contents (Contains).
class KO_API KoBNFElement : public KoObject {
public:
    KoBNFElement();
    ~KoBNFElement() override;
    KoBNFElement(const KoBNFElement&) = delete;
    KoBNFElement& operator=(const KoBNFElement&) = delete;

    BracketType getBracket() const { return Bracket; }
    void setBracket(BracketType bracket) { Bracket = bracket; }
    ClosureType getClosure() const { return Closure; }
    void setClosure(ClosureType closure) { Closure = closure; }
    short getTokenType() const { return TokenType; }
    void setTokenType(short type) { TokenType = type; }
    int getLiteral() const { return Literal; }
    void setLiteral(int literal) { Literal = literal; }
    const char* getTokenString() const { return TokenString; }
    // Keeps a copy of `text` (null clears); nonzero when the copy fails.
    unsigned setTokenString(const char* text);
    KoBNFElement* getPrevAlternation() const { return PrevAlternation; }
    void setPrevAlternation(KoBNFElement* e) { PrevAlternation = e; }
    KoBNFElement* getNextAlternation() const { return NextAlternation; }
    void setNextAlternation(KoBNFElement* e) { NextAlternation = e; }
    KoBNFElement* getPrevSequential() const { return PrevSequential; }
    void setPrevSequential(KoBNFElement* e) { PrevSequential = e; }
    KoBNFElement* getNextSequential() const { return NextSequential; }
    void setNextSequential(KoBNFElement* e) { NextSequential = e; }
    KoBNFElement* getContains() const { return Contains; }
    void setContains(KoBNFElement* e) { Contains = e; }
    KoBNFElement* getContainedBy() const { return ContainedBy; }
    void setContainedBy(KoBNFElement* e) { ContainedBy = e; }
    class KoProduction* getNonTerminal() const {
        return NonTerminal;
    }
    void setNonTerminal(class KoProduction* p) { NonTerminal = p; }

    // Link `element` behind the last of the NextSequential (NextAlternation) chain; null is
    // ignored.
    void addToSequentialEnd(KoBNFElement* element);
    void addToAlternationEnd(KoBNFElement* element);

    BracketType Bracket;
    ClosureType Closure;
    int16_t TokenType; // terminal or keyword number; RED_IDENT for a reference too
    int Literal;       // a "~" word: an identifier of this text, case ignored
    char* TokenString; // owned; null for the built-in classes
    KoBNFElement* PrevAlternation;
    KoBNFElement* NextAlternation;
    KoBNFElement* PrevSequential;
    KoBNFElement* NextSequential;
    KoBNFElement* Contains;
    KoBNFElement* ContainedBy;       // declared only: the compiler leaves it null
    class KoProduction* NonTerminal; // not owned
};

// One entry of a FIRST set. A list holds at most one node per terminal number.
class KO_API KoTokenNode : public KoObject {
public:
    // A single node; TokenString is null when `text` is null or its copy fails.
    KoTokenNode(short type, const char* text);
    // Copies a whole list: the head first, then the others behind it.
    explicit KoTokenNode(const KoTokenNode* list);
    ~KoTokenNode() override; // deletes the nodes behind it too
    KoTokenNode(const KoTokenNode&) = delete;
    KoTokenNode& operator=(const KoTokenNode&) = delete;

    // Nothing when a node of the list has `type` already; else a new node directly behind
    // this head. Nonzero when memory runs out.
    unsigned addToList(short type, const char* text);
    unsigned addToList(const KoTokenNode* list);

    KoTokenNode* nextNode() const { return NextToken; }
    short getTokenType() const { return TokenType; }
    const char* getTokenStringPtr() const { return TokenString; }

    int16_t TokenType;
    char* TokenString; // owned or null
    KoTokenNode* NextToken;
};

// One production: its name and number, its element tree, FIRST set and parse states.
// Deleting a production deletes the productions behind it.
class KO_API KoProduction : public KoObject {
public:
    KoProduction();
    ~KoProduction() override;
    KoProduction(const KoProduction&) = delete;
    KoProduction& operator=(const KoProduction&) = delete;

    const char* getName() const { return Name; }
    // Takes ownership of `name` (a ram block) or null.
    void setName(char* name);
    short getNumber() const { return Number; }
    void setNumber(short number) { Number = number; }
    KoBNFElement* getCompiledProduction() const { return CompiledProduction; }
    void setCompiledProduction(KoBNFElement* e) { CompiledProduction = e; }
    KoTokenNode* getFirstList() const { return FirstList; }
    KoProduction* getNextProduction() const { return NextProduction; }
    void setNextProduction(KoProduction* p) { NextProduction = p; }
    KoParseState* getParseTop() const { return ParseStateTop; }

    // Appends `production` at the end of the chain that starts here.
    void addToEnd(KoProduction* production);
    // The FIRST set; 0, or 1 when memory runs out or the production is left-recursive.
    unsigned calculateFirst();
    unsigned addFirstOfElement(KoBNFElement* element);
    int firstListIsNull() const { return FirstList == nullptr; }
    // Builds this production's parse states (parse_states.cpp). 0 or 1.
    unsigned createParseStates();
    // A new state on this production's list (the first one becomes the top); null when
    // memory runs out.
    KoParseState* addParseState();
    // The name of the first production from here on with that number, or null.
    const char* numberToName(short number) const;

    char* Name; // owned
    int16_t Number;
    KoBNFElement* CompiledProduction; // owned
    KoTokenNode* FirstList;           // owned; null until computed
    KoProduction* NextProduction;     // owned
    KoParseState* ParseStateTop;      // owned, with every state behind it

private:
    unsigned addFirst(short type, const char* text);
    KoParseState* LastState;
    int FirstInProgress; // set while the FIRST set is being worked out
};

// A compiled grammar. The keyword list belongs to the client and must outlive the grammar.
// Groups ("[ ]", "{ }") may be nested KO_GRAMMAR_MAX_NESTING deep; deeper grammar text fails
// to compile (the compiler works through the groups recursively).
enum { KO_GRAMMAR_MAX_NESTING = 1000 };

class KO_API KoGrammar : public KoObject {
public:
    KoGrammar(const char* packedText, KoKeywordList* keywords);
    KoGrammar(const resourceElement* elements, unsigned count, KoKeywordList* keywords);
    ~KoGrammar() override;
    KoGrammar(const KoGrammar&) = delete;
    KoGrammar& operator=(const KoGrammar&) = delete;

    // 0 success, 1 failure. A second compile appends to the productions already there.
    unsigned compile(const char* packedText);
    int isOK() const { return IsOK; }
    KoProduction* getCompiledGrammar() const { return CompiledGrammar; }
    // The goal production; 1 when there is none.
    unsigned getParseTable(KoProduction** goal) const;
    // Starts parsing at the production `name` from now on; 1 when the copy fails or no
    // production has that name.
    unsigned changeGoal(const char* name);

    int IsOK;
    KoProduction* CompiledGrammar; // owned
    KoProduction* ParseTable;      // the goal; not separately owned
    char* GoalProduction;          // owned, or null for "goal"
    KoKeywordList* KeywordList;    // not owned

private:
    unsigned compGoal(const char* packedText);
    unsigned compReduct(KoLexer* lexer, KoProduction** production);
    unsigned compReductName(KoLexer* lexer, char** name, short* type);
    unsigned compValidateToken(KoLexer* lexer, short expected);
    // `depth`: the number of groups around the element.
    unsigned compReductElement(KoLexer* lexer, KoBNFElement** first, unsigned depth);
    unsigned compBraceContents(KoLexer* lexer, KoBNFElement** first, unsigned depth);
    unsigned compReductTerm(KoLexer* lexer, KoBNFElement** first);
    int isLegalReductTerm(short type) const;
    unsigned resolveNonTerminals();
    unsigned resolve(KoBNFElement* element);
    KoProduction* getNonTerminalProduction(const char* name) const;
    unsigned createParseTree();
    unsigned calculateFirst();
    unsigned findGoal();
    void freeGrammar();
};
