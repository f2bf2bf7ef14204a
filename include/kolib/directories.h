// Iterations over file names matching a shell pattern, over the sub-directories of the
// current directory and over mounted file systems. Each uses a caller-held handle that starts
// null, carries the state between calls and returns to null when the iteration ends (the name
// is then empty). A caller that stops early must not reuse the handle for another search.
#pragma once

#include <cstdint>
#include <cstdio>
#include "kolib/export.h"

// The state of one bosFindFiles search: the output of "/bin/ls PATTERN", gathered 4096 bytes
// at a time. The listing runs in a shell reading a here-document; a listing longer than the
// buffer is produced again and the part already handed out skipped.
class KO_API KoBosFileFindDesc {
public:
    // Builds the command and reads the first buffer; isInitialized() tells whether it worked.
    explicit KoBosFileFindDesc(const char* pattern);
    ~KoBosFileFindDesc() = default;
    KoBosFileFindDesc(const KoBosFileFindDesc&) = delete;
    KoBosFileFindDesc& operator=(const KoBosFileFindDesc&) = delete;

    int isInitialized() const { return Initialized; }
    // The next listed name (the part after the last "/" of an output line) into `name`
    // (1024 bytes); 0 when the listing is exhausted.
    int nextName(char* name);

    FILE* FileDesc;
    uint32_t FileSize;  // bytes one read gathers
    uint32_t LeftOvers; // bytes of an incomplete last line
    char Cmd[1024];
    char Buffer[4096 + 1];
    char* BufPtr;
    bool Initialized;
    bool DataAvailable;
    uint32_t Consumed; // bytes of output handed out so far: skipped when the listing re-runs
    bool OutputEnded;  // the last read reached the end of the listing

private:
    bool run();
    bool readOutput(); // true when the stream reached its end or an error
    bool refill();
};

// The next name matching the shell pattern first given in `name` (in/out, 1024 bytes).
// Only the pattern's glob characters (* ? [ ] !) and a leading "~" mean anything to the shell;
// every other character is quoted, and a pattern holding a line feed is refused, so nothing
// but the listing ever runs. Names with blanks come through whole. Returns 1 (handle null)
// when the search cannot start, else 0; the handle is null after the last name.
KO_API unsigned bosFindFiles(void** handle, char* name);
// The next sub-directory of the current directory (names beginning with "." are skipped;
// links to directories count) into `name` (256 bytes). 1 when memory runs out.
KO_API unsigned bosGetDirectoryNames(void** handle, char* name);
// The next mount point into `name` (1024 bytes). 1 when memory runs out.
KO_API unsigned bosGetFileSystems(void** handle, char* name);
