// kvictl events [info|count|list|follow|clear]: the controller's event log.
// `list` and `follow` read the log in chunks and write each event as it is
// decoded, so memory stays flat whatever the size of the log: where to start
// is worked out from the log's sequence numbers (and, for the newest N, from
// the firmware's event counts), never by holding events.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Util.h"
#include "firmware/kv.h"
#include "json/JsonWriter.h"
#include "json/TextWriter.h"

namespace cli {

namespace {

// Events asked for per request.
constexpr std::uint32_t kChunkEvents = 64;

// Filter word: every locale, lowest class in bits 24-31.
std::uint32_t filterWord(int lowestClass) {
    return (static_cast<std::uint32_t>(
                static_cast<std::uint8_t>(static_cast<std::int8_t>(lowestClass)))
            << 24) |
           0xFFFFu;
}

// What `events list` and `events follow` were asked for. A start (--from,
// --since or --since-boot, at most one) and a count (--max, the oldest N from
// the start, or --last, the newest N; at most one) and the lowest class.
struct ListArgs {
    std::string from, max, cls, since, last;
    bool sinceBoot = false;
    std::string interval = "5"; // follow: seconds between polls
    CLI::Option *fromOpt = nullptr, *maxOpt = nullptr, *lastOpt = nullptr, *sinceOpt = nullptr;

