// Controller property accessors of AdapterDataKvi (the alarm, factory-defaults, cache-flush,
// host-information and key-identifier requests are in controller.cpp).
//
// The controller's adjustable settings live in the 64-byte KV_CTRL_PROP record (and one in its
// 128-byte extension). Every setting has a getter and, where it can be changed, a setter, and
// they all behave alike: load the cached record, read or change one field, raise the record's
// change flag (setters), log the operation's entry and exit lines. Nothing is sent until the
// caller ends the transaction with endCtlrPropUpdate / endCtlrPropExtUpdate.
//
// So the settings are described once, in kSettings below (record, position, width, what the
// getter and setter do when the load fails, log names), and each operation is a one-line call
// into settingGet / settingSet with its row. A few read-only capability accessors over the
// controller information and the manufacturing defaults share the table.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/DebugLog.h"

namespace {

// The cached record a setting lives in, with its loader.
enum class Rec : std::uint8_t {
    Prop,    // KV_CTRL_PROP, getKvCtlrProp, kvAdpPropertiesChanged_
    PropExt, // KV_CTRL_PROP_EXT, getKvCtlrProp, kvCtrlPropertiesExtChanged_
    Info,    // KV_CTRL_INFO, getCtlrInfo (read only)
    Mfc,     // KV_MFC_DEFAULTS, getMFCdata (read only)
};

// What an accessor does when its load fails. Early: returns the status at once, logging no
// exit line. CarryOn: skips the field (the record is not held) and returns the status after
// logging its exit line.
enum class Form : std::uint8_t { Early, CarryOn };

// The exit line: "Exiting AdapterDataKvi::<name>", with " retCode = %d", or with the value as
// ", <field> = %d, retCode = %d".
enum class Exit : std::uint8_t { Plain, RetCode, Value };

// How a getter turns the field into its out-value, and how a setter turns its argument into
// the field.
enum class GetConv : std::uint8_t { Raw, NonZero };
enum class SetConv : std::uint8_t {
    Raw,      // the argument's low `bits` bits (a switch takes bit 0)
    Invert01, // 1 stores 0, 0 stores 1, anything else leaves the field as it is
};

// A field: a little-endian storage unit of `bytes` bytes at `offset` of the record, of which
// `bits` bits from bit `shift` belong to the setting.
struct Field {
    Rec rec;
    std::uint16_t offset;
    std::uint8_t bytes;
    std::uint8_t shift;
    std::uint8_t bits;
};

constexpr Field u8At(std::size_t offset, Rec rec = Rec::Prop) {
    return {rec, static_cast<std::uint16_t>(offset), 1, 0, 8};
}
constexpr Field u16At(std::size_t offset, Rec rec = Rec::Prop) {
    return {rec, static_cast<std::uint16_t>(offset), 2, 0, 16};
}
constexpr Field bitsAt(std::size_t offset, unsigned shift, unsigned bits, Rec rec = Rec::Prop) {
    return {rec, static_cast<std::uint16_t>(offset), 1, static_cast<std::uint8_t>(shift),
            static_cast<std::uint8_t>(bits)};
}
// A switch of a 32-bit flag word.
constexpr Field flag32(std::size_t offset, unsigned bit, Rec rec = Rec::Prop) {
    return {rec, static_cast<std::uint16_t>(offset), 4, static_cast<std::uint8_t>(bit), 1};
}
// The two switch sets of KV_CTRL_PROP: OnOffProperties (32 bits at byte 32) and
// OnOffProperties2 (16 bits at byte 36, overlaying the byte-wide space values).
constexpr Field onOff(unsigned bit) {
    return flag32(offsetof(KV_CTRL_PROP, OnOffProperties), bit);
}
constexpr Field onOff2(unsigned bit) {
    return {Rec::Prop, static_cast<std::uint16_t>(offsetof(KV_CTRL_PROP, OnOffProperties2)), 2,
            static_cast<std::uint8_t>(bit), 1};
}

// Rows of kSettings, in table order.
enum S : unsigned {
    sRebuildRate,
    sSeqNum,
    sPredFailPollInterval,
    sIntThrottleCount,
    sIntThrottleTimeUs,
    sPatrolReadRate,
    sBgiRate,
    sPreventPIImport,
    sPreventEnablePI,
    sFailPdOnSmartError,
    sForceSGPIO,
    sUseGlobalSparesForEmergency,
    sUseUnconfGoodForEmergency,
    sUseEmergencySparesForSMARTer,
    sFlushWriteVerify,
    sCcRate,
    sReconRate,
    sCacheFlushInterval,
    sSpinupDriveCount,
    sSpinupDelay,
    sClusterState,
    sBatteryWarningState,
    sEccBucketSize,
    sEccBucketLeakRate,
    sAbortCCOnError,
    sCoercionMode,
    sAutoRbldState,
    sCopyBackState,
    sJBODState,
    sCacheBypassState,
    sSMARTCopyBackState,
    sSSDSMARTCopyBackState,
    sEnableSpinDnUnconfState,
    sDisableSpinDnHSState,
    sSpinDownTime,
    sLoadBalanceState,
    sNCQState,
    sMaintPDFailHistState,
    sExposeEnclDevicesState,
    sAutoEnhancedImportState,
    sUseFDEOnlyEncrypt,
    sPrCorrectUncfgdAreas,
    sSSDPatrolReadState,
    sRestoreHotSpareOnInsertState,
    sOnlineCtrlResetState,
    sSesMultiPathConfig,
    sBootWithPinnedCacheState,
    sImmediateIO,
    sDriveActivityLED,
    sLargeIOSupport,
    sAutoDetectBackPlaneState,
    sDefaultSnapshotSpace,
    sDefaultViewSpace,
    sAutoSnapshotSpace,
    sDiskActivityForLocate,
    sConfigAutoBalance,
    sDefaultLDPSPolicy,
    sDisableLDPSInterval,
    sDisableLdPsTime,
    sSpinUpEncDrvCnt,
    sSpinUpEncDelay,
    sLDRestriction,
    sFwBootTypeMode,
    sDisableSESMonitoring,
    sLimitMaxRateSATA3G,
    sHDDThermalPollInterval,
    sSSDThermalPollInterval,
    sJbodWriteCache,
    sPDDgdDetectionType,
    sPDDgdCorrectiveAction,
    sPDDgdErrorThreshold,
    sLargeQDepth,
    sEnableSnapDump,
    sScsiUnmap,
    sFirmwareBasedDeviceOrdering,
    sPredFailDAInterval,
    sParityReadCacheByPass,
    // Read-only accessors over the controller information and manufacturing defaults.
    sEccBucketCount,
    sMemUnCorrectableErrorCount,
    sJBODSupported,
    sBlockSSDWriteCacheChange,
    sRevertibleHotSparesState,
    sSecurityOnJBODSupported,
    sAllowedOpsforDrvRemoval,
    sLargeIOSupported,
    sPowerSavingsSupported,
    sCount
};

struct Setting {
    S row;
    const char* getName;   // operation names, as logged
    const char* setName;   // nullptr: read only
    const char* fieldName; // named in a Value exit line
    Field field;
    Form getForm;
    Exit getExit;
    GetConv getConv;
    Form setForm;
    Exit setExit;
    SetConv setConv;
};

constexpr Form E = Form::Early;
constexpr Form C = Form::CarryOn;

// A setting with a getter and a setter. Exit lines follow the form: an early-return member
// logs the plain exit line (it only gets there on success), a carry-on member logs its status.
constexpr Setting rw(S row, const char* get, const char* set, const char* fieldName, Field f,
                     Form getForm, Form setForm, GetConv gc = GetConv::Raw,
                     SetConv sc = SetConv::Raw) {
    return {row,
            get,
            set,
            fieldName,
            f,
            getForm,
            getForm == C ? Exit::RetCode : Exit::Plain,
            gc,
            setForm,
            setForm == C ? Exit::RetCode : Exit::Plain,
            sc};
}
constexpr Setting ro(S row, const char* get, const char* fieldName, Field f, Form getForm) {
    return rw(row, get, nullptr, fieldName, f, getForm, E);
}
constexpr Setting withGetExit(Setting s, Exit exit) {
    s.getExit = exit;
    return s;
}

using P = KV_CTRL_PROP;
using I = KV_CTRL_INFO;

// clang-format off
constexpr Setting kSettings[] = {
    withGetExit(rw(sRebuildRate, "getRebuildRate", "setRebuildRate", "rebuildRate", u8At(offsetof(P, rebuildRate)), E, C), Exit::Value),
    rw(sSeqNum, "getseqNum", "setseqNum", "seqNum", u16At(offsetof(P, seqNum)), E, C),
    rw(sPredFailPollInterval, "getpredFailPollInterval", "setpredFailPollInterval", "predFailPollInterval", u16At(offsetof(P, predFailPollInterval)), E, C),
    rw(sIntThrottleCount, "getintThrottleCount", "setintThrottleCount", "intThrottleCount", u16At(offsetof(P, intThrottleCount)), E, C),
    rw(sIntThrottleTimeUs, "getintThrottleTimeUs", "setintThrottleTimeUs", "intThrottleTimeUs", u16At(offsetof(P, intThrottleTimeUs)), E, C),
    rw(sPatrolReadRate, "getpatrolReadRate", "setpatrolReadRate", "patrolReadRate", u8At(offsetof(P, patrolReadRate)), E, C),
    rw(sBgiRate, "getbgiRate", "setbgiRate", "bgiRate", u8At(offsetof(P, bgiRate)), E, C),
    rw(sPreventPIImport, "getPreventPIImport", "setPreventPIImport", "preventPIImport", onOff(17), E, C),
    rw(sPreventEnablePI, "getPreventEnablePI", "setPreventEnablePI", "enablePI", onOff(16), E, C),
    rw(sFailPdOnSmartError, "getfailPdOnSmartError", "setfailPdOnSmartError", "failPDOnSMARTErr", onOff(23), E, C),
    rw(sForceSGPIO, "getForceSGPIO", "setForceSGPIO", "forceSGPIOForQuadOnly", onOff(21), E, C),
    rw(sUseGlobalSparesForEmergency, "getUseGlobalSparesForEmergency", "setUseGlobalSparesForEmergency", "useGlobalSparesForEmergency", onOff(18), E, C),
    rw(sUseUnconfGoodForEmergency, "getUseUnconfGoodForEmergency", "setUseUnconfGoodForEmergency", "useUnconfGoodForEmergency", onOff(19), E, C),
    rw(sUseEmergencySparesForSMARTer, "getUseEmergencySparesForSMARTer", "setUseEmergencySparesForSMARTer", "useEmergencySparesforSMARTer", onOff(20), E, C),
    rw(sFlushWriteVerify, "getFlushWriteVerify", "setFlushWriteVerify", "enableWriteVerifyDuringCacheFlush", onOff(24), E, E),
    rw(sCcRate, "getccRate", "setccRate", "ccRate", u8At(offsetof(P, ccRate)), E, C),
    rw(sReconRate, "getreconRate", "setreconRate", "reconRate", u8At(offsetof(P, reconRate)), E, C),
    rw(sCacheFlushInterval, "getcacheFlushInterval", "setcacheFlushInterval", "cacheFlushInterval", u8At(offsetof(P, cacheFlushInterval)), E, C),
    rw(sSpinupDriveCount, "getspinupDriveCount", "setspinupDriveCount", "spinupDriveCount", u8At(offsetof(P, spinupDriveCount)), E, C),
    rw(sSpinupDelay, "getspinupDelay", "setspinupDelay", "spinupDelay", u8At(offsetof(P, spinupDelay)), E, C),
    // The cluster getter reports "enabled" as 1 whatever non-zero value the firmware keeps.
    rw(sClusterState, "getclusterState", "setclusterState", "clusterEnable", u8At(offsetof(P, clusterEnable)), E, E, GetConv::NonZero),
    rw(sBatteryWarningState, "getBatteryWarningState", "setBatteryWarningState", "disableBatteryWarning", u8At(offsetof(P, disableBatteryWarning)), E, E),
    rw(sEccBucketSize, "getEccBucketSize", "setEccBucketSize", "eccBucketSize", u8At(offsetof(P, eccBucketSize)), E, E),
    rw(sEccBucketLeakRate, "getEccBucketLeakRate", "setEccBucketLeakRate", "eccBucketLeakRate", u16At(offsetof(P, eccBucketLeakRate)), E, E),
    rw(sAbortCCOnError, "getAbortCCOnError", "setAbortCCOnError", "abortCCOnError", u8At(offsetof(P, abortCCOnError)), E, E),
    rw(sCoercionMode, "getcoercionMode", "setcoercionMode", "coercionMode", u8At(offsetof(P, coercionMode)), E, C),
    rw(sAutoRbldState, "getautoRbldState", "setautoRbldState", "disableAutoRebuild", u8At(offsetof(P, disableAutoRebuild)), C, C),
    rw(sCopyBackState, "getCopyBackState", "setCopyBackState", "copyBackDisabled", onOff(0), C, C),
    rw(sJBODState, "getJBODState", "setJBODState", "enableJBOD", onOff(13), C, C),
    rw(sCacheBypassState, "getCacheBypassState", "setCacheBypassState", "disableCacheBypass", onOff(14), C, C),
    rw(sSMARTCopyBackState, "getSMARTCopyBackState", "setSMARTCopyBackState", "SMARTerEnabled", onOff(1), C, C),
    rw(sSSDSMARTCopyBackState, "getSSDSMARTCopyBackState", "setSSDSMARTCopyBackState", "SSDSMARTerEnabled", onOff(5), C, C),
    rw(sEnableSpinDnUnconfState, "getEnableSpinDnUnconfState", "setEnableSpinDnUnconfState", "enableSpinDownUnconfigured", onOff(7), C, C),
    rw(sDisableSpinDnHSState, "getDisableSpinDnHSState", "setDisableSpinDnHSState", "disableSpinDownHS", onOff(12), C, C),
    rw(sSpinDownTime, "getSpinDownTime", "setSpinDownTime", "spinDownTime", u16At(offsetof(P, spinDownTime)), C, C),
    // The setter takes "load balancing on" (1) and stores the firmware's inverse; the getter
    // passes the field through uninverted.
    rw(sLoadBalanceState, "getLoadBalanceState", "setLoadBalanceState", "loadBalanceMode", u8At(offsetof(P, loadBalanceMode)), C, C, GetConv::Raw, SetConv::Invert01),
    rw(sNCQState, "getNCQState", "setNCQState", "disableNCQ", onOff(4), C, C),
    rw(sMaintPDFailHistState, "getMaintPDFailHistState", "setMaintPDFailHistState", "maintainPdFailHistory", u8At(offsetof(P, maintainPdFailHistory)), C, C),
    rw(sExposeEnclDevicesState, "getExposeEnclDevicesState", "setExposeEnclDevicesState", "exposeEnclosureDevices", u8At(offsetof(P, exposeEnclosureDevices)), C, C),
    rw(sAutoEnhancedImportState, "getAutoEnhancedImportState", "setAutoEnhancedImportState", "autoEnhancedImport", onOff(8), C, C),
    rw(sUseFDEOnlyEncrypt, "getUseFDEOnlyEncrypt", "setUseFDEOnlyEncrypt", "useFdeOnly", onOff(3), C, C),
    rw(sPrCorrectUncfgdAreas, "getPrCorrectUncfgdAreas", "setPrCorrectUncfgdAreas", "prCorrectUnconfiguredAreas", onOff(2), C, C),
    rw(sSSDPatrolReadState, "getSSDPatrolReadState", "setSSDPatrolReadState", "SSDPatrolReadEnabled", onOff(6), C, C),
    rw(sRestoreHotSpareOnInsertState, "getRestoreHotSpareOnInsertState", "setRestoreHotSpareOnInsertState", "restoreHotSpareOnInsertion", u8At(offsetof(P, restoreHotSpareOnInsertion)), C, C),
    rw(sOnlineCtrlResetState, "getOnlineCtrlResetState", "setOnlineCtrlResetState", "disableOnlineCtrlReset", onOff(10), C, C),
    rw(sSesMultiPathConfig, "getSesMultiPathConfig", "setSesMultiPathConfig", "SESVPDAssociationTypeInMultiPathCfg", onOff2(2), E, E),
    rw(sBootWithPinnedCacheState, "getBootWithPinnedCacheState", "setBootWithPinnedCacheState", "allowBootWithPinnedCache", onOff(11), C, C),
    rw(sImmediateIO, "getImmediateIO", "setImmediateIO", "disableImmediateIO", onOff(25), E, E),
    rw(sDriveActivityLED, "getDriveActivityLED", "setDriveActivityLED", "driveActivityLED", onOff(30), E, E),
    rw(sLargeIOSupport, "getLargeIOSupport", "setLargeIOSupport", "enableLargeIOSupport", onOff2(0), E, E),
    rw(sAutoDetectBackPlaneState, "getautoDetectBackPlaneState", "setautoDetectBackPlaneState", "disableAutoDetectBackplane", u8At(offsetof(P, disableAutoDetectBackplane)), C, C),
    rw(sDefaultSnapshotSpace, "getDefaultSnapshotSpace", "setDefaultSnapshotSpace", "snapVDSpace", u8At(offsetof(P, snapVDSpace)), C, C),
    // Both space values are the whole byte 36, which the firmware overlays with the low eight
    // switches of OnOffProperties2: writing a space value rewrites those switches.
    rw(sDefaultViewSpace, "getDefaultViewSpace", "setDefaultViewSpace", "viewSpace", u8At(offsetof(P, viewSpace)), C, C),
    rw(sAutoSnapshotSpace, "getAutoSnapshotSpace", "setAutoSnapshotSpace", "autoSnapVDSpace", u8At(offsetof(P, autoSnapVDSpace)), C, C),
    rw(sDiskActivityForLocate, "isDiskActivityUsedForLocate", "setUseDiskActivityForLocate", "useDiskActivityForLocate", onOff(15), C, C),
    rw(sConfigAutoBalance, "getConfigAutoBalance", "setConfigAutoBalance", "enableConfigAutoBalance", onOff(22), C, C),
    rw(sDefaultLDPSPolicy, "getDefaultLDPSPolicy", "setDefaultLDPSPolicy", "defaultLdPSPolicy", u8At(offsetof(P, defaultLdPSPolicy)), C, C),
    rw(sDisableLDPSInterval, "getDisableLDPSInterval", "setDisableLDPSInterval", "disableLdPSInterval", u8At(offsetof(P, disableLdPSInterval)), C, C),
    rw(sDisableLdPsTime, "getDisableLdPsTime", "setDisableLdPsTime", "disableLdPSTime", u16At(offsetof(P, disableLdPSTime)), C, C),
    rw(sSpinUpEncDrvCnt, "getSpinUpEncDrvCnt", "setSpinUpEncDrvCnt", "spinupEnclDriveCount", u8At(offsetof(P, spinupEnclDriveCount)), C, C),
    rw(sSpinUpEncDelay, "getSpinUpEncDelay", "setSpinUpEncDelay", "spinupEnclDelay", u8At(offsetof(P, spinupEnclDelay)), C, C),
    rw(sLDRestriction, "getLDRestriction", "setLDRestriction", "ignore64ldRestriction", onOff(27), E, E),
    rw(sFwBootTypeMode, "getFwBootTypeMode", "setFwBootTypeMode", "activeFWImageSelect", onOff2(3), E, E),
    rw(sDisableSESMonitoring, "getDisableSESMonitoring", "setDisableSESMonitoring", "disableSESMonitoring", onOff(31), E, E),
    rw(sLimitMaxRateSATA3G, "getLimitMaxRateSATA3G", "setLimitMaxRateSATA3G", "limitMaxRateSATA3G", onOff(29), E, E),
    rw(sHDDThermalPollInterval, "getHDDThermalPollInterval", "setHDDThermalPollInterval", "HDDThermalPollInterval", u16At(offsetof(P, HDDThermalPollInterval)), E, E),
    rw(sSSDThermalPollInterval, "getSSDThermalPollInterval", "setSSDThermalPollInterval", "SSDThermalPollInterval", u16At(offsetof(P, SSDThermalPollInterval)), E, E),
    rw(sJbodWriteCache, "getJbodWriteCache", "setJbodWriteCache", "diskCacheSettingForSysPDs", u8At(offsetof(P, diskCacheSettingForSysPDs)), E, E),
    rw(sPDDgdDetectionType, "getPDDgdDetectionType", "setPDDgdDetectionType", "detectionType", bitsAt(offsetof(P, pdDegradedMediaOptions), 0, 2), C, E),
    rw(sPDDgdCorrectiveAction, "getPDDgdCorrectiveAction", "setPDDgdCorrectiveAction", "correctiveAction", bitsAt(offsetof(P, pdDegradedMediaOptions), 2, 1), E, E),
    rw(sPDDgdErrorThreshold, "getPDDgdErrorThreshold", "setPDDgdErrorThreshold", "errorThreshold", bitsAt(offsetof(P, pdDegradedMediaOptions), 4, 2), E, E),
    rw(sLargeQDepth, "getLargeQDepth", "setLargeQDepth", "enableLargeQD", onOff2(1), E, E),
    rw(sEnableSnapDump, "getEnableSnapDump", "setEnableSnapDump", "enableSnapDump", onOff2(4), E, E),
    rw(sScsiUnmap, "getScsiUnmap", "setScsiUnmap", "disableScsiUnmap", onOff2(5), E, E),
    rw(sFirmwareBasedDeviceOrdering, "getFirmwareBasedDeviceOrdering", "setFirmwareBasedDeviceOrdering", "enableFwDevOrder", onOff2(6), E, E),
    rw(sPredFailDAInterval, "getPredFailDAInterval", "setPredFailDAInterval", "predFailDAInterval", u16At(offsetof(KV_CTRL_PROP_EXT, ctrlProp2.predFailDAInterval), Rec::PropExt), E, E),
    rw(sParityReadCacheByPass, "getParityReadCacheByPass", "setParityReadCacheByPass", "parityReadCacheBypass", onOff2(7), E, E),

    ro(sEccBucketCount, "getEccBucketCount", "eccBucketCount", u16At(offsetof(I, eccBucketCount), Rec::Info), E),
    ro(sMemUnCorrectableErrorCount, "getmemUnCorrectableErrorCount", "memUnCorrectableErrorCount", u16At(offsetof(I, memUnCorrectableErrorCount), Rec::Info), C),
    ro(sJBODSupported, "isJBODSupported", "supportJBOD", flag32(offsetof(I, adapterOperations2), 11, Rec::Info), C),
    ro(sBlockSSDWriteCacheChange, "isBlockSSDWriteCacheChange", "blockSSDWriteCacheChange", flag32(offsetof(I, adapterOperations2), 6, Rec::Info), E),
    ro(sRevertibleHotSparesState, "getRevertibleHotSparesState", "revertibleHotSpares", flag32(offsetof(I, adapterOperations), 10, Rec::Info), C),
    ro(sSecurityOnJBODSupported, "isSecurityOnJBODSupported", "supportSecurityonJBOD", flag32(offsetof(I, adapterOperations3), 18, Rec::Info), E),
    ro(sAllowedOpsforDrvRemoval, "isSupportAllowedOpsforDrvRemoval", "supportAllowedOpsforDrvRemoval", flag32(offsetof(I, adapterOperations3), 12, Rec::Info), E),
    ro(sLargeIOSupported, "isLargeIOSupported", "supportLargeIO", flag32(offsetof(I, adapterOperations3), 30, Rec::Info), E),
    // The byte says power savings are *disabled*; it is passed through as it stands.
    ro(sPowerSavingsSupported, "isPowerSavingsSupported", "disablePowerSavings", u8At(offsetof(KV_MFC_DEFAULTS, disablePowerSavings), Rec::Mfc), E),
};
// clang-format on

constexpr std::size_t kRecSize[] = {sizeof(KV_CTRL_PROP), sizeof(KV_CTRL_PROP_EXT),
                                    sizeof(KV_CTRL_INFO), sizeof(KV_MFC_DEFAULTS)};

// Every row sits at its own index and inside its record, with its bits inside its unit.
constexpr bool tableIsConsistent() {
    if (sizeof(kSettings) / sizeof(kSettings[0]) != sCount) {
        return false;
    }
    for (unsigned i = 0; i < sCount; ++i) {
        const Setting& s = kSettings[i];
        const Field& f = s.field;
        if (s.row != i || s.getName == nullptr || s.fieldName == nullptr) {
            return false;
        }
        if (f.bytes != 1 && f.bytes != 2 && f.bytes != 4) {
            return false;
        }
        if (f.bits == 0 || f.shift + f.bits > 8u * f.bytes) {
            return false;
        }
        if (f.offset + f.bytes > kRecSize[static_cast<unsigned>(f.rec)]) {
            return false;
        }
        if (s.setName != nullptr && (f.rec == Rec::Info || f.rec == Rec::Mfc)) {
            return false;
        }
    }
    return true;
}
static_assert(tableIsConsistent(), "controller setting table");

constexpr std::uint32_t maskOf(unsigned bits) {
    return bits >= 32 ? 0xFFFFFFFFu : ((1u << bits) - 1u);
}

std::uint32_t loadUnit(const unsigned char* p, unsigned bytes) {
    std::uint32_t v = 0;
    for (unsigned i = 0; i < bytes; ++i) {
        v |= static_cast<std::uint32_t>(p[i]) << (8u * i);
    }
    return v;
}

void storeUnit(unsigned char* p, unsigned bytes, std::uint32_t v) {
    for (unsigned i = 0; i < bytes; ++i) {
        p[i] = static_cast<unsigned char>(v >> (8u * i));
    }
}

} // namespace

