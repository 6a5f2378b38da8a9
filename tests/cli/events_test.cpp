// kvictl events list and events follow end to end: which events a start
// (--from, --since, --since-boot) and a count (--max, --last) select, in a
// summer-time zone and in UTC (refusals and JSON times: data/events.cases);
// follow picking up what a concurrent command on the same state file
// logs, ending cleanly on a signal, and a capture of it replaying.
#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "Run.h"
#include "tests/support/ScratchDir.h"

using clitest::Child;
using clitest::readFile;
using clitest::Result;
using clitest::runKvictl;
using clitest::RunOptions;
using clitest::writeFile;
using ojson = nlohmann::ordered_json;

namespace {

const std::map<std::string, std::string> kUtc = {{"TZ", "UTC0"}, {"KVICTL_SIM_TIME", "1700000000"}};
// 1 July 2026, 12:00 in Berlin (summer time, UTC+2).
const std::map<std::string, std::string> kBerlinSummer = {{"TZ", "Europe/Berlin"},
                                                          {"KVICTL_SIM_TIME", "1782900000"}};

RunOptions in(const std::map<std::string, std::string>& env) {
    RunOptions o;
    o.env = env;
    o.limitSeconds = 300;
    return o;
}

// The sequence numbers of `events list -o json`.
std::vector<unsigned> sequences(const Result& r) {
    std::vector<unsigned> out;
    ojson doc = ojson::parse(r.out, nullptr, false);
    if (doc.is_discarded())
        return out;
    for (const ojson& e : doc["controllers"][0]["events"])
        out.push_back(e["sequence"].get<unsigned>());
    return out;
}

// The sequence numbers of the text rows (after the title, header and rule).
std::vector<unsigned> textSequences(const std::string& text) {
    std::vector<unsigned> out;
    std::istringstream lines(text);
    std::string line;
    int n = 0;
    while (std::getline(lines, line))
        if (++n > 4)
            out.push_back(static_cast<unsigned>(std::stoul(line)));
    return out;
}

} // namespace

// The default profile logs events 1-5, 86400, 86390, 82000, 40000 and 3600 s
// before now; "boot" adds a controller boot, an event stamped 5 s after boot
// and one 50 s ago.
TEST(Events, ListSelectsTheWindowAsked) {
    kvitest::ScratchDir dir("kvictl-events");
    const std::string boot = dir.file("boot.json");
    writeFile(boot, R"({"base": "default", "events": [
        {"code": 1, "description": "Controller booted", "age": 100},
        {"code": 264, "description": "Time established", "bootSeconds": 5},
        {"code": 50, "description": "Alarm silenced", "age": 50}]})");
    // A restart, then an alarm silenced: the boot is event 7.
    const std::string state = dir.file("state.json");
    ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "-y", "restart"}).exitCode, 0);
    ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "alarm", "silence"}).exitCode, 0);

    // Each case runs `kvictl --sim BACKEND... events list OPTIONS...`.
    struct Case {
        const char* name;
        bool summer; // Berlin summer time, else UTC
        std::vector<std::string> options;
        std::vector<unsigned> want;
        std::vector<std::string> backend = {};
    };
    const std::vector<std::string> bootProfile = {"--sim-profile", boot};
    const std::vector<std::string> restarted = {"--sim-state", state};
    const Case cases[] = {
        {"whole log", false, {}, {1, 2, 3, 4, 5}},
        {"newest two", false, {"--last", "2"}, {4, 5}},
        {"more than the log holds", false, {"--last", "9"}, {1, 2, 3, 4, 5}},
        {"oldest two from 2", false, {"--from", "2", "--max", "2"}, {2, 3}},
        {"newest two from 2", false, {"--from", "2", "--last", "2"}, {4, 5}},
        {"newest warnings", false, {"--last", "2", "--class", "warning"}, {4}},
        // UTC: event 4 at 2023-11-14 11:06:40, event 5 at 21:13:20.
        {"local time, at the event", false, {"--since", "2023-11-14 11:06:40"}, {4, 5}},
        {"local time, a second later", false, {"--since", "2023-11-14 11:06:41"}, {5}},
        {"local date", false, {"--since", "2023-11-14"}, {4, 5}},
        {"ISO with offset", false, {"--since", "2023-11-14T12:06:40+01:00"}, {4, 5}},
        {"ISO Z, a second later", false, {"--since", "2023-11-14T11:06:41Z"}, {5}},
        {"after the newest", false, {"--since", "2023-11-15"}, {}},
        // Berlin summer time: event 3 at 2026-06-30 13:13:20, event 4 at
        // 2026-07-01 00:53:20 (22:53:20 UTC), event 5 at 11:00:00.
        {"summer local time", true, {"--since", "2026-07-01 00:53:20"}, {4, 5}},
        {"summer local, a second later", true, {"--since", "2026-07-01 00:53:21"}, {5}},
        {"summer HH:MM", true, {"--since", "2026-06-30 13:13"}, {3, 4, 5}},
        {"summer ISO Z", true, {"--since", "2026-06-30T22:53:20Z"}, {4, 5}},
        {"summer ISO offset", true, {"--since", "2026-07-01T00:53:21+02:00"}, {5}},
        {"newest since a time", true, {"--since", "2026-06-30", "--last", "1"}, {5}},
        // A boot-relative stamp follows the events before it.
        {"boot stamp kept", false, {"--since", "2023-11-14 22:11:40"}, {6, 7, 8}, bootProfile},
        {"boot stamp left", false, {"--since", "2023-11-14 22:12:00"}, {8}, bootProfile},
        {"since the profile's boot", false, {"--since-boot"}, {6, 7, 8}, bootProfile},
        {"since a restart", false, {"--since-boot"}, {7, 8}, restarted},
        {"newest since a restart", false, {"--since-boot", "--last", "1"}, {8}, restarted},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<std::string> args = {"--sim"};
        args.insert(args.end(), c.backend.begin(), c.backend.end());
        args.insert(args.end(), {"events", "list"});
        args.insert(args.end(), c.options.begin(), c.options.end());
        const RunOptions env = in(c.summer ? kBerlinSummer : kUtc);
        Result text = runKvictl(args, env);
        ASSERT_EQ(text.exitCode, 0) << text.err;
        EXPECT_EQ(textSequences(text.out), c.want) << text.out;
        args.insert(args.begin() + 1, {"-o", "json"});
        Result json = runKvictl(args, env);
        ASSERT_EQ(json.exitCode, 0) << json.err;
        EXPECT_EQ(sequences(json), c.want);
    }
}

