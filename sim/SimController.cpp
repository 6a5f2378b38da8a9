// One simulated controller: answers each direct command by opcode, mailbox and
// transfer length from its ControllerState, the way a firmware would.
//
// Conventions of this firmware:
//   - A fixed-size record moves with exactly its size; any other length, a
//     missing buffer, a direction the opcode does not have, or mailbox bytes
//     that must be zero and are not, answer KVI_STAT_INVALID_PARAMETER.
//   - Opcodes for features the controller lacks (per its KV_CTRL_INFO bits)
//     answer KVI_STAT_INVALID_DCMD; a missing battery or alarm answers
//     KVI_STAT_NO_HW_PRESENT; opcodes outside the table answer
//     KVI_STAT_INVALID_DCMD too.
//   - Opcodes that move no data ignore any buffer they are given.
//   - Every action that changes something appends an event.
//   - Injected faults (the profile's "fail") answer their status before the
//     request is looked at; a "hang" entry never answers: the request blocks
//     until the process ends, as a controller stuck in a command holds its caller.
//   - Patrol read: opMode 0 automatic, 1 manual, 2 disabled. A status read
//     while a pass is active answers the progress and then moves it on by one
//     drive; the pass ends after as many reads as the controller has drives.
//     When a pass starts or ends, nextExec moves past "now" in steps of
//     execFreq (unless execFreq is 0 or 0xFFFFFFFF).
//   - Battery learn cycle: active for the next three status reads.
//   - Lock key: create stores a salted hash of the passphrase; verify and
//     restore compare against it (kStatusWrongPassphrase on a mismatch,
//     kStatusNoLockKey without a key). Re-key takes the new passphrase
//     at byte 0; when the escrow part carries a key (escrowLockKeyLength > 0)
//     that key is checked as the current passphrase first. An empty passphrase
//     means the external key manager (only with supportEKM).
//   - Event capture: mailbox w[0] of KV_DCMD_CTRL_AEC_CONTROL selects 0
//     disable, 1 stop, 2 start (w[1] the control value), 3 mode (w[1]),
//     4 add mask bits / 5 clear mask bits (w[1] 0 host or 1 firmware mask,
//     w[2] the bits, echoed back in w[2]). While capture runs every new event
//     is captured; KV_DCMD_CTRL_AEC_GET answers the captured events as 256-byte
//     event records and their number in mailbox w[1].
//   - Event count (KV_DCMD_CTRL_EVENT_COUNT): w[0] first sequence number,
//     w[1] filter word, as for the event list.
//   - Configuration read (KV_DCMD_CFG_READ): b[0] 2 answers the SSD-cache head
//     {size U32, count U32}; b[0] 0 answers the head followed by one U64 per
//     SSD-cache volume (its size in 512-byte blocks), as many as the transfer
//     holds. size counts the whole answer (8 + 8 * count).
//   - SMP pass-through: REPORT GENERAL to an expander the phy table shows
//     (deviceType 2 or 3) answers its phy count; an address the controller does
//     not see answers KVI_STAT_INVALID_PARAMETER, any other function the SMP
//     result "unknown function".
#include <cstdio>
#include <cstring>
#include <ctime>
#include <unistd.h>

#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "sim/SimInternal.h"
#include "sim/Simulator.h"

namespace kvi::sim {
namespace {

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

std::uint32_t word(const std::uint8_t* m, int i) {
    return std::uint32_t(m[4 * i]) | std::uint32_t(m[4 * i + 1]) << 8 |
           std::uint32_t(m[4 * i + 2]) << 16 | std::uint32_t(m[4 * i + 3]) << 24;
}
void putWord(std::uint8_t* m, int i, std::uint32_t v) {
    for (int k = 0; k < 4; ++k)
        m[4 * i + k] = std::uint8_t(v >> (8 * k));
}

// Bytes i..11 of the mailbox are zero.
bool zeroFrom(const std::uint8_t* m, int i) {
    for (; i < 12; ++i)
        if (m[i] != 0)
            return false;
    return true;
}

// A NUL-terminated text inside `size` bytes (false when it is not terminated).
bool boundedText(const std::uint8_t* p, std::size_t size, std::string& out) {
    const void* end = std::memchr(p, 0, size);
    if (!end)
        return false;
    out.assign(reinterpret_cast<const char*>(p), static_cast<const std::uint8_t*>(end) - p);
    return true;
}

} // namespace

// ---- shared helpers ----

void mirrorProperties(ControllerState& st) {
    st.info.properties = st.prop.ctrlProp1;
    st.info.prop = st.prop.ctrlProp2;
}

namespace {
std::uint64_t fnv1a(std::uint64_t h, const std::string& s) {
    for (unsigned char c : s) {
        h ^= c;
        h *= 0x100000001b3ULL;
    }
    return h;
}
std::string keyedHash(const std::string& salt, const std::string& passphrase) {
    std::uint64_t h = 0xcbf29ce484222325ULL;
    for (int round = 0; round < 4096; ++round) {
        h = fnv1a(h, salt);
        h = fnv1a(h, passphrase);
        h ^= std::uint64_t(round);
    }
    std::uint8_t bytes[8];
    for (int i = 0; i < 8; ++i)
        bytes[i] = std::uint8_t(h >> (8 * i));
    return toHex(bytes, 8);
}
} // namespace

void assignLockKey(ControllerState& st, const std::string& passphrase, const std::string& keyId,
                   bool external) {
    std::string serial(st.mfg.sn, strnlen(st.mfg.sn, sizeof st.mfg.sn));
    std::uint64_t seed =
        fnv1a(0xcbf29ce484222325ULL,
              serial + "/" + std::to_string(st.events.newestSeqNum()) + "/" + keyId);
    std::uint8_t saltBytes[8];
    for (int i = 0; i < 8; ++i)
        saltBytes[i] = std::uint8_t(seed >> (8 * i));
    st.lockKey.assigned = true;
    st.lockKey.external = external;
    st.lockKey.salt = toHex(saltBytes, 8);
    st.lockKey.hash = keyedHash(st.lockKey.salt, passphrase);
    st.lockKey.keyId = keyId;
    st.info.adapterStatus.lockKeyAssigned = 1;
    st.info.adapterStatus.lockKeyFailed = 0;
}

bool lockKeyMatches(const ControllerState& st, const std::string& passphrase) {
    if (!st.lockKey.assigned)
        return false;
    if (st.lockKey.external)
        return passphrase.empty();
    return keyedHash(st.lockKey.salt, passphrase) == st.lockKey.hash;
}

std::string toHex(const std::uint8_t* data, std::size_t size) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    out.reserve(size * 2);
    for (std::size_t i = 0; i < size; ++i) {
        out += digits[data[i] >> 4];
        out += digits[data[i] & 15];
    }
    return out;
}

