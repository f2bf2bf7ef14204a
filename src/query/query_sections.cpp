// KoQueryFile: the statement fields and the sections' parameters, changed in place. A changed
// section's body goes to the temporary store; the untouched ones stay as they were read.
#include <cerrno>
#include <cstring>
#include "kolib/array.h"
#include "kolib/errors.h"
#include "kolib/query_file.h"
#include "kolib/scanner.h"
#include "kolib/tmp_file.h"
#include "query/query_text.h"

namespace {
const char* const Names[KoQueryFile::SECTION_COUNT] = {"PAGE_LAYOUT", "PARAMETERS", "DEFINITION",
                                                       "USER COMMANDS"};
const int Commands = 3; // USER COMMANDS: "WORD ARGUMENTS" lines
const char DescriptionCommand[] = "SET.QUERY.DESCRIPTION";
const uint16_t StoreCache = 32768;

// One parameter line of a body: name and value as views into the body.
struct Entry {
    const char* Name;
    unsigned long NameLength;
    const char* Value;
    unsigned long ValueLength;
};

// A value ends before the file's own line end only (LF, or CRLF in a CRLF file), so that it
// reads the same after a line end is added behind a last line that had none.
bool parseEntry(const char* at, const char* next, bool command, bool crlf, Entry* entry) {
    unsigned long length = koQueryWithoutEnd(at, static_cast<unsigned long>(next - at), crlf);
    const void* mark = std::memchr(at, command ? ' ' : '=', length);
    if (!mark && !command) return false;
    const char* split = mark ? static_cast<const char*>(mark) : at + length;
    entry->Name = at;
    entry->NameLength = static_cast<unsigned long>(split - at);
    entry->Value = mark ? split + 1 : at + length;
    entry->ValueLength = static_cast<unsigned long>(at + length - entry->Value);
    return entry->NameLength > 0;
}

bool hasLineBreak(const char* text) {
    return std::strpbrk(text, "\r\n") != nullptr;
}
} // namespace

int KoQueryFile::sectionIndex(const char* name) {
    if (!name) return -1;
    for (int i = 0; i < SECTION_COUNT; ++i)
        if (koQueryNameIs(name, std::strlen(name), Names[i])) return i;
    return -1;
}

const char* KoQueryFile::sectionName(int index) {
    return index >= 0 && index < SECTION_COUNT ? Names[index] : nullptr;
}

unsigned KoQueryFile::sectionFor(const char* section, int* index) {
    *index = sectionIndex(section);
    if (*index >= 0) return 0;
    bosMapError(EINVAL, nullptr);
    return 1;
}

int KoQueryFile::hasSection(const char* section) {
    int index = sectionIndex(section);
    return index >= 0 && Sections[index].Present;
}

// The section's body: from the store after a change, else the text read after its header.
unsigned KoQueryFile::body(int index, KoString* out) {
    Part& part = Sections[index];
    if (part.Changed) {
        if (!part.StoreLength) return koQueryAssign(out, "", 0);
        return Store->read(part.StoreOffset, out, part.StoreLength);
    }
    const char* end = part.Raw.Buf + part.Raw.CurSize;
    const char* at = part.Raw.Buf ? koQueryNextLine(part.Raw.Buf, end) : end;
    return koQueryAssign(out, at, static_cast<unsigned long>(end - at));
}

unsigned KoQueryFile::storeBody(int index, const KoString& text) {
    if (!Store) {
        Store = new KoTmpFile(StoreCache, 1); // one thread at a time: no locking
        if (!Store) {
            KoErrorKeeper::addMemoryError();
            return 1;
        }
    }
    uint32_t offset = 0;
    uint32_t length = text.CurSize;
    if (length &&
        (Store->tmpFindSpace(length, &offset) || Store->write(offset, text.Buf, length))) {
        if (offset) Store->tmpFreeSpace(offset, length);
        return 1;
    }
    Part& part = Sections[index];
    if (part.Changed && part.StoreLength) Store->tmpFreeSpace(part.StoreOffset, part.StoreLength);
    part.StoreOffset = offset;
    part.StoreLength = length;
    part.Changed = true;
    if (!part.Present) {
        part.Present = true;
        bool listed = false;
        for (int& slot : Order) {
            if (slot == index) listed = true;
            if (slot < 0 && !listed) {
                slot = index;
                break;
            }
        }
    }
    return 0;
}

unsigned KoQueryFile::listParameters(const char* section, KoArray* names) {
    int index;
    if (sectionFor(section, &index)) return 1;
    if (!Sections[index].Present) return 0;
    KoString text;
    if (body(index, &text)) return 1;
    const char* end = text.Buf + text.CurSize;
    for (const char* at = text.Buf; at && at < end;) {
        const char* next = koQueryNextLine(at, end);
        Entry entry;
        if (parseEntry(at, next, index == Commands, CrLf, &entry)) {
            KoString* name = new KoString;
            if (!name || name->initialize(entry.Name, entry.NameLength) || names->add(name)) {
                if (!name) KoErrorKeeper::addMemoryError();
                delete name;
                return 1;
            }
        }
        at = next;
    }
    return 0;
}

unsigned KoQueryFile::getParameter(const char* section, const char* name, KoString* value,
                                   int* found) {
    int index;
    *found = 0;
    if (koQueryAssign(value, "", 0)) return 1;
    if (sectionFor(section, &index)) return 1;
    if (!Sections[index].Present) return 0;
    KoString text;
    if (body(index, &text)) return 1;
    const char* end = text.Buf + text.CurSize;
    for (const char* at = text.Buf; at && at < end;) {
        const char* next = koQueryNextLine(at, end);
        Entry entry;
        if (parseEntry(at, next, index == Commands, CrLf, &entry) &&
            koQueryNameIs(entry.Name, entry.NameLength, name)) {
            *found = 1;
            return koQueryAssign(value, entry.Value, entry.ValueLength);
        }
        at = next;
    }
    return 0;
}

