// kvictl security [show|create|rekey|restore|verify|suggest|destroy]: the
// controller's drive security (lock) key. Passphrases come from a prompt
// without echo or from --passphrase-file PATH (- = stdin), never from the
// command line or the environment; they are checked before any request and
// wiped after use.
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Args.h"
#include "cli/Doc.h"
#include "cli/Util.h"
#include "util/Cleanup.h"
#include "util/Files.h"

namespace cli {

namespace {

constexpr std::size_t kMinPassphrase = 8;
constexpr std::size_t kMaxPassphrase = 32; // the firmware's record holds 32 characters and a NUL

// Overwrites a secret so that it does not linger in freed memory.
void wipe(std::string& s) {
    volatile char* p = s.empty() ? nullptr : &s[0];
    for (std::size_t i = 0; i < s.size(); ++i)
        p[i] = 0;
    s.clear();
    s.shrink_to_fit();
}

// A secret that is wiped when it goes out of scope.
struct Secret {
    std::string value;
    ~Secret() { wipe(value); }
};

// One line from a terminal with echo off; the terminal gets its settings back
// also when SIGINT or SIGTERM ends kvictl at the prompt. At most the
// passphrase limit is kept (the rest of a longer line is read and dropped).
std::string readLineNoEchoFrom(int fd, const std::string& prompt) {
    termios old{};
    const bool haveTerm = ::tcgetattr(fd, &old) == 0;
    if (haveTerm) {
        termios quiet = old;
        quiet.c_lflag &= static_cast<tcflag_t>(~ECHO);
        kvi::cleanup::install();
        kvi::cleanup::rememberTerminal(fd, old);
        ::tcsetattr(fd, TCSAFLUSH, &quiet);
    }
    if (!prompt.empty() && ::write(fd, prompt.data(), prompt.size()) < 0) {
        // The prompt is a courtesy; reading goes on without it.
    }
    const std::size_t limit = kvi::files::limitOf(kvi::files::Input::Passphrase);
    std::string line;
    char ch = 0;
    while (::read(fd, &ch, 1) == 1 && ch != '\n')
        if (line.size() < limit)
            line += ch;
    ch = 0;
    if (haveTerm) {
        ::tcsetattr(fd, TCSAFLUSH, &old);
        kvi::cleanup::forgetTerminal();
    }
    if (::write(fd, "\n", 1) < 0) {
    }
    return line;
}

std::string readLineNoEcho(const std::string& prompt) {
    int fd = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (fd < 0)
        throw UsageError(
            "no terminal to ask for the passphrase; use --passphrase-file PATH (- = stdin)");
    std::string line = readLineNoEchoFrom(fd, prompt);
    ::close(fd);
    return line;
}

void checkPassphrase(const std::string& p, const std::string& what) {
    if (p.size() < kMinPassphrase || p.size() > kMaxPassphrase)
        throw UsageError(what + " must have " + std::to_string(kMinPassphrase) + " to " +
                         std::to_string(kMaxPassphrase) + " characters (it has " +
                         std::to_string(p.size()) + ")");
    for (char c : p)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            throw UsageError(what + " must not contain control characters");
}

struct SecurityArgs {
    std::string passphraseFile;
    std::string keyId = "kvictl";
    Secret passphrase;
};

// Reads the passphrase from the file or the terminal and checks it.
void obtainPassphrase(SecurityArgs& a, bool confirmNew) {
    if (!a.passphraseFile.empty()) {
        if (a.passphraseFile == "-" && ::isatty(STDIN_FILENO)) {
            // Typed at a terminal: never echoed.
            a.passphrase.value = readLineNoEchoFrom(STDIN_FILENO, "Passphrase: ");
        } else {
            Secret text;
            try {
                text.value = kvi::files::readFile(a.passphraseFile, kvi::files::Input::Passphrase);
            } catch (const kvi::files::FileError& e) {
                throw UsageError(std::string("--passphrase-file: ") + e.what());
            }
            const std::size_t end = text.value.find('\n');
            a.passphrase.value = text.value.substr(0, end);
        }
        if (!a.passphrase.value.empty() && a.passphrase.value.back() == '\r')
            a.passphrase.value.pop_back();
    } else {
        if (!::isatty(STDIN_FILENO))
            throw UsageError("stdin is not a terminal; give the passphrase with --passphrase-file "
                             "PATH (- = stdin)");
        a.passphrase.value = readLineNoEcho("Passphrase: ");
        if (confirmNew) {
            Secret again;
            again.value = readLineNoEcho("Passphrase again: ");
            if (again.value != a.passphrase.value)
                throw UsageError("the two passphrases differ");
        }
    }
    checkPassphrase(a.passphrase.value, "the passphrase");
}

Command showSecurity(App& app) {
    Command c;
    c.name = "security show";
    c.run = [&app](Target& t) {
        AdapterData& a = *t.adapter;
        Doc d(app.json());
        bool v = false;
        struct Q {
            const char* label;
            const char* key;
            int (AdapterData::*op)(bool*);
        };
        const Q queries[] = {
            {"Security Supported", "supported", &AdapterData::isSecurityEnabled},
            {"Key Management Supported", "ekm_supported", &AdapterData::isEKMSupported},
            {"Lock Key Assigned", "lock_key_assigned", &AdapterData::isLockKeyAssigned},
            {"Lock Key Failed", "lock_key_failed", &AdapterData::isLockKeyFailed},
            {"Passphrase Error", "passphrase_error", &AdapterData::isPassPhraseError},
            {"Reboot Required", "reboot_required", &AdapterData::islockKeyRebootRequired},
        };
        for (const Q& q : queries) {
            int rc = (a.*q.op)(&v);
            if (rc != 0) {
                app.fail(t, std::string("reading ") + q.label, rc);
                break;
            }
            d.flag(q.label, q.key, v);
        }
        app.emit(t, "security", "Drive Security", d.object());
    };
    return c;
}

void checkKeyId(const std::string& id) {
    if (id.empty() || id.size() > 255)
        throw UsageError("--key-id must have 1 to 255 characters");
}

CLI::App* secVerb(CLI::App& g, const char* name, const char* help, SecurityArgs& args,
                  bool withKeyId = false) {
    auto* sub = verb(g, name, help);
    sub->add_option("--passphrase-file", args.passphraseFile,
                    "Read the passphrase from PATH (- = stdin)")
        ->type_name("PATH");
    if (withKeyId)
        sub->add_option("--key-id", args.keyId,
                        "Key identifier stored with the key, 1-255 characters (default kvictl)")
            ->type_name("ID")
            ->check(checkedBy(checkKeyId));
    return sub;
}

} // namespace

void registerSecurity(CLI::App& root, App& app) {
    auto* g = commandGroup(root, app, "security", [&app] { return showSecurity(app); });

    struct Op {
        const char* name;
        const char* help;
        bool newKey;
        bool keyId;
    };
    static const Op ops[] = {
        {"create", "Create the lock key from a passphrase", true, true},
        {"rekey", "Change the lock key to a new passphrase", true, false},
        {"restore", "Restore the lock key from escrow with its passphrase", false, false},
        {"verify", "Check a passphrase against the lock key", false, false},
    };
    for (const Op& op : ops) {
        auto args = std::make_shared<SecurityArgs>();
        auto* sub = secVerb(*g, op.name, op.help, *args, op.keyId);
        sub->callback([&app, args, &op, sub] {
            Command c;
            c.name = std::string("security ") + op.name;
            if (args->passphraseFile != "-")
                c.files = {{"--passphrase-file", args->passphraseFile}};
            const bool emptyPath =
                sub->count("--passphrase-file") > 0 && args->passphraseFile.empty();
            c.validate = [args, &op, emptyPath] {
                if (emptyPath)
                    throw UsageError("--passphrase-file: an empty path; give a file name or -");
                obtainPassphrase(*args, op.newKey);
            };
            c.run = [&app, args, &op](Target& t) {
                AdapterData& a = *t.adapter;
                std::string& pass = args->passphrase.value;
                int rc;
                std::string what = op.name;
                if (what == "create") {
                    Secret secret;
                    std::string keyId = args->keyId;
                    rc = a.createLockKey(pass, secret.value, keyId, 0);
                } else if (what == "rekey") {
                    rc = a.rekeyLock(pass);
                } else if (what == "restore") {
                    rc = a.lockKeyFromEscrow(pass);
                } else {
                    rc = a.verifyLockKey(pass, 0);
                }
                if (rc != 0)
                    app.fail(t, "security " + what, rc);
                actionDone(app, t, "Drive Security", "security " + what);
            };
            c.finish = [args] { wipe(args->passphrase.value); };
            app.setCommand(std::move(c));
        });
    }
    verb(*g, "suggest", "Ask the controller for a passphrase suggestion")->callback([&app] {
        Command c;
        c.name = "security suggest";
        c.run = [&app](Target& t) {
            Secret s;
            int rc = t.adapter->getSuggestedSecurityKey(s.value);
            if (rc != 0) {
                app.fail(t, "security suggest", rc);
                return;
            }
            Doc d(app.json());
            d.str("Suggested Passphrase", "suggested_passphrase", s.value);
            app.emit(t, "security", "Drive Security", d.object());
        };
        app.setCommand(std::move(c));
    });
    verb(*g, "destroy", "Destroy the lock key (asks first; -y off a terminal)")->callback([&app] {
        app.setCommand(
            confirmedAction(app, "security destroy", "Drive Security",
                            "Destroy the drive security key of the selected controllers?",
                            "security destroy", [](AdapterData& a) { return a.destroyLockKey(); }));
    });
}

} // namespace cli
