// KoFileHandle: owns a descriptor for a scope; on destruction it closes it and deletes the
// file by name, each only when asked to.
#pragma once

#include "kolib/export.h"

class KO_API KoFileHandle {
public:
    // Both flags start cleared; `name` is not copied and must outlive the handle.
    KoFileHandle(int handle, const char* name)
        : Handle(handle), FileName(name), CloseFile(false), DeleteFile(false) {}
    ~KoFileHandle();
    KoFileHandle(const KoFileHandle&) = delete;
    KoFileHandle& operator=(const KoFileHandle&) = delete;

    void setCloseFile() { CloseFile = true; }
    void resetCloseFile() { CloseFile = false; }
    void setDeleteFile() { DeleteFile = true; }
    void resetDeleteFile() { DeleteFile = false; }
    void setCloseDelete() { CloseFile = DeleteFile = true; }
    void resetCloseDelete() { CloseFile = DeleteFile = false; }

    int Handle;
    const char* FileName;
    bool CloseFile;
    bool DeleteFile;
};
