// Profiles: the bundled ones load, malformed ones fail with "file: field: reason",
// and no input crashes the loader.
#include <gtest/gtest.h>

#include <fstream>

#include <cstdio>
#include <unistd.h>

#include "SimTestUtil.h"
#include "tests/support/ScratchDir.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::SimError;
using kvi::sim::Simulator;

namespace {

std::string loadError(const std::string& text) {
    try {
        kvi::sim::buildFromProfileText(text, "p.json", "", Clock(kNow));
    } catch (const SimError& e) {
        return e.what();
    }
    return "";
}

TEST(SimProfiles, BundledProfilesWithDefaultFirst) {
    // Each one's reports are compared with goldens in test_reports.
    const std::vector<std::string> names = Simulator::bundledProfiles();
    EXPECT_EQ(names, (std::vector<std::string>{"default", "entry", "ha-member", "previous-gen"}));
}

TEST(SimProfiles, ProfileSetsFieldsListsAndInputs) {
    Clock clock(kNow);
    auto st = kvi::sim::buildFromProfileText(R"({
        "base": "entry",
        "records": {"KV_CTRL_INFO": {"productName": "Example 16i", "adapterOperations3.supportMaxExtLDs": 0,
                                     "deviceInterface.portAddr[2]": "0x5000000000000abc"},
                    "KV_MFC_MFG": {"sn": "SN0042", "mfgDate.day": 1, "mfgDate.month": 1, "mfgDate.year": 25},
                    "KV_BBU_STATUS": {"current": -120}},
        "flash": {"running": [{"name": "APP ", "version": "5.1.0-0042"}]},
        "controllerType": 1,
        "mux": [1, 3]
    })",
                                             "example.json", "", clock);
    EXPECT_STREQ(st->info.productName, "Example 16i");
    EXPECT_EQ(st->info.adapterOperations3.supportMaxExtLDs, 0u);
    EXPECT_EQ(st->info.deviceInterface.portAddr[2], 0x5000000000000abcULL);
    EXPECT_EQ(st->info.imageComponentCount, 1u);
    EXPECT_EQ(st->bbu.current, -120);
    EXPECT_EQ(st->mfg.mfgDate.year, 25u);
    // The rest reaches the reports, whose goldens run on variant profiles.
    kvi::sim::SimController c(std::move(st), &clock);
    EXPECT_EQ(as<KV_SAS_MUX_LIST>(send(c, KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST)).sasMuxMode[1], 3);
    EXPECT_EQ(c.processInputs().controllerType, 1);
}

TEST(SimProfiles, ProfileFileWithRelativeBase) {
    kvitest::ScratchDir dir("kvsim");
    std::string base = dir.file("base.json"), top = dir.file("top.json");
    std::ofstream(base)
        << R"({"base": "default", "records": {"KV_HOST_INFO": {"pciSlotNumber": 9}}})";
    std::ofstream(top) << R"({"base": "base.json", "oem": 3})";
    Simulator sim{Clock(kNow)};
    sim.load(top, 3);
    ASSERT_EQ(sim.size(), 3u);
    EXPECT_EQ(sim.profile(), top);
    EXPECT_EQ(sim.controller(2).state().host.pciSlotNumber, 9);
    EXPECT_EQ(sim.controller(2).state().oem, 3u);
    // Every controller is told apart.
    EXPECT_STRNE(sim.controller(0).state().mfg.sn, sim.controller(1).state().mfg.sn);
    EXPECT_NE(sim.controller(0).state().mfc.sasAddr, sim.controller(2).state().mfc.sasAddr);
    EXPECT_NE(sim.controller(0).state().pci.bus, sim.controller(1).state().pci.bus);
}

struct Malformed {
    std::string text;
    const char* message; // the whole "file: field: reason" text, or a prefix ending in "*"
};

