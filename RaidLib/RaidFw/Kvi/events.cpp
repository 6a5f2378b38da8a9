// Event log and event capture operations of AdapterDataKvi.
//
// Thin requests: the event log's count, a raw read of a range of events and clearing the log;
// event capture control (start, stop, disable, capture mode, the host and firmware filter
// masks), reading the captured data and the capture settings. Event records are not decoded
// here; callers receive the firmware's bytes. The log's landmarks (getEventLogInfo) are read
// with the caches.

#include <cstdint>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/DebugLog.h"

namespace {

// Sub-functions of KV_DCMD_CTRL_AEC_CONTROL, in mailbox word 0.
enum : std::uint32_t {
    kAecDisable = 0,
    kAecStop = 1,
    kAecStart = 2,
    kAecSetMode = 3,
    kAecFilterMask = 4,
    kAecClearMask = 5,
};

// The capture buffer read by getAEC; callers supply at least this much.
constexpr std::uint32_t kAecBufferSize = 32768;
// The event count is one 32-bit word.
constexpr std::uint32_t kEventCountSize = sizeof(unsigned int);

} // namespace

int AdapterDataKvi::clearEventLog() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::clearEventLog");
    return sendDcmd(KV_DCMD_CTRL_EVENT_CLEAR);
}

// The firmware writes the count straight into the caller's variable; the two words are the
// firmware's own selection arguments, passed through.
int AdapterDataKvi::getEventCnt(unsigned int* count, unsigned int a, unsigned int b) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getEventCnt");
    if (count == nullptr) {
        return -1;
    }
    return sendDcmd(KV_DCMD_CTRL_EVENT_COUNT, kviMboxWords(a, b), count, kEventCountSize, 0);
}

// Reads `length` bytes of event records starting at sequence number seqNum into the caller's
// buffer, which must hold `length` bytes.
int AdapterDataKvi::getEventList(unsigned int seqNum, char* buffer, unsigned int length,
                                 unsigned int filter) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getEventList");
    if (buffer == nullptr || length == 0) {
        return -1;
    }
    return sendDcmd(KV_DCMD_CTRL_EVENT_GET, kviMboxWords(seqNum, filter), buffer, length, length);
}

int AdapterDataKvi::startAEC(unsigned int value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::startAEC");
    return sendDcmd(KV_DCMD_CTRL_AEC_CONTROL, kviMboxWords(kAecStart, value), nullptr, 0, 0);
}

int AdapterDataKvi::stopAEC() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::stopAEC");
    return sendDcmd(KV_DCMD_CTRL_AEC_CONTROL, kviMboxWords(kAecStop), nullptr, 0, 0);
}

int AdapterDataKvi::disableAEC() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::disableAEC");
    return sendDcmd(KV_DCMD_CTRL_AEC_CONTROL, kviMboxWords(kAecDisable), nullptr, 0, 0);
}

int AdapterDataKvi::setAECCaptureMode(unsigned char mode) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setAECCaptureMode");
    return sendDcmd(KV_DCMD_CTRL_AEC_CONTROL, kviMboxWords(kAecSetMode, mode), nullptr, 0, 0);
}

// The captured data, with the number of entries answered in mailbox word 1. The count is
// stored unless the firmware refused the parameters (KVI_STAT_INVALID_PARAMETER), so callers
// test the status before relying on it.
int AdapterDataKvi::getAEC(unsigned char* buffer, unsigned char which, unsigned int* count) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getAEC");
    if (buffer == nullptr || count == nullptr) {
        return -1;
    }
    const DCMD_MBOX mbox = kviMboxWords(which);
    DCMD_MBOX after = mbox;
    const int rc =
        sendDcmd(KV_DCMD_CTRL_AEC_GET, mbox, buffer, kAecBufferSize, kAecBufferSize, &after);
    if (rc != KVI_STAT_INVALID_PARAMETER) {
        *count = after.w[1];
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getAEC");
    return rc;
}

// The caller's record is cleared first, also when the read then fails.
int AdapterDataKvi::showAECSettings(KV_AEC_SETTINGS* settings) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::showAECSettings");
    if (settings == nullptr) {
        return -1;
    }
    *settings = KV_AEC_SETTINGS{};
    return sendDcmdRec(KV_DCMD_CTRL_AEC_GET_SETTINGS, kviMbox(), settings);
}

// The firmware echoes the mask it took in mailbox word 2; a different echo means it did not
// take the mask sent, answered -1. Setting and clearing a mask differ only in the
// sub-function.
int AdapterDataKvi::aecMaskControl(const char* name, std::uint32_t sub, unsigned int mask,
                                   unsigned char which) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    const DCMD_MBOX mbox = kviMboxWords(sub, which, mask);
    DCMD_MBOX after = mbox;
    const int rc = sendDcmd(KV_DCMD_CTRL_AEC_CONTROL, mbox, nullptr, 0, 0, &after);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    if (rc == 0 && after.w[2] != mask) {
        return -1;
    }
    return rc;
}

int AdapterDataKvi::filterAECMask(unsigned int mask, unsigned char which) {
    return aecMaskControl("filterAECMask", kAecFilterMask, mask, which);
}

int AdapterDataKvi::clearAECMask(unsigned int mask, unsigned char which) {
    return aecMaskControl("clearAECMask", kAecClearMask, mask, which);
}
