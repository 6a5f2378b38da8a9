#include "sim/ControllerState.h"

namespace kvi::sim {
namespace {
template <class T> RecordSlot slot(const char* name, T& record) {
    return {name, reinterpret_cast<std::uint8_t*>(&record), sizeof(T)};
}
} // namespace

std::vector<RecordSlot> profileRecords(ControllerState& s) {
    return {
        slot("KV_CTRL_INFO", s.info),
        slot("KV_CTRL_PROP", s.prop.ctrlProp1),
        slot("KV_CTRL_PROP_EXT", s.prop),
        slot("KV_MFC_DEFAULTS", s.mfc),
        slot("KV_BIOS_DATA", s.bios),
        slot("KV_HOST_INFO", s.host),
        slot("KV_MFC_MFG", s.mfg),
        slot("KV_BBU_STATUS", s.bbu),
        slot("KV_BBU_CAPACITY_INFO", s.bbuCapacity),
        slot("KV_BBU_DESIGN_INFO", s.bbuDesign),
        slot("KV_BBU_PROPERTIES", s.bbuProp),
        slot("KV_PR_PROPERTIES", s.pr),
        slot("KV_PR_PROPERTIES_EXT", s.prExt),
        slot("KV_PR_STATUS", s.prStatus),
        slot("KV_CC_SCHEDULE_PROPERTIES", s.cc),
        slot("KV_CC_SCHEDULE_PROPERTIES_EXT", s.ccExt),
        slot("KV_CC_SCHEDULE_STATUS", s.ccStatus),
        slot("KV_SAS_MUX_LIST", s.mux),
        slot("KV_SAS_CONNECTORS", s.connectors),
        slot("KV_SAS_PHY_CONNECTIONS", s.phys),
        slot("KV_AEC_SETTINGS", s.aec),
        slot("KV_CTRL_PERSONALITY_INFO", s.personality),
        slot("KV_CONFIG_ALLOWED_OPS", s.allowedOps),
    };
}

std::vector<RecordSlot> stateBlocks(ControllerState& s) {
    std::vector<RecordSlot> all;
    for (const RecordSlot& r : profileRecords(s))
        if (std::string_view(r.name) != "KV_CTRL_PROP") // part of KV_CTRL_PROP_EXT
            all.push_back(r);
    all.push_back(slot("defaultProperties", s.defaultProp));
    all.push_back(slot("lanes", s.lanes));
    all.push_back(slot("mfg2", s.mfg2));
    all.push_back(slot("dpm", s.dpm));
    all.push_back(slot("oob", s.oob));
    all.push_back(slot("snapDump", s.snapDump));
    all.push_back(slot("autoConfig", s.autoConfig));
    all.push_back(slot("nvCache", s.nvCache));
    return all;
}

bool extendedSchedules(const ControllerState& s) {
    return s.info.adapterOperations3.supportMaxExtLDs != 0;
}

} // namespace kvi::sim
