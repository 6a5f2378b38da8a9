#pragma once
// The controller's overall status, derived from its controller information.
#include "firmware/kv.h"

class Controller;

enum _CONTROLLER_STATUS : unsigned char {
    CONTROLLER_STATUS_OPTIMAL = 0,   // working normally
    CONTROLLER_STATUS_NEED_ATTN = 1, // a virtual drive is degraded or offline, or a drive failed
    CONTROLLER_STATUS_SAFE_MODE = 2, // booted in safe mode
    CONTROLLER_STATUS_CERT_PROV = 3, // waiting for certificate provisioning
    CONTROLLER_STATUS_FAILED = 15,   // the controller information could not be read
};

class RaidManager {
public:
    // The manager of `controller` (one per controller, kept until the
    // controller is destroyed), or nullptr for a null controller.
    static RaidManager* getInstance(Controller* controller);
    // Drops the manager of a controller (called by ~Controller).
    static void release(Controller* controller);

    // Reads the controller information afresh (KV_DCMD_CTRL_GET_INFO, standard
    // size) and derives the status; CONTROLLER_STATUS_FAILED when the read fails.
    unsigned char getControllerStatus();

    // Safe-mode boot -> safe mode; certificate provisioning -> that mode;
    // degraded or offline virtual drives or failed drives -> needs attention;
    // otherwise optimal.
    static unsigned char deriveControllerStatus(const KV_CTRL_INFO& info);

    // Stable lowercase token ("optimal", "needs_attention", "safe_mode",
    // "certificate_provisioning", "failed"; "unknown" otherwise) and a
    // one-line description for the user.
    static const char* controllerStatusName(int status);
    static const char* controllerStatusDescription(int status);

    Controller* controller() const { return controller_; }

private:
    explicit RaidManager(Controller* controller) : controller_(controller) {}
    Controller* controller_;
};
