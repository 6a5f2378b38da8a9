#pragma once
// The host clock of the report sections ("Current System Date/time" in the
// basic section, "System Time" in the summary section).
//
// Production reads time(). Tests, and the simulator (which fixes the host time
// from KVICTL_SIM_TIME so that its reports are reproducible), set a fixed time
// here instead. Only the host clock goes through this seam; the local time zone
// still comes from TZ, so callers that fix the clock should fix TZ as well.
#include <ctime>

namespace kvi {
namespace reports {

namespace detail {
struct HostClockState {
    bool fixed = false;
    std::time_t value = 0;
};
inline HostClockState& hostClockState() {
    static HostClockState state;
    return state;
}
} // namespace detail

// The host's current time: the fixed time when one is set, else time().
inline std::time_t hostNow() {
    const detail::HostClockState& state = detail::hostClockState();
    return state.fixed ? state.value : std::time(nullptr);
}

// Fixes the host clock at `value` until clearHostTime().
inline void setHostTime(std::time_t value) {
    detail::hostClockState().fixed = true;
    detail::hostClockState().value = value;
}

// Back to the real clock.
inline void clearHostTime() {
    detail::hostClockState() = detail::HostClockState();
}

// Fixes the host clock for one scope and restores the previous setting.
class ScopedHostTime {
public:
    explicit ScopedHostTime(std::time_t value) : saved_(detail::hostClockState()) {
        setHostTime(value);
    }
    ~ScopedHostTime() { detail::hostClockState() = saved_; }
    ScopedHostTime(const ScopedHostTime&) = delete;
    ScopedHostTime& operator=(const ScopedHostTime&) = delete;

private:
    detail::HostClockState saved_;
};

} // namespace reports
} // namespace kvi
