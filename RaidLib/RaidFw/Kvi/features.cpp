// Feature operations of AdapterDataKvi: the byte-record helpers, drive performance monitoring,
// profiles, array limits, snapshots and the SSD cache, auto-configuration, certificates and more.
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
#include <string>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/Bytes.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"
#include "json/elements.h"

using namespace kvi::adapter;

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

// ---------------------------------------------------------------------------
// Drive performance monitoring and VPD capability

int AdapterDataKvi::getDPMCfg(unsigned char** out, unsigned int* length) {
    return logged("getDPMCfg", [&] {
        DCMD_MBOX mbox = kviMbox();
        mbox.b[8] = 1;
        return featureReadBytes(KV_DCMD_DPM_GET_CFG, mbox, standardSize(KV_DCMD_DPM_GET_CFG), 0,
                                out, length);
    });
}

int AdapterDataKvi::setDPMState(unsigned int state, unsigned int value) {
    return logged("setDPMState", [&] {
        DCMD_MBOX mbox = kviMboxWords(state, value);
        mbox.b[8] = 1;
        return sendDcmd(KV_DCMD_DPM_CTRL, mbox, nullptr, 0, 0);
    });
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

// ---------------------------------------------------------------------------
// Array limits and preserved cache

int AdapterDataKvi::getMaxLdPerArray(unsigned char* out) {
    return infoAnswer(*this, "getMaxLdPerArray", out,
                      [](const KV_CTRL_INFO& i) { return i.maxLdsPerArray; });
}

// The 64-drive bitmap of logical drives with preserved (pinned) cache.
int AdapterDataKvi::getPreservedCacheVDBits(unsigned long long* out) {
    return scratchAnswer<std::uint64_t>("getPreservedCacheVDBits", out, [&](std::uint64_t& bits) {
        return sendDcmdRec(KV_DCMD_LD_GET_PINNED_LIST, kviMbox(), &bits);
    });
}

// The same list as a 256-drive bitmap (length 32).
int AdapterDataKvi::getPreservedCacheVDBitsExt(KV_LD_BITMAP* out) {
    return scratchAnswer<KV_LD_BITMAP>("getPreservedCacheVDBitsExt", out, [&](KV_LD_BITMAP& map) {
        return sendDcmdRec(KV_DCMD_LD_GET_PINNED_LIST, kviMbox(), &map,
                           static_cast<std::uint32_t>(sizeof map));
    });
}

int AdapterDataKvi::clearPreservedCacheData(unsigned char id) {
    return logged("clearPreservedCacheData", [&] {
        DCMD_MBOX mbox = kviMbox(id);
        mbox.b[1] = 1;
        return sendDcmd(KV_DCMD_LD_DISCARD_PINNED, mbox, nullptr, 0, 0);
    });
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
    return loadedAnswerExit(
        "getPerfMode", out, [this] { return getKvCtlrProp(); },
        [this] { return kvCtrlPropPtr_->perfTuners.mode; },
        [](unsigned char mode) {
            DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getPerfMode, mode = %d, retCode = %d", mode,
                      0);
        });
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
    return logged("getIOVPrivateInfo", [&] {
        return featureReadBytes(KV_DCMD_CTRL_IOV_PRIVATE_INFO_GET, kviMbox(),
                                standardSize(KV_DCMD_CTRL_IOV_PRIVATE_INFO_GET), 0, out, length);
    });
}

int AdapterDataKvi::downgrade() {
    return logged("downgrade", [&] { return sendDcmd(KV_DCMD_CTRL_DOWNGRADE_KV_TO_iKV); });
}

// Auto-configuration: one opcode, the sub-function in w[0]. The value travels
// in byte 0 of the record both ways; the reads name the option and parameter
// in b[4] and b[5].
int AdapterDataKvi::getAutoConfigParam(unsigned char* out, unsigned char option,
                                       unsigned char param) {
    return scratchAnswer<std::uint8_t[8]>(
        "getAutoConfigParam", out,
        [&](std::uint8_t(&rec)[8]) {
            DCMD_MBOX mbox = kviMboxWords(kAutoCfgGetParam);
            mbox.b[4] = option;
            mbox.b[5] = param;
            return sendDcmdRec(KV_DCMD_CFG_AUTOCFG, mbox, &rec);
        },
        [](const std::uint8_t(&rec)[8]) { return rec[0]; });
}

int AdapterDataKvi::setAutoConfigParam(unsigned char value) {
    return logged("setAutoConfigParam", [&] {
        std::uint8_t rec[8] = {value};
        return sendDcmdRec(KV_DCMD_CFG_AUTOCFG, kviMboxWords(kAutoCfgSetParam), &rec);
    });
}

// The read form of getAutoConfigParam with sub-function 3.
int AdapterDataKvi::getAutoPDCache(unsigned char* out) {
    return scratchAnswer<std::uint8_t[8]>(
        "getAutoPDCache", out,
        [&](std::uint8_t(&rec)[8]) {
            return sendDcmdRec(KV_DCMD_CFG_AUTOCFG, kviMboxWords(kAutoCfgGetPdCache), &rec);
        },
        [](const std::uint8_t(&rec)[8]) { return rec[0]; });
}

int AdapterDataKvi::setAutoPDCache(unsigned char value) {
    return logged("setAutoPDCache", [&] {
        std::uint8_t rec[8] = {value};
        return sendDcmdRec(KV_DCMD_CFG_AUTOCFG, kviMboxWords(kAutoCfgSetPdCache), &rec);
    });
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
    return logged("getMemScrubPatterns", [&] {
        return featureReadList(KV_DCMD_CTRL_DIAG_MEM_SCRUB_PATTERN_GET, kviMbox(), kFeatureListHead,
                               0, out, length);
    });
}

int AdapterDataKvi::setMemScrubPattern(unsigned char pattern, unsigned int value) {
    return logged("setMemScrubPattern", [&] {
        DCMD_MBOX mbox = kviMbox(pattern);
        mbox.w[1] = value;
        return sendDcmd(KV_DCMD_CTRL_DIAG_MEM_SCRUB_PATTERN_SET, mbox, nullptr, 0, 0);
    });
}

int AdapterDataKvi::getLDSpanList(unsigned char** out, unsigned int* length) {
    return logged("getLDSpanList", [&] {
        return featureReadList(KV_DCMD_LD_GET_SPAN_LIST, kviMbox(), kFeatureListHead, 0, out,
                               length);
    });
}

// Always 0: this layer recognises no controller of that product family, so
// no controller it drives takes that family's special paths.
int AdapterDataKvi::isCtrlOstraQuorvex() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::isCtrlOstraQuorvex");
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::isCtrlOstraQuorvex retCode = %d", 0);
    return 0;
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
    return logged("importCSR", [&] {
        return featureWriteRecord(KV_DCMD_CTRL_PSEC_IMPORT_CER, kviMbox(), data, length);
    });
}

int AdapterDataKvi::setInvalidateSlot(unsigned char slot) {
    return logged("setInvalidateSlot", [&] {
        return sendDcmd(KV_DCMD_CTRL_PSEC_SLOT_MGMT, kviMbox(slot), nullptr, 0, 0);
    });
}
