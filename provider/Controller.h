#pragma once
// A controller as the adapter sees it: something that executes requests and
// knows where it sits on the PCI bus.
#include "firmware/kv.h"
#include "provider/Backend.h"
#include "provider/ControllerId.h"
#include "provider/DpParams.h"

class Controller {
public:
    explicit Controller(const ControllerId& id = ControllerId()) : id_(id) {}
    virtual ~Controller();
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    // Sends one request and waits for it. Returns the firmware status (0 =
    // success; the buffer then holds the answer), a negative kvi::LocalStatus
    // when the backend failed, or -1 for a null request.
    virtual int execute(DpParams* params) = 0;

    // Fills the PCI address and maximum link width; returns 0 or a failure code.
    virtual int getPciInfo(KV_DRV_PCI_INFORMATION* info) = 0;

    ControllerId* getControllerId() { return &id_; }

private:
    ControllerId id_;
};

// The Controller of every real backend (simulator, pass-through device, replay):
// applies the standard-size rule and the buffer bound of provider/Transfer.h and
// hands each request to the backend.
class BackendController : public Controller {
public:
    explicit BackendController(kvi::Backend& backend, const ControllerId& id = ControllerId())
        : Controller(id), backend_(backend) {}

    int execute(DpParams* params) override;
    // On success the record is cleared and busNumber, deviceNumber,
    // functionNumber, domainID and capability.linkCapability.linkWidth are set.
    int getPciInfo(KV_DRV_PCI_INFORMATION* info) override;

    kvi::Backend& backend() { return backend_; }

private:
    kvi::Backend& backend_;
};
