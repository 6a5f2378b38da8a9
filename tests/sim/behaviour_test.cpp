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
    // Description of the newest event.
    std::string lastEvent() {
        std::uint32_t seq = newest();
        Reply r = send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(seq, 0xFE00FFFF), 8 + 256);
        EXPECT_EQ(r.status, 0);
        return std::string(reinterpret_cast<const char*>(r.data.data() + 8 + 128));
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

TEST_F(SimBehaviour, LinkSpeedLandsInThePhyTable) {
    ASSERT_EQ(send(c(), KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 5}, {1, 2}})).status, 0);
    KV_SAS_PHY_CONNECTIONS t =
        as<KV_SAS_PHY_CONNECTIONS>(send(c(), KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS));
    EXPECT_EQ(t.count, 16u);
    EXPECT_EQ(t.phy[5].linkSpeedControl, 2u);
    EXPECT_EQ(t.phy[4].linkSpeedControl, 0u);
    EXPECT_EQ(t.phy[0].linkSpeedControl, 8u);
    // Bits 18-23 of the word at byte 12 of entry 5.
    std::uint32_t w;
    std::memcpy(&w, reinterpret_cast<std::uint8_t*>(&t) + 8 + 5 * 16 + 12, 4);
    EXPECT_EQ((w >> 18) & 0x3F, 2u);
    EXPECT_EQ(lastEvent(), "Link speed of phy 5 set to 3.0 Gbps");
}

TEST_F(SimBehaviour, SasAddressHighHalfInWordZero) {
    ASSERT_EQ(
        send(c(), KV_DCMD_CTRL_MFC_DEFAULTS_SASADDR_SET, mboxWords(0x50000000, 0x12345678)).status,
        0);
    EXPECT_EQ(as<KV_MFC_DEFAULTS>(send(c(), KV_DCMD_CTRL_MFC_DEFAULTS_GET)).sasAddr,
              0x5000000012345678ULL);
    KV_MFC_DEFAULTS d = as<KV_MFC_DEFAULTS>(send(c(), KV_DCMD_CTRL_MFC_DEFAULTS_GET));
    d.sasAddr = 0x5000d31f00000001ULL;
    ASSERT_EQ(sendRecord(c(), KV_DCMD_CTRL_MFC_DEFAULTS_SET, d).status, 0);
    EXPECT_EQ(as<KV_MFC_DEFAULTS>(send(c(), KV_DCMD_CTRL_MFC_DEFAULTS_GET)).sasAddr,
              0x5000d31f00000001ULL);
}

TEST_F(SimBehaviour, NvCacheQueryOnlyReportsAndEraseClearsTheUsedPart) {
    struct Words {
        std::uint64_t sizeKiB, usedKiB;
    };
    const std::uint32_t before = newest();
    // b[0] = 1: the report form, answered from the profile, logging nothing.
    Words w = as<Words>(send(c(), KV_DCMD_CTRL_NVCACHE_ERASE, mboxBytes({{0, 1}}), 16));
    EXPECT_EQ(w.sizeKiB, 16777216u);
    EXPECT_EQ(w.usedKiB, 1048576u);
    EXPECT_EQ(newest(), before);
    // b[0] = 0 erases: the used part is gone and the erase is logged.
    w = as<Words>(send(c(), KV_DCMD_CTRL_NVCACHE_ERASE, mboxBytes({{0, 0}}), 16));
    EXPECT_EQ(w.sizeKiB, 16777216u);
    EXPECT_EQ(w.usedKiB, 0u);
    EXPECT_EQ(newest(), before + 1);
    EXPECT_EQ(lastEvent(), "NV cache erased");
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_NVCACHE_ERASE, mboxBytes({{0, 2}}), 16).status,
              KVI_STAT_INVALID_PARAMETER);
}

TEST_F(SimBehaviour, AlarmStatesAndTheirProperty) {
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_ALARM_GET).data[0], 1);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_ALARM_SILENCE).status, 0);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_ALARM_GET).data[0], 2);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_ALARM_DISABLE).status, 0);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_ALARM_GET).data[0], 0);
    EXPECT_EQ(as<KV_CTRL_PROP>(send(c(), KV_DCMD_CTRL_PROPERTIES_GET)).alarmEnable, 0);
    EXPECT_EQ(lastEvent(), "Alarm disabled");
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_ALARM_ENABLE).status, 0);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_ALARM_GET).data[0], 1);
    EXPECT_EQ(as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO)).properties.alarmEnable, 1);
}

