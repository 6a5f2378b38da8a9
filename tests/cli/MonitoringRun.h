#pragma once
// Helpers of the monitoring tests (metrics_test.cpp, check_test.cpp): kvictl
// runs through the end-to-end runner (Run.h); an exposition is checked with
// the Prometheus client's text parser (prom_check.py).
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/cli/Run.h"
#include "tests/support/ScratchDir.h"

namespace kvimon {

using clitest::readFile;
using clitest::Result;
using clitest::writeFile;

// A fresh folder for the run's files, removed at the end.
struct TempDir : kvitest::ScratchDir {
    TempDir() : kvitest::ScratchDir("kvictl-mon") {}
};

// kvictl with the runner's fixed clock and time zone (plus `env`).
inline Result kvictl(const std::vector<std::string>& args,
                     const std::map<std::string, std::string>& env = {}) {
    clitest::RunOptions options;
    options.env = env;
    return clitest::runKvictl(args, options);
}

// A profile on top of the default one with these "records" and "fail" objects ("" = none).
inline std::string profileText(const char* records, const char* fail) {
    std::string text = R"({"base": "default")";
    if (records != nullptr && *records)
        text += std::string(R"(, "records": )") + records;
    if (fail != nullptr && *fail)
        text += std::string(R"(, "fail": )") + fail;
    return text + "}";
}

// Every read of metrics and check failing.
#define KVI_ALL_READS                                                                              \
    R"({"0x01010000": 4, "0x01030100": 4, "0x01070100": 4, "0x01140100": 4, )"                     \
    R"("0x01140200": 4, "0x05010000": 4, "0x05020000": 4, "0x05050100": 4})"

// A capture of `kvictl <profile> metrics` cut after its first `keep`
// controller requests, as a controller that stops answering part-way leaves
// it: replayed, the later requests fail with a replay mismatch. Returns the
// capture's path ("" when the recording run failed).
inline std::string truncatedCapture(const TempDir& tmp, const std::string& profile, int keep) {
    const std::string full = tmp.file("full.jsonl"), cut = tmp.file("cut.jsonl");
    if (kvictl({profile, "--record", full, "metrics"}).exitCode != 0)
        return "";
    std::istringstream in(readFile(full));
    std::string line, text;
    int requests = 0;
    while (std::getline(in, line)) {
        const bool request = line.find(R"("type":"dcmd")") != std::string::npos ||
                             line.find(R"("type":"smp")") != std::string::npos;
        if (!request || requests++ < keep)
            text += line + "\n";
    }
    writeFile(cut, text);
    return cut;
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
            bool all = s.name == name;
            for (const auto& m : match)
                all = all && s.labels.count(m.first) && s.labels.at(m.first) == m.second;
            if (all)
                out.push_back(s);
        }
        return out;
    }
};

// Checks `text` with tests/cli/prom_check.py (the Prometheus client's parser
// plus the format rules kvictl promises), run by the system python3 with
// Debian's python3-prometheus-client.
inline Parsed parseExposition(const std::string& text, const TempDir& tmp) {
    Parsed p;
    if (std::system("/usr/bin/python3 -c 'import prometheus_client.parser' >/dev/null 2>&1") != 0) {
        p.errors = "no python3 with prometheus_client: install python3-prometheus-client "
                   "(scripts/deps.sh)";
        return p;
    }
    const std::string in = tmp.file("exposition.prom");
    writeFile(in, text);
    Result r = clitest::runProgram(
        {"/usr/bin/python3", std::string(KVI_SOURCE_DIR) + "/tests/cli/prom_check.py", in});
    nlohmann::json doc = nlohmann::json::parse(r.out, nullptr, false);
    if (r.exitCode != 0 || doc.is_discarded() || !doc.contains("samples")) {
        p.errors = "prom_check.py exit " + std::to_string(r.exitCode) + ": " + r.err;
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
