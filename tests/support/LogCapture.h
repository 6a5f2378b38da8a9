#pragma once
// Test helpers for the process-wide state of the provider: the debug log and
// the process-wide inputs. Each installs on construction and restores what was
// there on destruction.
#include <string>
#include <vector>

#include "provider/DebugLog.h"
#include "provider/KviDataProvider.h"
#include "provider/ProcessInputs.h"

namespace kvitest {

// Captures DEBUG_LOG lines in memory (at every level, unless told otherwise).
class LogCapture {
public:
    explicit LogCapture(int maxLevel = EVERYTHING)
        : previousSink_(kvi::setLogSink(&sink_)), previousLevel_(kvi::setLogLevel(maxLevel)) {}
    ~LogCapture() {
        kvi::setLogSink(previousSink_);
        kvi::setLogLevel(previousLevel_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<kvi::LogLine>& lines() const { return sink_.lines(); }
    // The texts of the lines in order: every line's, or (level >= 0) one level's.
    std::vector<std::string> texts(int level = -1) const {
        std::vector<std::string> out;
        for (const kvi::LogLine& line : sink_.lines())
            if (level < 0 || line.level == level)
                out.push_back(line.text);
        return out;
    }
    void clear() { sink_.clear(); }

private:
    kvi::MemoryLogSink sink_;
    kvi::LogSink* previousSink_;
    int previousLevel_;
};

// Sets the process-wide inputs for one test and restores the defaults after it.
struct ProcessInputsGuard {
    explicit ProcessInputsGuard(const kvi::ProcessInputs& inputs = kvi::ProcessInputs()) {
        kvi::setProcessInputs(inputs);
    }
    ~ProcessInputsGuard() { kvi::resetProcessInputs(); }
};

// Switches the data provider off for one test.
struct ProviderOffGuard {
    ProviderOffGuard() { KviDataProvider::setAvailable(false); }
    ~ProviderOffGuard() { KviDataProvider::setAvailable(true); }
};

} // namespace kvitest
