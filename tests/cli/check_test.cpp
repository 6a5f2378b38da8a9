// kvictl check end to end: the documented state and exit code for profiles
// made degraded, failing and unreachable (the bundled ones are checked in
// metrics_test.cpp, beside their scrape).
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/cli/MonitoringRun.h"

using namespace kvimon;

namespace {

#define REC(json) R"("records": )" json
#define FAILS(json) R"("fail": )" json
// Failures before any controller is read (usage errors, a backend or capture
// that cannot be opened, no such controller) follow the plugin convention for
// check only: one UNKNOWN line with the reason, no performance data, exit 3.
// A profile made degraded (exit 1) or failing (exit 2) by its records: the
// finding names the row.
#define WARNS(finding, records)                                                                    \
    { finding, "@P check", 1, "KVICTL WARNING - \t" finding, "", REC(records) }
#define CRITICAL(finding, records)                                                                 \
    { finding, "@P check", 2, "KVICTL CRITICAL - \t" finding, "", REC(records) }
#define EARLY(args, reason)                                                                        \
    { args, args, 3, "KVICTL UNKNOWN - \t! | \t" reason, reason }

// The table of docs/MONITORING.md, row by row (a healthy controller: the
// golden check.txt of e2e_test.cpp); the state word starts the one summary line.
const clitest::Case kCases[] = {
    WARNS("1 degraded virtual drive", R"({"KV_CTRL_INFO": {"ldDegradedCount": 1}})"),
    WARNS("2 failed disks", R"({"KV_CTRL_INFO": {"pdDiskFailedCount": 2}})"),
    WARNS("1 disk predicting failure", R"({"KV_CTRL_INFO": {"pdDiskPredFailureCount": 1}})"),
    WARNS("battery needs replacement", R"({"KV_BBU_STATUS": {"fwStatus": 1024}})"),
    WARNS("battery learn cycle failed", R"({"KV_BBU_STATUS": {"fwStatus": 128}})"),
    WARNS("battery degraded", R"({"KV_BBU_STATUS": {"fwStatus": 2048}})"),
    WARNS("pinned cache", R"({"KV_CTRL_INFO": {"adapterStatus.cacheIsPinned": 1}})"),
    WARNS("3 uncorrectable memory errors",
          R"({"KV_CTRL_INFO": {"memUnCorrectableErrorCount": 3}})"),
    CRITICAL("1 offline virtual drive", R"({"KV_CTRL_INFO": {"ldOfflineCount": 1}})"),
    CRITICAL(
        "lock key failed",
        R"({"KV_CTRL_INFO": {"adapterStatus.lockKeyAssigned": 1, "adapterStatus.lockKeyFailed": 1}})"),
    CRITICAL("safe mode", R"({"KV_CTRL_INFO": {"adapterStatus.safeModeBoot": 1}})"),
    {"critical outranks warning", "@P check", 2,
     "KVICTL CRITICAL - \t1 offline virtual drive, 1 degraded virtual drive", "",
     REC(R"({"KV_CTRL_INFO": {"ldDegradedCount": 1, "ldOfflineCount": 1}})")},
    {"battery unreadable", "@P check", 3, "KVICTL UNKNOWN - \tbattery state unreadable", "",
     FAILS(R"({"0x05010000": 4})")},
    {"unreachable", "@P check", 3, "KVICTL UNKNOWN - \tcontroller unreachable", "",
     FAILS(KVI_ALL_READS)},
    // A model name with a line feed and '|' stays on the summary line.
    {"hostile model", "@P check", 0, "KVICTL OK - \tc0 Bad?Name?OK - x: ok", "",
     REC(R"({"KV_CTRL_INFO": {"productName": "Bad|Name\nOK - x"}})")},
    // Temperatures: ROC 58, controller 44, battery 31 in the default profile.
    {"roc at --warn", "--sim check --warn 58", 1,
     "KVICTL WARNING - \tROC temperature 58 C (warning at 58)"},
    {"roc at --crit", "--sim check --warn 40 --crit 55", 2,
     "KVICTL CRITICAL - \tROC temperature 58 C (critical at 55)"},
    {"long forms", "--sim check --warning roc=58 --critical roc=70", 1,
     "KVICTL WARNING - \tROC temperature 58 C (warning at 58)"},
    // --critical alone takes the default warning thresholds (95, 75, 50)
    // down with it where they would sit at or above it.
    {"--critical alone, above the temperatures", "--sim check --critical 85", 0,
     "KVICTL OK - \t: ok"},
    {"--critical alone, at the battery's default warning", "--sim check --critical battery=31", 2,
     "KVICTL CRITICAL - \tbattery temperature 31 C (critical at 31)"},
    {"per-sensor thresholds", "--sim check --warning roc=60,controller=50 --critical roc=70", 0,
     "KVICTL OK - \t: ok"},
    {"battery threshold", "--sim check --warn battery=30 --crit battery=40", 1,
     "KVICTL WARNING - \tbattery temperature 31 C (warning at 30)"},
    WARNS("ROC temperature 95 C (warning at 95)", R"({"KV_CTRL_INFO": {"temperatureROC": 95}})"),
    CRITICAL("controller temperature 95 C (critical at 90)",
             R"({"KV_CTRL_INFO": {"temperatureCtrl": 95}})"),
    EARLY("--sim check --warn 90 --crit 80", "must be below its critical one"),
    EARLY("--sim check --warning controller=95",
          "controller warning threshold (95) must be below its critical one (90)"),
    EARLY("--sim check --timeout 0", "--timeout"),
    EARLY("--sim check --warn gpu=50", "gpu"),
    EARLY("--sim check --crit hot", "'hot' is not a number"),
    EARLY("--sim check --warn roc=300", "300 is out of range"),
    EARLY("--sim check --bogus", "--bogus"),
    EARLY("--sim check --warn", "--warn"),
    EARLY("-o xml check", "--output"),
    EARLY("--sim --replay x.jsonl check", "choose one backend"),
    EARLY("check", "no device given"),
    EARLY("--device /nonexistent/kvictl0 check", "/nonexistent/kvictl0"),
    EARLY("--replay /nonexistent/c.jsonl check", "/nonexistent/c.jsonl"),
    EARLY("--sim -c 5 check", "-c 5: no such controller"),
    EARLY("--sim=/nonexistent/p.json check", "nothing was sent"),
    // Performance data with the thresholds in force.
    {"perfdata", "--sim check --warn roc=80,battery=45 --crit 81", 0,
     " | c0_roc_temperature=58;80;81 c0_controller_temperature=44;75;81 "
     "c0_battery_temperature=31;45;81 c0_virtual_drives=3 c0_virtual_drives_degraded=0 "
     "c0_virtual_drives_offline=0 c0_disks=8 c0_disks_failed=0 "
     "c0_disks_predictive_failure=0 c0_battery_charge=100%;;;0;100\n"},
    // The warning thresholds followed --critical down: no warning band.
    {"warnings follow --critical down", "--sim check --critical 70", 0,
     " | c0_roc_temperature=58;70;70 c0_controller_temperature=44;70;70 "
     "c0_battery_temperature=31;50;70 "},
    {"the worst controller wins", "@P --sim-controllers 3 -c all check", 1,
     "KVICTL WARNING - \tc2 KV 9480-16i: 1 degraded virtual drive", "",
     REC(R"({"KV_CTRL_INFO": {"ldDegradedCount": 1}})")},
    // The verdict in JSON; other commands keep the tool's own exit codes (for
    // show: e2e_test.cpp).
    {"the verdict in JSON", "@P -o json-compact check", 2,
     R"("check":{"state":"critical","problems":[{"severity":"critical",)"
     R"("text":"1 offline virtual drive"}]})",
     "", REC(R"({"KV_CTRL_INFO": {"ldOfflineCount": 1}})")},
    {"an early failure in JSON", "--sim -o json-compact check --crit hot", 3,
     R"("exit_status":3},"messages":[{"severity":"error","code":"usage",)"
     R"("text":"--critical: 'hot' is not a number; nothing was sent"}],"controllers":[]})"},
    {"metrics keeps exit 2", "--sim -c 5 metrics", 2},
};

} // namespace

