#pragma once
// Firmware records exchanged with the controller through direct commands.
//
// Every record is a packed little-endian wire image: each field sits at the byte
// given in its trailing comment, and the static_asserts after each record pin the
// size and every byte offset. Bit fields are allocated from bit 0 (the least
// significant bit) of their storage unit, which is how GCC and Clang lay them out
// on little-endian hosts; the firmware tests pin each flag's bit position.
// Bytes the firmware fills but this tool never interprets appear as rsvdNNN
// arrays (NNN = their offset) so that a record written back carries them
// unchanged. The field registry (kv_fields.def) lists every field by its dotted
// name for the simulator's profiles and `kvictl raw`.

#include <cstddef>
#include <cstdint>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the firmware records are little-endian wire images read in place");

#pragma pack(push, 1)

struct KV_CTRL_PROP {
    uint16_t seqNum;                       /* 0 */
    uint16_t predFailPollInterval;         /* 2 */
    uint16_t intThrottleCount;             /* 4 */
    uint16_t intThrottleTimeUs;            /* 6 */
    uint8_t rebuildRate;                   /* 8 */
    uint8_t patrolReadRate;                /* 9 */
    uint8_t bgiRate;                       /* 10 */
    uint8_t ccRate;                        /* 11 */
    uint8_t reconRate;                     /* 12 */
    uint8_t cacheFlushInterval;            /* 13 */
    uint8_t spinupDriveCount;              /* 14 */
    uint8_t spinupDelay;                   /* 15 */
    uint8_t clusterEnable;                 /* 16 */
    uint8_t coercionMode;                  /* 17 */
    uint8_t alarmEnable;                   /* 18 */
    uint8_t disableAutoRebuild;            /* 19 */
    uint8_t disableBatteryWarning;         /* 20 */
    uint8_t eccBucketSize;                 /* 21 */
    uint16_t eccBucketLeakRate;            /* 22 */
    uint8_t restoreHotSpareOnInsertion;    /* 24 */
    uint8_t exposeEnclosureDevices;        /* 25 */
    uint8_t maintainPdFailHistory;         /* 26 */
    uint8_t disallowHostRequestReordering; /* 27 */
    uint8_t abortCCOnError;                /* 28 */
    uint8_t loadBalanceMode;               /* 29 */
    uint8_t disableAutoDetectBackplane;    /* 30 */
    uint8_t snapVDSpace;                   /* 31 */
    struct {
        uint32_t copyBackDisabled : 1; /* 32 */
        uint32_t SMARTerEnabled : 1;
        uint32_t prCorrectUnconfiguredAreas : 1;
        uint32_t useFdeOnly : 1;
        uint32_t disableNCQ : 1;
        uint32_t SSDSMARTerEnabled : 1;
        uint32_t SSDPatrolReadEnabled : 1;
        uint32_t enableSpinDownUnconfigured : 1;
        uint32_t autoEnhancedImport : 1;
        uint32_t enableSecretKeyControl : 1;
        uint32_t disableOnlineCtrlReset : 1;
        uint32_t allowBootWithPinnedCache : 1;
        uint32_t disableSpinDownHS : 1;
        uint32_t enableJBOD : 1;
        uint32_t disableCacheBypass : 1;
        uint32_t useDiskActivityForLocate : 1;
        uint32_t enablePI : 1;
        uint32_t preventPIImport : 1;
        uint32_t useGlobalSparesForEmergency : 1;
        uint32_t useUnconfGoodForEmergency : 1;
        uint32_t useEmergencySparesforSMARTer : 1;
        uint32_t forceSGPIOForQuadOnly : 1;
        uint32_t enableConfigAutoBalance : 1;
        uint32_t failPDOnSMARTErr : 1;
        uint32_t enableWriteVerifyDuringCacheFlush : 1;
        uint32_t disableImmediateIO : 1;
        uint32_t disableT10RebuildAssist : 1;
        uint32_t ignore64ldRestriction : 1;
        uint32_t enableSwZone : 1;
        uint32_t limitMaxRateSATA3G : 1;
        uint32_t driveActivityLED : 1;
        uint32_t disableSESMonitoring : 1;
    } OnOffProperties; /* 32 */
    union {
        uint8_t autoSnapVDSpace; /* 36 */
        uint8_t viewSpace;       /* 36 */
        struct {
            uint16_t enableLargeIOSupport : 1; /* 36 */
            uint16_t enableLargeQD : 1;
            uint16_t SESVPDAssociationTypeInMultiPathCfg : 1;
            uint16_t activeFWImageSelect : 1;
            uint16_t enableSnapDump : 1;
            uint16_t disableScsiUnmap : 1;
            uint16_t enableFwDevOrder : 1;
            uint16_t parityReadCacheBypass : 1;
            uint16_t reserved : 8;
        } OnOffProperties2; /* 36 */
    };
    uint16_t spinDownTime;          /* 38 */
    uint8_t defaultLdPSPolicy;      /* 40 */
    uint8_t disableLdPSInterval;    /* 41 */
    uint16_t disableLdPSTime;       /* 42 */
    uint8_t spinupEnclDriveCount;   /* 44 */
    uint8_t spinupEnclDelay;        /* 45 */
    uint8_t defaultCtrlPowerPolicy; /* 46 */
    struct {
        uint8_t mode : 2; /* 47 */
        uint8_t reserved0 : 6;
    } perfTuners; /* 47 */
    struct {
        uint8_t maxFlushLines; /* 48 */
        union {
            uint8_t numOrderIOs;                           /* 49 */
            uint8_t maxPdLatencyMsBeforeIssuingOrderedTag; /* 49 */
        };
    } perfTunerValues[4];              /* 48 */
    uint16_t HDDThermalPollInterval;   /* 56 */
    uint16_t SSDThermalPollInterval;   /* 58 */
    uint8_t diskCacheSettingForSysPDs; /* 60 */
    union {
        struct {
            uint8_t detectionType : 2; /* 61 */
            uint8_t correctiveAction : 1;
            uint8_t reserved0 : 1;
            uint8_t errorThreshold : 2;
            uint8_t reserved1 : 2;
        } pdDegradedMediaOptions;          /* 61 */
        uint8_t pdDegradedMediaProperties; /* 61 */
    };
    struct {
        uint8_t sriovEnabled : 1; /* 62 */
        uint8_t VFQDMode : 4;
        uint8_t rsvd : 3;
    } sriovOptions;     /* 62 */
    uint8_t fwReserved; /* 63 */
};
static_assert(sizeof(KV_CTRL_PROP) == 64, "KV_CTRL_PROP size");
static_assert(offsetof(KV_CTRL_PROP, seqNum) == 0, "KV_CTRL_PROP.seqNum");
static_assert(offsetof(KV_CTRL_PROP, predFailPollInterval) == 2,
              "KV_CTRL_PROP.predFailPollInterval");
static_assert(offsetof(KV_CTRL_PROP, intThrottleCount) == 4, "KV_CTRL_PROP.intThrottleCount");
static_assert(offsetof(KV_CTRL_PROP, intThrottleTimeUs) == 6, "KV_CTRL_PROP.intThrottleTimeUs");
static_assert(offsetof(KV_CTRL_PROP, rebuildRate) == 8, "KV_CTRL_PROP.rebuildRate");
static_assert(offsetof(KV_CTRL_PROP, patrolReadRate) == 9, "KV_CTRL_PROP.patrolReadRate");
static_assert(offsetof(KV_CTRL_PROP, bgiRate) == 10, "KV_CTRL_PROP.bgiRate");
static_assert(offsetof(KV_CTRL_PROP, ccRate) == 11, "KV_CTRL_PROP.ccRate");
static_assert(offsetof(KV_CTRL_PROP, reconRate) == 12, "KV_CTRL_PROP.reconRate");
static_assert(offsetof(KV_CTRL_PROP, cacheFlushInterval) == 13, "KV_CTRL_PROP.cacheFlushInterval");
static_assert(offsetof(KV_CTRL_PROP, spinupDriveCount) == 14, "KV_CTRL_PROP.spinupDriveCount");
static_assert(offsetof(KV_CTRL_PROP, spinupDelay) == 15, "KV_CTRL_PROP.spinupDelay");
static_assert(offsetof(KV_CTRL_PROP, clusterEnable) == 16, "KV_CTRL_PROP.clusterEnable");
static_assert(offsetof(KV_CTRL_PROP, coercionMode) == 17, "KV_CTRL_PROP.coercionMode");
static_assert(offsetof(KV_CTRL_PROP, alarmEnable) == 18, "KV_CTRL_PROP.alarmEnable");
static_assert(offsetof(KV_CTRL_PROP, disableAutoRebuild) == 19, "KV_CTRL_PROP.disableAutoRebuild");
static_assert(offsetof(KV_CTRL_PROP, disableBatteryWarning) == 20,
              "KV_CTRL_PROP.disableBatteryWarning");
static_assert(offsetof(KV_CTRL_PROP, eccBucketSize) == 21, "KV_CTRL_PROP.eccBucketSize");
static_assert(offsetof(KV_CTRL_PROP, eccBucketLeakRate) == 22, "KV_CTRL_PROP.eccBucketLeakRate");
static_assert(offsetof(KV_CTRL_PROP, restoreHotSpareOnInsertion) == 24,
              "KV_CTRL_PROP.restoreHotSpareOnInsertion");
static_assert(offsetof(KV_CTRL_PROP, exposeEnclosureDevices) == 25,
              "KV_CTRL_PROP.exposeEnclosureDevices");
static_assert(offsetof(KV_CTRL_PROP, maintainPdFailHistory) == 26,
              "KV_CTRL_PROP.maintainPdFailHistory");
static_assert(offsetof(KV_CTRL_PROP, disallowHostRequestReordering) == 27,
              "KV_CTRL_PROP.disallowHostRequestReordering");
static_assert(offsetof(KV_CTRL_PROP, abortCCOnError) == 28, "KV_CTRL_PROP.abortCCOnError");
static_assert(offsetof(KV_CTRL_PROP, loadBalanceMode) == 29, "KV_CTRL_PROP.loadBalanceMode");
static_assert(offsetof(KV_CTRL_PROP, disableAutoDetectBackplane) == 30,
              "KV_CTRL_PROP.disableAutoDetectBackplane");
static_assert(offsetof(KV_CTRL_PROP, snapVDSpace) == 31, "KV_CTRL_PROP.snapVDSpace");
static_assert(offsetof(KV_CTRL_PROP, OnOffProperties) == 32, "KV_CTRL_PROP.OnOffProperties");
static_assert(offsetof(KV_CTRL_PROP, autoSnapVDSpace) == 36, "KV_CTRL_PROP.autoSnapVDSpace");
static_assert(offsetof(KV_CTRL_PROP, viewSpace) == 36, "KV_CTRL_PROP.viewSpace");
static_assert(offsetof(KV_CTRL_PROP, OnOffProperties2) == 36, "KV_CTRL_PROP.OnOffProperties2");
static_assert(offsetof(KV_CTRL_PROP, spinDownTime) == 38, "KV_CTRL_PROP.spinDownTime");
static_assert(offsetof(KV_CTRL_PROP, defaultLdPSPolicy) == 40, "KV_CTRL_PROP.defaultLdPSPolicy");
static_assert(offsetof(KV_CTRL_PROP, disableLdPSInterval) == 41,
              "KV_CTRL_PROP.disableLdPSInterval");
static_assert(offsetof(KV_CTRL_PROP, disableLdPSTime) == 42, "KV_CTRL_PROP.disableLdPSTime");
static_assert(offsetof(KV_CTRL_PROP, spinupEnclDriveCount) == 44,
              "KV_CTRL_PROP.spinupEnclDriveCount");
static_assert(offsetof(KV_CTRL_PROP, spinupEnclDelay) == 45, "KV_CTRL_PROP.spinupEnclDelay");
static_assert(offsetof(KV_CTRL_PROP, defaultCtrlPowerPolicy) == 46,
              "KV_CTRL_PROP.defaultCtrlPowerPolicy");
static_assert(offsetof(KV_CTRL_PROP, perfTuners) == 47, "KV_CTRL_PROP.perfTuners");
static_assert(offsetof(KV_CTRL_PROP, perfTunerValues[0].maxFlushLines) == 48,
              "KV_CTRL_PROP.perfTunerValues[0].maxFlushLines");
static_assert(offsetof(KV_CTRL_PROP, perfTunerValues[0].numOrderIOs) == 49,
              "KV_CTRL_PROP.perfTunerValues[0].numOrderIOs");
static_assert(offsetof(KV_CTRL_PROP, perfTunerValues[0].maxPdLatencyMsBeforeIssuingOrderedTag) ==
                  49,
              "KV_CTRL_PROP.perfTunerValues[0].maxPdLatencyMsBeforeIssuingOrderedTag");
static_assert(offsetof(KV_CTRL_PROP, perfTunerValues[0]) == 48, "KV_CTRL_PROP.perfTunerValues[0]");
static_assert(offsetof(KV_CTRL_PROP, HDDThermalPollInterval) == 56,
              "KV_CTRL_PROP.HDDThermalPollInterval");
static_assert(offsetof(KV_CTRL_PROP, SSDThermalPollInterval) == 58,
              "KV_CTRL_PROP.SSDThermalPollInterval");
static_assert(offsetof(KV_CTRL_PROP, diskCacheSettingForSysPDs) == 60,
              "KV_CTRL_PROP.diskCacheSettingForSysPDs");
static_assert(offsetof(KV_CTRL_PROP, pdDegradedMediaOptions) == 61,
              "KV_CTRL_PROP.pdDegradedMediaOptions");
static_assert(offsetof(KV_CTRL_PROP, pdDegradedMediaProperties) == 61,
              "KV_CTRL_PROP.pdDegradedMediaProperties");
static_assert(offsetof(KV_CTRL_PROP, sriovOptions) == 62, "KV_CTRL_PROP.sriovOptions");
static_assert(offsetof(KV_CTRL_PROP, fwReserved) == 63, "KV_CTRL_PROP.fwReserved");

// Second block of controller properties: KV_CTRL_PROP_EXT carries it after
// KV_CTRL_PROP (at 64) and KV_CTRL_INFO mirrors it (at 2384). The firmware fixes
// only its size and the smart-poll interval for direct-attached drives (seconds)
// in the first two bytes; the split of the rest is our own: one opaque block, so
// that a whole-record write-back returns those bytes as the controller sent them.
struct KV_CTRL_PROP_2 {
    uint16_t predFailDAInterval; /* 0 */
    uint8_t reserved[62];        /* 2 */
};
static_assert(sizeof(KV_CTRL_PROP_2) == 64, "KV_CTRL_PROP_2 size");
static_assert(offsetof(KV_CTRL_PROP_2, predFailDAInterval) == 0,
              "KV_CTRL_PROP_2.predFailDAInterval");
static_assert(offsetof(KV_CTRL_PROP_2, reserved) == 2, "KV_CTRL_PROP_2.reserved");

// pkgVer and the version/build texts overlay the same 64 bytes; the firmware
// names both views, so the record keeps both (an anonymous struct, a GNU
// extension every supported compiler accepts).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
struct KV_FLASH_COMP_INFO {
    char name[8]; /* 0 */
    union {
        char pkgVer[64]; /* 8 */
        struct {
            char version[32];   /* 8 */
            char buildDate[16]; /* 40 */
            char buildTime[16]; /* 56 */
        };
    };
};
#pragma GCC diagnostic pop
static_assert(sizeof(KV_FLASH_COMP_INFO) == 72, "KV_FLASH_COMP_INFO size");
static_assert(offsetof(KV_FLASH_COMP_INFO, name) == 0, "KV_FLASH_COMP_INFO.name");
static_assert(offsetof(KV_FLASH_COMP_INFO, pkgVer) == 8, "KV_FLASH_COMP_INFO.pkgVer");
static_assert(offsetof(KV_FLASH_COMP_INFO, version) == 8, "KV_FLASH_COMP_INFO.version");
static_assert(offsetof(KV_FLASH_COMP_INFO, buildDate) == 40, "KV_FLASH_COMP_INFO.buildDate");
static_assert(offsetof(KV_FLASH_COMP_INFO, buildTime) == 56, "KV_FLASH_COMP_INFO.buildTime");

