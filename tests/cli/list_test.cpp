// kvictl list takes the serial number as the basic section words it: the
// controller information's serial on OEM hosts, "NA" for the controller type
// that withholds it, else the manufacturing record's. (The manufacturing-serial
// operation of the controller-data layer answers the last one in every case,
// so list does not use it.)
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Run.h"

namespace {

using clitest::Result;
using clitest::runKvictl;

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
