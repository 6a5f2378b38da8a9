// The request path: standard-size rule, buffer bound, direction, the mailbox
// read back, request kinds and PCI information. The mailbox bytes each request
// carries are in the walk's goldens.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Controller.h"
#include "provider/Transfer.h"
#include "tests/support/FakeController.h"

namespace {

using kvi::Direction;
using kvitest::Bytes;
using kvitest::FakeAnswer;
using kvitest::FakeController;
using kvitest::RequestKind;

Bytes pattern(std::size_t n, std::uint8_t start = 1) {
    Bytes b(n);
    for (std::size_t i = 0; i < n; ++i)
        b[i] = static_cast<std::uint8_t>(start + i);
    return b;
}

// Length 0 takes the opcode's standard size and direction, an explicit length wins; the backend
// moves the whole transfer and the caller's buffer gets at most its capacity (ASan checks the
// bound); no capacity stated trusts the transfer length.
TEST(Request, TransferLengthDirectionAndTheCallersBound) {
    constexpr int kNoBuffer = 0, kUnstated = -1;
    const struct {
        std::uint32_t opcode, length;
        int capacity;
        std::uint32_t wantLength;
        Direction dir;
    } rows[] = {
        {KV_DCMD_CTRL_GET_INFO, 0, 4096, 2464, Direction::Read},
        {KV_DCMD_CFG_AUTOCFG, 0, 4096, 8, Direction::Both},
        {KV_DCMD_CTRL_CACHE_FLUSH, 0, 4096, 0, Direction::None},
        {KV_DCMD_BBU_GET_STATUS, 0, 64, 64, Direction::Read},
        {KV_DCMD_CTRL_GET_INFO, 0, 100, 2464, Direction::Read},
        {KV_DCMD_CTRL_ALARM_GET, 0, kNoBuffer, 1, Direction::Read},
        {KV_DCMD_CTRL_PROPERTIES_GET, 128, 128, 128, Direction::Read},
        {KV_DCMD_CTRL_EVENT_COUNT, 0, kUnstated, 4, Direction::Read},
        {KV_DCMD_CTRL_MFC_MFG_GET, 0, 32, 32, Direction::Read},
    };
    for (const auto& r : rows) {
        FakeController ctrl;
        ctrl.answer(r.opcode, FakeAnswer::ok(pattern(500 + r.wantLength)));
        Bytes buf(4096 + 1, 0xEE);
        unsigned char* data = r.capacity == kNoBuffer ? nullptr : buf.data();
        const auto room = static_cast<std::uint32_t>(r.capacity < 0 ? 4096 : r.capacity);
        auto req = r.capacity == kUnstated
                       ? DcmdKviDpParams(r.opcode, 0, 0, 0, data, r.length, 0, 0)
                       : DcmdKviDpParams(r.opcode, 0, 0, 0, data, r.length, 0, 0, room);
        EXPECT_EQ(ctrl.execute(&req), 0);
        const kvitest::FakeRequest* sent = ctrl.last(r.opcode);
        ASSERT_NE(sent, nullptr);
        SCOPED_TRACE(sent->describe());
        EXPECT_EQ(sent->callerLength, r.length);
        EXPECT_EQ(sent->length, r.wantLength);
        EXPECT_EQ(sent->direction, r.dir);
        EXPECT_EQ(sent->callerBuffer, data != nullptr);
        EXPECT_EQ(sent->capacity, r.capacity == kUnstated ? DpParams::kCapacityUnknown
                                                          : static_cast<std::uint32_t>(r.capacity));
        if (data != nullptr && r.dir == Direction::Read) {
            const std::size_t got = std::min(room, r.wantLength);
            EXPECT_EQ(Bytes(buf.begin(), buf.begin() + got), pattern(got));
            EXPECT_EQ(buf[got], 0xEE);
        }
    }
}

TEST(Request, SmallCallerBufferOnAWriteSendsItsBytesThenZeros) {
    FakeController ctrl;
    std::vector<unsigned char> small = pattern(10, 0x41);
    DcmdKviDpParams req(KV_DCMD_CTRL_PROPERTIES_SET, 0, 0, 0, small.data(), 0, 0, 0, 10);
    ASSERT_EQ(ctrl.execute(&req), 0);
    const kvitest::FakeRequest* sent = ctrl.last(KV_DCMD_CTRL_PROPERTIES_SET);
    ASSERT_NE(sent, nullptr);
    Bytes expected = pattern(10, 0x41);
    expected.resize(64, 0);
    EXPECT_EQ(sent->sent, expected);
}

TEST(Request, TransferPlanForUnknownAndDataFreeOpcodes) {
    struct Row {
        std::uint32_t opcode;
        std::uint32_t length;
        int over;
        std::uint32_t wantLen;
        Direction wantDir;
    };
    const Row rows[] = {
        {0x0199FF00, 0, -1, 0, Direction::None},   // unknown, no length
        {0x0199FF00, 24, -1, 24, Direction::Both}, // unknown, explicit length
        {KV_DCMD_CTRL_PR_START, 0, -1, 0, Direction::None},
        {KV_DCMD_CTRL_PR_START, 12, -1, 12, Direction::Both}, // data on a data-free opcode
        {KV_DCMD_CTRL_GET_INFO, 0, KVI_XFER_BOTH, 2464, Direction::Both},
        {KV_DCMD_CTRL_GET_INFO, 0, KVI_XFER_NONE, 0, Direction::None},
    };
    for (const Row& r : rows) {
        kvi::TransferPlan plan = kvi::planTransfer(r.opcode, r.length, r.over);
        EXPECT_EQ(plan.length, r.wantLen) << std::hex << r.opcode;
        EXPECT_EQ(plan.direction, r.wantDir) << std::hex << r.opcode;
    }
}

TEST(Request, DirectionOverrideReachesTheBackend) {
    FakeController ctrl;
    std::vector<unsigned char> page(256);
    DcmdKviDpParams req(KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, 0, 0, 0, page.data(), 0, 0, 0, 256);
    req.setDirection(KVI_XFER_READ);
    ctrl.execute(&req);
    EXPECT_EQ(ctrl.lastRequest()->direction, Direction::Read);
    EXPECT_TRUE(ctrl.lastRequest()->sent.empty());
}

// The word form (the adapter's requests, in the walk's goldens, use the byte form).
TEST(Request, MailboxWordsAreLittleEndianInOrder) {
    FakeController ctrl;
    DcmdKviDpParams words(KV_DCMD_CTRL_EVENT_GET, 0x11223344u, 0xFF000102u, 7u, nullptr, 0, 0, 0);
    ctrl.execute(&words);
    EXPECT_EQ(ctrl.lastRequest()->mbox,
              (kvitest::Mbox{0x44, 0x33, 0x22, 0x11, 0x02, 0x01, 0x00, 0xFF, 7, 0, 0, 0}));
}

TEST(Request, MailboxAfterExecutionIsReadBack) {
    FakeController ctrl;
    ctrl.answer(
        KV_DCMD_CTRL_AEC_GET,
        FakeAnswer::fail(KVI_STAT_INVALID_PARAMETER).withMboxWord(1, 77).withMboxWord(2, 9));
    std::vector<unsigned char> capture(32768);
    DcmdKviDpParams req(KV_DCMD_CTRL_AEC_GET, 3, 0, 0, capture.data(), 32768, 0, 0, 32768);
    EXPECT_EQ(ctrl.execute(&req), KVI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(req.getmboxW0(), 3u); // not answered: stays as sent
    EXPECT_EQ(req.getmboxW1(), 77u);
    EXPECT_EQ(req.getmboxW2(), 9u);
    EXPECT_EQ(ctrl.lastRequest()->mboxWord(1), 0u); // as sent
}

TEST(Request, KindsOfRequest) {
    FakeController ctrl;
    KV_DRV_DRIVER_VERSION version{};
    DriverKviDPParams drv(KV_DRV_GET_DRIVER_VERSION, 0, 0, 0,
                          reinterpret_cast<unsigned char*>(&version), 0, 0, 0, sizeof version);
    ctrl.execute(&drv);
    EXPECT_EQ(ctrl.lastRequest()->kind, RequestKind::Driver);
    EXPECT_EQ(ctrl.lastRequest()->length, 112u);

    DCMD_MBOX mbox{};
    mbox.b[0] = 3;
    DcmdKviDpPrvParams prv(KV_DCMD_CTRL_DIAG_PHY_LOOPBACK, mbox, nullptr, 0, 0, 0);
    ctrl.execute(&prv);
    EXPECT_EQ(ctrl.lastRequest()->kind, RequestKind::Private);
    EXPECT_EQ(ctrl.lastRequest()->opcode, KV_DCMD_CTRL_DIAG_PHY_LOOPBACK);

    unsigned char request[8] = {0x40, 0x10};
    unsigned char response[56] = {};
    ctrl.backend().answerSmp(FakeAnswer::ok({0x41, 0x10, 0x00}));
    SMPKviDpParams smp(KVI_CMD_OP_SMP, 0x500605B000000001ull, 0, request, response, 8, 56, 0, 0, 0,
                       0, 0, 0, 0);
    EXPECT_EQ(ctrl.execute(&smp), 0);
    EXPECT_EQ(ctrl.lastRequest()->kind, RequestKind::Smp);
    EXPECT_EQ(ctrl.lastRequest()->sasAddress, 0x500605B000000001ull);
    EXPECT_EQ(ctrl.lastRequest()->sent, Bytes(request, request + 8));
    EXPECT_EQ(response[0], 0x41);
    // A missing buffer carries nothing, whatever length was stated.
    SMPKviDpParams none(KVI_CMD_OP_SMP, 1, 0, nullptr, nullptr, 8, 56, 0, 0, 0, 0, 0, 0, 0);
    ctrl.execute(&none);
    EXPECT_EQ(ctrl.lastRequest()->sent, Bytes{});
    EXPECT_EQ(ctrl.lastRequest()->responseLength, 0u);

    EXPECT_EQ(ctrl.execute(nullptr), -1);
}

// A backend that only knows direct commands refuses SMP.
class DirectOnlyBackend : public kvi::Backend {
public:
    int submit(kvi::DirectCommand&) override { return 0; }
    int pciLocation(kvi::PciLocation&) override { return kvi::kTransportFailed; }
    std::string driverName() override { return {}; }
    std::string driverVersion() override { return {}; }
};

TEST(Request, SmpOnABackendWithoutSmpIsUnsupported) {
    DirectOnlyBackend backend;
    BackendController ctrl(backend);
    unsigned char frame[8] = {};
    SMPKviDpParams smp(KVI_CMD_OP_SMP, 1, 0, frame, frame, 8, 8, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(ctrl.execute(&smp), kvi::kUnsupported);
    KV_DRV_PCI_INFORMATION pci{};
    EXPECT_EQ(ctrl.getPciInfo(&pci), kvi::kTransportFailed);
}

TEST(PciInfo, FieldsLandAtTheirOffsetsAndBits) {
    FakeController ctrl;
    ctrl.backend().pci.domain = 0x12345678;
    ctrl.backend().pci.bus = 0x3B;
    ctrl.backend().pci.device = 0x1F;
    ctrl.backend().pci.function = 0x07;
    ctrl.backend().pci.linkWidth = 16;
    unsigned char raw[112];
    std::memset(raw, 0xAA, sizeof raw);
    ASSERT_EQ(ctrl.getPciInfo(reinterpret_cast<KV_DRV_PCI_INFORMATION*>(raw)), 0);
    auto u32 = [&](int off) {
        std::uint32_t v;
        std::memcpy(&v, raw + off, 4);
        return v;
    };
    EXPECT_EQ(u32(0), 0x3Bu);
    EXPECT_EQ(raw[4], 0x1F);
    EXPECT_EQ(raw[5], 0x07);
    EXPECT_EQ(u32(72), 16u << 4); // linkWidth in bits 4-9, nothing else set
    EXPECT_EQ(u32(80), 0x12345678u);
    EXPECT_EQ(raw[6], 0); // the rest is cleared
    EXPECT_EQ(raw[111], 0);

    ctrl.backend().pciStatus = kvi::kTransportFailed;
    std::memset(raw, 0xAA, sizeof raw);
    EXPECT_EQ(ctrl.getPciInfo(reinterpret_cast<KV_DRV_PCI_INFORMATION*>(raw)),
              kvi::kTransportFailed);
    EXPECT_EQ(raw[0], 0xAA); // untouched on failure
    EXPECT_EQ(ctrl.getPciInfo(nullptr), -1);
}

} // namespace
