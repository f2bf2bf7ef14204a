// LoadString against the real catalogue that the build puts next to the library. The message
// locale a call chooses stays set for the process, so every case runs in a fork()ed child
// that starts from the "C" message locale, with LoadString's trace on.
#include <gtest/gtest.h>

#include <clocale>
#include "child_process.h"
#include "kolib/frame.h"
#include "kolib/load_string.h"
#include "test_support.h"

namespace {

kotest::ChildResult lookUp(const char* lcMessages, const char* lang, unsigned number,
                           unsigned long size = 256) {
    return kotest::runForked([=] {
        lcMessages ? setenv("LC_MESSAGES", lcMessages, 1) : unsetenv("LC_MESSAGES");
        lang ? setenv("LANG", lang, 1) : unsetenv("LANG");
        unsetenv("LC_ALL");
        unsetenv("NLSPATH");
        setlocale(LC_MESSAGES, "C");
        BOS_RUNTIME_DEBUG.Level = KO_DEBUG_LOAD_STRING;
        char buffer[256];
        unsigned long length = LoadString(KOUTLHINST, number, buffer, size);
        std::printf("result(%lu)=[%s]\n", length, buffer);
        return 0;
    });
}

std::string chosen(const char* lcMessages, const char* lang) {
    std::string out = lookUp(lcMessages, lang, 1509).Out;
    size_t at = out.find("LoadString: Using LC_MESSAGES=");
    return at == std::string::npos ? "(none)" : out.substr(at + 30, out.find('\n', at) - at - 30);
}

} // namespace

TEST(LoadString, FindsTheCatalogueThroughTheLibraryPath) {
    ASSERT_NE(std::getenv("LD_LIBRARY_PATH"), nullptr) << "run with the build's lib directory";
    std::string out = lookUp(nullptr, nullptr, 1509).Out;
    EXPECT_NE(out.find("LoadString: HINST=kolib\nLoadString: Resource=1509\n"
                       "LoadString: Default LC_MESSAGES=C\nLoadString: Using LC_MESSAGES=en_US\n"
                       "LoadString: STDLIB Search locale/en_US/LC_MESSAGES/kolib.mo\n"
                       "LoadString: STDLIB Search found.\nLoadString: Domainpath="),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("/locale/en_US/LC_MESSAGES/kolib.mo\n"
                       "LoadString: dgettext with domainpath of "),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("LoadString: idResource=1509\nLoadString: Lookup returns: File not "
                       "found: %s1\nresult(19)=[File not found: %s1]\n"),
              std::string::npos)
        << out;
    // The size counts the terminator (0: no limit); a number without a message gives itself.
    EXPECT_NE(lookUp(nullptr, nullptr, 1509, 5).Out.find("result(4)=[File]"), std::string::npos);
    EXPECT_NE(lookUp(nullptr, nullptr, 1509, 0).Out.find("result(19)="), std::string::npos);
    EXPECT_NE(lookUp(nullptr, nullptr, 4321).Out.find("result(4)=[4321]"), std::string::npos);
}

KO_CHILD_SCENARIO(LoadStringWithoutCatalogue) {
    BOS_RUNTIME_DEBUG.Level = KO_DEBUG_LOAD_STRING;
    char buffer[64];
    LoadString(KOUTLHINST, 1502, buffer, sizeof buffer);
    std::printf("result=[%s]\n", buffer);
    return 0;
}

TEST(LoadString, WithoutTheCatalogueTheTextIsTheNumber) {
    std::string out = kotest::runWithoutCatalogue("LoadStringWithoutCatalogue").Out;
    EXPECT_NE(out.find("LoadString: dgettext with domainpath of kolib.mo\n"), std::string::npos);
    EXPECT_NE(out.find("result=[1502]"), std::string::npos) << out;
}

TEST(LoadString, MessageLocaleChoice) {
    EXPECT_EQ(chosen(nullptr, nullptr), "en_US");
    EXPECT_EQ(chosen(nullptr, "C"), "en_US");
    EXPECT_EQ(chosen(nullptr, "fr_FR"), "fr_FR");
    EXPECT_EQ(chosen("de_DE", "fr_FR"), "de_DE");
    EXPECT_EQ(chosen("C", "C"), "en_US");
    EXPECT_EQ(chosen("C", "fr_FR"), "fr_FR");
    EXPECT_EQ(chosen("C", nullptr), "");
}

// Whatever the locale a system runs under, messages are worded: the build links the common
// names to the catalogue, and a locale without one falls back by steps to en_US.
TEST(LoadString, EveryCommonLocaleFindsTheCatalogue) {
    for (const char* lang : {"C.UTF-8", "en_US.UTF-8", "de_DE.UTF-8", "POSIX", "C"}) {
        EXPECT_NE(lookUp(nullptr, lang, 1509).Out.find("result(19)=[File not found: %s1]"),
                  std::string::npos)
            << lang;
    }
    EXPECT_NE(lookUp(nullptr, nullptr, 1509).Out.find("result(19)="), std::string::npos);
    std::string out = lookUp("de_DE.UTF-8@euro", nullptr, 1509).Out;
    EXPECT_NE(out.find("Search locale/de_DE.UTF-8@euro/LC_MESSAGES/kolib.mo\n"
                       "LoadString: STDLIB Search locale/de_DE/LC_MESSAGES/kolib.mo\n"
                       "LoadString: STDLIB Search locale/de/LC_MESSAGES/kolib.mo\n"
                       "LoadString: STDLIB Search locale/en_US/LC_MESSAGES/kolib.mo\n"
                       "LoadString: STDLIB Search found.\n"),
              std::string::npos)
        << out;
}
