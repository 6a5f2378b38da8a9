// The request handlers of a simulated controller, one per group of opcodes;
// the dispatch by opcode and the conventions they follow are in
// SimController.cpp.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "sim/SimFirmware.h"
#include "sim/SimInternal.h"
#include "sim/Simulator.h"

namespace kvi::sim::handlers {

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

} // namespace kvi::sim::handlers
