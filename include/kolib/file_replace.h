// Replacing a file whole, safely: the new text goes to a temporary file beside the target, is
// flushed to disk and renamed over the target, and the directory is flushed, so that every
// reader, in this process or another, sees either the whole old text or the whole new text,
// and a crash at any moment leaves one of the two. Writers of the library exclude each other
// with a lock on the target's directory (flock); readers never take it.
//
// Use:  lock(path) -> read the current text -> begin() -> write()... -> commit(), then unlock()
// (or let the destructor do it). Every step returns 0 on success and 1 on failure with the
// reason on the calling thread's error list; a failed step leaves the target untouched.
//
// - A target reached through symbolic links is replaced where the links lead; the links stay.
// - The new file gets the old one's permission bits, and its owner and group where the
//   process may set them. A file with several hard links is replaced by a file of its own: the
//   other names keep the old text.
// - The temporary file is "<target>.kotmp". One left behind by a killed writer is removed by
//   the next writer, which alone may use the name while it holds the lock.
// - What decides whether the replacement may be made is the directory: a directory where no
//   file can be created refuses it and leaves the target untouched.
#pragma once

#include "kolib/export.h"

class KO_API KoFileReplace {
public:
    KoFileReplace();
    // Abandons an uncommitted replacement and releases the lock.
    ~KoFileReplace();
    KoFileReplace(const KoFileReplace&) = delete;
    KoFileReplace& operator=(const KoFileReplace&) = delete;

    // Resolves `path` and waits for the writers' lock of its directory.
    unsigned lock(const char* path);
    // The path actually replaced (symbolic links resolved); null before lock().
    const char* target() const { return Target; }
    // Creates the temporary file (mode 0600 until commit).
    unsigned begin();
    // Appends bytes to the temporary file.
    unsigned write(const void* data, unsigned long length);
    // Sets the permissions, flushes, renames over the target and flushes the directory.
    unsigned commit();
    // Removes the temporary file of an uncommitted replacement.
    void abort();
    // Releases the lock (abandoning an uncommitted replacement first).
    void unlock();

private:
    unsigned resolve(const char* path);
    int DirFd;    // the target's directory, locked unless LockFd is set
    int LockFd;   // "<target>.kolock" where the directory cannot be locked
    int TempFd;   // the temporary file while it is written
    char* Target; // resolved path
    char* TempName;
    bool HadOld; // the target existed at begin(): its mode, owner and group follow
    unsigned OldMode, OldUid, OldGid;
};
