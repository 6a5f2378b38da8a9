// Report sections of AdapterDataKvi: cluster, next scheduled tasks and secure
// boot.
//
// getShowClusterInfo: high-availability state of the controller and its peer.
// getShowNextSchdTask: recurrence and next start of consistency check, patrol
// read and battery learn, and the OEM name. getSecureBootDetails: secure boot
// state.
#include <cstdint>
#include <ctime>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"

using kvi::adapter::infoSection;
using namespace kvi::reports;

namespace {

constexpr std::uint32_t kContinuous = 0xFFFFFFFFu;

// "%d hrs" of a frequency in seconds (fraction dropped).
std::string hoursText(std::uint32_t seconds) {
    return format("%d hrs", static_cast<int>(seconds / 3600));
}

const char* oemName(int oem) {
    switch (oem) {
    case 1:
        return "Kestrane";
    case 2:
        return "Dell";
    case 3:
        return "HPE";
    case 4:
        return "Hitachi";
    case 5:
        return "Toshiba";
    case 6:
        return "NEC";
    case 7:
        return "FSC";
    case 8:
        return "Intel";
    case 9:
        return "Lenovo";
    case 10:
        return "SoftLayer";
    default:
        return "Unknown";
    }
}

// The cluster id as hexadecimal text: a byte below 16 gets a leading "0"; a
// byte of 255 adds nothing at all.
std::string domainIdText(const char (&clusterId)[16]) {
    std::string text;
    for (char c : clusterId) {
        const unsigned int byte = static_cast<unsigned char>(c);
        if (byte < 16) {
            text += "0";
        }
        if (byte != 255) {
            text += format("%x", byte);
        }
    }
    return text;
}

} // namespace

int AdapterDataKvi::getShowClusterInfo(json::Object& obj) {
    return infoSection(*this, "getShowClusterInfo", [&](const KV_CTRL_INFO& info) {
        const unsigned int nodes = info.maxHANodes;
        putText(obj, "Topology Type", nodes >= 2 ? "Server Storage Cluster" : "None");
        if (nodes < 2) {
            putText(obj, "Cluster Permitted", yesNo(info.clusterPermitted != 0));
            putText(obj, "Cluster Active", yesNo(info.clusterActive != 0));
        } else {
            putText(obj, "Domain Id", domainIdText(info.clusterId));
            const char* peer = "Inactive";
            if (info.cluster.peerIsPresent) {
                peer = info.cluster.peerIsIncompatible ? "Incompatible" : "Active";
            }
            putText(obj, "Peer Controller Status", peer);
            putNumber(obj, "Maximum Controller Nodes", nodes);
            if (info.cluster.exclusiveLDNotSupported) {
                // The two key spellings differ on purpose.
                if (info.adapterOperations2.supportConfigAutoBalance) {
                    putText(obj, "ConfigAutoBalance",
                            info.properties.OnOffProperties.enableConfigAutoBalance ? "Enable"
                                                                                    : "Disable");
                } else {
                    putText(obj, "Configuration Auto Balance", "Not supported");
                }
            }
            struct Flag {
                bool set;
                const char* text;
            };
            const Flag flags[] = {
                {info.cluster.hwIncompatible != 0, "Hardware Incompatible"},
                {info.cluster.fwVersionMismatch != 0, "FW Level Mismatch"},
                {info.cluster.ctrlPropIncompatible != 0, "Controller Property Mismatch"},
                {info.cluster.passive != 0, "Cluster is Passive"},
                {info.cluster.securityKeyMismatch != 0,
                 "Security key mismatch between controllers"},
            };
            json::Array details;
            bool any = false;
            for (const Flag& flag : flags) {
                if (flag.set) {
                    json::Object entry;
                    putText(entry, "Details", flag.text);
                    details.Insert(entry);
                    any = true;
                }
            }
            if (any && !details.Empty()) {
                obj["Incompatible Details"] = details;
            } else {
                putText(obj, "Incompatible Details", "None");
            }
        }
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowClusterInfo retcode = %d", 0);
        return 0;
    });
}

int AdapterDataKvi::getShowNextSchdTask(json::Object& obj) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowNextSchdTask");
    int oem = 0;
    int rc = getOem(&oem);
    if (rc != 0) {
        return rc;
    }
    std::string text; // the working text buffer, cleared
    std::tm start{};
    rc = getCcSchedStartTime(&start);
    if (rc != 0) {
        return rc;
    }

    // A successful start-time read holds one of the two schedule forms.
    std::uint32_t ccFreq = 0;
    if (kvCcScProp_ != nullptr) {
        ccFreq = kvCcScProp_->execFreq;
    } else if (kvCcScPropExt_ != nullptr) {
        ccFreq = kvCcScPropExt_->execFreq;
    } else {
        return -1;
    }
    putText(obj, "Consistency Check Reoccurrence",
            ccFreq == kContinuous ? std::string("Continuous") : hoursText(ccFreq));

    unsigned char mode = 255;
    rc = getCcSchedMode(&mode);
    if (rc != 0) {
        return rc;
    }
    putText(obj, "Next Consistency check launch",
            mode != 0 ? dateHourText(start) : std::string("NA"));

    rc = getPrProperties();
    if (rc != 0) {
        return rc;
    }
    std::uint32_t prNext = 0;
    std::uint32_t prFreq = 0;
    if (kvPrProp_ != nullptr) {
        prNext = kvPrProp_->nextExec;
        prFreq = kvPrProp_->execFreq;
    } else if (kvPrPropExt_ != nullptr) {
        prNext = kvPrPropExt_->nextExec;
        prFreq = kvPrPropExt_->execFreq;
    } else {
        return -1; // a successful read holds one form; kept as a guard
    }
    const auto epoch = [this] { return y2kTime(); };
    const auto dstShift = [this] { return getdstInSec(); };
    const std::string prLaunch = firmwareTimeText(epoch, dstShift, prNext, DateForm::HourOnly);
    std::string prText;
    if (prFreq == kContinuous) {
        prText = "Continuous";
    } else if (prFreq == 0) {
        prText = "Unknown";
    } else {
        prText = hoursText(prFreq);
    }
    putText(obj, "Patrol Read Reoccurrence", prText);
    putText(obj, "Next Patrol Read launch", prLaunch);

    text = getBBUProperties() != 0 ? std::string("NA") : hoursText(kvBBUPropPtr_->autoLearnPeriod);
    putText(obj, "Battery learn Reoccurrence", text);
    if (getBBUProperties() == 0) {
        text = firmwareTimeText(epoch, dstShift, kvBBUPropPtr_->nextLearnTime, DateForm::HourOnly);
    }
    if (oem != 2) {
        putText(obj, "Next Battery Learn", text);
    }
    putText(obj, "OEMID", oemName(oem));
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowNextSchdTask retCode = %d", rc);
    return 0;
}

int AdapterDataKvi::getSecureBootDetails(json::Object& obj) {
    return infoSection(*this, "getSecureBootDetails", [&](const KV_CTRL_INFO& info) {
        putText(obj, "Secure Boot Enabled", yesNo(info.secureBootDetails.secureBootEnabled));
        putText(obj, "Controller in Soft Secure Mode", yesNo(info.secureBootDetails.softSecure));
        putText(obj, "Controller in Hard Secure Mode", yesNo(info.secureBootDetails.hardSecure));
        putText(obj, "Key Update Pending", yesNo(info.secureBootDetails.keyUpdatePending));
        putNumber(obj, "Remaining Secure Boot Key Slots", info.secureBootHashSlotsRemaining);
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSecureBootDetails retCode = %d", 0);
        return 0;
    });
}
