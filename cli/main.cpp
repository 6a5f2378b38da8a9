// kvictl: the command line over the controller-data layer.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "cli/App.h"
#include "util/Files.h"

int main(int argc, char** argv) {
    // Standard output through checked writes: output that did not reach its
    // reader (a full disk, a closed file) is an error, so that a script never
    // takes a short report for a whole one.
    kvi::files::OutputBuffer out(STDOUT_FILENO);
    std::streambuf* previous = std::cout.rdbuf(&out);
    int rc;
    {
        cli::App app;
        rc = app.main(argc, argv);
    }
    std::cout.flush();
    std::cout.rdbuf(previous);
    if (const int err = out.error()) {
        // A reader that stopped early (`| head` with SIGPIPE ignored) wanted
        // no more: that needs no message.
        if (err != EPIPE)
            std::cerr << "kvictl: cannot write to standard output: " << std::strerror(err)
                      << "; the output is incomplete\n";
        rc = cli::kExitOutput;
    }
    return rc;
}
