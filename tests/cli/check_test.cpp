// kvictl check end to end: the documented state and exit code for every
// bundled profile and for profiles made degraded, failing and unreachable.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/cli/MonitoringRun.h"

using namespace kvimon;

namespace {

struct Case {
    const char* name;
    const char* records; // the "records" object of a profile on top of default ("" = none)
    const char* fail;    // its "fail" object ("" = none)
    const char* args;    // after "check", shell words
    int exit;
    const char* finding; // text the summary must hold
    int keep = -1;       // >= 0: replay a capture of the profile cut after this many requests
};

const char* const kStateWords[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};

// "KVICTL STATE - findings | perfdata\n": exactly one line.
void expectSummary(const Result& r, int exit, const std::string& finding) {
    ASSERT_FALSE(r.out.empty()) << r.err;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << r.out;
    EXPECT_EQ(r.out.back(), '\n');
    EXPECT_EQ(r.out.rfind(std::string("KVICTL ") + kStateWords[exit] + " - ", 0), 0u) << r.out;
    EXPECT_NE(r.out.substr(0, r.out.find(" | ")).find(finding), std::string::npos)
        << "want '" << finding << "' in " << r.out;
}

} // namespace

TEST(CheckE2E, BundledProfilesAreOk) {
    for (const auto& e :
         std::filesystem::directory_iterator(std::string(KVI_SOURCE_DIR) + "/sim/profiles")) {
        const std::string profile = e.path().stem().string();
        SCOPED_TRACE(profile);
        Result r = kvictl({"--sim=" + profile, "--sim-controllers", "2", "-c", "all", "check"});
        EXPECT_EQ(r.exitCode, 0) << r.out << r.err;
        expectSummary(r, 0, "c0 ");
        // Both controllers; performance data with temperatures and counts.
        for (const char* part : {"; c1 ", " | c0_roc_temperature=", " c1_virtual_drives="})
            EXPECT_NE(r.out.find(part), std::string::npos) << part << " in " << r.out;
    }
}

