// Names and compile-time sizes generated from the direct-command tables.
#include <gtest/gtest.h>

#include "firmware/kvi.h"

// Directions print in request traces and frame kinds are looked up by value:
// a value outside a table must not borrow a neighbour's name.
TEST(Names, TransferDirectionsAndFrameKinds) {
    const struct {
        int value;
        const char* name;
    } dirs[] = {{KVI_XFER_NONE, "none"}, {KVI_XFER_READ, "read"}, {KVI_XFER_WRITE, "write"},
                {KVI_XFER_BOTH, "both"}, {4, "unknown"},          {255, "unknown"}};
    for (const auto& r : dirs)
        EXPECT_STREQ(kviXferDirName(static_cast<KVI_XFER_DIR>(r.value)), r.name) << r.value;
    const struct {
        int value;
        const char* name;
    } kinds[] = {{0, "KVI_CMD_OP_INIT"},
                 {3, "KVI_CMD_OP_LD_SCSI"},
                 {5, "KVI_CMD_OP_DCMD"},
                 {7, "KVI_CMD_OP_SMP"},
                 {8, "KVI_CMD_OP_STP"},
                 {9, "KVI_CMD_OP_NVME"},
                 {11, "KVI_CMD_OP_COUNT"},
                 {12, nullptr},
                 {-1, nullptr},
                 {256 + 5, nullptr}};
    for (const auto& r : kinds) {
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
