// Feature operations of AdapterDataKvi: diagnostics, pages, personalities, HA, snap dumps and more.
//
// Three kinds of operation live here:
// - Capability and value queries answered from the cached controller information or
//   properties (entry line, load, early return on a failed load, answer, exit line).
// - Thin requests: one direct command with its opcode and mailbox, the firmware's status
//   returned unchanged and out-values written only on success. Records and lists whose
//   layout this layer does not decode are handed to the caller as bytes: a buffer made with
//   new[] (the caller releases it with delete[]) and its length.
// - Lists of unknown length are read in two passes: first the head (size U32 = bytes of the
//   whole list, head included; count U32), then exactly the announced size, never more
//   than kFeatureReadCap (1 MiB). A head that announces more is refused with -1.
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"
#include "provider/DpParams.h"
#include "provider/KviDataProvider.h"
#include "json/elements.h"

namespace {

using kvi::adapter::infoAnswer;

// Personality codes, as the current-personality bitmap uses them.
constexpr unsigned short kPersonalitySds = 4;
constexpr unsigned short kPersonalityJbod = 8;

// Configuration-page actions (byte 0 of the pass-through frame) and the
// manufacturing page type.
constexpr std::uint8_t kPageActionHeader = 0;
constexpr std::uint8_t kPageActionRead = 1;
constexpr std::uint8_t kPageActionWrite = 2;
constexpr std::uint8_t kPageTypeManufacturing = 0x09;

// Controller page reads (KV_DCMD_CTRL_CONFIG_PAGE_GET): mailbox b[0] the page
// kind, b[1] the page number.
constexpr std::uint8_t kCtrlPageMfgExt = 1;
constexpr std::uint8_t kCtrlPageSecurity = 2;

// Auto-configuration sub-functions (mailbox w[0] of KV_DCMD_CFG_AUTOCFG).
constexpr std::uint32_t kAutoCfgGetParam = 0;
constexpr std::uint32_t kAutoCfgSetParam = 1;
constexpr std::uint32_t kAutoCfgSetPdCache = 2;
constexpr std::uint32_t kAutoCfgGetPdCache = 3;

// Snap dump reads (mailbox b[0] of KV_DCMD_CTRL_SNAPDUMP_GET).
constexpr std::uint8_t kSnapDumpHeader = 1;
constexpr std::uint8_t kSnapDumpData = 2;

// Logical-drive id list of the SSD cache (KV_DCMD_LD_SSCD_GET_LDS / _SET_LDS):
// size U32, count U32, then one target id byte per drive; at most 256 ids.
constexpr std::uint32_t kSscdMaxIds = 256;

// Phy loopback answer: count U32, reserved U32, then up to 24 results of 8
// bytes (phy U8, result U8 with 0 = passed, reserved U16, error count U32).
constexpr std::uint32_t kLoopbackMaxResults = 24;
constexpr std::uint32_t kLoopbackResultSize = 8;
constexpr std::uint32_t kLoopbackLength = 8 + kLoopbackMaxResults * kLoopbackResultSize;

// SMP REPORT GENERAL: request frame (type 0x40, function 0x00) with room for
// its CRC; the response (type 0x41) has the function result at byte 2 and the
// expander's number of phys at byte 9.
constexpr std::uint8_t kSmpRequestFrame = 0x40;
constexpr std::uint8_t kSmpResponseFrame = 0x41;
constexpr std::uint8_t kSmpReportGeneral = 0x00;
constexpr std::uint32_t kSmpRequestLength = 8;
constexpr std::uint32_t kSmpResponseLength = 64;
constexpr std::size_t kSmpNumPhysOffset = 9;

std::uint32_t standardSize(std::uint32_t opcode) {
    const KV_DCMD_INFO* row = kvDcmdInfo(opcode);
    return row != nullptr ? row->standardSize : 0;
}

std::uint32_t u32At(const unsigned char* p) {
    std::uint32_t v = 0;
    std::memcpy(&v, p, sizeof v);
    return v;
}

void putU32(unsigned char* p, std::uint32_t v) {
    std::memcpy(p, &v, sizeof v);
}

unsigned char* newBytes(std::uint32_t n) {
    return new (std::nothrow) unsigned char[n > 0 ? n : 1]();
}

bool providerAvailable(const char* name) {
    if (KviDataProvider::getInstance(0xFF) == nullptr) {
        DEBUG_LOG(WARNING, "Exiting AdapterDataKvi::%s as data provider is not available", name);
        return false;
    }
    return true;
}

// Like infoAnswer, for the argument-less queries that return the answer: 1
// or 0, and 0 when the controller information cannot be read.
template <typename Pick> int infoFlag(AdapterDataKvi& a, const char* name, Pick pick) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    int rc = 0;
    const KV_CTRL_INFO* info = a.ctrlInfoOrStatus(&rc);
    if (info == nullptr) {
        return 0;
    }
    const int answer = pick(*info) ? 1 : 0;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, answer);
    return answer;
}

