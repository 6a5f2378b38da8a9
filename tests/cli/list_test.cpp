// kvictl list: every controller unless -c narrows it, and the serial number as
// the basic section words it: the controller information's serial on OEM
// hosts, "NA" for the controller type that withholds it, else the
// manufacturing record's. (The manufacturing-serial operation of the
// controller-data layer answers the last one in every case, so list does not
// use it.)
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "Run.h"

namespace {

using clitest::Result;
using clitest::runKvictl;

TEST(List, EveryControllerUnlessNarrowed) {
    struct Case {
        std::vector<std::string> args;
        std::vector<int> rows; // controller indices listed
    };
    const Case cases[] = {
        {{"--sim-controllers", "3", "--sim", "list"}, {0, 1, 2}},
        {{"--sim", "--sim-controllers", "3", "-c", "all", "list"}, {0, 1, 2}},
        {{"--sim", "--sim-controllers", "3", "-c", "1", "list"}, {1}},
        {{"--sim", "list"}, {0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args[c.args.size() - 2]);
        Result text = runKvictl(c.args);
        ASSERT_EQ(text.exitCode, 0) << text.err;
        // Header and rule, then one row per controller starting with its index.
        std::istringstream lines(text.out);
        std::string line;
        std::vector<int> rows;
        for (int n = 0; std::getline(lines, line); ++n)
            if (n >= 2)
                rows.push_back(std::stoi(line));
        EXPECT_EQ(rows, c.rows) << text.out;

        std::vector<std::string> args = c.args;
        args.insert(args.begin(), {"-o", "json"});
        Result json = runKvictl(args);
        nlohmann::json doc = nlohmann::json::parse(json.out);
        std::vector<int> indices;
        std::set<std::string> serials, pci;
        for (const auto& e : doc["controllers"]) {
            indices.push_back(e["index"].get<int>());
            EXPECT_EQ(e["status"]["name"], "optimal");
            serials.insert(e["serial_number"].get<std::string>());
            pci.insert(e["pci_address"].get<std::string>());
        }
        EXPECT_EQ(indices, c.rows);
        EXPECT_EQ(serials.size(), c.rows.size()); // each controller told apart
        EXPECT_EQ(pci.size(), c.rows.size());
    }
    Result none = runKvictl({"--sim", "--sim-controllers", "3", "-c", "3", "list"});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_NE(none.err.find("no such controller"), std::string::npos);
}

TEST(List, SerialNumberFollowsTheBasicSection) {
    struct SerialCase {
        const char* name;
        const char* profile;
        const char* serial;
    };
    const SerialCase cases[] = {
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
    };
    for (const SerialCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::string profile = clitest::tempPath("serial.json");
        clitest::writeFile(profile, c.profile);
        Result json = runKvictl({"--sim=" + profile, "-o", "json", "list"});
        ASSERT_EQ(0, json.exitCode) << json.err;
        nlohmann::json doc = nlohmann::json::parse(json.out, nullptr, false);
        ASSERT_FALSE(doc.is_discarded()) << json.out;
        // JSON says null where the report says "NA".
        const nlohmann::json serial = doc["controllers"][0]["serial_number"];
        EXPECT_EQ(std::string(c.serial) == "NA" ? nlohmann::json() : nlohmann::json(c.serial),
                  serial);

        Result text = runKvictl({"--sim=" + profile, "list"});
        ASSERT_EQ(0, text.exitCode) << text.err;
        EXPECT_NE(std::string::npos, text.out.find(std::string("  ") + c.serial + "  "))
            << text.out;
        Result basic = runKvictl({"--sim=" + profile, "show", "basic"});
        EXPECT_NE(std::string::npos,
                  basic.out.find(std::string("Serial Number                = ") + c.serial))
            << basic.out;
    }
}

} // namespace
