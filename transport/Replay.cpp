#include "transport/Replay.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

#include "firmware/kvi.h"
#include "transport/Capture.h"
#include "transport/Hex.h"
#include "util/Files.h"

namespace kvi {

using nlohmann::json;

std::string describeRequest(std::uint32_t opcode, const std::uint8_t* mbox, std::uint32_t length) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", opcode);
    const char* name = kvDcmdName(opcode);
    std::string text = name ? std::string(name) + " (" + hex + ")" : std::string("opcode ") + hex;
    return text + " mailbox " + toHex(mbox, 12) + " length " + std::to_string(length);
}

static std::string describeSmp(std::uint64_t sas, unsigned port, const std::uint8_t* request,
                               std::size_t requestLength, std::uint32_t responseLength) {
    char hex[24];
    std::snprintf(hex, sizeof hex, "0x%016llX", static_cast<unsigned long long>(sas));
    return std::string("SMP to ") + hex + " port " + std::to_string(port) + " request " +
           (request ? toHex(request, requestLength) : std::string()) + " response length " +
           std::to_string(responseLength);
}

static std::string describeRecorded(const RecordedRequest& r) {
    return r.smp ? describeSmp(r.sasAddress, r.port, r.request.data(), r.request.size(),
                               r.responseLength)
                 : describeRequest(r.opcode, r.mbox, r.length);
}

// ---- parsing ----

namespace {

struct Malformed {
    std::string what;
};

const json& member(const json& line, const char* key) {
    auto it = line.find(key);
    if (it == line.end())
        throw Malformed{std::string("missing \"") + key + "\""};
    return *it;
}

std::string text(const json& line, const char* key) {
    const json& v = member(line, key);
    if (!v.is_string())
        throw Malformed{std::string("\"") + key + "\" is not a string"};
    return v.get<std::string>();
}

std::int64_t integer(const json& line, const char* key, std::int64_t lo, std::int64_t hi) {
    const json& v = member(line, key);
    if (!v.is_number_integer())
        throw Malformed{std::string("\"") + key + "\" is not an integer"};
    std::int64_t value = v.is_number_unsigned() && v.get<std::uint64_t>() > std::uint64_t(INT64_MAX)
                             ? hi + 1
                             : v.get<std::int64_t>();
    if (value < lo || value > hi)
        throw Malformed{std::string("\"") + key + "\" is out of range"};
    return value;
}

std::uint64_t hexNumber(const json& line, const char* key, std::uint64_t hi) {
    std::string s = text(line, key);
    if (s.size() < 3 || s[0] != '0' || (s[1] != 'x' && s[1] != 'X') || s.size() > 18)
        throw Malformed{std::string("\"") + key + "\" is not a 0x hex number"};
    std::uint64_t value = 0;
    for (std::size_t i = 2; i < s.size(); ++i) {
        char c = s[i];
        int d = c >= '0' && c <= '9'   ? c - '0'
                : c >= 'a' && c <= 'f' ? c - 'a' + 10
                : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                       : -1;
        if (d < 0)
            throw Malformed{std::string("\"") + key + "\" is not a 0x hex number"};
        value = value << 4 | static_cast<unsigned>(d);
    }
    if (value > hi)
        throw Malformed{std::string("\"") + key + "\" is out of range"};
    return value;
}

std::vector<std::uint8_t> bytes(const json& line, const char* key) {
    std::vector<std::uint8_t> out;
    if (!fromHex(text(line, key), out))
        throw Malformed{std::string("\"") + key + "\" is not hex bytes"};
    return out;
}

void mailbox(const json& line, const char* key, std::uint8_t (&out)[12]) {
    std::vector<std::uint8_t> b = bytes(line, key);
    if (b.size() != 12)
        throw Malformed{std::string("\"") + key + "\" is not 12 bytes"};
    std::memcpy(out, b.data(), 12);
}

Direction direction(const json& line) {
    std::string d = text(line, "direction");
    if (d == "none")
        return Direction::None;
    if (d == "read")
        return Direction::Read;
    if (d == "write")
        return Direction::Write;
    if (d == "both")
        return Direction::Both;
    throw Malformed{"\"direction\" is not none, read, write or both"};
}

} // namespace

