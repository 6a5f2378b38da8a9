// The rows of the defaults and capabilities sections that show what a
// configuration rule answers (the default codes, the RAID level list) take it
// through virtual dispatch, so a subclass that changes a rule changes the
// report: mappings, refusals and overrides. The table
// runs each case twice over: through the record (the real rule decodes a
// changed manufacturing or controller field) and through an override (the
// section must take the override's answer, or its refusal, as it stands).
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/reports/ReportRig.h"
#include "util/ArList.h"
#include "json/JsonWriter.h"

namespace {

using rt::ControllerSetup;
using Section = int (AdapterData::*)(json::Object&);

// One overridden rule: its status, and the value (or list) it hands back on
// success.
struct RuleAnswer {
    int rc = 0;
    unsigned long long value = 0;
    std::vector<unsigned char> list{};
};
using Rules = std::map<std::string, RuleAnswer>;

// A controller object whose rule operations answer from a table; a rule not in
// the table is the real one. Records which overrides the section asked.
class RuleAdapter : public rt::ScriptedAdapter {
public:
    RuleAdapter(rt::Rig& rig, const Rules& rules)
        : rt::ScriptedAdapter(&rig.ctrl, rig.ctrl.getControllerId(), rig.setup), rules_(rules) {}

    int getDefaultStrpSz(unsigned char* out) override {
        return code("getDefaultStrpSz", out, [&] { return AdapterDataKvi::getDefaultStrpSz(out); });
    }
    int getDefaultWrPolicy(unsigned char* out) override {
        return code("getDefaultWrPolicy", out,
                    [&] { return AdapterDataKvi::getDefaultWrPolicy(out); });
    }
    int getDefaultRdPolicy(unsigned char* out) override {
        return code("getDefaultRdPolicy", out,
                    [&] { return AdapterDataKvi::getDefaultRdPolicy(out); });
    }
    int getDefaultCachePolicy(unsigned char* out) override {
        return code("getDefaultCachePolicy", out,
                    [&] { return AdapterDataKvi::getDefaultCachePolicy(out); });
    }
    int getDefaultDiskCachePolicy(unsigned char* out) override {
        return code("getDefaultDiskCachePolicy", out,
                    [&] { return AdapterDataKvi::getDefaultDiskCachePolicy(out); });
    }
    int getDefaultWriteCacheBadBBU(unsigned char* out) override {
        return code("getDefaultWriteCacheBadBBU", out,
                    [&] { return AdapterDataKvi::getDefaultWriteCacheBadBBU(out); });
    }
    int getDiskCertificationPolicy(unsigned char* out) override {
        return code("getDiskCertificationPolicy", out,
                    [&] { return AdapterDataKvi::getDiskCertificationPolicy(out); });
    }
    int getAdpSASAddress(unsigned long long* out) override {
        return code("getAdpSASAddress", out, [&] { return AdapterDataKvi::getAdpSASAddress(out); });
    }
    int isTreatR1EAsR10(bool* out) override {
        return code("isTreatR1EAsR10", out, [&] { return AdapterDataKvi::isTreatR1EAsR10(out); });
    }
    int getSupportedRaidLevels(ArrayList<unsigned char>** out) override {
        const auto it = rules_.find("getSupportedRaidLevels");
        if (it == rules_.end()) {
            return AdapterDataKvi::getSupportedRaidLevels(out);
        }
        asked.push_back(it->first);
        if (it->second.rc == 0) {
            *out = new ArrayList<unsigned char>();
            for (unsigned char level : it->second.list) {
                (*out)->add(level);
            }
        }
        return it->second.rc;
    }

    std::vector<std::string> asked; // overrides the section called, in order

private:
    template <class T> int code(const char* name, T* out, const std::function<int()>& real) {
        const auto it = rules_.find(name);
        if (it == rules_.end()) {
            return real();
        }
        asked.push_back(name);
        if (it->second.rc == 0) {
            *out = static_cast<T>(it->second.value);
        }
        return it->second.rc;
    }

