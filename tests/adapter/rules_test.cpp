// Configuration rules over controller variants (OEM codes, RAID level bits, span limits, drive
// counts per level), and the reads of their own (their fixed request bytes are in the walk golden).
#include <algorithm>

#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

using List = std::vector<unsigned char>;
using UC = unsigned char;

constexpr int kNo = -1000; // "this call returns the status below, output untouched"

// The drive counts every variant starts from: distinct per level so that a
// wrong pairing shows (min in bits 0-3, max in bits 4-15).
KV_CTRL_INFO baseInfo() {
    KV_CTRL_INFO i{};
    auto& p = i.pdsForRaidLevels;
    p.minPdRaidLevel_0 = 1, p.maxPdRaidLevel_0 = 32;
    p.minPdRaidLevel_1 = 2, p.maxPdRaidLevel_1 = 2;
    p.minPdRaidLevel_5 = 3, p.maxPdRaidLevel_5 = 35;
    p.minPdRaidLevel_1E = 5, p.maxPdRaidLevel_1E = 36;
    p.minPdRaidLevel_6 = 3, p.maxPdRaidLevel_6 = 37;
    p.minPdRaidLevel_10 = 4, p.maxPdRaidLevel_10 = 38;
    p.minPdRaidLevel_50 = 6, p.maxPdRaidLevel_50 = 39;
    p.minPdRaidLevel_60 = 10, p.maxPdRaidLevel_60 = 40;
    p.minPdRaidLevel_1E_RLQ0 = 7, p.maxPdRaidLevel_1E_RLQ0 = 0x10A; // 266: low byte 10
    p.minPdRaidLevel_1E0_RLQ0 = 8, p.maxPdRaidLevel_1E0_RLQ0 = 240;
    i.maxArms = 16;
    i.maxSpans = 8;
    return i;
}

struct Variant {
    const char* name;
    std::function<void(KV_CTRL_INFO&)> setup;
    int oem;       // OEM identifier the controller answers
    int oemStatus; // status of the OEM request
};

// clang-format off
const Variant kPlain{"plain", [](KV_CTRL_INFO&) {}, 0, 0};
const Variant kOem2Rlq0{"oem2_rlq0", [](KV_CTRL_INFO& i) { i.raidLevels.raidLevel_1E_RLQ0 = 1; }, 2, 0};
const Variant kOem2{"oem2", [](KV_CTRL_INFO&) {}, 2, 0};
const Variant kRlq0Only{"rlq0_oem0", [](KV_CTRL_INFO& i) { i.raidLevels.raidLevel_1E0_RLQ0 = 1; }, 0, 0};
const Variant kOemFails{"oem_fails_rlq0", [](KV_CTRL_INFO& i) { i.raidLevels.raidLevel_1E_RLQ0 = 1; }, 2, 0x0C};
const Variant kNoSpans{"oem2_rlq0_no_spans", [](KV_CTRL_INFO& i) { i.raidLevels.raidLevel_1E_RLQ0 = 1; i.maxSpans = 0; }, 2, 0};
// clang-format on

class RulesTest : public ::testing::Test {
protected:
    FakeController ctrl;
    LogCapture log;
    std::unique_ptr<AdapterDataKvi> obj;

    AdapterDataKvi& use(const Variant& v) {
        KV_CTRL_INFO info = baseInfo();
        v.setup(info);
        return use(info, v.oem, v.oemStatus);
    }
    AdapterDataKvi& use(const KV_CTRL_INFO& info, int oem = 0, int oemStatus = 0) {
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
        const std::uint32_t word = static_cast<std::uint32_t>(oem);
        ctrl.answer(KV_DCMD_CTRL_OEM_ID_GET,
                    oemStatus == 0 ? FakeAnswer::record(word) : FakeAnswer::fail(oemStatus));
        obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
        ctrl.clear();
        return *obj;
    }
};

// ---------------------------------------------------------------------------
// Drives per span

