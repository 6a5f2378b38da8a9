#pragma once
// One controller's health as `metrics` and `check` see it: read once per
// controller through the controller-data layer, every value optional.
//
// Reading rules (docs/MONITORING.md "Failed reads"):
// - A value is present only when its operation answered 0.
// - An operation answered "invalid command" or "no hardware present" means the
//   item does not apply to this controller: the value is absent and it is not
//   a failure (the controller did answer).
// - Any other answer is a failed read: the value is absent and the read is
//   listed in `failures`.
// - A read that fails with a transport or replay status (the request got no
//   answer from the controller at all) marks the controller `lost`: it stopped
//   answering part-way, so the values read before are kept but the reading as
//   a whole is incomplete.
// - The controller is up when at least one read answered (success or "does
//   not apply") and none was lost.
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cli {

struct Target;

struct Health {
    unsigned index = 0;

    // ---- identity (labels of kvictl_controller_info) ----
    bool identityRead = false; // the controller information was read
    std::string model, serial, firmware, package, driver, driverVersion, pciAddress;

    // ---- controller information ----
    std::optional<int> controllerStatus; // CONTROLLER_STATUS_*; absent when not read
    std::optional<unsigned> memCorrectable, memUncorrectable;
    std::optional<unsigned> vdPresent, vdDegraded, vdOffline;
    std::optional<unsigned> pdPresent, diskPresent, diskPredFailure, diskFailed;
    std::optional<unsigned> rocTemperature, ctrlTemperature; // only where the sensor is fitted
    std::optional<bool> cachePinned, imagePending;

    // ---- battery ----
    std::optional<bool> batteryPresent;
    std::optional<int> batteryState;           // BATTERY_STATE_* (0 missing .. 255 unknown)
    std::optional<std::uint32_t> batteryFlags; // the firmware's battery status word
    std::optional<unsigned> batteryTemperature;
    std::optional<unsigned> batteryCharge;                 // relative state of charge, percent
    std::optional<unsigned> batteryRemaining, batteryFull; // mAh
    std::optional<long long> batteryNextLearn;             // seconds since 1970

    // ---- background operations, security, alarm ----
    std::optional<unsigned> patrolState;
    std::optional<std::uint32_t> patrolIterations;
    std::optional<unsigned> ccMode, ccState;
    std::optional<bool> lockKeyAssigned, lockKeyFailed;
    std::optional<unsigned> alarmState; // 0 disabled, 1 enabled, 2 silenced, 3 absent

    // ---- the reads themselves ----
    unsigned answered = 0;
    std::vector<std::pair<std::string, int>> failures; // what, status
    bool lost = false; // a read got no answer (transport or replay failure)
    double seconds = 0;

    bool up() const { return answered > 0 && !lost; }
    // The controller answered, but its status could not be read: the status
    // is unknown (metrics: status="unknown", check: UNKNOWN).
    bool statusUnknown() const { return answered > 0 && !controllerStatus; }
    int statusReadFailure = 0; // the answer to the controller-information read when it failed
};

// Battery status word bits.
enum BatteryFlag : std::uint32_t {
    kBatteryPackMissing = 1u << 0,
    kBatteryVoltageLow = 1u << 1,
    kBatteryTemperatureHigh = 1u << 2,
    kBatteryLearnRequested = 1u << 5,
    kBatteryLearnActive = 1u << 6,
    kBatteryLearnFailed = 1u << 7,
    kBatteryReplacePack = 1u << 10,
    kBatteryCapacityLow = 1u << 11,
    kBatteryPredictiveFailure = 1u << 15,
};

// True for the statuses of a request that never got the controller's answer
// (the device or driver failed it, or a replayed capture ran out or differs).
bool isLostStatus(int status);

// Reads everything above from one controller.
Health readHealth(Target& t);

// Stable lowercase names of the states (for labels and messages).
const char* batteryStateName(int state);     // "missing", "optimal", ... "unknown"
const char* patrolStateName(unsigned state); // "stopped", "ready", ... or nullptr
const char*
alarmStateName(unsigned state); // "disabled", "enabled", "silenced", "absent" or nullptr

} // namespace cli
