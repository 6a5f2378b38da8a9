#include "provider/Transfer.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "provider/DpParams.h"

namespace kvi {

static_assert(static_cast<int>(Direction::None) == KVI_XFER_NONE &&
                  static_cast<int>(Direction::Read) == KVI_XFER_READ &&
                  static_cast<int>(Direction::Write) == KVI_XFER_WRITE &&
                  static_cast<int>(Direction::Both) == KVI_XFER_BOTH,
              "the backend's directions and the opcode table's directions agree");

Direction toDirection(KVI_XFER_DIR dir) {
    return static_cast<Direction>(dir & 3u);
}

const char* directionName(Direction dir) {
    return kviXferDirName(static_cast<KVI_XFER_DIR>(static_cast<std::uint8_t>(dir)));
}

TransferPlan planTransfer(std::uint32_t opcode, std::uint32_t length, int directionOverride) {
    TransferPlan plan;
    const KV_DCMD_INFO* row = kvDcmdInfo(opcode);
    plan.knownOpcode = row != nullptr;
    plan.length = length != 0 ? length : (row ? row->standardSize : 0);
    if (directionOverride >= 0)
        plan.direction = toDirection(static_cast<KVI_XFER_DIR>(directionOverride));
    else if (row && !(row->direction == KVI_XFER_NONE && length != 0))
        plan.direction = toDirection(row->direction);
    else
        plan.direction = plan.length != 0 ? Direction::Both : Direction::None;
    // A request without a data phase carries no length.
    if (plan.direction == Direction::None)
        plan.length = 0;
    return plan;
}

int submitBounded(Backend& backend, CommandKind kind, std::uint32_t opcode, std::uint8_t* mbox,
                  unsigned char* buffer, std::uint32_t capacity, std::uint32_t length,
                  int directionOverride, TransferPlan* sent) {
    TransferPlan plan = planTransfer(opcode, length, directionOverride);
    if (sent)
        *sent = plan;

    DirectCommand cmd;
    cmd.kind = kind;
    cmd.opcode = opcode;
    if (mbox)
        std::memcpy(cmd.mbox, mbox, sizeof cmd.mbox);
    cmd.length = plan.length;
    cmd.direction = plan.direction;

    std::uint32_t room = 0;
    if (buffer)
        room = capacity == DcmdKviDpParams::kCapacityUnknown ? plan.length : capacity;

    std::vector<unsigned char> scratch;
    bool useScratch = plan.length != 0 && room < plan.length;
    if (plan.length == 0) {
        cmd.data = nullptr;
    } else if (useScratch) {
        // The caller's buffer is smaller than the transfer: the backend works on
        // a zeroed buffer of the full length and only `room` bytes cross over.
        scratch.assign(plan.length, 0);
        if (buffer && room &&
            (plan.direction == Direction::Write || plan.direction == Direction::Both))
            std::memcpy(scratch.data(), buffer, room);
        cmd.data = scratch.data();
    } else {
        cmd.data = buffer;
    }

    int status = backend.submit(cmd);

    if (useScratch && buffer && room &&
        (plan.direction == Direction::Read || plan.direction == Direction::Both))
        std::memcpy(buffer, scratch.data(), std::min<std::uint32_t>(room, plan.length));
    if (mbox)
        std::memcpy(mbox, cmd.mbox, sizeof cmd.mbox);
    return status;
}

} // namespace kvi
