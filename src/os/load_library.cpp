// bosLoadLibrary: a shared library found by its short name along the library directories
// (and their parents) and loaded with every symbol resolved at once.
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/locate.h"
#include "kolib/shared_library.h"

void bosdllname(char* name) {
    std::strcat(name, "17");
}

void* bosLoadLibrary(const char* name, unsigned char addSuffix) {
    if (!name) return nullptr;
    bool trace = BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_LOAD_LIBRARY) != 0;
    char wanted[BOS_PATH_BUFFER_SIZE];
    std::size_t length = std::strlen(name);
    // Room for "17" and ".so" is kept free.
    if (length + 5 >= sizeof wanted) return nullptr;
    std::memcpy(wanted, name, length + 1);
    while (length && wanted[length - 1] == ' ') wanted[--length] = '\0';
    if (addSuffix) bosdllname(wanted);
    if (!std::strstr(wanted, ".so")) std::strcat(wanted, ".so");
    if (trace) std::printf("LoadLibrary: Searching for %s.\n", wanted);
    char found[BOS_PATH_BUFFER_SIZE];
    if (bosLocateFile(found, wanted, BOS_LOCATE_KO | BOS_LOCATE_LIBRARY)) {
        if (trace) std::printf("Unable to open Shared Library: %s\n", wanted);
        return nullptr;
    }
    if (trace) std::printf("LoadLibrary: Found library %s.\n", found);
    void* handle = dlopen(found, RTLD_NOW);
    if (handle) return handle;
    const char* loaderText = dlerror();
    if (!loaderText) loaderText = "";
    KoError& error = addError(1523) << found;
    if (!error.isDummyError()) error.appendText(loaderText);
    if (trace) {
        std::printf("Unable to open Shared Library:%s\n", wanted);
        std::printf("Loader Error: %s\n", loaderText);
    }
    return nullptr;
}
