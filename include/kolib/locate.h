// Looking a file name up along the directories chosen by search flags.
#pragma once

#include "kolib/export.h"

// Search flags of bosLocateFile. Whatever the order of the bits, the directories are tried
// in this order: current directory, "HOME", "KO", "KOLIB", "LD_LIBRARY_PATH", "LD_RUN_PATH",
// "/usr/local/lib", "PATH".
enum {
    BOS_LOCATE_PATH = 0x01,    // the elements of "PATH"
    BOS_LOCATE_HOME = 0x02,    // the value of "HOME"
    BOS_LOCATE_KO = 0x04,      // the values of "KO", then "KOLIB"
    BOS_LOCATE_LIBRARY = 0x08, // "LD_LIBRARY_PATH", "LD_RUN_PATH", "/usr/local/lib"; and
                               // every directory's parent is tried as well
    BOS_LOCATE_CURRENT = 0x10  // the current directory
};

// Size of the path buffers the file layer works with.
enum { BOS_PATH_BUFFER_SIZE = 1024 };

// Finds `name`: the name itself if it is an ordinary file, else directory + "/" + name for
// each directory selected by `flags`. Returns 0 with the path in `out` (1024 bytes; may be
// null), 1 when nothing is found (`out` is then empty). A candidate path that does not fit
// in 1024 bytes is skipped. Reports no errors. With debug bit 0x2 every candidate is printed.
KO_API unsigned bosLocateFile(char* out, const char* name, unsigned short flags);
