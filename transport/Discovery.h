#pragma once
// Finding controllers in sysfs.
//
// Controllers are the SCSI hosts under <root>/class/scsi_host/ that answer a
// controller-information read through the management device, indexed in
// host-number order. sysfs gives, per host: the driver name (`proc_name`), the
// driver version (<root>/module/<driver>/version), the PCI function the host
// sits on (the first directory named like 0000:3b:00.0 above the host's
// device) and that function's `max_link_width`. The root is a parameter so
// tests run on a fake tree; real use passes "/sys".
#include <functional>
#include <string>
#include <vector>

#include "provider/Backend.h"

namespace kvi {

// One SCSI host as sysfs describes it.
struct ScsiHost {
    unsigned number = 0;       // N of hostN
    std::string name;          // "hostN"
    std::string driverName;    // proc_name ("" when unreadable)
    std::string driverVersion; // <root>/module/<driver>/version ("" when absent)
    bool hasPci = false;       // a PCI function was found above the host
    PciLocation pci;           // valid when hasPci
    std::string pciName;       // "0000:3b:00.0" when hasPci
};

// Every hostN under <root>/class/scsi_host, by host number. Entries that are
// not named hostN are ignored. Returns an empty list when the folder is absent.
std::vector<ScsiHost> listScsiHosts(const std::string& sysfsRoot);

// Parses a PCI function name "dddd:bb:dd.f" (hex; the domain may have more
// digits) into domain, bus, device and function (linkWidth untouched).
// Returns false, leaving `out` unchanged, when the text is not one.
bool parsePciName(const std::string& text, PciLocation& out);

// Which kind of failure a transport reports, for exit codes and messages.
enum class TransportFault {
    None,
    NoDevice,         // no device node, or no driver behind it
    PermissionDenied, // run as root
    NotController,    // the host is not one of the driver's controllers
    DriverRejected,   // the driver refused the request (EINVAL, EFAULT)
    Timeout,          // the controller did not answer in time
    Other,
};

// The answer of a controller probe: status 0 = the host answered a
// controller-information read; a firmware status (> 0) or a negative local
// status otherwise, with the fault and a message for negative statuses.
struct ProbeResult {
    int status = 0;
    TransportFault fault = TransportFault::None;
    std::string message;
    int error = 0; // the errno behind a negative status, 0 when there is none
};
using ControllerProbe = std::function<ProbeResult(const ScsiHost&)>;

// A host that did not answer as a controller, with the probe's answer.
struct RejectedHost {
    ScsiHost host;
    ProbeResult answer;
};

// Why a probe did not find a controller, in a few words: "driver rejected
// EINVAL", "timeout", "not a controller of the driver (ENODEV)", or the
// firmware status name of an answer that was not a success.
std::string probeFailureText(const ProbeResult& answer);

struct Discovery {
    std::vector<ScsiHost> controllers; // in host-number order; index = controller number
    std::vector<RejectedHost> others;  // hosts that did not answer as controllers
    // Set when probing stopped because the device itself is unusable
    // (NoDevice or PermissionDenied): no host can be reached then.
    TransportFault fault = TransportFault::None;
    std::string error;
};

// Lists the hosts and probes each in host-number order. A probe that fails with
// NoDevice or PermissionDenied stops discovery with that fault and message;
// any other failure only marks that host as not a controller.
Discovery discoverControllers(const std::string& sysfsRoot, const ControllerProbe& probe);

} // namespace kvi
