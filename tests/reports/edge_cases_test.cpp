// Edge cases of the report sections that catch real faults, grouped in tables:
// value texts decoded from single fields, value kinds, presence conditions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "RaidLib/RaidFw/Kvi/reports/Values.h"
#include "tests/reports/ReportRig.h"
#include "json/JsonWriter.h"

namespace {

using rt::ControllerSetup;
using Section = int (AdapterData::*)(json::Object&);

struct TextCase {
    const char* what;
    std::function<void(ControllerSetup&)> change;
    Section section;
    const char* key;
    const char* expected; // "<absent>" for a member that must not be written
    int rc = 0;
    // Changes the rig after it is built (script, clock, controller), if given.
    std::function<void(rt::Rig&)> prepare = nullptr;
};

// Beyond the years a broken-down local time can hold: localtime_r fails.
constexpr std::time_t kUnconvertibleTime = static_cast<std::time_t>(1000000000000000000LL);

void PrintTo(const TextCase& c, std::ostream* os) {
    *os << c.what;
}

class MemberText : public ::testing::TestWithParam<TextCase> {};

TEST_P(MemberText, ShowsTheExpectedText) {
    rt::TzGuard tz("UTC0");
    ControllerSetup setup = rt::baseSetup();
    GetParam().change(setup);
    rt::Rig rig(setup);
    if (GetParam().prepare) {
        GetParam().prepare(rig);
    }
    json::Object obj;
    AdapterData& adapter = rig.adapter;
    EXPECT_EQ((adapter.*GetParam().section)(obj), GetParam().rc);
    EXPECT_EQ(rt::text(obj, GetParam().key), GetParam().expected);
}

const TextCase kTexts[] = {
    // Basic and summary sections.
    {"mfgDate 0x3221 is 01/01/25",
     [](ControllerSetup& s) { std::memcpy(&s.mfg.mfgDate, "\x21\x32", 2); },
     &AdapterData::getShowBasic, "Mfg Date", "01/01/25"},
    {"mfgDate 0x3221 in the summary",
     [](ControllerSetup& s) { std::memcpy(&s.mfg.mfgDate, "\x21\x32", 2); },
     &AdapterData::getBasicCtrlInfo, "Mfg. Date", "01/01/25"},
    {"serial from the controller information on OEM hosts",
     [](ControllerSetup& s) { s.oemHp = true; }, &AdapterData::getShowBasic, "Serial Number",
     "SKA1234567"},
    {"serial of 16 characters without terminator",
     [](ControllerSetup& s) { std::memcpy(s.mfg.sn, "ABCDEFGHIJKLMNOPQRS", 16); },
     &AdapterData::getShowBasic, "Serial Number", "ABCDEFGHIJKLMNOP"},
    {"revision cut at 8 characters",
     [](ControllerSetup& s) { std::memcpy(s.mfg.rev, "12345678", 8); }, &AdapterData::getShowBasic,
     "Revision No", "12345678"},
    {"type 1 withholds the revision", [](ControllerSetup& s) { s.controllerType = 1; },
     &AdapterData::getShowBasic, "Revision No", "NA"},
    {"no host information support: no slot line",
     [](ControllerSetup& s) { s.info.adapterOperations4.supportHostInfo = 0; },
     &AdapterData::getShowBasic, "PCI Slot Number", "<absent>"},
    {"failed defaults load drops the SAS line", [](ControllerSetup& s) { s.mfcStatus = 0x03; },
     &AdapterData::getShowBasic, "SAS Address", "<absent>"},
    {"failed PCI query gives NA", [](ControllerSetup& s) { s.pciStatus = 0x0C; },
     &AdapterData::getBasicCtrlInfo, "PCI Address", "NA", 0x0C},
    {"PCI address in hexadecimal",
     [](ControllerSetup& s) {
         s.pci.domain = 1;
         s.pci.bus = 0xaf;
         s.pci.device = 0x1f;
         s.pci.function = 7;
     },
     &AdapterData::getShowBasic, "PCI Address", "01:af:1f:07"},
    {"summary personality 0x03", [](ControllerSetup& s) { s.personality = 0x03; },
     &AdapterData::getBasicCtrlInfo, "Current Personality", "RAID-Mode HBA-Mode "},
    {"summary personality bit 8, OEM 2",
     [](ControllerSetup& s) {
         s.personality = 0x08;
         s.oem = 2;
     },
     &AdapterData::getBasicCtrlInfo, "Current Personality", "eHBA-Mode"},
    {"summary personality bit 8, OEM 0", [](ControllerSetup& s) { s.personality = 0x0C; },
     &AdapterData::getBasicCtrlInfo, "Current Personality", "SDS-Mode JBOD-Mode "},
    {"summary personality bits 16-128 add nothing",
     [](ControllerSetup& s) { s.personality = 0xF0; }, &AdapterData::getBasicCtrlInfo,
     "Current Personality", ""},
    {"failed personality query drops the summary line",
     [](ControllerSetup& s) { s.personalityStatus = 0x03; }, &AdapterData::getBasicCtrlInfo,
     "Current Personality", "<absent>"},
    {"failed controller clock drops its line", [](ControllerSetup& s) { s.clockStatus = 0x03; },
     &AdapterData::getBasicCtrlInfo, "Controller Time", "<absent>"},
    // A host clock local time cannot express: the host-time lines say NA, the
    // controller's own clock still converts.
    {"unconvertible host time", [](ControllerSetup&) {}, &AdapterData::getShowBasic,
     "Current System Date/time", "NA", 0,
     [](rt::Rig&) { kvi::reports::setHostTime(kUnconvertibleTime); }},
    {"unconvertible host time in the summary", [](ControllerSetup&) {},
     &AdapterData::getBasicCtrlInfo, "System Time", "NA", 0,
     [](rt::Rig&) { kvi::reports::setHostTime(kUnconvertibleTime); }},
    {"unconvertible host time leaves the controller clock", [](ControllerSetup&) {},
     &AdapterData::getShowBasic, "Current Controller Date/Time", "03/11/2025, 09:20:00", 0,
     [](rt::Rig&) { kvi::reports::setHostTime(kUnconvertibleTime); }},
    // Version section.
    {"PSOC then PBLP: the later version under PSOC Version",
     [](ControllerSetup& s) {
         s.info.imageComponentCount = 2;
         rt::setText(s.info.imageComponent[0].name, "PSOC");
         rt::setText(s.info.imageComponent[0].version, "psoc-1");
         rt::setText(s.info.imageComponent[1].name, "PBLP");
         rt::setText(s.info.imageComponent[1].version, "pblp-2");
     },
     &AdapterData::getShowVersion, "PSOC Version", "pblp-2"},
    {"type 1 without APP component keeps NA",
     [](ControllerSetup& s) {
         s.controllerType = 1;
         s.info.imageComponentCount = 0;
     },
     &AdapterData::getShowVersion, "Firmware Version", "NA"},
    {"flash component support: no package line",
     [](ControllerSetup& s) { s.info.adapterOperations4.supportFlashCompInfo = 1; },
     &AdapterData::getShowVersion, "Firmware Package Build", "<absent>"},
    {"CPLD line needs both bits",
     [](ControllerSetup& s) { s.info.adapterOperations3.supportCPLDUpdate = 0; },
     &AdapterData::getShowVersion, "CPLD Version", "<absent>"},
    {"CPLD code of 12 characters without terminator",
     [](ControllerSetup& s) { std::memcpy(s.info.cpld.userCodeDefinition, "ABCDEFGHIJKL", 12); },
     &AdapterData::getShowVersion, "CPLD Version", "ABCDEFGHIJKL"},
    // Bus section.
    {"link width 16 prints X10", [](ControllerSetup& s) { s.pci.linkWidth = 16; },
     &AdapterData::getShowBus, "PCIe Link Width", "X10 Lane(s)"},
    {"link width 8 prints X8", [](ControllerSetup& s) { s.pci.linkWidth = 8; },
     &AdapterData::getShowBus, "PCIe Link Width", "X8 Lane(s)"},
    {"link rate 0 unrecognized", [](ControllerSetup& s) { s.info.hostInterface.pciLinkSpeed = 0; },
     &AdapterData::getShowBus, "PCIe Link Rate", "0x00 (Unrecognized Link Rate)"},
    {"link rate 1", [](ControllerSetup& s) { s.info.hostInterface.pciLinkSpeed = 1; },
     &AdapterData::getShowBus, "PCIe Link Rate", "0x01 (2.5GT/s)"},
    {"no link flag: no link rate even on PCIe",
     [](ControllerSetup& s) { s.info.ldOperations.supportFastPathWB = 0; },
     &AdapterData::getShowBus, "PCIe Link Rate", "<absent>"},
    {"no link flag: no link width",
     [](ControllerSetup& s) { s.info.ldOperations.supportFastPathWB = 0; },
     &AdapterData::getShowBus, "PCIe Link Width", "<absent>"},
    {"PCIX and PCIE show PCI-X", [](ControllerSetup& s) { s.info.hostInterface.PCIX = 1; },
     &AdapterData::getShowBus, "Host Interface", "PCI-X"},
    {"no host interface bit", [](ControllerSetup& s) { s.info.hostInterface.PCIE = 0; },
     &AdapterData::getShowBus, "Host Interface", "UNKNOWN"},
    {"no device interface bit: no line",
     [](ControllerSetup& s) { std::memset(&s.info.deviceInterface, 0, 1); },
     &AdapterData::getShowBus, "Device Interface", "<absent>"},
    {"SATA 1.5G only",
     [](ControllerSetup& s) {
         std::memset(&s.info.deviceInterface, 0, 1);
         s.info.deviceInterface.SATA_1_5G = 1;
     },
     &AdapterData::getShowBus, "Device Interface", "SATA-1-5G"},
    // Status section.
    {"status personality 0x03", [](ControllerSetup& s) { s.personality = 0x03; },
     &AdapterData::getShowStatus, "Current Personality", "RAID-Mode HBA-Mode "},
    {"status personality bit 8, OEM 2: upper-case MODE",
     [](ControllerSetup& s) {
         s.personality = 0x08;
         s.oem = 2;
     },
     &AdapterData::getShowStatus, "Current Personality", "eHBA-MODE"},
    {"safe-mode boot", [](ControllerSetup& s) { s.info.adapterStatus.safeModeBoot = 1; },
     &AdapterData::getShowStatus, "Controller Status", "Safe-Mode"},
    {"degraded drive needs attention", [](ControllerSetup& s) { s.info.ldDegradedCount = 1; },
     &AdapterData::getShowStatus, "Controller Status", "Needs Attention"},
    {"certificate provisioning",
     [](ControllerSetup& s) { s.info.adapterStatus2.certificateProvision = 1; },
     &AdapterData::getShowStatus, "Controller Status", "Certificate provision Mode"},
    {"safe mode wins over certificate provisioning",
     [](ControllerSetup& s) {
         s.info.adapterStatus.safeModeBoot = 1;
         s.info.adapterStatus2.certificateProvision = 1;
     },
     &AdapterData::getShowStatus, "Controller Status", "Safe-Mode"},
    {"status read failing after the cached one is Failed", [](ControllerSetup&) {},
     &AdapterData::getShowStatus, "Controller Status", "Failed", 0,
     [](rt::Rig& r) {
         // The section's own load takes the first answer; the status read
         // that follows fails.
         r.ctrl.answerOnce(KV_DCMD_CTRL_GET_INFO, kvitest::FakeAnswer::record(r.setup.info));
         r.ctrl.answer(KV_DCMD_CTRL_GET_INFO, kvitest::FakeAnswer::fail(0x0E));
     }},
    {"no controller, no status manager: Unknown", [](ControllerSetup&) {},
     &AdapterData::getShowStatus, "Controller Status", "Unknown", 0,
     [](rt::Rig& r) {
         ASSERT_EQ(r.adapter.getCtlrInfo(), 0);
         r.adapter.dropController();
     }},
    {"battery failure is NA", [](ControllerSetup& s) { s.bbuStatus = 0x22; },
     &AdapterData::getShowStatus, "BBU Status", "NA"},
    {"OEM host battery key", [](ControllerSetup& s) { s.oemHp = true; },
     &AdapterData::getShowStatus, "Support Drive Firmware Download", "Yes"},
    // Hardware configuration.
    {"alarm state 7 keeps On", [](ControllerSetup& s) { s.alarm = 7; },
     &AdapterData::getShowHwConfig, "Alarm", "On"},
    {"alarm state 0", [](ControllerSetup& s) { s.alarm = 0; }, &AdapterData::getShowHwConfig,
     "Alarm", "Disable"},
    {"alarm state 2", [](ControllerSetup& s) { s.alarm = 2; }, &AdapterData::getShowHwConfig,
     "Alarm", "Silent"},
    {"alarm without hardware", [](ControllerSetup& s) { s.alarmStatus = 0x22; },
     &AdapterData::getShowHwConfig, "Alarm", "Absent"},
    {"alarm query failing otherwise", [](ControllerSetup& s) { s.alarmStatus = 0x03; },
     &AdapterData::getShowHwConfig, "Alarm", "Unknown"},
    {"ROC temperature absent without sensor",
     [](ControllerSetup& s) { s.info.hwPresent.tempSensorROC = 0; }, &AdapterData::getShowHwConfig,
     "ROC temperature(Degree Celsius)", "<absent>"},
    {"controller temperature absent without sensor",
     [](ControllerSetup& s) { s.info.hwPresent.tempSensorCtrl = 0; }, &AdapterData::getShowHwConfig,
     "Ctrl temperature(Degree Celsius)", "<absent>"},
    {"type 1 chip revision", [](ControllerSetup& s) { s.controllerType = 1; },
     &AdapterData::getShowHwConfig, "ChipRevision", "NA"},
    {"chip revision stops at a zero byte",
     [](ControllerSetup& s) { s.info.pci.chipRevision[1] = 0; }, &AdapterData::getShowHwConfig,
     "ChipRevision", " B"},
    {"Pellora size without battery bit", [](ControllerSetup& s) { s.info.hwPresent.bbu = 0; },
     &AdapterData::getShowHwConfig, "Pellora Flash Size", "NA"},
    {"Pellora size query failing", [](ControllerSetup& s) { s.flashStatus = 0x03; },
     &AdapterData::getShowHwConfig, "Pellora Flash Size", "NA"},
    {"FRU request failing", [](ControllerSetup& s) { s.fruStatus = 0x03; },
     &AdapterData::getShowHwConfig, "BatteryFRU", "N/A"},
    {"FRU reply empty", [](ControllerSetup& s) { s.fru.clear(); }, &AdapterData::getShowHwConfig,
     "BatteryFRU", "N/A"},
    {"FRU reply of 32 characters", [](ControllerSetup& s) { s.fru = std::string(40, 'F'); },
     &AdapterData::getShowHwConfig, "BatteryFRU", "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"},
    {"energy pack without battery bit",
     [](ControllerSetup& s) {
         s.oemHp = true;
         s.info.hwPresent.bbu = 0;
     },
     &AdapterData::getShowHwConfig, "Energy Pack", "Absent"},
    {"energy pack present", [](ControllerSetup& s) { s.oemHp = true; },
     &AdapterData::getShowHwConfig, "Energy Pack", "Present"},
    // Supported operations.
    {"OEM 3 names the reconstruction rate", [](ControllerSetup& s) { s.oem = 3; },
     &AdapterData::getShowSupportedAdpOperations, "Reconstruction Rate", "Yes"},
    {"OEM 0 keeps the literal", [](ControllerSetup&) {},
     &AdapterData::getShowSupportedAdpOperations, "Reconstruct Rate", "Yes"},
    {"OEM 2 adds SystemPD", [](ControllerSetup& s) { s.oem = 2; },
     &AdapterData::getShowSupportedAdpOperations, "Support SystemPD", "Yes"},
    {"no SystemPD for OEM 0", [](ControllerSetup&) {}, &AdapterData::getShowSupportedAdpOperations,
     "Support SystemPD", "<absent>"},
    {"FW triggered snapdump both bits set",
     [](ControllerSetup& s) {
         s.info.adapterOperationExt.adapterOperations5.FWTriggeredSnapDumpNotSupported = 1;
     },
     &AdapterData::getShowSupportedAdpOperations, "Support FW Triggered Snapdump", "No"},
    {"FW triggered snapdump supported", [](ControllerSetup&) {},
     &AdapterData::getShowSupportedAdpOperations, "Support FW Triggered Snapdump", "Yes"},
    {"no battery hardware reads NA", [](ControllerSetup& s) { s.info.hwPresent.bbu = 0; },
     &AdapterData::getShowSupportedAdpOperations, "BBU", "NA"},
    {"EKM status 0x01", [](ControllerSetup& s) { s.bios.EKMStatus = 0x01; },
     &AdapterData::getSecureEKMSDetails, "Boot Agent", "Available"},
    {"EKM status 0x11", [](ControllerSetup& s) { s.bios.EKMStatus = 0x11; },
     &AdapterData::getSecureEKMSDetails, "Boot Agent", "Available"},
    {"EKM status 0x02", [](ControllerSetup& s) { s.bios.EKMStatus = 0x02; },
     &AdapterData::getSecureEKMSDetails, "Boot Agent", "Not Available"},
    {"TPM binding is not configured", [](ControllerSetup& s) { s.info.lockKeyBinding = 3; },
     &AdapterData::getSecureEKMSDetails, "Configured", "No"},
    // Policies and boot.
    {"coercion 3 is none", [](ControllerSetup& s) { s.prop.coercionMode = 3; },
     &AdapterData::getShowPolicies, "Drive Coercion Mode", "none"},
    {"coercion 1", [](ControllerSetup& s) { s.prop.coercionMode = 1; },
     &AdapterData::getShowPolicies, "Drive Coercion Mode", "128MB"},
    {"OEM host history key", [](ControllerSetup& s) { s.oemHp = true; },
     &AdapterData::getShowPolicies, "Maintain Drive Fail History", "On"},
    {"backplane 3", [](ControllerSetup& s) { s.prop.disableAutoDetectBackplane = 3; },
     &AdapterData::getShowPolicies, "Auto detect BackPlane", "disable both auto detect"},
    {"backplane 0", [](ControllerSetup& s) { s.prop.disableAutoDetectBackplane = 0; },
     &AdapterData::getShowPolicies, "Auto detect BackPlane", "SGPIO/i2c SEP"},
    {"spin down 1", [](ControllerSetup& s) { s.mfc.spindownMode = 1; }, &AdapterData::getShowBoot,
     "Spin Down Mode", "Internal Only"},
    {"spin down 3", [](ControllerSetup& s) { s.mfc.spindownMode = 3; }, &AdapterData::getShowBoot,
     "Spin Down Mode", "all"},
    {"spin down 9", [](ControllerSetup& s) { s.mfc.spindownMode = 9; }, &AdapterData::getShowBoot,
     "Spin Down Mode", "None"},
    {"continue on error stops nothing", [](ControllerSetup& s) { s.bios.continueOnError = 1; },
     &AdapterData::getShowBoot, "Stop BIOS on Error", "Off"},
    // Cluster and schedules.
    {"cluster id 0a ff 1b and 255s",
     [](ControllerSetup& s) {
         s.info.maxHANodes = 2;
         std::memset(s.info.clusterId, 0xFF, 16);
         s.info.clusterId[0] = 0x0A;
         s.info.clusterId[2] = 0x1B;
     },
     &AdapterData::getShowClusterInfo, "Domain Id", "0a1b"},
    {"cluster id all 255",
     [](ControllerSetup& s) {
         s.info.maxHANodes = 2;
         std::memset(s.info.clusterId, 0xFF, 16);
     },
     &AdapterData::getShowClusterInfo, "Domain Id", ""},
    {"peer absent", [](ControllerSetup& s) { s.info.maxHANodes = 3; },
     &AdapterData::getShowClusterInfo, "Peer Controller Status", "Inactive"},
    {"peer present",
     [](ControllerSetup& s) {
         s.info.maxHANodes = 2;
         s.info.cluster.peerIsPresent = 1;
     },
     &AdapterData::getShowClusterInfo, "Peer Controller Status", "Active"},
    {"no incompatibility", [](ControllerSetup& s) { s.info.maxHANodes = 2; },
     &AdapterData::getShowClusterInfo, "Incompatible Details", "None"},
    {"auto balance unsupported",
     [](ControllerSetup& s) {
         s.info.maxHANodes = 2;
         s.info.cluster.exclusiveLDNotSupported = 1;
     },
     &AdapterData::getShowClusterInfo, "Configuration Auto Balance", "Not supported"},
    {"no auto balance line without exclusive bit",
     [](ControllerSetup& s) {
         s.info.maxHANodes = 2;
         s.info.adapterOperations2.supportConfigAutoBalance = 1;
     },
     &AdapterData::getShowClusterInfo, "ConfigAutoBalance", "<absent>"},
    {"CC frequency 5399", [](ControllerSetup& s) { s.cc.execFreq = 5399; },
     &AdapterData::getShowNextSchdTask, "Consistency Check Reoccurrence", "1 hrs"},
    {"CC frequency 0", [](ControllerSetup& s) { s.cc.execFreq = 0; },
     &AdapterData::getShowNextSchdTask, "Consistency Check Reoccurrence", "0 hrs"},
    {"CC continuous", [](ControllerSetup& s) { s.cc.execFreq = 0xFFFFFFFFu; },
     &AdapterData::getShowNextSchdTask, "Consistency Check Reoccurrence", "Continuous"},
    {"extended CC form",
     [](ControllerSetup& s) {
         s.info.adapterOperations3.supportMaxExtLDs = 1;
         s.ccExt.execFreq = 7200;
     },
     &AdapterData::getShowNextSchdTask, "Consistency Check Reoccurrence", "2 hrs"},
    {"PR frequency 0", [](ControllerSetup& s) { s.pr.execFreq = 0; },
     &AdapterData::getShowNextSchdTask, "Patrol Read Reoccurrence", "Unknown"},
    {"extended PR form",
     [](ControllerSetup& s) {
         s.info.adapterOperations3.supportMaxExtLDs = 1;
         s.prExt.execFreq = 7200;
     },
     &AdapterData::getShowNextSchdTask, "Patrol Read Reoccurrence", "2 hrs"},
    {"CC start 5 March 2025 14:37", [](ControllerSetup&) {}, &AdapterData::getShowNextSchdTask,
     "Next Consistency check launch", "03/05/2025, 14:00:00"},
    {"OEM 2 omits the next learn", [](ControllerSetup& s) { s.oem = 2; },
     &AdapterData::getShowNextSchdTask, "Next Battery Learn", "<absent>"},
    {"OEM 2 keeps the learn recurrence", [](ControllerSetup& s) { s.oem = 2; },
     &AdapterData::getShowNextSchdTask, "Battery learn Reoccurrence", "672 hrs"},
    {"OEMID 10", [](ControllerSetup& s) { s.oem = 10; }, &AdapterData::getShowNextSchdTask, "OEMID",
     "SoftLayer"},
    {"OEMID 11", [](ControllerSetup& s) { s.oem = 11; }, &AdapterData::getShowNextSchdTask, "OEMID",
     "Unknown"},
};

INSTANTIATE_TEST_SUITE_P(Table, MemberText, ::testing::ValuesIn(kTexts));

// Firmware times as local text: each conversion that fails gives "NA", the
// first one (epoch plus seconds) and, in summer time, the second one (less the
// summer shift). The epoch answers of successive calls come from the row.
struct FirmwareTimeCase {
    const char* what;
    const char* zone;
    std::vector<std::int64_t> epochs; // answer of the n-th epoch call (the last repeats)
    std::uint32_t seconds;
    kvi::reports::DateForm form;
    const char* expected;
    int shiftCalls;
};

void PrintTo(const FirmwareTimeCase& c, std::ostream* os) {
    *os << c.what;
}

constexpr std::int64_t kEpochUtc = 946684800;  // 2000-01-01 00:00 UTC
constexpr std::int64_t kEpochCet = 946681200;  // 2000-01-01 00:00 CET
constexpr std::uint32_t kJuly2025 = 804682800; // 2025-07-01 11:00 standard time
constexpr const char* kCet = "CET-1CEST,M3.5.0,M10.5.0/3";

class FirmwareTime : public ::testing::TestWithParam<FirmwareTimeCase> {};

TEST_P(FirmwareTime, ConvertsOrSaysNA) {
    const FirmwareTimeCase& c = GetParam();
    rt::TzGuard tz(c.zone);
    std::size_t epochCalls = 0;
    int shiftCalls = 0;
    const std::string text = kvi::reports::firmwareTimeText(
        [&] { return c.epochs[std::min(epochCalls++, c.epochs.size() - 1)]; },
        [&] {
            ++shiftCalls;
            return 3600;
        },
        c.seconds, c.form);
    EXPECT_EQ(text, c.expected);
    EXPECT_EQ(shiftCalls, c.shiftCalls);
}

const FirmwareTimeCase kFirmwareTimes[] = {
    {"winter time converts once",
     "UTC0",
     {kEpochUtc},
     3661,
     kvi::reports::DateForm::Comma,
     "01/01/2000, 01:01:01",
     0},
    {"first conversion failing",
     "UTC0",
     {kUnconvertibleTime},
     5,
     kvi::reports::DateForm::Comma,
     "NA",
     0},
    {"summer time converts again less the shift",
     kCet,
     {kEpochCet},
     kJuly2025 + 37 * 60,
     kvi::reports::DateForm::HourOnly,
     "07/01/2025, 11:00:00",
     1},
    {"summer time, second conversion failing",
     kCet,
     {kEpochCet, kUnconvertibleTime},
     kJuly2025,
     kvi::reports::DateForm::Comma,
     "NA",
     1},
};

INSTANTIATE_TEST_SUITE_P(Table, FirmwareTime, ::testing::ValuesIn(kFirmwareTimes));

// Numbers, kinds and flags of single members.
TEST(ReportValues, PciIdentityNumbersAreHexFlaggedNumbers) {
    rt::Rig rig(rt::baseSetup());
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowBus(obj), 0);
    const json::Number* vendor = obj.Find("Vendor Id")->As<json::Number>();
    ASSERT_NE(vendor, nullptr);
    EXPECT_EQ(vendor->Value(), 4096);
    EXPECT_EQ(vendor->Flags(), json::Number::HexDump);
    const json::Number* bus = obj.Find("Bus Number")->As<json::Number>();
    ASSERT_NE(bus, nullptr);
    EXPECT_EQ(bus->Flags(), json::Number::TypeDefault);
}