struct KV_CTRL_INFO {
    struct {
        uint16_t vendorId;       /* 0 */
        uint16_t devId;          /* 2 */
        uint16_t subVendorId;    /* 4 */
        uint16_t subDevId;       /* 6 */
        uint16_t ctrlId;         /* 8 */
        uint8_t chipRevision[2]; /* 10 */
        uint8_t reserved[20];    /* 12 */
    } pci;                       /* 0 */
    struct {
        uint8_t PCIX : 1; /* 32 */
        uint8_t PCIE : 1;
        uint8_t iSCSI : 1;
        uint8_t SAS_3G : 1;
        uint8_t SRIOV : 1;
        uint8_t reserved0 : 3;
        uint8_t maxPciLinkSpeed; /* 33 */
        uint8_t pciLinkSpeed;    /* 34 */
        uint8_t reserved1[4];    /* 35 */
        uint8_t portCount;       /* 39 */
        uint64_t portAddr[8];    /* 40 */
    } hostInterface;             /* 32 */
    struct {
        uint8_t SPI : 1; /* 104 */
        uint8_t SAS_3G : 1;
        uint8_t SATA_1_5G : 1;
        uint8_t SATA_3G : 1;
        uint8_t SAS_6G : 1;
        uint8_t SAS_12G : 1;
        uint8_t SATA_6G : 1;
        uint8_t reserved0 : 1;
        uint8_t type;                            /* 105 */
        uint8_t maxPciLinkSpeed;                 /* 106 */
        uint8_t pciLinkSpeed;                    /* 107 */
        uint8_t reserved1[3];                    /* 108 */
        uint8_t portCount;                       /* 111 */
        uint64_t portAddr[8];                    /* 112 */
    } deviceInterface;                           /* 104 */
    uint32_t imageCheckWord;                     /* 176 */
    uint32_t imageComponentCount;                /* 180 */
    KV_FLASH_COMP_INFO imageComponent[8];        /* 184 */
    uint32_t pendingImageComponentCount;         /* 760 */
    KV_FLASH_COMP_INFO pendingImageComponent[8]; /* 764 */
    uint8_t maxArms;                             /* 1340 */
    uint8_t maxSpans;                            /* 1341 */
    uint8_t maxArrays;                           /* 1342 */
    uint8_t maxLDs;                              /* 1343 */
    char productName[80];                        /* 1344 */
    char serialNo[32];                           /* 1424 */
    struct {
        uint32_t bbu : 1; /* 1456 */
        uint32_t alarm : 1;
        uint32_t nvram : 1;
        uint32_t uart : 1;
        uint32_t memory : 1;
        uint32_t flash : 1;
        uint32_t TPM : 1;
        uint32_t expander : 1;
        uint32_t : 2;
        uint32_t tempSensorROC : 1;
        uint32_t tempSensorCtrl : 1;
        uint32_t ssmSupport : 1;
        uint32_t powerMonitor : 1;
        uint32_t upgradableCPLD : 1;
        uint32_t upgradablePSOC : 1;
        uint32_t reserved : 16;
    } hwPresent;                         /* 1456 */
    uint32_t currentFwTime;              /* 1460 */
    uint16_t maxConcurrentCmds;          /* 1464 */
    uint16_t maxSGECount;                /* 1466 */
    uint32_t maxRequestSize;             /* 1468 */
    uint16_t ldPresentCount;             /* 1472 */
    uint16_t ldDegradedCount;            /* 1474 */
    uint16_t ldOfflineCount;             /* 1476 */
    uint16_t pdPresentCount;             /* 1478 */
    uint16_t pdDiskPresentCount;         /* 1480 */
    uint16_t pdDiskPredFailureCount;     /* 1482 */
    uint16_t pdDiskFailedCount;          /* 1484 */
    uint16_t nvramSize;                  /* 1486 */
    uint16_t memorySize;                 /* 1488 */
    uint16_t flashSize;                  /* 1490 */
    uint16_t memCorrectableErrorCount;   /* 1492 */
    uint16_t memUnCorrectableErrorCount; /* 1494 */
    union {
        uint8_t maxHANodes;       /* 1496 */
        uint8_t clusterPermitted; /* 1496 */
    };
    union {
        uint8_t reserved6;     /* 1497 */
        uint8_t clusterActive; /* 1497 */
    };
    uint16_t maxStripsPerIo; /* 1498 */
    struct {
        uint32_t raidLevel_0 : 1; /* 1500 */
        uint32_t raidLevel_1 : 1;
        uint32_t raidLevel_5 : 1;
        uint32_t raidLevel_1E : 1;
        uint32_t raidLevel_6 : 1;
        uint32_t raidLevel_10 : 1;
        uint32_t raidLevel_50 : 1;
        uint32_t raidLevel_60 : 1;
        uint32_t SRL_03 : 1;
        uint32_t raidLevel_00_unsupported : 1;
        uint32_t raidLevel_1E_RLQ0 : 1;
        uint32_t raidLevel_1E0_RLQ0 : 1;
        uint32_t SSCraidLevel_0_unsupported : 1;
        uint32_t SSCraidLevel_1 : 1;
        uint32_t SSCraidLevel_5 : 1;
        uint32_t SSCraidLevel_1E : 1;
        uint32_t SSCraidLevel_1E_EC : 1;
        uint32_t reserved : 15;
    } raidLevels; /* 1500 */
    struct {
        uint32_t rbldRate : 1; /* 1504 */
        uint32_t ccRate : 1;
        uint32_t bgiRate : 1;
        uint32_t reconRate : 1;
        uint32_t patrolRate : 1;
        uint32_t alarmControl : 1;
        uint32_t clusterSupported : 1;
        uint32_t bbu : 1;
        uint32_t spanningAllowed : 1;
        uint32_t dedicatedHotSpares : 1;
        uint32_t revertibleHotSpares : 1;
        uint32_t foreignConfigImport : 1;
        uint32_t selfDiagnostic : 1;
        uint32_t allowMixedRedundancyOnArray : 1;
        uint32_t globalHotSpares : 1;
        uint32_t denySCSIPassthrough : 1;
        uint32_t denySMPPassthrough : 1;
        uint32_t denySTPPassthrough : 1;
        uint32_t supportMoreThan8Phys : 1;
        uint32_t fwAndEventTimeInGMT : 1;
        uint32_t supportEnhForeignImport : 1;
        uint32_t supportEnclEnumeration : 1;
        uint32_t supportAllowedOps : 1;
        uint32_t abortCCOnError : 1;
        uint32_t supportMultipath : 1;
        uint32_t supportOddEveninRAID1E : 1;
        uint32_t supportSecurity : 1;
        uint32_t supportConfigPageModel : 1;
        uint32_t supportOCEwithNoDriveAddition : 1;
        uint32_t supportEKM : 1;
        uint32_t supportSnapshot : 1;
        uint32_t : 1;
    } adapterOperations; /* 1504 */
    struct {
        uint32_t readPolicy : 1; /* 1508 */
        uint32_t writePolicy : 1;
        uint32_t ioPolicy : 1;
        uint32_t accessPolicy : 1;
        uint32_t diskCachePolicy : 1;
        uint32_t reconstruction : 1;
        uint32_t denyLocate : 1;
        uint32_t denyCC : 1;
        uint32_t allowCtrlEncryption : 1;
        uint32_t ldbbm : 1;
        uint32_t supportFastPath : 1;
        uint32_t performanceMetrics : 1;
        uint32_t supportPowerSavings : 1;
        uint32_t supportPSMaxWithCache : 1;
        uint32_t supportBreakMirror : 1;
        uint32_t supportSSCWriteBack : 1;
        uint32_t supportSSCAssociation : 1;
        uint32_t supportSSCBoost : 1;
        uint32_t supportFastPathWB : 1;
        uint32_t supportAutoLockRecovery : 1;
        uint32_t supportScsiUnmap : 1;
        uint32_t supportHide : 1;
        uint32_t supportAtomicity : 1;
        uint32_t supportT10Atomicity : 1;
        uint32_t disallowPropChange : 1;
        uint32_t supportExtLDAllowedOps : 1;
        uint32_t reserved : 6;
    } ldOperations; /* 1508 */
    struct {
        uint8_t min;         /* 1512 */
        uint8_t max;         /* 1513 */
        uint8_t reserved[2]; /* 1514 */
    } stripeSizeOptions;     /* 1512 */
    struct {
        uint32_t forceOnline : 1; /* 1516 */
        uint32_t forceOffline : 1;
        uint32_t forceRebuild : 1;
        uint32_t denyForceFailed : 1;
        uint32_t denyForceGoodBad : 1;
        uint32_t denyMissingReplace : 1;
        uint32_t denyClear : 1;
        uint32_t denyLocate : 1;
        uint32_t supportPowerState : 1;
        uint32_t setPowerStateForCfg : 1;
        uint32_t supportT10PowerState : 1;
        uint32_t supportTemperature : 1;
        uint32_t supportSS3PassVerify : 1;
        uint32_t supportWCE : 1;
        uint32_t supportNCQ : 1;
        uint32_t supportLimitMaxRateSATA : 1;
        uint32_t supportDegradedMedia : 1;
        uint32_t supportParallelPDFwUpdate : 1;
        uint32_t supportCryptoErase : 1;
        uint32_t supportSanitize : 1;
        uint32_t supportWearGauge : 1;
        uint32_t supportPreviousOperationStatus : 1;
        uint32_t reserved : 10;
    } pdOperations; /* 1516 */
    struct {
        uint32_t ctrlSupportsSAS : 1; /* 1520 */
        uint32_t ctrlSupportsSATA : 1;
        uint32_t allowMixInEnclosure : 1;
        uint32_t allowMixInLD : 1;
        uint32_t allowSataInCluster : 1;
        uint32_t allowSSDMixInLD : 1;
        uint32_t allowMixSSDHDDInLD : 1;
        uint32_t allowMixSSMandSFMinLD : 1;
        uint32_t reserved : 24;
    } pdMixSupport;          /* 1520 */
    uint16_t eccBucketCount; /* 1524 */
    uint8_t reserved2[2];    /* 1526 */
    struct {
        uint16_t supportPdFwDownload : 1; /* 1528 */
        uint16_t lockKeyAssigned : 1;
        uint16_t lockKeyFailed : 1;
        uint16_t lockKeyNotBackedup : 1;
        uint16_t biosNotDetected : 1;
        uint16_t cacheIsPinned : 1;
        uint16_t lockKeyRebootRequired : 1;
        uint16_t rollbackInProgress : 1;
        uint16_t : 1;
        uint16_t SSCPolicyWB : 1;
        uint16_t safeModeBoot : 1;
        uint16_t maintenanceMode : 2;
        uint16_t fwFlashDeviceStatus : 2;
        uint16_t systemResetRequired : 1;
    } adapterStatus;                       /* 1528 */
    uint16_t kvAPIVersion;                 /* 1530 */
    uint16_t kvAPIFwdCompatibility;        /* 1532 */
    uint16_t kvAPIBkwdCompatibility;       /* 1534 */
    KV_CTRL_PROP properties;               /* 1536 */
    char packageVersion[96];               /* 1600 */
    uint64_t deviceInterfacePortAddr2[16]; /* 1696 */
    uint8_t reserved3[64];                 /* 1824 */
    struct {
        uint16_t minPdRaidLevel_0 : 4; /* 1888 */
        uint16_t maxPdRaidLevel_0 : 12;
        uint16_t minPdRaidLevel_1 : 4; /* 1890 */
        uint16_t maxPdRaidLevel_1 : 12;
        uint16_t minPdRaidLevel_5 : 4; /* 1892 */
        uint16_t maxPdRaidLevel_5 : 12;
        uint16_t minPdRaidLevel_1E : 4; /* 1894 */
        uint16_t maxPdRaidLevel_1E : 12;
        uint16_t minPdRaidLevel_6 : 4; /* 1896 */
        uint16_t maxPdRaidLevel_6 : 12;
        uint16_t minPdRaidLevel_10 : 4; /* 1898 */
        uint16_t maxPdRaidLevel_10 : 12;
        uint16_t minPdRaidLevel_50 : 4; /* 1900 */
        uint16_t maxPdRaidLevel_50 : 12;
        uint16_t minPdRaidLevel_60 : 4; /* 1902 */
        uint16_t maxPdRaidLevel_60 : 12;
        uint16_t minPdRaidLevel_1E_RLQ0 : 4; /* 1904 */
        uint16_t maxPdRaidLevel_1E_RLQ0 : 12;
        uint16_t minPdRaidLevel_1E0_RLQ0 : 4; /* 1906 */
        uint16_t maxPdRaidLevel_1E0_RLQ0 : 12;
        uint16_t reserved[6];        /* 1908 */
    } pdsForRaidLevels;              /* 1888 */
    uint16_t maxPds;                 /* 1920 */
    uint16_t maxDedHSPs;             /* 1922 */
    uint16_t maxGlobalHSPs;          /* 1924 */
    uint16_t ddfSize;                /* 1926 */
    uint8_t maxLdsPerArray;          /* 1928 */
    uint8_t partitionsInDDF;         /* 1929 */
    uint8_t lockKeyBinding;          /* 1930 */
    uint8_t maxPITsPerLd;            /* 1931 */
    uint8_t maxViewsPerLd;           /* 1932 */
    uint8_t maxTargetId;             /* 1933 */
    uint16_t maxBvlVdSize;           /* 1934 */
    uint16_t maxConfigurableSSCSize; /* 1936 */
    uint16_t currentSSCsize;         /* 1938 */
    char expanderFwVersion[12];      /* 1940 */
    uint8_t rsvd1952[2];             /* 1952 */
    uint16_t cacheMemorySize;        /* 1954 */
    struct {
        uint32_t supportPIcontroller : 1; /* 1956 */
        uint32_t supportLdPIType1 : 1;
        uint32_t supportLdPIType2 : 1;
        uint32_t supportLdPIType3 : 1;
        uint32_t supportLdBBMInfo : 1;
        uint32_t supportShieldState : 1;
        uint32_t blockSSDWriteCacheChange : 1;
        uint32_t supportSuspendResumeBGops : 1;
        uint32_t supportEmergencySpares : 1;
        uint32_t supportSetLinkSpeed : 1;
        uint32_t : 1;
        uint32_t supportJBOD : 1;
        uint32_t : 1;
        uint32_t supportPerfTuning : 1;
        uint32_t supportSSDPatrolRead : 1;
        uint32_t realTimeScheduler : 1;
        uint32_t supportResetNow : 1;
        uint32_t supportEmulatedDrives : 1;
        uint32_t headlessMode : 1;
        uint32_t dedicatedHotSparesLimited : 1;
        uint32_t supportUnevenSpans : 1;
        uint32_t supportPointInTimeProgress : 1;
        uint32_t supportDataLDonSSCArray : 1;
        uint32_t mpio : 1;
        uint32_t supportConfigAutoBalance : 1;
        uint32_t activePassive : 2;
        uint32_t supportVCorDLC : 1;
        uint32_t supportExtEnclDrvCount : 1;
        uint32_t supportMaintenanceMode : 1;
        uint32_t supportDiagResults : 1;
        uint32_t supportPowerThrottle : 1;
    } adapterOperations2;           /* 1956 */
    uint8_t driverVersion[32];      /* 1960 */
    uint8_t maxDAPdCountSpinup60;   /* 1992 */
    uint8_t temperatureROC;         /* 1993 */
    uint8_t temperatureCtrl;        /* 1994 */
    uint8_t reserved4;              /* 1995 */
    uint16_t maxConfigurablePds;    /* 1996 */
    uint8_t maxTransportableVDs;    /* 1998 */
    uint8_t maxTransportableVDsMsb; /* 1999 */
    struct {
        uint32_t peerIsPresent : 1; /* 2000 */
        uint32_t peerIsIncompatible : 1;
        uint32_t hwIncompatible : 1;
        uint32_t fwVersionMismatch : 1;
        uint32_t ctrlPropIncompatible : 1;
        uint32_t : 1;
        uint32_t passive : 1;
        uint32_t exclusiveLDNotSupported : 1;
        uint32_t securityKeyMismatch : 1;
        uint32_t currentTopology : 2;
        uint32_t reserved : 21;
    } cluster;          /* 2000 */
    char clusterId[16]; /* 2004 */
    struct {
        uint8_t maxVFsSupported; /* 2020 */
        uint8_t numVFsEnabled;   /* 2021 */
        uint8_t requestorId;     /* 2022 */
        uint8_t reserved;        /* 2023 */
    } iov;                       /* 2020 */
    struct {
        uint32_t supportPersonalityChange : 2; /* 2024 */
        uint32_t supportThermalPollInterval : 1;
        uint32_t supportDisableImmediateIO : 1;
        uint32_t supportT10RebuildAssist : 1;
        uint32_t supportMaxExtLDs : 1;
        uint32_t supportCrashDump : 1;
        uint32_t supportSwZone : 1;
        uint32_t supportDebugQueue : 1;
        uint32_t supportNVCacheErase : 1;
        uint32_t supportForceTo512e : 1;
        uint32_t supportHOQRebuild : 1;
        uint32_t supportAllowedOpsforDrvRemoval : 1;
        uint32_t supportDrvActivityLEDSetting : 1;
        uint32_t supportNVDRAM : 1;
        uint32_t supportForceFlash : 1;
        uint32_t supportDisableSESMonitoring : 1;
        uint32_t supportCacheBypassModes : 1;
        uint32_t supportSecurityonJBOD : 1;
        uint32_t discardCacheDuringLDDelete : 1;
        uint32_t supportTTYLogCompression : 1;
        uint32_t supportCPLDUpdate : 1;
        uint32_t supportDiskCacheSettingForSysPDs : 1;
        uint32_t supportExtendedSSCSize : 1;
        uint32_t supportCfgSeqNumForSysPDs : 1;
        uint32_t supportFWFlashDeviceStatus : 1;
        uint32_t supportMoreThan16Phys : 1;
        uint32_t supportCacheFlushWriteVerify : 1;
        uint32_t supportLargeQD : 1;
        uint32_t supportSRIOVOptions : 1;
        uint32_t supportLargeIO : 1;
        uint32_t supportHostDebug : 1;
    } adapterOperations3; /* 2024 */
    struct {
        uint8_t cpldInFlash : 1; /* 2028 */
        uint8_t reserved : 7;
        uint8_t reserved1[3];           /* 2029 */
        uint8_t userCodeDefinition[12]; /* 2032 */
    } cpld;                             /* 2028 */
    struct {
        uint16_t ctrlInfoExtSupported : 1; /* 2044 */
        uint16_t : 1;
        uint16_t supportedEncAlgo : 1;
        uint16_t supportEncryptedMfc : 1;
        uint16_t imageUploadSupported : 1;
        uint16_t supportSESCtrlInMultipathCfg : 1;
        uint16_t supportPdMapTargetId : 1;
        uint16_t FWSwapsBBUVPDInfo : 1;
        uint16_t supportSSCrev3 : 1;
        uint16_t supportDualFWUpdate : 1;
        uint16_t supportHostInfo : 1;
        uint16_t supportFlashCompInfo : 1;
        uint16_t supportPLDebugInfo : 1;
        uint16_t supportNVMePassthru : 1;
        uint16_t supportOOBCtrlFwDownload : 1;
        uint16_t DivertIOWithChainFrame : 1;
    } adapterOperations4; /* 2044 */
    uint8_t pad[2];       /* 2046 */
    uint32_t size;        /* 2048 */
    uint32_t pad1;        /* 2052 */
    struct {
        uint16_t maxLDs;         /* 2056 */
        uint16_t maxPds;         /* 2058 */
        uint16_t maxTargetId;    /* 2060 */
        uint16_t maxArrays;      /* 2062 */
        uint16_t maxArms;        /* 2064 */
        uint16_t maxSpans;       /* 2066 */
        uint16_t maxDedHSPs;     /* 2068 */
        uint16_t maxGlobalHSPs;  /* 2070 */
        uint16_t maxLdsPerArray; /* 2072 */
        uint8_t maxDevicePhy;    /* 2074 */
        uint8_t reserved[13];    /* 2075 */
    } supportedProfileConfig;    /* 2056 */
    struct {
        uint16_t maxLDs;         /* 2088 */
        uint16_t maxPds;         /* 2090 */
        uint16_t maxTargetId;    /* 2092 */
        uint16_t maxArrays;      /* 2094 */
        uint16_t maxArms;        /* 2096 */
        uint16_t maxSpans;       /* 2098 */
        uint16_t maxDedHSPs;     /* 2100 */
        uint16_t maxGlobalHSPs;  /* 2102 */
        uint16_t maxLdsPerArray; /* 2104 */
        uint8_t maxDevicePhy;    /* 2106 */
        uint8_t reserved[13];    /* 2107 */
    } supportedFWConfig;         /* 2088 */
    struct {
        struct {
            uint32_t kvConfigExt2Supported : 1; /* 2120 */
            uint32_t supportProfileChange : 2;
            uint32_t supportCVHealthInfo : 1;
            uint32_t supportPCIe : 1;
            uint32_t supportExtMfgVPD : 1;
            uint32_t supportOCEOnly : 1;
            uint32_t supportNVMeTM : 1;
            uint32_t supportSnapDump : 1;
            uint32_t supportFDETypeMix : 1;
            uint32_t supportForcePersonalityChange : 1;
            uint32_t supportPSOCUpdate : 1;
            uint32_t supportSecureBoot : 1;
            uint32_t supportOnDemandSnapDump : 1;
            uint32_t supportClearSnapDump : 1;
            uint32_t disableLeastLatencyMode : 1;
            uint32_t supportSMPOverOOB : 1;
            uint32_t supportBackendPCieLaneMargining : 1;
            uint32_t supportCtrlFullReprovision : 1;
            uint32_t supportOOBByteOffSetGet : 1;
            uint32_t FWTriggeredSnapDumpNotSupported : 1;
            uint32_t supportFwDevOrder : 1;
            uint32_t exposeAllDevicesForBootOrder : 1;
            uint32_t supportNVMePTOverOOB : 1;
            uint32_t supportCurSpeedSAS : 1;
            uint32_t supportCurSpeedAndClkModeNVMe : 1;
            uint32_t supportNvmeWidths : 1;
            uint32_t supportDevTypeInLaneConn : 1;
            uint32_t supportDPMExt : 1;
            uint32_t supportNVMeRepair : 1;
            uint32_t supportPlatformSec : 1;
            uint32_t supportNoneModeParams : 1;
        } adapterOperations5; /* 2120 */
        struct {
            uint32_t SnapDumpPTBToggleSupport : 1; /* 2124 */
            uint32_t supportPredFailDATimer : 1;
            uint32_t supportPackageIncompatibilityReporting : 1;
            uint32_t supportCtrlPropExt : 1;
            uint32_t supportKviSmpPortNum : 1;
            uint32_t supportWJPinning : 1;
            uint32_t supportNvmeInitErrorDeviceConnectorIndex : 1;
            uint32_t supportParityReadCacheBypass : 1;
            uint32_t supportOnboardExpanderReset : 1;
            uint32_t supportAtomicRekey : 1;
            uint32_t supportPSoCVersionInfo : 1;
            uint32_t supportDriveReset : 1;
            uint32_t supportTemporaryKey : 1;
            uint32_t reserved : 19;
        } adapterOperations6;         /* 2124 */
        uint32_t rsvdForAdptOp[62];   /* 2128 */
    } adapterOperationExt;            /* 2120 */
    uint16_t minConfigurableSSCSize;  /* 2376 */
    uint8_t maxSSCDs;                 /* 2378 */
    uint8_t NVMeTaskAbortTO;          /* 2379 */
    uint8_t NVMeMaxControllerResetTO; /* 2380 */
    struct {
        uint8_t systemShutdownRequired : 1; /* 2381 */
        uint8_t certificateProvision : 1;
        uint8_t packageStampMismatchError : 1;
        uint8_t reserved : 5;
    } adapterStatus2;                     /* 2381 */
    uint8_t secureBootHashSlotsRemaining; /* 2382 */
    struct {
        uint8_t softSecure : 1; /* 2383 */
        uint8_t hardSecure : 1;
        uint8_t secureBootEnabled : 1;
        uint8_t keyUpdatePending : 1;
        uint8_t reserved : 4;
    } secureBootDetails; /* 2383 */
    KV_CTRL_PROP_2 prop; /* 2384 */
    struct {
        uint16_t firmwareVer;        /* 2448 */
        uint16_t hardwareVer;        /* 2450 */
        uint8_t deviceChemistry[10]; /* 2452 */
        uint8_t reserved[2];         /* 2462 */
    } pSoC;                          /* 2448 */
};
static_assert(sizeof(KV_CTRL_INFO) == 2464, "KV_CTRL_INFO size");
static_assert(offsetof(KV_CTRL_INFO, pci.vendorId) == 0, "KV_CTRL_INFO.pci.vendorId");
static_assert(offsetof(KV_CTRL_INFO, pci.devId) == 2, "KV_CTRL_INFO.pci.devId");
static_assert(offsetof(KV_CTRL_INFO, pci.subVendorId) == 4, "KV_CTRL_INFO.pci.subVendorId");
static_assert(offsetof(KV_CTRL_INFO, pci.subDevId) == 6, "KV_CTRL_INFO.pci.subDevId");
static_assert(offsetof(KV_CTRL_INFO, pci.ctrlId) == 8, "KV_CTRL_INFO.pci.ctrlId");
static_assert(offsetof(KV_CTRL_INFO, pci.chipRevision) == 10, "KV_CTRL_INFO.pci.chipRevision");
static_assert(offsetof(KV_CTRL_INFO, pci.reserved) == 12, "KV_CTRL_INFO.pci.reserved");
static_assert(offsetof(KV_CTRL_INFO, pci) == 0, "KV_CTRL_INFO.pci");
static_assert(offsetof(KV_CTRL_INFO, hostInterface.maxPciLinkSpeed) == 33,
              "KV_CTRL_INFO.hostInterface.maxPciLinkSpeed");
