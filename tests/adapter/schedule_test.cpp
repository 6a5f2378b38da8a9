// Patrol read and consistency-check schedules in their two record forms, chosen by the
// controller's extended-LD support: short (mailbox byte 0; 208 bytes for patrol read, 168 for
// consistency check; excluded drives as an id array) and extended (mailbox byte 1, 120 bytes,
// excluded drives as a 256-bit map).
#include <ctime>
#include <tuple>

#include "tests/adapter/AdapterFixture.h"
#include "tests/support/TzGuard.h"

namespace {

using namespace kvitest;

using Ids = std::vector<unsigned short>;

tm wallClock(int year, int mon, int mday, int hour, int min) {
    tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = mon - 1;
    t.tm_mday = mday;
    t.tm_hour = hour;
    t.tm_min = min;
    t.tm_isdst = -1;
    return t;
}

std::uint32_t u32(const Bytes& b, std::size_t off) {
    std::uint32_t v = 0;
    std::memcpy(&v, b.data() + off, 4);
    return v;
}

void put32(Bytes& b, std::size_t off, std::uint32_t v) {
    std::memcpy(b.data() + off, &v, 4);
}

ArrayList<unsigned short> listOf(const Ids& ids) {
    ArrayList<unsigned short> l;
    for (unsigned short id : ids) {
        l.add(id);
    }
    return l;
}

struct Form {
    const char* name;
    bool cc;  // consistency check, else patrol read
    bool ext; // the extended form
    std::uint32_t length;
    std::size_t nextExec, execFreq;
    std::uint32_t getOp, setOp;
};

// clang-format off
const Form kPrShort{"PatrolReadShort", false, false, 208, 196, 200, KV_DCMD_CTRL_PR_GET_PROPERTIES, KV_DCMD_CTRL_PR_SET_PROPERTIES};
const Form kPrExt{"PatrolReadExtended", false, true, 120, 104, 108, KV_DCMD_CTRL_PR_GET_PROPERTIES, KV_DCMD_CTRL_PR_SET_PROPERTIES};
const Form kCcShort{"ConsistencyCheckShort", true, false, 168, 152, 156, KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES};
const Form kCcExt{"ConsistencyCheckExtended", true, true, 120, 104, 108, KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES};
// clang-format on

// Local midnight of 1 January 2000 in standard time as a clock value, and the summer-time
// shift (-1: none, the C library's answer is not pinned).
struct Zone {
    const char* tz;
    std::int64_t epoch;
    int shift;
};
const Zone kZones[] = {
    {"UTC0", 946684800, -1},
    {"EST5EDT,M3.2.0,M11.1.0", 946684800 + 5 * 3600, 3600},
    {"AEST-10AEDT,M10.1.0,M4.1.0/3", 946684800 - 10 * 3600, 3600},
};

class ScheduleTest : public ::testing::TestWithParam<Form> {
protected:
    FakeController ctrl;
    std::unique_ptr<AdapterDataKvi> obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
    AdapterDataKvi& a() { return *obj; }
    const Form& f() const { return GetParam(); }
    // The short consistency-check form is kept once read; every other form is read each call.
    bool kept() const { return f().cc && !f().ext; }

    void SetUp() override {
        info();
        serve(record());
    }
    void info(bool ssdPatrolRead = true) {
        KV_CTRL_INFO info{};
        info.adapterOperations3.supportMaxExtLDs = f().ext ? 1 : 0;
        info.maxLDs = 64;
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
        KV_CTRL_PROP prop{};
        prop.OnOffProperties.SSDPatrolReadEnabled = ssdPatrolRead ? 1 : 0;
        ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::record(prop));
    }
    // The firmware's record: mode 1, concurrency 0x22, options 0x33, drives 70 and 3
    // excluded, nextExec 0x01020304, execFreq 0x0A0B0C0D.
    Bytes record() const {
        Bytes b(f().length, 0);
        b[0] = 1;
        b[1] = 0x22;
        b[2] = 0x33;
        b[3] = 2;
        if (f().ext) {
            b[8 + 0] = 0x08; // 3
            b[8 + 8] = 0x40; // 70
        } else {
            b[4] = 70; // array order: 70, 3
            b[6] = 3;
        }
        put32(b, f().nextExec, 0x01020304);
        put32(b, f().execFreq, 0x0A0B0C0D);
        return b;
    }
    void serve(const Bytes& b) { ctrl.answer(f().getOp, FakeAnswer::ok(b)); }
    // Drops the kept record, so that the next call reads what the firmware answers now.
    void forget() {
        delete P::ccScProp(a());
        P::ccScProp(a()) = nullptr;
    }
    const Bytes& sent() const { return ctrl.last(f().setOp)->sent; }
    const void* held(bool ext) {
        if (f().cc) {
            return ext ? static_cast<const void*>(P::ccScPropExt(a())) : P::ccScProp(a());
        }
        return ext ? static_cast<const void*>(P::prPropExt(a())) : P::prProp(a());
    }