// Expected (min, max) per level in each variant; kNo = -1 returned.
struct PdRow {
    unsigned char level;
    int min[6];
    int max[6];
};
const Variant* const kPdVariants[6] = {&kPlain,    &kOem2Rlq0, &kOem2,
                                       &kRlq0Only, &kOemFails, &kNoSpans};
// Columns: plain, oem2_rlq0, oem2, rlq0_oem0, oem_fails_rlq0, oem2_rlq0_no_spans.
// clang-format off
const PdRow kPdRows[] = {
    {0, {1, 1, 1, 1, 1, 1}, {32, 32, 32, 32, 32, 32}},
    {36, {1, 1, 1, 1, 1, 1}, {32, 32, 32, 32, 32, 32}},
    {1, {2, 2, 2, 2, 2, 2}, {2, 10, 2, 10, 10, 10}},
    {5, {3, 3, 3, 3, 3, 3}, {35, 35, 35, 35, 35, 35}},
    {6, {3, 4, 4, 3, 3, 4}, {37, 37, 37, 37, 37, 37}},
    {17, {5, 5, 5, 5, 5, 5}, {36, 36, 36, 36, 36, 36}},
    {32, {2, 2, 2, 2, 2, 2}, {16, 30, 16, 16, 16, kNo}},
    {33, {3, 3, 3, 3, 3, 3}, {16, 16, 16, 16, 16, 16}},
    {34, {5, 4, 4, 5, 5, 4}, {16, 16, 16, 16, 16, 16}},
    {35, {7, 7, 7, 7, 7, 7}, {10, 10, 10, 10, 10, 10}},
#define UNKNOWN(level) {level, {kNo, kNo, kNo, kNo, kNo, kNo}, {kNo, kNo, kNo, kNo, kNo, kNo}}
    UNKNOWN(2), UNKNOWN(3), UNKNOWN(4), UNKNOWN(16), UNKNOWN(37), UNKNOWN(255),
};
// clang-format on

// getMinPdPerSpan asks for the OEM only for levels 6 and 60; getMaxPdPerSpan always asks, before
// it looks at the level. With no spans reported, only the division of level 10 refuses.
TEST_F(RulesTest, DrivesPerSpanOverVariants) {
    for (int v = 0; v < 6; ++v) {
        for (const PdRow& row : kPdRows) {
            SCOPED_TRACE(std::string(kPdVariants[v]->name) + " level " + std::to_string(row.level));
            AdapterDataKvi& a = use(*kPdVariants[v]);
            const std::size_t asks = row.level == 6 || row.level == 34 ? 1 : 0;
            unsigned char out = 0xEE;
            EXPECT_EQ(a.getMinPdPerSpan(&out, row.level), row.min[v] == kNo ? -1 : 0);
            EXPECT_EQ(out, row.min[v] == kNo ? 0xEE : row.min[v]);
            EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_OEM_ID_GET), asks);
            out = 0xEE;
            EXPECT_EQ(a.getMaxPdPerSpan(&out, row.level), row.max[v] == kNo ? -1 : 0);
            EXPECT_EQ(out, row.max[v] == kNo ? 0xEE : row.max[v]);
            EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_OEM_ID_GET), asks + 1);
        }
    }
}

// ---------------------------------------------------------------------------
// Span counts

