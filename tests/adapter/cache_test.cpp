// Caches and update transactions of AdapterDataKvi: which requests each loader
// and write-back sends (opcode, mailbox, length, capacity, bytes), when a cache
// is reused or read again, and what a failure leaves behind.
#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

constexpr std::uint32_t kFlash = KV_DCMD_CTRL_FLASH_COMP_INFO_GET;

KV_CTRL_INFO ctrlInfo(bool extLds, bool propExt, bool dualImage) {
    KV_CTRL_INFO info{};
    info.adapterOperations3.supportMaxExtLDs = extLds ? 1 : 0;
    info.adapterOperationExt.adapterOperations6.supportCtrlPropExt = propExt ? 1 : 0;
    info.adapterOperations4.supportDualFWUpdate = dualImage ? 1 : 0;
    return info;
}

// An image component list of the given names, versions "v<i>".
Bytes flashList(const std::vector<std::string>& names, std::uint32_t headCount) {
    std::vector<std::pair<std::string, std::string>> comps;
    for (std::size_t i = 0; i < names.size(); ++i) {
        comps.emplace_back(names[i], "v" + std::to_string(i));
    }
    return imageList(comps, headCount);
}
Bytes flashList(const std::vector<std::string>& names) {
    return flashList(names, static_cast<std::uint32_t>(names.size()));
}

class CacheTest : public AdapterFixture {
protected:
    void scriptInfo(bool extLds, bool propExt = false, bool dualImage = false) {
        ctrl.answer(KV_DCMD_CTRL_GET_INFO,
                    FakeAnswer::record(ctrlInfo(extLds, propExt, dualImage)));
    }
};

// ---------------------------------------------------------------------------
// Destruction

// The loaders the table below does not cover, some called twice (replacing their records), one
// failing, and then the object destroyed: the sanitizer/valgrind runs prove each record is
// released exactly once, the malloc'ed image lists included; a pending change is dropped.
TEST_F(CacheTest, DestructorReleasesEveryLoadedCache) {
    scriptInfo(true, true, true);
    ctrl.answerB0(kFlash, 0, FakeAnswer::ok(flashList({"APP", "BIOS"})));
    ctrl.answerB0(kFlash, 1, FakeAnswer::ok(flashList({"APP"})));
    ctrl.answerB0(kFlash, 2, FakeAnswer::ok(flashList({"APP", "BIOS", "BTBL"})));
    ctrl.answer(KV_DCMD_BBU_GET_STATUS, FakeAnswer::fail(kNoHw));
    KV_EVT_LOG_INFO* info = nullptr;
    EXPECT_EQ(a().getEventLogInfo(&info), 0);
    EXPECT_EQ(a().getBatteryInfo(), kNoHw);
    using A = AdapterDataKvi;
    for (auto load :
         {&A::getKvCtlrProp, &A::getAllPhyConnections, &A::getPrProperties, &A::getPrProperties,
          &A::getCcScProperties, &A::getCcScProperties, &A::getFwCompData, &A::getFwCompData}) {
        EXPECT_EQ((a().*load)(), 0);
    }
    EXPECT_NE(P::backupFlash(a()), nullptr);
    EXPECT_NE(P::pendingFlash(a()), nullptr);
    const std::size_t sent = ctrl.requests().size();
    P::propChanged(a()) = true;
    obj.reset();
    EXPECT_EQ(ctrl.requests().size(), sent);
}

// ---------------------------------------------------------------------------
// The simple loaders (a begin of an update is its loader)

struct SimpleLoader {
    const char* name;
    int (AdapterDataKvi::*load)();
    std::uint32_t opcode;
    std::size_t size;
    const void* (*cache)(AdapterDataKvi&);
};

// The loader, the read it sends, its record's size and the cache that holds it.
#define KVI_LOADER(fn, opcode, size, cache)                                                        \
    {                                                                                              \
#fn, &AdapterDataKvi::fn, opcode, size,                                                    \
            [](AdapterDataKvi & a) -> const void* { return P::cache(a); }                          \
    }
