#pragma once
// What the adapter tests share: an AdapterDataKvi over the recording fake
// controller with the log captured (so every log line is formatted, under the
// sanitizers too), reset() to start over with a fresh object, no recorded
// requests and no scripted answers, small helpers that build records, and the
// comparison of a decision table's text with its golden file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "tests/adapter/AdapterDataKviPeer.h"
#include "tests/support/FakeController.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestData.h"

namespace kvitest {

constexpr int kFail = 0x2D;   // a firmware failure status
constexpr int kNoHw = 0x22;   // "no hardware present"
using P = AdapterDataKviPeer; // the object's caches and change flags

// Bytes seed, seed+1, ... (wrapping), so every byte of a record is recognisable.
inline Bytes pattern(std::size_t n, std::uint8_t seed = 1) {
    Bytes b(n);
    for (std::size_t i = 0; i < n; ++i) {
        b[i] = static_cast<std::uint8_t>(seed + i);
    }
    return b;
}

inline Bytes bytesOf(const void* p, std::size_t n) {
    const auto* c = static_cast<const std::uint8_t*>(p);
    return Bytes(c, c + n);
}

inline Bytes le32(std::uint32_t v) {
    return bytesOf(&v, 4);
}

// A mailbox with the given bytes set, the rest 0.
inline Mbox mboxBytes(std::initializer_list<std::pair<int, std::uint8_t>> bytes) {
    Mbox m{};
    for (const auto& p : bytes) {
        m[static_cast<std::size_t>(p.first)] = p.second;
    }
    return m;
}

// An image component list as the firmware sends it: head (size, the given count), then one
// 72-byte entry per component (name at +0, version at +8); room for one entry at least.
inline Bytes imageList(const std::vector<std::pair<std::string, std::string>>& comps,
                       std::uint32_t count) {
    Bytes b(8 + std::max<std::size_t>(comps.size(), 1) * 72, 0);
    const auto size = static_cast<std::uint32_t>(comps.size() * 72);
    std::memcpy(b.data(), &size, 4);
    std::memcpy(b.data() + 4, &count, 4);
    for (std::size_t i = 0; i < comps.size(); ++i) {
        std::memcpy(b.data() + 8 + i * 72, comps[i].first.data(), comps[i].first.size());
        std::memcpy(b.data() + 16 + i * 72, comps[i].second.data(), comps[i].second.size());
    }
    return b;
}

// Compares `actual` with tests/golden/adapter/<name>; KVI_UPDATE_GOLDEN=1 rewrites the file.
inline void expectGolden(const std::string& name, const std::string& actual) {
    EXPECT_EQ(golden("tests/golden/adapter/" + name, actual), actual) << "golden file " << name;
}

} // namespace kvitest

// A getter `op(T*)` as a row of a table: the out-value goes in as `io` (so that an untouched
// value shows) and comes back widened to the type of `io`.
#define KVI_OUT(op, T)                                                                             \
    [](AdapterDataKvi& a, auto& io) {                                                              \
        T v = static_cast<T>(io);                                                                  \
        const int rc = a.op(&v);                                                                   \
        io = static_cast<std::remove_reference_t<decltype(io)>>(v);                                \
        return rc;                                                                                 \
    }

class AdapterFixture : public ::testing::Test {
protected:
    kvitest::FakeController ctrl;
    std::unique_ptr<AdapterDataKvi> obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
    kvitest::LogCapture log;
    AdapterDataKvi& a() { return *obj; }

    void reset() {
        obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
        ctrl.clear();
        ctrl.backend().clearScript();
        log.clear();
    }
};
