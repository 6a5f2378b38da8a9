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

// Length 0 takes the opcode's standard size and direction, an explicit length wins (data on an
// unknown or data-free opcode goes both ways), a stated direction overrides both; the backend moves
// the whole transfer and the caller's buffer gives or gets at most its capacity (ASan checks the
// bound), a write short of the transfer padded with zeros; no capacity stated trusts the length.
TEST(Request, TransferLengthDirectionAndTheCallersBound) {
    constexpr int kNoBuffer = 0, kUnstated = -1, kTable = -1;
    constexpr Direction R = Direction::Read, W = Direction::Write, B = Direction::Both,
                        N = Direction::None;
    const struct {
        std::uint32_t opcode, length;
        int capacity, override;
        std::uint32_t wantLength;
        Direction dir;
    } rows[] = {
        // clang-format off
        {KV_DCMD_CTRL_GET_INFO, 0, 4096, kTable, 2464, R},    {KV_DCMD_CFG_AUTOCFG, 0, 4096, kTable, 8, B},
        {KV_DCMD_CTRL_CACHE_FLUSH, 0, 4096, kTable, 0, N},    {KV_DCMD_BBU_GET_STATUS, 0, 64, kTable, 64, R},
        {KV_DCMD_CTRL_GET_INFO, 0, 100, kTable, 2464, R},     {KV_DCMD_CTRL_ALARM_GET, 0, kNoBuffer, kTable, 1, R},
        {KV_DCMD_CTRL_PROPERTIES_GET, 128, 128, kTable, 128, R}, {KV_DCMD_CTRL_EVENT_COUNT, 0, kUnstated, kTable, 4, R},
        {KV_DCMD_CTRL_MFC_MFG_GET, 0, 32, kTable, 32, R},     {KV_DCMD_CTRL_PROPERTIES_SET, 0, 10, kTable, 64, W},
        {0x0199FF00, 0, 4096, kTable, 0, N},                  {0x0199FF00, 24, 4096, kTable, 24, B},
        {KV_DCMD_CTRL_PR_START, 0, 4096, kTable, 0, N},       {KV_DCMD_CTRL_PR_START, 12, 4096, kTable, 12, B},
        {KV_DCMD_CTRL_GET_INFO, 0, 4096, KVI_XFER_BOTH, 2464, B}, {KV_DCMD_CTRL_GET_INFO, 0, 4096, KVI_XFER_NONE, 0, N},
        {KV_DCMD_SAS_CONFIG_PAGE_PASSTHROUGH, 0, 256, KVI_XFER_READ, 256, R},
        // clang-format on
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
        if (r.override != kTable)
            req.setDirection(static_cast<KVI_XFER_DIR>(r.override));
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
        const std::size_t crossed = std::min(room, r.wantLength);
        Bytes wantSent;
        if (r.dir == W || r.dir == B) {
            wantSent.assign(r.wantLength, 0);
            std::fill_n(wantSent.begin(), crossed, 0xEE);
        }
        EXPECT_EQ(sent->sent, wantSent);
        if (data != nullptr && (r.dir == R || r.dir == B)) {
            EXPECT_EQ(Bytes(buf.begin(), buf.begin() + crossed), pattern(crossed));
            EXPECT_EQ(buf[crossed], 0xEE);
        }
    }
}

// Mailbox words go out little-endian in order (the adapter's requests, in the walk's goldens, use
// the byte form); what the controller leaves in them is read back, the rest stays as sent.
TEST(Request, MailboxWordsGoOutLittleEndianAndAreReadBack) {
    FakeController ctrl;
    ctrl.answer(
        KV_DCMD_CTRL_EVENT_GET,
        FakeAnswer::fail(KVI_STAT_INVALID_PARAMETER).withMboxWord(1, 77).withMboxWord(2, 9));
    DcmdKviDpParams req(KV_DCMD_CTRL_EVENT_GET, 0x11223344u, 0xFF000102u, 7u, nullptr, 0, 0, 0);
    EXPECT_EQ(ctrl.execute(&req), KVI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(ctrl.lastRequest()->mbox,
              (kvitest::Mbox{0x44, 0x33, 0x22, 0x11, 0x02, 0x01, 0x00, 0xFF, 7, 0, 0, 0}));
    EXPECT_EQ(req.getmboxW0(), 0x11223344u);
    EXPECT_EQ(req.getmboxW1(), 77u);
    EXPECT_EQ(req.getmboxW2(), 9u);
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
