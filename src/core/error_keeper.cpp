// KoErrorKeeper: static operations on the calling thread's current error list, the value of
// per-thread slot MDS_ERROR_KEEPER. Lists pushed on one thread form a stack through NextList;
// each push registers the thread and each pop releases one registration.
#include "kolib/errors.h"
#include "kolib/frame.h"
#include "core/lib_statics.h"

KoErrorList* KoErrorKeeper::getErrorList() {
    return static_cast<KoErrorList*>(mdsGetPerThreadData(MDS_ERROR_KEEPER));
}

void KoErrorKeeper::setErrorList(KoErrorList* list) {
    // Without a per-thread record (no memory for one) the list cannot be pushed; errors then
    // go to the library's dummy error.
    if (!mdsPerThreadInit()) return;
    list->NextList = getErrorList();
    mdsSetPerThreadData(MDS_ERROR_KEEPER, list);
    list->AddressOfHeadPtr = mdsGetPerThreadDataAddress(MDS_ERROR_KEEPER);
}

KoErrorList* KoErrorKeeper::giveUpErrorList() {
    KoErrorList* list = getErrorList();
    if (list) mdsSetPerThreadData(MDS_ERROR_KEEPER, list->NextList);
    mdsPerThreadTerm();
    return list;
}

KoError* KoErrorKeeper::addError(KoError* error) {
    KoErrorList* list = getErrorList();
    if (!list) { // no list pushed: a client error; drop the report rather than crash
        if (error && !error->isStatic()) delete error;
        return &DummyErrorStatic;
    }
    if (list->isExistingError() && !list->isSupportMultipleErrors()) {
        // The first error of an operation wins.
        if (error && !error->isStatic()) delete error;
        return list->getDummyError();
    }
    if (!error) return list->getDummyError();
    if (list->add(error)) { // no room to append: report exhausted memory instead
        if (!error->isStatic()) delete error;
        addMemoryError();
        return list->getDummyError();
    }
    return error;
}

void KoErrorKeeper::clearAllErrors() {
    if (KoErrorList* list = getErrorList()) list->clearErrors();
}

void KoErrorKeeper::clearLastError() {
    KoErrorList* list = getErrorList();
    if (!list) return;
    KoError* error = list->removeLastError();
    if (error && !error->isStatic()) delete error;
}

void KoErrorKeeper::appendTextToLastError(const char* text) {
    KoError* error = getLastError();
    if (!error) return;
    error->appendText(text);
    error->resetParamCount();
}

KoError* KoErrorKeeper::getLastError() {
    KoErrorList* list = getErrorList();
    return list ? list->getLastError() : nullptr;
}

unsigned short KoErrorKeeper::getLastErrorNumber() {
    KoError* error = getLastError();
    return error ? error->getErrorNumber() : 0;
}

long KoErrorKeeper::getLastNativeError() {
    KoError* error = getLastError();
    return error ? error->getNativeError() : 0;
}

void KoErrorKeeper::addMemoryError() {
    KoErrorList* list = getErrorList();
    if (!list) return;
    if (!list->isSupportMultipleErrors() && list->isExistingError()) clearLastError();
    list->setOutOfMemory();
}

int KoErrorKeeper::isExistingError() {
    KoErrorList* list = getErrorList();
    return list ? list->isExistingError() : 0;
}

int KoErrorKeeper::isWarningOnly() {
    KoErrorList* list = getErrorList();
    return list ? list->isWarningOnly() : 0;
}

void* KoErrorKeeper::getOwnerOfList() {
    KoErrorList* list = getErrorList();
    return list ? list->getOwnerOfList() : nullptr;
}

unsigned KoErrorKeeper::concatErrors(KoString* out, unsigned short separator) {
    KoErrorList* list = getErrorList();
    return list ? list->concatErrors(out, separator) : 0;
}

void KoErrorKeeper::setLastErrorType(ErrorType type) {
    KoError* error = getLastError();
    if (!error || error->isStatic()) return;
    if (type == ERRORTYPE_WARNING)
        error->setWarning();
    else
        error->resetWarning();
}
