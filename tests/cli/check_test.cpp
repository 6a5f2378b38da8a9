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
    std::vector<std::string> args; // after "check"
    int exit;
    const char* finding; // text the summary must hold
    int keep = -1;       // >= 0: replay a capture of the profile cut after this many requests
};

std::string profileText(const Case& c) {
    std::string text = R"({"base": "default")";
    if (*c.records)
        text += std::string(R"(, "records": )") + c.records;
    if (*c.fail)
        text += std::string(R"(, "fail": )") + c.fail;
    return text + "}";
}

const char* stateWord(int exit) {
    switch (exit) {
    case 0:
        return "OK";
    case 1:
        return "WARNING";
    case 2:
        return "CRITICAL";
    default:
        return "UNKNOWN";
    }
}

// "KVICTL STATE - findings | perfdata\n": exactly one line.
void expectSummary(const RunResult& r, int exit, const char* finding) {
    ASSERT_FALSE(r.out.empty()) << r.err;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << r.out;
    EXPECT_EQ(r.out.back(), '\n');
    const std::string head = std::string("KVICTL ") + stateWord(exit) + " - ";
    EXPECT_EQ(r.out.compare(0, head.size(), head), 0) << r.out;
    std::string findings = r.out.substr(0, r.out.find(" | "));
    EXPECT_NE(findings.find(finding), std::string::npos) << "want '" << finding << "' in " << r.out;
}

const char* const kAllReads =
    R"({"0x01010000": 4, "0x01030100": 4, "0x01070100": 4, "0x01140100": 4,
        "0x01140200": 4, "0x05010000": 4, "0x05020000": 4, "0x05050100": 4})";

} // namespace

TEST(CheckE2E, BundledProfilesAreOk) {
    std::vector<std::string> profiles;
    for (const auto& e :
         std::filesystem::directory_iterator(std::string(KVI_SOURCE_DIR) + "/sim/profiles"))
        if (e.path().extension() == ".json")
            profiles.push_back(e.path().stem().string());
    ASSERT_FALSE(profiles.empty());
    for (const std::string& profile : profiles) {
        SCOPED_TRACE(profile);
        TempDir tmp;
        RunResult r =
            kvictl({"--sim=" + profile, "--sim-controllers", "2", "-c", "all", "check"}, tmp);
        EXPECT_EQ(r.code, 0) << r.out << r.err;
        expectSummary(r, 0, "c0 ");
        EXPECT_NE(r.out.find("; c1 "), std::string::npos) << r.out;
        // Performance data: counts of both controllers, temperatures with thresholds.
        EXPECT_NE(r.out.find(" | c0_roc_temperature="), std::string::npos) << r.out;
        EXPECT_NE(r.out.find(" c1_virtual_drives="), std::string::npos) << r.out;
    }
}

