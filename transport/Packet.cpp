#include "transport/Packet.h"

#include <cstring>

namespace kvi {

bool commandHasData(const DirectCommand& cmd) {
    return cmd.direction != Direction::None && cmd.length > 0 && cmd.data != nullptr;
}

static std::uint16_t frameFlags(Direction dir) {
    switch (dir) {
    case Direction::Read:
        return kFrameFlagRead;
    case Direction::Write:
        return kFrameFlagWrite;
    case Direction::Both:
        return kFrameFlagRead | kFrameFlagWrite;
    case Direction::None:
        break;
    }
    return 0;
}

void buildPacket(const DirectCommand& cmd, std::uint16_t host, KviIoctlPacket& packet) {
    std::memset(&packet, 0, sizeof packet);
    const bool data = commandHasData(cmd);

    KviDcmdFrame frame;
    std::memset(&frame, 0, sizeof frame);
    frame.cmd = kFrameCmdDcmd;
    frame.sgeCount = data ? 1 : 0;
    frame.flags = data ? frameFlags(cmd.direction) : 0;
    frame.dataLength = data ? cmd.length : 0;
    frame.opcode = cmd.opcode;
    std::memcpy(frame.mbox, cmd.mbox, sizeof frame.mbox);
    if (data) {
        frame.sgeAddress = 0; // the driver puts its own bounce buffer here
        frame.sgeLength = cmd.length;
    }

    packet.host = host;
    packet.sglOffset = kFrameSglOffset;
    packet.sgeCount = data ? 1 : 0;
    std::memcpy(packet.frame, &frame, sizeof frame);
    if (data) {
        packet.iov[0].base = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(cmd.data));
        packet.iov[0].len = cmd.length;
    }
}

KviDcmdFrame frameOf(const KviIoctlPacket& packet) {
    KviDcmdFrame frame;
    std::memcpy(&frame, packet.frame, sizeof frame);
    return frame;
}

} // namespace kvi
