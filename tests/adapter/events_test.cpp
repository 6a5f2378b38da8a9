// Event log and event capture: the reads into the caller's buffer (mailbox words, length), the
// mask echo check and the captured-entry count answered in the mailbox. The plain commands are
// rows of the features request table.
#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

using EventsTest = AdapterFixture;

// ---------------------------------------------------------------------------
// Event log reads (the lengths of the fixed reads are in the walk golden of tests/sim)

TEST_F(EventsTest, EventCountGoesStraightIntoTheCallersVariable) {
    ctrl.answer(KV_DCMD_CTRL_EVENT_COUNT, FakeAnswer::ok(Bytes{0x39, 0x30, 0, 0}));
    unsigned int count = 0;
    EXPECT_EQ(a().getEventCnt(&count, 0x11, 0x22), 0);
    EXPECT_EQ(count, 12345u);
    EXPECT_EQ(ctrl.last(0x01040400)->mbox, mboxWords(0x11, 0x22));

    ctrl.answer(KV_DCMD_CTRL_EVENT_COUNT, FakeAnswer::fail(kFail));
    EXPECT_EQ(a().getEventCnt(&count, 0, 0), kFail);
    EXPECT_EQ(a().getEventCnt(nullptr, 0, 0), -1);
    EXPECT_EQ(ctrl.requests().size(), 2u);
}

TEST_F(EventsTest, EventListReadsTheCallersLength) {
    Bytes events(600);
    for (std::size_t i = 0; i < events.size(); ++i) {
        events[i] = static_cast<std::uint8_t>(i * 3);
    }
    ctrl.answer(KV_DCMD_CTRL_EVENT_GET, FakeAnswer::ok(events));
    std::vector<char> buffer(512, 0);
    EXPECT_EQ(a().getEventList(1000, buffer.data(), 512, 0xF0F0), 0);
    const FakeRequest* r = ctrl.last(0x01040300);
    EXPECT_EQ(r->mbox, mboxWords(1000, 0xF0F0));
    EXPECT_EQ(r->length, 512u);
    EXPECT_EQ(std::memcmp(buffer.data(), events.data(), 512), 0);

    EXPECT_EQ(a().getEventList(1, buffer.data(), 0, 0), -1);
    EXPECT_EQ(a().getEventList(1, nullptr, 16, 0), -1);
    EXPECT_EQ(ctrl.requests().size(), 1u);
}

// ---------------------------------------------------------------------------
// Filter masks: the firmware echoes the mask it took in mailbox word 2

struct MaskOp {
    const char* name;
    int (AdapterDataKvi::*op)(unsigned int, unsigned char);
    std::uint32_t sub;
};

// The request itself (opcode, no buffer) is in the walk golden of tests/sim.
TEST_F(EventsTest, MaskOperationsCheckTheEcho) {
    const std::uint32_t mask = 0x00FF00AA;
    const struct {
        int status;
        std::int64_t echo; // -1: the firmware leaves the mailbox as sent
        int rc;
    } cases[] = {{0, mask, 0}, {0, 0x1234, -1}, {kFail, 0x1234, kFail}, {0, -1, 0}};
    for (const MaskOp& m : {MaskOp{"filterAECMask", &AdapterDataKvi::filterAECMask, 4},
                            MaskOp{"clearAECMask", &AdapterDataKvi::clearAECMask, 5}}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << m.name << ", echo " << c.echo);
            reset();
            FakeAnswer ans = FakeAnswer::fail(c.status);
            if (c.echo >= 0) {
                ans.withMboxWord(2, static_cast<std::uint32_t>(c.echo));
            }
            ctrl.answer(KV_DCMD_CTRL_AEC_CONTROL, ans);
            EXPECT_EQ((a().*m.op)(mask, 1), c.rc);
            ASSERT_EQ(ctrl.requests().size(), 1u);
            EXPECT_EQ(ctrl.requests()[0].mbox, mboxWords(m.sub, 1, mask));
        }
    }
}

// ---------------------------------------------------------------------------
// Captured data (the settings read is a row of the caller's-record reads of the cache tests)

TEST_F(EventsTest, CapturedDataWithItsCountFromMailboxWordOne) {
    std::vector<unsigned char> buffer(32768, 0);
    ctrl.answer(KV_DCMD_CTRL_AEC_GET, FakeAnswer::ok(Bytes(32768, 0x6B)).withMboxWord(1, 321));
    unsigned int count = 0;
    EXPECT_EQ(a().getAEC(buffer.data(), 2, &count), 0);
    EXPECT_EQ(count, 321u);
    EXPECT_EQ(buffer[32767], 0x6B);
    EXPECT_EQ(ctrl.last(0x01180200)->mbox, mboxWords(2));

    // Any failure but "invalid parameter" still stores the count.
    ctrl.answer(KV_DCMD_CTRL_AEC_GET, FakeAnswer::fail(kFail).withMboxWord(1, 9));
    EXPECT_EQ(a().getAEC(buffer.data(), 0, &count), kFail);
    EXPECT_EQ(count, 9u);

    ctrl.answer(KV_DCMD_CTRL_AEC_GET, FakeAnswer::fail(3).withMboxWord(1, 77));
    EXPECT_EQ(a().getAEC(buffer.data(), 0, &count), 3);
    EXPECT_EQ(count, 9u);

    EXPECT_EQ(a().getAEC(nullptr, 0, &count), -1);
    EXPECT_EQ(a().getAEC(buffer.data(), 0, nullptr), -1);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_AEC_GET), 3u);
}

} // namespace
