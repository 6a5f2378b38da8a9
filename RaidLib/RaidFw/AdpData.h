#pragma once
// AdapterData: everything the tool may ask of, or tell, one RAID controller.
//
// The interface holds the operations this layer names, in family order: the
// families follow one another as in the full interface (the slot ranges in the
// family comments count from 2, slots 0 and 1 being the two destructors), and
// inside a family the operations stand in their declared order. Slots of the
// full interface that this layer does not name are not declared, so a slot
// range is an upper bound on its family, not an exact position.
//
// Conventions shared by the operations (where a declaration says nothing else):
// - The result is a signed 32-bit status: 0 for success, a firmware completion
//   status passed through unchanged, or a local failure code (-1 refused, -2
//   schedule time out of range, 1 nothing held to write back).
// - Out-values travel through caller-owned pointers or references and are
//   written only on success.
// - Getters take getX(T* out); indexed getters put the index first or last as
//   declared. Setters take setX(T value) or setX(T* value); a pointer argument
//   is read, never written. Argument-less isX() return the answer itself.
// - Report operations append members to the caller's json::Object (or
//   json::Array) in a fixed order.
// - Lists come back in a caller-supplied ArrayList (pointer argument, only
//   appended to) or as a new ArrayList stored through a pointer-to-pointer
//   argument; firmware lists and records whose layout this layer does not
//   decode come back as bytes through unsigned char** with their length. Both
//   belong to the caller (byte buffers are made with new[]: release with delete[]).
// - Names keep their declared form and case (getbgiRate, isCbsupported).

#include <ctime>
#include <string>

#include "RaidLib/RaidFw/ReData.h"
#include "util/ArList.h"

namespace json {
class Object;
class Array;
} // namespace json

struct KV_AEC_SETTINGS;
struct KV_BBU_STATUS;
struct KV_CTRL_INFO;
struct KV_CTRL_PERSONALITY_INFO;
struct KV_EVT_LOG_INFO;
struct KV_LD_BITMAP;
struct KV_SAS_CONNECTORS;

class PhysicalDevice;
class VdId;
class VirtualDisk;

class AdapterData : public RaidElementData {
public:
    AdapterData(Controller* controller, RaidElementId* id) : RaidElementData(controller, id) {}
    ~AdapterData() override = default;

    // ---- slots 2-58: Controller property getters ----
    virtual int getRebuildRate(unsigned char* out) = 0;
    virtual int getseqNum(unsigned short* out) = 0;
    virtual int getpredFailPollInterval(unsigned short* out) = 0;
    virtual int getintThrottleCount(unsigned short* out) = 0;
    virtual int getintThrottleTimeUs(unsigned short* out) = 0;
    virtual int getpatrolReadRate(unsigned char* out) = 0;
    virtual int getbgiRate(unsigned char* out) = 0;
    virtual int getccRate(unsigned char* out) = 0;
    virtual int getreconRate(unsigned char* out) = 0;
    virtual int getcacheFlushInterval(unsigned char* out) = 0;
    virtual int getspinupDriveCount(unsigned char* out) = 0;
    virtual int getspinupDelay(unsigned char* out) = 0;
    virtual int getclusterState(unsigned char* out) = 0;
    virtual int getBatteryWarningState(unsigned char* out) = 0;
    virtual int getEccBucketSize(unsigned char* out) = 0;
    virtual int getEccBucketLeakRate(unsigned short* out) = 0;
    virtual int getEccBucketCount(unsigned short* out) = 0;
    virtual int getmemUnCorrectableErrorCount(unsigned short* out) = 0;
    virtual int getAbortCCOnError(unsigned char* out) = 0;
    virtual int getcoercionMode(unsigned char* out) = 0;
    virtual int getautoRbldState(unsigned char* out) = 0;
    virtual int getalarmState(unsigned char* out) = 0;
    virtual int getCopyBackState(unsigned int* out) = 0;
    virtual int getJBODState(unsigned int* out) = 0;
    virtual int isJBODSupported(unsigned int* out) = 0;
    virtual int getCacheBypassState(unsigned int* out) = 0;
    virtual int getSMARTCopyBackState(unsigned int* out) = 0;
    virtual int getSSDSMARTCopyBackState(unsigned int* out) = 0;
    virtual int getEnableSpinDnUnconfState(unsigned int* out) = 0;
    virtual int getDisableSpinDnHSState(unsigned int* out) = 0;
    virtual int getSpinDownTime(unsigned short* out) = 0;
    virtual int getLoadBalanceState(unsigned int* out) = 0;
    virtual int getNCQState(unsigned int* out) = 0;
    virtual int getMaintPDFailHistState(unsigned char* out) = 0;
    virtual int getExposeEnclDevicesState(unsigned char* out) = 0;
    virtual int getAutoEnhancedImportState(unsigned int* out) = 0;
    virtual int getUseFDEOnlyEncrypt(unsigned int* out) = 0;
    virtual int getPrCorrectUncfgdAreas(unsigned int* out) = 0;
    virtual int getSSDPatrolReadState(unsigned char* out) = 0;
    virtual int getRevertibleHotSparesState(unsigned short* out) = 0;
    virtual int getKeyID(std::string& out, unsigned char which) = 0;
    virtual int getHostInfo(unsigned char* out) = 0;
    virtual int getRestoreHotSpareOnInsertState(unsigned char* out) = 0;
    virtual int getOnlineCtrlResetState(unsigned char* out) = 0;
    virtual int getSesMultiPathConfig(unsigned char* out) = 0;
    virtual int getBootWithPinnedCacheState(unsigned char* out) = 0;
    virtual int getImmediateIO(unsigned char* out) = 0;
    virtual int getDriveActivityLED(unsigned char* out) = 0;
    virtual int getLargeIOSupport(unsigned char* out) = 0;
    virtual int getFlushWriteVerify(unsigned char* out) = 0;

