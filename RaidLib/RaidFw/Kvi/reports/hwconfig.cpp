// Report section of AdapterDataKvi: hardware configuration.
//
// Chip revision, battery and flash-backed cache hardware, alarm, memory sizes,
// sensors and temperatures. Only a failed controller-information load fails the
// section; every later failure becomes a member value ("N/A", "Absent",
// "Unknown", "NA").
#include <cstdint>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "RaidLib/RaidFw/Kvi/reports/SizeUnits.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/DebugLog.h"
#include "provider/ProcessInputs.h"

using kvi::adapter::infoSection;
using namespace kvi::reports;

namespace {

const char* alarmText(int rc, unsigned char state) {
    if (rc != 0) {
        return rc == KVI_STAT_NO_HW_PRESENT ? "Absent" : "Unknown";
    }
    switch (state) {
    case 0:
        return "Disable";
    case 1:
        return "On";
    case 2:
        return "Silent";
    case 3:
        return "Absent";
    default:
        return "On";
    }
}

} // namespace

int AdapterDataKvi::getShowHwConfig(json::Object& obj) {
    return infoSection(*this, "getShowHwConfig", [&](const KV_CTRL_INFO& info) {
        putText(obj, "ChipRevision",
                controllerType(controllerIdPtr_) == 1
                    ? std::string("NA")
                    : " " + fieldText(info.pci.chipRevision)); // " %.2s"

        // The second manufacturing record starts with the battery's FRU text. The
        // reply buffer has one byte more than the transfer, so the text is always
        // terminated.
        std::string fru = "N/A";
        if (info.adapterOperations.bbu) {
            char reply[33] = {};
            if (sendDcmd(KV_DCMD_CTRL_MFC_MFG_2_GET, kviMbox(), reply, 32, 0) == 0 &&
                reply[0] != 0) {
                fru = reply;
            }
        }
        putText(obj, "BatteryFRU", fru);
        putNumber(obj, "Front End Port Count", info.hostInterface.portCount);
        putNumber(obj, "Backend Port Count", info.deviceInterface.portCount);

        if (!isOEMhp) {
            putText(obj, "BBU", presentAbsent(info.hwPresent.bbu));
        } else {
            bool present = false;
            if (info.hwPresent.bbu && getBatteryInfo() == 0) {
                present = (kvBatteryInfoPtr_->fwStatus & 1u) == 0; // packMissing
            }
            putText(obj, "Energy Pack", presentAbsent(present));
        }

        // A state byte the alarm query does not know leaves `state` as it was, so
        // it starts at a value outside 0..3: the line then keeps "On".
        unsigned char state = 0xFF;
        const int alarmRc = getalarmState(&state);
        putText(obj, "Alarm", alarmText(alarmRc, state));
        putText(obj, "Serial Debugger", presentAbsent(info.hwPresent.uart));
        putText(obj, "NVRAM Size", format("%dKB", info.nvramSize));
        putText(obj, "Flash Size", format("%dMB", info.flashSize));
        putText(obj, "On Board Memory Size", format("%dMB", info.memorySize));

        unsigned long long a = 0;
        unsigned long long kib = 0;
        std::string pellora = "NA";
        if (adpFlashErase(&a, false, &kib) == 0 && info.hwPresent.bbu) {
            pellora = ConvertSizetoUnits(kib * 1024);
        }
        putText(obj, "Pellora Flash Size", pellora);

        putText(obj, "TPM", presentAbsent(info.hwPresent.TPM));
        putText(obj, "On Board Expander", presentAbsent(info.hwPresent.expander));
        putText(obj, "Temperature Sensor for ROC", presentAbsent(info.hwPresent.tempSensorROC));
        putText(obj, "Temperature Sensor for Controller",
                presentAbsent(info.hwPresent.tempSensorCtrl));
        putText(obj, "Upgradable CPLD", presentAbsent(info.hwPresent.upgradableCPLD));
        putText(obj, "Upgradable PSOC", presentAbsent(info.hwPresent.upgradablePSOC));

        // 512-byte blocks; halved and shown with a unit. The key keeps "(GB)"
        // whatever unit the text carries.
        unsigned long long blocks = 0;
        (void)getCurrentConfigSSCSize(&blocks);
        if (blocks == 0) {
            putNumber(obj, "Current Size of Tarvel (GB)", info.currentSSCsize);
        } else {
            putText(obj, "Current Size of Tarvel (GB)", ConvertSizetoUnits(blocks / 2));
        }
        putNumber(obj, "Current Size of FW Cache (MB)", info.cacheMemorySize);
        if (info.hwPresent.tempSensorROC) {
            putNumber(obj, "ROC temperature(Degree Celsius)", info.temperatureROC);
        }
        if (info.hwPresent.tempSensorCtrl) {
            putNumber(obj, "Ctrl temperature(Degree Celsius)", info.temperatureCtrl);
        }
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowHwConfig");
        return 0;
    });
}
