// Writing through a KoIniFileCache: under the cache's semaphore and the writers' lock of the
// file (so no other process's change is lost), the file is read afresh, its text split into a
// head and a tail around the place that changes, and a new file made of head, optional
// header, optional new line and tail replaces the old one whole (KoFileReplace): a reader
// never sees a missing or partly written file. The cache is then read back. A new entry goes
// first in its section, a changed one stays in place, a new section goes at the end.
#include <cstdio>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/file_replace.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/ini_cache.h"
#include "kolib/locate.h"
#include "kolib/memory.h"
#include "ini_compat.h"

namespace {

const char* const PREFIX = "PutProfileString:";

bool traced() {
    return BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_PROFILE_WRITE) != 0;
}

bool isLineEnd(char c) {
    return c == '\n' || c == '\r';
}

// Names and values that the look-ups could not read back as written are refused: they would
// end the line, the section or the name early, or turn the line into a comment. 0 when fine.
unsigned refuseUnreadable(const char* section, const char* entry, const char* value) {
    if (std::strpbrk(section, "]\n")) {
        addError(2718) << section;
        return 1;
    }
    const char* name = entry;
    while (*name == ' ' || *name == '\t') ++name;
    if (std::strpbrk(entry, "=\n") || *name == ';' || *name == '#' || *name == '[') {
        addError(2719) << entry;
        return 1;
    }
    for (const char* p = value; *p; ++p)
        if (isLineEnd(*p)) {
            addError(2720) << entry << section;
            return 1;
        }
    return 0;
}

} // namespace

// Writes head, a line feed when the head's last line needs one before something new, the
// section header, the new line and the tail to a new file that replaces the old one whole.
// Called under the semaphore and the writers' lock. 0 success.
unsigned KoIniFileCache::rewrite(KoFileReplace* replace, const char* prefix, const char* head,
                                 unsigned long headLength, const char* header, bool withHeader,
                                 bool lineFeedFirst, const char* newLine, const char* tail,
                                 unsigned long tailLength, const char* lineEnd,
                                 const char* newValueOnly) {
    FileMode = BOS_OPEN_CREATE | BOS_OPEN_WRITE | BOS_OPEN_LOCK_WRITE;
    if (replace->begin()) return 1;
    unsigned long lineEndLength = std::strlen(lineEnd);
    unsigned failed = replace->write(head, headLength);
    if (!failed && lineFeedFirst) failed = replace->write(lineEnd, lineEndLength);
    if (!failed && withHeader) {
        if (newLine && traced())
            std::printf("%s Section missing adding it.\n|->%s\n", prefix, header);
        failed =
            replace->write(header, std::strlen(header)) || replace->write(lineEnd, lineEndLength);
    }
    if (!failed && newLine) {
        if (traced()) std::printf("%s Entry missing adding it.\n|->%s\n", prefix, newLine);
        // A compatible update replaces the value alone: the name's spelling, the blanks
        // around "=" and the line end stay as the file has them.
        failed = newValueOnly ? replace->write(newValueOnly, std::strlen(newValueOnly))
                              : replace->write(newLine, std::strlen(newLine));
    }
    if (!failed && tailLength) failed = replace->write(tail, tailLength);
    return failed ? 1 : replace->commit();
}

unsigned KoIniFileCache::bosPutProfileString(const char* section, const char* entry,
                                             const char* newValue) {
    if (!section) return 0;
    if (entry && newValue && refuseUnreadable(section, entry, newValue)) return 0;
    bool trace = traced();
    std::size_t sectionLength = std::strlen(section);
    char* header = static_cast<char*>(ramMalloc(sectionLength + 3));
    char* newLine = nullptr;
    if (entry && newValue) {
        std::size_t entryLength = std::strlen(entry), valueLength = std::strlen(newValue);
        newLine = static_cast<char*>(ramMalloc(entryLength + valueLength + 4));
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
    // A compatible reading left a missing file alone: the first write creates it.
    if (!isOpen() && Compatible && MissingName) openFile(MissingName, BOS_OPEN_CREATE_IF_MISSING);
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
    // Every writer of the library takes this lock around its read, change and replace; the
    // read under it is unconditional, so a change another process made within the same
    // clock tick is never written over.
    KoFileReplace replace;
    if (isOpen() && replace.lock(FileName) == 0 && syncLocked(true) == 0 && isOpen()) {
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
        const char* lineEnd = "\n";
        const char* newValueOnly = nullptr;
        if (Compatible) {
            lineEnd = koIniLineEnding(text, limit);
            if (newLine && lineEnd[0] == '\r') std::strcpy(std::strchr(newLine, '\n'), "\r\n");
        }
        if (found && !entry) {
            if (trace) std::printf("%s Deleting section %s\n", PREFIX, header);
            cut = Compatible ? const_cast<char*>(koIniLineStart(text, start)) : start;
            tail = end;
        } else if (found) {
            char *lineStart = nullptr, *valueStart = nullptr, *valueEnd = nullptr,
                 *lineNext = nullptr;
            if (lookUpEntry(start, end, entry, &lineStart, &valueStart, &valueEnd, &lineNext) ==
                0) {
                if (trace)
                    std::printf("%s %s %s\n", PREFIX,
                                newValue ? "Updating Entry Value with:" : "Deleting Entry:",
                                newValue ? newValue : entry);
                cut = lineStart;
                tail = lineNext;
                if (Compatible && newValue) {
                    cut = valueStart;
                    tail = valueEnd;
                    newValueOnly = newValue;
                }
            } else if (newLine) {
                // The header line is kept as it stands (its spelling, a carriage return) and
                // the new entry goes right under it.
                KoIniLine headerLine;
                koIniNextLine(Compatible ? koIniLineStart(text, start) : start, limit, &headerLine);
                cut = tail = const_cast<char*>(headerLine.Next);
            }
            // Deleting a missing entry leaves cut and tail at the end: the same bytes again.
        }
        unsigned long headLength = static_cast<unsigned long>(cut - text);
        bool inserting = newLine && (withHeader || cut == tail) && !newValueOnly;
        bool lineFeedFirst = inserting && headLength && text[headLength - 1] != '\n';
        if (rewrite(&replace, PREFIX, text, headLength, header, withHeader, lineFeedFirst, newLine,
                    tail, static_cast<unsigned long>(limit - tail), lineEnd, newValueOnly) == 0)
            result = 1;
        // Read the file back: what is cached must be what was written.
        FileDate = FileSize = 0;
        syncLocked(true);
        if (trace) {
            std::printf("%s Updated FileCache: Len=%d\n", PREFIX, static_cast<int>(TextLength));
            if (!TextLength)
                std::printf("%s FileCache is empty.\n", PREFIX);
            else
                std::printf("%s Updated FileCache:\n|->%s\n", PREFIX, FileCache);
        }
    }
    replace.unlock();
    Semaphore.SemaphoreExit();
    ramFree(header);
    ramFree(newLine);
    return result;
}
