// kotool: the command-line face of the library, for driver developers and the demo.
#include <cstdio>
#include <cstring>
#include "commands.h"
#include "kolib/library_version.h"
#include "kolib/version.h"

namespace {
struct Command {
    const char* Name;
    int (*Run)(int, char**);
    const char* Usage;
    const char* Help;
};

const Command COMMANDS[] = {
    {"msg", cmdMsg, "msg NUMBER [PARAM ...]",
     "word a library error through the error list and the message catalogue"},
    {"like", cmdLike, "like [-c] TEXT PATTERN",
     "LIKE matching with % and _ (backslash escapes; -c: case-sensitive)"},
    {"tokens", cmdTokens, "tokens TEXT", "the scanner's tokens: type, offset, text"},
    {"connstr", cmdConnstr, "connstr [-s SEP] STRING",
     "the KEY=value pairs of an attribute string, rebuilt"},
    {"files", cmdFiles, "files", "where the configuration files resolve in this environment"},
    {"locate", cmdLocate, "locate NAME [FLAGS]", "look a file up along the search directories"},
    {"dsn", cmdDsn, "dsn", "the data sources of ODBC.INI with their drivers"},
    {"get", cmdGet, "get FILE SECTION [ENTRY]", "a profile value (no entry: the entry names)"},
    {"set", cmdSet, "set FILE SECTION ENTRY VALUE", "write a profile value"},
    {"delete", cmdDelete, "delete FILE SECTION [ENTRY]", "delete an entry or a whole section"},
    {"check", cmdCheck, "check [FILE|NAME]",
     "lines of a configuration file that the strict rules read differently"},
    {"parse", cmdGrammarParse, "parse GRAMMAR KEYWORDS TEXT",
     "the reduction tree of TEXT under a grammar file, or where it fails"},
    {"tree", cmdTree, "tree N", "a B-tree of N random keys, walked, half deleted, checked"},
    {"query", cmdQuery, "query show FILE | set FILE SECTION NAME VALUE",
     "a saved query definition shown, or one parameter changed"},
    {"time", cmdTime, "time [TEXT]", "a time stamp parsed and written back, or the time now"},
};

int usage(FILE* out) {
    std::fprintf(out, "usage: kotool COMMAND [ARGS]\n       kotool --version\n\ncommands:\n");
    for (const Command& c : COMMANDS) std::fprintf(out, "  %-28s %s\n", c.Usage, c.Help);
    std::fprintf(out, "\nexit status: 0 done, 1 failed or a negative answer (no match, not\n"
                      "found, lines found by check), 2 usage error (check and parse: also a\n"
                      "file that cannot be read)\n");
    return out == stderr ? 2 : 0;
}
} // namespace

int main(int argc, char** argv) {
    if (argc < 2) return usage(stderr);
    if (!std::strcmp(argv[1], "help") || !std::strcmp(argv[1], "--help") ||
        !std::strcmp(argv[1], "-h"))
        return usage(stdout);
    if (!std::strcmp(argv[1], "--version")) {
        // The tool's own version, and the library's that is actually loaded.
        std::printf("kotool %s (libkolib %s)\n", KOLIB_VERSION_STRING, koVersion());
        return 0;
    }
    for (const Command& c : COMMANDS)
        if (!std::strcmp(argv[1], c.Name)) return c.Run(argc - 1, argv + 1);
    std::fprintf(stderr, "kotool: unknown command '%s'\n", argv[1]);
    return usage(stderr);
}
