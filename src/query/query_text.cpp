// Line and text helpers of the query-file reader and writer.
#include "query/query_text.h"

#include <cstring>
#include "kolib/kostring.h"

unsigned koQueryReserve(KoString* text, unsigned long length) {
    if (text->isEnoughSpace(length)) return 0;
    unsigned long wanted = text->CurSize + length + 1;
    unsigned long doubled = text->BufferLength * 2;
    return text->resize(doubled > wanted ? doubled : wanted);
}

unsigned koQueryAssign(KoString* text, const char* bytes, unsigned long length) {
    if (!text->Buf) return text->initialize(bytes, length);
    if (text->BufferLength < length + 1 && text->resize(length + 1)) return 1;
    text->clear();
    return text->concat(bytes, length);
}

unsigned koQueryAppend(KoString* text, const char* bytes, unsigned long length) {
    if (koQueryReserve(text, length)) return 1;
    return text->concat(bytes, length);
}

bool koQueryNumber(const char* digits, unsigned long length, unsigned long* value) {
    unsigned long result = 0;
    if (length == 0 || length > 9) return false;
    for (unsigned long i = 0; i < length; ++i) {
        if (digits[i] < '0' || digits[i] > '9') return false;
        result = result * 10 + static_cast<unsigned long>(digits[i] - '0');
    }
    *value = result;
    return true;
}

unsigned long koQueryLineLength(const char* line, unsigned long length) {
    if (length && line[length - 1] == '\n') --length;
    if (length && line[length - 1] == '\r') --length;
    return length;
}

unsigned long koQueryWithoutEnd(const char* line, unsigned long length, bool crlf) {
    if (!length || line[length - 1] != '\n') return length;
    --length;
    if (crlf && length && line[length - 1] == '\r') --length;
    return length;
}

const char* koQueryNextLine(const char* at, const char* end) {
    const void* feed = std::memchr(at, '\n', static_cast<size_t>(end - at));
    return feed ? static_cast<const char*>(feed) + 1 : end;
}

bool koQueryLineIs(const char* at, const char* end, const char* text) {
    const char* next = koQueryNextLine(at, end);
    unsigned long length = koQueryLineLength(at, static_cast<unsigned long>(next - at));
    return length == std::strlen(text) && std::memcmp(at, text, length) == 0;
}

bool koQueryNameIs(const char* a, unsigned long length, const char* b) {
    for (unsigned long i = 0; i < length; ++i) {
        unsigned char x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
        if (y == 0) return false;
        if (x >= 'a' && x <= 'z') x = static_cast<unsigned char>(x - 32);
        if (y >= 'a' && y <= 'z') y = static_cast<unsigned char>(y - 32);
        if (x != y) return false;
    }
    return b[length] == 0;
}

bool koQueryIsUseLine(const char* at, const char* end) {
    const char* next = koQueryNextLine(at, end);
    unsigned long length = koQueryLineLength(at, static_cast<unsigned long>(next - at));
    return length > 4 && koQueryNameIs(at, 3, "use") && at[3] == ' ';
}

bool koQueryNeedsEscape(const char* at, const char* next, bool first) {
    if (at == next) return false;
    if (*at == '[' || *at == '\\') return true;
    return first && (koQueryLineIs(at, next, "CTKOF") || koQueryIsUseLine(at, next));
}
