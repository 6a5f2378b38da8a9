#include "json/RenderCommon.h"

#include <cstdio>

namespace json {
namespace detail {

const char kReplacementCharacter[] = "\xEF\xBF\xBD";

namespace {

class KindVisitor : public ConstVisitor {
public:
    Kind kind = Kind::Null;

    void Visit(const Array&) override { kind = Kind::Array; }
    void Visit(const Object&) override { kind = Kind::Object; }
    void Visit(const Number&) override { kind = Kind::Number; }
    void Visit(const UNumber&) override { kind = Kind::UNumber; }
    void Visit(const Boolean&) override { kind = Kind::Boolean; }
    void Visit(const String&) override { kind = Kind::String; }
    void Visit(const Null&) override { kind = Kind::Null; }
};

class ScalarVisitor : public ConstVisitor {
public:
    std::string text;

    void Visit(const Array&) override {}
    void Visit(const Object&) override {}
    void Visit(const Number& n) override { text = NumberText(n); }
    void Visit(const UNumber& n) override { text = NumberText(n); }
    void Visit(const Boolean& b) override { text = b.Value() ? "true" : "false"; }
    void Visit(const String& s) override { text = s.Value(); }
    void Visit(const Null&) override { text = "null"; }
};

bool InRange(unsigned char c, unsigned char lo, unsigned char hi) {
    return c >= lo && c <= hi;
}

} // namespace

Kind KindOf(const UnknownElement& element) {
    KindVisitor visitor;
    element.Accept(visitor);
    return visitor.kind;
}

std::string HexText(unsigned long long value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "0x%04llX", value);
    return buffer;
}

std::string NumberText(const Number& n) {
    return n.Flags() == Number::HexDump ? HexText(static_cast<unsigned long long>(n.Value()))
                                        : std::to_string(n.Value());
}

std::string NumberText(const UNumber& n) {
    return n.Flags() == UNumber::HexDump ? HexText(n.Value()) : std::to_string(n.Value());
}

std::string ScalarText(const UnknownElement& element) {
    ScalarVisitor visitor;
    element.Accept(visitor);
    return visitor.text;
}

// Well-formed UTF-8 (Unicode Table 3-7): the allowed range of the second byte
// depends on the first so that overlong forms, surrogates and values above
// U+10FFFF are rejected; later bytes are 80..BF.
std::size_t Utf8Sequence(const std::string& s, std::size_t i, bool& valid) {
    const unsigned char lead = static_cast<unsigned char>(s[i]);
    valid = true;
    if (lead < 0x80) {
        return 1;
    }
    std::size_t length = 0;
    unsigned char lo = 0x80;
    unsigned char hi = 0xBF;
    if (InRange(lead, 0xC2, 0xDF)) {
        length = 2;
    } else if (lead == 0xE0) {
        length = 3;
        lo = 0xA0;
    } else if (InRange(lead, 0xE1, 0xEC) || InRange(lead, 0xEE, 0xEF)) {
        length = 3;
    } else if (lead == 0xED) {
        length = 3;
        hi = 0x9F;
    } else if (lead == 0xF0) {
        length = 4;
        lo = 0x90;
    } else if (InRange(lead, 0xF1, 0xF3)) {
        length = 4;
    } else if (lead == 0xF4) {
        length = 4;
        hi = 0x8F;
    } else {
        valid = false;
        return 1;
    }
    for (std::size_t k = 1; k < length; ++k) {
        if (i + k >= s.size() || !InRange(static_cast<unsigned char>(s[i + k]), lo, hi)) {
            valid = false;
            return k;
        }
        lo = 0x80;
        hi = 0xBF;
    }
    return length;
}

} // namespace detail
} // namespace json
