#pragma once
// The shape most AdapterDataKvi queries share: the entry line, -1 for a null
// out-pointer (or arguments out of range), the record load (whose failure
// status is returned at once, with no exit line), the answer, the exit line, 0.
// Internal to the adapter's implementation files; not part of its interface.

#include <cstdint>
#include <ctime>
#include <new>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "firmware/kv.h"
#include "provider/DebugLog.h"

namespace kvi::adapter {

// An empty list for the caller, who releases it with delete; null when out
// of memory.
inline ArrayList<unsigned char>* newList() {
    return new (std::nothrow) ArrayList<unsigned char>(ArrayList<unsigned char>::kDefaultCapacity);
}

// The opening of the queries that read a cached record themselves: the entry
// line, -1 for a null out-pointer, then `load`. Null when either fails, with
// the status in *rc.
template <typename Record, typename T>
const Record* enterRecord(AdapterDataKvi& a, const Record* (AdapterDataKvi::*load)(int*),
                          const char* name, const T* out, int* rc) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        *rc = -1;
        return nullptr;
    }
    return (a.*load)(rc);
}
template <typename T>
const KV_CTRL_INFO* enterInfo(AdapterDataKvi& a, const char* name, const T* out, int* rc) {
    return enterRecord(a, &AdapterDataKvi::ctrlInfoOrStatus, name, out, rc);
}
template <typename T>
const KV_MFC_DEFAULTS* enterMfc(AdapterDataKvi& a, const char* name, const T* out, int* rc) {
    return enterRecord(a, &AdapterDataKvi::mfcDefaultsOrStatus, name, out, rc);
}

// A report section (or query) built from a cached record: the entry line,
// then `load`, whose failure status is returned at once (with no exit line);
// else what `build(record)` returns.
template <typename Record, typename Build>
int recordSection(AdapterDataKvi& a, const Record* (AdapterDataKvi::*load)(int*), const char* name,
                  Build build) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    int rc = 0;
    const Record* record = (a.*load)(&rc);
    if (record == nullptr) {
        return rc;
    }
    return build(*record);
}
// From the cached controller information.
template <typename Build> int infoSection(AdapterDataKvi& a, const char* name, Build build) {
    return recordSection(a, &AdapterDataKvi::ctrlInfoOrStatus, name, build);
}
// From the cached manufacturing defaults.
template <typename Build> int mfcSection(AdapterDataKvi& a, const char* name, Build build) {
    return recordSection(a, &AdapterDataKvi::mfcDefaultsOrStatus, name, build);
}

// The opening of the queries that go on from a loaded record themselves: the
// entry line, -1 for a null out-pointer, then `load`. 0 to go on, else the
// status to return (with no exit line).
template <typename T, typename Load> int enterLoaded(const char* name, const T* out, Load load) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        return -1;
    }
    return load();
}

// A request between its entry and exit lines; the exit line carries the
// request's status, which is returned.
template <typename Op> int logged(const char* name, Op op) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    const int rc = op();
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
    return rc;
}

// A request answered into a scratch value first: the entry line, -1 for a
// null out-pointer, request(scratch), then *out = pick(scratch) only on
// success, and the exit line with the status, which is returned.
template <typename Scratch, typename T, typename Request, typename Pick>
int scratchAnswer(const char* name, T* out, Request request, Pick pick) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr) {
        return -1;
    }
    Scratch scratch{};
    const int rc = request(scratch);
    if (rc == 0) {
        *out = pick(scratch);
    }
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, rc);
    return rc;
}

// The same with the whole scratch value as the answer.
template <typename Scratch, typename T, typename Request>
int scratchAnswer(const char* name, T* out, Request request) {
    return scratchAnswer<Scratch>(name, out, request, [](const Scratch& s) { return s; });
}

// `load` returns the load's status; `pick` the answer, called only after a
// successful load; `exit(answer)` logs the query's own exit line (some
// queries name the answer in it, some log none). `argsValid` false answers
// -1 like a null `out`.
template <typename T, typename Load, typename Pick, typename Exit>
int loadedAnswerExit(const char* name, T* out, Load load, Pick pick, Exit exit,
                     bool argsValid = true) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (out == nullptr || !argsValid) {
        return -1;
    }
    const int rc = load();
    if (rc != 0) {
        return rc;
    }
    *out = static_cast<T>(pick());
    exit(*out);
    return 0;
}

// The same with the common exit line.
template <typename T, typename Load, typename Pick>
int loadedAnswer(const char* name, T* out, Load load, Pick pick, bool argsValid = true) {
    return loadedAnswerExit(
        name, out, load, pick,
        [name](const T&) { DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name); }, argsValid);
}

// A change of a cached record: the entry line, the record load (whose
// failure status is returned at once, with no exit line), `change`, the exit
// line, 0. The record is written back later by its end-update call.
template <typename Load, typename Change>
int loadedChange(const char* name, Load load, Change change) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    const int rc = load();
    if (rc != 0) {
        return rc;
    }
    change();
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    return 0;
}

// An answer taken from a cached record, loaded by `load` (which reports why
// it could not).
template <typename Record, typename T, typename Pick>
int recordAnswer(AdapterDataKvi& a, const Record* (AdapterDataKvi::*load)(int*), const char* name,
                 T* out, Pick pick) {
    const Record* record = nullptr;
    return loadedAnswer(
        name, out,
        [&] {
            int rc = 0;
            record = (a.*load)(&rc);
            return rc;
        },
        [&] { return pick(*record); });
}

// An answer taken from the cached controller information.
template <typename T, typename Pick>
int infoAnswer(AdapterDataKvi& a, const char* name, T* out, Pick pick) {
    return recordAnswer(a, &AdapterDataKvi::ctrlInfoOrStatus, name, out, pick);
}

// Like infoAnswer, for the argument-less queries that return the answer: 1
// or 0, and 0 when the controller information cannot be read.
template <typename Pick> int infoFlag(AdapterDataKvi& a, const char* name, Pick pick) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    int rc = 0;
    const KV_CTRL_INFO* info = a.ctrlInfoOrStatus(&rc);
    if (info == nullptr) {
        return 0;
    }
    const int answer = pick(*info) ? 1 : 0;
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", name, answer);
    return answer;
}

// An answer taken from the cached manufacturing defaults.
template <typename T, typename Pick>
int mfcAnswer(AdapterDataKvi& a, const char* name, T* out, Pick pick) {
    return recordAnswer(a, &AdapterDataKvi::mfcDefaultsOrStatus, name, out, pick);
}

// The start of a schedule change that takes an excluded-drive list: a list
// the short form cannot hold is refused with -1 before anything changes, then
// the schedule record is loaded. 0 to go on, else the status to return.
template <typename Load>
int schedChangeStart(AdapterDataKvi& a, const ArrayList<unsigned short>* list, Load load) {
    int rc = 0;
    if (a.schedListTooLong(list, &rc)) {
        return -1;
    }
    if (rc != 0) {
        return rc;
    }
    return load();
}

// A schedule's excluded-drive list replaced: -1 for a null list, the change
// started as above, `apply` stores the list into the held record, `store`
// writes the record back and its status is returned.
template <typename Load, typename Apply, typename Store>
int schedExcludedChange(AdapterDataKvi& a, const char* name, const ArrayList<unsigned short>* list,
                        Load load, Apply apply, Store store) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (list == nullptr) {
        return -1;
    }
    const int rc = schedChangeStart(a, list, load);
    if (rc != 0) {
        return rc;
    }
    apply(*list);
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s", name);
    return store();
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
