#pragma once
// Runs the built kvictl binary as a child process with a controlled
// environment (TZ, KVICTL_SIM_TIME) and captures what it writes.
#include <map>
#include <string>
#include <vector>

namespace clitest {

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
    long maxRssKb = 0; // peak resident memory of the child
};

struct RunOptions {
    std::map<std::string, std::string> env; // added to / overriding the defaults
    std::string input;                      // written to stdin (stdin is a pipe, never a terminal)
};

// Defaults: TZ=UTC0, KVICTL_SIM_TIME=1700000000, KVICTL_DEVICE unset.
Result runKvictl(const std::vector<std::string>& args, const RunOptions& options = RunOptions());
// Another program (argv[0], looked up in PATH without a '/') in the same environment.
Result runProgram(const std::vector<std::string>& argv, const RunOptions& options = RunOptions());

// A fresh file name under the test's temporary folder.
std::string tempPath(const std::string& name);
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);

} // namespace clitest