    std::optional<std::uint32_t> fromSeq;
    std::optional<std::time_t> sinceTime;
    unsigned long long maxCount = 0;  // 0 = all
    unsigned long long lastCount = 0; // 0 = not given
    int lowestClass = -2;
};

bool given(const CLI::Option* o) {
    return o != nullptr && o->count() > 0;
}

void validateList(ListArgs& a) {
    const int starts =
        (given(a.fromOpt) ? 1 : 0) + (given(a.sinceOpt) ? 1 : 0) + (a.sinceBoot ? 1 : 0);
    if (starts > 1)
        throw UsageError("--from, --since and --since-boot each say where the events start; give "
                         "one of them");
    if (given(a.maxOpt) && given(a.lastOpt))
        throw UsageError("--max N (the oldest N from the start) and --last N (the newest N) "
                         "contradict each other; give one of them");
    if (given(a.fromOpt))
        a.fromSeq = static_cast<std::uint32_t>(parseUnsigned(a.from, 0, 0xFFFFFFFFu, "--from"));
    if (given(a.maxOpt))
        a.maxCount = parseUnsigned(a.max, 1, 0xFFFFFFFFu, "--max");
    if (given(a.lastOpt))
        a.lastCount = parseUnsigned(a.last, 1, 0xFFFFFFFFu, "--last");
    if (given(a.sinceOpt))
        a.sinceTime = parseInstant(a.since, "--since");
    if (!a.cls.empty())
        a.lowestClass = parseEventClass(a.cls);
}

// Reads the events from `start` through `newest` (the newest when the log
// information was read: events logged since wait for the next read) in
// chunks and hands each to `each`, which returns false to stop. Returns 0, or
// the status of the read that failed; `at` is where that read started.
int readEvents(AdapterDataKvi& a, std::uint32_t start, std::uint32_t newest, std::uint32_t filter,
               const std::function<bool(const EventRecord&)>& each, std::uint32_t& at) {
    std::vector<std::uint8_t> buf(kEventHeadSize + kChunkEvents * kEventRecordSize);
    std::uint32_t seq = start;
    while (seq <= newest) {
        std::memset(buf.data(), 0, buf.size());
        at = seq;
        int rc = a.getEventList(seq, reinterpret_cast<char*>(buf.data()),
                                static_cast<unsigned int>(buf.size()), filter);
        if (rc != 0)
            return rc;
        std::uint32_t n = std::uint32_t(buf[0]) | std::uint32_t(buf[1]) << 8 |
                          std::uint32_t(buf[2]) << 16 | std::uint32_t(buf[3]) << 24;
        // The firmware's count is capped at what the buffer holds.
        if (n > kChunkEvents)
            n = kChunkEvents;
        if (n == 0)
            return 0;
        std::uint32_t last = seq;
        for (std::uint32_t i = 0; i < n; ++i) {
            EventRecord e = decodeEvent(buf.data() + kEventHeadSize + i * kEventRecordSize);
            // Past the newest, or a firmware that went back: stop there.
            if (e.seqNum > newest || e.seqNum < seq)
                return 0;
            last = e.seqNum;
            if (!each(e))
                return 0;
        }
        if (last >= newest)
            return 0;
        seq = last + 1;
    }
    return 0;
}

// Where a listing starts: the first sequence number to read, or nothing when
// no event is asked for.
struct Window {
    bool empty = true;
    std::uint32_t start = 0;
};

// The latest start from which at least `n` events pass the filter: then
// exactly `n` do, the newest `n`. Works from the firmware's counts of events
// from a sequence number on, so gaps in the numbers and the class filter are
// taken into account without reading the events: the count falls by at most
// one per sequence number, so stepping back in growing steps and then
// halving the last step finds it in a few requests.
int newestStart(AdapterDataKvi& a, std::uint32_t lower, std::uint32_t newest, unsigned long long n,
                std::uint32_t filter, std::uint32_t& start) {
    auto count = [&](std::uint32_t from, unsigned long long& out) {
        unsigned int c = 0;
        int rc = a.getEventCnt(&c, from, filter);
        out = c;
        return rc;
    };
    // Most logs number their events without gaps: n back from the newest.
    std::uint32_t hi =
        newest - lower + 1ull > n ? static_cast<std::uint32_t>(newest - n + 1) : lower;
    unsigned long long c = 0;
    if (int rc = count(hi, c))
        return rc;
    start = hi;
    if (c >= n || hi == lower)
        return 0;
    // count(hi) < n: step back until a start has n.
    std::uint32_t lo = hi;
    for (unsigned long long step = n;; step *= 2) {
        lo = hi - lower > step ? static_cast<std::uint32_t>(hi - step) : lower;
        if (int rc = count(lo, c))
            return rc;
        if (c >= n)
            break;
        start = lo;
        if (lo == lower)
            return 0; // the whole range holds fewer than n
        hi = lo;
    }
    // count(lo) >= n > count(hi)
    while (hi - lo > 1) {
        std::uint32_t mid = lo + (hi - lo) / 2;
        if (int rc = count(mid, c))
            return rc;
        if (c >= n)
            lo = mid;
        else
            hi = mid;
    }
    start = lo;
    return 0;
}

// The window the arguments ask for in a log of `info`. Without a start
// option it starts at the oldest event, or with `followNew` past the newest
// (follow: only what comes). Fails the target and returns false on a failed
// read.
bool findWindow(App& app, Target& t, const ListArgs& args, const KV_EVT_LOG_INFO& info,
                bool followNew, Window& w) {
    const std::uint32_t newest = info.newestSeqNum, oldest = info.oldestSeqNum;
    const std::uint32_t filter = filterWord(args.lowestClass);
    w = Window();
    if (newest < oldest)
        return true; // nothing held
    std::uint32_t lower = oldest;
    if (args.fromSeq)
        lower = std::max(*args.fromSeq, oldest);
    else if (args.sinceBoot)
        // A boot older than the oldest event held: every event held is since then.
        lower = std::max(info.bootSeqNum, oldest);
    else if (!args.sinceTime && args.lastCount == 0 && followNew)
        return true; // follow: only what comes
    if (lower > newest)
        return true;
    if (args.sinceTime) {
        // The log is in time order: it starts at the first event stamped at or
        // after the time, and what follows it belongs too, also events stamped
        // from boot (they cannot be placed on their own).
        bool found = false;
        std::uint32_t at = lower;
        int rc = readEvents(
            *t.adapter, lower, newest, filter,
            [&](const EventRecord& e) {
                if (bootRelative(e.timeStamp) || eventInstant(e.timeStamp) < *args.sinceTime)
                    return true;
                lower = e.seqNum;
                found = true;
                return false;
            },
            at);
        if (rc != 0) {
            app.fail(t, "reading events from sequence number " + std::to_string(at), rc);
            return false;
        }
        if (!found)
            return true;
    }
    if (args.lastCount != 0) {
        int rc = newestStart(*t.adapter, lower, newest, args.lastCount, filter, lower);
        if (rc != 0) {
            app.fail(t, "counting the events", rc);
            return false;
        }
    }
    w.empty = false;
    w.start = lower;
    return true;
}

// One event as a text row; `controller` in front when several are followed.
std::string textRow(const EventRecord& e, const std::string& controller) {
    char line[96];
    std::snprintf(line, sizeof line, "%-10u  %-19s  %-8s  0x%04x  %-6u  ", e.seqNum,
                  eventTime(e.timeStamp).c_str(), eventClassName(e.eventClass), e.locale, e.code);
    std::string row =
        controller.empty() ? "" : controller + std::string(12 - controller.size(), ' ');
    return row + line + json::TextWriter::Printable(e.description) + "\n";
}

std::string textHeader(bool controllerColumn) {
    char line[160];
    std::snprintf(line, sizeof line, "%-10s  %-19s  %-8s  %-6s  %-6s  %s\n", "Sequence", "Time",
                  "Class", "Locale", "Code", "Description");
    // Dashes under the header, as the other tables have them.
    std::string rule = std::string(10, '-') + "  " + std::string(19, '-') + "  " +
                       std::string(8, '-') + "  " + std::string(6, '-') + "  " +
                       std::string(6, '-') + "  " + std::string(11, '-') + "\n";
    if (!controllerColumn)
        return line + rule;
    return "Controller  " + std::string(line) + std::string(10, '-') + "  " + rule;
}

Command eventsInfo(App& app) {
    Command c;
    c.name = "events info";
    c.run = [&app](Target& t) {
        KV_EVT_LOG_INFO* info = nullptr;
        int rc = t.adapter->getEventLogInfo(&info);
        if (rc != 0 || info == nullptr) {
            app.fail(t, "reading the event log information", rc);
            return;
        }
        Doc d(app.json());
        d.num("Newest Sequence Number", "newest_sequence", info->newestSeqNum);
        d.num("Oldest Sequence Number", "oldest_sequence", info->oldestSeqNum);
        d.num("Clear Sequence Number", "clear_sequence", info->clearSeqNum);
        d.num("Shutdown Sequence Number", "shutdown_sequence", info->shutdownSeqNum);
        d.num("Boot Sequence Number", "boot_sequence", info->bootSeqNum);
        app.emit(t, "event_log", "Event Log", d.object());
    };
    return c;
}

void addClassOption(App& app, CLI::App* sub, std::string& cls) {
    app.complete(
        sub->add_option("--class", cls,
                        "Lowest class shown: debug, progress, info, warning, critical, fatal, dead")
            ->type_name("CLASS")
            ->check(checkedBy([](const std::string& c) { parseEventClass(c); })),
        {"debug", "progress", "info", "warning", "critical", "fatal", "dead"});
}

// The start and count options list and follow share.
void addWindowOptions(App& app, CLI::App* sub, ListArgs& a) {
    a.fromOpt = sub->add_option("--from", a.from, "Start at sequence number SEQ")
                    ->type_name("SEQ")
                    ->check(unsignedIn(0, 0xFFFFFFFFu, "--from"));
    a.sinceOpt =
        sub->add_option("--since", a.since,
                        "Start at the first event at or after TIME: local time YYYY-MM-DD[ "
                        "HH:MM[:SS]] or ISO 8601 with a zone (2026-07-01T12:00:00+02:00, ...Z)")
            ->type_name("TIME")
            ->check(checkedBy([](const std::string& text) { parseInstant(text, "--since"); }));
    sub->add_flag("--since-boot", a.sinceBoot,
                  "Start at the controller's last boot (the boot sequence number of the log)");
    a.lastOpt = sub->add_option("--last", a.last, "The newest N events (printed oldest first)")
                    ->type_name("N")
                    ->check(unsignedIn(1, 0xFFFFFFFFu, "--last"));
    addClassOption(app, sub, a.cls);
}

Command eventsList(App& app, std::shared_ptr<ListArgs> args) {
    Command c;
    c.name = "events list";
    c.validate = [args] { validateList(*args); };
    c.run = [&app, args](Target& t) {
        KV_EVT_LOG_INFO* info = nullptr;
        int rc = t.adapter->getEventLogInfo(&info);
        if (rc != 0 || info == nullptr) {
            app.fail(t, "reading the event log information", rc);
            return;
        }
        const KV_EVT_LOG_INFO landmarks = *info;
        Window w;
        if (!findWindow(app, t, *args, landmarks, false, w))
            return;
        std::FILE* stream = nullptr;
        if (app.json()) {
            stream = app.deferArray(t, "events");
            if (stream == nullptr) {
                app.error("tmpfile", "cannot create a temporary file for the event list",
                          kExitFailed);
                return;
            }
        } else {
            app.out() << "Events\n======\n" << textHeader(false);
        }
        unsigned long long shown = 0;
        std::uint32_t at = 0;
        if (!w.empty)
            rc = readEvents(
                *t.adapter, w.start, landmarks.newestSeqNum, filterWord(args->lowestClass),
                [&](const EventRecord& e) {
                    if (stream != nullptr)
                        app.appendDeferred(stream, eventJson(e), shown == 0);
                    else
                        app.out() << textRow(e, "");
                    ++shown;
                    return args->maxCount == 0 || shown < args->maxCount;
                },
                at);
        if (rc != 0)
            app.fail(t, "reading events from sequence number " + std::to_string(at), rc);
        if (app.json())
            (*t.entry)["count"] = json::UNumber(shown);
    };
    return c;
}

// events follow: each round reads the log information and the events after
// those already printed. Text rows, or JSON Lines with the controller first.
Command eventsFollow(App& app, std::shared_ptr<ListArgs> args) {
    Command c;
    c.name = "events follow";
    c.headers = false;
    c.jsonLines = true;
    c.followSeconds = static_cast<unsigned>(parseUnsigned(args->interval, 1, 3600, "--interval"));
    auto next = std::make_shared<std::map<unsigned, std::uint32_t>>(); // per controller
    auto headed = std::make_shared<bool>(false);
    c.validate = [args] { validateList(*args); };
    c.run = [&app, args, next, headed](Target& t) {
        if (!app.json() && !*headed) {
            app.out() << textHeader(app.several());
            *headed = true;
        }
        KV_EVT_LOG_INFO* info = nullptr;
        int rc = t.adapter->getEventLogInfo(&info);
        if (rc != 0 || info == nullptr) {
            app.fail(t, "reading the event log information (stopped following)", rc);
            return;
        }
        const KV_EVT_LOG_INFO landmarks = *info;
        const std::uint32_t newest = landmarks.newestSeqNum, oldest = landmarks.oldestSeqNum;
        Window w;
        auto it = next->find(t.index);
        if (it == next->end()) {
            if (!findWindow(app, t, *args, landmarks, true, w))
                return;
        } else if (newest >= oldest && newest + 1 >= it->second) {
            std::uint32_t start = it->second;
            if (start < oldest) {
                // The log dropped events before they could be read.
                app.warn(t, "events_lost",
                         "events " + std::to_string(start) + "-" + std::to_string(oldest - 1) +
                             " left the log before they were read");
                start = oldest;
            }
            w.empty = start > newest;
            w.start = start;
        } else if (newest >= oldest) {
            // The numbers went back (the state was replaced): all it holds is new.
            w.empty = false;
            w.start = oldest;
        }
        (*next)[t.index] = newest + 1;
        if (w.empty)
            return;
        const std::string controller = app.several() ? std::to_string(t.index) : "";
        std::uint32_t at = 0;
        rc = readEvents(
            *t.adapter, w.start, newest, filterWord(args->lowestClass),
            [&](const EventRecord& e) {
                if (app.json()) {
                    json::Object o;
                    o["controller"] = json::UNumber(t.index);
                    addEventJson(o, e);
                    app.out() << json::JsonWriter::ToString(o, json::JsonWriter::Compact) << "\n";
                } else {
                    app.out() << textRow(e, controller);
                }
                return true;
            },
            at);
        if (rc != 0)
            app.fail(t,
                     "reading events from sequence number " + std::to_string(at) +
                         " (stopped following)",
                     rc);
    };
    return c;
}

} // namespace

void registerEvents(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "events", [&app] { return eventsInfo(app); });