// clang-format off
const SimpleLoader kSimpleLoaders[] = {
    KVI_LOADER(getCtlrInfo, KV_DCMD_CTRL_GET_INFO, 2464, ctrlInfo),
    KVI_LOADER(getMFCdata, KV_DCMD_CTRL_MFC_DEFAULTS_GET, 80, mfcDefaults),
    KVI_LOADER(getBatteryInfo, KV_DCMD_BBU_GET_STATUS, 64, batteryInfo),
    KVI_LOADER(getBatteryCapacityInfo, KV_DCMD_BBU_GET_CAPACITY_INFO, 48, battCapacity),
    KVI_LOADER(getBatteryDesignInfo, KV_DCMD_BBU_GET_DESIGN_INFO, 64, battDesign),
    KVI_LOADER(getBBUProperties, KV_DCMD_BBU_PROPERTIES_GET, 32, bbuProp),
    KVI_LOADER(getBIOSData, KV_DCMD_CTRL_BIOS_DATA_GET, 64, biosData),
    KVI_LOADER(getMuxInfo, KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST, 5, muxList),
    KVI_LOADER(getConnectors, KV_DCMD_SAS_CONFIG_GET_CONNECTORS, 168, connectors),
    KVI_LOADER(beginBIOSDataUpdate, KV_DCMD_CTRL_BIOS_DATA_GET, 64, biosData),
    KVI_LOADER(beginMuxModeUpdate, KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST, 5, muxList),
};
// clang-format on
#undef KVI_LOADER

// A failed read keeps nothing and the next call retries; a good read is kept and the
// next call answers from it without a request.
TEST_F(CacheTest, SimpleLoadersReadUntilTheyHoldTheAnswerThenKeepIt) {
    for (const SimpleLoader& l : kSimpleLoaders) {
        SCOPED_TRACE(l.name);
        reset();
        const Bytes answer = pattern(l.size, 0x41);
        ctrl.answerOnce(l.opcode, FakeAnswer::fail(kNoHw));
        ctrl.answer(l.opcode, FakeAnswer::ok(answer));
        EXPECT_EQ((a().*l.load)(), kNoHw);
        EXPECT_EQ(l.cache(a()), nullptr);

        EXPECT_EQ((a().*l.load)(), 0);
        EXPECT_EQ(ctrl.count(l.opcode), 2u);
        ASSERT_NE(l.cache(a()), nullptr);
        EXPECT_EQ(bytesOf(l.cache(a()), l.size), answer);

        const void* held = l.cache(a());
        EXPECT_EQ((a().*l.load)(), 0);
        EXPECT_EQ(ctrl.requests().size(), 2u);
        EXPECT_EQ(l.cache(a()), held);
    }
}

// ---------------------------------------------------------------------------
// Controller properties and their extension

// The properties (mailbox byte 0, 64 bytes at the standard size) and, where the controller
// information announces it, the extension (mailbox byte 1, 128 bytes), for each answer of the
// three reads: tests/golden/adapter/properties-loads.txt holds the status, the properties reads
// (mailbox byte 0), the records held afterwards and the reads of a second call.
TEST_F(CacheTest, PropertiesAndTheirExtension) {
    const Bytes ext = pattern(128, 0x80);
    auto propReads = [&] {
        std::string b0;
        for (const FakeRequest& r : ctrl.requests()) {
            if (r.opcode == KV_DCMD_CTRL_PROPERTIES_GET) {
                b0 += " " + std::to_string(r.mbox[0]);
            }
        }
        return b0;
    };
    std::ostringstream table;
    for (const int info : {-1, 0, 1}) {
        for (const int propStatus : {0, 4}) {
            for (const int extStatus : {0, 3}) {
                reset();
                if (info < 0) {
                    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(kNoHw));
                } else {
                    scriptInfo(false, info == 1);
                }
                ctrl.answerB0(KV_DCMD_CTRL_PROPERTIES_GET, 1,
                              extStatus ? FakeAnswer::fail(extStatus) : FakeAnswer::ok(ext));
                if (propStatus) {
                    ctrl.answerOnce(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::fail(propStatus));
                }
                table << "information "
                      << (info < 0 ? "fails"
                          : info   ? "announces the extension"
                                   : "no extension")
                      << ", properties " << propStatus << ", extension " << extStatus << ": status "
                      << a().getKvCtlrProp() << ", reads" << propReads() << ", held"
                      << (P::prop(a()) ? " properties" : "")
                      << (P::propExt(a()) ? " extension" : "");
                EXPECT_EQ(ctrl.opcodes().front(),
                          static_cast<std::uint32_t>(KV_DCMD_CTRL_GET_INFO));
                if (P::propExt(a()) != nullptr) {
                    EXPECT_EQ(bytesOf(P::propExt(a()), 128), ext);
                }
                ctrl.clear();
                EXPECT_EQ(a().getKvCtlrProp(), 0);
                table << "; again" << propReads() << '\n';
            }
        }
    }
    expectGolden("properties-loads.txt", table.str());
}

