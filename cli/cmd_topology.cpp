// kvictl topology [show|phys|connectors|mux|lanes] and set-link-speed,
// set-mux, set-sas-address: the controller's SAS/PCIe topology.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/Values.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Util.h"

namespace cli {

namespace {

constexpr unsigned kMaxPhys = 24;      // entries of the phy table
constexpr unsigned kMaxMux = 4;        // entries of the mux list
constexpr unsigned kMaxConnectors = 8; // entries of the connector record
constexpr unsigned kLaneTable = 392;

// The modes a multiplexer can be switched to (0, "no multiplexer", cannot be set).
const std::vector<NamedValue> kMuxModes = {{"internal", 1}, {"external", 2}, {"auto", 3}};

// The words set-link-speed takes for the link-speed codes (shown with the
// controller-data layer's texts).
const std::vector<NamedValue> kSpeeds = {{"auto", 0}, {"1.5", 1}, {"3", 2}, {"6", 4}, {"12", 8}};

std::string sasText(unsigned long long a) {
    char b[24];
    std::snprintf(b, sizeof b, "0x%016llx", a);
    return b;
}

// A SAS address member: "0x..." in text; in JSON 16 lowercase hex digits
// (a SAS address does not fit a JSON number exactly), null for none (0).
void sasMember(Doc& d, const std::string& label, const std::string& key, unsigned long long a) {
    if (!d.json()) {
        d.str(label, key, sasText(a));
    } else if (a == 0) {
        d.null(label, key);
    } else {
        char b[24];
        std::snprintf(b, sizeof b, "%016llx", a);
        d.str(label, key, b);
    }
}

// Phys, connectors and multiplexers share one shape: a count, then one row
// per entry; the first failed read names the entry and ends the table (the
// rows read so far are kept). row(i, r) fills r and returns the status.
template <typename Row>
bool countedRows(App& app, Target& t, Doc& d, int rc, unsigned count, const char* table,
                 const char* entry, const char* label, const char* key, Row row) {
    if (rc != 0) {
        app.fail(t, std::string("reading the ") + table, rc);
        return false;
    }
    json::Array rows;
    for (unsigned i = 0; i < count; ++i) {
        Doc r(app.json());
        rc = row(i, r);
        if (rc != 0) {
            app.fail(t, std::string("reading ") + entry + " " + std::to_string(i), rc);
            break;
        }
        rows.Insert(r.object());
    }
    d.rows(label, key, rows);
    return rc == 0;
}

bool phys(App& app, Target& t, Doc& d) {
    AdapterData& a = *t.adapter;
    auto row = [&](unsigned i, Doc& r) {
        const int phy = static_cast<int>(i);
        bool disabled = false;
        unsigned long long sas = 0;
        unsigned int port = 0, speed = 0;
        unsigned char connector = 0;
        int rc = a.isPhyDisable(phy, &disabled);
        if (rc == 0)
            rc = a.getSASAddress(phy, &sas);
        if (rc == 0)
            rc = a.getSASPortNumber(phy, &port);
        if (rc == 0)
            rc = a.getConnectorIndex(phy, &connector);
        if (rc == 0)
            rc = a.getLinkSpeed(phy, &speed);
        if (rc != 0)
            return rc;
        r.num("Phy", "phy", i);
        r.flag("Disabled", "disabled", disabled);
        sasMember(r, "SAS Address", "sas_address", sas);
        r.num("Port", "port", port);
        r.num("Connector", "connector", connector);
        // The controller-data layer's words, in text and JSON alike (one table);
        // JSON reads the rate out of them ("No limit" is null).
        const char* limit = t.adapter->GetSASPhyLinkSpeed(speed);
        if (app.json())
            r.raw("Link Speed Limit", "link_speed_limit_bits_per_second",
                  kvi::reports::typedValue(kvi::reports::Kind::Rate, limit));
        else
            r.str("Link Speed Limit", "link_speed_limit_bits_per_second", limit);
        return 0;
    };
    unsigned int count = 0;
    int rc = a.getPhyCount(&count);
    return countedRows(app, t, d, rc, std::min(count, kMaxPhys), "phys", "phy", "Phys", "phys",
                       row);
}

bool connectors(App& app, Target& t, Doc& d) {
    AdapterData& a = *t.adapter;
    auto row = [&](unsigned i, Doc& r) {
        const auto index = static_cast<unsigned char>(i);
        unsigned char location = 0;
        std::string* rawName = nullptr;
        int rc = a.getConnectorLocation(index, &location);
        if (rc == 0)
            rc = a.getConnectorName(index, &rawName);
        std::unique_ptr<std::string> name(rawName); // the caller owns the name
        if (rc != 0)
            return rc;
        r.num("Connector", "connector", i);
        r.str("Name", "name", name ? *name : "");
        r.str("Location", "location", location == 0 ? "internal" : "external");
        return 0;
    };
    unsigned char count = 0;
    int rc = a.getConnectorCount(&count);
    // The record holds at most eight connectors, whatever count it states.
    if (rc == 0 && count > kMaxConnectors) {
        app.warn(t, "connector_count",
                 "the controller states " + std::to_string(count) +
                     " connectors; its record holds " + std::to_string(kMaxConnectors) +
                     ", which are shown");
        count = kMaxConnectors;
    }
    return countedRows(app, t, d, rc, count, "connectors", "connector", "Connectors", "connectors",
                       row);
}

bool muxes(App& app, Target& t, Doc& d) {
    AdapterData& a = *t.adapter;
    auto row = [&](unsigned i, Doc& r) {
        unsigned char mode = 0;
        int rc = a.getMuxMode(&mode, static_cast<unsigned char>(i));
        if (rc != 0)
            return rc;
        r.num("Mux", "mux", i);
        if (!app.json())
            r.num("Mode", "mode", mode);
        else if (mode == 0)
            r.str("Mode", "mode", "none");
        else if (mode <= 3)
            r.str("Mode", "mode", nameOf(mode, kMuxModes));
        else
            r.null("Mode", "mode");
        return 0;
    };
    unsigned char count = 0;
    int rc = a.getMuxCount(&count);
    return countedRows(app, t, d, rc, std::min<unsigned>(count, kMaxMux), "multiplexers",
                       "multiplexer", "Multiplexers", "multiplexers", row);
}

bool lanes(App& app, Target& t, Doc& d) {
    std::vector<unsigned char> buf(kLaneTable, 0);
    int rc = t.adapter->getAllLaneConnectionInfo(buf.data());
    if (rc != 0) {
        app.fail(t, "reading the PCIe lanes", rc);
        return false;
    }
    auto u32 = [&](std::size_t o) {
        return std::uint32_t(buf[o]) | std::uint32_t(buf[o + 1]) << 8 |
               std::uint32_t(buf[o + 2]) << 16 | std::uint32_t(buf[o + 3]) << 24;
    };
    // Head {u32 count, u32 reserved}, then 16-byte lane entries.
    unsigned count = std::min<unsigned>(u32(0), (kLaneTable - 8) / 16);
    json::Array rows;
    for (unsigned i = 0; i < count; ++i) {
        std::size_t e = 8 + i * 16;
        std::uint32_t speeds = u32(e + 12);
        Doc r(app.json());
        r.num("Lane", "lane", static_cast<unsigned>(buf[e + 8] | buf[e + 9] << 8));
        r.num("Connector", "connector", buf[e + 11]);
        r.num("Supported Speed", "supported_speed_code", speeds & 0xFF);
        r.num("Speed Limit", "speed_limit_code", (speeds >> 16) & 0xFF);
        r.num("Current Speed", "current_speed_code", speeds >> 24);
        r.flag("Disabled", "disabled", (speeds >> 8) & 1);
        rows.Insert(r.object());
    }
    d.rows("Lanes", "lanes", rows);
    return true;
}

// Refuses (as a usage error) an index the controller does not have, naming
// the ones it has ("phys 0-7", or "no phys"). True when refused.
bool refuseMissingIndex(App& app, const Target& t, const char* what, const char* plural,
                        unsigned index, unsigned count) {
    if (index < count)
        return false;
    const std::string have = count == 0 ? std::string("no ") + plural
                                        : std::string(plural) + " 0-" + std::to_string(count - 1);
    app.error("usage",
              std::string(what) + " " + std::to_string(index) + " does not exist on controller " +
                  std::to_string(t.index) + " (" + have + "); nothing was changed",
              kExitUsage);
    return true;
}

Command showTopology(App& app, int which) { // 0 all, 1 phys, 2 connectors, 3 mux, 4 lanes
    Command c;
    c.name = "topology";
    c.run = [&app, which](Target& t) {
        Doc d(app.json());
        bool ok = true;
        if (which == 0 || which == 2)
            ok = connectors(app, t, d);
        if (ok && (which == 0 || which == 1))
            ok = phys(app, t, d);
        if (ok && (which == 0 || which == 3))
            ok = muxes(app, t, d);
        if (ok && (which == 0 || which == 4))
            lanes(app, t, d);
        if (ok && which == 0) {
            unsigned long long sas = 0;
            int rc = t.adapter->getAdpSASAddress(&sas);
            if (rc != 0)
                app.fail(t, "reading the controller's SAS address", rc);
            else
                sasMember(d, "Controller SAS Address", "sas_address", sas);
        }
        app.emit(t, "topology", "Topology", d.object());
    };
    return c;
}

// A multiplexer mode by name or number (1-3).
unsigned char parseMuxMode(const std::string& mode) {
    return mode.find_first_not_of("0123456789") == std::string::npos
               ? static_cast<unsigned char>(parseUnsigned(mode, 1, 3, "mux mode"))
               : static_cast<unsigned char>(parseNamed(mode, kMuxModes, "mux mode"));
}

// 0x and 16 hex digits, not zero.
unsigned long long sasAddress(const std::string& text) {
    if (text.size() != 18 || text.rfind("0x", 0) != 0)
        throw UsageError("set-sas-address: '" + text + "' is not 0x followed by 16 hex digits");
    return parseUnsigned(text, 1, ~0ull, "SAS address");
}

} // namespace

void registerTopology(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "topology", [&app] { return showTopology(app, 0); });
    verb(*g, "phys", "The phys")->callback([&app] { app.setCommand(showTopology(app, 1)); });
    verb(*g, "connectors", "The connectors")->callback([&app] {
        app.setCommand(showTopology(app, 2));
    });
    verb(*g, "mux", "The multiplexers")->callback([&app] { app.setCommand(showTopology(app, 3)); });
    verb(*g, "lanes", "The PCIe lanes")->callback([&app] { app.setCommand(showTopology(app, 4)); });

