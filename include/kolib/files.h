// The file layer: opening with the configuration-file name rules, reading, writing and
// seeking on POSIX descriptors, deleting, renaming, sizes and attributes. Descriptors are
// plain ints and 0 means "no file". Functions return 0 for success and 1 for failure with the
// reason on the calling thread's error list, unless a comment says otherwise. Name buffers
// that a function rewrites hold at least BOS_PATH_BUFFER_SIZE (1024) bytes.
#pragma once

#include "kolib/export.h"

// Attribute bits returned by bosfattr.
enum {
    BOS_FATTR_FILE = 0x01,      // an ordinary file
    BOS_FATTR_DIRECTORY = 0x02, // a directory (and always the name "..")
    BOS_FATTR_READ_ONLY = 0x04, // with BOS_FATTR_FILE: the user may not write it
    BOS_FATTR_MISSING = 0x08,   // the name does not exist
    BOS_FATTR_ERROR = 0x10,     // stat failed for another reason
    BOS_FATTR_OTHER = 0x20      // exists, but neither ordinary file nor directory
};

// The flag word of bosFileOpen; the bits combine.
enum {
    BOS_OPEN_CREATE = 0x0001,            // create anew: delete an old file (failing when it
                                         // cannot be deleted), open read-write
    BOS_OPEN_WRITE = 0x0002,             // read-write (otherwise read-only)
    BOS_OPEN_CREATE_IF_MISSING = 0x0004, // create when missing; take no lock on byte 1
    BOS_OPEN_HOME = 0x0008,              // the name is relative to "HOME"
    BOS_OPEN_SEARCH = 0x0010,            // on failure look the name up along "PATH" once
    BOS_OPEN_LOCK_WRITE = 0x0020,        // with BOS_OPEN_WRITE: write-lock byte 1
    BOS_OPEN_TEMP = 0x0040,              // create a new temporary file (below)
    BOS_OPEN_TEMP_EXCL = 0x0080,         // the same as BOS_OPEN_TEMP (which is exclusive)
    BOS_OPEN_NAME_ONLY = 0x0100,         // resolve the name only; the descriptor out is 0
    BOS_OPEN_CONFIG_NAME = 0x0200        // map the configuration-file names (below)
};

// Opens the file named in `name` (in/out, 1024 bytes) and stores the descriptor in *fd (0 on
// failure); on success `name` holds the path actually used.
// - BOS_OPEN_CONFIG_NAME recognises "ODBC.INI"/".odbc.ini" and "ODBCINST.INI"/".odbcinst.ini"
//   in any case, ".kolib.ini" and ".system.defaults" exactly, and opens the user's file in
//   "HOME" instead, redirected by "ODBCINI" or "ODBC_INI" (data sources), by the directory of
//   "ODBC_INI" or "KO_ODBC_INI" (drivers, when the home file is missing), by "KOLIB_INI" and
//   "KO_SYSTEM_INI" (when the home file is missing). A data-source file that does not exist
//   ends the process: "Can't find <path>" on standard error, exit status 255.
// - BOS_OPEN_TEMP ignores the given name and creates a new file, read-write, mode 0600, under
//   a fresh random name beginning with "ko" in "KO_TMPDIR", else "TMPDIR", else the system's
//   temporary directory. The file is created exclusively and links are never followed; a
//   missing or unwritable directory fails with the system error naming the directory. The
//   home and configuration-name flags do not apply; the other flags are ignored.
// - Every open except BOS_OPEN_CREATE_IF_MISSING read-locks byte 1 of the file; with
//   BOS_OPEN_WRITE | BOS_OPEN_LOCK_WRITE it write-locks it, and fails while another process
//   holds a read lock there.
// A descriptor 0 from the system counts as a failure (it is closed again). A resolved path
// longer than 1023 bytes fails with the "name too long" system error.
KO_API unsigned bosFileOpen(char* name, unsigned long flags, int* fd);
// Reads up to `length` bytes, first seeking to `offset` from the start unless it is -1.
// *count is what read returned (-1 on error). Always returns 0.
KO_API unsigned bosFileRead(int fd, long offset, void* buffer, unsigned long length, long* count);
// Writes `length` bytes, first seeking to `offset` unless it is -1. The count written is
// taken as an unsigned 16-bit value; when it differs from `length` the result is 1 with error
// 30041 (a short write) or, when that value is 0, error 1506. A complete write of exactly
// 65,536 bytes therefore reports 1506: kept on purpose, callers write smaller pieces.
KO_API unsigned bosFileWrite(int fd, long offset, const void* buffer, unsigned long length);
// lseek with origin 0 (start), 1 (current) or 2 (end); returns the new position or -1.
KO_API long bosFileSeek(int fd, long offset, unsigned short origin);
// Closes a descriptor; one below 1 is ignored.
KO_API unsigned bosFileClose(int fd);
// Deletes a file; a missing file is a success. Failure: error 1502 with the name.
KO_API unsigned bosFileDelete(const char* name);
// Sets the file's length; 1 on failure, nothing reported.
KO_API unsigned bosFileSize(int fd, unsigned long length);
// Modification time (seconds) and size of a file; 1 when stat fails, nothing reported.
KO_API unsigned bosFileDateSize(const char* name, unsigned long* date, unsigned long* size);
// Renames by hard link and unlink, so the target must not exist and must lie on the same
// file system. Failure: error 30042.
KO_API unsigned bosrname(const char* oldName, const char* newName);
// 1 if a file can be created in the directory part of `path` (which must contain a "/"),
// else 0. A probe file "$$$ko$$$.$ko" is created exclusively and deleted again.
KO_API int bosftest(const char* path);

// The environment value of `name`, or null when it is not set.
KO_API char* bosGetEnv(const char* name);
// The attribute bits of `name`. Write permission is judged from the mode bits alone: the
// owner's bit when the real user owns the file, else the group's bit when the file belongs
// to the real group, else the others' bit.
KO_API unsigned bosfattr(const char* name);
// 1 if `name` is an ordinary file, else 0. With debug bit 0x100 it prints the name and the
// result.
KO_API int bosexist(const char* name);

// Character-set hooks between the caller's and the file system's code page. Both leave the
// text unchanged on this platform.
KO_API void AnsiToOem(char* text);
KO_API void OemToAnsi(char* text);
// Byte-wise toupper/tolower in place up to the terminating zero.
KO_API void UpperText(char* text);
KO_API void LowerText(char* text);

// Status values of bosgetbl.
enum { BOS_GETBL_END = 65535, BOS_GETBL_TOO_LONG = 65534 };
// Reads one logical line of a text in memory from byte *pos into `line` (max + 1 bytes).
// A line ends at an unquoted line feed (a carriage return before it is dropped), at a zero
// byte or at the end-of-file mark 26. A double or single quote opens a quote that only the
// same character closes; inside it the other quote character opens an inner quote; line
// feeds inside quotes belong to the line. A line whose first byte is ";" is a comment: its
// bytes are not stored (and quotes in it mean nothing), so it reads as an empty line.
// *status is the line's length and *pos moves past the line; at a zero byte or 26 *status is
// BOS_GETBL_END and nothing else changes. A line longer than `max` is cut to `max` bytes,
// *status is BOS_GETBL_TOO_LONG and *pos moves past the whole line.
KO_API void bosgetbl(const char* text, unsigned long* pos, char* line, unsigned long max,
                     unsigned short* status);
