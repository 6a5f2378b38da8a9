// Patrol read: control requests, status readers, the schedule record in both
// forms (mailbox byte 0, lengths 208/120, field offsets), the exclusion list
// as id array and as bitmap, and schedule times under fixed time zones.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "tests/adapter/AdapterDataKviPeer.h"
#include "tests/adapter/ScheduleTestUtil.h"
#include "tests/support/FakeController.h"
#include "tests/support/LogCapture.h"

namespace {

using kvitest::Bytes;
using kvitest::FakeAnswer;
using P = AdapterDataKviPeer;

constexpr std::uint32_t kGet = KV_DCMD_CTRL_PR_GET_PROPERTIES;
constexpr std::uint32_t kSet = KV_DCMD_CTRL_PR_SET_PROPERTIES;

using Form = kvitest::ScheduleForm;
using kvitest::TzGuard;
using kvitest::u32;
using kvitest::wallClock;

const Form kLegacy{"legacy", false, 208, 196, 200};
const Form kExt{"extended", true, 120, 104, 108};

class PatrolTest : public ::testing::TestWithParam<Form> {
protected:
    kvitest::FakeController ctrl;
    kvitest::LogCapture log;
    AdapterDataKvi a{&ctrl, nullptr};

    void SetUp() override { scriptInfo(GetParam().ext); }

