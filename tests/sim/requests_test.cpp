// Request-level behaviour of the simulator: every opcode answered, transfer and
// mailbox checks, fault injection, trace and counters.
#include <gtest/gtest.h>

#include <set>

#include "SimTestUtil.h"
#include "provider/Controller.h"
#include "provider/DpParams.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::Simulator;

namespace {

class SimRequests : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC0", 1);
        tzset();
        sim.load("default");
    }
    kvi::sim::SimController& ctrl() { return sim.controller(0); }
    Simulator sim{Clock(kNow)};
};

// The opcodes the default controller refuses as unsupported on purpose.
const std::set<std::uint32_t> kRefusedByDefault = {
    KV_DCMD_CTRL_DOWNGRADE_KV_TO_iKV,  // no reduced mode
    KV_DCMD_CTRL_IOV_PRIVATE_INFO_GET, // no SR-IOV
    KV_DCMD_CTRL_CONTROL_HA_MODE_SET,  // not a cluster member
};

TEST_F(SimRequests, EveryOpcodeOfTheTableIsAnswered) {
    ASSERT_GT(kKvDcmdCount, 90u);
    for (unsigned i = 0; i < kKvDcmdCount; ++i) {
        const KV_DCMD_INFO& row = kvDcmdRow(i);
        SCOPED_TRACE(row.name);
        Reply r = send(ctrl(), row.opcode);
        ASSERT_FALSE(ctrl().trace().empty());
        const kvi::sim::TraceEntry& t = ctrl().trace().back();
        EXPECT_TRUE(t.handled);
        EXPECT_EQ(t.opcode, row.opcode);
        EXPECT_EQ(t.length, row.standardSize);
        EXPECT_GE(r.status, 0);
        EXPECT_LE(r.status, 255);
        EXPECT_EQ(r.status == KVI_STAT_INVALID_DCMD, kRefusedByDefault.count(row.opcode) == 1);
    }
    EXPECT_EQ(ctrl().totalRequests(), kKvDcmdCount);
}

TEST_F(SimRequests, OpcodeOutsideTheTableIsAnInvalidCommand) {
    Reply r = send(ctrl(), 0x01FF0000, DCMD_MBOX{}, 16);
    EXPECT_EQ(r.status, KVI_STAT_INVALID_DCMD);
    EXPECT_FALSE(ctrl().trace().back().handled);
}

struct BadRequest {
    const char* what;
    std::uint32_t opcode;
    DCMD_MBOX mbox;
    std::uint32_t length;
    int direction;
};

TEST_F(SimRequests, MalformedRequestsAreInvalidParameters) {
    const BadRequest cases[] = {
        {"info one byte short", KV_DCMD_CTRL_GET_INFO, {}, 2463, -1},
        {"info one byte long", KV_DCMD_CTRL_GET_INFO, {}, 2465, -1},
        {"info with a mailbox", KV_DCMD_CTRL_GET_INFO, mboxBytes({{5, 1}}), 0, -1},
        {"info written", KV_DCMD_CTRL_GET_INFO, {}, 0, int(kvi::Direction::Write)},
        {"properties selector 2", KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 2}}), 64, -1},
        {"extension with 64 bytes", KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}), 64, -1},
        {"properties set read", KV_DCMD_CTRL_PROPERTIES_SET, {}, 64, int(kvi::Direction::Read)},
        {"extended PR read in short form", KV_DCMD_CTRL_PR_GET_PROPERTIES, {}, 208, -1},
        {"extended PR read, length 208", KV_DCMD_CTRL_PR_GET_PROPERTIES, mboxBytes({{0, 1}}), 208,
         -1},
        {"CC read in short form", KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, {}, 168, -1},
        {"suspend selector 2", KV_DCMD_CTRL_PR_SUSPEND_RESUME, mboxBytes({{0, 2}}), 0, -1},
        {"flash list selector 3", KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 3}}), 80, -1},
        {"flash list shorter than its head", KV_DCMD_CTRL_FLASH_COMP_INFO_GET, {}, 4, -1},
        {"event list shorter than its head", KV_DCMD_CTRL_EVENT_GET, {}, 7, -1},
        {"event list with word 2", KV_DCMD_CTRL_EVENT_GET, mboxWords(0, 0, 1), 264, -1},
        {"key id without 0xFFFF", KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, {}, 256, -1},
        {"link speed 5", KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 1}, {1, 5}}), 0, -1},
        {"link speed of phy 16", KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 16}, {1, 8}}), 0,
         -1},
        {"capture sub-function 6", KV_DCMD_CTRL_AEC_CONTROL, mboxWords(6), 0, -1},
        {"capture read 100 bytes", KV_DCMD_CTRL_AEC_GET, {}, 100, -1},
        {"DPM without b[8]", KV_DCMD_DPM_GET_CFG, {}, 16, -1},
        {"shutdown flag 2", KV_DCMD_CTRL_SHUTDOWN, mboxBytes({{0, 2}}), 0, -1},
        {"flush of nothing", KV_DCMD_CTRL_CACHE_FLUSH, {}, 0, -1},
        {"sas address zero", KV_DCMD_CTRL_MFC_DEFAULTS_SASADDR_SET, {}, 0, -1},
        {"battery status 63 bytes", KV_DCMD_BBU_GET_STATUS, {}, 63, -1},
        {"mux list 4 bytes", KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, {}, 4, -1},
    };
    for (const BadRequest& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(send(ctrl(), c.opcode, c.mbox, c.length, nullptr, 0, c.direction).status,
                  KVI_STAT_INVALID_PARAMETER);
    }
}