TEST(SimProfiles, MalformedProfilesNameFileFieldAndReason) {
    const Malformed cases[] = {
        {R"({"records": {"KV_CTRL_INFO": {"productNam": "x"}}})",
         "p.json: records.KV_CTRL_INFO.productNam: unknown field of KV_CTRL_INFO"},
        {R"({"records": {"KV_CTRL_INFO": {"maxLDs": 256}}})",
         "p.json: records.KV_CTRL_INFO.maxLDs: value 256 does not fit 8 bits"},
        {R"({"records": {"KV_CTRL_INFO": {"adapterOperations3.supportMaxExtLDs": 2}}})",
         "p.json: records.KV_CTRL_INFO.adapterOperations3.supportMaxExtLDs: value 2 does not fit 1 "
         "bits"},
        {R"({"records": {"KV_CTRL_INFO": {"maxLDs": -1}}})",
         "p.json: records.KV_CTRL_INFO.maxLDs: value -1 does not fit 8 bits"},
        {R"({"records": {"KV_BBU_STATUS": {"current": 40000}}})",
         "p.json: records.KV_BBU_STATUS.current: value 40000 does not fit 16 bits (signed)"},
        {R"({"records": {"KV_CTRL_INFO": {"productName": 5}}})",
         "p.json: records.KV_CTRL_INFO.productName: expected a text or \"hex:...\""},
        {R"({"records": {"KV_MFC_MFG": {"sn": "0123456789abcdefX"}}})",
         "p.json: records.KV_MFC_MFG.sn: text of 17 characters does not fit 16 bytes"},
        {R"({"records": {"KV_CTRL_INFO": {"maxLDs": "lots"}}})",
         "p.json: records.KV_CTRL_INFO.maxLDs: expected an integer, got \"lots\""},
        {R"({"records": {"KV_CTRL_INFO": {"pci.chipRevision": "hex:0102zz"}}})",
         "p.json: records.KV_CTRL_INFO.pci.chipRevision: malformed hex bytes"},
        {R"({"records": {"KV_CTRL_INFO": {"pci.chipRevision": "hex:010203"}}})",
         "p.json: records.KV_CTRL_INFO.pci.chipRevision: 3 bytes do not fit 2 bytes"},
        {R"({"records": {"KV_NOT_A_RECORD": {}}})",
         "p.json: records.KV_NOT_A_RECORD: unknown record (or one the simulator does not keep)"},
        {R"({"records": {"KV_CTRL_INFO": {"properties.rebuildRate": 5}}})",
         "p.json: records.KV_CTRL_INFO.properties.rebuildRate: mirrors the controller properties; "
         "set KV_CTRL_PROP or KV_CTRL_PROP_EXT"},
        {R"({"records": {"KV_CTRL_INFO": {"deviceInterface.portAddr[8]": 1}}})",
         "p.json: records.KV_CTRL_INFO.deviceInterface.portAddr[8]: unknown field of KV_CTRL_INFO"},
        {R"({"base": "no-such-profile"})",
         "p.json: base: unknown base profile \"no-such-profile\""},
        {R"({"sscVolumes": 4096})",
         "p.json: sscVolumes: expected an array of volume sizes in 512-byte blocks"},
        {R"({"sscVolumes": [4096, -1]})",
         "p.json: sscVolumes[1]: value -1 is outside 0..18446744073709551615"},
        {R"({"sscVolumes": [4096, "big"]})",
         "p.json: sscVolumes[1]: expected an integer, got \"big\""},
        {R"({"base": "/nonexistent/dir/x.json"})",
         "p.json: base: base \"/nonexistent/dir/x.json\": cannot open*"},
        {R"({"bogus": 1})", "p.json: bogus: unknown key"},
        {R"({"records": {"KV_CTRL_INFO": {"maxLDs": 1}})", "p.json: malformed JSON*"},
        {R"({"oem": 1e400})", "p.json: malformed JSON: number overflow parsing '1e400'"},
        {R"([1, 2])", "p.json: a profile is a JSON object"},
        {R"({"fail": {"0x05010000": 300}})",
         "p.json: fail.0x05010000: status must be 1..255 (or a local failure code -10, -11, -12)"},
        {R"({"fail": {"0x0501000g": 3}})",
         "p.json: fail.0x0501000g: expected an opcode (\"0x05010000\" or a KV_DCMD_ name)"},
        {R"({"fail": {"0x05010000@b12=1": 3}})", "p.json: fail.0x05010000@b12=1: mailbox qualifier "
                                                 "must read @bN=V with N 0..11 and V 0..255"},
        {R"({"fail": {"KV_DCMD_NOPE": 3}})", "p.json: fail.KV_DCMD_NOPE: unknown opcode name"},
        {R"({"hang": ["0x05010000", "KV_DCMD_NOPE"]})", "p.json: hang[1]: unknown opcode name"},
        {R"({"alarm": "loud"})",
         "p.json: alarm: expected present, absent, enabled, disabled or silenced"},
        {R"({"mux": [1, 2, 3, 1, 2]})", "p.json: mux: more than 4 muxes"},
        {R"({"mux": [4]})", "p.json: mux[0]: value 4 is outside 0..3"},
        {R"({"phys": [{"linkSpeedControl": 64}]})",
         "p.json: phys[0].linkSpeedControl: value 64 does not fit 6 bits"},
        {R"({"flash": {"running": [{"name": "TOOLONGNAME"}]}})",
         "p.json: flash.running[0].name: text of 11 characters does not fit 8 bytes"},
        {R"({"flash": {"spare": []}})", "p.json: flash.spare: unknown key"},
        {R"({"events": [{"code": 1}]})", "p.json: events[0]: missing \"description\""},
        {R"({"events": [{"code": 1, "args": "hex:)" + std::string(97 * 2, '0') +
             R"(", "description": "x"}]})",
         "p.json: events[0].args: more than 96 argument bytes"},
        {R"({"events": [{"code": 1, "class": 5, "description": "x"}]})",
         "p.json: events[0].class: expected a class from -2 to 4"},
        {R"({"pci": {"device": 32}})", "p.json: pci.device: value 32 is outside 0..31"},
        {R"({"lockKey": {"passphrase": ""}})", "p.json: lockKey.passphrase: empty passphrase"},
        {R"({"lanes": [{"currentClkMode": 4}]})",
         "p.json: lanes[0].currentClkMode: value 4 does not fit 2 bits"},
        {R"({"isOEMhp": 1})", "p.json: isOEMhp: expected true or false"},
    };
    for (const Malformed& m : cases) {
        SCOPED_TRACE(m.text);
        std::string got = loadError(m.text);
        std::string want = m.message;
        if (!want.empty() && want.back() == '*')
            EXPECT_EQ(got.substr(0, want.size() - 1), want.substr(0, want.size() - 1)) << got;
        else
            EXPECT_EQ(got, want);
    }
}

