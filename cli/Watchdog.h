#pragma once
// A deadline for a whole run, as monitoring systems expect of a plugin: when
// it passes, prepared texts go to stdout and stderr, the temporary files are
// removed and the process ends with the given status, also while the main
// thread is stuck in a request that never returns (an ioctl the driver does
// not complete). After the deadline only write, unlink and _exit run.
#include <string>

namespace cli::watchdog {

// Starts the deadline `seconds` from now. `out` and `err` are written as they
// are (each may be empty). Armed once per run; a second call does nothing.
void arm(unsigned seconds, std::string out, std::string err, int status);

// Stops the deadline before the run writes its own result. When the deadline
// has already passed, the prepared texts are being written and the process is
// ending: this call then never returns, so the run's result cannot follow them.
void disarm();

} // namespace cli::watchdog