    void scriptInfo(bool ext, bool ssdPrProperty = true) {
        KV_CTRL_INFO info{};
        info.adapterOperations3.supportMaxExtLDs = ext ? 1 : 0;
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
        KV_CTRL_PROP prop{};
        prop.OnOffProperties.SSDPatrolReadEnabled = ssdPrProperty ? 1 : 0;
        ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::record(prop));
    }
    // The schedule record the firmware answers: opMode 0x11, maxPD 0x22,
    // options 0x33, nextExec 0x01020304, execFreq 0x0A0B0C0D.
    Bytes record() const {
        const Form& f = GetParam();
        Bytes b(f.length, 0);
        b[0] = 0x11;
        b[1] = 0x22;
        b[2] = 0x33;
        const std::uint32_t next = 0x01020304, freq = 0x0A0B0C0D;
        std::memcpy(b.data() + f.nextExec, &next, 4);
        std::memcpy(b.data() + f.execFreq, &freq, 4);
        return b;
    }
    void scriptRecord(const Bytes& b) { ctrl.answer(kGet, FakeAnswer::ok(b)); }
    // Every schedule request sent carries its form's mailbox and length.
    void expectFormOnEveryRequest() const {
        for (const auto& r : ctrl.requests()) {
            if (r.opcode == kGet || r.opcode == kSet) {
                EXPECT_EQ(r.mbox[0], GetParam().ext ? 1 : 0) << r.describe();
                EXPECT_EQ(r.callerLength, GetParam().length) << r.describe();
                EXPECT_EQ(r.capacity, GetParam().length) << r.describe();
                for (std::size_t i = 1; i < 12; ++i) {
                    EXPECT_EQ(r.mbox[i], 0) << r.describe();
                }
            }
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Forms, PatrolTest, ::testing::Values(kLegacy, kExt),
                         [](const auto& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------
// Property readers and writers, both forms

TEST_P(PatrolTest, ReadersTakeFieldsFromAFreshReadEachCall) {
    scriptRecord(record());
    EXPECT_EQ(a.getPrMode(), 0x11);
    EXPECT_EQ(a.getPrConcurrentPd(), 0x22u);
    EXPECT_EQ(a.getPrExecDelay(), 0x0A0B0C0Du);
    unsigned char maxPd = 0, options = 0;
    EXPECT_EQ(a.getMaxConcurrentPD(&maxPd), 0);
    EXPECT_EQ(maxPd, 0x22);
    EXPECT_EQ(a.getSSDPrStatus(&options), 0);
    EXPECT_EQ(options, 0x33);
    EXPECT_EQ(ctrl.count(kGet), 5u); // never served from a cache
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 1u);
    expectFormOnEveryRequest();
}

TEST_P(PatrolTest, ReadersAnswerZeroOrPassTheStatusWhenTheLoadFails) {
    ctrl.answer(kGet, FakeAnswer::fail(0x0C));
    EXPECT_EQ(a.getPrMode(), 0);
    EXPECT_EQ(a.getPrConcurrentPd(), 0u);
    EXPECT_EQ(a.getPrExecDelay(), 0u);
    unsigned char out = 0x77;
    EXPECT_EQ(a.getMaxConcurrentPD(&out), 0x0C);
    EXPECT_EQ(a.getSSDPrStatus(&out), 0x0C);
    ArrayList<unsigned short> list;
    EXPECT_EQ(a.getPRSchedExcludedLdList(&list), 0x0C);
    tm t{};
    EXPECT_EQ(a.getPatrolReadSchedStartTime(&t), 0x0C);
    EXPECT_EQ(out, 0x77);
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(P::prProp(a), nullptr);
    EXPECT_EQ(P::prPropExt(a), nullptr);
}

// Each own-request setter writes one field into a fresh copy and sends the
// whole record with its form's mailbox and length.
TEST_P(PatrolTest, SettersSendTheWholeRecordWithOneFieldChanged) {
    constexpr std::size_t kExecFreq = ~std::size_t{0}; // the form's execFreq offset
    struct Case {
        const char* name;
        std::function<int(AdapterDataKvi&)> call;
        std::size_t off;
        std::uint32_t value;
        std::size_t width;
    };
    const std::vector<Case> cases = {
        {"setPrMode", [](AdapterDataKvi& x) { return x.setPrMode(0x5A); }, 0, 0x5A, 1},
        {"setMaxConcurrentPD", [](AdapterDataKvi& x) { return x.setMaxConcurrentPD(7); }, 1, 7, 1},
        {"setSSDPrStatus", [](AdapterDataKvi& x) { return x.setSSDPrStatus(0x44); }, 2, 0x44, 1},
        {"setPrExecDelay 0", [](AdapterDataKvi& x) { return x.setPrExecDelay(0); }, kExecFreq, 0,
         4},
        {"setPrExecDelay", [](AdapterDataKvi& x) { return x.setPrExecDelay(86400); }, kExecFreq,
         86400, 4},
    };
    const Bytes firmware = record();
    scriptRecord(firmware);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ctrl.clear();
        ASSERT_EQ(c.call(a), 0);
        const auto* set = ctrl.last(kSet);
        ASSERT_NE(set, nullptr);
        ASSERT_EQ(set->sent.size(), GetParam().length);
        const std::size_t off = c.off == kExecFreq ? GetParam().execFreq : c.off;
        Bytes expected = firmware;
        std::memcpy(expected.data() + off, &c.value, c.width);
        EXPECT_EQ(set->sent, expected);
        EXPECT_EQ(ctrl.count(kGet), 1u);
        expectFormOnEveryRequest();
    }
}

TEST_P(PatrolTest, SettersThatLoadAnswerMinusOneWhenTheLoadFails) {
    ctrl.answer(kGet, FakeAnswer::fail(0x0C));
    EXPECT_EQ(a.setPrMode(1), -1);
    EXPECT_EQ(a.setPrExecDelay(1), -1);
    EXPECT_EQ(a.setMaxConcurrentPD(1), -1);
    tm t = wallClock(2020, 1, 1, 0, 0);
    EXPECT_EQ(a.setPrStartTime(&t), -1);
    EXPECT_EQ(a.setPrStartTime(nullptr), -1);
    ArrayList<unsigned short> list;
    EXPECT_EQ(a.setPRSchedExcludedLdList(&list), 0x0C); // passed through
    EXPECT_EQ(ctrl.count(kSet), 0u);
}

TEST_P(PatrolTest, WholeRecordWriterSendsTheHeldRecordOrAnswersOneWithNone) {
    EXPECT_EQ(a.setPrProperties(), 1);
    EXPECT_TRUE(ctrl.requests().empty());
    scriptRecord(record());
    ASSERT_EQ(a.getPrProperties(), 0);
    ctrl.answer(kSet, FakeAnswer::fail(0x2D));
    EXPECT_EQ(a.setPrProperties(), 0x2D);
    EXPECT_EQ(ctrl.last(kSet)->sent, record());
    expectFormOnEveryRequest();
}

// The enclosure-drive option is sent from the record read earlier in the same
// command, without a read of its own.
TEST_P(PatrolTest, EnclosureDriveOptionUsesTheHeldRecordOnly) {
    EXPECT_EQ(a.setEPDPrStatus(0x08), -1);
    EXPECT_TRUE(ctrl.requests().empty());
    scriptRecord(record());
    unsigned char options = 0;
    ASSERT_EQ(a.getSSDPrStatus(&options), 0);
    ctrl.clear();
    EXPECT_EQ(a.setEPDPrStatus(0x08), 0);
    ASSERT_EQ(ctrl.requests().size(), 1u);
    EXPECT_EQ(ctrl.requests()[0].opcode, kSet);
    EXPECT_EQ(ctrl.requests()[0].sent[2], 0x08);
    expectFormOnEveryRequest();
}

// The SSD option needs the controller property that enables SSD patrol read,
// read afresh into a new properties record.
TEST_P(PatrolTest, SsdOptionNeedsTheSsdPatrolReadProperty) {
    scriptRecord(record());
    scriptInfo(GetParam().ext, /*ssdPrProperty=*/false);
    EXPECT_EQ(a.setSSDPrStatus(1), -1);
    EXPECT_EQ(ctrl.count(kSet), 0u);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_GET), 1u);

