// Names and compile-time sizes generated from the direct-command tables.
#include <gtest/gtest.h>

#include "firmware/kvi.h"

// Directions print in request traces; a value outside the table must not
// borrow a neighbour's name.
TEST(Names, TransferDirections) {
    struct Row {
        int value;
        const char* name;
    };
    const Row rows[] = {
        {KVI_XFER_NONE, "none"}, {KVI_XFER_READ, "read"}, {KVI_XFER_WRITE, "write"},
        {KVI_XFER_BOTH, "both"}, {4, "unknown"},          {255, "unknown"},
    };
    for (const Row& r : rows)
        EXPECT_STREQ(kviXferDirName(static_cast<KVI_XFER_DIR>(r.value)), r.name) << r.value;
}

// Frame kinds are looked up by value: every kind up to the end marker has its
// own name, and values beyond it have none.
TEST(Names, FrameKindsByValue) {
    struct Row {
        int value;
        const char* name;
    };
    const Row rows[] = {
        {0, "KVI_CMD_OP_INIT"}, {3, "KVI_CMD_OP_LD_SCSI"}, {5, "KVI_CMD_OP_DCMD"},
        {8, "KVI_CMD_OP_STP"},  {9, "KVI_CMD_OP_NVME"},    {11, "KVI_CMD_OP_COUNT"},
        {256 + 5, nullptr},
    };
    for (const Row& r : rows) {
        if (r.name == nullptr)
            EXPECT_EQ(kviCmdOpName(r.value), nullptr) << r.value;
        else
            EXPECT_STREQ(kviCmdOpName(r.value), r.name) << r.value;
    }
}

// The compile-time size lookup and the run-time table agree on every opcode,
// and an opcode outside the table has no standard size.
TEST(Names, CompileTimeStandardSizeMatchesTheTable) {
    for (unsigned i = 0; i < kKvDcmdCount; ++i) {
        const KV_DCMD_INFO& row = kvDcmdRow(i);
        EXPECT_EQ(kvDcmdStandardSize(row.opcode), row.standardSize) << row.name;
    }
    static_assert(kvDcmdStandardSize(KV_DCMD_CTRL_GET_INFO) == 2464, "controller information");
    EXPECT_EQ(kvDcmdStandardSize(0xDEADBEEF), 0u);
    EXPECT_EQ(kvDcmdInfo(0xDEADBEEF), nullptr);
}
