#include "transport/PassThrough.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

#include "firmware/kvi.h"

namespace kvi {

DeviceOps linuxDeviceOps() {
    DeviceOps ops;
    ops.open = [](const std::string& path) {
        int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        return fd >= 0 ? fd : -errno;
    };
    ops.ioctl = [](int fd, unsigned long request, void* arg) {
        return ::ioctl(fd, request, arg) == 0 ? 0 : errno;
    };
    ops.close = [](int fd) { ::close(fd); };
    return ops;
}

TransportFault faultOfErrno(int err, bool opening) {
    switch (err) {
    case 0:
        return TransportFault::None;
    case EACCES:
    case EPERM:
        return TransportFault::PermissionDenied;
    case ENOENT:
    case ENOTTY:
        return TransportFault::NoDevice;
    case ENODEV:
    case ENXIO:
        return opening ? TransportFault::NoDevice : TransportFault::NotController;
    case EINVAL:
    case EFAULT:
        return TransportFault::DriverRejected;
    case ETIMEDOUT:
        return TransportFault::Timeout;
    default:
        return TransportFault::Other;
    }
}

static std::string requestName(std::uint32_t opcode) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", opcode);
    const char* name = kvDcmdName(opcode);
    return name ? std::string(name) + " (" + hex + ")" : std::string("opcode ") + hex;
}

std::string errnoMessage(int err, bool opening, const std::string& device, unsigned host,
                         std::uint32_t opcode) {
    const std::string hostText = "host" + std::to_string(host);
    if (opening) {
        switch (err) {
        case ENOENT:
            return "no device node " + device +
                   ": is the controller driver loaded? (give the node with --device)";
        case ENODEV:
        case ENXIO:
            return "no driver behind " + device + ": is the controller driver loaded?";
        case EACCES:
        case EPERM:
            return "permission denied opening " + device + ": run as root";
        default:
            return "cannot open " + device + ": " + std::strerror(err);
        }
    }
    const std::string what = requestName(opcode);
    switch (err) {
    case EACCES:
    case EPERM:
        return "permission denied sending " + what + " through " + device + ": run as root";
    case ENODEV:
    case ENXIO:
        return hostText + " is not a controller of the driver behind " + device;
    case ENOTTY:
        return device + " does not take controller commands: is it the controller driver's "
                        "management device?";
    case EINVAL:
        return "the driver behind " + device + " rejected " + what + " for " + hostText;
    case EFAULT:
        return "the driver behind " + device + " could not reach the buffer of " + what;
    case ETIMEDOUT:
        return hostText + " did not answer " + what + " in time";
    case EINTR:
        return what + " to " + hostText + " was interrupted " +
               std::to_string(kMaxEintrRetries + 1) + " times; giving up";
    default:
        return what + " to " + hostText + " failed on " + device + ": " + std::strerror(err);
    }
}

// ---- PassThroughDevice ----

PassThroughDevice::PassThroughDevice(std::string path, DeviceOps ops)
    : path_(std::move(path)), ops_(std::move(ops)) {}

PassThroughDevice::~PassThroughDevice() {
    if (fd_ >= 0 && ops_.close)
        ops_.close(fd_);
}

int PassThroughDevice::open() {
    if (!tried_) {
        tried_ = true;
        int fd = ops_.open ? ops_.open(path_) : -ENOSYS;
        if (fd >= 0)
            fd_ = fd;
        else
            openErrno_ = -fd;
    }
    return fd_ >= 0 ? 0 : kTransportFailed;
}

TransportFault PassThroughDevice::openFault() const {
    return faultOfErrno(openErrno_, true);
}

std::string PassThroughDevice::openError() const {
    return openErrno_ ? errnoMessage(openErrno_, true, path_, 0, 0) : std::string();
}

int PassThroughDevice::issue(KviIoctlPacket& packet) {
    if (fd_ < 0)
        return EBADF;
    if (!ops_.ioctl)
        return ENOSYS;
    int err = EINTR;
    for (int attempt = 0; attempt <= kMaxEintrRetries && err == EINTR; ++attempt)
        err = ops_.ioctl(fd_, kKviIoctlRequest, &packet);
    return err;
}

// ---- PassThroughBackend ----

PassThroughBackend::PassThroughBackend(std::shared_ptr<PassThroughDevice> device, ScsiHost host)
    : device_(std::move(device)), host_(std::move(host)) {}

int PassThroughBackend::fail(TransportFault fault, int err, std::string message) {
    lastFault_ = fault;
    lastErrno_ = err;
    lastError_ = std::move(message);
    return kTransportFailed;
}

int PassThroughBackend::submit(DirectCommand& cmd) {
    if (!device_)
        return fail(TransportFault::NoDevice, ENODEV, "no management device given");
    if (device_->open() != 0)
        return fail(device_->openFault(), device_->openErrno(), device_->openError());
    if (host_.number > 0xFFFFu)
        return fail(TransportFault::NotController, ENODEV,
                    host_.name + " has a host number the device cannot address");

    KviIoctlPacket packet;
    buildPacket(cmd, static_cast<std::uint16_t>(host_.number), packet);
    int err = device_->issue(packet);
    if (err != 0)
        return fail(faultOfErrno(err, false), err,
                    errnoMessage(err, false, device_->path(), host_.number, cmd.opcode));

    const KviDcmdFrame frame = frameOf(packet);
    // Commands that answer in the mailbox leave it in the frame.
    std::memcpy(cmd.mbox, frame.mbox, sizeof cmd.mbox);
    lastFault_ = TransportFault::None;
    lastErrno_ = 0;
    return frame.status;
}

int PassThroughBackend::submitSmp(SmpCommand& cmd) {
    (void)cmd;
    lastFault_ = TransportFault::Other;
    lastErrno_ = 0;
    lastError_ = "SMP pass-through is not available through the management device";
    return kUnsupported;
}

int PassThroughBackend::pciLocation(PciLocation& out) {
    if (!host_.hasPci)
        return fail(TransportFault::Other, 0, "no PCI function found in sysfs above " + host_.name);
    out = host_.pci;
    return 0;
}

ControllerProbe controllerInfoProbe(std::shared_ptr<PassThroughDevice> device) {
    return [device](const ScsiHost& host) {
        PassThroughBackend backend(device, host);
        const KV_DCMD_INFO* row = kvDcmdInfo(KV_DCMD_CTRL_GET_INFO);
        std::vector<std::uint8_t> buffer(row ? row->standardSize : 2464u);
        DirectCommand cmd;
        cmd.opcode = KV_DCMD_CTRL_GET_INFO;
        cmd.data = buffer.data();
        cmd.length = static_cast<std::uint32_t>(buffer.size());
        cmd.direction = Direction::Read;
        ProbeResult result;
        result.status = backend.submit(cmd);
        if (result.status < 0) {
            result.fault = backend.lastFault();
            result.message = backend.lastError();
            result.error = backend.lastErrno();
        } else if (result.status > 0) {
            result.fault = TransportFault::NotController;
            result.message = host.name + " answered the controller-information read with status " +
                             std::to_string(result.status);
        }
        return result;
    };
}

} // namespace kvi
