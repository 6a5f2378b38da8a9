#include "cli/Gate.h"

#include <cstring>

namespace cli {

bool Gate::changes(const kvi::DirectCommand& cmd) {
    return cmd.direction != kvi::Direction::Read;
}

int Gate::submit(kvi::DirectCommand& cmd) {
    if (dryRun_ && cmd.kind == kvi::CommandKind::Firmware && changes(cmd)) {
        HeldRequest r;
        r.opcode = cmd.opcode;
        std::memcpy(r.mbox, cmd.mbox, sizeof r.mbox);
        r.length = cmd.length;
        r.direction = cmd.direction;
        held_.push_back(r);
        // A held request answers success with nothing returned, so the
        // command goes on to list what it would send next.
        if (cmd.direction == kvi::Direction::Both && cmd.data != nullptr)
            std::memset(cmd.data, 0, cmd.length);
        return 0;
    }
    ++sent_;
    return inner_.submit(cmd);
}

int Gate::submitSmp(kvi::SmpCommand& cmd) {
    ++sent_;
    return inner_.submitSmp(cmd);
}

} // namespace cli
