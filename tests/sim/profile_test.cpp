// Profiles: the bundled ones load, malformed ones fail with "file: field: reason",
// and no input crashes the loader.
#include <gtest/gtest.h>

#include <fstream>
#include <random>

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

TEST(SimProfiles, BundledProfilesLoadWithDefaultFirst) {
    std::vector<std::string> names = Simulator::bundledProfiles();
    ASSERT_EQ(names.size(), 4u);
    EXPECT_EQ(names[0], "default");
    for (const char* n : {"previous-gen", "entry", "ha-member"})
        EXPECT_NE(std::find(names.begin(), names.end(), n), names.end()) << n;
    for (const std::string& n : names) {
        SCOPED_TRACE(n);
        Simulator sim{Clock(kNow)};
        ASSERT_NO_THROW(sim.load(n));
        KV_CTRL_INFO info = as<KV_CTRL_INFO>(send(sim.controller(0), KV_DCMD_CTRL_GET_INFO));
        EXPECT_NE(info.productName[0], 0);
        EXPECT_GT(info.imageComponentCount, 0u);
        EXPECT_STREQ(info.imageComponent[0].name, "APP ");
    }
}

TEST(SimProfiles, BundledProfilesHaveTheirCharacter) {
    struct Want {
        const char* profile;
        unsigned extSchedules, propExt, dualImages, pending, battery, batteryType, alarm, peer,
            hostInfo, secureBoot;
    };
    const Want wants[] = {
        {"default", 1, 1, 1, 3, 1, 6, 1, 0, 1, 1},
        {"previous-gen", 0, 0, 0, 0, 1, 5, 1, 0, 0, 0},
        {"entry", 1, 1, 0, 0, 0, 0, 0, 0, 1, 0},
        {"ha-member", 1, 1, 1, 3, 1, 6, 1, 1, 1, 1},
    };
    for (const Want& w : wants) {
        SCOPED_TRACE(w.profile);
        Simulator sim{Clock(kNow)};
        sim.load(w.profile);
        KV_CTRL_INFO i = as<KV_CTRL_INFO>(send(sim.controller(0), KV_DCMD_CTRL_GET_INFO));
        EXPECT_EQ(i.adapterOperations3.supportMaxExtLDs, w.extSchedules);
        EXPECT_EQ(i.adapterOperationExt.adapterOperations6.supportCtrlPropExt, w.propExt);
        EXPECT_EQ(i.adapterOperations4.supportDualFWUpdate, w.dualImages);
        EXPECT_EQ(i.pendingImageComponentCount, w.pending);
        EXPECT_EQ(i.hwPresent.bbu, w.battery);
        EXPECT_EQ(i.hwPresent.alarm, w.alarm);
        EXPECT_EQ(i.cluster.peerIsPresent, w.peer);
        EXPECT_EQ(i.adapterOperations4.supportHostInfo, w.hostInfo);
        EXPECT_EQ(i.secureBootDetails.secureBootEnabled, w.secureBoot);
        if (w.battery) {
            EXPECT_EQ(
                as<KV_BBU_STATUS>(send(sim.controller(0), KV_DCMD_BBU_GET_STATUS)).batteryType,
                w.batteryType);
        }
    }
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
        "pci": {"domain": 1, "bus": 59, "device": 3, "function": 1, "linkWidth": 16},
        "driver": {"name": "example_drv", "version": "1.2.3"},
        "oem": 7, "controllerType": 1, "isOEMhp": true,
        "personality": {"personalityBitmap": 2},
        "alarm": "silenced",
        "mux": [1, 3]
    })",
                                             "example.json", "", clock);
    EXPECT_STREQ(st->info.productName, "Example 16i");
    EXPECT_EQ(st->info.adapterOperations3.supportMaxExtLDs, 0u);
    EXPECT_EQ(st->info.deviceInterface.portAddr[2], 0x5000000000000abcULL);
    EXPECT_EQ(st->info.imageComponentCount, 1u);
    EXPECT_EQ(st->bbu.current, -120);
    EXPECT_EQ(st->mfg.mfgDate.year, 25u);
    kvi::sim::SimController c(std::move(st), &clock);
    EXPECT_EQ(as<std::uint32_t>(send(c, KV_DCMD_CTRL_OEM_ID_GET)), 7u);
    EXPECT_EQ(send(c, KV_DCMD_CTRL_ALARM_GET).data[0], 2);
    EXPECT_EQ(as<KV_SAS_MUX_LIST>(send(c, KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST)).sasMuxMode[1], 3);
    kvi::PciLocation pci;
    ASSERT_EQ(c.pciLocation(pci), 0);
    EXPECT_EQ(pci.domain, 1u);
    EXPECT_EQ(pci.device, 3);
    EXPECT_EQ(pci.linkWidth, 16u);
    kvi::ProcessInputs in = c.processInputs();
    EXPECT_TRUE(in.isOEMhp);
    EXPECT_EQ(in.controllerType, 1);
    EXPECT_EQ(c.driverName(), "example_drv");
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
    const char* text;
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

