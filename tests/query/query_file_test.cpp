// Query files: hand-written files read and written back byte for byte, one section changed
// with the rest untouched, generated definitions through every scrambling, bad files with
// their errors, failed writes that leave the old file, and exhausted memory.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../containers/test_items.h"
#include "kolib/array.h"
#include "kolib/errors.h"
#include "kolib/query_file.h"
#include "kolib/testing.h"
#include "test_support.h"

namespace {

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
}

std::string value(KoQueryFile& q, const char* section, const char* name) {
    KoString text;
    int found = 0;
    EXPECT_EQ(0u, q.getParameter(section, name, &text, &found));
    return found ? std::string(text.Buf, text.CurSize) : "<none>";
}

std::string description(KoQueryFile& q) {
    KoString text;
    int found = 0;
    EXPECT_EQ(0u, q.getDescription(&text, &found));
    return found ? std::string(text.Buf, text.CurSize) : "<none>";
}

// Everything a definition holds, as one text to compare.
std::string definition(KoQueryFile& q) {
    std::string out = std::to_string(q.isCrossTab()) + "|" +
                      (q.getDatabase() ? q.getDatabase() : "<no db>") + "|" +
                      std::string(q.getStatement(), q.getStatementLength()) + "|";
    for (int s = 0; s < KoQueryFile::SECTION_COUNT; ++s) {
        const char* section = KoQueryFile::sectionName(s);
        if (!q.hasSection(section)) continue;
        KoArray names;
        names.setDeleteContentsOnDestruct();
        EXPECT_EQ(0u, q.listParameters(section, &names));
        out += std::string("[") + section + "]";
        for (unsigned long i = 0; i < names.getCount(); ++i) {
            const char* name = static_cast<KoString*>(names.at(i))->asCStr();
            out += std::string(name) + "=" + value(q, section, name) + ";";
        }
    }
    return out;
}

const char* const Full = "KOQUERY 1\n"
                         "CTKOF\n"
                         "use sales\n"
                         "SELECT region, SUM(amount)\n"
                         "\\[not a section]\n"
                         "FROM orders GROUP BY region\n"
                         "[PAGE_LAYOUT]\n"
                         "orientation=landscape\n"
                         "; a note, kept\n"
                         "[PARAMETERS]\n"
                         "start=2026-01-01\n"
                         "end=\n"
                         "[DEFINITION]\n"
                         "[USER COMMANDS]\n"
                         "SET.QUERY.DESCRIPTION \"Sales \"\"by\"\" region\"\n"
                         "REFRESH\n";

