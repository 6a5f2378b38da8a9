// kvictl metrics end to end: the real binary against the simulator, its
// output checked with the Prometheus client's text parser (prom_check.py).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <initializer_list>
#include <thread>
#include <utility>

#include "tests/cli/MonitoringRun.h"

using namespace kvimon;

namespace {

std::vector<std::string> bundledProfiles() {
    std::vector<std::string> names;
    for (const auto& e :
         std::filesystem::directory_iterator(std::string(KVI_SOURCE_DIR) + "/sim/profiles"))
        if (e.path().extension() == ".json")
            names.push_back(e.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

double value(const Parsed& p, const std::string& name,
             const std::map<std::string, std::string>& labels) {
    auto found = p.find(name, labels);
    EXPECT_EQ(found.size(), 1u) << name;
    return found.empty() ? -1 : found.front().value;
}

// Controller 0's plain series against a table of expected values.
void expectValues(const Parsed& p, std::initializer_list<std::pair<const char*, double>> expected) {
    for (const auto& e : expected)
        EXPECT_EQ(value(p, e.first, {{"controller", "0"}}), e.second) << e.first;
}

// Of a 0/1 state family, the label value of the series that is 1 (exactly one must be).
std::string current(const Parsed& p, const std::string& name, const std::string& key,
                    const std::string& controller) {
    std::string on;
    int ones = 0;
    for (const Sample& s : p.find(name, {{"controller", controller}})) {
        EXPECT_TRUE(s.value == 0 || s.value == 1) << name;
        if (s.value == 1) {
            ++ones;
            on = s.labels.at(key);
        }
    }
    EXPECT_LE(ones, 1) << name << " has several current states";
    return on;
}

struct ProfileFacts {
    const char* profile;
    const char* model;
    double roc;
    double ctrlTemperature; // -1: no sensor, no series
    double batteryPresent;
    const char* alarm;
};

const ProfileFacts kFacts[] = {
    {"default", "KV 9480-16i", 58, 44, 1, "enabled"},
    {"entry", "KV 3120-8i", 58, 44, 0, "absent"},
    {"ha-member", "KV 9480-8e HA", 58, 44, 1, "enabled"},
    {"previous-gen", "KV 8260-8i", 63, -1, 1, "enabled"},
};

} // namespace

// Every bundled profile, two controllers each: a valid exposition, every
// controller up, state families with exactly one current state.
TEST(MetricsE2E, EveryBundledProfileParses) {
    std::vector<std::string> profiles = bundledProfiles();
    ASSERT_FALSE(profiles.empty());
    for (const std::string& profile : profiles) {
        SCOPED_TRACE(profile);
        TempDir tmp;
        // No -c: a scrape covers every controller.
        RunResult r = kvictl({"--sim=" + profile, "--sim-controllers", "2", "metrics"}, tmp);
        ASSERT_EQ(r.code, 0) << r.err;
        Parsed p = parseExposition(r.out, tmp);
        ASSERT_TRUE(p.ok) << p.errors << "\n" << r.out;
        ASSERT_EQ(p.find("kvictl_scrape_duration_seconds").size(), 1u);
        EXPECT_TRUE(p.find("kvictl_scrape_duration_seconds").front().labels.empty());
        for (const std::string c : {"0", "1"}) {
            EXPECT_EQ(value(p, "kvictl_up", {{"controller", c}}), 1);
            EXPECT_EQ(value(p, "kvictl_scrape_read_errors", {{"controller", c}}), 0);
            auto info = p.find("kvictl_controller_info", {{"controller", c}});
            ASSERT_EQ(info.size(), 1u);
            for (const char* key : {"model", "serial", "firmware", "package", "driver",
                                    "driver_version", "pci_address"})
                EXPECT_FALSE(info.front().labels.at(key).empty()) << key;
            EXPECT_EQ(info.front().value, 1);
            EXPECT_EQ(current(p, "kvictl_controller_status", "status", c), "optimal");
            EXPECT_FALSE(current(p, "kvictl_battery_state", "state", c).empty());
            EXPECT_FALSE(current(p, "kvictl_patrol_read_state", "state", c).empty());
            EXPECT_FALSE(current(p, "kvictl_alarm_state", "state", c).empty());
        }
        // The second controller is its own device: another serial number.
        EXPECT_NE(
            p.find("kvictl_controller_info", {{"controller", "0"}}).front().labels.at("serial"),
            p.find("kvictl_controller_info", {{"controller", "1"}}).front().labels.at("serial"));
    }
}

// Values per profile, as the profiles set them.
TEST(MetricsE2E, ValuesFollowTheProfile) {
    for (const ProfileFacts& f : kFacts) {
        SCOPED_TRACE(f.profile);
        TempDir tmp;
        RunResult r = kvictl({std::string("--sim=") + f.profile, "metrics"}, tmp);
        ASSERT_EQ(r.code, 0) << r.err;
        Parsed p = parseExposition(r.out, tmp);
        ASSERT_TRUE(p.ok) << p.errors;
        const std::map<std::string, std::string> c0 = {{"controller", "0"}};
        EXPECT_EQ(p.find("kvictl_controller_info", c0).at(0).labels.at("model"), f.model);
        EXPECT_EQ(value(p, "kvictl_roc_temperature_celsius", c0), f.roc);
        if (f.ctrlTemperature < 0)
            EXPECT_TRUE(p.find("kvictl_controller_temperature_celsius").empty());
        else
            EXPECT_EQ(value(p, "kvictl_controller_temperature_celsius", c0), f.ctrlTemperature);
        EXPECT_EQ(value(p, "kvictl_battery_present", c0), f.batteryPresent);
        EXPECT_EQ(current(p, "kvictl_alarm_state", "state", "0"), f.alarm);
        // Battery details only where a battery is fitted.
        EXPECT_EQ(p.find("kvictl_battery_temperature_celsius").size(),
                  f.batteryPresent == 1 ? 1u : 0u);
        EXPECT_EQ(p.find("kvictl_battery_status_flag").empty(), f.batteryPresent == 0);
    }

    // The default profile in detail.
    TempDir tmp;
    RunResult r = kvictl({"--sim", "metrics"}, tmp);
    Parsed p = parseExposition(r.out, tmp);
    ASSERT_TRUE(p.ok) << p.errors;
    const std::map<std::string, std::string> c0 = {{"controller", "0"}};
    expectValues(p, {
                        {"kvictl_virtual_drives", 3},
                        {"kvictl_physical_devices", 10},
                        {"kvictl_physical_disks", 8},
                        {"kvictl_firmware_image_pending", 1},
                        {"kvictl_battery_temperature_celsius", 31},
                        {"kvictl_battery_relative_charge_ratio", 1.0},
                        // Schedule epoch 2000-01-01 00:00 UTC (TZ=UTC0) plus the
                        // profile's 822618000 s.
                        {"kvictl_battery_next_learn_timestamp_seconds", 946684800.0 + 822618000.0},
                        {"kvictl_patrol_read_completed_iterations_total", 12},
                        {"kvictl_lock_key_assigned", 0},
                        {"kvictl_cache_pinned", 0},
                    });
    EXPECT_DOUBLE_EQ(value(p, "kvictl_battery_remaining_capacity_coulombs", c0), 288 * 3.6);
    EXPECT_DOUBLE_EQ(value(p, "kvictl_battery_full_capacity_coulombs", c0), 288 * 3.6);
    EXPECT_EQ(current(p, "kvictl_patrol_read_state", "state", "0"), "ready");
    EXPECT_EQ(current(p, "kvictl_consistency_check_schedule_mode", "mode", "0"), "sequential");
    EXPECT_EQ(current(p, "kvictl_consistency_check_schedule_state", "state", "0"), "ready");
    EXPECT_EQ(current(p, "kvictl_battery_status_flag", "flag", "0"), "");

    // Running totals of the controller are counters, named as such; levels are gauges.
    const std::pair<const char*, const char*> types[] = {
        {"kvictl_memory_correctable_errors_total", "counter"},
        {"kvictl_memory_uncorrectable_errors_total", "counter"},
        {"kvictl_patrol_read_completed_iterations_total", "counter"},
        {"kvictl_virtual_drives", "gauge"},
        {"kvictl_scrape_read_errors", "gauge"},
    };
    for (const auto& t : types)
        EXPECT_NE(r.out.find(std::string("\n# TYPE ") + t.first + " " + t.second + "\n"),
                  std::string::npos)
            << t.first;
}

// The next learn cycle as an instant: the firmware keeps wall-clock seconds
// from 2000-01-01 read as standard time, so in summer the instant is one
// summer-time shift earlier. The metric, shown in the zone, must give the
// hour the library's "Scheduled Tasks" report prints.
TEST(MetricsE2E, NextLearnTimeIsTheInstantTheReportShows) {
    struct Case {
        const char* zone;
        std::uint32_t offset; // the firmware's nextLearnTime
        double instant;       // expected metric
        const char* report;   // "Next Battery Learn" of the report
    };
    // 2026-01-15 10:00 and 2026-07-15 10:00 as wall-clock seconds since 2000.
    const std::uint32_t january = 821786400, july = 837424800;
    const Case cases[] = {
        {"UTC0", january, 1768471200, "01/15/2026, 10:00:00"},
        {"UTC0", july, 1784109600, "07/15/2026, 10:00:00"},
        {"Europe/Berlin", january, 1768467600, "01/15/2026, 10:00:00"}, // 09:00 UTC
        {"Europe/Berlin", july, 1784102400, "07/15/2026, 10:00:00"},    // 08:00 UTC
        {"CET-1CEST,M3.5.0,M10.5.0/3", january, 1768467600, "01/15/2026, 10:00:00"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", july, 1784102400, "07/15/2026, 10:00:00"},
    };
    const char* saved = std::getenv("TZ");
    const std::string savedTz = saved != nullptr ? saved : "";
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.zone) + " " + std::to_string(c.offset));
        TempDir tmp;
        writeFile(tmp.file("p.json"),
                  R"({"base": "default", "records": {"KV_BBU_PROPERTIES": {"nextLearnTime": )" +
                      std::to_string(c.offset) + "}}}");
        const std::string profile = "--sim=" + tmp.file("p.json");
        const std::map<std::string, std::string> env = {{"TZ", c.zone}};
        RunResult r = kvictl({profile, "metrics"}, tmp, env);
        ASSERT_EQ(r.code, 0) << r.err;
        Parsed p = parseExposition(r.out, tmp);
        ASSERT_TRUE(p.ok) << p.errors;
        const double metric =
            value(p, "kvictl_battery_next_learn_timestamp_seconds", {{"controller", "0"}});
        EXPECT_EQ(metric, c.instant);

        RunResult report = kvictl({profile, "show", "tasks"}, tmp, env);
        ASSERT_EQ(report.code, 0) << report.err;
        const std::string key = "Next Battery Learn";
        std::size_t at = report.out.find(key);
        ASSERT_NE(at, std::string::npos) << report.out;
        at = report.out.find("= ", at);
        const std::string shown = report.out.substr(at + 2, report.out.find('\n', at) - at - 2);
        EXPECT_EQ(shown, c.report);

        // The metric's instant in the same zone is the hour the report shows.
        ::setenv("TZ", c.zone, 1);
        ::tzset();
        std::time_t t = static_cast<std::time_t>(metric);
        std::tm tm{};
        ASSERT_NE(localtime_r(&t, &tm), nullptr);
        char text[64];
        std::snprintf(text, sizeof text, "%02d/%02d/%04d, %02d:00:00", tm.tm_mon + 1, tm.tm_mday,
                      tm.tm_year + 1900, tm.tm_hour);
        EXPECT_EQ(text, shown);
    }
    if (saved != nullptr)
        ::setenv("TZ", savedTz.c_str(), 1);
    else
        ::unsetenv("TZ");
    ::tzset();
}

