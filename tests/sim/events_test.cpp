// The simulated event log through its requests: sequence numbers, filters,
// clearing, generated logs read in chunks, a full log dropping its oldest
// events, and stamps relative to the controller's boot.
#include <gtest/gtest.h>

#include <tuple>

#include "SimTestUtil.h"
#include "sim/EventLog.h"
#include "tests/support/TzGuard.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::SimController;
using kvi::sim::Simulator;

namespace {

class SimEvents : public ::testing::Test {
protected:
    void SetUp() override { sim.load("default"); }
    SimController& c() { return sim.controller(0); }
    std::uint32_t newest() {
        return as<KV_EVT_LOG_INFO>(send(c(), KV_DCMD_CTRL_EVENT_GET_INFO)).newestSeqNum;
    }
    std::string lastEvent() {
        Reply r = send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(newest(), 0xFE00FFFF), 8 + 256);
        return std::string(reinterpret_cast<const char*>(r.data.data() + 8 + 128));
    }
    kvitest::TzGuard tz{"UTC0"};
    Simulator sim{Clock(kNow)};
};

TEST_F(SimEvents, GrowClearAndFilter) {
    KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c(), KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.oldestSeqNum, 1u);
    EXPECT_EQ(info.newestSeqNum, 5u);
    EXPECT_EQ(info.bootSeqNum, 1u); // the profile's last "Controller booted" event
    // Read everything: head {count, reserved}, then 256-byte records.
    Reply r = send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(0, 0xFE00FFFF), 8 + 10 * 256);
    ASSERT_EQ(r.status, 0);
    std::uint32_t n;
    std::memcpy(&n, r.data.data(), 4);
    ASSERT_EQ(n, 5u);
    const std::uint8_t* rec = r.data.data() + 8 + 3 * 256;
    std::uint32_t seq, code;
    std::memcpy(&seq, rec, 4);
    std::memcpy(&code, rec + 8, 4);
    EXPECT_EQ(seq, 4u);
    EXPECT_EQ(code, 263u);
    EXPECT_EQ(rec[12], 2);              // locale
    EXPECT_EQ(std::int8_t(rec[15]), 1); // class: warning
    EXPECT_STREQ(reinterpret_cast<const char*>(rec + 128),
                 "Drive 5 reported a corrected medium error");
    std::uint32_t stamp;
    std::memcpy(&stamp, rec + 4, 4);
    EXPECT_EQ(stamp, std::uint32_t(kNow - 946684800 - 40000));

    // Class filter (bits 24-31, signed) and locale mask (bits 0-15).
    auto countOf = [&](std::uint32_t filter) {
        return as<std::uint32_t>(send(c(), KV_DCMD_CTRL_EVENT_COUNT, mboxWords(0, filter)));
    };
    EXPECT_EQ(countOf(0x0100FFFF), 1u); // warnings and worse
    EXPECT_EQ(countOf(0x00000002), 2u); // drive locale, info and worse
    EXPECT_EQ(countOf(0x0000000A), 3u); // drive or battery
    EXPECT_EQ(countOf(0x0000FFFF), 5u);
    EXPECT_EQ(as<std::uint32_t>(send(c(), KV_DCMD_CTRL_EVENT_COUNT, mboxWords(4, 0xFFFF))), 2u);

    // Actions append; clear moves clearSeqNum to the "cleared" event.
    send(c(), KV_DCMD_CTRL_CACHE_FLUSH, mboxWords(3));
    EXPECT_EQ(newest(), 6u);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_EVENT_CLEAR).status, 0);
    info = as<KV_EVT_LOG_INFO>(send(c(), KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.clearSeqNum, 7u);
    EXPECT_EQ(info.oldestSeqNum, 7u);
    EXPECT_EQ(info.newestSeqNum, 7u);
    EXPECT_EQ(lastEvent(), "Event log cleared");
    r = send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(1, 0xFE00FFFF), 8 + 10 * 256);
    std::memcpy(&n, r.data.data(), 4);
    EXPECT_EQ(n, 1u);
}

