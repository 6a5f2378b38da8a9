// Profiles: the bundled ones, fields set by name, a base named relative to the
// including file, and malformed ones (the table in data/bad-profiles.txt) failing
// with "file: field: reason".
#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "SimTestUtil.h"
#include "tests/support/ScratchDir.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::SimError;
using kvi::sim::Simulator;

namespace {

// The error of loading a profile ("" when it loads).
std::string loadError(const std::function<void()>& load) {
    try {
        load();
    } catch (const SimError& e) {
        return e.what();
    }
    return "";
}
std::string loadError(const std::string& text) {
    return loadError([&] { kvi::sim::buildFromProfileText(text, "p.json", "", Clock(kNow)); });
}

TEST(SimProfiles, BundledProfilesWithDefaultFirst) {
    // Each one's reports are compared with goldens in test_reports.
    const std::vector<std::string> names = Simulator::bundledProfiles();
    EXPECT_EQ(names, (std::vector<std::string>{"default", "entry", "ha-member", "previous-gen"}));
}

// Records set by name, dotted paths, flash images, the controller type and the
// OEM reach the reports, whose goldens run on the bundled and variant profiles;
// here what those profiles do not use: an array element, a negative value, a list.
TEST(SimProfiles, ProfileSetsArrayElementsNegativesAndLists) {
    Clock clock(kNow);
    auto st = kvi::sim::buildFromProfileText(R"({
        "base": "entry",
        "records": {"KV_CTRL_INFO": {"deviceInterface.portAddr[2]": "0x5000000000000abc"},
                    "KV_BBU_STATUS": {"current": -120},
                    "KV_BIOS_DATA": {"reserved[51]": 7}},
        "mux": [1, 3]
    })",
                                             "example.json", "", clock);
    EXPECT_EQ(st->info.deviceInterface.portAddr[2], 0x5000000000000abcULL);
    EXPECT_EQ(st->bbu.current, -120);
    std::uint8_t biosSum = 0; // the checksum covers every byte before it
    for (std::size_t i = 0; i < sizeof st->bios; ++i)
        biosSum = std::uint8_t(biosSum + reinterpret_cast<const std::uint8_t*>(&st->bios)[i]);
    EXPECT_EQ(biosSum, 0);
    kvi::sim::SimController c(std::move(st), &clock);
    EXPECT_EQ(as<KV_SAS_MUX_LIST>(send(c, KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST)).sasMuxMode[1], 3);
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
    // A chain of 8 files on a bundled profile loads; a ninth is refused.
    std::string below = "default";
    for (int i = 1; i <= 9; ++i) {
        const std::string file = dir.file("chain" + std::to_string(i) + ".json");
        std::ofstream(file) << R"({"base": ")" << below << R"("})";
        below = file;
        try {
            kvi::sim::buildFromProfile(file, Clock(kNow));
            EXPECT_LE(i, 8);
        } catch (const SimError& e) {
            EXPECT_EQ(i, 9) << e.what();
        }
    }
}

TEST(SimProfiles, MalformedProfilesNameFileFieldAndReason) {
    std::ifstream in(std::string(KVI_SOURCE_DIR) + "/tests/sim/data/bad-profiles.txt");
    std::string text, want;
    unsigned rows = 0;
    while (std::getline(in, text)) {
        if (text.empty() || text[0] == '#')
            continue;
        ASSERT_TRUE(std::getline(in, want) && want.rfind("=> ", 0) == 0) << text;
        want.erase(0, 3);
        SCOPED_TRACE(text);
        const std::string got = loadError(text);
        if (want.back() == '*')
            EXPECT_EQ(got.substr(0, want.size() - 1), want.substr(0, want.size() - 1)) << got;
        else
            EXPECT_EQ(got, want);
        ++rows;
    }
    EXPECT_GT(rows, 35u);
}

TEST(SimProfiles, ErrorsNameTheFileThatHoldsThem) {
    kvitest::ScratchDir dir("kvsim");
    std::string base = dir.file("base.json"), top = dir.file("top.json");
    auto loadTop = [&] { kvi::sim::buildFromProfile(top, Clock(kNow)); };
    std::ofstream(base) << R"({"records": {"KV_HOST_INFO": {"pciSlot": 9}}})";
    std::ofstream(top) << R"({"base": "base.json"})";
    EXPECT_EQ(loadError(loadTop),
              base + ": records.KV_HOST_INFO.pciSlot: unknown field of KV_HOST_INFO");
    std::ofstream(base) << R"({"base": "top.json"})";
    EXPECT_NE(loadError(loadTop).find("includes itself"), std::string::npos);
    EXPECT_EQ(loadError([] { kvi::sim::buildFromProfile("nonesuch", Clock(kNow)); }),
              "nonesuch: no bundled profile of that name (a profile file is named by its path: "
              "./nonesuch)");
}

} // namespace
