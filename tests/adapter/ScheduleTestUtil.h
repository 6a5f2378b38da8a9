#pragma once
// Shared by the patrol read and consistency-check schedule tests: wall-clock
// times, little-endian reads from request bytes, and the description of one
// schedule record form.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>

#include "tests/support/FakeController.h"
#include "tests/support/TzGuard.h"

namespace kvitest {

inline tm wallClock(int year, int mon, int mday, int hour, int min) {
    tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = mon - 1;
    t.tm_mday = mday;
    t.tm_hour = hour;
    t.tm_min = min;
    t.tm_isdst = -1;
    return t;
}

inline std::uint32_t u32(const Bytes& b, std::size_t off) {
    std::uint32_t v = 0;
    std::memcpy(&v, b.data() + off, 4);
    return v;
}

// One form of a schedule record: whether it is the extended one, its
// transfer length and the offsets of nextExec and execFreq.
struct ScheduleForm {
    const char* name;
    bool ext;
    std::uint32_t length;
    std::size_t nextExec, execFreq;
};

} // namespace kvitest
