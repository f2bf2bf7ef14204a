// The scanner's token stream over generated text, compared with a recording: a thousand
// texts made of SQL words, numbers, every operator and quote, comments, white space, two-
// and three-byte characters, stray and cut multi-byte bytes and NUL, scanned under every
// kind of setting in the "C" locale, in "C.utf8" and in "C.utf8" with the thread's UTF-8
// mode, token by token and as delimited values. The file keeps one hash of (type, offset,
// length) of every token per setting and locale, so any change in tokens, offsets or errors
// shows up here.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "../text/text_test_support.h"
#include "kolib/scanner.h"

namespace {

const std::string RECORDING =
    std::string(__FILE__).substr(0, std::string(__FILE__).rfind('/')) + "/scanner_tokens.txt";

std::vector<std::string> texts() {
    static const char* const pieces[] = {"SELECT",
                                         "a",
                                         "_x1",
                                         "b2c",
                                         "12",
                                         "1.5",
                                         ".5",
                                         "1.",
                                         "7",
                                         " ",
                                         "  ",
                                         "\t",
                                         "\n",
                                         "\r\n",
                                         "'",
                                         "''",
                                         "'ab c'",
                                         "\"",
                                         "`",
                                         "(",
                                         ")",
                                         "(+)",
                                         "(+",
                                         "{",
                                         "}",
                                         "[",
                                         "]",
                                         "<",
                                         ">",
                                         "=",
                                         "!",
                                         "|",
                                         "&",
                                         "-",
                                         "--",
                                         "/",
                                         "*",
                                         "/*",
                                         "*/",
                                         "+",
                                         ",",
                                         ";",
                                         ":",
                                         "$",
                                         "#",
                                         "%",
                                         "@",
                                         "?",
                                         "^",
                                         "~",
                                         "\\",
                                         "\xC3\xA9",
                                         "na\xC3\xAFve",
                                         "\xE6\x9D\xB1",
                                         "\xE3\x80\x80",
                                         "\xC2\xA0",
                                         "\xC3",
                                         "\x80",
                                         "\xFF",
                                         "\xE2\x82",
                                         "first-name",
                                         "<>",
                                         ">=",
                                         "!=",
                                         "||",
                                         "=*"};
    const unsigned count = sizeof pieces / sizeof pieces[0];
    std::vector<std::string> out;
    unsigned long seed = 12345;
    for (int i = 0; i < 1000; ++i) {
        std::string text;
        seed = seed * 6364136223846793005ul + 1442695040888963407ul;
        unsigned n = 1 + (seed >> 33) % 60;
        for (unsigned k = 0; k < n; ++k) {
            seed = seed * 6364136223846793005ul + 1442695040888963407ul;
            unsigned pick = (seed >> 33) % (count + 1);
            text += pick == count ? std::string(1, '\0') : pieces[pick];
        }
        out.push_back(text);
    }
    return out;
}

// One of the settings a client can give the scanner, applied before each text.
SearchType configure(KoScanner& s, int setting) {
    switch (setting) {
    case 1:
        s.setParseComments();
        break;
    case 2:
        s.setParseComments();
        s.resetDecimalOk();
        break;
    case 3:
        s.setMatchParens();
        s.setMatchBrackets();
        s.setMatchingChars('<', '>');
        break;
    case 4:
        s.setValidFirstChars(" $");
        s.setValidMiddleChars("-\xC3\xA9");
        break;
    case 5:
        s.setInvalidChars(" ,;\xE3\x80\x80");
        break;
    case 6:
        return TOKEN_PATH;
    case 7:
        s.setValidMiddleChars("-");
        return TOKEN_SQLWORD;
    case 8:
        s.setQuotingChars('"', 0, 0);
        break;
    case 9:
        s.setValidChars("#\xE6\x9D\xB1");
        s.setParseComments();
        break;
    }
    return TOKEN_NORMAL;
}
const int SETTINGS = 10;

std::string hashOfScans(const std::vector<std::string>& all, int setting) {
    unsigned long long h = 1469598103934665603ull;
    auto mix = [&h](unsigned long v) {
        for (int i = 0; i < 4; ++i, v >>= 8) h = (h ^ (v & 0xFF)) * 1099511628211ull;
    };
    for (const std::string& text : all) {
        KoScanner s(text.data(), text.size());
        SearchType search = configure(s, setting);
        KoToken t;
        for (int guard = 0; guard < 10000; ++guard) {
            ScanCode code = s.getToken(t, search);
            mix(code);
            mix(t.BegOfToken);
            mix(t.CurSize);
            mix(s.SymbolLength * 2 + s.EndOfString);
            EXPECT_EQ(s.getString() + t.BegOfToken, t.Buf);
            if (code == C_EOS) break;
        }
        mix(s.getCurrentPosition());
        // Delimited values the way parseList reads them.
        s.resetToBeginning();
        for (int guard = 0; guard < 10000 && s.getDelimitedToken(t, ',') != C_EOS; ++guard) {
            mix(t.TokenType);
            mix(t.BegOfToken);
            mix(t.CurSize);
            mix(s.getToken(t));
        }
    }
    char buf[17];
    std::snprintf(buf, sizeof buf, "%016llx", h);
    return buf;
}

TEST(ScannerRecorded, TokensOfGeneratedTextAsRecorded) {
    std::vector<std::string> all = texts();
    std::string now;
    for (int mode = 0; mode < 3; ++mode) {
        kotest::LocaleGuard locale(mode ? "C.utf8" : "C");
        ASSERT_TRUE(locale.Ok);
        for (int setting = 0; setting < SETTINGS; ++setting) {
            std::string line =
                "mode " + std::to_string(mode) + " setting " + std::to_string(setting) + " ";
            if (mode == 2) {
                kotest::Utf8Mode utf8;
                now += line + hashOfScans(all, setting) + "\n";
            } else {
                now += line + hashOfScans(all, setting) + "\n";
            }
        }
    }
    // KOTEST_RECORD_TOKENS=1 writes the file instead (after a deliberate change).
    if (std::getenv("KOTEST_RECORD_TOKENS")) {
        std::ofstream(RECORDING) << now;
        GTEST_SKIP() << "recorded " << RECORDING;
    }
    std::ifstream in(RECORDING);
    ASSERT_TRUE(in) << RECORDING;
    std::stringstream recorded;
    recorded << in.rdbuf();
    EXPECT_EQ(recorded.str(), now);
}

} // namespace
