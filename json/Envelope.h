// The JSON output envelope of kvictl: the one document a command writes to
// stdout in the JSON output styles, also when it fails.
//
//   {"format_version": [2, 0],
//    "kvictl": {"version": "...", "argv": ["..."], "exit_status": 0},
//    "messages": [{"severity": "error", "code": "...", "text": "..."}],
//    "controllers": [{"index": 0,
//                     "status": {"code": 0, "name": "...", "description": "..."},
//                     ...what the command adds...}]}
//
// The four top-level members are created up front in this order; messages and
// controllers are appended as the command goes, and the exit status is set
// last. Built on the report document model and rendered by JsonWriter.
#pragma once

#include "json/JsonWriter.h"
#include "json/elements.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace json {

class Envelope {
public:
    // A minor version may add keys, values and commands; a major version may
    // rename or remove a key or change its type or form (README "JSON output";
    // docs/schema/ describes each major).
    static constexpr long kFormatMajor = 2;
    static constexpr long kFormatMinor = 0;

    enum Severity { Error, Warning, Info };

    Envelope(const std::string& toolVersion, const std::vector<std::string>& argv);

    // The envelope hands out references into its document; a copy would not
    // carry them along, so it is not copyable.
    Envelope(const Envelope&) = delete;
    Envelope& operator=(const Envelope&) = delete;

    void SetExitStatus(int status);

    // Appends a message to the envelope's own "messages".
    void AddMessage(Severity severity, const std::string& code, const std::string& text);

    // Appends a message to holder["messages"], creating that array when the
    // member is missing or not an array (for messages about one controller).
    static void AddMessage(Object& holder, Severity severity, const std::string& code,
                           const std::string& text);

    // Appends a controller entry with its index and status and returns it, so
    // the command can add its own members ("sections", "messages", ...). The
    // reference stays valid for the life of the envelope.
    Object& AddController(long index, long statusCode, const std::string& statusName,
                          const std::string& statusDescription);

    const Object& Document() const { return document_; }

    // Exactly one JSON document followed by a newline.
    void Write(std::ostream& os, JsonWriter::Style style = JsonWriter::Pretty) const;

    // "error", "warning", "info".
    static const char* SeverityName(Severity severity);

private:
    Object document_;
};

} // namespace json