TEST(SimProfiles, EntryControllerHasNoAlarmOrBattery) {
    Clock clock(kNow);
    Simulator sim(clock);
    sim.load("entry");
    SimController& c = sim.controller(0);
    for (std::uint32_t op :
         {KV_DCMD_CTRL_ALARM_GET, KV_DCMD_CTRL_ALARM_ENABLE, KV_DCMD_BBU_GET_STATUS,
          KV_DCMD_BBU_GET_CAPACITY_INFO, KV_DCMD_BBU_GET_DESIGN_INFO, KV_DCMD_BBU_LEARN,
          KV_DCMD_BBU_PROPERTIES_GET, KV_DCMD_CTRL_DIAG_BATTERY_RETENTION_TEST})
        EXPECT_EQ(send(c, op).status, KVI_STAT_NO_HW_PRESENT) << kvDcmdName(op);
    KV_CTRL_INFO info = as<KV_CTRL_INFO>(send(c, KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(info.hwPresent.bbu, 0u);
    EXPECT_EQ(info.hwPresent.alarm, 0u);
    EXPECT_EQ(info.adapterOperations.supportSecurity, 0u);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_LOCK_KEY_DESTROY).status, KVI_STAT_INVALID_DCMD);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 2}})).status,
              KVI_STAT_INVALID_PARAMETER);
}

// ---- lock key ----

KV_CTRL_LOCK_KEY_PARAMS createParams(const char* pass, const char* keyId) {
    KV_CTRL_LOCK_KEY_PARAMS p{};
    std::memcpy(p.lockKeyPassPhrase.passPhrase, pass, std::strlen(pass));
    std::memcpy(p.keyId, keyId, std::strlen(keyId));
    return p;
}
KV_CTRL_LOCK_KEY_FROM_ESCROW escrowParams(const char* pass, const char* current = nullptr) {
    KV_CTRL_LOCK_KEY_FROM_ESCROW p{};
    std::memcpy(p.lockKeyPassPhrase.passPhrase, pass, std::strlen(pass));
    if (current) {
        p.escrow.escrowLockKeyLength = std::uint8_t(std::strlen(current));
        std::memcpy(p.escrow.escrowLockKey, current, std::strlen(current));
    }
    return p;
}

TEST_F(SimBehaviour, LockKeyLifecycleChecksThePassphrase) {
    auto flags = [&] { return as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO)).adapterStatus; };
    EXPECT_EQ(flags().lockKeyAssigned, 0);
    EXPECT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, escrowParams("Secret#2025")).status,
        kvi::sim::kStatusNoLockKey);
    ASSERT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_CREATE, createParams("Secret#2025", "rack7-ctrl0"))
            .status,
        0);
    EXPECT_EQ(flags().lockKeyAssigned, 1);
    EXPECT_EQ(flags().lockKeyRebootRequired, 0);
    // The state keeps a hash, never the passphrase.
    EXPECT_EQ(c().state().lockKey.hash.find("Secret"), std::string::npos);
    EXPECT_EQ(sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_CREATE, createParams("Other#2025", "x")).status,
              KVI_STAT_INVALID_PARAMETER);

    EXPECT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, escrowParams("Secret#2025")).status,
        0);
    EXPECT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, escrowParams("secret#2025")).status,
        kvi::sim::kStatusWrongPassphrase);
    EXPECT_EQ(lastEvent(), "Lock key passphrase refused");
    EXPECT_EQ(sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, escrowParams("wrong")).status,
              kvi::sim::kStatusWrongPassphrase);
    EXPECT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, escrowParams("Secret#2025")).status, 0);

    // Key identifier.
    Reply id = send(c(), KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, mboxBytes({{0, 0xFF}, {1, 0xFF}}));
    ASSERT_EQ(id.status, 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(id.data.data()), "rack7-ctrl0");

    // Re-key: a wrong current passphrase is refused, the right one takes the new key.
    EXPECT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_REKEY, escrowParams("New#Key#26", "nope")).status,
        kvi::sim::kStatusWrongPassphrase);
    ASSERT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_REKEY, escrowParams("New#Key#26", "Secret#2025"))
            .status,
        0);
    EXPECT_EQ(flags().lockKeyRebootRequired, 1);
    EXPECT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, escrowParams("Secret#2025")).status,
        kvi::sim::kStatusWrongPassphrase);
    EXPECT_EQ(
        sendRecord(c(), KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, escrowParams("New#Key#26")).status, 0);
    // A restart completes the key change.
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_SHUTDOWN, mboxBytes({{1, 1}})).status, 0);
    EXPECT_EQ(flags().lockKeyRebootRequired, 0);

    ASSERT_EQ(send(c(), KV_DCMD_CTRL_LOCK_KEY_DESTROY).status, 0);
    EXPECT_EQ(flags().lockKeyAssigned, 0);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_LOCK_KEY_DESTROY).status, kvi::sim::kStatusNoLockKey);
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, mboxBytes({{0, 0xFF}, {1, 0xFF}})).status,
              kvi::sim::kStatusNoLockKey);
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

