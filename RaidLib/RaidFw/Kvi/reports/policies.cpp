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
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "RaidLib/RaidFw/Kvi/reports/Values.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"
#include "provider/ProcessInputs.h"

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
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowBoot");
    int rc = getMFCdata();
    if (rc != 0) {
        return rc;
    }
    rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
    putNumber(obj, "BIOS Enumerate VDs", kvMFCDefPtr_->biosEnumerateLds);
    rc = getBIOSData();
    if (rc != 0) {
        return rc;
    }
    const KV_MFC_DEFAULTS& mfc = *kvMFCDefPtr_;
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
}

// Typed values of the policies and boot sections (see Values.h).
namespace kvi {
namespace reports {
namespace {
// Rows of the policies table by their "Policy" text; each becomes
// {"current": ..., "default": ...} in its own unit.
const ValueRow kPolicyRows[] = {
    {"Predictive Fail Poll Interval", "predictive_fail_poll_interval_seconds", Kind::Duration},
    {"Interrupt Throttle Active Count", "interrupt_throttle_active_count", Kind::Integer},
    {"Interrupt Throttle Completion", "interrupt_throttle_completion_microseconds", Kind::Integer},
    {"Rebuild Rate", "rebuild_rate_percent", Kind::Integer},
    {"PR Rate", "patrol_read_rate_percent", Kind::Integer},
    {"BGI Rate", "bgi_rate_percent", Kind::Integer},
    {"Check Consistency Rate", "consistency_check_rate_percent", Kind::Integer},
    {"Reconstruction Rate", "reconstruction_rate_percent", Kind::Integer},
    {"Cache Flush Interval", "cache_flush_interval_seconds", Kind::Duration},
};
const ValueTable kPolicyValues = valueTable(kPolicyRows);
const ValueRow kPoliciesRows[] = {
    {"Policies Table", "policies", Kind::Pivot, &kPolicyValues},
    {"Flush Time(Default)", "default_flush_time_seconds", Kind::Duration},
    {"Drive Coercion Mode", "drive_coercion_mode", Kind::Token},
    {"Auto Rebuild", "auto_rebuild", Kind::Bool},
    {"Battery Warning", "battery_warning", Kind::Bool},
    {"ECC Bucket Size", "ecc_bucket_size", Kind::Integer},
    {"ECC Bucket Leak Rate (hrs)", "ecc_bucket_leak_rate_seconds", Kind::Duration, nullptr, kHour},
    {"Restore Hot Spare on Insertion", "restore_hot_spare_on_insertion", Kind::Bool},
    {"Expose Enclosure Devices", "expose_enclosure_devices", Kind::Bool},
    {"Maintain PD Fail History|Maintain Drive Fail History", "maintain_pd_fail_history",
     Kind::Bool},
    {"Reorder Host Requests", "reorder_host_requests", Kind::Bool},
    {"Auto detect BackPlane", "backplane_auto_detect", Kind::Token},
    {"Load Balance Mode", "load_balance_mode", Kind::Token},
    {"Security Key Assigned", "security_key_assigned", Kind::Bool},
    {"Disable Online Controller Reset", "disable_online_controller_reset", Kind::Bool},
    {"Use drive activity for locate", "drive_activity_for_locate", Kind::Bool},
};
const ValueRow kBootRows[] = {
    {"BIOS Enumerate VDs", "bios_enumerate_vds", Kind::Integer},
    {"Stop BIOS on Error", "stop_bios_on_error", Kind::Bool},
    {"Delay during POST", "delay_during_post", Kind::Integer},
    {"Spin Down Mode", "spin_down_mode", Kind::Token},
    {"Enable Ctrl-R", "ctrl_r_enabled", Kind::Bool},
    {"Enable Web BIOS", "web_bios_enabled", Kind::Bool},
    {"Enable PreBoot CLI", "preboot_cli_enabled", Kind::Bool},
    {"Enable BIOS", "bios_enabled", Kind::Bool},
    {"Max Drives to Spinup at One Time", "spinup_drive_count", Kind::Integer},
    {"Maximum number of direct attached drives to spin up in 1 min",
     "direct_attached_spinup_per_minute", Kind::Integer},
    {"Delay Among Spinup Groups (sec)", "spinup_group_delay_seconds", Kind::Duration},
    {"Allow Boot with Preserved Cache", "boot_with_preserved_cache", Kind::Bool},
};
} // namespace
const ValueTable kPoliciesValues = valueTable(kPoliciesRows);
const ValueTable kBootValues = valueTable(kBootRows);
} // namespace reports
} // namespace kvi
