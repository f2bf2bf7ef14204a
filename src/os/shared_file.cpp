// KoSharedFile: the piece table of a logical file inside a KoTmpFile; each read or write is
// cut at piece boundaries and forwarded to the store.
#include "kolib/shared_file.h"

#include <cerrno>
#include "kolib/errors.h"

namespace {

const uint32_t MAX_PIECES = 65536; // piece indexes are 16-bit

unsigned invalid() {
    bosMapError(EINVAL, nullptr);
    return 1;
}

} // namespace

KoSharedFile::~KoSharedFile() {
    truncate();
}

void KoSharedFile::initialize(KoTmpFile* store) {
    truncate();
    PhysicalFile = store;
}

unsigned KoSharedFile::read(uint32_t offset, void* buffer, uint32_t length) {
    char* out = static_cast<char*>(buffer);
    if (!PhysicalFile) return invalid();
    while (length) {
        uint32_t piece = offset / PIECE_SIZE, position = offset % PIECE_SIZE;
        if (piece >= Blocks.getCount()) return invalid(); // never written
        uint32_t chunk = PIECE_SIZE - position < length ? PIECE_SIZE - position : length;
        if (PhysicalFile->read(static_cast<uint32_t>(Blocks.at(piece)) + position, out, chunk))
            return 1;
        out += chunk;
        offset += chunk;
        length -= chunk;
    }
    return 0;
}

unsigned KoSharedFile::write(uint32_t offset, const void* buffer, uint32_t length) {
    const char* in = static_cast<const char*>(buffer);
    if (!PhysicalFile) return invalid();
    while (length) {
        uint32_t piece = offset / PIECE_SIZE, position = offset % PIECE_SIZE;
        if (piece > Blocks.getCount() || piece >= MAX_PIECES) return invalid(); // a gap
        if (piece == Blocks.getCount()) {
            uint32_t at = 0;
            if (PhysicalFile->tmpFindSpace(PIECE_SIZE, &at)) return 1;
            if (Blocks.add(at)) {
                PhysicalFile->tmpFreeSpace(at, PIECE_SIZE);
                return 1;
            }
        }
        uint32_t chunk = PIECE_SIZE - position < length ? PIECE_SIZE - position : length;
        if (PhysicalFile->write(static_cast<uint32_t>(Blocks.at(piece)) + position, in, chunk))
            return 1;
        in += chunk;
        offset += chunk;
        length -= chunk;
    }
    return 0;
}

unsigned KoSharedFile::truncate() {
    if (PhysicalFile)
        for (unsigned long i = 0; i < Blocks.getCount(); ++i)
            PhysicalFile->tmpFreeSpace(static_cast<uint32_t>(Blocks.at(i)), PIECE_SIZE);
    Blocks.reset();
    return 0;
}