static_assert(offsetof(KV_CTRL_INFO, hostInterface.pciLinkSpeed) == 34,
              "KV_CTRL_INFO.hostInterface.pciLinkSpeed");
static_assert(offsetof(KV_CTRL_INFO, hostInterface.reserved1) == 35,
              "KV_CTRL_INFO.hostInterface.reserved1");
static_assert(offsetof(KV_CTRL_INFO, hostInterface.portCount) == 39,
              "KV_CTRL_INFO.hostInterface.portCount");
static_assert(offsetof(KV_CTRL_INFO, hostInterface.portAddr) == 40,
              "KV_CTRL_INFO.hostInterface.portAddr");
static_assert(offsetof(KV_CTRL_INFO, hostInterface) == 32, "KV_CTRL_INFO.hostInterface");
static_assert(offsetof(KV_CTRL_INFO, deviceInterface.type) == 105,
              "KV_CTRL_INFO.deviceInterface.type");
static_assert(offsetof(KV_CTRL_INFO, deviceInterface.maxPciLinkSpeed) == 106,
              "KV_CTRL_INFO.deviceInterface.maxPciLinkSpeed");
static_assert(offsetof(KV_CTRL_INFO, deviceInterface.pciLinkSpeed) == 107,
              "KV_CTRL_INFO.deviceInterface.pciLinkSpeed");
static_assert(offsetof(KV_CTRL_INFO, deviceInterface.reserved1) == 108,
              "KV_CTRL_INFO.deviceInterface.reserved1");
static_assert(offsetof(KV_CTRL_INFO, deviceInterface.portCount) == 111,
              "KV_CTRL_INFO.deviceInterface.portCount");
static_assert(offsetof(KV_CTRL_INFO, deviceInterface.portAddr) == 112,
              "KV_CTRL_INFO.deviceInterface.portAddr");
static_assert(offsetof(KV_CTRL_INFO, deviceInterface) == 104, "KV_CTRL_INFO.deviceInterface");
static_assert(offsetof(KV_CTRL_INFO, imageCheckWord) == 176, "KV_CTRL_INFO.imageCheckWord");
static_assert(offsetof(KV_CTRL_INFO, imageComponentCount) == 180,
              "KV_CTRL_INFO.imageComponentCount");
static_assert(offsetof(KV_CTRL_INFO, imageComponent) == 184, "KV_CTRL_INFO.imageComponent");
static_assert(offsetof(KV_CTRL_INFO, pendingImageComponentCount) == 760,
              "KV_CTRL_INFO.pendingImageComponentCount");
static_assert(offsetof(KV_CTRL_INFO, pendingImageComponent) == 764,
              "KV_CTRL_INFO.pendingImageComponent");
static_assert(offsetof(KV_CTRL_INFO, maxArms) == 1340, "KV_CTRL_INFO.maxArms");
static_assert(offsetof(KV_CTRL_INFO, maxSpans) == 1341, "KV_CTRL_INFO.maxSpans");
static_assert(offsetof(KV_CTRL_INFO, maxArrays) == 1342, "KV_CTRL_INFO.maxArrays");
static_assert(offsetof(KV_CTRL_INFO, maxLDs) == 1343, "KV_CTRL_INFO.maxLDs");
static_assert(offsetof(KV_CTRL_INFO, productName) == 1344, "KV_CTRL_INFO.productName");
static_assert(offsetof(KV_CTRL_INFO, serialNo) == 1424, "KV_CTRL_INFO.serialNo");
static_assert(offsetof(KV_CTRL_INFO, hwPresent) == 1456, "KV_CTRL_INFO.hwPresent");
static_assert(offsetof(KV_CTRL_INFO, currentFwTime) == 1460, "KV_CTRL_INFO.currentFwTime");
static_assert(offsetof(KV_CTRL_INFO, maxConcurrentCmds) == 1464, "KV_CTRL_INFO.maxConcurrentCmds");
static_assert(offsetof(KV_CTRL_INFO, maxSGECount) == 1466, "KV_CTRL_INFO.maxSGECount");
static_assert(offsetof(KV_CTRL_INFO, maxRequestSize) == 1468, "KV_CTRL_INFO.maxRequestSize");
static_assert(offsetof(KV_CTRL_INFO, ldPresentCount) == 1472, "KV_CTRL_INFO.ldPresentCount");
static_assert(offsetof(KV_CTRL_INFO, ldDegradedCount) == 1474, "KV_CTRL_INFO.ldDegradedCount");
static_assert(offsetof(KV_CTRL_INFO, ldOfflineCount) == 1476, "KV_CTRL_INFO.ldOfflineCount");
static_assert(offsetof(KV_CTRL_INFO, pdPresentCount) == 1478, "KV_CTRL_INFO.pdPresentCount");
static_assert(offsetof(KV_CTRL_INFO, pdDiskPresentCount) == 1480,
              "KV_CTRL_INFO.pdDiskPresentCount");
