// Path building and the current directory. Path buffers hold at least 1024 bytes and are
// rewritten in place; a result that would not fit leaves the buffer as it was and returns 1
// with the "name too long" system error.
#pragma once

#include "kolib/export.h"

// Builds a full path from `name`: trailing blanks go, a final single "." goes ("x." becomes
// "x", ".." stays), a name without "/" is put into `dir` (when given), a base name without
// "." gets "." + `defaultExt` (when given), and a relative result is made absolute.
KO_API unsigned bospath(char* path, const char* dir, const char* name, const char* defaultExt);
// Puts the current directory and "/" in front of a path that does not begin with "/". The
// flag is not used.
KO_API unsigned bosfpath(char* path, int flag);
// Puts "HOME" (else "KO", else the current directory) and "/" in front of the path.
KO_API unsigned boshpath(char* path);
// Removes the leading part that the path shares with the current directory, up to the last
// shared "/" or ":".
KO_API unsigned bosmpath(char* path);
// Splits a path: the base name up to its first "." goes to `name` (129 bytes), at most three
// characters after that "." to `ext` (4 bytes), and `path` keeps its directory part with the
// trailing "/". A base name longer than 128 bytes is cut to 128; with `reportFlag` non-zero
// that is error 1524 and result 1.
KO_API unsigned bosParseName(char* path, char* name, char* ext, int reportFlag);
// The current directory in `buffer` (1024 bytes), with a trailing "/" when `addSlash` is
// non-zero; empty and result 1 when it cannot be had.
KO_API unsigned bosgtcwd(char* buffer, int addSlash);
// Changes the current directory. Failure: error 1504.
KO_API unsigned bosstcwd(const char* path);
