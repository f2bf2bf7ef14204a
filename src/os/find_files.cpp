// bosFindFiles: file names matching a shell pattern, as "/bin/ls" lists them. The listing
// runs in a second shell that reads its command from a here-document, with the shell's
// errors discarded. The here-document alone does not make the pattern harmless: its body is
// expanded by the outer shell ($, `) and read as commands by the inner one (; | & < > ...),
// and a line "EOT" would end it early. So the pattern is quoted for both shells before it goes
// in: glob characters stay active, every other special byte gets a backslash (two more for
// $ ` \, which the here-document itself consumes), and a line feed refuses the pattern.
// The output is read 4096 bytes at a time; to go on, the listing is produced again and the
// bytes already handed out are skipped.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cerrno>
#include <cstring>
#include <new>
#include "kolib/directories.h"
#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/locate.h"
#include "kolib/memory.h"

namespace {

const uint32_t CHUNK = 4096;

bool traced() {
    return BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_FIND_FILES) != 0;
}

// Bytes that pass unquoted: name characters and the glob characters.
bool passesUnquoted(unsigned char c, bool first) {
    if (std::isalnum(c) || c >= 0x80) return true;
    if (c == '~') return first; // home-directory expansion only where it can apply
    return std::strchr("*?[]!/._-+,:@%=", c) != nullptr;
}

// The shell command for the pattern; false when it cannot be built safely or does not fit.
bool buildCommand(char* cmd, std::size_t size, const char* pattern) {
    static const char HEAD[] = "/bin/sh 2>>/dev/null <<EOT\n/bin/ls ";
    static const char TAIL[] = "\nEOT";
    std::size_t used = sizeof HEAD - 1;
    std::memcpy(cmd, HEAD, used);
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(pattern); *p; ++p) {
        if (*p == '\n') return false;
        char quoted[4];
        std::size_t n = 0;
        if (passesUnquoted(*p, p == reinterpret_cast<const unsigned char*>(pattern))) {
            quoted[n++] = static_cast<char>(*p);
        } else if (*p == '$' || *p == '`' || *p == '\\') {
            quoted[n++] = '\\'; // "\\" becomes "\" in the here-document ...
            quoted[n++] = '\\';
            quoted[n++] = '\\'; // ... and "\$" becomes "$": the inner shell sees "\$"
            quoted[n++] = static_cast<char>(*p);
        } else {
            quoted[n++] = '\\';
            quoted[n++] = static_cast<char>(*p);
        }
        if (used + n + sizeof TAIL > size) return false;
        std::memcpy(cmd + used, quoted, n);
        used += n;
    }
    std::memcpy(cmd + used, TAIL, sizeof TAIL);
    return true;
}

// The descriptor is not a KoObject: it lives in a ram block and is released the same way.
void release(KoBosFileFindDesc* desc) {
    desc->~KoBosFileFindDesc();
    ramFree(desc);
}

} // namespace

KoBosFileFindDesc::KoBosFileFindDesc(const char* pattern)
    : FileDesc(nullptr), FileSize(CHUNK), LeftOvers(0), BufPtr(Buffer), Initialized(false),
      DataAvailable(false), Consumed(0), OutputEnded(false) {
    Buffer[0] = '\0';
    if (!buildCommand(Cmd, sizeof Cmd, pattern)) {
        bosMapError(std::strchr(pattern, '\n') ? EINVAL : ENAMETOOLONG, pattern);
        return;
    }
    if (!run()) return;
    Initialized = true;
    OutputEnded = readOutput();
    pclose(FileDesc);
    FileDesc = nullptr;
}

bool KoBosFileFindDesc::run() {
    std::fflush(nullptr); // the shell must not inherit unwritten output
    errno = 0;
    FileDesc = popen(Cmd, "r");
    if (!FileDesc) bosMapError(static_cast<unsigned short>(errno ? errno : ENOMEM), nullptr);
    return FileDesc != nullptr;
}

// Gathers whole lines until FileSize bytes are in Buffer or the output ends.
bool KoBosFileFindDesc::readOutput() {
    uint32_t gathered = 0;
    while (gathered < FileSize &&
           fgets(Buffer + gathered, static_cast<int>(FileSize - gathered + 1), FileDesc))
        gathered += static_cast<uint32_t>(std::strlen(Buffer + gathered));
    Buffer[gathered] = '\0';
    LeftOvers = 0;
    BufPtr = Buffer;
    DataAvailable = gathered != 0;
    return feof(FileDesc) || ferror(FileDesc);
}

// Produces the listing again, skips the Consumed bytes already handed out and reads the next
// buffer. False when nothing more comes.
bool KoBosFileFindDesc::refill() {
    LeftOvers = static_cast<uint32_t>(std::strlen(BufPtr));
    if (!run()) return DataAvailable = false;
    bool ended = false;
    for (uint32_t skipped = 0; skipped < Consumed && !ended && DataAvailable;) {
        FileSize = std::min(CHUNK, Consumed - skipped);
        ended = readOutput();
        skipped += static_cast<uint32_t>(std::strlen(Buffer));
    }
    FileSize = CHUNK;
    if (ended || !DataAvailable) {
        Buffer[0] = '\0';
        DataAvailable = false;
        OutputEnded = true;
    } else {
        OutputEnded = readOutput();
    }
    pclose(FileDesc);
    FileDesc = nullptr;
    return DataAvailable;
}

int KoBosFileFindDesc::nextName(char* name) {
    name[0] = '\0';
    while (DataAvailable) {
        char* line = BufPtr;
        char* lineFeed = std::strchr(line, '\n');
        std::size_t length;
        if (lineFeed) {
            *lineFeed = '\0';
            length = static_cast<std::size_t>(lineFeed - line);
            BufPtr = lineFeed + 1;
            Consumed += static_cast<uint32_t>(length) + 1;
        } else {
            length = std::strlen(line);
            // An unfinished line grows by re-running the listing, unless the output has
            // ended or the line fills the whole buffer: then it is handed out as it is.
            if (!OutputEnded && length < CHUNK) {
                refill();
                continue;
            }
            if (!length) return DataAvailable = false;
            BufPtr = line + length;
            Consumed += static_cast<uint32_t>(length);
        }
        const char* slash = std::strrchr(line, '/');
        const char* base = slash ? slash + 1 : line;
        std::size_t baseLength = std::min<std::size_t>(std::strlen(base), BOS_PATH_BUFFER_SIZE - 1);
        std::memcpy(name, base, baseLength);
        name[baseLength] = '\0';
        return 1;
    }
    return 0;
}

unsigned bosFindFiles(void** handle, char* name) {
    KoBosFileFindDesc* desc = static_cast<KoBosFileFindDesc*>(*handle);
    if (!desc) {
        if (traced()) std::printf("bosFindFiles: Search for %s\n", name);
        desc = new (RAM_INIT_NONE) KoBosFileFindDesc(name);
        if (!desc) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
        if (!desc->isInitialized()) {
            release(desc);
            *handle = nullptr;
            name[0] = '\0';
            return 1;
        }
        *handle = desc;
    }
    if (desc->nextName(name)) {
        if (traced()) std::printf("bosFindFiles: returns fileName=%s\n", name);
        return 0;
    }
    release(desc);
    *handle = nullptr;
    name[0] = '\0';
    return 0;
}
