// KoFileByLine: lines of a file as views into one buffer. NextLineOffsetInBuffer is where the
// next line starts (-1: refill before reading); BufferOffsetInFile maps the buffer to the
// file. A pending SeekOffset inside the buffer just moves the line start; outside it the
// buffer is read afresh there. Without a line feed in what is left, the unread tail moves to
// the front and the free space is filled from the file.
#include <cctype>
#include <cerrno>
#include <cstring>
#include "kolib/errors.h"
#include "kolib/file_by_line.h"
#include "kolib/files.h"
#include "kolib/locate.h"
#include "kolib/memory.h"

namespace {
// A piece of a line longer than the buffer stops this many bytes short, so a line feed or a
// multi-byte character on the boundary is seen whole with the next piece.
const unsigned long PIECE_OVERLAP = 4;
} // namespace

KoFileByLine::KoFileByLine()
    : FileHandle(0), FileName(nullptr), Buffer(nullptr), BufferLengthTotal(0), BufferLengthUsed(0),
      NextLineOffsetInBuffer(-1), BufferOffsetInFile(0), FileOffsetToRead(0),
      PrevLineOffsetInFile(0), SeekOffset(-1), UnreadOffsetInFile(0), PrevUnreadOffset(0),
      ReturnEol(true), CompleteLine(false), EndOfFile(false), CryptType(0) {}

KoFileByLine::~KoFileByLine() {
    if (FileHandle || Buffer || FileName) closeFile();
}

unsigned KoFileByLine::openFile(const char* name, unsigned long bufferSize) {
    if (FileHandle || Buffer || FileName) closeFile();
    BufferLengthUsed = BufferOffsetInFile = FileOffsetToRead = PrevLineOffsetInFile = 0;
    UnreadOffsetInFile = PrevUnreadOffset = 0;
    NextLineOffsetInBuffer = SeekOffset = -1;
    ReturnEol = true;
    CompleteLine = EndOfFile = false;
    CryptType = 0;
    // The buffer takes one byte more than asked; a size near the top of the range would wrap.
    if (!name || !bufferSize || bufferSize > 0x7FFFFFFFUL) return 1;
    char path[BOS_PATH_BUFFER_SIZE];
    std::size_t length = std::strlen(name);
    if (length >= sizeof path) {
        bosMapError(ENAMETOOLONG, name);
        return 1;
    }
    std::memcpy(path, name, length + 1);
    if (bosFileOpen(path, 0, &FileHandle)) return 1;
    FileName = ramAllocStr(name);
    Buffer = static_cast<char*>(ramMalloc(bufferSize + 1));
    if (!FileName || !Buffer) {
        KoErrorKeeper::addMemoryError();
        closeFile();
        return 1;
    }
    Buffer[0] = '\0';
    BufferLengthTotal = bufferSize;
    return 0;
}

unsigned KoFileByLine::closeFile() {
    unsigned result = bosFileClose(FileHandle);
    FileHandle = 0;
    ramFree(FileName);
    ramFree(Buffer);
    FileName = Buffer = nullptr;
    BufferLengthTotal = BufferLengthUsed = 0;
    NextLineOffsetInBuffer = -1;
    return result;
}

// Refills the buffer: keeping the unread tail (keepTail) or afresh at the pending seek offset
// or the current position. 1 on a read failure.
unsigned KoFileByLine::fill(bool keepTail) {
    long count = 0;
    if (keepTail) {
        unsigned long consumed = static_cast<unsigned long>(NextLineOffsetInBuffer);
        unsigned long tail = BufferLengthUsed - consumed;
        std::memmove(Buffer, Buffer + consumed, tail);
        BufferLengthUsed = tail;
        BufferOffsetInFile += consumed;
        bosFileRead(FileHandle, -1, Buffer + tail, BufferLengthTotal - tail, &count);
        if (count < 0) return 1;
        BufferLengthUsed += static_cast<unsigned long>(count);
    } else {
        long offset = SeekOffset != -1 ? SeekOffset : static_cast<long>(FileOffsetToRead);
        SeekOffset = -1;
        bosFileRead(FileHandle, offset, Buffer, BufferLengthTotal, &count);
        if (count < 0) return 1;
        BufferOffsetInFile = FileOffsetToRead = static_cast<unsigned long>(offset);
        BufferLengthUsed = static_cast<unsigned long>(count);
    }
    FileOffsetToRead += static_cast<unsigned long>(count);
    NextLineOffsetInBuffer = 0;
    Buffer[BufferLengthUsed] = '\0';
    return 0;
}

