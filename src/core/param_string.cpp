// KoParamString: fills numbered marks ("%s1".."%s9", "%sx10"...; "n" for numbers) one
// parameter at a time. Each fill replaces every occurrence of its mark and never searches the
// inserted value again. A failed fill sets HadError, after which << does nothing.
#include <cstdio>
#include <cstring>
#include "kolib/param_string.h"
#include "kolib/strutil.h"

unsigned KoParamString::initialize(const char* text) {
    return initialize(text, text ? std::strlen(text) : 0);
}

unsigned KoParamString::initialize(const char* text, unsigned long length) {
    unInitialize(); // an adopted buffer is released, never freed: it is not ours
    ParamCount = 0;
    HadError = KoString::initialize(text, length) ? 1 : 0;
    return HadError;
}

unsigned KoParamString::initialize(unsigned long capacity, int flag) {
    unInitialize();
    ParamCount = 0;
    HadError = KoString::initialize(capacity, flag) ? 1 : 0;
    return HadError;
}

void KoParamString::buildMatchString(char* out, unsigned char letter) {
    ++ParamCount;
    std::sprintf(out, ParamCount > 9 ? "%%%cx%u" : "%%%c%u", letter,
                 static_cast<unsigned>(ParamCount));
}

namespace {
unsigned fill(KoParamString& s, unsigned char letter, const char* value, unsigned long length) {
    char mark[16];
    s.buildMatchString(mark, letter);
    if (s.replaceSubString(mark, std::strlen(mark), value, length)) {
        s.HadError = 1;
        return 1;
    }
    return 0;
}
} // namespace

unsigned KoParamString::setParam(const char* text) {
    return fill(*this, 's', text ? text : "", text ? std::strlen(text) : 0);
}

unsigned KoParamString::setParam(const KoSubString& text) {
    return fill(*this, 's', text.Buf ? text.Buf : "", text.Buf ? text.CurSize : 0);
}

unsigned KoParamString::setParam(unsigned long value) {
    char digits[24];
    unsigned n = convert(digits, value);
    return fill(*this, 'n', digits, n);
}

unsigned KoParamString::setParam(long value) {
    char digits[24];
    unsigned n = convert(digits, value);
    return fill(*this, 'n', digits, n);
}

unsigned KoParamString::setQuotedParam(const char* text, unsigned char quote) {
    KoString quoted;
    if (quoted.initialize(text ? text : "") || quoted.addQuotes(quote)) {
        ++ParamCount; // the mark is used up even though it could not be filled
        HadError = 1;
        return 1;
    }
    return fill(*this, 's', quoted.Buf, quoted.CurSize);
}

KoParamString& KoParamString::operator<<(const char* text) {
    if (!HadError) setParam(text);
    return *this;
}

KoParamString& KoParamString::operator<<(const KoSubString& text) {
    if (!HadError) setParam(text);
    return *this;
}

KoParamString& KoParamString::operator<<(unsigned long value) {
    if (!HadError) setParam(value);
    return *this;
}

KoParamString& KoParamString::operator<<(long value) {
    if (!HadError) setParam(value);
    return *this;
}
