// Helpers shared by the text and JSON renderers (not part of the public API).
#pragma once

#include "json/elements.h"

#include <cstddef>
#include <string>

namespace json {
namespace detail {

enum class Kind { Null, Object, Array, Number, UNumber, Boolean, String };

// The kind of the value an element holds.
Kind KindOf(const UnknownElement& element);

// "0x%04X" of a number rendered with the HexDump flag. A negative signed value
// shows its 64-bit two's complement pattern.
std::string HexText(unsigned long long value);

// Decimal digits, or HexText with the HexDump flag.
std::string NumberText(const Number& number);
std::string NumberText(const UNumber& number);

// The plain text of a scalar (and "null" for Null) before any escaping:
// numbers in decimal or, with HexDump, in hexadecimal; booleans as
// "true"/"false"; strings as they stand. Containers yield an empty text.
std::string ScalarText(const UnknownElement& element);

// Length of the UTF-8 sequence starting at s[i] when it is well formed
// (`valid` set), otherwise the length of its longest well-formed prefix, at
// least 1 (`valid` cleared), which is what one U+FFFD replaces.
std::size_t Utf8Sequence(const std::string& s, std::size_t i, bool& valid);

extern const char kReplacementCharacter[]; // U+FFFD in UTF-8

// Walks the UTF-8 sequences of `text`: an ill-formed one becomes U+FFFD in
// `out`, a well-formed one goes to visit(c, i, length), c its first byte at i.
template <typename Visit> void EachUtf8(const std::string& text, std::string& out, Visit visit) {
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        bool valid = true;
        const std::size_t length = Utf8Sequence(text, i, valid);
        if (!valid) {
            out += kReplacementCharacter;
        } else {
            visit(c, i, length);
        }
        i += length;
    }
}

} // namespace detail
} // namespace json
