#pragma once
// Helpers of the monitoring tests (metrics_test.cpp, check_test.cpp): kvictl
// runs through the end-to-end runner (Run.h); an exposition is checked with
// the Prometheus client's text parser (prom_check.py).
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/cli/Run.h"
#include "tests/support/ScratchDir.h"

extern char** environ;

namespace kvimon {

struct RunResult {
    int code = -1;
    std::string out, err;
};

using clitest::readFile;
using clitest::writeFile;

// A fresh folder for the run's files, removed at the end.
struct TempDir : kvitest::ScratchDir {
    TempDir() : kvitest::ScratchDir("kvictl-mon") {}
};

// Runs `program args...` (the parser script) with stdout and stderr captured
// through files in `tmp`.
inline RunResult runProgram(const std::string& program, const std::vector<std::string>& args,
                            const TempDir& tmp,
                            const std::map<std::string, std::string>& env = {}) {
    std::map<std::string, std::string> vars;
    for (char** e = environ; *e != nullptr; ++e) {
        std::string kv = *e;
        std::size_t eq = kv.find('=');
        if (eq != std::string::npos)
            vars[kv.substr(0, eq)] = kv.substr(eq + 1);
    }
    for (const auto& kv : env)
        vars[kv.first] = kv.second;
    std::vector<std::string> envText;
    for (const auto& kv : vars)
        envText.push_back(kv.first + "=" + kv.second);
    std::vector<char*> envp;
    for (std::string& s : envText)
        envp.push_back(&s[0]);
    envp.push_back(nullptr);

    std::vector<std::string> argText = {program};
    argText.insert(argText.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& s : argText)
        argv.push_back(&s[0]);
    argv.push_back(nullptr);

    const std::string outPath = tmp.file("stdout"), errPath = tmp.file("stderr");
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_addopen(&fa, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&fa, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&fa, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    RunResult r;
    if (posix_spawn(&pid, program.c_str(), &fa, nullptr, argv.data(), envp.data()) == 0) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        r.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    posix_spawn_file_actions_destroy(&fa);
    r.out = readFile(outPath);
    r.err = readFile(errPath);
    return r;
}

// kvictl with the runner's fixed clock and time zone (plus `env`).
inline RunResult kvictl(const std::vector<std::string>& args, const TempDir&,
                        const std::map<std::string, std::string>& env = {}) {
    clitest::RunOptions options;
    options.env = env;
    clitest::Result r = clitest::runKvictl(args, options);
    RunResult out;
    out.code = r.exitCode;
    out.out = r.out;
    out.err = r.err;
    return out;
}

// A capture of `kvictl <profile> metrics` cut after its first `keep`
// controller requests, as a controller that stops answering part-way leaves
// it: replayed, the later requests fail with a replay mismatch. Returns the
// capture's path ("" when the recording run failed).
inline std::string truncatedCapture(const TempDir& tmp, const std::string& profile, int keep) {
    const std::string full = tmp.file("full.jsonl"), cut = tmp.file("cut.jsonl");
    if (kvictl({profile, "--record", full, "metrics"}, tmp).code != 0)
        return "";
    std::istringstream in(readFile(full));
    std::string line, text;
    int requests = 0;
    while (std::getline(in, line)) {
        const bool request = line.find(R"("type":"dcmd")") != std::string::npos ||
                             line.find(R"("type":"smp")") != std::string::npos;
        if (request && requests++ >= keep)
            continue;
        text += line + "\n";
    }
    writeFile(cut, text);
    return cut;
}

// A Python 3 that has Debian's python3-prometheus-client ("" when none has).
inline std::string pythonWithParser() {
    for (const char* py : {"/usr/bin/python3", "/usr/local/bin/python3"}) {
        if (::access(py, X_OK) != 0)
            continue;
        std::string cmd = std::string(py) + " -c 'import prometheus_client.parser' >/dev/null 2>&1";
        if (std::system(cmd.c_str()) == 0)
            return py;
    }
    return "";
}

// One parsed sample.
struct Sample {
    std::string name;
    std::map<std::string, std::string> labels;
    double value = 0;
};

struct Parsed {
    bool ok = false;
    std::string errors; // the checker's findings when !ok
    std::vector<Sample> samples;

    // The samples of `name` whose labels include every pair of `match`.
    std::vector<Sample> find(const std::string& name,
                             const std::map<std::string, std::string>& match = {}) const {
        std::vector<Sample> out;
        for (const Sample& s : samples) {
            if (s.name != name)
                continue;
            bool all = true;
            for (const auto& m : match) {
                auto it = s.labels.find(m.first);
                all = all && it != s.labels.end() && it->second == m.second;
            }
            if (all)
                out.push_back(s);
        }
        return out;
    }
};

// Checks `text` with tests/cli/prom_check.py (the Prometheus client's parser
// plus the format rules kvictl promises).
inline Parsed parseExposition(const std::string& text, const TempDir& tmp) {
    Parsed p;
    const std::string python = pythonWithParser();
    if (python.empty()) {
        p.errors = "no python3 with prometheus_client: install python3-prometheus-client "
                   "(scripts/deps.sh)";
        return p;
    }
    const std::string in = tmp.file("exposition.prom");
    writeFile(in, text);
    RunResult r =
        runProgram(python, {std::string(KVI_SOURCE_DIR) + "/tests/cli/prom_check.py", in}, tmp);
    if (r.code != 0) {
        p.errors = r.err.empty() ? "prom_check.py exit " + std::to_string(r.code) : r.err;
        return p;
    }
    nlohmann::json doc = nlohmann::json::parse(r.out, nullptr, false);
    if (doc.is_discarded() || !doc.contains("samples")) {
        p.errors = "prom_check.py printed no samples";
        return p;
    }
    for (const auto& s : doc["samples"]) {
        Sample sample;
        sample.name = s["name"].get<std::string>();
        for (auto it = s["labels"].begin(); it != s["labels"].end(); ++it)
            sample.labels[it.key()] = it.value().get<std::string>();
        sample.value = s["value"].get<double>();
        p.samples.push_back(std::move(sample));
    }
    p.ok = true;
    return p;
}

} // namespace kvimon
