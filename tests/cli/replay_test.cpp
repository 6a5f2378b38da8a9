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

} // namespace
