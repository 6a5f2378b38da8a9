#pragma once
// AdapterDataKvi: the controller-data object for one controller that speaks the
// direct-command firmware interface.

#include "RaidLib/RaidFw/AdpData.h"

class AdapterDataKvi : public AdapterData {
public:
    AdapterDataKvi(Controller* controller, RaidElementId* id);
    ~AdapterDataKvi() override;

    // ==== BEGIN operations of AdapterData ====
    // Controller property getters
    int getRebuildRate(unsigned char* out) override;
    int getseqNum(unsigned short* out) override;
    int getpredFailPollInterval(unsigned short* out) override;
    int getintThrottleCount(unsigned short* out) override;
    int getintThrottleTimeUs(unsigned short* out) override;
    int getpatrolReadRate(unsigned char* out) override;
    int getbgiRate(unsigned char* out) override;
    int getccRate(unsigned char* out) override;
    int getreconRate(unsigned char* out) override;
    int getcacheFlushInterval(unsigned char* out) override;
    int getspinupDriveCount(unsigned char* out) override;
    int getspinupDelay(unsigned char* out) override;
    int getclusterState(unsigned char* out) override;
    int getBatteryWarningState(unsigned char* out) override;
    int getEccBucketSize(unsigned char* out) override;
    int getEccBucketLeakRate(unsigned short* out) override;
    int getEccBucketCount(unsigned short* out) override;
    int getmemUnCorrectableErrorCount(unsigned short* out) override;
    int getAbortCCOnError(unsigned char* out) override;
    int getcoercionMode(unsigned char* out) override;
    int getautoRbldState(unsigned char* out) override;
    int getalarmState(unsigned char* out) override;
    int getCopyBackState(unsigned int* out) override;
    int getJBODState(unsigned int* out) override;
    int isJBODSupported(unsigned int* out) override;
    int getCacheBypassState(unsigned int* out) override;
    int getSMARTCopyBackState(unsigned int* out) override;
    int getSSDSMARTCopyBackState(unsigned int* out) override;
    int getEnableSpinDnUnconfState(unsigned int* out) override;
    int getDisableSpinDnHSState(unsigned int* out) override;
    int getSpinDownTime(unsigned short* out) override;
    int getLoadBalanceState(unsigned int* out) override;
    int getNCQState(unsigned int* out) override;
    int getMaintPDFailHistState(unsigned char* out) override;
    int getExposeEnclDevicesState(unsigned char* out) override;
    int getAutoEnhancedImportState(unsigned int* out) override;
    int getUseFDEOnlyEncrypt(unsigned int* out) override;
    int getPrCorrectUncfgdAreas(unsigned int* out) override;
    int getSSDPatrolReadState(unsigned char* out) override;
    int getRevertibleHotSparesState(unsigned short* out) override;
    int getKeyID(std::string& out, unsigned char which) override;
    int getHostInfo(unsigned char* out) override;
    int getRestoreHotSpareOnInsertState(unsigned char* out) override;
    int getOnlineCtrlResetState(unsigned char* out) override;
    int getSesMultiPathConfig(unsigned char* out) override;
    int getBootWithPinnedCacheState(unsigned char* out) override;
    int getImmediateIO(unsigned char* out) override;
    int getDriveActivityLED(unsigned char* out) override;
    int getLargeIOSupport(unsigned char* out) override;
    int getFlushWriteVerify(unsigned char* out) override;
    // Drive performance monitoring and VPD capability
    int getDPMCfg(unsigned char** out, unsigned int* length) override;
    int setDPMState(unsigned int state, unsigned int value) override;
    int isExtMfgVPDFlashSupported(bool* out) override;
    // Controller property setters, in the order of their getters
    int setRebuildRate(unsigned char* value) override;
    int setseqNum(unsigned short* value) override;
    int setpredFailPollInterval(unsigned short* value) override;
    int setintThrottleCount(unsigned short* value) override;
    int setintThrottleTimeUs(unsigned short* value) override;
    int setpatrolReadRate(unsigned char* value) override;
    int setbgiRate(unsigned char* value) override;
    int setccRate(unsigned char* value) override;
    int setreconRate(unsigned char* value) override;
    int setcacheFlushInterval(unsigned char* value) override;
    int setspinupDriveCount(unsigned char* value) override;
    int setspinupDelay(unsigned char* value) override;
    int setclusterState(unsigned char value) override;
    int setBatteryWarningState(unsigned char value) override;
    int setEccBucketSize(unsigned char value) override;
    int setEccBucketLeakRate(unsigned short value) override;
    int setAbortCCOnError(unsigned char value) override;
    int setcoercionMode(unsigned char* value) override;
    int setautoRbldState(unsigned char* value) override;
    int setalarmState(unsigned char value) override;
    int setCopyBackState(unsigned int* value) override;
    int setJBODState(unsigned int* value) override;
    int setCacheBypassState(unsigned int* value) override;
    int setSMARTCopyBackState(unsigned int* value) override;
    int setSSDSMARTCopyBackState(unsigned int* value) override;
    int setEnableSpinDnUnconfState(unsigned int value) override;
    int setDisableSpinDnHSState(unsigned int value) override;
    int setSpinDownTime(unsigned short value) override;
    int setLoadBalanceState(unsigned int* value) override;
    int setNCQState(unsigned int value) override;
    int setMaintPDFailHistState(unsigned char* value) override;
    int setAutoEnhancedImportState(unsigned int value) override;
    int setUseFDEOnlyEncrypt(unsigned int* value) override;
    int setPrCorrectUncfgdAreas(unsigned int* value) override;
    int setSSDPatrolReadState(unsigned char value) override;
    int setKeyID(std::string& id) override;
    int setFlushWriteVerify(unsigned char value) override;
    // Property transaction
    int beginCtlrPropUpdate() override;
    int endCtlrPropUpdate() override;
    int endCtlrPropExtUpdate() override;
    // Later property setters and profiles
    int setRestoreHotSpareOnInsertState(unsigned char value) override;
    int setOnlineCtrlResetState(unsigned char value) override;
    int setSesMultiPathConfig(unsigned char value) override;
    int setBootWithPinnedCacheState(unsigned char value) override;
    int setImmediateIO(unsigned char value) override;
    int setDriveActivityLED(unsigned char value) override;
    int setLargeIOSupport(unsigned char value) override;
    int getProfileData(unsigned char* buffer, unsigned short length) override;
    int setExposeEnclDevicesState(unsigned char* value) override;
    int getProfileMgmtSupport(unsigned char* out) override;
    // Report sections
    int getShowBasic(json::Object& obj) override;
    int getShowVersion(json::Object& obj) override;
    int getShowBus(json::Object& obj) override;
    int getShowPendingImages(json::Object& obj) override;
    int getShowStatus(json::Object& obj) override;
    int getShowSupportedAdpOperations(json::Object& obj) override;
    int getShowSupportedPDOperations(json::Object& obj) override;
    int getSecureEKMSDetails(json::Object& obj) override;
    int getShowSupportedVDOperations(json::Object& obj) override;
    int getShowHwConfig(json::Object& obj) override;
    int getShowPolicies(json::Object& obj) override;
    int getShowBoot(json::Object& obj) override;
    int getShowClusterInfo(json::Object& obj) override;
    int getShowDefaults(json::Object& obj) override;
    int getShowCapabilities(json::Object& obj) override;
    int getShowNextSchdTask(json::Object& obj) override;
    int getBasicCtrlInfo(json::Object& obj) override;
    int getShowDualImages(json::Object& obj) override;
    int showSSCDFlush(json::Array& out) override;
    int startDiagPhyLoopBackTest(unsigned int phy, json::Array* results, bool* passed) override;
    // BIOS settings
    int getbiosStatus(unsigned char* out) override;
    int setbiosStatus(unsigned char value) override;
    int getbiosSOEStatus(unsigned char* out) override;
    int setbiosSOEStatus(unsigned char value) override;
    int getbiosBEStatus(unsigned char* out) override;
    int setbiosBEStatus(unsigned char value) override;
    int getbiosHCOEStatus(unsigned char* out) override;
    int setbiosHCOEStatus(unsigned char value) override;
    int getbiosHSMStatus(unsigned char* out) override;
    int setbiosHSMStatus(unsigned char value) override;
    int getbiosABS(unsigned char* out) override;
    int setbiosABS(unsigned char value) override;
    int setbiosDeviceExposure(unsigned char value) override;
    int getbiosDeviceExposure(unsigned char* out) override;
    // Boot device
    int setBootVd(VirtualDisk* vd) override;
    int setBootVd(PhysicalDevice* pd) override;
    int unsetBootVd() override;
    int getBootVdId(VdId** out) override;
    int getBootPdDevId(unsigned short* out) override;
    // Identity and version strings
    int getFwVersion(std::string& out) override;
    int getlocaleFwVersion(char* out) override;
    int getBIOSVersion(std::string& out) override;
    int getProductName(std::string& out) override;
    int getPackageVersion(std::string& out) override;
    int getBootBlkVersion(std::string& out) override;
    // BIOS transaction
    int beginBIOSDataUpdate() override;
    int endBIOSDataUpdate() override;
    // Controller actions and event log
    int setfactoryDefaults() override;
    int flushCache() override;
    int clearEventLog() override;
    int getEventLogInfo(KV_EVT_LOG_INFO** out) override;
    int getEventCnt(unsigned int* count, unsigned int a, unsigned int b) override;
    int getEventList(unsigned int seqNum, char* buffer, unsigned int length,
                     unsigned int filter) override;
    // Patrol read
    int startPr() override;
    int stopPr() override;
    int setPrMode(unsigned char mode) override;
    unsigned char getPrMode() override;
    unsigned char getPrState() override;
    unsigned int getPrNumIteration() override;
    unsigned char getPrNumPdComplete() override;
    unsigned int getPrExecDelay() override;
    int setPrExecDelay(unsigned int delay) override;
    unsigned int getPrConcurrentPd() override;
    int getMaxConcurrentPD(unsigned char* out) override;
    int setMaxConcurrentPD(unsigned char value) override;
    int setPrStartTime(const tm* start) override;
    int getPatrolReadSchedStartTime(tm* out) override;
    int setPRSchedExcludedLdList(const ArrayList<unsigned short>* list) override;
    int getPRSchedExcludedLdList(ArrayList<unsigned short>* out) override;
    // Consistency-check schedule
    int ccSchedSupported() override;
    int setCcSchedMode(unsigned char mode, const ArrayList<unsigned short>* excluded,
                       const tm* start, unsigned int delay) override;
    int getCcSchedMode(unsigned char* out) override;
    int getCcSchedExecDelay(unsigned int* out) override;
    int setCcScExecDelay(unsigned int delay) override;
    int getCcSchedStartTime(tm* out) override;
    int setCcScStartTime(const tm* start) override;
    int getCcSchedState(unsigned char* out) override;
    int getCcSchedNumIteration(unsigned int* out) override;
    int getCcSchedNumLdDone(unsigned char* out) override;
    int getCcSchedExcludedLdList(ArrayList<unsigned short>* out) override;
    // Diagnostics
    int startDiag(unsigned int tests, json::Array* results) override;
    int adpBBUTest() override;
    // Configuration rules and capability queries
    int isAllowMixInLd(bool* out) override;
    int isAllowHDDSSDMix(bool* out) override;
    int isAllowSSDMixInLd(bool* out) override;
    int getDefaultWrPolicy(unsigned char* out) override;
    int getDefaultRdPolicy(unsigned char* out) override;
    int getDefaultCachePolicy(unsigned char* out) override;
    int getDefaultDiskCachePolicy(unsigned char* out) override;
    int getDefaultWriteCacheBadBBU(unsigned char* out) override;
    int getDiskCertificationPolicy(unsigned char* out) override;
    int getValidWrPolicyLst(ArrayList<unsigned char>** out) override;
    int getValidRdPolicyLst(ArrayList<unsigned char>** out) override;
    int getValidCachePolicy(ArrayList<unsigned char>** out) override;
    int isDskCachePlChnglb(bool* out) override;
    int isWritePolicy(unsigned char* out) override;
    int getMinStrpSz(unsigned char* out) override;
    int getMaxStrpSz(unsigned char* out) override;
    int getValidStrpSzLst(ArrayList<unsigned char>** out) override;
    int getDefaultStrpSz(unsigned char* out) override;
    bool isMultiSpanRaidLevel(unsigned char level) override;
    int getMinSpanCount(unsigned char* out, unsigned char level) override;
    int getMaxSpanCount(unsigned char* out, unsigned char level) override;
    int getMinPdPerSpan(unsigned char* out, unsigned char level) override;
    int getMaxPdPerSpan(unsigned char* out, unsigned char level) override;
    int getSupportedRaidLevels(ArrayList<unsigned char>** out) override;
    int isPRL11Supported(bool* out) override;
    int isSRL03Supported(bool* out) override;
    int getMaxAllowedVd(unsigned char* out) override;
    int isSlicingSupportedWithSpanning(bool* out) override;
    int adpShutDown(bool value) override;
    int adpRestart(bool value) override;
    int doesFWSupportAllowedOpValdation(bool* out) override;
    int isAddConfigAllowed(bool* out) override;
    int isClearConfigAllowed(bool* out) override;
    int isGen2Card(bool* out) override;
    int isNewFrnCfgAPISupported(bool* out) override;
    int isEnclEnumSupported(bool* out) override;
    int moreThan8Phys(bool* out) override;
    int isExpanderPresent(bool* out) override;
    int isAlarmPresent(bool* out) override;
    // Mux, connectors, configuration pages, phys and lanes
    int getMuxCount(unsigned char* out) override;
    int getMuxMode(unsigned char* out, unsigned char mux) override;
    int setMuxMode(unsigned char mode, unsigned char mux) override;
    int beginMuxModeUpdate() override;
    int endMuxModeUpdate() override;
    int getConnectorCount(unsigned char* out) override;
    int getConnectorLocation(unsigned char index, unsigned char* out) override;
    int getConnectorName(unsigned char index, std::string** out) override;
    int getConnectorsValue(KV_SAS_CONNECTORS* out) override;
    int readManufacturingPage(unsigned char page, unsigned char** out,
                              unsigned int* length) override;
    int writeManufacturingPage(unsigned char page, const unsigned char* data,
                               unsigned int length) override;
    int getConfigPageGeneric(unsigned char pageType, unsigned char pageNumber,
                             unsigned int pageAddress, unsigned char** out,
                             unsigned int* length) override;
    int getConfigPageInfo(unsigned char pageType, unsigned char pageNumber,
                          unsigned int pageAddress, unsigned char** out,
                          unsigned int* length) override;
    int getConfigPageInfoMPI2(unsigned char pageType, unsigned char pageNumber,
                              unsigned int pageAddress, unsigned char** out,
                              unsigned int* length) override;
    int getPhyCount(unsigned int* out) override;
    int isPhyDisable(int phy, bool* out) override;
    int getSASAddress(int phy, unsigned long long* out) override;
    int getSASPortNumber(int phy, unsigned int* out) override;
    int getSASPortNumberValid(int phy, unsigned int* out) override;
    int getConnectorIndex(int phy, unsigned char* out) override;
    int getLinkSpeed(int phy, unsigned int* out) override;
    int getPhyConnection(unsigned char* out, unsigned char index) override;
    int setLinkSpeed(int phy, unsigned int speed) override;
    int getAllLaneConnectionInfo(unsigned char* buf) override;
    int getLaneConnectionInfo(unsigned char* out, unsigned char index) override;
    int getAdpSASAddress(unsigned long long* out) override;
    int adpSetSASAdd(unsigned long long addr, bool isGen2) override;
    // Array limits, drive security keys, preserved cache
    int getMaxLdPerArray(unsigned char* out) override;
    int isSecurityEnabled(bool* out) override;
    int createLockKey(std::string& passPhrase, std::string& secretKey, std::string& keyId,
                      int mode) override;
    int rekeyLock(std::string& passPhrase) override;
    int lockKeyFromEscrow(std::string& passPhrase) override;
    int verifyLockKey(std::string& passPhrase, int mode) override;
    int getSuggestedSecurityKey(std::string& out) override;
    int destroyLockKey() override;
    int isLockKeyAssigned(bool* out) override;
    int isLockKeyFailed(bool* out) override;
    int isPassPhraseError(bool* out) override;
    int islockKeyRebootRequired(bool* out) override;
    int getSecurityKeyPerPD(unsigned int* out) override;
    int setSecurityKeyPerPD(unsigned int* value) override;
    int getSecureAllPDs(unsigned int* out) override;
    int setSecureAllPDs(unsigned int* value) override;
    int getPreservedCacheVDBits(unsigned long long* out) override;
    int getPreservedCacheVDBitsExt(KV_LD_BITMAP* out) override;
    int clearPreservedCacheData(unsigned char id) override;
    int isTreatR1EAsR10(bool* out) override;
    // Snapshot and SSD-cache support, external key management
    int isAutoSnapshotSupported(bool* out) override;
    int getDefaultSnapshotSpace(unsigned char* out) override;
    int setDefaultSnapshotSpace(unsigned char value) override;
    int getDefaultViewSpace(unsigned char* out) override;
    int setDefaultViewSpace(unsigned char value) override;
    int getAutoSnapshotSpace(unsigned char* out) override;
    int setAutoSnapshotSpace(unsigned char value) override;
    int isSnapshotSupported(unsigned char* out) override;
    int getSnapshotState(unsigned int* out) override;
    int getMaxConfigurableSSCSize(unsigned short* out) override;
    int getCurrentSSCSize(unsigned short* out) override;
    int getCurrentConfigSSCSize(unsigned long long* out) override;
    bool getSupportedRaidLevelsForBV(unsigned char level) override;
    int sscForceFlush(unsigned char target, bool flushAll) override;
    int isEKMSupported(bool* out) override;
    int createLockKeyUseEKMS(int mode) override;
    int RekeyLockKeyinEKMS() override;
    int getlockKeyBinding(unsigned char* out) override;
    int getbiosEKMStatus(unsigned char* out) override;
    // Event capture; clearAECMask follows at slot 357
    int startAEC(unsigned int value) override;
    int stopAEC() override;
    int disableAEC() override;
    int setAECCaptureMode(unsigned char mode) override;
    int getAEC(unsigned char* buffer, unsigned char which, unsigned int* count) override;
    int showAECSettings(KV_AEC_SETTINGS* settings) override;
    int filterAECMask(unsigned int mask, unsigned char which) override;
    // Protection-information and emergency-spare settings; battery
    int getPreventPIImport(unsigned char* out) override;
    int setPreventPIImport(unsigned char* value) override;
    int getPreventEnablePI(unsigned char* out) override;
    int setPreventEnablePI(unsigned char* value) override;
    int isPISupported(bool* out) override;
    int getfailPdOnSmartError(unsigned char* out) override;
    int setfailPdOnSmartError(unsigned char* value) override;
    int getForceSGPIO(unsigned char* out) override;
    int setForceSGPIO(unsigned char* value) override;
    int getBatteryState(int* out) override;
    int getBatteryTemperature(unsigned char* out) override;
    int getBatteryTemperatureStatus(int* out) override;
    int getBatteryType(unsigned char* out) override;
    int getBatterySubType(unsigned char* out) override;
    int getBatteryDeviceName(unsigned char** out) override;
    int getBatteryDesignInfoTransparentLearnsSupport(bool* out) override;
    int isBBUTransparentLearnSet(bool* out) override;
    int isI2cErrorsDetected(bool* out) override;
    int getBatteryFullCapacity(unsigned short* out) override;
    int getBatteryRemainingCapacity(unsigned short* out) override;
    int getBattRelativeStateOfCharge(unsigned short* out) override;
    int getBattAvgTimeToEmpty(unsigned short* out) override;
    int getBatteryAutoLearnMode(unsigned char* out) override;
    int getBatteryAutoLearnPeriod(unsigned int* out) override;
    int getBatteryNextLearnTime(unsigned int* out) override;
    int setBatteryAutoLearnMode(unsigned char* mode) override;
    int getWritePolicyChngReason(unsigned char* out) override;
    int getUseGlobalSparesForEmergency(unsigned char* out) override;
    int getUseUnconfGoodForEmergency(unsigned char* out) override;
    int getUseEmergencySparesForSMARTer(unsigned char* out) override;
    int setUseUnconfGoodForEmergency(unsigned char* value) override;
    int setUseEmergencySparesForSMARTer(unsigned char* value) override;
    int setUseGlobalSparesForEmergency(unsigned char* value) override;
    // Event capture, continued
    int clearAECMask(unsigned int mask, unsigned char which) override;
    // Feature and capability queries and settings
    int isBreakMirrorSupported(bool* out) override;
    int getautoDetectBackPlaneState(unsigned char* out) override;
    int setautoDetectBackPlaneState(unsigned char* value) override;
    int isDiskActivityUsedForLocate(unsigned char* out) override;
    int setUseDiskActivityForLocate(unsigned char value) override;
    int getConfigAutoBalance(unsigned int* out) override;
    int setConfigAutoBalance(unsigned int value) override;
    int isPowerSavingsSupported(unsigned char* out) override;
    int getDefaultLDPSPolicy(unsigned char* out) override;
    int setDefaultLDPSPolicy(unsigned char value) override;
    int getDisableLDPSInterval(unsigned char* out) override;
    int setDisableLDPSInterval(unsigned char value) override;
    int getDisableLdPsTime(unsigned short* out) override;
    int setDisableLdPsTime(unsigned short value) override;
    int getSpinUpEncDrvCnt(unsigned char* out) override;
    int setSpinUpEncDrvCnt(unsigned char value) override;
    int getSpinUpEncDelay(unsigned char* out) override;
    int setSpinUpEncDelay(unsigned char value) override;
    int isCpldSupported() override;
    int suspendPr() override;
    int resumePr() override;
    int getSSDPrStatus(unsigned char* out) override;
    int setSSDPrStatus(unsigned char value) override;
    int setEPDPrStatus(unsigned char value) override;
    int getPerfMode(unsigned char* out) override;
    int isCbsupported(bool* out) override;
    int getLDRestriction(bool& out) override;
    int setLDRestriction(bool value) override;
    int startManualLearnCycle() override;
    int getControllerInfo(KV_CTRL_INFO* out) override;
    int getSscdTargetIds(ArrayList<unsigned char>* list, unsigned char which) override;
    int setSscdTargetIds(const ArrayList<unsigned char>* list) override;
    int isBatteryHWPresent() override;
    int getBbuStatus(KV_BBU_STATUS* out) override;
    int getBbuFwStatus(unsigned int* out) override;
    int isBBUPresent(bool* out) override;
    int isBriskoPresent(bool* out) override;
    int getBbuOverallStatus(unsigned char* out) override;
    int getCtrlInfoBbu(bool* out) override;
    int getWrPolicyDefaultChng(unsigned char* out) override;
    int getValidWrPolicyLstChng(ArrayList<unsigned char>** out) override;
    int getFwBootTypeMode(unsigned char* out) override;
    int setFwBootTypeMode(unsigned char value) override;
    int getDisableSESMonitoring(unsigned char* out) override;
    int setDisableSESMonitoring(unsigned char value) override;
    int getLimitMaxRateSATA3G(unsigned char* out) override;
    int setLimitMaxRateSATA3G(unsigned char value) override;
    int isBlockSSDWriteCacheChange(bool* out) override;
    int isSecurityOnJBODSupported(unsigned int* out) override;
    int isSupportAllowedOpsforDrvRemoval(unsigned int* out) override;
    int isLargeIOSupported(unsigned int* out) override;
    int moreThan16Phys(bool* out) override;
    int doesAppNeedToBeUpdated(bool* need, unsigned short* fwLevel,
                               unsigned short* appLevel) override;
    int doesFwNeedToBeUpdated(bool* need, unsigned short* fwLevel,
                              unsigned short* appLevel) override;
    int getOem(int* out) override;
    int isCtrlhas64VDLimit() override;
    int getIOVPrivateInfo(unsigned char** out, unsigned int* length) override;
    int downgrade() override;
    int getAutoConfigParam(unsigned char* out, unsigned char option, unsigned char param) override;
    int setAutoConfigParam(unsigned char value) override;
    int getAutoPDCache(unsigned char* out) override;
    int setAutoPDCache(unsigned char value) override;
    int getCtrlManfactureSno(std::string& out) override;
    int getPortCount(unsigned char* out) override;
    int getVdCount(unsigned short* out) override;
    // Later features: support queries, getters and setters
    int setAllCopyback(unsigned char value) override;
    int getMemScrubPatterns(unsigned char** out, unsigned int* length) override;
    int setMemScrubPattern(unsigned char pattern, unsigned int value) override;
    int adpFlashErase(unsigned long long* a, bool erase, unsigned long long* b) override;
    int getHDDThermalPollInterval(unsigned short* out) override;
    int setHDDThermalPollInterval(unsigned short* value) override;
    int getSSDThermalPollInterval(unsigned short* out) override;
    int setSSDThermalPollInterval(unsigned short* value) override;
    int getJbodWriteCache(unsigned char* out) override;
    int setJbodWriteCache(unsigned char* value) override;
    int getBIOSBootMode(unsigned char* out) override;
    int setBIOSBootMode(unsigned char value) override;
    int getLDSpanList(unsigned char** out, unsigned int* length) override;
    int getPDDgdDetectionType(unsigned char* out) override;
    int setPDDgdDetectionType(unsigned char value) override;
    int getPDDgdCorrectiveAction(unsigned char* out) override;
    int setPDDgdCorrectiveAction(unsigned char value) override;
    int getPDDgdErrorThreshold(unsigned char* out) override;
    int setPDDgdErrorThreshold(unsigned char value) override;
    int isCtrlOstraQuorvex() override;
    int getControllerHA(unsigned char* out) override;
    int setControllerHA(unsigned char mode) override;
    int isSecurityKeyMismatch(unsigned int* out) override;
    int getMaintenanceMode(unsigned char* out) override;
    int setMaintenanceMode(unsigned char mode) override;
    int getLargeQDepth(unsigned char* out) override;
    int setLargeQDepth(unsigned char value) override;
    int getPersonality(KV_CTRL_PERSONALITY_INFO* out) override;
    int isJBODPersonalitysupported(bool* out) override;
    int isSDSsupported(bool* out) override;
    int setPersonality(unsigned short personality) override;
    int setPersonality(unsigned short personality, unsigned short option) override;
    int getSnapDumpInfo(unsigned char** out, unsigned int* length) override;
    int setSnapDumpInfo(const unsigned char* data, unsigned int length) override;
    int getSnapDumpHDR(unsigned char** out, unsigned int* length) override;
    int getSnapDumpData(unsigned char chunk, unsigned int offset, unsigned char** out,
                        unsigned int* length) override;
    int getEnableSnapDump(unsigned char* out) override;
    int setEnableSnapDump(unsigned char value) override;
    int getScsiUnmap(unsigned char* out) override;
    int setScsiUnmap(unsigned char value) override;
    int getNVMEErrorList(unsigned char** out, unsigned int* length) override;
    int sendNVMeRepairRequest(unsigned char device) override;
    int getFirmwareBasedDeviceOrdering(unsigned char* out) override;
    int setFirmwareBasedDeviceOrdering(unsigned char value) override;
    int getMfgExtPage(unsigned char page, unsigned char** out, unsigned int* length) override;
    int getSecurityPage0(unsigned char** out, unsigned int* length) override;
    int getSecureBootDetails(json::Object& obj) override;
    int exportCSR(unsigned char** out, unsigned int* length) override;
    int importCSR(const unsigned char* data, unsigned int length) override;
    int setInvalidateSlot(unsigned char slot) override;
    int getOOBInfo(unsigned char which, unsigned char** out, unsigned int* length) override;
    int setOOBInfo(const unsigned char* data, unsigned int length) override;
    int setFirmwareDebug(const unsigned char* data, unsigned int length) override;
    int getPredFailDAInterval(unsigned short* out) override;
    int setPredFailDAInterval(unsigned short value) override;
    int GetExpanderNumPhy(unsigned long long sasAddress, unsigned char* out) override;
    unsigned char doesControllerSupportPortNumInSmp() override;
    int getParityReadCacheByPass(bool* out) override;
    int setParityReadCacheByPass(bool value) override;
    int isNvmeErrorDeviceConnectorIndexSupported() override;
    // ==== END operations of AdapterData ====

