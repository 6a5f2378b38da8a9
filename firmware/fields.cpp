#include "firmware/fields.h"

#include <cstring>

#include "firmware/kv.h"

namespace kvi::fields {
namespace {

#define KVI_RECORD(rec, size)
#define KVI_FIELD(rec, member, off, usz, cnt, kind)                                                \
    {#rec, {#member, off, usz, cnt, 0, 0, FieldKind::kind}},
#define KVI_BITFIELD(rec, member, off, usz, bit, width)                                            \
    {#rec, {#member, off, usz, 1, bit, width, FieldKind::Unsigned}},
struct Row {
    const char* record;
    FieldInfo info;
};
// Member paths are stringised from the .def; array subscripts come out as
// "imageComponent[3].name", the same form users type.
const Row kRows[] = {
#include "firmware/kv_fields.def"
};
#undef KVI_RECORD
#undef KVI_FIELD
#undef KVI_BITFIELD

#define KVI_RECORD(rec, size) {#rec, size, nullptr, 0},
#define KVI_FIELD(rec, member, off, usz, cnt, kind)
#define KVI_BITFIELD(rec, member, off, usz, bit, width)
RecordInfo gRecords[] = {
#include "firmware/kv_fields.def"
};
#undef KVI_RECORD
#undef KVI_FIELD
#undef KVI_BITFIELD

FieldInfo gFields[sizeof(kRows) / sizeof(kRows[0])];

// The rows of one record are contiguous in the .def; link each record to its slice.
bool linkRecords() {
    std::size_t n = sizeof(kRows) / sizeof(kRows[0]);
    for (std::size_t i = 0; i < n; ++i)
        gFields[i] = kRows[i].info;
    std::size_t row = 0;
    for (auto& rec : gRecords) {
        rec.fields = &gFields[row];
        while (row < n && std::strcmp(kRows[row].record, rec.name) == 0)
            ++row, ++rec.fieldCount;
    }
    return row == n;
}
const bool gLinked = linkRecords();

std::uint64_t loadLe(const std::uint8_t* p, unsigned size) {
    std::uint64_t v = 0;
    for (unsigned i = 0; i < size; ++i)
        v |= std::uint64_t(p[i]) << (8 * i);
    return v;
}

void storeLe(std::uint8_t* p, unsigned size, std::uint64_t v) {
    for (unsigned i = 0; i < size; ++i)
        p[i] = std::uint8_t(v >> (8 * i));
}

unsigned valueBits(const FieldInfo& f) {
    return f.isBitField() ? f.bitWidth : 8u * f.unitSize;
}

const std::uint8_t* unitAt(const std::uint8_t* image, const FieldRef& ref) {
    return image + ref.field->offset + std::size_t(ref.index) * ref.field->unitSize;
}

} // namespace

const RecordInfo* records(std::size_t* count) {
    (void)gLinked;
    *count = sizeof(gRecords) / sizeof(gRecords[0]);
    return gRecords;
}

const RecordInfo* findRecord(std::string_view name) {
    std::size_t n = 0;
    const RecordInfo* all = records(&n);
    for (std::size_t i = 0; i < n; ++i)
        if (name == all[i].name)
            return &all[i];
    return nullptr;
}

FieldRef findField(const RecordInfo& record, std::string_view path) {
    for (std::size_t i = 0; i < record.fieldCount; ++i)
        if (path == record.fields[i].path)
            return {&record.fields[i], 0};
    // "name[i]" addressing one element of an integer array.
    std::size_t open = path.rfind('[');
    if (open == std::string_view::npos || path.back() != ']' || open + 2 > path.size() - 1)
        return {};
    std::string_view base = path.substr(0, open);
    std::string_view digits = path.substr(open + 1, path.size() - open - 2);
    unsigned long idx = 0;
    for (char c : digits) {
        if (c < '0' || c > '9' || idx > 65535)
            return {};
        idx = idx * 10 + unsigned(c - '0');
    }
    for (std::size_t i = 0; i < record.fieldCount; ++i) {
        const FieldInfo& f = record.fields[i];
        if (base == f.path && f.count > 1 && idx < f.count &&
            (f.kind == FieldKind::Unsigned || f.kind == FieldKind::Signed ||
             f.kind == FieldKind::Bytes))
            return {&f, std::uint16_t(idx)};
    }
    return {};
}

std::uint64_t maxUnsigned(const FieldInfo& f) {
    unsigned bits = valueBits(f);
    return bits >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << bits) - 1;
}

std::uint64_t readUnsigned(const std::uint8_t* image, const FieldRef& ref) {
    const FieldInfo& f = *ref.field;
    std::uint64_t unit = loadLe(unitAt(image, ref), f.unitSize);
    return f.isBitField() ? (unit >> f.bit) & maxUnsigned(f) : unit;
}

std::int64_t readSigned(const std::uint8_t* image, const FieldRef& ref) {
    std::uint64_t v = readUnsigned(image, ref);
    unsigned bits = valueBits(*ref.field);
    if (bits < 64 && (v >> (bits - 1)) & 1u)
        v |= ~std::uint64_t(0) << bits;
    return static_cast<std::int64_t>(v);
}

bool writeUnsigned(std::uint8_t* image, const FieldRef& ref, std::uint64_t value) {
    const FieldInfo& f = *ref.field;
    if (value > maxUnsigned(f))
        return false;
    std::uint8_t* p = image + f.offset + std::size_t(ref.index) * f.unitSize;
    if (!f.isBitField()) {
        storeLe(p, f.unitSize, value);
        return true;
    }
    std::uint64_t unit = loadLe(p, f.unitSize);
    std::uint64_t mask = maxUnsigned(f) << f.bit;
    unit = (unit & ~mask) | (value << f.bit);
    storeLe(p, f.unitSize, unit);
    return true;
}

bool writeSigned(std::uint8_t* image, const FieldRef& ref, std::int64_t value) {
    unsigned bits = valueBits(*ref.field);
    if (bits < 64) {
        std::int64_t lo = -(std::int64_t(1) << (bits - 1));
        std::int64_t hi = (std::int64_t(1) << (bits - 1)) - 1;
        if (value < lo || value > hi)
            return false;
    }
    return writeUnsigned(image, ref, static_cast<std::uint64_t>(value) & maxUnsigned(*ref.field));
}

std::string readText(const std::uint8_t* image, const FieldInfo& f) {
    const char* p = reinterpret_cast<const char*>(image + f.offset);
    return std::string(p, strnlen(p, f.byteSize()));
}

bool writeText(std::uint8_t* image, const FieldInfo& f, std::string_view text) {
    if (text.size() > f.byteSize() || text.find('\0') != std::string_view::npos)
        return false;
    std::uint8_t* p = image + f.offset;
    std::memset(p, 0, f.byteSize());
    std::memcpy(p, text.data(), text.size());
    return true;
}

} // namespace kvi::fields