// ---------------------------------------------------------------------------
// Property write-backs

// The three write-backs (properties, their extension, BIOS data) without a change send nothing,
// loaded or not; after a failed load whose setter raised the flag anyway they answer -1, send
// nothing and clear the flag.
TEST_F(CacheTest, WriteBacksWithoutAChangeOrWithoutARecord) {
    const struct {
        int (AdapterDataKvi::*end)();
        bool& (*flag)(AdapterDataKvi&);
    } ends[] = {{&AdapterDataKvi::endCtlrPropUpdate, &P::propChanged},
                {&AdapterDataKvi::endCtlrPropExtUpdate, &P::propExtChanged},
                {&AdapterDataKvi::endBIOSDataUpdate, &P::biosChanged}};
    for (const bool loadFails : {false, true}) {
        reset();
        scriptInfo(false, true);
        for (const auto& e : ends) {
            EXPECT_EQ((a().*e.end)(), 0); // never loaded
        }
        if (loadFails) {
            ctrl.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::fail(4));
            ctrl.answer(KV_DCMD_CTRL_BIOS_DATA_GET, FakeAnswer::fail(4));
        }
        EXPECT_EQ(a().getKvCtlrProp(), loadFails ? 4 : 0);
        EXPECT_EQ(a().getBIOSData(), loadFails ? 4 : 0);
        ctrl.clear();
        for (const auto& e : ends) {
            e.flag(a()) = loadFails; // what a setter does after its load failed
            EXPECT_EQ((a().*e.end)(), loadFails ? -1 : 0);
            EXPECT_FALSE(e.flag(a()));
            EXPECT_EQ((a().*e.end)(), 0); // nothing left to do
        }
        EXPECT_TRUE(ctrl.requests().empty());
    }
}

TEST_F(CacheTest, EndCtlrPropUpdateWritesTheWholeRecordOnce) {
    scriptInfo(false, true);
    const Bytes props = pattern(64, 0x10);
    ctrl.answerB0(KV_DCMD_CTRL_PROPERTIES_GET, 0, FakeAnswer::ok(props));
    ctrl.answer(KV_DCMD_CTRL_PROPERTIES_SET, FakeAnswer::fail(6));
    ASSERT_EQ(a().beginCtlrPropUpdate(), 0);
    P::prop(a())->rebuildRate = 77; // a setter's change
    P::propChanged(a()) = true;

    EXPECT_EQ(a().endCtlrPropUpdate(), 6); // the write's status
    const FakeRequest& w = *ctrl.last(KV_DCMD_CTRL_PROPERTIES_SET);
    EXPECT_EQ(w.callerLength, 0u);
    Bytes expected = props;
    expected[offsetof(KV_CTRL_PROP, rebuildRate)] = 77; // only that byte changes
    EXPECT_EQ(w.sent, expected);
    // The cache keeps the written values and is not re-read; a second end sends nothing.
    EXPECT_EQ(P::prop(a())->rebuildRate, 77);
    EXPECT_EQ(a().endCtlrPropUpdate(), 0);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_PROPERTIES_SET), 1u);
    EXPECT_EQ(ctrl.countB0(KV_DCMD_CTRL_PROPERTIES_GET, 0), 1u);
}