    // ==== BEGIN cache loaders, write-backs and other non-virtual members ====
    // Cache loaders. Each returns 0 or the status of the request that failed.
    // getCtlrInfo, getMFCdata, the four battery loaders, getBIOSData, getMuxInfo
    // and getConnectors read their record once and keep it; a failed read keeps
    // nothing, so the next call tries again.
    int getCtlrInfo();
    // Controller properties, plus their 128-byte extension when the controller
    // has one; only the properties' status reaches the caller.
    int getKvCtlrProp();
    int getMFCdata();
    // Re-read on every call into kvCfgAllowedOps_.
    int getConfigAllowedOps();
    int getBatteryInfo();
    int getBatteryCapacityInfo();
    int getBatteryDesignInfo();
    int getBBUProperties();
    int getBIOSData();
    // Running, backup and pending image component lists, re-read on every call.
    // The `count` of a list held here never exceeds the entries allocated for
    // it; use flashComp() to reach an entry.
    int getFwCompData();
    // Patrol read schedule: discarded and re-read on every call, in the
    // extended form (kvPrPropExt_) when the controller supports more than 64
    // logical drives, else the short form (kvPrProp_). -1 when no buffer.
    int getPrProperties();
    // Consistency-check schedule, same two forms. Kept once read in the short
    // form; the extended form is read again on every call.
    int getCcScProperties();
    int getMuxInfo();
    int getConnectors();
    // Phy table. A failed read keeps the (zeroed) buffer: later calls return 0.
    int getAllPhyConnections();
    // Whole-record schedule write-backs. 1 when neither form is held (nothing
    // sent), else the status of the set request.
    int setPrProperties();
    int setCcScProperties();
    // Status reads into the caller's record, written only on success; -1 for
    // a null record.
    int getPrStatus(KV_PR_STATUS* status);
    int getCcScStatus(KV_CC_SCHEDULE_STATUS* status);
    // Time helpers: the local-time value of the schedule epoch (2000-01-01
    // 00:00:00 standard time) and the summer-time shift in seconds.
    std::int64_t y2kTime();
    int getdstInSec();
    // The controller's clock into the caller's record (written only on
    // success); -1 for a null record.
    int getCtrlTime(KV_TIME_STAMP* timeStamp);
    // Fills one policy-table row: "Policy", "Current", "Default"; returns 0.
    int formatPolicyObject(char* name, char* current, char* defaultValue, json::Object& row);
    int doesFWSupportCfgValidation(bool* supported);
    // Display text of a KV_SAS_PHY_LINK_SPEED code.
    const char* GetSASPhyLinkSpeed(unsigned char code);

