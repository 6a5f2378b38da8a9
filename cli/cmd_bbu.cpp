// kvictl bbu [show|learn|test|set auto-learn=MODE]: the battery backup unit.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Schedule.h"
#include "cli/Util.h"
#include "firmware/kvistat.h"

namespace cli {

namespace {

const std::vector<NamedValue> kStates = {{"missing", 0},
                                         {"optimal", 1},
                                         {"failed", 2},
                                         {"degraded", 3},
                                         {"needs_attention", 4},
                                         {"code_update_required", 6},
                                         {"predictive_failure", 7},
                                         {"charging", 8},
                                         {"communication_failure", 9},
                                         {"unknown", 255}};
const std::vector<NamedValue> kTypes = {{"none", 0},
                                        {"ibbu", 1},
                                        {"bbu", 2},
                                        {"zcr_legacy", 3},
                                        {"itbbu3", 4},
                                        {"ibbu08", 5},
                                        {"supercap_module", 6},
                                        {"smart_battery", 7}};
const std::vector<NamedValue> kReasons = {{"battery_missing", 0},    {"battery_failed", 1},
                                          {"capacity_low", 2},       {"learn_cycle", 3},
                                          {"no_space", 5},           {"microcode_required", 6},
                                          {"communication_fault", 7}};
const std::vector<NamedValue> kLearnModes = {{"auto", 0}, {"disabled", 1}, {"warn", 2}};

// The mode of an auto-learn=MODE argument.
unsigned learnMode(const std::string& assignment) {
    auto [name, value] = splitAssignment(assignment);
    if (name != "auto-learn")
        throw UsageError("bbu set: unknown setting '" + name + "' (settings: auto-learn)");
    return parseNamed(value, kLearnModes, "auto-learn");
}

Command showBbu(App& app) {
    Command c;
    c.name = "bbu show";
    c.run = [&app](Target& t) {
        AdapterData& a = *t.adapter;
        Doc d(app.json());
        bool present = false;
        int rc = a.isBBUPresent(&present);
        if (rc != 0 && rc != KVI_STAT_NO_HW_PRESENT) {
            app.fail(t, "reading the battery status", rc);
            return;
        }
        d.flag("Present", "present", present);
        int state = 0;
        rc = a.getBatteryState(&state);
        if (rc != 0) {
            app.fail(t, "reading the battery state", rc);
            app.emit(t, "battery", "Battery", d.object());
            return;
        }
        d.str("State", "state", nameOf(static_cast<unsigned>(state), kStates));
        if (present) {
            // Each reading is shown when the controller gives it; a failed
            // reading stops the section there and names the status.
            auto step = [&](int status, const char* what) {
                if (status != 0)
                    app.fail(t, std::string("reading the battery ") + what, status);
                return status == 0;
            };
            unsigned char type = 0, temp = 0, mode = 0, reason = 0;
            int hot = 0;
            unsigned short full = 0, remaining = 0, charge = 0, toEmpty = 0;
            unsigned int period = 0, next = 0, fw = 0;
            bool ok = step(a.getBatteryType(&type), "type");
            if (ok)
                d.str("Type", "type", nameOf(type, kTypes));
            ok = ok && step(a.getBatteryTemperature(&temp), "temperature");
            if (ok)
                d.num("Temperature", "temperature_celsius", temp, "C");
            ok = ok && step(a.getBatteryTemperatureStatus(&hot), "temperature status");
            if (ok)
                d.flag("Temperature High", "temperature_high", hot != 0);
            ok = ok && step(a.getBbuFwStatus(&fw), "firmware status");
            if (ok) {
                char hex[16];
                std::snprintf(hex, sizeof hex, "0x%08x", fw);
                d.measure("Firmware Status", "firmware_status", fw, hex);
            }
            ok = ok && step(a.getBattRelativeStateOfCharge(&charge), "charge");
            if (ok)
                d.num("Relative State of Charge", "relative_charge_percent", charge, "%");
            ok = ok && step(a.getBatteryFullCapacity(&full), "full capacity");
            if (ok)
                d.num("Full Charge Capacity", "full_capacity_mah", full, "mAh");
            ok = ok && step(a.getBatteryRemainingCapacity(&remaining), "remaining capacity");
            if (ok)
                d.num("Remaining Capacity", "remaining_capacity_mah", remaining, "mAh");
            ok = ok && step(a.getBattAvgTimeToEmpty(&toEmpty), "time to empty");
            // 65535 is the gauge's "no estimate" (the unit is charging or idle).
            if (ok && toEmpty == 0xFFFF)
                d.null("Average Time to Empty", "average_time_to_empty_seconds");
            else if (ok)
                d.measure("Average Time to Empty", "average_time_to_empty_seconds", toEmpty * 60ULL,
                          std::to_string(toEmpty) + " min");
            ok = ok && step(a.getBatteryAutoLearnMode(&mode), "auto-learn mode");
            if (ok)
                d.str("Auto Learn Mode", "auto_learn_mode", nameOf(mode, kLearnModes));
            ok = ok && step(a.getBatteryAutoLearnPeriod(&period), "auto-learn period");
            if (ok)
                d.num("Auto Learn Period", "auto_learn_period_seconds", period, "s");
            ok = ok && step(a.getBatteryNextLearnTime(&next), "next learn time");
            if (ok) {
                const std::time_t at = static_cast<std::time_t>(scheduleInstant(*t.adapter, next));
                std::tm local{};
                if (localtime_r(&at, &local) != nullptr)
                    d.time("Next Learn Time", "next_learn_time", local);
                else
                    d.nullTime("Next Learn Time", "next_learn_time");
            }
            ok = ok && step(a.getWritePolicyChngReason(&reason), "write-policy reason");
            if (ok && state != 1)
                d.str("Write Policy Change Reason", "write_policy_change_reason",
                      nameOf(reason, kReasons));
        }
        app.emit(t, "battery", "Battery", d.object());
    };
    return c;
}

} // namespace

void registerBbu(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "bbu", [&app] { return showBbu(app); });
    requestVerbs(*g, app, "Battery",
                 {{"learn", "Start a manual learn cycle", &AdapterData::startManualLearnCycle},
                  {"test", "Start a battery retention test", &AdapterData::adpBBUTest}});
    auto* set = verb(*g, "set", "Change the auto-learn mode: auto-learn=auto|disabled|warn");
    auto args = std::make_shared<std::vector<std::string>>();
    std::vector<std::string> words;
    for (const NamedValue& m : kLearnModes)
        words.push_back(std::string("auto-learn=") + m.name);
    app.complete(set->add_option("assignments", *args, "The auto-learn mode")
                     ->type_name("auto-learn=MODE")
                     ->check(checkedBy([](const std::string& a) { learnMode(a); }))
                     ->required(),
                 words);
    set->callback([&app, args] {
        auto mode = std::make_shared<unsigned>(0);
        Command c;
        c.name = "bbu set";
        c.validate = [args, mode] {
            for (const std::string& a : *args)
                *mode = learnMode(a);
        };
        c.run = [&app, mode](Target& t) {
            unsigned char current = 0;
            int rc = t.adapter->getBatteryAutoLearnMode(&current);
            if (rc != 0) {
                app.fail(t, "reading the auto-learn mode", rc);
                return;
            }
            // As set does: old -> new, "Changed" only once the firmware took
            // the write; a dry run says what would change.
            ChangeReport report;
            ChangeReport::Row row;
            row.name = "auto-learn";
            row.key = "auto_learn_mode";
            row.oldText = nameOf(current, kLearnModes);
            row.newText = nameOf(*mode, kLearnModes);
            row.oldJson = json::String(row.oldText);
            row.newJson = json::String(row.newText);
            ChangeReport::Row& r = report.add(std::move(row));
            if (r.differs()) {
                unsigned char m = static_cast<unsigned char>(*mode);
                rc = t.adapter->setBatteryAutoLearnMode(&m);
                if (rc != 0)
                    app.fail(t, "setting the auto-learn mode", rc);
                r.written = rc == 0;
            }
            report.emit(app, t, "Battery");
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
