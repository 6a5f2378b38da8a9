// kvictl where cron jobs, agents and pipelines run it: several at once on one
// state file, full disks, links planted in shared folders, endless inputs,
// interruptions. Each row runs the real binary and says what must hold.
#include <gtest/gtest.h>

#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
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
// `fullDisk` lets no file grow past 2 KiB, as a full disk would.
int shell(const std::string& args, bool fullDisk = false) {
    const std::string cmd = std::string(fullDisk ? "trap '' XFSZ; ulimit -f 4; " : "") +
                            "TZ=UTC0 KVICTL_SIM_TIME=1700000000 " + KVICTL_BINARY + " " + args;
    const int rc = std::system(cmd.c_str());
    return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
}

// Runs kvictl on a new terminal, types `keys` once the passphrase prompt is
// shown, and returns what the terminal showed; `echo` tells whether the
// terminal echoes again once kvictl has ended.
std::string onTerminal(const std::vector<std::string>& args, const std::vector<std::string>& keys,
                       bool& echo) {
    int master = -1, slave = -1;
    if (::openpty(&master, &slave, nullptr, nullptr, nullptr) != 0)
        return "no terminal";
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::setsid();
        ::ioctl(slave, TIOCSCTTY, 0);
        for (int fd = 0; fd < 3; ++fd)
            ::dup2(slave, fd);
        std::vector<char*> argv = {const_cast<char*>(KVICTL_BINARY)};
        for (const std::string& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(KVICTL_BINARY, argv.data());
        ::_exit(127);
    }
    ::close(slave);
    std::string shown;
    std::size_t typed = 0, prompts = 0;
    char buf[4096];
    for (;;) {
        const ssize_t n = ::read(master, buf, sizeof buf);
        if (n <= 0)
            break; // EIO: kvictl has ended
        shown.append(buf, static_cast<std::size_t>(n));
        // One answer per prompt shown ("Passphrase: ", "Passphrase again: "):
        // the terminal drops what was typed before the echo is turned off.
        prompts = 0;
        for (std::size_t at = shown.find("Passphrase"); at != std::string::npos;
             at = shown.find("Passphrase", at + 1))
            ++prompts;
        while (typed < keys.size() &&
               typed<prompts&& ::write(master, keys[typed].data(), keys[typed].size())> 0)
            ++typed;
    }
    termios t{};
    echo = ::tcgetattr(master, &t) == 0 && (t.c_lflag & ECHO) != 0;
    ::waitpid(pid, nullptr, 0);
    ::close(master);
    return shown;
}

