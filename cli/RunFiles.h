#pragma once
// The files and streams of one kvictl run, each checked: the debug log, the
// rules for what a command may write, and the option values that name files.
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "provider/DebugLog.h"
#include "util/Files.h"

namespace cli {

struct GlobalOptions;

// The debug log (--log FILE): appended to, one write call per line, created
// private without following a link. A failed write is remembered, not thrown,
// so logging never cuts a command short; finish() reports it.
class LogSession : public kvi::LogSink {
public:
    LogSession() = default;
    ~LogSession() override;
    LogSession(const LogSession&) = delete;
    LogSession& operator=(const LogSession&) = delete;

    void open(const std::string& path); // throws kvi::files::FileError
    void write(int level, const char* text) override;
    // Closes the log: the first failure as text, empty when every line was kept.
    std::string finish();

private:
    std::unique_ptr<kvi::files::AppendFile> file_;
    std::string error_;
};

// Commands that only read: they take the simulator state's lock shared and
// never write the state file. Every other command may change the controller.
bool readOnlyCommand(const std::string& name);

// Refuses option values that name files badly, before anything is opened:
// empty paths and one path given for two different files (the global options
// and `commandFiles`, the command's own). `given(name)` tells whether an option
// was on the command line. Throws UsageError.
void checkFileOptions(const GlobalOptions& o, const std::function<bool(const char*)>& given,
                      const std::vector<std::pair<std::string, std::string>>& commandFiles);

// Refuses arguments that hold control characters: they would reach the
// controller (a key identifier) or a file name, and scramble a terminal that
// shows them. Throws UsageError.
void checkPrintable(const std::vector<std::string>& args);

// `text` with control characters escaped (\n, \t, \x1b ...), for messages
// that quote what the user typed.
std::string printable(const std::string& text);

} // namespace cli
