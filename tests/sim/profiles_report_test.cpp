// Every report section over every bundled profile, on every simulated
// controller: a section answers 0 unless the profile lacks what the section
// needs (each such refusal would be listed below with its reason).
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/Clock.h"
#include "RaidLib/RaidFw/ReportSections.h"
#include "firmware/kvistat.h"
#include "provider/Controller.h"
#include "provider/ProcessInputs.h"
#include "provider/System.h"
#include "sim/Simulator.h"
#include "tests/support/TzGuard.h"
#include "json/JsonWriter.h"
#include "json/elements.h"

namespace {

constexpr const char* kSimTime = "1748779200"; // 2025-06-01 12:00:00 UTC

// No bundled profile needs a refusal: the sections report a missing battery,
// alarm, backup image, pending image, host information or key manager as a
// value ("Absent", "No", "None") and skip the lines of a capability the
// controller lacks, so every section answers 0 on every profile. A profile
// whose section must fail gets its row here, with the status and the reason.
struct Refusal {
    const char* profile;
    const char* section;
    int status;
    const char* reason;
};
const std::vector<Refusal> kRefusals = {};

int expectedStatus(const std::string& profile, const std::string& section) {
    for (const Refusal& r : kRefusals)
        if (profile == r.profile && section == r.section)
            return r.status;
    return 0;
}

class ProfileReports : public ::testing::TestWithParam<std::string> {
protected:
    kvitest::TzGuard tz_{"CET-1CEST,M3.5.0,M10.5.0/3"}; // a zone with summer time
    void SetUp() override { setenv("KVICTL_SIM_TIME", kSimTime, 1); }
    void TearDown() override {
        unsetenv("KVICTL_SIM_TIME");
        System::getInstance()->setBackend(nullptr);
        kvi::resetProcessInputs();
    }
};

TEST_P(ProfileReports, EverySectionAnswersOnEveryController) {
    kvi::sim::Simulator sim; // clock from KVICTL_SIM_TIME
    ASSERT_TRUE(sim.clock().isFixed());
    sim.load(GetParam(), 2);
    kvi::setProcessInputs(sim.processInputs());
    kvi::reports::ScopedHostTime host(static_cast<std::time_t>(sim.clock().now()));

    for (std::size_t c = 0; c < sim.size(); ++c) {
        SCOPED_TRACE("controller " + std::to_string(c));
        System::getInstance()->setBackend(&sim.controller(c));
        BackendController ctrl(sim.controller(c), ControllerId(static_cast<unsigned>(c)));
        ControllerId id(static_cast<unsigned>(c));
        AdapterDataKvi adapter(&ctrl, &id); // one object for the whole command, as `show all`
        for (const ReportSection& s : kReportSections) {
            json::Object obj;
            int rc = (adapter.*s.build)(obj);
            EXPECT_EQ(rc, expectedStatus(GetParam(), s.operation)) << s.operation;
            const std::string rendered = json::JsonWriter::ToString(obj, json::JsonWriter::Compact);
            if (rc == 0) {
                EXPECT_NE(rendered, "{}") << s.operation << " answered 0 with nothing in it";
            }
            // The profiles' texts are printable: no control character reaches a report.
            EXPECT_EQ(rendered.find("\\u000"), std::string::npos)
                << s.operation << ": " << rendered;
            EXPECT_EQ(rendered.find("\\u001"), std::string::npos)
                << s.operation << ": " << rendered;
        }
    }
}

TEST_P(ProfileReports, SectionsAnswerTheSameOnAFreshObject) {
    kvi::sim::Simulator sim;
    sim.load(GetParam());
    kvi::setProcessInputs(sim.processInputs());
    kvi::reports::ScopedHostTime host(static_cast<std::time_t>(sim.clock().now()));
    System::getInstance()->setBackend(&sim.controller(0));
    BackendController ctrl(sim.controller(0), ControllerId(0));
    ControllerId id(0);
    for (const ReportSection& s : kReportSections) {
        AdapterDataKvi adapter(&ctrl, &id); // a single section, as `show NAME`
        json::Object obj;
        EXPECT_EQ((adapter.*s.build)(obj), expectedStatus(GetParam(), s.operation)) << s.operation;
    }
}

INSTANTIATE_TEST_SUITE_P(Bundled, ProfileReports,
                         ::testing::ValuesIn(kvi::sim::Simulator::bundledProfiles()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string n = info.param;
                             for (char& ch : n)
                                 if (ch == '-')
                                     ch = '_';
                             return n;
                         });

} // namespace
