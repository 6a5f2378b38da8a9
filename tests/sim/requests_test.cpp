// Request-level behaviour of the simulator: every opcode answered, malformed
// and refused requests per profile (the table in data/refusals.txt), reply bytes, the controller
// clock in a zone with summer time, fault injection, trace and counters.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

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

// The opcode of a name of the opcode table, or a number.
std::uint32_t opcodeOf(const std::string& text) {
    for (unsigned i = 0; i < kKvDcmdCount; ++i)
        if (text == kvDcmdRow(i).name)
            return kvDcmdRow(i).opcode;
    return std::uint32_t(std::stoul(text, nullptr, 0));
}

TEST(SimRefusals, EachRequestOfTheTableGetsItsStatus) {
    std::ifstream in(std::string(KVI_SOURCE_DIR) + "/tests/sim/data/refusals.txt");
    std::string line;
    unsigned rows = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string profile, opcode, mbox, direction, status, what;
        std::uint32_t length = 0;
        fields >> profile >> opcode >> mbox >> length >> direction >> status;
        std::getline(fields >> std::ws, what);
        SCOPED_TRACE(profile + ": " + what);
        DCMD_MBOX m{};
        std::istringstream items(mbox == "-" ? "" : mbox);
        for (std::string item; std::getline(items, item, ',');) {
            const bool word = item[0] == 'w';
            const int at = std::stoi(item.substr(word ? 1 : 0));
            const unsigned long v = std::stoul(item.substr(item.find('=') + 1), nullptr, 0);
            if (word)
                m.w[at] = std::uint32_t(v);
            else
                m.b[at] = std::uint8_t(v);
        }
        const int dir = direction == "read"    ? int(kvi::Direction::Read)
                        : direction == "write" ? int(kvi::Direction::Write)
                                               : -1;
        Simulator sim{Clock(kNow)};
        sim.load(profile);
        const int got =
            send(sim.controller(0), opcodeOf(opcode), m, length, nullptr, 0, dir).status;
        EXPECT_EQ(kviStatusName(got), status);
        ++rows;
    }
    EXPECT_GT(rows, 40u);
    Simulator sim{Clock(kNow)};
    sim.load("default");
    kvi::DirectCommand cmd; // a length without a buffer is refused, not dereferenced
    cmd.opcode = KV_DCMD_CTRL_GET_INFO;
    cmd.length = 2464;
    cmd.direction = kvi::Direction::Read;
    EXPECT_EQ(sim.controller(0).submit(cmd), KVI_STAT_INVALID_PARAMETER);
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
