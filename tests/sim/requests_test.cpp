// Request-level behaviour of the simulator: every opcode answered, malformed
// and refused requests per profile (the table in data/refusals.txt), reply
// bytes, what one request writes and the next reads back, the event log, the
// controller clock in a zone with summer time, fault injection and counters.
// Requests and answers of every adapter operation are in the walk's goldens.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <tuple>

#include "SimTestUtil.h"
#include "sim/EventLog.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::SimController;
using kvi::sim::Simulator;

namespace {

// The opcodes the default controller refuses as unsupported on purpose.
const std::set<std::uint32_t> kRefusedByDefault = {
    KV_DCMD_CTRL_DOWNGRADE_KV_TO_iKV,  // no reduced mode
    KV_DCMD_CTRL_IOV_PRIVATE_INFO_GET, // no SR-IOV
    KV_DCMD_CTRL_CONTROL_HA_MODE_SET,  // not a cluster member
};

// The opcode of a name of the opcode table, or a number.
std::uint32_t opcodeOf(const std::string& text) {
    for (unsigned i = 0; i < kKvDcmdCount; ++i)
        if (text == kvDcmdRow(i).name)
            return kvDcmdRow(i).opcode;
    return std::uint32_t(std::stoul(text, nullptr, 0));
}

TEST(SimRefusals, EachRequestOfTheTableGetsItsStatus) {
    std::ifstream in(std::string(KVI_SOURCE_DIR) + "/tests/sim/data/refusals.txt");
    std::string line;
    unsigned rows = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string profile, opcode, mbox, direction, status, what;
        std::uint32_t length = 0;
        fields >> profile >> opcode >> mbox >> length >> direction >> status;
        std::getline(fields >> std::ws, what);
        SCOPED_TRACE(profile + ": " + what);
        DCMD_MBOX m{};
        std::istringstream items(mbox == "-" ? "" : mbox);
        for (std::string item; std::getline(items, item, ',');) {
            const bool word = item[0] == 'w';
            const int at = std::stoi(item.substr(word ? 1 : 0));
            const unsigned long v = std::stoul(item.substr(item.find('=') + 1), nullptr, 0);
            if (word)
                m.w[at] = std::uint32_t(v);
            else
                m.b[at] = std::uint8_t(v);
        }
        const int dir = direction == "read"    ? int(kvi::Direction::Read)
                        : direction == "write" ? int(kvi::Direction::Write)
                                               : -1;
        Simulator sim{Clock(kNow)};
        sim.load(profile);
        const int got =
            send(sim.controller(0), opcodeOf(opcode), m, length, nullptr, 0, dir).status;
        EXPECT_EQ(kviStatusName(got), status);
        ++rows;
    }
    EXPECT_GT(rows, 40u);
    Simulator sim{Clock(kNow)};
    sim.load("default");
    kvi::DirectCommand cmd; // a length without a buffer is refused, not dereferenced
    cmd.opcode = KV_DCMD_CTRL_GET_INFO;
    cmd.length = 2464;
    cmd.direction = kvi::Direction::Read;
    EXPECT_EQ(sim.controller(0).submit(cmd), KVI_STAT_INVALID_PARAMETER);
}

// Reply bytes of short answers: the head words and the zeros after them, and
// the event an action logs.
struct ReplyCase {
    const char* what;
    std::uint32_t opcode;
    DCMD_MBOX mbox;
    std::uint32_t length;
    std::vector<std::uint8_t> bytes; // the whole reply
    const char* event = nullptr;     // the newest event afterwards
};