bool fromHex(const std::string& text, std::vector<std::uint8_t>& out) {
    if (text.size() % 2 != 0)
        return false;
    out.resize(text.size() / 2);
    for (std::size_t i = 0; i < out.size(); ++i) {
        int v = 0;
        for (int k = 0; k < 2; ++k) {
            char c = text[2 * i + k];
            int d = c >= '0' && c <= '9'   ? c - '0'
                    : c >= 'a' && c <= 'f' ? c - 'a' + 10
                    : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                           : -1;
            if (d < 0)
                return false;
            v = v * 16 + d;
        }
        out[i] = std::uint8_t(v);
    }
    return true;
}

// ---- the controller ----

namespace {

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

void Firmware::log(std::uint32_t code, std::uint16_t locale, std::int8_t cls,
                   const std::string& text) {
    SimEvent e;
    e.code = code;
    e.locale = locale;
    e.eventClass = cls;
    e.timeStamp = clock_.firmwareTime();
    e.description = text;
    std::uint32_t seq = st_.events.append(std::move(e));
    if (st_.aec.state == 2) {
        ++st_.aec.numEvents;
        ++st_.aec.numCapturedEvents;
        st_.aec.numCapturedSegments = 1;
        st_.captured.push_back(seq);
        if (st_.captured.size() > kMaxCaptured)
            st_.captured.erase(st_.captured.begin());
    }
}

std::uint32_t Firmware::drives() const {
    std::uint32_t n = st_.info.pdDiskPresentCount;
    return n == 0 ? 8 : std::min<std::uint32_t>(n, 255);
}

std::uint32_t Firmware::advanceSchedule(std::uint32_t nextExec, std::uint32_t freq) const {
    if (freq == 0 || freq == 0xFFFFFFFFu)
        return nextExec;
    std::uint32_t now = clock_.firmwareTime();
    if (nextExec > now)
        return nextExec;
    std::uint64_t steps = (std::uint64_t(now) - nextExec) / freq + 1;
    std::uint64_t next = nextExec + steps * freq;
    return next > 0xFFFFFFFFu ? 0xFFFFFFFFu : std::uint32_t(next);
}

int Firmware::ctrlInfo() {
    if (!zeroFrom(m_, 0))
        return kBad;
    mirrorProperties(st_);
    // The clock is stamped on the answer only: a read leaves the state as it
    // was, so a run that changes nothing has nothing to store.
    KV_CTRL_INFO info = st_.info;
    info.currentFwTime = clock_.firmwareTime();
    return answer(info);
}

int Firmware::properties(bool set) {
    if (!zeroFrom(m_, 1) || m_[0] > 1)
        return kBad;
    bool ext = m_[0] == 1;
    if (ext && !st_.info.adapterOperationExt.adapterOperations6.supportCtrlPropExt)
        return kBad;
    void* record = ext ? static_cast<void*>(&st_.prop) : static_cast<void*>(&st_.prop.ctrlProp1);
    std::uint32_t size = ext ? sizeof(KV_CTRL_PROP_EXT) : sizeof(KV_CTRL_PROP);
    if (!set)
        return answer(record, size);
    std::uint8_t before = st_.prop.ctrlProp1.alarmEnable;
    if (!take(record, size))
        return kBad;
    if (st_.prop.ctrlProp1.alarmEnable != before)
        st_.alarmState = st_.prop.ctrlProp1.alarmEnable ? 1 : 0;
    mirrorProperties(st_);
    log(0x0010, kLocCtrl, 0,
        ext ? "Controller properties (extension) changed" : "Controller properties changed");
    return kOk;
}

int Firmware::alarm() {
    if (!alarmPresent())
        return kNoHw;
    if (!zeroFrom(m_, 0))
        return kBad;
    switch (cmd_.opcode) {
    case KV_DCMD_CTRL_ALARM_GET:
        return answer(&st_.alarmState, 1);
    case KV_DCMD_CTRL_ALARM_ENABLE:
        st_.alarmState = 1;
        st_.prop.ctrlProp1.alarmEnable = 1;
        log(0x0030, kLocCtrl, 0, "Alarm enabled");
        break;
    case KV_DCMD_CTRL_ALARM_DISABLE:
        st_.alarmState = 0;
        st_.prop.ctrlProp1.alarmEnable = 0;
        log(0x0031, kLocCtrl, 0, "Alarm disabled");
        break;
    default: // silence: only a sounding (enabled) alarm is silenced
        if (st_.alarmState == 1)
            st_.alarmState = 2;
        log(0x0032, kLocCtrl, 0, "Alarm silenced");
        break;
    }
    mirrorProperties(st_);
    return kOk;
}

int Firmware::eventList() {
    if (cmd_.opcode == KV_DCMD_CTRL_EVENT_GET_INFO) {
        if (!zeroFrom(m_, 0))
            return kBad;
        KV_EVT_LOG_INFO info{};
        info.newestSeqNum = st_.events.newestSeqNum();
        info.oldestSeqNum = st_.events.oldestSeqNum();
        info.clearSeqNum = st_.events.clearSeqNum();
        info.shutdownSeqNum = st_.events.shutdownSeqNum();
        info.bootSeqNum = st_.events.bootSeqNum();
        return answer(info);
    }
    if (cmd_.opcode == KV_DCMD_CTRL_EVENT_CLEAR) {
        if (!zeroFrom(m_, 0))
            return kBad;
        st_.events.clear(clock_.firmwareTime());
        return kOk;
    }
    if (!zeroFrom(m_, 8))
        return kBad;
    std::uint32_t start = word(m_, 0), filter = word(m_, 1);
    if (cmd_.opcode == KV_DCMD_CTRL_EVENT_COUNT) {
        std::uint32_t n = st_.events.count(start, filter);
        return answer(&n, 4);
    }
    if (cmd_.length < kEventListHeadSize || !reads())
        return kBad;
    st_.events.fillList(start, filter, cmd_.data, cmd_.length);
    return kOk;
}

int Firmware::shutdown() {
    // b[0] shutdown, b[1] restart.
    if (!zeroFrom(m_, 2) || m_[0] > 1 || m_[1] > 1)
        return kBad;
    st_.events.markShutdown();
    if (m_[1]) {
        log(0x0091, kLocCtrl, 0, "Controller restart requested");
        // After the restart: key changes are in effect and background work stops.
        st_.info.adapterStatus.lockKeyRebootRequired = 0;
        if (st_.prStatus.state == kPrActive || st_.prStatus.state == kPrPaused ||
            st_.prStatus.state == kPrUserPaused)
            st_.prStatus.state = kPrStopped;
        if (st_.personality.requestedPersonality != 0) {
            st_.personality.personalityBitmap = st_.personality.requestedPersonality;
            st_.personality.requestedPersonality = 0;
        }
        log(kEventControllerBooted, kLocCtrl, 0, "Controller booted");
        st_.events.markBoot();
    } else {
        log(0x0090, kLocCtrl, 0, "Controller shutdown requested");
    }
    return kOk;
}

int Firmware::prStatus() {
    if (!zeroFrom(m_, 0))
        return kBad;
    int status = answer(st_.prStatus);
    if (status != kOk || st_.prStatus.state != kPrActive)
        return status;
    // The pass moves on by one drive per status read.
    std::uint32_t done = st_.prStatus.numPdDone + 1;
    if (done >= drives()) {
        st_.prStatus.numPdDone = 0;
        ++st_.prStatus.numIteration;
        st_.prStatus.state = prMode() == 0 ? kPrReady : kPrStopped;
        setPrNextExec(advanceSchedule(prNextExec(), prExecFreq()));
        if (extendedSchedules(st_)) {
            st_.prExt.lastPdMap = st_.prExt.curPdMap;
            std::memset(&st_.prExt.curPdMap, 0, sizeof st_.prExt.curPdMap);
        } else {
            std::memcpy(st_.pr.lastPdMap, st_.pr.curPdMap, sizeof st_.pr.lastPdMap);
            std::memset(st_.pr.curPdMap, 0, sizeof st_.pr.curPdMap);
        }
        log(0x0044, kLocPd, 0, "Patrol Read complete");
    } else {
        st_.prStatus.numPdDone = std::uint8_t(done);
    }
    return kOk;
}

int Firmware::prProperties(bool set) {
    return scheduleRecord(set, st_.pr, st_.prExt, [this](std::uint8_t mode) {
        if (mode == 2 && st_.prStatus.state != kPrStopped)
            st_.prStatus.state = kPrStopped;
        log(0x0045, kLocCtrl, 0, "Patrol Read properties changed");
    });
}

int Firmware::prControl() {
    std::uint8_t& state = st_.prStatus.state;
    bool running = state == kPrActive || state == kPrPaused || state == kPrUserPaused;
    switch (cmd_.opcode) {
    case KV_DCMD_CTRL_PR_START: {
        if (!zeroFrom(m_, 0))
            return kBad;
        if (prMode() == 2)
            return kBad; // patrol read is disabled
        if (running)
            return kBusy;
        state = kPrActive;
        st_.prStatus.numPdDone = 0;
        std::uint32_t n = drives();
        std::uint8_t* map = extendedSchedules(st_) ? st_.prExt.curPdMap.b : st_.pr.curPdMap;
        std::memset(map, 0, 32);
        for (std::uint32_t i = 0; i < n; ++i)
            map[i / 8] |= std::uint8_t(1u << (i % 8));
        setPrNextExec(advanceSchedule(prNextExec(), prExecFreq()));
        log(0x0040, kLocPd, 0, "Patrol Read started");
        return kOk;
    }
    case KV_DCMD_CTRL_PR_STOP:
        if (!zeroFrom(m_, 0))
            return kBad;
        if (!running)
            return kBad;
        state = kPrStopped;
        st_.prStatus.numPdDone = 0;
        log(0x0041, kLocPd, 0, "Patrol Read stopped");
        return kOk;
    default: // suspend (b[0] = 0) or resume (b[0] = 1)
        if (!zeroFrom(m_, 1) || m_[0] > 1)
            return kBad;
        if (m_[0] == 0) {
            if (state != kPrActive)
                return kBad;
            state = kPrUserPaused;
            log(0x0042, kLocPd, 0, "Patrol Read suspended");
        } else {
            if (state != kPrUserPaused && state != kPrPaused)
                return kBad;
            state = kPrActive;
            log(0x0043, kLocPd, 0, "Patrol Read resumed");
        }
        return kOk;
    }
}

int Firmware::ctrlTime() {
    if (!zeroFrom(m_, 0))
        return kBad;
    std::time_t t = std::time_t(clock_.now());
    std::tm local{};
    localtime_r(&t, &local);
    KV_TIME_STAMP ts{};
    ts.year = std::uint16_t(local.tm_year + 1900);
    ts.month = std::uint8_t(local.tm_mon + 1);
    ts.day = std::uint8_t(local.tm_mday);
    ts.hour = std::uint8_t(local.tm_hour);
    ts.min = std::uint8_t(local.tm_min);
    ts.sec = std::uint8_t(local.tm_sec);
    return answer(ts);
}

int Firmware::bios(bool set) {
    if (!zeroFrom(m_, 0))
        return kBad;
    if (!set)
        return answer(st_.bios);
    if (cmd_.length != sizeof(KV_BIOS_DATA) || !writes())
        return kBad;
    std::uint8_t sum = 0;
    for (std::uint32_t i = 0; i < sizeof(KV_BIOS_DATA); ++i)
        sum = std::uint8_t(sum + cmd_.data[i]);
    if (sum != 0)
        return kStatusChecksumMismatch;
    take(&st_.bios, sizeof st_.bios);
    log(0x0012, kLocCtrl, 0, "BIOS settings changed");
    return kOk;
}

int Firmware::factoryDefaults() {
    if (!zeroFrom(m_, 0))
        return kBad;
    st_.prop = st_.defaultProp;
    st_.alarmState = st_.prop.ctrlProp1.alarmEnable ? 1 : 0;
    mirrorProperties(st_);
    log(0x0011, kLocCtrl, 0, "Controller properties set to factory defaults");
    return kOk;
}

int Firmware::sasAddress() {
    // Word 0 the high half, word 1 the low half.
    if (!zeroFrom(m_, 8))
        return kBad;
    std::uint64_t addr = std::uint64_t(word(m_, 0)) << 32 | word(m_, 1);
    if (addr == 0)
        return kBad;
    st_.mfc.sasAddr = addr;
    char text[80];
    std::snprintf(text, sizeof text, "Controller SAS address set to %016llx",
                  (unsigned long long)addr);
    log(0x0013, kLocSas, 0, text);
    return kOk;
}

int Firmware::flashComponents() {
    // b[0]: 0 running, 1 pending, 2 backup image.
    if (!zeroFrom(m_, 1) || m_[0] > 2)
        return kBad;
    if (m_[0] == 2 && !st_.info.adapterOperations4.supportDualFWUpdate)
        return kBad;
    if (cmd_.length < 8 || !reads())
        return kBad;
    const std::vector<KV_FLASH_COMP_INFO>& list = m_[0] == 0   ? st_.running
                                                  : m_[0] == 1 ? st_.pending
                                                               : st_.backup;
    std::memset(cmd_.data, 0, cmd_.length);
    std::uint32_t count = std::uint32_t(list.size());
    std::uint32_t size = 8 + count * std::uint32_t(sizeof(KV_FLASH_COMP_INFO));
    putWord(cmd_.data, 0, size);
    putWord(cmd_.data, 1, count);
    // As many entries as the transfer holds; a shorter transfer gets a cut list.
    std::uint32_t room = cmd_.length - 8;
    std::uint32_t bytes =
        std::min<std::uint32_t>(room, count * std::uint32_t(sizeof(KV_FLASH_COMP_INFO)));
    if (bytes)
        std::memcpy(cmd_.data + 8, list.data(), bytes);
    return kOk;
}

int Firmware::ccProperties(bool set) {
    return scheduleRecord(set, st_.cc, st_.ccExt, [this](std::uint8_t mode) {
        // The schedule's state follows its mode: disabled stops it, else it waits.
        if (mode == 0)
            st_.ccStatus.state = 0;
        else if (st_.ccStatus.state == 0)
            st_.ccStatus.state = 1;
        log(0x0050, kLocLd, 0, "Consistency Check schedule changed");
    });
}

int Firmware::lockKey() {
    if (!st_.info.adapterOperations.supportSecurity)
        return kNoDcmd;
    LockKeyState& key = st_.lockKey;
    switch (cmd_.opcode) {
    case KV_DCMD_CTRL_LOCK_KEY_CREATE: {
        if (!zeroFrom(m_, 1))
            return kBad; // b[0] carries the mode
        KV_CTRL_LOCK_KEY_PARAMS p{};
        if (!take(&p, sizeof p))
            return kBad;
        std::string pass, keyId;
        if (!boundedText(p.lockKeyPassPhrase.passPhrase, sizeof p.lockKeyPassPhrase.passPhrase,
                         pass) ||
            !boundedText(p.keyId, sizeof p.keyId, keyId))
            return kBad;
        if (key.assigned)
            return kBad; // destroy the key first
        bool external = pass.empty();
        if (external && !st_.info.adapterOperations.supportEKM)
            return kBad;
        assignLockKey(st_, pass, keyId, external);
        std::memset(&p, 0, sizeof p);
        log(0x0070, kLocSecurity, 0,
            external ? "Lock key created through the key manager" : "Lock key created");
        return kOk;
    }
    case KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE: {
        if (!zeroFrom(m_, 0))
            return kBad;
        KV_CTRL_LOCK_KEY_PASSPHRASE out{};
        std::string serial(st_.mfg.sn, strnlen(st_.mfg.sn, sizeof st_.mfg.sn));
        std::uint64_t h =
            fnv1a(0xcbf29ce484222325ULL, serial + "#" + std::to_string(key.suggestions));
        char text[33];
        std::snprintf(text, sizeof text, "Kv#%08xSim%u", unsigned(h & 0xFFFFFFFFu),
                      unsigned(key.suggestions % 100));
        std::memcpy(out.passPhrase, text, std::strlen(text));
        int status = answer(out);
        if (status == kOk)
            ++key.suggestions;
        return status;
    }
    case KV_DCMD_CTRL_LOCK_KEY_KEYID_GET:
    case KV_DCMD_CTRL_LOCK_KEY_KEYID_SET: {
        bool get = cmd_.opcode == KV_DCMD_CTRL_LOCK_KEY_KEYID_GET;
        // s[0] = 0xFFFF; the get carries a selector in b[2].
        if (m_[0] != 0xFF || m_[1] != 0xFF || !zeroFrom(m_, get ? 3 : 2))
            return kBad;
        if (!key.assigned)
            return kStatusNoLockKey;
        std::uint8_t text[256]{};
        if (get) {
            std::memcpy(text, key.keyId.data(), std::min<std::size_t>(key.keyId.size(), 255));
            return answer(text, sizeof text);
        }
        std::string id;
        if (!take(text, sizeof text) || !boundedText(text, sizeof text, id))
            return kBad;
        key.keyId = id;
        log(0x0075, kLocSecurity, 0, "Lock key identifier changed");
        return kOk;
    }
    case KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW:
    case KV_DCMD_CTRL_LOCK_KEY_REKEY:
    case KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW: {
        bool verify = cmd_.opcode == KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW;
        if (!zeroFrom(m_, verify ? 1 : 0))
            return kBad;
        KV_CTRL_LOCK_KEY_FROM_ESCROW r{};
        if (!take(&r, sizeof r))
            return kBad;
        std::string pass;
        bool ok = boundedText(r.lockKeyPassPhrase.passPhrase, sizeof r.lockKeyPassPhrase.passPhrase,
                              pass);
        std::uint8_t escrowLen = r.escrow.escrowLockKeyLength;
        std::string current(reinterpret_cast<const char*>(r.escrow.escrowLockKey),
                            std::min<std::size_t>(escrowLen, sizeof r.escrow.escrowLockKey));
        std::memset(&r, 0, sizeof r);
        if (!ok || escrowLen > sizeof r.escrow.escrowLockKey)
            return kBad;
        if (!key.assigned)
            return kStatusNoLockKey;
        if (cmd_.opcode == KV_DCMD_CTRL_LOCK_KEY_REKEY) {
            if (escrowLen > 0 && !lockKeyMatches(st_, current)) {
                log(0x0074, kLocSecurity, 1, "Lock key re-key refused: wrong passphrase");
                return kStatusWrongPassphrase;
            }
            bool external = pass.empty();
            if (external && !st_.info.adapterOperations.supportEKM)
                return kBad;
            assignLockKey(st_, pass, key.keyId, external);
            st_.info.adapterStatus.lockKeyRebootRequired = 1;
            log(0x0071, kLocSecurity, 0, "Lock key re-keyed");
            return kOk;
        }
        if (!lockKeyMatches(st_, pass)) {
            log(0x0074, kLocSecurity, 1, "Lock key passphrase refused");
            return kStatusWrongPassphrase;
        }
        if (!verify) {
            st_.info.adapterStatus.lockKeyFailed = 0;
            log(0x0073, kLocSecurity, 0, "Lock key restored from escrow");
        }
        return kOk;
    }
    default: // destroy
        if (!zeroFrom(m_, 0))
            return kBad;
        if (!key.assigned)
            return kStatusNoLockKey;
        std::uint32_t suggestions = key.suggestions;
        key = LockKeyState{};
        key.suggestions = suggestions;
        st_.info.adapterStatus.lockKeyAssigned = 0;
        st_.info.adapterStatus.lockKeyFailed = 0;
        st_.info.adapterStatus.lockKeyRebootRequired = 0;
        st_.info.adapterStatus.lockKeyNotBackedup = 0;
        log(0x0072, kLocSecurity, 1, "Lock key destroyed");
        return kOk;
    }
}

int Firmware::eventCapture() {
    KV_AEC_SETTINGS& aec = st_.aec;
    if (cmd_.opcode == KV_DCMD_CTRL_AEC_GET_SETTINGS) {
        if (!zeroFrom(m_, 0))
            return kBad;
        return answer(aec);
    }
    if (cmd_.opcode == KV_DCMD_CTRL_AEC_GET) {
        if (!zeroFrom(m_, 4) || word(m_, 0) > 1 || cmd_.length != 32768 || !reads())
            return kBad;
        std::memset(cmd_.data, 0, cmd_.length);
        std::uint32_t n = 0;
        SimEvent e;
        for (std::uint32_t seq : st_.captured)
            if (st_.events.get(seq, e) && (n + 1) * kEventRecordSize <= cmd_.length)
                EventLog::writeRecord(e, cmd_.data + std::size_t(n++) * kEventRecordSize);
        putWord(m_, 1, n);
        return kOk;
    }
    std::uint32_t sub = word(m_, 0), arg = word(m_, 1), mask = word(m_, 2);
    switch (sub) {
    case 0:
        aec.state = 0;
        st_.captured.clear();
        log(0x00A0, kLocCtrl, 0, "Event capture disabled");
        break;
    case 1:
        aec.state = 1;
        log(0x00A1, kLocCtrl, 0, "Event capture stopped");
        break;
    case 2:
        aec.control = std::uint8_t(arg);
        aec.numEvents = aec.numCapturedEvents = aec.numCapturedSegments = 0;
        st_.captured.clear();
        log(0x00A2, kLocCtrl, 0, "Event capture started");
        aec.state = 2;
        break;
    case 3:
        if (arg > 0xFF)
            return kBad;
        aec.mode = std::uint8_t(arg);
        break;
    case 4:
    case 5: {
        if (arg > 1)
            return kBad;
        std::uint32_t target = arg == 0 ? aec.filterMaskHost : aec.filterMaskFw;
        target = sub == 4 ? (target | mask) : (target & ~mask);
        if (arg == 0)
            aec.filterMaskHost = target;
        else
            aec.filterMaskFw = target;
        putWord(m_, 2, mask); // the firmware echoes the mask it took
        break;
    }
    default:
        return kBad;
    }
    return kOk;
}

int Firmware::battery() {
    if (!batteryPresent())
        return kNoHw;
    if (!zeroFrom(m_, 0))
        return kBad;
    switch (cmd_.opcode) {
    case KV_DCMD_BBU_GET_STATUS: {
        int status = answer(st_.bbu);
        if (status == kOk && st_.learnReadsLeft > 0 && --st_.learnReadsLeft == 0) {
            st_.bbu.fwStatus &= ~kLearnActive;
            std::uint32_t now = clock_.firmwareTime();
            st_.bbuProp.lastSuccessfulLearnTime = now;
            if (st_.bbuProp.autoLearnPeriod != 0)
                st_.bbuProp.nextLearnTime = now + st_.bbuProp.autoLearnPeriod;
            log(0x0061, kLocBbu, 0, "Battery relearn completed");
        }
        return status;
    }
    case KV_DCMD_BBU_GET_CAPACITY_INFO:
        return answer(st_.bbuCapacity);
    case KV_DCMD_BBU_GET_DESIGN_INFO:
        return answer(st_.bbuDesign);
    case KV_DCMD_BBU_PROPERTIES_GET:
        return answer(st_.bbuProp);
    case KV_DCMD_BBU_PROPERTIES_SET: {
        KV_BBU_PROPERTIES p{};
        if (!take(&p, sizeof p) || p.autoLearnMode > 2)
            return kBad;
        st_.bbuProp = p;
        log(0x0062, kLocBbu, 0, "Battery properties changed");
        return kOk;
    }
    case KV_DCMD_BBU_LEARN:
        if (st_.bbu.fwStatus & kLearnActive)
            return kBusy;
        st_.bbu.fwStatus = (st_.bbu.fwStatus | kLearnActive) & ~kLearnRequested;
        st_.learnReadsLeft = 3;
        log(0x0060, kLocBbu, 0, "Battery relearn started");
        return kOk;
    default: // retention test
        log(0x0063, kLocBbu, 0, "Battery retention test started");
        return kOk;
    }
}

int Firmware::muxSet() {
    if (!zeroFrom(m_, 0))
        return kBad;
    KV_SAS_MUX_LIST list{};
    if (cmd_.length != sizeof list || !writes())
        return kBad;
    std::memcpy(&list, cmd_.data, sizeof list);
    if (list.sasMuxCount != st_.mux.sasMuxCount)
        return kBad;
    for (unsigned i = 0; i < st_.mux.sasMuxCount && i < 4; ++i) {
        // A connector without a mux stays without one; a mux cannot be set to 0.
        if (list.sasMuxMode[i] > 3 || (st_.mux.sasMuxMode[i] == 0) != (list.sasMuxMode[i] == 0))
            return kBad;
    }
    st_.mux = list;
    log(0x0081, kLocSas, 0, "SAS mux modes changed");
    return kOk;
}

int Firmware::linkSpeed() {
    if (!st_.info.adapterOperations2.supportSetLinkSpeed)
        return kNoDcmd;
    std::uint8_t phy = m_[0], speed = m_[1];
    if (!zeroFrom(m_, 2) || phy >= st_.phys.count || phy >= 24 ||
        !(speed == 0 || speed == 1 || speed == 2 || speed == 4 || speed == 8))
        return kBad;
    st_.phys.phy[phy].linkSpeedControl = speed;
    static const char* const names[] = {"no limit", "1.5 Gbps", "3.0 Gbps", "",         "6.0 Gbps",
                                        "",         "",         "",         "12.0 Gbps"};
    char text[64];
    std::snprintf(text, sizeof text, "Link speed of phy %u set to %s", unsigned(phy), names[speed]);
    log(0x0080, kLocSas, 0, text);
    return kOk;
}

int Firmware::configRead() {
    if (!zeroFrom(m_, 1) || (m_[0] != 0 && m_[0] != 2))
        return kBad;
    if (cmd_.length < 8 || !reads())
        return kBad;
    std::uint32_t count = std::uint32_t(std::min(st_.sscVolumes.size(), kMaxSscVolumes));
    std::memset(cmd_.data, 0, cmd_.length);
    putWord(cmd_.data, 0, 8 + 8 * count);
    putWord(cmd_.data, 1, count);
    if (m_[0] == 0) {
        std::uint32_t bytes = std::min<std::uint32_t>(cmd_.length - 8, 8 * count);
        for (std::uint32_t i = 0; i < bytes / 8; ++i) {
            std::uint64_t v = st_.sscVolumes[i];
            for (int k = 0; k < 8; ++k)
                cmd_.data[8 + 8 * i + k] = std::uint8_t(v >> (8 * k));
        }
    }
    return kOk;
}

int Firmware::driverVersion() {
    KV_DRV_DRIVER_VERSION v{};
    std::memcpy(v.driverSignature, "KVDRIVER", 8);
    std::memcpy(v.osName, "Linux", 5);
    std::memcpy(v.osVersion, "6.1", 3);
    std::memcpy(v.driverName, st_.driverName.data(),
                std::min<std::size_t>(st_.driverName.size(), 19));
    std::memcpy(v.driverVersion, st_.driverVersion.data(),
                std::min<std::size_t>(st_.driverVersion.size(), 31));
    std::memcpy(v.driverReleaseDate, "2025-03-14", 10);
    return answer(v);
}

int Firmware::run() {
    KV_CTRL_INFO& info = st_.info;
    switch (cmd_.opcode) {
    case KV_DCMD_CTRL_GET_INFO:
        return ctrlInfo();
    case KV_DCMD_CTRL_PROPERTIES_GET:
        return properties(false);
    case KV_DCMD_CTRL_PROPERTIES_SET:
        return properties(true);
    case KV_DCMD_CTRL_ALARM_GET:
    case KV_DCMD_CTRL_ALARM_ENABLE:
    case KV_DCMD_CTRL_ALARM_DISABLE:
    case KV_DCMD_CTRL_ALARM_SILENCE:
        return alarm();
    case KV_DCMD_CTRL_EVENT_GET_INFO:
    case KV_DCMD_CTRL_EVENT_CLEAR:
    case KV_DCMD_CTRL_EVENT_GET:
    case KV_DCMD_CTRL_EVENT_COUNT:
        return eventList();
    case KV_DCMD_CTRL_SHUTDOWN:
        return shutdown();
    case KV_DCMD_CTRL_PR_GET_STATUS:
        return prStatus();
    case KV_DCMD_CTRL_PR_GET_PROPERTIES:
        return prProperties(false);
    case KV_DCMD_CTRL_PR_SET_PROPERTIES:
        return prProperties(true);
    case KV_DCMD_CTRL_PR_START:
    case KV_DCMD_CTRL_PR_STOP:
    case KV_DCMD_CTRL_PR_SUSPEND_RESUME:
        return prControl();
    case KV_DCMD_CTRL_TIME_GET:
        return ctrlTime();
    case KV_DCMD_CTRL_BIOS_DATA_GET:
        return bios(false);
    case KV_DCMD_CTRL_BIOS_DATA_SET:
        return bios(true);
    case KV_DCMD_CTRL_HOST_INFO_GET:
        if (!info.adapterOperations4.supportHostInfo)
            return kNoDcmd;
        return zeroFrom(m_, 0) ? answer(st_.host) : kBad;
    case KV_DCMD_CTRL_SET_FACTORY_DEFAULTS:
        return factoryDefaults();
    case KV_DCMD_CTRL_MFC_DEFAULTS_GET:
        return zeroFrom(m_, 0) ? answer(st_.mfc) : kBad;
    case KV_DCMD_CTRL_MFC_DEFAULTS_SET:
        if (!zeroFrom(m_, 0) || !take(&st_.mfc, sizeof st_.mfc))
            return kBad;
        log(0x0014, kLocCtrl, 0, "Manufacturing defaults changed");
        return kOk;
    case KV_DCMD_CTRL_MFC_DEFAULTS_SASADDR_SET:
        return sasAddress();
    case KV_DCMD_CTRL_MFC_MFG_GET:
        return zeroFrom(m_, 0) ? answer(st_.mfg) : kBad;
    case KV_DCMD_CTRL_MFC_MFG_2_GET:
        return zeroFrom(m_, 0) ? answer(st_.mfg2, sizeof st_.mfg2) : kBad;
    case KV_DCMD_CTRL_OEM_ID_GET:
        return zeroFrom(m_, 0) ? answer(&st_.oem, 4) : kBad;
    case KV_DCMD_CTRL_FLASH_COMP_INFO_GET:
        return flashComponents();
    case KV_DCMD_CTRL_NVCACHE_ERASE: {
        if (!info.adapterOperations3.supportNVCacheErase)
            return kNoDcmd;
        // b[0] = 0 erases the cache; b[0] = 1 only reports its sizes.
        if (!zeroFrom(m_, 1) || m_[0] > 1)
            return kBad;
        const bool erase = m_[0] == 0;
        if (erase)
            st_.nvCache[1] = 0;
        int status = answer(st_.nvCache, sizeof st_.nvCache);
        if (status == kOk && erase)
            log(0x0094, kLocCtrl, 1, "NV cache erased");
        return status;
    }
    case KV_DCMD_CTRL_CACHE_FLUSH:
        // b[0] the flush types (DDR 1, disk 2, SSD cache 4), b[1] a flush option.
        if (m_[0] == 0 || m_[0] > 7 || !zeroFrom(m_, 2))
            return kBad;
        log(0x0092, kLocCtrl, 0, "Controller cache flushed");
        return kOk;
    case KV_DCMD_CTRL_SSC_FLUSH_STATUS: {
        std::uint32_t none = 0;
        return zeroFrom(m_, 0) ? answer(&none, 4) : kBad;
    }
    case KV_DCMD_CTRL_DIAG_SELF_CHECK:
        if (!zeroFrom(m_, 8))
            return kBad;
        log(0x0093, kLocCtrl, 0, "Controller self check started");
        return kOk;
    case KV_DCMD_CTRL_DIAG_BATTERY_RETENTION_TEST:
    case KV_DCMD_BBU_GET_STATUS:
    case KV_DCMD_BBU_GET_CAPACITY_INFO:
    case KV_DCMD_BBU_GET_DESIGN_INFO:
    case KV_DCMD_BBU_LEARN:
    case KV_DCMD_BBU_PROPERTIES_GET:
    case KV_DCMD_BBU_PROPERTIES_SET:
        return battery();
    case KV_DCMD_CTRL_DIAG_MEM_SCRUB_PATTERN_GET:
        return answerZeros(8);
    case KV_DCMD_CTRL_DIAG_MEM_SCRUB_PATTERN_SET:
        return zeroFrom(m_, 8) ? kOk : kBad;
    case KV_DCMD_CTRL_DIAG_PHY_LOOPBACK:
        if (!zeroFrom(m_, 1) || m_[0] >= st_.phys.count)
            return kBad;
        if (cmd_.length > 0 && reads())
            std::memset(cmd_.data, 0, cmd_.length);
        return kOk;
    case KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS:
        return zeroFrom(m_, 0) ? answer(st_.ccStatus) : kBad;
    case KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES:
        return ccProperties(false);
    case KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES:
        return ccProperties(true);
    case KV_DCMD_CTRL_LOCK_KEY_CREATE:
    case KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE:
    case KV_DCMD_CTRL_LOCK_KEY_KEYID_GET:
    case KV_DCMD_CTRL_LOCK_KEY_KEYID_SET:
    case KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW:
    case KV_DCMD_CTRL_LOCK_KEY_REKEY:
    case KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW:
    case KV_DCMD_CTRL_LOCK_KEY_DESTROY:
        return lockKey();
    case KV_DCMD_CTRL_AEC_CONTROL:
    case KV_DCMD_CTRL_AEC_GET:
    case KV_DCMD_CTRL_AEC_GET_SETTINGS:
        return eventCapture();
    case KV_DCMD_CTRL_DOWNGRADE_KV_TO_iKV:
        return kNoDcmd; // this firmware has no reduced mode to fall back to
    case KV_DCMD_CTRL_IOV_PRIVATE_INFO_GET:
        if (!info.hostInterface.SRIOV)
            return kNoDcmd;
        return zeroFrom(m_, 0) ? answerZeros(1) : kBad;
    case KV_DCMD_CTRL_SET_DEBUG_ATTRIBUTES:
        return (cmd_.length == 0 || writes()) ? kOk : kBad;
    case KV_DCMD_CTRL_CONTROL_HA_MODE_GET:
        return zeroFrom(m_, 0) ? answer(&st_.haMode, 1) : kBad;
    case KV_DCMD_CTRL_CONTROL_HA_MODE_SET:
        if (!info.adapterOperations.clusterSupported)
            return kNoDcmd;
        if (!zeroFrom(m_, 1) || m_[0] > 3)
            return kBad;
        st_.haMode = m_[0];
        log(0x0097, kLocCtrl, 0, "High availability mode changed");
        return kOk;
    case KV_DCMD_CTRL_MAINTENANCE_MODE_SET:
        if (!info.adapterOperations2.supportMaintenanceMode)
            return kNoDcmd;
        if (!zeroFrom(m_, 1) || m_[0] > 3)
            return kBad;
        info.adapterStatus.maintenanceMode = m_[0] & 3;
        log(0x0096, kLocCtrl, 0, m_[0] ? "Maintenance mode entered" : "Maintenance mode left");
        return kOk;
    case KV_DCMD_CTRL_PERSONALITY_GET:
        return zeroFrom(m_, 0) ? answer(st_.personality) : kBad;
    case KV_DCMD_CTRL_PERSONALITY_SET: {
        if (!info.adapterOperations3.supportPersonalityChange)
            return kNoDcmd;
        std::uint16_t p = std::uint16_t(m_[0] | m_[1] << 8);
        bool listed = false;
        for (unsigned i = 0; i < 8; ++i) // element by element: the record is packed
            listed = listed || (p != 0 && st_.personality.supportedPersonalities[i] == p);
        if (!zeroFrom(m_, 4) || !listed || p > 0xFF)
            return kBad;
        st_.personality.requestedPersonality = std::uint8_t(p);
        log(0x0095, kLocCtrl, 0, "Personality change requested; restart to apply");
        return kOk;
    }
    case KV_DCMD_CTRL_PROFILE_LIST_GET:
        return answerZeros(8);
    case KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES:
    case KV_DCMD_CTRL_SNAPDUMP_SET_PROPERTIES:
    case KV_DCMD_CTRL_SNAPDUMP_GET:
        if (!info.adapterOperationExt.adapterOperations5.supportSnapDump)
            return kNoDcmd;
        if (cmd_.opcode == KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES)
            return zeroFrom(m_, 0) ? answer(st_.snapDump, sizeof st_.snapDump) : kBad;
        if (cmd_.opcode == KV_DCMD_CTRL_SNAPDUMP_SET_PROPERTIES)
            return zeroFrom(m_, 0) && take(st_.snapDump, sizeof st_.snapDump) ? kOk : kBad;
        // b[0] 1 header, 2 data (b[1] and w[1] select the part).
        if (m_[0] != 1 && m_[0] != 2)
            return kBad;
        return answerZeros(1);
    case KV_DCMD_CTRL_PSEC_EXPORT_CSR:
    case KV_DCMD_CTRL_PSEC_IMPORT_CER:
    case KV_DCMD_CTRL_PSEC_SLOT_MGMT:
        if (!info.adapterOperationExt.adapterOperations5.supportPlatformSec)
            return kNoDcmd;
        if (cmd_.opcode == KV_DCMD_CTRL_PSEC_EXPORT_CSR) {
            static const char csr[] = "-----BEGIN CERTIFICATE REQUEST-----\n"
                                      "U2ltdWxhdGVkIGNvbnRyb2xsZXIgcmVxdWVzdA==\n"
                                      "-----END CERTIFICATE REQUEST-----\n";
            int status = answerZeros(sizeof csr);
            if (status == kOk)
                std::memcpy(cmd_.data, csr, sizeof csr);
            return status;
        }
        if (cmd_.opcode == KV_DCMD_CTRL_PSEC_IMPORT_CER && (cmd_.length == 0 || !writes()))
            return kBad;
        return kOk;
    case KV_DCMD_CTRL_CONFIG_PAGE_GET:
        return answerZeros(1);
    case KV_DCMD_LD_LIST_QUERY:
        return answerZeros(8);
    case KV_DCMD_LD_GET_SPAN_LIST:
        return answerZeros(8);
    case KV_DCMD_LD_GET_PINNED_LIST:
        return answerZeros(8);
    case KV_DCMD_LD_DISCARD_PINNED:
        return (m_[1] == 1 && zeroFrom(m_, 2)) ? kOk : kBad;
    case KV_DCMD_LD_SSCD_SET_LDS:
        return (cmd_.length >= 8 && writes()) ? kOk : kBad;
    case KV_DCMD_LD_SSCD_GET_LDS:
        return answerZeros(8);
    case KV_DCMD_CFG_READ:
        return configRead();
    case KV_DCMD_CFG_GET_ALLOWED_OPS:
        return zeroFrom(m_, 0) ? answer(st_.allowedOps) : kBad;
    case KV_DCMD_CFG_AUTOCFG: {
        // w[0]: 0 and 3 read, 1 and 2 write the auto-configuration parameters.
        std::uint32_t sub = word(m_, 0);
        if (sub > 3 || cmd_.length == 0)
            return kBad;
        std::uint32_t n = std::min<std::uint32_t>(cmd_.length, sizeof st_.autoConfig);
        if (sub == 1 || sub == 2) {
            if (!writes())
                return kBad;
            std::memcpy(st_.autoConfig, cmd_.data, n);
            log(0x0015, kLocConfig, 0, "Auto configuration changed");
            return kOk;
        }
        if (!reads())
            return kBad;
        std::memset(cmd_.data, 0, cmd_.length);
        std::memcpy(cmd_.data, st_.autoConfig, n);
        return kOk;
    }
    case KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS:
        return zeroFrom(m_, 0) ? answer(st_.phys) : kBad;
    case KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST:
        return zeroFrom(m_, 0) ? answer(st_.mux) : kBad;
    case KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST:
        return muxSet();
    case KV_DCMD_SAS_CONFIG_GET_CONNECTORS:
        return zeroFrom(m_, 0) ? answer(st_.connectors) : kBad;
    case KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH:
        // The page request goes out and the page comes back in the same buffer;
        // this controller answers every page as all zeros after its header.
        if (cmd_.length < 4)
            return kBad;
        if (reads() && cmd_.length > 4)
            std::memset(cmd_.data + 4, 0, cmd_.length - 4);
        return kOk;
    case KV_DCMD_SAS_CONFIG_SET_LINK_SPEED:
        return linkSpeed();
    case KV_DCMD_DPM_GET_CFG:
        if (m_[8] != 1 || !zeroFrom(m_, 9))
            return kBad;
        return answer(st_.dpm, sizeof st_.dpm);
    case KV_DCMD_DPM_CTRL:
        if (m_[8] != 1 || !zeroFrom(m_, 9))
            return kBad;
        std::memcpy(st_.dpm, m_, 8);
        return kOk;
    case KV_DCMD_OOB_METHOD_SET:
        return zeroFrom(m_, 1) && take(st_.oob, sizeof st_.oob) ? kOk : kBad;
    case KV_DCMD_OOB_METHOD_GET:
        return zeroFrom(m_, 1) ? answer(st_.oob, sizeof st_.oob) : kBad;
    case KV_DCMD_PCIE_CONFIG_GET_LANE_CONNECTIONS:
        return zeroFrom(m_, 0) ? answer(st_.lanes) : kBad;
    case KV_DCMD_PCIE_NVME_INIT_ERROR_GET_LIST:
        return answerZeros(8);
    case KV_DCMD_PCIE_NVME_REPAIR:
        if (!info.adapterOperationExt.adapterOperations5.supportNVMeRepair)
            return kNoDcmd;
        return zeroFrom(m_, 1) ? kOk : kBad;
    case KV_DRV_GET_DRIVER_VERSION:
        return zeroFrom(m_, 0) ? driverVersion() : kBad;
    default:
        handled_ = false;
        return kNoDcmd;
    }
}

} // namespace

