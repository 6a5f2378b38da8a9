// Configuration rules, run against a small table of controller variants (OEM
// codes, RAID level bits, span limits, drive counts per level): drives per
// span, span counts, RAID level lists, strip sizes, default and valid cache
// policies, configuration permission, and the reads of their own (fresh
// controller information, logical-drive list query, non-volatile cache and SSD
// cache reads; their fixed request bytes are in the walk golden of tests/sim).
#include <algorithm>

#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

using List = std::vector<unsigned char>;

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

const Variant kPlain{"plain", [](KV_CTRL_INFO&) {}, 0, 0};
const Variant kOem2Rlq0{"oem2_rlq0", [](KV_CTRL_INFO& i) { i.raidLevels.raidLevel_1E_RLQ0 = 1; }, 2,
                        0};
const Variant kOem2{"oem2", [](KV_CTRL_INFO&) {}, 2, 0};
const Variant kRlq0Only{"rlq0_oem0", [](KV_CTRL_INFO& i) { i.raidLevels.raidLevel_1E0_RLQ0 = 1; },
                        0, 0};
const Variant kOemFails{"oem_fails_rlq0",
                        [](KV_CTRL_INFO& i) { i.raidLevels.raidLevel_1E_RLQ0 = 1; }, 2, 0x0C};
const Variant kNoSpans{"oem2_rlq0_no_spans",
                       [](KV_CTRL_INFO& i) {
                           i.raidLevels.raidLevel_1E_RLQ0 = 1;
                           i.maxSpans = 0;
                       },
                       2, 0};

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
    AdapterDataKvi& useMfc(const KV_MFC_DEFAULTS& mfc, bool bbu = false, bool writePolicy = false) {
        KV_CTRL_INFO info = baseInfo();
        info.adapterOperations.bbu = bbu ? 1 : 0;
        info.ldOperations.writePolicy = writePolicy ? 1 : 0;
        ctrl.answer(KV_DCMD_CTRL_MFC_DEFAULTS_GET, FakeAnswer::record(mfc));
        return use(info);
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
    {2, {kNo, kNo, kNo, kNo, kNo, kNo}, {kNo, kNo, kNo, kNo, kNo, kNo}},
    {3, {kNo, kNo, kNo, kNo, kNo, kNo}, {kNo, kNo, kNo, kNo, kNo, kNo}},
    {4, {kNo, kNo, kNo, kNo, kNo, kNo}, {kNo, kNo, kNo, kNo, kNo, kNo}},
    {16, {kNo, kNo, kNo, kNo, kNo, kNo}, {kNo, kNo, kNo, kNo, kNo, kNo}},
    {37, {kNo, kNo, kNo, kNo, kNo, kNo}, {kNo, kNo, kNo, kNo, kNo, kNo}},
    {255, {kNo, kNo, kNo, kNo, kNo, kNo}, {kNo, kNo, kNo, kNo, kNo, kNo}},
};

TEST_F(RulesTest, DrivesPerSpanOverVariants) {
    for (int v = 0; v < 6; ++v) {
        for (const PdRow& row : kPdRows) {
            SCOPED_TRACE(std::string(kPdVariants[v]->name) + " level " + std::to_string(row.level));
            // With no spans reported, only the division of level 10 refuses.
            AdapterDataKvi& a = use(*kPdVariants[v]);
            unsigned char out = 0xEE;
            const int wantMin = row.min[v];
            EXPECT_EQ(a.getMinPdPerSpan(&out, row.level), wantMin == kNo ? -1 : 0);
            EXPECT_EQ(out, wantMin == kNo ? 0xEE : wantMin);
            out = 0xEE;
            const int wantMax = row.max[v];
            EXPECT_EQ(a.getMaxPdPerSpan(&out, row.level), wantMax == kNo ? -1 : 0);
            EXPECT_EQ(out, wantMax == kNo ? 0xEE : wantMax);
        }
    }
}

// getMinPdPerSpan asks for the OEM only for levels 6 and 60; getMaxPdPerSpan
// always asks, before it looks at the level.
TEST_F(RulesTest, OemIsAskedOnlyWhereItMatters) {
    const struct {
        unsigned char level;
        std::size_t minAsks;
    } cases[] = {{0, 0}, {6, 1}, {34, 1}, {32, 0}, {99, 0}};
    for (const auto& c : cases) {
        AdapterDataKvi& a = use(kOem2);
        unsigned char out = 0;
        a.getMinPdPerSpan(&out, c.level);
        EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_OEM_ID_GET), c.minAsks) << int(c.level);
        ctrl.clear();
        a.getMaxPdPerSpan(&out, c.level);
        EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_OEM_ID_GET), 1u) << int(c.level);
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
        // all eight level bits, 00 supported
        {"all", 0x00FF, {0, 1, 5, 6, 36, 32, 33, 34}, {0}, false},
        // 00 unsupported, SSD-cache bits 1, 5, 1E set, RAID 0 for SSD cache unsupported
        {"ssc",
         0x00FF | 1u << 9 | 1u << 12 | 1u << 13 | 1u << 14 | 1u << 15,
         {0, 1, 5, 6, 32, 33, 34},
         {1, 5, 35},
         false},
        // only RAID 1 and 1E, RLQ0 bits: 17 and 35 never appear in the list
        {"r1", 1u << 1 | 1u << 3 | 1u << 9 | 1u << 10, {1}, {}, true},
        {"none", 1u << 9 | 1u << 11, {}, {}, true},
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
// Strip sizes