// ---------------------------------------------------------------------------
// Records read on every use

TEST_F(CacheTest, AllowedOpsAreReadEveryCall) {
    ctrl.answerOnce(KV_DCMD_CFG_GET_ALLOWED_OPS, FakeAnswer::ok({0x03, 0, 0, 0}));
    ctrl.answerOnce(KV_DCMD_CFG_GET_ALLOWED_OPS, FakeAnswer::fail(7));
    EXPECT_EQ(a().getConfigAllowedOps(), 0);
    EXPECT_EQ(P::cfgAllowedOps(a()).addConfig, 1u);
    EXPECT_EQ(P::cfgAllowedOps(a()).clearConfig, 1u);

    EXPECT_EQ(a().getConfigAllowedOps(), 7);
    EXPECT_EQ(ctrl.count(KV_DCMD_CFG_GET_ALLOWED_OPS), 2u);
    EXPECT_EQ(P::cfgAllowedOps(a()).addConfig, 0u); // cleared before the read
}

TEST_F(CacheTest, EventLogInfoIsReadEveryCallAndKeepsItsBufferOnFailure) {
    const Bytes first = pattern(sizeof(KV_EVT_LOG_INFO), 1);
    ctrl.answer(KV_DCMD_CTRL_EVENT_GET_INFO, FakeAnswer::ok(first));
    KV_EVT_LOG_INFO* out = nullptr;
    EXPECT_EQ(a().getEventLogInfo(nullptr), -1);
    EXPECT_TRUE(ctrl.requests().empty());
    EXPECT_EQ(a().getEventLogInfo(&out), 0);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out, P::eventLogInfo(a())); // the object's own record
    EXPECT_EQ(bytesOf(out, first.size()), first);

    KV_EVT_LOG_INFO* second = nullptr;
    ctrl.answer(KV_DCMD_CTRL_EVENT_GET_INFO, FakeAnswer{9, first, {}, {}}); // fails, fills bytes
    EXPECT_EQ(a().getEventLogInfo(&second), 9);
    EXPECT_EQ(second, nullptr); // out untouched
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_EVENT_GET_INFO), 2u);
    // The pointer handed out before still points to live, cleared memory.
    EXPECT_EQ(P::eventLogInfo(a()), out);
    EXPECT_EQ(bytesOf(out, first.size()), Bytes(first.size(), 0));
}

// ---------------------------------------------------------------------------
// Fresh reads into the caller's record

struct RecordRead {
    const char* name;
    std::uint32_t opcode;
    std::size_t size;
    bool clears; // the record is cleared before the read, so also after a failed one
    int (*read)(AdapterDataKvi&, void*);
};

#define KVI_READ(fn, T, opcode, size, clears)                                                      \
    {                                                                                              \
#fn, opcode, size, clears,                                                                 \
            [](AdapterDataKvi & a, void* p) { return a.fn(static_cast<T*>(p)); }                   \
    }
// clang-format off
const RecordRead kRecordReads[] = {
    KVI_READ(getPrStatus, KV_PR_STATUS, KV_DCMD_CTRL_PR_GET_STATUS, 16, false),
    KVI_READ(getCcScStatus, KV_CC_SCHEDULE_STATUS, KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS, 16, false),
    KVI_READ(getCtrlTime, KV_TIME_STAMP, KV_DCMD_CTRL_TIME_GET, 8, false),
    KVI_READ(getBbuStatus, KV_BBU_STATUS, KV_DCMD_BBU_GET_STATUS, 64, true),
    KVI_READ(showAECSettings, KV_AEC_SETTINGS, KV_DCMD_CTRL_AEC_GET_SETTINGS, 40, true),
};
// clang-format on
#undef KVI_READ

