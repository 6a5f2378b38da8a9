// Round trips through the adapter: one AdapterDataKvi changes something, a
// fresh AdapterDataKvi over the same simulated controller reads it back. A
// fresh object has no caches, so every value read back comes from the
// simulator's state, not from what the writer kept.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Controller.h"
#include "provider/ProcessInputs.h"
#include "provider/System.h"
#include "sim/ControllerState.h"
#include "sim/Simulator.h"
#include "tests/support/ScratchDir.h"
#include "util/ArList.h"

namespace {

constexpr std::int64_t kNow = 1748779200; // 2025-06-01 12:00:00 UTC

// A time zone with summer time: schedules in July are read back in summer time.
constexpr const char* kZone = "CET-1CEST,M3.5.0,M10.5.0/3";

class Roundtrip : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", kZone, 1);
        tzset();
        load("default");
    }
    void TearDown() override {
        System::getInstance()->setBackend(nullptr);
        kvi::resetProcessInputs();
    }

    void load(const std::string& profile) {
        ctrl_.reset();
        sim_.load(profile);
        kvi::setProcessInputs(sim_.processInputs());
        System::getInstance()->setBackend(&sim_.controller(0));
        ctrl_ = std::make_unique<BackendController>(sim_.controller(0), ControllerId(0));
    }
    // A profile on top of the default one, written to a temporary file.
    void loadOnDefault(const std::string& body) {
        std::string path = scratch_.file("profile_" + std::to_string(profiles_++) + ".json");
        std::ofstream(path) << "{\"base\": \"default\", " << body << "}";
        load(path);
    }

    // A new adapter object: no caches, everything read from the simulator.
    std::unique_ptr<AdapterDataKvi> fresh() {
        return std::make_unique<AdapterDataKvi>(ctrl_.get(), &id_);
    }
    kvi::sim::SimController& backend() { return sim_.controller(0); }

    kvi::sim::Simulator sim_{kvi::sim::Clock(kNow)};
    std::unique_ptr<BackendController> ctrl_;
    ControllerId id_{0};
    kvitest::ScratchDir scratch_{"roundtrip"};
    int profiles_ = 0;
};

std::tm localTime(int year, int month, int day, int hour, int min) {
    std::tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = min;
    t.tm_isdst = -1;
    std::time_t s = std::mktime(&t); // normalises, sets tm_isdst and tm_wday
    std::tm out{};
    localtime_r(&s, &out);
    return out;
}

std::vector<unsigned short> items(ArrayList<unsigned short>& list) {
    std::vector<unsigned short> v;
    for (std::size_t i = 0; i < list.size(); ++i)
        v.push_back(list.get(i));
    return v;
}

// ---- settings written in a transaction ----
// Each setting: how to write it inside the transaction, how to read it.
struct Setting {
    const char* name;
    std::function<int(AdapterData&, unsigned)> set;
    std::function<int(AdapterData&, unsigned*)> get;
    unsigned value;
    int (AdapterData::*begin)();
    int (AdapterData::*end)();
    // What the getter answers afterwards: the value, except for the BIOS
    // settings whose setter stores the reverse of the getter's sense.
    int readBack = -1;
    unsigned expected() const { return readBack < 0 ? value : static_cast<unsigned>(readBack); }
};

template <class T> std::function<int(AdapterData&, unsigned*)> getter(int (AdapterData::*fn)(T*)) {
    return [fn](AdapterData& a, unsigned* out) {
        T v{};
        int rc = (a.*fn)(&v);
        *out = static_cast<unsigned>(v);
        return rc;
    };
}
template <class T> std::function<int(AdapterData&, unsigned)> setPtr(int (AdapterData::*fn)(T*)) {
    return [fn](AdapterData& a, unsigned v) {
        T t = static_cast<T>(v);
        return (a.*fn)(&t);
    };
}
template <class T> std::function<int(AdapterData&, unsigned)> setVal(int (AdapterData::*fn)(T)) {
    return [fn](AdapterData& a, unsigned v) { return (a.*fn)(static_cast<T>(v)); };
}

void PrintTo(const Setting& s, std::ostream* os) {
    *os << s.name;
}

class SettingRoundtrip : public Roundtrip, public ::testing::WithParamInterface<Setting> {};

