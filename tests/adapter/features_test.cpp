// Feature operations: fixed answers (bit positions written out from the record layout), where
// arguments go in the request, two-pass list and page reads with their cap, and write records.
// The requests with plain arguments are pinned by the simulator walk golden (tests/sim).
#include <algorithm>

#include "tests/adapter/AdapterFixture.h"
#include "json/elements.h"

namespace {

using namespace kvitest;

constexpr std::uint32_t kCap = 1024u * 1024u;

// Sets (or clears) `width` bits from bit `bit` of the little-endian unit at byte `offset`.
void setBits(Bytes& rec, std::size_t offset, unsigned bit, unsigned width, bool on = true) {
    for (std::size_t abs = offset * 8 + bit; abs < offset * 8 + bit + width; ++abs) {
        const auto mask = static_cast<std::uint8_t>(1u << (abs % 8));
        rec[abs / 8] = static_cast<std::uint8_t>(on ? rec[abs / 8] | mask : rec[abs / 8] & ~mask);
    }
}

using FeaturesTest = AdapterFixture;

// ---------------------------------------------------------------------------
// The fixed answers

enum class Src { Info, Prop, Mfc };
enum class Ret { Status, Answer }; // status + out-value, or the answer itself

struct FixedRow {
    const char* name;
    Src src;
    struct Pos {
        std::size_t offset;
        unsigned bit, width;
    };
    std::vector<Pos> pos; // every position must be set for the full answer
    std::uint32_t full;   // the answer with all those bits set
    Ret ret;
    std::function<int(AdapterDataKvi&, std::uint32_t&)> call;
};

#define ANSWER(op) [](AdapterDataKvi& a, std::uint32_t&) { return a.op(); }

using UC = unsigned char;
using US = unsigned short;
using UI = unsigned int;

// clang-format off
const std::vector<FixedRow> kFixed = {
    {"getMaintenanceMode", Src::Info, {{1528, 11, 2}}, 3, Ret::Status, KVI_OUT(getMaintenanceMode, UC)},
    {"getMaxLdPerArray", Src::Info, {{1928, 0, 8}}, 0xFF, Ret::Status, KVI_OUT(getMaxLdPerArray, UC)},
    {"getPerfMode", Src::Prop, {{47, 0, 2}}, 3, Ret::Status, KVI_OUT(getPerfMode, UC)},
    {"getPortCount", Src::Info, {{111, 0, 8}}, 0xFF, Ret::Status, KVI_OUT(getPortCount, UC)},
    {"getVdCount", Src::Info, {{1472, 0, 16}}, 0xFFFF, Ret::Status, KVI_OUT(getVdCount, unsigned short)},
    {"getProfileMgmtSupport", Src::Info, {{2120, 1, 2}}, 3, Ret::Status, KVI_OUT(getProfileMgmtSupport, UC)},
    {"isSnapshotSupported", Src::Info, {{1504, 30, 1}}, 1, Ret::Status, KVI_OUT(isSnapshotSupported, UC)},
    {"isAutoSnapshotSupported", Src::Info, {{1504, 30, 1}}, 1, Ret::Status, KVI_OUT(isAutoSnapshotSupported, bool)},
    {"getSnapshotState", Src::Info, {{1504, 30, 1}}, 1, Ret::Status, KVI_OUT(getSnapshotState, unsigned int)},
    {"isBreakMirrorSupported", Src::Info, {{1508, 14, 1}}, 1, Ret::Status, KVI_OUT(isBreakMirrorSupported, bool)},
    {"isCbsupported", Src::Info, {{2024, 17, 1}}, 1, Ret::Status, KVI_OUT(isCbsupported, bool)},
    {"isCpldSupported", Src::Info, {{1456, 14, 1}, {2024, 21, 1}}, 1, Ret::Answer, ANSWER(isCpldSupported)},
    {"isExtMfgVPDFlashSupported", Src::Info, {{2120, 5, 1}}, 1, Ret::Status, KVI_OUT(isExtMfgVPDFlashSupported, bool)},
    {"isNvmeErrorDeviceConnectorIndexSupported", Src::Info, {{2124, 6, 1}}, 1, Ret::Answer, ANSWER(isNvmeErrorDeviceConnectorIndexSupported)},
    {"isPISupported", Src::Info, {{1956, 0, 1}}, 1, Ret::Status, KVI_OUT(isPISupported, bool)},
    // Counts and capabilities the properties and rules read.
    {"getEccBucketCount", Src::Info, {{1524, 0, 16}}, 0xFFFF, Ret::Status, KVI_OUT(getEccBucketCount, US)},
    {"getmemUnCorrectableErrorCount", Src::Info, {{1494, 0, 16}}, 0xFFFF, Ret::Status, KVI_OUT(getmemUnCorrectableErrorCount, US)},
    {"isJBODSupported", Src::Info, {{1956, 11, 1}}, 1, Ret::Status, KVI_OUT(isJBODSupported, UI)},
    {"isBlockSSDWriteCacheChange", Src::Info, {{1956, 6, 1}}, 1, Ret::Status, KVI_OUT(isBlockSSDWriteCacheChange, bool)},
    {"getRevertibleHotSparesState", Src::Info, {{1504, 10, 1}}, 1, Ret::Status, KVI_OUT(getRevertibleHotSparesState, US)},
    {"isSecurityOnJBODSupported", Src::Info, {{2024, 18, 1}}, 1, Ret::Status, KVI_OUT(isSecurityOnJBODSupported, UI)},
    {"isSupportAllowedOpsforDrvRemoval", Src::Info, {{2024, 12, 1}}, 1, Ret::Status, KVI_OUT(isSupportAllowedOpsforDrvRemoval, UI)},
    {"isLargeIOSupported", Src::Info, {{2024, 30, 1}}, 1, Ret::Status, KVI_OUT(isLargeIOSupported, UI)},
    {"isAllowMixInLd", Src::Info, {{1520, 3, 1}}, 1, Ret::Status, KVI_OUT(isAllowMixInLd, bool)},
    {"isAllowSSDMixInLd", Src::Info, {{1520, 5, 1}}, 1, Ret::Status, KVI_OUT(isAllowSSDMixInLd, bool)},
    {"isAllowHDDSSDMix", Src::Info, {{1520, 6, 1}}, 1, Ret::Status, KVI_OUT(isAllowHDDSSDMix, bool)},
    {"isGen2Card", Src::Info, {{1504, 27, 1}}, 1, Ret::Status, KVI_OUT(isGen2Card, bool)},
    {"isNewFrnCfgAPISupported", Src::Info, {{1504, 20, 1}}, 1, Ret::Status, KVI_OUT(isNewFrnCfgAPISupported, bool)},
    {"isEnclEnumSupported", Src::Info, {{1504, 21, 1}}, 1, Ret::Status, KVI_OUT(isEnclEnumSupported, bool)},
    {"isExpanderPresent", Src::Info, {{1456, 7, 1}}, 1, Ret::Status, KVI_OUT(isExpanderPresent, bool)},
    {"isAlarmPresent", Src::Info, {{1456, 1, 1}}, 1, Ret::Status, KVI_OUT(isAlarmPresent, bool)},
    {"moreThan8Phys", Src::Info, {{1504, 18, 1}}, 1, Ret::Status, KVI_OUT(moreThan8Phys, bool)},
    {"moreThan16Phys", Src::Info, {{2024, 26, 1}}, 1, Ret::Status, KVI_OUT(moreThan16Phys, bool)},
    {"doesFWSupportAllowedOpValdation", Src::Info, {{1504, 22, 1}}, 1, Ret::Status, KVI_OUT(doesFWSupportAllowedOpValdation, bool)},
    {"isDskCachePlChnglb", Src::Info, {{1508, 4, 1}}, 1, Ret::Status, KVI_OUT(isDskCachePlChnglb, bool)},
    // The key state.
    {"isSecurityEnabled", Src::Info, {{1504, 26, 1}}, 1, Ret::Status, KVI_OUT(isSecurityEnabled, bool)},
    {"isEKMSupported", Src::Info, {{1504, 29, 1}}, 1, Ret::Status, KVI_OUT(isEKMSupported, bool)},
    {"isLockKeyAssigned", Src::Info, {{1528, 1, 1}}, 1, Ret::Status, KVI_OUT(isLockKeyAssigned, bool)},
    {"isLockKeyFailed", Src::Info, {{1528, 2, 1}}, 1, Ret::Status, KVI_OUT(isLockKeyFailed, bool)},
    {"islockKeyRebootRequired", Src::Info, {{1528, 6, 1}}, 1, Ret::Status, KVI_OUT(islockKeyRebootRequired, bool)},
    {"getlockKeyBinding", Src::Info, {{1930, 0, 8}}, 0xFF, Ret::Status, KVI_OUT(getlockKeyBinding, UC)},
    {"isSecurityKeyMismatch", Src::Info, {{2000, 8, 1}}, 1, Ret::Status, KVI_OUT(isSecurityKeyMismatch, UI)},
    // The manufacturing defaults.
    {"isPowerSavingsSupported", Src::Mfc, {{55, 0, 8}}, 0xFF, Ret::Status, KVI_OUT(isPowerSavingsSupported, UC)},
};
// clang-format on

// Only the field set: the full answer, from one read. Everything but the field (or, for a
// two-position answer, one of them missing): no answer. A failed load: its status and the
// out-value untouched (an answer-only member answers 0).
TEST_F(FeaturesTest, FixedAnswersReadTheirFieldAndNothingElse) {
    for (const FixedRow& row : kFixed) {
        SCOPED_TRACE(row.name);
        const std::uint32_t opcode = row.src == Src::Prop  ? KV_DCMD_CTRL_PROPERTIES_GET
                                     : row.src == Src::Mfc ? KV_DCMD_CTRL_MFC_DEFAULTS_GET
                                                           : KV_DCMD_CTRL_GET_INFO;
        const std::size_t size = row.src == Src::Prop ? 64 : row.src == Src::Mfc ? 80 : 2464;
        auto run = [&](const FakeAnswer& answer, std::uint32_t io, std::uint32_t want, int rc) {
            reset();
            ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::ok(Bytes(2464, 0)));
            ctrl.answer(opcode, answer);
            const int got = row.call(a(), io);
            EXPECT_EQ(got, row.ret == Ret::Status ? rc : static_cast<int>(want));
            EXPECT_EQ(io, row.ret == Ret::Status ? want : io);
        };
        Bytes only(size, 0);
        for (const auto& p : row.pos) {
            setBits(only, p.offset, p.bit, p.width);
        }
        run(FakeAnswer::ok(only), 0, row.full, 0);
        EXPECT_EQ(ctrl.count(opcode), 1u);
        for (const auto& p : row.pos) {
            Bytes others(size, 0xFF);
            setBits(others, p.offset, p.bit, p.width, false);
            run(FakeAnswer::ok(others), 0xA5, 0, 0);
        }
        run(FakeAnswer::fail(kFail), 1, row.ret == Ret::Status ? 1 : 0, kFail);
    }
}

