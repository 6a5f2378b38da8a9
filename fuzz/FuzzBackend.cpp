#include "fuzz/FuzzBackend.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace kvifuzz {

int FuzzBackend::pickStatus() {
    const auto b = in_.ConsumeIntegral<std::uint8_t>();
    if (b < 0xA0) {
        return 0;
    }
    static const int kStatuses[] = {
        0x01,
        0x02,
        0x03,
        0x04,
        0x05,
        0x06,
        0x07,
        0x22,
        0xFF,
        kvi::kTransportFailed,
        kvi::kReplayMismatch,
        kvi::kUnsupported,
    };
    const std::size_t n = sizeof kStatuses / sizeof kStatuses[0];
    if (b - 0xA0u < n) {
        return kStatuses[b - 0xA0u];
    }
    return in_.ConsumeIntegral<std::uint8_t>(); // any byte, 0 included
}

void FuzzBackend::fill(std::uint8_t* data, std::size_t length) {
    if (data == nullptr || length == 0) {
        return;
    }
    switch (in_.ConsumeIntegralInRange<int>(0, 3)) {
    case 0: { // bytes from the input, the rest zero
        const std::vector<std::uint8_t> bytes = in_.ConsumeBytes<std::uint8_t>(length);
        std::memset(data, 0, length);
        if (!bytes.empty()) {
            std::memcpy(data, bytes.data(), bytes.size());
        }
        break;
    }
    case 1: // one repeated byte
        std::memset(data, in_.ConsumeIntegral<std::uint8_t>(), length);
        break;
    case 2: { // zeros with a few patched 32-bit words: counts, offsets, flags
        std::memset(data, 0, length);
        const int patches = in_.ConsumeIntegralInRange<int>(0, 8);
        for (int i = 0; i < patches; ++i) {
            const std::size_t at = in_.ConsumeIntegralInRange<std::size_t>(0, length - 1);
            const auto value = in_.ConsumeIntegral<std::uint32_t>();
            std::memcpy(data + at, &value, std::min<std::size_t>(sizeof value, length - at));
        }
        break;
    }
    default:
        std::memset(data, 0xFF, length);
        break;
    }
}

int FuzzBackend::submit(kvi::DirectCommand& cmd) {
    ++commands_;
    const int status = pickStatus();
    if (cmd.direction == kvi::Direction::Read || cmd.direction == kvi::Direction::Both) {
        fill(cmd.data, cmd.length);
    }
    if (in_.ConsumeBool()) {
        for (int w = 0; w < 3; ++w) {
            const auto word = in_.ConsumeIntegral<std::uint32_t>();
            std::memcpy(cmd.mbox + 4 * w, &word, sizeof word);
        }
    }
    return status;
}

int FuzzBackend::submitSmp(kvi::SmpCommand& cmd) {
    ++commands_;
    const int status = pickStatus();
    fill(cmd.response, cmd.responseLength);
    return status;
}

int FuzzBackend::pciLocation(kvi::PciLocation& out) {
    if (in_.ConsumeIntegralInRange<int>(0, 7) == 0) {
        return kvi::kTransportFailed;
    }
    out.domain = in_.ConsumeIntegral<std::uint32_t>();
    out.bus = in_.ConsumeIntegral<std::uint32_t>();
    out.device = in_.ConsumeIntegral<std::uint8_t>();
    out.function = in_.ConsumeIntegral<std::uint8_t>();
    out.linkWidth = in_.ConsumeIntegral<std::uint32_t>();
    return 0;
}

std::string FuzzBackend::driverName() {
    return in_.ConsumeRandomLengthString(120);
}
std::string FuzzBackend::driverVersion() {
    return in_.ConsumeRandomLengthString(120);
}

} // namespace kvifuzz
