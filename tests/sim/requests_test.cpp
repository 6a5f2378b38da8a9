// Request-level behaviour of the simulator: every opcode answered, malformed
// and refused requests per profile (data/refusals.txt), request scripts with
// the answer bytes, read-backs and events of each step (data/scripts.txt),
// SMP, the event log, the controller clock in a zone with summer time, and
// fault injection. Requests and answers of every adapter operation are in the
// walk's goldens.
#include <gtest/gtest.h>

#include <cctype>
#include <iomanip>
#include <memory>
#include <set>
#include <sstream>
#include <tuple>

#include "SimTestUtil.h"
#include "sim/EventLog.h"
#include "tests/support/TestData.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::SimController;
using kvi::sim::Simulator;

namespace {

// The opcodes the default controller refuses as unsupported on purpose.
const std::set<std::uint32_t> kRefusedByDefault = {
    KV_DCMD_CTRL_DOWNGRADE_KV_TO_iKV,  // no reduced mode
    KV_DCMD_CTRL_IOV_PRIVATE_INFO_GET, // no SR-IOV
    KV_DCMD_CTRL_CONTROL_HA_MODE_SET,  // not a cluster member
};

// The opcode of a name of the opcode table, or a number.
std::uint32_t opcodeOf(const std::string& text) {
    for (unsigned i = 0; i < kKvDcmdCount; ++i)
        if (text == kvDcmdRow(i).name)
            return kvDcmdRow(i).opcode;
    return std::uint32_t(std::stoul(text, nullptr, 0));
}

// A mailbox item of a request line: "N=V" byte N, "wN=V" word N (also "bN=V").
void setMailbox(DCMD_MBOX& m, const std::string& item) {
    const bool word = item[0] == 'w';
    const int at = std::stoi(item.substr(std::isdigit(item[0]) ? 0 : 1));
    const unsigned long v = std::stoul(item.substr(item.find('=') + 1), nullptr, 0);
    if (word)
        m.w[at] = std::uint32_t(v);
    else
        m.b[at] = std::uint8_t(v);
}

TEST(SimRefusals, EachRequestOfTheTableGetsItsStatus) {
    unsigned rows = 0;
    for (const auto& [n, line] : kvitest::dataLines("tests/sim/data/refusals.txt")) {
        std::istringstream fields(line);
        std::string profile, opcode, mbox, direction, status, what;
        std::uint32_t length = 0;
        fields >> profile >> opcode >> mbox >> length >> direction >> status;
        std::getline(fields >> std::ws, what);
        SCOPED_TRACE("refusals.txt:" + std::to_string(n) + ": " + profile + ": " + what);
        DCMD_MBOX m{};
        std::istringstream items(mbox == "-" ? "" : mbox);
        for (std::string item; std::getline(items, item, ',');)
            setMailbox(m, item);
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

// "@OFF.SIZE=V" or "@OFF.SIZE&MASK=V": a little-endian value in a buffer.
struct Field {
    std::size_t offset, size;
    std::uint64_t mask, value;
    explicit Field(const std::string& t)
        : offset(std::stoul(t.substr(1), nullptr, 0)),
          size(std::stoul(t.substr(t.find('.') + 1), nullptr, 0)),
          mask(t.find('&') == std::string::npos
                   ? ~0ULL
                   : std::stoull(t.substr(t.find('&') + 1), nullptr, 0)),
          value(std::stoull(t.substr(t.find('=') + 1), nullptr, 0)) {}
};

// The newest event: its description, after its class when that is not 0 (info).
std::string newestEvent(SimController& c) {
    const kvi::sim::EventLog& log = c.state().events;
    kvi::sim::SimEvent e;
    EXPECT_TRUE(log.get(log.newestSeqNum(), e));
    return (e.eventClass ? "class " + std::to_string(e.eventClass) + ": " : "") + e.description;
}

// Runs the request scripts of data/scripts.txt (the format is described there).
TEST(SimScripts, EachRequestGetsItsAnswerAndEvent) {
    kvitest::TzGuard tz("UTC0");
    std::unique_ptr<Simulator> sim;
    std::vector<std::uint8_t> last;
    unsigned requests = 0;
    for (const auto& [n, line] : kvitest::dataLines("tests/sim/data/scripts.txt")) {
        if (line.rfind("== ", 0) == 0) {
            sim = std::make_unique<Simulator>(Clock(kNow));
            const std::string profile = line.substr(3, line.find(' ', 3) - 3);
            sim->load(profile.rfind("data/", 0) == 0 ? KVI_SOURCE_DIR "/tests/sim/" + profile
                                                     : profile);
            continue;
        }
        SCOPED_TRACE("scripts.txt:" + std::to_string(n) + ": " + line);
        SimController& c = sim->controller(0);
        const std::size_t bar = line.find(" | ");
        std::istringstream fields(line.substr(0, bar));
        std::string opcodeText, item;
        fields >> opcodeText;
        const std::uint32_t opcode = opcodeOf(opcodeText);
        int times = 1;
        DCMD_MBOX m{};
        std::uint32_t length = 0;
        std::vector<std::uint8_t> data;
        while (fields >> item && item != "=>") {
            if (item.rfind("len=", 0) == 0) {
                length = std::uint32_t(std::stoul(item.substr(4)));
            } else if (item == "keep") {
                data = last;
            } else if (item[0] == 'x') {
                times = std::stoi(item.substr(1));
            } else if (item[0] == '@' || item[0] == '$') {
                data.resize(length ? length : kvDcmdInfo(opcode)->standardSize);
                std::string text;
                if (item[0] == '$')
                    fields >> std::quoted(text);
                const Field f(item[0] == '@' ? item : item + ".0=0");
                const bool value = item[0] == '@';
                const std::size_t size = value ? f.size : text.size();
                ASSERT_LE(f.offset + size, data.size()) << item;
                std::memcpy(data.data() + f.offset,
                            value ? static_cast<const void*>(&f.value) : text.data(), size);
            } else {
                setMailbox(m, item);
            }
        }
        const std::uint32_t before = c.state().events.newestSeqNum();
        Reply r;
        for (int i = 0; i < times; ++i)
            r = send(c, opcode, m, length, data.empty() ? nullptr : data.data(), data.size());
        last = r.data;
        std::string status;
        fields >> status;
        if (std::isdigit(status[0]))
            EXPECT_EQ(r.status, std::stoi(status, nullptr, 0));
        else
            EXPECT_EQ(kviStatusName(r.status), status);
        while (fields >> item) {
            if (item[0] == 'm') {
                EXPECT_EQ(r.word(item[1] - '0'), std::stoul(item.substr(3), nullptr, 0)) << item;
            } else if (item[0] == '$') {
                std::string text;
                fields >> std::quoted(text);
                const std::size_t at = Field(item + ".0=0").offset;
                ASSERT_LT(at, r.data.size()) << item;
                const char* got = reinterpret_cast<const char*>(r.data.data() + at);
                EXPECT_EQ(std::string(got, strnlen(got, r.data.size() - at)), text);
            } else {
                const Field f(item);
                std::uint64_t v = 0;
                ASSERT_LE(f.offset + f.size, r.data.size()) << item;
                std::memcpy(&v, r.data.data() + f.offset, f.size);
                EXPECT_EQ(v & f.mask, f.value) << item;
            }
        }
        if (bar == std::string::npos)
            EXPECT_EQ(c.state().events.newestSeqNum(), before) << "logged " << newestEvent(c);
        else
            EXPECT_EQ(newestEvent(c), line.substr(bar + 3));
        ++requests;
    }
    EXPECT_GT(requests, 90u);
}

// An SMP REPORT GENERAL is answered at the address of an expander on a phy
// (28 phys), refused at any other.
TEST(SimSmp, ExpanderAnswersReportGeneralOnlyAtItsAddress) {
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(
                        R"({"base": "default", "phys": [{"sasAddr": "0x500605b000e0c0ff",
                            "phyIdentifier": 0, "connectorIndex": 0, "deviceType": 2, "smpTarget": 1}]})",
                        "p.json", "", clock),
                    &clock);
    for (const std::uint64_t address : {0x500605B000E0C0FFULL, 0x500605B000E0C0FEULL}) {
        std::uint8_t request[8] = {0x40, 0x00}, response[28] = {};
        kvi::SmpCommand smp;
        smp.sasAddress = address;
        smp.request = request;
        smp.requestLength = sizeof request;
        smp.response = response;
        smp.responseLength = sizeof response;
        const bool expander = address & 1;
        EXPECT_EQ(c.submitSmp(smp), expander ? 0 : KVI_STAT_INVALID_PARAMETER);
        EXPECT_EQ(response[9], expander ? 28 : 0);
    }
}

