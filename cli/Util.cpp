#include "cli/Util.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "cli/App.h"
#include "util/Iso8601.h"

namespace cli {

namespace {
std::string lower(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}
std::string trim(const std::string& s) {
    std::size_t b = s.find_first_not_of(" \t");
    if (b == std::string::npos)
        return "";
    std::size_t e = s.find_last_not_of(" \t");
    return s.substr(b, e - b + 1);
}
} // namespace

unsigned long long parseUnsigned(const std::string& text, unsigned long long min,
                                 unsigned long long max, const std::string& what) {
    std::string t = trim(text);
    bool ok = !t.empty() && t[0] != '-' && t[0] != '+';
    unsigned long long v = 0;
    if (ok) {
        errno = 0;
        char* end = nullptr;
        int base = (t.size() > 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) ? 16 : 10;
        v = std::strtoull(t.c_str(), &end, base);
        ok = errno == 0 && end != nullptr && *end == '\0';
    }
    if (!ok)
        throw UsageError(what + ": '" + text + "' is not a number");
    if (v < min || v > max)
        throw UsageError(what + ": " + t + " is out of range (" + std::to_string(min) + "-" +
                         std::to_string(max) + ")");
    return v;
}

bool parseSwitch(const std::string& text, const std::string& what) {
    std::string t = lower(trim(text));
    if (t == "on" || t == "true" || t == "yes" || t == "enabled" || t == "enable" || t == "1")
        return true;
    if (t == "off" || t == "false" || t == "no" || t == "disabled" || t == "disable" || t == "0")
        return false;
    throw UsageError(what + ": '" + text + "' is not on or off");
}

std::tm parseLocalTime(const std::string& text, const std::string& what) {
    int y = 0, mo = 0, d = 0, h = 0, mi = 0;
    char sep = 0;
    int n = 0;
    std::string t = trim(text);
    bool ok =
        std::sscanf(t.c_str(), "%4d-%2d-%2d%c%2d:%2d%n", &y, &mo, &d, &sep, &h, &mi, &n) == 6 &&
        static_cast<std::size_t>(n) == t.size() && (sep == ' ' || sep == 'T') && t.size() == 16;
    if (ok)
        ok = y >= 2000 && y <= 2105 && mo >= 1 && mo <= 12 && d >= 1 && d <= 31 && h >= 0 &&
             h <= 23 && mi >= 0 && mi <= 59;
    if (ok) {
        static const int days[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
        ok = d <= days[mo - 1] && !(mo == 2 && d == 29 && !leap);
    }
    if (!ok)
        throw UsageError(what + ": '" + text +
                         "' is not a local time YYYY-MM-DD HH:MM between 2000 and 2105");
    return kvi::wallClock(y, mo, d, h, mi, 0);
}

std::string formatLocalTime(const std::tm& tm) {
    char buf[40];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min);
    return buf;
}

namespace {

bool validDate(int y, int mo, int d) {
    static const int days[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (mo < 1 || mo > 12 || d < 1 || d > days[mo - 1])
        return false;
    bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return !(mo == 2 && d == 29 && !leap);
}

// Two digits at s[at], as a number; -1 when they are not digits.
int twoDigits(const std::string& s, std::size_t at) {
    if (at + 2 > s.size() || !std::isdigit(static_cast<unsigned char>(s[at])) ||
        !std::isdigit(static_cast<unsigned char>(s[at + 1])))
        return -1;
    return (s[at] - '0') * 10 + (s[at + 1] - '0');
}

} // namespace

std::time_t parseInstant(const std::string& text, const std::string& what) {
    const std::string t = trim(text);
    auto refuse = [&]() -> std::time_t {
        throw UsageError(what + ": '" + text +
                         "' is not a time: give local time YYYY-MM-DD[ HH:MM[:SS]] or ISO 8601 "
                         "with a zone, e.g. 2026-07-01T12:00:00+02:00 or 2026-07-01T10:00:00Z");
    };
    // YYYY-MM-DD
    if (t.size() < 10 || t[4] != '-' || t[7] != '-')
        return refuse();
    const int hi = twoDigits(t, 0), lo = twoDigits(t, 2);
    const int mo = twoDigits(t, 5), d = twoDigits(t, 8);
    if (hi < 0 || lo < 0 || mo < 0 || d < 0)
        return refuse();
    const int y = hi * 100 + lo;
    if (y < 1970 || y > 2105 || !validDate(y, mo, d))
        return refuse();
    int h = 0, mi = 0, sec = 0;
    std::size_t at = 10;
    if (at < t.size()) {
        // [ T]HH:MM[:SS]
        if ((t[at] != ' ' && t[at] != 'T') || t.size() < at + 6 || t[at + 3] != ':')
            return refuse();
        h = twoDigits(t, at + 1);
        mi = twoDigits(t, at + 4);
        at += 6;
        if (at < t.size() && t[at] == ':') {
            sec = twoDigits(t, at + 1);
            at += 3;
        }
        if (h < 0 || h > 23 || mi < 0 || mi > 59 || sec < 0 || sec > 59 || at > t.size())
            return refuse();
    }
    std::tm tm = kvi::wallClock(y, mo, d, h, mi, sec);
    if (at == t.size()) {
        // Local time; in the hour a summer-time change repeats, the zone decides.
        const std::time_t local = kvi::localInstant(tm);
        return local == static_cast<std::time_t>(-1) ? refuse() : local;
    }
    // A zone needs a time of day: Z, or +HH[:MM] / -HH[:MM] / +HHMM.
    if (at == 10)
        return refuse();
    long offset = 0;
    const std::string zone = t.substr(at);
    if (zone == "Z" || zone == "z") {
        offset = 0;
    } else if (zone[0] == '+' || zone[0] == '-') {
        const int oh = twoDigits(zone, 1);
        int om = 0;
        if (zone.size() == 6 && zone[3] == ':')
            om = twoDigits(zone, 4);
        else if (zone.size() == 5)
            om = twoDigits(zone, 3);
        else if (zone.size() != 3)
            return refuse();
        if (oh < 0 || oh > 23 || om < 0 || om > 59)
            return refuse();
        offset = (zone[0] == '-' ? -1 : 1) * (oh * 3600L + om * 60L);
    } else {
        return refuse();
    }
    tm.tm_isdst = 0;
    return timegm(&tm) - offset;
}

std::vector<unsigned short> parseIdList(const std::string& text, unsigned max,
                                        const std::string& what) {
    std::vector<unsigned short> ids;
    std::string t = lower(trim(text));
    if (t.empty() || t == "none")
        return ids;
    std::stringstream ss(t);
    std::string item;
    while (std::getline(ss, item, ','))
        ids.push_back(static_cast<unsigned short>(parseUnsigned(item, 0, max, what)));
    return ids;
}

std::pair<std::string, std::string> splitAssignment(const std::string& text) {
    std::size_t eq = text.find('=');
    if (eq == std::string::npos || eq == 0)
        throw UsageError("'" + text + "' is not NAME=VALUE");
    return {text.substr(0, eq), text.substr(eq + 1)};
}

std::string snakeCase(const std::string& kebab) {
    std::string s = kebab;
    for (char& c : s)
        if (c == '-')
            c = '_';
    return s;
}

std::string hexBytes(const std::uint8_t* data, std::size_t length) {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    s.reserve(length * 2);
    for (std::size_t i = 0; i < length; ++i) {
        s += digits[data[i] >> 4];
        s += digits[data[i] & 15];
    }
    return s;
}

unsigned parseNamed(const std::string& text, const std::vector<NamedValue>& names,
                    const std::string& what) {
    std::string t = lower(trim(text));
    for (const NamedValue& n : names)
        if (t == n.name)
            return n.value;
    throw UsageError(what + ": '" + text + "' is not one of " + joinNames(names));
}

std::string nameOf(unsigned value, const std::vector<NamedValue>& names) {
    for (const NamedValue& n : names)
        if (n.value == value)
            return n.name;
    return std::to_string(value);
}

std::string joinNames(const std::vector<NamedValue>& names) {
    std::string s;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i)
            s += i + 1 == names.size() ? " or " : ", ";
        s += names[i].name;
    }
    return s;
}

