// Identity and version strings: the component search over the controller information's image
// table (prefix match, first match wins, a firmware count larger than the record), the backup
// image's package version, the plain text and size fields, and failures.
#include <algorithm>
#include <utility>

#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

constexpr std::size_t kInfoSize = 2464;
constexpr std::size_t kCompCount = 180; // imageComponentCount
constexpr std::size_t kComps = 184;     // imageComponent[0]
constexpr std::size_t kCompSize = 72;

void putText(Bytes& b, std::size_t at, const std::string& text) {
    std::memcpy(b.data() + at, text.data(), text.size());
}

// Controller information with components (name, version) at their table positions.
Bytes info(std::uint32_t count, const std::vector<std::pair<std::string, std::string>>& comps) {
    Bytes b(kInfoSize, 0);
    std::memcpy(b.data() + kCompCount, &count, 4);
    for (std::size_t i = 0; i < comps.size(); ++i) {
        putText(b, kComps + i * kCompSize, comps[i].first);
        putText(b, kComps + i * kCompSize + 8, comps[i].second);
    }
    return b;
}

class IdentityTest : public AdapterFixture {
protected:
    void reset(const Bytes& ctrlInfo) {
        AdapterFixture::reset();
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::ok(ctrlInfo));
    }
};

TEST_F(IdentityTest, ComponentSearchMatchesTheKeyAsAPrefixAndTakesTheFirst) {
    const struct {
        const char* name;
        int (AdapterDataKvi::*fn)(std::string&);
        const char* key;
    } searches[] = {{"getFwVersion", &AdapterDataKvi::getFwVersion, "APP"},
                    {"getBIOSVersion", &AdapterDataKvi::getBIOSVersion, "BIOS"},
                    {"getBootBlkVersion", &AdapterDataKvi::getBootBlkVersion, "BTBL"}};
    for (const auto& s : searches) {
        SCOPED_TRACE(s.name);
        const std::string key = s.key;
        const std::string shortKey = key.substr(0, key.size() - 1);
        // A name of only part of the key does not match; a longer name does; the first wins.
        reset(info(4,
                   {{shortKey, "no"}, {"OTHER", "no"}, {key + "X", "5.1.0-0042"}, {key, "later"}}));
        std::string out = "old";
        EXPECT_EQ((a().*s.fn)(out), 0);
        EXPECT_EQ(out, "5.1.0-0042");

        // Only `count` entries are searched.
        reset(info(2, {{"OTHER", "no"}, {"OTHER", "no"}, {key, "hidden"}}));
        out = "old";
        EXPECT_EQ((a().*s.fn)(out), -1);
        EXPECT_EQ(out, "old");

        reset(info(0, {{key, "zero count"}}));
        EXPECT_EQ((a().*s.fn)(out), -1);
        EXPECT_EQ(out, "old");

        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(kFail));
        obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
        EXPECT_EQ((a().*s.fn)(out), kFail);
        EXPECT_EQ(out, "old");
    }
}

TEST_F(IdentityTest, ComponentSearchWalksTheFirmwareCountButStaysInTheRecord) {
    // Entry 30 is the last one the record has room for; the search reaches it by offset even
    // though the table is declared with eight entries.
    Bytes b = info(1000, {});
    for (std::size_t i = 0; i < 30; ++i) {
        putText(b, kComps + i * kCompSize, "FILL");
    }
    putText(b, kComps + 30 * kCompSize, "APP");
    putText(b, kComps + 30 * kCompSize + 8, "far");
    reset(b);
    std::string out;
    EXPECT_EQ(a().getFwVersion(out), 0);
    EXPECT_EQ(out, "far");
    // No match among all the entries the record holds: -1, nothing read beyond it.
    EXPECT_EQ(a().getBIOSVersion(out), -1);

    // A version filling its 32 bytes is bounded by its field.
    b = info(1, {{"APP", std::string(32, 'v')}});
    putText(b, kComps + 40, "builddate"); // right after the 32-byte version
    reset(b);
    EXPECT_EQ(a().getFwVersion(out), 0);
    EXPECT_EQ(out, std::string(32, 'v'));
}

