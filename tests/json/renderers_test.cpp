// The text and JSON renderers: golden output for a document with every
// element kind and for the output envelope, string escaping, and a round trip
// through a real JSON parser.
//
// Set KVI_UPDATE_GOLDEN=1 to rewrite the golden files from the current output.
#include "tests/support/TestData.h"
#include "json/Envelope.h"
#include "json/JsonWriter.h"
#include "json/TextWriter.h"
#include "json/elements.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using json::Array;
using json::Boolean;
using json::Envelope;
using json::JsonWriter;
using json::Null;
using json::Number;
using json::Object;
using json::String;
using json::TextWriter;
using json::UnknownElement;
using json::UNumber;
using Ordered = nlohmann::ordered_json;

using Members = std::initializer_list<std::pair<const char*, UnknownElement>>;
Object Of(Members members) {
    Object o;
    for (const auto& m : members)
        o[m.first] = m.second;
    return o;
}
Array ArrayOf(std::initializer_list<UnknownElement> items) {
    Array a;
    for (const UnknownElement& e : items)
        a.Insert(e);
    return a;
}

// One section with every kind of element, nesting and table the reports use.
Object SampleSection() {
    const Object active = Of({{"FW Version", String("5.1.0-0042")}});
    // clang-format off
    Object s = Of({
        {"Model", String("Example 16i")}, {"Vendor Id", Number(0x1000, Number::HexDump)},
        {"SubVendor Id", Number(0x1d, Number::HexDump)},
        {"Bus Number", Number(59)}, {"Temperature Offset", Number(-3)}, {"Plain Count", Number(1234567, Number::NoDecimal)},
        {"Largest Counter", UNumber(18446744073709551615ULL)}, {"SAS Address", UNumber(0x500605b0000272f0ULL, UNumber::HexDump)},
        {"Alarm Present", Boolean(true)}, {"Cache Dirty", Boolean(false)}, {"Not Reported", Null()},
        {"Location", String("Bay \"3\" \\ rack\tA")}, {"Empty Text", String("")}, {"Note", String("Größe ✓ 温度")},
        {"Active Firmware", active}, {"Backup Firmware", Object()},
        {"Hardware", Of({{"Memory", Of({{"Size", String("4096MB")}})}, {"Sensors", Number(2)}})},
        {"Details", ArrayOf({Of({{"Name", String("Firmware Version")}, {"Version", String("5.1.0-0042")}}),
                             Of({{"Name", String("NVDATA Version")}, {"Comment", String("no version")}})})},
        {"Supported RAID Levels", ArrayOf({Number(0), Number(1), Number(5), Number(6)})}, {"Excluded Drives", Array()},
        {"Policies", ArrayOf({Of({{"Policy", String("Rebuild Rate")}, {"Current", String("30 %")},
                                  {"Limits", Of({{"min", Number(0)}, {"max", Number(100)}})}})})},
        {"Mixed", ArrayOf({String("first"), active, ArrayOf({Number(1), Null()})})}, // text, object and array side by side
    });
    // clang-format on
    s["Model"] = String("Example 16i"); // rewritten: keeps its first place
    return s;
}

void ExpectGolden(const std::string& name, const std::string& actual) {
    EXPECT_EQ(kvitest::golden("tests/golden/json/" + name, actual), actual)
        << "golden file " << name;
}

TEST(Renderers, TextPrettyAndCompactMatchTheirGoldens) {
    ExpectGolden("section.txt", TextWriter::ToString(SampleSection(), "Basics"));
    ExpectGolden("section.json", JsonWriter::ToString(SampleSection(), JsonWriter::Pretty) + "\n");
    const std::string compact = JsonWriter::ToString(SampleSection(), JsonWriter::Compact);
    EXPECT_EQ(std::string::npos, compact.find('\n'));
    ExpectGolden("section.compact.json", compact + "\n");
    // Both JSON forms parse to the same document (the member order is the goldens').
    EXPECT_EQ(Ordered::parse(compact),
              Ordered::parse(JsonWriter::ToString(SampleSection(), JsonWriter::Pretty)));
}

TEST(Renderers, EdgesOfTextAndTopLevelValues) {
    Object s;
    s["A"] = Number(1);
    EXPECT_EQ("A = 1\n", TextWriter::ToString(s, ""));
    EXPECT_EQ("T\n=\n", TextWriter::ToString(Object(), "T"));
    EXPECT_EQ("null", JsonWriter::ToString(UnknownElement()));
    EXPECT_EQ("{}", JsonWriter::ToString(Object()));
    EXPECT_EQ("[]", JsonWriter::ToString(Array(), JsonWriter::Compact));
    EXPECT_EQ("\"0xFFFFFFFFFFFFFFFF\"",
              JsonWriter::ToString(UnknownElement(Number(-1, Number::HexDump))));
    EXPECT_EQ("-9223372036854775808", JsonWriter::ToString(UnknownElement(Number(LONG_MIN))));
}

const std::string kFFFD = "\xEF\xBF\xBD";

