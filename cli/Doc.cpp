#include "cli/Doc.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Util.h"
#include "util/Iso8601.h"

namespace cli {

void Doc::str(const std::string& label, const std::string& key, const std::string& value) {
    obj_[json_ ? key : label] = json::String(value);
}

void Doc::num(const std::string& label, const std::string& key, unsigned long long value,
              const std::string& unit) {
    if (json_)
        obj_[key] = json::UNumber(value);
    else
        obj_[label] = json::String(std::to_string(value) + (unit.empty() ? "" : " " + unit));
}

void Doc::snum(const std::string& label, const std::string& key, long long value,
               const std::string& unit) {
    if (json_)
        obj_[key] = json::Number(static_cast<long>(value));
    else
        obj_[label] = json::String(std::to_string(value) + (unit.empty() ? "" : " " + unit));
}

void Doc::measure(const std::string& label, const std::string& key, unsigned long long value,
                  const std::string& text) {
    if (json_)
        obj_[key] = json::UNumber(value);
    else
        obj_[label] = json::String(text);
}

void Doc::time(const std::string& label, const std::string& key, const std::tm& local) {
    if (!json_) {
        obj_[label] = json::String(formatLocalTime(local));
        return;
    }
    const std::time_t t = kvi::localInstant(local);
    obj_[key] = json::String(kvi::isoLocalTime(t));
    obj_[key + "_epoch_seconds"] = json::Number(static_cast<long>(t));
}

void Doc::nullTime(const std::string& label, const std::string& key) {
    null(label, key);
    if (json_)
        obj_[key + "_epoch_seconds"] = json::Null();
}

void Doc::flag(const std::string& label, const std::string& key, bool value) {
    if (json_)
        obj_[key] = json::Boolean(value);
    else
        obj_[label] = json::String(value ? "yes" : "no");
}

void Doc::null(const std::string& label, const std::string& key) {
    if (json_)
        obj_[key] = json::Null();
    else
        obj_[label] = json::String("-");
}

void Doc::sub(const std::string& label, const std::string& key, const Doc& inner) {
    obj_[json_ ? key : label] = inner.object();
}

void Doc::rows(const std::string& label, const std::string& key, const json::Array& items) {
    obj_[json_ ? key : label] = items;
}

void Doc::raw(const std::string& label, const std::string& key, const json::UnknownElement& value) {
    obj_[json_ ? key : label] = value;
}

CLI::App* verb(CLI::App& group, const std::string& name, const std::string& help) {
    return group.add_subcommand(name, help);
}

namespace {

struct GroupText {
    const char* name;
    const char* help;
    const char* first;
    const char* firstHelp;
    const char* settings;
    std::vector<const char*> examples;
};

const GroupText& groupText(const std::string& name) {
    static const GroupText kGroups[] = {
#define COMMAND_GROUP(name, help, first, firstHelp, settings, ...)                                 \
    {name, help, first, firstHelp, settings, {__VA_ARGS__}},
#include "cli/groups.def"
    };
    for (const GroupText& g : kGroups)
        if (name == g.name)
            return g;
    throw std::logic_error("no help texts for the command group " + name);
}

} // namespace

CLI::App* commandGroup(CLI::App& root, App& app, const std::string& name,
                       std::function<Command()> show, const std::string& settings) {
    const GroupText& text = groupText(name);
    std::string footer = settings.empty() ? text.settings : settings;
    if (!footer.empty())
        footer += "\n\n";
    footer += "Examples:";
    for (const char* example : text.examples)
        footer += std::string("\n  ") + example;
    auto* g = root.add_subcommand(name, text.help);
    g->require_subcommand(0, 1);
    g->footer(footer);
    g->callback([&app, g, show] {
        if (g->get_subcommands().empty())
            app.setCommand(show());
    });
    verb(*g, text.first, text.firstHelp)->callback([&app, show] { app.setCommand(show()); });
    return g;
}

void actionDone(App& app, Target& t, const std::string& title, const std::string& action) {
    if (app.json()) {
        json::Object o;
        o["name"] = json::String(action);
        o["done"] = json::Boolean(!t.failed);
        o["dry_run"] = json::Boolean(app.options().dryRun);
        (*t.entry)["action"] = o;
        return;
    }
    if (t.failed)
        return;
    json::Object o;
    o["Action"] = json::String(action);
    o["Result"] = json::String(app.options().dryRun ? "not sent (dry run)" : "done");
    app.emit(t, "action", title, o);
}

Command actionCommand(App& app, const std::string& name, const std::string& title,
                      std::function<int(AdapterData&)> op) {
    return confirmedAction(app, name, title, "", name, op);
}

Command confirmedAction(App& app, const std::string& name, const std::string& title,
                        const std::string& question, const std::string& failing,
                        std::function<int(AdapterData&)> op) {
    Command c;
    c.name = name;
    if (!question.empty())
        c.confirmation = [question] { return question; };
    c.run = [&app, name, title, failing, op](Target& t) {
        int rc = op(*t.adapter);
        if (rc != 0)
            app.fail(t, failing, rc);
        actionDone(app, t, title, name);
    };
    return c;
}

void requestVerbs(CLI::App& group, App& app, const std::string& title,
                  std::initializer_list<RequestVerb> verbs) {
    for (const RequestVerb& v : verbs) {
        const std::string name = group.get_name() + " " + v.name;
        const auto op = v.op;
        verb(group, v.name, v.help)->callback([&app, name, title, op] {
            app.setCommand(
                actionCommand(app, name, title, [op](AdapterData& a) { return (a.*op)(); }));
        });
    }
}

ChangeReport::Row& ChangeReport::add(Row row) {
    rows_.push_back(std::move(row));
    return rows_.back();
}

bool ChangeReport::anyWritten() const {
    for (const Row& r : rows_)
        if (r.written)
            return true;
    return false;
}

void ChangeReport::emit(App& app, Target& t, const std::string& titleWord) const {
    // A dry run accepts every write without sending it: nothing has changed.
    const bool dryRun = app.options().dryRun;
    const bool changedAny = anyWritten() && !dryRun;
    json::Array rows;
    json::Object text;
    for (const Row& r : rows_) {
        json::Object row;
        row["name"] = json::String(r.key);
        row["old"] = r.known ? r.oldJson : json::UnknownElement(json::Null());
        row["new"] = r.newJson;
        if (r.instant) {
            row["old_epoch_seconds"] =
                r.known ? json::UnknownElement(json::Number(static_cast<long>(r.oldEpoch)))
                        : json::UnknownElement(json::Null());
            row["new_epoch_seconds"] = json::Number(static_cast<long>(r.newEpoch));
        }
        row["changed"] = json::Boolean(r.differs() && r.written && !dryRun);
        rows.Insert(row);
        const std::string old = r.known ? r.oldText : "unknown";
        std::string line = r.differs() ? old + " -> " + r.newText : r.newText + " (unchanged)";
        if (r.differs() && dryRun)
            line += " (not sent: dry run)";
        else if (r.differs() && !r.written)
            line += " (not written)";
        text[r.name] = json::String(line);
    }
    if (app.json()) {
        (*t.entry)["changes"] = rows;
        (*t.entry)["changed"] = json::Boolean(changedAny);
    } else {
        app.emit(t, "", titleWord + (changedAny ? " Changed" : " Unchanged"), text);
    }
}

} // namespace cli
