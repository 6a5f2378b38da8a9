// Profiles: JSON files that build a simulated controller.
//
// A profile names an optional base ("base": a bundled profile name or a path,
// relative to the including file) and then sets, on top of the base:
//   "records":   {RECORD: {FIELD: VALUE, ...}, ...}  fields by dotted name
//                through the field registry; numbers (or "0x..." strings, or
//                true/false) for integers and bit fields, strings for texts and
//                byte arrays ("hex:..." for raw bytes), a JSON array for a whole
//                integer array
//   "flash":     {"running"|"backup"|"pending": [{KV_FLASH_COMP_INFO fields}]}
//                (running and pending also fill the component lists of
//                KV_CTRL_INFO, at most 8 each)
//   "phys":      [{KV_SAS_PHY_CONNECTION fields}]   (at most 24)
//   "connectors":[{KV_SAS_CONNECTOR_INFO fields}]   (at most 8)
//   "mux":       [mode, ...]                        (at most 4)
//   "lanes":     [{wwid, laneIdentifier, currentClkMode, deviceType,
//                  connectorIndex, supportedLaneSpeed, disabled, pcieLinkNumber,
//                  linkNumberValid, laneSpeedControl, currentSpeed}] (at most 24)
//   "events":    [{code, class, locale, argType, args, description, age}]
//                appended in order; "age" = seconds before now (default 0), or
//                "bootSeconds" = stamped that many seconds after controller boot
//                (the firmware's form before its clock is set)
//   "eventLog":  {"generate": N, "firstSeq": S}  N synthetic events (lazy)
//   "pci":       {domain, bus, device, function, linkWidth}
//   "driver":    {name, version}
//   "oem", "controllerType", "isOEMhp", "haMode"
//   "personality": {KV_CTRL_PERSONALITY_INFO fields}
//   "mfg2":      text of the second manufacturing record
//   "alarm":     "present" | "absent" | "enabled" | "disabled" | "silenced"
//   "lockKey":   {"passphrase": TEXT, "keyId": TEXT}  a key assigned at start
//   "nvCache":   {"sizeKiB": N, "usedKiB": N}  what the NV cache query reports
//   "sscVolumes": [blocks, ...]  SSD-cache volumes of the configuration, each
//                its size in 512-byte blocks (at most 64; default none)
//   "fail":      {"OPCODE[@bN=V]": STATUS}  OPCODE as hex, decimal or KV_DCMD_ name
//   "hang":      ["OPCODE[@bN=V]", ...]  requests that never answer (the request
//                blocks until the process ends, as a stuck controller would)
//   "description", "comment": free text
// The copies of the properties inside KV_CTRL_INFO ("properties." and "prop.")
// always mirror KV_CTRL_PROP_EXT; set them there.
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

#include <nlohmann/json.hpp>

#include "firmware/fields.h"
#include "firmware/kvi.h"
#include "sim/BundledProfiles.h"
#include "sim/ControllerState.h"
#include "sim/ProfileValues.h"
#include "sim/SimInternal.h"
#include "sim/Simulator.h"
#include "util/Files.h"

