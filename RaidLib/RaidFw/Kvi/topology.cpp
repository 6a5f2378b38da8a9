// Topology operations of AdapterDataKvi: mux modes, connectors, phys, lanes,
// link speeds, the controller's SAS address and the interface-level checks.
//
// The phy, connector and mux tables are read once per object and kept (a mux
// change edits the held list until endMuxModeUpdate sends it). Indices are
// checked against the tables' real sizes (24 phys and lanes, 8 connectors, 4
// muxes) as well as against the counts the firmware reports.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"

namespace {

using kvi::adapter::enterLoaded;
using kvi::adapter::loadedAnswer;

constexpr unsigned kMaxPhys = 24;      // entries of KV_SAS_PHY_CONNECTIONS
constexpr unsigned kMaxConnectors = 8; // entries of KV_SAS_CONNECTORS
constexpr unsigned kMaxMuxes = 4;      // modes of KV_SAS_MUX_LIST
constexpr unsigned kMaxLanes =         // entries of KV_PCIE_LANE_CONNECTIONS (24)
    sizeof(KV_PCIE_LANE_CONNECTIONS::lane) / sizeof(KV_PCIE_LANE_CONNECTION);
constexpr std::size_t kConnectorNameSize = 16;

// The tool's own interface level.
constexpr unsigned short kAppApiLevel = 0;

// The interface levels of the firmware (`fw` of the controller information)
// and of the tool, and whether `needs(fw level, tool level)`: the entry line,
// -1 for a null out-pointer, the load, the exit line ending in `exitTail`, 0.
template <typename Fw, typename Needs>
int apiLevelAnswer(AdapterDataKvi& a, const char* name, const char* exitTail, bool* need,
                   unsigned short* fwLevel, unsigned short* appLevel, Fw fw, Needs needs) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (need == nullptr || fwLevel == nullptr || appLevel == nullptr) {
        return -1;
    }
    int rc = 0;
    const KV_CTRL_INFO* info = a.ctrlInfoOrStatus(&rc);
    if (info == nullptr) {
        return rc;
    }
    *fwLevel = fw(*info);
    *appLevel = kAppApiLevel;
    *need = needs(*fwLevel, *appLevel);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s%s", name, exitTail);
    return 0;
}

bool phyInRange(int phy) {
    return phy >= 0 && static_cast<unsigned>(phy) < kMaxPhys;
}

} // namespace

// ---------------------------------------------------------------------------
// Mux modes

int AdapterDataKvi::getMuxCount(unsigned char* out) {
    return loadedAnswer(
        "getMuxCount", out, [this] { return getMuxInfo(); },
        [this] { return kvMuxListPtr_->sasMuxCount; });
}

int AdapterDataKvi::getMuxMode(unsigned char* out, unsigned char mux) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getMuxMode");
    if (out == nullptr) {
        return -1;
    }
    unsigned char count = 0;
    const int rc = getMuxCount(&count);
    if (rc != 0) {
        return rc;
    }
    if (mux >= count || mux >= kMaxMuxes) {
        return -1;
    }
    *out = kvMuxListPtr_->sasMuxMode[mux];
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getMuxMode");
    return 0;
}

// Needs a preceding beginMuxModeUpdate. A connector without a mux (current
// mode 0) cannot be switched, and no mux can be set to mode 0. Nothing is
// sent until endMuxModeUpdate.
int AdapterDataKvi::setMuxMode(unsigned char mode, unsigned char mux) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setMuxMode");
    if (kvMuxListPtr_ == nullptr) {
        return -1;
    }
    unsigned char count = 0;
    const int rc = getMuxCount(&count);
    if (rc != 0) {
        return rc;
    }
    if (mux >= count || mux >= kMaxMuxes || mode == 0) {
        return -1;
    }
    if (kvMuxListPtr_->sasMuxMode[mux] == 0) {
        return -1;
    }
    kvMuxPropertiesChanged_ = true;
    kvMuxListPtr_->sasMuxMode[mux] = mode;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setMuxMode");
    return 0;
}

// ---------------------------------------------------------------------------
// Connectors

int AdapterDataKvi::getConnectorCount(unsigned char* out) {
    return loadedAnswer(
        "getConnectorCount", out, [this] { return getConnectors(); },
        [this] { return static_cast<unsigned char>(kvConnectorsPtr_->count & 0xFFu); });
}

int AdapterDataKvi::getConnectorLocation(unsigned char index, unsigned char* out) {
    const int rc = enterLoaded("getConnectorLocation", out, [this] { return getConnectors(); });
    if (rc != 0) {
        return rc;
    }
    const auto count = static_cast<unsigned char>(kvConnectorsPtr_->count & 0xFFu);
    if (index >= count || index >= kMaxConnectors) {
        return -1;
    }
    *out = kvConnectorsPtr_->connectors[index].location;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getConnectorLocation");
    return 0;
}

