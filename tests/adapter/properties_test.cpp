// Controller property accessors: the byte and bit each setting reads and writes in the 64-byte
// properties record (positions written out from the record layout), the transaction that sends
// the record, and the members that differ from the family.
#include <cstddef>

#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

enum class Form { Early, Carry };
constexpr Form E = Form::Early;
constexpr Form C = Form::Carry;

using GetFn = int (*)(AdapterDataKvi&, std::uint32_t& inout);
using SetFn = int (*)(AdapterDataKvi&, std::uint32_t value);

struct SettingRow {
    const char* get;
    const char* set;
    int byte;     // offset in KV_CTRL_PROP; 64 and above: in the extension record
    int bit;      // first bit within that byte, or -1 for a whole 8- or 16-bit field
    int width;    // bits
    Form setForm; // on a failed load: early return, or carry on and raise the change flag
    GetFn getter;
    SetFn setter;
};

using UC = unsigned char;
using US = unsigned short;
using UI = unsigned int;

// The usual pair getNAME / setNAME, the setter taking its value by pointer (P) or by value (V).
// clang-format off
#define SETP(op, T) [](AdapterDataKvi& a, std::uint32_t x) { T v = static_cast<T>(x); return a.op(&v); }
#define SETV(op, T) [](AdapterDataKvi& a, std::uint32_t x) { return a.op(static_cast<T>(x)); }
#define ROW(name, byte, bit, width, form, T, by) \
    {"get" #name, "set" #name, byte, bit, width, form, KVI_OUT(get##name, T), SET##by(set##name, T)}
// clang-format on

// clang-format off
const SettingRow kRows[] = {
    ROW(RebuildRate, 8, -1, 8, C, UC, P),
    ROW(seqNum, 0, -1, 16, C, US, P),
    ROW(predFailPollInterval, 2, -1, 16, C, US, P),
    ROW(intThrottleCount, 4, -1, 16, C, US, P),
    ROW(intThrottleTimeUs, 6, -1, 16, C, US, P),
    ROW(patrolReadRate, 9, -1, 8, C, UC, P),
    ROW(bgiRate, 10, -1, 8, C, UC, P),
    ROW(PreventPIImport, 34, 1, 1, C, UC, P),
    ROW(PreventEnablePI, 34, 0, 1, C, UC, P),
    ROW(failPdOnSmartError, 34, 7, 1, C, UC, P),
    ROW(ForceSGPIO, 34, 5, 1, C, UC, P),
    ROW(UseGlobalSparesForEmergency, 34, 2, 1, C, UC, P),
    ROW(UseUnconfGoodForEmergency, 34, 3, 1, C, UC, P),
    ROW(UseEmergencySparesForSMARTer, 34, 4, 1, C, UC, P),
    ROW(FlushWriteVerify, 35, 0, 1, E, UC, V),
    ROW(ccRate, 11, -1, 8, C, UC, P),
    ROW(reconRate, 12, -1, 8, C, UC, P),
    ROW(cacheFlushInterval, 13, -1, 8, C, UC, P),
    ROW(spinupDriveCount, 14, -1, 8, C, UC, P),
    ROW(spinupDelay, 15, -1, 8, C, UC, P),
    ROW(clusterState, 16, -1, 8, E, UC, V),
    ROW(BatteryWarningState, 20, -1, 8, E, UC, V),
    ROW(EccBucketSize, 21, -1, 8, E, UC, V),
    ROW(EccBucketLeakRate, 22, -1, 16, E, US, V),
    ROW(AbortCCOnError, 28, -1, 8, E, UC, V),
    ROW(coercionMode, 17, -1, 8, C, UC, P),
    ROW(autoRbldState, 19, -1, 8, C, UC, P),
    ROW(CopyBackState, 32, 0, 1, C, UI, P),
    ROW(JBODState, 33, 5, 1, C, UI, P),
    ROW(CacheBypassState, 33, 6, 1, C, UI, P),
    ROW(SMARTCopyBackState, 32, 1, 1, C, UI, P),
    ROW(SSDSMARTCopyBackState, 32, 5, 1, C, UI, P),
    ROW(EnableSpinDnUnconfState, 32, 7, 1, C, UI, V),
    ROW(DisableSpinDnHSState, 33, 4, 1, C, UI, V),
    ROW(SpinDownTime, 38, -1, 16, C, US, V),
    ROW(LoadBalanceState, 29, -1, 8, C, UI, P),
    ROW(NCQState, 32, 4, 1, C, UI, V),
    ROW(MaintPDFailHistState, 26, -1, 8, C, UC, P),
    ROW(ExposeEnclDevicesState, 25, -1, 8, C, UC, P),
    ROW(AutoEnhancedImportState, 33, 0, 1, C, UI, V),
    ROW(UseFDEOnlyEncrypt, 32, 3, 1, C, UI, P),
    ROW(PrCorrectUncfgdAreas, 32, 2, 1, C, UI, P),
    ROW(SSDPatrolReadState, 32, 6, 1, C, UC, V),
    ROW(RestoreHotSpareOnInsertState, 24, -1, 8, C, UC, V),
    ROW(OnlineCtrlResetState, 33, 2, 1, C, UC, V),
    ROW(SesMultiPathConfig, 36, 2, 1, E, UC, V),
    ROW(BootWithPinnedCacheState, 33, 3, 1, C, UC, V),
    ROW(ImmediateIO, 35, 1, 1, E, UC, V),
    ROW(DriveActivityLED, 35, 6, 1, E, UC, V),
    ROW(LargeIOSupport, 36, 0, 1, E, UC, V),
    ROW(autoDetectBackPlaneState, 30, -1, 8, C, UC, P),
    ROW(DefaultSnapshotSpace, 31, -1, 8, C, UC, V),
    ROW(DefaultViewSpace, 36, -1, 8, C, UC, V),
    ROW(AutoSnapshotSpace, 36, -1, 8, C, UC, V),
    {"isDiskActivityUsedForLocate", "setUseDiskActivityForLocate", 33, 7, 1, C, KVI_OUT(isDiskActivityUsedForLocate, UC), SETV(setUseDiskActivityForLocate, UC)},
    ROW(ConfigAutoBalance, 34, 6, 1, C, UI, V),
    ROW(DefaultLDPSPolicy, 40, -1, 8, C, UC, V),
    ROW(DisableLDPSInterval, 41, -1, 8, C, UC, V),
    ROW(DisableLdPsTime, 42, -1, 16, C, US, V),
    ROW(SpinUpEncDrvCnt, 44, -1, 8, C, UC, V),
    ROW(SpinUpEncDelay, 45, -1, 8, C, UC, V),
    {"getLDRestriction", "setLDRestriction", 35, 3, 1, E,
     [](AdapterDataKvi& a, std::uint32_t& io) { bool v = io != 0; const int rc = a.getLDRestriction(v); io = v; return rc; },
     SETV(setLDRestriction, bool)},
    ROW(FwBootTypeMode, 36, 3, 1, E, UC, V),
    ROW(DisableSESMonitoring, 35, 7, 1, E, UC, V),
    ROW(LimitMaxRateSATA3G, 35, 5, 1, E, UC, V),
    ROW(HDDThermalPollInterval, 56, -1, 16, E, US, P),
    ROW(SSDThermalPollInterval, 58, -1, 16, E, US, P),
    ROW(JbodWriteCache, 60, -1, 8, E, UC, P),
    ROW(PDDgdDetectionType, 61, 0, 2, E, UC, V),
    ROW(PDDgdCorrectiveAction, 61, 2, 1, E, UC, V),
    ROW(PDDgdErrorThreshold, 61, 4, 2, E, UC, V),
    ROW(LargeQDepth, 36, 1, 1, E, UC, V),
    ROW(EnableSnapDump, 36, 4, 1, E, UC, V),
    ROW(ScsiUnmap, 36, 5, 1, E, UC, V),
    ROW(FirmwareBasedDeviceOrdering, 36, 6, 1, E, UC, V),
    ROW(PredFailDAInterval, 64, -1, 16, E, US, V),
    ROW(ParityReadCacheByPass, 36, 7, 1, E, bool, V),
};
// clang-format on
static_assert(sizeof(kRows) / sizeof(kRows[0]) == 77, "77 getter/setter pairs");

bool isExt(const SettingRow& r) {
    return r.byte >= 64;
}

void putField(Bytes& rec, const SettingRow& r, std::uint32_t v) {
    if (r.bit < 0) {
        rec[r.byte] = static_cast<std::uint8_t>(v);
        if (r.width == 16) {
            rec[r.byte + 1] = static_cast<std::uint8_t>(v >> 8);
        }
        return;
    }
    const unsigned mask = ((1u << r.width) - 1u) << r.bit;
    rec[r.byte] = static_cast<std::uint8_t>((rec[r.byte] & ~mask) | ((v << r.bit) & mask));
}

// A recognisable record image in which every bit varies from its neighbours.
Bytes mixed(std::size_t n) {
    Bytes b(n);
    for (std::size_t i = 0; i < n; ++i) {
        b[i] = static_cast<std::uint8_t>(0x5A + 37 * i);
    }
    return b;
}

class PropertiesTest : public AdapterFixture {
protected:
    // Answers the properties read with `prop`, and with `ext` (extension) when given.
    void serve(const Bytes& prop, const Bytes* ext = nullptr) {
        KV_CTRL_INFO info{};
        info.adapterOperationExt.adapterOperations6.supportCtrlPropExt = ext != nullptr ? 1 : 0;
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
        ctrl.answerB0(KV_DCMD_CTRL_PROPERTIES_GET, 0, FakeAnswer::ok(prop));
        if (ext != nullptr) {
            ctrl.answerB0(KV_DCMD_CTRL_PROPERTIES_GET, 1, FakeAnswer::ok(*ext));
        }
    }
    // Serves a record image for row r: the properties, or the extension for the one row that
    // lives there.
    void serveFor(const SettingRow& r, const Bytes& image) {
        if (isExt(r)) {
            serve(mixed(64), &image);
        } else {
            serve(image);
        }
    }
};

// ---------------------------------------------------------------------------
// The family, row by row: the getter sees its field alone and nothing of the bits around it; a
// setter changes only its bits, a getter on the same object sees the change at once, and nothing
// is sent until the end call of its own record; on a failed load a getter leaves its out-value
// and a setter either returns early or carries on with the change flag raised.

TEST_F(PropertiesTest, EveryMemberReadsAndWritesOnlyItsBits) {
    for (const SettingRow& r : kRows) {
        SCOPED_TRACE(r.get);
        const std::size_t size = isExt(r) ? 128 : 64;
        const bool nonZero = std::string(r.get) == "getclusterState"; // answers 0 or 1
        const std::uint32_t full = r.width == 16  ? 0xBEEFu
                                   : r.width == 8 ? 0xB7u
                                                  : (1u << r.width) - 1u;
        for (const bool alone : {true, false}) {
            reset();
            Bytes image(size, alone ? 0 : 0xFF);
            putField(image, r, alone ? full : 0);
            serveFor(r, image);
            std::uint32_t out = 0x5A;
            EXPECT_EQ(r.getter(a(), out), 0);
            EXPECT_EQ(out, !alone ? 0u : nonZero ? 1u : full);
            EXPECT_EQ(ctrl.countB0(KV_DCMD_CTRL_PROPERTIES_GET, 0), 1u);
        }

        reset();
        ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::fail(kFail));
        std::uint32_t out = 1; // a value no failed getter may overwrite
        EXPECT_EQ(r.getter(a(), out), kFail);
        EXPECT_EQ(out, 1u);
        reset();
        ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::fail(kFail));
        EXPECT_EQ(r.setter(a(), 1), kFail);
        // A carry-on setter raises the flag all the same, so the write-back finds no record.
        EXPECT_EQ(isExt(r) ? P::propExtChanged(a()) : P::propChanged(a()), r.setForm == C);
        EXPECT_EQ(a().endCtlrPropUpdate(), r.setForm == C ? -1 : 0);
        EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 0u);

        // Whole fields take the value as given, switches bit 0 of it (a bool argument carries
        // only 0 and 1), two-bit fields values of their width. The load-balance setter inverts 0
        // and 1 and keeps the field for any other value, yet raises the flag: the record goes out.
        const std::uint32_t whole = r.width == 16 ? 0xC0DEu : 0xA3u;
        std::vector<std::pair<std::uint32_t, std::uint32_t>> cases = {{1, 1}, {0, 0}};
        if (std::string(r.set) == "setLoadBalanceState") {
            cases = {{1, 0}, {0, 1}, {5, mixed(64)[29]}};
        } else if (r.bit < 0) {
            cases = {{whole, whole}, {0, 0}};
        } else if (r.width == 1 && std::string(r.set) != "setLDRestriction" &&
                   std::string(r.set) != "setParityReadCacheByPass") {
            cases = {{1, 1}, {0, 0}, {2, 0}, {3, 1}};
        } else if (r.width == 2) {
            cases = {{2, 2}, {3, 3}, {0, 0}};
        }
        for (const auto& c : cases) {
            SCOPED_TRACE(c.first);
            reset();
            const Bytes base = mixed(size);
            serveFor(r, base);
            EXPECT_EQ(r.setter(a(), c.first), 0);
            EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 0u);
            std::uint32_t back = 0x5A;
            EXPECT_EQ(r.getter(a(), back), 0);
            EXPECT_EQ(back, nonZero ? (c.second != 0 ? 1u : 0u) : c.second);

            Bytes expected = base;
            putField(expected, r, c.second);
            EXPECT_EQ(isExt(r) ? a().endCtlrPropExtUpdate() : a().endCtlrPropUpdate(), 0);
            ASSERT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 1u);
            const FakeRequest* w = ctrl.last(KV_DCMD_CTRL_PROPERTIES_SET);
            EXPECT_EQ(w->sent, expected);
            EXPECT_EQ(w->mbox[0], isExt(r) ? 1 : 0);
            EXPECT_EQ(w->length, size);
            // The other record's transaction has nothing to send.
            EXPECT_EQ(isExt(r) ? a().endCtlrPropUpdate() : a().endCtlrPropExtUpdate(), 0);
            EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 1u);
        }
    }
}

