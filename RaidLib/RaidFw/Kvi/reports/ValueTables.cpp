// The typed-values tables of the report sections (see Values.h), built from
// values.def so that every values key stands in one file.
#include <cstddef>

#include "RaidLib/RaidFw/Kvi/reports/Values.h"

namespace kvi {
namespace reports {

// Tables that only rows refer to, as the type of their object, table or pivot.
extern const ValueTable kComponentValues;
extern const ValueTable kImageSetValues;
extern const ValueTable kPolicyValues;

namespace {

const ValueRow kRows[] = {
#define VALUE_TABLE(section, fallback, next)
#define VALUE_ROW(section, report, key, kind) {report, key, Kind::kind},
#define VALUE_ROW_OF(section, report, key, kind, sub) {report, key, Kind::kind, &k##sub##Values},
#define VALUE_ROW_IN(section, report, key, kind, unit, textUnit)                                   \
    {report, key, Kind::kind, nullptr, unit, textUnit},
#include "RaidLib/RaidFw/Kvi/reports/values.def"
};

// The section of each row of kRows, by name.
constexpr const char* kRowSections[] = {
#define VALUE_TABLE(section, fallback, next)
#define VALUE_ROW(section, ...) #section,
#define VALUE_ROW_OF(section, ...) #section,
#define VALUE_ROW_IN(section, ...) #section,
#include "RaidLib/RaidFw/Kvi/reports/values.def"
};
constexpr std::size_t kRowCount = sizeof(kRowSections) / sizeof(kRowSections[0]);
static_assert(sizeof(kRows) / sizeof(kRows[0]) == kRowCount, "one section per row");

constexpr bool sameName(const char* a, const char* b) {
    while (*a != '\0' && *a == *b) {
        ++a;
        ++b;
    }
    return *a == *b;
}

constexpr std::size_t firstRow(const char* section) {
    std::size_t i = 0;
    while (i < kRowCount && !sameName(kRowSections[i], section))
        ++i;
    return i;
}

constexpr std::size_t rowCount(const char* section) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < kRowCount; ++i)
        n += sameName(kRowSections[i], section) ? 1 : 0;
    return n;
}

// A section's rows stand together: all of them from its first row on.
constexpr bool together(const char* section) {
    const std::size_t first = firstRow(section);
    for (std::size_t i = first; i < first + rowCount(section); ++i)
        if (!sameName(kRowSections[i], section))
            return false;
    return true;
}

// Every row belongs to a table.
constexpr const char* kTableSections[] = {
#define VALUE_TABLE(section, fallback, next) #section,
#define VALUE_ROW(...)
#define VALUE_ROW_OF(...)
#define VALUE_ROW_IN(...)
#include "RaidLib/RaidFw/Kvi/reports/values.def"
};
constexpr std::size_t tabledRows() {
    std::size_t n = 0;
    for (const char* section : kTableSections)
        n += rowCount(section);
    return n;
}
static_assert(tabledRows() == kRowCount, "every row's section has a VALUE_TABLE line");

} // namespace

#define VALUE_TABLE(section, fallback, next)                                                       \
    static_assert(together(#section), "the rows of " #section " stand together");                  \
    const ValueTable k##section##Values{rowCount(#section) > 0 ? kRows + firstRow(#section)        \
                                                               : nullptr,                          \
                                        rowCount(#section), Kind::fallback, next};
#define VALUE_ROW(...)
#define VALUE_ROW_OF(...)
#define VALUE_ROW_IN(...)
#include "RaidLib/RaidFw/Kvi/reports/values.def"

} // namespace reports
} // namespace kvi
