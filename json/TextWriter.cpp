#include "json/TextWriter.h"

#include "json/JsonWriter.h"
#include "json/RenderCommon.h"

#include <algorithm>
#include <cstdio>
#include <ostream>
#include <sstream>
#include <vector>

namespace json {

namespace {

using detail::Kind;

const char kEmptyText[] = "(none)";
const std::size_t kIndentStep = 2;

struct Entry {
    std::string key; // already printable
    const UnknownElement* element;
};

std::string Pad(const std::string& text, std::size_t width) {
    const std::size_t w = TextWriter::Width(text);
    return w < width ? text + std::string(width - w, ' ') : text;
}

bool IsContainer(Kind kind) {
    return kind == Kind::Object || kind == Kind::Array;
}

class SectionPrinter {
public:
    explicit SectionPrinter(std::ostream& os) : os_(os) {}

    void Members(const Object& object, std::size_t indent) {
        std::vector<Entry> entries;
        entries.reserve(object.Size());
        for (const Object::Member& member : object) {
            entries.push_back(Entry{TextWriter::Printable(member.name), &member.element});
        }
        Entries(entries, indent);
    }

private:
    void Entries(const std::vector<Entry>& entries, std::size_t indent) {
        std::size_t width = 0;
        for (const Entry& entry : entries) {
            width = std::max(width, TextWriter::Width(entry.key));
        }
        for (const Entry& entry : entries) {
            One(entry, width, indent);
        }
    }

    void One(const Entry& entry, std::size_t width, std::size_t indent) {
        const UnknownElement& element = *entry.element;
        switch (detail::KindOf(element)) {
        case Kind::Object: {
            const Object& object = *element.As<Object>();
            if (object.Empty()) {
                Line(indent, Pad(entry.key, width) + " = " + kEmptyText);
            } else {
                Line(indent, entry.key + ":");
                Members(object, indent + kIndentStep);
            }
            break;
        }
        case Kind::Array:
            ArrayEntry(entry, *element.As<Array>(), width, indent);
            break;
        default:
            Line(indent, Pad(entry.key, width) + " = " +
                             TextWriter::Printable(detail::ScalarText(element)));
            break;
        }
    }

    void ArrayEntry(const Entry& entry, const Array& array, std::size_t width, std::size_t indent) {
        if (array.Empty()) {
            Line(indent, Pad(entry.key, width) + " = " + kEmptyText);
            return;
        }
        bool allObjects = true;
        bool allScalars = true;
        for (const UnknownElement& element : array) {
            const Kind kind = detail::KindOf(element);
            allObjects = allObjects && kind == Kind::Object;
            allScalars = allScalars && !IsContainer(kind);
        }
        if (allScalars) {
            std::string joined;
            for (const UnknownElement& element : array) {
                if (!joined.empty()) {
                    joined += ", ";
                }
                joined += TextWriter::Printable(detail::ScalarText(element));
            }
            Line(indent, Pad(entry.key, width) + " = " + joined);
        } else if (allObjects && HasColumns(array)) {
            Line(indent, entry.key + ":");
            Table(array, indent + kIndentStep);
        } else if (allObjects) {
            // Every row is an empty object: nothing to tabulate.
            Line(indent, Pad(entry.key, width) + " = " + kEmptyText);
        } else {
            Line(indent, entry.key + ":");
            std::vector<Entry> entries;
            std::size_t i = 0;
            for (const UnknownElement& element : array) {
                entries.push_back(Entry{"[" + std::to_string(i++) + "]", &element});
            }
            Entries(entries, indent + kIndentStep);
        }
    }

    static bool HasColumns(const Array& array) {
        for (const UnknownElement& element : array) {
            if (!element.As<Object>()->Empty()) {
                return true;
            }
        }
        return false;
    }

    static std::string Cell(const UnknownElement& element) {
        if (IsContainer(detail::KindOf(element))) {
            return JsonWriter::ToString(element, JsonWriter::Compact);
        }
        return TextWriter::Printable(detail::ScalarText(element));
    }

    void Table(const Array& rows, std::size_t indent) {
        // Columns: member names in the order they first occur over all rows.
        std::vector<std::string> names;
        for (const UnknownElement& row : rows) {
            for (const Object::Member& member : *row.As<Object>()) {
                if (std::find(names.begin(), names.end(), member.name) == names.end()) {
                    names.push_back(member.name);
                }
            }
        }
        std::vector<std::vector<std::string>> cells;
        std::vector<std::string> header;
        for (const std::string& name : names) {
            header.push_back(TextWriter::Printable(name));
        }
        cells.push_back(header);
        for (const UnknownElement& row : rows) {
            const Object& object = *row.As<Object>();
            std::vector<std::string> line;
            for (const std::string& name : names) {
                const UnknownElement* value = object.Find(name);
                line.push_back(value != nullptr ? Cell(*value) : std::string());
            }
            cells.push_back(line);
        }
        std::vector<std::size_t> widths(names.size(), 0);
        for (const std::vector<std::string>& line : cells) {
            for (std::size_t c = 0; c < line.size(); ++c) {
                widths[c] = std::max(widths[c], TextWriter::Width(line[c]));
            }
        }
        std::vector<std::string> rule;
        for (std::size_t width : widths) {
            rule.push_back(std::string(width, '-'));
        }
        cells.insert(cells.begin() + 1, rule);
        for (const std::vector<std::string>& line : cells) {
            // Only cells up to the last non-empty one are written and that one
            // is not padded, so no line ends in blanks the data did not have.
            std::size_t used = line.size();
            while (used > 0 && line[used - 1].empty()) {
                --used;
            }
            std::string text;
            for (std::size_t c = 0; c < used; ++c) {
                text += c + 1 < used ? Pad(line[c], widths[c]) + "  " : line[c];
            }
            Line(indent, text);
        }
    }

    void Line(std::size_t indent, const std::string& text) {
        os_ << std::string(indent, ' ') << text << '\n';
    }

    std::ostream& os_;
};

// \xNN for a C0 control or DEL, \uNNNN for a C1 control.
void AppendEscape(std::string& out, unsigned value) {
    char buffer[16];
    if (value < 0x80) {
        std::snprintf(buffer, sizeof buffer, "\\x%02X", value);
    } else {
        std::snprintf(buffer, sizeof buffer, "\\u%04X", value);
    }
    out += buffer;
}

} // namespace

void TextWriter::Write(const Object& section, const std::string& title, std::ostream& os) {
    if (!title.empty()) {
        const std::string printable = Printable(title);
        os << printable << '\n' << std::string(Width(printable), '=') << '\n';
    }
    SectionPrinter(os).Members(section, 0);
}

std::string TextWriter::ToString(const Object& section, const std::string& title) {
    std::ostringstream os;
    Write(section, title, os);
    return os.str();
}

std::string TextWriter::Printable(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    detail::EachUtf8(text, out, [&](unsigned char c, std::size_t i, std::size_t length) {
        if (length == 1 && (c < 0x20 || c == 0x7F)) {
            AppendEscape(out, c);
        } else if (length == 2 && c == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0) {
            // C1 control characters U+0080..U+009F (terminals act on some).
            AppendEscape(out, static_cast<unsigned char>(text[i + 1]));
        } else {
            out.append(text, i, length);
        }
    });
    return out;
}

std::size_t TextWriter::Width(const std::string& printable) {
    std::size_t width = 0;
    for (char c : printable) {
        // Count every byte that starts a character (not a continuation byte).
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
            ++width;
        }
    }
    return width;
}

} // namespace json
