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

// Every battery type (8: one unknown) against each status bit and the combinations whose order
// matters: the three answers ('-': the caller's value left as it was) are in
// tests/golden/adapter/battery-decisions.txt.
TEST_F(BatteryTest, StateOverallStatusAndWritePolicyReasonPerTypeAndBits) {
    const std::vector<std::vector<int>> bitSets = {
        {},      {0},     {1},        {3},     {4},     {5},      {6},     {9},      {10},
        {11},    {13},    {14},       {15},    {17},    {19},     {3, 13}, {10, 11}, {11, 5},
        {1, 14}, {10, 5}, {10, 5, 6}, {17, 5}, {17, 9}, {14, 17}, {5, 15}, {10, 17}, {0, 10}};
    auto show = [](unsigned char v) { return v == 0xEE ? std::string("-") : std::to_string(v); };
    std::ostringstream table;
    for (std::uint8_t type = 0; type <= 8; ++type) {
        for (const auto& bits : bitSets) {
            std::uint32_t fw = 0;
            table << "type " << int(type) << " bits";
            for (int n : bits) {
                fw |= bit(n);
                table << ' ' << n;
            }
            reset();
            battery(type, fw);
            int state = -7;
            unsigned char overall = 0xEE, reason = 0xEE;
            EXPECT_EQ(a().getBatteryState(&state), 0);
            EXPECT_EQ(ctrl.count(KV_DCMD_BBU_GET_STATUS), 1u); // the cached record, read once
            EXPECT_EQ(a().getBbuOverallStatus(&overall), 0);
            EXPECT_EQ(ctrl.count(KV_DCMD_BBU_GET_STATUS), 2u); // a fresh record every time
            EXPECT_EQ(a().getWritePolicyChngReason(&reason), 0);
            table << ": state " << state << ", overall " << show(overall) << ", reason "
                  << show(reason) << '\n';
        }
    }
    expectGolden("battery-decisions.txt", table.str());
}

// ---------------------------------------------------------------------------
// No battery, or none that can be read: what each answer says for every controller information
// (fails, no battery, battery fitted) and battery status read (a type 1 record without bits,
// failure, no hardware). tests/golden/adapter/battery-absent.txt holds the status reads after
// the first three calls, then each call's status and output ('-': the caller's value left as it
// was, from a 0 and from a 1 start).
TEST_F(BatteryTest, AbsentOrUnreadableBattery) {
    std::ostringstream table;
    for (const int info : {-1, 0, 1}) {
        for (const int unit : {0, kFail, kNoHw}) {
            table << "information "
                  << (info < 0    ? "fails"
                      : info == 1 ? "fitted"
                                  : "no battery")
                  << ", battery "
                  << (unit == 0       ? "read"
                      : unit == kNoHw ? "no hardware"
                                      : "fails")
                  << ":";
            int rcs[2][6], outs[2][5];
            std::size_t reads = 0;
            for (const int start : {0, 1}) {
                reset();
                ctrl.answer(KV_DCMD_CTRL_GET_INFO, info < 0 ? FakeAnswer::fail(kFail)
                                                            : FakeAnswer::ok(ctrlInfo(info == 1)));
                ctrl.answer(KV_DCMD_BBU_GET_STATUS,
                            unit == 0 ? FakeAnswer::ok(bbuStatus(1, 0)) : FakeAnswer::fail(unit));
                int state = start;
                auto overall = static_cast<unsigned char>(start), reason = overall;
                bool present = start != 0, pack = present;
                int* rc = rcs[start];
                rc[0] = a().getBatteryState(&state);
                rc[1] = a().getBbuOverallStatus(&overall);
                rc[2] = a().getWritePolicyChngReason(&reason);
                reads = ctrl.count(KV_DCMD_BBU_GET_STATUS);
                rc[3] = a().isBBUPresent(&present);
                rc[4] = a().isBriskoPresent(&pack);
                rc[5] = a().isBatteryHWPresent();
                const int out[5] = {state, overall, reason, present, pack};
                std::copy(out, out + 5, outs[start]);
            }
            table << " reads " << reads;
            const char* names[] = {"state", "overall", "reason", "present", "pack", "hardware"};
            for (int i = 0; i < 6; ++i) {
                EXPECT_EQ(rcs[0][i], rcs[1][i]) << table.str();
                table << (i ? ", " : "; ") << names[i] << ' ' << rcs[0][i];
                if (i < 5) {
                    const bool kept = outs[0][i] == 0 && outs[1][i] == 1;
                    EXPECT_TRUE(kept || outs[0][i] == outs[1][i]) << table.str();
                    table << ' ' << (kept ? "-" : std::to_string(outs[0][i]));
                }
            }
            table << '\n';
        }
    }
    expectGolden("battery-absent.txt", table.str());
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
    ASSERT_EQ(name, P::battDesign(a())->deviceName);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(name), 8), "CVPM02XY");
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
    Bytes expected = props;
    expected[9] = 1;
    ASSERT_EQ(ctrl.count(0x05050200), 1u);
    EXPECT_EQ(ctrl.last(0x05050200)->sent, expected);
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