static_assert(offsetof(KV_CTRL_INFO, pdDiskPredFailureCount) == 1482,
              "KV_CTRL_INFO.pdDiskPredFailureCount");
static_assert(offsetof(KV_CTRL_INFO, pdDiskFailedCount) == 1484, "KV_CTRL_INFO.pdDiskFailedCount");
static_assert(offsetof(KV_CTRL_INFO, nvramSize) == 1486, "KV_CTRL_INFO.nvramSize");
static_assert(offsetof(KV_CTRL_INFO, memorySize) == 1488, "KV_CTRL_INFO.memorySize");
static_assert(offsetof(KV_CTRL_INFO, flashSize) == 1490, "KV_CTRL_INFO.flashSize");
static_assert(offsetof(KV_CTRL_INFO, memCorrectableErrorCount) == 1492,
              "KV_CTRL_INFO.memCorrectableErrorCount");
static_assert(offsetof(KV_CTRL_INFO, memUnCorrectableErrorCount) == 1494,
              "KV_CTRL_INFO.memUnCorrectableErrorCount");
static_assert(offsetof(KV_CTRL_INFO, maxHANodes) == 1496, "KV_CTRL_INFO.maxHANodes");
static_assert(offsetof(KV_CTRL_INFO, clusterPermitted) == 1496, "KV_CTRL_INFO.clusterPermitted");
static_assert(offsetof(KV_CTRL_INFO, reserved6) == 1497, "KV_CTRL_INFO.reserved6");
static_assert(offsetof(KV_CTRL_INFO, clusterActive) == 1497, "KV_CTRL_INFO.clusterActive");
static_assert(offsetof(KV_CTRL_INFO, maxStripsPerIo) == 1498, "KV_CTRL_INFO.maxStripsPerIo");
static_assert(offsetof(KV_CTRL_INFO, raidLevels) == 1500, "KV_CTRL_INFO.raidLevels");
static_assert(offsetof(KV_CTRL_INFO, adapterOperations) == 1504, "KV_CTRL_INFO.adapterOperations");
static_assert(offsetof(KV_CTRL_INFO, ldOperations) == 1508, "KV_CTRL_INFO.ldOperations");
static_assert(offsetof(KV_CTRL_INFO, stripeSizeOptions.min) == 1512,
              "KV_CTRL_INFO.stripeSizeOptions.min");
static_assert(offsetof(KV_CTRL_INFO, stripeSizeOptions.max) == 1513,
              "KV_CTRL_INFO.stripeSizeOptions.max");
static_assert(offsetof(KV_CTRL_INFO, stripeSizeOptions.reserved) == 1514,
              "KV_CTRL_INFO.stripeSizeOptions.reserved");
static_assert(offsetof(KV_CTRL_INFO, stripeSizeOptions) == 1512, "KV_CTRL_INFO.stripeSizeOptions");
static_assert(offsetof(KV_CTRL_INFO, pdOperations) == 1516, "KV_CTRL_INFO.pdOperations");
static_assert(offsetof(KV_CTRL_INFO, pdMixSupport) == 1520, "KV_CTRL_INFO.pdMixSupport");
static_assert(offsetof(KV_CTRL_INFO, eccBucketCount) == 1524, "KV_CTRL_INFO.eccBucketCount");
static_assert(offsetof(KV_CTRL_INFO, reserved2) == 1526, "KV_CTRL_INFO.reserved2");
static_assert(offsetof(KV_CTRL_INFO, adapterStatus) == 1528, "KV_CTRL_INFO.adapterStatus");
static_assert(offsetof(KV_CTRL_INFO, kvAPIVersion) == 1530, "KV_CTRL_INFO.kvAPIVersion");
static_assert(offsetof(KV_CTRL_INFO, kvAPIFwdCompatibility) == 1532,
              "KV_CTRL_INFO.kvAPIFwdCompatibility");
static_assert(offsetof(KV_CTRL_INFO, kvAPIBkwdCompatibility) == 1534,
              "KV_CTRL_INFO.kvAPIBkwdCompatibility");
static_assert(offsetof(KV_CTRL_INFO, properties) == 1536, "KV_CTRL_INFO.properties");
static_assert(offsetof(KV_CTRL_INFO, packageVersion) == 1600, "KV_CTRL_INFO.packageVersion");
static_assert(offsetof(KV_CTRL_INFO, deviceInterfacePortAddr2) == 1696,
              "KV_CTRL_INFO.deviceInterfacePortAddr2");
static_assert(offsetof(KV_CTRL_INFO, reserved3) == 1824, "KV_CTRL_INFO.reserved3");
static_assert(offsetof(KV_CTRL_INFO, pdsForRaidLevels.reserved) == 1908,
              "KV_CTRL_INFO.pdsForRaidLevels.reserved");
static_assert(offsetof(KV_CTRL_INFO, pdsForRaidLevels) == 1888, "KV_CTRL_INFO.pdsForRaidLevels");
static_assert(offsetof(KV_CTRL_INFO, maxPds) == 1920, "KV_CTRL_INFO.maxPds");
static_assert(offsetof(KV_CTRL_INFO, maxDedHSPs) == 1922, "KV_CTRL_INFO.maxDedHSPs");
static_assert(offsetof(KV_CTRL_INFO, maxGlobalHSPs) == 1924, "KV_CTRL_INFO.maxGlobalHSPs");
static_assert(offsetof(KV_CTRL_INFO, ddfSize) == 1926, "KV_CTRL_INFO.ddfSize");
static_assert(offsetof(KV_CTRL_INFO, maxLdsPerArray) == 1928, "KV_CTRL_INFO.maxLdsPerArray");
static_assert(offsetof(KV_CTRL_INFO, partitionsInDDF) == 1929, "KV_CTRL_INFO.partitionsInDDF");
static_assert(offsetof(KV_CTRL_INFO, lockKeyBinding) == 1930, "KV_CTRL_INFO.lockKeyBinding");
static_assert(offsetof(KV_CTRL_INFO, maxPITsPerLd) == 1931, "KV_CTRL_INFO.maxPITsPerLd");
static_assert(offsetof(KV_CTRL_INFO, maxViewsPerLd) == 1932, "KV_CTRL_INFO.maxViewsPerLd");
static_assert(offsetof(KV_CTRL_INFO, maxTargetId) == 1933, "KV_CTRL_INFO.maxTargetId");
static_assert(offsetof(KV_CTRL_INFO, maxBvlVdSize) == 1934, "KV_CTRL_INFO.maxBvlVdSize");
static_assert(offsetof(KV_CTRL_INFO, maxConfigurableSSCSize) == 1936,
              "KV_CTRL_INFO.maxConfigurableSSCSize");
static_assert(offsetof(KV_CTRL_INFO, currentSSCsize) == 1938, "KV_CTRL_INFO.currentSSCsize");
static_assert(offsetof(KV_CTRL_INFO, expanderFwVersion) == 1940, "KV_CTRL_INFO.expanderFwVersion");
static_assert(offsetof(KV_CTRL_INFO, cacheMemorySize) == 1954, "KV_CTRL_INFO.cacheMemorySize");
static_assert(offsetof(KV_CTRL_INFO, adapterOperations2) == 1956,
              "KV_CTRL_INFO.adapterOperations2");
static_assert(offsetof(KV_CTRL_INFO, driverVersion) == 1960, "KV_CTRL_INFO.driverVersion");
static_assert(offsetof(KV_CTRL_INFO, maxDAPdCountSpinup60) == 1992,
              "KV_CTRL_INFO.maxDAPdCountSpinup60");
static_assert(offsetof(KV_CTRL_INFO, temperatureROC) == 1993, "KV_CTRL_INFO.temperatureROC");
static_assert(offsetof(KV_CTRL_INFO, temperatureCtrl) == 1994, "KV_CTRL_INFO.temperatureCtrl");
static_assert(offsetof(KV_CTRL_INFO, reserved4) == 1995, "KV_CTRL_INFO.reserved4");
static_assert(offsetof(KV_CTRL_INFO, maxConfigurablePds) == 1996,
              "KV_CTRL_INFO.maxConfigurablePds");
static_assert(offsetof(KV_CTRL_INFO, maxTransportableVDs) == 1998,
              "KV_CTRL_INFO.maxTransportableVDs");
static_assert(offsetof(KV_CTRL_INFO, maxTransportableVDsMsb) == 1999,
              "KV_CTRL_INFO.maxTransportableVDsMsb");
static_assert(offsetof(KV_CTRL_INFO, cluster) == 2000, "KV_CTRL_INFO.cluster");
static_assert(offsetof(KV_CTRL_INFO, clusterId) == 2004, "KV_CTRL_INFO.clusterId");
static_assert(offsetof(KV_CTRL_INFO, iov.maxVFsSupported) == 2020,
              "KV_CTRL_INFO.iov.maxVFsSupported");
static_assert(offsetof(KV_CTRL_INFO, iov.numVFsEnabled) == 2021, "KV_CTRL_INFO.iov.numVFsEnabled");
static_assert(offsetof(KV_CTRL_INFO, iov.requestorId) == 2022, "KV_CTRL_INFO.iov.requestorId");
static_assert(offsetof(KV_CTRL_INFO, iov.reserved) == 2023, "KV_CTRL_INFO.iov.reserved");
static_assert(offsetof(KV_CTRL_INFO, iov) == 2020, "KV_CTRL_INFO.iov");
static_assert(offsetof(KV_CTRL_INFO, adapterOperations3) == 2024,
              "KV_CTRL_INFO.adapterOperations3");
static_assert(offsetof(KV_CTRL_INFO, cpld.reserved1) == 2029, "KV_CTRL_INFO.cpld.reserved1");
static_assert(offsetof(KV_CTRL_INFO, cpld.userCodeDefinition) == 2032,
              "KV_CTRL_INFO.cpld.userCodeDefinition");
static_assert(offsetof(KV_CTRL_INFO, cpld) == 2028, "KV_CTRL_INFO.cpld");
static_assert(offsetof(KV_CTRL_INFO, adapterOperations4) == 2044,
              "KV_CTRL_INFO.adapterOperations4");
static_assert(offsetof(KV_CTRL_INFO, pad) == 2046, "KV_CTRL_INFO.pad");
static_assert(offsetof(KV_CTRL_INFO, size) == 2048, "KV_CTRL_INFO.size");
static_assert(offsetof(KV_CTRL_INFO, pad1) == 2052, "KV_CTRL_INFO.pad1");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxLDs) == 2056,
              "KV_CTRL_INFO.supportedProfileConfig.maxLDs");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxPds) == 2058,
              "KV_CTRL_INFO.supportedProfileConfig.maxPds");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxTargetId) == 2060,
              "KV_CTRL_INFO.supportedProfileConfig.maxTargetId");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxArrays) == 2062,
              "KV_CTRL_INFO.supportedProfileConfig.maxArrays");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxArms) == 2064,
              "KV_CTRL_INFO.supportedProfileConfig.maxArms");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxSpans) == 2066,
              "KV_CTRL_INFO.supportedProfileConfig.maxSpans");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxDedHSPs) == 2068,
              "KV_CTRL_INFO.supportedProfileConfig.maxDedHSPs");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxGlobalHSPs) == 2070,
              "KV_CTRL_INFO.supportedProfileConfig.maxGlobalHSPs");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxLdsPerArray) == 2072,
              "KV_CTRL_INFO.supportedProfileConfig.maxLdsPerArray");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.maxDevicePhy) == 2074,
              "KV_CTRL_INFO.supportedProfileConfig.maxDevicePhy");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig.reserved) == 2075,
              "KV_CTRL_INFO.supportedProfileConfig.reserved");
static_assert(offsetof(KV_CTRL_INFO, supportedProfileConfig) == 2056,
              "KV_CTRL_INFO.supportedProfileConfig");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxLDs) == 2088,
              "KV_CTRL_INFO.supportedFWConfig.maxLDs");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxPds) == 2090,
              "KV_CTRL_INFO.supportedFWConfig.maxPds");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxTargetId) == 2092,
              "KV_CTRL_INFO.supportedFWConfig.maxTargetId");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxArrays) == 2094,
              "KV_CTRL_INFO.supportedFWConfig.maxArrays");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxArms) == 2096,
              "KV_CTRL_INFO.supportedFWConfig.maxArms");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxSpans) == 2098,
              "KV_CTRL_INFO.supportedFWConfig.maxSpans");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxDedHSPs) == 2100,
              "KV_CTRL_INFO.supportedFWConfig.maxDedHSPs");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxGlobalHSPs) == 2102,
              "KV_CTRL_INFO.supportedFWConfig.maxGlobalHSPs");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxLdsPerArray) == 2104,
              "KV_CTRL_INFO.supportedFWConfig.maxLdsPerArray");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.maxDevicePhy) == 2106,
              "KV_CTRL_INFO.supportedFWConfig.maxDevicePhy");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig.reserved) == 2107,
              "KV_CTRL_INFO.supportedFWConfig.reserved");
static_assert(offsetof(KV_CTRL_INFO, supportedFWConfig) == 2088, "KV_CTRL_INFO.supportedFWConfig");
static_assert(offsetof(KV_CTRL_INFO, adapterOperationExt.adapterOperations5) == 2120,
              "KV_CTRL_INFO.adapterOperationExt.adapterOperations5");
static_assert(offsetof(KV_CTRL_INFO, adapterOperationExt.adapterOperations6) == 2124,
              "KV_CTRL_INFO.adapterOperationExt.adapterOperations6");
static_assert(offsetof(KV_CTRL_INFO, adapterOperationExt.rsvdForAdptOp) == 2128,
              "KV_CTRL_INFO.adapterOperationExt.rsvdForAdptOp");
static_assert(offsetof(KV_CTRL_INFO, adapterOperationExt) == 2120,
              "KV_CTRL_INFO.adapterOperationExt");
static_assert(offsetof(KV_CTRL_INFO, minConfigurableSSCSize) == 2376,
              "KV_CTRL_INFO.minConfigurableSSCSize");
static_assert(offsetof(KV_CTRL_INFO, maxSSCDs) == 2378, "KV_CTRL_INFO.maxSSCDs");
static_assert(offsetof(KV_CTRL_INFO, NVMeTaskAbortTO) == 2379, "KV_CTRL_INFO.NVMeTaskAbortTO");
static_assert(offsetof(KV_CTRL_INFO, NVMeMaxControllerResetTO) == 2380,
              "KV_CTRL_INFO.NVMeMaxControllerResetTO");
static_assert(offsetof(KV_CTRL_INFO, adapterStatus2) == 2381, "KV_CTRL_INFO.adapterStatus2");
static_assert(offsetof(KV_CTRL_INFO, secureBootHashSlotsRemaining) == 2382,
              "KV_CTRL_INFO.secureBootHashSlotsRemaining");
static_assert(offsetof(KV_CTRL_INFO, secureBootDetails) == 2383, "KV_CTRL_INFO.secureBootDetails");
static_assert(offsetof(KV_CTRL_INFO, prop) == 2384, "KV_CTRL_INFO.prop");
static_assert(offsetof(KV_CTRL_INFO, pSoC.firmwareVer) == 2448, "KV_CTRL_INFO.pSoC.firmwareVer");
static_assert(offsetof(KV_CTRL_INFO, pSoC.hardwareVer) == 2450, "KV_CTRL_INFO.pSoC.hardwareVer");
static_assert(offsetof(KV_CTRL_INFO, pSoC.deviceChemistry) == 2452,
              "KV_CTRL_INFO.pSoC.deviceChemistry");
static_assert(offsetof(KV_CTRL_INFO, pSoC.reserved) == 2462, "KV_CTRL_INFO.pSoC.reserved");
static_assert(offsetof(KV_CTRL_INFO, pSoC) == 2448, "KV_CTRL_INFO.pSoC");

