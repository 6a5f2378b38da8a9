#pragma once
// The standard-size rule and the bounded request helper shared by every
// Controller that talks to a Backend.
//
// A request's transfer length is the length the caller passed, or, for length 0,
// the opcode's standard size from the opcode table (firmware/kvi_opcodes.def).
// Its direction comes from the same table. The caller's buffer may be smaller
// than the transfer (a caller that passes length 0 with a smaller record, or
// none at all): then the backend gets a zeroed scratch buffer of the full
// transfer length, the caller's bytes are copied into it for writes, and only
// the caller's capacity is copied back for reads. A backend therefore never
// reads or writes past a caller's buffer.
#include <cstdint>

#include "firmware/kvi.h"
#include "provider/Backend.h"

namespace kvi {

Direction toDirection(KVI_XFER_DIR dir);
const char* directionName(Direction dir); // "none", "read", "write", "both"

struct TransferPlan {
    std::uint32_t length = 0; // the real transfer length
    Direction direction = Direction::None;
    bool knownOpcode = false; // the opcode table holds the opcode
};

// The transfer of one request. `length` is the caller's length (0 = standard
// size). `directionOverride` < 0 takes the table's direction. An opcode the
// table does not hold has standard size 0; given an explicit length it moves
// data both ways, since its direction is unknown. An opcode the table marks as
// moving no data, given an explicit length, is treated the same way.
TransferPlan planTransfer(std::uint32_t opcode, std::uint32_t length, int directionOverride = -1);

// Builds the DirectCommand for one request and submits it, bounded as described
// above. `mbox` is the 12-byte mailbox; it is updated with the mailbox after
// completion. `capacity` is the size of `buffer` (0 when buffer is null;
// DpParams::kCapacityUnknown trusts the buffer to hold the transfer). Returns
// the backend's status. `sent`, when not null, receives the plan used.
int submitBounded(Backend& backend, CommandKind kind, std::uint32_t opcode, std::uint8_t* mbox,
                  unsigned char* buffer, std::uint32_t capacity, std::uint32_t length,
                  int directionOverride = -1, TransferPlan* sent = nullptr);

} // namespace kvi
