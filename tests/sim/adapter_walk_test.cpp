// Every operation of the adapter, called with sane arguments over every bundled
// profile of the simulator: the simulator must understand each request the
// adapter builds. A request it answers as malformed (invalid parameter) or does
// not know at all is a disagreement between the two about opcode, mailbox or
// transfer length. Over two profiles the requests and answers of the whole walk
// are compared with golden files.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Controller.h"
#include "provider/ProcessInputs.h"
#include "provider/System.h"
#include "sim/Simulator.h"
#include "tests/support/TestData.h"
#include "tests/support/TzGuard.h"
#include "util/ArList.h"
#include "json/elements.h"

namespace {

// ---- arguments by parameter type: plausible values a caller would pass ----
template <class T> constexpr bool isByte() {
    return std::is_same<T, char>::value || std::is_same<T, unsigned char>::value;
}

// What an out-value shows in the walk's listing: numbers, texts, times and
// lists; nothing for records (their requests and answers are listed).
template <class T> std::string text(const T& v) {
    if constexpr (std::is_arithmetic<T>::value)
        return " " + std::to_string(v);
    else
        return "";
}
std::string text(const std::string& s) {
    return " \"" + s + "\"";
}
std::string text(const std::tm& t) {
    char out[32];
    std::strftime(out, sizeof out, " %Y-%m-%d %H:%M", &t);
    return out;
}
template <class E> std::string text(const ArrayList<E>& list) {
    std::string out = " [";
    for (std::size_t i = 0; i < list.size(); ++i)
        out += (i ? " " : "") + std::to_string(list.get(i));
    return out + "]";
}

// Plain values: the type's zero.
template <class A> struct Arg {
    A get() { return A(); }
    std::string show() const { return ""; }
};

// A pointer to an out-value; a byte pointer is a caller buffer, with room for
// the largest buffer an operation states (the event capture answer).
template <class T> struct Arg<T*> {
    using V = std::remove_const_t<T>;
    std::unique_ptr<V[]> v{new V[isByte<V>() ? 32768 : 1]()};
    T* get() { return v.get(); }
    std::string show() const { return std::is_const<T>::value ? "" : text(v[0]); }
};

template <class T> struct Arg<T&> {
    T v{};
    T& get() { return v; }
    std::string show() const {
        if constexpr (std::is_same<T, bool>::value)
            return v ? " true" : " false";
        else
            return text(v);
    }
};

// 1 July 2025 02:30 local time: a start time inside the firmware epoch.
std::tm startTime() {
    std::tm t{};
    t.tm_year = 125;
    t.tm_mon = 6;
    t.tm_mday = 1;
    t.tm_hour = 2;
    t.tm_min = 30;
    t.tm_isdst = -1;
    return t;
}

template <> struct Arg<const std::tm*> {
    std::tm t = startTime();
    const std::tm* get() { return &t; }
    std::string show() const { return ""; }
};

// Results handed back through T** belong to the caller, except the two
// operations that point into the object (released by the walk's owner flag).
bool gBorrowed = false;
template <class T> struct Arg<T**> {
    T* p = nullptr;
    bool owned = !gBorrowed;
    Arg() = default;
    Arg(Arg&& o) noexcept : p(o.p), owned(o.owned) { o.p = nullptr; }
    ~Arg() {
        if (!owned)
            return;
        if constexpr (std::is_same<T, unsigned char>::value)
            delete[] p;
        else
            delete p;
    }
    T** get() { return &p; }
    std::string show() const { return ""; }
};

// The status of the last call (0 for operations that answer a value itself),
// and what it answered: its return value and the values it handed back.
int gStatus = 0;
std::string gAnswer;

template <class R, class... A> void invoke(AdapterData& a, R (AdapterData::*fn)(A...)) {
    std::tuple<Arg<A>...> args;
    std::apply(
        [&](auto&... arg) {
            R r = (a.*fn)(arg.get()...);
            gStatus = std::is_same<R, int>::value ? static_cast<int>(r) : 0;
            gAnswer = "answers " + std::to_string(r) + (arg.show() + ... + std::string());
        },
        args);
}

struct Operation {
    const char* name;
    std::function<void(AdapterData&)> call;
};

// ---- the operations, one per name the interface declares ----
#define KVI_FUZZ_OP(n) {#n, [](AdapterData& a) { invoke(a, &AdapterData::n); }},
#define KVI_FUZZ_OVERLOADED(n, count) // called by hand in sensibleCalls()
const std::vector<Operation> kGenerated = {
#include "adapter_operations.inc"
};
#undef KVI_FUZZ_OVERLOADED
#undef KVI_FUZZ_OP

const char kPass[] = "Sim-Pass#2025";
const char kNewPass[] = "Sim-Pass#2026";
const unsigned char kBytes[16] = {1, 2, 3};
// A text argument the operation may change: the temporary lives until the end
// of the call's full expression.
std::string& lv(std::string&& text) {
    return text;
}

// Values a user would give where the type's zero is not one, and the
// overloaded operations (named with their parameters).
std::vector<Operation> sensibleCalls() {
    std::vector<Operation> ops;
    auto add = [&](const char* n, std::function<void(AdapterData&)> f) {
        ops.push_back({n, std::move(f)});
    };
    add("setBootVd(VirtualDisk*)", [](AdapterData& a) {
        VirtualDisk vd(1);
        (void)a.setBootVd(&vd);
    });
    add("setBootVd(PhysicalDevice*)", [](AdapterData& a) {
        PhysicalDevice pd(8);
        (void)a.setBootVd(&pd);
    });
    add("setPersonality(unsigned short)", [](AdapterData& a) { (void)a.setPersonality(1); });
    add("setPersonality(unsigned short, unsigned short)",
        [](AdapterData& a) { (void)a.setPersonality(1, 0); });
    add("adpSetSASAdd", [](AdapterData& a) { (void)a.adpSetSASAdd(0x500605B000001234ULL, false); });
    add("createLockKey",
        [](AdapterData& a) { (void)a.createLockKey(lv(kPass), lv(""), lv("walk-key"), 0); });
    add("rekeyLock", [](AdapterData& a) { (void)a.rekeyLock(lv(kNewPass)); });
    add("lockKeyFromEscrow", [](AdapterData& a) { (void)a.lockKeyFromEscrow(lv(kNewPass)); });
    add("verifyLockKey", [](AdapterData& a) { (void)a.verifyLockKey(lv(kNewPass), 0); });
    add("setKeyID", [](AdapterData& a) { (void)a.setKeyID(lv("walk-key-2")); });
    add("getEventList", [](AdapterData& a) {
        std::vector<char> buf(8 + 4 * 256);
        (void)a.getEventList(0, buf.data(), static_cast<unsigned int>(buf.size()), 0xFE00FFFFu);
    });
    add("getEventCnt", [](AdapterData& a) {
        unsigned int n = 0;
        (void)a.getEventCnt(&n, 0, 0xFE00FFFFu);
    });
    add("getProfileData", [](AdapterData& a) {
        std::vector<unsigned char> buf(1024);
        (void)a.getProfileData(buf.data(), static_cast<unsigned short>(buf.size()));
    });
    add("setSnapDumpInfo", [](AdapterData& a) { (void)a.setSnapDumpInfo(kBytes, sizeof kBytes); });
    add("setOOBInfo", [](AdapterData& a) { (void)a.setOOBInfo(kBytes, sizeof kBytes); });
    add("setFirmwareDebug",
        [](AdapterData& a) { (void)a.setFirmwareDebug(kBytes, sizeof kBytes); });
    add("importCSR", [](AdapterData& a) {
        const unsigned char data[] =
            "-----BEGIN CERTIFICATE-----\nU2lt\n-----END CERTIFICATE-----\n";
        (void)a.importCSR(data, sizeof data);
    });
    add("writeManufacturingPage",
        [](AdapterData& a) { (void)a.writeManufacturingPage(1, kBytes, sizeof kBytes); });
    add("setMuxMode", [](AdapterData& a) { (void)a.setMuxMode(1, 0); });
    add("setCcSchedMode", [](AdapterData& a) {
        ArrayList<unsigned short> excluded;
        excluded.add(1);
        const std::tm start = startTime();
        (void)a.setCcSchedMode(1, &excluded, &start, 168);
    });
    add("setPRSchedExcludedLdList", [](AdapterData& a) {
        ArrayList<unsigned short> excluded;
        excluded.add(2);
        (void)a.setPRSchedExcludedLdList(&excluded);
    });
    add("setPrExecDelay", [](AdapterData& a) { (void)a.setPrExecDelay(168); });
    add("setCcScExecDelay", [](AdapterData& a) { (void)a.setCcScExecDelay(168); });
    add("setMaxConcurrentPD", [](AdapterData& a) { (void)a.setMaxConcurrentPD(2); });
    add("startDiag", [](AdapterData& a) {
        json::Array rows;
        (void)a.startDiag(0x3, &rows);
    });
    add("suspendPr", [](AdapterData& a) {
        (void)a.startPr();
        (void)a.suspendPr();
    });
    add("startAEC", [](AdapterData& a) { (void)a.startAEC(1); });
    add("filterAECMask", [](AdapterData& a) { (void)a.filterAECMask(0x10, 0); });
    add("clearAECMask", [](AdapterData& a) { (void)a.clearAECMask(0x10, 0); });
    add("getSscdTargetIds", [](AdapterData& a) {
        ArrayList<unsigned char> ids;
        (void)a.getSscdTargetIds(&ids, 0);
    });
    add("setSscdTargetIds", [](AdapterData& a) {
        ArrayList<unsigned char> ids;
        ids.add(0);
        (void)a.setSscdTargetIds(&ids);
    });
    // A dump chunk of some length: a zero length is refused before any request.
    add("getSnapDumpData", [](AdapterData& a) {
        unsigned char* data = nullptr;
        unsigned int length = 512;
        gStatus = a.getSnapDumpData(0, 0, &data, &length);
        delete[] data;
    });
    add("GetExpanderNumPhy", [](AdapterData& a) {
        unsigned char n = 0;
        gStatus = a.GetExpanderNumPhy(0x500605B000005678ULL, &n);
    });
    return ops;
}

// Every operation once, in interface order (a sensible call in the place of
// the generated one; the overloaded forms last), so that state-dependent
// requests meet the state a user would have set up: a key is created before
// it is verified and destroyed, a patrol read runs before it is suspended.
std::vector<Operation> allCalls() {
    std::vector<Operation> ops;
    std::vector<Operation> special = sensibleCalls();
    std::vector<bool> used(special.size(), false);
    for (const Operation& op : kGenerated) {
        const Operation* chosen = &op;
        for (std::size_t i = 0; i < special.size(); ++i) {
            if (std::strcmp(special[i].name, op.name) == 0) {
                chosen = &special[i];
                used[i] = true;
            }
        }
        ops.push_back(*chosen);
    }
    for (std::size_t i = 0; i < special.size(); ++i)
        if (!used[i])
            ops.push_back(special[i]);
    return ops;
}

std::string describe(const kvi::sim::TraceEntry& t) {
    char text[160];
    std::snprintf(
        text, sizeof text,
        "opcode 0x%08X mbox %02x %02x %02x %02x | %02x %02x %02x %02x | %02x %02x %02x %02x "
        "length %u direction %d status 0x%02x%s",
        unsigned(t.opcode), t.mbox[0], t.mbox[1], t.mbox[2], t.mbox[3], t.mbox[4], t.mbox[5],
        t.mbox[6], t.mbox[7], t.mbox[8], t.mbox[9], t.mbox[10], t.mbox[11], unsigned(t.length),
        int(t.direction), unsigned(t.status), t.handled ? "" : " (no handler)");
    return text;
}

// The simulated controller, keeping the bytes each request writes (beside the
// simulator's own trace, entry for entry).
class WriteRecorder : public kvi::Backend {
public:
    explicit WriteRecorder(kvi::sim::SimController& sim) : sim_(sim) {}
    int submit(kvi::DirectCommand& cmd) override {
        std::string hex;
        if (cmd.data &&
            (cmd.direction == kvi::Direction::Write || cmd.direction == kvi::Direction::Both))
            for (std::uint32_t i = 0; i < cmd.length; ++i) {
                char byte[3];
                std::snprintf(byte, sizeof byte, "%02x", cmd.data[i]);
                hex += byte;
            }
        written.push_back(hex.empty() ? "" : " writes " + hex);
        return sim_.submit(cmd);
    }
    int submitSmp(kvi::SmpCommand& cmd) override { return sim_.submitSmp(cmd); }
    int pciLocation(kvi::PciLocation& out) override { return sim_.pciLocation(out); }
    std::string driverName() override { return sim_.driverName(); }
    std::string driverVersion() override { return sim_.driverVersion(); }
    std::vector<std::string> written;

private:
    kvi::sim::SimController& sim_;
};

TEST(AdapterWalk, EveryOverloadedOperationIsCalledByHand) {
    std::set<std::string> byHand;
    for (const Operation& op : sensibleCalls())
        byHand.insert(std::string(op.name).substr(0, std::string(op.name).find('(')));
#define KVI_FUZZ_OP(n)
#define KVI_FUZZ_OVERLOADED(n, forms) EXPECT_EQ(byHand.count(#n), 1u) << #n;
#include "adapter_operations.inc"
#undef KVI_FUZZ_OVERLOADED
#undef KVI_FUZZ_OP
}

// Over every bundled profile: no request refused as malformed or unknown,
// none the simulator could not carry. Over the default profile and the one
// with the older record forms, every request with what each operation
// answered and the bytes each request wrote is compared with a golden file
// (regenerate with KVI_UPDATE_GOLDEN=1 and review the diff): an operation
// whose body stops asking the controller, asks or writes otherwise, or
// decodes the answer otherwise, shows.
TEST(AdapterWalk, SimulatorUnderstandsEveryRequest) {
    kvitest::TzGuard tz("CET-1CEST,M3.5.0,M10.5.0/3");
    for (const std::string& profile : kvi::sim::Simulator::bundledProfiles()) {
        SCOPED_TRACE(profile);
        kvi::sim::Simulator sim{kvi::sim::Clock(1748779200)};
        sim.load(profile);
        kvi::sim::SimController& backend = sim.controller(0);
        kvi::setProcessInputs(sim.processInputs());
        System::getInstance()->setBackend(&backend);
        WriteRecorder recorder(backend);
        BackendController ctrl(recorder, ControllerId(0));
        std::vector<std::string> unexpected;
        std::string requests;
        for (const Operation& op : allCalls()) {
            backend.resetIntrospection();
            recorder.written.clear();
            gAnswer.clear();
            {
                ControllerId id(0);
                AdapterDataKvi adapter(&ctrl, &id);
                // Inside every transaction, so that a setter's change is written back.
                (void)adapter.beginCtlrPropUpdate();
                (void)adapter.beginBIOSDataUpdate();
                (void)adapter.beginMuxModeUpdate();
                std::string name = op.name;
                gBorrowed = name == "getEventLogInfo" || name == "getBatteryDeviceName";
                gStatus = 0;
                op.call(adapter);
                gBorrowed = false;
                // A backend that cannot carry a request (SMP and the like)
                // answers a negative local status: the simulator carries all.
                if (gStatus == kvi::kTransportFailed || gStatus == kvi::kReplayMismatch ||
                    gStatus == kvi::kUnsupported)
                    unexpected.push_back(name + ": the simulator could not carry the request (" +
                                         std::to_string(gStatus) + ")");
                (void)adapter.endCtlrPropUpdate();
                (void)adapter.endCtlrPropExtUpdate();
                (void)adapter.endBIOSDataUpdate();
                (void)adapter.endMuxModeUpdate();
            }
            requests += std::string(op.name) + " " + gAnswer + "\n";
            for (std::size_t i = 0; i < backend.trace().size(); ++i) {
                const kvi::sim::TraceEntry& t = backend.trace()[i];
                requests += "  " + describe(t) + recorder.written.at(i) + "\n";
                if (t.status == KVI_STAT_INVALID_PARAMETER || !t.handled)
                    unexpected.push_back(std::string(op.name) + ": " + describe(t));
            }
        }
        System::getInstance()->setBackend(nullptr);
        kvi::resetProcessInputs();
        EXPECT_TRUE(unexpected.empty()) << unexpected.size() << " requests refused or unknown, "
                                        << "first: " << (unexpected.empty() ? "" : unexpected[0]);
        if (profile != "default" && profile != "previous-gen")
            continue;
        const std::string path = "tests/golden/sim/walk-" + profile + ".txt";
        EXPECT_TRUE(kvitest::golden(path, requests) == requests)
            << "the walk's requests differ from " << path;
    }
}

} // namespace