    auto phy = std::make_shared<std::string>();
    auto speed = std::make_shared<std::string>();
    auto* sls = verb(*g, "set-link-speed", "Limit a phy's link speed: PHY auto|1.5|3|6|12");
    sls->add_option("phy", *phy, "Phy index")
        ->type_name("PHY")
        ->check(unsignedIn(0, kMaxPhys - 1, "phy"))
        ->required();
    app.complete(sls->add_option("speed", *speed, "auto, 1.5, 3, 6 or 12 (Gb/s)")
                     ->type_name("SPEED")
                     ->check(namedIn(kSpeeds, "speed"))
                     ->required(),
                 namesOf(kSpeeds));
    sls->callback([&app, phy, speed] {
        auto p = std::make_shared<unsigned>(0);
        auto s = std::make_shared<unsigned>(0);
        Command c;
        c.name = "topology set-link-speed";
        c.validate = [phy, speed, p, s] {
            *p = static_cast<unsigned>(parseUnsigned(*phy, 0, kMaxPhys - 1, "phy"));
            *s = parseNamed(*speed, kSpeeds, "speed");
        };
        c.run = [&app, p, s](Target& t) {
            unsigned int count = 0;
            int rc = t.adapter->getPhyCount(&count);
            if (rc == 0 && refuseMissingIndex(app, t, "phy", "phys", *p, count))
                return;
            if (rc == 0)
                rc = t.adapter->setLinkSpeed(static_cast<int>(*p), *s);
            if (rc != 0)
                app.fail(t, "setting the link speed of phy " + std::to_string(*p), rc);
            actionDone(app, t, "Topology", "set-link-speed");
        };
        app.setCommand(std::move(c));
    });

