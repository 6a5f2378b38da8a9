#include "provider/DpParams.h"

namespace {
DCMD_MBOX wordsToMbox(unsigned int w0, unsigned int w1, unsigned int w2) {
    DCMD_MBOX mbox{};
    mbox.w[0] = w0;
    mbox.w[1] = w1;
    mbox.w[2] = w2;
    return mbox;
}
} // namespace

DcmdKviDpParams::DcmdKviDpParams(Kind kind, unsigned int opcode, DCMD_MBOX mbox,
                                 unsigned char* buffer, unsigned int length, unsigned short flags,
                                 int timeout, unsigned int capacity)
    : DpParams(kind), opcode_(opcode), mbox_(mbox), buffer_(buffer), length_(length), flags_(flags),
      timeout_(timeout), capacity_(capacity) {}

DcmdKviDpParams::DcmdKviDpParams(unsigned int opcode, unsigned int mbox0, unsigned int mbox1,
                                 unsigned int mbox2, unsigned char* buffer, unsigned int length,
                                 unsigned short flags, int timeout, unsigned int capacity)
    : DcmdKviDpParams(Kind::Dcmd, opcode, wordsToMbox(mbox0, mbox1, mbox2), buffer, length, flags,
                      timeout, capacity) {}

DcmdKviDpParams::DcmdKviDpParams(unsigned int opcode, DCMD_MBOX mbox, unsigned char* buffer,
                                 unsigned int length, unsigned short flags, int timeout,
                                 unsigned int capacity)
    : DcmdKviDpParams(Kind::Dcmd, opcode, mbox, buffer, length, flags, timeout, capacity) {}

DcmdKviDpPrvParams::DcmdKviDpPrvParams(unsigned int opcode, DCMD_MBOX mbox, unsigned char* buffer,
                                       unsigned int length, unsigned short flags, int timeout,
                                       unsigned int capacity)
    : DcmdKviDpParams(Kind::DcmdPrivate, opcode, mbox, buffer, length, flags, timeout, capacity) {}

DriverKviDPParams::DriverKviDPParams(unsigned int opcode, unsigned int mbox0, unsigned int mbox1,
                                     unsigned int mbox2, unsigned char* buffer, unsigned int length,
                                     unsigned short flags, int timeout, unsigned int capacity)
    : DcmdKviDpParams(Kind::Driver, opcode, wordsToMbox(mbox0, mbox1, mbox2), buffer, length, flags,
                      timeout, capacity) {}

SMPKviDpParams::SMPKviDpParams(KVI_CMD_OP op, unsigned long long sasAddress, unsigned char port,
                               unsigned char* request, unsigned char* response,
                               unsigned int requestLength, unsigned int responseLength,
                               unsigned char connectionRate, unsigned char retries,
                               unsigned char frameFlags, unsigned short flags, int timeout,
                               unsigned char reserved0, unsigned char reserved1)
    : DpParams(Kind::Smp), op_(op), sasAddress_(sasAddress), port_(port), request_(request),
      response_(response), requestLength_(requestLength), responseLength_(responseLength),
      connectionRate_(connectionRate), retries_(retries), frameFlags_(frameFlags), flags_(flags),
      timeout_(timeout), reserved0_(reserved0), reserved1_(reserved1) {}
