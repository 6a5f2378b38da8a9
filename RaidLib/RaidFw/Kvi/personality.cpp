// Controller mode operations of AdapterDataKvi: high availability, maintenance
// mode and the controller personality (RAID, JBOD, software-defined storage).
#include <cstdint>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/Bytes.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"

namespace {

using namespace kvi::adapter;

// Whether a personality code is among the supported ones, by a fresh read.
int personalitySupported(AdapterDataKvi& a, const char* name, unsigned short code, bool* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        return -1;
    }
    KV_CTRL_PERSONALITY_INFO info{};
    const int rc = static_cast<AdapterData&>(a).getPersonality(&info);
    if (rc != 0) {
        return rc;
    }
    bool found = false;
    for (const std::uint16_t p : info.supportedPersonalities) {
        found = found || p == code;
    }
    *out = found;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
    return 0;
}

} // namespace

int AdapterDataKvi::getControllerHA(unsigned char* out) {
    return scratchAnswer<std::uint8_t>("getControllerHA", out, [&](std::uint8_t& mode) {
        return sendDcmdRec(KV_DCMD_CTRL_CONTROL_HA_MODE_GET, kviMbox(), &mode, 1);
    });
}

int AdapterDataKvi::setControllerHA(unsigned char mode) {
    return logged("setControllerHA", [&] {
        return sendDcmd(KV_DCMD_CTRL_CONTROL_HA_MODE_SET, kviMbox(mode), nullptr, 0, 0);
    });
}

int AdapterDataKvi::getMaintenanceMode(unsigned char* out) {
    return infoAnswer(*this, "getMaintenanceMode", out,
                      [](const KV_CTRL_INFO& i) { return i.adapterStatus.maintenanceMode; });
}

int AdapterDataKvi::setMaintenanceMode(unsigned char mode) {
    return logged("setMaintenanceMode", [&] {
        return sendDcmd(KV_DCMD_CTRL_MAINTENANCE_MODE_SET, kviMbox(mode), nullptr, 0, 0);
    });
}

// A fresh read of the personality record into the caller's record.
int AdapterDataKvi::getPersonality(KV_CTRL_PERSONALITY_INFO* out) {
    return scratchAnswer<KV_CTRL_PERSONALITY_INFO>(
        "getPersonality", out, [&](KV_CTRL_PERSONALITY_INFO& info) {
            return sendDcmdRec(KV_DCMD_CTRL_PERSONALITY_GET, kviMbox(), &info);
        });
}

int AdapterDataKvi::isJBODPersonalitysupported(bool* out) {
    return personalitySupported(*this, "isJBODPersonalitysupported", kPersonalityJbod, out);
}

int AdapterDataKvi::isSDSsupported(bool* out) {
    return personalitySupported(*this, "isSDSsupported", kPersonalitySds, out);
}

int AdapterDataKvi::setPersonality(unsigned short personality) {
    return logged("setPersonality", [&] {
        DCMD_MBOX mbox = kviMbox();
        mbox.s[0] = personality;
        return sendDcmd(KV_DCMD_CTRL_PERSONALITY_SET, mbox, nullptr, 0, 0);
    });
}

int AdapterDataKvi::setPersonality(unsigned short personality, unsigned short option) {
    return logged("setPersonality", [&] {
        DCMD_MBOX mbox = kviMbox();
        mbox.s[0] = personality;
        mbox.s[1] = option;
        return sendDcmd(KV_DCMD_CTRL_PERSONALITY_SET, mbox, nullptr, 0, 0);
    });
}