    scriptInfo(GetParam().ext, /*ssdPrProperty=*/true);
    EXPECT_EQ(a.setSSDPrStatus(1), 0);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_GET), 2u); // not served from the cache
    EXPECT_EQ(ctrl.count(kSet), 1u);

    ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::fail(0x03));
    EXPECT_EQ(a.setSSDPrStatus(1), 0x03);
    EXPECT_EQ(P::prop(a), nullptr);
    EXPECT_EQ(ctrl.count(kSet), 1u);
}

// ---------------------------------------------------------------------------
// Exclusion list

TEST_P(PatrolTest, ExclusionListRoundTripsInItsForm) {
    ArrayList<unsigned short> ids;
    for (unsigned short id : {9, 255, 0}) {
        ids.add(id);
    }
    scriptRecord(record());
    ASSERT_EQ(a.setPRSchedExcludedLdList(&ids), 0);
    const Bytes sent = ctrl.last(kSet)->sent;
    EXPECT_EQ(sent[3], 3); // excludeLdCount
    if (GetParam().ext) {
        Bytes map(32, 0);
        map[0] = 0x01;  // 0
        map[1] = 0x02;  // 9
        map[31] = 0x80; // 255
        EXPECT_EQ(Bytes(sent.begin() + 8, sent.begin() + 40), map);
    } else {
        EXPECT_EQ(sent[4] | sent[5] << 8, 9);
        EXPECT_EQ(sent[6] | sent[7] << 8, 255);
        EXPECT_EQ(sent[8] | sent[9] << 8, 0);
    }

    // Read back from what was sent; the caller's list is appended to.
    scriptRecord(sent);
    ArrayList<unsigned short> back;
    back.add(1000);
    ASSERT_EQ(a.getPRSchedExcludedLdList(&back), 0);
    const std::vector<unsigned short> want = GetParam().ext
                                                 ? std::vector<unsigned short>{1000, 0, 9, 255}
                                                 : std::vector<unsigned short>{1000, 9, 255, 0};
    EXPECT_EQ(std::vector<unsigned short>(back.begin(), back.end()), want);
    expectFormOnEveryRequest();
}

// An empty list clears the exclusion in both forms.
TEST_P(PatrolTest, EmptyExclusionListClearsCountAndMap) {
    Bytes firmware = record();
    firmware[3] = 2;
    std::memset(firmware.data() + 8, 0xFF, 32);
    scriptRecord(firmware);
    ArrayList<unsigned short> none;
    ASSERT_EQ(a.setPRSchedExcludedLdList(&none), 0);
    const Bytes sent = ctrl.last(kSet)->sent;
    EXPECT_EQ(sent[3], 0);
    if (GetParam().ext) {
        EXPECT_EQ(Bytes(sent.begin() + 8, sent.begin() + 40), Bytes(32, 0));
    }
}

