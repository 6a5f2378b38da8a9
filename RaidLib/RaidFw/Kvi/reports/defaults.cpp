// Report sections of AdapterDataKvi: manufacturing defaults and controller
// capabilities.
//
// Every row shows one record field, and the code table of each section lists
// that field beside the row, so the two sections cannot contradict each other
// or the records: the defaults are the factory values of the manufacturing
// defaults record, the capabilities the controller's limits from the
// controller information ("Default Max VDs per Array" and "Max VDs per Array"
// are two fields, the factory default and the limit).
//
// getShowDefaults: the record is loaded first; a failed load is returned at
// once and nothing is written. Members, in order: "SAS Address" ("%llx", "NA"
// when 0), "Strip Size Code", "Write Policy Code", "Read Policy Code", "Cache
// Policy Code", "Disk Cache Policy Code", "Write Cache Bad BBU Code", "Disk
// Certification Policy Code" (numbers), "Treat RAID1E As RAID10" ("Yes" /
// "No"), "Spin Down Mode" (texts as in the boot section), "Default Max VDs per
// Array" (number). The code rows take their field through its rule operation
// (a virtual call, so a controller-specific rule is what the section shows)
// and show the code that operation gives: the codes the tool's logical-drive
// policies use, whose meaning belongs to the command layer that offers those
// policies, so the section names none of them. A rule operation that refuses
// (a record value with no mapping, a failed OEM query) shows "NA" under its
// key; the section still returns 0. The record's other members (background
// rate, flush time, coercion, alarm, ...) are not shown: nothing here says
// what their codes or units mean.
//
// getShowCapabilities: the information is loaded first; a failed load is
// returned at once and nothing is written. Members, in order (numbers unless
// marked): "Max Arms", "Max Spans", "Max Arrays", "Max Virtual Drives", "Max
// Drives", "Max Configurable Drives", "Max Dedicated Hot Spares", "Max Global
// Hot Spares", "Max VDs per Array", "Min Strip Size Code", "Max Strip Size
// Code", then
//   "Supported RAID Levels"  array of strings: the list getSupportedRaidLevels
//                            gives from the level bits, in its order, each
//                            code by its name ("RAID0", "RAID1", "RAID5",
//                            "RAID6", "RAIDEC" for 17, "RAID10", "RAID50",
//                            "RAID60", "RAID1E" for 35, "RAID00", "Unknown"
//                            for 255) and any other code as its decimal
//                            number. When the operation fails its status is
//                            returned at once, after the members above.
//   "OEM Code"               number from the OEM identifier query; absent when
//                            that query fails
#include <memory>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"
#include "util/ArList.h"

using kvi::adapter::infoSection;
using kvi::adapter::mfcSection;
using namespace kvi::reports;

namespace {

// A row value of the defaults section; false when the rule operation that
// reads it refuses (the row then shows "NA").
using DefaultValue = bool (*)(AdapterDataKvi& a, json::UnknownElement& out);

// A default code as the rule operation `Op` gives it: a virtual call, so a
// controller-specific rule is what the section shows.
template <int (AdapterData::*Op)(unsigned char*)>
bool ruleCode(AdapterDataKvi& a, json::UnknownElement& out) {
    unsigned char code = 0;
    if ((a.*Op)(&code) != 0) {
        return false;
    }
    out = json::Number(code);
    return true;
}

// The report text of a RAID level code.
std::string raidLevelText(unsigned char level) {
    if (const char* name = raidLevelName(level))
        return name;
    return level == 255 ? "Unknown" : format("%u", static_cast<unsigned int>(level));
}

} // namespace

