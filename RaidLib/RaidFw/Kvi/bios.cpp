// BIOS settings and boot-device operations of AdapterDataKvi.
//
// The option-ROM BIOS settings are one cached 64-byte record. Getters read it; setters change
// the cached copy and raise kvBIOSDataChanged_, and endBIOSDataUpdate writes it back with a
// fresh checksum. Several settings are views of the same byte (continueOnError holds the BIOS
// error mode) and some setters store the opposite of what their getter reports; both are how
// the BIOS reads the record and are kept.

#include <cstdint>

#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"

namespace {

using kvi::adapter::loadedAnswer;
using kvi::adapter::loadedAnswerExit;
using kvi::adapter::loadedChange;
constexpr std::uint16_t kNoBootTarget = 0xFFFF;
} // namespace

int AdapterDataKvi::getbiosStatus(unsigned char* out) {
    // Enabled (1) means the BIOS is exposed.
    return loadedAnswer(
        "getbiosStatus", out, [this] { return getBIOSData(); },
        [&] { return kvBiosDataPtr_->doNotExpose == 0 ? 1 : 0; });
}

int AdapterDataKvi::setbiosStatus(unsigned char value) {
    return loadedChange(
        "setbiosStatus", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->doNotExpose = value != 0 ? 0 : 1;
            kvBIOSDataChanged_ = true;
        });
}

// Stop on error: the getter reports 1 for error mode 1, while the setter stores 0 for 1 and 1
// for anything else; reading back after setbiosSOEStatus(1) gives 0.
int AdapterDataKvi::getbiosSOEStatus(unsigned char* out) {
    return loadedAnswer(
        "getbiosSOEStatus", out, [this] { return getBIOSData(); },
        [this] { return kvBiosDataPtr_->continueOnError == 1 ? 1 : 0; });
}

int AdapterDataKvi::setbiosSOEStatus(unsigned char value) {
    return loadedChange(
        "setbiosSOEStatus", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->continueOnError = value == 1 ? 0 : 1;
            kvBIOSDataChanged_ = true;
        });
}

int AdapterDataKvi::getbiosBEStatus(unsigned char* out) {
    return loadedAnswerExit(
        "getbiosBEStatus", out, [this] { return getBIOSData(); },
        [this] { return kvBiosDataPtr_->continueOnError != 0 ? 1 : 0; },
        [](unsigned char) {
            // The exit line keeps its historical spelling; log readers match it.
            DEBUG_LOG(INFO, "EnterinExitingg AdapterDataKvi::getbiosBEStatus");
        });
}

int AdapterDataKvi::setbiosBEStatus(unsigned char value) {
    return loadedChange(
        "setbiosBEStatus", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->continueOnError = value != 0 ? 1 : 0;
            kvBIOSDataChanged_ = true;
        });
}

int AdapterDataKvi::getbiosHCOEStatus(unsigned char* out) {
    return loadedAnswer(
        "getbiosHCOEStatus", out, [this] { return getBIOSData(); },
        [this] { return kvBiosDataPtr_->continueOnError == 2 ? 2 : 0; });
}

int AdapterDataKvi::setbiosHCOEStatus(unsigned char value) {
    return loadedChange(
        "setbiosHCOEStatus", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->continueOnError = value == 2 ? 2 : 0;
            kvBIOSDataChanged_ = true;
        });
}

int AdapterDataKvi::getbiosHSMStatus(unsigned char* out) {
    return loadedAnswer(
        "getbiosHSMStatus", out, [this] { return getBIOSData(); },
        [this] { return kvBiosDataPtr_->continueOnError == 3 ? 3 : 0; });
}

int AdapterDataKvi::setbiosHSMStatus(unsigned char value) {
    return loadedChange(
        "setbiosHSMStatus", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->continueOnError = value == 3 ? 3 : 0;
            kvBIOSDataChanged_ = true;
        });
}

// Auto-select boot drive: like SOE, the setter stores the reverse of the getter's sense, so
// reading back after setbiosABS(1) gives 0.
int AdapterDataKvi::getbiosABS(unsigned char* out) {
    return loadedAnswer(
        "getbiosABS", out, [this] { return getBIOSData(); },
        [this] { return kvBiosDataPtr_->autoSelectBootLd != 0 ? 1 : 0; });
}