TEST(QueryFile, HandWrittenFilesReadAndWriteBackByteForByte) {
    kotest::TempDir dir;
    const std::string files[] = {
        Full,
        "KOQUERY 1\nSELECT 1", // no sections, no last LF
        "KOQUERY 1\n",         // nothing but the header
        "KOQUERY  1\r\nuse my db\r\nSELECT *\r\nFROM t\r\n[PARAMETERS]\r\na=1\r\n", // CRLF
        "KOQUERY 1\n[DEFINITION]\n[PARAMETERS]\nx=1", // order kept, empty section
        "KOQUERY 1\nSELECT '" + std::string(300000, 'x') + "'\n[PARAMETERS]\nk=v\n", // long line
    };
    for (const std::string& text : files) {
        dir.write("q.kqf", text);
        KoQueryFile q;
        ASSERT_EQ(0u, q.read(dir.file("q.kqf").c_str())) << text.substr(0, 40);
        ASSERT_EQ(0u, q.write(dir.file("out.kqf").c_str()));
        EXPECT_EQ(text, slurp(dir.file("out.kqf"))) << text.substr(0, 40);
    }

    dir.write("q.kqf", Full);
    KoQueryFile q;
    ASSERT_EQ(0u, q.read(dir.file("q.kqf").c_str()));
    EXPECT_TRUE(q.isCrossTab());
    EXPECT_STREQ("sales", q.getDatabase());
    EXPECT_EQ("SELECT region, SUM(amount)\n[not a section]\nFROM orders GROUP BY region",
              std::string(q.getStatement(), q.getStatementLength()));
    EXPECT_EQ("Sales \"by\" region", description(q));
    EXPECT_EQ("landscape", value(q, "PAGE_LAYOUT", "Orientation"));
    EXPECT_EQ("", value(q, "parameters", "end"));
    EXPECT_EQ("", value(q, "USER COMMANDS", "REFRESH"));
    EXPECT_EQ("<none>", value(q, "DEFINITION", "x"));
    EXPECT_TRUE(q.hasSection("DEFINITION"));

    // One section changed: every other byte stays where it was.
    ASSERT_EQ(0u, q.setParameter("PARAMETERS", "END", "2026-12-31"));
    ASSERT_EQ(0u, q.setParameter("PARAMETERS", "region", "north"));
    ASSERT_EQ(0u, q.write(dir.file("q.kqf").c_str()));
    std::string expected = Full;
    expected.replace(expected.find("end=\n"), 5, "end=2026-12-31\nregion=north\n");
    EXPECT_EQ(expected, slurp(dir.file("q.kqf")));

    // Removing a parameter and a section, and changing the head.
    int found = 0;
    ASSERT_EQ(0u, q.deleteParameter("PAGE_LAYOUT", "orientation", &found));
    EXPECT_EQ(1, found);
    ASSERT_EQ(0u, q.deleteSection("DEFINITION"));
    ASSERT_EQ(0u, q.setDescription("Plain"));
    q.setCrossTab(0);
    ASSERT_EQ(0u, q.setDatabase(nullptr));
    ASSERT_EQ(0u, q.write(dir.file("q.kqf").c_str()));
    EXPECT_EQ("KOQUERY 1\n"
              "SELECT region, SUM(amount)\n"
              "\\[not a section]\n"
              "FROM orders GROUP BY region\n"
              "[PAGE_LAYOUT]\n"
              "; a note, kept\n"
              "[PARAMETERS]\n"
              "start=2026-01-01\n"
              "end=2026-12-31\n"
              "region=north\n"
              "[USER COMMANDS]\n"
              "SET.QUERY.DESCRIPTION \"Plain\"\n"
              "REFRESH\n",
              slurp(dir.file("q.kqf")));

    // A file that stops without a line end (or after a lone CR) gains one before a new
    // section, and reads back as the same definition.
    for (const char* cut :
         {"KOQUERY 1\r\nuse db\r", "KOQUERY 1\nSELECT 1\r", "KOQUERY 1\nx\n[DEFINITION]\na=1"}) {
        dir.write("cut.kqf", cut);
        KoQueryFile before, after;
        ASSERT_EQ(0u, before.read(dir.file("cut.kqf").c_str()));
        ASSERT_EQ(0u, before.setParameter("PARAMETERS", "p", "1"));
        std::string want = definition(before);
        ASSERT_EQ(0u, before.write(dir.file("cut.kqf").c_str()));
        ASSERT_EQ(0u, after.read(dir.file("cut.kqf").c_str()));
        EXPECT_EQ(want, definition(after)) << cut;
    }

    // A CRLF file keeps CRLF for the lines it gains.
    dir.write("crlf.kqf", "KOQUERY 1\r\nSELECT 1\r\n");
    KoQueryFile c;
    ASSERT_EQ(0u, c.read(dir.file("crlf.kqf").c_str()));
    ASSERT_EQ(0u, c.setParameter("PARAMETERS", "a", "b"));
    ASSERT_EQ(0u, c.write(dir.file("crlf.kqf").c_str()));
    EXPECT_EQ("KOQUERY 1\r\nSELECT 1\r\n[PARAMETERS]\r\na=b\r\n", slurp(dir.file("crlf.kqf")));
}

