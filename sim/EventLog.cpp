#include "sim/EventLog.h"

#include <algorithm>
#include <cstring>

namespace kvi::sim {
namespace {

void putLe(std::uint8_t* p, std::uint64_t v, unsigned size) {
    for (unsigned i = 0; i < size; ++i)
        p[i] = std::uint8_t(v >> (8 * i));
}

// What a busy controller logs over months: mostly information and progress,
// now and then a warning, rarely something critical.
struct Template {
    std::uint32_t code;
    std::uint16_t locale;
    std::int8_t eventClass;
    const char* before; // the text is before + a number drawn from the sequence number + after
    const char* after;
};
const Template kTemplates[] = {
    {0x0101, 0x0001, 0, "Controller temperature normal (", " C)"},
    {0x0102, 0x0002, -1, "Patrol Read progress on drive ", ""},
    {0x0103, 0x0002, 0, "Patrol Read complete on drive ", ""},
    {0x0104, 0x0004, -1, "Consistency Check progress on virtual drive ", ""},
    {0x0105, 0x0004, 0, "Consistency Check done on virtual drive ", ""},
    {0x0106, 0x0008, 0, "Battery charge complete (pack ", ")"},
    {0x0107, 0x0002, 1, "Drive ", " reported a corrected medium error"},
    {0x0108, 0x0010, 0, "Time established since power on (", " s)"},
    {0x0109, 0x0002, -2, "Drive ", " link reset"},
    {0x010A, 0x0020, 1, "Enclosure ", " fan speed changed"},
    {0x010B, 0x0002, 2, "Drive ", " predictive failure reported"},
    {0x010C, 0x0001, 0, "Host driver loaded, session ", ""},
};
constexpr std::uint32_t kTemplateCount = sizeof(kTemplates) / sizeof(kTemplates[0]);
constexpr std::uint32_t kGeneratedSpacing = 30; // seconds between generated events

std::uint32_t mix(std::uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}

} // namespace

void EventLog::generate(std::uint32_t firstSeq, std::uint32_t count, std::uint32_t newestTime) {
    stored_.clear();
    genFirst_ = firstSeq;
    genCount_ = count;
    genNewestTime_ = newestTime;
    nextSeq_ = firstSeq + count;
    oldest_ = firstSeq;
}

std::uint32_t EventLog::append(SimEvent event) {
    event.seqNum = nextSeq_++;
    if (event.args.size() > 96)
        event.args.resize(96);
    stored_.push_back(std::move(event));
    if (stored_.size() > kMaxStored) {
        // The log is full: the oldest event drops out, and with it everything
        // older (the generated range lies before the stored events).
        stored_.pop_front();
        genCount_ = 0;
        oldest_ = stored_.front().seqNum;
    }
    return nextSeq_ - 1;
}

void EventLog::clear(std::uint32_t time) {
    stored_.clear();
    genCount_ = 0;
    oldest_ = nextSeq_;
    clearSeq_ = nextSeq_;
    SimEvent e;
    e.code = 0x0020;
    e.locale = 0x0001;
    e.eventClass = 0;
    e.timeStamp = time;
    e.description = "Event log cleared";
    append(std::move(e));
}

SimEvent EventLog::synthetic(std::uint32_t seq) const {
    std::uint32_t h = mix(seq);
    const Template& t = kTemplates[h % kTemplateCount];
    SimEvent e;
    e.seqNum = seq;
    std::uint32_t back = genFirst_ + genCount_ - 1 - seq;
    std::uint64_t delta = std::uint64_t(back) * kGeneratedSpacing;
    e.timeStamp = delta <= genNewestTime_ ? std::uint32_t(genNewestTime_ - delta) : 0;
    e.code = t.code;
    e.locale = t.locale;
    e.eventClass = t.eventClass;
    unsigned value = (h >> 8) % 64;
    if (t.code == 0x0101)
        value = 35 + (h >> 8) % 20;
    e.description = std::string(t.before) + std::to_string(value) + t.after;
    return e;
}

bool EventLog::get(std::uint32_t seq, SimEvent& out) const {
    if (seq < oldest_ || seq >= nextSeq_)
        return false;
    if (isGenerated(seq)) {
        out = synthetic(seq);
        return true;
    }
    if (stored_.empty() || seq < stored_.front().seqNum)
        return false;
    std::size_t i = seq - stored_.front().seqNum;
    if (i >= stored_.size())
        return false;
    out = stored_[i];
    return true;
}

std::uint32_t EventLog::newestWithCode(std::uint32_t code) const {
    for (auto it = stored_.rbegin(); it != stored_.rend(); ++it)
        if (it->code == code)
            return it->seqNum;
    return 0;
}

bool EventLog::matches(const SimEvent& event, std::uint32_t filter) {
    std::uint16_t locale = std::uint16_t(filter & 0xFFFFu);
    auto lowest = std::int8_t(std::uint8_t(filter >> 24));
    if (locale != 0xFFFF && locale != 0 && (event.locale & locale) == 0)
        return false;
    return event.eventClass >= lowest;
}

void EventLog::writeRecord(const SimEvent& e, std::uint8_t* r) {
    std::memset(r, 0, kEventRecordSize);
    putLe(r + 0, e.seqNum, 4);
    putLe(r + 4, e.timeStamp, 4);
    putLe(r + 8, e.code, 4);
    putLe(r + 12, e.locale, 2);
    r[15] = std::uint8_t(e.eventClass);
    r[16] = e.argType;
    if (!e.args.empty())
        std::memcpy(r + 32, e.args.data(), std::min<std::size_t>(e.args.size(), 96));
    // The description is always terminated inside its 128 bytes.
    std::memcpy(r + 128, e.description.data(), std::min<std::size_t>(e.description.size(), 127));
}

std::uint32_t EventLog::fillList(std::uint32_t start, std::uint32_t filter, std::uint8_t* buffer,
                                 std::uint32_t length) const {
    std::memset(buffer, 0, length);
    std::uint32_t room = (length - kEventListHeadSize) / kEventRecordSize;
    std::uint32_t n = 0;
    SimEvent e;
    for (std::uint64_t seq = std::max(start, oldest_); n < room && seq < nextSeq_; ++seq) {
        if (!get(std::uint32_t(seq), e) || !matches(e, filter))
            continue;
        writeRecord(e, buffer + kEventListHeadSize + std::size_t(n) * kEventRecordSize);
        ++n;
    }
    putLe(buffer, n, 4);
    return n;
}

std::uint32_t EventLog::count(std::uint32_t start, std::uint32_t filter) const {
    std::uint32_t n = 0;
    SimEvent e;
    for (std::uint64_t seq = std::max(start, oldest_); seq < nextSeq_; ++seq)
        if (get(std::uint32_t(seq), e) && matches(e, filter))
            ++n;
    return n;
}

EventLog::Snapshot EventLog::snapshot() const {
    Snapshot s;
    s.genFirst = genFirst_;
    s.genCount = genCount_;
    s.genNewestTime = genNewestTime_;
    s.nextSeq = nextSeq_;
    s.oldest = oldest_;
    s.clearSeq = clearSeq_;
    s.shutdownSeq = shutdownSeq_;
    s.bootSeq = bootSeq_;
    s.stored.assign(stored_.begin(), stored_.end());
    return s;
}

bool EventLog::restore(const Snapshot& s) {
    if (s.nextSeq == 0 || s.oldest > s.nextSeq || s.stored.size() > kMaxStored)
        return false;
    if (s.genCount != 0 && std::uint64_t(s.genFirst) + s.genCount > s.nextSeq)
        return false;
    for (std::size_t i = 0; i < s.stored.size(); ++i) {
        if (i > 0 && s.stored[i].seqNum != s.stored[i - 1].seqNum + 1)
            return false;
        if (s.stored[i].seqNum >= s.nextSeq || s.stored[i].args.size() > 96)
            return false;
    }
    if (!s.stored.empty() && s.stored.back().seqNum != s.nextSeq - 1)
        return false;
    genFirst_ = s.genFirst;
    genCount_ = s.genCount;
    genNewestTime_ = s.genNewestTime;
    nextSeq_ = s.nextSeq;
    oldest_ = s.oldest;
    clearSeq_ = s.clearSeq;
    shutdownSeq_ = s.shutdownSeq;
    bootSeq_ = s.bootSeq;
    stored_.assign(s.stored.begin(), s.stored.end());
    return true;
}

} // namespace kvi::sim