TEST_F(PropertiesTest, NullPointersAreRefusedBeforeAnyRequest) {
    unsigned char* nc = nullptr;
    unsigned short* ns = nullptr;
    unsigned int* ni = nullptr;
    EXPECT_EQ(a().getRebuildRate(nc), -1);
    EXPECT_EQ(a().setRebuildRate(nc), -1);
    EXPECT_EQ(a().getseqNum(ns), -1);
    EXPECT_EQ(a().setHDDThermalPollInterval(ns), -1);
    EXPECT_EQ(a().getCopyBackState(ni), -1);
    EXPECT_EQ(a().setLoadBalanceState(ni), -1);
    EXPECT_EQ(a().getParityReadCacheByPass(nullptr), -1);
    EXPECT_EQ(a().isJBODSupported(nullptr), -1);
    EXPECT_EQ(a().getalarmState(nullptr), -1);
    EXPECT_EQ(a().getHostInfo(nullptr), -1);
    EXPECT_TRUE(ctrl.requests().empty());
    EXPECT_FALSE(P::propChanged(a()));
}

// ---------------------------------------------------------------------------
// Transactions over several setters

// The properties are read once for all of it; the flag is cleared by the write.
TEST_F(PropertiesTest, SeveralSettersGoOutInOneWrite) {
    serve(Bytes(64, 0));
    unsigned char rate = 255;
    unsigned int one = 1;
    ASSERT_EQ(a().beginCtlrPropUpdate(), 0);
    ASSERT_EQ(a().setRebuildRate(&rate), 0);
    ASSERT_EQ(a().setCopyBackState(&one), 0);  // byte 32 bit 0
    ASSERT_EQ(a().setNCQState(1), 0);          // byte 32 bit 4: same byte as the one above
    ASSERT_EQ(a().setSpinDownTime(0x1234), 0); // bytes 38-39
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 0u);
    ASSERT_EQ(a().endCtlrPropUpdate(), 0);
    EXPECT_EQ(a().endCtlrPropUpdate(), 0);
    ASSERT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 1u);
    Bytes expected(64, 0);
    expected[8] = 255;
    expected[32] = 0x11;
    expected[38] = 0x34;
    expected[39] = 0x12;
    EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_PROPERTIES_SET)->sent, expected);
    EXPECT_EQ(ctrl.countB0(KV_DCMD_CTRL_PROPERTIES_GET, 0), 1u);
}

