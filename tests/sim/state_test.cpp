// The state file: what one invocation changes, the next one sees; writes are
// atomic and a corrupt file is refused and kept.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "SimTestUtil.h"
#include "tests/support/ScratchDir.h"

using namespace simtest;
using kvi::sim::Clock;
using kvi::sim::SimError;
using kvi::sim::Simulator;

namespace {

class SimState : public ::testing::Test {
protected:
    std::vector<std::string> files() {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(dir_.path()))
            names.push_back(e.path().filename().string());
        return names;
    }
    std::string read() {
        std::ifstream in(path_);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    // Loading the state file fails with `message` after its name.
    void expectRefused(const std::string& message) {
        Simulator sim{Clock(kNow)};
        sim.load("default");
        try {
            sim.loadState(path_);
            ADD_FAILURE() << "accepted";
        } catch (const SimError& e) {
            EXPECT_EQ(std::string(e.what()).substr(0, path_.size() + 2 + message.size()),
                      path_ + ": " + message);
        }
        EXPECT_THROW(sim.saveState(path_), SimError) << "a corrupt state file is never overwritten";
        EXPECT_NO_THROW(sim.saveState(path_ + ".new")) << "another path is fine";
        std::remove((path_ + ".new").c_str());
    }
    kvitest::ScratchDir dir_{"kvsimstate"};
    std::string path_ = dir_.file("state.json");
};

const auto create = sendPass<KV_CTRL_LOCK_KEY_PARAMS>;
const auto verify = sendPass<KV_CTRL_LOCK_KEY_FROM_ESCROW>;

TEST_F(SimState, ChangesSurviveASaveAndLoad) {
    {
        Simulator sim{Clock(kNow)};
        sim.load("default", 2);
        auto& c = sim.controller(1);
        KV_CTRL_PROP p = as<KV_CTRL_PROP>(send(c, KV_DCMD_CTRL_PROPERTIES_GET));
        p.ccRate = 77;
        ASSERT_EQ(sendRecord(c, KV_DCMD_CTRL_PROPERTIES_SET, p).status, 0);
        ASSERT_EQ(send(c, KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mboxBytes({{0, 2}, {1, 4}})).status,
                  0);
        ASSERT_EQ(create(c, KV_DCMD_CTRL_LOCK_KEY_CREATE, "Keep#It#9"), 0);
        ASSERT_EQ(send(c, KV_DCMD_CTRL_PR_START).status, 0);
        send(c, KV_DCMD_CTRL_PR_GET_STATUS);
        ASSERT_EQ(send(c, KV_DCMD_CTRL_EVENT_CLEAR).status, 0);
        ASSERT_EQ(send(c, KV_DCMD_BBU_LEARN).status, 0);
        c.state().sscVolumes = {2097152, 256};
        sim.saveState(path_);
    }
    EXPECT_EQ(read().find("Keep#It#9"), std::string::npos) << "no passphrase in the state file";
    // The salt comes from the serial number, the newest event and the key id: the same every run.
    EXPECT_NE(read().find(R"("salt": "930bec301fe88784")"), std::string::npos);
    EXPECT_EQ(files(), std::vector<std::string>{"state.json"}) << "no temporary file left behind";

    Simulator sim{Clock(kNow)};
    sim.loadState(path_);
    ASSERT_EQ(sim.size(), 2u);
    EXPECT_EQ(sim.profile(), "default");
    auto& c = sim.controller(1);
    EXPECT_EQ(as<KV_CTRL_PROP>(send(c, KV_DCMD_CTRL_PROPERTIES_GET)).ccRate, 77);
    EXPECT_EQ(c.state().sscVolumes, (std::vector<std::uint64_t>{2097152, 256}));
    EXPECT_EQ(as<KV_CTRL_PROP>(send(sim.controller(0), KV_DCMD_CTRL_PROPERTIES_GET)).ccRate, 30);
    EXPECT_EQ(as<KV_SAS_PHY_CONNECTIONS>(send(c, KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS))
                  .phy[2]
                  .linkSpeedControl,
              4u);
    EXPECT_EQ(verify(c, KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, "Keep#It#9"), 0);
    EXPECT_EQ(verify(c, KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, "keep#it#9"),
              kvi::sim::kStatusWrongPassphrase);
    KV_PR_STATUS pr = as<KV_PR_STATUS>(send(c, KV_DCMD_CTRL_PR_GET_STATUS));
    EXPECT_EQ(pr.state, 2);
    EXPECT_EQ(pr.numPdDone, 1);
    KV_EVT_LOG_INFO ev = as<KV_EVT_LOG_INFO>(send(c, KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(ev.clearSeqNum, ev.oldestSeqNum);
    EXPECT_GT(ev.newestSeqNum, ev.clearSeqNum); // the learn start came after the clear
    // The learn cycle goes on where it stopped.
    EXPECT_NE(as<KV_BBU_STATUS>(send(c, KV_DCMD_BBU_GET_STATUS)).fwStatus & (1u << 6), 0u);
    // Factory defaults still restore the profile's properties.
    ASSERT_EQ(send(c, KV_DCMD_CTRL_SET_FACTORY_DEFAULTS).status, 0);
    EXPECT_EQ(as<KV_CTRL_PROP>(send(c, KV_DCMD_CTRL_PROPERTIES_GET)).ccRate, 30);
}

// Zero is a value like any other in the state file: a log that saw no boot
// (boot sequence 0) and an event of locale 0 come back as they were.
TEST_F(SimState, ZerosSurviveASaveAndLoad) {
    const std::string profile = dir_.file("p.json");
    std::ofstream(profile) << R"({"base": "default", "events": [{"code": 7, "locale": 0,
        "description": "Locale zero", "age": 10}]})";
    {
        Simulator sim{Clock(kNow)};
        sim.load(profile);
        sim.saveState(path_);
    }
    std::string text = read();
    const std::size_t at = text.find("\"bootSeq\": 1");
    ASSERT_NE(at, std::string::npos);
    text.replace(at, 12, "\"bootSeq\": 0");
    std::ofstream(path_) << text;
    Simulator sim{Clock(kNow)};
    sim.loadState(path_);
    auto& c = sim.controller(0);
    const KV_EVT_LOG_INFO info = as<KV_EVT_LOG_INFO>(send(c, KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(info.bootSeqNum, 0u);
    Reply r = send(c, KV_DCMD_CTRL_EVENT_GET, mboxWords(info.newestSeqNum, 0xFE00FFFF), 8 + 256);
    ASSERT_EQ(r.status, 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(r.data.data() + 8 + 128), "Locale zero");
    EXPECT_EQ(r.data[8 + 12] | r.data[8 + 13] << 8, 0); // locale
}

TEST_F(SimState, GeneratedLogsStayLazyInTheStateFile) {
    Clock clock(kNow);
    Simulator sim{clock};
    sim.load("previous-gen");
    sim.saveState(path_);
    EXPECT_LT(read().size(), 64u * 1024) << "4000 generated events are not written out";
    Simulator again{clock};
    again.loadState(path_);
    KV_EVT_LOG_INFO a = as<KV_EVT_LOG_INFO>(send(sim.controller(0), KV_DCMD_CTRL_EVENT_GET_INFO));
    KV_EVT_LOG_INFO b = as<KV_EVT_LOG_INFO>(send(again.controller(0), KV_DCMD_CTRL_EVENT_GET_INFO));
    EXPECT_EQ(0, std::memcmp(&a, &b, sizeof a));
    EXPECT_EQ(a.oldestSeqNum, 17001u);
    Reply x =
        send(sim.controller(0), KV_DCMD_CTRL_EVENT_GET, mboxWords(18000, 0xFE00FFFF), 8 + 4 * 256);
    Reply y = send(again.controller(0), KV_DCMD_CTRL_EVENT_GET, mboxWords(18000, 0xFE00FFFF),
                   8 + 4 * 256);
    EXPECT_EQ(x.data, y.data);
}

TEST_F(SimState, CorruptFilesAreRefusedAndKept) {
    const char* corrupt[] = {
        "",
        "{not json",
        R"({"kvictl_sim_state": 1e400})",
        R"({"something": "else"})",
        R"({"kvictl_sim_state": 1, "profile": "default", "controllers": []})",
        R"({"kvictl_sim_state": 2, "profile": "default", "controllers": [{}]})",
        R"({"kvictl_sim_state": 1, "profile": "default", "controllers": [{"blocks": {}}]})",
    };
    for (const char* text : corrupt) {
        SCOPED_TRACE(text);
        { std::ofstream(path_) << text; }
        expectRefused("");
        EXPECT_EQ(read(), text);
    }
    // A damaged field is named: the text after `field` becomes `value`, up to `end`.
    const struct {
        const char* field;
        const char* end;
        const char* value;
        const char* message;
    } damaged[] = {
        {"\"KV_BIOS_DATA\": \"", "\"", nullptr,
         "controllers[0].blocks.KV_BIOS_DATA: expected 64 bytes of hex"},
        {"\"alarmState\": ", ",", "3", "controllers[0].alarmState: out of range"},
        {"\"captured\": [", "]", "4294967296",
         "controllers[0].captured: expected sequence numbers"},
    };
    for (const auto& d : damaged) {
        SCOPED_TRACE(d.field);
        {
            Simulator sim{Clock(kNow)};
            sim.load("default");
            sim.saveState(path_);
        }
        std::string text = read();
        const std::size_t at = text.find(d.field);
        ASSERT_NE(at, std::string::npos);
        const std::size_t from = at + std::strlen(d.field);
        if (d.value == nullptr)
            text.erase(from, 2); // one byte short
        else
            text.replace(from, text.find(d.end, from) - from, d.value);
        { std::ofstream(path_) << text; }
        expectRefused(d.message);
    }
}

TEST_F(SimState, MissingFileIsAnErrorButMayBeCreated) {
    Simulator sim{Clock(kNow)};
    sim.load("entry");
    EXPECT_THROW(sim.loadState(path_), SimError);
    EXPECT_THROW(sim.saveState("/nonexistent-dir/state.json"), SimError);
    EXPECT_NO_THROW(sim.saveState(path_));
    EXPECT_NO_THROW(sim.loadState(path_));
    EXPECT_EQ(sim.profile(), "entry");
}

} // namespace
