// Request-level behaviour of the simulator: every opcode answered, malformed
// and refused requests per profile, reply bytes, the controller clock in a
// zone with summer time, fault injection, trace and counters.
#include <gtest/gtest.h>

#include <set>

#include "SimTestUtil.h"
#include "tests/support/TzGuard.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::SimController;
using kvi::sim::Simulator;

namespace {

class SimRequests : public ::testing::Test {
protected:
    void SetUp() override { sim.load("default"); }
    SimController& ctrl() { return sim.controller(0); }
    kvitest::TzGuard tz{"UTC0"};
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

struct Refused {
    const char* profile;
    const char* what;
    std::uint32_t opcode;
    DCMD_MBOX mbox;
    std::uint32_t length; // 0: the standard size
    int direction;        // -1: the table's
    int status;
};

constexpr int kParam = KVI_STAT_INVALID_PARAMETER;
constexpr int kNoHw = KVI_STAT_NO_HW_PRESENT;
constexpr int kWrite = int(kvi::Direction::Write);

TEST(SimRefusals, EachRequestGetsItsStatus) {
    const Refused cases[] = {
        {"default", "opcode outside the table", 0x01FF0000, {}, 16, -1, KVI_STAT_INVALID_DCMD},
        {"default", "info one byte short", KV_DCMD_CTRL_GET_INFO, {}, 2463, -1, kParam},
        {"default", "info one byte long", KV_DCMD_CTRL_GET_INFO, {}, 2465, -1, kParam},
        {"default", "info with a mailbox", KV_DCMD_CTRL_GET_INFO, mboxBytes({{5, 1}}), 0, -1,
         kParam},
        {"default", "info written", KV_DCMD_CTRL_GET_INFO, {}, 0, kWrite, kParam},
        {"default", "properties selector 2", KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 2}}), 64,
         -1, kParam},
        {"default", "extension with 64 bytes", KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}), 64,
         -1, kParam},
        {"default",
         "properties set read",
         KV_DCMD_CTRL_PROPERTIES_SET,
         {},
         64,
         int(kvi::Direction::Read),
         kParam},
        {"default",
         "extended PR read in short form",
         KV_DCMD_CTRL_PR_GET_PROPERTIES,
         {},
         208,
         -1,
         kParam},
        {"default", "extended PR read, length 208", KV_DCMD_CTRL_PR_GET_PROPERTIES,
         mboxBytes({{0, 1}}), 208, -1, kParam},
        {"default",
         "CC read in short form",
         KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES,
         {},
         168,
         -1,
         kParam},
        {"default", "suspend selector 2", KV_DCMD_CTRL_PR_SUSPEND_RESUME, mboxBytes({{0, 2}}), 0,
         -1, kParam},
        {"default", "suspend while idle", KV_DCMD_CTRL_PR_SUSPEND_RESUME, {}, 0, -1, kParam},
        {"default", "stop while idle", KV_DCMD_CTRL_PR_STOP, {}, 0, -1, kParam},
        {"default", "flash list selector 3", KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 3}}),
         80, -1, kParam},
        {"default",
         "flash list shorter than its head",
         KV_DCMD_CTRL_FLASH_COMP_INFO_GET,
         {},
         4,
         -1,
         kParam},
        {"default", "event list shorter than its head", KV_DCMD_CTRL_EVENT_GET, {}, 7, -1, kParam},
        {"default", "event list with word 2", KV_DCMD_CTRL_EVENT_GET, mboxWords(0, 0, 1), 264, -1,
         kParam},
        {"default", "key id without 0xFFFF", KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, {}, 256, -1, kParam},
        {"default", "key id without a key", KV_DCMD_CTRL_LOCK_KEY_KEYID_GET,
         mboxBytes({{0, 0xFF}, {1, 0xFF}}), 0, -1, kvi::sim::kStatusNoLockKey},
        {"default",
         "destroy without a key",
         KV_DCMD_CTRL_LOCK_KEY_DESTROY,
         {},
         0,
         -1,
         kvi::sim::kStatusNoLockKey},
        {"default", "link speed 5", KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 1}, {1, 5}}),
         0, -1, kParam},
        {"default", "link speed of phy 16", KV_DCMD_SAS_CONFIG_SET_LINK_SPEED,
         mboxBytes({{0, 16}, {1, 8}}), 0, -1, kParam},
        {"default", "capture sub-function 6", KV_DCMD_CTRL_AEC_CONTROL, mboxWords(6), 0, -1,
         kParam},
        {"default", "capture mask beyond 16 bits", KV_DCMD_CTRL_AEC_CONTROL, mboxWords(3, 0x100), 0,
         -1, kParam},
        {"default", "capture read 100 bytes", KV_DCMD_CTRL_AEC_GET, {}, 100, -1, kParam},
        {"default", "DPM without b[8]", KV_DCMD_DPM_GET_CFG, {}, 16, -1, kParam},
        {"default", "shutdown flag 2", KV_DCMD_CTRL_SHUTDOWN, mboxBytes({{0, 2}}), 0, -1, kParam},
        {"default", "flush of nothing", KV_DCMD_CTRL_CACHE_FLUSH, {}, 0, -1, kParam},
        {"default", "sas address zero", KV_DCMD_CTRL_MFC_DEFAULTS_SASADDR_SET, {}, 0, -1, kParam},
        {"default", "battery status 63 bytes", KV_DCMD_BBU_GET_STATUS, {}, 63, -1, kParam},
        {"default", "mux list 4 bytes", KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, {}, 4, -1, kParam},
        {"default", "NV cache selector 2", KV_DCMD_CTRL_NVCACHE_ERASE, mboxBytes({{0, 2}}), 16, -1,
         kParam},
        {"default", "configuration selector 1", KV_DCMD_CFG_READ, mboxBytes({{0, 1}}), 8, -1,
         kParam},
        {"entry", "alarm without hardware", KV_DCMD_CTRL_ALARM_GET, {}, 0, -1, kNoHw},
        {"entry", "alarm enable without hardware", KV_DCMD_CTRL_ALARM_ENABLE, {}, 0, -1, kNoHw},
        {"entry", "battery status without a battery", KV_DCMD_BBU_GET_STATUS, {}, 0, -1, kNoHw},
        {"entry", "battery capacity", KV_DCMD_BBU_GET_CAPACITY_INFO, {}, 0, -1, kNoHw},
        {"entry", "battery design", KV_DCMD_BBU_GET_DESIGN_INFO, {}, 0, -1, kNoHw},
        {"entry", "battery learn", KV_DCMD_BBU_LEARN, {}, 0, -1, kNoHw},
        {"entry", "battery properties", KV_DCMD_BBU_PROPERTIES_GET, {}, 0, -1, kNoHw},
        {"entry", "retention test", KV_DCMD_CTRL_DIAG_BATTERY_RETENTION_TEST, {}, 0, -1, kNoHw},
        {"entry", "no security", KV_DCMD_CTRL_LOCK_KEY_DESTROY, {}, 0, -1, KVI_STAT_INVALID_DCMD},
        {"entry", "no backup image list", KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 2}}), 0,
         -1, kParam},
        {"previous-gen", "no backup image list", KV_DCMD_CTRL_FLASH_COMP_INFO_GET,
         mboxBytes({{0, 2}}), 0, -1, kParam},
        {"previous-gen", "no extended PR form", KV_DCMD_CTRL_PR_GET_PROPERTIES, mboxBytes({{0, 1}}),
         120, -1, kParam},
        {"previous-gen", "no property extension", KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}),
         128, -1, kParam},
    };
    for (const Refused& c : cases) {
        SCOPED_TRACE(std::string(c.profile) + ": " + c.what);
        Simulator sim{Clock(kNow)};
        sim.load(c.profile);
        EXPECT_EQ(
            send(sim.controller(0), c.opcode, c.mbox, c.length, nullptr, 0, c.direction).status,
            c.status);
    }
    Simulator sim{Clock(kNow)};
    sim.load("default");
    kvi::DirectCommand cmd; // a length without a buffer is refused, not dereferenced
    cmd.opcode = KV_DCMD_CTRL_GET_INFO;
    cmd.length = 2464;
    cmd.direction = kvi::Direction::Read;
    EXPECT_EQ(sim.controller(0).submit(cmd), kParam);
}

