#pragma once
// The report sections of AdapterData in one table: the command line's token,
// the title (text heading and JSON key) and the member that builds each one.
// The command line, the tests, the benchmarks and the fuzz driver all walk
// this table, so a new section is added here once.
#include <string_view>

#include "RaidLib/RaidFw/AdpData.h"

struct ReportSection {
    const char* token;     // `kvictl show` token, e.g. "basic"
    const char* title;     // text heading and JSON key, e.g. "Basics"
    const char* operation; // the AdapterData member, e.g. "getShowBasic"
    int (AdapterData::*build)(json::Object&);
};

// In the order `show all` prints them. The summary comes first and is what
// plain `show` prints; `show all` skips it because its members repeat the
// basic and bus sections.
inline constexpr ReportSection kReportSections[] = {
    {"summary", "Summary", "getBasicCtrlInfo", &AdapterData::getBasicCtrlInfo},
    {"basic", "Basics", "getShowBasic", &AdapterData::getShowBasic},
    {"version", "Version", "getShowVersion", &AdapterData::getShowVersion},
    {"bus", "Bus", "getShowBus", &AdapterData::getShowBus},
    {"images", "Pending Images", "getShowPendingImages", &AdapterData::getShowPendingImages},
    {"dual-images", "Firmware Images", "getShowDualImages", &AdapterData::getShowDualImages},
    {"status", "Status", "getShowStatus", &AdapterData::getShowStatus},
    {"adapter-ops", "Supported Controller Operations", "getShowSupportedAdpOperations",
     &AdapterData::getShowSupportedAdpOperations},
    {"pd-ops", "Supported Drive Operations", "getShowSupportedPDOperations",
     &AdapterData::getShowSupportedPDOperations},
    {"vd-ops", "Supported Virtual Drive Operations", "getShowSupportedVDOperations",
     &AdapterData::getShowSupportedVDOperations},
    {"ekm", "Key Management", "getSecureEKMSDetails", &AdapterData::getSecureEKMSDetails},
    {"hwcfg", "Hardware Configuration", "getShowHwConfig", &AdapterData::getShowHwConfig},
    {"policies", "Policies", "getShowPolicies", &AdapterData::getShowPolicies},
    {"boot", "Boot", "getShowBoot", &AdapterData::getShowBoot},
    {"ha", "High Availability", "getShowClusterInfo", &AdapterData::getShowClusterInfo},
    {"tasks", "Scheduled Tasks", "getShowNextSchdTask", &AdapterData::getShowNextSchdTask},
    {"secure-boot", "Secure Boot", "getSecureBootDetails", &AdapterData::getSecureBootDetails},
    {"defaults", "Defaults", "getShowDefaults", &AdapterData::getShowDefaults},
    {"capabilities", "Capabilities", "getShowCapabilities", &AdapterData::getShowCapabilities},
};

inline constexpr std::size_t kReportSectionCount =
    sizeof kReportSections / sizeof kReportSections[0];

// The section with that token or member name, or nullptr.
inline const ReportSection* findReportSection(std::string_view tokenOrOperation) {
    for (const ReportSection& s : kReportSections)
        if (tokenOrOperation == s.token || tokenOrOperation == s.operation)
            return &s;
    return nullptr;
}
