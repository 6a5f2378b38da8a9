// Configuration rules of AdapterDataKvi: RAID levels, spans, strips,
// configuration permission and the capability queries.
//
// Nearly every answer comes from the cached controller information or the
// manufacturing defaults; the per-level drive and span tables keep the
// firmware's own irregular pairings (level 17 uses the "1E" words, level 35 the
// "1E_RLQ0" words; spanned levels halve the firmware's whole-array minimum).
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"
#include "provider/KviDataProvider.h"

namespace {

using namespace kvi::adapter;

// RAID level codes.
constexpr unsigned char kRaid0 = 0;
constexpr unsigned char kRaid1 = 1;
constexpr unsigned char kRaid5 = 5;
constexpr unsigned char kRaid6 = 6;
constexpr unsigned char kRaidEc = 17;
constexpr unsigned char kRaid10 = 32;
constexpr unsigned char kRaid50 = 33;
constexpr unsigned char kRaid60 = 34;
constexpr unsigned char kRaid1E = 35;
constexpr unsigned char kRaid00 = 36;

// OEM identifiers that change an answer.
constexpr int kOem2 = 2;

// Target-id list of the logical-drive query: size U32 at 0 (bytes the firmware
// needs), count U32 at 4, 3 pad bytes, one target id per drive from byte 11.
constexpr std::size_t kLdListHeadSize = 16;
constexpr std::size_t kLdListIdsOffset = 11;
// Largest list accepted from the firmware.
constexpr std::uint32_t kLdListMaxSize = 64u * 1024u;

// Configuration read of the SSD cache: mailbox b[0] = 2 asks for the head
// (size U32: bytes of the SSD-cache configuration; count U32: SSD cache
// volumes), b[0] = 0 reads it: the head again, then one U64 block count
// (512-byte blocks) per volume.
constexpr std::uint8_t kCfgReadSscHead = 2;
constexpr std::uint8_t kCfgReadSsc = 0;
constexpr std::size_t kCfgHeadSize = 8;
constexpr std::uint32_t kCfgMaxSize = 64u * 1024u;

std::uint32_t u32At(const std::vector<std::uint8_t>& b, std::size_t off) {
    std::uint32_t v = 0;
    std::memcpy(&v, b.data() + off, sizeof v);
    return v;
}

std::size_t standardSize(std::uint32_t opcode) {
    const KV_DCMD_INFO* row = kvDcmdInfo(opcode);
    return row != nullptr ? row->standardSize : 0;
}

// The strip-size bounds: unlike infoAnswer, the exit line (with the status)
// is logged and the load's status returned also when the load fails.
template <typename Pick>
int stripSizeBound(AdapterDataKvi& a, const char* name, unsigned char* out, Pick pick) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        return -1;
    }
    int rc = 0;
    const KV_CTRL_INFO* info = a.ctrlInfoOrStatus(&rc);
    if (info != nullptr) {
        *out = pick(*info);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
    return rc;
}

// The add and clear permissions: "allowed" at once when the firmware does not
// validate configuration operations, else `allowed` of a fresh read of the
// allowed operations. `exitTail` ends the exit line (each keeps its own).
template <typename Allowed>
int configOpAllowed(AdapterDataKvi& a, const char* name, const char* exitTail, bool* out,
                    Allowed allowed) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        return -1;
    }
    bool validates = false;
    int rc = a.doesFWSupportCfgValidation(&validates);
    if (rc != 0) {
        return rc;
    }
    if (!validates) {
        *out = true;
        return 0;
    }
    rc = a.getConfigAllowedOps();
    if (rc != 0) {
        return rc;
    }
    *out = allowed();
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s%s", name, exitTail);
    return 0;
}

} // namespace

const KV_CTRL_INFO* AdapterDataKvi::ctrlInfoOrStatus(int* rc) {
    *rc = getCtlrInfo();
    return *rc == 0 ? kvCtrlInfoPtr_ : nullptr;
}

