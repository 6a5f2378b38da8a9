// Consistency-check schedule operations of AdapterDataKvi.
//
// The schedule follows the patrol read schedule (patrol.cpp): two record forms
// chosen by the controller's logical-drive limit, the same epoch and time
// helpers. It differs where the firmware's own tools differ: the schedule is
// kept once read (short form), a load failure is passed through rather than
// turned into -1, a delay of 0 means "no delay" and is stored as 0xFFFFFFFF,
// and setCcSchedMode changes any subset of the schedule in one write (the
// single-field setters change one field and leave the others as held).
#include <cstdint>
#include <ctime>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/DebugLog.h"

namespace {

using namespace kvi::adapter;

// A value of the consistency-check status, read afresh.
template <typename T, typename Pick>
int ccStatusAnswer(AdapterDataKvi& a, const char* name, T* out, Pick pick) {
    KV_CC_SCHEDULE_STATUS status{};
    return loadedAnswer(
        name, out, [&] { return a.getCcScStatus(&status); }, [&] { return pick(status); });
}

constexpr std::uint8_t kCcModeConcurrent = 2; // KV_CC_SCHEDULE_MODE_CONCURRENT
constexpr std::uint32_t kNoDelay = 0xFFFFFFFFu;
constexpr std::uint32_t kMktimeFailure32 = 0xFFFFFFFFu;

// execFreq as stored: 0 means "no delay", which the firmware knows as all ones.
std::uint32_t storedDelay(std::uint32_t delay) {
    return delay == 0 ? kNoDelay : delay;
}

} // namespace

// The firmware answers "invalid command" when it has no consistency-check
// scheduler; any other answer, failures included, means it has one.
int AdapterDataKvi::ccSchedSupported() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::ccSchedSupported");
    delete kvCcScProp_;
    kvCcScProp_ = nullptr;
    delete kvCcScPropExt_;
    kvCcScPropExt_ = nullptr;
    if (getCcScProperties() == KVI_STAT_INVALID_DCMD) {
        return 0;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::ccSchedSupported");
    return 1;
}

int AdapterDataKvi::setCcSchedMode(unsigned char mode, const ArrayList<unsigned short>* excluded,
                                   const tm* start, unsigned int delay) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setCcSchedMode");
    // A list the short form cannot hold is refused before anything changes.
    int rc = schedChangeStart(*this, excluded, [this] { return getCcScProperties(); });
    if (rc != 0) {
        return rc;
    }
    rc = getCtlrInfo();
    if (rc != 0) {
        return rc;
    }
    KV_CC_SCHEDULE_PROPERTIES* legacy = kvCcScProp_;
    KV_CC_SCHEDULE_PROPERTIES_EXT* ext = legacy == nullptr ? kvCcScPropExt_ : nullptr;

    // A concurrent schedule checks as many logical drives at once as the
    // controller supports.
    const std::uint8_t maxLds = kvCtrlInfoPtr_->maxLDs;
    if (legacy != nullptr) {
        legacy->opMode = mode;
        if (mode == kCcModeConcurrent) {
            legacy->maxLds = maxLds;
        }
    } else {
        ext->opMode = mode;
        if (mode == kCcModeConcurrent) {
            ext->maxLds = maxLds;
        }
    }

    if (excluded != nullptr) {
        if (legacy != nullptr) {
            schedListToLegacyExcluded(*excluded, *legacy);
        } else {
            schedListToMapExcluded(*excluded, *ext);
        }
    }

    // A date whose day and year are both 0 leaves the start time as it is.
    // Unlike setCcScStartTime there is no range check: a time before the
    // epoch is stored wrapped (32-bit arithmetic).
    if (start != nullptr && (start->tm_mday != 0 || start->tm_year != 0)) {
        tm copy = *start;
        copy.tm_isdst = 0;
        const auto t = static_cast<std::uint32_t>(mktime(&copy));
        if (t != kMktimeFailure32) {
            const std::uint32_t next = t - static_cast<std::uint32_t>(y2kTime());
            if (legacy != nullptr) {
                legacy->nextExec = next;
            } else {
                ext->nextExec = next;
            }
        }
    }

    // All ones leaves the delay as it is.
    if (delay != kNoDelay) {
        if (legacy != nullptr) {
            legacy->execFreq = storedDelay(delay);
        } else {
            ext->execFreq = storedDelay(delay);
        }
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setCcSchedMode");
    return setCcScProperties();
}

