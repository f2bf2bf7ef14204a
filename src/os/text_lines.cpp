// bosgetbl: one logical line of a text held in memory. Quotes nest one level deep (a double
// quote inside single quotes and the reverse) and keep line feeds inside the line.
#include "kolib/files.h"

namespace {
const unsigned char END_OF_FILE_MARK = 26;

bool endsText(unsigned char c) {
    return c == 0 || c == END_OF_FILE_MARK;
}
} // namespace

void bosgetbl(const char* text, unsigned long* pos, char* line, unsigned long max,
              unsigned short* status) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text) + *pos;
    if (endsText(*p)) {
        *status = BOS_GETBL_END;
        return;
    }
    bool comment = *p == ';';
    unsigned char outer = 0, inner = 0;
    unsigned long length = 0;
    bool tooLong = false, atLineFeed = false;
    for (; !endsText(*p); ++p) {
        unsigned char c = *p;
        if (c == '\n' && !outer) {
            ++p;
            atLineFeed = true;
            break;
        }
        if (!comment) {
            if (!outer) {
                if (c == '"' || c == '\'') outer = c;
            } else if (inner) {
                if (c == inner) inner = 0;
            } else if (c == outer) {
                outer = 0;
            } else if (c == '"' || c == '\'') {
                inner = c;
            }
        }
        if (comment || tooLong) continue;
        if (length == max) {
            tooLong = true;
            continue;
        }
        line[length++] = static_cast<char>(c);
    }
    // The carriage return of a CRLF pair is not part of the line.
    if (!tooLong && atLineFeed && length > 0 && line[length - 1] == '\r') --length;
    line[length] = '\0';
    *pos = static_cast<unsigned long>(p - reinterpret_cast<const unsigned char*>(text));
    *status = tooLong ? static_cast<unsigned short>(BOS_GETBL_TOO_LONG)
                      : static_cast<unsigned short>(length);
}
