// Fuzz target: one AdapterDataKvi over a controller whose every answer comes
// from the input (fuzz/FuzzBackend.h). It builds every report section and
// calls every operation of the interface, either all in interface order or a
// sequence chosen by the input (which finds cache interplay: a failed load
// followed by a setter, a write-back after a stale read).
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <fuzzer/FuzzedDataProvider.h>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "fuzz/AdapterDriver.h"
#include "fuzz/FuzzBackend.h"
#include "fuzz/FuzzSupport.h"
#include "provider/Provider.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvifuzz::installFormattingLogSink();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    kvifuzz::setFuzzedProcessInputs(in);
    const int mode = in.ConsumeIntegralInRange<int>(0, 3);

    kvifuzz::FuzzBackend backend(in);
    kvifuzz::ScopedSystemBackend system(&backend);
    BackendController controller(backend, ControllerId(0));
    {
        AdapterDataKvi adapter(&controller, controller.getControllerId());
        switch (mode) {
        case 0: // the report sections, then every operation in interface order
            kvifuzz::buildReports(adapter);
            for (std::size_t i = 0; i < kvifuzz::operationCount(); ++i) {
                kvifuzz::callOperation(adapter, i, in);
            }
            break;
        case 1: // the report sections only (what `show all` does)
            kvifuzz::buildReports(adapter);
            break;
        default: // a sequence of operations chosen by the input
            for (int calls = 0; calls < 64 && in.remaining_bytes() > 0; ++calls) {
                kvifuzz::callOperation(adapter, in.ConsumeIntegral<std::uint16_t>(), in);
            }
            break;
        }
    }
    return 0;
}
