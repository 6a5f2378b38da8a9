#pragma once
// Byte helpers the adapter's implementation files share: the standard record
// size of a direct command, unaligned 32-bit reads and writes, zeroed
// caller-owned buffers and the provider check of the raw requests; and the
// request codes and answer layouts of the feature operations (features.cpp,
// pages.cpp, diagnostics.cpp, personality.cpp).
// Internal to the adapter's implementation files; not part of its interface.

#include <cstddef>
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

// Auto-configuration sub-functions (mailbox w[0] of KV_DCMD_CFG_AUTOCFG).
constexpr std::uint32_t kAutoCfgGetParam = 0;
constexpr std::uint32_t kAutoCfgSetParam = 1;
constexpr std::uint32_t kAutoCfgSetPdCache = 2;
constexpr std::uint32_t kAutoCfgGetPdCache = 3;

// Logical-drive id list of the SSD cache (KV_DCMD_LD_SSCD_GET_LDS / _SET_LDS):
// size U32, count U32, then one target id byte per drive; at most 256 ids.
constexpr std::uint32_t kSscdMaxIds = 256;

// Configuration-page actions (byte 0 of the pass-through frame) and the
// manufacturing page type.
constexpr std::uint8_t kPageActionHeader = 0;
constexpr std::uint8_t kPageActionRead = 1;
constexpr std::uint8_t kPageActionWrite = 2;
constexpr std::uint8_t kPageTypeManufacturing = 0x09;

// Controller page reads (KV_DCMD_CTRL_CONFIG_PAGE_GET): mailbox b[0] the page
// kind, b[1] the page number.
constexpr std::uint8_t kCtrlPageMfgExt = 1;
constexpr std::uint8_t kCtrlPageSecurity = 2;

// Snap dump reads (mailbox b[0] of KV_DCMD_CTRL_SNAPDUMP_GET).
constexpr std::uint8_t kSnapDumpHeader = 1;
constexpr std::uint8_t kSnapDumpData = 2;

// Phy loopback answer: count U32, reserved U32, then up to 24 results of 8
// bytes (phy U8, result U8 with 0 = passed, reserved U16, error count U32).
constexpr std::uint32_t kLoopbackMaxResults = 24;
constexpr std::uint32_t kLoopbackResultSize = 8;
constexpr std::uint32_t kLoopbackLength = 8 + kLoopbackMaxResults * kLoopbackResultSize;

// SMP REPORT GENERAL: request frame (type 0x40, function 0x00) with room for
// its CRC; the response (type 0x41) has the function result at byte 2 and the
// expander's number of phys at byte 9.
constexpr std::uint8_t kSmpRequestFrame = 0x40;
constexpr std::uint8_t kSmpResponseFrame = 0x41;
constexpr std::uint8_t kSmpReportGeneral = 0x00;
constexpr std::uint32_t kSmpRequestLength = 8;
constexpr std::uint32_t kSmpResponseLength = 64;
constexpr std::size_t kSmpNumPhysOffset = 9;

// Personality codes, as the current-personality bitmap uses them.
constexpr unsigned short kPersonalitySds = 4;
constexpr unsigned short kPersonalityJbod = 8;

} // namespace kvi::adapter