SimController::SimController(std::unique_ptr<ControllerState> state, const Clock* clock)
    : state_(std::move(state)), clock_(clock) {}

SimController::~SimController() = default;

int SimController::handle(DirectCommand& cmd, bool& handled) {
    handled = false;
    // A request that states a length must bring the room for it.
    if (cmd.length > 0 && cmd.data == nullptr)
        return kBad;
    // Injected faults: a qualified entry (mailbox byte) wins over a plain one.
    const Fault* hit = nullptr;
    for (const Fault& f : state_->faults) {
        if (f.opcode != cmd.opcode)
            continue;
        if (f.mboxByte >= 0 && cmd.mbox[f.mboxByte] == f.mboxValue) {
            hit = &f;
            break;
        }
        if (f.mboxByte < 0 && !hit)
            hit = &f;
    }
    if (hit && hit->hang) {
        // A controller stuck in the command: the caller waits until it ends
        // the process (signals still arrive).
        for (;;)
            ::pause();
    }
    if (hit)
        return hit->status;
    const KV_DCMD_INFO* row = kvDcmdInfo(cmd.opcode);
    if (!row)
        return kNoDcmd;
    // The data must flow the way the opcode moves it.
    bool in = cmd.direction == Direction::Read || cmd.direction == Direction::Both;
    bool out = cmd.direction == Direction::Write || cmd.direction == Direction::Both;
    if ((row->direction == KVI_XFER_READ && !in && cmd.length > 0) ||
        (row->direction == KVI_XFER_WRITE && !out && cmd.length > 0))
        return kBad;
    Firmware fw(*state_, *clock_, cmd);
    int status = fw.run();
    handled = fw.handled();
    return status;
}

