#pragma once
// Shared by the patrol-read and consistency-check commands: the arguments of
// `set` (mode, delay, start, exclude, ...), validated before any request.
#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "cli/Doc.h"
#include "cli/Util.h"
#include "util/ArList.h"
#include "json/elements.h"

class AdapterDataKvi;

namespace cli {

// KEY=VALUE arguments with the keys a command allows; throws UsageError for
// an unknown or repeated key.
std::map<std::string, std::string> parseKeyValues(const std::vector<std::string>& args,
                                                  const std::vector<std::string>& keys,
                                                  const std::string& what);

// The settings both schedules take; each command adds its own keys beside them.
struct ScheduleSettings {
    bool hasMode = false, hasDelay = false, hasStart = false, hasExclude = false;
    unsigned char mode = 0;
    unsigned int delaySeconds = 0;
    std::tm start{};
    std::vector<unsigned short> exclude;
};

// Parses one of mode, delay, start and exclude into s (the modes are the
// command's own); false for any other key, which the caller handles.
bool parseScheduleSetting(const std::string& key, const std::string& value,
                          const std::vector<NamedValue>& modes, ScheduleSettings& s);

// What completion offers for the shared settings: mode=NAME for each mode,
// delay=, start=, exclude=.
std::vector<std::string> scheduleWords(const std::vector<NamedValue>& modes);

// A schedule as the controller holds it, in the terms of ScheduleSettings.
struct ScheduleNow {
    unsigned char mode = 0;
    unsigned int delaySeconds = 0; // 0xFFFFFFFF: no delay set
    std::tm start{};
    std::vector<unsigned short> exclude;
};

// The rows of the shared settings the user gave (mode, delay, start,
// exclude), old -> new; a null row is a setting not given. Only rows that
// differ from what the controller holds are sent.
struct ScheduleRows {
    ChangeReport::Row *mode = nullptr, *delay = nullptr, *start = nullptr, *exclude = nullptr;
};
ScheduleRows addScheduleRows(ChangeReport& report, const ScheduleSettings& want,
                             const ScheduleNow& now, const std::vector<NamedValue>& modes);
// The row exists and its value differs.
inline bool differs(const ChangeReport::Row* row) {
    return row != nullptr && row->differs();
}

// The excluded virtual drives in the list type the schedule setters take.
ArrayList<unsigned short> idList(const std::vector<unsigned short>& ids);

// The excluded virtual drives as an array of numbers.
json::Array idArray(const ArrayList<unsigned short>& list);
std::string idText(const ArrayList<unsigned short>& list);

// A firmware schedule time (seconds from the schedule epoch) as seconds since
// 1970, the way the controller's reports read it: the firmware counts from the
// epoch read as standard time, so a time that falls in summer time is one
// summer-time shift earlier than a plain conversion gives.
long long scheduleInstant(AdapterDataKvi& a, std::uint32_t seconds);

// The "Excluded" member: an array in JSON, a comma list (or "none") in text.
void excludedMember(Doc& d, const ArrayList<unsigned short>& list);

} // namespace cli
