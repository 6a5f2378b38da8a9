// Capture and replay through the command line: a run recorded with --record
// and replayed with --replay prints the same bytes and exits the same way,
// whatever the replaying host's clock and time zone; a capture that does not
// match the command fails naming both requests; passphrases never reach a
// capture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "Run.h"

namespace {

using clitest::readFile;
using clitest::Result;
using clitest::runKvictl;
using clitest::RunOptions;
using clitest::tempPath;
using clitest::writeFile;

// The replaying host differs from the recording one: another zone (with
// summer time) and no fixed simulator clock.
RunOptions otherHost() {
    RunOptions o;
    o.env["TZ"] = "Europe/Berlin";
    o.env["KVICTL_SIM_TIME"] = "";
    return o;
}

std::vector<std::string> concat(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::string hexOf(const std::string& s, bool upper) {
    std::string out;
    char buf[3];
    for (unsigned char c : s) {
        std::snprintf(buf, sizeof buf, upper ? "%02X" : "%02x", c);
        out += buf;
    }
    return out;
}

struct ReplayCase {
    const char* name;
    std::vector<std::string> backend; // simulator options of the recording run
    std::vector<std::string> command; // the same for both runs
    RunOptions recordEnv;
};

TEST(Replay, ReproducesTheRecordedOutputByteForByte) {
    // A profile whose process-wide inputs differ from the defaults (the OEM
    // flag renames the battery), so a replay that ignored them would differ.
    std::string oemProfile = tempPath("oem.json");
    writeFile(oemProfile, R"({"base": "default", "isOEMhp": true, "controllerType": 0})");
    RunOptions summer;
    summer.env["TZ"] = "America/New_York";
    summer.env["KVICTL_SIM_TIME"] = "1690000000"; // July: summer time
    const ReplayCase cases[] = {
        {"text", {"--sim"}, {"show", "all"}, {}},
        {"json", {"--sim"}, {"-o", "json", "show", "all"}, {}},
        {"json-compact", {"--sim"}, {"-o", "json-compact", "show", "all"}, {}},
        {"two controllers", {"--sim", "--sim-controllers", "2"}, {"-c", "all", "show", "all"}, {}},
        {"two controllers json",
         {"--sim", "--sim-controllers", "2"},
         {"-c", "all", "-o", "json", "show", "all"},
         {}},
        {"previous-gen", {"--sim=previous-gen"}, {"show", "all"}, {}},
        {"oem flag", {"--sim=" + oemProfile}, {"show", "all"}, {}},
        {"summer time zone", {"--sim"}, {"-o", "json", "show", "all"}, summer},
        {"list", {"--sim", "--sim-controllers", "2"}, {"-c", "all", "list"}, {}},
    };
    for (const ReplayCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::string capture = tempPath("replay.jsonl");
        Result recorded =
            runKvictl(concat(concat(c.backend, {"--record", capture}), c.command), c.recordEnv);
        ASSERT_EQ(0, recorded.exitCode) << recorded.err;
        ASSERT_FALSE(recorded.out.empty());
        Result replayed = runKvictl(concat({"--replay", capture}, c.command), otherHost());
        EXPECT_EQ(recorded.exitCode, replayed.exitCode) << replayed.err;
        EXPECT_EQ(recorded.out, replayed.out);
        EXPECT_EQ("", replayed.err);
    }
}

// The global help shows how to record and replay, and the example pair does
// what it says (on the simulator instead of a device): the replay prints what
// the recorded run printed. File and device options name their value kind.
TEST(Replay, GlobalHelpExamplesRecordAndReplay) {
    Result help = runKvictl({"--help"});
    ASSERT_EQ(0, help.exitCode) << help.err;
    for (const char* option :
         {"--sim-state FILE", "--device PATH", "--replay FILE", "--record FILE", "--log FILE"})
        EXPECT_NE(std::string::npos, help.out.find(std::string("\n  ") + option + " "))
            << option << " in\n"
            << help.out;

    const std::string capture = tempPath("example.jsonl");
    std::vector<std::vector<std::string>> examples; // the --record one, then the --replay one
    std::istringstream in(help.out);
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("  kvictl ", 0) != 0)
            continue;
        std::istringstream words(line.substr(9));
        std::vector<std::string> args;
        for (std::string w; words >> w;)
            args.push_back(w);
        const bool record = std::find(args.begin(), args.end(), "--record") != args.end();
        const bool replay = !args.empty() && args[0] == "--replay";
        if (!record && !replay)
            continue;
        std::vector<std::string> run;
        for (std::size_t i = 0; i < args.size(); ++i) {
            if (args[i] == "--device") {
                run.push_back("--sim"); // no hardware here
                ++i;
            } else if (i > 0 && (args[i - 1] == "--record" || args[i - 1] == "--replay")) {
                run.push_back(capture);
            } else {
                run.push_back(args[i]);
            }
        }
        examples.push_back(run);
    }
    ASSERT_EQ(2u, examples.size()) << help.out;
    Result recorded = runKvictl(examples[0]);
    ASSERT_EQ(0, recorded.exitCode) << recorded.err;
    Result replayed = runKvictl(examples[1], otherHost());
    EXPECT_EQ(0, replayed.exitCode) << replayed.err;
    EXPECT_EQ(recorded.out, replayed.out);
}

