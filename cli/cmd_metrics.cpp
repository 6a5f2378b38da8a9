// kvictl metrics [--textfile PATH]: the Prometheus text format for every
// selected controller, on stdout or written atomically for the node
// exporter's textfile collector. The metric list is in docs/MONITORING.md.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <iostream>

#include "cli/App.h"
#include "cli/Health.h"
#include "cli/Metrics.h"
#include "provider/Provider.h"

namespace cli {

namespace {

struct StatusName {
    int code;
    const char* name;
};
const StatusName kControllerStates[] = {
    {CONTROLLER_STATUS_OPTIMAL, "optimal"},
    {CONTROLLER_STATUS_NEED_ATTN, "needs_attention"},
    {CONTROLLER_STATUS_SAFE_MODE, "safe_mode"},
    {CONTROLLER_STATUS_CERT_PROV, "certificate_provisioning"},
};

const int kBatteryStates[] = {0, 1, 2, 3, 4, 6, 7, 8, 9, 255};

struct FlagName {
    std::uint32_t bit;
    const char* name;
};
const FlagName kBatteryFlags[] = {
    {kBatteryPackMissing, "pack_missing"},
    {kBatteryReplacePack, "replace_pack"},
    {kBatteryLearnActive, "learn_cycle_active"},
    {kBatteryLearnFailed, "learn_cycle_failed"},
    {kBatteryLearnRequested, "learn_cycle_requested"},
    {kBatteryCapacityLow, "capacity_low"},
    {kBatteryTemperatureHigh, "temperature_high"},
    {kBatteryVoltageLow, "voltage_low"},
    {kBatteryPredictiveFailure, "predictive_failure"},
};

const char* const kCcModes[] = {"disabled", "sequential", "concurrent"};
const unsigned kPatrolStateCodes[] = {0, 1, 2, 3, 4, 255};

// Every metric family with its help text, in the order the exposition
// declares them. Running totals the controller keeps are counters (named
// ..._total); everything else is a gauge.
struct Family {
    const char* name;
    const char* help;
    Exposition::Type type = Exposition::Gauge;
};
const Family kFamilies[] = {
    {"kvictl_up", "1 when the controller answered the reads of this scrape, 0 when it answered "
                  "none or stopped answering part-way"},
    {"kvictl_controller_info", "Identity of the controller; the value is always 1"},
    {"kvictl_controller_status", "Controller status: 1 for the current state, 0 for the others"},
    {"kvictl_memory_correctable_errors_total",
     "Correctable cache memory errors the controller counted", Exposition::Counter},
    {"kvictl_memory_uncorrectable_errors_total",
     "Uncorrectable cache memory errors the controller counted", Exposition::Counter},
    {"kvictl_virtual_drives", "Virtual drives present"},
    {"kvictl_virtual_drives_degraded", "Virtual drives degraded"},
    {"kvictl_virtual_drives_offline", "Virtual drives offline"},
    {"kvictl_physical_devices", "Physical devices present (disks and other devices)"},
    {"kvictl_physical_disks", "Physical disks present"},
    {"kvictl_physical_disks_predictive_failure", "Physical disks reporting a predictive failure"},
    {"kvictl_physical_disks_failed", "Physical disks failed"},
    {"kvictl_roc_temperature_celsius", "Temperature of the RAID-on-chip processor"},
    {"kvictl_controller_temperature_celsius", "Temperature of the controller board"},
    {"kvictl_cache_pinned", "1 when the controller holds pinned (preserved) cache"},
    {"kvictl_firmware_image_pending", "1 when a flashed firmware image waits for activation"},
    {"kvictl_battery_present", "1 when a battery or supercapacitor module is fitted"},
    {"kvictl_battery_state", "Battery state: 1 for the current state, 0 for the others"},
    {"kvictl_battery_status_flag", "Battery status flags reported by the firmware, 0 or 1"},
    {"kvictl_battery_temperature_celsius", "Battery temperature"},
    {"kvictl_battery_relative_charge_ratio", "Relative state of charge of the battery (0-1)"},
    {"kvictl_battery_remaining_capacity_coulombs",
     "Remaining battery capacity (the firmware's mAh times 3.6)"},
    {"kvictl_battery_full_capacity_coulombs",
     "Full-charge battery capacity (the firmware's mAh times 3.6)"},
    {"kvictl_battery_next_learn_timestamp_seconds",
     "Start of the next battery learn cycle, seconds since 1970"},
    {"kvictl_patrol_read_state", "Patrol read state: 1 for the current state, 0 for the others"},
    {"kvictl_patrol_read_completed_iterations_total", "Completed patrol read passes",
     Exposition::Counter},
    {"kvictl_consistency_check_schedule_mode",
     "Consistency-check schedule mode: 1 for the current mode, 0 for the others"},
    {"kvictl_consistency_check_schedule_state",
     "Consistency-check schedule state: 1 for the current state, 0 for the others"},
    {"kvictl_lock_key_assigned", "1 when a drive-security lock key is assigned"},
    {"kvictl_lock_key_failed", "1 when the lock key could not be applied"},
    {"kvictl_alarm_state", "Audible alarm state: 1 for the current state, 0 for the others"},
    {"kvictl_scrape_read_errors", "Reads of this scrape that failed for the controller"},
    {"kvictl_scrape_controller_duration_seconds", "Time spent reading the controller"},
    {"kvictl_scrape_duration_seconds", "Time the whole scrape took"},
};

void declareAll(Exposition& e) {
    for (const Family& f : kFamilies)
        e.declare(f.name, f.help, f.type);
}

// Every series of one controller.
void addController(Exposition& e, const Health& h) {
    const std::string c = std::to_string(h.index);
    const Exposition::Labels base = {{"controller", c}};
    auto gauge = [&](const char* name, double v) { e.add(name, base, v); };
    auto with = [&](const char* name, const char* key, const std::string& value, double v) {
        e.add(name, {{"controller", c}, {key, value}}, v);
    };

    gauge("kvictl_up", h.up() ? 1 : 0);
    gauge("kvictl_scrape_read_errors", static_cast<double>(h.failures.size()));
    gauge("kvictl_scrape_controller_duration_seconds", h.seconds);
    // Whatever was read is exported, also for a controller that is down.

    if (h.identityRead) {
        e.add("kvictl_controller_info",
              {{"controller", c},
               {"model", h.model},
               {"serial", h.serial},
               {"firmware", h.firmware},
               {"package", h.package},
               {"driver", h.driver},
               {"driver_version", h.driverVersion},
               {"pci_address", h.pciAddress}},
              1);
    }
    // A status that could not be read is "unknown", never a made-up state; a
    // controller that answered nothing has only kvictl_up.
    if (h.controllerStatus || h.statusUnknown()) {
        for (const StatusName& s : kControllerStates)
            with("kvictl_controller_status", "status", s.name,
                 h.controllerStatus == s.code ? 1 : 0);
        with("kvictl_controller_status", "status", "unknown", h.controllerStatus ? 0 : 1);
    }

    auto opt = [&](const char* name, const auto& v) {
        if (v)
            gauge(name, static_cast<double>(*v));
    };
    opt("kvictl_memory_correctable_errors_total", h.memCorrectable);
    opt("kvictl_memory_uncorrectable_errors_total", h.memUncorrectable);
    opt("kvictl_virtual_drives", h.vdPresent);
    opt("kvictl_virtual_drives_degraded", h.vdDegraded);
    opt("kvictl_virtual_drives_offline", h.vdOffline);
    opt("kvictl_physical_devices", h.pdPresent);
    opt("kvictl_physical_disks", h.diskPresent);
    opt("kvictl_physical_disks_predictive_failure", h.diskPredFailure);
    opt("kvictl_physical_disks_failed", h.diskFailed);
    opt("kvictl_roc_temperature_celsius", h.rocTemperature);
    opt("kvictl_controller_temperature_celsius", h.ctrlTemperature);
    opt("kvictl_cache_pinned", h.cachePinned);
    opt("kvictl_firmware_image_pending", h.imagePending);

    opt("kvictl_battery_present", h.batteryPresent);
    if (h.batteryState) {
        bool known = false;
        for (int s : kBatteryStates)
            known = known || s == *h.batteryState;
        for (int s : kBatteryStates) {
            // An undocumented state counts as unknown.
            bool current = s == *h.batteryState || (!known && s == 255);
            with("kvictl_battery_state", "state", batteryStateName(s), current ? 1 : 0);
        }
    }
    if (h.batteryFlags)
        for (const FlagName& f : kBatteryFlags)
            with("kvictl_battery_status_flag", "flag", f.name,
                 (*h.batteryFlags & f.bit) != 0 ? 1 : 0);
    opt("kvictl_battery_temperature_celsius", h.batteryTemperature);
    if (h.batteryCharge)
        gauge("kvictl_battery_relative_charge_ratio", *h.batteryCharge / 100.0);
    if (h.batteryRemaining)
        gauge("kvictl_battery_remaining_capacity_coulombs", *h.batteryRemaining * 3.6);
    if (h.batteryFull)
        gauge("kvictl_battery_full_capacity_coulombs", *h.batteryFull * 3.6);
    opt("kvictl_battery_next_learn_timestamp_seconds", h.batteryNextLearn);

    auto states = [&](const char* name, const std::optional<unsigned>& v) {
        if (!v)
            return;
        bool known = patrolStateName(*v) != nullptr;
        for (unsigned s : kPatrolStateCodes)
            with(name, "state", patrolStateName(s), s == *v ? 1 : 0);
        with(name, "state", "other", known ? 0 : 1);
    };
    states("kvictl_patrol_read_state", h.patrolState);
    opt("kvictl_patrol_read_completed_iterations_total", h.patrolIterations);
    if (h.ccMode) {
        for (unsigned m = 0; m < 3; ++m)
            with("kvictl_consistency_check_schedule_mode", "mode", kCcModes[m],
                 *h.ccMode == m ? 1 : 0);
        with("kvictl_consistency_check_schedule_mode", "mode", "other", *h.ccMode > 2 ? 1 : 0);
    }
    states("kvictl_consistency_check_schedule_state", h.ccState);
    opt("kvictl_lock_key_assigned", h.lockKeyAssigned);
    opt("kvictl_lock_key_failed", h.lockKeyFailed);
    if (h.alarmState)
        for (unsigned s = 0; s < 4; ++s)
            with("kvictl_alarm_state", "state", alarmStateName(s), *h.alarmState == s ? 1 : 0);
}

} // namespace

void registerMetrics(CLI::App& root, App& app) {
    auto* sub = root.add_subcommand(
        "metrics", "Print Prometheus metrics of the controllers (text exposition format)");
    auto textfile = std::make_shared<std::string>();
    sub->add_option(
           "--textfile", *textfile,
           "Write the metrics to PATH atomically (for the node exporter's textfile collector)")
        ->type_name("PATH");
    sub->footer(
        "Every series carries a controller=\"N\" label; kvictl_up is 0 for a controller that\n"
        "answered no read or stopped answering part-way (kvictl exits 1; what was read is still\n"
        "written). A read that fails leaves its series out (kvictl_scrape_read_errors counts\n"
        "them); an unreadable controller status is status=\"unknown\" (kvictl exits 1). Every\n"
        "controller is read unless -c selects one. The metric list is in docs/MONITORING.md.\n\n"
        "Examples:\n"
        "  kvictl --sim metrics\n"
        "  kvictl -c 1 metrics\n"
        "  kvictl metrics --textfile /var/lib/node_exporter/textfile/kvictl.prom");
    sub->callback([&app, textfile, sub] {
        struct State {
            std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
            std::vector<Health> readings;
        };
        auto state = std::make_shared<State>();
        Command c;
        c.name = "metrics";
        c.headers = false;
        c.allControllersByDefault = true; // a scrape covers the host
        c.ownStatusReport = true;
        c.files = {{"--textfile", *textfile}};
        const bool emptyPath = sub->count("--textfile") > 0 && textfile->empty();
        c.validate = [&app, textfile, emptyPath] {
            if (app.json())
                throw UsageError("metrics: the output is the Prometheus text format; leave out -o");
            if (emptyPath)
                throw UsageError("--textfile: an empty path; give a file name");
            if (!textfile->empty() && textfile->back() == '/')
                throw UsageError("metrics --textfile " + *textfile +
                                 ": give a file name, not a folder");
            // A folder, FIFO, device or link is refused before the scrape.
            if (!textfile->empty()) {
                try {
                    kvi::files::checkWritableTarget(*textfile);
                } catch (const kvi::files::FileError& e) {
                    throw UsageError(std::string("metrics --textfile: ") + e.what());
                }
            }
        };
        c.run = [&app, state](Target& t) {
            Health h = readHealth(t);
            std::string list;
            std::vector<std::string> named; // two reads of one item (the lock key's) once
            for (const auto& f : h.failures) {
                std::string item = f.first + " (" + App::statusName(f.second) + ")";
                if (std::find(named.begin(), named.end(), item) != named.end())
                    continue;
                list += (list.empty() ? "" : ", ") + item;
                named.push_back(std::move(item));
            }
            if (h.answered == 0) {
                std::string why =
                    h.failures.empty() ? "no answer" : App::statusName(h.failures.front().second);
                app.error("unreachable",
                          "controller " + std::to_string(t.index) + " answered no read (" + why +
                              "); kvictl_up is 0 for it",
                          kExitFailed);
            } else if (h.lost) {
                app.error("lost",
                          "controller " + std::to_string(t.index) +
                              " stopped answering part-way; kvictl_up is 0 for it and the series "
                              "of these reads are left out: " +
                              list,
                          kExitFailed);
            } else if (h.statusUnknown()) {
                app.error("status",
                          "controller " + std::to_string(t.index) +
                              ": status unknown, the controller information could not be read (" +
                              App::statusName(h.statusReadFailure) +
                              "); kvictl_controller_status{status=\"unknown\"} is 1" +
                              (list.empty() ? std::string()
                                            : "; the series of these reads are left out: " + list),
                          kExitFailed);
            } else if (!h.failures.empty()) {
                app.warn(t, "partial", "some reads failed and their series are left out: " + list);
            }
            state->readings.push_back(std::move(h));
        };
        c.finish = [&app, state, textfile] {
            Exposition e;
            declareAll(e);
            for (const Health& h : state->readings)
                addController(e, h);
            e.add("kvictl_scrape_duration_seconds", {},
                  std::chrono::duration<double>(std::chrono::steady_clock::now() - state->start)
                      .count());
            const std::string text = e.render();
            if (textfile->empty()) {
                app.out() << text << std::flush;
                return;
            }
            std::string why = writeFileAtomically(*textfile, text);
            if (!why.empty())
                app.error("textfile",
                          "metrics --textfile: " + why + "; the previous file is unchanged",
                          kExitOutput);
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
