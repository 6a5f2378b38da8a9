// kvictl rules: what configurations the controller accepts: RAID levels with
// drives per span and span counts, strip sizes, policy lists and defaults, and
// whether adding or clearing a configuration is allowed now.
#include <CLI/CLI.hpp>
#include <memory>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "cli/App.h"
#include "cli/Doc.h"

namespace cli {

namespace {

std::string levelName(unsigned char level) {
    if (const char* name = kvi::reports::raidLevelName(level))
        return name;
    return "level " + std::to_string(level);
}

// Strip size code n means 512 << n bytes.
unsigned long long stripBytes(unsigned char code) {
    return code < 40 ? 512ull << code : 0;
}

json::Array byteList(const ArrayList<unsigned char>* list) {
    json::Array a;
    if (list != nullptr)
        for (std::size_t i = 0; i < list->size(); ++i)
            a.Insert(json::UNumber(list->get(i)));
    return a;
}

} // namespace

void registerRules(CLI::App& root, App& app) {
    auto* sub = root.add_subcommand(
        "rules",
        "RAID levels, span and strip rules, policies, and what configuration changes are allowed");
    sub->footer("Examples:\n  kvictl --sim rules\n  kvictl --sim -o json rules");
    sub->callback([&app] {
        Command c;
        c.name = "rules";
        c.run = [&app](Target& t) {
            AdapterData& a = *t.adapter;
            auto step = [&](int rc, const char* what) {
                if (rc != 0)
                    app.fail(t, std::string("reading ") + what, rc);
                return rc == 0;
            };
            Doc d(app.json());
            ArrayList<unsigned char>* rawLevels = nullptr;
            bool ok = step(a.getSupportedRaidLevels(&rawLevels), "the RAID levels");
            std::unique_ptr<ArrayList<unsigned char>> levels(rawLevels);
            if (ok && levels) {
                json::Array rows;
                for (std::size_t i = 0; i < levels->size() && ok; ++i) {
                    unsigned char level = levels->get(i);
                    unsigned char minSpan = 0, maxSpan = 0, minPd = 0, maxPd = 0;
                    ok = step(a.getMinSpanCount(&minSpan, level), "span rules") &&
                         step(a.getMaxSpanCount(&maxSpan, level), "span rules") &&
                         step(a.getMinPdPerSpan(&minPd, level), "drive rules") &&
                         step(a.getMaxPdPerSpan(&maxPd, level), "drive rules");
                    if (!ok)
                        break;
                    Doc r(app.json());
                    r.str("Level", "level", levelName(level));
                    r.num("Min Drives/Span", "min_drives_per_span", minPd);
                    r.num("Max Drives/Span", "max_drives_per_span", maxPd);
                    r.num("Min Spans", "min_spans", minSpan);
                    r.num("Max Spans", "max_spans", maxSpan);
                    rows.Insert(r.object());
                }
                d.rows("RAID Levels", "raid_levels", rows);
            }
            unsigned char minStrip = 0, maxStrip = 0, defStrip = 0;
            ArrayList<unsigned char>* rawStrips = nullptr;
            ok = ok && step(a.getMinStrpSz(&minStrip), "the strip sizes") &&
                 step(a.getMaxStrpSz(&maxStrip), "the strip sizes") &&
                 step(a.getDefaultStrpSz(&defStrip), "the strip sizes") &&
                 step(a.getValidStrpSzLst(&rawStrips), "the strip sizes");
            std::unique_ptr<ArrayList<unsigned char>> strips(rawStrips);
            if (ok) {
                d.num("Min Strip Size", "min_strip_size_bytes", stripBytes(minStrip), "bytes");
                d.num("Max Strip Size", "max_strip_size_bytes", stripBytes(maxStrip), "bytes");
                d.num("Default Strip Size", "default_strip_size_bytes", stripBytes(defStrip),
                      "bytes");
                json::Array sizes;
                std::string text;
                if (strips)
                    for (std::size_t i = 0; i < strips->size(); ++i) {
                        sizes.Insert(json::UNumber(stripBytes(strips->get(i))));
                        text += (text.empty() ? "" : ", ") +
                                std::to_string(stripBytes(strips->get(i)) / 1024) + " KiB";
                    }
                if (app.json())
                    d.rows("Strip Sizes", "strip_sizes_bytes", sizes);
                else
                    d.str("Strip Sizes", "strip_sizes_bytes", text);
            }
            ArrayList<unsigned char>* wr = nullptr;
            ArrayList<unsigned char>* rd = nullptr;
            ArrayList<unsigned char>* cp = nullptr;
            unsigned char defWr = 0, defRd = 0, defCache = 0, defDisk = 0;
            ok = ok && step(a.getValidWrPolicyLst(&wr), "the write policies");
            std::unique_ptr<ArrayList<unsigned char>> wrOwned(wr);
            ok = ok && step(a.getValidRdPolicyLst(&rd), "the read policies");
            std::unique_ptr<ArrayList<unsigned char>> rdOwned(rd);
            ok = ok && step(a.getValidCachePolicy(&cp), "the cache policies");
            std::unique_ptr<ArrayList<unsigned char>> cpOwned(cp);
            ok = ok && step(a.getDefaultWrPolicy(&defWr), "the default policies") &&
                 step(a.getDefaultRdPolicy(&defRd), "the default policies") &&
                 step(a.getDefaultCachePolicy(&defCache), "the default policies") &&
                 step(a.getDefaultDiskCachePolicy(&defDisk), "the default policies");
            if (ok) {
                d.rows("Write Policies", "write_policies", byteList(wrOwned.get()));
                d.rows("Read Policies", "read_policies", byteList(rdOwned.get()));
                d.rows("Cache Policies", "cache_policies", byteList(cpOwned.get()));
                d.num("Default Write Policy", "default_write_policy", defWr);
                d.num("Default Read Policy", "default_read_policy", defRd);
                d.num("Default Cache Policy", "default_cache_policy", defCache);
                d.num("Default Disk Cache Policy", "default_disk_cache_policy", defDisk);
            }
            unsigned char maxVd = 0;
            bool add = false, clear = false;
            ok = ok && step(a.getMaxAllowedVd(&maxVd), "the virtual drive limit");
            if (ok)
                d.num("Max Virtual Drives", "max_virtual_drives", maxVd);
            ok = ok && step(a.isAddConfigAllowed(&add), "the allowed operations") &&
                 step(a.isClearConfigAllowed(&clear), "the allowed operations");
            if (ok) {
                d.flag("Add Configuration Allowed", "add_config_allowed", add);
                d.flag("Clear Configuration Allowed", "clear_config_allowed", clear);
            }
            app.emit(t, "rules", "Configuration Rules", d.object());
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
