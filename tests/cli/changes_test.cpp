// Controller state kvictl must not change behind the user's back. Commands
// that change settings (set, cc set, patrol set, bbu set) report every asked setting as
// old -> new, send only the settings whose value differs, and count a change
// only once the firmware accepted it; reports change nothing at all.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Run.h"

using clitest::Result;
using clitest::runKvictl;
using clitest::tempPath;
using clitest::writeFile;

namespace {

struct ChangeCase {
    const char* what;
    const char* profile; // a profile on top of the default one
    std::vector<std::string> args;
    int exitCode;
    std::vector<std::string> out; // lines the output holds
    // A later read on the same state, and a line its output must hold (or,
    // with afterHas false, must not).
    std::vector<std::string> after;
    const char* afterLine;
    bool afterHas = true;
};

const ChangeCase kCases[] = {
    {"cc delay alone keeps the concurrency of a concurrent schedule",
     R"("records": {"KV_CC_SCHEDULE_PROPERTIES_EXT": {"opMode": 2, "maxLds": 4}})",
     {"cc", "set", "delay=24"},
     0,
     {"Consistency Check Changed", "delay = 672 hours -> 24 hours"},
     {"raw", "KV_CC_SCHEDULE_PROPERTIES_EXT"},
     "maxLds              = 4\n"},
    {"cc start alone keeps the delay",
     R"("records": {"KV_CC_SCHEDULE_PROPERTIES_EXT": {"opMode": 2, "maxLds": 4}})",
     {"cc", "set", "start=2026-03-01 04:00"},
     0,
     {"start = 2026-01-18 03:00 -> 2026-03-01 04:00"},
     {"raw", "KV_CC_SCHEDULE_PROPERTIES_EXT"},
     "maxLds              = 4\n"},
    {"cc exclusions alone keep the concurrency of a concurrent schedule",
     R"("records": {"KV_CC_SCHEDULE_PROPERTIES_EXT": {"opMode": 2, "maxLds": 4}})",
     {"cc", "set", "exclude=2,1"},
     0,
     {"exclude = none -> 1,2"},
     {"raw", "KV_CC_SCHEDULE_PROPERTIES_EXT"},
     "maxLds              = 4\n"},
    {"cc settings already held send nothing",
     "",
     {"--dry-run", "cc", "set", "mode=sequential", "delay=672"},
     0,
     {"Consistency Check Unchanged", "mode  = sequential (unchanged)",
      "delay = 672 hours (unchanged)", "Dry run: 0 requests not sent"},
     {},
     nullptr},
    {"cc mode change carries the other fields in one write",
     "",
     {"--dry-run", "cc", "set", "mode=concurrent", "delay=24"},
     0,
     {"mode  = sequential -> concurrent (not sent: dry run)", "Dry run: 1 request not sent"},
     {},
     nullptr},
    {"patrol sends only the fields that differ",
     "",
     {"--dry-run", "patrol", "set", "mode=auto", "delay=24", "max-concurrent=4"},
     0,
     {"Patrol Read Unchanged", "mode           = auto (unchanged)",
      "delay          = 168 hours -> 24 hours (not sent: dry run)",
      "max-concurrent = 4 (unchanged)", "Dry run: 1 request not sent"},
     {},
     nullptr},
    {"bbu set in a dry run says what would change and changes nothing",
     "",
     {"--dry-run", "bbu", "set", "auto-learn=disabled"},
     0,
     {"Battery Unchanged", "auto-learn = auto -> disabled (not sent: dry run)",
      "Dry run: 1 request not sent"},
     {"bbu"},
     "Auto Learn Mode          = auto\n"},
    {"patrol change is stored and read back",
     "",
     {"patrol", "set", "exclude=4,1"},
     0,
     {"Patrol Read Changed", "exclude = none -> 1,4"},
     {"patrol"},
     "Excluded              = 1,4\n"},
    {"the NV cache size is reported without erasing the cache",
     "",
     {"show", "all"},
     0,
     {"Pellora Flash Size                = 16.00 GB"},
     {"events", "list"},
     "NV cache erased",
     false},
    {"a property that cannot be read is unknown and nothing is written",
     R"("fail": {"0x01020100": 3})",
     {"set", "rebuild-rate=50"},
     1,
     {"Properties Unchanged", "rebuild-rate = unknown -> 50 (not written)"},
     {},
     nullptr},
    {"a refused write changes nothing",
     R"("fail": {"0x01020200": 3})",
     {"set", "rebuild-rate=50", "cc-rate=30"},
     1,
     {"Properties Unchanged", "rebuild-rate = 30 -> 50 (not written)",
      "cc-rate      = 30 (unchanged)"},
     {"get", "rebuild-rate"},
     "rebuild-rate = 30 percent\n"},
};

TEST(Changes, OldToNewOnlyWhatDiffersAndOnlyOnceStored) {
    for (const ChangeCase& c : kCases) {
        SCOPED_TRACE(c.what);
        const std::string profile = tempPath("change-profile.json");
        const std::string state = tempPath("change-state.json");
        std::remove(state.c_str());
        writeFile(profile, std::string(R"({"base": "default")") + (*c.profile ? ", " : "") +
                               c.profile + "}");
        std::vector<std::string> args = {"--sim=" + profile, "--sim-state", state};
        args.insert(args.end(), c.args.begin(), c.args.end());
        Result r = runKvictl(args);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.err;
        for (const std::string& line : c.out)
            EXPECT_NE(r.out.find(line + "\n"), std::string::npos) << line << "\n" << r.out;
        if (!c.after.empty()) {
            std::vector<std::string> again = {"--sim=" + profile, "--sim-state", state};
            again.insert(again.end(), c.after.begin(), c.after.end());
            Result a = runKvictl(again);
            EXPECT_EQ(a.out.find(c.afterLine) != std::string::npos, c.afterHas) << a.out;
        }
        std::remove(profile.c_str());
        std::remove(state.c_str());
    }
}

TEST(Changes, JsonCountsAChangeOnlyOnceWritten) {
    const std::string profile = tempPath("refused-write.json");
    writeFile(profile, R"({"base": "default", "fail": {"0x01020200": 3}})");
    Result r = runKvictl({"--sim=" + profile, "-o", "json-compact", "set", "rebuild-rate=50"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(
        r.out.find(
            R"("changes":[{"name":"rebuild_rate_percent","old":30,"new":50,"changed":false}],"changed":false)"),
        std::string::npos)
        << r.out;
    std::remove(profile.c_str());
}

} // namespace
