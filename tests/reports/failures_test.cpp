// Failure in the middle of a section leaves exactly the members before it;
// requests, cache reuse and log lines of the sections.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "firmware/kvi.h"
#include "provider/System.h"
#include "tests/reports/ReportRig.h"

namespace {

using rt::ControllerSetup;
using Section = int (AdapterData::*)(json::Object&);

struct FailureCase {
    const char* what;
    std::function<void(ControllerSetup&)> change;
    Section section;
    int rc;
    std::vector<std::string> members;
    bool noDriverBackend = false;
};

void PrintTo(const FailureCase& c, std::ostream* os) {
    *os << c.what;
}

class FailureLeavesPrefix : public ::testing::TestWithParam<FailureCase> {};

TEST_P(FailureLeavesPrefix, ReturnsTheStatusWithExactlyTheEarlierMembers) {
    rt::TzGuard tz("UTC0");
    ControllerSetup setup = rt::baseSetup();
    GetParam().change(setup);
    rt::Rig rig(setup);
    if (GetParam().noDriverBackend) {
        System::getInstance()->setBackend(nullptr);
    }
    json::Object obj;
    AdapterData& adapter = rig.adapter;
    EXPECT_EQ((adapter.*GetParam().section)(obj), GetParam().rc);
    EXPECT_EQ(rt::keys(obj), GetParam().members);
}

const FailureCase kFailures[] = {
    {"basic: host information",
     [](ControllerSetup& s) { s.hostStatus = 0x2D; },
     &AdapterData::getShowBasic,
     0x2D,
     {"Model", "Serial Number"}},
    {"basic: PCI query is returned after every member",
     [](ControllerSetup& s) { s.pciStatus = 0x0C; },
     &AdapterData::getShowBasic,
     0x0C,
     {"Model", "Serial Number", "PCI Slot Number", "Current Controller Date/Time",
      "Current System Date/time", "SAS Address", "PCI Address", "Mfg Date", "Rework Date",
      "Revision No"}},
    {"basic: failed defaults alone still returns 0",
     [](ControllerSetup& s) { s.mfcStatus = 0x03; },
     &AdapterData::getShowBasic,
     0,
     {"Model", "Serial Number", "PCI Slot Number", "Current Controller Date/Time",
      "Current System Date/time", "PCI Address", "Mfg Date", "Rework Date", "Revision No"}},
    {"version: driver name query",
     [](ControllerSetup&) {},
     &AdapterData::getShowVersion,
     -1,
     {"Firmware Package Build", "Firmware Version", "CPLD Version", "Bios Version",
      "NVDATA Version", "HIIA Version"},
     true},
    {"version: type 1 driver command",
     [](ControllerSetup& s) {
         s.controllerType = 1;
         s.driverStatus = 0x04;
     },
     &AdapterData::getShowVersion,
     0x04,
     {"Firmware Package Build", "Firmware Version", "CPLD Version", "Bios Version",
      "NVDATA Version", "HIIA Version"}},
    {"summary: host information",
     [](ControllerSetup& s) { s.hostStatus = 0x2D; },
     &AdapterData::getBasicCtrlInfo,
     0x2D,
     {"Product Name", "Serial Number"}},
    {"summary: defaults load fails before any member",
     [](ControllerSetup& s) { s.mfcStatus = 0x03; },
     &AdapterData::getBasicCtrlInfo,
     0x03,
     {}},
    {"summary: bus PCI query ends it",
     [](ControllerSetup& s) { s.pciStatus = 0x0C; },
     &AdapterData::getBasicCtrlInfo,
     0x0C,
     {"Product Name",     "Serial Number",       "PCI Slot Number", "SAS Address",
      "PCI Address",      "System Time",         "Mfg. Date",       "Controller Time",
      "FW Package Build", "FW Version",          "BIOS Version",    "Driver Name",
      "Driver Version",   "Current Personality", "Vendor Id",       "Device Id",
      "SubVendor Id",     "SubDevice Id",        "Host Interface",  "PCIe Link Rate",
      "Device Interface"}},
    {"bus: PCI query after seven lines",
     [](ControllerSetup& s) { s.pciStatus = 0x0C; },
     &AdapterData::getShowBus,
     0x0C,
     {"Vendor Id", "Device Id", "SubVendor Id", "SubDevice Id", "Host Interface", "PCIe Link Rate",
      "Device Interface"}},
    {"status: personality failure drops the line and is returned",
     [](ControllerSetup& s) { s.personalityStatus = 0x05; },
     &AdapterData::getShowStatus,
     0x05,
     {"Controller Status", "Memory Correctable Errors", "Memory Uncorrectable Errors",
      "ECC Bucket Count", "Any Offline VD Cache Preserved", "BBU Status",
      "PD Firmware Download in progress", "Support PD Firmware Download", "Lock Key Assigned",
      "Failed to get lock key on bootup", "Lock key has not been backed up",
      "Bios was not detected during boot",
      "Controller must be rebooted to complete security operation",
      "A rollback operation is in progress", "SSC Policy is WB",
      "Controller has booted into safe mode", "Controller shutdown required",
      "Controller has booted into certificate provision mode"}},
    {"supported: OEM query fails before any member",
     [](ControllerSetup& s) { s.oemStatus = 0x07; },
     &AdapterData::getShowSupportedAdpOperations,
     0x07,
     {}},
    {"EKMS: BIOS data after the capability",
     [](ControllerSetup& s) { s.biosStatus = 0x09; },
     &AdapterData::getSecureEKMSDetails,
     0x09,
     {"Capability"}},
    {"EKMS: unsupported is not a failure",
     [](ControllerSetup& s) { s.info.adapterOperations.supportEKM = 0; },
     &AdapterData::getSecureEKMSDetails,
     0,
     {"Capability"}},
    {"boot: BIOS data after the first member",
     [](ControllerSetup& s) { s.biosStatus = 0x09; },
     &AdapterData::getShowBoot,
     0x09,
     {"BIOS Enumerate VDs"}},
    {"boot: defaults fail first",
     [](ControllerSetup& s) { s.mfcStatus = 0x03; },
     &AdapterData::getShowBoot,
     0x03,
     {}},
    {"schedule: start time",
     [](ControllerSetup& s) { s.ccStartStatus = 0x0B; },
     &AdapterData::getShowNextSchdTask,
     0x0B,
     {}},
    {"schedule: mode after the recurrence",
     [](ControllerSetup& s) { s.ccModeStatus = 0x0B; },
     &AdapterData::getShowNextSchdTask,
     0x0B,
     {"Consistency Check Reoccurrence"}},
    {"schedule: OEM query",
     [](ControllerSetup& s) { s.oemStatus = 0x07; },
     &AdapterData::getShowNextSchdTask,
     0x07,
     {}},
    {"defaults: load fails",
     [](ControllerSetup& s) { s.mfcStatus = 0x03; },
     &AdapterData::getShowDefaults,
     0x03,
     {}},
    {"capabilities: OEM query failing drops only its line",
     [](ControllerSetup& s) { s.oemStatus = 0x07; },
     &AdapterData::getShowCapabilities,
     0,
     {"Max Arms", "Max Spans", "Max Arrays", "Max Virtual Drives", "Max Drives",
      "Max Configurable Drives", "Max Dedicated Hot Spares", "Max Global Hot Spares",
      "Max VDs per Array", "Min Strip Size Code", "Max Strip Size Code", "Supported RAID Levels"}},
};

INSTANTIATE_TEST_SUITE_P(Table, FailureLeavesPrefix, ::testing::ValuesIn(kFailures));

TEST(ReportFailures, ControllerInformationFailureWritesNothingAnywhere) {
    const Section sections[] = {&AdapterData::getShowBasic,
                                &AdapterData::getShowVersion,
                                &AdapterData::getBasicCtrlInfo,
                                &AdapterData::getShowBus,
                                &AdapterData::getShowStatus,
                                &AdapterData::getShowPendingImages,
                                &AdapterData::getShowSupportedAdpOperations,
                                &AdapterData::getShowSupportedPDOperations,
                                &AdapterData::getShowSupportedVDOperations,
                                &AdapterData::getSecureEKMSDetails,
                                &AdapterData::getShowHwConfig,
                                &AdapterData::getShowClusterInfo,
                                &AdapterData::getSecureBootDetails,
                                &AdapterData::getShowCapabilities,
                                &AdapterData::getShowBoot};
    for (Section section : sections) {
        rt::Rig rig(rt::baseSetup());
        rig.ctrl.answer(KV_DCMD_CTRL_GET_INFO, kvitest::FakeAnswer::fail(0x0E));
        json::Object obj;
        AdapterData& adapter = rig.adapter;
        EXPECT_EQ((adapter.*section)(obj), 0x0E);
        EXPECT_TRUE(obj.Empty());
    }
}

TEST(ReportFailures, PoliciesKeepTableAndSingleMembersWhenControllerInformationFails) {
    rt::Rig rig(rt::baseSetup());
    rig.ctrl.answer(KV_DCMD_CTRL_GET_INFO, kvitest::FakeAnswer::fail(0x0E));
    json::Object obj;
    EXPECT_EQ(rig.adapter.getShowPolicies(obj), 0x0E);
    EXPECT_EQ(obj.Size(), 13u);
    EXPECT_EQ(rt::keys(obj).back(), "Load Balance Mode");
}

TEST(ReportFailures, DualImagesFailWithoutWritingWhenTheListReadFails) {
    rt::Rig rig(rt::baseSetup());
    rig.ctrl.answerB0(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, 0, kvitest::FakeAnswer::fail(0x03));
    json::Object obj;
    EXPECT_EQ(rig.adapter.getShowDualImages(obj), 0x03);
    EXPECT_TRUE(obj.Empty());
}

// ---- requests ----

TEST(ReportRequests, ManufacturingRecordReadWithEmptyMailboxAndStandardLength) {
    rt::Rig rig(rt::baseSetup());
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowBasic(obj), 0);
    const kvitest::FakeRequest* r = rig.ctrl.last(KV_DCMD_CTRL_MFC_MFG_GET);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->mbox, kvitest::Mbox{});
    EXPECT_EQ(r->callerLength, 0u);
    EXPECT_EQ(r->length, 32u);
    EXPECT_EQ(r->capacity, 32u);
    EXPECT_EQ(rig.ctrl.count(KV_DCMD_CTRL_GET_INFO), 1u);
}