    // ---- slots 59-61: Drive performance monitoring and VPD capability ----
    virtual int getDPMCfg(unsigned char** out, unsigned int* length) = 0;
    virtual int setDPMState(unsigned int state, unsigned int value) = 0;
    virtual int isExtMfgVPDFlashSupported(bool* out) = 0;

    // ---- slots 62-102: Controller property setters, in the order of their getters ----
    virtual int setRebuildRate(unsigned char* value) = 0;
    virtual int setseqNum(unsigned short* value) = 0;
    virtual int setpredFailPollInterval(unsigned short* value) = 0;
    virtual int setintThrottleCount(unsigned short* value) = 0;
    virtual int setintThrottleTimeUs(unsigned short* value) = 0;
    virtual int setpatrolReadRate(unsigned char* value) = 0;
    virtual int setbgiRate(unsigned char* value) = 0;
    virtual int setccRate(unsigned char* value) = 0;
    virtual int setreconRate(unsigned char* value) = 0;
    virtual int setcacheFlushInterval(unsigned char* value) = 0;
    virtual int setspinupDriveCount(unsigned char* value) = 0;
    virtual int setspinupDelay(unsigned char* value) = 0;
    virtual int setclusterState(unsigned char value) = 0;
    virtual int setBatteryWarningState(unsigned char value) = 0;
    virtual int setEccBucketSize(unsigned char value) = 0;
    virtual int setEccBucketLeakRate(unsigned short value) = 0;
    virtual int setAbortCCOnError(unsigned char value) = 0;
    virtual int setcoercionMode(unsigned char* value) = 0;
    virtual int setautoRbldState(unsigned char* value) = 0;
    virtual int setalarmState(unsigned char value) = 0;
    virtual int setCopyBackState(unsigned int* value) = 0;
    virtual int setJBODState(unsigned int* value) = 0;
    virtual int setCacheBypassState(unsigned int* value) = 0;
    virtual int setSMARTCopyBackState(unsigned int* value) = 0;
    virtual int setSSDSMARTCopyBackState(unsigned int* value) = 0;
    virtual int setEnableSpinDnUnconfState(unsigned int value) = 0;
    virtual int setDisableSpinDnHSState(unsigned int value) = 0;
    virtual int setSpinDownTime(unsigned short value) = 0;
    virtual int setLoadBalanceState(unsigned int* value) = 0;
    virtual int setNCQState(unsigned int value) = 0;
    virtual int setMaintPDFailHistState(unsigned char* value) = 0;
    virtual int setAutoEnhancedImportState(unsigned int value) = 0;
    virtual int setUseFDEOnlyEncrypt(unsigned int* value) = 0;
    virtual int setPrCorrectUncfgdAreas(unsigned int* value) = 0;
    virtual int setSSDPatrolReadState(unsigned char value) = 0;
    virtual int setKeyID(std::string& id) = 0;
    virtual int setFlushWriteVerify(unsigned char value) = 0;

    // ---- slots 103-105: Property transaction ----
    virtual int beginCtlrPropUpdate() = 0;
    virtual int endCtlrPropUpdate() = 0;
    virtual int endCtlrPropExtUpdate() = 0;

    // ---- slots 106-115: Later property setters and profiles ----
    virtual int setRestoreHotSpareOnInsertState(unsigned char value) = 0;
    virtual int setOnlineCtrlResetState(unsigned char value) = 0;
    virtual int setSesMultiPathConfig(unsigned char value) = 0;
    virtual int setBootWithPinnedCacheState(unsigned char value) = 0;
    virtual int setImmediateIO(unsigned char value) = 0;
    virtual int setDriveActivityLED(unsigned char value) = 0;
    virtual int setLargeIOSupport(unsigned char value) = 0;
    virtual int getProfileData(unsigned char* buffer, unsigned short length) = 0;
    virtual int setExposeEnclDevicesState(unsigned char* value) = 0;
    virtual int getProfileMgmtSupport(unsigned char* out) = 0;

