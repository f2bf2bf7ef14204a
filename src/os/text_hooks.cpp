// Character-set hooks and byte-wise case changes used on names and configuration texts.
#include <cctype>
#include "kolib/files.h"

// The file system uses the caller's code page on this platform: nothing to convert.
void AnsiToOem(char*) {}
void OemToAnsi(char*) {}

void UpperText(char* text) {
    for (; text && *text; ++text)
        *text = static_cast<char>(std::toupper(static_cast<unsigned char>(*text)));
}

void LowerText(char* text) {
    for (; text && *text; ++text)
        *text = static_cast<char>(std::tolower(static_cast<unsigned char>(*text)));
}
