// Every operation of the adapter, called with sane arguments over every bundled
// profile of the simulator: the simulator must understand each request the
// adapter builds. A request it answers as malformed (invalid parameter) or does
// not know at all is a disagreement between the two about opcode, mailbox or
// transfer length, unless the table of expected refusals below explains it.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Controller.h"
#include "provider/ProcessInputs.h"
#include "provider/System.h"
#include "sim/Simulator.h"
#include "util/ArList.h"
#include "json/elements.h"

namespace {

// ---- arguments by parameter type: plausible values a caller would pass ----
template <class T> constexpr bool isByte() {
    return std::is_same<T, char>::value || std::is_same<T, unsigned char>::value;
}

template <class T, class = void> struct Arg;

template <class T> struct Arg<T, std::enable_if_t<std::is_arithmetic<T>::value>> {
    T get() { return T(); }
};

template <class T> struct Arg<T*, std::enable_if_t<std::is_arithmetic<T>::value && !isByte<T>()>> {
    T v = T();
    T* get() { return &v; }
};

// A plain byte pointer is an out-value or a caller buffer: room for the
// largest buffer an operation states (the event capture answer).
template <class T> struct Arg<T*, std::enable_if_t<isByte<T>()>> {
    std::vector<T> buf = std::vector<T>(32768);
    T* get() { return buf.data(); }
};

template <class T>
struct Arg<T*, std::enable_if_t<std::is_class<T>::value && std::is_trivially_copyable<T>::value>> {
    T v{};
    T* get() { return &v; }
};

// 1 July 2025 02:30 local time: a start time inside the firmware epoch.
std::tm startTime() {
    std::tm t{};
    t.tm_year = 125;
    t.tm_mon = 6;
    t.tm_mday = 1;
    t.tm_hour = 2;
    t.tm_min = 30;
    t.tm_isdst = -1;
    return t;
}

template <> struct Arg<const std::tm*> {
    std::tm t = startTime();
    const std::tm* get() { return &t; }
};

// Results handed back through T** belong to the caller, except the two
// operations that point into the object (released by the walk's owner flag).
bool gBorrowed = false;
template <class T> struct Arg<T**> {
    T* p = nullptr;
    bool owned = !gBorrowed;
    Arg() = default;
    Arg(Arg&& o) noexcept : p(o.p), owned(o.owned) { o.p = nullptr; }
    ~Arg() {
        if (!owned)
            return;
        if constexpr (std::is_same<T, unsigned char>::value)
            delete[] p;
        else
            delete p;
    }
    T** get() { return &p; }
};

template <class E> struct Arg<ArrayList<E>*> {
    ArrayList<E> list;
    ArrayList<E>* get() { return &list; }
};
template <class E> struct Arg<const ArrayList<E>*> {
    ArrayList<E> list;
    const ArrayList<E>* get() { return &list; }
};
template <> struct Arg<std::string&> {
    std::string s;
    std::string& get() { return s; }
};
template <> struct Arg<bool&> {
    bool b = false;
    bool& get() { return b; }
};
template <> struct Arg<json::Object&> {
    json::Object o;
    json::Object& get() { return o; }
};
template <> struct Arg<json::Array&> {
    json::Array a;
    json::Array& get() { return a; }
};
template <> struct Arg<json::Array*> {
    json::Array a;
    json::Array* get() { return &a; }
};

// The status of the last call (0 for operations that answer a value itself).
int gStatus = 0;

template <class R, class... A> void invoke(AdapterData& a, R (AdapterData::*fn)(A...)) {
    std::tuple<Arg<A>...> args;
    std::apply(
        [&](auto&... arg) {
            R r = (a.*fn)(arg.get()...);
            gStatus = std::is_same<R, int>::value ? static_cast<int>(r) : 0;
        },
        args);
}

struct Operation {
    const char* name;
    std::function<void(AdapterData&)> call;
};

// Operations whose plain arguments need a value a user would give.
std::vector<Operation> explicitCalls() {
    std::vector<Operation> ops;
    auto add = [&](const char* n, std::function<void(AdapterData&)> f) {
        ops.push_back({n, std::move(f)});
    };
    add("setBootVd(VirtualDisk*)", [](AdapterData& a) {
        VirtualDisk vd(1);
        (void)a.setBootVd(&vd);
    });
    add("setBootVd(PhysicalDevice*)", [](AdapterData& a) {
        PhysicalDevice pd(8);
        (void)a.setBootVd(&pd);
    });
    add("setPersonality(unsigned short)", [](AdapterData& a) { (void)a.setPersonality(1); });
    add("setPersonality(unsigned short, unsigned short)",
        [](AdapterData& a) { (void)a.setPersonality(1, 0); });
    return ops;
}

} // namespace

