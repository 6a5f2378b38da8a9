// AdapterDataKvi: construction, destruction, the firmware caches and their
// update transactions, and the request helpers every operation sends through.
//
// Most questions are answered from a handful of cached firmware records. A
// loader reads its record once and keeps it; setters change the cached copy and
// raise its change flag; the matching end...Update call writes the whole record
// back in one request. A few records are deliberately read afresh on every use
// (patrol read schedule, allowed configuration operations, event log
// information, image component lists, the extended consistency-check schedule).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"
#include "provider/DpParams.h"

namespace {

using kvi::adapter::scratchAnswer;

// Largest image component count accepted from the firmware; a larger count is
// taken as a broken answer and the list is not read.
constexpr std::uint32_t kMaxFlashComps = 1024;

// Transfer lengths of the records whose length is passed explicitly (the
// schedule records are sent with their own size, see readSchedRecord).
constexpr std::uint32_t kCtrlPropExtLen = sizeof(KV_CTRL_PROP_EXT);
static_assert(kCtrlPropExtLen == 128, "properties extension is 128 bytes");
static_assert(sizeof(KV_PR_PROPERTIES) == 208 && sizeof(KV_PR_PROPERTIES_EXT) == 120,
              "patrol read schedule forms");
static_assert(sizeof(KV_CC_SCHEDULE_PROPERTIES) == 168 &&
                  sizeof(KV_CC_SCHEDULE_PROPERTIES_EXT) == 120,
              "consistency-check schedule forms");

} // namespace

// ---------------------------------------------------------------------------
// Construction and destruction

// Sends nothing: every cache starts empty (the members' initialisers null the
// seventeen record pointers and the three flash lists and clear the four change
// flags, the allowed-operations record, PendingCount and msgbuf).
AdapterDataKvi::AdapterDataKvi(Controller* controller, RaidElementId* id)
    : AdapterData(controller, id) {}

// Releases every cache that is loaded. Pending setter changes are not written
// back. The three image component lists are released as well (they are owned
// here like every other cache).
AdapterDataKvi::~AdapterDataKvi() {
    delete kvCtrlPropPtr_;
    delete kvCtrlPropExtPtr_;
    delete kvEventLogInfoPtr_;
    delete kvBiosDataPtr_;
    delete kvCtrlInfoPtr_;
    delete kvPrProp_;
    delete kvPrPropExt_;
    delete kvMFCDefPtr_;
    delete kvMuxListPtr_;
    delete kvConnectorsPtr_;
    delete kvCcScProp_;
    delete kvCcScPropExt_;
    delete kvPhy_;
    delete kvBatteryInfoPtr_;
    delete kvBattCapacityInfoPtr_;
    delete kvBattDesignInfoPtr_;
    delete kvBBUPropPtr_;
    std::free(getActiveFlashInfo_);
    std::free(getBackupFlashInfo_);
    std::free(getPendingFlashInfo_);
}

// ---------------------------------------------------------------------------
// Request helpers

int AdapterDataKvi::sendDcmd(std::uint32_t opcode, const DCMD_MBOX& mbox, void* buf,
                             std::uint32_t capacity, std::uint32_t length, DCMD_MBOX* mboxAfter) {
    if (controllerPtr_ == nullptr) {
        return -1;
    }
    DcmdKviDpParams req(opcode, mbox, static_cast<unsigned char*>(buf), length, 0, 0,
                        buf != nullptr ? capacity : 0);
    const int rc = controllerPtr_->execute(&req);
    if (mboxAfter != nullptr) {
        *mboxAfter = req.getMbox();
    }
    return rc;
}

int AdapterDataKvi::sendDriverCmd(std::uint32_t opcode, void* buf, std::uint32_t capacity,
                                  std::uint32_t length) {
    if (controllerPtr_ == nullptr) {
        return -1;
    }
    DriverKviDPParams req(opcode, 0, 0, 0, static_cast<unsigned char*>(buf), length, 0, 0,
                          buf != nullptr ? capacity : 0);
    return controllerPtr_->execute(&req);
}

bool AdapterDataKvi::extSchedForm() const {
    return kvCtrlInfoPtr_ != nullptr && kvCtrlInfoPtr_->adapterOperations3.supportMaxExtLDs != 0;
}