TEST_F(RulesTest, SpanCountsOverVariants) {
    const struct {
        unsigned char maxSpans;
        bool uneven;
        unsigned char level;
        unsigned char min, max;
    } cases[] = {
        {8, false, 0, 1, 1},  {8, false, 1, 1, 1},  {8, true, 1, 1, 8},   {8, true, 5, 1, 1},
        {8, false, 32, 2, 8}, {8, false, 33, 2, 8}, {8, false, 34, 2, 8}, {8, false, 36, 2, 8},
        {3, true, 36, 2, 3},  {8, false, 35, 1, 1}, {0, true, 1, 1, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("level " + std::to_string(c.level) + " spans " + std::to_string(c.maxSpans) +
                     (c.uneven ? " uneven" : ""));
        KV_CTRL_INFO info = baseInfo();
        info.maxSpans = c.maxSpans;
        info.adapterOperations2.supportUnevenSpans = c.uneven ? 1 : 0;
        AdapterDataKvi& a = use(info);
        unsigned char min = 0, max = 0;
        EXPECT_EQ(a.getMinSpanCount(&min, c.level), 0);
        EXPECT_TRUE(ctrl.requests().empty()); // no controller data needed
        EXPECT_EQ(a.getMaxSpanCount(&max, c.level), 0);
        EXPECT_EQ(min, c.min);
        EXPECT_EQ(max, c.max);
        EXPECT_EQ(a.isMultiSpanRaidLevel(c.level), c.min == 2);
    }
}

// ---------------------------------------------------------------------------
// RAID level lists

TEST_F(RulesTest, RaidLevelListsOverLevelBits) {
    const struct {
        const char* name;
        std::uint32_t bits; // raidLevels word at byte 1500
        List levels;
        List forBv; // levels allowed for an SSD cache volume (the level bit is needed too)
        bool prl11;
    } cases[] = {
        // clang-format off
        // all eight level bits, 00 supported
        {"all", 0x00FF, {0, 1, 5, 6, 36, 32, 33, 34}, {0}, false},
        // 00 unsupported, SSD-cache bits 1, 5, 1E set, RAID 0 for SSD cache unsupported
        {"ssc", 0x00FF | 1u << 9 | 1u << 12 | 1u << 13 | 1u << 14 | 1u << 15, {0, 1, 5, 6, 32, 33, 34}, {1, 5, 35}, false},
        // only RAID 1 and 1E, RLQ0 bits: 17 and 35 never appear in the list
        {"r1", 1u << 1 | 1u << 3 | 1u << 9 | 1u << 10, {1}, {}, true},
        {"none", 1u << 9 | 1u << 11, {}, {}, true},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KV_CTRL_INFO info = baseInfo();
        std::memcpy(reinterpret_cast<unsigned char*>(&info) + 1500, &c.bits, 4);
        info.raidLevels.SRL_03 = 1; // never a yes, even with its bit set
        AdapterDataKvi& a = use(info);
        ArrayList<unsigned char>* levels = nullptr;
        ASSERT_EQ(a.getSupportedRaidLevels(&levels), 0);
        ASSERT_NE(levels, nullptr);
        EXPECT_EQ(List(levels->begin(), levels->end()), c.levels);
        delete levels;

        List bv;
        for (unsigned char level : {0, 1, 5, 35, 6, 17, 32}) {
            if (a.getSupportedRaidLevelsForBV(level)) {
                bv.push_back(level);
            }
        }
        EXPECT_EQ(bv, c.forBv);

        bool prl11 = !c.prl11, srl03 = true;
        EXPECT_EQ(a.isPRL11Supported(&prl11), 0);
        EXPECT_EQ(prl11, c.prl11);
        EXPECT_EQ(a.isSRL03Supported(&srl03), 0);
        EXPECT_FALSE(srl03);
    }
}

// ---------------------------------------------------------------------------
// Single queries: the controller as `setup` leaves it (OEM code `oem`, or the OEM request
// failing when it is kNo), the status and the out-value (0xEE: untouched; a list in order, 0xEE
// for none handed over). Each runs twice on one object: the manufacturing defaults are read once.

using Setup = void (*)(KV_CTRL_INFO&, KV_MFC_DEFAULTS&);
using Query = int (*)(AdapterDataKvi&, List&);
struct QueryRow {
    const char* what;
    Setup setup;
    int oem;
    Query call;
    int rc;
    List out;
};
#define SETUP(body)                                                                                \
    [](KV_CTRL_INFO& i, KV_MFC_DEFAULTS& m) {                                                      \
        (void)i, (void)m;                                                                          \
        body;                                                                                      \
    }
#define MFC(wb, ra, bad, cio)                                                                      \
    SETUP(m.writeBack = wb; m.readAhead = ra; m.cacheWhenBBUBad = bad; m.cachedIo = cio)
#define CHNG(wb, bad, battery, wpBit)                                                              \
    SETUP(m.writeBack = wb; m.cacheWhenBBUBad = bad; i.adapterOperations.bbu = battery;            \
          i.ldOperations.writePolicy = wpBit)
#define STRIP(lo, hi) SETUP(i.stripeSizeOptions.min = lo; i.stripeSizeOptions.max = hi)
#define OUT(op, T)                                                                                 \
    [](AdapterDataKvi& a, List& o) {                                                               \
        T v = static_cast<T>(0xEE);                                                                \
        const int rc = a.op(&v);                                                                   \
        o = {static_cast<unsigned char>(v)};                                                       \
        return rc;                                                                                 \
    }
#define LIST(op)                                                                                   \
    [](AdapterDataKvi& a, List& o) {                                                               \
        ArrayList<unsigned char>* l = nullptr;                                                     \
        const int rc = a.op(&l);                                                                   \
        o = l ? List(l->begin(), l->end()) : List{0xEE};                                           \
        delete l;                                                                                  \
        return rc;                                                                                 \
    }
// The write policy offered on a change: its default, then the list of choices.
#define CHOICES                                                                                    \
    [](AdapterDataKvi& a, List& o) {                                                               \
        List list;                                                                                 \
        const int rc = OUT(getWrPolicyDefaultChng, UC)(a, o);                                      \
        const int listRc = LIST(getValidWrPolicyLstChng)(a, list);                                 \
        o.insert(o.end(), list.begin(), list.end());                                               \
        return rc != 0 ? rc : listRc;                                                              \
    }

// clang-format off
const QueryRow kQueries[] = {
    // Default policies from the manufacturing defaults: unmapped codes answer -1, the read
    // policy keeps the raw code all the same.
    {"wr 0", MFC(0, 0, 0, 1), 0, OUT(getDefaultWrPolicy, UC), 0, {1}},
    {"rd 0", MFC(0, 0, 0, 1), 0, OUT(getDefaultRdPolicy, UC), 0, {2}},
    {"bad 0", MFC(0, 0, 0, 1), 0, OUT(getDefaultWriteCacheBadBBU, UC), 0, {0}},
    {"cache 1", MFC(0, 0, 0, 1), 0, OUT(getDefaultCachePolicy, UC), 0, {0}},
    {"wr 1", MFC(1, 1, 1, 0), 0, OUT(getDefaultWrPolicy, UC), 0, {0}},
    {"rd 1", MFC(1, 1, 1, 0), 0, OUT(getDefaultRdPolicy, UC), 0, {0}},
    {"bad 1", MFC(1, 1, 1, 0), 0, OUT(getDefaultWriteCacheBadBBU, UC), 0, {1}},
    {"cache 0", MFC(1, 1, 1, 0), 0, OUT(getDefaultCachePolicy, UC), 0, {1}},
    {"wr 2", MFC(2, 2, 0, 2), 0, OUT(getDefaultWrPolicy, UC), 0, {2}},
    {"rd 2", MFC(2, 2, 0, 2), 0, OUT(getDefaultRdPolicy, UC), 0, {0}},
    {"cache 2", MFC(2, 2, 0, 2), 0, OUT(getDefaultCachePolicy, UC), 0, {1}},
    {"wr 3", MFC(3, 3, 2, 1), 0, OUT(getDefaultWrPolicy, UC), -1, {0xEE}},
    {"rd 3", MFC(3, 3, 2, 1), 0, OUT(getDefaultRdPolicy, UC), -1, {3}},
    {"bad 2", MFC(3, 3, 2, 1), 0, OUT(getDefaultWriteCacheBadBBU, UC), -1, {0xEE}},
    // The disk cache default by OEM code.
    {"disk cache oem 0", SETUP(), 0, OUT(getDefaultDiskCachePolicy, UC), 0, {0}},
    {"disk cache oem 2", SETUP(), 2, OUT(getDefaultDiskCachePolicy, UC), 0, {0}},
    {"disk cache oem 6", SETUP(), 6, OUT(getDefaultDiskCachePolicy, UC), 0, {2}},
    {"disk cache oem 7", SETUP(), 7, OUT(getDefaultDiskCachePolicy, UC), 0, {2}},
    {"disk cache oem 9", SETUP(), 9, OUT(getDefaultDiskCachePolicy, UC), 0, {2}},
    {"disk cache oem 10", SETUP(), 10, OUT(getDefaultDiskCachePolicy, UC), 0, {0}},
    {"disk cache oem fails", SETUP(), kNo, OUT(getDefaultDiskCachePolicy, UC), 0x0C, {0xEE}},
    // The write policy offered on a change (default, then the choices): write-back choices need
    // a battery and the write policy bit; a default the lists cannot map fails the list.
    {"chng w0 c0", CHNG(0, 0, 0, 0), 0, CHOICES, 0, {1, 1}},
    {"chng w0 c1 bbu wp", CHNG(0, 1, 1, 1), 0, CHOICES, 0, {1, 1, 0, 3}},
    {"chng w1 c0 wp", CHNG(1, 0, 0, 1), 0, CHOICES, 0, {1, 1}},
    {"chng w1 c1", CHNG(1, 1, 0, 0), 0, CHOICES, 0, {3, 1}},
    {"chng w1 c1 bbu wp", CHNG(1, 1, 1, 1), 0, CHOICES, 0, {3, 1, 0, 3}},
    {"chng w1 c0 bbu", CHNG(1, 0, 1, 0), 0, CHOICES, 0, {0, 1}},
    {"chng w2 c0 bbu wp", CHNG(2, 0, 1, 1), 0, CHOICES, 0, {3, 1, 0, 3}},
    {"chng w9 bbu wp", CHNG(9, 0, 1, 1), 0, LIST(getValidWrPolicyLstChng), -1, {0xEE}},
    // Strip sizes (the plain walk and the fixed policy lists are in the CLI golden of `rules`):
    // an empty range, a maximum of 255 that ends the walk, a single size.
    {"strips 10-7", STRIP(10, 7), 0, LIST(getValidStrpSzLst), 0, {}},
    {"strips 254-255", STRIP(254, 255), 0, LIST(getValidStrpSzLst), 0, {254, 255}},
    {"strips 3-3", STRIP(3, 3), 0, LIST(getValidStrpSzLst), 0, {3}},
    // Capabilities.
    {"certification", SETUP(m.allowUnCertifiedHDDs = 5), 0, OUT(getDiskCertificationPolicy, UC), 0, {5}},
    {"r1e as r10", SETUP(m.treatR1EAsR10 = 2), 0, OUT(isTreatR1EAsR10, bool), 0, {1}},
};
// clang-format on

TEST_F(RulesTest, Queries) {
    for (const QueryRow& r : kQueries) {
        SCOPED_TRACE(r.what);
        KV_CTRL_INFO info = baseInfo();
        KV_MFC_DEFAULTS mfc{};
        r.setup(info, mfc);
        ctrl.answer(KV_DCMD_CTRL_MFC_DEFAULTS_GET, FakeAnswer::record(mfc));
        AdapterDataKvi& a = use(info, r.oem == kNo ? 0 : r.oem, r.oem == kNo ? 0x0C : 0);
        for (int pass = 0; pass < 2; ++pass) {
            List out;
            EXPECT_EQ(r.call(a, out), r.rc);
            EXPECT_EQ(out, r.out);
        }
        EXPECT_LE(ctrl.count(KV_DCMD_CTRL_MFC_DEFAULTS_GET), 1u);
    }
    // A fresh information read that fails offers no write-back choices, battery or not.
    KV_CTRL_INFO info = baseInfo();
    info.adapterOperations.bbu = 1;
    info.ldOperations.writePolicy = 1;
    KV_MFC_DEFAULTS mfc{};
    mfc.writeBack = 1;
    ctrl.answer(KV_DCMD_CTRL_MFC_DEFAULTS_GET, FakeAnswer::record(mfc));
    AdapterDataKvi& b = use(info);
    ASSERT_EQ(b.getCtlrInfo(), 0);
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(0x0C));
    List offered;
    ASSERT_EQ(LIST(getValidWrPolicyLstChng)(b, offered), 0);
    EXPECT_EQ(offered, List{1});
}