// The caller's out-value of a setting getter: its address and type.
struct AdapterDataKvi::SettingOut {
    enum class Kind : std::uint8_t { U8, U16, U32, Bool };
    void* ptr;
    Kind kind;

    void put(std::uint32_t v) const {
        switch (kind) {
        case Kind::U8:
            *static_cast<unsigned char*>(ptr) = static_cast<unsigned char>(v);
            break;
        case Kind::U16:
            *static_cast<unsigned short*>(ptr) = static_cast<unsigned short>(v);
            break;
        case Kind::U32:
            *static_cast<unsigned int*>(ptr) = v;
            break;
        case Kind::Bool:
            *static_cast<bool*>(ptr) = v != 0;
            break;
        }
    }
};

namespace {
using Out = AdapterDataKvi::SettingOut;
Out outOf(unsigned char* p) {
    return {p, Out::Kind::U8};
}
Out outOf(unsigned short* p) {
    return {p, Out::Kind::U16};
}
Out outOf(unsigned int* p) {
    return {p, Out::Kind::U32};
}
Out outOf(bool* p) {
    return {p, Out::Kind::Bool};
}

// Setters that take their value through a pointer read it once; a null pointer is refused.
template <typename T> const std::uint32_t* valueOf(const T* p, std::uint32_t& slot) {
    if (p == nullptr) {
        return nullptr;
    }
    slot = static_cast<std::uint32_t>(*p);
    return &slot;
}

void logExit(Exit exit, const char* name, const char* fieldName, std::uint32_t value, int rc) {
    switch (exit) {
    case Exit::Plain:
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
        break;
    case Exit::RetCode:
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
        break;
    case Exit::Value:
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s, %s = %d, retCode = %d", name, fieldName,
                  static_cast<int>(value), rc);
        break;
    }
}
} // namespace