// ---------------------------------------------------------------------------
// Members that differ from the family

TEST_F(PropertiesTest, SpaceValuesOverlayTheLowSwitchesOfTheSecondSet) {
    Bytes prop(64, 0);
    prop[36] = 0xFF; // every low switch of the second set on
    prop[37] = 0xA5;
    serve(prop);
    ASSERT_EQ(a().setDefaultViewSpace(0), 0);
    unsigned char largeIo = 9;
    ASSERT_EQ(a().getLargeIOSupport(&largeIo), 0);
    EXPECT_EQ(largeIo, 0);
    unsigned char parity = 9;
    bool parityBypass = true;
    ASSERT_EQ(a().getParityReadCacheByPass(&parityBypass), 0);
    EXPECT_FALSE(parityBypass);
    ASSERT_EQ(a().setAutoSnapshotSpace(0x12), 0);
    ASSERT_EQ(a().getDefaultViewSpace(&parity), 0);
    EXPECT_EQ(parity, 0x12);
    unsigned char lqd = 0;
    ASSERT_EQ(a().getLargeQDepth(&lqd), 0); // 0x12 = bits 1 and 4
    EXPECT_EQ(lqd, 1);
    ASSERT_EQ(a().endCtlrPropUpdate(), 0);
    Bytes expected = prop;
    expected[36] = 0x12;
    EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_PROPERTIES_SET)->sent, expected);
}

