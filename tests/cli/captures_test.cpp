// The golden captures in tests/captures/ (made by scripts/update-captures from
// the bundled simulator profiles): replaying each with its recorded command
// prints exactly the recorded output. A change in the requests a command sends
// or in how the answers are shown makes these fail; regenerate them with
// scripts/update-captures when the change is intended.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "Run.h"

namespace {

struct GoldenCapture {
    std::string name;
    std::vector<std::string> command;
};

std::string capturesDir() {
    return std::string(KVI_SOURCE_DIR) + "/tests/captures/";
}

std::vector<GoldenCapture> manifest() {
    std::vector<GoldenCapture> out;
    std::ifstream in(capturesDir() + "MANIFEST");
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string name, profile, controllers, w;
        if (!(words >> name) || name[0] == '#' || !(words >> profile >> controllers))
            continue;
        GoldenCapture g;
        g.name = name;
        while (words >> w)
            g.command.push_back(w);
        out.push_back(g);
    }
    return out;
}

TEST(GoldenCaptures, EveryCaptureReplaysToItsRecordedOutput) {
    std::vector<GoldenCapture> all = manifest();
    ASSERT_GE(all.size(), 4u) << "tests/captures/MANIFEST is missing or empty";
    clitest::RunOptions host;
    host.env["TZ"] = "Australia/Sydney"; // the capture's own zone must win
    host.env["KVICTL_SIM_TIME"] = "";
    for (const GoldenCapture& g : all) {
        SCOPED_TRACE(g.name);
        std::string expected = clitest::readFile(capturesDir() + g.name + ".out");
        ASSERT_FALSE(expected.empty())
            << "missing " << g.name << ".out; run scripts/update-captures";
        std::vector<std::string> args = {"--replay", capturesDir() + g.name + ".jsonl"};
        args.insert(args.end(), g.command.begin(), g.command.end());
        clitest::Result r = clitest::runKvictl(args, host);
        EXPECT_EQ(0, r.exitCode) << r.err;
        EXPECT_EQ("", r.err);
        EXPECT_EQ(expected, r.out)
            << "replay of " << g.name << " differs; if intended, run scripts/update-captures";
    }
}

} // namespace
