// Round trips through the adapter: one AdapterDataKvi changes something, a
// fresh AdapterDataKvi over the same simulated controller reads it back. A
// fresh object has no caches, so every value read back comes from the
// simulator's state, not from what the writer kept. (What each setter writes,
// and when in its transaction, is in the walk's goldens; the records' storage
// in the simulator is checked request by request in requests_test.)
#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <memory>
#include <string>

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
#include "tests/support/TzGuard.h"
#include "util/ArList.h"

namespace {

constexpr std::int64_t kNow = 1748779200; // 2025-06-01 12:00:00 UTC

// A time zone with summer time, as the schedules and clocks meet it.
constexpr const char* kZone = "CET-1CEST,M3.5.0,M10.5.0/3";

class Roundtrip : public ::testing::Test {
protected:
    void SetUp() override { load("default"); }
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

    kvitest::TzGuard tz_{kZone};
    kvi::sim::Simulator sim_{kvi::sim::Clock(kNow)};
    std::unique_ptr<BackendController> ctrl_;
    ControllerId id_{0};
    kvitest::ScratchDir scratch_{"roundtrip"};
    int profiles_ = 0;
};

// ---- lock key ----
TEST_F(Roundtrip, LockKeyLifecycleChecksThePassphrase) {
    // "class locale code description" of the newest event.
    auto newest = [this] {
        const kvi::sim::EventLog& log = sim_.controller(0).state().events;
        kvi::sim::SimEvent e;
        EXPECT_TRUE(log.get(log.newestSeqNum(), e));
        char head[40];
        std::snprintf(head, sizeof head, "%d 0x%04x 0x%x ", e.eventClass, e.locale, e.code);
        return head + e.description;
    };
    bool flag = true;
    ASSERT_EQ(fresh()->isLockKeyAssigned(&flag), 0);
    ASSERT_FALSE(flag);
    std::string pass = "First-Pass-1", next = "Second-Pass-2", secret, keyId = "rack12-ctrl0", id;
    ASSERT_EQ(fresh()->createLockKey(pass, secret, keyId, 0), 0);
    ASSERT_EQ(fresh()->isLockKeyAssigned(&flag), 0);
    EXPECT_TRUE(flag);
    ASSERT_EQ(fresh()->getKeyID(id, 0), 0);
    EXPECT_EQ(id, keyId);
    EXPECT_EQ(newest(), "0 0x0080 0x70 Lock key created");
    EXPECT_NE(fresh()->createLockKey(next, secret, keyId, 0), 0) << "one key at a time";
    EXPECT_EQ(fresh()->verifyLockKey(next, 0), kvi::sim::kStatusWrongPassphrase);
    EXPECT_EQ(newest(), "1 0x0080 0x74 Lock key passphrase refused");
    EXPECT_EQ(fresh()->verifyLockKey(pass, 0), 0);
    EXPECT_EQ(fresh()->lockKeyFromEscrow(pass), 0);
    // A new key takes effect at once but the controller asks for a restart.
    ASSERT_EQ(fresh()->rekeyLock(next), 0);
    EXPECT_EQ(newest(), "0 0x0080 0x71 Lock key re-keyed");
    ASSERT_EQ(fresh()->islockKeyRebootRequired(&flag), 0);
    EXPECT_TRUE(flag);
    EXPECT_EQ(fresh()->verifyLockKey(pass, 0), kvi::sim::kStatusWrongPassphrase);
    EXPECT_EQ(fresh()->verifyLockKey(next, 0), 0);
    ASSERT_EQ(fresh()->adpRestart(true), 0);
    ASSERT_EQ(fresh()->islockKeyRebootRequired(&flag), 0);
    EXPECT_FALSE(flag);
    ASSERT_EQ(fresh()->destroyLockKey(), 0);
    ASSERT_EQ(fresh()->isLockKeyAssigned(&flag), 0);
    EXPECT_FALSE(flag);
    EXPECT_EQ(fresh()->verifyLockKey(next, 0), kvi::sim::kStatusNoLockKey);
    EXPECT_EQ(fresh()->destroyLockKey(), kvi::sim::kStatusNoLockKey);
}

TEST_F(Roundtrip, SscSizeSumsTheVolumesOfTheProfileAndSurvivesTheStateFile) {
    loadOnDefault(R"("sscVolumes": [2097152, 1048576, "0x100"])");
    unsigned long long blocks = 0;
    backend().resetIntrospection();
    ASSERT_EQ(fresh()->getCurrentConfigSSCSize(&blocks), 0);
    EXPECT_EQ(blocks, 2097152u + 1048576u + 256u);
    ASSERT_EQ(backend().trace().size(), 2u);
    EXPECT_EQ(backend().trace()[1].length, 8u + 3 * 8u)
        << "the body is read at the size the head gave";

    const std::string state = scratch_.file("state.json");
    sim_.saveState(state);
    ctrl_.reset();
    sim_.loadState(state);
    System::getInstance()->setBackend(&sim_.controller(0));
    ctrl_ = std::make_unique<BackendController>(sim_.controller(0), ControllerId(0));
    blocks = 0;
    ASSERT_EQ(fresh()->getCurrentConfigSSCSize(&blocks), 0);
    EXPECT_EQ(blocks, 2097152u + 1048576u + 256u);
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