// Degraded and failing controllers show in the counts and flags.
TEST(MetricsE2E, ProblemsShowInSeries) {
    TempDir tmp;
    writeFile(tmp.file("bad.json"), R"({"base": "default", "records": {
        "KV_CTRL_INFO": {"ldDegradedCount": 1, "ldOfflineCount": 2, "pdDiskFailedCount": 1,
                         "pdDiskPredFailureCount": 3, "memUnCorrectableErrorCount": 4,
                         "adapterStatus.lockKeyAssigned": 1, "adapterStatus.lockKeyFailed": 1,
                         "adapterStatus.cacheIsPinned": 1, "pendingImageComponentCount": 0},
        "KV_BBU_STATUS": {"fwStatus": 3204}}})"); // bits 2, 7, 10, 11
    RunResult r = kvictl({"--sim=" + tmp.file("bad.json"), "metrics"}, tmp);
    ASSERT_EQ(r.code, 0) << r.err;
    Parsed p = parseExposition(r.out, tmp);
    ASSERT_TRUE(p.ok) << p.errors;
    expectValues(p, {
                        {"kvictl_virtual_drives_degraded", 1},
                        {"kvictl_virtual_drives_offline", 2},
                        {"kvictl_physical_disks_failed", 1},
                        {"kvictl_physical_disks_predictive_failure", 3},
                        {"kvictl_memory_uncorrectable_errors_total", 4},
                        {"kvictl_lock_key_assigned", 1},
                        {"kvictl_lock_key_failed", 1},
                        {"kvictl_cache_pinned", 1},
                        {"kvictl_firmware_image_pending", 0},
                    });
    EXPECT_EQ(current(p, "kvictl_controller_status", "status", "0"), "needs_attention");
    EXPECT_EQ(current(p, "kvictl_battery_state", "state", "0"), "failed");
    const std::pair<const char*, double> flags[] = {
        {"pack_missing", 0},       {"replace_pack", 1},       {"learn_cycle_active", 0},
        {"learn_cycle_failed", 1}, {"capacity_low", 1},       {"temperature_high", 1},
        {"voltage_low", 0},        {"predictive_failure", 0},
    };
    for (const auto& f : flags)
        EXPECT_EQ(value(p, "kvictl_battery_status_flag", {{"controller", "0"}, {"flag", f.first}}),
                  f.second)
            << f.first;
}