    auto countArgs = std::make_shared<ListArgs>();
    auto* count = verb(*g, "count", "Count the events of the log (from the oldest)");
    addClassOption(app, count, countArgs->cls);
    count->callback([&app, countArgs] {
        Command c;
        c.name = "events count";
        c.validate = [countArgs] {
            if (!countArgs->cls.empty())
                countArgs->lowestClass = parseEventClass(countArgs->cls);
        };
        c.run = [&app, countArgs](Target& t) {
            KV_EVT_LOG_INFO* info = nullptr;
            int rc = t.adapter->getEventLogInfo(&info);
            if (rc != 0 || info == nullptr) {
                app.fail(t, "reading the event log information", rc);
                return;
            }
            unsigned int n = 0;
            rc = t.adapter->getEventCnt(&n, info->oldestSeqNum, filterWord(countArgs->lowestClass));
            if (rc != 0) {
                app.fail(t, "counting the events", rc);
                return;
            }
            Doc d(app.json());
            d.num("Events", "count", n);
            d.str("Lowest Class", "lowest_class", eventClassName(countArgs->lowestClass));
            app.emit(t, "event_count", "Event Count", d.object());
        };
        app.setCommand(std::move(c));
    });

    auto listArgs = std::make_shared<ListArgs>();
    auto* list =
        verb(*g, "list", "List events in sequence order, streamed (default: the whole log)");
    addWindowOptions(app, list, *listArgs);
    listArgs->maxOpt =
        list->add_option("--max", listArgs->max, "The oldest N events from the start")
            ->type_name("N")
            ->check(unsignedIn(1, 0xFFFFFFFFu, "--max"));
    list->footer("One start (--from, --since, --since-boot) and one count (--max or --last)\n"
                 "combine: --since-boot --last 5 lists the newest five since the last boot.");
    list->callback([&app, listArgs] { app.setCommand(eventsList(app, listArgs)); });

