// Consistency-check schedule: both record forms (mailbox byte 0, lengths
// 168/120, field offsets), what is kept between calls, the one-call setter
// with its keep-as-is markers, the delay and start-time rules that differ from
// patrol read, the support test and the status readers.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
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

constexpr std::uint32_t kGet = KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES;
constexpr std::uint32_t kSet = KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES;
constexpr std::uint32_t kStatus = KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS;

using Form = kvitest::ScheduleForm;
using kvitest::TzGuard;
using kvitest::u32;
using kvitest::wallClock;

const Form kLegacy{"legacy", false, 168, 152, 156};
const Form kExt{"extended", true, 120, 104, 108};

class CcTest : public ::testing::TestWithParam<Form> {
protected:
    kvitest::FakeController ctrl;
    kvitest::LogCapture log;
    AdapterDataKvi a{&ctrl, nullptr};

    void SetUp() override {
        KV_CTRL_INFO info{};
        info.adapterOperations3.supportMaxExtLDs = GetParam().ext ? 1 : 0;
        info.maxLDs = 64;
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
        ctrl.answer(kGet, FakeAnswer::ok(record()));
    }
    // opMode 1, maxLds 0x22, excluded ids 3 and 70, nextExec 0x01020304,
    // execFreq 0x0A0B0C0D.
    Bytes record() const {
        const Form& f = GetParam();
        Bytes b(f.length, 0);
        b[0] = 1;
        b[1] = 0x22;
        b[3] = 2;
        if (f.ext) {
            b[8 + 0] = 0x08; // 3
            b[8 + 8] = 0x40; // 70
        } else {
            b[4] = 70; // array order: 70, 3
            b[6] = 3;
        }
        const std::uint32_t next = 0x01020304, freq = 0x0A0B0C0D;
        std::memcpy(b.data() + f.nextExec, &next, 4);
        std::memcpy(b.data() + f.execFreq, &freq, 4);
        return b;
    }
    const Bytes& sent() const { return ctrl.last(kSet)->sent; }
    void expectFormOnEveryRequest() const {
        for (const auto& r : ctrl.requests()) {
            if (r.opcode == kGet || r.opcode == kSet) {
                kvitest::Mbox want{};
                want[0] = GetParam().ext ? 1 : 0;
                EXPECT_EQ(r.mbox, want) << r.describe();
                EXPECT_EQ(r.callerLength, GetParam().length) << r.describe();
                EXPECT_EQ(r.capacity, GetParam().length) << r.describe();
            }
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Forms, CcTest, ::testing::Values(kLegacy, kExt),
                         [](const auto& info) { return std::string(info.param.name); });

// The short form is kept once read; the extended form is read on every call.
TEST_P(CcTest, ReadersAndWhatIsKeptBetweenCalls) {
    unsigned char mode = 0;
    unsigned int delay = 0;
    ASSERT_EQ(a.getCcSchedMode(&mode), 0);
    ASSERT_EQ(a.getCcSchedExecDelay(&delay), 0);
    EXPECT_EQ(mode, 1);
    EXPECT_EQ(delay, 0x0A0B0C0Du);
    ArrayList<unsigned short> list;
    list.add(500);
    ASSERT_EQ(a.getCcSchedExcludedLdList(&list), 0);
    const std::vector<unsigned short> want = GetParam().ext
                                                 ? std::vector<unsigned short>{500, 3, 70}
                                                 : std::vector<unsigned short>{500, 70, 3};
    EXPECT_EQ(std::vector<unsigned short>(list.begin(), list.end()), want);
    EXPECT_EQ(ctrl.count(kGet), GetParam().ext ? 3u : 1u);
    expectFormOnEveryRequest();
}

TEST_P(CcTest, LoadFailuresArePassedThroughAndLeaveOutputsAlone) {
    ctrl.answer(kGet, FakeAnswer::fail(0x0C));
    unsigned char mode = 0x77;
    unsigned int delay = 0x77;
    tm start{};
    start.tm_mday = 5;
    EXPECT_EQ(a.getCcSchedMode(&mode), 0x0C);
    EXPECT_EQ(a.getCcSchedExecDelay(&delay), 0x0C);
    EXPECT_EQ(a.getCcSchedStartTime(&start), 0x0C);
    EXPECT_EQ(a.setCcScExecDelay(5), 0x0C);
    EXPECT_EQ(a.setCcScStartTime(&start), 0x0C); // patrol read answers -1 here
    EXPECT_EQ(a.setCcSchedMode(1, nullptr, nullptr, 5), 0x0C);
    ArrayList<unsigned short> none;
    EXPECT_EQ(a.setCcSchedExcludedLdList(&none), 0x0C);
    EXPECT_EQ(a.setCcSchedExcludedLdList(nullptr), -1);
    EXPECT_EQ(mode, 0x77);
    EXPECT_EQ(delay, 0x77u);
    EXPECT_EQ(start.tm_mday, 5);
    EXPECT_EQ(ctrl.count(kSet), 0u);
    EXPECT_EQ(a.setCcScProperties(), 1); // nothing held
}

// Delay: 0 is stored as all ones ("no delay") by both setters; all ones in
// setCcSchedMode keeps the delay, in setCcScExecDelay it is stored.
TEST_P(CcTest, DelayRules) {
    const std::size_t off = GetParam().execFreq;
    struct Case {
        bool oneCall; // setCcSchedMode, else setCcScExecDelay
        std::uint32_t given, stored;
    };
    const Case cases[] = {
        {false, 0, 0xFFFFFFFFu}, {false, 3600, 3600}, {false, 0xFFFFFFFFu, 0xFFFFFFFFu},
        {true, 0, 0xFFFFFFFFu},  {true, 7200, 7200},  {true, 0xFFFFFFFFu, 0x0A0B0C0Du},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.given) +
                     (c.oneCall ? " setCcSchedMode" : " setCcScExecDelay"));
        delete P::ccScProp(a); // start from the firmware's record each time
        P::ccScProp(a) = nullptr;
        const int rc = c.oneCall ? a.setCcSchedMode(1, nullptr, nullptr, c.given)
                                 : a.setCcScExecDelay(c.given);
        ASSERT_EQ(rc, 0);
        EXPECT_EQ(u32(sent(), off), c.stored);
    }
    expectFormOnEveryRequest();
}