// A read that fails leaves its series out; the rest is still a valid file,
// on stdout and through --textfile. kvictl_up is 0 when no read answered or
// when the controller stopped answering part-way (what was read is kept).
TEST(MetricsE2E, InjectedFailuresOmitSeries) {
    struct Case {
        const char* name;
        const char* fail; // the profile's "fail" object
        double up;
        double readErrors;
        int exit;
        std::vector<const char*> absent;
        std::vector<const char*> present;
        int keep = -1; // >= 0: replay a capture of the profile cut after this many requests
        const char* status = nullptr; // the current kvictl_controller_status, when given
    };
    const Case cases[] = {
        {"battery status",
         R"({"0x05010000": 4})",
         1,
         1,
         0,
         {"kvictl_battery_state", "kvictl_battery_present", "kvictl_battery_status_flag",
          "kvictl_battery_temperature_celsius"},
         {"kvictl_controller_info", "kvictl_virtual_drives", "kvictl_patrol_read_state"}},
        {"patrol read status",
         R"({"0x01070100": 4})",
         1,
         1,
         0,
         {"kvictl_patrol_read_state", "kvictl_patrol_read_completed_iterations_total"},
         {"kvictl_controller_info", "kvictl_battery_state", "kvictl_alarm_state"}},
        // An unreadable status is unknown, never a made-up state; kvictl exits 1.
        {"controller information",
         R"({"0x01010000": 4})",
         1,
         -1,
         1,
         {"kvictl_controller_info", "kvictl_virtual_drives", "kvictl_roc_temperature_celsius",
          "kvictl_lock_key_failed"},
         {"kvictl_controller_status", "kvictl_patrol_read_state", "kvictl_alarm_state"},
         -1,
         "unknown"},
        {"every read",
         R"({"0x01010000": 4, "0x01030100": 4, "0x01070100": 4, "0x01140100": 4,
                          "0x01140200": 4, "0x05010000": 4, "0x05020000": 4, "0x05050100": 4})",
         0,
         -1,
         1,
         {"kvictl_controller_info", "kvictl_controller_status", "kvictl_battery_state",
          "kvictl_alarm_state"},
         {"kvictl_scrape_duration_seconds"}},
        // Controller information and battery answered, then the capture ends:
        // patrol read, both consistency-check reads and the alarm get no answer.
        {"stops answering part-way",
         "{}",
         0,
         4,
         1,
         {"kvictl_patrol_read_state", "kvictl_patrol_read_completed_iterations_total",
          "kvictl_consistency_check_schedule_state", "kvictl_alarm_state"},
         {"kvictl_controller_info", "kvictl_virtual_drives", "kvictl_battery_state",
          "kvictl_battery_next_learn_timestamp_seconds", "kvictl_lock_key_failed"},
         6},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir tmp;
        writeFile(tmp.file("p.json"),
                  std::string(R"({"base": "default", "fail": )") + c.fail + "}");
        std::vector<std::string> backend = {"--sim=" + tmp.file("p.json")};
        if (c.keep >= 0) {
            backend = {"--replay", truncatedCapture(tmp, backend[0], c.keep)};
            ASSERT_NE(backend[1], "");
        }
        auto args = [&](std::vector<std::string> command) {
            command.insert(command.begin(), backend.begin(), backend.end());
            return command;
        };
        RunResult r = kvictl(args({"metrics"}), tmp);
        EXPECT_EQ(r.code, c.exit) << r.err;
        Parsed p = parseExposition(r.out, tmp);
        ASSERT_TRUE(p.ok) << p.errors << "\n" << r.out;
        // The textfile gets the same series, failure or not.
        RunResult file = kvictl(args({"metrics", "--textfile", tmp.file("k.prom")}), tmp);
        EXPECT_EQ(file.code, c.exit) << file.err;
        Parsed written = parseExposition(readFile(tmp.file("k.prom")), tmp);
        ASSERT_TRUE(written.ok) << written.errors;
        EXPECT_EQ(value(written, "kvictl_up", {{"controller", "0"}}), c.up);
        EXPECT_EQ(written.samples.size(), p.samples.size());
        EXPECT_EQ(value(p, "kvictl_up", {{"controller", "0"}}), c.up);
        double errors = value(p, "kvictl_scrape_read_errors", {{"controller", "0"}});
        if (c.readErrors >= 0)
            EXPECT_EQ(errors, c.readErrors);
        else
            EXPECT_GE(errors, 1);
        for (const char* name : c.absent)
            EXPECT_TRUE(p.find(name).empty()) << name;
        for (const char* name : c.present)
            EXPECT_FALSE(p.find(name).empty()) << name;
        EXPECT_FALSE(r.err.empty()); // the failed reads are named on stderr
        if (c.status != nullptr) {
            EXPECT_EQ(current(p, "kvictl_controller_status", "status", "0"), c.status);
        }
    }
}

