// KoQueryFile: reading a query file line by line, and writing it back whole.
#include "kolib/query_file.h"

#include <cerrno>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/file_by_line.h"
#include "kolib/file_replace.h"
#include "kolib/hexify.h"
#include "kolib/scanner.h"
#include "kolib/tmp_file.h"
#include "query/query_text.h"

namespace {
const char Magic[] = "KOQUERY";
const char ScrambledWord[] = "SCRAMBLED";
const unsigned long LineBuffer = 65536;
} // namespace

KoQueryFile::KoQueryFile()
    : HeadChanged(false), CrLf(false), CrossTab(0), HasDatabase(false), ScrambleType(0),
      Current(-1), ReadingPath(nullptr), LineNumber(0), Store(nullptr) {
    for (Part& part : Sections) {
        part.Present = part.Changed = false;
        part.StoreOffset = part.StoreLength = 0;
    }
    for (int& index : Order) index = -1;
}

KoQueryFile::~KoQueryFile() {
    delete Store;
}

void KoQueryFile::clear() {
    HeadRaw.unInitialize();
    Statement.unInitialize();
    Database.unInitialize();
    HeadChanged = true; // an empty definition is written from its fields
    CrLf = false;
    CrossTab = 0;
    HasDatabase = false;
    ScrambleType = 0;
    for (Part& part : Sections) {
        part.Present = part.Changed = false;
        part.Raw.unInitialize();
        part.StoreOffset = part.StoreLength = 0;
    }
    for (int& index : Order) index = -1;
    delete Store;
    Store = nullptr;
}

unsigned KoQueryFile::read(const char* path) {
    clear();
    HeadChanged = false;
    ReadingPath = path;
    unsigned failed = readLines(path);
    if (!failed) failed = parseHead();
    ReadingPath = nullptr;
    if (failed) clear();
    return failed;
}

// Reads the file, assembling the pieces of long lines, descrambling, and handing each whole
// line (with its line feed, if it has one) to addLine.
unsigned KoQueryFile::readLines(const char* path) {
    KoFileByLine reader;
    if (reader.openFile(path, LineBuffer)) return 1;
    KoString line;
    bool header = true;
    LineNumber = 0;
    for (;;) {
        KoSubString piece;
        if (reader.getNextLine(piece)) return 1;
        if (reader.isEndOfFile() && piece.CurSize == 0 && line.CurSize == 0) break;
        if (koQueryAppend(&line, piece.Buf, piece.CurSize)) return 1;
        if (!reader.isCompleteLine()) continue;
        ++LineNumber;
        if (header) {
            // "KOQUERY <version> [SCRAMBLED <type>]", read with the scanner.
            KoScanner scanner(line.Buf, line.CurSize);
            KoToken token;
            unsigned long version = 0, type = 0;
            bool ok = scanner.getToken(token) == C_IDENTIFIER && token.isEqual(Magic) &&
                      scanner.getToken(token) == C_NUMBER &&
                      koQueryNumber(token.Buf, token.CurSize, &version) && version >= 1 &&
                      version <= MAX_VERSION;
            ScanCode next = ok ? scanner.getToken(token) : C_EOS;
            if (ok && next == C_IDENTIFIER && token.isEqual(ScrambledWord)) {
                ok = scanner.getToken(token) == C_NUMBER &&
                     koQueryNumber(token.Buf, token.CurSize, &type) && type >= 1 && type <= 3;
                next = ok ? scanner.getToken(token) : C_EOS;
            }
            if (!ok || next != C_EOS || !line.CurSize || line.Buf[line.CurSize - 1] != '\n') {
                addError(2721) << path;
                return 1;
            }
            CrLf = line.CurSize >= 2 && line.Buf[line.CurSize - 2] == '\r';
            ScrambleType = static_cast<unsigned short>(type);
            if (ScrambleType == 2) reader.setCryptType(2);
            header = false;
            // A scrambled file's header is kept plain: the type is the writer's choice.
            if (type ? HeadRaw.concat(Magic) || HeadRaw.concat(" 1") || eol(&HeadRaw)
                     : HeadRaw.concat(line))
                return 1;
        } else {
            if (ScrambleType == 1 || ScrambleType == 3) {
                // Hexadecimal digits of the scrambled bytes, then a line feed.
                unsigned long digits = line.CurSize;
                bool hadEol = digits && line.Buf[digits - 1] == '\n';
                if (hadEol) --digits;
                if (digits % 2 || (digits && !isHexString(line.Buf, digits))) {
                    addError(2724) << path << LineNumber;
                    return 1;
                }
                dehexifyHuge(line.Buf, line.Buf, digits);
                line.setCurSize(digits / 2);
                line.decrypt(ScrambleType);
                if (hadEol && line.concat('\n')) return 1;
            }
            if (std::memchr(line.Buf, '\0', line.CurSize)) {
                addError(2724) << path << LineNumber;
                return 1;
            }
            if (addLine(line.Buf, line.CurSize)) return 1;
        }
        line.clear();
        if (reader.isEndOfFile()) break;
    }
    if (header) {
        addError(2721) << path; // empty, or a first line without its end
        return 1;
    }
    return 0;
}