TEST(ReportRequests, FruRecordOnlyWithBatteryCapabilityAndBounded) {
    ControllerSetup s = rt::baseSetup();
    {
        rt::Rig rig(s);
        json::Object obj;
        ASSERT_EQ(rig.adapter.getShowHwConfig(obj), 0);
        const kvitest::FakeRequest* r = rig.ctrl.last(KV_DCMD_CTRL_MFC_MFG_2_GET);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->mbox, kvitest::Mbox{});
        EXPECT_EQ(r->capacity, 32u);
        EXPECT_EQ(r->length, 32u);
    }
    s.info.adapterOperations.bbu = 0;
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowHwConfig(obj), 0);
    EXPECT_EQ(rig.ctrl.count(KV_DCMD_CTRL_MFC_MFG_2_GET), 0u);
}

TEST(ReportRequests, EnergyPackWithoutBatteryBitAsksNoBatteryStatus) {
    ControllerSetup s = rt::baseSetup();
    s.oemHp = true;
    s.info.hwPresent.bbu = 0;
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowHwConfig(obj), 0);
    EXPECT_EQ(rig.ctrl.count(KV_DCMD_BBU_GET_STATUS), 0u);
}

TEST(ReportRequests, TypeOneDriverVersionIsADriverCommand) {
    ControllerSetup s = rt::baseSetup();
    s.controllerType = 1;
    rt::Rig rig(s);
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowVersion(obj), 0);
    const kvitest::FakeRequest* r = rig.ctrl.last(KV_DRV_GET_DRIVER_VERSION);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, kvitest::RequestKind::Driver);
    EXPECT_EQ(r->mbox, kvitest::Mbox{});
    EXPECT_EQ(r->length, 112u);
}

