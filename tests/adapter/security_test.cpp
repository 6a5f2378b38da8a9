// Drive security keys: the bytes of the key requests that take a secret or a mode (field
// offsets, mailbox byte 0 from the mode; the others are in the walk golden of tests/sim),
// refusal of texts that do not fit, that no key text stays in the object or reaches the debug
// log, and the passphrase error (the key-state bits are in the features table).
#include <algorithm>
#include <new>

#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

void put(Bytes& b, std::size_t off, const std::string& text) {
    std::memcpy(b.data() + off, text.data(), text.size());
}

using SecurityTest = AdapterFixture;

// Texts that do not fit their field (with its NUL), or that carry a NUL of their own, are refused
// before anything is sent; the limits themselves fit.
TEST_F(SecurityTest, KeyRequestsCarryExactlyTheirRecords) {
    std::string p32(32, 'p'), p33(33, 'p'), k255(255, 'k'), k256(256, 'k');
    std::string withNul("ab\0cd", 5), ok = "ok";
    EXPECT_EQ(a().createLockKey(p33, ok, ok, 0), -1);
    EXPECT_EQ(a().createLockKey(ok, p33, ok, 0), -1);
    EXPECT_EQ(a().createLockKey(ok, ok, k256, 0), -1);
    EXPECT_EQ(a().createLockKey(withNul, ok, ok, 0), -1);
    EXPECT_EQ(a().createLockKey(ok, ok, withNul, 0), -1);
    EXPECT_EQ(a().rekeyLock(p33), -1);
    EXPECT_EQ(a().lockKeyFromEscrow(withNul), -1);
    EXPECT_EQ(a().verifyLockKey(p33, 1), -1);
    EXPECT_TRUE(ctrl.requests().empty());

    std::string pass = "Pass-Phrase#01", secret = "S3cret!", keyId = "key id 7";
    struct Case {
        const char* name;
        std::function<int()> call;
        std::uint32_t opcode;
        std::uint8_t b0;
        Bytes record;
    };
    Bytes create(364, 0), limits(364, 0), escrow(104, 0);
    put(create, 0, pass);
    put(create, 36, secret);
    put(create, 108, keyId);
    put(limits, 0, p32);
    put(limits, 36, p32);
    put(limits, 108, k255);
    put(escrow, 0, pass);
    const std::vector<Case> cases = {
        {"createLockKey", [&] { return a().createLockKey(pass, secret, keyId, 0x1203); },
         KV_DCMD_CTRL_LOCK_KEY_CREATE, 0x03, create},
        {"createLockKey at the limits", [&] { return a().createLockKey(p32, p32, k255, 0); },
         KV_DCMD_CTRL_LOCK_KEY_CREATE, 0, limits},
        {"createLockKeyUseEKMS", [&] { return a().createLockKeyUseEKMS(0x205); },
         KV_DCMD_CTRL_LOCK_KEY_CREATE, 0x05, Bytes(364, 0)},
        {"verifyLockKey", [&] { return a().verifyLockKey(pass, 0x102); },
         KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, 0x02, escrow},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ctrl.clear();
        ASSERT_EQ(c.call(), 0);
        ASSERT_EQ(ctrl.requests().size(), 1u);
        const auto& r = ctrl.requests()[0];
        EXPECT_EQ(r.opcode, c.opcode);
        EXPECT_EQ(r.mbox, mboxBytes({{0, c.b0}}));
        EXPECT_EQ(r.sent, c.record);
    }

    // Firmware refusals come back unchanged.
    ctrl.answer(KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, FakeAnswer::fail(0x87));
    EXPECT_EQ(a().verifyLockKey(pass, 0), 0x87);
}

// A suggested passphrase without a NUL is read only as far as its field (one with a NUL is in the
// walk golden of tests/sim).
TEST_F(SecurityTest, SuggestedPassphrase) {
    KV_CTRL_LOCK_KEY_PASSPHRASE answer{};
    std::string out = "old";
    std::memset(answer.passPhrase, 'x', sizeof answer.passPhrase);
    std::memset(answer.pad, 'y', sizeof answer.pad);
    ctrl.answer(KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, FakeAnswer::record(answer));
    EXPECT_EQ(a().getSuggestedSecurityKey(out), 0);
    EXPECT_EQ(out, std::string(33, 'x'));

    ctrl.answer(KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, FakeAnswer::fail(0x0C));
    out = "kept";
    EXPECT_EQ(a().getSuggestedSecurityKey(out), 0x0C);
    EXPECT_EQ(out, "kept");
}

bool containsText(const void* p, std::size_t n, const std::string& text) {
    const auto* b = static_cast<const char*>(p);
    return std::search(b, b + n, text.begin(), text.end()) != b + n;
}