// One line of the file after the header: a section header starts a section; any other line
// belongs to the part being read.
unsigned KoQueryFile::addLine(const char* line, unsigned long length) {
    unsigned long text = koQueryLineLength(line, length);
    if (text >= 2 && line[0] == '[' && line[text - 1] == ']') return startSection(line, length);
    KoString& target = Current < 0 ? HeadRaw : Sections[Current].Raw;
    return target.concat(line, length);
}

unsigned KoQueryFile::startSection(const char* line, unsigned long length) {
    unsigned long text = koQueryLineLength(line, length);
    KoString name;
    if (name.initialize(line + 1, text - 2)) return 1;
    int index = sectionIndex(name.asCStr());
    if (index < 0) {
        addError(2722) << ReadingPath << name.asCStr();
        return 1;
    }
    if (Sections[index].Present) {
        addError(2723) << ReadingPath << name.asCStr();
        return 1;
    }
    Sections[index].Present = true;
    for (int& slot : Order)
        if (slot < 0) {
            slot = index;
            break;
        }
    Current = index;
    return Sections[index].Raw.concat(line, length);
}

// Takes the cross-tab mark, the "use" line and the statement out of the head as read.
unsigned KoQueryFile::parseHead() {
    Current = -1;
    const char* at = HeadRaw.Buf;
    const char* end = at + HeadRaw.CurSize;
    at = koQueryNextLine(at, end); // the header
    if (at < end && koQueryLineIs(at, end, "CTKOF")) {
        CrossTab = 1;
        at = koQueryNextLine(at, end);
    }
    if (at < end && koQueryIsUseLine(at, end)) {
        const char* next = koQueryNextLine(at, end);
        const char* name = at + 4;
        unsigned long length =
            koQueryWithoutEnd(name, static_cast<unsigned long>(next - name), CrLf);
        HasDatabase = true;
        if (Database.initialize(name, length)) return 1;
        at = next;
    }
    if (Statement.initialize("")) return 1;
    // Every statement line gives up one leading "\".
    while (at < end) {
        const char* next = koQueryNextLine(at, end);
        const char* from = *at == '\\' ? at + 1 : at;
        unsigned long length = static_cast<unsigned long>(next - from);
        // The last line gives up the file's own line end only, so a statement that ends in
        // a carriage return keeps it.
        if (next == end) length = koQueryWithoutEnd(from, length, CrLf);
        if (koQueryAppend(&Statement, from, length)) return 1;
        at = next;
    }
    return 0;
}

unsigned KoQueryFile::eol(KoString* out) const {
    return CrLf ? out->concat("\r\n", 2) : out->concat('\n');
}

