// The opcode and status tables: names, uniqueness, standard sizes and
// directions.
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
    // The opcode values themselves are pinned by the walk's goldens (hex opcode of
    // each request); the driver's, sent outside the walk, here.
    EXPECT_EQ(std::uint32_t(KV_DRV_GET_DRIVER_VERSION), 0xF0010100u);
    EXPECT_EQ(kvDcmdInfo(0x01010001), nullptr);
    EXPECT_EQ(kvDcmdName(0xDEADBEEF), nullptr);
}

// Standard sizes and directions: a record command's size is its record's, so a record that
// changes size cannot drift from the table; the others have fixed sizes or move no data.
TEST(OpcodeTable, StandardSizesAndDirections) {
    constexpr KVI_XFER_DIR R = KVI_XFER_READ, W = KVI_XFER_WRITE, B = KVI_XFER_BOTH,
                           N = KVI_XFER_NONE;
    const struct {
        std::uint32_t opcode;
        std::size_t size;
        KVI_XFER_DIR dir;
    } rows[] = {
        // clang-format off
        {KV_DCMD_CTRL_GET_INFO, sizeof(KV_CTRL_INFO), R}, {KV_DCMD_CTRL_PROPERTIES_GET, sizeof(KV_CTRL_PROP), R},
        {KV_DCMD_CTRL_PROPERTIES_SET, sizeof(KV_CTRL_PROP), W}, {KV_DCMD_CTRL_MFC_DEFAULTS_GET, sizeof(KV_MFC_DEFAULTS), R},
        {KV_DCMD_CTRL_MFC_DEFAULTS_SET, sizeof(KV_MFC_DEFAULTS), W}, {KV_DCMD_CTRL_BIOS_DATA_GET, sizeof(KV_BIOS_DATA), R},
        {KV_DCMD_CTRL_BIOS_DATA_SET, sizeof(KV_BIOS_DATA), W}, {KV_DCMD_BBU_GET_STATUS, sizeof(KV_BBU_STATUS), R},
        {KV_DCMD_BBU_GET_CAPACITY_INFO, sizeof(KV_BBU_CAPACITY_INFO), R}, {KV_DCMD_BBU_GET_DESIGN_INFO, sizeof(KV_BBU_DESIGN_INFO), R},
        {KV_DCMD_BBU_PROPERTIES_GET, sizeof(KV_BBU_PROPERTIES), R}, {KV_DCMD_BBU_PROPERTIES_SET, sizeof(KV_BBU_PROPERTIES), W},
        {KV_DCMD_CFG_GET_ALLOWED_OPS, sizeof(KV_CONFIG_ALLOWED_OPS), R}, {KV_DCMD_CTRL_PR_GET_PROPERTIES, sizeof(KV_PR_PROPERTIES), R},
        {KV_DCMD_CTRL_PR_SET_PROPERTIES, sizeof(KV_PR_PROPERTIES), W}, {KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, sizeof(KV_CC_SCHEDULE_PROPERTIES), R},
        {KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES, sizeof(KV_CC_SCHEDULE_PROPERTIES), W}, {KV_DCMD_CTRL_PR_GET_STATUS, sizeof(KV_PR_STATUS), R},
        {KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS, sizeof(KV_CC_SCHEDULE_STATUS), R}, {KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST, sizeof(KV_SAS_MUX_LIST), R},
        {KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST, sizeof(KV_SAS_MUX_LIST), W}, {KV_DCMD_SAS_CONFIG_GET_CONNECTORS, sizeof(KV_SAS_CONNECTORS), R},
        {KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS, sizeof(KV_SAS_PHY_CONNECTIONS), R}, {KV_DCMD_CTRL_TIME_GET, sizeof(KV_TIME_STAMP), R},
        {KV_DCMD_CTRL_EVENT_GET_INFO, sizeof(KV_EVT_LOG_INFO), R}, {KV_DCMD_CTRL_HOST_INFO_GET, sizeof(KV_HOST_INFO), R},
        {KV_DCMD_CTRL_MFC_MFG_GET, sizeof(KV_MFC_MFG), R}, {KV_DCMD_CTRL_PERSONALITY_GET, sizeof(KV_CTRL_PERSONALITY_INFO), R},
        {KV_DRV_GET_DRIVER_VERSION, sizeof(KV_DRV_DRIVER_VERSION), R}, {KV_DCMD_CTRL_AEC_GET_SETTINGS, sizeof(KV_AEC_SETTINGS), R},
        {KV_DCMD_CTRL_LOCK_KEY_CREATE, sizeof(KV_CTRL_LOCK_KEY_PARAMS), W}, {KV_DCMD_CTRL_LOCK_KEY_REKEY, sizeof(KV_CTRL_LOCK_KEY_FROM_ESCROW), W},
        {KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, sizeof(KV_CTRL_LOCK_KEY_FROM_ESCROW), W}, {KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, sizeof(KV_CTRL_LOCK_KEY_FROM_ESCROW), W},
        {KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, sizeof(KV_CTRL_LOCK_KEY_PASSPHRASE), R},
        {KV_DCMD_CTRL_FLASH_COMP_INFO_GET, 8 + 72, R}, // the head and one entry
        {KV_DCMD_CTRL_ALARM_GET, 1, R}, {KV_DCMD_CTRL_EVENT_COUNT, 4, R}, {KV_DCMD_CTRL_OEM_ID_GET, 4, R},
        {KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, 256, R}, {KV_DCMD_CTRL_LOCK_KEY_KEYID_SET, 256, W}, {KV_DCMD_LD_LIST_QUERY, 16, R},
        {KV_DCMD_CTRL_NVCACHE_ERASE, 16, R}, {KV_DCMD_CTRL_MFC_MFG_2_GET, 32, R}, {KV_DCMD_CTRL_AEC_GET, 32768, R},
        {KV_DCMD_PCIE_CONFIG_GET_LANE_CONNECTIONS, 392, R}, {KV_DCMD_CFG_AUTOCFG, 8, B}, {KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, 256, B},
        {KV_DCMD_CTRL_ALARM_ENABLE, 0, N}, {KV_DCMD_CTRL_ALARM_DISABLE, 0, N}, {KV_DCMD_CTRL_ALARM_SILENCE, 0, N},
        {KV_DCMD_CTRL_EVENT_CLEAR, 0, N}, {KV_DCMD_CTRL_SHUTDOWN, 0, N}, {KV_DCMD_CTRL_PR_START, 0, N},
        {KV_DCMD_CTRL_PR_SUSPEND_RESUME, 0, N}, {KV_DCMD_CTRL_SET_FACTORY_DEFAULTS, 0, N}, {KV_DCMD_CTRL_MFC_DEFAULTS_SASADDR_SET, 0, N},
        {KV_DCMD_CTRL_CACHE_FLUSH, 0, N}, {KV_DCMD_CTRL_LOCK_KEY_DESTROY, 0, N}, {KV_DCMD_CTRL_AEC_CONTROL, 0, N},
        {KV_DCMD_BBU_LEARN, 0, N}, {KV_DCMD_SAS_CONFIG_SET_LINK_SPEED, 0, N},
        // clang-format on
    };
    for (const auto& r : rows) {
        const KV_DCMD_INFO* row = kvDcmdInfo(r.opcode);
        ASSERT_NE(row, nullptr) << std::hex << r.opcode;
        EXPECT_EQ(row->standardSize, r.size) << row->name;
        EXPECT_EQ(row->direction, r.dir) << row->name;
    }
}

TEST(StatusNames, KnownStatusesByNameAndUnknownAsHex) {
    struct Row {
        int status;
        const char* name;
    };
    const Row rows[] = {
        {0x00, "KVI_STAT_OK"},
        {0x01, "KVI_STAT_INVALID_CMD"},
        {0x02, "KVI_STAT_INVALID_DCMD"},
        {0x9a, "0x9a"},
        {0x21, "0x21"},
        {0x0c, "0x0c"}, // numbers the interface gives no meaning keep none
        {0x07, "0x07"},
    }; // 0x03, 0x04, 0x22 and 0xFF are named in the fault matrix's messages
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
