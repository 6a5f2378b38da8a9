// kvictl where cron jobs, agents and pipelines run it: several at once on one
// state file, full disks, links planted in shared folders, endless inputs,
// interruptions. Each row runs the real binary and says what must hold.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Run.h"

using clitest::readFile;
using clitest::Result;
using clitest::runKvictl;
using clitest::RunOptions;
using clitest::tempPath;
using clitest::writeFile;

namespace {

// Runs `kvictl ARGS` through the shell (for redirections); the exit status.
int shell(const std::string& args) {
    const std::string cmd = "TZ=UTC0 KVICTL_SIM_TIME=1700000000 " + std::string(KVICTL_BINARY) +
                            " " + args + " 2>/dev/null";
    const int rc = std::system(cmd.c_str());
    return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
}

bool exists(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

// Temporary files kvictl left in the folder of `path` (".NAME.*.tmp").
int leftovers(const std::string& path) {
    const std::string dir = path.substr(0, path.rfind('/'));
    const std::string prefix = "." + path.substr(path.rfind('/') + 1) + ".";
    int n = 0;
    if (DIR* d = ::opendir(dir.c_str())) {
        while (dirent* e = ::readdir(d))
            if (std::string(e->d_name).rfind(prefix, 0) == 0)
                ++n;
        ::closedir(d);
    }
    return n;
}

struct Hostile {
    const char* what;
    std::function<void()> check;
};

TEST(Hostile, NothingLostNothingSilentlyWrong) {
    const std::string state = tempPath("hostile-state.json");
    const std::string victim = tempPath("hostile-victim");
    const std::string link = tempPath("hostile-link");
    const std::string fifo = tempPath("hostile-fifo.prom");
    const Hostile rows[] = {
        {"two writers and a reader on one state keep both changes",
         [&] {
             for (int round = 0; round < 8; ++round) {
                 std::remove(state.c_str());
                 Result a, b, c;
                 std::thread ta([&] {
                     a = runKvictl({"--sim", "--sim-state", state, "set", "rebuild-rate=50"});
                 });
                 std::thread tb([&] {
                     b = runKvictl({"--sim", "--sim-state", state, "set", "cc-rate=40"});
                 });
                 std::thread tc([&] {
                     c = runKvictl({"--sim", "--sim-state", state, "get", "bgi-rate"});
                 });
                 ta.join();
                 tb.join();
                 tc.join();
                 ASSERT_EQ(a.exitCode + b.exitCode + c.exitCode, 0) << a.err << b.err << c.err;
                 Result r =
                     runKvictl({"--sim", "--sim-state", state, "get", "rebuild-rate", "cc-rate"});
                 EXPECT_NE(r.out.find("rebuild-rate = 50 percent"), std::string::npos) << r.out;
                 EXPECT_NE(r.out.find("cc-rate      = 40 percent"), std::string::npos) << r.out;
             }
         }},
        {"a read-only command never writes the state",
         [&] {
             std::remove(state.c_str());
             EXPECT_EQ(runKvictl({"--sim", "--sim-state", state, "show", "all"}).exitCode, 0);
             EXPECT_FALSE(exists(state));
         }},
        {"stdout on a full disk is exit 5 with a message",
         [&] { EXPECT_EQ(shell("--sim show all > /dev/full"), 5); }},
        {"a reader that stops early ends kvictl quietly",
         [&] {
             const std::string err = tempPath("hostile-pipe-err");
             std::system(("{ " + std::string(KVICTL_BINARY) + " --sim events list 2>" + err +
                          "; } | head -c 1 >/dev/null")
                             .c_str());
             EXPECT_EQ(readFile(err), "");
         }},
        {"a device as capture, log or state is refused before anything is sent",
         [&] {
             for (const char* opt : {"--record", "--log"}) {
                 Result r = runKvictl({"--sim", opt, "/dev/full", "list"});
                 EXPECT_EQ(r.exitCode, 2) << opt;
                 EXPECT_NE(r.err.find("not a regular file"), std::string::npos) << r.err;
             }
         }},
        {"a link planted where a capture or log goes is not followed",
         [&] {
             for (const char* opt : {"--record", "--log"}) {
                 writeFile(victim, "keep");
                 std::remove(link.c_str());
                 ASSERT_EQ(::symlink(victim.c_str(), link.c_str()), 0);
                 Result r = runKvictl({"--sim", opt, link, "list"});
                 EXPECT_EQ(r.exitCode, 2) << opt;
                 EXPECT_NE(r.err.find("symbolic link"), std::string::npos) << r.err;
                 EXPECT_EQ(readFile(victim), "keep");
             }
         }},
        {"captures and logs are private",
         [&] {
             const std::string cap = tempPath("hostile-cap.jsonl");
             const std::string log = tempPath("hostile-log.txt");
             std::remove(cap.c_str());
             std::remove(log.c_str());
             ASSERT_EQ(runKvictl({"--sim", "--record", cap, "--log", log, "list"}).exitCode, 0);
             struct stat st {};
             ASSERT_EQ(::stat(cap.c_str(), &st), 0);
             EXPECT_EQ(st.st_mode & 0777, 0600u);
             ASSERT_EQ(::stat(log.c_str(), &st), 0);
             EXPECT_EQ(st.st_mode & 0777, 0600u);
         }},
        {"a FIFO as the metrics textfile stays a FIFO",
         [&] {
             std::remove(fifo.c_str());
             ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
             Result r = runKvictl({"--sim", "metrics", "--textfile", fifo});
             EXPECT_NE(r.exitCode, 0);
             struct stat st {};
             ASSERT_EQ(::lstat(fifo.c_str(), &st), 0);
             EXPECT_TRUE(S_ISFIFO(st.st_mode));
         }},
        {"an endless input ends at once with exit 2",
         [&] {
             const std::vector<std::vector<std::string>> runs = {
                 {"--sim=/dev/zero", "list"},
                 {"--sim", "--sim-state", "/dev/zero", "list"},
                 {"--replay", "/dev/zero", "list"},
                 {"--sim", "-y", "security", "verify", "--passphrase-file", "/dev/zero"},
             };
             for (const auto& args : runs) {
                 Result r = runKvictl(args);
                 EXPECT_EQ(r.exitCode, 2) << args[0] << " " << args[1] << ": " << r.err;
                 EXPECT_NE(r.err.find("/dev/zero: is a device"), std::string::npos) << r.err;
             }
         }},
        {"a capture whose last line was cut short replays the rest",
         [&] {
             const std::string cap = tempPath("hostile-torn.jsonl");
             ASSERT_EQ(runKvictl({"--sim", "--record", cap, "list"}).exitCode, 0);
             std::string text = readFile(cap);
             writeFile(cap, text + R"({"type":"dcmd","contro)");
             Result r = runKvictl({"--replay", cap, "list"});
             EXPECT_EQ(r.exitCode, 0) << r.err;
             EXPECT_NE(r.err.find("is cut short and is ignored"), std::string::npos) << r.err;
         }},
        {"a kill during a capture leaves no partial file and no temporary",
         [&] {
             const std::string big = tempPath("hostile-big.json");
             const std::string cap = tempPath("hostile-killed.jsonl");
             writeFile(big, R"({"base": "default", "eventLog": {"generate": 60000}})");
             for (int round = 0; round < 5; ++round) {
                 std::remove(cap.c_str());
                 const pid_t pid = ::fork();
                 if (pid == 0) {
                     ::execl(KVICTL_BINARY, "kvictl", ("--sim=" + big).c_str(), "--record",
                             cap.c_str(), "events", "list", static_cast<char*>(nullptr));
                     ::_exit(127);
                 }
                 ::usleep(150000 + 50000 * round);
                 ::kill(pid, SIGTERM);
                 int status = 0;
                 ::waitpid(pid, &status, 0);
                 EXPECT_EQ(leftovers(cap), 0);
                 if (exists(cap)) { // finished before the signal: then it is whole
                     EXPECT_NE(readFile(cap).find("\"type\":\"dcmd\""), std::string::npos);
                 }
             }
         }},
        {"empty, shared and unprintable option values are refused",
         [&] {
             const std::vector<std::pair<std::vector<std::string>, std::string>> runs = {
                 {{"--sim", "-c", "", "list"}, "-c: an empty value"},
                 {{"--sim", "--record", "", "list"}, "--record: an empty path"},
                 {{"--sim", "--sim-state", state, "--record", state, "list"}, "the same file"},
                 {{"--sim", "--log", "a\x1b[2Jb", "list"}, "a\\x1b[2Jb"},
             };
             for (const auto& [args, message] : runs) {
                 Result r = runKvictl(args);
                 EXPECT_EQ(r.exitCode, 2) << message;
                 EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
                 EXPECT_EQ(r.err.find('\x1b'), std::string::npos) << "raw escape on the terminal";
             }
         }},
    };
    for (const Hostile& row : rows) {
        SCOPED_TRACE(row.what);
        row.check();
    }
    for (const std::string& p : {state, state + ".lock", victim, link, fifo})
        std::remove(p.c_str());
}

} // namespace
