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

struct NamedValue {
    int value;
    const char* name;
};

const NamedValue kCmdOps[] = {
#define KVI_CMD_OP_ROW(name, value) {value, #name},
#include "firmware/kvi_cmdop.def"
};

const NamedValue kXferDirs[] = {
#define KVI_XFER_DIR_ROW(name, value, text) {value, text},
#include "firmware/kvi_xferdir.def"
};

const char* nameOf(const NamedValue* rows, std::size_t n, int value) {
    for (std::size_t i = 0; i < n; ++i)
        if (rows[i].value == value)
            return rows[i].name;
    return nullptr;
}

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
    const char* name = nameOf(kXferDirs, sizeof kXferDirs / sizeof kXferDirs[0], dir);
    return name ? name : "unknown";
}

const char* kviCmdOpName(int op) {
    return nameOf(kCmdOps, sizeof kCmdOps / sizeof kCmdOps[0], op);
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
