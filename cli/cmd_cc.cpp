// kvictl cc [show|set ...]: the consistency-check schedule. Times are given
// and shown in local time (YYYY-MM-DD HH:MM).
#include <CLI/CLI.hpp>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Schedule.h"
#include "cli/Util.h"

namespace cli {

namespace {

const std::vector<NamedValue> kCcModes = {{"disabled", 0}, {"sequential", 1}, {"concurrent", 2}};
const std::vector<NamedValue> kCcStates = {
    {"stopped", 0}, {"ready", 1}, {"active", 2}, {"paused", 3}};

Command showCc(App& app) {
    Command c;
    c.name = "cc show";
    c.run = [&app](Target& t) {
        AdapterData& a = *t.adapter;
        // The schedule operations expect the controller information loaded.
        std::string product;
        int rc = a.getProductName(product);
        if (rc != 0) {
            app.fail(t, "reading the controller information", rc);
            return;
        }
        Doc d(app.json());
        bool supported = a.ccSchedSupported() == 1;
        d.flag("Supported", "supported", supported);
        if (!supported) {
            app.emit(t, "consistency_check", "Consistency Check", d.object());
            return;
        }
        auto step = [&](int status, const char* what) {
            if (status != 0)
                app.fail(t, std::string("reading the consistency-check ") + what, status);
            return status == 0;
        };
        unsigned char mode = 0, state = 0, done = 0;
        unsigned int delay = 0, iterations = 0;
        std::tm start{};
        ArrayList<unsigned short> excluded;
        bool ok = step(a.getCcSchedMode(&mode), "mode");
        if (ok)
            d.str("Mode", "mode", nameOf(mode, kCcModes));
        ok = ok && step(a.getCcSchedExecDelay(&delay), "delay");
        if (ok) {
            if (delay == 0xFFFFFFFFu)
                d.null("Delay", "delay_seconds");
            else
                d.measure("Delay", "delay_seconds", delay / 3600 * 3600ULL,
                          std::to_string(delay / 3600) + " hours");
        }
        ok = ok && step(a.getCcSchedStartTime(&start), "start time");
        if (ok)
            d.time("Next Start", "next_start", start);
        ok = ok && step(a.getCcSchedExcludedLdList(&excluded), "excluded virtual drives");
        if (ok)
            excludedMember(d, excluded);
        ok = ok && step(a.getCcSchedState(&state), "state");
        if (ok)
            d.str("State", "state", nameOf(state, kCcStates));
        ok = ok && step(a.getCcSchedNumIteration(&iterations), "iterations");
        if (ok)
            d.num("Iterations", "iterations", iterations);
        ok = ok && step(a.getCcSchedNumLdDone(&done), "progress");
        if (ok)
            d.num("Virtual Drives Done", "virtual_drives_done", done);
        app.emit(t, "consistency_check", "Consistency Check", d.object());
    };
    return c;
}

// Reads the schedule, then sends only what differs: the combined schedule write
// when the mode changes (it carries every field at once), else the single-field
// writes, so a field the user did not name keeps its value.
void setCc(App& app, Target& t, const ScheduleSettings& want) {
    AdapterData& a = *t.adapter;
    std::string product;
    ScheduleNow now;
    ArrayList<unsigned short> excluded;
    int rc = a.getProductName(product);
    if (rc == 0)
        rc = a.getCcSchedMode(&now.mode);
    if (rc == 0)
        rc = a.getCcSchedExecDelay(&now.delaySeconds);
    if (rc == 0)
        rc = a.getCcSchedStartTime(&now.start);
    if (rc == 0)
        rc = a.getCcSchedExcludedLdList(&excluded);
    if (rc != 0) {
        app.fail(t, "reading the consistency-check schedule", rc);
        return;
    }
    for (std::size_t i = 0; i < excluded.size(); ++i)
        now.exclude.push_back(excluded.get(i));
    ChangeReport report;
    ScheduleRows rows = addScheduleRows(report, want, now, kCcModes);
    ArrayList<unsigned short> list = idList(want.exclude);
    std::tm start = want.start;
    start.tm_isdst = 0;
    auto sent = [&](ChangeReport::Row* row, int status, const char* what) {
        if (status != 0)
            app.fail(t, std::string("setting the consistency-check ") + what, status);
        else if (row != nullptr)
            row->written = true;
        return status == 0;
    };
    if (differs(rows.mode)) {
        // A zeroed date keeps the start time, 0xFFFFFFFF keeps the delay.
        std::tm keep{};
        if (sent(rows.mode,
                 a.setCcSchedMode(want.mode, differs(rows.exclude) ? &list : nullptr,
                                  differs(rows.start) ? &start : &keep,
                                  differs(rows.delay) ? want.delaySeconds : 0xFFFFFFFFu),
                 "schedule"))
            report.markAllWritten();
    } else {
        bool ok = true;
        if (differs(rows.delay))
            ok = sent(rows.delay, a.setCcScExecDelay(want.delaySeconds), "delay");
        if (ok && differs(rows.start))
            ok = sent(rows.start, a.setCcScStartTime(&start), "start time");
        if (ok && differs(rows.exclude))
            sent(rows.exclude, t.adapter->setCcSchedExcludedLdList(&list),
                 "excluded virtual drives");
    }
    report.emit(app, t, "Consistency Check");
}

ScheduleSettings parseCcSet(const std::vector<std::string>& args) {
    ScheduleSettings p;
    for (auto& [k, v] : parseKeyValues(args, {"mode", "delay", "start", "exclude"}, "cc set"))
        parseScheduleSetting(k, v, kCcModes, p);
    return p;
}

} // namespace

void registerCc(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "cc", [&app] { return showCc(app); });
    auto args = std::make_shared<std::vector<std::string>>();
    auto* set = verb(*g, "set", "Change the schedule: only the settings that differ are sent");
    app.complete(set->add_option("settings", *args, "KEY=VALUE pairs")
                     ->type_name("KEY=VALUE")
                     ->check(checkedBy([](const std::string& a) { parseCcSet({a}); }))
                     ->required(),
                 scheduleWords(kCcModes));
    set->callback([&app, args] {
        app.setCommand(parsedCommand<ScheduleSettings>(
            "cc set", [args] { return parseCcSet(*args); },
            [&app](Target& t, const ScheduleSettings& p) { setCc(app, t, p); }));
    });
}

} // namespace cli
