#include "json/JsonWriter.h"

#include "json/RenderCommon.h"

#include <cstdio>
#include <ostream>
#include <sstream>

namespace json {

namespace {

class Writer : public ConstVisitor {
public:
    Writer(std::ostream& os, JsonWriter::Style style)
        : os_(os), pretty_(style == JsonWriter::Pretty) {}

    void Visit(const Array& array) override {
        if (array.Empty()) {
            os_ << "[]";
            return;
        }
        os_ << '[';
        ++depth_;
        bool first = true;
        for (const UnknownElement& element : array) {
            Separate(first);
            element.Accept(*this);
        }
        --depth_;
        NewLine();
        os_ << ']';
    }

    void Visit(const Object& object) override {
        if (object.Empty()) {
            os_ << "{}";
            return;
        }
        os_ << '{';
        ++depth_;
        bool first = true;
        for (const Object::Member& member : object) {
            Separate(first);
            os_ << JsonWriter::Quote(member.name) << (pretty_ ? ": " : ":");
            member.element.Accept(*this);
        }
        --depth_;
        NewLine();
        os_ << '}';
    }

    void Visit(const Number& number) override {
        Digits(detail::NumberText(number), number.Flags() == Number::HexDump);
    }
    void Visit(const UNumber& number) override {
        Digits(detail::NumberText(number), number.Flags() == UNumber::HexDump);
    }
    void Visit(const Boolean& boolean) override { os_ << (boolean.Value() ? "true" : "false"); }
    void Visit(const String& string) override { os_ << JsonWriter::Quote(string.Value()); }
    void Visit(const Null&) override { os_ << "null"; }

private:
    // Numbers: plain digits, or a quoted hexadecimal text for HexDump.
    void Digits(const std::string& text, bool hex) {
        if (hex) {
            os_ << '"' << text << '"';
        } else {
            os_ << text;
        }
    }

    void Separate(bool& first) {
        if (!first) {
            os_ << ',';
        }
        first = false;
        NewLine();
    }

    void NewLine() {
        if (pretty_) {
            os_ << '\n' << std::string(2 * depth_, ' ');
        }
    }

    std::ostream& os_;
    bool pretty_;
    std::size_t depth_ = 0;
};

} // namespace

void JsonWriter::Write(const UnknownElement& element, std::ostream& os, Style style) {
    Writer writer(os, style);
    element.Accept(writer);
}

void JsonWriter::Write(const Object& object, std::ostream& os, Style style) {
    Writer writer(os, style);
    writer.Visit(object);
}

void JsonWriter::Write(const Array& array, std::ostream& os, Style style) {
    Writer writer(os, style);
    writer.Visit(array);
}

std::string JsonWriter::ToString(const UnknownElement& element, Style style) {
    std::ostringstream os;
    Write(element, os, style);
    return os.str();
}

std::string JsonWriter::ToString(const Object& object, Style style) {
    std::ostringstream os;
    Write(object, os, style);
    return os.str();
}

std::string JsonWriter::ToString(const Array& array, Style style) {
    std::ostringstream os;
    Write(array, os, style);
    return os.str();
}

std::string JsonWriter::Quote(const std::string& text) {
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    detail::EachUtf8(text, out, [&](unsigned char c, std::size_t i, std::size_t length) {
        if (length > 1) {
            out.append(text, i, length);
        } else if (c == '"') {
            out += "\\\"";
        } else if (c == '\\') {
            out += "\\\\";
        } else if (c == '\b') {
            out += "\\b";
        } else if (c == '\f') {
            out += "\\f";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c < 0x20) {
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\u%04x", static_cast<unsigned>(c));
            out += buffer;
        } else {
            out += static_cast<char>(c);
        }
    });
    out += '"';
    return out;
}

} // namespace json
