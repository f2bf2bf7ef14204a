// LoadString: one numbered message of a catalogue in the user's message locale. Everything
// runs under CritCatalog because the message locale is process state: when it is still "C",
// a locale is chosen from "LC_MESSAGES" and "LANG" and set for the whole process (it stays
// set). The catalogue is "locale/<locale>/LC_MESSAGES/<name>.mo" found along the library
// search path and its parents, trying shorter forms of the locale and then "en_US"; without
// any the text is the resource number in decimal.
#include <clocale>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <nl_types.h>
#include "core/lib_statics.h"
#include "kolib/files.h"
#include "kolib/frame.h"
#include "kolib/load_string.h"
#include "kolib/locate.h"

namespace {

const int CatalogueSet = 1;

// The message locale to use when the current one is "C".
const char* chooseLocale() {
    const char* messages = bosGetEnv("LC_MESSAGES");
    const char* lang = bosGetEnv("LANG");
    if (!messages) return !lang || std::strcmp(lang, "C") == 0 ? "en_US" : lang;
    if (std::strcmp(messages, "C") != 0) return messages;
    if (!lang) return ""; // the system then takes the locale from the environment
    return std::strcmp(lang, "C") == 0 ? "en_US" : lang;
}

// Copies text into buffer: at most size bytes with the terminator, everything for size 0.
void copyText(char* buffer, unsigned long size, const char* text) {
    if (size == 0) {
        std::strcpy(buffer, text);
        return;
    }
    std::size_t length = std::strlen(text);
    if (length >= size) length = size - 1;
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
}

// The catalogue path in the directory this library was loaded from: an installation whose
// library directory is on no search path (a distribution's multiarch directory, a build tree
// run without LD_LIBRARY_PATH) still finds its own catalogue.
bool besideLibrary(const char* path, char* domainPath) {
    Dl_info info;
    if (!dladdr(reinterpret_cast<void*>(&LoadString), &info) || !info.dli_fname) return false;
    const char* slash = std::strrchr(info.dli_fname, '/');
    if (!slash) return false;
    int fits = std::snprintf(domainPath, BOS_PATH_BUFFER_SIZE, "%.*s/%s",
                             static_cast<int>(slash - info.dli_fname), info.dli_fname, path);
    return fits > 0 && fits < BOS_PATH_BUFFER_SIZE && bosexist(domainPath);
}

// Looks "locale/<locale>/LC_MESSAGES/<catalogue>.mo" up along the library directories, then
// beside the library itself.
bool findCatalogue(const char* locale, const char* catalogue, bool trace, char* domainPath) {
    char path[BOS_PATH_BUFFER_SIZE];
    int fits = std::snprintf(path, sizeof path, "locale/%s/LC_MESSAGES/%s.mo", locale, catalogue);
    if (trace) std::printf("LoadString: STDLIB Search %s\n", path);
    if (fits <= 0 || static_cast<std::size_t>(fits) >= sizeof path) return false;
    if (bosLocateFile(domainPath, path, BOS_LOCATE_LIBRARY) != 0 &&
        !besideLibrary(path, domainPath))
        return false;
    if (trace) {
        std::printf("LoadString: STDLIB Search found.\n");
        std::printf("LoadString: Domainpath=%s\n", domainPath);
    }
    return true;
}

} // namespace

unsigned long LoadString(const char* catalogue, unsigned resource, char* buffer,
                         unsigned long size) {
    if (!buffer) return 0;
    if (!catalogue) catalogue = "";
    bool trace = BOS_RUNTIME_DEBUG.debugItem(KO_DEBUG_LOAD_STRING) != 0;
    CritCatalog.enter();

    const char* current = std::setlocale(LC_MESSAGES, nullptr);
    if (trace) {
        std::printf("LoadString: HINST=%s\n", catalogue);
        std::printf("LoadString: Resource=%d\n", static_cast<int>(resource));
        std::printf("LoadString: Default LC_MESSAGES=%s\n", current ? current : "");
        std::fflush(stdout);
    }
    // The locale's name goes into a path: keep a copy, setlocale may reuse its storage.
    char locale[256];
    std::snprintf(locale, sizeof locale, "%s", current ? current : "C");
    if (std::strcmp(locale, "C") == 0) {
        const char* choice = chooseLocale();
        const char* set = std::setlocale(LC_MESSAGES, choice);
        if (trace) std::printf("LoadString: Using LC_MESSAGES=%s\n", choice);
        // A locale that is not installed cannot be set; its catalogue may still exist.
        std::snprintf(locale, sizeof locale, "%s", set ? set : choice);
    }

    char fallback[16];
    std::snprintf(fallback, sizeof fallback, "%u", resource);

    char domainPath[BOS_PATH_BUFFER_SIZE];
    // The locale as chosen, then without its codeset and modifier ("de_DE.UTF-8@euro" gives
    // "de_DE"), then its language alone ("de"), then "en_US": the first catalogue found wins.
    bool found = false;
    char tried[4][256];
    int triedCount = 0;
    char candidate[256];
    std::snprintf(candidate, sizeof candidate, "%s", locale);
    for (int step = 0; step < 4 && !found; ++step) {
        if (step == 1) candidate[std::strcspn(candidate, ".@")] = '\0';
        if (step == 2) candidate[std::strcspn(candidate, "_")] = '\0';
        if (step == 3) std::strcpy(candidate, "en_US");
        bool again = !candidate[0];
        for (int i = 0; i < triedCount && !again; ++i) again = !std::strcmp(tried[i], candidate);
        if (again) continue;
        std::strcpy(tried[triedCount++], candidate);
        found = findCatalogue(candidate, catalogue, trace, domainPath);
    }
    if (!found) std::snprintf(domainPath, sizeof domainPath, "%s.mo", catalogue);

    nl_catd handle = catopen(domainPath, 0);
    if (handle == reinterpret_cast<nl_catd>(-1)) {
        copyText(buffer, size, fallback);
    } else {
        copyText(buffer, size, catgets(handle, CatalogueSet, static_cast<int>(resource), fallback));
        catclose(handle);
    }

    if (trace) {
        std::printf("LoadString: dgettext with domainpath of %s\n", domainPath);
        std::printf("LoadString: idResource=%s\n", fallback);
        std::printf("LoadString: Lookup returns: %s\n", buffer);
        std::fflush(stdout);
    }
    CritCatalog.leave();
    return std::strlen(buffer);
}