const KV_MFC_DEFAULTS* AdapterDataKvi::mfcDefaultsOrStatus(int* rc) {
    *rc = getMFCdata();
    return *rc == 0 ? kvMFCDefPtr_ : nullptr;
}

// ---------------------------------------------------------------------------
// Strip sizes

int AdapterDataKvi::getMinStrpSz(unsigned char* out) {
    return stripSizeBound(*this, "getMinStrpSz", out,
                          [](const KV_CTRL_INFO& i) { return i.stripeSizeOptions.min; });
}

int AdapterDataKvi::getMaxStrpSz(unsigned char* out) {
    return stripSizeBound(*this, "getMaxStrpSz", out,
                          [](const KV_CTRL_INFO& i) { return i.stripeSizeOptions.max; });
}

// Every code from min to max inclusive; empty when min > max. The counter is
// an int so that a maximum of 255 ends the loop.
int AdapterDataKvi::getValidStrpSzLst(ArrayList<unsigned char>** out) {
    int rc = 0;
    const KV_CTRL_INFO* info = enterInfo(*this, "getValidStrpSzLst", out, &rc);
    if (info == nullptr) {
        return rc;
    }
    ArrayList<unsigned char>* list = newList();
    if (list == nullptr) {
        return -1;
    }
    for (int code = info->stripeSizeOptions.min; code <= info->stripeSizeOptions.max; ++code) {
        list->add(static_cast<unsigned char>(code));
    }
    *out = list;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getValidStrpSzLst");
    return 0;
}

int AdapterDataKvi::getDefaultStrpSz(unsigned char* out) {
    return mfcAnswer(*this, "getDefaultStrpSz", out,
                     [](const KV_MFC_DEFAULTS& m) { return m.stripeSize; });
}

// ---------------------------------------------------------------------------
// Spans and drives per span

bool AdapterDataKvi::isMultiSpanRaidLevel(unsigned char level) {
    DEBUG_LOG(INFO, "Exntering AdapterDataKvi::isMultiSpanRaidLevel");
    return level == kRaid10 || level == kRaid50 || level == kRaid60 || level == kRaid00;
}

int AdapterDataKvi::getMinSpanCount(unsigned char* out, unsigned char level) {
    DEBUG_LOG(INFO, "Exntering AdapterDataKvi::getMinSpanCount");
    if (out == nullptr) {
        return -1;
    }
    *out = isMultiSpanRaidLevel(level) ? 2 : 1;
    return 0;
}

// On controllers with uneven spans a RAID 1 may be built as several spans.
int AdapterDataKvi::getMaxSpanCount(unsigned char* out, unsigned char level) {
    DEBUG_LOG(INFO, "Exntering AdapterDataKvi::getMaxSpanCount");
    if (out == nullptr) {
        return -1;
    }
    int rc = 0;
    const KV_CTRL_INFO* info = ctrlInfoOrStatus(&rc);
    if (info == nullptr) {
        return rc;
    }
    unsigned char spans = isMultiSpanRaidLevel(level) ? info->maxSpans : 1;
    if (level == kRaid1 && info->adapterOperations2.supportUnevenSpans != 0) {
        spans = info->maxSpans;
    }
    *out = spans;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getMaxSpanCount retCode = %d", rc);
    return rc;
}

