// KoResourceString: a 256-byte buffer filled with a message of the library's own catalogue.
#pragma once

#include "kolib/export.h"

class KO_API KoResourceString {
public:
    explicit KoResourceString(unsigned short number);
    operator const char*() const { return Buffer; }

    char Buffer[256];
};
