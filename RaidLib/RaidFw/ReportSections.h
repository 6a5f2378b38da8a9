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
// basic and bus sections. A row: token, title, the AdapterData member, the
// section's typed-value table.
#define KVI_SECTION(token, title, member, values)                                                  \
    { token, title, #member, &AdapterData::member, &kvi::reports::values }
inline constexpr ReportSection kReportSections[] = {
    KVI_SECTION("summary", "Summary", getBasicCtrlInfo, kSummaryValues),
    KVI_SECTION("basic", "Basics", getShowBasic, kBasicValues),
    KVI_SECTION("version", "Version", getShowVersion, kVersionValues),
    KVI_SECTION("bus", "Bus", getShowBus, kBusValues),
    KVI_SECTION("images", "Pending Images", getShowPendingImages, kPendingImagesValues),
    KVI_SECTION("dual-images", "Firmware Images", getShowDualImages, kDualImagesValues),
    KVI_SECTION("status", "Status", getShowStatus, kStatusValues),
    KVI_SECTION("adapter-ops", "Supported Controller Operations", getShowSupportedAdpOperations,
                kAdapterOpsValues),
    KVI_SECTION("pd-ops", "Supported Drive Operations", getShowSupportedPDOperations, kPdOpsValues),
    KVI_SECTION("vd-ops", "Supported Virtual Drive Operations", getShowSupportedVDOperations,
                kVdOpsValues),
    KVI_SECTION("ekm", "Key Management", getSecureEKMSDetails, kEkmValues),
    KVI_SECTION("hwcfg", "Hardware Configuration", getShowHwConfig, kHwConfigValues),
    KVI_SECTION("policies", "Policies", getShowPolicies, kPoliciesValues),
    KVI_SECTION("boot", "Boot", getShowBoot, kBootValues),
    KVI_SECTION("ha", "High Availability", getShowClusterInfo, kClusterValues),
    KVI_SECTION("tasks", "Scheduled Tasks", getShowNextSchdTask, kTasksValues),
    KVI_SECTION("secure-boot", "Secure Boot", getSecureBootDetails, kSecureBootValues),
    KVI_SECTION("defaults", "Defaults", getShowDefaults, kDefaultsValues),
    KVI_SECTION("capabilities", "Capabilities", getShowCapabilities, kCapabilitiesValues),
};
#undef KVI_SECTION

inline constexpr std::size_t kReportSectionCount =
    sizeof kReportSections / sizeof kReportSections[0];

// The section with that token or member name, or nullptr.
inline const ReportSection* findReportSection(std::string_view tokenOrOperation) {
    for (const ReportSection& s : kReportSections)
        if (tokenOrOperation == s.token || tokenOrOperation == s.operation)
            return &s;
    return nullptr;
}