TEST_F(SimRequests, MissingBufferIsRefusedNotDereferenced) {
    kvi::DirectCommand cmd;
    cmd.opcode = KV_DCMD_CTRL_GET_INFO;
    cmd.length = 2464;
    cmd.direction = kvi::Direction::Read;
    EXPECT_EQ(ctrl().submit(cmd), KVI_STAT_INVALID_PARAMETER);
}

TEST_F(SimRequests, StandardSizeReadsThroughTheProviderController) {
    // The provider applies the standard size for length 0.
    BackendController bc(ctrl());
    KV_CTRL_INFO info{};
    DcmdKviDpParams p(KV_DCMD_CTRL_GET_INFO, 0, 0, 0, reinterpret_cast<unsigned char*>(&info), 0, 0,
                      0);
    ASSERT_EQ(bc.execute(&p), 0);
    EXPECT_STREQ(std::string(info.productName, strnlen(info.productName, 80)).c_str(),
                 "KV 9480-16i");
    EXPECT_EQ(info.adapterOperations3.supportMaxExtLDs, 1u);
    EXPECT_EQ(info.currentFwTime, std::uint32_t(kNow - 946684800));
    KV_DRV_PCI_INFORMATION pci{};
    ASSERT_EQ(bc.getPciInfo(&pci), 0);
    EXPECT_EQ(pci.busNumber, 59u);
    EXPECT_EQ(pci.capability.linkCapability.linkWidth, 8u);
}

