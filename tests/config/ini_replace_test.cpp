// Rewrites that never tear or get lost: concurrent writer processes, readers during rewrites,
// writers killed mid-write, links, permissions, a full disk, and names and values that could
// not be read back.
#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>
#include "child_process.h"
#include "config_test_support.h"
#include "kolib/profile.h"

namespace {

// `sections` sections of `entries` entries each, about 30 bytes a line.
std::string bigText(int sections, int entries) {
    std::string text;
    for (int s = 0; s < sections; ++s) {
        text += "[Section" + std::to_string(s) + "]\n";
        for (int e = 0; e < entries; ++e)
            text +=
                "Entry" + std::to_string(e) + "=value " + std::to_string(s * entries + e) + "\n";
    }
    return text;
}

std::string get(const char* section, const char* entry, const std::string& file) {
    char buffer[256];
    unsigned long n =
        koGetPrivateProfileString(section, entry, "<missing>", buffer, sizeof buffer, file.c_str());
    return std::string(buffer, n);
}

pid_t spawn(const std::function<int()>& body) {
    std::fflush(stdout);
    pid_t pid = fork();
    if (pid == 0) _exit(body());
    return pid;
}

int waitFor(pid_t pid) {
    int status = 0;
    if (waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

double seconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec + now.tv_nsec / 1e9;
}

} // namespace

TEST(IniReplace, TwoWriterProcessesLoseNothing) {
    kotest::ConfigHome home;
    const std::string body = bigText(1000, 3); // about 30 KB
    home.Dir.write("shared.ini", "[A]\n[B]\n" + body);
    const std::string file = home.at("shared.ini");
    const int rounds = 25;
    auto writer = [&](const char* section) {
        return [&, section] {
            KoIniFileCache* cache = koPrivateProfileInit(file.c_str());
            for (int i = 0; i < rounds; ++i) {
                std::string entry = "e" + std::to_string(i), value = "v" + std::to_string(i);
                // Both the held cache and the one-call form, which builds its own each time.
                unsigned ok = i % 2 ? koWritePrivateProfileString(section, entry.c_str(),
                                                                  value.c_str(), cache)
                                    : static_cast<unsigned>(WritePrivateProfileString(
                                          section, entry.c_str(), value.c_str(), file.c_str()));
                if (ok != 1) return 1;
            }
            koPrivateProfileTerm(cache);
            return 0;
        };
    };
    pid_t a = spawn(writer("A")), b = spawn(writer("B"));
    ASSERT_EQ(waitFor(a), 0);
    ASSERT_EQ(waitFor(b), 0);
    // New entries go first in their section, so the text is known exactly.
    std::string lines;
    for (int i = rounds - 1; i >= 0; --i)
        lines += "e" + std::to_string(i) + "=v" + std::to_string(i) + "\n";
    EXPECT_EQ(home.read("shared.ini"), "[A]\n" + lines + "[B]\n" + lines + body);
    EXPECT_FALSE(kotest::exists(file + ".kotmp"));
}

TEST(IniReplace, ReadersNeverSeeAMissingOrPartialFile) {
    kotest::ConfigHome home;
    home.Dir.write("odbc.ini", "[Counter]\nvalue=v0\n" + bigText(20000, 5)); // about 3 MB
    kotest::EnvGuard dataSources("ODBCINI", home.at("odbc.ini").c_str());
    const std::string done = home.at("writer.done");
    // Looked up by name: a missing data-source file would end the reader with status 255.
    auto reader = [&] {
        long reads = 0, lastSeen = 0;
        char buffer[64];
        while (!kotest::exists(done) || reads < 10) {
            if (koGetProfileString("Section19999", "Entry4", "", buffer, sizeof buffer,
                                   "ODBC.INI") != 11 ||
                std::string(buffer) != "value 99999")
                return 1;
            koGetProfileString("Counter", "value", "", buffer, sizeof buffer, "ODBC.INI");
            if (buffer[0] != 'v') return 2;
            long seen = std::atol(buffer + 1);
            if (seen < lastSeen) return 3; // only values written, never one from the past
            lastSeen = seen;
            ++reads;
        }
        return 0;
    };
    std::vector<pid_t> readers;
    for (int i = 0; i < 3; ++i) readers.push_back(spawn(reader));
    pid_t writer = spawn([&] {
        double end = seconds() + 3;
        for (int n = 1; seconds() < end; ++n)
            if (koWriteProfileString("Counter", "value", ("v" + std::to_string(n)).c_str(),
                                     "ODBC.INI") != 1)
                return 1;
        home.Dir.write("writer.done", "");
        return 0;
    });
    EXPECT_EQ(waitFor(writer), 0);
    if (!kotest::exists(done)) home.Dir.write("writer.done", "");
    for (pid_t pid : readers) EXPECT_EQ(waitFor(pid), 0);
}

TEST(IniReplace, AKilledWriterLeavesTheOldOrTheNewText) {
    kotest::ConfigHome home;
    const std::string rest = bigText(60000, 2); // about 2 MB
    auto textWith = [&](int n) {
        char value[16];
        std::snprintf(value, sizeof value, "%06d", n); // one size for every version
        return "[K]\nversion=" + std::string(value) + "\n" + rest;
    };
    home.Dir.write("crash.ini", textWith(0));
    const std::string file = home.at("crash.ini");
    auto writeVersion = [&](int n) {
        char value[16];
        std::snprintf(value, sizeof value, "%06d", n);
        return WritePrivateProfileString("K", "version", value, file.c_str()) == 1 ? 0 : 1;
    };
    double start = seconds();
    pid_t timed = spawn([&] { return writeVersion(1); });
    ASSERT_EQ(waitFor(timed), 0);
    double duration = seconds() - start;
    std::string current = textWith(1);
    ASSERT_EQ(home.read("crash.ini"), current);

    // Kill moments spread over the whole write: the window follows the length of the last
    // write that ran to its end, so a busy machine does not turn every kill into a late one.
    std::mt19937 random(20261125);
    int completed = 0, killed = 0;
    for (int n = 2; killed < 50 && n < 400; ++n) {
        double started = seconds();
        double deadline =
            started + std::uniform_real_distribution<double>(0, duration * 1.2)(random);
        pid_t child = spawn([&] { return writeVersion(n); });
        int status = 0;
        pid_t done = 0;
        while ((done = waitpid(child, &status, WNOHANG)) == 0 && seconds() < deadline) usleep(100);
        if (done == 0) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
        }
        std::string now = home.read("crash.ini");
        if (WIFSIGNALED(status)) {
            ++killed;
            if (now == textWith(n)) current = now; // killed after the rename
            ASSERT_EQ(now, current) << "torn by a kill after " << deadline - started << " s";
        } else {
            // A write that ran to its end leaves its text and no temporary file.
            duration = seconds() - started;
            ++completed;
            current = textWith(n);
            EXPECT_EQ(WEXITSTATUS(status), 0);
            EXPECT_EQ(now, current);
            EXPECT_FALSE(kotest::exists(file + ".kotmp"));
        }
    }
    EXPECT_GE(killed, 50);
    // The next write that completes takes the stale temporary file away.
    ASSERT_EQ(writeVersion(99), 0);
    EXPECT_EQ(home.read("crash.ini"), textWith(99));
    EXPECT_FALSE(kotest::exists(file + ".kotmp"));
    std::printf("%d writes killed, %d completed; one write %.0f ms\n", killed, completed,
                duration * 1000);
}

