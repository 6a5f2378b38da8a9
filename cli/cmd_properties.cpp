// kvictl properties | get NAME... | set NAME=VALUE...: the controller's
// adjustable settings by kebab-case name. `set` validates every name and
// value before any request, reads the current values once, and writes all
// changes in one property transaction; nothing is sent when every value is
// already current.
#include <CLI/CLI.hpp>
#include <map>
#include <set>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Settings.h"

namespace cli {

namespace {

using A = AdapterData;

std::vector<Setting> buildTable() {
    std::vector<Setting> t;
    // Rates.
    t.push_back(num("rebuild-rate", "percent", 0, 100, getter(&A::getRebuildRate),
                    setP(&A::setRebuildRate), "Share of controller time given to rebuilds"));
    t.push_back(num("patrol-read-rate", "percent", 0, 100, getter(&A::getpatrolReadRate),
                    setP(&A::setpatrolReadRate), "Share of controller time given to patrol read"));
    t.push_back(num("bgi-rate", "percent", 0, 100, getter(&A::getbgiRate), setP(&A::setbgiRate),
                    "Share of controller time given to background initialisation"));
    t.push_back(num("cc-rate", "percent", 0, 100, getter(&A::getccRate), setP(&A::setccRate),
                    "Share of controller time given to consistency checks"));
    t.push_back(num("reconstruction-rate", "percent", 0, 100, getter(&A::getreconRate),
                    setP(&A::setreconRate), "Share of controller time given to reconstruction"));
    // Timers and counts.
    t.push_back(num("cache-flush-interval", "seconds", 0, 255, getter(&A::getcacheFlushInterval),
                    setP(&A::setcacheFlushInterval), "Interval between cache flushes"));
    t.push_back(num("spinup-drive-count", "drives", 0, 255, getter(&A::getspinupDriveCount),
                    setP(&A::setspinupDriveCount), "Drives spun up at once"));
    t.push_back(num("spinup-delay", "seconds", 0, 255, getter(&A::getspinupDelay),
                    setP(&A::setspinupDelay), "Delay between spin-up groups"));
    t.push_back(num("spinup-enclosure-drive-count", "drives", 0, 255,
                    getter(&A::getSpinUpEncDrvCnt), setV(&A::setSpinUpEncDrvCnt),
                    "Enclosure drives spun up at once"));
    t.push_back(num("spinup-enclosure-delay", "seconds", 0, 255, getter(&A::getSpinUpEncDelay),
                    setV(&A::setSpinUpEncDelay), "Delay between enclosure spin-up groups"));
    t.push_back(num("pred-fail-poll-interval", "seconds", 0, 65535,
                    getter(&A::getpredFailPollInterval), setP(&A::setpredFailPollInterval),
                    "Interval between predictive-failure polls"));
    t.push_back(num("pred-fail-da-interval", "hours", 0, 65535, getter(&A::getPredFailDAInterval),
                    setV(&A::setPredFailDAInterval),
                    "Interval of predictive-failure drive analysis"));
    t.back().extension = true;
    t.push_back(num("interrupt-throttle-count", "", 0, 65535, getter(&A::getintThrottleCount),
                    setP(&A::setintThrottleCount), "Completions per interrupt"));
    t.push_back(num("interrupt-throttle-time", "microseconds", 0, 65535,
                    getter(&A::getintThrottleTimeUs), setP(&A::setintThrottleTimeUs),
                    "Longest wait before an interrupt"));
    t.push_back(num("spin-down-time", "minutes", 0, 65535, getter(&A::getSpinDownTime),
                    setV(&A::setSpinDownTime), "Idle time before drives spin down"));
    t.push_back(num("hdd-thermal-poll-interval", "seconds", 0, 65535,
                    getter(&A::getHDDThermalPollInterval), setP(&A::setHDDThermalPollInterval),
                    "Interval between HDD temperature polls"));
    t.push_back(num("ssd-thermal-poll-interval", "seconds", 0, 65535,
                    getter(&A::getSSDThermalPollInterval), setP(&A::setSSDThermalPollInterval),
                    "Interval between SSD temperature polls"));
    t.push_back(num("ecc-bucket-size", "", 0, 255, getter(&A::getEccBucketSize),
                    setV(&A::setEccBucketSize), "Correctable memory errors before a warning"));
    t.push_back(num("ecc-bucket-leak-rate", "minutes", 0, 65535, getter(&A::getEccBucketLeakRate),
                    setV(&A::setEccBucketLeakRate),
                    "Time after which one counted error leaks out"));
    t.push_back(num("ecc-bucket-count", "", 0, 65535, getter(&A::getEccBucketCount), Setter(),
                    "Correctable memory errors counted now"));
    t.push_back(num("memory-uncorrectable-errors", "", 0, 65535,
                    getter(&A::getmemUnCorrectableErrorCount), Setter(),
                    "Uncorrectable memory errors"));
    // Modes.
    t.push_back(named("coercion-mode", {{"none", 0}, {"128mb", 1}, {"1gb", 2}},
                      getter(&A::getcoercionMode), setP(&A::setcoercionMode),
                      "Drive size rounding"));
    t.push_back(named("jbod-write-cache", {{"default", 0}, {"on", 1}, {"off", 2}},
                      getter(&A::getJbodWriteCache), setP(&A::setJbodWriteCache),
                      "Write cache of drives exposed as JBOD"));
    t.push_back(num("degraded-media-detection", "", 0, 3, getter(&A::getPDDgdDetectionType),
                    setV(&A::setPDDgdDetectionType), "Degraded-media detection type"));
    t.push_back(num("degraded-media-action", "", 0, 1, getter(&A::getPDDgdCorrectiveAction),
                    setV(&A::setPDDgdCorrectiveAction), "Corrective action on degraded media"));
    t.push_back(num("degraded-media-threshold", "", 0, 3, getter(&A::getPDDgdErrorThreshold),
                    setV(&A::setPDDgdErrorThreshold), "Error threshold for degraded media"));
    // Switches. Fields that the firmware keeps as "disable" bits are shown
    // and set the positive way round.
    t.push_back(sw("auto-rebuild", getter(&A::getautoRbldState), setP(&A::setautoRbldState),
                   "Rebuild onto a replaced drive automatically", true));
    t.push_back(sw("copyback", getter(&A::getCopyBackState), setP(&A::setCopyBackState),
                   "Copy data back to a replaced drive", true));
    t.push_back(sw("smart-copyback", getter(&A::getSMARTCopyBackState),
                   setP(&A::setSMARTCopyBackState), "Copy back on a SMART error"));
    t.push_back(sw("ssd-smart-copyback", getter(&A::getSSDSMARTCopyBackState),
                   setP(&A::setSSDSMARTCopyBackState), "Copy back on an SSD SMART error"));
    t.push_back(sw("jbod", getter(&A::getJBODState), setP(&A::setJBODState),
                   "Expose unconfigured drives as JBOD"));
    t.push_back(sw("cache-bypass", getter(&A::getCacheBypassState), setP(&A::setCacheBypassState),
                   "Bypass the cache for large I/O", true));
    t.push_back(
        sw("ncq", getter(&A::getNCQState), setV(&A::setNCQState), "Native command queuing", true));
    t.push_back(sw("load-balance", getter(&A::getLoadBalanceState), setP(&A::setLoadBalanceState),
                   "Automatic load balancing", true, true));
    t.push_back(
        sw("cluster", getter(&A::getclusterState), setV(&A::setclusterState), "Cluster mode"));
    t.push_back(sw("battery-warning", getter(&A::getBatteryWarningState),
                   setV(&A::setBatteryWarningState), "Warn when no battery is fitted", true));
    t.push_back(sw("abort-cc-on-error", getter(&A::getAbortCCOnError), setV(&A::setAbortCCOnError),
                   "Stop a consistency check at the first error"));
    t.push_back(sw("spin-down-unconfigured", getter(&A::getEnableSpinDnUnconfState),
                   setV(&A::setEnableSpinDnUnconfState), "Spin down unconfigured drives"));
    t.push_back(sw("spin-down-hot-spares", getter(&A::getDisableSpinDnHSState),
                   setV(&A::setDisableSpinDnHSState), "Spin down hot spares", true));
    t.push_back(sw("maintain-pd-fail-history", getter(&A::getMaintPDFailHistState),
                   setP(&A::setMaintPDFailHistState), "Remember failed drives"));
    t.push_back(sw("expose-enclosure-devices", getter(&A::getExposeEnclDevicesState),
                   setP(&A::setExposeEnclDevicesState), "Expose enclosure devices to the host"));
    t.push_back(sw("auto-enhanced-import", getter(&A::getAutoEnhancedImportState),
                   setV(&A::setAutoEnhancedImportState),
                   "Import foreign configurations automatically"));
    t.push_back(sw("fde-only-encryption", getter(&A::getUseFDEOnlyEncrypt),
                   setP(&A::setUseFDEOnlyEncrypt), "Encrypt with self-encrypting drives only"));
    t.push_back(sw("pr-correct-unconfigured-areas", getter(&A::getPrCorrectUncfgdAreas),
                   setP(&A::setPrCorrectUncfgdAreas), "Patrol read corrects unconfigured areas"));
    t.push_back(sw("ssd-patrol-read", getter(&A::getSSDPatrolReadState),
                   setV(&A::setSSDPatrolReadState), "Patrol read on SSDs"));
    t.push_back(sw("restore-hot-spare-on-insert", getter(&A::getRestoreHotSpareOnInsertState),
                   setV(&A::setRestoreHotSpareOnInsertState),
                   "Restore a hot spare when a drive is inserted"));
    t.push_back(sw("online-controller-reset", getter(&A::getOnlineCtrlResetState),
                   setV(&A::setOnlineCtrlResetState), "Online controller reset", true));
    t.push_back(sw("boot-with-pinned-cache", getter(&A::getBootWithPinnedCacheState),
                   setV(&A::setBootWithPinnedCacheState), "Boot while preserved cache is held"));
    t.push_back(sw("immediate-io", getter(&A::getImmediateIO), setV(&A::setImmediateIO),
                   "Immediate I/O", true));
    t.push_back(sw("drive-activity-led", getter(&A::getDriveActivityLED),
                   setV(&A::setDriveActivityLED), "Drive activity LED"));
    t.push_back(sw("large-io", getter(&A::getLargeIOSupport), setV(&A::setLargeIOSupport),
                   "Large I/O support"));
    t.push_back(sw("large-queue-depth", getter(&A::getLargeQDepth), setV(&A::setLargeQDepth),
                   "Large queue depth"));
    t.push_back(sw("flush-write-verify", getter(&A::getFlushWriteVerify),
                   setV(&A::setFlushWriteVerify), "Verify writes while the cache flushes"));
    t.push_back(sw("ses-multipath-config", getter(&A::getSesMultiPathConfig),
                   setV(&A::setSesMultiPathConfig), "SES association in multipath configurations"));
    t.push_back(sw("ses-monitoring", getter(&A::getDisableSESMonitoring),
                   setV(&A::setDisableSESMonitoring), "Enclosure (SES) monitoring", true));
    t.push_back(sw("limit-sata-3g", getter(&A::getLimitMaxRateSATA3G),
                   setV(&A::setLimitMaxRateSATA3G), "Limit SATA links to 3 Gb/s"));
    t.push_back(sw("prevent-pi-import", getter(&A::getPreventPIImport),
                   setP(&A::setPreventPIImport), "Refuse to import protection-information drives"));
    t.push_back(sw("enable-pi", getter(&A::getPreventEnablePI), setP(&A::setPreventEnablePI),
                   "Protection information"));
    t.push_back(sw("fail-pd-on-smart-error", getter(&A::getfailPdOnSmartError),
                   setP(&A::setfailPdOnSmartError), "Fail a drive on a SMART error"));
    t.push_back(sw("force-sgpio", getter(&A::getForceSGPIO), setP(&A::setForceSGPIO),
                   "Force SGPIO for quad connectors"));
    t.push_back(sw("emergency-global-spares", getter(&A::getUseGlobalSparesForEmergency),
                   setP(&A::setUseGlobalSparesForEmergency),
                   "Use global spares as emergency spares"));
    t.push_back(sw("emergency-unconfigured-good", getter(&A::getUseUnconfGoodForEmergency),
                   setP(&A::setUseUnconfGoodForEmergency),
                   "Use unconfigured drives as emergency spares"));
    t.push_back(sw("emergency-spares-for-smart", getter(&A::getUseEmergencySparesForSMARTer),
                   setP(&A::setUseEmergencySparesForSMARTer),
                   "Use emergency spares on SMART errors"));
    t.push_back(sw("auto-detect-backplane", getter(&A::getautoDetectBackPlaneState),
                   setP(&A::setautoDetectBackPlaneState), "Detect the backplane automatically",
                   true));
    t.push_back(sw("disk-activity-for-locate", getter(&A::isDiskActivityUsedForLocate),
                   setV(&A::setUseDiskActivityForLocate),
                   "Blink the activity LED to locate a drive"));
    t.push_back(sw("config-auto-balance", getter(&A::getConfigAutoBalance),
                   setV(&A::setConfigAutoBalance), "Balance new configurations automatically"));
    t.push_back(sw("snapdump", getter(&A::getEnableSnapDump), setV(&A::setEnableSnapDump),
                   "Firmware snapshot dumps"));
    t.push_back(
        sw("scsi-unmap", getter(&A::getScsiUnmap), setV(&A::setScsiUnmap), "SCSI UNMAP", true));
    t.push_back(sw("firmware-device-ordering", getter(&A::getFirmwareBasedDeviceOrdering),
                   setV(&A::setFirmwareBasedDeviceOrdering), "Firmware-based device ordering"));
    t.push_back(sw("parity-read-cache-bypass", getter(&A::getParityReadCacheByPass),
                   setV(&A::setParityReadCacheByPass), "Bypass the cache for parity reads"));
    t.push_back(sw("ignore-64-vd-limit", getterRef(&A::getLDRestriction),
                   setV(&A::setLDRestriction), "Allow more than 64 virtual drives"));
    return t;
}

// Parses the NAME list of get.
std::vector<const Setting*> settingsNamed(const std::vector<std::string>& names) {
    std::vector<const Setting*> out;
    for (const std::string& n : names) {
        const Setting* s = findSetting(controllerProperties(), n);
        if (s == nullptr)
            throw UsageError("unknown property '" + n + "'; 'kvictl properties' lists them");
        out.push_back(s);
    }
    return out;
}

std::vector<SettingChange> parseProperties(const std::vector<std::string>& assignments) {
    return parseAssignments(controllerProperties(), assignments, "property",
                            "'kvictl properties' lists them");
}

// One row of `properties`. Text: name, value, unit, settable, range as the
// command line takes them. JSON: the value in its JSON unit and key, with the
// command-line name, the bounds in the same unit and the named choices.
json::Object propertyText(const Setting& s, bool known, unsigned long long v) {
    json::Object row;
    row["Name"] = json::String(s.name);
    row["Value"] = json::String(known ? settingText(s, v) : "-");
    row["Unit"] = json::String(s.unit);
    row["Settable"] = json::String(s.settable() ? "yes" : "no");
    row["Range"] = json::String(s.rangeText());
    return row;
}

json::Object propertyJson(const Setting& s, bool known, unsigned long long v) {
    const bool number = s.kind == SettingKind::Number;
    json::Object row;
    row["name"] = json::String(s.jsonKey());
    row["option"] = json::String(s.name);
    row["value"] = known ? settingJson(s, v) : json::UnknownElement(json::Null());
    row["unit"] = s.jsonUnit().empty() ? json::UnknownElement(json::Null())
                                       : json::UnknownElement(json::String(s.jsonUnit()));
    row["settable"] = json::Boolean(s.settable());
    row["minimum"] = number ? settingJson(s, s.min) : json::UnknownElement(json::Null());
    row["maximum"] = number ? settingJson(s, s.max) : json::UnknownElement(json::Null());
    json::Array choices;
    for (const NamedValue& n : s.names)
        choices.Insert(json::String(snakeCase(n.name)));
    row["choices"] = s.kind == SettingKind::Named ? json::UnknownElement(choices)
                                                  : json::UnknownElement(json::Null());
    return row;
}

const char kFooterProps[] =
    "Examples:\n  kvictl --sim properties\n  kvictl --sim get rebuild-rate cc-rate\n"
    "  kvictl --sim set rebuild-rate=50 ncq=on\n"
    "  kvictl --sim --sim-state /tmp/kv.json set cache-flush-interval=8";

} // namespace

const std::vector<Setting>& controllerProperties() {
    static const std::vector<Setting> table = buildTable();
    return table;
}

void registerProperties(CLI::App& root, App& app) {
    // ---- properties ----
    auto* props = root.add_subcommand(
        "properties", "List every controller property with value, unit and whether it can be set");
    props->footer(kFooterProps);
    props->callback([&app] {
        Command c;
        c.name = "properties";
        c.run = [&app](Target& t) {
            json::Array rows;
            std::vector<std::string> unavailable;
            int firstRc = 0;
            for (const Setting& s : controllerProperties()) {
                unsigned long long v = 0;
                int rc = readSetting(*t.adapter, s, v);
                if (rc != 0) {
                    unavailable.push_back(s.name);
                    if (firstRc == 0)
                        firstRc = rc;
                }
                rows.Insert(app.json() ? propertyJson(s, rc == 0, v) : propertyText(s, rc == 0, v));
            }
            if (app.json()) {
                (*t.entry)["properties"] = rows;
            } else {
                json::Object body;
                body["Properties"] = rows;
                app.emit(t, "properties", "Controller Properties", body);
            }
            if (unavailable.size() == controllerProperties().size()) {
                app.fail(t, "reading the controller properties", firstRc);
            } else if (!unavailable.empty()) {
                std::string names;
                for (const std::string& n : unavailable)
                    names += (names.empty() ? "" : ", ") + n;
                app.warn(t, "unavailable", "not available on this controller: " + names);
            }
        };
        app.setCommand(std::move(c));
    });

    // ---- get ----
    auto* get = root.add_subcommand("get", "Show controller properties by name");
    auto getNames = std::make_shared<std::vector<std::string>>();
    app.complete(get->add_option("names", *getNames, "Property names (see kvictl properties)")
                     ->type_name("NAME")
                     ->check(checkedBy([](const std::string& n) { settingsNamed({n}); }))
                     ->required(),
                 settingNames(controllerProperties()));
    get->footer(kFooterProps);
    get->callback([&app, getNames] {
        auto chosen = std::make_shared<std::vector<const Setting*>>();
        Command c;
        c.name = "get";
        c.validate = [getNames, chosen] { *chosen = settingsNamed(*getNames); };
        c.run = [&app, chosen](Target& t) {
            json::Object body;
            for (const Setting* s : *chosen) {
                unsigned long long v = 0;
                int rc = readSetting(*t.adapter, *s, v);
                if (rc != 0) {
                    app.fail(t, "reading " + s->name, rc);
                    continue;
                }
                if (app.json()) {
                    body[s->jsonKey()] = settingJson(*s, v);
                } else {
                    std::string text = settingText(*s, v);
                    if (!s->unit.empty() && s->kind == SettingKind::Number)
                        text += " " + s->unit;
                    body[s->name] = json::String(text);
                }
            }
            app.emit(t, "properties", "Controller Properties", body);
        };
        app.setCommand(std::move(c));
    });

    // ---- set ----
    auto* set = root.add_subcommand("set", "Change controller properties in one transaction");
    auto assignments = std::make_shared<std::vector<std::string>>();
    app.complete(set->add_option("assignments", *assignments, "NAME=VALUE pairs")
                     ->type_name("NAME=VALUE")
                     ->check(checkedBy([](const std::string& a) { parseProperties({a}); }))
                     ->required(),
                 assignmentWords(controllerProperties()));
    set->footer(kFooterProps);
    set->callback([&app, assignments] {
        auto changes = std::make_shared<std::vector<SettingChange>>();
        Command c;
        c.name = "set";
        c.validate = [assignments, changes] { *changes = parseProperties(*assignments); };
        c.run = [&app, changes](Target& t) {
            applySettings(
                app, t, *changes, [](AdapterData& a) { return a.beginCtlrPropUpdate(); },
                [](AdapterData& a, bool ext) {
                    int rc = a.endCtlrPropUpdate();
                    if (rc == 0 && ext)
                        rc = a.endCtlrPropExtUpdate();
                    return rc;
                },
                "the controller properties", "Properties");
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
