// kotool query show FILE | query set FILE SECTION NAME VALUE: a saved query definition shown,
// or one parameter changed (the file keeps its scrambling and every untouched byte).
// Exit status: 0 done, 1 the file could not be read or written, 2 usage error.
#include <cstdio>
#include <cstring>
#include "commands.h"
#include "kolib/array.h"
#include "kolib/errors.h"
#include "kolib/query_file.h"

namespace {

int failed(KoErrorList& list, const char* what) {
    bool printed = false;
    for (KoError* e = list.getFirstNode(); e; e = list.getNextNode(), printed = true)
        std::fprintf(stderr, "kotool query %s: error %u: %s\n", what, e->getErrorNumber(),
                     e->getErrorText());
    if (!printed) std::fprintf(stderr, "kotool query %s: error: failed\n", what);
    return 1;
}

// The statement, each line indented by two blanks.
void printStatement(KoQueryFile& query) {
    const char* at = query.getStatement();
    const char* end = at + query.getStatementLength();
    while (at < end) {
        const char* feed = static_cast<const char*>(std::memchr(at, '\n', end - at));
        const char* stop = feed ? feed : end;
        int length = static_cast<int>(stop - at);
        if (length && at[length - 1] == '\r') --length;
        std::printf("  %.*s\n", length, at);
        at = feed ? feed + 1 : end;
    }
}

int show(KoQueryFile& query, const char* path, KoErrorList& list) {
    std::printf("file: %s", path);
    if (query.getScrambleType()) std::printf(" (scrambled, type %u)", query.getScrambleType());
    std::printf("\ncross-tab: %s\n", query.isCrossTab() ? "yes" : "no");
    std::printf("database: %s\n", query.getDatabase() ? query.getDatabase() : "(none)");
    KoString text;
    int found = 0;
    if (query.getDescription(&text, &found)) return failed(list, "show");
    std::printf("description: %s\n", found ? text.asCStr() : "(none)");
    std::printf("statement:\n");
    printStatement(query);
    for (int s = 0; s < KoQueryFile::SECTION_COUNT; ++s) {
        const char* section = KoQueryFile::sectionName(s);
        if (!query.hasSection(section)) continue;
        std::printf("[%s]\n", section);
        KoArray names;
        names.setDeleteContentsOnDestruct();
        if (query.listParameters(section, &names)) return failed(list, "show");
        for (unsigned long i = 0; i < names.getCount(); ++i) {
            const char* name = static_cast<KoString*>(names.at(i))->asCStr();
            if (query.getParameter(section, name, &text, &found)) return failed(list, "show");
            std::printf("  %s%s%s\n", name, s == 3 ? " " : "=", text.asCStr());
        }
    }
    return 0;
}

int usage() {
    std::fprintf(stderr, "usage: kotool query show FILE\n"
                         "       kotool query set FILE SECTION NAME VALUE\n"
                         "SECTION: PAGE_LAYOUT, PARAMETERS, DEFINITION or \"USER COMMANDS\"\n");
    return 2;
}

} // namespace

int cmdQuery(int argc, char** argv) {
    bool showing = argc == 3 && !std::strcmp(argv[1], "show");
    bool setting = argc == 6 && !std::strcmp(argv[1], "set");
    if (!showing && !setting) return usage();
    if (setting && KoQueryFile::sectionIndex(argv[3]) < 0) {
        std::fprintf(stderr, "kotool query set: unknown section '%s'\n", argv[3]);
        return usage();
    }
    KoErrorList list(nullptr, 1);
    list.pushOnErrorKeeper();
    KoQueryFile query;
    int status;
    if (query.read(argv[2]))
        status = failed(list, argv[1]);
    else if (showing)
        status = show(query, argv[2], list);
    else if (query.setParameter(argv[3], argv[4], argv[5]) ||
             query.write(argv[2], query.getScrambleType()))
        status = failed(list, "set");
    else
        status = 0;
    list.popOffErrorKeeper();
    return status;
}
