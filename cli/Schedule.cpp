// The `set` arguments and the excluded-drive lists shared by the patrol-read
// and consistency-check commands.
#include "cli/Schedule.h"

#include <algorithm>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Doc.h"
#include "util/Iso8601.h"

namespace cli {

std::map<std::string, std::string> parseKeyValues(const std::vector<std::string>& args,
                                                  const std::vector<std::string>& keys,
                                                  const std::string& what) {
    std::map<std::string, std::string> out;
    for (const std::string& a : args) {
        auto [k, v] = splitAssignment(a);
        bool known = false;
        for (const std::string& key : keys)
            known = known || key == k;
        if (!known) {
            std::string list;
            for (const std::string& key : keys)
                list += (list.empty() ? "" : ", ") + key;
            throw UsageError(what + ": unknown setting '" + k + "' (settings: " + list + ")");
        }
        if (!out.emplace(k, v).second)
            throw UsageError(what + ": '" + k + "' is given twice");
    }
    return out;
}

bool parseScheduleSetting(const std::string& key, const std::string& value,
                          const std::vector<NamedValue>& modes, ScheduleSettings& s) {
    if (key == "mode") {
        s.hasMode = true;
        s.mode = static_cast<unsigned char>(parseNamed(value, modes, "mode"));
    } else if (key == "delay") {
        s.hasDelay = true;
        s.delaySeconds =
            static_cast<unsigned int>(parseUnsigned(value, 1, 1000000, "delay (hours)") * 3600);
    } else if (key == "start") {
        s.hasStart = true;
        s.start = parseLocalTime(value, "start");
    } else if (key == "exclude") {
        s.hasExclude = true;
        s.exclude = parseIdList(value, 255, "exclude");
        if (s.exclude.size() > 64)
            throw UsageError("exclude: at most 64 virtual drives");
    } else {
        return false;
    }
    return true;
}

std::vector<std::string> scheduleWords(const std::vector<NamedValue>& modes) {
    std::vector<std::string> out;
    for (const NamedValue& m : modes)
        out.push_back(std::string("mode=") + m.name);
    out.insert(out.end(), {"delay=", "start=", "exclude="});
    return out;
}

ArrayList<unsigned short> idList(const std::vector<unsigned short>& ids) {
    ArrayList<unsigned short> list;
    for (unsigned short id : ids)
        list.add(id);
    return list;
}

json::Array idArray(const ArrayList<unsigned short>& list) {
    json::Array a;
    for (std::size_t i = 0; i < list.size(); ++i)
        a.Insert(json::UNumber(list.get(i)));
    return a;
}

std::string idText(const ArrayList<unsigned short>& list) {
    std::string s;
    for (std::size_t i = 0; i < list.size(); ++i)
        s += (s.empty() ? "" : ",") + std::to_string(list.get(i));
    return s.empty() ? "none" : s;
}

long long scheduleInstant(AdapterDataKvi& a, std::uint32_t seconds) {
    long long t = static_cast<long long>(a.y2kTime()) + seconds;
    std::time_t tt = static_cast<std::time_t>(t);
    std::tm tm{};
    if (localtime_r(&tt, &tm) != nullptr && tm.tm_isdst > 0)
        t -= a.getdstInSec();
    return t;
}

void excludedMember(Doc& d, const ArrayList<unsigned short>& list) {
    if (d.json())
        d.rows("Excluded", "excluded", idArray(list));
    else
        d.str("Excluded", "excluded", idText(list));
}

namespace {

std::string delayText(unsigned int seconds) {
    return seconds == 0xFFFFFFFFu ? "none" : std::to_string(seconds / 3600) + " hours";
}
json::UnknownElement delayJson(unsigned int seconds) {
    if (seconds == 0xFFFFFFFFu)
        return json::Null();
    return json::UNumber(seconds / 3600 * 3600); // whole hours, as the text shows them
}
json::Array idArrayOf(const std::vector<unsigned short>& ids) {
    return cli::idArray(idList(ids));
}
ChangeReport::Row row(const char* name, const char* key, std::string oldText, std::string newText,
                      json::UnknownElement oldJson, json::UnknownElement newJson) {
    ChangeReport::Row r;
    r.name = name;
    r.key = key;
    r.oldText = std::move(oldText);
    r.newText = std::move(newText);
    r.oldJson = std::move(oldJson);
    r.newJson = std::move(newJson);
    return r;
}

} // namespace

ScheduleRows addScheduleRows(ChangeReport& report, const ScheduleSettings& want,
                             const ScheduleNow& now, const std::vector<NamedValue>& modes) {
    ScheduleRows rows;
    if (want.hasMode) {
        const std::string o = nameOf(now.mode, modes), n = nameOf(want.mode, modes);
        rows.mode = &report.add(row("mode", "mode", o, n, json::String(o), json::String(n)));
    }
    if (want.hasDelay)
        rows.delay = &report.add(row("delay", "delay_seconds", delayText(now.delaySeconds),
                                     delayText(want.delaySeconds), delayJson(now.delaySeconds),
                                     delayJson(want.delaySeconds)));
    if (want.hasStart) {
        const std::time_t o = kvi::localInstant(now.start), n = kvi::localInstant(want.start);
        ChangeReport::Row r =
            row("start", "next_start", formatLocalTime(now.start), formatLocalTime(want.start),
                json::String(kvi::isoLocalTime(o)), json::String(kvi::isoLocalTime(n)));
        r.instant = true;
        r.oldEpoch = o;
        r.newEpoch = n;
        rows.start = &report.add(std::move(r));
    }
    if (want.hasExclude) {
        // The controller keeps a set: compare and show both sides in ascending order.
        std::vector<unsigned short> o = now.exclude, n = want.exclude;
        std::sort(o.begin(), o.end());
        std::sort(n.begin(), n.end());
        rows.exclude = &report.add(row("exclude", "excluded", idText(idList(o)), idText(idList(n)),
                                       idArrayOf(o), idArrayOf(n)));
    }
    return rows;
}

} // namespace cli
