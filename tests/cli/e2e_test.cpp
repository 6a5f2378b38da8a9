// End-to-end tests of kvictl: the real binary against the simulator, with a
// fixed TZ and KVICTL_SIM_TIME, driven by data in tests/cli/data/:
// goldens.list names every command whose text and JSON output are golden
// files in tests/golden/cli/ (KVI_UPDATE_GOLDEN=1 rewrites them); each
// *.cases file holds behaviour beyond the goldens, one case a block of lines
// (the format is described at the top of commands.cases).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "Run.h"
#include "tests/support/ScratchDir.h"
#include "tests/support/TestData.h"

using namespace clitest;

namespace {

// A value with the escapes \n, \t, \r, \\ and \xHH replaced.
std::string unescape(const std::string& v) {
    std::string out;
    for (std::size_t i = 0; i < v.size(); ++i) {
        if (v[i] != '\\' || i + 1 == v.size()) {
            out += v[i];
            continue;
        }
        const char c = v[++i];
        if (c == 'x' && i + 2 < v.size()) {
            out += static_cast<char>(std::stoi(v.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            out += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
        }
    }
    return out;
}

// The case lines of a file in tests/cli/data.
std::vector<std::pair<int, std::string>> dataLines(const std::string& name) {
    return kvitest::dataLines("tests/cli/data/" + name);
}

// A line of goldens.list: "NAME | ARGS [| BEFORE [| STDIN]]", BEFORE holding
// commands (';' between them) run first on the same --sim-state file.
struct GoldenCase {
    std::string name, args, before, input;
};

// Runs a case after `globals`: its `before` steps first, on a state file that
// the case then runs on. "# exit N" and stdout.
std::string runGolden(const GoldenCase& c, const std::string& globals) {
    kvitest::ScratchDir dir("kvictl-golden");
    const std::string state = c.before.empty() ? "" : " --sim-state " + dir.file("state.json");
    RunOptions o;
    o.input = c.input;
    std::istringstream steps(c.before);
    for (std::string step; std::getline(steps, step, ';');) {
        Result r = runKvictl(shellWords("--sim" + state + " " + step), o);
        EXPECT_EQ(r.exitCode, 0) << "step of " << c.name << ": " << r.err;
    }
    Result r = runKvictl(shellWords(globals + state + " " + c.args), o);
    // The JSON envelope repeats argv: keep the temporary path out of the golden file.
    for (std::size_t at; !state.empty() && (at = r.out.find(dir.path())) != std::string::npos;)
        r.out.replace(at, dir.path().size() + 11, "STATE.json");
    // A scrape's own durations vary from run to run.
    r.out = std::regex_replace(r.out, std::regex("(\n\\w+_duration_seconds(\\{[^}]*\\})?) [^\n]*"),
                               "$1 X");
    return "# exit " + std::to_string(r.exitCode) + "\n" + r.out;
}

void expectGolden(const std::string& name, const std::string& actual) {
    EXPECT_EQ(kvitest::golden("tests/golden/cli/" + name, actual), actual)
        << "output of " << name << " differs from its golden file";
}

// Every command group, in text and in JSON, on a fresh default controller.
TEST(Golden, EveryCommandInTextAndJson) {
    std::vector<GoldenCase> all;
    for (const auto& [n, line] : dataLines("goldens.list")) {
        std::vector<std::string> f;
        for (std::size_t at = 0, bar = 0; bar != std::string::npos; at = bar + 3)
            f.push_back(line.substr(at, (bar = line.find(" | ", at)) - at));
        f.resize(4);
        all.push_back({f[0], f[1], f[2], unescape(f[3])});
    }
    ASSERT_GE(all.size(), 80u);
    for (const GoldenCase& c : all) {
        SCOPED_TRACE(c.name);
        const std::string text = runGolden(c, "--sim");
        expectGolden(c.name + ".txt", text);
        const std::string json = runGolden(c, "--sim -o json");
        expectGolden(c.name + ".json", json);
        if (c.name.rfind("metrics", 0) != 0) { // text only: in JSON a usage error
            EXPECT_EQ(text.substr(0, text.find('\n')), json.substr(0, json.find('\n')));
        }
        auto doc = nlohmann::json::parse(json.substr(json.find('\n'))); // one document, or throws
        EXPECT_EQ("# exit " + doc["kvictl"]["exit_status"].dump(), json.substr(0, json.find('\n')));
    }
}

// A case of a *.cases file.
struct Case {
    std::string name, profile, input, run;
    std::vector<std::string> before, out, err, file;
    int exit = 0, cut = -1;
};

std::vector<Case> loadCases(const std::string& file) {
    std::vector<Case> all;
    for (const auto& [n, line] : dataLines(file)) {
        const std::string key = line.substr(0, line.find(' '));
        const std::string value = line.substr(std::min(line.size(), key.size() + 1));
        if (key == "==") {
            all.emplace_back().name = file + ":" + std::to_string(n) + ": " + value;
            continue;
        }
        if (all.empty()) {
            ADD_FAILURE() << file << ":" << n << ": a key before the first case";
            continue;
        }
        Case& c = all.back();
        std::map<std::string, std::vector<std::string>*> lists = {
            {"before", &c.before}, {"out", &c.out}, {"err", &c.err}, {"file", &c.file}};
        if (lists.count(key))
            lists[key]->push_back(unescape(value));
        else if (key == "profile")
            c.profile = value; // JSON as written
        else if (key == "stdin" || key == "run")
            (key == "run" ? c.run : c.input) = unescape(value);
        else if (key == "exit" || key == "cut")
            (key == "exit" ? c.exit : c.cut) = std::stoi(value);
        else
            ADD_FAILURE() << file << ":" << n << ": unknown key '" << key << "'";
    }
    return all;
}

void expectCase(const Case& c) {
    SCOPED_TRACE(c.name);
    kvitest::ScratchDir dir("kvictl-case");
    const std::string capture = dir.file("cap.jsonl");
    const std::map<std::string, std::string> files = {{"@P", "--sim=" + dir.file("p.json")},
                                                      {"@S", dir.file("state.json")},
                                                      {"@C", capture},
                                                      {"@D", dir.path()}};
    writeFile(dir.file("p.json"), std::string(R"({"base": "default")") +
                                      (c.profile.empty() ? "" : ", ") + c.profile + "}");
    auto run = [&](const std::string& line) {
        RunOptions o;
        o.input = c.input;
        o.limitSeconds = 300; // only so that a fault cannot hang the suite
        std::vector<std::string> args;
        for (std::string w : shellWords(line)) {
            for (const auto& [key, value] : files)
                for (std::size_t at; (at = w.find(key)) != std::string::npos;)
                    w.replace(at, key.size(), value);
            const std::size_t eq = w.find('=');
            if (args.empty() && eq != std::string::npos && w[0] >= 'A' && w[0] <= 'Z')
                o.env[w.substr(0, eq)] = w.substr(eq + 1);
            else
                args.push_back(w);
        }
        return runKvictl(args, o);
    };
    for (const std::string& step : c.before) {
        const bool mayFail = step[0] == '!';
        Result r = run(step.substr(mayFail));
        EXPECT_TRUE(mayFail || r.exitCode == 0) << step << ": " << r.err;
    }
    if (c.cut >= 0)
        cutCapture(capture, c.cut);
    Result r = run(c.run);
    EXPECT_EQ(r.exitCode, c.exit) << r.out << r.err;
    expectFragments("stdout", r.out, c.out);
    expectFragments("stderr", r.err, c.err);
    expectFragments("file @C", readFile(capture), c.file);
    // A usage error is one line; so is a monitoring plugin's verdict.
    if (c.exit == 2 && !r.err.empty()) {
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
    if (r.out.rfind("KVICTL ", 0) == 0) {
        EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << r.out;
        EXPECT_EQ(r.out.back(), '\n');
    }
    // What kvictl made here is private, and no temporary file is left.
    for (const auto& e : std::filesystem::directory_iterator(dir.path())) {
        const std::string name = e.path().filename().string();
        struct stat st {};
        EXPECT_NE(name[0], '.') << "left behind: " << name;
        if (name != "p.json" && ::stat(e.path().c_str(), &st) == 0 && S_ISREG(st.st_mode)) {
            EXPECT_EQ(st.st_mode & 0777, 0600u) << name;
        }
    }
}

class Cases : public ::testing::TestWithParam<const char*> {};

TEST_P(Cases, BehaveAsTheFileSays) {
    const std::vector<Case> all = loadCases(std::string(GetParam()) + ".cases");
    ASSERT_FALSE(all.empty());
    for (const Case& c : all)
        expectCase(c);
}

INSTANTIATE_TEST_SUITE_P(Files, Cases,
                         ::testing::Values("commands", "events", "hostile", "monitoring", "replay"),
                         [](const auto& info) { return std::string(info.param); });

// Every record `raw` names reads whole on the default profile or, for the
// short schedule forms, on the previous generation.
TEST(Cli, RawReadsEveryRecordItNames) {
    const std::string help = runKvictl({"raw", "--help"}).out;
    std::istringstream names(help.substr(help.find("Records: ") + 9));
    int records = 0;
    for (std::string name; names >> name && name != "Examples:"; ++records) {
        if (name.back() == ',')
            name.pop_back();
        EXPECT_TRUE(runKvictl({"--sim", "raw", name}).exitCode == 0 ||
                    runKvictl({"--sim=previous-gen", "raw", name}).exitCode == 0)
            << name;
    }
    EXPECT_GE(records, 28);
}

} // namespace
