// End-to-end tests of kvictl: the real binary against the simulator, with a
// fixed TZ and KVICTL_SIM_TIME. Golden files live in tests/golden/cli/;
// KVI_UPDATE_GOLDEN=1 rewrites them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "Run.h"

using clitest::readFile;
using clitest::Result;
using clitest::runKvictl;
using clitest::RunOptions;
using clitest::tempPath;
using clitest::writeFile;
using ojson = nlohmann::ordered_json;

namespace {

std::string goldenDir() {
    return std::string(KVI_SOURCE_DIR) + "/tests/golden/cli/";
}

bool updating() {
    const char* u = std::getenv("KVI_UPDATE_GOLDEN");
    return u != nullptr && std::string(u) == "1";
}

// Compares "# exit N" and stdout with a golden file (or rewrites it).
void expectGolden(const std::string& name, const Result& r) {
    std::string actual = "# exit " + std::to_string(r.exitCode) + "\n" + r.out;
    std::string path = goldenDir() + name;
    if (updating()) {
        writeFile(path, actual);
        return;
    }
    std::string expected = readFile(path);
    ASSERT_FALSE(expected.empty())
        << "missing golden file " << path << " (run with KVI_UPDATE_GOLDEN=1)";
    EXPECT_EQ(expected, actual) << "output of " << name << " differs from its golden file";
}

// The number of direct commands a capture file holds.
int dcmdLines(const std::string& capture) {
    std::istringstream in(readFile(capture));
    std::string line;
    int n = 0;
    while (std::getline(in, line))
        if (line.find("\"type\":\"dcmd\"") != std::string::npos)
            ++n;
    return n;
}

bool captureHasOpcode(const std::string& capture, const std::string& opcode) {
    return readFile(capture).find("\"opcode\":\"" + opcode + "\"") != std::string::npos;
}

// One kvictl invocation of a sequence: its arguments after the globals and
// what it reads on stdin.
struct Step {
    std::vector<std::string> args;
    std::string input;
};

struct GoldenCase {
    const char* name;
    std::vector<std::string> args;
    std::string input = "";        // stdin of the command (passphrases)
    std::vector<Step> before = {}; // run first on the same --sim-state file
};

const std::string kPass = "correct horse 42\n";
const std::string kNewPass = "battery staple 7\n";
const Step kCreateKey = {{"security", "create", "--passphrase-file", "-"}, kPass};
const Step kPatrolStart = {{"patrol", "start"}, ""};

// Every command group, in text and in JSON, on a fresh default controller.
const GoldenCase kGolden[] = {
    {"show_summary", {"show"}},
    {"show_all", {"show", "all"}},
    {"list", {"list"}},
    {"list_all3", {"--sim-controllers", "3", "-c", "all", "list"}},
    {"properties", {"properties"}},
    {"get", {"get", "rebuild-rate", "ncq", "coercion-mode", "spin-down-time"}},
    {"set", {"set", "rebuild-rate=45", "jbod=on", "cc-rate=30"}},
    {"raw_ctrl_prop", {"raw", "KV_CTRL_PROP"}},
    {"alarm", {"alarm"}},
    {"alarm_silence", {"alarm", "silence"}},
    {"bbu", {"bbu"}},
    {"bbu_set", {"bbu", "set", "auto-learn=disabled"}},
    {"bios", {"bios"}},
    {"bios_set", {"bios", "set", "error-mode=stop", "enabled=on"}},
    {"boot", {"boot"}},
    {"boot_set", {"boot", "set", "vd=1"}},
    {"events_info", {"events", "info"}},
    {"events_count", {"events", "count", "--class", "warning"}},
    {"events_list", {"events", "list"}},
    {"capture", {"capture"}},
    {"capture_read", {"capture", "read"}},
    {"patrol", {"patrol"}},
    {"patrol_set",
     {"patrol", "set", "mode=manual", "delay=24", "start=2024-03-01 02:00", "exclude=2,7"}},
    {"cc", {"cc"}},
    {"rules", {"rules"}},
    {"topology", {"topology"}},
    {"topology_set_link_speed", {"topology", "set-link-speed", "4", "6"}},
    {"security", {"security"}},
    {"flush_cache", {"flush-cache"}},
    {"dry_run_restart", {"--dry-run", "restart"}},
    {"security_create", {"security", "create", "--passphrase-file", "-"}, kPass},
    {"security_verify", {"security", "verify", "--passphrase-file", "-"}, kPass, {kCreateKey}},
    {"security_rekey", {"security", "rekey", "--passphrase-file", "-"}, kNewPass, {kCreateKey}},
    {"security_restore", {"security", "restore", "--passphrase-file", "-"}, kPass, {kCreateKey}},
    {"security_suggest", {"security", "suggest"}},
    {"security_destroy", {"-y", "security", "destroy"}, "", {kCreateKey}},
    {"topology_phys", {"topology", "phys"}},
    {"topology_connectors", {"topology", "connectors"}},
    {"topology_mux", {"topology", "mux"}},
    {"topology_lanes", {"topology", "lanes"}},
    {"topology_set_mux", {"topology", "set-mux", "1", "2"}},
    {"topology_set_sas_address", {"-y", "topology", "set-sas-address", "0x5000d31f0a94c100"}},
    {"capture_start", {"capture", "start"}},
    {"capture_stop", {"capture", "stop"}, "", {{{"capture", "start"}, ""}}},
    {"capture_disable", {"capture", "disable"}},
    {"capture_mode", {"capture", "mode", "1"}},
    {"capture_filter", {"capture", "filter", "0x10", "--fw"}},
    {"capture_unfilter", {"capture", "unfilter", "0x10"}},
    {"patrol_start", {"patrol", "start"}},
    {"patrol_stop", {"patrol", "stop"}, "", {kPatrolStart}},
    {"patrol_suspend", {"patrol", "suspend"}, "", {kPatrolStart}},
    {"patrol_resume", {"patrol", "resume"}, "", {kPatrolStart, {{"patrol", "suspend"}, ""}}},
    {"cc_set", {"cc", "set", "mode=concurrent", "delay=672", "start=2024-01-07 03:00"}},
    {"boot_set_pd", {"boot", "set", "pd=12"}},
    {"boot_clear", {"boot", "clear"}},
    {"alarm_on", {"alarm", "on"}},
    {"alarm_off", {"alarm", "off"}},
    {"bbu_learn", {"bbu", "learn"}},
    {"bbu_test", {"bbu", "test"}},
    {"events_clear", {"-y", "events", "clear"}},
    {"events_list_filtered", {"events", "list", "--from", "2", "--max", "3", "--class", "info"}},
    {"factory_defaults", {"-y", "factory-defaults"}},
    {"restart", {"-y", "restart"}},
    {"shutdown", {"-y", "shutdown"}},
};

// Runs a case after the globals: its `before` steps first, on a fresh state
// file that the case then runs on.
Result runCase(const GoldenCase& c, std::vector<std::string> globals) {
    std::string state;
    if (!c.before.empty()) {
        state = tempPath(std::string(c.name) + "-state.json");
        std::remove(state.c_str());
        for (const Step& step : c.before) {
            std::vector<std::string> args = {"--sim", "--sim-state", state};
            args.insert(args.end(), step.args.begin(), step.args.end());
            RunOptions o;
            o.input = step.input;
            Result r = runKvictl(args, o);
            EXPECT_EQ(r.exitCode, 0) << "step of " << c.name << ": " << r.err;
        }
        globals.push_back("--sim-state");
        globals.push_back(state);
    }
    globals.insert(globals.end(), c.args.begin(), c.args.end());
    RunOptions o;
    o.input = c.input;
    Result r = runKvictl(globals, o);
    if (!state.empty()) {
        std::remove(state.c_str());
        // The JSON envelope repeats argv: keep the temporary path out of the golden file.
        for (std::size_t at; (at = r.out.find(state)) != std::string::npos;)
            r.out.replace(at, state.size(), "STATE.json");
    }
    return r;
}

void PrintTo(const GoldenCase& c, std::ostream* os) {
    *os << c.name;
}

class Golden : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(Golden, TextAndJsonMatchAndJsonIsOneDocument) {
    const GoldenCase& c = GetParam();
    Result t = runCase(c, {"--sim"});
    expectGolden(std::string(c.name) + ".txt", t);

