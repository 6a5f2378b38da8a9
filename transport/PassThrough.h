#pragma once
// The Linux pass-through backend: direct commands to a controller through the
// host driver's management character device, one ioctl per command on the
// packet of transport/Packet.h.
//
// One PassThroughDevice (the open device node) is shared by the
// PassThroughBackend of every controller found on it; each backend addresses
// its controller by SCSI host number and answers PCI location and driver
// strings from what discovery read in sysfs.
//
//   auto device = std::make_shared<kvi::PassThroughDevice>("/dev/kvictl0");
//   kvi::Discovery found = kvi::discoverControllers("/sys", kvi::controllerInfoProbe(device));
//   kvi::PassThroughBackend backend(device, found.controllers[0]);
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "provider/Backend.h"
#include "transport/Discovery.h"
#include "transport/Packet.h"

namespace kvi {

// The system calls the backend makes; tests replace them.
struct DeviceOps {
    // Opens the device read-write; returns a descriptor >= 0 or -errno.
    std::function<int(const std::string& path)> open;
    // One ioctl; returns 0 or the errno of the failure (EINTR included: the
    // caller retries).
    std::function<int(int fd, unsigned long request, void* arg)> ioctl;
    std::function<void(int fd)> close;
};

// open(2) with O_RDWR | O_CLOEXEC, ioctl(2), close(2).
DeviceOps linuxDeviceOps();

// How often an ioctl interrupted by a signal is reissued before giving up.
constexpr int kMaxEintrRetries = 100;

// The kind of failure an errno means, when opening the device (`opening`) or
// when a command fails.
TransportFault faultOfErrno(int err, bool opening);

// A one-line message a user can act on. `opcode` names the request (commands only).
std::string errnoMessage(int err, bool opening, const std::string& device, unsigned host,
                         std::uint32_t opcode);

class PassThroughDevice {
public:
    explicit PassThroughDevice(std::string path, DeviceOps ops = linuxDeviceOps());
    ~PassThroughDevice();
    PassThroughDevice(const PassThroughDevice&) = delete;
    PassThroughDevice& operator=(const PassThroughDevice&) = delete;

    // Opens the device once; later calls repeat the first outcome without
    // opening again. Returns 0 or kTransportFailed (see lastError()).
    int open();
    bool isOpen() const { return fd_ >= 0; }
    const std::string& path() const { return path_; }

    // Issues the ioctl for one packet on the open device, reissuing it while it
    // is interrupted (up to kMaxEintrRetries). Returns 0 or the errno.
    int issue(KviIoctlPacket& packet);

    // The outcome of open().
    int openErrno() const { return openErrno_; }
    TransportFault openFault() const;
    std::string openError() const;

private:
    std::string path_;
    DeviceOps ops_;
    int fd_ = -1;
    bool tried_ = false;
    int openErrno_ = 0;
};

class PassThroughBackend : public Backend {
public:
    PassThroughBackend(std::shared_ptr<PassThroughDevice> device, ScsiHost host);

    // Status from frame byte 2 and the mailbox from the frame when the ioctl
    // succeeds; kTransportFailed (errno and message kept) when it fails.
    int submit(DirectCommand& cmd) override;
    // The device carries direct commands only.
    int submitSmp(SmpCommand& cmd) override;
    int pciLocation(PciLocation& out) override;
    std::string driverName() override { return host_.driverName; }
    std::string driverVersion() override { return host_.driverVersion; }
    std::string lastError() const override { return lastError_; }

    TransportFault lastFault() const { return lastFault_; }
    int lastErrno() const { return lastErrno_; }
    const ScsiHost& host() const { return host_; }

private:
    int fail(TransportFault fault, int err, std::string message);

    std::shared_ptr<PassThroughDevice> device_;
    ScsiHost host_;
    std::string lastError_;
    TransportFault lastFault_ = TransportFault::None;
    int lastErrno_ = 0;
};

// The discovery probe for a device: sends a controller-information read
// (KV_DCMD_CTRL_GET_INFO at its standard size) to the host.
ControllerProbe controllerInfoProbe(std::shared_ptr<PassThroughDevice> device);

} // namespace kvi