TEST_F(SimRequests, ControllerClockIsTheSimulatedInstantInLocalTime) {
    KV_TIME_STAMP ts = as<KV_TIME_STAMP>(send(ctrl(), KV_DCMD_CTRL_TIME_GET));
    EXPECT_EQ(ts.year, 2025);
    EXPECT_EQ(ts.month, 6);
    EXPECT_EQ(ts.day, 1);
    EXPECT_EQ(ts.hour, 12);
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    ts = as<KV_TIME_STAMP>(send(ctrl(), KV_DCMD_CTRL_TIME_GET));
    EXPECT_EQ(ts.hour, 14); // summer time
    // currentFwTime counts local wall-clock seconds from local standard-time
    // midnight of 2000-01-01: in summer time one hour ahead of the instant.
    KV_CTRL_INFO info = as<KV_CTRL_INFO>(send(ctrl(), KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(info.currentFwTime, std::uint32_t(kNow - (946684800 - 3600) + 3600));
    setenv("TZ", "UTC0", 1);
    tzset();
}

TEST_F(SimRequests, DriverVersionComesFromTheProfile) {
    auto v = as<KV_DRV_DRIVER_VERSION>(send(ctrl(), KV_DRV_GET_DRIVER_VERSION));
    EXPECT_STREQ(v.driverName, "kvraid");
    EXPECT_STREQ(v.driverVersion, "8.6.1.0");
    EXPECT_EQ(ctrl().driverName(), "kvraid");
    EXPECT_EQ(ctrl().driverVersion(), "8.6.1.0");
}

// ---- fault injection ----

std::unique_ptr<kvi::sim::ControllerState> withFaults(const std::string& faults) {
    return kvi::sim::buildFromProfileText(R"({"base": "default", "fail": )" + faults + "}",
                                          "faults.json", "", Clock(kNow));
}

TEST(SimFaults, NamedOpcodeFailsAndNothingElse) {
    Clock clock(kNow);
    kvi::sim::SimController c(withFaults(R"({"0x05010000": 34})"), &clock);
    for (unsigned i = 0; i < kKvDcmdCount; ++i) {
        const KV_DCMD_INFO& row = kvDcmdRow(i);
        SCOPED_TRACE(row.name);
        int status = send(c, row.opcode).status;
        if (row.opcode == KV_DCMD_BBU_GET_STATUS)
            EXPECT_EQ(status, 34);
        else
            EXPECT_NE(status, 34);
    }
}

TEST(SimFaults, MailboxQualifierNarrowsTheFault) {
    Clock clock(kNow);
    kvi::sim::SimController c(
        withFaults(
            R"({"KV_DCMD_CTRL_FLASH_COMP_INFO_GET@b0=2": 4, "0x01020100": 17, "0x01020100@b0=1": 9})"),
        &clock);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 2}})).status,
              kvi::sim::kStatusBusy);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 0}})).status, 0);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 1}})).status, 0);
    // The qualified entry wins over the plain one for its mailbox.
    EXPECT_EQ(send(c, KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}), 128).status, 9);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_PROPERTIES_GET).status, 17);
}

TEST(SimFaults, FaultLeavesTheStateAlone) {
    Clock clock(kNow);
    kvi::sim::SimController c(withFaults(R"({"KV_DCMD_CTRL_ALARM_DISABLE": 3})"), &clock);
    std::uint32_t newest = c.state().events.newestSeqNum();
    EXPECT_EQ(send(c, KV_DCMD_CTRL_ALARM_DISABLE).status, 3);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_ALARM_GET).data[0], 1);
    EXPECT_EQ(c.state().events.newestSeqNum(), newest);
}

TEST(SimFaults, LocalFailureCodesPassThrough) {
    Clock clock(kNow);
    kvi::sim::SimController c(withFaults(R"({"0x01010000": -10})"), &clock);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_GET_INFO).status, kvi::kTransportFailed);
}

// ---- introspection ----

TEST_F(SimRequests, TraceAndCountersRecordEachRequest) {
    send(ctrl(), KV_DCMD_CTRL_GET_INFO);
    send(ctrl(), KV_DCMD_CTRL_GET_INFO);
    send(ctrl(), KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 3}, {1, 4}}));
    EXPECT_EQ(ctrl().count(KV_DCMD_CTRL_GET_INFO), 2u);
    EXPECT_EQ(ctrl().count(KV_DCMD_SAS_CONFIG_SET_LINK_SPEED), 1u);
    EXPECT_EQ(ctrl().count(KV_DCMD_BBU_LEARN), 0u);
    ASSERT_EQ(ctrl().trace().size(), 3u);
    const kvi::sim::TraceEntry& t = ctrl().trace().back();
    EXPECT_EQ(t.opcode, std::uint32_t(KV_DCMD_SAS_CONFIG_SET_LINK_SPEED));
    EXPECT_EQ(t.mbox[0], 3);
    EXPECT_EQ(t.mbox[1], 4);
    EXPECT_EQ(t.length, 0u);
    EXPECT_EQ(t.direction, kvi::Direction::None);
    EXPECT_EQ(t.status, 0);
    ctrl().setTraceLimit(2);
    EXPECT_EQ(ctrl().trace().size(), 2u);
    EXPECT_EQ(ctrl().trace().front().opcode, std::uint32_t(KV_DCMD_CTRL_GET_INFO));
    ctrl().resetIntrospection();
    EXPECT_EQ(ctrl().totalRequests(), 0u);
    EXPECT_TRUE(ctrl().trace().empty());
}

} // namespace
