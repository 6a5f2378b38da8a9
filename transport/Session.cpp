#include "transport/Session.h"

#include <cstdlib>

namespace kvi {

TransportSet openPassThrough(const std::string& devicePath, const std::string& sysfsRoot,
                             DeviceOps ops) {
    TransportSet set;
    auto device = std::make_shared<PassThroughDevice>(devicePath, std::move(ops));
    Discovery found = discoverControllers(sysfsRoot, controllerInfoProbe(device));
    if (found.fault != TransportFault::None) {
        set.fault = found.fault;
        set.error = found.error;
        return set;
    }
    if (found.controllers.empty()) {
        if (found.others.empty()) {
            set.fault = TransportFault::NoDevice;
            set.error = "no SCSI hosts under " + sysfsRoot +
                        "/class/scsi_host: is the controller driver loaded?";
        } else {
            set.fault = TransportFault::NotController;
            // Each host with its driver and why the probe did not take it.
            std::string names;
            for (const RejectedHost& r : found.others)
                names += (names.empty() ? "" : ", ") + r.host.name + " (" +
                         (r.host.driverName.empty() ? "" : r.host.driverName + ": ") +
                         probeFailureText(r.answer) + ")";
            set.error = "no controller answered through " + devicePath + "; hosts tried: " + names;
        }
        return set;
    }
    for (ScsiHost& host : found.controllers)
        set.controllers.push_back(std::make_unique<PassThroughBackend>(device, std::move(host)));
    return set;
}

TransportSet openReplay(const std::string& capturePath) {
    TransportSet set;
    std::string error;
    set.log = ReplayLog::load(capturePath, error);
    if (!set.log) {
        set.fault = TransportFault::Other;
        set.error = error;
        return set;
    }
    if (set.log->controllerCount() == 0) {
        set.fault = TransportFault::NotController;
        set.error = "the capture " + capturePath + " holds no controller";
        return set;
    }
    for (unsigned i = 0; i < set.log->controllerCount(); ++i)
        set.controllers.push_back(std::make_unique<ReplayBackend>(set.log, i));
    return set;
}

std::vector<std::unique_ptr<CaptureBackend>>
captureAll(const std::vector<Backend*>& inner, const std::shared_ptr<CaptureWriter>& writer) {
    std::vector<std::unique_ptr<CaptureBackend>> out;
    for (std::size_t i = 0; i < inner.size(); ++i)
        out.push_back(
            std::make_unique<CaptureBackend>(*inner[i], writer, static_cast<unsigned>(i)));
    return out;
}

int exitCodeFor(TransportFault fault) {
    switch (fault) {
    case TransportFault::PermissionDenied:
        return 4;
    case TransportFault::NoDevice:
    case TransportFault::NotController:
        return 3;
    default:
        return 1;
    }
}

std::string noControllerMessage(const std::string& device, const TransportSet& set) {
    const std::string hint = set.fault == TransportFault::PermissionDenied
                                 ? "run as root"
                                 : "check the device and the driver, or try the simulator: "
                                   "kvictl --sim show";
    std::string text = "no controller reachable through " + device + ": " + set.error;
    const bool said = text.size() >= hint.size() &&
                      text.compare(text.size() - hint.size(), hint.size(), hint) == 0;
    return said ? text : text + "; " + hint;
}

std::string deviceFromEnvironment() {
    const char* value = std::getenv("KVICTL_DEVICE");
    return value ? std::string(value) : std::string();
}

} // namespace kvi