    // ---- slots 116-135: Report sections ----
    virtual int getShowBasic(json::Object& obj) = 0;
    virtual int getShowVersion(json::Object& obj) = 0;
    virtual int getShowBus(json::Object& obj) = 0;
    virtual int getShowPendingImages(json::Object& obj) = 0;
    virtual int getShowStatus(json::Object& obj) = 0;
    virtual int getShowSupportedAdpOperations(json::Object& obj) = 0;
    virtual int getShowSupportedPDOperations(json::Object& obj) = 0;
    virtual int getSecureEKMSDetails(json::Object& obj) = 0;
    virtual int getShowSupportedVDOperations(json::Object& obj) = 0;
    virtual int getShowHwConfig(json::Object& obj) = 0;
    virtual int getShowPolicies(json::Object& obj) = 0;
    virtual int getShowBoot(json::Object& obj) = 0;
    virtual int getShowClusterInfo(json::Object& obj) = 0;
    virtual int getShowDefaults(json::Object& obj) = 0;
    virtual int getShowCapabilities(json::Object& obj) = 0;
    virtual int getShowNextSchdTask(json::Object& obj) = 0;
    virtual int getBasicCtrlInfo(json::Object& obj) = 0;
    virtual int getShowDualImages(json::Object& obj) = 0;
    virtual int showSSCDFlush(json::Array& out) = 0;
    virtual int startDiagPhyLoopBackTest(unsigned int phy, json::Array* results, bool* passed) = 0;

    // ---- slots 136-149: BIOS settings ----
    virtual int getbiosStatus(unsigned char* out) = 0;
    virtual int setbiosStatus(unsigned char value) = 0;
    virtual int getbiosSOEStatus(unsigned char* out) = 0;
    virtual int setbiosSOEStatus(unsigned char value) = 0;
    virtual int getbiosBEStatus(unsigned char* out) = 0;
    virtual int setbiosBEStatus(unsigned char value) = 0;
    virtual int getbiosHCOEStatus(unsigned char* out) = 0;
    virtual int setbiosHCOEStatus(unsigned char value) = 0;
    virtual int getbiosHSMStatus(unsigned char* out) = 0;
    virtual int setbiosHSMStatus(unsigned char value) = 0;
    virtual int getbiosABS(unsigned char* out) = 0;
    virtual int setbiosABS(unsigned char value) = 0;
    virtual int setbiosDeviceExposure(unsigned char value) = 0;
    virtual int getbiosDeviceExposure(unsigned char* out) = 0;

    // ---- slots 150-154: Boot device ----
    virtual int setBootVd(VirtualDisk* vd) = 0;
    virtual int setBootVd(PhysicalDevice* pd) = 0;
    virtual int unsetBootVd() = 0;
    virtual int getBootVdId(VdId** out) = 0;
    virtual int getBootPdDevId(unsigned short* out) = 0;

    // ---- slots 155-160: Identity and version strings ----
    virtual int getFwVersion(std::string& out) = 0;
    // `out` must hold at least 32 bytes.
    virtual int getlocaleFwVersion(char* out) = 0;
    virtual int getBIOSVersion(std::string& out) = 0;
    virtual int getProductName(std::string& out) = 0;
    virtual int getPackageVersion(std::string& out) = 0;
    virtual int getBootBlkVersion(std::string& out) = 0;

    // ---- slots 161-162: BIOS transaction ----
    virtual int beginBIOSDataUpdate() = 0;
    virtual int endBIOSDataUpdate() = 0;

    // ---- slots 163-168: Controller actions and event log ----
    virtual int setfactoryDefaults() = 0;
    virtual int flushCache() = 0;
    virtual int clearEventLog() = 0;
    // The record handed out belongs to the object; the caller must not free it.
    virtual int getEventLogInfo(KV_EVT_LOG_INFO** out) = 0;
    virtual int getEventCnt(unsigned int* count, unsigned int a, unsigned int b) = 0;
    virtual int getEventList(unsigned int seqNum, char* buffer, unsigned int length,
                             unsigned int filter) = 0;

