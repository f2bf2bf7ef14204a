// KoErrorList: the errors of one thread in the order added. It is a sorted array with sorting
// switched off, owning its entries. The OutOfMemory flag stands for the shared static memory
// error, which is never stored in the array, so reporting exhausted memory allocates nothing.
#include "kolib/errors.h"
#include "kolib/frame.h"
#include "core/lib_statics.h"

KoErrorList::KoErrorList(void* owner, unsigned supportMultipleErrors)
    : OwnerOfList(owner), SupportMultipleErrors(supportMultipleErrors & 1), OutOfMemory(0),
      NextList(nullptr), AddressOfHeadPtr(nullptr), CurrentIndex(0) {
    stopSort();
    sortOnRequest();
    // 16 slots up front. Should that allocation fail the list starts without slots and the
    // first add grows it, so constructing a list never fails.
    setInitialSize(16);
}

KoErrorList::~KoErrorList() {
    clearErrors();
}

KoError* KoErrorList::getMemoryError() {
    return &MemoryErrorStatic;
}
KoError* KoErrorList::getDummyError() {
    return &DummyErrorStatic;
}

KoError* KoErrorList::allocError(unsigned short errorNumber, const char* text, ErrorType type,
                                 unsigned short interfaceError, long nativeError) {
    KoError* error = new KoError(errorNumber, text, type, interfaceError, nativeError);
    if (error && !error->ErrorText.isOk()) {
        delete error;
        return nullptr;
    }
    return error;
}

void KoErrorList::clearErrors() {
    OutOfMemory = 0;
    unsigned long count = getCount();
    for (unsigned long i = 0; i < count; ++i) {
        KoError* error = static_cast<KoError*>(at(i));
        if (error && !error->isStatic()) delete error;
    }
    reset();
    CurrentIndex = 0;
}

KoError* KoErrorList::getLastError() {
    if (OutOfMemory) return getMemoryError();
    unsigned long count = getCount();
    return count ? static_cast<KoError*>(at(count - 1)) : nullptr;
}

KoError* KoErrorList::removeFirstError() {
    if (OutOfMemory) {
        OutOfMemory = 0;
        return getMemoryError();
    }
    if (!getCount()) return nullptr;
    KoError* error = static_cast<KoError*>(at(0));
    removeAtIndex(0);
    CurrentIndex = 0;
    return error;
}

KoError* KoErrorList::removeLastError() {
    if (OutOfMemory) {
        OutOfMemory = 0;
        return getMemoryError();
    }
    unsigned long count = getCount();
    if (!count) return nullptr;
    KoError* error = static_cast<KoError*>(at(count - 1));
    removeAtIndex(count - 1);
    CurrentIndex = 0;
    return error;
}

unsigned short KoErrorList::getErrorsMix() {
    int errors = 0, warnings = 0;
    unsigned long count = getCount();
    for (unsigned long i = 0; i < count; ++i) {
        if (static_cast<KoError*>(at(i))->isWarning())
            warnings = 1;
        else
            errors = 1;
    }
    if (errors && warnings) return 1;
    if (errors) return 2;
    return warnings ? 3 : 0;
}

int KoErrorList::isExistingError() {
    unsigned short mix = getErrorsMix();
    return mix == 1 || mix == 2;
}

int KoErrorList::isWarningOnly() {
    return getErrorsMix() == 3;
}

unsigned KoErrorList::concatErrors(KoString* out, unsigned short separator) {
    unsigned long count = getCount();
    for (unsigned long i = 0; i < count; ++i) {
        KoError* error = static_cast<KoError*>(at(i));
        const char* text = error->getErrorText();
        unsigned long length = 0;
        while (text[length]) ++length;
        if (out->assureSpace(length + 1)) return 1;
        if (i) out->concat(static_cast<char>(separator));
        out->concat(text, length);
    }
    return 0;
}

void KoErrorList::setWarningAfterPos(unsigned long pos) {
    unsigned long count = getCount();
    for (unsigned long i = pos + 1; i < count; ++i) static_cast<KoError*>(at(i))->setWarning();
}

void KoErrorList::appendTextStartingAtPos(const char* text, unsigned long pos) {
    unsigned long count = getCount();
    for (unsigned long i = pos; i < count; ++i) static_cast<KoError*>(at(i))->appendText(text);
}

void KoErrorList::moveLastErrorToPos(unsigned long pos) {
    unsigned long count = getCount();
    if (!count || pos >= count) return;
    KoObject* last = at(count - 1);
    removeAtIndex(count - 1);
    addAtIndex(last, pos); // the slot just freed means this cannot need to grow
}

KoError* KoErrorList::getFirstNode() {
    CurrentIndex = 1;
    return getCount() ? static_cast<KoError*>(at(0)) : nullptr;
}

KoError* KoErrorList::getNextNode() {
    if (CurrentIndex >= getCount()) return nullptr;
    return static_cast<KoError*>(at(CurrentIndex++));
}

KoError* KoErrorList::getNodeAtPos(unsigned long pos) {
    CurrentIndex = static_cast<uint16_t>(pos + 1);
    return pos < getCount() ? static_cast<KoError*>(at(pos)) : nullptr;
}

void KoErrorList::pushOnErrorKeeper() {
    KoErrorKeeper::setErrorList(this);
}

KoErrorList* KoErrorList::popOffErrorKeeper() {
    return KoErrorKeeper::giveUpErrorList();
}
