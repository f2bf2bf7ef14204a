// KoFileHandle: scope-bound closing and deleting of a file.
#include "kolib/file_handle.h"
#include "kolib/files.h"

KoFileHandle::~KoFileHandle() {
    if (CloseFile) bosFileClose(Handle);
    if (DeleteFile && FileName) bosFileDelete(FileName);
}
