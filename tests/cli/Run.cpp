#include "Run.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

extern char** environ;

namespace clitest {

Result runKvictl(const std::vector<std::string>& args, const RunOptions& options) {
    std::vector<std::string> argv = {KVICTL_BINARY};
    argv.insert(argv.end(), args.begin(), args.end());
    return runProgram(argv, options);
}

Result runProgram(const std::vector<std::string>& args, const RunOptions& options) {
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
        return Result();
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
    Result r;
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    int open = 2;
    char buf[65536];
    while (open > 0) {
        if (poll(fds, 2, -1) < 0)
            break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP)))
                continue;
            ssize_t n = read(fds[i].fd, buf, sizeof buf);
            if (n <= 0) {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            } else {
                (i == 0 ? r.out : r.err).append(buf, static_cast<std::size_t>(n));
            }
        }
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.maxRssKb = usage.ru_maxrss;
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

} // namespace clitest
