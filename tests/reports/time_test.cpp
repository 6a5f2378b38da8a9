// Time lines of the sections under a zone without summer time (UTC0) and a zone
// with it (Central European). The controller keeps its clock and schedule times
// as seconds since 2000-01-01 00:00 local standard time; in summer the summer
// shift is taken off, so the same firmware value shows the same standard-time
// wall clock in both zones.
#include <gtest/gtest.h>

#include <string>

#include "tests/reports/ReportRig.h"

namespace {

constexpr const char* kSummerZone = "CET-1CEST,M3.5.0,M10.5.0/3";

// 2025-07-01 11:00:00 and 2025-01-15 08:30:00, standard time, as firmware seconds.
constexpr std::uint32_t kJulySeconds = 804682800;
constexpr std::uint32_t kJanuarySeconds = 790245000;

struct TimeCase {
    const char* zone;
    std::time_t host;       // host clock
    std::uint32_t fw;       // controller clock and schedule times
    const char* hostComma;  // "Current System Date/time"
    const char* hostPlain;  // "System Time"
    const char* controller; // "Current Controller Date/Time"
    const char* launch;     // "Next Patrol Read launch", "Next Battery Learn"
};

class TimeLines : public ::testing::TestWithParam<TimeCase> {};

TEST_P(TimeLines, FollowTheZoneAndTheSummerShift) {
    const TimeCase& c = GetParam();
    rt::TzGuard tz(c.zone);
    rt::ControllerSetup s = rt::baseSetup();
    s.info.currentFwTime = c.fw;
    s.pr.nextExec = c.fw + 37 * 60 + 12; // minutes and seconds print as zeros
    s.bbuProp.nextLearnTime = c.fw + 59 * 60;
    rt::Rig rig(s, c.host);

    json::Object basic, summary, next;
    ASSERT_EQ(rig.adapter.getShowBasic(basic), 0);
    ASSERT_EQ(rig.adapter.getBasicCtrlInfo(summary), 0);
    ASSERT_EQ(rig.adapter.getShowNextSchdTask(next), 0);
    EXPECT_EQ(rt::text(basic, "Current System Date/time"), c.hostComma);
    EXPECT_EQ(rt::text(summary, "System Time"), c.hostPlain);
    EXPECT_EQ(rt::text(basic, "Current Controller Date/Time"), c.controller);
    EXPECT_EQ(rt::text(next, "Next Patrol Read launch"), c.launch);
    EXPECT_EQ(rt::text(next, "Next Battery Learn"), c.launch);
}

const TimeCase kCases[] = {
    {"UTC0", 1741185420, kJulySeconds, "03/05/2025, 14:37:00", "03/05/2025 14:37:00",
     "07/01/2025, 11:00:00", "07/01/2025, 11:00:00"},
    {kSummerZone, 1751371200, kJulySeconds, "07/01/2025, 14:00:00", "07/01/2025 14:00:00",
     "07/01/2025, 11:00:00", "07/01/2025, 11:00:00"},
    {"UTC0", 1736929800, kJanuarySeconds, "01/15/2025, 08:30:00", "01/15/2025 08:30:00",
     "01/15/2025, 08:30:00", "01/15/2025, 09:00:00"},
    {kSummerZone, 1736929800, kJanuarySeconds, "01/15/2025, 09:30:00", "01/15/2025 09:30:00",
     "01/15/2025, 08:30:00", "01/15/2025, 09:00:00"},
};

INSTANTIATE_TEST_SUITE_P(Zones, TimeLines, ::testing::ValuesIn(kCases));

TEST(TimeLines, SummerShiftIsAskedOnlyWhenTheTimeFallsInSummer) {
    for (const TimeCase& c : kCases) {
        rt::TzGuard tz(c.zone);
        rt::ControllerSetup s = rt::baseSetup();
        s.info.currentFwTime = c.fw;
        rt::Rig rig(s, c.host);
        kvitest::LogCapture log;
        json::Object basic;
        ASSERT_EQ(rig.adapter.getShowBasic(basic), 0);
        const bool summer = std::string(c.zone) == kSummerZone && c.fw == kJulySeconds;
        EXPECT_EQ(log.count("Entering AdapterDataKvi::getdstInSec") > 0, summer) << c.zone;
    }
}

} // namespace
