#pragma once
// The last backend in front of the adapter: counts requests, keeps the last
// backend error, and implements --dry-run. In a dry run the reads a command
// needs to build its changes still go out (they change nothing on the
// controller); every request that would change something (write, both, or no
// data phase) is listed instead of sent and answered as if it succeeded.
#include <cstdint>
#include <string>
#include <vector>

#include "provider/Backend.h"

namespace cli {

struct HeldRequest {
    std::uint32_t opcode = 0;
    std::uint8_t mbox[12] = {};
    std::uint32_t length = 0;
    kvi::Direction direction = kvi::Direction::None;
};

class Gate : public kvi::Backend {
public:
    Gate(kvi::Backend& inner, bool dryRun) : inner_(inner), dryRun_(dryRun) {}

    int submit(kvi::DirectCommand& cmd) override;
    int submitSmp(kvi::SmpCommand& cmd) override;
    int pciLocation(kvi::PciLocation& out) override { return inner_.pciLocation(out); }
    std::string driverName() override { return inner_.driverName(); }
    std::string driverVersion() override { return inner_.driverVersion(); }
    std::string lastError() const override { return inner_.lastError(); }

    // Requests passed on to the backend.
    std::uint64_t sent() const { return sent_; }
    // Requests a dry run held back, in order.
    const std::vector<HeldRequest>& held() const { return held_; }
    kvi::Backend& inner() { return inner_; }

    // True when a request changes controller state (anything but a read).
    static bool changes(const kvi::DirectCommand& cmd);

private:
    kvi::Backend& inner_;
    bool dryRun_;
    std::uint64_t sent_ = 0;
    std::vector<HeldRequest> held_;
};

} // namespace cli
