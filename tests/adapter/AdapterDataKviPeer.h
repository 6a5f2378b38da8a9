#pragma once
// Test access to AdapterDataKvi's caches and change flags (the class names this
// struct as a friend). Shared by every test of tests/adapter so that the struct
// has one definition in the test program.
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"

struct AdapterDataKviPeer {
    using A = AdapterDataKvi;

// One accessor per cached record, change flag and counter: name(a) is a reference to the member.
#define KVI_PEER(name, member)                                                                     \
    static auto& name(A& a) {                                                                      \
        return a.member;                                                                           \
    }
    // clang-format off
    KVI_PEER(prop, kvCtrlPropPtr_)                  KVI_PEER(propExt, kvCtrlPropExtPtr_)
    KVI_PEER(eventLogInfo, kvEventLogInfoPtr_)      KVI_PEER(biosData, kvBiosDataPtr_)
    KVI_PEER(activeFlash, getActiveFlashInfo_)      KVI_PEER(backupFlash, getBackupFlashInfo_)
    KVI_PEER(pendingFlash, getPendingFlashInfo_)    KVI_PEER(ctrlInfo, kvCtrlInfoPtr_)
    KVI_PEER(batteryInfo, kvBatteryInfoPtr_)        KVI_PEER(battCapacity, kvBattCapacityInfoPtr_)
    KVI_PEER(battDesign, kvBattDesignInfoPtr_)      KVI_PEER(bbuProp, kvBBUPropPtr_)
    KVI_PEER(mfcDefaults, kvMFCDefPtr_)             KVI_PEER(prProp, kvPrProp_)
    KVI_PEER(prPropExt, kvPrPropExt_)               KVI_PEER(cfgAllowedOps, kvCfgAllowedOps_)
    KVI_PEER(muxList, kvMuxListPtr_)                KVI_PEER(connectors, kvConnectorsPtr_)
    KVI_PEER(ccScProp, kvCcScProp_)                 KVI_PEER(ccScPropExt, kvCcScPropExt_)
    KVI_PEER(propChanged, kvAdpPropertiesChanged_)  KVI_PEER(muxChanged, kvMuxPropertiesChanged_)
    KVI_PEER(propExtChanged, kvCtrlPropertiesExtChanged_)
    KVI_PEER(biosChanged, kvBIOSDataChanged_)       KVI_PEER(pendingCount, PendingCount)
    // clang-format on
#undef KVI_PEER

        // The driver-command path of the report sections.
        static int sendDriverCmd(A& a, std::uint32_t op, void* buf, std::uint32_t cap,
                                 std::uint32_t len) {
        return a.sendDriverCmd(op, buf, cap, len);
    }
};