// The firmware's minimum of a spanned level counts the whole array, so it is
// halved; OEM 2 requires at least 4 drives for levels 6 and 60.
int AdapterDataKvi::getMinPdPerSpan(unsigned char* out, unsigned char level) {
    int rc = 0;
    const KV_CTRL_INFO* info = enterInfo(*this, "getMinPdPerSpan", out, &rc);
    if (info == nullptr) {
        return rc;
    }
    const auto& pds = info->pdsForRaidLevels;
    auto oemIs2 = [this]() {
        int oem = 0;
        return getOem(&oem) == 0 && oem == kOem2;
    };
    unsigned int minPd = 0;
    switch (level) {
    case kRaid0:
    case kRaid00:
        minPd = pds.minPdRaidLevel_0;
        break;
    case kRaid1:
        minPd = pds.minPdRaidLevel_1;
        break;
    case kRaid5:
        minPd = pds.minPdRaidLevel_5;
        break;
    case kRaid6:
        minPd = pds.minPdRaidLevel_6;
        if (oemIs2()) {
            minPd = 4;
        }
        break;
    case kRaidEc:
        minPd = pds.minPdRaidLevel_1E;
        break;
    case kRaid10:
        minPd = pds.minPdRaidLevel_10 / 2u;
        break;
    case kRaid50:
        minPd = pds.minPdRaidLevel_50 / 2u;
        break;
    case kRaid60:
        minPd = pds.minPdRaidLevel_60 / 2u;
        if (oemIs2()) {
            minPd = 4;
        }
        break;
    case kRaid1E:
        minPd = pds.minPdRaidLevel_1E_RLQ0;
        break;
    default:
        return -1;
    }
    *out = static_cast<unsigned char>(minPd);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getMinPdPerSpan");
    return 0;
}

// Maximum counts are 12-bit values; only their low 8 bits reach the output.
int AdapterDataKvi::getMaxPdPerSpan(unsigned char* out, unsigned char level) {
    int rc = 0;
    const KV_CTRL_INFO* info = enterInfo(*this, "getMaxPdPerSpan", out, &rc);
    if (info == nullptr) {
        return rc;
    }
    // Both are asked before the level is looked at; a failure of either
    // counts as "no" / OEM 0.
    bool prl11 = false;
    if (isPRL11Supported(&prl11) != 0) {
        prl11 = false;
    }
    int oem = 0;
    if (getOem(&oem) != 0) {
        oem = 0;
    }
    const auto& pds = info->pdsForRaidLevels;
    unsigned int maxPd = 0;
    switch (level) {
    case kRaid0:
    case kRaid00:
        maxPd = pds.maxPdRaidLevel_0;
        break;
    case kRaid1:
        maxPd = prl11 ? pds.maxPdRaidLevel_1E_RLQ0 : pds.maxPdRaidLevel_1;
        break;
    case kRaid5:
        maxPd = pds.maxPdRaidLevel_5;
        break;
    case kRaid6:
        maxPd = pds.maxPdRaidLevel_6;
        break;
    case kRaidEc:
        maxPd = pds.maxPdRaidLevel_1E;
        break;
    case kRaid10:
        if (prl11 && oem == kOem2) {
            // A controller reporting no spans cannot be divided by.
            if (info->maxSpans == 0) {
                return -1;
            }
            maxPd = static_cast<unsigned int>(static_cast<int>(pds.maxPdRaidLevel_1E0_RLQ0) /
                                              static_cast<int>(info->maxSpans));
        } else {
            maxPd = info->maxArms;
        }
        break;
    case kRaid50:
    case kRaid60:
        maxPd = info->maxArms;
        break;
    case kRaid1E:
        maxPd = pds.maxPdRaidLevel_1E_RLQ0;
        break;
    default:
        return -1;
    }
    *out = static_cast<unsigned char>(maxPd & 0xFFu);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getMaxPdPerSpan");
    return 0;
}

// ---------------------------------------------------------------------------
// RAID levels