TEST(Renderers, QuoteEscapesAndRepairsUtf8) {
    const std::pair<std::string, std::string> cases[] = {
        // clang-format off
        {"a\"b\\c", "\"a\\\"b\\\\c\""}, {"\b\f\n\r\t", "\"\\b\\f\\n\\r\\t\""},
        {std::string("\x00\x01\x1b\x1f", 4), "\"\\u0000\\u0001\\u001b\\u001f\""}, {"\x7f/", "\"\x7f/\""},
        {"Gr\xC3\xB6\xC3\x9F" "e \xE2\x9C\x93 \xF0\x9F\x98\x80", "\"Gr\xC3\xB6\xC3\x9F" "e \xE2\x9C\x93 \xF0\x9F\x98\x80\""},
        {"\xE2\x80\xA8", "\"\xE2\x80\xA8\""}, {"a\x80" "b", "\"a" + kFFFD + "b\""}, {"\xFF\xFE", "\"" + kFFFD + kFFFD + "\""},
        {"x\xE2\x82", "\"x" + kFFFD + "\""}, {"\xE2\x82\"", "\"" + kFFFD + "\\\"\""}, {"\xC0\xAF", "\"" + kFFFD + kFFFD + "\""},
        {"\xE0\x80\xAF", "\"" + kFFFD + kFFFD + kFFFD + "\""}, {"\xED\xA0\x80", "\"" + kFFFD + kFFFD + kFFFD + "\""},
        {"\xF4\x90\x80\x80", "\"" + kFFFD + kFFFD + kFFFD + kFFFD + "\""}, {"\xF4\x8F\xBF\xBF", "\"\xF4\x8F\xBF\xBF\""},
        // clang-format on
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.second, JsonWriter::Quote(c.first)) << c.second;
}

TEST(Renderers, PrintableNeutralisesControlsAndCountsCharacters) {
    const struct {
        std::string raw, printable;
        std::size_t width;
    } cases[] = {
        // clang-format off
        {"a \"b\" \\c  ", "a \"b\" \\c  ", 10}, {"a\nb\x1b[2J", "a\\x0Ab\\x1B[2J", 13}, {"\x7f", "\\x7F", 4},
        {"\xC2\x9B" "1m", "\\u009B1m", 8}, {"Gr\xC3\xB6\xC3\x9F" "e", "Gr\xC3\xB6\xC3\x9F" "e", 5}, {"a\xFF", "a" + kFFFD, 2},
        // clang-format on
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.printable, TextWriter::Printable(c.raw));
        EXPECT_EQ(c.width, TextWriter::Width(TextWriter::Printable(c.raw))) << c.printable;
    }
}

TEST(Renderers, HostileStringsSurviveTheRoundTrip) {
    std::string everyByte;
    for (int c = 1; c < 0x80; ++c) {
        everyByte += static_cast<char>(c);
    }
    const std::string valid[] = {everyByte,       std::string("nul\0inside", 10),
                                 "\"}],{\"x\":1", "\\u0041 is not decoded",
                                 "</script>",     "\xE2\x80\xA8\xE2\x80\xA9"};
    for (const std::string& text : valid) {
        Object o;
        o[text] = String(text); // hostile keys too
        const Ordered parsed = Ordered::parse(JsonWriter::ToString(o, JsonWriter::Compact));
        ASSERT_EQ(1u, parsed.size());
        EXPECT_EQ(text, parsed.begin().key());
        EXPECT_EQ(text, parsed.begin().value().get<std::string>());
    }
}

// The output envelope in both styles: fixed top-level order, messages and controllers in the order
// added, references handed out earlier still usable after later additions. A plain envelope, as
// every command writes it, is in the command-line goldens.
TEST(Envelope, MessagesAndControllersAccumulateInOrder) {
    Envelope envelope("0.1.0", {"kvictl", "show", "all"});
    Object& first = envelope.AddController(0, 0, "optimal", "Controller is optimal");
    envelope.AddMessage(Envelope::Warning, "section_failed", "Boot: status 34");
    Object& second = envelope.AddController(1, 3, "needs_attention", "Degraded drives");
    Object sections;
    sections["Basics"] = Object();
    first["sections"] = sections;
    Envelope::AddMessage(second, Envelope::Error, "firmware_status", "status 34");
    envelope.AddMessage(Envelope::Info, "note", "done");
    envelope.SetExitStatus(1);
    std::ostringstream pretty, compact;
    envelope.Write(pretty, JsonWriter::Pretty);
    envelope.Write(compact, JsonWriter::Compact);
    ExpectGolden("envelope.json", pretty.str() + "\n" + compact.str() + "\n");
    // A messages member that is not an array is replaced in its place.
    Object holder;
    holder["messages"] = String("stale");
    holder["after"] = Number(1);
    Envelope::AddMessage(holder, Envelope::Info, "c", "t");
    EXPECT_EQ(R"({"messages":[{"severity":"info","code":"c","text":"t"}],"after":1})",
              JsonWriter::ToString(holder, JsonWriter::Compact));
}

} // namespace
