// kvictl metrics end to end: the real binary against the simulator, its
// output checked with the Prometheus client's text parser (prom_check.py).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include <map>
#include <nlohmann/json.hpp>

#include "Run.h"
#include "tests/support/ScratchDir.h"

using namespace clitest;

namespace {

struct Sample {
    std::string name;
    std::map<std::string, std::string> labels;
    double value = 0;
};

// The samples of an exposition as tests/cli/prom_check.py (the Prometheus
// client's parser plus the format rules kvictl promises, with Debian's
// python3-prometheus-client) reads them; `errors` holds its findings.
struct Parsed {
    bool ok = false;
    std::string errors;
    std::vector<Sample> samples;

    // The samples of `name` whose labels include every pair of `match`.
    std::vector<Sample> find(const std::string& name,
                             const std::map<std::string, std::string>& match = {}) const {
        std::vector<Sample> out;
        for (const Sample& s : samples) {
            bool all = s.name == name;
            for (const auto& [k, v] : match)
                all = all && s.labels.count(k) && s.labels.at(k) == v;
            if (all)
                out.push_back(s);
        }
        return out;
    }
};

Parsed parseExposition(const std::string& text) {
    RunOptions o;
    o.input = text;
    Result r = runProgram(
        {"/usr/bin/python3", std::string(KVI_SOURCE_DIR) + "/tests/cli/prom_check.py", "-"}, o);
    Parsed p;
    nlohmann::json doc = nlohmann::json::parse(r.out, nullptr, false);
    p.ok = r.exitCode == 0 && !doc.is_discarded() && doc.contains("samples");
    p.errors = "prom_check.py exit " + std::to_string(r.exitCode) + ": " + r.err;
    for (const auto& s : p.ok ? doc["samples"] : nlohmann::json::array())
        p.samples.push_back({s["name"].get<std::string>(),
                             s["labels"].get<std::map<std::string, std::string>>(),
                             s["value"].get<double>()});
    return p;
}

double value(const Parsed& p, const std::string& name, const std::string& controller = "0") {
    auto found = p.find(name, {{"controller", controller}});
    EXPECT_EQ(found.size(), 1u) << name;
    return found.empty() ? -1 : found.front().value;
}

// Of a 0/1 state family, the label value of the series that is 1 (exactly one must be).
std::string current(const Parsed& p, const std::string& name, const std::string& key,
                    const std::string& controller = "0") {
    std::string on;
    int ones = 0;
    for (const Sample& s : p.find(name, {{"controller", controller}})) {
        EXPECT_TRUE(s.value == 0 || s.value == 1) << name;
        if (s.value == 1 && ++ones)
            on = s.labels.at(key);
    }
    EXPECT_LE(ones, 1) << name << " has several current states";
    return on;
}

} // namespace

// Every bundled profile, two controllers each (no -c: a scrape and a check
// cover every controller): a valid exposition, every controller up, state
// families with exactly one current state; check finds both ok and gives
// temperatures and counts as performance data.
TEST(MetricsE2E, EveryBundledProfileParsesAndChecksOk) {
    for (const auto& e :
         std::filesystem::directory_iterator(std::string(KVI_SOURCE_DIR) + "/sim/profiles")) {
        const std::string profile = e.path().stem().string();
        SCOPED_TRACE(profile);
        Result r = runKvictl({"--sim=" + profile, "--sim-controllers", "2", "metrics"});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        Result check = runKvictl({"--sim=" + profile, "--sim-controllers", "2", "check"});
        EXPECT_EQ(check.exitCode, 0) << check.err;
        expectFragments(
            profile, check.out,
            {"KVICTL OK - c0 ", "; c1 ", " | c0_roc_temperature=", " c1_virtual_drives="});
        Parsed p = parseExposition(r.out);
        ASSERT_TRUE(p.ok) << p.errors << "\n" << r.out;
        ASSERT_EQ(p.find("kvictl_scrape_duration_seconds").size(), 1u);
        EXPECT_TRUE(p.find("kvictl_scrape_duration_seconds").front().labels.empty());
        for (const std::string c : {"0", "1"}) {
            EXPECT_EQ(value(p, "kvictl_up", c), 1);
            EXPECT_EQ(value(p, "kvictl_scrape_read_errors", c), 0);
            auto info = p.find("kvictl_controller_info", {{"controller", c}});
            ASSERT_EQ(info.size(), 1u);
            for (const char* key : {"model", "serial", "firmware", "package", "driver",
                                    "driver_version", "pci_address"})
                EXPECT_FALSE(info.front().labels.at(key).empty()) << key;
            EXPECT_EQ(current(p, "kvictl_controller_status", "status", c), "optimal");
            for (const char* family :
                 {"kvictl_battery_state", "kvictl_patrol_read_state", "kvictl_alarm_state"})
                EXPECT_FALSE(current(p, family, "state", c).empty()) << family;
        }
        // The second controller is its own device: another serial number.
        EXPECT_NE(
            p.find("kvictl_controller_info", {{"controller", "0"}}).front().labels.at("serial"),
            p.find("kvictl_controller_info", {{"controller", "1"}}).front().labels.at("serial"));
    }
}

