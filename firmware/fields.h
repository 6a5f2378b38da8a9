#pragma once
// Field registry: look up any firmware record field by its dotted name and read or
// write it in a raw record image. The simulator's profiles and `kvictl raw` are
// driven by it, so one table (kv_fields.def) serves both.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kvi::fields {

enum class FieldKind : std::uint8_t {
    Unsigned, // little-endian unsigned integer (or a bit field of one)
    Signed,   // little-endian two's-complement integer
    Char,     // fixed text field, not necessarily NUL-terminated
    Bytes,    // opaque byte array
};

struct FieldInfo {
    const char* path;      // dotted name, e.g. "adapterOperations3.supportMaxExtLDs"
    std::uint32_t offset;  // byte offset of the storage unit (or first element)
    std::uint8_t unitSize; // bytes per element / bit-field storage unit
    std::uint16_t count;   // elements (1 for scalars and bit fields)
    std::uint8_t bit;      // first bit within the unit (bit fields)
    std::uint8_t bitWidth; // 0 = not a bit field
    FieldKind kind;

    bool isBitField() const { return bitWidth != 0; }
    std::uint32_t byteSize() const { return std::uint32_t(unitSize) * count; }
};

struct RecordInfo {
    const char* name;
    std::uint32_t size;
    const FieldInfo* fields;
    std::size_t fieldCount;
};

// All records, in the order of kv_fields.def.
const RecordInfo* records(std::size_t* count);
const RecordInfo* findRecord(std::string_view name);

// A field reference: the field plus the element index for integer arrays
// ("portAddr[3]" resolves to portAddr with index 3).
struct FieldRef {
    const FieldInfo* field = nullptr;
    std::uint16_t index = 0;
    explicit operator bool() const { return field != nullptr; }
};
FieldRef findField(const RecordInfo& record, std::string_view path);

// Integer access (Unsigned, Signed, bit fields; element `index` of integer arrays).
// `image` must hold record.size bytes; the accessors never touch bytes outside the field.
std::uint64_t readUnsigned(const std::uint8_t* image, const FieldRef& ref);
std::int64_t readSigned(const std::uint8_t* image, const FieldRef& ref);
// Returns false when `value` does not fit the field's width (nothing is written).
bool writeUnsigned(std::uint8_t* image, const FieldRef& ref, std::uint64_t value);
bool writeSigned(std::uint8_t* image, const FieldRef& ref, std::int64_t value);

// Text fields: read up to the first NUL or the field's width; write refuses texts
// longer than the field and zero-fills the rest.
std::string readText(const std::uint8_t* image, const FieldInfo& field);
bool writeText(std::uint8_t* image, const FieldInfo& field, std::string_view text);

// Largest value a field can hold.
std::uint64_t maxUnsigned(const FieldInfo& field);

} // namespace kvi::fields
