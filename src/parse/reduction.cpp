// KoReduction: the client's parse-tree node, and the parse stack's and open decisions'
// small records. A reduction owns its children; deleting one releases the subtree without
// recursion, since input nesting (parentheses) sets the depth.
#include "kolib/errors.h"
#include "kolib/parser.h"

KoReduction::KoReduction(short number, const char* text)
    : Terminal(number >= 1 && number <= 999), ReductNumber(number),
      String(text ? ramAllocStr(text) : nullptr), Parent(nullptr), FirstChild(nullptr),
      NextSibling(nullptr), PrevSibling(nullptr), TextFailed(text && !String), LastChild(nullptr) {}

KoReduction::~KoReduction() {
    ramFree(String);
    // Each child's own children are moved up in front of its siblings before it goes.
    while (KoReduction* child = FirstChild) {
        KoReduction* rest = child->NextSibling;
        if (KoReduction* grand = child->FirstChild) {
            KoReduction* last = grand;
            while (last->NextSibling) last = last->NextSibling;
            last->NextSibling = rest;
            rest = grand;
            child->FirstChild = nullptr;
        }
        FirstChild = rest;
        child->NextSibling = nullptr;
        delete child;
    }
}

void KoReduction::deleteSiblings(KoReduction* first) {
    while (first) {
        KoReduction* next = first->NextSibling;
        first->NextSibling = nullptr;
        delete first;
        first = next;
    }
}

KoReduction* KoReduction::getGoal() {
    KoReduction* r = this;
    while (r->Parent) r = r->Parent;
    return r;
}

void KoReduction::addChild(KoReduction* child) {
    if (!child) return;
    child->Parent = this;
    child->NextSibling = nullptr;
    if (!FirstChild) {
        FirstChild = LastChild = child;
        child->PrevSibling = nullptr;
        return;
    }
    KoReduction* last = LastChild;
    if (!last || last->Parent != this || last->NextSibling) {
        last = FirstChild;
        while (last->NextSibling) last = last->NextSibling;
    }
    last->NextSibling = child;
    child->PrevSibling = last;
    LastChild = child;
}

unsigned KoReduction::setString(const char* text) {
    char* copy = nullptr;
    if (text && !(copy = ramAllocStr(text))) {
        KoErrorKeeper::addMemoryError();
        return 1;
    }
    ramFree(String);
    String = copy;
    return 0;
}

KoParseStackNode* KoParseStackNode::getNodeBefore(KoParseStackNode* node) {
    for (KoParseStackNode* n = this; n; n = n->NextNode)
        if (n->NextNode == node) return n;
    return nullptr;
}

KoBacktrackPosition::KoBacktrackPosition()
    : Token(nullptr), TokenIndex(0), LiteralScanner(nullptr), ParseStackNode(nullptr),
      ParseState(nullptr), Reduction(nullptr), TokenType(0), TokenName(nullptr), Alternative(0),
      NextPosition(nullptr) {}

KoBacktrackPosition::~KoBacktrackPosition() {
    delete Token;
    delete LiteralScanner;
    ramFree(TokenName);
}