// The string belongs to the caller. The name is read up to its terminating
// zero but never past its 16 bytes.
int AdapterDataKvi::getConnectorName(unsigned char index, std::string** out) {
    const int rc = enterLoaded("getConnectorName", out, [this] { return getConnectors(); });
    if (rc != 0) {
        return rc;
    }
    const auto count = static_cast<unsigned char>(kvConnectorsPtr_->count & 0xFFu);
    if (index >= count || index >= kMaxConnectors) {
        *out = nullptr;
        return -1;
    }
    const char* name = kvConnectorsPtr_->connectors[index].name;
    *out = new std::string(name, strnlen(name, kConnectorNameSize));
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getConnectorName");
    return 0;
}

int AdapterDataKvi::getConnectorsValue(KV_SAS_CONNECTORS* out) {
    return loadedAnswer(
        "getConnectorsValue", out, [this] { return getConnectors(); },
        [this] { return *kvConnectorsPtr_; });
}

// ---------------------------------------------------------------------------
// Phys

int AdapterDataKvi::getPhyCount(unsigned int* out) {
    return loadedAnswer(
        "getPhyCount", out, [this] { return getAllPhyConnections(); },
        [this] { return kvPhy_->count; });
}

// The phy accessors below load the table only when none is held (a failed
// read is then remembered as an all-zero table). Phy indices outside the
// table are refused.
template <typename T, typename Pick>
int AdapterDataKvi::phyAnswer(const char* name, int index, bool inRange, T* out, Pick pick) {
    return loadedAnswer(
        name, out, [this] { return kvPhy_ != nullptr ? 0 : getAllPhyConnections(); },
        [&] { return pick(kvPhy_->phy[index]); }, inRange);
}

int AdapterDataKvi::isPhyDisable(int phy, bool* out) {
    // A phy without a connector is disabled; the firmware's `disabled` bit is
    // not what the tool shows.
    return phyAnswer("isPhyDisable", phy, phyInRange(phy), out,
                     [](const KV_SAS_PHY_CONNECTION& p) { return p.connectorIndex == 0xFF; });
}

int AdapterDataKvi::getSASAddress(int phy, unsigned long long* out) {
    return phyAnswer("getSASAddress", phy, phyInRange(phy), out,
                     [](const KV_SAS_PHY_CONNECTION& p) { return p.sasAddr; });
}

int AdapterDataKvi::getSASPortNumber(int phy, unsigned int* out) {
    return phyAnswer("getSASPortNumber", phy, phyInRange(phy), out,
                     [](const KV_SAS_PHY_CONNECTION& p) { return p.sasPortNumber; });
}

int AdapterDataKvi::getSASPortNumberValid(int phy, unsigned int* out) {
    return phyAnswer(
        "getSASPortNumberValid", phy, phyInRange(phy), out,
        [](const KV_SAS_PHY_CONNECTION& p) { return p.sasPortNumberValid != 0 ? 1 : 0; });
}

int AdapterDataKvi::getConnectorIndex(int phy, unsigned char* out) {
    return phyAnswer("getConnectorIndex", phy, phyInRange(phy), out,
                     [](const KV_SAS_PHY_CONNECTION& p) { return p.connectorIndex; });
}

// The configured maximum link speed (a KV_SAS_PHY_LINK_SPEED code).
int AdapterDataKvi::getLinkSpeed(int phy, unsigned int* out) {
    return phyAnswer("getLinkSpeed", phy, phyInRange(phy), out,
                     [](const KV_SAS_PHY_CONNECTION& p) { return p.linkSpeedControl; });
}

// The connector the phy belongs to (255 = none).
int AdapterDataKvi::getPhyConnection(unsigned char* out, unsigned char index) {
    return phyAnswer("getPhyConnection", index, index < kMaxPhys, out,
                     [](const KV_SAS_PHY_CONNECTION& p) { return p.connectorIndex; });
}

// The held phy table is not refreshed: it keeps the speed read first.
int AdapterDataKvi::setLinkSpeed(int phy, unsigned int speed) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setLinkSpeed");
    DCMD_MBOX mbox = kviMbox();
    mbox.b[0] = static_cast<std::uint8_t>(phy & 0xFF);
    mbox.b[1] = static_cast<std::uint8_t>(speed & 0xFFu);
    const int rc = sendDcmd(KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, mbox, nullptr, 0, 0);
    if (rc == 0) {
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setLinkSpeed");
    }
    return rc;
}

// ---------------------------------------------------------------------------
// Lanes

