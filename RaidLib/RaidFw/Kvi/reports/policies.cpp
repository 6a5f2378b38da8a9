// Report sections of AdapterDataKvi: policies and boot.
//
// getShowPolicies: a table of rate and interval policies (current value and
// fixed default) and a run of single policies. getShowBoot: boot-time settings
// from the manufacturing defaults, the BIOS data and the controller
// properties. formatPolicyObject fills one row of the policies table.
#include <cstddef>
#include <cstdio>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"
#include "provider/ProcessInputs.h"

using kvi::adapter::mfcSection;
using namespace kvi::reports;

namespace {

// Size of the text buffers of one policy row.
constexpr std::size_t kPolicyText = 100;

void copyText(char (&buffer)[kPolicyText], const std::string& text) {
    std::snprintf(buffer, sizeof buffer, "%s", text.c_str());
}

const char* const kBackplaneTexts[] = {"SGPIO/i2c SEP", "disable auto detect SGPIO",
                                       "disable i2c SEP auto detect", "disable both auto detect"};

} // namespace

int AdapterDataKvi::formatPolicyObject(char* name, char* current, char* defaultValue,
                                       json::Object& row) {
    putText(row, "Policy", name != nullptr ? name : "");
    putText(row, "Current", current != nullptr ? current : "");
    putText(row, "Default", defaultValue != nullptr ? defaultValue : "");
    return 0;
}

int AdapterDataKvi::getShowPolicies(json::Object& obj) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowPolicies");
    json::Array table;
    json::Object row;
    int rc = getKvCtlrProp();
    if (rc != 0) {
        return rc;
    }
    const KV_CTRL_PROP& prop = *kvCtrlPropPtr_;

    struct Policy {
        std::string name;
        std::string current;
        const char* defaultValue;
    };
    // The default column is fixed text, not read from the controller. The
    // reconstruction key is built in a string so that no name can overrun a
    // fixed buffer.
    const Policy policies[] = {
        {"Predictive Fail Poll Interval", format("%d sec", prop.predFailPollInterval), ""},
        {"Interrupt Throttle Active Count", format("%d", prop.intThrottleCount), ""},
        {"Interrupt Throttle Completion", format("%d us", prop.intThrottleTimeUs), ""},
        {"Rebuild Rate", format("%d %%", prop.rebuildRate), "30%"},
        {"PR Rate", format("%d %%", prop.patrolReadRate), "30%"},
        {"BGI Rate", format("%d %%", prop.bgiRate), "30%"},
        {"Check Consistency Rate", format("%d %%", prop.ccRate), "30%"},
        {format("%s Rate", gResStr->STR_RECON_OBJ), format("%d %%", prop.reconRate), "30%"},
        {"Cache Flush Interval", format("%ds", prop.cacheFlushInterval), ""},
    };
    char name[kPolicyText] = {};
    char current[kPolicyText] = {};
    char defaultValue[kPolicyText] = {};
    for (const Policy& policy : policies) {
        copyText(name, policy.name);
        copyText(current, policy.current);
        copyText(defaultValue, policy.defaultValue);
        formatPolicyObject(name, current, defaultValue, row);
        table.Insert(row);
    }
    if (!table.Empty()) {
        obj["Policies Table"] = table;
    }

    putText(obj, "Flush Time(Default)", "4s");
    putText(obj, "Drive Coercion Mode", coercionText(prop.coercionMode));
    putText(obj, "Auto Rebuild", onOff(prop.disableAutoRebuild == 0));
    putText(obj, "Battery Warning", onOff(prop.disableBatteryWarning == 0));
    putNumber(obj, "ECC Bucket Size", prop.eccBucketSize);
    putNumber(obj, "ECC Bucket Leak Rate (hrs)", prop.eccBucketLeakRate / 60);
    putText(obj, format("Restore %s on Insertion", gResStr->STR_OBJ_SPARE),
            onOff(prop.restoreHotSpareOnInsertion != 0));
    putText(obj, "Expose Enclosure Devices", onOff(prop.exposeEnclosureDevices != 0));
    putText(obj, isOEMhp ? "Maintain Drive Fail History" : "Maintain PD Fail History",
            onOff(prop.maintainPdFailHistory != 0));
    putText(obj, "Reorder Host Requests", onOff(prop.disallowHostRequestReordering == 0));
    putText(obj, "Auto detect BackPlane",
            codeText(prop.disableAutoDetectBackplane, kBackplaneTexts, "SGPIO/i2c SEP"));
    putText(obj, "Load Balance Mode", prop.loadBalanceMode != 0 ? "None" : "Auto");

    rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
    const KV_CTRL_INFO& info = *kvCtrlInfoPtr_;
    putText(obj, "Security Key Assigned", onOff(info.adapterStatus.lockKeyAssigned));
    putText(obj, "Disable Online Controller Reset",
            onOff(prop.OnOffProperties.disableOnlineCtrlReset));
    putText(obj, "Use drive activity for locate",
            onOff(prop.OnOffProperties.useDiskActivityForLocate));
    if (info.adapterOperationExt.adapterOperations6.supportPredFailDATimer) {
        // Added to the working table after the table was copied into the
        // section, so this row does not reach the report.
        copyText(name, "SmartPoll Interval for DirectAttached");
        copyText(current, format("%d sec", info.prop.predFailDAInterval));
        copyText(defaultValue, "");
        formatPolicyObject(name, current, defaultValue, row);
        table.Insert(row);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowPolicies retcode = %d", 0);
    return 0;
}

int AdapterDataKvi::getShowBoot(json::Object& obj) {
    return mfcSection(*this, "getShowBoot", [&](const KV_MFC_DEFAULTS& mfc) {
        int rc = 0;
        rc = getCtlrInfo();
        if (rc != 0) {
            return rc;
        }
        putNumber(obj, "BIOS Enumerate VDs", kvMFCDefPtr_->biosEnumerateLds);
        rc = getBIOSData();
        if (rc != 0) {
            return rc;
        }
        const KV_BIOS_DATA& bios = *kvBiosDataPtr_;
        putText(obj, "Stop BIOS on Error", onOff(bios.continueOnError == 0));
        putNumber(obj, "Delay during POST", mfc.delayPOST);
        putText(obj, "Spin Down Mode", spinDownText(mfc.spindownMode));
        putText(obj, "Enable Ctrl-R", yesNo(mfc.disableCtrlR == 0));
        putText(obj, "Enable Web BIOS", yesNo(mfc.enableWebBios != 0));
        putText(obj, "Enable PreBoot CLI", yesNo(mfc.disableBootCLI == 0));
        putText(obj, "Enable BIOS", yesNo(bios.doNotExpose == 0));

        rc = getKvCtlrProp();
        if (rc != 0) {
            return rc;
        }
        const KV_CTRL_PROP& prop = *kvCtrlPropPtr_;
        putNumber(obj, "Max Drives to Spinup at One Time", prop.spinupDriveCount);
        putNumber(obj, "Maximum number of direct attached drives to spin up in 1 min",
                  kvCtrlInfoPtr_->maxDAPdCountSpinup60);
        putNumber(obj, "Delay Among Spinup Groups (sec)", prop.spinupDelay);
        putText(obj, "Allow Boot with Preserved Cache",
                onOff(prop.OnOffProperties.allowBootWithPinnedCache));
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowBoot retCode = %d", rc);
        return 0;
    });
}