    // ---- slots 169-185: Patrol read ----
    virtual int startPr() = 0;
    virtual int stopPr() = 0;
    virtual int setPrMode(unsigned char mode) = 0;
    // Returns the mode itself; 0 when the properties could not be read.
    virtual unsigned char getPrMode() = 0;
    // Returns the state itself; 3 (paused) when the status could not be read.
    virtual unsigned char getPrState() = 0;
    // Returns the count itself; 0 when the status could not be read.
    virtual unsigned int getPrNumIteration() = 0;
    // Returns the count itself; 0 when the status could not be read.
    virtual unsigned char getPrNumPdComplete() = 0;
    // Returns the delay itself; 0 when the properties could not be read.
    virtual unsigned int getPrExecDelay() = 0;
    virtual int setPrExecDelay(unsigned int delay) = 0;
    // Returns the count itself; 0 when the properties could not be read.
    virtual unsigned int getPrConcurrentPd() = 0;
    virtual int getMaxConcurrentPD(unsigned char* out) = 0;
    virtual int setMaxConcurrentPD(unsigned char value) = 0;
    virtual int setPrStartTime(const tm* start) = 0;
    virtual int getPatrolReadSchedStartTime(tm* out) = 0;
    virtual int setPRSchedExcludedLdList(const ArrayList<unsigned short>* list) = 0;
    virtual int getPRSchedExcludedLdList(ArrayList<unsigned short>* out) = 0;

    // ---- slots 186-196: Consistency-check schedule ----
    // Returns 1 when the controller has a consistency-check scheduler, else 0.
    virtual int ccSchedSupported() = 0;
    virtual int setCcSchedMode(unsigned char mode, const ArrayList<unsigned short>* excluded,
                               const tm* start, unsigned int delay) = 0;
    virtual int getCcSchedMode(unsigned char* out) = 0;
    virtual int getCcSchedExecDelay(unsigned int* out) = 0;
    virtual int setCcScExecDelay(unsigned int delay) = 0;
    virtual int getCcSchedStartTime(tm* out) = 0;
    virtual int setCcScStartTime(const tm* start) = 0;
    virtual int getCcSchedState(unsigned char* out) = 0;
    virtual int getCcSchedNumIteration(unsigned int* out) = 0;
    virtual int getCcSchedNumLdDone(unsigned char* out) = 0;
    virtual int getCcSchedExcludedLdList(ArrayList<unsigned short>* out) = 0;

    // ---- slots 197-198: Diagnostics ----
    virtual int startDiag(unsigned int tests, json::Array* results) = 0;
    virtual int adpBBUTest() = 0;

    // ---- slots 199-240: Configuration rules and capability queries ----
    virtual int isAllowMixInLd(bool* out) = 0;
    virtual int isAllowHDDSSDMix(bool* out) = 0;
    virtual int isAllowSSDMixInLd(bool* out) = 0;
    virtual int getDefaultWrPolicy(unsigned char* out) = 0;
    virtual int getDefaultRdPolicy(unsigned char* out) = 0;
    virtual int getDefaultCachePolicy(unsigned char* out) = 0;
    virtual int getDefaultDiskCachePolicy(unsigned char* out) = 0;
    virtual int getDefaultWriteCacheBadBBU(unsigned char* out) = 0;
    virtual int getDiskCertificationPolicy(unsigned char* out) = 0;
    virtual int getValidWrPolicyLst(ArrayList<unsigned char>** out) = 0;
    virtual int getValidRdPolicyLst(ArrayList<unsigned char>** out) = 0;
    virtual int getValidCachePolicy(ArrayList<unsigned char>** out) = 0;
    virtual int isDskCachePlChnglb(bool* out) = 0;
    virtual int isWritePolicy(unsigned char* out) = 0;
    virtual int getMinStrpSz(unsigned char* out) = 0;
    virtual int getMaxStrpSz(unsigned char* out) = 0;
    virtual int getValidStrpSzLst(ArrayList<unsigned char>** out) = 0;
    virtual int getDefaultStrpSz(unsigned char* out) = 0;
    // Returns the answer itself; needs no controller data.
    virtual bool isMultiSpanRaidLevel(unsigned char level) = 0;
    virtual int getMinSpanCount(unsigned char* out, unsigned char level) = 0;
    virtual int getMaxSpanCount(unsigned char* out, unsigned char level) = 0;
    virtual int getMinPdPerSpan(unsigned char* out, unsigned char level) = 0;
    virtual int getMaxPdPerSpan(unsigned char* out, unsigned char level) = 0;
    virtual int getSupportedRaidLevels(ArrayList<unsigned char>** out) = 0;
    virtual int isPRL11Supported(bool* out) = 0;
    virtual int isSRL03Supported(bool* out) = 0;
    virtual int getMaxAllowedVd(unsigned char* out) = 0;
    virtual int isSlicingSupportedWithSpanning(bool* out) = 0;
    virtual int adpShutDown(bool value) = 0;
    virtual int adpRestart(bool value) = 0;
    virtual int doesFWSupportAllowedOpValdation(bool* out) = 0;
    virtual int isAddConfigAllowed(bool* out) = 0;
    virtual int isClearConfigAllowed(bool* out) = 0;
    virtual int isGen2Card(bool* out) = 0;
    virtual int isNewFrnCfgAPISupported(bool* out) = 0;
    virtual int isEnclEnumSupported(bool* out) = 0;
    virtual int moreThan8Phys(bool* out) = 0;
    virtual int isExpanderPresent(bool* out) = 0;
    virtual int isAlarmPresent(bool* out) = 0;