    // Entry i of an image component list, or nullptr when i is not below the
    // list's count (or the list is null). Entries lie beyond the record's
    // one-element array, so they are reached by byte offset.
    static const KV_FLASH_COMP_INFO* flashComp(const KV_FLASH_COMP_INFO_LIST* list,
                                               std::uint32_t i);
    // ==== END cache loaders ====

    // ==== BEGIN settings helpers ====
    // Generic accessors behind the controller-setting getters and setters
    // (properties.cpp). `row` indexes that file's setting table, which names
    // each setting's record, position, width, behaviour on a failed load and
    // the operation names for the log lines. settingGet writes the caller's
    // out-value (of the type `out` describes) only when the field was read;
    // settingSet stores *value into the cached record and raises the record's
    // change flag. Both return -1 for a null pointer before loading anything.
    struct SettingOut;
    int settingGet(unsigned row, const SettingOut& out);
    int settingSet(unsigned row, const std::uint32_t* value);
    // ==== END settings helpers ====

    // ==== BEGIN schedule helpers ====
    // Shared by the patrol read (patrol.cpp) and consistency-check
    // (consistency.cpp) schedules. Schedule times are seconds since the
    // schedule epoch (y2kTime), held in 32 bits.
    //
    // The caller's wall-clock start time, always read as standard time, as an
    // offset from the epoch: 0, -1 (no time, or the conversion failed) or -2
    // (the time does not fit the 32-bit offset, e.g. before the epoch).
    int schedStartToOffset(const tm* start, std::uint32_t* offset);
    // An epoch offset as local wall-clock time (a time falling in summer time
    // is shown less the summer-time shift, undoing schedStartToOffset): 0, or
    // -1 when the local time cannot be computed (*out untouched).
    int schedOffsetToLocal(std::uint32_t offset, tm* out);
    // Largest exclusion list of the short schedule forms (their id array).
    static constexpr unsigned kSchedLegacyMaxExcluded = 64;
    // Excluded logical drives of a short-form record (id array, in array
    // order; at most 64 whatever count the firmware gives) or an extended-form
    // record (bitmap, ascending ids), appended to `out`.
    template <typename Rec>
    static void schedLegacyExcludedToList(const Rec& rec, ArrayList<unsigned short>* out) {
        const unsigned n = rec.excludeLdCount < kSchedLegacyMaxExcluded ? rec.excludeLdCount
                                                                        : kSchedLegacyMaxExcluded;
        for (unsigned i = 0; i < n; ++i) {
            out->add(rec.excludedLD[i]);
        }
    }
    template <typename Rec>
    static void schedMapExcludedToList(const Rec& rec, ArrayList<unsigned short>* out) {
        for (unsigned n = 0; n < 256; ++n) {
            if ((rec.excludedLdMap.b[n / 8] >> (n % 8)) & 1u) {
                out->add(static_cast<unsigned short>(n));
            }
        }
    }
    // The list into a record: short form (callers have checked the count
    // against kSchedLegacyMaxExcluded) or extended form (map cleared first,
    // the low 8 bits of each id set). The count is stored in 8 bits.
    template <typename Rec>
    static void schedListToLegacyExcluded(const ArrayList<unsigned short>& list, Rec& rec) {
        rec.excludeLdCount = static_cast<std::uint8_t>(list.getCount());
        for (unsigned i = 0; i < rec.excludeLdCount && i < kSchedLegacyMaxExcluded; ++i) {
            rec.excludedLD[i] = list.get(i);
        }
    }
    template <typename Rec>
    static void schedListToMapExcluded(const ArrayList<unsigned short>& list, Rec& rec) {
        for (auto& byte : rec.excludedLdMap.b) {
            byte = 0;
        }
        rec.excludeLdCount = static_cast<std::uint8_t>(list.getCount());
        for (unsigned i = 0; i < list.getCount(); ++i) {
            const unsigned n = list.get(i) & 0xFFu;
            rec.excludedLdMap.b[n / 8] =
                static_cast<std::uint8_t>(rec.excludedLdMap.b[n / 8] | (1u << (n % 8)));
        }
    }
    // True when a list cannot be stored because the controller uses the short
    // schedule forms and the list is longer than their id array. Loads the
    // controller information (status in *rc, 0 when it is held).
    bool schedListTooLong(const ArrayList<unsigned short>* list, int* rc);
    // Sends the held patrol read record (whichever form is held, with its own
    // length and mailbox byte 0 = 1 for the extended form); -1 when none.
    int sendHeldPrProperties();
    // ==== END schedule helpers ====