// Hostile model names set through a profile come back unchanged from the
// parser (or as U+FFFD where the bytes are not text).
TEST(MetricsE2E, LabelValuesAreEscaped) {
    struct Case {
        const char* json;     // the profile's productName value (JSON)
        const char* expected; // the parsed model label
    };
    const Case cases[] = {
        {R"("Quote \"16i\" model")", "Quote \"16i\" model"},
        {R"("back\\slash \\\\ two \\n not a newline")", "back\\slash \\\\ two \\n not a newline"},
        {R"("line one\nline two\n")", "line one\nline two\n"},
        {R"("Contr\u00f4leur \u65e5\u672c \u2603")", "Contr\u00f4leur \u65e5\u672c \u2603"},
        {R"("} 1\nkvictl_up{controller=\"9\"} 0")", "} 1\nkvictl_up{controller=\"9\"} 0"},
        {R"("tab\there")", "tab\xEF\xBF\xBDhere"},
        {R"("hex:41ff42c328")", "A\xEF\xBF\xBD"
                                "B\xEF\xBF\xBD("},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.json);
        TempDir tmp;
        writeFile(
            tmp.file("p.json"),
            std::string(R"({"base": "default", "records": {"KV_CTRL_INFO": {"productName": )") +
                c.json + "}}}");
        RunResult r = kvictl({"--sim=" + tmp.file("p.json"), "metrics"}, tmp);
        ASSERT_EQ(r.code, 0) << r.err;
        Parsed p = parseExposition(r.out, tmp);
        ASSERT_TRUE(p.ok) << p.errors << "\n" << r.out;
        auto info = p.find("kvictl_controller_info");
        ASSERT_EQ(info.size(), 1u);
        EXPECT_EQ(info.front().labels.at("model"), c.expected);
        // An injected line never becomes a series of its own.
        EXPECT_EQ(p.find("kvictl_up").size(), 1u);
    }
}