    int get() { return f().cc ? a().getCcScProperties() : a().getPrProperties(); }
    int set() { return f().cc ? a().setCcScProperties() : a().setPrProperties(); }
    int setExcluded(const Ids& ids) {
        auto l = listOf(ids);
        return f().cc ? a().setCcSchedExcludedLdList(&l) : a().setPRSchedExcludedLdList(&l);
    }
    int getExcluded(ArrayList<unsigned short>* l) {
        return f().cc ? a().getCcSchedExcludedLdList(l) : a().getPRSchedExcludedLdList(l);
    }
    int setStart(const tm* t) { return f().cc ? a().setCcScStartTime(t) : a().setPrStartTime(t); }
    int getStart(tm* t) {
        return f().cc ? a().getCcSchedStartTime(t) : a().getPatrolReadSchedStartTime(t);
    }
};

class PatrolTest : public ScheduleTest {};
class CcTest : public ScheduleTest {};

auto formName = [](const ::testing::TestParamInfo<Form>& info) {
    return std::string(info.param.name);
};
INSTANTIATE_TEST_SUITE_P(Forms, ScheduleTest, ::testing::Values(kPrShort, kPrExt, kCcShort, kCcExt),
                         formName);
INSTANTIATE_TEST_SUITE_P(Forms, PatrolTest, ::testing::Values(kPrShort, kPrExt), formName);
INSTANTIATE_TEST_SUITE_P(Forms, CcTest, ::testing::Values(kCcShort, kCcExt), formName);

// ---------------------------------------------------------------------------
// Every form

TEST_P(ScheduleTest, ReadAfterTheInformationKeptOrReadAgainAndWrittenBackWhole) {
    obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
    EXPECT_EQ(set(), 1); // nothing held: nothing sent
    EXPECT_TRUE(ctrl.requests().empty());
    ASSERT_EQ(get(), 0);
    EXPECT_EQ(ctrl.opcodes(), (std::vector<std::uint32_t>{KV_DCMD_CTRL_GET_INFO, f().getOp}));
    EXPECT_EQ(held(!f().ext), nullptr);

    Bytes second = record();
    second[1] = 0x44;
    serve(second);
    ASSERT_EQ(get(), 0);
    EXPECT_EQ(ctrl.count(f().getOp), kept() ? 1u : 2u);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 1u);
    const Bytes now = kept() ? record() : second;
    ASSERT_NE(held(f().ext), nullptr);
    const auto* bytes = static_cast<const std::uint8_t*>(held(f().ext));
    EXPECT_EQ(Bytes(bytes, bytes + f().length), now);

    // No change flag: every call sends the held record, and its status is the answer.
    ctrl.answer(f().setOp, FakeAnswer::fail(0x2D));
    EXPECT_EQ(set(), 0x2D);
    EXPECT_EQ(set(), 0x2D);
    EXPECT_EQ(ctrl.count(f().setOp), 2u);
    EXPECT_EQ(sent(), now);

    // A failed read drops what was held; the kept form is not read again.
    ctrl.answer(f().getOp, FakeAnswer::fail(5));
    EXPECT_EQ(get(), kept() ? 0 : 5);
    EXPECT_EQ(held(f().ext) == nullptr, !kept());

    // The controller information failing stops before the read.
    obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
    ctrl.clear();
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(0x22));
    EXPECT_EQ(get(), 0x22);
    EXPECT_EQ(ctrl.count(f().getOp), 0u);
}