// The prediction interval lives in the extension: without it both accessors refuse. The
// security settings only load the properties and change nothing.
TEST_F(PropertiesTest, MembersThatDoNothingHere) {
    serve(mixed(64));
    unsigned short interval = 0x1111;
    EXPECT_EQ(a().getPredFailDAInterval(&interval), -1);
    EXPECT_EQ(interval, 0x1111);
    EXPECT_EQ(a().setPredFailDAInterval(30), -1);
    EXPECT_FALSE(P::propExtChanged(a()));
    unsigned int v = 0xDEAD;
    EXPECT_EQ(a().getSecurityKeyPerPD(&v), 0);
    EXPECT_EQ(a().setSecurityKeyPerPD(&v), 0);
    EXPECT_EQ(a().getSecureAllPDs(&v), 0);
    EXPECT_EQ(a().setSecureAllPDs(&v), 0);
    EXPECT_EQ(v, 0xDEADu);
    EXPECT_FALSE(P::propChanged(a()));
    EXPECT_EQ(ctrl.countB0(KV_DCMD_CTRL_PROPERTIES_GET, 0), 1u);
    EXPECT_EQ(a().endCtlrPropExtUpdate(), 0);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 0u);

    reset();
    ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::fail(kFail));
    EXPECT_EQ(a().getSecureAllPDs(&v), kFail);
    EXPECT_EQ(a().setSecurityKeyPerPD(&v), kFail);
    EXPECT_FALSE(P::propChanged(a()));
}

