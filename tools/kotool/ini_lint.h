// The configuration-file linter behind `kotool check`: its own reading of the file text, line
// by line, that finds the lines the library's strict rules read differently from the usual
// lenient reading (blanks around "=" and at the ends of names and values ignored, a carriage
// return before the line feed not part of the line, "[" opening a section only at the start of
// a line).
#pragma once

#include <string>
#include <vector>

struct IniFinding {
    unsigned long Line; // 1-based
    std::string Message;
};

// Every finding in `text`, in line order (a line can have several).
std::vector<IniFinding> lintIniText(const std::string& text);

// How many different lines of `text` have findings.
unsigned long countLintedLines(const std::vector<IniFinding>& findings);
