// Drive security key operations of AdapterDataKvi: lock key creation (from a
// passphrase or through an external key manager), re-key, restore from
// escrow, verification, suggested passphrase, destruction, and the key state
// read from the controller information and the BIOS data.
//
// Key material is never kept: each key-carrying operation builds its request
// record on the stack, refuses texts that do not fit their fields before
// anything is sent, and wipes the record once the request is done, with
// volatile stores the compiler may not drop. No log line carries key text.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/Answer.h"
#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "provider/DebugLog.h"

namespace {

// Key states are answered from the controller information.
using kvi::adapter::infoAnswer;
using kvi::adapter::loadedAnswer;

// Longest texts the records hold (each field keeps room for its NUL).
constexpr std::size_t kMaxPassPhrase = sizeof(KV_CTRL_LOCK_KEY_PASSPHRASE::passPhrase) - 1; // 32
constexpr std::size_t kMaxKeyId = sizeof(KV_CTRL_LOCK_KEY_PARAMS::keyId) - 1;               // 255

// Clears key material. Volatile stores cannot be removed as dead stores, so
// the bytes are gone even though the record is not read again.
void wipe(void* p, std::size_t n) {
    auto* v = static_cast<volatile unsigned char*>(p);
    for (std::size_t i = 0; i < n; ++i) {
        v[i] = 0;
    }
}

// A text fits its field when it is short enough to keep its terminating NUL
// and has no NUL of its own (which would cut it short on the controller).
bool fits(const std::string& text, std::size_t max) {
    return text.size() <= max && text.find('\0') == std::string::npos;
}

// Copies a text that fits into a zeroed field; the NUL is already there.
template <std::size_t N> void putText(std::uint8_t (&field)[N], const std::string& text) {
    static_assert(N > 0, "text fields hold at least their NUL");
    std::memcpy(field, text.data(), text.size() < N ? text.size() : N - 1);
}

DCMD_MBOX modeMbox(int mode) {
    DCMD_MBOX m{};
    m.b[0] = static_cast<std::uint8_t>(mode & 0xFF);
    return m;
}

// A request that carries one passphrase: the entry line, -1 for a passphrase
// that does not fit (nothing sent), `send(record)`, then the record wiped.
template <typename Send>
int passPhraseRequest(const char* name, const std::string& passPhrase, Send send) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::%s", name);
    if (!fits(passPhrase, kMaxPassPhrase)) {
        return -1;
    }
    KV_CTRL_LOCK_KEY_FROM_ESCROW rec{};
    putText(rec.lockKeyPassPhrase.passPhrase, passPhrase);
    const int rc = send(rec);
    wipe(&rec, sizeof rec);
    return rc;
}

} // namespace

int AdapterDataKvi::isSecurityEnabled(bool* out) {
    return infoAnswer(*this, "isSecurityEnabled", out, [](const KV_CTRL_INFO& i) {
        return i.adapterOperations.supportSecurity != 0;
    });
}

// The record carries the passphrase (byte 0), the secret key (byte 36) and
// the key identifier (byte 108); the backup passphrase stays zero.
int AdapterDataKvi::createLockKey(std::string& passPhrase, std::string& secretKey,
                                  std::string& keyId, int mode) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::createLockKey");
    if (!fits(passPhrase, kMaxPassPhrase) || !fits(secretKey, kMaxPassPhrase) ||
        !fits(keyId, kMaxKeyId)) {
        return -1;
    }
    KV_CTRL_LOCK_KEY_PARAMS rec{};
    putText(rec.lockKeyPassPhrase.passPhrase, passPhrase);
    putText(rec.secretKey.passPhrase, secretKey);
    putText(rec.keyId, keyId);
    const int rc = sendDcmdRec(KV_DCMD_CTRL_LOCK_KEY_CREATE, modeMbox(mode), &rec);
    wipe(&rec, sizeof rec);
    return rc;
}

int AdapterDataKvi::rekeyLock(std::string& passPhrase) {
    return passPhraseRequest("rekeyLock", passPhrase, [this](KV_CTRL_LOCK_KEY_FROM_ESCROW& rec) {
        return sendDcmdRec(KV_DCMD_CTRL_LOCK_KEY_REKEY, kviMbox(), &rec);
    });
}

int AdapterDataKvi::lockKeyFromEscrow(std::string& passPhrase) {
    return passPhraseRequest(
        "lockKeyFromEscrow", passPhrase, [this](KV_CTRL_LOCK_KEY_FROM_ESCROW& rec) {
            return sendDcmdRec(KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, kviMbox(), &rec);
        });
}

