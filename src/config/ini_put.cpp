// Writing through a KoIniFileCache: the text is split into a head and a tail around the
// place that changes, and the file is created anew from head, optional header, optional new
// line and tail, all under the cache's semaphore; the cache is then read back. A new entry
// goes first in its section, a changed one stays in place, a new section goes at the end.
#include <cstdio>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/ini_cache.h"
#include "kolib/locate.h"
#include "kolib/memory.h"

namespace {

const char* const PREFIX = "PutProfileString:";
// bosFileWrite judges its count as 16 bits, so large texts go out in smaller pieces.
const unsigned long WRITE_PIECE = 32768;

bool traced() {
    return BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_PROFILE_WRITE) != 0;
}

bool writeAll(int fd, const char* text, unsigned long length) {
    bool ok = true;
    for (unsigned long done = 0; done < length && ok;) {
        unsigned long piece = length - done < WRITE_PIECE ? length - done : WRITE_PIECE;
        ok = bosFileWrite(fd, -1, text + done, piece) == 0;
        done += piece;
    }
    return ok;
}

bool retryWithoutLock(unsigned short error) {
    return error == 1522 || error == 1508 || error == 30040;
}

} // namespace

// Creates the file anew and writes head, a line feed when the head's last line needs one
// before something new, the section header, the new line and the tail. Called under the
// semaphore. 0 success.
unsigned KoIniFileCache::rewrite(const char* prefix, const char* head, unsigned long headLength,
                                 const char* header, bool withHeader, bool lineFeedFirst,
                                 const char* newLine, const char* tail, unsigned long tailLength) {
    char path[BOS_PATH_BUFFER_SIZE];
    FileMode = BOS_OPEN_CREATE | BOS_OPEN_WRITE | BOS_OPEN_LOCK_WRITE;
    for (;;) {
        std::snprintf(path, sizeof path, "%s", FileName);
        if (bosFileOpen(path, FileMode, &FileHandle) == 0) break;
        if (!(FileMode & BOS_OPEN_LOCK_WRITE) ||
            !retryWithoutLock(KoErrorKeeper::getLastErrorNumber()))
            return 1;
        FileMode &= ~static_cast<unsigned long>(BOS_OPEN_LOCK_WRITE);
        KoErrorKeeper::clearLastError();
    }
    bool ok = bosFileSeek(FileHandle, 0, 0) == 0 && writeAll(FileHandle, head, headLength);
    if (ok && lineFeedFirst) ok = writeAll(FileHandle, "\n", 1);
    if (ok && withHeader) {
        if (newLine && traced())
            std::printf("%s Section missing adding it.\n|->%s\n", prefix, header);
        ok = writeAll(FileHandle, header, std::strlen(header)) && writeAll(FileHandle, "\n", 1);
    }
    if (ok && newLine) {
        if (traced()) std::printf("%s Entry missing adding it.\n|->%s\n", prefix, newLine);
        ok = writeAll(FileHandle, newLine, std::strlen(newLine));
    }
    if (ok && tailLength) ok = writeAll(FileHandle, tail, tailLength);
    bosFileClose(FileHandle);
    FileHandle = 0;
    return ok ? 0 : 1;
}

unsigned KoIniFileCache::bosPutProfileString(const char* section, const char* entry,
                                             const char* newValue) {
    if (!section) return 0;
    bool trace = traced();
    std::size_t sectionLength = std::strlen(section);
    char* header = static_cast<char*>(ramMalloc(sectionLength + 3));
    char* newLine = nullptr;
    if (entry && newValue) {
        std::size_t entryLength = std::strlen(entry), valueLength = std::strlen(newValue);
        newLine = static_cast<char*>(ramMalloc(entryLength + valueLength + 3));
        if (newLine) {
            std::memcpy(newLine, entry, entryLength);
            newLine[entryLength] = '=';
            std::memcpy(newLine + entryLength + 1, newValue, valueLength);
            std::memcpy(newLine + entryLength + 1 + valueLength, "\n", 2);
        }
    }
    if (!header || (entry && newValue && !newLine)) {
        KoErrorKeeper::addMemoryError();
        ramFree(header);
        ramFree(newLine);
        return 0;
    }
    std::snprintf(header, sectionLength + 3, "[%s]", section);

    unsigned result = 0;
    Semaphore.SemaphoreEnter();
    // Asked under the lock: another thread's reload closes the cache for a moment.
    if (!isOpen()) {
        Semaphore.SemaphoreExit();
        ramFree(header);
        ramFree(newLine);
        return 0;
    }
    if (trace) {
        std::printf("PutProfileString: File:%s Section:[%s] Entry:", FileName ? FileName : "<NULL>",
                    section);
        entry ? std::printf("%s\n", entry) : std::printf("NULL\n");
        std::printf("%s newStr:", PREFIX);
        newValue ? std::printf("%s\n", newValue) : std::printf("NULL\n");
    }
    if (isOpen() && syncLocked() == 0 && isOpen()) {
        char *start = nullptr, *end = nullptr;
        bool found = getSection(header, &start, &end) == 0;
        if (trace)
            std::printf(found ? "%s Section %s found.\n" : "%s Section %s not found.\n", PREFIX,
                        header);
        char* text = FileCache;
        char* limit = textEnd();
        char* cut = limit; // the head is [text, cut)
        char* tail = limit;
        bool withHeader = !found && newLine;
        if (found && !entry) {
            if (trace) std::printf("%s Deleting section %s\n", PREFIX, header);
            cut = start;
            tail = end;
        } else if (found) {
            char *position = start, *valueStart = nullptr, *valueEnd = nullptr;
            if (findEntry(entry, end, &position, &valueStart, &valueEnd) == 0) {
                if (trace)
                    std::printf("%s %s %s\n", PREFIX,
                                newValue ? "Updating Entry Value with:" : "Deleting Entry:",
                                newValue ? newValue : entry);
                cut = position;
                tail = valueEnd < limit ? valueEnd + 1 : limit;
            } else if (newLine) {
                // The header line is kept as it stands (its spelling, a carriage return) and
                // the new entry goes right under it.
                char* lineFeed = static_cast<char*>(
                    std::memchr(start, '\n', static_cast<std::size_t>(limit - start)));
                cut = tail = lineFeed ? lineFeed + 1 : limit;
            }
            // Deleting a missing entry leaves cut and tail at the end: the same bytes again.
        }
        unsigned long headLength = static_cast<unsigned long>(cut - text);
        bool inserting = newLine && (withHeader || cut == tail);
        bool lineFeedFirst = inserting && headLength && text[headLength - 1] != '\n';
        if (rewrite(PREFIX, text, headLength, header, withHeader, lineFeedFirst, newLine, tail,
                    static_cast<unsigned long>(limit - tail)) == 0)
            result = 1;
        // Read the file back: what is cached must be what was written.
        FileDate = FileSize = 0;
        syncLocked();
        if (trace) {
            std::printf("%s Updated FileCache: Len=%d\n", PREFIX, static_cast<int>(TextLength));
            if (!TextLength)
                std::printf("%s FileCache is empty.\n", PREFIX);
            else
                std::printf("%s Updated FileCache:\n|->%s\n", PREFIX, FileCache);
        }
    }
    Semaphore.SemaphoreExit();
    ramFree(header);
    ramFree(newLine);
    return result;
}
