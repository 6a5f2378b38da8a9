// Reading profile values: integers, texts, hex bytes and record fields by
// dotted name, each refused with the file and field it came from.
#include "sim/ProfileValues.h"

#include <cstring>

#include "sim/Simulator.h"

namespace kvi::sim::profile {

namespace fld = kvi::fields;

[[noreturn]] void fail(const std::string& file, const std::string& field,
                       const std::string& reason) {
    throw SimError(file + ": " + (field.empty() ? std::string() : field + ": ") + reason);
}

std::string describe(const json& v) {
    std::string s = v.dump();
    if (s.size() > 40)
        s = s.substr(0, 37) + "...";
    return s;
}

// ---- values ----

bool parseUnsignedText(const std::string& text, std::uint64_t& out) {
    if (text.empty())
        return false;
    std::size_t pos = 0;
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        pos = 2;
    }
    std::uint64_t v = 0;
    for (; pos < text.size(); ++pos) {
        char c = text[pos];
        unsigned d;
        if (c >= '0' && c <= '9')
            d = unsigned(c - '0');
        else if (base == 16 && c >= 'a' && c <= 'f')
            d = unsigned(c - 'a' + 10);
        else if (base == 16 && c >= 'A' && c <= 'F')
            d = unsigned(c - 'A' + 10);
        else
            return false;
        if (v > (~std::uint64_t(0) - d) / unsigned(base))
            return false;
        v = v * unsigned(base) + d;
    }
    out = v;
    return true;
}

// An integer value: a JSON number, true/false, or a "0x..."/decimal string.
// Returns false when the value is no integer; sets `negative` for values below 0.
bool integerValue(const json& v, std::uint64_t& u, std::int64_t& s, bool& negative) {
    negative = false;
    if (v.is_boolean()) {
        u = v.get<bool>() ? 1 : 0;
        s = std::int64_t(u);
        return true;
    }
    if (v.is_number_unsigned()) {
        u = v.get<std::uint64_t>();
        s = std::int64_t(u);
        return true;
    }
    if (v.is_number_integer()) {
        s = v.get<std::int64_t>();
        negative = s < 0;
        u = std::uint64_t(s);
        return true;
    }
    if (v.is_string()) {
        std::string t = v.get<std::string>();
        bool neg = !t.empty() && t[0] == '-';
        if (!parseUnsignedText(neg ? t.substr(1) : t, u))
            return false;
        if (neg) {
            if (u > std::uint64_t(1) << 63)
                return false;
            s = -std::int64_t(u - 1) - 1;
            negative = u != 0;
            u = std::uint64_t(s);
        } else {
            s = std::int64_t(u);
        }
        return true;
    }
    return false;
}

bool decodeHex(const std::string& text, std::vector<std::uint8_t>& out) {
    out.clear();
    std::string digits;
    for (char c : text)
        if (c != ' ' && c != ':' && c != '-')
            digits += c;
    if (digits.size() % 2 != 0)
        return false;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        std::uint64_t v = 0;
        if (!parseUnsignedText("0x" + digits.substr(i, 2), v))
            return false;
        out.push_back(std::uint8_t(v));
    }
    return true;
}

namespace {

void writeInteger(std::uint8_t* image, const fld::FieldRef& ref, const json& value,
                  const std::string& file, const std::string& where) {
    std::uint64_t u = 0;
    std::int64_t s = 0;
    bool negative = false;
    if (!integerValue(value, u, s, negative))
        fail(file, where, "expected an integer, got " + describe(value));
    const fld::FieldInfo& f = *ref.field;
    bool ok;
    if (f.kind == fld::FieldKind::Signed)
        ok = fld::writeSigned(image, ref, s);
    else
        ok = !negative && fld::writeUnsigned(image, ref, u);
    if (!ok) {
        unsigned bits = f.isBitField() ? f.bitWidth : 8u * f.unitSize;
        fail(file, where,
             "value " + describe(value) + " does not fit " + std::to_string(bits) + " bits" +
                 (f.kind == fld::FieldKind::Signed ? " (signed)" : ""));
    }
}

} // namespace

