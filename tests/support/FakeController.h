#pragma once
// The recording fake controller every test uses.
//
// FakeBackend answers direct commands from a script and records each one;
// FakeController is a BackendController over its own FakeBackend, so requests
// go through the real standard-size rule and buffer bound, and each record
// also holds what the caller passed (length, capacity, request kind).
//
//   kvitest::FakeController ctrl;
//   ctrl.answer(KV_DCMD_CTRL_GET_INFO, kvitest::FakeAnswer::record(info));
//   ctrl.answer(KV_DCMD_CTRL_ALARM_GET, kvitest::FakeAnswer::fail(KVI_STAT_NO_HW_PRESENT));
//   ... run the code under test with &ctrl ...
//   EXPECT_EQ(ctrl.count(KV_DCMD_CTRL_GET_INFO), 1u);
//   EXPECT_EQ(ctrl.last(KV_DCMD_CTRL_PROPERTIES_SET)->sent.size(), 64u);
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

Mbox toMbox(const DCMD_MBOX& mbox);
Mbox mboxWords(std::uint32_t w0, std::uint32_t w1 = 0, std::uint32_t w2 = 0);

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
        Bytes bytes(sizeof(T));
        std::memcpy(bytes.data(), &value, sizeof(T));
        return FakeAnswer{status, std::move(bytes), {}, {}};
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
const char* requestKindName(RequestKind kind);

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
    void answer(std::uint32_t opcode, FakeAnswer a);
    // Answers by opcode and mailbox byte 0 (takes precedence over the opcode alone).
    void answerB0(std::uint32_t opcode, std::uint8_t b0, FakeAnswer a);
    // Answers by opcode and the full mailbox (takes precedence over both above).
    void answerMbox(std::uint32_t opcode, const Mbox& mbox, FakeAnswer a);
    // One-shot answers for an opcode, used in order before any standing answer.
    void answerOnce(std::uint32_t opcode, FakeAnswer a);
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
    const FakeRequest* lastRequest() const;              // nullptr when none
    std::vector<std::uint32_t> opcodes() const;          // in order
    void clear() { requests_.clear(); }

    // ---- Backend ----
    int submit(kvi::DirectCommand& cmd) override;
    int submitSmp(kvi::SmpCommand& cmd) override;
    int pciLocation(kvi::PciLocation& out) override;
    std::string driverName() override { return driverNameText; }
    std::string driverVersion() override { return driverVersionText; }

private:
    FakeAnswer pick(const kvi::DirectCommand& cmd);

    std::map<std::uint32_t, FakeAnswer> byOpcode_;
    std::map<std::pair<std::uint32_t, std::uint8_t>, FakeAnswer> byB0_;
    std::map<std::pair<std::uint32_t, Mbox>, FakeAnswer> byMbox_;
    std::map<std::uint32_t, std::deque<FakeAnswer>> once_;
    FakeAnswer default_;
    FakeAnswer smp_;
    Handler handler_;
    std::vector<FakeRequest> requests_;
};

namespace detail {
struct FakeBackendHolder {
    FakeBackend fake;
};
} // namespace detail

class FakeController : private detail::FakeBackendHolder, public BackendController {
public:
    explicit FakeController(const ControllerId& id = ControllerId())
        : BackendController(fake, id) {}

    FakeBackend& backend() { return fake; }
    const FakeBackend& backend() const { return fake; }

    int execute(DpParams* params) override;

    // Shortcuts to the backend's script and log.
    void answer(std::uint32_t opcode, FakeAnswer a) { fake.answer(opcode, std::move(a)); }
    void answerB0(std::uint32_t opcode, std::uint8_t b0, FakeAnswer a) {
        fake.answerB0(opcode, b0, std::move(a));
    }
    void answerMbox(std::uint32_t opcode, const Mbox& mbox, FakeAnswer a) {
        fake.answerMbox(opcode, mbox, std::move(a));
    }
    void answerOnce(std::uint32_t opcode, FakeAnswer a) { fake.answerOnce(opcode, std::move(a)); }
    void setDefault(FakeAnswer a) { fake.setDefault(std::move(a)); }
    const std::vector<FakeRequest>& requests() const { return fake.requests(); }
    std::size_t count(std::uint32_t opcode) const { return fake.count(opcode); }
    std::size_t countB0(std::uint32_t opcode, std::uint8_t b0) const {
        return fake.countB0(opcode, b0);
    }
    const FakeRequest* last(std::uint32_t opcode) const { return fake.last(opcode); }
    const FakeRequest* lastRequest() const { return fake.lastRequest(); }
    std::vector<std::uint32_t> opcodes() const { return fake.opcodes(); }
    void clear() { fake.clear(); }
};

} // namespace kvitest
