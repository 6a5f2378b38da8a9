// kvictl list: every controller unless -c narrows it (as metrics and check),
// and the serial number as the basic section words it: the controller
// information's serial on OEM hosts, "NA" for the controller type that
// withholds it, else the manufacturing record's. (The manufacturing-serial
// operation of the controller-data layer answers the last one in every case,
// so list does not use it.)
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "Run.h"

namespace {

using clitest::Result;
using clitest::runKvictl;

// list, metrics and check work on every controller unless -c narrows them
// (other commands on controller 0): which controllers each names.
TEST(List, ListMetricsAndCheckCoverEveryControllerUnlessNarrowed) {
    // What each command prints for controller i that it read.
    const std::map<std::string, std::function<std::string(int)>> mark = {
        {"list", [](int i) { return "\n" + std::to_string(i) + "      KV 9480-16i"; }},
        {"metrics", [](int i) { return "kvictl_up{controller=\"" + std::to_string(i) + "\"} 1"; }},
        {"check", [](int i) { return "c" + std::to_string(i) + " KV 9480-16i: ok"; }},
    };
    struct Selection {
        std::vector<std::string> select;
        std::set<int> read;
    };
    const Selection selections[] = {
        {{}, {0, 1, 2}},
        {{"-c", "all"}, {0, 1, 2}},
        {{"-c", "1"}, {1}},
    };
    for (const auto& [command, marker] : mark)
        for (const Selection& s : selections) {
            SCOPED_TRACE(command + (s.select.empty() ? "" : " -c " + s.select[1]));
            std::vector<std::string> args = {"--sim-controllers", "3", "--sim"};
            args.insert(args.end(), s.select.begin(), s.select.end());
            args.push_back(command);
            Result r = runKvictl(args);
            ASSERT_EQ(r.exitCode, 0) << r.err;
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(r.out.find(marker(i)) != std::string::npos, s.read.count(i) == 1)
                    << i << "\n"
                    << r.out;
        }
    // Each controller told apart; an index beyond them refused.
    nlohmann::json doc = nlohmann::json::parse(
        runKvictl({"--sim", "--sim-controllers", "3", "-o", "json", "list"}).out);
    std::set<std::string> serials, pci;
    for (const auto& e : doc["controllers"]) {
        serials.insert(e["serial_number"].get<std::string>());
        pci.insert(e["pci_address"].get<std::string>());
    }
    EXPECT_EQ(serials.size(), 3u);
    EXPECT_EQ(pci.size(), 3u);
    Result none = runKvictl({"--sim", "--sim-controllers", "3", "-c", "3", "list"});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_NE(none.err.find("no such controller"), std::string::npos);
}

// The serial as the basic section words it; the model from the controller
// information, as metrics and check take it, also when the manufacturing
// record cannot be read (then the serial is unknown and list exits 1).
TEST(List, IdentityFollowsTheBasicSectionAndMetrics) {
    struct IdentityCase {
        const char* name;
        const char* profile;
        const char* serial; // nullptr: unknown
        int exit = 0;
    };
    const IdentityCase cases[] = {
        {"manufacturing record",
         R"({"base": "default", "records": {"KV_CTRL_INFO": {"serialNo": "INFOSN-0001"},
             "KV_MFC_MFG": {"sn": "MFGSN-0002"}}})",
         "MFGSN-0002"},
        {"OEM host: controller information",
         R"({"base": "default", "isOEMhp": true, "records": {"KV_CTRL_INFO": {"serialNo": "INFOSN-0001"},
             "KV_MFC_MFG": {"sn": "MFGSN-0002"}}})",
         "INFOSN-0001"},
        {"withholding controller type",
         R"({"base": "default", "controllerType": 1, "records": {"KV_MFC_MFG": {"sn": "MFGSN-0002"}}})",
         "NA"},
        {"manufacturing record unreadable",
         R"({"base": "default", "fail": {"KV_DCMD_CTRL_MFC_MFG_GET": 4}})", nullptr, 1},
    };
    for (const IdentityCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::string profile = clitest::tempPath("serial.json");
        clitest::writeFile(profile, c.profile);
        Result json = runKvictl({"--sim=" + profile, "-o", "json", "list"});
        ASSERT_EQ(c.exit, json.exitCode) << json.err;
        nlohmann::json doc = nlohmann::json::parse(json.out, nullptr, false);
        ASSERT_FALSE(doc.is_discarded()) << json.out;
        // JSON says null where the report says "NA".
        const nlohmann::json serial = doc["controllers"][0]["serial_number"];
        const bool known = c.serial != nullptr && std::string(c.serial) != "NA";
        EXPECT_EQ(known ? nlohmann::json(c.serial) : nlohmann::json(), serial);
        EXPECT_EQ(nlohmann::json("KV 9480-16i"), doc["controllers"][0]["model"]);

        Result text = runKvictl({"--sim=" + profile, "list"});
        ASSERT_EQ(c.exit, text.exitCode) << text.err;
        EXPECT_NE(std::string::npos, text.out.find("0      KV 9480-16i  ")) << text.out;
        Result metrics = runKvictl({"--sim=" + profile, "metrics"});
        EXPECT_NE(std::string::npos, metrics.out.find(R"(model="KV 9480-16i")")) << metrics.out;
        if (c.serial == nullptr)
            continue;
        EXPECT_NE(std::string::npos, text.out.find(std::string("  ") + c.serial + "  "))
            << text.out;
        Result basic = runKvictl({"--sim=" + profile, "show", "basic"});
        EXPECT_NE(std::string::npos,
                  basic.out.find(std::string("Serial Number                = ") + c.serial))
            << basic.out;
    }
}

} // namespace
