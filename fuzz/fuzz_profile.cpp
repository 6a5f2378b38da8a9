// Fuzz target: a simulator profile (JSON) through the profile loader. A
// profile that loads becomes a simulated controller, and the report sections
// run against it, so record fields, lists and fault maps of any value reach
// the simulator's answers and the adapter. The loader may refuse a profile
// only with SimError; any other exception escaping is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "fuzz/AdapterDriver.h"
#include "fuzz/FuzzSupport.h"
#include "provider/Provider.h"
#include "sim/ControllerState.h"
#include "sim/Simulator.h"

namespace {

std::string gBaseDir;

// A "base" naming a device or a kernel file could block or never end; such
// inputs say nothing about the loader.
bool namesSpecialFile(const std::string& text) {
    for (const char* bad : {"/dev", "/proc", "/sys", ".."}) {
        if (text.find(bad) != std::string::npos) {
            return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvifuzz::installFormattingLogSink();
    // Relative "base" paths resolve against an empty folder of our own.
    char dir[] = "/tmp/kvictl-fuzz-profile-XXXXXX";
    if (mkdtemp(dir) != nullptr) {
        gBaseDir = dir;
        std::atexit([] { ::rmdir(gBaseDir.c_str()); });
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (namesSpecialFile(text)) {
        return 0;
    }
    const kvi::sim::Clock clock(1700000000);
    std::unique_ptr<kvi::sim::ControllerState> state;
    try {
        state = kvi::sim::buildFromProfileText(text, "fuzz.json", gBaseDir, clock);
    } catch (const kvi::sim::SimError&) {
        return 0;
    }
    kvi::sim::SimController sim(std::move(state), &clock);
    kvi::setProcessInputs(sim.processInputs());
    kvifuzz::ScopedSystemBackend system(&sim);
    BackendController controller(sim, ControllerId(0));
    {
        AdapterDataKvi adapter(&controller, controller.getControllerId());
        kvifuzz::buildReports(adapter);
    }
    kvi::setProcessInputs(kvi::ProcessInputs());
    return 0;
}
