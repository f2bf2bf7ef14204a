// Line and text helpers of the query-file reader and writer. Lines end with LF or CRLF; the
// last line of a text may have no ending.
#pragma once

class KoString;

// Appends with geometric growth (KoString itself grows exactly), so that a statement of many
// megabytes assembled from pieces costs linear time.
unsigned koQueryAppend(KoString* text, const char* bytes, unsigned long length);
// Replaces the text with `length` bytes; on failure the old text stays (and nothing leaks).
unsigned koQueryAssign(KoString* text, const char* bytes, unsigned long length);
// Makes room for `length` more bytes, growing geometrically.
unsigned koQueryReserve(KoString* text, unsigned long length);
// Reads decimal digits; 0 when they are not a number that fits.
bool koQueryNumber(const char* digits, unsigned long length, unsigned long* value);
// The length of a line without its LF or CRLF.
unsigned long koQueryLineLength(const char* line, unsigned long length);
// The length of a line without the file's own line end: LF, and in a CRLF file (`crlf`) the
// CR before it. A line without LF keeps every byte, so a value read back after a line end is
// added to it is the same.
unsigned long koQueryWithoutEnd(const char* line, unsigned long length, bool crlf);
// The start of the line after the one at `at` (or `end`).
const char* koQueryNextLine(const char* at, const char* end);
// Whether the line at `at` reads exactly `text` (its ending aside).
bool koQueryLineIs(const char* at, const char* end, const char* text);
// Whether the line at `at` is a "use NAME" line ("use" in any case, a blank, a name).
bool koQueryIsUseLine(const char* at, const char* end);
// Whether a statement line (from `at` to `next`) needs a "\" in front to read back as itself.
bool koQueryNeedsEscape(const char* at, const char* next, bool first);
// Whether `a` (of `length` bytes) equals the NUL-terminated `b` without regard to ASCII case.
bool koQueryNameIs(const char* a, unsigned long length, const char* b);
