#include "kolib/library_version.h"
#include "kolib/version.h"

const char* koVersion() { return KOLIB_VERSION_STRING; }