namespace {

// ---- the operations ----
#define OP(n) {#n, [](AdapterData& a) { invoke(a, &AdapterData::n); }},
const std::vector<Operation>& generatedCalls() {
    static const std::vector<Operation> ops = {
        OP(getRebuildRate) OP(getseqNum) OP(getpredFailPollInterval) OP(getintThrottleCount) OP(
            getintThrottleTimeUs) OP(getpatrolReadRate) OP(getbgiRate) OP(getccRate)
            OP(getreconRate) OP(getcacheFlushInterval) OP(getspinupDriveCount) OP(
                getspinupDelay) OP(getclusterState) OP(getBatteryWarningState) OP(getEccBucketSize)
                OP(getEccBucketLeakRate) OP(getEccBucketCount) OP(getmemUnCorrectableErrorCount) OP(
                    getAbortCCOnError) OP(getcoercionMode) OP(getautoRbldState) OP(getalarmState)
                    OP(getCopyBackState) OP(getJBODState) OP(isJBODSupported) OP(
                        getCacheBypassState) OP(getSMARTCopyBackState) OP(getSSDSMARTCopyBackState)
                        OP(getEnableSpinDnUnconfState) OP(getDisableSpinDnHSState) OP(
                            getSpinDownTime) OP(getLoadBalanceState) OP(getNCQState)
                            OP(getMaintPDFailHistState) OP(getExposeEnclDevicesState) OP(
                                getAutoEnhancedImportState) OP(getUseFDEOnlyEncrypt)
                                OP(getPrCorrectUncfgdAreas) OP(getSSDPatrolReadState) OP(
                                    getRevertibleHotSparesState) OP(getKeyID) OP(getHostInfo)
                                    OP(getRestoreHotSpareOnInsertState) OP(getOnlineCtrlResetState) OP(
                                        getSesMultiPathConfig) OP(getBootWithPinnedCacheState)
                                        OP(getImmediateIO) OP(getDriveActivityLED) OP(
                                            getLargeIOSupport) OP(getFlushWriteVerify) OP(getDPMCfg) OP(setDPMState)
                                            OP(isExtMfgVPDFlashSupported) OP(setRebuildRate) OP(
                                                setseqNum) OP(setpredFailPollInterval) OP(setintThrottleCount) OP(setintThrottleTimeUs)
                                                OP(setpatrolReadRate) OP(
                                                    setbgiRate) OP(setccRate) OP(setreconRate)
                                                    OP(setcacheFlushInterval) OP(setspinupDriveCount) OP(
                                                        setspinupDelay) OP(setclusterState)
                                                        OP(setBatteryWarningState) OP(setEccBucketSize) OP(setEccBucketLeakRate) OP(
                                                            setAbortCCOnError) OP(setcoercionMode) OP(setautoRbldState)
                                                            OP(setalarmState) OP(setCopyBackState) OP(setJBODState) OP(setCacheBypassState) OP(
                                                                setSMARTCopyBackState) OP(setSSDSMARTCopyBackState)
                                                                OP(setEnableSpinDnUnconfState) OP(setDisableSpinDnHSState) OP(
                                                                    setSpinDownTime) OP(setLoadBalanceState)
                                                                    OP(
                                                                        setNCQState) OP(setMaintPDFailHistState)
                                                                        OP(setAutoEnhancedImportState) OP(
                                                                            setUseFDEOnlyEncrypt) OP(setPrCorrectUncfgdAreas)
                                                                            OP(setSSDPatrolReadState) OP(setKeyID) OP(
                                                                                setFlushWriteVerify) OP(beginCtlrPropUpdate)
                                                                                OP(endCtlrPropUpdate) OP(endCtlrPropExtUpdate) OP(
                                                                                    setRestoreHotSpareOnInsertState) OP(setOnlineCtrlResetState)
                                                                                    OP(setSesMultiPathConfig) OP(setBootWithPinnedCacheState) OP(
                                                                                        setImmediateIO) OP(setDriveActivityLED)
                                                                                        OP(setLargeIOSupport) OP(
                                                                                            getProfileData) OP(setExposeEnclDevicesState)
                                                                                            OP(getProfileMgmtSupport) OP(getShowBasic) OP(getShowVersion) OP(getShowBus) OP(getShowPendingImages) OP(getShowStatus) OP(getShowSupportedAdpOperations) OP(getShowSupportedPDOperations) OP(getSecureEKMSDetails) OP(getShowSupportedVDOperations) OP(getShowHwConfig) OP(getShowPolicies) OP(getShowBoot) OP(getShowClusterInfo) OP(getShowDefaults) OP(getShowCapabilities) OP(
                                                                                                getShowNextSchdTask) OP(getBasicCtrlInfo)
                                                                                                OP(getShowDualImages) OP(
                                                                                                    showSSCDFlush) OP(startDiagPhyLoopBackTest)
                                                                                                    OP(getbiosStatus) OP(
                                                                                                        setbiosStatus) OP(getbiosSOEStatus) OP(setbiosSOEStatus) OP(getbiosBEStatus) OP(setbiosBEStatus) OP(getbiosHCOEStatus) OP(setbiosHCOEStatus) OP(getbiosHSMStatus) OP(setbiosHSMStatus) OP(getbiosABS) OP(setbiosABS) OP(setbiosDeviceExposure) OP(getbiosDeviceExposure) OP(unsetBootVd) OP(getBootVdId) OP(getBootPdDevId) OP(getFwVersion) OP(getlocaleFwVersion) OP(getBIOSVersion) OP(getProductName) OP(getPackageVersion) OP(getBootBlkVersion) OP(beginBIOSDataUpdate) OP(endBIOSDataUpdate) OP(setfactoryDefaults)
                                                                                                        OP(flushCache) OP(clearEventLog) OP(
                                                                                                            getEventLogInfo) OP(getEventCnt)
                                                                                                            OP(getEventList) OP(
                                                                                                                startPr) OP(stopPr)
                                                                                                                OP(setPrMode) OP(
                                                                                                                    getPrMode)
                                                                                                                    OP(getPrState) OP(
                                                                                                                        getPrNumIteration)
                                                                                                                        OP(getPrNumPdComplete)
                                                                                                                            OP(getPrExecDelay)
                                                                                                                                OP(
                                                                                                                                    setPrExecDelay) OP(getPrConcurrentPd) OP(getMaxConcurrentPD) OP(setMaxConcurrentPD) OP(setPrStartTime) OP(getPatrolReadSchedStartTime) OP(setPRSchedExcludedLdList) OP(getPRSchedExcludedLdList) OP(ccSchedSupported) OP(setCcSchedMode) OP(getCcSchedMode)
                                                                                                                                    OP(getCcSchedExecDelay) OP(setCcScExecDelay) OP(getCcSchedStartTime) OP(setCcScStartTime) OP(getCcSchedState) OP(getCcSchedNumIteration) OP(getCcSchedNumLdDone) OP(getCcSchedExcludedLdList) OP(
                                                                                                                                        startDiag) OP(adpBBUTest)
                                                                                                                                        OP(isAllowMixInLd) OP(
                                                                                                                                            isAllowHDDSSDMix)
                                                                                                                                            OP(isAllowSSDMixInLd)
                                                                                                                                                OP(getDefaultWrPolicy) OP(getDefaultRdPolicy) OP(getDefaultCachePolicy) OP(getDefaultDiskCachePolicy) OP(getDefaultWriteCacheBadBBU) OP(getDiskCertificationPolicy) OP(getValidWrPolicyLst) OP(getValidRdPolicyLst) OP(getValidCachePolicy) OP(isDskCachePlChnglb) OP(isWritePolicy) OP(getMinStrpSz) OP(getMaxStrpSz) OP(getValidStrpSzLst) OP(getDefaultStrpSz) OP(isMultiSpanRaidLevel) OP(getMinSpanCount) OP(getMaxSpanCount) OP(getMinPdPerSpan) OP(getMaxPdPerSpan) OP(getSupportedRaidLevels) OP(isPRL11Supported) OP(isSRL03Supported) OP(getMaxAllowedVd) OP(
                                                                                                                                                    isSlicingSupportedWithSpanning) OP(adpShutDown) OP(adpRestart) OP(doesFWSupportAllowedOpValdation)
                                                                                                                                                    OP(isAddConfigAllowed) OP(isClearConfigAllowed) OP(isGen2Card) OP(isNewFrnCfgAPISupported) OP(isEnclEnumSupported) OP(moreThan8Phys) OP(isExpanderPresent) OP(isAlarmPresent) OP(getMuxCount) OP(getMuxMode) OP(setMuxMode) OP(
                                                                                                                                                        beginMuxModeUpdate) OP(endMuxModeUpdate) OP(getConnectorCount) OP(getConnectorLocation) OP(getConnectorName) OP(getConnectorsValue) OP(readManufacturingPage)
                                                                                                                                                        OP(writeManufacturingPage) OP(
                                                                                                                                                            getConfigPageGeneric) OP(getConfigPageInfo)
                                                                                                                                                            OP(getConfigPageInfoMPI2)
                                                                                                                                                                OP(getPhyCount)
                                                                                                                                                                    OP(isPhyDisable) OP(getSASAddress) OP(getSASPortNumber) OP(getSASPortNumberValid) OP(getConnectorIndex) OP(getLinkSpeed) OP(getPhyConnection) OP(setLinkSpeed) OP(getAllLaneConnectionInfo) OP(getLaneConnectionInfo) OP(getAdpSASAddress) OP(
                                                                                                                                                                        adpSetSASAdd) OP(getMaxLdPerArray) OP(isSecurityEnabled) OP(createLockKey) OP(rekeyLock) OP(lockKeyFromEscrow) OP(verifyLockKey)
                                                                                                                                                                        OP(getSuggestedSecurityKey) OP(
                                                                                                                                                                            destroyLockKey)
                                                                                                                                                                            OP(isLockKeyAssigned)
                                                                                                                                                                                OP(
                                                                                                                                                                                    isLockKeyFailed) OP(isPassPhraseError) OP(islockKeyRebootRequired) OP(getSecurityKeyPerPD) OP(setSecurityKeyPerPD) OP(getSecureAllPDs)
                                                                                                                                                                                    OP(setSecureAllPDs)
                                                                                                                                                                                        OP(getPreservedCacheVDBits)
                                                                                                                                                                                            OP(getPreservedCacheVDBitsExt)
                                                                                                                                                                                                OP(
                                                                                                                                                                                                    clearPreservedCacheData) OP(isTreatR1EAsR10) OP(isAutoSnapshotSupported) OP(getDefaultSnapshotSpace) OP(setDefaultSnapshotSpace)
                                                                                                                                                                                                    OP(getDefaultViewSpace)
                                                                                                                                                                                                        OP(setDefaultViewSpace) OP(getAutoSnapshotSpace) OP(setAutoSnapshotSpace) OP(isSnapshotSupported) OP(getSnapshotState) OP(
                                                                                                                                                                                                            getMaxConfigurableSSCSize) OP(getCurrentSSCSize) OP(getCurrentConfigSSCSize) OP(getSupportedRaidLevelsForBV) OP(sscForceFlush) OP(isEKMSupported) OP(createLockKeyUseEKMS)
                                                                                                                                                                                                            OP(RekeyLockKeyinEKMS) OP(getlockKeyBinding) OP(getbiosEKMStatus) OP(startAEC) OP(stopAEC) OP(disableAEC) OP(setAECCaptureMode) OP(getAEC) OP(showAECSettings) OP(
                                                                                                                                                                                                                filterAECMask)
                                                                                                                                                                                                                OP(getPreventPIImport)
                                                                                                                                                                                                                    OP(setPreventPIImport)
                                                                                                                                                                                                                        OP(getPreventEnablePI) OP(setPreventEnablePI) OP(isPISupported) OP(getfailPdOnSmartError) OP(setfailPdOnSmartError) OP(getForceSGPIO) OP(setForceSGPIO) OP(getBatteryState) OP(getBatteryTemperature) OP(
                                                                                                                                                                                                                            getBatteryTemperatureStatus)
                                                                                                                                                                                                                            OP(
                                                                                                                                                                                                                                getBatteryType) OP(getBatterySubType) OP(getBatteryDeviceName) OP(getBatteryDesignInfoTransparentLearnsSupport) OP(isBBUTransparentLearnSet) OP(isI2cErrorsDetected) OP(getBatteryFullCapacity) OP(getBatteryRemainingCapacity)
                                                                                                                                                                                                                                OP(getBattRelativeStateOfCharge) OP(getBattAvgTimeToEmpty) OP(getBatteryAutoLearnMode) OP(getBatteryAutoLearnPeriod) OP(getBatteryNextLearnTime) OP(setBatteryAutoLearnMode) OP(
                                                                                                                                                                                                                                    getWritePolicyChngReason) OP(getUseGlobalSparesForEmergency) OP(getUseUnconfGoodForEmergency) OP(getUseEmergencySparesForSMARTer) OP(setUseUnconfGoodForEmergency) OP(setUseEmergencySparesForSMARTer) OP(setUseGlobalSparesForEmergency) OP(clearAECMask)
                                                                                                                                                                                                                                    OP(isBreakMirrorSupported) OP(
                                                                                                                                                                                                                                        getautoDetectBackPlaneState)
                                                                                                                                                                                                                                        OP(setautoDetectBackPlaneState) OP(isDiskActivityUsedForLocate) OP(setUseDiskActivityForLocate)
                                                                                                                                                                                                                                            OP(getConfigAutoBalance)
                                                                                                                                                                                                                                                OP(setConfigAutoBalance)
                                                                                                                                                                                                                                                    OP(isPowerSavingsSupported)
                                                                                                                                                                                                                                                        OP(getDefaultLDPSPolicy) OP(setDefaultLDPSPolicy) OP(getDisableLDPSInterval)
                                                                                                                                                                                                                                                            OP(
                                                                                                                                                                                                                                                                setDisableLDPSInterval) OP(getDisableLdPsTime) OP(setDisableLdPsTime) OP(getSpinUpEncDrvCnt) OP(setSpinUpEncDrvCnt) OP(getSpinUpEncDelay) OP(setSpinUpEncDelay) OP(isCpldSupported) OP(suspendPr) OP(resumePr) OP(getSSDPrStatus) OP(setSSDPrStatus) OP(setEPDPrStatus) OP(getPerfMode)
                                                                                                                                                                                                                                                                OP(isCbsupported) OP(
                                                                                                                                                                                                                                                                    getLDRestriction)
                                                                                                                                                                                                                                                                    OP(setLDRestriction)
                                                                                                                                                                                                                                                                        OP(startManualLearnCycle)
                                                                                                                                                                                                                                                                            OP(getControllerInfo) OP(getSscdTargetIds) OP(setSscdTargetIds) OP(isBatteryHWPresent) OP(getBbuStatus) OP(getBbuFwStatus) OP(isBBUPresent) OP(isBriskoPresent) OP(getBbuOverallStatus) OP(getCtrlInfoBbu) OP(getWrPolicyDefaultChng) OP(getValidWrPolicyLstChng) OP(
                                                                                                                                                                                                                                                                                getFwBootTypeMode) OP(setFwBootTypeMode)
                                                                                                                                                                                                                                                                                OP(getDisableSESMonitoring)
                                                                                                                                                                                                                                                                                    OP(setDisableSESMonitoring) OP(getLimitMaxRateSATA3G) OP(setLimitMaxRateSATA3G) OP(isBlockSSDWriteCacheChange) OP(isSecurityOnJBODSupported) OP(isSupportAllowedOpsforDrvRemoval) OP(isLargeIOSupported) OP(moreThan16Phys) OP(doesAppNeedToBeUpdated) OP(doesFwNeedToBeUpdated) OP(getOem) OP(
                                                                                                                                                                                                                                                                                        isCtrlhas64VDLimit) OP(getIOVPrivateInfo) OP(downgrade) OP(getAutoConfigParam) OP(setAutoConfigParam) OP(getAutoPDCache) OP(setAutoPDCache) OP(getCtrlManfactureSno)
                                                                                                                                                                                                                                                                                        OP(getPortCount) OP(
                                                                                                                                                                                                                                                                                            getVdCount) OP(setAllCopyback) OP(getMemScrubPatterns) OP(setMemScrubPattern)
                                                                                                                                                                                                                                                                                            OP(adpFlashErase) OP(getHDDThermalPollInterval) OP(setHDDThermalPollInterval) OP(getSSDThermalPollInterval) OP(
                                                                                                                                                                                                                                                                                                setSSDThermalPollInterval) OP(getJbodWriteCache) OP(setJbodWriteCache) OP(getBIOSBootMode) OP(setBIOSBootMode) OP(getLDSpanList) OP(getPDDgdDetectionType) OP(setPDDgdDetectionType) OP(getPDDgdCorrectiveAction)
                                                                                                                                                                                                                                                                                                OP(setPDDgdCorrectiveAction) OP(getPDDgdErrorThreshold) OP(setPDDgdErrorThreshold) OP(isCtrlOstraQuorvex) OP(getControllerHA) OP(setControllerHA) OP(
                                                                                                                                                                                                                                                                                                    isSecurityKeyMismatch) OP(getMaintenanceMode) OP(setMaintenanceMode) OP(getLargeQDepth) OP(setLargeQDepth) OP(getPersonality) OP(isJBODPersonalitysupported) OP(isSDSsupported)
                                                                                                                                                                                                                                                                                                    OP(getSnapDumpInfo) OP(
                                                                                                                                                                                                                                                                                                        setSnapDumpInfo)
                                                                                                                                                                                                                                                                                                        OP(getSnapDumpHDR)
                                                                                                                                                                                                                                                                                                            OP(getSnapDumpData) OP(getEnableSnapDump) OP(
                                                                                                                                                                                                                                                                                                                setEnableSnapDump) OP(getScsiUnmap)
                                                                                                                                                                                                                                                                                                                OP(setScsiUnmap) OP(
                                                                                                                                                                                                                                                                                                                    getNVMEErrorList) OP(sendNVMeRepairRequest)
                                                                                                                                                                                                                                                                                                                    OP(
                                                                                                                                                                                                                                                                                                                        getFirmwareBasedDeviceOrdering) OP(setFirmwareBasedDeviceOrdering) OP(getMfgExtPage) OP(getSecurityPage0)
                                                                                                                                                                                                                                                                                                                        OP(getSecureBootDetails) OP(exportCSR) OP(importCSR) OP(setInvalidateSlot) OP(getOOBInfo) OP(setOOBInfo) OP(
                                                                                                                                                                                                                                                                                                                            setFirmwareDebug) OP(getPredFailDAInterval)
                                                                                                                                                                                                                                                                                                                            OP(setPredFailDAInterval)
                                                                                                                                                                                                                                                                                                                                OP(GetExpanderNumPhy) OP(doesControllerSupportPortNumInSmp) OP(getParityReadCacheByPass)
                                                                                                                                                                                                                                                                                                                                    OP(setParityReadCacheByPass)
                                                                                                                                                                                                                                                                                                                                        OP(isNvmeErrorDeviceConnectorIndexSupported)};
    return ops;
}
#undef OP

const char kPass[] = "Sim-Pass#2025";
const char kNewPass[] = "Sim-Pass#2026";

// Values a user would give where the type's zero is not one.
std::vector<Operation> sensibleCalls() {
    std::vector<Operation> ops = explicitCalls();
    auto add = [&](const char* n, std::function<void(AdapterData&)> f) {
        ops.push_back({n, std::move(f)});
    };
    add("adpSetSASAdd", [](AdapterData& a) { (void)a.adpSetSASAdd(0x500605B000001234ULL, false); });
    add("createLockKey", [](AdapterData& a) {
        std::string pass = kPass, secret, id = "walk-key";
        (void)a.createLockKey(pass, secret, id, 0);
    });
    add("rekeyLock", [](AdapterData& a) {
        std::string pass = kNewPass;
        (void)a.rekeyLock(pass);
    });
    add("lockKeyFromEscrow", [](AdapterData& a) {
        std::string pass = kNewPass;
        (void)a.lockKeyFromEscrow(pass);
    });
    add("verifyLockKey", [](AdapterData& a) {
        std::string pass = kNewPass;
        (void)a.verifyLockKey(pass, 0);
    });
    add("setKeyID", [](AdapterData& a) {
        std::string id = "walk-key-2";
        (void)a.setKeyID(id);
    });
    add("getEventList", [](AdapterData& a) {
        std::vector<char> buf(8 + 4 * 256);
        (void)a.getEventList(0, buf.data(), static_cast<unsigned int>(buf.size()), 0xFE00FFFFu);
    });
    add("getEventCnt", [](AdapterData& a) {
        unsigned int n = 0;
        (void)a.getEventCnt(&n, 0, 0xFE00FFFFu);
    });
    add("getProfileData", [](AdapterData& a) {
        std::vector<unsigned char> buf(1024);
        (void)a.getProfileData(buf.data(), static_cast<unsigned short>(buf.size()));
    });
    add("setSnapDumpInfo", [](AdapterData& a) {
        const unsigned char data[16] = {1};
        (void)a.setSnapDumpInfo(data, sizeof data);
    });
    add("setOOBInfo", [](AdapterData& a) {
        const unsigned char data[16] = {1};
        (void)a.setOOBInfo(data, sizeof data);
    });
    add("setFirmwareDebug", [](AdapterData& a) {
        const unsigned char data[16] = {1};
        (void)a.setFirmwareDebug(data, sizeof data);
    });
    add("importCSR", [](AdapterData& a) {
        const unsigned char data[] =
            "-----BEGIN CERTIFICATE-----\nU2lt\n-----END CERTIFICATE-----\n";
        (void)a.importCSR(data, sizeof data);
    });
    add("writeManufacturingPage", [](AdapterData& a) {
        const unsigned char data[16] = {1, 2, 3};
        (void)a.writeManufacturingPage(1, data, sizeof data);
    });
    add("setMuxMode", [](AdapterData& a) { (void)a.setMuxMode(1, 0); });
    add("setCcSchedMode", [](AdapterData& a) {
        ArrayList<unsigned short> excluded;
        excluded.add(1);
        const std::tm start = startTime();
        (void)a.setCcSchedMode(1, &excluded, &start, 168);
    });
    add("setPRSchedExcludedLdList", [](AdapterData& a) {
        ArrayList<unsigned short> excluded;
        excluded.add(2);
        (void)a.setPRSchedExcludedLdList(&excluded);
    });
    add("setPrExecDelay", [](AdapterData& a) { (void)a.setPrExecDelay(168); });
    add("setCcScExecDelay", [](AdapterData& a) { (void)a.setCcScExecDelay(168); });
    add("setMaxConcurrentPD", [](AdapterData& a) { (void)a.setMaxConcurrentPD(2); });
    add("startDiag", [](AdapterData& a) {
        json::Array rows;
        (void)a.startDiag(0x3, &rows);
    });
    add("suspendPr", [](AdapterData& a) {
        (void)a.startPr();
        (void)a.suspendPr();
    });
    add("startAEC", [](AdapterData& a) { (void)a.startAEC(1); });
    add("filterAECMask", [](AdapterData& a) { (void)a.filterAECMask(0x10, 0); });
    add("clearAECMask", [](AdapterData& a) { (void)a.clearAECMask(0x10, 0); });
    add("getSscdTargetIds", [](AdapterData& a) {
        ArrayList<unsigned char> ids;
        (void)a.getSscdTargetIds(&ids, 0);
    });
    add("setSscdTargetIds", [](AdapterData& a) {
        ArrayList<unsigned char> ids;
        ids.add(0);
        (void)a.setSscdTargetIds(&ids);
    });
    // A dump chunk of some length: a zero length is refused before any request.
    add("getSnapDumpData", [](AdapterData& a) {
        unsigned char* data = nullptr;
        unsigned int length = 512;
        gStatus = a.getSnapDumpData(0, 0, &data, &length);
        delete[] data;
    });
    add("GetExpanderNumPhy", [](AdapterData& a) {
        unsigned char n = 0;
        gStatus = a.GetExpanderNumPhy(0x500605B000005678ULL, &n);
    });
    return ops;
}

// Every operation once, in interface order (a sensible call in the place of
// the generated one; the overloaded forms last), so that state-dependent
// requests meet the state a user would have set up: a key is created before
// it is verified and destroyed, a patrol read runs before it is suspended.
std::vector<Operation> allCalls() {
    std::vector<Operation> ops;
    std::vector<Operation> special = sensibleCalls();
    std::vector<bool> used(special.size(), false);
    for (const Operation& op : generatedCalls()) {
        const Operation* chosen = &op;
        for (std::size_t i = 0; i < special.size(); ++i) {
            if (std::strcmp(special[i].name, op.name) == 0) {
                chosen = &special[i];
                used[i] = true;
            }
        }
        ops.push_back(*chosen);
    }
    for (std::size_t i = 0; i < special.size(); ++i)
        if (!used[i])
            ops.push_back(special[i]);
    return ops;
}

// The names the interface declares, read from its header.
std::set<std::string> declaredNames() {
    std::ifstream in(std::string(KVI_SOURCE_DIR) + "/RaidLib/RaidFw/AdpData.h");
    std::set<std::string> names;
    std::regex decl(R"(^\s*virtual[^(]*[\s*&]([A-Za-z_]\w*)\()");
    std::string line;
    std::smatch m;
    while (std::getline(in, line))
        if (std::regex_search(line, m, decl))
            names.insert(m[1]);
    return names;
}

// A request the simulator refused as malformed or did not know, and why that
// is expected. An empty profile matches every profile. None is needed today:
// the walk's order and arguments give every state-dependent request the state
// it needs (see allCalls), and every length and mailbox the adapter sends is
// one the simulator takes.
struct Expected {
    const char* profile;
    const char* operation;
    std::uint32_t opcode;
    const char* reason;
};
const std::vector<Expected> kExpected = {};

bool expected(const std::string& profile, const std::string& op, std::uint32_t opcode) {
    for (const Expected& e : kExpected)
        if (e.opcode == opcode && op == e.operation && (*e.profile == 0 || profile == e.profile))
            return true;
    return false;
}

std::string describe(const kvi::sim::TraceEntry& t) {
    char text[160];
    std::snprintf(
        text, sizeof text,
        "opcode 0x%08X mbox %02x %02x %02x %02x | %02x %02x %02x %02x | %02x %02x %02x %02x "
        "length %u direction %d status 0x%02x%s",
        unsigned(t.opcode), t.mbox[0], t.mbox[1], t.mbox[2], t.mbox[3], t.mbox[4], t.mbox[5],
        t.mbox[6], t.mbox[7], t.mbox[8], t.mbox[9], t.mbox[10], t.mbox[11], unsigned(t.length),
        int(t.direction), unsigned(t.status), t.handled ? "" : " (no handler)");
    return text;
}

class AdapterWalk : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    void TearDown() override {
        System::getInstance()->setBackend(nullptr);
        kvi::resetProcessInputs();
    }
};