TEST_F(SimTest, ShortRepliesHoldExactlyTheirBytes) {
    const ReplyCase cases[] = {
        {"configuration head", KV_DCMD_CFG_READ, mboxBytes({{0, 2}}), 8, {8, 0, 0, 0, 0, 0, 0, 0}},
        {"configuration body of no volume, read long",
         KV_DCMD_CFG_READ,
         {},
         16,
         {8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"OEM identifier", KV_DCMD_CTRL_OEM_ID_GET, {}, 0, {1, 0, 0, 0}},
        {"alarm state", KV_DCMD_CTRL_ALARM_GET, {}, 0, {1}},
        {"NV cache report",
         KV_DCMD_CTRL_NVCACHE_ERASE,
         mboxBytes({{0, 1}}),
         16,
         {0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 16, 0, 0, 0, 0, 0}},
        {"NV cache erase: the used part cleared",
         KV_DCMD_CTRL_NVCACHE_ERASE,
         mboxBytes({{0, 0}}),
         16,
         {0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
         "class 1: NV cache erased"},
        {"self check", KV_DCMD_CTRL_DIAG_SELF_CHECK, {}, 0, {}, "Controller self check started"},
    };
    for (const ReplyCase& rc : cases) {
        SCOPED_TRACE(rc.what);
        const std::uint32_t before = newest();
        Reply r = send(c(), rc.opcode, rc.mbox, rc.length);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.data, rc.bytes);
        EXPECT_EQ(newest(), before + (rc.event ? 1 : 0));
        if (rc.event) {
            EXPECT_EQ(lastEvent(), rc.event);
        }
    }
}

TEST_F(SimTest, PropertiesWriteThenReadAndMirrorIntoControllerInfo) {
    KV_CTRL_PROP p = as<KV_CTRL_PROP>(send(c(), KV_DCMD_CTRL_PROPERTIES_GET));
    p.rebuildRate = 55;
    p.OnOffProperties.enableJBOD = 1;
    ASSERT_EQ(sendRecord(c(), KV_DCMD_CTRL_PROPERTIES_SET, p).status, 0);
    EXPECT_EQ(lastEvent(), "Controller properties changed");
    EXPECT_EQ(as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO)).properties.rebuildRate, 55);
    // The extension carries the same first half plus the second.
    const DCMD_MBOX extended = mboxBytes({{0, 1}});
    auto ext = as<KV_CTRL_PROP_EXT>(send(c(), KV_DCMD_CTRL_PROPERTIES_GET, extended, 128));
    EXPECT_EQ(ext.ctrlProp1.OnOffProperties.enableJBOD, 1u);
    ext.ctrlProp2.predFailDAInterval = 90;
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PROPERTIES_SET, extended, 128, &ext, sizeof ext).status, 0);
    EXPECT_EQ(as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO)).prop.predFailDAInterval, 90);
    // Factory defaults restore what the profile set.
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_SET_FACTORY_DEFAULTS).status, 0);
    ext = as<KV_CTRL_PROP_EXT>(send(c(), KV_DCMD_CTRL_PROPERTIES_GET, extended, 128));
    EXPECT_EQ(ext.ctrlProp1.rebuildRate, 30);
    EXPECT_EQ(ext.ctrlProp1.OnOffProperties.enableJBOD, 0u);
    EXPECT_EQ(ext.ctrlProp2.predFailDAInterval, 60);
}

TEST_F(SimTest, BiosDataNeedsAValidChecksum) {
    auto sum = [](const KV_BIOS_DATA& b) {
        std::uint8_t s = 0;
        for (std::size_t i = 0; i < sizeof b; ++i)
            s = std::uint8_t(s + reinterpret_cast<const std::uint8_t*>(&b)[i]);
        return s;
    };
    KV_BIOS_DATA b = as<KV_BIOS_DATA>(send(c(), KV_DCMD_CTRL_BIOS_DATA_GET));
    EXPECT_EQ(sum(b), 0) << "the profile's record carries a valid checksum";
    b.bootTargetId = 2; // checksum now stale
    const std::uint32_t before = newest();
    EXPECT_EQ(sendRecord(c(), KV_DCMD_CTRL_BIOS_DATA_SET, b).status,
              kvi::sim::kStatusChecksumMismatch);
    EXPECT_EQ(newest(), before);
    EXPECT_EQ(as<KV_BIOS_DATA>(send(c(), KV_DCMD_CTRL_BIOS_DATA_GET)).bootTargetId, 0);
    b.checkSum = 0;
    b.checkSum = std::uint8_t(0x100 - sum(b));
    ASSERT_EQ(sendRecord(c(), KV_DCMD_CTRL_BIOS_DATA_SET, b).status, 0);
    EXPECT_EQ(as<KV_BIOS_DATA>(send(c(), KV_DCMD_CTRL_BIOS_DATA_GET)).bootTargetId, 2);
    EXPECT_EQ(lastEvent(), "BIOS settings changed");
}

