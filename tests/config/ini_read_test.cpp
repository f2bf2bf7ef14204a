// Reading configuration files: the syntax on real files, buffer limits, integers, the entry
// list and bad files.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include "config_test_support.h"
#include "kolib/profile.h"

namespace {

const char SAMPLE[] = "; comment [notheader]\n"
                      ";[hidden]\n"
                      "#[hidden2]\n"
                      "h=in hidden\n"
                      "\n"
                      "[Second]\n"
                      "num=42abc\n"
                      "neg=-5\n"
                      "big=99999999999\n"
                      "[First]\n"
                      "  key=value1\n"
                      "key2 = spaced\n"
                      "key3==  =multi\n"
                      "crlf=with cr\r\n"
                      "empty=\n"
                      "# note=not an entry\n"
                      "noequals\n"
                      "next=after\n"
                      "inval=a[b\n"
                      "after=x\n";

std::string get(const char* section, const char* entry, const char* file,
                const char* defaultValue = "DEF") {
    char buffer[256];
    unsigned long n =
        koGetPrivateProfileString(section, entry, defaultValue, buffer, sizeof buffer, file);
    return std::string(buffer, n);
}

} // namespace

TEST(IniRead, TheFileSyntax) {
    kotest::ConfigHome home;
    home.Dir.write("sample.ini", SAMPLE);
    const std::string file = home.at("sample.ini");
    const char* f = file.c_str();
    EXPECT_EQ(get("First", "key", f), "value1");
    EXPECT_EQ(get("FIRST", "KEY", f), "value1"); // headers and names ignore case
    EXPECT_EQ(get("First", "key2", f), "DEF");   // the blank belongs to the name
    EXPECT_EQ(get("First", "key2 ", f), "spaced");
    EXPECT_EQ(get("First", "key3", f), "multi");
    EXPECT_EQ(get("First", "crlf", f), "with cr\r");
    EXPECT_EQ(get("First", "empty", f), "DEF");
    EXPECT_EQ(get("First", "note", f), "DEF");
    // A line without "=" runs into the next one, which is then no entry of its own.
    EXPECT_EQ(get("First", "next", f), "DEF");
    EXPECT_EQ(get("First", "inval", f), "a[b");
    EXPECT_EQ(get("First", "after", f), "DEF"); // the "[" in the value ended the section
    EXPECT_EQ(get("hidden", "h", f), "DEF");
    EXPECT_EQ(get("hidden2", "h", f), "DEF");
    EXPECT_EQ(get("notheader", "h", f), "DEF");
    EXPECT_EQ(get("Missing", "key", f), "DEF");
    EXPECT_EQ(get("First", "missing", f, nullptr), "");

    char names[256];
    unsigned long n = koGetPrivateProfileString("first", nullptr, "DEF", names, sizeof names, f);
    EXPECT_EQ(std::string(names, n),
              std::string("key\0key2 \0key3\0crlf\0empty\0noequalsnext\0inval\0\0", 46));

    EXPECT_EQ(koGetPrivateProfileInt("Second", "num", 7, f), 42u);
    EXPECT_EQ(koGetPrivateProfileInt("Second", "neg", 7, f), 7u);
    kotest::PushedList errors;
    EXPECT_EQ(koGetPrivateProfileInt("Second", "big", 7, f), 7u);
    EXPECT_EQ(errors.lastNumber(), 2701);
}

TEST(IniRead, BuffersAreNeverOverrun) {
    kotest::ConfigHome home;
    std::string longValue(5000, 'v');
    home.Dir.write("b.ini", "[S]\nshort=value1\nlong=" + longValue + "\na=1\n;c=3\nb=2\n[T]\n");
    std::string file = home.at("b.ini");
    char buffer[8];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(koGetPrivateProfileString("S", "short", "", buffer, 5, file.c_str()), 4u);
    EXPECT_STREQ(buffer, "valu");
    EXPECT_EQ(buffer[5], '#');
    EXPECT_EQ(koGetPrivateProfileString("S", "short", "", buffer, 6, file.c_str()), 5u);
    EXPECT_EQ(koGetPrivateProfileString("S", "short", "", buffer, 1, file.c_str()), 0u);
    EXPECT_EQ(buffer[0], '\0');
    buffer[0] = '#';
    EXPECT_EQ(koGetPrivateProfileString("S", "short", "", buffer, 0, file.c_str()), 0u);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(koGetPrivateProfileString("S", "short", "", nullptr, 10, file.c_str()), 0u);
    EXPECT_EQ(koGetPrivateProfileString(nullptr, "short", "dflt", buffer, 8, file.c_str()), 4u);
    EXPECT_EQ(GetPrivateProfileString("S", "short", "dflt", buffer, 8, nullptr), 4);
    EXPECT_EQ(koGetPrivateProfileInt(nullptr, "short", 9, file.c_str()), 9u);
    EXPECT_EQ(koWritePrivateProfileString(nullptr, "k", "v", file.c_str()), 0u);
    // The 2,048-byte work buffer cuts long values.
    std::string big(6000, '\0');
    EXPECT_EQ(koGetPrivateProfileString("S", "long", "", &big[0], big.size(), file.c_str()), 2047u);
    // The list request: comments skipped; a name cut by the buffer is dropped whole.
    char names[16];
    unsigned long n = koGetPrivateProfileString("S", nullptr, "", names, 16, file.c_str());
    EXPECT_EQ(std::string(names, n), std::string("short\0long\0a\0b\0\0", 16));
    n = koGetPrivateProfileString("S", nullptr, "", names, 9, file.c_str());
    EXPECT_EQ(std::string(names, n), std::string("short\0\0", 7));
    // An empty section counts as missing.
    EXPECT_EQ(koGetPrivateProfileString("T", nullptr, "none", names, 16, file.c_str()), 4u);
}

TEST(IniRead, BadFilesGiveDefaults) {
    kotest::ConfigHome home;
    std::string garbage;
    for (int i = 0; i < 70000; ++i) garbage += static_cast<char>((i * 7919) % 256);
    home.Dir.write("garbage.ini", garbage);
    home.Dir.write("bracket.ini", "[");
    home.Dir.write("unclosed.ini", "[S\nk=v\n");
    for (const char* name : {"garbage.ini", "bracket.ini", "unclosed.ini", "missing.ini"}) {
        std::string file = home.at(name);
        EXPECT_EQ(get("S", "k", file.c_str()), "DEF") << name;
        char names[64];
        koGetPrivateProfileString("S", nullptr, "", names, sizeof names, file.c_str());
    }
    // A missing file is created empty (the cache opens read-write, creating it).
    EXPECT_EQ(home.read("missing.ini"), "");
    // 10 MB: the entry at the very end is found, and a put rewrites it all.
    std::string large = "[Big]\n";
    while (large.size() < 10 * 1024 * 1024) large += "filler_entry_name=some value to take room\n";
    large += "[Tail]\nlast=found\n";
    home.Dir.write("large.ini", large);
    std::string file = home.at("large.ini");
    EXPECT_EQ(get("Tail", "last", file.c_str()), "found");
    EXPECT_EQ(koWritePrivateProfileString("Tail", "more", "yes", file.c_str()), 1u);
    EXPECT_EQ(home.read("large.ini").size(), large.size() + 9);
    EXPECT_EQ(get("Tail", "more", file.c_str()), "yes");
}