    auto muxIndex = std::make_shared<std::string>();
    auto muxMode = std::make_shared<std::string>();
    auto* smx =
        verb(*g, "set-mux", "Set a multiplexer's mode: INDEX internal|external|auto (or 1-3)");
    smx->add_option("index", *muxIndex, "Multiplexer index")
        ->type_name("INDEX")
        ->check(unsignedIn(0, 255, "mux index"))
        ->required();
    app.complete(smx->add_option("mode", *muxMode, "Mode: internal, external, auto or 1-3")
                     ->type_name("MODE")
                     ->check(checkedBy([](const std::string& m) { parseMuxMode(m); }))
                     ->required(),
                 namesOf(kMuxModes));
    smx->callback([&app, muxIndex, muxMode] {
        auto i = std::make_shared<unsigned char>(0);
        auto m = std::make_shared<unsigned char>(0);
        Command c;
        c.name = "topology set-mux";
        c.validate = [muxIndex, muxMode, i, m] {
            // The controller says how many multiplexers it has; here only
            // what fits the request's index byte.
            *i = static_cast<unsigned char>(parseUnsigned(*muxIndex, 0, 255, "mux index"));
            *m = parseMuxMode(*muxMode);
        };
        c.run = [&app, i, m](Target& t) {
            unsigned char count = 0;
            int rc = t.adapter->getMuxCount(&count);
            const unsigned usable = std::min<unsigned>(count, kMaxMux);
            if (rc == 0 && refuseMissingIndex(app, t, "multiplexer", "multiplexers", *i, usable))
                return;
            if (rc == 0)
                rc = t.adapter->beginMuxModeUpdate();
            if (rc == 0)
                rc = t.adapter->setMuxMode(*m, *i);
            if (rc == 0)
                rc = t.adapter->endMuxModeUpdate();
            if (rc != 0)
                app.fail(t, "setting multiplexer " + std::to_string(*i), rc);
            actionDone(app, t, "Topology", "set-mux");
        };
        app.setCommand(std::move(c));
    });

    auto addr = std::make_shared<std::string>();
    auto* ssa =
        verb(*g, "set-sas-address", "Set the controller's SAS address (0x + 16 hex digits)");
    ssa->add_option("address", *addr, "SAS address")
        ->type_name("0xADDRESS")
        ->check(checkedBy([](const std::string& a) { sasAddress(a); }))
        ->required();
    ssa->callback([&app, addr] {
        auto v = std::make_shared<unsigned long long>(0);
        Command c;
        c.name = "topology set-sas-address";
        c.confirmation = [] {
            return std::string("Change the SAS address of the selected controllers?");
        };
        c.validate = [addr, v] { *v = sasAddress(*addr); };
        c.run = [&app, v](Target& t) {
            bool gen2 = false;
            int rc = t.adapter->isGen2Card(&gen2);
            if (rc == 0)
                rc = t.adapter->adpSetSASAdd(*v, gen2);
            if (rc != 0)
                app.fail(t, "setting the SAS address", rc);
            actionDone(app, t, "Topology", "set-sas-address");
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