// Levels 17 and 35 are never listed here, even when their bits are set.
int AdapterDataKvi::getSupportedRaidLevels(ArrayList<unsigned char>** out) {
    int rc = 0;
    const KV_CTRL_INFO* info = enterInfo(*this, "getSupportedRaidLevels", out, &rc);
    if (info == nullptr) {
        return rc;
    }
    ArrayList<unsigned char>* list = newList();
    if (list == nullptr) {
        return -1;
    }
    const auto& lv = info->raidLevels;
    if (lv.raidLevel_0 != 0) {
        list->add(kRaid0);
    }
    if (lv.raidLevel_1 != 0) {
        list->add(kRaid1);
    }
    if (lv.raidLevel_5 != 0) {
        list->add(kRaid5);
    }
    if (lv.raidLevel_6 != 0) {
        list->add(kRaid6);
    }
    if (lv.raidLevel_00_unsupported == 0) {
        list->add(kRaid00);
    }
    if (lv.raidLevel_10 != 0) {
        list->add(kRaid10);
    }
    if (lv.raidLevel_50 != 0) {
        list->add(kRaid50);
    }
    if (lv.raidLevel_60 != 0) {
        list->add(kRaid60);
    }
    *out = list;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSupportedRaidLevels");
    return 0;
}

int AdapterDataKvi::isPRL11Supported(bool* out) {
    return infoAnswer(*this, "isPRL11Supported", out, [](const KV_CTRL_INFO& i) {
        return i.raidLevels.raidLevel_1E_RLQ0 != 0 || i.raidLevels.raidLevel_1E0_RLQ0 != 0;
    });
}

// The firmware's bit is read but the answer is always "no": this level is not
// offered by the tool.
int AdapterDataKvi::isSRL03Supported(bool* out) {
    return infoAnswer(*this, "isSRL03Supported", out, [](const KV_CTRL_INFO& i) {
        bool srl03 = i.raidLevels.SRL_03 != 0;
        srl03 = false;
        return srl03;
    });
}

int AdapterDataKvi::getMaxAllowedVd(unsigned char* out) {
    return infoAnswer(*this, "getMaxAllowedVd", out,
                      [](const KV_CTRL_INFO& i) { return i.maxLDs; });
}

int AdapterDataKvi::isSlicingSupportedWithSpanning(bool* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::isSlicingSupportedWithSpanning");
    if (out == nullptr) {
        return -1;
    }
    *out = true;
    return 0;
}

// ---------------------------------------------------------------------------
// Shutdown and restart

int AdapterDataKvi::adpShutDown(bool value) {
    return logged("adpShutDown", [&] {
        DCMD_MBOX mbox = kviMbox();
        mbox.b[0] = value ? 1 : 0;
        return sendDcmd(KV_DCMD_CTRL_SHUTDOWN, mbox, nullptr, 0, 0);
    });
}

int AdapterDataKvi::adpRestart(bool value) {
    return logged("adpRestart", [&] {
        DCMD_MBOX mbox = kviMbox();
        mbox.b[1] = value ? 1 : 0;
        return sendDcmd(KV_DCMD_CTRL_SHUTDOWN, mbox, nullptr, 0, 0);
    });
}

// ---------------------------------------------------------------------------
// Configuration permission and capabilities

int AdapterDataKvi::doesFWSupportAllowedOpValdation(bool* out) {
    return infoAnswer(*this, "doesFWSupportAllowedOpValdation", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations.supportAllowedOps != 0;
    });
}

// Firmware that does not validate configuration operations allows them all.
int AdapterDataKvi::isAddConfigAllowed(bool* out) {
    return configOpAllowed(*this, "isAddConfigAllowed", "", out,
                           [this] { return kvCfgAllowedOps_.addConfig != 0; });
}

int AdapterDataKvi::isClearConfigAllowed(bool* out) {
    return configOpAllowed(*this, "isClearConfigAllowed", " retCode = 0", out,
                           [this] { return kvCfgAllowedOps_.clearConfig != 0; });
}

int AdapterDataKvi::isGen2Card(bool* out) {
    return infoAnswer(*this, "isGen2Card", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations.supportConfigPageModel != 0;
    });
}

int AdapterDataKvi::isNewFrnCfgAPISupported(bool* out) {
    return infoAnswer(*this, "isNewFrnCfgAPISupported", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations.supportEnhForeignImport != 0;
    });
}