// ---------------------------------------------------------------------------
// The generic accessors

int AdapterDataKvi::settingGet(unsigned row, const SettingOut& out) {
    const Setting& s = kSettings[row];
    const Field& f = s.field;
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", s.getName);
    if (out.ptr == nullptr) {
        return -1;
    }

    int rc = 0;
    const unsigned char* rec = nullptr;
    switch (f.rec) {
    case Rec::Prop:
    case Rec::PropExt:
        rc = getKvCtlrProp();
        rec = f.rec == Rec::Prop ? reinterpret_cast<const unsigned char*>(kvCtrlPropPtr_)
                                 : reinterpret_cast<const unsigned char*>(kvCtrlPropExtPtr_);
        break;
    case Rec::Info:
        rc = getCtlrInfo();
        rec = reinterpret_cast<const unsigned char*>(kvCtrlInfoPtr_);
        break;
    case Rec::Mfc:
        rc = getMFCdata();
        rec = reinterpret_cast<const unsigned char*>(kvMFCDefPtr_);
        break;
    }
    if (rc != 0 && s.getForm == Form::Early) {
        return rc;
    }
    if (rc == 0 && rec == nullptr) {
        // Only the properties extension can be missing after a good load: the controller
        // has none (or its read failed). There is no field to read.
        return -1;
    }

    std::uint32_t value = 0;
    if (rec != nullptr) {
        value = (loadUnit(rec + f.offset, f.bytes) >> f.shift) & maskOf(f.bits);
        if (s.getConv == GetConv::NonZero) {
            value = value != 0 ? 1u : 0u;
        }
        out.put(value);
    }
    logExit(s.getExit, s.getName, s.fieldName, value, rc);
    return rc;
}

