// The strict and the compatible reading over the same hand-written files: blanks around "=",
// CRLF line ends, "[" inside a value, missing files; and writes in the compatible mode, which
// keep the file's line ends and the spelling of the lines they change.
#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include "child_process.h"
#include "config_test_support.h"
#include "kolib/profile.h"

namespace {

const char HAND_WRITTEN[] = "[ODBC Data Sources]\r\n"
                            "Sales = Flat driver\r\n"
                            "\r\n"
                            "[Sales]\r\n"
                            "Driver = /opt/flat.so\r\n"
                            "Server=[::1]\r\n"
                            "Port = 5432  \r\n"
                            "Database=sales\r\n";

// The mode for the length of a scope; back to the environment's afterwards.
struct Mode {
    explicit Mode(int compatible) { koIniSetCompatible(compatible); }
    ~Mode() { koIniSetCompatible(-1); }
};

std::string get(const char* section, const char* entry, const std::string& file) {
    char buffer[256];
    unsigned long n =
        koGetPrivateProfileString(section, entry, "-", buffer, sizeof buffer, file.c_str());
    return std::string(buffer, n);
}

} // namespace

TEST(IniCompat, BothReadingsOverTheSameFile) {
    kotest::ConfigHome home;
    home.Dir.write("hand.ini", HAND_WRITTEN);
    const std::string file = home.at("hand.ini");
    struct Case {
        const char *Section, *Entry, *Strict, *Compatible;
    } cases[] = {
        {"Sales", "Port", "-", "5432"},
        {"Sales", "Driver", "-", "/opt/flat.so"},
        {"Sales", "Server", "[::1]\r", "[::1]"},
        {"Sales", "Database", "-", "sales"}, // strictly, the "[" of the address ended the section
    };
    for (int compatible = 0; compatible < 2; ++compatible) {
        Mode mode(compatible);
        EXPECT_EQ(koIniCompatible(), compatible);
        for (const Case& c : cases)
            EXPECT_EQ(get(c.Section, c.Entry, file), compatible ? c.Compatible : c.Strict)
                << (compatible ? "compatible " : "strict ") << c.Entry;
        // The names of a section: strictly, the blank before "=" and the CR line count.
        EXPECT_EQ(get("ODBC Data Sources", nullptr, file),
                  compatible ? std::string("Sales\0\0", 7) : std::string("Sales \0\r\0\0", 10));
    }
    // A held cache switches at its next look-up.
    KoIniFileCache* cache = koPrivateProfileInit(file.c_str());
    char buffer[64];
    koGetPrivateProfileString("Sales", "Port", "-", buffer, sizeof buffer, cache);
    EXPECT_STREQ(buffer, "-");
    {
        Mode mode(1);
        koGetPrivateProfileString("Sales", "Port", "-", buffer, sizeof buffer, cache);
        EXPECT_STREQ(buffer, "5432");
    }
    koPrivateProfileTerm(cache);
}

TEST(IniCompat, WritesKeepLineEndsAndSpelling) {
    kotest::ConfigHome home;
    home.Dir.write("hand.ini", HAND_WRITTEN);
    const std::string file = home.at("hand.ini");
    Mode mode(1);
    auto put = [&](const char* s, const char* e, const char* v) {
        return WritePrivateProfileString(s, e, v, file.c_str());
    };
    EXPECT_EQ(put("Sales", "port", "6000"), 1);
    EXPECT_EQ(put("Sales", "Trace", "0"), 1);
    EXPECT_EQ(put("Sales", "Database", nullptr), 1);
    EXPECT_EQ(put("New", "k", "v"), 1);
    EXPECT_EQ(home.read("hand.ini"), "[ODBC Data Sources]\r\n"
                                     "Sales = Flat driver\r\n"
                                     "\r\n"
                                     "[Sales]\r\n"
                                     "Trace=0\r\n"
                                     "Driver = /opt/flat.so\r\n"
                                     "Server=[::1]\r\n"
                                     "Port = 6000  \r\n"
                                     "[New]\r\n"
                                     "k=v\r\n");
    // Deleting a section takes its header line and everything to the next header line.
    EXPECT_EQ(put("Sales", nullptr, nullptr), 1);
    EXPECT_EQ(home.read("hand.ini"), "[ODBC Data Sources]\r\n"
                                     "Sales = Flat driver\r\n"
                                     "\r\n"
                                     "[New]\r\n"
                                     "k=v\r\n");
}

TEST(IniCompat, AReadDoesNotCreateAMissingFile) {
    kotest::ConfigHome home;
    const std::string strictFile = home.at("strict.ini"), compatFile = home.at("compat.ini");
    {
        Mode mode(0);
        EXPECT_EQ(get("S", "k", strictFile), "-");
        EXPECT_TRUE(kotest::exists(strictFile)); // kept as it always was
    }
    Mode mode(1);
    kotest::PushedList errors;
    EXPECT_EQ(get("S", "k", compatFile), "-");
    EXPECT_FALSE(kotest::exists(compatFile));
    EXPECT_EQ(koWritePrivateProfileString("S", "k", "v", compatFile.c_str()), 1u);
    EXPECT_EQ(home.read("compat.ini"), "[S]\nk=v\n");
    EXPECT_EQ(get("S", "k", compatFile), "v");
}

// The environment switches the reading for a task that has not chosen one itself.
KO_CHILD_SCENARIO(CompatibleFromEnvironment) {
    kotest::ConfigHome home;
    home.Dir.write("hand.ini", HAND_WRITTEN);
    CHILD_CHECK(koIniCompatible() == 1);
    CHILD_CHECK(get("Sales", "Port", home.at("hand.ini")) == "5432");
    return 0;
}

TEST(IniCompat, SwitchedOnByTheEnvironment) {
    EXPECT_EQ(kotest::runScenario("CompatibleFromEnvironment", {{"KO_INI_COMPAT", "1"}}).Status, 0);
}