TEST_P(SettingRoundtrip, ANewObjectReadsWhatTheTransactionWrote) {
    const Setting& s = GetParam();
    unsigned before = 0;
    ASSERT_EQ(s.get(*fresh(), &before), 0);
    ASSERT_NE(before, s.expected()) << "pick a value that reads back unlike the profile's";

    auto writer = fresh();
    ASSERT_EQ(((*writer).*s.begin)(), 0);
    ASSERT_EQ(s.set(*writer, s.value), 0);
    unsigned pending = 0;
    ASSERT_EQ(s.get(*fresh(), &pending), 0);
    EXPECT_EQ(pending, before) << "nothing reaches the controller before the transaction ends";
    ASSERT_EQ(((*writer).*s.end)(), 0);

    unsigned after = 0;
    ASSERT_EQ(s.get(*fresh(), &after), 0);
    EXPECT_EQ(after, s.expected());
}

const Setting kSettings[] = {
    // controller properties (first half)
    {"RebuildRate", setPtr(&AdapterData::setRebuildRate), getter(&AdapterData::getRebuildRate), 55,
     &AdapterData::beginCtlrPropUpdate, &AdapterData::endCtlrPropUpdate},
    {"PatrolReadRate", setPtr(&AdapterData::setpatrolReadRate),
     getter(&AdapterData::getpatrolReadRate), 17, &AdapterData::beginCtlrPropUpdate,
     &AdapterData::endCtlrPropUpdate},
    {"CcRate", setPtr(&AdapterData::setccRate), getter(&AdapterData::getccRate), 44,
     &AdapterData::beginCtlrPropUpdate, &AdapterData::endCtlrPropUpdate},
    {"CacheFlushInterval", setPtr(&AdapterData::setcacheFlushInterval),
     getter(&AdapterData::getcacheFlushInterval), 9, &AdapterData::beginCtlrPropUpdate,
     &AdapterData::endCtlrPropUpdate},
    {"JBOD", setPtr(&AdapterData::setJBODState), getter(&AdapterData::getJBODState), 1,
     &AdapterData::beginCtlrPropUpdate, &AdapterData::endCtlrPropUpdate},
    {"SpinDownTime", setVal(&AdapterData::setSpinDownTime), getter(&AdapterData::getSpinDownTime),
     90, &AdapterData::beginCtlrPropUpdate, &AdapterData::endCtlrPropUpdate},
    // the property extension (second half)
    {"PredFailDAInterval", setVal(&AdapterData::setPredFailDAInterval),
     getter(&AdapterData::getPredFailDAInterval), 90, &AdapterData::beginCtlrPropUpdate,
     &AdapterData::endCtlrPropExtUpdate},
    // BIOS data
    {"BiosStopOnError", setVal(&AdapterData::setbiosSOEStatus),
     getter(&AdapterData::getbiosSOEStatus), 1, &AdapterData::beginBIOSDataUpdate,
     &AdapterData::endBIOSDataUpdate, 0},
    {"BiosAutoSelectBoot", setVal(&AdapterData::setbiosABS), getter(&AdapterData::getbiosABS), 1,
     &AdapterData::beginBIOSDataUpdate, &AdapterData::endBIOSDataUpdate, 0},
    {"BiosDeviceExposure", setVal(&AdapterData::setbiosDeviceExposure),
     getter(&AdapterData::getbiosDeviceExposure), 1, &AdapterData::beginBIOSDataUpdate,
     &AdapterData::endBIOSDataUpdate},
    // mux modes
    {"MuxMode",
     [](AdapterData& a, unsigned v) { return a.setMuxMode(static_cast<unsigned char>(v), 1); },
     [](AdapterData& a, unsigned* out) {
         unsigned char m = 0;
         int rc = a.getMuxMode(&m, 1);
         *out = m;
         return rc;
     },
     2, &AdapterData::beginMuxModeUpdate, &AdapterData::endMuxModeUpdate},
};

INSTANTIATE_TEST_SUITE_P(Default, SettingRoundtrip, ::testing::ValuesIn(kSettings),
                         [](const ::testing::TestParamInfo<Setting>& i) {
                             return std::string(i.param.name);
                         });

// ---- settings written at once ----
struct Immediate {
    const char* name;
    std::function<int(AdapterData&)> set;
    std::function<int(AdapterData&, unsigned long long*)> get;
    unsigned long long expected;
};

