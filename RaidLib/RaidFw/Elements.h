#pragma once
// The few drive-layer element types the adapter needs for the boot device: a
// virtual drive named by its target id, a physical drive named by its device
// id, and the virtual-drive identifier handed back by getBootVdId. The command
// line builds VirtualDisk and PhysicalDevice straight from the ids the user
// gives.

#include "provider/ControllerId.h"

// Identifier of a virtual drive.
class VdId : public RaidElementId {
public:
    explicit VdId(unsigned short targetId) : targetId_(targetId) {}

    unsigned short getTargetId() const { return targetId_; }

private:
    unsigned short targetId_;
};

// Identifier of a virtual drive on a controller of this firmware interface. The
// first argument is the drive group the drive belongs to and the third its
// sequence number; 0xFF and 0xFFFF mean "not known", which is how the boot
// drive is described (only its target id is stored in the BIOS settings).
class VdIdKvi : public VdId {
public:
    VdIdKvi(unsigned char group, unsigned short targetId, unsigned short seqNum)
        : VdId(targetId), group_(group), seqNum_(seqNum) {}

    unsigned char getGroup() const { return group_; }
    unsigned short getSeqNum() const { return seqNum_; }

private:
    unsigned char group_;
    unsigned short seqNum_;
};

// Any element of the model that has an identifier.
class RaidElement {
public:
    virtual ~RaidElement() = default;
    virtual RaidElementId* getId() = 0;
};

// A virtual drive, named by its target id. Its identifier is a VdIdKvi with
// the group and sequence number not known.
class VirtualDisk : public RaidElement {
public:
    explicit VirtualDisk(unsigned short targetId) : id_(0xFF, targetId, 0xFFFF) {}

    // Covariant: callers that hold a VirtualDisk get the target id without a cast.
    VdId* getId() override { return &id_; }

private:
    VdIdKvi id_;
};

// A physical drive, named by its device id.
class PhysicalDevice : public RaidElement {
public:
    explicit PhysicalDevice(unsigned short deviceId) : deviceId_(deviceId) {}

    RaidElementId* getId() override { return &id_; }

    // Writes the device id; returns 0, or -1 for a null out-pointer.
    virtual int getDeviceId(unsigned short* out) {
        if (out == nullptr) {
            return -1;
        }
        *out = deviceId_;
        return 0;
    }

private:
    unsigned short deviceId_;
    RaidElementId id_;
};