// The page readers differ only in the name their log lines carry: one
// configuration-page read between the entry and exit lines.
int loggedConfigPageRead(AdapterDataKvi& a, const char* name, unsigned char pageType,
                         unsigned char pageNumber, unsigned int pageAddress, unsigned char** out,
                         unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    const int rc = a.featureReadConfigPage(pageType, pageNumber, pageAddress, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
    return rc;
}

// Whether a personality code is among the supported ones, by a fresh read.
int personalitySupported(AdapterDataKvi& a, const char* name, unsigned short code, bool* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        return -1;
    }
    KV_CTRL_PERSONALITY_INFO info{};
    const int rc = static_cast<AdapterData&>(a).getPersonality(&info);
    if (rc != 0) {
        return rc;
    }
    bool found = false;
    for (const std::uint16_t p : info.supportedPersonalities) {
        found = found || p == code;
    }
    *out = found;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
    return 0;
}

} // namespace

// ---------------------------------------------------------------------------
// Helpers shared by the operations below

int AdapterDataKvi::featureReadBytes(std::uint32_t opcode, const DCMD_MBOX& mbox,
                                     std::uint32_t size, std::uint32_t length, unsigned char** out,
                                     unsigned int* outLength) {
    if (out == nullptr || outLength == nullptr || size == 0) {
        return -1;
    }
    unsigned char* buf = newBytes(size);
    if (buf == nullptr) {
        return -1;
    }
    const int rc = sendDcmd(opcode, mbox, buf, size, length);
    if (rc != 0) {
        delete[] buf;
        return rc;
    }
    *out = buf;
    *outLength = size;
    return 0;
}

int AdapterDataKvi::featureReadList(std::uint32_t opcode, const DCMD_MBOX& mbox,
                                    std::uint32_t headLength, std::uint32_t headRequestLength,
                                    unsigned char** out, unsigned int* outLength) {
    if (out == nullptr || outLength == nullptr || headLength < kFeatureListHead) {
        return -1;
    }
    std::vector<unsigned char> head(headLength, 0);
    int rc = sendDcmd(opcode, mbox, head.data(), headLength, headRequestLength);
    if (rc != 0) {
        return rc;
    }
    const std::uint32_t announced = u32At(head.data());
    if (announced > kFeatureReadCap) {
        DEBUG_LOG(WARNING, "AdapterDataKvi: list of 0x%08x announces %u bytes, more than %u",
                  opcode, announced, kFeatureReadCap);
        return -1;
    }
    if (announced <= headLength) {
        // The head read already holds the whole list; it is never shorter
        // than its own head.
        const std::uint32_t size = announced < kFeatureListHead ? kFeatureListHead : announced;
        unsigned char* buf = newBytes(size);
        if (buf == nullptr) {
            return -1;
        }
        std::memcpy(buf, head.data(), size);
        *out = buf;
        *outLength = size;
        return 0;
    }
    unsigned char* buf = newBytes(announced);
    if (buf == nullptr) {
        return -1;
    }
    rc = sendDcmd(opcode, mbox, buf, announced, announced);
    if (rc != 0) {
        delete[] buf;
        return rc;
    }
    *out = buf;
    *outLength = announced;
    return 0;
}

int AdapterDataKvi::featureWriteRecord(std::uint32_t opcode, const DCMD_MBOX& mbox,
                                       const unsigned char* data, unsigned int length) {
    const std::uint32_t size = standardSize(opcode);
    if (data == nullptr || length == 0 || length > size) {
        return -1;
    }
    std::vector<unsigned char> rec(size, 0);
    std::memcpy(rec.data(), data, length);
    return sendDcmd(opcode, mbox, rec.data(), size, 0);
}