TEST_F(SimTest, MuxModesFollowTheRules) {
    KV_SAS_MUX_LIST m = as<KV_SAS_MUX_LIST>(send(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST));
    ASSERT_EQ(m.sasMuxCount, 2);
    m.sasMuxMode[1] = 2;
    ASSERT_EQ(sendRecord(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, m).status, 0);
    EXPECT_EQ(as<KV_SAS_MUX_LIST>(send(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST)).sasMuxMode[1],
              2);
    const struct {
        int mux, mode, count;
    } refused[] = {{0, 0, 2},  // a mux cannot be switched off
                   {2, 1, 3},  // no third mux
                   {1, 4, 2}}; // no mode 4
    for (const auto& r : refused) {
        KV_SAS_MUX_LIST bad = m;
        bad.sasMuxMode[r.mux] = std::uint8_t(r.mode);
        bad.sasMuxCount = std::uint8_t(r.count);
        EXPECT_EQ(sendRecord(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, bad).status,
                  KVI_STAT_INVALID_PARAMETER)
            << r.mux << " " << r.mode;
    }
}

TEST_F(SimTest, SasAddressSetInTheMailboxOrInTheRecord) {
    ASSERT_EQ(
        send(c(), KV_DCMD_CTRL_MFC_DEFAULTS_SASADDR_SET, mboxWords(0x500605B0, 0x000A1230)).status,
        0);
    KV_MFC_DEFAULTS d = as<KV_MFC_DEFAULTS>(send(c(), KV_DCMD_CTRL_MFC_DEFAULTS_GET));
    EXPECT_EQ(d.sasAddr, 0x500605B0000A1230ULL);
    d.sasAddr = 0x500605B0000B4560ULL;
    ASSERT_EQ(sendRecord(c(), KV_DCMD_CTRL_MFC_DEFAULTS_SET, d).status, 0);
    EXPECT_EQ(c().state().mfc.sasAddr, 0x500605B0000B4560ULL);
}

// A lock key's life request by request: one key at a time, the passphrase
// checked, a re-key in effect at once but asking for a restart, and the
// newest event after each step (nullptr: none logged).
TEST_F(SimTest, LockKeyLifecycle) {
    const std::uint32_t create = KV_DCMD_CTRL_LOCK_KEY_CREATE,
                        verify = KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW,
                        rekey = KV_DCMD_CTRL_LOCK_KEY_REKEY,
                        destroy = KV_DCMD_CTRL_LOCK_KEY_DESTROY, restart = KV_DCMD_CTRL_SHUTDOWN;
    const int bad = KVI_STAT_INVALID_PARAMETER, wrong = kvi::sim::kStatusWrongPassphrase,
              none = kvi::sim::kStatusNoLockKey;
    const std::string unterminated(sizeof(KV_CTRL_LOCK_KEY_PASSPHRASE::passPhrase), 'A');
    const struct {
        std::uint32_t opcode;
        const char* pass; // nullptr: no record (restart: mailbox b[1] 1)
        int status;
        bool rebootRequired; // afterwards
        const char* event;
    } steps[] = {
        // clang-format off
        {create, unterminated.c_str(), bad, false, nullptr},
        {verify, "First-Pass-1", none, false, nullptr},
        {create, "First-Pass-1", 0, false, "Lock key created"},
        {create, "Second-Pass-2", bad, false, nullptr},
        {verify, "Second-Pass-2", wrong, false, "class 1: Lock key passphrase refused"},
        {KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, "First-Pass-1", 0, false, "Lock key restored from escrow"},
        {rekey, "Second-Pass-2", 0, true, "Lock key re-keyed"},
        {verify, "First-Pass-1", wrong, true, "class 1: Lock key passphrase refused"},
        {verify, "Second-Pass-2", 0, true, nullptr},
        {restart, nullptr, 0, false, "Controller booted"},
        {destroy, nullptr, 0, false, "class 1: Lock key destroyed"},
        {destroy, nullptr, none, false, nullptr},
        {create, "", 0, false, "Lock key created through the key manager"},
        // clang-format on
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(std::to_string(&s - steps) + ": " + kvDcmdInfo(s.opcode)->name);
        const std::uint32_t before = newest();
        const int status =
            s.opcode == create ? sendPass<KV_CTRL_LOCK_KEY_PARAMS>(c(), create, s.pass)
            : s.pass           ? sendPass<KV_CTRL_LOCK_KEY_FROM_ESCROW>(c(), s.opcode, s.pass)
                               : send(c(), s.opcode, mboxBytes({{1, s.opcode == restart}})).status;
        EXPECT_EQ(status, s.status);
        EXPECT_EQ(c().state().info.adapterStatus.lockKeyRebootRequired, s.rebootRequired);
        EXPECT_EQ(newest() != before, s.event != nullptr);
        if (s.event) {
            EXPECT_EQ(lastEvent(), s.event);
        }
    }
    EXPECT_TRUE(c().state().lockKey.external);
    auto suggest = [&] {
        return std::string(reinterpret_cast<const char*>(
            as<KV_CTRL_LOCK_KEY_PASSPHRASE>(send(c(), KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE))
                .passPhrase));
    };
    const std::string suggested = suggest();
    EXPECT_GE(suggested.size(), 8u);
    EXPECT_LE(suggested.size(), 32u);
    EXPECT_NE(suggest(), suggested) << "each suggestion differs from the one before";
}