int AdapterDataKvi::isEnclEnumSupported(bool* out) {
    return infoAnswer(*this, "isEnclEnumSupported", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations.supportEnclEnumeration != 0;
    });
}

int AdapterDataKvi::moreThan8Phys(bool* out) {
    return infoAnswer(*this, "moreThan8Phys", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations.supportMoreThan8Phys != 0;
    });
}

int AdapterDataKvi::isExpanderPresent(bool* out) {
    return infoAnswer(*this, "isExpanderPresent", out,
                      [](const KV_CTRL_INFO& i) { return i.hwPresent.expander != 0; });
}

int AdapterDataKvi::isAlarmPresent(bool* out) {
    return infoAnswer(*this, "isAlarmPresent", out,
                      [](const KV_CTRL_INFO& i) { return i.hwPresent.alarm != 0; });
}

int AdapterDataKvi::isTreatR1EAsR10(bool* out) {
    return mfcAnswer(*this, "isTreatR1EAsR10", out,
                     [](const KV_MFC_DEFAULTS& m) { return m.treatR1EAsR10 != 0; });
}

// Size of the SSD cache as configured, in 512-byte blocks; 0 when the
// controller has no SSD cache. Two configuration reads: the head (b[0] = 2),
// then the SSD-cache configuration itself (b[0] = 0) with the head's size.
int AdapterDataKvi::getCurrentConfigSSCSize(unsigned long long* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getCurrentConfigSSCSize");
    if (out == nullptr) {
        return -1;
    }
    std::vector<std::uint8_t> head(std::max(kCfgHeadSize, standardSize(KV_DCMD_CFG_READ)), 0);
    int rc = sendDcmd(KV_DCMD_CFG_READ, kviMbox(kCfgReadSscHead), head.data(),
                      static_cast<std::uint32_t>(head.size()), 0);
    if (rc != 0) {
        return rc;
    }
    const std::uint32_t size = u32At(head, 0);
    if (size > kCfgMaxSize) {
        return -1;
    }
    // Room for what is asked and at least the head; entries beyond the
    // buffer are not read whatever count the firmware gives.
    std::vector<std::uint8_t> cfg(std::max<std::size_t>({size, head.size(), kCfgHeadSize}), 0);
    rc = sendDcmd(KV_DCMD_CFG_READ, kviMbox(kCfgReadSsc), cfg.data(),
                  static_cast<std::uint32_t>(cfg.size()), size);
    if (rc != 0) {
        return rc;
    }
    const std::size_t held = (cfg.size() - kCfgHeadSize) / sizeof(std::uint64_t);
    const std::size_t count = std::min<std::size_t>(u32At(cfg, 4), held);
    unsigned long long blocks = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t v = 0;
        std::memcpy(&v, cfg.data() + kCfgHeadSize + i * sizeof v, sizeof v);
        blocks += v;
    }
    *out = blocks;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getCurrentConfigSSCSize retCode = %d", rc);
    return 0;
}

// Levels allowed for an SSD cache volume.
bool AdapterDataKvi::getSupportedRaidLevelsForBV(unsigned char level) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSupportedRaidLevelsForBV");
    int rc = 0;
    const KV_CTRL_INFO* info = ctrlInfoOrStatus(&rc);
    if (info == nullptr) {
        return false;
    }
    const auto& lv = info->raidLevels;
    switch (level) {
    case kRaid0:
        return lv.SSCraidLevel_0_unsupported == 0 && lv.raidLevel_0 != 0;
    case kRaid1:
        return lv.SSCraidLevel_1 != 0 && lv.raidLevel_1 != 0;
    case kRaid5:
        return lv.SSCraidLevel_5 != 0 && lv.raidLevel_5 != 0;
    case kRaid1E:
        return lv.SSCraidLevel_1E != 0 && lv.raidLevel_1E != 0;
    default:
        return false;
    }
}