struct KV_CTRL_PROP_EXT {
    KV_CTRL_PROP ctrlProp1;   /* 0 */
    KV_CTRL_PROP_2 ctrlProp2; /* 64 */
};
static_assert(sizeof(KV_CTRL_PROP_EXT) == 128, "KV_CTRL_PROP_EXT size");
static_assert(offsetof(KV_CTRL_PROP_EXT, ctrlProp1) == 0, "KV_CTRL_PROP_EXT.ctrlProp1");
static_assert(offsetof(KV_CTRL_PROP_EXT, ctrlProp2) == 64, "KV_CTRL_PROP_EXT.ctrlProp2");

struct KV_MFC_DEFAULTS {
    uint64_t sasAddr;                   /* 0 */
    uint8_t phyPolarity;                /* 8 */
    uint8_t backgroundRate;             /* 9 */
    uint8_t stripeSize;                 /* 10 */
    uint8_t flushTime;                  /* 11 */
    uint8_t writeBack;                  /* 12 */
    uint8_t readAhead;                  /* 13 */
    uint8_t cacheWhenBBUBad;            /* 14 */
    uint8_t cachedIo;                   /* 15 */
    uint8_t smartMode;                  /* 16 */
    uint8_t alarmDisable;               /* 17 */
    uint8_t coercion;                   /* 18 */
    uint8_t zcrConfig;                  /* 19 */
    uint8_t dirtyLedShowsDriveActivity; /* 20 */
    uint8_t biosContinueOnError;        /* 21 */
    uint8_t spindownMode;               /* 22 */
    uint8_t allowedDeviceTypes;         /* 23 */
    uint8_t allowMixInEnclosure;        /* 24 */
    uint8_t allowMixInLD;               /* 25 */
    uint8_t allowSataInCluster;         /* 26 */
    uint8_t maxChainedEnclosures;       /* 27 */
    uint8_t disableCtrlR;               /* 28 */
    uint8_t enableWebBios;              /* 29 */
    uint8_t phyPolaritySplit;           /* 30 */
    uint8_t directPdMapping;            /* 31 */
    uint8_t biosEnumerateLds;           /* 32 */
    uint8_t restoreHotSpareOnInsertion; /* 33 */
    uint8_t exposeEnclosureDevices;     /* 34 */
    uint8_t maintainPdFailHistory;      /* 35 */
    uint8_t disablePuncturing;          /* 36 */
    uint8_t zeroBasedEnclEnumeration;   /* 37 */
    uint8_t disableBootCLI;             /* 38 */
    uint8_t quadPortConnectorMap;       /* 39 */
    uint8_t driveActivityLed;           /* 40 */
    uint8_t disableAutoDetectBackplane; /* 41 */
    uint8_t useFdeOnly;                 /* 42 */
    uint8_t enableLedHeaders;           /* 43 */
    uint8_t allowSSDMixInLD;            /* 44 */
    uint8_t allowMixSSDHDDInLD;         /* 45 */
    uint8_t delayPOST;                  /* 46 */
    uint8_t enableCrashDump;            /* 47 */
    uint8_t enableLDBBM;                /* 48 */
    uint8_t allowUnCertifiedHDDs;       /* 49 */
    uint8_t treatR1EAsR10;              /* 50 */
    uint8_t maxLdsPerArray;             /* 51 */
    uint8_t failPdOnSMARTer;            /* 52 */
    uint8_t nonRevertibleSpares;        /* 53 */
    uint8_t disableOnlineCtrlReset;     /* 54 */
    uint8_t disablePowerSavings;        /* 55 */
    uint16_t spinDownTime;              /* 56 */
    uint8_t snapVDSpace;                /* 58 */
    uint8_t autoSnapVDSpace;            /* 59 */
    uint8_t viewSpace;                  /* 60 */
    uint8_t disableCacheBypass;         /* 61 */
    uint8_t length;                     /* 62 */
    uint8_t enableJBOD;                 /* 63 */
    uint32_t ttyLogInFlash : 1;         /* 64 */
    uint32_t autoEnhancedImport : 1;
    uint32_t breakMirrorRAIDSupport : 2;
    uint32_t disableJoinMirror : 1;
    uint32_t enablePI : 1;
    uint32_t preventPIImport : 1;
    uint32_t enableShieldState : 1;
    uint32_t enableDriveWCEforRebuild : 1;
    uint32_t enableEmergencySpare : 1;
    uint32_t useGlobalSparesForEmergency : 1;
    uint32_t useUnconfGoodForEmergency : 1;
    uint32_t blockSSDWriteCacheChange : 1;
    uint32_t disableHII : 1;
    uint32_t SMARTerEnabled : 1;
    uint32_t SSDSMARTerEnabled : 1;
    uint32_t perfTunerMode : 2;
    uint32_t enable512eSupport : 1;
    uint32_t disableImmediateIO : 1;
    uint32_t pelloraOption : 2;
    uint32_t ignore64ldRestriction : 1;
    uint32_t autoCfgOption : 4;
    uint32_t maxLDs : 4;
    uint32_t predictiveFailureLED : 1;
    uint8_t detectCMETimer;                          /* 68 */
    uint8_t adapterPersonality;                      /* 69 */
    uint8_t deviceExposure;                          /* 70 */
    uint8_t pdDegradedMediaOptions;                  /* 71 */
    uint8_t enableLargeIOSupport;                    /* 72 */
    uint8_t enableLargeQD;                           /* 73 */
    uint8_t enableTransportReady;                    /* 74 */
    uint8_t SESVPDAssociationTypeInMultiPathCfg : 1; /* 75 */
    uint8_t SSCWriteBufferMode : 1;
    uint8_t enableUnmapSupport : 1;
    uint8_t enableFDETypeMix : 1;
    uint8_t enableParallelPDFwUpdate : 1;
    uint8_t disableSafeModeOnOcr : 1;
    uint8_t parityReadCacheBypass : 1;
    uint8_t reserved : 1;
    uint8_t rsvd76[4]; /* 76 */
};
static_assert(sizeof(KV_MFC_DEFAULTS) == 80, "KV_MFC_DEFAULTS size");
static_assert(offsetof(KV_MFC_DEFAULTS, sasAddr) == 0, "KV_MFC_DEFAULTS.sasAddr");
static_assert(offsetof(KV_MFC_DEFAULTS, phyPolarity) == 8, "KV_MFC_DEFAULTS.phyPolarity");
static_assert(offsetof(KV_MFC_DEFAULTS, backgroundRate) == 9, "KV_MFC_DEFAULTS.backgroundRate");
static_assert(offsetof(KV_MFC_DEFAULTS, stripeSize) == 10, "KV_MFC_DEFAULTS.stripeSize");
static_assert(offsetof(KV_MFC_DEFAULTS, flushTime) == 11, "KV_MFC_DEFAULTS.flushTime");
static_assert(offsetof(KV_MFC_DEFAULTS, writeBack) == 12, "KV_MFC_DEFAULTS.writeBack");
static_assert(offsetof(KV_MFC_DEFAULTS, readAhead) == 13, "KV_MFC_DEFAULTS.readAhead");
static_assert(offsetof(KV_MFC_DEFAULTS, cacheWhenBBUBad) == 14, "KV_MFC_DEFAULTS.cacheWhenBBUBad");
static_assert(offsetof(KV_MFC_DEFAULTS, cachedIo) == 15, "KV_MFC_DEFAULTS.cachedIo");
static_assert(offsetof(KV_MFC_DEFAULTS, smartMode) == 16, "KV_MFC_DEFAULTS.smartMode");
static_assert(offsetof(KV_MFC_DEFAULTS, alarmDisable) == 17, "KV_MFC_DEFAULTS.alarmDisable");
static_assert(offsetof(KV_MFC_DEFAULTS, coercion) == 18, "KV_MFC_DEFAULTS.coercion");
static_assert(offsetof(KV_MFC_DEFAULTS, zcrConfig) == 19, "KV_MFC_DEFAULTS.zcrConfig");
static_assert(offsetof(KV_MFC_DEFAULTS, dirtyLedShowsDriveActivity) == 20,
              "KV_MFC_DEFAULTS.dirtyLedShowsDriveActivity");
static_assert(offsetof(KV_MFC_DEFAULTS, biosContinueOnError) == 21,
              "KV_MFC_DEFAULTS.biosContinueOnError");
static_assert(offsetof(KV_MFC_DEFAULTS, spindownMode) == 22, "KV_MFC_DEFAULTS.spindownMode");
static_assert(offsetof(KV_MFC_DEFAULTS, allowedDeviceTypes) == 23,
              "KV_MFC_DEFAULTS.allowedDeviceTypes");
static_assert(offsetof(KV_MFC_DEFAULTS, allowMixInEnclosure) == 24,
              "KV_MFC_DEFAULTS.allowMixInEnclosure");
static_assert(offsetof(KV_MFC_DEFAULTS, allowMixInLD) == 25, "KV_MFC_DEFAULTS.allowMixInLD");
static_assert(offsetof(KV_MFC_DEFAULTS, allowSataInCluster) == 26,
              "KV_MFC_DEFAULTS.allowSataInCluster");
static_assert(offsetof(KV_MFC_DEFAULTS, maxChainedEnclosures) == 27,
              "KV_MFC_DEFAULTS.maxChainedEnclosures");
static_assert(offsetof(KV_MFC_DEFAULTS, disableCtrlR) == 28, "KV_MFC_DEFAULTS.disableCtrlR");
static_assert(offsetof(KV_MFC_DEFAULTS, enableWebBios) == 29, "KV_MFC_DEFAULTS.enableWebBios");
static_assert(offsetof(KV_MFC_DEFAULTS, phyPolaritySplit) == 30,
              "KV_MFC_DEFAULTS.phyPolaritySplit");
static_assert(offsetof(KV_MFC_DEFAULTS, directPdMapping) == 31, "KV_MFC_DEFAULTS.directPdMapping");
static_assert(offsetof(KV_MFC_DEFAULTS, biosEnumerateLds) == 32,
              "KV_MFC_DEFAULTS.biosEnumerateLds");
static_assert(offsetof(KV_MFC_DEFAULTS, restoreHotSpareOnInsertion) == 33,
              "KV_MFC_DEFAULTS.restoreHotSpareOnInsertion");
static_assert(offsetof(KV_MFC_DEFAULTS, exposeEnclosureDevices) == 34,
              "KV_MFC_DEFAULTS.exposeEnclosureDevices");
static_assert(offsetof(KV_MFC_DEFAULTS, maintainPdFailHistory) == 35,
              "KV_MFC_DEFAULTS.maintainPdFailHistory");
static_assert(offsetof(KV_MFC_DEFAULTS, disablePuncturing) == 36,
              "KV_MFC_DEFAULTS.disablePuncturing");
static_assert(offsetof(KV_MFC_DEFAULTS, zeroBasedEnclEnumeration) == 37,
              "KV_MFC_DEFAULTS.zeroBasedEnclEnumeration");
static_assert(offsetof(KV_MFC_DEFAULTS, disableBootCLI) == 38, "KV_MFC_DEFAULTS.disableBootCLI");
static_assert(offsetof(KV_MFC_DEFAULTS, quadPortConnectorMap) == 39,
              "KV_MFC_DEFAULTS.quadPortConnectorMap");
static_assert(offsetof(KV_MFC_DEFAULTS, driveActivityLed) == 40,
              "KV_MFC_DEFAULTS.driveActivityLed");
static_assert(offsetof(KV_MFC_DEFAULTS, disableAutoDetectBackplane) == 41,
              "KV_MFC_DEFAULTS.disableAutoDetectBackplane");
static_assert(offsetof(KV_MFC_DEFAULTS, useFdeOnly) == 42, "KV_MFC_DEFAULTS.useFdeOnly");
static_assert(offsetof(KV_MFC_DEFAULTS, enableLedHeaders) == 43,
              "KV_MFC_DEFAULTS.enableLedHeaders");
static_assert(offsetof(KV_MFC_DEFAULTS, allowSSDMixInLD) == 44, "KV_MFC_DEFAULTS.allowSSDMixInLD");
static_assert(offsetof(KV_MFC_DEFAULTS, allowMixSSDHDDInLD) == 45,
              "KV_MFC_DEFAULTS.allowMixSSDHDDInLD");
static_assert(offsetof(KV_MFC_DEFAULTS, delayPOST) == 46, "KV_MFC_DEFAULTS.delayPOST");
static_assert(offsetof(KV_MFC_DEFAULTS, enableCrashDump) == 47, "KV_MFC_DEFAULTS.enableCrashDump");
static_assert(offsetof(KV_MFC_DEFAULTS, enableLDBBM) == 48, "KV_MFC_DEFAULTS.enableLDBBM");
static_assert(offsetof(KV_MFC_DEFAULTS, allowUnCertifiedHDDs) == 49,
              "KV_MFC_DEFAULTS.allowUnCertifiedHDDs");
static_assert(offsetof(KV_MFC_DEFAULTS, treatR1EAsR10) == 50, "KV_MFC_DEFAULTS.treatR1EAsR10");
static_assert(offsetof(KV_MFC_DEFAULTS, maxLdsPerArray) == 51, "KV_MFC_DEFAULTS.maxLdsPerArray");
static_assert(offsetof(KV_MFC_DEFAULTS, failPdOnSMARTer) == 52, "KV_MFC_DEFAULTS.failPdOnSMARTer");
static_assert(offsetof(KV_MFC_DEFAULTS, nonRevertibleSpares) == 53,
              "KV_MFC_DEFAULTS.nonRevertibleSpares");
static_assert(offsetof(KV_MFC_DEFAULTS, disableOnlineCtrlReset) == 54,
              "KV_MFC_DEFAULTS.disableOnlineCtrlReset");
static_assert(offsetof(KV_MFC_DEFAULTS, disablePowerSavings) == 55,
              "KV_MFC_DEFAULTS.disablePowerSavings");
static_assert(offsetof(KV_MFC_DEFAULTS, spinDownTime) == 56, "KV_MFC_DEFAULTS.spinDownTime");
static_assert(offsetof(KV_MFC_DEFAULTS, snapVDSpace) == 58, "KV_MFC_DEFAULTS.snapVDSpace");
static_assert(offsetof(KV_MFC_DEFAULTS, autoSnapVDSpace) == 59, "KV_MFC_DEFAULTS.autoSnapVDSpace");
static_assert(offsetof(KV_MFC_DEFAULTS, viewSpace) == 60, "KV_MFC_DEFAULTS.viewSpace");
static_assert(offsetof(KV_MFC_DEFAULTS, disableCacheBypass) == 61,
              "KV_MFC_DEFAULTS.disableCacheBypass");
static_assert(offsetof(KV_MFC_DEFAULTS, length) == 62, "KV_MFC_DEFAULTS.length");
static_assert(offsetof(KV_MFC_DEFAULTS, enableJBOD) == 63, "KV_MFC_DEFAULTS.enableJBOD");
static_assert(offsetof(KV_MFC_DEFAULTS, detectCMETimer) == 68, "KV_MFC_DEFAULTS.detectCMETimer");
static_assert(offsetof(KV_MFC_DEFAULTS, adapterPersonality) == 69,
              "KV_MFC_DEFAULTS.adapterPersonality");
static_assert(offsetof(KV_MFC_DEFAULTS, deviceExposure) == 70, "KV_MFC_DEFAULTS.deviceExposure");
static_assert(offsetof(KV_MFC_DEFAULTS, pdDegradedMediaOptions) == 71,
              "KV_MFC_DEFAULTS.pdDegradedMediaOptions");