// Byte 32: bit 0 copy-back disabled, bits 1 and 5 copy-back on SMART errors, bits 2-4 left.
TEST_F(FeaturesTest, SetAllCopybackChangesThreeBitsAndSendsOnlyAtEndUpdate) {
    const struct {
        unsigned char value;
        std::uint8_t before, after;
    } cases[] = {{1, 0x1D, 0x3E}, {0, 0x3E, 0x1D}, {7, 0x1D, 0x3E}};
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.value));
        reset();
        Bytes prop = pattern(64);
        prop[32] = c.before;
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::ok(Bytes(2464, 0)));
        ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::ok(prop));
        EXPECT_EQ(a().setAllCopyback(c.value), 0);
        EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 0u);
        ASSERT_EQ(a().endCtlrPropUpdate(), 0);
        ASSERT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 1u);
        prop[32] = c.after;
        EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_PROPERTIES_SET)->sent, prop);
    }
    // Carry-on: a failed load returns its status, raises the flag all the same, and the
    // write-back then refuses with -1.
    reset();
    ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::fail(kFail));
    EXPECT_EQ(a().setAllCopyback(1), kFail);
    EXPECT_TRUE(P::propChanged(a()));
    EXPECT_EQ(a().endCtlrPropUpdate(), -1);
}

// ---------------------------------------------------------------------------
// Where the arguments go in the request (the requests themselves with zero arguments are in the
// walk golden of tests/sim)