int AdapterDataKvi::settingSet(unsigned row, const std::uint32_t* value) {
    const Setting& s = kSettings[row];
    const Field& f = s.field;
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", s.setName);
    if (value == nullptr) {
        return -1;
    }

    const int rc = getKvCtlrProp();
    if (rc != 0 && s.setForm == Form::Early) {
        return rc;
    }
    unsigned char* rec = f.rec == Rec::Prop ? reinterpret_cast<unsigned char*>(kvCtrlPropPtr_)
                                            : reinterpret_cast<unsigned char*>(kvCtrlPropExtPtr_);
    if (rc == 0 && rec == nullptr) {
        // No properties extension held: nothing to change and nothing to write back.
        return -1;
    }

    if (rec != nullptr) {
        bool store = true;
        std::uint32_t v = *value;
        if (s.setConv == SetConv::Invert01) {
            store = v == 0 || v == 1;
            v = v == 1 ? 0u : 1u;
        }
        if (store) {
            const std::uint32_t mask = maskOf(f.bits) << f.shift;
            std::uint32_t unit = loadUnit(rec + f.offset, f.bytes);
            unit = (unit & ~mask) | ((v << f.shift) & mask);
            storeUnit(rec + f.offset, f.bytes, unit);
        }
    }
    // A carry-on setter whose load failed raises the flag all the same; the write-back then
    // finds no record and answers -1.
    if (f.rec == Rec::PropExt) {
        kvCtrlPropertiesExtChanged_ = true;
    } else {
        kvAdpPropertiesChanged_ = true;
    }
    logExit(s.setExit, s.setName, s.fieldName, 0, rc);
    return rc;
}

