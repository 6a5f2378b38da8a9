// The opcode and status tables: names, uniqueness, sizes and directions.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"

namespace {

TEST(OpcodeTable, EveryRowIsNamedUniqueAndFoundByValue) {
    ASSERT_EQ(kKvDcmdCount, 97u);
    std::set<std::uint32_t> values;
    std::set<std::string> names;
    for (unsigned i = 0; i < kKvDcmdCount; ++i) {
        const KV_DCMD_INFO& row = kvDcmdRow(i);
        SCOPED_TRACE(row.name);
        std::string name = row.name;
        EXPECT_TRUE(name.rfind("KV_DCMD_", 0) == 0 || name.rfind("KV_DRV_", 0) == 0);
        EXPECT_TRUE(values.insert(row.opcode).second) << "duplicate value";
        EXPECT_TRUE(names.insert(name).second) << "duplicate name";
        ASSERT_EQ(kvDcmdInfo(row.opcode), &row);
        EXPECT_STREQ(kvDcmdName(row.opcode), row.name);
        // A row moves data exactly when it has a size.
        EXPECT_EQ(row.direction == KVI_XFER_NONE, row.standardSize == 0);
        // The command class byte is one the firmware defines.
        std::set<unsigned> classes = {0x01, 0x03, 0x04, 0x05, 0x07, 0x0A, 0x0B, 0x0C, 0xF0};
        EXPECT_TRUE(classes.count(row.opcode >> 24)) << std::hex << row.opcode;
    }
    // Opcode values, standard sizes and directions are pinned by the walk's goldens (each
    // request's opcode, length and direction) and the request tests; those the walk never sends
    // (the driver's and a few data-free commands) here.
    for (std::uint32_t op : {KV_DCMD_CTRL_ALARM_ENABLE, KV_DCMD_CTRL_ALARM_SILENCE,
                             KV_DCMD_CTRL_MFC_DEFAULTS_SASADDR_SET})
        EXPECT_EQ(kvDcmdInfo(op)->direction, KVI_XFER_NONE) << kvDcmdName(op);
    EXPECT_EQ(kvDcmdInfo(KV_DRV_GET_DRIVER_VERSION)->standardSize, sizeof(KV_DRV_DRIVER_VERSION));
    EXPECT_EQ(std::uint32_t(KV_DRV_GET_DRIVER_VERSION), 0xF0010100u);
    EXPECT_EQ(kvDcmdInfo(0x01010001), nullptr);
    EXPECT_EQ(kvDcmdName(0xDEADBEEF), nullptr);
}

TEST(StatusNames, KnownStatusesByNameAndUnknownAsHex) {
    struct Row {
        int status;
        const char* name;
    };
    // Numbers the interface gives no meaning keep none; 0x03, 0x04, 0x22 and 0xFF are named in
    // the fault matrix's messages.
    const Row rows[] = {{0x00, "KVI_STAT_OK"},
                        {0x01, "KVI_STAT_INVALID_CMD"},
                        {0x02, "KVI_STAT_INVALID_DCMD"},
                        {0x9a, "0x9a"},
                        {0x21, "0x21"},
                        {0x0c, "0x0c"},
                        {0x07, "0x07"}};
    for (const Row& r : rows)
        EXPECT_EQ(kviStatusName(r.status), r.name);
    EXPECT_EQ(kviStatusEnumName(0x9a), nullptr);
    EXPECT_EQ(kviStatusDescription(0x9a), nullptr);
}

TEST(StatusNames, TableRowsAreUniqueAndDescribed) {
    std::set<int> values;
    for (unsigned i = 0; i < kKviStatCount; ++i) {
        const KviStatRow& row = kviStatRow(i);
        EXPECT_TRUE(values.insert(row.value).second) << row.name;
        EXPECT_EQ(kviStatusName(row.value), row.name);
        ASSERT_NE(row.description, nullptr);
        EXPECT_GT(std::strlen(row.description), 0u);
    }
}

} // namespace
