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
#include "sim/SimFirmware.h"
#include "sim/SimInternal.h"
#include "sim/Simulator.h"

namespace kvi::sim {

// ---- shared helpers ----

void mirrorProperties(ControllerState& st) {
    st.info.properties = st.prop.ctrlProp1;
    st.info.prop = st.prop.ctrlProp2;
}

namespace {
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

namespace handlers {

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

} // namespace handlers

// The controller answers what the request handlers cannot: faults, hangs,
// unknown opcodes and transfers against the opcode's direction.
using namespace handlers;

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
