// Report sections of AdapterDataKvi: basic controller information and versions.
//
// getShowBasic: identity, addresses, the controller's and the host's clocks and
// the manufacturing dates. getShowVersion: package, firmware component, CPLD
// and driver versions. getBasicCtrlInfo: a compact summary of both, followed by
// the bus section.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/reports/Clock.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"
#include "provider/ProcessInputs.h"
#include "provider/System.h"

using kvi::adapter::infoSection;
using namespace kvi::reports;

namespace {

// Controller type whose serial number, revision and package are withheld and
// whose driver is asked by a driver command.
constexpr int kWithholdingType = 1;

// The system queries fill a terminated text of under 100 bytes.
constexpr std::size_t kSystemTextSize = 100;

std::string serialNumberText(const KV_CTRL_INFO& info, const KV_MFC_MFG& mfg, int type) {
    if (type == kWithholdingType) {
        return "NA";
    }
    if (isOEMhp) {
        return fieldText(info.serialNo);
    }
    return fieldText(mfg.sn); // at most 16 characters
}

// "%02x:%02x:%02x:%02x" of domain, bus, device and function, or "NA". `status`
// receives the query's status, of which only the low 8 bits are kept.
std::string pciAddressText(Controller* controller, int* status) {
    KV_DRV_PCI_INFORMATION pci{};
    const int rc = controller != nullptr ? controller->getPciInfo(&pci) : -1;
    *status = static_cast<unsigned char>(rc);
    if (*status != 0) {
        return "NA";
    }
    return format("%02x:%02x:%02x:%02x", pci.domainID, pci.busNumber,
                  static_cast<unsigned int>(pci.deviceNumber),
                  static_cast<unsigned int>(pci.functionNumber));
}

// The host clock now as local time text; "NA" when it cannot be converted.
std::string hostTimeText(bool withComma) {
    std::tm tm{};
    if (!localTime(hostNow(), &tm)) {
        return "NA";
    }
    return withComma ? dateTimeComma(tm) : dateTimePlain(tm);
}

// "PCI Slot Number" when the controller reports its host slot (the basic and
// summary sections both show it): 0, or the slot query's failing status.
int putSlotNumber(AdapterDataKvi& a, const KV_CTRL_INFO& info, json::Object& obj) {
    if (info.adapterOperations4.supportHostInfo) {
        unsigned char slot = 0;
        const int rc = a.getHostInfo(&slot);
        if (rc != 0) {
            return rc;
        }
        putNumber(obj, "PCI Slot Number", slot);
    }
    return 0;
}

// "Driver Name" and "Driver Version" as the host system reports them (the
// version and summary sections ask alike): 0, or the status of the first
// query that fails, with the members written before it.
int putSystemDriver(json::Object& obj) {
    char text[kSystemTextSize] = {};
    System* system = System::getInstance();
    int rc = system->getDriverName(text, 0);
    if (rc != 0) {
        return rc;
    }
    putText(obj, "Driver Name", fieldText(text, sizeof text - 1));
    rc = system->getDriverVersion(text, 0);
    if (rc != 0) {
        return rc;
    }
    putText(obj, "Driver Version", fieldText(text, sizeof text - 1));
    return 0;
}

} // namespace

int AdapterDataKvi::reportSerialNumber(std::string& out) {
    int rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
    KV_MFC_MFG mfg{};
    rc = sendDcmdRec(KV_DCMD_CTRL_MFC_MFG_GET, kviMboxWords(0), &mfg);
    if (rc == 0) {
        out = serialNumberText(*kvCtrlInfoPtr_, mfg, controllerType(controllerIdPtr_));
    }
    return rc;
}

int AdapterDataKvi::getShowBasic(json::Object& obj) {
    return infoSection(*this, "getShowBasic", [&](const KV_CTRL_INFO& info) {
        int rc = 0;
        KV_MFC_MFG mfg{};
        rc = sendDcmdRec(KV_DCMD_CTRL_MFC_MFG_GET, kviMboxWords(0), &mfg);
        if (rc != 0) {
            return rc;
        }
        const int type = controllerType(controllerIdPtr_);

        putText(obj, "Model", fieldText(info.productName));
        putText(obj, "Serial Number", serialNumberText(info, mfg, type));
        rc = putSlotNumber(*this, info, obj);
        if (rc != 0) {
            return rc;
        }
        putText(obj, "Current Controller Date/Time",
                firmwareTimeText([this] { return y2kTime(); }, [this] { return getdstInSec(); },
                                 info.currentFwTime, DateForm::Comma));
        putText(obj, "Current System Date/time", hostTimeText(true));

        // One status variable for the defaults load and the PCI query: the PCI
        // query's status is what the section returns.
        rc = getMFCdata();
        if (rc == 0) {
            const unsigned long long sasAddr = kvMFCDefPtr_->sasAddr;
            putText(obj, "SAS Address", sasAddr != 0 ? format("%llx", sasAddr) : std::string("NA"));
        }
        putText(obj, "PCI Address", pciAddressText(controllerPtr_, &rc));
        putText(obj, "Mfg Date", mfcDate(mfg.mfgDate));
        putText(obj, "Rework Date", mfcDate(mfg.reworkDate));
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowBasic retCode = %d", rc);
        putText(obj, "Revision No",
                type == kWithholdingType ? std::string("NA") : format("%.8s", mfg.rev));
        return rc;
    });
}

