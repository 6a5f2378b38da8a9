#pragma once
// The firmware simulator: one or more simulated controllers, each a Backend
// that answers every direct command of the opcode table from a state built out
// of a JSON profile.
//
//   kvi::sim::Simulator sim;                 // clock from KVICTL_SIM_TIME or the host
//   sim.load("default", 2);                  // a bundled profile name or a file path
//   BackendController ctrl(sim.controller(0));
//   ... requests ...
//   sim.saveState("state.json");             // atomic: temp file, fsync, rename
//
// Errors in profiles and state files throw SimError whose text reads
// "FILE: FIELD: REASON" (FIELD may be empty), ready for a one-line message.
//
// Time: the simulated clock is KVICTL_SIM_TIME (seconds since 1970) when set,
// else the host clock. The controller's clock (KV_DCMD_CTRL_TIME_GET) answers
// that instant in the host's local time; `currentFwTime`, event time stamps and
// schedule times count local wall-clock seconds since the schedule epoch, local
// midnight of 1 January 2000 in standard time (in summer time the count is one
// summer-time shift ahead of the instant).
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "provider/Backend.h"
#include "provider/ProcessInputs.h"

namespace kvi::sim {

struct ControllerState;

class SimError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The simulated clock.
class Clock {
public:
    // Fixed at `fixed` seconds since 1970, or following the host when empty.
    explicit Clock(std::optional<std::int64_t> fixed = std::nullopt) : fixed_(fixed) {}
    // KVICTL_SIM_TIME when set (throws SimError for a value that is not a
    // number of seconds), else the host clock.
    static Clock fromEnvironment();
    std::int64_t now() const;
    bool isFixed() const { return fixed_.has_value(); }
    // Seconds since 1970 of the schedule epoch in the current time zone.
    static std::int64_t scheduleEpoch();
    // Seconds of the zone's summer-time shift (0 where it has none).
    static std::int64_t summerTimeShift();
    // `now()` as the firmware's clock counts it: local wall-clock seconds since
    // the schedule epoch (32 bits).
    std::uint32_t firmwareTime() const;

private:
    std::optional<std::int64_t> fixed_;
};

// One request as the simulator saw it.
struct TraceEntry {
    CommandKind kind = CommandKind::Firmware;
    std::uint32_t opcode = 0;
    std::uint8_t mbox[12] = {}; // as sent
    std::uint32_t length = 0;
    Direction direction = Direction::None;
    int status = 0;
    // The firmware has a handler for the opcode (false for opcodes outside the
    // opcode table, and for requests stopped before dispatch: a missing buffer,
    // an injected fault, a wrong direction).
    bool handled = false;
};

// One simulated controller.
class SimController : public Backend {
public:
    SimController(std::unique_ptr<ControllerState> state, const Clock* clock);
    ~SimController() override;

    int submit(DirectCommand& cmd) override;
    // SMP pass-through to the expanders the phy table shows (not traced).
    int submitSmp(SmpCommand& cmd) override;
    int pciLocation(PciLocation& out) override;
    std::string driverName() override;
    std::string driverVersion() override;

    // ---- introspection ----
    // The most recent requests (at most traceLimit(), oldest first).
    const std::deque<TraceEntry>& trace() const { return trace_; }
    std::size_t traceLimit() const { return traceLimit_; }
    void setTraceLimit(std::size_t limit);
    // Requests per opcode since creation (or the last resetIntrospection()).
    std::uint64_t count(std::uint32_t opcode) const;
    const std::map<std::uint32_t, std::uint64_t>& counters() const { return counters_; }
    std::uint64_t totalRequests() const { return total_; }
    void resetIntrospection();

    // The process-wide inputs this controller's profile asks for.
    ProcessInputs processInputs() const;

    // The state itself (tests and the state file).
    ControllerState& state() { return *state_; }
    const ControllerState& state() const { return *state_; }
    // Exchanges the states of two controllers (the requests seen stay).
    void swapState(SimController& other) { state_.swap(other.state_); }

private:
    int handle(DirectCommand& cmd, bool& handled);

    std::unique_ptr<ControllerState> state_;
    const Clock* clock_;
    std::deque<TraceEntry> trace_;
    std::size_t traceLimit_ = 100000;
    std::map<std::uint32_t, std::uint64_t> counters_;
    std::uint64_t total_ = 0;
};

class Simulator {
public:
    explicit Simulator(Clock clock = Clock::fromEnvironment());
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    // Builds `controllers` (at least 1) controllers from a profile: a bundled
    // profile name ("default") or a path to a JSON file. Controllers after the
    // first get their own serial number, SAS addresses and PCI bus. Replaces
    // whatever was loaded before. Throws SimError.
    void load(const std::string& profile, unsigned controllers = 1);
    // Replaces the controllers with those saved in a state file. Throws
    // SimError for a missing, unreadable or corrupt file; after such a failure
    // saveState refuses to write that path, so a corrupt file is never
    // overwritten silently.
    void loadState(const std::string& path);
    // Reads the state file again into the controllers already built, which
    // stay the same objects (backends wrapped around them keep working): a
    // run that watches sees what other runs stored meanwhile. Throws SimError
    // (the controllers are left as they were) for an unreadable file or one
    // that holds another number of controllers.
    void refreshState(const std::string& path);
    // Writes the state of every controller atomically (temp file in the same
    // folder, fsync, rename). Throws SimError.
    void saveState(const std::string& path) const;
    // The state file's text for the current state (what saveState writes), so
    // a caller can tell whether anything changed.
    std::string stateText() const;

    std::size_t size() const { return controllers_.size(); }
    SimController& controller(std::size_t i) { return *controllers_.at(i); }
    const Clock& clock() const { return clock_; }
    // The profile the controllers were built from, as given to load().
    const std::string& profile() const { return profile_; }
    // The process-wide inputs of the first controller (defaults when none).
    ProcessInputs processInputs() const;

    // Names of the bundled profiles, "default" first.
    static std::vector<std::string> bundledProfiles();
    // The JSON text of a bundled profile, or nullptr.
    static const char* bundledProfileText(std::string_view name);
    // Whether a profile name is a file's path (holds a '/' or ends in
    // ".json"); any other name is a bundled profile.
    static bool isProfilePath(const std::string& name);

private:
    Clock clock_;
    std::string profile_;
    std::vector<std::unique_ptr<SimController>> controllers_;
    std::string refusedStatePath_;
};

// Builds one controller's state from a profile (bundled name or path).
// Throws SimError. Exposed for tests; Simulator::load uses it.
std::unique_ptr<ControllerState> buildFromProfile(const std::string& profile, const Clock& clock);
// The same from a JSON text; `label` names it in error messages and a relative
// "base" path is resolved against `baseDir`.
std::unique_ptr<ControllerState> buildFromProfileText(const std::string& text,
                                                      const std::string& label,
                                                      const std::string& baseDir,
                                                      const Clock& clock);

} // namespace kvi::sim
