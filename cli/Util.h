#pragma once
// Argument parsing and formatting shared by the command groups. Every parser
// throws UsageError with a message that names the argument and what is wanted.
#include <cstdint>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "json/elements.h"

namespace cli {

// An unsigned integer in [min, max]; decimal or 0x-hex. `what` names the argument.
unsigned long long parseUnsigned(const std::string& text, unsigned long long min,
                                 unsigned long long max, const std::string& what);
// on/off, true/false, yes/no, enabled/disabled, 1/0.
bool parseSwitch(const std::string& text, const std::string& what);
// "YYYY-MM-DD HH:MM" (or "YYYY-MM-DDTHH:MM") in local time; tm_isdst = -1.
std::tm parseLocalTime(const std::string& text, const std::string& what);
// "YYYY-MM-DD HH:MM".
std::string formatLocalTime(const std::tm& tm);
// An instant: local time "YYYY-MM-DD[ HH:MM[:SS]]" (or 'T' for the space), or
// ISO 8601 with a zone: "...THH:MM[:SS]Z" or "+HH:MM"/"-HH:MM" (also "+HHMM",
// "+HH"). Seconds since 1970.
std::time_t parseInstant(const std::string& text, const std::string& what);

// A comma-separated list of ids in [0, max] ("" or "none" = empty).
std::vector<unsigned short> parseIdList(const std::string& text, unsigned max,
                                        const std::string& what);
// NAME=VALUE; throws for a missing '='.
std::pair<std::string, std::string> splitAssignment(const std::string& text);
// "rebuild-rate" -> "rebuild_rate".
std::string snakeCase(const std::string& kebab);
// Lowercase hexadecimal of bytes.
std::string hexBytes(const std::uint8_t* data, std::size_t length);

// A name from a fixed table of names and values.
struct NamedValue {
    const char* name;
    unsigned value;
};
unsigned parseNamed(const std::string& text, const std::vector<NamedValue>& names,
                    const std::string& what);
// The name of a value, or the number as text.
std::string nameOf(unsigned value, const std::vector<NamedValue>& names);
std::string joinNames(const std::vector<NamedValue>& names);

// ---- event records (256 bytes each, after an 8-byte list head) ----
constexpr std::uint32_t kEventRecordSize = 256;
constexpr std::uint32_t kEventHeadSize = 8;

struct EventRecord {
    std::uint32_t seqNum = 0;
    std::uint32_t timeStamp = 0;
    std::uint32_t code = 0;
    std::uint16_t locale = 0;
    std::int8_t eventClass = 0;
    std::string description;
};
EventRecord decodeEvent(const std::uint8_t* record);
// "-2 debug" .. "4 dead": stable lowercase class tokens.
const char* eventClassName(int eventClass);
// Parses a class name or number (-2..4).
int parseEventClass(const std::string& text);
// Whether a time stamp counts seconds from controller boot (top byte 0xFF;
// the low 24 bits are the seconds) rather than from the schedule epoch.
inline bool bootRelative(std::uint32_t timeStamp) {
    return (timeStamp >> 24) == 0xFF;
}
// The instant of a time stamp counted from the schedule epoch (seconds since
// 1970); meaningless for a boot-relative stamp.
std::time_t eventInstant(std::uint32_t timeStamp);
// The event time in local time ("YYYY-MM-DD HH:MM:SS"), or "boot+N s" for a
// time stamp counted from controller boot.
std::string eventTime(std::uint32_t timeStamp);
// The event as JSON: sequence, time (ISO 8601 with the offset) and
// time_epoch_seconds, or both null and seconds_since_boot for a time stamp
// counted from boot; class, locale, code, description. addEventJson appends
// them to `o`, so a caller can put its own members first.
void addEventJson(json::Object& o, const EventRecord& e);
json::Object eventJson(const EventRecord& e);

// Local midnight of 1 January 2000 in standard time, seconds since 1970.
long long scheduleEpoch();

} // namespace cli