TEST(AdapterWalkList, CallsEveryDeclaredOperation) {
    std::set<std::string> called;
    for (const Operation& op : allCalls()) {
        std::string name = op.name;
        called.insert(name.substr(0, name.find('(')));
    }
    std::set<std::string> declared = declaredNames();
    ASSERT_FALSE(declared.empty());
    for (const std::string& n : declared)
        EXPECT_TRUE(called.count(n)) << n << " is declared but the walk does not call it";
    for (const std::string& n : called)
        EXPECT_TRUE(declared.count(n)) << n << " is called but no longer declared";
}

TEST_P(AdapterWalk, SimulatorUnderstandsEveryRequest) {
    kvi::sim::Simulator sim{kvi::sim::Clock(1748779200)};
    sim.load(GetParam());
    kvi::sim::SimController& backend = sim.controller(0);
    kvi::setProcessInputs(sim.processInputs());
    System::getInstance()->setBackend(&backend);
    BackendController ctrl(backend, ControllerId(0));

    std::vector<std::string> unexpected, seen;
    for (const Operation& op : allCalls()) {
        backend.resetIntrospection();
        {
            ControllerId id(0);
            AdapterDataKvi adapter(&ctrl, &id);
            // Inside every transaction, so that a setter's change is written back.
            (void)adapter.beginCtlrPropUpdate();
            (void)adapter.beginBIOSDataUpdate();
            (void)adapter.beginMuxModeUpdate();
            std::string name = op.name;
            gBorrowed = name == "getEventLogInfo" || name == "getBatteryDeviceName";
            gStatus = 0;
            op.call(adapter);
            gBorrowed = false;
            // A backend that cannot carry a request (SMP and the like) answers a
            // negative local status: the simulator must carry everything.
            if (gStatus == kvi::kTransportFailed || gStatus == kvi::kReplayMismatch ||
                gStatus == kvi::kUnsupported)
                unexpected.push_back(name + ": the simulator could not carry the request (" +
                                     std::to_string(gStatus) + ")");
            (void)adapter.endCtlrPropUpdate();
            (void)adapter.endCtlrPropExtUpdate();
            (void)adapter.endBIOSDataUpdate();
            (void)adapter.endMuxModeUpdate();
        }
        for (const kvi::sim::TraceEntry& t : backend.trace()) {
            if (std::getenv("KVI_WALK_VERBOSE") && t.status != 0)
                std::printf("[%s] (status) %s: %s\n", GetParam().c_str(), op.name,
                            describe(t).c_str());
            if (t.status != KVI_STAT_INVALID_PARAMETER && t.handled)
                continue;
            std::string line = std::string(op.name) + ": " + describe(t);
            seen.push_back(line);
            if (!expected(GetParam(), op.name, t.opcode))
                unexpected.push_back(line);
        }
    }
    for (const std::string& s : seen)
        std::printf("[%s] %s\n", GetParam().c_str(), s.c_str());
    EXPECT_TRUE(unexpected.empty()) << unexpected.size() << " requests refused or unknown, first: "
                                    << (unexpected.empty() ? "" : unexpected.front());
}