// After every key operation, the key texts are in no record the object keeps,
// not in the object itself, and in no log line (logged at every level).
TEST(SecurityKeys, KeyTextIsLeftNowhere) {
    FakeController ctrl;
    LogCapture log;
    // The object lives in zeroed storage so that its padding bytes, scanned
    // below, are defined.
    struct Destroy {
        void operator()(AdapterDataKvi* p) const { p->~AdapterDataKvi(); }
    };
    alignas(AdapterDataKvi) unsigned char storage[sizeof(AdapterDataKvi)] = {};
    const std::unique_ptr<AdapterDataKvi, Destroy> holder(new (storage)
                                                              AdapterDataKvi(&ctrl, nullptr));
    AdapterDataKvi& a = *holder;
    std::string pass = "Zq9-unique-PASS", secret = "Wx7-unique-SECRET", keyId = "Kv5-unique-ID";
    const std::string suggested = "Yt3-unique-SUGGEST";
    KV_CTRL_LOCK_KEY_PASSPHRASE answer{};
    std::memcpy(answer.passPhrase, suggested.data(), suggested.size());
    ctrl.answer(KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, FakeAnswer::record(answer));
    // Load every cache the key-state queries use, before and after.
    bool b = false;
    unsigned char u8 = 0;
    ASSERT_EQ(a.isLockKeyAssigned(&b), 0);
    ASSERT_EQ(a.getbiosEKMStatus(&u8), 0);
    ASSERT_EQ(a.createLockKey(pass, secret, keyId, 1), 0);
    ASSERT_EQ(a.rekeyLock(pass), 0);
    ASSERT_EQ(a.lockKeyFromEscrow(pass), 0);
    ASSERT_EQ(a.verifyLockKey(pass, 0), 0);
    std::string out;
    ASSERT_EQ(a.getSuggestedSecurityKey(out), 0);
    ASSERT_EQ(a.islockKeyRebootRequired(&b), 0);
    ASSERT_EQ(out, suggested);
    // The requests did carry the texts (so the search below is meaningful).
    EXPECT_TRUE(containsText(ctrl.last(KV_DCMD_CTRL_LOCK_KEY_CREATE)->sent.data(), 364, secret));

    for (const std::string& text : {pass, secret, keyId, suggested}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(containsText(&a, sizeof a, text));
        EXPECT_FALSE(containsText(P::ctrlInfo(a), sizeof(KV_CTRL_INFO), text));
        EXPECT_FALSE(containsText(P::biosData(a), sizeof(KV_BIOS_DATA), text));
        for (const auto& line : log.lines()) {
            EXPECT_EQ(line.text.find(text), std::string::npos) << line.text;
        }
    }
}

// ---------------------------------------------------------------------------
// Key state

// The key-state bits are rows of the features' fixed-answer table; a passphrase error is
// either no key at all or a key whose unlock failed.
TEST_F(SecurityTest, PassPhraseError) {
    const struct {
        int status; // adapterStatus: key assigned bit 1, key failed bit 2; -1: the read fails
        int rc;
        bool out; // the answer, or the value left as it was
    } cases[] = {{0, 0, true}, {1 << 1, 0, false}, {1 << 1 | 1 << 2, 0, true}, {-1, 0x0C, true}};
    for (const auto& c : cases) {
        reset();
        KV_CTRL_INFO info{};
        std::memcpy(reinterpret_cast<unsigned char*>(&info) + 1528, &c.status, 2);
        ctrl.answer(KV_DCMD_CTRL_GET_INFO,
                    c.status < 0 ? FakeAnswer::fail(0x0C) : FakeAnswer::record(info));
        bool out = c.rc == 0 ? !c.out : c.out;
        EXPECT_EQ(a().isPassPhraseError(&out), c.rc);
        EXPECT_EQ(out, c.out) << c.status;
    }
}

// The reboot flag is read from controller information loaded afresh, so a
// key change made a moment ago is seen.
TEST_F(SecurityTest, RebootFlagReloadsTheControllerInformation) {
    KV_CTRL_INFO info{};
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
    bool reboot = true;
    ASSERT_EQ(a().islockKeyRebootRequired(&reboot), 0);
    EXPECT_FALSE(reboot);
    std::string pass = "new";
    ASSERT_EQ(a().rekeyLock(pass), 0);
    info.adapterStatus.lockKeyRebootRequired = 1;
    ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
    bool assigned = false;
    ASSERT_EQ(a().isLockKeyAssigned(&assigned), 0); // served from the cache
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 1u);
    ASSERT_EQ(a().islockKeyRebootRequired(&reboot), 0);
    EXPECT_TRUE(reboot);
    EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 2u);
}

TEST_F(SecurityTest, BiosEkmStatus) {
    KV_BIOS_DATA bios{};
    bios.EKMStatus = 0x03;
    bios.autoSelectBootLd = 0x44; // the neighbour
    ctrl.answerOnce(KV_DCMD_CTRL_BIOS_DATA_GET, FakeAnswer::fail(0x0C));
    ctrl.answer(KV_DCMD_CTRL_BIOS_DATA_GET, FakeAnswer::record(bios));
    unsigned char out = 0x77;
    EXPECT_EQ(a().getbiosEKMStatus(&out), 0x0C);
    EXPECT_EQ(out, 0x77);
    EXPECT_EQ(a().getbiosEKMStatus(&out), 0);
    EXPECT_EQ(out, 0x03);
}

} // namespace