// ---------------------------------------------------------------------------
// The operations. Each keeps its declared signature and hands its row to the generic accessor.

#define KVI_SETTING_GET(op, row, T)                                                                \
    int AdapterDataKvi::op(T* out) {                                                               \
        return settingGet(row, outOf(out));                                                        \
    }
#define KVI_SETTING_SET_PTR(op, row, T)                                                            \
    int AdapterDataKvi::op(T* value) {                                                             \
        std::uint32_t v = 0;                                                                       \
        return settingSet(row, valueOf(value, v));                                                 \
    }
#define KVI_SETTING_SET_VAL(op, row, T)                                                            \
    int AdapterDataKvi::op(T value) {                                                              \
        const std::uint32_t v = static_cast<std::uint32_t>(value);                                 \
        return settingSet(row, &v);                                                                \
    }

// Getters, in interface order.
KVI_SETTING_GET(getRebuildRate, sRebuildRate, unsigned char)
KVI_SETTING_GET(getseqNum, sSeqNum, unsigned short)
KVI_SETTING_GET(getpredFailPollInterval, sPredFailPollInterval, unsigned short)
KVI_SETTING_GET(getintThrottleCount, sIntThrottleCount, unsigned short)
KVI_SETTING_GET(getintThrottleTimeUs, sIntThrottleTimeUs, unsigned short)
KVI_SETTING_GET(getpatrolReadRate, sPatrolReadRate, unsigned char)
KVI_SETTING_GET(getbgiRate, sBgiRate, unsigned char)
KVI_SETTING_GET(getccRate, sCcRate, unsigned char)
KVI_SETTING_GET(getreconRate, sReconRate, unsigned char)
KVI_SETTING_GET(getcacheFlushInterval, sCacheFlushInterval, unsigned char)
KVI_SETTING_GET(getspinupDriveCount, sSpinupDriveCount, unsigned char)
KVI_SETTING_GET(getspinupDelay, sSpinupDelay, unsigned char)
KVI_SETTING_GET(getclusterState, sClusterState, unsigned char)
KVI_SETTING_GET(getBatteryWarningState, sBatteryWarningState, unsigned char)
KVI_SETTING_GET(getEccBucketSize, sEccBucketSize, unsigned char)
KVI_SETTING_GET(getEccBucketLeakRate, sEccBucketLeakRate, unsigned short)
KVI_SETTING_GET(getEccBucketCount, sEccBucketCount, unsigned short)
KVI_SETTING_GET(getmemUnCorrectableErrorCount, sMemUnCorrectableErrorCount, unsigned short)
KVI_SETTING_GET(getAbortCCOnError, sAbortCCOnError, unsigned char)
KVI_SETTING_GET(getcoercionMode, sCoercionMode, unsigned char)
KVI_SETTING_GET(getautoRbldState, sAutoRbldState, unsigned char)

