// Patrol read control, status and schedule operations of AdapterDataKvi, and
// the schedule time helpers shared with the consistency-check schedule.
//
// The patrol read schedule comes in two record forms: the short form (208
// bytes, excluded drives as an id array) and the extended form (120 bytes,
// excluded drives as a 256-bit map) of controllers with more than 64 logical
// drives. getPrProperties reads it afresh on every call, so every setter here
// edits and sends a fresh copy.
//
// Schedule times count seconds from local midnight of 1 January 2000 in
// standard time. A start time is always read as standard time when it is
// stored, and a stored time falling in summer time is shown less the
// summer-time shift, so a start time set and read back keeps its wall-clock
// value.
#include <cstdint>
#include <ctime>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"

namespace {

using namespace kvi::adapter;

constexpr std::uint8_t kPrStateActive = 2; // KV_PR_STATE_ACTIVE
constexpr std::uint8_t kPrPaused = 3;      // KV_PR_PAUSED

// A value of the patrol-read status, read afresh by `read`: `failed` when it
// cannot be read (with no exit line), else `pick(status)`.
template <typename R, typename Read, typename Pick>
R prStatusValue(const char* name, R failed, Read read, Pick pick) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    KV_PR_STATUS status{};
    if (read(&status) != 0) {
        return failed;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    return pick(status);
}

// mktime's failure value as a 32-bit clock would return it. A 64-bit clock
// returns -1 instead, which the epoch range test then rejects.
constexpr std::int64_t kMktime32Failure = 4294967295LL;

// 2000-01-01 00:00:00 local time with the given summer-time flag.
std::int64_t epochWithDst(int isdst) {
    tm t{};
    t.tm_mday = 1;
    t.tm_mon = 0;
    t.tm_year = 100;
    t.tm_isdst = isdst;
    return static_cast<std::int64_t>(mktime(&t));
}

} // namespace

// ---------------------------------------------------------------------------
// Time helpers

std::int64_t AdapterDataKvi::y2kTime() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::y2kTime");
    const std::int64_t t = epochWithDst(0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::y2kTime");
    return t;
}

int AdapterDataKvi::getdstInSec() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getdstInSec");
    // Both values are taken as 32-bit clock values; their difference is
    // formed in 64 bits so that it cannot overflow.
    const auto standard = static_cast<std::int32_t>(epochWithDst(0));
    const auto summer = static_cast<std::int32_t>(epochWithDst(1));
    std::int64_t shift = static_cast<std::int64_t>(summer) - static_cast<std::int64_t>(standard);
    if (shift < 0) {
        shift = -shift;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getdstInSec");
    return static_cast<int>(shift);
}

int AdapterDataKvi::schedStartToOffset(const tm* start, std::uint32_t* offset) {
    if (start == nullptr || offset == nullptr) {
        return -1;
    }
    tm copy = *start;
    copy.tm_isdst = 0; // the caller's time is always read as standard time
    const auto t = static_cast<std::int64_t>(mktime(&copy));
    if (t == kMktime32Failure) {
        return -1;
    }
    const std::int64_t d = t - y2kTime();
    if (static_cast<std::uint64_t>(d) > 0xFFFFFFFFull) {
        return -2; // before the epoch, too far after it, or a failed mktime
    }
    // The offset in 32-bit arithmetic (wraps, never overflows).
    *offset = static_cast<std::uint32_t>(t) - static_cast<std::uint32_t>(y2kTime());
    return 0;
}

int AdapterDataKvi::schedOffsetToLocal(std::uint32_t offset, tm* out) {
    if (out == nullptr) {
        return -1;
    }
    auto t = static_cast<time_t>(y2kTime() + static_cast<std::int64_t>(offset));
    tm local{};
    if (localtime_r(&t, &local) == nullptr) {
        return -1;
    }
    if (local.tm_isdst == 1) {
        // Stored as standard time: show it as the same wall-clock time.
        t = static_cast<time_t>(y2kTime() + static_cast<std::int64_t>(offset) - getdstInSec());
        if (localtime_r(&t, &local) == nullptr) {
            return -1;
        }
    }
    *out = local;
    return 0;
}

bool AdapterDataKvi::schedListTooLong(const ArrayList<unsigned short>* list, int* rc) {
    *rc = 0;
    if (list == nullptr || list->getCount() <= kSchedLegacyMaxExcluded) {
        return false;
    }
    *rc = getCtlrInfo();
    return *rc == 0 && !extSchedForm();
}