namespace kvi::sim {
namespace {

using namespace profile;
namespace fld = kvi::fields;

constexpr int kMaxBaseDepth = 8;

// ---- sections ----

void applyRecords(ControllerState& st, const json& records, const std::string& file) {
    if (!records.is_object())
        fail(file, "records", "expected an object of records");
    std::vector<RecordSlot> slots = profileRecords(st);
    for (auto it = records.begin(); it != records.end(); ++it) {
        const RecordSlot* target = nullptr;
        for (const RecordSlot& s : slots)
            if (it.key() == s.name)
                target = &s;
        std::string where = "records." + it.key();
        if (!target)
            fail(file, where, "unknown record (or one the simulator does not keep)");
        if (it.key() == "KV_CTRL_INFO" && it.value().is_object()) {
            for (auto f = it.value().begin(); f != it.value().end(); ++f)
                if (f.key().rfind("properties.", 0) == 0 || f.key().rfind("prop.", 0) == 0)
                    fail(file, where + "." + f.key(),
                         "mirrors the controller properties; set KV_CTRL_PROP or KV_CTRL_PROP_EXT");
        }
        setFields(target->data, target->name, it.value(), file, where);
    }
}

std::vector<KV_FLASH_COMP_INFO> flashList(const json& list, const std::string& file,
                                          const std::string& where) {
    if (!list.is_array())
        fail(file, where, "expected an array of image components");
    if (list.size() > kMaxFlashComponents)
        fail(file, where, "more than " + std::to_string(kMaxFlashComponents) + " components");
    std::vector<KV_FLASH_COMP_INFO> out(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::memset(&out[i], 0, sizeof out[i]);
        setFields(reinterpret_cast<std::uint8_t*>(&out[i]), "KV_FLASH_COMP_INFO", list[i], file,
                  where + "[" + std::to_string(i) + "]");
    }
    return out;
}

void applyFlash(ControllerState& st, const json& flash, const std::string& file) {
    if (!flash.is_object())
        fail(file, "flash", "expected an object with running, backup and pending lists");
    checkKeys(flash, {"running", "backup", "pending"}, file, "flash");
    if (flash.contains("running")) {
        st.running = flashList(flash["running"], file, "flash.running");
        std::memset(st.info.imageComponent, 0, sizeof st.info.imageComponent);
        std::size_t n = std::min<std::size_t>(st.running.size(), 8);
        if (n)
            std::memcpy(st.info.imageComponent, st.running.data(), n * sizeof(KV_FLASH_COMP_INFO));
        st.info.imageComponentCount = std::uint32_t(n);
    }
    if (flash.contains("backup"))
        st.backup = flashList(flash["backup"], file, "flash.backup");
    if (flash.contains("pending")) {
        st.pending = flashList(flash["pending"], file, "flash.pending");
        std::memset(st.info.pendingImageComponent, 0, sizeof st.info.pendingImageComponent);
        std::size_t n = std::min<std::size_t>(st.pending.size(), 8);
        if (n)
            std::memcpy(st.info.pendingImageComponent, st.pending.data(),
                        n * sizeof(KV_FLASH_COMP_INFO));
        st.info.pendingImageComponentCount = std::uint32_t(n);
    }
}

// Returns the number of entries set.
template <class Entry>
std::uint32_t applyEntryList(const json& list, const char* recordName, Entry* entries,
                             std::size_t capacity, const std::string& file, const char* where) {
    if (!list.is_array())
        fail(file, where, "expected an array");
    if (list.size() > capacity)
        fail(file, where, "more than " + std::to_string(capacity) + " entries");
    std::memset(entries, 0, capacity * sizeof(Entry));
    for (std::size_t i = 0; i < list.size(); ++i)
        setFields(reinterpret_cast<std::uint8_t*>(&entries[i]), recordName, list[i], file,
                  std::string(where) + "[" + std::to_string(i) + "]");
    return std::uint32_t(list.size());
}

// The lane entry has no registry record; its fields are listed here.
const fld::FieldInfo kLaneFields[] = {
    {"wwid", 0, 8, 1, 0, 0, fld::FieldKind::Unsigned},
    {"laneIdentifier", 8, 2, 1, 0, 0, fld::FieldKind::Unsigned},
    {"currentClkMode", 10, 1, 1, 0, 2, fld::FieldKind::Unsigned},
    {"deviceType", 10, 1, 1, 2, 4, fld::FieldKind::Unsigned},
    {"connectorIndex", 11, 1, 1, 0, 0, fld::FieldKind::Unsigned},
    {"supportedLaneSpeed", 12, 4, 1, 0, 8, fld::FieldKind::Unsigned},
    {"disabled", 12, 4, 1, 8, 1, fld::FieldKind::Unsigned},
    {"pcieLinkNumber", 12, 4, 1, 9, 6, fld::FieldKind::Unsigned},
    {"linkNumberValid", 12, 4, 1, 15, 1, fld::FieldKind::Unsigned},
    {"laneSpeedControl", 12, 4, 1, 16, 8, fld::FieldKind::Unsigned},
    {"currentSpeed", 12, 4, 1, 24, 8, fld::FieldKind::Unsigned},
};

void applyLanes(ControllerState& st, const json& list, const std::string& file) {
    if (!list.is_array())
        fail(file, "lanes", "expected an array");
    if (list.size() > 24)
        fail(file, "lanes", "more than 24 entries");
    std::memset(&st.lanes, 0, sizeof st.lanes);
    fld::RecordInfo record{"lane", 16, kLaneFields, sizeof kLaneFields / sizeof kLaneFields[0]};
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::string where = "lanes[" + std::to_string(i) + "]";
        if (!list[i].is_object())
            fail(file, where, "expected an object of fields");
        for (auto it = list[i].begin(); it != list[i].end(); ++it)
            setField(reinterpret_cast<std::uint8_t*>(&st.lanes.lane[i]), record, it.key(),
                     it.value(), file, where + "." + it.key());
    }
    st.lanes.count = std::uint32_t(list.size());
}

void applyMux(ControllerState& st, const json& list, const std::string& file) {
    if (!list.is_array())
        fail(file, "mux", "expected an array of mux modes");
    if (list.size() > 4)
        fail(file, "mux", "more than 4 muxes");
    std::memset(&st.mux, 0, sizeof st.mux);
    for (std::size_t i = 0; i < list.size(); ++i)
        st.mux.sasMuxMode[i] =
            std::uint8_t(uintValue(list[i], 3, file, "mux[" + std::to_string(i) + "]"));
    st.mux.sasMuxCount = std::uint8_t(list.size());
}

void applySscVolumes(ControllerState& st, const json& list, const std::string& file) {
    if (!list.is_array())
        fail(file, "sscVolumes", "expected an array of volume sizes in 512-byte blocks");
    if (list.size() > kMaxSscVolumes)
        fail(file, "sscVolumes", "more than " + std::to_string(kMaxSscVolumes) + " volumes");
    st.sscVolumes.clear();
    for (std::size_t i = 0; i < list.size(); ++i)
        st.sscVolumes.push_back(uintValue(list[i], 0xFFFFFFFFFFFFFFFFull, file,
                                          "sscVolumes[" + std::to_string(i) + "]"));
}

// One element of a profile's "events" list, checked; `where` names it.
SimEvent profileEvent(const json& e, const Clock& clock, const std::string& file,
                      const std::string& where) {
    if (!e.is_object())
        fail(file, where, "expected an object");
    checkKeys(e,
              {"code", "class", "locale", "argType", "args", "description", "age", "bootSeconds"},
              file, where);
    SimEvent ev;
    ev.code =
        std::uint32_t(uintValue(need(e, "code", file, where), 0xFFFFFFFFu, file, where + ".code"));
    if (e.contains("class")) {
        std::uint64_t u = 0;
        std::int64_t s = 0;
        bool negative = false;
        if (!integerValue(e["class"], u, s, negative) || s < -2 || s > 4)
            fail(file, where + ".class", "expected a class from -2 to 4");
        ev.eventClass = std::int8_t(s);
    }
    if (e.contains("locale"))
        ev.locale = std::uint16_t(uintValue(e["locale"], 0xFFFF, file, where + ".locale"));
    if (e.contains("argType"))
        ev.argType = std::uint8_t(uintValue(e["argType"], 0xFF, file, where + ".argType"));
    if (e.contains("args")) {
        std::string t = textValue(e["args"], 400, file, where + ".args");
        if (t.rfind("hex:", 0) != 0 || !decodeHex(t.substr(4), ev.args))
            fail(file, where + ".args", "expected \"hex:...\"");
        if (ev.args.size() > 96)
            fail(file, where + ".args", "more than 96 argument bytes");
    }
    ev.description =
        textValue(need(e, "description", file, where), 127, file, where + ".description");
    const std::uint32_t now = clock.firmwareTime();
    std::uint64_t age = 0;
    if (e.contains("age"))
        age = uintValue(e["age"], 0xFFFFFFFFu, file, where + ".age");
    ev.timeStamp = age <= now ? std::uint32_t(now - age) : 0;
    if (e.contains("bootSeconds")) {
        if (e.contains("age"))
            fail(file, where, "give age or bootSeconds, not both");
        // Stamped before the controller's clock was set: seconds since
        // boot in the low 24 bits, 0xFF in the top byte.
        ev.timeStamp = 0xFF000000u | std::uint32_t(uintValue(e["bootSeconds"], 0xFFFFFF, file,
                                                             where + ".bootSeconds"));
    }
    return ev;
}

// The "events" list of a profile is read while the document is parsed: each
// event is checked and stored compact as soon as its element is complete and
// then dropped from the document, so a long list never stands in memory as
// a tree of JSON values (several hundred bytes per event).
class EventCollector {
public:
    EventCollector(const Clock& clock, const std::string& file) : clock_(clock), file_(file) {}

