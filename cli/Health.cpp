#include "cli/Health.h"

#include <chrono>
#include <cstdio>
#include <ctime>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Schedule.h"
#include "firmware/kvistat.h"
#include "provider/Backend.h"
#include "provider/Provider.h"

namespace cli {

namespace {

// Patrol read and consistency-check schedule states share these codes.
const char* const kPatrolStates[] = {"stopped", "ready", "active", "paused", "user_paused"};
constexpr unsigned kPatrolAborted = 255;

class Reader {
public:
    explicit Reader(Health& h) : h_(h) {}

    // Books the result of one read; true when the value may be used.
    bool ok(const char* what, int rc) {
        if (rc == 0) {
            ++h_.answered;
            return true;
        }
        if (rc == KVI_STAT_INVALID_DCMD || rc == KVI_STAT_NO_HW_PRESENT) {
            ++h_.answered; // the controller answered: the item does not apply
            return false;
        }
        h_.failures.emplace_back(what, rc);
        h_.lost = h_.lost || isLostStatus(rc);
        return false;
    }

private:
    Health& h_;
};

} // namespace

bool isLostStatus(int status) {
    return status == kvi::kTransportFailed || status == kvi::kReplayMismatch;
}

const char* batteryStateName(int state) {
    switch (state) {
    case 0:
        return "missing";
    case 1:
        return "optimal";
    case 2:
        return "failed";
    case 3:
        return "degraded";
    case 4:
        return "needs_attention";
    case 6:
        return "code_required";
    case 7:
        return "predictive_failure";
    case 8:
        return "charging";
    case 9:
        return "communication_failure";
    default:
        return "unknown";
    }
}

const char* patrolStateName(unsigned state) {
    if (state < sizeof kPatrolStates / sizeof kPatrolStates[0])
        return kPatrolStates[state];
    if (state == kPatrolAborted)
        return "aborted";
    return nullptr;
}

const char* alarmStateName(unsigned state) {
    static const char* const names[] = {"disabled", "enabled", "silenced", "absent"};
    return state < 4 ? names[state] : nullptr;
}

Health readHealth(Target& t) {
    const auto start = std::chrono::steady_clock::now();
    Health h;
    h.index = t.index;
    Reader r(h);
    AdapterDataKvi& a = *t.adapter;

    // Host-side identity: no firmware request.
    h.driver = t.backend->driverName();
    h.driverVersion = t.backend->driverVersion();
    kvi::PciLocation pci;
    if (t.backend->pciLocation(pci) == 0) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%04x:%02x:%02x.%x", pci.domain, pci.bus, pci.device,
                      pci.function);
        h.pciAddress = buf;
    }

    // Controller information: one cached record serves identity, status,
    // counts, temperatures and flags.
    int rc = 0;
    const KV_CTRL_INFO* info = a.ctrlInfoOrStatus(&rc);
    if (r.ok("controller information", info != nullptr ? 0 : rc) && info != nullptr) {
        h.identityRead = true;
        std::string text;
        // The serial as the basic section and `list` show it.
        if (a.reportSerialNumber(text) == 0)
            h.serial = text;
        if (a.getProductName(text) == 0)
            h.model = text;
        if (a.getFwVersion(text) == 0)
            h.firmware = text;
        if (a.getPackageVersion(text) == 0)
            h.package = text;
        h.controllerStatus = RaidManager::deriveControllerStatus(*info);
        h.memCorrectable = info->memCorrectableErrorCount;
        h.memUncorrectable = info->memUnCorrectableErrorCount;
        h.vdPresent = info->ldPresentCount;
        h.vdDegraded = info->ldDegradedCount;
        h.vdOffline = info->ldOfflineCount;
        h.pdPresent = info->pdPresentCount;
        h.diskPresent = info->pdDiskPresentCount;
        h.diskPredFailure = info->pdDiskPredFailureCount;
        h.diskFailed = info->pdDiskFailedCount;
        if (info->hwPresent.tempSensorROC)
            h.rocTemperature = info->temperatureROC;
        if (info->hwPresent.tempSensorCtrl)
            h.ctrlTemperature = info->temperatureCtrl;
        h.cachePinned = info->adapterStatus.cacheIsPinned != 0;
        h.imagePending = info->pendingImageComponentCount > 0;
    } else {
        h.statusReadFailure = rc;
    }
    // An unreadable controller information leaves the status absent: it is
    // not known, and no state (least of all "failed") may be made up for it.

    // Battery: the state says whether one is fitted; the rest only then.
    int state = 0;
    if (r.ok("battery state", a.getBatteryState(&state))) {
        h.batteryState = state;
        h.batteryPresent = state != 0;
    }
    if (h.batteryPresent.value_or(false)) {
        unsigned int word = 0;
        if (r.ok("battery status", a.getBbuFwStatus(&word)))
            h.batteryFlags = word;
        unsigned char temperature = 0;
        if (r.ok("battery temperature", a.getBatteryTemperature(&temperature)))
            h.batteryTemperature = temperature;
        unsigned short v = 0;
        if (r.ok("battery charge", a.getBattRelativeStateOfCharge(&v)))
            h.batteryCharge = v;
        if (r.ok("battery remaining capacity", a.getBatteryRemainingCapacity(&v)))
            h.batteryRemaining = v;
        if (r.ok("battery full capacity", a.getBatteryFullCapacity(&v)))
            h.batteryFull = v;
        unsigned int next = 0;
        // 0: no learn cycle scheduled.
        if (r.ok("battery learn schedule", a.getBatteryNextLearnTime(&next)) && next != 0)
            h.batteryNextLearn = scheduleInstant(a, next);
    }

    // Patrol read: the status read itself, so that a failed read is told from
    // a paused patrol read (the state getter answers "paused" for both).
    KV_PR_STATUS pr{};
    if (r.ok("patrol read status", a.getPrStatus(&pr))) {
        h.patrolState = pr.state;
        h.patrolIterations = pr.numIteration;
    }

    unsigned char mode = 0;
    if (r.ok("consistency-check schedule", a.getCcSchedMode(&mode)))
        h.ccMode = mode;
    unsigned char ccState = 0;
    if (r.ok("consistency-check status", a.getCcSchedState(&ccState)))
        h.ccState = ccState;

    bool flag = false;
    if (r.ok("lock key", a.isLockKeyAssigned(&flag)))
        h.lockKeyAssigned = flag;
    if (r.ok("lock key", a.isLockKeyFailed(&flag)))
        h.lockKeyFailed = flag;

    // Without alarm hardware the operation answers 0 with state 3 (absent).
    unsigned char alarm = 0xFF;
    if (r.ok("alarm", a.getalarmState(&alarm)) && alarmStateName(alarm) != nullptr)
        h.alarmState = alarm;

    h.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return h;
}

} // namespace cli
