// kotool msg NUMBER [PARAM ...]: raises the error through a pushed error list, fills its
// parameters in order and prints the worded message as a driver would read it back.
#include <cstdio>
#include <cstdlib>
#include "commands.h"
#include "kolib/errors.h"

int cmdMsg(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: kotool msg NUMBER [PARAM ...]\n");
        return 2;
    }
    char* end = nullptr;
    unsigned long number = std::strtoul(argv[1], &end, 10);
    if (!*argv[1] || *end || number == 0 || number > 65535) {
        std::fprintf(stderr, "kotool msg: '%s' is not an error number (1-65535)\n", argv[1]);
        return 2;
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    KoError* error = &addError(static_cast<unsigned short>(number));
    for (int i = 2; i < argc; ++i) error = &(*error << argv[i]);
    KoError* last = KoErrorKeeper::getLastError();
    int status = 0;
    if (last) {
        std::printf("%u: %s\n", last->getErrorNumber(), last->getErrorText());
    } else {
        std::fprintf(stderr, "kotool msg: the error could not be raised\n");
        status = 1;
    }
    list.popOffErrorKeeper();
    return status;
}
