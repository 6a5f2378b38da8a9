// Cache and write policies of AdapterDataKvi: the drive-mix rules, the default
// read, write, cache and disk-cache policies, the policy lists and the write
// policy offered on a change (which depends on a battery or flash backup).
#include <cstdint>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"

namespace {

using namespace kvi::adapter;

// A fixed list handed to the caller.
int fixedList(const char* name, ArrayList<unsigned char>** out, unsigned char first,
              unsigned char second) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        return -1;
    }
    ArrayList<unsigned char>* list = newList();
    if (list == nullptr) {
        return -1;
    }
    list->add(first);
    list->add(second);
    *out = list;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    return 0;
}

} // namespace

// ---------------------------------------------------------------------------
// Drive mix, default policies and policy lists

int AdapterDataKvi::isAllowMixInLd(bool* out) {
    return infoAnswer(*this, "isAllowMixInLd", out,
                      [](const KV_CTRL_INFO& i) { return i.pdMixSupport.allowMixInLD != 0; });
}

int AdapterDataKvi::isAllowHDDSSDMix(bool* out) {
    return infoAnswer(*this, "isAllowHDDSSDMix", out,
                      [](const KV_CTRL_INFO& i) { return i.pdMixSupport.allowMixSSDHDDInLD != 0; });
}

int AdapterDataKvi::isAllowSSDMixInLd(bool* out) {
    return infoAnswer(*this, "isAllowSSDMixInLd", out,
                      [](const KV_CTRL_INFO& i) { return i.pdMixSupport.allowSSDMixInLD != 0; });
}

// Manufacturing write-back code to the tool's write policy code.
int AdapterDataKvi::getDefaultWrPolicy(unsigned char* out) {
    int rc = 0;
    const KV_MFC_DEFAULTS* mfc = enterMfc(*this, "getDefaultWrPolicy", out, &rc);
    if (mfc == nullptr) {
        return rc;
    }
    switch (mfc->writeBack) {
    case 0:
        *out = 1;
        break;
    case 1:
        *out = 0;
        break;
    case 2:
        *out = 2;
        break;
    default:
        rc = -1;
        break;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getDefaultWrPolicy retCode = %d", rc);
    return rc;
}

// The raw read-ahead code is written first and stays there when it has no
// mapping.
int AdapterDataKvi::getDefaultRdPolicy(unsigned char* out) {
    int rc = 0;
    const KV_MFC_DEFAULTS* mfc = enterMfc(*this, "getDefaultRdPolicy", out, &rc);
    if (mfc == nullptr) {
        return rc;
    }
    *out = mfc->readAhead;
    switch (mfc->readAhead) {
    case 0:
        *out = 2;
        break;
    case 1:
    case 2:
        *out = 0;
        break;
    default:
        return -1;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getDefaultRdPolicy");
    return 0;
}

int AdapterDataKvi::getDefaultCachePolicy(unsigned char* out) {
    return mfcAnswer(*this, "getDefaultCachePolicy", out, [](const KV_MFC_DEFAULTS& m) {
        return static_cast<unsigned char>(m.cachedIo == 1 ? 0 : 1);
    });
}

int AdapterDataKvi::getDefaultDiskCachePolicy(unsigned char* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getDefaultDiskCachePolicy");
    if (out == nullptr) {
        return -1;
    }
    int oem = 0;
    const int rc = getOem(&oem);
    if (rc != 0) {
        return rc;
    }
    *out = (oem == 6 || oem == 7 || oem == 9) ? 2 : 0;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getDefaultDiskCachePolicy");
    return 0;
}

int AdapterDataKvi::getDefaultWriteCacheBadBBU(unsigned char* out) {
    int rc = 0;
    const KV_MFC_DEFAULTS* mfc = enterMfc(*this, "getDefaultWriteCacheBadBBU", out, &rc);
    if (mfc == nullptr) {
        return rc;
    }
    if (mfc->cacheWhenBBUBad > 1) {
        return -1;
    }
    *out = mfc->cacheWhenBBUBad;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getDefaultWriteCacheBadBBU");
    return 0;
}

int AdapterDataKvi::getDiskCertificationPolicy(unsigned char* out) {
    return mfcAnswer(*this, "getDiskCertificationPolicy", out,
                     [](const KV_MFC_DEFAULTS& m) { return m.allowUnCertifiedHDDs; });
}

int AdapterDataKvi::getValidWrPolicyLst(ArrayList<unsigned char>** out) {
    return fixedList("getValidWrPolicyLst", out, 1, 0);
}

int AdapterDataKvi::getValidRdPolicyLst(ArrayList<unsigned char>** out) {
    return fixedList("getValidRdPolicyLst", out, 2, 0);
}

int AdapterDataKvi::getValidCachePolicy(ArrayList<unsigned char>** out) {
    return fixedList("getValidCachePolicy", out, 1, 0);
}

int AdapterDataKvi::isDskCachePlChnglb(bool* out) {
    return infoAnswer(*this, "isDskCachePlChnglb", out,
                      [](const KV_CTRL_INFO& i) { return i.ldOperations.diskCachePolicy != 0; });
}

// Reads the controller information afresh (not the cache) into a local record.
int AdapterDataKvi::isWritePolicy(unsigned char* out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::isWritePolicy");
    if (out == nullptr) {
        return -1;
    }
    KV_CTRL_INFO info{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_GET_INFO, kviMbox(), &info);
    if (rc == 0) {
        *out = static_cast<unsigned char>(info.ldOperations.writePolicy);
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::isWritePolicy");
    }
    return rc;
}

// Default write policy offered when the policy is changed, from the
// manufacturing defaults and whether a battery or flash backup is present.
int AdapterDataKvi::getWrPolicyDefaultChng(unsigned char* out) {
    int rc = 0;
    const KV_MFC_DEFAULTS* mfc = enterMfc(*this, "getWrPolicyDefaultChng", out, &rc);
    if (mfc == nullptr) {
        return rc;
    }
    bool bbu = false;
    rc = getCtrlInfoBbu(&bbu);
    if (rc != 0) {
        return rc;
    }
    const std::uint8_t w = mfc->writeBack;
    const std::uint8_t c = mfc->cacheWhenBBUBad;
    unsigned char policy = 3;
    if (w == 0) {
        policy = 1;
    } else if (w == 1) {
        if (!bbu && c == 0) {
            policy = 1;
        } else if (c != 0) {
            policy = 3;
        } else {
            policy = 0;
        }
    }
    *out = policy;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getWrPolicyDefaultChng");
    return 0;
}

// [1], or [1, 0, 3] when a backup unit is present and the controller offers
// the write policy change.
int AdapterDataKvi::getValidWrPolicyLstChng(ArrayList<unsigned char>** out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getValidWrPolicyLstChng");
    if (out == nullptr) {
        return -1;
    }
    ArrayList<unsigned char>* list = newList();
    if (list == nullptr) {
        return -1;
    }
    bool bbu = false;
    unsigned char policy = 0;
    int rc = getCtrlInfoBbu(&bbu);
    if (rc == 0) {
        rc = getDefaultWrPolicy(&policy);
    }
    if (rc == 0) {
        rc = getDefaultWriteCacheBadBBU(&policy);
    }
    if (rc != 0) {
        delete list;
        return rc;
    }
    unsigned char wp = 0;
    isWritePolicy(&wp); // its status does not matter: no answer means "no"
    list->add(1);
    if (bbu && wp == 1) {
        list->add(0);
        list->add(3);
    }
    *out = list;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getValidWrPolicyLstChng");
    return 0;
}
