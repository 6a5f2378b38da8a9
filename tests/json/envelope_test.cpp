// The JSON output envelope: one valid document, fixed top-level order,
// incremental messages and controllers. A plain envelope, as every command
// writes it, is in the command-line goldens (tests/golden/cli/*.json).
#include "json/Envelope.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

namespace {

using json::Envelope;
using json::JsonWriter;
using Ordered = nlohmann::ordered_json;

std::vector<std::string> Keys(const Ordered& j) {
    std::vector<std::string> keys;
    for (auto it = j.begin(); it != j.end(); ++it) {
        keys.push_back(it.key());
    }
    return keys;
}

std::string Render(const Envelope& envelope, JsonWriter::Style style) {
    std::ostringstream os;
    envelope.Write(os, style);
    return os.str();
}

TEST(Envelope, MessagesAndControllersAccumulateInOrder) {
    Envelope envelope("0.1.0", {"kvictl", "show", "all"});
    json::Object& first = envelope.AddController(0, 0, "optimal", "Controller is optimal");
    envelope.AddMessage(Envelope::Warning, "section_failed", "Boot: status 34");
    json::Object& second = envelope.AddController(1, 3, "needs_attention", "Degraded drives");
    // References handed out earlier stay usable after later additions.
    json::Object sections;
    sections["Basics"] = json::Object();
    first["sections"] = sections;
    Envelope::AddMessage(second, Envelope::Error, "firmware_status", "status 34");
    envelope.AddMessage(Envelope::Info, "note", "done");
    envelope.SetExitStatus(1);

    for (JsonWriter::Style style : {JsonWriter::Pretty, JsonWriter::Compact}) {
        const Ordered doc = Ordered::parse(Render(envelope, style));
        EXPECT_EQ((std::vector<std::string>{"format_version", "kvictl", "messages", "controllers"}),
                  Keys(doc));
        EXPECT_EQ(1, doc["kvictl"]["exit_status"]);
        EXPECT_EQ(Ordered::parse(R"([
            {"severity": "warning", "code": "section_failed", "text": "Boot: status 34"},
            {"severity": "info", "code": "note", "text": "done"}])"),
                  doc["messages"]);
        ASSERT_EQ(2u, doc["controllers"].size());
        const Ordered& c0 = doc["controllers"][0];
        EXPECT_EQ((std::vector<std::string>{"index", "status", "sections"}), Keys(c0));
        EXPECT_EQ(0, c0["index"]);
        EXPECT_EQ(Ordered::parse(
                      R"({"code": 0, "name": "optimal", "description": "Controller is optimal"})"),
                  c0["status"]);
        EXPECT_EQ((std::vector<std::string>{"code", "name", "description"}), Keys(c0["status"]));
        EXPECT_TRUE(c0["sections"]["Basics"].is_object());
        const Ordered& c1 = doc["controllers"][1];
        EXPECT_EQ((std::vector<std::string>{"index", "status", "messages"}), Keys(c1));
        EXPECT_EQ(1, c1["index"]);
        EXPECT_EQ("needs_attention", c1["status"]["name"]);
        EXPECT_EQ("error", c1["messages"][0]["severity"]);
    }
}

TEST(Envelope, MessagesMemberThatIsNotAnArrayIsReplaced) {
    json::Object holder;
    holder["messages"] = json::String("stale");
    holder["after"] = json::Number(1);
    Envelope::AddMessage(holder, Envelope::Info, "c", "t");
    const Ordered doc = Ordered::parse(JsonWriter::ToString(holder));
    EXPECT_EQ((std::vector<std::string>{"messages", "after"}), Keys(doc));
    EXPECT_EQ(1u, doc["messages"].size());
}

} // namespace
