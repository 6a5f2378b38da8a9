#pragma once
// RaidElementData: the base of every per-element data object. It keeps the
// controller that executes the element's requests, that controller's identity
// and the element's own identifier. None of the three is owned.

#include "provider/Controller.h"
#include "provider/ControllerId.h"

class RaidElementData {
public:
    // The controller identity is taken from the controller itself, so the two
    // can never disagree. A null controller leaves both pointers null.
    RaidElementData(Controller* controller, RaidElementId* id)
        : controllerPtr_(controller),
          controllerIdPtr_(controller != nullptr ? controller->getControllerId() : nullptr),
          idPtr_(id) {}
    virtual ~RaidElementData() = default;

    RaidElementData(const RaidElementData&) = delete;
    RaidElementData& operator=(const RaidElementData&) = delete;

    Controller* getController() const { return controllerPtr_; }
    ControllerId* getControllerId() const { return controllerIdPtr_; }
    RaidElementId* getElementId() const { return idPtr_; }

protected:
    Controller* controllerPtr_;
    ControllerId* controllerIdPtr_;
    RaidElementId* idPtr_;
};