// An SMP REPORT GENERAL is answered at the address of an expander on a phy
// (28 phys), refused at any other.
TEST(SimSmp, ExpanderAnswersReportGeneralOnlyAtItsAddress) {
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(
                        R"({"base": "default", "phys": [{"sasAddr": "0x500605b000e0c0ff",
                            "phyIdentifier": 0, "connectorIndex": 0, "deviceType": 2, "smpTarget": 1}]})",
                        "p.json", "", clock),
                    &clock);
    for (const std::uint64_t address : {0x500605B000E0C0FFULL, 0x500605B000E0C0FEULL}) {
        std::uint8_t request[8] = {0x40, 0x00}, response[28] = {};
        kvi::SmpCommand smp;
        smp.sasAddress = address;
        smp.request = request;
        smp.requestLength = sizeof request;
        smp.response = response;
        smp.responseLength = sizeof response;
        const bool expander = address & 1;
        EXPECT_EQ(c.submitSmp(smp), expander ? 0 : KVI_STAT_INVALID_PARAMETER);
        EXPECT_EQ(response[9], expander ? 28 : 0);
    }
}

// ---- patrol read, battery learn cycle, event capture ----

TEST_F(SimTest, PatrolReadStateMachine) {
    auto status = [&] { return as<KV_PR_STATUS>(send(c(), KV_DCMD_CTRL_PR_GET_STATUS)); };
    auto suspend = [&](std::uint8_t resume) {
        return send(c(), KV_DCMD_CTRL_PR_SUSPEND_RESUME, mboxBytes({{0, resume}})).status;
    };
    EXPECT_EQ(status().state, 1);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_PR_STOP).status, KVI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(suspend(0), KVI_STAT_INVALID_PARAMETER);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, 0);
    EXPECT_EQ(lastEvent(), "Patrol Read started");
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, kvi::sim::kStatusBusy);
    KV_PR_STATUS s = status();
    EXPECT_EQ(s.state, 2);
    EXPECT_EQ(s.numPdDone, 0);
    EXPECT_EQ(status().numPdDone, 1);
    ASSERT_EQ(suspend(0), 0);
    EXPECT_EQ(status().state, 4);
    EXPECT_EQ(status().numPdDone, 2) << "a suspended pass does not move";
    ASSERT_EQ(suspend(1), 0);
    // The pass ends after as many reads as there are drives (8).
    for (int i = 0; i < 10 && status().state == 2; ++i) {
    }
    const std::uint32_t iterations = s.numIteration;
    s = status();
    EXPECT_EQ(s.state, 1);
    EXPECT_EQ(s.numIteration, iterations + 1);
    EXPECT_EQ(lastEvent(), "Patrol Read complete");
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, 0);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_STOP).status, 0);
    EXPECT_EQ(lastEvent(), "Patrol Read stopped");
    EXPECT_EQ(status().state, 0);
    // A pass covers at most the 255 drives its 32-byte drive map can name.
    c().state().info.pdDiskPresentCount = 300;
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, 0);
    const auto& st = c().state();
    const std::uint8_t* map = st.prExt.curPdMap.b[0] ? st.prExt.curPdMap.b : st.pr.curPdMap;
    EXPECT_EQ(map[30], 0xFF);
    EXPECT_EQ(map[31], 0x7F);
}