int AdapterDataKvi::getConfigPageHeader(unsigned char pageType, unsigned char pageNumber,
                                        unsigned int pageAddress, unsigned int* pageLength) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getConfigPageHeader");
    if (pageLength == nullptr || !providerAvailable("getConfigPageHeader")) {
        return -1;
    }
    unsigned char frame[kConfigPageHead] = {};
    frame[0] = kPageActionHeader;
    frame[1] = pageType;
    frame[2] = pageNumber;
    putU32(frame + 4, pageAddress);
    const int rc =
        sendDcmd(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, kviMbox(), frame, sizeof frame, sizeof frame);
    if (rc == 0) {
        *pageLength = u32At(frame + 8);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getConfigPageHeader retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::featureReadConfigPage(unsigned char pageType, unsigned char pageNumber,
                                          unsigned int pageAddress, unsigned char** out,
                                          unsigned int* length) {
    if (out == nullptr || length == nullptr) {
        return -1;
    }
    unsigned int bodyLength = 0;
    int rc = getConfigPageHeader(pageType, pageNumber, pageAddress, &bodyLength);
    if (rc != 0) {
        return rc;
    }
    if (bodyLength > kFeatureReadCap - kConfigPageHead) {
        DEBUG_LOG(WARNING, "AdapterDataKvi: page 0x%02x/%u announces %u bytes, more than %u",
                  pageType, pageNumber, bodyLength, kFeatureReadCap - kConfigPageHead);
        return -1;
    }
    if (bodyLength == 0) {
        *out = nullptr;
        *length = 0;
        return 0;
    }
    const std::uint32_t frameLength = kConfigPageHead + bodyLength;
    std::vector<unsigned char> frame(frameLength, 0);
    frame[0] = kPageActionRead;
    frame[1] = pageType;
    frame[2] = pageNumber;
    putU32(frame.data() + 4, pageAddress);
    putU32(frame.data() + 8, bodyLength);
    rc = sendDcmd(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, kviMbox(), frame.data(), frameLength,
                  frameLength);
    if (rc != 0) {
        return rc;
    }
    unsigned char* body = newBytes(bodyLength);
    if (body == nullptr) {
        return -1;
    }
    std::memcpy(body, frame.data() + kConfigPageHead, bodyLength);
    *out = body;
    *length = bodyLength;
    return 0;
}

// ---------------------------------------------------------------------------
// Drive performance monitoring and VPD capability

int AdapterDataKvi::getDPMCfg(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getDPMCfg");
    DCMD_MBOX mbox = kviMbox();
    mbox.b[8] = 1;
    const int rc = featureReadBytes(KV_DCMD_DPM_GET_CFG, mbox, standardSize(KV_DCMD_DPM_GET_CFG), 0,
                                    out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getDPMCfg retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setDPMState(unsigned int state, unsigned int value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setDPMState");
    DCMD_MBOX mbox = kviMboxWords(state, value);
    mbox.b[8] = 1;
    const int rc = sendDcmd(KV_DCMD_DPM_CTRL, mbox, nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setDPMState retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::isExtMfgVPDFlashSupported(bool* out) {
    return infoAnswer(*this, "isExtMfgVPDFlashSupported", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperationExt.adapterOperations5.supportExtMfgVPD != 0;
    });
}

// ---------------------------------------------------------------------------
// Profiles

// One read of the profile list into the caller's buffer, at the caller's length.
// The answer lands in a scratch buffer first so that a failed read leaves the
// caller's bytes untouched.
int AdapterDataKvi::getProfileData(unsigned char* buffer, unsigned short length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getProfileData");
    if (buffer == nullptr || length == 0) {
        return -1;
    }
    std::vector<unsigned char> scratch(length, 0);
    const int rc =
        sendDcmd(KV_DCMD_CTRL_PROFILE_LIST_GET, kviMbox(), scratch.data(), length, length);
    if (rc == 0) {
        std::memcpy(buffer, scratch.data(), length);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getProfileData retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getProfileMgmtSupport(unsigned char* out) {
    return infoAnswer(*this, "getProfileMgmtSupport", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperationExt.adapterOperations5.supportProfileChange;
    });
}

// ---------------------------------------------------------------------------
// Report-style operations

// The SSD-cache flush status word, appended to the caller's array as one number.
int AdapterDataKvi::showSSCDFlush(json::Array& out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::showSSCDFlush");
    std::uint32_t status = 0;
    const int rc = sendDcmdRec(KV_DCMD_CTRL_SSC_FLUSH_STATUS, kviMbox(), &status);
    if (rc == 0) {
        out.Insert(json::Number(static_cast<long>(status)));
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::showSSCDFlush retCode = %d", rc);
    return rc;
}

// Loopback test of one phy (private request, mailbox b[0] = phy). Each result
// the controller reports becomes one object ("Phy", "Result" "Pass"/"Fail",
// "Error Count") in the caller's array; *passed is whether every reported
// result passed. Nothing is written when the request fails.
int AdapterDataKvi::startDiagPhyLoopBackTest(unsigned int phy, json::Array* results, bool* passed) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::startDiagPhyLoopBackTest");
    if (controllerPtr_ == nullptr) {
        return -1;
    }
    unsigned char answer[kLoopbackLength] = {};
    DCMD_MBOX mbox = kviMbox(static_cast<std::uint8_t>(phy));
    DcmdKviDpPrvParams req(KV_DCMD_CTRL_DIAG_PHY_LOOPBACK, mbox, answer, kLoopbackLength, 0, 0,
                           kLoopbackLength);
    const int rc = controllerPtr_->execute(&req);
    if (rc != 0) {
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::startDiagPhyLoopBackTest retCode = %d", rc);
        return rc;
    }
    std::uint32_t count = u32At(answer);
    if (count > kLoopbackMaxResults) {
        count = kLoopbackMaxResults; // at most what the answer buffer holds
    }
    bool allPassed = true;
    for (std::uint32_t i = 0; i < count; ++i) {
        const unsigned char* r = answer + 8 + i * kLoopbackResultSize;
        const bool ok = r[1] == 0;
        allPassed = allPassed && ok;
        if (results != nullptr) {
            json::Object row;
            row["Phy"] = json::Number(static_cast<long>(r[0]));
            row["Result"] = json::String(ok ? "Pass" : "Fail");
            row["Error Count"] = json::Number(static_cast<long>(u32At(r + 4)));
            results->Insert(row);
        }
    }
    if (passed != nullptr) {
        *passed = allPassed;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::startDiagPhyLoopBackTest retCode = %d", rc);
    return rc;
}

// ---------------------------------------------------------------------------
// Diagnostics

// Starts the controller's self check: mailbox w[0] the test selection mask,
// w[1] the number of tests selected. On success each selected test (by bit
// number) is appended to the caller's array as {"Test": n, "Status": "Started"}.
int AdapterDataKvi::startDiag(unsigned int tests, json::Array* results) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::startDiag");
    unsigned int selected = 0;
    for (unsigned int bit = 0; bit < 32; ++bit) {
        selected += (tests >> bit) & 1u;
    }
    const int rc =
        sendDcmd(KV_DCMD_CTRL_DIAG_SELF_CHECK, kviMboxWords(tests, selected), nullptr, 0, 0);
    if (rc == 0 && results != nullptr) {
        for (unsigned int bit = 0; bit < 32; ++bit) {
            if ((tests >> bit) & 1u) {
                json::Object row;
                row["Test"] = json::Number(static_cast<long>(bit));
                row["Status"] = json::String("Started");
                results->Insert(row);
            }
        }
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::startDiag retCode = %d", rc);
    return rc;
}

// ---------------------------------------------------------------------------
// Configuration and manufacturing pages (SAS configuration page pass-through)

int AdapterDataKvi::readManufacturingPage(unsigned char page, unsigned char** out,
                                          unsigned int* length) {
    return loggedConfigPageRead(*this, "readManufacturingPage", kPageTypeManufacturing, page, 0,
                                out, length);
}

// One write of the whole page: the request head (action 2, manufacturing type,
// the page number, the body length) followed by the caller's bytes.
int AdapterDataKvi::writeManufacturingPage(unsigned char page, const unsigned char* data,
                                           unsigned int length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::writeManufacturingPage");
    if (data == nullptr || length == 0 || length > kFeatureReadCap - kConfigPageHead ||
        !providerAvailable("writeManufacturingPage")) {
        return -1;
    }
    const std::uint32_t frameLength = kConfigPageHead + length;
    std::vector<unsigned char> frame(frameLength, 0);
    frame[0] = kPageActionWrite;
    frame[1] = kPageTypeManufacturing;
    frame[2] = page;
    putU32(frame.data() + 8, length);
    std::memcpy(frame.data() + kConfigPageHead, data, length);
    const int rc = sendDcmd(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, kviMbox(), frame.data(),
                            frameLength, frameLength);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::writeManufacturingPage retCode = %d", rc);
    return rc;
}

// The three page readers send the same two requests (header, then page); they
// are the names the tool's page vocabularies use for one read.
int AdapterDataKvi::getConfigPageGeneric(unsigned char pageType, unsigned char pageNumber,
                                         unsigned int pageAddress, unsigned char** out,
                                         unsigned int* length) {
    return loggedConfigPageRead(*this, "getConfigPageGeneric", pageType, pageNumber, pageAddress,
                                out, length);
}

int AdapterDataKvi::getConfigPageInfo(unsigned char pageType, unsigned char pageNumber,
                                      unsigned int pageAddress, unsigned char** out,
                                      unsigned int* length) {
    return loggedConfigPageRead(*this, "getConfigPageInfo", pageType, pageNumber, pageAddress, out,
                                length);
}

int AdapterDataKvi::getConfigPageInfoMPI2(unsigned char pageType, unsigned char pageNumber,
                                          unsigned int pageAddress, unsigned char** out,
                                          unsigned int* length) {
    return loggedConfigPageRead(*this, "getConfigPageInfoMPI2", pageType, pageNumber, pageAddress,
                                out, length);
}

// ---------------------------------------------------------------------------
// Array limits and preserved cache

int AdapterDataKvi::getMaxLdPerArray(unsigned char* out) {
    return infoAnswer(*this, "getMaxLdPerArray", out,
                      [](const KV_CTRL_INFO& i) { return i.maxLdsPerArray; });
}

// The 64-drive bitmap of logical drives with preserved (pinned) cache.
int AdapterDataKvi::getPreservedCacheVDBits(unsigned long long* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getPreservedCacheVDBits");
    if (out == nullptr) {
        return -1;
    }
    std::uint64_t bits = 0;
    const int rc = sendDcmdRec(KV_DCMD_LD_GET_PINNED_LIST, kviMbox(), &bits);
    if (rc == 0) {
        *out = bits;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getPreservedCacheVDBits retCode = %d", rc);
    return rc;
}

// The same list as a 256-drive bitmap (length 32).
int AdapterDataKvi::getPreservedCacheVDBitsExt(KV_LD_BITMAP* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getPreservedCacheVDBitsExt");
    if (out == nullptr) {
        return -1;
    }
    KV_LD_BITMAP map{};
    const int rc = sendDcmdRec(KV_DCMD_LD_GET_PINNED_LIST, kviMbox(), &map,
                               static_cast<std::uint32_t>(sizeof map));
    if (rc == 0) {
        *out = map;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getPreservedCacheVDBitsExt retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::clearPreservedCacheData(unsigned char id) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::clearPreservedCacheData");
    DCMD_MBOX mbox = kviMbox(id);
    mbox.b[1] = 1;
    const int rc = sendDcmd(KV_DCMD_LD_DISCARD_PINNED, mbox, nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::clearPreservedCacheData retCode = %d", rc);
    return rc;
}

// ---------------------------------------------------------------------------
// Snapshot and SSD cache

int AdapterDataKvi::isAutoSnapshotSupported(bool* out) {
    return infoAnswer(*this, "isAutoSnapshotSupported", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations.supportSnapshot != 0;
    });
}

int AdapterDataKvi::isSnapshotSupported(unsigned char* out) {
    return infoAnswer(*this, "isSnapshotSupported", out,
                      [](const KV_CTRL_INFO& i) { return i.adapterOperations.supportSnapshot; });
}

int AdapterDataKvi::getSnapshotState(unsigned int* out) {
    return infoAnswer(*this, "getSnapshotState", out,
                      [](const KV_CTRL_INFO& i) { return i.adapterOperations.supportSnapshot; });
}

// Flushes the SSD cache (b[0] = 4) or every cache level (b[0] = 7: DDR, disk
// and SSD cache); b[1] names the target.
int AdapterDataKvi::sscForceFlush(unsigned char target, bool flushAll) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::sscForceFlush");
    DCMD_MBOX mbox = kviMbox(flushAll ? static_cast<std::uint8_t>(KV_CTRL_CACHE_FLUSH_TYPE_DDR |
                                                                  KV_CTRL_CACHE_FLUSH_TYPE_DISK |
                                                                  KV_CTRL_CACHE_FLUSH_TYPE_SSC)
                                      : static_cast<std::uint8_t>(KV_CTRL_CACHE_FLUSH_TYPE_SSC));
    mbox.b[1] = target;
    const int rc = sendDcmd(KV_DCMD_CTRL_CACHE_FLUSH, mbox, nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::sscForceFlush retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::isPISupported(bool* out) {
    return infoAnswer(*this, "isPISupported", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations2.supportPIcontroller != 0;
    });
}

// ---------------------------------------------------------------------------
// Feature and capability queries and settings

int AdapterDataKvi::isBreakMirrorSupported(bool* out) {
    return infoAnswer(*this, "isBreakMirrorSupported", out,
                      [](const KV_CTRL_INFO& i) { return i.ldOperations.supportBreakMirror != 0; });
}

int AdapterDataKvi::isCpldSupported() {
    return infoFlag(*this, "isCpldSupported", [](const KV_CTRL_INFO& i) {
        return i.hwPresent.upgradableCPLD != 0 && i.adapterOperations3.supportCPLDUpdate != 0;
    });
}

int AdapterDataKvi::getPerfMode(unsigned char* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getPerfMode");
    if (out == nullptr) {
        return -1;
    }
    const int rc = getKvCtlrProp();
    if (rc != 0) {
        return rc;
    }
    *out = kvCtrlPropPtr_->perfTuners.mode;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getPerfMode, mode = %d, retCode = %d", *out, rc);
    return 0;
}

int AdapterDataKvi::isCbsupported(bool* out) {
    return infoAnswer(*this, "isCbsupported", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations3.supportCacheBypassModes != 0;
    });
}

// A fresh copy of the controller information into the caller's record; the
// cached copy is neither used nor changed.
int AdapterDataKvi::getControllerInfo(KV_CTRL_INFO* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getControllerInfo");
    if (out == nullptr) {
        return -1;
    }
    KV_CTRL_INFO* fresh = new (std::nothrow) KV_CTRL_INFO();
    if (fresh == nullptr) {
        return -1;
    }
    const int rc = sendDcmdRec(KV_DCMD_CTRL_GET_INFO, kviMbox(), fresh);
    if (rc == 0) {
        *out = *fresh;
    }
    delete fresh;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getControllerInfo retCode = %d", rc);
    return rc;
}

// Target ids of the logical drives the SSD cache serves (mailbox b[0] = which),
// appended to the caller's list. Read in two passes.
int AdapterDataKvi::getSscdTargetIds(ArrayList<unsigned char>* list, unsigned char which) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSscdTargetIds");
    if (list == nullptr) {
        return -1;
    }
    unsigned char* bytes = nullptr;
    unsigned int length = 0;
    const int rc = featureReadList(KV_DCMD_LD_SSCD_GET_LDS, kviMbox(which), kFeatureListHead, 0,
                                   &bytes, &length);
    if (rc != 0) {
        return rc;
    }
    // Only the ids the list really holds, whatever count it states.
    std::uint32_t count = u32At(bytes + 4);
    if (count > length - kFeatureListHead) {
        count = length - kFeatureListHead;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        list->add(bytes[kFeatureListHead + i]);
    }
    delete[] bytes;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSscdTargetIds retCode = %d", rc);
    return rc;
}

// The list as the firmware takes it: size, count, ids (at most 256).
int AdapterDataKvi::setSscdTargetIds(const ArrayList<unsigned char>* list) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setSscdTargetIds");
    if (list == nullptr || list->getCount() > kSscdMaxIds) {
        return -1;
    }
    const std::uint32_t count = list->getCount();
    std::vector<unsigned char> rec(kFeatureListHead + kSscdMaxIds, 0);
    putU32(rec.data(), kFeatureListHead + count);
    putU32(rec.data() + 4, count);
    for (std::uint32_t i = 0; i < count; ++i) {
        rec[kFeatureListHead + i] = list->get(i);
    }
    const int rc = sendDcmd(KV_DCMD_LD_SSCD_SET_LDS, kviMbox(), rec.data(),
                            static_cast<std::uint32_t>(rec.size()), 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setSscdTargetIds retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getIOVPrivateInfo(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getIOVPrivateInfo");
    const int rc =
        featureReadBytes(KV_DCMD_CTRL_IOV_PRIVATE_INFO_GET, kviMbox(),
                         standardSize(KV_DCMD_CTRL_IOV_PRIVATE_INFO_GET), 0, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getIOVPrivateInfo retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::downgrade() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::downgrade");
    const int rc = sendDcmd(KV_DCMD_CTRL_DOWNGRADE_KV_TO_iKV);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::downgrade retCode = %d", rc);
    return rc;
}

// Auto-configuration: one opcode, the sub-function in w[0]. The value travels
// in byte 0 of the record both ways; the reads name the option and parameter
// in b[4] and b[5].
int AdapterDataKvi::getAutoConfigParam(unsigned char* out, unsigned char option,
                                       unsigned char param) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getAutoConfigParam");
    if (out == nullptr) {
        return -1;
    }
    DCMD_MBOX mbox = kviMboxWords(kAutoCfgGetParam);
    mbox.b[4] = option;
    mbox.b[5] = param;
    std::uint8_t rec[8] = {};
    const int rc = sendDcmdRec(KV_DCMD_CFG_AUTOCFG, mbox, &rec);
    if (rc == 0) {
        *out = rec[0];
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getAutoConfigParam retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setAutoConfigParam(unsigned char value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setAutoConfigParam");
    std::uint8_t rec[8] = {value};
    const int rc = sendDcmdRec(KV_DCMD_CFG_AUTOCFG, kviMboxWords(kAutoCfgSetParam), &rec);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setAutoConfigParam retCode = %d", rc);
    return rc;
}

// The read form of getAutoConfigParam with sub-function 3.
int AdapterDataKvi::getAutoPDCache(unsigned char* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getAutoPDCache");
    if (out == nullptr) {
        return -1;
    }
    std::uint8_t rec[8] = {};
    const int rc = sendDcmdRec(KV_DCMD_CFG_AUTOCFG, kviMboxWords(kAutoCfgGetPdCache), &rec);
    if (rc == 0) {
        *out = rec[0];
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getAutoPDCache retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setAutoPDCache(unsigned char value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setAutoPDCache");
    std::uint8_t rec[8] = {value};
    const int rc = sendDcmdRec(KV_DCMD_CFG_AUTOCFG, kviMboxWords(kAutoCfgSetPdCache), &rec);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setAutoPDCache retCode = %d", rc);
    return rc;
}

// The manufacturing serial number: the text of KV_MFC_MFG.sn up to its first
// zero byte, at most 16 characters.
int AdapterDataKvi::getCtrlManfactureSno(std::string& out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getCtrlManfactureSno");
    KV_MFC_MFG mfg{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_MFC_MFG_GET, kviMbox(), &mfg);
    if (rc == 0) {
        std::size_t n = 0;
        while (n < sizeof mfg.sn && mfg.sn[n] != '\0') {
            ++n;
        }
        out.assign(mfg.sn, n);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getCtrlManfactureSno retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getPortCount(unsigned char* out) {
    return infoAnswer(*this, "getPortCount", out,
                      [](const KV_CTRL_INFO& i) { return i.deviceInterface.portCount; });
}

int AdapterDataKvi::getVdCount(unsigned short* out) {
    return infoAnswer(*this, "getVdCount", out,
                      [](const KV_CTRL_INFO& i) { return i.ldPresentCount; });
}

// ---------------------------------------------------------------------------
// Later features

// Copyback on (non-zero): copyback enabled, SMARTer copyback on for HDDs and
// SSDs; off (zero): the reverse. A carry-on property setter: the change flag is
// raised even when the load failed, and nothing is sent until endCtlrPropUpdate.
int AdapterDataKvi::setAllCopyback(unsigned char value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setAllCopyback");
    const int rc = getKvCtlrProp();
    if (kvCtrlPropPtr_ != nullptr) {
        const std::uint32_t on = value != 0 ? 1u : 0u;
        kvCtrlPropPtr_->OnOffProperties.copyBackDisabled = on ^ 1u;
        kvCtrlPropPtr_->OnOffProperties.SMARTerEnabled = on;
        kvCtrlPropPtr_->OnOffProperties.SSDSMARTerEnabled = on;
    }
    kvAdpPropertiesChanged_ = true;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setAllCopyback retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getMemScrubPatterns(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getMemScrubPatterns");
    const int rc = featureReadList(KV_DCMD_CTRL_DIAG_MEM_SCRUB_PATTERN_GET, kviMbox(),
                                   kFeatureListHead, 0, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getMemScrubPatterns retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setMemScrubPattern(unsigned char pattern, unsigned int value) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setMemScrubPattern");
    DCMD_MBOX mbox = kviMbox(pattern);
    mbox.w[1] = value;
    const int rc = sendDcmd(KV_DCMD_CTRL_DIAG_MEM_SCRUB_PATTERN_SET, mbox, nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setMemScrubPattern retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getLDSpanList(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getLDSpanList");
    const int rc =
        featureReadList(KV_DCMD_LD_GET_SPAN_LIST, kviMbox(), kFeatureListHead, 0, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getLDSpanList retCode = %d", rc);
    return rc;
}

// Always 0: this layer recognises no controller of that product family, so
// no controller it drives takes that family's special paths.
int AdapterDataKvi::isCtrlOstraQuorvex() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::isCtrlOstraQuorvex");
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::isCtrlOstraQuorvex retCode = %d", 0);
    return 0;
}

int AdapterDataKvi::getControllerHA(unsigned char* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getControllerHA");
    if (out == nullptr) {
        return -1;
    }
    std::uint8_t mode = 0;
    const int rc = sendDcmdRec(KV_DCMD_CTRL_CONTROL_HA_MODE_GET, kviMbox(), &mode, 1);
    if (rc == 0) {
        *out = mode;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getControllerHA retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setControllerHA(unsigned char mode) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setControllerHA");
    const int rc = sendDcmd(KV_DCMD_CTRL_CONTROL_HA_MODE_SET, kviMbox(mode), nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setControllerHA retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getMaintenanceMode(unsigned char* out) {
    return infoAnswer(*this, "getMaintenanceMode", out,
                      [](const KV_CTRL_INFO& i) { return i.adapterStatus.maintenanceMode; });
}

int AdapterDataKvi::setMaintenanceMode(unsigned char mode) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setMaintenanceMode");
    const int rc = sendDcmd(KV_DCMD_CTRL_MAINTENANCE_MODE_SET, kviMbox(mode), nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setMaintenanceMode retCode = %d", rc);
    return rc;
}

// A fresh read of the personality record into the caller's record.
int AdapterDataKvi::getPersonality(KV_CTRL_PERSONALITY_INFO* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getPersonality");
    if (out == nullptr) {
        return -1;
    }
    KV_CTRL_PERSONALITY_INFO info{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_PERSONALITY_GET, kviMbox(), &info);
    if (rc == 0) {
        *out = info;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getPersonality retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::isJBODPersonalitysupported(bool* out) {
    return personalitySupported(*this, "isJBODPersonalitysupported", kPersonalityJbod, out);
}

int AdapterDataKvi::isSDSsupported(bool* out) {
    return personalitySupported(*this, "isSDSsupported", kPersonalitySds, out);
}

int AdapterDataKvi::setPersonality(unsigned short personality) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setPersonality");
    DCMD_MBOX mbox = kviMbox();
    mbox.s[0] = personality;
    const int rc = sendDcmd(KV_DCMD_CTRL_PERSONALITY_SET, mbox, nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setPersonality retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setPersonality(unsigned short personality, unsigned short option) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setPersonality");
    DCMD_MBOX mbox = kviMbox();
    mbox.s[0] = personality;
    mbox.s[1] = option;
    const int rc = sendDcmd(KV_DCMD_CTRL_PERSONALITY_SET, mbox, nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setPersonality retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getSnapDumpInfo(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSnapDumpInfo");
    const int rc =
        featureReadBytes(KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES, kviMbox(),
                         standardSize(KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES), 0, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSnapDumpInfo retCode = %d", rc);
    return rc;
}

// Read, change, write: the current snap dump properties are read, the caller's
// bytes replace their start (at most the whole record) and the record is
// written back whole, so bytes the caller does not give keep their values.
int AdapterDataKvi::setSnapDumpInfo(const unsigned char* data, unsigned int length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setSnapDumpInfo");
    const std::uint32_t size = standardSize(KV_DCMD_CTRL_SNAPDUMP_SET_PROPERTIES);
    if (data == nullptr || length == 0 || length > size ||
        size != standardSize(KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES)) {
        return -1;
    }
    std::vector<unsigned char> rec(size, 0);
    int rc = sendDcmd(KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES, kviMbox(), rec.data(), size, 0);
    if (rc != 0) {
        return rc;
    }
    std::memcpy(rec.data(), data, length);
    rc = sendDcmd(KV_DCMD_CTRL_SNAPDUMP_SET_PROPERTIES, kviMbox(), rec.data(), size, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setSnapDumpInfo retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getSnapDumpHDR(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSnapDumpHDR");
    const int rc = featureReadBytes(KV_DCMD_CTRL_SNAPDUMP_GET, kviMbox(kSnapDumpHeader),
                                    standardSize(KV_DCMD_CTRL_SNAPDUMP_GET), 0, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSnapDumpHDR retCode = %d", rc);
    return rc;
}

// One chunk of dump data: b[0] = 2, b[1] the chunk, w[1] the offset. *length
// goes in as the number of bytes wanted (1 to kFeatureReadCap) and comes back
// as the number read.
int AdapterDataKvi::getSnapDumpData(unsigned char chunk, unsigned int offset, unsigned char** out,
                                    unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSnapDumpData");
    if (out == nullptr || length == nullptr || *length == 0 || *length > kFeatureReadCap) {
        return -1;
    }
    DCMD_MBOX mbox = kviMbox(kSnapDumpData);
    mbox.b[1] = chunk;
    mbox.w[1] = offset;
    const int rc = featureReadBytes(KV_DCMD_CTRL_SNAPDUMP_GET, mbox, *length, *length, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSnapDumpData retCode = %d", rc);
    return rc;
}

// Two passes: a 32-byte first read whose size word announces the whole list.
int AdapterDataKvi::getNVMEErrorList(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getNVMEErrorList");
    constexpr std::uint32_t kFirstPass = 32;
    const int rc = featureReadList(KV_DCMD_PCIE_NVME_INIT_ERROR_GET_LIST, kviMbox(), kFirstPass,
                                   kFirstPass, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getNVMEErrorList retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::sendNVMeRepairRequest(unsigned char device) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::sendNVMeRepairRequest");
    if (controllerPtr_ == nullptr) {
        DEBUG_LOG(INFO,
                  "Exiting AdapterDataKvi::sendNVMeRepairRequest as controller pointer is not "
                  "valid");
        return -1;
    }
    const int rc = sendDcmd(KV_DCMD_PCIE_NVME_REPAIR, kviMbox(device), nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::sendNVMeRepairRequest retCode = %d", rc);
    return rc;
}

// Controller pages (KV_DCMD_CTRL_CONFIG_PAGE_GET, the standard page size):
// mailbox b[0] the page kind (1 manufacturing extension, 2 security), b[1]
// the page number.
int AdapterDataKvi::getMfgExtPage(unsigned char page, unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getMfgExtPage");
    if (!providerAvailable("getMfgExtPage")) {
        return -1;
    }
    DCMD_MBOX mbox = kviMbox(kCtrlPageMfgExt);
    mbox.b[1] = page;
    const int rc = featureReadBytes(KV_DCMD_CTRL_CONFIG_PAGE_GET, mbox,
                                    standardSize(KV_DCMD_CTRL_CONFIG_PAGE_GET), 0, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getMfgExtPage retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getSecurityPage0(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSecurityPage0");
    if (!providerAvailable("getSecurityPage0")) {
        return -1;
    }
    const int rc = featureReadBytes(KV_DCMD_CTRL_CONFIG_PAGE_GET, kviMbox(kCtrlPageSecurity),
                                    standardSize(KV_DCMD_CTRL_CONFIG_PAGE_GET), 0, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSecurityPage0 retCode = %d", rc);
    return rc;
}

// The certificate signing request is text: the buffer handed over holds it up
// to (not including) its terminating zero byte.
int AdapterDataKvi::exportCSR(unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::exportCSR");
    if (out == nullptr || length == nullptr) {
        return -1;
    }
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    const int rc = featureReadBytes(KV_DCMD_CTRL_PSEC_EXPORT_CSR, kviMbox(),
                                    standardSize(KV_DCMD_CTRL_PSEC_EXPORT_CSR), 0, &bytes, &size);
    if (rc == 0) {
        unsigned int n = 0;
        while (n < size && bytes[n] != 0) {
            ++n;
        }
        *out = bytes;
        *length = n;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::exportCSR retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::importCSR(const unsigned char* data, unsigned int length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::importCSR");
    const int rc = featureWriteRecord(KV_DCMD_CTRL_PSEC_IMPORT_CER, kviMbox(), data, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::importCSR retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setInvalidateSlot(unsigned char slot) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setInvalidateSlot");
    const int rc = sendDcmd(KV_DCMD_CTRL_PSEC_SLOT_MGMT, kviMbox(slot), nullptr, 0, 0);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setInvalidateSlot retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getOOBInfo(unsigned char which, unsigned char** out, unsigned int* length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getOOBInfo");
    const int rc = featureReadBytes(KV_DCMD_OOB_METHOD_GET, kviMbox(which),
                                    standardSize(KV_DCMD_OOB_METHOD_GET), 0, out, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getOOBInfo retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setOOBInfo(const unsigned char* data, unsigned int length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setOOBInfo");
    const int rc = featureWriteRecord(KV_DCMD_OOB_METHOD_SET, kviMbox(), data, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setOOBInfo retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::setFirmwareDebug(const unsigned char* data, unsigned int length) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setFirmwareDebug");
    const int rc = featureWriteRecord(KV_DCMD_CTRL_SET_DEBUG_ATTRIBUTES, kviMbox(), data, length);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setFirmwareDebug retCode = %d", rc);
    return rc;
}

// The expander's number of phys, by an SMP REPORT GENERAL pass-through. A
// non-zero SMP function result is returned as the status; a response that is
// not a REPORT GENERAL response is refused with -1.
int AdapterDataKvi::GetExpanderNumPhy(unsigned long long sasAddress, unsigned char* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::GetExpanderNumPhy");
    if (out == nullptr || controllerPtr_ == nullptr) {
        return -1;
    }
    unsigned char request[kSmpRequestLength] = {kSmpRequestFrame, kSmpReportGeneral};
    unsigned char response[kSmpResponseLength] = {};
    SMPKviDpParams req(KVI_CMD_OP_SMP, sasAddress, 0, request, response, kSmpRequestLength,
                       kSmpResponseLength, 0, 0, 0, 0, 0, 0, 0);
    int rc = controllerPtr_->execute(&req);
    if (rc == 0) {
        if (response[0] != kSmpResponseFrame || response[1] != kSmpReportGeneral) {
            rc = -1;
        } else if (response[2] != 0) {
            rc = response[2];
        } else {
            *out = response[kSmpNumPhysOffset];
        }
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::GetExpanderNumPhy retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::isNvmeErrorDeviceConnectorIndexSupported() {
    return infoFlag(*this, "isNvmeErrorDeviceConnectorIndexSupported", [](const KV_CTRL_INFO& i) {
        return i.adapterOperationExt.adapterOperations6.supportNvmeInitErrorDeviceConnectorIndex !=
               0;
    });
}
