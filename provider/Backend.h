#pragma once
// The one narrow seam every way of reaching a controller implements: the
// simulator (sim/), the Linux pass-through device and capture/replay (transport/),
// and the fake controllers of the tests. `Controller::execute` turns a request
// object into a DirectCommand and hands it here.
#include <cstdint>
#include <string>

namespace kvi {

// Data direction of a transfer, seen from the host.
enum class Direction : std::uint8_t {
    None = 0,  // no data phase
    Read = 1,  // controller -> host
    Write = 2, // host -> controller
    Both = 3,  // host -> controller, then controller -> host in the same buffer
};

// Frame kind of a command: firmware direct command, or a command answered by
// the host driver itself (driver version).
enum class CommandKind : std::uint8_t { Firmware = 0, Driver = 1 };

struct DirectCommand {
    CommandKind kind = CommandKind::Firmware;
    std::uint32_t opcode = 0;
    std::uint8_t mbox[12] = {};   // backends that answer in the mailbox update it in place
    std::uint8_t* data = nullptr; // `length` bytes; never null when length > 0
    std::uint32_t length = 0;     // the real transfer length (never 0 for a sized opcode)
    Direction direction = Direction::None;
};

// Statuses a backend returns besides firmware statuses (0..255).
enum LocalStatus : int {
    kTransportFailed = -10, // the device or driver refused the command (errno kept by the backend)
    kReplayMismatch = -11,  // a replayed request does not match the recorded one
    kUnsupported = -12,     // the backend cannot carry this kind of request
};

// One SAS SMP pass-through to an expander: the request frame goes out, the
// response frame comes back. Both buffers hold at least their stated lengths.
struct SmpCommand {
    std::uint64_t sasAddress = 0;
    std::uint8_t port = 0;
    const std::uint8_t* request = nullptr;
    std::uint32_t requestLength = 0;
    std::uint8_t* response = nullptr;
    std::uint32_t responseLength = 0;
};

struct PciLocation {
    std::uint32_t domain = 0;
    std::uint32_t bus = 0;
    std::uint8_t device = 0;
    std::uint8_t function = 0;
    std::uint32_t linkWidth = 0; // maximum link width in lanes
};

class Backend {
public:
    virtual ~Backend() = default;
    // Submit one command; fill `cmd.data` (read/both) and `cmd.mbox`; return the
    // firmware status byte (0 = success) or a negative LocalStatus.
    virtual int submit(DirectCommand& cmd) = 0;
    // Submit one SMP pass-through; returns the SMP function result (0 = accepted)
    // or a negative LocalStatus. Backends without SMP support keep this default.
    virtual int submitSmp(SmpCommand& cmd) {
        (void)cmd;
        return kUnsupported;
    }
    // Where the controller sits on the PCI bus; returns 0 or a negative LocalStatus.
    virtual int pciLocation(PciLocation& out) = 0;
    virtual std::string driverName() = 0;
    virtual std::string driverVersion() = 0;
    // A one-line reason for the last negative status, for the user.
    virtual std::string lastError() const { return {}; }
};

} // namespace kvi