    // ==== BEGIN rules, topology and security helpers ====
    // The cached controller information / manufacturing defaults, loaded
    // first when absent; nullptr with the loader's status in *rc when the load
    // fails (rules.cpp, cachepolicy.cpp, topology.cpp, security.cpp answer their capability
    // queries through these).
    const KV_CTRL_INFO* ctrlInfoOrStatus(int* rc);
    const KV_MFC_DEFAULTS* mfcDefaultsOrStatus(int* rc);
    // ==== END rules, topology and security helpers ====

    // The serial number exactly as the basic section shows it (the
    // manufacturing record's, the controller information's on OEM hosts, "NA"
    // for a controller type that withholds it), so every listing and label of
    // a controller names it alike. 0, or the status of the failed read.
    int reportSerialNumber(std::string& out);

    // The consistency-check exclusions alone: loads the schedule, writes the
    // list as setCcSchedMode does and sends the held record. The combined
    // writer also gives a concurrent schedule the controller's maximum
    // concurrency, so a caller that keeps the mode would lose the count the
    // controller holds. -1 for a null list or one the short form cannot hold;
    // a failed load is passed through, as by the other schedule setters.
    int setCcSchedExcludedLdList(const ArrayList<unsigned short>* list);

    // ==== BEGIN features helpers ====
    // Shared by the feature operations (features.cpp, pages.cpp, diagnostics.cpp). Byte buffers
    // handed to a caller through unsigned char** are allocated with new[] and belong to the caller,
    // who releases them with delete[].
    //
    // Largest list, page or dump chunk accepted from the firmware or a caller;
    // a list head announcing more is refused with -1 before the second read.
    static constexpr std::uint32_t kFeatureReadCap = 1024u * 1024u;
    // Head of the lists read in two passes: size U32 (bytes of the whole list,
    // head included), count U32.
    static constexpr std::uint32_t kFeatureListHead = 8;
    // Configuration-page pass-through frame: a 12-byte request head (action U8
    // 0 header / 1 read / 2 write, pageType U8, pageNumber U8, reserved U8,
    // pageAddress U32, pageLength U32 = bytes of the page body) followed by the
    // page body. The same buffer goes out and comes back.
    static constexpr std::uint32_t kConfigPageHead = 12;
    // The header pass of a configuration-page read: the page body's length in
    // bytes into *pageLength (only on success). -1 when the data provider is
    // unavailable or pageLength is null.
    int getConfigPageHeader(unsigned char pageType, unsigned char pageNumber,
                            unsigned int pageAddress, unsigned int* pageLength);
    // One read of `size` bytes into a new buffer handed to the caller on
    // success (length 0 sends the opcode's standard size, which then is `size`).
    int featureReadBytes(std::uint32_t opcode, const DCMD_MBOX& mbox, std::uint32_t size,
                         std::uint32_t length, unsigned char** out, unsigned int* outLength);
    // Two-pass list read: the head (headLength bytes; request length
    // headRequestLength, 0 = standard size), then exactly the announced size
    // with the same mailbox. A head announcing no more than was read is the
    // whole list (no second read); the list is never shorter than its head.
    int featureReadList(std::uint32_t opcode, const DCMD_MBOX& mbox, std::uint32_t headLength,
                        std::uint32_t headRequestLength, unsigned char** out,
                        unsigned int* outLength);
    // One write of the opcode's standard-size record: the caller's bytes
    // (1..record size) at its start, zeros after. -1 for no data or too much.
    int featureWriteRecord(std::uint32_t opcode, const DCMD_MBOX& mbox, const unsigned char* data,
                           unsigned int length);
    // Header pass, then the page body (handed over without the request head;
    // an empty page is a null buffer of length 0). Provider check first.
    int featureReadConfigPage(unsigned char pageType, unsigned char pageNumber,
                              unsigned int pageAddress, unsigned char** out, unsigned int* length);
    // ==== END features helpers ====

private:
    // ==== BEGIN data members ====
    // Test access to the caches (tests/adapter); no production code uses it.
    friend struct AdapterDataKviPeer;

