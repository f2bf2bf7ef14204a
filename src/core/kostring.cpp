// KoString: the owning string. The buffer always holds the text plus room for a terminator
// and nothing more: growth reallocates to the exact need (the chosen policy; appending byte by
// byte reallocates every time). A source that lies inside the string itself is found again
// after a reallocation, so appending a piece of a string to itself is safe.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/kostring.h"
#include "kolib/strutil.h"

namespace {
// Largest buffer a 32-bit BufferLength can describe.
const unsigned long MAX_BUFFER = 0xFFFFFFFFul;

bool inside(const KoString* s, const char* p) {
    return s->Buf && p >= s->Buf && p < s->Buf + s->BufferLength;
}
} // namespace

KoString::~KoString() {
    if (MyBuffer && Buf) ramFree(Buf);
}

unsigned KoString::initialize(const char* text, unsigned long length) {
    if (!text) length = 0;
    if (length >= MAX_BUFFER) return 1;
    char* buffer = static_cast<char*>(ramCalloc(length + 1));
    if (!buffer) return 1;
    if (length) std::memcpy(buffer, text, length);
    Buf = buffer;
    CurSize = CurByteSize = static_cast<uint32_t>(length);
    BufferLength = static_cast<uint32_t>(length + 1);
    MyBuffer = 1;
    return 0;
}

unsigned KoString::initialize(const char* text) {
    return initialize(text, text ? std::strlen(text) : 0);
}

unsigned KoString::initialize(const KoSubString& text) {
    return initialize(text.Buf, text.CurSize);
}

unsigned KoString::initialize(const KoSubString* text) {
    return text ? initialize(text->Buf, text->CurSize) : initialize("", 0);
}

unsigned KoString::initialize(unsigned long capacity, int) {
    if (capacity >= MAX_BUFFER) return 1;
    char* buffer = static_cast<char*>(ramCalloc(capacity + 1));
    if (!buffer) return 1;
    Buf = buffer;
    CurSize = CurByteSize = 0;
    BufferLength = static_cast<uint32_t>(capacity + 1);
    MyBuffer = 1;
    return 0;
}

void KoString::initializeWithBuffer(char* buffer, unsigned long bufferLength,
                                    unsigned long curSize) {
    Buf = buffer;
    BufferLength = static_cast<uint32_t>(bufferLength);
    CurSize = CurByteSize = static_cast<uint32_t>(curSize);
    MyBuffer = 0;
}

void KoString::unInitialize() {
    if (MyBuffer && Buf) ramFree(Buf);
    Buf = nullptr;
    CurSize = CurByteSize = 0;
    BufferLength = 0;
    MyBuffer = 1; // nothing is adopted any more: the next buffer will be ours
}

unsigned KoString::assureSpace(unsigned long n) {
    unsigned long need = static_cast<unsigned long>(CurSize) + n + 1;
    if (Buf && BufferLength >= need) return 0;
    if (need > MAX_BUFFER || need < n) return 1;
    // Exactly what is needed, no spare: intended.
    return resize(need);
}

unsigned KoString::resize(unsigned long newLength) {
    if (!MyBuffer) {
        addError(2716);
        return 1;
    }
    if (newLength > MAX_BUFFER) return 1;
    if (!Buf) {
        char* buffer = static_cast<char*>(ramMalloc(newLength ? newLength : 1));
        if (!buffer) return 1;
        Buf = buffer;
    } else if (ramResize(reinterpret_cast<void**>(&Buf), newLength ? newLength : 1)) {
        return 1;
    }
    BufferLength = static_cast<uint32_t>(newLength ? newLength : 1);
    return 0;
}

unsigned KoString::trim() {
    if (!Buf) return 0;
    if (!MyBuffer) {
        addError(2716);
        return 1;
    }
    if (ramResize(reinterpret_cast<void**>(&Buf), static_cast<unsigned long>(CurSize) + 1))
        return 1;
    BufferLength = CurSize + 1;
    return 0;
}

unsigned KoString::clearAndSet(const KoSubString& text) {
    if (inside(this, text.Buf)) { // a piece of this very string
        std::memmove(Buf, text.Buf, text.CurSize);
        CurSize = CurByteSize = text.CurSize;
        Buf[CurSize] = '\0';
        return 0;
    }
    clear();
    return concat(text);
}

char* KoString::asCStr(unsigned long offset) {
    if (!Buf && assureSpace(0)) return const_cast<char*>(""); // no memory for even one byte
    Buf[CurSize] = '\0';
    return Buf + offset;
}

char* KoString::giveUpString() {
    if (!Buf && assureSpace(0)) return nullptr;
    Buf[CurSize] = '\0';
    char* text = Buf;
    Buf = nullptr;
    CurSize = CurByteSize = 0;
    BufferLength = 0;
    return text;
}

unsigned KoString::concat(const char* text, unsigned long length) {
    if (!text || !length) return 0;
    unsigned long offset = inside(this, text) ? static_cast<unsigned long>(text - Buf) : ~0ul;
    if (assureSpace(length)) return 1;
    if (offset != ~0ul) text = Buf + offset;
    std::memmove(Buf + CurSize, text, length);
    CurSize += static_cast<uint32_t>(length);
    Buf[CurSize] = '\0';
    return 0;
}

unsigned KoString::concat(char ch) {
    if (assureSpace(1)) return 1;
    Buf[CurSize++] = ch;
    Buf[CurSize] = '\0';
    return 0;
}

unsigned KoString::concat(const char* text) {
    return concat(text, text ? std::strlen(text) : 0);
}

unsigned KoString::concat(const KoSubString& text) {
    return concat(text.Buf, text.CurSize);
}

unsigned KoString::concat(const KoSubString* text) {
    return text ? concat(text->Buf, text->CurSize) : 0;
}

namespace {
// Room for the decimal digits of the widest long and its sign.
const unsigned long NUMBER_ROOM = sizeof(long) == 8 ? 21 : 15;
} // namespace

unsigned KoString::concat(unsigned long value) {
    if (assureSpace(NUMBER_ROOM)) return 1;
    CurSize += convert(Buf + CurSize, value);
    return 0;
}

unsigned KoString::concat(long value) {
    if (assureSpace(NUMBER_ROOM)) return 1;
    CurSize += convert(Buf + CurSize, value);
    return 0;
}