std::shared_ptr<const ReplayLog> ReplayLog::load(const std::string& path, std::string& error) {
    std::istringstream in;
    try {
        in.str(files::readFile(path, files::Input::Capture));
    } catch (const files::FileError& e) {
        error = std::string("cannot read the capture: ") + e.what();
        return nullptr;
    }
    return parse(in, path, error);
}

std::shared_ptr<const ReplayLog> ReplayLog::parse(std::istream& in, const std::string& name,
                                                  std::string& error) {
    auto log = std::shared_ptr<ReplayLog>(new ReplayLog());
    log->name_ = name;
    std::vector<bool> declared;
    std::string raw;
    unsigned lineNo = 0;
    bool sawHeader = false;
    try {
        while (std::getline(in, raw)) {
            ++lineNo;
            if (std::all_of(raw.begin(), raw.end(),
                            [](char c) { return c == ' ' || c == '\t' || c == '\r'; }))
                continue;
            json line = json::parse(raw, nullptr, false);
            if (line.is_discarded() && in.eof() && sawHeader) {
                // A last line without its newline was cut short when the
                // capture's writer stopped: the lines before it are whole.
                // It is never half used: a request it held is missing, and
                // asking for it is a mismatch that names this line.
                log->warnings_.push_back(name + ": line " + std::to_string(lineNo) +
                                         " is cut short and is ignored");
                log->tornLine_ = lineNo;
                break;
            }
            if (line.is_discarded())
                throw Malformed{"not valid JSON"};
            if (!line.is_object())
                throw Malformed{"not a JSON object"};
            const std::string type = text(line, "type");
            if (!sawHeader) {
                if (type != "capture" || text(line, "format") != "kvictl-capture")
                    throw Malformed{
                        "not a kvictl capture (the first line must be its \"capture\" header)"};
                if (integer(line, "version", 0, INT32_MAX) != kCaptureVersion)
                    throw Malformed{"capture version " + member(line, "version").dump() +
                                    " is not supported (this kvictl reads version " +
                                    std::to_string(kCaptureVersion) + ")"};
                sawHeader = true;
                continue;
            }
            if (type == "fact") {
                log->facts_[text(line, "name")] = text(line, "value");
                continue;
            }
            if (type == "controller") {
                auto index = static_cast<std::size_t>(integer(line, "controller", 0, 4095));
                if (index < declared.size() && declared[index])
                    throw Malformed{"controller " + std::to_string(index) + " is declared twice"};
                if (index >= declared.size()) {
                    declared.resize(index + 1, false);
                    log->controllers_.resize(index + 1);
                }
                declared[index] = true;
                RecordedController& c = log->controllers_[index];
                const json& pci = member(line, "pci");
                if (!pci.is_object())
                    throw Malformed{"\"pci\" is not an object"};
                c.pciStatus = static_cast<int>(integer(pci, "status", INT32_MIN, INT32_MAX));
                c.pci.domain = static_cast<std::uint32_t>(integer(pci, "domain", 0, UINT32_MAX));
                c.pci.bus = static_cast<std::uint32_t>(integer(pci, "bus", 0, UINT32_MAX));
                c.pci.device = static_cast<std::uint8_t>(integer(pci, "device", 0, 255));
                c.pci.function = static_cast<std::uint8_t>(integer(pci, "function", 0, 255));
                c.pci.linkWidth =
                    static_cast<std::uint32_t>(integer(pci, "linkWidth", 0, UINT32_MAX));
                c.driverName = text(line, "driverName");
                c.driverVersion = text(line, "driverVersion");
                continue;
            }
            if (type != "dcmd" && type != "smp")
                throw Malformed{"unknown line type \"" + type + "\""};

            auto index = static_cast<std::size_t>(integer(line, "controller", 0, 4095));
            if (index >= declared.size() || !declared[index])
                throw Malformed{"request for controller " + std::to_string(index) +
                                ", which no earlier \"controller\" line declares"};
            RecordedRequest r;
            r.line = lineNo;
            r.status = static_cast<int>(integer(line, "status", INT32_MIN, INT32_MAX));
            if (line.contains("error"))
                r.error = text(line, "error");
            if (type == "smp") {
                r.smp = true;
                r.sasAddress = hexNumber(line, "sasAddress", UINT64_MAX);
                r.port = static_cast<std::uint8_t>(integer(line, "port", 0, 255));
                r.request = bytes(line, "request");
                r.responseLength =
                    static_cast<std::uint32_t>(integer(line, "responseLength", 0, UINT32_MAX));
                r.received = bytes(line, "response");
                if (!r.received.empty() && r.received.size() != r.responseLength)
                    throw Malformed{"\"response\" does not hold \"responseLength\" bytes"};
            } else {
                std::string kind = text(line, "kind");
                if (kind != "firmware" && kind != "driver")
                    throw Malformed{"\"kind\" is not firmware or driver"};
                r.kind = kind == "driver" ? CommandKind::Driver : CommandKind::Firmware;
                r.opcode = static_cast<std::uint32_t>(hexNumber(line, "opcode", UINT32_MAX));
                mailbox(line, "mbox", r.mbox);
                r.length = static_cast<std::uint32_t>(integer(line, "length", 0, UINT32_MAX));
                r.direction = direction(line);
                auto red = line.find("redacted");
                if (red != line.end() && !red->is_boolean())
                    throw Malformed{"\"redacted\" is not true or false"};
                r.redacted = red != line.end() && red->get<bool>();
                if (r.direction == Direction::Read || r.direction == Direction::Both) {
                    r.received = bytes(line, "received");
                    if (!r.received.empty() && r.received.size() != r.length)
                        throw Malformed{"\"received\" holds " + std::to_string(r.received.size()) +
                                        " bytes, not \"length\" " + std::to_string(r.length)};
                }
                mailbox(line, "mboxAfter", r.mboxAfter);
            }
            log->controllers_[index].requests.push_back(std::move(r));
        }
        if (!sawHeader) {
            lineNo = 1;
            throw Malformed{"empty file, not a kvictl capture"};
        }
        for (std::size_t i = 0; i < declared.size(); ++i)
            if (!declared[i]) {
                ++lineNo;
                throw Malformed{"controller " + std::to_string(i) +
                                " is never declared (end of file)"};
            }
    } catch (const Malformed& bad) {
        error = "capture " + name + " line " + std::to_string(lineNo) + ": " + bad.what;
        return nullptr;
    } catch (const json::exception& bad) {
        error = "capture " + name + " line " + std::to_string(lineNo) + ": " + bad.what();
        return nullptr;
    }
    return log;
}