TEST_F(RulesTest, StripSizes) {
    const struct {
        unsigned char min, max;
        List list;
    } cases[] = {
        {7, 10, {7, 8, 9, 10}},
        {10, 7, {}},
        {254, 255, {254, 255}}, // a maximum of 255 ends the walk
        {3, 3, {3}},
    };
    for (const auto& c : cases) {
        KV_CTRL_INFO info = baseInfo();
        info.stripeSizeOptions.min = c.min;
        info.stripeSizeOptions.max = c.max;
        KV_MFC_DEFAULTS mfc{};
        mfc.stripeSize = 9;
        ctrl.answer(KV_DCMD_CTRL_MFC_DEFAULTS_GET, FakeAnswer::record(mfc));
        AdapterDataKvi& a = use(info);
        unsigned char min = 0, max = 0, def = 0;
        EXPECT_EQ(a.getMinStrpSz(&min), 0);
        EXPECT_EQ(a.getMaxStrpSz(&max), 0);
        EXPECT_EQ(a.getDefaultStrpSz(&def), 0);
        EXPECT_EQ(min, c.min);
        EXPECT_EQ(max, c.max);
        EXPECT_EQ(def, 9);
        ArrayList<unsigned char>* list = nullptr;
        ASSERT_EQ(a.getValidStrpSzLst(&list), 0);
        EXPECT_EQ(List(list->begin(), list->end()), c.list);
        delete list;
    }
}

// ---------------------------------------------------------------------------
// Cache policies

TEST_F(RulesTest, DefaultPoliciesFromManufacturingDefaults) {
    const struct {
        std::uint8_t writeBack, readAhead, badBbu, cachedIo;
        int wr, rd, bad, cache; // kNo: -1 returned
        int rdOut;              // what the read policy output holds afterwards
    } cases[] = {
        {0, 0, 0, 1, 1, 2, 0, 0, 2},
        {1, 1, 1, 0, 0, 0, 1, 1, 0},
        {2, 2, 0, 2, 2, 0, 0, 1, 0},
        {3, 3, 2, 1, kNo, kNo, kNo, 0, 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.writeBack) + "/" + std::to_string(c.readAhead));
        KV_MFC_DEFAULTS mfc{};
        mfc.writeBack = c.writeBack;
        mfc.readAhead = c.readAhead;
        mfc.cacheWhenBBUBad = c.badBbu;
        mfc.cachedIo = c.cachedIo;
        AdapterDataKvi& a = useMfc(mfc);
        unsigned char wr = 0xEE, rd = 0xEE, bad = 0xEE, cache = 0xEE;
        EXPECT_EQ(a.getDefaultWrPolicy(&wr), c.wr == kNo ? -1 : 0);
        EXPECT_EQ(wr, c.wr == kNo ? 0xEE : c.wr);
        EXPECT_EQ(a.getDefaultRdPolicy(&rd), c.rd == kNo ? -1 : 0);
        EXPECT_EQ(rd, c.rdOut); // the raw code stays when unmapped
        EXPECT_EQ(a.getDefaultWriteCacheBadBBU(&bad), c.bad == kNo ? -1 : 0);
        EXPECT_EQ(bad, c.bad == kNo ? 0xEE : c.bad);
        EXPECT_EQ(a.getDefaultCachePolicy(&cache), 0);
        EXPECT_EQ(cache, c.cache);
        EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_MFC_DEFAULTS_GET), 1u);
    }
}

TEST_F(RulesTest, DiskCachePolicyByOem) {
    const struct {
        int oem, status, rc, out;
    } cases[] = {{0, 0, 0, 0}, {2, 0, 0, 0},  {6, 0, 0, 2},         {7, 0, 0, 2},
                 {9, 0, 0, 2}, {10, 0, 0, 0}, {6, 0x0C, 0x0C, 0xEE}};
    for (const auto& c : cases) {
        AdapterDataKvi& a = use(baseInfo(), c.oem, c.status);
        unsigned char out = 0xEE;
        EXPECT_EQ(a.getDefaultDiskCachePolicy(&out), c.rc) << c.oem;
        EXPECT_EQ(out, c.out) << c.oem;
    }
}

