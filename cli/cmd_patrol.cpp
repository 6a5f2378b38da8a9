// kvictl patrol [show|start|stop|suspend|resume|set ...]: patrol read, the
// controller's background scan of its drives, and its schedule. Times are
// given and shown in local time (YYYY-MM-DD HH:MM).
#include <CLI/CLI.hpp>
#include <set>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Schedule.h"
#include "cli/Util.h"

namespace cli {

namespace {

const std::vector<NamedValue> kPrModes = {{"auto", 0}, {"manual", 1}, {"disabled", 2}};
const std::vector<NamedValue> kPrStates = {{"stopped", 0}, {"ready", 1},       {"active", 2},
                                           {"paused", 3},  {"user_paused", 4}, {"aborted", 255}};
// Bit of the patrol-read options byte that covers SSDs.
constexpr unsigned char kSsdOption = 0x01;

Command showPatrol(App& app) {
    Command c;
    c.name = "patrol show";
    c.run = [&app](Target& t) {
        AdapterData& a = *t.adapter;
        Doc d(app.json());
        unsigned char maxPd = 0;
        int rc = a.getMaxConcurrentPD(&maxPd);
        if (rc != 0) {
            app.fail(t, "reading the patrol read properties", rc);
            return;
        }
        d.str("Mode", "mode", nameOf(a.getPrMode(), kPrModes));
        unsigned char state = a.getPrState();
        d.str("State", "state", nameOf(state, kPrStates));
        d.num("Iterations", "iterations", a.getPrNumIteration());
        d.num("Drives Done", "drives_done", a.getPrNumPdComplete());
        unsigned int delay = a.getPrExecDelay() / 3600; // whole hours
        d.measure("Delay", "delay_seconds", delay * 3600ULL, std::to_string(delay) + " hours");
        d.num("Max Concurrent Drives", "max_concurrent", maxPd);
        std::tm start{};
        rc = a.getPatrolReadSchedStartTime(&start);
        if (rc != 0) {
            app.fail(t, "reading the patrol read start time", rc);
        } else {
            d.time("Next Start", "next_start", start);
        }
        ArrayList<unsigned short> excluded;
        rc = a.getPRSchedExcludedLdList(&excluded);
        if (rc != 0)
            app.fail(t, "reading the excluded virtual drives", rc);
        else
            excludedMember(d, excluded);
        unsigned char options = 0;
        rc = a.getSSDPrStatus(&options);
        if (rc != 0)
            app.fail(t, "reading the patrol read options", rc);
        else
            d.flag("SSD Patrol Read", "ssd", (options & kSsdOption) != 0);
        app.emit(t, "patrol_read", "Patrol Read", d.object());
    };
    return c;
}

// The shared schedule settings plus patrol read's own.
struct PatrolSet : ScheduleSettings {
    bool hasMax = false, hasSsd = false;
    unsigned char max = 0;
    bool ssd = false;
};

// Reads the schedule, then sends one write per setting whose value differs, so
// settings already at the asked value are not rewritten.
void setPatrol(App& app, Target& t, const PatrolSet& want) {
    AdapterData& a = *t.adapter;
    ScheduleNow now;
    ArrayList<unsigned short> excluded;
    unsigned char maxPd = 0, options = 0;
    int rc = a.getMaxConcurrentPD(&maxPd);
    if (rc == 0) {
        now.mode = a.getPrMode();
        now.delaySeconds = a.getPrExecDelay();
        rc = a.getPatrolReadSchedStartTime(&now.start);
    }
    if (rc == 0)
        rc = a.getPRSchedExcludedLdList(&excluded);
    if (rc == 0 && want.hasSsd)
        rc = a.getSSDPrStatus(&options);
    if (rc != 0) {
        app.fail(t, "reading the patrol read schedule", rc);
        return;
    }
    for (std::size_t i = 0; i < excluded.size(); ++i)
        now.exclude.push_back(excluded.get(i));
    ChangeReport report;
    ScheduleRows rows = addScheduleRows(report, want, now, kPrModes);
    ChangeReport::Row *maxRow = nullptr, *ssdRow = nullptr;
    if (want.hasMax) {
        ChangeReport::Row r;
        r.name = "max-concurrent";
        r.key = "max_concurrent";
        r.oldText = std::to_string(maxPd);
        r.newText = std::to_string(want.max);
        r.oldJson = json::UNumber(maxPd);
        r.newJson = json::UNumber(want.max);
        maxRow = &report.add(std::move(r));
    }
    const bool ssdNow = (options & kSsdOption) != 0;
    if (want.hasSsd) {
        ChangeReport::Row r;
        r.name = "ssd";
        r.key = "ssd";
        r.oldText = ssdNow ? "on" : "off";
        r.newText = want.ssd ? "on" : "off";
        r.oldJson = json::Boolean(ssdNow);
        r.newJson = json::Boolean(want.ssd);
        ssdRow = &report.add(std::move(r));
    }
    bool ok = true;
    auto send = [&](ChangeReport::Row* row, const std::function<int()>& write, const char* what) {
        if (!ok || !differs(row))
            return;
        int status = write();
        if (status != 0)
            app.fail(t, std::string("setting the patrol read ") + what, status);
        row->written = status == 0;
        ok = status == 0;
    };
    send(
        rows.mode, [&] { return a.setPrMode(want.mode); }, "mode");
    send(
        rows.delay, [&] { return a.setPrExecDelay(want.delaySeconds); }, "delay");
    send(
        maxRow, [&] { return a.setMaxConcurrentPD(want.max); }, "concurrency");
    send(
        rows.start,
        [&] {
            std::tm start = want.start;
            return a.setPrStartTime(&start);
        },
        "start time");
    send(
        rows.exclude,
        [&] {
            ArrayList<unsigned short> list = idList(want.exclude);
            return a.setPRSchedExcludedLdList(&list);
        },
        "excluded virtual drives");
    send(
        ssdRow,
        [&] {
            return a.setSSDPrStatus(want.ssd ? (options | kSsdOption) : (options & ~kSsdOption));
        },
        "SSD option");
    report.emit(app, t, "Patrol Read");
}

PatrolSet parsePatrolSet(const std::vector<std::string>& args) {
    PatrolSet p;
    auto kv = parseKeyValues(args, {"mode", "delay", "start", "exclude", "max-concurrent", "ssd"},
                             "patrol set");
    for (auto& [k, v] : kv) {
        if (parseScheduleSetting(k, v, kPrModes, p))
            continue;
        if (k == "max-concurrent") {
            p.hasMax = true;
            p.max = static_cast<unsigned char>(parseUnsigned(v, 1, 255, "max-concurrent"));
        } else if (k == "ssd") {
            p.hasSsd = true;
            p.ssd = parseSwitch(v, "ssd");
        }
    }
    return p;
}

} // namespace

void registerPatrol(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "patrol", [&app] { return showPatrol(app); });
    requestVerbs(*g, app, "Patrol Read",
                 {{"start", "Start a patrol read pass", &AdapterData::startPr},
                  {"stop", "Stop patrol read", &AdapterData::stopPr},
                  {"suspend", "Suspend the running pass", &AdapterData::suspendPr},
                  {"resume", "Resume a suspended pass", &AdapterData::resumePr}});
    auto args = std::make_shared<std::vector<std::string>>();
    auto* set = verb(*g, "set", "Change the patrol read schedule");
    std::vector<std::string> words = scheduleWords(kPrModes);
    words.insert(words.end(), {"max-concurrent=", "ssd=on", "ssd=off"});
    app.complete(set->add_option("settings", *args, "KEY=VALUE pairs")
                     ->type_name("KEY=VALUE")
                     ->check(checkedBy([](const std::string& a) { parsePatrolSet({a}); }))
                     ->required(),
                 words);
    set->callback([&app, args] {
        app.setCommand(parsedCommand<PatrolSet>(
            "patrol set", [args] { return parsePatrolSet(*args); },
            [&app](Target& t, const PatrolSet& p) { setPatrol(app, t, p); }));
    });
}

} // namespace cli