TEST(Replay, TheCaptureKeepsTheInputsThatAreNotRequests) {
    std::string capture = tempPath("facts.jsonl");
    ASSERT_EQ(0, runKvictl({"--sim", "--record", capture, "show", "basic"}).exitCode);
    std::string text = readFile(capture);
    for (const char* fact : {R"({"name":"now","type":"fact","value":"1700000000"})",
                             R"({"name":"isOEMhp","type":"fact","value":"0"})",
                             R"({"name":"oemCheck","type":"fact","value":"0"})",
                             R"({"name":"controllerType","type":"fact","value":"0"})",
                             R"({"name":"tz","type":"fact","value":"UTC0"})"})
        EXPECT_NE(std::string::npos, text.find(fact)) << fact;
    EXPECT_NE(std::string::npos, text.find(R"("name":"argv")")) << text.substr(0, 600);

    // A different command than the recorded one names its own command line
    // in the envelope (here it also sends other requests, so it fails).
    Result other = runKvictl({"--replay", capture, "-o", "json", "show", "bus"});
    EXPECT_NE(std::string::npos, other.out.find("\"bus\"")) << other.out;
    EXPECT_NE(std::string::npos, other.out.find("\"--replay\"")) << other.out;
}

TEST(Replay, ATamperedMailboxFailsNamingBothRequests) {
    std::string capture = tempPath("good.jsonl");
    ASSERT_EQ(0, runKvictl({"--sim", "--record", capture, "show", "all"}).exitCode);
    // Change the first mailbox byte of the first recorded direct command that
    // has an all-zero mailbox.
    std::istringstream in(readFile(capture));
    std::string line, tampered, changedLine;
    bool done = false;
    unsigned lineNo = 0, changedNo = 0;
    while (std::getline(in, line)) {
        ++lineNo;
        const std::string key = R"("mbox":"000000000000000000000000")";
        std::size_t at = line.find(key);
        if (!done && line.find(R"("type":"dcmd")") != std::string::npos &&
            at != std::string::npos) {
            line.replace(at + 8, 2, "5a");
            done = true;
            changedNo = lineNo;
            changedLine = line;
        }
        tampered += line + "\n";
    }
    ASSERT_TRUE(done);
    std::string bad = tempPath("tampered.jsonl");
    writeFile(bad, tampered);

    Result r = runKvictl({"--replay", bad, "show", "all"});
    EXPECT_EQ(1, r.exitCode);
    EXPECT_NE(std::string::npos, r.err.find("replay_mismatch")) << r.err;
    EXPECT_NE(std::string::npos, r.err.find("the command sent ")) << r.err;
    EXPECT_NE(std::string::npos, r.err.find("mailbox 000000000000000000000000")) << r.err;
    EXPECT_NE(std::string::npos, r.err.find("line " + std::to_string(changedNo) + " recorded "))
        << r.err;
    EXPECT_NE(std::string::npos, r.err.find("mailbox 5a0000000000000000000000")) << r.err;
    EXPECT_NE(std::string::npos, r.err.find("record it again")) << r.err;
}

TEST(Replay, NoPassphraseReachesACapture) {
    const std::string pass = "Kv-Secret-Pass-77";
    const std::string newPass = "Kv-Other-Pass-88";
    std::string passFile = tempPath("pass");
    std::string newFile = tempPath("newpass");
    writeFile(passFile, pass + "\n");
    writeFile(newFile, newPass + "\n");
    std::string state = tempPath("state.json");
    const std::vector<std::vector<std::string>> steps = {
        {"-y", "security", "create", "--passphrase-file", passFile},
        {"security", "verify", "--passphrase-file", passFile},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step[step.size() - 3]);
        std::string capture = tempPath("security.jsonl");
        Result r = runKvictl(concat({"--sim", "--sim-state", state, "--record", capture}, step));
        ASSERT_EQ(0, r.exitCode) << r.err;
        std::string text = readFile(capture);
        ASSERT_NE(std::string::npos, text.find("KV_DCMD_CTRL_LOCK_KEY"))
            << "the lock-key request is captured";
        EXPECT_NE(std::string::npos, text.find(R"("redacted":true)"));
        for (const std::string& secret : {pass, newPass}) {
            EXPECT_EQ(std::string::npos, text.find(secret));
            EXPECT_EQ(std::string::npos, text.find(hexOf(secret, false)));
            EXPECT_EQ(std::string::npos, text.find(hexOf(secret, true)));
        }
    }
}

} // namespace
