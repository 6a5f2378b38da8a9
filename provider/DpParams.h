#pragma once
// Request objects handed to Controller::execute: one object per request, built
// on the caller's stack and dropped after execute returns.
//
// Direct commands carry an opcode, a 12-byte mailbox and an optional buffer.
// Length 0 asks for the opcode's standard transfer size (provider/Transfer.h).
// Every request may also state the capacity of the caller's buffer; the
// provider never lets a backend write more than that into it, handing the
// backend a zeroed scratch buffer when the caller's buffer is smaller than the
// transfer. Without a stated capacity the buffer is trusted to hold the
// transfer length.
#include <cstdint>

#include "firmware/kvi.h"

class DpParams {
public:
    enum class Kind : std::uint8_t {
        Dcmd,        // firmware direct command
        DcmdPrivate, // firmware direct command of the private diagnostic kind
        Driver,      // command answered by the host driver
        Smp,         // SAS SMP pass-through
    };
    static constexpr unsigned int kCapacityUnknown = 0xFFFFFFFFu;

    virtual ~DpParams() = default;
    Kind kind() const { return kind_; }

protected:
    explicit DpParams(Kind kind) : kind_(kind) {}
    DpParams(const DpParams&) = default;
    DpParams& operator=(const DpParams&) = default;

private:
    Kind kind_;
};

class DcmdKviDpParams : public DpParams {
public:
    // Word form: the mailbox given as words 0, 1, 2. The two trailing values
    // (flags, timeout) are carried as given; this tool always passes 0.
    DcmdKviDpParams(unsigned int opcode, unsigned int mbox0, unsigned int mbox1, unsigned int mbox2,
                    unsigned char* buffer, unsigned int length, unsigned short flags, int timeout,
                    unsigned int capacity = kCapacityUnknown);
    // Mailbox form: the mailbox built byte by byte.
    DcmdKviDpParams(unsigned int opcode, DCMD_MBOX mbox, unsigned char* buffer, unsigned int length,
                    unsigned short flags, int timeout, unsigned int capacity = kCapacityUnknown);

    unsigned int getOpcode() const { return opcode_; }
    // The mailbox; after execute it holds the mailbox as the controller left it.
    const DCMD_MBOX& getMbox() const { return mbox_; }
    DCMD_MBOX& mbox() { return mbox_; }
    unsigned int getmboxW0() const { return mbox_.w[0]; }
    unsigned int getmboxW1() const { return mbox_.w[1]; }
    unsigned int getmboxW2() const { return mbox_.w[2]; }

    unsigned char* getBuffer() const { return buffer_; }
    unsigned int getLength() const { return length_; }
    unsigned short getFlags() const { return flags_; }
    int getTimeout() const { return timeout_; }

    unsigned int getCapacity() const { return capacity_; }
    void setCapacity(unsigned int capacity) { capacity_ = capacity; }

    // Direction normally comes from the opcode table; a caller may state it.
    void setDirection(KVI_XFER_DIR direction) {
        direction_ = direction;
        directionSet_ = true;
    }
    bool hasDirection() const { return directionSet_; }
    KVI_XFER_DIR getDirection() const { return direction_; }

protected:
    DcmdKviDpParams(Kind kind, unsigned int opcode, DCMD_MBOX mbox, unsigned char* buffer,
                    unsigned int length, unsigned short flags, int timeout, unsigned int capacity);

private:
    unsigned int opcode_;
    DCMD_MBOX mbox_;
    unsigned char* buffer_;
    unsigned int length_;
    unsigned short flags_;
    int timeout_;
    unsigned int capacity_;
    KVI_XFER_DIR direction_ = KVI_XFER_NONE;
    bool directionSet_ = false;
};

// The private diagnostic request; same arguments as the mailbox form.
class DcmdKviDpPrvParams : public DcmdKviDpParams {
public:
    DcmdKviDpPrvParams(unsigned int opcode, DCMD_MBOX mbox, unsigned char* buffer,
                       unsigned int length, unsigned short flags, int timeout,
                       unsigned int capacity = kCapacityUnknown);
};

// A command answered by the host driver (KV_DRV_GET_DRIVER_VERSION); same
// arguments as the word form.
class DriverKviDPParams : public DcmdKviDpParams {
public:
    DriverKviDPParams(unsigned int opcode, unsigned int mbox0, unsigned int mbox1,
                      unsigned int mbox2, unsigned char* buffer, unsigned int length,
                      unsigned short flags, int timeout, unsigned int capacity = kCapacityUnknown);
};

// A SAS SMP pass-through to an expander. The request buffer holds
// requestLength bytes, the response buffer responseLength bytes. The values
// after responseLength are carried as given (this tool passes 0).
class SMPKviDpParams : public DpParams {
public:
    SMPKviDpParams(KVI_CMD_OP op, unsigned long long sasAddress, unsigned char port,
                   unsigned char* request, unsigned char* response, unsigned int requestLength,
                   unsigned int responseLength, unsigned char connectionRate, unsigned char retries,
                   unsigned char frameFlags, unsigned short flags, int timeout,
                   unsigned char reserved0, unsigned char reserved1);

    KVI_CMD_OP getOp() const { return op_; }
    unsigned long long getSasAddress() const { return sasAddress_; }
    unsigned char getPort() const { return port_; }
    unsigned char* getRequest() const { return request_; }
    unsigned char* getResponse() const { return response_; }
    unsigned int getRequestLength() const { return requestLength_; }
    unsigned int getResponseLength() const { return responseLength_; }
    unsigned char getConnectionRate() const { return connectionRate_; }
    unsigned char getRetries() const { return retries_; }
    unsigned char getFrameFlags() const { return frameFlags_; }
    unsigned short getFlags() const { return flags_; }
    int getTimeout() const { return timeout_; }
    unsigned char getReserved0() const { return reserved0_; }
    unsigned char getReserved1() const { return reserved1_; }

private:
    KVI_CMD_OP op_;
    unsigned long long sasAddress_;
    unsigned char port_;
    unsigned char* request_;
    unsigned char* response_;
    unsigned int requestLength_;
    unsigned int responseLength_;
    unsigned char connectionRate_;
    unsigned char retries_;
    unsigned char frameFlags_;
    unsigned short flags_;
    int timeout_;
    unsigned char reserved0_;
    unsigned char reserved1_;
};
