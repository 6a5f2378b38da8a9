#pragma once
// Helpers shared by the simulator's source files (not part of its API).
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "sim/ControllerState.h"

namespace kvi::sim {

// Most image components one list may hold.
constexpr std::size_t kMaxFlashComponents = 32;
// Most events event capture keeps (what fits its 32768-byte answer).
constexpr std::size_t kMaxCaptured = 128;
// The code of the event a controller logs when it has booted.
constexpr std::uint32_t kEventControllerBooted = 0x0001;
// Most SSD-cache volumes a configuration holds.
constexpr std::size_t kMaxSscVolumes = 64;

// Copies the properties into their mirrors inside KV_CTRL_INFO.
void mirrorProperties(ControllerState& st);
// Settles a freshly built state: remembers the properties for factory
// defaults, mirrors them, resolves the alarm state, marks the boot.
void finishProfile(ControllerState& st);
// Assigns a lock key: stores a salted hash of the passphrase, never the text.
void assignLockKey(ControllerState& st, const std::string& passphrase, const std::string& keyId,
                   bool external);
// Whether a passphrase matches the assigned key.
bool lockKeyMatches(const ControllerState& st, const std::string& passphrase);

// 64-bit FNV-1a of `s`, continuing from `h` (the lock key's salt and the
// suggested passphrase derive from it).
inline std::uint64_t fnv1a(std::uint64_t h, const std::string& s) {
    for (unsigned char c : s) {
        h ^= c;
        h *= 0x100000001b3ULL;
    }
    return h;
}

std::string toHex(const std::uint8_t* data, std::size_t size);
bool fromHex(const std::string& text, std::vector<std::uint8_t>& out);

} // namespace kvi::sim
