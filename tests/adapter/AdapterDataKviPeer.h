#pragma once
// Test access to AdapterDataKvi's caches and change flags (the class names this
// struct as a friend). Shared by every test of tests/adapter so that the struct
// has one definition in the test program.
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

struct AdapterDataKviPeer {
    using A = AdapterDataKvi;

    // Cached records, change flags and counters.
    static KV_CTRL_PROP*& prop(A& a) { return a.kvCtrlPropPtr_; }
    static KV_CTRL_PROP_EXT*& propExt(A& a) { return a.kvCtrlPropExtPtr_; }
    static KV_EVT_LOG_INFO*& eventLogInfo(A& a) { return a.kvEventLogInfoPtr_; }
    static KV_BIOS_DATA*& biosData(A& a) { return a.kvBiosDataPtr_; }
    static KV_FLASH_COMP_INFO_LIST*& activeFlash(A& a) { return a.getActiveFlashInfo_; }
    static KV_FLASH_COMP_INFO_LIST*& backupFlash(A& a) { return a.getBackupFlashInfo_; }
    static KV_FLASH_COMP_INFO_LIST*& pendingFlash(A& a) { return a.getPendingFlashInfo_; }
    static KV_CTRL_INFO*& ctrlInfo(A& a) { return a.kvCtrlInfoPtr_; }
    static KV_BBU_STATUS*& batteryInfo(A& a) { return a.kvBatteryInfoPtr_; }
    static KV_BBU_CAPACITY_INFO*& battCapacity(A& a) { return a.kvBattCapacityInfoPtr_; }
    static KV_BBU_DESIGN_INFO*& battDesign(A& a) { return a.kvBattDesignInfoPtr_; }
    static KV_BBU_PROPERTIES*& bbuProp(A& a) { return a.kvBBUPropPtr_; }
    static KV_MFC_DEFAULTS*& mfcDefaults(A& a) { return a.kvMFCDefPtr_; }
    static KV_PR_PROPERTIES*& prProp(A& a) { return a.kvPrProp_; }
    static KV_PR_PROPERTIES_EXT*& prPropExt(A& a) { return a.kvPrPropExt_; }
    static KV_CONFIG_ALLOWED_OPS& cfgAllowedOps(A& a) { return a.kvCfgAllowedOps_; }
    static KV_SAS_MUX_LIST*& muxList(A& a) { return a.kvMuxListPtr_; }
    static KV_SAS_CONNECTORS*& connectors(A& a) { return a.kvConnectorsPtr_; }
    static KV_CC_SCHEDULE_PROPERTIES*& ccScProp(A& a) { return a.kvCcScProp_; }
    static KV_CC_SCHEDULE_PROPERTIES_EXT*& ccScPropExt(A& a) { return a.kvCcScPropExt_; }
    static bool& propChanged(A& a) { return a.kvAdpPropertiesChanged_; }
    static bool& muxChanged(A& a) { return a.kvMuxPropertiesChanged_; }
    static bool& propExtChanged(A& a) { return a.kvCtrlPropertiesExtChanged_; }
    static bool& biosChanged(A& a) { return a.kvBIOSDataChanged_; }
    static int& pendingCount(A& a) { return a.PendingCount; }

    // The driver-command path of the report sections.
    static int sendDriverCmd(A& a, std::uint32_t op, void* buf, std::uint32_t cap,
                             std::uint32_t len) {
        return a.sendDriverCmd(op, buf, cap, len);
    }
};
