#pragma once
// Element identifiers: RaidElementId names one element (controller, drive,
// virtual drive) of the tool's model; ControllerId names a controller.

class RaidElementId {
public:
    explicit RaidElementId(unsigned int controllerIndex = 0) : controllerIndex_(controllerIndex) {}
    virtual ~RaidElementId() = default;
    RaidElementId(const RaidElementId&) = default;
    RaidElementId& operator=(const RaidElementId&) = default;

    // The number of the controller the element belongs to (0 = first).
    unsigned int getControllerIndex() const { return controllerIndex_; }

private:
    unsigned int controllerIndex_;
};

class ControllerId : public RaidElementId {
public:
    explicit ControllerId(unsigned int controllerIndex = 0) : RaidElementId(controllerIndex) {}

    // The controller's type: the one set for this controller, else the
    // process-wide controller type (kvi::ProcessInputs::controllerType). Type 1
    // withholds serial number, revision and firmware package, and takes the
    // driver version by a driver command.
    virtual int getControllerType() const;
    void setControllerType(int type) {
        type_ = type;
        typeSet_ = true;
    }
    void clearControllerType() { typeSet_ = false; }

private:
    int type_ = 0;
    bool typeSet_ = false;
};