TEST(CheckE2E, StatesFollowTheTable) {
    for (const clitest::Case& c : kCases) {
        Result r = clitest::expectCase(c);
        if (r.out.rfind("KVICTL ", 0) == 0) { // "KVICTL STATE - findings | perfdata\n"
            EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << c.name << r.out;
            EXPECT_EQ(r.out.back(), '\n') << c.name;
        }
    }
}

// A controller that stops answering part-way: a capture cut after this many
// requests. What was read before still counts; the rest is named unread.
TEST(CheckE2E, AControllerThatStopsAnsweringIsUnknown) {
    const struct {
        const char* records;
        int keep, exit;
        const char* state;
        const char* finding;
    } cases[] = {
        {"", 0, 3, "UNKNOWN", "c0: controller unreachable"},
        // The capture ends after the controller information and battery reads.
        {"", 6, 3, "UNKNOWN",
         "c0 KV 9480-16i: controller stopped answering (replay_mismatch; unread: "
         "patrol read status, consistency-check schedule, consistency-check status, alarm)"},
        {"", 3, 3, "UNKNOWN",
         "c0 KV 9480-16i: controller stopped answering (replay_mismatch; unread: "
         "battery status, battery charge,"},
        {R"({"KV_CTRL_INFO": {"ldOfflineCount": 1}})", 5, 2, "CRITICAL",
         "c0 KV 9480-16i: 1 offline virtual drive, controller stopped answering"},
    };
    for (const auto& c : cases) {
        TempDir tmp;
        writeFile(tmp.file("p.json"), profileText(c.records, ""));
        const std::string cut = truncatedCapture(tmp, "--sim=" + tmp.file("p.json"), c.keep);
        ASSERT_NE(cut, "");
        Result r = kvictl({"--replay", cut, "check"});
        EXPECT_EQ(r.exitCode, c.exit) << r.out << r.err;
        EXPECT_EQ(r.out.rfind(std::string("KVICTL ") + c.state + " - ", 0), 0u) << r.out;
        EXPECT_LT(r.out.find(c.finding), r.out.find(" | ")) << r.out;
    }
}

