// The free functions that report errors: add a catalogue message by number, append catalogue
// text, word a message into a buffer, and map operating-system error numbers.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/load_string.h"
#include "kolib/resource_string.h"
#include "core/lib_statics.h"

namespace {
KoError& addNew(unsigned short number, const char* text, ErrorType type, long nativeError) {
    KoErrorList* list = KoErrorKeeper::getErrorList();
    KoError* error = list ? list->allocError(number, text, type, 0, nativeError) : nullptr;
    return *KoErrorKeeper::addError(error);
}

// True when the current list would refuse a new error anyway (the first error wins), so the
// catalogue look-up can be skipped.
bool wouldRefuse() {
    KoErrorList* list = KoErrorKeeper::getErrorList();
    return !list || (!list->isSupportMultipleErrors() && list->isExistingError());
}

KoError& addFromCatalogue(unsigned short number, ErrorType type) {
    if (wouldRefuse()) return *KoErrorKeeper::addError(nullptr);
    KoResourceString text(number);
    return addNew(number, text, type, 0);
}
} // namespace

KoError& addError(unsigned short number) {
    return addFromCatalogue(number, ERRORTYPE_ERROR);
}

KoError& addWarning(unsigned short number) {
    return addFromCatalogue(number, ERRORTYPE_WARNING);
}

KoError& addError(unsigned short number, const char* text) {
    return addNew(number, text, ERRORTYPE_ERROR, 0);
}

KoError& addDatabaseError(unsigned short number, long nativeError, const char* text,
                          ErrorType type) {
    return addNew(number, text, type, nativeError);
}

void appendTextToLastError(unsigned short number) {
    if (!KoErrorKeeper::getLastError()) return;
    KoResourceString text(number);
    KoErrorKeeper::appendTextToLastError(text);
}

void appendTextToErrorAtPos(unsigned short number, unsigned long pos) {
    KoErrorList* list = KoErrorKeeper::getErrorList();
    if (!list || pos >= list->getCount()) return;
    KoResourceString text(number);
    static_cast<KoError*>(list->at(pos))->appendText(text);
}

unsigned long winGetString(char* buffer, unsigned short number) {
    return LoadString(BKOHINST, number, buffer, 0);
}

namespace {
struct OsErrorMap {
    unsigned short OsError;
    unsigned short LibraryError;
    bool WithName;
};

const OsErrorMap OS_ERRORS[] = {
    {1, 1519, true},   {2, 1509, true},  {5, 30041, true},  {9, 1507, false},   {11, 1512, false},
    {12, 1503, false}, {13, 1508, true}, {17, 1520, true},  {24, 30045, false}, {28, 1506, true},
    {30, 30049, true}, {35, 1521, true}, {37, 1514, false},
};

// A catalogue text is used as a printf format only when its conversions are at most two "%s"
// (and "%%"); anything else could read arguments that are not there.
bool isSafeTwoStringFormat(const char* format) {
    int strings = 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%') continue;
        if (p[1] == '%') {
            ++p;
            continue;
        }
        if (p[1] != 's' || ++strings > 2) return false;
        ++p;
    }
    return true;
}
} // namespace

void bosMapError(unsigned short osError, const char* name) {
    int savedErrno = errno; // the look-ups below may change it
    if (!name) name = "";
    for (const OsErrorMap& entry : OS_ERRORS) {
        if (entry.OsError != osError) continue;
        if (entry.WithName)
            addError(entry.LibraryError) << name;
        else
            addError(entry.LibraryError);
        return;
    }
    // Only the error just added gets the system text, never an earlier one that refused it.
    if (addError(30041).isDummyError()) return;
    char systemText[256];
    const char* system = strerror_r(savedErrno, systemText, sizeof systemText);
    char text[1024];
    if (!*name) {
        std::snprintf(text, sizeof text, "%s", system);
    } else {
        char format[512];
        LoadString(BKOHINST, 30050, format, sizeof format);
        if (!isSafeTwoStringFormat(format)) std::strcpy(format, "%s (%s)");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
        std::snprintf(text, sizeof text, format, system, name); // checked just above
#pragma GCC diagnostic pop
    }
    if (*text) KoErrorKeeper::appendTextToLastError(text);
}
