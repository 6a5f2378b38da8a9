#pragma once
// Byte helpers the adapter's implementation files share: the standard record
// size of a direct command, unaligned 32-bit reads and writes, zeroed
// caller-owned buffers and the provider check of the raw requests.
// Internal to the adapter's implementation files; not part of its interface.

#include <cstdint>
#include <cstring>
#include <new>

#include "firmware/kvi.h"
#include "provider/DebugLog.h"
#include "provider/KviDataProvider.h"

namespace kvi::adapter {

// The standard record size of a direct command, 0 when the opcode is unknown.
inline std::uint32_t standardSize(std::uint32_t opcode) {
    const KV_DCMD_INFO* row = kvDcmdInfo(opcode);
    return row != nullptr ? row->standardSize : 0;
}

inline std::uint32_t u32At(const unsigned char* p) {
    std::uint32_t v = 0;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline void putU32(unsigned char* p, std::uint32_t v) {
    std::memcpy(p, &v, sizeof v);
}

// A zeroed buffer the caller releases with delete[]; never of length 0.
inline unsigned char* newBytes(std::uint32_t n) {
    return new (std::nothrow) unsigned char[n > 0 ? n : 1]();
}

inline bool providerAvailable(const char* name) {
    if (KviDataProvider::getInstance(0xFF) == nullptr) {
        DEBUG_LOG(WARNING, "Exiting AdapterDataKvi::%s as data provider is not available", name);
        return false;
    }
    return true;
}

} // namespace kvi::adapter