TEST(SimProfiles, ErrorsNameTheFileThatHoldsThem) {
    kvitest::ScratchDir dir("kvsim");
    std::string base = dir.file("base.json"), top = dir.file("top.json");
    std::ofstream(base) << R"({"records": {"KV_HOST_INFO": {"pciSlot": 9}}})";
    std::ofstream(top) << R"({"base": "base.json"})";
    try {
        kvi::sim::buildFromProfile(top, Clock(kNow));
        ADD_FAILURE() << "no error";
    } catch (const SimError& e) {
        EXPECT_EQ(std::string(e.what()),
                  base + ": records.KV_HOST_INFO.pciSlot: unknown field of KV_HOST_INFO");
    }
    // A profile that includes itself.
    std::ofstream(base) << R"({"base": "top.json"})";
    try {
        kvi::sim::buildFromProfile(top, Clock(kNow));
        ADD_FAILURE() << "no error";
    } catch (const SimError& e) {
        EXPECT_NE(std::string(e.what()).find("includes itself"), std::string::npos) << e.what();
    }
    try {
        kvi::sim::buildFromProfile("nonesuch", Clock(kNow));
        ADD_FAILURE() << "no error";
    } catch (const SimError& e) {
        EXPECT_EQ(std::string(e.what()), "nonesuch: no bundled profile of that name (a profile "
                                         "file is named by its path: ./nonesuch)");
    }
}

} // namespace