std::optional<std::string> ReplayLog::fact(const std::string& name) const {
    auto it = facts_.find(name);
    if (it == facts_.end())
        return std::nullopt;
    return it->second;
}

// ---- ReplayBackend ----

ReplayBackend::ReplayBackend(std::shared_ptr<const ReplayLog> log, unsigned controller)
    : log_(std::move(log)), controller_(controller) {}

const RecordedController* ReplayBackend::recorded() const {
    if (!log_ || controller_ >= log_->controllerCount())
        return nullptr;
    return &log_->controller(controller_);
}

std::size_t ReplayBackend::remaining() const {
    const RecordedController* c = recorded();
    return c && next_ < c->requests.size() ? c->requests.size() - next_ : 0;
}

int ReplayBackend::mismatch(std::string message) {
    mismatched_ = true;
    lastError_ = std::move(message);
    return kReplayMismatch;
}

// Both kinds of request (direct commands and SMP frames) meet the capture the
// same way: the next recorded request of this controller, or a mismatch that
// says why there is none.
const RecordedRequest* ReplayBackend::expected(const std::string& sent, int& status) {
    const RecordedController* c = recorded();
    const std::string ctl = "controller " + std::to_string(controller_);
    if (!c) {
        status = mismatch("replay: the capture " + (log_ ? log_->name() : std::string()) +
                          " holds no " + ctl);
        return nullptr;
    }
    if (next_ >= c->requests.size()) {
        status =
            mismatch("replay mismatch on " + ctl + ": the command sent " + sent +
                     ", but the capture " + log_->name() + " holds no more requests (it recorded " +
                     std::to_string(c->requests.size()) +
                     (log_->tornLine() != 0
                          ? "; its line " + std::to_string(log_->tornLine()) + " was cut short"
                          : std::string()) +
                     ")");
        return nullptr;
    }
    return &c->requests[next_];
}