KVI_SETTING_GET(getCopyBackState, sCopyBackState, unsigned int)
KVI_SETTING_GET(getJBODState, sJBODState, unsigned int)
KVI_SETTING_GET(isJBODSupported, sJBODSupported, unsigned int)
KVI_SETTING_GET(getCacheBypassState, sCacheBypassState, unsigned int)
KVI_SETTING_GET(getSMARTCopyBackState, sSMARTCopyBackState, unsigned int)
KVI_SETTING_GET(getSSDSMARTCopyBackState, sSSDSMARTCopyBackState, unsigned int)
KVI_SETTING_GET(getEnableSpinDnUnconfState, sEnableSpinDnUnconfState, unsigned int)
KVI_SETTING_GET(getDisableSpinDnHSState, sDisableSpinDnHSState, unsigned int)
KVI_SETTING_GET(getSpinDownTime, sSpinDownTime, unsigned short)
KVI_SETTING_GET(getLoadBalanceState, sLoadBalanceState, unsigned int)
KVI_SETTING_GET(getNCQState, sNCQState, unsigned int)
KVI_SETTING_GET(getMaintPDFailHistState, sMaintPDFailHistState, unsigned char)
KVI_SETTING_GET(getExposeEnclDevicesState, sExposeEnclDevicesState, unsigned char)
KVI_SETTING_GET(getAutoEnhancedImportState, sAutoEnhancedImportState, unsigned int)
KVI_SETTING_GET(getUseFDEOnlyEncrypt, sUseFDEOnlyEncrypt, unsigned int)
KVI_SETTING_GET(getPrCorrectUncfgdAreas, sPrCorrectUncfgdAreas, unsigned int)
KVI_SETTING_GET(getSSDPatrolReadState, sSSDPatrolReadState, unsigned char)
KVI_SETTING_GET(getRevertibleHotSparesState, sRevertibleHotSparesState, unsigned short)

KVI_SETTING_GET(getRestoreHotSpareOnInsertState, sRestoreHotSpareOnInsertState, unsigned char)
KVI_SETTING_GET(getOnlineCtrlResetState, sOnlineCtrlResetState, unsigned char)
KVI_SETTING_GET(getSesMultiPathConfig, sSesMultiPathConfig, unsigned char)
KVI_SETTING_GET(getBootWithPinnedCacheState, sBootWithPinnedCacheState, unsigned char)
KVI_SETTING_GET(getImmediateIO, sImmediateIO, unsigned char)
KVI_SETTING_GET(getDriveActivityLED, sDriveActivityLED, unsigned char)
KVI_SETTING_GET(getLargeIOSupport, sLargeIOSupport, unsigned char)
KVI_SETTING_GET(getFlushWriteVerify, sFlushWriteVerify, unsigned char)

// Setters, in interface order.
KVI_SETTING_SET_PTR(setRebuildRate, sRebuildRate, unsigned char)
KVI_SETTING_SET_PTR(setseqNum, sSeqNum, unsigned short)
KVI_SETTING_SET_PTR(setpredFailPollInterval, sPredFailPollInterval, unsigned short)
KVI_SETTING_SET_PTR(setintThrottleCount, sIntThrottleCount, unsigned short)
KVI_SETTING_SET_PTR(setintThrottleTimeUs, sIntThrottleTimeUs, unsigned short)
KVI_SETTING_SET_PTR(setpatrolReadRate, sPatrolReadRate, unsigned char)
KVI_SETTING_SET_PTR(setbgiRate, sBgiRate, unsigned char)
KVI_SETTING_SET_PTR(setccRate, sCcRate, unsigned char)
KVI_SETTING_SET_PTR(setreconRate, sReconRate, unsigned char)
KVI_SETTING_SET_PTR(setcacheFlushInterval, sCacheFlushInterval, unsigned char)
KVI_SETTING_SET_PTR(setspinupDriveCount, sSpinupDriveCount, unsigned char)
KVI_SETTING_SET_PTR(setspinupDelay, sSpinupDelay, unsigned char)
KVI_SETTING_SET_VAL(setclusterState, sClusterState, unsigned char)
KVI_SETTING_SET_VAL(setBatteryWarningState, sBatteryWarningState, unsigned char)
KVI_SETTING_SET_VAL(setEccBucketSize, sEccBucketSize, unsigned char)
KVI_SETTING_SET_VAL(setEccBucketLeakRate, sEccBucketLeakRate, unsigned short)
KVI_SETTING_SET_VAL(setAbortCCOnError, sAbortCCOnError, unsigned char)
KVI_SETTING_SET_PTR(setcoercionMode, sCoercionMode, unsigned char)
KVI_SETTING_SET_PTR(setautoRbldState, sAutoRbldState, unsigned char)