TEST(MetricsE2E, TextfileIsWrittenWhole) {
    TempDir tmp;
    const std::string dir = tmp.file("collector");
    ASSERT_EQ(::mkdir(dir.c_str(), 0755), 0);
    const std::string path = dir + "/kvictl.prom";
    RunResult r = kvictl({"--sim", "-c", "all", "metrics", "--textfile", path}, tmp);
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out, "");
    Parsed p = parseExposition(readFile(path), tmp);
    ASSERT_TRUE(p.ok) << p.errors;
    EXPECT_EQ(value(p, "kvictl_up", {{"controller", "0"}}), 1);
    struct stat st {};
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);
    // Nothing else is left in the folder (no temporary file).
    std::vector<std::string> entries;
    for (const auto& e : std::filesystem::directory_iterator(dir))
        entries.push_back(e.path().filename().string());
    EXPECT_EQ(entries, std::vector<std::string>{"kvictl.prom"});

    // A folder that does not exist: refused before the scrape, no file.
    r = kvictl({"--sim", "metrics", "--textfile", tmp.file("missing/kvictl.prom")}, tmp);
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("--textfile"), std::string::npos) << r.err;
    EXPECT_FALSE(std::filesystem::exists(tmp.file("missing")));

    // Prometheus text only: JSON output is a usage error.
    r = kvictl({"--sim", "-o", "json", "metrics"}, tmp);
    EXPECT_EQ(r.code, 2);
}