namespace {
std::uint32_t u32(const std::uint8_t* p) {
    return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 |
           std::uint32_t(p[3]) << 24;
}
} // namespace

EventRecord decodeEvent(const std::uint8_t* r) {
    EventRecord e;
    e.seqNum = u32(r);
    e.timeStamp = u32(r + 4);
    e.code = u32(r + 8);
    e.locale = static_cast<std::uint16_t>(r[12] | r[13] << 8);
    e.eventClass = static_cast<std::int8_t>(r[15]);
    // The description is 128 characters at byte 128, not always terminated.
    const char* d = reinterpret_cast<const char*>(r + 128);
    e.description.assign(d, strnlen(d, 128));
    return e;
}

const char* eventClassName(int c) {
    switch (c) {
    case -2:
        return "debug";
    case -1:
        return "progress";
    case 0:
        return "info";
    case 1:
        return "warning";
    case 2:
        return "critical";
    case 3:
        return "fatal";
    case 4:
        return "dead";
    default:
        return "unknown";
    }
}

int parseEventClass(const std::string& text) {
    std::string t = lower(trim(text));
    for (int c = -2; c <= 4; ++c)
        if (t == eventClassName(c) || t == std::to_string(c))
            return c;
    throw UsageError(
        "--class: '" + text +
        "' is not an event class (debug, progress, info, warning, critical, fatal, dead)");
}

