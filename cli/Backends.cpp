// The backends of one run: the simulator, a device, a capture to record or
// replay, opened once per run; the command then runs against each selected
// controller, and what a capture keeps besides the requests is written and
// read back here.
#include "cli/App.h"

#include <pthread.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/Clock.h"
#include "cli/Args.h"
#include "cli/Gate.h"
#include "cli/RunFiles.h"
#include "cli/Util.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Provider.h"
#include "sim/Simulator.h"
#include "transport/Session.h"
#include "util/Cleanup.h"
#include "json/TextWriter.h"

namespace cli {

namespace {

// ---- what a capture keeps besides the requests ----
//
// Output depends on more than the controller's answers: the host's clock and
// time zone (report dates), the process-wide inputs (OEM flag, resource texts,
// controller type) and, in JSON, the command line in the envelope. --record
// writes them as facts and --replay applies them, so a replay prints what the
// recorded run printed.
const char kFactNow[] = "now";
const char kFactOem[] = "isOEMhp";
const char kFactOemCheck[] = "oemCheck";
const char kFactControllerType[] = "controllerType";
const char kFactTimeZone[] = "tz";
const char kFactArgv[] = "argv";

// The time zone in effect: $TZ when set (also when empty), else the zone the
// /etc/localtime link names; nullopt when neither says.
std::optional<std::string> currentTimeZone() {
    if (const char* tz = std::getenv("TZ"))
        return std::string(tz);
    char target[PATH_MAX];
    ssize_t n = ::readlink("/etc/localtime", target, sizeof target - 1);
    if (n <= 0)
        return std::nullopt;
    std::string path(target, static_cast<std::size_t>(n));
    const std::string marker = "zoneinfo/";
    std::size_t at = path.rfind(marker);
    if (at == std::string::npos || at + marker.size() >= path.size())
        return std::nullopt;
    return path.substr(at + marker.size());
}

// The arguments that say what a run does, without the ones that say where its
// answers come from (--sim..., --device, --replay, --record and their values).
std::vector<std::string> commandPart(const std::vector<std::string>& argv) {
    static const char* const withValue[] = {"--sim-profile", "--sim-state", "--sim-controllers",
                                            "--device",      "--replay",    "--record"};
    std::vector<std::string> out;
    for (std::size_t i = 1; i < argv.size(); ++i) {
        const std::string& a = argv[i];
        if (a == "--")
            break;
        if (a == "--sim" || a.rfind("--sim=", 0) == 0)
            continue;
        bool skip = false;
        for (const char* o : withValue) {
            std::string opt = o;
            if (a == opt) {
                ++i;
                skip = true;
            } else if (a.rfind(opt + "=", 0) == 0) {
                skip = true;
            }
        }
        if (!skip)
            out.push_back(a);
    }
    return out;
}

std::string encodeArgv(const std::vector<std::string>& argv) {
    // Arguments need not be UTF-8; replace what is not rather than fail.
    return nlohmann::json(argv).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// A change that was not stored is not reported as made: every "changed" and
// "done" a command put in a controller's entry turns false.
void markNotKept(json::Object& object);
void markNotKept(json::UnknownElement& element) {
    if (auto* object = element.As<json::Object>()) {
        markNotKept(*object);
    } else if (auto* array = element.As<json::Array>()) {
        for (json::UnknownElement& e : *array)
            markNotKept(e);
    }
}
void markNotKept(json::Object& object) {
    for (json::Object::Member& m : object) {
        if ((m.name == "changed" || m.name == "done") && m.element.Is<json::Boolean>())
            m.element = json::Boolean(false);
        else
            markNotKept(m.element);
    }
}

std::optional<std::vector<std::string>> decodeArgv(const std::string& text) {
    nlohmann::json j = nlohmann::json::parse(text, nullptr, false);
    if (!j.is_array())
        return std::nullopt;
    std::vector<std::string> out;
    for (const auto& e : j) {
        if (!e.is_string())
            return std::nullopt;
        out.push_back(e.get<std::string>());
    }
    return out;
}

} // namespace

// ---- the backends of one run ----
struct Opened {
    std::unique_ptr<kvi::sim::Simulator> sim;
    kvi::TransportSet transport;
    std::vector<kvi::Backend*> raw;
    std::shared_ptr<kvi::CaptureWriter> writer;
    std::vector<std::unique_ptr<kvi::CaptureBackend>> captured;
    std::vector<std::unique_ptr<Gate>> gates;
};

namespace {

void checkBackendChoice(const GlobalOptions& o) {
    int chosen = (o.sim ? 1 : 0) + (!o.device.empty() ? 1 : 0) + (!o.replay.empty() ? 1 : 0);
    if (chosen > 1)
        throw UsageError("choose one backend: --sim, --device or --replay");
    if (!o.sim && (!o.simState.empty() || o.simControllers != 0 || o.simProfile != "default"))
        throw UsageError("--sim-state and --sim-controllers need --sim");
    if (o.logFile.empty() && o.logLevel != 3)
        throw UsageError("--log-level needs --log FILE");
}

// A state file carries the profile and the controllers it was made from; a
// --sim=PROFILE or --sim-controllers that asks for something else would
// otherwise be ignored without a word. Empty when they agree.
std::string stateMismatch(const kvi::sim::Simulator& sim, const GlobalOptions& o,
                          bool profileGiven) {
    std::string differs, drop;
    if (profileGiven && o.simProfile != sim.profile()) {
        differs = "profile '" + sim.profile() + "', not '" + o.simProfile + "'";
        drop = "--sim=PROFILE";
    }
    if (o.simControllers != 0 && o.simControllers != sim.size()) {
        differs += (differs.empty() ? "" : " and ") + std::to_string(sim.size()) +
                   (sim.size() == 1 ? " controller" : " controllers") + ", not " +
                   std::to_string(o.simControllers);
        drop += (drop.empty() ? "" : " and ") + std::string("--sim-controllers");
    }
    if (differs.empty())
        return differs;
    return "the simulator state file " + o.simState + " holds " + differs +
           "; remove the file to start afresh, or drop " + drop + " to go on with it";
}

// SIGINT and SIGTERM wait, blocked, until the command asks for them; a
// reader that goes away (SIGPIPE) shows as a failed write instead, so the run
// still ends through its own end (the capture kept, exit status 5).
void blockStopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

// Waits `seconds` for SIGINT or SIGTERM (blocked by blockStopSignals); true
// when one came.
bool waitForStop(unsigned seconds) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    for (;;) {
        const auto left = until - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero())
            return false;
        const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
        timespec ts{};
        ts.tv_sec = static_cast<time_t>(ns / 1000000000);
        ts.tv_nsec = static_cast<long>(ns % 1000000000);
        const int sig = sigtimedwait(&set, nullptr, &ts);
        if (sig > 0)
            return true;
        if (errno != EINTR) // EAGAIN: the time is up
            return false;
    }
}

} // namespace

