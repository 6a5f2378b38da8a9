#pragma once
// Process-wide settings shared by the fuzz targets.
#include <fuzzer/FuzzedDataProvider.h>

namespace kvi {
class Backend;
}

namespace kvifuzz {

// Formats every debug log line (so bad format arguments are found) and throws
// the text away.
void installFormattingLogSink();

// The OEM flag, controller type and data-provider availability from the input.
void setFuzzedProcessInputs(FuzzedDataProvider& in);

// Points System (driver name and version) at a backend for one input.
class ScopedSystemBackend {
public:
    explicit ScopedSystemBackend(kvi::Backend* backend);
    ~ScopedSystemBackend();
    ScopedSystemBackend(const ScopedSystemBackend&) = delete;
    ScopedSystemBackend& operator=(const ScopedSystemBackend&) = delete;

private:
    kvi::Backend* previous_;
};

} // namespace kvifuzz