TEST(ReportValues, TemperaturesArePresentWithZeroWhenSensorsAre) {
    ControllerSetup s = rt::baseSetup();
    s.info.temperatureROC = 0;
    s.info.temperatureCtrl = 0;
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowHwConfig(obj), 0);
    ASSERT_NE(obj.Find("ROC temperature(Degree Celsius)"), nullptr);
    EXPECT_EQ(obj.Find("ROC temperature(Degree Celsius)")->As<json::Number>()->Value(), 0);
    EXPECT_EQ(obj.Find("Ctrl temperature(Degree Celsius)")->As<json::Number>()->Value(), 0);
}

TEST(ReportValues, TarvelSizeIsANumberOnlyWhenTheQueryLeavesZero) {
    ControllerSetup s = rt::baseSetup();
    s.info.currentSSCsize = 12;
    {
        rt::Rig rig(s);
        json::Object obj;
        ASSERT_EQ(rig.adapter.getShowHwConfig(obj), 0);
        ASSERT_NE(obj.Find("Current Size of Tarvel (GB)")->As<json::Number>(), nullptr);
        EXPECT_EQ(obj.Find("Current Size of Tarvel (GB)")->As<json::Number>()->Value(), 12);
    }
    s.sscBlocks = 2 * 1024 * 1024; // halved: 1 MiB of text
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowHwConfig(obj), 0);
    EXPECT_EQ(rt::text(obj, "Current Size of Tarvel (GB)"), "1.00 MB");
}

