// Helpers of the fuzz targets: the thread's error list, the UTF-8 text mode, and copies of
// the input that end right before an inaccessible page, so that a read (or write) past them
// faults at once.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/unicode.h"

namespace kofuzz {

// An error list pushed on the thread for the whole run; emptied after every input.
inline KoErrorList& errorList() {
    static KoErrorList* list = [] {
        std::setlocale(LC_ALL, "C.UTF-8");
        KoErrorList* l = new KoErrorList(nullptr, 1);
        l->pushOnErrorKeeper();
        return l;
    }();
    return *list;
}

// Puts the thread in UTF-8 mode (or back to the locale's mode) for one input.
class TextMode {
public:
    explicit TextMode(bool utf8) {
        errorList();
        Info.DBMSCodePage = KO_CODE_PAGE_UTF8;
        if (utf8) mdsSetPerThreadData(MDS_UNICODE_INFO, &Info);
    }
    ~TextMode() {
        mdsSetPerThreadData(MDS_UNICODE_INFO, nullptr);
        errorList().clearErrors();
        errorList().resetOutOfMemory();
    }
    TextMode(const TextMode&) = delete;
    TextMode& operator=(const TextMode&) = delete;

private:
    koUnicodeInfo Info{};
};

// `size` bytes (plus a NUL when terminate is set) at the very end of writable pages followed
// by a PROT_NONE page; without bytes they are filled with 0xAA.
class EdgeBuffer {
public:
    EdgeBuffer(const void* bytes, std::size_t size, bool terminate) {
        long page = sysconf(_SC_PAGESIZE);
        std::size_t total = size + (terminate ? 1 : 0);
        Size = (total / page + 2) * page;
        Base = static_cast<char*>(
            mmap(nullptr, Size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (Base == MAP_FAILED) std::abort();
        mprotect(Base + Size - page, page, PROT_NONE);
        Data = Base + Size - page - total;
        if (bytes && size)
            std::memcpy(Data, bytes, size);
        else
            std::memset(Data, 0xAA, size);
        if (terminate) Data[size] = 0;
    }
    ~EdgeBuffer() { munmap(Base, Size); }
    EdgeBuffer(const EdgeBuffer&) = delete;
    EdgeBuffer& operator=(const EdgeBuffer&) = delete;
    char* data() const { return Data; }

private:
    char* Base;
    char* Data;
    std::size_t Size;
};

} // namespace kofuzz