TEST(ReportRequests, SectionsShareTheCachedControllerInformation) {
    rt::Rig rig(rt::baseSetup());
    json::Object a, b, c, d;
    ASSERT_EQ(rig.adapter.getShowSupportedPDOperations(a), 0);
    ASSERT_EQ(rig.adapter.getShowSupportedVDOperations(b), 0);
    ASSERT_EQ(rig.adapter.getShowBus(c), 0);
    ASSERT_EQ(rig.adapter.getSecureBootDetails(d), 0);
    EXPECT_EQ(rig.ctrl.count(KV_DCMD_CTRL_GET_INFO), 1u);
}

TEST(ReportRequests, OtherOperationsAreReachedThroughTheInterface) {
    rt::Rig rig(rt::baseSetup());
    json::Object hw, next;
    ASSERT_EQ(rig.adapter.getShowHwConfig(hw), 0);
    ASSERT_EQ(rig.adapter.getShowNextSchdTask(next), 0);
    EXPECT_EQ(rig.adapter.calls,
              (std::vector<std::string>{"adpFlashErase(report)", "getCurrentConfigSSCSize",
                                        "getOem", "getCcSchedStartTime", "getCcSchedMode"}));
}

TEST(ReportRequests, NextTaskWithoutAnyHeldScheduleIsRefused) {
    ControllerSetup s = rt::baseSetup();
    rt::Rig rig(s);
    // The start-time read succeeds but leaves no schedule record held.
    rig.ctrl.answer(KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, kvitest::FakeAnswer::fail(0x02));
    struct NoLoad : rt::ScriptedAdapter {
        using rt::ScriptedAdapter::ScriptedAdapter;
        int getCcSchedStartTime(tm* out) override {
            *out = tm{};
            return 0;
        }
    } adapter(&rig.ctrl, rig.ctrl.getControllerId(), rig.setup);
    json::Object obj;
    EXPECT_EQ(adapter.getShowNextSchdTask(obj), -1);
    EXPECT_TRUE(obj.Empty());
}

