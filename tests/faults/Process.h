#pragma once
// Runs the kvictl binary as a child process with a fixed clock and time zone,
// and keeps what it wrote.
#include <string>
#include <vector>

namespace faults {

struct Run {
    int exitCode = -1; // -1: killed by a signal (signal() says which)
    int signal = 0;
    std::string out;
    std::string err;
};

// TZ=UTC0, KVICTL_SIM_TIME=1700000000, KVICTL_DEVICE unset; stdin is /dev/null.
Run runKvictl(const std::vector<std::string>& args);

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& text);
bool fileExists(const std::string& path);

} // namespace faults
