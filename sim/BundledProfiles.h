#pragma once
// The profiles compiled into the simulator (generated from sim/profiles/*.json).
namespace kvi::sim {

struct BundledProfile {
    const char* name; // file name without ".json", e.g. "default"
    const char* text; // the JSON text
};

extern const BundledProfile kBundledProfiles[];
extern const unsigned kBundledProfileCount;

} // namespace kvi::sim