// Random definitions with statements that look like the file's own structure, through every
// scrambling type and back.
TEST(QueryFile, GeneratedDefinitionsSurviveEveryScrambling) {
    kotest::TempDir dir;
    std::mt19937 random(20261125);
    const char* const lines[] = {"SELECT *",   "[PARAMETERS]",         "\\x", "CTKOF", "use db", "",
                                 "  indented", "caf\xC3\xA9 \xF5\xFF", "a=b", "\r"};
    for (int round = 0; round < 60; ++round) {
        KoQueryFile q;
        q.clear();
        std::string statement;
        for (int i = random() % 5; i >= 0; --i) {
            if (!statement.empty()) statement += '\n';
            statement += lines[random() % 10];
        }
        ASSERT_EQ(0u, q.setStatement(statement.c_str()));
        q.setCrossTab(random() % 2);
        if (random() % 2) ASSERT_EQ(0u, q.setDatabase("db one"));
        for (int i = random() % 8; i > 0; --i) {
            const char* section = KoQueryFile::sectionName(random() % 4);
            std::string name = "n" + std::to_string(random() % 5);
            ASSERT_EQ(0u, q.setParameter(section, name.c_str(), lines[random() % 9]));
        }
        if (random() % 2) ASSERT_EQ(0u, q.setDescription("say \"hi\"; [x]"));
        std::string want = definition(q);
        unsigned short type = static_cast<unsigned short>(round % 4);
        ASSERT_EQ(0u, q.write(dir.file("g.kqf").c_str(), type));
        std::string written = slurp(dir.file("g.kqf"));
        KoQueryFile back;
        ASSERT_EQ(0u, back.read(dir.file("g.kqf").c_str())) << written;
        EXPECT_EQ(type, back.getScrambleType());
        EXPECT_EQ(want, definition(back)) << "type " << type << "\n" << written;
        // Unchanged, it writes the same bytes again.
        ASSERT_EQ(0u, back.write(dir.file("h.kqf").c_str(), type));
        EXPECT_EQ(written, slurp(dir.file("h.kqf")));
        if (type) EXPECT_EQ(std::string::npos, written.find("n0=")); // really scrambled
    }
}

TEST(QueryFile, BadFilesGiveTheirErrorsAndLeaveTheObjectEmpty) {
    kotest::TempDir dir;
    struct Case {
        std::string Text;
        unsigned short Error;
    } cases[] = {
        {"", 2721},
        {"KOQUERY 1", 2721},             // cut inside the header
        {"KOQUERY 2\nSELECT 1\n", 2721}, // a later version
        {"QUERY 1\n", 2721},
        {"KOQUERY 1 SCRAMBLED 4\nx\n", 2721},
        {std::string("\x7f"
                     "ELF\x02\x01\x01\0\0\0",
                     10),
         2721},
        {"KOQUERY 1\n[PARAMETERS]\n[OPTIONS]\n", 2722},
        {"KOQUERY 1\n[PARAMETERS]\na=1\n[parameters]\n", 2723},
        {std::string("KOQUERY 1\nSELECT \0 1\n", 21), 2724},
        {"KOQUERY 1 SCRAMBLED 3\nABC\n", 2724}, // an odd number of digits
        {"KOQUERY 1 SCRAMBLED 1\nZZ\n", 2724},  // not digits
    };
    for (const Case& c : cases) {
        dir.write("bad.kqf", c.Text);
        kotest::PushedList errors;
        KoQueryFile q;
        q.setStatement("old");
        EXPECT_EQ(1u, q.read(dir.file("bad.kqf").c_str())) << c.Text;
        EXPECT_EQ(c.Error, errors.lastNumber()) << c.Text;
        EXPECT_EQ(0u, q.getStatementLength());
        EXPECT_FALSE(q.hasSection("PARAMETERS"));
    }
    kotest::PushedList errors;
    KoQueryFile q;
    EXPECT_EQ(1u, q.read(dir.file("missing.kqf").c_str()));
    EXPECT_EQ(1509, errors.lastNumber());
    EXPECT_NE(std::string::npos, errors.lastText().find("missing.kqf"));

    // Names and values that could not be read back are refused; unknown sections too.
    ASSERT_EQ(0u, q.setParameter("PARAMETERS", "ok", "1"));
    const char* badNames[] = {"", "a=b", "[x", "a\nb", "a\rb"};
    for (const char* name : badNames) EXPECT_EQ(1u, q.setParameter("PARAMETERS", name, "v"));
    EXPECT_EQ(2725, errors.lastNumber());
    EXPECT_EQ(1u, q.setParameter("USER COMMANDS", "TWO WORDS", "v"));
    EXPECT_EQ(1u, q.setParameter("PARAMETERS", "k", "line\nbreak"));
    EXPECT_EQ(1u, q.setDescription("two\nlines"));
    EXPECT_EQ(1u, q.setDatabase("a\nb"));
    EXPECT_EQ(1u, q.setParameter("OPTIONS", "k", "v"));
    EXPECT_EQ(1u, q.write(dir.file("x.kqf").c_str(), 4));
    EXPECT_EQ("1", value(q, "PARAMETERS", "ok"));
}