// A patrol pass covers at most the 255 drives its 32-byte drive map can name.
TEST_F(SimTest, PatrolReadMapsAtMost255Drives) {
    c().state().info.pdDiskPresentCount = 300;
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, 0);
    const auto& st = c().state();
    const std::uint8_t* map = st.prExt.curPdMap.b[0] ? st.prExt.curPdMap.b : st.pr.curPdMap;
    EXPECT_EQ(map[30], 0xFF);
    EXPECT_EQ(map[31], 0x7F);
}

// Stored events: once the store has turned over, the texts of dropped events
// leave the arena (it holds about what a new store of the events left would);
// every event left reads back whole.
TEST(SimEventLog, StoreStaysCompactAndWhole) {
    kvi::sim::EventStore store, fresh;
    auto event = [](std::uint32_t i) {
        kvi::sim::SimEvent e;
        e.timeStamp = i;
        e.code = i % 7;
        e.locale = std::uint16_t(i);
        e.eventClass = std::int8_t(i % 5 - 2);
        e.argType = std::uint8_t(i);
        e.description = "event " + std::to_string(i);
        if (i % 3 == 0)
            e.args = {1, 2, std::uint8_t(i)};
        return e;
    };
    for (std::uint32_t i = 0; i < 5000; ++i) {
        store.push(event(i));
        if (i >= 3000)
            fresh.push(event(i));
    }
    for (int i = 0; i < 3000; ++i)
        store.popFront();
    ASSERT_EQ(store.size(), 2000u);
    EXPECT_LE(store.bytes(), fresh.bytes() * 5 / 4);
    kvi::sim::SimEvent got;
    for (std::uint32_t i = 3000; i < 5000; ++i) {
        store.get(i - 3000, got);
        const kvi::sim::SimEvent want = event(i);
        ASSERT_EQ(std::tie(got.timeStamp, got.code, got.locale, got.eventClass, got.argType,
                           got.description, got.args),
                  std::tie(want.timeStamp, want.code, want.locale, want.eventClass, want.argType,
                           want.description, want.args))
            << i;
    }
}

