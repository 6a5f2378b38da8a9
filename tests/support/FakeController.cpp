#include "tests/support/FakeController.h"

#include <algorithm>
#include <cstdio>

namespace kvitest {

std::uint32_t FakeRequest::mboxWord(int i) const {
    std::uint32_t w = 0;
    std::memcpy(&w, mbox.data() + 4 * std::clamp(i, 0, 2), sizeof w);
    return w;
}

std::string FakeRequest::describe() const {
    static const char* const kKinds[] = {"firmware", "private", "driver", "smp"};
    char text[256];
    const char* name = kvDcmdName(opcode);
    std::snprintf(
        text, sizeof text,
        "%s 0x%08x (%s) mbox %08x %08x %08x caller length %u capacity %u -> length %u %s status %d",
        kKinds[static_cast<int>(kind)], opcode, name ? name : "?", mboxWord(0), mboxWord(1),
        mboxWord(2), callerLength, capacity, length,
        kviXferDirName(static_cast<KVI_XFER_DIR>(static_cast<std::uint8_t>(direction))), status);
    return text;
}

void FakeBackend::clearScript() {
    byOpcode_.clear();
    byB0_.clear();
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

std::size_t FakeBackend::count(std::uint32_t opcode) const {
    const std::vector<std::uint32_t> all = opcodes();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), opcode));
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

std::vector<std::uint32_t> FakeBackend::opcodes() const {
    std::vector<std::uint32_t> out;
    for (const FakeRequest& r : requests_)
        if (r.kind != RequestKind::Smp)
            out.push_back(r.opcode);
    return out;
}

int FakeController::execute(DpParams* params) {
    std::size_t before = requests().size();
    int status = BackendController::execute(params);
    if (!params)
        return status;
    // Complete the backend's record with what the caller passed; a request that
    // never reached the backend is recorded all the same.
    if (requests().size() == before) {
        FakeRequest r;
        r.status = status;
        mutableRequests().push_back(r);
    }
    FakeRequest& r = mutableRequests().back();
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
            std::memcpy(r.mbox.data(), dcmd->getMbox().b, r.mbox.size());
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
