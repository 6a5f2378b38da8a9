#include "provider/ProcessInputs.h"

#include <cstring>

bool isOEMhp = false;

namespace {
Resource gResource;
int gControllerType = 0;
} // namespace

Resource* gResStr = &gResource;

Resource::Resource() {
    reset(false);
}

void Resource::reset(bool oemHp) {
    std::memset(msgbuf, 0, sizeof msgbuf);
    STR_VD_OBJ = "Virtual Drive";
    STR_VD_DET_OBJ = "Virtual Drive Details";
    STR_RECON_OBJ = "Reconstruction";
    STR_DG_OBJ = "Drive Group";
    STR_DGS_OBJ = "Drive Groups";
    STR_CTRL_OBJ = "Controller";
    STR_EPD_OBJ = "Exposed Physical Drive";
    STR_JBOD_OBJ = "JBOD";
    STR_PD_OBJ = "Physical Drive";
    STR_OBJ_SPARE = "Hot Spare";
    STR_OBJ_PI = "Protection Information";
    STR_OBJ_BBU = oemHp ? "Energy Pack" : "BBU";
    STR_OBJ_MIGRATE = "Migration";
    STR_OBJ_SPARE2 = "Hot Spare";
    OemCheck = 0;
}

const char* Resource::entry(int number) const {
    const char* const texts[] = {
        STR_VD_OBJ,   STR_VD_DET_OBJ, STR_RECON_OBJ,   STR_DG_OBJ,     STR_DGS_OBJ,
        STR_CTRL_OBJ, STR_EPD_OBJ,    STR_JBOD_OBJ,    STR_PD_OBJ,     STR_OBJ_SPARE,
        STR_OBJ_PI,   STR_OBJ_BBU,    STR_OBJ_MIGRATE, STR_OBJ_SPARE2,
    };
    static_assert(sizeof(texts) / sizeof(texts[0]) == kLastEntry - kFirstEntry + 1,
                  "one text per entry number");
    static_assert(kBbuEntry - kFirstEntry == 11, "entry 37 is STR_OBJ_BBU");
    if (number < kFirstEntry || number > kLastEntry)
        return "";
    const char* text = texts[number - kFirstEntry];
    return text ? text : "";
}

namespace kvi {

void setProcessInputs(const ProcessInputs& inputs) {
    isOEMhp = inputs.isOEMhp;
    gResStr = &gResource;
    gResource.reset(inputs.isOEMhp);
    gResource.OemCheck = inputs.oemCheck;
    gControllerType = inputs.controllerType;
}

ProcessInputs processInputs() {
    ProcessInputs inputs;
    inputs.isOEMhp = isOEMhp;
    inputs.controllerType = gControllerType;
    inputs.oemCheck = gResStr ? gResStr->OemCheck : 0;
    return inputs;
}

void resetProcessInputs() {
    setProcessInputs(ProcessInputs());
}

} // namespace kvi
