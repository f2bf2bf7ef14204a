// bosGetEnv: the process environment, read as it is at the time of the call.
#include <cstdlib>
#include "kolib/files.h"

char* bosGetEnv(const char* name) {
    return name ? std::getenv(name) : nullptr;
}
