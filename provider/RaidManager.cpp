#include "provider/RaidManager.h"

#include <map>
#include <memory>

#include "firmware/kvi.h"
#include "provider/Controller.h"

namespace {
std::map<Controller*, std::unique_ptr<RaidManager>>& managers() {
    static std::map<Controller*, std::unique_ptr<RaidManager>> table;
    return table;
}

struct StatusText {
    int code;
    const char* name;
    const char* description;
};

const StatusText kStatusTexts[] = {
    {CONTROLLER_STATUS_OPTIMAL, "optimal", "The controller is working normally"},
    {CONTROLLER_STATUS_NEED_ATTN, "needs_attention",
     "A virtual drive is degraded or offline, or a drive has failed"},
    {CONTROLLER_STATUS_SAFE_MODE, "safe_mode",
     "The controller booted in safe mode; check its event log"},
    {CONTROLLER_STATUS_CERT_PROV, "certificate_provisioning",
     "The controller is waiting for its security certificate to be provisioned"},
    {CONTROLLER_STATUS_FAILED, "failed", "The controller did not answer its information read"},
};

const StatusText* findStatus(int status) {
    for (const StatusText& text : kStatusTexts)
        if (text.code == status)
            return &text;
    return nullptr;
}
} // namespace

RaidManager* RaidManager::getInstance(Controller* controller) {
    if (!controller)
        return nullptr;
    auto& table = managers();
    auto it = table.find(controller);
    if (it == table.end())
        it = table.emplace(controller, std::unique_ptr<RaidManager>(new RaidManager(controller)))
                 .first;
    return it->second.get();
}

void RaidManager::release(Controller* controller) {
    managers().erase(controller);
}

unsigned char RaidManager::getControllerStatus() {
    auto info = std::make_unique<KV_CTRL_INFO>(); // value-initialised: all zero
    DcmdKviDpParams request(KV_DCMD_CTRL_GET_INFO, 0, 0, 0,
                            reinterpret_cast<unsigned char*>(info.get()), 0, 0, 0,
                            sizeof(KV_CTRL_INFO));
    if (controller_->execute(&request) != 0)
        return CONTROLLER_STATUS_FAILED;
    return deriveControllerStatus(*info);
}

unsigned char RaidManager::deriveControllerStatus(const KV_CTRL_INFO& info) {
    if (info.adapterStatus.safeModeBoot)
        return CONTROLLER_STATUS_SAFE_MODE;
    if (info.adapterStatus2.certificateProvision)
        return CONTROLLER_STATUS_CERT_PROV;
    if (info.ldDegradedCount != 0 || info.ldOfflineCount != 0 || info.pdDiskFailedCount != 0)
        return CONTROLLER_STATUS_NEED_ATTN;
    return CONTROLLER_STATUS_OPTIMAL;
}

const char* RaidManager::controllerStatusName(int status) {
    const StatusText* text = findStatus(status);
    return text ? text->name : "unknown";
}

const char* RaidManager::controllerStatusDescription(int status) {
    const StatusText* text = findStatus(status);
    return text ? text->description : "The controller reported a status this tool does not know";
}
