#include "cli/Settings.h"

#include "cli/Doc.h"

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"

#include <set>
#include <utility>

namespace cli {

std::string Setting::jsonUnit() const {
    if (unit == "minutes" || unit == "hours")
        return "seconds";
    return unit;
}

unsigned long long Setting::jsonScale() const {
    return unit == "minutes" ? 60 : unit == "hours" ? 3600 : 1;
}

std::string Setting::jsonKey() const {
    const std::string u = jsonUnit();
    // A count's unit ("drives") is in its name already.
    if (u == "seconds" || u == "microseconds" || u == "percent")
        return snakeCase(name) + "_" + u;
    return snakeCase(name);
}

std::string Setting::rangeText() const {
    switch (kind) {
    case SettingKind::Switch:
        return "on|off";
    case SettingKind::Named: {
        std::string s;
        for (const NamedValue& n : names)
            s += std::string(s.empty() ? "" : "|") + n.name;
        return s;
    }
    case SettingKind::Number:
        break;
    }
    return std::to_string(min) + "-" + std::to_string(max);
}

unsigned long long parseSettingValue(const Setting& s, const std::string& text) {
    switch (s.kind) {
    case SettingKind::Switch:
        return parseSwitch(text, s.name) ? 1 : 0;
    case SettingKind::Named:
        return parseNamed(text, s.names, s.name);
    case SettingKind::Number:
        break;
    }
    return parseUnsigned(text, s.min, s.max, s.name);
}

unsigned long long shown(const Setting& s, unsigned long long raw) {
    if (s.kind == SettingKind::Switch)
        return (raw != 0) != s.invertGet ? 1 : 0;
    return raw;
}

std::string settingText(const Setting& s, unsigned long long value) {
    switch (s.kind) {
    case SettingKind::Switch:
        return value ? "on" : "off";
    case SettingKind::Named:
        return nameOf(static_cast<unsigned>(value), s.names);
    case SettingKind::Number:
        break;
    }
    return std::to_string(value);
}

json::UnknownElement settingJson(const Setting& s, unsigned long long value) {
    switch (s.kind) {
    case SettingKind::Switch:
        return json::Boolean(value != 0);
    case SettingKind::Named:
        return json::String(snakeCase(nameOf(static_cast<unsigned>(value), s.names)));
    case SettingKind::Number:
        break;
    }
    return json::UNumber(value * s.jsonScale());
}

const Setting* findSetting(const std::vector<Setting>& table, const std::string& name) {
    for (const Setting& s : table)
        if (s.name == name)
            return &s;
    return nullptr;
}

int readSetting(AdapterData& a, const Setting& s, unsigned long long& value) {
    unsigned long long raw = 0;
    int rc = s.get(a, raw);
    if (rc == 0)
        value = shown(s, raw);
    return rc;
}

std::vector<std::string> assignmentWords(const std::vector<Setting>& table) {
    std::vector<std::string> out;
    for (const Setting& s : table) {
        if (!s.settable())
            continue;
        if (s.kind == SettingKind::Switch) {
            out.push_back(s.name + "=on");
            out.push_back(s.name + "=off");
        } else if (s.kind == SettingKind::Named) {
            for (const NamedValue& n : s.names)
                out.push_back(s.name + "=" + n.name);
        } else {
            out.push_back(s.name + "=");
        }
    }
    return out;
}

std::vector<std::string> settingNames(const std::vector<Setting>& table) {
    std::vector<std::string> out;
    for (const Setting& s : table)
        out.push_back(s.name);
    return out;
}

std::vector<SettingChange> parseAssignments(const std::vector<Setting>& table,
                                            const std::vector<std::string>& args,
                                            const std::string& what, const std::string& listHint) {
    std::vector<SettingChange> changes;
    std::set<std::string> seen;
    for (const std::string& a : args) {
        auto [name, value] = splitAssignment(a);
        const Setting* s = findSetting(table, name);
        if (s == nullptr)
            throw UsageError("unknown " + what + " '" + name + "'; " + listHint);
        if (!s->settable())
            throw UsageError(what + " '" + name + "' cannot be set");
        if (!seen.insert(name).second)
            throw UsageError(what + " '" + name + "' is given twice");
        changes.push_back({s, parseSettingValue(*s, value)});
    }
    return changes;
}

void applySettings(App& app, Target& t, const std::vector<SettingChange>& changes,
                   const std::function<int(AdapterData&)>& begin,
                   const std::function<int(AdapterData&, bool)>& end, const std::string& what,
                   const std::string& titleWord) {
    AdapterData& a = *t.adapter;
    ChangeReport report;
    std::vector<const SettingChange*> todo;
    bool readFailed = false;
    for (const SettingChange& ch : changes) {
        const Setting& s = *ch.setting;
        ChangeReport::Row row;
        row.name = s.name;
        row.key = s.jsonKey();
        row.newText = settingText(s, ch.value);
        row.newJson = settingJson(s, ch.value);
        unsigned long long current = 0;
        int rc = readSetting(a, s, current);
        if (rc != 0) {
            app.fail(t, "reading " + s.name, rc);
            readFailed = true;
            row.known = false;
        } else {
            row.oldText = settingText(s, current);
            row.oldJson = settingJson(s, current);
        }
        if (report.add(std::move(row)).differs())
            todo.push_back(&ch);
    }
    // A transaction writes back whole records: with a value that could not be
    // read, nothing is written rather than a record built on a guess.
    if (!readFailed && !todo.empty()) {
        int rc = begin(a);
        bool ext = false;
        for (const SettingChange* ch : todo) {
            if (rc != 0)
                break;
            const Setting& s = *ch->setting;
            unsigned long long raw = ch->value;
            // Back from the shown sense to the field, then to what the setter takes.
            if (s.kind == SettingKind::Switch && s.invertGet)
                raw = raw ? 0 : 1;
            if (s.kind == SettingKind::Switch && s.invertSet)
                raw = raw ? 0 : 1;
            rc = s.set(a, raw);
            ext = ext || s.extension;
        }
        if (rc == 0)
            rc = end(a, ext);
        if (rc != 0)
            app.fail(t, "writing " + what, rc);
        else
            report.markAllWritten();
    }
    report.emit(app, t, titleWord);
}

Setting num(const char* name, const char* unit, unsigned long long min, unsigned long long max,
            Getter g, Setter s, const char* help) {
    Setting p;
    p.name = name;
    p.unit = unit;
    p.min = min;
    p.max = max;
    p.get = std::move(g);
    p.set = std::move(s);
    p.help = help;
    return p;
}

Setting sw(const char* name, Getter g, Setter s, const char* help, bool invertGet, bool invertSet) {
    Setting p;
    p.name = name;
    p.kind = SettingKind::Switch;
    p.min = 0;
    p.max = 1;
    p.get = std::move(g);
    p.set = std::move(s);
    p.help = help;
    p.invertGet = invertGet;
    p.invertSet = invertSet;
    return p;
}

Setting named(const char* name, std::vector<NamedValue> names, Getter g, Setter s,
              const char* help) {
    Setting p;
    p.name = name;
    p.kind = SettingKind::Named;
    p.names = std::move(names);
    p.get = std::move(g);
    p.set = std::move(s);
    p.help = help;
    return p;
}

} // namespace cli