// The head written from its fields.
unsigned KoQueryFile::renderHead(KoString* out) {
    if (out->concat(Magic) || out->concat(" 1")) return 1;
    if (eol(out)) return 1;
    if (CrossTab && (out->concat("CTKOF") || eol(out))) return 1;
    if (HasDatabase && (out->concat("use ") || out->concat(Database) || eol(out))) return 1;
    const char* at = Statement.Buf;
    const char* end = at + Statement.CurSize;
    bool first = true;
    while (at && at < end) {
        const char* next = koQueryNextLine(at, end);
        if (koQueryNeedsEscape(at, next, first) && out->concat('\\')) return 1;
        if (koQueryAppend(out, at, static_cast<unsigned long>(next - at))) return 1;
        if (next == end && eol(out)) return 1;
        first = false;
        at = next;
    }
    return 0;
}

unsigned KoQueryFile::render(KoString* out) {
    if (!HeadChanged && HeadRaw.CurSize) {
        if (koQueryAppend(out, HeadRaw.Buf, HeadRaw.CurSize)) return 1;
    } else if (renderHead(out)) {
        return 1;
    }
    for (int index : Order) {
        if (index < 0) break;
        Part& part = Sections[index];
        if (!part.Present) continue;
        if (!part.Changed) {
            if (koQueryAppend(out, part.Raw.Buf, part.Raw.CurSize)) return 1;
            continue;
        }
        // A part that ends without a line end gets one before anything follows it.
        if (out->CurSize && out->Buf[out->CurSize - 1] != '\n' && eol(out)) return 1;
        if (out->concat('[') || out->concat(sectionName(index)) || out->concat(']') || eol(out))
            return 1;
        KoString text;
        if (body(index, &text) || koQueryAppend(out, text.Buf, text.CurSize)) return 1;
    }
    return 0;
}

// Every line after the header scrambled with `type`: type 2 as it is, the others as digits.
unsigned KoQueryFile::scramble(const KoString& plain, unsigned short type, KoString* out) const {
    const char* at = plain.Buf;
    const char* end = at + plain.CurSize;
    const char* next = koQueryNextLine(at, end);
    if (koQueryAppend(out, at, static_cast<unsigned long>(next - at))) return 1;
    // The header names the type.
    unsigned long headerText = koQueryLineLength(at, static_cast<unsigned long>(next - at));
    out->setCurSize(headerText);
    if (out->concat(" ") || out->concat(ScrambledWord) || out->concat(' ') ||
        out->concat(static_cast<unsigned long>(type)) ||
        koQueryAppend(out, at + headerText, static_cast<unsigned long>(next - at) - headerText))
        return 1;
    KoString line;
    for (at = next; at < end; at = next) {
        next = koQueryNextLine(at, end);
        bool hasEol = next[-1] == '\n';
        unsigned long length = static_cast<unsigned long>(next - at) - (hasEol ? 1 : 0);
        if (line.initialize(at, length)) return 1;
        line.encrypt(type);
        if (type == 2) {
            if (koQueryAppend(out, line.Buf, line.CurSize)) return 1;
        } else {
            if (!out->isEnoughSpace(length * 2) && koQueryReserve(out, length * 2)) return 1;
            out->setCurSize(out->CurSize + hexifyHuge(out->Buf + out->CurSize, line.Buf, length));
        }
        if (hasEol && out->concat('\n')) return 1;
        line.unInitialize();
    }
    return 0;
}

unsigned KoQueryFile::write(const char* path, unsigned short scrambleType) {
    if (scrambleType > 3) {
        bosMapError(EINVAL, nullptr);
        return 1;
    }
    KoString plain;
    if (plain.initialize("") || render(&plain)) return 1;
    KoString scrambled;
    const KoString* text = &plain;
    if (scrambleType) {
        if (scrambled.initialize("") || scramble(plain, scrambleType, &scrambled)) return 1;
        text = &scrambled;
    }
    KoFileReplace replace;
    if (replace.lock(path) || replace.begin() || replace.write(text->Buf, text->CurSize) ||
        replace.commit())
        return 1;
    return 0;
}