    Result j = runCase(c, {"--sim", "-o", "json"});
    expectGolden(std::string(c.name) + ".json", j);
    EXPECT_EQ(t.exitCode, j.exitCode);
    ojson doc = ojson::parse(j.out); // exactly one document, or this throws
    EXPECT_EQ(doc["kvictl"]["exit_status"].get<int>(), j.exitCode);
    EXPECT_EQ(doc["kvictl"]["argv"][0], "kvictl");
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, Golden, ::testing::ValuesIn(kGolden),
                         [](const ::testing::TestParamInfo<GoldenCase>& info) {
                             return std::string(info.param.name);
                         });

TEST(Cli, JsonCompactIsOneLineOfTheSameDocument) {
    Result pretty = runKvictl({"--sim", "-o", "json", "show", "bus"});
    Result compact = runKvictl({"--sim", "-o", "json-compact", "show", "bus"});
    ASSERT_EQ(compact.exitCode, 0);
    EXPECT_EQ(std::count(compact.out.begin(), compact.out.end(), '\n'), 1);
    EXPECT_EQ(ojson::parse(pretty.out)["controllers"], ojson::parse(compact.out)["controllers"]);
}

TEST(Cli, ShowAllKeepsTheSectionOrderInJson) {
    Result r = runKvictl({"--sim", "-o", "json", "show", "all"});
    ojson doc = ojson::parse(r.out);
    std::vector<std::string> titles;
    for (auto it = doc["controllers"][0]["sections"].begin();
         it != doc["controllers"][0]["sections"].end(); ++it)
        titles.push_back(it.key());
    const std::vector<std::string> expected = {"Basics",
                                               "Version",
                                               "Bus",
                                               "Pending Images",
                                               "Firmware Images",
                                               "Status",
                                               "Supported Controller Operations",
                                               "Supported Drive Operations",
                                               "Supported Virtual Drive Operations",
                                               "Key Management",
                                               "Hardware Configuration",
                                               "Policies",
                                               "Boot",
                                               "High Availability",
                                               "Scheduled Tasks",
                                               "Secure Boot",
                                               "Defaults",
                                               "Capabilities"};
    EXPECT_EQ(titles, expected);
    // Report sections keep their report keys as the sections write them.
    EXPECT_EQ(doc["controllers"][0]["sections"]["Basics"].begin().key(), "Model");
}

TEST(Cli, SetThenGetAcrossInvocationsWithSimState) {
    std::string state = tempPath("state.json");
    std::string capture = tempPath("set.jsonl");
    std::remove(state.c_str());
    Result set = runKvictl(
        {"--sim", "--sim-state", state, "-o", "json", "set", "rebuild-rate=55", "ncq=off"});
    ASSERT_EQ(set.exitCode, 0) << set.err;
    ojson s = ojson::parse(set.out);
    EXPECT_TRUE(s["controllers"][0]["changed"].get<bool>());
    EXPECT_EQ(s["controllers"][0]["changes"][0]["old"], 30);
    EXPECT_EQ(s["controllers"][0]["changes"][0]["new"], 55);

    Result get =
        runKvictl({"--sim", "--sim-state", state, "-o", "json", "get", "rebuild-rate", "ncq"});
    ASSERT_EQ(get.exitCode, 0) << get.err;
    ojson g = ojson::parse(get.out);
    EXPECT_EQ(g["controllers"][0]["properties"]["rebuild_rate_percent"], 55);
    EXPECT_EQ(g["controllers"][0]["properties"]["ncq"], false);

    // The same values again: nothing is written.
    Result again = runKvictl({"--sim", "--sim-state", state, "--record", capture, "-o", "json",
                              "set", "rebuild-rate=55", "ncq=off"});
    ASSERT_EQ(again.exitCode, 0) << again.err;
    EXPECT_FALSE(ojson::parse(again.out)["controllers"][0]["changed"].get<bool>());
    EXPECT_FALSE(captureHasOpcode(capture, "0x01020200")) << "a property write was sent";
    EXPECT_GT(dcmdLines(capture), 0); // the current values were read
    std::remove(state.c_str());
    std::remove(capture.c_str());
}

TEST(Cli, InjectedFailureGivesExitOneAPartialSectionAndTheStatusName) {
    std::string profile = tempPath("busy-clock.json");
    // The host-information read answers a status the interface gives no name:
    // the basic section stops there and the status is shown by its number.
    writeFile(profile, R"({"base": "default", "fail": {"0x010C0700": 4}})");
    Result r = runKvictl({"--sim=" + profile, "-o", "json", "show", "basic", "bus"});
    EXPECT_EQ(r.exitCode, 1);
    ojson doc = ojson::parse(r.out);
    EXPECT_EQ(doc["kvictl"]["exit_status"], 1);
    const ojson& c = doc["controllers"][0];
    EXPECT_TRUE(c["sections"]["Basics"].contains("Model"));
    EXPECT_FALSE(c["sections"]["Basics"].contains("Mfg Date"));
    EXPECT_TRUE(c["sections"].contains("Bus")); // later sections still run
    ASSERT_FALSE(c["messages"].empty());
    EXPECT_EQ(c["messages"][0]["severity"], "error");
    EXPECT_EQ(c["messages"][0]["code"], "0x04");
    EXPECT_NE(c["messages"][0]["text"].get<std::string>().find("Basics"), std::string::npos);

    Result text = runKvictl({"--sim=" + profile, "show", "basic"});
    EXPECT_EQ(text.exitCode, 1);
    EXPECT_NE(text.err.find("failed: firmware status 0x04; run with --log FILE"), std::string::npos)
        << text.err;
    EXPECT_EQ(std::count(text.err.begin(), text.err.end(), '\n'), 1) << "one line per failure";
    std::remove(profile.c_str());
}

struct BadInput {
    const char* name;
    std::vector<std::string> args;
    std::string input;
    int exitCode;
    std::string message;
    bool sendsNothing;
    // For a refusal that needs the controller's answer first: the write that
    // must not be sent (the reads before it are).
    const char* writeNotSent = nullptr;
};

TEST(Cli, BadInputIsRefusedBeforeAnythingIsSent) {
    // A state file of one default controller, and a controller without
    // virtual drives.
    const std::string state = tempPath("bad-state.json");
    std::remove(state.c_str());
    ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "set", "rebuild-rate=30"}).exitCode, 0);
    const std::string noVds = tempPath("no-vds.json");
    writeFile(noVds, R"({"base": "default", "records": {"KV_CTRL_INFO": {"ldPresentCount": 0}}})");
    const BadInput cases[] = {
        {"state file of another profile",
         {"--sim-profile", "entry", "--sim-state", state, "list"},
         "",
         2,
         "the simulator state file " + state + " holds profile 'default', not 'entry'",
         true},
        {"state file with another controller count",
         {"--sim-state", state, "--sim-controllers", "3", "list"},
         "",
         2,
         "holds 1 controller, not 3",
         true},
        {"mux index beyond the controller's multiplexers",
         {"topology", "set-mux", "2", "1"},
         "",
         2,
         "multiplexer 2 does not exist on controller 0 (multiplexers 0-1)",
         false,
         "0x07020200"},
        {"mux index beyond the index byte",
         {"topology", "set-mux", "256", "1"},
         "",
         2,
         "256 is out of range",
         true},
        {"boot vd beyond the controller's virtual drives",
         {"boot", "set", "vd=240"},
         "",
         2,
         "virtual drive 240 does not exist on controller 0 (target ids 0-239)",
         false,
         "0x010C0200"},
        {"boot vd on a controller without virtual drives",
         {"--sim-profile", noVds, "boot", "set", "vd=0"},
         "",
         2,
         "controller 0 has no virtual drives",
         false,
         "0x010C0200"},
        {"unknown command", {"frobnicate"}, "", 2, "frobnicate", true},
        {"unknown property", {"set", "bogus=1"}, "", 2, "unknown property 'bogus'", true},
        {"out-of-range value", {"set", "rebuild-rate=101"}, "", 2, "out of range (0-100)", true},
        {"out-of-range among valid",
         {"set", "cc-rate=20", "rebuild-rate=101"},
         "",
         2,
         "out of range",
         true},
        {"malformed time",
         {"patrol", "set", "start=2025-02-30 10:00"},
         "",
         2,
         "not a local time",
         true},
        {"phy index 99",
         {"topology", "set-link-speed", "99", "6"},
         "",
         2,
         "99 is out of range",
         true},
        {"unknown speed", {"topology", "set-link-speed", "1", "7"}, "", 2, "speed", true},
        {"mux mode beyond auto",
         {"topology", "set-mux", "0", "4"},
         "",
         2,
         "out of range (1-3)",
         true},
        {"mux mode by an unknown name",
         {"topology", "set-mux", "0", "fast"},
         "",
         2,
         "not one of internal, external or auto",
         true},
        {"passphrase of 40 characters",
         {"security", "create", "--passphrase-file", "-"},
         std::string(40, 'x') + "\n",
         2,
         "8 to 32 characters",
         true},
        {"missing -y off a terminal", {"factory-defaults"}, "", 2, "-y", true},
        {"missing -y for events clear", {"events", "clear"}, "", 2, "-y", true},
        {"unknown section", {"show", "nonsense"}, "", 2, "unknown section", true},
        {"unknown event class", {"events", "list", "--class", "loud"}, "", 2, "event class", true},
        {"unknown record", {"raw", "KV_NOTHING"}, "", 2, "not a record", true},
        {"firmware refuses a passphrase",
         {"security", "verify", "--passphrase-file", "-"},
         "correct horse\n",
         1,
         "failed: firmware status 0x06; run with --log",
         false},
    };
    for (const BadInput& c : cases) {
        SCOPED_TRACE(c.name);
        std::string capture = tempPath("bad.jsonl");
        std::remove(capture.c_str());
        std::vector<std::string> args = {"--sim", "--record", capture};
        args.insert(args.end(), c.args.begin(), c.args.end());
        RunOptions o;
        o.input = c.input;
        Result r = runKvictl(args, o);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.err;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        if (c.sendsNothing) {
            EXPECT_EQ(dcmdLines(capture), 0);
        }
        if (c.writeNotSent != nullptr) {
            EXPECT_FALSE(captureHasOpcode(capture, c.writeNotSent)) << "the write was sent";
        }
        // The same in JSON: one document with the message and the exit status.
        std::vector<std::string> js = {"--sim", "-o", "json-compact"};
        js.insert(js.end(), c.args.begin(), c.args.end());
        Result j = runKvictl(js, o);
        ojson doc = ojson::parse(j.out);
        EXPECT_EQ(doc["kvictl"]["exit_status"], c.exitCode);
        std::remove(capture.c_str());
    }
    // A refused state file is left as it was: still one default controller.
    Result kept = runKvictl({"--sim", "--sim-state", state, "-o", "json", "list"});
    EXPECT_EQ(ojson::parse(kept.out)["controllers"].size(), 1u);
    std::remove(state.c_str());
    std::remove(noVds.c_str());
}

