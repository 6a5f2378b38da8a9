// Report sections of AdapterDataKvi: supported controller, drive and virtual
// drive operations, and external key management.
//
// Each capability is one bit of the controller information; the sections show
// "Yes" or "No" per capability in a fixed order (which is not bit order).
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"
#include "provider/ProcessInputs.h"

using kvi::adapter::infoSection;
using namespace kvi::reports;

namespace {

// The capability words, by their byte offset in KV_CTRL_INFO.
constexpr std::size_t kAdpOps = 1504;
constexpr std::size_t kLdOps = 1508;
constexpr std::size_t kPdOps = 1516;
constexpr std::size_t kAdpOps2 = 1956;
constexpr std::size_t kAdpOps3 = 2024;
constexpr std::size_t kAdpOps4 = 2044; // a 16-bit word; bits below 16 only
constexpr std::size_t kAdpOps5 = 2120;
constexpr std::size_t kAdpOps6 = 2124;
static_assert(offsetof(KV_CTRL_INFO, adapterOperations) == kAdpOps, "adapterOperations");
static_assert(offsetof(KV_CTRL_INFO, ldOperations) == kLdOps, "ldOperations");
static_assert(offsetof(KV_CTRL_INFO, pdOperations) == kPdOps, "pdOperations");
static_assert(offsetof(KV_CTRL_INFO, adapterOperations2) == kAdpOps2, "adapterOperations2");
static_assert(offsetof(KV_CTRL_INFO, adapterOperations3) == kAdpOps3, "adapterOperations3");
static_assert(offsetof(KV_CTRL_INFO, adapterOperations4) == kAdpOps4, "adapterOperations4");
static_assert(offsetof(KV_CTRL_INFO, adapterOperationExt.adapterOperations5) == kAdpOps5,
              "adapterOperations5");
static_assert(offsetof(KV_CTRL_INFO, adapterOperationExt.adapterOperations6) == kAdpOps6,
              "adapterOperations6");

// Bit `bit` of the little-endian word at byte `word` of the record. Bits of
// the 16-bit adapterOperations4 lie in its two bytes, so reading four bytes
// from there stays inside the record and picks the same bit.
bool capability(const KV_CTRL_INFO& info, std::size_t word, unsigned int bit) {
    std::uint32_t value = 0;
    std::memcpy(&value, reinterpret_cast<const unsigned char*>(&info) + word, sizeof value);
    return ((value >> bit) & 1u) != 0;
}

// How a row's key and value are formed.
enum class Row : std::uint8_t {
    Plain,      // key as written, "Yes" when the bit is set
    Inverted,   // "No" when the bit is set
    IfPi,       // present only when supportPIcontroller is set
    IfOem2,     // present only for OEM code 2
    IfSnapDump, // inverted, present only when supportSnapDump is set
    ReconRate,  // "%s Rate" with the reconstruction name (OEM 3) or "Reconstruct"
    Battery,    // key is the battery's name, value from isBatteryHWPresent
    Spare,      // key formatted with the spare's name
    Spare2,     // key formatted with the second spare name
    ReconName,  // key is the reconstruction name itself
};

struct Capability {
    const char* key; // text, or printf format for the formatted rows
    std::size_t word;
    unsigned int bit;
    Row row;
};

// Controller operations, in output order.
const Capability kAdapterOps[] = {
    {"Rebuild Rate", kAdpOps, 0, Row::Plain},
    {"CC Rate", kAdpOps, 1, Row::Plain},
    {"BGI Rate ", kAdpOps, 2, Row::Plain},
    {"%s Rate", kAdpOps, 3, Row::ReconRate},
    {"Patrol Read Rate", kAdpOps, 4, Row::Plain},
    {"Alarm Control", kAdpOps, 5, Row::Plain},
    {"Cluster Support", kAdpOps, 6, Row::Plain},
    {nullptr, 0, 0, Row::Battery},
    {"Spanning", kAdpOps, 8, Row::Plain},
    {"Dedicated %s", kAdpOps, 9, Row::Spare},
    {"Revertible %ss", kAdpOps, 10, Row::Spare},
    {"Foreign Config Import", kAdpOps, 11, Row::Plain},
    {"Self Diagnostic", kAdpOps, 12, Row::Plain},
    {"Allow Mixed Redundancy on Array", kAdpOps, 13, Row::Plain},
    {"Global %ss", kAdpOps, 14, Row::Spare},
    {"Deny SCSI Passthrough", kAdpOps, 15, Row::Plain},
    {"Deny SMP Passthrough", kAdpOps, 16, Row::Plain},
    {"Deny STP Passthrough", kAdpOps, 17, Row::Plain},
    {"Support more than 8 Phys", kAdpOps, 18, Row::Plain},
    {"FW and Event Time in GMT", kAdpOps, 19, Row::Plain},
    {"Support Enhanced Foreign Import", kAdpOps, 20, Row::Plain},
    {"Support Enclosure Enumeration", kAdpOps, 21, Row::Plain},
    {"Support Allowed Operations", kAdpOps, 22, Row::Plain},
    {"Abort CC on Error", kAdpOps, 23, Row::Plain},
    {"Support Multipath", kAdpOps, 24, Row::Plain},
    {"Support Odd & Even Drive count in RAID1E", kAdpOps, 25, Row::Plain},
    {"Support Security", kAdpOps, 26, Row::Plain},
    {"Support Config Page Model", kAdpOps, 27, Row::Plain},
    {"Support the OCE without adding drives", kAdpOps, 28, Row::Plain},
    {"Support EKM", kAdpOps, 29, Row::Plain},
    {"Snapshot Enabled", kAdpOps, 30, Row::Plain},
    {"Support PI", kAdpOps2, 0, Row::Plain},
    {"Support LDPI Type1", kAdpOps2, 1, Row::IfPi},
    {"Support LDPI Type2", kAdpOps2, 2, Row::IfPi},
    {"Support LDPI Type3", kAdpOps2, 3, Row::IfPi},
    {"Support Ld BBM Info", kAdpOps2, 4, Row::Plain},
    {"Support Shield State", kAdpOps2, 5, Row::Plain},
    {"Block SSD Write Disk Cache Change", kAdpOps2, 6, Row::Plain},
    {"Support Suspend Resume BG ops", kAdpOps2, 7, Row::Plain},
    {"Support Emergency Spares", kAdpOps2, 8, Row::Plain},
    {"Support Set Link Speed", kAdpOps2, 9, Row::Plain},
    {"Support SystemPD", kAdpOps2, 11, Row::IfOem2},
    {"Support JBOD", kAdpOps2, 11, Row::Plain},
    {"Support Perf Tuning", kAdpOps2, 13, Row::Plain},
    {"Support SSD PatrolRead", kAdpOps2, 14, Row::Plain},
    {"Real Time Scheduler", kAdpOps2, 15, Row::Plain},
    {"Support Reset Now", kAdpOps2, 16, Row::Plain},
    {"Support Emulated Drives", kAdpOps2, 17, Row::Plain},
    {"Headless Mode", kAdpOps2, 18, Row::Plain},
    {"Dedicated %ss Limited", kAdpOps2, 19, Row::Spare2},
    {"Point In Time Progress", kAdpOps2, 21, Row::Plain},
    {"Extended LD", kAdpOps3, 5, Row::Plain},
    {"Support Uneven span ", kAdpOps2, 20, Row::Plain},
    {"Support Config Auto Balance", kAdpOps2, 24, Row::Plain},
    {"Support Maintenance Mode", kAdpOps2, 29, Row::Plain},
    {"Support Diagnostic results", kAdpOps2, 30, Row::Plain},
    {"Support Ext Enclosure", kAdpOps2, 28, Row::Plain},
    {"Support Sesmonitoring", kAdpOps3, 16, Row::Plain},
    {"Support SecurityonJBOD", kAdpOps3, 18, Row::Plain},
    {"Support ForceFlash", kAdpOps3, 15, Row::Plain},
    {"Support DisableImmediateIO", kAdpOps3, 3, Row::Plain},
    {"Support LargeIOSupport", kAdpOps3, 30, Row::Plain},
    {"Support DrvActivityLEDSetting", kAdpOps3, 13, Row::Plain},
    {"Support FlushWriteVerify", kAdpOps3, 27, Row::Plain},
    {"Support CPLDUpdate", kAdpOps3, 21, Row::Plain},
    {"Support ForceTo512e", kAdpOps3, 10, Row::Plain},
    {"Support discardCacheDuringLDDelete", kAdpOps3, 19, Row::Plain},
    {"Support JBOD Write cache", kAdpOps3, 22, Row::Plain},
    {"Support Large QD Support", kAdpOps3, 28, Row::Plain},
    {"Support Ctrl Info Extended", kAdpOps4, 0, Row::Plain},
    {"Support AES Encryption Algorithm", kAdpOps4, 2, Row::Plain},
    {"Support Encrypted MFC", kAdpOps4, 3, Row::Plain},
    {"Support Snapdump", kAdpOps5, 8, Row::Plain},
    {"Support Force Personality Change", kAdpOps5, 10, Row::Plain},
    {"Support Dual Fw Image", kAdpOps4, 9, Row::Plain},
    {"Support PSOC Update", kAdpOps5, 11, Row::Plain},
    {"Support Secure Boot", kAdpOps5, 12, Row::Plain},
    {"Support Debug Queue", kAdpOps3, 8, Row::Plain},
    {"Support Least Latency Mode", kAdpOps5, 15, Row::Inverted},
    {"Support OnDemand Snapdump", kAdpOps5, 13, Row::Plain},
    {"Support Clear Snapdump", kAdpOps5, 14, Row::Plain},
    {"Support FW Triggered Snapdump", kAdpOps5, 20, Row::IfSnapDump},
    {"Support PHY current speed", kAdpOps5, 24, Row::Plain},
    {"Support Lane current speed", kAdpOps5, 25, Row::Plain},
    {"Support NVMe Width", kAdpOps5, 26, Row::Plain},
    {"Support Lane DeviceType", kAdpOps5, 27, Row::Plain},
    {"Support Extended Drive performance Monitoring", kAdpOps5, 28, Row::Plain},
    {"Support NVMe Repair", kAdpOps5, 29, Row::Plain},
    {"Support Platform Security", kAdpOps5, 30, Row::Plain},
    {"Support None Mode Params", kAdpOps5, 31, Row::Plain},
    {"Support Extended Controller Property", kAdpOps6, 3, Row::Plain},
    {"Support Smart Poll Interval for DirectAttached", kAdpOps6, 1, Row::Plain},
    {"Support Write Journal Pinning", kAdpOps6, 5, Row::Plain},
    {"Support SMP Passthru with Port Number", kAdpOps6, 4, Row::Plain},
    {"Support SnapDump Preboot Trace Buffer Toggle", kAdpOps6, 0, Row::Plain},
    {"Support Parity Read Cache Bypass", kAdpOps6, 7, Row::Plain},
    {"Support NVMe Init Error Device ConnectorIndex", kAdpOps6, 6, Row::Plain},
};
static_assert(sizeof(kAdapterOps) / sizeof(kAdapterOps[0]) == 97, "97 controller operations");

// Drive operations, in output order.
const Capability kPdOpsRows[] = {
    {"Force Online", kPdOps, 0, Row::Plain},
    {"Force Offline", kPdOps, 1, Row::Plain},
    {"Force Rebuild", kPdOps, 2, Row::Plain},
    {"Deny Force Failed", kPdOps, 3, Row::Plain},
    {"Deny Force Good/Bad", kPdOps, 4, Row::Plain},
    {"Deny Missing Replace", kPdOps, 5, Row::Plain},
    {"Deny Clear", kPdOps, 6, Row::Plain},
    {"Deny Locate", kPdOps, 7, Row::Plain},
    {"Support Power State", kPdOps, 8, Row::Plain},
    {"Set Power State For Cfg", kPdOps, 9, Row::Plain},
    {"Support T10 Power State", kPdOps, 10, Row::Plain},
    {"Support Temperature", kPdOps, 11, Row::Plain},
    {"NCQ", kPdOps, 14, Row::Plain},
    {"Support Max Rate SATA", kPdOps, 15, Row::Plain},
    {"Support Degraded Media", kPdOps, 16, Row::Plain},
    {"Support Parallel FW Update", kPdOps, 17, Row::Plain},
    {"Support Drive Crypto Erase", kPdOps, 18, Row::Plain},
    {"Support SSD Wear Gauge", kPdOps, 20, Row::Plain},
};
static_assert(sizeof(kPdOpsRows) / sizeof(kPdOpsRows[0]) == 18, "18 drive operations");

// Virtual drive operations, in output order.
const Capability kVdOpsRows[] = {
    {"Read Policy", kLdOps, 0, Row::Plain},
    {"Write Policy", kLdOps, 1, Row::Plain},
    {"IO Policy", kLdOps, 2, Row::Plain},
    {"Access Policy", kLdOps, 3, Row::Plain},
    {"Disk Cache Policy", kLdOps, 4, Row::Plain},
    {nullptr, kLdOps, 5, Row::ReconName},
    {"Deny Locate", kLdOps, 6, Row::Plain},
    {"Deny CC", kLdOps, 7, Row::Plain},
    {"Allow Ctrl Encryption", kLdOps, 8, Row::Plain},
    {"Enable LDBBM", kLdOps, 9, Row::Plain},
    {"Support FastPath", kLdOps, 10, Row::Plain},
    {"Performance Metrics", kLdOps, 11, Row::Plain},
    {"Power Savings", kLdOps, 12, Row::Plain},
    {"Support Powersave Max With Cache", kLdOps, 13, Row::Plain},
    {"Support Breakmirror", kLdOps, 14, Row::Plain},
    {"Support SSC WriteBack", kLdOps, 15, Row::Plain},
    {"Support SSC Association", kLdOps, 16, Row::Plain},
    {"Support VD Hide", kLdOps, 21, Row::Plain},
    {"Support VD Cachebypass", kAdpOps3, 17, Row::Plain},
    {"Support VD discardCacheDuringLDDelete", kAdpOps3, 19, Row::Plain},
    {"Support VD Scsi Unmap", kLdOps, 20, Row::Plain},
};
static_assert(sizeof(kVdOpsRows) / sizeof(kVdOpsRows[0]) == 21, "21 virtual drive operations");

// A key pattern with its "%s" replaced by an object name (the patterns hold
// one "%s" and no other conversion, so this is what printf would make).
std::string keyWithName(const char* pattern, const char* name) {
    std::string key(pattern);
    const std::size_t at = key.find("%s");
    if (at != std::string::npos) {
        key.replace(at, 2, name != nullptr ? name : "");
    }
    return key;
}

struct RowContext {
    const KV_CTRL_INFO& info;
    int oem;
    bool batteryPresent;
};

// Writes one capability row (or nothing, when its presence condition fails).
// Formatted keys are built in a string, so no object name can overrun a fixed
// buffer.
void writeRow(json::Object& obj, const Capability& cap, const RowContext& ctx) {
    const bool set = cap.row != Row::Battery && capability(ctx.info, cap.word, cap.bit);
    switch (cap.row) {
    case Row::Plain:
        putText(obj, cap.key, yesNo(set));
        break;
    case Row::Inverted:
        putText(obj, cap.key, yesNo(!set));
        break;
    case Row::IfPi:
        if (ctx.info.adapterOperations2.supportPIcontroller) {
            putText(obj, cap.key, yesNo(set));
        }
        break;
    case Row::IfOem2:
        if (ctx.oem == 2) {
            putText(obj, cap.key, yesNo(set));
        }
        break;
    case Row::IfSnapDump:
        if (ctx.info.adapterOperationExt.adapterOperations5.supportSnapDump) {
            putText(obj, cap.key, yesNo(!set));
        }
        break;
    case Row::ReconRate:
        putText(obj, keyWithName(cap.key, ctx.oem == 3 ? gResStr->STR_RECON_OBJ : "Reconstruct"),
                yesNo(set));
        break;
    case Row::Battery:
        putText(obj, gResStr->STR_OBJ_BBU, ctx.batteryPresent ? "Yes" : "NA");
        break;
    case Row::Spare:
        putText(obj, keyWithName(cap.key, gResStr->STR_OBJ_SPARE), yesNo(set));
        break;
    case Row::Spare2:
        putText(obj, keyWithName(cap.key, gResStr->STR_OBJ_SPARE2), yesNo(set));
        break;
    case Row::ReconName:
        putText(obj, gResStr->STR_RECON_OBJ, yesNo(set));
        break;
    }
}

} // namespace

