// Report sections of AdapterDataKvi: manufacturing defaults and controller
// capabilities.
//
// Both sections show what the configuration rules answer, not their own
// reading of the records: each value comes from the rule operation of this
// object (a virtual call, so a subclass that overrides a rule changes the
// report), and a value means exactly what that operation gives.
//
// getShowDefaults: the factory defaults the controller keeps in its
// manufacturing defaults record. The record is loaded first; a failed load is
// returned at once and nothing is written. Members, in order:
//   "SAS Address"                     getAdpSASAddress as "%llx", "NA" when 0
//   "Strip Size Code"                 number: getDefaultStrpSz, the firmware's
//                                     strip-size code
//   "Write Policy Code"               number: getDefaultWrPolicy
//   "Read Policy Code"                number: getDefaultRdPolicy
//   "Cache Policy Code"               number: getDefaultCachePolicy
//   "Disk Cache Policy Code"          number: getDefaultDiskCachePolicy (asks
//                                     the OEM identifier)
//   "Write Cache Bad BBU Code"        number: getDefaultWriteCacheBadBBU
//   "Disk Certification Policy Code"  number: getDiskCertificationPolicy
//   "Treat RAID1E As RAID10"          isTreatR1EAsR10: "Yes" / "No"
//   "Spin Down Mode"                  the record's spin-down mode, texts as in
//                                     the boot section
//   "Default Max VDs per Array"       number: the record's maxLdsPerArray (the
//                                     factory default, beside the controller's
//                                     limit that Capabilities shows)
// The policy codes are shown as numbers: they are the codes the tool's
// logical-drive policies use, and what each code means belongs to the command
// layer that offers those policies, so the section names none of them. A rule
// operation that refuses (a record value with no mapping, a failed OEM query)
// shows "NA" under its key; the section still returns 0. The record's other
// members (background rate, flush time, coercion, alarm, ...) are not shown:
// nothing here says what their codes or units mean.
//
// getShowCapabilities: the controller's limits from the controller
// information. The information is loaded first; a failed load is returned at
// once and nothing is written. Members, in order (numbers unless marked):
//   "Max Arms", "Max Spans", "Max Arrays", "Max Virtual Drives", "Max Drives",
//   "Max Configurable Drives", "Max Dedicated Hot Spares", "Max Global Hot Spares",
//   "Max VDs per Array", "Min Strip Size Code", "Max Strip Size Code",
//   "Supported RAID Levels"  array of strings: the list getSupportedRaidLevels
//                            gives, in its order, each code by its name
//                            ("RAID0", "RAID1", "RAID5", "RAID6", "RAIDEC" for
//                            17, "RAID10", "RAID50", "RAID60", "RAID1E" for 35,
//                            "RAID00", "Unknown" for 255) and any other code as
//                            its decimal number. When the operation fails its
//                            status is returned at once, after the members
//                            above.
//   "OEM Code"               number from the OEM identifier query; absent when
//                            that query fails
#include <memory>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/ReportText.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"
#include "util/ArList.h"

using namespace kvi::reports;

namespace {

// A code handed on as the rule operation gives it; "NA" when it refused.
void putCode(json::Object& obj, const char* key, int rc, unsigned char code) {
    if (rc == 0) {
        putNumber(obj, key, code);
    } else {
        putText(obj, key, "NA");
    }
}

// The report text of a RAID level code.
std::string raidLevelText(unsigned char level) {
    if (const char* name = raidLevelName(level))
        return name;
    return level == 255 ? "Unknown" : format("%u", static_cast<unsigned int>(level));
}

} // namespace

int AdapterDataKvi::getShowDefaults(json::Object& obj) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowDefaults");
    const int rc = getMFCdata();
    if (rc != 0) {
        return rc;
    }

    unsigned long long sasAddr = 0;
    if (getAdpSASAddress(&sasAddr) == 0 && sasAddr != 0) {
        putText(obj, "SAS Address", format("%llx", sasAddr));
    } else {
        putText(obj, "SAS Address", "NA");
    }
    // The default codes, each from its rule operation (virtual, so a
    // controller-specific rule is what the section shows).
    static const struct {
        const char* key;
        int (AdapterData::*read)(unsigned char*);
    } kCodes[] = {
        {"Strip Size Code", &AdapterData::getDefaultStrpSz},
        {"Write Policy Code", &AdapterData::getDefaultWrPolicy},
        {"Read Policy Code", &AdapterData::getDefaultRdPolicy},
        {"Cache Policy Code", &AdapterData::getDefaultCachePolicy},
        {"Disk Cache Policy Code", &AdapterData::getDefaultDiskCachePolicy},
        {"Write Cache Bad BBU Code", &AdapterData::getDefaultWriteCacheBadBBU},
        {"Disk Certification Policy Code", &AdapterData::getDiskCertificationPolicy},
    };
    for (const auto& c : kCodes) {
        unsigned char code = 0;
        const int status = (this->*c.read)(&code);
        putCode(obj, c.key, status, code);
    }
    bool treat = false;
    if (isTreatR1EAsR10(&treat) == 0) {
        putText(obj, "Treat RAID1E As RAID10", yesNo(treat));
    } else {
        putText(obj, "Treat RAID1E As RAID10", "NA");
    }

    const KV_MFC_DEFAULTS& mfc = *kvMFCDefPtr_;
    putText(obj, "Spin Down Mode", spinDownText(mfc.spindownMode));
    // The factory default, not the controller's limit (Capabilities shows that).
    putNumber(obj, "Default Max VDs per Array",
              mfc.maxLdsPerArray); // KV_MFC_DEFAULTS.maxLdsPerArray
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowDefaults retCode = %d", rc);
    return 0;
}

int AdapterDataKvi::getShowCapabilities(json::Object& obj) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getShowCapabilities");
    int rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
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
        {"Max Configurable Drives", [](const Info& i) -> unsigned { return i.maxConfigurablePds; }},
        {"Max Dedicated Hot Spares", [](const Info& i) -> unsigned { return i.maxDedHSPs; }},
        {"Max Global Hot Spares", [](const Info& i) -> unsigned { return i.maxGlobalHSPs; }},
        {"Max VDs per Array", [](const Info& i) -> unsigned { return i.maxLdsPerArray; }},
        {"Min Strip Size Code", [](const Info& i) -> unsigned { return i.stripeSizeOptions.min; }},
        {"Max Strip Size Code", [](const Info& i) -> unsigned { return i.stripeSizeOptions.max; }},
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
    obj["Supported RAID Levels"] = levels;
    int oem = 0;
    if (getOem(&oem) == 0) {
        putNumber(obj, "OEM Code", oem);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getShowCapabilities retCode = %d", rc);
    return 0;
}