struct RequestRow {
    const char* what;
    std::function<int(AdapterDataKvi&)> call;
    std::uint32_t opcode;
    Mbox mbox;
    std::uint32_t callerLength; // as passed: 0 = standard size
    std::uint32_t length;       // as it reached the controller
    kvi::Direction dir;
};

using D = kvi::Direction;

unsigned char uc;
unsigned char* bytes;
unsigned int len;
std::string text;
int freed(int rc) {
    delete[] bytes;
    bytes = nullptr;
    return rc;
}
#define CALL(expr) [](AdapterDataKvi& a) { return expr; }

// clang-format off
const RequestRow kRequests[] = {
    // Commands without data: every argument in the mailbox.
    {"setDPMState", CALL(a.setDPMState(0x11223344u, 0x55667788u)), KV_DCMD_DPM_CTRL, mboxWords(0x11223344u, 0x55667788u, 1), 0, 0, D::None},
    {"clearPreservedCacheData", CALL(a.clearPreservedCacheData(7)), KV_DCMD_LD_DISCARD_PINNED, mboxBytes({{0, 7}, {1, 1}}), 0, 0, D::None},
    {"sscForceFlush ssc", CALL(a.sscForceFlush(3, false)), KV_DCMD_CTRL_CACHE_FLUSH, mboxBytes({{0, 4}, {1, 3}}), 0, 0, D::None},
    {"sscForceFlush all", CALL(a.sscForceFlush(9, true)), KV_DCMD_CTRL_CACHE_FLUSH, mboxBytes({{0, 7}, {1, 9}}), 0, 0, D::None},
    {"setPersonality(p)", CALL(a.setPersonality(0x1208)), KV_DCMD_CTRL_PERSONALITY_SET, mboxBytes({{0, 0x08}, {1, 0x12}}), 0, 0, D::None},
    {"setPersonality(p,q)", CALL(a.setPersonality(4, 0x0302)), KV_DCMD_CTRL_PERSONALITY_SET, mboxBytes({{0, 4}, {2, 2}, {3, 3}}), 0, 0, D::None},
    {"setMemScrubPattern", CALL(a.setMemScrubPattern(2, 0xDEADBEEFu)), KV_DCMD_CTRL_DIAG_MEM_SCRUB_PATTERN_SET, mboxWords(2, 0xDEADBEEFu), 0, 0, D::None},
    {"setControllerHA", CALL(a.setControllerHA(2)), KV_DCMD_CTRL_CONTROL_HA_MODE_SET, mboxBytes({{0, 2}}), 0, 0, D::None},
    {"setMaintenanceMode", CALL(a.setMaintenanceMode(1)), KV_DCMD_CTRL_MAINTENANCE_MODE_SET, mboxBytes({{0, 1}}), 0, 0, D::None},
    {"sendNVMeRepairRequest", CALL(a.sendNVMeRepairRequest(5)), KV_DCMD_PCIE_NVME_REPAIR, mboxBytes({{0, 5}}), 0, 0, D::None},
    {"setInvalidateSlot", CALL(a.setInvalidateSlot(3)), KV_DCMD_CTRL_PSEC_SLOT_MGMT, mboxBytes({{0, 3}}), 0, 0, D::None},
    {"startDiag", CALL(a.startDiag(0x0Bu, nullptr)), KV_DCMD_CTRL_DIAG_SELF_CHECK, mboxWords(0x0B, 3), 0, 0, D::None},
    // Reads whose arguments go into the mailbox or set the length.
    {"getAutoConfigParam", CALL(a.getAutoConfigParam(&uc, 5, 6)), KV_DCMD_CFG_AUTOCFG, mboxBytes({{4, 5}, {5, 6}}), 0, 8, D::Both},
    {"getSnapDumpData", CALL((len = 100, freed(a.getSnapDumpData(3, 0x1000, &bytes, &len)))), KV_DCMD_CTRL_SNAPDUMP_GET, mboxBytes({{0, 2}, {1, 3}, {5, 0x10}}), 100, 100, D::Read},
    {"getOOBInfo", CALL(freed(a.getOOBInfo(2, &bytes, &len))), KV_DCMD_OOB_METHOD_GET, mboxBytes({{0, 2}}), 0, 16, D::Read},
    {"getMfgExtPage", CALL(freed(a.getMfgExtPage(4, &bytes, &len))), KV_DCMD_CTRL_CONFIG_PAGE_GET, mboxBytes({{0, 1}, {1, 4}}), 0, 256, D::Read},
    // From the other families: events, alarm, shutdown, link speed, key id.
    {"startAEC", CALL(a.startAEC(0x55667788)), 0x01180100, mboxWords(2, 0x55667788), 0, 0, D::None},
    {"setAECCaptureMode", CALL(a.setAECCaptureMode(0x9C)), 0x01180100, mboxWords(3, 0x9C), 0, 0, D::None},
    {"setalarmState(1)", CALL(a.setalarmState(1)), 0x01030200, Mbox{}, 0, 0, D::None},
    {"setalarmState(2)", CALL(a.setalarmState(2)), 0x01030400, Mbox{}, 0, 0, D::None},
    {"adpShutDown(1)", CALL(a.adpShutDown(true)), KV_DCMD_CTRL_SHUTDOWN, mboxBytes({{0, 1}}), 0, 0, D::None},
    {"adpRestart(1)", CALL(a.adpRestart(true)), KV_DCMD_CTRL_SHUTDOWN, mboxBytes({{1, 1}}), 0, 0, D::None},
    {"setLinkSpeed", CALL(a.setLinkSpeed(0x105, 0x208)), KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 5}, {1, 8}}), 0, 0, D::None},
    {"getKeyID", CALL(a.getKeyID(text, 0x42)), 0x01150301, mboxBytes({{0, 0xFF}, {1, 0xFF}, {2, 0x42}}), 0, 256, D::Read},
};
// clang-format on

