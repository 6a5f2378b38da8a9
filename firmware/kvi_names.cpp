// Names and table rows of the direct-command enumerations, generated from the
// .def tables so that enumerators, names, sizes and directions never drift apart.
#include "firmware/kvi.h"
#include "firmware/kvistat.h"

#include <cstdio>

namespace {

const KV_DCMD_INFO kOpcodes[] = {
// The table spells directions None/Read/Write/Both; map them to KVI_XFER_DIR.
#define KV_DIR_None KVI_XFER_NONE
#define KV_DIR_Read KVI_XFER_READ
#define KV_DIR_Write KVI_XFER_WRITE
#define KV_DIR_Both KVI_XFER_BOTH
#define KV_DCMD_ROW(name, value, size, dir) {value, #name, size, KV_DIR_##dir},
#include "firmware/kvi_opcodes.def"
};

const KviStatRow kStatuses[] = {
#define KVI_STAT_ROW(name, value, description) {value, #name, description},
#include "firmware/kvistat.def"
};

const char* const kCmdOpNames[] = {
    "KVI_CMD_OP_INIT",    "KVI_CMD_OP_LD_READ", "KVI_CMD_OP_LD_WRITE", "KVI_CMD_OP_LD_SCSI",
    "KVI_CMD_OP_PD_SCSI", "KVI_CMD_OP_DCMD",    "KVI_CMD_OP_ABORT",    "KVI_CMD_OP_SMP",
    "KVI_CMD_OP_STP",     "KVI_CMD_OP_NVME",    "KVI_CMD_OP_TOOLBOX",  "KVI_CMD_OP_COUNT",
};
static_assert(sizeof(kCmdOpNames) / sizeof(kCmdOpNames[0]) == KVI_CMD_OP_COUNT + 1,
              "one name per frame kind");

const KviStatRow* findStatus(int status) {
    for (const KviStatRow& row : kStatuses)
        if (row.value == status)
            return &row;
    return nullptr;
}

} // namespace

const unsigned kKvDcmdCount = sizeof(kOpcodes) / sizeof(kOpcodes[0]);
const unsigned kKviStatCount = sizeof(kStatuses) / sizeof(kStatuses[0]);

const KV_DCMD_INFO& kvDcmdRow(unsigned i) {
    return kOpcodes[i < kKvDcmdCount ? i : 0];
}

const KV_DCMD_INFO* kvDcmdInfo(std::uint32_t opcode) {
    // About a hundred rows; a linear scan costs nothing next to a command.
    for (const KV_DCMD_INFO& row : kOpcodes)
        if (row.opcode == opcode)
            return &row;
    return nullptr;
}

const char* kvDcmdName(std::uint32_t opcode) {
    const KV_DCMD_INFO* row = kvDcmdInfo(opcode);
    return row ? row->name : nullptr;
}

const char* kviXferDirName(KVI_XFER_DIR dir) {
    switch (dir) {
    case KVI_XFER_NONE:
        return "none";
    case KVI_XFER_READ:
        return "read";
    case KVI_XFER_WRITE:
        return "write";
    case KVI_XFER_BOTH:
        return "both";
    }
    return "unknown";
}

const char* kviCmdOpName(int op) {
    if (op < 0 || op > KVI_CMD_OP_COUNT)
        return nullptr;
    return kCmdOpNames[op];
}

const KviStatRow& kviStatRow(unsigned i) {
    return kStatuses[i < kKviStatCount ? i : 0];
}

const char* kviStatusEnumName(int status) {
    const KviStatRow* row = findStatus(status);
    return row ? row->name : nullptr;
}

const char* kviStatusDescription(int status) {
    const KviStatRow* row = findStatus(status);
    return row ? row->description : nullptr;
}

std::string kviStatusName(int status) {
    if (const char* name = kviStatusEnumName(status))
        return name;
    char text[16];
    std::snprintf(text, sizeof text, "0x%02x", static_cast<unsigned>(status));
    return text;
}