// Reply bytes of short answers: the head words and the zeros after them.
struct ReplyCase {
    const char* what;
    std::uint32_t opcode;
    DCMD_MBOX mbox;
    std::uint32_t length;
    std::vector<std::uint8_t> bytes; // the whole reply
};

TEST_F(SimRequests, ShortRepliesHoldExactlyTheirBytes) {
    const ReplyCase cases[] = {
        {"configuration head", KV_DCMD_CFG_READ, mboxBytes({{0, 2}}), 8, {8, 0, 0, 0, 0, 0, 0, 0}},
        {"configuration body of no volume, read long",
         KV_DCMD_CFG_READ,
         {},
         16,
         {8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"OEM identifier", KV_DCMD_CTRL_OEM_ID_GET, {}, 0, {1, 0, 0, 0}},
        {"alarm state", KV_DCMD_CTRL_ALARM_GET, {}, 0, {1}},
        {"NV cache report",
         KV_DCMD_CTRL_NVCACHE_ERASE,
         mboxBytes({{0, 1}}),
         16,
         {0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 16, 0, 0, 0, 0, 0}},
    };
    for (const ReplyCase& c : cases) {
        SCOPED_TRACE(c.what);
        Reply r = send(ctrl(), c.opcode, c.mbox, c.length);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.data, c.bytes);
    }
}

