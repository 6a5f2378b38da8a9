// kvictl boot [show|set vd=N|set pd=ID|clear]: the drive the BIOS boots from.
#include <CLI/CLI.hpp>
#include <memory>

#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Util.h"

namespace cli {

namespace {

Command showBoot(App& app) {
    Command c;
    c.name = "boot show";
    c.run = [&app](Target& t) {
        VdId* vd = nullptr;
        int rc = t.adapter->getBootVdId(&vd);
        std::unique_ptr<VdId> owned(vd); // the caller owns the identifier
        if (rc != 0) {
            app.fail(t, "reading the boot drive", rc);
            return;
        }
        unsigned short pd = 0xFFFF;
        rc = t.adapter->getBootPdDevId(&pd);
        if (rc != 0) {
            app.fail(t, "reading the boot drive", rc);
            return;
        }
        Doc d(app.json());
        if (owned) {
            d.str("Boot Device", "type", "vd");
            d.num("Virtual Drive", "vd", owned->getTargetId());
        } else if (pd != 0xFFFF) {
            d.str("Boot Device", "type", "pd");
            d.num("Physical Drive", "pd", pd);
        } else {
            d.str("Boot Device", "type", "none");
        }
        app.emit(t, "boot", "Boot Device", d.object());
    };
    return c;
}

// The controller information tells how many virtual drives are present and
// how many the controller can have, not which target ids are in use: a
// target id is refused when there is no virtual drive at all or when it lies
// beyond the controller's limit. False (and exit status 2) when refused.
bool vdCanExist(App& app, Target& t, unsigned short id) {
    unsigned short present = 0;
    unsigned char limit = 0;
    int rc = t.adapter->getVdCount(&present);
    if (rc == 0)
        rc = t.adapter->getMaxAllowedVd(&limit);
    if (rc != 0) {
        app.fail(t, "reading the virtual drives", rc);
        return false;
    }
    std::string why;
    if (present == 0)
        why = "controller " + std::to_string(t.index) + " has no virtual drives";
    else if (limit != 0 && id >= limit)
        why = "virtual drive " + std::to_string(id) + " does not exist on controller " +
              std::to_string(t.index) + " (target ids 0-" + std::to_string(limit - 1) + ")";
    if (why.empty())
        return true;
    app.error("usage", why + "; nothing was changed", kExitUsage);
    return false;
}

// vd=N or pd=ID: whether it names a physical drive, and its id.
std::pair<bool, unsigned short> bootDrive(const std::string& text) {
    auto [kind, value] = splitAssignment(text);
    if (kind != "vd" && kind != "pd")
        throw UsageError("boot set: '" + text + "' is not vd=N or pd=ID");
    const bool pd = kind == "pd";
    return {pd, static_cast<unsigned short>(parseUnsigned(value, 0, pd ? 0xFFFE : 255, kind))};
}

} // namespace

void registerBoot(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "boot", [&app] { return showBoot(app); });
    auto* set = verb(*g, "set", "Boot from a virtual drive (vd=N) or a physical drive (pd=ID)");
    auto arg = std::make_shared<std::string>();
    app.complete(set->add_option("drive", *arg, "vd=TARGET_ID or pd=DEVICE_ID")
                     ->type_name("vd=N|pd=ID")
                     ->check(checkedBy([](const std::string& a) { bootDrive(a); }))
                     ->required(),
                 {"vd=", "pd="});
    set->callback([&app, arg] {
        auto isPd = std::make_shared<bool>(false);
        auto id = std::make_shared<unsigned short>(0);
        Command c;
        c.name = "boot set";
        c.validate = [arg, isPd, id] { std::tie(*isPd, *id) = bootDrive(*arg); };
        c.run = [&app, isPd, id](Target& t) {
            if (!*isPd && !vdCanExist(app, t, *id))
                return;
            int rc;
            if (*isPd) {
                PhysicalDevice pd(*id);
                rc = t.adapter->setBootVd(&pd);
            } else {
                VirtualDisk vd(*id);
                rc = t.adapter->setBootVd(&vd);
            }
            if (rc == 0)
                rc = t.adapter->endBIOSDataUpdate();
            if (rc != 0)
                app.fail(t, "setting the boot drive", rc);
            actionDone(app, t, "Boot Device",
                       std::string("boot set ") + (*isPd ? "pd=" : "vd=") + std::to_string(*id));
        };
        app.setCommand(std::move(c));
    });
    verb(*g, "clear", "Boot from no particular drive")->callback([&app] {
        Command c;
        c.name = "boot clear";
        c.run = [&app](Target& t) {
            int rc = t.adapter->unsetBootVd();
            if (rc == 0)
                rc = t.adapter->endBIOSDataUpdate();
            if (rc != 0)
                app.fail(t, "clearing the boot drive", rc);
            actionDone(app, t, "Boot Device", "boot clear");
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