// A read that fails leaves its series out; the rest is still a valid file,
// on stdout and through --textfile. kvictl_up is 0 when no read answered or
// when the controller stopped answering part-way (what was read is kept).
TEST(MetricsE2E, InjectedFailuresOmitSeries) {
    struct Case {
        const char* name;
        const char* fail; // the profile's "fail" object
        double up;
        double readErrors; // -1: at least one
        int exit;
        const char* absent;  // families, space-separated
        const char* present; // families, space-separated
        int keep = -1;       // >= 0: replay a capture of the profile cut after this many requests
        const char* status = nullptr; // the current kvictl_controller_status, when given
    };
    const Case cases[] = {
        {"battery status", R"({"0x05010000": 4})", 1, 1, 0,
         "kvictl_battery_state kvictl_battery_present kvictl_battery_status_flag "
         "kvictl_battery_temperature_celsius",
         "kvictl_controller_info kvictl_virtual_drives kvictl_patrol_read_state"},
        {"patrol read status", R"({"0x01070100": 4})", 1, 1, 0,
         "kvictl_patrol_read_state kvictl_patrol_read_completed_iterations_total",
         "kvictl_controller_info kvictl_battery_state kvictl_alarm_state"},
        // An unreadable status is unknown, never a made-up state; kvictl exits 1.
        {"controller information", R"({"0x01010000": 4})", 1, -1, 1,
         "kvictl_controller_info kvictl_virtual_drives kvictl_roc_temperature_celsius "
         "kvictl_lock_key_failed",
         "kvictl_controller_status kvictl_patrol_read_state kvictl_alarm_state", -1, "unknown"},
        {"every read",
         R"({"0x01010000": 4, "0x01030100": 4, "0x01070100": 4, "0x01140100": 4, )"
         R"("0x01140200": 4, "0x05010000": 4, "0x05020000": 4, "0x05050100": 4})",
         0, -1, 1,
         "kvictl_controller_info kvictl_controller_status kvictl_battery_state kvictl_alarm_state",
         "kvictl_scrape_duration_seconds"},
        // Controller information and battery answered, then the capture ends:
        // patrol read, both consistency-check reads and the alarm get no answer.
        {"stops answering part-way", "", 0, 4, 1,
         "kvictl_patrol_read_state kvictl_patrol_read_completed_iterations_total "
         "kvictl_consistency_check_schedule_state kvictl_alarm_state",
         "kvictl_controller_info kvictl_virtual_drives kvictl_battery_state "
         "kvictl_battery_next_learn_timestamp_seconds kvictl_lock_key_failed",
         6},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        kvitest::ScratchDir tmp("kvictl-metrics");
        writeFile(tmp.file("p.json"),
                  std::string(R"({"base": "default", "fail": )") + (*c.fail ? c.fail : "{}") + "}");
        std::vector<std::string> backend = {"--sim=" + tmp.file("p.json")};
        if (c.keep >= 0) {
            const std::string cap = tmp.file("cap.jsonl");
            ASSERT_EQ(runKvictl({backend[0], "--record", cap, "metrics"}).exitCode, 0);
            cutCapture(cap, c.keep);
            backend = {"--replay", cap};
        }
        auto args = [&backend](std::vector<std::string> command) {
            command.insert(command.begin(), backend.begin(), backend.end());
            return command;
        };
        Result r = runKvictl(args({"metrics"}));
        EXPECT_EQ(r.exitCode, c.exit) << r.err;
        EXPECT_FALSE(r.err.empty()); // the failed reads are named on stderr
        Parsed p = parseExposition(r.out);
        ASSERT_TRUE(p.ok) << p.errors << "\n" << r.out;
        // The textfile gets the same series, failure or not.
        Result file = runKvictl(args({"metrics", "--textfile", tmp.file("k.prom")}));
        EXPECT_EQ(file.exitCode, c.exit) << file.err;
        Parsed written = parseExposition(readFile(tmp.file("k.prom")));
        ASSERT_TRUE(written.ok) << written.errors;
        EXPECT_EQ(written.samples.size(), p.samples.size());
        EXPECT_EQ(value(written, "kvictl_up"), c.up);
        EXPECT_EQ(value(p, "kvictl_up"), c.up);
        const double errors = value(p, "kvictl_scrape_read_errors");
        EXPECT_TRUE(c.readErrors < 0 ? errors >= 1 : errors == c.readErrors) << errors;
        for (const std::string& name : shellWords(c.absent))
            EXPECT_TRUE(p.find(name).empty()) << name;
        for (const std::string& name : shellWords(c.present))
            EXPECT_FALSE(p.find(name).empty()) << name;
        if (c.status != nullptr) {
            EXPECT_EQ(current(p, "kvictl_controller_status", "status", "0"), c.status);
        }
    }
}

