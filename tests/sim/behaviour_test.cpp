// Request-level round trips: what one request writes, the next reads back.
#include <gtest/gtest.h>

#include "SimTestUtil.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::SimController;
using kvi::sim::Simulator;

namespace {

class SimBehaviour : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC0", 1);
        tzset();
        sim.load("default");
    }
    SimController& c() { return sim.controller(0); }
    std::uint32_t newest() {
        return as<KV_EVT_LOG_INFO>(send(c(), KV_DCMD_CTRL_EVENT_GET_INFO)).newestSeqNum;
    }
    // Description of the newest event, after its class when that is not 0 (info).
    std::string lastEvent() {
        Reply r = send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(newest(), 0xFE00FFFF), 8 + 256);
        EXPECT_EQ(r.status, 0);
        const std::int8_t cls = std::int8_t(r.data[8 + 15]);
        return (cls ? "class " + std::to_string(cls) + ": " : std::string()) +
               reinterpret_cast<const char*>(r.data.data() + 8 + 128);
    }
    Clock clock{kNow};
    Simulator sim{clock};
};

TEST_F(SimBehaviour, PropertiesWriteThenReadAndMirrorIntoControllerInfo) {
    KV_CTRL_PROP p = as<KV_CTRL_PROP>(send(c(), KV_DCMD_CTRL_PROPERTIES_GET));
    EXPECT_EQ(p.rebuildRate, 30);
    p.rebuildRate = 55;
    p.OnOffProperties.enableJBOD = 1;
    ASSERT_EQ(sendRecord(c(), KV_DCMD_CTRL_PROPERTIES_SET, p).status, 0);
    EXPECT_EQ(lastEvent(), "Controller properties changed");
    KV_CTRL_PROP back = as<KV_CTRL_PROP>(send(c(), KV_DCMD_CTRL_PROPERTIES_GET));
    EXPECT_EQ(back.rebuildRate, 55);
    EXPECT_EQ(back.OnOffProperties.enableJBOD, 1u);
    KV_CTRL_INFO info = as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(info.properties.rebuildRate, 55);

    // The extension carries the same first half plus the second.
    KV_CTRL_PROP_EXT ext =
        as<KV_CTRL_PROP_EXT>(send(c(), KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}), 128));
    EXPECT_EQ(ext.ctrlProp1.rebuildRate, 55);
    EXPECT_EQ(ext.ctrlProp2.predFailDAInterval, 60);
    ext.ctrlProp2.predFailDAInterval = 90;
    ASSERT_EQ(
        send(c(), KV_DCMD_CTRL_PROPERTIES_SET, mboxBytes({{0, 1}}), 128, &ext, sizeof ext).status,
        0);
    info = as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(info.prop.predFailDAInterval, 90);

    // Factory defaults restore what the profile set.
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_SET_FACTORY_DEFAULTS).status, 0);
    ext = as<KV_CTRL_PROP_EXT>(send(c(), KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}), 128));
    EXPECT_EQ(ext.ctrlProp1.rebuildRate, 30);
    EXPECT_EQ(ext.ctrlProp1.OnOffProperties.enableJBOD, 0u);
    EXPECT_EQ(ext.ctrlProp2.predFailDAInterval, 60);
}

TEST_F(SimBehaviour, BiosDataNeedsAValidChecksum) {
    KV_BIOS_DATA b = as<KV_BIOS_DATA>(send(c(), KV_DCMD_CTRL_BIOS_DATA_GET));
    std::uint8_t sum = 0;
    for (std::size_t i = 0; i < sizeof b; ++i)
        sum = std::uint8_t(sum + reinterpret_cast<std::uint8_t*>(&b)[i]);
    EXPECT_EQ(sum, 0) << "the profile's record carries a valid checksum";
    b.bootTargetId = 2;
    b.doNotExpose = 1; // checksum now stale
    std::uint32_t before = newest();
    EXPECT_EQ(sendRecord(c(), KV_DCMD_CTRL_BIOS_DATA_SET, b).status,
              kvi::sim::kStatusChecksumMismatch);
    EXPECT_EQ(newest(), before);
    EXPECT_EQ(as<KV_BIOS_DATA>(send(c(), KV_DCMD_CTRL_BIOS_DATA_GET)).bootTargetId, 0);
    b.checkSum = 0;
    sum = 0;
    for (std::size_t i = 0; i < 63; ++i)
        sum = std::uint8_t(sum + reinterpret_cast<std::uint8_t*>(&b)[i]);
    b.checkSum = std::uint8_t(0x100 - sum);
    ASSERT_EQ(sendRecord(c(), KV_DCMD_CTRL_BIOS_DATA_SET, b).status, 0);
    KV_BIOS_DATA back = as<KV_BIOS_DATA>(send(c(), KV_DCMD_CTRL_BIOS_DATA_GET));
    EXPECT_EQ(back.bootTargetId, 2);
    EXPECT_EQ(back.doNotExpose, 1);
    EXPECT_EQ(lastEvent(), "BIOS settings changed");
}

