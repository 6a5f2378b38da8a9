// Golden documents: every report section under a table of controller variants,
// rendered with the JSON writer and compared whole (member order, key texts,
// value texts and value kinds) against tests/golden/reports/<variant>.json.
// Regenerate with KVI_UPDATE_GOLDEN=1 and review the diff.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/ReportSections.h"
#include "tests/reports/ReportRig.h"
#include "json/JsonWriter.h"

namespace {

// Every section, in the order the golden documents hold them.
const char* const kSectionOrder[] = {
    "getShowBasic",
    "getShowVersion",
    "getBasicCtrlInfo",
    "getShowBus",
    "getShowStatus",
    "getShowPendingImages",
    "getShowDualImages",
    "getShowSupportedAdpOperations",
    "getShowSupportedPDOperations",
    "getShowSupportedVDOperations",
    "getSecureEKMSDetails",
    "getShowHwConfig",
    "getShowPolicies",
    "getShowBoot",
    "getShowClusterInfo",
    "getShowNextSchdTask",
    "getSecureBootDetails",
    "getShowDefaults",
    "getShowCapabilities",
};
static_assert(sizeof kSectionOrder / sizeof kSectionOrder[0] == kReportSectionCount,
              "the golden documents hold every section");

struct Variant {
    const char* name;
    std::function<void(rt::ControllerSetup&)> change;
};

const Variant kVariants[] = {
    // OEM 0, legacy schedules, battery present, PCIe link lines, version components.
    {"base", [](rt::ControllerSetup&) {}},
    // OEM 2, extended schedule forms, high-availability peer present and
    // incompatible, personality RAID + HBA + bit 8.
    {"oem2_extended_ha",
     [](rt::ControllerSetup& s) {
         s.oem = 2;
         s.personality = 0x0B;
         s.info.adapterOperations3.supportMaxExtLDs = 1;
         s.info.maxHANodes = 2;
         s.info.cluster.peerIsPresent = 1;
         s.info.cluster.peerIsIncompatible = 1;
         s.info.cluster.hwIncompatible = 1;
         s.info.cluster.passive = 1;
         s.info.cluster.exclusiveLDNotSupported = 1;
         s.info.adapterOperations2.supportConfigAutoBalance = 1;
         s.info.properties.OnOffProperties.enableConfigAutoBalance = 1;
         const unsigned char id[16] = {0x0a, 0xff, 0x1b, 0x00, 0x20, 0xc3, 0x5e, 0x01,
                                       0x9f, 0x44, 0x07, 0xd2, 0xff, 0x10, 0x0f, 0xab};
         std::memcpy(s.info.clusterId, id, 16);
         s.info.adapterStatus.cacheIsPinned = 1;
     }},
    // OEM 3 on an OEM host: energy pack failing (pack missing), flash component
    // information, two images with pending components, alarm state unknown.
    {"oem3_hp_dual_images",
     [](rt::ControllerSetup& s) {
         s.oem = 3;
         s.oemHp = true;
         s.bbu.fwStatus = 0x00000001; // pack missing
         s.alarm = 7;
         s.info.adapterOperations4.supportFlashCompInfo = 1;
         s.info.adapterOperations4.supportDualFWUpdate = 1;
         s.info.pendingImageComponentCount = 3;
         rt::setText(s.info.pendingImageComponent[0].name, "APP ");
         rt::setText(s.info.pendingImageComponent[0].version, "5.270.01-3912");
         rt::setText(s.info.pendingImageComponent[1].name, "QQQQ");
         rt::setText(s.info.pendingImageComponent[1].version, "1.0");
         rt::setText(s.info.pendingImageComponent[2].name, "PBLP");
         rt::setText(s.info.pendingImageComponent[2].version, "0x0012");
         s.backup = {{"APP ", "5.250.01-3700"}, {"BIOS", "7.25.00.0"}, {"PACKAGE", "52.25.0-4900"}};
         s.pending = {{"PACKAGE", "52.27.0-5300"}, {"APP ", "5.270.01-3912"}, {"CBB ", "1.2"}};
         s.info.adapterOperationExt.adapterOperations5.FWTriggeredSnapDumpNotSupported = 1;
         s.info.adapterOperationExt.adapterOperations5.disableLeastLatencyMode = 1;
         s.sscBlocks = 2 * 1024 * 1024 * 2; // 2 GiB in 512-byte blocks
     }},
    // Controller type 1 with no battery, no alarm hardware, no sensors, no host
    // information, no SAS address and no personality support.
    {"type1_no_battery",
     [](rt::ControllerSetup& s) {
         s.controllerType = 1;
         s.info.hwPresent.bbu = 0;
         s.info.adapterOperations.bbu = 0;
         s.info.hwPresent.tempSensorROC = 0;
         s.info.hwPresent.tempSensorCtrl = 0;
         s.info.adapterOperations4.supportHostInfo = 0;
         s.info.adapterOperations3.supportPersonalityChange = 0;
         s.info.adapterOperations.supportEKM = 0;
         s.info.ldOperations.supportFastPathWB = 0;
         s.bbuStatus = 0x22;
         s.bbuPropStatus = 0x22;
         s.alarmStatus = 0x22;
         s.mfc.sasAddr = 0;
         s.info.maxHANodes = 1;
         s.info.clusterActive = 1;
         s.ccMode = 0;
         rt::setText(s.driverRecord.driverName, "kvi_sas_drv");
         rt::setText(s.driverRecord.driverVersion, "07.728.01.00");
     }},
};

class GoldenSections : public ::testing::TestWithParam<Variant> {};

TEST_P(GoldenSections, EverySectionMatchesItsGoldenDocument) {
    rt::TzGuard tz("UTC0");
    rt::ControllerSetup setup = rt::baseSetup();
    GetParam().change(setup);

    json::Object document;
    for (const char* name : kSectionOrder) {
        const ReportSection* section = findReportSection(name);
        ASSERT_NE(section, nullptr) << name;
        rt::Rig rig(setup);
        json::Object members;
        AdapterData& adapter = rig.adapter;
        const int rc = (adapter.*section->build)(members);
        json::Object entry;
        entry["rc"] = json::Number(rc);
        entry["members"] = members;
        document[section->operation] = entry;
    }
    const std::string diff = rt::checkGolden(GetParam().name, json::JsonWriter::ToString(document));
    EXPECT_TRUE(diff.empty()) << diff;
}

INSTANTIATE_TEST_SUITE_P(Variants, GoldenSections, ::testing::ValuesIn(kVariants),
                         [](const ::testing::TestParamInfo<Variant>& info) {
                             return std::string(info.param.name);
                         });

} // namespace
