#pragma once
// Direct-command vocabulary: opcodes, frame kinds, the request mailbox and the
// transfer direction of each opcode. The opcode enumeration, its names and each
// opcode's standard transfer size and direction all come from one table,
// kvi_opcodes.def; the frame kinds and the directions, with their names, come
// from kvi_cmdop.def and kvi_xferdir.def.
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

// ---- frame kinds (table: kvi_cmdop.def) ----
enum KVI_CMD_OP : std::uint8_t {
#define KVI_CMD_OP_ROW(name, value) name = value,
#include "firmware/kvi_cmdop.def"
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

// ---- transfer direction, seen from the host (table: kvi_xferdir.def) ----
enum KVI_XFER_DIR : std::uint8_t {
#define KVI_XFER_DIR_ROW(name, value, text) name = value,
#include "firmware/kvi_xferdir.def"
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

// The standard transfer size of an opcode, known at compile time, or 0 when the
// table does not hold it. For buffers that must be exactly the standard transfer
// (kvDcmdInfo gives the same value at run time).
constexpr std::uint32_t kvDcmdStandardSize(std::uint32_t opcode) {
    switch (opcode) {
#define KV_DCMD_ROW(name, value, size, dir)                                                        \
    case value:                                                                                    \
        return size;
#include "firmware/kvi_opcodes.def"
    }
    return 0;
}

// The enumerator name of an opcode ("KV_DCMD_CTRL_GET_INFO"), or nullptr when
// the table does not hold it.
const char* kvDcmdName(std::uint32_t opcode);

// Name of a direction: "none", "read", "write", "both"; "unknown" for a value
// the table does not hold.
const char* kviXferDirName(KVI_XFER_DIR dir);

// Name of a frame kind ("KVI_CMD_OP_DCMD"), or nullptr.
const char* kviCmdOpName(int op);