// A 50 MB statement on one line and over many lines is read whole.
TEST(QueryFile, FiftyMegabyteStatement) {
    kotest::TempDir dir;
    std::string statement = "SELECT '" + std::string(50 << 20, 'q') + "'";
    for (size_t at = 1 << 20; at < statement.size(); at += 7 << 20) statement[at] = '\n';
    KoQueryFile q;
    ASSERT_EQ(0u, q.setStatement(statement.data(), statement.size()));
    ASSERT_EQ(0u, q.write(dir.file("big.kqf").c_str(), 2));
    KoQueryFile back;
    ASSERT_EQ(0u, back.read(dir.file("big.kqf").c_str()));
    ASSERT_EQ(statement.size(), back.getStatementLength());
    EXPECT_EQ(0, std::memcmp(statement.data(), back.getStatement(), statement.size()));
}

// A write that cannot be made leaves the old file whole and no temporary file behind.
TEST(QueryFile, FailedWritesLeaveTheOldFile) {
    kotest::TempDir dir;
    dir.write("q.kqf", Full);
    KoQueryFile q;
    ASSERT_EQ(0u, q.read(dir.file("q.kqf").c_str()));
    ASSERT_EQ(0u, q.setParameter("PARAMETERS", "start", "2027-01-01"));
    // The tests run as root: a directory without write permission stops only other users.
    pid_t child = fork();
    if (child == 0) {
        if (setgid(65534) != 0 || setuid(65534) != 0) _exit(3);
        kotest::PushedList errors;
        _exit(q.write(dir.file("q.kqf").c_str()) == 1 && errors.lastNumber() != 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(Full, slurp(dir.file("q.kqf")));
    EXPECT_NE(0, access(dir.file("q.kqf.kotmp").c_str(), F_OK));
}

TEST(QueryFile, ExhaustedMemoryFailsCleanly) {
    kotest::TempDir dir;
    dir.write("q.kqf", Full);
    kotest::PushedList errors;
    kotest::walkFailures([&](auto arm) {
        KoQueryFile q;
        arm();
        unsigned failed = q.read(dir.file("q.kqf").c_str());
        ramFailAfter(0);
        if (failed) EXPECT_EQ(0u, q.getStatementLength());
        return !failed;
    });
    kotest::walkFailures([&](auto arm) {
        KoQueryFile q;
        if (q.read(dir.file("q.kqf").c_str())) return false;
        arm();
        unsigned failed = q.setParameter("PARAMETERS", "start", "x") || q.setDescription("d") ||
                          q.write(dir.file("w.kqf").c_str(), 3);
        ramFailAfter(0);
        if (failed) {
            EXPECT_EQ(Full, slurp(dir.file("q.kqf")));
            return false;
        }
        KoQueryFile back;
        EXPECT_EQ(0u, back.read(dir.file("w.kqf").c_str()));
        EXPECT_EQ("x", value(back, "PARAMETERS", "start"));
        return true;
    });
}

} // namespace
