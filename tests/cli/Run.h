#pragma once
// Runs the built kvictl binary as a child process with a controlled
// environment (TZ, KVICTL_SIM_TIME) and captures what it writes.
#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace clitest {

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
    long maxRssKb = 0;   // peak resident memory of the child
    bool killed = false; // still running after RunOptions::limitSeconds
};

struct RunOptions {
    std::map<std::string, std::string> env; // added to / overriding the defaults
    std::string input;                      // written to stdin (stdin is a pipe, never a terminal)
    // Kill the child after this many seconds (0: wait as long as it runs). A
    // bound so that a fault cannot hang the suite, never a timing assertion.
    int limitSeconds = 0;
};

// Defaults: TZ=UTC0, KVICTL_SIM_TIME=1700000000, KVICTL_DEVICE unset.
Result runKvictl(const std::vector<std::string>& args, const RunOptions& options = RunOptions());
// Another program (argv[0], looked up in PATH without a '/') in the same environment.
Result runProgram(const std::vector<std::string>& argv, const RunOptions& options = RunOptions());

// A kvictl left running while the test does other things (events follow):
// its stdout is read line by line; stop() signals it and collects the rest.
class Child {
public:
    explicit Child(const std::vector<std::string>& args, const RunOptions& options = RunOptions());
    ~Child(); // kills and reaps a child still running
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // The next whole line of stdout (without '\n'); false when stdout ended
    // or `limitSeconds` passed first.
    bool readLine(std::string& line, int limitSeconds = 30);
    // Sends `sig`, reads what is left and reaps the child (killed when it
    // does not end within `limitSeconds`). `out` holds all of stdout.
    Result stop(int sig, int limitSeconds = 30);

private:
    // Reads what is ready on stdout/stderr within `ms`; false when both ended.
    bool pump(int ms);

    pid_t pid_ = -1;
    int out_ = -1, err_ = -1;
    std::string all_, pending_, errText_;
    std::size_t lineStart_ = 0;
};

// A fresh file name under the test's temporary folder.
std::string tempPath(const std::string& name);
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);
// How often `what` occurs in `text`.
std::size_t countOf(const std::string& text, const std::string& what);
// The names in a folder, sorted.
std::vector<std::string> filesIn(const std::string& dir);
// The words of a command line as a POSIX shell splits them (quotes and
// backslashes; no expansions).
std::vector<std::string> shellWords(const std::string& line);

// Fragments that must appear in `text`, or with a leading '!' must not.
void expectFragments(const std::string& what, const std::string& text,
                     const std::vector<std::string>& fragments);
// Cuts the capture at `path` after its first `keep` controller requests, as a
// controller that stops answering part-way leaves it: replayed, the later
// requests fail with a replay mismatch.
void cutCapture(const std::string& path, int keep);

} // namespace clitest
