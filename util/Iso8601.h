#pragma once
// Times for scripts: ISO 8601 local time with its UTC offset
// ("2026-07-01T12:00:00+02:00"), the form every JSON output of kvictl uses
// beside the epoch seconds. The offset is the one the local zone (TZ) has at
// that instant, so a summer-time date carries the summer offset.
#include <cstdio>
#include <ctime>
#include <string>

namespace kvi {

// Empty when the instant cannot be converted to a local calendar time.
inline std::string isoLocalTime(std::time_t t) {
    std::tm tm{};
    if (localtime_r(&t, &tm) == nullptr)
        return "";
    const long offset = tm.tm_gmtoff; // seconds east of UTC, summer time included
    // Zones are within a day of UTC; the bound keeps the printed width fixed.
    const int magnitude = static_cast<int>((offset < 0 ? -offset : offset) % 86400);
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02dT%02d:%02d:%02d%c%02d:%02d", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec,
                  offset < 0 ? '-' : '+', magnitude / 3600, (magnitude % 3600) / 60);
    return buf;
}

// A local wall-clock reading (month 1-12) as a broken-down time whose summer
// time the zone's rule for that date decides.
inline std::tm wallClock(int year, int month, int day, int hour, int minute, int second) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = -1;
    return tm;
}

// The instant a local wall-clock time denotes; -1 when there is none.
inline std::time_t localInstant(std::tm tm) {
    tm.tm_isdst = -1;
    return std::mktime(&tm);
}

} // namespace kvi
