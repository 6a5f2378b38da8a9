// Golden reports: every report section of every simulated profile (the bundled
// ones and the variants in tests/reports/profiles/) in both output formats,
// compared whole with tests/golden/reports/<run>.txt and <run>.json: member
// order, texts, value kinds, typed values, return codes and the requests each
// section sends (opcode, mailbox, length, direction, status). Controller 0
// answers every section on one object, as `show all`; controller 1 answers
// each on a fresh object, as `show NAME`. Times in a zone with summer time.
// Beside the sections, the drives per span each controller allows.
// Regenerate with KVI_UPDATE_GOLDEN=1 and review the diff.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/Clock.h"
#include "RaidLib/RaidFw/ReportSections.h"
#include "provider/Controller.h"
#include "provider/ProcessInputs.h"
#include "provider/System.h"
#include "sim/Simulator.h"
#include "tests/support/TestData.h"
#include "tests/support/TzGuard.h"
#include "json/JsonWriter.h"
#include "json/TextWriter.h"

namespace {

constexpr std::int64_t kSummer = 1782900000; // 2026-07-01 12:00 CEST
constexpr std::int64_t kWinter = 1767268800; // 2026-01-01 13:00 CET

// One run: a profile (bundled, or a variant under tests/reports/profiles) at an
// instant; the golden files are named after the profile, "-winter" added.
struct GoldenRun {
    std::string profile;
    bool winter;
    bool bundled;
    std::string name() const { return profile + (winter ? "-winter" : ""); }
};
// Every bundled profile, then the variants; the two generations also in winter time.
std::vector<GoldenRun> runs() {
    std::vector<GoldenRun> out;
    for (const std::string& profile : kvi::sim::Simulator::bundledProfiles())
        out.push_back({profile, false, true});
    for (const char* profile : {"oem2-quirks", "oem3-hp", "type1-oem10", "legacy-oem11",
                                "fail-info", "fail-records", "fail-defaults"})
        out.push_back({profile, false, false});
    out.push_back({"default", true, true});
    out.push_back({"previous-gen", true, true});
    return out;
}

void PrintTo(const GoldenRun& r, std::ostream* os) {
    *os << r.name();
}

json::Array requests(kvi::sim::SimController& c) {
    json::Array out;
    for (const kvi::sim::TraceEntry& t : c.trace()) {
        const char* name = kvDcmdName(t.opcode);
        char line[200];
        int n = std::snprintf(line, sizeof line, "%s mbox", name ? name : "?");
        for (std::uint8_t b : t.mbox)
            n += std::snprintf(line + n, sizeof line - n, " %02x", b);
        std::snprintf(line + n, sizeof line - n, " length %u direction %d status %d",
                      unsigned(t.length), int(t.direction), t.status);
        out.Insert(json::String(line));
    }
    c.resetIntrospection();
    return out;
}

std::string compare(const std::string& file, const std::string& rendered) {
    const std::string path = "tests/golden/reports/" + file;
    return kvitest::golden(path, rendered) == rendered ? ""
                                                       : "differs from " + path + "\n" + rendered;
}

class GoldenReports : public ::testing::TestWithParam<GoldenRun> {
protected:
    void TearDown() override {
        System::getInstance()->setBackend(nullptr);
        kvi::resetProcessInputs();
    }
    kvitest::TzGuard tz_{"CET-1CEST,M3.5.0,M10.5.0/3"};
};

TEST_P(GoldenReports, EverySectionInBothFormatsMatchesItsGolden) {
    const GoldenRun& run = GetParam();
    const std::int64_t now = run.winter ? kWinter : kSummer;
    kvi::sim::Simulator sim{kvi::sim::Clock(now)};
    sim.load(run.bundled
                 ? run.profile
                 : std::string(KVI_SOURCE_DIR) + "/tests/reports/profiles/" + run.profile + ".json",
             2);
    kvi::setProcessInputs(sim.processInputs());
    kvi::reports::ScopedHostTime host(static_cast<std::time_t>(now));
    json::Array controllers;
    std::string text;
    for (unsigned c = 0; c < 2; ++c) {
        System::getInstance()->setBackend(&sim.controller(c));
        BackendController ctrl(sim.controller(c), ControllerId(c));
        ControllerId id(c);
        AdapterDataKvi shared(&ctrl, &id);
        sim.controller(c).resetIntrospection();
        json::Object sections;
        for (const ReportSection& s : kReportSections) {
            AdapterDataKvi fresh(&ctrl, &id);
            json::Object members, entry;
            const int rc = ((c == 0 ? shared : fresh).*s.build)(members);
            entry["rc"] = json::Number(rc);
            entry["members"] = members;
            if (c == 0) {
                std::vector<std::string> untyped;
                entry["values"] = kvi::reports::typedValues(*s.values, members, &untyped);
                json::Array names;
                for (const std::string& u : untyped)
                    names.Insert(json::String(u));
                entry["untyped"] = names;
                text += "[rc " + std::to_string(rc) + "] " +
                        json::TextWriter::ToString(members, s.title) + "\n";
                if (run.bundled) {
                    EXPECT_TRUE(rc == 0 && untyped.empty()) << s.token << " rc " << rc;
                }
            } else {
                entry["requests"] = requests(sim.controller(c));
            }
            sections[s.token] = entry;
        }
        json::Object controller;
        controller["sections"] = sections;
        // Drives per span of the plain levels: all 0 would make `rules` refuse
        // every array.
        json::Object spans;
        for (unsigned char level : {0, 1, 5, 6}) {
            unsigned char lo = 0xEE, hi = 0xEE;
            json::Array pair;
            pair.Insert(json::Number(shared.getMinPdPerSpan(&lo, level) == 0 ? lo : -1));
            pair.Insert(json::Number(shared.getMaxPdPerSpan(&hi, level) == 0 ? hi : -1));
            spans["raid" + std::to_string(level)] = pair;
        }
        controller["drives_per_span"] = spans;
        if (c == 0)
            controller["requests"] = requests(sim.controller(c));
        controllers.Insert(controller);
    }
    EXPECT_EQ(compare(run.name() + ".txt", text), "");
    EXPECT_EQ(compare(run.name() + ".json",
                      json::JsonWriter::ToString(controllers, json::JsonWriter::Pretty) + "\n"),
              "");
}

INSTANTIATE_TEST_SUITE_P(Runs, GoldenReports, ::testing::ValuesIn(runs()),
                         [](const ::testing::TestParamInfo<GoldenRun>& info) {
                             std::string n = info.param.name();
                             std::replace(n.begin(), n.end(), '-', '_');
                             return n;
                         });

} // namespace
