#pragma once
// Process-wide inputs read by the report sections: the OEM host flag, the
// object-name texts of the shared resource object and the controller type.
// They are set once at start-up (from the backend or the simulator profile) with
// kvi::setProcessInputs, and tests set and reset them explicitly.

// True on hosts of the OEM kind that keeps the serial number in the controller
// information and names the battery "Energy Pack".
extern bool isOEMhp;

// The shared resource texts. Report sections format object names into keys
// ("%s Rate" with STR_RECON_OBJ) and may use msgbuf as scratch.
class Resource {
public:
    Resource();

    char msgbuf[200];
    const char* STR_VD_OBJ;
    const char* STR_VD_DET_OBJ;
    const char* STR_RECON_OBJ;
    const char* STR_DG_OBJ;
    const char* STR_DGS_OBJ;
    const char* STR_CTRL_OBJ;
    const char* STR_EPD_OBJ;
    const char* STR_JBOD_OBJ;
    const char* STR_PD_OBJ;
    const char* STR_OBJ_SPARE;
    const char* STR_OBJ_PI;
    const char* STR_OBJ_BBU;
    const char* STR_OBJ_MIGRATE;
    const char* STR_OBJ_SPARE2;
    int OemCheck;

    // The object-name texts are also numbered, in the order above, from
    // kFirstEntry (STR_VD_OBJ) to kLastEntry (STR_OBJ_SPARE2); entry 37 is the
    // battery's name. Returns "" for any other number.
    static constexpr int kFirstEntry = 26;
    static constexpr int kBbuEntry = 37;
    static constexpr int kLastEntry = 39;
    const char* entry(int number) const;

    // Back to the built-in texts for the given OEM flag ("BBU" or "Energy Pack").
    void reset(bool oemHp);
};

// Always points to a valid Resource.
extern Resource* gResStr;

namespace kvi {

struct ProcessInputs {
    bool isOEMhp = false;
    int controllerType = 0; // default answer of ControllerId::getControllerType()
    int oemCheck = 0;
};

// Sets isOEMhp, the resource texts (battery name follows isOEMhp, msgbuf is
// cleared) and the default controller type.
void setProcessInputs(const ProcessInputs& inputs);
ProcessInputs processInputs();
// Back to the defaults above.
void resetProcessInputs();

} // namespace kvi