int AdapterDataKvi::verifyLockKey(std::string& passPhrase, int mode) {
    return passPhraseRequest(
        "verifyLockKey", passPhrase, [this, mode](KV_CTRL_LOCK_KEY_FROM_ESCROW& rec) {
            return sendDcmdRec(KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, modeMbox(mode), &rec);
        });
}

// The controller's suggestion is handed to the caller only; the answer
// buffer is wiped.
int AdapterDataKvi::getSuggestedSecurityKey(std::string& out) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::getSuggestedSecurityKey");
    KV_CTRL_LOCK_KEY_PASSPHRASE answer{};
    const int rc = sendDcmdRec(KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, kviMbox(), &answer);
    if (rc == 0) {
        const auto* text = reinterpret_cast<const char*>(answer.passPhrase);
        out.assign(text, strnlen(text, sizeof answer.passPhrase));
        DEBUG_LOG(INFO, "Exiting AdapterDataKvi::getSuggestedSecurityKey");
    }
    wipe(&answer, sizeof answer);
    return rc;
}

int AdapterDataKvi::destroyLockKey() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::destroyLockKey");
    return sendDcmd(KV_DCMD_CTRL_LOCK_KEY_DESTROY);
}

int AdapterDataKvi::isLockKeyAssigned(bool* out) {
    return infoAnswer(*this, "isLockKeyAssigned", out,
                      [](const KV_CTRL_INFO& i) { return i.adapterStatus.lockKeyAssigned != 0; });
}

int AdapterDataKvi::isLockKeyFailed(bool* out) {
    return infoAnswer(*this, "isLockKeyFailed", out,
                      [](const KV_CTRL_INFO& i) { return i.adapterStatus.lockKeyFailed != 0; });
}

// A controller without a key reports a passphrase error.
int AdapterDataKvi::isPassPhraseError(bool* out) {
    return infoAnswer(*this, "isPassPhraseError", out, [](const KV_CTRL_INFO& i) {
        bool error = true;
        if (i.adapterStatus.lockKeyAssigned != 0) {
            error = i.adapterStatus.lockKeyFailed != 0;
        }
        return error;
    });
}

// Reads the controller information afresh, so that a key change made a
// moment ago is seen.
int AdapterDataKvi::islockKeyRebootRequired(bool* out) {
    if (out == nullptr) {
        DEBUG_LOG(INFO, "Entering AdapterDataKvi::islockKeyRebootRequired");
        return -1;
    }
    delete kvCtrlInfoPtr_;
    kvCtrlInfoPtr_ = nullptr;
    return infoAnswer(*this, "islockKeyRebootRequired", out, [](const KV_CTRL_INFO& i) {
        return i.adapterStatus.lockKeyRebootRequired != 0;
    });
}

int AdapterDataKvi::isEKMSupported(bool* out) {
    return infoAnswer(*this, "isEKMSupported", out,
                      [](const KV_CTRL_INFO& i) { return i.adapterOperations.supportEKM != 0; });
}

// The key manager supplies the key: the record is sent all zero.
int AdapterDataKvi::createLockKeyUseEKMS(int mode) {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::createLockKeyUseEKMS");
    KV_CTRL_LOCK_KEY_PARAMS rec{};
    return sendDcmdRec(KV_DCMD_CTRL_LOCK_KEY_CREATE, modeMbox(mode), &rec);
}

int AdapterDataKvi::RekeyLockKeyinEKMS() {
    DEBUG_LOG(INFO, "Entering AdapterDataKvi::RekeyLockKeyinEKMS");
    KV_CTRL_LOCK_KEY_FROM_ESCROW rec{};
    return sendDcmdRec(KV_DCMD_CTRL_LOCK_KEY_REKEY, kviMbox(), &rec);
}

int AdapterDataKvi::getlockKeyBinding(unsigned char* out) {
    return infoAnswer(*this, "getlockKeyBinding", out,
                      [](const KV_CTRL_INFO& i) { return i.lockKeyBinding; });
}

int AdapterDataKvi::getbiosEKMStatus(unsigned char* out) {
    return loadedAnswer(
        "getbiosEKMStatus", out, [this] { return getBIOSData(); },
        [this] { return kvBiosDataPtr_->EKMStatus; });
}

// The high-availability peer holds a different key.
int AdapterDataKvi::isSecurityKeyMismatch(unsigned int* out) {
    return infoAnswer(*this, "isSecurityKeyMismatch", out, [](const KV_CTRL_INFO& i) {
        return i.cluster.securityKeyMismatch != 0 ? 1u : 0u;
    });
}
