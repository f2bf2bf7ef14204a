// The section look-up with and without its index, under every allocation failure, and the
// trace lines of reads, lists and writes.
#include <gtest/gtest.h>

#include <string>
#include "config_test_support.h"
#include "kolib/frame.h"
#include "kolib/profile.h"
#include "kolib/testing.h"

namespace {
const char TEXT[] = "[Dup]\nk=first\n"
                    "[a][b]\nk=b\n"
                    ";[c]\nk=c\n"
                    "[dup]\nk=second\n"
                    "[MiXed]\nk=mixed\n";

std::string lookup(KoIniFileCache& cache, const char* header) {
    char *start = nullptr, *end = nullptr, *valueStart = nullptr, *valueEnd = nullptr;
    if (cache.getSection(header, &start, &end)) return "(no section)";
    if (cache.getEntry("k", &start, &valueStart, &valueEnd)) return "(no entry)";
    return std::string(valueStart, valueEnd);
}

} // namespace

TEST(IniLookup, SameAnswersWithAndWithoutTheIndexUnderEveryAllocationFailure) {
    kotest::ConfigHome home;
    home.Dir.write("l.ini", TEXT);
    const std::string file = home.at("l.ini");
    kotest::PushedList errors;
    long baseline = ramLiveBlocks();
    int opened = 0;
    for (long n = 1; n < 40; ++n) {
        ramFailAfter(n);
        KoIniFileCache* cache = new KoIniFileCache(file.c_str());
        ramFailAfter(0);
        if (cache && cache->isOpen()) {
            ++opened;
            EXPECT_EQ(lookup(*cache, "[DUP]"), "first") << n; // the first of a name wins
            EXPECT_EQ(lookup(*cache, "[b]"), "b") << n;       // right after "]" counts
            EXPECT_EQ(lookup(*cache, "[a]"), "b") << n;       // its entries start on the next line
            EXPECT_EQ(lookup(*cache, "[c]"), "(no section)") << n;
            EXPECT_EQ(lookup(*cache, "[mixed]"), "mixed") << n;
            EXPECT_EQ(lookup(*cache, "[none]"), "(no section)") << n;
        }
        delete cache;
        EXPECT_EQ(ramLiveBlocks(), baseline) << n;
        errors.List.clearErrors();
    }
    EXPECT_GT(opened, 5);
}

TEST(IniLookup, TraceLines) {
    kotest::ConfigHome home;
    home.Dir.write("t.ini", "[S]\nk=v\n");
    const std::string file = home.at("t.ini");
    KoIniFileCache* cache = koPrivateProfileInit(file.c_str());
    ASSERT_NE(cache, nullptr);
    char buffer[64];
    EXPECT_EQ(kotest::traced(KO_DEBUG_PROFILE_READ,
                             [&] { koGetPrivateProfileString("S", "k", "d", buffer, 64, cache); }),
              "GetProfileString: File:" + file +
                  " Section:[S] Entry:k\nGetProfileString: defaultStr:d\n"
                  "GetProfileString: Section [S] found.\nGetProfileString: Entry k found.\n"
                  "GetProfileString: Value=v\nGetProfileString: Return Len=1 returnBuf=v\n");
    EXPECT_EQ(
        kotest::traced(KO_DEBUG_PROFILE_READ | KO_DEBUG_PROFILE_WRITE,
                       [&] { koGetPrivateProfileString("S", nullptr, "", buffer, 64, cache); }),
        "GetProfileString: File:" + file +
            " Section:[S] Entry:NULL\nGetProfileString: defaultStr:NULL\n"
            "GetProfileString: Section [S] found.\n"
            "GetProfileString: Fecthing all entries for S\n"
            "GetProfileString: Multi-Entry Output Requested.\n"
            "GetProfileString: Entry k Len=1\n");
    EXPECT_EQ(kotest::traced(KO_DEBUG_PROFILE_WRITE | KO_DEBUG_INI_OPEN,
                             [&] { koWritePrivateProfileString("S", "k", "w", cache); }),
              "PutProfileString: File:" + file +
                  " Section:[S] Entry:k\nPutProfileString: newStr:w\n"
                  // read afresh under the writers' lock, whatever the file's stamp says
                  "KoIniOpen: File:" +
                  file + " \nKoIniOpen: File:" + file +
                  " FileSize 8\n"
                  "PutProfileString: Section [S] found.\n"
                  "PutProfileString: Updating Entry Value with: w\n"
                  "PutProfileString: Entry missing adding it.\n|->k=w\n\n"
                  "KoIniOpen: File:" +
                  file + " \nKoIniOpen: File:" + file +
                  " FileSize 8\n"
                  "PutProfileString: Updated FileCache: Len=8\n"
                  "PutProfileString: Updated FileCache:\n|->[S]\nk=w\n\n");
    koPrivateProfileTerm(cache);
}