// Sets one field of a record image by its dotted path.
void setField(std::uint8_t* image, const fld::RecordInfo& record, const std::string& path,
              const json& value, const std::string& file, const std::string& where) {
    fld::FieldRef ref = fld::findField(record, path);
    if (!ref)
        fail(file, where, std::string("unknown field of ") + record.name);
    const fld::FieldInfo& f = *ref.field;
    bool indexed = path != f.path;
    switch (f.kind) {
    case fld::FieldKind::Char:
    case fld::FieldKind::Bytes: {
        if (indexed) {
            writeInteger(image, ref, value, file, where);
            return;
        }
        if (!value.is_string())
            fail(file, where, "expected a text or \"hex:...\"");
        std::string text = value.get<std::string>();
        if (text.rfind("hex:", 0) == 0) {
            std::vector<std::uint8_t> bytes;
            if (!decodeHex(text.substr(4), bytes))
                fail(file, where, "malformed hex bytes");
            if (bytes.size() > f.byteSize())
                fail(file, where,
                     std::to_string(bytes.size()) + " bytes do not fit " +
                         std::to_string(f.byteSize()) + " bytes");
            std::memset(image + f.offset, 0, f.byteSize());
            if (!bytes.empty())
                std::memcpy(image + f.offset, bytes.data(), bytes.size());
            return;
        }
        if (text.find('\0') != std::string::npos)
            fail(file, where, "text holds a NUL character");
        if (!fld::writeText(image, f, text))
            fail(file, where,
                 "text of " + std::to_string(text.size()) + " characters does not fit " +
                     std::to_string(f.byteSize()) + " bytes");
        return;
    }
    case fld::FieldKind::Unsigned:
    case fld::FieldKind::Signed:
        if (value.is_array()) {
            if (indexed || f.count < 2)
                fail(file, where, "expected an integer, got an array");
            if (value.size() > f.count)
                fail(file, where,
                     std::to_string(value.size()) + " values do not fit " +
                         std::to_string(f.count) + " elements");
            for (std::size_t i = 0; i < value.size(); ++i)
                writeInteger(image, fld::FieldRef{&f, std::uint16_t(i)}, value[i], file,
                             where + "[" + std::to_string(i) + "]");
            return;
        }
        writeInteger(image, ref, value, file, where);
        return;
    }
}

void setFields(std::uint8_t* image, const char* recordName, const json& fields,
               const std::string& file, const std::string& where) {
    const fld::RecordInfo* record = fld::findRecord(recordName);
    if (!record)
        fail(file, where, std::string("no registry entry for ") + recordName);
    if (!fields.is_object())
        fail(file, where, "expected an object of fields");
    for (auto it = fields.begin(); it != fields.end(); ++it)
        setField(image, *record, it.key(), it.value(), file, where + "." + it.key());
}

const json& need(const json& obj, const char* key, const std::string& file,
                 const std::string& where) {
    auto it = obj.find(key);
    if (it == obj.end())
        fail(file, where, std::string("missing \"") + key + "\"");
    return *it;
}

std::uint64_t uintValue(const json& v, std::uint64_t max, const std::string& file,
                        const std::string& where) {
    std::uint64_t u = 0;
    std::int64_t s = 0;
    bool negative = false;
    if (!integerValue(v, u, s, negative))
        fail(file, where, "expected an integer, got " + describe(v));
    if (negative || u > max)
        fail(file, where, "value " + describe(v) + " is outside 0.." + std::to_string(max));
    return u;
}

std::string textValue(const json& v, std::size_t maxLen, const std::string& file,
                      const std::string& where) {
    if (!v.is_string())
        fail(file, where, "expected a text");
    std::string t = v.get<std::string>();
    if (t.size() > maxLen)
        fail(file, where, "text longer than " + std::to_string(maxLen) + " characters");
    if (t.find('\0') != std::string::npos)
        fail(file, where, "text holds a NUL character");
    return t;
}

void checkKeys(const json& obj, std::initializer_list<const char*> allowed, const std::string& file,
               const std::string& where) {
    for (auto it = obj.begin(); it != obj.end(); ++it) {
        bool known = false;
        for (const char* k : allowed)
            known = known || it.key() == k;
        if (!known)
            fail(file, where.empty() ? it.key() : where + "." + it.key(), "unknown key");
    }
}

} // namespace kvi::sim::profile