// The table of docs/MONITORING.md, row by row.
TEST(CheckE2E, StatesFollowTheTable) {
    const Case cases[] = {
        {"healthy", "", "", {}, 0, ": ok, 3 virtual drives, 8 disks"},
        {"degraded virtual drive",
         R"({"KV_CTRL_INFO": {"ldDegradedCount": 1}})",
         "",
         {},
         1,
         "1 degraded virtual drive"},
        {"failed disk",
         R"({"KV_CTRL_INFO": {"pdDiskFailedCount": 2}})",
         "",
         {},
         1,
         "2 failed disks"},
        {"predictive failure",
         R"({"KV_CTRL_INFO": {"pdDiskPredFailureCount": 1}})",
         "",
         {},
         1,
         "1 disk predicting failure"},
        {"battery replace pack",
         R"({"KV_BBU_STATUS": {"fwStatus": 1024}})",
         "",
         {},
         1,
         "battery needs replacement"},
        {"battery learn failed",
         R"({"KV_BBU_STATUS": {"fwStatus": 128}})",
         "",
         {},
         1,
         "battery learn cycle failed"},
        {"battery degraded",
         R"({"KV_BBU_STATUS": {"fwStatus": 2048}})",
         "",
         {},
         1,
         "battery degraded"},
        {"pinned cache",
         R"({"KV_CTRL_INFO": {"adapterStatus.cacheIsPinned": 1}})",
         "",
         {},
         1,
         "pinned cache"},
        {"uncorrectable memory",
         R"({"KV_CTRL_INFO": {"memUnCorrectableErrorCount": 3}})",
         "",
         {},
         1,
         "3 uncorrectable memory errors"},
        {"offline virtual drive",
         R"({"KV_CTRL_INFO": {"ldOfflineCount": 1}})",
         "",
         {},
         2,
         "1 offline virtual drive"},
        {"lock key failed",
         R"({"KV_CTRL_INFO": {"adapterStatus.lockKeyAssigned": 1, "adapterStatus.lockKeyFailed": 1}})",
         "",
         {},
         2,
         "lock key failed"},
        {"safe mode",
         R"({"KV_CTRL_INFO": {"adapterStatus.safeModeBoot": 1}})",
         "",
         {},
         2,
         "safe mode"},
        {"controller information unreadable",
         "",
         R"({"0x01010000": 4})",
         {},
         3,
         "c0: controller status unknown (controller information unreadable: "},
        {"critical outranks warning",
         R"({"KV_CTRL_INFO": {"ldDegradedCount": 1, "ldOfflineCount": 1}})",
         "",
         {},
         2,
         "1 offline virtual drive, 1 degraded virtual drive"},
        {"battery unreadable", "", R"({"0x05010000": 4})", {}, 3, "battery state unreadable"},
        {"unreachable", "", kAllReads, {}, 3, "controller unreachable"},
        // The capture ends after the controller information and battery reads.
        {"stops answering part-way",
         "",
         "",
         {},
         3,
         "c0 KV 9480-16i: controller stopped answering (replay_mismatch; unread: patrol read "
         "status, consistency-check schedule, consistency-check status, alarm)",
         6},
        {"stops answering, battery unread",
         "",
         "",
         {},
         3,
         "c0 KV 9480-16i: controller stopped answering (replay_mismatch; unread: battery "
         "status, battery charge,",
         3},
        {"what was read before still counts",
         R"({"KV_CTRL_INFO": {"ldOfflineCount": 1}})",
         "",
         {},
         2,
         "1 offline virtual drive, controller stopped answering",
         5},
        // Temperatures: ROC 58, controller 44, battery 31 in the default profile.
        {"roc at --warn", "", "", {"--warn", "58"}, 1, "ROC temperature 58 C (warning at 58)"},
        {"roc at --crit",
         "",
         "",
         {"--warn", "40", "--crit", "55"},
         2,
         "ROC temperature 58 C (critical at 55)"},
        {"long forms",
         "",
         "",
         {"--warning", "roc=58", "--critical", "roc=70"},
         1,
         "ROC temperature 58 C (warning at 58)"},
        // --critical alone takes the default warning thresholds (95, 75, 50)
        // down with it where they would sit at or above it.
        {"--critical alone, above the temperatures", "", "", {"--critical", "85"}, 0, ": ok"},
        {"--critical alone, at the battery's default warning",
         "",
         "",
         {"--critical", "battery=31"},
         2,
         "battery temperature 31 C (critical at 31)"},
        {"per-sensor thresholds",
         "",
         "",
         {"--warning", "roc=60,controller=50", "--critical", "roc=70"},
         0,
         ": ok"},
        {"battery threshold",
         "",
         "",
         {"--warn", "battery=30", "--crit", "battery=40"},
         1,
         "battery temperature 31 C (warning at 30)"},
        {"hot controller",
         R"({"KV_CTRL_INFO": {"temperatureCtrl": 95}})",
         "",
         {},
         2,
         "controller temperature 95 C (critical at 90)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir tmp;
        writeFile(tmp.file("p.json"), profileText(c));
        std::vector<std::string> args = {"--sim=" + tmp.file("p.json"), "check"};
        if (c.keep >= 0) {
            args = {"--replay", truncatedCapture(tmp, args[0], c.keep), "check"};
            ASSERT_NE(args[1], "");
        }
        args.insert(args.end(), c.args.begin(), c.args.end());
        RunResult r = kvictl(args, tmp);
        EXPECT_EQ(r.code, c.exit) << r.out << r.err;
        expectSummary(r, c.exit, c.finding);
    }
}

// Perfdata carries the thresholds in force.
TEST(CheckE2E, PerformanceData) {
    struct Case {
        std::vector<std::string> args; // after "check"
        std::vector<const char*> items;
    };
    const Case cases[] = {
        {{"--warn", "roc=80,battery=45", "--crit", "81"},
         {"c0_roc_temperature=58;80;81", "c0_controller_temperature=44;75;81",
          "c0_battery_temperature=31;45;81", "c0_virtual_drives=3", "c0_disks=8",
          "c0_virtual_drives_degraded=0", "c0_battery_charge=100%;;;0;100"}},
        // The warning thresholds followed --critical down: no warning band.
        {{"--critical", "70"},
         {"c0_roc_temperature=58;70;70", "c0_controller_temperature=44;70;70",
          "c0_battery_temperature=31;50;70"}},
    };
    for (const Case& c : cases) {
        TempDir tmp;
        std::vector<std::string> args = {"--sim", "check"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        RunResult r = kvictl(args, tmp);
        ASSERT_EQ(r.code, 0) << r.err;
        std::string perf = r.out.substr(r.out.find(" | ") + 3);
        for (const char* item : c.items)
            EXPECT_NE(perf.find(item), std::string::npos) << item << " not in " << perf;
    }
}

// A controller that hangs inside a request: after --timeout the plugin says
// UNKNOWN and ends with 3, in text and JSON, and leaves no temporary file
// (here the capture being recorded).
TEST(CheckE2E, TimeoutEndsAHangingControllerWithUnknown) {
    struct Case {
        const char* hang; // the request that never answers
        std::vector<std::string> options;
        bool json;
    };
    const Case cases[] = {
        {"0x05010000", {"check", "--timeout", "2"}, false},
        {"KV_DCMD_CTRL_GET_INFO", {"-o", "json", "check", "-t", "1"}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.hang);
        TempDir tmp;
        writeFile(tmp.file("p.json"),
                  std::string(R"({"base": "default", "hang": [")") + c.hang + R"("]})");
        std::vector<std::string> args = {"--sim=" + tmp.file("p.json"), "--sim-controllers", "2",
                                         "--record", tmp.file("cap.jsonl")};
        args.insert(args.end(), c.options.begin(), c.options.end());
        clitest::RunOptions o;
        o.limitSeconds = 120; // only so that a broken timeout cannot hang the suite
        clitest::Result r = clitest::runKvictl(args, o);
        ASSERT_FALSE(r.killed) << "check did not end at its timeout";
        EXPECT_EQ(r.exitCode, 3) << r.out << r.err;
        const std::string why = std::string("timed out after ") + (c.json ? "1" : "2") + " s";
        if (c.json) {
            nlohmann::json doc = nlohmann::json::parse(r.out, nullptr, false);
            ASSERT_FALSE(doc.is_discarded()) << r.out;
            EXPECT_EQ(doc["kvictl"]["exit_status"], 3);
            EXPECT_EQ(doc["messages"][0]["code"], "timeout");
        } else {
            expectSummary({r.exitCode, r.out, r.err}, 3, why.c_str());
        }
        EXPECT_NE(r.err.find(why), std::string::npos) << r.err;
        std::vector<std::string> left;
        for (const auto& e : std::filesystem::directory_iterator(tmp.path()))
            left.push_back(e.path().filename().string());
        EXPECT_EQ(left, std::vector<std::string>{"p.json"});
    }
}

// A capture holding no answer: every read fails, so UNKNOWN.
TEST(CheckE2E, ReplayOfEmptyCaptureIsUnknown) {
    TempDir tmp;
    const std::string full = tmp.file("full.jsonl");
    ASSERT_EQ(kvictl({"--sim", "--record", full, "metrics"}, tmp).code, 0);
    std::string head, line;
    std::istringstream in(readFile(full));
    while (std::getline(in, line))
        if (line.find(R"("type":"dcmd")") == std::string::npos &&
            line.find(R"("type":"smp")") == std::string::npos)
            head += line + "\n";
    ASSERT_NE(head.find(R"("type":"controller")"), std::string::npos) << head;
    writeFile(tmp.file("empty.jsonl"), head);
    RunResult r = kvictl({"--replay", tmp.file("empty.jsonl"), "check"}, tmp);
    EXPECT_EQ(r.code, 3) << r.out << r.err;
    expectSummary(r, 3, "controller unreachable");
}

// Several controllers: one line, the worst state wins.
TEST(CheckE2E, WorstControllerWins) {
    TempDir tmp;
    writeFile(tmp.file("p.json"),
              R"({"base": "default", "records": {"KV_CTRL_INFO": {"ldDegradedCount": 1}}})");
    RunResult r = kvictl(
        {"--sim=" + tmp.file("p.json"), "--sim-controllers", "3", "-c", "all", "check"}, tmp);
    EXPECT_EQ(r.code, 1) << r.out << r.err;
    expectSummary(r, 1, "c2 KV 9480-16i: 1 degraded virtual drive");
}

// A model name with a line feed and '|' still gives one summary line whose
// performance data starts at the first '|'.
TEST(CheckE2E, HostileModelStaysOnOneLine) {
    TempDir tmp;
    writeFile(
        tmp.file("p.json"),
        R"({"base": "default", "records": {"KV_CTRL_INFO": {"productName": "Bad|Name\nOK - x"}}})");
    RunResult r = kvictl({"--sim=" + tmp.file("p.json"), "check"}, tmp);
    EXPECT_EQ(r.code, 0) << r.err;
    expectSummary(r, 0, "c0 Bad?Name?OK - x: ok");
    EXPECT_EQ(r.out.find('|'), r.out.find(" | ") + 1);
}

TEST(CheckE2E, JsonCarriesTheVerdict) {
    TempDir tmp;
    writeFile(tmp.file("p.json"),
              R"({"base": "default", "records": {"KV_CTRL_INFO": {"ldOfflineCount": 1}}})");
    RunResult r = kvictl({"--sim=" + tmp.file("p.json"), "-o", "json", "check"}, tmp);
    EXPECT_EQ(r.code, 2) << r.err;
    nlohmann::json doc = nlohmann::json::parse(r.out, nullptr, false);
    ASSERT_FALSE(doc.is_discarded()) << r.out;
    EXPECT_EQ(doc["kvictl"]["exit_status"], 2);
    const auto& check = doc["controllers"][0]["check"];
    EXPECT_EQ(check["state"], "critical");
    ASSERT_EQ(check["problems"].size(), 1u);
    EXPECT_EQ(check["problems"][0]["severity"], "critical");
    EXPECT_EQ(check["problems"][0]["text"], "1 offline virtual drive");
}

// Failures before any controller is read (usage errors, a backend or capture
// that cannot be opened, no such controller) follow the plugin convention for
// check only: one UNKNOWN line with the reason, exit 3. Other commands keep
// exit 2 (usage) and 3 (nothing reachable).
TEST(CheckE2E, FailuresBeforeReadingAreUnknown) {
    struct EarlyCase {
        const char* name;
        std::vector<std::string> args;
        const char* reason; // in the UNKNOWN line and on stderr
    };
    const EarlyCase cases[] = {
        {"warn above crit",
         {"--sim", "check", "--warn", "90", "--crit", "80"},
         "must be below its critical one"},
        {"warning above a default critical",
         {"--sim", "check", "--warning", "controller=95"},
         "controller warning threshold (95) must be below its critical one (90)"},
        {"no timeout", {"--sim", "check", "--timeout", "0"}, "--timeout"},
        {"unknown sensor", {"--sim", "check", "--warn", "gpu=50"}, "gpu"},
        {"not a number", {"--sim", "check", "--crit", "hot"}, "'hot' is not a number"},
        {"out of range", {"--sim", "check", "--warn", "roc=300"}, "300 is out of range"},
        {"unknown option", {"--sim", "check", "--bogus"}, "--bogus"},
        {"missing value", {"--sim", "check", "--warn"}, "--warn"},
        {"bad global option", {"-o", "xml", "check"}, "--output"},
        {"two backends", {"--sim", "--replay", "x.jsonl", "check"}, "choose one backend"},
        {"no backend", {"check"}, "no device given"},
        {"no device node", {"--device", "/nonexistent/kvictl0", "check"}, "/nonexistent/kvictl0"},
        {"unreadable capture",
         {"--replay", "/nonexistent/c.jsonl", "check"},
         "/nonexistent/c.jsonl"},
        {"no such controller", {"--sim", "-c", "5", "check"}, "-c 5: no such controller"},
        {"bad profile", {"--sim=/nonexistent/p.json", "check"}, "nothing was sent"},
    };
    for (const EarlyCase& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir tmp;
        RunResult r = kvictl(c.args, tmp);
        EXPECT_EQ(r.code, 3) << r.out << r.err;
        expectSummary(r, 3, c.reason);
        EXPECT_EQ(r.out.find(" | "), std::string::npos) << "no performance data: " << r.out;
        EXPECT_NE(r.err.find(c.reason), std::string::npos) << r.err;
    }

    // JSON: the envelope is still the one document on stdout, exit 3.
    TempDir tmp;
    RunResult j = kvictl({"--sim", "-o", "json", "check", "--crit", "hot"}, tmp);
    EXPECT_EQ(j.code, 3);
    nlohmann::json doc = nlohmann::json::parse(j.out, nullptr, false);
    ASSERT_FALSE(doc.is_discarded()) << j.out;
    EXPECT_EQ(doc["kvictl"]["exit_status"], 3);
    EXPECT_EQ(doc["messages"][0]["code"], "usage");
    EXPECT_TRUE(doc["controllers"].empty());

    // The same failures elsewhere keep the tool's own exit codes.
    EXPECT_EQ(kvictl({"--sim", "show", "--bogus"}, tmp).code, 2);
    EXPECT_EQ(kvictl({"--sim", "-c", "5", "metrics"}, tmp).code, 2);
    RunResult show = kvictl({"show"}, tmp);
    EXPECT_EQ(show.code, 3);
    EXPECT_EQ(show.out, "");
}
