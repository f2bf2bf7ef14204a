// KoReplaceString: rewrites a KoString in one pass. The target holds, in order, the output
// written so far [0, InsertionPoint), a gap, and the unread input [ExtractionPoint, CurSize);
// the view (Buf, CurSize) is that unread input. When output outgrows the gap the target grows
// by n + 512 bytes and the unread input moves up by as much.
#include <cstring>
#include "kolib/replace_string.h"
#include "kolib/strutil.h"

namespace {
void syncView(KoReplaceString& r) {
    KoString* s = r.String;
    r.Buf = s->Buf ? s->Buf + r.ExtractionPoint : nullptr;
    r.CurSize = r.CurByteSize = s->CurSize - r.ExtractionPoint;
}
} // namespace

void KoReplaceString::initialize(KoString* target) {
    String = target;
    reInitialize();
}

void KoReplaceString::reInitialize() {
    InsertionPoint = ExtractionPoint = 0;
    syncView(*this);
}

void KoReplaceString::getInsertedSubString(KoSubString* out) const {
    out->initialize(String->Buf, InsertionPoint);
}

void KoReplaceString::getPreCursorSubString(KoSubString* out) const {
    out->initialize(String->Buf ? String->Buf + InsertionPoint : nullptr,
                    ExtractionPoint - InsertionPoint);
}

void KoReplaceString::discardBytes(unsigned long n) {
    if (n > CurSize) n = CurSize;
    ExtractionPoint += static_cast<uint32_t>(n);
    syncView(*this);
}

void KoReplaceString::replaceByte(char ch) {
    if (!CurSize) return;
    String->Buf[InsertionPoint++] = ch;
    ++ExtractionPoint;
    syncView(*this);
}

unsigned KoReplaceString::concat(const char* bytes, unsigned long n) {
    if (!n) return 0;
    if (ExtractionPoint - InsertionPoint < n) {
        KoString* s = String;
        unsigned long grow = n + 512;
        // A source inside the target is found again at its new place after the move.
        long sourceOffset = -1;
        if (s->Buf && bytes >= s->Buf && bytes < s->Buf + s->BufferLength) {
            sourceOffset = bytes - s->Buf;
            if (static_cast<unsigned long>(sourceOffset) >= ExtractionPoint)
                sourceOffset += static_cast<long>(grow);
        }
        if (s->assureSpace(grow)) return 1;
        std::memmove(s->Buf + ExtractionPoint + grow, s->Buf + ExtractionPoint,
                     s->CurSize - ExtractionPoint);
        ExtractionPoint += static_cast<uint32_t>(grow);
        s->CurSize += static_cast<uint32_t>(grow);
        if (sourceOffset >= 0) bytes = s->Buf + sourceOffset;
    }
    std::memmove(String->Buf + InsertionPoint, bytes, n);
    InsertionPoint += static_cast<uint32_t>(n);
    syncView(*this);
    return 0;
}

unsigned KoReplaceString::addQuotedBytes(const KoSubString& text, unsigned short quote) {
    KoString quoted;
    if (quoted.addQuotedBytes(text, quote)) return 1;
    return concat(quoted.Buf, quoted.CurSize);
}