int AdapterDataKvi::getShowVersion(json::Object& obj) {
    return infoSection(*this, "getShowVersion", [&](const KV_CTRL_INFO& info) {
        int rc = 0;
        const bool flashCompInfo = info.adapterOperations4.supportFlashCompInfo != 0;
        const int type = controllerType(controllerIdPtr_);

        if (type == kWithholdingType) {
            putText(obj, "Firmware Package Build", "NA");
            putText(obj, "Firmware Version", "NA");
        } else if (!flashCompInfo) {
            // Both lines show the package on purpose; the "APP" component below
            // replaces the second.
            putText(obj, "Firmware Package Build", fieldText(info.packageVersion));
            putText(obj, "Firmware Version", fieldText(info.packageVersion));
        }
        if (info.hwPresent.upgradableCPLD && info.adapterOperations3.supportCPLDUpdate) {
            putText(obj, "CPLD Version", fieldText(info.cpld.userCodeDefinition));
        }
        if (!flashCompInfo && info.imageComponentCount != 0) {
            const std::size_t at = offsetof(KV_CTRL_INFO, imageComponent);
            const std::uint32_t n = ctrlInfoComponentLimit(at, info.imageComponentCount);
            for (std::uint32_t i = 0; i < n; ++i) {
                const KV_FLASH_COMP_INFO* comp = ctrlInfoComponent(info, at, i);
                const char* label = componentLabel(comp->name);
                if (label != nullptr) {
                    putText(obj, label, fieldText(comp->version));
                }
            }
        }

        DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowVersion - Getting driver version");
        if (type == kWithholdingType) {
            KV_DRV_DRIVER_VERSION drv{};
            rc = sendDriverCmd(KV_DRV_GET_DRIVER_VERSION, &drv, sizeof drv, 0);
            if (rc != 0) {
                return rc;
            }
            putText(obj, "Driver Name", fieldText(drv.driverName));
            putText(obj, "Driver Version", fieldText(drv.driverVersion));
        } else {
            rc = putSystemDriver(obj);
            if (rc != 0) {
                return rc;
            }
        }
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowVersion  retcode = %d", rc);
        return rc;
    });
}

int AdapterDataKvi::getBasicCtrlInfo(json::Object& obj) {
    return infoSection(*this, "getBasicCtrlInfo", [&](const KV_CTRL_INFO& info) {
        int rc = 0;
        const bool flashCompInfo = info.adapterOperations4.supportFlashCompInfo != 0;
        const int type = controllerType(controllerIdPtr_);

        KV_MFC_MFG mfg{};
        rc = sendDcmdRec(KV_DCMD_CTRL_MFC_MFG_GET, kviMboxWords(0), &mfg);
        if (rc != 0) {
            return rc;
        }
        rc = getMFCdata();
        if (rc != 0) {
            return rc;
        }
        const std::string systemTime = hostTimeText(false);
        int oem = 0;
        (void)getOem(&oem); // a failed query leaves 0

        putText(obj, "Product Name", fieldText(info.productName));
        putText(obj, "Serial Number", serialNumberText(info, mfg, type));
        rc = putSlotNumber(*this, info, obj);
        if (rc != 0) {
            return rc;
        }
        const unsigned long long sasAddr = kvMFCDefPtr_->sasAddr;
        putText(obj, "SAS Address", sasAddr != 0 ? format(" %llx", sasAddr) : std::string("NA"));
        int pciStatus = 0;
        putText(obj, "PCI Address", pciAddressText(controllerPtr_, &pciStatus));
        putText(obj, "System Time", systemTime);
        putText(obj, "Mfg. Date", mfcDate(mfg.mfgDate));
        KV_TIME_STAMP now{};
        if (getCtrlTime(&now) == 0) {
            putText(obj, "Controller Time",
                    format("%02d/%02d/%02d %02d:%02d:%02d", now.month, now.day, now.year, now.hour,
                           now.min, now.sec));
        }
        if (!flashCompInfo) {
            putText(obj, "FW Package Build",
                    type == kWithholdingType ? std::string("NA") : fieldText(info.packageVersion));
            const std::size_t at = offsetof(KV_CTRL_INFO, imageComponent);
            const std::uint32_t n = ctrlInfoComponentLimit(at, info.imageComponentCount);
            // A later component of the same kind replaces the text in place.
            for (std::uint32_t i = 0; i < n; ++i) {
                const KV_FLASH_COMP_INFO* comp = ctrlInfoComponent(info, at, i);
                if (std::strncmp(comp->name, "APP", 3) == 0) {
                    putText(obj, "FW Version", fieldText(comp->version));
                }
            }
            for (std::uint32_t i = 0; i < n; ++i) {
                const KV_FLASH_COMP_INFO* comp = ctrlInfoComponent(info, at, i);
                if (std::strncmp(comp->name, "BIOS", 4) == 0) {
                    putText(obj, "BIOS Version", fieldText(comp->version));
                }
            }
        }
        if (type == kWithholdingType) {
            KV_DRV_DRIVER_VERSION drv{};
            (void)sendDriverCmd(KV_DRV_GET_DRIVER_VERSION, &drv, sizeof drv, 0);
            putText(obj, "Driver Name", fieldText(drv.driverName));
            putText(obj, "Driver Version", fieldText(drv.driverVersion));
        } else {
            rc = putSystemDriver(obj);
            if (rc != 0) {
                return rc;
            }
        }
        if (info.adapterOperations3.supportPersonalityChange != 0) {
            KV_CTRL_PERSONALITY_INFO personality{};
            if (getPersonality(&personality) == 0) {
                putText(obj, "Current Personality",
                        personalityText(personality.personalityBitmap, oem, "eHBA-Mode"));
            }
        }
        rc = getShowBus(obj);
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getBasicCtrlInfo");
        return rc;
    });
}
