#include "cli/RunFiles.h"

#include <cstdio>
#include <set>
#include <utility>
#include <vector>

#include "cli/App.h"
#include "cli/Util.h"
#include "sim/Simulator.h"

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
        "list",         "show",        "properties",    "get",        "raw",
        "rules",        "metrics",     "check",         "topology",   "events info",
        "events count", "events list", "events follow", "alarm show", "bbu show",
        "bios show",    "boot show",   "capture show",  "cc show",    "patrol show",
        "security show"};
    return kReadOnly.count(name) != 0;
}

namespace {

// The length of the control character at text[i] (C0, DEL, or C1 in UTF-8);
// 0 when there is none.
std::size_t controlAt(const std::string& text, std::size_t i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x20 || c == 0x7f)
        return 1;
    if (c == 0xc2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
        static_cast<unsigned char>(text[i + 1]) <= 0x9f)
        return 2;
    return 0;
}

} // namespace

std::string printable(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t n = controlAt(text, i);
        if (n == 0) {
            out += text[i];
        } else if (text[i] == '\n') {
            out += "\\n";
        } else if (text[i] == '\t') {
            out += "\\t";
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(text[i + n - 1]));
            out += hex;
            i += n - 1;
        }
    }
    return out;
}

void checkPrintable(const std::vector<std::string>& args) {
    for (const std::string& a : args)
        for (std::size_t i = 0; i < a.size(); ++i)
            if (controlAt(a, i) != 0)
                throw UsageError("the argument '" + printable(a) +
                                 "' holds a control character; kvictl takes none");
}

void checkFileOptions(const GlobalOptions& o, const std::function<bool(const char*)>& given,
                      const std::vector<std::pair<std::string, std::string>>& commandFiles) {
    std::vector<std::pair<std::string, std::string>> paths = {
        {"--sim-state", o.simState}, {"--device", o.device}, {"--replay", o.replay},
        {"--record", o.record},      {"--log", o.logFile},
    };
    for (const auto& [name, value] : paths)
        if (given(name.c_str()) && value.empty())
            throw UsageError(name + ": an empty path; give a file name");
    if (given("--sim-profile") && o.simProfile.empty())
        throw UsageError("--sim=: an empty profile; give a bundled name or a file");
    if (given("-c") && o.controller.empty())
        throw UsageError("-c: an empty value; give a controller number or all");
    // A profile file is read only, but a capture or state written over it
    // would be lost as surely.
    if (kvi::sim::Simulator::isProfilePath(o.simProfile))
        paths.push_back({"--sim", o.simProfile});
    paths.insert(paths.end(), commandFiles.begin(), commandFiles.end());
    // One file for two purposes would have one overwrite the other.
    for (std::size_t i = 0; i < paths.size(); ++i)
        for (std::size_t k = i + 1; k < paths.size(); ++k)
            if (!paths[i].second.empty() && !paths[k].second.empty() &&
                kvi::files::sameFile(paths[i].second, paths[k].second))
                throw UsageError(paths[i].first + " and " + paths[k].first +
                                 " name the same file '" + printable(paths[i].second) +
                                 "'; give each its own");
}

} // namespace cli