TEST(SimLegacy, LegacyScheduleFormsOnThePreviousGeneration) {
    setenv("TZ", "UTC0", 1);
    tzset();
    Simulator sim(Clock{kNow});
    sim.load("previous-gen");
    SimController& c = sim.controller(0);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_PR_GET_PROPERTIES, mboxBytes({{0, 1}}), 120).status,
              KVI_STAT_INVALID_PARAMETER);
    KV_PR_PROPERTIES p = as<KV_PR_PROPERTIES>(send(c, KV_DCMD_CTRL_PR_GET_PROPERTIES, {}, 208));
    EXPECT_EQ(p.excludeLdCount, 1);
    EXPECT_EQ(p.excludedLD[0], 1);
    p.excludeLdCount = 65; // more than the list holds
    EXPECT_EQ(sendRecord(c, KV_DCMD_CTRL_PR_SET_PROPERTIES, p).status, KVI_STAT_INVALID_PARAMETER);
    KV_CC_SCHEDULE_PROPERTIES cc =
        as<KV_CC_SCHEDULE_PROPERTIES>(send(c, KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, {}, 168));
    EXPECT_EQ(cc.execFreq, 2419200u);
    cc.execFreq = 0xFFFFFFFFu;
    cc.opMode = 0;
    cc.nextExec = 12345;
    ASSERT_EQ(sendRecord(c, KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES, cc).status, 0);
    KV_CC_SCHEDULE_PROPERTIES back =
        as<KV_CC_SCHEDULE_PROPERTIES>(send(c, KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, {}, 168));
    EXPECT_EQ(back.execFreq, 0xFFFFFFFFu);
    EXPECT_EQ(back.nextExec, 12345u);
    EXPECT_EQ(as<KV_CC_SCHEDULE_STATUS>(send(c, KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS)).state, 0);
    back.opMode = 2;
    ASSERT_EQ(sendRecord(c, KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES, back).status, 0);
    EXPECT_EQ(as<KV_CC_SCHEDULE_STATUS>(send(c, KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS)).state, 1);
    // No dual images: no backup list; a lithium pack.
    EXPECT_EQ(send(c, KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 2}})).status,
              KVI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(as<KV_BBU_STATUS>(send(c, KV_DCMD_BBU_GET_STATUS)).batteryType, 5);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_PROPERTIES_GET, mboxBytes({{0, 1}}), 128).status,
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
    EXPECT_EQ(as<KV_BBU_PROPERTIES>(send(c(), KV_DCMD_BBU_PROPERTIES_GET)).autoLearnMode, 1);
    p.autoLearnMode = 3;
    EXPECT_EQ(sendRecord(c(), KV_DCMD_BBU_PROPERTIES_SET, p).status, KVI_STAT_INVALID_PARAMETER);
}

// ---- images ----

TEST_F(SimBehaviour, ImageListsInTwoPasses) {
    // First pass: the head; second pass: count x 72 bytes, so the last entry is cut.
    Reply head = send(c(), KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 0}}));
    std::uint32_t size, count;
    std::memcpy(&size, head.data.data(), 4);
    std::memcpy(&count, head.data.data() + 4, 4);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(size, 8u + 7 * 72);
    Reply all = send(c(), KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 0}}), count * 72);
    ASSERT_EQ(all.status, 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(all.data.data() + 8 + 72), "BIOS");
    Reply pending = send(c(), KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 1}}));
    std::memcpy(&count, pending.data.data() + 4, 4);
    EXPECT_EQ(count, 3u);
    KV_CTRL_INFO info = as<KV_CTRL_INFO>(send(c(), KV_DCMD_CTRL_GET_INFO));
    EXPECT_EQ(info.imageComponentCount, 7u);
    EXPECT_EQ(info.pendingImageComponentCount, 3u);
    EXPECT_STREQ(info.pendingImageComponent[0].version, "5.270.00-3901");
    Reply backup = send(c(), KV_DCMD_CTRL_FLASH_COMP_INFO_GET, mboxBytes({{0, 2}}));
    std::memcpy(&count, backup.data.data() + 4, 4);
    EXPECT_EQ(count, 5u);
}

// ---- event log ----