// ---------------------------------------------------------------------------
// Alarm

TEST_F(PropertiesTest, AlarmStateIsReadDirectly) {
    struct Case {
        int status;
        std::uint8_t byte;
        int rc;
        unsigned char state; // 0xEE: untouched; 3: no alarm hardware
    };
    const Case cases[] = {{0, 0, 0, 0},    {0, 1, 0, 1},    {0, 2, 0, 2},
                          {0, 7, 0, 0xEE}, {0x22, 0, 0, 3}, {kFail, 1, kFail, 0xEE}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.status << "/" << int(c.byte));
        reset();
        FakeAnswer ans = FakeAnswer::ok(Bytes{c.byte});
        ans.status = c.status;
        ctrl.answer(KV_DCMD_CTRL_ALARM_GET, ans);
        unsigned char state = 0xEE;
        EXPECT_EQ(a().getalarmState(&state), c.rc);
        EXPECT_EQ(state, c.state);
        EXPECT_EQ(ctrl.requests().size(), 1u); // no cache is loaded
    }
}

TEST_F(PropertiesTest, AlarmSetterBringsTheCachedEnableInLineWithoutAWrite) {
    serve(Bytes(64, 0));
    ASSERT_EQ(a().beginCtlrPropUpdate(), 0);
    ASSERT_EQ(a().setalarmState(1), 0);
    EXPECT_EQ(P::prop(a())->alarmEnable, 1);
    ASSERT_EQ(a().setalarmState(2), 0); // silencing changes nothing cached
    EXPECT_EQ(P::prop(a())->alarmEnable, 1);
    EXPECT_FALSE(P::propChanged(a()));
    EXPECT_EQ(a().endCtlrPropUpdate(), 0);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 0u);

    ctrl.clear();
    EXPECT_EQ(a().setalarmState(3), -1); // no such state: nothing sent
    EXPECT_TRUE(ctrl.requests().empty());
    ctrl.answer(KV_DCMD_CTRL_ALARM_DISABLE, FakeAnswer::fail(kFail));
    EXPECT_EQ(a().setalarmState(0), kFail);
    EXPECT_EQ(P::prop(a())->alarmEnable, 1);
}

