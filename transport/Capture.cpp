#include "transport/Capture.h"

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <vector>

#include "firmware/kvi.h"
#include "provider/Transfer.h"
#include "transport/Hex.h"

namespace kvi {

using nlohmann::json;

bool isLockKeyOpcode(std::uint32_t opcode) {
    return (opcode & 0xFFFF0000u) == 0x01150000u;
}

bool returnsPassphrase(std::uint32_t opcode) {
    return opcode == KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE;
}

static std::string opcodeText(std::uint32_t opcode) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", opcode);
    return hex;
}

// ---- CaptureWriter ----

std::shared_ptr<CaptureWriter> CaptureWriter::open(const std::string& path, std::string& error) {
    std::unique_ptr<files::AtomicFile> file;
    try {
        file = std::make_unique<files::AtomicFile>(path);
    } catch (const files::FileError& e) {
        error = e.what();
        return nullptr;
    }
    std::shared_ptr<CaptureWriter> writer(new CaptureWriter(path, std::move(file)));
    json first = {{"type", "capture"}, {"format", "kvictl-capture"}, {"version", kCaptureVersion}};
    if (!writer->writeLine(first.dump())) {
        error = writer->error();
        return nullptr;
    }
    return writer;
}

CaptureWriter::~CaptureWriter() = default;

bool CaptureWriter::writeLine(const std::string& line) {
    if (failed_)
        return false;
    try {
        file_->write(line + "\n");
    } catch (const files::FileError& e) {
        failed_ = true;
        error_ = e.what();
        return false;
    }
    return true;
}

bool CaptureWriter::finish() {
    if (failed_)
        return false;
    try {
        file_->commit();
    } catch (const files::FileError& e) {
        failed_ = true;
        error_ = e.what();
        return false;
    }
    return true;
}

void CaptureWriter::recordFact(const std::string& name, const std::string& value) {
    writeLine(json{{"type", "fact"}, {"name", name}, {"value", value}}.dump());
}

// ---- CaptureBackend ----

CaptureBackend::CaptureBackend(Backend& inner, std::shared_ptr<CaptureWriter> writer,
                               unsigned controller)
    : inner_(inner), writer_(std::move(writer)), controller_(controller) {
    pciStatus_ = inner_.pciLocation(pci_);
    if (pciStatus_ != 0)
        pci_ = PciLocation();
    driverName_ = inner_.driverName();
    driverVersion_ = inner_.driverVersion();
    if (writer_) {
        json line = {{"type", "controller"},
                     {"controller", controller_},
                     {"pci",
                      {{"status", pciStatus_},
                       {"domain", pci_.domain},
                       {"bus", pci_.bus},
                       {"device", pci_.device},
                       {"function", pci_.function},
                       {"linkWidth", pci_.linkWidth}}},
                     {"driverName", driverName_},
                     {"driverVersion", driverVersion_}};
        // Driver strings come from outside; never let a bad byte stop the capture.
        writer_->writeLine(line.dump(-1, ' ', false, json::error_handler_t::replace));
    }
}

int CaptureBackend::pciLocation(PciLocation& out) {
    if (pciStatus_ == 0)
        out = pci_;
    return pciStatus_;
}

int CaptureBackend::submit(DirectCommand& cmd) {
    const std::string mboxBefore = toHex(cmd.mbox, sizeof cmd.mbox);
    const bool sends = cmd.direction == Direction::Write || cmd.direction == Direction::Both;
    const bool receives = cmd.direction == Direction::Read || cmd.direction == Direction::Both;
    const bool hasData = cmd.data != nullptr && cmd.length > 0;
    const bool redactSent = isLockKeyOpcode(cmd.opcode);
    const bool redactReceived = returnsPassphrase(cmd.opcode);

    // The bytes sent are taken before the call: a "both" command overwrites them.
    // A redacted buffer is never copied at all.
    std::string sent;
    if (sends && hasData && !redactSent)
        sent = toHex(cmd.data, cmd.length);

    const int status = inner_.submit(cmd);
    if (!writer_)
        return status;

    json line = {{"type", "dcmd"},
                 {"controller", controller_},
                 {"seq", seq_++},
                 {"kind", cmd.kind == CommandKind::Driver ? "driver" : "firmware"},
                 {"opcode", opcodeText(cmd.opcode)}};
    if (const char* name = kvDcmdName(cmd.opcode))
        line["name"] = name;
    line["mbox"] = mboxBefore;
    line["direction"] = directionName(cmd.direction);
    line["length"] = cmd.length;
    if (sends) {
        line["sent"] = redactSent ? std::string(std::size_t(cmd.length) * 2, '0') : sent;
    }
    if ((sends && redactSent) || (receives && redactReceived))
        line["redacted"] = true;
    line["status"] = status;
    if (receives)
        line["received"] = !hasData         ? std::string()
                           : redactReceived ? std::string(std::size_t(cmd.length) * 2, '0')
                                            : toHex(cmd.data, cmd.length);
    line["mboxAfter"] = toHex(cmd.mbox, sizeof cmd.mbox);
    if (status < 0)
        line["error"] = inner_.lastError();
    writer_->writeLine(line.dump(-1, ' ', false, json::error_handler_t::replace));
    return status;
}

int CaptureBackend::submitSmp(SmpCommand& cmd) {
    const std::string request =
        cmd.request && cmd.requestLength ? toHex(cmd.request, cmd.requestLength) : std::string();
    const int status = inner_.submitSmp(cmd);
    if (!writer_)
        return status;
    char sas[24];
    std::snprintf(sas, sizeof sas, "0x%016llX", static_cast<unsigned long long>(cmd.sasAddress));
    json line = {{"type", "smp"},
                 {"controller", controller_},
                 {"seq", seq_++},
                 {"sasAddress", sas},
                 {"port", cmd.port},
                 {"request", request},
                 {"responseLength", cmd.responseLength},
                 {"status", status},
                 {"response", cmd.response && cmd.responseLength
                                  ? toHex(cmd.response, cmd.responseLength)
                                  : std::string()}};
    if (status < 0)
        line["error"] = inner_.lastError();
    writer_->writeLine(line.dump(-1, ' ', false, json::error_handler_t::replace));
    return status;
}

} // namespace kvi