TEST_F(CacheTest, ReadsFillTheCallersRecordOnlyOnSuccess) {
    for (const RecordRead& r : kRecordReads) {
        SCOPED_TRACE(r.name);
        reset();
        EXPECT_EQ(r.read(a(), nullptr), -1);
        EXPECT_TRUE(ctrl.requests().empty());
        Bytes out(r.size, 0xEE);
        // A failed answer's bytes never reach a record that is filled only on success.
        ctrl.answerOnce(r.opcode,
                        FakeAnswer{kNoHw, r.clears ? Bytes{} : pattern(r.size, 3), {}, {}});
        ctrl.answer(r.opcode, FakeAnswer::ok(pattern(r.size, 7)));

        EXPECT_EQ(r.read(a(), out.data()), kNoHw);
        EXPECT_EQ(out, Bytes(r.size, r.clears ? 0 : 0xEE));
        EXPECT_EQ(r.read(a(), out.data()), 0);
        EXPECT_EQ(out, pattern(r.size, 7));
        EXPECT_EQ(r.read(a(), out.data()), 0);
        EXPECT_EQ(ctrl.count(r.opcode), 3u);
        EXPECT_EQ(ctrl.last(r.opcode)->length, r.size);
    }
}

// ---------------------------------------------------------------------------
// Image component lists

// A driver command states the caller's room only with a buffer (its mailbox and length are in
// the report goldens).
TEST_F(CacheTest, DriverCommandsStateRoomOnlyWithABuffer) {
    KV_DRV_DRIVER_VERSION drv{};
    EXPECT_EQ(P::sendDriverCmd(a(), KV_DRV_GET_DRIVER_VERSION, &drv, sizeof drv, 0), 0);
    EXPECT_EQ(P::sendDriverCmd(a(), KV_DRV_GET_DRIVER_VERSION, nullptr, sizeof drv, 0), 0);
    ASSERT_EQ(ctrl.requests().size(), 2u);
    EXPECT_EQ(ctrl.requests()[0].capacity, sizeof drv);
    EXPECT_EQ(ctrl.requests()[1].capacity, 0u);
}

// The image component list reads as " mailbox-byte-0/caller-length", in order.
std::string flashReads(const FakeController& ctrl) {
    std::string out;
    for (const FakeRequest& r : ctrl.requests()) {
        if (r.opcode == kFlash) {
            EXPECT_EQ(Bytes(r.mbox.begin() + 1, r.mbox.end()), Bytes(11, 0)) << r.describe();
            // Room for the head and every entry.
            EXPECT_GE(r.capacity, r.length + (r.callerLength != 0 ? 8u : 0u));
            out += " " + std::to_string(r.mbox[0]) + "/" + std::to_string(r.callerLength);
        }
    }
    return out;
}