TEST_F(FeaturesTest, RequestBytesOfEachFamily) {
    for (const RequestRow& row : kRequests) {
        SCOPED_TRACE(row.what);
        reset();
        EXPECT_EQ(row.call(a()), 0);
        ASSERT_EQ(ctrl.requests().size(), 1u);
        const FakeRequest& r = ctrl.requests()[0];
        EXPECT_EQ(r.kind, RequestKind::Firmware);
        EXPECT_EQ(r.opcode, row.opcode);
        EXPECT_EQ(r.mbox, row.mbox);
        EXPECT_EQ(r.callerLength, row.callerLength);
        EXPECT_EQ(r.length, row.length);
        EXPECT_EQ(r.direction, row.dir);
        if (row.length == 0) {
            EXPECT_FALSE(r.callerBuffer);
        } else {
            EXPECT_GE(r.capacity, row.length); // the buffer holds the whole transfer
        }
    }
}

TEST_F(FeaturesTest, WritesCarryTheCallersBytesThenZeros) {
    // Nothing to write, more than the record holds, or no room for a read: refused, nothing sent.
    const unsigned char cert[] = {'C', 'E', 'R', 'T'};
    const Bytes big(17, 1);
    unsigned int length = 0;
    EXPECT_EQ(a().setOOBInfo(big.data(), 17), -1);
    EXPECT_EQ(a().setFirmwareDebug(nullptr, 4), -1);
    EXPECT_EQ(a().importCSR(cert, 0), -1);
    EXPECT_EQ(a().getDPMCfg(nullptr, &length), -1);
    EXPECT_EQ(a().getLDSpanList(nullptr, &length), -1);
    EXPECT_EQ(a().getConfigPageGeneric(1, 0, 0, nullptr, &length), -1);
    EXPECT_TRUE(ctrl.requests().empty());

    // setAutoConfigParam sends its value in byte 0 of the record.
    ASSERT_EQ(a().setAutoConfigParam(9), 0);
    EXPECT_EQ(ctrl.last(KV_DCMD_CFG_AUTOCFG)->sent, (Bytes{9, 0, 0, 0, 0, 0, 0, 0}));

    // The SSD-cache target list: size, count, ids, within the 264-byte record.
    ArrayList<unsigned char> ids;
    ids.add(3);
    ids.add(9);
    ASSERT_EQ(a().setSscdTargetIds(&ids), 0);
    const auto* set = ctrl.last(KV_DCMD_LD_SSCD_SET_LDS);
    ASSERT_EQ(set->sent.size(), 264u);
    EXPECT_EQ(Bytes(set->sent.begin(), set->sent.begin() + 11),
              (Bytes{10, 0, 0, 0, 2, 0, 0, 0, 3, 9, 0}));
    ArrayList<unsigned char> tooMany;
    for (int i = 0; i < 257; ++i) {
        tooMany.add(1);
    }
    ctrl.clear();
    EXPECT_EQ(a().setSscdTargetIds(&tooMany), -1);
    EXPECT_TRUE(ctrl.requests().empty());
}