// The newest N of a large log, also filtered by class (sequence numbers with
// gaps), from the firmware's counts: a few requests, not the whole log. The
// whole log streams in flat memory.
TEST(Events, LastOfALargeLogReadsOnlyItsEnd) {
    kvitest::ScratchDir dir("kvictl-events");
    const std::string big = dir.file("big.json"), cap = dir.file("cap.jsonl");
    writeFile(big, R"({"base": "default", "eventLog": {"generate": 100000}})");
    writeFile(dir.file("small.json"), R"({"base": "default", "eventLog": {"generate": 1000}})");
    Result b = runKvictl({"--sim=" + big, "events", "list"}, in(kUtc));
    Result s = runKvictl({"--sim=" + dir.file("small.json"), "events", "list"}, in(kUtc));
    ASSERT_EQ(b.exitCode + s.exitCode, 0) << b.err << s.err;
    // Title, underline, header, dashes, then one line per event.
    EXPECT_EQ(clitest::countOf(b.out, "\n"), 100000u + 4);
    // 100 000 records are 25 MB; streaming keeps the peak within a few MB of
    // the small log's. (AddressSanitizer holds freed memory in quarantine, so
    // the peak says nothing in a sanitizer build.)
#if !defined(__SANITIZE_ADDRESS__)
    EXPECT_LT(b.maxRssKb - s.maxRssKb, 8 * 1024) << b.maxRssKb << " KB vs " << s.maxRssKb << " KB";
#endif
    Result all = runKvictl(
        {"--sim=" + big, "-o", "json", "events", "list", "--from", "99000", "--class", "critical"},
        in(kUtc));
    std::vector<unsigned> critical = sequences(all);
    ASSERT_GT(critical.size(), 3u);
    const std::vector<unsigned> newest3(critical.end() - 3, critical.end());
    struct Case {
        std::vector<std::string> args;
        std::vector<unsigned> want;
    };
    const Case cases[] = {
        {{"--last", "5"}, {99996, 99997, 99998, 99999, 100000}},
        {{"--last", "3", "--class", "critical"}, newest3},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = {"--sim=" + big, "--record", cap,   "-o",
                                         "json",         "events",   "list"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        Result r = runKvictl(args, in(kUtc));
        ASSERT_EQ(r.exitCode, 0) << r.err;
        EXPECT_EQ(sequences(r), c.want);
        EXPECT_LT(clitest::countOf(readFile(cap), R"("type":"dcmd")"), 40u)
            << "the log was read, not counted";
    }
}

// events follow on a state file prints what another kvictl run on the same
// file logs meanwhile (each poll takes the lock only while it reads), ends
// with exit 0 on SIGTERM or SIGINT after whole lines, and leaves a capture
// that replays to the same output. A controller that stops answering ends it
// with exit 1.
TEST(Events, FollowPrintsWhatAConcurrentCommandLogs) {
    struct Case {
        const char* name;
        std::vector<std::string> options; // before "events"
        std::vector<std::string> concurrent;
        const char* logged; // its event's description
        int signal;
    };
    const Case cases[] = {
        {"text, SIGTERM", {}, {"set", "rebuild-rate=44"}, "Controller properties changed", SIGTERM},
        {"JSON Lines, SIGINT", {"-o", "json"}, {"alarm", "silence"}, "Alarm silenced", SIGINT},
        // A cleared log holds one event: oldest and newest are the same.
        {"a cleared log", {"-o", "json"}, {"events", "clear", "-y"}, "Event log cleared", SIGTERM},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        kvitest::ScratchDir dir("kvictl-follow");
        const std::string state = dir.file("state.json"), cap = dir.file("follow.jsonl");
        ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "alarm", "on"}).exitCode, 0);
        ojson info =
            ojson::parse(runKvictl({"--sim", "--sim-state", state, "-o", "json", "events"}).out);
        const unsigned next =
            info["controllers"][0]["event_log"]["newest_sequence"].get<unsigned>() + 1;

        std::vector<std::string> args = {"--sim", "--sim-state", state, "--record", cap};
        args.insert(args.end(), c.options.begin(), c.options.end());
        for (const char* a : {"events", "follow", "--interval", "1", "--from"})
            args.push_back(a);
        args.push_back(std::to_string(next));
        Child follow(args);
        std::vector<std::string> concurrent = {"--sim", "--sim-state", state};
        concurrent.insert(concurrent.end(), c.concurrent.begin(), c.concurrent.end());
        ASSERT_EQ(runKvictl(concurrent, in(kUtc)).exitCode, 0);
        std::string line;
        bool seen = false;
        while (!seen && follow.readLine(line))
            seen = line.find(c.logged) != std::string::npos;
        EXPECT_TRUE(seen) << "follow did not print the concurrent event";
        // The next poll finds nothing new: the event is not printed again.
        EXPECT_FALSE(follow.readLine(line, 2)) << "printed again: " << line;
        Result r = follow.stop(c.signal);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        EXPECT_FALSE(r.killed);
        EXPECT_EQ(r.err, "");
        ASSERT_FALSE(r.out.empty());
        EXPECT_EQ(r.out.back(), '\n') << "a partial line";
        if (!c.options.empty()) {
            std::istringstream lines(r.out);
            std::string l;
            while (std::getline(lines, l)) {
                ojson e = ojson::parse(l); // every line one JSON object
                EXPECT_EQ(e.begin().key(), "controller");
                EXPECT_EQ(e["controller"], 0);
                EXPECT_EQ(e["sequence"], next);
                EXPECT_EQ(e["time"], "2023-11-14T22:13:20+00:00");
            }
        } else {
            EXPECT_EQ(r.out.rfind("Sequence    Time", 0), 0u) << r.out;
            EXPECT_NE(r.out.find("\n" + std::to_string(next) + "  "), std::string::npos) << r.out;
        }
        // Nothing but the state, its lock and the capture: no temporary files.
        EXPECT_EQ(clitest::filesIn(dir.path()),
                  (std::vector<std::string>{"follow.jsonl", "state.json", "state.json.lock"}));
        // The capture replays the rounds it holds, without waiting, to the same output.
        std::vector<std::string> replay = {"--replay", cap};
        replay.insert(replay.end(), args.begin() + 5, args.end());
        Result again = runKvictl(replay, in(kUtc));
        EXPECT_EQ(again.exitCode, 0) << again.err;
        EXPECT_EQ(again.out, r.out);
    }

    // The controller stops answering: the state file is replaced by one whose
    // controller fails the event-log read.
    kvitest::ScratchDir dir("kvictl-follow");
    const std::string state = dir.file("state.json"), broken = dir.file("broken.json");
    const std::string profile = dir.file("p.json");
    writeFile(profile, R"({"base": "default", "fail": {"KV_DCMD_CTRL_EVENT_GET_INFO": -10}})");
    ASSERT_EQ(runKvictl({"--sim", "--sim-state", state, "alarm", "on"}).exitCode, 0);
    ASSERT_EQ(runKvictl({"--sim=" + profile, "--sim-state", broken, "alarm", "on"}).exitCode, 0);
    Child follow({"--sim", "--sim-state", state, "events", "follow", "--interval", "1"});
    std::string header, rule; // written when the first round is done
    ASSERT_TRUE(follow.readLine(header));
    ASSERT_TRUE(follow.readLine(rule));
    ASSERT_EQ(std::rename(broken.c_str(), state.c_str()), 0);
    std::string rest;
    EXPECT_FALSE(follow.readLine(rest, 60)) << "still following: " << rest;
    Result r = follow.stop(SIGTERM);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("reading the event log information (stopped following) failed"),
              std::string::npos)
        << r.err;
}
