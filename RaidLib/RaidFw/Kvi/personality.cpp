// Controller mode operations of AdapterDataKvi: high availability, maintenance
// mode and the controller personality (RAID, JBOD, software-defined storage).
#include <cstdint>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"

namespace {

using kvi::adapter::infoAnswer;
using kvi::adapter::logged;

// Personality codes, as the current-personality bitmap uses them.
constexpr unsigned short kPersonalitySds = 4;
constexpr unsigned short kPersonalityJbod = 8;

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
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getControllerHA");
    if (out == nullptr) {
        return -1;
    }
    std::uint8_t mode = 0;
    const int rc = sendDcmdRec(KV_DCMD_CTRL_CONTROL_HA_MODE_GET, kviMbox(), &mode, 1);
    if (rc == 0) {
        *out = mode;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getControllerHA retCode = %d", rc);
    return rc;
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
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getPersonality");
    if (out == nullptr) {
        return -1;
    }
    KV_CTRL_PERSONALITY_INFO info{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_PERSONALITY_GET, kviMbox(), &info);
    if (rc == 0) {
        *out = info;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getPersonality retCode = %d", rc);
    return rc;
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
