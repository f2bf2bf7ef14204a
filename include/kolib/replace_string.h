// KoReplaceString: a cursor that rewrites a KoString in one pass. Its view is the unread rest
// of the target; output goes to InsertionPoint, which trails ExtractionPoint. When output
// outgrows the gap the target grows by n + 512 bytes and the unread rest moves up.
#pragma once

#include "kolib/kostring.h"

class KO_API KoReplaceString : public KoSubString {
public:
    KoReplaceString() : String(nullptr), InsertionPoint(0), ExtractionPoint(0) {}

    void initialize(KoString* target);
    // Starts over on the same target (both points back to 0).
    void reInitialize();
    unsigned long getInsertionPoint() const { return InsertionPoint; }
    void setInsertionPoint(unsigned long point) { InsertionPoint = static_cast<uint32_t>(point); }
    void increaseInsertionPoint(unsigned long by) { InsertionPoint += static_cast<uint32_t>(by); }
    // The output written so far (target bytes 0 .. InsertionPoint).
    void getInsertedSubString(KoSubString* out) const;
    // The bytes between the insertion and the extraction point.
    void getPreCursorSubString(KoSubString* out) const;
    // Consumes n input bytes without output.
    void discardBytes(unsigned long n);
    unsigned addByte(char ch) { return concat(&ch, 1); }
    unsigned addBytes(const char* bytes, unsigned long n) { return concat(bytes, n); }
    // Writes n bytes at the insertion point, widening the gap when needed.
    unsigned concat(const char* bytes, unsigned long n);
    unsigned addQuotedBytes(const KoSubString& text, unsigned short quote);
    // Writes one byte and consumes one input byte.
    void replaceByte(char ch);

    KoString* String;
    uint32_t InsertionPoint;
    uint32_t ExtractionPoint;
};
