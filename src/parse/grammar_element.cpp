// Building blocks of a compiled grammar: the element tree of a production (KoBNFElement),
// FIRST-set lists (KoTokenNode) and the packing of production arrays into packed text.
// An element owns everything to its right and below: the alternatives behind it, the
// elements after it and a group's contents.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/grammar.h"

char* koPackResources(const resourceElement* elements, unsigned count) {
    unsigned long size = static_cast<unsigned long>(count) * 3 + 1;
    for (unsigned i = 0; i < count; ++i)
        size += elements[i].resourceText ? std::strlen(elements[i].resourceText) : 0;
    char* packed = static_cast<char*>(ramMalloc(size));
    if (!packed) {
        KoErrorKeeper::addMemoryError();
        return nullptr;
    }
    char* p = packed;
    for (unsigned i = 0; i < count; ++i) {
        const char* text = elements[i].resourceText ? elements[i].resourceText : "";
        unsigned long length = std::strlen(text);
        std::memcpy(p, text, length + 1);
        p += length + 1;
        std::memcpy(p, &elements[i].resourceNumber, 2);
        p += 2;
    }
    *p = '\0';
    return packed;
}

KoBNFElement::KoBNFElement()
    : Bracket(BRACKET_NONE), Closure(CLOSURE_NONE), TokenType(0), Literal(0), TokenString(nullptr),
      PrevAlternation(nullptr), NextAlternation(nullptr), PrevSequential(nullptr),
      NextSequential(nullptr), Contains(nullptr), ContainedBy(nullptr), NonTerminal(nullptr) {}

KoBNFElement::~KoBNFElement() {
    ramFree(TokenString);
    delete Contains;
    delete NextAlternation;
    // The sequence is walked here rather than by recursion: alternatives can be long.
    KoBNFElement* next = NextSequential;
    while (next) {
        KoBNFElement* after = next->NextSequential;
        next->NextSequential = nullptr;
        delete next;
        next = after;
    }
}

unsigned KoBNFElement::setTokenString(const char* text) {
    char* copy = nullptr;
    if (text && !(copy = ramAllocStr(text))) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    ramFree(TokenString);
    TokenString = copy;
    return 0;
}

void KoBNFElement::addToSequentialEnd(KoBNFElement* element) {
    if (!element) return;
    KoBNFElement* last = this;
    while (last->NextSequential) last = last->NextSequential;
    last->NextSequential = element;
    element->PrevSequential = last;
}

void KoBNFElement::addToAlternationEnd(KoBNFElement* element) {
    if (!element) return;
    KoBNFElement* last = this;
    while (last->NextAlternation) last = last->NextAlternation;
    last->NextAlternation = element;
    element->PrevAlternation = last;
}

KoTokenNode::KoTokenNode(short type, const char* text)
    : TokenType(type), TokenString(text ? ramAllocStr(text) : nullptr), NextToken(nullptr) {}

KoTokenNode::KoTokenNode(const KoTokenNode* list)
    : TokenType(list ? list->TokenType : 0),
      TokenString(list && list->TokenString ? ramAllocStr(list->TokenString) : nullptr),
      NextToken(nullptr) {
    if (list) addToList(list->NextToken);
}

KoTokenNode::~KoTokenNode() {
    ramFree(TokenString);
    KoTokenNode* next = NextToken;
    while (next) {
        KoTokenNode* after = next->NextToken;
        next->NextToken = nullptr;
        delete next;
        next = after;
    }
}

unsigned KoTokenNode::addToList(short type, const char* text) {
    for (const KoTokenNode* n = this; n; n = n->NextToken)
        if (n->TokenType == type) return 0;
    KoTokenNode* node = new KoTokenNode(type, text);
    if (!node || (text && !node->TokenString)) {
        delete node;
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    node->NextToken = NextToken;
    NextToken = node;
    return 0;
}

unsigned KoTokenNode::addToList(const KoTokenNode* list) {
    for (; list; list = list->NextToken)
        if (addToList(list->TokenType, list->TokenString)) return 1;
    return 0;
}