void App::runController(unsigned index, Gate& gate, bool changes, bool readStatus) {
    BackendController controller(gate, ControllerId(index));
    AdapterDataKvi adapter(&controller, controller.getControllerId());
    json::Object scratch;
    Target t;
    t.index = index;
    t.backend = &gate;
    t.gate = &gate;
    t.controller = &controller;
    t.adapter = &adapter;
    // The status comes from the controller information every command
    // loads anyway; one that cannot be read is "unknown", never a guess.
    int statusRc = 0;
    const KV_CTRL_INFO* info = readStatus ? adapter.ctrlInfoOrStatus(&statusRc) : nullptr;
    if (info != nullptr) {
        t.statusKnown = true;
        t.status = RaidManager::deriveControllerStatus(*info);
    }
    if (json() && !command_->jsonLines) {
        t.entry = &envelope_->AddController(index, t.statusKnown ? t.status : -1, t.statusName(),
                                            t.statusKnown
                                                ? RaidManager::controllerStatusDescription(t.status)
                                                : "The controller's status could not be read");
        entries_.push_back(t.entry);
    } else {
        t.entry = &scratch;
        if (!json() && multi_ && command_->headers) {
            if (!firstBlock_)
                out() << "\n";
            out() << "Controller " << index << "\n\n";
            firstBlock_ = true;
        }
    }
    if (readStatus && !t.statusKnown && !command_->ownStatusReport) {
        // A controller that cannot report its own status is not sent
        // changes; what only reads still runs and shows what it can.
        fail(t,
             changes ? "reading the controller status (nothing was changed)"
                     : "reading the controller status",
             statusRc);
        if (changes)
            return;
    }
    command_->run(t);
    // A command that watches only reads; a note per round would break its lines.
    if (opt_.dryRun && command_->followSeconds == 0)
        reportDryRun(t, gate);
}

