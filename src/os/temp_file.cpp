// Temporary files. The name is made and the file created in one exclusive step: open with
// O_CREAT | O_EXCL | O_NOFOLLOW fails on any existing name, links included, so nobody who can
// write to a shared directory can steer our data into a file of theirs. Names carry 50 random
// bits from the kernel; a collision just draws again.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>
#include "kolib/errors.h"
#include "kolib/files.h"
#include "kolib/locate.h"
#include "kolib/testing.h"
#include "os/temp_file.h"

namespace {

const int NAME_ATTEMPTS = 64;     // fresh names tried before giving up on a directory
const int RANDOM_CHARACTERS = 10; // 5 bits each

// The test hook's one-shot name (see bosFixNextTempName). Written before Fixed is set.
char FixedName[64];
std::atomic<bool> Fixed{false};

const char* temporaryDirectory() {
    const char* dir = bosGetEnv("KO_TMPDIR");
    if (!dir || !*dir) dir = bosGetEnv("TMPDIR");
    if (!dir || !*dir) dir = P_tmpdir;
    return dir;
}

// Random bits from the kernel; should that ever fail, a mix of time, process and a counter,
// which is still unpredictable enough for names that are created exclusively anyway.
uint64_t randomBits() {
    uint64_t bits = 0;
    if (getrandom(&bits, sizeof bits, GRND_NONBLOCK) == static_cast<ssize_t>(sizeof bits))
        return bits;
    static std::atomic<uint64_t> counter{0};
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    bits = (static_cast<uint64_t>(now.tv_sec) << 30) ^ static_cast<uint64_t>(now.tv_nsec) ^
           (static_cast<uint64_t>(getpid()) << 40) ^ (counter.fetch_add(1) * 0x9E3779B97F4A7C15ULL);
    bits ^= bits >> 31;
    bits *= 0xBF58476D1CE4E5B9ULL;
    return bits ^ (bits >> 29);
}

// Writes dir + "/" + the next name into path; false when it does not fit.
bool nextName(char* path, const char* dir) {
    char base[sizeof FixedName];
    if (Fixed.exchange(false, std::memory_order_acquire)) {
        std::memcpy(base, FixedName, sizeof base);
    } else {
        static const char ALPHABET[] = "abcdefghijklmnopqrstuvwxyz012345";
        uint64_t bits = randomBits();
        base[0] = 'k';
        base[1] = 'o';
        for (int i = 0; i < RANDOM_CHARACTERS; ++i, bits >>= 5) base[2 + i] = ALPHABET[bits & 31];
        base[2 + RANDOM_CHARACTERS] = '\0';
    }
    std::size_t dirLength = std::strlen(dir);
    const char* slash = dirLength && dir[dirLength - 1] == '/' ? "" : "/";
    int length = std::snprintf(path, BOS_PATH_BUFFER_SIZE, "%s%s%s", dir, slash, base);
    return length > 0 && length < BOS_PATH_BUFFER_SIZE;
}

unsigned fail(int* fd, const char* dir, int error) {
    *fd = 0;
    if (KoErrorKeeper::getErrorList()) bosMapError(static_cast<unsigned short>(error), dir);
    return 1;
}

} // namespace

void bosFixNextTempName(const char* name) {
    if (!name) {
        Fixed.store(false);
        return;
    }
    std::snprintf(FixedName, sizeof FixedName, "%s", name);
    Fixed.store(true, std::memory_order_release);
}

unsigned bosCreateTempFile(char* name, int* fd) {
    const char* dir = temporaryDirectory();
    char path[BOS_PATH_BUFFER_SIZE];
    for (int attempt = 0; attempt < NAME_ATTEMPTS; ++attempt) {
        if (!nextName(path, dir)) return fail(fd, dir, ENAMETOOLONG);
        int opened = open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
        if (opened < 0) {
            if (errno == EEXIST) continue;
            return fail(fd, dir, errno);
        }
        if (opened == 0) {
            // Descriptor 0 is the library's "no file": give the new file up again.
            unlink(path);
            close(opened);
            return fail(fd, dir, EBADF);
        }
        std::strcpy(name, path);
        *fd = opened;
        return 0;
    }
    return fail(fd, dir, EEXIST);
}
