// The controller status derivation, the process-wide inputs, the host queries
// and the provider switch.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/ControllerId.h"
#include "provider/KviDataProvider.h"
#include "provider/ProcessInputs.h"
#include "provider/RaidManager.h"
#include "provider/System.h"
#include "tests/support/FakeController.h"
#include "tests/support/LogCapture.h" // ProcessInputsGuard, ProviderOffGuard

namespace {

using kvitest::FakeAnswer;
using kvitest::FakeController;

// Controller information with the given raw edits applied: fields are set
// through their byte offsets, so the test also pins where they live.
struct InfoEdit {
    int offset;
    std::uint8_t value; // OR-ed into the byte
};

std::unique_ptr<KV_CTRL_INFO> infoWith(std::initializer_list<InfoEdit> edits) {
    auto info = std::make_unique<KV_CTRL_INFO>();
    auto* raw = reinterpret_cast<std::uint8_t*>(info.get());
    for (const InfoEdit& e : edits)
        raw[e.offset] |= e.value;
    return info;
}

// adapterStatus u16 at 1528: safeModeBoot bit 10 -> byte 1529 bit 2.
const InfoEdit kSafeMode{1529, 0x04};
// adapterStatus2 u8 at 2381: certificateProvision bit 1.
const InfoEdit kCertProv{2381, 0x02};
const InfoEdit kLdDegraded{1474, 1};
const InfoEdit kLdOffline{1477, 1}; // high byte: 256 offline drives
const InfoEdit kPdFailed{1484, 3};
const InfoEdit kPdPredFail{1482, 1}; // predicted failures alone need no attention

TEST(RaidManager, StatusDerivedFromControllerInformation) {
    struct Row {
        const char* what;
        std::initializer_list<InfoEdit> edits;
        unsigned char status;
    };
    const Row rows[] = {
        {"clean", {}, CONTROLLER_STATUS_OPTIMAL},
        {"predicted failure only", {kPdPredFail}, CONTROLLER_STATUS_OPTIMAL},
        {"degraded", {kLdDegraded}, CONTROLLER_STATUS_NEED_ATTN},
        {"offline", {kLdOffline}, CONTROLLER_STATUS_NEED_ATTN},
        {"failed drive", {kPdFailed}, CONTROLLER_STATUS_NEED_ATTN},
        {"safe mode", {kSafeMode}, CONTROLLER_STATUS_SAFE_MODE},
        {"certificate provisioning", {kCertProv}, CONTROLLER_STATUS_CERT_PROV},
        {"safe mode wins", {kSafeMode, kCertProv, kLdDegraded}, CONTROLLER_STATUS_SAFE_MODE},
        {"provisioning wins over counts", {kCertProv, kPdFailed}, CONTROLLER_STATUS_CERT_PROV},
    };
    for (const Row& r : rows) {
        auto info = infoWith(r.edits);
        EXPECT_EQ(RaidManager::deriveControllerStatus(*info), r.status) << r.what;
    }
}

TEST(RaidManager, OneManagerPerControllerReadsControllerInformationOnce) {
    FakeController ctrl, other;
    auto info = infoWith({kLdDegraded});
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(*info));
    RaidManager* manager = RaidManager::getInstance(&ctrl);
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager, RaidManager::getInstance(&ctrl));
    EXPECT_NE(manager, RaidManager::getInstance(&other));
    EXPECT_EQ(RaidManager::getInstance(&other)->controller(), &other);
    EXPECT_EQ(RaidManager::getInstance(nullptr), nullptr);
    EXPECT_EQ(manager->getControllerStatus(), CONTROLLER_STATUS_NEED_ATTN);
    ASSERT_EQ(ctrl.requests().size(), 1u);
    EXPECT_EQ(ctrl.requests()[0].describe(),
              "firmware 0x01010000 (KV_DCMD_CTRL_GET_INFO) mbox 00000000 00000000 "
              "00000000 caller length 0 capacity 2464 -> length 2464 read status 0");
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(KVI_STAT_INVALID_DCMD));
    EXPECT_EQ(manager->getControllerStatus(), CONTROLLER_STATUS_FAILED);
}

