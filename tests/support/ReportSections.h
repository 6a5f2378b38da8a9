#pragma once
// The report sections of AdapterData, by name, for the tests that build every
// section (golden documents, bundled profiles). Header only: the users link
// the controller-data library themselves.
#include <cstddef>
#include <cstring>

#include "RaidLib/RaidFw/AdpData.h"
#include "json/elements.h"

namespace kvitest {

using ReportSectionOp = int (AdapterData::*)(json::Object&);

struct ReportSection {
    const char* name;
    ReportSectionOp build;
};

// Every section, in the order `show all` asks for them.
inline constexpr ReportSection kReportSections[] = {
    {"getShowBasic", &AdapterData::getShowBasic},
    {"getShowVersion", &AdapterData::getShowVersion},
    {"getShowBus", &AdapterData::getShowBus},
    {"getShowPendingImages", &AdapterData::getShowPendingImages},
    {"getShowStatus", &AdapterData::getShowStatus},
    {"getShowSupportedAdpOperations", &AdapterData::getShowSupportedAdpOperations},
    {"getShowSupportedPDOperations", &AdapterData::getShowSupportedPDOperations},
    {"getShowSupportedVDOperations", &AdapterData::getShowSupportedVDOperations},
    {"getSecureEKMSDetails", &AdapterData::getSecureEKMSDetails},
    {"getShowHwConfig", &AdapterData::getShowHwConfig},
    {"getShowPolicies", &AdapterData::getShowPolicies},
    {"getShowBoot", &AdapterData::getShowBoot},
    {"getShowClusterInfo", &AdapterData::getShowClusterInfo},
    {"getShowDefaults", &AdapterData::getShowDefaults},
    {"getShowCapabilities", &AdapterData::getShowCapabilities},
    {"getShowNextSchdTask", &AdapterData::getShowNextSchdTask},
    {"getBasicCtrlInfo", &AdapterData::getBasicCtrlInfo},
    {"getShowDualImages", &AdapterData::getShowDualImages},
    {"getSecureBootDetails", &AdapterData::getSecureBootDetails},
};

// The section of that name, or nullptr.
inline const ReportSection* reportSection(const char* name) {
    for (const ReportSection& s : kReportSections) {
        if (std::strcmp(s.name, name) == 0) {
            return &s;
        }
    }
    return nullptr;
}

} // namespace kvitest