TEST(Cli, RestartAndShutdownEachSendTheirOwnFlag) {
    // One shutdown command with the shutdown flag in b[0] and the restart
    // flag in b[1]; a restart without its flag would be a plain shutdown.
    struct Row {
        const char* command;
        const char* mailbox;
    };
    const Row rows[] = {
        {"restart", "000100000000000000000000"},
        {"shutdown", "000000000000000000000000"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.command);
        Result r = runKvictl({"--sim", "--dry-run", row.command});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        EXPECT_NE(r.out.find(std::string("KV_DCMD_CTRL_SHUTDOWN (0x01050000) mailbox ") +
                             row.mailbox + " length 0"),
                  std::string::npos)
            << r.out;
    }
}

TEST(Cli, OnlyARestartPutsARekeyedLockKeyInEffect) {
    std::string state = tempPath("restart-state.json");
    std::remove(state.c_str());
    auto run = [&](std::vector<std::string> args, const std::string& input = "") {
        args.insert(args.begin(), {"--sim", "--sim-state", state});
        RunOptions o;
        o.input = input;
        Result r = runKvictl(args, o);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        return r;
    };
    auto rebootRequired = [&] {
        Result r = run({"-o", "json", "security"});
        return ojson::parse(r.out)["controllers"][0]["security"]["reboot_required"].get<bool>();
    };
    auto newestEvent = [&] {
        Result r = run({"-o", "json", "events", "list"});
        return ojson::parse(r.out)["controllers"][0]["events"].back()["description"];
    };
    run({"security", "create", "--passphrase-file", "-"}, kPass);
    run({"security", "rekey", "--passphrase-file", "-"}, kNewPass);
    EXPECT_TRUE(rebootRequired());

    run({"-y", "shutdown"});
    EXPECT_EQ(newestEvent(), "Controller shutdown requested");
    EXPECT_TRUE(rebootRequired()) << "a shutdown is no restart";

    run({"-y", "restart"});
    EXPECT_FALSE(rebootRequired());
    ojson events = ojson::parse(run({"-o", "json", "events", "list"}).out);
    std::vector<std::string> texts;
    for (const ojson& e : events["controllers"][0]["events"])
        texts.push_back(e["description"].get<std::string>());
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[texts.size() - 2], "Controller restart requested");
    EXPECT_EQ(texts.back(), "Controller booted");
    std::remove(state.c_str());
}