TEST_F(FeaturesTest, SetSnapDumpInfoReadsChangesAndWritesTheWholeRecord) {
    const Bytes current = pattern(16, 0xA0);
    ctrl.answer(KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES, FakeAnswer::ok(current));
    const unsigned char change[2] = {1, 2};
    ASSERT_EQ(a().setSnapDumpInfo(change, 2), 0);
    EXPECT_EQ(ctrl.opcodes(), (std::vector<std::uint32_t>{KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES,
                                                          KV_DCMD_CTRL_SNAPDUMP_SET_PROPERTIES}));
    Bytes expect = current;
    expect[0] = 1;
    expect[1] = 2;
    EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_SNAPDUMP_SET_PROPERTIES)->sent, expect);

    // A failed read writes nothing.
    reset();
    ctrl.answer(KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES, FakeAnswer::fail(kFail));
    EXPECT_EQ(a().setSnapDumpInfo(change, 2), kFail);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_SNAPDUMP_SET_PROPERTIES), 0u);
}

// ---------------------------------------------------------------------------
// Two-pass list reads

// The head at its standard size (the NVMe error list: an explicit 32 bytes), then the whole list
// at the size the head announces, up to the cap; a head that announces no more than itself is
// the whole list. On a failure nothing is handed over.
TEST_F(FeaturesTest, TwoPassListReads) {
    using Read = int (AdapterDataKvi::*)(unsigned char**, unsigned int*);
    const struct {
        const char* what;
        Read read;
        std::uint32_t opcode, announced;
        int second, rc;
        std::uint32_t headCaller, headLength;
        std::size_t requests;
    } rows[] = {
        // clang-format off
        {"scrub patterns", &AdapterDataKvi::getMemScrubPatterns, KV_DCMD_CTRL_DIAG_MEM_SCRUB_PATTERN_GET, 40, 0, 0, 0, 8, 2},
        {"head only", &AdapterDataKvi::getLDSpanList, KV_DCMD_LD_GET_SPAN_LIST, 0, 0, 0, 0, 8, 1},
        {"at the cap", &AdapterDataKvi::getLDSpanList, KV_DCMD_LD_GET_SPAN_LIST, kCap, 0, 0, 0, 8, 2},
        {"past the cap", &AdapterDataKvi::getLDSpanList, KV_DCMD_LD_GET_SPAN_LIST, kCap + 1, 0, -1, 0, 8, 1},
        {"second pass fails", &AdapterDataKvi::getLDSpanList, KV_DCMD_LD_GET_SPAN_LIST, 64, kFail, kFail, 0, 8, 2},
        {"nvme errors", &AdapterDataKvi::getNVMEErrorList, KV_DCMD_PCIE_NVME_INIT_ERROR_GET_LIST, 48, 0, 0, 32, 32, 2},
        // clang-format on
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        reset();
        Bytes list = pattern(64);
        std::memcpy(list.data(), le32(r.announced).data(), 4);
        ctrl.answerOnce(r.opcode, FakeAnswer::ok(list));
        ctrl.answerOnce(r.opcode,
                        r.second != 0 ? FakeAnswer::fail(r.second) : FakeAnswer::ok(list));
        unsigned char sentinel = 0;
        unsigned char* out = &sentinel;
        unsigned int length = 77;
        EXPECT_EQ((a().*r.read)(&out, &length), r.rc);
        ASSERT_EQ(ctrl.requests().size(), r.requests);
        EXPECT_EQ(ctrl.requests()[0].callerLength, r.headCaller);
        EXPECT_EQ(ctrl.requests()[0].length, r.headLength);
        if (r.requests == 2) {
            EXPECT_EQ(ctrl.requests()[1].callerLength, r.announced);
            EXPECT_EQ(ctrl.requests()[1].capacity, r.announced);
        }
        if (r.rc != 0) {
            EXPECT_EQ(out, &sentinel);
            EXPECT_EQ(length, 77u);
            continue;
        }
        ASSERT_EQ(length, std::max(r.announced, r.headLength));
        EXPECT_EQ(Bytes(out, out + std::min(length, 64u)),
                  Bytes(list.begin(), list.begin() + std::min(length, 64u)));
        delete[] out;
    }
}

