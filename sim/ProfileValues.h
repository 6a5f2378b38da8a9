#pragma once
// Reading profile values (Profile.cpp): the checked readers of integers,
// texts and hex bytes, the record fields set by dotted name through the field
// registry, and the error every malformed value raises (SimError naming the
// file and the field). Internal to the simulator; not part of its API.
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "firmware/fields.h"

namespace kvi::sim::profile {

using json = nlohmann::json;

// Throws SimError "FILE: FIELD: REASON" (no field part when `field` is empty).
[[noreturn]] void fail(const std::string& file, const std::string& field,
                       const std::string& reason);
// A value as the messages quote it (at most 40 characters).
std::string describe(const json& v);
// A "0x..." or decimal text as an unsigned number; false when it is not one.
bool parseUnsignedText(const std::string& text, std::uint64_t& out);
// An integer value: a JSON number, true/false, or a "0x..."/decimal string.
// Returns false when the value is no integer; sets `negative` for values below 0.
bool integerValue(const json& v, std::uint64_t& u, std::int64_t& s, bool& negative);
bool decodeHex(const std::string& text, std::vector<std::uint8_t>& out);
// Sets one field of a record image by its dotted path.
void setField(std::uint8_t* image, const kvi::fields::RecordInfo& record, const std::string& path,
              const json& value, const std::string& file, const std::string& where);
// Sets the fields of an object {FIELD: VALUE} in the image of record `recordName`.
void setFields(std::uint8_t* image, const char* recordName, const json& fields,
               const std::string& file, const std::string& where);
// obj[key], which must be there.
const json& need(const json& obj, const char* key, const std::string& file,
                 const std::string& where);
std::uint64_t uintValue(const json& v, std::uint64_t max, const std::string& file,
                        const std::string& where);
std::string textValue(const json& v, std::size_t maxLen, const std::string& file,
                      const std::string& where);
// Refuses any key of `obj` not in `allowed`.
void checkKeys(const json& obj, std::initializer_list<const char*> allowed, const std::string& file,
               const std::string& where);

} // namespace kvi::sim::profile
