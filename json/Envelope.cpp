#include "json/Envelope.h"

#include <ostream>

namespace json {

namespace {

Array& ArrayMember(Object& holder, const std::string& name) {
    UnknownElement& element = holder[name];
    if (!element.Is<Array>()) {
        element = Array();
    }
    return *element.As<Array>();
}

} // namespace

Envelope::Envelope(const std::string& toolVersion, const std::vector<std::string>& argv) {
    Array formatVersion;
    formatVersion.Insert(Number(kFormatMajor));
    formatVersion.Insert(Number(kFormatMinor));
    document_["format_version"] = formatVersion;

    Object tool;
    tool["version"] = String(toolVersion);
    Array arguments;
    for (const std::string& argument : argv) {
        arguments.Insert(String(argument));
    }
    tool["argv"] = arguments;
    tool["exit_status"] = Number(0);
    document_["kvictl"] = tool;

    document_["messages"] = Array();
    document_["controllers"] = Array();
}

void Envelope::SetExitStatus(int status) {
    Object* tool = document_["kvictl"].As<Object>();
    (*tool)["exit_status"] = Number(status);
}

void Envelope::AddMessage(Severity severity, const std::string& code, const std::string& text) {
    AddMessage(document_, severity, code, text);
}

void Envelope::AddMessage(Object& holder, Severity severity, const std::string& code,
                          const std::string& text) {
    Object message;
    message["severity"] = String(SeverityName(severity));
    message["code"] = String(code);
    message["text"] = String(text);
    ArrayMember(holder, "messages").Insert(message);
}

Object& Envelope::AddController(long index, long statusCode, const std::string& statusName,
                                const std::string& statusDescription) {
    Object status;
    // A status that could not be read has no code.
    if (statusCode < 0)
        status["code"] = Null();
    else
        status["code"] = Number(statusCode);
    status["name"] = String(statusName);
    status["description"] = String(statusDescription);
    Object controller;
    controller["index"] = Number(index);
    controller["status"] = status;
    return *ArrayMember(document_, "controllers").Insert(controller).As<Object>();
}

void Envelope::Write(std::ostream& os, JsonWriter::Style style) const {
    JsonWriter::Write(document_, os, style);
    os << '\n';
}

const char* Envelope::SeverityName(Severity severity) {
    switch (severity) {
    case Error:
        return "error";
    case Warning:
        return "warning";
    case Info:
        return "info";
    }
    return "error";
}

} // namespace json
