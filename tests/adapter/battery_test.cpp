// Battery backup unit operations: the state, overall-status and write-policy change reason
// decisions per battery type, absence (status 0x22 or no battery in the controller information),
// the cached measurements and auto-learn mode written at once. The plain commands are
// rows of the features request table.
#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

// fwStatus bits, numbered as the firmware numbers them.
constexpr std::uint32_t bit(int n) {
    return 1u << n;
}

Bytes ctrlInfo(bool bbuFitted, bool bbuOperation = false) {
    Bytes info(2464, 0);
    info[1456] = bbuFitted ? 0x01 : 0x00;    // hwPresent.bbu
    info[1504] = bbuOperation ? 0x80 : 0x00; // adapterOperations.bbu
    return info;
}

// A KV_BBU_STATUS image: type at 0, subtype at 1, temperature at 6, fwStatus at 8.
Bytes bbuStatus(std::uint8_t type, std::uint32_t fw, std::uint16_t temperature = 0) {
    Bytes s(64, 0);
    s[0] = type;
    s[1] = 0x33;
    s[6] = static_cast<std::uint8_t>(temperature);
    s[7] = static_cast<std::uint8_t>(temperature >> 8);
    std::memcpy(s.data() + 8, &fw, 4);
    return s;
}

class BatteryTest : public AdapterFixture {
protected:
    void battery(std::uint8_t type, std::uint32_t fw, bool fitted = true) {
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::ok(ctrlInfo(fitted)));
        ctrl.answer(KV_DCMD_BBU_GET_STATUS, FakeAnswer::ok(bbuStatus(type, fw)));
    }
};

// ---------------------------------------------------------------------------
// getBatteryState, getBbuOverallStatus and getWritePolicyChngReason

struct StateCase {
    const char* what;
    std::uint8_t type;
    std::uint32_t fw;
    int state;
    int overall, reason; // -1: the caller's value is left as it was
};

// clang-format off
const StateCase kStateCases[] = {
    {"type 1 healthy", 1, bit(3) | bit(13), 1, 0, -1},
    {"type 1 replace pack beats capacity low", 1, bit(10) | bit(11), 2, -1, 1},
    {"type 1 capacity low beats learn requested", 1, bit(11) | bit(5), 3, -1, 2},
    {"type 4 replace pack", 4, bit(10), 2, -1, 1},
    {"type 2 replace pack", 2, bit(10), 2, -1, 1},
    {"type 2 voltage low is not a health bit of type 2", 2, bit(1), 1, 0, -1},
    {"type 1 learning", 1, bit(6), 3, -1, 3},
    {"type 1 discharging", 1, bit(4), 3, -1, 3},
    {"type 1 voltage low beats no space", 1, bit(1) | bit(14), 3, -1, 3},
    {"type 1 learn requested", 1, bit(5), 4, -1, 3},
    {"type 5 replace and learn requested", 5, bit(10) | bit(5), 4, -1, 1},
    {"type 5 replace, learn requested and learning", 5, bit(10) | bit(5) | bit(6), 3, -1, 1},
    {"type 5 replace pack alone", 5, bit(10), 2, -1, 1},
    {"type 6 replace pack alone", 6, bit(10), 2, -1, 1},
    {"type 6 predictive failure alone", 6, bit(15), 7, 0, -1},
    {"type 6 microcode with learn requested", 6, bit(17) | bit(5), 6, -1, 3},
    {"type 6 microcode beats i2c", 6, bit(17) | bit(9), 6, -1, 6},
    {"type 6 no space beats microcode", 6, bit(14) | bit(17), 3, -1, 5},
    {"type 7 charging only", 7, bit(3), 255, 5, -1},
    {"type 7 i2c errors", 7, bit(9), 255, 5, 7},
    {"type 7 learning is not a health bit of type 7", 7, bit(6), 1, 3, 3},
    {"type 7 learn requested with predictive failure", 7, bit(5) | bit(15), 1, 4, 3},
    {"type 7 replace pack with microcode", 7, bit(10) | bit(17), 6, 4, 1},
    {"type 7 replace pack alone", 7, bit(10), 255, -1, 1},
    {"type 3 no health bits known", 3, bit(0) | bit(10), 0, 1, 1}, // pack missing wins
    {"type 3 with learn requested", 3, bit(5), 1, -1, 3},
    {"pack missing", 1, bit(0), 0, 1, -1},
    {"type 0 is no battery", 0, bit(10), 0, 1, 0},
};
// clang-format on

