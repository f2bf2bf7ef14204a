// Helpers of the text tests: the per-thread UTF-8 mode, a
// locale switch, and a buffer whose last byte sits right before an inaccessible page, so that
// any read past a counted length faults.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstring>
#include <string>

#include "kolib/errors.h"
#include "kolib/frame.h"
#include "kolib/unicode.h"

#include "test_support.h"

namespace kotest {

// Puts the calling thread in UTF-8 mode (DBMSCodePage 2) for a scope.
class Utf8Mode {
public:
    Utf8Mode() {
        Info.DBMSCodePage = KO_CODE_PAGE_UTF8;
        mdsSetPerThreadData(MDS_UNICODE_INFO, &Info);
    }
    ~Utf8Mode() { mdsSetPerThreadData(MDS_UNICODE_INFO, nullptr); }

private:
    PushedList Registration;
    koUnicodeInfo Info{};
};

// Switches LC_ALL for a scope and back to "C".
class LocaleGuard {
public:
    explicit LocaleGuard(const char* name) { Ok = std::setlocale(LC_ALL, name) != nullptr; }
    ~LocaleGuard() { std::setlocale(LC_ALL, "C"); }
    bool Ok;
};

// Copies bytes (of any length) to the very end of readable pages followed by a PROT_NONE page.
class EdgeBuffer {
public:
    explicit EdgeBuffer(const std::string& bytes) {
        long page = sysconf(_SC_PAGESIZE);
        Size = (bytes.size() / page + 2) * page;
        Base = static_cast<char*>(
            mmap(nullptr, Size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(Base + Size - page, page, PROT_NONE);
        Data = Base + Size - page - bytes.size();
        std::memcpy(Data, bytes.data(), bytes.size());
    }
    ~EdgeBuffer() { munmap(Base, Size); }
    EdgeBuffer(const EdgeBuffer&) = delete;
    EdgeBuffer& operator=(const EdgeBuffer&) = delete;
    char* data() const { return Data; }

private:
    char* Base;
    char* Data;
    unsigned long Size;
};

} // namespace kotest