TEST(ReportValues, EccLeakRateIsWholeHours) {
    for (const auto& c : std::vector<std::pair<int, long>>{{1439, 23}, {59, 0}, {60, 1}}) {
        ControllerSetup s = rt::baseSetup();
        s.prop.eccBucketLeakRate = static_cast<std::uint16_t>(c.first);
        rt::Rig rig(s);
        json::Object obj;
        ASSERT_EQ(rig.adapter.getShowPolicies(obj), 0);
        EXPECT_EQ(obj.Find("ECC Bucket Leak Rate (hrs)")->As<json::Number>()->Value(), c.second)
            << c.first;
    }
}

TEST(ReportValues, SmartPollRowNeverReachesThePoliciesTable) {
    ControllerSetup s = rt::baseSetup();
    ASSERT_TRUE(s.info.adapterOperationExt.adapterOperations6.supportPredFailDATimer);
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowPolicies(obj), 0);
    EXPECT_EQ(obj.Find("Policies Table")->As<json::Array>()->Size(), 9u);
}

TEST(ReportValues, FormatPolicyObjectOverwritesARowInPlace) {
    rt::Rig rig(rt::baseSetup());
    json::Object row;
    char a[] = "A", b[] = "1", c[] = "", d[] = "B", e[] = "2", f[] = "x";
    EXPECT_EQ(rig.adapter.formatPolicyObject(a, b, c, row), 0);
    EXPECT_EQ(rig.adapter.formatPolicyObject(d, e, f, row), 0);
    EXPECT_EQ(rt::keys(row), (std::vector<std::string>{"Policy", "Current", "Default"}));
    EXPECT_EQ(rt::text(row, "Policy"), "B");
    EXPECT_EQ(rt::text(row, "Default"), "x");
}

