// Every report section over every bundled profile, on every simulated
// controller: a section answers 0 unless the profile lacks what the section
// needs (each such refusal would be listed below with its reason), and every
// member it writes has a typed value. The typed values themselves are checked
// against a table in a summer-time zone.
#include <gtest/gtest.h>

#include <algorithm>
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
            std::vector<std::string> untyped;
            (void)kvi::reports::typedValues(*s.values, obj, &untyped);
            for (const std::string& member : untyped)
                ADD_FAILURE() << s.operation << ": no typed value for \"" << member << "\"";
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

// A typed value of a section on a fresh controller of a profile, by its path
// under "values", as compact JSON. TZ=Europe/Berlin at 2026-07-01 12:00 CEST:
// the controller's clock in summer time, the schedules in winter time.
struct ValueCase {
    const char* profile;
    const char* section; // token
    const char* path;    // keys under "values", '/' between levels
    const char* json;
};
const ValueCase kValueCases[] = {
    {"default", "summary", "pci_address", "\"0000:3b:00.0\""},
    {"default", "summary", "system_time", "\"2026-07-01T12:00:00+02:00\""},
    {"default", "basic", "controller_time", "\"2026-07-01T12:00:00+02:00\""},
    {"default", "basic", "controller_time_epoch_seconds", "1782900000"},
    {"default", "basic", "manufacturing_date", "\"2025-03-14\""},
    {"default", "basic", "serial_number", "\"SK94A2503117\""},
    {"default", "version", "cpld_version", "\"CPLD-0x1A\""},
    {"default", "bus", "vendor_id", "7978"},
    {"default", "bus", "pcie_link_rate_transfers_per_second", "8000000000"},
    {"default", "bus", "pcie_link_width_lanes", "8"},
    {"default", "bus", "host_interface", "\"pci_e\""},
    {"default", "images", "components/",
     "{\"component\":\"bios_version\","
     "\"version\":\"7.27.00.0_0x07270000\"}"},
    {"default", "dual-images", "backup/fw_version", "\"5.250.01-3710\""},
    {"default", "status", "controller_status", "\"optimal\""},
    {"default", "status", "personalities", "[\"raid_mode\"]"},
    {"default", "status", "battery_status", "0"},
    {"default", "adapter-ops", "battery", "true"},
    {"default", "adapter-ops", "support_odd_even_drive_count_in_raid1e", "false"},
    {"default", "pd-ops", "deny_force_good_bad", "false"},
    {"default", "vd-ops", "reconstruction", "true"},
    {"default", "ekm", "boot_agent_available", "false"},
    {"default", "hwcfg", "memory_size_bytes", "8589934592"},
    {"default", "hwcfg", "pellora_flash_size_bytes", "17179869184"},
    {"default", "hwcfg", "nvram_size_bytes", "131072"},
    {"default", "hwcfg", "roc_temperature_celsius", "58"},
    {"default", "hwcfg", "alarm", "\"on\""},
    {"default", "policies", "policies/rebuild_rate_percent", "{\"current\":30,\"default\":30}"},
    {"default", "policies", "policies/interrupt_throttle_completion_microseconds",
     "{\"current\":50,\"default\":null}"},
    {"default", "policies", "ecc_bucket_leak_rate_seconds", "86400"},
    {"default", "policies", "drive_coercion_mode", "\"128mb\""},
    {"default", "boot", "spinup_group_delay_seconds", "6"},
    {"default", "boot", "stop_bios_on_error", "false"},
    {"default", "ha", "topology_type", "\"none\""},
    {"default", "tasks", "consistency_check_interval_seconds", "2419200"},
    {"default", "tasks", "next_patrol_read", "\"2026-01-04T02:00:00+01:00\""},
    {"default", "tasks", "next_patrol_read_epoch_seconds", "1767488400"},
    {"default", "secure-boot", "remaining_key_slots", "3"},
    {"default", "defaults", "treat_raid1e_as_raid10", "false"},
    {"default", "capabilities", "supported_raid_levels/", "\"raid60\""},
    {"default", "capabilities", "max_vds_per_array", "16"},
    // Optional parts missing: no battery, no alarm, no rework date.
    {"entry", "hwcfg", "battery_present", "false"},
    {"entry", "hwcfg", "pellora_flash_size_bytes", "null"},
    {"entry", "hwcfg", "alarm", "\"absent\""},
    {"entry", "status", "battery_status", "null"},
    {"entry", "tasks", "next_battery_learn", "null"},
    {"entry", "tasks", "next_battery_learn_epoch_seconds", "null"},
    {"entry", "basic", "rework_date", "null"},
    {"entry", "images", "components", "[]"},
    {"ha-member", "ha", "peer_controller_status", "\"active\""},
    {"ha-member", "ha", "incompatibilities", "[]"},
};

// The element at `path`; a trailing '/' picks the last element of an array.
const json::UnknownElement* at(const json::Object& values, const std::string& path) {
    const json::Object* o = &values;
    const json::UnknownElement* e = nullptr;
    std::size_t from = 0;
    while (from <= path.size()) {
        const std::size_t slash = std::min(path.find('/', from), path.size());
        const std::string key = path.substr(from, slash - from);
        if (key.empty()) {
            const json::Array* a = e != nullptr ? e->As<json::Array>() : nullptr;
            return a != nullptr && !a->Empty() ? a->At(a->Size() - 1) : nullptr;
        }
        e = o != nullptr ? o->Find(key) : nullptr;
        if (e == nullptr)
            return nullptr;
        o = e->As<json::Object>();
        from = slash + 1;
    }
    return e;
}

TEST(SectionValues, TypedAsTheReportShowsThem) {
    kvitest::TzGuard tz("Europe/Berlin");
    setenv("KVICTL_SIM_TIME", "1782900000", 1);
    for (const ValueCase& c : kValueCases) {
        SCOPED_TRACE(std::string(c.profile) + " " + c.section + " " + c.path);
        kvi::sim::Simulator sim;
        sim.load(c.profile);
        kvi::setProcessInputs(sim.processInputs());
        kvi::reports::ScopedHostTime host(static_cast<std::time_t>(sim.clock().now()));
        System::getInstance()->setBackend(&sim.controller(0));
        BackendController ctrl(sim.controller(0), ControllerId(0));
        ControllerId id(0);
        AdapterDataKvi adapter(&ctrl, &id);
        const ReportSection& s = *findReportSection(c.section);
        json::Object obj;
        ASSERT_EQ((adapter.*s.build)(obj), 0);
        const json::Object values = kvi::reports::typedValues(*s.values, obj);
        const json::UnknownElement* e = at(values, c.path);
        ASSERT_NE(e, nullptr);
        EXPECT_EQ(json::JsonWriter::ToString(*e, json::JsonWriter::Compact), c.json);
    }
    unsetenv("KVICTL_SIM_TIME");
    System::getInstance()->setBackend(nullptr);
    kvi::resetProcessInputs();
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
