#include "tests/support/FakeController.h"

#include <algorithm>
#include <cstdio>

namespace kvitest {

Mbox toMbox(const DCMD_MBOX& mbox) {
    Mbox out{};
    std::memcpy(out.data(), mbox.b, out.size());
    return out;
}

Mbox mboxWords(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2) {
    DCMD_MBOX mbox{};
    mbox.w[0] = w0;
    mbox.w[1] = w1;
    mbox.w[2] = w2;
    return toMbox(mbox);
}

const char* requestKindName(RequestKind kind) {
    switch (kind) {
    case RequestKind::Firmware:
        return "firmware";
    case RequestKind::Private:
        return "private";
    case RequestKind::Driver:
        return "driver";
    case RequestKind::Smp:
        return "smp";
    }
    return "?";
}

std::uint32_t FakeRequest::mboxWord(int i) const {
    std::uint32_t w = 0;
    std::memcpy(&w, mbox.data() + 4 * std::clamp(i, 0, 2), sizeof w);
    return w;
}

std::string FakeRequest::describe() const {
    char text[256];
    const char* name = kvDcmdName(opcode);
    std::snprintf(
        text, sizeof text,
        "%s 0x%08x (%s) mbox %08x %08x %08x caller length %u capacity %u -> length %u %s status %d",
        requestKindName(kind), opcode, name ? name : "?", mboxWord(0), mboxWord(1), mboxWord(2),
        callerLength, capacity, length,
        kviXferDirName(static_cast<KVI_XFER_DIR>(static_cast<std::uint8_t>(direction))), status);
    return text;
}

void FakeBackend::answer(std::uint32_t opcode, FakeAnswer a) {
    byOpcode_[opcode] = std::move(a);
}

void FakeBackend::answerB0(std::uint32_t opcode, std::uint8_t b0, FakeAnswer a) {
    byB0_[{opcode, b0}] = std::move(a);
}

void FakeBackend::answerMbox(std::uint32_t opcode, const Mbox& mbox, FakeAnswer a) {
    byMbox_[{opcode, mbox}] = std::move(a);
}

void FakeBackend::answerOnce(std::uint32_t opcode, FakeAnswer a) {
    once_[opcode].push_back(std::move(a));
}

void FakeBackend::clearScript() {
    byOpcode_.clear();
    byB0_.clear();
    byMbox_.clear();
    once_.clear();
    default_ = FakeAnswer();
    smp_ = FakeAnswer();
    handler_ = nullptr;
}

FakeAnswer FakeBackend::pick(const kvi::DirectCommand& cmd) {
    if (handler_)
        if (std::optional<FakeAnswer> a = handler_(cmd))
            return *a;
    auto once = once_.find(cmd.opcode);
    if (once != once_.end() && !once->second.empty()) {
        FakeAnswer a = std::move(once->second.front());
        once->second.pop_front();
        return a;
    }
    Mbox mbox{};
    std::memcpy(mbox.data(), cmd.mbox, mbox.size());
    auto full = byMbox_.find({cmd.opcode, mbox});
    if (full != byMbox_.end())
        return full->second;
    auto b0 = byB0_.find({cmd.opcode, cmd.mbox[0]});
    if (b0 != byB0_.end())
        return b0->second;
    auto op = byOpcode_.find(cmd.opcode);
    if (op != byOpcode_.end())
        return op->second;
    return default_;
}

int FakeBackend::submit(kvi::DirectCommand& cmd) {
    FakeRequest r;
    r.kind = cmd.kind == kvi::CommandKind::Driver ? RequestKind::Driver : RequestKind::Firmware;
    r.opcode = cmd.opcode;
    std::memcpy(r.mbox.data(), cmd.mbox, r.mbox.size());
    r.length = cmd.length;
    r.direction = cmd.direction;
    r.reachedBackend = true;
    if (cmd.data && cmd.length &&
        (cmd.direction == kvi::Direction::Write || cmd.direction == kvi::Direction::Both))
        r.sent.assign(cmd.data, cmd.data + cmd.length);

    FakeAnswer a = pick(cmd);
    // Like a controller, the answer fills the transfer buffer and never more.
    if (cmd.data && cmd.length && !a.data.empty() &&
        (cmd.direction == kvi::Direction::Read || cmd.direction == kvi::Direction::Both))
        std::memcpy(cmd.data, a.data.data(), std::min<std::size_t>(a.data.size(), cmd.length));
    if (a.mboxAfter)
        std::memcpy(cmd.mbox, a.mboxAfter->data(), sizeof cmd.mbox);
    for (int i = 0; i < 3; ++i)
        if (a.wordsAfter[static_cast<std::size_t>(i)])
            std::memcpy(cmd.mbox + 4 * i, &*a.wordsAfter[static_cast<std::size_t>(i)], 4);
    std::memcpy(r.mboxAfter.data(), cmd.mbox, r.mboxAfter.size());
    r.status = a.status;
    requests_.push_back(std::move(r));
    return a.status;
}

int FakeBackend::submitSmp(kvi::SmpCommand& cmd) {
    FakeRequest r;
    r.kind = RequestKind::Smp;
    r.reachedBackend = true;
    r.sasAddress = cmd.sasAddress;
    r.length = cmd.requestLength;
    r.responseLength = cmd.responseLength;
    r.direction = kvi::Direction::Both;
    if (cmd.request && cmd.requestLength)
        r.sent.assign(cmd.request, cmd.request + cmd.requestLength);
    if (cmd.response && cmd.responseLength && !smp_.data.empty())
        std::memcpy(cmd.response, smp_.data.data(),
                    std::min<std::size_t>(smp_.data.size(), cmd.responseLength));
    r.status = smp_.status;
    requests_.push_back(std::move(r));
    return smp_.status;
}

int FakeBackend::pciLocation(kvi::PciLocation& out) {
    if (pciStatus == 0)
        out = pci;
    return pciStatus;
}

std::size_t FakeBackend::count(std::uint32_t opcode) const {
    return static_cast<std::size_t>(
        std::count_if(requests_.begin(), requests_.end(), [&](const FakeRequest& r) {
            return r.kind != RequestKind::Smp && r.opcode == opcode;
        }));
}

std::size_t FakeBackend::countB0(std::uint32_t opcode, std::uint8_t b0) const {
    return static_cast<std::size_t>(
        std::count_if(requests_.begin(), requests_.end(), [&](const FakeRequest& r) {
            return r.kind != RequestKind::Smp && r.opcode == opcode && r.mbox[0] == b0;
        }));
}

const FakeRequest* FakeBackend::last(std::uint32_t opcode) const {
    for (auto it = requests_.rbegin(); it != requests_.rend(); ++it)
        if (it->kind != RequestKind::Smp && it->opcode == opcode)
            return &*it;
    return nullptr;
}

const FakeRequest* FakeBackend::lastRequest() const {
    return requests_.empty() ? nullptr : &requests_.back();
}

std::vector<std::uint32_t> FakeBackend::opcodes() const {
    std::vector<std::uint32_t> out;
    for (const FakeRequest& r : requests_)
        if (r.kind != RequestKind::Smp)
            out.push_back(r.opcode);
    return out;
}

int FakeController::execute(DpParams* params) {
    std::size_t before = fake.requests().size();
    int status = BackendController::execute(params);
    if (!params)
        return status;
    // Complete the backend's record with what the caller passed; a request that
    // never reached the backend is recorded all the same.
    if (fake.requests().size() == before) {
        FakeRequest r;
        r.status = status;
        fake.mutableRequests().push_back(r);
    }
    FakeRequest& r = fake.mutableRequests().back();
    switch (params->kind()) {
    case DpParams::Kind::Dcmd:
    case DpParams::Kind::DcmdPrivate:
    case DpParams::Kind::Driver: {
        auto* dcmd = static_cast<DcmdKviDpParams*>(params);
        if (params->kind() == DpParams::Kind::DcmdPrivate)
            r.kind = RequestKind::Private;
        else if (params->kind() == DpParams::Kind::Driver)
            r.kind = RequestKind::Driver;
        if (!r.reachedBackend) {
            r.opcode = dcmd->getOpcode();
            r.mbox = toMbox(dcmd->getMbox());
        }
        r.callerLength = dcmd->getLength();
        r.capacity = dcmd->getCapacity();
        r.callerBuffer = dcmd->getBuffer() != nullptr;
        break;
    }
    case DpParams::Kind::Smp: {
        auto* smp = static_cast<SMPKviDpParams*>(params);
        r.kind = RequestKind::Smp;
        r.callerLength = smp->getRequestLength();
        r.capacity = smp->getResponseLength();
        r.callerBuffer = smp->getRequest() != nullptr;
        break;
    }
    }
    return status;
}

} // namespace kvitest
