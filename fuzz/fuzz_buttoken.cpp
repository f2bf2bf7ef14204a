// buttoken in every dialect and flag combination, the input NUL-terminated right before an
// inaccessible page and the output exactly as large as promised: in dialects 4 and 6 the
// rest of the input, elsewhere outSize. Every call must move the cursor or end.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_support.h"
#include "kolib/memory.h"
#include "kolib/tokenizer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    unsigned dialect = data[0] % 8; // 7 is out of range: taken as 0
    unsigned short flags = static_cast<unsigned short>(dialect);
    if (data[0] & 0x10) flags |= BUT_TOKEN_TRUNCATE;
    if (data[0] & 0x20) flags |= BUT_TOKEN_EXTEND;
    if (data[0] & 0x40) flags |= BUT_TOKEN_KEEP_CASE;
    kofuzz::TextMode mode(data[0] & 0x80);
    unsigned long outSize = 2 + data[1] % 40;
    const char* text = reinterpret_cast<const char*>(data + 2);
    size_t length = strnlen(text, size - 2);
    kofuzz::EdgeBuffer input(text, length, true);

    const char* cursor = input.data();
    for (;;) {
        unsigned long room = outSize;
        if (dialect == 4 || dialect == 6) room = std::strlen(cursor) + 2; // the contract
        if ((flags & BUT_TOKEN_EXTEND) && room < 2 + sizeof(char*)) room = 2 + sizeof(char*);
        kofuzz::EdgeBuffer out(nullptr, room, false);
        const char* before = cursor;
        if (buttoken(out.data(), &cursor, flags, outSize)) break;
        if (out.data()[0] == BUT_KIND_END) break;
        // An extension (or the null pointer of an empty token) needs room for the pointer.
        if ((flags & BUT_TOKEN_EXTEND) && outSize >= 2 + sizeof(char*) && out.data()[1] == 0) {
            char* extension;
            std::memcpy(&extension, out.data() + 2, sizeof extension);
            ramFree(extension);
        }
        if (cursor == before) std::abort(); // no progress: a caller would loop for ever
    }
    return 0;
}
