#pragma once
// Opening the backends of one run, for the command line: one backend per
// controller, in controller order (index = controller number).
//
//   --device PATH   kvi::openPassThrough(path)        (PATH defaults to $KVICTL_DEVICE)
//   --replay FILE   kvi::openReplay(file)
//   --record FILE   kvi::CaptureWriter::open(file, error), then kvi::captureAll(...)
//                   over whichever backends the run uses (simulator included)
#include <memory>
#include <string>
#include <vector>

#include "provider/Backend.h"
#include "transport/Capture.h"
#include "transport/Discovery.h"
#include "transport/PassThrough.h"
#include "transport/Replay.h"

namespace kvi {

struct TransportSet {
    std::vector<std::unique_ptr<Backend>> controllers; // index = controller number
    // Set when nothing could be opened; `controllers` is then empty.
    TransportFault fault = TransportFault::None;
    std::string error;
    // Replay only: the parsed capture (facts: log->fact(name)).
    std::shared_ptr<const ReplayLog> log;
};

// Discovers the controllers behind the management device `devicePath` (sysfs
// under `sysfsRoot`). No controller found is an error too (fault NotController
// when hosts exist but none answers, NoDevice when there are no SCSI hosts).
TransportSet openPassThrough(const std::string& devicePath, const std::string& sysfsRoot = "/sys",
                             DeviceOps ops = linuxDeviceOps());

// Loads a capture; one ReplayBackend per controller it declares. A malformed
// file sets fault Other and the message naming the line.
TransportSet openReplay(const std::string& capturePath);

// Wraps each backend in a CaptureBackend numbered by its position. The inner
// backends must outlive the returned ones.
std::vector<std::unique_ptr<CaptureBackend>>
captureAll(const std::vector<Backend*>& inner, const std::shared_ptr<CaptureWriter>& writer);

// The exit status for a run that could not reach its controllers:
// 4 permission denied, 3 no controller reachable, 1 anything else.
int exitCodeFor(TransportFault fault);

// The message of a run that reached no controller through `device`: the
// transport's reason, then what to do about it ("run as root" when permission
// was denied), said once even when the reason already ends with it.
std::string noControllerMessage(const std::string& device, const TransportSet& set);

// $KVICTL_DEVICE, or "" when unset.
std::string deviceFromEnvironment();

} // namespace kvi
