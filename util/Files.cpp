#include "util/Files.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
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
        // Room for a log of a million explicit events (about 100 MiB of JSON).
        return 128u << 20;
    case Input::State:
        return 256u << 20;
    case Input::Capture:
        return 256u << 20;
    case Input::Passphrase:
        return 4096;
    case Input::Attribute:
        return 64u << 10;
    }
    return 0;
}

std::string sizeText(std::size_t bytes) {
    if (bytes >= (1u << 20) && bytes % (1u << 20) == 0)
        return std::to_string(bytes >> 20) + " MiB";
    if (bytes >= 1024 && bytes % 1024 == 0)
        return std::to_string(bytes >> 10) + " KiB";
    return std::to_string(bytes) + " bytes";
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
    case Input::Attribute:
        return "system attribute";
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
    const std::size_t limit = limitOf(kind);
    const std::string tooLarge = std::string("larger than the ") + sizeText(limit) + " a " +
                                 nameOf(kind) + " may hold (is it the right file?)";
    auto refuse = [&](const std::string& why) {
        if (!stdinput)
            ::close(fd);
        fail(path, why);
    };
    struct stat st {};
    if (::fstat(fd, &st) == 0) {
        if (S_ISDIR(st.st_mode))
            refuse(std::string("is a folder; give the path of a ") + nameOf(kind));
        // A device never ends (/dev/zero) or is no file at all; a terminal is
        // read through "-".
        if (!stdinput && (S_ISCHR(st.st_mode) || S_ISBLK(st.st_mode)))
            refuse(std::string("is a device; give the path of a ") + nameOf(kind) +
                   (kind == Input::Passphrase ? " (- reads standard input)" : ""));
        if (S_ISREG(st.st_mode) && static_cast<std::size_t>(st.st_size) > limit)
            refuse(tooLarge);
    }
    std::string out;
    // Sized once for a regular file: a large profile or state is not held
    // twice while the string grows.
    if (S_ISREG(st.st_mode) && st.st_size > 0)
        out.reserve(static_cast<std::size_t>(st.st_size));
    char buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            refuse("cannot read: " + reason(errno));
        }
        if (n == 0)
            break;
        if (out.size() + static_cast<std::size_t>(n) > limit)
            refuse(tooLarge);
        out.append(buf, static_cast<std::size_t>(n));
    }
    if (!stdinput)
        ::close(fd);
    return out;
}

void checkWritableTarget(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) {
        if (errno != ENOENT)
            fail(path, "cannot inspect: " + reason(errno));
        // A new file: its folder must be there to hold it.
        const std::string folder = folderOf(path);
        if (::stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
            fail(path, "the folder " + folder + " does not exist; create it first");
        return;
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
    if (fd_ < 0 && !exclusive && (errno == EACCES || errno == EROFS)) {
        // A reader in a folder it may not write (or of a lock file another
        // user owns): flock works on a descriptor opened for reading, so an
        // existing lock file it may read still serialises it with the
        // writers. Without one (none, or private to its owner), the reader
        // goes on unlocked, which is safe for a reader only:
        // the state file is only ever replaced whole by rename, so it reads
        // the old or the new state, never a part, and it writes nothing. A
        // writer never goes this way: it could not replace the state in such
        // a folder anyway, so its failure to lock is reported.
        fd_ = ::open(lockPath.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        if (fd_ < 0 && (errno == ENOENT || errno == EACCES))
            return;
    }
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
    if (ea != eb)
        return false;
    // Neither exists yet: the same name in the same folder.
    auto name = [](const std::string& p) { return p.substr(p.rfind('/') + 1); };
    if (name(a) != name(b))
        return false;
    const std::string fa = folderOf(a), fb = folderOf(b);
    return fa == fb || (::stat(fa.c_str(), &sa) == 0 && ::stat(fb.c_str(), &sb) == 0 &&
                        sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino);
}

// ---- OutputBuffer ----

OutputBuffer::~OutputBuffer() {
    drain();
}

void OutputBuffer::drain() {
    if (error_ == 0 && !pending_.empty() && !writeAll(fd_, pending_))
        error_ = errno;
    pending_.clear();
}

OutputBuffer::int_type OutputBuffer::overflow(int_type ch) {
    if (!traits_type::eq_int_type(ch, traits_type::eof())) {
        const char c = traits_type::to_char_type(ch);
        xsputn(&c, 1);
    }
    return traits_type::not_eof(ch);
}

std::streamsize OutputBuffer::xsputn(const char* s, std::streamsize n) {
    // After a failure nothing more is written: the reader has a cut-off output
    // and the run ends with the error instead.
    if (error_ == 0)
        pending_.append(s, static_cast<std::size_t>(n));
    if (pending_.size() >= 65536)
        drain();
    return n;
}

int OutputBuffer::sync() {
    drain();
    return 0;
}

std::FILE* scratchFile() {
    const char* dir = std::getenv("TMPDIR");
    std::string name =
        std::string(dir != nullptr && *dir != '\0' ? dir : "/tmp") + "/.kvictl-XXXXXX";
    // No signal between creating and unlinking: nothing can stay behind.
    sigset_t block, old;
    sigfillset(&block);
    ::sigprocmask(SIG_BLOCK, &block, &old);
    const int fd = ::mkostemp(name.data(), O_CLOEXEC);
    const int err = errno;
    if (fd >= 0)
        ::unlink(name.c_str());
    ::sigprocmask(SIG_SETMASK, &old, nullptr);
    if (fd < 0) {
        errno = err;
        return nullptr;
    }
    std::FILE* f = ::fdopen(fd, "w+");
    if (f == nullptr)
        ::close(fd);
    return f;
}

} // namespace kvi::files