int AdapterDataKvi::setCcSchedExcludedLdList(const ArrayList<unsigned short>* list) {
    return schedExcludedChange(
        *this, "setCcSchedExcludedLdList", list, [this] { return getCcScProperties(); },
        [this](const ArrayList<unsigned short>& l) {
            if (kvCcScProp_ != nullptr) {
                schedListToLegacyExcluded(l, *kvCcScProp_);
            } else {
                schedListToMapExcluded(l, *kvCcScPropExt_);
            }
        },
        [this] { return setCcScProperties(); });
}

int AdapterDataKvi::getCcSchedMode(unsigned char* out) {
    return loadedAnswer(
        "getCcSchedMode", out, [this] { return getCcScProperties(); },
        [this] { return withCcRecord([](const auto& r) { return r.opMode; }); });
}

int AdapterDataKvi::getCcSchedExecDelay(unsigned int* out) {
    return loadedAnswer(
        "getCcSchedExecDelay", out, [this] { return getCcScProperties(); },
        [this] { return withCcRecord([](const auto& r) { return r.execFreq; }); });
}

// Here all ones is not a keep-as-is marker: it is stored (and 0 becomes it).
int AdapterDataKvi::setCcScExecDelay(unsigned int delay) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setCcScExecDelay");
    const int rc = getCcScProperties();
    if (rc != 0) {
        return rc;
    }
    if (kvCcScProp_ != nullptr) {
        kvCcScProp_->execFreq = storedDelay(delay);
    } else {
        kvCcScPropExt_->execFreq = storedDelay(delay);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setCcScExecDelay");
    return setCcScProperties();
}

int AdapterDataKvi::getCcSchedStartTime(tm* out) {
    return schedStartAnswer(
        *this, "getCcSchedStartTime", out, [this] { return getCcScProperties(); },
        [this] { return withCcRecord([](const auto& r) { return r.nextExec; }); });
}

// A load failure is passed through as it is (patrol read answers -1 there).
int AdapterDataKvi::setCcScStartTime(const tm* start) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::setCcScStartTime");
    const int rc = getCcScProperties();
    if (rc != 0) {
        return rc;
    }
    if (start == nullptr) {
        return -1;
    }
    std::uint32_t offset = 0;
    const int conv = schedStartToOffset(start, &offset);
    if (conv != 0) {
        return conv;
    }
    if (kvCcScProp_ != nullptr) {
        kvCcScProp_->nextExec = offset;
    } else {
        kvCcScPropExt_->nextExec = offset;
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::setCcScStartTime");
    return setCcScProperties();
}

int AdapterDataKvi::getCcSchedState(unsigned char* out) {
    return ccStatusAnswer(*this, "getCcSchedState", out,
                          [](const KV_CC_SCHEDULE_STATUS& st) { return st.state; });
}

int AdapterDataKvi::getCcSchedNumIteration(unsigned int* out) {
    return ccStatusAnswer(*this, "getCcSchedNumIteration", out,
                          [](const KV_CC_SCHEDULE_STATUS& st) { return st.numIteration; });
}

int AdapterDataKvi::getCcSchedNumLdDone(unsigned char* out) {
    return ccStatusAnswer(*this, "getCcSchedNumLdDone", out,
                          [](const KV_CC_SCHEDULE_STATUS& st) { return st.numLdDone; });
}

// Appends to the caller's list (not cleared first).
int AdapterDataKvi::getCcSchedExcludedLdList(ArrayList<unsigned short>* out) {
    const int rc =
        enterLoaded("getCcSchedExcludedLdList", out, [this] { return getCcScProperties(); });
    if (rc != 0) {
        return rc;
    }
    if (kvCcScProp_ != nullptr) {
        schedLegacyExcludedToList(*kvCcScProp_, out);
    } else {
        schedMapExcludedToList(*kvCcScPropExt_, out);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getCcSchedExcludedLdList");
    return 0;
}
