#include "util/Cleanup.h"

#include <csignal>
#include <cstring>
#include <initializer_list>
#include <unistd.h>

namespace kvi::cleanup {

namespace {

constexpr int kSlots = 16;
constexpr std::size_t kPathMax = 4096;

char gPaths[kSlots][kPathMax];
volatile std::sig_atomic_t gUsed[kSlots];
termios gTerminal;
volatile std::sig_atomic_t gTerminalFd = -1;

void onSignal(int sig) {
    undo();
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

} // namespace

void undo() {
    for (int i = 0; i < kSlots; ++i)
        if (gUsed[i])
            ::unlink(gPaths[i]);
    if (gTerminalFd >= 0)
        ::tcsetattr(gTerminalFd, TCSANOW, &gTerminal);
}

void install() {
    static bool installed = false;
    if (installed)
        return;
    installed = true;
    struct sigaction sa {};
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    // A reader that goes away (`| head`) ends kvictl by SIGPIPE, and a closed
    // terminal by SIGHUP: they clean up like an interruption.
    const int signals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
    for (int sig : signals)
        sigaddset(&sa.sa_mask, sig);
    for (int sig : signals) {
        struct sigaction old {};
        // A signal ignored by the caller (nohup, some job runners) stays ignored.
        if (sigaction(sig, nullptr, &old) == 0 && old.sa_handler == SIG_IGN)
            continue;
        sigaction(sig, &sa, nullptr);
    }
}

int addTemporary(const char* path) {
    if (std::strlen(path) >= kPathMax)
        return -1;
    for (int i = 0; i < kSlots; ++i) {
        if (!gUsed[i]) {
            std::memcpy(gPaths[i], path, std::strlen(path) + 1);
            gUsed[i] = 1;
            return i;
        }
    }
    return -1;
}

void dropTemporary(int slot) {
    if (slot >= 0 && slot < kSlots)
        gUsed[slot] = 0;
}

void rememberTerminal(int fd, const termios& settings) {
    gTerminal = settings;
    gTerminalFd = fd;
}

void forgetTerminal() {
    gTerminalFd = -1;
}

} // namespace kvi::cleanup