unsigned KoQueryFile::setParameter(const char* section, const char* name, const char* value) {
    int index;
    if (sectionFor(section, &index)) return 1;
    bool command = index == Commands;
    if (!name || !*name || *name == '[' || hasLineBreak(name) ||
        std::strchr(name, command ? ' ' : '=') || !value || hasLineBreak(value)) {
        addError(2725) << (name ? name : "");
        return 1;
    }
    KoString old, text;
    if (body(index, &old) || text.initialize("")) return 1;
    const char* end = old.Buf + old.CurSize;
    bool done = false;
    for (const char* at = old.Buf; at && at < end;) {
        const char* next = koQueryNextLine(at, end);
        Entry entry;
        if (!done && parseEntry(at, next, command, CrLf, &entry) &&
            koQueryNameIs(entry.Name, entry.NameLength, name)) {
            // The line keeps its name's spelling and its ending; the value changes.
            const char* ending =
                at + koQueryWithoutEnd(at, static_cast<unsigned long>(next - at), CrLf);
            if (koQueryAppend(&text, at, entry.NameLength + 1) || text.concat(value) ||
                koQueryAppend(&text, ending, static_cast<unsigned long>(next - ending)))
                return 1;
            done = true;
        } else if (koQueryAppend(&text, at, static_cast<unsigned long>(next - at))) {
            return 1;
        }
        at = next;
    }
    if (!done) {
        if (text.CurSize && text.Buf[text.CurSize - 1] != '\n' && eol(&text)) return 1;
        if (text.concat(name) || text.concat(command ? ' ' : '=') || text.concat(value) ||
            eol(&text))
            return 1;
    }
    return storeBody(index, text);
}

unsigned KoQueryFile::deleteParameter(const char* section, const char* name, int* found) {
    int index;
    if (found) *found = 0;
    if (sectionFor(section, &index)) return 1;
    if (!Sections[index].Present || !name) return 0;
    KoString old, text;
    if (body(index, &old) || text.initialize("")) return 1;
    const char* end = old.Buf + old.CurSize;
    bool removed = false;
    for (const char* at = old.Buf; at && at < end;) {
        const char* next = koQueryNextLine(at, end);
        Entry entry;
        if (parseEntry(at, next, index == Commands, CrLf, &entry) &&
            koQueryNameIs(entry.Name, entry.NameLength, name))
            removed = true;
        else if (koQueryAppend(&text, at, static_cast<unsigned long>(next - at)))
            return 1;
        at = next;
    }
    if (found) *found = removed;
    return removed ? storeBody(index, text) : 0;
}

unsigned KoQueryFile::deleteSection(const char* section) {
    int index;
    if (sectionFor(section, &index)) return 1;
    Part& part = Sections[index];
    if (part.Changed && part.StoreLength) Store->tmpFreeSpace(part.StoreOffset, part.StoreLength);
    part.Present = part.Changed = false;
    part.StoreOffset = part.StoreLength = 0;
    part.Raw.unInitialize();
    return 0;
}

unsigned KoQueryFile::getDescription(KoString* text, int* found) {
    KoString value;
    if (getParameter(Names[Commands], DescriptionCommand, &value, found)) return 1;
    if (koQueryAssign(text, "", 0)) return 1;
    if (!*found) return 0;
    // The argument is a literal in double quotes with inner quotes doubled; a hand-written one
    // without quotes is taken as it stands.
    KoScanner scanner(value.Buf, value.CurSize);
    KoToken token;
    if (scanner.getToken(token) == C_LITERAL && token.Buf[0] == '"' &&
        scanner.getToken(token) == C_EOS) {
        scanner.resetToBeginning();
        scanner.getToken(token);
        for (unsigned long i = 1; i + 1 < token.CurSize; ++i) {
            if (token.Buf[i] == '"') ++i; // the second of a doubled pair
            if (text->concat(token.Buf[i])) return 1;
        }
        return 0;
    }
    return koQueryAssign(text, value.Buf, value.CurSize);
}

unsigned KoQueryFile::setDescription(const char* text) {
    if (!text) return deleteParameter(Names[Commands], DescriptionCommand);
    if (hasLineBreak(text)) {
        addError(2725) << DescriptionCommand;
        return 1;
    }
    KoString quoted;
    if (quoted.initialize(text) || quoted.addQuotes('"')) return 1;
    return setParameter(Names[Commands], DescriptionCommand, quoted.asCStr());
}

unsigned KoQueryFile::setStatement(const char* text, unsigned long length) {
    if (text && std::memchr(text, '\0', length)) {
        addError(2725) << "statement";
        return 1;
    }
    if (koQueryAssign(&Statement, text ? text : "", text ? length : 0)) return 1;
    HeadChanged = true;
    return 0;
}

unsigned KoQueryFile::setStatement(const char* text) {
    return setStatement(text, text ? std::strlen(text) : 0);
}

unsigned KoQueryFile::setDatabase(const char* name) {
    if (name && hasLineBreak(name)) {
        addError(2725) << name;
        return 1;
    }
    if (!name || !*name) {
        HasDatabase = false;
        Database.unInitialize();
    } else {
        if (koQueryAssign(&Database, name, std::strlen(name))) return 1;
        HasDatabase = true;
    }
    HeadChanged = true;
    return 0;
}

void KoQueryFile::setCrossTab(int on) {
    CrossTab = on ? 1 : 0;
    HeadChanged = true;
}
