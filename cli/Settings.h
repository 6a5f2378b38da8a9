#pragma once
// A table-driven setting: a kebab-case name over an adapter getter/setter
// pair, with its unit, range or names, and whether it can be set. The
// controller-property commands (properties, get, set) and the BIOS commands
// use it; values are validated here before any request is sent.
#include <functional>
#include <string>
#include <vector>

#include "RaidLib/RaidFw/AdpData.h"
#include "cli/Util.h"
#include "json/elements.h"

namespace cli {

class App;
struct Target;

using Getter = std::function<int(AdapterData&, unsigned long long&)>;
using Setter = std::function<int(AdapterData&, unsigned long long)>;

template <class T> Getter getter(int (AdapterData::*fn)(T*)) {
    return [fn](AdapterData& a, unsigned long long& v) {
        T x{};
        int rc = (a.*fn)(&x);
        if (rc == 0)
            v = static_cast<unsigned long long>(x);
        return rc;
    };
}
inline Getter getterRef(int (AdapterData::*fn)(bool&)) {
    return [fn](AdapterData& a, unsigned long long& v) {
        bool x = false;
        int rc = (a.*fn)(x);
        if (rc == 0)
            v = x ? 1 : 0;
        return rc;
    };
}
// Setters that read their value through a pointer.
template <class T> Setter setP(int (AdapterData::*fn)(T*)) {
    return [fn](AdapterData& a, unsigned long long v) {
        T x = static_cast<T>(v);
        return (a.*fn)(&x);
    };
}
// Setters that take their value.
template <class T> Setter setV(int (AdapterData::*fn)(T)) {
    return [fn](AdapterData& a, unsigned long long v) { return (a.*fn)(static_cast<T>(v)); };
}

enum class SettingKind { Number, Switch, Named };

struct Setting {
    std::string name; // kebab-case
    std::string unit; // "", "percent", "seconds", "minutes", "hours", "microseconds", "drives"
    std::string help;
    SettingKind kind = SettingKind::Number;
    unsigned long long min = 0, max = 0;
    std::vector<NamedValue> names; // SettingKind::Named
    bool invertGet = false;        // the field is a "disable" bit: shown inverted
    bool invertSet = false;        // the setter stores the inverse of what it is given
    Getter get;
    Setter set;             // empty = read-only
    bool extension = false; // written by the property-extension transaction

    bool settable() const { return static_cast<bool>(set); }
    // JSON key: snake_case with the JSON unit last ("spin_down_time_seconds",
    // "rebuild_rate_percent").
    std::string jsonKey() const;
    // The unit of the JSON value: the base unit of `unit` (minutes and hours
    // become seconds; microseconds stay, being whole numbers), "" for none.
    std::string jsonUnit() const;
    // What one of `unit` counts in jsonUnit() (60 for minutes).
    unsigned long long jsonScale() const;
    // "0-100", "on|off", "none|128mb|1gb".
    std::string rangeText() const;
};

// Number, switch or named value of a user's text (throws UsageError).
unsigned long long parseSettingValue(const Setting& s, const std::string& text);
// The user-facing value of a raw field value.
unsigned long long shown(const Setting& s, unsigned long long raw);
// Text and JSON forms of a shown value (JSON: in jsonUnit(); named values as
// lowercase tokens).
std::string settingText(const Setting& s, unsigned long long value);
json::UnknownElement settingJson(const Setting& s, unsigned long long value);

// Reads a setting: 0 and its shown value, or the status.
int readSetting(AdapterData& a, const Setting& s, unsigned long long& value);

struct SettingChange {
    const Setting* setting;
    unsigned long long value; // as shown to the user
};
// NAME=VALUE arguments checked against a table (throws UsageError).
std::vector<SettingChange> parseAssignments(const std::vector<Setting>& table,
                                            const std::vector<std::string>& args,
                                            const std::string& what, const std::string& listHint);
// Reads the current values, then writes every differing one between `begin`
// and `end` (end's second argument: a property-extension setting changed).
// Nothing is sent when every value is already current. Emits the changes
// (JSON: "changes" and "changed").
void applySettings(App& app, Target& t, const std::vector<SettingChange>& changes,
                   const std::function<int(AdapterData&)>& begin,
                   const std::function<int(AdapterData&, bool)>& end, const std::string& what,
                   const std::string& titleWord);

// Rows of the setting tables (controller properties, BIOS): a number in
// [min, max] with its unit, an on/off switch (shown or set inverted where the
// field is a "disable" bit or the setter stores the inverse), or one of a few
// named values.
Setting num(const char* name, const char* unit, unsigned long long min, unsigned long long max,
            Getter g, Setter s, const char* help);
Setting sw(const char* name, Getter g, Setter s, const char* help, bool invertGet = false,
           bool invertSet = false);
Setting named(const char* name, std::vector<NamedValue> names, Getter g, Setter s,
              const char* help);

const Setting* findSetting(const std::vector<Setting>& table, const std::string& name);

// What completion offers for NAME=VALUE: "name=on" and "name=off" for a
// switch, one word per name of a named setting, "name=" for a number; only
// settings that can be set.
std::vector<std::string> assignmentWords(const std::vector<Setting>& table);
// The names of a table.
std::vector<std::string> settingNames(const std::vector<Setting>& table);

// The controller properties (cmd_properties.cpp).
const std::vector<Setting>& controllerProperties();

} // namespace cli