TEST_F(SimRequests, ControllerClockIsTheSimulatedInstantInLocalTime) {
    KV_TIME_STAMP ts = as<KV_TIME_STAMP>(send(ctrl(), KV_DCMD_CTRL_TIME_GET));
    EXPECT_EQ(ts.year, 2025);
    EXPECT_EQ(ts.month, 6);
    EXPECT_EQ(ts.day, 1);
    EXPECT_EQ(ts.hour, 12);
    EXPECT_EQ(as<KV_CTRL_INFO>(send(ctrl(), KV_DCMD_CTRL_GET_INFO)).currentFwTime,
              std::uint32_t(kNow - 946684800));
    kvitest::TzGuard summer("CET-1CEST,M3.5.0,M10.5.0/3");
    ts = as<KV_TIME_STAMP>(send(ctrl(), KV_DCMD_CTRL_TIME_GET));
    EXPECT_EQ(ts.hour, 14); // summer time
    // currentFwTime counts local wall-clock seconds from local standard-time
    // midnight of 2000-01-01: in summer time one hour ahead of the instant.
    KV_CTRL_INFO info = as<KV_CTRL_INFO>(send(ctrl(), KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(info.currentFwTime, std::uint32_t(kNow - (946684800 - 3600) + 3600));
}

TEST(SimProfiles, SimTimeFromTheEnvironment) {
    setenv("KVICTL_SIM_TIME", "1748779200", 1);
    Clock c = Clock::fromEnvironment();
    EXPECT_TRUE(c.isFixed());
    EXPECT_EQ(c.now(), 1748779200);
    setenv("KVICTL_SIM_TIME", "soon", 1);
    EXPECT_THROW(Clock::fromEnvironment(), kvi::sim::SimError);
    unsetenv("KVICTL_SIM_TIME");
    EXPECT_FALSE(Clock::fromEnvironment().isFixed());
}

// ---- fault injection ----

TEST(SimFaults, InjectedStatusesHitOnlyTheirRequestAndChangeNothing) {
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(
                        R"({"base": "default", "fail": {"0x05010000": 34, "0x01010000": -10,
                            "KV_DCMD_CTRL_FLASH_COMP_INFO_GET@b0=2": 4, "0x01020100": 17,
                            "0x01020100@b0=1": 9, "KV_DCMD_CTRL_ALARM_DISABLE": 3}})",
                        "faults.json", "", clock),
                    &clock);
    for (unsigned i = 0; i < kKvDcmdCount; ++i) {
        const KV_DCMD_INFO& row = kvDcmdRow(i);
        EXPECT_EQ(send(c, row.opcode).status == 34, row.opcode == KV_DCMD_BBU_GET_STATUS)
            << row.name;
    }
    EXPECT_EQ(send(c, KV_DCMD_CTRL_GET_INFO).status, kvi::kTransportFailed);
    // A mailbox qualifier narrows the fault and wins over the plain entry.
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 2}})).status, 4);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 1}})).status, 0);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}), 128).status, 9);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_PROPERTIES_GET).status, 17);
    std::uint32_t newest = c.state().events.newestSeqNum();
    EXPECT_EQ(send(c, KV_DCMD_CTRL_ALARM_DISABLE).status, 3);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_ALARM_GET).data[0], 1);
    EXPECT_EQ(c.state().events.newestSeqNum(), newest);
}

TEST_F(SimRequests, TraceAndCountersRecordEachRequest) {
    send(ctrl(), KV_DCMD_CTRL_GET_INFO);
    send(ctrl(), KV_DCMD_CTRL_GET_INFO);
    send(ctrl(), KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 3}, {1, 4}}));
    EXPECT_EQ(ctrl().count(KV_DCMD_CTRL_GET_INFO), 2u);
    EXPECT_EQ(ctrl().count(KV_DCMD_BBU_LEARN), 0u);
    ASSERT_EQ(ctrl().trace().size(), 3u);
    const kvi::sim::TraceEntry& t = ctrl().trace().back();
    EXPECT_EQ(t.opcode, std::uint32_t(KV_DCMD_SAS_CONFIG_SET_LINK_SPEED));
    EXPECT_EQ(t.mbox[0], 3);
    EXPECT_EQ(t.mbox[1], 4);
    EXPECT_EQ(t.direction, kvi::Direction::None);
    ctrl().setTraceLimit(2);
    EXPECT_EQ(ctrl().trace().front().opcode, std::uint32_t(KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(ctrl().trace().size(), 2u);
    ctrl().resetIntrospection();
    EXPECT_EQ(ctrl().totalRequests(), 0u);
    EXPECT_TRUE(ctrl().trace().empty());
}

} // namespace