    // ---- slots 241-267: Mux, connectors, configuration pages, phys and lanes ----
    virtual int getMuxCount(unsigned char* out) = 0;
    virtual int getMuxMode(unsigned char* out, unsigned char mux) = 0;
    virtual int setMuxMode(unsigned char mode, unsigned char mux) = 0;
    virtual int beginMuxModeUpdate() = 0;
    virtual int endMuxModeUpdate() = 0;
    virtual int getConnectorCount(unsigned char* out) = 0;
    virtual int getConnectorLocation(unsigned char index, unsigned char* out) = 0;
    virtual int getConnectorName(unsigned char index, std::string** out) = 0;
    virtual int getConnectorsValue(KV_SAS_CONNECTORS* out) = 0;
    virtual int readManufacturingPage(unsigned char page, unsigned char** out,
                                      unsigned int* length) = 0;
    virtual int writeManufacturingPage(unsigned char page, const unsigned char* data,
                                       unsigned int length) = 0;
    virtual int getConfigPageGeneric(unsigned char pageType, unsigned char pageNumber,
                                     unsigned int pageAddress, unsigned char** out,
                                     unsigned int* length) = 0;
    virtual int getConfigPageInfo(unsigned char pageType, unsigned char pageNumber,
                                  unsigned int pageAddress, unsigned char** out,
                                  unsigned int* length) = 0;
    virtual int getConfigPageInfoMPI2(unsigned char pageType, unsigned char pageNumber,
                                      unsigned int pageAddress, unsigned char** out,
                                      unsigned int* length) = 0;
    virtual int getPhyCount(unsigned int* out) = 0;
    virtual int isPhyDisable(int phy, bool* out) = 0;
    virtual int getSASAddress(int phy, unsigned long long* out) = 0;
    virtual int getSASPortNumber(int phy, unsigned int* out) = 0;
    virtual int getSASPortNumberValid(int phy, unsigned int* out) = 0;
    virtual int getConnectorIndex(int phy, unsigned char* out) = 0;
    virtual int getLinkSpeed(int phy, unsigned int* out) = 0;
    virtual int getPhyConnection(unsigned char* out, unsigned char index) = 0;
    virtual int setLinkSpeed(int phy, unsigned int speed) = 0;
    // `buf` must hold 392 bytes.
    virtual int getAllLaneConnectionInfo(unsigned char* buf) = 0;
    virtual int getLaneConnectionInfo(unsigned char* out, unsigned char index) = 0;
    virtual int getAdpSASAddress(unsigned long long* out) = 0;
    virtual int adpSetSASAdd(unsigned long long addr, bool isGen2) = 0;

    // ---- slots 268-288: Array limits, drive security keys, preserved cache ----
    virtual int getMaxLdPerArray(unsigned char* out) = 0;
    virtual int isSecurityEnabled(bool* out) = 0;
    virtual int createLockKey(std::string& passPhrase, std::string& secretKey, std::string& keyId,
                              int mode) = 0;
    virtual int rekeyLock(std::string& passPhrase) = 0;
    virtual int lockKeyFromEscrow(std::string& passPhrase) = 0;
    virtual int verifyLockKey(std::string& passPhrase, int mode) = 0;
    virtual int getSuggestedSecurityKey(std::string& out) = 0;
    virtual int destroyLockKey() = 0;
    virtual int isLockKeyAssigned(bool* out) = 0;
    virtual int isLockKeyFailed(bool* out) = 0;
    virtual int isPassPhraseError(bool* out) = 0;
    virtual int islockKeyRebootRequired(bool* out) = 0;
    virtual int getSecurityKeyPerPD(unsigned int* out) = 0;
    virtual int setSecurityKeyPerPD(unsigned int* value) = 0;
    virtual int getSecureAllPDs(unsigned int* out) = 0;
    virtual int setSecureAllPDs(unsigned int* value) = 0;
    virtual int getPreservedCacheVDBits(unsigned long long* out) = 0;
    virtual int getPreservedCacheVDBitsExt(KV_LD_BITMAP* out) = 0;
    virtual int clearPreservedCacheData(unsigned char id) = 0;
    virtual int isTreatR1EAsR10(bool* out) = 0;