    auto followArgs = std::make_shared<ListArgs>();
    auto* follow =
        verb(*g, "follow",
             "Print new events as they are logged, until interrupted (JSON Lines with -o json)");
    addWindowOptions(app, follow, *followArgs);
    follow->add_option("--interval", followArgs->interval, "Seconds between reads (default 5)")
        ->type_name("SECONDS")
        ->check(unsignedIn(1, 3600, "--interval"));
    follow->footer("Starts after the newest event, or where --from, --since, --since-boot or\n"
                   "--last say. Ends with exit status 0 on SIGINT or SIGTERM, with 1 when the\n"
                   "controller stops answering. With -o json each event is one line:\n"
                   "{\"controller\": N, \"sequence\": ..., \"time\": ..., ...}.");
    // Set before the options are parsed, so that an error in them is not
    // answered with a JSON envelope either.
    follow->preparse_callback(
        [&app, followArgs](std::size_t) { app.setCommand(eventsFollow(app, followArgs)); });
    follow->callback([&app, followArgs] { app.setCommand(eventsFollow(app, followArgs)); });

    verb(*g, "clear", "Clear the event log (asks first; -y off a terminal)")->callback([&app] {
        app.setCommand(confirmedAction(
            app, "events clear", "Event Log", "Clear the event log of the selected controllers?",
            "clearing the event log", [](AdapterData& a) { return a.clearEventLog(); }));
    });
}

} // namespace cli
