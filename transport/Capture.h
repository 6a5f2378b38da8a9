#pragma once
// Capture: a decorator over any backend that writes every request it passes on
// to a JSON Lines file, one line per request, each with one write call. The
// lines go to a temporary file that is renamed into place when the run ends,
// so the capture is whole or absent (an earlier capture stays as it was).
//
// File format (one JSON object per line; "type" says which):
//   {"type":"capture","format":"kvictl-capture","version":1}
//       first line of every capture
//   {"type":"controller","controller":0,"pci":{"status":0,"domain":0,"bus":59,
//    "device":0,"function":0,"linkWidth":8},"driverName":"...","driverVersion":"..."}
//       one per controller, written when its CaptureBackend is created
//   {"type":"fact","name":"...","value":"..."}
//       process-wide inputs the tool wants back on replay (e.g. its clock)
//   {"type":"dcmd","controller":0,"seq":0,"kind":"firmware","opcode":"0x01010000",
//    "name":"KV_DCMD_CTRL_GET_INFO","mbox":"<24 hex>","direction":"read",
//    "length":2464,"sent":"<hex>","redacted":true,"status":0,"received":"<hex>",
//    "mboxAfter":"<24 hex>"}
//       one per direct command; "sent" for write/both, "received" for read/both;
//       "redacted" only when a buffer was replaced by zeros; "error" (the
//       backend's lastError()) only when the status is negative
//   {"type":"smp","controller":0,"seq":1,"sasAddress":"0x...","port":0,
//    "request":"<hex>","responseLength":N,"status":0,"response":"<hex>"}
//       one per SMP pass-through ("error" as for dcmd)
//
// Lock-key requests (command group 0x0115, KV_DCMD_CTRL_LOCK_KEY_*) carry
// passphrases: the bytes they send are written as zeros of the same length with
// "redacted": true, and so are the bytes of a suggested passphrase the
// controller returns. The backend itself always sees the real bytes.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "provider/Backend.h"
#include "util/Files.h"

namespace kvi {

constexpr int kCaptureVersion = 1;

// True for the lock-key opcodes whose sent buffer is redacted.
bool isLockKeyOpcode(std::uint32_t opcode);
// True when the bytes an opcode returns are a passphrase (redacted too).
bool returnsPassphrase(std::uint32_t opcode);

// The capture file of one run, shared by the CaptureBackend of every controller.
class CaptureWriter {
public:
    // Starts the capture `path` and writes the first line. The lines go to a
    // private temporary file beside it; finish() puts it in place, so an
    // interrupted run leaves any earlier file at `path` as it was. Returns
    // null and sets `error` when the file cannot be written.
    static std::shared_ptr<CaptureWriter> open(const std::string& path, std::string& error);
    ~CaptureWriter();
    CaptureWriter(const CaptureWriter&) = delete;
    CaptureWriter& operator=(const CaptureWriter&) = delete;

    // Records a process-wide input by name (replayed by ReplayLog::fact).
    void recordFact(const std::string& name, const std::string& value);

    // Writes one complete line (a JSON object without newline) with one write
    // call. Returns false after a write error (see error()); later lines are
    // dropped.
    bool writeLine(const std::string& json);
    // Syncs the capture and renames it into place; false (see error()) when
    // that fails or a line could not be written.
    bool finish();

    const std::string& path() const { return path_; }
    bool failed() const { return failed_; }
    const std::string& error() const { return error_; }

private:
    CaptureWriter(std::string path, std::unique_ptr<files::AtomicFile> file)
        : path_(std::move(path)), file_(std::move(file)) {}

    std::string path_;
    std::unique_ptr<files::AtomicFile> file_;
    bool failed_ = false;
    std::string error_;
};

class CaptureBackend : public Backend {
public:
    // Passes every call to `inner` (not owned; it outlives this object) and
    // records it as controller `controller`. Writes the controller line at once.
    CaptureBackend(Backend& inner, std::shared_ptr<CaptureWriter> writer, unsigned controller);

    int submit(DirectCommand& cmd) override;
    int submitSmp(SmpCommand& cmd) override;
    // Answered from what was captured at creation (and recorded then).
    int pciLocation(PciLocation& out) override;
    std::string driverName() override { return driverName_; }
    std::string driverVersion() override { return driverVersion_; }
    std::string lastError() const override { return inner_.lastError(); }

    Backend& inner() { return inner_; }

private:
    Backend& inner_;
    std::shared_ptr<CaptureWriter> writer_;
    unsigned controller_;
    std::uint64_t seq_ = 0;
    int pciStatus_ = 0;
    PciLocation pci_;
    std::string driverName_;
    std::string driverVersion_;
};

} // namespace kvi