// Read-once loader behind the simple cache loaders: the entry line always, then
// nothing more when the record is held; else one read (readRecord) and the
// loader's closing line.
template <typename T>
int AdapterDataKvi::loadOnce(T*& member, std::uint32_t opcode, const char* name, LoadExit exit) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (member != nullptr) {
        return 0;
    }
    const int rc = readRecord(member, opcode);
    switch (exit) {
    case LoadExit::RetCode:
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
        break;
    case LoadExit::Plain:
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
        break;
    case LoadExit::RepeatEntry:
        DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
        break;
    }
    return rc;
}

// ---------------------------------------------------------------------------
// Simple loaders: read once, keep on success, keep nothing on failure.

int AdapterDataKvi::getCtlrInfo() {
    return loadOnce(kvCtrlInfoPtr_, KV_DCMD_CTRL_GET_INFO, "getCtlrInfo");
}

int AdapterDataKvi::getMFCdata() {
    return loadOnce(kvMFCDefPtr_, KV_DCMD_CTRL_MFC_DEFAULTS_GET, "getMFCdata");
}

int AdapterDataKvi::getBatteryInfo() {
    return loadOnce(kvBatteryInfoPtr_, KV_DCMD_BBU_GET_STATUS, "getBatteryInfo");
}

int AdapterDataKvi::getBatteryCapacityInfo() {
    return loadOnce(kvBattCapacityInfoPtr_, KV_DCMD_BBU_GET_CAPACITY_INFO,
                    "getBatteryCapacityInfo");
}

int AdapterDataKvi::getBatteryDesignInfo() {
    // This loader's closing line repeats its entry text; log readers rely on it.
    return loadOnce(kvBattDesignInfoPtr_, KV_DCMD_BBU_GET_DESIGN_INFO, "getBatteryDesignInfo",
                    LoadExit::RepeatEntry);
}

int AdapterDataKvi::getBBUProperties() {
    return loadOnce(kvBBUPropPtr_, KV_DCMD_BBU_PROPERTIES_GET, "getBBUProperties");
}

int AdapterDataKvi::getBIOSData() {
    return loadOnce(kvBiosDataPtr_, KV_DCMD_CTRL_BIOS_DATA_GET, "getBIOSData");
}

int AdapterDataKvi::getMuxInfo() {
    return loadOnce(kvMuxListPtr_, KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST, "getMuxInfo",
                    LoadExit::Plain);
}

int AdapterDataKvi::getConnectors() {
    return loadOnce(kvConnectorsPtr_, KV_DCMD_SAS_CONFIG_GET_CONNECTORS, "getConnectors");
}

// ---------------------------------------------------------------------------
// Controller properties and their extension

int AdapterDataKvi::getKvCtlrProp() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getKvCtlrProp");
    // Once the properties are held the extension is not looked at again.
    if (kvCtrlPropPtr_ != nullptr) {
        return 0;
    }
    // Whether an extension exists is told by the controller information. A
    // failure to read it only means the extension is not read.
    if (kvCtrlInfoPtr_ == nullptr) {
        getCtlrInfo();
    }

    const int rc = readRecord(kvCtrlPropPtr_, KV_DCMD_CTRL_PROPERTIES_GET);
    if (rc != 0) {
        DEBUG_LOG(WARNING,
                  "Entering AdapterDataKvi::getKvCtlrProp - Get controller property failed");
    }

    if (kvCtrlInfoPtr_ != nullptr &&
        kvCtrlInfoPtr_->adapterOperationExt.adapterOperations6.supportCtrlPropExt != 0) {
        // A re-read after a failed properties read may find an earlier
        // extension here: release it rather than leak it.
        delete kvCtrlPropExtPtr_;
        kvCtrlPropExtPtr_ = new KV_CTRL_PROP_EXT();
        const int extRc = sendDcmdRec(KV_DCMD_CTRL_PROPERTIES_GET, kviMbox(1), kvCtrlPropExtPtr_,
                                      kCtrlPropExtLen);
        if (extRc != 0) {
            // The extension's status is logged, never returned.
            DEBUG_LOG(WARNING,
                      "Entering AdapterDataKvi::getKvCtlrProp - Get controller property failed");
            delete kvCtrlPropExtPtr_;
            kvCtrlPropExtPtr_ = nullptr;
        }
    }

    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getKvCtlrProp retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::beginCtlrPropUpdate() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::beginCtlrPropUpdate");
    return getKvCtlrProp();
}

