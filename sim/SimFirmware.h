#pragma once
// The work of one request to a simulated controller (SimController.cpp has the
// conventions it follows): the transfer checks, the request handlers
// (SimFirmware.cpp) and the dispatch by opcode (SimController.cpp).
// Internal to the simulator; not part of its API.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "sim/SimInternal.h"
#include "sim/Simulator.h"

namespace kvi::sim::handlers {

constexpr int kOk = KVI_STAT_OK;
constexpr int kBad = KVI_STAT_INVALID_PARAMETER;
constexpr int kNoDcmd = KVI_STAT_INVALID_DCMD;
constexpr int kNoHw = KVI_STAT_NO_HW_PRESENT;
constexpr int kBusy = kStatusBusy;

// Event locales (a bit set) and codes of the actions.
enum Locale : std::uint16_t {
    kLocCtrl = 0x0001,
    kLocPd = 0x0002,
    kLocLd = 0x0004,
    kLocBbu = 0x0008,
    kLocConfig = 0x0010,
    kLocSas = 0x0040,
    kLocSecurity = 0x0080,
};

// PR states.
enum : std::uint8_t {
    kPrStopped = 0,
    kPrReady = 1,
    kPrActive = 2,
    kPrPaused = 3,
    kPrUserPaused = 4
};

constexpr std::uint32_t kLearnActive = 1u << 6;
constexpr std::uint32_t kLearnRequested = 1u << 5;

inline std::uint32_t word(const std::uint8_t* m, int i) {
    return std::uint32_t(m[4 * i]) | std::uint32_t(m[4 * i + 1]) << 8 |
           std::uint32_t(m[4 * i + 2]) << 16 | std::uint32_t(m[4 * i + 3]) << 24;
}
inline void putWord(std::uint8_t* m, int i, std::uint32_t v) {
    for (int k = 0; k < 4; ++k)
        m[4 * i + k] = std::uint8_t(v >> (8 * k));
}

// Bytes i..11 of the mailbox are zero.
inline bool zeroFrom(const std::uint8_t* m, int i) {
    for (; i < 12; ++i)
        if (m[i] != 0)
            return false;
    return true;
}

// A NUL-terminated text inside `size` bytes (false when it is not terminated).
inline bool boundedText(const std::uint8_t* p, std::size_t size, std::string& out) {
    const void* end = std::memchr(p, 0, size);
    if (!end)
        return false;
    out.assign(reinterpret_cast<const char*>(p), static_cast<const std::uint8_t*>(end) - p);
    return true;
}

// The work of one request.
class Firmware {
public:
    Firmware(ControllerState& st, const Clock& clock, DirectCommand& cmd)
        : st_(st), clock_(clock), cmd_(cmd), m_(cmd.mbox) {}

    int run();
    // False when the opcode has no handler (it answered KVI_STAT_INVALID_DCMD).
    bool handled() const { return handled_; }

private:
    // ---- transfer checks ----
    bool reads() const {
        return cmd_.direction == Direction::Read || cmd_.direction == Direction::Both;
    }
    bool writes() const {
        return cmd_.direction == Direction::Write || cmd_.direction == Direction::Both;
    }
    // Answers a fixed-size record.
    int answer(const void* record, std::uint32_t size) {
        if (cmd_.length != size || !reads())
            return kBad;
        std::memcpy(cmd_.data, record, size);
        return kOk;
    }
    template <class T> int answer(const T& record) { return answer(&record, sizeof(T)); }
    // Takes a fixed-size record from the host.
    bool take(void* record, std::uint32_t size) {
        if (cmd_.length != size || !writes())
            return false;
        std::memcpy(record, cmd_.data, size);
        return true;
    }
    // Answers a variable-length read with zeros (lists this controller keeps empty).
    int answerZeros(std::uint32_t minimum) {
        if (cmd_.length < minimum || !reads())
            return kBad;
        std::memset(cmd_.data, 0, cmd_.length);
        return kOk;
    }

    void log(std::uint32_t code, std::uint16_t locale, std::int8_t cls, const std::string& text);
    bool batteryPresent() const { return st_.info.hwPresent.bbu != 0; }
    bool alarmPresent() const { return st_.info.hwPresent.alarm != 0; }
    std::uint32_t drives() const;
    // The records are packed: their fields are read and written by value.
    std::uint32_t prNextExec() const {
        return extendedSchedules(st_) ? st_.prExt.nextExec : st_.pr.nextExec;
    }
    void setPrNextExec(std::uint32_t v) {
        if (extendedSchedules(st_))
            st_.prExt.nextExec = v;
        else
            st_.pr.nextExec = v;
    }
    std::uint32_t prExecFreq() const {
        return extendedSchedules(st_) ? st_.prExt.execFreq : st_.pr.execFreq;
    }
    std::uint8_t prMode() const {
        return extendedSchedules(st_) ? st_.prExt.opMode : st_.pr.opMode;
    }
    // The next start past "now", in whole periods from `nextExec`.
    std::uint32_t advanceSchedule(std::uint32_t nextExec, std::uint32_t freq) const;
    // Patrol read and consistency check keep their schedules alike: the basic
    // or the extended record (the one this controller uses, named by mailbox
    // byte 0), read or written whole; a write needs a mode of 0-2 and, in the
    // basic record, at most 64 excluded drives. changed(mode) follows a write.
    template <class Basic, class Extended, class Changed>
    int scheduleRecord(bool set, Basic& basic, Extended& extended, Changed changed) {
        bool ext = extendedSchedules(st_);
        if (!zeroFrom(m_, 1) || m_[0] != (ext ? 1 : 0))
            return kBad;
        void* record = ext ? static_cast<void*>(&extended) : static_cast<void*>(&basic);
        std::uint32_t size = ext ? sizeof(Extended) : sizeof(Basic);
        if (!set)
            return answer(record, size);
        if (cmd_.length != size || !writes())
            return kBad;
        // Check before taking: a refused write changes nothing.
        std::uint8_t mode = cmd_.data[0], excluded = cmd_.data[3];
        if (mode > 2 || (!ext && excluded > 64))
            return kBad;
        take(record, size);
        changed(mode);
        return kOk;
    }

    int ctrlInfo();
    int properties(bool set);
    int alarm();
    int eventList();
    int shutdown();
    int prStatus();
    int prProperties(bool set);
    int prControl();
    int ctrlTime();
    int bios(bool set);
    int factoryDefaults();
    int sasAddress();
    int flashComponents();
    int ccProperties(bool set);
    int lockKey();
    int eventCapture();
    int battery();
    int muxSet();
    int linkSpeed();
    int configRead();
    int driverVersion();

    ControllerState& st_;
    const Clock& clock_;
    DirectCommand& cmd_;
    std::uint8_t* m_;
    bool handled_ = true;
};

} // namespace kvi::sim::handlers
