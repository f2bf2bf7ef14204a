// KoIni: one configuration file held open across calls through the task's cache list.
#include <cstring>
#include "kolib/errors.h"
#include "kolib/profile.h"

KoIni::~KoIni() {
    close();
}

unsigned KoIni::open(const char* name) {
    close();
    Handle = koPrivateProfileInit(name);
    return Handle ? 0 : 1;
}

void KoIni::close() {
    if (!Handle) return;
    koPrivateProfileTerm(Handle);
    Handle = nullptr;
}

unsigned KoIni::validState() {
    if (Handle) return 0;
    addError(2717);
    return 1;
}

unsigned long KoIni::getEntry(const char* section, const char* entry, char* buffer,
                              unsigned long size, const char* defaultValue) {
    if (buffer && size) buffer[0] = '\0';
    return koGetPrivateProfileString(section, entry, defaultValue, buffer, size, Handle);
}

void KoIni::getEntry(const char* section, const char* entry, unsigned short* out,
                     unsigned short defaultValue) {
    *out =
        static_cast<unsigned short>(koGetPrivateProfileInt(section, entry, defaultValue, Handle));
}

unsigned KoIni::writeEntry(const char* section, const char* entry, const char* value) {
    return koWritePrivateProfileString(section, entry, value, Handle);
}

unsigned KoIni::deleteEntry(const char* section, const char* entry) {
    return writeEntry(section, entry, nullptr);
}

unsigned KoIni::deleteSection(const char* section) {
    return writeEntry(section, nullptr, nullptr);
}

unsigned long KoIni::getSection(const char* section, char* buffer, unsigned long size,
                                const char* defaultValue) {
    return getEntry(section, nullptr, buffer, size, defaultValue);
}