int AdapterDataKvi::endCtlrPropUpdate() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::endCtlrPropUpdate");
    if (!kvAdpPropertiesChanged_) {
        return 0;
    }
    kvAdpPropertiesChanged_ = false;
    if (kvCtrlPropPtr_ == nullptr) {
        return -1;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::endCtlrPropUpdate");
    // The cache keeps the values written, also when the write fails.
    return sendDcmdRec(KV_DCMD_CTRL_PROPERTIES_SET, kviMbox(), kvCtrlPropPtr_);
}

int AdapterDataKvi::endCtlrPropExtUpdate() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::endCtlrPropExtUpdate");
    const DCMD_MBOX mbox = kviMbox(1); // selects the extension
    if (!kvCtrlPropertiesExtChanged_) {
        return 0;
    }
    kvCtrlPropertiesExtChanged_ = false;
    if (kvCtrlPropExtPtr_ == nullptr) {
        return -1;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::endCtlrPropExtUpdate");
    return sendDcmdRec(KV_DCMD_CTRL_PROPERTIES_SET, mbox, kvCtrlPropExtPtr_, kCtrlPropExtLen);
}

// ---------------------------------------------------------------------------
// BIOS data

int AdapterDataKvi::beginBIOSDataUpdate() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::beginBIOSDataUpdate");
    return getBIOSData();
}

int AdapterDataKvi::endBIOSDataUpdate() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::endBIOSDataUpdate");
    if (!kvBIOSDataChanged_) {
        return 0;
    }
    kvBIOSDataChanged_ = false;
    if (kvBiosDataPtr_ == nullptr) {
        return -1;
    }
    // The BIOS accepts the record only when its 64 bytes sum to 0 mod 256:
    // checkSum (the last byte) is the negated sum of the 63 before it.
    const auto* bytes = reinterpret_cast<const unsigned char*>(kvBiosDataPtr_);
    unsigned int sum = 0;
    for (std::size_t i = 0; i < offsetof(KV_BIOS_DATA, checkSum); ++i) {
        sum += bytes[i];
    }
    kvBiosDataPtr_->checkSum = static_cast<std::uint8_t>(0u - (sum & 0xFFu));
    return sendDcmdRec(KV_DCMD_CTRL_BIOS_DATA_SET, kviMbox(), kvBiosDataPtr_);
}

// ---------------------------------------------------------------------------
// Mux list

int AdapterDataKvi::beginMuxModeUpdate() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::beginMuxModeUpdate");
    return getMuxInfo();
}

// Logs nothing. The missing list is reported before the change flag is looked
// at, so a call without a loaded list fails even when nothing was changed.
int AdapterDataKvi::endMuxModeUpdate() {
    if (kvMuxListPtr_ == nullptr) {
        return -1;
    }
    if (!kvMuxPropertiesChanged_) {
        return 0;
    }
    kvMuxPropertiesChanged_ = false;
    return sendDcmdRec(KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, kviMbox(), kvMuxListPtr_);
}

// ---------------------------------------------------------------------------
// Records read afresh on every use

int AdapterDataKvi::getConfigAllowedOps() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getConfigAllowedOps");
    kvCfgAllowedOps_ = KV_CONFIG_ALLOWED_OPS{};
    const int rc = sendDcmdRec(KV_DCMD_CFG_GET_ALLOWED_OPS, kviMbox(), &kvCfgAllowedOps_);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getConfigAllowedOps  retCode = %d", rc);
    return rc;
}

int AdapterDataKvi::getEventLogInfo(KV_EVT_LOG_INFO** out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getEventLogInfo");
    if (out == nullptr) {
        return -1;
    }
    if (kvEventLogInfoPtr_ == nullptr) {
        kvEventLogInfoPtr_ = new KV_EVT_LOG_INFO();
    }
    *kvEventLogInfoPtr_ = KV_EVT_LOG_INFO{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_EVENT_GET_INFO, kviMbox(), kvEventLogInfoPtr_);
    if (rc != 0) {
        // The buffer stays allocated (cleared): a caller may still hold the
        // pointer an earlier call handed out.
        *kvEventLogInfoPtr_ = KV_EVT_LOG_INFO{};
        return rc;
    }
    *out = kvEventLogInfoPtr_;
    return 0;
}

// ---------------------------------------------------------------------------
// Image component lists

const KV_FLASH_COMP_INFO* AdapterDataKvi::flashComp(const KV_FLASH_COMP_INFO_LIST* list,
                                                    std::uint32_t i) {
    if (list == nullptr || i >= list->count) {
        return nullptr;
    }
    const auto* base = reinterpret_cast<const unsigned char*>(list);
    return reinterpret_cast<const KV_FLASH_COMP_INFO*>(
        base + offsetof(KV_FLASH_COMP_INFO_LIST, components) +
        static_cast<std::size_t>(i) * sizeof(KV_FLASH_COMP_INFO));
}