    // The parser callback: false drops the element from the document.
    bool operator()(int depth, json::parse_event_t event, json& parsed) {
        if (depth == 1) {
            if (event == json::parse_event_t::key)
                key_ = parsed.get<std::string>();
            else if (event == json::parse_event_t::array_start)
                inEvents_ = key_ == "events";
            else if (event == json::parse_event_t::array_end)
                inEvents_ = false;
            return true;
        }
        if (!inEvents_ || depth != 2 ||
            (event != json::parse_event_t::object_end && event != json::parse_event_t::array_end &&
             event != json::parse_event_t::value))
            return true;
        // The log keeps this many; a longer list would only be read to be dropped.
        if (events_.size() >= EventLog::kMaxStored)
            fail(file_, "events",
                 "more than " + std::to_string(EventLog::kMaxStored) +
                     " events (the log keeps that many); for a large log use "
                     "\"eventLog\": {\"generate\": N}");
        events_.push(
            profileEvent(parsed, clock_, file_, "events[" + std::to_string(events_.size()) + "]"));
        return false;
    }
    EventStore& events() { return events_; }

private:
    const Clock& clock_;
    const std::string& file_;
    std::string key_;
    bool inEvents_ = false;
    EventStore events_;
};

void applyEvents(ControllerState& st, const json& list, EventStore& events,
                 const std::string& file) {
    if (!list.is_array())
        fail(file, "events", "expected an array of events");
    st.events.appendAll(std::move(events));
}

// "OPCODE[@bN=V]": the opcode (hex, decimal or a KV_DCMD_ name) and the
// optional mailbox byte that must hold V.
void parseFaultKey(const std::string& key, Fault& f, const std::string& file,
                   const std::string& where) {
    f.key = key;
    std::string op = key;
    std::size_t at = op.find('@');
    std::string qualifier;
    if (at != std::string::npos) {
        qualifier = op.substr(at + 1);
        op = op.substr(0, at);
    }
    std::uint64_t value = 0;
    if (op.rfind("KV_", 0) == 0) {
        bool found = false;
        for (unsigned i = 0; i < kKvDcmdCount && !found; ++i)
            if (op == kvDcmdRow(i).name) {
                value = kvDcmdRow(i).opcode;
                found = true;
            }
        if (!found)
            fail(file, where, "unknown opcode name");
    } else if (!parseUnsignedText(op, value) || value > 0xFFFFFFFFu) {
        fail(file, where, "expected an opcode (\"0x05010000\" or a KV_DCMD_ name)");
    }
    f.opcode = std::uint32_t(value);
    if (!qualifier.empty()) {
        // "bN=V": mailbox byte N must hold V.
        std::size_t eq = qualifier.find('=');
        std::uint64_t index = 0, byte = 0;
        if (qualifier[0] != 'b' || eq == std::string::npos ||
            !parseUnsignedText(qualifier.substr(1, eq - 1), index) || index > 11 ||
            !parseUnsignedText(qualifier.substr(eq + 1), byte) || byte > 0xFF)
            fail(file, where, "mailbox qualifier must read @bN=V with N 0..11 and V 0..255");
        f.mboxByte = int(index);
        f.mboxValue = std::uint8_t(byte);
    }
}

// Adds `f`, replacing an earlier entry for the same opcode and qualifier (from
// a base profile, or "fail" and "hang" naming the same request). `index` says
// where each entry is, so that large fault maps load in linear time.
void putFault(ControllerState& st, const Fault& f,
              std::map<std::tuple<std::uint32_t, int, std::uint8_t>, std::size_t>& index) {
    auto [slot, fresh] = index.try_emplace({f.opcode, f.mboxByte, f.mboxValue}, st.faults.size());
    if (fresh)
        st.faults.push_back(f);
    else
        st.faults[slot->second] = f;
}

std::map<std::tuple<std::uint32_t, int, std::uint8_t>, std::size_t>
faultIndex(const ControllerState& st) {
    std::map<std::tuple<std::uint32_t, int, std::uint8_t>, std::size_t> index;
    for (std::size_t i = 0; i < st.faults.size(); ++i)
        index[{st.faults[i].opcode, st.faults[i].mboxByte, st.faults[i].mboxValue}] = i;
    return index;
}

void applyFaults(ControllerState& st, const json& faults, const std::string& file) {
    if (!faults.is_object())
        fail(file, "fail", "expected an object mapping opcodes to statuses");
    auto index = faultIndex(st);
    for (auto it = faults.begin(); it != faults.end(); ++it) {
        std::string where = "fail." + it.key();
        Fault f;
        parseFaultKey(it.key(), f, file, where);
        std::uint64_t u = 0;
        std::int64_t s = 0;
        bool negative = false;
        if (!integerValue(it.value(), u, s, negative))
            fail(file, where, "expected a status, got " + describe(it.value()));
        bool local = s == kTransportFailed || s == kReplayMismatch || s == kUnsupported;
        if (!local && (negative || u < 1 || u > 255))
            fail(file, where, "status must be 1..255 (or a local failure code -10, -11, -12)");
        f.status = int(s);
        putFault(st, f, index);
    }
}

// "hang": ["OPCODE[@bN=V]", ...]: requests that never answer, as a controller
// stuck inside a command holds its caller (the plugin's timeout is tested so).
void applyHangs(ControllerState& st, const json& hangs, const std::string& file) {
    if (!hangs.is_array())
        fail(file, "hang", "expected a list of opcodes");
    auto index = faultIndex(st);
    for (std::size_t i = 0; i < hangs.size(); ++i) {
        std::string where = "hang[" + std::to_string(i) + "]";
        if (!hangs[i].is_string())
            fail(file, where, "expected an opcode (\"0x05010000\" or a KV_DCMD_ name)");
        Fault f;
        parseFaultKey(hangs[i].get<std::string>(), f, file, where);
        f.hang = true;
        putFault(st, f, index);
    }
}

void applyAlarm(ControllerState& st, const json& v, const std::string& file) {
    std::string t = textValue(v, 16, file, "alarm");
    if (t == "absent") {
        st.info.hwPresent.alarm = 0;
    } else if (t == "present") {
        st.info.hwPresent.alarm = 1;
        st.alarmState = kAlarmUnset;
    } else if (t == "enabled" || t == "disabled" || t == "silenced") {
        st.info.hwPresent.alarm = 1;
        st.alarmState = t == "disabled" ? 0 : t == "enabled" ? 1 : 2;
    } else {
        fail(file, "alarm", "expected present, absent, enabled, disabled or silenced");
    }
}

void applyLockKey(ControllerState& st, const json& v, const std::string& file) {
    if (!v.is_object())
        fail(file, "lockKey", "expected an object");
    checkKeys(v, {"passphrase", "keyId"}, file, "lockKey");
    std::string pass =
        textValue(need(v, "passphrase", file, "lockKey"), 32, file, "lockKey.passphrase");
    if (pass.empty())
        fail(file, "lockKey.passphrase", "empty passphrase");
    std::string keyId;
    if (v.contains("keyId"))
        keyId = textValue(v["keyId"], 255, file, "lockKey.keyId");
    assignLockKey(st, pass, keyId, false);
}

struct Source {
    std::string text;
    std::string label;   // for messages
    std::string baseDir; // for a relative base path
};

Source resolve(const std::string& profile, const std::string& baseDir, const std::string& from,
               const std::string& fromField) {
    if (!Simulator::isProfilePath(profile)) {
        if (const char* text = Simulator::bundledProfileText(profile))
            return {text, profile + ".json (bundled)", ""};
        if (from.empty())
            fail(profile, "",
                 "no bundled profile of that name (a profile file is named by its path: ./" +
                     profile + ")");
        fail(from, fromField, "unknown base profile \"" + profile + "\"");
    }
    std::string path = profile;
    if (!path.empty() && path[0] != '/' && !baseDir.empty())
        path = baseDir + "/" + path;
    std::string text;
    try {
        text = files::readFile(path, files::Input::Profile);
    } catch (const files::FileError& e) {
        if (from.empty())
            throw SimError(e.what());
        fail(from, fromField, "base \"" + profile + "\": " + e.reason());
    }
    std::size_t slash = path.rfind('/');
    return {std::move(text), path,
            slash == std::string::npos ? std::string() : path.substr(0, slash)};
}

void applyLayer(ControllerState& st, const Source& src, const Clock& clock, int depth,
                std::set<std::string>& chain);

void applyDocument(ControllerState& st, const json& doc, EventStore& events, const Source& src,
                   const Clock& clock, int depth, std::set<std::string>& chain) {
    const std::string& file = src.label;
    if (!doc.is_object())
        fail(file, "", "a profile is a JSON object");
    checkKeys(doc, {"base",     "description", "comment",     "records", "flash",
                    "phys",     "connectors",  "mux",         "lanes",   "events",
                    "eventLog", "pci",         "driver",      "oem",     "controllerType",
                    "isOEMhp",  "haMode",      "personality", "mfg2",    "alarm",
                    "lockKey",  "sscVolumes",  "nvCache",     "fail",    "hang"},
              file, "");
    if (doc.contains("base")) {
        if (!doc["base"].is_string())
            fail(file, "base", "expected a profile name or path");
        if (depth >= kMaxBaseDepth)
            fail(file, "base", "bases nest more than " + std::to_string(kMaxBaseDepth) + " deep");
        Source base = resolve(doc["base"].get<std::string>(), src.baseDir, file, "base");
        if (chain.count(base.label))
            fail(file, "base",
                 "profile \"" + doc["base"].get<std::string>() + "\" includes itself");
        applyLayer(st, base, clock, depth + 1, chain);
    }
    for (const char* key : {"description", "comment"})
        if (doc.contains(key) && !doc[key].is_string())
            fail(file, key, "expected a text");
    if (doc.contains("records"))
        applyRecords(st, doc["records"], file);
    if (doc.contains("personality"))
        setFields(reinterpret_cast<std::uint8_t*>(&st.personality), "KV_CTRL_PERSONALITY_INFO",
                  doc["personality"], file, "personality");
    if (doc.contains("flash"))
        applyFlash(st, doc["flash"], file);
    if (doc.contains("phys"))
        st.phys.count =
            applyEntryList(doc["phys"], "KV_SAS_PHY_CONNECTION", st.phys.phy, 24, file, "phys");
    if (doc.contains("connectors"))
        st.connectors.count = applyEntryList(doc["connectors"], "KV_SAS_CONNECTOR_INFO",
                                             st.connectors.connectors, 8, file, "connectors");
    if (doc.contains("mux"))
        applyMux(st, doc["mux"], file);
    if (doc.contains("lanes"))
        applyLanes(st, doc["lanes"], file);
    if (doc.contains("eventLog")) {
        const json& g = doc["eventLog"];
        if (!g.is_object())
            fail(file, "eventLog", "expected an object");
        checkKeys(g, {"generate", "firstSeq"}, file, "eventLog");
        std::uint64_t n = g.contains("generate")
                              ? uintValue(g["generate"], 100000000, file, "eventLog.generate")
                              : 0;
        std::uint64_t first = g.contains("firstSeq")
                                  ? uintValue(g["firstSeq"], 0x7FFFFFFF, file, "eventLog.firstSeq")
                                  : 1;
        if (first == 0)
            fail(file, "eventLog.firstSeq", "sequence numbers start at 1 or later");
        st.events.generate(std::uint32_t(first), std::uint32_t(n), clock.firmwareTime());
    }
    if (doc.contains("events"))
        applyEvents(st, doc["events"], events, file);
    if (doc.contains("pci")) {
        const json& p = doc["pci"];
        if (!p.is_object())
            fail(file, "pci", "expected an object");
        checkKeys(p, {"domain", "bus", "device", "function", "linkWidth"}, file, "pci");
        if (p.contains("domain"))
            st.pci.domain = std::uint32_t(uintValue(p["domain"], 0xFFFF, file, "pci.domain"));
        if (p.contains("bus"))
            st.pci.bus = std::uint32_t(uintValue(p["bus"], 0xFF, file, "pci.bus"));
        if (p.contains("device"))
            st.pci.device = std::uint8_t(uintValue(p["device"], 31, file, "pci.device"));
        if (p.contains("function"))
            st.pci.function = std::uint8_t(uintValue(p["function"], 7, file, "pci.function"));
        if (p.contains("linkWidth"))
            st.pci.linkWidth = std::uint32_t(uintValue(p["linkWidth"], 32, file, "pci.linkWidth"));
    }
    if (doc.contains("driver")) {
        const json& d = doc["driver"];
        if (!d.is_object())
            fail(file, "driver", "expected an object");
        checkKeys(d, {"name", "version"}, file, "driver");
        if (d.contains("name"))
            st.driverName = textValue(d["name"], 19, file, "driver.name");
        if (d.contains("version"))
            st.driverVersion = textValue(d["version"], 31, file, "driver.version");
    }
    if (doc.contains("oem"))
        st.oem = std::uint32_t(uintValue(doc["oem"], 0xFFFFFFFFu, file, "oem"));
    if (doc.contains("controllerType"))
        st.controllerType = int(uintValue(doc["controllerType"], 255, file, "controllerType"));
    if (doc.contains("isOEMhp")) {
        if (!doc["isOEMhp"].is_boolean())
            fail(file, "isOEMhp", "expected true or false");
        st.isOEMhp = doc["isOEMhp"].get<bool>();
    }
    if (doc.contains("haMode"))
        st.haMode = std::uint8_t(uintValue(doc["haMode"], 3, file, "haMode"));
    if (doc.contains("mfg2")) {
        std::string t = textValue(doc["mfg2"], sizeof st.mfg2, file, "mfg2");
        std::memset(st.mfg2, 0, sizeof st.mfg2);
        std::memcpy(st.mfg2, t.data(), t.size());
    }
    if (doc.contains("alarm"))
        applyAlarm(st, doc["alarm"], file);
    if (doc.contains("lockKey"))
        applyLockKey(st, doc["lockKey"], file);
    if (doc.contains("sscVolumes"))
        applySscVolumes(st, doc["sscVolumes"], file);
    if (doc.contains("nvCache")) {
        const json& n = doc["nvCache"];
        if (!n.is_object())
            fail(file, "nvCache", "expected an object with sizeKiB and usedKiB");
        checkKeys(n, {"sizeKiB", "usedKiB"}, file, "nvCache");
        const std::uint64_t all = ~std::uint64_t{0};
        if (n.contains("sizeKiB"))
            st.nvCache[0] = uintValue(n["sizeKiB"], all, file, "nvCache.sizeKiB");
        if (n.contains("usedKiB"))
            st.nvCache[1] = uintValue(n["usedKiB"], all, file, "nvCache.usedKiB");
    }
    if (doc.contains("fail"))
        applyFaults(st, doc["fail"], file);
    if (doc.contains("hang"))
        applyHangs(st, doc["hang"], file);
}

void applyLayer(ControllerState& st, const Source& src, const Clock& clock, int depth,
                std::set<std::string>& chain) {
    json doc;
    EventCollector collect(clock, src.label);
    try {
        doc = json::parse(src.text, std::ref(collect));
    } catch (const json::exception& e) {
        // nlohmann's message names the byte offset and what it expected. A
        // number too large for any C++ type is an out-of-range error, not a
        // parse error, and is just as malformed for a profile.
        std::string what = e.what();
        std::size_t cut = what.find("] ");
        fail(src.label, "",
             "malformed JSON: " + (cut == std::string::npos ? what : what.substr(cut + 2)));
    }
    chain.insert(src.label);
    applyDocument(st, doc, collect.events(), src, clock, depth, chain);
    chain.erase(src.label);
}

std::unique_ptr<ControllerState> build(const Source& src, const Clock& clock) {
    auto st = std::make_unique<ControllerState>();
    std::set<std::string> chain;
    applyLayer(*st, src, clock, 0, chain);
    finishProfile(*st);
    return st;
}

} // namespace

