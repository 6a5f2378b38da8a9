// Record layouts: every registry row is checked against the structs of kv.h, every
// flag word is probed one bit at a time through the structs, and a few rows the
// rest of the tool depends on are pinned by hand.
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "firmware/fields.h"
#include "firmware/kv.h"

using namespace kvi::fields;

namespace {

// Plain data with function pointers, so the table is built at compile time
// (a table of std::function would need one huge initialiser function).
struct StructAccess {
    const char* record;
    const char* path;
    std::size_t offset; // offsetof through the struct (non-bit fields)
    std::size_t size;   // sizeof the member
    bool bitField;
    // Bit fields: write a value through the struct / read one back through it.
    void (*set)(std::uint8_t*, std::uint64_t);
    std::uint64_t (*get)(const std::uint8_t*);
};

// clang-format off
#define KVI_RECORD(rec, size)
#define KVI_FIELD(rec, member, off, usz, cnt, kind) \
    {#rec, #member, offsetof(rec, member), sizeof(std::declval<rec&>().member), false, nullptr, nullptr},
#define KVI_BITFIELD(rec, member, off, usz, bit, width) \
    {#rec, #member, 0, 0, true, \
     [](std::uint8_t* img, std::uint64_t v) { rec r; std::memcpy(&r, img, sizeof r); r.member = v; std::memcpy(img, &r, sizeof r); }, \
     [](const std::uint8_t* img) { rec r; std::memcpy(&r, img, sizeof r); return std::uint64_t(r.member); }},
// clang-format on
const StructAccess kStructAccess[] = {
#include "firmware/kv_fields.def"
};
#undef KVI_RECORD
#undef KVI_FIELD
#undef KVI_BITFIELD

#define KVI_RECORD(rec, size) {#rec, sizeof(rec)},
#define KVI_FIELD(rec, member, off, usz, cnt, kind)
#define KVI_BITFIELD(rec, member, off, usz, bit, width)
const std::map<std::string, std::size_t> kStructSizes = {
#include "firmware/kv_fields.def"
};
#undef KVI_RECORD
#undef KVI_FIELD
#undef KVI_BITFIELD

const FieldInfo& registryField(const std::string& record, const std::string& path) {
    const RecordInfo* rec = findRecord(record);
    EXPECT_NE(rec, nullptr) << record;
    FieldRef ref = findField(*rec, path);
    EXPECT_TRUE(ref) << record << "." << path;
    return *ref.field;
}

} // namespace

TEST(Registry, EveryRecordSizeMatchesItsStruct) {
    std::size_t n = 0;
    const RecordInfo* all = records(&n);
    ASSERT_EQ(n, kStructSizes.size());
    for (std::size_t i = 0; i < n; ++i) {
        EXPECT_EQ(all[i].size, kStructSizes.at(all[i].name)) << all[i].name;
        EXPECT_GT(all[i].fieldCount, 0u) << all[i].name;
    }
}

TEST(Registry, EveryFieldMatchesItsStructMember) {
    for (const StructAccess& s : kStructAccess) {
        const FieldInfo& f = registryField(s.record, s.path);
        const RecordInfo* rec = findRecord(s.record);
        ASSERT_LE(f.offset + f.byteSize(), rec->size) << s.record << "." << s.path;
        if (!s.bitField) {
            EXPECT_EQ(s.offset, f.offset) << s.record << "." << s.path;
            EXPECT_EQ(s.size, f.byteSize()) << s.record << "." << s.path;
            continue;
        }
        // All ones through the struct must set exactly the registry's bits.
        std::vector<std::uint8_t> viaStruct(rec->size, 0), viaRegistry(rec->size, 0);
        s.set(viaStruct.data(), maxUnsigned(f));
        ASSERT_TRUE(writeUnsigned(viaRegistry.data(), {&f, 0}, maxUnsigned(f)));
        EXPECT_EQ(viaStruct, viaRegistry) << s.record << "." << s.path;
    }
}

// Set one bit of a zeroed flag word and read every flag of that word through the
// structs: only the flag that owns the bit may see it, at the right position.
TEST(Registry, EachFlagWordBitReadsBackThroughExactlyOneField) {
    std::map<std::string, std::vector<const StructAccess*>> units; // "REC@offset" -> fields
    for (const StructAccess& s : kStructAccess)
        if (s.bitField)
            units[std::string(s.record) + "@" +
                  std::to_string(registryField(s.record, s.path).offset)]
                .push_back(&s);
    ASSERT_FALSE(units.empty());
    for (const auto& [key, fields] : units) {
        const FieldInfo& first = registryField(fields.front()->record, fields.front()->path);
        const RecordInfo* rec = findRecord(fields.front()->record);
        for (unsigned bit = 0; bit < 8u * first.unitSize; ++bit) {
            std::vector<std::uint8_t> img(rec->size, 0);
            img[first.offset + bit / 8] = std::uint8_t(1u << (bit % 8));
            for (const StructAccess* s : fields) {
                const FieldInfo& f = registryField(s->record, s->path);
                std::uint64_t want = (bit >= f.bit && bit < unsigned(f.bit + f.bitWidth))
                                         ? 1ull << (bit - f.bit)
                                         : 0;
                EXPECT_EQ(s->get(img.data()), want) << key << " bit " << bit << " " << s->path;
            }
        }
    }
}

// Rows the adapter's decisions hang on, checked against the controller's own numbers. (The
// adapter tests pin the positions of the flags they read through raw record bytes.)
TEST(Registry, KeyControllerFlagsSitWhereTheFirmwarePutsThem) {
    struct Row {
        const char* record;
        const char* path;
        unsigned byte; // byte that holds the flag
        unsigned bitInByte;
    };
    const Row rows[] = {
        {"KV_CTRL_INFO", "adapterOperations3.supportMaxExtLDs", 2024, 5},
        {"KV_CTRL_INFO", "adapterOperationExt.adapterOperations6.supportCtrlPropExt", 2124, 3},
    };
    for (const Row& r : rows) {
        const FieldInfo& f = registryField(r.record, r.path);
        std::vector<std::uint8_t> img(findRecord(r.record)->size, 0);
        img[r.byte] = std::uint8_t(1u << r.bitInByte);
        EXPECT_EQ(f.bitWidth, 1) << r.path;
        EXPECT_EQ(readUnsigned(img.data(), {&f, 0}), 1u) << r.path;
    }
}

TEST(Records, ManufacturingDatePacksDayMonthYear) {
    KV_MFC_MFG mfg{};
    const std::uint8_t word[2] = {0x21, 0x32}; // 0x3221: day 1, month 1, year 25
    std::memcpy(&mfg.mfgDate, word, 2);
    EXPECT_EQ(mfg.mfgDate.day, 1u);
    EXPECT_EQ(mfg.mfgDate.month, 1u);
    EXPECT_EQ(mfg.mfgDate.year, 25u);
}

// One lane entry packed by hand (lane 1 of the table, so the entry stride counts
// too), read back through the struct and through the registry.
TEST(Records, LaneEntryDecodesHandPackedBytes) {
    const std::uint8_t entry[16] = {
        0xEF, 0xBE, 0xAD, 0xDE, 0x00, 0xC5, 0x00, 0x50, // wwid
        0x03, 0x02,                                     // laneIdentifier
        0xB5,                                           // 10 110101: 2 | 13 | 1
        0x04,                                           // connectorIndex
        0x07, 0xB3, 0x22, 0x8C, // speeds 7, disabled 1, link 25, valid 1, control 0x22, 0x8C
    };
    KV_PCIE_LANE_CONNECTIONS table{};
    std::vector<std::uint8_t> img(sizeof table, 0);
    std::memcpy(img.data() + 24, entry, sizeof entry);
    std::memcpy(&table, img.data(), sizeof table);
    const KV_PCIE_LANE_CONNECTION& lane = table.lane[1];
    struct Row {
        const char* field;
        std::uint64_t want;
        std::uint64_t viaStruct;
    };
    const Row rows[] = {
        {"wwid", 0x5000C500DEADBEEFull, lane.wwid},
        {"laneIdentifier", 0x0203, lane.laneIdentifier},
        {"currentClkMode", 1, lane.currentClkMode},
        {"deviceType", 13, lane.deviceType},
        {"reserved2", 2, lane.reserved2},
        {"connectorIndex", 4, lane.connectorIndex},
        {"supportedLaneSpeed", 7, lane.supportedLaneSpeed},
        {"disabled", 1, lane.disabled},
        {"pcieLinkNumber", 25, lane.pcieLinkNumber},
        {"linkNumberValid", 1, lane.linkNumberValid},
        {"laneSpeedControl", 0x22, lane.laneSpeedControl},
        {"currentSpeed", 0x8C, lane.currentSpeed},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(r.viaStruct, r.want) << r.field;
        const FieldInfo& inTable =
            registryField("KV_PCIE_LANE_CONNECTIONS", std::string("lane[1].") + r.field);
        EXPECT_EQ(readUnsigned(img.data(), {&inTable, 0}), r.want) << r.field;
        const FieldInfo& inEntry = registryField("KV_PCIE_LANE_CONNECTION", r.field);
        EXPECT_EQ(readUnsigned(entry, {&inEntry, 0}), r.want) << r.field;
    }
}

TEST(Records, TextFieldsAreBoundedByTheirWidth) {
    std::vector<std::uint8_t> img(sizeof(KV_CTRL_INFO), 'X');
    const FieldInfo& f = registryField("KV_CTRL_INFO", "serialNo");
    EXPECT_EQ(readText(img.data(), f), std::string(32, 'X')); // no terminator in the record
    EXPECT_TRUE(writeText(img.data(), f, "SV12345"));
    EXPECT_EQ(readText(img.data(), f), "SV12345");
    EXPECT_EQ(img[f.offset + 31], 0);
    EXPECT_EQ(img[f.offset + 32], 'X'); // the neighbour is untouched
    EXPECT_FALSE(writeText(img.data(), f, std::string(33, 'a')));
}

TEST(Registry, LookupResolvesArrayElementsAndRejectsUnknownNames) {
    const RecordInfo* info = findRecord("KV_CTRL_INFO");
    ASSERT_NE(info, nullptr);
    struct Case {
        const char* path;
        bool found;
        unsigned offset;
        unsigned index;
    };
    const Case cases[] = {
        {"imageComponent[2].version", true, 184 + 2 * 72 + 8, 0},
        {"hostInterface.portAddr[3]", true, 40, 3},
        {"hostInterface.portAddr[8]", false, 0, 0},
        {"hostInterface.portAddr[x]", false, 0, 0},
        {"productName[1]", false, 0, 0}, // text fields are not indexed
        {"noSuchField", false, 0, 0},
        {"", false, 0, 0},
    };
    for (const Case& c : cases) {
        FieldRef ref = findField(*info, c.path);
        EXPECT_EQ(bool(ref), c.found) << c.path;
        if (ref && c.found) {
            EXPECT_EQ(ref.field->offset, c.offset) << c.path;
            EXPECT_EQ(ref.index, c.index) << c.path;
        }
    }
    EXPECT_EQ(findRecord("KV_NOT_A_RECORD"), nullptr);
}

TEST(Registry, WritesCheckTheFieldWidthAndKeepNeighbours) {
    const RecordInfo* info = findRecord("KV_CTRL_PROP");
    std::vector<std::uint8_t> img(info->size, 0xA5);
    FieldRef mode = findField(*info, "perfTuners.mode"); // 2-bit field at byte 47
    ASSERT_TRUE(mode);
    EXPECT_FALSE(writeUnsigned(img.data(), mode, 4));
    EXPECT_TRUE(writeUnsigned(img.data(), mode, 2));
    EXPECT_EQ(img[47], (0xA5 & ~0x03) | 0x02);
    EXPECT_EQ(readUnsigned(img.data(), mode), 2u);
    FieldRef leak = findField(*info, "eccBucketLeakRate"); // u16 at 22
    EXPECT_TRUE(writeUnsigned(img.data(), leak, 0x1234));
    EXPECT_EQ(img[22], 0x34);
    EXPECT_EQ(img[23], 0x12);
    EXPECT_EQ(img[24], 0xA5);
    FieldRef current = findField(*findRecord("KV_BBU_STATUS"), "current"); // s16
    std::vector<std::uint8_t> bbu(64, 0);
    EXPECT_TRUE(writeSigned(bbu.data(), current, -2));
    EXPECT_EQ(readSigned(bbu.data(), current), -2);
    // The ends of the s16 range are stored; one past either end is refused.
    for (std::int64_t v : {-32768, 32767})
        EXPECT_TRUE(writeSigned(bbu.data(), current, v) && readSigned(bbu.data(), current) == v);
    EXPECT_FALSE(writeSigned(bbu.data(), current, 32768));
    EXPECT_FALSE(writeSigned(bbu.data(), current, -32769));
}
