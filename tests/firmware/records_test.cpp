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

// Fields the tool depends on, where the firmware puts them: storage unit offset and size, first
// bit and width (0: not a bit field), and the element an indexed name resolves to. Through the
// registry, which the tests above hold to the structs, and read back from bits set by hand; an
// element of an entry array (lane[1]) counts the stride too. Unknown names, out-of-range or
// malformed indexes and indexed texts resolve to nothing.
TEST(Registry, FieldsSitWhereTheFirmwarePutsThem) {
    constexpr const char *kInfo = "KV_CTRL_INFO", *kLane = "KV_PCIE_LANE_CONNECTIONS",
                         *kMfg = "KV_MFC_MFG";
    const struct {
        const char *record, *path;
        unsigned offset, unitSize, bit, width, index;
    } rows[] = {
        // clang-format off
        {kInfo, "adapterOperations3.supportMaxExtLDs", 2024, 4, 5, 1, 0},
        {kInfo, "adapterOperationExt.adapterOperations6.supportCtrlPropExt", 2124, 4, 3, 1, 0},
        {kInfo, "imageComponent[2].version", 184 + 2 * 72 + 8, 1, 0, 0, 0}, {kInfo, "hostInterface.portAddr[3]", 40, 8, 0, 0, 3},
        {kMfg, "mfgDate.day", 0, 2, 0, 5, 0}, {kMfg, "mfgDate.month", 0, 2, 5, 4, 0}, {kMfg, "mfgDate.year", 0, 2, 9, 7, 0},
        {kLane, "lane[1].wwid", 24, 8, 0, 0, 0}, {kLane, "lane[1].laneIdentifier", 32, 2, 0, 0, 0},
        {kLane, "lane[1].currentClkMode", 34, 1, 0, 2, 0}, {kLane, "lane[1].deviceType", 34, 1, 2, 4, 0},
        {kLane, "lane[1].reserved2", 34, 1, 6, 2, 0}, {kLane, "lane[1].connectorIndex", 35, 1, 0, 0, 0},
        {kLane, "lane[1].supportedLaneSpeed", 36, 4, 0, 8, 0}, {kLane, "lane[1].disabled", 36, 4, 8, 1, 0},
        {kLane, "lane[1].pcieLinkNumber", 36, 4, 9, 6, 0}, {kLane, "lane[1].linkNumberValid", 36, 4, 15, 1, 0},
        {kLane, "lane[1].laneSpeedControl", 36, 4, 16, 8, 0}, {kLane, "lane[1].currentSpeed", 36, 4, 24, 8, 0},
        // clang-format on
    };
    for (const auto& r : rows) {
        const FieldInfo& f = registryField(r.record, r.path);
        EXPECT_EQ((std::vector<unsigned>{f.offset, f.unitSize, f.bit, f.bitWidth}),
                  (std::vector<unsigned>{r.offset, r.unitSize, r.bit, r.width}))
            << r.path;
        const FieldRef ref = findField(*findRecord(r.record), r.path);
        EXPECT_EQ(ref.index, r.index) << r.path;
        // The lowest and highest bit of the value, set by hand, read back at their places.
        const unsigned top = r.bit + (r.width ? r.width : 8 * r.unitSize) - 1;
        for (unsigned b : {r.bit, top}) {
            std::vector<std::uint8_t> img(findRecord(r.record)->size, 0);
            img[r.offset + r.index * r.unitSize + b / 8] = std::uint8_t(1u << (b % 8));
            EXPECT_TRUE(f.kind == FieldKind::Char ||
                        readUnsigned(img.data(), ref) == 1ull << (b - r.bit))
                << r.path << " bit " << b;
        }
    }
    for (const char* path : {"hostInterface.portAddr[8]", "hostInterface.portAddr[x]",
                             "productName[1]", "noSuchField", ""})
        EXPECT_FALSE(findField(*findRecord(kInfo), path)) << path;
    EXPECT_EQ(findRecord("KV_NOT_A_RECORD"), nullptr);
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
