// The task list's memory of resolved configuration names. Resolving "ODBC.INI" and its kin
// reads environment variables and tests whether files exist; the answer stays right while
// those variables keep their values and nothing is created, deleted or renamed in the home
// directory and in the directory of the resolved file, which change notices tell without a
// system call. Only the configuration names are remembered (a path resolves to itself at no
// cost), and nothing while the file-name trace bits are on, so the trace lines stay complete.
#pragma once

class KoIniFileCacheList;

// Under the list's semaphore: 0 when `name` was resolved before and the answer still holds;
// `path` (BOS_PATH_BUFFER_SIZE bytes) then gets it.
unsigned koIniRecallName(KoIniFileCacheList* list, const char* name, char* path);
// Outside the list's semaphore: resolves `name` into `path` (which ends the process when the
// data-source file is missing) and remembers the answer where it can. 0 success.
unsigned koIniResolveName(KoIniFileCacheList* list, const char* name, char* path);
// Frees every remembered name.
void koIniForgetNames(KoIniFileCacheList* list);
