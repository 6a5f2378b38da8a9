// Fuzz target: the command line, in-process (cli::App::main), over argument
// vectors against the simulator. The input is the argument list, one argument
// per NUL-separated piece (at most 32); "--sim" is put first unless the input
// names a simulator option itself.
//
// Arguments that would reach outside the process are dropped, so a run never
// writes or opens files: anything containing '/', the options that name files
// or devices (--record, --log, --sim-state, --textfile, --device, --replay,
// --passphrase-file, the man page and completion generators). Standard input
// is /dev/null and standard output and error go nowhere.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <streambuf>
#include <string>
#include <vector>

#include "cli/App.h"

namespace {

class NullBuffer : public std::streambuf {
protected:
    int overflow(int c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

NullBuffer gNull;

bool dropped(const std::string& arg) {
    if (arg.find('/') != std::string::npos) {
        return true;
    }
    static const char* const kOutside[] = {"--record",          "--log",     "--sim-state",
                                           "--textfile",        "--device",  "--replay",
                                           "--passphrase-file", "--generate"};
    for (const char* option : kOutside) {
        const std::string o(option);
        if (arg.compare(0, o.size(), o) == 0 && arg != "--log-level" &&
            arg.compare(0, 12, "--log-level=") != 0) {
            return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("KVICTL_SIM_TIME", "1700000000", 1);
    setenv("TZ", "UTC0", 1);
    unsetenv("KVICTL_DEVICE");
    if (std::freopen("/dev/null", "r", stdin) == nullptr) {
        std::abort();
    }
    std::cout.rdbuf(&gNull);
    std::cerr.rdbuf(&gNull);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> args{"kvictl"};
    std::string piece;
    bool sim = false;
    auto take = [&](std::string& arg) {
        if (args.size() < 33 && !dropped(arg)) {
            sim = sim || arg.compare(0, 5, "--sim") == 0;
            args.push_back(arg);
        }
        arg.clear();
    };
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0) {
            take(piece);
        } else {
            piece.push_back(static_cast<char>(data[i]));
        }
    }
    if (!piece.empty()) {
        take(piece);
    }
    if (!sim) {
        args.insert(args.begin() + 1, "--sim");
    }
    std::vector<char*> argv;
    for (std::string& a : args) {
        argv.push_back(&a[0]);
    }
    argv.push_back(nullptr);
    {
        cli::App app;
        const int status = app.main(static_cast<int>(args.size()), argv.data());
        // Exit statuses are 0..4 for every command but `check` (0..3).
        if (status < 0 || status > 4) {
            std::fprintf(stderr, "kvictl returned exit status %d\n", status);
            std::abort();
        }
    }
    std::cout.clear();
    std::cerr.clear();
    return 0;
}