TEST(RaidManager, StatusNames) {
    struct Row {
        int status;
        const char* name;
    };
    const Row rows[] = {{0, "optimal"},   {1, "needs_attention"},
                        {2, "safe_mode"}, {3, "certificate_provisioning"},
                        {15, "failed"},   {7, "unknown"}};
    for (const Row& r : rows) {
        EXPECT_STREQ(RaidManager::controllerStatusName(r.status), r.name);
        EXPECT_GT(std::strlen(RaidManager::controllerStatusDescription(r.status)), 0u);
    }
}

// The report texts themselves are checked by the golden files (an OEM profile among them);
// here: the OEM flag switches the battery entry, and entries outside the table are empty.
TEST(ProcessInputs, ResourceEntriesAndControllerType) {
    {
        kvitest::ProcessInputsGuard guard;
        EXPECT_STREQ(gResStr->entry(Resource::kBbuEntry), "BBU");
        EXPECT_STREQ(gResStr->entry(Resource::kFirstEntry), gResStr->STR_VD_OBJ);
        EXPECT_STREQ(gResStr->entry(Resource::kLastEntry), gResStr->STR_OBJ_SPARE2);
        EXPECT_STREQ(gResStr->entry(Resource::kFirstEntry - 1), "");
        EXPECT_STREQ(gResStr->entry(Resource::kLastEntry + 1), "");
    }
    kvi::ProcessInputs inputs;
    inputs.isOEMhp = true;
    inputs.controllerType = 1;
    kvitest::ProcessInputsGuard guard(inputs);
    EXPECT_TRUE(isOEMhp);
    EXPECT_STREQ(gResStr->entry(Resource::kBbuEntry), "Energy Pack");
    // A controller's type defaults to the process-wide one.
    FakeController ctrl(ControllerId(2));
    ControllerId* id = ctrl.getControllerId();
    EXPECT_EQ(id->getControllerIndex(), 2u);
    EXPECT_EQ(id->getControllerType(), 1);
    id->setControllerType(0);
    EXPECT_EQ(id->getControllerType(), 0);
    id->clearControllerType();
    EXPECT_EQ(id->getControllerType(), 1);
}

TEST(System, DriverNameAndVersionFromTheBackend) {
    FakeController ctrl;
    ctrl.backend().driverNameText = "example_drv";
    ctrl.backend().driverVersionText = std::string(150, '7');
    System* system = System::getInstance();
    system->setBackend(&ctrl.backend());
    char name[100];
    std::memset(name, 'x', sizeof name);
    EXPECT_EQ(system->getDriverName(name, 0), 0);
    EXPECT_STREQ(name, "example_drv");
    char version[100];
    EXPECT_EQ(system->getDriverVersion(version, 0), 0);
    EXPECT_EQ(std::string(version), std::string(99, '7')); // bounded by the buffer
    EXPECT_EQ(system->getDriverName(nullptr, 0), -1);
    EXPECT_EQ(system->getDriverVersion(version, 0, 0), -1); // no room, not even for the end
    EXPECT_EQ(version[0], '7');
    system->setBackend(nullptr);
    EXPECT_EQ(system->getDriverName(name, 0), -1);
    EXPECT_EQ(system->getDriverVersion(version, 0), -1);
}

TEST(KviDataProvider, AvailableUnlessSwitchedOff) {
    EXPECT_NE(KviDataProvider::getInstance(0xFF), nullptr);
    EXPECT_EQ(KviDataProvider::getInstance(0xFF), KviDataProvider::getInstance(0));
    {
        kvitest::ProviderOffGuard off;
        EXPECT_EQ(KviDataProvider::getInstance(0xFF), nullptr);
    }
    EXPECT_NE(KviDataProvider::getInstance(0xFF), nullptr);
}

} // namespace
