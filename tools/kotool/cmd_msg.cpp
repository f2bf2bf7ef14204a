// kotool msg NUMBER [PARAM ...]: raises the error through a pushed error list, fills its
// parameters in order and prints the worded message as a driver would read it back.
// Exit status: 0 printed, 1 no catalogue text for the number, 2 usage error.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include "commands.h"
#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/load_string.h"

namespace {
// Without a text in the catalogue a message reads as its number.
bool hasText(unsigned number) {
    char text[64], digits[16];
    LoadString(KOUTLHINST, number, text, sizeof text);
    std::snprintf(digits, sizeof digits, "%u", number);
    return std::strcmp(text, digits) != 0;
}
} // namespace

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
    if (!hasText(static_cast<unsigned>(number))) {
        std::fprintf(stderr, "kotool msg: error: no message text for %lu%s\n", number,
                     hasText(1502) ? "" : " (the message catalogue was not found)");
        return 1;
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
        std::fprintf(stderr, "kotool msg: error: the error could not be raised\n");
        status = 1;
    }
    list.popOffErrorKeeper();
    return status;
}
