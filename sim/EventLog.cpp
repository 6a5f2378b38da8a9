#include "sim/EventLog.h"

#include <algorithm>
#include <cstring>
#include <utility>

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

// ---- EventStore ----

namespace {

std::size_t hashBytes(const std::uint8_t* p, std::size_t n) {
    std::uint32_t h = 2166136261u; // FNV-1a
    for (std::size_t i = 0; i < n; ++i)
        h = (h ^ p[i]) * 16777619u;
    return h;
}

} // namespace

std::uint32_t EventStore::find(const std::uint8_t* data, std::size_t size,
                               std::size_t& slot) const {
    const std::size_t mask = table_.size() - 1;
    for (slot = hashBytes(data, size) & mask;; slot = (slot + 1) & mask) {
        const std::uint32_t entry = table_[slot];
        if (entry == 0)
            return 0;
        const std::uint8_t* held = arena_.data() + (entry - 1);
        if (held[0] == size && (size == 0 || std::memcmp(held + 1, data, size) == 0))
            return entry;
    }
}

std::uint32_t EventStore::intern(const std::uint8_t* data, std::size_t size) {
    // Kept at most half full, so a probe ends soon.
    if ((interned_ + 1) * 2 > table_.size()) {
        std::vector<std::uint32_t> old(std::max<std::size_t>(64, table_.size() * 2), 0);
        old.swap(table_);
        for (std::uint32_t entry : old) {
            if (entry == 0)
                continue;
            std::size_t slot = 0;
            const std::uint8_t* held = arena_.data() + (entry - 1);
            find(held + 1, held[0], slot);
            table_[slot] = entry;
        }
    }
    std::size_t slot = 0;
    if (std::uint32_t entry = find(data, size, slot))
        return entry - 1;
    const auto offset = static_cast<std::uint32_t>(arena_.size());
    arena_.push_back(static_cast<std::uint8_t>(size));
    arena_.insert(arena_.end(), data, data + size);
    table_[slot] = offset + 1;
    ++interned_;
    return offset;
}

void EventStore::push(const SimEvent& e) {
    Record r{};
    r.timeStamp = e.timeStamp;
    r.code = e.code;
    // The record carries what is sent: at most 127 description characters
    // and 96 argument bytes.
    r.text = intern(reinterpret_cast<const std::uint8_t*>(e.description.data()),
                    std::min<std::size_t>(e.description.size(), 127));
    r.args = intern(e.args.data(), std::min<std::size_t>(e.args.size(), 96));
    r.locale = e.locale;
    r.eventClass = e.eventClass;
    r.argType = e.argType;
    records_.push_back(r);
}

void EventStore::popFront() {
    records_.pop_front();
    // Once the store has turned over, most of the arena may be texts of
    // dropped events: rebuild it from the live records (amortised linear).
    if (++dropped_ >= std::max<std::size_t>(records_.size(), 1024))
        compact();
}

void EventStore::compact() {
    EventStore fresh;
    SimEvent e;
    for (std::size_t i = 0; i < records_.size(); ++i) {
        get(i, e);
        fresh.push(e);
    }
    *this = std::move(fresh);
}

void EventStore::clear() {
    *this = EventStore();
}

void EventStore::get(std::size_t index, SimEvent& out) const {
    const Record& r = records_[index];
    out.timeStamp = r.timeStamp;
    out.code = r.code;
    out.locale = r.locale;
    out.eventClass = r.eventClass;
    out.argType = r.argType;
    const std::uint8_t* text = arena_.data() + r.text;
    out.description.assign(reinterpret_cast<const char*>(text + 1), text[0]);
    const std::uint8_t* args = arena_.data() + r.args;
    out.args.assign(args + 1, args + 1 + args[0]);
}

std::size_t EventStore::bytes() const {
    return records_.size() * sizeof(Record) + arena_.capacity() +
           table_.capacity() * sizeof(std::uint32_t);
}

// ---- EventLog ----

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
    if (stored_.empty())
        storedFirst_ = event.seqNum;
    stored_.push(event);
    if (stored_.size() > kMaxStored) {
        // The log is full: the oldest event drops out, and with it everything
        // older (the generated range lies before the stored events).
        stored_.popFront();
        ++storedFirst_;
        genCount_ = 0;
        oldest_ = storedFirst_;
    }
    return nextSeq_ - 1;
}

void EventLog::appendAll(EventStore&& events) {
    if (stored_.empty() && events.size() <= kMaxStored) {
        // Taken over whole: a long list is not copied event by event.
        storedFirst_ = nextSeq_;
        nextSeq_ += std::uint32_t(events.size());
        stored_ = std::move(events);
        return;
    }
    SimEvent e;
    for (std::size_t i = 0; i < events.size(); ++i) {
        events.get(i, e);
        append(e);
    }
    events.clear();
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
    if (stored_.empty() || seq < storedFirst_)
        return false;
    std::size_t i = seq - storedFirst_;
    if (i >= stored_.size())
        return false;
    stored_.get(i, out);
    out.seqNum = seq;
    return true;
}

std::uint32_t EventLog::newestWithCode(std::uint32_t code) const {
    for (std::size_t i = stored_.size(); i-- > 0;)
        if (stored_.code(i) == code)
            return storedFirst_ + std::uint32_t(i);
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

bool EventLog::Snapshot::add(const SimEvent& e) {
    if (e.args.size() > 96 || (!stored.empty() && e.seqNum != storedFirst + stored.size()))
        return false;
    if (stored.empty())
        storedFirst = e.seqNum;
    stored.push(e);
    return true;
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
    s.storedFirst = storedFirst_;
    s.stored = stored_;
    return s;
}

bool EventLog::restore(Snapshot s) {
    if (s.nextSeq == 0 || s.oldest > s.nextSeq || s.stored.size() > kMaxStored)
        return false;
    if (s.genCount != 0 && std::uint64_t(s.genFirst) + s.genCount > s.nextSeq)
        return false;
    // Stored events are consecutive (Snapshot::add) and end with the newest.
    if (!s.stored.empty() && std::uint64_t(s.storedFirst) + s.stored.size() != s.nextSeq)
        return false;
    genFirst_ = s.genFirst;
    genCount_ = s.genCount;
    genNewestTime_ = s.genNewestTime;
    nextSeq_ = s.nextSeq;
    oldest_ = s.oldest;
    clearSeq_ = s.clearSeq;
    shutdownSeq_ = s.shutdownSeq;
    bootSeq_ = s.bootSeq;
    storedFirst_ = s.storedFirst;
    stored_ = std::move(s.stored);
    return true;
}

} // namespace kvi::sim