TEST_F(SimTest, PatrolReadScheduleReadsBackAndAdvances) {
    const DCMD_MBOX ext = mboxBytes({{0, 1}});
    auto get = [&] {
        return as<KV_PR_PROPERTIES_EXT>(send(c(), KV_DCMD_CTRL_PR_GET_PROPERTIES, ext, 120));
    };
    auto set = [&](const KV_PR_PROPERTIES_EXT& p) {
        return send(c(), KV_DCMD_CTRL_PR_SET_PROPERTIES, ext, 120, &p, sizeof p).status;
    };
    KV_PR_PROPERTIES_EXT p = get();
    p.nextExec = kFwNow - 100; // due already
    p.execFreq = 3600;
    p.excludedLdMap.b[0] = 0x03;
    p.excludedLdMap.b[31] = 0x80;
    p.excludeLdCount = 3;
    ASSERT_EQ(set(p), 0);
    EXPECT_EQ(get().excludedLdMap.b[31], 0x80);
    // Starting the due run moves the next one past now by whole periods.
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, 0);
    KV_PR_PROPERTIES_EXT back = get();
    EXPECT_EQ(back.nextExec, kFwNow - 100 + 3600);
    // Disabling patrol read stops the run; a disabled patrol read does not start.
    back.opMode = 2;
    ASSERT_EQ(set(back), 0);
    EXPECT_EQ(as<KV_PR_STATUS>(send(c(), KV_DCMD_CTRL_PR_GET_STATUS)).state, 0);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, KVI_STAT_INVALID_PARAMETER);
    back.opMode = 3;
    EXPECT_EQ(set(back), KVI_STAT_INVALID_PARAMETER);
}

TEST_F(SimTest, BatteryLearnCycleRunsForThreeStatusReads) {
    auto learning = [&] {
        return (as<KV_BBU_STATUS>(send(c(), KV_DCMD_BBU_GET_STATUS)).fwStatus & (1u << 6)) != 0;
    };
    ASSERT_EQ(send(c(), KV_DCMD_BBU_LEARN).status, 0);
    EXPECT_EQ(send(c(), KV_DCMD_BBU_LEARN).status, kvi::sim::kStatusBusy);
    for (int read = 1; read <= 3; ++read)
        EXPECT_TRUE(learning()) << "status read " << read;
    EXPECT_FALSE(learning());
    KV_BBU_PROPERTIES p = as<KV_BBU_PROPERTIES>(send(c(), KV_DCMD_BBU_PROPERTIES_GET));
    EXPECT_EQ(p.lastSuccessfulLearnTime, kFwNow);
    EXPECT_EQ(p.nextLearnTime, kFwNow + 2419200);
    p.autoLearnMode = 1;
    ASSERT_EQ(sendRecord(c(), KV_DCMD_BBU_PROPERTIES_SET, p).status, 0);
    EXPECT_EQ(lastEvent(), "Battery properties changed");
    EXPECT_EQ(as<KV_BBU_PROPERTIES>(send(c(), KV_DCMD_BBU_PROPERTIES_GET)).autoLearnMode, 1);
    p.autoLearnMode = 3;
    EXPECT_EQ(sendRecord(c(), KV_DCMD_BBU_PROPERTIES_SET, p).status, KVI_STAT_INVALID_PARAMETER);
}

TEST_F(SimTest, EventCaptureCatchesNewEvents) {
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_AEC_CONTROL, mboxWords(2, 1)).status, 0);
    send(c(), KV_DCMD_CTRL_ALARM_SILENCE);
    Reply mask = send(c(), KV_DCMD_CTRL_AEC_CONTROL, mboxWords(4, 1, 0x00F0));
    ASSERT_EQ(mask.status, 0);
    EXPECT_EQ(mask.word(2), 0x00F0u);
    send(c(), KV_DCMD_CTRL_AEC_CONTROL, mboxWords(5, 1, 0x0030));
    KV_AEC_SETTINGS s = as<KV_AEC_SETTINGS>(send(c(), KV_DCMD_CTRL_AEC_GET_SETTINGS));
    EXPECT_EQ(s.state, 2);
    EXPECT_EQ(s.filterMaskFw, 0x00C0u);
    EXPECT_EQ(s.numCapturedEvents, 1u);
    Reply got = send(c(), KV_DCMD_CTRL_AEC_GET, mboxWords(0));
    ASSERT_EQ(got.status, 0);
    EXPECT_EQ(got.word(1), 1u);
    EXPECT_STREQ(reinterpret_cast<const char*>(got.data.data() + 128), "Alarm silenced");
    // The newest 128 are kept: exactly what one 32 KiB read holds.
    for (int i = 0; i < 130; ++i)
        send(c(), KV_DCMD_CTRL_ALARM_SILENCE);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_AEC_GET, mboxWords(0)).word(1), 128u);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_AEC_CONTROL, mboxWords(1)).status, 0);
    EXPECT_EQ(lastEvent(), "Event capture stopped");
}