TEST_F(BatteryTest, StateOverallStatusAndWritePolicyReasonPerTypeAndBits) {
    for (const StateCase& c : kStateCases) {
        SCOPED_TRACE(c.what);
        reset();
        battery(c.type, c.fw);
        int state = -7;
        EXPECT_EQ(a().getBatteryState(&state), 0);
        EXPECT_EQ(state, c.state);
        EXPECT_EQ(ctrl.count(KV_DCMD_BBU_GET_STATUS), 1u); // the cached record, read once

        unsigned char overall = 0xEE, reason = 0xEE;
        EXPECT_EQ(a().getBbuOverallStatus(&overall), 0);
        EXPECT_EQ(overall, c.overall < 0 ? 0xEE : c.overall);
        // The overall status reads a fresh record every time.
        EXPECT_EQ(ctrl.count(KV_DCMD_BBU_GET_STATUS), 2u);
        EXPECT_EQ(a().getWritePolicyChngReason(&reason), 0);
        EXPECT_EQ(reason, c.reason < 0 ? 0xEE : c.reason);
    }
}

// ---------------------------------------------------------------------------
// No battery, or none that can be read: what each answer says

constexpr int kSkip = -1000; // not looked at in this row
constexpr int kKept = -2000; // the caller's value is left as it was

struct AbsentCase {
    const char* what;
    int info;   // -1: the controller information fails; else whether it says a battery is fitted
    int unit;   // status of the battery status read (0: a type 1 record without bits)
    int reads;  // battery status reads after the state and the overall status (kSkip: any)
    int rc[5];  // getBatteryState, getBbuOverallStatus, getWritePolicyChngReason, isBBUPresent,
                // isBriskoPresent
    int out[5]; // what each handed back (a present answer as 0/1)
    int hw;     // isBatteryHWPresent
};

// clang-format off
const AbsentCase kAbsentCases[] = {
    {"information fails", -1, 0, 0, {kFail, kSkip, kSkip, kFail, kSkip}, {kKept, 0, 0, kKept, 0}, 0},
    {"none fitted", 0, 0, 1, {0, 0, 0, 0, kSkip}, {0, 1, 0, 1, 0}, 0},
    {"none fitted, the unit read fails", 0, kFail, kSkip, {kSkip, kSkip, kSkip, kFail, kSkip}, {0, 0, 0, 0, 0}, kSkip},
    {"none fitted, the unit has no hardware", 0, kNoHw, kSkip, {kSkip, kSkip, kNoHw, kSkip, kSkip}, {0, 0, 0, 0, 0}, kSkip},
    {"fitted, the unit has no hardware", 1, kNoHw, kSkip, {0, kSkip, kSkip, kNoHw, kNoHw}, {0, 0, 0, 0, 0}, 1},
    {"fitted, the unit read fails", 1, kFail, kSkip, {-1, kFail, kFail, kFail, kSkip}, {kKept, kKept, kKept, kKept, 0}, kSkip},
    {"fitted and read", 1, 0, kSkip, {kSkip, kSkip, kSkip, 0, kSkip}, {0, 0, 0, 1, 0}, kSkip},
};
// clang-format on