void PrintTo(const Immediate& s, std::ostream* os) {
    *os << s.name;
}

class ImmediateRoundtrip : public Roundtrip, public ::testing::WithParamInterface<Immediate> {};

TEST_P(ImmediateRoundtrip, ANewObjectReadsTheNewValue) {
    const Immediate& c = GetParam();
    unsigned long long before = 0;
    ASSERT_EQ(c.get(*fresh(), &before), 0);
    ASSERT_NE(before, c.expected);
    ASSERT_EQ(c.set(*fresh()), 0);
    unsigned long long after = 0;
    ASSERT_EQ(c.get(*fresh(), &after), 0);
    EXPECT_EQ(after, c.expected);
}

const Immediate kImmediate[] = {
    {"LinkSpeed", [](AdapterData& a) { return a.setLinkSpeed(1, 4); },
     [](AdapterData& a, unsigned long long* out) {
         unsigned s = 0;
         int rc = a.getLinkSpeed(1, &s);
         *out = s;
         return rc;
     },
     4},
    {"SasAddressInTheMailbox",
     [](AdapterData& a) { return a.adpSetSASAdd(0x500605B0000A1230ULL, true); },
     [](AdapterData& a, unsigned long long* out) { return a.getAdpSASAddress(out); },
     0x500605B0000A1230ULL},
    {"SasAddressInTheRecord",
     [](AdapterData& a) { return a.adpSetSASAdd(0x500605B0000B4560ULL, false); },
     [](AdapterData& a, unsigned long long* out) { return a.getAdpSASAddress(out); },
     0x500605B0000B4560ULL},
    {"AlarmDisabled", [](AdapterData& a) { return a.setalarmState(0); },
     [](AdapterData& a, unsigned long long* out) {
         unsigned char s = 9;
         int rc = a.getalarmState(&s);
         *out = s;
         return rc;
     },
     0},
    {"AlarmSilenced", [](AdapterData& a) { return a.setalarmState(2); },
     [](AdapterData& a, unsigned long long* out) {
         unsigned char s = 9;
         int rc = a.getalarmState(&s);
         *out = s;
         return rc;
     },
     2},
    {"BatteryAutoLearnMode",
     [](AdapterData& a) {
         unsigned char mode = 2;
         return a.setBatteryAutoLearnMode(&mode);
     },
     [](AdapterData& a, unsigned long long* out) {
         unsigned char m = 0;
         int rc = a.getBatteryAutoLearnMode(&m);
         *out = m;
         return rc;
     },
     2},
    {"MaintenanceMode", [](AdapterData& a) { return a.setMaintenanceMode(1); },
     [](AdapterData& a, unsigned long long* out) {
         unsigned char m = 0;
         int rc = a.getMaintenanceMode(&m);
         *out = m;
         return rc;
     },
     1},
};

INSTANTIATE_TEST_SUITE_P(Default, ImmediateRoundtrip, ::testing::ValuesIn(kImmediate),
                         [](const ::testing::TestParamInfo<Immediate>& i) {
                             return std::string(i.param.name);
                         });

TEST_F(Roundtrip, AlarmEnableAfterDisableShowsInTheProperties) {
    ASSERT_EQ(fresh()->setalarmState(0), 0);
    ASSERT_EQ(fresh()->setalarmState(1), 0);
    unsigned char state = 9;
    ASSERT_EQ(fresh()->getalarmState(&state), 0);
    EXPECT_EQ(state, 1);
}

TEST_F(Roundtrip, AlarmAbsentReadsAsStateThree) {
    load("entry");
    unsigned char state = 0;
    EXPECT_EQ(fresh()->getalarmState(&state), 0);
    EXPECT_EQ(state, 3);
    EXPECT_EQ(fresh()->setalarmState(1), KVI_STAT_NO_HW_PRESENT);
}

