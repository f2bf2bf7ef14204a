// KoSharedFile: a logical file kept in 4,096-byte pieces of a KoTmpFile that the caller owns
// (several logical files can share one store). A file offset maps to piece offset / 4,096 and
// the position offset % 4,096 in it. Writing extends the file only at its end (a write may
// start inside the last piece or right after it); reading is valid only inside pieces
// written before. Results: 0 success, 1 failure with the reason on the thread's error list
// ("Invalid argument" for a range the file does not hold). Not locked: one thread at a time.
#pragma once

#include <cstdint>
#include "kolib/tmp_file.h"
#include "kolib/typed_arrays.h"

class KO_API KoSharedFile : public KoObject {
public:
    enum { PIECE_SIZE = 4096 };
    KoSharedFile() : PhysicalFile(nullptr) {}
    explicit KoSharedFile(KoTmpFile* store) : PhysicalFile(store) {}
    // Gives the pieces back to the store.
    ~KoSharedFile() override;
    KoSharedFile(const KoSharedFile&) = delete;
    KoSharedFile& operator=(const KoSharedFile&) = delete;

    // Uses `store` from now on (a file held in another store is given back first).
    void initialize(KoTmpFile* store);
    int isInitialized() const { return PhysicalFile != nullptr; }
    KoTmpFile* getFileId() const { return PhysicalFile; }
    unsigned read(uint32_t offset, void* buffer, uint32_t length);
    unsigned write(uint32_t offset, const void* buffer, uint32_t length);
    // Gives every piece back to the store; the file is empty again.
    unsigned truncate();

    KoTmpFile* PhysicalFile;
    KoArrayU32 Blocks; // the store offset of each piece, in file order
};