// A controller that hangs inside a request: after --timeout the plugin says
// UNKNOWN and ends with 3, in text and JSON, and leaves no temporary file
// (here the capture being recorded).
TEST(CheckE2E, TimeoutEndsAHangingControllerWithUnknown) {
    const std::pair<const char*, const char*> cases[] = {
        {"0x05010000", "check --timeout 2"},
        {"KV_DCMD_CTRL_GET_INFO", "-o json check -t 1"},
    };
    for (const auto& [hang, options] : cases) {
        SCOPED_TRACE(hang);
        TempDir tmp;
        writeFile(tmp.file("p.json"),
                  std::string(R"({"base": "default", "hang": [")") + hang + R"("]})");
        std::vector<std::string> args = {"--sim=" + tmp.file("p.json"), "--sim-controllers", "2",
                                         "--record", tmp.file("cap.jsonl")};
        for (const std::string& w : clitest::shellWords(options))
            args.push_back(w);
        clitest::RunOptions o;
        o.limitSeconds = 120; // only so that a broken timeout cannot hang the suite
        Result r = clitest::runKvictl(args, o);
        ASSERT_FALSE(r.killed) << "check did not end at its timeout";
        EXPECT_EQ(r.exitCode, 3) << r.out << r.err;
        const bool json = options[0] == '-';
        const std::string why = std::string("timed out after ") + (json ? "1" : "2") + " s";
        clitest::expectFragments("stdout", r.out,
                                 json ? "\"exit_status\": 3\t\"code\": \"timeout\""
                                      : "KVICTL UNKNOWN - \t" + why);
        EXPECT_NE(r.err.find(why), std::string::npos) << r.err;
        EXPECT_EQ(clitest::filesIn(tmp.path()), std::vector<std::string>{"p.json"});
    }
}
