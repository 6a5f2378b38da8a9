// kvictl metrics end to end: the real binary against the simulator, its
// output checked with the Prometheus client's text parser (prom_check.py).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "tests/cli/MonitoringRun.h"

using namespace kvimon;

namespace {

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
        TempDir tmp;
        Result r = kvictl({"--sim=" + profile, "--sim-controllers", "2", "metrics"});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        Result check = kvictl({"--sim=" + profile, "--sim-controllers", "2", "check"});
        EXPECT_EQ(check.exitCode, 0) << check.err;
        clitest::expectFragments(
            profile, check.out,
            "KVICTL OK - c0 \t; c1 \t | c0_roc_temperature=\t c1_virtual_drives=");
        Parsed p = parseExposition(r.out, tmp);
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

// Values as the profiles set them, problems in the counts and flags (the
// bundled profiles' scrapes are golden files of e2e_test.cpp).
TEST(MetricsE2E, ValuesFollowTheProfile) {
#define C0 "{controller=\"0\"} "
#define C0_ "{controller=\"0\","
    const clitest::Case cases[] = {
        {"problems", "@P metrics", 0,
         "kvictl_virtual_drives_degraded" C0 "1\n\tkvictl_virtual_drives_offline" C0 "2\n"
         "\tkvictl_physical_disks_failed" C0 "1\n"
         "\tkvictl_physical_disks_predictive_failure" C0 "3\n"
         "\tkvictl_memory_uncorrectable_errors_total" C0 "4\n\tkvictl_lock_key_assigned" C0 "1\n"
         "\tkvictl_lock_key_failed" C0 "1\n\tkvictl_cache_pinned" C0 "1\n"
         "\tkvictl_firmware_image_pending" C0 "0\n"
         "\tkvictl_controller_status" C0_ "status=\"needs_attention\"} 1\n"
         "\tkvictl_battery_state" C0_ "state=\"failed\"} 1\n"
         "\tflag=\"pack_missing\"} 0\n\tflag=\"replace_pack\"} 1\n"
         "\tflag=\"learn_cycle_active\"} 0\n\tflag=\"learn_cycle_failed\"} 1\n"
         "\tflag=\"capacity_low\"} 1\n\tflag=\"temperature_high\"} 1\n"
         "\tflag=\"voltage_low\"} 0\n\tflag=\"predictive_failure\"} 0\n",
         "",
         R"("records": {"KV_CTRL_INFO": {"ldDegradedCount": 1, "ldOfflineCount": 2,
            "pdDiskFailedCount": 1, "pdDiskPredFailureCount": 3, "memUnCorrectableErrorCount": 4,
            "adapterStatus.lockKeyAssigned": 1, "adapterStatus.lockKeyFailed": 1,
            "adapterStatus.cacheIsPinned": 1, "pendingImageComponentCount": 0},
            "KV_BBU_STATUS": {"fwStatus": 3204}})"}, // bits 2, 7, 10, 11
        {"a folder that does not exist", "--sim metrics --textfile @D/missing/kvictl.prom", 2, "",
         "--textfile"},
    };
#undef C0
#undef C0_
    clitest::expectCases(cases);
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
        {"every read", KVI_ALL_READS, 0, -1, 1,
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
        TempDir tmp;
        writeFile(tmp.file("p.json"), profileText("", c.fail));
        std::vector<std::string> backend = {"--sim=" + tmp.file("p.json")};
        if (c.keep >= 0) {
            backend = {"--replay", truncatedCapture(tmp, backend[0], c.keep)};
            ASSERT_NE(backend[1], "");
        }
        auto args = [&backend](std::vector<std::string> command) {
            command.insert(command.begin(), backend.begin(), backend.end());
            return command;
        };
        Result r = kvictl(args({"metrics"}));
        EXPECT_EQ(r.exitCode, c.exit) << r.err;
        EXPECT_FALSE(r.err.empty()); // the failed reads are named on stderr
        Parsed p = parseExposition(r.out, tmp);
        ASSERT_TRUE(p.ok) << p.errors << "\n" << r.out;
        // The textfile gets the same series, failure or not.
        Result file = kvictl(args({"metrics", "--textfile", tmp.file("k.prom")}));
        EXPECT_EQ(file.exitCode, c.exit) << file.err;
        Parsed written = parseExposition(readFile(tmp.file("k.prom")), tmp);
        ASSERT_TRUE(written.ok) << written.errors;
        EXPECT_EQ(written.samples.size(), p.samples.size());
        EXPECT_EQ(value(written, "kvictl_up"), c.up);
        EXPECT_EQ(value(p, "kvictl_up"), c.up);
        const double errors = value(p, "kvictl_scrape_read_errors");
        EXPECT_TRUE(c.readErrors < 0 ? errors >= 1 : errors == c.readErrors) << errors;
        for (const std::string& name : clitest::shellWords(c.absent))
            EXPECT_TRUE(p.find(name).empty()) << name;
        for (const std::string& name : clitest::shellWords(c.present))
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
        TempDir tmp;
        writeFile(
            tmp.file("p.json"),
            profileText((std::string(R"({"KV_CTRL_INFO": {"productName": )") + json + "}}").c_str(),
                        ""));
        Result r = kvictl({"--sim=" + tmp.file("p.json"), "metrics"});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        Parsed p = parseExposition(r.out, tmp);
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
    TempDir tmp;
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
        Result r = kvictl({"--sim", "--sim-controllers", i % 2 == 0 ? "120" : "1", "-c", "all",
                           "metrics", "--textfile", path});
        EXPECT_EQ(r.exitCode, 0) << r.err;
        EXPECT_EQ(r.out, "");
    }
    done = true;
    reader.join();
    EXPECT_GT(reads.load(), 0);
    EXPECT_EQ(partial.load(), 0) << "partial file seen (of " << reads.load() << " reads)";
    // The last run wrote one controller.
    Parsed p = parseExposition(readFile(path), tmp);
    ASSERT_TRUE(p.ok) << p.errors;
    EXPECT_EQ(p.find("kvictl_up").size(), 1u);
    struct stat st {};
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);
    EXPECT_EQ(clitest::filesIn(tmp.path()),
              (std::vector<std::string>{"exposition.prom", "kvictl.prom"}));
}