bool exists(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

// Temporary files kvictl left in the folder of `path` (".NAME.*.tmp").
long leftovers(const std::string& path) {
    const std::string prefix = "." + path.substr(path.rfind('/') + 1) + ".";
    const auto names = clitest::filesIn(path.substr(0, path.rfind('/')));
    return std::count_if(names.begin(), names.end(),
                         [&](const std::string& n) { return n.rfind(prefix, 0) == 0; });
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
    const std::string big = tempPath("hostile-big.json"); // long enough to be interrupted
    writeFile(big, R"({"base": "default", "eventLog": {"generate": 60000}})");
    const Hostile rows[] = {
        {"two writers and a reader on one state keep both changes",
         [&] {
             for (int round = 0; round < 8; ++round) {
                 std::remove(state.c_str());
                 const char* const runs[][2] = {
                     {"set", "rebuild-rate=50"}, {"set", "cc-rate=40"}, {"get", "bgi-rate"}};
                 Result r[3];
                 std::vector<std::thread> threads;
                 for (int i = 0; i < 3; ++i)
                     threads.emplace_back([&, i] {
                         r[i] = runKvictl({"--sim", "--sim-state", state, runs[i][0], runs[i][1]});
                     });
                 for (std::thread& t : threads)
                     t.join();
                 ASSERT_EQ(r[0].exitCode + r[1].exitCode + r[2].exitCode, 0)
                     << r[0].err << r[1].err << r[2].err;
                 clitest::expectFragments(
                     "get",
                     runKvictl({"--sim", "--sim-state", state, "get", "rebuild-rate", "cc-rate"})
                         .out,
                     {"rebuild-rate = 50 percent", "cc-rate      = 40 percent"});
             }
         }},
        {"read-only and unchanged runs never write the state, and work where no lock can be made",
         [&] {
             std::remove(state.c_str());
             EXPECT_EQ(runKvictl({"--sim", "--sim-state", state, "show", "all"}).exitCode, 0);
             EXPECT_FALSE(exists(state));
             ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "set", "cc-rate=40"}).exitCode, 0);
             struct stat before {
             }, after{};
             ::stat(state.c_str(), &before);
             for (const std::vector<std::string>& cmd : {std::vector<std::string>{"metrics"},
                                                         {"get", "cc-rate"},
                                                         {"set", "cc-rate=40"}}) {
                 std::vector<std::string> args = {"--sim", "--sim-state", state};
                 args.insert(args.end(), cmd.begin(), cmd.end());
                 EXPECT_EQ(runKvictl(args).exitCode, 0) << cmd[0];
             }
             ::stat(state.c_str(), &after);
             EXPECT_EQ(before.st_ino, after.st_ino) << "the state was rewritten";
             // In a folder the user may not write, no lock file can be made:
             // a read-only command still reads the state, a change is refused.
             const std::string dir = tempPath("hostile-ro");
             const std::string ro = dir + "/state.json";
             ::mkdir(dir.c_str(), 0755);
             ASSERT_EQ(runKvictl({"--sim", "--sim-state", ro, "set", "cc-rate=40"}).exitCode, 0);
             std::remove((ro + ".lock").c_str());
             ::chmod(ro.c_str(), 0644);
             ::chmod(dir.c_str(), 0555);
             // Root writes anywhere: the runs are made as nobody then.
             const std::string as =
                 ::geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
             auto asUser = [&](const std::string& args) {
                 const int rc = std::system(
                     (as + KVICTL_BINARY + " --sim --sim-state " + ro + " " + args + " 2>&1")
                         .c_str());
                 return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
             };
             EXPECT_EQ(asUser("get cc-rate | grep -q 'cc-rate = 40 percent'"), 0);
             EXPECT_EQ(asUser("set cc-rate=41 >/dev/null"), 2);
             ::chmod(dir.c_str(), 0755);
             std::remove(ro.c_str());
             ::rmdir(dir.c_str());
         }},
        {"stdout on a full disk is exit 5 with the reason",
         [&] {
             const std::string err = tempPath("hostile-full-err");
             EXPECT_EQ(shell("--sim show all > /dev/full 2>" + err), 5);
             EXPECT_NE(readFile(err).find("No space left on device"), std::string::npos);
         }},
        {"a full disk under the capture, log, state or textfile is exit 5 and keeps nothing new",
         [&] {
             const std::string out = tempPath("hostile-full-out");
             const std::string prom = tempPath("hostile-full.prom");
             const std::string rec = tempPath("hostile-full.jsonl");
             const std::string log = tempPath("hostile-full.log");
             writeFile(prom, "old\n");
             for (const std::string& args : {"--sim --record " + rec + " show all",
                                             "--sim --log " + log + " --log-level 4 show all",
                                             "--sim=" + big + " metrics --textfile " + prom})
                 EXPECT_EQ(shell(args + " >/dev/null 2>" + out, true), 5) << args;
             // The last run's failure, and the log's, are each told once.
             EXPECT_EQ(clitest::countOf(readFile(out), "--textfile"), 1u) << readFile(out);
             EXPECT_EQ(
                 shell("--sim --log " + log + " --log-level 4 show all >/dev/null 2>" + out, true),
                 5);
             EXPECT_EQ(clitest::countOf(readFile(out), "the debug log is incomplete"), 1u)
                 << readFile(out);
             EXPECT_FALSE(exists(rec)); // a capture is whole or absent
             EXPECT_EQ(readFile(prom), "old\n");
             EXPECT_EQ(leftovers(prom) + leftovers(rec), 0);
             std::remove(state.c_str());
             ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "set", "cc-rate=40"}).exitCode, 0);
             const std::string set = "--sim --sim-state " + state + " set cc-rate=41 >" + out;
             EXPECT_EQ(shell(set + " 2>&1", true), 5);
             EXPECT_EQ(readFile(out).find("Changed"), std::string::npos) << readFile(out);
             EXPECT_EQ(shell("-o json " + set + " 2>/dev/null", true), 5);
             EXPECT_EQ(readFile(out).find("true"), std::string::npos) << readFile(out);
             EXPECT_NE(runKvictl({"--sim", "--sim-state", state, "get", "cc-rate"}).out.find("40"),
                       std::string::npos);
             for (const std::string& p : {out, prom, rec, log})
                 std::remove(p.c_str());
         }},
        {"a reader that stops early ends kvictl quietly and leaves no temporary",
         [&] {
             const std::string err = tempPath("hostile-pipe-err");
             const std::string cap = tempPath("hostile-pipe.jsonl");
             std::system(("{ " + std::string(KVICTL_BINARY) + " --sim=" + big + " --record " + cap +
                          " events list 2>" + err + "; } | head -c 1 >/dev/null")
                             .c_str());
             EXPECT_EQ(readFile(err), "");
             EXPECT_EQ(leftovers(cap), 0);
             if (exists(cap)) { // SIGPIPE ignored by the runner: the run went on to the end
                 EXPECT_NE(readFile(cap).find("\"type\":\"dcmd\""), std::string::npos);
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
        {"captures, logs and states are private",
         [&] {
             const std::string cap = tempPath("hostile-cap.jsonl");
             const std::string log = tempPath("hostile-log.txt");
             for (const std::string& p : {cap, log, state})
                 std::remove(p.c_str());
             ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "--record", cap, "--log", log,
                                  "set", "cc-rate=41"})
                           .exitCode,
                       0);
             for (const std::string& p : {cap, log, state}) {
                 struct stat st {};
                 ASSERT_EQ(::stat(p.c_str(), &st), 0) << p;
                 EXPECT_EQ(st.st_mode & 0777, 0600u) << p;
             }
         }},
        {"a FIFO as the metrics textfile is refused before the scrape",
         [&] {
             std::remove(fifo.c_str());
             ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
             Result r = runKvictl({"--sim", "metrics", "--textfile", fifo});
             EXPECT_EQ(r.exitCode, 2) << r.err;
             struct stat st {};
             ASSERT_EQ(::lstat(fifo.c_str(), &st), 0);
             EXPECT_TRUE(S_ISFIFO(st.st_mode));
         }},
        {"a passphrase typed at a terminal is not echoed, also after Ctrl-C",
         [&] {
             const std::vector<std::string> args = {
                 "--sim", "-y", "security", "verify", "--passphrase-file", "-"};
             bool echo = false;
             const std::string shown = onTerminal(args, {"Secret-pass1\n"}, echo);
             EXPECT_NE(shown.find("Passphrase: "), std::string::npos) << shown;
             EXPECT_EQ(shown.find("Secret-pass1"), std::string::npos) << shown;
             EXPECT_TRUE(echo);
             onTerminal(args, {"\x03"}, echo);
             EXPECT_TRUE(echo) << "the terminal was left without echo";
             // A new key is typed twice; two different ones are refused.
             const std::string twice = onTerminal({"--sim", "-y", "security", "rekey"},
                                                  {"Secret-pass1\n", "Secret-pass2\n"}, echo);
             EXPECT_NE(twice.find("Passphrase again: "), std::string::npos) << twice;
             EXPECT_NE(twice.find("the two passphrases differ"), std::string::npos) << twice;
             // A passphrase to check is typed once; a named file is read, not the terminal.
             const std::string once = onTerminal({"--sim", "-y", "security", "verify"},
                                                 {"Secret-pass1\n", "Secret-pass1\n"}, echo);
             EXPECT_NE(once.find("Passphrase: "), std::string::npos) << once;
             EXPECT_EQ(once.find("again"), std::string::npos) << once;
             const std::string file = tempPath("hostile-pass");
             writeFile(file, "Secret-pass1\n");
             const std::string named =
                 onTerminal({"--sim", "-y", "security", "verify", "--passphrase-file", file},
                            {"Secret-pass1\n"}, echo);
             EXPECT_EQ(named.find("Passphrase"), std::string::npos) << named;
         }},
        {"a capture replays in the other format; a cut-short last line is never half used",
         [&] {
             const std::string cap = tempPath("hostile-torn.jsonl");
             for (const char* format : {"text", "json"}) {
                 ASSERT_EQ(
                     runKvictl({"--sim", "-o", format, "--record", cap, "get", "cc-rate"}).exitCode,
                     0);
                 const char* other = format[0] == 't' ? "json" : "text";
                 Result r = runKvictl({"--replay", cap, "-o", other, "get", "cc-rate"});
                 EXPECT_EQ(r.exitCode, 0) << format << ": " << r.err;
             }
             std::string text = readFile(cap);
             writeFile(cap, text + R"({"type":"dcmd","contro)");
             Result r = runKvictl({"--replay", cap, "get", "cc-rate"});
             EXPECT_EQ(r.exitCode, 0) << r.err;
             EXPECT_NE(r.err.find("is cut short and is ignored"), std::string::npos) << r.err;
             // A cut-short line the command needs: its request is missing,
             // never half used, and the run says so instead of leaving out a
             // member (OEM Code) with exit 0.
             ASSERT_EQ(runKvictl({"--sim", "--record", cap, "show", "capabilities"}).exitCode, 0);
             text = readFile(cap);
             const std::string line =
                 "line " + std::to_string(std::count(text.begin(), text.end(), '\n'));
             writeFile(cap, text.substr(0, text.size() - 40));
             r = runKvictl({"--replay", cap, "show", "capabilities"});
             EXPECT_EQ(r.exitCode, 1) << r.err;
             EXPECT_NE(r.err.find(cap + ": " + line + " is cut short"), std::string::npos) << r.err;
             EXPECT_NE(r.err.find("its " + line + " was cut short"), std::string::npos) << r.err;
         }},
        {"a kill during a write leaves the old or the new file and no temporary",
         [&] {
             const std::string cap = tempPath("hostile-killed.jsonl");
             const std::string prom = tempPath("hostile-killed.prom");
             std::remove(state.c_str());
             ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "set", "cc-rate=40"}).exitCode, 0);
             const std::vector<std::vector<std::string>> runs = {
                 {"--sim=" + big, "--record", cap, "events", "list"},
                 {"--sim=" + big, "metrics", "--textfile", prom},
                 {"--sim", "--sim-state", state, "set", "cc-rate=41"},
             };
             for (int round = 0; round < 6; ++round) {
                 std::remove(cap.c_str());
                 writeFile(prom, "old\n");
                 std::vector<std::unique_ptr<clitest::Child>> kids;
                 for (const auto& args : runs)
                     kids.push_back(std::make_unique<clitest::Child>(args));
                 ::usleep(100000 + 100000 * round); // only where the signal lands varies
                 for (auto& kid : kids)
                     kid->stop(SIGTERM);
                 for (const std::string& p : {cap, prom, state})
                     EXPECT_EQ(leftovers(p), 0) << p;
                 if (exists(cap)) { // finished before the signal: then it is whole
                     EXPECT_NE(readFile(cap).find("\"type\":\"dcmd\""), std::string::npos);
                 }
                 const std::string metrics = readFile(prom);
                 EXPECT_TRUE(metrics == "old\n" ||
                             metrics.find("kvictl_scrape_duration_seconds") != std::string::npos);
                 EXPECT_EQ(runKvictl({"--sim", "--sim-state", state, "get", "cc-rate"}).exitCode,
                           0);
             }
             for (const std::string& p : {cap, prom})
                 std::remove(p.c_str());
         }},
    };
    for (const Hostile& row : rows) {
        SCOPED_TRACE(row.what);
        row.check();
    }
    for (const std::string& p : {state, state + ".lock", victim, link, fifo, big})
        std::remove(p.c_str());
}

} // namespace
