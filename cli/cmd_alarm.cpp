// kvictl alarm [show|on|off|silence]: the controller's audible alarm.
#include <CLI/CLI.hpp>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Doc.h"

namespace cli {

namespace {

const char* alarmName(unsigned char state) {
    switch (state) {
    case 0:
        return "disabled";
    case 1:
        return "enabled";
    case 2:
        return "silenced";
    case 3:
        return "absent";
    default:
        return "unknown";
    }
}

Command showAlarm(App& app) {
    Command c;
    c.name = "alarm show";
    c.run = [&app](Target& t) {
        unsigned char state = 0;
        int rc = t.adapter->getalarmState(&state);
        if (rc != 0) {
            app.fail(t, "reading the alarm state", rc);
            return;
        }
        Doc d(app.json());
        d.str("State", "state", alarmName(state));
        d.flag("Present", "present", state != 3);
        app.emit(t, "alarm", "Alarm", d.object());
    };
    return c;
}

Command setAlarm(App& app, unsigned char value, const char* action) {
    return actionCommand(app, std::string("alarm ") + action, "Alarm",
                         [value](AdapterData& a) { return a.setalarmState(value); });
}

} // namespace

void registerAlarm(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "alarm", [&app] { return showAlarm(app); });
    verb(*g, "on", "Enable the alarm")->callback([&app] {
        app.setCommand(setAlarm(app, 1, "on"));
    });
    verb(*g, "off", "Disable the alarm")->callback([&app] {
        app.setCommand(setAlarm(app, 0, "off"));
    });
    verb(*g, "silence", "Silence a sounding alarm")->callback([&app] {
        app.setCommand(setAlarm(app, 2, "silence"));
    });
}

} // namespace cli