TEST_F(BatteryTest, AbsentOrUnreadableBattery) {
    for (const AbsentCase& c : kAbsentCases) {
        // A kept value is looked for twice, starting from 0 and from 9 (true); any other output
        // starts as the opposite of what is expected.
        for (int keptStart : {0, 9}) {
            SCOPED_TRACE(testing::Message() << c.what << ", kept values start at " << keptStart);
            reset();
            ctrl.answer(KV_DCMD_CTRL_GET_INFO, c.info < 0 ? FakeAnswer::fail(kFail)
                                                          : FakeAnswer::ok(ctrlInfo(c.info == 1)));
            ctrl.answer(KV_DCMD_BBU_GET_STATUS,
                        c.unit == 0 ? FakeAnswer::ok(bbuStatus(1, 0)) : FakeAnswer::fail(c.unit));
            auto start = [&](int i) { return c.out[i] == kKept ? keptStart : c.out[i] == 0; };
            int state = start(0);
            auto overall = static_cast<unsigned char>(start(1));
            auto reason = static_cast<unsigned char>(start(2));
            bool present = start(3) != 0, brisko = start(4) != 0;
            const int init[5] = {state, overall, reason, present, brisko};
            int rc[5];
            rc[0] = a().getBatteryState(&state);
            rc[1] = a().getBbuOverallStatus(&overall);
            rc[2] = a().getWritePolicyChngReason(&reason);
            if (c.reads != kSkip) {
                EXPECT_EQ(ctrl.count(KV_DCMD_BBU_GET_STATUS), static_cast<std::size_t>(c.reads));
            }
            rc[3] = a().isBBUPresent(&present);
            rc[4] = a().isBriskoPresent(&brisko);
            const int out[5] = {state, overall, reason, present, brisko};
            for (int i = 0; i < 5; ++i) {
                if (c.rc[i] != kSkip) {
                    EXPECT_EQ(rc[i], c.rc[i]) << i;
                    EXPECT_EQ(out[i], c.out[i] == kKept ? init[i] : c.out[i]) << i;
                }
            }
            if (c.hw != kSkip) {
                EXPECT_EQ(a().isBatteryHWPresent(), c.hw);
            }
        }
    }
    EXPECT_EQ(a().getBatteryState(nullptr), -1);
}

// ---------------------------------------------------------------------------
// Cached measurements and bits