// ---- the event log: sequence numbers, filters, clearing, generated logs read
// in chunks, a full log dropping its oldest events, stamps relative to boot ----

TEST_F(SimTest, EventLogGrowsClearsAndFilters) {
    KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c(), KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.oldestSeqNum, 1u);
    EXPECT_EQ(info.newestSeqNum, 5u);
    EXPECT_EQ(info.bootSeqNum, 1u); // the profile's last "Controller booted" event
    // Read everything: head {count, reserved}, then 256-byte records.
    Reply r = send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(0, 0xFE00FFFF), 8 + 10 * 256);
    ASSERT_EQ(r.status, 0);
    ASSERT_EQ(r.at(0), 5u);
    const std::size_t rec = 8 + 3 * 256;
    EXPECT_EQ(r.at(rec), 4u);                    // sequence number
    EXPECT_EQ(r.at(rec + 4), kFwNow - 40000);    // time stamp
    EXPECT_EQ(r.at(rec + 8), 263u);              // code
    EXPECT_EQ(r.data[rec + 12], 2);              // locale
    EXPECT_EQ(std::int8_t(r.data[rec + 15]), 1); // class: warning
    EXPECT_STREQ(reinterpret_cast<const char*>(&r.data[rec + 128]),
                 "Drive 5 reported a corrected medium error");

    // Class filter (bits 24-31, signed) and locale mask (bits 0-15).
    auto countOf = [&](std::uint32_t from, std::uint32_t filter) {
        return as<std::uint32_t>(send(c(), KV_DCMD_CTRL_EVENT_COUNT, mboxWords(from, filter)));
    };
    EXPECT_EQ(countOf(0, 0x0100FFFF), 1u); // warnings and worse
    EXPECT_EQ(countOf(0, 0x00000002), 2u); // drive locale, info and worse
    EXPECT_EQ(countOf(0, 0x0000000A), 3u); // drive or battery
    EXPECT_EQ(countOf(0, 0x0000FFFF), 5u);
    EXPECT_EQ(countOf(4, 0x0000FFFF), 2u);

    // Actions append; clear moves clearSeqNum to the "cleared" event.
    send(c(), KV_DCMD_CTRL_CACHE_FLUSH, mboxWords(3));
    EXPECT_EQ(newest(), 6u);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_EVENT_CLEAR).status, 0);
    info = as<KV_EVT_LOG_INFO>(send(c(), KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.clearSeqNum, 7u);
    EXPECT_EQ(info.oldestSeqNum, 7u);
    EXPECT_EQ(info.newestSeqNum, 7u);
    EXPECT_EQ(lastEvent(), "Event log cleared");
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(1, 0xFE00FFFF), 8 + 10 * 256).at(0), 1u);
}

TEST(SimEventLog, LargeLogsAreReadInChunksAndStoredCompact) {
    Clock clock(kNow);
    auto st = kvi::sim::buildFromProfileText(
        R"({"base": "default", "eventLog": {"generate": 1000000}})", "big.json", "", clock);
    SimController c(std::move(st), &clock);
    KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c, KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.oldestSeqNum, 1u);
    EXPECT_EQ(info.newestSeqNum, 1000000u);
    // The last chunk: the newest events, ascending, stamped 30 s apart.
    Reply r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(999998, 0xFE00FFFF), 8 + 4 * 256);
    ASSERT_EQ(r.at(0), 3u);
    EXPECT_EQ(r.at(8), 999998u);
    EXPECT_EQ(r.at(8 + 512), 1000000u);
    EXPECT_EQ(r.at(8 + 512 + 4) - r.at(8 + 4), 60u);
    EXPECT_NE(r.data[8 + 128], 0) << "generated events carry a description";
    // The same sequence number always reads the same event.
    Reply again = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(999998, 0xFE00FFFF), 8 + 256);
    EXPECT_EQ(0, std::memcmp(again.data.data() + 8, r.data.data() + 8, 256));
    // Only critical events: a sparse filter still fills its chunk.
    r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(1, 0x0200FFFF), 8 + 16 * 256);
    ASSERT_EQ(r.at(0), 16u);
    for (std::uint32_t i = 0; i < 16; ++i)
        EXPECT_GE(std::int8_t(r.data[8 + i * 256 + 15]), 2);

    // Stored events: once the store has turned over, the texts of dropped
    // events leave the arena (it holds about what a new store of the events
    // left would); every event left reads back whole.
    kvi::sim::EventStore store, fresh;
    auto event = [](std::uint32_t i) {
        kvi::sim::SimEvent e;
        e.timeStamp = i;
        e.code = i % 7;
        e.locale = std::uint16_t(i);
        e.eventClass = std::int8_t(i % 5 - 2);
        e.argType = std::uint8_t(i);
        e.description = "event " + std::to_string(i);
        if (i % 3 == 0)
            e.args = {1, 2, std::uint8_t(i)};
        return e;
    };
    for (std::uint32_t i = 0; i < 5000; ++i) {
        store.push(event(i));
        if (i >= 3000)
            fresh.push(event(i));
    }
    for (int i = 0; i < 3000; ++i)
        store.popFront();
    ASSERT_EQ(store.size(), 2000u);
    EXPECT_LE(store.bytes(), fresh.bytes() * 5 / 4);
    kvi::sim::SimEvent got;
    for (std::uint32_t i = 3000; i < 5000; ++i) {
        store.get(i - 3000, got);
        const kvi::sim::SimEvent want = event(i);
        ASSERT_EQ(std::tie(got.timeStamp, got.code, got.locale, got.eventClass, got.argType,
                           got.description, got.args),
                  std::tie(want.timeStamp, want.code, want.locale, want.eventClass, want.argType,
                           want.description, want.args))
            << i;
    }
}