// The short form holds 64 ids: a longer list is refused before anything is
// sent; the map form takes it.
TEST_P(PatrolTest, ListLongerThanTheIdArray) {
    ArrayList<unsigned short> ids;
    for (unsigned short id = 0; id < 65; ++id) {
        ids.add(id);
    }
    scriptRecord(record());
    ASSERT_EQ(a.getCtlrInfo(), 0);
    ctrl.clear();
    if (GetParam().ext) {
        EXPECT_EQ(a.setPRSchedExcludedLdList(&ids), 0);
        EXPECT_EQ(ctrl.last(kSet)->sent[3], 65);
    } else {
        EXPECT_EQ(a.setPRSchedExcludedLdList(&ids), -1);
        EXPECT_TRUE(ctrl.requests().empty());
    }
}

TEST(PatrolLegacyList, ReadsAtMost64IdsWhateverTheCount) {
    kvitest::FakeController ctrl;
    AdapterDataKvi a{&ctrl, nullptr};
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(KV_CTRL_INFO{}));
    KV_PR_PROPERTIES rec{};
    rec.excludeLdCount = 200;
    for (unsigned i = 0; i < 64; ++i) {
        rec.excludedLD[i] = static_cast<std::uint16_t>(i + 1);
    }
    ctrl.answer(kGet, FakeAnswer::record(rec));
    ArrayList<unsigned short> out;
    ASSERT_EQ(a.getPRSchedExcludedLdList(&out), 0);
    ASSERT_EQ(out.getCount(), 64u);
    EXPECT_EQ(out.get(63), 64);
}

// ---------------------------------------------------------------------------
// Control and status

TEST(PatrolControl, RequestsCarryOpcodeAndMailboxOnly) {
    kvitest::FakeController ctrl;
    kvitest::LogCapture log;
    AdapterDataKvi a{&ctrl, nullptr};
    struct Case {
        std::function<int()> call;
        std::uint32_t opcode;
        std::uint8_t b0;
        const char* exit;
    };
    const std::vector<Case> cases = {
        {[&] { return a.startPr(); }, KV_DCMD_CTRL_PR_START, 0,
         "Exiting AdapterDataKvi::startPr retCode = 0"},
        {[&] { return a.stopPr(); }, KV_DCMD_CTRL_PR_STOP, 0,
         "Exiting AdapterDataKvi::stopPr retCode = 0"},
        {[&] { return a.suspendPr(); }, KV_DCMD_CTRL_PR_SUSPEND_RESUME, 0,
         "Exiting AdapterDataKvi::suspendPr retCode = 0"},
        {[&] { return a.resumePr(); }, KV_DCMD_CTRL_PR_SUSPEND_RESUME, 1,
         "Exiting AdapterDataKvi::resumePr retCode = 0"},
    };
    for (const Case& c : cases) {
        ctrl.clear();
        EXPECT_EQ(c.call(), 0);
        ASSERT_EQ(ctrl.requests().size(), 1u);
        const auto& r = ctrl.requests()[0];
        EXPECT_EQ(r.opcode, c.opcode);
        kvitest::Mbox want{};
        want[0] = c.b0;
        EXPECT_EQ(r.mbox, want);
        EXPECT_EQ(r.callerLength, 0u);
        EXPECT_FALSE(r.callerBuffer);
    }
    ctrl.answer(KV_DCMD_CTRL_PR_START, FakeAnswer::fail(0x2A));
    EXPECT_EQ(a.startPr(), 0x2A);
}

TEST(PatrolStatus, ReadersAndTheirFailureAnswers) {
    kvitest::FakeController ctrl;
    AdapterDataKvi a{&ctrl, nullptr};
    KV_PR_STATUS st{};
    st.numIteration = 0x01020304;
    st.state = 1; // ready
    st.numPdDone = 9;
    ctrl.answer(KV_DCMD_CTRL_PR_GET_STATUS, FakeAnswer::record(st));
    EXPECT_EQ(a.getPrState(), 1);
    EXPECT_EQ(a.getPrNumIteration(), 0x01020304u);
    EXPECT_EQ(a.getPrNumPdComplete(), 0); // not active
    st.state = 2;                         // active
    ctrl.answer(KV_DCMD_CTRL_PR_GET_STATUS, FakeAnswer::record(st));
    EXPECT_EQ(a.getPrNumPdComplete(), 9);
    EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_PR_GET_STATUS)->capacity, 16u);

    ctrl.answer(KV_DCMD_CTRL_PR_GET_STATUS, FakeAnswer::fail(0x0C));
    EXPECT_EQ(a.getPrState(), 3); // reported as paused
    EXPECT_EQ(a.getPrNumIteration(), 0u);
    EXPECT_EQ(a.getPrNumPdComplete(), 0);
}

