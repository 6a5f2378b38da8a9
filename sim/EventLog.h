#pragma once
// The simulated controller's event log.
//
// Sequence numbers only grow. The log holds three kinds of events, in
// sequence-number order:
//   - generated events: a profile's "eventLog": {"generate": N} asks for N
//     synthetic events. They are computed from their sequence number when read,
//     so a log of a million events costs no memory;
//   - stored events: the profile's "events" and every event an action appends.
//     At most kMaxStored are kept; older ones drop out (oldestSeqNum moves).
//     They are kept compact (EventStore): a fixed-size record per event, the
//     description and argument bytes in one shared arena where equal texts
//     are held once, so a large log costs little more than its records.
// Clearing drops every event and appends "Event log cleared", whose sequence
// number becomes both clearSeqNum and oldestSeqNum.
//
// Records are written in the layout of the event list answer: a head
// {u32 count, u32 reserved} followed by `count` 256-byte records (u32 seqNum,
// u32 timeStamp, u32 code, u16 locale, u8 reserved, s8 class, u8 argType,
// 15 reserved bytes, 96 argument bytes, char description[128]).
//
// Filter word (mailbox w[1] of the list and count requests): bits 0-15 a
// locale mask (0xFFFF, and also 0, mean every locale; otherwise an event
// matches when its locale shares a bit with the mask), bits 24-31 the lowest
// class wanted as a signed byte (-2 debug ... 4 dead).
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace kvi::sim {

constexpr std::uint32_t kEventRecordSize = 256;
constexpr std::uint32_t kEventListHeadSize = 8;

struct SimEvent {
    std::uint32_t seqNum = 0;
    std::uint32_t timeStamp = 0; // seconds since the schedule epoch
    std::uint32_t code = 0;
    std::uint16_t locale = 0;
    std::int8_t eventClass = 0;
    std::uint8_t argType = 0;
    std::vector<std::uint8_t> args; // at most 96 bytes
    std::string description;        // at most 127 characters are sent
};

// Events in order, compact: a 20-byte record each, the description and the
// argument bytes of every event interned in one arena ([length][bytes]).
// Dropping events from the front leaves their texts in the arena until the
// store has turned over once; then the arena is rebuilt from the live
// records, so it stays within about twice what they need.
class EventStore {
public:
    // Appends an event (its seqNum is not kept: the owner numbers them).
    void push(const SimEvent& e);
    void popFront();
    void clear();
    std::size_t size() const { return records_.size(); }
    bool empty() const { return records_.empty(); }
    // The event at `index` (seqNum left as it was).
    void get(std::size_t index, SimEvent& out) const;
    std::uint32_t code(std::size_t index) const { return records_[index].code; }
    // The memory the store holds: records, arena and intern table.
    std::size_t bytes() const;

private:
    struct Record {
        std::uint32_t timeStamp;
        std::uint32_t code;
        std::uint32_t text; // arena offset of the description
        std::uint32_t args; // arena offset of the argument bytes
        std::uint16_t locale;
        std::int8_t eventClass;
        std::uint8_t argType;
    };
    static_assert(sizeof(Record) == 20, "an event record is 20 bytes");
    std::uint32_t intern(const std::uint8_t* data, std::size_t size);
    std::uint32_t find(const std::uint8_t* data, std::size_t size, std::size_t& slot) const;
    void compact();

    std::deque<Record> records_;
    std::vector<std::uint8_t> arena_;
    std::vector<std::uint32_t> table_; // arena offset + 1 per slot; 0 = empty
    std::size_t interned_ = 0;
    std::size_t dropped_ = 0; // records dropped since the arena was last rebuilt
};

class EventLog {
public:
    // A real controller's log holds far fewer; this bounds what a profile or
    // state file may ask the simulator to keep.
    static constexpr std::size_t kMaxStored = 1u << 20;

    // Landmarks as KV_EVT_LOG_INFO reports them.
    std::uint32_t newestSeqNum() const { return nextSeq_ - 1; }
    std::uint32_t oldestSeqNum() const { return oldest_; }
    std::uint32_t clearSeqNum() const { return clearSeq_; }
    std::uint32_t shutdownSeqNum() const { return shutdownSeq_; }
    std::uint32_t bootSeqNum() const { return bootSeq_; }
    void markShutdown() { shutdownSeq_ = newestSeqNum(); }
    void markBoot() { bootSeq_ = newestSeqNum(); }
    void markBoot(std::uint32_t seq) { bootSeq_ = seq; }

    // Starts a new log of `count` synthetic events numbered from `firstSeq`,
    // the newest stamped `newestTime` and each 30 s after the one before.
    // Every event held before is dropped; later events follow the generated ones.
    void generate(std::uint32_t firstSeq, std::uint32_t count, std::uint32_t newestTime);
    // Appends one event (its seqNum is assigned) and returns its sequence number.
    std::uint32_t append(SimEvent event);
    // Appends every event of `events` in order (numbered as append does).
    void appendAll(EventStore&& events);
    // Drops every event, then appends "Event log cleared" stamped `time`.
    void clear(std::uint32_t time);

    // The event with this sequence number, if the log holds it.
    bool get(std::uint32_t seq, SimEvent& out) const;
    // Sequence number of the newest stored event with this code; 0 when none.
    std::uint32_t newestWithCode(std::uint32_t code) const;
    // Whether an event passes a filter word.
    static bool matches(const SimEvent& event, std::uint32_t filter);
    // Fills `buffer` (length bytes, at least the head) with the head and as many
    // matching records as fit, starting at sequence number `start`.
    std::uint32_t fillList(std::uint32_t start, std::uint32_t filter, std::uint8_t* buffer,
                           std::uint32_t length) const;
    // Number of matching events from `start` to the newest.
    std::uint32_t count(std::uint32_t start, std::uint32_t filter) const;
    // Writes one 256-byte record.
    static void writeRecord(const SimEvent& event, std::uint8_t* record);

    // The memory the stored events hold (records, texts, intern table).
    std::size_t storedBytes() const { return stored_.bytes(); }
    std::size_t storedCount() const { return stored_.size(); }

    // ---- state file access ----
    struct Snapshot {
        std::uint32_t genFirst = 1, genCount = 0, genNewestTime = 0;
        std::uint32_t nextSeq = 1, oldest = 1, clearSeq = 0, shutdownSeq = 0, bootSeq = 0;
        std::uint32_t storedFirst = 0; // sequence number of stored's first event
        EventStore stored;
        // Appends a stored event; false when its sequence number does not
        // follow the one before or its arguments are too long.
        bool add(const SimEvent& e);
    };
    Snapshot snapshot() const;
    // Returns false when the snapshot is inconsistent (nothing is changed then).
    bool restore(Snapshot s);

private:
    SimEvent synthetic(std::uint32_t seq) const;
    bool isGenerated(std::uint32_t seq) const {
        return seq >= genFirst_ && seq - genFirst_ < genCount_;
    }

    std::uint32_t genFirst_ = 1, genCount_ = 0, genNewestTime_ = 0;
    std::uint32_t nextSeq_ = 1; // sequence number of the next event
    std::uint32_t oldest_ = 1;  // oldest sequence number still held
    std::uint32_t clearSeq_ = 0, shutdownSeq_ = 0, bootSeq_ = 0;
    std::uint32_t storedFirst_ = 1; // sequence number of the first stored event
    EventStore stored_;             // consecutive sequence numbers
};

} // namespace kvi::sim