TEST(IniReplace, LinksModesOwnersAndAFullDisk) {
    kotest::ConfigHome home;
    // A symbolic link (relative, through a second link) is replaced where it leads.
    mkdir(home.at("real").c_str(), 0755);
    home.Dir.write("real/target.ini", "[S]\nk=old\n");
    ASSERT_EQ(symlink("real/target.ini", home.at("hop.ini").c_str()), 0);
    ASSERT_EQ(symlink(home.at("hop.ini").c_str(), home.at("link.ini").c_str()), 0);
    EXPECT_EQ(WritePrivateProfileString("S", "k", "new", home.at("link.ini").c_str()), 1);
    struct stat info;
    ASSERT_EQ(lstat(home.at("link.ini").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_EQ(home.read("real/target.ini"), "[S]\nk=new\n");
    EXPECT_FALSE(kotest::exists(home.at("link.ini.kotmp")) ||
                 kotest::exists(home.at("real/target.ini.kotmp")));

    // Permission bits, owner and group stay; a hard link keeps the old text.
    home.Dir.write("secret.ini", "[S]\npwd=a\n");
    const std::string secret = home.at("secret.ini");
    chmod(secret.c_str(), 0640);
    ASSERT_EQ(link(secret.c_str(), home.at("other-name.ini").c_str()), 0);
    bool root = geteuid() == 0;
    if (root) ASSERT_EQ(chown(secret.c_str(), 65534, 65534), 0);
    EXPECT_EQ(WritePrivateProfileString("S", "pwd", "b", secret.c_str()), 1);
    ASSERT_EQ(stat(secret.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    if (root) EXPECT_EQ(info.st_uid, 65534u);
    if (root) EXPECT_EQ(info.st_gid, 65534u);
    EXPECT_EQ(home.read("other-name.ini"), "[S]\npwd=a\n");

    // A write that hits the file-size limit leaves the old text and no temporary file.
    const std::string large = "[S]\nk=v\n" + bigText(40000, 4); // about 4.5 MB
    home.Dir.write("large.ini", large);
    const std::string path = home.at("large.ini");
    kotest::ChildResult child = kotest::runForked([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{2 << 20, 2 << 20};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 10;
        kotest::PushedList errors;
        if (WritePrivateProfileString("S", "k", "changed", path.c_str()) != 0) return 1;
        return errors.lastNumber() == 30041 ? 0 : 2;
    });
    EXPECT_EQ(child.Status, 0);
    EXPECT_TRUE(home.read("large.ini") == large);
    EXPECT_FALSE(kotest::exists(path + ".kotmp"));
}

TEST(IniReplace, NamesAndValuesThatCouldNotBeReadBack) {
    kotest::ConfigHome home;
    const std::string text = "[S]\nk=v\n";
    home.Dir.write("r.ini", text);
    const std::string file = home.at("r.ini");
    struct Case {
        const char *Section, *Entry, *Value;
        unsigned short Error;
    } cases[] = {
        {"S]x", "k", "v", 2718},  {"S\nT", "k", "v", 2718},        {"S", "a=b", "v", 2719},
        {"S", "a\nb", "v", 2719}, {"S", ";k", "v", 2719},          {"S", " #k", "v", 2719},
        {"S", "[k", "v", 2719},   {"S", "k", "v\n[T]\nB=x", 2720}, {"S", "k", "v\r", 2720},
    };
    for (const Case& c : cases) {
        kotest::PushedList errors;
        EXPECT_EQ(WritePrivateProfileString(c.Section, c.Entry, c.Value, file.c_str()), 0)
            << c.Entry;
        EXPECT_EQ(errors.lastNumber(), c.Error) << c.Entry;
        EXPECT_EQ(home.read("r.ini"), text);
    }
    kotest::PushedList errors;
    WritePrivateProfileString("S", "k", "a\nb", file.c_str());
    EXPECT_EQ(errors.lastText(), "The value of k in section S cannot hold a line feed or a "
                                 "carriage return");
    // Deleting needs no such care: a name that cannot exist is simply not found.
    EXPECT_EQ(WritePrivateProfileString("S", "a=b", nullptr, file.c_str()), 1);
    EXPECT_EQ(home.read("r.ini"), text);
}