KVI_SETTING_SET_PTR(setCopyBackState, sCopyBackState, unsigned int)
KVI_SETTING_SET_PTR(setJBODState, sJBODState, unsigned int)
KVI_SETTING_SET_PTR(setCacheBypassState, sCacheBypassState, unsigned int)
KVI_SETTING_SET_PTR(setSMARTCopyBackState, sSMARTCopyBackState, unsigned int)
KVI_SETTING_SET_PTR(setSSDSMARTCopyBackState, sSSDSMARTCopyBackState, unsigned int)
KVI_SETTING_SET_VAL(setEnableSpinDnUnconfState, sEnableSpinDnUnconfState, unsigned int)
KVI_SETTING_SET_VAL(setDisableSpinDnHSState, sDisableSpinDnHSState, unsigned int)
KVI_SETTING_SET_VAL(setSpinDownTime, sSpinDownTime, unsigned short)
KVI_SETTING_SET_PTR(setLoadBalanceState, sLoadBalanceState, unsigned int)
KVI_SETTING_SET_VAL(setNCQState, sNCQState, unsigned int)
KVI_SETTING_SET_PTR(setMaintPDFailHistState, sMaintPDFailHistState, unsigned char)
KVI_SETTING_SET_VAL(setAutoEnhancedImportState, sAutoEnhancedImportState, unsigned int)
KVI_SETTING_SET_PTR(setUseFDEOnlyEncrypt, sUseFDEOnlyEncrypt, unsigned int)
KVI_SETTING_SET_PTR(setPrCorrectUncfgdAreas, sPrCorrectUncfgdAreas, unsigned int)
KVI_SETTING_SET_VAL(setSSDPatrolReadState, sSSDPatrolReadState, unsigned char)

KVI_SETTING_SET_VAL(setFlushWriteVerify, sFlushWriteVerify, unsigned char)
KVI_SETTING_SET_VAL(setRestoreHotSpareOnInsertState, sRestoreHotSpareOnInsertState, unsigned char)
KVI_SETTING_SET_VAL(setOnlineCtrlResetState, sOnlineCtrlResetState, unsigned char)
KVI_SETTING_SET_VAL(setSesMultiPathConfig, sSesMultiPathConfig, unsigned char)
KVI_SETTING_SET_VAL(setBootWithPinnedCacheState, sBootWithPinnedCacheState, unsigned char)
KVI_SETTING_SET_VAL(setImmediateIO, sImmediateIO, unsigned char)
KVI_SETTING_SET_VAL(setDriveActivityLED, sDriveActivityLED, unsigned char)
KVI_SETTING_SET_VAL(setLargeIOSupport, sLargeIOSupport, unsigned char)
KVI_SETTING_SET_PTR(setExposeEnclDevicesState, sExposeEnclDevicesState, unsigned char)

// The per-drive key and secure-all settings have no field in the properties: these load the
// properties and report the load, touching neither the argument nor the record.
int AdapterDataKvi::getSecurityKeyPerPD(unsigned int* out) {
    (void)out;
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSecurityKeyPerPD");
    return getKvCtlrProp();
}

int AdapterDataKvi::setSecurityKeyPerPD(unsigned int* value) {
    (void)value;
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setSecurityKeyPerPD");
    return getKvCtlrProp();
}

int AdapterDataKvi::getSecureAllPDs(unsigned int* out) {
    (void)out;
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSecureAllPDs");
    return getKvCtlrProp();
}

int AdapterDataKvi::setSecureAllPDs(unsigned int* value) {
    (void)value;
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setSecureAllPDs");
    return getKvCtlrProp();
}

KVI_SETTING_GET(getDefaultSnapshotSpace, sDefaultSnapshotSpace, unsigned char)
KVI_SETTING_SET_VAL(setDefaultSnapshotSpace, sDefaultSnapshotSpace, unsigned char)
KVI_SETTING_GET(getDefaultViewSpace, sDefaultViewSpace, unsigned char)
KVI_SETTING_SET_VAL(setDefaultViewSpace, sDefaultViewSpace, unsigned char)
KVI_SETTING_GET(getAutoSnapshotSpace, sAutoSnapshotSpace, unsigned char)
KVI_SETTING_SET_VAL(setAutoSnapshotSpace, sAutoSnapshotSpace, unsigned char)
KVI_SETTING_GET(getPreventPIImport, sPreventPIImport, unsigned char)
KVI_SETTING_SET_PTR(setPreventPIImport, sPreventPIImport, unsigned char)
KVI_SETTING_GET(getPreventEnablePI, sPreventEnablePI, unsigned char)
KVI_SETTING_SET_PTR(setPreventEnablePI, sPreventEnablePI, unsigned char)
KVI_SETTING_GET(getfailPdOnSmartError, sFailPdOnSmartError, unsigned char)
KVI_SETTING_SET_PTR(setfailPdOnSmartError, sFailPdOnSmartError, unsigned char)
KVI_SETTING_GET(getForceSGPIO, sForceSGPIO, unsigned char)
KVI_SETTING_SET_PTR(setForceSGPIO, sForceSGPIO, unsigned char)
KVI_SETTING_GET(getUseGlobalSparesForEmergency, sUseGlobalSparesForEmergency, unsigned char)
KVI_SETTING_GET(getUseUnconfGoodForEmergency, sUseUnconfGoodForEmergency, unsigned char)
KVI_SETTING_GET(getUseEmergencySparesForSMARTer, sUseEmergencySparesForSMARTer, unsigned char)
KVI_SETTING_SET_PTR(setUseUnconfGoodForEmergency, sUseUnconfGoodForEmergency, unsigned char)
KVI_SETTING_SET_PTR(setUseEmergencySparesForSMARTer, sUseEmergencySparesForSMARTer, unsigned char)
KVI_SETTING_SET_PTR(setUseGlobalSparesForEmergency, sUseGlobalSparesForEmergency, unsigned char)
KVI_SETTING_GET(getautoDetectBackPlaneState, sAutoDetectBackPlaneState, unsigned char)
KVI_SETTING_SET_PTR(setautoDetectBackPlaneState, sAutoDetectBackPlaneState, unsigned char)
KVI_SETTING_GET(isDiskActivityUsedForLocate, sDiskActivityForLocate, unsigned char)
KVI_SETTING_SET_VAL(setUseDiskActivityForLocate, sDiskActivityForLocate, unsigned char)
KVI_SETTING_GET(getConfigAutoBalance, sConfigAutoBalance, unsigned int)
KVI_SETTING_SET_VAL(setConfigAutoBalance, sConfigAutoBalance, unsigned int)
KVI_SETTING_GET(isPowerSavingsSupported, sPowerSavingsSupported, unsigned char)
KVI_SETTING_GET(getDefaultLDPSPolicy, sDefaultLDPSPolicy, unsigned char)
KVI_SETTING_SET_VAL(setDefaultLDPSPolicy, sDefaultLDPSPolicy, unsigned char)
KVI_SETTING_GET(getDisableLDPSInterval, sDisableLDPSInterval, unsigned char)
KVI_SETTING_SET_VAL(setDisableLDPSInterval, sDisableLDPSInterval, unsigned char)
KVI_SETTING_GET(getDisableLdPsTime, sDisableLdPsTime, unsigned short)
KVI_SETTING_SET_VAL(setDisableLdPsTime, sDisableLdPsTime, unsigned short)
KVI_SETTING_GET(getSpinUpEncDrvCnt, sSpinUpEncDrvCnt, unsigned char)
KVI_SETTING_SET_VAL(setSpinUpEncDrvCnt, sSpinUpEncDrvCnt, unsigned char)
KVI_SETTING_GET(getSpinUpEncDelay, sSpinUpEncDelay, unsigned char)
KVI_SETTING_SET_VAL(setSpinUpEncDelay, sSpinUpEncDelay, unsigned char)

