// kvictl list: every controller with its index, model, serial number,
// firmware version, driver, PCI address and status.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Gate.h"
#include "provider/Provider.h"
#include "json/TextWriter.h"

namespace cli {

namespace {

struct Row {
    std::string cells[8];
};

std::string memberText(const json::Object& o, const char* key) {
    const json::UnknownElement* e = o.Find(key);
    if (e == nullptr)
        return "";
    if (const json::String* s = e->As<json::String>())
        return s->Value();
    return "";
}

// JSON: null for what is not known (empty, or the report's "NA").
json::UnknownElement knownText(const std::string& text) {
    if (text.empty() || text == "NA")
        return json::Null();
    return json::String(text);
}

} // namespace

void registerList(CLI::App& root, App& app) {
    auto* sub = root.add_subcommand(
        "list", "List every controller: model, serial, firmware, driver, PCI address, status");
    sub->footer("Every controller unless -c N selects one.\n\n"
                "Examples:\n  kvictl --sim --sim-controllers 3 list\n  kvictl --sim -c 1 list\n"
                "  kvictl --device /dev/kvictl0 -o json list");
    sub->callback([&app] {
        auto rows = std::make_shared<std::vector<Row>>();
        Command c;
        c.name = "list";
        c.headers = false;
        c.allControllersByDefault = true;
        c.run = [&app, rows](Target& t) {
            AdapterDataKvi& a = *t.adapter;
            // The serial as the basic section words it: on OEM hosts it is the
            // controller information's serial and for the withholding
            // controller type "NA", while getCtrlManfactureSno always answers
            // the manufacturing record's. The model comes from the controller
            // information alone, as metrics and check take it, so a failed
            // manufacturing-record read leaves only the serial unknown.
            json::Object basic;
            int rc = a.getShowBasic(basic);
            if (rc != 0)
                app.fail(t, "reading the controller identity", rc);
            std::string model;
            if (a.getProductName(model) != 0)
                model.clear();
            std::string fw;
            int fwrc = a.getFwVersion(fw);
            if (fwrc != 0 && rc == 0)
                app.fail(t, "reading the firmware version", fwrc);
            kvi::PciLocation pci;
            std::string pciText;
            if (t.backend->pciLocation(pci) == 0) {
                char buf[32];
                std::snprintf(buf, sizeof buf, "%04x:%02x:%02x.%x", pci.domain, pci.bus, pci.device,
                              pci.function);
                pciText = buf;
            }
            std::string driver = t.backend->driverName();
            std::string driverVersion = t.backend->driverVersion();
            if (app.json()) {
                json::Object& e = *t.entry;
                e["model"] = knownText(model);
                e["serial_number"] = knownText(memberText(basic, "Serial Number"));
                e["firmware_version"] = knownText(fw);
                e["driver_name"] = knownText(driver);
                e["driver_version"] = knownText(driverVersion);
                e["pci_address"] = knownText(pciText);
                return;
            }
            Row r;
            r.cells[0] = std::to_string(t.index);
            r.cells[1] = model;
            r.cells[2] = memberText(basic, "Serial Number");
            r.cells[3] = fw;
            r.cells[4] = driver;
            r.cells[5] = driverVersion;
            r.cells[6] = pciText;
            r.cells[7] = t.statusName();
            rows->push_back(r);
        };
        c.finish = [&app, rows] {
            if (app.json() || rows->empty())
                return;
            static const char* head[8] = {"Index",  "Model",          "Serial",      "Firmware",
                                          "Driver", "Driver Version", "PCI Address", "Status"};
            std::size_t w[8];
            for (int i = 0; i < 8; ++i) {
                w[i] = std::string(head[i]).size();
                for (const Row& r : *rows)
                    w[i] = std::max(
                        w[i], json::TextWriter::Width(json::TextWriter::Printable(r.cells[i])));
            }
            auto line = [&](const std::string* cells) {
                std::string s;
                for (int i = 0; i < 8; ++i) {
                    std::string p = json::TextWriter::Printable(cells[i]);
                    s += p;
                    if (i < 7)
                        s += std::string(w[i] - json::TextWriter::Width(p) + 2, ' ');
                }
                app.out() << s << "\n";
            };
            std::string h[8], d[8];
            for (int i = 0; i < 8; ++i) {
                h[i] = head[i];
                d[i] = std::string(w[i], '-');
            }
            line(h);
            line(d);
            for (const Row& r : *rows)
                line(r.cells);
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
