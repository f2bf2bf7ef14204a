// KoFileByLine over real files: line ends, long lines in pieces, re-reading, scrambled lines.
#include <gtest/gtest.h>

#include <string>
#include <vector>
#include "kolib/file_by_line.h"
#include "kolib/kostring.h"
#include "test_support.h"

namespace {
std::string text(const KoSubString& line) {
    return std::string(line.Buf, line.getLength());
}

std::vector<std::string> allLines(KoFileByLine& reader) {
    std::vector<std::string> lines;
    KoSubString line;
    for (unsigned r = reader.getFirstLine(line); r == 0 && !reader.isEndOfFile();
         r = reader.getNextLine(line))
        lines.push_back(text(line));
    return lines;
}
} // namespace

TEST(FileByLine, LineEndsAndLongLines) {
    kotest::TempDir dir;
    dir.write("crlf", "one\r\ntwo\r\n\r\nlast without end");
    KoFileByLine reader;
    ASSERT_EQ(reader.openFile(dir.file("crlf").c_str(), 64), 0u);
    EXPECT_EQ(allLines(reader),
              (std::vector<std::string>{"one\r\n", "two\r\n", "\r\n", "last without end"}));
    reader.resetReturnEol();
    EXPECT_EQ(allLines(reader).front(), "one\r");

    // A 100-byte line through a 16-byte buffer: pieces of 12 bytes; the buffer's last 4
    // bytes start the next fill, so the pieces join up without gaps or repeats.
    std::string longLine;
    for (int i = 0; i < 100; ++i) longLine += static_cast<char>('a' + i % 26);
    dir.write("long", longLine + "\nshort\n");
    ASSERT_EQ(reader.openFile(dir.file("long").c_str(), 16), 0u);
    KoSubString line;
    std::string joined;
    int pieces = 0;
    for (reader.getFirstLine(line); !reader.isCompleteLine(); reader.getNextLine(line)) {
        EXPECT_EQ(line.getLength(), 12u);
        joined += text(line);
        ++pieces;
    }
    joined += text(line);
    EXPECT_EQ(joined, longLine + "\n");
    EXPECT_EQ(pieces, 8);
    reader.getNextLine(line);
    EXPECT_EQ(text(line), "short\n");
    EXPECT_EQ(reader.closeFile(), 0u);
    EXPECT_FALSE(reader.isFileOpen());
}

TEST(FileByLine, SeekUngetAndUnread) {
    kotest::TempDir dir;
    dir.write("f", "alpha\n\n   \t\nbeta\ngamma\ndelta\n");
    KoFileByLine reader;
    ASSERT_EQ(reader.openFile(dir.file("f").c_str(), 8), 0u); // forces refills
    KoSubString line;
    reader.getFirstLine(line);
    EXPECT_EQ(reader.getNextNonBlankLine(line), 0u);
    EXPECT_EQ(text(line), "beta\n");
    EXPECT_EQ(reader.getPrevLineOffset(), 12u);
    reader.getNextLine(line);
    EXPECT_EQ(text(line), "gamma\n");
    reader.ungetLine();
    reader.getNextLine(line);
    EXPECT_EQ(text(line), "gamma\n");
    reader.setSeekOffset(0);
    reader.getNextLine(line);
    EXPECT_EQ(text(line), "alpha\n");
    reader.seekToUnread(); // back to the furthest point handed out
    reader.getNextLine(line);
    EXPECT_EQ(text(line), "delta\n");
    reader.getNextLine(line);
    EXPECT_TRUE(reader.isEndOfFile());
    EXPECT_EQ(reader.getNextNonBlankLine(line), 0u);
    EXPECT_EQ(line.getLength(), 0u);

    kotest::PushedList errors;
    EXPECT_EQ(reader.openFile(dir.file("missing").c_str(), 8), 1u);
    EXPECT_EQ(errors.lastNumber(), 1509);
    EXPECT_EQ(reader.getNextLine(line), 1u);
}

TEST(FileByLine, ScrambledLinesAreReadPlain) {
    const std::vector<std::string> plain = {"SELECT * FROM t", "password=secret", "x"};
    kotest::TempDir dir;
    for (unsigned short type : {1, 2, 3}) {
        std::string contents;
        for (const std::string& p : plain) {
            KoString s;
            ASSERT_EQ(s.initialize(p.c_str()), 0u);
            s.encrypt(type);
            std::string scrambled(s.Buf, s.getLength());
            ASSERT_EQ(scrambled.find('\n'), std::string::npos) << "pick other sample lines";
            contents += scrambled + "\n";
        }
        dir.write("s", contents);
        KoFileByLine reader;
        ASSERT_EQ(reader.openFile(dir.file("s").c_str(), 32), 0u);
        reader.setCryptType(type);
        std::vector<std::string> lines = allLines(reader);
        ASSERT_EQ(lines.size(), plain.size()) << type;
        for (std::size_t i = 0; i < plain.size(); ++i) EXPECT_EQ(lines[i], plain[i] + "\n");
    }
}