int AdapterDataKvi::readFlashEntries(std::uint8_t which, std::uint32_t count,
                                     std::uint32_t headSize, KV_FLASH_COMP_INFO_LIST** slot) {
    // The transfer length is count x 72, the entries alone without the 8-byte
    // head, as the firmware expects. The buffer has room for the head and every
    // entry, and for the standard transfer size used when the length is 0.
    const std::uint64_t length = static_cast<std::uint64_t>(count) * sizeof(KV_FLASH_COMP_INFO);
    std::size_t bytes = offsetof(KV_FLASH_COMP_INFO_LIST, components) + length;
    bytes = std::max(bytes, sizeof(KV_FLASH_COMP_INFO_LIST));
    if (const KV_DCMD_INFO* row = kvDcmdInfo(KV_DCMD_CTRL_FLASH_COMP_INFO_GET)) {
        bytes = std::max<std::size_t>(bytes, row->standardSize);
    }
    auto* list = static_cast<KV_FLASH_COMP_INFO_LIST*>(std::calloc(1, bytes));
    if (list == nullptr) {
        return -1;
    }
    std::free(*slot); // the list read last time is replaced
    *slot = list;
    list->size = headSize;
    list->count = count;

    const int rc = sendDcmd(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, kviMbox(which), list,
                            static_cast<std::uint32_t>(bytes), static_cast<std::uint32_t>(length));
    if (rc != 0) {
        std::free(list);
        *slot = nullptr;
        return rc;
    }
    // The firmware's second answer may claim more entries than its first:
    // readers walk `count`, so cap it at the entries this buffer holds.
    const auto held = static_cast<std::uint32_t>(
        (bytes - offsetof(KV_FLASH_COMP_INFO_LIST, components)) / sizeof(KV_FLASH_COMP_INFO));
    list->count = std::min(list->count, held);
    return 0;
}

int AdapterDataKvi::getFwCompData() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getFwCompData");
    PendingCount = 0;
    int rc = 0;
    if (kvCtrlInfoPtr_ == nullptr) {
        rc = getCtlrInfo();
        if (rc != 0) {
            return rc;
        }
    }

    // Running image: the head (whose status is not looked at: a failed head
    // read leaves count 0), then the list.
    KV_FLASH_COMP_INFO_LIST head{};
    sendDcmdRec(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, kviMbox(0), &head);
    if (head.count > kMaxFlashComps) {
        return -1;
    }
    rc = readFlashEntries(0, head.count, head.size, &getActiveFlashInfo_);
    if (rc != 0) {
        return rc;
    }

    // Backup image, only on controllers that keep two images.
    if (kvCtrlInfoPtr_->adapterOperations4.supportDualFWUpdate != 0) {
        head = KV_FLASH_COMP_INFO_LIST{};
        sendDcmdRec(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, kviMbox(2), &head);
        if (head.count > kMaxFlashComps) {
            return -1;
        }
        rc = readFlashEntries(2, head.count,
                              static_cast<std::uint32_t>(head.count * sizeof(KV_FLASH_COMP_INFO)),
                              &getBackupFlashInfo_);
        if (rc != 0) {
            return rc;
        }
    }

    // Pending image: the head always, the list only when it has components.
    head = KV_FLASH_COMP_INFO_LIST{};
    rc = sendDcmdRec(KV_DCMD_CTRL_FLASH_COMP_INFO_GET, kviMbox(1), &head);
    if (head.count > kMaxFlashComps) {
        return -1;
    }
    PendingCount = static_cast<int>(head.count);
    if (PendingCount != 0) {
        rc = readFlashEntries(1, head.count,
                              static_cast<std::uint32_t>(head.count * sizeof(KV_FLASH_COMP_INFO)),
                              &getPendingFlashInfo_);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getFwCompData retCode = %d", rc);
    return rc;
}

// ---------------------------------------------------------------------------
// Schedules

// Both schedules are read and written the same way in their two forms; these
// carry the shared steps.
template <typename T>
int AdapterDataKvi::readSchedRecord(T*& member, std::uint32_t opcode, std::uint8_t form) {
    delete member;
    member = new (std::nothrow) T();
    if (member == nullptr) {
        return -1;
    }
    const int rc =
        sendDcmdRec(opcode, kviMbox(form), member, static_cast<std::uint32_t>(sizeof(T)));
    if (rc != 0) {
        delete member;
        member = nullptr;
    }
    return rc;
}

