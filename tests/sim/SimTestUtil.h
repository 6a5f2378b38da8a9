#pragma once
// Helpers for the simulator tests: one request straight to a SimController.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Backend.h"
#include "sim/ControllerState.h"
#include "sim/Simulator.h"
#include "tests/support/TzGuard.h"

namespace simtest {

struct Reply {
    int status = 0;
    std::vector<std::uint8_t> data;
    std::uint8_t mbox[12] = {};
    std::uint32_t word(int i) const { return read(mbox + 4 * i); }
    std::uint32_t at(std::size_t offset) const { return read(data.data() + offset); }
    static std::uint32_t read(const std::uint8_t* p) {
        std::uint32_t v;
        std::memcpy(&v, p, 4);
        return v;
    }
};

// Sends one request. `length` 0 takes the opcode's standard size; `data` (when
// given) is copied into the buffer first; `direction` -1 takes the table's.
inline Reply send(kvi::sim::SimController& c, std::uint32_t opcode, DCMD_MBOX mbox = DCMD_MBOX{},
                  std::uint32_t length = 0, const void* data = nullptr, std::size_t dataSize = 0,
                  int direction = -1) {
    const KV_DCMD_INFO* row = kvDcmdInfo(opcode);
    if (length == 0 && row)
        length = row->standardSize;
    Reply r;
    r.data.assign(length, 0);
    if (data)
        std::memcpy(r.data.data(), data, dataSize < length ? dataSize : length);
    kvi::DirectCommand cmd;
    cmd.kind =
        opcode == KV_DRV_GET_DRIVER_VERSION ? kvi::CommandKind::Driver : kvi::CommandKind::Firmware;
    cmd.opcode = opcode;
    std::memcpy(cmd.mbox, mbox.b, 12);
    cmd.data = length ? r.data.data() : nullptr;
    cmd.length = length;
    if (direction < 0)
        direction = row ? row->direction : int(kvi::Direction::Both);
    cmd.direction = static_cast<kvi::Direction>(direction);
    if (length > 0 && cmd.direction == kvi::Direction::None)
        cmd.direction = kvi::Direction::Both;
    r.status = c.submit(cmd);
    std::memcpy(r.mbox, cmd.mbox, 12);
    return r;
}

template <class T>
inline Reply sendRecord(kvi::sim::SimController& c, std::uint32_t opcode, const T& record,
                        DCMD_MBOX mbox = DCMD_MBOX{}) {
    return send(c, opcode, mbox, sizeof(T), &record, sizeof(T));
}

// A lock key request (create, verify, re-key) with its passphrase record.
template <class T>
inline int sendPass(kvi::sim::SimController& c, std::uint32_t opcode, const char* pass) {
    T p{};
    std::memcpy(p.lockKeyPassPhrase.passPhrase, pass, std::strlen(pass));
    return sendRecord(c, opcode, p).status;
}

template <class T> inline T as(const Reply& r) {
    T v{};
    std::memcpy(&v, r.data.data(), r.data.size() < sizeof(T) ? r.data.size() : sizeof(T));
    return v;
}

inline DCMD_MBOX mboxBytes(std::initializer_list<std::pair<int, std::uint8_t>> bytes) {
    DCMD_MBOX m{};
    for (auto& b : bytes)
        m.b[b.first] = b.second;
    return m;
}
inline DCMD_MBOX mboxWords(std::uint32_t w0, std::uint32_t w1 = 0, std::uint32_t w2 = 0) {
    const std::uint32_t words[3] = {w0, w1, w2};
    DCMD_MBOX m{};
    std::memcpy(m.b, words, sizeof words);
    return m;
}

// A simulator on the fixed instant 2025-06-01 12:00:00 UTC.
constexpr std::int64_t kNow = 1748779200;
// The controller's clock counts from 2000-01-01.
constexpr std::uint32_t kFwNow = std::uint32_t(kNow - 946684800);

// The first controller of the default profile, in UTC.
class SimTest : public ::testing::Test {
protected:
    void SetUp() override { sim.load("default"); }
    kvi::sim::SimController& c() { return sim.controller(0); }
    kvitest::TzGuard tz{"UTC0"};
    kvi::sim::Simulator sim{kvi::sim::Clock(kNow)};
};

} // namespace simtest