TEST(ReportValues, AllZeroCapabilitiesSayNoWithThreeExceptions) {
    ControllerSetup s = rt::baseSetup();
    std::memset(reinterpret_cast<unsigned char*>(&s.info) + 1504, 0, 4);
    std::memset(reinterpret_cast<unsigned char*>(&s.info) + 1508, 0, 4);
    std::memset(reinterpret_cast<unsigned char*>(&s.info) + 1956, 0, 4);
    std::memset(reinterpret_cast<unsigned char*>(&s.info) + 2024, 0, 4);
    std::memset(reinterpret_cast<unsigned char*>(&s.info) + 2044, 0, 2);
    std::memset(reinterpret_cast<unsigned char*>(&s.info) + 2120, 0, 8);
    s.info.hwPresent.bbu = 0;
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowSupportedAdpOperations(obj), 0);
    EXPECT_EQ(obj.Size(), 97u - 3u - 1u - 1u); // LDPI x3, FW triggered, SystemPD
    for (const json::Object::Member& m : obj) {
        const std::string value = m.element.As<json::String>()->Value();
        if (m.name == "Support Least Latency Mode") {
            EXPECT_EQ(value, "Yes");
        } else if (m.name == "BBU") {
            EXPECT_EQ(value, "NA");
        } else {
            EXPECT_EQ(value, "No") << m.name;
        }
    }
}

