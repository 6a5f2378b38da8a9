// The pass-through backend through an injected device: packet bytes for each
// kind of request, status and mailbox read back from the frame, errno mapping.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/Controller.h"
#include "provider/DpParams.h"
#include "transport/PassThrough.h"

namespace {

using kvi::KviIoctlPacket;

template <class T> T at(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
    T value{};
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

// A device whose open and ioctl are scripted; every packet is kept as bytes
// as the backend handed it over.
struct FakeDevice {
    int openResult = 7;
    int openCalls = 0;
    int closedFd = -1;
    std::deque<int> errnos;                      // next ioctl results (default 0)
    std::function<void(KviIoctlPacket&)> answer; // acts as the driver on success
    std::vector<std::vector<std::uint8_t>> packets;
    std::vector<unsigned long> requests;
    std::vector<int> fds;

    kvi::DeviceOps ops() {
        kvi::DeviceOps o;
        o.open = [this](const std::string&) {
            ++openCalls;
            return openResult;
        };
        o.ioctl = [this](int fd, unsigned long request, void* arg) {
            auto* packet = static_cast<KviIoctlPacket*>(arg);
            const auto* raw = static_cast<const std::uint8_t*>(arg);
            packets.emplace_back(raw, raw + sizeof(KviIoctlPacket));
            requests.push_back(request);
            fds.push_back(fd);
            int err = 0;
            if (!errnos.empty()) {
                err = errnos.front();
                errnos.pop_front();
            }
            if (err == 0 && answer)
                answer(*packet);
            return err;
        };
        o.close = [this](int fd) { closedFd = fd; };
        return o;
    }
};

kvi::ScsiHost hostNumber(unsigned n) {
    kvi::ScsiHost host;
    host.number = n;
    host.name = "host" + std::to_string(n);
    host.driverName = "kvdrv";
    host.driverVersion = "7.1";
    return host;
}

// One request of each kind through the backend: the packet at its offsets, the
// caller's bytes sent, the driver's bytes, status and mailbox words 1 and 2
// handed back.
TEST(PassThrough, FrameAndPacketAtTheirOffsets) {
    const struct {
        const char* name;
        std::uint32_t opcode;
        bool driver;
        std::uint32_t callerLength; // 0 = standard size
        std::uint8_t mboxB0;
        std::uint16_t flags;  // expected frame flags
        std::uint32_t length; // expected transfer length
    } cases[] = {
        // clang-format off
        {"read", KV_DCMD_CTRL_GET_INFO, false, 0, 0, 0x0010, 2464},
        {"write", KV_DCMD_CTRL_PROPERTIES_SET, false, 0, 0, 0x0008, 64},
        {"both", KV_DCMD_CFG_AUTOCFG, false, 0, 3, 0x0018, 8},
        {"none", KV_DCMD_CTRL_PR_SUSPEND_RESUME, false, 0, 1, 0x0000, 0},
        {"explicit", KV_DCMD_CTRL_PROPERTIES_GET, false, 128, 1, 0x0010, 128},
        {"large", KV_DCMD_CTRL_AEC_GET, false, 32768, 5, 0x0010, 32768},
        {"driver", KV_DRV_GET_DRIVER_VERSION, true, 0, 0, 0x0010, 112},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FakeDevice fake;
        std::vector<std::uint8_t> seen; // what the "driver" found in the user buffer
        fake.answer = [&](KviIoctlPacket& p) {
            if (p.sgeCount) {
                auto* user =
                    reinterpret_cast<std::uint8_t*>(static_cast<std::uintptr_t>(p.iov[0].base));
                seen.assign(user, user + p.iov[0].len);
                if (kvi::frameOf(p).flags & kvi::kFrameFlagRead)
                    std::memset(user, 0xA5, p.iov[0].len);
            }
            p.frame[2] = 0x22;
            const std::uint32_t w1 = 0x00001234, w2 = 0xCAFEF00D;
            std::memcpy(p.frame + 28 + 4, &w1, 4);
            std::memcpy(p.frame + 28 + 8, &w2, 4);
        };
        auto device = std::make_shared<kvi::PassThroughDevice>("/dev/kvtest", fake.ops());
        kvi::PassThroughBackend backend(device, hostNumber(0x0102));
        BackendController ctrl(backend);

        std::vector<unsigned char> buffer(c.length ? c.length : 1, 0x3C);
        DCMD_MBOX mbox{};
        mbox.b[0] = c.mboxB0;
        mbox.b[11] = 0xEE;
        if (c.driver) {
            DriverKviDPParams params(c.opcode, mbox.w[0], mbox.w[1], mbox.w[2], buffer.data(),
                                     c.callerLength, 0, 0);
            ASSERT_EQ(ctrl.execute(&params), 0x22) << backend.lastError();
        } else {
            DcmdKviDpParams params(c.opcode, mbox, c.length ? buffer.data() : nullptr,
                                   c.callerLength, 0, 0);
            ASSERT_EQ(ctrl.execute(&params), 0x22) << backend.lastError();
            EXPECT_EQ(params.getmboxW0(), mbox.w[0]);
            EXPECT_EQ(params.getmboxW1(), 0x1234u);
            EXPECT_EQ(params.getmboxW2(), 0xCAFEF00Du);
        }
        ASSERT_EQ(fake.packets.size(), 1u);
        const auto& p = fake.packets[0];
        EXPECT_EQ(fake.requests[0], 0xC1944D01ul);
        EXPECT_EQ(fake.fds[0], 7);

        const bool data = c.length != 0;
        EXPECT_EQ(at<std::uint16_t>(p, 0), 0x0102u) << "host";
        EXPECT_EQ(at<std::uint16_t>(p, 2), 0u) << "pad";
        EXPECT_EQ(at<std::uint32_t>(p, 4), 40u) << "sglOffset";
        EXPECT_EQ(at<std::uint32_t>(p, 8), data ? 1u : 0u) << "packet sgeCount";
        EXPECT_EQ(at<std::uint64_t>(p, 12), 0u) << "senseOffset and senseLength";
        EXPECT_EQ(p[20 + 0], 5u) << "frame cmd";
        EXPECT_EQ(p[20 + 2], 0u) << "status is clear when sent";
        EXPECT_EQ(p[20 + 7], data ? 1u : 0u) << "frame sgeCount";
        EXPECT_EQ(at<std::uint16_t>(p, 20 + 16), c.flags) << "flags";
        EXPECT_EQ(at<std::uint32_t>(p, 20 + 20), c.length) << "dataLength";
        EXPECT_EQ(at<std::uint32_t>(p, 20 + 24), c.opcode) << "opcode";
        EXPECT_EQ(p[20 + 28], c.mboxB0) << "mailbox b[0]";
        EXPECT_EQ(p[20 + 28 + 11], 0xEEu) << "mailbox b[11]";
        EXPECT_EQ(at<std::uint32_t>(p, 20 + 40), 0u) << "sge address (the driver's)";
        EXPECT_EQ(at<std::uint32_t>(p, 20 + 44), c.length) << "sge length";
        EXPECT_EQ(at<std::uint64_t>(p, 148 + 8), std::uint64_t(c.length)) << "iov[0].len";
        EXPECT_EQ(at<std::uint64_t>(p, 148) != 0, data) << "iov[0].base";
        EXPECT_EQ(std::vector<std::uint8_t>(p.begin() + 148 + 16, p.begin() + 404),
                  std::vector<std::uint8_t>(404 - 148 - 16))
            << "iov entries past the first are clear";
        if (c.flags & kvi::kFrameFlagWrite) {
            EXPECT_EQ(seen, std::vector<std::uint8_t>(c.length, 0x3C)) << "the caller's bytes";
        }
        if (c.flags & kvi::kFrameFlagRead) {
            EXPECT_EQ(buffer[c.length - 1], 0xA5) << "the driver's bytes reach the caller";
        }
    }
}

// A failing open or ioctl: the negative status, fault, errno and message; the
// mailbox stays as sent.
TEST(PassThrough, ErrnoMapsToFaultAndMessage) {
    using F = kvi::TransportFault;
    const struct {
        int err;
        bool opening;
        F fault;
        const char* text; // part of the message
    } cases[] = {
        // clang-format off
        {ENOENT, true, F::NoDevice, "no device node /dev/kvtest"},
        {ENXIO, true, F::NoDevice, "no driver behind /dev/kvtest"},
        {EACCES, true, F::PermissionDenied, "permission denied opening /dev/kvtest: run as root"},
        {EPERM, true, F::PermissionDenied, "run as root"},
        {EBUSY, true, F::Other, "cannot open /dev/kvtest"},
        {EACCES, false, F::PermissionDenied, "run as root"},
        {EPERM, false, F::PermissionDenied, "run as root"},
        {ENODEV, false, F::NotController, "host4 is not a controller"},
        {ENOTTY, false, F::NoDevice, "does not take controller commands"},
        {EFAULT, false, F::DriverRejected, "KV_DCMD_CTRL_BIOS_DATA_GET (0x010C0100)"},
        {EINVAL, false, F::DriverRejected, "rejected KV_DCMD_CTRL_BIOS_DATA_GET"},
        {ETIMEDOUT, false, F::Timeout, "did not answer"},
        {EINTR, false, F::Other, "interrupted"},
        {EIO, false, F::Other, "failed on /dev/kvtest"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        FakeDevice fake;
        if (c.opening)
            fake.openResult = -c.err;
        else
            fake.errnos.assign(kvi::kMaxEintrRetries + 1, c.err);
        auto device = std::make_shared<kvi::PassThroughDevice>("/dev/kvtest", fake.ops());
        kvi::PassThroughBackend backend(device, hostNumber(4));
        std::vector<std::uint8_t> buffer(64);
        kvi::DirectCommand cmd;
        cmd.opcode = KV_DCMD_CTRL_BIOS_DATA_GET;
        cmd.data = buffer.data();
        cmd.length = 64;
        cmd.direction = kvi::Direction::Read;
        cmd.mbox[0] = 9;
        EXPECT_EQ(backend.submit(cmd), kvi::kTransportFailed);
        EXPECT_EQ(backend.lastErrno(), c.err);
        EXPECT_EQ(backend.lastFault(), c.fault);
        EXPECT_NE(backend.lastError().find(c.text), std::string::npos) << backend.lastError();
        EXPECT_EQ(cmd.mbox[0], 9u) << "a failed ioctl leaves the mailbox as sent";
        EXPECT_EQ(fake.packets.empty(), c.opening);
    }
}

TEST(PassThrough, InterruptedIoctlIsReissued) {
    FakeDevice fake;
    fake.errnos = {EINTR, EINTR};
    fake.answer = [](KviIoctlPacket& p) { p.frame[2] = 0x03; };
    auto device = std::make_shared<kvi::PassThroughDevice>("/dev/kvtest", fake.ops());
    kvi::PassThroughBackend backend(device, hostNumber(0));
    kvi::DirectCommand cmd;
    cmd.opcode = KV_DCMD_CTRL_ALARM_ENABLE;
    EXPECT_EQ(backend.submit(cmd), 3);
    EXPECT_EQ(fake.packets.size(), 3u);
}

// Two backends share one open of the device (a failed open is not retried
// and leaves nothing to close); the last one closes it.
TEST(PassThrough, DeviceIsOpenedOnceAndClosedWithTheLastBackend) {
    for (int opened : {-EACCES, 7}) {
        FakeDevice fake;
        fake.openResult = opened;
        {
            auto device = std::make_shared<kvi::PassThroughDevice>("/dev/kvtest", fake.ops());
            kvi::PassThroughBackend a(device, hostNumber(0)), b(device, hostNumber(1));
            kvi::DirectCommand cmd;
            const int status = opened < 0 ? kvi::kTransportFailed : 0;
            EXPECT_EQ(a.submit(cmd), status);
            EXPECT_EQ(b.submit(cmd), status);
            EXPECT_EQ(b.lastFault(), opened < 0 ? kvi::TransportFault::PermissionDenied
                                                : kvi::TransportFault::None);
        }
        EXPECT_EQ(fake.openCalls, 1);
        EXPECT_EQ(fake.closedFd, opened < 0 ? -1 : 7);
    }
}

TEST(PassThrough, HostFactsAndSmp) {
    FakeDevice fake;
    auto device = std::make_shared<kvi::PassThroughDevice>("/dev/kvtest", fake.ops());
    kvi::ScsiHost host = hostNumber(2);
    kvi::PciLocation loc;
    EXPECT_LT(kvi::PassThroughBackend(device, host).pciLocation(loc), 0) << "no PCI function";
    host.hasPci = true;
    host.pci = {1, 0x3b, 2, 1, 8};
    kvi::PassThroughBackend backend(device, host);
    EXPECT_EQ(backend.driverName(), "kvdrv");
    EXPECT_EQ(backend.driverVersion(), "7.1");
    BackendController ctrl(backend);
    KV_DRV_PCI_INFORMATION info;
    ASSERT_EQ(ctrl.getPciInfo(&info), 0);
    EXPECT_EQ(info.domainID, 1u);
    EXPECT_EQ(info.busNumber, 0x3bu);
    EXPECT_EQ(info.deviceNumber, 2u);
    EXPECT_EQ(info.functionNumber, 1u);
    EXPECT_EQ(info.capability.linkCapability.linkWidth, 8u);
    kvi::SmpCommand smp;
    EXPECT_EQ(backend.submitSmp(smp), kvi::kUnsupported);
    EXPECT_TRUE(fake.packets.empty());
}

} // namespace
