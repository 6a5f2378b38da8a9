#pragma once
// The report sections of AdapterData in one table (its rows in reports.def):
// the command line's token, the title (text heading and JSON key), the member
// that builds each one and the table of its typed values. The command line,
// the tests, the benchmarks and the fuzz driver all walk this table, so a new
// section is added in reports.def once.
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

#define KVI_SECTION(token, title, member, values)                                                  \
    {token, title, #member, &AdapterData::member, &kvi::reports::values},
inline constexpr ReportSection kReportSections[] = {
#include "RaidLib/RaidFw/reports.def"
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