TEST_F(FeaturesTest, SscdTargetIdsBothPassesNameTheListAndCountIsBounded) {
    // More ids than the list holds: only the 4 present are taken.
    const Bytes list{12, 0, 0, 0, 200, 0, 0, 0, 1, 5, 7, 64};
    ctrl.answer(KV_DCMD_LD_SSCD_GET_LDS, FakeAnswer::ok(list));
    ArrayList<unsigned char> ids;
    ids.add(99); // appended to, never cleared
    ASSERT_EQ(a().getSscdTargetIds(&ids, 2), 0);
    ASSERT_EQ(ctrl.requests().size(), 2u);
    for (const auto& r : ctrl.requests()) {
        EXPECT_EQ(r.mbox, mboxBytes({{0, 2}}));
    }
    ASSERT_EQ(ids.getCount(), 5u);
    EXPECT_EQ(ids.get(0), 99);
    EXPECT_EQ(ids.get(1), 1);
    EXPECT_EQ(ids.get(4), 64);
}

// ---------------------------------------------------------------------------
// Configuration and manufacturing pages

TEST_F(FeaturesTest, ConfigPageReadSendsHeaderThenPage) {
    Bytes header(12, 0);
    std::memcpy(header.data() + 8, le32(6).data(), 4);
    const Bytes page = pattern(18, 0xC0);
    ctrl.answerOnce(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, FakeAnswer::ok(header));
    ctrl.answerOnce(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, FakeAnswer::ok(page));
    unsigned char* out = nullptr;
    unsigned int length = 0;
    ASSERT_EQ(a().getConfigPageGeneric(0x12, 3, 0x01020304u, &out, &length), 0);
    ASSERT_EQ(ctrl.requests().size(), 2u);
    const auto& h = ctrl.requests()[0];
    EXPECT_EQ(h.mbox, Mbox{});
    EXPECT_EQ(h.callerLength, 12u);
    EXPECT_EQ(h.direction, D::Both);
    EXPECT_EQ(h.sent, (Bytes{0, 0x12, 3, 0, 4, 3, 2, 1, 0, 0, 0, 0}));
    const auto& p = ctrl.requests()[1];
    EXPECT_EQ(p.callerLength, 18u);
    EXPECT_EQ(Bytes(p.sent.begin(), p.sent.begin() + 12),
              (Bytes{1, 0x12, 3, 0, 4, 3, 2, 1, 6, 0, 0, 0}));
    ASSERT_EQ(length, 6u);
    EXPECT_EQ(Bytes(out, out + 6), Bytes(page.begin() + 12, page.end()));
    delete[] out;

    // An empty page (the walk golden: no second request, length 0) leaves a null buffer.
    reset();
    length = 9;
    ASSERT_EQ(a().readManufacturingPage(2, &out, &length), 0);
    EXPECT_EQ(ctrl.requests()[0].sent.at(2), 2);
    EXPECT_EQ(out, nullptr);

    // A page longer than the cap is refused after the header.
    reset();
    std::memcpy(header.data() + 8, le32(kCap).data(), 4);
    ctrl.answer(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, FakeAnswer::ok(header));
    EXPECT_EQ(a().getConfigPageInfoMPI2(1, 0, 0, &out, &length), -1);
    EXPECT_EQ(ctrl.requests().size(), 1u);
}

// The frame itself is in the walk golden: head + page fit the 1 MiB cap at most; one byte more
// is refused before anything is sent.
TEST_F(FeaturesTest, WriteManufacturingPageFrameWithinTheCap) {
    const Bytes largest(1024 * 1024 - 12, 0xA5);
    ASSERT_EQ(a().writeManufacturingPage(5, largest.data(), largest.size()), 0);
    EXPECT_EQ(ctrl.last(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH)->callerLength, 1024u * 1024u);
    const std::size_t sent = ctrl.requests().size();
    const Bytes tooLarge(largest.size() + 1, 0xA5);
    EXPECT_EQ(a().writeManufacturingPage(5, tooLarge.data(), tooLarge.size()), -1);
    EXPECT_EQ(ctrl.requests().size(), sent);
}

TEST_F(FeaturesTest, OperationsThatNeedTheDataProvider) {
    ProviderOffGuard off;
    unsigned char* out = nullptr;
    unsigned int length = 0;
    unsigned int pageLength = 0;
    const unsigned char data[1] = {1};
    EXPECT_EQ(a().getConfigPageGeneric(1, 0, 0, &out, &length), -1);
    EXPECT_EQ(a().getConfigPageInfo(1, 0, 0, &out, &length), -1);
    EXPECT_EQ(a().getConfigPageInfoMPI2(1, 0, 0, &out, &length), -1);
    EXPECT_EQ(a().getConfigPageHeader(1, 0, 0, &pageLength), -1);
    EXPECT_EQ(a().readManufacturingPage(1, &out, &length), -1);
    EXPECT_EQ(a().writeManufacturingPage(1, data, 1), -1);
    EXPECT_EQ(a().getMfgExtPage(1, &out, &length), -1);
    EXPECT_EQ(a().getSecurityPage0(&out, &length), -1);
    EXPECT_EQ(a().adpBBUTest(), -1);
    int oem = 0;
    EXPECT_EQ(a().getOem(&oem), -1);
    EXPECT_TRUE(ctrl.requests().empty());
}