int AdapterDataKvi::getShowSupportedAdpOperations(json::Object& obj) {
    return infoSection(*this, "getShowSupportedAdpOperations", [&](const KV_CTRL_INFO&) {
        int rc = 0;
        int oem = 0;
        rc = getOem(&oem);
        if (rc != 0) {
            return rc;
        }
        bool batteryAsked = false;
        bool batteryPresent = false;
        for (const Capability& cap : kAdapterOps) {
            if (cap.row == Row::Battery && !batteryAsked) {
                batteryPresent = isBatteryHWPresent() != 0;
                batteryAsked = true;
            }
            writeRow(obj, cap, RowContext{*kvCtrlInfoPtr_, oem, batteryPresent});
        }
        return 0;
    });
}

int AdapterDataKvi::getShowSupportedPDOperations(json::Object& obj) {
    return infoSection(*this, "getShowSupportedPDOperations", [&](const KV_CTRL_INFO& info) {
        for (const Capability& cap : kPdOpsRows) {
            writeRow(obj, cap, RowContext{info, 0, false});
        }
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowSupportedPDOperations retcode = %d", 0);
        return 0;
    });
}

int AdapterDataKvi::getShowSupportedVDOperations(json::Object& obj) {
    return infoSection(*this, "getShowSupportedVDOperations", [&](const KV_CTRL_INFO& info) {
        for (const Capability& cap : kVdOpsRows) {
            writeRow(obj, cap, RowContext{info, 0, false});
        }
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowSupportedVDOperations retcode = %d", 0);
        return 0;
    });
}

int AdapterDataKvi::getSecureEKMSDetails(json::Object& obj) {
    int rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
    const bool ekm = kvCtrlInfoPtr_->adapterOperations.supportEKM != 0;
    putText(obj, "Capability", ekm ? "Supported" : "Not Supported");
    if (!ekm) {
        return 0;
    }
    rc = getBIOSData();
    if (rc != 0) {
        return rc;
    }
    const unsigned int ekmStatus = kvBiosDataPtr_->EKMStatus;
    putText(obj, "Boot Agent", (ekmStatus & 0x11u) != 0 ? "Available" : "Not Available");
    putText(obj, "Configured", kvCtrlInfoPtr_->lockKeyBinding == 4 ? "Yes" : "No");
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSecureEKMSDetails retcode = %d %lx", rc,
              static_cast<unsigned long>(ekmStatus));
    return 0;
}
