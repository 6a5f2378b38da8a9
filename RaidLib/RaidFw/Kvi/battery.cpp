// Battery backup unit operations of AdapterDataKvi: presence, state, measurements, learn cycle and
// retention test.
//
// The status, capacity, design and property records are cached (read once per object); the
// presence and overall-status questions read a fresh status record every time. A controller
// without a battery answers the status read with KVI_STAT_NO_HW_PRESENT, which these operations
// treat as "no battery", not as an error.

#include <cstdint>
#include <cstring>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/DebugLog.h"
#include "provider/KviDataProvider.h"

namespace {

using namespace kvi::adapter;

// Bits of KV_BBU_STATUS.fwStatus.
enum : std::uint32_t {
    kPackMissing = 1u << 0,
    kVoltageLow = 1u << 1,
    kTemperatureHigh = 1u << 2,
    kChargeActive = 1u << 3,
    kDischargeActive = 1u << 4,
    kLearnCycleRequested = 1u << 5,
    kLearnCycleActive = 1u << 6,
    kI2cErrorsDetected = 1u << 9,
    kReplacePack = 1u << 10,
    kRemainingCapacityLow = 1u << 11,
    kTransparentLearn = 1u << 13,
    kNoSpace = 1u << 14,
    kPredictiveFailure = 1u << 15,
    kMicrocodeUpdateReqd = 1u << 17,
};

// Battery types (KV_BBU_TYPE).
enum : std::uint8_t {
    kTypeNoBatt = 0,
    kTypeIbbu = 1,
    kTypeBbu = 2,
    kTypeITbbu3 = 4,
    kTypeIbbu08 = 5,
    kTypeTmmc = 6,
    kTypeSmartBattery = 7,
};

// Battery states (BATTERY_STATUS) produced here.
enum : int {
    kStateMissing = 0,
    kStateOptimal = 1,
    kStateFailed = 2,
    kStateDegraded = 3,
    kStateNeedAttn = 4,
    kStateCodeReq = 6,
    kStatePredFail = 7,
    kStateUnknown = 255,
};

// The status bits that say something is wrong with a battery of each type.
constexpr std::uint32_t kHealthIbbu = 0xC73;   // types 1 and 4: bits 0, 1, 4, 5, 6, 10, 11
constexpr std::uint32_t kHealthBbu = 0xC01;    // type 2: bits 0, 10, 11
constexpr std::uint32_t kHealthIbbu08 = 0xC03; // type 5: bits 0, 1, 10, 11
constexpr std::uint32_t kHealthTmmc = kPackMissing | kVoltageLow | kReplacePack |
                                      kRemainingCapacityLow | kNoSpace | kMicrocodeUpdateReqd;
constexpr std::uint32_t kHealthSmart = 0x8060B; // type 7: bits 0, 1, 3, 9, 10, 19
static_assert(kHealthTmmc == 0x24C03, "type 6 health bits 0, 1, 10, 11, 14, 17");

// The temperature answers: the controller information and the battery status
// are loaded (the first failing status is returned at once); the answer is
// written only when the controller information says a battery is fitted, and
// 0 returned.
template <typename T, typename Pick>
int fittedBatteryAnswer(AdapterDataKvi& a, const char* name, T* out, Pick pick) {
    int rc = 0;
    const KV_CTRL_INFO* info = enterInfo(a, name, out, &rc);
    if (info == nullptr) {
        return rc;
    }
    rc = a.getBatteryInfo();
    if (rc != 0) {
        return rc;
    }
    if (info->hwPresent.bbu != 0) {
        *out = static_cast<T>(pick());
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    return 0;
}

} // namespace

int AdapterDataKvi::adpBBUTest() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::adpBBUTest");
    if (KviDataProvider::getInstance(0xFF) == nullptr) {
        return -1;
    }
    const int rc = sendDcmd(KV_DCMD_CTRL_DIAG_BATTERY_RETENTION_TEST);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::adpBBUTest retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getBatteryState(int* out) {
    int rc = enterLoaded("getBatteryState", out, [this] { return getCtlrInfo(); });
    if (rc != 0) {
        return rc;
    }
    int state = kStateUnknown;

    rc = getBatteryInfo();
    if (rc == KVI_STAT_NO_HW_PRESENT || kvCtrlInfoPtr_->hwPresent.bbu == 0) {
        *out = kStateMissing;
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBatteryState retCode = %d", 0);
        return 0;
    }
    if (kvBatteryInfoPtr_ == nullptr) {
        return -1;
    }
    const std::uint32_t fw = kvBatteryInfoPtr_->fwStatus;
    if ((fw & kPackMissing) != 0 || kvBatteryInfoPtr_->batteryType == kTypeNoBatt) {
        *out = kStateMissing;
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBatteryState retCode = %d", rc);
        return rc;
    }

    unsigned char type = 0;
    rc = this->getBatteryType(&type);
    if (rc != 0) {
        return rc;
    }

    bool unhealthy = false;
    switch (type) {
    case kTypeIbbu:
    case kTypeITbbu3:
        unhealthy = (fw & kHealthIbbu) != 0;
        break;
    case kTypeBbu:
        unhealthy = (fw & kHealthBbu) != 0;
        break;
    case kTypeIbbu08:
        unhealthy = (fw & kHealthIbbu08) != 0;
        break;
    case kTypeTmmc:
        // A predictive failure alone also counts against this type.
        unhealthy = (fw & kHealthTmmc) != 0 || (fw & kPredictiveFailure) != 0;
        break;
    case kTypeSmartBattery:
        unhealthy = (fw & kHealthSmart) != 0;
        break;
    default:
        break;
    }

    if (!unhealthy) {
        state = kStateOptimal;
    } else if ((type == kTypeIbbu || type == kTypeITbbu3 || type == kTypeBbu) &&
               (fw & kReplacePack) != 0) {
        // This warning repeats the entry text; log readers rely on it.
        DEBUG_LOG(WARNING, "Entering AdapterDataKvi::getBatteryState");
        state = kStateFailed;
    } else if ((type == kTypeIbbu08 || type == kTypeTmmc) && (fw & kReplacePack) != 0 &&
               (fw & kLearnCycleRequested) == 0) {
        state = kStateFailed;
    } else if ((fw & (kLearnCycleActive | kVoltageLow | kRemainingCapacityLow | kDischargeActive |
                      kNoSpace)) != 0) {
        state = kStateDegraded;
    } else {
        if ((fw & kLearnCycleRequested) != 0) {
            state = kStateNeedAttn;
        }
        if ((fw & kMicrocodeUpdateReqd) != 0) {
            state = kStateCodeReq;
        } else if ((fw & kPredictiveFailure) != 0) {
            state = kStatePredFail;
        }
    }
    // Health bits set but none of the cases above (e.g. a smart battery that is only
    // charging) leave the state unknown.
    *out = state;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBatteryState retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getBatteryTemperature(unsigned char* out) {
    return fittedBatteryAnswer(*this, "getBatteryTemperature", out, [this] {
        return static_cast<unsigned char>(kvBatteryInfoPtr_->temperature & 0xFFu);
    });
}

int AdapterDataKvi::getBatteryTemperatureStatus(int* out) {
    return fittedBatteryAnswer(*this, "getBatteryTemperatureStatus", out, [this] {
        return (kvBatteryInfoPtr_->fwStatus & kTemperatureHigh) != 0 ? 1 : 0;
    });
}

// Logs no exit line.
int AdapterDataKvi::getBatteryType(unsigned char* out) {
    return loadedAnswerExit(
        "getBatteryType", out, [this] { return getBatteryInfo(); },
        [this] { return kvBatteryInfoPtr_->batteryType; }, [](unsigned char) {});
}

int AdapterDataKvi::getBatterySubType(unsigned char* out) {
    return loadedAnswer(
        "getBatterySubType", out, [this] { return getBatteryInfo(); },
        [this] { return kvBatteryInfoPtr_->subType; });
}

// The name points into the object's own record: 8 characters, not necessarily terminated.
int AdapterDataKvi::getBatteryDeviceName(unsigned char** out) {
    return loadedAnswer(
        "getBatteryDeviceName", out, [this] { return getBatteryDesignInfo(); },
        [this] { return kvBattDesignInfoPtr_->deviceName; });
}

int AdapterDataKvi::getBatteryDesignInfoTransparentLearnsSupport(bool* out) {
    return loadedAnswer(
        "getBatteryDesignInfoTransparentLearnsSupport", out,
        [this] { return getBatteryDesignInfo(); },
        [this] { return kvBattDesignInfoPtr_->transparentLearns != 0; });
}

int AdapterDataKvi::isBBUTransparentLearnSet(bool* out) {
    return loadedAnswer(
        "isBBUTransparentLearnSet", out, [this] { return getBatteryInfo(); },
        [this] { return (kvBatteryInfoPtr_->fwStatus & kTransparentLearn) != 0; });
}

int AdapterDataKvi::isI2cErrorsDetected(bool* out) {
    return loadedAnswer(
        "isI2cErrorsDetected", out, [this] { return getBatteryInfo(); },
        [this] { return (kvBatteryInfoPtr_->fwStatus & kI2cErrorsDetected) != 0; });
}

// Carries on past a failed load (skipping the read) and returns the load's status.
int AdapterDataKvi::getBatteryFullCapacity(unsigned short* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getBatteryFullCapacity");
    if (out == nullptr) {
        return -1;
    }
    const int rc = getBatteryCapacityInfo();
    if (kvBattCapacityInfoPtr_ != nullptr) {
        *out = kvBattCapacityInfoPtr_->fullChargeCapacity;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBatteryFullCapacity retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getBatteryRemainingCapacity(unsigned short* out) {
    return loadedAnswer(
        "getBatteryRemainingCapacity", out, [this] { return getBatteryCapacityInfo(); },
        [this] { return kvBattCapacityInfoPtr_->remainingCapacity; });
}

int AdapterDataKvi::getBattRelativeStateOfCharge(unsigned short* out) {
    return loadedAnswer(
        "getBattRelativeStateOfCharge", out, [this] { return getBatteryCapacityInfo(); },
        [this] { return kvBattCapacityInfoPtr_->relativeStateOfCharge; });
}

int AdapterDataKvi::getBattAvgTimeToEmpty(unsigned short* out) {
    return loadedAnswer(
        "getBattAvgTimeToEmpty", out, [this] { return getBatteryCapacityInfo(); },
        [this] { return kvBattCapacityInfoPtr_->averageTimeToEmpty; });
}

int AdapterDataKvi::getBatteryAutoLearnMode(unsigned char* out) {
    return loadedAnswer(
        "getBatteryAutoLearnMode", out, [this] { return getBBUProperties(); },
        [this] { return kvBBUPropPtr_->autoLearnMode; });
}

int AdapterDataKvi::getBatteryAutoLearnPeriod(unsigned int* out) {
    return loadedAnswer(
        "getBatteryAutoLearnPeriod", out, [this] { return getBBUProperties(); },
        [this] { return kvBBUPropPtr_->autoLearnPeriod; });
}

int AdapterDataKvi::getBatteryNextLearnTime(unsigned int* out) {
    return loadedAnswer(
        "getBatteryNextLearnTime", out, [this] { return getBBUProperties(); },
        [this] { return kvBBUPropPtr_->nextLearnTime; });
}

// Battery properties have no transaction: the new mode is written at once, with the whole
// record. The cache keeps the new mode even when the write fails.
int AdapterDataKvi::setBatteryAutoLearnMode(unsigned char* mode) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setBatteryAutoLearnMode");
    if (mode == nullptr) {
        return -1;
    }
    int rc = getBBUProperties();
    if (rc != 0) {
        return rc;
    }
    kvBBUPropPtr_->autoLearnMode = *mode;
    rc = sendDcmdRec(KV_DCMD_BBU_PROPERTIES_SET, kviMbox(), kvBBUPropPtr_);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setBatteryAutoLearnMode retCode = %d", rc);
    return rc;
}

// Why the controller stopped caching writes. The battery load's status is returned in every
// case, also with no battery fitted (reason 0).
int AdapterDataKvi::getWritePolicyChngReason(unsigned char* out) {
    const int infoRc =
        enterLoaded("getWritePolicyChngReason", out, [this] { return getCtlrInfo(); });
    if (infoRc != 0) {
        return infoRc;
    }
    // The battery load status is kept for the return, also when no battery is
    // fitted: a caller learns from it whether the battery record was read.
    const int rc = getBatteryInfo();
    if (kvCtrlInfoPtr_->hwPresent.bbu == 0) {
        *out = 0; // BATTERY_MISSING
        return rc;
    }
    if (kvBatteryInfoPtr_ != nullptr) {
        const std::uint32_t fw = kvBatteryInfoPtr_->fwStatus;
        const std::uint8_t type = kvBatteryInfoPtr_->batteryType;
        if (type == kTypeNoBatt) {
            *out = 0; // BATTERY_MISSING
        } else if ((fw & kReplacePack) != 0) {
            *out = 1; // BATTERY_FAILED
        } else if ((fw & kRemainingCapacityLow) != 0) {
            *out = 2; // BATTERY_CAPACITY_LOW
        } else if (type == kTypeBbu) {
            // left as it was
        } else if ((fw & (kLearnCycleRequested | kLearnCycleActive | kDischargeActive |
                          kVoltageLow)) != 0) {
            *out = 3; // BATTERY_RELEARN_MODE
        } else if ((fw & kNoSpace) != 0) {
            *out = 5; // BATTERY_PELLORA_NOSPACE
        } else if ((fw & kMicrocodeUpdateReqd) != 0) {
            *out = 6; // BATTERY_MICROCODE_REQ
        } else if ((fw & kI2cErrorsDetected) != 0) {
            *out = 7; // BATTERY_COMM_FAULT
        }
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getWritePolicyChngReason");
    return rc;
}

int AdapterDataKvi::startManualLearnCycle() {
    return logged("startManualLearnCycle", [&] { return sendDcmd(KV_DCMD_BBU_LEARN); });
}

// Answers the flag itself: 1 when a battery unit is fitted, 0 otherwise or when the controller
// information cannot be read.
int AdapterDataKvi::isBatteryHWPresent() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::isBatteryHWPresent");
    if (getCtlrInfo() != 0) {
        return 0;
    }
    return kvCtrlInfoPtr_->hwPresent.bbu != 0 ? 1 : 0;
}

// A fresh status record into the caller's record, cleared first (also when the read fails).
int AdapterDataKvi::getBbuStatus(KV_BBU_STATUS* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getBbuStatus");
    if (out == nullptr) {
        return -1;
    }
    *out = KV_BBU_STATUS{};
    const int rc = sendDcmdRec(KV_DCMD_BBU_GET_STATUS, kviMbox(), out);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBbuStatus retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getBbuFwStatus(unsigned int* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getBbuFwStatus");
    if (out == nullptr) {
        return -1;
    }
    KV_BBU_STATUS status{};
    const int rc = this->getBbuStatus(&status);
    if (rc != 0) {
        return rc;
    }
    *out = status.fwStatus;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBbuFwStatus");
    return 0;
}

// A status record that reads back means a battery, whatever the controller information says.
// "No hardware" from the read, or no battery in the controller information, means none; the
// answer is then written although the read's failure status is returned.
int AdapterDataKvi::isBBUPresent(bool* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::isBBUPresent");
    if (out == nullptr) {
        return -1;
    }
    KV_BBU_STATUS status{};
    const int rc = this->getBbuStatus(&status);
    const int infoRc = getCtlrInfo();
    if (infoRc != 0) {
        return infoRc;
    }
    if (rc == 0) {
        *out = true;
    } else if (rc == KVI_STAT_NO_HW_PRESENT || kvCtrlInfoPtr_->hwPresent.bbu == 0) {
        *out = false;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::isBBUPresent retCode = %d", rc);
    return rc;
}

// 1 when the cached status says a pack is in place; 0 otherwise, also when the load failed.
int AdapterDataKvi::isBriskoPresent(bool* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::isBriskoPresent");
    if (out == nullptr) {
        return -1;
    }
    const int rc = getBatteryInfo();
    *out = rc == 0 && kvBatteryInfoPtr_ != nullptr &&
           (kvBatteryInfoPtr_->fwStatus & kPackMissing) == 0;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::isBriskoPresent retCode = %d", rc);
    return rc;
}

// Overall status: 0 good, 1 absent, 2 bad, 3 learning, 4 needs attention, 5 other. Cases
// that find nothing to say leave the caller's value as it was.
int AdapterDataKvi::getBbuOverallStatus(unsigned char* out) {
    int rc = enterLoaded("getBbuOverallStatus", out, [this] { return getCtlrInfo(); });
    if (rc != 0) {
        return rc;
    }
    if (kvCtrlInfoPtr_->hwPresent.bbu == 0) {
        *out = 1;
        return 0;
    }
    KV_BBU_STATUS status{};
    rc = this->getBbuStatus(&status);
    if (rc != 0) {
        return rc;
    }
    const std::uint32_t fw = status.fwStatus;
    std::uint32_t health = 0;
    bool typed = true;
    switch (status.batteryType) {
    case kTypeIbbu:
    case kTypeITbbu3:
        health = kHealthIbbu;
        break;
    case kTypeIbbu08:
        health = kHealthIbbu08;
        break;
    case kTypeBbu:
        health = kHealthBbu;
        break;
    case kTypeTmmc:
        health = kHealthTmmc;
        break;
    default:
        typed = false;
        break;
    }

    if ((fw & kPackMissing) != 0 || status.batteryType == kTypeNoBatt) {
        *out = 1;
    } else if (typed) {
        if ((fw & health) == 0) {
            *out = 0;
        }
    } else if ((fw & (kReplacePack | kLearnCycleRequested)) != 0) {
        if ((fw & (kMicrocodeUpdateReqd | kPredictiveFailure)) != 0) {
            *out = 4;
        }
    } else {
        *out = (fw & kLearnCycleActive) != 0 ? 3 : 5;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBbuOverallStatus retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getCtrlInfoBbu(bool* out) {
    return loadedAnswer(
        "getCtrlInfoBbu", out, [this] { return getCtlrInfo(); },
        [this] { return kvCtrlInfoPtr_->adapterOperations.bbu != 0; });
}
