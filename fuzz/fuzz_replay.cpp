// Fuzz target: a capture file (JSON Lines) through the replay parser; when it
// parses, every recorded controller is replayed under the report sections, so
// the replay backend's matching and the adapter both meet recorded answers of
// any shape.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "fuzz/AdapterDriver.h"
#include "fuzz/FuzzSupport.h"
#include "provider/Provider.h"
#include "transport/Replay.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvifuzz::installFormattingLogSink();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream text(std::string(reinterpret_cast<const char*>(data), size));
    std::string error;
    const auto log = kvi::ReplayLog::parse(text, "fuzz.jsonl", error);
    if (!log) {
        return 0;
    }
    (void)log->fact("now");
    (void)log->fact("isOEMhp");
    const unsigned controllers = std::min(log->controllerCount(), 4u);
    for (unsigned i = 0; i < controllers; ++i) {
        kvi::ReplayBackend backend(log, i);
        kvifuzz::ScopedSystemBackend system(&backend);
        BackendController controller(backend, ControllerId(i));
        AdapterDataKvi adapter(&controller, controller.getControllerId());
        kvifuzz::buildReports(adapter);
        (void)backend.lastError();
        (void)backend.remaining();
    }
    return 0;
}