    const Rules& rules_;
};

struct RuleCase {
    const char* what;
    std::function<void(ControllerSetup&)> change;
    Rules rules;
    Section section;
    const char* key;
    const char* expected; // the member rendered as compact JSON, "<absent>" when not written
    int rc = 0;
};

void PrintTo(const RuleCase& c, std::ostream* os) {
    *os << c.what;
}

std::string shown(const json::Object& obj, const std::string& key) {
    const json::UnknownElement* e = obj.Find(key);
    return e == nullptr ? std::string("<absent>")
                        : json::JsonWriter::ToString(*e, json::JsonWriter::Compact);
}

void none(ControllerSetup&) {}

const Section kDefaults = &AdapterData::getShowDefaults;
const Section kCapabilities = &AdapterData::getShowCapabilities;

const RuleCase kRuleCases[] = {
    // Defaults: the real rules over changed record fields.
    {"write-back 0 is write policy 1",
     [](ControllerSetup& s) { s.mfc.writeBack = 0; },
     {},
     kDefaults,
     "Write Policy Code",
     "1"},
    {"write-back 1 is write policy 0",
     [](ControllerSetup& s) { s.mfc.writeBack = 1; },
     {},
     kDefaults,
     "Write Policy Code",
     "0"},
    {"write-back 3 has no policy",
     [](ControllerSetup& s) { s.mfc.writeBack = 3; },
     {},
     kDefaults,
     "Write Policy Code",
     "\"NA\""},
    {"read-ahead 2 is read policy 0",
     [](ControllerSetup& s) { s.mfc.readAhead = 2; },
     {},
     kDefaults,
     "Read Policy Code",
     "0"},
    {"read-ahead 3 has no policy",
     [](ControllerSetup& s) { s.mfc.readAhead = 3; },
     {},
     kDefaults,
     "Read Policy Code",
     "\"NA\""},
    {"cached IO 1 is cache policy 0",
     [](ControllerSetup& s) { s.mfc.cachedIo = 1; },
     {},
     kDefaults,
     "Cache Policy Code",
     "0"},
    {"OEM 3 disk cache policy 0",
     [](ControllerSetup& s) { s.oem = 3; },
     {},
     kDefaults,
     "Disk Cache Policy Code",
     "0"},
    {"failed OEM query has no disk cache policy",
     [](ControllerSetup& s) { s.oemStatus = 0x07; },
     {},
     kDefaults,
     "Disk Cache Policy Code",
     "\"NA\""},
    {"cache when BBU bad 2 has no code",
     [](ControllerSetup& s) { s.mfc.cacheWhenBBUBad = 2; },
     {},
     kDefaults,
     "Write Cache Bad BBU Code",
     "\"NA\""},
    {"SAS address zero",
     [](ControllerSetup& s) { s.mfc.sasAddr = 0; },
     {},
     kDefaults,
     "SAS Address",
     "\"NA\""},
    {"record members without a rule are not shown",
     none,
     {},
     kDefaults,
     "Background Rate",
     "<absent>"},
    // Defaults: the overrides win over the record.
    {"overridden read policy",
     none,
     {{"getDefaultRdPolicy", {0, 7}}},
     kDefaults,
     "Read Policy Code",
     "7"},
    {"overridden read policy refusing",
     none,
     {{"getDefaultRdPolicy", {-1, 0}}},
     kDefaults,
     "Read Policy Code",
     "\"NA\""},
    {"overridden write policy",
     none,
     {{"getDefaultWrPolicy", {0, 3}}},
     kDefaults,
     "Write Policy Code",
     "3"},
    {"overridden cache policy",
     none,
     {{"getDefaultCachePolicy", {0, 6}}},
     kDefaults,
     "Cache Policy Code",
     "6"},
    {"overridden disk cache policy",
     none,
     {{"getDefaultDiskCachePolicy", {0, 9}}},
     kDefaults,
     "Disk Cache Policy Code",
     "9"},
    {"overridden bad-BBU code",
     none,
     {{"getDefaultWriteCacheBadBBU", {0, 8}}},
     kDefaults,
     "Write Cache Bad BBU Code",
     "8"},
    {"overridden certification policy",
     none,
     {{"getDiskCertificationPolicy", {0, 4}}},
     kDefaults,
     "Disk Certification Policy Code",
     "4"},
    {"overridden strip size",
     none,
     {{"getDefaultStrpSz", {0, 12}}},
     kDefaults,
     "Strip Size Code",
     "12"},
    {"overridden SAS address",
     none,
     {{"getAdpSASAddress", {0, 0xabcULL}}},
     kDefaults,
     "SAS Address",
     "\"abc\""},
    {"overridden SAS address refusing",
     none,
     {{"getAdpSASAddress", {0x03, 0}}},
     kDefaults,
     "SAS Address",
     "\"NA\""},
    {"overridden RAID1E rule",
     [](ControllerSetup& s) { s.mfc.treatR1EAsR10 = 1; },
     {{"isTreatR1EAsR10", {0, 0}}},
     kDefaults,
     "Treat RAID1E As RAID10",
     "\"No\""},
    {"a refusing rule does not end the section",
     none,
     {{"getDefaultWrPolicy", {-1, 0}}},
     kDefaults,
     "Default Max VDs per Array",
     "16"},
    // Capabilities.
    {"levels of the controller information, in rule order",
     none,
     {},
     kCapabilities,
     "Supported RAID Levels",
     R"(["RAID0","RAID1","RAID5","RAID6","RAID00","RAID10","RAID50","RAID60"])"},
    {"overridden levels, named and numbered, in the rule's order",
     none,
     {{"getSupportedRaidLevels", {0, 0, {35, 17, 36, 0, 255, 2}}}},
     kCapabilities,
     "Supported RAID Levels",
     R"(["RAID1E","RAIDEC","RAID00","RAID0","Unknown","2"])"},
    {"overridden empty level list",
     none,
     {{"getSupportedRaidLevels", {0, 0, {}}}},
     kCapabilities,
     "Supported RAID Levels",
     "[]"},
    {"failing level list ends the section",
     none,
     {{"getSupportedRaidLevels", {0x0E, 0, {}}}},
     kCapabilities,
     "Supported RAID Levels",
     "<absent>",
     0x0E},
    {"failing level list leaves no OEM line",
     none,
     {{"getSupportedRaidLevels", {-1, 0, {}}}},
     kCapabilities,
     "OEM Code",
     "<absent>",
     -1},
};

class RuleSections : public ::testing::TestWithParam<RuleCase> {};

TEST_P(RuleSections, ShowWhatTheRuleAnswers) {
    const RuleCase& c = GetParam();
    ControllerSetup setup = rt::baseSetup();
    c.change(setup);
    rt::Rig rig(setup);
    RuleAdapter adapter(rig, c.rules);
    json::Object obj;
    AdapterData& a = adapter;
    EXPECT_EQ((a.*c.section)(obj), c.rc);
    EXPECT_EQ(shown(obj, c.key), c.expected);
    for (const auto& rule : c.rules) {
        EXPECT_EQ(std::count(adapter.asked.begin(), adapter.asked.end(), rule.first), 1)
            << rule.first << " asked once";
    }
}

INSTANTIATE_TEST_SUITE_P(Table, RuleSections, ::testing::ValuesIn(kRuleCases));

// Member order of the defaults section, and the record read once for all its
// rules.
TEST(RuleSections, DefaultsKeepTheirOrderAndReadTheRecordOnce) {
    rt::Rig rig(rt::baseSetup());
    json::Object obj;
    ASSERT_EQ(rig.adapter.getShowDefaults(obj), 0);
    EXPECT_EQ(rt::keys(obj),
              (std::vector<std::string>{"SAS Address", "Strip Size Code", "Write Policy Code",
                                        "Read Policy Code", "Cache Policy Code",
                                        "Disk Cache Policy Code", "Write Cache Bad BBU Code",
                                        "Disk Certification Policy Code", "Treat RAID1E As RAID10",
                                        "Spin Down Mode", "Default Max VDs per Array"}));
    EXPECT_EQ(rig.ctrl.count(KV_DCMD_CTRL_MFC_DEFAULTS_GET), 1u);
}

} // namespace
