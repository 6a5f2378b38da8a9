// BIOS settings and boot device: each pair's view of its byte (including the deliberate
// asymmetries of SOE and ABS), the write-back with its checksum, the boot-device round trips
// through the recording fake, and failures.
#include <numeric>

#include "RaidLib/RaidFw/Elements.h"
#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

// KV_BIOS_DATA positions.
constexpr int kBootTarget = 0;
constexpr int kDoNotExpose = 2;
constexpr int kContinueOnError = 3;
constexpr int kDeviceExposure = 6;
constexpr int kBootIsPd = 8;
constexpr int kAutoSelect = 10;

Bytes biosImage() {
    Bytes b(64);
    for (std::size_t i = 0; i < b.size(); ++i) {
        b[i] = static_cast<std::uint8_t>(0x11 * (i % 7) + i);
    }
    return b;
}

unsigned sum8(const Bytes& b) {
    return std::accumulate(b.begin(), b.end(), 0u) & 0xFFu;
}

class BiosTest : public AdapterFixture {
protected:
    void reset(const Bytes& image) {
        AdapterFixture::reset();
        ctrl.answer(KV_DCMD_CTRL_BIOS_DATA_GET, FakeAnswer::ok(image));
    }
    // The record as written back: exactly one write, whose bytes sum to 0 mod 256.
    Bytes written() {
        EXPECT_EQ(a().endBIOSDataUpdate(), 0);
        EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_BIOS_DATA_SET), 1u);
        const FakeRequest* w = ctrl.last(0x010C0200);
        if (w == nullptr) {
            return {};
        }
        EXPECT_EQ(w->sent.size(), 64u);
        EXPECT_EQ(sum8(w->sent), 0u);
        return w->sent;
    }
};

// ---------------------------------------------------------------------------
// Each getter and setter pair: the byte both use, everything else kept and the checksum fresh;
// the getter's mapping of each raw value and what the setter stores for each value are in
// tests/golden/adapter/bios-pairs.txt.
struct PairCase {
    const char* name;
    int (AdapterDataKvi::*get)(unsigned char*);
    int (AdapterDataKvi::*set)(unsigned char);
    int byte;
};

#define KVI_BIOS(x) #x, &AdapterDataKvi::get##x, &AdapterDataKvi::set##x
const PairCase kPairCases[] = {
    {KVI_BIOS(biosStatus), kDoNotExpose},
    {KVI_BIOS(biosSOEStatus), kContinueOnError},
    {KVI_BIOS(biosBEStatus), kContinueOnError},
    {KVI_BIOS(biosHCOEStatus), kContinueOnError},
    {KVI_BIOS(biosHSMStatus), kContinueOnError},
    {KVI_BIOS(BIOSBootMode), kContinueOnError},
    {KVI_BIOS(biosABS), kAutoSelect},
    {KVI_BIOS(biosDeviceExposure), kDeviceExposure},
};
#undef KVI_BIOS

TEST_F(BiosTest, GetterAndSetterPairsUseTheirByte) {
    std::ostringstream table;
    for (const PairCase& c : kPairCases) {
        for (const unsigned value : {0, 1, 2, 3, 4, 5, 7, 9, 0x9D, 0xA7, 0xC4}) {
            SCOPED_TRACE(testing::Message() << c.name << " " << value);
            const auto v = static_cast<std::uint8_t>(value);
            Bytes image = biosImage();
            image[c.byte] = v;
            reset(image);
            unsigned char out = 0xEE;
            EXPECT_EQ((a().*c.get)(&out), 0);
            EXPECT_EQ(a().endBIOSDataUpdate(), 0); // nothing written without a setter
            EXPECT_EQ((a().*c.set)(v), 0);
            EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_BIOS_DATA_SET), 0u);
            Bytes sent = written();
            ASSERT_EQ(sent.size(), 64u);
            table << c.name << ' ' << value << ": reads " << int(out) << ", stores "
                  << int(sent[c.byte]) << '\n';
            Bytes expected = image;
            expected[c.byte] = sent[c.byte];
            expected[63] = sent[63]; // the checksum, checked by written()
            EXPECT_EQ(sent, expected);
            // The flag is spent: a second end call sends nothing.
            EXPECT_EQ(a().endBIOSDataUpdate(), 0);
            EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_BIOS_DATA_SET), 1u);

            // A failed load: status back, output untouched, no flag, nothing written.
            reset(image);
            ctrl.answer(KV_DCMD_CTRL_BIOS_DATA_GET, FakeAnswer::fail(kFail));
            out = 0xEE;
            EXPECT_EQ((a().*c.get)(&out), kFail);
            EXPECT_EQ(out, 0xEE);
            EXPECT_EQ((a().*c.get)(nullptr), -1);
            EXPECT_EQ((a().*c.set)(v), kFail);
            EXPECT_FALSE(P::biosChanged(a()));
            EXPECT_EQ(a().endBIOSDataUpdate(), 0);
            EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_BIOS_DATA_SET), 0u);
        }
    }
    expectGolden("bios-pairs.txt", table.str());
}