// The cached records, each read once: the field every reader takes, and on a failed load its
// status with the output left alone. (Type, capacities, charge, learn period and next learn time
// have values of their own in the simulator profiles, so the adapter walk golden pins them.)
TEST_F(BatteryTest, ReadersOfTheCachedRecords) {
    const std::uint32_t status = KV_DCMD_BBU_GET_STATUS, cap = KV_DCMD_BBU_GET_CAPACITY_INFO,
                        design = KV_DCMD_BBU_GET_DESIGN_INFO, props = KV_DCMD_BBU_PROPERTIES_GET,
                        info = KV_DCMD_CTRL_GET_INFO;
    const struct {
        const char* name;
        std::uint32_t opcode;
        std::function<int(AdapterDataKvi&, std::uint64_t&)> get;
        std::uint64_t want;
        std::uint64_t onFail = 1; // what the output holds after a failed load (1 as given)
    } rows[] = {
        // clang-format off
        {"temperature: low byte", status, KVI_OUT(getBatteryTemperature, unsigned char), 0x29},
        {"temperature status", status, KVI_OUT(getBatteryTemperatureStatus, int), 1},
        {"subtype", status, KVI_OUT(getBatterySubType, unsigned char), 0x33},
        {"transparent learn: bit 13", status, KVI_OUT(isBBUTransparentLearnSet, bool), 1},
        {"i2c errors: bit 9", status, KVI_OUT(isI2cErrorsDetected, bool), 1},
        {"pack present: bit 0 clear", status, KVI_OUT(isBriskoPresent, bool), 1, 0},
        {"time to empty", cap, KVI_OUT(getBattAvgTimeToEmpty, unsigned short), 0x4B4A},
        {"transparent learns", design, KVI_OUT(getBatteryDesignInfoTransparentLearnsSupport, bool), 1},
        {"auto-learn mode", props, KVI_OUT(getBatteryAutoLearnMode, unsigned char), 0x49},
        {"battery operation", info, KVI_OUT(getCtrlInfoBbu, bool), 1},
        // clang-format on
    };
    Bytes designRec(64, 0);
    std::memcpy(designRec.data() + 26, "CVPM02XY", 8); // deviceName, not terminated
    designRec[48] = 2;                                 // transparentLearns
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        reset();
        ctrl.answer(info, FakeAnswer::ok(ctrlInfo(true, true)));
        ctrl.answer(status, FakeAnswer::ok(bbuStatus(5, bit(2) | bit(9) | bit(13), 0x0129)));
        ctrl.answer(cap, FakeAnswer::ok(pattern(48, 0x40)));
        ctrl.answer(design, FakeAnswer::ok(designRec));
        ctrl.answer(props, FakeAnswer::ok(pattern(32, 0x40)));
        std::uint64_t out = 0;
        EXPECT_EQ(r.get(a(), out), 0);
        EXPECT_EQ(out, r.want);
        EXPECT_EQ(r.get(a(), out), 0);
        EXPECT_EQ(ctrl.count(r.opcode), 1u);

        reset();
        ctrl.answer(info, FakeAnswer::ok(ctrlInfo(true)));
        ctrl.answer(r.opcode, FakeAnswer::fail(kFail));
        out = 1;
        EXPECT_EQ(r.get(a(), out), kFail);
        EXPECT_EQ(out, r.onFail);
    }
    reset();
    ctrl.answer(info, FakeAnswer::ok(ctrlInfo(true)));
    bool infoBbu = true;
    EXPECT_EQ(a().getCtrlInfoBbu(&infoBbu), 0);
    EXPECT_FALSE(infoBbu); // the information above has no battery operation bit

    // The device name is the object's own bytes; a failed load hands out nothing.
    reset();
    ctrl.answer(design, FakeAnswer::ok(designRec));
    unsigned char* name = nullptr;
    EXPECT_EQ(a().getBatteryDeviceName(&name), 0);
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(name), 8), "CVPM02XY");
    EXPECT_EQ(name, P::battDesign(a())->deviceName);
    reset();
    ctrl.answer(design, FakeAnswer::fail(kFail));
    name = nullptr;
    EXPECT_EQ(a().getBatteryDeviceName(&name), kFail);
    EXPECT_EQ(name, nullptr);
    ctrl.answer(props, FakeAnswer::fail(kFail));
    unsigned char mode = 1;
    EXPECT_EQ(a().setBatteryAutoLearnMode(&mode), kFail);
    EXPECT_EQ(ctrl.count(KV_DCMD_BBU_PROPERTIES_SET), 0u);

    // The pack-missing bit set: no pack. The firmware status bits come from a fresh read each
    // time; a failed read leaves the caller's value alone.
    reset();
    ctrl.answer(status, FakeAnswer::ok(bbuStatus(1, bit(0) | bit(20))));
    bool present = true;
    EXPECT_EQ(a().isBriskoPresent(&present), 0);
    EXPECT_FALSE(present);
    unsigned int fw = 0;
    EXPECT_EQ(a().getBbuFwStatus(&fw), 0);
    EXPECT_EQ(fw, bit(0) | bit(20));
    ctrl.answer(status, FakeAnswer::fail(kFail));
    EXPECT_EQ(a().getBbuFwStatus(&fw), kFail);
    EXPECT_EQ(fw, bit(0) | bit(20));
    EXPECT_EQ(ctrl.count(status), 3u);

    // Without a battery fitted there is no temperature: outputs stay as they were.
    reset();
    ctrl.answer(info, FakeAnswer::ok(ctrlInfo(false)));
    ctrl.answer(status, FakeAnswer::ok(bbuStatus(1, bit(2), 40)));
    unsigned char temp = 0xEE;
    int tempStatus = 7;
    EXPECT_EQ(a().getBatteryTemperature(&temp), 0);
    EXPECT_EQ(temp, 0xEE);
    EXPECT_EQ(a().getBatteryTemperatureStatus(&tempStatus), 0);
    EXPECT_EQ(tempStatus, 7);
}

TEST_F(BatteryTest, AutoLearnModeIsWrittenAtOnce) {
    const Bytes props = pattern(32, 0x40);
    ctrl.answer(KV_DCMD_BBU_PROPERTIES_GET, FakeAnswer::ok(props));
    unsigned char mode = 1;
    EXPECT_EQ(a().setBatteryAutoLearnMode(&mode), 0);
    const FakeRequest* w = ctrl.last(0x05050200);
    ASSERT_NE(w, nullptr);
    Bytes expected = props;
    expected[9] = 1;
    EXPECT_EQ(w->sent, expected);
    // No property transaction is involved.
    EXPECT_EQ(a().endCtlrPropUpdate(), 0);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 0u);

    // A failed write keeps the new mode cached.
    ctrl.answer(KV_DCMD_BBU_PROPERTIES_SET, FakeAnswer::fail(kFail));
    mode = 3;
    EXPECT_EQ(a().setBatteryAutoLearnMode(&mode), kFail);
    unsigned char back = 0;
    EXPECT_EQ(a().getBatteryAutoLearnMode(&back), 0);
    EXPECT_EQ(back, 3);
    EXPECT_EQ(ctrl.count(KV_DCMD_BBU_PROPERTIES_GET), 1u);
}

} // namespace
