// kvictl check [--warning T] [--critical T] [--timeout SECONDS]: one summary
// line for a monitoring system, with performance data after '|', and the
// plugin exit codes 0 OK, 1 WARNING, 2 CRITICAL, 3 UNKNOWN. Which condition
// gives which state is the table in docs/MONITORING.md; evaluate() below is
// that table.
#include <CLI/CLI.hpp>
#include <cctype>
#include <iostream>

#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Health.h"
#include "cli/Util.h"
#include "cli/Watchdog.h"
#include "provider/Provider.h"
#include "json/Envelope.h"

namespace cli {

namespace {

enum State { kOk = 0, kWarning = 1, kCritical = 2, kUnknown = 3 };

const char* stateName(State s) {
    switch (s) {
    case kOk:
        return "OK";
    case kWarning:
        return "WARNING";
    case kCritical:
        return "CRITICAL";
    default:
        return "UNKNOWN";
    }
}

// CRITICAL over UNKNOWN over WARNING over OK: a controller that cannot be
// seen may hide anything, so it outranks a known warning.
int rank(State s) {
    switch (s) {
    case kOk:
        return 0;
    case kWarning:
        return 1;
    case kUnknown:
        return 2;
    default:
        return 3;
    }
}
State worse(State a, State b) {
    return rank(b) > rank(a) ? b : a;
}

// Temperature sensors with thresholds.
enum Sensor { kRoc, kCtrl, kBattery, kSensors };
const char* const kSensorNames[kSensors] = {"roc", "controller", "battery"};

struct Thresholds {
    unsigned warn[kSensors] = {95, 75, 50};
    unsigned crit[kSensors] = {105, 90, 60};
};

// "N" (every sensor) or "roc=N,controller=N,battery=N" (any subset); `set`
// marks the sensors the text names.
void parseThreshold(const std::string& text, const char* option, unsigned (&out)[kSensors],
                    bool (&set)[kSensors]) {
    if (text.empty())
        return;
    if (text.find('=') == std::string::npos) {
        unsigned v = static_cast<unsigned>(parseUnsigned(text, 0, 255, option));
        for (int s = 0; s < kSensors; ++s) {
            out[s] = v;
            set[s] = true;
        }
        return;
    }
    std::size_t pos = 0;
    while (pos <= text.size()) {
        std::size_t comma = text.find(',', pos);
        std::string item =
            text.substr(pos, comma == std::string::npos ? std::string::npos : comma - pos);
        auto nv = splitAssignment(item);
        int which = -1;
        for (int s = 0; s < kSensors; ++s)
            if (nv.first == kSensorNames[s])
                which = s;
        if (which < 0)
            throw UsageError(std::string(option) + ": unknown sensor '" + nv.first +
                             "' (sensors: roc, controller, battery)");
        out[which] = static_cast<unsigned>(
            parseUnsigned(nv.second, 0, 255, std::string(option) + " " + nv.first));
        set[which] = true;
        if (comma == std::string::npos)
            break;
        pos = comma + 1;
    }
}

// The thresholds the options ask for. A critical threshold given without a
// warning one takes the default warning threshold down with it when that
// would sit at or above it: --critical 85 alone means critical from 85 and
// no warning band above it, not a usage error. A warning threshold given
// must be below its critical one.
Thresholds thresholds(const std::string& warning, const std::string& critical) {
    Thresholds th;
    bool warnSet[kSensors] = {}, critSet[kSensors] = {};
    parseThreshold(warning, "--warning", th.warn, warnSet);
    parseThreshold(critical, "--critical", th.crit, critSet);
    for (int s = 0; s < kSensors; ++s) {
        if (th.warn[s] < th.crit[s])
            continue;
        if (!warnSet[s]) {
            th.warn[s] = th.crit[s];
            continue;
        }
        throw UsageError("check: the " + std::string(kSensorNames[s]) + " warning threshold (" +
                         std::to_string(th.warn[s]) + ") must be below its critical one (" +
                         std::to_string(th.crit[s]) + ")");
    }
    return th;
}

struct Problem {
    State state;
    std::string text;
};

struct Verdict {
    State state = kOk;
    std::vector<Problem> problems;
    std::string perf;
};

std::string plural(unsigned n, const char* one, const char* many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

// The summary line is one line: model names come from the firmware and may
// hold anything, so control characters and '|' (which starts the performance
// data) are replaced.
std::string oneLine(const std::string& s) {
    std::string out;
    for (char c : s)
        out += (static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == '|') ? '?' : c;
    return out;
}

Verdict evaluate(const Health& h, const Thresholds& th) {
    Verdict v;
    // Two reads of one item (the lock key's two flags) that fail alike are
    // one finding.
    auto add = [&v](State s, const std::string& text) {
        for (const auto& known : v.problems)
            if (known.state == s && known.text == text)
                return;
        v.problems.push_back({s, text});
        v.state = worse(v.state, s);
    };
    const std::string p = "c" + std::to_string(h.index) + "_";
    auto perf = [&](const std::string& name, const std::string& value) {
        v.perf += (v.perf.empty() ? "" : " ") + p + name + "=" + value;
    };

    if (h.answered == 0) {
        std::string why =
            h.failures.empty() ? "no answer" : App::statusName(h.failures.front().second);
        add(kUnknown, "controller unreachable (" + why + ")");
        return v;
    }
    // A read that got no answer at all: the controller stopped answering, and
    // whatever was not read yet may hide anything. What was read still counts.
    std::string lostStatus, unread;
    for (const auto& f : h.failures) {
        if (!isLostStatus(f.second) || unread.find(f.first) != std::string::npos)
            continue;
        if (lostStatus.empty())
            lostStatus = App::statusName(f.second);
        unread += (unread.empty() ? "" : ", ") + f.first;
    }
    if (!lostStatus.empty())
        add(kUnknown, "controller stopped answering (" + lostStatus + "; unread: " + unread + ")");
    // No status read is no status known: UNKNOWN, never a made-up "failed".
    if (h.statusUnknown())
        add(kUnknown, "controller status unknown (controller information unreadable: " +
                          App::statusName(h.statusReadFailure) + ")");
    for (const auto& f : h.failures) {
        // Reads the table below depends on; the rest only feed metrics.
        if (!isLostStatus(f.second) && (f.first == "battery state" || f.first == "battery status" ||
                                        f.first == "battery temperature" || f.first == "lock key"))
            add(kUnknown, f.first + " unreadable (" + App::statusName(f.second) + ")");
    }

    switch (h.controllerStatus.value_or(CONTROLLER_STATUS_OPTIMAL)) {
    case CONTROLLER_STATUS_SAFE_MODE:
        add(kCritical, "controller booted in safe mode");
        break;
    case CONTROLLER_STATUS_CERT_PROV:
        add(kWarning, "controller waits for certificate provisioning");
        break;
    default:
        break;
    }
    if (h.vdOffline.value_or(0) > 0)
        add(kCritical, plural(*h.vdOffline, "offline virtual drive", "offline virtual drives"));
    if (h.lockKeyFailed.value_or(false))
        add(kCritical, "lock key failed");
    if (h.vdDegraded.value_or(0) > 0)
        add(kWarning, plural(*h.vdDegraded, "degraded virtual drive", "degraded virtual drives"));
    if (h.diskFailed.value_or(0) > 0)
        add(kWarning, plural(*h.diskFailed, "failed disk", "failed disks"));
    if (h.diskPredFailure.value_or(0) > 0)
        add(kWarning,
            plural(*h.diskPredFailure, "disk predicting failure", "disks predicting failure"));
    if (h.memUncorrectable.value_or(0) > 0)
        add(kWarning, plural(*h.memUncorrectable, "uncorrectable memory error",
                             "uncorrectable memory errors"));
    if (h.cachePinned.value_or(false))
        add(kWarning, "pinned cache");

    const std::uint32_t flags = h.batteryFlags.value_or(0);
    const int bstate = h.batteryState.value_or(1);
    if (bstate == 2 || (flags & kBatteryReplacePack) != 0)
        add(kWarning, "battery needs replacement");
    else if (bstate != 0 && bstate != 1) {
        std::string name = batteryStateName(bstate);
        for (char& ch : name)
            ch = ch == '_' ? ' ' : ch;
        add(kWarning, name == "unknown" ? "battery state unknown" : "battery " + name);
    }
    if ((flags & kBatteryLearnFailed) != 0)
        add(kWarning, "battery learn cycle failed");
    if ((flags & kBatteryTemperatureHigh) != 0)
        add(kWarning, "battery temperature high");

    const std::optional<unsigned> temps[kSensors] = {h.rocTemperature, h.ctrlTemperature,
                                                     h.batteryTemperature};
    const char* const perfNames[kSensors] = {"roc_temperature", "controller_temperature",
                                             "battery_temperature"};
    const char* const texts[kSensors] = {"ROC temperature", "controller temperature",
                                         "battery temperature"};
    for (int s = 0; s < kSensors; ++s) {
        if (!temps[s])
            continue;
        unsigned t = *temps[s];
        if (t >= th.crit[s])
            add(kCritical, std::string(texts[s]) + " " + std::to_string(t) + " C (critical at " +
                               std::to_string(th.crit[s]) + ")");
        else if (t >= th.warn[s])
            add(kWarning, std::string(texts[s]) + " " + std::to_string(t) + " C (warning at " +
                              std::to_string(th.warn[s]) + ")");
        perf(perfNames[s], std::to_string(t) + ";" + std::to_string(th.warn[s]) + ";" +
                               std::to_string(th.crit[s]));
    }
    auto count = [&](const char* name, const std::optional<unsigned>& value) {
        if (value)
            perf(name, std::to_string(*value));
    };
    count("virtual_drives", h.vdPresent);
    count("virtual_drives_degraded", h.vdDegraded);
    count("virtual_drives_offline", h.vdOffline);
    count("disks", h.diskPresent);
    count("disks_failed", h.diskFailed);
    count("disks_predictive_failure", h.diskPredFailure);
    if (h.batteryCharge)
        perf("battery_charge", std::to_string(*h.batteryCharge) + "%;;;0;100");
    return v;
}

std::string controllerText(const Health& h, const Verdict& v) {
    std::string head = "c" + std::to_string(h.index);
    if (!h.model.empty())
        head += " " + oneLine(h.model);
    if (v.problems.empty()) {
        std::string text = head + ": ok";
        if (h.vdPresent)
            text += ", " + plural(*h.vdPresent, "virtual drive", "virtual drives");
        if (h.diskPresent)
            text += ", " + plural(*h.diskPresent, "disk", "disks");
        return text;
    }
    std::string text = head + ": ";
    bool first = true;
    // Most serious first.
    for (State s : {kCritical, kUnknown, kWarning})
        for (const Problem& p : v.problems)
            if (p.state == s) {
                text += (first ? "" : ", ") + oneLine(p.text);
                first = false;
            }
    return text;
}

// The monitoring-plugin side of a failure before any controller is read
// (usage, backend, capture): one UNKNOWN line, exit 3.
int unknownBeforeReading(App& app, const std::string& message) {
    watchdog::disarm();
    if (!app.json())
        app.out() << "KVICTL UNKNOWN - " << oneLine(message) << "\n" << std::flush;
    return kUnknown;
}

// What check is before and after its arguments are parsed: every controller
// unless -c says otherwise, and plugin codes for early failures.
Command baseCommand(App& app) {
    Command c;
    c.name = "check";
    c.headers = false;
    c.allControllersByDefault = true;
    c.ownStatusReport = true;
    c.earlyFailure = [&app](const std::string& message) {
        return unknownBeforeReading(app, message);
    };
    return c;
}

} // namespace

void registerCheck(CLI::App& root, App& app) {
    auto* sub = root.add_subcommand("check", "Check controller health for a monitoring system "
                                             "(exit 0 OK, 1 WARNING, 2 CRITICAL, 3 UNKNOWN)");
    auto warn = std::make_shared<std::string>();
    auto crit = std::make_shared<std::string>();
    auto timeout = std::make_shared<std::string>("30");
    sub->add_option(
           "--warning,--warn", *warn,
           "Temperature warning thresholds in degrees C: N, or roc=N,controller=N,battery=N")
        ->type_name("T");
    sub->add_option("--critical,--crit", *crit,
                    "Temperature critical thresholds, same form as --warning")
        ->type_name("T");
    sub->add_option("-t,--timeout", *timeout,
                    "End with UNKNOWN (exit 3) after SECONDS, also when a controller hangs "
                    "(default 30)")
        ->type_name("SECONDS")
        ->check(unsignedIn(1, 86400, "--timeout"));
    sub->footer(
        "Prints one line: KVICTL STATE - findings | performance data.\n"
        "WARNING: degraded virtual drive, failed or failing disk, battery needing replacement or\n"
        "degraded, pinned cache, uncorrectable memory errors, temperature at --warning.\n"
        "CRITICAL: offline virtual drive, controller in safe mode, failed lock key, temperature\n"
        "at --critical. UNKNOWN: a controller that answers nothing, stops answering part-way or\n"
        "does not answer within --timeout, or an unreadable controller status, battery or lock "
        "key.\n"
        "Defaults: --warning roc=95,controller=75,battery=50 --critical\n"
        "roc=105,controller=90,battery=60; a --critical below a default warning threshold\n"
        "takes that one down with it. The full table is in docs/MONITORING.md.\n"
        "Every controller is checked unless -c selects one. A usage error, or a backend or\n"
        "capture that cannot be opened, gives UNKNOWN (exit 3) with the reason.\n\n"
        "Examples:\n"
        "  kvictl --sim check\n"
        "  kvictl check --critical 85\n"
        "  kvictl check --warning 70 --critical 85 --timeout 20\n"
        "  kvictl -c 1 check --warning roc=90,battery=45");
    // Set before check's own arguments are parsed, so that an error in them
    // is reported the plugin way too.
    sub->preparse_callback([&app](std::size_t) { app.setCommand(baseCommand(app)); });
    sub->callback([&app, warn, crit, timeout] {
        struct Run {
            Thresholds th;
            std::vector<std::pair<Health, Verdict>> results;
        };
        auto state = std::make_shared<Run>();
        Command c = baseCommand(app);
        c.validate = [&app, state, warn, crit, timeout] {
            state->th = thresholds(*warn, *crit);
            const unsigned seconds =
                static_cast<unsigned>(parseUnsigned(*timeout, 1, 86400, "--timeout"));
            // From here on the run ends within the timeout, whatever a
            // controller does; the result below disarms it.
            const std::string why = "timed out after " + std::to_string(seconds) +
                                    " s: a controller did not answer (--timeout SECONDS sets "
                                    "the limit)";
            watchdog::arm(seconds,
                          app.json() ? app.failureDocument("timeout", why, kUnknown)
                                     : "KVICTL UNKNOWN - " + why + "\n",
                          "kvictl: " + why + "\n", kUnknown);
        };
        c.run = [&app, state](Target& t) {
            Health h = readHealth(t);
            Verdict v = evaluate(h, state->th);
            if (app.json() && t.entry != nullptr) {
                json::Object check;
                std::string name = stateName(v.state);
                for (char& ch : name)
                    ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
                check["state"] = json::String(name);
                json::Array problems;
                for (const Problem& p : v.problems) {
                    json::Object o;
                    std::string sev = stateName(p.state);
                    for (char& ch : sev)
                        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
                    o["severity"] = json::String(sev);
                    o["text"] = json::String(p.text);
                    problems.Insert(o);
                }
                check["problems"] = problems;
                (*t.entry)["check"] = check;
            }
            state->results.emplace_back(std::move(h), std::move(v));
        };
        c.finish = [&app, state] {
            watchdog::disarm();
            State overall = kOk;
            std::string text, perf;
            for (const auto& r : state->results) {
                overall = worse(overall, r.second.state);
                text += (text.empty() ? "" : "; ") + controllerText(r.first, r.second);
                if (!r.second.perf.empty())
                    perf += (perf.empty() ? "" : " ") + r.second.perf;
            }
            if (!app.json()) {
                app.out() << "KVICTL " << stateName(overall) << " - " << text;
                if (!perf.empty())
                    app.out() << " | " << perf;
                app.out() << "\n" << std::flush;
            }
            app.raiseExit(overall);
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
