// Configuration files as the tool sees them before it hands them to the library: where a name
// resolves, whether the file is there and can be read, and the explanation for a missing
// data-source file (the library itself would end the process with a bare "Can't find").
#pragma once

#include <string>

// Resolves `name` with the configuration-name rules in a child process. Returns false when
// it cannot be resolved; `missingDataSources` is set when the name is the data-source file
// and it does not exist (the path tried is then in `path`).
bool resolveConfigName(const char* name, std::string* path, bool* missingDataSources);

// Reads a whole file without creating or changing it. False with the reason in `why`.
bool readFileText(const std::string& path, std::string* text, std::string* why);

// Prints, as `command`, why the data-source file at `path` was not found and what to set.
void explainMissingDataSources(const char* command, const std::string& path);

// For the profile commands: resolves FILE and checks that it can be read before the library
// sees it. A missing file passes only when `mayBeMissing` (a write creates it). Prints the
// error and returns false otherwise.
bool prepareConfigFile(const char* command, const char* file, bool mayBeMissing, std::string* path);
