// Profile strings: reading and writing configuration entries by file name ("ODBC.INI",
// "ODBCINST.INI", ".kolib.ini", ".system.defaults" or a path, resolved by bosFileOpen's
// configuration-name rules), through the per-task cache list or, for the conventional
// uncached functions, through a fresh cache per call. A missing ODBC data-source file ends
// the process (see bosFileOpen). Gets return the number of bytes placed in the buffer; puts
// return 1 on success and 0 on failure.
#pragma once

#include <cstdint>
#include "kolib/ini_cache.h"

// Open through the task's list and keep the cache (release with koPrivateProfileTerm).
KO_API KoIniFileCache* koProfileInit(const char* file);
KO_API KoIniFileCache* koPrivateProfileInit(const char* file);
KO_API void koPrivateProfileTerm(KoIniFileCache* cache);

// Open through the list and leave the file cached for the life of the task.
KO_API unsigned long koGetProfileString(const char* section, const char* entry,
                                        const char* defaultValue, char* buffer, unsigned long size,
                                        const char* file);
KO_API unsigned koWriteProfileString(const char* section, const char* entry, const char* value,
                                     const char* file);
KO_API uint32_t koGetProfileInt(const char* section, const char* entry, uint32_t defaultValue,
                                const char* file);

// On a held cache, or by file name (opened and closed around the call).
KO_API unsigned long koGetPrivateProfileString(const char* section, const char* entry,
                                               const char* defaultValue, char* buffer,
                                               unsigned long size, KoIniFileCache* cache);
KO_API unsigned long koGetPrivateProfileString(const char* section, const char* entry,
                                               const char* defaultValue, char* buffer,
                                               unsigned long size, const char* file);
KO_API unsigned koWritePrivateProfileString(const char* section, const char* entry,
                                            const char* value, KoIniFileCache* cache);
KO_API unsigned koWritePrivateProfileString(const char* section, const char* entry,
                                            const char* value, const char* file);
KO_API uint32_t koGetPrivateProfileInt(const char* section, const char* entry,
                                       uint32_t defaultValue, KoIniFileCache* cache);
KO_API uint32_t koGetPrivateProfileInt(const char* section, const char* entry,
                                       uint32_t defaultValue, const char* file);

// The same calls on ".system.defaults".
KO_API unsigned koWriteWININIString(const char* section, const char* entry, const char* value);
KO_API uint32_t koGetWININIInt(const char* section, const char* entry, uint32_t defaultValue);

// Uncached, with the conventional argument order: a fresh cache per call.
KO_API int GetPrivateProfileString(const char* section, const char* entry, const char* defaultValue,
                                   char* buffer, int size, const char* file);
KO_API unsigned GetPrivateProfileInt(const char* section, const char* entry, int defaultValue,
                                     const char* file);
KO_API int WritePrivateProfileString(const char* section, const char* entry, const char* value,
                                     const char* file);

// A configuration file held open across calls.
class KO_API KoIni : public KoObject {
public:
    KoIni() : Handle(nullptr) {}
    ~KoIni() override; // closes
    KoIni(const KoIni&) = delete;
    KoIni& operator=(const KoIni&) = delete;

    // Closes a previous file first. 1 when no cache could be had.
    unsigned open(const char* name);
    void close();
    int isOpen() const { return Handle != nullptr; }
    // 0 when open; else error 2717 and 1.
    unsigned validState();
    // The value (or, unopened, the default) into buffer; returns its length.
    unsigned long getEntry(const char* section, const char* entry, char* buffer, unsigned long size,
                           const char* defaultValue);
    // The integer form: the value cut to 16 bits, or the default when unopened.
    void getEntry(const char* section, const char* entry, unsigned short* out,
                  unsigned short defaultValue);
    // 1 on success, 0 on failure.
    unsigned writeEntry(const char* section, const char* entry, const char* value);
    unsigned deleteEntry(const char* section, const char* entry);
    unsigned deleteSection(const char* section);
    // The section's entry names (zero-separated, two zeros at the end); returns the count.
    unsigned long getSection(const char* section, char* buffer, unsigned long size,
                             const char* defaultValue);

    KoIniFileCache* Handle;
};
