#include "sim/Simulator.h"

#include "util/Files.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "sim/BundledProfiles.h"
#include "sim/ControllerState.h"
#include "sim/SimInternal.h"

namespace kvi::sim {

// ---- clock ----

Clock Clock::fromEnvironment() {
    const char* text = std::getenv("KVICTL_SIM_TIME");
    if (!text || !*text)
        return Clock();
    errno = 0;
    char* end = nullptr;
    long long v = std::strtoll(text, &end, 10);
    if (errno != 0 || *end != '\0' || v < 0)
        throw SimError(std::string("KVICTL_SIM_TIME: ") + text +
                       ": expected seconds since 1970 (a whole number)");
    return Clock(std::int64_t(v));
}

std::int64_t Clock::now() const {
    return fixed_ ? *fixed_ : std::int64_t(std::time(nullptr));
}

std::int64_t Clock::summerTimeShift() {
    std::tm standard{}, summer{};
    standard.tm_mday = summer.tm_mday = 1;
    standard.tm_year = summer.tm_year = 100;
    summer.tm_isdst = 1;
    const std::int64_t d =
        std::int64_t(std::mktime(&summer)) - std::int64_t(std::mktime(&standard));
    return d < 0 ? -d : d;
}

std::int64_t Clock::scheduleEpoch() {
    std::tm t{};
    t.tm_mday = 1;
    t.tm_mon = 0;
    t.tm_year = 100;
    t.tm_isdst = 0;
    return std::int64_t(std::mktime(&t));
}

std::uint32_t Clock::firmwareTime() const {
    // The controller's clock is set to the host's local wall-clock time and
    // counts from the epoch in standard time, so in summer time it runs one
    // summer-time shift ahead of the instant; readers take the shift off again
    // when the time they compute falls in summer time.
    const std::time_t t = static_cast<std::time_t>(now());
    std::tm local{};
    std::int64_t d = now() - scheduleEpoch();
    if (localtime_r(&t, &local) != nullptr && local.tm_isdst > 0)
        d += summerTimeShift();
    if (d < 0)
        return 0;
    return d > 0xFFFFFFFFLL ? 0xFFFFFFFFu : std::uint32_t(d);
}

// ---- bundled profiles ----

bool Simulator::isProfilePath(const std::string& name) {
    return name.find('/') != std::string::npos ||
           (name.size() > 5 && name.compare(name.size() - 5, 5, ".json") == 0);
}

std::vector<std::string> Simulator::bundledProfiles() {
    std::vector<std::string> names;
    for (unsigned i = 0; i < kBundledProfileCount; ++i)
        if (std::string_view(kBundledProfiles[i].name) == "default")
            names.insert(names.begin(), kBundledProfiles[i].name);
        else
            names.push_back(kBundledProfiles[i].name);
    return names;
}

const char* Simulator::bundledProfileText(std::string_view name) {
    for (unsigned i = 0; i < kBundledProfileCount; ++i)
        if (name == kBundledProfiles[i].name)
            return kBundledProfiles[i].text;
    return nullptr;
}

// ---- simulator ----

Simulator::Simulator(Clock clock) : clock_(clock) {}
Simulator::~Simulator() = default;

namespace {

// Controller `index` > 0 of a multi-controller simulation: its own serial
// number, SAS addresses and PCI bus, so that every controller is told apart.
void individualise(ControllerState& st, unsigned index) {
    char suffix[8];
    std::snprintf(suffix, sizeof suffix, "%03u", index % 1000);
    std::size_t len = strnlen(st.mfg.sn, sizeof st.mfg.sn);
    if (len < 3) {
        std::memcpy(st.mfg.sn, suffix, 3);
    } else {
        std::memcpy(st.mfg.sn + len - 3, suffix, 3);
    }
    len = strnlen(st.info.serialNo, sizeof st.info.serialNo);
    if (len >= 3)
        std::memcpy(st.info.serialNo + len - 3, suffix, 3);
    std::uint64_t step = std::uint64_t(index) << 8;
    st.mfc.sasAddr += step;
    for (unsigned i = 0; i < 8; ++i)
        if (st.info.deviceInterface.portAddr[i])
            st.info.deviceInterface.portAddr[i] += step;
    st.pci.bus = (st.pci.bus + index) & 0xFF;
}

} // namespace

void Simulator::load(const std::string& profile, unsigned controllers) {
    if (controllers == 0)
        throw SimError("--sim-controllers: at least one controller is needed");
    std::vector<std::unique_ptr<SimController>> built;
    std::unique_ptr<ControllerState> first = buildFromProfile(profile, clock_);
    for (unsigned i = 0; i < controllers; ++i) {
        // The last controller takes the built state itself: a large event
        // log is not copied once more.
        auto st =
            i + 1 == controllers ? std::move(first) : std::make_unique<ControllerState>(*first);
        if (i > 0)
            individualise(*st, i);
        built.push_back(std::make_unique<SimController>(std::move(st), &clock_));
    }
    controllers_ = std::move(built);
    profile_ = profile;
}

ProcessInputs Simulator::processInputs() const {
    if (controllers_.empty())
        return ProcessInputs();
    return controllers_.front()->processInputs();
}

// ---- state file ----

namespace {

using json = nlohmann::json;
constexpr int kStateVersion = 1;

[[noreturn]] void stateError(const std::string& file, const std::string& field,
                             const std::string& reason) {
    throw SimError(file + ": " + (field.empty() ? std::string() : field + ": ") + reason);
}

json eventJson(const SimEvent& e) {
    return json{{"seq", e.seqNum},
                {"time", e.timeStamp},
                {"code", e.code},
                {"locale", e.locale},
                {"class", e.eventClass},
                {"argType", e.argType},
                {"args", toHex(e.args.data(), e.args.size())},
                {"description", e.description}};
}

json controllerJson(SimController& c) {
    ControllerState& st = c.state();
    json blocks = json::object();
    for (const RecordSlot& b : stateBlocks(st))
        blocks[b.name] = toHex(b.data, b.size);
    auto list = [](const std::vector<KV_FLASH_COMP_INFO>& l) {
        json a = json::array();
        for (const KV_FLASH_COMP_INFO& f : l)
            a.push_back(toHex(reinterpret_cast<const std::uint8_t*>(&f), sizeof f));
        return a;
    };
    EventLog::Snapshot ev = st.events.snapshot();
    json stored = json::array();
    SimEvent e;
    for (std::size_t i = 0; i < ev.stored.size(); ++i) {
        ev.stored.get(i, e);
        e.seqNum = ev.storedFirst + std::uint32_t(i);
        stored.push_back(eventJson(e));
    }
    json faults = json::array();
    for (const Fault& f : st.faults) {
        faults.push_back(json{{"key", f.key},
                              {"opcode", f.opcode},
                              {"mboxByte", f.mboxByte},
                              {"mboxValue", f.mboxValue},
                              {"status", f.status}});
        if (f.hang)
            faults.back()["hang"] = true;
    }
    return json{
        {"blocks", blocks},
        {"flash",
         {{"running", list(st.running)},
          {"backup", list(st.backup)},
          {"pending", list(st.pending)}}},
        {"pci",
         {{"domain", st.pci.domain},
          {"bus", st.pci.bus},
          {"device", st.pci.device},
          {"function", st.pci.function},
          {"linkWidth", st.pci.linkWidth}}},
        {"driver", {{"name", st.driverName}, {"version", st.driverVersion}}},
        {"oem", st.oem},
        {"controllerType", st.controllerType},
        {"isOEMhp", st.isOEMhp},
        {"alarmState", st.alarmState},
        {"haMode", st.haMode},
        {"learnReadsLeft", st.learnReadsLeft},
        {"captured", st.captured},
        {"sscVolumes", st.sscVolumes},
        {"lockKey",
         {{"assigned", st.lockKey.assigned},
          {"external", st.lockKey.external},
          {"salt", st.lockKey.salt},
          {"hash", st.lockKey.hash},
          {"keyId", st.lockKey.keyId},
          {"suggestions", st.lockKey.suggestions}}},
        {"events",
         {{"genFirst", ev.genFirst},
          {"genCount", ev.genCount},
          {"genNewestTime", ev.genNewestTime},
          {"nextSeq", ev.nextSeq},
          {"oldest", ev.oldest},
          {"clearSeq", ev.clearSeq},
          {"shutdownSeq", ev.shutdownSeq},
          {"bootSeq", ev.bootSeq},
          {"stored", stored}}},
        {"faults", faults},
    };
}

// Typed reads of a state document; any mismatch names the field.
class Reader {
public:
    explicit Reader(std::string file) : file_(std::move(file)) {}

