#pragma once
// The request packet of the host driver's management device: one ioctl
// (request number kKviIoctlRequest) per direct command, on a packed 404-byte
// packet that carries a 128-byte direct-command frame and the user buffers.
//
// Driver commands (CommandKind::Driver, e.g. KV_DRV_GET_DRIVER_VERSION) travel
// in the same packet and frame: frame cmd 5 with the driver opcode (command
// class 0xF0) in the opcode field. The driver recognises its own command class
// and answers it itself instead of forwarding it to the firmware; status and
// data come back exactly as for a firmware command.
#include <cstddef>
#include <cstdint>

#include "provider/Backend.h"

namespace kvi {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the packet is little-endian, as is the host");

constexpr unsigned long kKviIoctlRequest = 0xC1944D01ul;
constexpr std::uint8_t kFrameCmdDcmd = 5;         // KVI_CMD_OP_DCMD
constexpr std::uint32_t kFrameSglOffset = 40;     // scatter list offset inside the frame
constexpr std::uint16_t kFrameFlagRead = 0x0010;  // data read from the controller
constexpr std::uint16_t kFrameFlagWrite = 0x0008; // data written to the controller
constexpr unsigned kPacketMaxIov = 16;

#pragma pack(push, 1)
// The direct-command frame. Fields this backend does not set stay zero.
struct KviDcmdFrame {
    std::uint8_t cmd;           /* 0 */
    std::uint8_t reserved0;     /* 1 */
    std::uint8_t status;        /* 2 */
    std::uint8_t reserved1[4];  /* 3 */
    std::uint8_t sgeCount;      /* 7 */
    std::uint8_t reserved2[8];  /* 8 */
    std::uint16_t flags;        /* 16 */
    std::uint16_t timeout;      /* 18 */
    std::uint32_t dataLength;   /* 20 */
    std::uint32_t opcode;       /* 24 */
    std::uint8_t mbox[12];      /* 28 */
    std::uint32_t sgeAddress;   /* 40 (the driver rewrites it) */
    std::uint32_t sgeLength;    /* 44 */
    std::uint8_t reserved3[80]; /* 48 */
};
static_assert(sizeof(KviDcmdFrame) == 128, "KviDcmdFrame size");
static_assert(offsetof(KviDcmdFrame, cmd) == 0, "KviDcmdFrame.cmd");
static_assert(offsetof(KviDcmdFrame, status) == 2, "KviDcmdFrame.status");
static_assert(offsetof(KviDcmdFrame, sgeCount) == 7, "KviDcmdFrame.sgeCount");
static_assert(offsetof(KviDcmdFrame, flags) == 16, "KviDcmdFrame.flags");
static_assert(offsetof(KviDcmdFrame, timeout) == 18, "KviDcmdFrame.timeout");
static_assert(offsetof(KviDcmdFrame, dataLength) == 20, "KviDcmdFrame.dataLength");
static_assert(offsetof(KviDcmdFrame, opcode) == 24, "KviDcmdFrame.opcode");
static_assert(offsetof(KviDcmdFrame, mbox) == 28, "KviDcmdFrame.mbox");
static_assert(offsetof(KviDcmdFrame, sgeAddress) == 40, "KviDcmdFrame.sgeAddress");
static_assert(offsetof(KviDcmdFrame, sgeLength) == 44, "KviDcmdFrame.sgeLength");

// One user buffer (an iovec with fixed 64-bit fields).
struct KviIoctlIov {
    std::uint64_t base; /* 0 */
    std::uint64_t len;  /* 8 */
};
static_assert(sizeof(KviIoctlIov) == 16, "KviIoctlIov size");

struct KviIoctlPacket {
    std::uint16_t host;             /* 0 */
    std::uint16_t pad;              /* 2 */
    std::uint32_t sglOffset;        /* 4 */
    std::uint32_t sgeCount;         /* 8 */
    std::uint32_t senseOffset;      /* 12 */
    std::uint32_t senseLength;      /* 16 */
    std::uint8_t frame[128];        /* 20 */
    KviIoctlIov iov[kPacketMaxIov]; /* 148 */
};
#pragma pack(pop)
static_assert(sizeof(KviIoctlPacket) == 404, "KviIoctlPacket size");
static_assert(offsetof(KviIoctlPacket, host) == 0, "KviIoctlPacket.host");
static_assert(offsetof(KviIoctlPacket, pad) == 2, "KviIoctlPacket.pad");
static_assert(offsetof(KviIoctlPacket, sglOffset) == 4, "KviIoctlPacket.sglOffset");
static_assert(offsetof(KviIoctlPacket, sgeCount) == 8, "KviIoctlPacket.sgeCount");
static_assert(offsetof(KviIoctlPacket, senseOffset) == 12, "KviIoctlPacket.senseOffset");
static_assert(offsetof(KviIoctlPacket, senseLength) == 16, "KviIoctlPacket.senseLength");
static_assert(offsetof(KviIoctlPacket, frame) == 20, "KviIoctlPacket.frame");
static_assert(offsetof(KviIoctlPacket, iov) == 148, "KviIoctlPacket.iov");
// The ioctl request number encodes the packet size (bits 16-29).
static_assert(((kKviIoctlRequest >> 16) & 0x3FFFu) == sizeof(KviIoctlPacket),
              "request number encodes 404 bytes");

// True when the command moves data (a direction other than none and a
// non-zero length); such a command gets one scatter entry and one iovec.
bool commandHasData(const DirectCommand& cmd);

// Builds the packet for one command to SCSI host `host`. The whole packet is
// cleared first. iov[0] points at cmd.data, which must stay valid during the ioctl.
void buildPacket(const DirectCommand& cmd, std::uint16_t host, KviIoctlPacket& packet);

// The frame inside a packet (copied out, so no aliasing of the byte array).
KviDcmdFrame frameOf(const KviIoctlPacket& packet);

} // namespace kvi