TEST_F(SimBehaviour, EventsGrowClearAndFilter) {
    KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c(), KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.oldestSeqNum, 1u);
    EXPECT_EQ(info.newestSeqNum, 5u);
    EXPECT_EQ(info.bootSeqNum, 1u); // the profile's last "Controller booted" event
    // Read everything: head {count, reserved}, then 256-byte records.
    Reply r = send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(0, 0xFE00FFFF), 8 + 10 * 256);
    ASSERT_EQ(r.status, 0);
    std::uint32_t n;
    std::memcpy(&n, r.data.data(), 4);
    ASSERT_EQ(n, 5u);
    const std::uint8_t* rec = r.data.data() + 8 + 3 * 256;
    std::uint32_t seq, code;
    std::memcpy(&seq, rec, 4);
    std::memcpy(&code, rec + 8, 4);
    EXPECT_EQ(seq, 4u);
    EXPECT_EQ(code, 263u);
    EXPECT_EQ(rec[12], 2);              // locale
    EXPECT_EQ(std::int8_t(rec[15]), 1); // class: warning
    EXPECT_STREQ(reinterpret_cast<const char*>(rec + 128),
                 "Drive 5 reported a corrected medium error");
    std::uint32_t stamp;
    std::memcpy(&stamp, rec + 4, 4);
    EXPECT_EQ(stamp, std::uint32_t(kNow - 946684800 - 40000));

    // Class filter (bits 24-31, signed) and locale mask (bits 0-15).
    auto countOf = [&](std::uint32_t filter) {
        return as<std::uint32_t>(send(c(), KV_DCMD_CTRL_EVENT_COUNT, mboxWords(0, filter)));
    };
    EXPECT_EQ(countOf(0x0100FFFF), 1u); // warnings and worse
    EXPECT_EQ(countOf(0x00000002), 2u); // drive locale, info and worse
    EXPECT_EQ(countOf(0x0000000A), 3u); // drive or battery
    EXPECT_EQ(countOf(0x0000FFFF), 5u);
    EXPECT_EQ(as<std::uint32_t>(send(c(), KV_DCMD_CTRL_EVENT_COUNT, mboxWords(4, 0xFFFF))), 2u);

    // Actions append; clear moves clearSeqNum to the "cleared" event.
    send(c(), KV_DCMD_CTRL_CACHE_FLUSH, mboxWords(3));
    EXPECT_EQ(newest(), 6u);
    ASSERT_EQ(send(c(), KV_DCMD_CTRL_EVENT_CLEAR).status, 0);
    info = as<KV_EVT_LOG_INFO>(send(c(), KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.clearSeqNum, 7u);
    EXPECT_EQ(info.oldestSeqNum, 7u);
    EXPECT_EQ(info.newestSeqNum, 7u);
    EXPECT_EQ(lastEvent(), "Event log cleared");
    r = send(c(), KV_DCMD_CTRL_EVENT_GET, mboxWords(1, 0xFE00FFFF), 8 + 10 * 256);
    std::memcpy(&n, r.data.data(), 4);
    EXPECT_EQ(n, 1u);
}

TEST(SimEventLog, MillionGeneratedEventsAreReadInChunks) {
    Clock clock(kNow);
    auto st = kvi::sim::buildFromProfileText(
        R"({"base": "default", "eventLog": {"generate": 1000000}})", "big.json", "", clock);
    SimController c(std::move(st), &clock);
    KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c, KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.oldestSeqNum, 1u);
    EXPECT_EQ(info.newestSeqNum, 1000000u);
    // The last chunk: the newest events, ascending, stamped 30 s apart.
    Reply r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(999998, 0xFE00FFFF), 8 + 4 * 256);
    std::uint32_t n, s0, s2, t0, t2;
    std::memcpy(&n, r.data.data(), 4);
    ASSERT_EQ(n, 3u);
    std::memcpy(&s0, r.data.data() + 8, 4);
    std::memcpy(&t0, r.data.data() + 8 + 4, 4);
    std::memcpy(&s2, r.data.data() + 8 + 512, 4);
    std::memcpy(&t2, r.data.data() + 8 + 512 + 4, 4);
    EXPECT_EQ(s0, 999998u);
    EXPECT_EQ(s2, 1000000u);
    EXPECT_EQ(t2 - t0, 60u);
    EXPECT_NE(r.data[8 + 128], 0) << "generated events carry a description";
    // The same sequence number always reads the same event.
    Reply again = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(999998, 0xFE00FFFF), 8 + 256);
    EXPECT_EQ(0, std::memcmp(again.data.data() + 8, r.data.data() + 8, 256));
    // Only critical events: a sparse filter still fills its chunk.
    r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(1, 0x0200FFFF), 8 + 16 * 256);
    std::memcpy(&n, r.data.data(), 4);
    EXPECT_EQ(n, 16u);
    for (std::uint32_t i = 0; i < n; ++i)
        EXPECT_GE(std::int8_t(r.data[8 + i * 256 + 15]), 2);
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
    EXPECT_EQ(send(c(), KV_DCMD_CTRL_AEC_CONTROL, mboxWords(3, 0x100)).status,
              KVI_STAT_INVALID_PARAMETER);
}

} // namespace
