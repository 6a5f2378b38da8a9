#pragma once
// Every file kvictl reads or writes goes through here, so that each one is
// handled the way a storage tool must on shared, full or hostile systems:
//   - inputs are read with a size limit per kind of file (stated in the error),
//     so /dev/zero or a runaway file ends at once instead of eating memory;
//   - files are created private (0600), never through a symbolic link
//     (O_NOFOLLOW) and never inherited by child processes (O_CLOEXEC);
//   - a file that is replaced is written to a temporary file in the same
//     folder, synced and renamed over the target, so the target is always
//     either the old or the new file; the target must be a regular file;
//   - every failed write, flush, sync, close and rename is reported with the
//     path and the system's reason (FileError);
//   - temporary files are removed when a signal ends kvictl (SIGINT, SIGTERM,
//     SIGHUP, or SIGPIPE when the reader of its output goes away).
#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>

namespace kvi::files {

// "PATH: REASON"; reason() alone for messages that name the file themselves.
class FileError : public std::runtime_error {
public:
    FileError(const std::string& path, std::string reason)
        : std::runtime_error(path + ": " + reason), reason_(std::move(reason)) {}
    const std::string& reason() const { return reason_; }

private:
    std::string reason_;
};

// The kinds of input, each with its size limit.
enum class Input { Profile, State, Capture, Passphrase, Attribute };
std::size_t limitOf(Input kind);
const char* nameOf(Input kind);          // "profile", "state file", ...
std::string sizeText(std::size_t bytes); // "16 MiB", "4 KiB"

// The whole content of `path` ("-" is standard input), at most the kind's
// limit. Refuses folders, devices (an endless /dev/zero) and anything larger,
// with a message that says what to do.
std::string readFile(const std::string& path, Input kind);

// Refuses to replace or append to `path` when it exists and is not a regular
// file (a FIFO, device, directory or symbolic link).
void checkWritableTarget(const std::string& path);

// A file replaced as a whole: written to a temporary file beside the target,
// synced and renamed over it by commit(). Destroyed without commit(), the
// temporary file is removed and the target is left as it was.
class AtomicFile {
public:
    // `mode` is that of the new file (private unless a reader needs more).
    explicit AtomicFile(std::string path, unsigned mode = 0600);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // One write call per piece where the system allows it; throws FileError.
    void write(std::string_view data);
    void commit();
    const std::string& path() const { return path_; }

private:
    std::string path_, tmp_;
    int fd_ = -1;
    int slot_ = -1; // in the table of temporary files removed on a signal
};

// Replaces `path` with `content` through an AtomicFile.
void replaceFile(const std::string& path, std::string_view content);

// A file kvictl appends lines to (the debug log): created 0600 without
// following a link, each line written with one write call.
class AppendFile {
public:
    explicit AppendFile(const std::string& path);
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;
    void write(std::string_view data); // throws FileError
    void close();                      // throws FileError

private:
    std::string path_;
    int fd_ = -1;
};

// An advisory lock on a state file, held while the object lives: shared for
// commands that only read, exclusive across read-modify-write, so concurrent
// invocations on one state file serialise. The lock lives on "PATH.lock" (the
// state file itself is replaced by rename, so it cannot carry the lock). A
// shared lock in a folder the reader may not write uses an existing lock file
// read-only, or, when there is none, no lock (the reader sees a whole state).
class StateLock {
public:
    StateLock(const std::string& statePath, bool exclusive);
    ~StateLock();
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

private:
    int fd_ = -1;
};

// Whether two paths name the same file: the same device and inode when both
// exist, else the same name in the same folder ("x" and "./x").
bool sameFile(const std::string& a, const std::string& b);

// Standard output with every write checked: the first failure is kept with
// the system's reason (error()) and the output after it is dropped.
class OutputBuffer : public std::streambuf {
public:
    explicit OutputBuffer(int fd) : fd_(fd) {}
    ~OutputBuffer() override;
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;
    int error() const { return error_; } // errno of the first failed write; 0 = none

protected:
    int_type overflow(int_type ch) override;
    std::streamsize xsputn(const char* s, std::streamsize n) override;
    int sync() override;

private:
    void drain();
    int fd_;
    int error_ = 0;
    std::string pending_;
};

// A private scratch file, already unlinked (nothing stays behind whatever ends
// kvictl); null with errno set when none can be made.
std::FILE* scratchFile();

// Writes all of `data` to `fd` (retrying short writes and EINTR); false with
// errno set on failure.
bool writeAll(int fd, std::string_view data);

} // namespace kvi::files
