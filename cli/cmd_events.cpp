// kvictl events [info|count|list|clear]: the controller's event log. `list`
// reads the log in chunks and writes each event as it is decoded, so memory
// stays flat whatever the size of the log.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Util.h"
#include "firmware/kv.h"
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

struct ListArgs {
    std::string from, max, cls;
    std::uint32_t fromSeq = 0;
    bool hasFrom = false;
    unsigned long long maxCount = 0; // 0 = all
    int lowestClass = -2;
};

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

void addClassOption(CLI::App* sub, std::string& cls) {
    sub->add_option("--class", cls,
                    "Lowest class shown: debug, progress, info, warning, critical, fatal, dead")
        ->type_name("CLASS")
        ->check(checkedBy([](const std::string& c) { parseEventClass(c); }));
}

} // namespace

void registerEvents(CLI::App& root, App& app) {
    auto* g = root.add_subcommand(
        "events", "The controller's event log: info, count, list, clear (default: info)");
    g->require_subcommand(0, 1);
    g->footer("Examples:\n  kvictl --sim events\n  kvictl --sim events list --max 20\n"
              "  kvictl --sim events list --from 1000 --class warning\n  kvictl --sim events count "
              "--class critical\n"
              "  kvictl --sim -y events clear");
    verb(*g, "info", "Show the sequence numbers of the log")->callback([&app] {
        app.setCommand(eventsInfo(app));
    });

    auto countArgs = std::make_shared<ListArgs>();
    auto* count = verb(*g, "count", "Count the events of the log (from the oldest)");
    addClassOption(count, countArgs->cls);
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
    auto* list = verb(*g, "list", "List events in sequence order, streamed");
    list->add_option("--from", listArgs->from, "First sequence number (default: the oldest)")
        ->type_name("SEQ")
        ->check(unsignedIn(0, 0xFFFFFFFFu, "--from"));
    list->add_option("--max", listArgs->max, "At most N events")
        ->type_name("N")
        ->check(unsignedIn(1, 0xFFFFFFFFu, "--max"));
    addClassOption(list, listArgs->cls);
    list->callback([&app, listArgs] {
        Command c;
        c.name = "events list";
        c.validate = [listArgs] {
            if (!listArgs->from.empty()) {
                listArgs->fromSeq = static_cast<std::uint32_t>(
                    parseUnsigned(listArgs->from, 0, 0xFFFFFFFFu, "--from"));
                listArgs->hasFrom = true;
            }
            if (!listArgs->max.empty())
                listArgs->maxCount = parseUnsigned(listArgs->max, 1, 0xFFFFFFFFu, "--max");
            if (!listArgs->cls.empty())
                listArgs->lowestClass = parseEventClass(listArgs->cls);
        };
        c.run = [&app, listArgs](Target& t) {
            KV_EVT_LOG_INFO* info = nullptr;
            int rc = t.adapter->getEventLogInfo(&info);
            if (rc != 0 || info == nullptr) {
                app.fail(t, "reading the event log information", rc);
                return;
            }
            const std::uint32_t newest = info->newestSeqNum;
            std::uint32_t seq = listArgs->hasFrom ? listArgs->fromSeq : info->oldestSeqNum;
            std::vector<std::uint8_t> buf(kEventHeadSize + kChunkEvents * kEventRecordSize);
            std::FILE* stream = nullptr;
            if (app.json()) {
                stream = app.deferArray(t, "events");
                if (stream == nullptr) {
                    app.error("tmpfile", "cannot create a temporary file for the event list",
                              kExitFailed);
                    return;
                }
            } else {
                app.out() << "Events\n======\n";
                char line[160];
                std::snprintf(line, sizeof line, "%-10s  %-19s  %-8s  %-6s  %-6s  %s\n", "Sequence",
                              "Time", "Class", "Locale", "Code", "Description");
                app.out() << line;
                // Dashes under the header, as the other tables have them.
                app.out() << std::string(10, '-') << "  " << std::string(19, '-') << "  "
                          << std::string(8, '-') << "  " << std::string(6, '-') << "  "
                          << std::string(6, '-') << "  " << std::string(11, '-') << "\n";
            }
            unsigned long long shown = 0;
            bool done = seq > newest;
            while (!done) {
                std::memset(buf.data(), 0, buf.size());
                rc = t.adapter->getEventList(seq, reinterpret_cast<char*>(buf.data()),
                                             static_cast<unsigned int>(buf.size()),
                                             filterWord(listArgs->lowestClass));
                if (rc != 0) {
                    app.fail(t, "reading events from sequence number " + std::to_string(seq), rc);
                    break;
                }
                std::uint32_t n = std::uint32_t(buf[0]) | std::uint32_t(buf[1]) << 8 |
                                  std::uint32_t(buf[2]) << 16 | std::uint32_t(buf[3]) << 24;
                // The firmware's count is capped at what the buffer holds.
                if (n > kChunkEvents)
                    n = kChunkEvents;
                if (n == 0)
                    break;
                std::uint32_t last = seq;
                for (std::uint32_t i = 0; i < n; ++i) {
                    EventRecord e = decodeEvent(buf.data() + kEventHeadSize + i * kEventRecordSize);
                    last = e.seqNum;
                    if (stream != nullptr) {
                        app.appendDeferred(stream, eventJson(e), shown == 0);
                    } else {
                        char line[96];
                        std::snprintf(line, sizeof line, "%-10u  %-19s  %-8s  0x%04x  %-6u  ",
                                      e.seqNum, eventTime(e.timeStamp).c_str(),
                                      eventClassName(e.eventClass), e.locale, e.code);
                        app.out() << line << json::TextWriter::Printable(e.description) << "\n";
                    }
                    ++shown;
                    if (listArgs->maxCount != 0 && shown >= listArgs->maxCount) {
                        done = true;
                        break;
                    }
                }
                // Stop at the newest event, or when the firmware does not move on.
                if (last >= newest || last < seq)
                    break;
                seq = last + 1;
            }
            if (app.json())
                (*t.entry)["count"] = json::UNumber(shown);
        };
        app.setCommand(std::move(c));
    });

    verb(*g, "clear", "Clear the event log (asks first; -y off a terminal)")->callback([&app] {
        Command c;
        c.name = "events clear";
        c.confirmation = [] {
            return std::string("Clear the event log of the selected controllers?");
        };
        c.run = [&app](Target& t) {
            int rc = t.adapter->clearEventLog();
            if (rc != 0)
                app.fail(t, "clearing the event log", rc);
            actionDone(app, t, "Event Log", "events clear");
        };
        app.setCommand(std::move(c));
    });
    g->callback([&app, g] {
        if (g->get_subcommands().empty())
            app.setCommand(eventsInfo(app));
    });
}

} // namespace cli
