// The file layer: environment, file attributes and existence.
#pragma once

#include "kolib/export.h"

// Attribute bits returned by bosfattr.
enum {
    BOS_FATTR_FILE = 0x01,      // an ordinary file
    BOS_FATTR_DIRECTORY = 0x02, // a directory (and always the name "..")
    BOS_FATTR_READ_ONLY = 0x04, // with BOS_FATTR_FILE: the user may not write it
    BOS_FATTR_MISSING = 0x08,   // the name does not exist
    BOS_FATTR_ERROR = 0x10,     // stat failed for another reason
    BOS_FATTR_OTHER = 0x20      // exists, but neither ordinary file nor directory
};

// The environment value of `name`, or null when it is not set.
KO_API char* bosGetEnv(const char* name);
// The attribute bits of `name`. Write permission is judged from the mode bits alone: the
// owner's bit when the real user owns the file, else the group's bit when the file belongs
// to the real group, else the others' bit.
KO_API unsigned bosfattr(const char* name);
// 1 if `name` is an ordinary file, else 0. With debug bit 0x100 it prints the name and the
// result.
KO_API int bosexist(const char* name);
