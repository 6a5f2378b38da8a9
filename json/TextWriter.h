// Renders a report section as the tool's aligned text.
//
// Layout:
//   Title                        the section title
//   =====                        a rule as wide as the title
//   Key          = Value         scalars; keys padded to the longest key of
//   Longer Key   = Value         their object, in document order
//   Nested:                      a non-empty object: its key and a colon, then
//     Inner = 1                  its members indented by two more spaces
//   Rows:                        an array of objects: a table, header row
//     Name  Version              from the members of all rows in first-seen
//     ----  -------              order, columns two blanks apart; a missing
//     APP   5.1                  member is an empty cell, a nested value is a
//                                compact JSON cell
//   Levels       = 0, 1, 5       an array of scalars, comma-joined
//   Empty        = (none)        an empty object or array
//
// An array mixing kinds (or holding arrays) is shown as a subsection whose
// entries are named [0], [1], ... Values: strings as they stand, numbers in
// decimal, HexDump numbers as 0x%04X (0x1000), booleans as "true"/"false",
// Null as "null". So that a value cannot break the layout or drive the
// terminal, control characters are shown as \xNN (C0 and DEL) or \uNNNN (C1)
// and bytes that are not well-formed UTF-8 as U+FFFD. Alignment counts
// characters, not bytes.
#pragma once

#include "json/elements.h"

#include <iosfwd>
#include <string>

namespace json {

class TextWriter {
public:
    // The title block (left out when `title` is empty), then the members.
    static void Write(const Object& section, const std::string& title, std::ostream& os);
    static std::string ToString(const Object& section, const std::string& title);

    // `text` made safe to print: control characters escaped, malformed UTF-8
    // replaced.
    static std::string Printable(const std::string& text);

    // Number of characters `Printable` text takes on a line.
    static std::size_t Width(const std::string& printable);
};

} // namespace json
