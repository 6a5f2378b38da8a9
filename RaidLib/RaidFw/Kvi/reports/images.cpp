// Report sections of AdapterDataKvi: pending and dual firmware images.
//
// getShowPendingImages lists the flashed but not yet active components from the
// controller information; getShowDualImages shows the versions of the active,
// backup and pending image sets from the image component lists.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"

using kvi::adapter::infoSection;
using namespace kvi::reports;

namespace {

// The version set of one image: for each component whose name begins with a
// known tag, the first 32 characters of its version text under the tag's key,
// in list order. The package entry is cut at 32 characters as well, although
// its field holds 64.
json::Object imageSet(const KV_FLASH_COMP_INFO_LIST* list) {
    struct Row {
        const char* tag;
        std::size_t compared;
        const char* key;
    };
    static const Row kRows[] = {
        {"BIOS", 4, "BIOS Version"},   {"HIIM", 4, "HIIM Version"},
        {"HIIA", 4, "HIIA Version"},   {"APP ", 4, "FW Version"},
        {"NVDT", 4, "NVDATA Version"}, {"BOOT", 4, "BOOT Version"},
        {"CPLD", 4, "CPLD Version"},   {"CTLR", 4, "CTLR Version"},
        {"PCLI", 4, "PCLI Version"},   {"BTBL", 4, "Boot Block Version"},
        {"SGFW", 4, "SGFW Version"},   {"MBBL", 4, "Master Boot Block Version"},
        {"CBB ", 4, "CBB Version"},    {"PACKAGE", 7, "FW Package Build"},
    };
    json::Object set;
    for (std::uint32_t i = 0;; ++i) {
        // flashComp stops at the list's count, which never exceeds the
        // entries held.
        const KV_FLASH_COMP_INFO* comp = AdapterDataKvi::flashComp(list, i);
        if (comp == nullptr) {
            break;
        }
        const std::string version = fieldText(comp->version, 32);
        for (const Row& row : kRows) {
            if (std::strncmp(comp->name, row.tag, row.compared) == 0) {
                putText(set, row.key, version);
            }
        }
    }
    return set;
}

} // namespace

int AdapterDataKvi::getShowPendingImages(json::Object& obj) {
    return infoSection(*this, "getShowPendingImages", [&](const KV_CTRL_INFO& info) {
        if (info.pendingImageComponentCount == 0) {
            putText(obj, "Image name", "No pending images");
            DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowPendingImages retcode = %d", 0);
            return 0;
        }
        // The firmware's count is followed as far as the record reaches (at most
        // 23 entries), never beyond its end.
        const std::size_t at = offsetof(KV_CTRL_INFO, pendingImageComponent);
        const std::uint32_t n = ctrlInfoComponentLimit(at, info.pendingImageComponentCount);
        json::Array details;
        for (std::uint32_t i = 0; i < n; ++i) {
            const KV_FLASH_COMP_INFO* comp = ctrlInfoComponent(info, at, i);
            json::Object component;
            DEBUG_LOG(INFO, "Component-%s version-%s\n", fieldText(comp->name).c_str(),
                      fieldText(comp->version).c_str());
            if (const char* label = componentLabel(comp->name)) {
                putText(component, "Name", label);
                putText(component, "Version", fieldText(comp->version));
            }
            if (!component.Empty()) {
                details.Insert(component);
            }
        }
        obj["Details"] = details;
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowPendingImages retcode = %d", 0);
        return 0;
    });
}

int AdapterDataKvi::getShowDualImages(json::Object& obj) {
    const int rc = getFwCompData();
    if (rc != 0) {
        return rc;
    }
    if (getActiveFlashInfo_ == nullptr || (getPendingFlashInfo_ == nullptr && PendingCount != 0)) {
        return -1;
    }
    obj["Active Firmware"] = imageSet(getActiveFlashInfo_);
    if (kvCtrlInfoPtr_ != nullptr && kvCtrlInfoPtr_->adapterOperations4.supportDualFWUpdate) {
        if (getBackupFlashInfo_ == nullptr) {
            return -1;
        }
        obj["Backup Firmware"] = imageSet(getBackupFlashInfo_);
    }
    if (PendingCount != 0) {
        obj["Pending Firmware"] = imageSet(getPendingFlashInfo_);
    }
    return 0;
}
