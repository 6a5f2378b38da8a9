// Capture and replay through the command line: a run recorded with --record
// and replayed with --replay prints the same bytes and exits the same way,
// whatever the replaying host's clock and time zone; a capture that does not
// match the command fails naming both requests; passphrases never reach a
// capture.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "Run.h"
#include "tests/support/ScratchDir.h"

namespace {

using clitest::Result;
using clitest::runKvictl;
using clitest::shellWords;

// The replaying host differs from the recording one: another zone (with
// summer time) and no fixed simulator clock.
clitest::RunOptions otherHost() {
    clitest::RunOptions o;
    o.env = {{"TZ", "Europe/Berlin"}, {"KVICTL_SIM_TIME", ""}};
    return o;
}

TEST(Replay, ReproducesTheRecordedOutputByteForByte) {
    kvitest::ScratchDir dir("kvictl-replay");
    // A profile whose process-wide inputs differ from the defaults (the OEM
    // flag renames the battery), so a replay that ignored them would differ.
    clitest::writeFile(dir.file("oem.json"),
                       R"({"base": "default", "isOEMhp": true, "controllerType": 0})");
    // (The golden captures pin show all in text and JSON, on two profiles and
    // on two controllers.)
    const std::pair<std::string, const char*> cases[] = {
        // Recording options (leading NAME=VALUE words: its environment), the command.
        {"--sim", "-o json-compact show all"},
        {"--sim --sim-controllers 2", "-c all show all"},
        {"--sim=" + dir.file("oem.json"), "show all"},
        {"TZ=America/New_York KVICTL_SIM_TIME=1690000000 --sim", "-o json show all"}, // summer
        {"--sim --sim-controllers 2", "-c all list"},
    };
    for (const auto& [backend, command] : cases) {
        SCOPED_TRACE(backend + " " + command);
        const std::string capture = dir.file("replay.jsonl");
        clitest::RunOptions record;
        std::vector<std::string> args;
        for (const std::string& w : shellWords(backend + " --record " + capture + " " + command))
            if (w.find('=') != std::string::npos && w[0] >= 'A' && w[0] <= 'Z')
                record.env[w.substr(0, w.find('='))] = w.substr(w.find('=') + 1);
            else
                args.push_back(w);
        Result recorded = runKvictl(args, record);
        ASSERT_EQ(0, recorded.exitCode) << recorded.err;
        ASSERT_FALSE(recorded.out.empty());
        Result replayed = runKvictl(shellWords("--replay " + capture + " " + command), otherHost());
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
    kvitest::ScratchDir dir("kvictl-replay");
    std::vector<std::vector<std::string>> examples; // the --record one, then the --replay one
    std::istringstream in(help.out);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("  kvictl ", 0) != 0 || (line.find(" --record ") == std::string::npos &&
                                                line.rfind("  kvictl --replay ", 0) != 0))
            continue;
        std::vector<std::string> args = shellWords(line.substr(9)), run;
        for (std::size_t i = 0; i < args.size(); ++i) {
            if (args[i] == "--device") { // no hardware here
                run.push_back("--sim");
                ++i;
            } else {
                const bool file = i > 0 && (args[i - 1] == "--record" || args[i - 1] == "--replay");
                run.push_back(file ? dir.file("example.jsonl") : args[i]);
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

// What a capture keeps besides the requests, what it never keeps, and a
// replay of another command.
#define SECRET "Kv-Secret-Pass-77\n"
#define NO_SECRET                                                                                  \
    "\t\"redacted\":true\t!Kv-Secret-Pass-77\t!4b762d5365637265742d\t!4B762D5365637265742D"
#define CREATE "--sim --sim-state @S -y security create --passphrase-file -"
#define KEYED "--sim --sim-state @S --record @C"
TEST(Replay, CaptureContents) {
    const clitest::Case cases[] = {
        {"the inputs that are not requests", "--sim --record @C show basic", 0, "", "", "",
         R"({"name":"now","type":"fact","value":"1700000000"})"
         "\t"
         R"({"name":"isOEMhp","type":"fact","value":"0"})"
         "\t"
         R"({"name":"oemCheck","type":"fact","value":"0"})"
         "\t"
         R"({"name":"controllerType","type":"fact","value":"0"})"
         "\t"
         R"({"name":"tz","type":"fact","value":"UTC0"})"
         "\t"
         R"("name":"argv")"},
        {"another command names its own command line", "--replay @C -o json show version", 0,
         "\"--replay\",\t\"version\"", "", "", "", "--sim --record @C show basic"},
        {"another command's requests do not match", "--replay @C show status", 1, "",
         "replay_mismatch (replay mismatch on controller 0 at request 2: the command sent "
         "KV_DCMD_CTRL_OEM_ID_GET (0x010E8481) mailbox 000000000000000000000000 length 4, but the "
         "capture \tline 10 recorded KV_DCMD_CTRL_MFC_MFG_GET (0x010E0301) mailbox "
         "000000000000000000000000 length 32); the capture does not match this command; record "
         "it again",
         "", "", "--sim --record @C show basic"},
        // No passphrase, given or suggested, reaches a capture, in any
        // security request; a redacted request still replays.
        {"no passphrase of a create", KEYED " -y security create --passphrase-file -", 0, "", "",
         "", "KV_DCMD_CTRL_LOCK_KEY_CREATE" NO_SECRET, "", SECRET},
        {"no passphrase of a verify", KEYED " security verify --passphrase-file -", 0, "", "", "",
         "KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW" NO_SECRET, CREATE, SECRET},
        {"no passphrase of a rekey", KEYED " security rekey --passphrase-file -", 0, "", "", "",
         "KV_DCMD_CTRL_LOCK_KEY_REKEY" NO_SECRET, CREATE, SECRET},
        {"no passphrase of a restore", KEYED " security restore --passphrase-file -", 0, "", "", "",
         "KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW" NO_SECRET, CREATE, SECRET},
        {"no suggested passphrase", "--sim --record @C security suggest", 0, "= Kv#6243ed3fSim0\n",
         "", "", "_SUGGEST_PASSPHRASE\t\"redacted\":true\t!Kv#6243\t!4b7623363234\t!4B7623363234"},
        {"a redacted request replays", "--replay @C security verify --passphrase-file -", 0, "", "",
         "", "", CREATE "; " KEYED " security verify --passphrase-file -", SECRET},
    };
    clitest::expectCases(cases);
}

} // namespace