// One call changes any subset: mode (concurrent also sets maxLds from the
// controller's maxLDs), exclusions, start time, delay; the rest of the record
// goes back as the firmware gave it. The exclusion setter changes the
// exclusions alone, so a concurrent schedule keeps its concurrency.
TEST_P(CcTest, OneCallSetterChangesTheGivenParts) {
    TzGuard tz("UTC0");
    const Form& f = GetParam();
    ArrayList<unsigned short> ids;
    ids.add(0);
    ids.add(9);
    ids.add(255);
    auto excluding = [&](Bytes b) {
        b[3] = 3;
        if (f.ext) {
            std::memset(b.data() + 8, 0, 32);
            b[8 + 0] = 0x01;
            b[8 + 1] = 0x02;
            b[8 + 31] = 0x80;
        } else {
            const std::uint16_t arr[3] = {0, 9, 255};
            std::memcpy(b.data() + 4, arr, sizeof arr);
        }
        return b;
    };
    Bytes concurrent = record();
    concurrent[0] = 2;
    ctrl.answer(kGet, FakeAnswer::ok(concurrent));
    ASSERT_EQ(a.setCcSchedExcludedLdList(&ids), 0);
    EXPECT_EQ(sent(), excluding(concurrent));
    delete P::ccScProp(a);
    P::ccScProp(a) = nullptr;
    ctrl.answer(kGet, FakeAnswer::ok(record()));

    const tm start = wallClock(2000, 1, 2, 0, 0);
    ASSERT_EQ(a.setCcSchedMode(2, &ids, &start, 60), 0);
    Bytes want = excluding(record());
    want[0] = 2;
    want[1] = 64; // maxLDs
    const std::uint32_t next = 86400, freq = 60;
    std::memcpy(want.data() + f.nextExec, &next, 4);
    std::memcpy(want.data() + f.execFreq, &freq, 4);
    EXPECT_EQ(sent(), want);

    // Mode 1 leaves maxLds; a start date with day and year 0 and delay all
    // ones leave start and delay; no list leaves the exclusions.
    delete P::ccScProp(a);
    P::ccScProp(a) = nullptr;
    tm keep{};
    keep.tm_hour = 5;
    ASSERT_EQ(a.setCcSchedMode(1, nullptr, &keep, 0xFFFFFFFFu), 0);
    EXPECT_EQ(sent(), record());
    expectFormOnEveryRequest();
}

TEST_P(CcTest, StartTimeBeforeTheEpoch) {
    TzGuard tz("EST5EDT,M3.2.0,M11.1.0");
    const tm before = wallClock(1999, 12, 31, 23, 0);
    EXPECT_EQ(a.setCcScStartTime(&before), -2);
    EXPECT_EQ(ctrl.count(kSet), 0u);
    EXPECT_EQ(a.setCcScStartTime(nullptr), -1);
    // The one-call setter has no range check: the offset wraps.
    ASSERT_EQ(a.setCcSchedMode(1, nullptr, &before, 0xFFFFFFFFu), 0);
    EXPECT_EQ(u32(sent(), GetParam().nextExec), 0xFFFFFFFFu - 3600u + 1u);
}