void finishProfile(ControllerState& st) {
    // The BIOS settings carry a valid checksum, as a firmware keeps them.
    std::uint8_t sum = 0;
    const auto* bios = reinterpret_cast<const std::uint8_t*>(&st.bios);
    for (std::size_t i = 0; i + 1 < sizeof st.bios; ++i)
        sum = std::uint8_t(sum + bios[i]);
    st.bios.checkSum = std::uint8_t(0x100 - sum);
    st.defaultProp = st.prop;
    mirrorProperties(st);
    if (st.alarmState == kAlarmUnset)
        st.alarmState = st.prop.ctrlProp1.alarmEnable ? 1 : 0;
    // The controller last booted at the profile's last "Controller booted"
    // event; a profile that logs none booted after its newest event.
    if (std::uint32_t booted = st.events.newestWithCode(kEventControllerBooted))
        st.events.markBoot(booted);
    else if (st.events.newestSeqNum() >= st.events.oldestSeqNum())
        st.events.markBoot();
}

std::unique_ptr<ControllerState> buildFromProfile(const std::string& profile, const Clock& clock) {
    return build(resolve(profile, "", "", ""), clock);
}

std::unique_ptr<ControllerState> buildFromProfileText(const std::string& text,
                                                      const std::string& label,
                                                      const std::string& baseDir,
                                                      const Clock& clock) {
    return build(Source{text, label, baseDir}, clock);
}

} // namespace kvi::sim