// isWritePolicy reads the controller information afresh every time.
TEST_F(RulesTest, WritePolicyBitIsReadFresh) {
    KV_CTRL_INFO info = baseInfo();
    info.ldOperations.writePolicy = 1;
    AdapterDataKvi& a = use(info);
    ASSERT_EQ(a.getCtlrInfo(), 0);
    unsigned char wp = 0;
    EXPECT_EQ(a.isWritePolicy(&wp), 0);
    EXPECT_EQ(a.isWritePolicy(&wp), 0);
    EXPECT_EQ(wp, 1);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 3u);
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(0x0C));
    wp = 0x77;
    EXPECT_EQ(a.isWritePolicy(&wp), 0x0C);
    EXPECT_EQ(wp, 0x77);
    // The SMP port-number capability (0 and 1 in the walk golden) answers the low byte of a
    // failed load's status.
    EXPECT_EQ(AdapterDataKvi(&ctrl, nullptr).doesControllerSupportPortNumInSmp(), 0x0C);
}

// ---------------------------------------------------------------------------
// Configuration permission

TEST_F(RulesTest, AddAndClearConfigPermission) {
    const struct {
        bool validates;
        std::uint32_t allowed; // addConfig bit 0, clearConfig bit 1
        bool add, clear;
        std::size_t reads; // allowed-operations reads for the two queries
    } cases[] = {
        {false, 0, true, true, 0},
        {true, 0, false, false, 2},
        {true, 1, true, false, 2},
        {true, 2, false, true, 2},
    };
    for (const auto& c : cases) {
        KV_CTRL_INFO info = baseInfo();
        info.adapterOperations.supportAllowedOps = c.validates ? 1 : 0;
        ctrl.answer(KV_DCMD_CFG_GET_ALLOWED_OPS, FakeAnswer::record(c.allowed));
        AdapterDataKvi& a = use(info);
        bool add = !c.add, clear = !c.clear;
        EXPECT_EQ(a.isAddConfigAllowed(&add), 0);
        EXPECT_EQ(a.isClearConfigAllowed(&clear), 0);
        EXPECT_EQ(add, c.add);
        EXPECT_EQ(clear, c.clear);
        EXPECT_EQ(ctrl.count(KV_DCMD_CFG_GET_ALLOWED_OPS), c.reads);
    }

    ctrl.answer(KV_DCMD_CFG_GET_ALLOWED_OPS, FakeAnswer::fail(0x0C));
    KV_CTRL_INFO info = baseInfo();
    info.adapterOperations.supportAllowedOps = 1;
    AdapterDataKvi& a = use(info);
    bool out = true;
    EXPECT_EQ(a.isAddConfigAllowed(&out), 0x0C);
    EXPECT_TRUE(out);
}

