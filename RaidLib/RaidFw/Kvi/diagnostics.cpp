// Diagnostic operations of AdapterDataKvi: the controller's self check, phy
// loopback tests, snap dumps, NVMe error lists and repair, out-of-band and
// firmware debug settings, and the phy count of an expander.
#include <cstdint>
#include <cstring>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/Bytes.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"
#include "provider/DpParams.h"
#include "json/elements.h"

using namespace kvi::adapter;

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

int AdapterDataKvi::getSnapDumpInfo(unsigned char** out, unsigned int* length) {
    return logged("getSnapDumpInfo", [&] {
        return featureReadBytes(KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES, kviMbox(),
                                standardSize(KV_DCMD_CTRL_SNAPDUMP_GET_PROPERTIES), 0, out, length);
    });
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
    return logged("getSnapDumpHDR", [&] {
        return featureReadBytes(KV_DCMD_CTRL_SNAPDUMP_GET, kviMbox(kSnapDumpHeader),
                                standardSize(KV_DCMD_CTRL_SNAPDUMP_GET), 0, out, length);
    });
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
    return logged("getNVMEErrorList", [&] {
        constexpr std::uint32_t kFirstPass = 32;
        return featureReadList(KV_DCMD_PCIE_NVME_INIT_ERROR_GET_LIST, kviMbox(), kFirstPass,
                               kFirstPass, out, length);
    });
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

int AdapterDataKvi::getOOBInfo(unsigned char which, unsigned char** out, unsigned int* length) {
    return logged("getOOBInfo", [&] {
        return featureReadBytes(KV_DCMD_OOB_METHOD_GET, kviMbox(which),
                                standardSize(KV_DCMD_OOB_METHOD_GET), 0, out, length);
    });
}

int AdapterDataKvi::setOOBInfo(const unsigned char* data, unsigned int length) {
    return logged("setOOBInfo", [&] {
        return featureWriteRecord(KV_DCMD_OOB_METHOD_SET, kviMbox(), data, length);
    });
}

int AdapterDataKvi::setFirmwareDebug(const unsigned char* data, unsigned int length) {
    return logged("setFirmwareDebug", [&] {
        return featureWriteRecord(KV_DCMD_CTRL_SET_DEBUG_ATTRIBUTES, kviMbox(), data, length);
    });
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
