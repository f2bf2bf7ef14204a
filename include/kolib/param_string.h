// KoParamString: a string with numbered parameter marks ("%s1".."%s9", "%sx10"...; "%n" for
// numbers) that successive setParam / << calls fill in. Every occurrence of a mark is
// replaced; a value that itself holds a mark is not substituted again. After a failed
// substitution HadError is set and later ones are skipped.
#pragma once

#include "kolib/kostring.h"

class KO_API KoParamString : public KoString {
public:
    KoParamString() : ParamCount(0), HadError(0) {}

    // Each form frees the text held before (whatever MyBuffer says), resets ParamCount and
    // sets HadError when the new text could not be allocated.
    unsigned initialize(const char* text);
    unsigned initialize(const char* text, unsigned long length);
    unsigned initialize(unsigned long capacity, int);

    // Fill the next parameter: "s" marks for texts, "n" marks for numbers (decimal).
    unsigned setParam(const char* text);
    unsigned setParam(const KoSubString& text);
    unsigned setParam(unsigned long value);
    unsigned setParam(long value);
    unsigned setQuotedParam(const char* text, unsigned char quote);

    KoParamString& operator<<(const char* text);
    KoParamString& operator<<(const KoSubString& text);
    KoParamString& operator<<(unsigned long value);
    KoParamString& operator<<(long value);

    int isOk() const { return !HadError; }
    void resetParamCount() { ParamCount = 0; }
    // Adds 1 to ParamCount and writes "%", letter, "x" when ParamCount > 9, and the number.
    void buildMatchString(char* out, unsigned char letter);

    uint16_t ParamCount;
    uint16_t HadError : 1;
};
