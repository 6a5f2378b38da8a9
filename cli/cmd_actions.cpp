// kvictl flush-cache | factory-defaults | restart | shutdown: controller
// actions. The last three are destructive: they ask on a terminal and need -y
// otherwise; --dry-run shows the request instead.
#include <CLI/CLI.hpp>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Doc.h"

namespace cli {

namespace {

void action(CLI::App& root, App& app, const char* name, const char* help, const char* question,
            std::function<int(AdapterData&)> op) {
    auto* sub = root.add_subcommand(name, help);
    sub->footer(std::string("Examples:\n  kvictl --sim ") + name + "\n  kvictl --sim --dry-run " +
                name + (question ? std::string("\n  kvictl --sim -y ") + name : std::string()));
    sub->callback([&app, name, question, op] {
        app.setCommand(
            confirmedAction(app, name, "Controller", question ? question : "", name, op));
    });
}

} // namespace

void registerActions(CLI::App& root, App& app) {
    action(root, app, "flush-cache", "Write the controller's cache to the drives", nullptr,
           [](AdapterData& a) { return a.flushCache(); });
    action(root, app, "factory-defaults",
           "Reset every controller setting to its factory default (asks first)",
           "Reset the selected controllers to factory defaults?",
           [](AdapterData& a) { return a.setfactoryDefaults(); });
    action(root, app, "restart", "Restart the controller (asks first)",
           "Restart the selected controllers?",
           // The restart flag (b[1] = 1) is what tells a restart from a plain
           // shutdown on the shared shutdown command.
           [](AdapterData& a) { return a.adpRestart(true); });
    action(root, app, "shutdown", "Shut the controller down for power-off (asks first)",
           "Shut down the selected controllers?",
           [](AdapterData& a) { return a.adpShutDown(false); });
}

} // namespace cli