int SimController::submit(DirectCommand& cmd) {
    TraceEntry t;
    t.kind = cmd.kind;
    t.opcode = cmd.opcode;
    std::memcpy(t.mbox, cmd.mbox, sizeof t.mbox);
    t.length = cmd.length;
    t.direction = cmd.direction;
    int status = handle(cmd, t.handled);
    t.status = status;
    if (traceLimit_ > 0) {
        trace_.push_back(t);
        while (trace_.size() > traceLimit_)
            trace_.pop_front();
    }
    ++counters_[cmd.opcode];
    ++total_;
    return status;
}

int SimController::submitSmp(SmpCommand& cmd) {
    // SMP frames: request 0x40 FUNCTION ..., response 0x41 FUNCTION RESULT
    // LENGTH ...; REPORT GENERAL (function 0x00) carries the phy count at byte 9.
    constexpr std::uint8_t kRequestFrame = 0x40, kResponseFrame = 0x41, kReportGeneral = 0x00;
    constexpr std::uint8_t kUnknownFunction = 0x01;
    constexpr std::uint32_t kReportGeneralLength = 28;
    constexpr std::uint8_t kExpanderPhys = 28; // every simulated expander has 28 phys
    if (cmd.request == nullptr || cmd.requestLength < 4 || cmd.request[0] != kRequestFrame ||
        cmd.response == nullptr || cmd.responseLength < 4)
        return kBad;
    bool known = false;
    const KV_SAS_PHY_CONNECTIONS& phys = state_->phys;
    for (std::uint32_t i = 0; i < phys.count && i < 24; ++i) {
        std::uint64_t addr = phys.phy[i].sasAddr;
        std::uint32_t type = phys.phy[i].deviceType;
        known = known || (addr == cmd.sasAddress && (type == 2 || type == 3));
    }
    if (!known)
        return kBad;
    std::memset(cmd.response, 0, cmd.responseLength);
    cmd.response[0] = kResponseFrame;
    cmd.response[1] = cmd.request[1];
    if (cmd.request[1] != kReportGeneral) {
        cmd.response[2] = kUnknownFunction;
        return 0;
    }
    if (cmd.responseLength < kReportGeneralLength)
        return kBad;
    cmd.response[3] = (kReportGeneralLength - 4) / 4;
    cmd.response[9] = kExpanderPhys;
    return 0;
}

int SimController::pciLocation(PciLocation& out) {
    out = state_->pci;
    return 0;
}

std::string SimController::driverName() {
    return state_->driverName;
}
std::string SimController::driverVersion() {
    return state_->driverVersion;
}

void SimController::setTraceLimit(std::size_t limit) {
    traceLimit_ = limit;
    while (trace_.size() > traceLimit_)
        trace_.pop_front();
}

std::uint64_t SimController::count(std::uint32_t opcode) const {
    auto it = counters_.find(opcode);
    return it == counters_.end() ? 0 : it->second;
}

void SimController::resetIntrospection() {
    trace_.clear();
    counters_.clear();
    total_ = 0;
}

ProcessInputs SimController::processInputs() const {
    ProcessInputs in;
    in.isOEMhp = state_->isOEMhp;
    in.controllerType = state_->controllerType;
    return in;
}

} // namespace kvi::sim
