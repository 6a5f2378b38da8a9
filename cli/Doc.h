#pragma once
// A small builder for the tool's own output blocks: every member has a text
// label ("Auto Learn Mode") and a JSON key ("auto_learn_mode"), so the text and
// the JSON rendering carry the same members in the same order.
#include <ctime>
#include <deque>
#include <functional>
#include <initializer_list>
#include <string>

#include "json/elements.h"

namespace CLI {
class App;
}

class AdapterData;

namespace cli {

class App;
struct Command;
struct Target;

class Doc {
public:
    explicit Doc(bool json) : json_(json) {}

    void str(const std::string& label, const std::string& key, const std::string& value);
    // Text: "value unit"; JSON: the number under key (the unit belongs in the key).
    void num(const std::string& label, const std::string& key, unsigned long long value,
             const std::string& unit = "");
    void snum(const std::string& label, const std::string& key, long long value,
              const std::string& unit = "");
    // A number whose text says it another way ("168 hours", "0x00000000"):
    // JSON gets `value` (in the key's unit), text gets `text`.
    void measure(const std::string& label, const std::string& key, unsigned long long value,
                 const std::string& text);
    // A local time: text "YYYY-MM-DD HH:MM"; JSON the ISO 8601 time with its
    // offset under key and the instant under key_epoch_seconds.
    void time(const std::string& label, const std::string& key, const std::tm& local);
    // Text: yes/no; JSON: true/false.
    void flag(const std::string& label, const std::string& key, bool value);
    void null(const std::string& label, const std::string& key);
    // Both members of a time that is not known: "-" in text, null in JSON.
    void nullTime(const std::string& label, const std::string& key);
    void sub(const std::string& label, const std::string& key, const Doc& inner);
    // An array of objects (rows built as Docs) or of scalars.
    void rows(const std::string& label, const std::string& key, const json::Array& items);
    void raw(const std::string& label, const std::string& key, const json::UnknownElement& value);

    const json::Object& object() const { return obj_; }
    bool json() const { return json_; }

private:
    bool json_;
    json::Object obj_;
};

// Adds a verb subcommand (alarm on, bbu learn, ...) with help and a callback
// that selects the command it builds.
CLI::App* verb(CLI::App& group, const std::string& name, const std::string& help);

// A command group (alarm, bbu, ...) with its help texts from groups.def: at
// most one verb; the settings and examples under its help. Its first verb
// selects the command `show` builds, as does the group without a verb.
// `settings`, when given, stands for the table's (texts built at run time).
CLI::App* commandGroup(CLI::App& root, App& app, const std::string& name,
                       std::function<Command()> show, const std::string& settings = "");

// The "done" block of an action that changes something.
void actionDone(App& app, Target& t, const std::string& title, const std::string& action);

// A command that sends one request a controller: a failure is reported as
// `name` failing, then the "done" block of `name` follows under `title`.
Command actionCommand(App& app, const std::string& name, const std::string& title,
                      std::function<int(AdapterData&)> op);

// The same for an action that asks `question` first (answered by -y off a
// terminal); a failure is named `failing`.
Command confirmedAction(App& app, const std::string& name, const std::string& title,
                        const std::string& question, const std::string& failing,
                        std::function<int(AdapterData&)> op);

// Verbs of a command group that each send one request (patrol start, bbu
// learn, ...): the command "<group> <verb>", its done block under `title`.
struct RequestVerb {
    const char* name;
    const char* help;
    int (AdapterData::*op)();
};
void requestVerbs(CLI::App& group, App& app, const std::string& title,
                  std::initializer_list<RequestVerb> verbs);

// The old -> new report of a command that changes settings (set, bios set, the
// schedule commands): one row per setting asked for. A row counts as changed only
// once its write was accepted; an old value that could not be read is "unknown".
class ChangeReport {
public:
    struct Row {
        std::string name, key; // text label and JSON key
        bool known = true;     // the old value was read
        std::string oldText, newText;
        json::UnknownElement oldJson, newJson;
        // A local time: JSON adds old_epoch_seconds and new_epoch_seconds.
        bool instant = false;
        std::time_t oldEpoch = 0, newEpoch = 0;
        bool written = false; // set by the caller once the firmware accepted it
        bool differs() const { return !known || oldText != newText; }
    };
    Row& add(Row row);
    // "Properties Changed" / "Properties Unchanged" with the rows, or in JSON
    // "changes" and "changed" in the controller's entry.
    void emit(App& app, Target& t, const std::string& titleWord) const;
    bool anyWritten() const;
    // Every row whose value differs was written (one transaction took them all).
    void markAllWritten() {
        for (Row& r : rows_)
            r.written = r.differs();
    }

private:
    std::deque<Row> rows_; // add() hands out references that stay valid
};

} // namespace cli