// ---------------------------------------------------------------------------
// Reads of their own

// Logical-drive list query: head, then the list at the size the head gives.
TEST_F(RulesTest, SixtyFourDriveLimit) {
    auto listBytes = [](std::uint32_t size, std::uint32_t count, const List& ids) {
        Bytes b(std::max<std::size_t>(size, 16), 0);
        std::memcpy(b.data(), &size, 4);
        std::memcpy(b.data() + 4, &count, 4);
        std::copy_n(ids.begin(), std::min<std::size_t>(ids.size(), b.size() - 11), b.begin() + 11);
        return b;
    };
    const struct {
        const char* name;
        Bytes head, list;
        int headStatus, listStatus, result;
        std::size_t requests;
    } cases[] = {
        {"all low", listBytes(40, 3, {}), listBytes(40, 3, {0, 5, 63}), 0, 0, 0, 2},
        {"one high", listBytes(40, 3, {}), listBytes(40, 3, {0, 64, 1}), 0, 0, 1, 2},
        {"count beyond the buffer", listBytes(16, 9999, {}), listBytes(16, 9999, {1, 2}), 0, 0, 0,
         2},
        {"head fails", {}, {}, 0x0C, 0, 1, 1},
        {"list fails", listBytes(40, 3, {}), {}, 0, 0x0C, 1, 2},
        {"size too large", listBytes(70000, 3, {}), {}, 0, 0, 1, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AdapterDataKvi& a = use(kPlain);
        ctrl.backend().clearScript();
        ctrl.answerOnce(KV_DCMD_LD_LIST_QUERY,
                        c.headStatus ? FakeAnswer::fail(c.headStatus) : FakeAnswer::ok(c.head));
        ctrl.answerOnce(KV_DCMD_LD_LIST_QUERY,
                        c.listStatus ? FakeAnswer::fail(c.listStatus) : FakeAnswer::ok(c.list));
        EXPECT_EQ(a.isCtrlhas64VDLimit(), c.result);
        ASSERT_EQ(ctrl.requests().size(), c.requests);
        if (c.requests == 2) {
            std::uint32_t size = 0;
            std::memcpy(&size, c.head.data(), 4);
            EXPECT_EQ(ctrl.requests()[1].callerLength, size);
            EXPECT_GE(ctrl.requests()[1].capacity, std::max<std::uint32_t>(size, 16));
        }
    }
}

// The report (mailbox byte 0 = 1) and its two sizes are in the walk golden.
TEST_F(RulesTest, NonVolatileCacheEraseAndFailedReport) {
    AdapterDataKvi& a = use(kPlain);
    unsigned long long first = 0, second = 0;
    EXPECT_EQ(a.adpFlashErase(&second, true, &first), 0);
    EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_NVCACHE_ERASE)->mbox[0], 0); // erase
    ctrl.answer(KV_DCMD_CTRL_NVCACHE_ERASE, FakeAnswer::fail(0x0C));
    first = second = 7;
    EXPECT_EQ(a.adpFlashErase(&second, false, &first), 0x0C);
    EXPECT_EQ(first, 7u);
    EXPECT_EQ(second, 7u);
}

