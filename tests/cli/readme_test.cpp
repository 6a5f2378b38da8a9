// The README's examples are the program's own output: every ```console block
// holds `$ kvictl ...` lines, each followed by what it prints, and they are
// run here on the simulator with the zone and clock the README names
// (TZ=UTC0, KVICTL_SIM_TIME=1700000000). scripts/update-readme-examples
// rewrites the blocks from the program.
#include <gtest/gtest.h>

#include <sstream>

#include "Run.h"

namespace {

using namespace clitest;

struct Example {
    int line = 0; // of the command in README.md
    std::string command, expected;
};

std::vector<Example> consoleExamples(const std::string& readme) {
    std::vector<Example> out;
    std::istringstream in(readme);
    bool inBlock = false;
    int n = 0;
    for (std::string line; std::getline(in, line);) {
        ++n;
        if (!inBlock) {
            inBlock = line == "```console";
        } else if (line == "```") {
            inBlock = false;
        } else if (line.rfind("$ ", 0) == 0) {
            out.push_back({n, line.substr(2), ""});
        } else if (!out.empty()) {
            out.back().expected += line + "\n";
        }
    }
    return out;
}

TEST(Readme, ExamplesAreWhatTheProgramPrints) {
    const std::vector<Example> examples =
        consoleExamples(readFile(std::string(KVI_SOURCE_DIR) + "/README.md"));
    EXPECT_GE(examples.size(), 8u);
    for (const Example& e : examples) {
        SCOPED_TRACE("README.md:" + std::to_string(e.line) + ": $ " + e.command);
        std::vector<std::string> args = shellWords(e.command); // as the updater's shlex
        ASSERT_FALSE(args.empty());
        ASSERT_EQ(args.front(), "kvictl");
        args.erase(args.begin());
        Result r = runKvictl(args);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        if (r.out == e.expected)
            continue;
        const std::string want = tempPath("readme-want"), got = tempPath("readme-got");
        writeFile(want, e.expected);
        writeFile(got, r.out);
        Result diff =
            runProgram({"diff", "-u", "--label", "README.md", "--label", "kvictl", want, got});
        ADD_FAILURE() << "README example differs from the output (scripts/update-readme-examples "
                         "rewrites it):\n"
                      << diff.out;
        std::remove(want.c_str());
        std::remove(got.c_str());
    }
}

} // namespace
