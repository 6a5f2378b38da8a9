// Drives per span that each bundled profile's controller reports for the
// plain RAID levels: a profile that leaves these counts at 0 makes `rules`
// claim no array can be built.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "provider/Controller.h"
#include "provider/ProcessInputs.h"
#include "provider/System.h"
#include "sim/Simulator.h"

namespace {

struct SpanRule {
    const char* profile;
    unsigned char level;
    int minPd; // drives per span
    int maxPd;
};

// 0/0: the level is not offered by that controller.
const SpanRule kSpanRules[] = {
    {"default", 0, 1, 32},      {"default", 1, 2, 32},     {"default", 5, 3, 32},
    {"default", 6, 4, 32},      {"entry", 0, 1, 16},       {"entry", 1, 2, 2},
    {"entry", 5, 0, 0},         {"entry", 6, 0, 0},        {"ha-member", 0, 1, 32},
    {"ha-member", 1, 2, 32},    {"ha-member", 5, 3, 32},   {"ha-member", 6, 4, 32},
    {"previous-gen", 0, 1, 32}, {"previous-gen", 1, 2, 2}, {"previous-gen", 5, 3, 32},
    {"previous-gen", 6, 3, 32},
};

class SpanRules : public ::testing::Test {
protected:
    void TearDown() override {
        System::getInstance()->setBackend(nullptr);
        kvi::resetProcessInputs();
    }
};

TEST_F(SpanRules, EveryBundledProfileGivesRealisticDrivesPerSpan) {
    std::set<std::string> covered;
    for (const SpanRule& r : kSpanRules) {
        SCOPED_TRACE(std::string(r.profile) + " RAID" + std::to_string(r.level));
        covered.insert(r.profile);
        kvi::sim::Simulator sim;
        sim.load(r.profile);
        kvi::setProcessInputs(sim.processInputs());
        System::getInstance()->setBackend(&sim.controller(0));
        BackendController ctrl(sim.controller(0), ControllerId(0));
        ControllerId id(0);
        AdapterDataKvi adapter(&ctrl, &id);
        unsigned char minPd = 0xEE, maxPd = 0xEE;
        ASSERT_EQ(adapter.getMinPdPerSpan(&minPd, r.level), 0);
        ASSERT_EQ(adapter.getMaxPdPerSpan(&maxPd, r.level), 0);
        EXPECT_EQ(minPd, r.minPd);
        EXPECT_EQ(maxPd, r.maxPd);
        System::getInstance()->setBackend(nullptr);
    }
    const auto bundled = kvi::sim::Simulator::bundledProfiles();
    EXPECT_EQ(covered, std::set<std::string>(bundled.begin(), bundled.end()))
        << "every bundled profile needs its rows";
}

} // namespace