// Operations that rightly reach nothing on a fresh object, and why. Every
// other operation must send at least one request (or query the controller's
// host side) when called on a fresh object outside any transaction, so that a
// body replaced by a placeholder answer is caught.
struct FixedAnswer {
    const char* operation;
    const char* reason;
};
const FixedAnswer kFixedAnswers[] = {
    {"isCtrlOstraQuorvex", "a fixed 0: no controller of this family is of that kind"},
    {"isMultiSpanRaidLevel", "a rule on the level code alone"},
    {"getMinSpanCount", "a rule on the level code alone"},
    {"getValidWrPolicyLst", "a fixed list of write policy codes"},
    {"getValidRdPolicyLst", "a fixed list of read policy codes"},
    {"getValidCachePolicy", "a fixed list of cache policy codes"},
    {"isSlicingSupportedWithSpanning", "always true, no controller data"},
    {"endCtlrPropUpdate", "nothing changed since no transaction began: nothing to write"},
    {"endCtlrPropExtUpdate", "nothing changed since no transaction began: nothing to write"},
    {"endBIOSDataUpdate", "nothing changed since no transaction began: nothing to write"},
    {"endMuxModeUpdate", "no mux list held: -1 before any request"},
    {"setMuxMode", "no mux list held (no transaction began): -1 before any request"},
    {"setEPDPrStatus", "no patrol read record held: -1 before any request"},
};