// A reader polling the file while kvictl rewrites it, alternately small (one
// controller) and large (120 controllers), sees the old or the new file,
// never a part of one.
TEST(MetricsE2E, TextfileReaderNeverSeesPartialFile) {
    TempDir tmp;
    const std::string path = tmp.file("kvictl.prom");
    std::atomic<bool> done{false};
    std::atomic<int> reads{0}, partial{0};
    std::string bad;
    auto complete = [](const std::string& text) {
        const std::string head = "# HELP kvictl_up ";
        const std::string tail = "\nkvictl_scrape_duration_seconds ";
        std::size_t last = text.rfind(tail);
        return text.compare(0, head.size(), head) == 0 && last != std::string::npos &&
               text.find('\n', last + 1) == text.size() - 1;
    };
    // Reads until the writers are done, then once more: the last read sees
    // the final file, so there is at least one read to judge.
    std::thread reader([&] {
        for (;;) {
            const bool last = done.load();
            // The file appears once (by rename) and is never removed, so once
            // it exists every read must give a whole file.
            if (std::filesystem::exists(path)) {
                std::string text = readFile(path);
                ++reads;
                if (!complete(text)) {
                    ++partial;
                    bad = text.substr(text.size() > 200 ? text.size() - 200 : 0);
                }
            }
            if (last)
                break;
        }
    });
    for (int i = 0; i < 8; ++i) {
        TempDir runTmp;
        RunResult r = kvictl({"--sim", "--sim-controllers", i % 2 == 0 ? "120" : "1", "-c", "all",
                              "metrics", "--textfile", path},
                             runTmp);
        EXPECT_EQ(r.code, 0) << r.err;
    }
    done = true;
    reader.join();
    EXPECT_GT(reads.load(), 0);
    EXPECT_EQ(partial.load(), 0) << "partial file seen (of " << reads.load()
                                 << " reads), ending with: " << bad;
    EXPECT_TRUE(complete(readFile(path)));
    // The last run wrote one controller.
    Parsed p = parseExposition(readFile(path), tmp);
    ASSERT_TRUE(p.ok) << p.errors;
    EXPECT_EQ(p.find("kvictl_up").size(), 1u);
}