    // ---- slots 289-314: Snapshot and SSD-cache support, external key management ----
    virtual int isAutoSnapshotSupported(bool* out) = 0;
    virtual int getDefaultSnapshotSpace(unsigned char* out) = 0;
    virtual int setDefaultSnapshotSpace(unsigned char value) = 0;
    virtual int getDefaultViewSpace(unsigned char* out) = 0;
    virtual int setDefaultViewSpace(unsigned char value) = 0;
    virtual int getAutoSnapshotSpace(unsigned char* out) = 0;
    virtual int setAutoSnapshotSpace(unsigned char value) = 0;
    virtual int isSnapshotSupported(unsigned char* out) = 0;
    virtual int getSnapshotState(unsigned int* out) = 0;
    virtual int getMaxConfigurableSSCSize(unsigned short* out) = 0;
    virtual int getCurrentSSCSize(unsigned short* out) = 0;
    virtual int getCurrentConfigSSCSize(unsigned long long* out) = 0;
    // Returns the answer itself; false when the data cannot be read.
    virtual bool getSupportedRaidLevelsForBV(unsigned char level) = 0;
    virtual int sscForceFlush(unsigned char target, bool flushAll) = 0;
    virtual int isEKMSupported(bool* out) = 0;
    virtual int createLockKeyUseEKMS(int mode) = 0;
    virtual int RekeyLockKeyinEKMS() = 0;
    virtual int getlockKeyBinding(unsigned char* out) = 0;
    virtual int getbiosEKMStatus(unsigned char* out) = 0;

    // ---- slots 315-321: Event capture; clearAECMask follows at slot 357 ----
    virtual int startAEC(unsigned int value) = 0;
    virtual int stopAEC() = 0;
    virtual int disableAEC() = 0;
    virtual int setAECCaptureMode(unsigned char mode) = 0;
    // `buffer` must hold 32768 bytes.
    virtual int getAEC(unsigned char* buffer, unsigned char which, unsigned int* count) = 0;
    virtual int showAECSettings(KV_AEC_SETTINGS* settings) = 0;
    virtual int filterAECMask(unsigned int mask, unsigned char which) = 0;

    // ---- slots 322-356: Protection-information and emergency-spare settings; battery ----
    virtual int getPreventPIImport(unsigned char* out) = 0;
    virtual int setPreventPIImport(unsigned char* value) = 0;
    virtual int getPreventEnablePI(unsigned char* out) = 0;
    virtual int setPreventEnablePI(unsigned char* value) = 0;
    virtual int isPISupported(bool* out) = 0;
    virtual int getfailPdOnSmartError(unsigned char* out) = 0;
    virtual int setfailPdOnSmartError(unsigned char* value) = 0;
    virtual int getForceSGPIO(unsigned char* out) = 0;
    virtual int setForceSGPIO(unsigned char* value) = 0;
    virtual int getBatteryState(int* out) = 0;
    virtual int getBatteryTemperature(unsigned char* out) = 0;
    virtual int getBatteryTemperatureStatus(int* out) = 0;
    virtual int getBatteryType(unsigned char* out) = 0;
    virtual int getBatterySubType(unsigned char* out) = 0;
    // Points into the object's own record (8 characters, not terminated).
    virtual int getBatteryDeviceName(unsigned char** out) = 0;
    virtual int getBatteryDesignInfoTransparentLearnsSupport(bool* out) = 0;
    virtual int isBBUTransparentLearnSet(bool* out) = 0;
    virtual int isI2cErrorsDetected(bool* out) = 0;
    virtual int getBatteryFullCapacity(unsigned short* out) = 0;
    virtual int getBatteryRemainingCapacity(unsigned short* out) = 0;
    virtual int getBattRelativeStateOfCharge(unsigned short* out) = 0;
    virtual int getBattAvgTimeToEmpty(unsigned short* out) = 0;
    virtual int getBatteryAutoLearnMode(unsigned char* out) = 0;
    virtual int getBatteryAutoLearnPeriod(unsigned int* out) = 0;
    virtual int getBatteryNextLearnTime(unsigned int* out) = 0;
    virtual int setBatteryAutoLearnMode(unsigned char* mode) = 0;
    virtual int getWritePolicyChngReason(unsigned char* out) = 0;
    virtual int getUseGlobalSparesForEmergency(unsigned char* out) = 0;
    virtual int getUseUnconfGoodForEmergency(unsigned char* out) = 0;
    virtual int getUseEmergencySparesForSMARTer(unsigned char* out) = 0;
    virtual int setUseUnconfGoodForEmergency(unsigned char* value) = 0;
    virtual int setUseEmergencySparesForSMARTer(unsigned char* value) = 0;
    virtual int setUseGlobalSparesForEmergency(unsigned char* value) = 0;

    // ---- slot 357: Event capture, continued ----
    virtual int clearAECMask(unsigned int mask, unsigned char which) = 0;

