// kotool like [-c] TEXT PATTERN: LIKE matching with "%" and "_" and backslash escapes,
// case-insensitive unless -c is given; prints "match" (status 0) or "no match" (status 1).
#include <cstdio>
#include <cstring>
#include "commands.h"
#include "kolib/strlike.h"

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