    // Caches. Each pointer is null or owns a value-initialised record of its
    // type holding the firmware's last answer, possibly changed by setters
    // not yet written back. The flash lists are malloc'ed (head + entries);
    // all others are new'ed. The destructor releases every one of them.
    KV_CTRL_PROP* kvCtrlPropPtr_ = nullptr;
    KV_CTRL_PROP_EXT* kvCtrlPropExtPtr_ = nullptr;
    KV_EVT_LOG_INFO* kvEventLogInfoPtr_ = nullptr;
    KV_BIOS_DATA* kvBiosDataPtr_ = nullptr;
    KV_FLASH_COMP_INFO_LIST* getActiveFlashInfo_ = nullptr;
    KV_FLASH_COMP_INFO_LIST* getBackupFlashInfo_ = nullptr;
    KV_FLASH_COMP_INFO_LIST* getPendingFlashInfo_ = nullptr;
    KV_CTRL_INFO* kvCtrlInfoPtr_ = nullptr;
    KV_BBU_STATUS* kvBatteryInfoPtr_ = nullptr;
    KV_BBU_CAPACITY_INFO* kvBattCapacityInfoPtr_ = nullptr;
    KV_BBU_DESIGN_INFO* kvBattDesignInfoPtr_ = nullptr;
    KV_BBU_PROPERTIES* kvBBUPropPtr_ = nullptr;
    KV_MFC_DEFAULTS* kvMFCDefPtr_ = nullptr;
    KV_PR_PROPERTIES* kvPrProp_ = nullptr;
    KV_PR_PROPERTIES_EXT* kvPrPropExt_ = nullptr;
    KV_CONFIG_ALLOWED_OPS kvCfgAllowedOps_{}; // re-read on every use
    KV_SAS_MUX_LIST* kvMuxListPtr_ = nullptr;
    KV_SAS_CONNECTORS* kvConnectorsPtr_ = nullptr;
    KV_CC_SCHEDULE_PROPERTIES* kvCcScProp_ = nullptr;
    KV_CC_SCHEDULE_PROPERTIES_EXT* kvCcScPropExt_ = nullptr;
    KV_SAS_PHY_CONNECTIONS* kvPhy_ = nullptr;
    // Change flags: a setter changed the cached record since its last
    // write-back. Cleared when the write-back is attempted.
    bool kvAdpPropertiesChanged_ = false;
    bool kvMuxPropertiesChanged_ = false;
    bool kvCtrlPropertiesExtChanged_ = false;
    bool kvBIOSDataChanged_ = false;
    int PendingCount = 0;  // components in the pending image, as last read
    char msgbuf[100] = {}; // scratch for report value texts

