// A small client of the installed library: prints the library's version, the pairs of a
// connection string and the string rebuilt, and words one library error through the
// message catalogue. Built two ways: Makefile (pkg-config) and CMakeLists.txt (find_package).
#include <cstdio>
#include <cstring>
#include "kolib/kolib.h"

int main(int argc, char** argv) {
    const char* text = argc > 1 ? argv[1] : "DSN=sales;UID=ann;PWD={x;y}";
    std::printf("kolib %s (headers %s)\n", koVersion(), KOLIB_VERSION_STRING);
    if (std::strcmp(koVersion(), KOLIB_VERSION_STRING) != 0) return 1;

    KoErrorList errors(nullptr, 1);
    errors.pushOnErrorKeeper();
    int status = 0;
    KoValueParser parser(KoSubString(text), ';');
    if (parser.initialize() == 0) {
        for (unsigned long i = 0; i < parser.getCount(); ++i) {
            KoSubString* key = parser.getAttributeKey(i);
            KoSubString* value = parser.getAttributeValue(*key);
            std::printf("%.*s = %.*s\n", static_cast<int>(key->getLength()), key->asPascalStr(),
                        value ? static_cast<int>(value->getLength()) : 0,
                        value ? value->asPascalStr() : "");
        }
        KoString rebuilt;
        if (parser.buildString(&rebuilt) == 0) std::printf("rebuilt: %s\n", (const char*)rebuilt);
    } else {
        status = 1;
    }
    addError(1509) << "zebra";  // a worded message shows that the catalogue was found
    for (KoError* e = errors.getFirstNode(); e; e = errors.getNextNode())
        std::printf("error %u: %s\n", e->getErrorNumber(), e->getErrorText());
    errors.popOffErrorKeeper();
    return status;
}
