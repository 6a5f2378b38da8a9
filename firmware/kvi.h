#pragma once
// Direct-command vocabulary: opcodes, frame kinds, the request mailbox and the
// transfer direction of each opcode. The opcode enumeration, its names and each
// opcode's standard transfer size and direction all come from one table,
// kvi_opcodes.def.
#include <cstddef>
#include <cstdint>

// ---- opcodes ----
// Byte 3 is the command class (0x01 controller, 0x03 logical drive,
// 0x04 configuration, 0x05 battery, 0x07 SAS configuration, 0x0A drive
// performance monitoring, 0x0B out-of-band, 0x0C PCIe, 0xF0 host driver),
// byte 2 the group, byte 1 the command, byte 0 a sub-command.
enum KV_DCMD : std::uint32_t {
#define KV_DCMD_ROW(name, value, size, dir) name = value,
#include "firmware/kvi_opcodes.def"
};

// ---- frame kinds ----
enum KVI_CMD_OP : std::uint8_t {
    KVI_CMD_OP_INIT = 0,
    KVI_CMD_OP_LD_READ = 1,
    KVI_CMD_OP_LD_WRITE = 2,
    KVI_CMD_OP_LD_SCSI = 3,
    KVI_CMD_OP_PD_SCSI = 4,
    KVI_CMD_OP_DCMD = 5,
    KVI_CMD_OP_ABORT = 6,
    KVI_CMD_OP_SMP = 7,
    KVI_CMD_OP_STP = 8,
    KVI_CMD_OP_NVME = 9,
    KVI_CMD_OP_TOOLBOX = 10,
    KVI_CMD_OP_COUNT = 11,
};

// ---- cache flush types (mailbox b[0] of KV_DCMD_CTRL_CACHE_FLUSH, a bit set) ----
enum KV_CTRL_CACHE_FLUSH_TYPE : std::uint8_t {
    KV_CTRL_CACHE_FLUSH_TYPE_DDR = 1,
    KV_CTRL_CACHE_FLUSH_TYPE_DISK = 2,
    KV_CTRL_CACHE_FLUSH_TYPE_SSC = 4,
};

// ---- the request mailbox ----
// 12 bytes, readable as bytes, little-endian shorts or little-endian words.
// A mailbox is always cleared before its bytes are set.
typedef union _DCMD_MBOX {
    std::uint8_t b[12];
    std::uint16_t s[6];
    std::uint32_t w[3];
} DCMD_MBOX;
static_assert(sizeof(DCMD_MBOX) == 12, "DCMD_MBOX is 12 bytes");

// ---- transfer direction, seen from the host ----
enum KVI_XFER_DIR : std::uint8_t {
    KVI_XFER_NONE = 0,  // no data phase
    KVI_XFER_READ = 1,  // controller -> host
    KVI_XFER_WRITE = 2, // host -> controller
    KVI_XFER_BOTH = 3,  // host -> controller, then back into the same buffer
};

// One row of the opcode table.
struct KV_DCMD_INFO {
    std::uint32_t opcode;
    const char* name;
    std::uint32_t standardSize; // transfer length used for a request with length 0
    KVI_XFER_DIR direction;
};

// Number of opcodes in the table.
extern const unsigned kKvDcmdCount;

// Row i (0 <= i < kKvDcmdCount), in table order.
const KV_DCMD_INFO& kvDcmdRow(unsigned i);

// The row of an opcode, or nullptr when the table does not hold it.
const KV_DCMD_INFO* kvDcmdInfo(std::uint32_t opcode);

// The enumerator name of an opcode ("KV_DCMD_CTRL_GET_INFO"), or nullptr when
// the table does not hold it.
const char* kvDcmdName(std::uint32_t opcode);

// Name of a direction: "none", "read", "write", "both".
const char* kviXferDirName(KVI_XFER_DIR dir);

// Name of a frame kind ("KVI_CMD_OP_DCMD"), or nullptr.
const char* kviCmdOpName(int op);