    // ---- request helpers (every operation sends through these) ----
    //
    // sendDcmd: one direct command through controllerPtr_->execute.
    //   opcode    a KV_DCMD_ value.
    //   mbox      the 12-byte mailbox, copied into the request.
    //   buf       data buffer (read into, written from, or both, as the opcode
    //             table says), or nullptr for a command without data.
    //   capacity  bytes buf can hold; the provider never lets the controller
    //             write more (pass 0 with a null buf).
    //   length    transfer length; 0 = the opcode's standard size.
    //   mboxAfter when non-null, receives the mailbox as the controller left
    //             it (commands that answer in mailbox words 1 and 2).
    // Returns the firmware status (0 = success), a negative provider status,
    // or -1 when the object has no controller.
    int sendDcmd(std::uint32_t opcode, const DCMD_MBOX& mbox, void* buf, std::uint32_t capacity,
                 std::uint32_t length, DCMD_MBOX* mboxAfter = nullptr);
    // A command with an empty mailbox and no data.
    int sendDcmd(std::uint32_t opcode) { return sendDcmd(opcode, kviMbox(), nullptr, 0, 0); }
    // A command moving one record: the record's size is the capacity.
    template <typename T>
    int sendDcmdRec(std::uint32_t opcode, const DCMD_MBOX& mbox, T* rec, std::uint32_t length = 0,
                    DCMD_MBOX* mboxAfter = nullptr) {
        return sendDcmd(opcode, mbox, rec, static_cast<std::uint32_t>(sizeof(T)), length,
                        mboxAfter);
    }
    // A command answered by the host driver (DriverKviDPParams), empty mailbox.
    int sendDriverCmd(std::uint32_t opcode, void* buf, std::uint32_t capacity,
                      std::uint32_t length);
    // Mailboxes, cleared first: kviMbox(b0) sets byte 0; kviMboxWords sets the
    // three words (the word form of a request).
    static DCMD_MBOX kviMbox(std::uint8_t b0 = 0) {
        DCMD_MBOX m{};
        m.b[0] = b0;
        return m;
    }
    static DCMD_MBOX kviMboxWords(std::uint32_t w0, std::uint32_t w1 = 0, std::uint32_t w2 = 0) {
        DCMD_MBOX m{};
        m.w[0] = w0;
        m.w[1] = w1;
        m.w[2] = w2;
        return m;
    }
    // True when the controller information is loaded and reports the
    // extended schedule forms (more than 64 logical drives).
    bool extSchedForm() const;
    // Second pass of an image component list read (mailbox b[0] = which):
    // allocates room for the head and `count` entries (at least the standard
    // transfer size), sets the head to (headSize, count), reads with length
    // count x 72 and stores the list in *slot, releasing the list held there.
    // On failure *slot is released and nulled.
    int readFlashEntries(std::uint8_t which, std::uint32_t count, std::uint32_t headSize,
                         KV_FLASH_COMP_INFO_LIST** slot);
    // Reads one record into `member` (a new value-initialised T, replacing and
    // releasing any record held there) with an empty mailbox and length 0; on
    // failure releases it and nulls `member`. Returns the status.
    template <typename T> int readRecord(T*& member, std::uint32_t opcode) {
        delete member;
        member = new T();
        const int rc = sendDcmdRec(opcode, kviMbox(), member);
        if (rc != 0) {
            delete member;
            member = nullptr;
        }
        return rc;
    }
    // One schedule record read afresh into `member` (cache.cpp), releasing any
    // held there: a new value-initialised T (-1 when none can be had), mailbox
    // byte 0 = `form` (1 for the extended form), length the record's size. On
    // failure it is released and nulled. Returns the status.
    template <typename T> int readSchedRecord(T*& member, std::uint32_t opcode, std::uint8_t form);
    // Whole-record schedule write-back (cache.cpp), logged as `name`: 1 when
    // neither form is held, the controller information loaded when absent,
    // then the form held sent (short form first) with its own size and
    // mailbox byte 0 = 1 when the controller uses the extended forms.
    template <typename Short, typename Ext>
    int sendSchedRecord(const char* name, std::uint32_t opcode, Short* shortRec, Ext* extRec);
    // How a read-once loader closes: "Exiting ... retCode = %d" (most),
    // "Exiting ..." without the status, or its entry line once more.
    enum class LoadExit { RetCode, Plain, RepeatEntry };
    // Read-once loader (cache.cpp): logs "Entering AdapterDataKvi::<name>",
    // answers 0 when `member` is held, else reads it with readRecord and logs
    // the closing line `exit` names. Returns the status.
    template <typename T>
    int loadOnce(T*& member, std::uint32_t opcode, const char* name,
                 LoadExit exit = LoadExit::RetCode);
    // Phy-table accessor (topology.cpp): the entry line, -1 for a null `out` or
    // an index not `inRange`, the table loaded only when none is held, then
    // *out = pick(entry `index`) and the exit line.
    template <typename T, typename Pick>
    int phyAnswer(const char* name, int index, bool inRange, T* out, Pick pick);
    // `f` applied to the schedule record held, whichever form it is: patrol
    // read (extended form first) and consistency check (short form first).
    // The caller has loaded the schedule.
    template <typename F> auto withPrRecord(F f) {
        return kvPrPropExt_ != nullptr ? f(*kvPrPropExt_) : f(*kvPrProp_);
    }
    template <typename F> auto withCcRecord(F f) {
        return kvCcScProp_ != nullptr ? f(*kvCcScProp_) : f(*kvCcScPropExt_);
    }
    // Patrol read schedule value and field setter (patrol.cpp): the entry
    // line, the schedule read (a failure answers 0 / -1), then the value
    // `pick` takes from the record, or `set` applied and the record sent;
    // the exit line.
    template <typename R, typename Pick> R prScheduleValue(const char* name, Pick pick);
    template <typename Set> int prScheduleSet(const char* name, Set set);
    // Event capture mask request (events.cpp) behind filterAECMask and
    // clearAECMask: sub-function `sub` with `which` and `mask`, logged as
    // `name`; -1 when the firmware succeeds but echoes another mask.
    int aecMaskControl(const char* name, std::uint32_t sub, unsigned int mask, unsigned char which);
    // ==== END data members ====
};
