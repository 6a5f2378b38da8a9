// Report sections of AdapterDataKvi: manufacturing defaults and controller
// capabilities.
//
// getShowDefaults shows the factory defaults the controller keeps in its
// manufacturing defaults record. Members, in order (strings unless marked):
//   "SAS Address"            sasAddr as "%llx", "NA" when 0
//   "Background Rate"        number: backgroundRate (percent)
//   "Strip Size Code"        number: stripeSize, the firmware's code as the
//                            strip-size rules report it
//   "Write Back"             writeBack: 0 "Off", 1 "On", 2 "Always", else "Unknown"
//   "Read Ahead"             readAhead: 0 "Off", 1 "On", 2 "Adaptive", else "Unknown"
//   "Cached IO"              cachedIo 1 "On", else "Off"
//   "Cache When BBU Bad"     cacheWhenBBUBad non-zero "On", else "Off"
//   "Flush Time (sec)"       number: flushTime
//   "Drive Coercion Mode"    coercion: 1 "128MB", 2 "1GB", else "none" (as in the
//                            policies section)
//   "Spin Down Mode"         spindownMode, texts as in the boot section
//   "Alarm"                  alarmDisable non-zero "Off", else "On"
//   "Max VDs per Array"      number: maxLdsPerArray
// A failed load of the record is returned at once; nothing is written.
//
// getShowCapabilities shows the controller's limits from the controller
// information. Members, in order (numbers unless marked):
//   "Max Arms", "Max Spans", "Max Arrays", "Max Virtual Drives", "Max Drives",
//   "Max Configurable Drives", "Max Dedicated Hot Spares", "Max Global Hot Spares",
//   "Max VDs per Array", "Min Strip Size Code", "Max Strip Size Code",
//   "Supported RAID Levels"  array of strings, in the order the RAID level rules
//                            list them: "RAID0", "RAID1", "RAID5", "RAID6",
//                            "RAID00" (when not marked unsupported), "RAID10",
//                            "RAID50", "RAID60"
//   "OEM Code"               number from the OEM identifier query; absent when
//                            that query fails
// A failed controller-information load is returned at once; nothing is written.
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"

using namespace kvi::reports;

namespace {

const char* const kWriteBackTexts[] = {"Off", "On", "Always"};
const char* const kReadAheadTexts[] = {"Off", "On", "Adaptive"};

} // namespace

int AdapterDataKvi::getShowDefaults(json::Object& obj) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowDefaults");
    const int rc = getMFCdata();
    if (rc != 0) {
        return rc;
    }
    const KV_MFC_DEFAULTS& mfc = *kvMFCDefPtr_;
    const unsigned long long sasAddr = mfc.sasAddr;
    putText(obj, "SAS Address", sasAddr != 0 ? format("%llx", sasAddr) : std::string("NA"));
    putNumber(obj, "Background Rate", mfc.backgroundRate);
    putNumber(obj, "Strip Size Code", mfc.stripeSize);
    putText(obj, "Write Back", codeText(mfc.writeBack, kWriteBackTexts, "Unknown"));
    putText(obj, "Read Ahead", codeText(mfc.readAhead, kReadAheadTexts, "Unknown"));
    putText(obj, "Cached IO", onOff(mfc.cachedIo == 1));
    putText(obj, "Cache When BBU Bad", onOff(mfc.cacheWhenBBUBad != 0));
    putNumber(obj, "Flush Time (sec)", mfc.flushTime);
    putText(obj, "Drive Coercion Mode", coercionText(mfc.coercion));
    putText(obj, "Spin Down Mode", spinDownText(mfc.spindownMode));
    putText(obj, "Alarm", onOff(mfc.alarmDisable == 0));
    putNumber(obj, "Max VDs per Array", mfc.maxLdsPerArray);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowDefaults retCode = %d", rc);
    return 0;
}

int AdapterDataKvi::getShowCapabilities(json::Object& obj) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowCapabilities");
    const int rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
    const KV_CTRL_INFO& info = *kvCtrlInfoPtr_;
    putNumber(obj, "Max Arms", info.maxArms);
    putNumber(obj, "Max Spans", info.maxSpans);
    putNumber(obj, "Max Arrays", info.maxArrays);
    putNumber(obj, "Max Virtual Drives", info.maxLDs);
    putNumber(obj, "Max Drives", info.maxPds);
    putNumber(obj, "Max Configurable Drives", info.maxConfigurablePds);
    putNumber(obj, "Max Dedicated Hot Spares", info.maxDedHSPs);
    putNumber(obj, "Max Global Hot Spares", info.maxGlobalHSPs);
    putNumber(obj, "Max VDs per Array", info.maxLdsPerArray);
    putNumber(obj, "Min Strip Size Code", info.stripeSizeOptions.min);
    putNumber(obj, "Max Strip Size Code", info.stripeSizeOptions.max);
    json::Array levels;
    const auto add = [&levels](bool supported, const char* name) {
        if (supported) {
            levels.Insert(json::String(name));
        }
    };
    add(info.raidLevels.raidLevel_0, "RAID0");
    add(info.raidLevels.raidLevel_1, "RAID1");
    add(info.raidLevels.raidLevel_5, "RAID5");
    add(info.raidLevels.raidLevel_6, "RAID6");
    add(!info.raidLevels.raidLevel_00_unsupported, "RAID00");
    add(info.raidLevels.raidLevel_10, "RAID10");
    add(info.raidLevels.raidLevel_50, "RAID50");
    add(info.raidLevels.raidLevel_60, "RAID60");
    obj["Supported RAID Levels"] = levels;
    int oem = 0;
    if (getOem(&oem) == 0) {
        putNumber(obj, "OEM Code", oem);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowCapabilities retCode = %d", rc);
    return 0;
}