int ReplayBackend::differs(const std::string& sent, const RecordedRequest& r) {
    return mismatch("replay mismatch on controller " + std::to_string(controller_) +
                    " at request " + std::to_string(next_ + 1) + ": the command sent " + sent +
                    ", but the capture " + log_->name() + " line " + std::to_string(r.line) +
                    " recorded " + describeRecorded(r));
}

int ReplayBackend::submit(DirectCommand& cmd) {
    if (mismatched_)
        return kReplayMismatch; // the first mismatch stays the reason
    const std::string sent = describeRequest(cmd.opcode, cmd.mbox, cmd.length);
    int status = 0;
    const RecordedRequest* expect = expected(sent, status);
    if (!expect)
        return status;
    const RecordedRequest& r = *expect;
    if (r.smp || r.opcode != cmd.opcode || std::memcmp(r.mbox, cmd.mbox, sizeof r.mbox) != 0 ||
        r.length != cmd.length)
        return differs(sent, r);
    ++next_;
    if ((cmd.direction == Direction::Read || cmd.direction == Direction::Both) && cmd.data &&
        !r.received.empty())
        // Both sizes equal the matched length; the bound keeps it so regardless.
        std::memcpy(cmd.data, r.received.data(),
                    std::min<std::size_t>(cmd.length, r.received.size()));
    std::memcpy(cmd.mbox, r.mboxAfter, sizeof cmd.mbox);
    if (r.status < 0)
        lastError_ = r.error;
    return r.status;
}

int ReplayBackend::submitSmp(SmpCommand& cmd) {
    if (mismatched_)
        return kReplayMismatch;
    const std::string sent = describeSmp(cmd.sasAddress, cmd.port, cmd.request,
                                         cmd.request ? cmd.requestLength : 0, cmd.responseLength);
    int status = 0;
    const RecordedRequest* expect = expected(sent, status);
    if (!expect)
        return status;
    const RecordedRequest& r = *expect;
    const std::size_t requestLength = cmd.request ? cmd.requestLength : 0;
    if (!r.smp || r.sasAddress != cmd.sasAddress || r.port != cmd.port ||
        r.request.size() != requestLength ||
        (requestLength && std::memcmp(r.request.data(), cmd.request, requestLength) != 0) ||
        r.responseLength != cmd.responseLength)
        return differs(sent, r);
    ++next_;
    if (cmd.response && !r.received.empty())
        std::memcpy(cmd.response, r.received.data(),
                    std::min<std::size_t>(cmd.responseLength, r.received.size()));
    if (r.status < 0)
        lastError_ = r.error;
    return r.status;
}

int ReplayBackend::pciLocation(PciLocation& out) {
    const RecordedController* c = recorded();
    if (!c) {
        lastError_ = "replay: the capture holds no controller " + std::to_string(controller_);
        return kReplayMismatch;
    }
    if (c->pciStatus == 0)
        out = c->pci;
    return c->pciStatus;
}

std::string ReplayBackend::driverName() {
    const RecordedController* c = recorded();
    return c ? c->driverName : std::string();
}

std::string ReplayBackend::driverVersion() {
    const RecordedController* c = recorded();
    return c ? c->driverVersion : std::string();
}

} // namespace kvi
