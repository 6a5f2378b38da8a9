// Tables of the report value helpers: firmware times as local text in a zone
// with summer time, the converters of the typed section values over texts the
// golden profiles do not show, and byte counts as text.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "RaidLib/RaidFw/Kvi/reports/SizeUnits.h"
#include "RaidLib/RaidFw/Kvi/reports/Values.h"
#include "tests/support/TzGuard.h"
#include "json/JsonWriter.h"

namespace {

// Beyond the years a broken-down local time can hold: localtime_r fails.
constexpr std::time_t kUnconvertibleTime = static_cast<std::time_t>(1000000000000000000LL);

// Firmware times as local text: each conversion that fails gives "NA", the
// first one (epoch plus seconds) and, in summer time, the second one (less the
// summer shift). The epoch answers of successive calls come from the row.
constexpr std::int64_t kEpochUtc = 946684800;  // 2000-01-01 00:00 UTC
constexpr std::int64_t kEpochCet = 946681200;  // 2000-01-01 00:00 CET
constexpr std::uint32_t kJuly2025 = 804682800; // 2025-07-01 11:00 standard time
constexpr const char* kCet = "CET-1CEST,M3.5.0,M10.5.0/3";
using kvi::reports::DateForm;

TEST(FirmwareTime, ConvertsOrSaysNA) {
    const struct {
        const char* zone;
        std::vector<std::int64_t> epochs; // answer of the n-th epoch call (the last repeats)
        std::uint32_t seconds;
        DateForm form;
        const char* expected;
        int shiftCalls;
    } cases[] = {
        // Winter time converts once; a failing first conversion says NA.
        {"UTC0", {kEpochUtc}, 3661, DateForm::Comma, "01/01/2000, 01:01:01", 0},
        {"UTC0", {kUnconvertibleTime}, 5, DateForm::Comma, "NA", 0},
        // Summer time converts again less the shift, which may fail too.
        {kCet, {kEpochCet}, kJuly2025 + 37 * 60, DateForm::HourOnly, "07/01/2025, 11:00:00", 1},
        {kCet, {kEpochCet, kUnconvertibleTime}, kJuly2025, DateForm::Comma, "NA", 1},
    };
    for (const auto& c : cases) {
        kvitest::TzGuard tz(c.zone);
        std::size_t epochCalls = 0;
        int shiftCalls = 0;
        const std::string text = kvi::reports::firmwareTimeText(
            [&] { return c.epochs[std::min(epochCalls++, c.epochs.size() - 1)]; },
            [&] { return ++shiftCalls, 3600; }, c.seconds, c.form);
        EXPECT_EQ(text, c.expected) << c.seconds;
        EXPECT_EQ(shiftCalls, c.shiftCalls) << c.seconds;
    }
}

// The converters of the typed section values over texts the golden profiles do
// not show: one member "M" typed by one row (or by the default rule), with the
// values object it gives and whether the member is reported as untyped.
namespace values {
using kvi::reports::Kind;
using kvi::reports::ValueRow;
using kvi::reports::ValueTable;
const ValueRow kPolicyRows[] = {{"Rate", "rate_percent", Kind::Integer}};
const ValueTable kPolicy = kvi::reports::valueTable(kPolicyRows);
json::Array policyTable(const char* name) {
    json::Object row;
    row["Policy"] = json::String(name);
    row["Current"] = json::String("30 %");
    row["Default"] = json::String("");
    json::Array a;
    a.Insert(row);
    return a;
}
struct Case {
    ValueRow row;
    json::UnknownElement member;
    const char* values;
    bool untyped = false;
    Kind fallback = Kind::Skip;
};
// clang-format off
const std::vector<Case> kCases = {
    {{"M", "m", Kind::Size}, json::String("1023.99 MB"), R"({"m":1073731338})"},
    // The cache size: GiB as a number, KiB printed as bytes as a text.
    {{"M", "m", Kind::Size, nullptr, kvi::reports::kGiB, kvi::reports::kKiB}, json::String("1.00 MB"), R"({"m":1073741824})"},
    // A unit name that begins a word is no unit: the first number a unit follows.
    {{"M", "m", Kind::Size}, json::String("1 Bank, 512 MB"), R"({"m":536870912})"},
    {{"M", "m", Kind::Duration}, json::String("4s"), R"({"m":4})"},
    {{"M", "m", Kind::Rate}, json::String("0x07 (Unrecognized Link Rate)"), R"({"m":null})"},
    {{"M", "m", Kind::Bool}, json::String("Not Supported"), R"({"m":false})"},
    {{"M", "m", Kind::Bool}, json::String("Maybe"), R"({"m":null})", true},
    {{"M", "m", Kind::LocalTime}, json::String("07/01/2026, 12:00:00"),
     R"({"m":"2026-07-01T12:00:00+00:00","m_epoch_seconds":1782907200})"},
    {{"M", "m", Kind::LocalTime}, json::String("NA"), R"({"m":null,"m_epoch_seconds":null})"},
    {{"M", "m", Kind::LocalTime}, json::String("12/31/1969, 23:59:58"),
     R"({"m":"1969-12-31T23:59:58+00:00","m_epoch_seconds":-2})"},
    {{"M", "m", Kind::LocalTime}, json::String("13/01/2026, 12:00:00"), R"({"m":null,"m_epoch_seconds":null})", true},
    {{"M", "m", Kind::Pivot, &kPolicy}, policyTable("Rate"), R"({"m":{"rate_percent":{"current":30,"default":null}}})"},
    {{"M", "m", Kind::Pivot, &kPolicy}, policyTable("Other"), R"({"m":{}})", true},
    {{"Other", "o", Kind::Text}, json::String("Yes"), R"({"m":true})", false, Kind::Bool},
    {{"Other", "o", Kind::Text}, json::String("Yes"), R"({})", true},
};
// clang-format on
} // namespace values

TEST(SectionValues, ConvertersReadTheReportTexts) {
    for (const values::Case& c : values::kCases) {
        json::Object section;
        section["M"] = c.member;
        const values::ValueTable table{&c.row, 1, c.fallback, nullptr};
        std::vector<std::string> untyped;
        const json::Object typed = kvi::reports::typedValues(table, section, &untyped);
        const std::string text = json::JsonWriter::ToString(typed, json::JsonWriter::Compact);
        EXPECT_EQ(text, c.values) << json::JsonWriter::ToString(c.member);
        EXPECT_EQ(!untyped.empty(), c.untyped) << text;
    }
}

// Byte counts as text with one 1024-based unit, truncated to two decimals.
TEST(ConvertSizetoUnits, PicksTheLargestUnitAndTruncatesToTwoDecimals) {
    const struct {
        unsigned long long bytes;
        const char* text;
    } cases[] = {
        // clang-format off
        {0, "0 B"}, {512, "512 B"}, {1023, "1023 B"}, {1024, "1.00 KB"}, {1536, "1.50 KB"}, {1024 * 1024 - 1, "1023.99 KB"},
        {4194304, "4.00 MB"}, {1073741823ULL, "1023.99 MB"}, {3ULL << 30, "3.00 GB"}, {(5ULL << 40) + (1ULL << 39), "5.50 TB"},
        {1ULL << 50, "1.00 PB"}, {1ULL << 60, "1.00 EB"}, {~0ULL, "15.99 EB"},
        // clang-format on
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ConvertSizetoUnits(c.bytes), c.text) << c.bytes;
        char out[kSizeTextMax];
        std::memset(out, 'x', sizeof out);
        ConvertSizetoUnits(c.bytes, out);
        EXPECT_STREQ(out, c.text);
    }
    ConvertSizetoUnits(1, nullptr); // no effect, no crash
}

} // namespace