TEST_F(RulesTest, SsdCacheSizeFromTwoConfigurationReads) {
    auto cfg = [](std::uint32_t size, std::uint32_t count, std::vector<std::uint64_t> blocks) {
        Bytes b(std::max<std::size_t>(8 + blocks.size() * 8, 8), 0);
        std::memcpy(b.data(), &size, 4);
        std::memcpy(b.data() + 4, &count, 4);
        if (!blocks.empty()) {
            std::memcpy(b.data() + 8, blocks.data(), blocks.size() * 8);
        }
        return b;
    };
    const struct {
        const char* name;
        Bytes head, body;
        int rc;
        unsigned long long size;
    } cases[] = {
        {"two volumes", cfg(24, 2, {}), cfg(24, 2, {1000, 24}), 0, 1024},
        {"no ssd cache", cfg(0, 0, {}), cfg(0, 0, {}), 0, 0},
        {"count beyond the size", cfg(16, 50, {}), cfg(16, 50, {7}), 0, 7},
        {"size too large", cfg(70000, 1, {}), {}, -1, 99},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AdapterDataKvi& a = use(kPlain);
        ctrl.answerB0(KV_DCMD_CFG_READ, 2, FakeAnswer::ok(c.head));
        ctrl.answerB0(KV_DCMD_CFG_READ, 0, FakeAnswer::ok(c.body));
        unsigned long long size = 99;
        EXPECT_EQ(a.getCurrentConfigSSCSize(&size), c.rc);
        EXPECT_EQ(size, c.size);
        if (c.rc == 0) {
            ASSERT_EQ(ctrl.requests().size(), 2u);
            std::uint32_t want = 0;
            std::memcpy(&want, c.head.data(), 4);
            EXPECT_EQ(ctrl.requests()[1].callerLength, want);
        }
    }
}

} // namespace