TEST_P(ScheduleTest, ExclusionListInItsForm) {
    ASSERT_EQ(setExcluded({9, 255, 0}), 0);
    const Bytes out = sent();
    Bytes want = record();
    want[3] = 3; // the count
    if (f().ext) {
        std::memset(want.data() + 8, 0, 32);
        want[8 + 0] = 0x01;  // 0
        want[8 + 1] = 0x02;  // 9
        want[8 + 31] = 0x80; // 255
    } else {
        const std::uint16_t ids[3] = {9, 255, 0};
        std::memcpy(want.data() + 4, ids, sizeof ids);
    }
    EXPECT_EQ(out, want);

    // Read back from what was sent: the map reads in id order; appended to the caller's list.
    forget();
    serve(out);
    ArrayList<unsigned short> back = listOf({1000});
    ASSERT_EQ(getExcluded(&back), 0);
    EXPECT_EQ(Ids(back.begin(), back.end()),
              f().ext ? Ids({1000, 0, 9, 255}) : Ids({1000, 9, 255, 0}));

    // An empty list clears count and map.
    forget();
    Bytes full = record();
    std::memset(full.data() + 8, 0xFF, 32);
    serve(full);
    ASSERT_EQ(setExcluded({}), 0);
    EXPECT_EQ(sent()[3], 0);
    if (f().ext) {
        EXPECT_EQ(Bytes(sent().begin() + 8, sent().begin() + 40), Bytes(32, 0));
    }

    // The short form holds 64 ids: a longer list is refused before anything is sent, and no
    // more are read whatever the count says.
    Ids many;
    for (unsigned short id = 0; id < 65; ++id) {
        many.push_back(id);
    }
    ctrl.clear();
    if (f().ext) {
        EXPECT_EQ(setExcluded(many), 0);
        EXPECT_EQ(sent()[3], 65);
    } else {
        EXPECT_EQ(setExcluded(many), -1);
        EXPECT_TRUE(ctrl.requests().empty());
        Bytes counted = record();
        counted[3] = 200;
        for (unsigned i = 0; i < 64; ++i) {
            counted[4 + 2 * i] = static_cast<std::uint8_t>(i + 1);
        }
        forget();
        serve(counted);
        ArrayList<unsigned short> back;
        ASSERT_EQ(getExcluded(&back), 0);
        ASSERT_EQ(back.getCount(), 64u);
        EXPECT_EQ(back.get(63), 64);
    }
}

// A start time set and read back keeps its wall-clock value, in winter and in summer of each
// zone; what is stored is the offset from the epoch of that time read as standard time. The
// epoch itself is 0; before it and past the 32-bit offset is refused unsent.
TEST_P(ScheduleTest, StartTimeIsWallClockTimeWithinTheEpochRange) {
    const tm dates[] = {wallClock(2024, 1, 15, 10, 30), wallClock(2024, 7, 15, 10, 30),
                        wallClock(2031, 11, 20, 23, 5), wallClock(2000, 1, 1, 0, 0)};
    for (const Zone& z : kZones) {
        TzGuard tz(z.tz);
        EXPECT_EQ(a().y2kTime(), z.epoch);
        if (z.shift >= 0) {
            EXPECT_EQ(a().getdstInSec(), z.shift);
        }
        for (const tm& d : dates) {
            SCOPED_TRACE(std::string(z.tz) + " " + std::to_string(d.tm_year) + "/" +
                         std::to_string(d.tm_mon + 1));
            forget();
            serve(record());
            ASSERT_EQ(setStart(&d), 0);
            const Bytes out = sent();
            tm standard = d;
            standard.tm_isdst = 0;
            EXPECT_EQ(u32(out, f().nextExec),
                      static_cast<std::uint32_t>(mktime(&standard) - z.epoch));
            forget();
            serve(out);
            tm back{};
            ASSERT_EQ(getStart(&back), 0);
            EXPECT_EQ(
                std::make_tuple(back.tm_year, back.tm_mon, back.tm_mday, back.tm_hour, back.tm_min),
                std::make_tuple(d.tm_year, d.tm_mon, d.tm_mday, d.tm_hour, d.tm_min));
        }
        ctrl.clear();
        const tm before = wallClock(1999, 12, 31, 23, 0);
        EXPECT_EQ(setStart(&before), -2);
        const tm far = wallClock(2140, 1, 1, 0, 0);
        EXPECT_EQ(setStart(&far), -2);
        EXPECT_EQ(ctrl.count(f().setOp), 0u);
    }
}

