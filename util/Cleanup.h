#pragma once
// What kvictl undoes when SIGINT, SIGTERM, SIGHUP or SIGPIPE ends it: temporary files are
// removed (a replaced file is then still the old one) and a terminal whose echo
// was turned off for a passphrase gets it back. The handlers do only
// async-signal-safe work, then end the process by the same signal.
#include <termios.h>

namespace kvi::cleanup {

// Installs the handlers (once; later calls do nothing).
void install();

// Does what a signal would undo, now (async-signal-safe): for a process about
// to end with _exit.
void undo();

// Registers a temporary file to remove on a signal; returns its slot, or -1
// when the table is full (the file is then only removed by its owner).
int addTemporary(const char* path);
void dropTemporary(int slot);

// The terminal settings to put back on a signal, until forgetTerminal().
void rememberTerminal(int fd, const termios& settings);
void forgetTerminal();

} // namespace kvi::cleanup
