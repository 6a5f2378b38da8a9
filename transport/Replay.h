#pragma once
// Replay: answers requests from a capture (transport/Capture.h gives the
// format), in the order they were recorded, per controller.
//
// Each request must match the next recorded one of its controller by opcode,
// mailbox and length (SMP: SAS address, port, request bytes and response
// length). A mismatch, or a request past the end of the capture, returns
// kReplayMismatch and lastError() names both requests; from then on every
// request of that controller fails the same way, so no later answer can be a
// wrong one. Redacted lock-key requests match the same way: their recorded
// bytes are zeros, and the bytes sent are never compared.
#include <cstdint>
#include <istream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "provider/Backend.h"

namespace kvi {

// One recorded request and its answer.
struct RecordedRequest {
    bool smp = false;
    unsigned line = 0; // line number in the file (1 = first)
    CommandKind kind = CommandKind::Firmware;
    std::uint32_t opcode = 0;
    std::uint8_t mbox[12] = {};
    std::uint32_t length = 0;
    Direction direction = Direction::None;
    bool redacted = false;
    int status = 0;
    std::string error; // the recorded lastError() of a negative status
    std::vector<std::uint8_t> received;
    std::uint8_t mboxAfter[12] = {};
    // SMP only.
    std::uint64_t sasAddress = 0;
    std::uint8_t port = 0;
    std::vector<std::uint8_t> request;
    std::uint32_t responseLength = 0;
};

struct RecordedController {
    int pciStatus = 0;
    PciLocation pci;
    std::string driverName;
    std::string driverVersion;
    std::vector<RecordedRequest> requests;
};

// A parsed capture file.
class ReplayLog {
public:
    // Reads and checks a whole capture. Returns null and sets `error` (naming
    // the file and line) when it cannot be read or is malformed.
    static std::shared_ptr<const ReplayLog> load(const std::string& path, std::string& error);
    // The same from a stream; `name` stands for the file in messages.
    static std::shared_ptr<const ReplayLog> parse(std::istream& in, const std::string& name,
                                                  std::string& error);

    const std::string& name() const { return name_; }
    // What was tolerated while reading (a cut-short last line), for the user.
    const std::vector<std::string>& warnings() const { return warnings_; }
    // The number of the cut-short last line that was ignored; 0 when none.
    unsigned tornLine() const { return tornLine_; }
    // Controllers are numbered 0..controllerCount()-1 (the capture declares each).
    unsigned controllerCount() const { return static_cast<unsigned>(controllers_.size()); }
    const RecordedController& controller(unsigned index) const { return controllers_.at(index); }
    // A recorded process-wide input; nullopt when the capture holds none.
    std::optional<std::string> fact(const std::string& name) const;

private:
    std::string name_;
    std::vector<std::string> warnings_;
    unsigned tornLine_ = 0;
    std::vector<RecordedController> controllers_;
    std::map<std::string, std::string> facts_;
};

class ReplayBackend : public Backend {
public:
    // Replays controller `controller` of `log` (which must declare it).
    ReplayBackend(std::shared_ptr<const ReplayLog> log, unsigned controller);

    int submit(DirectCommand& cmd) override;
    int submitSmp(SmpCommand& cmd) override;
    int pciLocation(PciLocation& out) override;
    std::string driverName() override;
    std::string driverVersion() override;
    std::string lastError() const override { return lastError_; }

    // Recorded requests not asked for yet.
    std::size_t remaining() const;
    bool mismatched() const { return mismatched_; }

private:
    const RecordedController* recorded() const;
    int mismatch(std::string message);
    // The recorded request the command described by `sent` must match, or
    // nullptr when the capture holds none for it (status is then the mismatch).
    const RecordedRequest* expected(const std::string& sent, int& status);
    // Records that `sent` differs from the expected request r.
    int differs(const std::string& sent, const RecordedRequest& r);

    std::shared_ptr<const ReplayLog> log_;
    unsigned controller_;
    std::size_t next_ = 0;
    bool mismatched_ = false;
    std::string lastError_;
};

// One line describing a request: "KV_DCMD_CTRL_GET_INFO (0x01010000) mailbox
// 000000000000000000000000 length 2464".
std::string describeRequest(std::uint32_t opcode, const std::uint8_t* mbox, std::uint32_t length);

} // namespace kvi
