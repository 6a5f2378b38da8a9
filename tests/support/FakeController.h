#pragma once
// The recording fake controller every test uses.
//
// FakeBackend answers direct commands from a script and records each one;
// FakeController is a BackendController over its own FakeBackend, so requests
// go through the real standard-size rule and buffer bound, and each record
// also holds what the caller passed (length, capacity, request kind).
// E.g. ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info)), run the code
// under test with &ctrl, then EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 1u).
#include <array>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "firmware/kvi.h"
#include "provider/Backend.h"
#include "provider/Controller.h"

namespace kvitest {

using Bytes = std::vector<std::uint8_t>;
using Mbox = std::array<std::uint8_t, 12>;

inline Mbox mboxWords(std::uint32_t w0, std::uint32_t w1 = 0, std::uint32_t w2 = 0) {
    const std::uint32_t words[3] = {w0, w1, w2};
    Mbox out{};
    std::memcpy(out.data(), words, out.size());
    return out;
}

// One scripted answer.
struct FakeAnswer {
    int status = 0;
    Bytes data; // copied to the start of the transfer buffer (bounded by its length)
    std::optional<Mbox> mboxAfter; // replaces the whole mailbox after completion
    std::array<std::optional<std::uint32_t>, 3> wordsAfter; // then replaces single words

    static FakeAnswer ok(Bytes bytes = {}) { return FakeAnswer{0, std::move(bytes), {}, {}}; }
    static FakeAnswer fail(int status) { return FakeAnswer{status, {}, {}, {}}; }
    // The bytes of a record (any trivially copyable type).
    template <class T> static FakeAnswer record(const T& value, int status = 0) {
        static_assert(std::is_trivially_copyable<T>::value, "records are plain bytes");
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&value);
        return FakeAnswer{status, Bytes(bytes, bytes + sizeof(T)), {}, {}};
    }
    // The controller answers in mailbox word i (0..2); the other words stay as sent.
    FakeAnswer& withMboxWord(int i, std::uint32_t value) {
        wordsAfter.at(static_cast<std::size_t>(i)) = value;
        return *this;
    }
    FakeAnswer& withMbox(const Mbox& mbox) {
        mboxAfter = mbox;
        return *this;
    }
};

enum class RequestKind { Firmware, Private, Driver, Smp };

// One recorded request.
struct FakeRequest {
    RequestKind kind = RequestKind::Firmware;
    std::uint32_t opcode = 0; // 0 for SMP
    Mbox mbox{};              // as sent
    Mbox mboxAfter{};         // as left by the answer
    // What the caller passed (FakeController only; kUnknown when the request
    // reached the backend some other way).
    static constexpr std::uint32_t kUnknown = 0xFFFFFFFFu;
    std::uint32_t callerLength = kUnknown;
    std::uint32_t capacity = kUnknown; // DpParams::kCapacityUnknown when the caller stated none
    bool callerBuffer = false;         // the caller passed a non-null buffer
    // What reached the backend.
    std::uint32_t length = 0; // the effective transfer length
    kvi::Direction direction = kvi::Direction::None;
    Bytes sent;     // the bytes sent (Write/Both; SMP request)
    int status = 0; // what the request returned
    bool reachedBackend = false;
    // SMP only.
    std::uint64_t sasAddress = 0;
    std::uint32_t responseLength = 0;

    std::uint32_t mboxWord(int i) const;
    std::string describe() const; // one line for failure messages
};

class FakeBackend : public kvi::Backend {
public:
    // ---- script ----
    // Answers by opcode, for any mailbox.
    void answer(std::uint32_t opcode, FakeAnswer a) { byOpcode_[opcode] = std::move(a); }
    // Answers by opcode and mailbox byte 0 (takes precedence over the opcode alone).
    void answerB0(std::uint32_t opcode, std::uint8_t b0, FakeAnswer a) {
        byB0_[{opcode, b0}] = std::move(a);
    }
    // One-shot answers for an opcode, used in order before any standing answer.
    void answerOnce(std::uint32_t op, FakeAnswer a) { once_[op].push_back(std::move(a)); }
    // The answer to everything unscripted (default: status 0, no bytes).
    void setDefault(FakeAnswer a) { default_ = std::move(a); }
    // Decides answers in code; returns nullopt to fall through to the script.
    using Handler = std::function<std::optional<FakeAnswer>(const kvi::DirectCommand&)>;
    void setHandler(Handler handler) { handler_ = std::move(handler); }
    // The SMP answer: status, and bytes copied into the response.
    void answerSmp(FakeAnswer a) { smp_ = std::move(a); }
    // Drops every scripted answer (the request log stays).
    void clearScript();

    // ---- host facts ----
    kvi::PciLocation pci;
    int pciStatus = 0;
    std::string driverNameText = "fake_drv";
    std::string driverVersionText = "1.0.0";

    // ---- request log ----
    const std::vector<FakeRequest>& requests() const { return requests_; }
    std::vector<FakeRequest>& mutableRequests() { return requests_; }
    std::size_t count(std::uint32_t opcode) const;
    std::size_t countB0(std::uint32_t opcode, std::uint8_t b0) const;
    const FakeRequest* last(std::uint32_t opcode) const; // nullptr when none
    const FakeRequest* lastRequest() const {             // nullptr when none
        return requests_.empty() ? nullptr : &requests_.back();
    }
    std::vector<std::uint32_t> opcodes() const; // in order
    void clear() { requests_.clear(); }

    // ---- Backend ----
    int submit(kvi::DirectCommand& cmd) override;
    int submitSmp(kvi::SmpCommand& cmd) override;
    int pciLocation(kvi::PciLocation& out) override {
        if (pciStatus == 0)
            out = pci;
        return pciStatus;
    }
    std::string driverName() override { return driverNameText; }
    std::string driverVersion() override { return driverVersionText; }

private:
    FakeAnswer pick(const kvi::DirectCommand& cmd);

    std::map<std::uint32_t, FakeAnswer> byOpcode_;
    std::map<std::pair<std::uint32_t, std::uint8_t>, FakeAnswer> byB0_;
    std::map<std::uint32_t, std::deque<FakeAnswer>> once_;
    FakeAnswer default_;
    FakeAnswer smp_;
    Handler handler_;
    std::vector<FakeRequest> requests_;
};

// The script and the log are the controller's own: ctrl.answer(...), ctrl.count(...).
class FakeController : public FakeBackend, public BackendController {
public:
    explicit FakeController(const ControllerId& id = ControllerId())
        : BackendController(static_cast<FakeBackend&>(*this), id) {}

    FakeBackend& backend() { return *this; }
    const FakeBackend& backend() const { return *this; }

    int execute(DpParams* params) override;
};

} // namespace kvitest
