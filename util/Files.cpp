#include "util/Files.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "util/Cleanup.h"

namespace kvi::files {

namespace {

std::string reason(int err) {
    return std::strerror(err);
}

[[noreturn]] void fail(const std::string& path, const std::string& what) {
    throw FileError(path, what);
}

std::string mebibytes(std::size_t n) {
    return std::to_string(n / (1024 * 1024)) + " MiB";
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

void syncFolder(const std::string& path) {
    const int dfd = ::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dfd >= 0) {
        // Makes the rename durable; a folder that cannot be synced (some
        // network file systems) still holds the renamed file.
        ::fsync(dfd);
        ::close(dfd);
    }
}

} // namespace

std::size_t limitOf(Input kind) {
    switch (kind) {
    case Input::Profile:
        return 16u << 20;
    case Input::State:
        return 256u << 20;
    case Input::Capture:
        return 256u << 20;
    case Input::Passphrase:
        return 4096;
    }
    return 0;
}

const char* nameOf(Input kind) {
    switch (kind) {
    case Input::Profile:
        return "profile";
    case Input::State:
        return "state file";
    case Input::Capture:
        return "capture";
    case Input::Passphrase:
        return "passphrase file";
    }
    return "file";
}

bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

std::string readFile(const std::string& path, Input kind) {
    const bool stdinput = path == "-";
    const int fd = stdinput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        fail(path, "cannot open: " + reason(errno));
    struct stat st {};
    if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        ::close(fd);
        fail(path, std::string("is a folder; give the path of a ") + nameOf(kind));
    }
    const std::size_t limit = limitOf(kind);
    std::string out;
    char buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            const int err = errno;
            if (!stdinput)
                ::close(fd);
            fail(path, "cannot read: " + reason(err));
        }
        if (n == 0)
            break;
        if (out.size() + static_cast<std::size_t>(n) > limit) {
            if (!stdinput)
                ::close(fd);
            fail(path, std::string("larger than the ") + mebibytes(limit) + " a " + nameOf(kind) +
                           " may hold (is it the right file?)");
        }
        out.append(buf, static_cast<std::size_t>(n));
    }
    if (!stdinput)
        ::close(fd);
    return out;
}

void checkWritableTarget(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) {
        if (errno == ENOENT)
            return;
        fail(path, "cannot inspect: " + reason(errno));
    }
    if (S_ISLNK(st.st_mode))
        fail(path, "is a symbolic link; kvictl does not write through links (give the real path)");
    if (S_ISDIR(st.st_mode))
        fail(path, "is a folder; give a file name");
    if (!S_ISREG(st.st_mode))
        fail(path, "is not a regular file (a FIFO or device); kvictl only replaces regular files");
}

// ---- AtomicFile ----

AtomicFile::AtomicFile(std::string path, unsigned mode) : path_(std::move(path)) {
    checkWritableTarget(path_);
    cleanup::install();
    std::random_device rd;
    const std::string base =
        path_.substr(path_.rfind('/') == std::string::npos ? 0 : path_.rfind('/') + 1);
    for (int attempt = 0; attempt < 16 && fd_ < 0; ++attempt) {
        char suffix[32];
        std::snprintf(suffix, sizeof suffix, ".%ld.%08x.tmp", static_cast<long>(::getpid()), rd());
        tmp_ = folderOf(path_) + "/." + base + suffix;
        // Registered before it exists: a signal in between finds nothing to remove.
        slot_ = cleanup::addTemporary(tmp_.c_str());
        fd_ = ::open(tmp_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        // The umask may narrow the mode of open(); a reader that needs more gets it.
        if (fd_ >= 0 && mode != 0600 && ::fchmod(fd_, static_cast<mode_t>(mode)) != 0) {
            const int err = errno;
            ::close(fd_);
            ::unlink(tmp_.c_str());
            cleanup::dropTemporary(slot_);
            fd_ = -1;
            slot_ = -1;
            fail(path_, "cannot set the mode of a temporary file beside it: " + reason(err));
        }
        if (fd_ < 0) {
            const int err = errno;
            cleanup::dropTemporary(slot_);
            slot_ = -1;
            if (err != EEXIST)
                fail(path_, "cannot create a temporary file beside it: " + reason(err));
        }
    }
    if (fd_ < 0)
        fail(path_, "cannot create a temporary file beside it");
}

AtomicFile::~AtomicFile() {
    if (fd_ >= 0) {
        ::close(fd_);
        ::unlink(tmp_.c_str());
    }
    cleanup::dropTemporary(slot_);
}

void AtomicFile::write(std::string_view data) {
    if (fd_ < 0)
        fail(path_, "written after it was closed");
    if (!writeAll(fd_, data))
        fail(path_, "cannot write: " + reason(errno));
}

void AtomicFile::commit() {
    if (fd_ < 0)
        fail(path_, "committed twice");
    const int fd = fd_;
    if (::fsync(fd) != 0)
        fail(path_, "cannot write: " + reason(errno));
    fd_ = -1;
    if (::close(fd) != 0) {
        const int err = errno;
        ::unlink(tmp_.c_str());
        fail(path_, "cannot write: " + reason(err));
    }
    // A target planted as a link or FIFO since the check is refused again.
    try {
        checkWritableTarget(path_);
    } catch (...) {
        ::unlink(tmp_.c_str());
        throw;
    }
    if (::rename(tmp_.c_str(), path_.c_str()) != 0) {
        const int err = errno;
        ::unlink(tmp_.c_str());
        fail(path_, "cannot replace: " + reason(err));
    }
    cleanup::dropTemporary(slot_);
    slot_ = -1;
    syncFolder(path_);
}

void replaceFile(const std::string& path, std::string_view content) {
    AtomicFile f(path);
    f.write(content);
    f.commit();
}

// ---- AppendFile ----

AppendFile::AppendFile(const std::string& path) : path_(path) {
    checkWritableTarget(path_);
    fd_ = ::open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd_ < 0)
        fail(path_, "cannot open for writing: " + reason(errno));
}

AppendFile::~AppendFile() {
    if (fd_ >= 0)
        ::close(fd_);
}

void AppendFile::write(std::string_view data) {
    if (fd_ < 0 || !writeAll(fd_, data))
        fail(path_, "cannot write: " + reason(fd_ < 0 ? EBADF : errno));
}

void AppendFile::close() {
    if (fd_ < 0)
        return;
    const int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0)
        fail(path_, "cannot write: " + reason(errno));
}

// ---- StateLock ----

StateLock::StateLock(const std::string& statePath, bool exclusive) {
    const std::string lockPath = statePath + ".lock";
    checkWritableTarget(lockPath);
    fd_ = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd_ < 0)
        fail(lockPath, "cannot open the lock file: " + reason(errno));
    while (::flock(fd_, exclusive ? LOCK_EX : LOCK_SH) != 0) {
        if (errno == EINTR)
            continue;
        const int err = errno;
        ::close(fd_);
        fd_ = -1;
        fail(lockPath, "cannot lock: " + reason(err));
    }
}

StateLock::~StateLock() {
    if (fd_ >= 0)
        ::close(fd_); // releases the lock
}

bool sameFile(const std::string& a, const std::string& b) {
    struct stat sa {
    }, sb{};
    const bool ea = ::stat(a.c_str(), &sa) == 0, eb = ::stat(b.c_str(), &sb) == 0;
    if (ea && eb)
        return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
    return a == b;
}

} // namespace kvi::files