// Product name and package version as such are in the walk golden of tests/sim.
TEST_F(IdentityTest, PlainFields) {
    Bytes b(kInfoSize, 0);
    putText(b, 1936, std::string("\x00\x02\x80\x00", 4)); // maximum SSC size 512, current 128
    reset(b);
    std::string name;
    unsigned short maxSsc = 0, curSsc = 0;
    EXPECT_EQ(a().getMaxConfigurableSSCSize(&maxSsc), 0);
    EXPECT_EQ(maxSsc, 512);
    EXPECT_EQ(a().getCurrentSSCSize(&curSsc), 0);
    EXPECT_EQ(curSsc, 128);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 1u);

    // A product name filling its whole field is bounded by it.
    Bytes full(kInfoSize, 0);
    putText(full, 1344, std::string(80, 'N'));
    putText(full, 1424, "SERIAL");
    reset(full);
    EXPECT_EQ(a().getProductName(name), 0);
    EXPECT_EQ(name, std::string(80, 'N'));

    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::fail(kFail));
    obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
    name = "keep";
    maxSsc = 7;
    EXPECT_EQ(a().getProductName(name), kFail);
    EXPECT_EQ(a().getPackageVersion(name), kFail);
    EXPECT_EQ(a().getMaxConfigurableSSCSize(&maxSsc), kFail);
    EXPECT_EQ(a().getCurrentSSCSize(&maxSsc), kFail);
    EXPECT_EQ(name, "keep");
    EXPECT_EQ(maxSsc, 7);
}

// ---------------------------------------------------------------------------
// Backup image package version

// The last PACKAGE entry of the backup list wins and is zero-padded to its 32 bytes; a text
// filling the field is not terminated; no entry leaves the buffer alone.
TEST_F(IdentityTest, PackageEntryOfTheBackupList) {
    using Comps = std::vector<std::pair<std::string, std::string>>;
    const std::string p32(32, 'p'), untouched(33, '#');
    const struct {
        bool dual;
        Comps backup;
        int listStatus, rc;
        std::string want; // the 33 bytes of the buffer ('#' untouched)
    } cases[] = {
        // clang-format off
        {true, {{"PACKAGE", "24.1.0-0001"}, {"APP", "x"}, {"PACKAGEX", "24.2.0-0007"}}, 0, 0,
         "24.2.0-0007" + std::string(21, '\0') + "#"},
        {true, {{"PACKAGE", p32}}, 0, 0, p32 + "#"},
        {true, {{"APP", "1"}, {"BIOS", "2"}}, 0, 0, untouched},
        {false, {{"PACKAGE", "never"}}, 0, -1, untouched},
        {true, {{"PACKAGE", "x"}}, kFail, kFail, untouched},
        // clang-format on
    };
    constexpr std::uint32_t kList = KV_DCMD_CTRL_FLASH_COMP_INFO_GET;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.want);
        Bytes b(kInfoSize, 0);
        b[2045] = c.dual ? 0x02 : 0x00; // adapterOperations4.supportDualFWUpdate
        reset(b);
        ctrl.answerB0(kList, 0,
                      c.listStatus ? FakeAnswer::fail(c.listStatus)
                                   : FakeAnswer::ok(imageList({{"APP", "1"}}, 1)));
        ctrl.answerB0(kList, 1, FakeAnswer::ok(imageList({}, 0)));
        ctrl.answerB0(kList, 2, FakeAnswer::ok(imageList(c.backup, c.backup.size())));
        char out[40];
        std::memset(out, '#', sizeof out);
        EXPECT_EQ(a().getlocaleFwVersion(out), c.rc);
        EXPECT_EQ(std::string(out, 33), c.want);
        if (!c.dual) {
            EXPECT_EQ(ctrl.countB0(kList, 2), 0u);
            EXPECT_EQ(a().getlocaleFwVersion(nullptr), -1);
        }
    }
}

} // namespace