TEST_F(SimBehaviour, MuxModesFollowTheRules) {
    KV_SAS_MUX_LIST m = as<KV_SAS_MUX_LIST>(send(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST));
    ASSERT_EQ(m.sasMuxCount, 2);
    m.sasMuxMode[1] = 2;
    ASSERT_EQ(sendRecord(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, m).status, 0);
    EXPECT_EQ(as<KV_SAS_MUX_LIST>(send(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST)).sasMuxMode[1],
              2);
    KV_SAS_MUX_LIST bad = m;
    bad.sasMuxMode[0] = 0; // a mux cannot be switched off
    EXPECT_EQ(sendRecord(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, bad).status,
              KVI_STAT_INVALID_PARAMETER);
    bad = m;
    bad.sasMuxMode[2] = 1; // no third mux
    bad.sasMuxCount = 3;
    EXPECT_EQ(sendRecord(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, bad).status,
              KVI_STAT_INVALID_PARAMETER);
    bad = m;
    bad.sasMuxMode[1] = 4;
    EXPECT_EQ(sendRecord(c(), KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, bad).status,
              KVI_STAT_INVALID_PARAMETER);
}

TEST_F(SimBehaviour, NvCacheEraseClearsTheUsedPart) {
    const std::uint32_t before = newest();
    Reply r = send(c(), KV_DCMD_CTRL_NVCACHE_ERASE, mboxBytes({{0, 0}}), 16);
    EXPECT_EQ(as<std::uint64_t>(r), 16777216u);
    EXPECT_EQ(std::vector<std::uint8_t>(r.data.begin() + 8, r.data.end()),
              std::vector<std::uint8_t>(8, 0));
    EXPECT_EQ(newest(), before + 1);
    EXPECT_EQ(lastEvent(), "class 1: NV cache erased");
}

TEST_F(SimBehaviour, LockKeyRequestsRejectUnterminatedTexts) {
    KV_CTRL_LOCK_KEY_PARAMS p{};
    std::memset(p.lockKeyPassPhrase.passPhrase, 'A', sizeof p.lockKeyPassPhrase.passPhrase);
    EXPECT_EQ(sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_CREATE, p).status, KVI_STAT_INVALID_PARAMETER);
    KV_CTRL_LOCK_KEY_PASSPHRASE s =
        as<KV_CTRL_LOCK_KEY_PASSPHRASE>(send(c(), KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE));
    std::string suggested(reinterpret_cast<const char*>(s.passPhrase));
    EXPECT_GE(suggested.size(), 8u);
    EXPECT_LE(suggested.size(), 32u);
    // Each suggestion differs from the one before.
    KV_CTRL_LOCK_KEY_PASSPHRASE s2 =
        as<KV_CTRL_LOCK_KEY_PASSPHRASE>(send(c(), KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE));
    EXPECT_NE(suggested, std::string(reinterpret_cast<const char*>(s2.passPhrase)));
    // An empty passphrase means the external key manager.
    ASSERT_EQ(sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_CREATE, KV_CTRL_LOCK_KEY_PARAMS{}).status, 0);
    EXPECT_TRUE(c().state().lockKey.external);
}

// ---- patrol read and consistency check ----

TEST_F(SimBehaviour, PatrolReadStateMachine) {
    auto status = [&] { return as<KV_PR_STATUS>(send(c(), KV_DCMD_CTRL_PR_GET_STATUS)); };
    EXPECT_EQ(status().state, 1);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_PR_STOP).status, KVI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_PR_SUSPEND_RESUME, mboxBytes({{0, 0}})).status,
              KVI_STAT_INVALID_PARAMETER);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, 0);
    EXPECT_EQ(lastEvent(), "Patrol Read started");
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, kvi::sim::kStatusBusy);
    KV_PR_STATUS s = status();
    EXPECT_EQ(s.state, 2);
    EXPECT_EQ(s.numPdDone, 0);
    EXPECT_EQ(status().numPdDone, 1);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_SUSPEND_RESUME, mboxBytes({{0, 0}})).status, 0);
    EXPECT_EQ(status().state, 4);
    EXPECT_EQ(status().numPdDone, 2) << "a suspended pass does not move";
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_SUSPEND_RESUME, mboxBytes({{0, 1}})).status, 0);
    // The pass ends after as many reads as there are drives (8).
    std::uint32_t iterations = s.numIteration;
    for (int i = 0; i < 10 && status().state == 2;) {
        ++i;
    }
    s = status();
    EXPECT_EQ(s.state, 1);
    EXPECT_EQ(s.numIteration, iterations + 1);
    EXPECT_EQ(lastEvent(), "Patrol Read complete");
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, 0);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_STOP).status, 0);
    EXPECT_EQ(status().state, 0);
}