int AdapterDataKvi::setbiosABS(unsigned char value) {
    return loadedChange(
        "setbiosABS", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->autoSelectBootLd = value != 0 ? 0 : 1;
            kvBIOSDataChanged_ = true;
        });
}

int AdapterDataKvi::setbiosDeviceExposure(unsigned char value) {
    return loadedChange(
        "setbiosDeviceExposure", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->deviceExposure = value;
            kvBIOSDataChanged_ = true;
        });
}

int AdapterDataKvi::getbiosDeviceExposure(unsigned char* out) {
    return loadedAnswer(
        "getbiosDeviceExposure", out, [this] { return getBIOSData(); },
        [this] { return kvBiosDataPtr_->deviceExposure; });
}

// The boot drive is named by its target id (virtual drive) or device id (physical drive),
// with bootDeviceIsPD telling which.
int AdapterDataKvi::setBootVd(VirtualDisk* vd) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setBootVd");
    if (vd == nullptr) {
        return -1;
    }
    const VdId* id = vd->getId();
    if (id == nullptr) {
        return -1;
    }
    const unsigned short targetId = id->getTargetId();
    const int rc = getBIOSData();
    if (rc != 0) {
        return rc;
    }
    kvBiosDataPtr_->bootTargetId = targetId;
    kvBiosDataPtr_->bootDeviceIsPD = 0;
    kvBIOSDataChanged_ = true;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setBootVd with vdPtr retCode = %d", rc);
    return 0;
}

int AdapterDataKvi::setBootVd(PhysicalDevice* pd) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setBootVd");
    if (pd == nullptr) {
        return -1;
    }
    unsigned short deviceId = 0;
    int rc = pd->getDeviceId(&deviceId);
    if (rc != 0) {
        return rc;
    }
    rc = getBIOSData();
    if (rc != 0) {
        return rc;
    }
    kvBiosDataPtr_->bootTargetId = deviceId;
    kvBiosDataPtr_->bootDeviceIsPD = 1;
    kvBIOSDataChanged_ = true;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setBootVd with pdPtr retCode = %d", rc);
    return 0;
}

int AdapterDataKvi::unsetBootVd() {
    return loadedChange(
        "unsetBootVd", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->bootTargetId = kNoBootTarget;
            kvBiosDataPtr_->bootDeviceIsPD = 0;
            kvBIOSDataChanged_ = true;
        });
}

// The identifier handed out is the caller's to delete. No boot virtual drive (none set, or a
// physical boot drive) answers 0 with a null identifier.
int AdapterDataKvi::getBootVdId(VdId** out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getBootVdId");
    if (out == nullptr) {
        return -1;
    }
    const int rc = getBIOSData();
    *out = nullptr;
    if (rc != 0) {
        return rc;
    }
    if (kvBiosDataPtr_->bootDeviceIsPD != 0 || kvBiosDataPtr_->bootTargetId == kNoBootTarget) {
        return 0;
    }
    // Only the target id is kept in the BIOS settings: group and sequence number are unknown.
    *out = new VdIdKvi(0xFF, kvBiosDataPtr_->bootTargetId, 0xFFFF);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBootVdId retCode = %d", rc);
    return 0;
}

// 0xFFFF when the boot drive is not a physical drive. A null out-pointer is allowed: the
// answer is then only the status.
int AdapterDataKvi::getBootPdDevId(unsigned short* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getBootPdDevId");
    const int rc = getBIOSData();
    if (rc != 0) {
        return rc;
    }
    if (kvBiosDataPtr_->bootDeviceIsPD == 0) {
        if (out != nullptr) {
            *out = kNoBootTarget;
        }
        return 0;
    }
    if (out != nullptr) {
        *out = kvBiosDataPtr_->bootTargetId;
        DEBUG_LOG(INFO, "AdapterDataKvi::getBootPdDevId - PDDevId = %d", *out);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBootPdDevId");
    return 0;
}

// The boot mode is the error-mode byte read and written raw.
int AdapterDataKvi::getBIOSBootMode(unsigned char* out) {
    return loadedAnswer(
        "getBIOSBootMode", out, [this] { return getBIOSData(); },
        [this] { return kvBiosDataPtr_->continueOnError; });
}

int AdapterDataKvi::setBIOSBootMode(unsigned char value) {
    return loadedChange(
        "setBIOSBootMode", [this] { return getBIOSData(); },
        [&] {
            kvBiosDataPtr_->continueOnError = value;
            kvBIOSDataChanged_ = true;
        });
}