int AdapterDataKvi::sendHeldPrProperties() {
    if (kvPrProp_ != nullptr) {
        return sendDcmdRec(KV_DCMD_CTRL_PR_SET_PROPERTIES, kviMbox(0), kvPrProp_,
                           static_cast<std::uint32_t>(sizeof(KV_PR_PROPERTIES)));
    }
    if (kvPrPropExt_ != nullptr) {
        return sendDcmdRec(KV_DCMD_CTRL_PR_SET_PROPERTIES, kviMbox(1), kvPrPropExt_,
                           static_cast<std::uint32_t>(sizeof(KV_PR_PROPERTIES_EXT)));
    }
    return -1;
}

// ---------------------------------------------------------------------------
// Schedule value and field helpers

template <typename R, typename Pick>
R AdapterDataKvi::prScheduleValue(const char* name, Pick pick) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (getPrProperties() != 0) {
        return 0;
    }
    const R value = withPrRecord(pick);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    return value;
}

template <typename Set> int AdapterDataKvi::prScheduleSet(const char* name, Set set) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (getPrProperties() != 0) {
        return -1;
    }
    withPrRecord(set);
    const int rc = sendHeldPrProperties();
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
    return rc;
}

// ---------------------------------------------------------------------------
// Control requests

int AdapterDataKvi::startPr() {
    return logged("startPr", [&] { return sendDcmd(KV_DCMD_CTRL_PR_START); });
}

int AdapterDataKvi::stopPr() {
    return logged("stopPr", [&] { return sendDcmd(KV_DCMD_CTRL_PR_STOP); });
}

// ---------------------------------------------------------------------------
// Mode, status, delay and concurrency

int AdapterDataKvi::setPrMode(unsigned char mode) {
    return prScheduleSet("setPrMode", [mode](auto& r) { r.opMode = mode; });
}

unsigned char AdapterDataKvi::getPrMode() {
    return prScheduleValue<unsigned char>("getPrMode", [](const auto& r) { return r.opMode; });
}

// A failed status read reports the paused state, not an error value.
unsigned char AdapterDataKvi::getPrState() {
    return prStatusValue<unsigned char>(
        "getPrState", kPrPaused, [this](KV_PR_STATUS* status) { return getPrStatus(status); },
        [](const KV_PR_STATUS& status) { return status.state; });
}

unsigned int AdapterDataKvi::getPrNumIteration() {
    return prStatusValue<unsigned int>(
        "getPrNumIteration", 0, [this](KV_PR_STATUS* status) { return getPrStatus(status); },
        [](const KV_PR_STATUS& status) { return status.numIteration; });
}

// Drives done count only while a pass is running.
unsigned char AdapterDataKvi::getPrNumPdComplete() {
    return prStatusValue<unsigned char>(
        "getPrNumPdComplete", 0, [this](KV_PR_STATUS* status) { return getPrStatus(status); },
        [](const KV_PR_STATUS& status) {
            return status.state == kPrStateActive ? status.numPdDone : 0;
        });
}

unsigned int AdapterDataKvi::getPrExecDelay() {
    return prScheduleValue<unsigned int>("getPrExecDelay",
                                         [](const auto& r) { return r.execFreq; });
}

// The delay is stored as given; 0 included.
int AdapterDataKvi::setPrExecDelay(unsigned int delay) {
    return prScheduleSet("setPrExecDelay", [delay](auto& r) { r.execFreq = delay; });
}

unsigned int AdapterDataKvi::getPrConcurrentPd() {
    return prScheduleValue<unsigned int>("getPrConcurrentPd",
                                         [](const auto& r) { return r.maxPD; });
}

int AdapterDataKvi::getMaxConcurrentPD(unsigned char* out) {
    return loadedAnswerExit(
        "getMaxConcurrentPD", out, [this] { return getPrProperties(); },
        [this] { return kvPrPropExt_ != nullptr ? kvPrPropExt_->maxPD : kvPrProp_->maxPD; },
        [](unsigned char maxPD) {
            DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getMaxConcurrentPD maxPD=%d", maxPD);
        });
}

int AdapterDataKvi::setMaxConcurrentPD(unsigned char value) {
    return prScheduleSet("setMaxConcurrentPD", [value](auto& r) { r.maxPD = value; });
}

// ---------------------------------------------------------------------------
// Start time

int AdapterDataKvi::setPrStartTime(const tm* start) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setPrStartTime");
    if (getPrProperties() != 0 || start == nullptr) {
        return -1;
    }
    std::uint32_t offset = 0;
    const int conv = schedStartToOffset(start, &offset);
    if (conv != 0) {
        return conv;
    }
    if (kvPrPropExt_ != nullptr) {
        kvPrPropExt_->nextExec = offset;
    } else {
        kvPrProp_->nextExec = offset;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setPrStartTime");
    return setPrProperties();
}