TEST_F(SimBehaviour, PatrolReadScheduleReadsBackAndAdvances) {
    Reply r = send(c(), KV_DCMD_CTRL_PR_GET_PROPERTIES, mboxBytes({{0, 1}}), 120);
    ASSERT_EQ(r.status, 0);
    KV_PR_PROPERTIES_EXT p = as<KV_PR_PROPERTIES_EXT>(r);
    std::uint32_t now = std::uint32_t(kNow - 946684800);
    p.nextExec = now - 100; // due already
    p.execFreq = 3600;
    p.excludedLdMap.b[0] = 0x03;
    p.excludedLdMap.b[31] = 0x80;
    p.excludeLdCount = 3;
    ASSERT_EQ(
        send(c(), KV_DCMD_CTRL_PR_SET_PROPERTIES, mboxBytes({{0, 1}}), 120, &p, sizeof p).status,
        0);
    KV_PR_PROPERTIES_EXT back = as<KV_PR_PROPERTIES_EXT>(
        send(c(), KV_DCMD_CTRL_PR_GET_PROPERTIES, mboxBytes({{0, 1}}), 120));
    EXPECT_EQ(back.nextExec, now - 100);
    EXPECT_EQ(back.excludedLdMap.b[31], 0x80);
    // Starting the due run moves the next one past now by whole periods.
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, 0);
    back = as<KV_PR_PROPERTIES_EXT>(
        send(c(), KV_DCMD_CTRL_PR_GET_PROPERTIES, mboxBytes({{0, 1}}), 120));
    EXPECT_EQ(back.nextExec, now - 100 + 3600);
    // Disabling patrol read stops the run; a disabled patrol read does not start.
    back.opMode = 2;
    ASSERT_EQ(
        send(c(), KV_DCMD_CTRL_PR_SET_PROPERTIES, mboxBytes({{0, 1}}), 120, &back, sizeof back)
            .status,
        0);
    EXPECT_EQ(as<KV_PR_STATUS>(send(c(), KV_DCMD_CTRL_PR_GET_STATUS)).state, 0);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_PR_START).status, KVI_STAT_INVALID_PARAMETER);
    back.opMode = 3;
    EXPECT_EQ(
        send(c(), KV_DCMD_CTRL_PR_SET_PROPERTIES, mboxBytes({{0, 1}}), 120, &back, sizeof back)
            .status,
        KVI_STAT_INVALID_PARAMETER);
}

TEST_F(SimBehaviour, BatteryLearnCycleRunsForThreeStatusReads) {
    ASSERT_EQ(send(c(), KV_DCMD_BBU_LEARN).status, 0);
    EXPECT_EQ(send(c(), KV_DCMD_BBU_LEARN).status, kvi::sim::kStatusBusy);
    EXPECT_NE(as<KV_BBU_STATUS>(send(c(), KV_DCMD_BBU_GET_STATUS)).fwStatus & (1u << 6), 0u);
    send(c(), KV_DCMD_BBU_GET_STATUS);
    send(c(), KV_DCMD_BBU_GET_STATUS);
    EXPECT_EQ(as<KV_BBU_STATUS>(send(c(), KV_DCMD_BBU_GET_STATUS)).fwStatus & (1u << 6), 0u);
    KV_BBU_PROPERTIES p = as<KV_BBU_PROPERTIES>(send(c(), KV_DCMD_BBU_PROPERTIES_GET));
    std::uint32_t now = std::uint32_t(kNow - 946684800);
    EXPECT_EQ(p.lastSuccessfulLearnTime, now);
    EXPECT_EQ(p.nextLearnTime, now + 2419200);
    p.autoLearnMode = 1;
    ASSERT_EQ(sendRecord(c(), KV_DCMD_BBU_PROPERTIES_SET, p).status, 0);
    EXPECT_EQ(lastEvent(), "Battery properties changed");
    EXPECT_EQ(as<KV_BBU_PROPERTIES>(send(c(), KV_DCMD_BBU_PROPERTIES_GET)).autoLearnMode, 1);
    p.autoLearnMode = 3;
    EXPECT_EQ(sendRecord(c(), KV_DCMD_BBU_PROPERTIES_SET, p).status, KVI_STAT_INVALID_PARAMETER);
}

TEST_F(SimBehaviour, EventCaptureCatchesNewEvents) {
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
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_AEC_CONTROL, mboxWords(1)).status, 0);
    EXPECT_EQ(lastEvent(), "Event capture stopped");
}

} // namespace
