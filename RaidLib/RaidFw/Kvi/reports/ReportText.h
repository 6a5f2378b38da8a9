#pragma once
// Small helpers shared by the report sections: bounded record texts, printf
// into std::string, local-time texts, member assignment and the image
// component tag table.
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <string>

#include "firmware/kv.h"
#include "provider/ControllerId.h"
#include "json/elements.h"

namespace kvi {
namespace reports {

// The text of a fixed-width record field: up to the first NUL, at most
// `width` bytes (the field need not be terminated).
std::string fieldText(const void* field, std::size_t width);
template <std::size_t N> std::string fieldText(const char (&field)[N]) {
    return fieldText(field, N);
}
template <std::size_t N> std::string fieldText(const unsigned char (&field)[N]) {
    return fieldText(field, N);
}

// printf into a std::string of any length.
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// The name of a RAID level code as the level rules give them ("RAID5",
// "RAID10"), or nullptr for a code that names no level.
const char* raidLevelName(unsigned char level);

// Broken-down local time of t; false when the conversion fails.
bool localTime(std::int64_t t, std::tm* out);

// "%02d/%02d/%02d, %02d:%02d:%02d" (with comma) or "%02d/%02d/%02d %02d:%02d:%02d"
// (without) of month (1-12), day, four-digit year, hour, minute, second.
std::string dateTimeComma(const std::tm& tm);
std::string dateTimePlain(const std::tm& tm);

// "%02d/%02d/%02d" of month, day and the 7-bit year as stored.
std::string mfcDate(const KV_MFC_DATE& date);

// A firmware time (seconds since the schedule epoch) as local time text:
// t = epoch() + seconds; when t falls in summer time, t = seconds + epoch() -
// dstShift() and it is converted again. "NA" when a conversion fails. The
// helpers are called as the conversion needs them.
enum class DateForm { Comma, HourOnly };
std::string firmwareTimeText(const std::function<std::int64_t()>& epoch,
                             const std::function<int()>& dstShift, std::uint32_t seconds,
                             DateForm form);

// "%02d/%02d/%02d, %02d:00:00": month, day, year and hour; minutes and
// seconds always print as zeros.
std::string dateHourText(const std::tm& tm);

// The controller's type (0 when the object has no controller identity).
inline int controllerType(const ControllerId* id) {
    return id != nullptr ? id->getControllerType() : 0;
}

// Members of a section.
inline void putText(json::Object& obj, const std::string& key, const std::string& value) {
    obj[key] = json::String(value);
}
inline void putNumber(json::Object& obj, const std::string& key, long value) {
    obj[key] = json::Number(value);
}
inline const char* yesNo(bool set) {
    return set ? "Yes" : "No";
}
inline const char* onOff(bool set) {
    return set ? "On" : "Off";
}
inline const char* presentAbsent(bool set) {
    return set ? "Present" : "Absent";
}

// The text of a small code from a table indexed by the code; `other` for a
// code past the table. Lets a section state a code-to-text mapping as data.
template <std::size_t N>
const char* codeText(unsigned int code, const char* const (&texts)[N], const char* other) {
    return code < N ? texts[code] : other;
}

// Code texts that more than one section shows, kept in one place so that the
// sections cannot drift apart. Drive coercion mode: 1 "128MB", 2 "1GB", else
// "none". Spin-down mode: 1 "Internal Only", 2 "external only", 3 "all", else
// "None".
const char* coercionText(unsigned int mode);
const char* spinDownText(unsigned int mode);

// The personality text of a personality bitmap: "RAID-Mode ", "HBA-Mode ",
// "SDS-Mode " and, for bit 8, `oem2Text` when the OEM number is 2, else
// "JBOD-Mode ". Bits 16 to 128 add nothing.
std::string personalityText(std::uint8_t bitmap, int oem, const char* oem2Text);

// The component tag table of the version and pending-image sections: the
// report label of a component name, or null for an unknown tag. Rows are
// tried in order, each by its own number of characters.
const char* componentLabel(const char* name);

// Entry i of the component array starting at byte `arrayOffset` of the
// controller information, or null when that entry would not lie wholly inside
// the record. The firmware's count may exceed the array's eight slots; the
// entries after the eighth are read from the following bytes of the record,
// never beyond its end.
const KV_FLASH_COMP_INFO* ctrlInfoComponent(const KV_CTRL_INFO& info, std::size_t arrayOffset,
                                            std::uint32_t i);

// Number of controller-information component entries that can be walked for a
// firmware count (the count, capped at the record's end).
std::uint32_t ctrlInfoComponentLimit(std::size_t arrayOffset, std::uint32_t count);

} // namespace reports
} // namespace kvi