TEST(SimEventLog, FullLogDropsTheOldestAndKeepsNumbering) {
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(R"({"base": "entry"})", "p.json", "", clock),
                    &clock);
    const std::uint32_t first = c.state().events.newestSeqNum() + 1;
    const std::size_t n = kvi::sim::EventLog::kMaxStored + 2;
    for (std::size_t i = 0; i < n; ++i)
        ASSERT_EQ(send(c, KV_DCMD_CTRL_CACHE_FLUSH, mboxWords(3)).status, 0);
    KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c, KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.newestSeqNum, first + n - 1);
    EXPECT_EQ(info.oldestSeqNum, info.newestSeqNum - kvi::sim::EventLog::kMaxStored + 1);
    // A list from sequence number 1 starts at the oldest event still held.
    Reply r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(1, 0xFE00FFFF), 8 + 256);
    EXPECT_EQ(r.at(0), 1u);
    EXPECT_EQ(r.at(8), info.oldestSeqNum);
    EXPECT_EQ(as<std::uint32_t>(send(c, KV_DCMD_CTRL_EVENT_COUNT, mboxWords(0, 0xFFFF))),
              kvi::sim::EventLog::kMaxStored);
}

TEST(SimEventLog, ProfileEventsKeepBootStampsAndArguments) {
    kvitest::TzGuard tz("UTC0");
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(
                        R"({"base": "entry", "events": [
                            {"code": 7, "bootSeconds": 30, "description": "early"},
                            {"code": 8, "age": 60, "args": "hex:)" +
                            std::string(96 * 2, 'a') + R"(", "description": "late"}]})",
                        "p.json", "", clock),
                    &clock);
    const std::uint32_t seq = c.state().events.newestSeqNum();
    Reply r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(seq - 1, 0xFE00FFFF), 8 + 2 * 256);
    EXPECT_EQ(r.at(8 + 4), 0xFF00001Eu) << "seconds after boot, flagged in the top byte";
    EXPECT_EQ(r.at(8 + 256 + 4), kFwNow - 60);
    EXPECT_EQ(r.data[8 + 256 + 32 + 95], 0xAA);
    EXPECT_STREQ(reinterpret_cast<const char*>(r.data.data() + 8 + 256 + 128), "late");
}

// ---- clock, faults, counters ----