int AdapterDataKvi::getPatrolReadSchedStartTime(tm* out) {
    return schedStartAnswer(
        *this, "getPatrolReadSchedStartTime", out, [this] { return getPrProperties(); },
        [this] { return withPrRecord([](const auto& r) { return r.nextExec; }); });
}

// ---------------------------------------------------------------------------
// Excluded logical drives

// A list longer than the short form's 64 ids is refused before anything is
// sent (it would not fit the record's id array).
int AdapterDataKvi::setPRSchedExcludedLdList(const ArrayList<unsigned short>* list) {
    return schedExcludedChange(
        *this, "setPRSchedExcludedLdList", list, [this] { return getPrProperties(); },
        [this](const ArrayList<unsigned short>& l) {
            if (kvPrPropExt_ != nullptr) {
                schedListToMapExcluded(l, *kvPrPropExt_);
            } else {
                schedListToLegacyExcluded(l, *kvPrProp_);
            }
        },
        [this] { return setPrProperties(); });
}

// Appends to the caller's list (not cleared first).
int AdapterDataKvi::getPRSchedExcludedLdList(ArrayList<unsigned short>* out) {
    const int rc =
        enterLoaded("getPRSchedExcludedLdList", out, [this] { return getPrProperties(); });
    if (rc != 0) {
        return rc;
    }
    if (kvPrPropExt_ != nullptr) {
        schedMapExcludedToList(*kvPrPropExt_, out);
    } else {
        schedLegacyExcludedToList(*kvPrProp_, out);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getPRSchedExcludedLdList");
    return 0;
}

// ---------------------------------------------------------------------------
// Suspend, resume and the option bits

int AdapterDataKvi::suspendPr() {
    return logged("suspendPr", [&] {
        return sendDcmd(KV_DCMD_CTRL_PR_SUSPEND_RESUME, kviMbox(0), nullptr, 0, 0);
    });
}

int AdapterDataKvi::resumePr() {
    return logged("resumePr", [&] {
        return sendDcmd(KV_DCMD_CTRL_PR_SUSPEND_RESUME, kviMbox(1), nullptr, 0, 0);
    });
}

int AdapterDataKvi::getSSDPrStatus(unsigned char* out) {
    int rc = enterLoaded("getSSDPrStatus", out, [this] { return getKvCtlrProp(); });
    if (rc != 0) {
        return rc;
    }
    rc = getPrProperties();
    if (rc != 0) {
        return rc;
    }
    *out = kvPrPropExt_ != nullptr ? kvPrPropExt_->options : kvPrProp_->options;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSSDPrStatus retCode = %d", rc);
    return 0;
}

// The SSD patrol read option may only be set while the controller property
// that enables SSD patrol read is on; that property is read afresh here.
int AdapterDataKvi::setSSDPrStatus(unsigned char value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setSSDPrStatus");
    // The fresh properties replace the held ones (released, not leaked).
    delete kvCtrlPropPtr_;
    kvCtrlPropPtr_ = new KV_CTRL_PROP();
    int rc = sendDcmdRec(KV_DCMD_CTRL_PROPERTIES_GET, kviMbox(), kvCtrlPropPtr_);
    if (rc != 0) {
        delete kvCtrlPropPtr_;
        kvCtrlPropPtr_ = nullptr;
        return rc;
    }
    rc = getPrProperties();
    if (rc != 0) {
        return rc;
    }
    if (kvCtrlPropPtr_->OnOffProperties.SSDPatrolReadEnabled == 0) {
        return -1;
    }
    if (kvPrPropExt_ != nullptr) {
        kvPrPropExt_->options = value;
    } else {
        kvPrProp_->options = value;
    }
    rc = sendHeldPrProperties();
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setSSDPrStatus retCode = %d", rc);
    return rc;
}

// Relies on a read of the patrol read properties earlier in the same command
// (getSSDPrStatus, for instance); with none held it refuses and sends nothing.
int AdapterDataKvi::setEPDPrStatus(unsigned char value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setEPDPrStatus");
    if (kvPrProp_ == nullptr && kvPrPropExt_ == nullptr) {
        return -1;
    }
    if (kvPrPropExt_ != nullptr) {
        kvPrPropExt_->options = value;
    } else {
        kvPrProp_->options = value;
    }
    const int rc = sendHeldPrProperties();
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setEPDPrStatus retCode = %d", rc);
    return rc;
}