TEST(Cli, NextLearnTimeAgreesWithTheScheduledTasksInSummerTime) {
    // The firmware counts wall-clock seconds from local midnight of
    // 2000-01-01 in standard time: in Berlin these are 12:00 on both days.
    struct Row {
        const char* when;
        unsigned long long seconds;
        long long unixTime; // for the metric and the JSON
        const char* iso;
    };
    const Row rows[] = {
        {"2026-07-01 12:00", 836222400ull, 1782900000ll, "2026-07-01T12:00:00+02:00"},
        {"2026-01-15 12:00", 821793600ull, 1768474800ll, "2026-01-15T12:00:00+01:00"},
    };
    RunOptions berlin;
    berlin.env["TZ"] = "Europe/Berlin";
    for (const Row& row : rows) {
        SCOPED_TRACE(row.when);
        std::string profile = tempPath("learn.json");
        writeFile(profile, R"({"base": "default", "records": {"KV_BBU_PROPERTIES": )"
                           R"({"nextLearnTime": )" +
                               std::to_string(row.seconds) + "}}}");
        Result bbu = runKvictl({"--sim=" + profile, "-o", "json", "bbu"}, berlin);
        ASSERT_EQ(bbu.exitCode, 0) << bbu.err;
        const ojson battery = ojson::parse(bbu.out)["controllers"][0]["battery"];
        EXPECT_EQ(battery["next_learn_time"], row.iso);
        EXPECT_EQ(battery["next_learn_time_epoch_seconds"], row.unixTime);

        Result tasks = runKvictl({"--sim=" + profile, "show", "tasks"}, berlin);
        std::string hhmm = std::string(row.when).substr(11);
        std::size_t line = tasks.out.find("Next Battery Learn");
        ASSERT_NE(line, std::string::npos) << tasks.out;
        std::string text = tasks.out.substr(line, tasks.out.find('\n', line) - line);
        EXPECT_NE(text.find(hhmm), std::string::npos) << text;

        Result metrics = runKvictl({"--sim=" + profile, "metrics"}, berlin);
        EXPECT_NE(
            metrics.out.find("kvictl_battery_next_learn_timestamp_seconds{controller=\"0\"} " +
                             std::to_string(row.unixTime)),
            std::string::npos)
            << metrics.out;
        std::remove(profile.c_str());
    }
}