static_assert(offsetof(KV_MFC_DEFAULTS, enableLargeIOSupport) == 72,
              "KV_MFC_DEFAULTS.enableLargeIOSupport");
static_assert(offsetof(KV_MFC_DEFAULTS, enableLargeQD) == 73, "KV_MFC_DEFAULTS.enableLargeQD");
static_assert(offsetof(KV_MFC_DEFAULTS, enableTransportReady) == 74,
              "KV_MFC_DEFAULTS.enableTransportReady");

struct KV_BIOS_DATA {
    uint16_t bootTargetId;   /* 0 */
    uint8_t doNotExpose;     /* 2 */
    uint8_t continueOnError; /* 3 */
    uint8_t verbose;         /* 4 */
    uint8_t geometry;        /* 5 */
    union {
        uint8_t exposeAllDrives; /* 6 */
        uint8_t deviceExposure;  /* 6 */
    };
    uint8_t disableCTO;       /* 7 */
    uint8_t bootDeviceIsPD;   /* 8 */
    uint8_t EKMStatus;        /* 9 */
    uint8_t autoSelectBootLd; /* 10 */
    uint8_t reserved[52];     /* 11 */
    uint8_t checkSum;         /* 63 */
};
static_assert(sizeof(KV_BIOS_DATA) == 64, "KV_BIOS_DATA size");
static_assert(offsetof(KV_BIOS_DATA, bootTargetId) == 0, "KV_BIOS_DATA.bootTargetId");
static_assert(offsetof(KV_BIOS_DATA, doNotExpose) == 2, "KV_BIOS_DATA.doNotExpose");
static_assert(offsetof(KV_BIOS_DATA, continueOnError) == 3, "KV_BIOS_DATA.continueOnError");
static_assert(offsetof(KV_BIOS_DATA, verbose) == 4, "KV_BIOS_DATA.verbose");
static_assert(offsetof(KV_BIOS_DATA, geometry) == 5, "KV_BIOS_DATA.geometry");
static_assert(offsetof(KV_BIOS_DATA, exposeAllDrives) == 6, "KV_BIOS_DATA.exposeAllDrives");
static_assert(offsetof(KV_BIOS_DATA, deviceExposure) == 6, "KV_BIOS_DATA.deviceExposure");
static_assert(offsetof(KV_BIOS_DATA, disableCTO) == 7, "KV_BIOS_DATA.disableCTO");
static_assert(offsetof(KV_BIOS_DATA, bootDeviceIsPD) == 8, "KV_BIOS_DATA.bootDeviceIsPD");
static_assert(offsetof(KV_BIOS_DATA, EKMStatus) == 9, "KV_BIOS_DATA.EKMStatus");
static_assert(offsetof(KV_BIOS_DATA, autoSelectBootLd) == 10, "KV_BIOS_DATA.autoSelectBootLd");
static_assert(offsetof(KV_BIOS_DATA, reserved) == 11, "KV_BIOS_DATA.reserved");
static_assert(offsetof(KV_BIOS_DATA, checkSum) == 63, "KV_BIOS_DATA.checkSum");

struct KV_CONFIG_ALLOWED_OPS {
    uint32_t addConfig : 1; /* 0 */
    uint32_t clearConfig : 1;
    uint32_t disallowForceClearConfig : 1;
    uint32_t makeEPD : 1;
    uint32_t reserved : 28;
};
static_assert(sizeof(KV_CONFIG_ALLOWED_OPS) == 4, "KV_CONFIG_ALLOWED_OPS size");

struct KV_FLASH_COMP_INFO_LIST {
    uint32_t size;                    /* 0 */
    uint32_t count;                   /* 4 */
    KV_FLASH_COMP_INFO components[1]; /* 8 */
};
static_assert(sizeof(KV_FLASH_COMP_INFO_LIST) == 80, "KV_FLASH_COMP_INFO_LIST size");
static_assert(offsetof(KV_FLASH_COMP_INFO_LIST, size) == 0, "KV_FLASH_COMP_INFO_LIST.size");
static_assert(offsetof(KV_FLASH_COMP_INFO_LIST, count) == 4, "KV_FLASH_COMP_INFO_LIST.count");
static_assert(offsetof(KV_FLASH_COMP_INFO_LIST, components) == 8,
              "KV_FLASH_COMP_INFO_LIST.components");

// The 32 battery-type-specific bytes at the end of KV_BBU_STATUS. The firmware
// gives no layout for them (it depends on the battery type), so this one is our
// own: an opaque block the tool carries unchanged and `kvictl raw` prints in hex.
struct KV_BBU_STATUS_DETAIL {
    uint8_t data[32]; /* 0 */
};
static_assert(sizeof(KV_BBU_STATUS_DETAIL) == 32, "KV_BBU_STATUS_DETAIL size");
static_assert(offsetof(KV_BBU_STATUS_DETAIL, data) == 0, "KV_BBU_STATUS_DETAIL.data");

struct KV_BBU_STATUS {
    uint8_t batteryType;      /* 0 */
    uint8_t subType;          /* 1 */
    uint16_t voltage;         /* 2 */
    int16_t current;          /* 4 */
    uint16_t temperature;     /* 6 */
    uint32_t fwStatus;        /* 8 */
    uint8_t vpdSupported : 1; /* 12 */
    uint8_t reserved : 7;
    uint8_t pad[19];             /* 13 */
    KV_BBU_STATUS_DETAIL detail; /* 32 */
};
static_assert(sizeof(KV_BBU_STATUS) == 64, "KV_BBU_STATUS size");
static_assert(offsetof(KV_BBU_STATUS, batteryType) == 0, "KV_BBU_STATUS.batteryType");
static_assert(offsetof(KV_BBU_STATUS, subType) == 1, "KV_BBU_STATUS.subType");
static_assert(offsetof(KV_BBU_STATUS, voltage) == 2, "KV_BBU_STATUS.voltage");
static_assert(offsetof(KV_BBU_STATUS, current) == 4, "KV_BBU_STATUS.current");
static_assert(offsetof(KV_BBU_STATUS, temperature) == 6, "KV_BBU_STATUS.temperature");
static_assert(offsetof(KV_BBU_STATUS, fwStatus) == 8, "KV_BBU_STATUS.fwStatus");
static_assert(offsetof(KV_BBU_STATUS, pad) == 13, "KV_BBU_STATUS.pad");
static_assert(offsetof(KV_BBU_STATUS, detail) == 32, "KV_BBU_STATUS.detail");

struct KV_BBU_CAPACITY_INFO {
    uint16_t relativeStateOfCharge;  /* 0 */
    uint16_t absoluteStateOfCharge;  /* 2 */
    uint16_t remainingCapacity;      /* 4 */
    uint16_t fullChargeCapacity;     /* 6 */
    uint16_t runTimeToEmpty;         /* 8 */
    uint16_t averageTimeToEmpty;     /* 10 */
    uint16_t averageTimeToFull;      /* 12 */
    uint16_t cycleCount;             /* 14 */
    uint16_t maxError;               /* 16 */
    uint16_t remainingCapacityAlarm; /* 18 */
    uint16_t reminingTimeAlarm;      /* 20 */
    uint8_t reserved[26];            /* 22 */
};
static_assert(sizeof(KV_BBU_CAPACITY_INFO) == 48, "KV_BBU_CAPACITY_INFO size");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, relativeStateOfCharge) == 0,
              "KV_BBU_CAPACITY_INFO.relativeStateOfCharge");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, absoluteStateOfCharge) == 2,
              "KV_BBU_CAPACITY_INFO.absoluteStateOfCharge");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, remainingCapacity) == 4,
              "KV_BBU_CAPACITY_INFO.remainingCapacity");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, fullChargeCapacity) == 6,
              "KV_BBU_CAPACITY_INFO.fullChargeCapacity");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, runTimeToEmpty) == 8,
              "KV_BBU_CAPACITY_INFO.runTimeToEmpty");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, averageTimeToEmpty) == 10,
              "KV_BBU_CAPACITY_INFO.averageTimeToEmpty");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, averageTimeToFull) == 12,
              "KV_BBU_CAPACITY_INFO.averageTimeToFull");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, cycleCount) == 14, "KV_BBU_CAPACITY_INFO.cycleCount");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, maxError) == 16, "KV_BBU_CAPACITY_INFO.maxError");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, remainingCapacityAlarm) == 18,
              "KV_BBU_CAPACITY_INFO.remainingCapacityAlarm");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, reminingTimeAlarm) == 20,
              "KV_BBU_CAPACITY_INFO.reminingTimeAlarm");
static_assert(offsetof(KV_BBU_CAPACITY_INFO, reserved) == 22, "KV_BBU_CAPACITY_INFO.reserved");

struct KV_BBU_DESIGN_INFO {
    struct {
        uint32_t day : 5; /* 0 */
        uint32_t month : 4;
        uint32_t year : 16;
        uint32_t reserved : 7;
    } mfgDate;                      /* 0 */
    uint16_t designCapacity;        /* 4 */
    uint16_t designVoltage;         /* 6 */
    uint16_t dataFormatInfo;        /* 8: version and scaling of the pack's data */
    uint16_t serialNumber;          /* 10 */
    uint16_t packStatConfiguration; /* 12 */
    uint8_t mfgName[12];            /* 14 */
    uint8_t deviceName[8];          /* 26 */
    uint8_t deviceChemistry[5];     /* 34 */
    uint8_t mfgData[8];             /* 39 */
    uint8_t bbuMode;                /* 47 */
    uint8_t transparentLearns;      /* 48 */
    uint8_t moduleVersion[8];       /* 49 */
    uint8_t appData;                /* 57 */
    uint8_t reserved[6];            /* 58 */
};
static_assert(sizeof(KV_BBU_DESIGN_INFO) == 64, "KV_BBU_DESIGN_INFO size");
static_assert(offsetof(KV_BBU_DESIGN_INFO, mfgDate) == 0, "KV_BBU_DESIGN_INFO.mfgDate");
static_assert(offsetof(KV_BBU_DESIGN_INFO, designCapacity) == 4,
              "KV_BBU_DESIGN_INFO.designCapacity");
static_assert(offsetof(KV_BBU_DESIGN_INFO, designVoltage) == 6, "KV_BBU_DESIGN_INFO.designVoltage");
static_assert(offsetof(KV_BBU_DESIGN_INFO, dataFormatInfo) == 8,
              "KV_BBU_DESIGN_INFO.dataFormatInfo");
static_assert(offsetof(KV_BBU_DESIGN_INFO, serialNumber) == 10, "KV_BBU_DESIGN_INFO.serialNumber");
static_assert(offsetof(KV_BBU_DESIGN_INFO, packStatConfiguration) == 12,
              "KV_BBU_DESIGN_INFO.packStatConfiguration");
static_assert(offsetof(KV_BBU_DESIGN_INFO, mfgName) == 14, "KV_BBU_DESIGN_INFO.mfgName");
static_assert(offsetof(KV_BBU_DESIGN_INFO, deviceName) == 26, "KV_BBU_DESIGN_INFO.deviceName");
static_assert(offsetof(KV_BBU_DESIGN_INFO, deviceChemistry) == 34,
              "KV_BBU_DESIGN_INFO.deviceChemistry");
static_assert(offsetof(KV_BBU_DESIGN_INFO, mfgData) == 39, "KV_BBU_DESIGN_INFO.mfgData");
static_assert(offsetof(KV_BBU_DESIGN_INFO, bbuMode) == 47, "KV_BBU_DESIGN_INFO.bbuMode");
static_assert(offsetof(KV_BBU_DESIGN_INFO, transparentLearns) == 48,
              "KV_BBU_DESIGN_INFO.transparentLearns");
static_assert(offsetof(KV_BBU_DESIGN_INFO, moduleVersion) == 49,
              "KV_BBU_DESIGN_INFO.moduleVersion");
static_assert(offsetof(KV_BBU_DESIGN_INFO, appData) == 57, "KV_BBU_DESIGN_INFO.appData");
static_assert(offsetof(KV_BBU_DESIGN_INFO, reserved) == 58, "KV_BBU_DESIGN_INFO.reserved");

struct KV_BBU_PROPERTIES {
    uint32_t autoLearnPeriod;         /* 0 */
    uint32_t nextLearnTime;           /* 4 */
    uint8_t learnDelayInterval;       /* 8 */
    uint8_t autoLearnMode;            /* 9 */
    uint8_t bbuMode;                  /* 10 */
    uint8_t reserved1;                /* 11 */
    uint32_t lastSuccessfulLearnTime; /* 12 */
    uint8_t reserved[16];             /* 16 */
};
static_assert(sizeof(KV_BBU_PROPERTIES) == 32, "KV_BBU_PROPERTIES size");
static_assert(offsetof(KV_BBU_PROPERTIES, autoLearnPeriod) == 0,
              "KV_BBU_PROPERTIES.autoLearnPeriod");
static_assert(offsetof(KV_BBU_PROPERTIES, nextLearnTime) == 4, "KV_BBU_PROPERTIES.nextLearnTime");
static_assert(offsetof(KV_BBU_PROPERTIES, learnDelayInterval) == 8,
              "KV_BBU_PROPERTIES.learnDelayInterval");
static_assert(offsetof(KV_BBU_PROPERTIES, autoLearnMode) == 9, "KV_BBU_PROPERTIES.autoLearnMode");
static_assert(offsetof(KV_BBU_PROPERTIES, bbuMode) == 10, "KV_BBU_PROPERTIES.bbuMode");
static_assert(offsetof(KV_BBU_PROPERTIES, reserved1) == 11, "KV_BBU_PROPERTIES.reserved1");
static_assert(offsetof(KV_BBU_PROPERTIES, lastSuccessfulLearnTime) == 12,
              "KV_BBU_PROPERTIES.lastSuccessfulLearnTime");
static_assert(offsetof(KV_BBU_PROPERTIES, reserved) == 16, "KV_BBU_PROPERTIES.reserved");

struct KV_PR_PROPERTIES {
    uint8_t opMode;          /* 0 */
    uint8_t maxPD;           /* 1 */
    uint8_t options;         /* 2 */
    uint8_t excludeLdCount;  /* 3 */
    uint16_t excludedLD[64]; /* 4 */
    uint8_t curPdMap[32];    /* 132 */
    uint8_t lastPdMap[32];   /* 164 */
    uint32_t nextExec;       /* 196 */
    uint32_t execFreq;       /* 200 */
    uint32_t clearFreq;      /* 204 */
};
static_assert(sizeof(KV_PR_PROPERTIES) == 208, "KV_PR_PROPERTIES size");
static_assert(offsetof(KV_PR_PROPERTIES, opMode) == 0, "KV_PR_PROPERTIES.opMode");
static_assert(offsetof(KV_PR_PROPERTIES, maxPD) == 1, "KV_PR_PROPERTIES.maxPD");
static_assert(offsetof(KV_PR_PROPERTIES, options) == 2, "KV_PR_PROPERTIES.options");
static_assert(offsetof(KV_PR_PROPERTIES, excludeLdCount) == 3, "KV_PR_PROPERTIES.excludeLdCount");
static_assert(offsetof(KV_PR_PROPERTIES, excludedLD) == 4, "KV_PR_PROPERTIES.excludedLD");
static_assert(offsetof(KV_PR_PROPERTIES, curPdMap) == 132, "KV_PR_PROPERTIES.curPdMap");
static_assert(offsetof(KV_PR_PROPERTIES, lastPdMap) == 164, "KV_PR_PROPERTIES.lastPdMap");
static_assert(offsetof(KV_PR_PROPERTIES, nextExec) == 196, "KV_PR_PROPERTIES.nextExec");
static_assert(offsetof(KV_PR_PROPERTIES, execFreq) == 200, "KV_PR_PROPERTIES.execFreq");
static_assert(offsetof(KV_PR_PROPERTIES, clearFreq) == 204, "KV_PR_PROPERTIES.clearFreq");