TEST(ReportValues, DualImagesSkipAnAppTagWithoutItsBlank) {
    ControllerSetup s = rt::baseSetup();
    s.active = {{"APP", "5.1"}, {"BIOS", "7.1"}};
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowDualImages(obj), 0);
    const json::Object* active = obj.Find("Active Firmware")->As<json::Object>();
    EXPECT_EQ(rt::keys(*active), std::vector<std::string>{"BIOS Version"});
}

TEST(ReportValues, DualImagesWithoutDualSupportShowNoBackup) {
    ControllerSetup s = rt::baseSetup();
    s.backup = {{"APP ", "5.0"}};
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowDualImages(obj), 0);
    EXPECT_EQ(rt::keys(obj), std::vector<std::string>{"Active Firmware"});
    EXPECT_EQ(rig.ctrl.countB0(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, 2), 0u);
}

TEST(ReportValues, DualImagePackageTextIsCutAt32Characters) {
    ControllerSetup s = rt::baseSetup();
    s.active = {{"PACKAGE", std::string(40, 'p')}};
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowDualImages(obj), 0);
    EXPECT_EQ(rt::text(*obj.Find("Active Firmware")->As<json::Object>(), "FW Package Build"),
              std::string(32, 'p'));
}

TEST(ReportValues, PendingImagesWithUnknownTagsGiveAnEmptyArray) {
    ControllerSetup s = rt::baseSetup();
    s.info.pendingImageComponentCount = 2;
    rt::setText(s.info.pendingImageComponent[0].name, "ZZZZ");
    rt::setText(s.info.pendingImageComponent[1].name, "YYYY");
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowPendingImages(obj), 0);
    ASSERT_NE(obj.Find("Details")->As<json::Array>(), nullptr);
    EXPECT_TRUE(obj.Find("Details")->As<json::Array>()->Empty());
}