// ---------------------------------------------------------------------------
// Boot device

// Set a virtual drive, a physical drive or none; read back both views before the write-back,
// then the boot-drive fields written: target id (little-endian) and whether it names a physical
// drive. A target id of 0xFFFF means no boot drive.
TEST_F(BiosTest, BootDeviceRoundTrips) {
    enum What { Vd, Pd, Unset };
    const struct {
        What what;
        int vdTarget;       // -1: getBootVdId answers no id
        unsigned short dev; // getBootPdDevId
        std::uint8_t lo, hi, isPd;
    } cases[] = {
        {Vd, 0x0123, 0xFFFF, 0x23, 0x01, 0},
        {Pd, -1, 0x0042, 0x42, 0x00, 1},
        {Unset, -1, 0xFFFF, 0xFF, 0xFF, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Bytes image(64, 0);
        image[kBootTarget] = 0x05;
        image[kBootIsPd] = 1;
        reset(image);
        VirtualDisk vd(0x0123);
        PhysicalDevice pd(0x0042);
        ASSERT_EQ(c.what == Vd   ? a().setBootVd(&vd)
                  : c.what == Pd ? a().setBootVd(&pd)
                                 : a().unsetBootVd(),
                  0);
        VdId* id = reinterpret_cast<VdId*>(0x1); // must be nulled when there is none
        ASSERT_EQ(a().getBootVdId(&id), 0);
        if (c.vdTarget < 0) {
            EXPECT_EQ(id, nullptr);
        } else {
            ASSERT_NE(id, nullptr);
            EXPECT_EQ(id->getTargetId(), c.vdTarget);
            auto* kvi = dynamic_cast<VdIdKvi*>(id);
            ASSERT_NE(kvi, nullptr);
            EXPECT_EQ(kvi->getGroup(), 0xFF);
            EXPECT_EQ(kvi->getSeqNum(), 0xFFFF);
            delete id;
        }
        unsigned short dev = 0;
        ASSERT_EQ(a().getBootPdDevId(&dev), 0);
        EXPECT_EQ(dev, c.dev);
        EXPECT_EQ(a().getBootPdDevId(nullptr), 0); // a null out-pointer is fine
        const Bytes sent = written();
        ASSERT_EQ(sent.size(), 64u);
        EXPECT_EQ(Bytes({sent[kBootTarget], sent[kBootTarget + 1], sent[kBootIsPd]}),
                  Bytes({c.lo, c.hi, c.isPd}));
    }
}

// A physical drive whose device id cannot be read.
class BrokenDevice : public PhysicalDevice {
public:
    BrokenDevice() : PhysicalDevice(7) {}
    int getDeviceId(unsigned short*) override { return 0x0C; }
};

TEST_F(BiosTest, BootDeviceFailures) {
    reset(Bytes(64, 0));
    BrokenDevice broken;
    EXPECT_EQ(a().setBootVd(&broken), 0x0C);
    EXPECT_EQ(a().setBootVd(static_cast<VirtualDisk*>(nullptr)), -1);
    EXPECT_EQ(a().setBootVd(static_cast<PhysicalDevice*>(nullptr)), -1);
    EXPECT_EQ(a().getBootVdId(nullptr), -1);
    EXPECT_TRUE(ctrl.requests().empty()); // nothing loaded for any of them
    EXPECT_FALSE(P::biosChanged(a()));

    ctrl.answer(KV_DCMD_CTRL_BIOS_DATA_GET, FakeAnswer::fail(kFail));
    VirtualDisk vd(3);
    EXPECT_EQ(a().setBootVd(&vd), kFail);
    EXPECT_EQ(a().unsetBootVd(), kFail);
    VdId* id = reinterpret_cast<VdId*>(0x1);
    EXPECT_EQ(a().getBootVdId(&id), kFail);
    EXPECT_EQ(id, nullptr); // nulled before the status is looked at
    unsigned short dev = 5;
    EXPECT_EQ(a().getBootPdDevId(&dev), kFail);
    EXPECT_EQ(dev, 5);
    EXPECT_FALSE(P::biosChanged(a()));
}

} // namespace