// ---------------------------------------------------------------------------
// Private loopback, SMP, personalities and the out-value rule

TEST_F(FeaturesTest, PhyLoopbackIsAPrivateRequestWithOneObjectPerResult) {
    Bytes answer(200, 0);
    answer[0] = 2;
    answer[8] = 3;  // phy 3 passed
    answer[16] = 3; // phy 3, second result
    answer[17] = 1; // failed
    answer[20] = 5; // 5 errors
    ctrl.answer(KV_DCMD_CTRL_DIAG_PHY_LOOPBACK, FakeAnswer::ok(answer));
    json::Array results;
    bool passed = true;
    ASSERT_EQ(a().startDiagPhyLoopBackTest(3, &results, &passed), 0);
    const auto* r = ctrl.last(KV_DCMD_CTRL_DIAG_PHY_LOOPBACK);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->kind, RequestKind::Private);
    EXPECT_EQ(r->mbox, mboxBytes({{0, 3}}));
    EXPECT_EQ(r->callerLength, 200u);
    EXPECT_FALSE(passed);
    ASSERT_EQ(results.Size(), 2u);
    json::Object second;
    second["Phy"] = json::Number(3);
    second["Result"] = json::String("Fail");
    second["Error Count"] = json::Number(5);
    EXPECT_TRUE(*results.At(1) == json::UnknownElement(second));

    // A count beyond the answer buffer is bounded; a failure writes nothing.
    reset();
    answer[0] = 0xFF;
    answer[17] = 0;
    ctrl.answer(KV_DCMD_CTRL_DIAG_PHY_LOOPBACK, FakeAnswer::ok(answer));
    json::Array many;
    ASSERT_EQ(a().startDiagPhyLoopBackTest(0, &many, &passed), 0);
    EXPECT_EQ(many.Size(), 24u);
    EXPECT_TRUE(passed);
    reset();
    ctrl.answer(KV_DCMD_CTRL_DIAG_PHY_LOOPBACK, FakeAnswer::fail(kFail));
    json::Array none;
    passed = false;
    EXPECT_EQ(a().startDiagPhyLoopBackTest(0, &none, &passed), kFail);
    EXPECT_TRUE(none.Empty());
    EXPECT_FALSE(passed);
}

TEST_F(FeaturesTest, ExpanderPhyCountBySmpReportGeneral) {
    Bytes response(64, 0);
    response[0] = 0x41;
    response[9] = 12;
    ctrl.backend().answerSmp(FakeAnswer::ok(response));
    unsigned char phys = 0;
    ASSERT_EQ(a().GetExpanderNumPhy(0x5000ABCD12345678ull, &phys), 0);
    EXPECT_EQ(phys, 12);
    EXPECT_EQ(ctrl.lastRequest()->sent, (Bytes{0x40, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(ctrl.lastRequest()->responseLength, 64u);

    // A function result other than accepted is the status; a foreign frame is refused.
    response[2] = 0x02;
    ctrl.backend().answerSmp(FakeAnswer::ok(response));
    phys = 0xEE;
    EXPECT_EQ(a().GetExpanderNumPhy(1, &phys), 2);
    response[0] = 0x00;
    ctrl.backend().answerSmp(FakeAnswer::ok(response));
    EXPECT_EQ(a().GetExpanderNumPhy(1, &phys), -1);
    EXPECT_EQ(phys, 0xEE);
}

TEST_F(FeaturesTest, PersonalitySupportLooksForItsCode) {
    struct Case {
        std::uint16_t listed;
        bool jbod, sds;
    };
    for (const Case c : {Case{8, true, false}, Case{4, false, true}, Case{1, false, false}}) {
        SCOPED_TRACE(c.listed);
        reset();
        KV_CTRL_PERSONALITY_INFO info{};
        info.personalityBitmap = 8 | 4; // the current bitmap is not what is asked
        info.supportedPersonalities[7] = c.listed;
        ctrl.answer(KV_DCMD_CTRL_PERSONALITY_GET, FakeAnswer::record(info));
        bool jbod = !c.jbod;
        bool sds = !c.sds;
        ASSERT_EQ(a().isJBODPersonalitysupported(&jbod), 0);
        ASSERT_EQ(a().isSDSsupported(&sds), 0);
        EXPECT_EQ(jbod, c.jbod);
        EXPECT_EQ(sds, c.sds);
        EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PERSONALITY_GET), 2u); // read afresh each time
    }
    reset();
    ctrl.answer(KV_DCMD_CTRL_PERSONALITY_GET, FakeAnswer::fail(kFail));
    bool jbod = true;
    EXPECT_EQ(a().isJBODPersonalitysupported(&jbod), kFail);
    EXPECT_TRUE(jbod);
}

TEST_F(FeaturesTest, GetControllerInfoReadsAFreshCopyAndLeavesTheCacheAlone) {
    Bytes info(2464, 0);
    info[1344] = 'X';
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::ok(info));
    KV_CTRL_INFO mine{};
    ASSERT_EQ(a().getControllerInfo(&mine), 0);
    EXPECT_EQ(mine.productName[0], 'X');
    EXPECT_EQ(P::ctrlInfo(a()), nullptr);
    ASSERT_EQ(a().getControllerInfo(&mine), 0);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 2u);

    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(kFail));
    mine.productName[0] = 'Y';
    EXPECT_EQ(a().getControllerInfo(&mine), kFail);
    EXPECT_EQ(mine.productName[0], 'Y');
}