// Running (mailbox byte 0), backup (2, dual-image controllers only) and pending (1) lists: a
// head read at the standard size, then the entries (count x 72) unless there are none; a count
// above 1024 is refused before the second read, a failure stops everything after it.
// tests/golden/adapter/image-lists.txt holds each case's status, reads, the lists held
// (running, backup, pending), the running list's count and the pending count.
TEST_F(CacheTest, ImageListsAreReadInTwoPasses) {
    constexpr std::uint32_t kListed = ~0u;
    struct L {
        std::vector<std::string> names;
        std::uint32_t headCount = kListed, listCount = kListed;
        int headStatus = 0, listStatus = 0;
    };
    const struct {
        const char* what;
        int dual; // -1: the controller information (loaded first) fails
        L active, backup, pending;
    } cases[] = {
        // clang-format off
        {"no dual image: no backup", 0, {{"APP", "BIOS"}}, {{"APP"}}, {}},
        {"dual image and pending", 1, {{"APP"}}, {{"APP", "BIOS", "BTBL"}}, {{"APP", "BIOS"}}},
        {"running count above 1024", 1, {{}, 1025}, {}, {}},
        {"backup count above 1024", 1, {{"APP"}}, {{}, 0xFFFFFFFEu}, {}},
        {"pending count above 1024", 1, {{"APP"}}, {{"APP"}}, {{}, 1025}},
        {"1024 is read", 1, {{"APP"}}, {{"APP"}}, {{}, 1024}},
        {"empty running image: standard length", 0, {}, {}, {}},
        {"second answer claiming more: capped", 0, {{"APP", "BIOS"}, 1, 40}, {}, {}},
        {"backup list fails", 1, {{"APP"}}, {{"APP"}, kListed, kListed, 0, 8}, {{"APP"}}},
        {"pending head fails", 0, {{"APP"}}, {}, {{}, kListed, kListed, 2}},
        {"no controller information", -1, {{"APP"}}, {}, {}},
        // clang-format on
    };
    std::ostringstream table;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        reset();
        if (c.dual < 0) {
            ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(kNoHw));
        } else {
            scriptInfo(false, false, c.dual == 1);
        }
        ctrl.backend().setHandler([&c](const kvi::DirectCommand& cmd) -> std::optional<FakeAnswer> {
            if (cmd.opcode != kFlash) {
                return std::nullopt;
            }
            const L& l = cmd.mbox[0] == 0 ? c.active : cmd.mbox[0] == 2 ? c.backup : c.pending;
            const bool list = cmd.length != 80; // the head pass moves the standard 8 + 72 bytes
            const int status = list ? l.listStatus : l.headStatus;
            const std::uint32_t count = list ? l.listCount : l.headCount;
            return status != 0 ? FakeAnswer::fail(status)
                               : FakeAnswer::ok(
                                     flashList(l.names, count == kListed ? l.names.size() : count));
        });
        table << c.what << ": status " << a().getFwCompData() << ", reads" << flashReads(ctrl)
              << ", held " << (P::activeFlash(a()) ? 'a' : '-') << (P::backupFlash(a()) ? 'b' : '-')
              << (P::pendingFlash(a()) ? 'p' : '-') << ", pending count " << P::pendingCount(a());
        if (P::activeFlash(a()) != nullptr) {
            const std::uint32_t count = P::activeFlash(a())->count;
            table << ", running count " << count;
            EXPECT_EQ(AdapterDataKvi::flashComp(P::activeFlash(a()), static_cast<int>(count)),
                      nullptr);
        }
        table << '\n';
    }
    expectGolden("image-lists.txt", table.str());

    // The entries of the lists held: name at +0, version at +8.
    reset();
    scriptInfo(false, false, true);
    ctrl.answerB0(kFlash, 0, FakeAnswer::ok(flashList({"APP", "BIOS"})));
    ctrl.answerB0(kFlash, 2, FakeAnswer::ok(flashList({"APP", "BIOS", "BTBL"})));
    ctrl.answerB0(kFlash, 1, FakeAnswer::ok(flashList({"APP"})));
    ASSERT_EQ(a().getFwCompData(), 0);
    EXPECT_STREQ(AdapterDataKvi::flashComp(P::activeFlash(a()), 0)->name, "APP");
    EXPECT_STREQ(AdapterDataKvi::flashComp(P::activeFlash(a()), 0)->version, "v0");
    EXPECT_STREQ(AdapterDataKvi::flashComp(P::backupFlash(a()), 2)->name, "BTBL");
    const KV_FLASH_COMP_INFO_LIST* pending = P::pendingFlash(a());
    EXPECT_STREQ(AdapterDataKvi::flashComp(pending, 0)->name, "APP");

    // Every call reads again; a list without news stays as it was.
    ctrl.answerB0(kFlash, 1, FakeAnswer::ok(flashList({})));
    ctrl.clear();
    ASSERT_EQ(a().getFwCompData(), 0);
    EXPECT_EQ(flashReads(ctrl), " 0/0 0/144 2/0 2/216 1/0");
    EXPECT_EQ(P::pendingCount(a()), 0);
    EXPECT_EQ(P::pendingFlash(a()), pending);
    EXPECT_STREQ(AdapterDataKvi::flashComp(pending, 0)->name, "APP");
}

} // namespace