// The table of docs/MONITORING.md, row by row.
TEST(CheckE2E, StatesFollowTheTable) {
    const Case cases[] = {
        {"healthy", "", "", "", 0, ": ok, 3 virtual drives, 8 disks"},
        {"degraded virtual drive", R"({"KV_CTRL_INFO": {"ldDegradedCount": 1}})", "", "", 1,
         "1 degraded virtual drive"},
        {"failed disk", R"({"KV_CTRL_INFO": {"pdDiskFailedCount": 2}})", "", "", 1,
         "2 failed disks"},
        {"predictive failure", R"({"KV_CTRL_INFO": {"pdDiskPredFailureCount": 1}})", "", "", 1,
         "1 disk predicting failure"},
        {"battery replace pack", R"({"KV_BBU_STATUS": {"fwStatus": 1024}})", "", "", 1,
         "battery needs replacement"},
        {"battery learn failed", R"({"KV_BBU_STATUS": {"fwStatus": 128}})", "", "", 1,
         "battery learn cycle failed"},
        {"battery degraded", R"({"KV_BBU_STATUS": {"fwStatus": 2048}})", "", "", 1,
         "battery degraded"},
        {"pinned cache", R"({"KV_CTRL_INFO": {"adapterStatus.cacheIsPinned": 1}})", "", "", 1,
         "pinned cache"},
        {"uncorrectable memory", R"({"KV_CTRL_INFO": {"memUnCorrectableErrorCount": 3}})", "", "",
         1, "3 uncorrectable memory errors"},
        {"offline virtual drive", R"({"KV_CTRL_INFO": {"ldOfflineCount": 1}})", "", "", 2,
         "1 offline virtual drive"},
        {"lock key failed",
         R"({"KV_CTRL_INFO": {"adapterStatus.lockKeyAssigned": 1, "adapterStatus.lockKeyFailed": 1}})",
         "", "", 2, "lock key failed"},
        {"safe mode", R"({"KV_CTRL_INFO": {"adapterStatus.safeModeBoot": 1}})", "", "", 2,
         "safe mode"},
        {"controller information unreadable", "", R"({"0x01010000": 4})", "", 3,
         "c0: controller status unknown (controller information unreadable: "},
        {"critical outranks warning",
         R"({"KV_CTRL_INFO": {"ldDegradedCount": 1, "ldOfflineCount": 1}})", "", "", 2,
         "1 offline virtual drive, 1 degraded virtual drive"},
        {"battery unreadable", "", R"({"0x05010000": 4})", "", 3, "battery state unreadable"},
        {"unreachable", "", kAllReads, "", 3, "controller unreachable"},
        {"a capture holding no answer", "", "", "", 3, "controller unreachable", 0},
        // The capture ends after the controller information and battery reads.
        {"stops answering part-way", "", "", "", 3,
         "c0 KV 9480-16i: controller stopped answering (replay_mismatch; unread: patrol read "
         "status, consistency-check schedule, consistency-check status, alarm)",
         6},
        {"stops answering, battery unread", "", "", "", 3,
         "c0 KV 9480-16i: controller stopped answering (replay_mismatch; unread: battery "
         "status, battery charge,",
         3},
        {"what was read before still counts", R"({"KV_CTRL_INFO": {"ldOfflineCount": 1}})", "", "",
         2, "1 offline virtual drive, controller stopped answering", 5},
        // A model name with a line feed and '|' stays on the summary line.
        {"hostile model", R"({"KV_CTRL_INFO": {"productName": "Bad|Name\nOK - x"}})", "", "", 0,
         "c0 Bad?Name?OK - x: ok"},
        // Temperatures: ROC 58, controller 44, battery 31 in the default profile.
        {"roc at --warn", "", "", "--warn 58", 1, "ROC temperature 58 C (warning at 58)"},
        {"roc at --crit", "", "", "--warn 40 --crit 55", 2,
         "ROC temperature 58 C (critical at 55)"},
        {"long forms", "", "", "--warning roc=58 --critical roc=70", 1,
         "ROC temperature 58 C (warning at 58)"},
        // --critical alone takes the default warning thresholds (95, 75, 50)
        // down with it where they would sit at or above it.
        {"--critical alone, above the temperatures", "", "", "--critical 85", 0, ": ok"},
        {"--critical alone, at the battery's default warning", "", "", "--critical battery=31", 2,
         "battery temperature 31 C (critical at 31)"},
        {"per-sensor thresholds", "", "", "--warning roc=60,controller=50 --critical roc=70", 0,
         ": ok"},
        {"battery threshold", "", "", "--warn battery=30 --crit battery=40", 1,
         "battery temperature 31 C (warning at 30)"},
        {"hot controller", R"({"KV_CTRL_INFO": {"temperatureCtrl": 95}})", "", "", 2,
         "controller temperature 95 C (critical at 90)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir tmp;
        writeFile(tmp.file("p.json"), profileText(c.records, c.fail));
        std::vector<std::string> args = {"--sim=" + tmp.file("p.json"), "check"};
        if (c.keep >= 0) {
            args = {"--replay", truncatedCapture(tmp, args[0], c.keep), "check"};
            ASSERT_NE(args[1], "");
        }
        for (const std::string& w : clitest::shellWords(c.args ? c.args : ""))
            args.push_back(w);
        Result r = kvictl(args);
        EXPECT_EQ(r.exitCode, c.exit) << r.out << r.err;
        expectSummary(r, c.exit, c.finding);
    }
}

// Failures before any controller is read (usage errors, a backend or capture
// that cannot be opened, no such controller) follow the plugin convention for
// check only: one UNKNOWN line with the reason, no performance data, exit 3.
TEST(CheckE2E, FailuresBeforeReadingAreUnknown) {
    const std::pair<const char*, const char*> cases[] = {
        {"--sim check --warn 90 --crit 80", "must be below its critical one"},
        {"--sim check --warning controller=95",
         "controller warning threshold (95) must be below its critical one (90)"},
        {"--sim check --timeout 0", "--timeout"},
        {"--sim check --warn gpu=50", "gpu"},
        {"--sim check --crit hot", "'hot' is not a number"},
        {"--sim check --warn roc=300", "300 is out of range"},
        {"--sim check --bogus", "--bogus"},
        {"--sim check --warn", "--warn"},
        {"-o xml check", "--output"},
        {"--sim --replay x.jsonl check", "choose one backend"},
        {"check", "no device given"},
        {"--device /nonexistent/kvictl0 check", "/nonexistent/kvictl0"},
        {"--replay /nonexistent/c.jsonl check", "/nonexistent/c.jsonl"},
        {"--sim -c 5 check", "-c 5: no such controller"},
        {"--sim=/nonexistent/p.json check", "nothing was sent"},
    };
    for (const auto& [args, reason] : cases) {
        SCOPED_TRACE(args);
        Result r = kvictl(clitest::shellWords(args));
        EXPECT_EQ(r.exitCode, 3) << r.out << r.err;
        expectSummary(r, 3, reason);
        EXPECT_EQ(r.out.find(" | "), std::string::npos) << "no performance data: " << r.out;
        EXPECT_NE(r.err.find(reason), std::string::npos) << r.err;
    }
}

// Performance data with the thresholds in force, the verdict in JSON, and
// other commands keeping the tool's own exit codes for the same failures.
TEST(CheckE2E, PerformanceDataJsonAndOtherCommands) {
    const clitest::Case cases[] = {
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
         R"("records": {"KV_CTRL_INFO": {"ldDegradedCount": 1}})"},
        {"the verdict in JSON", "@P -o json-compact check", 2,
         R"("check":{"state":"critical","problems":[{"severity":"critical",)"
         R"("text":"1 offline virtual drive"}]})",
         "", R"("records": {"KV_CTRL_INFO": {"ldOfflineCount": 1}})"},
        {"an early failure in JSON", "--sim -o json-compact check --crit hot", 3,
         R"("exit_status":3},"messages":[{"severity":"error","code":"usage",)"
         R"("text":"--critical: 'hot' is not a number; nothing was sent"}],"controllers":[]})"},
        {"show keeps exit 2", "--sim show --bogus", 2},
        {"metrics keeps exit 2", "--sim -c 5 metrics", 2},
        {"show keeps exit 3", "show", 3, "!K"},
    };
    for (const clitest::Case& c : cases)
        clitest::expectCase(c);
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
        if (json) {
            nlohmann::json doc = nlohmann::json::parse(r.out, nullptr, false);
            EXPECT_EQ(doc["kvictl"]["exit_status"], 3) << r.out;
            EXPECT_EQ(doc["messages"][0]["code"], "timeout") << r.out;
        } else {
            expectSummary(r, 3, why);
        }
        EXPECT_NE(r.err.find(why), std::string::npos) << r.err;
        std::vector<std::string> left;
        for (const auto& e : std::filesystem::directory_iterator(tmp.path()))
            left.push_back(e.path().filename().string());
        EXPECT_EQ(left, std::vector<std::string>{"p.json"});
    }
}
