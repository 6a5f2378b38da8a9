// kvictl bios [show|set NAME=VALUE...]: the option-ROM BIOS settings, changed
// in one BIOS-data transaction (written once, with its checksum).
#include <CLI/CLI.hpp>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Settings.h"

namespace cli {

namespace {

using A = AdapterData;

const std::vector<Setting>& biosSettings() {
    static const std::vector<Setting> table = [] {
        std::vector<Setting> t;
        t.push_back(sw("enabled", getter(&A::getbiosStatus), setV(&A::setbiosStatus),
                       "The BIOS is exposed at boot"));
        t.push_back(named("error-mode",
                          {{"stop", 0}, {"pause", 1}, {"continue", 2}, {"safe-mode", 3}},
                          getter(&A::getBIOSBootMode), setV(&A::setBIOSBootMode),
                          "What the BIOS does when it meets an error"));
        // The setter stores the opposite of its argument.
        t.push_back(sw("auto-select-boot", getter(&A::getbiosABS), setV(&A::setbiosABS),
                       "The BIOS chooses the boot virtual drive itself", false, true));
        t.push_back(num("device-exposure", "", 0, 255, getter(&A::getbiosDeviceExposure),
                        setV(&A::setbiosDeviceExposure), "Drives the BIOS exposes"));
        return t;
    }();
    return table;
}

Command showBios(App& app) {
    Command c;
    c.name = "bios show";
    c.run = [&app](Target& t) {
        Doc d(app.json());
        for (const Setting& s : biosSettings()) {
            unsigned long long v = 0;
            int rc = readSetting(*t.adapter, s, v);
            if (rc != 0) {
                app.fail(t, "reading the BIOS setting " + s.name, rc);
                break;
            }
            d.raw(s.name, s.jsonKey(),
                  app.json() ? settingJson(s, v)
                             : json::UnknownElement(json::String(settingText(s, v))));
        }
        app.emit(t, "bios", "BIOS", d.object());
    };
    return c;
}

std::string biosNames() {
    std::string s;
    for (const Setting& b : biosSettings())
        s += std::string(s.empty() ? "" : ", ") + b.name + "=" + b.rangeText();
    return s;
}

std::vector<SettingChange> parseBios(const std::vector<std::string>& assignments) {
    return parseAssignments(biosSettings(), assignments, "BIOS setting",
                            "settings: " + biosNames());
}

} // namespace

void registerBios(CLI::App& root, App& app) {
    auto* g = commandGroup(
        root, app, "bios", [&app] { return showBios(app); }, "Settings: " + biosNames());
    auto* set = verb(*g, "set", "Change BIOS settings in one write: NAME=VALUE...");
    auto args = std::make_shared<std::vector<std::string>>();
    app.complete(set->add_option("assignments", *args, "NAME=VALUE pairs")
                     ->type_name("NAME=VALUE")
                     ->check(checkedBy([](const std::string& a) { parseBios({a}); }))
                     ->required(),
                 assignmentWords(biosSettings()));
    set->callback([&app, args] {
        auto changes = std::make_shared<std::vector<SettingChange>>();
        Command c;
        c.name = "bios set";
        c.validate = [args, changes] { *changes = parseBios(*args); };
        c.run = [&app, changes](Target& t) {
            applySettings(
                app, t, *changes, [](AdapterData& a) { return a.beginBIOSDataUpdate(); },
                [](AdapterData& a, bool) { return a.endBIOSDataUpdate(); }, "the BIOS settings",
                "BIOS Settings");
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
