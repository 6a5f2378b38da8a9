// Identity and version strings of AdapterDataKvi, with the SSD-cache size getters.
//
// One version string or name picked out of the controller information (the running image's
// component table, the package version, the product name), or, for the package version of the
// backup image, out of the backup image's component list.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"

namespace {

using kvi::adapter::infoSection;
using kvi::adapter::loadedAnswer;
using kvi::adapter::loadedAnswerExit;
using kvi::adapter::loadedChange;

// The component table of KV_CTRL_INFO is declared with eight entries, but the firmware's count
// may claim more; entries are read by byte offset as far as the record reaches, never past it.
constexpr std::size_t kCompTableOffset = offsetof(KV_CTRL_INFO, imageComponent);
constexpr std::uint32_t kCompTableRoom = static_cast<std::uint32_t>(
    (sizeof(KV_CTRL_INFO) - kCompTableOffset) / sizeof(KV_FLASH_COMP_INFO));
static_assert(kCompTableRoom == 31, "the controller information holds at most 31 components");

// Text of a fixed-width field, up to its terminator or its width.
std::string fieldText(const char* text, std::size_t width) {
    return std::string(text, strnlen(text, width));
}

} // namespace

// The version of the first running-image component whose name begins with `key` (a longer
// name that starts with the key also matches). -1 when none does.
static int findComponentVersion(const KV_CTRL_INFO& info, const char* key, std::string& out) {
    const std::size_t keyLen = std::strlen(key);
    const std::uint32_t count =
        info.imageComponentCount < kCompTableRoom ? info.imageComponentCount : kCompTableRoom;
    const auto* base = reinterpret_cast<const unsigned char*>(&info) + kCompTableOffset;
    for (std::uint32_t i = 0; i < count; ++i) {
        KV_FLASH_COMP_INFO entry;
        std::memcpy(&entry, base + static_cast<std::size_t>(i) * sizeof entry, sizeof entry);
        if (std::strncmp(entry.name, key, keyLen) == 0) {
            out = fieldText(entry.version, sizeof entry.version);
            return 0;
        }
    }
    return -1;
}

// The version of the component named `key`, with the query's entry and exit
// lines; the exit line carries the status, which is returned.
static int componentVersion(AdapterDataKvi& a, const char* name, const char* key,
                            std::string& out) {
    return infoSection(a, name, [&](const KV_CTRL_INFO& info) {
        const int rc = findComponentVersion(info, key, out);
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
        return rc;
    });
}

int AdapterDataKvi::getFwVersion(std::string& out) {
    return componentVersion(*this, "getFwVersion", "APP", out);
}

// The package version of the backup image into the caller's buffer of at least 32 bytes:
// exactly 32 bytes are written, the text zero-padded (not terminated when it fills all 32).
// Every "PACKAGE" entry is copied in turn, so the last one wins; none leaves the buffer as it
// was and still answers 0. Logs nothing.
int AdapterDataKvi::getlocaleFwVersion(char* out) {
    if (out == nullptr) {
        return -1;
    }
    const int rc = getFwCompData();
    if (rc != 0) {
        return rc;
    }
    if (getBackupFlashInfo_ == nullptr) {
        return -1;
    }
    for (std::uint32_t i = 0; i < getBackupFlashInfo_->count; ++i) {
        const KV_FLASH_COMP_INFO* entry = flashComp(getBackupFlashInfo_, i);
        if (entry == nullptr) {
            break;
        }
        if (std::strncmp(entry->name, "PACKAGE", 7) == 0) {
            const std::size_t len = strnlen(entry->version, sizeof entry->version);
            std::memset(out, 0, sizeof entry->version);
            std::memcpy(out, entry->version, len);
        }
    }
    return 0;
}

int AdapterDataKvi::getBIOSVersion(std::string& out) {
    return componentVersion(*this, "getBIOSVersion", "BIOS", out);
}

int AdapterDataKvi::getProductName(std::string& out) {
    return infoSection(*this, "getProductName", [&](const KV_CTRL_INFO& info) {
        out = fieldText(info.productName, sizeof info.productName);
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getProductName retCode = %d", 0);
        return 0;
    });
}

int AdapterDataKvi::getPackageVersion(std::string& out) {
    return loadedChange(
        "getPackageVersion", [this] { return getCtlrInfo(); },
        [&] {
            out = fieldText(kvCtrlInfoPtr_->packageVersion, sizeof kvCtrlInfoPtr_->packageVersion);
        });
}

int AdapterDataKvi::getBootBlkVersion(std::string& out) {
    return componentVersion(*this, "getBootBlkVersion", "BTBL", out);
}

int AdapterDataKvi::getMaxConfigurableSSCSize(unsigned short* out) {
    return loadedAnswerExit(
        "getMaxConfigurableSSCSize", out, [this] { return getCtlrInfo(); },
        [this] { return kvCtrlInfoPtr_->maxConfigurableSSCSize; },
        [](unsigned short) {
            DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getMaxConfigurableSSCSize retCode = %d", 0);
        });
}

int AdapterDataKvi::getCurrentSSCSize(unsigned short* out) {
    return loadedAnswer(
        "getCurrentSSCSize", out, [this] { return getCtlrInfo(); },
        [this] { return kvCtrlInfoPtr_->currentSSCsize; });
}
