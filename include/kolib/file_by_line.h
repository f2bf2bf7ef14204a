// KoFileByLine: a buffered reader that hands out the lines of a file as views into its
// buffer. A line longer than the buffer comes in pieces (isCompleteLine() is false for all
// but the last; each piece stops 4 bytes short of the buffer's end and those bytes come again
// at the start of the next piece). Lines can be re-read (ungetLine, setSeekOffset) and the
// reader can jump back to the furthest point read so far (seekToUnread). Lines scrambled with
// KoString::encrypt are descrambled when a crypt type is set.
#pragma once

#include <cstdint>
#include "kolib/kostring.h"

class KO_API KoFileByLine : public KoObject {
public:
    KoFileByLine();
    ~KoFileByLine() override; // closes an open file
    KoFileByLine(const KoFileByLine&) = delete;
    KoFileByLine& operator=(const KoFileByLine&) = delete;

    // Opens read-only through bosFileOpen (so byte 1 is read-locked) with a buffer of
    // `bufferSize` bytes. 1 on failure (the reason is on the error list).
    unsigned openFile(const char* name, unsigned long bufferSize);
    unsigned closeFile();

    // The next line (with its line feed unless resetReturnEol was called); at the end of the
    // file an empty line with isEndOfFile() set. The view stays valid until the next call.
    // 1 on a read failure.
    unsigned getNextLine(KoSubString& line);
    unsigned getNextLine(KoSubString* line) { return getNextLine(*line); }
    unsigned getFirstLine(KoSubString& line);
    unsigned getFirstLine(KoSubString* line) { return getFirstLine(*line); }
    // Skips lines of white space only; at the end of the file the empty line and 0.
    unsigned getNextNonBlankLine(KoSubString& line);
    unsigned getNextNonBlankLine(KoSubString* line) { return getNextNonBlankLine(*line); }

    void setSeekOffset(long offset) { SeekOffset = offset; }
    void ungetLine();
    void seekToUnread() { SeekOffset = static_cast<long>(UnreadOffsetInFile); }
    void setReturnEol() { ReturnEol = true; }
    void resetReturnEol() { ReturnEol = false; }
    int isEndOfFile() const { return EndOfFile; }
    int isFileOpen() const { return FileHandle != 0; }
    int isCompleteLine() const { return CompleteLine; }
    unsigned long getPrevLineOffset() const { return PrevLineOffsetInFile; }
    unsigned long getNextLineOffset() const {
        return BufferOffsetInFile + static_cast<unsigned long>(NextLineOffsetInBuffer);
    }
    const char* getFileName() const { return FileName; }
    // 0: lines are plain; 1, 2, 3: the KoString scrambling types.
    void setCryptType(unsigned short type) { CryptType = type; }

    int FileHandle;
    char* FileName;
    char* Buffer;
    unsigned long BufferLengthTotal;
    unsigned long BufferLengthUsed;
    long NextLineOffsetInBuffer; // -1: the buffer must be refilled
    unsigned long BufferOffsetInFile;
    unsigned long FileOffsetToRead;
    unsigned long PrevLineOffsetInFile;
    long SeekOffset; // -1: none pending
    unsigned long UnreadOffsetInFile;
    unsigned long PrevUnreadOffset;
    bool ReturnEol;
    bool CompleteLine;
    bool EndOfFile;
    KoString CryptBuffer;
    uint16_t CryptType;

private:
    unsigned fill(bool keepTail);
};