TEST_F(SimTest, ControllerClockIsTheSimulatedInstantInLocalTime) {
    KV_TIME_STAMP ts = as<KV_TIME_STAMP>(send(c(), KV_DCMD_CTRL_TIME_GET));
    EXPECT_EQ(std::make_tuple(ts.year, ts.month, ts.day, ts.hour), std::make_tuple(2025, 6, 1, 12));
    EXPECT_EQ(as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO)).currentFwTime, kFwNow);
    kvitest::TzGuard summer("CET-1CEST,M3.5.0,M10.5.0/3");
    ts = as<KV_TIME_STAMP>(send(c(), KV_DCMD_CTRL_TIME_GET));
    EXPECT_EQ(ts.hour, 14); // summer time
    // currentFwTime counts local wall-clock seconds from local standard-time
    // midnight of 2000-01-01: in summer time one hour ahead of the instant.
    KV_CTRL_INFO info = as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(info.currentFwTime, std::uint32_t(kNow - (946684800 - 3600) + 3600));
    setenv("KVICTL_SIM_TIME", "1748779200", 1);
    Clock fixed = Clock::fromEnvironment();
    EXPECT_TRUE(fixed.isFixed());
    EXPECT_EQ(fixed.now(), 1748779200);
    setenv("KVICTL_SIM_TIME", "soon", 1);
    EXPECT_THROW(Clock::fromEnvironment(), kvi::sim::SimError);
    unsetenv("KVICTL_SIM_TIME");
    EXPECT_FALSE(Clock::fromEnvironment().isFixed());
}

TEST(SimFaults, InjectedStatusesHitOnlyTheirRequestAndChangeNothing) {
    Clock clock(kNow);
    SimController c(kvi::sim::buildFromProfileText(
                        R"({"base": "default", "fail": {"0x05010000": 34, "0x01010000": -10,
                            "KV_DCMD_CTRL_FLASH_COMP_INFO_GET@b0=2": 4, "0x01020100": 17,
                            "0x01020100@b0=1": 9, "KV_DCMD_CTRL_ALARM_DISABLE": 3}})",
                        "faults.json", "", clock),
                    &clock);
    // Every opcode of the table is answered at its standard size; a faulty one
    // fails without its handler, and the default controller refuses a few as
    // unsupported.
    const std::set<std::uint32_t> faulty = {KV_DCMD_BBU_GET_STATUS, KV_DCMD_CTRL_GET_INFO,
                                            KV_DCMD_CTRL_PROPERTIES_GET,
                                            KV_DCMD_CTRL_ALARM_DISABLE};
    ASSERT_GT(kKvDcmdCount, 90u);
    for (unsigned i = 0; i < kKvDcmdCount; ++i) {
        const KV_DCMD_INFO& row = kvDcmdRow(i);
        SCOPED_TRACE(row.name);
        const int status = send(c, row.opcode).status;
        const kvi::sim::TraceEntry& t = c.trace().back();
        EXPECT_EQ(t.handled, faulty.count(row.opcode) == 0);
        EXPECT_EQ(t.opcode, row.opcode);
        EXPECT_EQ(t.length, row.standardSize);
        EXPECT_EQ(status == 34, row.opcode == KV_DCMD_BBU_GET_STATUS);
        EXPECT_LE(status, 255);
        EXPECT_EQ(status == KVI_STAT_INVALID_DCMD, kRefusedByDefault.count(row.opcode) == 1);
    }
    EXPECT_EQ(c.totalRequests(), kKvDcmdCount);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_GET_INFO).status, kvi::kTransportFailed);
    // A mailbox qualifier narrows the fault and wins over the plain entry.
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 2}})).status, 4);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 1}})).status, 0);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}), 128).status, 9);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_PROPERTIES_GET).status, 17);
    std::uint32_t newest = c.state().events.newestSeqNum();
    EXPECT_EQ(send(c, KV_DCMD_CTRL_ALARM_DISABLE).status, 3);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_ALARM_GET).data[0], 1);
    EXPECT_EQ(c.state().events.newestSeqNum(), newest);
}

// What each trace entry holds is in the walk's goldens; here the counters and
// the trace limit.
TEST_F(SimTest, CountersAndTheTraceLimit) {
    send(c(), KV_DCMD_CTRL_GET_INFO);
    send(c(), KV_DCMD_CTRL_GET_INFO);
    send(c(), KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 3}, {1, 4}}));
    EXPECT_EQ(c().count(KV_DCMD_CTRL_GET_INFO), 2u);
    EXPECT_EQ(c().count(KV_DCMD_BBU_LEARN), 0u);
    ASSERT_EQ(c().trace().size(), 3u);
    c().setTraceLimit(2);
    ASSERT_EQ(c().trace().size(), 2u);
    EXPECT_EQ(c().trace().front().opcode, std::uint32_t(KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(c().trace().back().opcode, std::uint32_t(KV_DCMD_SAS_CONFIG_SET_LINK_SPEED));
    c().resetIntrospection();
    EXPECT_EQ(c().totalRequests(), 0u);
    EXPECT_TRUE(c().trace().empty());
}

} // namespace