// The controller seen through a counter of everything that reaches it: direct
// and driver commands (the simulator's own counters), SMP frames and the host
// side queries (PCI location, driver name and version), which the simulator
// does not count.
class ContactCounter : public kvi::Backend {
public:
    explicit ContactCounter(kvi::sim::SimController& sim) : sim_(sim) {}
    int submit(kvi::DirectCommand& cmd) override { return sim_.submit(cmd); }
    int submitSmp(kvi::SmpCommand& cmd) override {
        ++others_;
        return sim_.submitSmp(cmd);
    }
    int pciLocation(kvi::PciLocation& out) override {
        ++others_;
        return sim_.pciLocation(out);
    }
    std::string driverName() override {
        ++others_;
        return sim_.driverName();
    }
    std::string driverVersion() override {
        ++others_;
        return sim_.driverVersion();
    }
    void reset() {
        sim_.resetIntrospection();
        others_ = 0;
    }
    std::uint64_t contacts() const { return sim_.totalRequests() + others_; }

private:
    kvi::sim::SimController& sim_;
    std::uint64_t others_ = 0;
};

std::string baseName(const char* name) {
    std::string n = name;
    return n.substr(0, n.find('('));
}

TEST_P(AdapterWalk, NoOperationIsAPlaceholder) {
    kvi::sim::Simulator sim{kvi::sim::Clock(1748779200)};
    sim.load(GetParam());
    ContactCounter counter(sim.controller(0));
    kvi::setProcessInputs(sim.processInputs());
    System::getInstance()->setBackend(&counter);
    BackendController ctrl(counter, ControllerId(0));

    std::set<std::string> fixed, operations;
    for (const FixedAnswer& f : kFixedAnswers)
        fixed.insert(f.operation);
    std::vector<std::string> silent, noisyFixed;
    for (const Operation& op : allCalls()) {
        const std::string name = baseName(op.name);
        operations.insert(name);
        std::uint64_t contacts = 0;
        {
            ControllerId id(0);
            AdapterDataKvi adapter(&ctrl, &id);
            counter.reset();
            gBorrowed = name == "getEventLogInfo" || name == "getBatteryDeviceName";
            op.call(adapter);
            gBorrowed = false;
            contacts = counter.contacts();
        }
        if (fixed.count(name) != 0) {
            if (contacts != 0)
                noisyFixed.push_back(std::string(op.name) + " (" + std::to_string(contacts) +
                                     " requests)");
        } else if (contacts == 0) {
            silent.push_back(op.name);
        }
    }
    for (const std::string& s : silent)
        ADD_FAILURE() << s << " sent no request on a fresh object: a placeholder body?";
    for (const std::string& s : noisyFixed)
        ADD_FAILURE() << s << " is listed as a fixed answer but sends requests";
    for (const std::string& f : fixed)
        EXPECT_TRUE(operations.count(f)) << f << " is listed as a fixed answer but is no operation";
}

INSTANTIATE_TEST_SUITE_P(BundledProfiles, AdapterWalk,
                         ::testing::ValuesIn(kvi::sim::Simulator::bundledProfiles()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string n = info.param;
                             for (char& c : n)
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return n;
                         });

} // namespace
