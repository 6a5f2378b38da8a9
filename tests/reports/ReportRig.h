#pragma once
// Test rig for the report sections: an AdapterDataKvi over the recording fake
// controller, scripted from one description of the controller (ControllerSetup),
// plus golden-document comparison and time-zone control.
//
// The operations of other subsystems that the sections call and that are
// scripted here (OEM identifier, personality, flash erase report, SSD cache
// size, consistency-check start time and mode) are overridden in
// ScriptedAdapter, which also proves that the sections reach them through
// virtual dispatch. Everything else goes through the fake controller.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/Clock.h"
#include "firmware/kv.h"
#include "tests/support/FakeController.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TzGuard.h"
#include "json/elements.h"

namespace rt {

using Component = std::pair<std::string, std::string>; // name (8 bytes, padded with NULs), version

struct ControllerSetup {
    KV_CTRL_INFO info{};
    KV_MFC_MFG mfg{};
    KV_MFC_DEFAULTS mfc{};
    int mfcStatus = 0;
    KV_HOST_INFO host{};
    int hostStatus = 0;
    KV_TIME_STAMP clock{};
    int clockStatus = 0;
    KV_CTRL_PROP prop{};
    KV_BIOS_DATA bios{};
    int biosStatus = 0;
    KV_BBU_STATUS bbu{};
    int bbuStatus = 0;
    KV_BBU_PROPERTIES bbuProp{};
    int bbuPropStatus = 0;
    std::uint8_t alarm = 1;
    int alarmStatus = 0;
    std::string fru;
    int fruStatus = 0;
    KV_PR_PROPERTIES pr{};
    KV_PR_PROPERTIES_EXT prExt{};
    KV_CC_SCHEDULE_PROPERTIES cc{};
    KV_CC_SCHEDULE_PROPERTIES_EXT ccExt{};
    std::vector<Component> active, backup, pending;
    kvi::PciLocation pci;
    int pciStatus = 0;
    std::string driverName = "kvi_sas";
    std::string driverVersion = "07.727.03.00";
    KV_DRV_DRIVER_VERSION driverRecord{};
    int driverStatus = 0;

    // Scripted operations of other subsystems.
    int oem = 0;
    int oemStatus = 0;
    std::uint8_t personality = 0x01;
    int personalityStatus = 0;
    unsigned long long flashKiB = 4096;
    int flashStatus = 0;
    unsigned long long sscBlocks = 0;
    std::tm ccStart{};
    int ccStartStatus = 0;
    std::uint8_t ccMode = 1;
    int ccModeStatus = 0;

    // Process-wide inputs.
    bool oemHp = false;
    int controllerType = 0;
};

// Fills a fixed-size text field of a firmware record: the text, cut at the
// field size, padded with NULs (the setups and the variants all need it).
template <std::size_t N> void setText(char (&field)[N], const char* text) {
    std::memset(field, 0, N);
    std::memcpy(field, text, std::min(N, std::strlen(text)));
}

// The controller of the golden variants: a PCIe controller with battery,
// sensors, components, legacy schedules. Variants change it from there.
ControllerSetup baseSetup();

class ScriptedAdapter : public AdapterDataKvi {
public:
    ScriptedAdapter(Controller* controller, RaidElementId* id, const ControllerSetup& setup)
        : AdapterDataKvi(controller, id), setup_(setup) {}

    int getOem(int* out) override;
    int getPersonality(KV_CTRL_PERSONALITY_INFO* out) override;
    int adpFlashErase(unsigned long long* a, bool erase, unsigned long long* b) override;
    int getCurrentConfigSSCSize(unsigned long long* out) override;
    int getCcSchedStartTime(tm* out) override;
    int getCcSchedMode(unsigned char* out) override;

    std::vector<std::string> calls; // names of the overridden operations, in call order

    // Forgets the controller, keeping the caches already loaded: a controller
    // object without a controller has no status manager.
    void dropController() { controllerPtr_ = nullptr; }

private:
    const ControllerSetup& setup_;
};

// One controller: fake, adapter, process inputs and a fixed host clock.
class Rig {
public:
    explicit Rig(const ControllerSetup& setup, std::time_t hostTime = 1741185420);
    ~Rig();

    kvitest::FakeController ctrl;
    ControllerSetup setup;
    kvitest::ProcessInputsGuard inputs;
    kvi::reports::ScopedHostTime hostTime;
    ScriptedAdapter adapter;
};

// The bytes of an image component list as the firmware sends it.
kvitest::Bytes flashList(const std::vector<Component>& components);

// Sets TZ for one scope (setenv + tzset) and restores it.
using TzGuard = kvitest::TzGuard;

// Member names of an object, in order.
std::vector<std::string> keys(const json::Object& obj);
// The string value of a member ("<absent>" or "<not a string>" otherwise).
std::string text(const json::Object& obj, const std::string& key);

// Compares `rendered` with tests/golden/reports/<name>.json; with
// KVI_UPDATE_GOLDEN=1 in the environment the file is (re)written instead.
// Returns an empty string on a match, else a description of the difference.
std::string checkGolden(const std::string& name, const std::string& rendered);

} // namespace rt
