// The compatible reading of configuration files, for files written by hand or by other tools:
// the text is read line by line; a carriage return before the line feed is not part of the
// line; blanks around "=" and at the end of names and values are ignored; a section header is
// a line whose first non-blank character is "[" with a "]" on the same line, and a section
// runs to the next such line (a "[" inside a value is just text); a line without "=" is not an
// entry. Names and headers compare without regard to ASCII case, as in the strict reading.
#pragma once

#include <cstddef>

// One line of [start, limit): Content skips the leading blanks, ContentEnd stops before a
// carriage return and the line feed, Next is the start of the next line (or limit).
struct KoIniLine {
    const char* Start;
    const char* Content;
    const char* ContentEnd;
    const char* Next;
};
// False at the end of the text.
bool koIniNextLine(const char* p, const char* limit, KoIniLine* line);
// True when the line is a section header: *open at its "[", *close at its "]".
bool koIniHeaderLine(const KoIniLine& line, const char** open, const char** close);
// The section whose header (brackets included) is `header`: *start at its "[", *end at the
// start of the next header line or at limit.
bool koIniCompatFindSection(const char* text, const char* limit, const char* header,
                            std::size_t headerLength, const char** start, const char** end);
// The entry `name` in the section whose "[" is at `section` and which ends at `end`: the
// line's start and next line, and the value without the blanks around it.
bool koIniCompatFindEntry(const char* section, const char* end, const char* name,
                          const char** lineStart, const char** valueStart, const char** valueEnd,
                          const char** lineNext);
// The entry names of the section, each followed by a zero, and one more zero; a name cut by
// the buffer is dropped whole. Returns the count with the final zero (0 for no names).
unsigned long koIniCompatEntryNames(const char* section, const char* end, char* buffer,
                                    unsigned long size);
// The line end the text uses: "\r\n" when its first line ends so, else "\n".
const char* koIniLineEnding(const char* text, const char* limit);
// The start of the line that holds `p`.
const char* koIniLineStart(const char* text, const char* p);
