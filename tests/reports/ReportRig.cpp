// Test rig for the report sections (see ReportRig.h).
#include "tests/reports/ReportRig.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "firmware/kvi.h"
#include "provider/System.h"

namespace rt {

namespace {

void setComponent(KV_FLASH_COMP_INFO& comp, const char* name, const char* version) {
    setText(comp.name, name);
    setText(comp.version, version);
}

} // namespace

ControllerSetup baseSetup() {
    ControllerSetup s;
    KV_CTRL_INFO& i = s.info;
    i.pci.vendorId = 0x1000;
    i.pci.devId = 0x10e2;
    i.pci.subVendorId = 0x1d49;
    i.pci.subDevId = 0x0205;
    i.pci.chipRevision[0] = 'B';
    i.pci.chipRevision[1] = '0';
    i.hostInterface.PCIE = 1;
    i.hostInterface.pciLinkSpeed = 3;
    i.hostInterface.portCount = 1;
    i.deviceInterface.SAS_12G = 1;
    i.deviceInterface.SATA_6G = 1;
    i.deviceInterface.portCount = 16;
    i.imageComponentCount = 5;
    setComponent(i.imageComponent[0], "APP ", "5.260.02-3855");
    setComponent(i.imageComponent[1], "BIOS", "7.26.00.0_0x071A0000");
    setComponent(i.imageComponent[2], "NVDT", "6.1905.00-0017");
    setComponent(i.imageComponent[3], "XYZW", "0.0.0");
    setComponent(i.imageComponent[4], "HIIA", "7.26.00.0");
    setText(i.productName, "Kestrel 9560-16i 8GB");
    setText(i.serialNo, "SKA1234567");
    setText(i.packageVersion, "52.26.0-5179");
    i.hwPresent.bbu = 1;
    i.hwPresent.alarm = 1;
    i.hwPresent.TPM = 1;
    i.hwPresent.tempSensorROC = 1;
    i.hwPresent.tempSensorCtrl = 1;
    i.hwPresent.upgradableCPLD = 1;
    i.currentFwTime = 795000000;
    i.nvramSize = 128;
    i.memorySize = 8192;
    i.flashSize = 16;
    i.memCorrectableErrorCount = 2;
    i.memUnCorrectableErrorCount = 0;
    i.maxArms = 32;
    i.maxSpans = 8;
    i.maxArrays = 240;
    i.maxLDs = 64;
    i.maxPds = 240;
    i.maxConfigurablePds = 240;
    i.maxDedHSPs = 16;
    i.maxGlobalHSPs = 16;
    i.maxLdsPerArray = 16;
    i.stripeSizeOptions.min = 7;
    i.stripeSizeOptions.max = 11;
    i.raidLevels.raidLevel_0 = 1;
    i.raidLevels.raidLevel_1 = 1;
    i.raidLevels.raidLevel_5 = 1;
    i.raidLevels.raidLevel_6 = 1;
    i.raidLevels.raidLevel_10 = 1;
    i.raidLevels.raidLevel_50 = 1;
    i.raidLevels.raidLevel_60 = 1;
    i.eccBucketCount = 3;
    i.adapterOperations.rbldRate = 1;
    i.adapterOperations.ccRate = 1;
    i.adapterOperations.bgiRate = 1;
    i.adapterOperations.reconRate = 1;
    i.adapterOperations.patrolRate = 1;
    i.adapterOperations.alarmControl = 1;
    i.adapterOperations.bbu = 1;
    i.adapterOperations.spanningAllowed = 1;
    i.adapterOperations.dedicatedHotSpares = 1;
    i.adapterOperations.globalHotSpares = 1;
    i.adapterOperations.supportSecurity = 1;
    i.adapterOperations.supportEKM = 1;
    i.ldOperations.readPolicy = 1;
    i.ldOperations.writePolicy = 1;
    i.ldOperations.reconstruction = 1;
    i.ldOperations.supportFastPathWB = 1;
    i.ldOperations.supportScsiUnmap = 1;
    i.pdOperations.forceOnline = 1;
    i.pdOperations.supportTemperature = 1;
    i.pdOperations.supportNCQ = 1;
    i.pdOperations.supportWearGauge = 1;
    i.adapterStatus.supportPdFwDownload = 1;
    i.adapterStatus.lockKeyAssigned = 1;
    i.adapterOperations2.supportPIcontroller = 1;
    i.adapterOperations2.supportLdPIType2 = 1;
    i.adapterOperations2.supportJBOD = 1;
    i.adapterOperations2.supportUnevenSpans = 1;
    i.adapterOperations2.supportExtEnclDrvCount = 1;
    i.adapterOperations3.supportPersonalityChange = 1;
    i.adapterOperations3.supportCPLDUpdate = 1;
    i.adapterOperations3.discardCacheDuringLDDelete = 1;
    setText(reinterpret_cast<char(&)[12]>(i.cpld.userCodeDefinition), "CPLD-0x1A");
    i.adapterOperations4.supportHostInfo = 1;
    i.adapterOperationExt.adapterOperations5.supportSnapDump = 1;
    i.adapterOperationExt.adapterOperations5.supportSecureBoot = 1;
    i.adapterOperationExt.adapterOperations6.supportPredFailDATimer = 1;
    i.lockKeyBinding = 4;
    i.currentSSCsize = 0;
    i.cacheMemorySize = 7052;
    i.maxDAPdCountSpinup60 = 6;
    i.temperatureROC = 61;
    i.temperatureCtrl = 48;
    i.maxHANodes = 0;
    i.secureBootHashSlotsRemaining = 5;
    i.secureBootDetails.secureBootEnabled = 1;
    i.secureBootDetails.hardSecure = 1;
    i.prop.predFailDAInterval = 300;

    s.mfg.mfgDate.day = 1;
    s.mfg.mfgDate.month = 1;
    s.mfg.mfgDate.year = 25;
    setText(s.mfg.sn, "SKB7654321");
    s.mfg.reworkDate.day = 14;
    s.mfg.reworkDate.month = 2;
    s.mfg.reworkDate.year = 25;
    setText(s.mfg.rev, "03A");

    s.mfc.sasAddr = 0x500123456789ABCDULL;
    s.mfc.backgroundRate = 30;
    s.mfc.stripeSize = 7;
    s.mfc.flushTime = 4;
    s.mfc.writeBack = 1;
    s.mfc.readAhead = 1;
    s.mfc.cachedIo = 0;
    s.mfc.spindownMode = 2;
    s.mfc.enableWebBios = 1;
    s.mfc.biosEnumerateLds = 1;
    s.mfc.delayPOST = 2;
    s.mfc.maxLdsPerArray = 16;
    s.mfc.coercion = 2;

    s.host.pciSlotNumber = 4;
    s.clock.year = 2025;
    s.clock.month = 3;
    s.clock.day = 5;
    s.clock.hour = 14;
    s.clock.min = 36;
    s.clock.sec = 58;

    s.prop.predFailPollInterval = 300;
    s.prop.intThrottleCount = 16;
    s.prop.intThrottleTimeUs = 50;
    s.prop.rebuildRate = 30;
    s.prop.patrolReadRate = 30;
    s.prop.bgiRate = 30;
    s.prop.ccRate = 30;
    s.prop.reconRate = 30;
    s.prop.cacheFlushInterval = 4;
    s.prop.spinupDriveCount = 4;
    s.prop.spinupDelay = 12;
    s.prop.coercionMode = 2;
    s.prop.eccBucketSize = 15;
    s.prop.eccBucketLeakRate = 1439;
    s.prop.restoreHotSpareOnInsertion = 1;
    s.prop.maintainPdFailHistory = 1;
    s.prop.disableAutoDetectBackplane = 2;
    s.prop.OnOffProperties.allowBootWithPinnedCache = 1;
    s.prop.OnOffProperties.useDiskActivityForLocate = 1;

    s.bios.EKMStatus = 0x10;
    s.bbu.fwStatus = 0x00000010;
    s.bbuProp.autoLearnPeriod = 2419200; // 28 days
    s.bbuProp.nextLearnTime = 795600000;
    s.fru = "FRU-03XK71";

    s.pr.nextExec = 795610800;
    s.pr.execFreq = 604800;
    s.prExt.nextExec = 795610800;
    s.prExt.execFreq = 0xFFFFFFFFu;
    s.cc.execFreq = 7200;
    s.ccExt.execFreq = 5399;

    s.active = {{"APP ", "5.260.02-3855"}, {"BIOS", "7.26.00.0"}, {"PACKAGE", "52.26.0-5179"}};
    s.pci.domain = 0;
    s.pci.bus = 0x3b;
    s.pci.device = 0;
    s.pci.function = 0;
    s.pci.linkWidth = 8;

    s.oem = 0;
    s.personality = 0x01;
    s.ccStart.tm_year = 125;
    s.ccStart.tm_mon = 2;
    s.ccStart.tm_mday = 5;
    s.ccStart.tm_hour = 14;
    s.ccStart.tm_min = 37;
    return s;
}

int ScriptedAdapter::getOem(int* out) {
    calls.push_back("getOem");
    if (setup_.oemStatus == 0 && out != nullptr) {
        *out = setup_.oem;
    }
    return setup_.oemStatus;
}

int ScriptedAdapter::getPersonality(KV_CTRL_PERSONALITY_INFO* out) {
    calls.push_back("getPersonality");
    if (setup_.personalityStatus == 0 && out != nullptr) {
        out->personalityBitmap = setup_.personality;
    }
    return setup_.personalityStatus;
}

int ScriptedAdapter::adpFlashErase(unsigned long long* a, bool erase, unsigned long long* b) {
    calls.push_back(erase ? "adpFlashErase(erase)" : "adpFlashErase(report)");
    if (setup_.flashStatus == 0) {
        *a = 0;
        *b = setup_.flashKiB;
    }
    return setup_.flashStatus;
}

int ScriptedAdapter::getCurrentConfigSSCSize(unsigned long long* out) {
    calls.push_back("getCurrentConfigSSCSize");
    if (setup_.sscBlocks != 0) {
        *out = setup_.sscBlocks;
    }
    return 0;
}

int ScriptedAdapter::getCcSchedStartTime(tm* out) {
    calls.push_back("getCcSchedStartTime");
    if (setup_.ccStartStatus != 0) {
        return setup_.ccStartStatus;
    }
    // As the real operation does: the schedule record is held afterwards.
    const int rc = getCcScProperties();
    if (rc != 0) {
        return rc;
    }
    *out = setup_.ccStart;
    return 0;
}

int ScriptedAdapter::getCcSchedMode(unsigned char* out) {
    calls.push_back("getCcSchedMode");
    if (setup_.ccModeStatus == 0) {
        *out = setup_.ccMode;
    }
    return setup_.ccModeStatus;
}

kvitest::Bytes flashList(const std::vector<Component>& components) {
    const std::uint32_t count = static_cast<std::uint32_t>(components.size());
    kvitest::Bytes bytes(8 + 72 * std::max<std::size_t>(count, 1), 0);
    const std::uint32_t size = count * 72;
    std::memcpy(bytes.data(), &size, 4);
    std::memcpy(bytes.data() + 4, &count, 4);
    for (std::size_t i = 0; i < components.size(); ++i) {
        KV_FLASH_COMP_INFO comp{};
        setText(comp.name, components[i].first.c_str());
        setText(comp.pkgVer, components[i].second.c_str());
        std::memcpy(bytes.data() + 8 + 72 * i, &comp, sizeof comp);
    }
    return bytes;
}

namespace {
kvi::ProcessInputs inputsOf(const ControllerSetup& s) {
    kvi::ProcessInputs in;
    in.isOEMhp = s.oemHp;
    in.controllerType = s.controllerType;
    return in;
}

kvitest::FakeAnswer answerOf(int status, kvitest::FakeAnswer ok) {
    return status == 0 ? ok : kvitest::FakeAnswer::fail(status);
}
} // namespace

Rig::Rig(const ControllerSetup& s, std::time_t now)
    : setup(s), inputs(inputsOf(s)), hostTime(now), adapter(&ctrl, ctrl.getControllerId(), setup) {
    using kvitest::FakeAnswer;
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(setup.info));
    ctrl.answer(KV_DCMD_CTRL_MFC_MFG_GET, FakeAnswer::record(setup.mfg));
    ctrl.answer(KV_DCMD_CTRL_MFC_DEFAULTS_GET,
                answerOf(setup.mfcStatus, FakeAnswer::record(setup.mfc)));
    ctrl.answer(KV_DCMD_CTRL_HOST_INFO_GET,
                answerOf(setup.hostStatus, FakeAnswer::record(setup.host)));
    ctrl.answer(KV_DCMD_CTRL_TIME_GET,
                answerOf(setup.clockStatus, FakeAnswer::record(setup.clock)));
    ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::record(setup.prop));
    ctrl.answer(KV_DCMD_CTRL_BIOS_DATA_GET,
                answerOf(setup.biosStatus, FakeAnswer::record(setup.bios)));
    ctrl.answer(KV_DCMD_BBU_GET_STATUS, answerOf(setup.bbuStatus, FakeAnswer::record(setup.bbu)));
    ctrl.answer(KV_DCMD_BBU_PROPERTIES_GET,
                answerOf(setup.bbuPropStatus, FakeAnswer::record(setup.bbuProp)));
    ctrl.answer(KV_DCMD_CTRL_ALARM_GET, answerOf(setup.alarmStatus, FakeAnswer::ok({setup.alarm})));
    ctrl.answer(KV_DCMD_CTRL_MFC_MFG_2_GET,
                answerOf(setup.fruStatus,
                         FakeAnswer::ok(kvitest::Bytes(setup.fru.begin(), setup.fru.end()))));
    if (setup.info.adapterOperations3.supportMaxExtLDs) {
        ctrl.answer(KV_DCMD_CTRL_PR_GET_PROPERTIES, FakeAnswer::record(setup.prExt));
        ctrl.answer(KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, FakeAnswer::record(setup.ccExt));
    } else {
        ctrl.answer(KV_DCMD_CTRL_PR_GET_PROPERTIES, FakeAnswer::record(setup.pr));
        ctrl.answer(KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, FakeAnswer::record(setup.cc));
    }
    ctrl.answerB0(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, 0, FakeAnswer::ok(flashList(setup.active)));
    ctrl.answerB0(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, 1, FakeAnswer::ok(flashList(setup.pending)));
    ctrl.answerB0(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, 2, FakeAnswer::ok(flashList(setup.backup)));
    ctrl.answer(KV_DRV_GET_DRIVER_VERSION,
                answerOf(setup.driverStatus, FakeAnswer::record(setup.driverRecord)));
    ctrl.backend().pci = setup.pci;
    ctrl.backend().pciStatus = setup.pciStatus;
    ctrl.backend().driverNameText = setup.driverName;
    ctrl.backend().driverVersionText = setup.driverVersion;
    System::getInstance()->setBackend(&ctrl.backend());
}

