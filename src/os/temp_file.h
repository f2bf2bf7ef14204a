// Creation of the library's temporary files (spill and merge files), for bosFileOpen.
#pragma once

// Creates a new temporary file and opens it read-write: a fresh random name beginning with
// "ko" in "KO_TMPDIR", else "TMPDIR", else the system's temporary directory, created with
// O_CREAT | O_EXCL | O_NOFOLLOW and mode 0600, so an existing name (a planted symbolic link
// among them) is never opened; a taken name is replaced by a new one a bounded number of
// times. On success the path is in `name` (BOS_PATH_BUFFER_SIZE bytes) and *fd > 0. On
// failure *fd is 0, nothing was created, and the error (the system error with the directory)
// is on the thread's list when it has one.
unsigned bosCreateTempFile(char* name, int* fd);