void App::follow(Opened& o, const std::vector<unsigned>& selected,
                 const std::function<void()>& round) {
    // The first round ran under the lock taken for loading; from now on the
    // lock is held only while a round reads.
    stateLock_.reset();
    const bool replaying = !opt_.replay.empty();
    for (;;) {
        // Whole lines reach the reader as each round ends.
        std::cout.flush();
        if (exit_ != kExitOk || !std::cout)
            return; // a failed round (the controller stopped answering) or a closed output
        if (replaying) {
            // A capture of a watching run holds whole rounds; it ends after the last.
            bool left = false;
            for (unsigned index : selected)
                if (auto* r =
                        dynamic_cast<kvi::ReplayBackend*>(o.transport.controllers[index].get()))
                    left = left || r->remaining() > 0;
            if (!left)
                return;
        } else if (waitForStop(command_->followSeconds)) {
            return;
        }
        if (o.sim && !opt_.simState.empty()) {
            stateLock_ = std::make_unique<kvi::files::StateLock>(opt_.simState, false);
            try {
                if (::access(opt_.simState.c_str(), F_OK) == 0)
                    o.sim->refreshState(opt_.simState);
            } catch (const std::exception& e) {
                stateLock_.reset();
                error("simulator",
                      std::string("cannot read the simulator state again: ") + e.what(),
                      kExitFailed);
                return;
            }
        }
        round();
        stateLock_.reset();
    }
}

