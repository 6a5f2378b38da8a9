// Configuration-page operations of AdapterDataKvi: the SAS configuration page
// pass-through (header and page reads, manufacturing page writes) and the
// controller's own pages (manufacturing extension and security).
#include <cstdint>
#include <cstring>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/Bytes.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"

namespace {

using namespace kvi::adapter;

// The page readers differ only in the name their log lines carry: one
// configuration-page read between the entry and exit lines.
int loggedConfigPageRead(AdapterDataKvi& a, const char* name, unsigned char pageType,
                         unsigned char pageNumber, unsigned int pageAddress, unsigned char** out,
                         unsigned int* length) {
    return logged(name, [&] {
        return a.featureReadConfigPage(pageType, pageNumber, pageAddress, out, length);
    });
}

// A pass-through frame: the request head (action, page type, page number,
// page address, body length) followed by room for a body of that length.
std::vector<unsigned char> pageFrame(std::uint8_t action, std::uint8_t pageType,
                                     std::uint8_t pageNumber, std::uint32_t pageAddress,
                                     std::uint32_t bodyLength) {
    std::vector<unsigned char> frame(AdapterDataKvi::kConfigPageHead + bodyLength, 0);
    frame[0] = action;
    frame[1] = pageType;
    frame[2] = pageNumber;
    putU32(frame.data() + 4, pageAddress);
    putU32(frame.data() + 8, bodyLength);
    return frame;
}

} // namespace

// ---------------------------------------------------------------------------
// Page reads shared by the operations below

int AdapterDataKvi::getConfigPageHeader(unsigned char pageType, unsigned char pageNumber,
                                        unsigned int pageAddress, unsigned int* pageLength) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getConfigPageHeader");
    if (pageLength == nullptr || !providerAvailable("getConfigPageHeader")) {
        return -1;
    }
    std::vector<unsigned char> frame =
        pageFrame(kPageActionHeader, pageType, pageNumber, pageAddress, 0);
    const auto frameLength = static_cast<std::uint32_t>(frame.size());
    const int rc = sendDcmd(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, kviMbox(), frame.data(),
                            frameLength, frameLength);
    if (rc == 0) {
        *pageLength = u32At(frame.data() + 8);
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
    std::vector<unsigned char> frame =
        pageFrame(kPageActionRead, pageType, pageNumber, pageAddress, bodyLength);
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
    std::vector<unsigned char> frame =
        pageFrame(kPageActionWrite, kPageTypeManufacturing, page, 0, length);
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
