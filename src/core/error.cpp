// KoError: one numbered error with a parameterised text. Parameters are filled in order with
// <<; a failed substitution hands back the thread list's dummy error so that the rest of the
// chain is dropped quietly. The two static errors are shared by every thread and never written.
#include <cstring>
#include "kolib/errors.h"
#include "core/lib_statics.h"

namespace {
// The error that swallows what is written to it: the thread list's, or the library's own when
// no list is pushed.
KoError& sinkError() {
    KoErrorList* list = KoErrorKeeper::getErrorList();
    KoError* dummy = list ? list->getDummyError() : nullptr;
    return dummy ? *dummy : DummyErrorStatic;
}
} // namespace

KoError::KoError(unsigned short errorNumber, const char* text, ErrorType type,
                 unsigned short interfaceError, long nativeError)
    : NativeError(static_cast<int32_t>(nativeError)), ErrorNumber(errorNumber),
      InterfaceError(interfaceError), Warning(type == ERRORTYPE_WARNING), StaticObj(0),
      MemoryError(0), DummyError(0), PrefixOnText(0), TwoPartError(0) {
    InterfaceCode[0] = '\0';
    ErrorText.initialize(text ? text : "");
}

KoError::KoError(ErrSpecialError special)
    : NativeError(0), ErrorNumber(special == ERR_MEMORY_ERROR ? KO_ERROR_OUT_OF_MEMORY : 0),
      InterfaceError(0), Warning(0), StaticObj(special != ERR_NORMAL),
      MemoryError(special == ERR_MEMORY_ERROR), DummyError(special == ERR_DUMMY_ERROR),
      PrefixOnText(0), TwoPartError(0) {
    InterfaceCode[0] = '\0';
}

KoError::~KoError() {}

void KoError::appendText(const char* text) {
    if (StaticObj || !text) return; // the shared static errors are never written
    ErrorText.concat(text);
}

const char* KoError::getErrorText() {
    if (MemoryError) return "Out Of Memory";
    if (!ErrorText.Buf) return "";
    return ErrorText.asCStr();
}

void KoError::setInterfaceCode(const char* code) {
    std::size_t n = 0;
    if (code)
        while (n < sizeof InterfaceCode - 1 && code[n]) ++n;
    std::memcpy(InterfaceCode, code ? code : "", n);
    InterfaceCode[n] = '\0';
}

KoError& KoError::substituteNumber(long value, int isSigned, unsigned long unsignedValue) {
    // Static errors are shared by all threads: writing to them would race, so they ignore
    // parameters just as the dummy error does.
    if (DummyError || StaticObj) return *this;
    unsigned failed = isSigned ? ErrorText.setParam(value) : ErrorText.setParam(unsignedValue);
    return failed ? sinkError() : *this;
}

KoError& KoError::operator<<(const char* text) {
    if (DummyError || StaticObj) return *this;
    return ErrorText.setParam(text ? text : "") ? sinkError() : *this;
}

KoError& KoError::operator<<(const KoSubString& text) {
    if (DummyError || StaticObj) return *this;
    return ErrorText.setParam(text) ? sinkError() : *this;
}

KoError& KoError::operator<<(unsigned long value) {
    return substituteNumber(0, 0, value);
}
KoError& KoError::operator<<(long value) {
    return substituteNumber(value, 1, 0);
}
KoError& KoError::operator<<(unsigned short value) {
    return substituteNumber(0, 0, value);
}
KoError& KoError::operator<<(short value) {
    return substituteNumber(value, 1, 0);
}
KoError& KoError::operator<<(int value) {
    return substituteNumber(value, 1, 0);
}
KoError& KoError::operator<<(unsigned int value) {
    return substituteNumber(0, 0, value);
}
