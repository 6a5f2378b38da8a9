// Renders a report document as JSON.
//
// Members appear in document order. Numbers are JSON numbers, except those
// flagged HexDump, which become strings such as "0x1000" (JSON has no
// hexadecimal notation); NoDecimal numbers print as plain digits. Booleans are
// true/false and Null is null. Strings are escaped: quote and backslash, the
// usual short escapes (\b \f \n \r \t), other control characters as \u00XX;
// non-ASCII UTF-8 passes through unchanged, and every byte sequence that is
// not well-formed UTF-8 is replaced by U+FFFD, so the output is valid JSON
// whatever the firmware put into a string.
//
// Pretty style indents by two spaces, one member or element per line, with
// empty containers as {} and []; compact style writes everything on one line
// without blanks. Neither style adds a trailing newline.
#pragma once

#include "json/elements.h"

#include <iosfwd>
#include <string>

namespace json {

class JsonWriter {
public:
    enum Style { Pretty, Compact };

    static void Write(const UnknownElement& element, std::ostream& os, Style style = Pretty);
    static void Write(const Object& object, std::ostream& os, Style style = Pretty);
    static void Write(const Array& array, std::ostream& os, Style style = Pretty);

    static std::string ToString(const UnknownElement& element, Style style = Pretty);
    static std::string ToString(const Object& object, Style style = Pretty);
    static std::string ToString(const Array& array, Style style = Pretty);

    // `text` as a quoted, escaped JSON string.
    static std::string Quote(const std::string& text);
};

} // namespace json
