// kvictl rules: what configurations the controller accepts: RAID levels with
// drives per span and span counts, strip sizes, policy lists and defaults, and
// whether adding or clearing a configuration is allowed now.
#include <CLI/CLI.hpp>
#include <memory>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "RaidLib/RaidFw/Kvi/reports/Values.h"
#include "cli/App.h"
#include "cli/Doc.h"

namespace cli {

namespace {

std::string levelName(unsigned char level) {
    if (const char* name = kvi::reports::raidLevelName(level))
        return name;
    return "level " + std::to_string(level);
}

// Strip size code n means 512 << n bytes, for the codes controllers use:
// 0 (512 bytes) to 15 (16 MiB). Any other code has no size; it is shown as
// "unknown (code N)" and as null in JSON, never as a made-up number of bytes.
constexpr unsigned char kMaxStripCode = 15;

bool stripKnown(unsigned char code) {
    return code <= kMaxStripCode;
}

unsigned long long stripBytes(unsigned char code) {
    return 512ull << code;
}

std::string stripUnknown(unsigned char code) {
    return "unknown (code " + std::to_string(code) + ")";
}

void stripMember(Doc& d, const std::string& label, const std::string& key, unsigned char code) {
    if (!stripKnown(code)) {
        if (d.json())
            d.null(label, key);
        else
            d.str(label, key, stripUnknown(code));
        return;
    }
    d.num(label, key, stripBytes(code), "bytes");
}

std::string stripListText(unsigned char code) {
    if (!stripKnown(code))
        return stripUnknown(code);
    const unsigned long long b = stripBytes(code);
    return b < 1024 ? std::to_string(b) + " B" : std::to_string(b / 1024) + " KiB";
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
                    // A lowercase token in JSON ("raid10"), the level's name in text.
                    r.str("Level", "level",
                          app.json() ? kvi::reports::snakeToken(levelName(level))
                                     : levelName(level));
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
                stripMember(d, "Min Strip Size", "min_strip_size_bytes", minStrip);
                stripMember(d, "Max Strip Size", "max_strip_size_bytes", maxStrip);
                stripMember(d, "Default Strip Size", "default_strip_size_bytes", defStrip);
                json::Array sizes;
                std::string text;
                if (strips)
                    for (std::size_t i = 0; i < strips->size(); ++i) {
                        const unsigned char code = strips->get(i);
                        if (stripKnown(code))
                            sizes.Insert(json::UNumber(stripBytes(code)));
                        else
                            sizes.Insert(json::Null());
                        text += (text.empty() ? "" : ", ") + stripListText(code);
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
                // Policy codes, as the Defaults section shows them.
                d.rows("Write Policies", "write_policy_codes", byteList(wrOwned.get()));
                d.rows("Read Policies", "read_policy_codes", byteList(rdOwned.get()));
                d.rows("Cache Policies", "cache_policy_codes", byteList(cpOwned.get()));
                d.num("Default Write Policy", "default_write_policy_code", defWr);
                d.num("Default Read Policy", "default_read_policy_code", defRd);
                d.num("Default Cache Policy", "default_cache_policy_code", defCache);
                d.num("Default Disk Cache Policy", "default_disk_cache_policy_code", defDisk);
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