    const json& at(const json& obj, const std::string& key, const std::string& where) const {
        if (!obj.is_object() || !obj.contains(key))
            stateError(file_, where + key, "missing");
        return obj[key];
    }
    template <class T>
    T number(const json& obj, const std::string& key, const std::string& where, T lo, T hi) const {
        const json& v = at(obj, key, where);
        if (!v.is_number_integer())
            stateError(file_, where + key, "expected an integer");
        if (v.is_number_unsigned()) {
            auto u = v.get<std::uint64_t>();
            if (u > std::uint64_t(hi) || (lo >= 0 && u < std::uint64_t(lo)))
                stateError(file_, where + key, "out of range");
            return T(u);
        }
        auto s = v.get<std::int64_t>();
        if (s < std::int64_t(lo) || (s >= 0 && std::uint64_t(s) > std::uint64_t(hi)))
            stateError(file_, where + key, "out of range");
        return T(s);
    }
    bool boolean(const json& obj, const std::string& key, const std::string& where) const {
        const json& v = at(obj, key, where);
        if (!v.is_boolean())
            stateError(file_, where + key, "expected true or false");
        return v.get<bool>();
    }
    std::string text(const json& obj, const std::string& key, const std::string& where,
                     std::size_t max) const {
        const json& v = at(obj, key, where);
        if (!v.is_string() || v.get<std::string>().size() > max)
            stateError(file_, where + key,
                       "expected a text of at most " + std::to_string(max) + " characters");
        return v.get<std::string>();
    }
    void bytes(const json& obj, const std::string& key, const std::string& where, std::uint8_t* out,
               std::size_t size) const {
        std::vector<std::uint8_t> b;
        const json& v = at(obj, key, where);
        if (!v.is_string() || !fromHex(v.get<std::string>(), b) || b.size() != size)
            stateError(file_, where + key, "expected " + std::to_string(size) + " bytes of hex");
        std::memcpy(out, b.data(), size);
    }
    const std::string& file() const { return file_; }

private:
    std::string file_;
};

std::unique_ptr<ControllerState> controllerFromJson(const json& c, const Reader& r,
                                                    const std::string& where) {
    auto st = std::make_unique<ControllerState>();
    if (!c.is_object())
        stateError(r.file(), where, "expected an object");
    const json& blocks = r.at(c, "blocks", where);
    for (const RecordSlot& b : stateBlocks(*st)) {
        // State files saved before the NV cache was simulated have no such block.
        if (std::string_view(b.name) == "nvCache" && !blocks.contains(b.name))
            continue;
        r.bytes(blocks, b.name, where + "blocks.", b.data, b.size);
    }
    const json& flash = r.at(c, "flash", where);
    std::vector<KV_FLASH_COMP_INFO>* lists[] = {&st->running, &st->backup, &st->pending};
    const char* names[] = {"running", "backup", "pending"};
    for (int i = 0; i < 3; ++i) {
        const json& l = r.at(flash, names[i], where + "flash.");
        if (!l.is_array() || l.size() > kMaxFlashComponents)
            stateError(r.file(), where + "flash." + names[i], "expected a list of components");
        lists[i]->resize(l.size());
        for (std::size_t k = 0; k < l.size(); ++k) {
            std::vector<std::uint8_t> b;
            if (!l[k].is_string() || !fromHex(l[k].get<std::string>(), b) ||
                b.size() != sizeof(KV_FLASH_COMP_INFO))
                stateError(r.file(), where + "flash." + names[i] + "[" + std::to_string(k) + "]",
                           "expected 72 bytes of hex");
            std::memcpy(&(*lists[i])[k], b.data(), b.size());
        }
    }
    const json& pci = r.at(c, "pci", where);
    st->pci.domain = r.number<std::uint32_t>(pci, "domain", where + "pci.", 0, 0xFFFFFFFFu);
    st->pci.bus = r.number<std::uint32_t>(pci, "bus", where + "pci.", 0, 0xFFFFFFFFu);
    st->pci.device = r.number<std::uint8_t>(pci, "device", where + "pci.", 0, 0xFF);
    st->pci.function = r.number<std::uint8_t>(pci, "function", where + "pci.", 0, 0xFF);
    st->pci.linkWidth = r.number<std::uint32_t>(pci, "linkWidth", where + "pci.", 0, 0xFFFFFFFFu);
    const json& drv = r.at(c, "driver", where);
    st->driverName = r.text(drv, "name", where + "driver.", 19);
    st->driverVersion = r.text(drv, "version", where + "driver.", 31);
    st->oem = r.number<std::uint32_t>(c, "oem", where, 0, 0xFFFFFFFFu);
    st->controllerType = r.number<int>(c, "controllerType", where, 0, 255);
    st->isOEMhp = r.boolean(c, "isOEMhp", where);
    st->alarmState = r.number<std::uint8_t>(c, "alarmState", where, 0, 2);
    st->haMode = r.number<std::uint8_t>(c, "haMode", where, 0, 3);
    st->learnReadsLeft = r.number<std::uint32_t>(c, "learnReadsLeft", where, 0, 3);
    const json& cap = r.at(c, "captured", where);
    if (!cap.is_array() || cap.size() > kMaxCaptured)
        stateError(r.file(), where + "captured", "expected a list of sequence numbers");
    for (const json& v : cap) {
        if (!v.is_number_unsigned() || v.get<std::uint64_t>() > 0xFFFFFFFFu)
            stateError(r.file(), where + "captured", "expected sequence numbers");
        st->captured.push_back(v.get<std::uint32_t>());
    }
    // Optional: state files written before SSD-cache volumes were kept have none.
    if (c.contains("sscVolumes")) {
        const json& ssc = c["sscVolumes"];
        if (!ssc.is_array() || ssc.size() > kMaxSscVolumes)
            stateError(r.file(), where + "sscVolumes", "expected a list of volume sizes");
        for (const json& v : ssc) {
            if (!v.is_number_unsigned())
                stateError(r.file(), where + "sscVolumes", "expected volume sizes in blocks");
            st->sscVolumes.push_back(v.get<std::uint64_t>());
        }
    }
    const json& key = r.at(c, "lockKey", where);
    st->lockKey.assigned = r.boolean(key, "assigned", where + "lockKey.");
    st->lockKey.external = r.boolean(key, "external", where + "lockKey.");
    st->lockKey.salt = r.text(key, "salt", where + "lockKey.", 64);
    st->lockKey.hash = r.text(key, "hash", where + "lockKey.", 64);
    st->lockKey.keyId = r.text(key, "keyId", where + "lockKey.", 255);
    st->lockKey.suggestions =
        r.number<std::uint32_t>(key, "suggestions", where + "lockKey.", 0, 0xFFFFFFFFu);
    const json& ev = r.at(c, "events", where);
    std::string ew = where + "events.";
    EventLog::Snapshot s;
    s.genFirst = r.number<std::uint32_t>(ev, "genFirst", ew, 0, 0xFFFFFFFFu);
    s.genCount = r.number<std::uint32_t>(ev, "genCount", ew, 0, 0xFFFFFFFFu);
    s.genNewestTime = r.number<std::uint32_t>(ev, "genNewestTime", ew, 0, 0xFFFFFFFFu);
    s.nextSeq = r.number<std::uint32_t>(ev, "nextSeq", ew, 0, 0xFFFFFFFFu);
    s.oldest = r.number<std::uint32_t>(ev, "oldest", ew, 0, 0xFFFFFFFFu);
    s.clearSeq = r.number<std::uint32_t>(ev, "clearSeq", ew, 0, 0xFFFFFFFFu);
    s.shutdownSeq = r.number<std::uint32_t>(ev, "shutdownSeq", ew, 0, 0xFFFFFFFFu);
    s.bootSeq = r.number<std::uint32_t>(ev, "bootSeq", ew, 0, 0xFFFFFFFFu);
    const json& stored = r.at(ev, "stored", ew);
    if (!stored.is_array())
        stateError(r.file(), ew + "stored", "expected a list of events");
    for (std::size_t i = 0; i < stored.size(); ++i) {
        std::string w = ew + "stored[" + std::to_string(i) + "].";
        const json& e = stored[i];
        SimEvent x;
        x.seqNum = r.number<std::uint32_t>(e, "seq", w, 0, 0xFFFFFFFFu);
        x.timeStamp = r.number<std::uint32_t>(e, "time", w, 0, 0xFFFFFFFFu);
        x.code = r.number<std::uint32_t>(e, "code", w, 0, 0xFFFFFFFFu);
        x.locale = r.number<std::uint16_t>(e, "locale", w, 0, 0xFFFF);
        x.eventClass = r.number<std::int8_t>(e, "class", w, -128, 127);
        x.argType = r.number<std::uint8_t>(e, "argType", w, 0, 0xFF);
        const json& args = r.at(e, "args", w);
        if (!args.is_string() || !fromHex(args.get<std::string>(), x.args) || x.args.size() > 96)
            stateError(r.file(), w + "args", "expected at most 96 bytes of hex");
        x.description = r.text(e, "description", w, 127);
        if (!s.add(x))
            stateError(r.file(), ew.substr(0, ew.size() - 1), "inconsistent sequence numbers");
    }
    if (!st->events.restore(std::move(s)))
        stateError(r.file(), ew.substr(0, ew.size() - 1), "inconsistent sequence numbers");
    const json& faults = r.at(c, "faults", where);
    if (!faults.is_array())
        stateError(r.file(), where + "faults", "expected a list");
    for (std::size_t i = 0; i < faults.size(); ++i) {
        std::string w = where + "faults[" + std::to_string(i) + "].";
        Fault f;
        f.key = r.text(faults[i], "key", w, 64);
        f.opcode = r.number<std::uint32_t>(faults[i], "opcode", w, 0, 0xFFFFFFFFu);
        f.mboxByte = r.number<int>(faults[i], "mboxByte", w, -1, 11);
        f.mboxValue = r.number<std::uint8_t>(faults[i], "mboxValue", w, 0, 0xFF);
        f.status = r.number<int>(faults[i], "status", w, -12, 255);
        if (faults[i].contains("hang")) {
            if (!faults[i]["hang"].is_boolean())
                stateError(r.file(), w + "hang", "expected true or false");
            f.hang = faults[i]["hang"].get<bool>();
        }
        st->faults.push_back(f);
    }
    return st;
}

} // namespace

std::string Simulator::stateText() const {
    json doc{
        {"kvictl_sim_state", kStateVersion}, {"profile", profile_}, {"controllers", json::array()}};
    for (const auto& c : controllers_)
        doc["controllers"].push_back(controllerJson(*c));
    return doc.dump(1) + "\n";
}

void Simulator::saveState(const std::string& path) const {
    if (!refusedStatePath_.empty() && refusedStatePath_ == path)
        stateError(path, "", "not overwritten: the file could not be read as a simulator state");
    try {
        files::replaceFile(path, stateText());
    } catch (const files::FileError& e) {
        throw SimError(e.what());
    }
}

void Simulator::loadState(const std::string& path) {
    try {
        std::string text;
        try {
            text = files::readFile(path, files::Input::State);
        } catch (const files::FileError& e) {
            throw SimError(e.what());
        }
        json doc;
        try {
            doc = json::parse(text);
        } catch (const json::exception&) { // a syntax error or a number beyond any type
            stateError(path, "", "not a simulator state file (malformed JSON)");
        }
        Reader r(path);
        if (!doc.is_object() || !doc.contains("kvictl_sim_state"))
            stateError(path, "", "not a simulator state file");
        if (r.number<int>(doc, "kvictl_sim_state", "", 0, 1000) != kStateVersion)
            stateError(path, "kvictl_sim_state", "unsupported version");
        std::string profile = r.text(doc, "profile", "", 4096);
        const json& list = r.at(doc, "controllers", "");
        if (!list.is_array() || list.empty())
            stateError(path, "controllers", "expected at least one controller");
        std::vector<std::unique_ptr<SimController>> built;
        for (std::size_t i = 0; i < list.size(); ++i)
            built.push_back(std::make_unique<SimController>(
                controllerFromJson(list[i], r, "controllers[" + std::to_string(i) + "]."),
                &clock_));
        controllers_ = std::move(built);
        profile_ = profile;
        if (refusedStatePath_ == path)
            refusedStatePath_.clear();
    } catch (const SimError&) {
        // A file that exists but cannot be read as a state is kept as it is.
        if (::access(path.c_str(), F_OK) == 0)
            refusedStatePath_ = path;
        throw;
    }
}

void Simulator::refreshState(const std::string& path) {
    std::vector<std::unique_ptr<SimController>> current = std::move(controllers_);
    const std::string profile = profile_;
    try {
        loadState(path);
    } catch (const SimError&) {
        controllers_ = std::move(current);
        profile_ = profile;
        throw;
    }
    std::vector<std::unique_ptr<SimController>> fresh = std::move(controllers_);
    controllers_ = std::move(current);
    profile_ = profile;
    if (fresh.size() != controllers_.size())
        throw SimError(path + ": now holds " + std::to_string(fresh.size()) + " controllers, not " +
                       std::to_string(controllers_.size()));
    for (std::size_t i = 0; i < fresh.size(); ++i)
        controllers_[i]->swapState(*fresh[i]);
}

} // namespace kvi::sim
