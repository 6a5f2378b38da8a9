// Report sections of AdapterDataKvi: bus and status.
//
// getShowBus: the PCI identity, host and device interfaces, the PCI address and
// the link. getShowStatus: the controller's health, error counters and status
// flags.
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"
#include "provider/ProcessInputs.h"
#include "provider/RaidManager.h"

using kvi::adapter::infoSection;
using namespace kvi::reports;

namespace {

const char* hostInterfaceText(const KV_CTRL_INFO& info) {
    if (info.hostInterface.PCIX) {
        return "PCI-X";
    }
    if (info.hostInterface.PCIE) {
        return "PCI-E";
    }
    if (info.hostInterface.iSCSI) {
        return "iSCSI";
    }
    if (info.hostInterface.SAS_3G) {
        return "SAS-3G";
    }
    return "UNKNOWN";
}

const char* linkRateText(unsigned int code) {
    switch (code) {
    case 1:
        return "2.5GT/s";
    case 2:
        return "5GT/s";
    case 3:
        return "8GT/s";
    default:
        return "Unrecognized Link Rate";
    }
}

// The fastest device interface the controller reports, or null for none.
const char* deviceInterfaceText(const KV_CTRL_INFO& info) {
    if (info.deviceInterface.SAS_12G) {
        return "SAS-12G";
    }
    if (info.deviceInterface.SAS_6G) {
        return "SAS-6G";
    }
    if (info.deviceInterface.SAS_3G) {
        return "SAS-3G";
    }
    if (info.deviceInterface.SATA_6G) {
        return "SATA-6G";
    }
    if (info.deviceInterface.SATA_3G) {
        return "SATA-3G";
    }
    if (info.deviceInterface.SATA_1_5G) {
        return "SATA-1-5G";
    }
    if (info.deviceInterface.SPI) {
        return "SPI";
    }
    return nullptr;
}

const char* controllerStatusText(int status) {
    switch (status) {
    case CONTROLLER_STATUS_SAFE_MODE:
        return "Safe-Mode";
    case CONTROLLER_STATUS_NEED_ATTN:
        return "Needs Attention";
    case CONTROLLER_STATUS_OPTIMAL:
        return "Optimal";
    case CONTROLLER_STATUS_FAILED:
        return "Failed";
    case CONTROLLER_STATUS_CERT_PROV:
        return "Certificate provision Mode";
    default:
        return "Unknown";
    }
}

} // namespace

int AdapterDataKvi::getShowBus(json::Object& obj) {
    return infoSection(*this, "getShowBus", [&](const KV_CTRL_INFO& info) {
        int rc = 0;
        // This bit, not a PCIe capability bit, decides whether the two link lines
        // are shown.
        const bool linkLines = info.ldOperations.supportFastPathWB != 0;

        obj["Vendor Id"] = json::Number(info.pci.vendorId, json::Number::HexDump);
        obj["Device Id"] = json::Number(info.pci.devId, json::Number::HexDump);
        obj["SubVendor Id"] = json::Number(info.pci.subVendorId, json::Number::HexDump);
        obj["SubDevice Id"] = json::Number(info.pci.subDevId, json::Number::HexDump);
        putText(obj, "Host Interface", hostInterfaceText(info));
        if (info.hostInterface.PCIE && linkLines) {
            const unsigned int speed = info.hostInterface.pciLinkSpeed;
            putText(obj, "PCIe Link Rate", format("0x%02x (%s)", speed, linkRateText(speed)));
        }
        if (const char* device = deviceInterfaceText(info)) {
            putText(obj, "Device Interface", device);
        }

        DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowBus - Getting PCI info");
        KV_DRV_PCI_INFORMATION pci{};
        rc = static_cast<unsigned char>(controllerPtr_ != nullptr ? controllerPtr_->getPciInfo(&pci)
                                                                  : -1);
        if (rc != 0) {
            return rc;
        }
        putNumber(obj, "Bus Number", pci.busNumber);
        putNumber(obj, "Device Number", pci.deviceNumber);
        putNumber(obj, "Function Number", pci.functionNumber);
        putNumber(obj, "Domain ID", pci.domainID);
        if (linkLines) {
            // The maximum width, in hexadecimal on purpose (16 lanes show as X10).
            putText(obj, "PCIe Link Width",
                    format("X%x Lane(s)",
                           static_cast<unsigned int>(pci.capability.linkCapability.linkWidth)));
        }
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowBus retcode = %d", rc);
        return rc;
    });
}

int AdapterDataKvi::getShowStatus(json::Object& obj) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowStatus");
    RaidManager* manager = RaidManager::getInstance(controllerPtr_);
    int rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
    const KV_CTRL_INFO& info = *kvCtrlInfoPtr_;
    int oem = 0;
    (void)getOem(&oem); // a failed query leaves 0

    // Without a manager the status is unknown.
    const int status = manager != nullptr ? manager->getControllerStatus() : -1;
    putText(obj, "Controller Status", controllerStatusText(status));
    putNumber(obj, "Memory Correctable Errors", info.memCorrectableErrorCount);
    putNumber(obj, "Memory Uncorrectable Errors", info.memUnCorrectableErrorCount);
    putNumber(obj, "ECC Bucket Count", info.eccBucketCount);
    putText(obj, "Any Offline VD Cache Preserved", yesNo(info.adapterStatus.cacheIsPinned));

    // "%s Status" with the battery's name, built in a string rather than in
    // the fixed key buffer so that no name can overrun it.
    const std::string batteryKey = format("%s Status", gResStr->entry(Resource::kBbuEntry));
    if (getBatteryInfo() != 0) {
        putText(obj, batteryKey, "NA");
        rc = 0;
    } else {
        putNumber(obj, batteryKey, kvBatteryInfoPtr_->fwStatus);
    }

    // The key speaks of progress while the bit is the support bit.
    putText(obj, "PD Firmware Download in progress", yesNo(info.adapterStatus.supportPdFwDownload));
    putText(obj, isOEMhp ? "Support Drive Firmware Download" : "Support PD Firmware Download",
            "Yes");
    putText(obj, "Lock Key Assigned", yesNo(info.adapterStatus.lockKeyAssigned));
    putText(obj, "Failed to get lock key on bootup", yesNo(info.adapterStatus.lockKeyFailed));
    putText(obj, "Lock key has not been backed up", yesNo(info.adapterStatus.lockKeyNotBackedup));
    putText(obj, "Bios was not detected during boot", yesNo(info.adapterStatus.biosNotDetected));
    putText(obj, "Controller must be rebooted to complete security operation",
            yesNo(info.adapterStatus.lockKeyRebootRequired));
    putText(obj, "A rollback operation is in progress",
            yesNo(info.adapterStatus.rollbackInProgress));
    putText(obj, "SSC Policy is WB", yesNo(info.adapterStatus.SSCPolicyWB));
    putText(obj, "Controller has booted into safe mode", yesNo(info.adapterStatus.safeModeBoot));
    putText(obj, "Controller shutdown required", yesNo(info.adapterStatus2.systemShutdownRequired));
    putText(obj, "Controller has booted into certificate provision mode",
            yesNo(info.adapterStatus2.certificateProvision));

    if (info.adapterOperations3.supportPersonalityChange != 0) {
        KV_CTRL_PERSONALITY_INFO personality{};
        rc = getPersonality(&personality);
        if (rc == 0) {
            // Upper-case "MODE" for OEM 2 here, unlike the summary section.
            putText(obj, "Current Personality",
                    personalityText(personality.personalityBitmap, oem, "eHBA-MODE"));
        }
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowStatus retcode = %d", rc);
    return rc;
}
