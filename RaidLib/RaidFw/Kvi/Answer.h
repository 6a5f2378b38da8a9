#pragma once
// The shape most AdapterDataKvi queries share: the entry line, -1 for a null
// out-pointer (or arguments out of range), the record load (whose failure
// status is returned at once, with no exit line), the answer, the exit line, 0.
// Internal to the adapter's implementation files; not part of its interface.

#include <cstdint>
#include <ctime>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"

namespace kvi::adapter {

// `load` returns the load's status; `pick` the answer, called only after a
// successful load. `argsValid` false answers -1 like a null `out`.
template <typename T, typename Load, typename Pick>
int loadedAnswer(const char* name, T* out, Load load, Pick pick, bool argsValid = true) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr || !argsValid) {
        return -1;
    }
    const int rc = load();
    if (rc != 0) {
        return rc;
    }
    *out = static_cast<T>(pick());
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    return 0;
}

// An answer taken from the cached controller information.
template <typename T, typename Pick>
int infoAnswer(AdapterDataKvi& a, const char* name, T* out, Pick pick) {
    const KV_CTRL_INFO* info = nullptr;
    return loadedAnswer(
        name, out,
        [&] {
            int rc = 0;
            info = a.ctrlInfoOrStatus(&rc);
            return rc;
        },
        [&] { return pick(*info); });
}

// An answer taken from the cached manufacturing defaults.
template <typename T, typename Pick>
int mfcAnswer(AdapterDataKvi& a, const char* name, T* out, Pick pick) {
    const KV_MFC_DEFAULTS* mfc = nullptr;
    return loadedAnswer(
        name, out,
        [&] {
            int rc = 0;
            mfc = a.mfcDefaultsOrStatus(&rc);
            return rc;
        },
        [&] { return pick(*mfc); });
}

// A schedule's start time as local wall-clock time: like loadedAnswer, with
// `offset` the start's epoch offset taken from the loaded record; an offset
// that cannot be converted answers -1 (no exit line).
template <typename Load, typename Offset>
int schedStartAnswer(AdapterDataKvi& a, const char* name, tm* out, Load load, Offset offset) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        return -1;
    }
    const int rc = load();
    if (rc != 0) {
        return rc;
    }
    if (a.schedOffsetToLocal(offset(), out) != 0) {
        return -1;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    return 0;
}

} // namespace kvi::adapter