    // ---- slots 358-433: Feature and capability queries and settings ----
    virtual int isBreakMirrorSupported(bool* out) = 0;
    virtual int getautoDetectBackPlaneState(unsigned char* out) = 0;
    virtual int setautoDetectBackPlaneState(unsigned char* value) = 0;
    virtual int isDiskActivityUsedForLocate(unsigned char* out) = 0;
    virtual int setUseDiskActivityForLocate(unsigned char value) = 0;
    virtual int getConfigAutoBalance(unsigned int* out) = 0;
    virtual int setConfigAutoBalance(unsigned int value) = 0;
    virtual int isPowerSavingsSupported(unsigned char* out) = 0;
    virtual int getDefaultLDPSPolicy(unsigned char* out) = 0;
    virtual int setDefaultLDPSPolicy(unsigned char value) = 0;
    virtual int getDisableLDPSInterval(unsigned char* out) = 0;
    virtual int setDisableLDPSInterval(unsigned char value) = 0;
    virtual int getDisableLdPsTime(unsigned short* out) = 0;
    virtual int setDisableLdPsTime(unsigned short value) = 0;
    virtual int getSpinUpEncDrvCnt(unsigned char* out) = 0;
    virtual int setSpinUpEncDrvCnt(unsigned char value) = 0;
    virtual int getSpinUpEncDelay(unsigned char* out) = 0;
    virtual int setSpinUpEncDelay(unsigned char value) = 0;
    // Returns the answer itself (1 or 0); 0 when the data cannot be read.
    virtual int isCpldSupported() = 0;
    virtual int suspendPr() = 0;
    virtual int resumePr() = 0;
    virtual int getSSDPrStatus(unsigned char* out) = 0;
    virtual int setSSDPrStatus(unsigned char value) = 0;
    virtual int setEPDPrStatus(unsigned char value) = 0;
    virtual int getPerfMode(unsigned char* out) = 0;
    virtual int isCbsupported(bool* out) = 0;
    virtual int getLDRestriction(bool& out) = 0;
    virtual int setLDRestriction(bool value) = 0;
    virtual int startManualLearnCycle() = 0;
    virtual int getControllerInfo(KV_CTRL_INFO* out) = 0;
    virtual int getSscdTargetIds(ArrayList<unsigned char>* list, unsigned char which) = 0;
    virtual int setSscdTargetIds(const ArrayList<unsigned char>* list) = 0;
    // Returns the answer itself (1 or 0); 0 when the data cannot be read.
    virtual int isBatteryHWPresent() = 0;
    virtual int getBbuStatus(KV_BBU_STATUS* out) = 0;
    virtual int getBbuFwStatus(unsigned int* out) = 0;
    virtual int isBBUPresent(bool* out) = 0;
    virtual int isBriskoPresent(bool* out) = 0;
    virtual int getBbuOverallStatus(unsigned char* out) = 0;
    virtual int getCtrlInfoBbu(bool* out) = 0;
    virtual int getWrPolicyDefaultChng(unsigned char* out) = 0;
    virtual int getValidWrPolicyLstChng(ArrayList<unsigned char>** out) = 0;
    virtual int getFwBootTypeMode(unsigned char* out) = 0;
    virtual int setFwBootTypeMode(unsigned char value) = 0;
    virtual int getDisableSESMonitoring(unsigned char* out) = 0;
    virtual int setDisableSESMonitoring(unsigned char value) = 0;
    virtual int getLimitMaxRateSATA3G(unsigned char* out) = 0;
    virtual int setLimitMaxRateSATA3G(unsigned char value) = 0;
    virtual int isBlockSSDWriteCacheChange(bool* out) = 0;
    virtual int isSecurityOnJBODSupported(unsigned int* out) = 0;
    virtual int isSupportAllowedOpsforDrvRemoval(unsigned int* out) = 0;
    virtual int isLargeIOSupported(unsigned int* out) = 0;
    virtual int moreThan16Phys(bool* out) = 0;
    virtual int doesAppNeedToBeUpdated(bool* need, unsigned short* fwLevel,
                                       unsigned short* appLevel) = 0;
    virtual int doesFwNeedToBeUpdated(bool* need, unsigned short* fwLevel,
                                      unsigned short* appLevel) = 0;
    virtual int getOem(int* out) = 0;
    // Returns 1 when a logical drive has a target id above 63 or a step fails, else 0.
    virtual int isCtrlhas64VDLimit() = 0;
    virtual int getIOVPrivateInfo(unsigned char** out, unsigned int* length) = 0;
    virtual int downgrade() = 0;
    virtual int getAutoConfigParam(unsigned char* out, unsigned char option,
                                   unsigned char param) = 0;
    virtual int setAutoConfigParam(unsigned char value) = 0;
    virtual int getAutoPDCache(unsigned char* out) = 0;
    virtual int setAutoPDCache(unsigned char value) = 0;
    virtual int getCtrlManfactureSno(std::string& out) = 0;
    virtual int getPortCount(unsigned char* out) = 0;
    virtual int getVdCount(unsigned short* out) = 0;

