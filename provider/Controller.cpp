#include "provider/Controller.h"

#include <cstring>

#include "provider/RaidManager.h"
#include "provider/Transfer.h"

Controller::~Controller() {
    RaidManager::release(this);
}

int BackendController::execute(DpParams* params) {
    if (!params)
        return -1;
    switch (params->kind()) {
    case DpParams::Kind::Dcmd:
    case DpParams::Kind::DcmdPrivate:
    case DpParams::Kind::Driver: {
        auto* dcmd = static_cast<DcmdKviDpParams*>(params);
        kvi::CommandKind kind = params->kind() == DpParams::Kind::Driver
                                    ? kvi::CommandKind::Driver
                                    : kvi::CommandKind::Firmware;
        return kvi::submitBounded(backend_, kind, dcmd->getOpcode(), dcmd->mbox().b,
                                  dcmd->getBuffer(), dcmd->getCapacity(), dcmd->getLength(),
                                  dcmd->hasDirection() ? dcmd->getDirection() : -1);
    }
    case DpParams::Kind::Smp: {
        auto* smp = static_cast<SMPKviDpParams*>(params);
        kvi::SmpCommand cmd;
        cmd.sasAddress = smp->getSasAddress();
        cmd.port = smp->getPort();
        // A missing buffer carries nothing, whatever length was stated.
        cmd.request = smp->getRequest();
        cmd.requestLength = smp->getRequest() ? smp->getRequestLength() : 0;
        cmd.response = smp->getResponse();
        cmd.responseLength = smp->getResponse() ? smp->getResponseLength() : 0;
        return backend_.submitSmp(cmd);
    }
    }
    return -1;
}

int BackendController::getPciInfo(KV_DRV_PCI_INFORMATION* info) {
    if (!info)
        return -1;
    kvi::PciLocation location;
    int status = backend_.pciLocation(location);
    if (status != 0)
        return status;
    std::memset(info, 0, sizeof *info);
    info->busNumber = location.bus;
    info->deviceNumber = location.device;
    info->functionNumber = location.function;
    info->domainID = location.domain;
    info->capability.linkCapability.linkWidth = location.linkWidth & 0x3Fu;
    return 0;
}