// Into the caller's 392-byte buffer; not cached.
int AdapterDataKvi::getAllLaneConnectionInfo(unsigned char* buf) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getAllLaneConnectionInfo");
    if (buf == nullptr) {
        return -1;
    }
    const int rc = sendDcmd(KV_DCMD_PCIE_CONFIG_GET_LANE_CONNECTIONS, kviMbox(), buf,
                            static_cast<std::uint32_t>(sizeof(KV_PCIE_LANE_CONNECTIONS)), 0);
    if (rc == 0) {
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getAllLaneConnectionInfo");
    }
    return rc;
}

// Copies the 16-byte entry of one lane; a lane beyond the table leaves `out`
// as it was and still answers 0.
int AdapterDataKvi::getLaneConnectionInfo(unsigned char* out, unsigned char index) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getLaneConnectionInfo");
    if (out == nullptr) {
        return -1;
    }
    // Value-initialised: the table starts all zero.
    const auto table = std::make_unique<KV_PCIE_LANE_CONNECTIONS>();
    const int rc = getAllLaneConnectionInfo(reinterpret_cast<unsigned char*>(table.get()));
    if (rc != 0) {
        return rc;
    }
    if (index < table->count && index < kMaxLanes) {
        std::memcpy(out, &table->lane[index], sizeof(KV_PCIE_LANE_CONNECTION));
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getLaneConnectionInfo");
    return 0;
}

// ---------------------------------------------------------------------------
// Controller SAS address

int AdapterDataKvi::getAdpSASAddress(unsigned long long* out) {
    return loadedAnswer(
        "getAdpSASAddress", out, [this] { return getMFCdata(); },
        [this] { return kvMFCDefPtr_->sasAddr; });
}

// Controllers of the configuration-page generation take the address in the
// mailbox (high half in word 0); older ones take the whole manufacturing
// defaults record with the new address in it.
int AdapterDataKvi::adpSetSASAdd(unsigned long long addr, bool isGen2) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::adpSetSASAdd");
    if (isGen2) {
        DEBUG_LOG(INFO, "AdapterDataKvi::adpSetSASAdd - isGen2Adapter");
        const DCMD_MBOX mbox = kviMboxWords(static_cast<std::uint32_t>(addr >> 32),
                                            static_cast<std::uint32_t>(addr & 0xFFFFFFFFull), 0);
        const int rc = sendDcmd(KV_DCMD_CTRL_MFC_DEFAULTS_SASADDR_SET, mbox, nullptr, 0, 0);
        if (rc == 0) {
            DEBUG_LOG(INFO, "Exiting AdapterDataKvi::adpSetSASAdd, retCode = %d", rc);
        }
        return rc;
    }
    int rc = getMFCdata();
    if (rc != 0) {
        return rc;
    }
    kvMFCDefPtr_->sasAddr = addr;
    rc = sendDcmdRec(KV_DCMD_CTRL_MFC_DEFAULTS_SET, kviMbox(), kvMFCDefPtr_);
    if (rc == 0) {
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::adpSetSASAdd, retCode = %d", rc);
    }
    return rc;
}

// ---------------------------------------------------------------------------
// Interface-level compatibility

// The tool must be updated when the firmware requires a newer interface level
// than the tool's own.
int AdapterDataKvi::doesAppNeedToBeUpdated(bool* need, unsigned short* fwLevel,
                                           unsigned short* appLevel) {
    return apiLevelAnswer(
        *this, "doesAppNeedToBeUpdated", "", need, fwLevel, appLevel,
        [](const KV_CTRL_INFO& info) { return info.kvAPIFwdCompatibility; },
        [](unsigned short fw, unsigned short app) { return fw > app; });
}

// The firmware would need an update if it supported only interface levels
// below the tool's own; with the tool at level 0 that is never the case.
int AdapterDataKvi::doesFwNeedToBeUpdated(bool* need, unsigned short* fwLevel,
                                          unsigned short* appLevel) {
    return apiLevelAnswer(
        *this, "doesFwNeedToBeUpdated", " retCode = 0", need, fwLevel, appLevel,
        [](const KV_CTRL_INFO& info) { return info.kvAPIBkwdCompatibility; },
        [](unsigned short fw, unsigned short app) { return fw < app; });
}

// Display text of a KV_SAS_PHY_LINK_SPEED code.
const char* AdapterDataKvi::GetSASPhyLinkSpeed(unsigned char code) {
    switch (code) {
    case 0:
        return "No limit";
    case 1:
        return "1.5 Gbps";
    case 2:
        return "3.0 Gbps";
    case 4:
        return "6.0 Gbps";
    case 8:
        return "12.0 Gbps";
    default:
        return "N/A";
    }
}