// ---- boot device ----
TEST_F(Roundtrip, BootDeviceVirtualThenPhysicalThenNone) {
    {
        auto a = fresh();
        ASSERT_EQ(a->beginBIOSDataUpdate(), 0);
        VirtualDisk vd(3);
        ASSERT_EQ(a->setBootVd(&vd), 0);
        ASSERT_EQ(a->endBIOSDataUpdate(), 0);
    }
    VdId* id = nullptr;
    ASSERT_EQ(fresh()->getBootVdId(&id), 0);
    ASSERT_NE(id, nullptr);
    EXPECT_EQ(id->getTargetId(), 3);
    delete id;
    unsigned short pd = 0;
    ASSERT_EQ(fresh()->getBootPdDevId(&pd), 0);
    EXPECT_EQ(pd, 0xFFFF);

    {
        auto a = fresh();
        ASSERT_EQ(a->beginBIOSDataUpdate(), 0);
        PhysicalDevice dev(9);
        ASSERT_EQ(a->setBootVd(&dev), 0);
        ASSERT_EQ(a->endBIOSDataUpdate(), 0);
    }
    id = reinterpret_cast<VdId*>(1);
    ASSERT_EQ(fresh()->getBootVdId(&id), 0);
    EXPECT_EQ(id, nullptr);
    ASSERT_EQ(fresh()->getBootPdDevId(&pd), 0);
    EXPECT_EQ(pd, 9);

    {
        auto a = fresh();
        ASSERT_EQ(a->beginBIOSDataUpdate(), 0);
        ASSERT_EQ(a->unsetBootVd(), 0);
        ASSERT_EQ(a->endBIOSDataUpdate(), 0);
    }
    ASSERT_EQ(fresh()->getBootVdId(&id), 0);
    EXPECT_EQ(id, nullptr);
    ASSERT_EQ(fresh()->getBootPdDevId(&pd), 0);
    EXPECT_EQ(pd, 0xFFFF);
}

// ---- schedules, in both record forms ----
class ScheduleRoundtrip : public Roundtrip, public ::testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        Roundtrip::SetUp();
        load(GetParam());
    }
};

TEST_P(ScheduleRoundtrip, PatrolReadModeDelayStartAndExclusions) {
    const std::tm start = localTime(2025, 7, 14, 2, 30); // summer time
    ASSERT_EQ(fresh()->setPrMode(1), 0);
    ASSERT_EQ(fresh()->setPrExecDelay(336), 0);
    ASSERT_EQ(fresh()->setPrStartTime(&start), 0);
    ArrayList<unsigned short> excluded;
    excluded.add(1);
    excluded.add(4);
    ASSERT_EQ(fresh()->setPRSchedExcludedLdList(&excluded), 0);

    EXPECT_EQ(fresh()->getPrMode(), 1);
    EXPECT_EQ(fresh()->getPrExecDelay(), 336u);
    std::tm back{};
    ASSERT_EQ(fresh()->getPatrolReadSchedStartTime(&back), 0);
    EXPECT_EQ(back.tm_year, start.tm_year);
    EXPECT_EQ(back.tm_mon, start.tm_mon);
    EXPECT_EQ(back.tm_mday, start.tm_mday);
    EXPECT_EQ(back.tm_hour, start.tm_hour);
    EXPECT_EQ(back.tm_min, start.tm_min);
    ArrayList<unsigned short> list;
    ASSERT_EQ(fresh()->getPRSchedExcludedLdList(&list), 0);
    EXPECT_EQ(items(list), (std::vector<unsigned short>{1, 4}));
}

TEST_P(ScheduleRoundtrip, ConsistencyCheckModeDelayStartAndExclusions) {
    const std::tm start = localTime(2025, 8, 3, 23, 15);
    ArrayList<unsigned short> excluded;
    excluded.add(2);
    excluded.add(7);
    ASSERT_EQ(fresh()->setCcSchedMode(2, &excluded, &start, 168), 0);

    unsigned char mode = 0;
    ASSERT_EQ(fresh()->getCcSchedMode(&mode), 0);
    EXPECT_EQ(mode, 2);
    unsigned delay = 0;
    ASSERT_EQ(fresh()->getCcSchedExecDelay(&delay), 0);
    EXPECT_EQ(delay, 168u);
    std::tm back{};
    ASSERT_EQ(fresh()->getCcSchedStartTime(&back), 0);
    EXPECT_EQ(back.tm_mon, start.tm_mon);
    EXPECT_EQ(back.tm_mday, start.tm_mday);
    EXPECT_EQ(back.tm_hour, start.tm_hour);
    EXPECT_EQ(back.tm_min, start.tm_min);
    ArrayList<unsigned short> list;
    ASSERT_EQ(fresh()->getCcSchedExcludedLdList(&list), 0);
    EXPECT_EQ(items(list), (std::vector<unsigned short>{2, 7}));

    // The single-field writers keep the rest.
    ASSERT_EQ(fresh()->setCcScExecDelay(24), 0);
    const std::tm later = localTime(2025, 12, 1, 4, 0); // standard time
    ASSERT_EQ(fresh()->setCcScStartTime(&later), 0);
    ASSERT_EQ(fresh()->getCcSchedExecDelay(&delay), 0);
    EXPECT_EQ(delay, 24u);
    ASSERT_EQ(fresh()->getCcSchedStartTime(&back), 0);
    EXPECT_EQ(back.tm_mon, 11);
    EXPECT_EQ(back.tm_hour, 4);
    ASSERT_EQ(fresh()->getCcSchedMode(&mode), 0);
    EXPECT_EQ(mode, 2);
}