// ---- log lines ----

struct LogCase {
    Section section;
    std::vector<std::string> lines; // in this order, among others
};

TEST(ReportLogs, EntryAndExitLinesAsWritten) {
    const LogCase cases[] = {
        {&AdapterData::getShowBasic,
         {"Entering AdapterDataKvi::getShowBasic",
          "Exiting AdapterDataKvi::getShowBasic retCode = 0"}},
        {&AdapterData::getShowVersion,
         {"Entering AdapterDataKvi::getShowVersion",
          "Entering AdapterDataKvi::getShowVersion - Getting driver version",
          "Exiting AdapterDataKvi::getShowVersion  retcode = 0"}},
        {&AdapterData::getBasicCtrlInfo,
         {"Entering AdapterDataKvi::getBasicCtrlInfo", "Entering AdapterDataKvi::getShowBus",
          "Exiting AdapterDataKvi::getShowBus retcode = 0",
          "Exiting AdapterDataKvi::getBasicCtrlInfo"}},
        {&AdapterData::getShowBus,
         {"Entering AdapterDataKvi::getShowBus",
          "Entering AdapterDataKvi::getShowBus - Getting PCI info",
          "Exiting AdapterDataKvi::getShowBus retcode = 0"}},
        {&AdapterData::getShowStatus,
         {"Entering AdapterDataKvi::getShowStatus",
          "Exiting AdapterDataKvi::getShowStatus retcode = 0"}},
        {&AdapterData::getShowSupportedPDOperations,
         {"Entering AdapterDataKvi::getShowSupportedPDOperations",
          "Exiting AdapterDataKvi::getShowSupportedPDOperations retcode = 0"}},
        {&AdapterData::getSecureEKMSDetails,
         {"Exiting AdapterDataKvi::getSecureEKMSDetails retcode = 0 10"}},
        {&AdapterData::getShowHwConfig,
         {"Entering AdapterDataKvi::getShowHwConfig", "Exiting AdapterDataKvi::getShowHwConfig"}},
        {&AdapterData::getShowPolicies,
         {"Entering AdapterDataKvi::getShowPolicies",
          "Exiting AdapterDataKvi::getShowPolicies retcode = 0"}},
        {&AdapterData::getShowBoot,
         {"Entering AdapterDataKvi::getShowBoot",
          "Exiting AdapterDataKvi::getShowBoot retCode = 0"}},
        {&AdapterData::getShowClusterInfo,
         {"Entering AdapterDataKvi::getShowClusterInfo",
          "Exiting AdapterDataKvi::getShowClusterInfo retcode = 0"}},
        {&AdapterData::getShowNextSchdTask,
         {"Entering AdapterDataKvi::getShowNextSchdTask",
          "Exiting AdapterDataKvi::getShowNextSchdTask retCode = 0"}},
        {&AdapterData::getSecureBootDetails,
         {"Entering AdapterDataKvi::getSecureBootDetails",
          "Exiting AdapterDataKvi::getSecureBootDetails retCode = 0"}},
    };
    for (const LogCase& c : cases) {
        rt::Rig rig(rt::baseSetup());
        kvitest::LogCapture log;
        json::Object obj;
        AdapterData& adapter = rig.adapter;
        ASSERT_EQ((adapter.*c.section)(obj), 0);
        long at = 0;
        for (const std::string& line : c.lines) {
            const long found = log.indexOf(line, static_cast<std::size_t>(at));
            EXPECT_GE(found, 0) << line;
            at = found < 0 ? at : found + 1;
        }
    }
}

TEST(ReportLogs, PendingComponentLinesAndNoExitOnEarlyFailure) {
    ControllerSetup s = rt::baseSetup();
    s.info.pendingImageComponentCount = 1;
    std::memcpy(s.info.pendingImageComponent[0].name, "BIOS", 4);
    std::memcpy(s.info.pendingImageComponent[0].version, "7.2", 3);
    {
        rt::Rig rig(s);
        kvitest::LogCapture log;
        json::Object obj;
        ASSERT_EQ(rig.adapter.getShowPendingImages(obj), 0);
        EXPECT_TRUE(log.contains("Component-BIOS version-7.2\n"));
        EXPECT_TRUE(log.contains("Exiting AdapterDataKvi::getShowPendingImages retcode = 0"));
    }
    s.pciStatus = 0x0C;
    rt::Rig rig(s);
    kvitest::LogCapture log;
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowBus(obj), 0x0C);
    EXPECT_EQ(log.count("Exiting AdapterDataKvi::getShowBus retcode = 12"), 0u);
}

} // namespace
