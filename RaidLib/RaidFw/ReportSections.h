#pragma once
// The report sections of AdapterData in one table: the command line's token,
// the title (text heading and JSON key), the member that builds each one and
// the table of its typed values (beside the code that builds the section).
// The command line, the tests, the benchmarks and the fuzz driver all walk
// this table, so a new section is added here once.
#include <string_view>

#include "RaidLib/RaidFw/AdpData.h"
#include "RaidLib/RaidFw/Kvi/reports/Values.h"

struct ReportSection {
    const char* token;     // `kvictl show` token, e.g. "basic"
    const char* title;     // text heading and JSON key, e.g. "Basics"
    const char* operation; // the AdapterData member, e.g. "getShowBasic"
    int (AdapterData::*build)(json::Object&);
    const kvi::reports::ValueTable* values; // the section's "values" in JSON
};

// In the order `show all` prints them. The summary comes first and is what
// plain `show` prints; `show all` skips it because its members repeat the
// basic and bus sections.
inline constexpr ReportSection kReportSections[] = {
    {"summary", "Summary", "getBasicCtrlInfo", &AdapterData::getBasicCtrlInfo,
     &kvi::reports::kSummaryValues},
    {"basic", "Basics", "getShowBasic", &AdapterData::getShowBasic, &kvi::reports::kBasicValues},
    {"version", "Version", "getShowVersion", &AdapterData::getShowVersion,
     &kvi::reports::kVersionValues},
    {"bus", "Bus", "getShowBus", &AdapterData::getShowBus, &kvi::reports::kBusValues},
    {"images", "Pending Images", "getShowPendingImages", &AdapterData::getShowPendingImages,
     &kvi::reports::kPendingImagesValues},
    {"dual-images", "Firmware Images", "getShowDualImages", &AdapterData::getShowDualImages,
     &kvi::reports::kDualImagesValues},
    {"status", "Status", "getShowStatus", &AdapterData::getShowStatus,
     &kvi::reports::kStatusValues},
    {"adapter-ops", "Supported Controller Operations", "getShowSupportedAdpOperations",
     &AdapterData::getShowSupportedAdpOperations, &kvi::reports::kAdapterOpsValues},
    {"pd-ops", "Supported Drive Operations", "getShowSupportedPDOperations",
     &AdapterData::getShowSupportedPDOperations, &kvi::reports::kPdOpsValues},
    {"vd-ops", "Supported Virtual Drive Operations", "getShowSupportedVDOperations",
     &AdapterData::getShowSupportedVDOperations, &kvi::reports::kVdOpsValues},
    {"ekm", "Key Management", "getSecureEKMSDetails", &AdapterData::getSecureEKMSDetails,
     &kvi::reports::kEkmValues},
    {"hwcfg", "Hardware Configuration", "getShowHwConfig", &AdapterData::getShowHwConfig,
     &kvi::reports::kHwConfigValues},
    {"policies", "Policies", "getShowPolicies", &AdapterData::getShowPolicies,
     &kvi::reports::kPoliciesValues},
    {"boot", "Boot", "getShowBoot", &AdapterData::getShowBoot, &kvi::reports::kBootValues},
    {"ha", "High Availability", "getShowClusterInfo", &AdapterData::getShowClusterInfo,
     &kvi::reports::kClusterValues},
    {"tasks", "Scheduled Tasks", "getShowNextSchdTask", &AdapterData::getShowNextSchdTask,
     &kvi::reports::kTasksValues},
    {"secure-boot", "Secure Boot", "getSecureBootDetails", &AdapterData::getSecureBootDetails,
     &kvi::reports::kSecureBootValues},
    {"defaults", "Defaults", "getShowDefaults", &AdapterData::getShowDefaults,
     &kvi::reports::kDefaultsValues},
    {"capabilities", "Capabilities", "getShowCapabilities", &AdapterData::getShowCapabilities,
     &kvi::reports::kCapabilitiesValues},
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