long long scheduleEpoch() {
    std::tm tm{};
    tm.tm_year = 100;
    tm.tm_mon = 0;
    tm.tm_mday = 1;
    tm.tm_isdst = 0;
    return static_cast<long long>(std::mktime(&tm));
}

// The firmware counts local wall-clock seconds: a time that falls in summer
// time is one summer-time shift ahead of the instant.
std::time_t eventInstant(std::uint32_t ts) {
    std::time_t t = static_cast<std::time_t>(scheduleEpoch() + ts);
    std::tm tm{};
    if (localtime_r(&t, &tm) != nullptr && tm.tm_isdst > 0) {
        std::tm summer{};
        summer.tm_year = 100;
        summer.tm_mday = 1;
        summer.tm_isdst = 1;
        const long long shift = scheduleEpoch() - static_cast<long long>(std::mktime(&summer));
        t -= static_cast<std::time_t>(shift < 0 ? -shift : shift);
    }
    return t;
}

std::string eventTime(std::uint32_t ts) {
    if (bootRelative(ts))
        return "boot+" + std::to_string(ts & 0xFFFFFF) + " s";
    const std::time_t t = eventInstant(ts);
    std::tm tm{};
    localtime_r(&t, &tm);
    char buf[40];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return buf;
}

void addEventJson(json::Object& o, const EventRecord& e) {
    o["sequence"] = json::UNumber(e.seqNum);
    if (bootRelative(e.timeStamp)) {
        o["time"] = json::Null();
        o["time_epoch_seconds"] = json::Null();
        o["seconds_since_boot"] = json::UNumber(e.timeStamp & 0xFFFFFF);
    } else {
        const std::time_t t = eventInstant(e.timeStamp);
        o["time"] = json::String(kvi::isoLocalTime(t));
        o["time_epoch_seconds"] = json::Number(static_cast<long>(t));
    }
    o["class"] = json::String(eventClassName(e.eventClass));
    o["locale"] = json::Number(e.locale);
    o["code"] = json::UNumber(e.code);
    o["description"] = json::String(e.description);
}

json::Object eventJson(const EventRecord& e) {
    json::Object o;
    addEventJson(o, e);
    return o;
}

} // namespace cli
