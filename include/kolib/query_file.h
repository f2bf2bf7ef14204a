// KoQueryFile: a saved query definition, read from and written to a text file.
//
// The file (docs/query-file.md has an example):
//
//   KOQUERY 1                      version header ("KOQUERY 1 SCRAMBLED n" when scrambled)
//   CTKOF                          optional: the query is a cross-tab
//   use sales                      optional: the database the statement runs in
//   SELECT region, SUM(amount)     the SQL statement: every line up to the first section
//   FROM orders GROUP BY region
//   [PARAMETERS]                   named sections, each at most once, in any order:
//   start=2026-01-01                 PAGE_LAYOUT, PARAMETERS, DEFINITION: NAME=VALUE lines
//   [USER COMMANDS]                  USER COMMANDS: one command per line, "WORD ARGUMENTS"
//   SET.QUERY.DESCRIPTION "Sales by region"
//
// - Lines end with LF or CRLF; a file keeps the ending of its header line for lines it adds.
// - A statement line that starts with "[" or "\" is written with one "\" in front of it (as is
//   a first line that would read as the cross-tab mark or a "use" line); reading removes it,
//   so any statement survives a write and a read.
// - In the NAME=VALUE sections the name is everything before the first "=" and the value
//   everything after it up to the line end; names match without regard to ASCII case. In USER
//   COMMANDS the name is the command word and the value the text after one blank. Other lines
//   (blank lines, notes) are kept where they are and are no parameters.
// - The description is the argument of the "SET.QUERY.DESCRIPTION" command: a text in double
//   quotes with inner quotes doubled.
// - Scrambled files: the header names the type of KoString::encrypt used on every later line.
//   Type 2 keeps the line structure and is written as it is (KoFileByLine descrambles it);
//   types 1 and 3 can turn any byte into a line feed, so each of their lines is written as
//   the hexadecimal digits of its scrambled bytes.
//
// Reading keeps the file's bytes: write() gives back, byte for byte, every part that was not
// changed. Changed sections are kept in a temporary store (KoTmpFile) until written. A write
// replaces the file whole through KoFileReplace: it is never left half-written, and a failed
// write leaves the old file as it was.
//
// Results: 0 success, 1 failure with the reason on the calling thread's error list:
// 2721 not a query file of a version this library reads, 2722 unknown section, 2723 a
// section given twice, 2724 damaged (a NUL byte, bad scrambled line), 2725 a name or value that
// cannot be written (empty name, "=" in a name, a line feed or carriage return), 30041
// "Invalid argument" for an unknown section name in a call; file errors as bosFileOpen gives
// them. A failed read leaves the object empty. One object is for one thread at a time.
#pragma once

#include <cstdint>
#include "kolib/kostring.h"

class KoArray;
class KoTmpFile;

class KO_API KoQueryFile : public KoObject {
public:
    enum { SECTION_COUNT = 4, MAX_VERSION = 1 };
    KoQueryFile();
    ~KoQueryFile() override;
    KoQueryFile(const KoQueryFile&) = delete;
    KoQueryFile& operator=(const KoQueryFile&) = delete;

    // Reads `path`, replacing what the object held.
    unsigned read(const char* path);
    // Writes the definition to `path` (created or replaced); `scrambleType` 0 plain, 1 to 3
    // scrambled with that type.
    unsigned write(const char* path, unsigned short scrambleType = 0);
    // Forgets everything: an empty statement, no sections.
    void clear();

    // The scrambling type of the file read (0: plain).
    unsigned short getScrambleType() const { return ScrambleType; }

    // The statement; never null. Its lines keep their own endings; the last has none.
    const char* getStatement() { return Statement.asCStr(); }
    unsigned long getStatementLength() const { return Statement.CurSize; }
    unsigned setStatement(const char* text, unsigned long length);
    unsigned setStatement(const char* text);
    // The database of the "use" line, or null when there is none.
    const char* getDatabase() { return HasDatabase ? Database.asCStr() : nullptr; }
    // Null or "" removes the "use" line.
    unsigned setDatabase(const char* name);
    int isCrossTab() const { return CrossTab; }
    void setCrossTab(int on);
    // The description into `text`; *found = 0 (text emptied) when the file has none.
    unsigned getDescription(KoString* text, int* found);
    // Null removes the command.
    unsigned setDescription(const char* text);

    // Sections are named "PAGE_LAYOUT", "PARAMETERS", "DEFINITION" and "USER COMMANDS"
    // (without regard to case); the index of a name, or -1.
    static int sectionIndex(const char* name);
    static const char* sectionName(int index);
    int hasSection(const char* section);
    // Appends a KoString per parameter name, in file order, to `names` (which owns them when
    // set to delete its contents).
    unsigned listParameters(const char* section, KoArray* names);
    // The value of the first parameter of that name; *found = 0 (value emptied) when none.
    unsigned getParameter(const char* section, const char* name, KoString* value, int* found);
    // Changes the first parameter of that name, or adds it at the section's end; makes the
    // section when the file has none.
    unsigned setParameter(const char* section, const char* name, const char* value);
    // Removes every parameter of that name; *found tells whether there was one (may be null).
    unsigned deleteParameter(const char* section, const char* name, int* found = nullptr);
    unsigned deleteSection(const char* section);

private:
    struct Part {
        bool Present;
        bool Changed;
        KoString Raw;         // header line and body as read
        uint32_t StoreOffset; // the body after a change, in Store (0: empty body)
        uint32_t StoreLength;
    };
    unsigned readLines(const char* path);
    unsigned addLine(const char* line, unsigned long length);
    unsigned parseHead();
    unsigned startSection(const char* line, unsigned long length);
    unsigned sectionFor(const char* section, int* index);
    unsigned body(int index, KoString* out);
    unsigned storeBody(int index, const KoString& text);
    unsigned renderHead(KoString* out);
    unsigned render(KoString* out);
    unsigned eol(KoString* out) const;
    unsigned scramble(const KoString& plain, unsigned short type, KoString* out) const;

    KoString HeadRaw; // header, cross-tab mark, use line and statement as read
    bool HeadChanged;
    bool CrLf;
    int CrossTab;
    bool HasDatabase;
    KoString Database;
    KoString Statement;
    unsigned short ScrambleType;
    Part Sections[SECTION_COUNT];
    int Order[SECTION_COUNT]; // sections in file order; -1 past the last
    int Current;              // while reading: the section being read, -1 the head
    const char* ReadingPath;
    unsigned long LineNumber;
    KoTmpFile* Store; // made on the first change
};
