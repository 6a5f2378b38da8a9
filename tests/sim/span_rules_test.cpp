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

TEST(SpanRules, EveryBundledProfileGivesRealisticDrivesPerSpan) {
    // Per profile, min/max drives per span of RAID 0, 1, 5, 6; 0/0: not offered.
    const struct {
        const char* profile;
        int span[4][2];
    } rules[] = {
        {"default", {{1, 32}, {2, 32}, {3, 32}, {4, 32}}},
        {"entry", {{1, 16}, {2, 2}, {0, 0}, {0, 0}}},
        {"ha-member", {{1, 32}, {2, 32}, {3, 32}, {4, 32}}},
        {"previous-gen", {{1, 32}, {2, 2}, {3, 32}, {3, 32}}},
    };
    const unsigned char levels[] = {0, 1, 5, 6};
    std::set<std::string> covered;
    for (const auto& r : rules) {
        covered.insert(r.profile);
        kvi::sim::Simulator sim;
        sim.load(r.profile);
        kvi::setProcessInputs(sim.processInputs());
        System::getInstance()->setBackend(&sim.controller(0));
        BackendController ctrl(sim.controller(0), ControllerId(0));
        ControllerId id(0);
        AdapterDataKvi adapter(&ctrl, &id);
        for (int i = 0; i < 4; ++i) {
            unsigned char minPd = 0xEE, maxPd = 0xEE;
            ASSERT_EQ(adapter.getMinPdPerSpan(&minPd, levels[i]), 0);
            ASSERT_EQ(adapter.getMaxPdPerSpan(&maxPd, levels[i]), 0);
            EXPECT_EQ(minPd, r.span[i][0]) << r.profile << " RAID" << int(levels[i]);
            EXPECT_EQ(maxPd, r.span[i][1]) << r.profile << " RAID" << int(levels[i]);
        }
        System::getInstance()->setBackend(nullptr);
    }
    kvi::resetProcessInputs();
    const auto bundled = kvi::sim::Simulator::bundledProfiles();
    EXPECT_EQ(covered, std::set<std::string>(bundled.begin(), bundled.end()));
}

} // namespace
