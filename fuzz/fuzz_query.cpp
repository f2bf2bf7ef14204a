// The query-file reader over fuzzed files. A file that reads must write back: plain and
// unchanged, to the very bytes it was read from; with a parameter changed and scrambled with
// the type the input's length picks, to a file that reads back as the same definition.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "fuzz_support.h"
#include "kolib/array.h"
#include "kolib/query_file.h"

namespace {

std::string scratchFile(const char* tag) {
    std::string pattern = std::string("/dev/shm/kofuzz-query-") + tag + "-XXXXXX";
    int fd = mkstemp(&pattern[0]);
    if (fd >= 0) close(fd);
    return pattern;
}

std::string slurp(const std::string& path) {
    std::string text;
    FILE* in = std::fopen(path.c_str(), "rb");
    if (!in) return text;
    char buffer[65536];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, in)) > 0;) text.append(buffer, n);
    std::fclose(in);
    return text;
}

// The definition as one text.
std::string definition(KoQueryFile& q) {
    std::string out = std::to_string(q.isCrossTab()) + "|" +
                      (q.getDatabase() ? q.getDatabase() : "-") + "|" +
                      std::string(q.getStatement(), q.getStatementLength());
    for (int s = 0; s < KoQueryFile::SECTION_COUNT; ++s) {
        const char* section = KoQueryFile::sectionName(s);
        if (!q.hasSection(section)) continue;
        KoArray names;
        names.setDeleteContentsOnDestruct();
        if (q.listParameters(section, &names)) std::abort();
        out += std::string("[") + section + "]";
        for (unsigned long i = 0; i < names.getCount(); ++i) {
            KoString value;
            int found = 0;
            const char* name = static_cast<KoString*>(names.at(i))->asCStr();
            if (q.getParameter(section, name, &value, &found) || !found) std::abort();
            out += std::string(name) + "=" + std::string(value.Buf, value.CurSize) + ";";
        }
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kofuzz::errorList();
    static const std::string IN = scratchFile("in"), OUT = scratchFile("out");
    FILE* out = std::fopen(IN.c_str(), "wb");
    if (!out) return 0;
    std::fwrite(data, 1, size, out);
    std::fclose(out);
    KoQueryFile query;
    if (query.read(IN.c_str()) == 0) {
        if (query.getScrambleType() == 0) {
            if (query.write(OUT.c_str()) || slurp(OUT) != slurp(IN)) std::abort();
        }
        KoString description;
        int found = 0;
        if (query.getDescription(&description, &found)) std::abort();
        if (query.setParameter("PARAMETERS", "fuzz", "1")) std::abort();
        std::string want = definition(query);
        unsigned short type = static_cast<unsigned short>(size % 4);
        if (query.write(OUT.c_str(), type)) std::abort();
        KoQueryFile back;
        if (back.read(OUT.c_str()) || definition(back) != want) std::abort();
    }
    kofuzz::errorList().clearErrors();
    return 0;
}