// ---------------------------------------------------------------------------
// Schedule times

struct Zone {
    const char* name;
    const char* tz;
    std::int64_t epoch; // local 2000-01-01 00:00 standard time, as a clock value
    int shift;          // summer-time shift; -1: none (the C library's answer is not pinned)
};
const Zone kZones[] = {
    {"utc", "UTC0", 946684800, -1},
    {"newyork", "EST5EDT,M3.2.0,M11.1.0", 946684800 + 5 * 3600, 3600},
    {"sydney", "AEST-10AEDT,M10.1.0,M4.1.0/3", 946684800 - 10 * 3600, 3600},
};

TEST(PatrolTime, EpochAndShiftPerZone) {
    kvitest::FakeController ctrl;
    AdapterDataKvi a{&ctrl, nullptr};
    for (const Zone& z : kZones) {
        SCOPED_TRACE(z.name);
        TzGuard tz(z.tz);
        EXPECT_EQ(a.y2kTime(), z.epoch);
        if (z.shift >= 0) {
            EXPECT_EQ(a.getdstInSec(), z.shift);
        }
    }
    EXPECT_TRUE(ctrl.requests().empty());
}

// Set a start time, read it back: the same wall-clock time, in winter and in
// summer of each zone (away from the changeover hours). The stored value is
// the offset of that time read as standard time.
TEST_P(PatrolTest, StartTimeRoundTripsAsWallClockTime) {
    const tm dates[] = {wallClock(2024, 1, 15, 10, 30), wallClock(2024, 7, 15, 10, 30),
                        wallClock(2031, 11, 20, 23, 5)};
    for (const Zone& z : kZones) {
        TzGuard tz(z.tz);
        for (const tm& d : dates) {
            SCOPED_TRACE(std::string(z.name) + " month " + std::to_string(d.tm_mon + 1));
            scriptRecord(record());
            ASSERT_EQ(a.setPrStartTime(&d), 0);
            const Bytes sent = ctrl.last(kSet)->sent;
            tm standard = d;
            standard.tm_isdst = 0;
            EXPECT_EQ(u32(sent, GetParam().nextExec),
                      static_cast<std::uint32_t>(mktime(&standard) - z.epoch));
            scriptRecord(sent);
            tm back{};
            ASSERT_EQ(a.getPatrolReadSchedStartTime(&back), 0);
            EXPECT_EQ(back.tm_year, d.tm_year);
            EXPECT_EQ(back.tm_mon, d.tm_mon);
            EXPECT_EQ(back.tm_mday, d.tm_mday);
            EXPECT_EQ(back.tm_hour, d.tm_hour);
            EXPECT_EQ(back.tm_min, d.tm_min);
        }
    }
    expectFormOnEveryRequest();
}

TEST_P(PatrolTest, StartTimeAtAndBeforeTheEpoch) {
    for (const Zone& z : kZones) {
        SCOPED_TRACE(z.name);
        TzGuard tz(z.tz);
        scriptRecord(record());
        ctrl.clear();
        const tm epoch = wallClock(2000, 1, 1, 0, 0);
        ASSERT_EQ(a.setPrStartTime(&epoch), 0);
        EXPECT_EQ(u32(ctrl.last(kSet)->sent, GetParam().nextExec), 0u);

        ctrl.clear();
        const tm before = wallClock(1999, 12, 31, 23, 0);
        EXPECT_EQ(a.setPrStartTime(&before), -2);
        EXPECT_EQ(ctrl.count(kSet), 0u);
        // Past the 32-bit offset from the epoch.
        const tm far = wallClock(2140, 1, 1, 0, 0);
        EXPECT_EQ(a.setPrStartTime(&far), -2);
        EXPECT_EQ(ctrl.count(kSet), 0u);
    }
}

} // namespace
