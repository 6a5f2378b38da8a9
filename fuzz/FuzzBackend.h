#pragma once
// A controller whose every answer comes from the fuzz input: for each command
// the status, the bytes it returns and the mailbox it leaves are read from the
// input, so the adapter meets every shape of answer a broken or hostile
// firmware could give, including statuses and sizes no real one sends.
#include <cstddef>
#include <cstdint>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

#include "provider/Backend.h"

namespace kvifuzz {

class FuzzBackend : public kvi::Backend {
public:
    explicit FuzzBackend(FuzzedDataProvider& in) : in_(in) {}

    // Per command, in this order:
    //   status byte: below 0xA0 answers success, else one of the statuses
    //                the tool names, a local transport failure or a raw byte;
    //   fill mode:   how the data phase is filled (read and both directions):
    //                bytes from the input, one repeated byte, zeros with a few
    //                patched words (counts and offsets), or all 0xFF;
    //   mailbox:     a flag, then three words that replace the mailbox.
    int submit(kvi::DirectCommand& cmd) override;
    int submitSmp(kvi::SmpCommand& cmd) override;
    int pciLocation(kvi::PciLocation& out) override;
    std::string driverName() override;
    std::string driverVersion() override;
    std::string lastError() const override { return "fuzzed transport failure"; }

    std::size_t commands() const { return commands_; }

private:
    int pickStatus();
    void fill(std::uint8_t* data, std::size_t length);

    FuzzedDataProvider& in_;
    std::size_t commands_ = 0;
};

// Reads a small integer argument: mostly small values (indexes, levels,
// modes), sometimes any value of the type.
template <class T> T pickArgument(FuzzedDataProvider& in) {
    if (in.ConsumeIntegralInRange<unsigned>(0, 3) != 0) {
        return static_cast<T>(in.ConsumeIntegralInRange<unsigned>(0, 40));
    }
    return in.ConsumeIntegral<T>();
}

} // namespace kvifuzz
