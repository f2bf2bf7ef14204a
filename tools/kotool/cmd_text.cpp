// kotool like [-c] TEXT PATTERN: LIKE matching with "%" and "_" and backslash escapes,
// case-insensitive unless -c is given; prints "match" (status 0) or "no match" (status 1).
// kotool tokens [-d DIALECT] TEXT: the tokeniser's output, one token a line as
// "<kind>\t<token>"; a token too long for the output buffer is moved to its own buffer.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include "commands.h"
#include "kolib/errors.h"
#include "kolib/memory.h"
#include "kolib/strlike.h"
#include "kolib/tokenizer.h"

int cmdLike(int argc, char** argv) {
    int first = 1;
    unsigned caseSensitive = 0;
    if (argc > 1 && !std::strcmp(argv[1], "-c")) {
        caseSensitive = 1;
        first = 2;
    }
    if (argc - first != 2) {
        std::fprintf(stderr, "usage: kotool like [-c] TEXT PATTERN\n");
        return 2;
    }
    int matched = strLike(argv[first], argv[first + 1], '%', '_', '\\', caseSensitive, 0);
    std::puts(matched ? "match" : "no match");
    return matched ? 0 : 1;
}

int cmdTokens(int argc, char** argv) {
    unsigned long dialect = 0;
    int first = 1;
    if (argc > 2 && !std::strcmp(argv[1], "-d")) {
        char* end = nullptr;
        dialect = std::strtoul(argv[2], &end, 10);
        if (!*argv[2] || *end || dialect > 6) {
            std::fprintf(stderr, "kotool tokens: the dialect is a number from 0 to 6\n");
            return 2;
        }
        first = 3;
    }
    if (argc - first != 1) {
        std::fprintf(stderr, "usage: kotool tokens [-d DIALECT] TEXT\n");
        return 2;
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    const char* cursor = argv[first];
    char out[256];
    int status = 0;
    for (;;) {
        if (buttoken(out, &cursor, static_cast<unsigned short>(BUT_TOKEN_EXTEND | dialect),
                     sizeof out)) {
            KoError* error = KoErrorKeeper::getLastError();
            std::fprintf(stderr, "kotool tokens: %s\n",
                         error ? error->getErrorText() : "the text could not be tokenised");
            status = 1;
            break;
        }
        if (out[0] == BUT_KIND_END) break;
        char* moved = nullptr;
        if (!out[1]) std::memcpy(&moved, out + 2, sizeof moved);
        std::printf("%d\t%s\n", out[0], moved ? moved : out + 1);
        ramFree(moved);
    }
    list.popOffErrorKeeper();
    return status;
}