int AdapterDataKvi::getLDRestriction(bool& out) {
    return settingGet(sLDRestriction, outOf(&out));
}
KVI_SETTING_SET_VAL(setLDRestriction, sLDRestriction, bool)

KVI_SETTING_GET(getFwBootTypeMode, sFwBootTypeMode, unsigned char)
KVI_SETTING_SET_VAL(setFwBootTypeMode, sFwBootTypeMode, unsigned char)
KVI_SETTING_GET(getDisableSESMonitoring, sDisableSESMonitoring, unsigned char)
KVI_SETTING_SET_VAL(setDisableSESMonitoring, sDisableSESMonitoring, unsigned char)
KVI_SETTING_GET(getLimitMaxRateSATA3G, sLimitMaxRateSATA3G, unsigned char)
KVI_SETTING_SET_VAL(setLimitMaxRateSATA3G, sLimitMaxRateSATA3G, unsigned char)
KVI_SETTING_GET(isBlockSSDWriteCacheChange, sBlockSSDWriteCacheChange, bool)
KVI_SETTING_GET(isSecurityOnJBODSupported, sSecurityOnJBODSupported, unsigned int)
KVI_SETTING_GET(isSupportAllowedOpsforDrvRemoval, sAllowedOpsforDrvRemoval, unsigned int)
KVI_SETTING_GET(isLargeIOSupported, sLargeIOSupported, unsigned int)
KVI_SETTING_GET(getHDDThermalPollInterval, sHDDThermalPollInterval, unsigned short)
KVI_SETTING_SET_PTR(setHDDThermalPollInterval, sHDDThermalPollInterval, unsigned short)
KVI_SETTING_GET(getSSDThermalPollInterval, sSSDThermalPollInterval, unsigned short)
KVI_SETTING_SET_PTR(setSSDThermalPollInterval, sSSDThermalPollInterval, unsigned short)
KVI_SETTING_GET(getJbodWriteCache, sJbodWriteCache, unsigned char)
KVI_SETTING_SET_PTR(setJbodWriteCache, sJbodWriteCache, unsigned char)
KVI_SETTING_GET(getPDDgdDetectionType, sPDDgdDetectionType, unsigned char)
KVI_SETTING_SET_VAL(setPDDgdDetectionType, sPDDgdDetectionType, unsigned char)
KVI_SETTING_GET(getPDDgdCorrectiveAction, sPDDgdCorrectiveAction, unsigned char)
KVI_SETTING_SET_VAL(setPDDgdCorrectiveAction, sPDDgdCorrectiveAction, unsigned char)
KVI_SETTING_GET(getPDDgdErrorThreshold, sPDDgdErrorThreshold, unsigned char)
KVI_SETTING_SET_VAL(setPDDgdErrorThreshold, sPDDgdErrorThreshold, unsigned char)
KVI_SETTING_GET(getLargeQDepth, sLargeQDepth, unsigned char)
KVI_SETTING_SET_VAL(setLargeQDepth, sLargeQDepth, unsigned char)
KVI_SETTING_GET(getEnableSnapDump, sEnableSnapDump, unsigned char)
KVI_SETTING_SET_VAL(setEnableSnapDump, sEnableSnapDump, unsigned char)
KVI_SETTING_GET(getScsiUnmap, sScsiUnmap, unsigned char)
KVI_SETTING_SET_VAL(setScsiUnmap, sScsiUnmap, unsigned char)
KVI_SETTING_GET(getFirmwareBasedDeviceOrdering, sFirmwareBasedDeviceOrdering, unsigned char)
KVI_SETTING_SET_VAL(setFirmwareBasedDeviceOrdering, sFirmwareBasedDeviceOrdering, unsigned char)
// These two work on the properties extension and are written back by endCtlrPropExtUpdate;
// without an extension they answer -1.
KVI_SETTING_GET(getPredFailDAInterval, sPredFailDAInterval, unsigned short)
KVI_SETTING_SET_VAL(setPredFailDAInterval, sPredFailDAInterval, unsigned short)
KVI_SETTING_GET(getParityReadCacheByPass, sParityReadCacheByPass, bool)
KVI_SETTING_SET_VAL(setParityReadCacheByPass, sParityReadCacheByPass, bool)

#undef KVI_SETTING_GET
#undef KVI_SETTING_SET_PTR
#undef KVI_SETTING_SET_VAL