int AdapterDataKvi::getShowDefaults(json::Object& obj) {
    return mfcSection(*this, "getShowDefaults", [&](const KV_MFC_DEFAULTS&) {
        // Every row with the record field it shows. The code rows take the field
        // through its rule operation, so they show the code that operation gives.
        using A = AdapterDataKvi;
        using V = json::UnknownElement;
        static const struct {
            const char* key;
            const char* field;
            DefaultValue value;
        } kRows[] = {
            {"SAS Address", "KV_MFC_DEFAULTS.sasAddr",
             [](A& a, V& out) {
                 unsigned long long sas = 0;
                 if (a.getAdpSASAddress(&sas) != 0 || sas == 0) {
                     return false; // no address is "NA" as well
                 }
                 out = json::String(format("%llx", sas));
                 return true;
             }},
            {"Strip Size Code", "KV_MFC_DEFAULTS.stripeSize",
             ruleCode<&AdapterData::getDefaultStrpSz>},
            {"Write Policy Code", "KV_MFC_DEFAULTS.writeBack",
             ruleCode<&AdapterData::getDefaultWrPolicy>},
            {"Read Policy Code", "KV_MFC_DEFAULTS.readAhead",
             ruleCode<&AdapterData::getDefaultRdPolicy>},
            {"Cache Policy Code", "KV_MFC_DEFAULTS.cachedIo",
             ruleCode<&AdapterData::getDefaultCachePolicy>},
            {"Disk Cache Policy Code", "the OEM identifier",
             ruleCode<&AdapterData::getDefaultDiskCachePolicy>},
            {"Write Cache Bad BBU Code", "KV_MFC_DEFAULTS.cacheWhenBBUBad",
             ruleCode<&AdapterData::getDefaultWriteCacheBadBBU>},
            {"Disk Certification Policy Code", "KV_MFC_DEFAULTS.allowUnCertifiedHDDs",
             ruleCode<&AdapterData::getDiskCertificationPolicy>},
            {"Treat RAID1E As RAID10", "KV_MFC_DEFAULTS.treatR1EAsR10",
             [](A& a, V& out) {
                 bool treat = false;
                 if (a.isTreatR1EAsR10(&treat) != 0) {
                     return false;
                 }
                 out = json::String(yesNo(treat));
                 return true;
             }},
            {"Spin Down Mode", "KV_MFC_DEFAULTS.spindownMode",
             [](A& a, V& out) {
                 out = json::String(spinDownText(a.kvMFCDefPtr_->spindownMode));
                 return true;
             }},
            // The factory default, not the controller's limit (Capabilities shows that).
            {"Default Max VDs per Array", "KV_MFC_DEFAULTS.maxLdsPerArray",
             [](A& a, V& out) {
                 out = json::Number(a.kvMFCDefPtr_->maxLdsPerArray);
                 return true;
             }},
        };
        for (const auto& row : kRows) {
            V value;
            if (row.value(*this, value)) {
                obj[row.key] = value;
            } else {
                DEBUG_LOG(INFO, "AdapterDataKvi::getShowDefaults: no value of %s for \"%s\"",
                          row.field, row.key);
                putText(obj, row.key, "NA");
            }
        }
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowDefaults retCode = %d", 0);
        return 0;
    });
}

int AdapterDataKvi::getShowCapabilities(json::Object& obj) {
    return infoSection(*this, "getShowCapabilities", [&](const KV_CTRL_INFO&) {
        int rc = 0;
        // Each row shows one field of the controller information, named beside it.
        using Info = KV_CTRL_INFO;
        static const struct {
            const char* key;
            unsigned (*field)(const Info&);
        } kLimits[] = {
            {"Max Arms", [](const Info& i) -> unsigned { return i.maxArms; }},
            {"Max Spans", [](const Info& i) -> unsigned { return i.maxSpans; }},
            {"Max Arrays", [](const Info& i) -> unsigned { return i.maxArrays; }},
            {"Max Virtual Drives", [](const Info& i) -> unsigned { return i.maxLDs; }},
            {"Max Drives", [](const Info& i) -> unsigned { return i.maxPds; }},
            {"Max Configurable Drives",
             [](const Info& i) -> unsigned { return i.maxConfigurablePds; }},
            {"Max Dedicated Hot Spares", [](const Info& i) -> unsigned { return i.maxDedHSPs; }},
            {"Max Global Hot Spares", [](const Info& i) -> unsigned { return i.maxGlobalHSPs; }},
            {"Max VDs per Array", [](const Info& i) -> unsigned { return i.maxLdsPerArray; }},
            {"Min Strip Size Code",
             [](const Info& i) -> unsigned { return i.stripeSizeOptions.min; }},
            {"Max Strip Size Code",
             [](const Info& i) -> unsigned { return i.stripeSizeOptions.max; }},
        };
        for (const auto& row : kLimits) {
            putNumber(obj, row.key, row.field(*kvCtrlInfoPtr_));
        }

        // The list belongs to this caller.
        ArrayList<unsigned char>* raw = nullptr;
        rc = getSupportedRaidLevels(&raw);
        const std::unique_ptr<ArrayList<unsigned char>> supported(raw);
        if (rc != 0) {
            return rc;
        }
        json::Array levels;
        if (supported != nullptr) {
            for (unsigned char level : *supported) {
                levels.Insert(json::String(raidLevelText(level)));
            }
        }
        obj["Supported RAID Levels"] = levels; // KV_CTRL_INFO.raidLevels
        int oem = 0;                           // word 0 of the OEM identifier answer
        if (getOem(&oem) == 0) {
            putNumber(obj, "OEM Code", oem);
        }
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowCapabilities retCode = %d", rc);
        return 0;
    });
}