// A failed load: patrol read's value readers answer 0, every other reader its status with the
// out-value untouched; patrol read's setters answer -1, the consistency check's the status (the
// exclusion lists of both pass it through); nothing is sent or held. What the readers take from
// a good record, read afresh each call, is in the walk golden for both forms.
TEST_P(ScheduleTest, LoadFailures) {
    ctrl.answer(f().getOp, FakeAnswer::fail(0x0C));
    unsigned char uc = 0x77;
    unsigned int delay = 0x77;
    tm start = wallClock(2020, 3, 5, 0, 0);
    ArrayList<unsigned short> list;
    EXPECT_EQ(getExcluded(&list), 0x0C);
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(getStart(&start), 0x0C);
    EXPECT_EQ(setExcluded({}), 0x0C);
    EXPECT_EQ(setStart(&start), f().cc ? 0x0C : -1);
    if (f().cc) {
        EXPECT_EQ(a().getCcSchedMode(&uc), 0x0C);
        EXPECT_EQ(a().getCcSchedExecDelay(&delay), 0x0C);
        EXPECT_EQ(a().setCcScExecDelay(5), 0x0C);
        EXPECT_EQ(a().setCcSchedMode(1, nullptr, nullptr, 5), 0x0C);
        EXPECT_EQ(a().setCcSchedExcludedLdList(nullptr), -1);
        EXPECT_EQ(a().setCcScProperties(), 1); // nothing held
    } else {
        EXPECT_EQ(a().getPrMode(), 0);
        EXPECT_EQ(a().getPrConcurrentPd(), 0u);
        EXPECT_EQ(a().getPrExecDelay(), 0u);
        EXPECT_EQ(a().getMaxConcurrentPD(&uc), 0x0C);
        EXPECT_EQ(a().getSSDPrStatus(&uc), 0x0C);
        EXPECT_EQ(a().setPrMode(1), -1);
        EXPECT_EQ(a().setPrExecDelay(1), -1);
        EXPECT_EQ(a().setMaxConcurrentPD(1), -1);
        EXPECT_EQ(a().setPrStartTime(nullptr), -1);
    }
    EXPECT_EQ(uc, 0x77);
    EXPECT_EQ(delay, 0x77u);
    EXPECT_EQ(start.tm_mday, 5);
    EXPECT_EQ(ctrl.count(f().setOp), 0u);
    EXPECT_EQ(held(false), nullptr);
    EXPECT_EQ(held(true), nullptr);
}

// ---------------------------------------------------------------------------
// Patrol read

// Each setter writes one field into a fresh copy and sends the whole record.
TEST_P(PatrolTest, SettersSendTheWholeRecordWithOneFieldChanged) {
    const struct {
        std::function<int(AdapterDataKvi&)> call;
        std::size_t off; // ~0: the form's execFreq
        std::uint32_t value;
        std::size_t width;
    } cases[] = {
        // clang-format off
        {[](AdapterDataKvi& x) { return x.setPrMode(0x5A); }, 0, 0x5A, 1},
        {[](AdapterDataKvi& x) { return x.setMaxConcurrentPD(7); }, 1, 7, 1},
        {[](AdapterDataKvi& x) { return x.setSSDPrStatus(0x44); }, 2, 0x44, 1},
        {[](AdapterDataKvi& x) { return x.setPrExecDelay(0); }, ~std::size_t{0}, 0, 4},
        {[](AdapterDataKvi& x) { return x.setPrExecDelay(86400); }, ~std::size_t{0}, 86400, 4},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        ctrl.clear();
        ASSERT_EQ(c.call(a()), 0);
        Bytes want = record();
        std::memcpy(want.data() + (c.off == ~std::size_t{0} ? f().execFreq : c.off), &c.value,
                    c.width);
        EXPECT_EQ(sent(), want);
        EXPECT_EQ(ctrl.count(f().getOp), 1u);
    }
}