TEST_F(RulesTest, WritePolicyOfferedOnChange) {
    const struct {
        std::uint8_t w, c;
        bool bbu, wp;
        unsigned char def;
        List valid;
    } cases[] = {
        {0, 0, false, false, 1, {1}},     {0, 1, true, true, 1, {1, 0, 3}},
        {1, 0, false, true, 1, {1}},      {1, 1, false, false, 3, {1}},
        {1, 1, true, true, 3, {1, 0, 3}}, {1, 0, true, false, 0, {1}},
        {2, 0, true, true, 3, {1, 0, 3}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("w" + std::to_string(c.w) + " c" + std::to_string(c.c) +
                     (c.bbu ? " bbu" : "") + (c.wp ? " wp" : ""));
        KV_MFC_DEFAULTS mfc{};
        mfc.writeBack = c.w;
        mfc.cacheWhenBBUBad = c.c;
        AdapterDataKvi& a = useMfc(mfc, c.bbu, c.wp);
        unsigned char def = 0xEE;
        EXPECT_EQ(a.getWrPolicyDefaultChng(&def), 0);
        EXPECT_EQ(def, c.def);
        ArrayList<unsigned char>* list = nullptr;
        ASSERT_EQ(a.getValidWrPolicyLstChng(&list), 0);
        EXPECT_EQ(List(list->begin(), list->end()), c.valid);
        delete list;
    }
    // A fresh information read that fails offers no write-back choices, battery or not.
    KV_MFC_DEFAULTS mfc{};
    mfc.writeBack = 1;
    AdapterDataKvi& b = useMfc(mfc, true, true);
    ASSERT_EQ(b.getCtlrInfo(), 0);
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(0x0C));
    ArrayList<unsigned char>* offered = nullptr;
    ASSERT_EQ(b.getValidWrPolicyLstChng(&offered), 0);
    EXPECT_EQ(List(offered->begin(), offered->end()), List{1});
    delete offered;

    // A default the lists cannot map fails the list (and releases it).
    KV_MFC_DEFAULTS bad{};
    bad.writeBack = 9;
    AdapterDataKvi& a = useMfc(bad, true, true);
    ArrayList<unsigned char>* list = nullptr;
    EXPECT_EQ(a.getValidWrPolicyLstChng(&list), -1);
    EXPECT_EQ(list, nullptr);
}

TEST_F(RulesTest, FixedPolicyLists) {
    AdapterDataKvi& a = use(kPlain);
    const struct {
        std::function<int(ArrayList<unsigned char>**)> call;
        List want;
    } cases[] = {
        {[&](ArrayList<unsigned char>** l) { return a.getValidWrPolicyLst(l); }, {1, 0}},
        {[&](ArrayList<unsigned char>** l) { return a.getValidRdPolicyLst(l); }, {2, 0}},
        {[&](ArrayList<unsigned char>** l) { return a.getValidCachePolicy(l); }, {1, 0}},
    };
    for (const auto& c : cases) {
        ArrayList<unsigned char>* list = nullptr;
        ASSERT_EQ(c.call(&list), 0);
        EXPECT_EQ(List(list->begin(), list->end()), c.want);
        delete list;
    }
    EXPECT_TRUE(ctrl.requests().empty());
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
}

// ---------------------------------------------------------------------------
// Capability bits

TEST_F(RulesTest, SmallQueries) {
    KV_CTRL_INFO info = baseInfo();
    info.maxLDs = 240;
    info.adapterOperationExt.adapterOperations6.supportKviSmpPortNum = 1;
    KV_MFC_DEFAULTS mfc{};
    mfc.allowUnCertifiedHDDs = 5;
    mfc.treatR1EAsR10 = 2;
    ctrl.answer(KV_DCMD_CTRL_MFC_DEFAULTS_GET, FakeAnswer::record(mfc));
    AdapterDataKvi& a = use(info);
    unsigned char vd = 0, cert = 0;
    bool r1e = false, slicing = false;
    EXPECT_EQ(a.getMaxAllowedVd(&vd), 0);
    EXPECT_EQ(vd, 240);
    EXPECT_EQ(a.getDiskCertificationPolicy(&cert), 0);
    EXPECT_EQ(cert, 5);
    EXPECT_EQ(a.isTreatR1EAsR10(&r1e), 0);
    EXPECT_TRUE(r1e);
    EXPECT_EQ(a.isSlicingSupportedWithSpanning(&slicing), 0);
    EXPECT_TRUE(slicing);
    EXPECT_EQ(a.doesControllerSupportPortNumInSmp(), 1);

    // A failed load answers the low byte of its status.
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(0x0C));
    AdapterDataKvi b{&ctrl, nullptr};
    EXPECT_EQ(b.doesControllerSupportPortNumInSmp(), 0x0C);
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

TEST_F(RulesTest, NonVolatileCacheEraseAndReport) {
    AdapterDataKvi& a = use(kPlain);
    const std::uint64_t words[2] = {4096, 0x1122334455667788ull};
    Bytes reply(16);
    std::memcpy(reply.data(), words, 16);
    ctrl.answer(KV_DCMD_CTRL_NVCACHE_ERASE, FakeAnswer::ok(reply));
    unsigned long long first = 0, second = 0;
    EXPECT_EQ(a.adpFlashErase(&second, false, &first), 0);
    EXPECT_EQ(first, 4096u);
    EXPECT_EQ(second, 0x1122334455667788ull);
    EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_NVCACHE_ERASE)->mbox[0], 1); // report only
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
