#include "Run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

extern char** environ;

namespace clitest {

namespace {

// Starts `argv` (argv[0] looked up in PATH without a '/') with stdin fed from
// `input` and stdout/stderr on pipes.
pid_t spawn(const std::vector<std::string>& args, const RunOptions& options, int& outFd,
            int& errFd) {
    std::map<std::string, std::string> env;
    for (char** e = environ; *e != nullptr; ++e) {
        std::string kv = *e;
        std::size_t eq = kv.find('=');
        if (eq != std::string::npos)
            env[kv.substr(0, eq)] = kv.substr(eq + 1);
    }
    env.erase("KVICTL_DEVICE");
    env["TZ"] = "UTC0";
    env["KVICTL_SIM_TIME"] = "1700000000";
    for (const auto& [k, v] : options.env) {
        if (v.empty())
            env.erase(k);
        else
            env[k] = v;
    }
    std::vector<std::string> envText;
    for (const auto& [k, v] : env)
        envText.push_back(k + "=" + v);

    int in[2], out[2], err[2];
    if (pipe(in) != 0 || pipe(out) != 0 || pipe(err) != 0)
        return -1;
    pid_t pid = fork();
    if (pid == 0) {
        dup2(in[0], 0);
        dup2(out[1], 1);
        dup2(err[1], 2);
        for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]})
            close(fd);
        std::vector<char*> argv;
        for (const std::string& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        std::vector<char*> envp;
        for (std::string& e : envText)
            envp.push_back(const_cast<char*>(e.c_str()));
        envp.push_back(nullptr);
        execvpe(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    if (!options.input.empty()) {
        ssize_t w = write(in[1], options.input.data(), options.input.size());
        (void)w;
    }
    close(in[1]);
    outFd = out[0];
    errFd = err[0];
    return pid;
}

using Clock = std::chrono::steady_clock;

// Milliseconds left until `until` (-1: no limit).
int msLeft(bool limited, Clock::time_point until) {
    if (!limited)
        return -1;
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
    return left.count() < 0 ? 0 : static_cast<int>(left.count());
}

// Reads what is ready on the open descriptors of `fds` into `out`/`err`
// within `ms`; closes and clears a descriptor at its end. False when none is open.
bool drain(int (&fds)[2], std::string& out, std::string& err, int ms) {
    pollfd p[2] = {{fds[0], POLLIN, 0}, {fds[1], POLLIN, 0}};
    if (fds[0] < 0 && fds[1] < 0)
        return false;
    if (poll(p, 2, ms) <= 0)
        return true;
    char buf[65536];
    for (int i = 0; i < 2; ++i) {
        if (fds[i] < 0 || !(p[i].revents & (POLLIN | POLLHUP | POLLERR)))
            continue;
        ssize_t n = read(fds[i], buf, sizeof buf);
        if (n <= 0) {
            close(fds[i]);
            fds[i] = -1;
        } else {
            (i == 0 ? out : err).append(buf, static_cast<std::size_t>(n));
        }
    }
    return true;
}

// Reaps `pid` into `r` (killing it first when `kill` is set).
void reap(pid_t pid, Result& r, bool kill) {
    if (kill) {
        ::kill(pid, SIGKILL);
        r.killed = true;
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.maxRssKb = usage.ru_maxrss;
}

// kvictl's arguments after the binary.
std::vector<std::string> kvictlArgv(const std::vector<std::string>& args) {
    std::vector<std::string> argv = {KVICTL_BINARY};
    argv.insert(argv.end(), args.begin(), args.end());
    return argv;
}

} // namespace

Result runKvictl(const std::vector<std::string>& args, const RunOptions& options) {
    return runProgram(kvictlArgv(args), options);
}

Result runProgram(const std::vector<std::string>& args, const RunOptions& options) {
    int fds[2] = {-1, -1};
    pid_t pid = spawn(args, options, fds[0], fds[1]);
    Result r;
    if (pid < 0)
        return r;
    const bool limited = options.limitSeconds > 0;
    const auto until = Clock::now() + std::chrono::seconds(options.limitSeconds);
    bool late = false;
    while (drain(fds, r.out, r.err, msLeft(limited, until)))
        if (limited && Clock::now() >= until) {
            late = true;
            break;
        }
    for (int fd : fds)
        if (fd >= 0)
            close(fd);
    reap(pid, r, late);
    return r;
}

Child::Child(const std::vector<std::string>& args, const RunOptions& options) {
    pid_ = spawn(kvictlArgv(args), options, out_, err_);
}

Child::~Child() {
    if (pid_ > 0) {
        Result ignored;
        reap(pid_, ignored, true);
    }
    for (int fd : {out_, err_})
        if (fd >= 0)
            close(fd);
}

bool Child::pump(int ms) {
    int fds[2] = {out_, err_};
    std::string out;
    bool open = drain(fds, out, errText_, ms);
    out_ = fds[0];
    err_ = fds[1];
    all_ += out;
    return open;
}

bool Child::readLine(std::string& line, int limitSeconds) {
    const auto until = Clock::now() + std::chrono::seconds(limitSeconds);
    for (;;) {
        std::size_t nl = all_.find('\n', lineStart_);
        if (nl != std::string::npos) {
            line = all_.substr(lineStart_, nl - lineStart_);
            lineStart_ = nl + 1;
            return true;
        }
        if (Clock::now() >= until || !pump(msLeft(true, until)))
            return false;
    }
}

Result Child::stop(int sig, int limitSeconds) {
    Result r;
    if (pid_ <= 0)
        return r;
    ::kill(pid_, sig);
    const auto until = Clock::now() + std::chrono::seconds(limitSeconds);
    bool late = false;
    while (pump(msLeft(true, until)))
        if (Clock::now() >= until) {
            late = true;
            break;
        }
    reap(pid_, r, late);
    pid_ = -1;
    r.out = all_;
    r.err = errText_;
    return r;
}

std::string tempPath(const std::string& name) {
    const char* base = std::getenv("TEST_TMPDIR");
    std::string dir = base ? base : "/tmp";
    return dir + "/kvictl-cli-" + std::to_string(getpid()) + "-" + name;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

std::size_t countOf(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

std::vector<std::string> filesIn(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> shellWords(const std::string& line) {
    std::vector<std::string> words;
    std::string w;
    bool inWord = false;
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quote != 0 && c == quote) {
            quote = 0;
        } else if (quote == '\'' || (quote == '"' && c != '\\')) {
            w += c;
        } else if (c == '\\' && i + 1 < line.size()) {
            w += line[++i];
            inWord = true;
        } else if (quote == 0 && (c == '\'' || c == '"')) {
            quote = c;
            inWord = true;
        } else if (quote == 0 && (c == ' ' || c == '\t')) {
            if (inWord)
                words.push_back(w);
            w.clear();
            inWord = false;
        } else {
            w += c;
            inWord = true;
        }
    }
    if (inWord)
        words.push_back(w);
    return words;
}

void expectFragments(const std::string& what, const std::string& text,
                     const std::vector<std::string>& fragments) {
    for (const std::string& f : fragments) {
        const bool absent = f[0] == '!';
        if ((text.find(f.substr(absent)) == std::string::npos) != absent)
            ADD_FAILURE() << what << (absent ? " holds '" : " lacks '") << f << "':\n" << text;
    }
}

void cutCapture(const std::string& path, int keep) {
    std::istringstream in(readFile(path));
    std::string text;
    int requests = 0;
    for (std::string line; std::getline(in, line);) {
        const bool request = line.find(R"("type":"dcmd")") != std::string::npos ||
                             line.find(R"("type":"smp")") != std::string::npos;
        if (!request || requests++ < keep)
            text += line + "\n";
    }
    writeFile(path, text);
}

} // namespace clitest
