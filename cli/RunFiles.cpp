#include "cli/RunFiles.h"

#include <cstdio>
#include <set>
#include <utility>
#include <vector>

#include "cli/App.h"
#include "cli/Util.h"

namespace cli {

LogSession::~LogSession() {
    if (file_)
        kvi::setLogSink(nullptr);
}

void LogSession::open(const std::string& path) {
    file_ = std::make_unique<kvi::files::AppendFile>(path);
    kvi::setLogSink(this);
}

void LogSession::write(int level, const char* text) {
    if (!file_ || !error_.empty())
        return;
    try {
        file_->write(std::string(kvi::logLevelName(level)) + " " + text + "\n");
    } catch (const kvi::files::FileError& e) {
        error_ = e.what();
    }
}

std::string LogSession::finish() {
    if (!file_)
        return error_;
    kvi::setLogSink(nullptr);
    try {
        file_->close();
    } catch (const kvi::files::FileError& e) {
        if (error_.empty())
            error_ = e.what();
    }
    file_.reset();
    return error_;
}

bool readOnlyCommand(const std::string& name) {
    static const std::set<std::string> kReadOnly = {
        "list",         "show",         "properties", "get",         "raw",
        "rules",        "metrics",      "check",      "topology",    "events info",
        "events count", "events list",  "alarm show", "bbu show",    "bios show",
        "boot show",    "capture show", "cc show",    "patrol show", "security show"};
    return kReadOnly.count(name) != 0;
}

std::string printable(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c < 0x20 || c == 0x7f) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            out += hex;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

void checkFileOptions(const GlobalOptions& o, const std::function<bool(const char*)>& given) {
    const std::vector<std::pair<const char*, const std::string*>> paths = {
        {"--sim-state", &o.simState}, {"--device", &o.device}, {"--replay", &o.replay},
        {"--record", &o.record},      {"--log", &o.logFile},
    };
    for (const auto& [name, value] : paths) {
        if (given(name) && value->empty())
            throw UsageError(std::string(name) + ": an empty path; give a file name");
        for (unsigned char c : *value)
            if (c < 0x20 || c == 0x7f)
                throw UsageError(std::string(name) + ": '" + printable(*value) +
                                 "' holds a control character; give a plain file name");
    }
    // One file for two purposes would have one overwrite the other.
    for (std::size_t i = 0; i < paths.size(); ++i)
        for (std::size_t k = i + 1; k < paths.size(); ++k)
            if (!paths[i].second->empty() && !paths[k].second->empty() &&
                kvi::files::sameFile(*paths[i].second, *paths[k].second))
                throw UsageError(std::string(paths[i].first) + " and " + paths[k].first +
                                 " name the same file '" + printable(*paths[i].second) +
                                 "'; give each its own");
}

} // namespace cli