INSTANTIATE_TEST_SUITE_P(BothForms, ScheduleRoundtrip, ::testing::Values("default", "previous-gen"),
                         [](const ::testing::TestParamInfo<const char*>& i) {
                             return std::string(i.param[0] == 'd' ? "Extended" : "Legacy");
                         });

// ---- lock key ----
TEST_F(Roundtrip, LockKeyCreateVerifyDestroy) {
    bool assigned = true;
    ASSERT_EQ(fresh()->isLockKeyAssigned(&assigned), 0);
    ASSERT_FALSE(assigned);

    std::string pass = "Correct-Horse-7", secret, keyId = "rack12-ctrl0";
    ASSERT_EQ(fresh()->createLockKey(pass, secret, keyId, 0), 0);
    ASSERT_EQ(fresh()->isLockKeyAssigned(&assigned), 0);
    EXPECT_TRUE(assigned);
    std::string id;
    ASSERT_EQ(fresh()->getKeyID(id, 0), 0);
    EXPECT_EQ(id, keyId);

    std::string wrong = "Correct-Horse-8";
    EXPECT_EQ(fresh()->verifyLockKey(wrong, 0), kvi::sim::kStatusWrongPassphrase);
    EXPECT_EQ(fresh()->verifyLockKey(pass, 0), 0);
    // A second key is refused while one is assigned.
    std::string other = "Another-Pass-1";
    EXPECT_NE(fresh()->createLockKey(other, secret, keyId, 0), 0);
    EXPECT_EQ(fresh()->verifyLockKey(pass, 0), 0);

    ASSERT_EQ(fresh()->destroyLockKey(), 0);
    ASSERT_EQ(fresh()->isLockKeyAssigned(&assigned), 0);
    EXPECT_FALSE(assigned);
    EXPECT_EQ(fresh()->verifyLockKey(pass, 0), kvi::sim::kStatusNoLockKey);
    EXPECT_EQ(fresh()->destroyLockKey(), kvi::sim::kStatusNoLockKey);
}

TEST_F(Roundtrip, LockKeyRekeyNeedsARestart) {
    std::string pass = "First-Pass-1", secret, keyId = "k";
    ASSERT_EQ(fresh()->createLockKey(pass, secret, keyId, 0), 0);
    std::string next = "Second-Pass-2";
    ASSERT_EQ(fresh()->rekeyLock(next), 0);
    bool reboot = false;
    ASSERT_EQ(fresh()->islockKeyRebootRequired(&reboot), 0);
    EXPECT_TRUE(reboot);
    EXPECT_EQ(fresh()->verifyLockKey(pass, 0), kvi::sim::kStatusWrongPassphrase);
    EXPECT_EQ(fresh()->verifyLockKey(next, 0), 0);
    ASSERT_EQ(fresh()->adpRestart(true), 0);
    ASSERT_EQ(fresh()->islockKeyRebootRequired(&reboot), 0);
    EXPECT_FALSE(reboot);
}