Rig::~Rig() {
    System::getInstance()->setBackend(nullptr);
}

std::vector<std::string> keys(const json::Object& obj) {
    std::vector<std::string> out;
    for (const json::Object::Member& m : obj) {
        out.push_back(m.name);
    }
    return out;
}

std::string text(const json::Object& obj, const std::string& key) {
    const json::UnknownElement* e = obj.Find(key);
    if (e == nullptr) {
        return "<absent>";
    }
    const json::String* s = e->As<json::String>();
    return s != nullptr ? s->Value() : std::string("<not a string>");
}

std::string checkGolden(const std::string& name, const std::string& rendered) {
    const std::string path =
        std::string(KVI_SOURCE_DIR) + "/tests/golden/reports/" + name + ".json";
    const char* update = std::getenv("KVI_UPDATE_GOLDEN");
    if (update != nullptr && std::string(update) == "1") {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << rendered << "\n";
        return out ? std::string() : "cannot write " + path;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return "missing golden " + path + " (run with KVI_UPDATE_GOLDEN=1 to create it)";
    }
    std::stringstream buffer;
    buffer << in.rdbuf();
    const std::string expected = buffer.str();
    if (expected == rendered + "\n") {
        return std::string();
    }
    return "differs from " + path + "\n--- expected\n" + expected + "--- actual\n" + rendered +
           "\n";
}

} // namespace rt
