#pragma once
// Typed values of the report sections, for scripts.
//
// In JSON every section keeps its ordered members (the report's own texts)
// and gains a last member "values": one snake_case key per member, the value
// as a JSON type. Each section file holds one table that maps its members to
// typed values: a row {report key, values key, kind}. The typed value is read
// from the member the section wrote, never from the records again, so the
// report and its values cannot disagree.
//
// Conventions of the values keys: numbers in base units with the unit last
// in the key (_bytes, _seconds, _microseconds for sub-second intervals,
// _percent, _celsius, _transfers_per_second, _lanes); booleans as true and
// false; times as ISO 8601 local time with the UTC offset under the key and
// the same instant as epoch seconds under key_epoch_seconds; dates as
// "YYYY-MM-DD"; PCI addresses as "dddd:bb:dd.f" (lowercase hex);
// enumerations as lowercase tokens (the report text, every run of other
// characters one "_": "Needs Attention" -> "needs_attention").
//
// A key is present whenever its member is, and null where the report shows
// no value: "NA", "N/A", an empty text, or a word where a number stands
// ("Continuous", "Unknown").
#include <cstddef>
#include <string>
#include <vector>

#include "json/elements.h"

namespace kvi {
namespace reports {

struct ValueTable;

enum class Kind : unsigned char {
    Bool,       // Yes/No, On/Off, Present/Absent, Enable(d)/Disable(d),
                // Supported/Not Supported, Available/Not Available
    Integer,    // the member's number, or the first number of its text, times `unit`
    HexInteger, // the first number of the text read in hexadecimal ("X10" is 16)
    Size,       // bytes: a size text with its unit ("128KB", "16.00 GB") times
                // `textUnit`, or a number times `unit`
    Duration,   // seconds: "300 sec", "4s", "672 hrs", or a number times `unit`
    Rate,       // per second: the "8GT/s" (transfers) or "12.0 Gbps" (bits) of a text
    LocalTime,  // "MM/DD/YYYY[,] HH:MM:SS" in the local zone: ISO 8601 and epoch seconds
    Date,       // "MM/DD/YY" (years from 2000): "YYYY-MM-DD"; month or day 0 is null
    Pci,        // "dd:bb:dd:ff" (hex domain, bus, device, function): "dddd:bb:dd.f"
    Token,      // an enumeration as a lowercase token
    Tokens,     // a list of tokens: an array of texts or of one-member rows, or the
                // words of a text; the single word "None" is the empty list
    Text,       // the text without surrounding blanks
    Object,     // an object member, typed by the `sub` table
    Table,      // an array of row objects, each typed by `sub`; a text in its
                // place (the report's "none" line) is the empty array
    Pivot,      // an array of rows whose first column names the row: an object
                // with one member per row, keyed by the `sub` row of that name,
                // holding the other columns typed by that row's kind
    Skip,       // as a table's fallback: no default rule (every member needs a row)
};

constexpr unsigned long long kKiB = 1024ULL;
constexpr unsigned long long kMiB = 1024ULL * kKiB;
constexpr unsigned long long kGiB = 1024ULL * kMiB;
constexpr unsigned long long kMinute = 60;
constexpr unsigned long long kHour = 3600;

struct ValueRow {
    const char* report; // the member's report key; alternatives separated by '|'
    const char* key;    // the values key
    Kind kind;
    const ValueTable* sub = nullptr; // Object, Table, Pivot
    unsigned long long unit = 1;     // what one of a bare number counts in the key's unit
    unsigned long long textUnit = 1; // Size: what one byte of a size text counts
};

struct ValueTable {
    const ValueRow* rows;
    std::size_t count;
    // The default rule of a long uniform section: a member without a row is
    // typed by this kind under its report key in snake_case. Skip: no default.
    Kind fallback;
    const ValueTable* next; // rows of a section appended to this one, or null
};

template <std::size_t N>
constexpr ValueTable valueTable(const ValueRow (&rows)[N], Kind fallback = Kind::Skip,
                                const ValueTable* next = nullptr) {
    return ValueTable{rows, N, fallback, next};
}

// The values object of a built section (or of a row of it). Members that the
// table does not cover, and texts that do not read as their kind, are named
// in `untyped` when it is given.
json::Object typedValues(const ValueTable& table, const json::Object& section,
                         std::vector<std::string>* untyped = nullptr);

// One text of the controller-data layer typed by `kind` (a scalar kind), for
// the tool's own JSON: null where the text shows no value.
json::UnknownElement typedValue(Kind kind, const std::string& text);

// "Needs Attention" -> "needs_attention": lowercase ASCII, every run of other
// characters one "_", none at either end. The default rule's key and the
// form of every token.
std::string snakeToken(const std::string& text);

// The tables of the sections, each beside the code that builds its section.
extern const ValueTable kSummaryValues;
extern const ValueTable kBasicValues;
extern const ValueTable kVersionValues;
extern const ValueTable kBusValues;
extern const ValueTable kPendingImagesValues;
extern const ValueTable kDualImagesValues;
extern const ValueTable kStatusValues;
extern const ValueTable kAdapterOpsValues;
extern const ValueTable kPdOpsValues;
extern const ValueTable kVdOpsValues;
extern const ValueTable kEkmValues;
extern const ValueTable kHwConfigValues;
extern const ValueTable kPoliciesValues;
extern const ValueTable kBootValues;
extern const ValueTable kClusterValues;
extern const ValueTable kTasksValues;
extern const ValueTable kSecureBootValues;
extern const ValueTable kDefaultsValues;
extern const ValueTable kCapabilitiesValues;

} // namespace reports
} // namespace kvi