template <typename Short, typename Ext>
int AdapterDataKvi::sendSchedRecord(const char* name, std::uint32_t opcode, Short* shortRec,
                                    Ext* extRec) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (shortRec == nullptr && extRec == nullptr) {
        return 1;
    }
    if (kvCtrlInfoPtr_ == nullptr) {
        const int rc = getCtlrInfo();
        if (rc != 0) {
            return rc;
        }
    }
    const DCMD_MBOX mbox = kviMbox(extSchedForm() ? 1 : 0);
    const int rc =
        shortRec != nullptr
            ? sendDcmdRec(opcode, mbox, shortRec, static_cast<std::uint32_t>(sizeof(Short)))
            : sendDcmdRec(opcode, mbox, extRec, static_cast<std::uint32_t>(sizeof(Ext)));
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
    return rc;
}

int AdapterDataKvi::getPrProperties() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getPrProperties");
    int rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
    // Progress fields change while a run is active: always read afresh.
    delete kvPrProp_;
    kvPrProp_ = nullptr;
    delete kvPrPropExt_;
    kvPrPropExt_ = nullptr;

    rc = extSchedForm() ? readSchedRecord(kvPrPropExt_, KV_DCMD_CTRL_PR_GET_PROPERTIES, 1)
                        : readSchedRecord(kvPrProp_, KV_DCMD_CTRL_PR_GET_PROPERTIES, 0);
    if (rc != 0) {
        return rc;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getPrProperties");
    return 0;
}

int AdapterDataKvi::setPrProperties() {
    return sendSchedRecord("setPrProperties", KV_DCMD_CTRL_PR_SET_PROPERTIES, kvPrProp_,
                           kvPrPropExt_);
}

int AdapterDataKvi::getCcScProperties() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getCcScProperties");
    // Only the short form is kept between calls; the extended form is read
    // again every time.
    if (kvCcScProp_ != nullptr) {
        return 0;
    }
    int rc = 0;
    if (kvCtrlInfoPtr_ == nullptr) {
        rc = getCtlrInfo();
        if (rc != 0) {
            return rc;
        }
    }

    // readSchedRecord releases the extended record of the last call rather
    // than leak it.
    rc = extSchedForm()
             ? readSchedRecord(kvCcScPropExt_, KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, 1)
             : readSchedRecord(kvCcScProp_, KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, 0);
    if (rc != 0) {
        return rc;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getCcScProperties");
    return 0;
}

int AdapterDataKvi::setCcScProperties() {
    return sendSchedRecord("setCcScProperties", KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES,
                           kvCcScProp_, kvCcScPropExt_);
}

int AdapterDataKvi::getPrStatus(KV_PR_STATUS* status) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getPrStatus");
    if (status == nullptr) {
        return -1;
    }
    KV_PR_STATUS answer{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_PR_GET_STATUS, kviMbox(), &answer);
    if (rc == 0) {
        *status = answer;
    }
    return rc;
}

int AdapterDataKvi::getCcScStatus(KV_CC_SCHEDULE_STATUS* status) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getCcScStatus");
    if (status == nullptr) {
        return -1;
    }
    KV_CC_SCHEDULE_STATUS answer{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS, kviMbox(), &answer);
    if (rc == 0) {
        *status = answer;
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getCcScStatus");
    }
    return rc;
}

// ---------------------------------------------------------------------------
// Phy table

int AdapterDataKvi::getAllPhyConnections() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getAllPhyConnections");
    if (kvPhy_ != nullptr) {
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getAllPhyConnections");
        return 0;
    }
    // Read once only: a failed read keeps the (zeroed or partly filled)
    // buffer, and later calls answer 0 from it.
    kvPhy_ = new KV_SAS_PHY_CONNECTIONS();
    return sendDcmdRec(KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS, kviMbox(), kvPhy_);
}

// ---------------------------------------------------------------------------
// Controller clock

int AdapterDataKvi::getCtrlTime(KV_TIME_STAMP* timeStamp) {
    return scratchAnswer<KV_TIME_STAMP>("getCtrlTime", timeStamp, [&](KV_TIME_STAMP& answer) {
        return sendDcmdRec(KV_DCMD_CTRL_TIME_GET, kviMbox(), &answer);
    });
}