// ---- clock, faults ----

TEST_F(SimTest, ControllerClockIsTheSimulatedInstantInLocalTime) {
    KV_TIME_STAMP ts = as<KV_TIME_STAMP>(send(c(), KV_DCMD_CTRL_TIME_GET));
    EXPECT_EQ(std::make_tuple(ts.year, ts.month, ts.day, ts.hour), std::make_tuple(2025, 6, 1, 12));
    EXPECT_EQ(as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO)).currentFwTime, kFwNow);
    kvitest::TzGuard summer("CET-1CEST,M3.5.0,M10.5.0/3");
    ts = as<KV_TIME_STAMP>(send(c(), KV_DCMD_CTRL_TIME_GET));
    EXPECT_EQ(ts.hour, 14); // summer time
    // currentFwTime counts local wall-clock seconds from local standard-time
    // midnight of 2000-01-01: in summer time one hour ahead of the instant.
    KV_CTRL_INFO info = as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(info.currentFwTime, std::uint32_t(kNow - (946684800 - 3600) + 3600));
    // A fixed instant from the environment is what every command line test
    // runs on; one that is not a number is refused.
    setenv("KVICTL_SIM_TIME", "soon", 1);
    EXPECT_THROW(Clock::fromEnvironment(), kvi::sim::SimError);
    unsetenv("KVICTL_SIM_TIME");
}

TEST(SimFaults, InjectedStatusesHitOnlyTheirRequestAndChangeNothing) {
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(
                        R"({"base": "default", "fail": {"0x05010000": 34, "0x01010000": -10,
                            "KV_DCMD_CTRL_FLASH_COMP_INFO_GET@b0=2": 4, "0x01020100": 17,
                            "0x01020100@b0=1": 9, "KV_DCMD_CTRL_ALARM_DISABLE": 3}})",
                        "faults.json", "", clock),
                    &clock);
    // Every opcode of the table is answered at its standard size; a faulty one
    // fails without its handler, and the default controller refuses a few as
    // unsupported.
    const std::set<std::uint32_t> faulty = {KV_DCMD_BBU_GET_STATUS, KV_DCMD_CTRL_GET_INFO,
                                            KV_DCMD_CTRL_PROPERTIES_GET,
                                            KV_DCMD_CTRL_ALARM_DISABLE};
    ASSERT_GT(kKvDcmdCount, 90u);
    for (unsigned i = 0; i < kKvDcmdCount; ++i) {
        const KV_DCMD_INFO& row = kvDcmdRow(i);
        SCOPED_TRACE(row.name);
        const int status = send(c, row.opcode).status;
        const kvi::sim::TraceEntry& t = c.trace().back();
        EXPECT_EQ(t.handled, faulty.count(row.opcode) == 0);
        EXPECT_EQ(t.opcode, row.opcode);
        EXPECT_EQ(t.length, row.standardSize);
        EXPECT_EQ(status == 34, row.opcode == KV_DCMD_BBU_GET_STATUS);
        EXPECT_LE(status, 255);
        EXPECT_EQ(status == KVI_STAT_INVALID_DCMD, kRefusedByDefault.count(row.opcode) == 1);
    }
    EXPECT_EQ(c.totalRequests(), kKvDcmdCount);
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

} // namespace