// The enclosure-drive option is sent from the record read earlier in the same command; the
// SSD option needs the controller property that enables SSD patrol read, read afresh.
TEST_P(PatrolTest, DriveOptions) {
    EXPECT_EQ(a().setEPDPrStatus(0x08), -1);
    EXPECT_TRUE(ctrl.requests().empty());
    unsigned char options = 0;
    ASSERT_EQ(a().getSSDPrStatus(&options), 0);
    ctrl.clear();
    EXPECT_EQ(a().setEPDPrStatus(0x08), 0);
    ASSERT_EQ(ctrl.requests().size(), 1u);
    EXPECT_EQ(sent()[2], 0x08);

    ctrl.clear();
    info(/*ssdPatrolRead=*/false);
    EXPECT_EQ(a().setSSDPrStatus(1), -1);
    EXPECT_EQ(ctrl.count(f().setOp), 0u);
    info(/*ssdPatrolRead=*/true);
    EXPECT_EQ(a().setSSDPrStatus(1), 0);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_GET), 2u); // not served from the cache
    EXPECT_EQ(ctrl.count(f().setOp), 1u);
    ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::fail(0x03));
    EXPECT_EQ(a().setSSDPrStatus(1), 0x03);
    EXPECT_EQ(P::prop(a()), nullptr);
    EXPECT_EQ(ctrl.count(f().setOp), 1u);
}

// ---------------------------------------------------------------------------
// Consistency check

// Delay: 0 is stored as all ones ("no delay") by both setters; all ones in setCcSchedMode
// keeps the delay, in setCcScExecDelay it is stored.
TEST_P(CcTest, DelayRules) {
    const struct {
        bool oneCall; // setCcSchedMode, else setCcScExecDelay
        std::uint32_t given, stored;
    } cases[] = {
        {false, 0, 0xFFFFFFFFu}, {false, 3600, 3600}, {false, 0xFFFFFFFFu, 0xFFFFFFFFu},
        {true, 0, 0xFFFFFFFFu},  {true, 7200, 7200},  {true, 0xFFFFFFFFu, 0x0A0B0C0Du},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.given) + (c.oneCall ? " one call" : ""));
        forget(); // start from the firmware's record each time
        ASSERT_EQ(c.oneCall ? a().setCcSchedMode(1, nullptr, nullptr, c.given)
                            : a().setCcScExecDelay(c.given),
                  0);
        EXPECT_EQ(u32(sent(), f().execFreq), c.stored);
    }
}

// One call changes any subset: mode (concurrent also sets maxLds from the controller's
// maxLDs), exclusions, start time, delay; the rest goes back as the firmware gave it. The
// exclusion setter changes the exclusions alone, so a concurrent schedule keeps its
// concurrency.
TEST_P(CcTest, OneCallSetterChangesTheGivenParts) {
    TzGuard tz("UTC0");
    const Ids ids = {0, 9, 255};
    ASSERT_EQ(setExcluded(ids), 0);
    const Bytes excluding = sent(); // checked above for every form
    Bytes concurrent = record();
    concurrent[0] = 2;
    forget();
    serve(concurrent);
    ASSERT_EQ(setExcluded(ids), 0);
    Bytes want = excluding;
    want[0] = 2;
    EXPECT_EQ(sent(), want);

    forget();
    serve(record());
    const tm start = wallClock(2000, 1, 2, 0, 0);
    auto list = listOf(ids);
    ASSERT_EQ(a().setCcSchedMode(2, &list, &start, 60), 0);
    want[1] = 64; // maxLDs
    put32(want, f().nextExec, 86400);
    put32(want, f().execFreq, 60);
    EXPECT_EQ(sent(), want);

    // Mode 1 leaves maxLds; a start date with day and year 0 and delay all ones leave start
    // and delay; no list leaves the exclusions.
    forget();
    tm keep{};
    keep.tm_hour = 5;
    ASSERT_EQ(a().setCcSchedMode(1, nullptr, &keep, 0xFFFFFFFFu), 0);
    EXPECT_EQ(sent(), record());

    // No range check on the start time here: a time before the epoch wraps.
    forget();
    TzGuard summer("EST5EDT,M3.2.0,M11.1.0");
    const tm before = wallClock(1999, 12, 31, 23, 0);
    ASSERT_EQ(a().setCcSchedMode(1, nullptr, &before, 0xFFFFFFFFu), 0);
    EXPECT_EQ(u32(sent(), f().nextExec), 0xFFFFFFFFu - 3600u + 1u);
    EXPECT_EQ(a().setCcScStartTime(nullptr), -1);

    // A list the short form cannot hold is refused before anything is sent.
    Ids many;
    for (unsigned short id = 0; id < 65; ++id) {
        many.push_back(id);
    }
    auto manyList = listOf(many);
    ctrl.clear();
    EXPECT_EQ(a().setCcSchedMode(1, &manyList, nullptr, 0xFFFFFFFFu), f().ext ? 0 : -1);
    EXPECT_EQ(ctrl.requests().empty(), !f().ext);
}