// ---- battery learn cycle ----
TEST_F(Roundtrip, BatteryLearnRunsForThreeStatusReadsThenSchedulesTheNext) {
    constexpr unsigned kLearnActive = 1u << 6;
    unsigned status = 0;
    ASSERT_EQ(fresh()->getBbuFwStatus(&status), 0);
    ASSERT_EQ(status & kLearnActive, 0u);
    unsigned nextBefore = 0;
    ASSERT_EQ(fresh()->getBatteryNextLearnTime(&nextBefore), 0);

    ASSERT_EQ(fresh()->startManualLearnCycle(), 0);
    EXPECT_EQ(fresh()->startManualLearnCycle(), kvi::sim::kStatusBusy);
    ASSERT_EQ(fresh()->getBbuFwStatus(&status), 0);
    EXPECT_NE(status & kLearnActive, 0u);
    ASSERT_EQ(fresh()->getBbuFwStatus(&status), 0);
    EXPECT_NE(status & kLearnActive, 0u);
    ASSERT_EQ(fresh()->getBbuFwStatus(&status), 0); // the third read ends the cycle
    ASSERT_EQ(fresh()->getBbuFwStatus(&status), 0);
    EXPECT_EQ(status & kLearnActive, 0u);

    unsigned period = 0, next = 0;
    ASSERT_EQ(fresh()->getBatteryAutoLearnPeriod(&period), 0);
    ASSERT_EQ(fresh()->getBatteryNextLearnTime(&next), 0);
    if (period != 0) {
        EXPECT_EQ(next, kvi::sim::Clock(kNow).firmwareTime() + period);
    }
}

// ---- SSD-cache size ----
TEST_F(Roundtrip, SscSizeWithoutVolumesIsZeroFromAnEightByteHead) {
    unsigned long long blocks = 1;
    backend().resetIntrospection();
    ASSERT_EQ(fresh()->getCurrentConfigSSCSize(&blocks), 0);
    EXPECT_EQ(blocks, 0u);
    ASSERT_EQ(backend().trace().size(), 2u);
    const auto& head = backend().trace()[0];
    const auto& body = backend().trace()[1];
    EXPECT_EQ(head.opcode, std::uint32_t(KV_DCMD_CFG_READ));
    EXPECT_EQ(head.mbox[0], 2);
    EXPECT_EQ(head.length, 8u);
    EXPECT_EQ(body.mbox[0], 0);
    EXPECT_EQ(body.length, 8u);
    EXPECT_EQ(body.status, 0);
}

TEST_F(Roundtrip, SscSizeSumsTheVolumesOfTheProfile) {
    loadOnDefault(R"("sscVolumes": [2097152, 1048576, "0x100"])");
    unsigned long long blocks = 0;
    backend().resetIntrospection();
    ASSERT_EQ(fresh()->getCurrentConfigSSCSize(&blocks), 0);
    EXPECT_EQ(blocks, 2097152u + 1048576u + 256u);
    ASSERT_EQ(backend().trace().size(), 2u);
    EXPECT_EQ(backend().trace()[1].length, 8u + 3 * 8u)
        << "the body is read at the size the head gave";
}

TEST_F(Roundtrip, SscVolumesSurviveTheStateFile) {
    loadOnDefault(R"("sscVolumes": [4096])");
    std::string state = scratch_.file("state.json");
    sim_.saveState(state);
    ctrl_.reset();
    sim_.loadState(state);
    System::getInstance()->setBackend(&sim_.controller(0));
    ctrl_ = std::make_unique<BackendController>(sim_.controller(0), ControllerId(0));
    unsigned long long blocks = 0;
    ASSERT_EQ(fresh()->getCurrentConfigSSCSize(&blocks), 0);
    EXPECT_EQ(blocks, 4096u);
}

// ---- SMP to an expander ----
TEST_F(Roundtrip, ExpanderAnswersReportGeneralOnlyAtItsAddress) {
    loadOnDefault(
        R"("phys": [{"sasAddr": "0x500605b000e0c0ff", "phyIdentifier": 0, "connectorIndex": 0,
                               "deviceType": 2, "smpTarget": 1, "linkSpeedControl": 8, "currentSpeed": 8}])");
    unsigned char phys = 0;
    ASSERT_EQ(fresh()->GetExpanderNumPhy(0x500605B000E0C0FFULL, &phys), 0);
    EXPECT_EQ(phys, 28);
    phys = 0;
    EXPECT_EQ(fresh()->GetExpanderNumPhy(0x500605B000E0C0FEULL, &phys), KVI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(phys, 0);
}

} // namespace