TEST(Cli, UnreadableProfileIsAUsageError) {
    Result r = runKvictl({"--sim=/nonexistent/profile.json", "show"});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.err.find("/nonexistent/profile.json"), std::string::npos) << r.err;
    EXPECT_TRUE(r.out.empty());
}

TEST(Cli, NoBackendSaysHowToTryTheSimulator) {
    RunOptions o;
    o.env["KVICTL_DEVICE"] = "";
    Result r = runKvictl({"show"}, o);
    EXPECT_EQ(r.exitCode, 3);
    EXPECT_NE(r.err.find("kvictl --sim"), std::string::npos) << r.err;
    Result j = runKvictl({"-o", "json", "show"}, o);
    EXPECT_EQ(ojson::parse(j.out)["kvictl"]["exit_status"], 3);
}

TEST(Cli, DryRunListsTheWriteAndDoesNotSendIt) {
    std::string capture = tempPath("dry.jsonl");
    Result r = runKvictl({"--sim", "--record", capture, "--dry-run", "set", "rebuild-rate=77"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("KV_DCMD_CTRL_PROPERTIES_SET (0x01020200)"), std::string::npos) << r.out;
    EXPECT_FALSE(captureHasOpcode(capture, "0x01020200"));
    std::remove(capture.c_str());
}

TEST(Cli, LogFileTakesTheAdapterLines) {
    std::string log = tempPath("debug.log");
    std::remove(log.c_str());
    Result r = runKvictl({"--sim", "--log", log, "--log-level", "3", "get", "rebuild-rate"});
    ASSERT_EQ(r.exitCode, 0);
    std::string text = readFile(log);
    EXPECT_NE(text.find("Entering AdapterDataKvi::getRebuildRate"), std::string::npos) << text;
    EXPECT_EQ(r.err, ""); // the debug log never goes to stderr
    std::remove(log.c_str());
}

TEST(Cli, DefaultsAndCapabilitiesShowTheFieldEachRowNames) {
    // Every row of both sections, each field a different value (as far as its
    // codes allow), so a row reading the wrong field, or a code taken through
    // the wrong rule, shows. `fields` go into `record` (the profile itself when
    // null); `shown` is the value the row must show.
    const struct {
        const char* section;
        const char* key;
        const char* record;
        const char* fields;
        const char* shown;
    } rows[] = {
        {"Defaults", "SAS Address", "KV_MFC_DEFAULTS", R"({"sasAddr": "0x5000d31f0a94c0ab"})",
         R"("5000d31f0a94c0ab")"},
        {"Defaults", "Strip Size Code", "KV_MFC_DEFAULTS", R"({"stripeSize": 9})", "9"},
        {"Defaults", "Write Policy Code", "KV_MFC_DEFAULTS", R"({"writeBack": 2})", "2"},
        {"Defaults", "Read Policy Code", "KV_MFC_DEFAULTS", R"({"readAhead": 0})", "2"},
        {"Defaults", "Cache Policy Code", "KV_MFC_DEFAULTS", R"({"cachedIo": 7})", "1"},
        {"Defaults", "Disk Cache Policy Code", nullptr, R"({"oem": 7})", "2"},
        {"Defaults", "Write Cache Bad BBU Code", "KV_MFC_DEFAULTS", R"({"cacheWhenBBUBad": 1})",
         "1"},
        {"Defaults", "Disk Certification Policy Code", "KV_MFC_DEFAULTS",
         R"({"allowUnCertifiedHDDs": 6})", "6"},
        {"Defaults", "Treat RAID1E As RAID10", "KV_MFC_DEFAULTS", R"({"treatR1EAsR10": 4})",
         R"("Yes")"},
        {"Defaults", "Spin Down Mode", "KV_MFC_DEFAULTS", R"({"spindownMode": 3})", R"("all")"},
        {"Defaults", "Default Max VDs per Array", "KV_MFC_DEFAULTS", R"({"maxLdsPerArray": 5})",
         "5"},
        {"Capabilities", "Max Arms", "KV_CTRL_INFO", R"({"maxArms": 31})", "31"},
        {"Capabilities", "Max Spans", "KV_CTRL_INFO", R"({"maxSpans": 7})", "7"},
        {"Capabilities", "Max Arrays", "KV_CTRL_INFO", R"({"maxArrays": 127})", "127"},
        {"Capabilities", "Max Virtual Drives", "KV_CTRL_INFO", R"({"maxLDs": 239})", "239"},
        {"Capabilities", "Max Drives", "KV_CTRL_INFO", R"({"maxPds": 238})", "238"},
        {"Capabilities", "Max Configurable Drives", "KV_CTRL_INFO",
         R"({"maxConfigurablePds": 237})", "237"},
        {"Capabilities", "Max Dedicated Hot Spares", "KV_CTRL_INFO", R"({"maxDedHSPs": 15})", "15"},
        {"Capabilities", "Max Global Hot Spares", "KV_CTRL_INFO", R"({"maxGlobalHSPs": 14})", "14"},
        {"Capabilities", "Max VDs per Array", "KV_CTRL_INFO", R"({"maxLdsPerArray": 13})", "13"},
        {"Capabilities", "Min Strip Size Code", "KV_CTRL_INFO", R"({"stripeSizeOptions.min": 6})",
         "6"},
        {"Capabilities", "Max Strip Size Code", "KV_CTRL_INFO", R"({"stripeSizeOptions.max": 12})",
         "12"},
        {"Capabilities", "Supported RAID Levels", "KV_CTRL_INFO",
         R"({"raidLevels.raidLevel_1": 0, "raidLevels.raidLevel_50": 0,
             "raidLevels.raidLevel_00_unsupported": 1})",
         R"(["RAID0", "RAID5", "RAID6", "RAID10", "RAID60"])"},
        {"Capabilities", "OEM Code", nullptr, R"({"oem": 7})", "7"},
    };
    ojson doc = {{"base", "default"}};
    for (const auto& r : rows)
        (r.record != nullptr ? doc["records"][r.record] : doc).merge_patch(ojson::parse(r.fields));
    std::string profile = tempPath("distinct.json");
    writeFile(profile, doc.dump());
    Result r = runKvictl({"--sim=" + profile, "-o", "json", "show", "defaults", "capabilities"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const ojson out = ojson::parse(r.out);
    const ojson& sections = out.at("controllers").at(0).at("sections");
    for (const auto& row : rows)
        EXPECT_EQ(sections.at(row.section).value(row.key, ojson()), ojson::parse(row.shown))
            << row.section << ": " << row.key;
    std::remove(profile.c_str());
}

TEST(Cli, RecordValuesOutsideTheirDefinedRangeAreNamedNotGuessed) {
    const struct {
        const char* what;
        const char* records;
        std::vector<std::string> args;
        std::string outLine, errText;
    } cases[] = {
        {"strip code beyond 16 MiB",
         R"({"KV_CTRL_INFO": {"stripeSizeOptions.min": 0, "stripeSizeOptions.max": 40}})",
         {"rules"},
         "Max Strip Size              = unknown (code 40)",
         ""},
        {"smallest strip code",
         R"({"KV_CTRL_INFO": {"stripeSizeOptions.min": 0}})",
         {"rules"},
         "Min Strip Size              = 512 bytes",
         ""},
        {"more connectors than the record holds",
         R"({"KV_SAS_CONNECTORS": {"count": 12}})",
         {"topology", "connectors"},
         "  7                   internal",
         "states 12 connectors; its record holds 8"},
        {"link speed in the controller-data layer's words",
         "{}",
         {"topology", "phys"},
         "  0    no        0x50000399a8411f02  0     0          12.0 Gbps",
         ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::string profile = tempPath("ranges.json");
        writeFile(profile, std::string(R"({"base": "default", "records": )") + c.records + "}");
        std::vector<std::string> args = {"--sim=" + profile};
        args.insert(args.end(), c.args.begin(), c.args.end());
        Result r = runKvictl(args);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        EXPECT_NE(r.out.find(c.outLine + "\n"), std::string::npos) << r.out;
        EXPECT_EQ(r.out.find(" 0 bytes"), std::string::npos) << r.out;
        EXPECT_NE(r.err.find(c.errText), std::string::npos) << r.err;
        std::remove(profile.c_str());
    }
}

TEST(Cli, ListAndMetricsNameTheSerialNumberTheReportShows) {
    // The manufacturing record and the controller information hold different
    // serials; the report's choice (and its "NA" for a withholding controller
    // type) is the one every listing uses.
    const struct {
        const char* what;
        const char* extra;
        const char* serial;
    } cases[] = {
        {"manufacturing record", "", "MFG-SERIAL-01"},
        {"withheld", R"(, "controllerType": 1)", "NA"},
        {"OEM host: the controller information's", R"(, "isOEMhp": true)", "INFO-SERIAL-02"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::string profile = tempPath("serials.json");
        writeFile(profile, std::string(R"({"base": "default", "records": {)"
                                       R"("KV_MFC_MFG": {"sn": "MFG-SERIAL-01"},)"
                                       R"("KV_CTRL_INFO": {"serialNo": "INFO-SERIAL-02"}})") +
                               c.extra + "}");
        const std::string sim = "--sim=" + profile;
        Result basic = runKvictl({sim, "-o", "json", "show", "basic"});
        Result list = runKvictl({sim, "-o", "json", "list"});
        Result metrics = runKvictl({sim, "metrics"});
        ASSERT_EQ(basic.exitCode, 0) << basic.err;
        EXPECT_EQ(ojson::parse(basic.out)["controllers"][0]["sections"]["Basics"]["Serial Number"],
                  c.serial);
        const ojson serial = ojson::parse(list.out)["controllers"][0]["serial_number"];
        EXPECT_EQ(std::string(c.serial) == "NA" ? ojson() : ojson(c.serial), serial);
        EXPECT_NE(metrics.out.find(std::string("serial=\"") + c.serial + "\""), std::string::npos)
            << metrics.out;
        std::remove(profile.c_str());
    }
}

TEST(Cli, EveryReadingOfTheControllerClockAgreesInSummerAndWinter) {
    RunOptions berlin;
    berlin.env["TZ"] = "Europe/Berlin";
    // 1 July 2026 and 15 January 2026, both 12:00 local time.
    for (const char* when : {"1782900000", "1768474800"}) {
        SCOPED_TRACE(when);
        berlin.env["KVICTL_SIM_TIME"] = when;
        const std::string day = std::string(when) == "1782900000" ? "07/01/2026" : "01/15/2026";
        Result r = runKvictl({"--sim", "show", "basic", "summary"}, berlin);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        for (const std::string& line : {"Current Controller Date/Time = " + day + ", 12:00:00",
                                        "Current System Date/time     = " + day + ", 12:00:00",
                                        "Controller Time     = " + day + " 12:00:00"})
            EXPECT_NE(r.out.find(line + "\n"), std::string::npos) << line << "\n" << r.out;
        // An event logged now carries the same clock.
        std::string state = tempPath("clock-state.json");
        std::remove(state.c_str());
        ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "alarm", "silence"}, berlin).exitCode,
                  0);
        Result ev = runKvictl({"--sim", "--sim-state", state, "events", "list"}, berlin);
        EXPECT_NE(ev.out.find(" 12:00:00  info      0x0001  50      Alarm silenced"),
                  std::string::npos)
            << ev.out;
        std::remove(state.c_str());
    }
}

