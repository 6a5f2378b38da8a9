#pragma once
// Firmware completion statuses (one byte per command; 0 = success).
// The enumeration and its names come from one table, kvistat.def.
#include <cstdint>
#include <string>

enum KVI_STAT : std::uint8_t {
#define KVI_STAT_ROW(name, value, description) name = value,
#include "firmware/kvistat.def"
};

// Number of statuses the table names.
extern const unsigned kKviStatCount;

// The enumerator name of a status ("KVI_STAT_NO_HW_PRESENT"); a status the table
// does not name prints as "0x%02x" ("0x9a"). Values outside 0..255 print the
// same way in full width.
std::string kviStatusName(int status);

// The enumerator name, or nullptr for a status the table does not name.
const char* kviStatusEnumName(int status);

// A one-line description for the user, or nullptr for an unnamed status.
const char* kviStatusDescription(int status);

// Row i (0 <= i < kKviStatCount) of the table, in table order.
struct KviStatRow {
    std::uint8_t value;
    const char* name;
    const char* description;
};
const KviStatRow& kviStatRow(unsigned i);