// A firmware refusal comes back as it is; out-values are written only on success.
TEST_F(FeaturesTest, RefusalsAndOutValuesOnlyOnSuccess) {
    ctrl.setDefault(FakeAnswer::fail(kFail));
    EXPECT_EQ(a().clearEventLog(), kFail);
    EXPECT_EQ(a().startPr(), kFail);
    EXPECT_EQ(a().flushCache(), kFail);
    EXPECT_EQ(a().startManualLearnCycle(), kFail);
    EXPECT_EQ(a().adpSetSASAdd(1, true), kFail);
    EXPECT_EQ(a().setalarmState(0), kFail);
    unsigned char uc = 0x5A;
    unsigned long long bits = 0x5A;
    std::string text = "keep";
    unsigned char* out = reinterpret_cast<unsigned char*>(&uc);
    unsigned int length = 3;
    std::vector<unsigned char> profile(16, 0x5A);
    json::Array arr;
    EXPECT_EQ(a().getControllerHA(&uc), kFail);
    EXPECT_EQ(a().getAutoConfigParam(&uc, 0, 0), kFail);
    EXPECT_EQ(a().getPreservedCacheVDBits(&bits), kFail);
    EXPECT_EQ(a().getCtrlManfactureSno(text), kFail);
    EXPECT_EQ(a().exportCSR(&out, &length), kFail);
    EXPECT_EQ(a().getProfileData(profile.data(), 16), kFail);
    EXPECT_EQ(a().showSSCDFlush(arr), kFail);
    EXPECT_EQ(a().startDiag(1, &arr), kFail);
    EXPECT_EQ(uc, 0x5A);
    EXPECT_EQ(bits, 0x5Au);
    EXPECT_EQ(text, "keep");
    EXPECT_EQ(out, &uc);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(profile, std::vector<unsigned char>(16, 0x5A));
    EXPECT_TRUE(arr.Empty());
}

TEST_F(FeaturesTest, TextAndProfileAnswers) {
    KV_MFC_MFG mfg{};
    std::memcpy(mfg.sn, "SN0123456789ABCD", 16); // all 16 characters, no terminator
    ctrl.answer(KV_DCMD_CTRL_MFC_MFG_GET, FakeAnswer::record(mfg));
    std::string sn;
    ASSERT_EQ(a().getCtrlManfactureSno(sn), 0);
    EXPECT_EQ(sn, "SN0123456789ABCD");

    ctrl.answer(KV_DCMD_CTRL_PSEC_EXPORT_CSR, FakeAnswer::ok(Bytes{'R', 'E', 'Q', 0, 'x'}));
    unsigned char* out = nullptr;
    unsigned int length = 0;
    ASSERT_EQ(a().exportCSR(&out, &length), 0);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(Bytes(out, out + 3), (Bytes{'R', 'E', 'Q'}));
    delete[] out;

    ctrl.answer(KV_DCMD_CTRL_PROFILE_LIST_GET, FakeAnswer::ok(Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    std::vector<unsigned char> profile(12, 0);
    ASSERT_EQ(a().getProfileData(profile.data(), 12), 0);
    EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_PROFILE_LIST_GET)->callerLength, 12u);
    EXPECT_EQ(profile, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0}));
    EXPECT_EQ(a().getProfileData(profile.data(), 0), -1); // no room: nothing is asked
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROFILE_LIST_GET), 1u);

    ctrl.answer(KV_DCMD_CTRL_SSC_FLUSH_STATUS, FakeAnswer::ok(le32(2)));
    json::Array flush;
    ASSERT_EQ(a().showSSCDFlush(flush), 0);
    ASSERT_EQ(flush.Size(), 1u);
    EXPECT_TRUE(*flush.At(0) == json::UnknownElement(json::Number(2)));

    json::Array diag;
    ASSERT_EQ(a().startDiag(0x5u, &diag), 0);
    ASSERT_EQ(diag.Size(), 2u);
    json::Object second;
    second["Test"] = json::Number(2);
    second["Status"] = json::String("Started");
    EXPECT_TRUE(*diag.At(1) == json::UnknownElement(second));
}

TEST_F(FeaturesTest, NvmeRepairWithoutController) {
    EXPECT_EQ(AdapterDataKvi(nullptr, nullptr).sendNVMeRepairRequest(1), -1);
}

} // namespace