TEST(ReportValues, PendingImageCountIsCappedAtTheRecordsEnd) {
    ControllerSetup s = rt::baseSetup();
    s.info.pendingImageComponentCount = 0xFFFFFFFFu;
    for (int i = 0; i < 8; ++i) {
        rt::setText(s.info.pendingImageComponent[i].name, "BIOS");
        rt::setText(s.info.pendingImageComponent[i].version, "b");
    }
    kvitest::LogCapture log;
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowPendingImages(obj), 0);
    std::size_t lines = 0;
    for (const std::string& t : log.texts()) {
        lines += t.rfind("Component-", 0) == 0 ? 1 : 0;
    }
    EXPECT_EQ(lines, 23u);
}

// The converters of the typed section values over texts the bundled profiles
// do not show (their own are checked in test_sim, SectionValues): one member
// "M" typed by one row (or by the default rule), with the values object it
// gives and whether the member is reported as untyped.
namespace values {
using kvi::reports::Kind;
using kvi::reports::ValueRow;
using kvi::reports::ValueTable;
const ValueRow kPolicyRows[] = {{"Rate", "rate_percent", Kind::Integer}};
const ValueTable kPolicy = kvi::reports::valueTable(kPolicyRows);
json::Array policyTable(const char* name) {
    json::Object row;
    row["Policy"] = json::String(name);
    row["Current"] = json::String("30 %");
    row["Default"] = json::String("");
    json::Array a;
    a.Insert(row);
    return a;
}
struct Case {
    ValueRow row;
    json::UnknownElement member;
    const char* values;
    bool untyped = false;
    Kind fallback = Kind::Skip;
};
const std::vector<Case> kCases = {
    {{"M", "m", Kind::Size}, json::String("1023.99 MB"), R"({"m":1073731338})"},
    // The cache size: GiB as a number, KiB printed as bytes as a text.
    {{"M", "m", Kind::Size, nullptr, kvi::reports::kGiB, kvi::reports::kKiB},
     json::String("1.00 MB"),
     R"({"m":1073741824})"},
    {{"M", "m", Kind::Size}, json::String("NA"), R"({"m":null})"},
    {{"M", "m", Kind::Duration}, json::String("672 hrs"), R"({"m":2419200})"},
    {{"M", "m", Kind::Duration}, json::String("4s"), R"({"m":4})"},
    {{"M", "m", Kind::Duration}, json::String("Continuous"), R"({"m":null})"},
    {{"M", "m", Kind::Rate}, json::String("0x01 (2.5GT/s)"), R"({"m":2500000000})"},
    {{"M", "m", Kind::Rate}, json::String("0x07 (Unrecognized Link Rate)"), R"({"m":null})"},
    {{"M", "m", Kind::HexInteger}, json::String("X10 Lane(s)"), R"({"m":16})"},
    {{"M", "m", Kind::Bool}, json::String("Not Supported"), R"({"m":false})"},
    {{"M", "m", Kind::Bool}, json::String("Maybe"), R"({"m":null})", true},
    {{"M", "m", Kind::LocalTime},
     json::String("07/01/2026, 12:00:00"),
     R"({"m":"2026-07-01T12:00:00+00:00","m_epoch_seconds":1782907200})"},
    {{"M", "m", Kind::LocalTime}, json::String("NA"), R"({"m":null,"m_epoch_seconds":null})"},
    {{"M", "m", Kind::LocalTime},
     json::String("13/01/2026, 12:00:00"),
     R"({"m":null,"m_epoch_seconds":null})",
     true},
    {{"M", "m", Kind::Pci}, json::String("00:3b:00:01"), R"({"m":"0000:3b:00.1"})"},
    {{"M", "m", Kind::Tokens},
     json::String("RAID-Mode HBA-Mode "),
     R"({"m":["raid_mode","hba_mode"]})"},
    {{"M", "m", Kind::Text}, json::String(" C1"), R"({"m":"C1"})"},
    {{"M", "m", Kind::Pivot, &kPolicy},
     policyTable("Rate"),
     R"({"m":{"rate_percent":{"current":30,"default":null}}})"},
    {{"M", "m", Kind::Pivot, &kPolicy}, policyTable("Other"), R"({"m":{}})", true},
    {{"Other", "o", Kind::Text}, json::String("Yes"), R"({"m":true})", false, Kind::Bool},
    {{"Other", "o", Kind::Text}, json::String("Yes"), R"({})", true},
};
} // namespace values

TEST(SectionValues, ConvertersReadTheReportTexts) {
    for (const values::Case& c : values::kCases) {
        json::Object section;
        section["M"] = c.member;
        const values::ValueTable table{&c.row, 1, c.fallback, nullptr};
        std::vector<std::string> untyped;
        const json::Object typed = kvi::reports::typedValues(table, section, &untyped);
        const std::string text = json::JsonWriter::ToString(typed, json::JsonWriter::Compact);
        EXPECT_EQ(text, c.values) << json::JsonWriter::ToString(c.member);
        EXPECT_EQ(!untyped.empty(), c.untyped) << text;
    }
}

} // namespace