TEST_P(CcTest, StartTimeRoundTripsAsWallClockTime) {
    const char* zones[] = {"UTC0", "EST5EDT,M3.2.0,M11.1.0", "AEST-10AEDT,M10.1.0,M4.1.0/3"};
    const tm dates[] = {wallClock(2025, 2, 10, 8, 0), wallClock(2025, 8, 10, 8, 0)};
    for (const char* zone : zones) {
        TzGuard tz(zone);
        for (const tm& d : dates) {
            SCOPED_TRACE(std::string(zone) + " month " + std::to_string(d.tm_mon + 1));
            delete P::ccScProp(a);
            P::ccScProp(a) = nullptr;
            ctrl.answer(kGet, FakeAnswer::ok(record()));
            ASSERT_EQ(a.setCcScStartTime(&d), 0);
            ctrl.answer(kGet, FakeAnswer::ok(sent()));
            delete P::ccScProp(a);
            P::ccScProp(a) = nullptr;
            tm back{};
            ASSERT_EQ(a.getCcSchedStartTime(&back), 0);
            EXPECT_EQ(back.tm_year, d.tm_year);
            EXPECT_EQ(back.tm_mon, d.tm_mon);
            EXPECT_EQ(back.tm_mday, d.tm_mday);
            EXPECT_EQ(back.tm_hour, d.tm_hour);
            EXPECT_EQ(back.tm_min, d.tm_min);
        }
    }
    expectFormOnEveryRequest();
}

// A list the short form cannot hold is refused before anything is sent.
TEST_P(CcTest, ListLongerThanTheIdArray) {
    ArrayList<unsigned short> ids;
    for (unsigned short id = 0; id < 65; ++id) {
        ids.add(id);
    }
    ASSERT_EQ(a.getCtlrInfo(), 0);
    ctrl.clear();
    for (const int rc :
         {a.setCcSchedMode(1, &ids, nullptr, 0xFFFFFFFFu), a.setCcSchedExcludedLdList(&ids)}) {
        if (GetParam().ext) {
            EXPECT_EQ(rc, 0);
            EXPECT_EQ(sent()[3], 65);
        } else {
            EXPECT_EQ(rc, -1);
            EXPECT_TRUE(ctrl.requests().empty());
        }
    }
}

// Only "invalid command" means no scheduler; the held records are dropped and
// read again.
TEST_P(CcTest, SupportTest) {
    unsigned char mode = 0;
    ASSERT_EQ(a.getCcSchedMode(&mode), 0);
    const struct {
        int status;
        int supported;
    } cases[] = {{0, 1}, {2, 0}, {3, 1}, {0x0C, 1}};
    for (const auto& c : cases) {
        ctrl.answer(kGet, c.status == 0 ? FakeAnswer::ok(record()) : FakeAnswer::fail(c.status));
        const std::size_t before = ctrl.count(kGet);
        EXPECT_EQ(a.ccSchedSupported(), c.supported) << c.status;
        EXPECT_EQ(ctrl.count(kGet), before + 1);
    }
    EXPECT_EQ(P::ccScProp(a), nullptr);
    EXPECT_EQ(P::ccScPropExt(a), nullptr);
}

TEST(CcStatus, ReadersWriteOnlyOnSuccess) {
    kvitest::FakeController ctrl;
    AdapterDataKvi a{&ctrl, nullptr};
    KV_CC_SCHEDULE_STATUS st{};
    st.numIteration = 0x0A0B0C0D;
    st.state = 4;
    st.numLdDone = 17;
    ctrl.answer(kStatus, FakeAnswer::record(st));
    unsigned char state = 0, done = 0;
    unsigned int iter = 0;
    EXPECT_EQ(a.getCcSchedState(&state), 0);
    EXPECT_EQ(a.getCcSchedNumIteration(&iter), 0);
    EXPECT_EQ(a.getCcSchedNumLdDone(&done), 0);
    EXPECT_EQ(state, 4);
    EXPECT_EQ(iter, 0x0A0B0C0Du);
    EXPECT_EQ(done, 17);
    const auto* r = ctrl.last(kStatus);
    EXPECT_EQ(r->mbox, kvitest::Mbox{});
    EXPECT_EQ(r->callerLength, 0u);

    ctrl.answer(kStatus, FakeAnswer::fail(0x0C));
    state = done = 0x77;
    iter = 0x77;
    EXPECT_EQ(a.getCcSchedState(&state), 0x0C);
    EXPECT_EQ(a.getCcSchedNumIteration(&iter), 0x0C);
    EXPECT_EQ(a.getCcSchedNumLdDone(&done), 0x0C);
    EXPECT_EQ(state, 0x77);
    EXPECT_EQ(iter, 0x77u);
    EXPECT_EQ(done, 0x77);
}

} // namespace
