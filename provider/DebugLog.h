#pragma once
// The debug log: every operation writes its entry and exit lines here.
//
// DEBUG_LOG formats printf-style and hands the line to the installed sink when
// the line's level is at most the maximum level. No sink is installed by default,
// so nothing is written until the tool (--log FILE) or a test installs one.
#include <cstdio>
#include <string>
#include <vector>

// Log levels: a line is written when 0 < level <= the maximum level.
enum DebugLogLevel : int {
    NOLOG = 0,
    CRITICAL = 1,
    WARNING = 2,
    INFO = 3,
    EVERYTHING = 4,
};

void DEBUG_LOG(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

namespace kvi {

// Receives each formatted line (without a trailing newline). The debug log of
// --log is cli::LogSession, which checks every write it makes.
class LogSink {
public:
    virtual ~LogSink() = default;
    virtual void write(int level, const char* text) = 0;
};

struct LogLine {
    int level;
    std::string text;
};

// Keeps every line in memory (tests).
class MemoryLogSink : public LogSink {
public:
    void write(int level, const char* text) override { lines_.push_back({level, text}); }
    const std::vector<LogLine>& lines() const { return lines_; }
    void clear() { lines_.clear(); }

private:
    std::vector<LogLine> lines_;
};

// The sink is not owned; pass nullptr to stop logging. Returns the previous sink.
LogSink* setLogSink(LogSink* sink);
LogSink* logSink();

// Maximum level written (NOLOG .. EVERYTHING; default EVERYTHING). Returns the
// previous level.
int setLogLevel(int maxLevel);
int logLevel();

// True when a line of this level would reach a sink.
bool logEnabled(int level);

// "NOLOG", "CRITICAL", "WARNING", "INFO", "EVERYTHING"; "LEVEL?" otherwise.
const char* logLevelName(int level);

} // namespace kvi