int App::openAndRun() {
    // 1. Validate everything the arguments say, before anything is opened.
    try {
        if (argv_.size() > 1)
            checkPrintable(std::vector<std::string>(argv_.begin() + 1, argv_.end()));
        checkBackendChoice(opt_);
        checkFileOptions(
            opt_, [this](const char* name) { return root_->count(name) > 0; }, command_->files);
        if (command_->validate)
            command_->validate();
    } catch (const UsageError& e) {
        error("usage", std::string(e.what()) + "; nothing was sent", kExitUsage);
        writeEnvelope();
        return exit_;
    }
    if (command_->confirmation) {
        std::string question = command_->confirmation();
        if (!question.empty() && !confirm(question)) {
            writeEnvelope();
            return exit_;
        }
    }

    // A watching command ends on SIGINT or SIGTERM between rounds, never in
    // the middle of a request or a line: the signals wait until then.
    if (command_->followSeconds > 0)
        blockStopSignals();

    // A command that changes the controller holds its text output until the
    // change is stored, so nothing claims a change that was not kept.
    const bool changes = !readOnlyCommand(command_->name);
    holding_ = changes && !json();

    // 2. The debug log.
    LogSession log;
    if (!opt_.logFile.empty()) {
        try {
            log.open(opt_.logFile);
        } catch (const kvi::files::FileError& e) {
            error("log", std::string("cannot write the debug log: ") + e.what(), kExitUsage);
            writeEnvelope();
            return exit_;
        }
        kvi::setLogLevel(opt_.logLevel);
    }

    // 3. The backends.
    Opened o;
    std::time_t now = 0;
    bool fixedNow = false;
    if (opt_.sim) {
        std::string mismatch;
        bool fromProfile = false;
        try {
            o.sim = std::make_unique<kvi::sim::Simulator>();
            bool fromState = false;
            if (!opt_.simState.empty()) {
                // A state that could not be stored at the end (a link, FIFO or
                // folder in its place) is refused before anything changes.
                if (changes)
                    kvi::files::checkWritableTarget(opt_.simState);
                // Held to the end of the run: a changing command reads, changes
                // and writes the state while no other kvictl can, and readers
                // see the state before or after it, never between.
                stateLock_ = std::make_unique<kvi::files::StateLock>(opt_.simState, changes);
            }
            if (!opt_.simState.empty() && ::access(opt_.simState.c_str(), F_OK) == 0) {
                o.sim->loadState(opt_.simState);
                fromState = true;
                mismatch = stateMismatch(*o.sim, opt_, root_->count("--sim-profile") > 0);
            }
            fromProfile = !fromState;
            if (!fromState)
                o.sim->load(opt_.simProfile, opt_.simControllers == 0 ? 1 : opt_.simControllers);
            if (fromState && changes)
                stateBefore_ = o.sim->stateText();
        } catch (const std::exception& e) {
            std::string bundled;
            for (const std::string& n : kvi::sim::Simulator::bundledProfiles())
                bundled += (bundled.empty() ? "" : ", ") + n;
            error("simulator",
                  std::string(e.what()) + "; nothing was sent" +
                      (fromProfile ? " (bundled profiles: " + bundled + ")" : ""),
                  kExitUsage);
            writeEnvelope();
            return exit_;
        }
        if (!mismatch.empty()) {
            error("simulator", mismatch + "; nothing was sent", kExitUsage);
            writeEnvelope();
            return exit_;
        }
        kvi::setProcessInputs(o.sim->processInputs());
        for (std::size_t i = 0; i < o.sim->size(); ++i)
            o.raw.push_back(&o.sim->controller(i));
        if (o.sim->clock().isFixed()) {
            now = static_cast<std::time_t>(o.sim->clock().now());
            fixedNow = true;
        }
    } else {
        if (!opt_.replay.empty()) {
            o.transport = kvi::openReplay(opt_.replay);
            if (o.transport.controllers.empty()) {
                error("replay", o.transport.error + "; nothing was sent", kExitUsage);
            } else if (o.transport.log) {
                const kvi::ReplayLog& log = *o.transport.log;
                for (const std::string& w : log.warnings())
                    notice("replay", w);
                kvi::ProcessInputs in;
                if (auto v = log.fact(kFactOem))
                    in.isOEMhp = *v == "1";
                if (auto v = log.fact(kFactOemCheck))
                    in.oemCheck = std::atoi(v->c_str());
                if (auto v = log.fact(kFactControllerType))
                    in.controllerType = std::atoi(v->c_str());
                kvi::setProcessInputs(in);
                if (auto v = log.fact(kFactNow)) {
                    now = static_cast<std::time_t>(std::atoll(v->c_str()));
                    fixedNow = true;
                }
                if (auto v = log.fact(kFactTimeZone)) {
                    ::setenv("TZ", v->c_str(), 1);
                    ::tzset();
                }
                // The JSON envelope names the recorded command line when this
                // run asks for the same thing, so the document comes out as
                // recorded; a different command keeps its own.
                if (envelope_) {
                    if (auto v = log.fact(kFactArgv)) {
                        auto recorded = decodeArgv(*v);
                        if (recorded && !recorded->empty() &&
                            commandPart(*recorded) == commandPart(argv_))
                            envelope_ = std::make_unique<json::Envelope>(App::version(), *recorded);
                    }
                }
            }
        } else {
            std::string device = opt_.device.empty() ? kvi::deviceFromEnvironment() : opt_.device;
            if (device.empty()) {
                error("no_backend",
                      "no controller reachable: no device given (--device PATH or $KVICTL_DEVICE); "
                      "to try kvictl without hardware use the simulator: kvictl --sim show",
                      kExitUnreachable);
            } else {
                o.transport = kvi::openPassThrough(device);
                if (o.transport.controllers.empty()) {
                    error("no_controller", kvi::noControllerMessage(device, o.transport),
                          kvi::exitCodeFor(o.transport.fault));
                }
            }
        }
        for (auto& b : o.transport.controllers)
            o.raw.push_back(b.get());
    }
    if (o.raw.empty()) {
        writeEnvelope();
        return exit_;
    }
    if (fixedNow)
        kvi::reports::setHostTime(now);

    std::vector<kvi::Backend*> chain = o.raw;
    if (!opt_.record.empty()) {
        std::string why;
        o.writer = kvi::CaptureWriter::open(opt_.record, why);
        if (!o.writer) {
            error("record", "cannot write the capture: " + why + "; nothing was sent", kExitUsage);
            writeEnvelope();
            return exit_;
        }
        kvi::ProcessInputs in = kvi::processInputs();
        if (!fixedNow) {
            // One clock reading for the whole run, so the capture and the
            // output agree.
            now = std::time(nullptr);
            fixedNow = true;
            kvi::reports::setHostTime(now);
        }
        o.writer->recordFact(kFactNow, std::to_string(now));
        o.writer->recordFact(kFactOem, in.isOEMhp ? "1" : "0");
        o.writer->recordFact(kFactOemCheck, std::to_string(in.oemCheck));
        o.writer->recordFact(kFactControllerType, std::to_string(in.controllerType));
        if (auto tz = currentTimeZone())
            o.writer->recordFact(kFactTimeZone, *tz);
        o.writer->recordFact(kFactArgv, encodeArgv(argv_));
        o.captured = kvi::captureAll(o.raw, o.writer);
        chain.clear();
        for (auto& c : o.captured)
            chain.push_back(c.get());
    }
    for (kvi::Backend* b : chain)
        o.gates.push_back(std::make_unique<Gate>(*b, opt_.dryRun));
    System::getInstance()->setBackend(o.gates.front().get());

    // 4. The controllers to work on.
    std::vector<unsigned> selected;
    std::string which = opt_.controller;
    if (which.empty())
        which = command_->allControllersByDefault ? "all" : "0";
    if (which == "all") {
        for (unsigned i = 0; i < o.gates.size(); ++i)
            selected.push_back(i);
    } else {
        // The parser has checked it: a number of 0-4095.
        unsigned n = static_cast<unsigned>(parseUnsigned(which, 0, 4095, "-c"));
        if (n >= o.gates.size()) {
            error("usage",
                  "-c " + which + ": no such controller (" + std::to_string(o.gates.size()) +
                      " found, 0-" + std::to_string(o.gates.size() - 1) + "); nothing was sent",
                  kExitUsage);
        } else {
            selected.push_back(n);
        }
    }
    multi_ = selected.size() > 1;

    // 5. One BackendController and one AdapterDataKvi per controller, in turn
    // (per round, for a command that watches).
    if (!selected.empty())
        controllersRead_ = true;
    for (unsigned index : selected)
        runController(index, *o.gates[index], changes, true);
    if (command_->followSeconds > 0 && !selected.empty()) {
        // Later rounds read only what the command reads: the status was
        // checked in the first.
        follow(o, selected, [&] {
            for (unsigned index : selected)
                runController(index, *o.gates[index], changes, false);
        });
    }
    // Nothing selected (no such controller): nothing was read, so there is
    // nothing to sum up either.
    if (command_->finish && !selected.empty())
        command_->finish();
    // A replayed request the capture could not answer (it ran out, or its
    // last line was cut short) leaves out what it would have read; a report
    // that shows a missing value by leaving it out must not end with 0.
    for (unsigned index : selected)
        if (auto* r = dynamic_cast<kvi::ReplayBackend*>(o.transport.controllers.size() > index
                                                            ? o.transport.controllers[index].get()
                                                            : nullptr))
            if (r->mismatched() && exit_ == kExitOk)
                error("replay", r->lastError() + "; the output lacks what that request reads",
                      kExitFailed);

    // 6. Keep the simulator's state (only when it changed), the capture and the log.
    bool stored = true;
    if (o.sim && !opt_.simState.empty() && !opt_.dryRun && changes) {
        try {
            const std::string now = o.sim->stateText();
            if (now != stateBefore_)
                kvi::files::replaceFile(opt_.simState, now);
        } catch (const std::exception& e) {
            stored = false;
            for (json::Object* entry : entries_)
                markNotKept(*entry);
            error("simulator",
                  std::string("the change was not kept: cannot write the simulator state: ") +
                      e.what(),
                  kExitOutput);
        }
    }
    stateLock_.reset();
    if (o.writer && !o.writer->finish())
        error("record", "the capture " + opt_.record + " was not written: " + o.writer->error(),
              kExitOutput);
    const std::string logError = log.finish();
    if (!logError.empty())
        error("log", "the debug log is incomplete: " + logError, kExitOutput);
    releaseHeld(stored);

    System::getInstance()->setBackend(nullptr);
    kvi::reports::clearHostTime();
    writeEnvelope();
    std::cout.flush();
    return exit_;
}

} // namespace cli