// Random mutations of a valid profile: each either loads or fails with a
// message that starts with the file name; none crashes.
TEST(SimProfiles, MutatedProfilesNeverCrash) {
    const std::string seed =
        R"({"base": "default", "records": {"KV_CTRL_INFO": {"productName": "Fuzz 8i",
        "maxLDs": 64, "adapterOperations3.supportMaxExtLDs": 0, "deviceInterface.portAddr": [1, 2]},
        "KV_BIOS_DATA": {"bootTargetId": 3}, "KV_BBU_STATUS": {"current": -5}},
        "flash": {"running": [{"name": "APP ", "version": "1.0"}], "pending": []},
        "phys": [{"sasAddr": "0x5000000000000001", "linkSpeedControl": 8}],
        "mux": [1], "events": [{"code": 2, "class": 1, "locale": 4, "description": "x", "age": 5}],
        "eventLog": {"generate": 10}, "alarm": "absent", "fail": {"0x01030100@b0=0": 34},
        "lockKey": {"passphrase": "abc", "keyId": "k"}, "pci": {"bus": 3}})";
    ASSERT_EQ(loadError(seed), "");
    std::mt19937 rng(20250601);
    const char alphabet[] = "{}[]\":,0123456789-xabcfehKV_. @=\\";
    unsigned loaded = 0, refused = 0;
    for (int round = 0; round < 400; ++round) {
        std::string text = seed;
        int edits = 1 + int(rng() % 4);
        for (int e = 0; e < edits; ++e) {
            std::size_t pos = rng() % text.size();
            switch (rng() % 4) {
            case 0:
                text[pos] = alphabet[rng() % (sizeof alphabet - 1)];
                break;
            case 1:
                text.erase(pos, 1 + rng() % 8);
                break;
            case 2:
                text.insert(pos, 1, alphabet[rng() % (sizeof alphabet - 1)]);
                break;
            default:
                text.insert(pos, text.substr(rng() % text.size(), rng() % 12));
                break;
            }
            if (text.empty())
                text = "{";
        }
        std::string err = loadError(text);
        if (err.empty()) {
            ++loaded;
        } else {
            ++refused;
            EXPECT_EQ(err.rfind("p.json: ", 0), 0u) << err;
            EXPECT_GT(err.size(), std::string("p.json: ").size());
        }
    }
    EXPECT_GT(refused, 100u);
    EXPECT_GT(loaded + refused, 399u);
}

TEST(SimProfiles, SimTimeFromTheEnvironment) {
    setenv("KVICTL_SIM_TIME", "1748779200", 1);
    Clock c = Clock::fromEnvironment();
    EXPECT_TRUE(c.isFixed());
    EXPECT_EQ(c.now(), 1748779200);
    setenv("KVICTL_SIM_TIME", "soon", 1);
    EXPECT_THROW(Clock::fromEnvironment(), SimError);
    unsetenv("KVICTL_SIM_TIME");
    EXPECT_FALSE(Clock::fromEnvironment().isFixed());
}

} // namespace
