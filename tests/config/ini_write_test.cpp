// Writing configuration files: where entries and sections go, deletions, another process's
// changes, and writes that cannot be made.
#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include "child_process.h"
#include "config_test_support.h"
#include "kolib/profile.h"

namespace {
std::string get(const char* section, const char* entry, const std::string& file) {
    char buffer[256];
    unsigned long n =
        koGetProfileString(section, entry, "DEF", buffer, sizeof buffer, file.c_str());
    return std::string(buffer, n);
}
} // namespace

TEST(IniWrite, EntriesAndSectionsLandWhereDescribed) {
    kotest::ConfigHome home;
    const std::string original = "[A]\nx=1\ny=2\n\n[b]\nz=3\n";
    home.Dir.write("w.ini", original);
    const std::string file = home.at("w.ini");
    KoIniFileCache* cache = koPrivateProfileInit(file.c_str());
    ASSERT_NE(cache, nullptr);
    auto put = [&](const char* s, const char* e, const char* v) {
        return koWritePrivateProfileString(s, e, v, cache);
    };
    EXPECT_EQ(put("A", "new", "n"), 1u); // first in its section
    EXPECT_EQ(home.read("w.ini"), "[A]\nnew=n\nx=1\ny=2\n\n[b]\nz=3\n");
    EXPECT_EQ(put("a", "Y", "20"), 1u); // changed in place, the caller's spelling of the name
    EXPECT_EQ(home.read("w.ini"), "[A]\nnew=n\nx=1\nY=20\n\n[b]\nz=3\n");
    EXPECT_EQ(put("C", "k", "v"), 1u); // a new section at the end
    EXPECT_EQ(home.read("w.ini"), "[A]\nnew=n\nx=1\nY=20\n\n[b]\nz=3\n[C]\nk=v\n");
    EXPECT_EQ(put("A", "x", nullptr), 1u);
    EXPECT_EQ(put("B", nullptr, nullptr), 1u); // the section up to the next "["
    EXPECT_EQ(home.read("w.ini"), "[A]\nnew=n\nY=20\n\n[C]\nk=v\n");
    const std::string before = home.read("w.ini");
    EXPECT_EQ(put("A", "absent", nullptr), 1u);
    EXPECT_EQ(put("Absent", nullptr, nullptr), 1u);
    EXPECT_EQ(home.read("w.ini"), before);
    EXPECT_EQ(get("A", "Y", file), "20"); // the cached path sees its own writes

    // Another process rewrites the file with another size: the next get reads it again.
    kotest::ChildResult child = kotest::runForked([&] {
        kotest::TempDir unused;
        FILE* out = std::fopen(file.c_str(), "w");
        std::fputs("[A]\nY=from the other process\n", out);
        std::fclose(out);
        return 0;
    });
    ASSERT_EQ(child.Status, 0);
    EXPECT_EQ(get("A", "Y", file), "from the other process");
    koPrivateProfileTerm(cache);

    // A text without a final line feed gets one before anything new.
    home.Dir.write("nolf.ini", "[A]\nx=1");
    EXPECT_EQ(WritePrivateProfileString("B", "k", "v", home.at("nolf.ini").c_str()), 1);
    EXPECT_EQ(home.read("nolf.ini"), "[A]\nx=1\n[B]\nk=v\n");
    home.Dir.write("hdr.ini", "[A]");
    EXPECT_EQ(WritePrivateProfileString("A", "k", "v", home.at("hdr.ini").c_str()), 1);
    EXPECT_EQ(home.read("hdr.ini"), "[A]\nk=v\n");
}

TEST(IniWrite, UnwritableAndUnreadableFiles) {
    kotest::ConfigHome home;
    chmod(home.Dir.path().c_str(), 0777);
    home.Dir.write("ro/locked.ini", "");
    mkdir(home.at("ro").c_str(), 0755);
    home.Dir.write("ro/locked.ini", "[S]\nk=v\n");
    home.Dir.write("secret.ini", "[S]\nk=v\n");
    chmod(home.at("secret.ini").c_str(), 0);
    home.Dir.write("readonly.ini", "[S]\nk=ro\n");
    chmod(home.at("readonly.ini").c_str(), 0444);
    chmod(home.at("ro").c_str(), 0555);
    // Permissions bind only an ordinary user: the checks run as one.
    kotest::ChildResult child = kotest::runForked([&] {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) return 10;
        kotest::PushedList errors;
        std::string locked = home.at("ro/locked.ini");
        if (get("S", "k", locked) != "v") return 1;
        if (koWriteProfileString("S", "k", "changed", locked.c_str()) != 0) return 2;
        if (home.read("ro/locked.ini") != "[S]\nk=v\n") return 3;
        // Not writable: read read-only, and no error is left behind.
        errors.List.clearErrors();
        if (get("S", "k", home.at("readonly.ini")) != "ro" || errors.List.isExistingError())
            return 7;
        std::string secret = home.at("secret.ini");
        errors.List.clearErrors();
        if (get("S", "k", secret) != "DEF") return 4;
        KoError* last = KoErrorKeeper::getLastError();
        if (!last || !last->isWarning() || last->getErrorNumber() != 1508) return 5;
        if (koWriteProfileString("S", "k", "x", secret.c_str()) != 0) return 6;
        return 0;
    });
    chmod(home.at("ro").c_str(), 0755);
    EXPECT_EQ(child.Status, 0);
}