// A 256-bit map viewed as bytes, shorts, words or double words.
struct KV_LD_BITMAP {
    union {
        uint8_t b[32];  /* 0 */
        uint16_t s[16]; /* 0 */
        uint32_t w[8];  /* 0 */
        uint64_t d[4];  /* 0 */
    };
};
static_assert(sizeof(KV_LD_BITMAP) == 32, "KV_LD_BITMAP size");
static_assert(offsetof(KV_LD_BITMAP, b) == 0, "KV_LD_BITMAP.b");
static_assert(offsetof(KV_LD_BITMAP, s) == 0, "KV_LD_BITMAP.s");
static_assert(offsetof(KV_LD_BITMAP, w) == 0, "KV_LD_BITMAP.w");
static_assert(offsetof(KV_LD_BITMAP, d) == 0, "KV_LD_BITMAP.d");

// A 256-bit map viewed as bytes, shorts, words or double words.
struct KV_PD_BITMAP {
    union {
        uint8_t b[32];  /* 0 */
        uint16_t s[16]; /* 0 */
        uint32_t w[8];  /* 0 */
        uint64_t d[4];  /* 0 */
    };
};
static_assert(sizeof(KV_PD_BITMAP) == 32, "KV_PD_BITMAP size");
static_assert(offsetof(KV_PD_BITMAP, b) == 0, "KV_PD_BITMAP.b");
static_assert(offsetof(KV_PD_BITMAP, s) == 0, "KV_PD_BITMAP.s");
static_assert(offsetof(KV_PD_BITMAP, w) == 0, "KV_PD_BITMAP.w");
static_assert(offsetof(KV_PD_BITMAP, d) == 0, "KV_PD_BITMAP.d");

struct KV_PR_PROPERTIES_EXT {
    uint8_t opMode;             /* 0 */
    uint8_t maxPD;              /* 1 */
    uint8_t options;            /* 2 */
    uint8_t excludeLdCount;     /* 3 */
    uint8_t pad[4];             /* 4 */
    KV_LD_BITMAP excludedLdMap; /* 8 */
    KV_PD_BITMAP curPdMap;      /* 40 */
    KV_PD_BITMAP lastPdMap;     /* 72 */
    uint32_t nextExec;          /* 104 */
    uint32_t execFreq;          /* 108 */
    uint32_t clearFreq;         /* 112 */
    uint8_t reserved2[4];       /* 116 */
};
static_assert(sizeof(KV_PR_PROPERTIES_EXT) == 120, "KV_PR_PROPERTIES_EXT size");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, opMode) == 0, "KV_PR_PROPERTIES_EXT.opMode");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, maxPD) == 1, "KV_PR_PROPERTIES_EXT.maxPD");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, options) == 2, "KV_PR_PROPERTIES_EXT.options");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, excludeLdCount) == 3,
              "KV_PR_PROPERTIES_EXT.excludeLdCount");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, pad) == 4, "KV_PR_PROPERTIES_EXT.pad");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, excludedLdMap) == 8,
              "KV_PR_PROPERTIES_EXT.excludedLdMap");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, curPdMap) == 40, "KV_PR_PROPERTIES_EXT.curPdMap");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, lastPdMap) == 72, "KV_PR_PROPERTIES_EXT.lastPdMap");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, nextExec) == 104, "KV_PR_PROPERTIES_EXT.nextExec");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, execFreq) == 108, "KV_PR_PROPERTIES_EXT.execFreq");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, clearFreq) == 112, "KV_PR_PROPERTIES_EXT.clearFreq");
static_assert(offsetof(KV_PR_PROPERTIES_EXT, reserved2) == 116, "KV_PR_PROPERTIES_EXT.reserved2");

struct KV_PR_STATUS {
    uint32_t numIteration; /* 0 */
    uint8_t state;         /* 4 */
    uint8_t numPdDone;     /* 5 */
    uint8_t numPdDoneMsb;  /* 6 */
    uint8_t reserved[9];   /* 7 */
};
static_assert(sizeof(KV_PR_STATUS) == 16, "KV_PR_STATUS size");
static_assert(offsetof(KV_PR_STATUS, numIteration) == 0, "KV_PR_STATUS.numIteration");
static_assert(offsetof(KV_PR_STATUS, state) == 4, "KV_PR_STATUS.state");
static_assert(offsetof(KV_PR_STATUS, numPdDone) == 5, "KV_PR_STATUS.numPdDone");
static_assert(offsetof(KV_PR_STATUS, numPdDoneMsb) == 6, "KV_PR_STATUS.numPdDoneMsb");
static_assert(offsetof(KV_PR_STATUS, reserved) == 7, "KV_PR_STATUS.reserved");

struct KV_CC_SCHEDULE_PROPERTIES {
    uint8_t opMode;          /* 0 */
    uint8_t maxLds;          /* 1 */
    uint8_t reserved;        /* 2 */
    uint8_t excludeLdCount;  /* 3 */
    uint16_t excludedLD[64]; /* 4 */
    uint8_t pad1[4];         /* 132 */
    uint64_t curLdMap;       /* 136 */
    uint64_t lastLdMap;      /* 144 */
    uint32_t nextExec;       /* 152 */
    uint32_t execFreq;       /* 156 */
    uint32_t clearFreq;      /* 160 */
    uint8_t pad2[4];         /* 164 */
};
static_assert(sizeof(KV_CC_SCHEDULE_PROPERTIES) == 168, "KV_CC_SCHEDULE_PROPERTIES size");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, opMode) == 0, "KV_CC_SCHEDULE_PROPERTIES.opMode");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, maxLds) == 1, "KV_CC_SCHEDULE_PROPERTIES.maxLds");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, reserved) == 2,
              "KV_CC_SCHEDULE_PROPERTIES.reserved");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, excludeLdCount) == 3,
              "KV_CC_SCHEDULE_PROPERTIES.excludeLdCount");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, excludedLD) == 4,
              "KV_CC_SCHEDULE_PROPERTIES.excludedLD");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, pad1) == 132, "KV_CC_SCHEDULE_PROPERTIES.pad1");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, curLdMap) == 136,
              "KV_CC_SCHEDULE_PROPERTIES.curLdMap");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, lastLdMap) == 144,
              "KV_CC_SCHEDULE_PROPERTIES.lastLdMap");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, nextExec) == 152,
              "KV_CC_SCHEDULE_PROPERTIES.nextExec");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, execFreq) == 156,
              "KV_CC_SCHEDULE_PROPERTIES.execFreq");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, clearFreq) == 160,
              "KV_CC_SCHEDULE_PROPERTIES.clearFreq");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES, pad2) == 164, "KV_CC_SCHEDULE_PROPERTIES.pad2");

struct KV_CC_SCHEDULE_PROPERTIES_EXT {
    uint8_t opMode;             /* 0 */
    uint8_t maxLds;             /* 1 */
    uint8_t reserved1;          /* 2 */
    uint8_t excludeLdCount;     /* 3 */
    uint8_t pad[4];             /* 4 */
    KV_LD_BITMAP excludedLdMap; /* 8 */
    KV_LD_BITMAP curLdMap;      /* 40 */
    KV_LD_BITMAP lastLdMap;     /* 72 */
    uint32_t nextExec;          /* 104 */
    uint32_t execFreq;          /* 108 */
    uint32_t clearFreq;         /* 112 */
    uint8_t reserved2[4];       /* 116 */
};
static_assert(sizeof(KV_CC_SCHEDULE_PROPERTIES_EXT) == 120, "KV_CC_SCHEDULE_PROPERTIES_EXT size");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, opMode) == 0,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.opMode");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, maxLds) == 1,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.maxLds");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, reserved1) == 2,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.reserved1");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, excludeLdCount) == 3,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.excludeLdCount");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, pad) == 4,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.pad");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, excludedLdMap) == 8,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.excludedLdMap");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, curLdMap) == 40,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.curLdMap");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, lastLdMap) == 72,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.lastLdMap");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, nextExec) == 104,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.nextExec");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, execFreq) == 108,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.execFreq");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, clearFreq) == 112,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.clearFreq");
static_assert(offsetof(KV_CC_SCHEDULE_PROPERTIES_EXT, reserved2) == 116,
              "KV_CC_SCHEDULE_PROPERTIES_EXT.reserved2");

struct KV_CC_SCHEDULE_STATUS {
    uint32_t numIteration; /* 0 */
    uint8_t state;         /* 4 */
    uint8_t numLdDone;     /* 5 */
    uint8_t numLdDoneMsb;  /* 6 */
    uint8_t reserved[9];   /* 7 */
};
static_assert(sizeof(KV_CC_SCHEDULE_STATUS) == 16, "KV_CC_SCHEDULE_STATUS size");
static_assert(offsetof(KV_CC_SCHEDULE_STATUS, numIteration) == 0,
              "KV_CC_SCHEDULE_STATUS.numIteration");
static_assert(offsetof(KV_CC_SCHEDULE_STATUS, state) == 4, "KV_CC_SCHEDULE_STATUS.state");
static_assert(offsetof(KV_CC_SCHEDULE_STATUS, numLdDone) == 5, "KV_CC_SCHEDULE_STATUS.numLdDone");
static_assert(offsetof(KV_CC_SCHEDULE_STATUS, numLdDoneMsb) == 6,
              "KV_CC_SCHEDULE_STATUS.numLdDoneMsb");
static_assert(offsetof(KV_CC_SCHEDULE_STATUS, reserved) == 7, "KV_CC_SCHEDULE_STATUS.reserved");

struct KV_SAS_MUX_LIST {
    uint8_t sasMuxCount;   /* 0 */
    uint8_t sasMuxMode[4]; /* 1 */
};
static_assert(sizeof(KV_SAS_MUX_LIST) == 5, "KV_SAS_MUX_LIST size");
static_assert(offsetof(KV_SAS_MUX_LIST, sasMuxCount) == 0, "KV_SAS_MUX_LIST.sasMuxCount");
static_assert(offsetof(KV_SAS_MUX_LIST, sasMuxMode) == 1, "KV_SAS_MUX_LIST.sasMuxMode");

struct KV_SAS_CONNECTOR_INFO {
    uint8_t location;      /* 0 */
    uint8_t quadPhyMap[2]; /* 1 */
    uint8_t sasMuxIndex;   /* 3 */
    char name[16];         /* 4 */
};
static_assert(sizeof(KV_SAS_CONNECTOR_INFO) == 20, "KV_SAS_CONNECTOR_INFO size");
static_assert(offsetof(KV_SAS_CONNECTOR_INFO, location) == 0, "KV_SAS_CONNECTOR_INFO.location");
static_assert(offsetof(KV_SAS_CONNECTOR_INFO, quadPhyMap) == 1, "KV_SAS_CONNECTOR_INFO.quadPhyMap");
static_assert(offsetof(KV_SAS_CONNECTOR_INFO, sasMuxIndex) == 3,
              "KV_SAS_CONNECTOR_INFO.sasMuxIndex");
static_assert(offsetof(KV_SAS_CONNECTOR_INFO, name) == 4, "KV_SAS_CONNECTOR_INFO.name");

struct KV_SAS_CONNECTORS {
    uint32_t count;                      /* 0 */
    uint32_t reserved;                   /* 4 */
    KV_SAS_CONNECTOR_INFO connectors[8]; /* 8 */
};
static_assert(sizeof(KV_SAS_CONNECTORS) == 168, "KV_SAS_CONNECTORS size");
static_assert(offsetof(KV_SAS_CONNECTORS, count) == 0, "KV_SAS_CONNECTORS.count");
static_assert(offsetof(KV_SAS_CONNECTORS, reserved) == 4, "KV_SAS_CONNECTORS.reserved");
static_assert(offsetof(KV_SAS_CONNECTORS, connectors) == 8, "KV_SAS_CONNECTORS.connectors");

struct KV_SAS_PHY_CONNECTION {
    uint64_t sasAddr;        /* 0 */
    uint8_t phyIdentifier;   /* 8 */
    uint8_t reserved2[2];    /* 9 */
    uint8_t connectorIndex;  /* 11 */
    uint32_t deviceType : 3; /* 12 */
    uint32_t deviceIsSata : 1;
    uint32_t smpInitiator : 1;
    uint32_t stpInitiator : 1;
    uint32_t sspInitiator : 1;
    uint32_t smpTarget : 1;
    uint32_t stpTarget : 1;
    uint32_t sspTarget : 1;
    uint32_t disabled : 1;
    uint32_t sasPortNumber : 6;
    uint32_t sasPortNumberValid : 1;
    uint32_t linkSpeedControl : 6;
    uint32_t currentSpeed : 8;
};
static_assert(sizeof(KV_SAS_PHY_CONNECTION) == 16, "KV_SAS_PHY_CONNECTION size");
static_assert(offsetof(KV_SAS_PHY_CONNECTION, sasAddr) == 0, "KV_SAS_PHY_CONNECTION.sasAddr");
static_assert(offsetof(KV_SAS_PHY_CONNECTION, phyIdentifier) == 8,
              "KV_SAS_PHY_CONNECTION.phyIdentifier");
static_assert(offsetof(KV_SAS_PHY_CONNECTION, reserved2) == 9, "KV_SAS_PHY_CONNECTION.reserved2");
static_assert(offsetof(KV_SAS_PHY_CONNECTION, connectorIndex) == 11,
              "KV_SAS_PHY_CONNECTION.connectorIndex");

struct KV_SAS_PHY_CONNECTIONS {
    uint32_t count;                /* 0 */
    uint32_t reserved;             /* 4 */
    KV_SAS_PHY_CONNECTION phy[24]; /* 8 */
};
static_assert(sizeof(KV_SAS_PHY_CONNECTIONS) == 392, "KV_SAS_PHY_CONNECTIONS size");
static_assert(offsetof(KV_SAS_PHY_CONNECTIONS, count) == 0, "KV_SAS_PHY_CONNECTIONS.count");
static_assert(offsetof(KV_SAS_PHY_CONNECTIONS, reserved) == 4, "KV_SAS_PHY_CONNECTIONS.reserved");
static_assert(offsetof(KV_SAS_PHY_CONNECTIONS, phy) == 8, "KV_SAS_PHY_CONNECTIONS.phy");

// One PCIe lane of a PCIe back end: what the SAS phy entry is on a SAS back end.
struct KV_PCIE_LANE_CONNECTION {
    uint64_t wwid;              /* 0 */
    uint16_t laneIdentifier;    /* 8 */
    uint8_t currentClkMode : 2; /* 10 */
    uint8_t deviceType : 4;
    uint8_t reserved2 : 2;
    uint8_t connectorIndex;          /* 11 */
    uint32_t supportedLaneSpeed : 8; /* 12 */
    uint32_t disabled : 1;
    uint32_t pcieLinkNumber : 6;
    uint32_t linkNumberValid : 1;
    uint32_t laneSpeedControl : 8;
    uint32_t currentSpeed : 8;
};
static_assert(sizeof(KV_PCIE_LANE_CONNECTION) == 16, "KV_PCIE_LANE_CONNECTION size");
static_assert(offsetof(KV_PCIE_LANE_CONNECTION, wwid) == 0, "KV_PCIE_LANE_CONNECTION.wwid");
static_assert(offsetof(KV_PCIE_LANE_CONNECTION, laneIdentifier) == 8,
              "KV_PCIE_LANE_CONNECTION.laneIdentifier");
static_assert(offsetof(KV_PCIE_LANE_CONNECTION, connectorIndex) == 11,
              "KV_PCIE_LANE_CONNECTION.connectorIndex");