// Only "invalid command" means no scheduler; the held records are dropped and read again.
TEST_P(CcTest, SupportTest) {
    unsigned char mode = 0;
    ASSERT_EQ(a().getCcSchedMode(&mode), 0);
    const struct {
        int status;
        int supported;
    } cases[] = {{0, 1}, {2, 0}, {3, 1}, {0x0C, 1}};
    for (const auto& c : cases) {
        ctrl.answer(f().getOp,
                    c.status == 0 ? FakeAnswer::ok(record()) : FakeAnswer::fail(c.status));
        const std::size_t before = ctrl.count(f().getOp);
        EXPECT_EQ(a().ccSchedSupported(), c.supported) << c.status;
        EXPECT_EQ(ctrl.count(f().getOp), before + 1);
    }
    EXPECT_EQ(held(false), nullptr);
    EXPECT_EQ(held(true), nullptr);
}

// Patrol read answers its status in the return value (a failed read: paused, 0 done); the
// consistency check's readers write only on success.
TEST(ScheduleStatus, ReadersAndTheirFailureAnswers) {
    FakeController ctrl;
    AdapterDataKvi a{&ctrl, nullptr};
    KV_PR_STATUS pr{};
    pr.numIteration = 0x01020304;
    pr.state = 1; // ready
    pr.numPdDone = 9;
    ctrl.answer(KV_DCMD_CTRL_PR_GET_STATUS, FakeAnswer::record(pr));
    EXPECT_EQ(a.getPrState(), 1);
    EXPECT_EQ(a.getPrNumIteration(), 0x01020304u);
    EXPECT_EQ(a.getPrNumPdComplete(), 0); // not active
    pr.state = 2;                         // active
    ctrl.answer(KV_DCMD_CTRL_PR_GET_STATUS, FakeAnswer::record(pr));
    EXPECT_EQ(a.getPrNumPdComplete(), 9);
    ctrl.answer(KV_DCMD_CTRL_PR_GET_STATUS, FakeAnswer::fail(0x0C));
    EXPECT_EQ(a.getPrState(), 3);
    EXPECT_EQ(a.getPrNumIteration(), 0u);
    EXPECT_EQ(a.getPrNumPdComplete(), 0);

    KV_CC_SCHEDULE_STATUS cc{};
    cc.numIteration = 0x0A0B0C0D;
    cc.state = 4;
    cc.numLdDone = 17;
    for (int status : {0, 0x0C}) {
        SCOPED_TRACE(status);
        ctrl.answer(KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS,
                    status == 0 ? FakeAnswer::record(cc) : FakeAnswer::fail(status));
        unsigned char state = 0x77, done = 0x77;
        unsigned int iter = 0x77;
        EXPECT_EQ(a.getCcSchedState(&state), status);
        EXPECT_EQ(a.getCcSchedNumIteration(&iter), status);
        EXPECT_EQ(a.getCcSchedNumLdDone(&done), status);
        EXPECT_EQ(state, status == 0 ? 4 : 0x77);
        EXPECT_EQ(iter, status == 0 ? 0x0A0B0C0Du : 0x77u);
        EXPECT_EQ(done, status == 0 ? 17 : 0x77);
    }
}

} // namespace