TEST(SimEventLog, LargeLogsAreReadInChunksAndStoredCompact) {
    Clock clock(kNow);
    auto st = kvi::sim::buildFromProfileText(
        R"({"base": "default", "eventLog": {"generate": 1000000}})", "big.json", "", clock);
    SimController c(std::move(st), &clock);
    KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c, KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.oldestSeqNum, 1u);
    EXPECT_EQ(info.newestSeqNum, 1000000u);
    // The last chunk: the newest events, ascending, stamped 30 s apart.
    Reply r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(999998, 0xFE00FFFF), 8 + 4 * 256);
    std::uint32_t n, s0, s2, t0, t2;
    std::memcpy(&n, r.data.data(), 4);
    ASSERT_EQ(n, 3u);
    std::memcpy(&s0, r.data.data() + 8, 4);
    std::memcpy(&t0, r.data.data() + 8 + 4, 4);
    std::memcpy(&s2, r.data.data() + 8 + 512, 4);
    std::memcpy(&t2, r.data.data() + 8 + 512 + 4, 4);
    EXPECT_EQ(s0, 999998u);
    EXPECT_EQ(s2, 1000000u);
    EXPECT_EQ(t2 - t0, 60u);
    EXPECT_NE(r.data[8 + 128], 0) << "generated events carry a description";
    // The same sequence number always reads the same event.
    Reply again = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(999998, 0xFE00FFFF), 8 + 256);
    EXPECT_EQ(0, std::memcmp(again.data.data() + 8, r.data.data() + 8, 256));
    // Only critical events: a sparse filter still fills its chunk.
    r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(1, 0x0200FFFF), 8 + 16 * 256);
    std::memcpy(&n, r.data.data(), 4);
    EXPECT_EQ(n, 16u);
    for (std::uint32_t i = 0; i < n; ++i)
        EXPECT_GE(std::int8_t(r.data[8 + i * 256 + 15]), 2);

    // Stored events: once the store has turned over, the texts of dropped
    // events leave the arena (it holds about what a new store of the events
    // left would); every event left reads back whole.
    kvi::sim::EventStore store;
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
    for (std::uint32_t i = 0; i < 5000; ++i)
        store.push(event(i));
    for (int i = 0; i < 3000; ++i)
        store.popFront();
    ASSERT_EQ(store.size(), 2000u);
    kvi::sim::EventStore fresh;
    for (std::uint32_t i = 3000; i < 5000; ++i)
        fresh.push(event(i));
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

TEST(SimEventLog, FullLogDropsTheOldestAndKeepsNumbering) {
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(R"({"base": "entry"})", "p.json", "", clock),
                    &clock);
    const std::uint32_t first = c.state().events.newestSeqNum() + 1;
    const std::size_t n = kvi::sim::EventLog::kMaxStored + 2;
    for (std::size_t i = 0; i < n; ++i)
        ASSERT_EQ(send(c, KV_DCMD_CTRL_CACHE_FLUSH, mboxWords(3)).status, 0);
    KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c, KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.newestSeqNum, first + n - 1);
    EXPECT_EQ(info.oldestSeqNum, info.newestSeqNum - kvi::sim::EventLog::kMaxStored + 1);
    // A list from sequence number 1 starts at the oldest event still held.
    Reply r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(1, 0xFE00FFFF), 8 + 256);
    std::uint32_t count, seq;
    std::memcpy(&count, r.data.data(), 4);
    std::memcpy(&seq, r.data.data() + 8, 4);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(seq, info.oldestSeqNum);
    EXPECT_EQ(as<std::uint32_t>(send(c, KV_DCMD_CTRL_EVENT_COUNT, mboxWords(0, 0xFFFF))),
              kvi::sim::EventLog::kMaxStored);
}

TEST(SimEventLog, ProfileEventsKeepBootStampsAndArguments) {
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(
                        R"({"base": "entry", "events": [
                            {"code": 7, "bootSeconds": 30, "description": "early"},
                            {"code": 8, "age": 60, "args": "hex:)" +
                            std::string(96 * 2, 'a') + R"(", "description": "late"}]})",
                        "p.json", "", clock),
                    &clock);
    const std::uint32_t seq = c.state().events.newestSeqNum();
    Reply r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(seq - 1, 0xFE00FFFF), 8 + 2 * 256);
    std::uint32_t stamp, later;
    std::memcpy(&stamp, r.data.data() + 8 + 4, 4);
    std::memcpy(&later, r.data.data() + 8 + 256 + 4, 4);
    EXPECT_EQ(stamp, 0xFF00001Eu) << "seconds after boot, flagged in the top byte";
    EXPECT_EQ(later, std::uint32_t(kNow - 946684800 - 60));
    EXPECT_EQ(r.data[8 + 256 + 32 + 95], 0xAA);
    EXPECT_STREQ(reinterpret_cast<const char*>(r.data.data() + 8 + 256 + 128), "late");
}

} // namespace
