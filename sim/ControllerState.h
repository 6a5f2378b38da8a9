#pragma once
// Everything one simulated controller remembers: its firmware records, lists,
// event log, security key and injected faults. Profiles build it, requests
// change it, the state file saves and restores all of it.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "firmware/kv.h"
#include "provider/Backend.h"
#include "sim/EventLog.h"

namespace kvi::sim {

// Statuses the simulator answers for conditions the firmware interface gives no
// named status: the tool shows them by number, as it would on hardware.
constexpr int kStatusBusy = 0x04;             // a learn cycle or image update is running
constexpr int kStatusChecksumMismatch = 0x05; // a BIOS record with a wrong checksum
constexpr int kStatusNoLockKey = 0x06;        // a key operation without a key
constexpr int kStatusWrongPassphrase = 0x07;  // a passphrase that does not match the key

#pragma pack(push, 1)
// One PCIe lane of the lane table (the firmware headers do not name it).
struct SimLaneConnection {
    std::uint64_t wwid;           /* 0 */
    std::uint16_t laneIdentifier; /* 8 */
    std::uint8_t modeAndType;     /* 10: currentClkMode bits 0-1, deviceType bits 2-5 */
    std::uint8_t connectorIndex;  /* 11 */
    std::uint32_t speeds;         /* 12: supportedLaneSpeed 0-7, disabled 8, pcieLinkNumber 9-14,
                                     linkNumberValid 15, laneSpeedControl 16-23, currentSpeed 24-31 */
};
struct SimLaneConnections {
    std::uint32_t count;
    std::uint32_t reserved;
    SimLaneConnection lane[24];
};
#pragma pack(pop)
static_assert(sizeof(SimLaneConnection) == 16, "lane entry is 16 bytes");
static_assert(sizeof(SimLaneConnections) == 392, "lane table is 392 bytes");

// A status to answer instead of processing a request, or no answer at all.
struct Fault {
    std::uint32_t opcode = 0;
    int mboxByte = -1; // -1: any mailbox; else b[mboxByte] must equal mboxValue
    std::uint8_t mboxValue = 0;
    int status = 0;
    bool hang = false; // the request never returns (status unused)
    std::string key;   // as written in the profile ("0x05010000@b0=2")
};

struct LockKeyState {
    bool assigned = false;
    bool external = false; // created through the external key manager (empty passphrase)
    std::string salt;      // hex
    std::string hash;      // hex of the keyed passphrase hash
    std::string keyId;
    std::uint32_t suggestions = 0; // passphrases suggested so far
};

constexpr std::uint8_t kAlarmUnset = 0xFF; // while a profile loads: follow alarmEnable

struct ControllerState {
    // ---- records ----
    KV_CTRL_INFO info{};
    KV_CTRL_PROP_EXT prop{};        // ctrlProp1 is KV_CTRL_PROP
    KV_CTRL_PROP_EXT defaultProp{}; // restored by factory defaults
    KV_MFC_DEFAULTS mfc{};
    KV_BIOS_DATA bios{};
    KV_HOST_INFO host{};
    KV_MFC_MFG mfg{};
    std::uint8_t mfg2[32]{}; // second manufacturing record: text at its start
    KV_BBU_STATUS bbu{};
    KV_BBU_CAPACITY_INFO bbuCapacity{};
    KV_BBU_DESIGN_INFO bbuDesign{};
    KV_BBU_PROPERTIES bbuProp{};
    KV_PR_PROPERTIES pr{};
    KV_PR_PROPERTIES_EXT prExt{};
    KV_PR_STATUS prStatus{};
    KV_CC_SCHEDULE_PROPERTIES cc{};
    KV_CC_SCHEDULE_PROPERTIES_EXT ccExt{};
    KV_CC_SCHEDULE_STATUS ccStatus{};
    KV_SAS_MUX_LIST mux{};
    KV_SAS_CONNECTORS connectors{};
    KV_SAS_PHY_CONNECTIONS phys{};
    SimLaneConnections lanes{};
    KV_AEC_SETTINGS aec{};
    KV_CTRL_PERSONALITY_INFO personality{};
    KV_CONFIG_ALLOWED_OPS allowedOps{};
    std::uint8_t dpm[16]{};
    std::uint8_t oob[16]{};
    std::uint8_t snapDump[16]{};
    std::uint8_t autoConfig[8]{};
    // The non-volatile cache as its query reports it: word 0 the flash size in
    // KiB, word 1 the KiB that hold cache data (cleared by an erase).
    std::uint64_t nvCache[2]{};

    // ---- image component lists (running, backup, pending) ----
    std::vector<KV_FLASH_COMP_INFO> running, backup, pending;

    // ---- configuration ----
    // Size of each SSD-cache volume in 512-byte blocks (at most kMaxSscVolumes).
    std::vector<std::uint64_t> sscVolumes;

    // ---- host side ----
    PciLocation pci;
    std::string driverName = "kvsim";
    std::string driverVersion = "1.0.0";
    std::uint32_t oem = 0;
    int controllerType = 0;
    bool isOEMhp = false;

    // ---- behaviour ----
    // Alarm presence is KV_CTRL_INFO.hwPresent.alarm.
    std::uint8_t alarmState = kAlarmUnset; // 0 disabled, 1 enabled, 2 silenced
    std::uint8_t haMode = 0;
    std::uint32_t learnReadsLeft = 0;    // battery status reads until a learn cycle ends
    std::vector<std::uint32_t> captured; // sequence numbers caught by event capture (newest last)
    LockKeyState lockKey;
    EventLog events;
    std::vector<Fault> faults;
};

// A record of the state by its firmware name (the names of the field registry,
// plus "KV_CTRL_PROP" for the first half of the properties).
struct RecordSlot {
    const char* name;
    std::uint8_t* data;
    std::size_t size;
};
// Every record a profile may set through the field registry.
std::vector<RecordSlot> profileRecords(ControllerState& s);
// Every raw block the state file keeps (records and the blocks without a
// registry entry), each exactly once.
std::vector<RecordSlot> stateBlocks(ControllerState& s);

// The extended schedule forms are in use (adapterOperations3.supportMaxExtLDs).
bool extendedSchedules(const ControllerState& s);

} // namespace kvi::sim
