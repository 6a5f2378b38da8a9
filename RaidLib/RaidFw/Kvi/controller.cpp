// Controller operations of AdapterDataKvi that sit beside the settings but
// are requests of their own: the alarm, the key identifier, the host
// information, factory defaults and the cache flush.
#include <cstdint>
#include <cstring>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/DebugLog.h"

namespace {

using kvi::adapter::logged;
// The key identifier travels as a zero-terminated text in the opcode's standard transfer;
// reading and writing it use one buffer size, so the two opcodes must agree.
constexpr std::uint32_t kKeyIdSize = kvDcmdStandardSize(KV_DCMD_CTRL_LOCK_KEY_KEYID_GET);
static_assert(kKeyIdSize != 0 && kKeyIdSize == kvDcmdStandardSize(KV_DCMD_CTRL_LOCK_KEY_KEYID_SET),
              "the key identifier is read and written in one standard transfer size");
} // namespace

// The alarm is read directly, not from the properties. A controller without alarm hardware
// answers KVI_STAT_NO_HW_PRESENT, reported as state 3 with success.
int AdapterDataKvi::getalarmState(unsigned char* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getalarmState");
    if (out == nullptr) {
        return -1;
    }
    // The firmware answers one byte; the buffer has room for the whole standard transfer.
    unsigned char state[8] = {};
    const int rc = sendDcmd(KV_DCMD_CTRL_ALARM_GET, kviMbox(), state, sizeof state, 0);
    if (rc == KVI_STAT_NO_HW_PRESENT) {
        *out = 3;
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getalarmState retCode = %d", 0);
        return 0;
    }
    if (rc == 0 && state[0] <= 2) {
        *out = state[0];
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getalarmState retCode = %d", rc);
    return rc;
}

// 0 disables, 1 enables, 2 silences the alarm; anything else is refused without sending. The
// firmware keeps the enable state itself, so the cached property is brought in line without
// raising the change flag.
int AdapterDataKvi::setalarmState(unsigned char value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setalarmState");
    std::uint32_t opcode = 0;
    switch (value) {
    case 0:
        opcode = KV_DCMD_CTRL_ALARM_DISABLE;
        break;
    case 1:
        opcode = KV_DCMD_CTRL_ALARM_ENABLE;
        break;
    case 2:
        opcode = KV_DCMD_CTRL_ALARM_SILENCE;
        break;
    default:
        return -1;
    }
    const int rc = sendDcmd(opcode);
    if (rc == 0 && value <= 1 && kvCtrlPropPtr_ != nullptr) {
        kvCtrlPropPtr_->alarmEnable = value;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setalarmState retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getKeyID(std::string& out, unsigned char which) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getKeyID");
    DCMD_MBOX mbox = kviMbox();
    mbox.s[0] = 0xFFFF;
    mbox.b[2] = which;
    // One byte more than the transfer, never written by it, so the text is always terminated.
    char keyId[kKeyIdSize + 1] = {};
    const int rc = sendDcmd(KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, mbox, keyId, kKeyIdSize, 0);
    if (rc == 0) {
        out.assign(keyId, strnlen(keyId, kKeyIdSize));
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getKeyID retCode = %d", rc);
    return rc;
}

// Logs nothing.
int AdapterDataKvi::getHostInfo(unsigned char* out) {
    if (out == nullptr) {
        return -1;
    }
    KV_HOST_INFO info{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_HOST_INFO_GET, kviMbox(), &info);
    if (rc == 0) {
        *out = info.pciSlotNumber;
    }
    return rc;
}

// An identifier that does not fit the transfer with its terminator is refused unsent.
int AdapterDataKvi::setKeyID(std::string& id) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setKeyID");
    if (id.size() >= kKeyIdSize) {
        return -1;
    }
    char keyId[kKeyIdSize] = {};
    std::memcpy(keyId, id.data(), id.size());
    DCMD_MBOX mbox = kviMbox();
    mbox.s[0] = 0xFFFF;
    const int rc = sendDcmd(KV_DCMD_CTRL_LOCK_KEY_KEYID_SET, mbox, keyId, kKeyIdSize, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setKeyID retCode = %d", rc);
    return rc;
}

// Caches are kept: the caller re-reads what it needs after the controller has reset itself.
int AdapterDataKvi::setfactoryDefaults() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setfactoryDefaults");
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setfactoryDefaults");
    return sendDcmd(KV_DCMD_CTRL_SET_FACTORY_DEFAULTS);
}

// Flushes the controller's DRAM cache and the drives' caches.
int AdapterDataKvi::flushCache() {
    return logged("flushCache", [&] {
        return sendDcmd(KV_DCMD_CTRL_CACHE_FLUSH,
                        kviMboxWords(KV_CTRL_CACHE_FLUSH_TYPE_DDR | KV_CTRL_CACHE_FLUSH_TYPE_DISK),
                        nullptr, 0, 0);
    });
}