unsigned KoFileByLine::getNextLine(KoSubString& line) {
    line.initialize(nullptr, 0);
    if (!FileHandle || !Buffer) return 1;
    const char* lineFeed = nullptr;
    bool valid = NextLineOffsetInBuffer >= 0;
    if (valid && SeekOffset != -1) {
        if (static_cast<unsigned long>(SeekOffset) >= BufferOffsetInFile &&
            static_cast<unsigned long>(SeekOffset) < BufferOffsetInFile + BufferLengthUsed) {
            NextLineOffsetInBuffer = SeekOffset - static_cast<long>(BufferOffsetInFile);
            SeekOffset = -1;
        } else {
            valid = false;
        }
    } else if (valid && static_cast<unsigned long>(NextLineOffsetInBuffer) >= BufferLengthUsed) {
        valid = false;
    }
    unsigned long start = valid ? static_cast<unsigned long>(NextLineOffsetInBuffer) : 0;
    if (valid)
        lineFeed =
            static_cast<const char*>(std::memchr(Buffer + start, '\n', BufferLengthUsed - start));
    if (!lineFeed) {
        if (fill(valid)) return 1;
        start = 0;
        lineFeed = static_cast<const char*>(std::memchr(Buffer, '\n', BufferLengthUsed));
    }
    PrevLineOffsetInFile = BufferOffsetInFile + start;
    unsigned long length, advance;
    if (lineFeed) {
        advance = static_cast<unsigned long>(lineFeed - (Buffer + start)) + 1;
        length = ReturnEol ? advance : advance - 1;
        CompleteLine = true;
        EndOfFile = false;
    } else {
        length = BufferLengthUsed - start;
        CompleteLine = length < BufferLengthTotal;
        // Intended: a piece of a long line stops short of the buffer's end; those bytes are
        // read again at the start of the next piece.
        if (!CompleteLine && length > PIECE_OVERLAP) length -= PIECE_OVERLAP;
        advance = length;
        EndOfFile = length == 0;
    }
    NextLineOffsetInBuffer = static_cast<long>(start + advance);
    PrevUnreadOffset = UnreadOffsetInFile;
    if (PrevLineOffsetInFile + advance > UnreadOffsetInFile)
        UnreadOffsetInFile = PrevLineOffsetInFile + advance;
    if (!CryptType) {
        line.initialize(Buffer + start, length);
        return 0;
    }
    // The scrambled text is the line without its line feed; the line feed stays as it is.
    unsigned long body = lineFeed && ReturnEol ? length - 1 : length;
    CryptBuffer.clear();
    if (CryptBuffer.concat(Buffer + start, length)) return 1;
    CryptBuffer.setCurSize(body);
    CryptBuffer.decrypt(CryptType, nullptr);
    CryptBuffer.setCurSize(length);
    line.initialize(CryptBuffer.asCStr(), length);
    return 0;
}

unsigned KoFileByLine::getFirstLine(KoSubString& line) {
    SeekOffset = 0;
    return getNextLine(line);
}

unsigned KoFileByLine::getNextNonBlankLine(KoSubString& line) {
    for (;;) {
        if (getNextLine(line)) return 1;
        if (EndOfFile) return 0;
        const unsigned char* p = reinterpret_cast<const unsigned char*>(line.Buf);
        for (unsigned long i = 0; i < line.getLength(); ++i)
            if (!std::isspace(p[i])) return 0;
    }
}

void KoFileByLine::ungetLine() {
    SeekOffset = static_cast<long>(PrevLineOffsetInFile);
    if (UnreadOffsetInFile != PrevUnreadOffset) {
        UnreadOffsetInFile = PrevLineOffsetInFile;
        PrevUnreadOffset = PrevLineOffsetInFile;
    }
}