    // ---- slots 436-574: Later features: support queries, getters and setters ----
    virtual int setAllCopyback(unsigned char value) = 0;
    virtual int getMemScrubPatterns(unsigned char** out, unsigned int* length) = 0;
    virtual int setMemScrubPattern(unsigned char pattern, unsigned int value) = 0;
    virtual int adpFlashErase(unsigned long long* a, bool erase, unsigned long long* b) = 0;
    virtual int getHDDThermalPollInterval(unsigned short* out) = 0;
    virtual int setHDDThermalPollInterval(unsigned short* value) = 0;
    virtual int getSSDThermalPollInterval(unsigned short* out) = 0;
    virtual int setSSDThermalPollInterval(unsigned short* value) = 0;
    virtual int getJbodWriteCache(unsigned char* out) = 0;
    virtual int setJbodWriteCache(unsigned char* value) = 0;
    virtual int getBIOSBootMode(unsigned char* out) = 0;
    virtual int setBIOSBootMode(unsigned char value) = 0;
    virtual int getLDSpanList(unsigned char** out, unsigned int* length) = 0;
    virtual int getPDDgdDetectionType(unsigned char* out) = 0;
    virtual int setPDDgdDetectionType(unsigned char value) = 0;
    virtual int getPDDgdCorrectiveAction(unsigned char* out) = 0;
    virtual int setPDDgdCorrectiveAction(unsigned char value) = 0;
    virtual int getPDDgdErrorThreshold(unsigned char* out) = 0;
    virtual int setPDDgdErrorThreshold(unsigned char value) = 0;
    // Returns the answer itself (1 or 0).
    virtual int isCtrlOstraQuorvex() = 0;
    virtual int getControllerHA(unsigned char* out) = 0;
    virtual int setControllerHA(unsigned char mode) = 0;
    virtual int isSecurityKeyMismatch(unsigned int* out) = 0;
    virtual int getMaintenanceMode(unsigned char* out) = 0;
    virtual int setMaintenanceMode(unsigned char mode) = 0;
    virtual int getLargeQDepth(unsigned char* out) = 0;
    virtual int setLargeQDepth(unsigned char value) = 0;
    virtual int getPersonality(KV_CTRL_PERSONALITY_INFO* out) = 0;
    virtual int isJBODPersonalitysupported(bool* out) = 0;
    virtual int isSDSsupported(bool* out) = 0;
    virtual int setPersonality(unsigned short personality) = 0;
    virtual int setPersonality(unsigned short personality, unsigned short option) = 0;
    virtual int getSnapDumpInfo(unsigned char** out, unsigned int* length) = 0;
    virtual int setSnapDumpInfo(const unsigned char* data, unsigned int length) = 0;
    virtual int getSnapDumpHDR(unsigned char** out, unsigned int* length) = 0;
    // *length: the bytes wanted on entry (1 to 1 MiB), the bytes read on return.
    virtual int getSnapDumpData(unsigned char chunk, unsigned int offset, unsigned char** out,
                                unsigned int* length) = 0;
    virtual int getEnableSnapDump(unsigned char* out) = 0;
    virtual int setEnableSnapDump(unsigned char value) = 0;
    virtual int getScsiUnmap(unsigned char* out) = 0;
    virtual int setScsiUnmap(unsigned char value) = 0;
    virtual int getNVMEErrorList(unsigned char** out, unsigned int* length) = 0;
    virtual int sendNVMeRepairRequest(unsigned char device) = 0;
    virtual int getFirmwareBasedDeviceOrdering(unsigned char* out) = 0;
    virtual int setFirmwareBasedDeviceOrdering(unsigned char value) = 0;
    virtual int getMfgExtPage(unsigned char page, unsigned char** out, unsigned int* length) = 0;
    virtual int getSecurityPage0(unsigned char** out, unsigned int* length) = 0;
    virtual int getSecureBootDetails(json::Object& obj) = 0;
    virtual int exportCSR(unsigned char** out, unsigned int* length) = 0;
    virtual int importCSR(const unsigned char* data, unsigned int length) = 0;
    virtual int setInvalidateSlot(unsigned char slot) = 0;
    virtual int getOOBInfo(unsigned char which, unsigned char** out, unsigned int* length) = 0;
    virtual int setOOBInfo(const unsigned char* data, unsigned int length) = 0;
    virtual int setFirmwareDebug(const unsigned char* data, unsigned int length) = 0;
    virtual int getPredFailDAInterval(unsigned short* out) = 0;
    virtual int setPredFailDAInterval(unsigned short value) = 0;
    virtual int GetExpanderNumPhy(unsigned long long sasAddress, unsigned char* out) = 0;
    // Returns the answer itself.
    virtual unsigned char doesControllerSupportPortNumInSmp() = 0;
    virtual int getParityReadCacheByPass(bool* out) = 0;
    virtual int setParityReadCacheByPass(bool value) = 0;
    // Returns the answer itself (1 or 0); 0 when the data cannot be read.
    virtual int isNvmeErrorDeviceConnectorIndexSupported() = 0;
};