TEST(Cli, PatrolStartTimeRoundTripsInSummerTime) {
    std::string state = tempPath("summer.json");
    std::remove(state.c_str());
    RunOptions berlin;
    berlin.env["TZ"] = "Europe/Berlin";
    for (const auto& when : {std::make_pair("2024-07-15 02:30", "2024-07-15T02:30:00+02:00"),
                             std::make_pair("2024-12-15 02:30", "2024-12-15T02:30:00+01:00")}) {
        SCOPED_TRACE(when.first);
        Result set = runKvictl(
            {"--sim", "--sim-state", state, "patrol", "set", std::string("start=") + when.first},
            berlin);
        ASSERT_EQ(set.exitCode, 0) << set.err;
        Result show = runKvictl({"--sim", "--sim-state", state, "-o", "json", "patrol"}, berlin);
        EXPECT_EQ(ojson::parse(show.out)["controllers"][0]["patrol_read"]["next_start"],
                  when.second);
    }
    std::remove(state.c_str());
}

TEST(Cli, EventsListStreamsAHundredThousandEventsInFlatMemory) {
    std::string big = tempPath("big-log.json");
    std::string small = tempPath("small-log.json");
    writeFile(big, R"({"base": "default", "eventLog": {"generate": 100000}})");
    writeFile(small, R"({"base": "default", "eventLog": {"generate": 1000}})");
    Result b = runKvictl({"--sim=" + big, "events", "list"});
    Result s = runKvictl({"--sim=" + small, "events", "list"});
    ASSERT_EQ(b.exitCode, 0) << b.err;
    ASSERT_EQ(s.exitCode, 0) << s.err;
    // Title, underline, header, dashes, then one line per event.
    EXPECT_EQ(std::count(b.out.begin(), b.out.end(), '\n'), 100000 + 4);
    // 100 000 records are 25 MB; streaming keeps the peak within a few MB of
    // the small log's. (AddressSanitizer holds freed memory in quarantine, so
    // the peak says nothing in a sanitizer build.)
#if !defined(__SANITIZE_ADDRESS__)
    EXPECT_LT(b.maxRssKb - s.maxRssKb, 8 * 1024) << b.maxRssKb << " KB vs " << s.maxRssKb << " KB";
#endif

    std::remove(big.c_str());
    std::remove(small.c_str());
}

TEST(Cli, HelpAndVersionGoToStdoutWithExitZero) {
    for (const std::vector<std::string>& a : std::vector<std::vector<std::string>>{
             {"--help"}, {"--version"}, {"show", "--help"}, {"patrol", "set", "--help"}}) {
        Result r = runKvictl(a);
        EXPECT_EQ(r.exitCode, 0);
        EXPECT_FALSE(r.out.empty());
        EXPECT_EQ(r.err, "");
    }
    EXPECT_NE(runKvictl({"show", "--help"}).out.find("Examples:"), std::string::npos);
}

} // namespace
