// Reading from a KoIniFileCache: one entry's value, the entry names of a section, or an
// integer. Every read checks the file first and runs, look-up and copy, under the cache's
// semaphore, so a rewrite by another thread is never seen half done.
#include <cstdio>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/ini_cache.h"
#include "kolib/memory.h"
#include "kolib/strutil.h"
#include "ini_compat.h"

namespace {

const char* const PREFIX = "GetProfileString:";

bool traceReads() {
    return BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_PROFILE_READ) != 0;
}
bool traceLists() {
    return BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_PROFILE_WRITE) != 0;
}

// Copies text, cut to size - 1 bytes, and terminates it. Returns the bytes copied.
unsigned long copyCut(char* buffer, unsigned long size, const char* text, unsigned long length) {
    if (!buffer || !size) return 0;
    if (length >= size) length = size - 1;
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
    return length;
}

// "[" + section + "]" in a work buffer; false when memory runs out.
char* makeHeader(const char* section) {
    std::size_t length = std::strlen(section);
    char* header = static_cast<char*>(ramMalloc(length + 3));
    if (!header) {
        KoErrorKeeper::addMemoryError();
        return nullptr;
    }
    header[0] = '[';
    std::memcpy(header + 1, section, length);
    header[length + 1] = ']';
    header[length + 2] = '\0';
    return header;
}

void traceList(const char* buffer, unsigned long count, bool listed) {
    std::printf("%s Multi-Entry Output Requested.\n", PREFIX);
    if (!listed || count <= 1) {
        std::printf("%s No data found.\n", PREFIX);
        return;
    }
    for (const char* name = buffer; *name; name += std::strlen(name) + 1)
        std::printf("%s Entry %s Len=%d\n", PREFIX, name, static_cast<int>(std::strlen(name)));
}

} // namespace

// The entry names from the line after the header to the section's end: "=" ends a name (the
// rest of its line is skipped), comment lines are skipped, line feeds are dropped. A name cut
// by the buffer is dropped whole, so the list always ends in two zeros; the count includes the
// final zero.
unsigned long KoIniFileCache::copyEntryNames(const char* section, const char* sectionEnd,
                                             char* buffer, unsigned long size) {
    if (!size) return 0;
    const char* p = static_cast<const char*>(
        std::memchr(section, '\n', static_cast<std::size_t>(sectionEnd - section)));
    p = p ? p + 1 : sectionEnd;
    while (p < sectionEnd && (*p == ' ' || *p == '\t')) ++p;
    unsigned long used = 0, complete = 0;
    bool atLineStart = true;
    while (p < sectionEnd && used + 1 < size) {
        char c = *p;
        if (c == '=' || (atLineStart && (c == ';' || c == '#'))) {
            if (c == '=') {
                buffer[used++] = '\0';
                complete = used;
            }
            const char* lineFeed = static_cast<const char*>(
                std::memchr(p, '\n', static_cast<std::size_t>(sectionEnd - p)));
            p = lineFeed ? lineFeed : sectionEnd;
            continue;
        }
        atLineStart = c == '\n';
        if (c != '\n') buffer[used++] = c;
        ++p;
    }
    // A last name that ran into the section's end without "=" is kept when it is whole.
    if (p >= sectionEnd && used > complete && used + 1 < size) {
        buffer[used++] = '\0';
        complete = used;
    }
    buffer[complete] = '\0';
    return complete + 1;
}

unsigned long KoIniFileCache::bosGetProfileString(const char* section, const char* entry,
                                                  const char* defaultValue, char* buffer,
                                                  unsigned long size) {
    bool trace = traceReads();
    bool listRequest = section && !entry;
    unsigned long count = 0;
    bool answered = false;
    char value[KO_INI_WORK_BUFFER_SIZE];
    unsigned long valueLength = 0;
    if (section && buffer) {
        char* header = makeHeader(section);
        Semaphore.SemaphoreEnter(); // the name, the text and the index change under it
        if (trace) {
            std::printf("GetProfileString: File:%s Section:[%s] Entry:",
                        FileName ? FileName : "<NULL>", section);
            entry ? std::printf("%s\n", entry) : std::printf("NULL\n");
            if (defaultValue) {
                std::printf("%s defaultStr:", PREFIX);
                *defaultValue ? std::printf("%s\n", defaultValue) : std::printf("NULL\n");
            }
        }
        char *start = nullptr, *end = nullptr;
        if (header && isOpen() && syncLocked() == 0 && isOpen()) {
            bool found = getSection(header, &start, &end) == 0;
            if (trace)
                std::printf(found ? "%s Section %s found.\n" : "%s Section %s not found.\n", PREFIX,
                            header);
            if (found && listRequest) {
                if (traceLists()) std::printf("%s Fecthing all entries for %s\n", PREFIX, section);
                char* headerEnd = start + std::strlen(header);
                bool empty = end == headerEnd + 1 || (end == headerEnd && end == textEnd());
                if (Compatible) {
                    count = koIniCompatEntryNames(start, end, buffer, size);
                    answered = count > 0;
                } else if (!empty) {
                    count = copyEntryNames(start, end, buffer, size);
                    answered = true;
                }
            } else if (found) {
                char *lineStart = nullptr, *valueStart = nullptr, *valueEnd = nullptr,
                     *lineNext = nullptr;
                if (lookUpEntry(start, end, entry, &lineStart, &valueStart, &valueEnd, &lineNext) ==
                    0) {
                    // Values longer than the work buffer are cut to fit it.
                    valueLength = copyCut(value, sizeof value, valueStart,
                                          static_cast<unsigned long>(valueEnd - valueStart));
                    if (trace) {
                        std::printf("%s Entry %s found.\n", PREFIX, entry);
                        std::printf("%s Value=%s\n", PREFIX, value);
                    }
                    answered = valueLength > 0;
                } else if (trace) {
                    std::printf("%s Entry %s not found.\n", PREFIX, entry);
                }
            }
        }
        Semaphore.SemaphoreExit();
        ramFree(header);
        if (answered && !listRequest) count = copyCut(buffer, size, value, valueLength);
    }
    if (!answered) {
        const char* text = defaultValue ? defaultValue : "";
        count = copyCut(buffer, size, text, std::strlen(text));
    }
    if (trace && buffer) {
        if (listRequest)
            traceList(buffer, count, answered);
        else
            std::printf("%s Return Len=%d returnBuf=%s\n", PREFIX, static_cast<int>(count),
                        size ? buffer : "");
    }
    return count;
}

uint32_t KoIniFileCache::bosGetProfileInt(const char* section, const char* entry,
                                          uint32_t defaultValue) {
    char text[20];
    if (!bosGetProfileString(section, entry, "", text, sizeof text)) return defaultValue;
    std::size_t digits = 0;
    while (text[digits] >= '0' && text[digits] <= '9') ++digits;
    text[digits] = '\0';
    if (!digits) return defaultValue;
    unsigned long value = 0;
    if (convert(&value, text)) {
        addError(2701);
        return defaultValue;
    }
    return static_cast<uint32_t>(value);
}