struct KV_PCIE_LANE_CONNECTIONS {
    uint32_t count;                   /* 0 */
    uint32_t reserved;                /* 4 */
    KV_PCIE_LANE_CONNECTION lane[24]; /* 8 */
};
static_assert(sizeof(KV_PCIE_LANE_CONNECTIONS) == 392, "KV_PCIE_LANE_CONNECTIONS size");
static_assert(offsetof(KV_PCIE_LANE_CONNECTIONS, count) == 0, "KV_PCIE_LANE_CONNECTIONS.count");
static_assert(offsetof(KV_PCIE_LANE_CONNECTIONS, reserved) == 4,
              "KV_PCIE_LANE_CONNECTIONS.reserved");
static_assert(offsetof(KV_PCIE_LANE_CONNECTIONS, lane) == 8, "KV_PCIE_LANE_CONNECTIONS.lane");

struct KV_TIME_STAMP {
    uint16_t year;    /* 0 */
    uint8_t month;    /* 2 */
    uint8_t day;      /* 3 */
    uint8_t hour;     /* 4 */
    uint8_t min;      /* 5 */
    uint8_t sec;      /* 6 */
    uint8_t reserved; /* 7 */
};
static_assert(sizeof(KV_TIME_STAMP) == 8, "KV_TIME_STAMP size");
static_assert(offsetof(KV_TIME_STAMP, year) == 0, "KV_TIME_STAMP.year");
static_assert(offsetof(KV_TIME_STAMP, month) == 2, "KV_TIME_STAMP.month");
static_assert(offsetof(KV_TIME_STAMP, day) == 3, "KV_TIME_STAMP.day");
static_assert(offsetof(KV_TIME_STAMP, hour) == 4, "KV_TIME_STAMP.hour");
static_assert(offsetof(KV_TIME_STAMP, min) == 5, "KV_TIME_STAMP.min");
static_assert(offsetof(KV_TIME_STAMP, sec) == 6, "KV_TIME_STAMP.sec");
static_assert(offsetof(KV_TIME_STAMP, reserved) == 7, "KV_TIME_STAMP.reserved");

struct KV_HOST_INFO {
    uint8_t pciSlotNumber;     /* 0 */
    char hostSerialNumber[16]; /* 1 */
    uint8_t reserved[47];      /* 17 */
};
static_assert(sizeof(KV_HOST_INFO) == 64, "KV_HOST_INFO size");
static_assert(offsetof(KV_HOST_INFO, pciSlotNumber) == 0, "KV_HOST_INFO.pciSlotNumber");
static_assert(offsetof(KV_HOST_INFO, hostSerialNumber) == 1, "KV_HOST_INFO.hostSerialNumber");
static_assert(offsetof(KV_HOST_INFO, reserved) == 17, "KV_HOST_INFO.reserved");

struct KV_EVT_LOG_INFO {
    uint32_t newestSeqNum;   /* 0 */
    uint32_t oldestSeqNum;   /* 4 */
    uint32_t clearSeqNum;    /* 8 */
    uint32_t shutdownSeqNum; /* 12 */
    uint32_t bootSeqNum;     /* 16 */
};
static_assert(sizeof(KV_EVT_LOG_INFO) == 20, "KV_EVT_LOG_INFO size");
static_assert(offsetof(KV_EVT_LOG_INFO, newestSeqNum) == 0, "KV_EVT_LOG_INFO.newestSeqNum");
static_assert(offsetof(KV_EVT_LOG_INFO, oldestSeqNum) == 4, "KV_EVT_LOG_INFO.oldestSeqNum");
static_assert(offsetof(KV_EVT_LOG_INFO, clearSeqNum) == 8, "KV_EVT_LOG_INFO.clearSeqNum");
static_assert(offsetof(KV_EVT_LOG_INFO, shutdownSeqNum) == 12, "KV_EVT_LOG_INFO.shutdownSeqNum");
static_assert(offsetof(KV_EVT_LOG_INFO, bootSeqNum) == 16, "KV_EVT_LOG_INFO.bootSeqNum");

struct KV_MFC_DATE {
    uint16_t day : 5; /* 0 */
    uint16_t month : 4;
    uint16_t year : 7;
};
static_assert(sizeof(KV_MFC_DATE) == 2, "KV_MFC_DATE size");

struct KV_MFC_MFG {
    KV_MFC_DATE mfgDate;    /* 0 */
    char sn[16];            /* 2 */
    KV_MFC_DATE reworkDate; /* 18 */
    char rev[8];            /* 20 */
    uint8_t reserved[4];    /* 28 */
};
static_assert(sizeof(KV_MFC_MFG) == 32, "KV_MFC_MFG size");
static_assert(offsetof(KV_MFC_MFG, mfgDate) == 0, "KV_MFC_MFG.mfgDate");
static_assert(offsetof(KV_MFC_MFG, sn) == 2, "KV_MFC_MFG.sn");
static_assert(offsetof(KV_MFC_MFG, reworkDate) == 18, "KV_MFC_MFG.reworkDate");
static_assert(offsetof(KV_MFC_MFG, rev) == 20, "KV_MFC_MFG.rev");
static_assert(offsetof(KV_MFC_MFG, reserved) == 28, "KV_MFC_MFG.reserved");

struct KV_DRV_PCI_INFORMATION {
    uint32_t busNumber;     /* 0 */
    uint8_t deviceNumber;   /* 4 */
    uint8_t functionNumber; /* 5 */
    uint8_t reserved0[66];  /* 6 */
    struct {
        struct {
            uint32_t linkSpeed : 4; /* 72 */
            uint32_t linkWidth : 6;
            uint32_t reserved : 22;
        } linkCapability;  /* 72 */
        uint32_t reserved; /* 76 */
    } capability;          /* 72 */
    uint32_t domainID;     /* 80 */
    uint8_t reserved1[28]; /* 84 */
};
static_assert(sizeof(KV_DRV_PCI_INFORMATION) == 112, "KV_DRV_PCI_INFORMATION size");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, busNumber) == 0, "KV_DRV_PCI_INFORMATION.busNumber");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, deviceNumber) == 4,
              "KV_DRV_PCI_INFORMATION.deviceNumber");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, functionNumber) == 5,
              "KV_DRV_PCI_INFORMATION.functionNumber");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, reserved0) == 6, "KV_DRV_PCI_INFORMATION.reserved0");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, capability.linkCapability) == 72,
              "KV_DRV_PCI_INFORMATION.capability.linkCapability");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, capability.reserved) == 76,
              "KV_DRV_PCI_INFORMATION.capability.reserved");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, capability) == 72,
              "KV_DRV_PCI_INFORMATION.capability");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, domainID) == 80, "KV_DRV_PCI_INFORMATION.domainID");
static_assert(offsetof(KV_DRV_PCI_INFORMATION, reserved1) == 84,
              "KV_DRV_PCI_INFORMATION.reserved1");

struct KV_DRV_DRIVER_VERSION {
    char driverSignature[12];   /* 0 */
    char osName[16];            /* 12 */
    char osVersion[12];         /* 28 */
    char driverName[20];        /* 40 */
    char driverVersion[32];     /* 60 */
    char driverReleaseDate[20]; /* 92 */
};
static_assert(sizeof(KV_DRV_DRIVER_VERSION) == 112, "KV_DRV_DRIVER_VERSION size");
static_assert(offsetof(KV_DRV_DRIVER_VERSION, driverSignature) == 0,
              "KV_DRV_DRIVER_VERSION.driverSignature");
static_assert(offsetof(KV_DRV_DRIVER_VERSION, osName) == 12, "KV_DRV_DRIVER_VERSION.osName");
static_assert(offsetof(KV_DRV_DRIVER_VERSION, osVersion) == 28, "KV_DRV_DRIVER_VERSION.osVersion");
static_assert(offsetof(KV_DRV_DRIVER_VERSION, driverName) == 40,
              "KV_DRV_DRIVER_VERSION.driverName");
static_assert(offsetof(KV_DRV_DRIVER_VERSION, driverVersion) == 60,
              "KV_DRV_DRIVER_VERSION.driverVersion");
static_assert(offsetof(KV_DRV_DRIVER_VERSION, driverReleaseDate) == 92,
              "KV_DRV_DRIVER_VERSION.driverReleaseDate");

struct KV_AEC_SETTINGS {
    uint8_t state;                /* 0 */
    uint8_t control;              /* 1 */
    uint8_t mode;                 /* 2 */
    uint8_t reserved0;            /* 3 */
    uint32_t numEvents;           /* 4 */
    uint32_t numCapturedEvents;   /* 8 */
    uint32_t numCapturedSegments; /* 12 */
    uint32_t filterMaskHost;      /* 16 */
    uint32_t filterMaskFw;        /* 20 */
    uint8_t reserved[16];         /* 24 */
};
static_assert(sizeof(KV_AEC_SETTINGS) == 40, "KV_AEC_SETTINGS size");
static_assert(offsetof(KV_AEC_SETTINGS, state) == 0, "KV_AEC_SETTINGS.state");
static_assert(offsetof(KV_AEC_SETTINGS, control) == 1, "KV_AEC_SETTINGS.control");
static_assert(offsetof(KV_AEC_SETTINGS, mode) == 2, "KV_AEC_SETTINGS.mode");
static_assert(offsetof(KV_AEC_SETTINGS, reserved0) == 3, "KV_AEC_SETTINGS.reserved0");
static_assert(offsetof(KV_AEC_SETTINGS, numEvents) == 4, "KV_AEC_SETTINGS.numEvents");
static_assert(offsetof(KV_AEC_SETTINGS, numCapturedEvents) == 8,
              "KV_AEC_SETTINGS.numCapturedEvents");
static_assert(offsetof(KV_AEC_SETTINGS, numCapturedSegments) == 12,
              "KV_AEC_SETTINGS.numCapturedSegments");
static_assert(offsetof(KV_AEC_SETTINGS, filterMaskHost) == 16, "KV_AEC_SETTINGS.filterMaskHost");
static_assert(offsetof(KV_AEC_SETTINGS, filterMaskFw) == 20, "KV_AEC_SETTINGS.filterMaskFw");
static_assert(offsetof(KV_AEC_SETTINGS, reserved) == 24, "KV_AEC_SETTINGS.reserved");

// The controller's personality (RAID, HBA, ...) as the personality read returns
// it. The firmware fixes the size and the current-personality bit set in byte 0
// and names the other members without placing them; their placement is our own:
// the requested personality in byte 1, six reserved bytes, then eight 16-bit
// supported-personality codes from byte 8, which the personality-support
// queries search.
struct KV_CTRL_PERSONALITY_INFO {
    uint8_t personalityBitmap;          /* 0 */
    uint8_t requestedPersonality;       /* 1 */
    uint8_t reserved[6];                /* 2 */
    uint16_t supportedPersonalities[8]; /* 8 */
};
static_assert(sizeof(KV_CTRL_PERSONALITY_INFO) == 24, "KV_CTRL_PERSONALITY_INFO size");
static_assert(offsetof(KV_CTRL_PERSONALITY_INFO, personalityBitmap) == 0,
              "KV_CTRL_PERSONALITY_INFO.personalityBitmap");
static_assert(offsetof(KV_CTRL_PERSONALITY_INFO, requestedPersonality) == 1,
              "KV_CTRL_PERSONALITY_INFO.requestedPersonality");
static_assert(offsetof(KV_CTRL_PERSONALITY_INFO, reserved) == 2,
              "KV_CTRL_PERSONALITY_INFO.reserved");
static_assert(offsetof(KV_CTRL_PERSONALITY_INFO, supportedPersonalities) == 8,
              "KV_CTRL_PERSONALITY_INFO.supportedPersonalities");

struct KV_CTRL_LOCK_KEY_PASSPHRASE {
    uint8_t passPhrase[33]; /* 0 */
    uint8_t pad[3];         /* 33 */
};
static_assert(sizeof(KV_CTRL_LOCK_KEY_PASSPHRASE) == 36, "KV_CTRL_LOCK_KEY_PASSPHRASE size");
static_assert(offsetof(KV_CTRL_LOCK_KEY_PASSPHRASE, passPhrase) == 0,
              "KV_CTRL_LOCK_KEY_PASSPHRASE.passPhrase");
static_assert(offsetof(KV_CTRL_LOCK_KEY_PASSPHRASE, pad) == 33, "KV_CTRL_LOCK_KEY_PASSPHRASE.pad");

struct KV_CTRL_ESCROW_LOCK_KEY {
    uint8_t escrowLockKeyLength; /* 0 */
    uint8_t pad[3];              /* 1 */
    uint8_t escrowLockKey[32];   /* 4 */
    uint8_t reserved[32];        /* 36 */
};
static_assert(sizeof(KV_CTRL_ESCROW_LOCK_KEY) == 68, "KV_CTRL_ESCROW_LOCK_KEY size");
static_assert(offsetof(KV_CTRL_ESCROW_LOCK_KEY, escrowLockKeyLength) == 0,
              "KV_CTRL_ESCROW_LOCK_KEY.escrowLockKeyLength");
static_assert(offsetof(KV_CTRL_ESCROW_LOCK_KEY, pad) == 1, "KV_CTRL_ESCROW_LOCK_KEY.pad");
static_assert(offsetof(KV_CTRL_ESCROW_LOCK_KEY, escrowLockKey) == 4,
              "KV_CTRL_ESCROW_LOCK_KEY.escrowLockKey");
static_assert(offsetof(KV_CTRL_ESCROW_LOCK_KEY, reserved) == 36,
              "KV_CTRL_ESCROW_LOCK_KEY.reserved");

struct KV_CTRL_LOCK_KEY_FROM_ESCROW {
    KV_CTRL_LOCK_KEY_PASSPHRASE lockKeyPassPhrase; /* 0 */
    KV_CTRL_ESCROW_LOCK_KEY escrow;                /* 36 */
};
static_assert(sizeof(KV_CTRL_LOCK_KEY_FROM_ESCROW) == 104, "KV_CTRL_LOCK_KEY_FROM_ESCROW size");
static_assert(offsetof(KV_CTRL_LOCK_KEY_FROM_ESCROW, lockKeyPassPhrase) == 0,
              "KV_CTRL_LOCK_KEY_FROM_ESCROW.lockKeyPassPhrase");
static_assert(offsetof(KV_CTRL_LOCK_KEY_FROM_ESCROW, escrow) == 36,
              "KV_CTRL_LOCK_KEY_FROM_ESCROW.escrow");

struct KV_CTRL_LOCK_KEY_PARAMS {
    KV_CTRL_LOCK_KEY_PASSPHRASE lockKeyPassPhrase; /* 0 */
    KV_CTRL_LOCK_KEY_PASSPHRASE secretKey;         /* 36 */
    KV_CTRL_LOCK_KEY_PASSPHRASE backupPassPhrase;  /* 72 */
    uint8_t keyId[256];                            /* 108 */
};
static_assert(sizeof(KV_CTRL_LOCK_KEY_PARAMS) == 364, "KV_CTRL_LOCK_KEY_PARAMS size");
static_assert(offsetof(KV_CTRL_LOCK_KEY_PARAMS, lockKeyPassPhrase) == 0,
              "KV_CTRL_LOCK_KEY_PARAMS.lockKeyPassPhrase");
static_assert(offsetof(KV_CTRL_LOCK_KEY_PARAMS, secretKey) == 36,
              "KV_CTRL_LOCK_KEY_PARAMS.secretKey");
static_assert(offsetof(KV_CTRL_LOCK_KEY_PARAMS, backupPassPhrase) == 72,
              "KV_CTRL_LOCK_KEY_PARAMS.backupPassPhrase");
static_assert(offsetof(KV_CTRL_LOCK_KEY_PARAMS, keyId) == 108, "KV_CTRL_LOCK_KEY_PARAMS.keyId");

#pragma pack(pop)