// ---------------------------------------------------------------------------
// Direct requests (the texts and the slot number read well are in the tests/sim round trip and
// walk golden)

TEST_F(PropertiesTest, HostInfoAndKeyIdBounds) {
    ctrl.answer(KV_DCMD_CTRL_HOST_INFO_GET, FakeAnswer::fail(kFail));
    unsigned char slot = 77;
    EXPECT_EQ(a().getHostInfo(&slot), kFail);
    EXPECT_EQ(slot, 77);

    // A full transfer without a terminator still gives a bounded text; a failure keeps it.
    ctrl.answer(KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, FakeAnswer::ok(Bytes(256, 'z')));
    std::string id = "old";
    EXPECT_EQ(a().getKeyID(id, 0), 0);
    EXPECT_EQ(id, std::string(256, 'z'));
    ctrl.answer(KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, FakeAnswer::fail(kFail));
    EXPECT_EQ(a().getKeyID(id, 0), kFail);
    EXPECT_EQ(id, std::string(256, 'z'));

    // An identifier without room for its terminator is refused unsent.
    ctrl.clear();
    std::string tooLong(256, 'q'), longest(255, 'q');
    EXPECT_EQ(a().setKeyID(tooLong), -1);
    EXPECT_TRUE(ctrl.requests().empty());
    EXPECT_EQ(a().setKeyID(longest), 0);
    EXPECT_EQ(ctrl.last(0x01150302)->sent[254], 'q');
    EXPECT_EQ(ctrl.last(0x01150302)->sent[255], 0);
}

} // namespace