int AdapterDataKvi::moreThan16Phys(bool* out) {
    return infoAnswer(*this, "moreThan16Phys", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations3.supportMoreThan16Phys != 0;
    });
}

int AdapterDataKvi::getOem(int* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getOem");
    if (out == nullptr || KviDataProvider::getInstance(0xFF) == nullptr) {
        return -1;
    }
    std::uint32_t oem = 0;
    const int rc = sendDcmdRec(KV_DCMD_CTRL_OEM_ID_GET, kviMbox(), &oem);
    if (rc != 0) {
        return rc;
    }
    *out = static_cast<int>(oem);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getOem");
    return 0;
}

// 1 when some logical drive has a target id above 63, and also when a step
// fails (callers then keep to the 64-drive rules); 0 otherwise.
int AdapterDataKvi::isCtrlhas64VDLimit() {
    // This entry line is the one log readers know this query by.
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::isMaintenanceModeSupported");
    DCMD_MBOX mbox = kviMbox();
    mbox.b[2] = 1;
    std::vector<std::uint8_t> head(std::max(kLdListHeadSize, standardSize(KV_DCMD_LD_LIST_QUERY)),
                                   0);
    int rc = sendDcmd(KV_DCMD_LD_LIST_QUERY, mbox, head.data(),
                      static_cast<std::uint32_t>(head.size()), 0);
    if (rc != 0) {
        return 1;
    }
    const std::uint32_t size = u32At(head, 0);
    if (size > kLdListMaxSize) {
        // A size no buffer is made for counts as a failed allocation: like every
        // failure of this query it answers 1, the cautious answer.
        return 1;
    }
    // At least the head and the standard transfer size, so that neither the
    // transfer nor the id scan reaches past the buffer.
    std::vector<std::uint8_t> list(std::max<std::size_t>(size, head.size()), 0);
    rc = sendDcmd(KV_DCMD_LD_LIST_QUERY, mbox, list.data(), static_cast<std::uint32_t>(list.size()),
                  size);
    if (rc != 0) {
        return 1;
    }
    const std::size_t count = std::min<std::size_t>(u32At(list, 4), list.size() - kLdListIdsOffset);
    int result = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (list[kLdListIdsOffset + i] > 63) {
            result = 1;
            break;
        }
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::isCtrlhas64VDLimit retValue = %d", result);
    return result;
}

// Non-volatile cache erase, or with erase false only its report: the reply
// is two 8-byte words, the second through `a`, the first through `b`.
int AdapterDataKvi::adpFlashErase(unsigned long long* a, bool erase, unsigned long long* b) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::adpFlashErase");
    std::uint64_t reply[2] = {0, 0};
    const int rc = sendDcmd(KV_DCMD_CTRL_NVCACHE_ERASE, kviMbox(erase ? 0 : 1), reply,
                            static_cast<std::uint32_t>(sizeof reply), 0);
    if (rc == 0) {
        if (a != nullptr) {
            *a = reply[1];
        }
        if (b != nullptr) {
            *b = reply[0];
        }
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::adpFlashErase retCode = %d", rc);
    return rc;
}

// A failed load answers the low byte of its status.
unsigned char AdapterDataKvi::doesControllerSupportPortNumInSmp() {
    DEBUG_LOG(INFO, "AdapterDataKvi::doesControllerSupportPortNumInSmp Entering");
    int rc = 0;
    const KV_CTRL_INFO* info = ctrlInfoOrStatus(&rc);
    if (info == nullptr) {
        return static_cast<unsigned char>(rc & 0xFF);
    }
    const unsigned char answer = static_cast<unsigned char>(
        info->adapterOperationExt.adapterOperations6.supportKviSmpPortNum);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::doesControllerSupportPortNumInSmp");
    return answer;
}

// Whether the firmware validates configuration operations (add, clear).
int AdapterDataKvi::doesFWSupportCfgValidation(bool* supported) {
    return doesFWSupportAllowedOpValdation(supported);
}