// Hostile model names set through a profile come back unchanged from the
// parser (or as U+FFFD where the bytes are not text); an injected line never
// becomes a series of its own.
TEST(MetricsE2E, LabelValuesAreEscaped) {
    const std::pair<const char*, const char*> cases[] = {
        // The profile's productName value (JSON), the parsed model label.
        {R"("Quote \"16i\" model")", "Quote \"16i\" model"},
        {R"("back\\slash \\\\ two \\n not a newline")", "back\\slash \\\\ two \\n not a newline"},
        {R"("line one\nline two\n")", "line one\nline two\n"},
        // The smallest code point of each sequence length is no overlong form.
        {R"("Contr\u00f4leur \u65e5\u672c \u2603 \u0800 \ud800\udc00")",
         "Contr\u00f4leur \u65e5\u672c \u2603 \u0800 \U00010000"},
        {R"("} 1\nkvictl_up{controller=\"9\"} 0")", "} 1\nkvictl_up{controller=\"9\"} 0"},
        {R"("tab\there")", "tab\xEF\xBF\xBDhere"},
        {R"("hex:41ff42c328")", "A\xEF\xBF\xBD"
                                "B\xEF\xBF\xBD("},
    };
    for (const auto& [json, expected] : cases) {
        SCOPED_TRACE(json);
        kvitest::ScratchDir tmp("kvictl-metrics");
        writeFile(tmp.file("p.json"), std::string(R"({"base": "default", "records": )") +
                                          R"({"KV_CTRL_INFO": {"productName": )" + json + "}}}");
        Result r = runKvictl({"--sim=" + tmp.file("p.json"), "metrics"});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        Parsed p = parseExposition(r.out);
        ASSERT_TRUE(p.ok) << p.errors << "\n" << r.out;
        ASSERT_EQ(p.find("kvictl_controller_info").size(), 1u);
        EXPECT_EQ(p.find("kvictl_controller_info").front().labels.at("model"), expected);
        EXPECT_EQ(p.find("kvictl_up").size(), 1u);
    }
}

// The textfile is written whole, world-readable, with no temporary left; a
// reader polling it while kvictl rewrites it, alternately small (one
// controller) and large (120 controllers), sees the old or the new file,
// never a part of one.
TEST(MetricsE2E, TextfileIsWrittenWhole) {
    kvitest::ScratchDir tmp("kvictl-metrics");
    const std::string path = tmp.file("kvictl.prom");
    auto complete = [](const std::string& text) {
        const std::size_t last = text.rfind("\nkvictl_scrape_duration_seconds ");
        return text.rfind("# HELP kvictl_up ", 0) == 0 && last != std::string::npos &&
               text.find('\n', last + 1) == text.size() - 1;
    };
    std::atomic<bool> done{false};
    std::atomic<int> reads{0}, partial{0};
    // Reads until the writers are done, then once more: the last read sees
    // the final file. The file appears once (by rename) and is never removed.
    std::thread reader([&] {
        for (bool last = false; !last;) {
            last = done.load();
            if (std::filesystem::exists(path)) {
                ++reads;
                partial += complete(readFile(path)) ? 0 : 1;
            }
        }
    });
    for (int i = 0; i < 8; ++i) {
        Result r = runKvictl({"--sim", "--sim-controllers", i % 2 == 0 ? "120" : "1", "-c", "all",
                              "metrics", "--textfile", path});
        EXPECT_EQ(r.exitCode, 0) << r.err;
        EXPECT_EQ(r.out, "");
    }
    done = true;
    reader.join();
    EXPECT_GT(reads.load(), 0);
    EXPECT_EQ(partial.load(), 0) << "partial file seen (of " << reads.load() << " reads)";
    // The last run wrote one controller.
    Parsed p = parseExposition(readFile(path));
    ASSERT_TRUE(p.ok) << p.errors;
    EXPECT_EQ(p.find("kvictl_up").size(), 1u);
    struct stat st {};
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);
    EXPECT_EQ(filesIn(tmp.path()), std::vector<std::string>{"kvictl.prom"});
}
